// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprFunction.h"

#include "corvana/TrieConfiguration.h"

#include <algorithm>
#include <ostream>

namespace Corvana::Math::Xpr {
namespace {

// What stands before the parameter's own name, "." included.
std::string prefixOf(const std::string& in_strFullName)
{
    return in_strFullName.substr(0, in_strFullName.rfind('.') + 1);
}

std::string shortNameOf(const std::string& in_strFullName)
{
    return in_strFullName.substr(in_strFullName.rfind('.') + 1);
}

void writeValue(std::ostream& out_stream, const ParameterValue& in_value)
{
    std::string strText;
    in_value.convertTo(strText);
    if (in_value.isString())
        out_stream << '"' << strText << '"';
    else
        out_stream << strText;
}

} // namespace

FunctionBaseImpl::FunctionBaseImpl(const char* in_szName)
    : ExpressionBaseImpl(in_szName)
{
}

FunctionBaseImpl::~FunctionBaseImpl() = default;

void FunctionBaseImpl::addArgument(const char* in_szName)
{
    m_vArguments.push_back({in_szName});
}

void FunctionBaseImpl::addParameter(const char* in_szName)
{
    m_vParameters.emplace_back(in_szName);
}

long FunctionBaseImpl::getNbOfArguments() const
{
    return static_cast<long>(m_vArguments.size());
}

const FunctionBaseImpl::Argument& FunctionBaseImpl::getArgument(long in_iIndex) const
{
    static const Argument s_none;
    const bool bInRange = in_iIndex >= 0 && in_iIndex < getNbOfArguments();
    return bInRange ? m_vArguments[static_cast<std::size_t>(in_iIndex)] : s_none;
}

long FunctionBaseImpl::getNbOfParameters() const
{
    return static_cast<long>(m_vParameters.size());
}

const std::string& FunctionBaseImpl::getParameter(long in_iIndex) const
{
    static const std::string s_strNone;
    const bool bInRange = in_iIndex >= 0 && in_iIndex < getNbOfParameters();
    return bInRange ? m_vParameters[static_cast<std::size_t>(in_iIndex)] : s_strNone;
}

bool FunctionBaseImpl::bindArgument(long in_iIndex, const Handle<VariableImpl>& in_hVariable)
{
    if (in_iIndex < 0 || in_iIndex >= getNbOfArguments() || in_hVariable.isNull())
        return false;
    Argument& argument = m_vArguments[static_cast<std::size_t>(in_iIndex)];
    if (argument.m_iChildIndex != -1)
        return false;
    argument.m_iChildIndex = addChild(in_hVariable);
    return true;
}

bool FunctionBaseImpl::setParameterValue(const char* in_szName, const ParameterValue& in_value)
{
    const std::string strName = in_szName;
    const auto isMeant = [&](const std::string& in_strFullName) {
        return in_strFullName == strName || shortNameOf(in_strFullName) == strName;
    };
    const auto it = std::find_if(m_vParameters.begin(), m_vParameters.end(), isMeant);
    if (it == m_vParameters.end())
        return false;
    const std::string strShortName = shortNameOf(*it);
    m_values.insert(strShortName.c_str(), in_value);
    std::erase_if(m_vValues, [&](const auto& in_pair) { return in_pair.first == strShortName; });
    m_vValues.emplace_back(strShortName, in_value);
    return true;
}

bool FunctionBaseImpl::configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem)
{
    const std::string strPrefix = m_vParameters.empty() ? std::string() : prefixOf(m_vParameters.front());
    const PrefixedConfiguration view(in_config, strPrefix, m_values);
    bool bDone = true;
    for (long iIndex = 0; iIndex < getNbOfChildren(); ++iIndex)
        bDone = getChildAt(iIndex)->configure(in_config, in_hFileSystem) && bDone;
    return configure_i(view, in_hFileSystem) && bDone;
}

std::ostream& FunctionBaseImpl::write(std::ostream& out_stream) const
{
    out_stream << getName() << '(';
    const char* szSeparator = "";
    for (const Argument& argument : m_vArguments) {
        const Handle<ExpressionBaseImpl> hChild = getChildAt(argument.m_iChildIndex);
        out_stream << szSeparator;
        if (hChild.isNull())
            out_stream << argument.m_strName;
        else
            hChild->write(out_stream);
        szSeparator = ", ";
    }
    for (const auto& [strName, value] : m_vValues) {
        out_stream << szSeparator << strName << '=';
        writeValue(out_stream, value);
        szSeparator = ", ";
    }
    return out_stream << ')';
}

void FunctionBaseImpl::fill(const FunctionBaseImpl& in_source, ExpressionImplCopier& io_copier)
{
    m_vArguments = in_source.m_vArguments;
    m_vParameters = in_source.m_vParameters;
    m_vValues = in_source.m_vValues;
    m_values = in_source.m_values;
    copyChildren(in_source, io_copier);
}

} // namespace Corvana::Math::Xpr
