// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAnnotation.h"

#include "audio/AnnotationTestHelpers.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Corvana::Test;
using Corvana::Audio::AnnotatedFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* s_szLogger = "kestrivon.audio.annotation";
constexpr int s_iErrors = 40000;

const std::string s_strHead = fmtChunk() + dataChunk(audioBytes(16000)); // one second

std::string wav(const std::string& in_strChunks)
{
    return riff(s_strHead + in_strChunks);
}

const std::string s_strPlain = wav("");
const std::string s_strOne = wav(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "MALE")));
const std::string s_strOther = wav(cueChunk({cuePoint(1, 4000), cuePoint(2, 0)}) +
                                   adtlChunk(records(1, 4000, "CPA_DTMF_1") + records(2, 8, "SF_12")));
const std::string s_strBroken = wav(cueChunk({cuePoint(1, 800)})); // neither stop nor label
const Annotation s_beep(Annotation::BEEP, 0.5, 1);

/// Writes one target and reads at most one other file: what all operations have in common.
struct Operation
{
    const char* m_szName;
    std::function<bool(const char* in_szTarget)> m_run;
    const char* m_szOpenFault;
    const char* m_szParseFault;
    const char* m_szWriteOpenFault;
};

class AnnotationOperation : public testing::TestWithParam<std::string>
{
protected:
    Operation operation() const
    {
        for (const Operation& candidate : operations())
            if (GetParam() == candidate.m_szName)
                return candidate;
        throw std::logic_error("no such operation");
    }

    std::vector<Operation> operations() const
    {
        const std::string strInput = m_strInput;
        return {
            {"addAnnotation", [](const char* in_szFile) { return AnnotatedFile::addAnnotation(in_szFile, s_beep); },
             "Could not open file : ", "Error parsing WAV file : ", "Could not open output file for writing: "},
            {"addAnnotations",
             [strInput](const char* in_szFile) { return AnnotatedFile::addAnnotations(strInput.c_str(), in_szFile); },
             "Could not open output file for reading: ", "Error parsing output WAV file : ",
             "Could not open output file for writing: "},
            {"copyAnnotations",
             [strInput](const char* in_szFile) { return AnnotatedFile::copyAnnotations(strInput.c_str(), in_szFile); },
             "Could not open output file for reading: ", "Error parsing output WAV file : ",
             "Could not open out_file for writing: "},
            {"clearAnnotationsByPattern",
             [](const char* in_szFile) { return AnnotatedFile::clearAnnotations(in_szFile, "MALE"); },
             "Could not open ile for reading: ", "Error parsing WAV file : ", "Could not file for writing: "},
            {"clearAnnotations", [](const char* in_szFile) { return AnnotatedFile::clearAnnotations(in_szFile); },
             "Could not open ile for reading: ", "Error parsing WAV file : ", "Could not file for writing: "},
        };
    }

    // Runs the operation, which has to fail with this message as its last.
    void expectFault(const std::string& in_strFile, const std::string& in_strFault)
    {
        LogCapture log(s_szLogger, s_iErrors);
        EXPECT_FALSE(operation().m_run(in_strFile.c_str()));
        ASSERT_FALSE(log.events().empty());
        const LogEvent& event = log.events().back();
        EXPECT_EQ(in_strFault + in_strFile, event.m_strText);
        EXPECT_EQ(40000, event.m_iLevel);
        EXPECT_EQ(s_szLogger, event.m_strLogger);
        EXPECT_EQ("AudioAnnotation", event.m_strFile);
        m_vTexts = log.texts();
    }

    TempDir m_folder;
    std::string m_strInput = m_folder.write("input.wav", s_strOther);
    std::vector<std::string> m_vTexts;
};

INSTANTIATE_TEST_SUITE_P(All, AnnotationOperation,
                         testing::Values("addAnnotation", "addAnnotations", "copyAnnotations",
                                         "clearAnnotationsByPattern", "clearAnnotations"),
                         [](const auto& in_info) { return in_info.param; });

// While it exists, files cannot grow beyond this; writing more fails, as on a full disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t in_uiBytes)
        : m_former(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_limit);
        const struct rlimit limit = {in_uiBytes, m_limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_former);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    struct rlimit m_limit = {};
    void (*m_former)(int);
};

// Somebody who may not write other people's files, which root may.
class OrdinaryUser
{
public:
    OrdinaryUser() { m_bChanged = geteuid() == 0 && seteuid(65534) == 0; }
    ~OrdinaryUser()
    {
        if (m_bChanged && seteuid(0) != 0)
            std::abort(); // other tests count on it
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool m_bChanged = false;
};

} // namespace

TEST_P(AnnotationOperation, TellsThatItCannotOpenTheTarget)
{
    expectFault(m_folder.file("missing.wav"), operation().m_szOpenFault);

    EXPECT_EQ(1u, m_vTexts.size());
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("missing.wav")));
}

TEST_P(AnnotationOperation, TellsThatItCannotParseTheTarget)
{
    for (const std::string& strContents : {std::string("This is no WAV file."), std::string(),
                                           "RIFX" + s_strPlain.substr(4), "RF64" + s_strPlain.substr(4)}) {
        const std::string strFile = m_folder.write("target.wav", strContents);

        expectFault(strFile, operation().m_szParseFault);

        EXPECT_EQ(strContents, contentsOf(strFile));
    }
}

TEST_P(AnnotationOperation, TellsWhatIsWrongWithTheTargetFirst)
{
    const std::string strFile = m_folder.write("target.wav", s_strBroken);

    expectFault(strFile, operation().m_szParseFault);

    EXPECT_THAT(m_vTexts, ElementsAre("Error, at least a start time is missing in the annotations",
                                      operation().m_szParseFault + strFile));
    EXPECT_EQ(s_strBroken, contentsOf(strFile));
}

TEST_P(AnnotationOperation, LeavesHostileFilesAsTheyAre)
{
    const std::string strCue = cueChunk({cuePoint(1, 800)});
    for (const std::string& strContents :
         {riff(dataChunk("ab")), riff(fmtChunk()), riff(fmtChunk(1, 8000, 7) + dataChunk("ab")),
          riff(fmtChunk(1, 0) + dataChunk("ab")), riff(fmtChunk(2) + dataChunk("abcd")),
          wav(cueChunk({cuePoint(0xFFFFFFFF, 800)}) + adtlChunk(records(0xFFFFFFFF, 400, "MALE"))),
          wav(strCue + adtlChunk(records(1, 400, "dog"))), wav(strCue + adtlChunk(ltxtChunk(1, 400))),
          s_strOne.substr(0, 8) + "AVI " + s_strOne.substr(12)}) {
        const std::string strFile = m_folder.write("target.wav", strContents);

        expectFault(strFile, operation().m_szParseFault);

        EXPECT_EQ(strContents, contentsOf(strFile));
    }
}

TEST_P(AnnotationOperation, CannotParseAFolder)
{
    expectFault(m_folder.path(), operation().m_szParseFault);
}

TEST_P(AnnotationOperation, TellsThatItCannotOpenTheTargetForWriting)
{
    const std::string strFile = m_folder.write("target.wav", s_strOne);
    ASSERT_EQ(0, chmod(strFile.c_str(), 0444));
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0755));
    {
        const OrdinaryUser user;
        expectFault(strFile, operation().m_szWriteOpenFault);
    }
    EXPECT_EQ(1u, m_vTexts.size());
    EXPECT_EQ(s_strOne, contentsOf(strFile));
}

TEST_P(AnnotationOperation, TellsThatItMayNotOpenTheTarget)
{
    const std::string strFile = m_folder.write("target.wav", s_strOne);
    ASSERT_EQ(0, chmod(strFile.c_str(), 0));
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0755));
    const OrdinaryUser user;
    expectFault(strFile, operation().m_szOpenFault);
}

TEST_P(AnnotationOperation, TellsThatTheDiskIsFull)
{
    const std::string strFile = m_folder.write("target.wav", s_strOne);
    const FileSizeLimit limit(4096);

    expectFault(strFile, "Error writing WAV file : ");

    EXPECT_EQ(s_strOne.substr(8, 4088), contentsOf(strFile).substr(8)); // in place: it is cut off
}

TEST_P(AnnotationOperation, PreparesEverythingBeforeItOpensTheTarget)
{
    // The only chunk of a container that is no list: it cannot be deleted when it is left empty.
    const std::string strNote = ChunkBuilder("note").text("n.", "text").bytes();
    const std::string strContents = wav(ChunkBuilder("RIFF").text("WAVE", "form type").add(strNote).bytes());
    const std::string strFile = m_folder.write("target.wav", strContents);
    m_strInput = m_folder.write("input.wav", s_strPlain); // so that there is nothing to write
    if (GetParam() == "addAnnotation") {                  // which always has an annotation to put there
        EXPECT_TRUE(operation().m_run(strFile.c_str()));
        return;
    }
    expectFault(strFile, "Error writing WAV file : ");

    EXPECT_THAT(m_vTexts, ElementsAre("Not able to delete empty LIST chunk", "Error writing WAV file : " + strFile));
    EXPECT_EQ(hex(strContents), hex(contentsOf(strFile)));
}

TEST_P(AnnotationOperation, KeepsAudioAndForeignChunks)
{
    const std::string strForeign = ChunkBuilder("odd1").text("abc", "").padding(0xAA).bytes();
    const std::string strInfo = listChunk("INFO", ChunkBuilder("ISFT").text("tool.", "").padding(7).bytes() + "tail.");
    const std::string strContents = riff(strForeign + s_strHead + strInfo) + "behind";
    const std::string strFile = m_folder.write("target.wav", strContents);

    ASSERT_TRUE(operation().m_run(strFile.c_str()));

    const std::string strAfter = contentsOf(strFile);
    EXPECT_EQ(hex(strContents.substr(8, strContents.size() - 14)), hex(strAfter.substr(8, strContents.size() - 14)));
    EXPECT_EQ("behind", strAfter.substr(strAfter.size() - 6));
}

TEST_P(AnnotationOperation, IsSilentAboutWhatWentWell)
{
    const std::string strFile = m_folder.write("target.wav", s_strOne);
    LogCapture log("kestrivon", 30000);

    EXPECT_TRUE(operation().m_run(strFile.c_str()));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_P(AnnotationOperation, WorksInAnyLocaleOfTheHost)
{
    struct ForeignNumbers : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::string strPlain = m_folder.write("plain.wav", s_strOne);
    const std::string strForeign = m_folder.write("foreign.wav", s_strOne);
    ASSERT_TRUE(operation().m_run(strPlain.c_str()));
    const std::locale former = std::locale::global(std::locale(std::locale(), new ForeignNumbers));
    const bool bDone = operation().m_run(strForeign.c_str());
    std::locale::global(former);

    EXPECT_TRUE(bDone);
    EXPECT_EQ(hex(contentsOf(strPlain)), hex(contentsOf(strForeign)));
}

TEST_P(AnnotationOperation, TakesNoNameForAFileThatCannotBeOpened)
{
    LogCapture log(s_szLogger, s_iErrors);

    EXPECT_FALSE(operation().m_run(nullptr));

    EXPECT_EQ(1u, log.texts().size());
}

// ---- addAnnotation ----

class AddAnnotation : public testing::Test
{
protected:
    TempDir m_folder;
    std::string m_strFile = m_folder.write("target.wav", s_strOne);
};

TEST_F(AddAnnotation, AppendsBehindTheOthers)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), Annotation(Annotation::SF_1, 0, 0.25)));

    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1 1 0-0.25", listed(contentsOf(m_strFile)));
    EXPECT_EQ(hex(wav(adtlChunk(records(1, 400, "MALE") + records(2, 4000, "BEEP") + records(3, 2000, "SF_1")) +
                      cueChunk({cuePoint(1, 800), cuePoint(2, 4000), cuePoint(3, 0)}))),
              hex(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, CountsIdentifiersFromOneAgain)
{
    m_folder.write("target.wav", wav(cueChunk({cuePoint(0, 800)}) + adtlChunk(records(0, 400, "MALE"))));

    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));

    EXPECT_EQ(hex(wav(adtlChunk(records(1, 400, "MALE") + records(2, 4000, "BEEP")) +
                      cueChunk({cuePoint(1, 800), cuePoint(2, 4000)}))),
              hex(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, WritesLabelsFirstWhenToldSo)
{
    m_folder.write("target.wav", s_strPlain);

    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep, AnnotatedFile::LABELS_FIRST));

    EXPECT_EQ(hex(wav(cueChunk({cuePoint(1, 4000)}) + adtlChunk(lablChunk(1, "BEEP") + ltxtChunk(1, 4000)))),
              hex(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, TakesAnAnnotationTwice)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));

    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1 4008 0.5-1", listed(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, TakesAStopBeforeTheStart)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), Annotation(Annotation::BEEP, 0.5, 0.4)));

    // -800 + 0.5 becomes -799: 4294966497 in 32 bits.
    EXPECT_EQ(hex(wav(adtlChunk(records(1, 400, "MALE") + records(2, 4294966497, "BEEP")) +
                      cueChunk({cuePoint(1, 800), cuePoint(2, 4000)}))),
              hex(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, TakesNoTypeAndWritesAFileThatNoReaderTakes)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), Annotation()));
    EXPECT_EQ("refused", listed(contentsOf(m_strFile)));

    LogCapture log(s_szLogger, s_iErrors);
    EXPECT_FALSE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));
    EXPECT_EQ("Error parsing WAV file : " + m_strFile, log.texts().back());
}

TEST_F(AddAnnotation, TakesTimesThatAreNoTimes)
{
    const double dNaN = std::numeric_limits<double>::quiet_NaN();
    const double dInfinity = std::numeric_limits<double>::infinity();
    for (const double dStart : {dNaN, dInfinity, -dInfinity, 1e300, -1e300, -1.0, -0.0}) {
        for (const double dStop : {dNaN, dInfinity, -dInfinity, 1e300, -1e300, -1.0, 0.5}) {
            m_folder.write("target.wav", s_strPlain);
            EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), Annotation(Annotation::BEEP, dStart, dStop)));
            EXPECT_NE("refused", listed(contentsOf(m_strFile)));
        }
    }
}

TEST_F(AddAnnotation, WarnsOfARegionBeyondTheAudio)
{
    LogCapture log(s_szLogger, 30000);

    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), Annotation(Annotation::BEEP, 2, 3)));

    EXPECT_EQ(2u, log.texts().size());
    EXPECT_EQ("4003 0.1-0.15 4008 1-1", listed(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, WritesThroughASymbolicLink)
{
    const std::string strLink = m_folder.file("link.wav");
    std::filesystem::create_symlink(m_strFile, strLink);

    EXPECT_TRUE(AnnotatedFile::addAnnotation(strLink.c_str(), s_beep));

    EXPECT_TRUE(std::filesystem::is_symlink(strLink));
    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", listed(contentsOf(m_strFile)));
}

TEST_F(AddAnnotation, LeavesNoOtherFileBehind)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotation(m_strFile.c_str(), s_beep));

    EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(m_folder.path()), {}));
}

// ---- addAnnotations and copyAnnotations ----

class TwoFiles : public testing::Test
{
protected:
    void expectFault(bool in_bCopy, const std::string& in_strInput, const std::string& in_strFault)
    {
        LogCapture log(s_szLogger, s_iErrors);
        EXPECT_FALSE(in_bCopy ? AnnotatedFile::copyAnnotations(in_strInput.c_str(), m_strTarget.c_str())
                              : AnnotatedFile::addAnnotations(in_strInput.c_str(), m_strTarget.c_str()));
        EXPECT_EQ(in_strFault, log.texts().back());
        EXPECT_EQ(s_strOne, contentsOf(m_strTarget));
    }

    TempDir m_folder;
    std::string m_strInput = m_folder.write("input.wav", s_strOther);
    std::string m_strTarget = m_folder.write("target.wav", s_strOne);
};

TEST_F(TwoFiles, AddsBehindTheTargetsOwn)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotations(m_strInput.c_str(), m_strTarget.c_str()));

    EXPECT_EQ("4003 0.1-0.15 4153 0.5-1 12 0-0.001", listed(contentsOf(m_strTarget)));
    EXPECT_EQ(hex(s_strOther), hex(contentsOf(m_strInput)));
}

TEST_F(TwoFiles, CopiesOverTheTargetsOwn)
{
    EXPECT_TRUE(AnnotatedFile::copyAnnotations(m_strInput.c_str(), m_strTarget.c_str()));

    EXPECT_EQ("4153 0.5-1 12 0-0.001", listed(contentsOf(m_strTarget)));
    EXPECT_EQ(hex(s_strOther), hex(contentsOf(m_strInput)));
}

TEST_F(TwoFiles, CopiesNothingFromAFileWithoutAnnotations)
{
    m_folder.write("input.wav", s_strPlain);

    EXPECT_TRUE(AnnotatedFile::copyAnnotations(m_strInput.c_str(), m_strTarget.c_str()));

    EXPECT_EQ(hex(s_strPlain), hex(contentsOf(m_strTarget)));
}

TEST_F(TwoFiles, AddsNothingFromAFileWithoutAnnotations)
{
    m_folder.write("input.wav", s_strPlain);

    EXPECT_TRUE(AnnotatedFile::addAnnotations(m_strInput.c_str(), m_strTarget.c_str()));

    EXPECT_EQ("4003 0.1-0.15", listed(contentsOf(m_strTarget)));
}

TEST_F(TwoFiles, PlacesTimesByTheTargetsRateAndLength)
{
    m_folder.write("target.wav", riff(fmtChunk(1, 16000, 8) + dataChunk(audioBytes(12000)))); // 0.75 s
    LogCapture log(s_szLogger, 30000);

    EXPECT_TRUE(AnnotatedFile::addAnnotations(m_strInput.c_str(), m_strTarget.c_str()));

    EXPECT_EQ("4153 0.5-0.75 12 0-0.001", listed(contentsOf(m_strTarget)));
    EXPECT_THAT(log.texts(), ElementsAre("Stop time for one of the annotations is greater than the end of this audio "
                                         "file. Shrinking it..."));
}

TEST_F(TwoFiles, WritesLabelsFirstWhenToldSo)
{
    m_folder.write("target.wav", s_strPlain);
    const std::string strExpected =
        wav(cueChunk({cuePoint(1, 4000), cuePoint(2, 0)}) +
            adtlChunk(lablChunk(1, "CPA_DTMF_1") + lablChunk(2, "SF_12") + ltxtChunk(1, 4000) + ltxtChunk(2, 8)));

    EXPECT_TRUE(AnnotatedFile::copyAnnotations(m_strInput.c_str(), m_strTarget.c_str(), AnnotatedFile::LABELS_FIRST));
    EXPECT_EQ(hex(strExpected), hex(contentsOf(m_strTarget)));

    m_folder.write("target.wav", s_strPlain);
    EXPECT_TRUE(AnnotatedFile::addAnnotations(m_strInput.c_str(), m_strTarget.c_str(), AnnotatedFile::LABELS_FIRST));
    EXPECT_EQ(hex(strExpected), hex(contentsOf(m_strTarget)));
}

TEST_F(TwoFiles, TellThatTheInputCannotBeOpened)
{
    for (const bool bCopy : {false, true})
        expectFault(bCopy, m_folder.file("missing.wav"), "Could not open input file : " + m_folder.file("missing.wav"));
}

TEST_F(TwoFiles, TellThatTheInputCannotBeParsed)
{
    for (const std::string& strContents : {std::string("no WAV file"), s_strBroken}) {
        m_folder.write("input.wav", strContents);
        for (const bool bCopy : {false, true})
            expectFault(bCopy, m_strInput, "Error parsing input WAV file : " + m_strInput);
    }
}

TEST_F(TwoFiles, DoNotOpenTheTargetWhenTheInputFails)
{
    LogCapture log(s_szLogger, s_iErrors);
    const std::string strMissing = m_folder.file("missing.wav");

    EXPECT_FALSE(AnnotatedFile::addAnnotations(strMissing.c_str(), m_folder.file("nor this").c_str()));
    EXPECT_FALSE(AnnotatedFile::copyAnnotations(strMissing.c_str(), m_folder.file("nor this").c_str()));

    EXPECT_THAT(log.texts(),
                ElementsAre("Could not open input file : " + strMissing, "Could not open input file : " + strMissing));
}

TEST_F(TwoFiles, CreateNoTargetThatDoesNotExist)
{
    const std::string strMissing = m_folder.file("missing.wav");
    LogCapture log(s_szLogger, s_iErrors);

    EXPECT_FALSE(AnnotatedFile::addAnnotations(m_strInput.c_str(), strMissing.c_str()));
    EXPECT_FALSE(AnnotatedFile::copyAnnotations(m_strInput.c_str(), strMissing.c_str()));

    EXPECT_THAT(log.texts(), ElementsAre("Could not open output file for reading: " + strMissing,
                                         "Could not open output file for reading: " + strMissing));
    EXPECT_FALSE(std::filesystem::exists(strMissing));
}

TEST_F(TwoFiles, MayBeOneFile)
{
    EXPECT_TRUE(AnnotatedFile::addAnnotations(m_strTarget.c_str(), m_strTarget.c_str()));

    EXPECT_EQ("4003 0.1-0.15 4003 0.1-0.15", listed(contentsOf(m_strTarget)));
}

// ---- clearAnnotations ----

class ClearAnnotations : public testing::Test
{
protected:
    // The types that are left when those that match are removed, and the number told.
    std::string leftBy(const char* in_szPattern)
    {
        AnnotatedFile file;
        readFrom(s_strPlain, file);
        for (const Annotation::AnnotationType type :
             {Annotation::CPA_HUMAN, Annotation::DTMF_1, Annotation::CPA_DTMF_1, Annotation::TEST5_HUMAN,
              Annotation::DTMF_STAR, Annotation::CPA_FAX, Annotation::SF_12})
            file.annotations().emplace_back(type, 0, 0);
        m_strFile = m_folder.write("target.wav", written(file));
        LogCapture log(s_szLogger, 20000);
        if (!AnnotatedFile::clearAnnotations(m_strFile.c_str(), in_szPattern))
            return log.texts().back();

        AnnotatedFile after;
        EXPECT_TRUE(readFrom(contentsOf(m_strFile), after));
        EXPECT_EQ(1u, log.events().size());
        EXPECT_EQ(20000, log.events()[0].m_iLevel);
        EXPECT_EQ(s_szLogger, log.events()[0].m_strLogger);
        EXPECT_EQ("Number of annotations cleared in file " + m_strFile + " : " +
                      std::to_string(7 - after.annotations().size()),
                  log.events()[0].m_strText);
        std::string strLeft;
        for (const Annotation& annotation : after.annotations())
            strLeft += std::string(Annotation::getAnnotationTypeString(annotation.m_type)) + " ";
        return strLeft;
    }

    TempDir m_folder;
    std::string m_strFile;
};

TEST_F(ClearAnnotations, RemovesWhatMatchesAsAWhole)
{
    EXPECT_EQ("DTMF_1 TEST5_HUMAN DTMF_STAR SF_12 ", leftBy("cpa_.*"));
    EXPECT_EQ("CPA_HUMAN CPA_DTMF_1 TEST5_HUMAN DTMF_STAR CPA_FAX SF_12 ", leftBy("DTMF_[0-9]"));
    EXPECT_EQ("DTMF_1 CPA_DTMF_1 DTMF_STAR CPA_FAX SF_12 ", leftBy(".*HUMAN"));
    EXPECT_EQ("CPA_HUMAN DTMF_1 CPA_DTMF_1 TEST5_HUMAN DTMF_STAR CPA_FAX ", leftBy("sf_\\d+"));
    EXPECT_EQ("", leftBy(".*"));
    EXPECT_EQ("DTMF_1 DTMF_STAR ", leftBy("(cpa|test.)_.*|SF_12"));
}

TEST_F(ClearAnnotations, RemovesNothingByAPartOfTheText)
{
    const std::string strAll = "CPA_HUMAN DTMF_1 CPA_DTMF_1 TEST5_HUMAN DTMF_STAR CPA_FAX SF_12 ";
    for (const char* szPattern : {"", "HUMAN", "CPA", "CPA_", "SF_1", "^$", "no such type"})
        EXPECT_EQ(strAll, leftBy(szPattern)) << szPattern;
}

TEST_F(ClearAnnotations, RewritesTheFileWhenNothingMatches)
{
    m_strFile = m_folder.write("target.wav", s_strOne);
    LogCapture log(s_szLogger, 20000);

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), "nothing"));

    EXPECT_THAT(log.texts(), ElementsAre("Number of annotations cleared in file " + m_strFile + " : 0"));
    EXPECT_EQ(hex(wav(adtlChunk(records(1, 400, "MALE")) + cueChunk({cuePoint(1, 800)}))), hex(contentsOf(m_strFile)));
}

TEST_F(ClearAnnotations, RefusesAMalformedPatternAndLeavesTheFile)
{
    m_strFile = m_folder.write("target.wav", s_strOne);
    for (const char* szPattern : {"(", "[", "*", "a{2,1}", "\\"}) {
        LogCapture log(s_szLogger, 20000);

        EXPECT_FALSE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), szPattern));

        ASSERT_THAT(log.texts(),
                    ElementsAre("Unexpected std::runtime exception caught in clearAnnotations with regex: \"" +
                                std::string(szPattern) + "\""));
        EXPECT_EQ(40000, log.events()[0].m_iLevel);
        EXPECT_EQ(s_szLogger, log.events()[0].m_strLogger);
        EXPECT_EQ("AudioAnnotation", log.events()[0].m_strFile);
        EXPECT_EQ(hex(s_strOne), hex(contentsOf(m_strFile)));
    }
}

TEST_F(ClearAnnotations, RefusesAPatternThatTakesTooLong)
{
    m_strFile = m_folder.write("target.wav",
                               wav(cueChunk({cuePoint(1, 0)}) + adtlChunk(records(1, 1, "CPA_NUMBER_UNOBTAINABLE"))));
    const std::string strBefore = contentsOf(m_strFile);
    LogCapture log(s_szLogger, 20000);

    EXPECT_FALSE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), "((.*)*)*((.*)*)*((.*)*)*((.*)*)*((.*)*)*x"));

    EXPECT_THAT(log.texts(), ElementsAre("Unexpected std::runtime exception caught in clearAnnotations with regex: "
                                         "\"((.*)*)*((.*)*)*((.*)*)*((.*)*)*((.*)*)*x\""));
    EXPECT_EQ(hex(strBefore), hex(contentsOf(m_strFile)));
}

TEST_F(ClearAnnotations, DoesNotLookAtAPatternWithoutAnnotations)
{
    m_strFile = m_folder.write("target.wav", s_strPlain);
    LogCapture log(s_szLogger, 20000);

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), "("));

    EXPECT_THAT(log.texts(), ElementsAre("Number of annotations cleared in file " + m_strFile + " : 0"));
}

TEST_F(ClearAnnotations, TellsTheNumberBeforeItOpensTheFile)
{
    m_strFile = m_folder.write("target.wav", s_strOne);
    const FileSizeLimit limit(4096);
    LogCapture log(s_szLogger, 20000);

    EXPECT_FALSE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), "male"));

    EXPECT_THAT(log.texts(), ElementsAre("Number of annotations cleared in file " + m_strFile + " : 1",
                                         "Error writing WAV file : " + m_strFile));
}

TEST_F(ClearAnnotations, MatchesGapsByTheUnknownText)
{
    m_strFile = m_folder.write("target.wav", wav(cueChunk({cuePoint(2, 800)}) + adtlChunk(records(2, 400, "MALE"))));

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str(), "\\?.*"));

    EXPECT_EQ("4003 0.1-0.15", listed(contentsOf(m_strFile)));
}

TEST_F(ClearAnnotations, RemovesAll)
{
    m_strFile = m_folder.write("target.wav", s_strOther);
    LogCapture log(s_szLogger, 20000);

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str()));

    EXPECT_EQ(hex(s_strPlain), hex(contentsOf(m_strFile)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(ClearAnnotations, RewritesAFileWithoutAnnotationsAsItWas)
{
    const std::string strFile = wav(adtlChunk(ChunkBuilder("file").text("abc", "").padding(3).bytes())) + "behind";
    m_strFile = m_folder.write("target.wav", strFile);

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str()));

    EXPECT_EQ(hex(strFile), hex(contentsOf(m_strFile)));
}

TEST_F(ClearAnnotations, RemovesNotesToo)
{
    m_strFile = m_folder.write("target.wav", wav(adtlChunk(ChunkBuilder("note").text("note", "").bytes())));

    EXPECT_TRUE(AnnotatedFile::clearAnnotations(m_strFile.c_str()));

    EXPECT_EQ(hex(s_strPlain), hex(contentsOf(m_strFile)));
}

// ---- updateFile ----

class UpdateFile : public testing::Test
{
protected:
    // Reads the regions of these contents, adds a beep, and updates the file.
    bool update(const std::string& in_strContents)
    {
        m_strFile = m_folder.write("target.wav", in_strContents);
        AnnotatedFile file;
        std::ifstream stream(m_strFile, std::ios::binary);
        EXPECT_TRUE(file.readRegionsFromWAV(stream).good());
        file.annotations().push_back(s_beep);
        return file.updateFile(m_strFile.c_str());
    }
    // What adding a beep in place makes of the contents.
    std::string expected(const std::string& in_strContents)
    {
        const std::string strFile = m_folder.write("expected.wav", in_strContents);
        EXPECT_TRUE(AnnotatedFile::addAnnotation(strFile.c_str(), s_beep));
        return contentsOf(strFile);
    }

    TempDir m_folder;
    std::string m_strFile;
};

TEST_F(UpdateFile, MakesTheSameFileAsAnOperation)
{
    const std::string strOdd = riff(fmtChunk(1, 8000, 8) + dataChunk(audioBytes(8001)));
    std::string strInterrupted =
        riff(fmtChunk() + ChunkBuilder("data").text(audioBytes(16000), "").claim(0xFFFFFFFF).bytes());
    strInterrupted.replace(4, 4, littleEndian32(0xFFFFFFFF));
    for (const std::string& strContents :
         {s_strPlain, s_strOne, s_strOther, s_strPlain + "behind", strOdd, strOdd.substr(0, strOdd.size() - 1),
          strInterrupted, wav(listChunk("INFO", "tail")),
          riff(adtlChunk(records(7, 1, "MALE").substr(0, 0)) + s_strHead),
          wav(adtlChunk(ChunkBuilder("note").text(std::string(5000, 'n'), "a long text").bytes()) + "tail")}) {
        EXPECT_TRUE(update(strContents));
        EXPECT_EQ(hex(expected(strContents)), hex(contentsOf(m_strFile)));
    }
}

TEST_F(UpdateFile, WritesTheWholeFileWhereTheAudioHasToMove)
{
    const std::string strContents = riff(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "MALE")) + s_strHead);

    EXPECT_TRUE(update(strContents));

    EXPECT_EQ(hex(expected(strContents)), hex(contentsOf(m_strFile)));
    EXPECT_EQ("4003 0.1-0.15 4008 0.5-1", listed(contentsOf(m_strFile)));
}

TEST_F(UpdateFile, CutsOffWhatIsLeftOver)
{
    m_strFile = m_folder.write("target.wav", s_strOther);
    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().clear();

    EXPECT_TRUE(file.updateFile(m_strFile.c_str()));

    EXPECT_EQ(hex(s_strPlain), hex(contentsOf(m_strFile)));
}

TEST_F(UpdateFile, TellsThatTheFileCannotBeWritten)
{
    AnnotatedFile file;
    std::istringstream stream(s_strOne);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    LogCapture log(s_szLogger, s_iErrors);
    const std::string strMissing = m_folder.file("missing.wav");

    EXPECT_FALSE(file.updateFile(strMissing.c_str()));

    EXPECT_THAT(log.texts(), ElementsAre("Error writing WAV file : " + strMissing));
    EXPECT_FALSE(std::filesystem::exists(strMissing));
}

TEST_F(UpdateFile, TellsThatAFileWhoseAudioHasToMoveIsGone)
{
    std::istringstream stream(riff(cueChunk({cuePoint(1, 800)}) + adtlChunk(records(1, 400, "MALE")) + s_strHead));
    AnnotatedFile file;
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().push_back(s_beep);
    LogCapture log(s_szLogger, s_iErrors);
    const std::string strMissing = m_folder.file("missing.wav");

    EXPECT_FALSE(file.updateFile(strMissing.c_str()));

    EXPECT_THAT(log.texts(), ElementsAre("Could not open output file for reading: " + strMissing));
    EXPECT_FALSE(std::filesystem::exists(strMissing));
}

TEST_F(UpdateFile, TellsThatTheDiskIsFull)
{
    m_strFile = m_folder.write("target.wav", s_strPlain);
    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().push_back(s_beep);
    const FileSizeLimit limit(s_strPlain.size());
    LogCapture log(s_szLogger, s_iErrors);

    EXPECT_FALSE(file.updateFile(m_strFile.c_str()));

    EXPECT_THAT(log.texts(), ElementsAre("Error writing WAV file : " + m_strFile));
}

TEST_F(UpdateFile, TakesARecordingOfNearlyFourGigabytes)
{
    // Silence that takes no room on the disk. With the records, the form has 0xFFFFFFFE bytes, the most there are.
    const std::string strRecords = cueChunk({cuePoint(1, 4000)}) + adtlChunk(records(1, 4000, "BEEP"));
    const auto uiData = static_cast<std::uint32_t>(0xFFFFFFFE - 4 - 24 - 8 - strRecords.size());
    const auto header = [uiData](std::uint32_t in_uiFormSize) {
        return "RIFF" + littleEndian32(in_uiFormSize) + "WAVE" + fmtChunk() + "data" + littleEndian32(uiData);
    };
    m_strFile = m_folder.write("target.wav", header(uiData + 36));
    std::filesystem::resize_file(m_strFile, 44 + std::uintmax_t{uiData});
    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().push_back(s_beep);

    EXPECT_TRUE(file.updateFile(m_strFile.c_str()));

    EXPECT_EQ(std::uintmax_t{0xFFFFFFFE} + 8, std::filesystem::file_size(m_strFile));
    std::ifstream written(m_strFile, std::ios::binary);
    std::string strHead(44, '\0');
    written.read(strHead.data(), 44);
    EXPECT_EQ(hex(header(0xFFFFFFFE)), hex(strHead));
    written.seekg(44 + std::streamoff{uiData});
    EXPECT_EQ(hex(strRecords), hex({std::istreambuf_iterator<char>(written), {}}));
}

TEST_F(UpdateFile, RefusesMoreThanFourGigabytesWithoutReadingTheAudio)
{
    const auto uiData = std::uint32_t{0xFFFFFFFE} - 4 - 24 - 8;
    m_strFile = m_folder.write("target.wav", "RIFF" + littleEndian32(0xFFFFFFFE) + "WAVE" + fmtChunk() + "data" +
                                                 littleEndian32(uiData));
    std::filesystem::resize_file(m_strFile, 44 + std::uintmax_t{uiData});
    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().push_back(s_beep);
    const LogCapture log("kestrivon", 30000);

    EXPECT_FALSE(file.updateFile(m_strFile.c_str())); // reading it would take minutes, and 4 GiB of memory

    EXPECT_THAT(log.texts(), ElementsAre("A WAV file cannot have 4294967388 bytes: its sizes have 32 bits",
                                         "Error writing WAV file : " + m_strFile));
    EXPECT_EQ(44 + std::uintmax_t{uiData}, std::filesystem::file_size(m_strFile));
}

TEST_F(UpdateFile, KeepsItsAnnotations)
{
    m_strFile = m_folder.write("target.wav", riff(cueChunk({}) + s_strHead)); // the audio has to move
    AnnotatedFile file;
    std::ifstream stream(m_strFile, std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream).good());
    file.annotations().push_back(s_beep);

    EXPECT_TRUE(file.updateFile(m_strFile.c_str()));

    EXPECT_EQ("4008 0.5-1", listed(file.annotations()));
    EXPECT_EQ("4008 0.5-1", listed(contentsOf(m_strFile)));
}
