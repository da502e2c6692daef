// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprFunctionDescription.h"

#include "MathXprNodes.h"
#include "corvana/MathXprRegistry.h"

namespace Corvana::Math::Xpr {
namespace {

FunctionDescription describe(const FunctionBaseImpl& in_function)
{
    FunctionDescription description;
    description.m_strName = in_function.getName();
    for (long iIndex = 0; iIndex < in_function.getNbOfArguments(); ++iIndex)
        description.m_vArguments.push_back(in_function.getArgument(iIndex).m_strName);
    for (long iIndex = 0; iIndex < in_function.getNbOfParameters(); ++iIndex)
        description.m_vParameters.push_back(in_function.getParameter(iIndex));
    return description;
}

FunctionDescription describe(const OwnFunction& in_function)
{
    FunctionDescription description{in_function.m_szName, {"v"}, {}, in_function.m_szMeaning};
    if (in_function.m_uiMaxArguments > 1)
        description.m_vArguments.emplace_back("...");
    return description;
}

} // namespace

std::vector<FunctionDescription> getFunctionDescriptions()
{
    std::vector<FunctionDescription> vDescriptions;
    const Registry& registry = Registry::getInstance();
    for (const std::string& strName : registry.getFunctionNames())
        vDescriptions.push_back(describe(*registry.newFunction(strName.c_str())));
    for (const OwnFunction& function : getOwnFunctions())
        vDescriptions.push_back(describe(function));
    return vDescriptions;
}

} // namespace Corvana::Math::Xpr
