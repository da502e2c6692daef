// SPDX-License-Identifier: Apache-2.0
// What becomes of an edit when the system refuses, or when another program comes in between two steps.
#include "corvana/AudioAtomicFileEdit.h"
#include "support/LogCapture.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace Corvana::Audio {
namespace {

using Test::LogCapture;
using Test::SystemCalls;
using Test::TempDir;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

std::string chunk(const std::string& in_strId, const std::string& in_strData)
{
    return in_strId + static_cast<char>(in_strData.size()) + std::string(3, '\0') + in_strData;
}

std::string wav(const std::string& in_strChunks)
{
    return chunk("RIFF", "WAVE" + chunk("data", "12345678") + in_strChunks);
}

class AtomicFileEditSystemTest : public testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            vNames.push_back(entry.path().filename());
        return vNames;
    }

    bool isThere(const std::string& in_strName) const { return std::filesystem::exists(m_dir.file(in_strName)); }

    std::string asFault(const std::string& in_strReason) const
    {
        return "Could not edit file, " + in_strReason + " : " + m_strFile;
    }

    // The whole edit, which has to succeed.
    void expectEdited()
    {
        AtomicFileEdit edit(m_strFile.c_str(), {}, 0);
        std::ofstream(edit.workingFileName(), std::ios::binary) << m_strNew;
        EXPECT_TRUE(edit.commit()) << edit.getFault();
        EXPECT_EQ(contentsOf(m_strFile), m_strNew);
        EXPECT_THAT(names(), ElementsAre("a.wav"));
    }

    // An edit that cannot begin, and leaves all as it was.
    void expectNoBeginning(const std::string& in_strReason)
    {
        const AtomicFileEdit edit(m_strFile.c_str(), {}, 0);
        EXPECT_FALSE(edit.isOpen());
        EXPECT_EQ(edit.getFault(), asFault(in_strReason));
        EXPECT_THAT(names(), ElementsAre("a.wav"));
    }

    // Commits, which has to fail and to leave the old file.
    void expectNoCommit(AtomicFileEdit& inout_edit, const std::string& in_strReason)
    {
        EXPECT_TRUE(inout_edit.isOpen()) << inout_edit.getFault();
        EXPECT_FALSE(inout_edit.commit());
        EXPECT_EQ(inout_edit.getFault(), asFault(in_strReason));
        EXPECT_EQ(contentsOf(m_strFile), m_strOld);
        EXPECT_THAT(names(), ElementsAre("a.wav"));
    }

    const TempDir m_dir;
    const std::string m_strOld = wav("");
    const std::string m_strNew = wav(chunk("more", "text"));
    const std::string m_strFile = m_dir.write("a.wav", m_strOld);
};

TEST_F(AtomicFileEditSystemTest, TakesTheUsualLimitOfNamesWhereTheFolderTellsNone)
{
    const std::string strLong = m_dir.write(std::string(255, 'n'), m_strOld);
    const SystemCalls limit("pathconf", EINVAL);
    AtomicFileEdit edit(strLong.c_str());
    EXPECT_EQ(std::filesystem::path(edit.workingFileName()).filename().string().size(), 255U);
    EXPECT_TRUE(edit.commit());
}

TEST_F(AtomicFileEditSystemTest, EditsAFileWhoseLongNameHasNoBeginningOfACharacter)
{
    const std::string strLong = m_dir.write(std::string(255, '\x80'), m_strOld);
    AtomicFileEdit edit(strLong.c_str());
    EXPECT_TRUE(edit.commit()) << edit.getFault();
}

TEST_F(AtomicFileEditSystemTest, GoesOnWhereThereAreNoLocks)
{
    for (const int iError : {ENOLCK, ENOTSUP, EINVAL, ENOSYS}) {
        const SystemCalls locks("flock", iError);
        std::ofstream(m_strFile, std::ios::binary) << m_strOld;
        expectEdited();
    }
}

TEST_F(AtomicFileEditSystemTest, TellsThatAFileCannotBeLocked)
{
    const SystemCalls locks("flock", EIO);
    expectNoBeginning("could not lock it, Input/output error");
}

TEST_F(AtomicFileEditSystemTest, TellsThatItsCopyCannotBeLocked)
{
    const SystemCalls locks("flock", EIO, 2);
    expectNoBeginning("could not lock its working copy, Input/output error");
}

TEST_F(AtomicFileEditSystemTest, MakesAnotherCopyWhenSomeoneHasLockedTheFirst)
{
    const SystemCalls locks("flock", EWOULDBLOCK, 2, 1);
    expectEdited();
}

TEST_F(AtomicFileEditSystemTest, MakesAnotherCopyWhenTheFirstDisappearsWhereThereAreNoLocks)
{
    const SystemCalls locks("flock", ENOLCK);
    const SystemCalls status("lstat", [bGone = false](const char* in_szPath) mutable {
        const bool bCopy = std::string(in_szPath).find(".corvana-edit-") != std::string::npos;
        return bCopy && !std::exchange(bGone, true) ? ENOENT : 0;
    });
    expectEdited();
}

TEST_F(AtomicFileEditSystemTest, GivesUpWhenItsCopiesKeepDisappearing)
{
    const SystemCalls status("lstat", [](const char* in_szPath) {
        return std::string(in_szPath).find(".corvana-edit-") != std::string::npos ? ENOENT : 0;
    });
    expectNoBeginning("its working copies disappear");
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheStatusOfAFileOrItsCopyCannotBeHad)
{
    const char* aszReasons[] = {"Input/output error", "Input/output error",
                                "could not make a working copy, Input/output error"};
    for (unsigned uiCall = 1; uiCall <= 3; ++uiCall) {
        const SystemCalls status("fstat", EIO, uiCall, 1);
        expectNoBeginning(aszReasons[uiCall - 1]);
    }
}

TEST_F(AtomicFileEditSystemTest, RefusesWhatBecameAPipeJustBeforeItWasOpened)
{
    const SystemCalls opening("open", [this](const char* in_szPath) {
        EXPECT_EQ(unlink(in_szPath), 0);
        EXPECT_EQ(mkfifo(m_strFile.c_str(), 0600), 0);
        return 0;
    });
    expectNoBeginning("it is no regular file");
}

TEST_F(AtomicFileEditSystemTest, IsAnotherFilesWhenItsNameIsOnAnotherDisk)
{
    SystemCalls::s_bOtherDisk = true;
    expectNoBeginning("it is being edited by another program or thread");
    SystemCalls::s_bOtherDisk = false;
}

TEST_F(AtomicFileEditSystemTest, RepeatsWhatASignalInterrupted)
{
    const SystemCalls reading("read", EINTR, 1, 2);
    const SystemCalls comparing("pread", EINTR, 1, 2);
    const SystemCalls locks("flock", EINTR, 1, 3);
    expectEdited();
}

TEST_F(AtomicFileEditSystemTest, SharesTheBlocksOfItsCopyWhereTheFileSystemCan)
{
    SystemCalls::s_bClones = true;
    unsigned uiNbOfReads = 0;
    const SystemCalls reading("read", [&](const char*) { return ++uiNbOfReads == 0 ? EIO : 0; });
    const AtomicFileEdit edit(m_strFile.c_str());
    SystemCalls::s_bClones = false;
    EXPECT_EQ(uiNbOfReads, 0U);
    EXPECT_EQ(contentsOf(edit.workingFileName()), m_strOld);
}

TEST_F(AtomicFileEditSystemTest, TellsThatAFileCannotBeCopied)
{
    const SystemCalls reading("read", EIO);
    expectNoBeginning("could not make a working copy, Input/output error");
}

TEST_F(AtomicFileEditSystemTest, RenamesWhereNamesCannotBeSwapped)
{
    for (const int iError : {EINVAL, ENOSYS, ENOTSUP}) {
        const SystemCalls swap("renameat2", iError);
        std::ofstream(m_strFile, std::ios::binary) << m_strOld;
        expectEdited();
    }
}

TEST_F(AtomicFileEditSystemTest, LeavesTheOldFileWhenItCannotBeReplaced)
{
    const SystemCalls swap("renameat2", EROFS);
    AtomicFileEdit edit(m_strFile.c_str());
    expectNoCommit(edit, "could not replace it, Read-only file system");

    const SystemCalls none("renameat2", ENOSYS);
    const SystemCalls renaming("rename", EROFS);
    AtomicFileEdit second(m_strFile.c_str());
    expectNoCommit(second, "could not replace it, Read-only file system");
}

TEST_F(AtomicFileEditSystemTest, TakesTheOldFileBackWhenItsFolderCannotBeWritten)
{
    const SystemCalls syncing("fsync", EIO, 2);
    AtomicFileEdit edit(m_strFile.c_str());
    expectNoCommit(edit, "could not write its folder to the disk, Input/output error");
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheNewFileStandsThoughItsFolderCannotBeWritten)
{
    // Names cannot be swapped at all, or not back.
    for (const unsigned uiSwap : {1U, 2U}) {
        const SystemCalls swap("renameat2", ENOSYS, uiSwap);
        const SystemCalls syncing("fsync", EIO, 2);
        std::ofstream(m_strFile, std::ios::binary) << m_strOld;
        AtomicFileEdit edit(m_strFile.c_str());
        std::ofstream(edit.workingFileName(), std::ios::binary) << m_strNew;
        EXPECT_FALSE(edit.commit());
        EXPECT_EQ(edit.getFault(),
                  asFault("could not write its folder to the disk, Input/output error; its name stands "
                          "for the new file already"));
        EXPECT_EQ(contentsOf(m_strFile), m_strNew);
        EXPECT_THAT(names(), ElementsAre("a.wav"));
    }
}

TEST_F(AtomicFileEditSystemTest, GivesBackWhatAnotherProgramPutInItsPlaceAtTheLastMoment)
{
    const SystemCalls swap("renameat2", [this, bDone = false](const char*) mutable {
        if (!std::exchange(bDone, true))
            std::filesystem::rename(m_dir.write("b.wav", "other"), m_strFile);
        return 0;
    });
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(edit.getFault(), asFault("another program replaced it"));
    EXPECT_EQ(contentsOf(m_strFile), "other");
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AtomicFileEditSystemTest, RemovesNothingOfAnotherProgramThatItCannotGiveBack)
{
    const SystemCalls swap("renameat2", [this, bDone = false](const char*) mutable {
        if (std::exchange(bDone, true))
            return EIO;
        std::filesystem::rename(m_dir.write("b.wav", "other"), m_strFile);
        return 0;
    });
    std::string strCopy;
    AtomicFileEdit edit(m_strFile.c_str(), [&](const char* in_szName) {
        if (*in_szName != '\0')
            strCopy = in_szName;
    });
    std::ofstream(edit.workingFileName(), std::ios::binary) << m_strNew;
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(edit.getFault(), asFault("another program replaced it; its name stands for the new file already"));
    EXPECT_EQ(contentsOf(m_strFile), m_strNew);
    EXPECT_EQ(contentsOf(strCopy), "other");
}

TEST_F(AtomicFileEditSystemTest, LeavesAFileThatWasTouchedMeanwhile)
{
    const struct timespec timeOld = {1000, 500};
    for (const struct timespec& timeNew : {timespec{1001, 500}, timespec{1000, 501}}) {
        const struct timespec aBefore[] = {timeOld, timeOld};
        ASSERT_EQ(utimensat(AT_FDCWD, m_strFile.c_str(), aBefore, 0), 0);
        AtomicFileEdit edit(m_strFile.c_str());
        const struct timespec aAfter[] = {timeNew, timeNew};
        ASSERT_EQ(utimensat(AT_FDCWD, m_strFile.c_str(), aAfter, 0), 0);
        expectNoCommit(edit, "another program changed it meanwhile");
    }
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheStatusOfAFileCannotBeHadAtTheEnd)
{
    // Asked for are, in this order: the copy, the old file, and the copy again before its owner and its mode are set.
    const char* aszReasons[] = {"its working copy is no regular file with one name any more", "Input/output error",
                                "could not give the new file its attributes, Input/output error",
                                "could not give the new file its attributes, Input/output error"};
    for (unsigned uiCall = 1; uiCall <= 4; ++uiCall) {
        AtomicFileEdit edit(m_strFile.c_str());
        const SystemCalls status("fstat", EIO, uiCall, 1);
        expectNoCommit(edit, aszReasons[uiCall - 1]);
    }
}

TEST_F(AtomicFileEditSystemTest, TellsThatAFileDisappearedJustBeforeItWasLookedAt)
{
    const SystemCalls status("lstat", ENOENT);
    expectNoBeginning("No such file or directory");
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheNewFileCannotBeWrittenToTheDisk)
{
    {
        const SystemCalls syncing("fsync", ENOSPC);
        AtomicFileEdit edit(m_strFile.c_str());
        expectNoCommit(edit, "could not write it to the disk, No space left on device");
    }
    // Closed are, in this order: what compared the audio, and the copy.
    AtomicFileEdit edit(m_strFile.c_str());
    const SystemCalls closing("close", EDQUOT);
    expectNoCommit(edit, "could not write it to the disk, Disk quota exceeded");
}

TEST_F(AtomicFileEditSystemTest, TakesAnInterruptedCloseAsDone)
{
    const SystemCalls closing("close", EINTR);
    expectEdited();
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheAudioCannotBeReadAgain)
{
    // First that of the old file, then that of the new one.
    for (const unsigned uiCall : {1U, 2U}) {
        const SystemCalls comparing("pread", EIO, uiCall);
        AtomicFileEdit edit(m_strFile.c_str());
        expectNoCommit(edit, "could not verify its audio, Input/output error");
    }
    const SystemCalls comparing("pread",
                                [this](const char*) { return truncate(m_strFile.c_str(), 12) == 0 ? 0 : errno; });
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(edit.getFault(), asFault("could not verify its audio, No data available"));
}

TEST_F(AtomicFileEditSystemTest, TellsThatAFileCannotBeOpenedToCompareItsAudio)
{
    // Opened are, in this order: the copy, the old and the new file's tree by streams, and both to be compared.
    for (const unsigned uiCall : {2U, 3U}) {
        AtomicFileEdit edit(m_strFile.c_str());
        const SystemCalls opening("open", EMFILE, uiCall, 1);
        expectNoCommit(edit, "could not verify its audio, Too many open files");
    }
}

TEST_F(AtomicFileEditSystemTest, ComparesNoFurtherThanTheFirstChunkOfAudioThatChanged)
{
    std::ofstream(m_strFile, std::ios::binary) << chunk("RIFF", "WAVE" + chunk("data", "1234") + chunk("data", "56"));
    AtomicFileEdit edit(m_strFile.c_str());
    std::ofstream(edit.workingFileName(), std::ios::binary)
        << chunk("RIFF", "WAVE" + chunk("data", "1235") + chunk("data", "56"));
    unsigned uiNbOfReads = 0;
    const SystemCalls comparing("pread", [&](const char*) { return ++uiNbOfReads == 0 ? EIO : 0; });
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(edit.getFault(), asFault("its audio would change"));
    EXPECT_EQ(uiNbOfReads, 2U);
}

TEST_F(AtomicFileEditSystemTest, DoesWithoutAttributesThatItMayNotKeep)
{
    for (const char* szCall : {"flistxattr", "fgetxattr", "fsetxattr", "fchmod"})
        for (const int iError : {EPERM, EACCES, ENOTSUP, EINVAL, ENOSYS}) {
            SystemCalls::s_strAttributes = std::string(szCall) == "fsetxattr" ? "" : std::string("user.speaker\0", 13);
            const SystemCalls refused(szCall, iError);
            std::ofstream(m_strFile, std::ios::binary) << m_strOld;
            expectEdited();
        }
    SystemCalls::s_strAttributes.clear();
}

TEST_F(AtomicFileEditSystemTest, TellsThatAttributesCannotBeReadOrWritten)
{
    for (const char* szCall : {"flistxattr", "fgetxattr", "fchmod"}) {
        SystemCalls::s_strAttributes = std::string("user.speaker\0user.place\0", 24);
        const SystemCalls broken(szCall, EIO);
        AtomicFileEdit edit(m_strFile.c_str());
        expectNoCommit(edit, "could not give the new file its attributes, Input/output error");
    }
    SystemCalls::s_strAttributes.clear();
    // The number of their bytes is had, and the names are not; or those of the old file are, and not those of the new.
    for (const unsigned uiCall : {2U, 3U}) {
        const SystemCalls broken("flistxattr", EIO, uiCall);
        AtomicFileEdit edit(m_strFile.c_str());
        expectNoCommit(edit, "could not give the new file its attributes, Input/output error");
    }
}

TEST_F(AtomicFileEditSystemTest, AsksAgainWhenAttributesGrewMeanwhile)
{
    const SystemCalls listing("flistxattr", ERANGE, 2, 1);
    expectEdited();
}

TEST_F(AtomicFileEditSystemTest, LeavesOutAnAttributeThatIsGoneMeanwhile)
{
    SystemCalls::s_strAttributes = std::string("user.speaker\0", 13);
    const SystemCalls reading("fgetxattr", ENODATA);
    expectEdited();
    SystemCalls::s_strAttributes.clear();
}

TEST_F(AtomicFileEditSystemTest, TakesNoSignatureOfTheContentsAlong)
{
    SystemCalls::s_strAttributes = std::string("security.ima\0user.speaker\0security.evm\0", 39);
    std::vector<std::string> vRead;
    const SystemCalls reading("fgetxattr", [&](const char* in_szName) {
        vRead.emplace_back(in_szName);
        return ENODATA;
    });
    expectEdited();
    SystemCalls::s_strAttributes.clear();
    EXPECT_THAT(vRead, ElementsAre("user.speaker"));
}

class AtomicFileEditForeignAttributeTest : public AtomicFileEditSystemTest
{
protected:
    // Attributes that the copy has got and the old file has not.
    bool giveAttributesTo(const AtomicFileEdit& in_edit) const
    {
        return setxattr(in_edit.workingFileName(), "user.first", "1", 1, 0) == 0 &&
               setxattr(in_edit.workingFileName(), "user.second", "2", 1, 0) == 0;
    }
};

TEST_F(AtomicFileEditForeignAttributeTest, StaysWhereItIsGoneMeanwhileOrMayNotBeRemoved)
{
    for (const int iError : {ENODATA, EPERM}) {
        AtomicFileEdit edit(m_strFile.c_str());
        if (!giveAttributesTo(edit))
            GTEST_SKIP() << "no extended attributes here";
        const SystemCalls removing("fremovexattr", iError);
        EXPECT_TRUE(edit.commit()) << edit.getFault();
    }
}

TEST_F(AtomicFileEditForeignAttributeTest, EndsTheEditWhenItCannotBeRemoved)
{
    if (setxattr(m_strFile.c_str(), "user.own", "0", 1, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_TRUE(giveAttributesTo(edit));
    const SystemCalls removing("fremovexattr", EIO);
    expectNoCommit(edit, "could not give the new file its attributes, Input/output error");
}

TEST_F(AtomicFileEditSystemTest, TellsThatTheFormerFileCouldNotBeRemoved)
{
    LogCapture log;
    AtomicFileEdit edit(m_strFile.c_str());
    std::ofstream(edit.workingFileName(), std::ios::binary) << m_strNew;
    const std::string strCopy = edit.workingFileName();
    const SystemCalls removing("unlink", EPERM);
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(contentsOf(m_strFile), m_strNew);
    EXPECT_THAT(log.texts(), ElementsAre("Could not remove the former file, Operation not permitted : " + strCopy));
}

class AtomicFileEditAbandonedTest : public AtomicFileEditSystemTest
{
protected:
    // Edits another file of the folder, which looks for what killed edits left.
    bool isCopyThereAfterAnEdit()
    {
        {
            const AtomicFileEdit edit(m_strFile.c_str());
            EXPECT_TRUE(edit.isOpen()) << edit.getFault();
        }
        return isThere(m_strCopy);
    }

    const std::string m_strCopy = ".corvana-edit-b.wav-abc123";
    const std::string m_strAbandoned = m_dir.write(m_strCopy, m_strOld);
};

TEST_F(AtomicFileEditAbandonedTest, StaysBesideWhatIsNoRegularFile)
{
    ASSERT_EQ(mkfifo(m_dir.file("b.wav").c_str(), 0600), 0);
    EXPECT_TRUE(isCopyThereAfterAnEdit());
}

TEST_F(AtomicFileEditAbandonedTest, StaysWhenItsNameCameToStandForAnotherFile)
{
    // Locked are, in this order: the edited file, the abandoned copy, and its original.
    m_dir.write("b.wav", m_strOld);
    const SystemCalls locks("flock", [this, uiCall = 0](const char*) mutable {
        if (++uiCall == 3)
            std::filesystem::rename(m_dir.write("c.wav", "other"), m_strAbandoned);
        return 0;
    });
    EXPECT_TRUE(isCopyThereAfterAnEdit());
    EXPECT_EQ(contentsOf(m_strAbandoned), "other");
}

TEST_F(AtomicFileEditAbandonedTest, IsNotSaidToBeRemovedWhenItCannotBe)
{
    LogCapture log;
    const SystemCalls removing("unlink",
                               [this](const char* in_szPath) { return in_szPath == m_strAbandoned ? EPERM : 0; });
    EXPECT_TRUE(isCopyThereAfterAnEdit());
    EXPECT_THAT(log.texts(), Not(Contains(testing::HasSubstr("Removed"))));
}

TEST_F(AtomicFileEditAbandonedTest, IsLookedForOnceAMinute)
{
    EXPECT_FALSE(isCopyThereAfterAnEdit());

    m_dir.write(m_strCopy, m_strOld);
    EXPECT_TRUE(isCopyThereAfterAnEdit());

    SystemCalls::s_iSecondsLater = 61;
    EXPECT_FALSE(isCopyThereAfterAnEdit());
    SystemCalls::s_iSecondsLater = 0;
}

} // namespace
} // namespace Corvana::Audio
