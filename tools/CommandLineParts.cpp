// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineParts.h"

#include "corvana/NumberText.h"
#include "tools/LogBridge.h"

#include <algorithm>
#include <cstdint>

namespace Corvana::Tools {
namespace {

constexpr unsigned long s_uiMaxReadFactor = 1000000;
constexpr unsigned long s_uiMaxJobs = 1024;

} // namespace

unsigned long readNumber(const std::string& in_strOption, const std::string& in_strText, unsigned long in_uiMin,
                         unsigned long in_uiMax, const char* in_szElse)
{
    unsigned long uiValue = 0;
    if (parseNumber(in_strText, uiValue) && uiValue >= in_uiMin && uiValue <= in_uiMax)
        return uiValue;
    throw CLI::ValidationError(in_strOption, "wants a whole number from " + std::to_string(in_uiMin) + " to " +
                                                 std::to_string(in_uiMax) + in_szElse + ", not " +
                                                 inQuotes(in_strText));
}

CLI::Option* addText(CLI::App& inout_app, const std::string& in_strNames, const std::string& in_strType,
                     const std::string& in_strHelp, const std::function<void(const std::string&)>& in_take)
{
    return inout_app.add_option_function<std::string>(in_strNames, in_take, in_strHelp)->type_name(in_strType);
}

void addNumber(CLI::App& inout_app, const std::string& in_strName, const std::string& in_strHelp,
               unsigned long in_uiMin, unsigned long in_uiMax, unsigned long& out_uiValue)
{
    addText(inout_app, in_strName, "N", in_strHelp, [=, &out_uiValue](const std::string& in_strText) {
        out_uiValue = readNumber(in_strName, in_strText, in_uiMin, in_uiMax);
    });
}

void addFileName(CLI::App& inout_app, const std::string& in_strNames, const std::string& in_strHelp,
                 std::string& out_strFile)
{
    const std::string strLongName = in_strNames.substr(in_strNames.find("--"));
    addText(inout_app, in_strNames, "FILE", in_strHelp, [strLongName, &out_strFile](const std::string& in_strText) {
        if (in_strText.empty())
            throw CLI::ValidationError(strLongName, "wants the name of a file");
        out_strFile = in_strText;
    });
}

void addLists(CLI::App& inout_app, std::vector<std::string>& out_vLists, FolderOptions& out_folders)
{
    inout_app.add_option("--list", out_vLists, "A file with one recording a line; repeatable")
        ->type_name("FILE")
        ->allow_extra_args(false);
    inout_app.add_flag("-r,--recursive", out_folders.m_bRecursive,
                       "Folders stand for the recordings in them and below, sorted by path");
    inout_app
        .add_option("--pattern", out_folders.m_vPatterns,
                    "With --recursive: names of files to take (default: *.wav in any case); repeatable")
        ->type_name("GLOB")
        ->allow_extra_args(false);
}

void addJobs(CLI::App& inout_app, unsigned long& out_uiNbOfJobs)
{
    addNumber(inout_app, "--jobs", "Recordings at a time (default: one for each processor); changes no result", 1,
              s_uiMaxJobs, out_uiNbOfJobs);
}

void addFailureOptions(CLI::App& inout_app, std::string& out_strFailures, bool& out_bFailFast)
{
    addFileName(inout_app, "--failures", "Write the recordings that failed to FILE, with the reasons, as CSV",
                out_strFailures);
    inout_app.add_flag("--fail-fast", out_bFailFast, "Stop at the first recording that fails");
}

void addFileRunOptions(CLI::App& inout_app, FileRunOptions& out_options)
{
    addJobs(inout_app, out_options.m_uiNbOfJobs);
    addFailureOptions(inout_app, out_options.m_strFailures, out_options.m_bFailFast);
    addProgressOption(inout_app, out_options.m_progress, true);
}

void addMessageOptions(CLI::App& inout_command, MessageOptions& out_options)
{
    inout_command.add_flag("-q,--quiet", out_options.m_bQuiet, "Errors only: no progress, warnings or notes");
    const auto setDebug = [&out_options](std::int64_t) {
        out_options.m_iLogLevel = std::min<int>(out_options.m_iLogLevel, LOG_DEBUG);
    };
    inout_command.add_flag_function("-v,--verbose", setDebug, "Also the libraries' log, as --log-level debug");
    const auto setLevel = [&out_options](const std::string& in_strText) {
        if (!parseLogLevel(in_strText, out_options.m_iLogLevel))
            throw CLI::ValidationError("--log-level",
                                       "is one of trace, debug, info, warn, error, off, not " + inQuotes(in_strText));
    };
    addText(inout_command, "--log-level", "trace|debug|info|warn|error|off",
            "What to show of the libraries' log (default: warn)", setLevel);
}

void addWindowOptions(CLI::App& inout_command, WindowOptions& out_options)
{
    addNumber(inout_command, "--window-ms", "Length of a window in milliseconds (default 16)", 1, s_uiMaxWindowMs,
              out_options.m_uiWindowMs);
    addNumber(inout_command, "--overlap-ms", "What consecutive windows share (default 0)", 0, s_uiMaxWindowMs,
              out_options.m_uiOverlapMs);
    inout_command.add_flag("--suppress-dc", out_options.m_bSuppressDC, "Subtract each window's mean from it");
    addNumber(inout_command, "--read-factor", "Windows read at a time (default: enough at once); changes no result", 1,
              s_uiMaxReadFactor, out_options.m_uiReadFactor);
    addText(inout_command, "--sample-rate", "N|file",
            "Rate that windows are cut for, in Hz; file (default): each recording's own",
            [&out_options](const std::string& in_strText) {
                out_options.m_uiSampleRate =
                    in_strText == "file" ? 0
                                         : readNumber("--sample-rate", in_strText, 1, s_uiMaxSampleRate, ", or file");
            });
}

void addFeatureOption(CLI::App& inout_command, std::vector<std::string>& out_vDescriptions)
{
    inout_command
        .add_option("-f,--feature", out_vDescriptions, "A feature, or a chain such as 'spectrum|flatness'; repeatable")
        ->type_name("DESC")
        ->allow_extra_args(false);
}

void addFormulaOption(CLI::App& inout_command, const std::string& in_strHelp,
                      std::vector<std::string>& out_vNamedFormulas)
{
    inout_command.add_option("--expr", out_vNamedFormulas, in_strHelp)
        ->type_name("NAME=FORMULA")
        ->allow_extra_args(false);
}

bool parseNamedFormulas(const std::vector<std::string>& in_vNamedFormulas, std::vector<NamedFormula>& out_vFormulas,
                        std::string& out_strFault)
{
    for (const std::string& strText : in_vNamedFormulas) {
        out_vFormulas.emplace_back();
        if (parseNamedFormula(strText, out_vFormulas.back()))
            continue;
        out_strFault = "--expr wants NAME=FORMULA, not " + inQuotes(strText);
        return false;
    }
    return true;
}

void addViewInputs(CLI::App& inout_command, ViewOptions& out_options)
{
    inout_command
        .add_option("FILE", out_options.m_vInputs, "Recordings: mono files of any format that libsndfile reads")
        ->type_name("");
    addLists(inout_command, out_options.m_vLists, out_options.m_folders);
}

void addCurveOptions(CLI::App& inout_command, ViewOptions& out_options, std::vector<std::string>& out_vNamedFormulas)
{
    addFeatureOption(inout_command, out_options.m_vFeatures);
    addFormulaOption(inout_command, "A curve of that name: a formula over x, the window; repeatable",
                     out_vNamedFormulas);
    addWindowOptions(inout_command, out_options.m_windows);
    addProgressOption(inout_command, out_options.m_progress);
    addMessageOptions(inout_command, out_options.m_messages);
}

bool completeView(const std::string& in_strCommand, const std::vector<std::string>& in_vNamedFormulas,
                  ViewOptions& inout_options, std::ostream& out_messages)
{
    std::string strFault;
    if (parseNamedFormulas(in_vNamedFormulas, inout_options.m_vFormulas, strFault))
        return true;
    Messages(out_messages, false)
        .error(in_strCommand + ": " + strFault + "\nTry 'corvana help " + in_strCommand + "'.");
    return false;
}

void addProgressOption(CLI::App& inout_command, ProgressMode& out_mode, bool in_bJson)
{
    std::vector<std::pair<std::string, ProgressMode>> vModes = {
        {"auto", ProgressMode::AUTO}, {"always", ProgressMode::ALWAYS}, {"never", ProgressMode::NEVER}};
    std::string strHelp =
        "Show how far it is: on a terminal, for long work (auto, the default), also elsewhere, or never";
    if (in_bJson) {
        vModes.emplace_back("json", ProgressMode::JSON);
        strHelp += "; json: a line a second for programs";
    }
    addWord<ProgressMode>(inout_command, "--progress", strHelp, vModes, out_mode);
}

void addEditOptions(CLI::App& inout_command, AnnotationEditOptions& out_options)
{
    addLists(inout_command, out_options.m_vLists, out_options.m_folders);
    inout_command.add_flag("-n,--dry-run", out_options.m_bDryRun, "Tell what would be done, and change nothing");
    inout_command.add_flag("--interop", out_options.m_bInterop,
                           "Store all names before all lengths, for programs that stop at the first length");
    addFileName(inout_command, "--save-notes",
                "Add the notes that other programs attached, and that get lost, to FILE (JSON)",
                out_options.m_strSaveNotes);
    addMessageOptions(inout_command, out_options.m_messages);
}

void addClip(CLI::App& inout_command, AnnotationEditOptions& out_options)
{
    inout_command.add_flag("--clip", out_options.m_bClip, "Cut regions at the end of the audio; without it they fail");
}

std::string PlainFormatter::make_option_opts(const CLI::Option* in_pOption) const
{
    const std::string strType = in_pOption->get_type_size() == 0 ? "" : in_pOption->get_type_name();
    return strType.empty() ? "" : " " + strType;
}

std::string PlainFormatter::make_usage(const CLI::App* in_pApp, std::string in_strName) const
{
    const auto itArguments = m_arguments.find(in_pApp);
    if (itArguments != m_arguments.end())
        return "Usage: " + in_strName + " [OPTIONS] " + itArguments->second + "\n";
    return CLI::Formatter::make_usage(in_pApp, std::move(in_strName));
}

void PlainFormatter::setArguments(const CLI::App& in_command, const std::string& in_strArguments)
{
    m_arguments[&in_command] = in_strArguments;
}

namespace {

OptionDescription describe(const CLI::Option& in_option)
{
    OptionDescription description;
    for (const std::string& strName : in_option.get_snames())
        description.m_vNames.push_back("-" + strName);
    for (const std::string& strName : in_option.get_lnames())
        description.m_vNames.push_back("--" + strName);
    if (description.m_vNames.empty())
        description.m_vNames.push_back(in_option.get_name());
    description.m_strValue = in_option.get_type_size() == 0 ? "" : in_option.get_type_name();
    description.m_strHelp = in_option.get_description();
    return description;
}

} // namespace

CommandDescription describe(const CLI::App& in_app, const std::string& in_strPath)
{
    CommandDescription description;
    description.m_strPath = in_strPath;
    description.m_strHelp = in_app.get_description();
    description.m_strFooter = in_app.get_footer();
    const auto* pFormatter = dynamic_cast<const PlainFormatter*>(in_app.get_formatter().get());
    const std::string strUsage =
        pFormatter->make_usage(&in_app, in_strPath.empty() ? "corvana" : "corvana " + in_strPath);
    const std::size_t uiBegin = strUsage.find("corvana");
    description.m_strUsage = strUsage.substr(uiBegin, strUsage.find_last_not_of("\n ") + 1 - uiBegin);
    for (const CLI::Option* pOption : in_app.get_options())
        (pOption->get_positional() ? description.m_vArguments : description.m_vOptions).push_back(describe(*pOption));
    for (const CLI::App* pCommand : in_app.get_subcommands([](const CLI::App*) { return true; }))
        description.m_vCommands.push_back(
            describe(*pCommand, (in_strPath.empty() ? "" : in_strPath + " ") + pCommand->get_name()));
    return description;
}

std::vector<std::string> commandNames(const CLI::App& in_app)
{
    std::vector<std::string> vNames;
    for (const CLI::App* pCommand : in_app.get_subcommands([](const CLI::App*) { return true; }))
        vNames.push_back(pCommand->get_name());
    return vNames;
}

CLI::App* findCommand(CLI::App& inout_app, const std::string& in_strName)
{
    for (CLI::App* pCommand : inout_app.get_subcommands([](const CLI::App*) { return true; }))
        if (pCommand->get_name() == in_strName)
            return pCommand;
    return nullptr;
}

} // namespace Corvana::Tools
