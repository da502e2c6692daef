// SPDX-License-Identifier: Apache-2.0
#include "tools/Base64.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

// The examples of RFC 4648.
TEST(Base64, PadsWhatIsNoWholeGroup)
{
    EXPECT_EQ(toBase64(""), "");
    EXPECT_EQ(toBase64("f"), "Zg==");
    EXPECT_EQ(toBase64("fo"), "Zm8=");
    EXPECT_EQ(toBase64("foo"), "Zm9v");
    EXPECT_EQ(toBase64("foob"), "Zm9vYg==");
    EXPECT_EQ(toBase64("foobar"), "Zm9vYmFy");
}

TEST(Base64, TakesAllBytes)
{
    EXPECT_EQ(toBase64(std::string("\x00\xFF\x80\x7F\xFB\xFF", 6)), "AP+Af/v/");
}

} // namespace
} // namespace Corvana::Tools
