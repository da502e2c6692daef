// SPDX-License-Identifier: Apache-2.0
#include "tools/ManualPage.h"

#include "corvana/Version.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace Corvana::Tools {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* s_szEnvironment = "Environment:";
constexpr const char* s_szExitCodes = "Exit codes:";

bool isUpper(char in_cLetter)
{
    return std::isupper(static_cast<unsigned char>(in_cLetter)) != 0;
}

// Text for troff: hyphens that can be copied, and no letter at the start of a line that would make it a request.
std::string escaped(const std::string& in_strText)
{
    std::string strEscaped;
    if (in_strText.starts_with('.') || in_strText.starts_with('\''))
        strEscaped = "\\&";
    for (const char cLetter : in_strText) {
        if (cLetter == '\\')
            strEscaped += "\\e";
        else if (cLetter == '-')
            strEscaped += "\\-";
        else
            strEscaped += cLetter;
    }
    return strEscaped;
}

std::string bold(const std::string& in_strText)
{
    return "\\fB" + escaped(in_strText) + "\\fR";
}

// What stands for something else is in capital letters: FILE, NAME=FORMULA.
std::string withPlaceholders(const std::string& in_strText)
{
    std::string strResult;
    for (std::size_t uiBegin = 0; uiBegin < in_strText.size();) {
        std::size_t uiEnd = uiBegin;
        while (uiEnd < in_strText.size() && isUpper(in_strText[uiEnd]))
            ++uiEnd;
        if (uiEnd > uiBegin)
            strResult += "\\fI" + in_strText.substr(uiBegin, uiEnd - uiBegin) + "\\fR";
        else
            strResult += escaped(in_strText.substr(uiEnd++, 1));
        uiBegin = uiEnd;
    }
    return strResult;
}

Lines linesOf(const std::string& in_strText)
{
    Lines vLines;
    std::istringstream text(in_strText);
    for (std::string strLine; std::getline(text, strLine);)
        vLines.push_back(strLine);
    return vLines;
}

// The paragraphs of a help's text, which empty lines part.
std::vector<Lines> paragraphsOf(const std::string& in_strText)
{
    std::vector<Lines> vParagraphs(1);
    for (const std::string& strLine : linesOf(in_strText)) {
        if (!strLine.empty())
            vParagraphs.back().push_back(strLine);
        else if (!vParagraphs.back().empty())
            vParagraphs.emplace_back();
    }
    if (vParagraphs.back().empty())
        vParagraphs.pop_back();
    return vParagraphs;
}

bool isIndented(const std::string& in_strLine)
{
    return in_strLine.starts_with(' ');
}

class Page
{
public:
    explicit Page(const CommandDescription& in_command)
        : m_command(in_command)
        , m_strName(in_command.m_strPath.empty() ? "corvana" : "corvana-" + in_command.m_strPath)
    {
        std::replace(m_strName.begin(), m_strName.end(), ' ', '-');
    }

    std::string make()
    {
        makeHead();
        makeSynopsis();
        makeDescription();
        makeCommands();
        makeList("ARGUMENTS", m_command.m_vArguments);
        makeList("OPTIONS", m_command.m_vOptions);
        makeSection("ENVIRONMENT", s_szEnvironment);
        makeSection("EXIT STATUS", s_szExitCodes);
        makeSection("EXAMPLES", "Examples:");
        makeSeeAlso();
        return m_strText;
    }

private:
    void line(const std::string& in_strLine) { m_strText += in_strLine + "\n"; }
    void section(const std::string& in_strName) { line(".SH " + in_strName); }

    void makeHead()
    {
        std::string strTitle = m_strName;
        for (char& cLetter : strTitle)
            cLetter = static_cast<char>(std::toupper(static_cast<unsigned char>(cLetter)));
        line(".\\\" SPDX-License-Identifier: Apache-2.0");
        line(".TH " + escaped(strTitle) + " 1 \"\" \"corvana " + getVersion() + "\" \"User Commands\"");
        section("NAME");
        std::string strHelp = m_command.m_strHelp;
        if (strHelp.ends_with('.'))
            strHelp.pop_back();
        strHelp[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(strHelp[0])));
        line(escaped(m_strName) + " \\- " + escaped(strHelp));
    }

    void makeSynopsis()
    {
        section("SYNOPSIS");
        const std::size_t uiEnd = m_command.m_strPath.empty() ? 7 : 8 + m_command.m_strPath.size();
        line(bold(m_command.m_strUsage.substr(0, uiEnd)) + withPlaceholders(m_command.m_strUsage.substr(uiEnd)));
    }

    void makeDescription()
    {
        section("DESCRIPTION");
        line(escaped(m_command.m_strHelp) + (m_command.m_strHelp.ends_with('.') ? "" : "."));
        for (const Lines& vLines : paragraphsOf(m_command.m_strFooter))
            if (!isSection(vLines)) {
                line(".PP");
                makeParagraph(vLines);
            }
    }

    static bool isSection(const Lines& in_vLines)
    {
        return in_vLines[0].starts_with("Examples:") || in_vLines[0].starts_with(s_szExitCodes) ||
               in_vLines[0].starts_with(s_szEnvironment);
    }

    // Indented lines stay as they are.
    void makeParagraph(const Lines& in_vLines)
    {
        bool bVerbatim = false;
        for (const std::string& strLine : in_vLines) {
            if (isIndented(strLine) != bVerbatim)
                line(bVerbatim ? ".fi" : ".nf");
            bVerbatim = isIndented(strLine);
            line(escaped(bVerbatim ? strLine.substr(2) : strLine));
        }
        if (bVerbatim)
            line(".fi");
    }

    void makeCommands()
    {
        if (m_command.m_vCommands.empty())
            return;
        section("COMMANDS");
        for (const CommandDescription& command : m_command.m_vCommands) {
            std::string strPage = "corvana-" + command.m_strPath;
            std::replace(strPage.begin(), strPage.end(), ' ', '-');
            line(".TP");
            line(".B " + command.getName()); // tools/MakeManuals.cmake finds the commands by this form
            line(escaped(command.m_strHelp) + ": " + bold(strPage) + "(1).");
        }
    }

    void makeList(const std::string& in_strSection, const std::vector<OptionDescription>& in_vOptions)
    {
        if (in_vOptions.empty())
            return;
        section(in_strSection);
        for (const OptionDescription& option : in_vOptions) {
            std::string strNames;
            for (const std::string& strName : option.m_vNames)
                strNames += (strNames.empty() ? "" : ", ") +
                            (strName.starts_with('-') ? bold(strName) : withPlaceholders(strName));
            line(".TP");
            line(strNames + (option.m_strValue.empty() ? "" : " " + withPlaceholders(option.m_strValue)));
            line(escaped(option.m_strHelp) + ".");
        }
    }

    void makeSection(const std::string& in_strSection, const std::string& in_strStart)
    {
        for (Lines vLines : paragraphsOf(m_command.m_strFooter)) {
            if (!vLines[0].starts_with(in_strStart))
                continue;
            section(in_strSection);
            vLines[0].erase(0, in_strStart.size() + (vLines[0].size() > in_strStart.size() ? 1 : 0));
            if (vLines[0].empty())
                vLines.erase(vLines.begin());
            if (in_strStart == s_szExitCodes)
                makeExitCodes(vLines);
            else if (in_strStart == s_szEnvironment)
                makeEnvironment(vLines);
            else
                makeParagraph(vLines);
        }
    }

    // Names, two spaces in, and what they mean, farther in.
    void makeEnvironment(const Lines& in_vLines)
    {
        for (const std::string& strLine : in_vLines) {
            std::size_t uiText = strLine.find_first_not_of(' ');
            if (uiText == 2) {
                const std::size_t uiEnd = strLine.find(' ', uiText);
                line(".TP");
                line(bold(strLine.substr(uiText, uiEnd - uiText)));
                uiText = strLine.find_first_not_of(' ', uiEnd);
            }
            line(escaped(strLine.substr(uiText)));
        }
    }

    // "0 done; 1 finished, but some inputs failed; 2 wrong usage."
    void makeExitCodes(const Lines& in_vLines)
    {
        std::string strText;
        for (const std::string& strLine : in_vLines)
            strText += (strText.empty() ? "" : " ") + strLine;
        for (std::size_t uiBegin = 0; uiBegin < strText.size();) {
            std::size_t uiEnd = strText.find("; ", uiBegin);
            while (uiEnd != std::string::npos && std::isdigit(static_cast<unsigned char>(strText[uiEnd + 2])) == 0)
                uiEnd = strText.find("; ", uiEnd + 1);
            const std::string strCode = strText.substr(uiBegin, uiEnd - uiBegin);
            line(".TP");
            line(bold(strCode.substr(0, strCode.find(' '))));
            line(escaped(strCode.substr(strCode.find(' ') + 1)));
            uiBegin = uiEnd == std::string::npos ? strText.size() : uiEnd + 2;
        }
    }

    void makeSeeAlso()
    {
        section("SEE ALSO");
        const std::string strOthers = m_command.m_strPath.empty() ? "" : "\\fBcorvana\\fR(1), ";
        line(strOthers + "\\fBcorvana\\-regions\\fR(5), \\fBsox\\fR(1)");
    }

    const CommandDescription& m_command;
    std::string m_strName;
    std::string m_strText;
};

} // namespace

std::string manualPage(const CommandDescription& in_command)
{
    return Page(in_command).make();
}

} // namespace Corvana::Tools
