// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAtomicFileEdit.h"

#include "AudioAtomicFileEditParts.h"
#include "corvana/Logger.h"
#include "corvana/OS.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AtomicFileEdit")

namespace Corvana::Audio {
namespace {

using namespace AtomicEdit;
using Clock = std::chrono::steady_clock;

// A working copy is ".corvana-edit-", the original's name, "-" and six letters.
constexpr std::string_view s_strPrefix = ".corvana-edit-";
constexpr std::string_view s_strSuffix = "-XXXXXX";

std::string textOf(int in_iError)
{
    return std::generic_category().message(in_iError);
}

std::string nameOfWorkingCopy(const std::string& in_strFolder, std::string in_strName)
{
    const long iLimit = pathconf(in_strFolder.c_str(), _PC_NAME_MAX);
    const std::size_t uiAvailable =
        (iLimit > 0 ? static_cast<std::size_t>(iLimit) : NAME_MAX) - s_strPrefix.size() - s_strSuffix.size();
    if (in_strName.size() > uiAvailable) {
        std::size_t uiLength = uiAvailable;
        while (uiLength > 0 && (static_cast<unsigned char>(in_strName[uiLength]) & 0xC0U) == 0x80U)
            --uiLength; // some file systems refuse half a character
        in_strName.resize(uiLength);
    }
    return in_strFolder + std::string(s_strPrefix) + in_strName + std::string(s_strSuffix);
}

bool isNameOfWorkingCopy(std::string_view in_strName)
{
    return in_strName.starts_with(s_strPrefix) && in_strName.size() > s_strPrefix.size() + s_strSuffix.size() &&
           in_strName[in_strName.size() - s_strSuffix.size()] == '-';
}

bool isRegularFile(const Descriptor& in_file, struct stat& out_status)
{
    return in_file.isOpen() && fstat(in_file.get(), &out_status) == 0 && S_ISREG(out_status.st_mode);
}

// Whether nobody edits the file: it has no name any more, is the caller's own, or can be locked.
bool isUnattended(const std::string& in_strFile, const struct stat& in_own)
{
    const Descriptor file = openFile(in_strFile, O_RDWR);
    if (!file.isOpen())
        return errno == ENOENT;
    struct stat status = {};
    return isRegularFile(file, status) && (isSameFile(status, in_own) || lockNow(file) == 0);
}

// Who edits holds the original's lock and, unless its copy was written anew, the copy's. Both are asked, since the
// original's name may have come to stand for another file.
void removeIfAbandoned(const std::string& in_strFolder, std::string_view in_strName, const struct stat& in_own)
{
    const std::string strCopy = in_strFolder + std::string(in_strName);
    const Descriptor copy = openFile(strCopy, O_RDWR);
    struct stat status = {};
    if (!isRegularFile(copy, status) || lockNow(copy) != 0)
        return;
    in_strName.remove_prefix(s_strPrefix.size());
    in_strName.remove_suffix(s_strSuffix.size());
    // Its owner may have given the copy the original's name before it was locked here.
    if (!isUnattended(in_strFolder + std::string(in_strName), in_own) || !isNameOf(strCopy, status))
        return;
    if (unlink(strCopy.c_str()) == 0)
        CORVANA_LOG_INFO(fileScopeLogger(), "Removed what an edit that was killed left behind : " << strCopy);
}

void removeAbandonedCopies(const std::string& in_strFolder, const struct stat& in_own)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(opendir(in_strFolder.c_str()), closedir);
    if (pFolder == nullptr)
        return; // may be written but not read
    while (const dirent* pEntry = readdir(pFolder.get()))
        if (isNameOfWorkingCopy(pEntry->d_name))
            removeIfAbandoned(in_strFolder, pEntry->d_name, in_own);
}

// Whether to look through a folder. Not for each of the many thousand files that one may hold, or editing all of them
// would take quadratic time.
bool isWorthLooking(const std::string& in_strFolder)
{
    constexpr std::chrono::minutes interval{1};
    static std::mutex s_mutex;
    static std::string s_strFolder;
    static Clock::time_point s_time;
    const std::lock_guard<std::mutex> guard(s_mutex);
    if (s_strFolder == in_strFolder && Clock::now() - s_time < interval)
        return false;
    s_strFolder = in_strFolder;
    s_time = Clock::now();
    return true;
}

bool isWithoutSwap(int in_iError)
{
    return in_iError == EINVAL || in_iError == ENOSYS || in_iError == ENOTSUP;
}

bool swapNames(const std::string& in_strLeft, const std::string& in_strRight)
{
    return renameat2(AT_FDCWD, in_strLeft.c_str(), AT_FDCWD, in_strRight.c_str(), RENAME_EXCHANGE) == 0;
}

/// Signals to this thread wait until the end of the scope.
class SignalDelay
{
public:
    SignalDelay()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &m_former);
    }
    ~SignalDelay() { pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }
    SignalDelay(const SignalDelay&) = delete;
    SignalDelay& operator=(const SignalDelay&) = delete;

private:
    sigset_t m_former;
};

} // namespace

class AtomicFileEdit::Impl
{
public:
    Impl(const char* in_szFileName, WorkingFileListener in_listener)
        : m_strFile(in_szFileName)
        , m_listener(std::move(in_listener))
    {
    }
    ~Impl() { removeCopy(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool begin(unsigned in_uiMaxWaitMs);
    bool commit();
    void end();

    const std::string& copy() const { return m_strCopy; }
    const std::string& fault() const { return m_strFault; }

private:
    bool fail(const std::string& in_strReason);
    bool fail(const char* in_szAction, int in_iError) { return fail(in_szAction + (", " + textOf(in_iError))); }

    bool resolve();
    bool lockOriginal(unsigned in_uiMaxWaitMs);
    bool openOriginal();
    bool isEditable();
    bool makeCopy();
    bool makeLockedCopy();
    bool isOriginalUntouched();
    bool finishCopy();
    bool replace();
    bool replaceBySwap();
    bool replaceByRename();
    void forgetCopy();
    bool removeCopy(std::string* out_pName = nullptr);

    const std::string m_strFile; // as given
    const WorkingFileListener m_listener;
    std::string m_strTarget;   // behind symbolic links
    std::string m_strFolder;   // of the target, with a slash
    std::string m_strCopy;     // empty: there is none
    Descriptor m_original;     // locked
    Descriptor m_lockedCopy;   // as it was made
    struct stat m_status = {}; // of the original, when the edit began
    std::string m_strFault;
};

// Always false, for callers that fail.
bool AtomicFileEdit::Impl::fail(const std::string& in_strReason)
{
    m_strFault = "Could not edit file, " + in_strReason + " : " + m_strFile;
    CORVANA_LOG_ERROR(fileScopeLogger(), m_strFault);
    return false;
}

bool AtomicFileEdit::Impl::begin(unsigned in_uiMaxWaitMs)
{
    if (!resolve() || !lockOriginal(in_uiMaxWaitMs) || !isEditable())
        return false;
    if (isWorthLooking(m_strFolder))
        removeAbandonedCopies(m_strFolder, m_status);
    return makeCopy();
}

bool AtomicFileEdit::Impl::resolve()
{
    const std::unique_ptr<char, void (*)(void*)> pTarget(realpath(m_strFile.c_str(), nullptr), std::free);
    if (pTarget == nullptr)
        return fail(textOf(errno));
    m_strTarget = pTarget.get();
    m_strFolder = m_strTarget.substr(0, m_strTarget.find_last_of('/') + 1);
    return true;
}

bool AtomicFileEdit::Impl::lockOriginal(unsigned in_uiMaxWaitMs)
{
    constexpr std::chrono::milliseconds pause{2};
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(in_uiMaxWaitMs);
    for (;;) {
        // Opened anew each time: the edit waited for gives the name to another file.
        if (!openOriginal())
            return false;
        const int iError = lockNow(m_original);
        if (isWithoutLocks(iError) || (iError == 0 && isNameOf(m_strTarget, m_status)))
            // What was edited before the lock was had counts as well.
            return fstat(m_original.get(), &m_status) == 0 || fail(textOf(errno));
        if (iError != 0 && iError != EWOULDBLOCK)
            return fail("could not lock it", iError);
        if (Clock::now() >= end)
            return fail("it is being edited by another program or thread");
        if (iError != 0)
            std::this_thread::sleep_for(pause);
    }
}

bool AtomicFileEdit::Impl::openOriginal()
{
    // A device may do something when it is opened, so this is asked before.
    if (lstat(m_strTarget.c_str(), &m_status) != 0)
        return fail(textOf(errno));
    if (S_ISDIR(m_status.st_mode))
        return fail(textOf(EISDIR));
    if (!S_ISREG(m_status.st_mode))
        return fail("it is no regular file");
    // For writing, which never happens: renaming would replace a write-protected file without asking.
    m_original = openFile(m_strTarget, O_RDWR);
    if (!m_original.isOpen() || fstat(m_original.get(), &m_status) != 0)
        return fail(textOf(errno));
    return S_ISREG(m_status.st_mode) || fail("it is no regular file");
}

bool AtomicFileEdit::Impl::isEditable()
{
    return m_status.st_nlink == 1 ||
           fail("it has " + std::to_string(m_status.st_nlink) + " names (hard links), of which one would go on alone");
}

bool AtomicFileEdit::Impl::makeCopy()
{
    if (!makeLockedCopy())
        return false;
    const int iError = copyContents(m_original, m_lockedCopy);
    return iError == 0 || fail("could not make a working copy", iError);
}

bool AtomicFileEdit::Impl::makeLockedCopy()
{
    constexpr int iMaxTrials = 100;
    for (int iTrial = 0; iTrial < iMaxTrials; ++iTrial) {
        {
            std::string strName = nameOfWorkingCopy(m_strFolder, m_strTarget.substr(m_strFolder.size()));
            const SignalDelay delay; // no copy without someone who removes it
            m_lockedCopy = Descriptor(mkostemp(strName.data(), O_CLOEXEC));
            if (!m_lockedCopy.isOpen())
                return fail("could not make a working copy beside it", errno);
            m_strCopy = std::move(strName); // which needs no memory: the file exists, and has to go with this object
            if (m_listener)
                m_listener(m_strCopy.c_str());
        }
        // Another edit may look for abandoned copies just now, and have found this one before it is locked.
        const int iError = lockNow(m_lockedCopy);
        struct stat status = {};
        if (fstat(m_lockedCopy.get(), &status) != 0)
            return fail("could not make a working copy", errno);
        if ((iError == 0 || isWithoutLocks(iError)) && isNameOf(m_strCopy, status))
            return true;
        if (iError != 0 && iError != EWOULDBLOCK && !isWithoutLocks(iError))
            return fail("could not lock its working copy", iError);
        removeCopy();
    }
    return fail("its working copies disappear");
}

bool AtomicFileEdit::Impl::commit()
{
    if (m_strCopy.empty())
        return !m_strFault.empty() ? false : fail("no edit of it is going on");
    const bool bDone = finishCopy() && replace();
    end();
    return bDone;
}

// Whoever waits for the file need not wait for the end of the object.
void AtomicFileEdit::Impl::end()
{
    removeCopy();
    m_lockedCopy.close();
    m_original.close();
}

// Someone who does not know of locks may have changed, replaced or linked it meanwhile.
bool AtomicFileEdit::Impl::isOriginalUntouched()
{
    struct stat present = {};
    if (fstat(m_original.get(), &present) != 0)
        return fail(textOf(errno));
    const bool bSameContents = present.st_size == m_status.st_size &&
                               present.st_mtim.tv_sec == m_status.st_mtim.tv_sec &&
                               present.st_mtim.tv_nsec == m_status.st_mtim.tv_nsec;
    if (!bSameContents || !isNameOf(m_strTarget, present))
        return fail("another program changed it meanwhile");
    // Others may well change mode and owner; the time of the last access is that of before the edit.
    const struct timespec timeAccessed = m_status.st_atim;
    m_status = present;
    m_status.st_atim = timeAccessed;
    return isEditable();
}

bool AtomicFileEdit::Impl::finishCopy()
{
    // Opened anew, for it may have been removed and written again.
    Descriptor copy = openFile(m_strCopy, O_RDWR);
    struct stat status = {};
    if (!copy.isOpen())
        return fail("could not open its working copy", errno);
    if (!isRegularFile(copy, status) || status.st_nlink != 1)
        return fail("its working copy is no regular file with one name any more");
    // The disk can begin while the audio is compared. Only a hint: fsync() tells what came of it.
    sync_file_range(copy.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
    if (!isOriginalUntouched())
        return false;
    const std::string strFault = compareAudio(m_strTarget, m_strCopy);
    if (!strFault.empty())
        return fail(strFault);
    int iError = copyAttributes(m_original, m_status, copy);
    if (iError != 0)
        return fail("could not give the new file its attributes", iError);
    if (fsync(copy.get()) != 0)
        return fail("could not write it to the disk", errno);
    // A network file system may tell only here that there was no room.
    iError = copy.close();
    return iError == 0 || fail("could not write it to the disk", iError);
}

bool AtomicFileEdit::Impl::replace()
{
    if (swapNames(m_strCopy, m_strTarget))
        return replaceBySwap();
    return isWithoutSwap(errno) ? replaceByRename() : fail("could not replace it", errno);
}

// The names are swapped already. Until the old file is removed there is a way back, so that a failure means that
// nothing happened.
bool AtomicFileEdit::Impl::replaceBySwap()
{
    const bool bIsOriginal = isNameOf(m_strCopy, m_status);
    if (bIsOriginal && OS::syncFolder(m_strFolder.c_str())) {
        std::string strFormer;
        if (!removeCopy(&strFormer))
            CORVANA_LOG_WARN(fileScopeLogger(),
                             "Could not remove the former file, " << textOf(errno) << " : " << strFormer);
        return true;
    }
    const int iError = errno;
    const bool bSwappedBack = swapNames(m_strCopy, m_strTarget);
    if (!bSwappedBack && !bIsOriginal)
        forgetCopy(); // under its name is now what the other program wrote, which is not ours to remove
    // Put into words last: they need memory, and without it nothing above may be left out.
    const std::string strReason =
        bIsOriginal ? "could not write its folder to the disk, " + textOf(iError) : "another program replaced it";
    return fail(bSwappedBack ? strReason : strReason + "; its name stands for the new file already");
}

bool AtomicFileEdit::Impl::replaceByRename()
{
    {
        const SignalDelay delay;
        if (rename(m_strCopy.c_str(), m_strTarget.c_str()) != 0)
            return fail("could not replace it", errno);
        forgetCopy();
    }
    return OS::syncFolder(m_strFolder.c_str()) || fail("could not write its folder to the disk, " + textOf(errno) +
                                                       "; its name stands for the new file already");
}

void AtomicFileEdit::Impl::forgetCopy()
{
    m_strCopy.clear();
    if (m_listener)
        m_listener("");
}

// True, too, when there is none. On failure errno tells why. The name is handed on without memory for another.
bool AtomicFileEdit::Impl::removeCopy(std::string* out_pName)
{
    if (m_strCopy.empty())
        return true;
    const SignalDelay delay;
    std::string strName;
    strName.swap(m_strCopy);
    const bool bRemoved = unlink(strName.c_str()) == 0 || errno == ENOENT;
    const int iError = errno;
    forgetCopy();
    if (out_pName != nullptr)
        out_pName->swap(strName);
    errno = iError;
    return bRemoved;
}

AtomicFileEdit::AtomicFileEdit(const char* in_szFileName, WorkingFileListener in_listener, unsigned in_uiMaxWaitMs)
    : m_pImpl(std::make_unique<Impl>(in_szFileName, std::move(in_listener)))
{
    if (!m_pImpl->begin(in_uiMaxWaitMs))
        m_pImpl->end();
}

AtomicFileEdit::~AtomicFileEdit() = default;

bool AtomicFileEdit::isOpen() const
{
    return !m_pImpl->copy().empty();
}

const char* AtomicFileEdit::workingFileName() const
{
    return m_pImpl->copy().c_str();
}

bool AtomicFileEdit::commit()
{
    return m_pImpl->commit();
}

const std::string& AtomicFileEdit::getFault() const
{
    return m_pImpl->fault();
}

} // namespace Corvana::Audio
