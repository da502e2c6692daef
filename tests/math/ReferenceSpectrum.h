// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace Corvana::Test {

// The spectrum features in their plain form, step by step, on standard vectors; the measure of the library's results
// bit for bit.

/// Hann coefficients of a window of this many samples.
std::vector<double> referenceHannWindow(unsigned long in_uiSize);
/// n/2 normalised powers of a window of n samples; n is a power of two of at least 2.
std::vector<double> referencePowerSpectrum(const std::vector<double>& in_vWindow);
/// A spectrum summed into bands; at least one band.
std::vector<double> referenceReducedSpectrum(const std::vector<double>& in_vSpectrum, unsigned long in_uiNbOfBands);
/// Flatness of a spectrum.
double referenceFlatness(const std::vector<double>& in_vSpectrum);

} // namespace Corvana::Test
