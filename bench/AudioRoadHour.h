// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BenchSupport.h"

#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>

namespace Corvana::Bench {

constexpr std::size_t s_uiRoadRate = 8000;
constexpr std::size_t s_uiRoadFrames = 3600UL * s_uiRoadRate;

struct RoadBand
{
    unsigned long m_uiCenterHz;
    unsigned long m_uiHalfWidthHz;
};

/// Where telephones' tones lie.
constexpr std::array<RoadBand, 4> s_aRoadBands = {{{425, 50}, {950, 100}, {1400, 100}, {2100, 150}}};

/// An hour of 16-bit PCM in memory: a tone that comes and goes, and noise; values of every size, as calls have them. It
/// is made once for all.
class RoadHour
{
public:
    static const RoadHour& get()
    {
        static const RoadHour s_hour;
        return s_hour;
    }
    RoadHour(const RoadHour&) = delete;
    RoadHour& operator=(const RoadHour&) = delete;

    const char* path() const { return m_strPath.c_str(); }

private:
    RoadHour()
        : m_iDescriptor(memfd_create("hour", MFD_CLOEXEC))
        , m_strPath("/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_iDescriptor))
    {
        SF_INFO info = {};
        info.samplerate = static_cast<int>(s_uiRoadRate);
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(m_strPath.c_str(), SFM_WRITE, &info),
                                                                  sf_close);
        const Math::DoubleVector vNoise = noise(s_uiRoadRate);
        Math::DoubleVector vSecond(s_uiRoadRate);
        for (std::size_t uiSecond = 0; uiSecond < s_uiRoadFrames / s_uiRoadRate; ++uiSecond) {
            const double dTone = uiSecond % 3 == 0 ? 0.4 : 0.0;
            for (std::size_t uiSample = 0; uiSample < s_uiRoadRate; ++uiSample)
                vSecond[uiSample] = dTone * std::sin(0.33 * static_cast<double>(uiSample)) +
                                    0.01 * static_cast<double>(uiSecond % 7) * vNoise[uiSample];
            if (sf_write_double(pFile.get(), vSecond.data(), s_uiRoadRate) != s_uiRoadRate)
                throw std::runtime_error("cannot write the sound");
        }
    }
    ~RoadHour() { close(m_iDescriptor); }

    int m_iDescriptor;
    std::string m_strPath;
};

} // namespace Corvana::Bench
