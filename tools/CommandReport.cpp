// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandReport.h"

#include "tools/ReportPage.h"
#include "tools/Text.h"

namespace Corvana::Tools {
namespace {

// As fine as is kept beside the sound itself.
constexpr unsigned long s_uiNbOfColumns = 8192;
constexpr unsigned long s_uiMaxNbOfRows = 256;

class ReportRun final : public ViewRun
{
public:
    ReportRun(const CommandReport::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : ViewRun(in_options, {"show", "shown"}, out_data, out_messages)
        , m_options(in_options)
    {
    }

private:
    bool checkOptions() override
    {
        return !m_options.m_strOutput.empty() || refuse("no file to write into given: name it with -o FILE.html");
    }

    PlotReader::Options begin(const std::vector<Input>& in_vInputs) override
    {
        m_page.emplace(stream());
        m_page->begin(in_vInputs.size() == 1 ? in_vInputs[0].m_strPath : counted(in_vInputs.size(), "recording"));
        PlotReader::Options options;
        options.m_uiNbOfColumns = s_uiNbOfColumns;
        options.m_uiMaxNbOfRows = s_uiMaxNbOfRows;
        options.m_windows = m_options.m_windows;
        return options;
    }

    Added add(PlotReader& inout_reader, const std::string& in_strPath, const Share& in_share) override
    {
        PlotRecording recording;
        bool bDrawable = false;
        const std::string strFault =
            inout_reader.read(in_strPath, in_share.m_dDone, in_share.m_dShare, recording, bDrawable);
        if (!bDrawable)
            return {strFault, false};
        const std::string strPageFault = m_page->addRecording(recording);
        if (!strPageFault.empty())
            return {strPageFault, false};
        const std::string strAudioFault = addAudio(in_strPath);
        return {strFault.empty() ? strAudioFault : strFault, true};
    }

    // What is too long for a page to play is no failure: all else of it is shown.
    std::string addAudio(const std::string& in_strPath)
    {
        if (m_options.m_bWithoutAudio)
            return "";
        bool bTooLong = false;
        const std::string strFault = m_page->addAudio(in_strPath, log(), bTooLong);
        if (!bTooLong)
            return strFault;
        messages().inputWarning(in_strPath, strFault);
        return "";
    }

    std::string finish() override
    {
        m_page->end();
        return "";
    }

    const CommandReport::Options& m_options;
    std::optional<ReportPage> m_page;
};

} // namespace

int CommandReport::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return ReportRun(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
