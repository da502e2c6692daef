// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathXprExpressionImpl.h"
#include "corvana/ParameterTrie.h"

#include <string>
#include <utility>
#include <vector>

namespace Corvana::Math::Xpr {

/// A call of a named function: its arguments are children, its parameters are values of a configuration.
class CORVANA_API FunctionBaseImpl : public ExpressionBaseImpl
{
public:
    struct Argument
    {
        std::string m_strName;
        long m_iChildIndex = -1; ///< -1: not bound yet
    };

    explicit FunctionBaseImpl(const char* in_szName);
    ~FunctionBaseImpl() override;

    void addArgument(const char* in_szName);
    /// in_szName: the full name, such as "spectralrange.frequencyHz"; up to the last "." it is the same for all
    /// parameters of a function.
    void addParameter(const char* in_szName);
    long getNbOfArguments() const;
    /// An argument without name and child when out of range.
    virtual const Argument& getArgument(long in_iIndex) const;
    long getNbOfParameters() const;
    /// An empty name when out of range.
    virtual const std::string& getParameter(long in_iIndex) const;

    /// False: out of range, bound already, or a null handle.
    bool bindArgument(long in_iIndex, const Handle<VariableImpl>& in_hVariable);
    /// A value written in the call, which goes before any configuration's. in_szName: the full name, or what follows
    /// its last ".". False: the function has no such parameter.
    bool setParameterValue(const char* in_szName, const ParameterValue& in_value);

    /// Configures the children, then this node with a view of the configuration, in which the name behind the last "."
    /// finds, in this order: the value written in the call, the full name's, its own.
    bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) override;

    std::ostream& write(std::ostream& out_stream) const override;

protected:
    /// Takes over arguments, parameters with their values, and copies of the children.
    void fill(const FunctionBaseImpl& in_source, ExpressionImplCopier& io_copier);

private:
    std::vector<Argument> m_vArguments;
    std::vector<std::string> m_vParameters;
    std::vector<std::pair<std::string, ParameterValue>> m_vValues; // by short name, in the order of the call
    ParameterTrie m_values;
};

} // namespace Corvana::Math::Xpr
