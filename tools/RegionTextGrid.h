// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/RegionCollector.h"

namespace Corvana::Tools {

/// Praat's TextGrid, for writeRegions().
void writeTextGrid(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions, double in_dDurationSeconds);

/// Gathers the regions of a TextGrid in UTF-8, in the long or the short text format: intervals with a text and points,
/// tier by tier.
void readTextGrid(std::string_view in_strText, RegionCollector& inout_regions);

} // namespace Corvana::Tools
