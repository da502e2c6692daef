// SPDX-License-Identifier: Apache-2.0
#include "tools/Messages.h"

#include "tools/Progress.h"
#include "tools/Text.h"

namespace Corvana::Tools {

Messages::Messages(std::ostream& out_stream, bool in_bQuiet)
    : m_stream(out_stream)
    , m_bQuiet(in_bQuiet)
{
}

void Messages::plain(const std::string& in_strLines)
{
    if (m_pProgress != nullptr)
        m_pProgress->clear();
    m_stream << in_strLines << std::flush;
}

void Messages::error(const std::string& in_strText)
{
    plain("corvana: " + in_strText + "\n");
}

void Messages::inputError(const std::string& in_strInput, const std::string& in_strReason)
{
    error(printable(in_strInput) + ": " + in_strReason);
}

void Messages::warning(const std::string& in_strText)
{
    if (!m_bQuiet)
        error("warning: " + in_strText);
}

void Messages::inputWarning(const std::string& in_strInput, const std::string& in_strText)
{
    if (!m_bQuiet)
        inputError(in_strInput, "warning: " + in_strText);
}

void Messages::note(const std::string& in_strText)
{
    if (!m_bQuiet)
        error(in_strText);
}

} // namespace Corvana::Tools
