// SPDX-License-Identifier: Apache-2.0
#include "tools/TemporaryFile.h"

#include "tools/LockedFile.h"
#include "tools/Termination.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Tools {
namespace {

// A temporary name is ".corvana-" and six letters or digits.
constexpr std::string_view s_strPrefix = ".corvana-";
constexpr std::string_view s_strSuffix = "XXXXXX";
constexpr std::string_view s_strLetters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int s_iMaxTrials = 100;

// By which an open file can be reached, whether or not it has a name. Needs no memory.
struct DescriptorPath
{
    explicit DescriptorPath(int in_iDescriptor)
    {
        std::snprintf(m_acText, sizeof m_acText, "/proc/self/fd/%d", in_iDescriptor);
    }

    char m_acText[32];
};

std::string temporaryNameIn(const std::string& in_strFolder)
{
    return in_strFolder + std::string(s_strPrefix) + std::string(s_strSuffix);
}

bool isTemporaryName(std::string_view in_strName)
{
    return in_strName.size() == s_strPrefix.size() + s_strSuffix.size() && in_strName.starts_with(s_strPrefix) &&
           in_strName.find_first_not_of(s_strLetters, s_strPrefix.size()) == std::string_view::npos;
}

// Whoever writes to it has locked it.
void removeIfAbandoned(const std::string& in_strPath)
{
    const int iFile = open(in_strPath.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (iFile < 0)
        return;
    struct stat status = {};
    if (fstat(iFile, &status) == 0 && S_ISREG(status.st_mode) && flock(iFile, LOCK_EX | LOCK_NB) == 0 &&
        isNameOf(in_strPath, iFile))
        unlink(in_strPath.c_str());
    close(iFile);
}

void removeAbandonedFiles(const std::string& in_strFolder)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(opendir(in_strFolder.c_str()), closedir);
    if (pFolder == nullptr)
        return; // may be written but not read
    while (const dirent* pEntry = readdir(pFolder.get()))
        if (isTemporaryName(pEntry->d_name))
            removeIfAbandoned(in_strFolder + pEntry->d_name);
}

// Not again for each of the many thousand files that may be written to a folder.
bool isFirstIn(const std::string& in_strFolder)
{
    static std::mutex s_mutex;
    static std::string s_strFolder;
    const std::lock_guard<std::mutex> guard(s_mutex);
    return std::exchange(s_strFolder, in_strFolder) != in_strFolder;
}

} // namespace

bool TemporaryFile::make(const std::string& in_strTarget, unsigned in_uiMode)
{
    m_strTarget = in_strTarget;
    const std::string strFolder = folderOf(in_strTarget);
    if (temporaryNameIn(strFolder).size() >= PATH_MAX) {
        errno = ENAMETOOLONG;
        return false;
    }
    if (isFirstIn(strFolder))
        removeAbandonedFiles(strFolder);
    return (makeUnnamed(in_uiMode) || makeNamed()) && fchmod(m_iDescriptor, in_uiMode) == 0;
}

// Whatever the reason is that it cannot be made, a file with a name meets it too, or can be made.
bool TemporaryFile::makeUnnamed(unsigned in_uiMode)
{
    m_iDescriptor = open(folderOf(m_strTarget).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, in_uiMode);
    if (m_iDescriptor < 0)
        return false;
    // The one road to a name, which not every container has.
    if (access(DescriptorPath(m_iDescriptor).m_acText, F_OK) == 0)
        return true;
    closeDescriptor();
    return false;
}

bool TemporaryFile::makeNamed()
{
    for (int iTrial = 0; iTrial < s_iMaxTrials; ++iTrial) {
        {
            std::string strName = temporaryNameIn(folderOf(m_strTarget));
            const Termination::Delay delay; // no file without someone who removes it
            m_iDescriptor = mkostemp(strName.data(), O_CLOEXEC);
            if (m_iDescriptor < 0)
                return false;
            m_strName = std::move(strName); // which needs no memory: the file exists, and has to go with this object
            Termination::addTemporaryFile(m_strName);
        }
        if (isLockedByItsName())
            return true;
        discard(); // another program took it for one that nobody writes to
    }
    errno = EEXIST;
    return false;
}

// True, too, where there are no locks: there nobody removes what another program left.
bool TemporaryFile::isLockedByItsName() const
{
    return (flock(m_iDescriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) && isNameOf(m_strName, m_iDescriptor);
}

bool TemporaryFile::replace()
{
    std::string strTemporaryName = temporaryNameIn(folderOf(m_strTarget)); // there may be no memory for it later
    // Keeps what has no name, and the lock, beyond closing: a network file system may tell only there that there was
    // no room.
    const int iCopy = fcntl(m_iDescriptor, F_DUPFD_CLOEXEC, 3);
    const bool bDone = iCopy >= 0 && fsync(m_iDescriptor) == 0 && close(std::exchange(m_iDescriptor, -1)) == 0 &&
                       (m_strName.empty() ? giveName(iCopy, strTemporaryName) : renameToTarget());
    const int iError = errno;
    if (iCopy >= 0)
        close(iCopy);
    if (!bDone)
        discard();
    errno = iError;
    return bDone;
}

bool TemporaryFile::giveName(int in_iDescriptor, std::string& inout_strTemporaryName)
{
    const DescriptorPath source(in_iDescriptor);
    if (linkat(AT_FDCWD, source.m_acText, AT_FDCWD, m_strTarget.c_str(), AT_SYMLINK_FOLLOW) == 0)
        return true;
    if (errno != EEXIST)
        return false;
    // A link never replaces a file, as renaming does. Locked before anyone can find it; where there are no locks nobody
    // removes it.
    flock(in_iDescriptor, LOCK_EX | LOCK_NB);
    const Termination::Delay delay;
    return giveTemporaryName(source.m_acText, inout_strTemporaryName) && renameToTarget();
}

bool TemporaryFile::giveTemporaryName(const char* in_szSource, std::string& inout_strName)
{
    for (int iTrial = 0; iTrial < s_iMaxTrials; ++iTrial) {
        unsigned char aucRandom[s_strSuffix.size()] = {};
        if (getrandom(aucRandom, sizeof aucRandom, 0) < 0)
            return false;
        std::transform(std::begin(aucRandom), std::end(aucRandom), inout_strName.end() - std::ssize(aucRandom),
                       [](unsigned char in_ucRandom) { return s_strLetters[in_ucRandom % s_strLetters.size()]; });
        if (linkat(AT_FDCWD, in_szSource, AT_FDCWD, inout_strName.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            m_strName.swap(inout_strName);
            return true;
        }
        if (errno != EEXIST)
            return false;
    }
    return false;
}

bool TemporaryFile::renameToTarget()
{
    const Termination::Delay delay;
    if (rename(m_strName.c_str(), m_strTarget.c_str()) != 0)
        return false;
    forgetName();
    return true;
}

void TemporaryFile::discard()
{
    if (!m_strName.empty()) {
        const Termination::Delay delay;
        unlink(m_strName.c_str());
        forgetName();
    }
    closeDescriptor();
}

void TemporaryFile::forgetName()
{
    Termination::forgetTemporaryFile(m_strName);
    m_strName.clear();
}

void TemporaryFile::closeDescriptor()
{
    if (m_iDescriptor >= 0)
        close(m_iDescriptor);
    m_iDescriptor = -1;
}

} // namespace Corvana::Tools
