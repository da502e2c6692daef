// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureDescription.h"

#include <limits>

namespace Corvana::Audio {
namespace {

constexpr const char* s_szPowerShare = "share of the power";
constexpr const char* s_szSampleShare = "share of the samples";
constexpr unsigned s_uiAnyNumber = std::numeric_limits<unsigned>::max();

constexpr FeatureDescription s_aDescriptions[] = {
    {"zerocrossingrate", "(number)", 0, 1, "zerocrossingrate", "window", "1", "crossings per sample",
     "sign changes, counted on from the window before; the optional number has no effect", false, false},
    {"spectrum", "", 0, 0, "spectrum", "window", "n/2", s_szPowerShare,
     "normalised power spectrum of the Hann-tapered window, Nyquist bin left out", true, false},
    {"spectrum100hz", "", 0, 0, "spectrum100hz", "window", "min(n/2,40)", s_szPowerShare,
     "power spectrum in 40 bands of about 100 Hz (unreduced when it has fewer bins)", true, true},
    {"spectrum200hz", "", 0, 0, "spectrum200hz", "window", "min(n/2,20)", s_szPowerShare,
     "power spectrum in 20 bands of about 200 Hz (unreduced when it has fewer bins)", true, true},
    {"spectrum500hz", "", 0, 0, "spectrum500hz", "window", "min(n/2,8)", s_szPowerShare,
     "power spectrum in 8 bands of 500 Hz (unreduced when it has fewer bins)", true, true},
    {"flatness", "", 0, 0, "spectrum|flatness", "spectrum", "1", "ratio",
     "spectral flatness: near 1 for noise, near 0 for tones", false, false},
    {"spectralrange", "(centreHz,halfWidthHz)", 2, 2, "spectrum|spectralrange(1000,100)", "spectrum",
     "2*ceil(halfWidthHz*n/4000)+2", "share of the power; bins",
     "the bins around a frequency, then where the frequency lies within its bin (-0.5 to 0.5)", false, true},
    {"maxspectralranges", "(centreHz,...)", 1, s_uiAnyNumber, "spectrum|maxspectralranges(440,480)", "spectrum",
     "2*ceil(20*n/4000)+2", "share of the power; bins",
     "as spectralrange with 20 Hz to either side, for the strongest of the frequencies", false, true},
    {"oldharmonicproduct", "", 0, 0, "spectrum|oldharmonicproduct", "spectrum", "n", "product of powers",
     "product of 4 harmonics for each of the first n/4 bins, 0 for the others", false, false},
    {"harmonicproduct", "", 0, 0, "spectrum|harmonicproduct", "spectrum", "(n-1)/5+1", "product of powers",
     "product of 5 harmonics for each candidate fundamental, 0 below 100 Hz", false, true},
    {"robustharmonicproduct", "", 0, 0, "spectrum|robustharmonicproduct", "spectrum", "(n-1)/5+1", "product of powers",
     "product of the bin and 4 harmonics of the next bin, 0 below 100 Hz", false, true},
    {"antiharmonicproduct", "", 0, 0, "spectrum|antiharmonicproduct", "spectrum", "(n-1)/5-1", "product of powers",
     "product of the 5 bins halfway between the harmonics, from candidate 2 on; n is at least 11", false, false},
    {"spectralweightedarea", "", 0, 0, "spectrum|spectralweightedarea", "spectrum", "1", "Hz",
     "frequency-weighted power from 500 to 1500 Hz", false, true},
    {"silenceratio", "", 0, 0, "silenceratio", "window", "1", s_szSampleShare,
     "samples below a fiftieth of the window's peak", false, false},
    {"noiseratio", "", 0, 0, "noiseratio", "window", "1", s_szSampleShare, "samples below a tenth of the window's peak",
     false, false},
    {"amplitudedistribution", "", 0, 0, "amplitudedistribution", "window", "4", s_szSampleShare,
     "samples above a fifth, a tenth and a fiftieth of the window's peak, and the rest", false, false},
    {"temporalamplitudedistribution", "", 0, 0, "temporalamplitudedistribution", "window", "4", s_szSampleShare,
     "as amplitudedistribution, held against the largest peak so far", false, false},
    {"peaks", "", 0, 0, "spectrum|peaks", "spectrum", "6", "as the input; log of an index",
     "heights of the three strongest peaks, then the natural logarithms of their indexes", false, false},
    {"neighbourhoodofmax", "", 0, 0, "neighbourhoodofmax", "window", "3", "amplitude",
     "the largest sample between its neighbours; n is at least 4", false, false},
    {"lowfreqenergyratio", "", 0, 0, "spectrum|lowfreqenergyratio", "spectrum", "1", s_szPowerShare,
     "power below 1000 Hz", false, true},
    {"lowfreqenergyratios", "", 0, 0, "spectrum|lowfreqenergyratios", "spectrum", "2", s_szPowerShare,
     "power below 100 Hz, and from 100 to 1000 Hz", false, true},
    {"deltatoslidingmean", "", 0, 0, "silenceratio|deltatoslidingmean", "value", "1", "as the input",
     "difference of a single value from the mean of its last 5", false, false},
};

} // namespace

std::span<const FeatureDescription> getFeatureDescriptions()
{
    return s_aDescriptions;
}

} // namespace Corvana::Audio
