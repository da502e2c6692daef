// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureImpl.h"

#include "AudioScan.h"
#include "AudioZeroCrossings.h"
#include "corvana/Assertion.h"
#include "corvana/ConfigurationReader.h"
#include "corvana/Logger.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSlidingWindowFeature.h"
#include "corvana/NumberText.h"
#include "corvana/TrieConfiguration.h"

#include <boost/tokenizer.hpp>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <numeric>
#include <span>
#include <string>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFeatureImpl")

namespace Corvana::Audio {

using Math::DoubleVector;

// Half-width of the spectral ranges that are given by their centres only.
constexpr unsigned long s_uiListedHalfWidthHz = 20;

// ---- SpectrumFeature

SpectrumFeature::SpectrumFeature()
    : SignalFeatureFunctionAdaptorImpl("spectrum", "x")
{
}

SpectrumFeature::~SpectrumFeature() = default;
SpectrumFeature::SpectrumFeature(const SpectrumFeature&) = default;
SpectrumFeature& SpectrumFeature::operator=(const SpectrumFeature&) = default;

SpectrumFeature* SpectrumFeature::clone() const
{
    return new SpectrumFeature(*this);
}

void SpectrumFeature::prepare(unsigned long in_uiSizeFFT)
{
    if (!m_pSignalWindow.isNull())
        return;
    auto pWindow = std::make_unique<HannWindow>(in_uiSizeFFT);
    if (Math::isPowerOfTwo(in_uiSizeFFT))
        m_pPlan = std::make_shared<const Math::SpectrumPlan>(pWindow->getWindow());
    else
        m_pPlan.reset();
    m_pSignalWindow.reset(pWindow.release());
}

namespace {

// From n values to n/2 bins in their first half, step by step. A size that is no power of two is reported.
void computeWithoutPlan(const DoubleVector& in_vTaper, double* inout_pData)
{
    const unsigned long uiSizeFFT = in_vTaper.size();
    for (unsigned long uiIndex = 0; uiIndex < uiSizeFFT; ++uiIndex)
        inout_pData[uiIndex] *= in_vTaper[uiIndex];
    Math::discreteRealFastFourierTransform(inout_pData, uiSizeFFT, 1.0);

    inout_pData[0] = inout_pData[0] * inout_pData[0];
    double dTotal = inout_pData[0];
    for (unsigned long uiBin = 1; uiBin < uiSizeFFT / 2; ++uiBin) {
        const double dReal = inout_pData[2 * uiBin];
        const double dImaginary = inout_pData[2 * uiBin + 1];
        inout_pData[uiBin] = dReal * dReal + dImaginary * dImaginary;
        dTotal += inout_pData[uiBin];
    }
    if (dTotal == 0.0)
        return;
    const double dReciprocal = 1.0 / dTotal; // multiplied by, not divided by: part of the result
    for (unsigned long uiBin = 0; uiBin < uiSizeFFT / 2; ++uiBin)
        inout_pData[uiBin] *= dReciprocal;
}

} // namespace

bool SpectrumFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const unsigned long uiSizeFFT = in_vInput.size();
    if (uiSizeFFT < 2)
        return false;
    prepare(uiSizeFFT);

    const unsigned long uiStart = out_vOutput.size();
    if (m_pSignalWindow->getSize() == static_cast<double>(uiSizeFFT) && m_pPlan != nullptr) {
        out_vOutput.resize(uiStart + uiSizeFFT / 2);
        m_pPlan->compute(in_vInput.data(), out_vOutput.data() + uiStart, m_scratch);
        return true;
    }

    out_vOutput.insert(out_vOutput.end(), in_vInput.begin(), in_vInput.end());
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_pSignalWindow->getSize() == static_cast<double>(uiSizeFFT),
                           "m_pSignalWindow->getSize() == uiSizeFFT"))
        return false;
    computeWithoutPlan(m_pSignalWindow->getWindow(), out_vOutput.data() + uiStart);
    out_vOutput.resize(uiStart + uiSizeFFT / 2);
    return true;
}

bool SpectrumFeature::computeSeveral(unsigned long in_uiNbOfInputs, const DoubleVector* in_pInputs,
                                     DoubleVector* out_pOutputs)
{
    if (in_uiNbOfInputs > 0 && in_pInputs[0].size() >= 2)
        prepare(in_pInputs[0].size());
    const auto fits = [this](const DoubleVector& in_vInput) { return in_vInput.size() == m_pPlan->getSize(); };
    if (m_pPlan == nullptr || !std::all_of(in_pInputs, in_pInputs + in_uiNbOfInputs, fits))
        return false;
    constexpr unsigned long uiMaxAtOnce = 8;
    const double* apWindows[uiMaxAtOnce];
    double* apBins[uiMaxAtOnce];
    for (unsigned long uiFirst = 0; uiFirst < in_uiNbOfInputs; uiFirst += uiMaxAtOnce) {
        const unsigned long uiAtOnce = std::min(uiMaxAtOnce, in_uiNbOfInputs - uiFirst);
        for (unsigned long uiIndex = 0; uiIndex < uiAtOnce; ++uiIndex) {
            DoubleVector& vOutput = out_pOutputs[uiFirst + uiIndex];
            const unsigned long uiStart = vOutput.size();
            vOutput.resize(uiStart + m_pPlan->getNbOfBins());
            apWindows[uiIndex] = in_pInputs[uiFirst + uiIndex].data();
            apBins[uiIndex] = vOutput.data() + uiStart;
        }
        m_pPlan->computeSeveral(uiAtOnce, apWindows, apBins, m_scratch);
    }
    return true;
}

// ---- SpectrumReducedFeature

SpectrumReducedFeature::SpectrumReducedFeature(unsigned long in_uiNbOfBands)
    : m_uiNbOfBands(in_uiNbOfBands)
{
}

SpectrumReducedFeature::~SpectrumReducedFeature() = default;
SpectrumReducedFeature::SpectrumReducedFeature(const SpectrumReducedFeature&) = default;
SpectrumReducedFeature& SpectrumReducedFeature::operator=(const SpectrumReducedFeature&) = default;

SpectrumReducedFeature* SpectrumReducedFeature::clone() const
{
    return new SpectrumReducedFeature(*this);
}

namespace {

double sumInOrder(const double* in_pFirst, const double* in_pLast)
{
    double dSum = 0.0;
    for (; in_pFirst != in_pLast; ++in_pFirst)
        dSum += *in_pFirst;
    return dSum;
}

} // namespace

bool SpectrumReducedFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    if (!CORVANA_ASSERT(m_uiNbOfBands > 0))
        return false;
    const unsigned long uiStart = out_vOutput.size();
    if (!SpectrumFeature::compute(in_vInput, out_vOutput))
        return false;
    reduce(out_vOutput, uiStart);
    return true;
}

bool SpectrumReducedFeature::computeSeveral(unsigned long in_uiNbOfInputs, const DoubleVector* in_pInputs,
                                            DoubleVector* out_pOutputs)
{
    if (m_uiNbOfBands == 0 || !SpectrumFeature::computeSeveral(in_uiNbOfInputs, in_pInputs, out_pOutputs))
        return false;
    for (unsigned long uiIndex = 0; uiIndex < in_uiNbOfInputs; ++uiIndex)
        reduce(out_pOutputs[uiIndex], out_pOutputs[uiIndex].size() - in_pInputs[uiIndex].size() / 2);
    return true;
}

void SpectrumReducedFeature::reduce(DoubleVector& inout_vOutput, unsigned long in_uiStart) const
{
    const unsigned long uiNbOfBins = inout_vOutput.size() - in_uiStart;
    if (uiNbOfBins < m_uiNbOfBands)
        return;

    // In place: a band is stored over bins that have been read. Groups past the last band are stored behind it and
    // cut off; the last, possibly partial, group is added to whatever the last band's place holds.
    double* const pBins = inout_vOutput.begin() + in_uiStart;
    const unsigned long uiGroup = uiNbOfBins / m_uiNbOfBands;
    const unsigned long uiNbFollowed = (uiNbOfBins - 1) / uiGroup;
    for (unsigned long uiBand = 0; uiBand < uiNbFollowed; ++uiBand)
        pBins[uiBand] = sumInOrder(pBins + uiBand * uiGroup, pBins + (uiBand + 1) * uiGroup);
    const double dLast = sumInOrder(pBins + uiNbFollowed * uiGroup, pBins + uiNbOfBins);
    inout_vOutput.resize(in_uiStart + m_uiNbOfBands);
    pBins[m_uiNbOfBands - 1] += dLast;
}

// ---- FlatnessFeature

FlatnessFeature::FlatnessFeature()
    : SignalFeatureFunctionAdaptorImpl("flatness", "x")
{
}

FlatnessFeature::~FlatnessFeature() = default;
FlatnessFeature::FlatnessFeature(const FlatnessFeature&) = default;
FlatnessFeature& FlatnessFeature::operator=(const FlatnessFeature&) = default;

FlatnessFeature* FlatnessFeature::clone() const
{
    return new FlatnessFeature(*this);
}

namespace {

// The product is folded into the mean every so many values, before it can underflow.
constexpr std::size_t s_uiFactorsOfFold = 21;

// Multiplies without zeros: x * 1.0 is x for every x.
double factorOf(double in_dValue)
{
    return in_dValue != 0.0 ? in_dValue : 1.0;
}

double productWithoutZeros(std::span<const double> in_values)
{
    double dProduct = 1.0;
    for (const double dValue : in_values)
        dProduct *= factorOf(dValue);
    return dProduct;
}

// Folds values into a geometric mean. A product waits for each of its multiplications; several products side by side
// wait together. The values meet in the same order either way.
class GeometricMean
{
public:
    explicit GeometricMean(std::size_t in_uiNbOfValues)
        : m_dExponent(1.0 / static_cast<double>(in_uiNbOfValues))
    {
    }

    double get() const { return m_dMean; }

    // Takes folds, so many at a time, as long as there are as many; returns the values left.
    template <std::size_t SideBySide>
    std::span<const double> takeFolds(std::span<const double> in_values)
    {
        for (; in_values.size() >= SideBySide * s_uiFactorsOfFold;
             in_values = in_values.subspan(SideBySide * s_uiFactorsOfFold)) {
            double adProducts[SideBySide];
            std::fill(std::begin(adProducts), std::end(adProducts), 1.0);
            for (std::size_t uiFactor = 0; uiFactor < s_uiFactorsOfFold; ++uiFactor)
                for (std::size_t uiFold = 0; uiFold < SideBySide; ++uiFold)
                    adProducts[uiFold] *= in_values[uiFold * s_uiFactorsOfFold + uiFactor];
            for (std::size_t uiFold = 0; uiFold < SideBySide; ++uiFold) {
                // Any zero among the factors shows: it makes the product 0, or NaN where there is an infinity as well.
                const double dProduct = adProducts[uiFold];
                const bool bMayHaveZeros = dProduct == 0.0 || std::isnan(dProduct);
                fold(bMayHaveZeros
                         ? productWithoutZeros(in_values.subspan(uiFold * s_uiFactorsOfFold, s_uiFactorsOfFold))
                         : dProduct);
            }
        }
        return in_values;
    }

    // The last fold, which may have fewer values or none.
    void takeRest(std::span<const double> in_values) { fold(productWithoutZeros(in_values)); }

private:
    void fold(double in_dProduct) { m_dMean = std::pow(in_dProduct, m_dExponent) * m_dMean; }

    double m_dExponent;
    double m_dMean = 1.0;
};

} // namespace

bool FlatnessFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const std::span<const double> values(in_vInput.data(), in_vInput.size());
    GeometricMean mean(values.size());
    mean.takeRest(mean.takeFolds<1>(mean.takeFolds<3>(mean.takeFolds<6>(values))));
    double dGeometricMean = mean.get();
    if (dGeometricMean != 1.0)
        dGeometricMean *= static_cast<double>(values.size());
    out_vOutput.push_back(dGeometricMean);
    return true;
}

// ---- Helpers of the temporal features

namespace {

// A count as a share of the window; NaN for an empty one.
double shareOf(unsigned long in_uiCount, const DoubleVector& in_vWindow)
{
    return static_cast<double>(in_uiCount) / static_cast<double>(in_vWindow.size());
}

} // namespace

// ---- ZeroCrossingRateFeature

ZeroCrossingRateFeature::ZeroCrossingRateFeature(unsigned long in_uiParameter)
    : m_uiParameter(in_uiParameter)
{
}

ZeroCrossingRateFeature::~ZeroCrossingRateFeature() = default;
ZeroCrossingRateFeature::ZeroCrossingRateFeature(const ZeroCrossingRateFeature&) = default;
ZeroCrossingRateFeature& ZeroCrossingRateFeature::operator=(const ZeroCrossingRateFeature&) = default;

ZeroCrossingRateFeature* ZeroCrossingRateFeature::clone() const
{
    return new ZeroCrossingRateFeature(*this);
}

bool ZeroCrossingRateFeature::configure(const ROConfiguration& in_config)
{
    return ConfigurationReader(in_config, fileScopeLogger()).readPositive32("signalfeature.SampleRate", m_uiSampleRate);
}

bool ZeroCrossingRateFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (in_vInput.empty()) {
        out_vOutput.push_back(0.0);
        return true;
    }
    const unsigned long uiNbOfCrossings = countZeroCrossings(m_dPreviousSample, in_vInput.begin(), in_vInput.end());
    m_dPreviousSample = in_vInput.back();
    out_vOutput.push_back(shareOf(uiNbOfCrossings, in_vInput));
    return true;
}

// ---- ClippingRateFeature

ClippingRateFeature::ClippingRateFeature(double in_dLow, double in_dHigh)
    : m_dLow(in_dLow)
    , m_dHigh(in_dHigh)
{
}

ClippingRateFeature::~ClippingRateFeature() = default;
ClippingRateFeature::ClippingRateFeature(const ClippingRateFeature&) = default;
ClippingRateFeature& ClippingRateFeature::operator=(const ClippingRateFeature&) = default;

ClippingRateFeature* ClippingRateFeature::clone() const
{
    return new ClippingRateFeature(*this);
}

bool ClippingRateFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const unsigned long uiNbClipped = countWhere(in_vInput, [this](PairOfValues in_samples) {
        return (in_samples >= bothOf(m_dHigh)) | (in_samples <= bothOf(m_dLow));
    });
    out_vOutput.push_back(shareOf(uiNbClipped, in_vInput));
    return true;
}

// ---- SilenceRatioFeature

SilenceRatioFeature::SilenceRatioFeature(unsigned long in_uiRatio)
    : m_dRatio(static_cast<double>(in_uiRatio))
{
}

SilenceRatioFeature::~SilenceRatioFeature() = default;
SilenceRatioFeature::SilenceRatioFeature(const SilenceRatioFeature&) = default;
SilenceRatioFeature& SilenceRatioFeature::operator=(const SilenceRatioFeature&) = default;

SilenceRatioFeature* SilenceRatioFeature::clone() const
{
    return new SilenceRatioFeature(*this);
}

bool SilenceRatioFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const double dThreshold = peakOf(in_vInput) / m_dRatio;
    const unsigned long uiNbOfSilent =
        countWhere(in_vInput, [=](PairOfValues in_samples) { return absolute(in_samples) < bothOf(dThreshold); });
    out_vOutput.push_back(shareOf(uiNbOfSilent, in_vInput));
    return true;
}

template <unsigned long uiRatio>
SilenceRatioFeatureT<uiRatio>::SilenceRatioFeatureT()
    : SilenceRatioFeature(uiRatio)
{
}

template <unsigned long uiRatio>
SilenceRatioFeatureT<uiRatio>::~SilenceRatioFeatureT() = default;
template <unsigned long uiRatio>
SilenceRatioFeatureT<uiRatio>::SilenceRatioFeatureT(const SilenceRatioFeatureT&) = default;
template <unsigned long uiRatio>
SilenceRatioFeatureT<uiRatio>& SilenceRatioFeatureT<uiRatio>::operator=(const SilenceRatioFeatureT&) = default;

template <unsigned long uiRatio>
SilenceRatioFeatureT<uiRatio>* SilenceRatioFeatureT<uiRatio>::clone() const
{
    return new SilenceRatioFeatureT(*this);
}

template class SilenceRatioFeatureT<50>;

// ---- MeanEnergyAboveThreshFeature

MeanEnergyAboveThreshFeature::MeanEnergyAboveThreshFeature(double in_dEnergyThreshold)
    : m_dEnergyThreshold(in_dEnergyThreshold)
{
}

MeanEnergyAboveThreshFeature::~MeanEnergyAboveThreshFeature() = default;
MeanEnergyAboveThreshFeature::MeanEnergyAboveThreshFeature(const MeanEnergyAboveThreshFeature&) = default;
MeanEnergyAboveThreshFeature& MeanEnergyAboveThreshFeature::operator=(const MeanEnergyAboveThreshFeature&) = default;

MeanEnergyAboveThreshFeature* MeanEnergyAboveThreshFeature::clone() const
{
    return new MeanEnergyAboveThreshFeature(*this);
}

bool MeanEnergyAboveThreshFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    for (const double dSample : in_vInput) {
        const double dEnergy = dSample * dSample;
        if (dEnergy > m_dEnergyThreshold) {
            m_dSumOfEnergies += dEnergy;
            ++m_uiNbOfSamplesAbove;
        }
    }
    out_vOutput.push_back(m_uiNbOfSamplesAbove == 0 ? 0.0
                                                    : m_dSumOfEnergies / static_cast<double>(m_uiNbOfSamplesAbove));
    return true;
}

bool MeanEnergyAboveThreshFeature::reset()
{
    m_uiNbOfSamplesAbove = 0;
    m_dSumOfEnergies = 0.0;
    return true;
}

// ---- EnergyHistogramFeature

EnergyHistogramFeature::EnergyHistogramFeature(double in_dEnergyMax, unsigned long in_uiNbOfBins)
    : m_dEnergyMaxValue(in_dEnergyMax)
    , m_uiNbOfBins(in_uiNbOfBins)
    , m_vHistogram(in_uiNbOfBins)
{
}

EnergyHistogramFeature::~EnergyHistogramFeature() = default;
EnergyHistogramFeature::EnergyHistogramFeature(const EnergyHistogramFeature&) = default;
EnergyHistogramFeature& EnergyHistogramFeature::operator=(const EnergyHistogramFeature&) = default;

EnergyHistogramFeature* EnergyHistogramFeature::clone() const
{
    return new EnergyHistogramFeature(*this);
}

unsigned long EnergyHistogramFeature::binOf(double in_dSample) const
{
    // Left to right; compared as a double, since a large energy would not fit an integer.
    const double dBin = static_cast<double>(m_uiNbOfBins) * in_dSample * in_dSample / m_dEnergyMaxValue;
    if (std::isnan(dBin))
        return 0;
    return dBin >= static_cast<double>(m_uiNbOfBins - 1) ? m_uiNbOfBins - 1 : static_cast<unsigned long>(dBin);
}

bool EnergyHistogramFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_uiNbOfBins > 0, "m_uiNbOfBins > 0") ||
        !CORVANA_ASSERT_AT(CORVANA_HERE, m_dEnergyMaxValue > 0, "m_dEnergyMaxValue > 0"))
        return false;
    std::fill(m_vHistogram.begin(), m_vHistogram.end(), 0UL);
    for (const double dSample : in_vInput)
        ++m_vHistogram[binOf(dSample)];
    const unsigned long* const pCounts = m_vHistogram.data();
    out_vOutput.insert(out_vOutput.end(), pCounts, pCounts + m_uiNbOfBins);
    return true;
}

// ---- MaxNeighbourhoodFeature

MaxNeighbourhoodFeature::MaxNeighbourhoodFeature() = default;
MaxNeighbourhoodFeature::~MaxNeighbourhoodFeature() = default;
MaxNeighbourhoodFeature::MaxNeighbourhoodFeature(const MaxNeighbourhoodFeature&) = default;
MaxNeighbourhoodFeature& MaxNeighbourhoodFeature::operator=(const MaxNeighbourhoodFeature&) = default;

MaxNeighbourhoodFeature* MaxNeighbourhoodFeature::clone() const
{
    return new MaxNeighbourhoodFeature(*this);
}

bool MaxNeighbourhoodFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    constexpr unsigned long uiNbOfNeighbours = 3;
    if (in_vInput.size() <= uiNbOfNeighbours)
        return false;
    const double* const pMax = findLargest(in_vInput);
    // In the middle, unless the maximum has only one neighbour.
    const double* const pFirst =
        std::clamp(pMax - (pMax == in_vInput.begin() ? 0 : 1), in_vInput.begin(), in_vInput.end() - uiNbOfNeighbours);
    out_vOutput.insert(out_vOutput.end(), pFirst, pFirst + uiNbOfNeighbours);
    return true;
}

// ---- RatiosFeature

RatiosFeature::RatiosFeature(bool in_bTemporal)
    : m_bTemporal(in_bTemporal)
{
}

RatiosFeature::~RatiosFeature() = default;
RatiosFeature::RatiosFeature(const RatiosFeature&) = default;
RatiosFeature& RatiosFeature::operator=(const RatiosFeature&) = default;

RatiosFeature* RatiosFeature::clone() const
{
    return new RatiosFeature(*this);
}

bool RatiosFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    double dPeak = peakOf(in_vInput);
    if (m_bTemporal) {
        dPeak = std::max(dPeak, m_dRunningPeak);
        m_dRunningPeak = dPeak;
    }
    // Who is above one threshold is above all lower ones: each class is what is above its own, less what is above the
    // one before. So nothing depends on a sample but counts.
    const auto [uiAboveLoud, uiAboveMedium, uiAboveQuiet] =
        countBeyond<3>(in_vInput, {dPeak / 5.0, dPeak / 10.0, dPeak / 50.0});
    for (const unsigned long uiCount :
         {uiAboveLoud, uiAboveMedium - uiAboveLoud, uiAboveQuiet - uiAboveMedium, in_vInput.size() - uiAboveQuiet})
        out_vOutput.push_back(shareOf(uiCount, in_vInput));
    return true;
}

bool RatiosFeature::reset()
{
    m_dRunningPeak = 0.0;
    return true;
}

// ---- MeanMaxFeature

MeanMaxFeature::MeanMaxFeature(double in_dStepSeconds, double in_dBaseline)
    : m_dStepSeconds(in_dStepSeconds)
    , m_dBaseline(in_dBaseline)
{
}

MeanMaxFeature::~MeanMaxFeature() = default;
MeanMaxFeature::MeanMaxFeature(const MeanMaxFeature&) = default;
MeanMaxFeature& MeanMaxFeature::operator=(const MeanMaxFeature&) = default;

MeanMaxFeature* MeanMaxFeature::clone() const
{
    return new MeanMaxFeature(*this);
}

void MeanMaxFeature::acceptAlone(double in_dMaximum)
{
    m_dSumOfAccepted = in_dMaximum;
    m_dLargestAccepted = in_dMaximum;
    m_uiNbOfAccepted = 1;
}

void MeanMaxFeature::judgeBlock()
{
    if (m_uiNbOfAccepted == 0)
        return acceptAlone(m_dBlockMaximum);
    const double dMean = m_dSumOfAccepted / static_cast<double>(m_uiNbOfAccepted);
    if (m_dBlockMaximum - m_dBaseline > 2.0 * (dMean - m_dBaseline))
        return acceptAlone(m_dBlockMaximum);
    if (m_dBlockMaximum - m_dBaseline >= 0.5 * (dMean - m_dBaseline)) {
        m_dSumOfAccepted += m_dBlockMaximum;
        ++m_uiNbOfAccepted;
        m_dLargestAccepted = std::max(m_dLargestAccepted, m_dBlockMaximum);
    }
}

bool MeanMaxFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    constexpr double dBlockSeconds = 0.5;
    for (const double dSample : in_vInput) {
        const double dAmplitude = std::fabs(dSample);
        m_dElapsedSeconds += m_dStepSeconds;
        if (m_dElapsedSeconds > dBlockSeconds) {
            judgeBlock();
            m_dElapsedSeconds = 0.0;
            m_dBlockMaximum = dAmplitude;
        } else {
            m_dBlockMaximum = std::max(m_dBlockMaximum, dAmplitude);
        }
    }
    const bool bAccepted = m_uiNbOfAccepted > 0;
    out_vOutput.push_back(bAccepted ? m_dSumOfAccepted / static_cast<double>(m_uiNbOfAccepted) : m_dBlockMaximum);
    out_vOutput.push_back(bAccepted ? m_dLargestAccepted : m_dBlockMaximum);
    return true;
}

bool MeanMaxFeature::reset()
{
    m_uiNbOfAccepted = 0;
    m_dSumOfAccepted = 0.0;
    m_dLargestAccepted = 1.0;
    m_dElapsedSeconds = 0.0;
    m_dBlockMaximum = -1.0;
    return true;
}

// ---- DeltaToSlidingMeanFeature

DeltaToSlidingMeanFeature::DeltaToSlidingMeanFeature() = default;
DeltaToSlidingMeanFeature::~DeltaToSlidingMeanFeature() = default;
DeltaToSlidingMeanFeature::DeltaToSlidingMeanFeature(const DeltaToSlidingMeanFeature&) = default;
DeltaToSlidingMeanFeature& DeltaToSlidingMeanFeature::operator=(const DeltaToSlidingMeanFeature&) = default;

DeltaToSlidingMeanFeature* DeltaToSlidingMeanFeature::clone() const
{
    return new DeltaToSlidingMeanFeature(*this);
}

bool DeltaToSlidingMeanFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (!CORVANA_ASSERT_AT(CORVANA_HERE, in_vInput.size() == 1, "in_vInput.size() == 1") ||
        !CORVANA_ASSERT_AT(CORVANA_HERE, !m_pSlidingMeanFeature.isNull(), "!m_pSlidingMeanFeature.isNull()"))
        return false;
    m_vScratch.clear();
    if (!m_pSlidingMeanFeature->compute(in_vInput, m_vScratch) || m_vScratch.size() != 1)
        return false;
    out_vOutput.push_back(in_vInput[0] - m_vScratch[0]);
    return true;
}

bool DeltaToSlidingMeanFeature::reset()
{
    constexpr unsigned long uiNbOfValues = 5;
    auto pWindow = std::make_unique<Math::SlidingWindowFeature>(uiNbOfValues);
    auto pMean = std::make_unique<Math::MeanFeature>();
    m_pSlidingMeanFeature.reset(new Math::SignalFeatureComposed(pWindow.release(), pMean.release()));
    return true;
}

// ---- Helpers of the spectral features

namespace {

// The frequency range that a spectrum is taken to span, whatever its length.
constexpr double s_dSpectrumSpanHz = 4000.0;

double binWidthHz(unsigned long in_uiNbOfBins)
{
    return s_dSpectrumSpanHz / static_cast<double>(in_uiNbOfBins);
}

// The number of whole bins below a frequency; 0 for an empty spectrum.
unsigned long binsBelow(double in_dFrequencyHz, unsigned long in_uiNbOfBins)
{
    return static_cast<unsigned long>(in_dFrequencyHz / binWidthHz(in_uiNbOfBins));
}

// Truncates towards zero; what no spectrum can have as an index stays far beyond all of them.
unsigned long toIndex(double in_dIndex)
{
    constexpr double dBeyond = 0x1p61;
    return in_dIndex < dBeyond ? static_cast<unsigned long>(in_dIndex) : static_cast<unsigned long>(dBeyond);
}

double sumOf(const double* in_pFirst, const double* in_pLast)
{
    return std::accumulate(in_pFirst, in_pLast, 0.0); // in index order
}

} // namespace

// ---- SpectralRangeFeature

SpectralRangeFeature::SpectralRangeFeature(unsigned long in_uiCenterHz, unsigned long in_uiHalfWidthHz)
    : m_uiCenterFrequency(in_uiCenterHz)
    , m_uiHalfWidth(in_uiHalfWidthHz)
{
}

SpectralRangeFeature::~SpectralRangeFeature() = default;
SpectralRangeFeature::SpectralRangeFeature(const SpectralRangeFeature&) = default;
SpectralRangeFeature& SpectralRangeFeature::operator=(const SpectralRangeFeature&) = default;

SpectralRangeFeature* SpectralRangeFeature::clone() const
{
    return new SpectralRangeFeature(*this);
}

bool SpectralRangeFeature::configure(const ROConfiguration& in_config)
{
    const ConfigurationReader reader(in_config, fileScopeLogger(), "spectralrange.", "Parameter ",
                                     " is not set for spectral range feature");
    unsigned long uiCenterFrequency = 0;
    unsigned long uiHalfWidth = 0;
    if (!reader.readPositive("frequencyHz", uiCenterFrequency) || !reader.read("widthHz", uiHalfWidth))
        return false;
    m_uiCenterFrequency = uiCenterFrequency;
    m_uiHalfWidth = uiHalfWidth;
    CORVANA_LOG_DEBUG(fileScopeLogger(),
                      "SpectralRangeFeature center freq = " << m_uiCenterFrequency << " Hz, width = " << m_uiHalfWidth);
    m_bRangeEstablished = false;
    return true;
}

bool SpectralRangeFeature::establishRange(unsigned long in_uiNbOfBins)
{
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_uiCenterFrequency > 0, "m_uiCenterFrequency > 0"))
        return false;
    const double dBinHz = binWidthHz(in_uiNbOfBins);
    const double dCenter = static_cast<double>(m_uiCenterFrequency);
    // The nearest bin; never negative, so half a bin is always added before truncating.
    const unsigned long uiCenterIndex = toIndex(dCenter / dBinHz + 0.5);
    const unsigned long uiRangeWidth = toIndex(std::ceil(static_cast<double>(m_uiHalfWidth) / dBinHz));
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, uiCenterIndex > uiRangeWidth, "uiCenterIndex>uiRangeWidth"))
        return false;

    ParameterTrie trie;
    trie.insert("range.startIndex", ParameterValue(static_cast<long>(uiCenterIndex - uiRangeWidth)));
    trie.insert("range.length", ParameterValue(static_cast<long>(2 * uiRangeWidth + 1)));
    if (!RangeFeature::configure(TrieConfiguration(std::move(trie))))
        return false;
    m_bRangeEstablished = true;
    m_dRelativePosition = (dCenter - static_cast<double>(uiCenterIndex) * dBinHz) / dBinHz;
    CORVANA_LOG_DEBUG(fileScopeLogger(),
                      "SpectralRangeFeature new center index = " << uiCenterIndex << ",width index = " << uiRangeWidth
                                                                 << ",  rel position in bin: " << m_dRelativePosition);
    return true;
}

bool SpectralRangeFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    if (!m_bRangeEstablished && !establishRange(in_vInput.size()))
        return false;
    const bool bInside = RangeFeature::compute(in_vInput, out_vOutput);
    out_vOutput.push_back(m_dRelativePosition);
    return bInside;
}

// ---- MaxSpectralRangesFeature

MaxSpectralRangesFeature::MaxSpectralRangesFeature() = default;
MaxSpectralRangesFeature::~MaxSpectralRangesFeature() = default;
MaxSpectralRangesFeature::MaxSpectralRangesFeature(const MaxSpectralRangesFeature&) = default;
MaxSpectralRangesFeature& MaxSpectralRangesFeature::operator=(const MaxSpectralRangesFeature&) = default;

MaxSpectralRangesFeature* MaxSpectralRangesFeature::clone() const
{
    return new MaxSpectralRangesFeature(*this);
}

void MaxSpectralRangesFeature::addSpectralRange(unsigned long in_uiCenterHz, unsigned long in_uiHalfWidthHz)
{
    // Owned from the start, and there with its range or not at all.
    CloneableObjPtr<SpectralRangeFeature> pRange(new SpectralRangeFeature(in_uiCenterHz, in_uiHalfWidthHz));
    m_vSpectralRanges.push_back(std::move(pRange));
}

bool MaxSpectralRangesFeature::addListedRanges(const std::string& in_strFrequencies)
{
    const boost::char_separator<char> separator(", ");
    for (const std::string& strAtom : boost::tokenizer<boost::char_separator<char>>(in_strFrequencies, separator)) {
        unsigned long uiFrequency = 0;
        if (strAtom.find_first_not_of("0123456789") != std::string::npos || !parseNumber(strAtom, uiFrequency)) {
            CORVANA_LOG_ERROR(fileScopeLogger(), "Could not convert string atom \"" << strAtom << "\"in an integer");
            return false;
        }
        addSpectralRange(uiFrequency, s_uiListedHalfWidthHz);
    }
    return true;
}

bool MaxSpectralRangesFeature::configure(const ROConfiguration& in_config)
{
    constexpr const char* szKey = "frequenciesList";
    const ConfigurationReader reader(in_config, fileScopeLogger(), "maxspectralranges.");
    std::string strFrequencies;
    if (!reader.read(szKey, strFrequencies))
        return false;

    MaxSpectralRangesFeature configured;
    if (!reader.guard(szKey, [&] { return configured.addListedRanges(strFrequencies); }))
        return false;
    m_vSpectralRanges.swap(configured.m_vSpectralRanges);
    return true;
}

bool MaxSpectralRangesFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (m_vSpectralRanges.empty())
        return false;
    m_vBestResult.clear();
    double dBest = std::numeric_limits<double>::lowest();
    for (const auto& pRange : m_vSpectralRanges) {
        m_vScratchComputation.clear();
        if (pRange.isNull() || !pRange->compute(in_vInput, m_vScratchComputation))
            return false;
        if (!CORVANA_ASSERT_AT(CORVANA_HERE, !m_vScratchComputation.empty(), "!m_vScratchComputation.empty()"))
            return false;
        const double dRelativePosition = m_vScratchComputation.back();
        m_vScratchComputation.pop_back();
        const double* const pLargest = m_vScratchComputation.max_element();
        const double dLargest =
            pLargest == m_vScratchComputation.end() ? std::numeric_limits<double>::lowest() : *pLargest;
        m_vScratchComputation.push_back(dRelativePosition);
        if (dLargest > dBest) { // strictly: a tie keeps the earlier range
            dBest = dLargest;
            m_vBestResult = m_vScratchComputation;
        }
    }
    out_vOutput.insert(out_vOutput.end(), m_vBestResult.begin(), m_vBestResult.end());
    return true;
}

// ---- LowFreqEnergyRatioFeature

LowFreqEnergyRatioFeature::LowFreqEnergyRatioFeature() = default;
LowFreqEnergyRatioFeature::~LowFreqEnergyRatioFeature() = default;
LowFreqEnergyRatioFeature::LowFreqEnergyRatioFeature(const LowFreqEnergyRatioFeature&) = default;
LowFreqEnergyRatioFeature& LowFreqEnergyRatioFeature::operator=(const LowFreqEnergyRatioFeature&) = default;

LowFreqEnergyRatioFeature* LowFreqEnergyRatioFeature::clone() const
{
    return new LowFreqEnergyRatioFeature(*this);
}

bool LowFreqEnergyRatioFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const double* const pBins = in_vInput.begin();
    out_vOutput.push_back(sumOf(pBins, pBins + binsBelow(1000.0, in_vInput.size())));
    return true;
}

// ---- LowFreqEnergyRatiosFeature

LowFreqEnergyRatiosFeature::LowFreqEnergyRatiosFeature() = default;
LowFreqEnergyRatiosFeature::~LowFreqEnergyRatiosFeature() = default;
LowFreqEnergyRatiosFeature::LowFreqEnergyRatiosFeature(const LowFreqEnergyRatiosFeature&) = default;
LowFreqEnergyRatiosFeature& LowFreqEnergyRatiosFeature::operator=(const LowFreqEnergyRatiosFeature&) = default;

LowFreqEnergyRatiosFeature* LowFreqEnergyRatiosFeature::clone() const
{
    return new LowFreqEnergyRatiosFeature(*this);
}

bool LowFreqEnergyRatiosFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const double* const pBins = in_vInput.begin();
    const unsigned long uiBelow100Hz = binsBelow(100.0, in_vInput.size());
    const unsigned long uiBelow1000Hz = binsBelow(1000.0, in_vInput.size());
    out_vOutput.push_back(sumOf(pBins, pBins + uiBelow100Hz));
    out_vOutput.push_back(sumOf(pBins + uiBelow100Hz, pBins + uiBelow1000Hz));
    return true;
}

// ---- SpectralWeightedAreaFeature

SpectralWeightedAreaFeature::SpectralWeightedAreaFeature() = default;
SpectralWeightedAreaFeature::~SpectralWeightedAreaFeature() = default;
SpectralWeightedAreaFeature::SpectralWeightedAreaFeature(const SpectralWeightedAreaFeature&) = default;
SpectralWeightedAreaFeature& SpectralWeightedAreaFeature::operator=(const SpectralWeightedAreaFeature&) = default;

SpectralWeightedAreaFeature* SpectralWeightedAreaFeature::clone() const
{
    return new SpectralWeightedAreaFeature(*this);
}

void SpectralWeightedAreaFeature::establishIndices(unsigned long in_uiNbOfBins)
{
    const double dNbOfBins = static_cast<double>(in_uiNbOfBins);
    const double dRate = static_cast<double>(m_uiSampleRate);
    const double dMin = dNbOfBins * (2.0 * static_cast<double>(m_uiLowFrequency) / dRate) - 0.5;
    const double dMax = dNbOfBins * (2.0 * static_cast<double>(m_uiHighFrequency) / dRate) + 0.5;
    m_uiIndexMin = dMin > 0.0 ? toIndex(dMin) : 0;
    m_uiIndexMax = toIndex(dMax);
    CORVANA_LOG_DEBUG(fileScopeLogger(), "Index min: " << m_uiIndexMin << ", index max: " << m_uiIndexMax);
}

bool SpectralWeightedAreaFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const unsigned long uiInputSize = in_vInput.size();
    if (m_uiIndexMin == 0 && m_uiIndexMax == 0)
        establishIndices(uiInputSize);
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_uiIndexMin < m_uiIndexMax, "m_uiIndexMin < m_uiIndexMax") ||
        !CORVANA_ASSERT_AT(CORVANA_HERE, m_uiIndexMax < uiInputSize, "m_uiIndexMax < uiInputSize"))
        return false;
    // A whole number of Hz: saved classifiers were trained with it.
    const double dBinHz = static_cast<double>(m_uiSampleRate / (2 * uiInputSize)); // NOLINT(bugprone-integer-division)
    double dArea = 0.0;
    for (unsigned long uiIndex = m_uiIndexMin; uiIndex <= m_uiIndexMax; ++uiIndex)
        dArea += static_cast<double>(uiIndex) * in_vInput[uiIndex] * dBinHz;
    out_vOutput.push_back(dArea);
    return true;
}

// ---- SpectralSlopeFeature

SpectralSlopeFeature::SpectralSlopeFeature() = default;
SpectralSlopeFeature::~SpectralSlopeFeature() = default;
SpectralSlopeFeature::SpectralSlopeFeature(const SpectralSlopeFeature&) = default;
SpectralSlopeFeature& SpectralSlopeFeature::operator=(const SpectralSlopeFeature&) = default;

SpectralSlopeFeature* SpectralSlopeFeature::clone() const
{
    return new SpectralSlopeFeature(*this);
}

bool SpectralSlopeFeature::compute(const DoubleVector&, DoubleVector&)
{
    return true;
}

// ---- Helpers of the harmonic products

namespace {

// The number of candidate fundamentals whose fifth multiple still lies in the spectrum.
unsigned long nbOfCandidates(unsigned long in_uiNbOfBins)
{
    return in_uiNbOfBins == 0 ? 0 : (in_uiNbOfBins - 1) / 5 + 1;
}

// The product over harmonics 2 to 5, behind the candidate's own bin; in_indexOf(harmonic, candidate) tells the bin.
// Candidates below 100 Hz yield 0. Products go left to right: part of the result.
template <class IndexT>
void multiplyHarmonics(const DoubleVector& in_vSpectrum, DoubleVector& out_vProducts, IndexT in_indexOf)
{
    const unsigned long uiNbOfBins = in_vSpectrum.size();
    const unsigned long uiNbOfCandidates = nbOfCandidates(uiNbOfBins);
    const double dScale = static_cast<double>(uiNbOfCandidates);
    out_vProducts.resize(uiNbOfCandidates);
    for (unsigned long i = 1; i < uiNbOfCandidates; ++i) {
        double dProduct = dScale * in_vSpectrum[i];
        for (unsigned long h = 2; h <= 5; ++h)
            dProduct = dProduct * dScale * in_vSpectrum[in_indexOf(h, i)];
        out_vProducts[i] = dProduct;
    }
    const unsigned long uiNbOfExcluded = std::max(1UL, binsBelow(100.0, uiNbOfBins)); // candidate 0 has no multiples
    std::fill_n(out_vProducts.begin(), std::min(uiNbOfExcluded, uiNbOfCandidates), 0.0);
}

} // namespace

// ---- HarmonicProductFeature

HarmonicProductFeature::HarmonicProductFeature() = default;
HarmonicProductFeature::~HarmonicProductFeature() = default;
HarmonicProductFeature::HarmonicProductFeature(const HarmonicProductFeature&) = default;
HarmonicProductFeature& HarmonicProductFeature::operator=(const HarmonicProductFeature&) = default;

HarmonicProductFeature* HarmonicProductFeature::clone() const
{
    return new HarmonicProductFeature(*this);
}

bool HarmonicProductFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    multiplyHarmonics(in_vInput, m_vScratch, [](unsigned long h, unsigned long i) { return h * i; });
    out_vOutput.insert(out_vOutput.end(), m_vScratch.begin(), m_vScratch.end());
    return true;
}

// ---- RobustHarmonicProductFeature

RobustHarmonicProductFeature::RobustHarmonicProductFeature() = default;
RobustHarmonicProductFeature::~RobustHarmonicProductFeature() = default;
RobustHarmonicProductFeature::RobustHarmonicProductFeature(const RobustHarmonicProductFeature&) = default;
RobustHarmonicProductFeature& RobustHarmonicProductFeature::operator=(const RobustHarmonicProductFeature&) = default;

RobustHarmonicProductFeature* RobustHarmonicProductFeature::clone() const
{
    return new RobustHarmonicProductFeature(*this);
}

bool RobustHarmonicProductFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    // The next candidate's multiple wherever it exists: saved classifiers rely on the shift.
    const unsigned long uiNbOfBins = in_vInput.size();
    multiplyHarmonics(in_vInput, m_vScratch, [uiNbOfBins](unsigned long h, unsigned long i) {
        return h * i + h < uiNbOfBins ? h * (i + 1) : h * i;
    });
    out_vOutput.insert(out_vOutput.end(), m_vScratch.begin(), m_vScratch.end());
    return true;
}

// ---- AntiHarmonicProductFeature

AntiHarmonicProductFeature::AntiHarmonicProductFeature() = default;
AntiHarmonicProductFeature::~AntiHarmonicProductFeature() = default;
AntiHarmonicProductFeature::AntiHarmonicProductFeature(const AntiHarmonicProductFeature&) = default;
AntiHarmonicProductFeature& AntiHarmonicProductFeature::operator=(const AntiHarmonicProductFeature&) = default;

AntiHarmonicProductFeature* AntiHarmonicProductFeature::clone() const
{
    return new AntiHarmonicProductFeature(*this);
}

bool AntiHarmonicProductFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    m_vScratch.resize(nbOfCandidates(in_vInput.size()));
    std::fill(m_vScratch.begin(), m_vScratch.end(), 1.0);
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_vScratch.size() > 2, "m_vScratch.size() > 2"))
        return false;
    if (*findLargest(in_vInput) != 0.0) {
        const double dScale = static_cast<double>(m_vScratch.size());
        for (unsigned long i = 2; i < m_vScratch.size(); ++i)
            for (unsigned long h = 1; h <= 5; ++h)
                m_vScratch[i] = m_vScratch[i] * dScale * in_vInput[h * i - i / 2] * dScale;
    }
    out_vOutput.insert(out_vOutput.end(), m_vScratch.begin() + 2, m_vScratch.end());
    return true;
}

// ---- OldHarmonicProductFeature

OldHarmonicProductFeature::OldHarmonicProductFeature() = default;
OldHarmonicProductFeature::~OldHarmonicProductFeature() = default;
OldHarmonicProductFeature::OldHarmonicProductFeature(const OldHarmonicProductFeature&) = default;
OldHarmonicProductFeature& OldHarmonicProductFeature::operator=(const OldHarmonicProductFeature&) = default;

OldHarmonicProductFeature* OldHarmonicProductFeature::clone() const
{
    return new OldHarmonicProductFeature(*this);
}

bool OldHarmonicProductFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    const unsigned long uiNbOfBins = in_vInput.size();
    const double dScale = static_cast<double>(uiNbOfBins);
    m_vScratch.resize(uiNbOfBins);
    std::fill(m_vScratch.begin(), m_vScratch.end(), 0.0);
    for (unsigned long i = 0; i < uiNbOfBins / 4; ++i) {
        double dProduct = dScale * in_vInput[i];
        for (unsigned long h = 2; h <= 4; ++h)
            dProduct = dProduct * dScale * in_vInput[h * (i + 1) - 1];
        m_vScratch[i] = dProduct;
    }
    out_vOutput.insert(out_vOutput.end(), m_vScratch.begin(), m_vScratch.end());
    return true;
}

// ---- PeaksFeature

namespace {

constexpr unsigned long s_uiNbOfPeaks = 3;

} // namespace

PeaksFeature::PeaksFeature()
    : m_vPeakValues(s_uiNbOfPeaks)
    , m_vPeakPositions(s_uiNbOfPeaks)
{
}

PeaksFeature::~PeaksFeature() = default;
PeaksFeature::PeaksFeature(const PeaksFeature&) = default;
PeaksFeature& PeaksFeature::operator=(const PeaksFeature&) = default;

PeaksFeature* PeaksFeature::clone() const
{
    return new PeaksFeature(*this);
}

void PeaksFeature::removePeak(unsigned long in_uiPosition)
{
    double dBefore = m_vWorkingCopy[in_uiPosition];
    for (unsigned long uiRight = in_uiPosition + 1;
         uiRight < m_vWorkingCopy.size() && m_vWorkingCopy[uiRight] < dBefore; ++uiRight)
        dBefore = std::exchange(m_vWorkingCopy[uiRight], 0.0);
    dBefore = m_vWorkingCopy[in_uiPosition];
    for (unsigned long uiLeft = in_uiPosition; uiLeft > 0 && m_vWorkingCopy[uiLeft - 1] < dBefore; --uiLeft)
        dBefore = std::exchange(m_vWorkingCopy[uiLeft - 1], 0.0);
    m_vWorkingCopy[in_uiPosition] = 0.0;
}

bool PeaksFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (in_vInput.empty())
        return false;
    m_vWorkingCopy = in_vInput;
    m_vWorkingCopy.absoluteValue();
    for (unsigned long uiPeak = 0; uiPeak < s_uiNbOfPeaks; ++uiPeak) {
        const double* const pPeak = findLargest(m_vWorkingCopy);
        m_vPeakValues[uiPeak] = *pPeak;
        m_vPeakPositions[uiPeak] = static_cast<unsigned long>(pPeak - m_vWorkingCopy.begin());
        removePeak(m_vPeakPositions[uiPeak]);
    }
    out_vOutput.insert(out_vOutput.end(), m_vPeakValues.begin(), m_vPeakValues.end());
    constexpr double dLeastPosition = 1e-6; // stands for position 0, which has no logarithm
    for (const unsigned long uiPosition : m_vPeakPositions) {
        const double dPosition = static_cast<double>(uiPosition);
        out_vOutput.push_back(std::log(dPosition > dLeastPosition ? dPosition : dLeastPosition));
    }
    return true;
}

// ---- MyFeature

MyFeature::MyFeature() = default;
MyFeature::~MyFeature() = default;
MyFeature::MyFeature(const MyFeature&) = default;
MyFeature& MyFeature::operator=(const MyFeature&) = default;

MyFeature* MyFeature::clone() const
{
    return new MyFeature(*this);
}

bool MyFeature::compute(const DoubleVector&, DoubleVector&)
{
    return true;
}

} // namespace Corvana::Audio
