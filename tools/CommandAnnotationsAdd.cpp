// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsAdd.h"

#include "corvana/NumberText.h"
#include "tools/ExitCode.h"
#include "tools/RegionType.h"
#include "tools/Text.h"

#include <cmath>

namespace Corvana::Tools {
namespace {

constexpr std::size_t s_uiNbOfRegionArguments = 3; // TYPE START STOP

// Returns what is wrong with the time; empty for a good one.
std::string parseTime(const std::string& in_strName, const std::string& in_strText, double& out_dSeconds)
{
    const std::string strWanted = in_strName + " is a time in seconds, 0 or more";
    if (!parseNumber(in_strText, out_dSeconds))
        return strWanted + ", such as 1.25, not " + inQuotes(in_strText);
    if (!std::isfinite(out_dSeconds) || std::signbit(out_dSeconds))
        return strWanted + ", not " + inQuotes(in_strText);
    return {};
}

std::string parseRegion(const std::vector<std::string>& in_vArguments, AnnotationEdit::Annotation& out_region)
{
    const std::string* pArgument = &*(in_vArguments.end() - s_uiNbOfRegionArguments);
    std::string strFault = parseRegionType(pArgument[0], out_region.m_type);
    if (!strFault.empty())
        return strFault + "\nThe last three arguments are TYPE START STOP; 'corvana annotations types' shows all types";
    strFault = parseTime("START", pArgument[1], out_region.m_dStartTime);
    if (strFault.empty())
        strFault = parseTime("STOP", pArgument[2], out_region.m_dStopTime);
    if (strFault.empty() && out_region.m_dStopTime < out_region.m_dStartTime)
        return "the region would stop, at " + toShortestText(out_region.m_dStopTime) + " s, before it starts, at " +
               toShortestText(out_region.m_dStartTime) + " s";
    return strFault;
}

// True: the files and the region are known now.
bool split(const CommandAnnotationsAdd::Options& in_options, AnnotationEditOptions& out_options,
           AnnotationEdit::Annotation& out_region, Messages& out_messages)
{
    const std::vector<std::string>& vArguments = in_options.m_vArguments;
    if (vArguments.size() < s_uiNbOfRegionArguments) {
        out_messages.error("wants FILE... TYPE START STOP, such as: corvana annotations add call.wav VOICE 1.5 3.25");
        return false;
    }
    out_options = static_cast<const AnnotationEditOptions&>(in_options);
    out_options.m_vFiles.insert(out_options.m_vFiles.begin(), vArguments.begin(),
                                vArguments.end() - s_uiNbOfRegionArguments);
    const std::string strFault = parseRegion(vArguments, out_region);
    if (!strFault.empty())
        out_messages.error(strFault);
    return strFault.empty();
}

} // namespace

int CommandAnnotationsAdd::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    AnnotationEditOptions options;
    AnnotationEdit::Annotation region;
    Messages messages(out_messages, in_options.m_messages.m_bQuiet);
    if (!split(in_options, options, region, messages))
        return EXIT_UNUSABLE;
    AnnotationEdit edit(options, out_data, out_messages);
    if (!edit.hasFiles())
        return EXIT_UNUSABLE;
    return edit.run(edit.collectFiles(), [&](const std::string&, const Audio::AnnotatedFile& in_file,
                                             AnnotationEdit::Regions& inout_vRegions) {
        return edit.append(in_file, {region}, "added", inout_vRegions);
    });
}

} // namespace Corvana::Tools
