// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFeature.h"
#include "corvana/AudioSignalWindow.h"
#include "corvana/CloneableObjPtr.h"
#include "corvana/MathXprFunctionAdaptor.h"

#include <memory>

namespace Corvana::Math {
class RealFourierPlan;
}

namespace Corvana::Audio {

/// Normalised power spectrum of a window, tapered by a Hann window.
/// Bin k stands for the frequency k times the sample rate divided by n. The Nyquist bin is neither put out nor counted
/// in the total.
///   in       window of n linear samples; n a power of two of at least 2
///   out      appends n/2 values: fractions of the window's total power, which sum to 1; all 0 for a silent window
///   failure  false, out untouched: fewer than 2 samples; false, with the n samples appended as they are: n differs
///            from the first window's (assertion "m_pSignalWindow->getSize() == uiSizeFFT"). A length that is no power
///            of two is reported ("isPowerOfTwo(n)", "isPowerOfTwo(nn)") and gives n/2 values of no meaning
///   cost     O(n log n); the taper and the transform's tables are made by the first call, for the feature's whole
///            life. A clone() has a taper of its own and shares the tables, which nobody changes.
/// Also the function "spectrum" of the variable "x" in formulas.
class CORVANA_API SpectrumFeature : public virtual AudioFeature, public Math::Xpr::SignalFeatureFunctionAdaptorImpl
{
public:
    SpectrumFeature();
    ~SpectrumFeature() override;
    SpectrumFeature(const SpectrumFeature&);
    SpectrumFeature& operator=(const SpectrumFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectrumFeature* clone() const override;

private:
    void prepare(unsigned long in_uiSizeFFT);
    void transform(double* inout_pData, unsigned long in_uiSizeFFT) const;

    CloneableObjPtr<SignalWindow> m_pSignalWindow;
    std::shared_ptr<const Math::RealFourierPlan> m_pPlan;
};

/// Power spectrum summed into a fixed number of bands.
/// Of L = n/2 bins, band j but the last is the sum of g = L / bands bins from j * g on. The last band is kept as it
/// always was: where g divides L, it is the last group's sum plus bin bands - 1 once more; elsewhere it is group
/// bands - 1 plus the bins behind the last multiple of g, and the groups between are in no band.
///   in       as SpectrumFeature
///   out      appends one value a band; the whole spectrum when it has fewer bins than bands
///   failure  as SpectrumFeature; false, out untouched: no bands (assertion "m_uiNbOfBands > 0")
///   cost     as SpectrumFeature
/// At 8000 samples per second, 40, 20 and 8 bands are meant to be 100, 200 and 500 Hz wide.
class CORVANA_API SpectrumReducedFeature : public SpectrumFeature
{
public:
    explicit SpectrumReducedFeature(unsigned long in_uiNbOfBands);
    ~SpectrumReducedFeature() override;
    SpectrumReducedFeature(const SpectrumReducedFeature&);
    SpectrumReducedFeature& operator=(const SpectrumReducedFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectrumReducedFeature* clone() const override;

private:
    unsigned long m_uiNbOfBands;
};

/// Spectral flatness, also known as Wiener entropy: geometric mean over arithmetic mean, for a spectrum that sums to 1
/// (Gray and Markel, A spectral-flatness measure, 1974). Near 1 for noise, near 0 for a tone. Values of exactly 0 are
/// left out of the product but counted, so a spectrum with a single non-zero bin of 1.0 yields 1 as well.
///   in       N values, meant to be a normalised spectrum
///   out      appends 1 value, no unit; 1.0 for an empty input and for all zeros
///   failure  none
///   cost     O(N), one power for every 21 values; stateless
/// Also the function "flatness" of the variable "x" in formulas.
class CORVANA_API FlatnessFeature : public AudioFeature, public Math::Xpr::SignalFeatureFunctionAdaptorImpl
{
public:
    FlatnessFeature();
    ~FlatnessFeature() override;
    FlatnessFeature(const FlatnessFeature&);
    FlatnessFeature& operator=(const FlatnessFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    FlatnessFeature* clone() const override;
};

} // namespace Corvana::Audio
