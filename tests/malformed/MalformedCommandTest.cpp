// SPDX-License-Identifier: Apache-2.0
// Every malformed file through the commands, each in this process; some, or with CORVANA_MALFORMED_FULL=1 all, through
// the program itself.
#include "MalformedTestHelpers.h"

#include "tools/CommandAnnotationsAdd.h"
#include "tools/CommandAnnotationsCheck.h"
#include "tools/CommandAnnotationsClear.h"
#include "tools/CommandAnnotationsList.h"
#include "tools/CommandAnnotationsTransfer.h"
#include "tools/CommandFeatures.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

#include <sys/wait.h>

namespace Corvana::Test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// What a command said.
struct Reply
{
    int m_iExitCode = -1;
    std::string m_strData;
    std::string m_strMessages;
};

template <class CommandT>
Reply runCommand(const typename CommandT::Options& in_options, const PlainWav& in_plain)
{
    std::ostringstream data;
    std::ostringstream messages;
    Reply run;
    {
        const BoundedMemory memory(in_plain.size(), in_plain.m_vRegions.size());
        run.m_iExitCode = CommandT::run(in_options, data, messages);
    }
    run.m_strData = data.str();
    run.m_strMessages = messages.str();
    return run;
}

class MalformedCommandTest : public testing::TestWithParam<CaseGroup>
{
protected:
    MalformedCases cases() const { return GetParam().m_pCases(); }

    TempDir m_dir;
};

// ---- Edits

/// What an edit should make of a file.
struct Expected
{
    std::string m_strRefusal; ///< part of the message; empty: it is done
    bool m_bChanged = true;
    PlainRegions m_vRegions;
};

std::string refusalText(const PlainWav& in_plain)
{
    return in_plain.m_strRefusal == "channels" ? " channels" : in_plain.m_strRefusal;
}

double sampleOf(double in_dSeconds, const PlainWav& in_plain)
{
    return std::floor(in_dSeconds * in_plain.m_uiSampleRate + 0.5);
}

double endOf(const PlainWav& in_plain)
{
    return static_cast<double>(in_plain.m_uiNbOfSamples) / in_plain.m_uiSampleRate;
}

// What a file holds already is cut at the end of the audio by any change.
PlainRegions cut(TimedRegions in_vRegions, const PlainWav& in_plain)
{
    for (TimedRegion& region : in_vRegions) {
        region.m_dStart = std::min(region.m_dStart, endOf(in_plain));
        region.m_dStop = std::min(region.m_dStop, endOf(in_plain));
    }
    return placed(in_vRegions, in_plain);
}

// What comes is cut, or left out when it begins where the audio ends.
TimedRegions clipped(const TimedRegions& in_vRegions, const PlainWav& in_plain)
{
    TimedRegions vClipped;
    const double dEnd = in_plain.m_uiNbOfSamples;
    for (const TimedRegion& region : in_vRegions) {
        const double dStart = sampleOf(region.m_dStart, in_plain);
        const double dStop = sampleOf(region.m_dStop, in_plain);
        if (dStop <= dEnd || dStart < dEnd)
            vClipped.push_back(
                {region.m_strType, dStart / in_plain.m_uiSampleRate, std::min(dStop, dEnd) / in_plain.m_uiSampleRate});
    }
    return vClipped;
}

Expected expectedOf(const PlainWav& in_plain, const TimedRegions& in_vAfter)
{
    if (!in_plain.m_strRefusal.empty())
        return {refusalText(in_plain), false, {}};
    if (in_vAfter == timed(in_plain))
        return {{}, false, {}};
    const bool bSkipped = std::any_of(in_vAfter.begin(), in_vAfter.end(),
                                      [](const TimedRegion& in_region) { return in_region.m_strType.empty(); });
    if (in_vAfter.size() > 1048576)
        return {"are the most that readers accept", false, {}};
    if (bSkipped)
        return {"has no type", false, {}};
    if (in_vAfter.empty() && in_plain.m_bHolderCannotGo)
        return {"Not able to delete empty LIST chunk", false, {}};
    return {{}, true, cut(in_vAfter, in_plain)};
}

const TimedRegions s_vDonated = {{"VOICE", 0.0, 0.001}, {"BEEP", 0.002, 0.003}};

TimedRegions joined(TimedRegions in_vRegions, const TimedRegions& in_vMore)
{
    in_vRegions.insert(in_vRegions.end(), in_vMore.begin(), in_vMore.end());
    return in_vRegions;
}

TimedRegions withoutVoices(TimedRegions in_vRegions)
{
    std::erase_if(in_vRegions, [](const TimedRegion& in_region) { return in_region.m_strType == "VOICE"; });
    return in_vRegions;
}

struct CommandEdit
{
    const char* m_szName;
    std::function<Reply(const std::string& in_strFile, const std::string& in_strDonor, const PlainWav& in_plain)> m_run;
    std::function<TimedRegions(const PlainWav& in_plain)> m_regionsAfter;
};

CommandEdit addEdit()
{
    return {"add",
            [](const std::string& in_strFile, const std::string&, const PlainWav& in_plain) {
                Tools::CommandAnnotationsAdd::Options options;
                options.m_vArguments = {in_strFile, "MUSIC", "0", "0"};
                return runCommand<Tools::CommandAnnotationsAdd>(options, in_plain);
            },
            [](const PlainWav& in_plain) {
                return joined(timed(in_plain), {{"MUSIC", 0.0, 0.0}});
            }};
}

CommandEdit clearEdit(const char* in_szPattern)
{
    return {in_szPattern == nullptr ? "clear" : "clear --match",
            [in_szPattern](const std::string& in_strFile, const std::string&, const PlainWav& in_plain) {
                Tools::CommandAnnotationsClear::Options options;
                options.m_vFiles = {in_strFile};
                if (in_szPattern != nullptr)
                    options.m_strPattern = in_szPattern;
                return runCommand<Tools::CommandAnnotationsClear>(options, in_plain);
            },
            [in_szPattern](const PlainWav& in_plain) {
                return in_szPattern == nullptr ? TimedRegions() : withoutVoices(timed(in_plain));
            }};
}

CommandEdit transferEdit(bool in_bReplace)
{
    return {in_bReplace ? "copy" : "merge",
            [in_bReplace](const std::string& in_strFile, const std::string& in_strDonor, const PlainWav& in_plain) {
                Tools::CommandAnnotationsTransfer::Options options;
                options.m_vFiles = {in_strFile};
                options.m_strSource = in_strDonor;
                options.m_bReplace = in_bReplace;
                options.m_bClip = true;
                return runCommand<Tools::CommandAnnotationsTransfer>(options, in_plain);
            },
            [in_bReplace](const PlainWav& in_plain) {
                if (!in_plain.m_strRefusal.empty())
                    return TimedRegions();
                return joined(in_bReplace ? TimedRegions() : timed(in_plain), clipped(s_vDonated, in_plain));
            }};
}

void expectOutcome(const Expected& in_expected, const TriedFile& in_file, const PlainWav& in_plain)
{
    if (in_expected.m_strRefusal.empty() && in_expected.m_bChanged)
        in_file.expectRegions(in_plain, in_expected.m_vRegions);
    else
        in_file.expectUntouched();
}

void expectEdit(const CommandEdit& in_edit, TriedFile& inout_file, const std::string& in_strDonor,
                const PlainWav& in_plain)
{
    SCOPED_TRACE(in_edit.m_szName);
    inout_file.restore();
    const Reply run = in_edit.m_run(inout_file.path(), in_strDonor, in_plain);

    const Expected expected = expectedOf(in_plain, in_edit.m_regionsAfter(in_plain));
    const bool bDone = expected.m_strRefusal.empty();
    EXPECT_EQ(run.m_iExitCode, bDone ? 0 : 1) << run.m_strMessages;
    expectOutcome(expected, inout_file, in_plain);
    if (bDone) {
        EXPECT_THAT(run.m_strData, AllOf(StartsWith(inout_file.path() + ": "), EndsWith("\n")));
    } else {
        EXPECT_THAT(run.m_strMessages,
                    AllOf(HasSubstr("corvana: " + inout_file.path() + ": "), HasSubstr(expected.m_strRefusal)));
    }
    EXPECT_THAT(run.m_strMessages, Not(HasSubstr(".corvana-edit-")));
}

TEST_P(MalformedCommandTest, IsEditedAsAWholeOrNamedAndLeftAlone)
{
    const std::string strDonor = m_dir.write("donor.wav", donorBytes());
    std::vector<CommandEdit> vEdits = {addEdit(), clearEdit(nullptr), transferEdit(false), transferEdit(true)};
    // Differs from the other in the choice of regions alone, and tries each type there is.
    if (GetParam().m_pCases != byteCases)
        vEdits.push_back(clearEdit("voice"));
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        for (const CommandEdit& edit : vEdits)
            expectEdit(edit, file, strDonor, in_plain);
    });
}

// ---- Looking and mending

TEST_P(MalformedCommandTest, IsListedWithTheRegionsThatTheRulesGive)
{
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        const TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        Tools::CommandAnnotationsList::Options options;
        options.m_vFiles = {file.path()};
        options.m_format = Tools::RegionFormat::CSV;
        const Reply run = runCommand<Tools::CommandAnnotationsList>(options, in_plain);

        file.expectUntouched();
        EXPECT_EQ(run.m_iExitCode, in_plain.m_strRefusal.empty() ? 0 : 1);
        TimedRegions vExpected = timed(in_plain);
        TimedRegions vListed(vExpected.size()); // those that are skipped are not listed
        std::istringstream rows(run.m_strData);
        std::string strRow;
        std::getline(rows, strRow);
        while (std::getline(rows, strRow)) {
            const std::size_t uiType = strRow.find(',') + 1;
            const std::size_t uiStart = strRow.find(',', uiType) + 1;
            const std::size_t uiStop = strRow.find(',', uiStart) + 1;
            const std::size_t uiIndex = std::stoul(strRow);
            ASSERT_LT(uiIndex, vListed.size());
            vListed[uiIndex] = {strRow.substr(uiType, uiStart - uiType - 1), std::strtod(&strRow[uiStart], nullptr),
                                std::strtod(&strRow[uiStop], nullptr)};
        }
        EXPECT_TRUE(vListed == vExpected) << run.m_strData.substr(0, 1000);
        if (!in_plain.m_strRefusal.empty()) {
            EXPECT_THAT(run.m_strMessages, HasSubstr("corvana: " + file.path() + ": "));
        }
    });
}

Reply check(const TriedFile& in_file, bool in_bFix, const PlainWav& in_plain)
{
    Tools::CommandAnnotationsCheck::Options options;
    options.m_vFiles = {in_file.path()};
    options.m_bFix = in_bFix;
    return runCommand<Tools::CommandAnnotationsCheck>(options, in_plain);
}

bool hasErrors(const PlainWav& in_plain)
{
    return !in_plain.m_strRefusal.empty() || in_plain.m_bHidesChunks;
}

std::string odditiesOf(const PlainWav& in_plain)
{
    return in_plain.m_strRefusal + testing::PrintToString(in_plain.m_mendable) +
           testing::PrintToString(in_plain.m_lasting);
}

TEST_P(MalformedCommandTest, IsFoundFaultyByCheckOnlyWhenTheRulesSaySo)
{
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        const TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        const Reply run = check(file, false, in_plain);

        file.expectUntouched();
        const bool bGood = !hasErrors(in_plain) && in_plain.m_mendable.empty() && in_plain.m_lasting.empty();
        EXPECT_EQ(run.m_iExitCode, bGood ? 0 : 1) << run.m_strData << run.m_strMessages << odditiesOf(in_plain);
        EXPECT_EQ(run.m_strData.find(": unreadable") != std::string::npos, hasErrors(in_plain)) << run.m_strData;
        EXPECT_THAT(run.m_strData + run.m_strMessages, HasSubstr(file.path() + ": "));
    });
}

PlainRegions mended(const PlainWav& in_plain)
{
    TimedRegions vRegions = timed(in_plain);
    std::erase_if(vRegions, [](const TimedRegion& in_region) { return in_region.m_strType.empty(); });
    return cut(vRegions, in_plain);
}

TEST_P(MalformedCommandTest, IsMendedWithoutALossOrLeftAlone)
{
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        const TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        const Reply run = check(file, true, in_plain);

        const PlainRegions vMended = hasErrors(in_plain) ? PlainRegions() : mended(in_plain);
        const bool bMendable = !hasErrors(in_plain) && !in_plain.m_mendable.empty() && in_plain.m_uiNbOfNotes == 0 &&
                               !(vMended.empty() && in_plain.m_bHolderCannotGo);
        if (!bMendable) {
            file.expectUntouched();
            const bool bGood = !hasErrors(in_plain) && in_plain.m_mendable.empty() && in_plain.m_lasting.empty();
            EXPECT_EQ(run.m_iExitCode, bGood ? 0 : 1) << run.m_strData << run.m_strMessages;
            EXPECT_THAT(run.m_strData, Not(HasSubstr(": mended at")));
            if (!hasErrors(in_plain) && !in_plain.m_mendable.empty()) {
                EXPECT_THAT(run.m_strMessages, HasSubstr("corvana: " + file.path() + ": not mended: "));
            }
            return;
        }
        EXPECT_THAT(run.m_strData, HasSubstr(": mended at")) << run.m_strMessages << odditiesOf(in_plain);
        file.expectRegions(in_plain, vMended);
        const PlainWav after(file.bytes());
        EXPECT_TRUE(after.m_mendable.empty()) << odditiesOf(after);
        EXPECT_EQ(run.m_iExitCode, after.m_lasting.empty() ? 0 : 1) << run.m_strData << odditiesOf(after);
    });
}

// ---- Features

struct SoundLength
{
    explicit SoundLength(const std::string& in_strPath)
    {
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> pFile(
            sf_open(readablePath(in_strPath).c_str(), SFM_READ, &info), sf_close);
        m_bMono = pFile != nullptr && info.channels == 1;
        m_uiRate = static_cast<unsigned long>(info.samplerate);
        m_bWhole = true;
        double adChunk[1024];
        for (sf_count_t iRead = 0; pFile != nullptr && (iRead = sf_readf_double(pFile.get(), adChunk, 1)) > 0;)
            m_uiNbOfFrames += static_cast<unsigned long>(iRead);
        m_bWhole = m_uiNbOfFrames >= static_cast<unsigned long>(info.frames);
    }

    bool m_bMono;
    bool m_bWhole;
    unsigned long m_uiRate;
    unsigned long m_uiNbOfFrames = 0;
};

TEST_P(MalformedCommandTest, HasARowForEachWindowOfTheAudioThatLibsndfileReads)
{
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        const TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        const SoundLength sound(file.path());
        Tools::CommandFeatures::Options options;
        options.m_vInputs = {file.path()};
        options.m_vFeatures = {"zerocrossingrate"};
        options.m_windows.m_uiWindowMs = 1;
        const Reply run = runCommand<Tools::CommandFeatures>(options, in_plain);

        file.expectUntouched();
        const unsigned long uiWindow = std::max(1UL, sound.m_uiRate / 1000);
        const bool bDone = sound.m_bMono && sound.m_bWhole;
        EXPECT_EQ(run.m_iExitCode, bDone ? 0 : 1) << run.m_strMessages;
        const auto iNbOfLines = std::count(run.m_strData.begin(), run.m_strData.end(), '\n');
        EXPECT_EQ(iNbOfLines, 1 + static_cast<long>(sound.m_bMono ? sound.m_uiNbOfFrames / uiWindow : 0));
        if (!bDone) {
            EXPECT_THAT(run.m_strMessages, HasSubstr("corvana: " + file.path() + ": "));
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Of, MalformedCommandTest, testing::ValuesIn(s_aGroups), nameOfGroup);

// ---- The program

class MalformedProgramTest : public testing::Test
{
protected:
    static MalformedCases cases()
    {
        return std::getenv("CORVANA_MALFORMED_FULL") == nullptr ? faultCases() : allMalformedCases();
    }

    void SetUp() override
    {
        std::string strNames;
        for (const MalformedCase& malformed : cases()) {
            m_vFiles.push_back(std::make_unique<TriedFile>(m_dir.file(std::to_string(m_vFiles.size()) + ".wav"),
                                                           malformed.m_strBytes));
            strNames += m_vFiles.back()->path() + "\n";
        }
        m_dir.write("list", strNames);
    }

    // Works on all files. A process of its own, whose signal would be seen.
    void run(const std::string& in_strCommand, const std::string& in_strOptions = "")
    {
        const std::string strAll = "cd '" + m_dir.path() + "' && '" CORVANA_PROGRAM "' " + in_strCommand +
                                   " --list list " + in_strOptions + " >data 2>messages";
        const int iStatus = std::system(strAll.c_str());
        EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 1) << iStatus; // some files fail
        m_strMessages = contentsOf(m_dir.file("messages"));
    }

    bool isNamed(const TriedFile& in_file) const
    {
        const std::string strName = "corvana: " + in_file.path() + ": ";
        for (std::size_t uiPos = m_strMessages.find(strName); uiPos != std::string::npos;
             uiPos = m_strMessages.find(strName, uiPos + 1))
            if (m_strMessages.compare(uiPos + strName.size(), 8, "warning:") != 0)
                return true;
        return false;
    }

    void expectEdit(const std::string& in_strCommand, const CommandEdit& in_edit, const std::string& in_strOptions)
    {
        run("annotations " + in_strCommand, in_strOptions);
        const MalformedCases vCases = cases();
        for (std::size_t uiCase = 0; uiCase < vCases.size(); ++uiCase) {
            SCOPED_TRACE(vCases[uiCase].m_strName);
            const PlainWav plain(vCases[uiCase].m_strBytes);
            const Expected expected = expectedOf(plain, in_edit.m_regionsAfter(plain));
            EXPECT_EQ(isNamed(*m_vFiles[uiCase]), !expected.m_strRefusal.empty()) << m_strMessages.substr(0, 500);
            expectOutcome(expected, *m_vFiles[uiCase], plain);
        }
    }

    TempDir m_dir;
    std::vector<std::unique_ptr<TriedFile>> m_vFiles;
    std::string m_strMessages;
};

TEST_F(MalformedProgramTest, AddsToTheFilesThatCanBeReadAndNamesTheOthers)
{
    expectEdit("add", addEdit(), "MUSIC 0 0");
}

TEST_F(MalformedProgramTest, ClearsTheFilesThatCanBeReadAndNamesTheOthers)
{
    expectEdit("clear", clearEdit(nullptr), "");
}

TEST_F(MalformedProgramTest, MendsNoFileThatCannotBeRead)
{
    run("annotations check --fix");
    const MalformedCases vCases = cases();
    for (std::size_t uiCase = 0; uiCase < vCases.size(); ++uiCase) {
        SCOPED_TRACE(vCases[uiCase].m_strName);
        const PlainWav plain(vCases[uiCase].m_strBytes);
        if (hasErrors(plain))
            m_vFiles[uiCase]->expectUntouched();
        else
            EXPECT_TRUE(isSame(PlainWav(m_vFiles[uiCase]->bytes()).foreign(), plain.foreign()));
    }
}

TEST_F(MalformedProgramTest, AnalysesWhatLibsndfileOpensAndNamesTheOthers)
{
    run("features -f zerocrossingrate --window-ms 1");
    const MalformedCases vCases = cases();
    for (std::size_t uiCase = 0; uiCase < vCases.size(); ++uiCase) {
        SCOPED_TRACE(vCases[uiCase].m_strName);
        const SoundLength sound(m_vFiles[uiCase]->path());
        m_vFiles[uiCase]->expectUntouched();
        EXPECT_EQ(isNamed(*m_vFiles[uiCase]), !sound.m_bMono || !sound.m_bWhole) << m_strMessages.substr(0, 500);
    }
}

} // namespace
} // namespace Corvana::Test
