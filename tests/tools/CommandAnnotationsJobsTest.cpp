// SPDX-License-Identifier: Apache-2.0
#include "RecordingsTest.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;

// Recordings with regions, without, damaged and no recordings at all, in folders.
class CommandAnnotationsJobsTest : public RecordingsTest, public testing::WithParamInterface<std::vector<std::string>>
{
protected:
    CommandAnnotationsJobsTest()
    {
        std::filesystem::create_directories(m_dir.file("calls/inner"));
        for (unsigned uiFile = 0; uiFile < 40; ++uiFile) {
            const std::string strName = (uiFile % 2 == 0 ? "calls/" : "calls/inner/") + std::to_string(uiFile) + ".wav";
            if (uiFile % 10 == 7)
                m_dir.write(strName, "no recording");
            else if (uiFile % 10 == 8)
                makeFile(strName);
            else
                makeFile(strName, {{"VOICE", uiFile, 100}, {uiFile % 10 == 9 ? "no type" : "BEEP", 200, 10 * uiFile}});
        }
    }
};

TEST_P(CommandAnnotationsJobsTest, SaysTheSameForAnyNumberOfJobs)
{
    std::vector<std::string> vArguments = GetParam();
    vArguments.insert(vArguments.end(), {"-r", m_dir.file("calls"), "--jobs", "1"});
    EXPECT_EQ(annotations(vArguments), EXIT_SOME_FAILED);
    const std::string strData = m_data.str();
    const std::string strMessages = m_messages.str();
    EXPECT_THAT(strData + strMessages, HasSubstr("calls/inner/17.wav"));
    EXPECT_GT(strData.size(), 50U);
    for (const char* szNbOfJobs : {"2", "8"}) {
        vArguments.back() = szNbOfJobs;
        EXPECT_EQ(annotations(vArguments), EXIT_SOME_FAILED);
        EXPECT_EQ(m_data.str(), strData) << szNbOfJobs;
        EXPECT_EQ(m_messages.str(), strMessages) << szNbOfJobs;
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandAnnotationsJobsTest,
                         testing::Values(std::vector<std::string>{"stats"}, std::vector<std::string>{"check"},
                                         std::vector<std::string>{"check", "--json"}, std::vector<std::string>{"list"},
                                         std::vector<std::string>{"list", "--format", "csv"},
                                         std::vector<std::string>{"list", "--format", "json"}));

TEST_F(CommandAnnotationsJobsTest, ListsAFolderOfOneRecordingAsSeveral)
{
    std::filesystem::create_directory(m_dir.file("one"));
    makeFile("one/a.wav", {{"BEEP", 0, 100}});

    EXPECT_EQ(annotations({"list", "--format", "json", "-r", m_dir.file("one")}), EXIT_DONE);

    EXPECT_EQ(nlohmann::json::parse(m_data.str())[0]["file"], m_dir.file("one/a.wav"));
}

} // namespace
} // namespace Corvana::Tools
