// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <sys/stat.h>

// What an edit of a file is made of: steps on open files. Errors are errno values, 0 for none.

namespace Corvana::Audio::AtomicEdit {

/// An open file, closed at the end.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int in_iDescriptor);
    ~Descriptor();
    Descriptor& operator=(Descriptor&& inout_other) noexcept;

    bool isOpen() const { return m_iDescriptor >= 0; }
    int get() const { return m_iDescriptor; }
    int close();

private:
    int m_iDescriptor = -1;
};

/// Never waits for the other end of a pipe, and hands nothing on to child processes.
Descriptor openFile(const std::string& in_strPath, int in_iFlags);

bool isSameFile(const struct stat& in_left, const struct stat& in_right);
/// Whether the path names this very file; a symbolic link does not.
bool isNameOf(const std::string& in_strPath, const struct stat& in_status);

/// Tries to get the file for itself; EWOULDBLOCK when another has it. The lock ends with the last descriptor of this
/// opening.
int lockNow(const Descriptor& in_file);
/// The error of a file system that has no locks.
bool isWithoutLocks(int in_iError);

/// Copies everything; both are read and written from where they stand, which must be the beginning.
int copyContents(const Descriptor& in_from, const Descriptor& in_to);

/// Gives a file the owner, group, mode, times and extended attributes in_original stands for, as far as the system
/// allows it. The status is taken as it is given, the attributes from the file.
int copyAttributes(const Descriptor& in_original, const struct stat& in_status, const Descriptor& in_to);

/// Whether both are WAV files with the same bytes of audio, read in small blocks; otherwise what is wrong, for people.
std::string compareAudio(const std::string& in_strOriginal, const std::string& in_strEdited);

} // namespace Corvana::Audio::AtomicEdit
