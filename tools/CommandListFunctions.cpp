// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandListFunctions.h"

#include "corvana/AudioFeatureDescription.h"
#include "corvana/MathXprFunctionDescription.h"
#include "corvana/OS.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Corvana::Tools {
namespace {

using Math::Xpr::FunctionDescription;

// The functions of the audio library are named as features are, but for the case of letters.
std::string meaningOf(const FunctionDescription& in_function)
{
    std::string strFeature = in_function.m_strName;
    strToLower(strFeature);
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        if (strFeature == description.m_szName)
            return description.m_szMeaning;
    return in_function.m_strMeaning;
}

std::string shortName(const std::string& in_strParameter)
{
    return in_strParameter.substr(in_strParameter.rfind('.') + 1);
}

std::string writtenForm(const FunctionDescription& in_function)
{
    std::string strText = in_function.m_strName;
    const char* szSeparator = "(";
    for (const std::string& strArgument : in_function.m_vArguments) {
        strText += szSeparator + strArgument;
        szSeparator = ", ";
    }
    for (const std::string& strParameter : in_function.m_vParameters)
        strText += szSeparator + shortName(strParameter) + "=...";
    return strText + ")";
}

} // namespace

int CommandListFunctions::run(const Options& in_options, std::ostream& out_data, std::ostream&)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const FunctionDescription& function : Math::Xpr::getFunctionDescriptions()) {
        if (in_options.m_bJson)
            json.push_back({{"name", function.m_strName},
                            {"arguments", function.m_vArguments},
                            {"parameters", function.m_vParameters},
                            {"meaning", meaningOf(function)}});
        else
            out_data << writtenForm(function) << "\n    " << meaningOf(function) << '\n';
    }
    if (in_options.m_bJson)
        out_data << json.dump(2) << '\n';
    else
        out_data << "\nOperators, from loose to tight: or; and; not; < <= > >= == !=; + -; * /; - in front; v[i].\n"
                    "x is the window:\n"
                    "  corvana eval 'flatness(spectrum(x)) < 0.2' call.wav\n";
    return EXIT_DONE;
}

} // namespace Corvana::Tools
