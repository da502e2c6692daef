// SPDX-License-Identifier: Apache-2.0
#include "tools/RowBuffer.h"

#include "support/SystemCalls.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using Corvana::Test::SystemCalls;

class RowBufferSystemTest : public testing::Test
{
protected:
    void writeTwoPieces()
    {
        std::ostream rows(&m_buffer);
        rows << std::string(3000, 'a') << std::string(3000, 'b');
    }

    Corvana::Test::TempDir m_dir;
    RowMemory m_memory;
    std::atomic<bool> m_bStopped = false;
    RowBuffer m_buffer{100, m_dir.path(), m_memory, m_bStopped};
    std::ostringstream m_copy;
};

TEST_F(RowBufferSystemTest, GoesOnWhenASignalInterruptsIt)
{
    {
        const SystemCalls interrupted("write", EINTR, 1, 3);
        writeTwoPieces();
    }
    const SystemCalls interrupted("pread", EINTR, 1, 3);
    EXPECT_TRUE(m_buffer.copyTo(m_copy));
    EXPECT_EQ(m_copy.str(), std::string(3000, 'a') + std::string(3000, 'b'));
    EXPECT_EQ(m_buffer.getFault(), "");
}

TEST_F(RowBufferSystemTest, NeverHasANameWhereFilesCanBeWithoutOne)
{
    const int iFile = open(m_dir.path().c_str(), O_TMPFILE | O_RDWR, 0600);
    if (iFile < 0)
        GTEST_SKIP() << "every file of this file system has a name";
    close(iFile);
    bool bHadAName = false;
    const SystemCalls unlinking("unlink", [&](const char*) {
        bHadAName = true;
        return 0;
    });
    writeTwoPieces();
    EXPECT_TRUE(m_buffer.copyTo(m_copy));
    EXPECT_EQ(m_copy.str().size(), 6000U);
    EXPECT_FALSE(bHadAName);
}

TEST_F(RowBufferSystemTest, TellsWhyItCouldNotBeWritten)
{
    {
        const SystemCalls failing("write", ENOSPC);
        writeTwoPieces();
    }
    EXPECT_FALSE(m_buffer.copyTo(m_copy));
    EXPECT_EQ(m_buffer.getFault(), "rows that wait for their turn, in " + m_dir.path() + ": No space left on device");
}

TEST_F(RowBufferSystemTest, TellsWhyItCouldNotBeReadBack)
{
    writeTwoPieces();
    const SystemCalls failing("pread", EIO);
    EXPECT_FALSE(m_buffer.copyTo(m_copy));
    EXPECT_EQ(m_buffer.getFault(), "rows that wait for their turn, in " + m_dir.path() + ": Input/output error");
}

} // namespace
} // namespace Corvana::Tools
