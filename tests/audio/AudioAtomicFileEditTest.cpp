// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAtomicFileEdit.h"

#include "corvana/AudioAnnotation.h"
#include "support/LogCapture.h"
#include "support/OtherUser.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>

namespace Corvana::Audio {
namespace {

using Corvana::Test::LogCapture;
using Corvana::Test::OtherUser;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

void writeTo(const std::string& in_strPath, const std::string& in_strBytes)
{
    std::ofstream(in_strPath, std::ios::binary | std::ios::trunc) << in_strBytes;
}

std::string number(std::size_t in_uiValue)
{
    std::string strBytes;
    for (unsigned uiShift = 0; uiShift < 32; uiShift += 8)
        strBytes += static_cast<char>((in_uiValue >> uiShift) & 0xFFU);
    return strBytes;
}

std::string chunk(const std::string& in_strId, const std::string& in_strData)
{
    return in_strId + number(in_strData.size()) + in_strData + std::string(in_strData.size() % 2, '\0');
}

const std::string s_strFormat = chunk("fmt ", std::string("\x01\x00\x01\x00\x40\x1f\x00\x00"
                                                          "\x80\x3e\x00\x00\x02\x00\x10\x00",
                                                          16));

// A mono recording of 16 bits at 8000 Hz.
std::string wav(const std::string& in_strAudio, const std::string& in_strMore = "")
{
    return chunk("RIFF", "WAVE" + s_strFormat + chunk("data", in_strAudio) + in_strMore);
}

struct stat statusOf(const std::string& in_strPath)
{
    struct stat status = {};
    EXPECT_EQ(stat(in_strPath.c_str(), &status), 0) << in_strPath;
    return status;
}

std::size_t nbOfDescriptors()
{
    const std::filesystem::directory_iterator it("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(it), end(it)));
}

// What a child process does, ended by a signal or with 0 or 1.
pid_t inChild(const std::function<bool()>& in_task)
{
    const pid_t iChild = fork();
    if (iChild == 0)
        _exit(in_task() ? 0 : 1);
    return iChild;
}

int statusOfChild(pid_t in_iChild)
{
    int iStatus = -1;
    EXPECT_EQ(waitpid(in_iChild, &iStatus, 0), in_iChild);
    return iStatus;
}

class AtomicFileEditTest : public testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            vNames.push_back(entry.path().filename());
        return vNames;
    }

    // Begins an edit, which has to fail, and gives the fault, with FILE for the file's name.
    std::string faultOf(const std::string& in_strPath)
    {
        AtomicFileEdit edit(in_strPath.c_str(), {}, 0);
        EXPECT_FALSE(edit.isOpen());
        EXPECT_STREQ(edit.workingFileName(), "");
        EXPECT_FALSE(edit.commit());
        return withoutName(edit.getFault(), in_strPath);
    }

    // Commits, which has to fail and to leave this in the file and nothing else in the folder.
    std::string faultOfCommit(AtomicFileEdit& inout_edit, const std::string& in_strContents)
    {
        EXPECT_TRUE(inout_edit.isOpen());
        EXPECT_FALSE(inout_edit.commit());
        EXPECT_FALSE(inout_edit.isOpen());
        EXPECT_EQ(contentsOf(m_strFile), in_strContents);
        EXPECT_THAT(names(), ElementsAre("a.wav"));
        return withoutName(inout_edit.getFault(), m_strFile);
    }

    static std::string withoutName(std::string in_strFault, const std::string& in_strPath)
    {
        EXPECT_TRUE(in_strFault.ends_with(" : " + in_strPath)) << in_strFault;
        EXPECT_THAT(in_strFault, StartsWith("Could not edit file, "));
        in_strFault.erase(0, std::string("Could not edit file, ").size());
        in_strFault.resize(in_strFault.size() - std::min(in_strFault.size(), in_strPath.size() + 3));
        return in_strFault;
    }

    Corvana::Test::TempDir m_dir;
    const std::string m_strOld = wav("12345678");
    const std::string m_strNew = wav("12345678", chunk("more", "text"));
    const std::string m_strFile = m_dir.write("a.wav", m_strOld);
};

TEST_F(AtomicFileEditTest, ShowsTheNewFileOnlyOnceItIsCommitted)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_TRUE(edit.isOpen());
    EXPECT_EQ(contentsOf(edit.workingFileName()), m_strOld);
    writeTo(edit.workingFileName(), m_strNew);
    EXPECT_EQ(contentsOf(m_strFile), m_strOld);

    EXPECT_TRUE(edit.commit());

    EXPECT_EQ(contentsOf(m_strFile), m_strNew);
    EXPECT_EQ(edit.getFault(), "");
    EXPECT_FALSE(edit.isOpen());
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AtomicFileEditTest, LeavesTheOriginalWhenItIsNotCommitted)
{
    const struct stat former = statusOf(m_strFile);
    {
        AtomicFileEdit edit(m_strFile.c_str());
        writeTo(edit.workingFileName(), m_strNew);
    }
    EXPECT_EQ(contentsOf(m_strFile), m_strOld);
    EXPECT_EQ(statusOf(m_strFile).st_ino, former.st_ino);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AtomicFileEditTest, WorksBesideTheOriginalUnderAHiddenNameThatNoOneElseMayRead)
{
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_THAT(edit.workingFileName(), StartsWith(m_dir.path() + "/.corvana-edit-a.wav-"));
    EXPECT_EQ(statusOf(edit.workingFileName()).st_mode & 07777U, 0600U);
}

TEST_F(AtomicFileEditTest, TakesAnyOperation)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_TRUE(AnnotatedFile::addAnnotation(edit.workingFileName(), {AnnotatedFile::Annotation::BEEP, 0.0, 0.00025}));
    EXPECT_TRUE(edit.commit());

    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readFromWAV(stream));
    ASSERT_THAT(file.annotations(), SizeIs(1));
    EXPECT_EQ(file.annotations()[0].m_type, AnnotatedFile::Annotation::BEEP);
}

TEST_F(AtomicFileEditTest, TakesACopyThatWasRemovedAndWrittenAnew)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_EQ(unlink(edit.workingFileName()), 0);
    writeTo(edit.workingFileName(), m_strNew);
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(contentsOf(m_strFile), m_strNew);
    EXPECT_EQ(statusOf(m_strFile).st_mode & 07777U, 0644U);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AtomicFileEditTest, CommitsOnce)
{
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(edit.commit());
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(edit.getFault(), "Could not edit file, no edit of it is going on : " + m_strFile);
    EXPECT_EQ(contentsOf(m_strFile), m_strOld);
}

TEST_F(AtomicFileEditTest, ClosesAllItOpened)
{
    const std::size_t uiFormer = nbOfDescriptors();
    {
        AtomicFileEdit edit(m_strFile.c_str());
        EXPECT_TRUE(edit.commit());
        EXPECT_EQ(nbOfDescriptors(), uiFormer);
    }
    EXPECT_EQ(faultOf(m_dir.file("none.wav")), "No such file or directory");
    EXPECT_EQ(nbOfDescriptors(), uiFormer);
}

TEST_F(AtomicFileEditTest, CopiesMoreThanABlock)
{
    std::string strAudio(3000001, '\0');
    for (std::size_t uiIndex = 0; uiIndex < strAudio.size(); ++uiIndex)
        strAudio[uiIndex] = static_cast<char>(uiIndex * uiIndex / 1000);
    writeTo(m_strFile, wav(strAudio));
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(contentsOf(edit.workingFileName()) == wav(strAudio));
    EXPECT_TRUE(edit.commit());
    EXPECT_TRUE(contentsOf(m_strFile) == wav(strAudio));
}

TEST_F(AtomicFileEditTest, TellsTheListenerOfTheCopy)
{
    std::vector<std::string> vTold;
    std::string strCopy;
    {
        AtomicFileEdit edit(m_strFile.c_str(), [&](const char* in_szName) {
            vTold.emplace_back(in_szName);
            // A signal between the file and the listener would leave a copy behind that nobody knows of.
            sigset_t blocked;
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
            EXPECT_EQ(names().size(), in_szName[0] == '\0' ? 1U : 2U);
        });
        strCopy = edit.workingFileName();
    }
    EXPECT_THAT(vTold, ElementsAre(strCopy, ""));
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);

    vTold.clear();
    AtomicFileEdit edit(m_strFile.c_str(), [&](const char* in_szName) { vTold.emplace_back(in_szName); });
    EXPECT_TRUE(edit.commit());
    EXPECT_THAT(vTold, ElementsAre(testing::Not(""), ""));
}

TEST_F(AtomicFileEditTest, LogsEachFault)
{
    LogCapture log("kestrivon.audio.AtomicFileEdit");
    faultOf(m_dir.file("none.wav"));
    EXPECT_THAT(log.texts(), ElementsAre("Could not edit file, No such file or directory : " + m_dir.file("none.wav")));
}

// What stays as it was.

TEST_F(AtomicFileEditTest, KeepsTheMode)
{
    for (const mode_t mode : {0600U, 0640U, 0755U, 06755U}) {
        ASSERT_EQ(chmod(m_strFile.c_str(), mode), 0);
        AtomicFileEdit edit(m_strFile.c_str());
        EXPECT_TRUE(edit.commit());
        EXPECT_EQ(statusOf(m_strFile).st_mode & 07777U, mode);
    }
}

TEST_F(AtomicFileEditTest, KeepsTheTimes)
{
    const struct timespec aTimes[] = {{1000000000, 123456789}, {1100000000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_strFile.c_str(), aTimes, 0), 0);
    AtomicFileEdit edit(m_strFile.c_str());
    writeTo(edit.workingFileName(), m_strNew);
    EXPECT_TRUE(edit.commit());
    const struct stat status = statusOf(m_strFile);
    EXPECT_EQ(status.st_atim.tv_sec, 1000000000);
    EXPECT_EQ(status.st_atim.tv_nsec, 123456789);
    EXPECT_EQ(status.st_mtim.tv_sec, 1100000000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 987654321);
}

TEST_F(AtomicFileEditTest, KeepsOwnerAndGroupWithTheirSetIdBits)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root gives files away";
    ASSERT_EQ(chown(m_strFile.c_str(), 1234, 4321), 0);
    ASSERT_EQ(chmod(m_strFile.c_str(), 06750), 0);
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(statusOf(m_strFile).st_uid, 1234U);
    EXPECT_EQ(statusOf(m_strFile).st_gid, 4321U);
    EXPECT_EQ(statusOf(m_strFile).st_mode & 07777U, 06750U);
}

TEST_F(AtomicFileEditTest, LendsNobodysIdentityWhereTheOwnerCannotBeKept)
{
    ASSERT_EQ(chmod(m_dir.path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(m_strFile.c_str(), 06777), 0);
    const OtherUser user;
    if (!user.isActive())
        GTEST_SKIP() << "only root can be someone else";
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(statusOf(m_strFile).st_uid, 65534U);
    EXPECT_EQ(statusOf(m_strFile).st_mode & 07777U, 0777U);
}

TEST_F(AtomicFileEditTest, KeepsExtendedAttributes)
{
    const std::string strLong(3000, 'x');
    if (setxattr(m_strFile.c_str(), "user.speaker", "jane", 4, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    ASSERT_EQ(setxattr(m_strFile.c_str(), "user.empty", "", 0, 0), 0);
    ASSERT_EQ(setxattr(m_strFile.c_str(), "user.long", strLong.data(), strLong.size(), 0), 0);

    AtomicFileEdit edit(m_strFile.c_str());
    setxattr(edit.workingFileName(), "user.other", "gone", 4, 0);
    EXPECT_TRUE(edit.commit());

    char acValue[4000];
    EXPECT_EQ(std::string(acValue, static_cast<std::size_t>(
                                       getxattr(m_strFile.c_str(), "user.speaker", acValue, sizeof acValue))),
              "jane");
    EXPECT_EQ(getxattr(m_strFile.c_str(), "user.empty", acValue, sizeof acValue), 0);
    EXPECT_EQ(getxattr(m_strFile.c_str(), "user.long", acValue, sizeof acValue), 3000);
    EXPECT_EQ(getxattr(m_strFile.c_str(), "user.other", acValue, sizeof acValue), -1);
}

// An access control list as it is stored: owner, one named user, group, mask, others.
std::string accessControlList()
{
    const auto entry = [](std::size_t in_uiTag, std::size_t in_uiRights, std::size_t in_uiId) {
        return number(in_uiTag | (in_uiRights << 16U)) + number(in_uiId);
    };
    return number(2) + entry(0x01, 6, 0xFFFFFFFF) + entry(0x02, 4, 65534) + entry(0x04, 4, 0xFFFFFFFF) +
           entry(0x10, 6, 0xFFFFFFFF) + entry(0x20, 0, 0xFFFFFFFF);
}

TEST_F(AtomicFileEditTest, KeepsTheAccessControlList)
{
    const std::string strList = accessControlList();
    if (setxattr(m_strFile.c_str(), "system.posix_acl_access", strList.data(), strList.size(), 0) != 0)
        GTEST_SKIP() << "no access control lists here";
    const mode_t mode = statusOf(m_strFile).st_mode;
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(edit.commit());
    char acValue[200];
    const ssize_t iLength = getxattr(m_strFile.c_str(), "system.posix_acl_access", acValue, sizeof acValue);
    ASSERT_GT(iLength, 0);
    EXPECT_EQ(std::string(acValue, static_cast<std::size_t>(iLength)), strList);
    EXPECT_EQ(statusOf(m_strFile).st_mode, mode);
}

TEST_F(AtomicFileEditTest, TakesNoAccessControlListFromTheFolder)
{
    const std::string strList = accessControlList();
    if (setxattr(m_dir.path().c_str(), "system.posix_acl_default", strList.data(), strList.size(), 0) != 0)
        GTEST_SKIP() << "no access control lists here";
    ASSERT_EQ(chmod(m_strFile.c_str(), 0600), 0);
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(getxattr(m_strFile.c_str(), "system.posix_acl_access", nullptr, 0), -1);
    EXPECT_EQ(statusOf(m_strFile).st_mode & 07777U, 0600U);
}

TEST_F(AtomicFileEditTest, ReplacesTheTargetOfASymbolicLink)
{
    ASSERT_TRUE(std::filesystem::create_directory(m_dir.file("links")));
    std::filesystem::create_symlink("../a.wav", m_dir.file("links/first"));
    std::filesystem::create_symlink("first", m_dir.file("links/second"));
    AtomicFileEdit edit(m_dir.file("links/second").c_str());
    EXPECT_THAT(edit.workingFileName(), StartsWith(m_dir.path() + "/.corvana-edit-a.wav-"));
    writeTo(edit.workingFileName(), m_strNew);
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(contentsOf(m_strFile), m_strNew);
    EXPECT_TRUE(std::filesystem::is_symlink(m_dir.file("links/second")));
    EXPECT_TRUE(std::filesystem::is_symlink(m_dir.file("links/first")));
}

TEST_F(AtomicFileEditTest, EditsAFileWithTheLongestName)
{
    const std::string strLong = m_dir.write(std::string(255, 'n'), m_strOld);
    AtomicFileEdit edit(strLong.c_str());
    ASSERT_TRUE(edit.isOpen()) << edit.getFault();
    writeTo(edit.workingFileName(), m_strNew);
    EXPECT_TRUE(edit.commit());
    EXPECT_EQ(contentsOf(strLong), m_strNew);
}

TEST_F(AtomicFileEditTest, CutsALongNameBetweenCharacters)
{
    std::string strName = "x";
    for (int iLetter = 0; iLetter < 120; ++iLetter)
        strName += "\xc3\xa9"; // e with an acute accent; the limit falls into the middle of one
    AtomicFileEdit edit(m_dir.write(strName, m_strOld).c_str());
    ASSERT_TRUE(edit.isOpen()) << edit.getFault();
    EXPECT_THAT(edit.workingFileName(), HasSubstr("\xc3\xa9-"));
}

// What is refused.

TEST_F(AtomicFileEditTest, RefusesWhatCannotBeEdited)
{
    ASSERT_EQ(mkfifo(m_dir.file("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", m_dir.file("loop"));
    std::filesystem::create_symlink("nowhere", m_dir.file("dangling"));
    EXPECT_EQ(faultOf(m_dir.file("none.wav")), "No such file or directory");
    EXPECT_EQ(faultOf(m_dir.file("dangling")), "No such file or directory");
    EXPECT_EQ(faultOf(""), "No such file or directory");
    EXPECT_EQ(faultOf(m_dir.file("loop")), "Too many levels of symbolic links");
    EXPECT_EQ(faultOf(m_dir.path()), "Is a directory");
    EXPECT_EQ(faultOf(m_dir.file("pipe")), "it is no regular file");
    EXPECT_EQ(faultOf("/dev/null"), "it is no regular file");
    EXPECT_EQ(faultOf(m_strFile + "/x"), "Not a directory");
}

TEST_F(AtomicFileEditTest, RefusesAFileWithSeveralNames)
{
    std::filesystem::create_hard_link(m_strFile, m_dir.file("b.wav"));
    EXPECT_EQ(faultOf(m_strFile), "it has 2 names (hard links), of which one would go on alone");
    EXPECT_THAT(names(), UnorderedElementsAre("a.wav", "b.wav"));
}

TEST_F(AtomicFileEditTest, RefusesAFileThatGotASecondNameMeanwhile)
{
    AtomicFileEdit edit(m_strFile.c_str());
    std::filesystem::create_hard_link(m_strFile, m_dir.file("b.wav"));
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(withoutName(edit.getFault(), m_strFile), "it has 2 names (hard links), of which one would go on alone");
    EXPECT_THAT(names(), UnorderedElementsAre("a.wav", "b.wav"));
}

TEST_F(AtomicFileEditTest, RefusesAWriteProtectedFileAndFolder)
{
    ASSERT_EQ(chmod(m_dir.path().c_str(), 0777), 0);
    std::optional<OtherUser> user;
    if (geteuid() == 0)
        user.emplace();
    const std::string strOwn = m_dir.write("own.wav", m_strOld);
    for (const mode_t mode : {0444U, 0222U, 0U}) {
        ASSERT_EQ(chmod(strOwn.c_str(), mode), 0);
        EXPECT_EQ(faultOf(strOwn), "Permission denied") << mode;
    }
    ASSERT_EQ(chmod(strOwn.c_str(), 0600), 0);
    ASSERT_EQ(mkdir(m_dir.file("folder").c_str(), 0700), 0);
    std::filesystem::rename(strOwn, m_dir.file("folder/own.wav"));
    ASSERT_EQ(chmod(m_dir.file("folder").c_str(), 0500), 0);
    EXPECT_EQ(faultOf(m_dir.file("folder/own.wav")), "could not make a working copy beside it, Permission denied");
    ASSERT_EQ(chmod(m_dir.file("folder").c_str(), 0700), 0);
}

TEST_F(AtomicFileEditTest, RefusesAChangedByteOfTheAudio)
{
    AtomicFileEdit edit(m_strFile.c_str());
    writeTo(edit.workingFileName(), wav("12345679"));
    EXPECT_EQ(faultOfCommit(edit, m_strOld), "its audio would change");
}

TEST_F(AtomicFileEditTest, RefusesALastByteThatChangedBehindManyBlocks)
{
    std::string strAudio(2500000, 'a');
    writeTo(m_strFile, wav(strAudio));
    AtomicFileEdit edit(m_strFile.c_str());
    strAudio.back() = 'b';
    writeTo(edit.workingFileName(), wav(strAudio));
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(withoutName(edit.getFault(), m_strFile), "its audio would change");
}

TEST_F(AtomicFileEditTest, RefusesShorterAndLongerAudio)
{
    for (const char* szAudio : {"1234567", "123456", "", "123456780"}) {
        AtomicFileEdit edit(m_strFile.c_str());
        writeTo(edit.workingFileName(), wav(szAudio));
        EXPECT_EQ(faultOfCommit(edit, m_strOld), "its audio would change") << szAudio;
    }
}

TEST_F(AtomicFileEditTest, RefusesASecondOrMissingChunkOfAudio)
{
    for (const std::string& strNew :
         {wav("12345678", chunk("data", "")), wav("12345678", chunk("LIST", "xxxx" + chunk("data", ""))),
          chunk("RIFF", "WAVE" + s_strFormat)}) {
        AtomicFileEdit edit(m_strFile.c_str());
        writeTo(edit.workingFileName(), strNew);
        EXPECT_EQ(faultOfCommit(edit, m_strOld), "the number of its chunks \"data\" would change");
    }
}

TEST_F(AtomicFileEditTest, RefusesACopyThatIsNoWavFileAnyMore)
{
    for (const std::string& strNew : {std::string(), std::string("RIFF"), "x" + m_strOld}) {
        AtomicFileEdit edit(m_strFile.c_str());
        writeTo(edit.workingFileName(), strNew);
        EXPECT_EQ(faultOfCommit(edit, m_strOld), "the edited copy cannot be read as a WAV file");
    }
}

TEST_F(AtomicFileEditTest, RefusesAnOriginalThatIsNoWavFile)
{
    writeTo(m_strFile, "text");
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_EQ(faultOfCommit(edit, "text"), "it cannot be read as a WAV file");
}

TEST_F(AtomicFileEditTest, ComparesTheAudioOfACutOriginalWithTheWhole)
{
    // The recorder was stopped: sizes of 0, and half a sample at the end, behind which the padding is missing.
    writeTo(m_strFile, "RIFF" + number(0) + "WAVE" + s_strFormat + "data" + number(0) + "1234567");
    AtomicFileEdit edit(m_strFile.c_str());
    writeTo(edit.workingFileName(), wav("1234567"));
    EXPECT_TRUE(edit.commit()) << edit.getFault();
    EXPECT_EQ(contentsOf(m_strFile), wav("1234567"));
}

TEST_F(AtomicFileEditTest, RefusesACopyThatIsGone)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_EQ(unlink(edit.workingFileName()), 0);
    EXPECT_EQ(faultOfCommit(edit, m_strOld), "could not open its working copy, No such file or directory");
}

TEST_F(AtomicFileEditTest, RefusesACopyThatIsSomethingElse)
{
    AtomicFileEdit edit(m_strFile.c_str());
    const std::string strCopy = edit.workingFileName();
    ASSERT_EQ(unlink(strCopy.c_str()), 0);
    ASSERT_EQ(symlink("a.wav", strCopy.c_str()), 0);
    EXPECT_EQ(faultOfCommit(edit, m_strOld), "could not open its working copy, Too many levels of symbolic links");

    AtomicFileEdit linked(m_strFile.c_str());
    ASSERT_EQ(unlink(linked.workingFileName()), 0);
    ASSERT_EQ(link(m_strFile.c_str(), linked.workingFileName()), 0);
    EXPECT_EQ(faultOfCommit(linked, m_strOld), "its working copy is no regular file with one name any more");
}

TEST_F(AtomicFileEditTest, LeavesWhatSomeoneElseWroteMeanwhile)
{
    AtomicFileEdit edit(m_strFile.c_str());
    writeTo(edit.workingFileName(), m_strNew);
    const std::string strOther = wav("12345678", chunk("else", ""));
    writeTo(m_strFile, strOther);
    EXPECT_EQ(faultOfCommit(edit, strOther), "another program changed it meanwhile");
}

TEST_F(AtomicFileEditTest, LeavesAFileThatSomeoneElsePutInItsPlace)
{
    AtomicFileEdit edit(m_strFile.c_str());
    std::filesystem::rename(m_dir.write("b.wav", m_strOld), m_strFile);
    const ino_t uiInode = statusOf(m_strFile).st_ino;
    EXPECT_EQ(faultOfCommit(edit, m_strOld), "another program changed it meanwhile");
    EXPECT_EQ(statusOf(m_strFile).st_ino, uiInode);
}

TEST_F(AtomicFileEditTest, MakesNoFileAnewThatSomeoneRemovedMeanwhile)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_EQ(unlink(m_strFile.c_str()), 0);
    EXPECT_FALSE(edit.commit());
    EXPECT_EQ(withoutName(edit.getFault(), m_strFile), "another program changed it meanwhile");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(AtomicFileEditTest, LeavesNothingWhenThereIsNoRoom)
{
    writeTo(m_strFile, wav(std::string(100000, 'a')));
    struct rlimit former = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const auto pFormerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {50000, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);

    const std::string strFault = faultOf(m_strFile);

    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &former), 0);
    std::signal(SIGXFSZ, pFormerHandler);
    EXPECT_EQ(strFault, "could not make a working copy, File too large");
    EXPECT_TRUE(contentsOf(m_strFile) == wav(std::string(100000, 'a')));
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

// Several edits.

TEST_F(AtomicFileEditTest, LetsOneEditAFileAtATime)
{
    AtomicFileEdit edit(m_strFile.c_str());
    ASSERT_TRUE(edit.isOpen());
    EXPECT_EQ(faultOf(m_strFile), "it is being edited by another program or thread");
    EXPECT_TRUE(edit.commit());
    AtomicFileEdit next(m_strFile.c_str(), {}, 0);
    EXPECT_TRUE(next.isOpen());
}

TEST_F(AtomicFileEditTest, LetsOthersEditWhenItCouldNotBegin)
{
    std::filesystem::create_hard_link(m_strFile, m_dir.file("b.wav"));
    AtomicFileEdit refused(m_strFile.c_str());
    ASSERT_FALSE(refused.isOpen());
    ASSERT_EQ(unlink(m_dir.file("b.wav").c_str()), 0);
    AtomicFileEdit edit(m_strFile.c_str(), {}, 0);
    EXPECT_TRUE(edit.isOpen()) << edit.getFault();
}

TEST_F(AtomicFileEditTest, EditsSeveralFilesOfAFolderAtATime)
{
    m_dir.write("b.wav", m_strOld);
    AtomicFileEdit first(m_strFile.c_str());
    AtomicFileEdit second(m_dir.file("b.wav").c_str(), {}, 0);
    EXPECT_TRUE(second.commit());
    EXPECT_TRUE(first.commit());
}

TEST_F(AtomicFileEditTest, WaitsForAnotherEditAndGoesOnFromItsResult)
{
    auto pFirst = std::make_unique<AtomicFileEdit>(m_strFile.c_str());
    writeTo(pFirst->workingFileName(), m_strNew);
    std::atomic<bool> bCommitted = false;
    std::string strSeen;
    std::thread second([&] {
        AtomicFileEdit edit(m_strFile.c_str());
        EXPECT_TRUE(bCommitted);
        strSeen = contentsOf(edit.workingFileName());
        EXPECT_TRUE(edit.commit());
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // so that it mostly waits; right without it, too
    bCommitted = true;
    EXPECT_TRUE(pFirst->commit());
    second.join();
    EXPECT_EQ(strSeen, m_strNew);
}

bool addAnnotations(const std::string& in_strFile, unsigned in_uiCount)
{
    for (unsigned uiIndex = 0; uiIndex < in_uiCount; ++uiIndex) {
        AtomicFileEdit edit(in_strFile.c_str(), {}, 60000);
        if (!edit.isOpen() ||
            !AnnotatedFile::addAnnotation(edit.workingFileName(), {AnnotatedFile::Annotation::VOICE, 0.0, 0.0005}) ||
            !edit.commit())
            return false;
    }
    return true;
}

std::size_t nbOfAnnotations(const std::string& in_strFile)
{
    AnnotatedFile file;
    std::ifstream stream(in_strFile, std::ios::binary);
    EXPECT_TRUE(file.readFromWAV(stream));
    return file.annotations().size();
}

TEST_F(AtomicFileEditTest, LosesNoEditOfTwoProcesses)
{
    const pid_t iFirst = inChild([this] { return addAnnotations(m_strFile, 50); });
    const pid_t iSecond = inChild([this] { return addAnnotations(m_strFile, 50); });
    EXPECT_EQ(statusOfChild(iFirst), 0);
    EXPECT_EQ(statusOfChild(iSecond), 0);
    EXPECT_EQ(nbOfAnnotations(m_strFile), 100U);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

TEST_F(AtomicFileEditTest, LosesNoEditOfTwoThreads)
{
    std::thread first([this] { EXPECT_TRUE(addAnnotations(m_strFile, 50)); });
    std::thread second([this] { EXPECT_TRUE(addAnnotations(m_strFile, 50)); });
    first.join();
    second.join();
    EXPECT_EQ(nbOfAnnotations(m_strFile), 100U);
    EXPECT_THAT(names(), ElementsAre("a.wav"));
}

// What killed edits leave behind.

TEST_F(AtomicFileEditTest, RemovesTheCopyOfAKilledProgram)
{
    const pid_t iChild = inChild([this] {
        const AtomicFileEdit edit(m_strFile.c_str());
        return edit.isOpen() && raise(SIGKILL) == 0;
    });
    EXPECT_EQ(statusOfChild(iChild), SIGKILL);
    ASSERT_THAT(names(), SizeIs(2));

    LogCapture log("kestrivon.audio.AtomicFileEdit");
    m_dir.write("b.wav", m_strOld);
    AtomicFileEdit edit(m_dir.file("b.wav").c_str());
    EXPECT_TRUE(edit.commit());
    EXPECT_THAT(names(), UnorderedElementsAre("a.wav", "b.wav"));
    EXPECT_THAT(log.texts(), ElementsAre(MatchesRegex(
                                 "Removed what an edit that was killed left behind : .*/.corvana-edit-a.wav-.*")));
}

TEST_F(AtomicFileEditTest, RemovesItsOwnFilesAbandonedCopiesAndThoseOfFilesThatAreGone)
{
    m_dir.write(".corvana-edit-a.wav-abc123", "");
    m_dir.write(".corvana-edit-gone.wav-abc123", "");
    m_dir.write(".corvana-edit-" + std::string(234, 'n') + "-abc123", "");
    AtomicFileEdit edit(m_strFile.c_str());
    EXPECT_THAT(names(), UnorderedElementsAre("a.wav", StartsWith(".corvana-edit-a.wav-")));
    EXPECT_TRUE(std::filesystem::exists(edit.workingFileName()));
}

TEST_F(AtomicFileEditTest, LeavesWhatOnlyLooksSimilar)
{
    for (const char* szName : {".corvana-edit", ".corvana-edit--abc123", ".corvana-edit-x.wav",
                               ".corvana-edit-holidays.wav", ".corvana-abc123", "corvana-edit-a.wav-abc123"})
        m_dir.write(szName, "");
    ASSERT_TRUE(std::filesystem::create_directory(m_dir.file(".corvana-edit-d.wav-abc123")));
    std::filesystem::create_symlink("a.wav", m_dir.file(".corvana-edit-l.wav-abc123"));
    const std::size_t uiFormer = names().size();
    EXPECT_TRUE(AtomicFileEdit(m_strFile.c_str()).commit());
    EXPECT_THAT(names(), SizeIs(uiFormer));
}

// Another program's edit of "b.wav", whose copy is ".corvana-edit-b.wav-abc123", goes on while the locks are held.
class AtomicFileEditNeighbourTest : public AtomicFileEditTest
{
protected:
    int lock(const std::string& in_strPath)
    {
        const int iDescriptor = open(in_strPath.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_EQ(flock(iDescriptor, LOCK_EX | LOCK_NB), 0);
        return iDescriptor;
    }
    bool isCopyThereAfterAnEdit()
    {
        EXPECT_TRUE(AtomicFileEdit(m_strFile.c_str()).commit());
        return std::filesystem::exists(m_strCopy);
    }

    const std::string m_strNeighbour = m_dir.write("b.wav", m_strOld);
    const std::string m_strCopy = m_dir.write(".corvana-edit-b.wav-abc123", m_strOld);
};

TEST_F(AtomicFileEditNeighbourTest, IsLeftAloneWhileItsCopyIsLocked)
{
    const int iLock = lock(m_strCopy);
    EXPECT_TRUE(isCopyThereAfterAnEdit());
    close(iLock);
}

TEST_F(AtomicFileEditNeighbourTest, IsLeftAloneWhileItsOriginalIsLockedAndTheCopyWrittenAnew)
{
    const int iLock = lock(m_strNeighbour);
    EXPECT_TRUE(isCopyThereAfterAnEdit());
    close(iLock);
}

TEST_F(AtomicFileEditNeighbourTest, IsCleanedUpWhenNothingIsLocked)
{
    EXPECT_FALSE(isCopyThereAfterAnEdit());
}

} // namespace
} // namespace Corvana::Audio
