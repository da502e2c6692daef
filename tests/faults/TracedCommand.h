// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/TempDir.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Corvana::Test {

/// A system call of a run, by its name and the number of that name's calls so far.
struct Call
{
    std::string m_strName;
    unsigned m_uiNumber = 0;
    std::string m_strText; ///< as strace writes it, with the paths of descriptors
};

/// What a run of the command left.
struct RunResult
{
    int m_iCode = 0; ///< a signal gives a negative number
    std::string m_strData;
    std::string m_strMessages;
    std::map<std::string, std::string> m_files; ///< by their names in the folder
    bool m_bInjected = false;                   ///< whether the fault was met
};

/// Runs the `corvana` program in a folder of its own, with system calls that fail or are its last: under strace.
class TracedCommand
{
public:
    using Files = std::map<std::string, std::string>;

    /// "@" in an argument stands for the folder, which holds these files before each run.
    TracedCommand(std::vector<std::string> in_vArguments, Files in_files);

    /// Whether strace is there, and anything may be traced.
    static bool isPossible();

    /// Without faults.
    RunResult run() { return runAs(command()); }
    /// With a fault such as "read:error=EIO:when=3", and another one of another call.
    RunResult runWith(const std::string& in_strFault, const std::string& in_strOtherFault = {});
    /// With a fault that only calls about one of these files of the folder meet, in each thread by a count of its own.
    RunResult runWithIn(const std::string& in_strFault, const std::vector<std::string>& in_vNames);
    /// With these words before the program's name.
    RunResult runBehind(const std::vector<std::string>& in_vWords);
    /// The calls of the main thread that have to do with the files, the folder or the standard streams.
    std::vector<Call> trace();

    /// The folder as it was before.
    void restoreFiles() const;
    /// The files as they were before, with whatever else there is now.
    void rewriteFiles() const;
    Files files() const;
    const std::string& folder() const { return m_strFolder; }
    /// A file that standard input comes from, in the folder; else it is empty. Through a pipe: a short one.
    void setInput(const std::string& in_strName, bool in_bThroughPipe = false)
    {
        m_strInput = in_strName;
        m_bInputPipe = in_bThroughPipe;
    }
    /// Results go to a pipe, or to this path, instead of a file.
    void setOutputToPipe() { m_bPipe = true; }
    void setOutput(const std::string& in_strPath) { m_strOutput = in_strPath; }

private:
    std::vector<std::string> command() const;
    RunResult runAs(const std::vector<std::string>& in_vCommand);
    RunResult runTraced(const std::vector<std::string>& in_vTracer);
    int execute(const std::vector<std::string>& in_vCommand, std::string& out_strPiped) const;
    std::string path(const std::string& in_strName) const { return m_dir.path() + "/" + in_strName; }

    ScopedEnvironment m_environment;
    const TempDir m_dir;
    const std::string m_strFolder;
    std::vector<std::string> m_vArguments;
    Files m_files;
    std::string m_strInput;
    std::string m_strOutput;
    bool m_bPipe = false;
    bool m_bInputPipe = false;
};

} // namespace Corvana::Test
