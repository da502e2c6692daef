// SPDX-License-Identifier: Apache-2.0
#include "tools/FileRun.h"

#include "tools/ExitCode.h"
#include "tools/Text.h"

namespace Corvana::Tools {
namespace {

// Regions are read without the sound, so that there is no speed to tell.
constexpr double s_dNoAudio = -1.0;

} // namespace

FileRun::FileRun(const MessageOptions& in_messageOptions, const FileRunOptions& in_options,
                 const std::vector<Input>& in_vFiles, const std::vector<std::string>& in_vRead,
                 Messages& inout_messages, std::ostream& out_messages)
    : m_options(in_options)
    , m_vFiles(in_vFiles)
    , m_messages(inout_messages)
    , m_progress(out_messages, in_messageOptions.m_bQuiet ? ProgressMode::NEVER : in_options.m_progress,
                 in_options.m_bStatusLine)
{
    m_messages.setProgress(&m_progress);
    m_progress.setFiles(m_vFiles.size(), 0, 0);
    if (!m_options.m_strFailures.empty())
        open(in_vRead);
}

void FileRun::open(const std::vector<std::string>& in_vRead)
{
    m_bUsable = false;
    if (m_options.m_strFailures == "-") {
        m_messages.error("--failures wants a file: standard output is for the results");
        return;
    }
    if (!m_failures.open(m_options.m_strFailures)) {
        m_messages.error("cannot write: " + m_failures.getFault());
        return;
    }
    std::vector<std::string> vRead = in_vRead;
    for (const Input& file : m_vFiles)
        vRead.push_back(file.m_strPath);
    const std::string strBoth = m_failures.findAmong(vRead);
    m_bUsable = strBoth.empty();
    if (!m_bUsable)
        m_messages.error(readAndWritten(strBoth));
}

bool FileRun::end(const Input& in_file, const std::string& in_strFault)
{
    ++m_uiNbDone;
    if (!in_strFault.empty()) {
        ++m_uiNbOfFailures;
        m_messages.inputError(in_file.m_strPath, in_strFault);
        m_failures.add(in_file.m_strPath, in_strFault);
        m_bGivenUp = m_options.m_bFailFast;
    }
    if (m_progress.isShown()) {
        m_progress.setFiles(m_vFiles.size(), m_uiNbDone, m_uiNbOfFailures);
        m_progress.update(static_cast<double>(m_uiNbDone) / static_cast<double>(m_vFiles.size()), s_dNoAudio,
                          in_file.m_strPath);
    }
    return !m_bGivenUp;
}

int FileRun::finish(int in_iExitCode)
{
    m_progress.finish(s_dNoAudio);
    if (m_bGivenUp) {
        m_messages.note("stopped at the first recording that failed, as --fail-fast asks");
        return EXIT_SOME_FAILED;
    }
    if (!m_failures.commit()) {
        m_messages.error("cannot write: " + m_failures.getFault());
        return EXIT_UNUSABLE;
    }
    return m_uiNbOfFailures == 0 ? in_iExitCode : static_cast<int>(EXIT_SOME_FAILED);
}

} // namespace Corvana::Tools
