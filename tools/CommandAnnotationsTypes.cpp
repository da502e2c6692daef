// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsTypes.h"

#include "tools/ExitCode.h"
#include "tools/RegionType.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;

struct TypeGroup
{
    const char* m_szKey;
    const char* m_szHeading;
    int m_iFirst;
    int m_iLast;
};

constexpr TypeGroup s_aGroups[] = {{"sound", "What is heard", Annotation::FEMALE, Annotation::DTMF_D},
                                   {"outcome", "The outcome of a call, or a key, as one of eight detectors judged it",
                                    Annotation::CPA_HUMAN, Annotation::TEST5_DTMF_D},
                                   {"event", "What engines report besides", Annotation::RINGBACK, Annotation::OTHER}};

void writeTable(std::ostream& out_data)
{
    for (const TypeGroup& group : s_aGroups) {
        out_data << group.m_szHeading << ":\n";
        for (int iType = group.m_iFirst; iType <= group.m_iLast; ++iType)
            out_data << "  " + std::to_string(iType) + "  " + regionTypeText(static_cast<RegionTypeValue>(iType)) +
                            "\n";
        out_data << '\n';
    }
    out_data << "Class numbers that other tools assign:\n  1 to 4000  SF_1 to SF_4000\n\n"
                "Named types are understood in upper and lower case, SF_ in upper case only.\n";
}

void writeJson(std::ostream& out_data)
{
    nlohmann::ordered_json named = nlohmann::ordered_json::array();
    for (const TypeGroup& group : s_aGroups)
        for (int iType = group.m_iFirst; iType <= group.m_iLast; ++iType)
            named.push_back({{"type", regionTypeText(static_cast<RegionTypeValue>(iType))},
                             {"value", iType},
                             {"group", group.m_szKey}});
    const int iFirst = Annotation::s_firstNumbered;
    const int iLast = Annotation::s_lastNumbered;
    const nlohmann::ordered_json json = {{"named", named},
                                         {"numbered", {{"prefix", "SF_"}, {"first", iFirst}, {"last", iLast}}}};
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
