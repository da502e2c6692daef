// SPDX-License-Identifier: Apache-2.0
// Counts every byte that this program and the libraries it loads hold at one time, and how often they ask for some.
#include "RecordingsTest.h"
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "tools/AnnotationChecker.h"
#include "tools/ExitCode.h"
#include "tools/LabelMap.h"

#include <cstddef>

namespace Corvana::Tools {
namespace {

using namespace Corvana::Test;

constexpr std::size_t s_uiMegabyte = 1 << 20;

class AnnotationMemoryTest : public RecordingsTest
{
protected:
    // A chunk of another program that takes no room on the disk, behind the audio.
    std::string makeFileWithForeignChunk(std::uint32_t in_uiSize) const
    {
        const std::string strFront =
            fmtChunk() + dataChunk(audioBytes(16000)) + ChunkBuilder("junk").claim(in_uiSize).bytes();
        const std::string strFile =
            m_dir.write("a.wav", ChunkBuilder("RIFF")
                                     .text("WAVE", "form")
                                     .add(strFront)
                                     .claim(static_cast<std::uint32_t>(4 + strFront.size()) + in_uiSize)
                                     .bytes());
        std::filesystem::resize_file(strFile, std::filesystem::file_size(strFile) + in_uiSize);
        return strFile;
    }

    // Of regions whose labels are no types.
    std::string makeFileWithBadLabels(std::uint32_t in_uiCount) const
    {
        std::vector<std::string> vPoints;
        std::string strRecords;
        for (std::uint32_t uiCueId = 1; uiCueId <= in_uiCount; ++uiCueId) {
            vPoints.push_back(cuePoint(uiCueId, 0));
            strRecords += ltxtChunk(uiCueId, 1) + lablChunk(uiCueId, "UNHEARD_OF");
        }
        return m_dir.write("a.wav",
                           riff(fmtChunk() + dataChunk(audioBytes(16)) + cueChunk(vPoints) + adtlChunk(strRecords)));
    }
};

// Each such comparison makes the texts of all types.
TEST(LabelMapMemoryTest, ComparesAWrongLabelOnceWithAllTypesHoweverManyRegionsHaveIt)
{
    constexpr std::size_t uiNbOfRegions = 1000;
    const std::vector<LabeledRegion> vRegions(uiNbOfRegions, {"BEAP", 1.0, 2.0, 1});
    std::vector<Audio::AnnotatedFile::Annotation> vFound;

    const std::uint64_t uiBefore = nbOfAllocations();
    const std::string strFault = LabelMap().apply(vRegions, vFound);

    EXPECT_LE(nbOfAllocations() - uiBefore, 10 * uiNbOfRegions);
    EXPECT_EQ(strFault.substr(strFault.find("'BEAP'")), "'BEAP' is no type of a region; did you mean BEEP?");
}

// Only the first hundred are shown.
TEST(LabelMapMemoryTest, ComparesNoMoreWrongLabelsWithAllTypesThanAreShown)
{
    constexpr std::size_t uiNbOfRegions = 1000;
    std::vector<LabeledRegion> vRegions;
    for (std::size_t uiRegion = 0; uiRegion < uiNbOfRegions; ++uiRegion)
        vRegions.push_back({"BEAP" + std::to_string(uiRegion), 1.0, 2.0, 1});
    std::vector<Audio::AnnotatedFile::Annotation> vFound;

    const std::uint64_t uiFirst = nbOfAllocations();
    const std::string strHundred = LabelMap().apply({vRegions.begin(), vRegions.begin() + 100}, vFound);
    const std::uint64_t uiSecond = nbOfAllocations();
    const std::string strThousand = LabelMap().apply(vRegions, vFound);

    EXPECT_LE(nbOfAllocations() - uiSecond, uiSecond - uiFirst + 20 * uiNbOfRegions);
    EXPECT_EQ(strThousand.substr(strThousand.rfind('\n')), "\n  and 900 more");
    EXPECT_EQ(strThousand.substr(4, strHundred.size() - 3), strHundred.substr(3));
}

TEST_F(AnnotationMemoryTest, HoldsOneCopyOfWhatOtherProgramsStoredWhileAFileIsEdited)
{
    constexpr std::size_t uiForeign = 64 * s_uiMegabyte;
    const std::string strFile = makeFileWithForeignChunk(uiForeign);

    const PeakMemory peak;
    EXPECT_EQ(annotations({"add", strFile, "VOICE", "0", "1"}), EXIT_DONE) << m_messages.str();

    EXPECT_LE(peak.bytes(), uiForeign + 16 * s_uiMegabyte);
    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0,1\n");
}

TEST_F(AnnotationMemoryTest, LooksForNoTypesThatResembleTheLabelsOfFindingsThatAreOnlyCounted)
{
    const LogCapture log;
    const auto requestsFor = [this](std::uint32_t in_uiCount) {
        const std::string strFile = makeFileWithBadLabels(in_uiCount);
        AnnotationChecker checker;
        const std::uint64_t uiBefore = nbOfAllocations();
        EXPECT_EQ(checker.check(strFile), "");
        EXPECT_EQ(checker.getNbOf(Finding::ERROR), in_uiCount);
        return nbOfAllocations() - uiBefore;
    };
    constexpr auto uiMost = static_cast<std::uint32_t>(AnnotationChecker::s_uiMaxNbOfFindings);

    // Each region takes some memory, but there are more types than that.
    EXPECT_LE(requestsFor(2 * uiMost) - requestsFor(uiMost), 25 * AnnotationChecker::s_uiMaxNbOfFindings);
}

} // namespace
} // namespace Corvana::Tools
