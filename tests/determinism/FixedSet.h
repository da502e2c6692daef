// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"

#include <string>
#include <vector>

namespace Corvana::Test {

/// What is computed of a recording, by what it asks the C library's mathematics for: its sin, cos, pow and log round
/// some values differently from version to version and from processor to processor.
struct Family
{
    const char* m_szName;
    std::vector<std::string> m_vDescriptions;
    std::vector<std::string> m_vFormulas; ///< over the window, "x"
};

/// "exact" asks for nothing, "sine" for sin and cos, "power" for pow as well, "logarithm" for log as well. Together
/// they hold every feature that has a name.
const std::vector<Family>& getFamilies();

/// The names of features that are in no family.
std::vector<std::string> getForgottenFeatures();

/// Writes the recordings made up for the hashes into a folder: tones, noise, clipped noise in 16 bits, silence, and
/// amplitudes so small that samples or their powers are subnormal. Made with integers and exact operations only, so
/// they are the same everywhere. Returns their paths, the sample call's last.
std::vector<std::string> writeRecordings(const std::string& in_strFolder);

/// How recordings are cut into windows.
struct Cut
{
    unsigned long m_uiWindowMs;
    unsigned long m_uiOverlapMs;
    bool m_bSuppressOffset;
};
const std::vector<Cut>& getCuts();

} // namespace Corvana::Test
