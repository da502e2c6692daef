// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"
#include "PlainFeatures.h"

#include "AudioZeroCrossings.h"
#include "corvana/AudioFeatureImpl.h"

#include <gmock/gmock.h>

#include <cmath>
#include <iterator>
#include <limits>
#include <memory>

namespace Corvana::Audio {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr const char* s_szLogger = "kestrivon.audio.AudioFeatureImpl";
constexpr const char* s_szRateKey = "signalfeature.SampleRate";

template <class FeatureT>
std::unique_ptr<FeatureT> cloneOf(const FeatureT& in_feature)
{
    return std::unique_ptr<FeatureT>(in_feature.clone());
}

// Of the one failed assertion: what it says, and where and how it is reported.
void expectAssertion(const AssertionCapture& in_assertions, const char* in_szText)
{
    ASSERT_THAT(in_assertions.texts(), ElementsAre(in_szText));
    const LogEvent& event = in_assertions.events().front();
    EXPECT_EQ("AudioFeatureImpl", event.m_strFile);
    EXPECT_EQ(40000, event.m_iLevel);
    EXPECT_EQ("kestrivon.assertion", event.m_strLogger);
    EXPECT_EQ(std::string("Assertion failed: ") + in_szText, event.m_strText);
}

void expectError(const LogCapture& in_log, const std::string& in_strText)
{
    ASSERT_THAT(in_log.texts(), ElementsAre(in_strText));
    EXPECT_EQ(40000, in_log.events().front().m_iLevel);
    EXPECT_EQ(s_szLogger, in_log.events().front().m_strLogger);
}

// ---- Counting crossings with each instruction set

std::vector<Math::Simd> supportedSimds()
{
    std::vector<Math::Simd> vSimds;
    for (const Math::Simd simd : {Math::Simd::PORTABLE, Math::Simd::BASELINE, Math::Simd::AVX2, Math::Simd::AVX512})
        if (Math::isSimdSupported(simd))
            vSimds.push_back(simd);
    return vSimds;
}

void expectCrossingsAsPlain(const Values& in_vSamples)
{
    PlainZeroCrossingRate plain;
    plain(Values{-0.25});
    const double dRate = plain(in_vSamples).m_vValues[0];
    const double dSize = static_cast<double>(in_vSamples.size());
    for (const Math::Simd simd : supportedSimds())
        EXPECT_EQ(dRate, static_cast<double>(countZeroCrossings(-0.25, in_vSamples.data(),
                                                                in_vSamples.data() + in_vSamples.size(), simd)) /
                             dSize)
            << Math::getSimdName(simd) << ", " << in_vSamples.size() << " samples";
}

TEST(ZeroCrossings, AreCountedAlikeByAllInstructionSetsForEveryLength)
{
    for (unsigned long uiSize = 1; uiSize <= 100; ++uiSize)
        expectCrossingsAsPlain(randomWindow(uiSize, uiSize));
    expectCrossingsAsPlain(Values(64, -0.5)); // no crossing behind the end
}

TEST(ZeroCrossings, AreCountedAlikeByAllInstructionSetsForSpecialValues)
{
    constexpr double adSpecial[] = {0.0,   -0.0,   1.0,    -1.0,        5e-324,       -5e-324, 1e-200, -1e-200,
                                    1e300, -1e300, s_dNaN, s_dInfinity, -s_dInfinity, 2e-308,  -2e-308};
    std::uint64_t uiState = 1;
    for (int iRound = 0; iRound < 200; ++iRound) {
        Values vSamples(67);
        for (double& dSample : vSamples) {
            uiState = uiState * 6364136223846793005U + 1442695040888963407U;
            dSample = adSpecial[(uiState >> 33U) % std::size(adSpecial)];
        }
        expectCrossingsAsPlain(vSamples);
    }
}

TEST(ZeroCrossings, AreNoneWithoutSamples)
{
    for (const Math::Simd simd : supportedSimds())
        EXPECT_EQ(0u, countZeroCrossings(-1.0, nullptr, nullptr, simd));
}

// ---- ZeroCrossingRateFeature

TEST(ZeroCrossingRateFeature, CountsTheCrossingFromTheLastWindowsLastSample)
{
    ZeroCrossingRateFeature feature;
    outcomeOf(feature, {0.5, -1.0});

    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, {1.0, -1.0, 1.0, -1.0}));
}

TEST(ZeroCrossingRateFeature, StartsFromZeroOnAFreshObject)
{
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({0.75}), outcomeOf(feature, {1.0, -1.0, 1.0, -1.0}));
}

TEST(ZeroCrossingRateFeature, CountsTheArrivalAtZeroOnceAndNotTheDeparture)
{
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({0.25}), outcomeOf(feature, {1.0, 0.0, 0.0, 1.0}));
}

TEST(ZeroCrossingRateFeature, CountsAPassageThroughZeroOnce)
{
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({0.25}), outcomeOf(feature, {1.0, 0.0, -1.0, -1.0}));
}

TEST(ZeroCrossingRateFeature, TakesNegativeZeroForZero)
{
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({0.25}), outcomeOf(feature, {1.0, -0.0, 0.0, -0.0}));
}

TEST(ZeroCrossingRateFeature, CountsNoCrossingWhenTheProductUnderflows)
{
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {1e-200, -1e-200}));
}

// Samples are compared several at a time: every pair of special values meets at every place of a group.
TEST(ZeroCrossingRateFeature, CountsSpecialValuesAtAnyPlaceAsThePlainLoopDoes)
{
    constexpr double dTiny = std::numeric_limits<double>::denorm_min();
    const double aSpecial[] = {0.0, -0.0, 1.0, -1.0, dTiny, -dTiny, 1e-200, -1e-200, s_dInfinity, -s_dInfinity, s_dNaN};
    for (unsigned long uiSize = 2; uiSize <= 11; ++uiSize)
        for (unsigned long uiPlace = 1; uiPlace < uiSize; ++uiPlace)
            for (const double dFirst : aSpecial)
                for (const double dSecond : aSpecial) {
                    Values vWindow(uiSize, 0.5);
                    vWindow[uiPlace - 1] = dFirst;
                    vWindow[uiPlace] = dSecond;
                    ZeroCrossingRateFeature feature;
                    EXPECT_EQ(succeeds(PlainZeroCrossingRate{}(vWindow).m_vValues), outcomeOf(feature, vWindow))
                        << dFirst << ", " << dSecond << " at " << uiPlace << " of " << uiSize;
                }
}

TEST(ZeroCrossingRateFeature, IsTwoCrossingsAPeriodForATone)
{
    // 1000 Hz with an eighth of a period before it: no sample is 0; the signs are ++++---- from the first sample on.
    Values vTone(160);
    for (unsigned long i = 0; i < vTone.size(); ++i)
        vTone[i] = std::sin(6.283185307179586 * (static_cast<double>(i) + 0.5) / 8.0);
    ZeroCrossingRateFeature feature;

    EXPECT_EQ(succeeds({39.0 / 160.0}), outcomeOf(feature, vTone));
    EXPECT_EQ(succeeds({40.0 / 160.0}), outcomeOf(feature, vTone));
}

TEST(ZeroCrossingRateFeature, AppendsZeroForAnEmptyWindowAndKeepsThePreviousSample)
{
    ZeroCrossingRateFeature feature;
    outcomeOf(feature, {-1.0});

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, {1.0}));
}

TEST(ZeroCrossingRateFeature, ClonesWithItsPreviousSample)
{
    ZeroCrossingRateFeature feature;
    outcomeOf(feature, {-1.0});

    const auto pClone = cloneOf(feature);
    outcomeOf(feature, {1.0});

    EXPECT_EQ(succeeds({1.0}), outcomeOf(*pClone, {1.0}));
    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {1.0}));
}

TEST(ZeroCrossingRateFeature, CannotBeReset)
{
    ZeroCrossingRateFeature feature;
    Math::SignalFeature& base = feature;

    EXPECT_EQ(nullptr, dynamic_cast<Resettable*>(&base));
}

TEST(ZeroCrossingRateFeature, HasTheParameterZeroByDefault)
{
    EXPECT_EQ(0u, ZeroCrossingRateFeature().getParameter());
    EXPECT_EQ(7u, ZeroCrossingRateFeature(7).getParameter());
    EXPECT_EQ(7u, cloneOf(ZeroCrossingRateFeature(7))->getParameter());
}

TEST(ZeroCrossingRateFeature, LetsNeitherParameterNorRateEnterTheResult)
{
    ZeroCrossingRateFeature feature(1000);
    ASSERT_TRUE(feature.configure(configurationOf({{s_szRateKey, "44100"}})));

    EXPECT_EQ(succeeds({0.75}), outcomeOf(feature, {1.0, -1.0, 1.0, -1.0}));
}

TEST(ZeroCrossingRateFeature, StoresTheSampleRateInSilence)
{
    const LogCapture log(s_szLogger, 0);
    ZeroCrossingRateFeature feature;

    EXPECT_TRUE(feature.configure(configurationOf({{s_szRateKey, "16000"}})));

    EXPECT_EQ(16000u, feature.getSampleRate());
    EXPECT_EQ(16000u, cloneOf(feature)->getSampleRate());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ZeroCrossingRateFeature, KeepsThePreviousSampleWhenConfigured)
{
    ZeroCrossingRateFeature feature;
    outcomeOf(feature, {-1.0});
    ASSERT_TRUE(feature.configure(configurationOf({{s_szRateKey, "8000"}})));

    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, {1.0}));
}

TEST(ZeroCrossingRateFeature, ReportsAMissingSampleRate)
{
    const LogCapture log(s_szLogger);
    ZeroCrossingRateFeature feature;

    EXPECT_FALSE(feature.configure(configurationOf({{"signalfeature.samplerate", "8000"}, {"SampleRate", "8000"}})));

    expectError(log, "Could not find parameter signalfeature.SampleRate in configuration");
}

TEST(ZeroCrossingRateFeature, RefusesUnusableSampleRatesAndKeepsTheFormerOne)
{
    for (const char* szRate : {"0", "-1", "-8000", "eight", "", "8000.5", "8000 Hz", "2147483648", "1e3"}) {
        ZeroCrossingRateFeature feature;
        ASSERT_TRUE(feature.configure(configurationOf({{s_szRateKey, "11025"}})));
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{s_szRateKey, szRate}}))) << szRate;

        expectError(log, "Invalid value in parameter signalfeature.SampleRate");
        EXPECT_EQ(11025u, feature.getSampleRate()) << szRate;
    }
}

TEST(ZeroCrossingRateFeature, TakesTheLargestSigned32BitRate)
{
    ZeroCrossingRateFeature feature;

    EXPECT_TRUE(feature.configure(configurationOf({{s_szRateKey, "2147483647"}})));

    EXPECT_EQ(2147483647u, feature.getSampleRate());
}

TEST(ZeroCrossingRateFeature, ReportsAnExceptionFromTheConfiguration)
{
    ZeroCrossingRateFeature feature;
    const LogCapture log(s_szLogger);

    EXPECT_FALSE(feature.configure(ThrowingConfiguration(ThrowingConfiguration::At::GET_VALUE)));

    expectError(log, "Unexpected std::exception the table is gone caught in configure() with signalfeature.SampleRate "
                     "in provided config");
}

// ---- ClippingRateFeature

TEST(ClippingRateFeature, CountsSamplesAtBothLevels)
{
    ClippingRateFeature feature(-0.5, 0.75);

    EXPECT_EQ(succeeds({0.5}), outcomeOf(feature, {0.75, 0.7499, -0.5, -0.4999}));
}

TEST(ClippingRateFeature, CountsSamplesBeyondBothLevels)
{
    ClippingRateFeature feature(-0.5, 0.75);

    EXPECT_EQ(succeeds({0.75}), outcomeOf(feature, {-2.0, 0.0, 9.0, s_dInfinity}));
}

TEST(ClippingRateFeature, TakesFullScaleOf16BitSamplesForClippedByDefault)
{
    ClippingRateFeature feature;

    EXPECT_EQ(succeeds({0.5}), outcomeOf(feature, {32767.0 / 32768.0, 32766.0 / 32768.0, -1.0, -0.999}));
}

TEST(ClippingRateFeature, IsNotANumberForAnEmptyWindow)
{
    ClippingRateFeature feature;

    EXPECT_EQ(succeeds({s_dNaN}), outcomeOf(feature, {}));
}

TEST(ClippingRateFeature, DoesNotCountWhatIsNotANumber)
{
    ClippingRateFeature feature;

    EXPECT_EQ(succeeds({0.5}), outcomeOf(feature, {s_dNaN, 1.0}));
}

// ---- SilenceRatioFeature

TEST(SilenceRatioFeature, CountsOnlySamplesBelowAFiftiethOfThePeak)
{
    SilenceRatioFeature feature(50);

    EXPECT_EQ(succeeds({3.0 / 8.0}), outcomeOf(feature, {100.0, 2.0, 1.9999, -2.0, -1.9999, 0.0, 2.0001, -50.0}));
}

TEST(SilenceRatioFeature, FindsThePeakAmongNegativeSamplesToo)
{
    SilenceRatioFeature feature(50);

    EXPECT_EQ(succeeds({0.25}), outcomeOf(feature, {-100.0, 1.9, 2.0, 50.0}));
}

TEST(SilenceRatioFeature, CountsBelowATenthForTheNoiseRatio)
{
    SilenceRatioFeature feature(10);

    EXPECT_EQ(succeeds({0.5}), outcomeOf(feature, {100.0, 9.9999, -9.9999, 10.0}));
}

TEST(SilenceRatioFeature, IsZeroForAWindowOfZeros)
{
    SilenceRatioFeature feature(50);

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, Values(160, 0.0)));
}

TEST(SilenceRatioFeature, IsNotANumberForAnEmptyWindow)
{
    SilenceRatioFeature feature(50);

    EXPECT_EQ(succeeds({s_dNaN}), outcomeOf(feature, {}));
}

TEST(SilenceRatioFeature, IsTheShareOfTheRampBelowTheThreshold)
{
    // 0, 1, ..., 999: the peak is 999, and 0 to 99 are below 99.9.
    Values vRamp(1000);
    for (unsigned long i = 0; i < vRamp.size(); ++i)
        vRamp[i] = static_cast<double>(i);
    SilenceRatioFeature feature(10);

    EXPECT_EQ(succeeds({0.1}), outcomeOf(feature, vRamp));
}

TEST(SilenceRatioFeature, RemembersNothing)
{
    SilenceRatioFeature feature(10);
    outcomeOf(feature, {1000.0});

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {1.0, 0.5}));
}

TEST(SilenceRatioFeatureT, IsASilenceRatioOfFifty)
{
    const Values vWindow = randomWindow(400, 5);
    SilenceRatioFeatureT<50> fixed;
    SilenceRatioFeature plain(50);

    EXPECT_EQ(outcomeOf(plain, vWindow), outcomeOf(fixed, vWindow));
    EXPECT_EQ(succeeds({1.0 / 3.0}), outcomeOf(fixed, {100.0, 2.0, 1.9}));
}

// ---- MeanEnergyAboveThreshFeature

TEST(MeanEnergyAboveThreshFeature, CountsOnlyEnergiesStrictlyAboveTheThreshold)
{
    MeanEnergyAboveThreshFeature feature(4.0);

    EXPECT_EQ(succeeds({(9.0 + 16.0) / 2.0}), outcomeOf(feature, {2.0, -2.0, 3.0, -4.0, 1.0}));
}

TEST(MeanEnergyAboveThreshFeature, IsZeroWhileNothingIsAboveTheThreshold)
{
    MeanEnergyAboveThreshFeature feature(4.0);

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {2.0, 1.0, 0.0}));
}

TEST(MeanEnergyAboveThreshFeature, HasTheThresholdZeroByDefault)
{
    MeanEnergyAboveThreshFeature feature;

    EXPECT_EQ(succeeds({4.0}), outcomeOf(feature, {0.0, 2.0, 0.0}));
}

TEST(MeanEnergyAboveThreshFeature, KeepsItsAverageAcrossWindows)
{
    MeanEnergyAboveThreshFeature feature(1.0);

    EXPECT_EQ(succeeds({4.0}), outcomeOf(feature, {2.0}));
    EXPECT_EQ(succeeds({4.0}), outcomeOf(feature, {0.5}));
    EXPECT_EQ(succeeds({4.0}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({(4.0 + 16.0) / 2.0}), outcomeOf(feature, {4.0}));
}

TEST(MeanEnergyAboveThreshFeature, ForgetsSumAndCountButNotTheThresholdAtReset)
{
    MeanEnergyAboveThreshFeature feature(4.0);
    outcomeOf(feature, {3.0, 5.0});

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {2.0}));
    EXPECT_EQ(succeeds({9.0}), outcomeOf(feature, {3.0}));
}

TEST(MeanEnergyAboveThreshFeature, ClonesWithWhatItAccumulated)
{
    MeanEnergyAboveThreshFeature feature(1.0);
    outcomeOf(feature, {2.0});

    const auto pClone = cloneOf(feature);
    outcomeOf(feature, {100.0});

    EXPECT_EQ(succeeds({10.0}), outcomeOf(*pClone, {4.0}));
}

// ---- EnergyHistogramFeature

TEST(EnergyHistogramFeature, PutsAQuarterOfTheMaximumIntoTheThirdOfTenBins)
{
    EnergyHistogramFeature feature(1.0, 10);

    EXPECT_EQ(succeeds({0, 0, 1, 0, 0, 0, 0, 0, 0, 0}), outcomeOf(feature, {0.5}));
}

TEST(EnergyHistogramFeature, PutsWhatIsAboveTheMaximumIntoTheLastBin)
{
    EnergyHistogramFeature feature(1.0, 10);

    EXPECT_EQ(succeeds({0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), outcomeOf(feature, {3.0}));
}

TEST(EnergyHistogramFeature, HasTenBinsUpToOneByDefault)
{
    EnergyHistogramFeature feature;

    EXPECT_EQ(succeeds({0, 0, 1, 0, 0, 0, 0, 0, 0, 1}), outcomeOf(feature, {0.5, 1.0}));
}

TEST(EnergyHistogramFeature, TruncatesAndCountsABinsLowerEdgeAsItsOwn)
{
    // Four bins up to 16: the energies 3.99, 4, 9, 12, 15.9 and 16.
    EnergyHistogramFeature feature(16.0, 4);

    EXPECT_EQ(succeeds({1, 1, 1, 2}), outcomeOf(feature, {std::sqrt(3.99), -2.0, 3.0, std::sqrt(15.9), -4.0}));
}

TEST(EnergyHistogramFeature, MultipliesFromLeftToRight)
{
    // 100 * 0.7 * 0.7 is 49; 100 * (0.7 * 0.7) is a little less.
    EnergyHistogramFeature feature(1.0, 100);
    Values vExpected(100, 0.0);
    vExpected[49] = 1.0;

    EXPECT_EQ(succeeds(vExpected), outcomeOf(feature, {0.7}));
}

TEST(EnergyHistogramFeature, ComparesEnergiesBeforeTheyBecomeIntegers)
{
    EnergyHistogramFeature feature(1e-300, 3);

    EXPECT_EQ(succeeds({1, 0, 4}), outcomeOf(feature, {1e10, -1e300, s_dInfinity, -s_dInfinity, 0.0}));
}

TEST(EnergyHistogramFeature, PutsWhatIsNotANumberIntoTheFirstBin)
{
    EnergyHistogramFeature feature(1.0, 3);

    EXPECT_EQ(succeeds({2, 0, 1}), outcomeOf(feature, {s_dNaN, -s_dNaN, 1.0}));
}

TEST(EnergyHistogramFeature, StartsAfreshInEachCall)
{
    EnergyHistogramFeature feature(1.0, 2);
    outcomeOf(feature, {1.0, 1.0, 0.0});

    EXPECT_EQ(succeeds({1, 0}), outcomeOf(feature, {0.1}));
}

TEST(EnergyHistogramFeature, AppendsZerosForAnEmptyWindow)
{
    EnergyHistogramFeature feature(1.0, 4);

    EXPECT_EQ(succeeds({0, 0, 0, 0}), outcomeOf(feature, {}));
}

TEST(EnergyHistogramFeature, CountsEverythingInASingleBin)
{
    EnergyHistogramFeature feature(1.0, 1);

    EXPECT_EQ(succeeds({4}), outcomeOf(feature, {0.0, 0.5, 1.0, 7.0}));
}

TEST(EnergyHistogramFeature, RefusesToHaveNoBins)
{
    const AssertionCapture assertions;
    EnergyHistogramFeature feature(1.0, 0);

    EXPECT_EQ(refuses(), outcomeOf(feature, {0.5}));

    expectAssertion(assertions, "m_uiNbOfBins > 0");
}

TEST(EnergyHistogramFeature, RefusesAMaximumThatIsNotAboveZero)
{
    for (const double dMaximum : {0.0, -0.0, -1.0, s_dNaN}) {
        const AssertionCapture assertions;
        EnergyHistogramFeature feature(dMaximum, 10);

        EXPECT_EQ(refuses(), outcomeOf(feature, {0.5})) << dMaximum;

        expectAssertion(assertions, "m_dEnergyMaxValue > 0");
    }
}

TEST(EnergyHistogramFeature, ReportsMissingBinsBeforeAWrongMaximum)
{
    const AssertionCapture assertions;
    EnergyHistogramFeature feature(0.0, 0);

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    expectAssertion(assertions, "m_uiNbOfBins > 0");
}

// ---- MaxNeighbourhoodFeature

TEST(MaxNeighbourhoodFeature, PutsTheMaximumBetweenItsNeighbours)
{
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(succeeds({5, 9, 1}), outcomeOf(feature, {5, 9, 1, 2}));
    EXPECT_EQ(succeeds({2, 9, 3}), outcomeOf(feature, {1, 2, 9, 3}));
}

TEST(MaxNeighbourhoodFeature, StartsAtAMaximumInTheFirstPlace)
{
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(succeeds({9, 1, 2}), outcomeOf(feature, {9, 1, 2, 3}));
}

TEST(MaxNeighbourhoodFeature, EndsAtAMaximumInTheLastPlace)
{
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(succeeds({2, 3, 9}), outcomeOf(feature, {1, 2, 3, 9}));
}

TEST(MaxNeighbourhoodFeature, TakesTheFirstOfEqualMaxima)
{
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(succeeds({1, 9, 2}), outcomeOf(feature, {0, 1, 9, 2, 9, 3}));
}

TEST(MaxNeighbourhoodFeature, SeeksTheLargestSampleAndNotTheLargestAmplitude)
{
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(succeeds({-9, 1, -3}), outcomeOf(feature, {-5, -9, 1, -3, 0}));
}

TEST(MaxNeighbourhoodFeature, RefusesFewerThanFourSamplesInSilence)
{
    const LogCapture log;
    MaxNeighbourhoodFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));
    EXPECT_EQ(refuses(), outcomeOf(feature, {1}));
    EXPECT_EQ(refuses(), outcomeOf(feature, {1, 2, 1}));

    EXPECT_THAT(log.texts(), IsEmpty());
}

// ---- RatiosFeature

TEST(RatiosFeature, SharesTheSamplesAmongFourClassesByStrictComparisons)
{
    // The peak is 50: above 10, above 5, above 1, the rest.
    RatiosFeature feature(false);

    EXPECT_EQ(succeeds({3.0 / 10.0, 2.0 / 10.0, 2.0 / 10.0, 3.0 / 10.0}),
              outcomeOf(feature, {-50.0, 10.5, -11.0, 10.0, -5.5, 5.0, 1.25, -1.0, 0.5, 0.0}));
}

TEST(RatiosFeature, PutsAWindowOfZerosIntoTheLastClass)
{
    RatiosFeature feature(false);

    EXPECT_EQ(succeeds({0.0, 0.0, 0.0, 1.0}), outcomeOf(feature, Values(7, 0.0)));
}

TEST(RatiosFeature, IsNotANumberForAnEmptyWindow)
{
    RatiosFeature feature(false);

    EXPECT_EQ(succeeds({s_dNaN, s_dNaN, s_dNaN, s_dNaN}), outcomeOf(feature, {}));
}

TEST(RatiosFeature, ForgetsThePeakFromWindowToWindow)
{
    RatiosFeature feature(false);
    outcomeOf(feature, {1000.0});

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0}), outcomeOf(feature, {1.0}));
}

TEST(RatiosFeature, HoldsTheSamplesAgainstTheRunningPeakWhenTemporal)
{
    RatiosFeature feature(true);

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0}), outcomeOf(feature, {-50.0}));
    EXPECT_EQ(succeeds({0.25, 0.25, 0.25, 0.25}), outcomeOf(feature, {11.0, 10.0, -5.0, 1.0}));
    EXPECT_EQ(succeeds({0.5, 0.0, 0.5, 0.0}), outcomeOf(feature, {100.0, 10.0}));
    EXPECT_EQ(succeeds({0.0, 0.0, 0.0, 1.0}), outcomeOf(feature, {2.0}));
}

TEST(RatiosFeature, KeepsTheRunningPeakOverAnEmptyWindow)
{
    RatiosFeature feature(true);
    outcomeOf(feature, {50.0});

    EXPECT_EQ(succeeds({s_dNaN, s_dNaN, s_dNaN, s_dNaN}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({0.0, 1.0, 0.0, 0.0}), outcomeOf(feature, {10.0}));
}

TEST(RatiosFeature, ForgetsTheRunningPeakAtResetAndStaysTemporal)
{
    RatiosFeature feature(true);
    outcomeOf(feature, {5000.0});

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(succeeds({1.0, 0.0, 0.0, 0.0}), outcomeOf(feature, {50.0}));
    EXPECT_EQ(succeeds({0.0, 0.0, 0.0, 1.0}), outcomeOf(feature, {1.0}));
}

TEST(RatiosFeature, ClonesWithItsRunningPeak)
{
    RatiosFeature feature(true);
    outcomeOf(feature, {50.0});

    const auto pClone = cloneOf(feature);
    outcomeOf(feature, {5000.0});

    EXPECT_EQ(succeeds({0.0, 0.0, 1.0, 0.0}), outcomeOf(*pClone, {5.0}));
}

// ---- MeanMaxFeature

// Four samples of 0.125 s are half a second, which is not more than half a second: the first block has four samples,
// and each later one has the sample that ended the block before it and four more.
constexpr double s_dStep = 0.125;

// What ends a block of this maximum and starts the next one with the same.
Values blocks(std::initializer_list<double> in_vMaxima)
{
    Values vSamples;
    for (const double dMaximum : in_vMaxima)
        vSamples.insert(vSamples.end(), {dMaximum, 0.0, 0.0, 0.0, 0.0});
    return vSamples;
}

// A first sample makes the blocks above meet the feature's: the first block then holds one sample less.
Outcome meanMaxOf(MeanMaxFeature& inout_feature, std::initializer_list<double> in_vMaxima)
{
    Values vSamples = blocks(in_vMaxima);
    vSamples.erase(vSamples.begin() + 1);
    vSamples.push_back(0.0); // ends the last block
    return outcomeOf(inout_feature, vSamples);
}

TEST(MeanMaxFeature, AppendsTheCurrentMaximumTwiceWhileNoBlockHasEnded)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({-1.0, -1.0}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({0.25, 0.25}), outcomeOf(feature, {0.25}));
    EXPECT_EQ(succeeds({0.5, 0.5}), outcomeOf(feature, {-0.5, 0.125, 0.0}));
}

TEST(MeanMaxFeature, EndsABlockWithTheFirstSampleBehindHalfASecond)
{
    MeanMaxFeature feature(s_dStep, 0.0);
    outcomeOf(feature, {1.0, 2.0, -3.0, 1.0});

    EXPECT_EQ(succeeds({3.0, 3.0}), outcomeOf(feature, {4.0}));
}

TEST(MeanMaxFeature, StartsTheNextBlockWithTheSampleThatEndedTheLast)
{
    MeanMaxFeature feature(s_dStep, 0.0);
    outcomeOf(feature, {3.0, 0.0, 0.0, 0.0, -4.0});

    EXPECT_EQ(succeeds({3.0, 3.0}), outcomeOf(feature, {0.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(succeeds({3.5, 4.0}), outcomeOf(feature, {0.0}));
}

TEST(MeanMaxFeature, AveragesAcceptedMaximaAndKeepsTheLargest)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({5.0, 6.0}), meanMaxOf(feature, {4.0, 6.0, 5.0}));
}

TEST(MeanMaxFeature, AcceptsAMaximumOfExactlyTwiceTheMean)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({6.0, 8.0}), meanMaxOf(feature, {4.0, 8.0}));
}

TEST(MeanMaxFeature, StartsAfreshWithAMaximumOfMoreThanTwiceTheMean)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({8.25, 8.25}), meanMaxOf(feature, {4.0, 4.0, 8.25}));
}

TEST(MeanMaxFeature, AcceptsAMaximumOfExactlyHalfTheMean)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({3.0, 4.0}), meanMaxOf(feature, {4.0, 2.0}));
}

TEST(MeanMaxFeature, DiscardsAMaximumOfLessThanHalfTheMean)
{
    MeanMaxFeature feature(s_dStep, 0.0);

    EXPECT_EQ(succeeds({4.0, 4.0}), meanMaxOf(feature, {4.0, 1.75, 4.0}));
}

TEST(MeanMaxFeature, MeasuresFromTheBaseline)
{
    // Above the baseline of 2: 2, then twice as much, then half the mean, 1.5 of 3.
    MeanMaxFeature feature(s_dStep, 2.0);

    EXPECT_EQ(succeeds({4.5, 6.0}), meanMaxOf(feature, {4.0, 6.0, 3.5}));

    MeanMaxFeature restarted(s_dStep, 2.0);

    EXPECT_EQ(succeeds({6.25, 6.25}), meanMaxOf(restarted, {4.0, 6.25}));

    MeanMaxFeature discarding(s_dStep, 2.0);

    EXPECT_EQ(succeeds({4.0, 4.0}), meanMaxOf(discarding, {4.0, 2.75}));
}

TEST(MeanMaxFeature, LowersTheLargestWhenItStartsAfresh)
{
    // With a baseline above all maxima every difference is negative, and -6 is more than twice -5.
    MeanMaxFeature feature(s_dStep, 10.0);

    EXPECT_EQ(succeeds({4.0, 4.0}), meanMaxOf(feature, {5.0, 4.0}));
}

TEST(MeanMaxFeature, ReturnsToItsInitialStateAtResetAndKeepsStepAndBaseline)
{
    MeanMaxFeature feature(s_dStep, 2.0);
    meanMaxOf(feature, {40.0, 41.0});
    outcomeOf(feature, {77.0});

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(succeeds({-1.0, -1.0}), outcomeOf(feature, {}));
    EXPECT_EQ(succeeds({4.5, 6.0}), meanMaxOf(feature, {4.0, 6.0, 3.5}));
}

TEST(MeanMaxFeature, ClonesWithStatisticsAndTheBlockUnderWay)
{
    MeanMaxFeature feature(s_dStep, 0.0);
    outcomeOf(feature, {3.0, 0.0, 0.0, 0.0, 4.0, 0.0, 0.0});

    const auto pClone = cloneOf(feature);
    outcomeOf(feature, {100.0, 100.0, 100.0, 100.0});

    EXPECT_EQ(succeeds({3.5, 4.0}), outcomeOf(*pClone, {0.0, 0.0, 0.0}));
}

// ---- DeltaToSlidingMeanFeature

TEST(DeltaToSlidingMeanFeature, IsTheDifferenceFromTheMeanOfTheLastFiveValues)
{
    DeltaToSlidingMeanFeature feature;
    ASSERT_TRUE(feature.reset());

    // The means are 1, 1.5, 2, 2.5, 3 and, without the first value, 4.4.
    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {1.0}));
    EXPECT_EQ(succeeds({0.5}), outcomeOf(feature, {2.0}));
    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, {3.0}));
    EXPECT_EQ(succeeds({1.5}), outcomeOf(feature, {4.0}));
    EXPECT_EQ(succeeds({2.0}), outcomeOf(feature, {5.0}));
    EXPECT_EQ(succeeds({8.0 - 4.4}), outcomeOf(feature, {8.0}));
}

TEST(DeltaToSlidingMeanFeature, SumsTheOldestValueFirst)
{
    DeltaToSlidingMeanFeature feature;
    ASSERT_TRUE(feature.reset());
    outcomeOf(feature, {1e16});
    outcomeOf(feature, {-1e16});

    // 1e16 - 1e16 + 1; from the other end the 1 would be lost.
    EXPECT_EQ(succeeds({1.0 - 1.0 / 3.0}), outcomeOf(feature, {1.0}));
}

TEST(DeltaToSlidingMeanFeature, RefusesOtherThanOneValueAndForgetsThem)
{
    DeltaToSlidingMeanFeature feature;
    ASSERT_TRUE(feature.reset());
    outcomeOf(feature, {4.0});
    for (const Values& vInput : {Values{}, Values{1.0, 2.0}}) {
        const AssertionCapture assertions;

        EXPECT_EQ(refuses(), outcomeOf(feature, vInput));

        expectAssertion(assertions, "in_vInput.size() == 1");
    }
    EXPECT_EQ(succeeds({1.0}), outcomeOf(feature, {6.0}));
}

TEST(DeltaToSlidingMeanFeature, RefusesToComputeBeforeTheFirstReset)
{
    const AssertionCapture assertions;
    DeltaToSlidingMeanFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, {1.0}));

    expectAssertion(assertions, "!m_pSlidingMeanFeature.isNull()");
}

TEST(DeltaToSlidingMeanFeature, ChecksTheInputBeforeTheReset)
{
    const AssertionCapture assertions;
    DeltaToSlidingMeanFeature feature;

    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    expectAssertion(assertions, "in_vInput.size() == 1");
}

TEST(DeltaToSlidingMeanFeature, ForgetsItsValuesAtReset)
{
    DeltaToSlidingMeanFeature feature;
    ASSERT_TRUE(feature.reset());
    outcomeOf(feature, {100.0});

    EXPECT_TRUE(feature.reset());

    EXPECT_EQ(succeeds({0.0}), outcomeOf(feature, {3.0}));
}

TEST(DeltaToSlidingMeanFeature, ClonesWithItsValues)
{
    DeltaToSlidingMeanFeature feature;
    ASSERT_TRUE(feature.reset());
    outcomeOf(feature, {1.0});

    const auto pClone = cloneOf(feature);
    outcomeOf(feature, {100.0});

    EXPECT_EQ(succeeds({1.0}), outcomeOf(*pClone, {3.0}));
}

TEST(DeltaToSlidingMeanFeature, ClonesWithoutAMeanBeforeTheFirstReset)
{
    const AssertionCapture assertions;
    const auto pClone = cloneOf(DeltaToSlidingMeanFeature());

    EXPECT_EQ(refuses(), outcomeOf(*pClone, {1.0}));

    expectAssertion(assertions, "!m_pSlidingMeanFeature.isNull()");
}

} // namespace
} // namespace Corvana::Audio
