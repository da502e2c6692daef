// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandListFeatures.h"

#include "corvana/AudioFeatureDescription.h"
#include "tools/DescriptionChecker.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Corvana::Tools {
namespace {

std::string inputText(const Audio::FeatureDescription& in_description)
{
    return std::string(in_description.m_szInput) +
           (in_description.m_bNeedsPowerOfTwo ? " of a power of two samples" : "");
}

void writeText(const Audio::FeatureDescription& in_description, std::ostream& out_data)
{
    out_data << writtenForm(in_description) + "\n    " + in_description.m_szMeaning + "\n    " +
                    inputText(in_description) + " -> " + in_description.m_szNbOfValues + "  (" +
                    in_description.m_szUnit + (in_description.m_bAssumes8000Hz ? "; for 8000 Hz)" : ")") + "\n";
}

void writeTexts(std::ostream& out_data)
{
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        writeText(description, out_data);
    out_data << "\n"
                "Below each name: what it means; what it reads -> how many values it gives (their unit). n is the\n"
                "number of values read. A feature for 8000 Hz means what it says only for such recordings.\n"
                "Features are joined by | to a chain, each reading what the one before it gives:\n"
                "  corvana features -f 'spectrum|flatness' call.wav\n";
}

nlohmann::ordered_json toJson(const Audio::FeatureDescription& in_description)
{
    return {{"name", in_description.m_szName},
            {"parameters", in_description.m_szParameters},
            {"min_parameters", in_description.m_uiMinParameters},
            {"max_parameters", in_description.m_uiMaxParameters},
            {"example", in_description.m_szExample},
            {"input", in_description.m_szInput},
            {"values", in_description.m_szNbOfValues},
            {"unit", in_description.m_szUnit},
            {"meaning", in_description.m_szMeaning},
            {"needs_power_of_two", in_description.m_bNeedsPowerOfTwo},
            {"assumes_8000_hz", in_description.m_bAssumes8000Hz}};
}

} // namespace

int CommandListFeatures::run(const Options& in_options, std::ostream& out_data, std::ostream&)
{
    if (!in_options.m_bJson) {
        writeTexts(out_data);
        return EXIT_DONE;
    }
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        json.push_back(toJson(description));
    out_data << json.dump(2) << '\n';
    return EXIT_DONE;
}

} // namespace Corvana::Tools
