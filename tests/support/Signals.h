// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"
#include "corvana/MathSignalFeature.h"

#include <cstdint>
#include <string>

namespace Corvana::Test {

/// A sine that starts at phase 0.
Math::DoubleVector sine(double in_dFrequencyHz, double in_dSampleRateHz, unsigned long in_uiNbOfSamples,
                        double in_dAmplitude = 1.0);
/// Repeatable noise, evenly spread over -1 to 1; the same on every machine.
Math::DoubleVector noise(unsigned long in_uiNbOfSamples, std::uint64_t in_uiSeed = 1);

/// What compute() appends to an empty output; fails the test when it returns false.
Math::DoubleVector valuesOf(Math::SignalFeature& inout_feature, const Math::DoubleVector& in_vInput);
inline Math::DoubleVector valuesOf(Math::SignalFeature&& inout_feature, const Math::DoubleVector& in_vInput)
{
    return valuesOf(inout_feature, in_vInput);
}

/// Whether two vectors hold the same bits: NaNs equal themselves, 0.0 differs from -0.0.
bool sameBits(const Math::DoubleVector& in_vLeft, const Math::DoubleVector& in_vRight);

/// libsndfile's format codes for writeSoundFile(), so that tests need not include its header.
enum SoundFormat : int
{
    WAV_PCM16 = 0x010002,
    WAV_ULAW = 0x010010,
    WAV_ALAW = 0x010011,
    WAV_DOUBLE = 0x010007,
    AU_PCM16 = 0x030002
};
/// Writes samples as a sound file and returns its path; channels are interleaved.
std::string writeSoundFile(const std::string& in_strPath, const Math::DoubleVector& in_vSamples,
                           int in_iSampleRate = 8000, int in_iFormat = WAV_DOUBLE, int in_iNbOfChannels = 1);

} // namespace Corvana::Test
