// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AnnotationEdit.h"
#include "tools/CommandDescription.h"
#include "tools/FileRun.h"
#include "tools/MessageOptions.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"
#include "tools/Text.h"
#include "tools/ViewRun.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Tools {

/// Reads the value of an option; a usage error for anything but a whole number within the bounds. in_szElse names what
/// else the option takes: ", or file".
unsigned long readNumber(const std::string& in_strOption, const std::string& in_strText, unsigned long in_uiMin,
                         unsigned long in_uiMax, const char* in_szElse = "");

/// Reads the value of an option that is one of a few words; a usage error for any other.
template <class ValueT>
ValueT readWord(const std::string& in_strOption, const std::string& in_strText,
                const std::vector<std::pair<std::string, ValueT>>& in_vWords)
{
    std::vector<std::string> vWords;
    for (const auto& [strWord, value] : in_vWords) {
        if (strWord == in_strText)
            return value;
        vWords.push_back(strWord);
    }
    throw CLI::ValidationError(in_strOption, "is one of " + joined(vWords) + ", not " + inQuotes(in_strText));
}

/// An option with a text, which in_take checks and keeps; in_strType names it in the help.
CLI::Option* addText(CLI::App& inout_app, const std::string& in_strNames, const std::string& in_strType,
                     const std::string& in_strHelp, const std::function<void(const std::string&)>& in_take);
/// An option whose value is one of a few words, which are its type in the help: "csv|jsonl".
template <class ValueT, class TakenT>
void addWord(CLI::App& inout_app, const std::string& in_strName, const std::string& in_strHelp,
             const std::vector<std::pair<std::string, ValueT>>& in_vWords, TakenT& out_value)
{
    std::string strType;
    for (const auto& [strWord, value] : in_vWords)
        strType += (strType.empty() ? "" : "|") + strWord;
    addText(inout_app, in_strName, strType, in_strHelp, [=, &out_value](const std::string& in_strText) {
        out_value = readWord<ValueT>(in_strName, in_strText, in_vWords);
    });
}
/// An option with a whole number.
void addNumber(CLI::App& inout_app, const std::string& in_strName, const std::string& in_strHelp,
               unsigned long in_uiMin, unsigned long in_uiMax, unsigned long& out_uiValue);
/// An option with the name of a file, which may not be empty.
void addFileName(CLI::App& inout_app, const std::string& in_strNames, const std::string& in_strHelp,
                 std::string& out_strFile);
/// Where recordings are: --list FILE, repeatable; --recursive and --pattern for folders.
void addLists(CLI::App& inout_app, std::vector<std::string>& out_vLists, FolderOptions& out_folders);
/// --jobs N.
void addJobs(CLI::App& inout_app, unsigned long& out_uiNbOfJobs);
/// --failures FILE and --fail-fast.
void addFailureOptions(CLI::App& inout_app, std::string& out_strFailures, bool& out_bFailFast);
/// What all commands share that go through many files: --jobs, --failures, --fail-fast, --progress.
void addFileRunOptions(CLI::App& inout_app, FileRunOptions& out_options);
/// --quiet, --verbose, --log-level.
void addMessageOptions(CLI::App& inout_command, MessageOptions& out_options);

/// How recordings are cut into windows: --window-ms, --overlap-ms, --suppress-dc, --read-factor, --sample-rate.
void addWindowOptions(CLI::App& inout_command, WindowOptions& out_options);
/// -f, --feature: descriptions.
void addFeatureOption(CLI::App& inout_command, std::vector<std::string>& out_vDescriptions);
/// --expr: NAME=FORMULA, as they stand.
void addFormulaOption(CLI::App& inout_command, const std::string& in_strHelp,
                      std::vector<std::string>& out_vNamedFormulas);
/// Splits what addFormulaOption() took. False, with the one at fault in out_strFault: it has no name or no formula.
bool parseNamedFormulas(const std::vector<std::string>& in_vNamedFormulas, std::vector<NamedFormula>& out_vFormulas,
                        std::string& out_strFault);
/// The command line of what shows recordings; OptionsT are ViewOptions and more.
template <class OptionsT>
struct ViewCommandLine
{
    OptionsT m_options;
    std::vector<std::string> m_vNamedFormulas;
};
/// What to show: FILE..., and those of addLists().
void addViewInputs(CLI::App& inout_command, ViewOptions& out_options);
/// Curves and their windows, progress, messages.
void addCurveOptions(CLI::App& inout_command, ViewOptions& out_options, std::vector<std::string>& out_vNamedFormulas);
/// Completes what was parsed for the command of that name. False: told why it is no use.
bool completeView(const std::string& in_strCommand, const std::vector<std::string>& in_vNamedFormulas,
                  ViewOptions& inout_options, std::ostream& out_messages);

/// --progress; for many recordings in_bJson.
void addProgressOption(CLI::App& inout_command, ProgressMode& out_mode, bool in_bJson = false);

/// What all commands share that edit recordings: --list, --dry-run, --interop, --save-notes and those for messages.
void addEditOptions(CLI::App& inout_command, AnnotationEditOptions& out_options);
/// --clip, of commands that add regions.
void addClip(CLI::App& inout_command, AnnotationEditOptions& out_options);

/// Help without the parser's own remarks on options.
class PlainFormatter : public CLI::Formatter
{
public:
    PlainFormatter() { column_width(26); }
    std::string make_option_opts(const CLI::Option* in_pOption) const override;
    std::string make_usage(const CLI::App* in_pApp, std::string in_strName) const override;
    /// The arguments as the usage line of a command shows them, when they are not what its options look like.
    void setArguments(const CLI::App& in_command, const std::string& in_strArguments);

private:
    std::map<const CLI::App*, std::string> m_arguments;
};

/// A command as its help shows it, with its commands; in_strPath names it: "annotations add", empty for the program.
CommandDescription describe(const CLI::App& in_app, const std::string& in_strPath);

/// The names of an application's commands, in order.
std::vector<std::string> commandNames(const CLI::App& in_app);
/// The command of that name; null for none.
CLI::App* findCommand(CLI::App& inout_app, const std::string& in_strName);

} // namespace Corvana::Tools
