// SPDX-License-Identifier: Apache-2.0
#include "tools/RunProgress.h"

#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class RunProgressTest : public testing::Test
{
protected:
    void addFile(const std::string& in_strName, std::size_t in_uiSize)
    {
        m_vInputs.push_back({m_dir.write(in_strName, std::string(in_uiSize, 'x')), {}});
    }

    Progress makeProgress(ProgressMode in_mode)
    {
        return Progress(m_stream, in_mode, false, [this] { return m_dNow; });
    }

    // The line that was shown last.
    std::string takeLine()
    {
        const std::string strText = m_stream.str();
        m_stream.str("");
        return strText;
    }

    Corvana::Test::TempDir m_dir;
    std::vector<Input> m_vInputs;
    std::ostringstream m_stream;
    double m_dNow = 0.0;
};

TEST_F(RunProgressTest, SumsUpWhatItsPartsHaveDone)
{
    addFile("long.wav", 3000);
    addFile("short.wav", 1000);
    Progress progress = makeProgress(ProgressMode::ALWAYS);
    RunProgress run(progress, m_vInputs, 0, 2);
    RunProgress::Part first(run);
    RunProgress::Part second(run);
    first.begin(0);
    second.begin(1);

    m_dNow = 2.0;
    first.update(0.5, 15.0, "long.wav");
    EXPECT_THAT(takeLine(), StartsWith("corvana: 38%, 0/2 files, 7.5 x real time, "));
    m_dNow = 4.0;
    second.update(0.5, 5.0, "short.wav");
    EXPECT_THAT(takeLine(), StartsWith("corvana: 50%, 0/2 files, 5.0 x real time, 4 s left"));
    second.end(10.0);
    run.take(true);
    m_dNow = 6.0;
    first.update(0.75, 22.5, "long.wav");
    EXPECT_THAT(takeLine(), StartsWith("corvana: 81%, 1/2 files, 1 failed, 5.4 x real time, 1 s left"));
}

TEST_F(RunProgressTest, CountsOnlyTheInputsOfItsShard)
{
    addFile("a.wav", 1000000);
    addFile("b.wav", 1000);
    addFile("c.wav", 1000);
    Progress progress = makeProgress(ProgressMode::ALWAYS);
    RunProgress run(progress, m_vInputs, 1, 3);
    RunProgress::Part part(run);
    part.begin(1);
    part.end(1.0);
    part.begin(2);

    m_dNow = 2.0;
    part.update(0.5, 1.5, "c.wav");

    EXPECT_THAT(takeLine(), StartsWith("corvana: 75%, 0/2 files"));
}

TEST_F(RunProgressTest, TellsProgramsAllFiguresInALine)
{
    addFile("a.wav", 1000);
    addFile("b\"\xff.wav", 1000);
    Progress progress = makeProgress(ProgressMode::JSON);
    RunProgress run(progress, m_vInputs, 0, 2);
    RunProgress::Part part(run);
    part.begin(0);
    part.end(10.0);
    run.take(true);
    part.begin(1);
    m_dNow = 2.0;
    part.update(0.5, 15.0, "b\"\xff.wav");

    const nlohmann::json expected = {{"files", 2},
                                     {"files_done", 1},
                                     {"files_failed", 1},
                                     {"fraction", 0.75},
                                     {"audio_seconds", 15.0},
                                     {"elapsed_seconds", 2.0},
                                     {"seconds_left", 0.667},
                                     {"file", "b\"\xEF\xBF\xBD.wav"},
                                     {"finished", false}};
    EXPECT_EQ(nlohmann::json::parse(takeLine()), expected);
    part.end(20.0);
    run.take(false);
    run.finish();
    const nlohmann::json last = nlohmann::json::parse(takeLine());
    EXPECT_EQ(last["finished"], true);
    EXPECT_EQ(last["files_done"], 2);
    EXPECT_EQ(last["audio_seconds"], 20.0);
    EXPECT_EQ(last["file"], nlohmann::json());
}

TEST_F(RunProgressTest, DoesNotTellProgramsThatWorkWhichWasStoppedIsComplete)
{
    addFile("a.wav", 1000);
    addFile("b.wav", 1000);
    Progress progress = makeProgress(ProgressMode::JSON);
    RunProgress run(progress, m_vInputs, 0, 2);
    run.take(true);
    run.finish();
    const nlohmann::json last = nlohmann::json::parse(takeLine());
    EXPECT_EQ(last["finished"], true);
    EXPECT_EQ(last["files_done"], 1);
    EXPECT_EQ(last["fraction"], nlohmann::json());
    EXPECT_EQ(last["seconds_left"], nlohmann::json());
}

TEST_F(RunProgressTest, TellsNoTimeLeftWhenALengthIsNotKnown)
{
    addFile("a.wav", 1000);
    m_vInputs.push_back({"-", {}});
    Progress progress = makeProgress(ProgressMode::JSON);
    RunProgress run(progress, m_vInputs, 0, 2);
    RunProgress::Part part(run);
    part.begin(0);
    m_dNow = 2.0;

    part.update(0.5, 15.0, "a.wav");

    const nlohmann::json line = nlohmann::json::parse(takeLine());
    EXPECT_EQ(line["fraction"], nlohmann::json());
    EXPECT_EQ(line["seconds_left"], nlohmann::json());
}

TEST_F(RunProgressTest, CountsVeryManyFilesAlikeWithoutLookingAtThem)
{
    m_vInputs.assign(20000, {"/none", {}});
    Progress progress = makeProgress(ProgressMode::ALWAYS);
    RunProgress run(progress, m_vInputs, 0, m_vInputs.size());
    RunProgress::Part part(run);
    for (std::size_t uiInput = 0; uiInput < 5000; ++uiInput) {
        part.begin(uiInput);
        part.end(1.0);
        run.take(false);
    }
    m_dNow = 2.0;

    part.update(1.0, 1.0, "x");

    EXPECT_THAT(takeLine(), HasSubstr("corvana: 25%, 5000/20000 files"));
}

} // namespace
} // namespace Corvana::Tools
