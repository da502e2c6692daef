// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathFeatureComputer.h"

#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/MemAllocator.h"
#include "corvana/TrieConfiguration.h"
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Corvana::Math {
namespace {

using Audio::FeatureComputerWithInputsImpl;
using Test::addAll;
using Test::allExamples;
using Test::AssertionCapture;
using Test::computed;
using Test::DirectFeature;
using Test::isError;
using Test::LogCapture;
using Test::LogEvent;
using Test::makeWindows;
using Test::nbOfAllocations;
using Test::ProbeCalls;
using Test::ProbeComputer;
using Test::ProbeComputerWithInputs;
using Test::ProbeFactory;
using Test::s_szMathLogger;
using Test::sameBits;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const char* const s_szFile = "MathFeatureGraph";

TrieConfiguration makeConfiguration()
{
    ParameterTrie trie;
    trie.insert("signalfeature.SampleRate", ParameterValue(8000L));
    return TrieConfiguration(trie);
}

// What the features of a computer would write into vectors that are not emptied.
DoubleVector computedInto(FeatureComputer& inout_computer, DoubleVector in_vFeatures, bool in_bExpected)
{
    EXPECT_EQ(in_bExpected, inout_computer.computeFeatures(in_vFeatures));
    return in_vFeatures;
}

// ---- Adding features

TEST(FeatureComputerAddFeature, LeavesNoInputNameBehindWhenItRefuses)
{
    FeatureComputerWithInputsImpl computer;

    EXPECT_FALSE(computer.addFeature("nosuch", "x"));

    EXPECT_TRUE(computer.addFeature("spectrum", "", "x"));
}

TEST(FeatureComputerAddFeature, RefusesNullTexts)
{
    FeatureComputerWithInputsImpl computer;

    EXPECT_FALSE(computer.addFeature(nullptr));
    EXPECT_FALSE(computer.addFeature("spectrum", nullptr));
    EXPECT_FALSE(computer.addFeature("spectrum", "", nullptr));
    EXPECT_FALSE(computer.setInput(nullptr, DoubleVector(1)));
    EXPECT_EQ(0u, computer.getNbOfFeatures());
}

TEST(FeatureComputerAddFeature, RefusesMoreThanCanBeLoadedAgain)
{
    Audio::FeatureComputerImpl computer;
    for (unsigned uiFeature = 0; uiFeature < 65536; ++uiFeature)
        ASSERT_TRUE(computer.addFeature("silenceratio"));

    EXPECT_FALSE(computer.addFeature("silenceratio"));

    EXPECT_EQ(65536u, computer.getNbOfFeatures());
}

TEST(FeatureComputerAddFeature, TakesANameAndParameters)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_TRUE(computer.addFeature("silenceratio"));
    EXPECT_TRUE(computer.addFeature("SpectralRange(1000, 100)"));
    EXPECT_EQ(2u, computer.getNbOfFeatures());
}

TEST(FeatureComputerAddFeature, TakesAChainOfStages)
{
    Audio::FeatureComputerImpl computer;
    const DoubleVector vWindow = makeWindows(2).back();

    ASSERT_TRUE(computer.addFeature("spectrum|harmonicproduct|peaks"));

    EXPECT_EQ(1u, computer.getNbOfFeatures());
    EXPECT_TRUE(
        sameBits(DirectFeature("spectrum|harmonicproduct|peaks").compute(vWindow), computed(computer, vWindow)));
}

TEST(FeatureComputerAddFeature, DropsBlanksAroundStages)
{
    ProbeComputer computer;

    ASSERT_TRUE(computer.addFeature(" probe |\tother "));
    computed(computer, DoubleVector{3.0});

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute other"));
}

TEST(FeatureComputerAddFeature, TakesTheSameFeatureTwice)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_TRUE(computer.addFeature("neighbourhoodofmax"));
    EXPECT_TRUE(computer.addFeature("neighbourhoodofmax"));

    EXPECT_EQ(DoubleVector({1.0, 4.0, 2.0, 1.0, 4.0, 2.0}), computed(computer, DoubleVector{0.0, 1.0, 4.0, 2.0, 0.0}));
}

TEST(FeatureComputerAddFeature, AsksTheFactoriesInTheOrderOfAdding)
{
    ProbeCalls vFirst;
    ProbeCalls vSecond;
    FeatureComputerImpl computer;
    ASSERT_TRUE(computer.getFeaturePool().addFactory(new ProbeFactory(vFirst)));
    ASSERT_TRUE(computer.getFeaturePool().addFactory(new ProbeFactory(vSecond)));

    ASSERT_TRUE(computer.addFeature("probe"));
    computed(computer, DoubleVector{1.0});

    EXPECT_THAT(vFirst, ElementsAre("compute probe"));
    EXPECT_THAT(vSecond, IsEmpty());
}

class FeatureComputerRefusal : public testing::TestWithParam<const char*>
{
};

TEST_P(FeatureComputerRefusal, ChangesNothing)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));

    EXPECT_FALSE(computer.addFeature(GetParam()));

    EXPECT_EQ(1u, computer.getNbOfFeatures());
    EXPECT_EQ(DoubleVector({1.0, 4.0, 2.0}), computed(computer, DoubleVector{0.0, 1.0, 4.0, 2.0}));
}

INSTANTIATE_TEST_SUITE_P(UnknownOrMalformed, FeatureComputerRefusal,
                         testing::Values("", " ", "|", "nosuchfeature", "spectrum|nosuchfeature",
                                         "nosuchfeature|flatness", "spectrum|", "|flatness", "spectrum||flatness",
                                         "spectrum(", "spectrum)", "spectrum()x", "spectrum(1)", "spectralrange(1000)",
                                         "spectralrange(1000,)", "spectralrange(a,b)", "energyhistogram",
                                         "clippingrate", "spectralslope", "myfeature", "spectralrange(1000|100)"));

TEST(FeatureComputerAddFeature, IsSilentAboutAnUnknownName)
{
    Audio::FeatureComputerImpl computer;
    const LogCapture log;

    EXPECT_FALSE(computer.addFeature("nosuchfeature"));

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(FeatureComputerAddFeature, ReportsAMalformedStageByAnAssertion)
{
    Audio::FeatureComputerImpl computer;
    const AssertionCapture assertions;

    EXPECT_FALSE(computer.addFeature("spectrum|spectralrange(1000,"));

    EXPECT_THAT(assertions.texts(), ElementsAre("splitParams(in_szFeatureName, strFeature, vParams)"));
}

TEST(FeatureComputerAddFeature, KeepsItsTextsAsTheyWereGiven)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature(" Spectrum ", "", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));

    EXPECT_EQ(" Spectrum ", computer.getDescription(0));
    EXPECT_EQ("", computer.getInputName(0));
    EXPECT_EQ("s", computer.getOutputName(0));
    EXPECT_EQ("flatness", computer.getDescription(1));
    EXPECT_EQ("s", computer.getInputName(1));
    EXPECT_EQ("", computer.getOutputName(1));
}

// ---- Inputs and outputs

TEST(FeatureComputerOutputs, AreReadByLaterFeatures)
{
    Audio::FeatureComputerImpl computer;
    const DoubleVector vWindow = makeWindows(2).back();

    ASSERT_TRUE(computer.addFeature("spectrum", "", "s"));
    ASSERT_TRUE(computer.addFeature("flatness", "s"));

    EXPECT_TRUE(sameBits(DirectFeature("spectrum|flatness").compute(vWindow), computed(computer, vWindow)));
}

TEST(FeatureComputerOutputs, AreNotAppendedToTheResult)
{
    Audio::FeatureComputerImpl computer;

    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "", "hidden"));
    ASSERT_TRUE(computer.addFeature("silenceratio"));

    EXPECT_EQ(DoubleVector({0.5}), computed(computer, DoubleVector{0.0, 1.0, 0.0, 1.0}));
}

TEST(FeatureComputerOutputs, AreReadByChainsOfOutputs)
{
    ProbeComputer computer;

    ASSERT_TRUE(computer.addFeature("plain", "", "a"));
    ASSERT_TRUE(computer.addFeature("other|probe", "a", "b"));
    ASSERT_TRUE(computer.addFeature("noreset", "b"));

    EXPECT_EQ(DoubleVector({7.0, 1.0}), computed(computer, DoubleVector{7.0}));
    EXPECT_THAT(computer.takeCalls(),
                ElementsAre("compute plain", "compute other", "compute probe", "compute noreset"));
}

TEST(FeatureComputerOutputs, HaveUniqueNames)
{
    Audio::FeatureComputerImpl computer;

    ASSERT_TRUE(computer.addFeature("spectrum", "", "s"));

    EXPECT_FALSE(computer.addFeature("silenceratio", "", "s"));
    EXPECT_EQ(1u, computer.getNbOfFeatures());
}

TEST(FeatureComputerOutputs, MayDifferInCaseOnly)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_TRUE(computer.addFeature("silenceratio", "", "s"));
    EXPECT_TRUE(computer.addFeature("silenceratio", "", "S"));
}

TEST(FeatureComputerOutputs, CannotHaveTheNameOfAnInputThatIsRead)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("flatness", "s"));

    EXPECT_FALSE(computer.addFeature("spectrum", "", "s"));
    EXPECT_EQ(1u, computer.getNbOfFeatures());
}

TEST(FeatureComputerOutputs, CannotHaveTheNameOfAnInputThatIsSet)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.setInput("s", DoubleVector{1.0}));

    EXPECT_FALSE(computer.addFeature("spectrum", "", "s"));
    EXPECT_EQ(0u, computer.getNbOfFeatures());
}

TEST(FeatureComputerOutputs, CannotBeTheirOwnInput)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_FALSE(computer.addFeature("spectrum", "s", "s"));
    EXPECT_EQ(0u, computer.getNbOfFeatures());
}

TEST(FeatureComputerOutputs, KeepTheirNameFreeWhenTheFeatureIsUnknown)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_FALSE(computer.addFeature("nosuchfeature", "", "s"));

    EXPECT_TRUE(computer.addFeature("spectrum", "", "s"));
}

TEST(FeatureComputerInputs, AreReadByName)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "left"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "right"));

    ASSERT_TRUE(computer.setInput("right", DoubleVector{0.0, 1.0, 2.0, 1.0}));
    ASSERT_TRUE(computer.setInput("left", DoubleVector{0.0, 3.0, 4.0, 3.0}));

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0, 1.0, 2.0, 1.0}), computed(computer));
}

TEST(FeatureComputerInputs, MayBeSetBeforeFeaturesReadThem)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.setInput("left", DoubleVector{0.0, 3.0, 4.0, 3.0}));

    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "left"));

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computed(computer));
}

TEST(FeatureComputerInputs, StandBesideTheWindow)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "left"));
    computer.setWindow(DoubleVector{0.0, 1.0, 2.0, 1.0});
    ASSERT_TRUE(computer.setInput("left", DoubleVector{0.0, 3.0, 4.0, 3.0}));

    EXPECT_EQ(DoubleVector({1.0, 2.0, 1.0, 3.0, 4.0, 3.0}), computed(computer));
}

TEST(FeatureComputerInputs, MayNotBeUnnamed)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));

    EXPECT_FALSE(computer.setInput("", DoubleVector{1.0}));

    DoubleVector vFeatures;
    EXPECT_FALSE(computer.computeFeatures(vFeatures));
}

TEST(FeatureComputerInputs, MayNotHaveTheNameOfAnOutput)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "", "peak"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax|silenceratio"));

    EXPECT_FALSE(computer.setInput("peak", DoubleVector{1.0}));
}

TEST(FeatureComputerInputs, AreCopied)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "left"));
    DoubleVector vInput{0.0, 3.0, 4.0, 3.0};
    ASSERT_TRUE(computer.setInput("left", vInput));

    vInput[2] = 100.0;

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computed(computer));
}

TEST(FeatureComputerInputs, ReplaceFormerOnes)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "left"));
    ASSERT_TRUE(computer.setInput("left", DoubleVector{0.0, 3.0, 4.0, 3.0}));
    computed(computer);

    ASSERT_TRUE(computer.setInput("left", DoubleVector{0.0, 1.0, 2.0, 1.0, 0.0, 0.0}));

    EXPECT_EQ(DoubleVector({1.0, 2.0, 1.0}), computed(computer));
}

TEST(FeatureComputerWindow, IsCopied)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    DoubleVector vWindow{0.0, 3.0, 4.0, 3.0};
    computer.setWindow(vWindow);

    vWindow[2] = 100.0;

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computed(computer));
}

TEST(FeatureComputerWindow, MayBeTheVectorThatFeaturesAreComputedInto)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    DoubleVector vBoth{0.0, 3.0, 4.0, 3.0};
    computer.setWindow(vBoth);

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computedInto(computer, vBoth, true));
}

TEST(FeatureComputerWindow, MayBeEmpty)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("zerocrossingrate"));

    EXPECT_EQ(DoubleVector({0.0}), computed(computer, DoubleVector()));
}

TEST(FeatureComputerWindow, StaysUntilTheNextOne)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    computed(computer, DoubleVector{0.0, 3.0, 4.0, 3.0});

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computed(computer));
}

// ---- Computing

TEST(FeatureComputerValues, ComeInTheOrderOfAdding)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    ASSERT_TRUE(computer.addFeature("amplitudedistribution"));

    EXPECT_EQ(DoubleVector({0.25, 1.0, 4.0, 3.0, 0.75, 0.0, 0.0, 0.25}),
              computed(computer, DoubleVector{0.0, 1.0, 4.0, 3.0}));
}

TEST(FeatureComputerValues, ComeInTheOrderOfAddingWhenStagesAreShared)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|plain"));
    ASSERT_TRUE(computer.addFeature("other"));
    ASSERT_TRUE(computer.addFeature("probe"));
    computed(computer, DoubleVector{5.0});

    EXPECT_EQ(DoubleVector({5.0, 2.0, 5.0, 2.0, 5.0, 2.0}), computed(computer));
}

TEST(FeatureComputerValues, ReplaceWhatTheVectorHeld)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    computer.setWindow(DoubleVector{0.0, 1.0});

    EXPECT_EQ(DoubleVector({0.5}), computedInto(computer, DoubleVector{1.0, 2.0, 3.0}, true));
}

TEST(FeatureComputerValues, AreNoneWithoutFeatures)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, true));
}

TEST(FeatureComputerValues, EqualThoseOfFeaturesCalledDirectly)
{
    const std::vector<std::string> vExamples = allExamples();
    Audio::FeatureComputerImpl computer;
    addAll(computer, vExamples);
    std::vector<DirectFeature> vDirect;
    for (const std::string& strExample : vExamples)
        vDirect.emplace_back(strExample);

    for (const DoubleVector& vWindow : makeWindows(20)) {
        DoubleVector vExpected;
        for (DirectFeature& feature : vDirect) {
            const DoubleVector vValues = feature.compute(vWindow);
            vExpected.insert(vExpected.end(), vValues.begin(), vValues.end());
        }
        ASSERT_TRUE(sameBits(vExpected, computed(computer, vWindow)));
    }
}

class FeatureComputerOfOneFeature : public testing::TestWithParam<Audio::FeatureDescription>
{
};

TEST_P(FeatureComputerOfOneFeature, YieldsTheFeaturesOwnValues)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature(GetParam().m_szExample));
    DirectFeature feature(GetParam().m_szExample);

    for (const DoubleVector& vWindow : makeWindows(8))
        ASSERT_TRUE(sameBits(feature.compute(vWindow), computed(computer, vWindow)));
}

TEST_P(FeatureComputerOfOneFeature, YieldsTheSameValuesBehindAllOthers)
{
    Audio::FeatureComputerImpl computer;
    for (const std::string& strExample : allExamples())
        ASSERT_TRUE(computer.addFeature(strExample.c_str(), "", ("hidden " + strExample).c_str()));
    ASSERT_TRUE(computer.addFeature(GetParam().m_szExample));
    DirectFeature feature(GetParam().m_szExample);

    for (const DoubleVector& vWindow : makeWindows(8))
        ASSERT_TRUE(sameBits(feature.compute(vWindow), computed(computer, vWindow)));
}

INSTANTIATE_TEST_SUITE_P(All, FeatureComputerOfOneFeature,
                         testing::ValuesIn(Audio::getFeatureDescriptions().begin(),
                                           Audio::getFeatureDescriptions().end()),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

TEST(FeatureComputerAllocations, EndWithTheFirstWindow)
{
    FeatureComputerWithInputsImpl computer;
    addAll(computer, allExamples());
    ASSERT_TRUE(computer.addFeature("spectrum|peaks", "tone", "p"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "p"));
    const std::vector<DoubleVector> vWindows = makeWindows(6);
    const std::string strInput = "tone";
    DoubleVector vFeatures;
    computer.setWindow(vWindows[0]);
    ASSERT_TRUE(computer.setInput(strInput.c_str(), vWindows[0]));
    ASSERT_TRUE(computer.computeFeatures(vFeatures));
    const MemAccount vectorsBefore = getMemAccount("\"DoubleVector\"");
    const auto uiBefore = nbOfAllocations();

    for (const DoubleVector& vWindow : vWindows) {
        computer.setWindow(vWindow);
        computer.setInput(strInput.c_str(), vWindow);
        computer.computeFeatures(vFeatures);
    }

    EXPECT_EQ(uiBefore, nbOfAllocations());
    EXPECT_EQ(vectorsBefore.m_uiTotalBlocks, getMemAccount("\"DoubleVector\"").m_uiTotalBlocks);
    EXPECT_LT(30u, vFeatures.size());
}

// ---- Several windows

// What a computer yields for windows in blocks of that many, as far as it comes.
std::vector<DoubleVector> computedInBlocks(FeatureComputerImpl& inout_computer,
                                           const std::vector<DoubleVector>& in_vWindows, std::size_t in_uiBlock)
{
    std::vector<DoubleVector> vFeatures(in_vWindows.size());
    for (std::size_t uiFirst = 0; uiFirst < in_vWindows.size(); uiFirst += in_uiBlock) {
        const std::size_t uiNbOfWindows = std::min(in_uiBlock, in_vWindows.size() - uiFirst);
        const unsigned long uiComputed =
            inout_computer.computeSeveral(uiNbOfWindows, in_vWindows.data() + uiFirst, vFeatures.data() + uiFirst);
        if (uiComputed < uiNbOfWindows) {
            vFeatures.resize(uiFirst + uiComputed);
            break;
        }
    }
    return vFeatures;
}

std::vector<DoubleVector> computedOneByOne(FeatureComputerImpl& inout_computer,
                                           const std::vector<DoubleVector>& in_vWindows)
{
    std::vector<DoubleVector> vFeatures;
    for (const DoubleVector& vWindow : in_vWindows) {
        DoubleVector vValues;
        inout_computer.setWindow(vWindow);
        if (!inout_computer.computeFeatures(vValues))
            break;
        vFeatures.push_back(vValues);
    }
    return vFeatures;
}

void expectSameBits(const std::vector<DoubleVector>& in_vExpected, const std::vector<DoubleVector>& in_vFeatures)
{
    ASSERT_EQ(in_vExpected.size(), in_vFeatures.size());
    for (std::size_t uiWindow = 0; uiWindow < in_vExpected.size(); ++uiWindow)
        EXPECT_TRUE(sameBits(in_vExpected[uiWindow], in_vFeatures[uiWindow])) << "window " << uiWindow;
}

TEST(FeatureComputerSeveralWindows, GiveTheBitsOfOneAfterAnother)
{
    const std::vector<DoubleVector> vWindows = makeWindows(41);
    for (const std::size_t uiBlock : {1u, 2u, 7u, 8u, 9u, 16u, 41u}) {
        Audio::FeatureComputerImpl computer;
        Audio::FeatureComputerImpl oneByOne;
        for (Audio::FeatureComputerImpl* pComputer : {&computer, &oneByOne}) {
            for (const std::string& strDescription : allExamples())
                if (strDescription.find("tone") == std::string::npos)
                    pComputer->addFeature(strDescription.c_str());
            ASSERT_TRUE(pComputer->addFeature("spectrum500hz"));
            ASSERT_TRUE(pComputer->addFeature("spectrum|flatness|deltatoslidingmean"));
            ASSERT_TRUE(pComputer->addFeature("spectrum100hz", "", "bands"));
            ASSERT_TRUE(pComputer->addFeature("peaks", "bands"));
        }

        expectSameBits(computedOneByOne(oneByOne, vWindows), computedInBlocks(computer, vWindows, uiBlock));
    }
}

TEST(FeatureComputerSeveralWindows, MayFollowAndPrecedeSingleOnes)
{
    const std::vector<DoubleVector> vWindows = makeWindows(20);
    Audio::FeatureComputerImpl computer;
    Audio::FeatureComputerImpl oneByOne;
    addAll(computer, {"spectrum|flatness|deltatoslidingmean", "zerocrossingrate", "spectrum"});
    addAll(oneByOne, {"spectrum|flatness|deltatoslidingmean", "zerocrossingrate", "spectrum"});
    const std::vector<DoubleVector> vExpected = computedOneByOne(oneByOne, vWindows);

    expectSameBits({vExpected.begin(), vExpected.begin() + 2},
                   computedOneByOne(computer, {vWindows.begin(), vWindows.begin() + 2}));
    expectSameBits({vExpected.begin() + 2, vExpected.begin() + 18},
                   computedInBlocks(computer, {vWindows.begin() + 2, vWindows.begin() + 18}, 8));
    expectSameBits({vExpected.begin() + 18, vExpected.end()},
                   computedOneByOne(computer, {vWindows.begin() + 18, vWindows.end()}));
}

TEST(FeatureComputerSeveralWindows, LeaveTheLastOneAsTheWindow)
{
    const std::vector<DoubleVector> vWindows = makeWindows(8);
    Audio::FeatureComputerImpl computer;
    addAll(computer, {"silenceratio", "spectrum"});
    const std::vector<DoubleVector> vFeatures = computedInBlocks(computer, vWindows, 8);

    EXPECT_TRUE(sameBits(vFeatures.back(), computed(computer)));
}

TEST(FeatureComputerSeveralWindows, ReachFeaturesInTheirOrder)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.addFeature("spectrum|other"));
    const std::vector<DoubleVector> vWindows = makeWindows(3);

    expectSameBits({DoubleVector{vWindows[0][0], 1.0}, DoubleVector{vWindows[1][0], 2.0}}, [&] {
        std::vector<DoubleVector> vFeatures = computedInBlocks(computer, vWindows, 3);
        vFeatures.pop_back();
        for (DoubleVector& vValues : vFeatures)
            vValues.resize(2);
        return vFeatures;
    }());

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute other", "compute probe", "compute other",
                                                  "compute probe", "compute other"));
}

TEST(FeatureComputerSeveralWindows, ShareThePrefixesOfFeatures)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|spectrum|flatness"));
    ASSERT_TRUE(computer.addFeature("probe|other"));

    EXPECT_EQ(2u, computedInBlocks(computer, makeWindows(2), 2).size());

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute other", "compute probe", "compute other"));
}

// A window of another length fails; those before it have their values, and whatever remembers has seen it or not as if
// windows had come alone.
TEST(FeatureComputerSeveralWindows, EndWithTheFirstOneThatFails)
{
    std::vector<DoubleVector> vWindows = makeWindows(16);
    vWindows[11].resize(128);
    Audio::FeatureComputerImpl computer;
    Audio::FeatureComputerImpl oneByOne;
    for (Audio::FeatureComputerImpl* pComputer : {&computer, &oneByOne})
        addAll(*pComputer, {"zerocrossingrate", "spectrum", "amplitudedistribution"});
    std::vector<LogEvent> vExpectedEvents;
    std::vector<DoubleVector> vExpected;
    {
        const LogCapture log;
        vExpected = computedOneByOne(oneByOne, vWindows);
        vExpectedEvents = log.events();
    }
    ASSERT_EQ(11u, vExpected.size());

    const LogCapture log;
    expectSameBits(vExpected, computedInBlocks(computer, vWindows, 8));

    EXPECT_EQ(vExpectedEvents, log.events());
    EXPECT_FALSE(log.events().empty());
    const std::vector<DoubleVector> vRest(vWindows.begin() + 12, vWindows.end());
    expectSameBits(computedOneByOne(oneByOne, vRest), computedInBlocks(computer, vRest, 8));
}

TEST(FeatureComputerSeveralWindows, LeaveOutputsBehindAFailureAlone)
{
    std::vector<DoubleVector> vWindows = makeWindows(3);
    vWindows[1].resize(128);
    Audio::FeatureComputerImpl computer;
    addAll(computer, {"silenceratio", "spectrum"});
    std::vector<DoubleVector> vFeatures(3, DoubleVector{1.0, 2.0});

    EXPECT_EQ(1u, computer.computeSeveral(3, vWindows.data(), vFeatures.data()));

    EXPECT_EQ(129u, vFeatures[0].size());
    EXPECT_TRUE(vFeatures[1].empty());
    EXPECT_EQ((DoubleVector{1.0, 2.0}), vFeatures[2]);
}

TEST(FeatureComputerSeveralWindows, ComputeNothingAheadOfAFirstOneThatFails)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("nocompute"));
    ASSERT_TRUE(computer.addFeature("spectrum"));
    const std::vector<DoubleVector> vWindows = makeWindows(8);

    EXPECT_THAT(computedInBlocks(computer, vWindows, 8), IsEmpty());

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute nocompute"));
}

TEST(FeatureComputerSeveralWindows, ReportLengthsThatAreNoPowerOfTwoForEachOfThem)
{
    const std::vector<DoubleVector> vWindows(4, DoubleVector(96, 0.25));
    for (const auto& [szFeature, uiNbOfValues] : {std::pair("spectrum", 48u), std::pair("spectrum500hz", 8u)}) {
        Audio::FeatureComputerImpl computer;
        addAll(computer, {szFeature});
        const AssertionCapture assertions;

        const std::vector<DoubleVector> vSpectra = computedInBlocks(computer, vWindows, 4);

        EXPECT_EQ(4u, vSpectra.size());
        for (const DoubleVector& vSpectrum : vSpectra)
            EXPECT_EQ(uiNbOfValues, vSpectrum.size());
        EXPECT_EQ(8u, assertions.texts().size());
    }
}

TEST(FeatureComputerSeveralWindows, NeedTheOtherInputsAsWell)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum"));
    ASSERT_TRUE(computer.addFeature("spectrum", "tone"));
    const std::vector<DoubleVector> vWindows = makeWindows(4);
    const LogCapture log;
    EXPECT_THAT(computedInBlocks(computer, vWindows, 4), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre("Missing input tone of feature spectrum"));

    ASSERT_TRUE(computer.setInput("tone", vWindows[3]));

    for (const DoubleVector& vFeatures : computedInBlocks(computer, vWindows, 4))
        EXPECT_EQ(256u, vFeatures.size());
}

TEST(FeatureComputerSeveralWindows, MayBeNone)
{
    Audio::FeatureComputerImpl computer;
    addAll(computer, {"spectrum"});

    EXPECT_EQ(0u, computer.computeSeveral(0, nullptr, nullptr));
}

TEST(FeatureComputerSeveralWindows, AllocateNothingAfterTheSecondBlock)
{
    Audio::FeatureComputerImpl computer;
    addAll(computer, {"spectrum", "spectrum|flatness", "spectrum500hz", "zerocrossingrate", "peaks"});
    const std::vector<DoubleVector> vWindows = makeWindows(8);
    std::vector<DoubleVector> vFeatures(8);
    for (int iBlock = 0; iBlock < 2; ++iBlock)
        ASSERT_EQ(8u, computer.computeSeveral(8, vWindows.data(), vFeatures.data()));
    const auto uiBefore = nbOfAllocations();

    for (int iBlock = 0; iBlock < 5; ++iBlock)
        computer.computeSeveral(8, vWindows.data(), vFeatures.data());

    EXPECT_EQ(uiBefore, nbOfAllocations());
}

// ---- Sharing

TEST(FeatureComputerSharing, ComputesACommonPrefixOnceAWindow)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|plain"));
    ASSERT_TRUE(computer.addFeature("probe|other"));
    ASSERT_TRUE(computer.addFeature("probe|other|noreset"));
    ASSERT_TRUE(computer.addFeature("probe"));
    computer.setWindow(DoubleVector{1.0});

    computed(computer);
    EXPECT_THAT(computer.takeCalls(),
                ElementsAre("compute probe", "compute plain", "compute other", "compute noreset"));
    computed(computer);
    EXPECT_THAT(computer.takeCalls(),
                ElementsAre("compute probe", "compute plain", "compute other", "compute noreset"));
}

TEST(FeatureComputerSharing, JoinsNamedOutputsAndChains)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe", "", "p"));
    ASSERT_TRUE(computer.addFeature("other", "p"));
    ASSERT_TRUE(computer.addFeature("probe|other"));

    EXPECT_EQ(DoubleVector({9.0, 1.0, 9.0, 1.0}), computed(computer, DoubleVector{9.0}));
    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute other"));
}

TEST(FeatureComputerSharing, KeepsDifferentParametersApart)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe(1)|plain"));
    ASSERT_TRUE(computer.addFeature("probe(2)|plain"));

    computed(computer, DoubleVector{1.0});

    EXPECT_THAT(computer.takeCalls(),
                ElementsAre("compute probe(1)", "compute plain", "compute probe(2)", "compute plain"));
}

TEST(FeatureComputerSharing, KeepsDifferentInputsApart)
{
    ProbeComputerWithInputs computer;
    ASSERT_TRUE(computer.addFeature("probe", "left"));
    ASSERT_TRUE(computer.addFeature("probe", "right"));
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.setInput("left", DoubleVector{1.0}));
    ASSERT_TRUE(computer.setInput("right", DoubleVector{2.0}));

    EXPECT_EQ(DoubleVector({1.0, 1.0, 2.0, 1.0, 3.0, 1.0}), computed(computer, DoubleVector{3.0}));
}

TEST(FeatureComputerSharing, KeepsTheStagesOfAChainApart)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|probe"));
    ASSERT_TRUE(computer.addFeature("probe"));

    computed(computer, DoubleVector{1.0});

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute probe"));
}

TEST(FeatureComputerSharing, LetsAFeatureAddedAfterAWindowStartFresh)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    computed(computer, DoubleVector{1.0});
    computed(computer);

    ASSERT_TRUE(computer.addFeature("probe"));

    EXPECT_EQ(DoubleVector({1.0, 3.0, 1.0, 1.0}), computed(computer));
}

TEST(FeatureComputerSharing, LetsAChainAddedAfterAWindowStartFresh)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|other"));
    computed(computer, DoubleVector{1.0});

    ASSERT_TRUE(computer.addFeature("probe|other"));
    ASSERT_TRUE(computer.addFeature("probe|other"));

    EXPECT_EQ(DoubleVector({1.0, 2.0, 1.0, 1.0, 1.0, 1.0}), computed(computer));
}

TEST(FeatureComputerSharing, LetsAMemoryOfRealFeaturesStartFresh)
{
    Audio::FeatureComputerImpl computer;
    const std::vector<DoubleVector> vWindows = makeWindows(4);
    ASSERT_TRUE(computer.addFeature("temporalamplitudedistribution"));
    for (const DoubleVector& vWindow : vWindows)
        computed(computer, vWindow);

    ASSERT_TRUE(computer.addFeature("temporalamplitudedistribution"));
    const DoubleVector vQuiet = DoubleVector(256, 0.001);
    const DoubleVector vFeatures = computed(computer, vQuiet);

    ASSERT_EQ(8u, vFeatures.size());
    EXPECT_TRUE(sameBits(DirectFeature("temporalamplitudedistribution").compute(vQuiet),
                         DoubleVector{vFeatures[4], vFeatures[5], vFeatures[6], vFeatures[7]}));
    EXPECT_EQ(DoubleVector({0.0, 0.0, 0.0, 1.0}),
              DoubleVector({vFeatures[0], vFeatures[1], vFeatures[2], vFeatures[3]}));
}

TEST(FeatureComputerSharing, LetsAFeatureAddedAfterConfiguringStartUnconfigured)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.configure(makeConfiguration()));
    ASSERT_TRUE(computer.addFeature("probe"));
    computer.takeCalls();

    computed(computer, DoubleVector{1.0});

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute probe"));
}

TEST(FeatureComputerSharing, StartsAFeatureFreshWhenAWindowFailedBehindIt)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.addFeature("nocompute"));
    computer.setWindow(DoubleVector{1.0});
    DoubleVector vFeatures;
    ASSERT_FALSE(computer.computeFeatures(vFeatures));

    ASSERT_TRUE(computer.addFeature("probe"));
    computer.takeCalls();
    ASSERT_FALSE(computer.computeFeatures(vFeatures));

    EXPECT_THAT(computer.takeCalls(), ElementsAre("compute probe", "compute nocompute"));
}

// ---- What is missing, what fails

TEST(FeatureComputerFailure, NamesTheFeatureWithoutAWindow)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("spectrum|flatness"));
    const LogCapture log;

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, false));

    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szMathLogger, s_szFile, "Missing window of feature spectrum|flatness")));
}

TEST(FeatureComputerFailure, NamesTheMissingInput)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("silenceratio", "tone"));
    computer.setWindow(DoubleVector{1.0});
    ASSERT_TRUE(computer.setInput("other", DoubleVector{1.0}));
    const LogCapture log;

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, false));

    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szMathLogger, s_szFile, "Missing input tone of feature silenceratio")));
}

TEST(FeatureComputerFailure, NamesTheMissingInputOfAComputerThatTakesNone)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio", "tone"));
    computer.setWindow(DoubleVector{1.0});
    const LogCapture log;

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, false));

    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szMathLogger, s_szFile, "Missing input tone of feature silenceratio")));
}

TEST(FeatureComputerFailure, ComputesNothingWhenAnInputIsMissing)
{
    ProbeComputerWithInputs computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.addFeature("other", "tone"));
    computer.setWindow(DoubleVector{1.0});
    DoubleVector vFeatures;

    ASSERT_FALSE(computer.computeFeatures(vFeatures));

    EXPECT_THAT(computer.takeCalls(), IsEmpty());
}

TEST(FeatureComputerFailure, OfAMissingInputIsOverOnceItIsSet)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax", "tone"));
    DoubleVector vFeatures;
    ASSERT_FALSE(computer.computeFeatures(vFeatures));

    ASSERT_TRUE(computer.setInput("tone", DoubleVector{0.0, 3.0, 4.0, 3.0}));

    EXPECT_EQ(DoubleVector({3.0, 4.0, 3.0}), computed(computer));
}

TEST(FeatureComputerFailure, NamesTheStageThatFailed)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("silenceratio|neighbourhoodofmax"));
    computer.setWindow(DoubleVector{0.0, 1.0});
    const LogCapture log;

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, false));

    EXPECT_THAT(log.events(),
                ElementsAre(isError(s_szMathLogger, s_szFile, "Could not compute feature neighbourhoodofmax")));
}

TEST(FeatureComputerFailure, OfAHiddenFeatureIsAFailure)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("plain"));
    ASSERT_TRUE(computer.addFeature("nocompute", "", "hidden"));
    computer.setWindow(DoubleVector{1.0});

    EXPECT_EQ(DoubleVector(), computedInto(computer, DoubleVector{1.0}, false));
}

TEST(FeatureComputerFailure, EndsWithTheNextGoodWindow)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("neighbourhoodofmax"));
    computer.setWindow(DoubleVector{0.0, 1.0});
    DoubleVector vFeatures;
    ASSERT_FALSE(computer.computeFeatures(vFeatures));

    EXPECT_EQ(DoubleVector({0.25, 1.0, 4.0, 3.0}), computed(computer, DoubleVector{0.0, 1.0, 4.0, 3.0}));
}

// ---- Configuring

TEST(FeatureComputerConfigure, ReachesEveryStageWithoutParentheses)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|other"));
    ASSERT_TRUE(computer.addFeature("plain|noreset", "", "hidden"));

    EXPECT_TRUE(computer.configure(makeConfiguration()));

    EXPECT_THAT(computer.takeCalls(), UnorderedElementsAre("configure probe", "configure other", "configure noreset"));
}

TEST(FeatureComputerConfigure, LeavesStagesWithParenthesesAlone)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe(1)|other"));
    ASSERT_TRUE(computer.addFeature("probe()"));

    EXPECT_TRUE(computer.configure(makeConfiguration()));

    EXPECT_THAT(computer.takeCalls(), ElementsAre("configure other"));
}

TEST(FeatureComputerConfigure, ConfiguresASharedStageOnce)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|plain"));
    ASSERT_TRUE(computer.addFeature("probe"));

    EXPECT_TRUE(computer.configure(makeConfiguration()));

    EXPECT_THAT(computer.takeCalls(), ElementsAre("configure probe"));
}

TEST(FeatureComputerConfigure, ReachesAllEvenBehindAFailure)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe"));
    ASSERT_TRUE(computer.addFeature("noconfigure"));
    ASSERT_TRUE(computer.addFeature("other"));

    EXPECT_FALSE(computer.configure(makeConfiguration()));

    EXPECT_THAT(computer.takeCalls(), ElementsAre("configure probe", "configure noconfigure", "configure other"));
}

TEST(FeatureComputerConfigure, IsTrueWithoutFeatures)
{
    Audio::FeatureComputerImpl computer;

    EXPECT_TRUE(computer.configure(makeConfiguration()));
}

TEST(FeatureComputerConfigure, HandsTheConfigurationToTheFeatures)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("zerocrossingrate"));
    const LogCapture log;

    EXPECT_FALSE(computer.configure(TrieConfiguration()));

    EXPECT_THAT(log.texts(), ElementsAre("Could not find parameter signalfeature.SampleRate in configuration"));
    EXPECT_TRUE(computer.configure(makeConfiguration()));
}

TEST(FeatureComputerConfigure, DoesNotAskFeaturesThatGetTheirParametersInParentheses)
{
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("zerocrossingrate(1)"));
    ASSERT_TRUE(computer.addFeature("spectrum|maxspectralranges(440,480)"));
    const LogCapture log;

    EXPECT_TRUE(computer.configure(TrieConfiguration()));

    EXPECT_THAT(log.events(), IsEmpty());
}

// ---- Resetting

TEST(FeatureComputerReset, ReachesEveryStageThatCanBeReset)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("probe|other(1)"));
    ASSERT_TRUE(computer.addFeature("plain|noconfigure", "", "hidden"));

    EXPECT_TRUE(computer.reset());

    EXPECT_THAT(computer.takeCalls(), UnorderedElementsAre("reset probe", "reset other(1)", "reset noconfigure"));
}

TEST(FeatureComputerReset, ReachesAllEvenBehindAFailure)
{
    ProbeComputer computer;
    ASSERT_TRUE(computer.addFeature("noreset"));
    ASSERT_TRUE(computer.addFeature("probe"));

    EXPECT_FALSE(computer.reset());

    EXPECT_THAT(computer.takeCalls(), ElementsAre("reset noreset", "reset probe"));
}

TEST(FeatureComputerReset, MakesFeaturesWithMemoryStartAnew)
{
    const char* const szDescription = "temporalamplitudedistribution|peaks";
    Audio::FeatureComputerImpl computer;
    ASSERT_TRUE(computer.addFeature("temporalamplitudedistribution"));
    ASSERT_TRUE(computer.addFeature(szDescription));
    ASSERT_TRUE(computer.addFeature("silenceratio|deltatoslidingmean"));
    const std::vector<DoubleVector> vWindows = makeWindows(6);
    std::vector<DoubleVector> vFirst;
    for (const DoubleVector& vWindow : vWindows)
        vFirst.push_back(computed(computer, vWindow));

    ASSERT_TRUE(computer.reset());

    for (unsigned long uiIndex = 0; uiIndex < vWindows.size(); ++uiIndex)
        EXPECT_TRUE(sameBits(vFirst[uiIndex], computed(computer, vWindows[uiIndex]))) << uiIndex;
}

TEST(FeatureComputerReset, KeepsWindowAndInputs)
{
    FeatureComputerWithInputsImpl computer;
    ASSERT_TRUE(computer.addFeature("silenceratio"));
    ASSERT_TRUE(computer.addFeature("silenceratio", "tone"));
    computer.setWindow(DoubleVector{0.0, 1.0});
    ASSERT_TRUE(computer.setInput("tone", DoubleVector{0.0, 0.0, 0.0, 1.0}));

    ASSERT_TRUE(computer.reset());

    EXPECT_EQ(DoubleVector({0.5, 0.75}), computed(computer));
}

} // namespace
} // namespace Corvana::Math
