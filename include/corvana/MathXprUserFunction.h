// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathXprFunction.h"
#include "corvana/MathXprFunctionAdaptor.h"
#include "corvana/MemAllocator.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// The node of a function whose function object T is a single-variable FunctionAdaptor: evaluates the argument, lets
/// the function object calculate, and owns the result.
template <class T>
class CORVANA_API UserFunctionImpl : public FunctionBaseImpl
{
public:
    /// in_bBare: without name, arguments and parameters, to be filled as a copy.
    explicit UserFunctionImpl(bool in_bBare)
        : FunctionBaseImpl("unamed") // the spelling that listings of half-made nodes have always shown
    {
        if (in_bBare)
            return;
        setName(m_function.getFunctionName().c_str());
        m_vArgumentNames.push_back(m_function.getVariableName());
        for (const std::string& strName : m_vArgumentNames)
            addArgument(strName.c_str());
        std::vector<std::string> vParameterNames;
        m_function.getParameterNames(vParameterNames);
        for (const std::string& strName : vParameterNames)
            addParameter(strName.c_str());
    }

    std::ostream& write(std::ostream& out_stream) const override { return FunctionBaseImpl::write(out_stream); }

    static void* operator new(std::size_t in_uiSize) { return NoSizeMemAllocator::allocate(in_uiSize, s_szTag); }
    static void operator delete(void* in_pNode) noexcept { NoSizeMemAllocator::deallocate(in_pNode, s_szTag); }

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override
    {
        if (m_vVariables.empty())
            resolveArguments();
        if (!evaluateArguments())
            return false;
        // Beside the result, which stays as it is when the function fails.
        m_vSpare.clear();
        if (!m_function.calculate(m_arguments, m_vSpare))
            return false;
        m_vResult.swap(m_vSpare);
        if (m_vSpare.capacity() < m_vResult.size())
            m_vSpare.reserve(m_vResult.capacity()); // once, so that the next evaluation allocates nothing
        if (out_pResult.get() != &m_vResult)
            out_pResult.pointAt(m_vResult);
        return true;
    }

    bool reset_i() override { return true; } // the functions have no memory

    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override
    {
        const Handle<UserFunctionImpl> hCopy(new UserFunctionImpl(true));
        hCopy->fill(*this, io_copier);
        hCopy->setName(m_function.getFunctionName().c_str());
        hCopy->m_vArgumentNames = m_vArgumentNames;
        // The names only: the copy's feature is a fresh one, to be configured anew.
        static_cast<SingleVariableFunctionImpl&>(hCopy->m_function).SingleVariableFunctionImpl::operator=(m_function);
        return hCopy;
    }

    bool isDependantOf_i(const Handle<ExpressionBaseImpl>&) const override { return false; }

    bool configure_i(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) override
    {
        return m_function.configure(in_config, in_hFileSystem);
    }

private:
    static constexpr const char* s_szTag = "UserFunctionImpl";

    // Once: the children's classes are looked at here, and not in every evaluation.
    void resolveArguments()
    {
        for (const std::string& strName : m_vArgumentNames)
            m_arguments[strName] = LimitedObjPtr<DoubleVector>();
        std::vector<Handle<VariableImpl>> vVariables;
        vVariables.reserve(static_cast<std::size_t>(getNbOfArguments()));
        for (long iIndex = 0; iIndex < getNbOfArguments(); ++iIndex)
            vVariables.push_back(getChildAt(getArgument(iIndex).m_iChildIndex).template cast<VariableImpl>());
        m_vVariables.swap(vVariables); // last: it tells that all of this is done
    }

    // Variables in the order of arguments, the map in the order of names: paired by position.
    bool evaluateArguments()
    {
        auto it = m_arguments.begin();
        for (const Handle<VariableImpl>& hVariable : m_vVariables) {
            if (it == m_arguments.end() || hVariable.isNull() || !hVariable->evaluate(it->second))
                return false;
            ++it;
        }
        return true;
    }

    T m_function;
    std::vector<std::string> m_vArgumentNames;
    std::vector<Handle<VariableImpl>> m_vVariables;
    FunctionAdaptor::Arguments m_arguments;
    DoubleVector m_vResult;
    DoubleVector m_vSpare;
};

} // namespace Corvana::Math::Xpr
