// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineExchange.h"

#include "corvana/NumberText.h"
#include "tools/CommandAnnotationsDiff.h"
#include "tools/CommandAnnotationsExport.h"
#include "tools/CommandAnnotationsImport.h"
#include "tools/CommandAnnotationsStats.h"
#include "tools/CommandLineParts.h"
#include "tools/ExitCode.h"

#include <cmath>
#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szExportFooter = R"(
The formats, with the endings by which -o tells them: csv (.csv, the default; index,type,start,stop), json (.json),
audacity (.txt, a label track) and textgrid (.TextGrid, for Praat). Times are seconds, the shortest text that reads back
to the same double. TextGrids have a tier for regions that do not overlap, and more tiers as far as they do; regions of
length 0 are points. Each file appears when it is complete.

Examples:
  corvana annotations export call.wav
  corvana annotations export call.wav -o call.TextGrid
  corvana annotations export --format audacity --folder labels *.wav     labels/call.txt for call.wav

Exit codes: 0 done; 1 some recordings could not be read; 2 wrong usage, or an output could not be written.)";

constexpr const char* s_szImportFooter = R"(
The recording's regions become those of the label file, which is csv, json, audacity (a label track) or textgrid, as its
ending or --format says. With --folder, each recording takes the file of its own base name there: call.txt for call.wav.
CSV needs the columns type, start and stop, in any order when a header names them. Points of a TextGrid are regions of
length 0, and its empty intervals none.

A label must be a type ('corvana annotations types'), or stand in the file of --map: comma-separated values of label and
type, where no type drops the region. A label file with any other label, or with a region outside the audio (unless
--clip cuts it), leaves its recording as it was.

Examples:
  corvana annotations import call.txt call.wav
  corvana annotations import --folder labels *.wav
  corvana annotations import --map names.csv --dry-run call.TextGrid call.wav
with names.csv such as
  label,type
  lady,FEMALE
  cough,

Exit codes: 0 done; 1 some recordings were left as they were, each is named; 2 wrong usage.)";

constexpr const char* s_szStatsFooter = R"(
Seconds are the lengths of the regions added up: where regions overlap, time counts for each. Files are the recordings
that have regions of the type. CSV has no row of totals.

Examples:
  corvana annotations stats *.wav
  corvana annotations stats --list calls.txt --format csv

Exit codes: 0 done; 1 some recordings could not be read, each is named and not counted; 2 wrong usage.)";

constexpr const char* s_szDiffFooter = R"(
A line for each region that differs, by its start:
  < TYPE START to STOP s                        only in A
  > TYPE START to STOP s                        only in B
  moved TYPE START to STOP s -> START to STOP s
  retyped TYPE -> TYPE START to STOP s          with the times in B behind it when they differ too
Regions with a type in common and overlapping times are the same one, moved; then those with overlapping times are the
same one, retyped. Their order in the files, and the audio, do not matter. Between recordings of different sample rates,
times are the same when they are no more than a sample of each apart.

Examples:
  corvana annotations diff call.wav call-reviewed.wav
  corvana annotations diff --tolerance 0.02 hand.wav detector.wav
  corvana annotations diff --json a.wav b.wav

Exit codes, as those of diff: 0 the same regions; 1 they differ; 2 trouble.)";

// A command whose options live as long as what runs it.
template <class CommandT>
CLI::App& addCommand(const AnnotationCommandLine& in_commandLine, const std::string& in_strName,
                     const std::string& in_strHelp, const char* in_szFooter,
                     const std::shared_ptr<typename CommandT::Options>& in_pOptions)
{
    return in_commandLine.m_add(in_strName, in_strHelp, in_szFooter, [=] {
        return CommandT::run(*in_pOptions, in_commandLine.m_data, in_commandLine.m_messages);
    });
}

void addFormat(CLI::App& inout_command, const char* in_szDefault, std::optional<RegionFormat>& out_format)
{
    addWord<RegionFormat>(inout_command, "--format",
                          std::string("How regions are written (default: ") + in_szDefault + ")",
                          {{"csv", RegionFormat::CSV},
                           {"json", RegionFormat::JSON},
                           {"audacity", RegionFormat::AUDACITY},
                           {"textgrid", RegionFormat::TEXTGRID}},
                          out_format);
}

void addFolder(CLI::App& inout_command, const std::string& in_strHelp, std::string& out_strFolder)
{
    addText(inout_command, "--folder", "DIR", in_strHelp, [&out_strFolder](const std::string& in_strText) {
        if (in_strText.empty())
            throw CLI::ValidationError("--folder", "wants the name of a folder");
        out_strFolder = in_strText;
    });
}

void setArguments(const CLI::App& in_command, const char* in_szArguments)
{
    if (auto* pFormatter = dynamic_cast<PlainFormatter*>(in_command.get_formatter().get()))
        pFormatter->setArguments(in_command, in_szArguments);
}

void addExport(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsExport::Options>();
    CLI::App& command = addCommand<CommandAnnotationsExport>(
        in_commandLine, "export", "Writes regions into files for other programs", s_szExportFooter, pOptions);
    command.add_option("FILE", pOptions->m_vFiles, "Recordings; several need --folder")->type_name("");
    addLists(command, pOptions->m_vLists, pOptions->m_folders);
    addFileName(command, "-o,--output", "Write to FILE instead of standard output; for one recording",
                pOptions->m_strOutput);
    addFolder(command, "Write a file for each recording into DIR, named after it", pOptions->m_strFolder);
    addFormat(command, "as the ending of --output says, else csv", pOptions->m_format);
    addMessageOptions(command, pOptions->m_messages);
}

struct ImportArguments
{
    std::vector<std::string> m_vPaths;
    CommandAnnotationsImport::Options m_options;
};

// With a folder, all paths are recordings; else the first is the label file.
int runImport(const AnnotationCommandLine& in_commandLine, const ImportArguments& in_arguments)
{
    CommandAnnotationsImport::Options options = in_arguments.m_options;
    options.m_edit.m_vFiles = in_arguments.m_vPaths;
    if (options.m_strFolder.empty()) {
        if (in_arguments.m_vPaths.empty()) {
            Messages(in_commandLine.m_messages, false)
                .error("annotations import: wants a label file and a recording, or --folder DIR and recordings\n"
                       "Try 'corvana help annotations import'.");
            return EXIT_UNUSABLE;
        }
        options.m_strLabels = in_arguments.m_vPaths.front();
        options.m_edit.m_vFiles.erase(options.m_edit.m_vFiles.begin());
    }
    return CommandAnnotationsImport::run(options, in_commandLine.m_data, in_commandLine.m_messages);
}

void addImport(const AnnotationCommandLine& in_commandLine)
{
    const auto pArguments = std::make_shared<ImportArguments>();
    CommandAnnotationsImport::Options& options = pArguments->m_options;
    CLI::App& command = in_commandLine.m_add("import", "Gives recordings the regions of label files", s_szImportFooter,
                                             [=] { return runImport(in_commandLine, *pArguments); });
    command.add_option("PATH", pArguments->m_vPaths, "The label file, then the recording; with --folder, recordings")
        ->type_name("");
    setArguments(command, "LABELS RECORDING | --folder DIR RECORDING...");
    addFolder(command, "Where each recording has a label file of the same base name", options.m_strFolder);
    addFormat(command, "as the label file's ending says", options.m_format);
    addFileName(command, "--map", "What labels stand for: CSV with label and type", options.m_strMap);
    command.add_flag("--append", options.m_bAppend, "Keep the regions that the recording has");
    addClip(command, options.m_edit);
    addEditOptions(command, options.m_edit);
}

void addStats(const AnnotationCommandLine& in_commandLine)
{
    using Format = CommandAnnotationsStats::Format;
    const auto pOptions = std::make_shared<CommandAnnotationsStats::Options>();
    CLI::App& command = addCommand<CommandAnnotationsStats>(
        in_commandLine, "stats", "Counts regions and their seconds by type", s_szStatsFooter, pOptions);
    command.add_option("FILE", pOptions->m_vFiles, "Recordings")->type_name("");
    addLists(command, pOptions->m_vLists, pOptions->m_folders);
    addFileRunOptions(command, pOptions->m_run);
    pOptions->m_run.m_bStatusLine = in_commandLine.m_terminals.m_bMessages;
    addWord<Format>(command, "--format", "How the counts are written (default: table)",
                    {{"table", Format::TABLE}, {"csv", Format::CSV}, {"json", Format::JSON}}, pOptions->m_format);
    addMessageOptions(command, pOptions->m_messages);
}

void addDiff(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsDiff::Options>();
    CLI::App& command = addCommand<CommandAnnotationsDiff>(
        in_commandLine, "diff", "Tells how the regions of two recordings differ", s_szDiffFooter, pOptions);
    command.add_option("FILE", pOptions->m_vFiles, "Two recordings, A and B")->type_name("");
    setArguments(command, "A B");
    addText(command, "--tolerance", "SECONDS", "Times no farther apart are the same (default 0: the same samples)",
            [pOptions](const std::string& in_strText) {
                double& dTolerance = pOptions->m_dToleranceSeconds;
                if (!parseNumber(in_strText, dTolerance) || !std::isfinite(dTolerance) || dTolerance < 0.0)
                    throw CLI::ValidationError("--tolerance",
                                               "wants seconds, 0 or more, such as 0.02, not " + inQuotes(in_strText));
            });
    command.add_flag("--json", pOptions->m_bJson, "As a JSON object");
    addMessageOptions(command, pOptions->m_messages);
}

} // namespace

void addExchangeCommands(const AnnotationCommandLine& in_commandLine)
{
    addExport(in_commandLine);
    addImport(in_commandLine);
    addStats(in_commandLine);
    addDiff(in_commandLine);
}

} // namespace Corvana::Tools
