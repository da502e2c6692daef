// SPDX-License-Identifier: Apache-2.0
#include "tools/PartialFile.h"

#include "support/TempDir.h"
#include "tools/OutputFile.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

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

/// What is written with a name of its own, PATH.partial, by OutputFile too.
class PartialFileTest : public testing::Test
{
protected:
    std::string refusalOf(const std::string& in_strPath, std::uint64_t in_uiNbOfBytes)
    {
        OutputFile output(m_callersStream);
        EXPECT_FALSE(output.openToResume(in_strPath, in_uiNbOfBytes));
        EXPECT_FALSE(output.isGood());
        return output.getFault();
    }

    Corvana::Test::TempDir m_dir;
    const std::string m_strOut = m_dir.file("out.csv");
    std::ostringstream m_callersStream;
};

TEST_F(PartialFileTest, StaysWhenItIsNotCommitted)
{
    m_dir.write("out.csv", "former");
    {
        OutputFile output(m_callersStream);
        ASSERT_TRUE(output.openToResume(m_strOut, 0));
        output.stream() << "some rows";
        EXPECT_TRUE(output.sync());
        EXPECT_EQ(contentsOf(m_strOut + ".partial"), "some rows");
    }
    EXPECT_EQ(contentsOf(m_strOut), "former");
    EXPECT_EQ(contentsOf(m_strOut + ".partial"), "some rows");
}

TEST_F(PartialFileTest, StaysWhenTheProgramIsKilled)
{
    const pid_t iChild = fork();
    if (iChild == 0) {
        OutputFile output(m_callersStream);
        const bool bOpened = output.openToResume(m_strOut, 0);
        output.stream() << "some rows" << std::flush;
        if (bOpened)
            raise(SIGKILL);
        _exit(0);
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(iChild, &iStatus, 0), iChild);
    EXPECT_TRUE(WIFSIGNALED(iStatus));
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv.partial"));
    EXPECT_EQ(contentsOf(m_strOut + ".partial"), "some rows");
}

TEST_F(PartialFileTest, GoesOnBehindTheBytesThatCount)
{
    m_dir.write("out.csv.partial", "some rows and half a r");
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 9));
    output.stream() << ", more";
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(output.getFault(), "");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
    EXPECT_EQ(contentsOf(m_strOut), "some rows, more");
}

TEST_F(PartialFileTest, WritesOverItsStartAndGoesOnAtItsEnd)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    output.stream() << "start, middle";
    EXPECT_TRUE(output.rewriteStart("START"));
    output.stream() << ", end";
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(contentsOf(m_strOut), "START, middle, end");
}

TEST_F(PartialFileTest, WritesOverTheStartOfAFileWithoutAName)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.open(m_strOut));
    EXPECT_TRUE(output.isNamedAtLast());
    output.stream() << "start, middle";
    EXPECT_TRUE(output.rewriteStart("START") && output.sync());
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(contentsOf(m_strOut), "START, middle");
}

TEST_F(PartialFileTest, IsRefusedWhenBytesAreMissing)
{
    m_dir.write("out.csv.partial", "some");
    EXPECT_EQ(
        refusalOf(m_strOut, 5),
        m_strOut +
            ".partial: holds 4 bytes instead of 5, so somebody else has changed it; to begin anew, remove the journal");
    EXPECT_EQ(contentsOf(m_strOut + ".partial"), "some");
}

TEST_F(PartialFileTest, IsRefusedWhileAnotherRunWritesIt)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    output.stream() << "rows" << std::flush;
    EXPECT_EQ(refusalOf(m_strOut, 0), m_strOut + ".partial: another run is writing it");
    EXPECT_TRUE(output.commit());
    EXPECT_EQ(contentsOf(m_strOut), "rows");
}

TEST_F(PartialFileTest, IsRefusedForWhatIsNoFile)
{
    for (const char* szPath : {"-", "/dev/stdout", "/dev/fd/1", "/dev/null", "/dev/full"})
        EXPECT_EQ(refusalOf(szPath, 0), std::string(szPath) + ": is no file, so no other run could go on with it");
    EXPECT_EQ(refusalOf(m_dir.path(), 0), m_dir.path() + ": Is a directory");
    EXPECT_EQ(refusalOf(m_dir.file("no/out.csv"), 0), m_dir.file("no/out.csv.partial: No such file or directory"));
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre());
}

TEST_F(PartialFileTest, FollowsNoLinkAndOverwritesNothingElse)
{
    m_dir.write("other", "precious");
    std::filesystem::create_symlink("other", m_strOut + ".partial");
    EXPECT_EQ(refusalOf(m_strOut, 0), m_strOut + ".partial: Too many levels of symbolic links");
    std::filesystem::remove(m_strOut + ".partial");
    ASSERT_EQ(mkfifo((m_strOut + ".partial").c_str(), 0600), 0);
    EXPECT_EQ(refusalOf(m_strOut, 0), m_strOut + ".partial: File exists");
    EXPECT_EQ(contentsOf(m_dir.file("other")), "precious");
}

TEST_F(PartialFileTest, StandsBesideTheTargetOfALink)
{
    std::filesystem::create_directory(m_dir.file("sub"));
    chmod(m_dir.write("sub/real.csv", "former").c_str(), 0604);
    std::filesystem::create_symlink("sub/real.csv", m_strOut);
    EXPECT_EQ(OutputFile::targetOf(m_strOut), m_dir.file("sub/real.csv"));
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    EXPECT_THAT(namesIn(m_dir.file("sub")), UnorderedElementsAre("real.csv", "real.csv.partial"));
    EXPECT_EQ(modeOf(m_dir.file("sub/real.csv.partial")), 0604U);
    output.stream() << "new";
    EXPECT_TRUE(output.commit());
    EXPECT_TRUE(std::filesystem::is_symlink(m_strOut));
    EXPECT_EQ(contentsOf(m_dir.file("sub/real.csv")), "new");
    EXPECT_EQ(modeOf(m_dir.file("sub/real.csv")), 0604U);
}

TEST_F(PartialFileTest, GetsTheModeThatTheUserSets)
{
    const mode_t former = umask(027);
    OutputFile output(m_callersStream);
    EXPECT_TRUE(output.openToResume(m_strOut, 0) && output.commit());
    umask(former);
    EXPECT_EQ(modeOf(m_strOut), 0640U);
}

TEST_F(PartialFileTest, IsFinishedFromEachPlaceWhereTheProgramMayHaveBeenKilled)
{
    m_dir.write("out.csv", "former");
    m_dir.write("out.csv.partial", "complete");
    OutputFile unnamed(m_callersStream);
    EXPECT_TRUE(unnamed.openToFinish(m_strOut, 8) && unnamed.commit());
    EXPECT_EQ(contentsOf(m_strOut), "complete");
    OutputFile named(m_callersStream);
    EXPECT_TRUE(named.openToFinish(m_strOut, 8) && named.commit());
    EXPECT_EQ(contentsOf(m_strOut), "complete");
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre("out.csv"));
}

TEST_F(PartialFileTest, IsNotFinishedWithAnotherFile)
{
    for (const char* szContents : {"longer than that", "short"}) {
        m_dir.write("out.csv", szContents);
        OutputFile output(m_callersStream);
        EXPECT_FALSE(output.openToFinish(m_strOut, 8));
        EXPECT_EQ(output.getFault(),
                  m_strOut + ": is not what the run wrote: somebody has changed or removed it; to begin anew, remove "
                             "the journal");
    }
    std::filesystem::remove(m_strOut);
    OutputFile output(m_callersStream);
    EXPECT_FALSE(output.openToFinish(m_strOut, 8));
}

TEST_F(PartialFileTest, IsKeptWhenItsNameCannotBeGiven)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    output.stream() << "rows";
    std::filesystem::create_directory(m_strOut);
    EXPECT_FALSE(output.commit());
    EXPECT_EQ(output.getFault(), m_strOut + ": Is a directory");
    EXPECT_EQ(contentsOf(m_strOut + ".partial"), "rows");
}

TEST_F(PartialFileTest, IsRemovedOnDemand)
{
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    output.removePartial();
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre());
}

TEST_F(PartialFileTest, CountsAsAFileThatIsWritten)
{
    m_dir.write("out.csv", "former");
    OutputFile output(m_callersStream);
    ASSERT_TRUE(output.openToResume(m_strOut, 0));
    EXPECT_EQ(output.findAmong({m_dir.file("none"), m_strOut}), m_strOut);
    EXPECT_EQ(output.findAmong({m_strOut + ".partial"}), m_strOut + ".partial");
}

} // namespace
} // namespace Corvana::Tools
