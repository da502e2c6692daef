// SPDX-License-Identifier: Apache-2.0
#include "audio/Fifo.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>

namespace Corvana::Test {
namespace {

void sleepShortly()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// A reader that closes early must cost the bytes, not the program.
void blockBrokenPipeSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

// Opening without waiting fails as long as nobody reads, so that a test that never opens the pipe still ends.
int openForWriting(const std::string& in_strPath, const std::atomic<bool>& in_bStop)
{
    while (!in_bStop) {
        const int iFile = open(in_strPath.c_str(), O_WRONLY | O_NONBLOCK);
        if (iFile != -1)
            return iFile;
        sleepShortly();
    }
    return -1;
}

void writeAll(const std::string& in_strPath, const std::string& in_strBytes, const std::atomic<bool>& in_bStop)
{
    blockBrokenPipeSignal();
    const int iFile = openForWriting(in_strPath, in_bStop);
    if (iFile == -1)
        return;
    std::size_t uiWritten = 0;
    while (uiWritten < in_strBytes.size() && !in_bStop) {
        const ssize_t iWritten = write(iFile, in_strBytes.data() + uiWritten, in_strBytes.size() - uiWritten);
        if (iWritten > 0)
            uiWritten += static_cast<std::size_t>(iWritten);
        else if (errno == EAGAIN)
            sleepShortly();
        else
            break;
    }
    close(iFile);
}

} // namespace

Fifo::Fifo(const std::string& in_strPath)
    : m_strPath(in_strPath)
{
}

Fifo::~Fifo()
{
    stop();
    unlink(m_strPath.c_str());
}

void Fifo::serve(const std::string& in_strBytes)
{
    remove();
    if (mkfifo(m_strPath.c_str(), 0600) != 0)
        throw std::runtime_error("cannot make the pipe " + m_strPath);
    m_thread = std::thread([this, in_strBytes] { writeAll(m_strPath, in_strBytes, m_bStop); });
}

void Fifo::remove()
{
    stop();
    unlink(m_strPath.c_str());
}

void Fifo::stop()
{
    m_bStop = true;
    if (m_thread.joinable())
        m_thread.join();
    m_bStop = false;
}

} // namespace Corvana::Test
