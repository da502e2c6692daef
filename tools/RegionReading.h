// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"
#include "tools/LogBridge.h"
#include "tools/RegionFormat.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// Reads the regions of a recording, but not its audio. What the library complains about is held by inout_log, which
/// the caller has told about the input. Returns why it failed, for people; empty when it did not.
std::string readRegionsOf(const std::string& in_strPath, Audio::AnnotatedFile& out_file, LogBridge& inout_log);

/// Also tells whether what failed is the system (a file that may not be read, a disk, no memory) and not the recording.
std::string readRegionsOf(const std::string& in_strPath, Audio::AnnotatedFile& out_file, LogBridge& inout_log,
                          bool& out_bSystemFailed);

/// The regions of a recording, without the cue identifiers that it skips: these are no regions, and nobody could write
/// them again. The others keep the indices that they have in the recording.
std::vector<LabeledRegion> labeledRegionsOf(const Audio::AnnotatedFile& in_file);

/// The length of the audio in seconds. Only when the regions were read.
double secondsOf(const Audio::AnnotatedFile& in_file);

} // namespace Corvana::Tools
