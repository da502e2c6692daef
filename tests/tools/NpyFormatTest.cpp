// SPDX-License-Identifier: Apache-2.0
#include "tools/NpyFormat.h"

#include <gtest/gtest.h>

#include <limits>

namespace Corvana::Tools {
namespace {

TEST(NpyFormat, WritesTheHeaderByteForByte)
{
    const std::string strHeader = npyHeaderOfValues(3, 4);
    EXPECT_EQ(strHeader.substr(0, 10), std::string("\x93NUMPY\x01\x00\x76\x00", 10)); // 118 bytes follow
    EXPECT_EQ(strHeader.substr(10, 59), "{'descr': '<f8', 'fortran_order': False, 'shape': (3, 4), }");
    EXPECT_EQ(strHeader.substr(69), std::string(58, ' ') + "\n");
    EXPECT_EQ(npyHeaderOfTimes(3).substr(10, 86),
              "{'descr': [('time', '<f8'), ('file', '<i8')], 'fortran_order': False, 'shape': (3,), }");
}

TEST(NpyFormat, GivesHeadersOfOneLengthForEveryNumberOfRows)
{
    const std::uint64_t uiMost = std::numeric_limits<std::uint64_t>::max();
    for (const std::uint64_t uiColumns : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{99999}, uiMost}) {
        const std::size_t uiLength = npyHeaderOfValues(0, uiColumns).size();
        EXPECT_EQ(uiLength % 64, 0U);
        EXPECT_EQ(npyHeaderOfValues(10, uiColumns).size(), uiLength);
        EXPECT_EQ(npyHeaderOfValues(uiMost, uiColumns).size(), uiLength);
        EXPECT_TRUE(npyHeaderOfValues(uiMost, uiColumns).ends_with("\n"));
    }
    EXPECT_EQ(npyHeaderOfTimes(uiMost).size(), npyHeaderOfTimes(0).size());
    EXPECT_EQ(npyHeaderOfTimes(0).size() % 64, 0U);
}

TEST(NpyFormat, PutsTheLowestByteFirst)
{
    std::string strRecord;
    appendNpy(strRecord, -2.0);
    appendNpy(strRecord, std::uint64_t{0x0102030405060708});
    EXPECT_EQ(strRecord, std::string("\0\0\0\0\0\0\0\xc0\x08\x07\x06\x05\x04\x03\x02\x01", 16));
}

TEST(NpyFormat, NamesTheTimesAfterTheValues)
{
    EXPECT_EQ(npyTimesPathOf("folder.npy/calls.npy"), "folder.npy/calls.times.npy");
    EXPECT_EQ(npyTimesPathOf("calls"), "calls.times.npy");
    EXPECT_EQ(npyTimesPathOf("calls.npy.old"), "calls.npy.old.times.npy");
    EXPECT_EQ(npyTimesPathOf(".npy"), ".npy.times.npy");
}

} // namespace
} // namespace Corvana::Tools
