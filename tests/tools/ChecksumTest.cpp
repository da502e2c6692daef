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

// The published check value of the CRC-32 among them.
TEST(Checksum, IsThatOfThePublishedExamples)
{
    EXPECT_EQ(checksumOf(""), "00000000");
    EXPECT_EQ(checksumOf("a"), "e8b7be43");
    EXPECT_EQ(checksumOf("123456789"), "cbf43926");
    EXPECT_EQ(checksumOf("The quick brown fox jumps over the lazy dog"), "414fa339");
}

TEST(Checksum, IsTheSameInPiecesAndFromAValueOn)
{
    Checksum first;
    first.add("foo");
    Checksum second(first.getValue());
    second.add({});
    second.add("bar");
    EXPECT_EQ(second.getText(), checksumOf("foobar"));
}

TEST(Checksum, ReadsItsTextAndNothingElse)
{
    std::uint64_t uiValue = 1;
    EXPECT_TRUE(Checksum::parse("012345ef", uiValue));
    EXPECT_EQ(uiValue, 0x012345efU);
    for (const char* szText : {"", "012345e", "012345ef0", "012345EF", "012345eg"})
        EXPECT_FALSE(Checksum::parse(szText, uiValue)) << szText;
    EXPECT_EQ(uiValue, 0x012345efU);
}

} // namespace
} // namespace Corvana::Tools
