// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsCheck.h"

#include "tools/AnnotationChecker.h"
#include "tools/ExitCode.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

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
    std::string strSummary =
        in_checker.getNbOf(Finding::ERROR) > 0 ? "unreadable" : counted(in_checker.getNbOfRegions(), "region");
    for (const Finding::Severity severity : {Finding::ERROR, Finding::WARNING, Finding::REMARK})
        if (in_checker.getNbOf(severity) > 0)
            strSummary += ", " + counted(in_checker.getNbOf(severity), nameOf(severity));
    return isFaulty(in_checker) ? strSummary : strSummary + ", no faults";
}

void writeText(const std::string& in_strPath, const AnnotationChecker& in_checker, std::ostream& out_data)
{
    const std::string strFile = printable(in_strPath) + ": ";
    for (const Finding& finding : in_checker.findings())
        out_data << strFile + nameOf(finding.m_severity) + " at byte " + std::to_string(finding.m_uiOffset) + ", " +
                        finding.m_strRecord + ": " + finding.m_strFault + "\n    to mend: " + finding.m_strRemedy +
                        "\n";
    if (nbOfOmitted(in_checker) > 0)
        out_data << strFile + "and " + std::to_string(nbOfOmitted(in_checker)) + " more\n";
    out_data << strFile + summaryOf(in_checker) + "\n";
}

Json toJson(const std::string& in_strPath, const AnnotationChecker& in_checker)
{
    Json findings = Json::array();
    for (const Finding& finding : in_checker.findings())
        findings.push_back({{"severity", nameOf(finding.m_severity)},
                            {"record", finding.m_strRecord},
                            {"offset", finding.m_uiOffset},
                            {"fault", finding.m_strFault},
                            {"remedy", finding.m_strRemedy},
                            {"mendable", finding.m_bMendable}});
    Json json = {{"file", in_strPath},
                 {"readable", in_checker.getNbOf(Finding::ERROR) == 0},
                 {"regions", nullptr},
                 {"errors", in_checker.getNbOf(Finding::ERROR)},
                 {"warnings", in_checker.getNbOf(Finding::WARNING)},
                 {"remarks", in_checker.getNbOf(Finding::REMARK)},
                 {"findings", findings}};
    if (in_checker.getNbOf(Finding::ERROR) == 0)
        json["regions"] = in_checker.getNbOfRegions();
    return json;
}

// What the library warns about, the findings say better. Who asks for its inner voice gets it.
int levelOf(const MessageOptions& in_options)
{
    return in_options.m_iLogLevel < LOG_WARN ? in_options.m_iLogLevel : s_iLogOff;
}

// The reason why there is nothing to tell, or an empty text.
std::string check(const Input& in_input, AnnotationChecker& out_checker, LogBridge& inout_log)
{
    if (!in_input.m_strFault.empty())
        return in_input.m_strFault;
    inout_log.beginInput(in_input.m_strPath);
    std::string strFault = out_checker.check(in_input.m_strPath);
    const std::string strReason = inout_log.takeErrors();
    if (!strFault.empty() && !strReason.empty())
        strFault += ", " + strReason;
    return strFault;
}

} // namespace

int CommandAnnotationsCheck::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Messages messages(out_messages, in_options.m_messages.m_bQuiet);
    LogBridge log(messages, levelOf(in_options.m_messages));
    if (in_options.m_vFiles.empty() && in_options.m_vLists.empty()) {
        messages.error("no recording given: name at least one, or a list of them with --list FILE");
        return EXIT_UNUSABLE;
    }
    Json json = Json::array();
    int iExitCode = EXIT_DONE;
    for (const Input& input : collectInputs(in_options.m_vFiles, in_options.m_vLists, log, messages)) {
        AnnotationChecker checker;
        const std::string strFault = check(input, checker, log);
        if (!strFault.empty())
            messages.inputError(input.m_strPath, strFault);
        else if (in_options.m_bJson)
            json.push_back(toJson(input.m_strPath, checker));
        else
            writeText(input.m_strPath, checker, out_data);
        if (!strFault.empty() || isFaulty(checker))
            iExitCode = EXIT_SOME_FAILED;
    }
    if (in_options.m_bJson)
        out_data << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return iExitCode;
}

} // namespace Corvana::Tools
