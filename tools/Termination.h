// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Tools {

/// What the program leaves behind when it is told to stop: no temporary file, no half-written status line, and the
/// signal as its cause of death, so that shells and schedulers see what happened.
class Termination
{
public:
    /// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT clean up first (those that the caller has ignored stay
    /// ignored). A closed pipe and a file that reaches its size limit become errors of write(). When memory runs out,
    /// or no thread can be made, in a place from which no exception may come, the program cleans up, says so and ends
    /// with EXIT_UNUSABLE.
    static void install();

    /// The signals wait until the end of the scope.
    class Delay
    {
    public:
        Delay();
        ~Delay();
        Delay(const Delay&) = delete;
        Delay& operator=(const Delay&) = delete;

    private:
        // Large enough for a signal set, whose header is kept out of here.
        alignas(16) unsigned char m_aucFormerMask[128];
    };

    /// The one file of an edit to remove; "" for none. Call with the signals delayed.
    static bool setTemporaryFile(const std::string& in_strPath);
    /// A file more to remove, beside that of an edit: what a table is written to takes several. Call with the signals
    /// delayed. False: there is no room for it, and it stays behind.
    static bool addTemporaryFile(const std::string& in_strPath);
    /// It is no longer to be removed, if it was. Call with the signals delayed.
    static void forgetTemporaryFile(const std::string& in_strPath);
    /// Whether standard error holds a status line to be wiped.
    static void setStatusLine(bool in_bShown);
    /// From now on the signals come to other threads than this one, so that a Delay in one of those is enough.
    static void leaveSignalsToOthers();
};

} // namespace Corvana::Tools
