// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandInfo.h"

#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::StartsWith;

class CommandInfoTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vInputs, bool in_bJson = false)
    {
        CommandInfo::Options options;
        options.m_vInputs = in_vInputs;
        options.m_bJson = in_bJson;
        return CommandInfo::run(options, m_data, m_messages);
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandInfoTest, TellsWhatARecordingIs)
{
    const std::string strFile =
        Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(1000), 8000, Corvana::Test::WAV_ULAW);

    EXPECT_EQ(run({strFile}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strFile + "\n"
                                      "  format          WAV (Microsoft) (.wav) U-Law\n"
                                      "  sample rate     8000 Hz\n"
                                      "  frames          1000\n"
                                      "  duration        0.125 s\n"
                                      "  clipping level  0.980347\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandInfoTest, TellsLongDurationsInMinutesToo)
{
    const std::string strFile = Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Math::DoubleVector(61000, 0.0), 1000,
                                                              Corvana::Test::WAV_PCM16);

    EXPECT_EQ(run({strFile}), EXIT_DONE);

    EXPECT_THAT(m_data.str(), testing::HasSubstr("  duration        61 s (1 min 01 s)\n"));
}

TEST_F(CommandInfoTest, WritesJson)
{
    const std::string strFile =
        Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(1000), 16000, Corvana::Test::WAV_PCM16);

    EXPECT_EQ(run({strFile, strFile}, true), EXIT_DONE);

    const nlohmann::json json = nlohmann::json::parse(m_data.str());
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[1]["file"], strFile);
    EXPECT_EQ(json[1]["format"], "WAV (Microsoft) (.wav) Signed 16 bit PCM");
    EXPECT_EQ(json[1]["sample_rate"], 16000);
    EXPECT_EQ(json[1]["frames"], 1000);
    EXPECT_EQ(json[1]["duration"], 0.0625);
    EXPECT_EQ(json[1]["clipping_level"], 0.999969);
}

TEST_F(CommandInfoTest, GoesOnAfterAFileThatFails)
{
    const std::string strGood = Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(10));
    const std::string strStereo =
        Corvana::Test::writeSoundFile(m_dir.file("s.wav"), Corvana::Test::noise(10), 8000, Corvana::Test::WAV_PCM16, 2);

    EXPECT_EQ(run({strStereo, strGood}), EXIT_SOME_FAILED);

    EXPECT_THAT(m_data.str(), StartsWith(strGood));
    EXPECT_EQ(m_messages.str(), "corvana: " + strStereo + ": Audio file is not mono (more than 1 channel)\n");
}

TEST_F(CommandInfoTest, WritesAnEmptyJsonArrayWhenAllFail)
{
    EXPECT_EQ(run({m_dir.path()}, true), EXIT_SOME_FAILED);
    EXPECT_EQ(m_data.str(), "[]\n");
}

TEST_F(CommandInfoTest, WantsAtLeastOneRecording)
{
    EXPECT_EQ(run({}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: no recording given: name at least one\n");
}

} // namespace
} // namespace Corvana::Tools
