// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace Corvana::Tools {

/// What is to take a file's place when it is complete, and has a name beside it until then, so that another run can go
/// on with it: it stays when the program fails or is killed. Locked while it is open.
class PartialFile
{
public:
    PartialFile() = default;
    ~PartialFile() { close(); }
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// PATH.partial
    static std::string nameFor(const std::string& in_strTarget);

    /// Opens it for writing, or makes it. False, with errno: that is not possible; EWOULDBLOCK: another run has it.
    bool open(const std::string& in_strTarget, unsigned in_uiMode);
    bool isOpen() const { return m_iDescriptor >= 0; }
    int getDescriptor() const { return m_iDescriptor; }
    const std::string& getName() const { return m_strName; }
    /// False, with errno.
    bool getSize(std::uint64_t& out_uiNbOfBytes) const;

    /// Drops what stands behind so many bytes, and goes on there. False, with errno.
    bool cutTo(std::uint64_t in_uiNbOfBytes);
    /// Waits until all of it is on the disk, closes it, and gives it the file's name. False, with errno: it stays.
    bool replace();
    /// It stays.
    void close();
    void remove();

private:
    std::string m_strTarget;
    std::string m_strName;
    int m_iDescriptor = -1;
};

} // namespace Corvana::Tools
