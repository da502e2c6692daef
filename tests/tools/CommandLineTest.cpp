// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLine.h"

#include "corvana/MathSimd.h"
#include "corvana/Version.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class CommandLineTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    // Wrong usage: nothing on the data stream, and a message.
    void expectRefused(const std::vector<std::string>& in_vArguments, const std::string& in_strMessage)
    {
        EXPECT_EQ(run(in_vArguments), EXIT_UNUSABLE) << in_strMessage;
        EXPECT_EQ(m_data.str(), "") << in_strMessage;
        EXPECT_EQ(m_messages.str(), in_strMessage);
    }

    // As the refusal of an unknown one tells them.
    std::vector<std::string> annotationCommands()
    {
        run({"annotations", "?"});
        const std::string strMessage = m_messages.str();
        const std::size_t uiBegin = strMessage.find(" are ") + 5;
        std::istringstream names(strMessage.substr(uiBegin, strMessage.rfind('.') - uiBegin));
        std::vector<std::string> vNames;
        for (std::string strName; names >> strName;)
            vNames.push_back(strName.substr(0, strName.find(',')));
        return vNames;
    }

    std::string makeFile() { return Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(1024)); }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

// The long options that a text shows.
std::set<std::string> longOptions(const std::string& in_strText)
{
    const auto isPart = [](char in_cLetter) { return in_cLetter == '-' || (in_cLetter >= 'a' && in_cLetter <= 'z'); };
    std::set<std::string> vOptions;
    for (auto it = in_strText.begin(); it != in_strText.end();) {
        const auto begin = std::find_if(it, in_strText.end(), isPart);
        it = std::find_if_not(begin, in_strText.end(), isPart);
        const std::string strWord(begin, it);
        if (strWord.starts_with("--") && strWord.size() > 2)
            vOptions.insert(strWord);
    }
    return vOptions;
}

TEST_F(CommandLineTest, ShowsTheVersionAndTheInstructionSet)
{
    EXPECT_EQ(run({"--version"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), std::string("corvana ") + getVersion() + " (" + Math::getSimdName() + ")\n");
}

TEST_F(CommandLineTest, ShowsHelpToThoseWhoAsk)
{
    for (const std::vector<std::string>& vArguments :
         {std::vector<std::string>{"--help"}, std::vector<std::string>{"help"}, std::vector<std::string>{"-h"}}) {
        EXPECT_EQ(run(vArguments), EXIT_DONE);
        EXPECT_THAT(m_data.str(), AllOf(HasSubstr("features"), HasSubstr("info"), HasSubstr("list-features"),
                                        HasSubstr("Examples:"), HasSubstr("Exit codes:")));
        EXPECT_EQ(m_messages.str(), "");
    }
}

TEST_F(CommandLineTest, ShowsTheSameHelpOfACommandInBothWays)
{
    for (const char* szCommand :
         {"features", "eval", "info", "list-features", "list-functions", "plot", "report", "help"}) {
        EXPECT_EQ(run({"help", szCommand}), EXIT_DONE);
        const std::string strHelp = m_data.str();
        EXPECT_EQ(run({szCommand, "--help"}), EXIT_DONE);
        EXPECT_EQ(m_data.str(), strHelp);
        EXPECT_THAT(strHelp, AllOf(HasSubstr(std::string("Usage: corvana ") + szCommand), HasSubstr("Examples:")));
    }
}

TEST_F(CommandLineTest, ShowsInTheHelpWhatAnOptionTakes)
{
    EXPECT_EQ(run({"help", "features"}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), AllOf(HasSubstr("\n  -o,--output FILE  "), HasSubstr("\n  --labels    "),
                                    HasSubstr("\n  INPUT       ")));
}

TEST_F(CommandLineTest, TakesWhatFollowsAListOrAPatternForAnInput)
{
    const std::string strFile = makeFile();
    const std::string strList = m_dir.write("list.txt", strFile + "\n");
    EXPECT_EQ(run({"features", "-f", "silenceratio", "--list", strList, strFile}), EXIT_DONE);
    const std::string strBoth = m_data.str();
    EXPECT_EQ(std::count(strBoth.begin(), strBoth.end(), '\n'), 1 + 2 * 8) << m_messages.str();

    EXPECT_EQ(run({"features", "-f", "silenceratio", "-r", "--pattern", "*.wav", m_dir.path()}), EXIT_DONE);
    const std::string strOne = m_data.str();
    EXPECT_EQ(std::count(strOne.begin(), strOne.end(), '\n'), 1 + 8) << m_messages.str();
}

TEST_F(CommandLineTest, ShowsShortHelpWithoutACommand)
{
    EXPECT_EQ(run({}), EXIT_UNUSABLE);
    EXPECT_EQ(m_data.str(), "");
    EXPECT_THAT(m_messages.str(), HasSubstr("Usage: corvana"));
}

TEST_F(CommandLineTest, NamesTheNearestCommand)
{
    expectRefused({"feature", "a.wav"}, "corvana: no command 'feature'; did you mean features?\n"
                                        "The commands are features, eval, info, list-features, list-functions, "
                                        "merge, plot, report, annotations, doctor, completion, help.\n");
    expectRefused({"help", "nosuch"}, "corvana: no command 'nosuch'\n"
                                      "The commands are features, eval, info, list-features, list-functions, "
                                      "merge, plot, report, annotations, doctor, completion, help.\n");
}

TEST_F(CommandLineTest, NamesTheNearestOption)
{
    expectRefused({"features", "--windw-ms=16", "a.wav"}, "corvana: features: unknown option '--windw-ms=16'; did you "
                                                          "mean --window-ms?\nTry 'corvana help features'.\n");
    expectRefused({"info", "-x"}, "corvana: info: unknown option '-x'\nTry 'corvana help info'.\n");
}

TEST_F(CommandLineTest, SaysWhatAnOptionWants)
{
    const std::string strTry = "\nTry 'corvana help features'.\n";
    expectRefused({"features", "--window-ms", "-5", "a.wav"},
                  "corvana: features: --window-ms: wants a whole number from 1 to 600000, not '-5'" + strTry);
    expectRefused({"features", "--window-ms", "0", "a.wav"},
                  "corvana: features: --window-ms: wants a whole number from 1 to 600000, not '0'" + strTry);
    expectRefused({"features", "--overlap-ms", "1.5", "a.wav"},
                  "corvana: features: --overlap-ms: wants a whole number from 0 to 600000, not '1.5'" + strTry);
    expectRefused({"features", "--read-factor", "0", "a.wav"},
                  "corvana: features: --read-factor: wants a whole number from 1 to 1000000, not '0'" + strTry);
    expectRefused({"features", "--sample-rate", "8k", "a.wav"},
                  "corvana: features: --sample-rate: wants a whole number from 1 to 10000000, or file, not '8k'" +
                      strTry);
    expectRefused({"features", "--format", "xml", "a.wav"},
                  "corvana: features: --format: is one of csv, jsonl, npy, not 'xml'" + strTry);
    expectRefused({"features", "--progress", "maybe", "a.wav"},
                  "corvana: features: --progress: is one of auto, always, never, json, not 'maybe'" + strTry);
    expectRefused({"features", "--log-level", "loud", "a.wav"},
                  "corvana: features: --log-level: is one of trace, debug, info, warn, error, off, not 'loud'" +
                      strTry);
    expectRefused({"features", "--output", "", "a.wav"},
                  "corvana: features: --output: wants the name of a file" + strTry);
}

TEST_F(CommandLineTest, WantsAValueBehindAnOption)
{
    EXPECT_EQ(run({"features", "a.wav", "-f"}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: features: --feature"));
}

TEST_F(CommandLineTest, TakesOneDescriptionBehindEachFeatureOption)
{
    const std::string strFile = makeFile();

    EXPECT_EQ(run({"features", "-f", "spectrum|flatness", strFile, "--feature", "spectrum500hz"}), EXIT_DONE);

    EXPECT_THAT(m_data.str(), StartsWith("file,time,spectrum|flatness,spectrum500hz[0],"));
}

TEST_F(CommandLineTest, HandsAllOptionsOn)
{
    const std::string strList = m_dir.write("list.txt", makeFile() + "\n");

    EXPECT_EQ(run({"features",
                   "--list",
                   strList,
                   "-f",
                   "spectrum|flatness",
                   "--window-ms",
                   "32",
                   "--overlap-ms",
                   "16",
                   "--suppress-dc",
                   "--read-factor",
                   "3",
                   "--sample-rate",
                   "8000",
                   "--format",
                   "jsonl",
                   "-o",
                   m_dir.file("out.jsonl"),
                   "--progress",
                   "always"}),
              EXIT_DONE);

    EXPECT_EQ(m_data.str(), "");
    EXPECT_THAT(m_messages.str(), HasSubstr(" x real time\n"));
    EXPECT_THAT(contentsOf(m_dir.file("out.jsonl")),
                AllOf(StartsWith("{\"file\":\"" + m_dir.file("a.wav") + "\",\"time\":0.032,\"spectrum|flatness\":"),
                      HasSubstr("\"time\":0.048")));
}

TEST_F(CommandLineTest, KnowsWhatOthersCallACommandAndARecordingWithoutOne)
{
    run({"annotations", "remove", "a.wav"});
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: annotations: no command 'remove'; did you mean clear?\n"));
    run({"version"});
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: no command 'version'; did you mean --version?\n"));
    run({"remove"}); // of annotations only
    EXPECT_THAT(m_messages.str(), testing::Not(HasSubstr("clear")));
    const std::string strFile = makeFile();
    EXPECT_EQ(run({strFile}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(),
                StartsWith("corvana: no command '" + strFile +
                           "'; the command stands before the files, as in 'corvana features FILE'\n"));
}

TEST_F(CommandLineTest, TakesTheRateOfTheFileByName)
{
    EXPECT_EQ(run({"features", "--sample-rate", "8000", "--sample-rate", "file", makeFile()}), EXIT_UNUSABLE);
    EXPECT_EQ(run({"features", "--sample-rate", "file", makeFile()}), EXIT_DONE);
}

TEST_F(CommandLineTest, TakesNamesThatBeginWithADashBehindTwoDashes)
{
    EXPECT_EQ(run({"features", "--", "-none.wav"}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: -none.wav: failed to open -none.wav, "));
}

TEST_F(CommandLineTest, ShowsTheLibrarysLogWhenVerbose)
{
    const std::string strFile = makeFile();
    EXPECT_EQ(run({"features", "-v", strFile}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: [debug] "));
    EXPECT_EQ(run({"info", "--log-level", "trace", strFile}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: [trace] "));
    EXPECT_EQ(run({"info", "-v", "--log-level", "off", strFile}), EXIT_DONE);
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandLineTest, RefusesArgumentsThatACommandHasNoUseFor)
{
    expectRefused({"list-features", "x"},
                  "corvana: list-features: does not know what to do with 'x'\nTry 'corvana help list-features'.\n");
}

TEST_F(CommandLineTest, IsDocumented)
{
    const std::string strDocument = contentsOf(CORVANA_SOURCE_DIR "/docs/cli.md");
    std::vector<std::vector<std::string>> vCommands = {{"help", "features"},      {"help", "eval"}, {"help", "info"},
                                                       {"help", "list-features"}, {"help", "plot"}, {"help", "report"},
                                                       {"help", "doctor"},        {"help", "help"}, {"help", "merge"}};
    for (const std::string& strCommand : annotationCommands())
        vCommands.push_back({"help", "annotations", strCommand});
    for (const std::vector<std::string>& vCommand : vCommands) {
        run(vCommand);
        for (const std::string& strOption : longOptions(m_data.str())) {
            EXPECT_THAT(longOptions(strDocument), testing::Contains(strOption)) << vCommand.back();
        }
        if (vCommand.size() > 2) {
            EXPECT_NE(strDocument.find("corvana annotations " + vCommand.back() + " "), std::string::npos)
                << vCommand.back();
        }
    }
}

} // namespace
} // namespace Corvana::Tools
