// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFeature.h"
#include "corvana/AudioSignalWindow.h"
#include "corvana/CloneableObjPtr.h"
#include "corvana/MathRangeFeature.h"
#include "corvana/MathSpectrumPlan.h"
#include "corvana/MathXprFunctionAdaptor.h"

#include <memory>
#include <string>
#include <vector>

namespace Corvana::Audio {

/// Normalised power spectrum of a window, tapered by a Hann window.
/// Bin k stands for the frequency k times the sample rate divided by n. The Nyquist bin is neither put out nor counted
/// in the total. In the literature: a modified periodogram (Welch, 1967), here normalised by its sum.
///   in       window of n linear samples; n a power of two of at least 2
///   out      appends n/2 values: fractions of the window's total power, which sum to 1
///   edges    silence: n/2 values 0.0; empty, one sample: false, nothing appended
///   failure  false, out untouched: fewer than 2 samples; false, with the n samples appended as they are: n differs
///            from the first window's (assertion "m_pSignalWindow->getSize() == uiSizeFFT"). A length that is no power
///            of two is reported by each call ("isPowerOfTwo(n)", and "isPowerOfTwo(nn)" as well where n/2, rounded
///            down, is none either: 3, 5, 9 and 17 raise the first only, 6, 7 and 12 both); the result is true and n/2
///            values of no meaning
///   cost     O(n log n), see Math::SpectrumPlan; the taper, the tables and the scratch are made by the first call, for
///            the feature's whole life. A clone() has a taper and a scratch of its own and shares the tables, which
///            nobody changes.
/// Also the function "spectrum" of the variable "x" in formulas.
class CORVANA_API SpectrumFeature : public virtual AudioFeature,
                                    public Math::Xpr::SignalFeatureFunctionAdaptorImpl,
                                    public Math::SeveralInputs
{
public:
    SpectrumFeature();
    ~SpectrumFeature() override;
    SpectrumFeature(const SpectrumFeature&);
    SpectrumFeature& operator=(const SpectrumFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectrumFeature* clone() const override;
    /// The first window fixes the length, as with compute(). False for windows of another one, for a length that is no
    /// power of two, and for windows of less than two samples.
    bool computeSeveral(unsigned long in_uiNbOfInputs, const Math::DoubleVector* in_pInputs,
                        Math::DoubleVector* out_pOutputs) override;

private:
    void prepare(unsigned long in_uiSizeFFT);

    CloneableObjPtr<SignalWindow> m_pSignalWindow;
    std::shared_ptr<const Math::SpectrumPlan> m_pPlan; // none for a size that is no power of two
    Math::SpectrumScratch m_scratch;
};

/// Power spectrum summed into a fixed number of bands.
/// Of L = n/2 bins, band j but the last is the sum of g = L / bands bins from j * g on. The last band is kept as it
/// always was: where g divides L, it is the last group's sum plus bin bands - 1 once more; elsewhere it is group
/// bands - 1 plus the bins behind the last multiple of g, and the groups between are in no band.
///   in       as SpectrumFeature
///   out      appends one value a band, shares of the power; the whole spectrum when it has fewer bins than bands
///   edges    silence: 0.0 in each band; empty, one sample: false, nothing appended
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
    bool computeSeveral(unsigned long in_uiNbOfInputs, const Math::DoubleVector* in_pInputs,
                        Math::DoubleVector* out_pOutputs) override;

private:
    void reduce(Math::DoubleVector& inout_vOutput, unsigned long in_uiStart) const;

    unsigned long m_uiNbOfBands;
};

/// Spectral flatness, also known as Wiener entropy: geometric mean over arithmetic mean, for a spectrum that sums to 1
/// (Gray and Markel, A spectral-flatness measure, 1974). Near 1 for noise, near 0 for a tone. Values of exactly 0 are
/// left out of the product but counted, so a spectrum with a single non-zero bin of 1.0 yields 1 as well.
///   in       N values, meant to be a normalised spectrum
///   out      appends 1 value, no unit; from 0 to about 1 for a normalised spectrum
///   edges    all zeros: 1.0; empty: 1.0; one value x: x itself, and 1.0 for 0.0
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

// ---- Temporal features: they read a window of linear samples

/// Zero-crossing rate: crossings a sample, counting sign changes and arrivals at exactly 0.
///   in       window of linear samples, any length
///   out      appends 1 value: crossings / n, from 0 to 1
///   edges    silence: 0.0, but 1 / n after a sample other than 0; empty: 0.0; one sample: 0.0 from a new object, later
///            0 or 1
///   failure  none
///   memory   the last sample, so that the first of the next window is compared with it; it has no reset: a new object
///            starts from 0.0
///   cost     O(n)
/// The sample rate and the construction parameter do not enter the result.
class CORVANA_API ZeroCrossingRateFeature : public AudioFeature, public virtual Math::SignalFeatureWithParameters
{
public:
    explicit ZeroCrossingRateFeature(unsigned long in_uiParameter = 0);
    ~ZeroCrossingRateFeature() override;
    ZeroCrossingRateFeature(const ZeroCrossingRateFeature&);
    ZeroCrossingRateFeature& operator=(const ZeroCrossingRateFeature&);

    /// Reads "signalfeature.SampleRate", a positive number of samples per second.
    bool configure(const ROConfiguration& in_config) override;
    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    ZeroCrossingRateFeature* clone() const override;

    unsigned long getParameter() const { return m_uiParameter; }
    unsigned long getSampleRate() const { return m_uiSampleRate; }

private:
    unsigned long m_uiParameter;
    unsigned long m_uiSampleRate = 0;
    double m_dPreviousSample = 0.0;
};

/// Clipping rate: the share of samples at or beyond the clipping levels.
///   in       window of linear samples, any length
///   out      appends 1 value, a share of the samples, from 0 to 1
///   edges    silence: 0.0 with levels on either side of 0; empty: NaN; one sample: 0 or 1
///   failure  none
///   cost     O(n); stateless
class CORVANA_API ClippingRateFeature : public AudioFeature
{
public:
    /// The levels count as clipped themselves; the defaults are full scale of 16-bit samples.
    explicit ClippingRateFeature(double in_dLow = -0.999969, double in_dHigh = 0.999969);
    ~ClippingRateFeature() override;
    ClippingRateFeature(const ClippingRateFeature&);
    ClippingRateFeature& operator=(const ClippingRateFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    ClippingRateFeature* clone() const override;

private:
    double m_dLow;
    double m_dHigh;
};

/// Silence ratio: the share of samples whose amplitude is below the window's peak / ratio. With the ratio 50 it tells
/// pauses in speech, with 10 (the noise ratio) how much of the window is low-level sound.
///   in       window of linear samples, any length
///   out      appends 1 value, a share of the samples, from 0 to 1
///   edges    silence: 0.0; empty: NaN; one sample: 0.0
///   failure  none
///   cost     O(n), two passes; stateless
class CORVANA_API SilenceRatioFeature : public AudioFeature
{
public:
    explicit SilenceRatioFeature(unsigned long in_uiRatio);
    ~SilenceRatioFeature() override;
    SilenceRatioFeature(const SilenceRatioFeature&);
    SilenceRatioFeature& operator=(const SilenceRatioFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SilenceRatioFeature* clone() const override;

private:
    double m_dRatio;
};

/// A silence ratio whose parameter is fixed when it is compiled, for the expression functions, which construct their
/// features without arguments. Instantiated for 50.
///   in, out, edges, failure, cost   as SilenceRatioFeature
template <unsigned long uiRatio>
class CORVANA_API SilenceRatioFeatureT : public SilenceRatioFeature
{
public:
    SilenceRatioFeatureT();
    ~SilenceRatioFeatureT() override;
    SilenceRatioFeatureT(const SilenceRatioFeatureT&);
    SilenceRatioFeatureT& operator=(const SilenceRatioFeatureT&);

    SilenceRatioFeatureT* clone() const override;
};
extern template class SilenceRatioFeatureT<50>;

/// Mean energy (squared amplitude) of the samples whose energy exceeds a threshold.
///   in       window of linear samples, any length
///   out      appends 1 value: the mean over all such samples since the last reset, a squared amplitude from 0
///            on; 0.0 when there were none
///   edges    on a new object: silence: 0.0; empty: 0.0; one sample x: x * x if above the threshold, else 0.0. Later,
///            silence and an empty window give the mean so far; silence counts only with a threshold below 0
///   failure  none
///   memory   sum and number of these samples
///   cost     O(n)
class CORVANA_API MeanEnergyAboveThreshFeature : public Math::SignalFeatureWithMemory, public AudioFeature
{
public:
    explicit MeanEnergyAboveThreshFeature(double in_dEnergyThreshold = 0.0);
    ~MeanEnergyAboveThreshFeature() override;
    MeanEnergyAboveThreshFeature(const MeanEnergyAboveThreshFeature&);
    MeanEnergyAboveThreshFeature& operator=(const MeanEnergyAboveThreshFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    bool reset() override;
    MeanEnergyAboveThreshFeature* clone() const override;

private:
    unsigned long m_uiNbOfSamplesAbove = 0;
    double m_dEnergyThreshold;
    double m_dSumOfEnergies = 0.0;
};

/// Histogram of the samples' energies (squared amplitudes), in bins of equal width from 0 to a maximum.
///   in       window of linear samples, any length
///   out      appends one value a bin: the number of samples in it, not normalised; energies above the maximum count in
///            the last bin, those that are not a number in the first
///   edges    silence: n in the first bin, 0 elsewhere; empty: all 0; one sample: 1 in its bin, 0 elsewhere
///   failure  false, out untouched: no bins (assertion "m_uiNbOfBins > 0"), or a maximum that is not above 0
///            (assertion "m_dEnergyMaxValue > 0")
///   cost     O(n + bins); stateless
class CORVANA_API EnergyHistogramFeature : public AudioFeature
{
public:
    explicit EnergyHistogramFeature(double in_dEnergyMax = 1.0, unsigned long in_uiNbOfBins = 10);
    ~EnergyHistogramFeature() override;
    EnergyHistogramFeature(const EnergyHistogramFeature&);
    EnergyHistogramFeature& operator=(const EnergyHistogramFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    EnergyHistogramFeature* clone() const override;

private:
    unsigned long binOf(double in_dSample) const;

    double m_dEnergyMaxValue;
    unsigned long m_uiNbOfBins;
    std::vector<unsigned long> m_vHistogram;
};

/// The largest sample and its neighbours.
///   in       window of at least 4 linear samples
///   out      appends 3 values: the first largest sample between its neighbours; at either end of the window, the
///            three samples at that end; amplitudes, in the order of time
///   edges    silence: 0.0 three times; empty, one sample: false, nothing appended
///   failure  false, out untouched: fewer than 4 samples
///   cost     O(n); stateless
class CORVANA_API MaxNeighbourhoodFeature : public AudioFeature
{
public:
    MaxNeighbourhoodFeature();
    ~MaxNeighbourhoodFeature() override;
    MaxNeighbourhoodFeature(const MaxNeighbourhoodFeature&);
    MaxNeighbourhoodFeature& operator=(const MaxNeighbourhoodFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    MaxNeighbourhoodFeature* clone() const override;
};

/// Amplitude distribution: the shares of samples that are loud, medium, quiet and nearly silent, that is above a fifth,
/// a tenth and a fiftieth of the peak, and the rest.
///   in       window of linear samples, any length
///   out      appends 4 values, shares of the samples, from 0 to 1, that sum to 1
///   edges    silence: 0, 0, 0, 1; empty: NaN four times; one sample: 1, 0, 0, 0 if it is the peak and not 0, else 1 in
///            the class that it falls into
///   failure  none
///   memory   temporal: the largest peak since the last reset takes the place of the window's own; else none
///   cost     O(n), two passes
class CORVANA_API RatiosFeature : public Math::SignalFeatureWithMemory, public AudioFeature
{
public:
    explicit RatiosFeature(bool in_bTemporal);
    ~RatiosFeature() override;
    RatiosFeature(const RatiosFeature&);
    RatiosFeature& operator=(const RatiosFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    bool reset() override;
    RatiosFeature* clone() const override;

private:
    bool m_bTemporal;
    double m_dRunningPeak = 0.0;
};

/// Mean and largest of the block maxima: the peaks of blocks of half a second, without those far below the mean; one
/// far above it starts the statistics afresh.
///   in       window of linear samples, any length
///   out      appends 2 values, amplitudes: the mean and the largest of the accepted block maxima; twice the maximum of
///            the block under way while none is accepted
///   edges    after a reset: silence: 0.0 twice; empty: -1.0 twice; one sample x: |x| twice (a step above
///            half a second ends the block that is still empty: -1.0 twice)
///   failure  none
///   memory   the statistics and the block under way
///   cost     O(n)
class CORVANA_API MeanMaxFeature : public virtual Math::SignalFeatureWithMemory, public AudioFeature
{
public:
    /// in_dStepSeconds: time from sample to sample; in_dBaseline: the level that differences are measured from.
    MeanMaxFeature(double in_dStepSeconds, double in_dBaseline);
    ~MeanMaxFeature() override;
    MeanMaxFeature(const MeanMaxFeature&);
    MeanMaxFeature& operator=(const MeanMaxFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    bool reset() override;
    MeanMaxFeature* clone() const override;

private:
    void judgeBlock();
    void acceptAlone(double in_dMaximum);

    double m_dStepSeconds;
    double m_dBaseline;
    unsigned long m_uiNbOfAccepted = 0;
    double m_dSumOfAccepted = 0.0;
    double m_dLargestAccepted = 1.0;
    double m_dElapsedSeconds = 0.0;
    double m_dBlockMaximum = -1.0;
};

/// The difference of a value from the mean of the last 5 values, itself included; of fewer, while fewer were given.
///   in       exactly 1 value
///   out      appends 1 value, in the input's unit, of either sign
///   edges    a first value, whatever it is: 0.0; zeros after zeros: 0.0; empty: false, nothing appended
///   failure  false, out untouched: another number of values (assertion "in_vInput.size() == 1"), or reset() was never
///            called (assertion "!m_pSlidingMeanFeature.isNull()")
///   memory   the last 5 values
///   cost     O(1)
class CORVANA_API DeltaToSlidingMeanFeature : public Math::SignalFeatureWithMemory, public AudioFeature
{
public:
    DeltaToSlidingMeanFeature();
    ~DeltaToSlidingMeanFeature() override;
    DeltaToSlidingMeanFeature(const DeltaToSlidingMeanFeature&);
    DeltaToSlidingMeanFeature& operator=(const DeltaToSlidingMeanFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    bool reset() override;
    DeltaToSlidingMeanFeature* clone() const override;

private:
    CloneableObjPtr<Math::SignalFeature> m_pSlidingMeanFeature;
    Math::DoubleVector m_vScratch;
};

// ---- Spectral range features: they read a normalised spectrum of L bins, taken to span 0 to 4000 Hz

/// The bins around a frequency.
///   in       spectrum of L bins
///   out      appends the bins from half-width below the centre's bin to half-width above it, and then where the centre
///            lies within its bin (-0.5 to 0.5 bins)
///   edges    all zeros: 0.0 for each bin, and the position; empty, one bin: false, with nothing appended where the
///            range would begin at bin 0, only the position where it passes the end (also once the bins are fixed)
///   failure  false, out untouched: centre 0 (assertion "m_uiCenterFrequency > 0"), or a range that would begin at bin
///            0 or below (assertion "uiCenterIndex>uiRangeWidth"); false, with only the position appended: the range
///            passes the end of the spectrum
///   cost     O(range). The first spectrum's length fixes the bins, until the next configure()
class CORVANA_API SpectralRangeFeature : public Math::RangeFeature, public AudioFeature
{
public:
    explicit SpectralRangeFeature(unsigned long in_uiCenterHz = 0, unsigned long in_uiHalfWidthHz = 0);
    ~SpectralRangeFeature() override;
    SpectralRangeFeature(const SpectralRangeFeature&);
    SpectralRangeFeature& operator=(const SpectralRangeFeature&);

    /// Reads "frequencyHz", a positive number, and "widthHz", the half-width; or the same behind "spectralrange.".
    /// False, with nothing changed, after a message at error level.
    bool configure(const ROConfiguration& in_config);
    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectralRangeFeature* clone() const override;

private:
    bool establishRange(unsigned long in_uiNbOfBins);

    unsigned long m_uiCenterFrequency;
    unsigned long m_uiHalfWidth;
    bool m_bRangeEstablished = false;
    double m_dRelativePosition = 0.0;
};

/// The strongest of several spectral ranges: the one whose largest bin is largest, the earlier one on a tie.
///   in       spectrum of L bins
///   out      appends what that range's SpectralRangeFeature appends
///   edges    all zeros: the first range's zeros and position; empty, one bin: false, nothing appended
///   failure  false, out untouched: no ranges, or a range that fails
///   cost     O(sum of the ranges)
class CORVANA_API MaxSpectralRangesFeature : public AudioFeature, public virtual Math::SignalFeatureWithParameters
{
public:
    MaxSpectralRangesFeature();
    ~MaxSpectralRangesFeature() override;
    MaxSpectralRangesFeature(const MaxSpectralRangesFeature&);
    MaxSpectralRangesFeature& operator=(const MaxSpectralRangesFeature&);

    void addSpectralRange(unsigned long in_uiCenterHz, unsigned long in_uiHalfWidthHz);
    /// Reads "frequenciesList", or "maxspectralranges.frequenciesList": whole numbers of Hz, separated by commas and
    /// blanks. They replace the ranges; each is 20 Hz wide on either side. False, with the ranges as they were, after a
    /// message at error level.
    bool configure(const ROConfiguration& in_config) override;
    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    MaxSpectralRangesFeature* clone() const override;

private:
    bool addListedRanges(const std::string& in_strFrequencies);

    std::vector<CloneableObjPtr<SpectralRangeFeature>> m_vSpectralRanges;
    Math::DoubleVector m_vScratchComputation;
    Math::DoubleVector m_vBestResult;
};

/// The share of energy below 1000 Hz.
///   in       spectrum of L bins
///   out      appends 1 value, a share of the power, from 0 to 1
///   edges    all zeros: 0.0; empty: 0.0; one bin: 0.0, as no whole bin lies below 1000 Hz
///   failure  none
///   cost     O(L); stateless
class CORVANA_API LowFreqEnergyRatioFeature : public AudioFeature
{
public:
    LowFreqEnergyRatioFeature();
    ~LowFreqEnergyRatioFeature() override;
    LowFreqEnergyRatioFeature(const LowFreqEnergyRatioFeature&);
    LowFreqEnergyRatioFeature& operator=(const LowFreqEnergyRatioFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    LowFreqEnergyRatioFeature* clone() const override;
};

/// The shares of energy below 100 Hz, and from there to 1000 Hz.
///   in       spectrum of L bins
///   out      appends 2 values, shares of the power, from 0 to 1
///   edges    all zeros: 0.0 twice; empty: 0.0 twice; one bin: 0.0 twice, as no whole bin lies below 1000 Hz
///   failure  none
///   cost     O(L); stateless
class CORVANA_API LowFreqEnergyRatiosFeature : public AudioFeature
{
public:
    LowFreqEnergyRatiosFeature();
    ~LowFreqEnergyRatiosFeature() override;
    LowFreqEnergyRatiosFeature(const LowFreqEnergyRatiosFeature&);
    LowFreqEnergyRatiosFeature& operator=(const LowFreqEnergyRatiosFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    LowFreqEnergyRatiosFeature* clone() const override;
};

/// Frequency-weighted sum of the bins from 500 to 1500 Hz, for audio of 8000 samples per second: the band's first
/// spectral moment, which is the numerator of the spectral centroid.
///   in       spectrum of L bins
///   out      appends 1 value in Hz: the sum of index * bin * bin width; the width is a whole number of Hz, rounded
///            down (31 for 128 bins)
///   edges    all zeros: 0.0; empty, one bin: false, nothing appended
///   failure  false, out untouched: a band without bins (assertion "m_uiIndexMin < m_uiIndexMax"), or one that reaches
///            past the spectrum (assertion "m_uiIndexMax < uiInputSize")
///   cost     O(L). The first spectrum's length fixes the band
class CORVANA_API SpectralWeightedAreaFeature : public AudioFeature
{
public:
    SpectralWeightedAreaFeature();
    ~SpectralWeightedAreaFeature() override;
    SpectralWeightedAreaFeature(const SpectralWeightedAreaFeature&);
    SpectralWeightedAreaFeature& operator=(const SpectralWeightedAreaFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectralWeightedAreaFeature* clone() const override;

private:
    void establishIndices(unsigned long in_uiNbOfBins);

    unsigned long m_uiSampleRate = 8000;
    unsigned long m_uiLowFrequency = 500;
    unsigned long m_uiHighFrequency = 1500;
    unsigned long m_uiIndexMin = 0;
    unsigned long m_uiIndexMax = 0;
};

/// A placeholder for the spectral slope: appends nothing and returns true.
///   in       anything
///   out      nothing
///   edges    silence, empty, one value: nothing appended, true
///   failure  none
///   cost     none; stateless
class CORVANA_API SpectralSlopeFeature : public AudioFeature
{
public:
    SpectralSlopeFeature();
    ~SpectralSlopeFeature() override;
    SpectralSlopeFeature(const SpectralSlopeFeature&);
    SpectralSlopeFeature& operator=(const SpectralSlopeFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    SpectralSlopeFeature* clone() const override;
};

// ---- Harmonic and peak features: they read a spectrum of L bins. M = (L - 1) / 5 + 1 is the number of candidate
// ---- fundamentals whose fifth multiple still lies in it, 0 for an empty spectrum

/// Harmonic product spectrum (Schroeder, Period histogram and product spectrum, 1968) of 5 harmonics.
///   in       spectrum of L bins
///   out      appends M values: for each candidate bin, the product of M times the bins at its multiples 1 to 5; 0 for
///            candidates below 100 Hz; no unit
///   edges    all zeros: M values 0.0; empty: nothing appended, true; one bin: 0.0
///   failure  none
///   cost     O(L)
class CORVANA_API HarmonicProductFeature : public AudioFeature
{
public:
    HarmonicProductFeature();
    ~HarmonicProductFeature() override;
    HarmonicProductFeature(const HarmonicProductFeature&);
    HarmonicProductFeature& operator=(const HarmonicProductFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    HarmonicProductFeature* clone() const override;

private:
    Math::DoubleVector m_vScratch;
};

/// As HarmonicProductFeature, but harmonic h of candidate i is bin h * (i + 1) wherever that bin exists, and h * i
/// elsewhere; the shift does not touch harmonic 1.
///   in, out, failure, cost   as HarmonicProductFeature
///   edges    all zeros: M values 0.0; empty: nothing appended, true; one bin: 0.0
class CORVANA_API RobustHarmonicProductFeature : public AudioFeature
{
public:
    RobustHarmonicProductFeature();
    ~RobustHarmonicProductFeature() override;
    RobustHarmonicProductFeature(const RobustHarmonicProductFeature&);
    RobustHarmonicProductFeature& operator=(const RobustHarmonicProductFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    RobustHarmonicProductFeature* clone() const override;

private:
    Math::DoubleVector m_vScratch;
};

/// The product of the bins halfway between the harmonics: small where HarmonicProductFeature finds a tone.
///   in       spectrum of at least 11 bins
///   out      appends M - 2 values, for the candidates from 2 on: the product of M * M times the bins at about
///            (h - 1/2) times the candidate, h from 1 to 5; no unit
///   edges    all zeros: M - 2 values 1.0, as whenever the largest bin is 0; empty, one bin: false, nothing appended
///   failure  false, out untouched: fewer than 11 bins (assertion "m_vScratch.size() > 2")
///   cost     O(L)
class CORVANA_API AntiHarmonicProductFeature : public AudioFeature
{
public:
    AntiHarmonicProductFeature();
    ~AntiHarmonicProductFeature() override;
    AntiHarmonicProductFeature(const AntiHarmonicProductFeature&);
    AntiHarmonicProductFeature& operator=(const AntiHarmonicProductFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    AntiHarmonicProductFeature* clone() const override;

private:
    Math::DoubleVector m_vScratch;
};

/// The harmonic product of 4 harmonics that older configurations name.
///   in       spectrum of L bins
///   out      appends L values: for each of the first L / 4 places i, the product of L times the bins h * (i + 1) - 1,
///            h from 1 to 4; 0 for the others; no unit
///   edges    all zeros: L values 0.0; empty: nothing appended, true; one bin: 0.0
///   failure  none
///   cost     O(L)
class CORVANA_API OldHarmonicProductFeature : public AudioFeature
{
public:
    OldHarmonicProductFeature();
    ~OldHarmonicProductFeature() override;
    OldHarmonicProductFeature(const OldHarmonicProductFeature&);
    OldHarmonicProductFeature& operator=(const OldHarmonicProductFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    OldHarmonicProductFeature* clone() const override;

private:
    Math::DoubleVector m_vScratch;
};

/// The three strongest peaks. A peak takes its falling flanks with it before the next one is sought.
///   in       any values, usually a spectrum; their absolute values count
///   out      appends 6 values: the peaks' heights, largest first, and then the natural logarithms of their indexes
///            (about -13.8155, the logarithm of 1e-6, for index 0)
///   edges    all zeros: 0.0 three times, then the logarithm for index 0 three times; empty: false, nothing
///            appended; one value x: |x|, 0.0, 0.0, and the same three logarithms
///   failure  false, out untouched: an empty input
///   cost     O(n)
class CORVANA_API PeaksFeature : public AudioFeature
{
public:
    PeaksFeature();
    ~PeaksFeature() override;
    PeaksFeature(const PeaksFeature&);
    PeaksFeature& operator=(const PeaksFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    PeaksFeature* clone() const override;

private:
    void removePeak(unsigned long in_uiPosition);

    Math::DoubleVector m_vWorkingCopy;
    std::vector<double> m_vPeakValues;
    std::vector<unsigned long> m_vPeakPositions;
};

/// A placeholder for experiments: appends nothing and returns true.
///   in       anything
///   out      nothing
///   edges    silence, empty, one value: nothing appended, true
///   failure  none
///   cost     none; stateless
class CORVANA_API MyFeature : public AudioFeature
{
public:
    MyFeature();
    ~MyFeature() override;
    MyFeature(const MyFeature&);
    MyFeature& operator=(const MyFeature&);

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override;
    MyFeature* clone() const override;
};

} // namespace Corvana::Audio
