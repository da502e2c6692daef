// SPDX-License-Identifier: Apache-2.0
// Every malformed file through the audio reader, the reading of regions and the library's edits. What is expected comes
// from libsndfile itself and from PlainWav.
#include "MalformedTestHelpers.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioFileReader.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <sndfile.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <sstream>

namespace Corvana::Test {
namespace {

using Audio::AnnotatedFile;
using Annotation = AnnotatedFile::Annotation;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;

constexpr int s_iErrors = 40000;

class MalformedWavTest : public testing::TestWithParam<CaseGroup>
{
protected:
    MalformedCases cases() const { return GetParam().m_pCases(); }

    TempDir m_dir;
};

// ---- The audio reader

struct SoundFile
{
    explicit SoundFile(const std::string& in_strPath)
        : m_pFile(sf_open(readablePath(in_strPath).c_str(), SFM_READ, &m_info), sf_close)
    {
    }

    Math::DoubleVector samples() const
    {
        Math::DoubleVector vAll;
        double adChunk[1024];
        sf_count_t iRead = 0;
        while ((iRead = sf_read_double(m_pFile.get(), adChunk, 1024)) > 0)
            vAll.insert(vAll.end(), adChunk, adChunk + iRead);
        return vAll;
    }

    SF_INFO m_info = {};
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> m_pFile;
};

void expectReaderAgreesWithLibsndfile(const std::string& in_strPath)
{
    SoundFile sound(in_strPath);
    const std::string strError = sf_strerror(nullptr);
    LogCapture log("kestrivon", s_iErrors);
    Audio::AudioFileReader reader;
    const bool bOpened = reader.setSourceAudioFile(in_strPath.c_str());

    EXPECT_EQ(bOpened, sound.m_pFile != nullptr && sound.m_info.channels == 1);
    if (!bOpened) {
        EXPECT_THAT(log.texts(), Contains(sound.m_pFile == nullptr ? "failed to open " + in_strPath + ", " + strError
                                                                   : "Audio file is not mono (more than 1 channel)"));
        return;
    }
    EXPECT_EQ(reader.getNbOfFrames(), static_cast<unsigned long>(sound.m_info.frames));
    EXPECT_EQ(reader.getSampleRate(), static_cast<unsigned long>(sound.m_info.samplerate));
    const BoundedMemory memory(0);
    Math::DoubleVector vSamples;
    const bool bRead = reader.getAllLinearFrames(vSamples);
    const Math::DoubleVector vExpected = sound.samples();
    EXPECT_EQ(bRead, !vExpected.empty());
    EXPECT_TRUE(sameBits(vSamples, vExpected)) << vSamples.size() << " samples of " << vExpected.size();
}

TEST_P(MalformedWavTest, IsOpenedAndReadAsLibsndfileDoes)
{
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav&) {
        expectReaderAgreesWithLibsndfile(m_dir.write("a.wav", in_case.m_strBytes));
    });
}

// ---- Reading regions

std::string typeOf(const Annotation& in_annotation)
{
    return in_annotation.m_type == Annotation::AnnotationType{}
               ? ""
               : Annotation::getAnnotationTypeString(in_annotation.m_type);
}

TimedRegions regionsOf(const AnnotatedFile& in_file)
{
    TimedRegions vRegions;
    for (const Annotation& annotation : in_file.annotations())
        vRegions.push_back({typeOf(annotation), annotation.m_dStartTime, annotation.m_dStopTime});
    return vRegions;
}

// The assertion says it in its own way.
std::string refusalText(const PlainWav& in_plain)
{
    return in_plain.m_strRefusal == "channels" ? "chunkFmt.m_usNbOfChannels == 1" : in_plain.m_strRefusal;
}

void expectReads(const std::string& in_strBytes, const PlainWav& in_plain,
                 std::istream& (AnnotatedFile::*in_read)(std::istream&))
{
    const LogCapture log("kestrivon", s_iErrors);
    AnnotatedFile file;
    std::istringstream stream(in_strBytes);
    {
        const BoundedMemory memory(in_strBytes.size());
        (file.*in_read)(stream);
    }

    EXPECT_EQ(stream.good(), in_plain.m_strRefusal.empty()) << in_plain.m_strRefusal;
    if (!in_plain.m_strRefusal.empty()) {
        EXPECT_THAT(log.texts(), Contains(HasSubstr(refusalText(in_plain))));
        EXPECT_TRUE(file.annotations().empty());
        return;
    }
    EXPECT_EQ(file.getSampleRate(), in_plain.m_uiSampleRate);
    EXPECT_EQ(file.getNbOfSamples(), in_plain.m_uiNbOfSamples);
    EXPECT_EQ(regionsOf(file), timed(in_plain));
}

TEST_P(MalformedWavTest, HasTheRegionsThatTheRulesGive)
{
    tryCases(cases(), [](const MalformedCase& in_case, const PlainWav& in_plain) {
        expectReads(in_case.m_strBytes, in_plain, &AnnotatedFile::readFromWAV);
        expectReads(in_case.m_strBytes, in_plain, &AnnotatedFile::readRegionsFromWAV);
    });
}

TEST_P(MalformedWavTest, IsWrittenAgainAsItWasUnlessASizeWasWrong)
{
    tryCases(cases(), [](const MalformedCase& in_case, const PlainWav& in_plain) {
        const LogCapture log;
        IFF::IFFParser parser;
        std::istringstream stream(in_case.m_strBytes);
        if (!parser.read(stream))
            return;
        std::ostringstream written;
        parser.write(written);
        const PlainWav again(written.str());
        EXPECT_TRUE(isSame(again.foreign(), in_plain.foreign()));
        EXPECT_TRUE(isSame(again.audio(), in_plain.audio()));
        EXPECT_EQ(again.m_strRefusal, in_plain.m_strRefusal);
        EXPECT_TRUE(again.m_vRegions == in_plain.m_vRegions);
        const auto isWrong = [&in_plain](const char* in_szOddity) {
            return in_plain.m_mendable.count(in_szOddity) > 0;
        };
        if (!isWrong("size of the form") && !isWrong("size of a chunk") && !isWrong("missing padding") &&
            !isWrong("number of cue points") && !in_plain.m_bPaddingUncounted) {
            EXPECT_TRUE(isSame(written.str(), in_case.m_strBytes));
        }
    });
}

// ---- The library's edits

// Writes a region for each identifier that a file skips, whatever that takes; the command refuses to.
bool skipsMany(const PlainWav& in_plain)
{
    return in_plain.m_vRegions.size() > 1000;
}

struct LibraryEdit
{
    const char* m_szName;
    std::function<bool(const std::string& in_strFile, const std::string& in_strDonor)> m_apply;
    /// The regions that the file should have then, before they are placed in it.
    std::function<TimedRegions(const TimedRegions& in_vFormer)> m_regionsAfter;
};

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

bool addWithoutReadingAudio(const std::string& in_strFile)
{
    std::ifstream stream(in_strFile, std::ios::binary);
    AnnotatedFile file;
    if (!file.readRegionsFromWAV(stream))
        return false;
    stream.close();
    file.annotations().emplace_back(Annotation::MUSIC, 0.0, 0.0);
    return file.updateFile(in_strFile.c_str());
}

std::vector<LibraryEdit> libraryEdits()
{
    const auto addMusic = [](const TimedRegions& in_vFormer) { return joined(in_vFormer, {{"MUSIC", 0.0, 0.0}}); };
    const auto addDonated = [](const TimedRegions& in_vFormer) { return joined(in_vFormer, s_vDonated); };
    return {
        {"addAnnotation",
         [](const std::string& in_strFile, const std::string&) {
             return AnnotatedFile::addAnnotation(in_strFile.c_str(), Annotation(Annotation::MUSIC, 0.0, 0.0));
         },
         addMusic},
        {"addAnnotation, labels first",
         [](const std::string& in_strFile, const std::string&) {
             return AnnotatedFile::addAnnotation(in_strFile.c_str(), Annotation(Annotation::MUSIC, 0.0, 0.0),
                                                 AnnotatedFile::LABELS_FIRST);
         },
         addMusic},
        {"addAnnotations",
         [](const std::string& in_strFile, const std::string& in_strDonor) {
             return AnnotatedFile::addAnnotations(in_strDonor.c_str(), in_strFile.c_str());
         },
         addDonated},
        {"copyAnnotations",
         [](const std::string& in_strFile, const std::string& in_strDonor) {
             return AnnotatedFile::copyAnnotations(in_strDonor.c_str(), in_strFile.c_str());
         },
         [](const TimedRegions&) { return s_vDonated; }},
        {"clearAnnotations, voices",
         [](const std::string& in_strFile, const std::string&) {
             return AnnotatedFile::clearAnnotations(in_strFile.c_str(), "voice");
         },
         withoutVoices},
        {"clearAnnotations",
         [](const std::string& in_strFile, const std::string&) {
             return AnnotatedFile::clearAnnotations(in_strFile.c_str());
         },
         [](const TimedRegions&) { return TimedRegions(); }},
        {"updateFile",
         [](const std::string& in_strFile, const std::string&) { return addWithoutReadingAudio(in_strFile); },
         addMusic},
    };
}

void expectEdit(const LibraryEdit& in_edit, TriedFile& inout_file, const std::string& in_strDonor,
                const PlainWav& in_plain)
{
    SCOPED_TRACE(in_edit.m_szName);
    inout_file.restore();
    const LogCapture log("kestrivon", s_iErrors);
    bool bDone = false;
    {
        const BoundedMemory memory(in_plain.size());
        bDone = in_edit.m_apply(inout_file.path(), in_strDonor);
    }
    const PlainRegions vRegions = placed(in_edit.m_regionsAfter(timed(in_plain)), in_plain);
    const bool bHolderRefuses = vRegions.empty() && in_plain.m_bHolderCannotGo;
    EXPECT_EQ(bDone, in_plain.m_strRefusal.empty() && !bHolderRefuses) << testing::PrintToString(log.texts());
    if (bDone) {
        inout_file.expectRegions(in_plain, vRegions);
        return;
    }
    inout_file.expectUntouched();
    const std::string strReason = bHolderRefuses ? "Not able to delete empty LIST chunk" : refusalText(in_plain);
    EXPECT_THAT(log.texts(), Contains(HasSubstr(strReason)));
    if (in_edit.m_szName != std::string("updateFile") || bHolderRefuses) {
        EXPECT_THAT(log.texts(), Contains(EndsWith(inout_file.path())));
    }
}

TEST_P(MalformedWavTest, KeepsAudioAndForeignChunksInEveryEdit)
{
    const std::string strDonor = m_dir.write("donor.wav", donorBytes());
    const std::vector<LibraryEdit> vEdits = libraryEdits();
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        if (skipsMany(in_plain))
            return;
        TriedFile file(m_dir.file("a.wav"), in_case.m_strBytes);
        for (const LibraryEdit& edit : vEdits)
            expectEdit(edit, file, strDonor, in_plain);
    });
}

TEST_P(MalformedWavTest, IsNotChangedAsTheSourceOfRegions)
{
    const PlainWav donor(donorBytes());
    tryCases(cases(), [&](const MalformedCase& in_case, const PlainWav& in_plain) {
        if (skipsMany(in_plain))
            return;
        const LogCapture log("kestrivon", s_iErrors);
        const TriedFile source(m_dir.file("source.wav"), in_case.m_strBytes);
        const TriedFile target(m_dir.file("target.wav"), donorBytes());
        const bool bDone = AnnotatedFile::addAnnotations(source.path().c_str(), target.path().c_str());
        source.expectUntouched();
        EXPECT_EQ(bDone, in_plain.m_strRefusal.empty());
        if (bDone)
            target.expectRegions(donor, placed(joined(s_vDonated, timed(in_plain)), donor));
        else
            target.expectUntouched();
    });
}

// An edit that was done may be done again: nothing but the regions moves any more.
TEST_P(MalformedWavTest, IsTheSameAfterItIsWrittenASecondTime)
{
    tryCases(cases(), [](const MalformedCase& in_case, const PlainWav& in_plain) {
        if (!in_plain.m_strRefusal.empty() || in_plain.hasSkipped() || in_plain.m_bHolderCannotGo)
            return;
        const LogCapture log;
        std::string strBefore = in_case.m_strBytes;
        std::string strAfter = in_case.m_strBytes;
        for (unsigned uiTime = 0; uiTime < 3; ++uiTime) {
            strBefore = strAfter;
            AnnotatedFile file;
            std::istringstream stream(strBefore);
            std::ostringstream written;
            EXPECT_TRUE(file.readFromWAV(stream) && file.writeToWAV(written));
            strAfter = written.str();
        }
        EXPECT_TRUE(isSame(strAfter, strBefore));
    });
}

INSTANTIATE_TEST_SUITE_P(Of, MalformedWavTest, testing::ValuesIn(s_aGroups), nameOfGroup);

TEST(MalformedCases, HaveDifferentNames)
{
    std::set<std::string> names;
    for (const MalformedCase& malformed : allMalformedCases())
        EXPECT_TRUE(names.insert(malformed.m_strName).second) << malformed.m_strName;
    EXPECT_GT(names.size(), 4000U);
}

} // namespace
} // namespace Corvana::Test
