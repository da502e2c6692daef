// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandFeatures.h"

#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/NumberText.h"
#include "infra/ExhaustibleMemory.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/ExitCode.h"
#include "tools/FeatureSet.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A buffer that takes a number of bytes and then fails, as a disk does that fills up.
class LimitedBuf : public std::streambuf
{
public:
    explicit LimitedBuf(std::size_t in_uiLimit)
        : m_uiLimit(in_uiLimit)
    {
    }

protected:
    int_type overflow(int_type in_iLetter) override { return m_uiLimit-- > 0 ? in_iLetter : traits_type::eof(); }

private:
    std::size_t m_uiLimit;
};

std::vector<std::string> linesOf(const std::string& in_strText)
{
    std::istringstream stream(in_strText);
    std::vector<std::string> vLines;
    for (std::string strLine; std::getline(stream, strLine);)
        vLines.push_back(strLine);
    return vLines;
}

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

class CommandFeaturesTest : public testing::Test
{
protected:
    int run()
    {
        m_data.str("");
        m_messages.str("");
        return CommandFeatures::run(m_options, m_data, m_messages);
    }

    std::string noiseFile(const std::string& in_strName, unsigned long in_uiNbOfSamples, int in_iSampleRate = 8000)
    {
        return Corvana::Test::writeSoundFile(m_dir.file(in_strName), Corvana::Test::noise(in_uiNbOfSamples),
                                             in_iSampleRate);
    }

    // The rows that the library's own classes give, windows cut and features computed directly.
    std::string rowsFromTheLibrary(const std::string& in_strPath)
    {
        Audio::LinearAudioWindower::Config config;
        config.m_uiSampleRate = m_options.m_windows.m_uiSampleRate == 0 ? 8000 : m_options.m_windows.m_uiSampleRate;
        config.m_uiWindowSizeMs = m_options.m_windows.m_uiWindowMs;
        config.m_uiWindowOverlapMs = m_options.m_windows.m_uiOverlapMs;
        config.m_bSuppressDCOffset = m_options.m_windows.m_bSuppressDC;
        Audio::WindowedAudioFileReader reader;
        EXPECT_TRUE(reader.configure(config));
        EXPECT_TRUE(reader.setSourceAudioFile(in_strPath.c_str()));
        Math::SignalFeaturePool pool;
        pool.addFactory(new Audio::AudioFeatureFactory);
        std::vector<std::unique_ptr<Math::SignalFeature>> vFeatures;
        for (const std::string& strDescription : m_options.m_vFeatures)
            vFeatures.emplace_back(pool.getNewFeature(strDescription.c_str()));

        std::string strRows;
        Math::DoubleVector vWindow;
        while (reader.getNextWindow(vWindow)) {
            Math::DoubleVector vValues;
            for (const auto& pFeature : vFeatures)
                EXPECT_TRUE(pFeature->compute(vWindow, vValues));
            strRows += in_strPath + "," + toShortestText(reader.getCurrentAudioTime());
            for (const double dValue : vValues) {
                strRows += ',';
                strRows += toShortestText(dValue);
            }
            strRows += "\n";
        }
        return strRows;
    }

    std::string rows() const { return m_data.str().substr(m_data.str().find('\n') + 1); }

    Corvana::Test::ScopedEnvironment m_noDataFolder{"CORVANA_CPA_DATA", nullptr};
    Corvana::Test::TempDir m_dir;
    CommandFeatures::Options m_options;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandFeaturesTest, WritesTheLibrarysValuesBitForBit)
{
    const std::string strFile = noiseFile("a.wav", 4000);
    m_options.m_vInputs = {strFile};
    m_options.m_vFeatures = {"spectrum", "spectrum100hz", "spectrum200hz", "spectrum500hz", "spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(linesOf(m_data.str()).size(), 1U + 4000 / 128);
    EXPECT_EQ(rows(), rowsFromTheLibrary(strFile));
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandFeaturesTest, WritesTheLibrarysValuesForEveryFeatureOfTheTable)
{
    const std::string strFile = noiseFile("a.wav", 4000);
    m_options.m_vInputs = {strFile};
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        m_options.m_vFeatures.push_back(description.m_szExample);
    std::sort(m_options.m_vFeatures.begin(), m_options.m_vFeatures.end());
    m_options.m_vFeatures.erase(std::unique(m_options.m_vFeatures.begin(), m_options.m_vFeatures.end()),
                                m_options.m_vFeatures.end());

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), rowsFromTheLibrary(strFile));
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandFeaturesTest, CutsWindowsAsAskedFor)
{
    const std::string strFile = noiseFile("a.wav", 4000);
    m_options.m_vInputs = {strFile};
    m_options.m_vFeatures = {"spectrum|flatness"};
    m_options.m_windows.m_uiWindowMs = 32;
    m_options.m_windows.m_uiOverlapMs = 12;
    m_options.m_windows.m_bSuppressDC = true;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), rowsFromTheLibrary(strFile));
    EXPECT_THAT(linesOf(rows())[1], StartsWith(strFile + ",0.052000000000000005,"));
}

TEST_F(CommandFeaturesTest, GivesTheSameRowsForEveryReadFactor)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    m_options.m_windows.m_uiOverlapMs = 8;
    run();
    const std::string strRows = m_data.str();
    for (const unsigned long uiFactor : {2UL, 7UL, 1000UL}) {
        m_options.m_windows.m_uiReadFactor = uiFactor;
        EXPECT_EQ(run(), EXIT_DONE);
        EXPECT_EQ(m_data.str(), strRows) << uiFactor;
    }
}

TEST_F(CommandFeaturesTest, RunsADefaultSet)
{
    m_options.m_vInputs = {noiseFile("a.wav", 256)};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_data.str(), StartsWith("file,time,spectrum500hz[0],"));
    EXPECT_THAT(linesOf(m_data.str())[0], EndsWith(",spectrum500hz[7],spectrum|flatness"));
    EXPECT_EQ(linesOf(m_data.str()).size(), 3U);
}

TEST_F(CommandFeaturesTest, WritesJsonLines)
{
    const std::string strFile = noiseFile("a.wav", 256);
    m_options.m_vInputs = {strFile};
    m_options.m_format = RowFormat::JSONL;

    EXPECT_EQ(run(), EXIT_DONE);

    const std::vector<std::string> vLines = linesOf(m_data.str());
    ASSERT_EQ(vLines.size(), 2U);
    const nlohmann::json json = nlohmann::json::parse(vLines[1]);
    EXPECT_EQ(json["file"], strFile);
    EXPECT_EQ(json["time"], 0.032);
    EXPECT_EQ(json["spectrum500hz"].size(), 8U);
    EXPECT_TRUE(json["spectrum|flatness"].is_number());
}

TEST_F(CommandFeaturesTest, StartsFeaturesWithMemoryFreshInEveryFile)
{
    const std::string strFile = noiseFile("a.wav", 1280);
    m_options.m_vInputs = {strFile, strFile};
    m_options.m_vFeatures = {"spectrum|flatness|deltatoslidingmean", "zerocrossingrate",
                             "temporalamplitudedistribution"};

    EXPECT_EQ(run(), EXIT_DONE);

    const std::string strRows = rows();
    EXPECT_EQ(strRows.substr(0, strRows.size() / 2), strRows.substr(strRows.size() / 2));
    EXPECT_EQ(strRows.substr(0, strRows.size() / 2), rowsFromTheLibrary(strFile));
}

TEST_F(CommandFeaturesTest, WritesForEachOfSeveralRecordingsWhatItGivesAlone)
{
    const std::string strFirst = noiseFile("first.wav", 1280);
    const std::string strSecond =
        Corvana::Test::writeSoundFile(m_dir.file("second.wav"), Corvana::Test::sine(440.0, 8000.0, 1500), 8000);
    m_options.m_vInputs = {strFirst, strSecond, strFirst};
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions()) {
        SCOPED_TRACE(description.m_szExample);
        m_options.m_vFeatures = {description.m_szExample};
        EXPECT_EQ(run(), EXIT_DONE);
        EXPECT_EQ(rows(), rowsFromTheLibrary(strFirst) + rowsFromTheLibrary(strSecond) + rowsFromTheLibrary(strFirst));
    }
}

TEST_F(CommandFeaturesTest, WritesForRecordingsOfSeveralRatesWhatEachGivesAlone)
{
    const std::vector<std::string> vFiles = {noiseFile("a.wav", 1280), noiseFile("b.wav", 2560, 16000),
                                             noiseFile("c.wav", 1500)};
    m_options.m_vFeatures = {"spectrum|flatness"};
    std::string strAlone;
    for (const std::string& strFile : vFiles) {
        m_options.m_vInputs = {strFile};
        EXPECT_EQ(run(), EXIT_DONE);
        strAlone += rows();
    }
    m_options.m_vInputs = vFiles;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), strAlone);
}

TEST_F(CommandFeaturesTest, ReadsListsBehindTheInputs)
{
    const std::string strFirst = noiseFile("first.wav", 128);
    const std::string strSecond = noiseFile("second.wav", 128);
    m_options.m_vInputs = {strSecond};
    m_options.m_vLists = {m_dir.write("list.txt", "first.wav\nnone.wav\n")};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    const std::vector<std::string> vLines = linesOf(rows());
    ASSERT_EQ(vLines.size(), 2U);
    EXPECT_THAT(vLines[0], StartsWith(strSecond + ","));
    EXPECT_THAT(vLines[1], StartsWith(strFirst + ","));
    EXPECT_EQ(m_messages.str(), "corvana: none.wav: Could not open  file none.wav (relative path detected). "
                                "File will be skipped.\ncorvana: 1 of 3 inputs failed\n");
}

TEST_F(CommandFeaturesTest, NamesEachFailedInputAndCompletesTheOthers)
{
    const std::string strGood = noiseFile("good.wav", 256);
    const std::string strStereo = Corvana::Test::writeSoundFile(m_dir.file("stereo.wav"), Corvana::Test::noise(256),
                                                                8000, Corvana::Test::WAV_PCM16, 2);
    const std::string strText = m_dir.write("text.wav", "this is no sound, but a text");
    const std::string strEmpty = m_dir.write("empty.wav", "");
    m_options.m_vInputs = {strStereo, m_dir.file("none.wav"), strGood, strText, strEmpty, m_dir.path()};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(linesOf(rows()).size(), 2U);
    const std::vector<std::string> vMessages = linesOf(m_messages.str());
    ASSERT_EQ(vMessages.size(), 6U);
    EXPECT_EQ(vMessages[0], "corvana: " + strStereo + ": Audio file is not mono (more than 1 channel)");
    EXPECT_THAT(vMessages[1], AllOf(StartsWith("corvana: " + m_dir.file("none.wav") + ": failed to open "),
                                    EndsWith(" (No such file or directory)")));
    EXPECT_THAT(vMessages[2], StartsWith("corvana: " + strText + ": failed to open " + strText + ", "));
    EXPECT_THAT(vMessages[3], StartsWith("corvana: " + strEmpty + ": failed to open " + strEmpty + ", "));
    EXPECT_THAT(vMessages[4], StartsWith("corvana: " + m_dir.path() + ": is a folder, not a recording"));
    EXPECT_EQ(vMessages[5], "corvana: 5 of 6 inputs failed");
}

TEST_F(CommandFeaturesTest, WritesTheHeaderWhenNoRecordingOpens)
{
    m_options.m_vInputs = {m_dir.file("none.wav")};
    m_options.m_vFeatures = {"spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(), "file,time,spectrum|flatness\n");
}

TEST_F(CommandFeaturesTest, LeavesAFormerTableAsItWasWhenNoRecordingOpens)
{
    m_options.m_strOutput = m_dir.write("out.csv", "a good table");
    m_options.m_vInputs = {m_dir.file("mistyped.wav")};
    EXPECT_EQ(run(), EXIT_SOME_FAILED);
    EXPECT_EQ(contentsOf(m_options.m_strOutput), "a good table");
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: nothing is written: no recording could be analysed\n"));
}

TEST_F(CommandFeaturesTest, WritesNothingWhenNotEvenTheColumnsAreKnown)
{
    m_options.m_vInputs = {m_dir.file("none.wav")};
    m_options.m_windows.m_uiWindowMs = 20;
    m_options.m_strOutput = m_dir.file("out.csv");

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(), "");
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out.csv")));
    EXPECT_THAT(m_messages.str(), EndsWith("corvana: nothing is written: no recording could be analysed\n"));
}

TEST_F(CommandFeaturesTest, ExplainsFaultyDescriptionsBeforeItOpensAnything)
{
    m_options.m_vInputs = {m_dir.file("none.wav")};
    m_options.m_vFeatures = {"spectrm|flatness", "spectrum|flatness(1)"};
    m_options.m_strOutput = m_dir.file("no/folder/out.csv");

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_EQ(m_messages.str(),
              "corvana: unknown feature 'spectrm'; did you mean spectrum?\n"
              "  spectrm|flatness\n"
              "  ^~~~~~~\n"
              "corvana: flatness takes no parameters, not 1; it is written flatness, as in 'spectrum|flatness'\n"
              "  spectrum|flatness(1)\n"
              "                   ^~~\n"
              "'corvana list-features' shows all features and how they are written\n");
    EXPECT_EQ(m_data.str(), "");
}

TEST_F(CommandFeaturesTest, RefusesADescriptionGivenTwice)
{
    m_options.m_vInputs = {noiseFile("a.wav", 128)};
    m_options.m_vFeatures = {"spectrum", "spectrum"};

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_THAT(m_messages.str(), HasSubstr("the feature 'spectrum' is asked for twice"));
}

TEST_F(CommandFeaturesTest, ProposesWindowsForASpectrumAtTheRecordingsRate)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000), noiseFile("b.wav", 4000, 11025)};
    m_options.m_vFeatures = {"spectrum|flatness"};
    m_options.m_windows.m_uiWindowMs = 20;

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    const std::vector<std::string> vMessages = linesOf(m_messages.str());
    EXPECT_EQ(vMessages[0], "corvana: " + m_dir.file("a.wav") +
                                ": in 'spectrum|flatness', spectrum needs windows of a power of two samples, and 20 "
                                "ms at 8000 Hz are 160; at 8000 Hz these --window-ms give one: 8 ms (64), 16 ms "
                                "(128), 32 ms (256)");
    EXPECT_THAT(vMessages[1], AllOf(HasSubstr("20 ms at 11025 Hz are 220"), HasSubstr("sox IN -r 8000 OUT")));
}

TEST_F(CommandFeaturesTest, ChecksTheWindowBeforeAnyFileWhenTheRateIsGiven)
{
    m_options.m_vInputs = {m_dir.file("none.wav")};
    m_options.m_windows.m_uiWindowMs = 20;
    m_options.m_windows.m_uiSampleRate = 8000;

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_THAT(m_messages.str(),
                AllOf(StartsWith("corvana: spectrum500hz needs windows"), Not(HasSubstr("none.wav"))));
}

TEST_F(CommandFeaturesTest, AcceptsAnyWindowWithoutASpectrum)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    m_options.m_vFeatures = {"silenceratio"};
    m_options.m_windows.m_uiWindowMs = 20;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), rowsFromTheLibrary(m_dir.file("a.wav")));
}

TEST_F(CommandFeaturesTest, RefusesAnOverlapThatIsNotShorterThanTheWindow)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    m_options.m_windows.m_uiOverlapMs = 16;

    EXPECT_EQ(run(), EXIT_UNUSABLE);

    EXPECT_EQ(m_messages.str(),
              "corvana: the overlap (--overlap-ms 16) must be shorter than the window (--window-ms 16)\n");
}

TEST_F(CommandFeaturesTest, FailsAFileWhereTheOverlapIsAsManySamplesAsTheWindow)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000, 100)};
    m_options.m_vFeatures = {"silenceratio"};
    m_options.m_windows.m_uiOverlapMs = 15;

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(
        m_messages.str(),
        HasSubstr("at 100 Hz, an overlap of 15 ms is as many samples as a window of 16 ms; it must be shorter"));
}

TEST_F(CommandFeaturesTest, SaysOnceForAFileWhatTheNumbersMeanAtAnotherRate)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4096, 16000)};
    m_options.m_vFeatures = {"spectrum500hz", "spectrum200hz", "spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("a.wav") +
                                    ": warning: recorded at 16000 Hz, but spectrum500hz, spectrum200hz assume 8000 "
                                    "Hz, a spectrum from 0 to 4000 Hz; here it reaches 8000 Hz, so each frequency and "
                                    "width in Hz stands for 2 times as much\n");
}

TEST_F(CommandFeaturesTest, DoesNotWarnAboutFeaturesThatFitEveryRate)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4096, 16000)};
    m_options.m_vFeatures = {"spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandFeaturesTest, CutsWindowsForAGivenRateAndSaysWhatTheTimesMean)
{
    const std::string strFile = noiseFile("a.wav", 4096, 16000);
    m_options.m_vInputs = {strFile};
    m_options.m_vFeatures = {"spectrum|flatness"};
    m_options.m_windows.m_uiSampleRate = 8000;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), rowsFromTheLibrary(strFile));
    EXPECT_EQ(linesOf(rows()).size(), 32U);
    EXPECT_THAT(m_messages.str(), HasSubstr("recorded at 16000 Hz, but windows are cut as for 8000 Hz "
                                            "(--sample-rate): 16 ms of 'time' are 8 ms of the recording"));
}

TEST_F(CommandFeaturesTest, FailsARecordingWhoseColumnsDiffer)
{
    m_options.m_vInputs = {noiseFile("a.wav", 256), noiseFile("b.wav", 512, 16000), noiseFile("c.wav", 256)};
    m_options.m_vFeatures = {"spectrum"};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(linesOf(rows()).size(), 4U);
    EXPECT_EQ(linesOf(m_messages.str())[0],
              "corvana: " + m_dir.file("b.wav") +
                  ": its 16000 Hz give other columns than the recordings before it at 8000 Hz; analyse it in a run of "
                  "its own, convert it with 'sox IN -r 8000 OUT', or cut all windows alike with --sample-rate 8000");
}

TEST_F(CommandFeaturesTest, MixesRatesWhenTheColumnsAreTheSame)
{
    m_options.m_vInputs = {noiseFile("a.wav", 256), noiseFile("b.wav", 512, 16000)};
    m_options.m_vFeatures = {"spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(linesOf(rows()).size(), 4U);
}

TEST_F(CommandFeaturesTest, WarnsAboutARecordingShorterThanAWindow)
{
    m_options.m_vInputs = {noiseFile("a.wav", 127)};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(rows(), "");
    EXPECT_EQ(m_messages.str(),
              "corvana: " + m_dir.file("a.wav") + ": warning: shorter than one window of 16 ms: no rows\n");
}

TEST_F(CommandFeaturesTest, WarnsAboutASpectrumFeatureThatReadsSamples)
{
    m_options.m_vInputs = {noiseFile("a.wav", 128)};
    m_options.m_vFeatures = {"flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_messages.str(), HasSubstr("warning: in 'flatness', flatness reads the samples of the window; it is "
                                            "meant for a spectrum: 'spectrum|flatness'"));
}

TEST_F(CommandFeaturesTest, ExplainsAStageThatCannotReadTheOneBefore)
{
    m_options.m_vInputs = {noiseFile("a.wav", 128)};
    m_options.m_vFeatures = {"spectrum|deltatoslidingmean"};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(),
                HasSubstr("in 'spectrum|deltatoslidingmean', deltatoslidingmean reads exactly one value, and the "
                          "stage before it gives 64"));
}

TEST_F(CommandFeaturesTest, ShowsTheLibrarysReasonWhenAFeatureCannotWork)
{
    m_options.m_vInputs = {noiseFile("a.wav", 128)};
    m_options.m_vFeatures = {"spectrum|spectralrange(50,100)"};

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), HasSubstr("spectralrange(50,100) cannot work on 64 values: Assertion failed: "
                                            "uiCenterIndex>uiRangeWidth"));
}

TEST_F(CommandFeaturesTest, QuotesFileNamesThatNeedIt)
{
    const std::string strFile = noiseFile("one, \"two\".wav", 128);
    m_options.m_vInputs = {strFile};
    m_options.m_vFeatures = {"spectrum|flatness"};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(rows(), StartsWith("\"" + m_dir.path() + "/one, \"\"two\"\".wav\",0.016,"));
}

TEST_F(CommandFeaturesTest, KeepsQuietWhenAskedTo)
{
    m_options.m_vInputs = {noiseFile("a.wav", 127), m_dir.path()};
    m_options.m_messages.m_bQuiet = true;
    m_options.m_progress = ProgressMode::ALWAYS;

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_EQ(m_messages.str(),
              "corvana: " + m_dir.path() + ": is a folder, not a recording; --recursive takes the recordings in it\n");
}

TEST_F(CommandFeaturesTest, ShowsTheLibrarysLogAtDebug)
{
    m_options.m_vInputs = {noiseFile("a.wav", 128)};
    m_options.m_messages.m_iLogLevel = LOG_DEBUG;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_messages.str(), HasSubstr("] kestrivon.audio.AudioFileReader AudioFileReader:106 "));
    EXPECT_THAT(m_messages.str(), Not(HasSubstr("ENTER")));
}

TEST_F(CommandFeaturesTest, TellsTheSpeedAtTheEndWhenAlwaysAsked)
{
    m_options.m_vInputs = {noiseFile("a.wav", 8000), noiseFile("b.wav", 8000)};
    m_options.m_progress = ProgressMode::ALWAYS;

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_THAT(m_messages.str(), AllOf(HasSubstr("corvana: 2 s of audio, 2/2 files in "), EndsWith(" x real time\n")));
}

TEST_F(CommandFeaturesTest, WritesToANamedFile)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    run();
    const std::string strRows = m_data.str();
    m_options.m_strOutput = m_dir.file("out.csv");

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_data.str(), "");
    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), strRows);
}

TEST_F(CommandFeaturesTest, NeverOverwritesARecordingOrAList)
{
    const std::string strFile = noiseFile("a.wav", 4000);
    const std::string strSound = contentsOf(strFile);
    m_options.m_vLists = {m_dir.write("list.txt", "a.wav\n")};
    for (const std::string& strOutput : {strFile, m_dir.file("list.txt")}) {
        m_options.m_strOutput = strOutput;
        EXPECT_EQ(run(), EXIT_UNUSABLE);
        EXPECT_EQ(m_messages.str(), "corvana: " + strOutput + ": is both read and written; write to another file\n");
    }
    EXPECT_EQ(contentsOf(strFile), strSound);
    EXPECT_EQ(contentsOf(m_dir.file("list.txt")), "a.wav\n");
}

TEST_F(CommandFeaturesTest, ReportsAFullDeviceAndWantsANamedOutputThatOpens)
{
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    m_options.m_strOutput = "/dev/full";
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: /dev/full: No space left on device\n");
    m_options.m_strOutput = m_dir.file("none/out.csv");
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: " + m_options.m_strOutput + ": No such file or directory\n");
}

TEST_F(CommandFeaturesTest, NeverReportsSuccessForAShortWrite)
{
    m_options.m_vInputs = {noiseFile("a.wav", 1024)};
    run();
    const std::size_t uiLength = m_data.str().size();
    for (std::size_t uiLimit = 0; uiLimit < uiLength; uiLimit += 97) {
        LimitedBuf buffer(uiLimit);
        std::ostream data(&buffer);
        EXPECT_EQ(CommandFeatures::run(m_options, data, m_messages), EXIT_UNUSABLE) << uiLimit;
    }
    LimitedBuf buffer(uiLength);
    std::ostream data(&buffer);
    EXPECT_EQ(CommandFeatures::run(m_options, data, m_messages), EXIT_DONE);
}

TEST_F(CommandFeaturesTest, WantsAtLeastOneRecording)
{
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: no recording given: name at least one, or a list of them with --list FILE\n");
}

TEST_F(CommandFeaturesTest, FailsARecordingThatIsTooLongForMemoryAtOnce)
{
    if (!CORVANA_TEST_EXHAUSTIBLE_MEMORY)
        GTEST_SKIP() << "the sanitizer ends a program that asks for too much memory";
    // A chunk of a petabyte.
    m_options.m_vInputs = {noiseFile("a.wav", 4000)};
    m_options.m_windows.m_uiReadFactor = 1UL << 40;

    EXPECT_EQ(run(), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), HasSubstr("not enough memory for windows of 16 ms, 1099511627776 read at a time"));
}

TEST_F(CommandFeaturesTest, FlushesEachRowForAReaderThatWaits)
{
    class CountingBuf : public std::stringbuf
    {
    public:
        int m_iSyncs = 0;

    protected:
        int sync() override { return ++m_iSyncs, 0; }
    };
    CountingBuf buffer;
    std::ostream data(&buffer);
    m_options.m_vInputs = {noiseFile("a.wav", 1280)};
    m_options.m_bFlushRows = true;

    EXPECT_EQ(CommandFeatures::run(m_options, data, m_messages), EXIT_DONE);

    EXPECT_GE(buffer.m_iSyncs, 11);
}

TEST_F(CommandFeaturesTest, FailsARecordingThatBreaksOffWhileItIsRead)
{
    // Cuts the recording off when the header is flushed, that is after it was opened.
    class CuttingBuf : public std::stringbuf
    {
    public:
        explicit CuttingBuf(std::string in_strPath)
            : m_strPath(std::move(in_strPath))
        {
        }

    protected:
        int sync() override
        {
            std::filesystem::resize_file(m_strPath, 4096);
            return 0;
        }

    private:
        std::string m_strPath;
    };
    const std::string strFile = noiseFile("a.wav", 12800);
    CuttingBuf buffer(strFile);
    std::ostream data(&buffer);
    m_options.m_vInputs = {strFile};
    m_options.m_vFeatures = {"spectrum|flatness"};
    m_options.m_bFlushRows = true;

    EXPECT_EQ(CommandFeatures::run(m_options, data, m_messages), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), AllOf(StartsWith("corvana: " + strFile + ": breaks off: "),
                                        EndsWith(" of 12800 frames could be read\n")));
    EXPECT_GT(linesOf(buffer.str()).size(), 1U);
}

} // namespace
} // namespace Corvana::Tools
