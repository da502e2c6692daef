// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsTypes.h"

#include "corvana/AudioAnnotationTypes.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace Corvana::Tools {
namespace {

struct TypeGroup
{
    const char* m_szKey;
    const char* m_szHeading;
    std::vector<std::string> m_vTypes;
};

// In the order of their values, which begin here.
constexpr unsigned s_uiFirstNamedValue = 4002;

std::vector<TypeGroup> namedTypes()
{
#define CORVANA_TYPE_NAME(name) #name,
#define CORVANA_TYPE_NAMES(outcome) CORVANA_ANNOTATION_DETECTORS(CORVANA_TYPE_NAME, outcome)
    std::vector<TypeGroup> vGroups = {
        {"sound", "What is heard", {CORVANA_ANNOTATION_SOUNDS(CORVANA_TYPE_NAME)}},
        {"outcome",
         "The outcome of a call, or a key, as one of eight detectors judged it",
         {CORVANA_ANNOTATION_OUTCOMES(CORVANA_TYPE_NAMES)}},
        {"event", "What engines report besides", {CORVANA_ANNOTATION_EVENTS(CORVANA_TYPE_NAME)}}};
#undef CORVANA_TYPE_NAMES
#undef CORVANA_TYPE_NAME
    return vGroups;
}

void writeTable(std::ostream& out_data)
{
    unsigned uiValue = s_uiFirstNamedValue;
    for (const TypeGroup& group : namedTypes()) {
        out_data << group.m_szHeading << ":\n";
        for (const std::string& strType : group.m_vTypes)
            out_data << "  " + std::to_string(uiValue++) + "  " + strType + "\n";
        out_data << '\n';
    }
    out_data << "Class numbers that other tools assign:\n  1 to 4000  SF_1 to SF_4000\n\n"
                "Named types are understood in upper and lower case, SF_ in upper case only.\n";
}

void writeJson(std::ostream& out_data)
{
    unsigned uiValue = s_uiFirstNamedValue;
    nlohmann::ordered_json named = nlohmann::ordered_json::array();
    for (const TypeGroup& group : namedTypes())
        for (const std::string& strType : group.m_vTypes)
            named.push_back({{"type", strType}, {"value", uiValue++}, {"group", group.m_szKey}});
    const nlohmann::ordered_json json = {{"named", named},
                                         {"numbered", {{"prefix", "SF_"}, {"first", 1}, {"last", 4000}}}};
    out_data << json.dump(2) << '\n';
}

} // namespace

int CommandAnnotationsTypes::run(const Options& in_options, std::ostream& out_data, std::ostream&)
{
    if (in_options.m_bJson)
        writeJson(out_data);
    else
        writeTable(out_data);
    return EXIT_DONE;
}

} // namespace Corvana::Tools
