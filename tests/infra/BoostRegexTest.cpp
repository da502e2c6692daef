// SPDX-License-Identifier: Apache-2.0
#include "corvana/BoostRegex.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using Corvana::BoostRegex;
using Corvana::regex_match;

TEST(BoostRegex, MatchesTheWholeTextOnly)
{
    const BoostRegex regex("busy");

    EXPECT_TRUE(regex_match("busy", regex));
    EXPECT_FALSE(regex_match("busy tone", regex));
    EXPECT_FALSE(regex_match("a busy", regex));
    EXPECT_FALSE(regex_match("", regex));
}

TEST(BoostRegex, HasPerlSyntax)
{
    EXPECT_TRUE(regex_match("dtmf7", BoostRegex("dtmf\\d")));
    EXPECT_TRUE(regex_match("fax", BoostRegex("(?:human|machine|fax)")));
    EXPECT_TRUE(regex_match("human", BoostRegex("hu.*?n")));
}

TEST(BoostRegex, TellsSmallLettersFromCapitalsUnlessTold)
{
    EXPECT_FALSE(regex_match("BUSY", BoostRegex("busy")));
    EXPECT_TRUE(regex_match("BUSY", BoostRegex("busy", BoostRegex::s_uiIgnoreCase)));
    EXPECT_TRUE(regex_match("busy", BoostRegex("B[U]SY", BoostRegex::s_uiIgnoreCase)));
}

TEST(BoostRegex, MatchesTheEmptyTextWithAnEmptyPatternPart)
{
    EXPECT_TRUE(regex_match("", BoostRegex("x*")));
}

TEST(BoostRegex, ThrowsForAMalformedPattern)
{
    for (const char* szPattern : {"(", "[a", "a{2,1}", "*a", "a)", "\\"})
        EXPECT_THROW(BoostRegex{szPattern}, std::runtime_error) << szPattern;
}

TEST(BoostRegex, SaysWhatIsWrongWithAMalformedPattern)
{
    try {
        const BoostRegex regex("(unclosed");
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STRNE("", error.what());
    }
}

TEST(BoostRegex, ThrowsWhenMatchingWouldTakeTooLong)
{
    const BoostRegex regex("(a+)+(b+)+(a+)+(b+)+(a*)*(a*)*x");

    EXPECT_THROW(regex_match(std::string(4000, 'a') + std::string(4000, 'b') + std::string(4000, 'a'), regex),
                 std::runtime_error);
}
