// SPDX-License-Identifier: Apache-2.0
// What becomes of reading when the system fails in the middle of a recording.
#include "corvana/AudioFileReader.h"
#include "corvana/AudioWindowedFileReader.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::LogCapture;
using Test::SystemCalls;
using Test::TempDir;
using Test::writeSoundFile;
using testing::ElementsAre;

constexpr unsigned long s_uiNbOfFrames = 4000;

class AudioFileReaderSystemTest : public testing::TestWithParam<int>
{
protected:
    AudioFileReaderSystemTest()
        : m_strFile(writeSoundFile(m_dir.file("sound"), DoubleVector(s_uiNbOfFrames, 0.25), 8000, GetParam()))
    {
    }

    // Reads on; returns how many frames came.
    static unsigned long readAll(AudioFileReader& inout_reader)
    {
        unsigned long uiNbOfFrames = 0;
        DoubleVector vFrames;
        while (inout_reader.getNextLinearFrames(vFrames))
            uiNbOfFrames += vFrames.size();
        return uiNbOfFrames;
    }

    std::string message() const { return "Could not read on, System error : Input/output error : " + m_strFile; }

    const TempDir m_dir;
    const std::string m_strFile;
};

TEST_P(AudioFileReaderSystemTest, HasNoReadErrorAtTheEndOfAFile)
{
    const LogCapture log("kestrivon", 30000);
    AudioFileReader reader;
    EXPECT_FALSE(reader.hasReadError());
    ASSERT_TRUE(reader.setSourceAudioFile(m_strFile.c_str()));

    EXPECT_EQ(readAll(reader), s_uiNbOfFrames);

    EXPECT_TRUE(reader.atEnd());
    EXPECT_FALSE(reader.hasReadError());
    EXPECT_THAT(log.texts(), ElementsAre());
}

TEST_P(AudioFileReaderSystemTest, TellsAReadErrorFromTheEndOfTheFile)
{
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(m_strFile.c_str()));
    DoubleVector vFrames;
    ASSERT_TRUE(reader.getNextLinearFrames(vFrames));
    EXPECT_FALSE(reader.hasReadError());
    const LogCapture log("kestrivon", 30000);

    const SystemCalls failing("read", EIO);
    EXPECT_LT(vFrames.size() + readAll(reader), s_uiNbOfFrames);

    EXPECT_TRUE(reader.atEnd());
    EXPECT_TRUE(reader.hasReadError());
    EXPECT_THAT(log.texts(), ElementsAre(message()));
}

TEST_P(AudioFileReaderSystemTest, ForgetsAReadErrorWhenItIsRewoundOrAnotherFileIsOpened)
{
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(m_strFile.c_str()));
    for (const bool bOpen : {false, true}) {
        {
            const SystemCalls failing("read", EIO);
            readAll(reader);
        }
        ASSERT_TRUE(reader.hasReadError());

        EXPECT_TRUE(bOpen ? reader.setSourceAudioFile(m_strFile.c_str()) : reader.gotoStart());

        EXPECT_FALSE(reader.hasReadError());
        EXPECT_EQ(readAll(reader), s_uiNbOfFrames);
        EXPECT_FALSE(reader.hasReadError());
        ASSERT_TRUE(reader.gotoStart());
    }
}

TEST_P(AudioFileReaderSystemTest, HasNoReadErrorWithoutAFile)
{
    AudioFileReader reader;
    ASSERT_TRUE(reader.setSourceAudioFile(m_strFile.c_str()));
    {
        const SystemCalls failing("read", EIO);
        readAll(reader);
        EXPECT_FALSE(reader.setSourceAudioFile(m_strFile.c_str()));
    }
    EXPECT_FALSE(reader.hasReadError());
    EXPECT_EQ(readAll(reader), 0U);
    EXPECT_FALSE(reader.hasReadError());
}

TEST_P(AudioFileReaderSystemTest, HandsOutTheWindowsBeforeAReadError)
{
    WindowedAudioFileReader reader;
    LinearAudioWindower::Config config;
    config.m_uiSampleRate = 8000;
    config.m_uiWindowSizeMs = 20;
    ASSERT_TRUE(reader.configure(config));
    ASSERT_TRUE(reader.setSourceAudioFile(m_strFile.c_str()));
    DoubleVector vWindow;
    ASSERT_TRUE(reader.getNextWindow(vWindow));

    const SystemCalls failing("read", EIO);
    while (reader.getNextWindow(vWindow)) {
    }

    EXPECT_TRUE(reader.hasReadError());
}

INSTANTIATE_TEST_SUITE_P(Of, AudioFileReaderSystemTest,
                         testing::Values(Corvana::Test::WAV_PCM16, Corvana::Test::WAV_ULAW, Corvana::Test::WAV_DOUBLE,
                                         Corvana::Test::AU_PCM16),
                         [](const auto& in_info) { return "Format" + std::to_string(in_info.index); });

} // namespace
} // namespace Corvana::Audio
