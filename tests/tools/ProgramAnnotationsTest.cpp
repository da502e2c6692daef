// SPDX-License-Identifier: Apache-2.0
// `corvana annotations` as a process: exit codes, full disks, signals.
#include "RecordingsTest.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class ProgramAnnotationsTest : public RecordingsTest
{
protected:
    // Runs a shell command with $C for the program, in the test's folder; standard error goes to a file.
    int runShell(const std::string& in_strCommand)
    {
        const std::string strAll = "cd '" + m_dir.path() + "' && C='" CORVANA_PROGRAM " annotations'; { " +
                                   in_strCommand + "; } 2>'" + m_dir.path() + "/.stderr'";
        const int iStatus = std::system(strAll.c_str());
        return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -WTERMSIG(iStatus);
    }

    std::string errors() const { return contentsOf(m_dir.file(".stderr")); }
    std::string file(const std::string& in_strName) const { return contentsOf(m_dir.file(in_strName)); }

    // A note, which the program warns about in the middle of an edit.
    void makeFileWithNote(const std::string& in_strName) const
    {
        m_dir.write(in_strName,
                    Corvana::Test::riff(
                        Corvana::Test::fmtChunk() + Corvana::Test::dataChunk(Corvana::Test::audioBytes(16000)) +
                        Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 2000)}) +
                        Corvana::Test::adtlChunk(
                            Corvana::Test::ltxtChunk(1, 4000) + Corvana::Test::lablChunk(1, "VOICE") +
                            Corvana::Test::ChunkBuilder("note").u32(1, "cue point").text("hm", "text").bytes())));
    }
};

/// A pipe that takes no byte more.
class FullPipe
{
public:
    FullPipe()
    {
        if (pipe2(m_aiEnds, O_CLOEXEC | O_NONBLOCK) != 0)
            return;
        const char acBytes[4096] = {};
        while (write(m_aiEnds[1], acBytes, sizeof acBytes) > 0) {
        }
        while (write(m_aiEnds[1], acBytes, 1) > 0) {
        }
        fcntl(m_aiEnds[1], F_SETFL, 0); // who writes now, waits
    }
    ~FullPipe()
    {
        close(m_aiEnds[0]);
        close(m_aiEnds[1]);
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    int writeEnd() const { return m_aiEnds[1]; }

private:
    int m_aiEnds[2] = {-1, -1};
};

TEST_F(ProgramAnnotationsTest, LabelsARecordingFromTheShell)
{
    makeFile("a.wav");
    makeFile("b.wav");

    EXPECT_EQ(
        runShell("$C add a.wav b.wav VOICE 0.25 0.75 >out && $C add --dry-run a.wav BEEP 0 1 >>out && "
                 "$C merge a.wav b.wav >>out && $C clear --match voice a.wav >>out && $C copy b.wav a.wav >>out && "
                 "$C list --format csv a.wav >>out"),
        0);

    EXPECT_EQ(errors(), "");
    EXPECT_EQ(file("out"), "a.wav: 1 region, 1 added\nb.wav: 1 region, 1 added\na.wav: 2 regions, 1 added (dry run)\n"
                           "b.wav: 2 regions, 1 added\na.wav: 0 regions, 1 removed\na.wav: 2 regions, 2 copied, 0 "
                           "removed\nindex,type,start,stop\n0,VOICE,0.25,0.75\n1,VOICE,0.25,0.75\n");
}

TEST_F(ProgramAnnotationsTest, TellsByItsExitCodeWhatCameOfIt)
{
    makeFile("a.wav");
    EXPECT_EQ(runShell("$C add none.wav a.wav VOICE 0 1 >out"), 1);
    EXPECT_EQ(errors(), "corvana: none.wav: Could not edit file, No such file or directory\n"
                        "corvana: 1 of 2 files failed\n");
    EXPECT_EQ(file("out"), "a.wav: 1 region, 1 added\n");
    EXPECT_EQ(runShell("$C add a.wav VOICE 1 0"), 2);
    EXPECT_EQ(runShell("$C"), 2);
    EXPECT_EQ(runShell("$C list a.wav >/dev/full"), 2);
    EXPECT_EQ(errors(), "corvana: cannot write: standard output: No space left on device\n");
}

TEST_F(ProgramAnnotationsTest, TellsThatItsResultsAreLostAndStops)
{
    makeFile("a.wav");
    makeFile("b.wav");
    const std::string strBefore = file("b.wav");
    EXPECT_EQ(runShell("$C add a.wav b.wav VOICE 0 1 >/dev/full"), 2);
    EXPECT_EQ(errors(), "corvana: cannot write: standard output: No space left on device\n");
    EXPECT_EQ(file("b.wav"), strBefore);
}

TEST_F(ProgramAnnotationsTest, LeavesTheRecordingAsItWasWhenThereIsNoRoom)
{
    // Blocks of the limit are 512 bytes: 16 KiB. The copy just fits, its regions do not; then not even the copy.
    makeFile("a.wav", {}, 8150);
    makeFile("b.wav", {}, 9000);
    const std::string strBefore = file("a.wav");
    ASSERT_LE(strBefore.size(), 16384U);
    const std::string strOther = file("b.wav");
    ASSERT_GT(strOther.size(), 16384U);

    EXPECT_EQ(runShell("ulimit -f 32; $C add a.wav b.wav VOICE 0 1 >out"), 1);

    EXPECT_EQ(errors(), "corvana: a.wav: Error writing WAV file (File too large)\n"
                        "corvana: b.wav: Could not edit file, could not make a working copy, File too large\n"
                        "corvana: 2 of 2 files failed\n");
    EXPECT_EQ(file("out"), "");
    EXPECT_EQ(file("a.wav"), strBefore);
    EXPECT_EQ(file("b.wav"), strOther);
    EXPECT_THAT(namesInFolder(), UnorderedElementsAre("a.wav", "b.wav", "out", ".stderr"));
}

TEST_F(ProgramAnnotationsTest, LeavesNoWorkingCopyWhenASignalEndsIt)
{
    makeFileWithNote("a.wav");
    const std::string strBefore = file("a.wav");
    for (const int iSignal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        // The warning about the note comes while there is a working copy, and waits for room in the pipe.
        const FullPipe pipe;
        const pid_t iChild = fork();
        ASSERT_GE(iChild, 0);
        if (iChild == 0) {
            if (chdir(m_dir.path().c_str()) == 0 && dup2(pipe.writeEnd(), STDERR_FILENO) >= 0)
                execl(CORVANA_PROGRAM, CORVANA_PROGRAM, "annotations", "clear", "a.wav", nullptr);
            _exit(99);
        }
        while (namesInFolder().size() < 2) {
            ASSERT_EQ(waitpid(iChild, nullptr, WNOHANG), 0) << "ended too early";
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        kill(iChild, iSignal);
        int iStatus = 0;
        ASSERT_EQ(waitpid(iChild, &iStatus, 0), iChild);
        EXPECT_TRUE(WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == iSignal) << iSignal;
        EXPECT_THAT(namesInFolder(), ElementsAre("a.wav")) << iSignal;
        EXPECT_EQ(file("a.wav"), strBefore) << iSignal;
    }
}

TEST_F(ProgramAnnotationsTest, EditsOneFileFromSeveralProcesses)
{
    makeFile("a.wav");

    EXPECT_EQ(runShell("for i in 1 2 3 4 5 6 7 8; do $C add a.wav SF_$i 0 1 >out$i & done; wait"), 0);

    EXPECT_EQ(errors(), "");
    EXPECT_EQ(runShell("$C list a.wav | head -1 >out"), 0);
    EXPECT_EQ(file("out"), "a.wav: 8 regions\n");
}

} // namespace
} // namespace Corvana::Tools
