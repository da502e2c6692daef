// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/MemAllocator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <locale>
#include <map>
#include <memory>

namespace Corvana::Audio {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned long s_uiLargest = std::numeric_limits<unsigned long>::max();

std::unique_ptr<Math::SignalFeature> made(const std::string& in_strDescription)
{
    return std::unique_ptr<Math::SignalFeature>(AudioFeatureFactory().getNewFeature(in_strDescription.c_str()));
}

Values indexes(unsigned long in_uiNbOfBins)
{
    Values vBins(in_uiNbOfBins);
    for (unsigned long i = 0; i < in_uiNbOfBins; ++i)
        vBins[i] = static_cast<double>(i);
    return vBins;
}

// A feature that is not made fails the test, which goes on.
Outcome outcomeOfMade(const std::string& in_strDescription, const Values& in_vInput)
{
    const auto pFeature = made(in_strDescription);
    if (pFeature == nullptr) {
        ADD_FAILURE() << in_strDescription << " is not made";
        return refuses();
    }
    return outcomeOf(*pFeature, in_vInput);
}

// Everything that any logger says, but for the trace of every name.
void expectNullInSilence(const std::string& in_strDescription)
{
    const LogCapture log("kestrivon", 10000);

    EXPECT_EQ(nullptr, made(in_strDescription)) << in_strDescription;

    EXPECT_THAT(log.texts(), IsEmpty()) << in_strDescription;
}

void expectNullWithAssertion(const std::string& in_strDescription, const std::string& in_strText, int in_iLine)
{
    const LogCapture log("kestrivon", 10000);

    EXPECT_EQ(nullptr, made(in_strDescription)) << in_strDescription;

    const LogEvent expected{"kestrivon.assertion", 40000, "Assertion failed: " + in_strText, "AudioFeatureFactory",
                            in_iLine};
    EXPECT_THAT(log.events(), ElementsAre(expected)) << in_strDescription;
}

// ---- The table of kinds

struct Kind
{
    const char* m_szName;
    const std::type_info* m_pType;
    const char* m_szGood; // parameters that it takes
    const char* m_szBad;  // a wrong number of them
    const char* m_szText; // of the assertion
    int m_iLine;          // and its line
};

std::ostream& operator<<(std::ostream& out_stream, const Kind& in_kind)
{
    return out_stream << in_kind.m_szName;
}

const Kind s_aKinds[] = {
    {"zerocrossingrate", &typeid(ZeroCrossingRateFeature), "", "(1,2)", "vParams.size() == 1", 53},
    {"spectrum", &typeid(SpectrumFeature), "", "(1)", "vParams.empty()", 61},
    {"spectrum100hz", &typeid(SpectrumReducedFeature), "", "(1)", "vParams.empty()", 65},
    {"spectrum200hz", &typeid(SpectrumReducedFeature), "", "(1)", "vParams.empty()", 68},
    {"spectrum500hz", &typeid(SpectrumReducedFeature), "", "(1)", "vParams.empty()", 71},
    {"flatness", &typeid(FlatnessFeature), "", "(1)", "vParams.empty()", 74},
    {"spectralrange", &typeid(SpectralRangeFeature), "(1000,100)", "(300)", "vParams.size() == 2", 82},
    {"maxspectralranges", &typeid(MaxSpectralRangesFeature), "(440,480)", "", "!vParams.empty()", 96},
    {"oldharmonicproduct", &typeid(OldHarmonicProductFeature), "", "(1)", "vParams.empty()", 115},
    {"harmonicproduct", &typeid(HarmonicProductFeature), "", "(1)", "vParams.empty()", 118},
    {"robustharmonicproduct", &typeid(RobustHarmonicProductFeature), "", "(1)", "vParams.empty()", 121},
    {"antiharmonicproduct", &typeid(AntiHarmonicProductFeature), "", "(1)", "vParams.empty()", 124},
    {"spectralweightedarea", &typeid(SpectralWeightedAreaFeature), "", "(1)", "vParams.empty()", 127},
    {"silenceratio", &typeid(SilenceRatioFeature), "", "(1)", "vParams.empty()", 130},
    {"noiseratio", &typeid(SilenceRatioFeature), "", "(1)", "vParams.empty()", 133},
    {"amplitudedistribution", &typeid(RatiosFeature), "", "(1)", "vParams.empty()", 136},
    {"temporalamplitudedistribution", &typeid(RatiosFeature), "", "(1)", "vParams.empty()", 139},
    {"peaks", &typeid(PeaksFeature), "", "(1)", "vParams.empty()", 142},
    {"neighbourhoodofmax", &typeid(MaxNeighbourhoodFeature), "", "(1)", "vParams.empty()", 145},
    {"lowfreqenergyratio", &typeid(LowFreqEnergyRatioFeature), "", "(1)", "vParams.empty()", 148},
    {"lowfreqenergyratios", &typeid(LowFreqEnergyRatiosFeature), "", "(1)", "vParams.empty()", 151},
    {"deltatoslidingmean", &typeid(DeltaToSlidingMeanFeature), "", "(1)", "vParams.empty()", 154},
};

std::string upperCase(std::string in_strText)
{
    std::transform(in_strText.begin(), in_strText.end(), in_strText.begin(),
                   [](unsigned char in_cLetter) { return static_cast<char>(std::toupper(in_cLetter)); });
    return in_strText;
}

class AudioFeatureFactoryKinds : public testing::TestWithParam<Kind>
{
};

TEST_P(AudioFeatureFactoryKinds, AreMadeInSilence)
{
    const LogCapture log("kestrivon", 10000);

    const auto pFeature = made(std::string(GetParam().m_szName) + GetParam().m_szGood);

    ASSERT_NE(nullptr, pFeature);
    const Math::SignalFeature& feature = *pFeature;
    EXPECT_EQ(*GetParam().m_pType, typeid(feature));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_P(AudioFeatureFactoryKinds, AreMadeInAnyLetterCaseAndWithBlanksAround)
{
    std::string strMixed = GetParam().m_szName;
    strMixed[0] = upperCase(strMixed)[0];
    strMixed.back() = upperCase(strMixed).back();
    for (const std::string& strName : {upperCase(GetParam().m_szName), strMixed, " " + strMixed + "\t"}) {
        const auto pFeature = made(strName + GetParam().m_szGood);

        ASSERT_NE(nullptr, pFeature) << strName;
        const Math::SignalFeature& feature = *pFeature;
        EXPECT_EQ(*GetParam().m_pType, typeid(feature)) << strName;
    }
}

TEST_P(AudioFeatureFactoryKinds, AreRefusedWithAnotherNumberOfParameters)
{
    expectNullWithAssertion(std::string(GetParam().m_szName) + GetParam().m_szBad, GetParam().m_szText,
                            GetParam().m_iLine);
}

TEST_P(AudioFeatureFactoryKinds, AreNotMadeOfLongerOrShorterNames)
{
    const std::string strName = GetParam().m_szName;

    expectNullInSilence(strName + "x" + GetParam().m_szGood);
    expectNullInSilence("x" + strName + GetParam().m_szGood);
    expectNullInSilence("audio." + strName + GetParam().m_szGood);
}

TEST_P(AudioFeatureFactoryKinds, AreMadeAnewEachTime)
{
    const std::string strDescription = std::string(GetParam().m_szName) + GetParam().m_szGood;

    const auto pFirst = made(strDescription);
    const auto pSecond = made(strDescription);

    EXPECT_NE(pFirst, pSecond);
}

INSTANTIATE_TEST_SUITE_P(All, AudioFeatureFactoryKinds, testing::ValuesIn(s_aKinds),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

// ---- What the table does not make

TEST(AudioFeatureFactory, TellsItsName)
{
    EXPECT_STREQ("AudioFeatureFactory", AudioFeatureFactory().getFactoryName());
}

TEST(AudioFeatureFactory, IsAllocatedUnderTheTagOfAllFactories)
{
    const MemAccount before = getMemAccount("SignalFeatureFactory");

    std::unique_ptr<Math::SignalFeatureFactory> pFactory(new AudioFeatureFactory);

    EXPECT_EQ(before.m_uiLiveBlocks + 1, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes + sizeof(AudioFeatureFactory), getMemAccount("SignalFeatureFactory").m_uiLiveBytes);

    pFactory.reset();

    EXPECT_EQ(before.m_uiLiveBlocks, getMemAccount("SignalFeatureFactory").m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes, getMemAccount("SignalFeatureFactory").m_uiLiveBytes);
}

TEST(AudioFeatureFactory, MakesNoneOfTheKindsThatAreKnownByNameOnly)
{
    for (const char* szName : {"energyhistogram", "clippingrate", "spectralslope", "myfeature"}) {
        expectNullInSilence(szName);
        expectNullInSilence(upperCase(szName));
        expectNullInSilence(std::string(szName) + "(1)");
        expectNullInSilence(std::string(szName) + "(1,2,x)");
    }
}

TEST(AudioFeatureFactory, MakesNothingOfAnUnknownName)
{
    expectNullInSilence("nosuchfeature");
    expectNullInSilence("nosuchfeature(1,2)");
    expectNullInSilence("???Feature_FeatureType???");
    expectNullInSilence("spectrum|flatness");
    expectNullInSilence("spectrum 500hz");
}

TEST(AudioFeatureFactory, MakesNothingOfNullInSilence)
{
    const LogCapture log("kestrivon", 0);

    EXPECT_EQ(nullptr, AudioFeatureFactory().getNewFeature(nullptr));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(AudioFeatureFactory, MakesAllButFourOfTheFeatureTypes)
{
    std::vector<int> vNotMade;
    for (int iType = 0; iType <= AudioFeature::MYFEATURE; ++iType) {
        const std::string strName = AudioFeature::getFeatureTypeString(static_cast<AudioFeature::FeatureType>(iType));
        if (made(strName) == nullptr && made(strName + "(1000)") == nullptr && made(strName + "(1000,100)") == nullptr)
            vNotMade.push_back(iType);
    }

    EXPECT_THAT(vNotMade, ElementsAre(AudioFeature::ENERGYHISTOGRAM, AudioFeature::CLIPPINGRATE,
                                      AudioFeature::SPECTRALSLOPE, AudioFeature::MYFEATURE));
}

TEST(AudioFeatureFactory, ReportsAMalformedDescription)
{
    for (const char* szDescription : {"",
                                      " ",
                                      "\t",
                                      "spectrum(",
                                      "spectrum)",
                                      "spectrum(1",
                                      "spectrum1)",
                                      "(1)",
                                      "()",
                                      "spectrum(1)x",
                                      "spectrum() x",
                                      "spectrum(1)(2)",
                                      "spectrum((1))",
                                      "spectrum()()",
                                      "spectralrange(1,)",
                                      "spectralrange(,1)",
                                      "spectralrange(1,,2)",
                                      "spectralrange(,)",
                                      "nosuchfeature(",
                                      "spectralrange(1, )",
                                      "zerocrossingrate( ,)"})
        expectNullWithAssertion(szDescription, "splitParams(in_szFeatureName, strFeature, vParams)", 38);
}

TEST(AudioFeatureFactory, TakesEmptyParenthesesForNoParameters)
{
    for (const char* szDescription : {"spectrum()", "zerocrossingrate()", "spectrum( )", "spectrum ( \t) "})
        EXPECT_NE(nullptr, made(szDescription)) << szDescription;
    expectNullWithAssertion("maxspectralranges()", "!vParams.empty()", 96);
    expectNullWithAssertion("spectralrange()", "vParams.size() == 2", 82);
}

TEST(AudioFeatureFactory, TracesEveryNameThatItLooksFor)
{
    const LogCapture log("kestrivon.audio.AudioFeatureFactory", 0);

    made("SpectralRange( 1000,100)");
    made("nosuchfeature(1)");
    made("spectrum(");

    const auto traceOf = [](const char* in_szName) {
        return LogEvent{"kestrivon.audio.AudioFeatureFactory", 0, std::string("Looking for feature: ") + in_szName,
                        "AudioFeatureFactory", 42};
    };
    EXPECT_THAT(log.events(), ElementsAre(traceOf("SpectralRange"), traceOf("nosuchfeature")));
}

TEST(AudioFeatureFactory, TracesTheNameBeforeItCountsTheParameters)
{
    const LogCapture log("kestrivon", 0);

    made("spectrum(1)");

    EXPECT_THAT(log.texts(), ElementsAre("Looking for feature: spectrum", "Assertion failed: vParams.empty()"));
}

// ---- Parameters

unsigned long zeroCrossingParameterOf(const std::string& in_strDescription)
{
    const auto pFeature = made(in_strDescription);
    const auto* pRate = dynamic_cast<const ZeroCrossingRateFeature*>(pFeature.get());
    if (pRate == nullptr) {
        ADD_FAILURE() << in_strDescription << " is not made";
        return 0;
    }
    return pRate->getParameter();
}

TEST(AudioFeatureFactory, PassesTheParameterOfTheZeroCrossingRateOn)
{
    EXPECT_EQ(0u, zeroCrossingParameterOf("zerocrossingrate"));
    EXPECT_EQ(3u, zeroCrossingParameterOf("zerocrossingrate(3)"));
}

TEST(AudioFeatureFactory, ReadsANumberAsAStreamDoesAndIgnoresWhatFollows)
{
    const std::pair<const char*, unsigned long> aParameters[] = {
        {"300Hz", 300}, {"3400x", 3400}, {"12 13", 12},           {"3.9", 3},   {"1e3", 1},
        {"+5", 5},      {"007", 7},      {"-1", s_uiLargest},     {"-0", 0},    {"0x10", 0},
        {"1\t2", 1},    {"\t 8 ", 8},    {"-2", s_uiLargest - 1}, {"1'000", 1}, {"18446744073709551615", s_uiLargest}};
    for (const auto& [szParameter, uiExpected] : aParameters)
        EXPECT_EQ(uiExpected, zeroCrossingParameterOf(std::string("zerocrossingrate(") + szParameter + ")"))
            << szParameter;
}

TEST(AudioFeatureFactory, ReadsANumberWithoutTheHostsDigitGrouping)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '\''; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    EXPECT_EQ(1u, zeroCrossingParameterOf("zerocrossingrate(1'000)"));
    std::locale::global(former);
}

TEST(AudioFeatureFactory, RejectsWhatDoesNotBeginWithANumberInSilence)
{
    for (const char* szParameter :
         {"a", "x1", "-", "+", ".5", "Hz300", "18446744073709551616", "--1", "'1'", "\"1\""}) {
        const std::string strInParentheses = std::string("(") + szParameter + ")";
        expectNullInSilence("zerocrossingrate" + strInParentheses);
        expectNullInSilence("maxspectralranges" + strInParentheses);
        expectNullInSilence(std::string("spectralrange(1000,") + szParameter + ")");
        expectNullInSilence(std::string("spectralrange(") + szParameter + ",100)");
    }
}

TEST(AudioFeatureFactory, CountsParametersBeforeItReadsThem)
{
    expectNullWithAssertion("zerocrossingrate(a,b)", "vParams.size() == 1", 53);
    expectNullWithAssertion("spectralrange(a)", "vParams.size() == 2", 82);
    expectNullWithAssertion("spectralrange(1,2,3)", "vParams.size() == 2", 82);
    expectNullWithAssertion("spectralrange", "vParams.size() == 2", 82);
    expectNullWithAssertion("deltatoslidingmean(a)", "vParams.empty()", 154);
}

TEST(AudioFeatureFactory, PassesCentreAndHalfWidthOnInTheOrderWritten)
{
    EXPECT_EQ(succeeds({28, 29, 30, 31, 32, 33, 34, 35, 36, 0.0}),
              outcomeOfMade("SpectralRange(1000,100)", indexes(128)));
    EXPECT_EQ(succeeds({28, 29, 30, 31, 32, 33, 34, 35, 36, 0.0}),
              outcomeOfMade("spectralrange( 1000Hz , 100x )", indexes(128)));
    EXPECT_EQ(outcomeOf(SpectralRangeFeature(3000, 340), indexes(128)),
              outcomeOfMade("spectralrange(3000,340x)", indexes(128)));
    EXPECT_NE(nullptr, made("spectralrange(300,3400x)"));
}

TEST(AudioFeatureFactory, LeavesAWrongRangeToTheFeature)
{
    const auto pNoCentre = made("spectralrange(0,100)");
    const auto pTooWide = made("spectralrange(300,3400)");
    const auto pNegative = made("spectralrange(-1,100)");
    ASSERT_NE(nullptr, pNoCentre);
    ASSERT_NE(nullptr, pTooWide);
    ASSERT_NE(nullptr, pNegative);
    const AssertionCapture assertions;

    EXPECT_EQ(refuses(), outcomeOf(*pNoCentre, indexes(128)));
    EXPECT_EQ(refuses(), outcomeOf(*pTooWide, indexes(128)));
    EXPECT_FALSE(outcomeOf(*pNegative, indexes(128)).m_bDone);

    EXPECT_THAT(assertions.texts(), ElementsAre("m_uiCenterFrequency > 0", "uiCenterIndex>uiRangeWidth"));
}

TEST(AudioFeatureFactory, AddsARangeOfTwentyHertzForEachParameter)
{
    // 4000 bins of 1 Hz.
    Values vSpectrum(4000, 0.0);
    vSpectrum[800] = 0.5;
    Values vExpected(42, 0.0); // 41 bins and the position
    vExpected[20] = 0.5;

    EXPECT_EQ(succeeds(vExpected), outcomeOfMade("maxSpectralRanges(400,800,1200)", vSpectrum));
    EXPECT_EQ(succeeds(vExpected), outcomeOfMade("maxspectralranges( 800Hz )", vSpectrum));
    EXPECT_EQ(succeeds(Values(42, 0.0)), outcomeOfMade("maxspectralranges(400,1200)", vSpectrum));
}

TEST(AudioFeatureFactory, FreesWhatItMadeForARejectedParameter)
{
    expectNullInSilence("maxspectralranges(400,x)");
    const std::uint64_t uiBlocks = nbOfLiveBlocks();
    const std::uint64_t uiVectors = getMemAccount("\"DoubleVector\"").m_uiLiveBlocks;

    for (const char* szDescription : {"maxspectralranges(400,x)", "maxspectralranges(400,800,1200,x)",
                                      "spectralrange(1,x)", "zerocrossingrate(x)", "spectrum(1)", "spectrum(", "none"})
        EXPECT_EQ(nullptr, AudioFeatureFactory().getNewFeature(szDescription));

    EXPECT_EQ(uiBlocks, nbOfLiveBlocks());
    EXPECT_EQ(uiVectors, getMemAccount("\"DoubleVector\"").m_uiLiveBlocks);
}

TEST(AudioFeatureFactory, FreesAllThatItsFeaturesHold)
{
    newFeature("spectrum|peaks"); // what is made once, such as loggers, is there from now on
    const std::uint64_t uiBlocks = nbOfLiveBlocks();

    for (const std::string& strDescription : plainDescriptions())
        EXPECT_NE(nullptr, newFeature(strDescription)) << strDescription;

    EXPECT_EQ(uiBlocks, nbOfLiveBlocks());
}

// ---- The arguments behind the names

TEST(AudioFeatureFactory, MakesTheReducedSpectraOf40And20And8Bands)
{
    const Values vWindow = randomWindow(256, 3);

    EXPECT_EQ(40u, outcomeOfMade("spectrum100hz", vWindow).m_vValues.size());
    EXPECT_EQ(20u, outcomeOfMade("spectrum200hz", vWindow).m_vValues.size());
    EXPECT_EQ(8u, outcomeOfMade("spectrum500hz", vWindow).m_vValues.size());
}

TEST(AudioFeatureFactory, MakesTheSilenceRatioOf50AndTheNoiseRatioOf10)
{
    // The peak is 100: below 2, and below 10.
    const Values vWindow = {100.0, 9.0, 8.0, 1.0};

    EXPECT_EQ(succeeds({0.25}), outcomeOfMade("silenceratio", vWindow));
    EXPECT_EQ(succeeds({0.75}), outcomeOfMade("noiseratio", vWindow));
}

TEST(AudioFeatureFactory, MakesOnlyTheTemporalDistributionRememberThePeak)
{
    const auto pPlain = made("amplitudedistribution");
    const auto pTemporal = made("temporalamplitudedistribution");
    ASSERT_NE(nullptr, pPlain);
    ASSERT_NE(nullptr, pTemporal);
    outcomeOf(*pPlain, {100.0});
    outcomeOf(*pTemporal, {100.0});

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0}), outcomeOf(*pPlain, {1.0}));
    EXPECT_EQ(succeeds({0.0, 0.0, 0.0, 1.0}), outcomeOf(*pTemporal, {1.0}));
}

TEST(AudioFeatureFactory, ResetsTheDeltaToTheSlidingMean)
{
    const AssertionCapture assertions;
    const auto pFeature = made("deltatoslidingmean");
    ASSERT_NE(nullptr, pFeature);

    EXPECT_EQ(succeeds({0.0}), outcomeOf(*pFeature, {3.0}));
    EXPECT_EQ(succeeds({1.0}), outcomeOf(*pFeature, {5.0}));

    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TEST(AudioFeatureFactory, MakesTheWeightedAreaFrom500To1500HzOf8000SamplesPerSecond)
{
    EXPECT_EQ(succeeds({1071.0 * 31.0}), outcomeOfMade("spectralweightedarea", Values(128, 1.0)));
}

TEST(AudioFeatureFactory, MakesFeaturesThatShareNothing)
{
    const auto pFirst = made("temporalamplitudedistribution");
    const auto pSecond = made("temporalamplitudedistribution");
    ASSERT_NE(nullptr, pFirst);
    ASSERT_NE(nullptr, pSecond);
    outcomeOf(*pFirst, {100.0});

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0}), outcomeOf(*pSecond, {1.0}));
}

// ---- The table for users

std::vector<std::string> namesOfDescriptions()
{
    std::vector<std::string> vNames;
    for (const FeatureDescription& description : getFeatureDescriptions())
        vNames.emplace_back(description.m_szName);
    return vNames;
}

// "name(1000,1000)" with this many parameters; "name" for none.
std::string withParameters(const char* in_szName, unsigned in_uiNbOfParameters)
{
    std::string strDescription = in_szName;
    for (unsigned i = 0; i < in_uiNbOfParameters; ++i)
        strDescription += i == 0 ? "(1000" : ",1000";
    return in_uiNbOfParameters == 0 ? strDescription : strDescription + ")";
}

TEST(FeatureDescriptions, ListWhatTheFactoryMakesInTheOrderOfTheTypes)
{
    std::vector<std::string> vMade;
    for (const Kind& kind : s_aKinds)
        vMade.emplace_back(kind.m_szName);

    EXPECT_EQ(vMade, namesOfDescriptions());
}

TEST(FeatureDescriptions, HaveTypesThatRise)
{
    int iBefore = -1;
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const auto type = AudioFeature::parseFeatureType(description.m_szName);
        ASSERT_TRUE(type.isValid()) << description.m_szName;
        EXPECT_LT(iBefore, static_cast<int>(type.getValue())) << description.m_szName;
        iBefore = type.getValue();
    }
}

TEST(FeatureDescriptions, StateTheLeastAndTheLargestNumberOfParameters)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const bool bAnyNumber = description.m_uiMaxParameters == std::numeric_limits<unsigned>::max();
        EXPECT_EQ(std::string(description.m_szName) == "maxspectralranges", bAnyNumber) << description.m_szName;
        EXPECT_NE(nullptr, made(withParameters(description.m_szName, description.m_uiMinParameters)));
        EXPECT_NE(nullptr,
                  made(withParameters(description.m_szName, bAnyNumber ? 2000 : description.m_uiMaxParameters)));

        const AssertionCapture assertions;
        std::size_t uiNbOfFailures = 0;
        if (description.m_uiMinParameters > 0) {
            EXPECT_EQ(nullptr, made(withParameters(description.m_szName, description.m_uiMinParameters - 1)));
            EXPECT_EQ(++uiNbOfFailures, assertions.texts().size()) << description.m_szName;
        }
        if (!bAnyNumber) {
            EXPECT_EQ(nullptr, made(withParameters(description.m_szName, description.m_uiMaxParameters + 1)));
            EXPECT_EQ(++uiNbOfFailures, assertions.texts().size()) << description.m_szName;
        }
    }
}

TEST(FeatureDescriptions, NameTheirParametersInParentheses)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const std::string strParameters = description.m_szParameters;
        if (description.m_uiMaxParameters == 0) {
            EXPECT_EQ("", strParameters) << description.m_szName;
            continue;
        }
        std::string strFeature;
        std::vector<std::string> vParams;
        ASSERT_TRUE(
            AudioFeatureFactory::splitParams((description.m_szName + strParameters).c_str(), strFeature, vParams));
        EXPECT_EQ(description.m_szName, strFeature);
        EXPECT_LE(description.m_uiMinParameters, vParams.size());
        EXPECT_GE(description.m_uiMaxParameters, vParams.size());
    }
}

TEST(FeatureDescriptions, GiveExamplesThatWorkOnAWindow)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const auto pFeature = newFeature(description.m_szExample);

        ASSERT_NE(nullptr, pFeature) << description.m_szExample;
        const Outcome outcome = outcomeOf(*pFeature, randomWindow(256, 11));
        EXPECT_TRUE(outcome.m_bDone) << description.m_szExample;
        EXPECT_FALSE(outcome.m_vValues.empty()) << description.m_szExample;
    }
}

TEST(FeatureDescriptions, GiveExamplesThatEndInTheFeatureItself)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const std::string strExample = description.m_szExample;
        const std::string strLast = strExample.substr(strExample.rfind('|') + 1); // all of it without a bar
        EXPECT_EQ(description.m_szName, strLast.substr(0, strLast.find('('))) << strExample;
        EXPECT_EQ(std::string(description.m_szInput) == "window", strExample == strLast) << strExample;
    }
}

// The formulas of the table, for the parameters that its examples have.
unsigned long statedNbOfValues(const std::string& in_strFormula, unsigned long n)
{
    const auto rounded = [n](double in_dHalfWidthHz) {
        return 2 * static_cast<unsigned long>(std::ceil(in_dHalfWidthHz * static_cast<double>(n) / 4000.0)) + 2;
    };
    if (in_strFormula.find_first_not_of("0123456789") == std::string::npos)
        return std::stoul(in_strFormula);
    const std::map<std::string, unsigned long> formulas = {{"n", n},
                                                           {"n/2", n / 2},
                                                           {"min(n/2,40)", std::min(n / 2, 40UL)},
                                                           {"min(n/2,20)", std::min(n / 2, 20UL)},
                                                           {"min(n/2,8)", std::min(n / 2, 8UL)},
                                                           {"(n-1)/5+1", (n - 1) / 5 + 1},
                                                           {"(n-1)/5-1", (n - 1) / 5 - 1},
                                                           {"2*ceil(halfWidthHz*n/4000)+2", rounded(100.0)},
                                                           {"2*ceil(20*n/4000)+2", rounded(20.0)}};
    return formulas.at(in_strFormula);
}

TEST(FeatureDescriptions, StateHowManyValuesThereAre)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        for (const unsigned long uiSize : {64UL, 128UL, 256UL}) {
            const std::string strExample = description.m_szExample;
            const bool bValue = std::string(description.m_szInput) == "value";
            const Values vInput = bValue ? Values{1.0} : randomWindow(uiSize, uiSize);
            const auto pFeature = made(strExample.substr(strExample.rfind('|') + 1));
            ASSERT_NE(nullptr, pFeature) << strExample;

            EXPECT_EQ(statedNbOfValues(description.m_szNbOfValues, uiSize),
                      outcomeOf(*pFeature, vInput).m_vValues.size())
                << description.m_szName << " of " << uiSize;
        }
}

TEST(FeatureDescriptions, SayWhichInputsMustBeAPowerOfTwo)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const std::string strName = description.m_szName;
        EXPECT_EQ(strName.starts_with("spectrum"), description.m_bNeedsPowerOfTwo) << strName;
        if (std::string(description.m_szInput) == "value")
            continue;
        const AssertionCapture assertions;
        const std::string strExample = description.m_szExample;
        outcomeOfMade(strExample.substr(strExample.rfind('|') + 1), randomWindow(100, 1));
        EXPECT_EQ(description.m_bNeedsPowerOfTwo, !assertions.texts().empty()) << strName;
    }
}

TEST(FeatureDescriptions, SayWhichFeaturesReadFrequencies)
{
    std::vector<std::string> vNames;
    for (const FeatureDescription& description : getFeatureDescriptions())
        if (description.m_bAssumes8000Hz)
            vNames.emplace_back(description.m_szName);

    EXPECT_THAT(vNames, ElementsAre("spectrum100hz", "spectrum200hz", "spectrum500hz", "spectralrange",
                                    "maxspectralranges", "harmonicproduct", "robustharmonicproduct",
                                    "spectralweightedarea", "lowfreqenergyratio", "lowfreqenergyratios"));
}

TEST(FeatureDescriptions, LeaveNothingUnsaid)
{
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        EXPECT_STRNE("", description.m_szUnit) << description.m_szName;
        EXPECT_STRNE("", description.m_szMeaning) << description.m_szName;
        EXPECT_THAT(description.m_szInput,
                    testing::AnyOf(testing::StrEq("window"), testing::StrEq("spectrum"), testing::StrEq("value")));
    }
}

} // namespace
} // namespace Corvana::Audio
