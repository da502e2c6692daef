// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotReader.h"

#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/LogBridge.h"
#include "tools/Messages.h"
#include "tools/Progress.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;

class PlotReaderTest : public testing::Test
{
protected:
    // Silence at 8000 samples per second.
    std::string makeFile(std::size_t in_uiNbOfSamples)
    {
        return Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Math::DoubleVector(in_uiNbOfSamples), 8000,
                                             Corvana::Test::WAV_PCM16);
    }

    PlotRecording read(const std::string& in_strPath, double in_dDone = 0.0, double in_dShare = 1.0)
    {
        PlotReader reader(m_options, m_features, m_log, m_messages, m_progress);
        PlotRecording recording;
        bool bDrawable = false;
        EXPECT_EQ(reader.read(in_strPath, in_dDone, in_dShare, recording, bDrawable), "");
        EXPECT_TRUE(bDrawable);
        return recording;
    }

    // Each update of the progress, since its clock goes on by a second each time that it is read.
    std::vector<nlohmann::json> updates() const
    {
        std::vector<nlohmann::json> vFractions;
        std::istringstream lines(m_shown.str());
        for (std::string strLine; std::getline(lines, strLine);)
            vFractions.push_back(nlohmann::json::parse(strLine)["fraction"]);
        return vFractions;
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_said;
    std::ostringstream m_shown;
    double m_dSeconds = 0.0;
    Messages m_messages{m_said, false};
    Progress m_progress{m_shown, ProgressMode::JSON, false, [this] { return m_dSeconds += 1.0; }};
    LogBridge m_log{m_messages, s_iLogOff};
    FeatureSet m_features;
    PlotReader::Options m_options;
};

TEST_F(PlotReaderTest, PutsCurvesAtTheMiddlesOfWindowsThatOverlap)
{
    ASSERT_TRUE(m_features.configure({"silenceratio"}, {}, m_messages));
    m_options.m_uiNbOfColumns = 1000;
    m_options.m_windows.m_uiWindowMs = 16;
    m_options.m_windows.m_uiOverlapMs = 12;

    std::vector<double> vTimes = read(makeFile(400)).m_vCurveTimes;

    std::erase_if(vTimes, [](double in_dTime) { return std::isnan(in_dTime); });
    vTimes.resize(4);
    EXPECT_THAT(vTimes, ElementsAre(DoubleNear(0.008, 1e-12), DoubleNear(0.012, 1e-12), DoubleNear(0.016, 1e-12),
                                    DoubleNear(0.020, 1e-12)));
}

TEST_F(PlotReaderTest, CountsTheSecondsThatItReads)
{
    const std::string strFile = makeFile(4UL * 16384);
    m_options.m_from = 6.144;
    PlotReader reader(m_options, m_features, m_log, m_messages, m_progress);
    for (const double dRead : {2.048, 4.096}) {
        PlotRecording recording;
        bool bDrawable = false;
        EXPECT_EQ(reader.read(strFile, 0.0, 1.0, recording, bDrawable), "");
        EXPECT_NEAR(reader.getAudioSeconds(), dRead, 0.1); // and a little before, for the spectrogram
    }
}

TEST_F(PlotReaderTest, RefusesARecordingThatDoesNotTellItsLength)
{
    constexpr int iFlac = 0x170002;
    std::ostringstream whole;
    whole << std::ifstream(
                 Corvana::Test::writeSoundFile(m_dir.file("whole.flac"), Math::DoubleVector(8000), 8000, iFlac),
                 std::ios::binary)
                 .rdbuf();
    std::string strBytes = whole.str();
    // The number of samples, 36 bits, as an encoder leaves it that cannot go back.
    strBytes[21] = static_cast<char>(strBytes[21] & 0xF0);
    strBytes.replace(22, 4, 4, '\0');
    PlotReader reader(m_options, m_features, m_log, m_messages, m_progress);
    PlotRecording recording;
    bool bDrawable = true;

    EXPECT_EQ(reader.read(m_dir.write("a.flac", strBytes), 0.0, 1.0, recording, bDrawable),
              "does not tell its length; convert it with 'sox IN OUT'");
    EXPECT_FALSE(bDrawable);
}

TEST_F(PlotReaderTest, TellsItsPartOfAllWork)
{
    read(makeFile(2UL * 16384), 0.25, 0.5); // read in two pieces

    EXPECT_THAT(updates(), ElementsAre(0.5, 0.75));
}

TEST_F(PlotReaderTest, TellsNoPartWhereTheWorkIsNotKnown)
{
    read(makeFile(2UL * 16384), 0.0, -1.0);

    EXPECT_THAT(updates(), ElementsAre(nullptr, nullptr));
}

TEST_F(PlotReaderTest, GivesHalfOfItsPartToTheCurves)
{
    ASSERT_TRUE(m_features.configure({"silenceratio"}, {}, m_messages));

    read(makeFile(2UL * 16384), 0.0, 1.0);

    std::vector<nlohmann::json> vUpdates = updates();
    ASSERT_GE(vUpdates.size(), 4U);
    EXPECT_EQ(vUpdates[0], 0.25);
    EXPECT_EQ(vUpdates[1], 0.5);
    vUpdates.erase(vUpdates.begin(), vUpdates.begin() + 2);
    EXPECT_THAT(vUpdates, Each(Ge(0.5)));
    EXPECT_EQ(vUpdates.back(), 1.0);
}

} // namespace
} // namespace Corvana::Tools
