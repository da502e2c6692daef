// SPDX-License-Identifier: Apache-2.0
#include "tools/InputList.h"

#include "corvana/Logger.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;

class InputListTest : public testing::Test
{
protected:
    std::vector<Input> collect(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists)
    {
        LogBridge log(m_messages, LOG_WARN);
        return collectInputs(in_vPaths, in_vLists, log, m_messages);
    }

    Corvana::Test::ScopedEnvironment m_noDataFolder{"CORVANA_CPA_DATA", nullptr};
    Corvana::Test::TempDir m_dir;
    std::ostringstream m_stream;
    Messages m_messages{m_stream, false};
};

TEST_F(InputListTest, TakesPathsAsGivenAndThenTheListsEntries)
{
    m_dir.write("a.wav", "x");
    const std::string strFirst = m_dir.write("first.txt", "a.wav\n\n# not this\n");
    const std::string strSecond = m_dir.write("second.txt", "a.wav\na.wav\n");

    const std::vector<Input> vInputs = collect({"./x.wav"}, {strFirst, strSecond});

    ASSERT_EQ(vInputs.size(), 4U);
    EXPECT_EQ(vInputs[0].m_strPath, "./x.wav");
    EXPECT_EQ(vInputs[0].m_strFault, "");
    for (std::size_t uiIndex = 1; uiIndex < 4; ++uiIndex) {
        EXPECT_EQ(vInputs[uiIndex].m_strPath, m_dir.file("a.wav"));
        EXPECT_EQ(vInputs[uiIndex].m_strFault, "");
    }
    EXPECT_EQ(m_stream.str(), "");
}

TEST_F(InputListTest, KeepsAnEntryThatIsNotFoundWithTheLibrarysReason)
{
    const std::vector<Input> vInputs = collect({}, {m_dir.write("list.txt", "none.wav\n/none/b.wav\n")});

    ASSERT_EQ(vInputs.size(), 2U);
    EXPECT_EQ(vInputs[0].m_strPath, "none.wav");
    EXPECT_EQ(vInputs[0].m_strFault, "Could not open  file none.wav (relative path detected). File will be skipped.");
    EXPECT_EQ(vInputs[1].m_strPath, "/none/b.wav");
    EXPECT_EQ(vInputs[1].m_strFault,
              "Could not open  file /none/b.wav (absolute path detected). File will be skipped.");
}

TEST_F(InputListTest, PointsOutWindowsLineEnds)
{
    m_dir.write("a.wav", "x");

    const std::vector<Input> vInputs = collect({}, {m_dir.write("list.txt", "a.wav\r\n")});

    ASSERT_EQ(vInputs.size(), 1U);
    EXPECT_THAT(vInputs[0].m_strFault, HasSubstr("the list has Windows line ends"));
}

TEST_F(InputListTest, KeepsAListThatCannotBeReadAsAFailedInput)
{
    const std::vector<Input> vInputs = collect({}, {m_dir.file("none.txt"), m_dir.path()});

    ASSERT_EQ(vInputs.size(), 2U);
    EXPECT_EQ(vInputs[0].m_strFault, "Could not open file " + m_dir.file("none.txt") + " containing file set to parse");
    EXPECT_EQ(vInputs[1].m_strFault, "is a folder, not a list of recordings");
}

TEST_F(InputListTest, WarnsAboutAnEmptyList)
{
    EXPECT_TRUE(collect({}, {m_dir.write("list.txt", "# nothing\n")}).empty());
    EXPECT_EQ(m_stream.str(), "corvana: " + m_dir.file("list.txt") + ": warning: the list names no recordings\n");
}

TEST_F(InputListTest, RefusesAFolder)
{
    const std::vector<Input> vInputs = collect({m_dir.path()}, {});

    ASSERT_EQ(vInputs.size(), 1U);
    EXPECT_EQ(vInputs[0].m_strFault, "is a folder, not a recording");
}

} // namespace
} // namespace Corvana::Tools
