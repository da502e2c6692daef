// SPDX-License-Identifier: Apache-2.0
// Archives that were cut off or changed, and streams that fail.
#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioLinearWindower.h"
#include "corvana/MemAllocator.h"
#include "support/LogCapture.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/serialization/nvp.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::isError;
using Test::loaded;
using Test::LogCapture;
using Test::s_aFormats;
using Test::s_szAudioLogger;
using Test::saved;
using testing::ElementsAre;
using testing::StartsWith;

const char* const s_szFile = "AudioFeatureComputerArchive";

class DamagedComputer : public testing::TestWithParam<ArchiveFormat>
{
};

INSTANTIATE_TEST_SUITE_P(Formats, DamagedComputer, testing::ValuesIn(s_aFormats), [](const auto& in_info) {
    return std::string(in_info.param == ArchiveFormat::TEXT  ? "Text"
                       : in_info.param == ArchiveFormat::XML ? "Xml"
                                                             : "Binary");
});

std::unique_ptr<FeatureComputerWithInputsImpl> makeComputer()
{
    auto pComputer = std::make_unique<FeatureComputerWithInputsImpl>();
    EXPECT_TRUE(pComputer->addFeature("spectrum", "", "s"));
    EXPECT_TRUE(pComputer->addFeature("spectralrange(1000,100)", "s"));
    EXPECT_TRUE(pComputer->addFeature("spectrum|maxspectralranges(440,480)|peaks"));
    EXPECT_TRUE(pComputer->addFeature("silenceratio|deltatoslidingmean", "tone"));
    EXPECT_TRUE(pComputer->addFeature("zerocrossingrate", "", "last"));
    return pComputer;
}

// Where an archive's contents end: behind it stand the blanks that a reader need not see.
std::size_t contentLength(const std::string& in_strArchive, ArchiveFormat in_format)
{
    if (in_format == ArchiveFormat::BINARY)
        return in_strArchive.size();
    return in_strArchive.find_last_not_of(" \n") + 1;
}

// Whatever a damaged archive gave has to stand being used.
void use(Math::FeatureComputerImpl& inout_computer)
{
    const DoubleVector vWindow(256, 0.25);
    DoubleVector vFeatures;
    inout_computer.setWindow(vWindow);
    if (auto* pWithInputs = dynamic_cast<Math::FeatureComputerWithInputs*>(&inout_computer))
        pWithInputs->setInput("tone", vWindow);
    inout_computer.reset();
    inout_computer.computeFeatures(vFeatures);
    std::ostringstream stream;
    saveFeatureComputer(stream, inout_computer, ArchiveFormat::XML);
}

TEST_P(DamagedComputer, IsRefusedWhereverItIsCutOff)
{
    const std::string strArchive = saved(*makeComputer(), GetParam());
    const std::size_t uiLength = contentLength(strArchive, GetParam());

    for (std::size_t uiIndex = 0; uiIndex < uiLength; ++uiIndex) {
        const LogCapture log(s_szAudioLogger);
        EXPECT_EQ(nullptr, loaded(strArchive.substr(0, uiIndex), GetParam())) << uiIndex;
        ASSERT_EQ(1u, log.events().size()) << uiIndex;
        EXPECT_EQ(40000, log.events()[0].m_iLevel);
        EXPECT_EQ(s_szFile, log.events()[0].m_strFile);
        EXPECT_THAT(log.events()[0].m_strText, StartsWith("Could not load feature computer: "));
    }
    EXPECT_NE(nullptr, loaded(strArchive, GetParam()));
}

TEST_P(DamagedComputer, IsRefusedOrUsableWithAnyBitOfTheTextChanged)
{
    if (GetParam() == ArchiveFormat::BINARY)
        GTEST_SKIP() << "the lengths in a binary archive are trusted";
    const std::string strArchive = saved(*makeComputer(), GetParam());
    unsigned long uiNbOfLoaded = 0;
    unsigned long uiNbOfRefused = 0;
    const std::size_t uiBegin = 0;
    const std::size_t uiEnd = strArchive.size();

    for (std::size_t uiIndex = uiBegin; uiIndex < uiEnd; ++uiIndex)
        for (unsigned uiBit = 0; uiBit < 8; ++uiBit) {
            std::string strChanged = strArchive;
            strChanged[uiIndex] = static_cast<char>(strChanged[uiIndex] ^ static_cast<char>(1U << uiBit));
            const auto pLoaded = loaded(strChanged, GetParam());
            ++(pLoaded == nullptr ? uiNbOfRefused : uiNbOfLoaded);
            if (pLoaded != nullptr)
                use(*pLoaded);
        }

    EXPECT_LT(0u, uiNbOfLoaded);
    EXPECT_LT(0u, uiNbOfRefused);
}

TEST_P(DamagedComputer, IsRefusedWhenItIsOfAnotherFormat)
{
    for (const ArchiveFormat format : s_aFormats)
        if (format != GetParam()) {
            EXPECT_EQ(nullptr, loaded(saved(*makeComputer(), format), GetParam()));
        }
}

TEST_P(DamagedComputer, IsRefusedWhenItIsEmpty)
{
    const LogCapture log;

    EXPECT_EQ(nullptr, loaded("", GetParam()));

    EXPECT_THAT(log.events(), ElementsAre(isError(s_szAudioLogger, s_szFile, log.texts().front())));
    EXPECT_THAT(log.texts().front(), StartsWith("Could not load feature computer: "));
}

TEST_P(DamagedComputer, IsRefusedFromAStreamThatFailed)
{
    std::istringstream stream(saved(*makeComputer(), GetParam()));
    stream.setstate(std::ios::badbit);
    const LogCapture log;

    EXPECT_EQ(nullptr, loadFeatureComputer(stream, GetParam()));

    EXPECT_THAT(log.texts(), ElementsAre(StartsWith("Could not load feature computer: ")));
}

// One feature; the number of features is the only "1" between blanks or tags that stands before its description.
std::string withNbOfFeatures(const std::string& in_strNumber, ArchiveFormat in_format)
{
    FeatureComputerImpl computer;
    EXPECT_TRUE(computer.addFeature("silenceratio"));
    std::string strArchive = saved(computer, in_format);
    const std::string strBefore = in_format == ArchiveFormat::XML ? "<NbOfFeatures>" : "\n1 ";
    const std::size_t uiPosition = strArchive.find(strBefore) + strBefore.size();
    EXPECT_EQ('1', strArchive.at(uiPosition));
    return strArchive.replace(uiPosition, 1, in_strNumber);
}

TEST(DamagedComputerSize, Above65536IsRefused)
{
    for (const char* szNumber : {"65537", "100000", "4294967297", "18446744073709551615"})
        for (const ArchiveFormat format : {ArchiveFormat::TEXT, ArchiveFormat::XML}) {
            const LogCapture log;
            EXPECT_EQ(nullptr, loaded(withNbOfFeatures(szNumber, format), format)) << szNumber;
            EXPECT_THAT(log.events(),
                        ElementsAre(isError(s_szAudioLogger, s_szFile,
                                            "Could not load feature computer: input stream error-too many features")));
        }
}

TEST(DamagedComputerSize, UpTo65536IsReadToTheEndOfTheArchive)
{
    for (const ArchiveFormat format : {ArchiveFormat::TEXT, ArchiveFormat::XML}) {
        const LogCapture log;
        EXPECT_EQ(nullptr, loaded(withNbOfFeatures("65536", format), format));
        EXPECT_THAT(log.texts(), ElementsAre(StartsWith("Could not load feature computer: ")));
        EXPECT_THAT(log.texts(), testing::Each(testing::Not(testing::HasSubstr("too many features"))));
    }
}

TEST(DamagedComputerSize, BelowWhatFollowsIsNotTakenForTheWhole)
{
    EXPECT_EQ(nullptr, loaded(withNbOfFeatures("0", ArchiveFormat::XML), ArchiveFormat::XML));
}

TEST(DamagedComputerClass, OfANumberThatTheArchiveDoesNotKnowIsRefused)
{
    const std::string strArchive = saved(FeatureComputerImpl(), ArchiveFormat::TEXT);
    const std::string strNumber = " 1 24 AudioFeatureComputerImpl";
    ASSERT_NE(std::string::npos, strArchive.find(strNumber));
    for (const char* szNumber : {" 2", " 30000", " -2", " -30000"}) {
        std::string strChanged = strArchive;
        strChanged.replace(strChanged.find(strNumber), 2, szNumber);
        const LogCapture log;
        EXPECT_EQ(nullptr, loaded(strChanged, ArchiveFormat::TEXT));
        EXPECT_THAT(log.texts(), ElementsAre("Could not load feature computer: input stream error"));
    }
}

TEST(DamagedComputerSize, OfAHugeTextIsRefused)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    std::string strArchive = saved(computer, ArchiveFormat::TEXT);
    strArchive.replace(strArchive.find("12 silenceratio"), 2, "9223372036854775000");
    const LogCapture log;

    EXPECT_EQ(nullptr, loaded(strArchive, ArchiveFormat::TEXT));

    EXPECT_THAT(log.texts(), ElementsAre(StartsWith("Could not load feature computer: ")));
}

TEST_P(DamagedComputer, LeavesNothingBehind)
{
    const std::string strArchive = saved(*makeComputer(), GetParam());
    const MemAccount before = getMemAccount("SignalFeatureFactory");

    for (std::size_t uiIndex = 0; uiIndex < contentLength(strArchive, GetParam()); ++uiIndex)
        loaded(strArchive.substr(0, uiIndex), GetParam());

    EXPECT_EQ(before.m_uiLiveBlocks, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
    EXPECT_LT(before.m_uiTotalBlocks, getMemAccount("SignalFeatureFactory").m_uiTotalBlocks);
}

TEST(DamagedComputerPointer, ThatIsNullIsRefusedWithAMessage)
{
    std::ostringstream stream;
    {
        boost::archive::polymorphic_text_oarchive archive(stream);
        boost::archive::polymorphic_oarchive& interface = archive;
        const Math::FeatureComputerImpl* pNone = nullptr;
        interface << boost::serialization::make_nvp("FeatureComputer", pNone);
    }
    const LogCapture log;

    EXPECT_EQ(nullptr, loaded(stream.str(), ArchiveFormat::TEXT));

    EXPECT_THAT(log.events(), ElementsAre(isError(s_szAudioLogger, s_szFile,
                                                  "Could not load feature computer: the archive holds none")));
}

TEST_P(DamagedComputer, IsRefusedFromAStreamThatThrows)
{
    const std::string strArchive = saved(*makeComputer(), GetParam());
    for (std::size_t uiIndex = 0; uiIndex < contentLength(strArchive, GetParam()); ++uiIndex) {
        std::istringstream stream(strArchive.substr(0, uiIndex));
        stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        EXPECT_EQ(nullptr, loadFeatureComputer(stream, GetParam())) << uiIndex;
    }
}

// ---- Streams that fail while a computer is saved

// Takes a number of characters and fails behind them, with nothing kept back.
class FullDisk : public std::streambuf
{
public:
    explicit FullDisk(std::size_t in_uiRoom)
        : m_uiRoom(in_uiRoom)
    {
    }

protected:
    int_type overflow(int_type in_iCharacter) override
    {
        if (m_uiRoom == 0)
            return traits_type::eof();
        --m_uiRoom;
        return traits_type::not_eof(in_iCharacter);
    }
    int sync() override { return 0; }

private:
    std::size_t m_uiRoom;
};

TEST_P(DamagedComputer, IsReportedWhereverTheStreamFailsWhileSaving)
{
    const auto pComputer = makeComputer();
    const std::size_t uiLength = saved(*pComputer, GetParam()).size();

    for (std::size_t uiRoom = 0; uiRoom < uiLength; ++uiRoom) {
        FullDisk disk(uiRoom);
        std::ostream stream(&disk);
        const LogCapture log;
        EXPECT_FALSE(saveFeatureComputer(stream, *pComputer, GetParam())) << uiRoom;
        ASSERT_EQ(1u, log.events().size()) << uiRoom;
        EXPECT_EQ(40000, log.events()[0].m_iLevel);
        EXPECT_EQ(s_szAudioLogger, log.events()[0].m_strLogger);
        EXPECT_EQ(s_szFile, log.events()[0].m_strFile);
        EXPECT_THAT(log.events()[0].m_strText, StartsWith("Could not save feature computer: "));
    }
    FullDisk disk(uiLength);
    std::ostream stream(&disk);
    EXPECT_TRUE(saveFeatureComputer(stream, *pComputer, GetParam()));
}

TEST_P(DamagedComputer, IsReportedWhenTheStreamHasFailedBeforeSaving)
{
    std::ostringstream stream;
    stream.setstate(std::ios::failbit);
    const LogCapture log;

    EXPECT_FALSE(saveFeatureComputer(stream, *makeComputer(), GetParam()));

    EXPECT_THAT(log.texts(), ElementsAre(StartsWith("Could not save feature computer: ")));
}

TEST_P(DamagedComputer, IsReportedWhereverTheStreamThrowsWhileSaving)
{
    const auto pComputer = makeComputer();
    const std::size_t uiLength = saved(*pComputer, GetParam()).size();

    for (std::size_t uiRoom = 0; uiRoom < uiLength; ++uiRoom) {
        FullDisk disk(uiRoom);
        std::ostream stream(&disk);
        stream.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_FALSE(saveFeatureComputer(stream, *pComputer, GetParam())) << uiRoom;
    }
}

// ---- Streams of other countries

class Grouping : public std::numpunct<char>
{
protected:
    std::string do_grouping() const override { return "\3"; }
    char do_thousands_sep() const override { return '.'; }
};

TEST_P(DamagedComputer, IsNotWhatAStreamThatGroupsDigitsMakesOfAGoodOne)
{
    const std::locale grouping(std::locale::classic(), new Grouping);
    FeatureComputerImpl computer;
    for (unsigned uiIndex = 0; uiIndex < 1200; ++uiIndex)
        ASSERT_TRUE(computer.addFeature("silenceratio"));

    std::ostringstream written;
    written.imbue(grouping);
    ASSERT_TRUE(saveFeatureComputer(written, computer, GetParam()));
    std::istringstream toRead(written.str());
    toRead.imbue(grouping);
    const auto pLoaded = loadFeatureComputer(toRead, GetParam());

    EXPECT_EQ(saved(computer, GetParam()), written.str());
    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(1200u, pLoaded->getNbOfFeatures());
    EXPECT_EQ(grouping, written.getloc());
    EXPECT_EQ(grouping, toRead.getloc());
}

TEST(SavedComputerFormat, ThatDoesNotExistIsRefused)
{
    const auto format = static_cast<ArchiveFormat>(7);
    const FeatureComputerImpl computer;
    std::stringstream stream;
    const LogCapture log;

    EXPECT_FALSE(saveFeatureComputer(stream, computer, format));
    EXPECT_EQ(nullptr, loadFeatureComputer(stream, format));

    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szAudioLogger, s_szFile, "Could not save feature computer: unknown format"),
                            isError(s_szAudioLogger, s_szFile, "Could not load feature computer: unknown format")));
    EXPECT_EQ("", stream.str());
}

} // namespace
} // namespace Corvana::Audio
