// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Tools {

/// Writes a recording anew, as a whole or not at all, so that nothing is left of what AnnotationChecker calls mendable.
/// The regions stay as they are read, but for gaps between cue identifiers, which are closed, and for what lies behind
/// the end of the audio, which is cut. Refuses what would lose notes or, read again, not be what was meant. Not for a
/// file with errors. Returns why it failed, for people; empty when it did not.
std::string mendRecording(const std::string& in_strPath);

} // namespace Corvana::Tools
