// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Corvana::Tools {

/// The samples in a window of whole milliseconds, as the windower counts them.
unsigned long windowSamples(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs);

/// Window lengths in whole milliseconds that give a power of two samples at a rate, 2 to 65536 samples; ascending, the
/// shortest length for each power.
std::vector<unsigned long> powerOfTwoWindowsMs(unsigned long in_uiSampleRate);

/// What to do about a window that is no power of two: the up to three lengths nearest to the one that was asked for,
/// or, at a rate that has none, other ways.
std::string powerOfTwoAdvice(unsigned long in_uiSampleRate, unsigned long in_uiWindowMs);

} // namespace Corvana::Tools
