// SPDX-License-Identifier: Apache-2.0
#include "AudioAtomicFileEditParts.h"

#include "corvana/IFFParser.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/fs.h>
#include <string_view>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Corvana::Audio::AtomicEdit {
namespace {

// Two of them fit into a processor's own memory.
constexpr std::size_t s_uiBlockSize = 1 << 18;

// Repeats a system call that a signal interrupted.
template <class CallT>
auto uninterrupted(CallT in_call)
{
    auto iResult = in_call();
    while (iResult < 0 && errno == EINTR)
        iResult = in_call();
    return iResult;
}

int writeAll(int in_iTo, std::string_view in_strBytes)
{
    while (!in_strBytes.empty()) {
        const ssize_t iWritten = uninterrupted([=] { return ::write(in_iTo, in_strBytes.data(), in_strBytes.size()); });
        if (iWritten < 0)
            return errno;
        in_strBytes.remove_prefix(static_cast<std::size_t>(iWritten));
    }
    return 0;
}

int copyBlocks(int in_iFrom, int in_iTo)
{
    std::vector<char> vBlock(s_uiBlockSize);
    for (;;) {
        const ssize_t iRead = uninterrupted([&] { return ::read(in_iFrom, vBlock.data(), vBlock.size()); });
        if (iRead <= 0)
            return iRead == 0 ? 0 : errno;
        const int iError = writeAll(in_iTo, {vBlock.data(), static_cast<std::size_t>(iRead)});
        if (iError != 0)
            return iError;
    }
}

// What an ordinary user, or this file system, may not do.
bool isNotAllowed(int in_iError)
{
    return in_iError == EPERM || in_iError == EACCES || in_iError == ENOTSUP || in_iError == EINVAL ||
           in_iError == ENOSYS;
}

int unlessNotAllowed(int in_iResult)
{
    return in_iResult == 0 || isNotAllowed(errno) ? 0 : errno;
}

int copyOwner(const struct stat& in_status, int in_iTo)
{
    struct stat present = {};
    if (fstat(in_iTo, &present) != 0)
        return errno;
    if (present.st_uid != in_status.st_uid && fchown(in_iTo, in_status.st_uid, in_status.st_gid) == 0)
        return 0;
    // The group alone is allowed to those who belong to it.
    return present.st_gid == in_status.st_gid ? 0 : unlessNotAllowed(fchown(in_iTo, uid_t(-1), in_status.st_gid));
}

int copyMode(const struct stat& in_status, int in_iTo)
{
    struct stat present = {};
    if (fstat(in_iTo, &present) != 0)
        return errno;
    // Lending someone's identity was the former owner's decision, which holds for himself only.
    mode_t mode = in_status.st_mode & 07777U;
    if (present.st_uid != in_status.st_uid)
        mode &= ~mode_t{S_ISUID};
    if (present.st_gid != in_status.st_gid)
        mode &= ~mode_t{S_ISGID};
    return unlessNotAllowed(fchmod(in_iTo, mode));
}

int listAttributes(int in_iFile, std::vector<std::string>& out_vNames)
{
    std::string strNames;
    for (;;) {
        const ssize_t iNeeded = flistxattr(in_iFile, nullptr, 0);
        if (iNeeded < 0)
            return unlessNotAllowed(-1);
        strNames.resize(static_cast<std::size_t>(iNeeded));
        const ssize_t iLength = flistxattr(in_iFile, strNames.data(), strNames.size());
        if (iLength < 0 && errno != ERANGE) // they grew in between
            return unlessNotAllowed(-1);
        if (iLength >= 0) {
            strNames.resize(static_cast<std::size_t>(iLength));
            break;
        }
    }
    for (std::size_t uiBegin = 0; uiBegin < strNames.size(); uiBegin += std::strlen(&strNames[uiBegin]) + 1)
        out_vNames.emplace_back(&strNames[uiBegin]);
    return 0;
}

int copyAttribute(int in_iFrom, const char* in_szName, int in_iTo)
{
    std::vector<char> vValue(std::size_t{1} << 16); // XATTR_SIZE_MAX
    const ssize_t iLength = fgetxattr(in_iFrom, in_szName, vValue.data(), vValue.size());
    if (iLength < 0)
        return errno == ENODATA ? 0 : unlessNotAllowed(-1);
    return unlessNotAllowed(fsetxattr(in_iTo, in_szName, vValue.data(), static_cast<std::size_t>(iLength), 0));
}

// A signature of the contents would lock everyone out of the new ones.
bool belongsToContents(const std::string& in_strAttribute)
{
    return in_strAttribute == "security.ima" || in_strAttribute == "security.evm";
}

int copyExtendedAttributes(int in_iFrom, int in_iTo)
{
    std::vector<std::string> vWanted;
    std::vector<std::string> vPresent;
    int iError = listAttributes(in_iFrom, vWanted);
    if (iError == 0)
        iError = listAttributes(in_iTo, vPresent);
    // A folder may give its new files an access control list that the original has not got.
    for (const std::string& strName : vPresent)
        if (iError == 0 && std::find(vWanted.begin(), vWanted.end(), strName) == vWanted.end() &&
            fremovexattr(in_iTo, strName.c_str()) != 0 && errno != ENODATA)
            iError = unlessNotAllowed(-1);
    for (const std::string& strName : vWanted)
        if (iError == 0 && !belongsToContents(strName))
            iError = copyAttribute(in_iFrom, strName.c_str(), in_iTo);
    return iError;
}

struct Extent
{
    std::uint64_t m_uiOffset;
    std::uint64_t m_uiLength;
};

bool findAudio(const std::string& in_strFile, std::vector<Extent>& out_vAudio)
{
    constexpr std::uint64_t uiHeaderSize = 8;
    std::ifstream stream(in_strFile, std::ios::binary);
    IFF::IFFParser parser;
    if (!parser.readWithoutAudio(stream))
        return false;
    IFF::ChunkPos pos;
    for (bool bFound = parser.find(IFF::Chunk::makeId("data"), pos); bFound; bFound = parser.findNext(pos))
        out_vAudio.push_back({pos.chunk().m_uiFileOffset + uiHeaderSize, pos.chunk().m_uiSizeLeftInFile});
    return true;
}

bool readBlock(const Descriptor& in_file, std::uint64_t in_uiOffset, std::size_t in_uiLength, std::vector<char>& out_v)
{
    out_v.resize(in_uiLength);
    std::size_t uiRead = 0;
    while (uiRead < in_uiLength) {
        const ssize_t iRead = uninterrupted([&] {
            return pread(in_file.get(), &out_v[uiRead], in_uiLength - uiRead, static_cast<off_t>(in_uiOffset + uiRead));
        });
        if (iRead < 0)
            return false;
        if (iRead == 0) {
            errno = ENODATA; // somebody cut the file meanwhile
            return false;
        }
        uiRead += static_cast<std::size_t>(iRead);
    }
    return true;
}

/// Compares two files in blocks of its own.
class Comparison
{
public:
    Comparison(const Descriptor& in_original, const Descriptor& in_edited)
        : m_original(in_original)
        , m_edited(in_edited)
    {
    }

    /// What is wrong, for people.
    std::string compare(const Extent& in_original, const Extent& in_edited)
    {
        constexpr const char* szChanged = "its audio would change";
        if (in_original.m_uiLength != in_edited.m_uiLength)
            return szChanged;
        for (std::uint64_t uiDone = 0; uiDone < in_original.m_uiLength; uiDone += s_uiBlockSize) {
            const auto uiLength =
                static_cast<std::size_t>(std::min<std::uint64_t>(s_uiBlockSize, in_original.m_uiLength - uiDone));
            if (!readBlock(m_original, in_original.m_uiOffset + uiDone, uiLength, m_vOriginal) ||
                !readBlock(m_edited, in_edited.m_uiOffset + uiDone, uiLength, m_vEdited))
                return "could not verify its audio, " + std::generic_category().message(errno);
            if (m_vOriginal != m_vEdited)
                return szChanged;
        }
        return {};
    }

private:
    const Descriptor& m_original;
    const Descriptor& m_edited;
    std::vector<char> m_vOriginal;
    std::vector<char> m_vEdited;
};

} // namespace

Descriptor::Descriptor(int in_iDescriptor)
    : m_iDescriptor(in_iDescriptor)
{
}

Descriptor::~Descriptor()
{
    close();
}

Descriptor& Descriptor::operator=(Descriptor&& inout_other) noexcept
{
    std::swap(m_iDescriptor, inout_other.m_iDescriptor); // which closes what this one had
    return *this;
}

int Descriptor::close()
{
    // Not repeated when interrupted: the descriptor is gone then, and its number may be another thread's already.
    const int iFormerError = errno;
    const int iError = m_iDescriptor < 0 || ::close(m_iDescriptor) == 0 || errno == EINTR ? 0 : errno;
    m_iDescriptor = -1;
    errno = iFormerError;
    return iError;
}

Descriptor openFile(const std::string& in_strPath, int in_iFlags)
{
    return Descriptor(uninterrupted(
        [&] { return ::open(in_strPath.c_str(), in_iFlags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY); }));
}

bool isSameFile(const struct stat& in_left, const struct stat& in_right)
{
    return in_left.st_dev == in_right.st_dev && in_left.st_ino == in_right.st_ino;
}

bool isNameOf(const std::string& in_strPath, const struct stat& in_status)
{
    struct stat named = {};
    return lstat(in_strPath.c_str(), &named) == 0 && isSameFile(named, in_status);
}

int lockNow(const Descriptor& in_file)
{
    return uninterrupted([&] { return flock(in_file.get(), LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
}

bool isWithoutLocks(int in_iError)
{
    return in_iError == ENOLCK || in_iError == ENOTSUP || in_iError == EINVAL || in_iError == ENOSYS;
}

int copyContents(const Descriptor& in_from, const Descriptor& in_to)
{
    // Sharing the blocks costs nothing; it fails for many reasons, all of them unimportant or met again below.
    if (ioctl(in_to.get(), FICLONE, in_from.get()) == 0)
        return 0;
    // Where the kernel would copy by itself, it takes longer: 50 ms for 100 MB on ext4, as against 30.
    return copyBlocks(in_from.get(), in_to.get());
}

int copyAttributes(const Descriptor& in_original, const struct stat& in_status, const Descriptor& in_to)
{
    // A new owner takes set-id bits away, writing attributes needs the right to write, which the mode may not give, and
    // both change times.
    int iError = copyOwner(in_status, in_to.get());
    if (iError == 0)
        iError = copyExtendedAttributes(in_original.get(), in_to.get());
    if (iError == 0)
        iError = copyMode(in_status, in_to.get());
    const struct timespec aTimes[] = {in_status.st_atim, in_status.st_mtim};
    return iError == 0 ? unlessNotAllowed(futimens(in_to.get(), aTimes)) : iError;
}

std::string compareAudio(const std::string& in_strOriginal, const std::string& in_strEdited)
{
    std::vector<Extent> vOriginal;
    std::vector<Extent> vEdited;
    if (!findAudio(in_strOriginal, vOriginal))
        return "it cannot be read as a WAV file";
    if (!findAudio(in_strEdited, vEdited))
        return "the edited copy cannot be read as a WAV file";
    if (vOriginal.size() != vEdited.size())
        return "the number of its chunks \"data\" would change";
    const Descriptor original = openFile(in_strOriginal, O_RDONLY);
    const Descriptor edited = openFile(in_strEdited, O_RDONLY);
    if (!original.isOpen() || !edited.isOpen())
        return "could not verify its audio, " + std::generic_category().message(errno);
    Comparison comparison(original, edited);
    std::string strFault;
    for (std::size_t uiIndex = 0; uiIndex < vOriginal.size() && strFault.empty(); ++uiIndex)
        strFault = comparison.compare(vOriginal[uiIndex], vEdited[uiIndex]);
    return strFault;
}

} // namespace Corvana::Audio::AtomicEdit
