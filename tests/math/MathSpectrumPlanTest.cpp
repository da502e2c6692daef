// SPDX-License-Identifier: Apache-2.0
// The fast spectrum against the plain, literal one: every bit, for every instruction set that this machine has.
#include "corvana/MathSpectrumPlan.h"

#include "ReferenceSpectrum.h"
#include "TransformInputs.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace Corvana::Math {

void PrintTo(Simd in_simd, std::ostream* out_pStream);
void PrintTo(Simd in_simd, std::ostream* out_pStream)
{
    *out_pStream << getSimdName(in_simd);
}

} // namespace Corvana::Math

using Corvana::Math::DoubleVector;
using Corvana::Math::getSimdName;
using Corvana::Math::isSimdSupported;
using Corvana::Math::Simd;
using Corvana::Math::SpectrumPlan;
using Corvana::Math::SpectrumScratch;
using Corvana::Test::differenceOfBits;
using Corvana::Test::randomValues;
using Corvana::Test::referenceHannWindow;
using Corvana::Test::referencePowerSpectrum;
using Corvana::Test::specialInputs;

namespace {

using Window = std::vector<double>;

constexpr double s_dUnwritten = -77.0;

DoubleVector hannTaper(unsigned long in_uiSize)
{
    const Window vHann = referenceHannWindow(in_uiSize);
    DoubleVector vTaper;
    vTaper.insert(vTaper.end(), vHann.data(), vHann.data() + vHann.size());
    return vTaper;
}

Window spectrumOf(const SpectrumPlan& in_plan, const Window& in_vWindow)
{
    SpectrumScratch scratch;
    Window vBins(in_vWindow.size() / 2, s_dUnwritten);
    in_plan.compute(in_vWindow.data(), vBins.data(), scratch);
    return vBins;
}

std::vector<Window> spectraOf(const SpectrumPlan& in_plan, const std::vector<Window>& in_vvWindows)
{
    SpectrumScratch scratch;
    std::vector<Window> vvBins(in_vvWindows.size(), Window(in_plan.getNbOfBins(), s_dUnwritten));
    std::vector<const double*> vpWindows;
    std::vector<double*> vpBins;
    for (std::size_t uiWindow = 0; uiWindow < in_vvWindows.size(); ++uiWindow) {
        vpWindows.push_back(in_vvWindows[uiWindow].data());
        vpBins.push_back(vvBins[uiWindow].data());
    }
    in_plan.computeSeveral(vpWindows.size(), vpWindows.data(), vpBins.data(), scratch);
    return vvBins;
}

// Special values among ordinary ones, at places that every part of a kernel meets in turn.
std::vector<Window> windowsWithOneSpecialValue(unsigned long in_uiSize)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    const double adSpecial[] = {dInfinity, -dInfinity, std::numeric_limits<double>::quiet_NaN(), -0.0, 5e-324, 1.7e308};
    std::vector<Window> vvWindows;
    const unsigned long uiStep = in_uiSize < 64 ? 1 : in_uiSize / 19;
    for (unsigned long uiPlace = 0; uiPlace < in_uiSize; uiPlace += uiStep) {
        vvWindows.push_back(randomValues(in_uiSize, static_cast<unsigned>(uiPlace)));
        vvWindows.back()[uiPlace] = adSpecial[uiPlace % std::size(adSpecial)];
    }
    return vvWindows;
}

class SpectrumPlanOfSize : public testing::TestWithParam<std::tuple<Simd, unsigned long>>
{
protected:
    void SetUp() override
    {
        if (!isSimdSupported(std::get<0>(GetParam())))
            GTEST_SKIP() << "this processor lacks " << getSimdName(std::get<0>(GetParam()));
        m_pPlan = std::make_unique<SpectrumPlan>(hannTaper(getSize()), std::get<0>(GetParam()));
    }
    static unsigned long getSize() { return std::get<1>(GetParam()); }

    std::unique_ptr<const SpectrumPlan> m_pPlan;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(AllPowersOfTwo, SpectrumPlanOfSize,
                         testing::Combine(testing::Values(Simd::PORTABLE, Simd::BASELINE, Simd::AVX2, Simd::AVX512),
                                          testing::Values(2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192,
                                                          16384, 32768, 65536)),
                         [](const auto& in_info) {
                             return getSimdName(std::get<0>(in_info.param)) +
                                    ("Size" + std::to_string(std::get<1>(in_info.param)));
                         });

TEST_P(SpectrumPlanOfSize, KnowsItsSize)
{
    EXPECT_EQ(getSize(), m_pPlan->getSize());
    EXPECT_EQ(getSize() / 2, m_pPlan->getNbOfBins());
}

TEST_P(SpectrumPlanOfSize, GivesTheReferencesBits)
{
    for (unsigned uiSeed = 1; uiSeed <= 3; ++uiSeed) {
        const Window vWindow = randomValues(getSize(), uiSeed);
        EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(*m_pPlan, vWindow)));
    }
}

TEST_P(SpectrumPlanOfSize, GivesTheReferencesBitsForSpecialValues)
{
    for (const auto& [strName, vWindow] : specialInputs(getSize()))
        EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(*m_pPlan, vWindow))) << strName;
}

TEST_P(SpectrumPlanOfSize, GivesTheReferencesBitsWithASpecialValueInAnyPlace)
{
    for (const Window& vWindow : windowsWithOneSpecialValue(getSize()))
        EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(*m_pPlan, vWindow)));
}

TEST_P(SpectrumPlanOfSize, GivesTheSameBitsForSeveralWindowsAtOnce)
{
    std::vector<Window> vvWindows;
    for (const auto& [strName, vWindow] : specialInputs(getSize()))
        vvWindows.push_back(vWindow);
    for (unsigned uiSeed = 1; uiSeed <= 11; ++uiSeed) // a batch that is not full, too
        vvWindows.push_back(randomValues(getSize(), uiSeed));

    const std::vector<Window> vvBins = spectraOf(*m_pPlan, vvWindows);

    for (std::size_t uiWindow = 0; uiWindow < vvWindows.size(); ++uiWindow)
        EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vvWindows[uiWindow]), vvBins[uiWindow])) << uiWindow;
}

TEST_P(SpectrumPlanOfSize, TakesAnyNumberOfWindowsAtOnce)
{
    for (unsigned uiNbOfWindows = 0; uiNbOfWindows <= 17; ++uiNbOfWindows) {
        std::vector<Window> vvWindows;
        for (unsigned uiWindow = 0; uiWindow < uiNbOfWindows; ++uiWindow)
            vvWindows.push_back(randomValues(getSize(), uiWindow));

        const std::vector<Window> vvBins = spectraOf(*m_pPlan, vvWindows);

        for (unsigned uiWindow = 0; uiWindow < uiNbOfWindows; ++uiWindow)
            EXPECT_EQ("", differenceOfBits(spectrumOf(*m_pPlan, vvWindows[uiWindow]), vvBins[uiWindow]));
    }
}

TEST_P(SpectrumPlanOfSize, GivesTheSameBitsWhateverTheScratchHeld)
{
    const Window vWindow = randomValues(getSize(), 5);
    const Window vNotANumber(getSize(), std::numeric_limits<double>::quiet_NaN());
    SpectrumScratch scratch;
    Window vBins(getSize() / 2);
    m_pPlan->compute(vNotANumber.data(), vBins.data(), scratch);

    m_pPlan->compute(vWindow.data(), vBins.data(), scratch);

    EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), vBins));
}

TEST_P(SpectrumPlanOfSize, SharesAScratchWithPlansOfOtherSizes)
{
    const SpectrumPlan other(hannTaper(512));
    const Window vWindow = randomValues(getSize(), 5);
    const Window vOther = randomValues(512, 6);
    SpectrumScratch scratch;
    Window vBins(getSize() / 2);
    Window vOtherBins(256);

    other.compute(vOther.data(), vOtherBins.data(), scratch);
    m_pPlan->compute(vWindow.data(), vBins.data(), scratch);
    other.compute(vOther.data(), vOtherBins.data(), scratch);

    EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), vBins));
    EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vOther), vOtherBins));
}

TEST_P(SpectrumPlanOfSize, ReadsAndWritesAtAnyAddressAndNothingBeside)
{
    const Window vWindow = randomValues(getSize(), 6);
    const Window vExpected = referencePowerSpectrum(vWindow);
    SpectrumScratch scratch;
    for (unsigned uiShift = 0; uiShift < 9; ++uiShift) {
        Window vShifted(uiShift, s_dUnwritten);
        vShifted.insert(vShifted.end(), vWindow.begin(), vWindow.end());
        Window vBins(uiShift + getSize() / 2 + 1, s_dUnwritten);

        m_pPlan->compute(vShifted.data() + uiShift, vBins.data() + uiShift, scratch);

        EXPECT_EQ("", differenceOfBits(vExpected, Window(vBins.begin() + uiShift, vBins.end() - 1)));
        EXPECT_EQ(Window(uiShift, s_dUnwritten), Window(vBins.begin(), vBins.begin() + uiShift));
        EXPECT_EQ(s_dUnwritten, vBins.back());
    }
}

TEST(SpectrumPlan, TakesTheProcesssInstructionSetByItself)
{
    const Window vWindow = randomValues(256, 7);

    EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(SpectrumPlan(hannTaper(256)), vWindow)));
}

TEST(SpectrumPlan, TakesAnyTaper)
{
    // Twice the taper is four times the power, of which a spectrum keeps nothing: scaling by 2 rounds nothing.
    const Window vWindow = randomValues(256, 8);
    DoubleVector vTaper = hannTaper(256);
    for (double& dCoefficient : vTaper)
        dCoefficient *= 2.0;

    EXPECT_EQ("", differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(SpectrumPlan(vTaper), vWindow)));
}

TEST(SpectrumPlan, ServesManyThreadsAtOnce)
{
    const SpectrumPlan plan(hannTaper(1024));
    std::vector<std::string> vDifferences(4, "not run");
    std::vector<std::thread> vThreads;
    for (unsigned uiThread = 0; uiThread < 4; ++uiThread)
        vThreads.emplace_back([&plan, &vDifferences, uiThread] {
            std::string strDifference;
            for (unsigned uiRound = 0; uiRound < 20; ++uiRound) {
                const Window vWindow = randomValues(1024, 100 * uiThread + uiRound);
                strDifference += differenceOfBits(referencePowerSpectrum(vWindow), spectrumOf(plan, vWindow));
            }
            vDifferences[uiThread] = strDifference;
        });
    for (std::thread& thread : vThreads)
        thread.join();

    EXPECT_EQ(std::vector<std::string>(4), vDifferences);
}
