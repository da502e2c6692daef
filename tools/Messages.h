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
    virtual ~Messages() = default;
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    /// A status line that is wiped before each message; null for none.
    void setProgress(Progress* in_pProgress) { m_pProgress = in_pProgress; }

    virtual void error(const std::string& in_strText);
    /// About one input: "corvana: FILE: reason".
    virtual void inputError(const std::string& in_strInput, const std::string& in_strReason);
    virtual void warning(const std::string& in_strText);
    virtual void inputWarning(const std::string& in_strInput, const std::string& in_strText);
    virtual void note(const std::string& in_strText);
    /// As it is, such as the lines below a message.
    virtual void plain(const std::string& in_strLines);

private:
    std::ostream& m_stream;
    bool m_bQuiet;
    Progress* m_pProgress = nullptr;
};

} // namespace Corvana::Tools
