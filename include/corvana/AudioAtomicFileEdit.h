// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <functional>
#include <memory>
#include <string>

namespace Corvana::Audio {

/// Changes a recording so that its name always stands for the whole old file or the whole new one, also when the
/// program is killed, the machine stops or the disk is full.
///
/// A copy in the same folder is worked on; commit() puts it in the original's place after verifying that the audio
/// bytes ("data" chunk) are the same in both and that everything is on the disk. Mode, owner, times and extended
/// attributes (access control lists among them) are those of the original, as far as the system allows; symbolic links
/// stay, their target is replaced. A file with several names (hard links) is refused, since replacing one would part it
/// from the others; so is one that may not be written.
///
/// While the object exists, other edits of the same file wait for it, also those of other programs; file systems
/// without locks (flock) do not have that. A file that someone changes without waiting is left as he made it: commit()
/// refuses. Copies that a killed program left behind are removed by the next program that edits in the folder.
///
/// Failures are logged by "kestrivon.audio.AtomicFileEdit". One thread at a time uses an object.
class CORVANA_API AtomicFileEdit
{
public:
    /// Told the working copy's name as soon as it exists, and "" once it is gone: for a program that removes it when a
    /// signal ends it. Signals are blocked in the calling thread meanwhile, so that none comes in between.
    using WorkingFileListener = std::function<void(const char*)>;

    static constexpr unsigned s_uiMaxWaitMs = 10000;

    /// Makes the working copy, once no one else edits the file, or in_uiMaxWaitMs passed. When that fails the object is
    /// not open, and getFault() says why.
    explicit AtomicFileEdit(const char* in_szFileName, WorkingFileListener in_listener = {},
                            unsigned in_uiMaxWaitMs = s_uiMaxWaitMs);
    /// Removes the working copy, unless it was committed.
    ~AtomicFileEdit();
    AtomicFileEdit(const AtomicFileEdit&) = delete;
    AtomicFileEdit& operator=(const AtomicFileEdit&) = delete;

    bool isOpen() const;
    /// The file to apply operations to: an absolute path. It may also be removed and written anew. "" when not open.
    const char* workingFileName() const;
    /// Gives the working copy the original's name. The edit is over then, one way or the other. False: the file is as
    /// it was, and getFault() says why. Only where the file system cannot swap two names (or swap them back), and fails
    /// to write the folder to the disk, the name already stands for the new file; the fault says so then.
    bool commit();

    /// Why the edit could not begin or be committed, for people; ends with the file's name. Empty when nothing failed.
    const std::string& getFault() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Corvana::Audio
