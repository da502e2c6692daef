// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// A comment that another program attached to a cue point ("note" chunk). Rewriting the regions of a file removes it.
struct RegionNote
{
    std::uint32_t m_uiCueId = 0;
    double m_dStart = -1.0; ///< seconds; negative: there is no such cue point
    std::string m_strText;  ///< bytes as they are

    bool operator==(const RegionNote&) const = default;
};

using RegionNotes = std::vector<RegionNote>;
/// The notes of recordings, by their paths.
using NotesOfFiles = std::map<std::string, RegionNotes>;

/// The notes of a recording, in the order of the file.
RegionNotes notesIn(Audio::AnnotatedFile& inout_file);
/// How many more there are that are too short to name their cue point.
unsigned long nbOfShortNotes(Audio::AnnotatedFile& inout_file);

/// Adds notes to a JSON file of notes, or makes it: an array of objects with the keys file, cue, start and text, and,
/// for a text that is no UTF-8, hex with its bytes. What is there already is kept, and not added again. The file is
/// complete or as it was, and never one of those that the run reads. Returns why it failed; empty when it did not.
std::string saveNotes(const std::string& in_strPath, const NotesOfFiles& in_notes,
                      const std::vector<std::string>& in_vRead);

} // namespace Corvana::Tools
