// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandReport.h"

#include "RecordingsTest.h"
#include "support/Signals.h"
#include "tools/Base64.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <sys/wait.h>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class CommandReportTest : public RecordingsTest
{
protected:
    int report(std::vector<std::string> in_vArguments)
    {
        in_vArguments.insert(in_vArguments.begin(), "report");
        return run(in_vArguments);
    }

    std::string pageOf(std::vector<std::string> in_vArguments)
    {
        in_vArguments.insert(in_vArguments.end(), {"-o", m_dir.file("out.html")});
        EXPECT_EQ(report(in_vArguments), EXIT_DONE);
        EXPECT_EQ(m_messages.str(), "");
        return contentsOf(m_dir.file("out.html"));
    }

    // The texts between a beginning and an end.
    static std::vector<std::string> partsOf(const std::string& in_strText, const std::string& in_strBegin,
                                            const std::string& in_strEnd)
    {
        std::vector<std::string> vParts;
        for (std::size_t uiBegin = in_strText.find(in_strBegin); uiBegin != std::string::npos;
             uiBegin = in_strText.find(in_strBegin, uiBegin)) {
            uiBegin += in_strBegin.size();
            vParts.push_back(in_strText.substr(uiBegin, in_strText.find(in_strEnd, uiBegin) - uiBegin));
        }
        return vParts;
    }

    static std::vector<nlohmann::json> recordingsOf(const std::string& in_strPage)
    {
        std::vector<nlohmann::json> vRecordings;
        for (const std::string& strPart :
             partsOf(in_strPage, "<script type=\"application/json\" class=\"recording\">", "</script>"))
            vRecordings.push_back(nlohmann::json::parse(strPart));
        return vRecordings;
    }
};

TEST_F(CommandReportTest, HoldsTheRecording)
{
    const std::string strFile = makeFile("a.wav", {{"BEEP", 2000, 4000}, {"CPA_HUMAN", 4000, 3000}});
    const std::string strPage = pageOf({"-f", "spectrum|flatness", "-f", "spectrum500hz", strFile});
    EXPECT_THAT(strPage, AllOf(StartsWith("<!DOCTYPE html>\n"), EndsWith("</html>\n")));
    const std::vector<nlohmann::json> vRecordings = recordingsOf(strPage);
    ASSERT_EQ(vRecordings.size(), 1U);
    const nlohmann::json& recording = vRecordings[0];
    EXPECT_EQ(recording["name"], strFile);
    EXPECT_EQ(recording["rate"], 8000);
    EXPECT_EQ(recording["seconds"], 1.0);
    ASSERT_EQ(recording["regions"].size(), 2U);
    EXPECT_EQ(recording["regions"][0], nlohmann::json::parse(R"({"label": "BEEP", "start": 0.25, "stop": 0.75,
        "source": "heard", "rank": 0, "colour": "#0072b2"})"));
    EXPECT_EQ(recording["regions"][1]["source"], "CPA");
    ASSERT_EQ(recording["curves"].size(), 2U);
    EXPECT_EQ(recording["curves"][0]["name"], "spectrum|flatness");
    EXPECT_EQ(recording["curves"][0]["lines"].size(), 1U);
    EXPECT_EQ(recording["curves"][1]["values"], 8);
    EXPECT_THAT(recording["curves"][1]["tiles"][0].get<std::string>(), StartsWith("iVBORw0KGgo")) << "a PNG";
    EXPECT_THAT(recording["spectrogram"]["tiles"][0].get<std::string>(), StartsWith("iVBORw0KGgo"));
}

TEST_F(CommandReportTest, HoldsTheSoundAsItIs)
{
    constexpr std::size_t uiNbOfSamples = 800000; // more than a piece
    const std::string strFile = makeFile("a.wav", {}, uiNbOfSamples);
    const std::vector<std::string> vPieces =
        partsOf(pageOf({strFile}), "<script type=\"text/plain\" class=\"audio\" data-recording=\"0\">", "</script>");
    ASSERT_EQ(vPieces.size(), 2U);
    std::string strAll;
    for (const std::string& strPiece : vPieces)
        strAll += strPiece;
    EXPECT_EQ(strAll, toBase64(contentsOf(strFile).substr(44)));
}

TEST_F(CommandReportTest, LeavesTheSoundOutWhenAsked)
{
    EXPECT_THAT(pageOf({"--no-audio", makeFile("a.wav", {}, 800)}), Not(HasSubstr("class=\"audio\"")));
}

TEST_F(CommandReportTest, HoldsSeveralRecordings)
{
    const std::string strPage = pageOf({makeFile("a.wav", {}, 800), makeFile("b.wav", {}, 1600)});
    const std::vector<nlohmann::json> vRecordings = recordingsOf(strPage);
    ASSERT_EQ(vRecordings.size(), 2U);
    EXPECT_EQ(vRecordings[1]["seconds"], 0.2);
    EXPECT_THAT(strPage, AllOf(HasSubstr("data-recording=\"1\""), HasSubstr("<title>2 recordings</title>")));
}

TEST_F(CommandReportTest, LetsNoNameOutOfItsPlace)
{
    const std::string strName = "<script>&'\"\xFF\n<!--";
    const std::string strPage = pageOf({makeFile(strName, {}, 800)});
    EXPECT_THAT(strPage, HasSubstr("&lt;script&gt;&amp;'\"\uFFFD\\n&lt;!--</title>"));
    EXPECT_THAT(partsOf(strPage, "class=\"recording\">", "</script>").at(0), Not(HasSubstr("<")));
    EXPECT_EQ(recordingsOf(strPage).at(0)["name"], m_dir.path() + "/<script>&'\"\uFFFD\\n<!--");
}

TEST_F(CommandReportTest, LoadsNothing)
{
    const std::string strPage = pageOf({makeFile("a.wav", {}, 800)});
    EXPECT_THAT(strPage, HasSubstr("content=\"default-src 'none';"));
    for (const std::string strWord : {"http://", "https://", "<link", " src=", "import(", "fetch("})
        EXPECT_EQ(strPage.find(strWord), std::string::npos) << strWord;
}

TEST_F(CommandReportTest, WritesTheSameBytesEachTime)
{
    const std::string strFile = makeFile("a.wav", {{"BEEP", 200, 400}}, 800);
    EXPECT_EQ(pageOf({strFile}), pageOf({strFile}));
}

TEST_F(CommandReportTest, ShowsOthersWhenARecordingFails)
{
    const std::string strFile = makeFile("a.wav", {}, 800);
    EXPECT_EQ(report({m_dir.file("none.wav"), strFile, "-o", m_dir.file("out.html")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), AllOf(StartsWith("corvana: " + m_dir.file("none.wav") + ": failed to open "),
                                        EndsWith("corvana: 1 of 2 inputs failed\n")));
    const std::string strPage = contentsOf(m_dir.file("out.html"));
    EXPECT_EQ(recordingsOf(strPage).size(), 1U);
    EXPECT_THAT(strPage, HasSubstr("data-recording=\"0\"")) << "its sound is that of the first one shown";
}

TEST_F(CommandReportTest, WritesNothingWhenNoRecordingCanBeShown)
{
    EXPECT_EQ(report({m_dir.file("none.wav"), "-o", m_dir.file("out.html")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), EndsWith("corvana: nothing is written: no recording could be shown\n"));
    EXPECT_THAT(namesInFolder(), testing::IsEmpty());
}

TEST_F(CommandReportTest, WritesNothingForAListOfNoRecordings)
{
    EXPECT_EQ(report({"--list", m_dir.write("list.txt", "# none\n"), "-o", m_dir.file("out.html")}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), EndsWith("corvana: nothing to show: no recordings\n"));
    EXPECT_THAT(namesInFolder(), ElementsAre("list.txt"));
}

TEST_F(CommandReportTest, WritesToStandardOutputWhenAsked)
{
    EXPECT_EQ(report({makeFile("a.wav", {}, 800), "-o", "-"}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), StartsWith("<!DOCTYPE html>\n"));
}

TEST_F(CommandReportTest, LeavesTheFormerPageWhenTheNewOneCannotBeWritten)
{
    makeFile("a.wav");
    m_dir.write("out.html", "former");
    const std::string strCommand =
        "cd '" + m_dir.path() + "' && ulimit -f 64 && '" CORVANA_PROGRAM "' report a.wav -o out.html 2>errors";
    EXPECT_EQ(WEXITSTATUS(std::system(strCommand.c_str())), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(m_dir.file("errors")), "corvana: cannot write: out.html: File too large\n");
    EXPECT_EQ(contentsOf(m_dir.file("out.html")), "former");
    EXPECT_THAT(namesInFolder(), testing::UnorderedElementsAre("a.wav", "errors", "out.html"));
}

TEST_F(CommandReportTest, RefusesWrongUsage)
{
    const std::string strFile = makeFile("a.wav");
    const auto expectRefused = [&](const std::vector<std::string>& in_vArguments, const std::string& in_strMessage) {
        EXPECT_EQ(report(in_vArguments), EXIT_UNUSABLE);
        EXPECT_EQ(m_messages.str(), in_strMessage);
        EXPECT_EQ(m_data.str(), "");
    };
    expectRefused({"-o", "out.html"},
                  "corvana: no recording given: name at least one, or a list of them with --list FILE\n");
    expectRefused({strFile}, "corvana: no file to write into given: name it with -o FILE.html\n");
    expectRefused({strFile, "-o", strFile},
                  "corvana: " + strFile + ": is both read and written; write to another file\n");
    expectRefused({strFile, "-o", "out.html", "--expr", "x"},
                  "corvana: report: --expr wants NAME=FORMULA, not 'x'\nTry 'corvana help report'.\n");
    expectRefused({strFile, "-o", "out.html", "--overlap-ms", "16"},
                  "corvana: the overlap (--overlap-ms 16) must be shorter than the window (--window-ms 16)\n");
    EXPECT_EQ(report({strFile, "-o", "out.html", "-f", "spectrm"}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("did you mean spectrum?"));
    EXPECT_THAT(namesInFolder(), ElementsAre("a.wav"));
}

} // namespace
} // namespace Corvana::Tools
