// SPDX-License-Identifier: Apache-2.0
// Every command with system calls that fail: the exit code is right, a message says why, nothing is half written under
// its final name. All calls and errors with CORVANA_ALL_FAULTS in the environment, else some of each kind.
#include "TracedCommand.h"
#include "support/ChunkBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>

namespace Corvana::Test {
namespace {

bool isThorough()
{
    const char* szAll = std::getenv("CORVANA_ALL_FAULTS");
    return szAll != nullptr && *szAll != '\0';
}

std::string recording(const std::string& in_strLabel)
{
    return riff(fmtChunk() + dataChunk(audioBytes(2 * 1000)) + cueChunk({cuePoint(1, 100), cuePoint(2, 200)}) +
                adtlChunk(ltxtChunk(1, 50) + lablChunk(1, in_strLabel) + ltxtChunk(2, 60) + lablChunk(2, "SF_12") +
                          ChunkBuilder("note").u32(1, "cue point").text("a note\0", "text").bytes()));
}

const TracedCommand::Files& files()
{
    static const TracedCommand::Files s_files{
        {"a.wav", recording("CPA_HUMAN")},
        {"b.wav", recording("VOICE")},
        {"list.txt", "a.wav\n# no more\nb.wav\n"},
        {"a.csv", "index,type,start,stop\n0,speech,0.01,0.02\n1,BEEP,0.03,0.04\n"},
        {"map.csv", "label,type\nspeech,CPA_HUMAN\n"},
        {"former.csv", "what was there before\n"}};
    return s_files;
}

/// A command, and how its run is started.
struct FaultyCommand
{
    std::string m_strName;
    std::vector<std::string> m_vArguments;
    std::string m_strInput{};  ///< what standard input comes from
    bool m_bPipe = false;      ///< results go to a pipe
    bool m_bInputPipe = false; ///< and standard input comes from one
    bool m_bScratch = false;   ///< temporary files of its own are among the files
};

std::ostream& operator<<(std::ostream& out_stream, const FaultyCommand& in_command)
{
    return out_stream << in_command.m_strName;
}

// In one thread: a fault hits the call of a number in each.
std::vector<FaultyCommand> commands()
{
    return {
        {"Features", {"features", "--jobs", "1", "@/a.wav", "@/b.wav"}},
        {"FeaturesIntoAPipe", {"features", "-f", "silenceratio", "@/a.wav"}, "", true},
        {"FeaturesIntoANewFile", {"features", "--jobs", "1", "-o", "@/new.csv", "@/a.wav", "@/b.wav"}},
        {"FeaturesOverAFormerFile", {"features", "--format", "jsonl", "-o", "@/former.csv", "@/a.wav"}},
        {"FeaturesOfAList", {"features", "--jobs", "1", "--labels", "--window-ms", "8", "--list", "@/list.txt"}},
        {"FeaturesOfStandardInput", {"features", "-"}, "a.wav"},
        {"FeaturesOfAPipe", {"features", "--expr", "n=mean(x)", "-"}, "a.wav", false, true},
        {"FeaturesWithSavedSettings", {"features", "--save-config", "@/settings.xml", "@/a.wav"}},
        {"Eval", {"eval", "mean(x)", "@/a.wav"}},
        {"Plot", {"plot", "@/a.wav", "-o", "@/new.svg"}},
        {"PlotASheet", {"plot", "-f", "silenceratio", "@/a.wav", "@/b.wav", "-o", "@/new.png"}},
        {"Report", {"report", "@/a.wav", "@/b.wav", "-o", "@/new.html"}},
        {"Doctor", {"doctor"}, "", false, false, true},
        {"Info", {"info", "@/a.wav", "@/b.wav"}},
        {"ListFeatures", {"list-features"}},
        {"ListFunctions", {"list-functions", "--json"}},
        {"Help", {"help", "features"}},
        {"List", {"annotations", "list", "--jobs", "1", "@/a.wav", "@/b.wav"}},
        {"Add", {"annotations", "add", "@/a.wav", "VOICE", "0.01", "0.02"}},
        {"AddToAList", {"annotations", "add", "-q", "--list", "@/list.txt", "VOICE", "0.01", "0.02"}},
        {"Merge", {"annotations", "merge", "@/a.wav", "@/b.wav"}},
        {"Copy", {"annotations", "copy", "--interop", "@/a.wav", "@/b.wav"}},
        {"Clear", {"annotations", "clear", "--match", "sf_.*", "@/a.wav"}},
        {"ClearAndSaveNotes", {"annotations", "clear", "--save-notes", "@/notes.json", "@/a.wav"}},
        {"Export", {"annotations", "export", "@/a.wav"}},
        {"ExportIntoAFile", {"annotations", "export", "-o", "@/former.csv", "@/a.wav"}},
        {"ExportIntoAFolder", {"annotations", "export", "--format", "json", "--folder", "@/new", "@/a.wav", "@/b.wav"}},
        {"Import", {"annotations", "import", "--map", "@/map.csv", "@/a.csv", "@/a.wav"}},
        {"ImportFromAFolder", {"annotations", "import", "--map", "@/map.csv", "--folder", "@", "@/a.wav"}},
        {"Stats", {"annotations", "stats", "--jobs", "1", "@/a.wav", "@/b.wav"}},
        {"Diff", {"annotations", "diff", "@/a.wav", "@/a.wav"}},
        {"Check", {"annotations", "check", "@/a.wav"}},
        {"Types", {"annotations", "types"}},
    };
}

struct Error
{
    const char* m_szName;
    int m_iNumber;
};
constexpr Error s_aErrors[] = {{"ENOSPC", ENOSPC}, {"EIO", EIO}, {"EINTR", EINTR}, {"EACCES", EACCES}};

class CommandFaultsTest : public testing::TestWithParam<FaultyCommand>
{
protected:
    void SetUp() override
    {
        if (!TracedCommand::isPossible())
            GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
        m_pCommand = std::make_unique<TracedCommand>(GetParam().m_vArguments, files());
        m_pCommand->setInput(GetParam().m_strInput, GetParam().m_bInputPipe);
        if (GetParam().m_bScratch)
            setenv("TMPDIR", m_pCommand->folder().c_str(), 1); // whose value the command's object gives back
        if (GetParam().m_bPipe)
            m_pCommand->setOutputToPipe();
        m_expected = m_pCommand->run();
        ASSERT_EQ(m_expected.m_iCode, 0) << m_expected.m_strMessages;
        m_pCommand->restoreFiles();
    }

    // Its results are about what it meets.
    static bool isDoctor() { return GetParam().m_vArguments[0] == "doctor"; }
    static bool isDrawn() { return GetParam().m_vArguments[0] == "plot" || GetParam().m_vArguments[0] == "report"; }

    bool isComplete(const RunResult& in_run) const
    {
        if (isDoctor())
            return in_run.m_strData.find("\n  WRONG  ") == std::string::npos && in_run.m_files == m_expected.m_files;
        return in_run.m_strData == m_expected.m_strData && withoutTemporaries(in_run.m_files) == m_expected.m_files;
    }

    static bool isTemporary(const std::string& in_strName) { return in_strName.find(".corvana-") != std::string::npos; }

    // Whole lines of it, in their order: the table of the recordings that could be read.
    static bool isPartOf(const std::string& in_strPart, const std::string& in_strAll)
    {
        std::istringstream part(in_strPart);
        std::istringstream all(in_strAll);
        for (std::string strLine; std::getline(part, strLine);) {
            std::string strFound;
            while (std::getline(all, strFound) && strFound != strLine) {
            }
            if (!all)
                return false;
        }
        return in_strPart.empty() || in_strPart.ends_with('\n');
    }

    // Under each name is what was there before or what comes out, or the part of it that could be read.
    void expectNothingHalfWritten(const RunResult& in_run) const
    {
        for (const auto& [strName, strBytes] : in_run.m_files) {
            if (isTemporary(strName))
                continue;
            const auto itOld = files().find(strName);
            const auto itNew = m_expected.m_files.find(strName);
            const bool bOld = itOld != files().end() && strBytes == itOld->second;
            const bool bNew = itNew != m_expected.m_files.end() &&
                              (strBytes == itNew->second || (in_run.m_iCode == 1 && isPartial(strName, strBytes)));
            EXPECT_TRUE(bOld || bNew) << strName << " with " << strBytes.size() << " bytes is neither old nor new";
        }
        for (const auto& [strName, strBytes] : files())
            EXPECT_TRUE(in_run.m_files.contains(strName)) << strName << " is gone";
    }

    bool isPartial(const std::string& in_strName, const std::string& in_strBytes) const
    {
        if (isDrawn()) // what could be read, in a picture or a page that is whole
            return in_strBytes.ends_with("IEND\xAE\x42\x60\x82") || in_strBytes.ends_with("</svg>\n") ||
                   in_strBytes.ends_with("</html>\n");
        return !in_strName.ends_with(".wav") && isPartOf(in_strBytes, m_expected.m_files.at(in_strName));
    }

    static TracedCommand::Files withoutTemporaries(TracedCommand::Files in_files)
    {
        std::erase_if(in_files, [](const auto& in_file) { return isTemporary(in_file.first); });
        return in_files;
    }

    static bool hasTemporary(const TracedCommand::Files& in_files)
    {
        return std::any_of(in_files.begin(), in_files.end(),
                           [](const auto& in_file) { return isTemporary(in_file.first); });
    }

    std::unique_ptr<TracedCommand> m_pCommand;
    RunResult m_expected;
};

class FailingCall : public CommandFaultsTest
{
protected:
    // The first call of each kind on each file, and every seventh; each with another error.
    std::vector<std::pair<Call, Error>> faults()
    {
        std::vector<std::pair<Call, Error>> vFaults;
        std::map<std::string, unsigned> kinds;
        std::size_t uiError = std::hash<std::string>()(GetParam().m_strName); // not the same for all commands
        for (const Call& call : m_pCommand->trace()) {
            if (call.m_strText.find("F_GETFD") != std::string::npos)
                continue; // asks whether a standard stream is open, and has no other way to fail
            const bool bChosen = kinds[kindOf(call)]++ == 0;
            for (const Error& error : s_aErrors)
                if (isThorough() || (bChosen && &error == &s_aErrors[uiError % std::size(s_aErrors)]))
                    vFaults.emplace_back(call, error);
            uiError += bChosen ? 1 : 0;
        }
        m_pCommand->restoreFiles();
        return vFaults;
    }

    static std::string kindOf(const Call& in_call)
    {
        const std::size_t uiPath = in_call.m_strText.find("folder");
        const std::size_t uiEnd = in_call.m_strText.find_first_of("\">", uiPath);
        return in_call.m_strName + (uiPath == std::string::npos
                                        ? in_call.m_strText.substr(0, in_call.m_strName.size() + 3)
                                        : in_call.m_strText.substr(uiPath, uiEnd - uiPath));
    }

    void check(const Call& in_call, const Error& in_error)
    {
        const std::string strFault =
            in_call.m_strName + ":error=" + in_error.m_szName + ":when=" + std::to_string(in_call.m_uiNumber);
        SCOPED_TRACE(strFault + " at " + in_call.m_strText);
        const RunResult run = m_pCommand->runWith(strFault);
        m_uiNbOfRuns += run.m_bInjected ? 1 : 0;
        ++m_anCodes[run.m_iCode >= 0 && run.m_iCode <= 2 ? run.m_iCode : 3];
        EXPECT_TRUE(run.m_iCode >= 0 && run.m_iCode <= 2) << run.m_iCode << ' ' << run.m_strMessages;
        if (run.m_iCode == 0)
            EXPECT_TRUE(isComplete(run)) << "although it says so\n" << run.m_strData << run.m_strMessages;
        else
            expectReason(run, in_call, in_error);
        expectNothingHalfWritten(run);
        if (hasTemporary(run.m_files)) {
            EXPECT_EQ(in_call.m_strName, "unlink") << "leaves a temporary file";
            m_pCommand->rewriteFiles();
            EXPECT_FALSE(hasTemporary(m_pCommand->run().m_files)) << "which the next run leaves, too";
        }
        m_pCommand->restoreFiles();
    }

    // Results, or files that come out: what the system says about them is told in its words. What libsndfile and the
    // standard streams read is told in theirs.
    static bool isWriting(const Call& in_call)
    {
        static const std::set<std::string> s_names = {"write",     "writev", "pwrite64",  "fsync",
                                                      "fdatasync", "rename", "renameat2", "ftruncate",
                                                      "truncate",  "mkdir",  "linkat"};
        return s_names.contains(in_call.m_strName);
    }

    // `doctor` tells what it finds among its results.
    static void expectReason(const RunResult& in_run, const Call& in_call, const Error& in_error)
    {
        if (in_call.m_strText.find("(2<") != std::string::npos) // nowhere to tell it
            return;
        const std::string strTold = in_run.m_strMessages + in_run.m_strData;
        EXPECT_TRUE(in_run.m_strMessages.starts_with("corvana: ") || isDoctor()) << strTold;
        EXPECT_NE(strTold.find(nameIn(in_call)), std::string::npos) << "no name in: " << strTold;
        if (isWriting(in_call) && !isDoctor()) {
            EXPECT_NE(strTold.find(std::strerror(in_error.m_iNumber)), std::string::npos)
                << "no reason in: " << strTold;
        }
    }

    // What the call is about; a temporary file stands for one that the command knows.
    static std::string nameIn(const Call& in_call)
    {
        if (in_call.m_strText.find("(0<") != std::string::npos)
            return "-";
        if (in_call.m_strText.find("(1<") != std::string::npos)
            return "standard output";
        const bool bOfDescriptor = in_call.m_strText.find('<') == in_call.m_strText.find_first_of("<\"");
        const std::string strPath =
            in_call.m_strText.substr(0, bOfDescriptor ? in_call.m_strText.find('>') : std::string::npos);
        for (const char* szName : {"a.wav", "b.wav", "list.txt", "a.csv", "map.csv", "former.csv", "new.csv", "new.png",
                                   "new.svg", "new.html", "settings.xml", "notes.json", "recording.wav"})
            if (strPath.find(szName) != std::string::npos)
                return szName;
        return "";
    }

    unsigned m_uiNbOfRuns = 0;
    unsigned m_anCodes[4] = {};
};

TEST_P(FailingCall, IsToldAndLeavesNothingHalfWritten)
{
    for (const auto& [call, error] : faults())
        check(call, error);
    EXPECT_GT(m_uiNbOfRuns, 0U);
    if (isThorough())
        std::printf("| %s | %u | %u | %u | %u |\n", GetParam().m_strName.c_str(), m_uiNbOfRuns, m_anCodes[0],
                    m_anCodes[1], m_anCodes[2]);
}

INSTANTIATE_TEST_SUITE_P(Of, FailingCall, testing::ValuesIn(commands()),
                         [](const auto& in_info) { return in_info.param.m_strName; });

// libsndfile goes on with zeros where the system fails in the middle of a header. Sound, regions and features are read
// one after the other: none of them may be missing from what comes out as if the recording had none.
class UnreadableRecording : public CommandFaultsTest
{
};

TEST_P(UnreadableRecording, IsToldWhereverReadingFails)
{
    const std::vector<Call> vCalls = m_pCommand->trace();
    unsigned uiNbOfReads = 0;
    for (const Call& call : vCalls) {
        const bool bOpens = call.m_strName == "openat" && call.m_strText.find("a.wav\"") != std::string::npos;
        const bool bReads = call.m_strName == "read" || call.m_strName == "lseek";
        if (!bOpens && !(bReads && uiNbOfReads++ % (isThorough() ? 1 : 3) == 0))
            continue;
        const RunResult run =
            m_pCommand->runWith(call.m_strName + ":error=EIO:when=" + std::to_string(call.m_uiNumber));
        EXPECT_TRUE(run.m_iCode == 1 || (run.m_iCode == 0 && isComplete(run))) << call.m_strText << run.m_strMessages;
        EXPECT_TRUE(run.m_iCode == 0 || run.m_strMessages.starts_with("corvana: ")) << call.m_strText;
    }
    EXPECT_GT(uiNbOfReads, 10U);
}

INSTANTIATE_TEST_SUITE_P(Of, UnreadableRecording,
                         testing::Values(FaultyCommand{"Info", {"info", "@/a.wav"}},
                                         FaultyCommand{"FeaturesWithLabels",
                                                       {"features", "--labels", "--window-ms", "8", "@/a.wav"}},
                                         FaultyCommand{"Plot", {"plot", "@/a.wav", "-o", "@/new.svg"}},
                                         FaultyCommand{"Report", {"report", "@/a.wav", "-o", "@/new.html"}},
                                         FaultyCommand{"FeaturesOfStandardInput", {"features", "-"}, "a.wav"},
                                         FaultyCommand{"FeaturesOfAPipe", {"features", "-"}, "a.wav", false, true}),
                         [](const auto& in_info) { return in_info.param.m_strName; });

// What a pipe delivers has no length that would betray it.
class BrokenPipeOfAudio : public CommandFaultsTest
{
};

TEST_P(BrokenPipeOfAudio, IsToldWhenReadingFailsBehindSomeRows)
{
    const std::vector<Call> vCalls = m_pCommand->trace();
    const auto itLast = std::find_if(vCalls.rbegin(), vCalls.rend(), [](const Call& in_call) {
        return in_call.m_strName == "read" && in_call.m_strText.starts_with("read(0<") &&
               !in_call.m_strText.ends_with(" = 0");
    });
    ASSERT_NE(itLast, vCalls.rend());

    const RunResult run = m_pCommand->runWith("read:error=EIO:when=" + std::to_string(itLast->m_uiNumber) + "+");

    EXPECT_TRUE(run.m_bInjected);
    EXPECT_EQ(run.m_iCode, 1) << run.m_strMessages;
    EXPECT_TRUE(run.m_strMessages.starts_with("corvana: -: breaks off: ")) << run.m_strMessages;
    EXPECT_NE(run.m_strMessages.find(std::strerror(EIO)), std::string::npos) << run.m_strMessages;
    EXPECT_TRUE(isPartOf(run.m_strData, m_expected.m_strData));
    EXPECT_GT(std::count(run.m_strData.begin(), run.m_strData.end(), '\n'), 1);
}

INSTANTIATE_TEST_SUITE_P(Of, BrokenPipeOfAudio,
                         testing::Values(FaultyCommand{"Features", {"features", "-"}, "a.wav", false, true},
                                         FaultyCommand{"Eval", {"eval", "mean(x)", "-"}, "a.wav", false, true}),
                         [](const auto& in_info) { return in_info.param.m_strName; });

// How often the recording is read from: a piece of each of its 8 windows, or at once.
class ReadFactor : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!TracedCommand::isPossible())
            GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
    }

    static long nbOfReads(const std::vector<std::string>& in_vArguments)
    {
        const std::vector<Call> vCalls = TracedCommand(in_vArguments, files()).trace();
        return std::count_if(vCalls.begin(), vCalls.end(), [](const Call& in_call) {
            return in_call.m_strName == "read" && in_call.m_strText.find("/a.wav>") != std::string::npos;
        });
    }
};

TEST_F(ReadFactor, HoldsAlsoWhenItIsOneAndGiven)
{
    EXPECT_GE(nbOfReads({"features", "--read-factor", "1", "@/a.wav"}), nbOfReads({"features", "@/a.wav"}) + 6);
}

// A run that is killed before a system call, which is also after the one before it.
class KilledRun : public CommandFaultsTest
{
protected:
    void check(const Call& in_call)
    {
        const std::string strFault = in_call.m_strName + ":signal=KILL:when=" + std::to_string(in_call.m_uiNumber);
        SCOPED_TRACE(strFault + " at " + in_call.m_strText);
        const RunResult run = m_pCommand->runWith(strFault);
        EXPECT_EQ(run.m_iCode, -SIGKILL);
        expectNothingHalfWritten(run);
        EXPECT_TRUE(!hasTemporary(run.m_files) || mayLeaveTemporary(in_call)) << "leaves a temporary file";
        m_bAnyOld = m_bAnyOld || withoutTemporaries(run.m_files) == files();
        m_bAnyNew = m_bAnyNew || withoutTemporaries(run.m_files) == m_expected.m_files;
        m_pCommand->rewriteFiles();
        const RunResult next = m_pCommand->run();
        EXPECT_EQ(next.m_iCode, 0) << next.m_strMessages;
        EXPECT_EQ(next.m_strData, m_expected.m_strData);
        EXPECT_TRUE(next.m_files == m_expected.m_files) << "the next run";
        m_pCommand->restoreFiles();
    }

    // An edit has a working copy as long as it takes. A table that replaces one has a name just before, but all the
    // time where the file system knows no files without one.
    bool mayLeaveTemporary(const Call& in_call) const
    {
        return GetParam().m_strName == "Merge" || in_call.m_strName == "rename" || !m_bUnnamed;
    }

    bool m_bUnnamed = false;
    bool m_bAnyOld = false;
    bool m_bAnyNew = false;
};

TEST_P(KilledRun, LeavesTheOldOrTheNewFiles)
{
    const std::vector<Call> vCalls = m_pCommand->trace();
    m_pCommand->restoreFiles();
    m_bUnnamed =
        std::any_of(vCalls.begin(), vCalls.end(), [](const Call& in_call) { return in_call.m_strName == "linkat"; });
    const std::size_t uiStride = isThorough() ? 1 : 11;
    unsigned uiNbOfRuns = 0;
    for (std::size_t uiIndex = 0; uiIndex < vCalls.size(); ++uiIndex) {
        // What gives a file its name, and what comes before and behind, is always among them.
        const auto isNaming = [&](std::size_t in_uiIndex) {
            return in_uiIndex < vCalls.size() &&
                   (vCalls[in_uiIndex].m_strName.starts_with("rename") || vCalls[in_uiIndex].m_strName == "unlink" ||
                    vCalls[in_uiIndex].m_strName == "linkat");
        };
        if (uiIndex % uiStride == 0 || isNaming(uiIndex) || isNaming(uiIndex - 1) || isNaming(uiIndex + 1)) {
            check(vCalls[uiIndex]);
            ++uiNbOfRuns;
        }
    }
    EXPECT_TRUE(m_bAnyOld && m_bAnyNew);
    if (isThorough())
        std::printf("| %s | %u |\n", GetParam().m_strName.c_str(), uiNbOfRuns);
}

INSTANTIATE_TEST_SUITE_P(
    Of, KilledRun,
    testing::Values(FaultyCommand{"FeaturesIntoANewFile", {"features", "-o", "@/new.csv", "@/a.wav"}},
                    FaultyCommand{"FeaturesOverAFormerFile",
                                  {"features", "--jobs", "1", "-o", "@/former.csv", "@/a.wav", "@/b.wav"}},
                    FaultyCommand{"Merge", {"annotations", "merge", "@/a.wav", "@/b.wav"}},
                    FaultyCommand{"ExportIntoAFile", {"annotations", "export", "-o", "@/former.csv", "@/a.wav"}},
                    FaultyCommand{"Plot", {"plot", "--format", "png", "-o", "@/former.csv", "@/a.wav"}},
                    FaultyCommand{"Report", {"report", "-o", "@/former.csv", "@/a.wav"}},
                    FaultyCommand{"FeaturesWithSavedSettings",
                                  {"features", "--save-config", "@/former.csv", "@/a.wav"}}),
    [](const auto& in_info) { return in_info.param.m_strName; });

// Where no file can be without a name.
class NamedTemporary : public CommandFaultsTest
{
protected:
    // The call that would make a file without one.
    std::string refusal()
    {
        for (const Call& call : m_pCommand->trace())
            if (call.m_strName == "openat" && call.m_strText.find("O_TMPFILE") != std::string::npos) {
                m_pCommand->restoreFiles();
                return "openat:error=EOPNOTSUPP:when=" + std::to_string(call.m_uiNumber);
            }
        return {};
    }
};

TEST_P(NamedTemporary, GivesTheSameResults)
{
    const RunResult run = m_pCommand->runWith(refusal());
    EXPECT_TRUE(run.m_bInjected);
    EXPECT_EQ(run.m_iCode, 0) << run.m_strMessages;
    EXPECT_TRUE(run.m_files == m_expected.m_files);
}

TEST_P(NamedTemporary, IsRemovedWhenASignalEndsItsRun)
{
    const RunResult run = m_pCommand->runWith(refusal(), "fsync:signal=TERM:when=1");
    EXPECT_EQ(run.m_iCode, -SIGTERM);
    EXPECT_TRUE(run.m_files == files());
}

TEST_P(NamedTemporary, IsRemovedByTheNextRunWhenItsOwnIsKilled)
{
    const RunResult run = m_pCommand->runWith(refusal(), "fsync:signal=KILL:when=1");
    EXPECT_EQ(run.m_iCode, -SIGKILL);
    EXPECT_TRUE(hasTemporary(run.m_files));
    EXPECT_TRUE(withoutTemporaries(run.m_files) == files());

    const RunResult next = m_pCommand->run();

    EXPECT_EQ(next.m_iCode, 0) << next.m_strMessages;
    EXPECT_TRUE(next.m_files == m_expected.m_files);
}

INSTANTIATE_TEST_SUITE_P(
    Of, NamedTemporary,
    testing::Values(FaultyCommand{"FeaturesIntoANewFile", {"features", "-o", "@/new.csv", "@/a.wav"}},
                    FaultyCommand{"FeaturesOverAFormerFile", {"features", "-o", "@/former.csv", "@/a.wav"}}),
    [](const auto& in_info) { return in_info.param.m_strName; });

// The program itself, without memory: main() and what libraries do there, too.
class RunWithoutMemory : public CommandFaultsTest
{
protected:
    // False: there are fewer allocations.
    bool check(unsigned in_uiNumber, bool in_bAllBehind)
    {
        SCOPED_TRACE("allocation " + std::to_string(in_uiNumber) + (in_bAllBehind ? " and all that follow" : " alone"));
        std::vector<std::string> vWords{"env", "LD_PRELOAD=" CORVANA_FAILING_MEMORY,
                                        "CORVANA_FAILING_ALLOCATION=" + std::to_string(in_uiNumber)};
        if (in_bAllBehind)
            vWords.emplace_back("CORVANA_FAILING_ALLOCATIONS=1");
        const RunResult run = m_pCommand->runBehind(vWords);
        m_uiNbOfUnharmed = run.m_iCode == 0 ? m_uiNbOfUnharmed + 1 : 0;
        EXPECT_TRUE(run.m_iCode >= 0 && run.m_iCode <= 2) << run.m_iCode << ' ' << run.m_strMessages;
        if (run.m_iCode == 0)
            EXPECT_TRUE(isComplete(run)) << "although it says so\n" << run.m_strData << run.m_strMessages;
        else
            EXPECT_TRUE(run.m_strMessages.starts_with("corvana: ") || isDoctor()) << run.m_strMessages;
        expectNothingHalfWritten(run);
        EXPECT_FALSE(hasTemporary(run.m_files));
        m_pCommand->restoreFiles();
        // Some failures are taken without harm; several in a row are the end.
        constexpr unsigned uiMaxUnharmed = 5;
        return m_uiNbOfUnharmed < uiMaxUnharmed && !HasFailure();
    }

    unsigned m_uiNbOfUnharmed = 0;
};

TEST_P(RunWithoutMemory, SaysSoAndLeavesNothingHalfWritten)
{
    // The options of all commands come first.
    constexpr unsigned uiFirst = 3000;
    unsigned uiNbOfRuns = 0;
    for (const bool bAllBehind : {false, true})
        for (unsigned uiNumber = isThorough() ? 1 : uiFirst; check(uiNumber, bAllBehind); ++uiNbOfRuns)
            uiNumber += isThorough() ? (uiNumber < uiFirst ? 97 : 1) : 149;
    EXPECT_GT(uiNbOfRuns, 1U);
    if (isThorough())
        std::printf("| %s | %u |\n", GetParam().m_strName.c_str(), uiNbOfRuns);
}

INSTANTIATE_TEST_SUITE_P(
    Of, RunWithoutMemory,
    testing::Values(FaultyCommand{"FeaturesOverAFormerFile", {"features", "-o", "@/former.csv", "@/a.wav"}},
                    FaultyCommand{"PlotASheet", {"plot", "@/a.wav", "@/b.wav", "-o", "@/new.svg"}},
                    FaultyCommand{"Report", {"report", "@/a.wav", "@/b.wav", "-o", "@/new.html"}},
                    FaultyCommand{"Doctor", {"doctor"}, "", false, false, true},
                    FaultyCommand{"Info", {"info", "--json", "@/a.wav", "@/b.wav"}},
                    FaultyCommand{"ListFunctions", {"list-functions", "--json"}},
                    FaultyCommand{"ClearAndSaveNotes",
                                  {"annotations", "clear", "--save-notes", "@/notes.json", "@/a.wav"}},
                    FaultyCommand{"Check", {"annotations", "check", "--json", "@/a.wav"}}),
    [](const auto& in_info) { return in_info.param.m_strName; });

// What the system does not let be read is no fault of the recording.
TEST(AnnotationsCheck, TellsThatARecordingCannotBeReadInsteadOfWhatIsWrongWithIt)
{
    if (!TracedCommand::isPossible())
        GTEST_SKIP() << "strace is not installed, or nothing may be traced here";
    TracedCommand command({"annotations", "check", "@/a.wav"}, files());
    unsigned uiNbOfFaults = 0;
    for (const char* szCall : {"read", "lseek"})
        for (unsigned uiNumber = 1; uiNumber <= 8; ++uiNumber) {
            const RunResult run =
                command.runWithIn(szCall + std::string(":error=EIO:when=") + std::to_string(uiNumber), {"a.wav"});
            SCOPED_TRACE(szCall + (" " + std::to_string(uiNumber)));
            if (run.m_iCode == 0)
                continue; // was about bytes that it needs not, or there are fewer
            ++uiNbOfFaults;
            EXPECT_EQ(run.m_iCode, 1);
            EXPECT_EQ(run.m_strData, "");
            EXPECT_TRUE(run.m_strMessages.starts_with("corvana: " + command.folder() + "/a.wav: Input/output error"))
                << run.m_strMessages;
        }
    EXPECT_GT(uiNbOfFaults, 5U);
}

// A system that gives and takes a few bytes at a time, and is interrupted again and again.
class PiecemealRun : public CommandFaultsTest
{
protected:
    void expectSame(const RunResult& in_run) const
    {
        EXPECT_EQ(in_run.m_iCode, 0) << in_run.m_strMessages;
        EXPECT_EQ(in_run.m_strData, m_expected.m_strData);
        EXPECT_TRUE(in_run.m_files == m_expected.m_files);
        m_pCommand->restoreFiles();
    }
};

TEST_P(PiecemealRun, GivesTheSameResults)
{
    for (const char* szPiece : {"1", "7"})
        expectSame(m_pCommand->runBehind(
            {"env", "LD_PRELOAD=" CORVANA_SHORT_COUNTS, std::string("CORVANA_SHORT_COUNT=") + szPiece}));
}

// Every other read from the first one of the files on; writes likewise.
TEST_P(PiecemealRun, GoesOnWhenItIsInterrupted)
{
    const std::vector<Call> vCalls = m_pCommand->trace();
    m_pCommand->restoreFiles();
    for (const char* szName : {"read", "write", "pread64"}) {
        const auto itFirst = std::find_if(vCalls.begin(), vCalls.end(),
                                          [&](const Call& in_call) { return in_call.m_strName == szName; });
        if (itFirst == vCalls.end())
            continue;
        SCOPED_TRACE(itFirst->m_strText);
        expectSame(m_pCommand->runWith(std::string(szName) +
                                       ":error=EINTR:when=" + std::to_string(itFirst->m_uiNumber) + "+2"));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, PiecemealRun, testing::ValuesIn(commands()),
                         [](const auto& in_info) { return in_info.param.m_strName; });

} // namespace
} // namespace Corvana::Test
