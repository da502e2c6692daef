// SPDX-License-Identifier: Apache-2.0
#include "support/Signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <stdexcept>

namespace Corvana::Test {

static_assert(WAV_PCM16 == (SF_FORMAT_WAV | SF_FORMAT_PCM_16) && WAV_ULAW == (SF_FORMAT_WAV | SF_FORMAT_ULAW) &&
              WAV_ALAW == (SF_FORMAT_WAV | SF_FORMAT_ALAW) && WAV_DOUBLE == (SF_FORMAT_WAV | SF_FORMAT_DOUBLE) &&
              AU_PCM16 == (SF_FORMAT_AU | SF_FORMAT_PCM_16));

Math::DoubleVector sine(double in_dFrequencyHz, double in_dSampleRateHz, unsigned long in_uiNbOfSamples,
                        double in_dAmplitude)
{
    Math::DoubleVector vSamples(in_uiNbOfSamples);
    for (unsigned long uiIndex = 0; uiIndex < in_uiNbOfSamples; ++uiIndex)
        vSamples[uiIndex] = in_dAmplitude * std::sin(6.283185307179586 * in_dFrequencyHz *
                                                     static_cast<double>(uiIndex) / in_dSampleRateHz);
    return vSamples;
}

Math::DoubleVector noise(unsigned long in_uiNbOfSamples, std::uint64_t in_uiSeed)
{
    // The linear congruential generator MMIX of Knuth; its upper 53 bits fill a double exactly.
    std::uint64_t uiState = in_uiSeed;
    Math::DoubleVector vSamples(in_uiNbOfSamples);
    for (double& dSample : vSamples) {
        uiState = uiState * 6364136223846793005U + 1442695040888963407U;
        dSample = static_cast<double>(uiState >> 11) * 0x1p-52 - 1.0;
    }
    return vSamples;
}

Math::DoubleVector valuesOf(Math::SignalFeature& inout_feature, const Math::DoubleVector& in_vInput)
{
    Math::DoubleVector vValues;
    EXPECT_TRUE(inout_feature.compute(in_vInput, vValues));
    return vValues;
}

bool sameBits(const Math::DoubleVector& in_vLeft, const Math::DoubleVector& in_vRight)
{
    return in_vLeft.size() == in_vRight.size() &&
           (in_vLeft.empty() || std::memcmp(in_vLeft.data(), in_vRight.data(), in_vLeft.size() * sizeof(double)) == 0);
}

std::string writeSoundFile(const std::string& in_strPath, const Math::DoubleVector& in_vSamples, int in_iSampleRate,
                           int in_iFormat, int in_iNbOfChannels)
{
    SF_INFO info = {};
    info.samplerate = in_iSampleRate;
    info.channels = in_iNbOfChannels;
    info.format = in_iFormat;
    SNDFILE* pFile = sf_open(in_strPath.c_str(), SFM_WRITE, &info);
    if (pFile == nullptr)
        throw std::runtime_error("cannot write " + in_strPath);
    const auto iNbOfSamples = static_cast<sf_count_t>(in_vSamples.size());
    const sf_count_t iNbWritten = sf_write_double(pFile, in_vSamples.data(), iNbOfSamples);
    sf_close(pFile);
    if (iNbWritten != iNbOfSamples)
        throw std::runtime_error("cannot write all of " + in_strPath);
    return in_strPath;
}

} // namespace Corvana::Test
