// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FailureTable.h"
#include "tools/InputList.h"
#include "tools/MessageOptions.h"
#include "tools/Messages.h"
#include "tools/Progress.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// How commands go through many files.
struct FileRunOptions
{
    unsigned long m_uiNbOfJobs = 0; ///< files at a time; 0: one for each processor
    ProgressMode m_progress = ProgressMode::AUTO;
    bool m_bStatusLine = false; ///< messages go to a terminal that shows nothing else meanwhile
    std::string m_strFailures;  ///< a table of the files that failed; empty: none
    bool m_bFailFast = false;   ///< the first file that fails ends the run
};

/// What happens around the files of a run: the progress, and what becomes of those that fail.
class FileRun
{
public:
    /// in_vRead: what else is read, such as lists.
    FileRun(const MessageOptions& in_messageOptions, const FileRunOptions& in_options,
            const std::vector<Input>& in_vFiles, const std::vector<std::string>& in_vRead, Messages& inout_messages,
            std::ostream& out_messages);
    ~FileRun() { m_messages.setProgress(nullptr); }
    FileRun(const FileRun&) = delete;
    FileRun& operator=(const FileRun&) = delete;

    /// False, after an error: the failures cannot be written.
    bool isUsable() const { return m_bUsable; }
    /// A file is done; in_strFault, why it failed. False: nothing more is to be done.
    bool end(const Input& in_file, const std::string& in_strFault);
    std::size_t getNbOfFailures() const { return m_uiNbOfFailures; }
    /// Whether a failure has ended the run.
    bool isGivenUp() const { return m_bGivenUp; }
    /// Writes the failures, and returns the ExitCode of the run, which is in_iExitCode when nothing failed.
    int finish(int in_iExitCode);

private:
    void open(const std::vector<std::string>& in_vRead);

    const FileRunOptions& m_options;
    const std::vector<Input>& m_vFiles;
    Messages& m_messages;
    Progress m_progress;
    FailureTable m_failures;
    bool m_bUsable = true;
    bool m_bGivenUp = false;
    std::size_t m_uiNbDone = 0;
    std::size_t m_uiNbOfFailures = 0;
};

} // namespace Corvana::Tools
