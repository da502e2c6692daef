// SPDX-License-Identifier: Apache-2.0
#include "support/TempDir.h"
#include "tools/CommandLine.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

using Words = std::vector<std::string>;

std::string quoted(const std::string& in_strText)
{
    std::string strText = "'";
    for (const char cLetter : in_strText)
        strText += cLetter == '\'' ? std::string("'\\''") : std::string(1, cLetter);
    return strText + "'";
}

struct Output
{
    Words m_vLines;
    int m_iStatus;
};

Output outputOf(const std::string& in_strCommand)
{
    Words vLines;
    FILE* const pPipe = popen(in_strCommand.c_str(), "r");
    std::string strText;
    char acBuffer[4096];
    for (std::size_t uiRead = 1; uiRead > 0;) {
        uiRead = fread(acBuffer, 1, sizeof acBuffer, pPipe);
        strText.append(acBuffer, uiRead);
    }
    const int iStatus = pclose(pPipe);
    std::istringstream lines(strText);
    for (std::string strLine; std::getline(lines, strLine);)
        vLines.push_back(strLine);
    return {vLines, iStatus};
}

// Shells of their own home, in a folder with a recording.
class ShellCompletionTest : public testing::Test
{
protected:
    ShellCompletionTest() { std::ofstream(m_dir.file("recording.wav")) << "RIFF"; }

    std::string scriptFor(const std::string& in_strShell)
    {
        std::ostringstream script;
        std::ostringstream messages;
        EXPECT_EQ(runCommandLine({"completion", in_strShell}, {}, script, messages), 0) << messages.str();
        const std::string strPath = m_dir.file("completion." + in_strShell);
        std::ofstream(strPath) << script.str();
        return quoted(strPath);
    }

    Output run(const std::string& in_strCommand)
    {
        return outputOf("cd " + quoted(m_dir.path()) + " && HOME=. XDG_CONFIG_HOME=. XDG_DATA_HOME=. TERM=dumb " +
                        in_strCommand);
    }

    // The candidates for the last word.
    Words inBash(const Words& in_vWords)
    {
        std::string strCommand =
            "bash " + quoted(CORVANA_SOURCE_DIR "/tests/tools/completion/complete.bash") + " " + scriptFor("bash");
        for (const std::string& strWord : in_vWords)
            strCommand += " " + quoted(strWord);
        const Output output = run(strCommand);
        EXPECT_EQ(output.m_iStatus, 0);
        return output.m_vLines;
    }

    // The candidates, without what describes them.
    Words inFish(const std::string& in_strLine)
    {
        const Output output = run("fish --no-config -c 'source $argv[1]; complete -C $argv[2]' " + scriptFor("fish") +
                                  " " + quoted(in_strLine) + " 2>&1");
        EXPECT_EQ(output.m_iStatus, 0);
        Words vWords;
        for (const std::string& strLine : output.m_vLines)
            vWords.push_back(strLine.substr(0, strLine.find('\t')));
        return vWords;
    }

    // Whether the line becomes another one with the tabulator.
    bool becomesInZsh(const std::string& in_strLine, const std::string& in_strExpected)
    {
        return run("timeout 20 zsh -f " + quoted(CORVANA_SOURCE_DIR "/tests/tools/completion/complete.zsh") + " " +
                   scriptFor("zsh") + " " + quoted(in_strLine) + " " + quoted(in_strExpected))
                   .m_iStatus == 0;
    }

    Corvana::Test::TempDir m_dir;
};

TEST_F(ShellCompletionTest, OffersCommandsInBash)
{
    EXPECT_THAT(inBash({"corvana", "fe"}), ElementsAre("features"));
    EXPECT_THAT(inBash({"corvana", ""}), Contains("annotations"));
    EXPECT_THAT(inBash({"corvana", "annotations", "ex"}), ElementsAre("export"));
    EXPECT_THAT(inBash({"corvana", "help", "annotations", "ex"}), ElementsAre("export"));
    EXPECT_THAT(inBash({"corvana", "completion", ""}), UnorderedElementsAre("bash", "fish", "zsh"));
}

TEST_F(ShellCompletionTest, OffersOptionsAndTheirValuesInBash)
{
    EXPECT_THAT(inBash({"corvana", "features", "--fo"}), ElementsAre("--format"));
    EXPECT_THAT(inBash({"corvana", "features", "--format", ""}), UnorderedElementsAre("csv", "jsonl", "npy"));
    EXPECT_THAT(inBash({"corvana", "features", "--format", "=", "j"}), ElementsAre("jsonl"));
    EXPECT_THAT(inBash({"corvana", "annotations", "list", "--format", "t"}), UnorderedElementsAre("table", "textgrid"));
    EXPECT_THAT(inBash({"corvana", "features", "--sample-rate", ""}), ElementsAre("file"));
}

TEST_F(ShellCompletionTest, OffersNamesOfFeaturesAndTypesInBash)
{
    EXPECT_THAT(inBash({"corvana", "features", "-f", "spectralr"}), ElementsAre("spectralrange"));
    EXPECT_THAT(inBash({"corvana", "features", "-f", "'spectrum|fl"}), ElementsAre("spectrum|flatness"));
    EXPECT_THAT(inBash({"corvana", "annotations", "add", "a.wav", "BEE"}), ElementsAre("BEEP"));
}

TEST_F(ShellCompletionTest, LeavesFilesToBashItself)
{
    EXPECT_THAT(inBash({"corvana", "features", "rec"}), ElementsAre(""));
    EXPECT_THAT(inBash({"corvana", "features", "--list", "rec"}), ElementsAre(""));
    EXPECT_THAT(run("bash -c 'source " + scriptFor("bash") + "; complete -p corvana'").m_vLines,
                ElementsAre("complete -o default -F _corvana corvana"));
}

TEST_F(ShellCompletionTest, OffersTheSameInFish)
{
    EXPECT_THAT(inFish("corvana fe"), ElementsAre("features"));
    EXPECT_THAT(inFish("corvana "), testing::AllOf(Contains("annotations"), Not(Contains("recording.wav"))));
    EXPECT_THAT(inFish("corvana annotations ex"), ElementsAre("export"));
    EXPECT_THAT(inFish("corvana help annotations ex"), ElementsAre("export"));
    EXPECT_THAT(inFish("corvana completion "), UnorderedElementsAre("bash", "fish", "zsh"));
    EXPECT_THAT(inFish("corvana features --fo"), ElementsAre("--format"));
    EXPECT_THAT(inFish("corvana features --format "), UnorderedElementsAre("csv", "jsonl", "npy"));
    EXPECT_THAT(inFish("corvana features -f spectralr"), ElementsAre("spectralrange"));
    EXPECT_THAT(inFish("corvana features -f 'spectrum|fl"), ElementsAre("spectrum|flatness"));
    EXPECT_THAT(inFish("corvana annotations add a.wav BEE"), ElementsAre("BEEP"));
    EXPECT_THAT(inFish("corvana features rec"), ElementsAre("recording.wav"));
    EXPECT_THAT(inFish("corvana features --window-ms "), ElementsAre());
}

TEST_F(ShellCompletionTest, CompletesTheSameInZsh)
{
    EXPECT_TRUE(becomesInZsh("corvana feat", "corvana features"));
    EXPECT_TRUE(becomesInZsh("corvana annotations ex", "corvana annotations export"));
    EXPECT_TRUE(becomesInZsh("corvana help annotations ex", "corvana help annotations export"));
    EXPECT_TRUE(becomesInZsh("corvana features --fo", "corvana features --format"));
    EXPECT_TRUE(becomesInZsh("corvana features --format j", "corvana features --format jsonl"));
    EXPECT_TRUE(becomesInZsh("corvana features -f 'spectrum|fl", "corvana features -f 'spectrum|flatness"));
    EXPECT_TRUE(becomesInZsh("corvana annotations add a.wav BEE", "corvana annotations add a.wav BEEP"));
    EXPECT_TRUE(becomesInZsh("corvana features rec", "corvana features recording.wav"));
}

TEST_F(ShellCompletionTest, RefusesAnUnknownShell)
{
    std::ostringstream data;
    std::ostringstream messages;
    EXPECT_EQ(runCommandLine({"completion", "tcsh"}, {}, data, messages), 2);
    EXPECT_EQ(data.str(), "");
    EXPECT_THAT(messages.str(), HasSubstr("is one of bash, zsh, fish, not 'tcsh'"));
}

} // namespace
} // namespace Corvana::Tools
