// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Messages.h"

#include <memory>
#include <string>
#include <string_view>

namespace Corvana::Tools {

/// The level above all messages.
constexpr int s_iLogOff = 60000;

/// The level of a name ("trace" to "error", "off"); false for another text.
bool parseLogLevel(std::string_view in_strName, int& out_iLevel);

/// log4cplus starts a pool of threads when it is loaded; the program writes its log directly and needs none.
void limitLogThreads();

/// Carries what the libraries log in the thread that made it to the program's messages while it exists: from a level
/// on, warnings and errors as messages about the input at hand, each text once for an input, everything below as lines
/// with level, logger and position. Errors can be held back, to become the reason of a failure.
class LogBridge
{
public:
    LogBridge(Messages& out_messages, int in_iLevel);
    ~LogBridge();
    LogBridge(const LogBridge&) = delete;
    LogBridge& operator=(const LogBridge&) = delete;

    /// From here on errors are held back, and warnings are about this input.
    void beginInput(const std::string& in_strInput);
    /// What led to the errors held back is done again: they are forgotten, and others held. Warnings stay told.
    void beginAgain();
    /// The errors held back, as one text; empty for none. They are not held any longer.
    std::string takeErrors();
    /// Shows errors still held, which made nothing fail, as warnings, and ends the holding.
    void endInput();

private:
    class Appender;
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Corvana::Tools
