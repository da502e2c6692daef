// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Tools {

/// What is to take a file's place when it is complete. It has no name while it is written, so that nothing stays behind
/// however the program ends. Where the file system knows no files without a name it has a temporary one; then it, or a
/// program that is killed between the two steps that replace a file, leaves that behind, and the next program that
/// makes such a file in that folder removes it.
class TemporaryFile
{
public:
    TemporaryFile() = default;
    ~TemporaryFile() { discard(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Opens it for writing, beside the file whose place it is to take. False, with errno: that is not possible.
    bool make(const std::string& in_strTarget, unsigned in_uiMode);
    bool isOpen() const { return m_iDescriptor >= 0; }
    int getDescriptor() const { return m_iDescriptor; }

    /// Waits until all of it is on the disk, closes it, and gives it the file's name. False, with errno: the file is
    /// as it was before.
    bool replace();
    /// As if it had never been.
    void discard();

private:
    bool makeUnnamed(unsigned in_uiMode);
    bool makeNamed();
    bool isLockedByItsName() const;
    bool giveName(int in_iDescriptor, std::string& inout_strTemporaryName);
    bool giveTemporaryName(const char* in_szSource, std::string& inout_strName);
    bool renameToTarget();
    void closeDescriptor();
    void forgetName();

    std::string m_strTarget;
    std::string m_strName; // empty: it has none
    int m_iDescriptor = -1;
};

} // namespace Corvana::Tools
