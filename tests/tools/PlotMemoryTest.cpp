// SPDX-License-Identifier: Apache-2.0
#include "RecordingsTest.h"
#include "support/AllocationCounter.h"
#include "tools/ExitCode.h"

namespace Corvana::Tools {
namespace {

using namespace Corvana::Test;

class PlotMemoryTest : public RecordingsTest
{
protected:
    // Silence, which takes no room on the disk.
    std::string makeSparseFile(std::uint32_t in_uiSeconds) const
    {
        const std::uint32_t uiSize = in_uiSeconds * 16000;
        const std::string strFront = fmtChunk() + ChunkBuilder("data").claim(uiSize).bytes();
        const std::string strFile = m_dir.write(std::to_string(in_uiSeconds) + ".wav",
                                                ChunkBuilder("RIFF")
                                                    .text("WAVE", "form")
                                                    .add(strFront)
                                                    .claim(static_cast<std::uint32_t>(4 + strFront.size()) + uiSize)
                                                    .bytes());
        std::filesystem::resize_file(strFile, std::filesystem::file_size(strFile) + uiSize);
        return strFile;
    }

    std::size_t peakOf(const std::string& in_strFile)
    {
        const PeakMemory peak;
        EXPECT_EQ(run({"plot", "--width", "400", "-f", "spectrum|flatness", "-f", "spectrum", in_strFile, "-o",
                       m_dir.file("out.png")}),
                  EXIT_DONE)
            << m_messages.str();
        return peak.bytes();
    }
};

TEST_F(PlotMemoryTest, TakesNoMoreMemoryForALongRecording)
{
    peakOf(makeSparseFile(2)); // what is made once in a program
    const std::size_t uiShort = peakOf(makeSparseFile(60));
    const std::size_t uiLong = peakOf(makeSparseFile(600));
    EXPECT_LT(uiShort, 8U << 20U);
    EXPECT_LT(uiLong, uiShort + (256U << 10U)) << "its samples alone are 38 megabytes";
}

} // namespace
} // namespace Corvana::Tools
