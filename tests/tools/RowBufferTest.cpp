// SPDX-License-Identifier: Apache-2.0
#include "tools/RowBuffer.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <sstream>

namespace Corvana::Tools {
namespace {

class RowBufferTest : public testing::Test
{
protected:
    std::string copyOf(RowBuffer& inout_buffer)
    {
        std::ostringstream copy;
        EXPECT_TRUE(inout_buffer.copyTo(copy));
        return copy.str();
    }

    Corvana::Test::TempDir m_dir;
    RowMemory m_memory;
    std::atomic<bool> m_bStopped = false;
};

TEST_F(RowBufferTest, GivesBackWhatWasWrittenWhateverItsSize)
{
    std::mt19937 random(17); // NOLINT: the same pieces each time
    for (const std::size_t uiLimit : {0U, 1U, 100U, 5000U, 1U << 20U}) {
        RowBuffer buffer(uiLimit, m_dir.path(), m_memory, m_bStopped);
        std::ostream stream(&buffer);
        std::string strWritten;
        for (unsigned uiPiece = 0; uiPiece < 200; ++uiPiece) {
            const std::string strPiece(random() % (uiPiece % 10 == 0 ? 9000 : 90),
                                       static_cast<char>('a' + random() % 26));
            stream << strPiece;
            stream.put('\n');
            strWritten += strPiece + '\n';
        }
        EXPECT_TRUE(stream.good());
        EXPECT_EQ(copyOf(buffer), strWritten) << uiLimit;
        EXPECT_EQ(copyOf(buffer), strWritten) << uiLimit;
    }
}

TEST_F(RowBufferTest, IsEmptyWithoutAFileToBeginWith)
{
    RowBuffer buffer(0, "/none", m_memory, m_bStopped);

    EXPECT_EQ(copyOf(buffer), "");
    EXPECT_EQ(buffer.getFault(), "");
}

TEST_F(RowBufferTest, LeavesNoNameInItsFolder)
{
    RowBuffer buffer(10, m_dir.path(), m_memory, m_bStopped);
    std::ostream stream(&buffer);

    stream << std::string(1000, 'x') << std::flush;

    EXPECT_TRUE(std::filesystem::is_empty(m_dir.path()));
}

TEST_F(RowBufferTest, TellsWhyItsFileCannotBeMade)
{
    RowBuffer buffer(10, "/none", m_memory, m_bStopped);
    std::ostream stream(&buffer);

    stream << std::string(1000, 'x');

    EXPECT_FALSE(stream.good());
    std::ostringstream copy;
    EXPECT_FALSE(buffer.copyTo(copy));
    EXPECT_EQ(buffer.getFault(), "rows that wait for their turn, in /none: No such file or directory");
}

TEST_F(RowBufferTest, HandsItsMemoryToTheNext)
{
    for (unsigned uiBuffer = 0; uiBuffer < 2; ++uiBuffer) {
        RowBuffer buffer(1000, m_dir.path(), m_memory, m_bStopped);
        std::ostream(&buffer) << std::string(900, static_cast<char>('a' + uiBuffer));
        EXPECT_EQ(copyOf(buffer), std::string(900, static_cast<char>('a' + uiBuffer)));
    }
    const RowMemory::Block block = m_memory.take();
    EXPECT_NE(block.m_pText, nullptr);
    EXPECT_EQ(m_memory.take().m_pText, nullptr);
    EXPECT_EQ(block.m_uiSize, 1000U);
}

TEST_F(RowBufferTest, TakesNothingMoreOnceStopped)
{
    RowBuffer buffer(100, m_dir.path(), m_memory, m_bStopped);
    std::ostream stream(&buffer);
    stream << "before";
    m_bStopped = true;

    stream << "after";

    EXPECT_FALSE(stream.good());
    EXPECT_EQ(buffer.getFault(), "");
    EXPECT_EQ(copyOf(buffer), "before");
}

} // namespace
} // namespace Corvana::Tools
