// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLine.h"

#include "corvana/AudioFeatureDescription.h"
#include "corvana/MathSimd.h"
#include "corvana/NumberText.h"
#include "corvana/Version.h"
#include "tools/CommandDoctor.h"
#include "tools/CommandFeatures.h"
#include "tools/CommandInfo.h"
#include "tools/CommandLineAnnotations.h"
#include "tools/CommandLineMerge.h"
#include "tools/CommandLineParts.h"
#include "tools/CommandLinePlot.h"
#include "tools/CommandLineReport.h"
#include "tools/CommandListFeatures.h"
#include "tools/CommandListFunctions.h"
#include "tools/ExitCode.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/ManualPage.h"
#include "tools/Messages.h"
#include "tools/RegionType.h"
#include "tools/ShellCompletion.h"
#include "tools/TableSettings.h"
#include "tools/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szProgramFooter = R"(
Examples:
  corvana features call.wav                    features of each window, as CSV
  corvana features -f spectrum500hz -o calls.csv a.wav b.wav
  corvana info call.wav                        format, rate, length
  corvana eval 'flatness(spectrum(x))' call.wav  a formula for each window
  corvana list-features                        all features
  corvana plot call.wav -o call.png            waveform, spectrogram and regions as a picture
  corvana report call.wav -o call.html         the same as a page that plays the recording
  corvana annotations list call.wav            the labelled regions of a recording
  corvana help features                        all options, with examples
  corvana doctor                               versions, and whether all is right

Environment:
  CORVANA_CPA_DATA  where relative names of lists are looked for when they are not beside the list
  CORVANA_SIMD      what computes spectra: avx512, avx2, baseline or portable; else the best that the processor has.
                    All give the same values; they differ in speed. --version shows the one in use.

Exit codes: 0 done; 1 finished, but some inputs failed; 2 wrong usage, or the output could not be written.)";

constexpr const char* s_szFeaturesFooter = R"(
Features are named as 'corvana list-features' shows them. Stages joined by | form a chain in which each stage reads
what the one before it gives. Without -f, also beside --expr, spectrum500hz and spectrum|flatness are computed; 'corvana eval' computes a
formula alone.

CSV has the columns file, time, and one for each value: the description itself when it gives one value, else
DESC[0], DESC[1] and so on. Fields are quoted as RFC 4180 says; lines end with a line feed alone, as other tools on
this system expect. Numbers are the shortest text that reads back to the same double; what is not a number is nan.
JSON lines hold an object a window: "file", "time", and for each description its number, or an array of its numbers
when it gives several. There, not-a-number is null and infinities are 1e999 and -1e999.
npy writes files for NumPy: the values into OUT.npy, the times and the positions of the inputs into OUT.times.npy.
The time is that of the end of the window, in seconds.

With --resume, OUT.partial and OUT.journal are kept beside OUT until it is complete, and the same command goes on after
a kill; it takes as long as what is left, and gives the same bytes.

With --labels, a column labels behind the time holds the types of the regions (see 'corvana annotations') that cover the
middle of the window, with ; between them in the order of the file; in JSON an array. It is empty where there are none,
and, with a warning, for a recording whose regions cannot be read.

Examples:
  corvana features call.wav > call.csv
  corvana features -f 'spectrum|flatness' -f spectrum500hz -o calls.csv a.wav b.wav
  corvana features --window-ms 32 --overlap-ms 16 --format jsonl call.wav
  corvana features --list calls.txt -o calls.csv
  corvana features -r calls --failures failed.csv -o calls.csv
  corvana features -r calls --shard 2/7 -o part-2.csv
  corvana features -r calls --resume --format npy -o calls.npy
  corvana features -f 'spectrum|peaks' --window-ms 32 --save-config peaks.xml
  corvana features --config peaks.xml call.wav
  corvana features --labels --list labelled.txt -o training.csv
  corvana features -f silenceratio --expr 'tonal=flatness(spectrum(x)) < 0.2' call.wav
  sox stereo.au -r 8000 -c 1 -t au - | corvana features -

Exit codes: 0 done; 1 finished, but some inputs failed (each is named, the others are complete); 2 wrong usage, or
the output could not be written.)";

constexpr const char* s_szEvalFooter = R"(
The formula's only variable is x, the window. Its column is named after it: FORMULA when it gives one value, else
FORMULA[0], FORMULA[1] and so on. Rows are as those of 'corvana features', which can also hold formulas (--expr).

Examples:
  corvana eval 'flatness(spectrum(x)) < 0.2' call.wav
  corvana eval --window-ms 32 'spectralRange(spectrum(x), frequencyHz=450, widthHz=0)[0] > 0.2' call.wav
  corvana features --expr 'level=log(mean(x*x))' call.wav

Exit codes: 0 done; 1 finished, but some inputs failed; 2 wrong usage, or the output could not be written.)";

constexpr const char* s_szListFunctionsFooter = R"(
Examples:
  corvana list-functions
  corvana list-functions --json)";

constexpr const char* s_szInfoFooter = R"(
Examples:
  corvana info call.wav
  corvana info --json *.wav

The clipping level is the amplitude from which a sample of the recording's encoding counts as clipped.)";

constexpr const char* s_szListFeaturesFooter = R"(
Examples:
  corvana list-features
  corvana list-features --json)";

constexpr const char* s_szDoctorFooter = R"(
For reports of bugs, and for a new machine: versions of the libraries in use, instruction sets, what settles the log,
and a self test of computing, reading and labelling with small recordings in the folder for temporary files.

Examples:
  corvana doctor
  corvana doctor --json > doctor.json

Exit codes: 0 all is right; 1 something is not, as the lines with 'WRONG' tell; 2 wrong usage, or the output could not
be written.)";

constexpr const char* s_szCompletionFooter = R"(
Packages and 'cmake --install' put these scripts where the shells find them. By hand:

Examples:
  source <(corvana completion bash)                          for this shell
  corvana completion bash > ~/.local/share/bash-completion/completions/corvana
  corvana completion zsh > ~/.zfunc/_corvana                 with ~/.zfunc in $fpath
  corvana completion fish > ~/.config/fish/completions/corvana.fish)";

constexpr const char* s_szHelpFooter = R"(
Examples:
  corvana help
  corvana help features
  corvana help --man features | man -l -
  corvana help annotations add)";

constexpr const char* s_szAnnotationsFooter = R"(
Regions are stored in the WAV file itself, as cue points with labels; every other byte of the file stays as it is. A
file is changed in one step: whatever happens, it is either the old one or the new one.

Examples:
  corvana annotations list call.wav            the regions of a recording
  corvana annotations add call.wav VOICE 1.5 3.25
  corvana annotations types                    what regions can be labelled with
  corvana help annotations add                 options of one of these commands

Exit codes: 0 done; 1 finished, but some files failed (each is named, the others are complete); 2 wrong usage, or the
output could not be written.)";

// With what computes spectra here: the one thing about a machine that support has to ask for.
std::string version()
{
    return std::string("corvana ") + getVersion() + " (" + Math::getSimdName() + ")";
}

/// The commands with their options; each sets what is to be run.
class Program
{
public:
    Program(Terminals in_terminals, std::ostream& out_data, std::ostream& out_messages)
        : m_terminals(in_terminals)
        , m_data(out_data)
        , m_messageStream(out_messages)
        , m_messages(out_messages, false)
        , m_app("Measures telephone recordings: a row of audio features for each short window.", "corvana")
    {
        m_app.footer(s_szProgramFooter);
        m_app.set_version_flag("--version", version, "Show the version, and the processor's instruction set in use");
        m_app.formatter(std::make_shared<PlainFormatter>());
        m_app.require_subcommand(0, 1);
        addFeatures();
        addEval();
        addInfo();
        addListFeatures();
        addListFunctions();
        addMerge();
        addPictures();
        addAnnotations();
        addDoctor();
        addCompletion();
        addHelp();
    }

    int run(const std::vector<std::string>& in_vArguments)
    {
        if (in_vArguments.empty()) {
            m_messageStream << help(nullptr) << std::flush;
            return EXIT_UNUSABLE;
        }
        int iExitCode = EXIT_DONE;
        if (refuseUnknownCommand(in_vArguments, iExitCode))
            return iExitCode;
        try {
            const LogBridge log(m_messages, LOG_WARN); // what the version tells may come with a warning
            m_app.parse(std::vector<std::string>(in_vArguments.rbegin(), in_vArguments.rend()));
        } catch (const CLI::CallForHelp&) {
            m_data << help(givenCommand());
            return EXIT_DONE;
        } catch (const CLI::CallForVersion& version) {
            m_data << version.what() << '\n';
            return EXIT_DONE;
        } catch (const CLI::ParseError& error) {
            return refuse(error.what());
        }
        return runCommand();
    }

private:
    // The command that was given, or the nested one: the innermost of those parsed.
    CLI::App* givenCommand()
    {
        CLI::App* pCommand = &m_app;
        while (!pCommand->get_subcommands().empty())
            pCommand = pCommand->get_subcommands()[0];
        return pCommand == &m_app ? nullptr : pCommand;
    }

    // "annotations add"
    static std::string pathOf(const CLI::App& in_command)
    {
        const CLI::App* pParent = in_command.get_parent();
        const bool bNested = pParent != nullptr && pParent->get_parent() != nullptr;
        return (bNested ? pParent->get_name() + " " : "") + in_command.get_name();
    }

    std::string help(const CLI::App* in_pCommand)
    {
        // Not App::help(), which would show the command that was called instead of the one that was asked about.
        const CLI::App* pApp = in_pCommand == nullptr ? &m_app : in_pCommand;
        const std::string strName = in_pCommand == nullptr ? "corvana" : "corvana " + pathOf(*pApp);
        return m_app.get_formatter()->make_help(pApp, strName, CLI::AppFormatMode::Normal);
    }

    int refuse(const std::string& in_strText) { return refuse(in_strText, givenCommand()); }

    int refuse(const std::string& in_strText, const CLI::App* in_pCommand)
    {
        const std::string strCommand = in_pCommand == nullptr ? "" : pathOf(*in_pCommand);
        m_messages.error((strCommand.empty() ? "" : strCommand + ": ") + printable(in_strText) + "\nTry 'corvana help" +
                         (strCommand.empty() ? "" : " " + strCommand) + "'.");
        return EXIT_UNUSABLE;
    }

    // For what other programs call a command, and for a recording without one.
    static std::string hintFor(const std::string& in_strName, const std::vector<std::string>& in_vNames)
    {
        static const std::map<std::string, std::string> s_vOtherNames = {{"remove", "clear"},
                                                                         {"delete", "clear"},
                                                                         {"rm", "clear"},
                                                                         {"annotate", "annotations"},
                                                                         {"version", "--version"}};
        const auto itName = s_vOtherNames.find(in_strName);
        const bool bOption = itName != s_vOtherNames.end() && itName->second.starts_with('-');
        if (itName != s_vOtherNames.end() &&
            (bOption || std::find(in_vNames.begin(), in_vNames.end(), itName->second) != in_vNames.end()))
            return didYouMean({itName->second});
        if (isRegularFile(in_strName))
            return "; the command stands before the files, as in 'corvana features FILE'";
        return didYouMean(nearestNames(in_strName, in_vNames));
    }

    // in_parent is the application, or a command that has commands of its own.
    int refuseCommand(const CLI::App& in_parent, const std::string& in_strName)
    {
        const std::vector<std::string> vNames = commandNames(in_parent);
        const std::string strParent = in_parent.get_parent() == nullptr ? "" : in_parent.get_name();
        m_messages.error((strParent.empty() ? "" : strParent + ": ") + "no command " + inQuotes(in_strName) +
                         hintFor(in_strName, vNames) + "\nThe commands " +
                         (strParent.empty() ? "" : "of " + strParent + " ") + "are " + joined(vNames) + ".");
        return EXIT_UNUSABLE;
    }

    // The parser would take a command that it does not know for an argument. False: all commands are known.
    bool refuseUnknownCommand(const std::vector<std::string>& in_vArguments, int& out_iExitCode)
    {
        CLI::App* pParent = &m_app;
        for (const std::string& strArgument : in_vArguments) {
            if (strArgument.starts_with('-') || commandNames(*pParent).empty())
                return false;
            CLI::App* pCommand = findCommand(*pParent, strArgument);
            if (pCommand == nullptr) {
                out_iExitCode = refuseCommand(*pParent, strArgument);
                return true;
            }
            pParent = pCommand;
        }
        return false;
    }

    int refuseExtra(const CLI::App& in_command, const std::string& in_strExtra)
    {
        if (!in_strExtra.starts_with('-'))
            return refuse("does not know what to do with " + inQuotes(in_strExtra), &in_command);
        double dNumber = 0.0;
        if (parseNumber(in_strExtra, dNumber)) // such as -.5, which the parser takes for an option
            return refuse("does not know what to do with the negative number " + inQuotes(in_strExtra), &in_command);
        std::vector<std::string> vNames;
        for (const CLI::Option* pOption : in_command.get_options())
            for (const std::string& strName : pOption->get_lnames())
                vNames.push_back("--" + strName);
        const std::string strName = in_strExtra.substr(0, in_strExtra.find('='));
        return refuse("unknown option " + inQuotes(in_strExtra) + didYouMean(nearestNames(strName, vNames)),
                      &in_command);
    }

    int runCommand()
    {
        CLI::App* pGiven = givenCommand();
        if (pGiven == nullptr)
            return refuse("no command given");
        for (const CLI::App* pCommand = pGiven; pCommand != &m_app; pCommand = pCommand->get_parent()) {
            std::vector<std::string> vExtras = pCommand->remaining();
            std::erase(vExtras, "--"); // ends the options, and counts as collected too
            if (!vExtras.empty())
                return refuseExtra(*pCommand, vExtras[0]);
        }
        if (!commandNames(*pGiven).empty()) {
            m_messageStream << help(pGiven) << std::flush;
            return EXIT_UNUSABLE;
        }
        return m_runs.at(pGiven)();
    }

    CLI::App& add(const std::string& in_strName, const std::string& in_strHelp, const char* in_szFooter,
                  std::function<int()> in_run)
    {
        return addTo(m_app, in_strName, in_strHelp, in_szFooter, std::move(in_run));
    }

    CLI::App& addTo(CLI::App& inout_parent, const std::string& in_strName, const std::string& in_strHelp,
                    const char* in_szFooter, std::function<int()> in_run)
    {
        CLI::App& command = *inout_parent.add_subcommand(in_strName, in_strHelp);
        command.footer(in_szFooter);
        command.allow_extras(); // collected, so that the nearest option can be named
        m_runs.emplace(&command, std::move(in_run));
        return command;
    }

    void addMerge()
    {
        const auto addPlain = [this](const std::string& in_strName, const std::string& in_strHelp,
                                     const char* in_szFooter, std::function<int()> in_run) -> CLI::App& {
            return add(in_strName, in_strHelp, in_szFooter, std::move(in_run));
        };
        addMergeCommand({addPlain, m_data, m_messageStream, m_terminals});
    }

    void addPictures()
    {
        const auto addPlain = [this](const std::string& in_strName, const std::string& in_strHelp,
                                     const char* in_szFooter, std::function<int()> in_run) -> CLI::App& {
            return add(in_strName, in_strHelp, in_szFooter, std::move(in_run));
        };
        addPlotCommand({addPlain, m_data, m_messageStream, m_terminals}, m_terminals);
        addReportCommand({addPlain, m_data, m_messageStream, m_terminals}, m_terminals);
    }

    void addAnnotations()
    {
        CLI::App& annotations =
            add("annotations", "Shows and edits the labelled regions inside WAV files", s_szAnnotationsFooter, {});
        annotations.require_subcommand(0, 1);
        const auto addNested = [this, &annotations](const std::string& in_strName, const std::string& in_strHelp,
                                                    const char* in_szFooter, std::function<int()> in_run) -> CLI::App& {
            return addTo(annotations, in_strName, in_strHelp, in_szFooter, std::move(in_run));
        };
        addAnnotationCommands({addNested, m_data, m_messageStream, m_terminals});
    }

    // What `features` and `eval` share.
    void addRowOptions(CLI::App& inout_command, CommandFeatures::Options& out_options)
    {
        addLists(inout_command, out_options.m_vLists, out_options.m_folders);
        addFileName(inout_command, "-o,--output", "Write to FILE, which appears when it is complete",
                    out_options.m_strOutput);
        addWord<RowFormat>(inout_command, "--format", "How rows are written (default: csv)",
                           {{"csv", RowFormat::CSV}, {"jsonl", RowFormat::JSONL}, {"npy", RowFormat::NPY}},
                           out_options.m_format);
        inout_command.add_flag("--labels", out_options.m_bLabels,
                               "A column 'labels': the types of the regions that cover each window's middle");
        addWindowOptions(inout_command, out_options.m_windows);
    }

    // What `features` and `eval` share for many recordings.
    void addRunOptions(CLI::App& inout_command, CommandFeatures::Options& out_options)
    {
        addJobs(inout_command, out_options.m_uiNbOfJobs);
        addText(inout_command, "--shard", "I/N",
                "Only the I-th of N equal parts of all recordings, for 'corvana merge'",
                [&out_options](const std::string& in_strText) { out_options.m_shard = readShard(in_strText); });
        addFailureOptions(inout_command, out_options.m_strFailures, out_options.m_bFailFast);
        inout_command.add_flag("--sidecar", out_options.m_bDescription,
                               "Describe the table in OUT.json beside it: configuration, columns, inputs");
        inout_command.add_flag("--resume", out_options.m_bResume,
                               "Go on where a run of the same command was stopped or killed; from the first run on");
    }

    static CommandFeatures::Shard readShard(const std::string& in_strText)
    {
        const std::size_t uiSlash = in_strText.find('/');
        CommandFeatures::Shard shard;
        shard.m_bGiven = true;
        if (in_strText.find(' ') != std::string::npos || uiSlash == std::string::npos ||
            !parseNumber(in_strText.substr(0, uiSlash), shard.m_uiNumber) ||
            !parseNumber(in_strText.substr(uiSlash + 1), shard.m_uiNbOfShards) || shard.m_uiNumber == 0 ||
            shard.m_uiNumber > shard.m_uiNbOfShards || shard.m_uiNbOfShards > s_uiMaxNbOfShards)
            throw CLI::ValidationError("--shard", "wants I/N, the number of a part, from 1, and the number of parts, "
                                                  "such as 2/7, not " +
                                                      inQuotes(in_strText));
        return shard;
    }

    void addProgressOptions(CLI::App& inout_command, CommandFeatures::Options& out_options)
    {
        addProgressOption(inout_command, out_options.m_progress, true);
        addMessageOptions(inout_command, out_options.m_messages);
    }

    void addFeatures()
    {
        CommandFeatures::Options& options = m_features;
        CLI::App& command = add("features", "Computes features of recordings, a row a window", s_szFeaturesFooter,
                                [this] { return runFeatures(); });
        command
            .add_option("INPUT", options.m_vInputs, "Recordings: mono files of any format that libsndfile reads, or -")
            ->type_name("");
        addFeatureOption(command, options.m_vFeatures);
        addFormulaOption(command, "A column of that name with a formula over x, the window; repeatable",
                         m_vNamedFormulas);
        addRowOptions(command, options);
        addText(command, "--config", "FILE", "Features and windows as --save-config kept them",
                [&options](const std::string& in_strText) { options.m_strConfig = in_strText; });
        addText(command, "--save-config", "FILE", "Keep features and windows in FILE, for --config; needs no INPUT",
                [&options](const std::string& in_strText) { options.m_strSaveConfig = in_strText; });
        addRunOptions(command, options);
        addProgressOptions(command, options);
    }

    void addEval()
    {
        CommandFeatures::Options& options = m_eval;
        options.m_bFormulasOnly = true;
        CLI::App& command = add("eval", "Computes a formula for each window of recordings, a row a window",
                                s_szEvalFooter, [this] { return runEval(); });
        command.add_option("FORMULA", m_strFormula, "A formula over x, the window")->type_name("")->required();
        command
            .add_option("INPUT", options.m_vInputs, "Recordings: mono files of any format that libsndfile reads, or -")
            ->type_name("");
        addRowOptions(command, options);
        addRunOptions(command, options);
        addProgressOptions(command, options);
    }

    int runEval()
    {
        m_eval.m_vFormulas = {{m_strFormula, m_strFormula}};
        return runRows(m_eval);
    }

    void addListFunctions()
    {
        CLI::App& command = add("list-functions", "Shows the functions that formulas can call", s_szListFunctionsFooter,
                                [this] { return CommandListFunctions::run(m_listFunctions, m_data, m_messageStream); });
        command.add_flag("--json", m_listFunctions.m_bJson, "As a JSON array");
    }

    // What a saved configuration settles cannot be said beside it: nobody could tell which one holds.
    bool isSaidTwice(std::string& out_strOption)
    {
        static constexpr const char* aszSettled[] = {"feature", "window-ms", "overlap-ms", "suppress-dc",
                                                     "sample-rate"};
        if (m_features.m_strConfig.empty())
            return false;
        // Not App::count(), which ends the program when there is no memory to look an option up.
        for (const CLI::Option* pOption : findCommand(m_app, "features")->get_options())
            for (const std::string& strName : pOption->get_lnames())
                if (pOption->count() > 0 &&
                    std::find(std::begin(aszSettled), std::end(aszSettled), strName) != std::end(aszSettled)) {
                    out_strOption = "--" + strName;
                    return true;
                }
        return false;
    }

    int runFeatures()
    {
        std::string strOption;
        if (isSaidTwice(strOption))
            return refuse(strOption + " cannot stand beside --config, which settles it");
        if (!m_features.m_strSaveConfig.empty() && !m_vNamedFormulas.empty())
            return refuse("--save-config keeps features, not formulas; leave --expr out");
        std::string strFault;
        if (!parseNamedFormulas(m_vNamedFormulas, m_features.m_vFormulas, strFault))
            return refuse(strFault);
        return runRows(m_features);
    }

    int runRows(CommandFeatures::Options& inout_options)
    {
        const bool bToStream = inout_options.m_strOutput.empty() || inout_options.m_strOutput == "-";
        inout_options.m_bStatusLine = m_terminals.m_bMessages && !(m_terminals.m_bData && bToStream);
        inout_options.m_bFlushRows = m_terminals.m_bData && bToStream;
        return CommandFeatures::run(inout_options, m_data, m_messageStream);
    }

    void addInfo()
    {
        CLI::App& command = add("info", "Tells what recordings are: format, rate, frames, duration", s_szInfoFooter,
                                [this] { return CommandInfo::run(m_info, m_data, m_messageStream); });
        command.add_option("FILE", m_info.m_vInputs, "Recordings")->type_name("");
        command.add_flag("--json", m_info.m_bJson, "As a JSON array");
        addMessageOptions(command, m_info.m_messages);
    }

    void addListFeatures()
    {
        CLI::App& command = add("list-features", "Shows the features that can be computed", s_szListFeaturesFooter,
                                [this] { return CommandListFeatures::run(m_listFeatures, m_data, m_messageStream); });
        command.add_flag("--json", m_listFeatures.m_bJson, "As a JSON array");
    }

    void addHelp()
    {
        CLI::App& command = add("help", "Shows how a command is used", s_szHelpFooter, [this] { return runHelp(); });
        command.add_option("COMMAND", m_vHelpAbout, "The command; without one, all commands are shown")->type_name("");
        command.add_flag("--man", m_bManual, "As the source of a manual page, for man -l -");
    }

    int runHelp()
    {
        CLI::App* pCommand = &m_app;
        for (const std::string& strName : m_vHelpAbout) {
            CLI::App* pNext = findCommand(*pCommand, strName);
            if (pNext == nullptr && commandNames(*pCommand).empty())
                return refuse(inQuotes(pathOf(*pCommand)) + " has no commands such as " + inQuotes(strName));
            if (pNext == nullptr)
                return refuseCommand(*pCommand, strName);
            pCommand = pNext;
        }
        if (m_bManual)
            m_data << manualPage(describe(*pCommand, pCommand == &m_app ? "" : pathOf(*pCommand)));
        else
            m_data << help(pCommand == &m_app ? nullptr : pCommand);
        return EXIT_DONE;
    }

    void addCompletion()
    {
        CLI::App& command = add("completion", "Writes what makes a shell complete commands, options and names",
                                s_szCompletionFooter, [this] { return runCompletion(); });
        command
            .add_option_function<std::string>(
                "SHELL",
                [this](const std::string& in_strText) {
                    m_makeCompletion = readWord<MakeCompletion>(
                        "SHELL", in_strText,
                        {{"bash", bashCompletion}, {"zsh", zshCompletion}, {"fish", fishCompletion}});
                },
                "The shell")
            ->type_name("bash|zsh|fish")
            ->required();
    }

    int runCompletion()
    {
        CompletionNames names;
        for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
            names.m_vFeatures.emplace_back(description.m_szName);
        names.m_vRegionTypes = namedRegionTypes();
        m_data << m_makeCompletion(describe(m_app, ""), names);
        return EXIT_DONE;
    }

    void addDoctor()
    {
        CLI::App& command =
            add("doctor", "Tells what this program runs with, and tests in a second whether it is right",
                s_szDoctorFooter, [this] { return CommandDoctor::run(m_doctor, m_data, m_messageStream); });
        command.add_flag("--json", m_doctor.m_bJson, "As a JSON object");
    }

    using MakeCompletion = std::string (*)(const CommandDescription&, const CompletionNames&);

    Terminals m_terminals;
    std::ostream& m_data;
    std::ostream& m_messageStream;
    Messages m_messages;
    CLI::App m_app;
    std::map<const CLI::App*, std::function<int()>> m_runs;
    CommandFeatures::Options m_features;
    CommandInfo::Options m_info;
    CommandListFeatures::Options m_listFeatures;
    CommandListFunctions::Options m_listFunctions;
    CommandFeatures::Options m_eval;
    std::string m_strFormula;
    std::vector<std::string> m_vNamedFormulas;
    CommandDoctor::Options m_doctor;
    MakeCompletion m_makeCompletion = nullptr;
    std::vector<std::string> m_vHelpAbout;
    bool m_bManual = false;
};

} // namespace

int runCommandLine(const std::vector<std::string>& in_vArguments, Terminals in_terminals, std::ostream& out_data,
                   std::ostream& out_messages)
{
    return Program(in_terminals, out_data, out_messages).run(in_vArguments);
}

} // namespace Corvana::Tools
