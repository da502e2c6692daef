// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureImpl.h"

#include "corvana/Assertion.h"
#include "corvana/Logger.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathRealFourierPlan.h"

#include <cassert>
#include <cmath>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFeatureImpl")

namespace Corvana::Audio {

using Math::DoubleVector;

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
        m_pPlan = std::make_shared<const Math::RealFourierPlan>(in_uiSizeFFT);
    else
        m_pPlan.reset();
    m_pSignalWindow.reset(pWindow.release());
}

void SpectrumFeature::transform(double* inout_pData, unsigned long in_uiSizeFFT) const
{
    if (m_pPlan != nullptr)
        m_pPlan->transform(inout_pData);
    else // no power of two: reports it
        Math::discreteRealFastFourierTransform(inout_pData, in_uiSizeFFT, 1.0);
}

namespace {

// From the packed transform of n values to n/2 powers in their first half; returns their sum in index order.
double formPowers(double* inout_pData, unsigned long in_uiNbOfBins)
{
    inout_pData[0] = inout_pData[0] * inout_pData[0];
    double dTotal = inout_pData[0];
    for (unsigned long uiBin = 1; uiBin < in_uiNbOfBins; ++uiBin) {
        const double dReal = inout_pData[2 * uiBin];
        const double dImaginary = inout_pData[2 * uiBin + 1];
        inout_pData[uiBin] = dReal * dReal + dImaginary * dImaginary;
        dTotal += inout_pData[uiBin];
    }
    return dTotal;
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
    out_vOutput.insert(out_vOutput.end(), in_vInput.begin(), in_vInput.end());
    if (!CORVANA_ASSERT_AT(CORVANA_HERE, m_pSignalWindow->getSize() == static_cast<double>(uiSizeFFT),
                           "m_pSignalWindow->getSize() == uiSizeFFT"))
        return false;

    double* const pData = out_vOutput.begin() + uiStart;
    const double* const pTaper = m_pSignalWindow->getWindow().begin();
    for (unsigned long uiIndex = 0; uiIndex < uiSizeFFT; ++uiIndex)
        pData[uiIndex] *= pTaper[uiIndex];

    transform(pData, uiSizeFFT);
    const unsigned long uiNbOfBins = uiSizeFFT / 2;
    const double dTotal = formPowers(pData, uiNbOfBins);
    out_vOutput.resize(uiStart + uiNbOfBins);
    if (dTotal != 0.0) {
        const double dReciprocal = 1.0 / dTotal; // multiplied by, not divided by: part of the result
        for (unsigned long uiBin = 0; uiBin < uiNbOfBins; ++uiBin)
            pData[uiBin] *= dReciprocal;
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

bool SpectrumReducedFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    if (!CORVANA_ASSERT(m_uiNbOfBands > 0))
        return false;
    const unsigned long uiStart = out_vOutput.size();
    if (!SpectrumFeature::compute(in_vInput, out_vOutput))
        return false;

    const unsigned long uiNbOfBins = out_vOutput.size() - uiStart;
    if (uiNbOfBins < m_uiNbOfBands)
        return true;

    // In place: a band is stored over bins that have been read. Groups past the last band are stored behind it and
    // cut off; the last, possibly partial, group is added to whatever the last band's place holds.
    double* const pBins = out_vOutput.begin() + uiStart;
    const unsigned long uiGroup = uiNbOfBins / m_uiNbOfBands;
    double dSum = 0.0;
    for (unsigned long uiBin = 0; uiBin < uiNbOfBins; ++uiBin) {
        if (uiBin != 0 && uiBin % uiGroup == 0) {
            pBins[(uiBin - 1) / uiGroup] = dSum;
            dSum = 0.0;
        }
        dSum += pBins[uiBin];
    }
    out_vOutput.resize(uiStart + m_uiNbOfBands);
    pBins[m_uiNbOfBands - 1] += dSum;
    return true;
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

bool FlatnessFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    // The product is folded into the mean every 21 values, before it can underflow.
    constexpr int s_iMaxFactors = 20;
    const double dNbOfValues = static_cast<double>(in_vInput.size());
    double dProduct = 1.0;
    double dGeometricMean = 1.0;
    int iFactors = 0;
    for (const double dValue : in_vInput) {
        if (dValue != 0.0)
            dProduct *= dValue;
        if (++iFactors > s_iMaxFactors) {
            dProduct = std::pow(dProduct, 1.0 / dNbOfValues);
            dGeometricMean = dProduct * dGeometricMean;
            dProduct = 1.0;
            iFactors = 0;
        }
    }
    dGeometricMean = std::pow(dProduct, 1.0 / dNbOfValues) * dGeometricMean;
    if (dGeometricMean != 1.0)
        dGeometricMean *= dNbOfValues;
    out_vOutput.push_back(dGeometricMean);
    return true;
}

} // namespace Corvana::Audio
