// SPDX-License-Identifier: Apache-2.0
#include "tools/RunSettings.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioLinearWindower.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/CommandFeatures.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"

#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;

class RunSettingsTest : public testing::Test
{
protected:
    static std::vector<std::string> allFeatures()
    {
        std::vector<std::string> vFeatures;
        for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
            vFeatures.emplace_back(description.m_szExample);
        return vFeatures;
    }

    std::string contentsOf(const std::string& in_strPath)
    {
        std::ostringstream text;
        text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
        return text.str();
    }

    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    // Saves a computer as a program would, with whatever it holds.
    void saveByProgram(const Math::FeatureComputerImpl& in_computer)
    {
        std::ofstream stream(m_strFile, std::ios::binary);
        boost::archive::polymorphic_xml_oarchive archive(stream);
        boost::archive::polymorphic_oarchive& interface = archive;
        const Audio::LinearAudioWindower::Config config;
        const Math::FeatureComputerImpl* pComputer = &in_computer;
        interface << boost::serialization::make_nvp("Windows", config);
        interface << boost::serialization::make_nvp("Computer", pComputer);
    }

    Corvana::Test::TempDir m_dir;
    std::string m_strFile = m_dir.file("settings.xml");
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

} // namespace

TEST_F(RunSettingsTest, ComeBackAsTheyWere)
{
    const RunSettings saved{{32, 16, true, 1, 11025}, allFeatures()};
    RunSettings loaded;

    EXPECT_EQ("", RunSettings::save(m_strFile, saved));
    EXPECT_EQ("", RunSettings::load(m_strFile, loaded));

    EXPECT_EQ(32u, loaded.m_windows.m_uiWindowMs);
    EXPECT_EQ(16u, loaded.m_windows.m_uiOverlapMs);
    EXPECT_TRUE(loaded.m_windows.m_bSuppressDC);
    EXPECT_EQ(11025u, loaded.m_windows.m_uiSampleRate);
    EXPECT_EQ(saved.m_vFeatures, loaded.m_vFeatures);
}

TEST_F(RunSettingsTest, AreReadByProgramsAsAConfigAndAComputer)
{
    ASSERT_EQ("", RunSettings::save(m_strFile, {{32, 16, false, 1, 0}, {"spectrum|flatness"}}));

    std::ifstream stream(m_strFile, std::ios::binary);
    boost::archive::polymorphic_xml_iarchive archive(stream);
    boost::archive::polymorphic_iarchive& interface = archive;
    Audio::LinearAudioWindower::Config config;
    Math::FeatureComputerImpl* pLoaded = nullptr;
    interface >> boost::serialization::make_nvp("Windows", config);
    interface >> boost::serialization::make_nvp("Computer", pLoaded);
    const std::unique_ptr<Math::FeatureComputerImpl> pComputer(pLoaded);

    EXPECT_EQ(0u, config.m_uiSampleRate);
    EXPECT_EQ(32u, config.m_uiWindowSizeMs);
    EXPECT_NE(nullptr, dynamic_cast<Audio::FeatureComputerImpl*>(pComputer.get()));
    EXPECT_EQ("spectrum|flatness", pComputer->getDescription(0));
}

TEST_F(RunSettingsTest, TellWhatIsWrongWithAFile)
{
    RunSettings settings;
    EXPECT_EQ("cannot be opened", RunSettings::load(m_dir.file("missing.xml"), settings));
    EXPECT_EQ("is no saved configuration, or not all of one",
              RunSettings::load(m_dir.write("text.xml", "no archive"), settings));
    EXPECT_THAT(RunSettings::load(m_dir.write("other.xml", "<other></boost_serialization>"), settings),
                HasSubstr("is no saved configuration ("));

    saveByProgram(Audio::FeatureComputerImpl());
    EXPECT_EQ("holds no features", RunSettings::load(m_strFile, settings));

    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum", "", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));
    saveByProgram(computer);
    EXPECT_THAT(RunSettings::load(m_strFile, settings), HasSubstr("named inputs or outputs"));
}

TEST_F(RunSettingsTest, KeepToTheLimitsOfTheOptions)
{
    for (const WindowOptions& windows :
         {WindowOptions{600001, 0, false, 1, 0}, WindowOptions{16, 1UL << 63, false, 1, 0},
          WindowOptions{0, 0, false, 1, 0}, WindowOptions{16, 0, false, 1, 10000001}}) {
        RunSettings settings;
        ASSERT_EQ("", RunSettings::save(m_strFile, {windows, {"silenceratio"}}));
        EXPECT_THAT(RunSettings::load(m_strFile, settings), HasSubstr("at most 600000 ms and 10000000 Hz can be run"));
    }
}

TEST_F(RunSettingsTest, ReachTheLimitsOfTheOptions)
{
    for (const WindowOptions& windows :
         {WindowOptions{600000, 600000, false, 1, 10000000}, WindowOptions{1, 0, false, 1, 0}}) {
        RunSettings settings;
        ASSERT_EQ("", RunSettings::save(m_strFile, {windows, {"silenceratio"}}));
        EXPECT_EQ("", RunSettings::load(m_strFile, settings));
    }
}

TEST_F(RunSettingsTest, SurviveEveryTruncationWithAMessage)
{
    ASSERT_EQ("", RunSettings::save(m_strFile, {{}, allFeatures()}));
    const std::string strWhole = contentsOf(m_strFile);
    for (std::size_t uiLength = 0; uiLength < strWhole.find_last_of('>'); uiLength += uiLength < 3000 ? 7 : 1) {
        RunSettings settings;
        EXPECT_NE("", RunSettings::load(m_dir.write("cut.xml", strWhole.substr(0, uiLength)), settings)) << uiLength;
    }
}

TEST_F(RunSettingsTest, CannotBeSavedWhereNothingCanBeWritten)
{
    EXPECT_NE("", RunSettings::save(m_dir.file("missing/settings.xml"), {{}, {"spectrum"}}));
    EXPECT_NE("", RunSettings::save("/dev/full", {{}, {"spectrum"}}));
}

// ---- The options of the command

TEST_F(RunSettingsTest, GiveTheSameRowsAgain)
{
    const std::string strCall = Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(4000));
    ASSERT_EQ(EXIT_DONE, run({"features", "-f", "spectrum|peaks", "-f", "zerocrossingrate", "--window-ms", "32",
                              "--overlap-ms", "16", "--suppress-dc", "--save-config", m_strFile, strCall}));
    const std::string strRows = m_data.str();

    EXPECT_EQ(EXIT_DONE, run({"features", "--config", m_strFile, strCall}));

    EXPECT_EQ(strRows, m_data.str());
    EXPECT_EQ("", m_messages.str());
}

TEST_F(RunSettingsTest, AreSavedWithoutAnInputToo)
{
    EXPECT_EQ(EXIT_DONE, run({"features", "--save-config", m_strFile}));

    EXPECT_EQ("", m_data.str());
    RunSettings settings;
    EXPECT_EQ("", RunSettings::load(m_strFile, settings));
    EXPECT_EQ(defaultFeatures(), settings.m_vFeatures);
}

TEST_F(RunSettingsTest, AreNotSavedWhenTheFeaturesAreWrong)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "-f", "nosuch", "--save-config", m_strFile}));

    EXPECT_FALSE(std::filesystem::exists(m_strFile));
}

TEST_F(RunSettingsTest, CannotBeContradicted)
{
    ASSERT_EQ(EXIT_DONE, run({"features", "--save-config", m_strFile}));

    for (const char* szOption :
         {"--window-ms=32", "--overlap-ms=8", "--suppress-dc", "--sample-rate=8000", "--feature=spectrum"}) {
        EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--config", m_strFile, szOption, "a.wav"})) << szOption;
        EXPECT_THAT(m_messages.str(), HasSubstr("cannot stand beside --config")) << szOption;
    }
}

TEST_F(RunSettingsTest, AreNamedWhenTheyCannotBeUsed)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--config", m_dir.file("missing.xml"), "a.wav"}));
    EXPECT_EQ("corvana: " + m_dir.file("missing.xml") + ": cannot be opened\n", m_messages.str());
}

TEST_F(RunSettingsTest, AreNotOverwrittenByTheRows)
{
    const std::string strCall = Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(1000));
    ASSERT_EQ(EXIT_DONE, run({"features", "--save-config", m_strFile}));

    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--config", m_strFile, "-o", m_strFile, strCall}));

    RunSettings settings;
    EXPECT_EQ("", RunSettings::load(m_strFile, settings));
}

TEST_F(RunSettingsTest, DoNotTakeThePlaceOfARecording)
{
    const std::string strCall = Corvana::Test::writeSoundFile(m_dir.file("a.wav"), Corvana::Test::noise(1000));
    const std::string strBefore = contentsOf(strCall);

    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--save-config", strCall, strCall}));

    EXPECT_EQ(strBefore, contentsOf(strCall));
}

} // namespace Corvana::Tools
