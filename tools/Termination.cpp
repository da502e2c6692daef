// SPDX-License-Identifier: Apache-2.0
#include "tools/Termination.h"

#include "tools/ExitCode.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

constexpr int s_aiSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Plain storage: a signal handler may touch nothing that allocates.
using Path = char[PATH_MAX];
Path s_aacTemporaryFiles[5] = {}; // the first one is that of an edit
std::atomic<bool> s_bStatusLine = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void removeTemporaryFiles()
{
    for (const Path& acPath : s_aacTemporaryFiles)
        if (acPath[0] != '\0')
            unlink(acPath);
}

void cleanUpAndDie(int in_iSignal)
{
    removeTemporaryFiles();
    constexpr char acWipe[] = "\r\033[K";
    if (s_bStatusLine && write(STDERR_FILENO, acWipe, sizeof acWipe - 1) < 0) {
        // nobody to tell
    }
    std::signal(in_iSignal, SIG_DFL);
    raise(in_iSignal); // delivered when the handler returns
}

[[noreturn]] void cleanUpAndSay(std::string_view in_strText)
{
    removeTemporaryFiles();
    if (write(STDERR_FILENO, in_strText.data(), in_strText.size()) < 0) {
        // nobody to tell
    }
    _exit(EXIT_UNUSABLE);
}

// Some libraries need memory to destroy an object, and end the program when there is none. That which makes
// the threads does the same when the system refuses one to another of them.
[[noreturn]] void cleanUpAndEnd()
{
    try {
        if (const std::exception_ptr pException = std::current_exception())
            std::rethrow_exception(pException);
    } catch (const std::bad_alloc&) {
        cleanUpAndSay("corvana: out of memory\n");
    } catch (const std::runtime_error& error) {
        if (std::strstr(error.what(), "pthread_create") != nullptr)
            cleanUpAndSay("corvana: the system has no room for so many threads; give a smaller number with --jobs\n");
    } catch (...) {
        // a mistake of the program
    }
    std::abort();
}

bool put(Path& out_acPath, const std::string& in_strPath)
{
    if (in_strPath.size() >= sizeof out_acPath)
        return false;
    std::memcpy(out_acPath, in_strPath.c_str(), in_strPath.size() + 1);
    return true;
}

sigset_t handledSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int iSignal : s_aiSignals)
        sigaddset(&signals, iSignal);
    return signals;
}

} // namespace

void Termination::install()
{
    std::set_terminate(cleanUpAndEnd);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = cleanUpAndDie;
    action.sa_mask = handledSignals();
    for (const int iSignal : s_aiSignals) {
        struct sigaction former = {};
        if (sigaction(iSignal, nullptr, &former) == 0 && former.sa_handler != SIG_IGN)
            sigaction(iSignal, &action, nullptr);
    }
}

Termination::Delay::Delay()
{
    static_assert(sizeof(sigset_t) <= sizeof m_aucFormerMask);
    const sigset_t signals = handledSignals();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    std::memcpy(m_aucFormerMask, &former, sizeof former);
}

Termination::Delay::~Delay()
{
    sigset_t former;
    std::memcpy(&former, m_aucFormerMask, sizeof former);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

bool Termination::setTemporaryFile(const std::string& in_strPath)
{
    return put(s_aacTemporaryFiles[0], in_strPath);
}

bool Termination::addTemporaryFile(const std::string& in_strPath)
{
    for (std::size_t uiFile = 1; uiFile < std::size(s_aacTemporaryFiles); ++uiFile)
        if (s_aacTemporaryFiles[uiFile][0] == '\0')
            return put(s_aacTemporaryFiles[uiFile], in_strPath);
    return false;
}

void Termination::forgetTemporaryFile(const std::string& in_strPath)
{
    for (std::size_t uiFile = 1; uiFile < std::size(s_aacTemporaryFiles); ++uiFile)
        if (in_strPath == s_aacTemporaryFiles[uiFile])
            s_aacTemporaryFiles[uiFile][0] = '\0';
}

void Termination::setStatusLine(bool in_bShown)
{
    s_bStatusLine = in_bShown;
}

void Termination::leaveSignalsToOthers()
{
    const sigset_t signals = handledSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace Corvana::Tools
