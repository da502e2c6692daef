// SPDX-License-Identifier: Apache-2.0
#include "tools/CsvReader.h"

namespace Corvana::Tools {

bool CsvReader::next(std::vector<std::string>& out_vFields)
{
    out_vFields.clear();
    while (!atEnd() && atLineEnd())
        skipLineEnd();
    if (atEnd() || !m_strFault.empty())
        return false;

    m_uiRowLine = m_uiLine;
    while (takeField(out_vFields.emplace_back())) {
        if (atEnd())
            return true;
        if (atLineEnd()) {
            skipLineEnd();
            return true;
        }
        ++m_uiPos; // the comma
        if (out_vFields.size() == s_uiMaxFields)
            return fail(m_uiLine, "a row of more than 1000 columns");
    }
    return false;
}

void CsvReader::skipLineEnd()
{
    m_uiPos += m_strText.substr(m_uiPos, 2) == "\r\n" ? 2 : 1;
    ++m_uiLine;
}

bool CsvReader::takeField(std::string& out_strField)
{
    if (!atEnd() && m_strText[m_uiPos] == '"')
        return takeQuoted(out_strField);
    const std::size_t uiEnd = std::min(m_strText.find_first_of(",\r\n", m_uiPos), m_strText.size());
    out_strField = m_strText.substr(m_uiPos, uiEnd - m_uiPos);
    m_uiPos = uiEnd;
    if (out_strField.find('"') != std::string::npos)
        return fail(m_uiLine, "a quote inside a field that does not begin with one; put the whole field between quotes "
                              "and write the quote twice");
    return true;
}

bool CsvReader::takeQuoted(std::string& out_strField)
{
    const unsigned long uiFirstLine = m_uiLine;
    for (++m_uiPos; !atEnd(); ++m_uiPos) {
        const char cLetter = m_strText[m_uiPos];
        if (cLetter == '"' && m_strText.substr(m_uiPos + 1, 1) != "\"") {
            ++m_uiPos;
            if (atEnd() || atLineEnd() || m_strText[m_uiPos] == ',')
                return true;
            return fail(m_uiLine, "text behind the closing quote of a field; write quotes that belong to it twice");
        }
        if (cLetter == '"')
            ++m_uiPos;
        // CR LF is one line end, counted at its LF.
        if (cLetter == '\n' || (cLetter == '\r' && m_strText.substr(m_uiPos + 1, 1) != "\n"))
            ++m_uiLine;
        out_strField += cLetter;
    }
    return fail(uiFirstLine, "a field begins with a quote that is never closed");
}

bool CsvReader::fail(unsigned long in_uiLine, const char* in_szText)
{
    m_strFault = "line " + std::to_string(in_uiLine) + ": " + in_szText;
    return false;
}

} // namespace Corvana::Tools
