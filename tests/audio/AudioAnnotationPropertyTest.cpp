// SPDX-License-Identifier: Apache-2.0
// Random files, random regions, and every way of damaging one byte.
#include "corvana/AudioAnnotation.h"

#include "audio/AnnotationTestHelpers.h"
#include "iff/IFFTestHelpers.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

using namespace Corvana::Test;
using Corvana::Audio::AnnotatedFile;
using Corvana::IFF::IFFParser;

namespace {

std::string bytesOf(std::size_t in_uiMax)
{
    const auto uiSize = *rc::gen::inRange<std::size_t>(0, in_uiMax + 1);
    return *rc::gen::container<std::string>(uiSize, rc::gen::arbitrary<char>());
}

std::string foreignId()
{
    return *rc::gen::element<std::string>("bext", "fact", "smpl", "JUNK", "ISFT", "file", "\1\2\3\4", "    ", "cuep",
                                          "datA");
}

ChunkBuilder foreignPlain()
{
    ChunkBuilder builder(foreignId());
    builder.text(bytesOf(40), "anything").padding(*rc::gen::arbitrary<std::uint8_t>());
    return builder;
}

// What may stand at the end of a list: nothing odd, a tail that is no chunk, a chunk without its padding byte, or one
// that claims more than is there.
std::string oddEnd()
{
    switch (*rc::gen::inRange(0, 4)) {
    case 1:
        return bytesOf(7);
    case 2:
        return foreignPlain().unpadded().bytes();
    case 3:
        return foreignPlain().unpadded().claim(*rc::gen::inRange<std::uint32_t>(100, 0x7FFFFFFF)).bytes();
    default:
        return "";
    }
}

std::string foreignChunk(unsigned in_uiDepth)
{
    if (in_uiDepth == 0 || *rc::gen::inRange(0, 3) != 0)
        return foreignPlain().bytes();
    std::string strChunks;
    for (int iChunk = *rc::gen::inRange(0, 4); iChunk > 0; --iChunk)
        strChunks += foreignChunk(in_uiDepth - 1);
    ChunkBuilder list("LIST");
    list.text(*rc::gen::element<std::string>("INFO", "adtl", "exif"), "form type").add(strChunks + oddEnd());
    return list.padding(*rc::gen::arbitrary<std::uint8_t>()).bytes();
}

std::string foreignChunks()
{
    std::string strChunks;
    for (int iChunk = *rc::gen::inRange(0, 4); iChunk > 0; --iChunk)
        strChunks += foreignChunk(3);
    return strChunks;
}

struct Recording
{
    std::uint32_t m_uiRate = 8000;
    std::uint32_t m_uiNbOfSamples = 0;
    std::string m_strChunks; // all but the regions
    std::string m_strBehind;
};

Recording recording()
{
    Recording result;
    result.m_uiRate = *rc::gen::element<std::uint32_t>(1, 8000, 11025, 16000, 44100, 48000, 4294967295u);
    const auto usBits = *rc::gen::element<std::uint16_t>(8, 16, 24);
    const std::string strAudio = bytesOf(200);
    result.m_uiNbOfSamples = static_cast<std::uint32_t>(strAudio.size()) / (usBits / 8);
    result.m_strChunks =
        foreignChunks() + fmtChunk(1, result.m_uiRate, usBits) + foreignChunks() +
        ChunkBuilder("data").text(strAudio, "audio").padding(*rc::gen::arbitrary<std::uint8_t>()).bytes() +
        foreignChunks();
    if (*rc::gen::arbitrary<bool>())
        result.m_strBehind = "\xff" + bytesOf(30); // not 0, which would be the form's padding
    return result;
}

// A region in samples; times are these samples, exactly or a little beside.
struct Region
{
    Annotation::AnnotationType m_type;
    std::uint32_t m_uiStart;
    std::uint32_t m_uiLength;

    Annotation annotation(double in_dRate, double in_dBeside) const
    {
        return {m_type, (m_uiStart + in_dBeside) / in_dRate, (m_uiStart + m_uiLength + in_dBeside) / in_dRate};
    }
};

std::vector<Region> regions(std::uint32_t in_uiNbOfSamples)
{
    std::vector<Region> vRegions(*rc::gen::inRange<std::size_t>(0, 6));
    for (Region& region : vRegions) {
        const int iType = *rc::gen::inRange(1, 4290);
        region.m_type = static_cast<Annotation::AnnotationType>(iType == 4001 ? 4290 : iType);
        region.m_uiStart = *rc::gen::inRange<std::uint32_t>(0, in_uiNbOfSamples + 1);
        region.m_uiLength = *rc::gen::inRange<std::uint32_t>(0, in_uiNbOfSamples - region.m_uiStart + 1);
    }
    return vRegions;
}

std::string textOf(const Region& in_region)
{
    return Annotation::getAnnotationTypeString(in_region.m_type);
}

// The chunks that are to stand at the end of a file which had no regions.
std::string chunksOf(const std::vector<Region>& in_vRegions, AnnotatedFile::LabelOrder in_order)
{
    std::vector<std::string> vPoints;
    std::string strLabels;
    std::string strTexts;
    for (std::uint32_t uiIndex = 0; uiIndex < in_vRegions.size(); ++uiIndex) {
        const Region& region = in_vRegions[uiIndex];
        vPoints.push_back(cuePoint(uiIndex + 1, region.m_uiStart));
        strTexts += ltxtChunk(uiIndex + 1, region.m_uiLength);
        (in_order == AnnotatedFile::AS_PAIRS ? strTexts : strLabels) += lablChunk(uiIndex + 1, textOf(region));
    }
    return vPoints.empty() ? "" : cueChunk(vPoints) + adtlChunk(strLabels + strTexts);
}

} // namespace

RC_GTEST_PROP(IFFParserProperty, KeepsEveryByteOfAnyFile, ())
{
    const std::string strFile = riff(recording().m_strChunks) + "\xff" + bytesOf(20);

    RC_ASSERT(hex(rewritten(strFile)) == hex(strFile));
}

RC_GTEST_PROP(IFFParserProperty, ReadsItsOwnFilesAsTheSameTree, ())
{
    // Damaged anywhere, cut anywhere: what is read once is read again.
    std::string strFile = riff(recording().m_strChunks + cueChunk({cuePoint(1, 2), cuePoint(2, 3)})) + bytesOf(20);
    const auto uiPlace = *rc::gen::inRange<std::size_t>(12, strFile.size());
    strFile[uiPlace] = *rc::gen::arbitrary<char>();
    strFile.resize(*rc::gen::inRange<std::size_t>(12, strFile.size() + 1));

    IFFParser parser;
    RC_ASSERT(readFrom(strFile, parser));
    const std::string strOnce = written(parser);
    IFFParser again;
    RC_ASSERT(readFrom(strOnce, again));

    RC_ASSERT(outline(again) == outline(parser));
    RC_ASSERT(hex(written(again)) == hex(strOnce));
    RC_ASSERT(strOnce.size() <= strFile.size() + 8);
}

RC_GTEST_PROP(AnnotationProperty, WritesRegionsBehindAllThatWasThere, ())
{
    const Recording file = recording();
    const std::vector<Region> vRegions = regions(file.m_uiNbOfSamples);
    const auto order = *rc::gen::element(AnnotatedFile::AS_PAIRS, AnnotatedFile::LABELS_FIRST);
    const double dBeside = *rc::gen::element(0.0, 0.25, 0.4);
    AnnotatedFile annotated;
    RC_ASSERT(readFrom(riff(file.m_strChunks) + file.m_strBehind, annotated));
    for (const Region& region : vRegions)
        annotated.annotations().push_back(region.annotation(file.m_uiRate, dBeside));
    annotated.setLabelOrder(order);
    const std::string strOnce = written(annotated);

    RC_ASSERT(hex(strOnce) == hex(riff(file.m_strChunks + chunksOf(vRegions, order)) + file.m_strBehind));

    AnnotatedFile again;
    RC_ASSERT(readFrom(strOnce, again));
    RC_ASSERT(again.annotations().size() == vRegions.size());
    for (std::size_t uiIndex = 0; uiIndex < vRegions.size(); ++uiIndex) {
        RC_ASSERT(again.annotations()[uiIndex].m_type == vRegions[uiIndex].m_type);
        RC_ASSERT(again.annotations()[uiIndex].m_dStartTime == vRegions[uiIndex].m_uiStart / double(file.m_uiRate));
    }
}

RC_GTEST_PROP(AnnotationProperty, ChangesNothingWhenWrittenAgain, ())
{
    const Recording file = recording();
    const auto order = *rc::gen::element(AnnotatedFile::AS_PAIRS, AnnotatedFile::LABELS_FIRST);
    const std::string strFile =
        riff(file.m_strChunks + chunksOf(regions(file.m_uiNbOfSamples), order)) + file.m_strBehind;
    std::string strWritten = strFile;
    for (int iTime = 0; iTime < 3; ++iTime) {
        const std::string strBefore = strWritten;
        AnnotatedFile annotated;
        RC_ASSERT(readFrom(strBefore, annotated));
        annotated.setLabelOrder(order);
        strWritten = written(annotated);
        // In pairs, the first time puts the cue points behind the list, which stays where it is.
        if (order == AnnotatedFile::LABELS_FIRST || iTime > 0)
            RC_ASSERT(hex(strWritten) == hex(strBefore));
        RC_ASSERT(strWritten.size() == strFile.size());
    }
}

RC_GTEST_PROP(AnnotationProperty, LeavesTheFileAsItWasWhenTheLastRegionGoes, ())
{
    const Recording file = recording();
    const std::string strFile = riff(file.m_strChunks) + file.m_strBehind;
    AnnotatedFile annotated;
    RC_ASSERT(readFrom(riff(file.m_strChunks + chunksOf(regions(file.m_uiNbOfSamples), AnnotatedFile::AS_PAIRS)) +
                           file.m_strBehind,
                       annotated));
    annotated.annotations().clear();

    RC_ASSERT(hex(written(annotated)) == hex(strFile));
}

// ---- damage ----

namespace {

const std::string s_strValid =
    riff(fmtChunk() + dataChunk(audioBytes(40)) + cueChunk({cuePoint(1, 2), cuePoint(2, 10)}) +
         adtlChunk(records(1, 4, "MALE") + records(2, 6, "SF_12"))) +
    "behind";

// A file in memory: a disk may want to sync each of the thousands that are emptied and written.
class MemoryFile
{
public:
    MemoryFile()
        : m_iDescriptor(memfd_create("annotations", MFD_CLOEXEC))
        , m_strPath("/proc/self/fd/" + std::to_string(m_iDescriptor))
    {
    }
    ~MemoryFile() { close(m_iDescriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& path() const { return m_strPath; }
    void write(const std::string& in_strContents) const
    {
        std::ofstream(m_strPath, std::ios::binary) << in_strContents;
    }

private:
    int m_iDescriptor;
    std::string m_strPath;
};

class DamagedFile : public testing::Test
{
protected:
    // Whatever is done to such a file: it is done, or the file stays as it was.
    void expectAllOrNothing(const std::string& in_strContents)
    {
        using File = AnnotatedFile;
        m_good.write(s_strValid);
        const std::string& strGood = m_good.path();
        const std::string& strFile = m_damaged.path();
        const std::function<bool()> aOperations[] = {
            [&] { return File::addAnnotation(strFile.c_str(), Annotation(Annotation::BEEP, 0, 1)); },
            [&] { return File::addAnnotations(strGood.c_str(), strFile.c_str()); },
            [&] { return File::copyAnnotations(strGood.c_str(), strFile.c_str()); },
            [&] { return File::clearAnnotations(strFile.c_str(), "MALE"); },
            [&] { return File::clearAnnotations(strFile.c_str()); },
        };
        for (const auto& run : aOperations) {
            m_damaged.write(in_strContents);
            ASSERT_EQ(hex(in_strContents), hex(contentsOf(strFile)));
            if (run())
                EXPECT_NE("refused", listed(contentsOf(strFile)));
            else
                EXPECT_EQ(hex(in_strContents), hex(contentsOf(strFile)));
        }
        EXPECT_EQ(hex(s_strValid), hex(contentsOf(strGood)));
    }

    LogCapture m_quiet; // keeps the messages off the screen
    MemoryFile m_good;
    MemoryFile m_damaged;
};

} // namespace

TEST_F(DamagedFile, IsLeftAloneOrEditedWhereverItIsCut)
{
    for (std::size_t uiSize = 0; uiSize < s_strValid.size(); ++uiSize)
        expectAllOrNothing(s_strValid.substr(0, uiSize));
}

TEST_F(DamagedFile, IsLeftAloneOrEditedWhicheverByteIsWrong)
{
    for (std::size_t uiPlace = 0; uiPlace < s_strValid.size(); ++uiPlace) {
        for (const int iFlip : {0x01, 0x80, 0xFF}) {
            std::string strFile = s_strValid;
            strFile[uiPlace] = static_cast<char>(static_cast<unsigned char>(strFile[uiPlace]) ^ iFlip);
            expectAllOrNothing(strFile);
        }
    }
}
