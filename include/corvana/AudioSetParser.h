// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace Corvana::Audio {

/// Walks a list of sound files: a text file with one path a line, where empty lines and lines that begin with "#" are
/// ignored and nothing is trimmed. A relative entry is looked for in the list file's folder, then in the folder that
/// the environment variable CORVANA_CPA_DATA names.
/// Order of calls: setAudioSetFilename(), gotoFirstAudioFile(), then getNextAudioFile() until it returns null.
class CORVANA_API AudioSetParser
{
public:
    /// Appends the list's entries to those already read. False, with nothing changed: the list cannot be opened, or not
    /// be read to its end (logged at error level).
    bool setAudioSetFilename(const char* in_szFileName);
    /// False when the list is empty.
    bool gotoFirstAudioFile();
    /// The full path of the next entry, or null behind the last one. An entry for which no file is found is logged at
    /// error level and comes as an empty text. The text holds until the next call.
    const char* getNextAudioFile();
    /// The entry last handed out is the last one, or none is left. A list of one entry is at its end from the start.
    bool atEnd() const;

    /// Resolves one entry: its full path, or an empty text when no file is found.
    const char* getFullFilename(const char* in_szEntry);
    /// A regular file that can be opened for reading. Pipes and devices do not count: opening one could block.
    bool doesFileExist(const char* in_szPath) const;

    /// The entry last handed out, as the list spells it; empty before the first and behind the last one.
    std::string getCurrentEntry() const;

private:
    void resolveRelative(const std::string& in_strEntry);
    std::string besideList(const std::string& in_strEntry) const;

    std::string m_strListFileName;
    std::vector<std::string> m_vEntries;
    std::size_t m_uiCurrentEntry = std::numeric_limits<std::size_t>::max(); // past the end until gotoFirstAudioFile()
    bool m_bFirst = false;
    std::string m_strFullFileName;
};

} // namespace Corvana::Audio
