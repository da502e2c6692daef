// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLinePlot.h"

#include "corvana/NumberText.h"
#include "tools/CommandLine.h"
#include "tools/CommandLineParts.h"
#include "tools/CommandPlot.h"
#include "tools/ExitCode.h"

#include <cmath>
#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szFooter = R"(
From above to below, on one time axis: the waveform (pale: from the least to the greatest sample of a column, dark: their
root mean square; red: clipped samples), the spectrogram from 0 Hz to half the sampling rate (levels in dB of a
full-scale tone), the labelled regions of a WAV file in lanes by who says so (heard, CPA, DIALOGIC ...), and a curve for
each --feature and --expr, which are written as for 'corvana features'. A window's values stand at its middle. Up to 6
values are lines, more are a strip of colours.

Several recordings become a sheet of small pictures with the same colours for the same levels.

The ending of the output's name is its format: .png, .svg or .pdf. The same recording gives the same bytes.

Examples:
  corvana plot call.wav -o call.png
  corvana plot --from 12 --to 13.5 call.wav -o beep.svg
  corvana plot -f 'spectrum|flatness' --expr 'level=log(mean(x*x))' --window-ms 32 call.wav -o call.pdf
  corvana plot --width 2400 --height 900 call.wav -o large.png
  corvana plot *.wav -o sheet.png
  corvana plot --format png call.wav -o - | display

Exit codes: 0 done; 1 finished, but some inputs failed (each is named, the others are drawn); 2 wrong usage, or the
output could not be written.)";

std::optional<double> readSeconds(const std::string& in_strOption, const std::string& in_strText)
{
    double dSeconds = 0.0;
    if (parseNumber(in_strText, dSeconds) && std::isfinite(dSeconds) && dSeconds >= 0.0)
        return dSeconds;
    throw CLI::ValidationError(in_strOption,
                               "wants seconds from the beginning, such as 12.5, not " + inQuotes(in_strText));
}

void addSeconds(CLI::App& inout_command, const std::string& in_strName, const std::string& in_strHelp,
                std::optional<double>& out_seconds)
{
    addText(inout_command, in_strName, "SECONDS", in_strHelp,
            [in_strName, &out_seconds](const std::string& in_strText) {
                out_seconds = readSeconds(in_strName, in_strText);
            });
}

using PlotCommandLine = ViewCommandLine<CommandPlot::Options>;

void addPictureOptions(CLI::App& inout_command, CommandPlot::Options& out_options)
{
    addFileName(inout_command, "-o,--output", "Draw into FILE, which appears when it is complete; - with --format",
                out_options.m_strOutput);
    addWord<PictureFormat>(inout_command, "--format", "How the picture is written (default: as FILE ends)",
                           {{"png", PictureFormat::PNG}, {"svg", PictureFormat::SVG}, {"pdf", PictureFormat::PDF}},
                           out_options.m_format);
    addSeconds(inout_command, "--from", "Begin here (default: the beginning)", out_options.m_from);
    addSeconds(inout_command, "--to", "End here (default: the end)", out_options.m_to);
    addNumber(inout_command, "--width", "Width in pixels (default 1200)", CommandPlot::s_uiMinWidth,
              CommandPlot::s_uiMaxWidth, out_options.m_uiWidth);
    addNumber(inout_command, "--height", "Height in pixels (default: as it comes)", CommandPlot::s_uiMinHeight,
              PlotCanvas::s_uiMaxSize, out_options.m_uiHeight);
}

int runPlot(PlotCommandLine& inout_line, const Terminals& in_terminals, std::ostream& out_data,
            std::ostream& out_messages)
{
    CommandPlot::Options& options = inout_line.m_options;
    if (!completeView("plot", inout_line.m_vNamedFormulas, options, out_messages))
        return EXIT_UNUSABLE;
    options.m_bDataTerminal = in_terminals.m_bData;
    options.m_bStatusLine = in_terminals.m_bMessages;
    return CommandPlot::run(options, out_data, out_messages);
}

} // namespace

void addPlotCommand(const AnnotationCommandLine& in_commandLine, const Terminals& in_terminals)
{
    const auto pLine = std::make_shared<PlotCommandLine>();
    CLI::App& command =
        in_commandLine.m_add("plot", "Draws recordings: waveform, spectrogram, regions, features", s_szFooter, [=] {
            return runPlot(*pLine, in_terminals, in_commandLine.m_data, in_commandLine.m_messages);
        });
    CommandPlot::Options& options = pLine->m_options;
    addViewInputs(command, options);
    addPictureOptions(command, options);
    addCurveOptions(command, options, pLine->m_vNamedFormulas);
}

} // namespace Corvana::Tools
