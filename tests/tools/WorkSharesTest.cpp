// SPDX-License-Identifier: Apache-2.0
#include "tools/WorkShares.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace Corvana::Tools {
namespace {

class WorkSharesTest : public testing::Test
{
protected:
    Corvana::Test::TempDir m_dir;
    const Input m_one{m_dir.write("one", std::string(100, 'x')), {}};
    const Input m_three{m_dir.write("three", std::string(300, 'x')), {}};
    const Input m_empty{m_dir.write("empty", ""), {}};
    const Input m_missing{m_dir.file("missing"), {}};
};

TEST_F(WorkSharesTest, AreThoseOfTheBytes)
{
    const WorkShares shares({m_one, m_three}, 0, 2, true);
    EXPECT_EQ(shares.share(0), 0.25);
    EXPECT_EQ(shares.share(1), 0.75);
    EXPECT_EQ(WorkShares({{m_dir.write("byte", "x"), {}}}, 0, 1, true).share(0), 1.0);
}

TEST_F(WorkSharesTest, AreOfTheInputsOfAPart)
{
    std::vector<Input> vInputs(9000, m_missing);
    vInputs.push_back(m_one);
    vInputs.push_back(m_three);
    const WorkShares shares(vInputs, 9000, 9002, true);
    EXPECT_EQ(shares.share(9000), 0.25);
    EXPECT_EQ(shares.share(9001), 0.75);
}

TEST_F(WorkSharesTest, CountWhatIsKnownToFailForNothing)
{
    const WorkShares shares({m_one, {m_missing.m_strPath, "is not there"}, m_three}, 0, 3, true);
    EXPECT_EQ(shares.share(0), 0.25);
    EXPECT_EQ(shares.share(1), 0.0);
}

TEST_F(WorkSharesTest, AreUnknownWhereASizeIsAndWhereThereIsNothing)
{
    EXPECT_EQ(WorkShares({m_one, m_missing}, 0, 2, true).share(0), -1.0);
    EXPECT_EQ(WorkShares({m_empty, m_empty}, 0, 2, true).share(0), -1.0);
}

TEST_F(WorkSharesTest, AreEqualForSoManyInputsThatLookingAtThemWouldTakeLong)
{
    const std::vector<Input> vInputs(10006, m_missing);
    EXPECT_EQ(WorkShares(vInputs, 5, 10006, true).share(5), 1.0 / 10001.0);
    EXPECT_EQ(WorkShares(vInputs, 5, 10005, true).share(5), -1.0);
}

} // namespace
} // namespace Corvana::Tools
