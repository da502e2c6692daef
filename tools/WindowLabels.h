// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"
#include "tools/LogBridge.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// The labels of a recording for one moment after another. A region covers its start, but no longer its stop.
class WindowLabels
{
public:
    /// Reads the regions of a recording; returns why there are none to be had, empty for success. A pipe is not opened:
    /// what it gives is needed for the audio. Also tells whether what failed is the system and not the recording.
    std::string read(const std::string& in_strPath, LogBridge& inout_log, bool& out_bSystemFailed);

    /// Goes on to a moment; moments may not go back. True: other regions cover it than the one before.
    bool advanceTo(double in_dSeconds);
    /// The types of the regions that cover the moment, in the file's order. None before the first one.
    const std::vector<std::string>& get() const { return m_vLabels; }

private:
    using Regions = std::vector<Audio::AnnotatedFile::Annotation>;

    void refresh();

    Regions m_vRegions;                  // in the file's order
    std::vector<std::size_t> m_vByStart; // indices of regions
    std::size_t m_uiNext = 0;            // in m_vByStart: the first one that has not begun
    std::vector<std::size_t> m_vCurrent; // those that cover the moment, in order
    std::vector<std::string> m_vLabels;  // their types
};

} // namespace Corvana::Tools
