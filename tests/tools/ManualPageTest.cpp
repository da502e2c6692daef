// SPDX-License-Identifier: Apache-2.0
#include "tools/ManualPage.h"

#include "support/TempDir.h"
#include "tools/CommandLine.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string outputOf(const std::vector<std::string>& in_vArguments)
{
    std::ostringstream data;
    std::ostringstream messages;
    EXPECT_EQ(runCommandLine(in_vArguments, {}, data, messages), 0) << messages.str();
    return data.str();
}

std::string pageOf(std::vector<std::string> in_vCommand)
{
    in_vCommand.insert(in_vCommand.begin(), {"help", "--man"});
    return outputOf(in_vCommand);
}

// The commands that a page names, by the form in which MakeManuals.cmake finds them.
std::vector<std::string> commandsIn(const std::string& in_strPage)
{
    std::vector<std::string> vCommands;
    std::istringstream page(in_strPage);
    for (std::string strLine; std::getline(page, strLine);)
        if (strLine.starts_with(".B "))
            vCommands.push_back(strLine.substr(3));
    return vCommands;
}

std::vector<std::vector<std::string>> allCommands()
{
    std::vector<std::vector<std::string>> vCommands = {{}};
    for (const std::string& strCommand : commandsIn(pageOf({}))) {
        vCommands.push_back({strCommand});
        for (const std::string& strNested : commandsIn(pageOf({strCommand})))
            vCommands.push_back({strCommand, strNested});
    }
    return vCommands;
}

// As man(1) shows it, without the breaks of lines.
std::string shown(const std::string& in_strPage)
{
    std::string strText;
    for (std::size_t uiAt = 0; uiAt < in_strPage.size(); ++uiAt) {
        const char cLetter = in_strPage[uiAt];
        if (cLetter != '\\') {
            strText += cLetter == '\n' ? ' ' : cLetter;
            continue;
        }
        const char cEscape = in_strPage[++uiAt];
        if (cEscape == 'f') // the name of a font follows
            ++uiAt;
        else if (cEscape != '&')
            strText += cEscape == 'e' ? '\\' : cEscape;
    }
    return strText;
}

TEST(ManualPage, IsThereForEachCommand)
{
    const std::vector<std::vector<std::string>> vCommands = allCommands();
    EXPECT_THAT(
        vCommands,
        testing::IsSupersetOf(
            {std::vector<std::string>{"features"}, {"annotations"}, {"annotations", "add"}, {"doctor"}, {"help"}}));
    for (const std::vector<std::string>& vCommand : vCommands) {
        std::string strName = "corvana";
        for (const std::string& strWord : vCommand)
            strName += "-" + strWord;
        EXPECT_THAT(shown(pageOf(vCommand)), HasSubstr(".SH NAME " + strName + " - ")) << strName;
    }
}

TEST(ManualPage, SaysWhatTheHelpSays)
{
    for (std::vector<std::string> vCommand : allCommands()) {
        const std::string strPage = shown(pageOf(vCommand));
        vCommand.insert(vCommand.begin(), "help");
        std::istringstream help(outputOf(vCommand));
        for (std::string strWord; help >> strWord;) {
            if (strWord.back() == ':' || strWord == "Exit" || strWord[0] == '[')
                continue; // of a heading
            EXPECT_THAT(strPage, HasSubstr(strWord.substr(0, strWord.find_first_of(",;.")))) << vCommand.back();
        }
    }
}

TEST(ManualPage, IsWhatTheFormatterExpects)
{
    const Corvana::Test::TempDir dir;
    for (const std::vector<std::string>& vCommand : allCommands()) {
        const std::string strFile = dir.file("page.1");
        std::ofstream(strFile) << pageOf(vCommand);
        // Pages have no date: a build of another day gives the same bytes.
        const std::string strCheck = "mandoc -T lint -W warning " + strFile + " | grep -v 'missing date' >&2";
        EXPECT_NE(std::system(strCheck.c_str()), 0) << (vCommand.empty() ? "" : vCommand.back());
    }
}

TEST(ManualPage, HoldsTextThatLooksLikeRequests)
{
    CommandDescription command;
    command.m_strPath = "cut";
    command.m_strHelp = "Cuts";
    command.m_strUsage = "corvana cut";
    command.m_strFooter = "\n.wav files and a \\n\n'quoted'\n\nExamples:\n  .wav 'x'\n";
    const std::string strPage = manualPage(command);
    EXPECT_THAT(strPage, HasSubstr("\n\\&.wav files and a \\en\n\\&'quoted'\n"));
    EXPECT_THAT(strPage, HasSubstr(".SH EXAMPLES\n.nf\n\\&.wav 'x'\n.fi\n"));
}

TEST(ManualPage, TellsExitCodesAndEnvironmentOneByOne)
{
    CommandDescription command;
    command.m_strPath = "cut";
    command.m_strHelp = "Cuts";
    command.m_strUsage = "corvana cut [OPTIONS] FILE";
    command.m_strFooter =
        "\nEnvironment:\n  HOME  a folder,\n        yours\n\nExit codes: 0 done; all is well; 1 some\nfailed.\n";
    const std::string strPage = manualPage(command);
    EXPECT_THAT(strPage, HasSubstr(".SH SYNOPSIS\n\\fBcorvana cut\\fR [\\fIOPTIONS\\fR] \\fIFILE\\fR\n"));
    EXPECT_THAT(strPage, HasSubstr(".SH ENVIRONMENT\n.TP\n\\fBHOME\\fR\na folder,\nyours\n"));
    EXPECT_THAT(strPage,
                HasSubstr(".SH EXIT STATUS\n.TP\n\\fB0\\fR\ndone; all is well\n.TP\n\\fB1\\fR\nsome failed.\n"));
    EXPECT_THAT(strPage, Not(HasSubstr(".SH EXAMPLES")));
}

} // namespace
} // namespace Corvana::Tools
