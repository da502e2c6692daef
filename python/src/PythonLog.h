// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Corvana::Python {

/// Something the library logged.
struct LogRecord
{
    std::string m_strLogger;
    int m_iLevel;
    std::string m_strText;
    std::string m_strFile;
    int m_iLine;
    double m_dTime; ///< seconds since 1970
};

/// Keeps what the library logs in this thread while a call runs, and hands it to Python's logging when the call ends.
/// Not at once: a thread that waits for Python while it holds the log's lock would stop the one that holds Python.
/// Made and destroyed with Python held. Errors also become the reason of a failure.
class LogScope
{
public:
    LogScope();
    /// Hands over what was kept.
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    /// The texts of the errors so far, each once, with "; " between them; empty for none.
    std::string errors() const;
    void keep(LogRecord&& inout_record);

private:
    LogScope* m_pOuter;
    std::vector<LogRecord> m_vRecords;
    unsigned long m_uiNbDropped = 0;
};

/// Attaches the library's log to the scopes. Once, when the module is loaded.
void startLogging();
/// From which level on messages reach Python; in Python's numbers.
void setLogLevel(int in_iPythonLevel);

} // namespace Corvana::Python
