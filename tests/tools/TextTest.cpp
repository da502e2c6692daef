// SPDX-License-Identifier: Apache-2.0
#include "tools/Text.h"

#include <gmock/gmock.h>

#include <limits>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Text, WritesControlCharactersAsEscapes)
{
    EXPECT_EQ(printable("a\nb\r\tc\x1b[2J\x7f"), "a\\nb\\r\\tc\\x1b[2J\\x7f");
    EXPECT_EQ(printable("Grüße.wav"), "Grüße.wav");
}

TEST(Text, CountsEditsBetweenWords)
{
    EXPECT_EQ(editDistance("", ""), 0U);
    EXPECT_EQ(editDistance("", "abc"), 3U);
    EXPECT_EQ(editDistance("abc", ""), 3U);
    EXPECT_EQ(editDistance("Spectrum", "sPECTRUM"), 0U);
    EXPECT_EQ(editDistance("spectrm", "spectrum"), 1U);
    EXPECT_EQ(editDistance("spectrumm", "spectrum"), 1U);
    EXPECT_EQ(editDistance("spektrum", "spectrum"), 1U);
    EXPECT_EQ(editDistance("sepctrum", "spectrum"), 1U);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
}

TEST(Text, ProposesTheNearestNamesFirst)
{
    const std::vector<std::string> vNames = {"spectrum", "spectrum100hz", "spectrum500hz", "flatness"};

    EXPECT_THAT(nearestNames("spectrum50hz", vNames), ElementsAre("spectrum500hz", "spectrum100hz", "spectrum"));
    EXPECT_THAT(nearestNames("flat", vNames), ElementsAre("flatness"));
    EXPECT_THAT(nearestNames("fl", vNames), IsEmpty());
    EXPECT_THAT(nearestNames("", vNames), IsEmpty());
    EXPECT_THAT(nearestNames("harmonicity", vNames), IsEmpty());
    EXPECT_THAT(nearestNames(std::string(100000, 'x'), vNames), IsEmpty());
}

TEST(Text, ProposesAtMostThreeNames)
{
    EXPECT_THAT(nearestNames("abcd", {"abc1", "abc2", "abc3", "abc4"}), ElementsAre("abc1", "abc2", "abc3"));
}

TEST(Text, TellsDurationsToPeople)
{
    EXPECT_EQ(durationText(0.25), "0.25 s");
    EXPECT_EQ(durationText(59.9994), "59.999 s");
    EXPECT_EQ(durationText(60.0), "1 min 00 s");
    EXPECT_EQ(durationText(125.0), "2 min 05 s");
    EXPECT_EQ(durationText(3599.6), "1 h 00 min");
    EXPECT_EQ(durationText(86400.0), "24 h 00 min");
    EXPECT_EQ(durationText(std::numeric_limits<double>::quiet_NaN()), "unknown");
}

TEST(Text, CountsThings)
{
    EXPECT_EQ(counted(0, "file"), "0 files");
    EXPECT_EQ(counted(1, "file"), "1 file");
    EXPECT_EQ(counted(2, "file"), "2 files");
}

TEST(Text, WritesAFixedNumberOfDigits)
{
    EXPECT_EQ(fixedText(1.25, 1), "1.2");
    EXPECT_EQ(fixedText(99.96, 1), "100.0");
    EXPECT_EQ(fixedText(std::numeric_limits<double>::max(), 0).size(), 309U);
}

} // namespace
} // namespace Corvana::Tools
