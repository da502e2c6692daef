// SPDX-License-Identifier: Apache-2.0
#include "tools/WindowSource.h"

#include <algorithm>

namespace Corvana::Tools {

bool FileWindowSource::open(const char* in_szFileName)
{
    m_uiNbOfFramesRead = 0;
    return setSourceAudioFile(in_szFileName);
}

bool FileWindowSource::configureWindows(const Audio::LinearAudioWindower::Config& in_config)
{
    return configure(in_config);
}

bool FileWindowSource::getNextLinearFrames(Math::DoubleVector& out_vFrames)
{
    if (!WindowedAudioFileReader::getNextLinearFrames(out_vFrames))
        return false;
    m_uiNbOfFramesRead += out_vFrames.size();
    return true;
}

void MemoryWindowSource::open(std::span<const double> in_samples, unsigned long in_uiSampleRate)
{
    m_samples = in_samples;
    m_uiSampleRate = in_uiSampleRate;
    m_uiNbOfSamplesRead = 0;
}

bool MemoryWindowSource::configureWindows(const Audio::LinearAudioWindower::Config& in_config)
{
    return m_windower.configure(in_config) && m_windower.reset();
}

// The windower copies what it is given, so it gets little at a time.
bool MemoryWindowSource::getWindow(Math::DoubleVector& out_vWindow)
{
    constexpr std::size_t uiMaxPushed = 16384;
    while (!m_windower.popWindow(out_vWindow)) {
        const std::span<const double> rest = m_samples.subspan(m_uiNbOfSamplesRead);
        if (rest.empty())
            return false;
        const std::span<const double> pushed = rest.first(std::min(rest.size(), uiMaxPushed));
        m_windower.pushLinearAudio(pushed.data(), pushed.data() + pushed.size());
        m_uiNbOfSamplesRead += pushed.size();
    }
    return true;
}

} // namespace Corvana::Tools
