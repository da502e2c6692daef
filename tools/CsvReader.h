// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// Takes the rows of comma-separated values (RFC 4180) from a text one by one. Lines end with LF, CR LF or CR; empty
/// lines are passed over. Blanks belong to their fields.
class CsvReader
{
public:
    /// Rows with more are refused: a field takes many times the memory of the comma that it may be.
    static constexpr std::size_t s_uiMaxFields = 1000;

    /// The text must outlive the reader.
    explicit CsvReader(std::string_view in_strText)
        : m_strText(in_strText)
    {
    }

    /// The fields of the next row, without their quotes. False: there is none, or getFault() says what is wrong.
    bool next(std::vector<std::string>& out_vFields);

    /// The line where the latest row begins, from 1.
    unsigned long getLine() const { return m_uiRowLine; }
    /// With the line; empty when all was well.
    const std::string& getFault() const { return m_strFault; }

private:
    bool atEnd() const { return m_uiPos == m_strText.size(); }
    bool atLineEnd() const { return m_strText[m_uiPos] == '\n' || m_strText[m_uiPos] == '\r'; }
    void skipLineEnd();
    bool takeField(std::string& out_strField);
    bool takeQuoted(std::string& out_strField);
    bool fail(unsigned long in_uiLine, const char* in_szText);

    std::string_view m_strText;
    std::size_t m_uiPos = 0;
    unsigned long m_uiLine = 1;
    unsigned long m_uiRowLine = 0;
    std::string m_strFault;
};

} // namespace Corvana::Tools
