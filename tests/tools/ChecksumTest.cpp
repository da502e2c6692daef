// SPDX-License-Identifier: Apache-2.0
#include "tools/Checksum.h"

#include <gtest/gtest.h>

namespace Corvana::Tools {
namespace {

std::string checksumOf(std::string_view in_strBytes)
{
    Checksum checksum;
    checksum.add(in_strBytes);
    return checksum.getText();
}

// The published values of FNV-1a with 64 bits.
TEST(Checksum, IsThatOfThePublishedExamples)
{
    EXPECT_EQ(checksumOf(""), "cbf29ce484222325");
    EXPECT_EQ(checksumOf("a"), "af63dc4c8601ec8c");
    EXPECT_EQ(checksumOf("foobar"), "85944171f73967e8");
    EXPECT_EQ(checksumOf("\xff"), "af64724c8602eb6e");
}

TEST(Checksum, IsTheSameInPiecesAndFromAValueOn)
{
    Checksum first;
    first.add("foo");
    Checksum second(first.getValue());
    second.add("bar");
    EXPECT_EQ(second.getText(), checksumOf("foobar"));
}

TEST(Checksum, ReadsItsTextAndNothingElse)
{
    std::uint64_t uiValue = 1;
    EXPECT_TRUE(Checksum::parse("0123456789abcdef", uiValue));
    EXPECT_EQ(uiValue, 0x0123456789abcdefU);
    for (const char* szText : {"", "0123456789abcde", "0123456789abcdef0", "0123456789ABCDEF", "0123456789abcdeg"})
        EXPECT_FALSE(Checksum::parse(szText, uiValue)) << szText;
    EXPECT_EQ(uiValue, 0x0123456789abcdefU);
}

} // namespace
} // namespace Corvana::Tools
