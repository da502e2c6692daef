// SPDX-License-Identifier: Apache-2.0
// Labels of moments, and the column of labels that features and eval write.
#include "tools/WindowLabels.h"

#include "corvana/AudioAnnotation.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"
#include "tools/Messages.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>
#include <sys/stat.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Annotation = Audio::AnnotatedFile::Annotation;

class WindowLabelsTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    std::string makeFile(const std::string& in_strName, const std::vector<Annotation>& in_vRegions,
                         unsigned long in_uiNbOfSamples = 8000, int in_iSampleRate = 8000,
                         int in_iFormat = Corvana::Test::WAV_PCM16)
    {
        const std::string strFile = Corvana::Test::writeSoundFile(
            m_dir.file(in_strName), Corvana::Test::noise(in_uiNbOfSamples), in_iSampleRate, in_iFormat);
        for (const Annotation& region : in_vRegions)
            EXPECT_TRUE(Audio::AnnotatedFile::addAnnotation(strFile.c_str(), region));
        return strFile;
    }

    std::string read(const std::string& in_strFile)
    {
        Messages messages(m_messages, false);
        LogBridge log(messages, s_iLogOff);
        log.beginInput(in_strFile);
        bool bSystemFailed = false;
        return m_labels.read(in_strFile, log, bSystemFailed);
    }

    std::vector<std::string> labelsAt(double in_dSeconds)
    {
        const std::vector<std::string> vFormer = m_labels.get();
        const bool bChanged = m_labels.advanceTo(in_dSeconds);
        EXPECT_EQ(bChanged, m_labels.get() != vFormer);
        return m_labels.get();
    }

    // The last column but one of the rows, by their times.
    std::vector<std::string> labelsOfRows() const
    {
        std::vector<std::string> vLabels;
        std::istringstream rows(m_data.str());
        std::string strRow;
        std::getline(rows, strRow);
        while (std::getline(rows, strRow)) {
            const std::size_t uiEnd = strRow.rfind(',');
            const std::size_t uiBegin = strRow.rfind(',', uiEnd - 1) + 1;
            vLabels.push_back(strRow.substr(uiBegin, uiEnd - uiBegin));
        }
        return vLabels;
    }

    Corvana::Test::TempDir m_dir;
    WindowLabels m_labels;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(WindowLabelsTest, CoverTheirStartButNotTheirStop)
{
    EXPECT_EQ(read(makeFile("a.wav", {{Annotation::VOICE, 0.25, 0.5}})), "");

    EXPECT_THAT(labelsAt(0.2499), IsEmpty());
    EXPECT_THAT(labelsAt(0.25), ElementsAre("VOICE"));
    EXPECT_THAT(labelsAt(0.4999), ElementsAre("VOICE"));
    EXPECT_THAT(labelsAt(0.5), IsEmpty());
}

TEST_F(WindowLabelsTest, StandInTheFilesOrderWhereRegionsOverlap)
{
    EXPECT_EQ(read(makeFile("a.wav", {{Annotation::NOISE, 0.5, 0.75},
                                      {Annotation::VOICE, 0.25, 0.625},
                                      {Annotation::SF_7, 0.125, 1.0},
                                      {Annotation::VOICE, 0.5, 0.625}})),
              "");

    EXPECT_THAT(labelsAt(0.125), ElementsAre("SF_7"));
    EXPECT_THAT(labelsAt(0.3), ElementsAre("VOICE", "SF_7"));
    EXPECT_THAT(labelsAt(0.5), ElementsAre("NOISE", "VOICE", "SF_7", "VOICE"));
    EXPECT_THAT(labelsAt(0.625), ElementsAre("NOISE", "SF_7"));
    EXPECT_THAT(labelsAt(0.8), ElementsAre("SF_7"));
    EXPECT_THAT(labelsAt(1.0), IsEmpty());
}

TEST_F(WindowLabelsTest, LeaveOutRegionsBetweenTwoMoments)
{
    EXPECT_EQ(read(makeFile("a.wav", {{Annotation::VOICE, 0.25, 0.26}, {Annotation::NOISE, 0.5, 0.5}})), "");

    EXPECT_THAT(labelsAt(0.0), IsEmpty());
    EXPECT_THAT(labelsAt(0.5), IsEmpty());
}

TEST_F(WindowLabelsTest, BeginAnewWithEachFile)
{
    EXPECT_EQ(read(makeFile("a.wav", {{Annotation::VOICE, 0.0, 1.0}})), "");
    EXPECT_THAT(labelsAt(0.9), ElementsAre("VOICE"));
    EXPECT_EQ(read(makeFile("b.wav", {{Annotation::NOISE, 0.0, 0.5}})), "");
    EXPECT_THAT(labelsAt(0.1), ElementsAre("NOISE"));
    EXPECT_NE(read(m_dir.file("none.wav")), "");
    EXPECT_THAT(labelsAt(0.1), IsEmpty());
}

// ---- The column

TEST_F(WindowLabelsTest, StandBehindTheTime)
{
    const std::string strFile =
        makeFile("a.wav", {{Annotation::VOICE, 0.0, 0.04}, {Annotation::BEEP, 0.02, 0.03}}, 384);

    EXPECT_EQ(run({"features", "--labels", "-f", "silenceratio", strFile}), EXIT_DONE);

    EXPECT_THAT(m_data.str(), StartsWith("file,time,labels,silenceratio\n" + strFile + ",0.016,VOICE,"));
    EXPECT_THAT(labelsOfRows(), ElementsAre("VOICE", "VOICE;BEEP", ""));
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(WindowLabelsTest, AreAnArrayInJson)
{
    const std::string strFile = makeFile("a.wav", {{Annotation::VOICE, 0.0, 0.03}, {Annotation::BEEP, 0.0, 0.01}}, 384);

    EXPECT_EQ(run({"eval", "--labels", "--format", "jsonl", "size(x)", strFile}), EXIT_DONE);

    std::istringstream rows(m_data.str());
    std::vector<nlohmann::json> vLabels;
    for (std::string strRow; std::getline(rows, strRow);)
        vLabels.push_back(nlohmann::json::parse(strRow)["labels"]);
    EXPECT_THAT(vLabels,
                ElementsAre(nlohmann::json({"VOICE", "BEEP"}), nlohmann::json({"VOICE"}), nlohmann::json::array()));
}

TEST_F(WindowLabelsTest, AreThoseOfTheMiddleToTheSampleAlsoLateInAFile)
{
    // Windows of 128 samples: the middle of the 501st, from 0, is sample 64192.
    const std::string strFile = makeFile(
        "a.wav", {{Annotation::VOICE, 64192 / 8000.0, 64193 / 8000.0}, {Annotation::NOISE, 0, 64192 / 8000.0}}, 80000);

    EXPECT_EQ(run({"eval", "--labels", "size(x)", strFile}), EXIT_DONE);

    const std::vector<std::string> vLabels = labelsOfRows();
    ASSERT_EQ(vLabels.size(), 625U);
    EXPECT_EQ(vLabels[500], "NOISE");
    EXPECT_EQ(vLabels[501], "VOICE");
    EXPECT_EQ(vLabels[502], "");
}

TEST_F(WindowLabelsTest, CountTheOverlapOfWindows)
{
    // 32 ms with 24 ms in common: a window every 64 samples, its middle 128 samples behind its start.
    const std::string strFile = makeFile("a.wav", {{Annotation::VOICE, 6528 / 8000.0, 6529 / 8000.0}});

    EXPECT_EQ(run({"eval", "--labels", "--window-ms", "32", "--overlap-ms", "24", "size(x)", strFile}), EXIT_DONE);

    const std::vector<std::string> vLabels = labelsOfRows();
    EXPECT_EQ(std::count(vLabels.begin(), vLabels.end(), "VOICE"), 1);
    EXPECT_EQ(vLabels.at(100), "VOICE");
}

TEST_F(WindowLabelsTest, FollowTheSamplesWhereWholeMillisecondsDoNot)
{
    // At 11025 Hz a window of 16 ms holds 176 samples, which last 15.96 ms: after a minute that is a difference of 9
    // windows. The middle of window 3696 is sample 650584.
    const std::string strFile =
        makeFile("a.wav", {{Annotation::VOICE, 650584 / 11025.0, 650585 / 11025.0}}, 661500, 11025);

    EXPECT_EQ(run({"eval", "--labels", "size(x)", strFile}), EXIT_DONE);
    EXPECT_EQ(labelsOfRows().at(3696), "VOICE");

    // Windows cut as for 8000 Hz, 128 samples: the middle of window 5082 is sample 650560.
    const std::string strOther =
        makeFile("b.wav", {{Annotation::VOICE, 650560 / 11025.0, 650561 / 11025.0}}, 661500, 11025);
    EXPECT_EQ(run({"eval", "-q", "--labels", "--sample-rate", "8000", "size(x)", strOther}), EXIT_DONE);
    EXPECT_EQ(labelsOfRows().at(5082), "VOICE");
}

TEST_F(WindowLabelsTest, AreEmptyWithOneWarningWhereRegionsCannotBeRead)
{
    const std::string strSound = makeFile("a.au", {}, 384, 8000, Corvana::Test::AU_PCM16);
    const std::string strWav = makeFile("b.wav", {{Annotation::VOICE, 0.0, 0.048}}, 384);

    EXPECT_EQ(run({"eval", "--labels", "size(x)", strSound, strWav}), EXIT_DONE);

    EXPECT_THAT(labelsOfRows(), ElementsAre("", "", "", "VOICE", "VOICE", "VOICE"));
    EXPECT_THAT(m_messages.str(),
                StartsWith("corvana: " + strSound + ": warning: no labels, since its regions cannot be read: "));
    const std::string strMessages = m_messages.str();
    EXPECT_EQ(std::count(strMessages.begin(), strMessages.end(), '\n'), 1);
}

TEST_F(WindowLabelsTest, AreNotReadFromStandardInputOrAPipe)
{
    EXPECT_EQ(run({"features", "--labels", "-"}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: --labels reads regions from files, which standard input is not\n");

    ASSERT_EQ(mkfifo(m_dir.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(read(m_dir.file("pipe")), "is no regular file");
}

TEST_F(WindowLabelsTest, KeepTheNameOfTheirColumnToThemselves)
{
    const std::string strFile = makeFile("a.wav", {}, 384);
    EXPECT_EQ(run({"features", "--labels", "--expr", "labels=size(x)", strFile}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("the name 'labels' would be that of two columns"));
    EXPECT_EQ(run({"features", "--expr", "labels=size(x)", strFile}), EXIT_DONE);
}

} // namespace
} // namespace Corvana::Tools
