// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineReport.h"

#include "tools/CommandLine.h"
#include "tools/CommandLineParts.h"
#include "tools/CommandReport.h"
#include "tools/ExitCode.h"

#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szFooter = R"(
The page holds all that it needs, sound included, and loads nothing: it can be mailed, and opened without a network. It
shows what 'corvana plot' draws, to zoom and to pan; plays the recording while a cursor moves along; and lists the regions,
each of which can be chosen. Everything works with the keyboard, in light and dark. --no-audio makes it small.

Examples:
  corvana report call.wav -o call.html
  corvana report -f 'spectrum|flatness' --expr 'level=log(mean(x*x))' --window-ms 32 call.wav -o call.html
  corvana report --no-audio --list calls.txt -o calls.html

Exit codes: 0 done; 1 finished, but some inputs failed (each is named, the others are shown); 2 wrong usage, or the
output could not be written.)";

using ReportCommandLine = ViewCommandLine<CommandReport::Options>;

int runReport(ReportCommandLine& inout_line, const Terminals& in_terminals, std::ostream& out_data,
              std::ostream& out_messages)
{
    CommandReport::Options& options = inout_line.m_options;
    if (!completeView("report", inout_line.m_vNamedFormulas, options, out_messages))
        return EXIT_UNUSABLE;
    options.m_bStatusLine = in_terminals.m_bMessages && !(in_terminals.m_bData && options.m_strOutput == "-");
    return CommandReport::run(options, out_data, out_messages);
}

} // namespace

void addReportCommand(const AnnotationCommandLine& in_commandLine, const Terminals& in_terminals)
{
    const auto pLine = std::make_shared<ReportCommandLine>();
    CLI::App& command =
        in_commandLine.m_add("report", "Writes a page that shows and plays recordings", s_szFooter, [=] {
            return runReport(*pLine, in_terminals, in_commandLine.m_data, in_commandLine.m_messages);
        });
    CommandReport::Options& options = pLine->m_options;
    addViewInputs(command, options);
    addFileName(command, "-o,--output", "Write the page to FILE, which appears when it is complete",
                options.m_strOutput);
    command.add_flag("--no-audio", options.m_bWithoutAudio, "Leave the sound out");
    addCurveOptions(command, options, pLine->m_vNamedFormulas);
}

} // namespace Corvana::Tools
