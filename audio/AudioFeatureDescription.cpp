// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureDescription.h"

namespace Corvana::Audio {
namespace {

constexpr const char* s_szShare = "share of the power";

constexpr FeatureDescription s_aDescriptions[] = {
    {"spectrum", "", 0, 0, "spectrum", "window", "n/2", s_szShare,
     "normalised power spectrum of the Hann-tapered window, Nyquist bin left out", true, false},
    {"spectrum100hz", "", 0, 0, "spectrum100hz", "window", "40", s_szShare,
     "power spectrum in 40 bands of about 100 Hz (unreduced when it has fewer bins)", true, true},
    {"spectrum200hz", "", 0, 0, "spectrum200hz", "window", "20", s_szShare,
     "power spectrum in 20 bands of about 200 Hz (unreduced when it has fewer bins)", true, true},
    {"spectrum500hz", "", 0, 0, "spectrum500hz", "window", "8", s_szShare,
     "power spectrum in 8 bands of 500 Hz (unreduced when it has fewer bins)", true, true},
    {"flatness", "", 0, 0, "spectrum|flatness", "spectrum", "1", "ratio",
     "spectral flatness: near 1 for noise, near 0 for tones", false, false},
};

} // namespace

std::span<const FeatureDescription> getFeatureDescriptions()
{
    return s_aDescriptions;
}

} // namespace Corvana::Audio
