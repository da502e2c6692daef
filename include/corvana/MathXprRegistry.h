// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathXprFunction.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// The functions that formulas can call, of the whole process. The audio library registers its own when it is loaded.
/// Registering is for load time: it is not guarded against other threads.
class CORVANA_API Registry
{
public:
    /// Makes the nodes of one function.
    class CORVANA_API ExpressionAllocator : public virtual Object
    {
    public:
        ~ExpressionAllocator() override;
        virtual Handle<FunctionBaseImpl> newExpression() const = 0;
    };

    /// Makes nodes of the class X, constructed with false: not bare.
    template <class X>
    class CORVANA_API ExpressionAllocatorT : public ExpressionAllocator
    {
    public:
        Handle<FunctionBaseImpl> newExpression() const override { return Handle<FunctionBaseImpl>(new X(false)); }
    };

    /// Made on first use, and never destroyed: libraries register before and are unloaded after everything else.
    static Registry& getInstance();

    /// Owns the allocator when it returns true. False: it is null, or the name is taken.
    bool registerFunction(const char* in_szName, ExpressionAllocator* in_pAllocator);
    /// A new node of the function with exactly this name; a null handle when there is none.
    Handle<FunctionBaseImpl> newFunction(const char* in_szName) const;
    /// In alphabetical order.
    std::vector<std::string> getFunctionNames() const;

private:
    Registry() = default;

    std::map<std::string, std::unique_ptr<ExpressionAllocator>, std::less<>> m_allocators;
};

} // namespace Corvana::Math::Xpr
