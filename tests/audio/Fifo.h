// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace Corvana::Test {

/// A named pipe that a thread of its own writes into once somebody opens it for reading.
class Fifo
{
public:
    explicit Fifo(const std::string& in_strPath);
    ~Fifo();
    Fifo(const Fifo&) = delete;
    Fifo& operator=(const Fifo&) = delete;

    const std::string& path() const { return m_strPath; }
    /// Puts a new pipe in place of the old one; its next reader gets these bytes. A reader that still has the old
    /// pipe open keeps it.
    void serve(const std::string& in_strBytes);
    /// Takes the pipe out of its folder.
    void remove();

private:
    void stop();

    std::string m_strPath;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

} // namespace Corvana::Test
