// SPDX-License-Identifier: Apache-2.0
// Formulas that call audio functions: the same bits as the features, whichever way they are called.
#include "corvana/MathXprExpression.h"

#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using Corvana::LimitedObjPtr;
using Corvana::ParameterTrie;
using Corvana::ParameterValue;
using Corvana::TrieConfiguration;
using Corvana::Math::DoubleVector;
using Corvana::Math::SignalFeature;
using Corvana::Math::Xpr::Expression;
using Corvana::Test::AssertionCapture;
using Corvana::Test::LogCapture;
using Corvana::Test::noise;
using Corvana::Test::sameBits;
using Corvana::Test::valuesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace Audio = Corvana::Audio;

namespace {

const std::vector<DoubleVector>& callWindows()
{
    static const std::vector<DoubleVector> s_vWindows = [] {
        Audio::WindowedAudioFileReader reader;
        EXPECT_TRUE(reader.configure({8000, 32, 16, false}));
        EXPECT_TRUE(reader.setSourceAudioFile(CORVANA_SOURCE_DIR "/examples/data/sample-call.wav"));
        std::vector<DoubleVector> vWindows;
        DoubleVector vWindow;
        while (reader.getNextWindow(vWindow))
            vWindows.push_back(vWindow);
        return vWindows;
    }();
    return s_vWindows;
}

Expression parsed(const char* in_szFormula)
{
    Expression expression;
    EXPECT_TRUE(expression.parse(in_szFormula)) << expression.getError();
    return expression;
}

DoubleVector valueOf(Expression& inout_expression, const DoubleVector& in_vWindow)
{
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(inout_expression.setVariable("x", in_vWindow));
    EXPECT_TRUE(inout_expression.evaluate(pResult)) << inout_expression.getText();
    return pResult.isNull() ? DoubleVector() : *pResult;
}

// The matching chain of features, called directly; the first one may be missing.
struct Chain
{
    const char* m_szFormula;
    bool m_bOfSpectrum;
    std::function<std::unique_ptr<SignalFeature>()> m_makeFeature;
};

std::unique_ptr<SignalFeature> makeMaxRanges()
{
    auto pFeature = std::make_unique<Audio::MaxSpectralRangesFeature>();
    pFeature->addSpectralRange(440, 20);
    pFeature->addSpectralRange(480, 20);
    return pFeature;
}

template <class FeatureT, auto... values>
std::unique_ptr<SignalFeature> make()
{
    return std::make_unique<FeatureT>(values...);
}

const std::vector<Chain> s_vChains = {
    {"spectrum(x)", false, make<Audio::SpectrumFeature>},
    {"flatness(spectrum(x))", true, make<Audio::FlatnessFeature>},
    {"harmonicProduct(spectrum(x))", true, make<Audio::HarmonicProductFeature>},
    {"silenceRatio(x)", false, make<Audio::SilenceRatioFeatureT<50>>},
    {"peaks(spectrum(x))", true, make<Audio::PeaksFeature>},
    {"spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)", true,
     make<Audio::SpectralRangeFeature, 1000UL, 100UL>},
    {"maxSpectralRanges(spectrum(x), frequenciesList=\"440, 480\")", true, makeMaxRanges},
    {"lowFreqEnergyRatios(spectrum(x))", true, make<Audio::LowFreqEnergyRatiosFeature>},
};

class EveryAudioFormula : public testing::TestWithParam<Chain>
{
};

INSTANTIATE_TEST_SUITE_P(AudioXprFormula, EveryAudioFormula, testing::ValuesIn(s_vChains), [](const auto& in_info) {
    const std::string strFormula = in_info.param.m_szFormula;
    return strFormula.substr(0, strFormula.find('('));
});

} // namespace

TEST_P(EveryAudioFormula, GivesTheBitsOfItsFeaturesOnARecording)
{
    ASSERT_EQ(1186U, callWindows().size()); // 19 s, a window each 16 ms, the last one whole
    Expression expression = parsed(GetParam().m_szFormula);
    Audio::SpectrumFeature spectrum;
    const std::unique_ptr<SignalFeature> pFeature = GetParam().m_makeFeature();

    for (const DoubleVector& vWindow : callWindows()) {
        const DoubleVector vInput = GetParam().m_bOfSpectrum ? valuesOf(spectrum, vWindow) : vWindow;
        const DoubleVector vExpected = valuesOf(*pFeature, vInput);
        ASSERT_TRUE(sameBits(vExpected, valueOf(expression, vWindow)));
    }
}

TEST_P(EveryAudioFormula, GivesTheSameBitsInCopiesOfSeveralThreads)
{
    Expression expression = parsed(GetParam().m_szFormula);
    std::vector<DoubleVector> vExpected;
    for (const DoubleVector& vWindow : callWindows())
        vExpected.push_back(valueOf(expression, vWindow));
    std::vector<Expression> vCopies;
    for (int iCopy = 0; iCopy < 4; ++iCopy)
        vCopies.push_back(expression.copy());
    std::vector<unsigned long> vNbOfAgreements(vCopies.size(), 0);

    std::vector<std::thread> vThreads;
    for (std::size_t uiCopy = 0; uiCopy < vCopies.size(); ++uiCopy) {
        vThreads.emplace_back([&, uiCopy] {
            for (std::size_t uiWindow = 0; uiWindow < vExpected.size(); ++uiWindow)
                if (sameBits(vExpected[uiWindow], valueOf(vCopies[uiCopy], callWindows()[uiWindow])))
                    ++vNbOfAgreements[uiCopy];
        });
    }
    for (std::thread& thread : vThreads)
        thread.join();

    EXPECT_THAT(vNbOfAgreements, testing::Each(vExpected.size()));
}

TEST_P(EveryAudioFormula, IsParsedByManyThreadsAtOnce)
{
    std::vector<std::string> vTexts(4);

    std::vector<std::thread> vThreads;
    for (std::string& strText : vTexts)
        vThreads.emplace_back([&strText] {
            for (int iRepeat = 0; iRepeat < 20; ++iRepeat)
                strText = parsed(GetParam().m_szFormula).getText();
        });
    for (std::thread& thread : vThreads)
        thread.join();

    EXPECT_THAT(vTexts, testing::Each(std::string(GetParam().m_szFormula)));
}

// ---- Parameters

TEST(AudioXprFormula, TwoCallsOfOneFunctionDiffer)
{
    Expression expression = parsed("concat(spectralRange(spectrum(x), frequencyHz=500, widthHz=0), "
                                   "spectralRange(spectrum(x), frequencyHz=1000, widthHz=0))");
    const DoubleVector vSpectrum = valuesOf(Audio::SpectrumFeature(), noise(256));
    DoubleVector vExpected;
    Audio::SpectralRangeFeature(500, 0).compute(vSpectrum, vExpected);
    Audio::SpectralRangeFeature(1000, 0).compute(vSpectrum, vExpected);

    EXPECT_TRUE(sameBits(vExpected, valueOf(expression, noise(256))));
}

TEST(AudioXprFormula, TakesWhatTheFormulaLeavesOpenFromAConfiguration)
{
    Expression expression = parsed("spectralRange(spectrum(x), widthHz=0)");
    ParameterTrie trie;
    trie.insert("spectralrange.frequencyHz", ParameterValue(1000L));
    trie.insert("spectralrange.widthHz", ParameterValue(500L));

    EXPECT_TRUE(expression.configure(TrieConfiguration(trie)));

    const DoubleVector vSpectrum = valuesOf(Audio::SpectrumFeature(), noise(256));
    EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(1000, 0), vSpectrum), valueOf(expression, noise(256))));
}

TEST(AudioXprFormula, FailsToConfigureWithoutAParameterAndNamesIt)
{
    Expression expression = parsed("spectralRange(spectrum(x), frequencyHz=1000)");
    LogCapture log("kestrivon", 40000);

    EXPECT_FALSE(expression.configure(TrieConfiguration()));

    EXPECT_THAT(log.texts(), ElementsAre("Parameter widthHz is not set for spectral range feature"));
}

TEST(AudioXprFormula, NamesEveryFunctionThatFailsToConfigure)
{
    Expression expression = parsed("spectralRange(x) + maxSpectralRanges(x)");
    LogCapture log("kestrivon", 40000);

    EXPECT_FALSE(expression.configure(TrieConfiguration()));

    EXPECT_THAT(log.texts(), ElementsAre("Parameter frequencyHz is not set for spectral range feature",
                                         "Could not find parameter frequenciesList in configuration"));
}

TEST(AudioXprFormula, FailsToEvaluateWithoutAParameterAndNamesIt)
{
    Expression expression = parsed("maxSpectralRanges(spectrum(x))");
    expression.setVariable("x", noise(256));
    LogCapture log("kestrivon", 40000);
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_FALSE(expression.evaluate(pResult));

    EXPECT_TRUE(pResult.isNull());
    EXPECT_THAT(log.texts(), ElementsAre("Could not find parameter frequenciesList in configuration"));
}

TEST(AudioXprFormula, MayBeConfiguredAgain)
{
    Expression expression = parsed("spectralRange(spectrum(x), widthHz=0)");
    const DoubleVector vSpectrum = valuesOf(Audio::SpectrumFeature(), noise(256));
    for (const unsigned long uiFrequency : {1000UL, 500UL, 2000UL}) {
        ParameterTrie trie;
        trie.insert("frequencyHz", ParameterValue(static_cast<long>(uiFrequency)));
        ASSERT_TRUE(expression.configure(TrieConfiguration(trie)));
        EXPECT_TRUE(sameBits(valuesOf(Audio::SpectralRangeFeature(uiFrequency, 0), vSpectrum),
                             valueOf(expression, noise(256))));
    }
}

TEST(AudioXprFormula, CopiesTheFormulaButNotWhatAConfigurationSaid)
{
    Expression expression = parsed("spectralRange(spectrum(x), widthHz=0)");
    ParameterTrie trie;
    trie.insert("frequencyHz", ParameterValue(1000L));
    ASSERT_TRUE(expression.configure(TrieConfiguration(trie)));
    const DoubleVector vValue = valueOf(expression, noise(256));
    Expression copy = expression.copy();
    LimitedObjPtr<DoubleVector> pResult;
    {
        LogCapture log("kestrivon", 40000);
        EXPECT_FALSE(copy.evaluate(pResult));
        EXPECT_THAT(log.texts(), ElementsAre("Parameter frequencyHz is not set for spectral range feature"));
    }

    EXPECT_TRUE(copy.configure(TrieConfiguration(trie)));

    EXPECT_TRUE(sameBits(vValue, valueOf(copy, noise(256))));
}

TEST(AudioXprFormula, KeepsTheOutputAndGoesOnAfterAFailure)
{
    Expression expression = parsed("flatness(spectrum(x))");
    const DoubleVector vExpected = valueOf(expression, noise(256));
    DoubleVector vFormer{7.0};
    LimitedObjPtr<DoubleVector> pResult(&vFormer);
    AssertionCapture assertions;

    expression.setVariable("x", noise(128));
    EXPECT_FALSE(expression.evaluate(pResult));

    EXPECT_EQ(&vFormer, pResult.get());
    EXPECT_TRUE(sameBits(vExpected, valueOf(expression, noise(256))));
}

TEST(AudioXprFormula, TellsItsVariablesAndParameters)
{
    const Expression expression = parsed("maxSpectralRanges(spectrum(left)) * spectralRange(right) + "
                                         "spectralRange(spectrum(left), frequencyHz=1000)");

    EXPECT_THAT(expression.getVariableNames(), ElementsAre("left", "right"));
    EXPECT_THAT(expression.getParameterNames(),
                ElementsAre("maxspectralranges.frequenciesList", "spectralrange.frequencyHz", "spectralrange.widthHz"));
}

TEST(AudioXprFormula, SeparatesTheBusyToneFromSpeech)
{
    // The formula of docs/expressions.md, on windows of 32 ms that begin every 16 ms. The bursts begin at 16, 17 and
    // 18 s and last 0.5 s; a window that is half or less in a burst may be told either way.
    Expression expression = parsed("spectralRange(spectrum(x), frequencyHz=480, widthHz=0)[0] > 0.12 and "
                                   "spectralRange(spectrum(x), frequencyHz=620, widthHz=0)[0] > 0.12");
    for (std::size_t uiWindow = 0; uiWindow < callWindows().size(); ++uiWindow) {
        const double dBegin = 0.016 * static_cast<double>(uiWindow);
        const double dInBurst = dBegin - std::floor(dBegin);
        const bool bBusy = dBegin >= 16.0 && dInBurst <= 0.468;
        const bool bEdge = dBegin > 15.95 && (dInBurst > 0.968 || (dInBurst > 0.468 && dInBurst < 0.5));
        const DoubleVector vValue = valueOf(expression, callWindows()[uiWindow]);
        EXPECT_TRUE(bEdge || vValue == DoubleVector({bBusy ? 1.0 : 0.0})) << dBegin << " s";
    }
}
