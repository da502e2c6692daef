// SPDX-License-Identifier: Apache-2.0
// Saving computers and loading them again with saveFeatureComputer() and loadFeatureComputer().
#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/TempDir.h"
#include "support/TypeOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::addAll;
using Test::allExamples;
using Test::AssertionCapture;
using Test::computed;
using Test::DirectFeature;
using Test::isError;
using Test::loaded;
using Test::LogCapture;
using Test::makeWindows;
using Test::ProbeCalls;
using Test::ProbeFactory;
using Test::s_aFormats;
using Test::s_szMathLogger;
using Test::sameBits;
using Test::saved;
using Test::TempDir;
using Test::typeOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// A computer that knows features which the one that is loaded does not.
struct KnowingComputer
{
    KnowingComputer()
    {
        auto pFactory = std::make_unique<ProbeFactory>(m_vCalls);
        if (m_computer.getFeaturePool().addFactory(pFactory.get()))
            static_cast<void>(pFactory.release());
    }

    ProbeCalls m_vCalls;
    FeatureComputerImpl m_computer;
};

std::string formatName(ArchiveFormat in_format)
{
    return in_format == ArchiveFormat::TEXT ? "Text" : in_format == ArchiveFormat::XML ? "Xml" : "Binary";
}

class SavedComputer : public testing::TestWithParam<ArchiveFormat>
{
protected:
    std::unique_ptr<Math::FeatureComputerImpl> savedAndLoaded(const Math::FeatureComputerImpl& in_computer) const
    {
        return loaded(saved(in_computer, GetParam()), GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Formats, SavedComputer, testing::ValuesIn(s_aFormats),
                         [](const auto& in_info) { return formatName(in_info.param); });

TEST_P(SavedComputer, ComesBackAsAFeatureComputerImpl)
{
    const auto pLoaded = savedAndLoaded(FeatureComputerImpl());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(typeid(FeatureComputerImpl), typeOf(*pLoaded));
}

TEST_P(SavedComputer, ComesBackAsAFeatureComputerWithInputsImpl)
{
    const auto pLoaded = savedAndLoaded(FeatureComputerWithInputsImpl());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(typeid(FeatureComputerWithInputsImpl), typeOf(*pLoaded));
}

TEST_P(SavedComputer, ComesBackEmptyWhenItWasEmpty)
{
    const auto pLoaded = savedAndLoaded(FeatureComputerImpl());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(0u, pLoaded->getNbOfFeatures());
    EXPECT_EQ(DoubleVector(), computed(*pLoaded));
}

TEST_P(SavedComputer, ComesBackWithAFactoryOfItsOwn)
{
    const auto pLoaded = savedAndLoaded(FeatureComputerImpl());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(1u, pLoaded->getFeaturePool().getNbOfFactories());
    EXPECT_TRUE(pLoaded->addFeature("spectrum"));
}

TEST_P(SavedComputer, GivesTheSameValuesWithAllKindsOfFeatures)
{
    FeatureComputerImpl computer;
    addAll(computer, allExamples());
    const auto pLoaded = savedAndLoaded(computer);
    ASSERT_NE(nullptr, pLoaded);
    ASSERT_EQ(22u, pLoaded->getNbOfFeatures());

    for (const DoubleVector& vWindow : makeWindows(20))
        ASSERT_TRUE(sameBits(computed(computer, vWindow), computed(*pLoaded, vWindow)));
}

TEST_P(SavedComputer, GivesTheSameValuesAsFeaturesCalledDirectly)
{
    FeatureComputerImpl computer;
    addAll(computer, allExamples());
    const auto pLoaded = savedAndLoaded(computer);
    ASSERT_NE(nullptr, pLoaded);
    std::vector<DirectFeature> vDirect;
    for (const std::string& strExample : allExamples())
        vDirect.emplace_back(strExample);

    for (const DoubleVector& vWindow : makeWindows(10)) {
        DoubleVector vExpected;
        for (DirectFeature& feature : vDirect) {
            const DoubleVector vValues = feature.compute(vWindow);
            vExpected.insert(vExpected.end(), vValues.begin(), vValues.end());
        }
        ASSERT_TRUE(sameBits(vExpected, computed(*pLoaded, vWindow)));
    }
}

TEST_P(SavedComputer, GivesTheValuesOfAFreshOneAfterWindowsWereComputed)
{
    const char* const szDescription = "temporalamplitudedistribution";
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature(szDescription));
    for (const DoubleVector& vWindow : makeWindows(5))
        computed(computer, vWindow);
    const DoubleVector vQuiet(256, 0.001);

    const auto pLoaded = savedAndLoaded(computer);

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_TRUE(sameBits(DirectFeature(szDescription).compute(vQuiet), computed(*pLoaded, vQuiet)));
}

TEST_P(SavedComputer, IsNotChangedBySaving)
{
    FeatureComputerImpl computer;
    FeatureComputerImpl unsaved;
    addAll(computer, allExamples());
    addAll(unsaved, allExamples());

    for (const DoubleVector& vWindow : makeWindows(5)) {
        saved(computer, GetParam());
        ASSERT_TRUE(sameBits(computed(unsaved, vWindow), computed(computer, vWindow)));
    }
}

TEST_P(SavedComputer, TakesMoreFeaturesAfterLoading)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "", "peak"));
    const auto pLoaded = savedAndLoaded(computer);
    ASSERT_NE(nullptr, pLoaded);

    EXPECT_FALSE(pLoaded->addFeature("silenceratio", "", "peak"));
    EXPECT_TRUE(pLoaded->addFeature("silenceratio", "peak"));

    EXPECT_EQ(DoubleVector({0.0}), computed(*pLoaded, DoubleVector{0.0, 1.0, 4.0, 3.0}));
}

TEST_P(SavedComputer, KeepsDescriptionsAsTheyWereWritten)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature(" Spectrum |\tSpectralRange( 1000,\n100Hz ) "));
    const std::string strArchive = saved(computer, GetParam());

    const auto pLoaded = loaded(strArchive, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(strArchive, saved(*pLoaded, GetParam()));
    const DoubleVector vWindow = makeWindows(2).back();
    EXPECT_TRUE(sameBits(computed(computer, vWindow), computed(*pLoaded, vWindow)));
}

TEST_P(SavedComputer, KeepsInputAndOutputNamesOfAllCharacters)
{
    std::string strName;
    for (int iCharacter = 1; iCharacter < 256; ++iCharacter)
        strName.push_back(static_cast<char>(iCharacter));
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", strName.c_str(), ("out" + strName).c_str()));
    ASSERT_TRUE(computer.addFeature("silenceratio", ("out" + strName).c_str()));

    const auto pLoaded = savedAndLoaded(computer);

    auto* pWithInputs = dynamic_cast<Math::FeatureComputerWithInputs*>(pLoaded.get());
    ASSERT_NE(nullptr, pWithInputs);
    EXPECT_FALSE(pWithInputs->setInput(("out" + strName).c_str(), DoubleVector{1.0}));
    EXPECT_TRUE(pWithInputs->setInput(strName.c_str(), DoubleVector{0.0, 1.0, 4.0, 3.0}));
    EXPECT_EQ(DoubleVector({0.0}), computed(*pLoaded));
}

TEST_P(SavedComputer, KeepsOutputsApartFromTheResult)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum", "", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));
    const DoubleVector vWindow = makeWindows(2).back();

    const auto pLoaded = savedAndLoaded(computer);

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_TRUE(sameBits(DirectFeature("spectrum|flatness").compute(vWindow), computed(*pLoaded, vWindow)));
}

TEST_P(SavedComputer, ComesBackWithoutItsInputs)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "tone"));
    ASSERT_TRUE(computer.setInput("tone", DoubleVector{0.0, 1.0, 4.0, 3.0}));
    computed(computer);

    const auto pLoaded = savedAndLoaded(computer);

    ASSERT_NE(nullptr, pLoaded);
    const LogCapture log;
    DoubleVector vFeatures{1.0};
    EXPECT_FALSE(pLoaded->computeFeatures(vFeatures));
    EXPECT_TRUE(vFeatures.empty());
    EXPECT_THAT(log.texts(), ElementsAre("Missing input tone of feature neighbourhoodofmax"));
}

TEST_P(SavedComputer, TakesItsInputsAgainAfterLoading)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "tone"));
    const auto pLoaded = savedAndLoaded(computer);
    auto* pWithInputs = dynamic_cast<FeatureComputerWithInputsImpl*>(pLoaded.get());
    ASSERT_NE(nullptr, pWithInputs);

    ASSERT_TRUE(pWithInputs->setInput("tone", DoubleVector{0.0, 1.0, 4.0, 3.0}));

    EXPECT_EQ(DoubleVector({1.0, 4.0, 3.0}), computed(*pWithInputs));
}

TEST_P(SavedComputer, DoesNotSaveWhatItsInputsHold)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "tone"));
    const std::string strBefore = saved(computer, GetParam());

    ASSERT_TRUE(computer.setInput("tone", DoubleVector{0.0, 1.0, 4.0, 3.0}));
    ASSERT_TRUE(computer.setInput("unread", DoubleVector{1.0}));

    EXPECT_EQ(strBefore, saved(computer, GetParam()));
}

TEST_P(SavedComputer, ComesBackWithoutItsWindow)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    computed(computer, DoubleVector{0.0, 1.0});

    const auto pLoaded = savedAndLoaded(computer);

    ASSERT_NE(nullptr, pLoaded);
    DoubleVector vFeatures;
    EXPECT_FALSE(pLoaded->computeFeatures(vFeatures));
}

TEST_P(SavedComputer, SharesPrefixesAgainAfterLoading)
{
    // The second feature starts with its memory empty, whether it was shared or not, so only the number of failure
    // messages tells: a stage that stands once fails once.
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("zerocrossingrate"));
    ASSERT_TRUE(computer.addFeature("zerocrossingrate"));
    const auto pLoaded = savedAndLoaded(computer);
    ASSERT_NE(nullptr, pLoaded);
    const LogCapture log;

    EXPECT_FALSE(pLoaded->configure(TrieConfiguration()));

    EXPECT_THAT(log.events(), SizeIs(1));
}

TEST_P(SavedComputer, MayHoldThousandsOfFeatures)
{
    FeatureComputerImpl computer;
    for (unsigned uiIndex = 0; uiIndex < 1200; ++uiIndex)
        ASSERT_TRUE(computer.addFeature("silenceratio"));

    const auto pLoaded = savedAndLoaded(computer);

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(1200u, pLoaded->getNbOfFeatures());
    EXPECT_EQ(DoubleVector(1200, 0.5), computed(*pLoaded, DoubleVector{0.0, 1.0}));
}

TEST_P(SavedComputer, MayFollowAnotherOneInTheSameStream)
{
    FeatureComputerImpl first;
    FeatureComputerWithInputsImpl second;
    ASSERT_TRUE(first.addFeature("silenceratio"));
    ASSERT_TRUE(second.addFeature("neighbourhoodofmax"));
    ASSERT_TRUE(second.addFeature("noiseratio"));
    std::istringstream stream(saved(first, GetParam()) + saved(second, GetParam()));

    const auto pFirst = loadFeatureComputer(stream, GetParam());
    const auto pSecond = loadFeatureComputer(stream, GetParam());

    ASSERT_TRUE(pFirst != nullptr && pSecond != nullptr);
    EXPECT_EQ(1u, pFirst->getNbOfFeatures());
    EXPECT_EQ(2u, pSecond->getNbOfFeatures());
    EXPECT_EQ(typeid(FeatureComputerWithInputsImpl), typeOf(*pSecond));
}

TEST_P(SavedComputer, GoesThroughAFile)
{
    const TempDir folder;
    FeatureComputerImpl computer;
    addAll(computer, allExamples());
    {
        std::ofstream stream(folder.file("computer"), std::ios::binary);
        ASSERT_TRUE(saveFeatureComputer(stream, computer, GetParam()));
    }

    std::ifstream stream(folder.file("computer"), std::ios::binary);
    const auto pLoaded = loadFeatureComputer(stream, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(22u, pLoaded->getNbOfFeatures());
}

TEST_P(SavedComputer, IsSilentWhenAllIsWell)
{
    FeatureComputerImpl computer;
    addAll(computer, allExamples());
    const LogCapture log;

    savedAndLoaded(computer);

    EXPECT_THAT(log.events(), IsEmpty());
}

// ---- Descriptions that this build does not know

TEST_P(SavedComputer, KeepsAnUnknownFeature)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("silenceratio"));
    ASSERT_TRUE(source.m_computer.addFeature("probe(7)", "in", "out"));
    ASSERT_TRUE(source.m_computer.addFeature("noiseratio"));
    const std::string strArchive = saved(source.m_computer, GetParam());
    const LogCapture log;

    const auto pLoaded = loaded(strArchive, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(3u, pLoaded->getNbOfFeatures());
    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szMathLogger, "MathFeatureComputer", "Unknown feature probe(7) in archive")));
}

TEST_P(SavedComputer, TellsTheTextsOfAnUnknownFeature)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("probe(7)", "in", "out"));

    const auto pLoaded = loaded(saved(source.m_computer, GetParam()), GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ("probe(7)", pLoaded->getDescription(0));
    EXPECT_EQ("in", pLoaded->getInputName(0));
    EXPECT_EQ("out", pLoaded->getOutputName(0));
}

TEST_P(SavedComputer, SavesAnUnknownFeatureAgain)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("silenceratio"));
    ASSERT_TRUE(source.m_computer.addFeature("probe(7)", "in", "out"));
    ASSERT_TRUE(source.m_computer.addFeature("noiseratio", "out"));
    const std::string strArchive = saved(source.m_computer, GetParam());

    const auto pLoaded = loaded(strArchive, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(strArchive, saved(*pLoaded, GetParam()));
}

TEST_P(SavedComputer, ComputesNothingWithAnUnknownFeature)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("silenceratio"));
    ASSERT_TRUE(source.m_computer.addFeature("probe(7)", "", "hidden"));
    const auto pLoaded = loaded(saved(source.m_computer, GetParam()), GetParam());
    ASSERT_NE(nullptr, pLoaded);
    pLoaded->setWindow(DoubleVector{0.0, 1.0});
    const LogCapture log;
    DoubleVector vFeatures{1.0};

    EXPECT_FALSE(pLoaded->computeFeatures(vFeatures));

    EXPECT_TRUE(vFeatures.empty());
    EXPECT_THAT(log.events(), ElementsAre(isError(s_szMathLogger, "MathFeatureGraph", "Unknown feature probe(7)")));
}

TEST_P(SavedComputer, TakesWhatReadsAnUnknownFeatureForUnknown)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("probe", "", "p"));
    ASSERT_TRUE(source.m_computer.addFeature("silenceratio", "p", "q"));
    ASSERT_TRUE(source.m_computer.addFeature("noiseratio", "q"));
    const std::string strArchive = saved(source.m_computer, GetParam());
    const LogCapture log;

    const auto pLoaded = loaded(strArchive, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(3u, pLoaded->getNbOfFeatures());
    EXPECT_THAT(log.texts(), ElementsAre("Unknown feature probe in archive", "Unknown feature silenceratio in archive",
                                         "Unknown feature noiseratio in archive"));
    EXPECT_EQ(strArchive, saved(*pLoaded, GetParam()));
}

TEST_P(SavedComputer, WithAnUnknownFeatureCanBeResetAndConfigured)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("probe"));
    const auto pLoaded = loaded(saved(source.m_computer, GetParam()), GetParam());
    ASSERT_NE(nullptr, pLoaded);

    EXPECT_TRUE(pLoaded->reset());
    EXPECT_TRUE(pLoaded->configure(TrieConfiguration()));
}

TEST_P(SavedComputer, KeepsTheOutputNameOfAnUnknownFeatureInUse)
{
    KnowingComputer source;
    ASSERT_TRUE(source.m_computer.addFeature("probe", "", "p"));
    const auto pLoaded = loaded(saved(source.m_computer, GetParam()), GetParam());
    ASSERT_NE(nullptr, pLoaded);

    EXPECT_FALSE(pLoaded->addFeature("silenceratio", "", "p"));
    EXPECT_FALSE(pLoaded->addFeature("silenceratio", "p"));
}

TEST_P(SavedComputer, ReportsAMalformedDescription)
{
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    std::string strArchive = saved(computer, GetParam());
    strArchive.replace(strArchive.find("silenceratio"), 12, "silencerati(");
    const LogCapture log;
    const AssertionCapture assertions;

    const auto pLoaded = loaded(strArchive, GetParam());

    ASSERT_NE(nullptr, pLoaded);
    EXPECT_EQ(1u, pLoaded->getNbOfFeatures());
    EXPECT_THAT(assertions.texts(), ElementsAre("splitParams(in_szFeatureName, strFeature, vParams)"));
    EXPECT_THAT(log.events(), testing::Contains(isError(s_szMathLogger, "MathFeatureComputer",
                                                        "Unknown feature silencerati( in archive")));
}

} // namespace
} // namespace Corvana::Audio
