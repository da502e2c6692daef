// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsCheck.h"

#include "tools/AnnotationChecker.h"
#include "tools/ExitCode.h"
#include "tools/FilesInOrder.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/RecordingMender.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace Corvana::Tools {
namespace {

using Json = nlohmann::ordered_json;

const char* nameOf(Finding::Severity in_severity)
{
    switch (in_severity) {
    case Finding::ERROR:
        return "error";
    case Finding::WARNING:
        return "warning";
    default:
        return "remark";
    }
}

/// What was found in a recording.
struct Report
{
    std::string m_strPath;
    AnnotationChecker m_checker;    // after mending
    std::vector<Finding> m_vMended; // or, in a dry run, that would be
    std::string m_strFault;         // why it could not be read
    std::string m_strMendingFault;
};

bool isFaulty(const AnnotationChecker& in_checker)
{
    return in_checker.getNbOf(Finding::ERROR) + in_checker.getNbOf(Finding::WARNING) > 0;
}

unsigned long nbOfOmitted(const AnnotationChecker& in_checker)
{
    return in_checker.getNbOf(Finding::ERROR) + in_checker.getNbOf(Finding::WARNING) +
           in_checker.getNbOf(Finding::REMARK) - in_checker.findings().size();
}

std::string summaryOf(const AnnotationChecker& in_checker)
{
    std::string strSummary = in_checker.isReadable() ? counted(in_checker.getNbOfRegions(), "region") : "unreadable";
    for (const Finding::Severity severity : {Finding::ERROR, Finding::WARNING, Finding::REMARK})
        if (in_checker.getNbOf(severity) > 0)
            strSummary += ", " + counted(in_checker.getNbOf(severity), nameOf(severity));
    return isFaulty(in_checker) ? strSummary : strSummary + ", no faults";
}

std::string lineOf(const Finding& in_finding)
{
    return " at byte " + std::to_string(in_finding.m_uiOffset) + ", " + in_finding.m_strRecord + ": " +
           in_finding.m_strFault + "\n";
}

void writeText(const Report& in_report, bool in_bDryRun, std::ostream& out_data)
{
    const std::string strFile = printable(in_report.m_strPath) + ": ";
    for (const Finding& finding : in_report.m_vMended)
        out_data << strFile + (in_bDryRun ? "would be mended" : "mended") + lineOf(finding);
    for (const Finding& finding : in_report.m_checker.findings())
        out_data << strFile + nameOf(finding.m_severity) + lineOf(finding) + "    to mend: " + finding.m_strRemedy +
                        "\n";
    if (nbOfOmitted(in_report.m_checker) > 0)
        out_data << strFile + "and " + std::to_string(nbOfOmitted(in_report.m_checker)) + " more\n";
    out_data << strFile + summaryOf(in_report.m_checker) + "\n";
}

Json toJson(const std::vector<Finding>& in_vFindings)
{
    Json json = Json::array();
    for (const Finding& finding : in_vFindings)
        json.push_back({{"severity", nameOf(finding.m_severity)},
                        {"record", finding.m_strRecord},
                        {"offset", finding.m_uiOffset},
                        {"fault", finding.m_strFault},
                        {"remedy", finding.m_strRemedy},
                        {"mendable", finding.m_bMendable}});
    return json;
}

Json toJson(const Report& in_report, const CommandAnnotationsCheck::Options& in_options)
{
    const AnnotationChecker& checker = in_report.m_checker;
    Json json = {{"file", in_report.m_strPath},
                 {"readable", checker.isReadable()},
                 {"regions", nullptr},
                 {"errors", checker.getNbOf(Finding::ERROR)},
                 {"warnings", checker.getNbOf(Finding::WARNING)},
                 {"remarks", checker.getNbOf(Finding::REMARK)},
                 {"findings", toJson(checker.findings())}};
    if (checker.isReadable())
        json["regions"] = checker.getNbOfRegions();
    if (in_options.m_bFix)
        json[in_options.m_bDryRun ? "would_be_mended" : "mended"] = toJson(in_report.m_vMended);
    return json;
}

// What the library warns about, the findings say better. Who asks for its inner voice gets it.
int levelOf(const MessageOptions& in_options)
{
    return in_options.m_iLogLevel < LOG_WARN ? in_options.m_iLogLevel : s_iLogOff;
}

// The reason why there is nothing to tell, or an empty text.
std::string check(const std::string& in_strPath, AnnotationChecker& out_checker, LogBridge& inout_log)
{
    inout_log.beginInput(in_strPath);
    std::string strFault = out_checker.check(in_strPath);
    const std::string strReason = inout_log.takeErrors();
    if (!strFault.empty() && !strReason.empty())
        strFault += ", " + strReason;
    return strFault;
}

void mend(bool in_bDryRun, Report& inout_report, LogBridge& inout_log)
{
    std::vector<Finding> vMendable;
    for (const Finding& finding : inout_report.m_checker.findings())
        if (finding.m_bMendable)
            vMendable.push_back(finding);
    if (!in_bDryRun) {
        inout_log.beginInput(inout_report.m_strPath);
        inout_report.m_strMendingFault = mendRecording(inout_report.m_strPath);
        inout_log.takeErrors(); // the fault tells what matters
        if (!inout_report.m_strMendingFault.empty())
            return;
        inout_report.m_strFault = check(inout_report.m_strPath, inout_report.m_checker, inout_log);
    }
    inout_report.m_vMended = std::move(vMendable);
}

Report examine(const Input& in_input, const CommandAnnotationsCheck::Options& in_options, LogBridge& inout_log)
{
    Report report;
    report.m_strPath = in_input.m_strPath;
    report.m_strFault = in_input.m_strFault;
    if (report.m_strFault.empty())
        report.m_strFault = check(report.m_strPath, report.m_checker, inout_log);
    if (!in_options.m_bFix || !report.m_strFault.empty() || !report.m_checker.isMendable())
        return report;
    if (report.m_checker.getNbOf(Finding::ERROR) > 0)
        report.m_strMendingFault = "has errors, which have to be mended by hand first";
    else
        mend(in_options.m_bDryRun, report, inout_log);
    return report;
}

// An array of any length, written while it grows.
class JsonArray
{
public:
    explicit JsonArray(std::ostream& out_data)
        : m_data(out_data)
    {
    }

    void add(const Json& in_element)
    {
        m_data << (m_bEmpty ? "[\n" : ",\n");
        m_bEmpty = false;
        std::istringstream lines(in_element.dump(2, ' ', false, Json::error_handler_t::replace));
        lines.exceptions(std::ios_base::badbit);
        const char* szBefore = "  ";
        for (std::string strLine; std::getline(lines, strLine); szBefore = "\n  ")
            m_data << szBefore << strLine;
    }

    void end() { m_data << (m_bEmpty ? "[]\n" : "\n]\n"); }

private:
    std::ostream& m_data;
    bool m_bEmpty = true;
};

// Files are mended one at a time: what is left of an edit that a signal ends has one place to be removed from.
unsigned long nbOfJobs(const CommandAnnotationsCheck::Options& in_options)
{
    return in_options.m_bFix ? 1 : in_options.m_run.m_uiNbOfJobs;
}

} // namespace

int CommandAnnotationsCheck::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Messages messages(out_messages, in_options.m_messages.m_bQuiet);
    const MessageOptions messageOptions{in_options.m_messages.m_bQuiet, levelOf(in_options.m_messages)};
    if (in_options.m_vFiles.empty() && in_options.m_vLists.empty()) {
        messages.error("no recording given: name at least one, or a list of them with --list FILE");
        return EXIT_UNUSABLE;
    }
    const std::vector<Input> vInputs =
        collectInputs(in_options.m_vFiles, in_options.m_vLists, in_options.m_folders, messageOptions, messages);
    FileRun fileRun(messageOptions, in_options.m_run, vInputs, in_options.m_vLists, messages, out_messages);
    if (!fileRun.isUsable())
        return EXIT_UNUSABLE;
    JsonArray json(out_data);
    int iExitCode = EXIT_DONE;
    const auto take = [&](const Input& in_input, const Report& in_report) {
        if (in_options.m_bJson)
            json.add(toJson(in_report, in_options));
        else
            writeText(in_report, in_options.m_bDryRun, out_data);
        if (!in_report.m_strMendingFault.empty())
            messages.inputError(in_input.m_strPath, "not mended: " + in_report.m_strMendingFault);
        if (isFaulty(in_report.m_checker))
            iExitCode = EXIT_SOME_FAILED;
        return true;
    };
    FilesInOrder<Report>(messageOptions, nbOfJobs(in_options), messages)
        .run(
            vInputs, fileRun,
            [&](const Input& in_input, LogBridge& inout_log) { return examine(in_input, in_options, inout_log); },
            take);
    if (in_options.m_bJson)
        json.end();
    return fileRun.finish(iExitCode);
}

} // namespace Corvana::Tools
