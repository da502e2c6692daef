// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineAnnotations.h"

#include "tools/CommandAnnotationsAdd.h"
#include "tools/CommandAnnotationsClear.h"
#include "tools/CommandAnnotationsList.h"
#include "tools/CommandAnnotationsTransfer.h"
#include "tools/CommandAnnotationsTypes.h"
#include "tools/CommandLineCheck.h"
#include "tools/CommandLineExchange.h"
#include "tools/CommandLineParts.h"

#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szListFooter = R"(
The formats: table (the default, for people; times to the microsecond), csv (index,type,start,stop), json, audacity (a
label track) and textgrid (Praat). Times are seconds, in all but the table the shortest text that reads back to the same
double. For several files, or with --list, csv has a column file in front and json an object a file; label tracks and
TextGrids hold one file each ('corvana annotations export'). The audio is passed over: it takes no time.

Examples:
  corvana annotations list call.wav
  corvana annotations list --format csv *.wav > regions.csv
  corvana annotations list --format json --list calls.txt)";

constexpr const char* s_szAddFooter = R"(
TYPE START STOP are the last three arguments: what 'corvana annotations types' shows, and seconds from the beginning.
Start and stop go to the nearest sample. A region that reaches beyond the end of the audio is refused; --clip cuts it
there, and leaves it out where nothing is left of it.

Examples:
  corvana annotations add call.wav VOICE 1.5 3.25
  corvana annotations add a.wav b.wav c.wav SILENCE 0 0.5
  corvana annotations add --list calls.txt --dry-run NOISE 0 2)";

constexpr const char* s_szMergeFooter = R"(
Adds the regions of FROM behind those that each INTO has. FROM stays as it is. Regions are seconds: they move to another
sample rate unharmed. One that reaches beyond the end of the audio is refused; --clip cuts it there, and leaves it out
where nothing is left of it.

Examples:
  corvana annotations merge left.wav both.wav
  corvana annotations merge --clip long.wav short.wav)";

constexpr const char* s_szCopyFooter = R"(
Gives each TO the regions of FROM in place of its own. FROM stays as it is; when it has no regions, those of TO are
removed. A region that reaches beyond the end of the audio is refused; --clip cuts it there, and leaves it out where
nothing is left of it.

Examples:
  corvana annotations copy original.wav filtered.wav
  corvana annotations copy --dry-run original.wav variant-*.wav)";

constexpr const char* s_szClearFooter = R"(
Without --match, all regions are removed. PATTERN is a regular expression in Perl syntax; it matches the whole type, in
upper or lower case. A single region is removed by exporting, deleting its line, and importing the rest.

Examples:
  corvana annotations clear call.wav
  corvana annotations clear --match 'cpa_.*' *.wav       all that the detector CPA found
  corvana annotations clear --match 'DTMF_[0-9]' call.wav  ten plain keys, but not CPA_DTMF_1
  corvana annotations clear --dry-run --match '.*HUMAN' --list calls.txt
  corvana annotations export call.wav -o call.csv          then, with a line of call.csv less:
  corvana annotations import call.csv call.wav)";

constexpr const char* s_szTypesFooter = R"(
Examples:
  corvana annotations types
  corvana annotations types | grep HUMAN
  corvana annotations types --json)";

// A command with options of its own kind, which live as long as what runs it.
template <class CommandT>
CLI::App& addCommand(const AnnotationCommandLine& in_commandLine, const std::string& in_strName,
                     const std::string& in_strHelp, const char* in_szFooter,
                     const std::shared_ptr<typename CommandT::Options>& in_pOptions)
{
    return in_commandLine.m_add(in_strName, in_strHelp, in_szFooter, [=] {
        return CommandT::run(*in_pOptions, in_commandLine.m_data, in_commandLine.m_messages);
    });
}

void addFiles(CLI::App& inout_command, const std::string& in_strName, const std::string& in_strHelp,
              std::vector<std::string>& out_vFiles)
{
    inout_command.add_option(in_strName, out_vFiles, in_strHelp)->type_name("");
}

// Where the usage line says more than the options do.
void setArguments(const CLI::App& in_command, const char* in_szArguments)
{
    if (auto* pFormatter = dynamic_cast<PlainFormatter*>(in_command.get_formatter().get()))
        pFormatter->setArguments(in_command, in_szArguments);
}

void addList(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsList::Options>();
    CLI::App& command = addCommand<CommandAnnotationsList>(in_commandLine, "list", "Shows the regions of recordings",
                                                           s_szListFooter, pOptions);
    addFiles(command, "FILE", "Recordings", pOptions->m_vFiles);
    addLists(command, pOptions->m_vLists, pOptions->m_folders);
    addFileRunOptions(command, pOptions->m_run);
    pOptions->m_run.m_bStatusLine = in_commandLine.m_terminals.m_bMessages && !in_commandLine.m_terminals.m_bData;
    addWord<std::optional<RegionFormat>>(command, "--format", "How regions are written (default: table)",
                                         {{"table", std::nullopt},
                                          {"csv", RegionFormat::CSV},
                                          {"json", RegionFormat::JSON},
                                          {"audacity", RegionFormat::AUDACITY},
                                          {"textgrid", RegionFormat::TEXTGRID}},
                                         pOptions->m_format);
    addMessageOptions(command, pOptions->m_messages);
}

void addAdd(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsAdd::Options>();
    CLI::App& command =
        addCommand<CommandAnnotationsAdd>(in_commandLine, "add", "Adds a region to each file", s_szAddFooter, pOptions);
    addFiles(command, "FILE", "Recordings; behind them type, start and stop of the region", pOptions->m_vArguments);
    setArguments(command, "FILE... TYPE START STOP");
    addClip(command, *pOptions);
    addEditOptions(command, *pOptions);
}

void addTransfer(const AnnotationCommandLine& in_commandLine, bool in_bReplace)
{
    const auto pOptions = std::make_shared<CommandAnnotationsTransfer::Options>();
    pOptions->m_bReplace = in_bReplace;
    const char* szTarget = in_bReplace ? "TO" : "INTO";
    CLI::App& command =
        addCommand<CommandAnnotationsTransfer>(in_commandLine, in_bReplace ? "copy" : "merge",
                                               in_bReplace ? "Gives files the regions of another, in place of their own"
                                                           : "Adds the regions of a file to those of others",
                                               in_bReplace ? s_szCopyFooter : s_szMergeFooter, pOptions);
    command.add_option("FROM", pOptions->m_strSource, "The recording whose regions are wanted")
        ->type_name("")
        ->required();
    addFiles(command, szTarget, "The recordings that they go to", pOptions->m_vFiles);
    setArguments(command, in_bReplace ? "FROM TO..." : "FROM INTO...");
    addClip(command, *pOptions);
    addEditOptions(command, *pOptions);
}

void addClear(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsClear::Options>();
    CLI::App& command = addCommand<CommandAnnotationsClear>(in_commandLine, "clear", "Removes regions from each file",
                                                            s_szClearFooter, pOptions);
    addFiles(command, "FILE", "Recordings", pOptions->m_vFiles);
    addText(command, "--match", "PATTERN", "Only regions whose type matches",
            [pOptions](const std::string& in_strText) { pOptions->m_strPattern = in_strText; });
    addEditOptions(command, *pOptions);
}

void addTypes(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsTypes::Options>();
    CLI::App& command = addCommand<CommandAnnotationsTypes>(
        in_commandLine, "types", "Shows what regions can be labelled with", s_szTypesFooter, pOptions);
    command.add_flag("--json", pOptions->m_bJson, "As a JSON object");
}

} // namespace

void addAnnotationCommands(const AnnotationCommandLine& in_commandLine)
{
    addList(in_commandLine);
    addAdd(in_commandLine);
    addTransfer(in_commandLine, false);
    addTransfer(in_commandLine, true);
    addClear(in_commandLine);
    addCheckCommand(in_commandLine);
    addExchangeCommands(in_commandLine);
    addTypes(in_commandLine);
}

} // namespace Corvana::Tools
