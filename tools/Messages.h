// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>

namespace Corvana::Tools {

class Progress;

/// What the program says to people: each message is one line that begins with "corvana: ", written in one piece.
class Messages
{
public:
    /// A quiet program gives no warnings and no notes.
    Messages(std::ostream& out_stream, bool in_bQuiet);

    /// A status line that is wiped before each message; null for none.
    void setProgress(Progress* in_pProgress) { m_pProgress = in_pProgress; }

    void error(const std::string& in_strText);
    /// About one input: "corvana: FILE: reason".
    void inputError(const std::string& in_strInput, const std::string& in_strReason);
    void warning(const std::string& in_strText);
    void inputWarning(const std::string& in_strInput, const std::string& in_strText);
    void note(const std::string& in_strText);
    /// As it is, such as the lines below a message.
    void plain(const std::string& in_strLines);

private:
    std::ostream& m_stream;
    bool m_bQuiet;
    Progress* m_pProgress = nullptr;
};

} // namespace Corvana::Tools
