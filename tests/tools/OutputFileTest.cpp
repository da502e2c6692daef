// SPDX-License-Identifier: Apache-2.0
#include "tools/OutputFile.h"

#include "support/OtherUser.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<std::string> namesIn(const std::string& in_strFolder)
{
    std::vector<std::string> vNames;
    for (const auto& entry : std::filesystem::directory_iterator(in_strFolder))
        vNames.push_back(entry.path().filename());
    return vNames;
}

mode_t modeOf(const std::string& in_strPath)
{
    struct stat status = {};
    return stat(in_strPath.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

class OutputFileTest : public testing::Test
{
protected:
    Corvana::Test::TempDir m_dir;
    std::ostringstream m_callersStream;
};

TEST_F(OutputFileTest, WritesToTheCallersStreamAtFirst)
{
    OutputFile output(m_callersStream);
    output.stream() << "row";
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(m_callersStream.str(), "row");
}

TEST_F(OutputFileTest, TakesADashAndStandardOutputForTheCallersStream)
{
    for (const char* szPath : {"-", "/dev/stdout"}) {
        OutputFile output(m_callersStream);
        ASSERT_TRUE(output.open(szPath));
        output.stream() << szPath;
        EXPECT_TRUE(output.commit());
    }
    EXPECT_EQ(m_callersStream.str(), "-/dev/stdout");
}

TEST_F(OutputFileTest, ShowsTheFileOnlyWhenItIsComplete)
{
    m_dir.write("out.csv", "former");
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_dir.file("out.csv")));
    output.stream() << "new" << std::flush;
    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), "former");

    EXPECT_TRUE(output.commit());

    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), "new");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
    EXPECT_EQ(output.getFault(), "");
}

TEST_F(OutputFileTest, LeavesTheFormerFileWhenNotCommitted)
{
    m_dir.write("out.csv", "former");
    {
        OutputFile output(m_callersStream);
        ASSERT_TRUE(output.open(m_dir.file("out.csv")));
        output.stream() << "new";
    }
    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), "former");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(OutputFileTest, LeavesNothingWhenTheProgramIsKilled)
{
    const int iUnnamed = ::open(m_dir.path().c_str(), O_TMPFILE | O_WRONLY, 0600);
    if (iUnnamed < 0)
        GTEST_SKIP() << "this file system knows no files without a name";
    close(iUnnamed);
    m_dir.write("out.csv", "former");
    for (const char* szName : {"out.csv", "new.csv"}) {
        const pid_t iChild = fork();
        if (iChild == 0) {
            OutputFile output(m_callersStream);
            const bool bOpened = output.open(m_dir.file(szName));
            output.stream() << "new" << std::flush;
            if (bOpened)
                raise(SIGKILL);
            _exit(0);
        }
        int iStatus = 0;
        ASSERT_EQ(waitpid(iChild, &iStatus, 0), iChild);
        EXPECT_TRUE(WIFSIGNALED(iStatus));
    }
    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), "former");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(OutputFileTest, RemovesWhatAKilledProgramLeft)
{
    m_dir.write(".corvana-Az09zZ", "unfinished");
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("out.csv")) && output.commit());
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(OutputFileTest, LeavesWhatAnotherProgramWritesAndFilesOfOtherNames)
{
    const std::vector<std::string> vNames = {
        ".corvana-abc12", ".corvana-abc1234", ".corvana-abc-23", ".corvana-edit-a.wav-abc123",
        ".corvana-edit-", "corvana-abc123",   "x.corvana-abc123"};
    for (const std::string& strName : vNames)
        m_dir.write(strName, "not ours");
    std::filesystem::create_directory(m_dir.file(".corvana-folder"));
    std::filesystem::create_symlink("corvana-abc123", m_dir.file(".corvana-symbol"));
    const int iOther = ::open(m_dir.write(".corvana-locked", "unfinished").c_str(), O_RDWR);
    ASSERT_EQ(flock(iOther, LOCK_EX), 0);

    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("out.csv")) && output.commit());

    std::vector<std::string> vExpected = vNames;
    vExpected.insert(vExpected.end(), {".corvana-folder", ".corvana-symbol", ".corvana-locked", "out.csv"});
    EXPECT_THAT(namesIn(m_dir.path()), UnorderedElementsAreArray(vExpected));
    close(iOther);
}

TEST_F(OutputFileTest, ReplacesAFileThatCameMeanwhile)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_dir.file("out.csv")));
    output.stream() << "new";
    m_dir.write("out.csv", "in between");

    EXPECT_TRUE(output.commit());

    EXPECT_EQ(contentsOf(m_dir.file("out.csv")), "new");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(OutputFileTest, LeavesNothingWhenTheNameCannotBeGiven)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_dir.file("out.csv")));
    output.stream() << "new";
    std::filesystem::create_directory(m_dir.file("out.csv"));

    EXPECT_FALSE(output.commit());

    EXPECT_EQ(output.getFault(), m_dir.file("out.csv") + ": Is a directory");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(OutputFileTest, RefusesAFolderWhosePathLeavesNoRoomForAName)
{
    const std::string strFolder = m_dir.path() + std::string(PATH_MAX - m_dir.path().size() - 5, '/');
    OutputFile output(m_callersStream);
    EXPECT_FALSE(output.open(strFolder + "a"));
    EXPECT_THAT(output.getFault(), HasSubstr("File name too long"));
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre());
}

TEST_F(OutputFileTest, GivesANewFileTheModeThatTheUserSets)
{
    const mode_t former = umask(027);
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("out.csv")) && output.commit());
    umask(former);
    EXPECT_EQ(modeOf(m_dir.file("out.csv")), 0640U);
}

TEST_F(OutputFileTest, KeepsTheModeOfAReplacedFile)
{
    chmod(m_dir.write("out.csv", "former").c_str(), 0604);
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("out.csv")) && output.commit());
    EXPECT_EQ(modeOf(m_dir.file("out.csv")), 0604U);
}

TEST_F(OutputFileTest, ReplacesTheTargetOfALinkAndKeepsTheLink)
{
    std::filesystem::create_directory(m_dir.file("sub"));
    m_dir.write("sub/real.csv", "former");
    std::filesystem::create_symlink("sub/real.csv", m_dir.file("link.csv"));
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_dir.file("link.csv")));
    output.stream() << "new";

    EXPECT_TRUE(output.commit());

    EXPECT_TRUE(std::filesystem::is_symlink(m_dir.file("link.csv")));
    EXPECT_EQ(contentsOf(m_dir.file("sub/real.csv")), "new");
}

TEST_F(OutputFileTest, MakesTheTargetOfALinkIntoNothing)
{
    std::filesystem::create_symlink("real.csv", m_dir.file("link.csv"));
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("link.csv")) && output.commit());
    EXPECT_THAT(namesIn(m_dir.path()), UnorderedElementsAre("link.csv", "real.csv"));
}

TEST_F(OutputFileTest, RefusesALoopOfLinks)
{
    std::filesystem::create_symlink("b", m_dir.file("a"));
    std::filesystem::create_symlink("a", m_dir.file("b"));
    OutputFile output(m_callersStream);
    EXPECT_FALSE(output.open(m_dir.file("a")));
    EXPECT_THAT(output.getFault(), HasSubstr("Too many levels of symbolic links"));
}

TEST_F(OutputFileTest, RefusesAFolderAMissingFolderAndNoName)
{
    OutputFile folder(m_callersStream);
    EXPECT_FALSE(folder.open(m_dir.path()));
    EXPECT_EQ(folder.getFault(), m_dir.path() + ": Is a directory");
    OutputFile missing(m_callersStream);
    EXPECT_FALSE(missing.open(m_dir.file("no/out.csv")));
    EXPECT_EQ(missing.getFault(), m_dir.file("no/out.csv") + ": No such file or directory");
    OutputFile unnamed(m_callersStream);
    EXPECT_FALSE(unnamed.open(""));
    EXPECT_EQ(unnamed.getFault(), "the name of the output file is empty");
}

TEST_F(OutputFileTest, WritesToAPipeDirectly)
{
    ASSERT_EQ(mkfifo(m_dir.file("pipe").c_str(), 0600), 0);
    std::string strRead;
    std::thread reader([&] { strRead = contentsOf(m_dir.file("pipe")); });
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open(m_dir.file("pipe")));
    output.stream() << "row";
    EXPECT_TRUE(output.commit());
    reader.join();
    EXPECT_EQ(strRead, "row");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("pipe"));
}

TEST_F(OutputFileTest, WritesToAnOpenDescriptor)
{
    int aiPipe[2];
    ASSERT_EQ(pipe(aiPipe), 0);
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.open("/dev/fd/" + std::to_string(aiPipe[1])));
    output.stream() << "row";
    EXPECT_TRUE(output.commit());
    char acRead[8] = {};
    EXPECT_EQ(read(aiPipe[0], acRead, sizeof acRead), 3);
    EXPECT_STREQ(acRead, "row");
    close(aiPipe[0]);
    close(aiPipe[1]);
}

TEST_F(OutputFileTest, RefusesADescriptorThatIsNotOpen)
{
    for (const char* szPath : {"/dev/fd/987", "/dev/fd/x", "/proc/self/fd/99999999999999999999"}) {
        OutputFile output(m_callersStream);
        EXPECT_FALSE(output.open(szPath)) << szPath;
        EXPECT_NE(output.getFault(), "") << szPath;
    }
}

TEST_F(OutputFileTest, TellsThatADeviceIsFull)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open("/dev/full"));
    output.stream() << "row";
    EXPECT_FALSE(output.commit());
    EXPECT_EQ(output.getFault(), "/dev/full: No space left on device");
}

TEST_F(OutputFileTest, FindsAFileThatIsAlsoRead)
{
    m_dir.write("a.wav", "sound");
    m_dir.write("b.wav", "sound");
    std::filesystem::create_hard_link(m_dir.file("b.wav"), m_dir.file("c.wav"));
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_dir.file("c.wav")));

    EXPECT_EQ(output.findAmong({m_dir.file("a.wav"), m_dir.file("b.wav")}), m_dir.file("b.wav"));
    EXPECT_EQ(output.findAmong({m_dir.file("a.wav"), m_dir.file("none.wav")}), "");
}

TEST_F(OutputFileTest, RefusesToReplaceAWriteProtectedFile)
{
    chmod(m_dir.write("out.csv", "former").c_str(), 0444);
    chmod(m_dir.path().c_str(), 0777);
    const Corvana::Test::OtherUser user;
    OutputFile output(m_callersStream);
    EXPECT_FALSE(output.open(m_dir.file("out.csv")));
    EXPECT_EQ(output.getFault(), m_dir.file("out.csv") + ": Permission denied");
}

} // namespace
} // namespace Corvana::Tools
