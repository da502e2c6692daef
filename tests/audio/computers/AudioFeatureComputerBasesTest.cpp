// SPDX-License-Identifier: Apache-2.0
// Computers in archives that hold other things too, behind pointers of all their bases, and in another program.
#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioLinearWindower.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "support/TypeOf.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_binary_iarchive.hpp>
#include <boost/archive/polymorphic_binary_oarchive.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/tracking.hpp>
#include <boost/serialization/version.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>

namespace Corvana::Audio {
namespace {

using boost::serialization::make_nvp;
using Math::DoubleVector;
using Test::addAll;
using Test::allExamples;
using Test::computed;
using Test::loaded;
using Test::LogCapture;
using Test::makeWindows;
using Test::ProbeComputer;
using Test::s_szAudioLogger;
using Test::sameBits;
using Test::saved;
using Test::TempDir;
using Test::typeOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using OutputArchive = boost::archive::polymorphic_oarchive;
using InputArchive = boost::archive::polymorphic_iarchive;

static_assert(boost::serialization::version<FeatureComputerImpl>::value == 0);
static_assert(boost::serialization::version<FeatureComputerWithInputsImpl>::value == 0);
static_assert(boost::serialization::tracking_level<FeatureComputerImpl>::value ==
              boost::serialization::track_selectively);
static_assert(boost::serialization::tracking_level<FeatureComputerWithInputsImpl>::value ==
              boost::serialization::track_selectively);

struct Text
{
    using Output = boost::archive::polymorphic_text_oarchive;
    using Input = boost::archive::polymorphic_text_iarchive;
};
struct Xml
{
    using Output = boost::archive::polymorphic_xml_oarchive;
    using Input = boost::archive::polymorphic_xml_iarchive;
};
struct Binary
{
    using Output = boost::archive::polymorphic_binary_oarchive;
    using Input = boost::archive::polymorphic_binary_iarchive;
};

// What in_write puts into one archive.
template <class FormatT, class WriteT>
std::string written(WriteT in_write)
{
    std::ostringstream stream;
    {
        typename FormatT::Output archive(stream);
        OutputArchive& interface = archive;
        in_write(interface);
    }
    return stream.str();
}

template <class FormatT, class ReadT>
void read(const std::string& in_strArchive, ReadT in_read)
{
    std::istringstream stream(in_strArchive);
    typename FormatT::Input archive(stream);
    InputArchive& interface = archive;
    in_read(interface);
}

// ---- Through each base, in each format

template <class FormatT, class ComputerT, class BaseT>
struct Road
{
    using Format = FormatT;
    using Computer = ComputerT;
    using Base = BaseT;
};

template <class RoadT>
class ComputerBehindABase : public testing::Test
{
};

template <class FormatT>
using RoadsOf = testing::Types<Road<FormatT, FeatureComputerImpl, FeatureComputerImpl>,
                               Road<FormatT, FeatureComputerImpl, Math::FeatureComputerImpl>,
                               Road<FormatT, FeatureComputerImpl, Math::FeatureComputer>,
                               Road<FormatT, FeatureComputerWithInputsImpl, FeatureComputerWithInputsImpl>,
                               Road<FormatT, FeatureComputerWithInputsImpl, Math::FeatureComputerWithInputsImpl>,
                               Road<FormatT, FeatureComputerWithInputsImpl, Math::FeatureComputerWithInputs>,
                               Road<FormatT, FeatureComputerWithInputsImpl, Math::FeatureComputerImpl>,
                               Road<FormatT, FeatureComputerWithInputsImpl, Math::FeatureComputer>>;

TYPED_TEST_SUITE_P(ComputerBehindABase);

TYPED_TEST_P(ComputerBehindABase, ComesBackAsTheClassItWas)
{
    using Computer = typename TypeParam::Computer;
    using Base = typename TypeParam::Base;
    Computer computer;
    addAll(computer, allExamples());
    const Base* pSaved = &computer;
    const std::string strArchive =
        written<typename TypeParam::Format>([&](OutputArchive& out_archive) { out_archive << make_nvp("c", pSaved); });

    std::unique_ptr<Base> pLoaded;
    read<typename TypeParam::Format>(strArchive, [&](InputArchive& in_archive) {
        Base* pBase = nullptr;
        in_archive >> make_nvp("c", pBase);
        pLoaded.reset(pBase);
    });

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(typeid(Computer), typeOf(*pLoaded));
    auto* pComputer = dynamic_cast<Math::FeatureComputerImpl*>(pLoaded.get());
    ASSERT_NE(nullptr, pComputer);
    for (const DoubleVector& vWindow : makeWindows(3))
        EXPECT_TRUE(sameBits(computed(computer, vWindow), computed(*pComputer, vWindow)));
}

TYPED_TEST_P(ComputerBehindABase, IsSavedUnderItsClassKey)
{
    using Computer = typename TypeParam::Computer;
    const Computer computer;
    const typename TypeParam::Base* pSaved = &computer;
    const std::string strArchive =
        written<typename TypeParam::Format>([&](OutputArchive& out_archive) { out_archive << make_nvp("c", pSaved); });

    const bool bOwnType = std::is_same_v<typename TypeParam::Base, Computer>;
    const char* const szKey = std::is_same_v<Computer, FeatureComputerImpl> ? "AudioFeatureComputerImpl"
                                                                            : "AudioFeatureComputerWithInputsImpl";
    // Behind a pointer of its own class, an archive needs no key to find the class again.
    EXPECT_EQ(!bOwnType, strArchive.find(szKey) != std::string::npos);
}

REGISTER_TYPED_TEST_SUITE_P(ComputerBehindABase, ComesBackAsTheClassItWas, IsSavedUnderItsClassKey);
INSTANTIATE_TYPED_TEST_SUITE_P(InText, ComputerBehindABase, RoadsOf<Text>);
INSTANTIATE_TYPED_TEST_SUITE_P(InXml, ComputerBehindABase, RoadsOf<Xml>);
INSTANTIATE_TYPED_TEST_SUITE_P(InBinary, ComputerBehindABase, RoadsOf<Binary>);

// ---- As an object, without a pointer

template <class FormatT>
class ComputerInAnArchive : public testing::Test
{
};
using Formats = testing::Types<Text, Xml, Binary>;
TYPED_TEST_SUITE(ComputerInAnArchive, Formats);

TYPED_TEST(ComputerInAnArchive, IsReadIntoAnExistingOne)
{
    const std::string strArchive = written<TypeParam>([](OutputArchive& out_archive) {
        FeatureComputerImpl computer;
        ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
        out_archive << make_nvp("c", std::as_const(computer));
    });
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum", "", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));

    read<TypeParam>(strArchive, [&](InputArchive& in_archive) { in_archive >> make_nvp("c", computer); });

    EXPECT_EQ(1u, computer.getNbOfFeatures());
    EXPECT_EQ(DoubleVector({1.0, 4.0, 3.0}), computed(computer, DoubleVector{0.0, 1.0, 4.0, 3.0}));
}

TYPED_TEST(ComputerInAnArchive, LeavesNoInputsInAnExistingOne)
{
    const std::string strArchive = written<TypeParam>([](OutputArchive& out_archive) {
        FeatureComputerWithInputsImpl computer;
        ASSERT_TRUE(computer.addFeature("silenceratio", "tone"));
        out_archive << make_nvp("c", std::as_const(computer));
    });
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.setInput("tone", DoubleVector{0.0, 1.0}));

    read<TypeParam>(strArchive, [&](InputArchive& in_archive) { in_archive >> make_nvp("c", computer); });

    DoubleVector vFeatures;
    EXPECT_FALSE(computer.computeFeatures(vFeatures));
}

TYPED_TEST(ComputerInAnArchive, StandsBesideAnotherOne)
{
    FeatureComputerImpl first;
    FeatureComputerWithInputsImpl second;
    ASSERT_TRUE(first.addFeature("silenceratio"));
    ASSERT_TRUE(second.addFeature("neighbourhoodofmax"));
    const Math::FeatureComputerImpl* pFirst = &first;
    const Math::FeatureComputerImpl* pSecond = &second;
    const std::string strArchive = written<TypeParam>(
        [&](OutputArchive& out_archive) { out_archive << make_nvp("first", pFirst) << make_nvp("second", pSecond); });

    std::unique_ptr<Math::FeatureComputerImpl> pFirstRead;
    std::unique_ptr<Math::FeatureComputerImpl> pSecondRead;
    read<TypeParam>(strArchive, [&](InputArchive& in_archive) {
        Math::FeatureComputerImpl* pComputer = nullptr;
        in_archive >> make_nvp("first", pComputer);
        pFirstRead.reset(pComputer);
        in_archive >> make_nvp("second", pComputer);
        pSecondRead.reset(pComputer);
    });

    EXPECT_EQ(typeid(FeatureComputerImpl), typeOf(*pFirstRead));
    EXPECT_EQ(typeid(FeatureComputerWithInputsImpl), typeOf(*pSecondRead));
    EXPECT_EQ(DoubleVector({0.25}), computed(*pFirstRead, DoubleVector{0.0, 1.0, 4.0, 3.0}));
    EXPECT_EQ(DoubleVector({1.0, 4.0, 3.0}), computed(*pSecondRead, DoubleVector{0.0, 1.0, 4.0, 3.0}));
}

TYPED_TEST(ComputerInAnArchive, SavedTwiceComesBackAsOneComputer)
{
    FeatureComputerImpl computer;
    const Math::FeatureComputerImpl* pComputer = &computer;
    const std::string strArchive = written<TypeParam>([&](OutputArchive& out_archive) {
        out_archive << make_nvp("first", pComputer) << make_nvp("second", pComputer);
    });

    Math::FeatureComputerImpl* pFirst = nullptr;
    Math::FeatureComputerImpl* pSecond = nullptr;
    read<TypeParam>(strArchive, [&](InputArchive& in_archive) {
        in_archive >> make_nvp("first", pFirst) >> make_nvp("second", pSecond);
    });
    const std::unique_ptr<Math::FeatureComputerImpl> owner(pFirst);

    EXPECT_NE(nullptr, pFirst);
    EXPECT_EQ(pFirst, pSecond);
}

TYPED_TEST(ComputerInAnArchive, StandsBesideAWindowersConfiguration)
{
    LinearAudioWindower::Config config;
    config.m_uiSampleRate = 16000;
    config.m_uiWindowSizeMs = 32;
    config.m_uiWindowOverlapMs = 8;
    config.m_bSuppressDCOffset = true;
    FeatureComputerImpl computer;
    addAll(computer, allExamples());
    const Math::FeatureComputerImpl* pComputer = &computer;
    const std::string strArchive = written<TypeParam>([&](OutputArchive& out_archive) {
        out_archive << make_nvp("Windows", std::as_const(config)) << make_nvp("Features", pComputer);
    });

    LinearAudioWindower::Config configRead;
    std::unique_ptr<Math::FeatureComputerImpl> pRead;
    read<TypeParam>(strArchive, [&](InputArchive& in_archive) {
        Math::FeatureComputerImpl* pBase = nullptr;
        in_archive >> make_nvp("Windows", configRead) >> make_nvp("Features", pBase);
        pRead.reset(pBase);
    });

    EXPECT_EQ(16000u, configRead.m_uiSampleRate);
    EXPECT_EQ(32u, configRead.m_uiWindowSizeMs);
    EXPECT_EQ(8u, configRead.m_uiWindowOverlapMs);
    EXPECT_TRUE(configRead.m_bSuppressDCOffset);
    ASSERT_NE(nullptr, pRead);
    for (const DoubleVector& vWindow : makeWindows(3))
        EXPECT_TRUE(sameBits(computed(computer, vWindow), computed(*pRead, vWindow)));
}

// ---- The saved form itself

TEST(SavedComputerText, HasTheItemsInTheirOrder)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum", "tone", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));

    EXPECT_THAT(saved(computer, ArchiveFormat::XML),
                HasSubstr("<FeatureComputer class_id=\"1\" class_name=\"AudioFeatureComputerWithInputsImpl\""
                          " tracking_level=\"1\" version=\"0\" object_id=\"_0\">\n"
                          "\t<MathFeatureComputerImpl class_id=\"0\" tracking_level=\"1\" version=\"0\""
                          " object_id=\"_1\">\n"
                          "\t\t<NbOfFeatures>2</NbOfFeatures>\n"
                          "\t\t<Description>spectrum</Description>\n"
                          "\t\t<Input>tone</Input>\n"
                          "\t\t<Output>s</Output>\n"
                          "\t\t<Description>flatness</Description>\n"
                          "\t\t<Input>s</Input>\n"
                          "\t\t<Output></Output>\n"
                          "\t</MathFeatureComputerImpl>\n"
                          "</FeatureComputer>\n"));
}

TEST(SavedComputerText, NamesTheClassOfAPlainComputer)
{
    EXPECT_THAT(saved(FeatureComputerImpl(), ArchiveFormat::XML),
                HasSubstr("<FeatureComputer class_id=\"1\" class_name=\"AudioFeatureComputerImpl\""
                          " tracking_level=\"1\" version=\"0\" object_id=\"_0\">\n"
                          "\t<MathFeatureComputerImpl class_id=\"0\" tracking_level=\"1\" version=\"0\""
                          " object_id=\"_1\">\n"
                          "\t\t<NbOfFeatures>0</NbOfFeatures>\n"
                          "\t</MathFeatureComputerImpl>\n"
                          "</FeatureComputer>\n"));
}

// ---- Classes that no key stands for

TEST(SavedComputerClass, MayBeTheMathComputerItself)
{
    const Math::FeatureComputerImpl computer;

    const auto pLoaded = loaded(saved(computer, ArchiveFormat::XML), ArchiveFormat::XML);

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(typeid(Math::FeatureComputerImpl), typeOf(*pLoaded));
}

TEST(SavedComputerClass, IsRefusedWithAMessageWhenItHasNoKey)
{
    const ProbeComputer computer;
    const LogCapture log;
    std::ostringstream stream;

    EXPECT_FALSE(saveFeatureComputer(stream, computer, ArchiveFormat::TEXT));

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ(40000, log.events()[0].m_iLevel);
    EXPECT_EQ(s_szAudioLogger, log.events()[0].m_strLogger);
    EXPECT_THAT(log.events()[0].m_strText, StartsWith("Could not save feature computer: unregistered"));
}

TEST(SavedComputerClass, ThatIsNoComputerIsRefusedWhenLoading)
{
    FeatureComputerImpl computer;
    std::string strArchive = saved(computer, ArchiveFormat::TEXT);
    const std::string strKey = "24 AudioFeatureComputerImpl";
    ASSERT_NE(std::string::npos, strArchive.find(strKey));
    strArchive.replace(strArchive.find(strKey), strKey.size(), "18 SomeOtherClassKey0");
    const LogCapture log;

    EXPECT_EQ(nullptr, loaded(strArchive, ArchiveFormat::TEXT));

    EXPECT_THAT(log.texts(), ElementsAre(StartsWith("Could not load feature computer: ")));
}

// ---- In a program that knows none of these classes

std::string outputOf(const std::string& in_strCommand)
{
    std::string strOutput;
    FILE* pPipe = popen(in_strCommand.c_str(), "r");
    if (pPipe == nullptr)
        return "cannot run " + in_strCommand;
    char acPiece[256];
    while (std::fgets(acPiece, sizeof acPiece, pPipe) != nullptr)
        strOutput += acPiece;
    const int iStatus = pclose(pPipe);
    return iStatus == 0 ? strOutput : strOutput + "exit status " + std::to_string(iStatus);
}

std::string asHexadecimal(const DoubleVector& in_vValues)
{
    std::string strLines;
    char acLine[64];
    for (const double dValue : in_vValues) {
        std::snprintf(acLine, sizeof acLine, "%a\n", dValue);
        strLines += acLine;
    }
    return strLines;
}

template <class ComputerT>
class ComputerInAnotherProgram : public testing::Test
{
};
using Computers = testing::Types<FeatureComputerImpl, FeatureComputerWithInputsImpl>;
TYPED_TEST_SUITE(ComputerInAnotherProgram, Computers);

TYPED_TEST(ComputerInAnotherProgram, GivesTheSameValues)
{
    const TempDir folder;
    TypeParam computer;
    addAll(computer, allExamples());
    const std::string strFile = folder.write("computer.txt", saved(computer, ArchiveFormat::TEXT));
    DoubleVector vWindow(256);
    for (unsigned long uiIndex = 0; uiIndex < vWindow.size(); ++uiIndex)
        vWindow[uiIndex] = static_cast<double>(uiIndex % 8) / 8.0 - 0.5;

    const std::string strOutput = outputOf(std::string("'") + CORVANA_COMPUTER_READER + "' '" + strFile + "' 2>&1");

    EXPECT_EQ(asHexadecimal(computed(computer, vWindow)), strOutput);
}

} // namespace
} // namespace Corvana::Audio
