// SPDX-License-Identifier: Apache-2.0
#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// The program as a process: exit codes, broken outputs, signals.

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

class ProgramTest : public testing::Test
{
protected:
    // Runs a shell command with $C for the program, in the test's folder; standard error goes to a file.
    int run(const std::string& in_strCommand)
    {
        const std::string strAll = "cd '" + m_dir.path() + "' && C='" CORVANA_PROGRAM "'; { " + in_strCommand +
                                   "; } 2>'" + m_dir.path() + "/.stderr'";
        const int iStatus = std::system(strAll.c_str());
        return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -WTERMSIG(iStatus);
    }

    std::string errors() const { return contentsOf(m_dir.file(".stderr")); }
    std::string file(const std::string& in_strName) const { return contentsOf(m_dir.file(in_strName)); }
    void makeSound(const std::string& in_strName, unsigned long in_uiNbOfSamples)
    {
        Corvana::Test::writeSoundFile(m_dir.file(in_strName), Corvana::Test::noise(in_uiNbOfSamples), 8000,
                                      Corvana::Test::WAV_PCM16);
    }
    // With a name or without one.
    bool hasOpenFile(pid_t in_iProcess) const
    {
        std::error_code error;
        for (const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(in_iProcess) + "/fd", error))
            if (std::filesystem::read_symlink(entry.path(), error).string().starts_with(m_dir.path() + "/"))
                return true;
        return false;
    }

    std::vector<std::string> temporaryFiles() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            if (entry.path().filename().string().starts_with(".corvana-"))
                vNames.push_back(entry.path().filename());
        return vNames;
    }

    Corvana::Test::TempDir m_dir;
};

TEST_F(ProgramTest, TellsItsVersionAndHelp)
{
    EXPECT_EQ(run("$C --version >version && $C help >help && $C features --help >>help"), 0);
    EXPECT_THAT(file("version"), StartsWith("corvana "));
    EXPECT_THAT(file("help"), HasSubstr("--window-ms"));
    EXPECT_EQ(errors(), "");
}

TEST_F(ProgramTest, TellsTheInstructionSetThatTheEnvironmentForces)
{
    EXPECT_EQ(run("CORVANA_SIMD=portable $C --version >version"), 0);
    EXPECT_THAT(file("version"), EndsWith(" (portable)\n"));
    EXPECT_EQ(errors(), "");
}

TEST_F(ProgramTest, WarnsWithItsVersionAboutAnInstructionSetThatItCannotUse)
{
    EXPECT_EQ(run("CORVANA_SIMD=sse9 $C --version >version"), 0);
    EXPECT_THAT(file("version"), StartsWith("corvana "));
    EXPECT_THAT(errors(), HasSubstr("sse9"));
}

TEST_F(ProgramTest, EndsWith2OnWrongUsage)
{
    EXPECT_EQ(run("$C >out"), 2);
    EXPECT_EQ(file("out"), "");
    EXPECT_EQ(run("$C nosuch"), 2);
    EXPECT_EQ(run("$C features"), 2);
    EXPECT_EQ(run("$C features --nosuch a.wav"), 2);
    EXPECT_EQ(run("$C features -f nosuch a.wav"), 2);
}

TEST_F(ProgramTest, EndsWith1WhenAnInputFails)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("$C features a.wav none.wav >out"), 1);
    EXPECT_THAT(file("out"), HasSubstr("\na.wav,0.128,"));
    EXPECT_THAT(errors(), StartsWith("corvana: none.wav: failed to open none.wav, "));
}

TEST_F(ProgramTest, EndsWith0WhenAllIsDone)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("$C features a.wav >out && $C info a.wav >>out && $C list-features >>out"), 0);
    EXPECT_EQ(errors(), "");
}

TEST_F(ProgramTest, EndsWith2WhenTheDiskIsFull)
{
    makeSound("a.wav", 1024);
    for (const char* szCommand : {"features a.wav", "info a.wav", "info --json a.wav", "list-features",
                                  "list-features --json", "--version", "help"}) {
        EXPECT_EQ(run(std::string("$C ") + szCommand + " >/dev/full"), 2) << szCommand;
        EXPECT_EQ(errors(), "corvana: cannot write: standard output: No space left on device\n") << szCommand;
    }
}

TEST_F(ProgramTest, EndsWith2WhenStandardOutputIsClosed)
{
    makeSound("a.wav", 1024);
    const std::string strSound = file("a.wav");
    for (const char* szCommand : {"features a.wav", "info a.wav", "--version"}) {
        EXPECT_EQ(run(std::string("$C ") + szCommand + " >&-"), 2) << szCommand;
        EXPECT_EQ(errors(), "corvana: cannot write: standard output: Bad file descriptor\n") << szCommand;
    }
    EXPECT_EQ(file("a.wav"), strSound);
}

TEST_F(ProgramTest, WritesNoMessageIntoAFileWhenStandardErrorIsClosed)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("$C features none.wav a.wav -o out 2>&-"), 1);
    EXPECT_THAT(file("out"), testing::Not(HasSubstr("corvana:")));
}

TEST_F(ProgramTest, EndsQuietlyWith2WhenItsReaderHasGone)
{
    makeSound("a.wav", 80000);
    EXPECT_EQ(run("{ $C features a.wav; echo $? >code; } | head -1 >out"), 0);
    EXPECT_EQ(file("code"), "2\n");
    EXPECT_THAT(file("out"), StartsWith("file,time,"));
    EXPECT_EQ(errors(), "");
}

TEST_F(ProgramTest, EndsWith2WhenAFileReachesItsSizeLimit)
{
    makeSound("a.wav", 80000);
    EXPECT_EQ(run("ulimit -f 8; $C features a.wav -o out"), 2);
    EXPECT_EQ(errors(), "corvana: cannot write: out: File too large\n");
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out")));
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(ProgramTest, ReadsStandardInputAndPipesOnce)
{
    makeSound("a.wav", 8000);
    EXPECT_EQ(run("$C features a.wav | cut -d, -f2- >file; cat a.wav | $C features - | cut -d, -f2- >stdin; "
                  "mkfifo pipe; cat a.wav >pipe & $C features pipe | cut -d, -f2- >fifo; wait"),
              0);
    EXPECT_FALSE(file("file").empty());
    EXPECT_EQ(file("stdin"), file("file"));
    EXPECT_EQ(file("fifo"), file("file"));
    EXPECT_EQ(errors(), "");
}

TEST_F(ProgramTest, AnswersBeforeTheInputEndsWhenWindowsAreComplete)
{
    // One file is complete, the next one never comes: the rows of the first are computed, and a signal ends the wait.
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("mkfifo never; timeout --preserve-status -s TERM 1 $C features a.wav never -o out"), 128 + SIGTERM);
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out")));
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(ProgramTest, LeavesNoTemporaryFileWhenASignalEndsIt)
{
    makeSound("a.wav", 1024);
    for (const int iSignal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        m_dir.write("out", "former");
        ASSERT_EQ(mkfifo(m_dir.file("never").c_str(), 0600), 0);
        const pid_t iChild = fork();
        ASSERT_GE(iChild, 0);
        if (iChild == 0) {
            if (chdir(m_dir.path().c_str()) == 0)
                execl(CORVANA_PROGRAM, CORVANA_PROGRAM, "features", "a.wav", "never", "-o", "out", nullptr);
            _exit(99);
        }
        while (!hasOpenFile(iChild)) {
            ASSERT_EQ(waitpid(iChild, nullptr, WNOHANG), 0) << "ended too early";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        kill(iChild, iSignal);
        int iStatus = 0;
        ASSERT_EQ(waitpid(iChild, &iStatus, 0), iChild);
        EXPECT_TRUE(WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == iSignal) << iSignal;
        EXPECT_THAT(temporaryFiles(), IsEmpty()) << iSignal;
        EXPECT_EQ(file("out"), "former") << iSignal;
        std::filesystem::remove(m_dir.file("never"));
    }
}

TEST_F(ProgramTest, KeepsIgnoringASignalThatItsCallerIgnores)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("trap '' HUP; mkfifo slow; { sleep 0.3; cat a.wav; } >slow & "
                  "$C features slow >out & p=$!; sleep 0.1; kill -HUP $p; wait $p"),
              0);
    EXPECT_THAT(file("out"), HasSubstr("\nslow,0.128,"));
}

TEST_F(ProgramTest, RefusesToAppendToARecordingThatItReads)
{
    makeSound("a.wav", 1024);
    const std::string strSound = file("a.wav");
    EXPECT_EQ(run("$C features a.wav >>a.wav"), 2);
    EXPECT_EQ(errors(), "corvana: a.wav: is both read and written; write to another file\n");
    EXPECT_EQ(file("a.wav"), strSound);
}

TEST_F(ProgramTest, WritesAPointWhateverTheLocale)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("LC_ALL=de_DE.UTF-8 $C features a.wav >german; LC_ALL=C $C features a.wav >plain"), 0);
    EXPECT_EQ(file("german"), file("plain"));
    EXPECT_THAT(file("plain"), HasSubstr("\na.wav,0.016,0."));
}

TEST_F(ProgramTest, ShowsProgressOnlyWhenAsked)
{
    makeSound("a.wav", 1024);
    EXPECT_EQ(run("$C features a.wav >out"), 0);
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(run("$C features --progress always a.wav >out"), 0);
    EXPECT_THAT(errors(), StartsWith("corvana: 0.128 s of audio in "));
}

} // namespace
} // namespace Corvana::Tools
