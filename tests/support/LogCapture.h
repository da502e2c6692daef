// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Test {

/// One log message as an appender saw it.
struct LogEvent
{
    std::string m_strLogger;
    int m_iLevel = 0;
    std::string m_strText;
    std::string m_strFile;
    int m_iLine = 0;

    friend bool operator==(const LogEvent&, const LogEvent&) = default;
};

inline std::ostream& operator<<(std::ostream& out_stream, const LogEvent& in_event)
{
    return out_stream << in_event.m_iLevel << ' ' << in_event.m_strLogger << ' ' << in_event.m_strFile << ':'
                      << in_event.m_iLine << " \"" << in_event.m_strText << '"';
}

/// Captures what a logger and its descendants log while it exists, at this level and above, and puts the logger's
/// level and appenders back afterwards.
class LogCapture
{
public:
    explicit LogCapture(const char* in_szLogger = "kestrivon", int in_iLevel = 10000);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<LogEvent>& events() const;
    std::vector<std::string> texts() const;
    void clear();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

/// Captures the conditions of failed assertions, without the leading "Assertion failed: ".
class AssertionCapture
{
public:
    AssertionCapture();
    std::vector<std::string> texts() const;
    const std::vector<LogEvent>& events() const { return m_log.events(); }

private:
    LogCapture m_log;
};

} // namespace Corvana::Test
