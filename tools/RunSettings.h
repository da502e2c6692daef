// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/RecordingAnalysis.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// What a run computes, as --save-config keeps it and --config reads it back: how recordings are cut into windows, and
/// the features. A portable XML archive of a LinearAudioWindower::Config (its sample rate is 0 for each recording's
/// own) and a feature computer, which programs can read too.
struct RunSettings
{
    WindowOptions m_windows;
    std::vector<std::string> m_vFeatures;

    /// Writes the archive, complete or not at all, and never over one of the files that the run reads; returns why it
    /// failed, empty when it did not.
    static std::string save(const std::string& in_strPath, const RunSettings& in_settings,
                            const std::vector<std::string>& in_vRead = {});
    /// Returns what is wrong with the archive; empty for a good one.
    static std::string load(const std::string& in_strPath, RunSettings& out_settings);
};

} // namespace Corvana::Tools
