// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioFileReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

namespace Corvana::Audio {
namespace {

using namespace Test;

constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
const double s_dLogOfNothing = std::log(1e-6);

// ---- The simplest inputs

struct Ladder
{
    const char* m_szClass;
    std::function<std::unique_ptr<Math::SignalFeature>()> m_make;
    Outcome m_empty;
    Outcome m_oneHalf; // a single value, 0.5
    Outcome m_sixteenZeros;
    Outcome m_sixteenQuarters; // 16 values of 0.25
};

std::ostream& operator<<(std::ostream& out_stream, const Ladder& in_ladder)
{
    return out_stream << in_ladder.m_szClass;
}

template <class FeatureT, class... ArgumentsT>
std::function<std::unique_ptr<Math::SignalFeature>()> makerOf(ArgumentsT... in_arguments)
{
    return [in_arguments...] { return std::make_unique<FeatureT>(in_arguments...); };
}

Values repeated(unsigned long in_uiCount, double in_dValue)
{
    return Values(in_uiCount, in_dValue);
}

Values firstBin(double in_dCount, unsigned long in_uiBin)
{
    Values vBins(10, 0.0);
    vBins[in_uiBin] = in_dCount;
    return vBins;
}

Values fourOfSixteen(double in_dValue)
{
    Values vValues(16, 0.0);
    std::fill_n(vValues.begin(), 4, in_dValue);
    return vValues;
}

// 16 bins are 250 Hz wide each and have 4 candidates (M) of 5 harmonics; none lies below 100 Hz, and 4 bins lie below
// 1000 Hz.
std::vector<Ladder> ladders()
{
    const Outcome nan = succeeds({s_dNaN});
    const Outcome zero = succeeds({0.0});
    const Outcome nothing = succeeds({});
    const Values vLoud = {1.0, 0.0, 0.0, 0.0};
    const Values vNearlySilent = {0.0, 0.0, 0.0, 1.0};
    const Outcome noRatios = succeeds(repeated(4, s_dNaN));
    return {
        {"ZeroCrossingRate", makerOf<ZeroCrossingRateFeature>(), zero, zero, zero, zero},
        {"ClippingRate", makerOf<ClippingRateFeature>(), nan, zero, zero, zero},
        {"SilenceRatio", makerOf<SilenceRatioFeature>(50UL), nan, zero, zero, zero},
        {"NoiseRatio", makerOf<SilenceRatioFeature>(10UL), nan, zero, zero, zero},
        {"SilenceRatioT50", makerOf<SilenceRatioFeatureT<50>>(), nan, zero, zero, zero},
        {"MeanEnergyAboveThresh", makerOf<MeanEnergyAboveThreshFeature>(), zero, succeeds({0.25}), zero,
         succeeds({0.0625})},
        // Energies of 0.25 and, in 10 bins, 0.625.
        {"EnergyHistogram", makerOf<EnergyHistogramFeature>(), succeeds(repeated(10, 0.0)), succeeds(firstBin(1.0, 2)),
         succeeds(firstBin(16.0, 0)), succeeds(firstBin(16.0, 0))},
        {"MaxNeighbourhood", makerOf<MaxNeighbourhoodFeature>(), refuses(), refuses(), succeeds(repeated(3, 0.0)),
         succeeds(repeated(3, 0.25))},
        {"Ratios", makerOf<RatiosFeature>(false), noRatios, succeeds(vLoud), succeeds(vNearlySilent), succeeds(vLoud)},
        {"TemporalRatios", makerOf<RatiosFeature>(true), noRatios, succeeds(vLoud), succeeds(vNearlySilent),
         succeeds(vLoud)},
        // An eighth of a second a sample: the 16 values end three blocks.
        {"MeanMax", makerOf<MeanMaxFeature>(0.125, 0.0), succeeds({-1.0, -1.0}), succeeds({0.5, 0.5}),
         succeeds({0.0, 0.0}), succeeds({0.25, 0.25})},
        {"DeltaToSlidingMean",
         [] {
             auto pFeature = std::make_unique<DeltaToSlidingMeanFeature>();
             pFeature->reset();
             return pFeature;
         },
         refuses(), zero, refuses(), refuses()},
        {"SpectralRange", makerOf<SpectralRangeFeature>(1000UL, 100UL), refuses(), refuses(),
         succeeds({0.0, 0.0, 0.0, 0.0}), succeeds({0.25, 0.25, 0.25, 0.0})},
        {"MaxSpectralRanges",
         [] {
             auto pFeature = std::make_unique<MaxSpectralRangesFeature>();
             pFeature->addSpectralRange(1000, 20);
             return pFeature;
         },
         refuses(), refuses(), succeeds({0.0, 0.0, 0.0, 0.0}), succeeds({0.25, 0.25, 0.25, 0.0})},
        {"MaxSpectralRangesWithoutRanges", makerOf<MaxSpectralRangesFeature>(), refuses(), refuses(), refuses(),
         refuses()},
        {"LowFreqEnergyRatio", makerOf<LowFreqEnergyRatioFeature>(), zero, zero, zero, succeeds({1.0})},
        {"LowFreqEnergyRatios", makerOf<LowFreqEnergyRatiosFeature>(), succeeds({0.0, 0.0}), succeeds({0.0, 0.0}),
         succeeds({0.0, 0.0}), succeeds({0.0, 1.0})},
        // Bins 1 to 6, whose indexes sum to 21, of 250 Hz.
        {"SpectralWeightedArea", makerOf<SpectralWeightedAreaFeature>(), refuses(), refuses(), zero,
         succeeds({21.0 * 0.25 * 250.0})},
        {"SpectralSlope", makerOf<SpectralSlopeFeature>(), nothing, nothing, nothing, nothing},
        {"HarmonicProduct", makerOf<HarmonicProductFeature>(), nothing, zero, succeeds(repeated(4, 0.0)),
         succeeds({0.0, 1.0, 1.0, 1.0})},
        {"RobustHarmonicProduct", makerOf<RobustHarmonicProductFeature>(), nothing, zero, succeeds(repeated(4, 0.0)),
         succeeds({0.0, 1.0, 1.0, 1.0})},
        // Five factors of 4 * 0.25 * 4.
        {"AntiHarmonicProduct", makerOf<AntiHarmonicProductFeature>(), refuses(), refuses(), succeeds({1.0, 1.0}),
         succeeds({1024.0, 1024.0})},
        // Four factors of 16 * 0.25.
        {"OldHarmonicProduct", makerOf<OldHarmonicProductFeature>(), nothing, zero, succeeds(repeated(16, 0.0)),
         succeeds(fourOfSixteen(256.0))},
        {"Peaks", makerOf<PeaksFeature>(), refuses(),
         succeeds({0.5, 0.0, 0.0, s_dLogOfNothing, s_dLogOfNothing, s_dLogOfNothing}),
         succeeds({0.0, 0.0, 0.0, s_dLogOfNothing, s_dLogOfNothing, s_dLogOfNothing}),
         succeeds({0.25, 0.25, 0.25, s_dLogOfNothing, 0.0, std::log(2.0)})},
        {"My", makerOf<MyFeature>(), nothing, nothing, nothing, nothing},
    };
}

class FeatureLadder : public testing::TestWithParam<Ladder>
{
};

TEST_P(FeatureLadder, StartsWithNothing)
{
    EXPECT_EQ(GetParam().m_empty, outcomeOf(*GetParam().m_make(), {}));
}

TEST_P(FeatureLadder, TakesOneValue)
{
    EXPECT_EQ(GetParam().m_oneHalf, outcomeOf(*GetParam().m_make(), {0.5}));
}

TEST_P(FeatureLadder, TakesZeros)
{
    EXPECT_EQ(GetParam().m_sixteenZeros, outcomeOf(*GetParam().m_make(), Values(16, 0.0)));
}

TEST_P(FeatureLadder, TakesAConstant)
{
    EXPECT_EQ(GetParam().m_sixteenQuarters, outcomeOf(*GetParam().m_make(), Values(16, 0.25)));
}

INSTANTIATE_TEST_SUITE_P(All, FeatureLadder, testing::ValuesIn(ladders()),
                         [](const auto& in_info) { return std::string(in_info.param.m_szClass); });

// ---- Values that are no ordinary numbers

class AnyFeature : public testing::TestWithParam<FeatureClass>
{
};

TEST_P(AnyFeature, StandsUpToWhatIsNoNumberOrInfinite)
{
    const double aStrange[] = {s_dNaN, s_dInfinity, -s_dInfinity, std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::denorm_min()};
    for (const double dStrange : aStrange)
        for (const unsigned long uiSize : {1UL, 2UL, 4UL, 8UL, 16UL, 128UL})
            for (const unsigned long uiPlace : {0UL, uiSize / 2, uiSize - 1, uiSize}) {
                Values vOrdinary(uiSize, 0.25);
                Values vStrange = vOrdinary;
                if (uiPlace == uiSize)
                    vStrange.assign(uiSize, dStrange);
                else
                    vStrange[uiPlace] = dStrange;

                // Whether a feature computes, and how many values it yields, depends on the size alone; the strongest
                // range is the exception, since no range is stronger than nothing when all are no numbers.
                const Outcome ordinary = outcomeOf(*GetParam().m_make(), vOrdinary);
                const Outcome strange = outcomeOf(*GetParam().m_make(), vStrange);
                EXPECT_EQ(ordinary.m_bDone, strange.m_bDone) << dStrange << " at " << uiPlace << " of " << uiSize;
                if (!strange.m_vValues.empty()) {
                    EXPECT_EQ(ordinary.m_vValues.size(), strange.m_vValues.size());
                }
            }
}

INSTANTIATE_TEST_SUITE_P(All, AnyFeature, testing::ValuesIn(allFeatureClasses()),
                         [](const auto& in_info) { return std::string(in_info.param.m_szName); });

// ---- Held against the plain features, bit for bit

class PlainComparison : public testing::TestWithParam<std::string>
{
};

std::string nameOf(const std::string& in_strDescription)
{
    std::string strName;
    for (const char cLetter : in_strDescription)
        if (std::isalnum(static_cast<unsigned char>(cLetter)))
            strName += cLetter;
        else if (cLetter != ')')
            strName += '_';
    return strName;
}

// A feature and its plain form, fed with the same inputs one after another.
class Pair
{
public:
    explicit Pair(const std::string& in_strDescription)
        : m_strDescription(in_strDescription)
        , m_pFeature(newFeature(in_strDescription))
        , m_plain(plainFeature(in_strDescription))
    {
    }

    // Returns how many values were compared.
    unsigned long expectSame(const Values& in_vInput, const std::string& in_strWhere)
    {
        const Outcome expected = outcomeOf(m_plain(in_vInput));
        const Outcome actual = outcomeOf(*m_pFeature, in_vInput);
        EXPECT_EQ(expected, actual) << m_strDescription << ' ' << in_strWhere;
        return actual.m_vValues.size();
    }

private:
    std::string m_strDescription;
    std::unique_ptr<Math::SignalFeature> m_pFeature;
    PlainFeature m_plain;
};

bool isSpectrum(const std::string& in_strDescription)
{
    return in_strDescription == "spectrum" || in_strDescription.ends_with("hz");
}

TEST_P(PlainComparison, HoldsForFreshObjectsAndInputsOfAnyLength)
{
    for (unsigned long uiSize = 0; uiSize <= 600; ++uiSize) {
        if (isSpectrum(GetParam()) && (uiSize & (uiSize - 1)) != 0)
            continue; // the plain transform takes powers of two only
        Pair(GetParam()).expectSame(randomWindow(uiSize, uiSize + 1), "window of " + std::to_string(uiSize));
        Pair(GetParam()).expectSame(randomSpectrum(uiSize, uiSize + 7), "spectrum of " + std::to_string(uiSize));
    }
}

// All but the spectra, which keep to their first length.
std::vector<std::string> descriptionsOfAnyLength()
{
    std::vector<std::string> vDescriptions = plainDescriptions();
    std::erase_if(vDescriptions, isSpectrum);
    return vDescriptions;
}

class PlainComparisonOfLengths : public testing::TestWithParam<std::string>
{
};

INSTANTIATE_TEST_SUITE_P(All, PlainComparisonOfLengths, testing::ValuesIn(descriptionsOfAnyLength()),
                         [](const auto& in_info) { return nameOf(in_info.param); });

TEST_P(PlainComparisonOfLengths, HoldsForOneObject)
{
    const bool bValue = GetParam() == "deltatoslidingmean";
    Pair pair(GetParam());
    for (unsigned long uiRound = 0; uiRound < 300; ++uiRound) {
        const unsigned long uiSize = bValue ? 1 : 128 + uiRound * 7919 % 131 - (uiRound % 11 == 3 ? 100 : 0);
        pair.expectSame(randomWindow(uiSize, uiRound + 1), "round " + std::to_string(uiRound));
    }
}

// A description that turns a window of samples into the feature's values.
std::string onWindows(const std::string& in_strDescription)
{
    static const char* const s_aszOnWindows[] = {"zerocrossingrate",   "silenceratio",
                                                 "noiseratio",         "amplitudedistribution",
                                                 "neighbourhoodofmax", "temporalamplitudedistribution"};
    if (isSpectrum(in_strDescription) ||
        std::find(std::begin(s_aszOnWindows), std::end(s_aszOnWindows), in_strDescription) != std::end(s_aszOnWindows))
        return in_strDescription;
    return (in_strDescription == "deltatoslidingmean" ? "silenceratio|" : "spectrum|") + in_strDescription;
}

TEST_P(PlainComparison, HoldsOverTheSampleCall)
{
    for (const unsigned long uiSize : {128UL, 256UL}) {
        Pair pair(onWindows(GetParam()));
        unsigned long uiNbOfValues = 0;
        for (const Values& vWindow : windowsOf(sampleCall(), uiSize, 80))
            uiNbOfValues += pair.expectSame(vWindow, "sample call");
        EXPECT_LE(1890u, uiNbOfValues); // 152000 samples in steps of 80
    }
}

constexpr const char* s_szPrompts = "/usr/share/asterisk/sounds/en_US_f_Allison";

std::vector<std::string> prompts()
{
    std::vector<std::string> vPaths;
    std::error_code error;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(s_szPrompts, error))
        if (entry.path().extension() == ".wav")
            vPaths.push_back(entry.path().string());
    std::sort(vPaths.begin(), vPaths.end());
    return vPaths;
}

TEST_P(PlainComparison, HoldsOverTelephonePrompts)
{
    const std::vector<std::string> vPaths = prompts();
    if (vPaths.empty())
        GTEST_SKIP() << "asterisk-core-sounds-en-wav is not installed";
    // Every tenth prompt, so that this takes seconds, unless all are asked for; each starts from new objects.
    const std::size_t uiStep = std::getenv("CORVANA_ALL_PROMPTS") == nullptr ? 10 : 1;
    for (std::size_t uiPrompt = 0; uiPrompt < vPaths.size(); uiPrompt += uiStep) {
        AudioFileReader reader;
        Math::DoubleVector vSamples;
        ASSERT_TRUE(reader.setSourceAudioFile(vPaths[uiPrompt].c_str()) && reader.getAllLinearFrames(vSamples))
            << vPaths[uiPrompt];
        Pair pair(onWindows(GetParam()));
        for (const Values& vWindow : windowsOf(vSamples, 256, 256))
            pair.expectSame(vWindow, vPaths[uiPrompt]);
    }
}

INSTANTIATE_TEST_SUITE_P(All, PlainComparison, testing::ValuesIn(plainDescriptions()),
                         [](const auto& in_info) { return nameOf(in_info.param); });

TEST(PlainComparison, HoldsForLongChains)
{
    for (const char* szChain :
         {"spectrum|harmonicproduct|peaks", "spectrum|peaks|neighbourhoodofmax", "spectrum500hz|flatness",
          "spectrum|flatness|deltatoslidingmean", "spectrum|lowfreqenergyratio|deltatoslidingmean",
          "amplitudedistribution|neighbourhoodofmax|peaks", "spectrum|spectrum|spectrum100hz|lowfreqenergyratios",
          "spectrum|oldharmonicproduct|robustharmonicproduct|noiseratio"}) {
        Pair pair(szChain);
        for (const Values& vWindow : windowsOf(sampleCall(), 256, 800))
            pair.expectSame(vWindow, "sample call");
    }
}

TEST(PlainComparison, HoldsForTheFeaturesThatNoDescriptionMakes)
{
    ClippingRateFeature clipping(-0.1, 0.2);
    PlainClippingRate plainClipping{-0.1, 0.2};
    MeanEnergyAboveThreshFeature energy(0.01);
    PlainMeanEnergyAboveThresh plainEnergy{0.01};
    EnergyHistogramFeature histogram(0.3, 17);
    PlainEnergyHistogram plainHistogram{0.3, 17};
    MeanMaxFeature meanMax(1.0 / 8000.0, 0.001);
    PlainMeanMax plainMeanMax{1.0 / 8000.0, 0.001};
    MeanMaxFeature coarse(0.07, 0.05);
    PlainMeanMax plainCoarse{0.07, 0.05};
    const auto expectSame = [&](const Values& in_vWindow) {
        EXPECT_EQ(outcomeOf(plainClipping(in_vWindow)), outcomeOf(clipping, in_vWindow));
        EXPECT_EQ(outcomeOf(plainEnergy(in_vWindow)), outcomeOf(energy, in_vWindow));
        EXPECT_EQ(outcomeOf(plainHistogram(in_vWindow)), outcomeOf(histogram, in_vWindow));
        EXPECT_EQ(outcomeOf(plainMeanMax(in_vWindow)), outcomeOf(meanMax, in_vWindow));
        EXPECT_EQ(outcomeOf(plainCoarse(in_vWindow)), outcomeOf(coarse, in_vWindow));
    };

    for (unsigned long uiSize = 0; uiSize <= 600; ++uiSize)
        expectSame(randomWindow(uiSize, uiSize + 1));
    for (const Values& vWindow : windowsOf(sampleCall(), 256, 80))
        expectSame(vWindow);
}

// ---- Golden values of a real recording

struct Golden
{
    unsigned long m_uiStart = 0;
    std::string m_strFeature;
    Values m_vValues;
};

std::vector<Golden> goldenValues()
{
    std::ifstream file(CORVANA_SOURCE_DIR "/tests/audio/features/golden-features.txt");
    std::vector<Golden> vGolden;
    for (std::string strLine; std::getline(file, strLine);) {
        std::istringstream line(strLine);
        Golden golden;
        line >> golden.m_uiStart >> golden.m_strFeature;
        for (double dValue = 0.0; line >> dValue;)
            golden.m_vValues.push_back(dValue);
        vGolden.push_back(golden);
    }
    return vGolden;
}

std::unique_ptr<Math::SignalFeature> goldenFeature(const std::string& in_strFeature)
{
    for (const FeatureClass& featureClass : allFeatureClasses())
        if (in_strFeature == featureClass.m_szName)
            return featureClass.m_make();
    return newFeature(in_strFeature);
}

TEST(GoldenValues, OfTheSampleCallAreMetByEveryFeature)
{
    const std::vector<Golden> vGolden = goldenValues();
    ASSERT_EQ(6u * 26u, vGolden.size());
    std::map<std::string, std::unique_ptr<Math::SignalFeature>> features; // each is fed with the windows in turn
    for (const Golden& golden : vGolden) {
        auto& pFeature = features[golden.m_strFeature];
        if (pFeature == nullptr)
            pFeature = goldenFeature(golden.m_strFeature);
        ASSERT_NE(nullptr, pFeature) << golden.m_strFeature;
        const double* const pWindow = sampleCall().begin() + golden.m_uiStart;

        const Outcome outcome = outcomeOf(*pFeature, Values(pWindow, pWindow + 256));

        EXPECT_TRUE(outcome.m_bDone);
        ASSERT_EQ(golden.m_vValues.size(), outcome.m_vValues.size()) << golden.m_strFeature;
        for (std::size_t i = 0; i < outcome.m_vValues.size(); ++i) {
            // The golden spectrum comes from another way of transforming: both are right to about 1e-13 of the
            // largest bin's amplitude, which is 1e-9 of the least bins and of their products.
            const double dExpected = golden.m_vValues[i];
            EXPECT_NEAR(dExpected, outcome.m_vValues[i], 1e-15 + 1e-9 * std::fabs(dExpected))
                << golden.m_strFeature << " at " << golden.m_uiStart << ", value " << i;
        }
    }
}

} // namespace
} // namespace Corvana::Audio
