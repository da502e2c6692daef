// SPDX-License-Identifier: Apache-2.0
// Any sequence of configurations, pushes, pops, resets and copies, side by side with a windower over a std::deque that
// is as plain as can be: windows and clock agree bit for bit.
#include "FuzzSupport.h"

#include "corvana/AudioLinearWindower.h"

#include <deque>
#include <memory>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Audio::LinearAudioWindower;

class PlainWindower
{
public:
    bool configure(const LinearAudioWindower::Config& in_config)
    {
        m_config = in_config;
        m_uiWindow = in_config.m_uiWindowSizeMs * in_config.m_uiSampleRate / 1000;
        if (m_uiWindow == 0)
            m_uiWindow = 1;
        m_uiOverlap = in_config.m_uiWindowOverlapMs * in_config.m_uiSampleRate / 1000;
        if (m_uiOverlap >= m_uiWindow)
            return false;
        m_dHop =
            (static_cast<double>(in_config.m_uiWindowSizeMs) - static_cast<double>(in_config.m_uiWindowOverlapMs)) /
            1000.0;
        return true;
    }
    void reset()
    {
        m_samples.clear();
        m_bFirst = true;
        m_dTime = 0.0;
    }
    void push(const std::vector<double>& in_vSamples)
    {
        m_samples.insert(m_samples.end(), in_vSamples.begin(), in_vSamples.end());
    }
    bool pop(std::vector<double>& out_vWindow)
    {
        out_vWindow.clear();
        if (m_samples.size() < m_uiWindow || m_uiOverlap >= m_uiWindow)
            return false;
        const auto windowEnd = m_samples.begin() + static_cast<std::ptrdiff_t>(m_uiWindow);
        out_vWindow.assign(m_samples.begin(), windowEnd);
        if (m_config.m_bSuppressDCOffset)
            subtractMean(out_vWindow);
        m_samples.erase(m_samples.begin(), windowEnd - static_cast<std::ptrdiff_t>(m_uiOverlap));
        m_dTime += m_bFirst ? static_cast<double>(m_config.m_uiWindowSizeMs) / 1000.0 : m_dHop;
        m_bFirst = false;
        return true;
    }
    double time() const { return m_dTime; }

private:
    static void subtractMean(std::vector<double>& inout_vWindow)
    {
        double dSum = 0.0;
        for (const double dSample : inout_vWindow)
            dSum += dSample;
        const double dMean = dSum / static_cast<double>(inout_vWindow.size());
        for (double& dSample : inout_vWindow)
            dSample -= dMean;
    }

    LinearAudioWindower::Config m_config;
    std::uint64_t m_uiWindow = 128;
    std::uint64_t m_uiOverlap = 0;
    double m_dHop = 0.016;
    std::deque<double> m_samples;
    double m_dTime = 0.0;
    bool m_bFirst = true;
};

LinearAudioWindower::Config takeConfig(ByteReader& inout_input)
{
    // Rates of telephony, small ones that make small windows, and any number at all.
    static constexpr unsigned long s_auiRates[] = {8000, 16000, 44100, 11025, 1000, 100, 1, 0};
    LinearAudioWindower::Config config;
    const std::uint8_t uiKind = inout_input.takeByte();
    config.m_uiSampleRate = uiKind % 16 == 15 ? inout_input.takeUpTo(~0UL) : s_auiRates[uiKind % 8];
    config.m_uiWindowSizeMs = uiKind % 32 == 31 ? inout_input.takeUpTo(~0UL) : inout_input.takeByte() % 64U;
    config.m_uiWindowOverlapMs = uiKind % 64 == 63 ? inout_input.takeUpTo(~0UL) : inout_input.takeByte() % 64U;
    config.m_bSuppressDCOffset = (uiKind & 128U) != 0;
    return config;
}

std::vector<double> takeSamples(ByteReader& inout_input)
{
    const std::uint8_t uiKind = inout_input.takeByte();
    const std::size_t uiCount = uiKind < 240 ? uiKind : 2000U;
    const double dFirst = inout_input.takeDouble();
    std::vector<double> vSamples(uiCount);
    for (std::size_t uiIndex = 0; uiIndex < uiCount; ++uiIndex)
        vSamples[uiIndex] = uiIndex % 7 == 3 ? dFirst : static_cast<double>((uiIndex * 37 + uiKind) % 251) / 125.0;
    return vSamples;
}

void requirePop(LinearAudioWindower& inout_windower, PlainWindower& inout_plain)
{
    Math::DoubleVector vWindow = {7.0};
    std::vector<double> vPlain;
    CORVANA_FUZZ_REQUIRE(inout_windower.popWindow(vWindow) == inout_plain.pop(vPlain));
    CORVANA_FUZZ_REQUIRE(sameValues(vWindow, vPlain));
}

void push(LinearAudioWindower& inout_windower, PlainWindower& inout_plain, const std::vector<double>& in_vSamples)
{
    CORVANA_FUZZ_REQUIRE(inout_windower.pushAudio(in_vSamples.data(), in_vSamples.data() + in_vSamples.size()));
    inout_plain.push(in_vSamples);
}

void reset(LinearAudioWindower& inout_windower, PlainWindower& inout_plain)
{
    CORVANA_FUZZ_REQUIRE(inout_windower.reset());
    inout_plain.reset();
}

void perform(ByteReader& inout_input, std::unique_ptr<LinearAudioWindower>& inout_pWindower, PlainWindower& inout_plain)
{
    switch (inout_input.takeByte() % 8) {
    case 0: {
        const LinearAudioWindower::Config config = takeConfig(inout_input);
        CORVANA_FUZZ_REQUIRE(inout_pWindower->configure(config) == inout_plain.configure(config));
        break;
    }
    case 1:
        reset(*inout_pWindower, inout_plain);
        break;
    case 2:
        inout_pWindower = std::make_unique<LinearAudioWindower>(*inout_pWindower);
        break;
    case 3:
    case 4:
        push(*inout_pWindower, inout_plain, takeSamples(inout_input));
        break;
    default:
        requirePop(*inout_pWindower, inout_plain);
    }
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const LeakCheck leakCheck;
    ByteReader input(in_pData, in_uiSize);
    auto pWindower = std::make_unique<Corvana::Audio::LinearAudioWindower>();
    PlainWindower plain;
    for (int iStep = 0; iStep < 300 && !input.empty(); ++iStep) {
        perform(input, pWindower, plain);
        CORVANA_FUZZ_REQUIRE(sameValue(pWindower->getCurrentAudioTime(), plain.time()));
    }
    for (int iPop = 0; iPop < 8; ++iPop)
        requirePop(*pWindower, plain);
}
