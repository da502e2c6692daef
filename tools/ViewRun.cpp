// SPDX-License-Identifier: Apache-2.0
#include "tools/ViewRun.h"

#include "tools/ExitCode.h"
#include "tools/Text.h"
#include "tools/WorkShares.h"

namespace Corvana::Tools {

ViewRun::ViewRun(const ViewOptions& in_options, const Words& in_words, std::ostream& out_data,
                 std::ostream& out_messages)
    : m_viewOptions(in_options)
    , m_words(in_words)
    , m_messages(out_messages, in_options.m_messages.m_bQuiet)
    , m_progress(out_messages, in_options.m_messages.m_bQuiet ? ProgressMode::NEVER : in_options.m_progress,
                 in_options.m_bStatusLine)
    , m_log(m_messages, in_options.m_messages.m_iLogLevel)
    , m_output(out_data)
{
    m_messages.setProgress(&m_progress);
}

int ViewRun::run()
{
    if (!isUsable())
        return EXIT_UNUSABLE;
    m_vInputs =
        collectInputs(m_viewOptions.m_vInputs, m_viewOptions.m_vLists, m_viewOptions.m_folders, m_log, m_messages);
    if (m_vInputs.empty()) {
        m_messages.error(std::string("nothing to ") + m_words.m_szDo + ": no recordings");
        return EXIT_UNUSABLE;
    }
    if (!openOutput())
        return EXIT_UNUSABLE;
    PlotReader reader(begin(m_vInputs), m_features, m_log, m_messages, m_progress);
    addAll(reader);
    if (m_uiNbOfShown == 0 && stream().good()) {
        m_messages.note(std::string("nothing is written: no recording could be ") + m_words.m_szDone);
        return EXIT_SOME_FAILED;
    }
    if (!write(reader.getAudioSeconds()))
        return EXIT_UNUSABLE;
    if (m_uiNbOfFailures > 0 && m_vInputs.size() > 1)
        m_messages.note(std::to_string(m_uiNbOfFailures) + " of " + counted(m_vInputs.size(), "input") + " failed");
    return m_uiNbOfFailures > 0 ? EXIT_SOME_FAILED : EXIT_DONE;
}

bool ViewRun::refuse(const std::string& in_strText)
{
    m_messages.error(in_strText);
    return false;
}

bool ViewRun::isUsable()
{
    if (m_viewOptions.m_vInputs.empty() && m_viewOptions.m_vLists.empty())
        return refuse("no recording given: name at least one, or a list of them with --list FILE");
    if (!checkOptions())
        return false;
    const std::string strFault = faultOf(m_viewOptions.m_windows);
    if (!strFault.empty())
        return refuse(strFault);
    if (m_features.configure(m_viewOptions.m_vFeatures, m_viewOptions.m_vFormulas, m_messages))
        return true;
    m_messages.plain("'corvana list-features' and 'corvana list-functions' show what can be computed\n");
    return false;
}

bool ViewRun::openOutput()
{
    if (!m_output.open(m_viewOptions.m_strOutput))
        return refuse("cannot write: " + m_output.getFault());
    const std::string strBoth = m_output.findAmong(filesRead(m_viewOptions.m_vLists, m_vInputs));
    return strBoth.empty() || refuse(readAndWritten(strBoth));
}

void ViewRun::addAll(PlotReader& inout_reader)
{
    const WorkShares shares(m_vInputs, m_progress.isShown());
    double dDone = 0.0;
    for (std::size_t uiInput = 0; uiInput < m_vInputs.size() && stream().good(); ++uiInput) {
        const Input& input = m_vInputs[uiInput];
        const double dShare = m_progress.isShown() ? shares.share(uiInput) : -1.0;
        const Added added = input.m_strFault.empty() ? add(inout_reader, input.m_strPath, {dDone, dShare})
                                                     : Added{input.m_strFault, false};
        dDone += dShare;
        if (added.m_bShown)
            ++m_uiNbOfShown;
        if (added.m_strFault.empty())
            continue;
        m_messages.inputError(input.m_strPath, added.m_strFault);
        ++m_uiNbOfFailures;
    }
}

bool ViewRun::write(double in_dAudioSeconds)
{
    const std::string strFault = finish();
    const bool bWritten = strFault.empty() && stream().good() && m_output.commit();
    m_progress.finish(in_dAudioSeconds);
    if (!strFault.empty())
        return refuse(strFault);
    const std::string strOutputFault = bWritten ? "" : m_output.getFault();
    if (!strOutputFault.empty())
        m_messages.error("cannot write: " + strOutputFault);
    return bWritten;
}

} // namespace Corvana::Tools
