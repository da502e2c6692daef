// SPDX-License-Identifier: Apache-2.0
#include "tools/WindowAdvice.h"

#include "tools/Text.h"

#include <algorithm>
#include <cmath>

namespace Corvana::Tools {
namespace {

constexpr unsigned long s_uiMaxSamples = 65536;

// Lengths feel near in their ratio: 8 and 32 ms are equally far from 16 ms.
double distance(unsigned long in_uiLeftMs, unsigned long in_uiRightMs)
{
    return std::abs(std::log(static_cast<double>(in_uiLeftMs) / static_cast<double>(in_uiRightMs)));
}

std::string listed(unsigned long in_uiSampleRate, const std::vector<unsigned long>& in_vWindowsMs)
{
    std::vector<std::string> vTexts;
    vTexts.reserve(in_vWindowsMs.size());
    for (const unsigned long uiMs : in_vWindowsMs)
        vTexts.push_back(std::to_string(uiMs) + " ms (" + std::to_string(windowSamples(in_uiSampleRate, uiMs)) + ")");
    return joined(vTexts);
}

} // namespace

unsigned long windowSamples(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs)
{
    return std::max(1UL, in_uiWindowMs * in_uiSampleRate / 1000);
}

std::vector<unsigned long> powerOfTwoWindowsMs(unsigned long in_uiSampleRate)
{
    std::vector<unsigned long> vWindowsMs;
    for (unsigned long uiSamples = 2; uiSamples <= s_uiMaxSamples && in_uiSampleRate > 0; uiSamples *= 2) {
        const unsigned long uiMs = (uiSamples * 1000 + in_uiSampleRate - 1) / in_uiSampleRate;
        if (windowSamples(in_uiSampleRate, uiMs) == uiSamples)
            vWindowsMs.push_back(uiMs);
    }
    return vWindowsMs;
}

std::string powerOfTwoAdvice(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs)
{
    std::vector<unsigned long> vWindowsMs = powerOfTwoWindowsMs(in_uiSampleRate);
    const std::string strRate = std::to_string(in_uiSampleRate) + " Hz";
    if (vWindowsMs.empty())
        return "no length in whole milliseconds gives one at " + strRate +
               ": convert the recording with 'sox IN -r 8000 OUT', or cut windows as for 8000 Hz with --sample-rate "
               "8000";
    constexpr std::size_t uiMaxProposals = 3;
    std::stable_sort(vWindowsMs.begin(), vWindowsMs.end(), [&](unsigned long in_uiLeftMs, unsigned long in_uiRightMs) {
        return distance(in_uiLeftMs, in_uiWindowMs) < distance(in_uiRightMs, in_uiWindowMs);
    });
    vWindowsMs.resize(std::min(vWindowsMs.size(), uiMaxProposals));
    std::sort(vWindowsMs.begin(), vWindowsMs.end());
    return "at " + strRate + " these --window-ms give one: " + listed(in_uiSampleRate, vWindowsMs);
}

} // namespace Corvana::Tools
