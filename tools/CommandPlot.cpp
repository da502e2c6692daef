// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandPlot.h"

#include "corvana/NumberText.h"
#include "corvana/OS.h"
#include "tools/PlotSheet.h"
#include "tools/Text.h"

#include <utility>

namespace Corvana::Tools {
namespace {

class PlotRun final : public ViewRun
{
public:
    PlotRun(const CommandPlot::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : ViewRun(in_options, {"draw", "drawn"}, out_data, out_messages)
        , m_options(in_options)
    {
    }

private:
    bool checkOptions() override
    {
        if (m_options.m_from.has_value() && m_options.m_to.has_value() && *m_options.m_from >= *m_options.m_to)
            return refuse("--from " + toShortestText(*m_options.m_from) + " is not before --to " +
                          toShortestText(*m_options.m_to));
        return findFormat();
    }

    bool findFormat()
    {
        if (m_options.m_strOutput.empty())
            return refuse("no file to draw into given: name it with -o FILE.png, FILE.svg or FILE.pdf");
        if (m_options.m_strOutput == "-" && m_options.m_bDataTerminal)
            return refuse("a picture is nothing for a terminal: name a file with -o, or redirect the output");
        if (m_options.m_format.has_value()) {
            m_format = *m_options.m_format;
            return true;
        }
        constexpr std::pair<const char*, PictureFormat> aEndings[] = {
            {".png", PictureFormat::PNG}, {".svg", PictureFormat::SVG}, {".pdf", PictureFormat::PDF}};
        std::string strName = m_options.m_strOutput;
        strToLower(strName);
        for (const auto& [szEnding, format] : aEndings)
            if (strName.ends_with(szEnding)) {
                m_format = format;
                return true;
            }
        return refuse(printable(m_options.m_strOutput) +
                      ": its ending tells no format; end it in .png, .svg or .pdf, or give --format");
    }

    PlotReader::Options begin(const std::vector<Input>& in_vInputs) override
    {
        m_sheet.emplace(in_vInputs.size(), m_options.m_uiWidth, m_options.m_uiHeight);
        PlotReader::Options options;
        options.m_from = m_options.m_from;
        options.m_to = m_options.m_to;
        options.m_uiNbOfColumns = m_sheet->getNbOfColumns();
        options.m_windows = m_options.m_windows;
        return options;
    }

    Added add(PlotReader& inout_reader, const std::string& in_strPath, const Share& in_share) override
    {
        PlotRecording recording;
        Added added;
        added.m_strFault =
            inout_reader.read(in_strPath, in_share.m_dDone, in_share.m_dShare, recording, added.m_bShown);
        if (added.m_bShown)
            m_vRecordings.push_back(std::move(recording));
        return added;
    }

    std::string finish() override
    {
        std::string strFault;
        stream() << m_sheet->draw(m_vRecordings, m_format, strFault);
        return strFault;
    }

    const CommandPlot::Options& m_options;
    PictureFormat m_format = PictureFormat::PNG;
    std::optional<PlotSheet> m_sheet;
    std::vector<PlotRecording> m_vRecordings;
};

} // namespace

int CommandPlot::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return PlotRun(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
