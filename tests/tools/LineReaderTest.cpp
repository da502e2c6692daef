// SPDX-License-Identifier: Apache-2.0
#include "tools/LineReader.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;

std::vector<std::string> linesOf(LineReader& inout_lines)
{
    std::vector<std::string> vLines;
    for (std::string strLine; inout_lines.next(strLine);)
        vLines.push_back(strLine);
    return vLines;
}

TEST(LineReader, GivesTheLinesWithoutTheirEnds)
{
    std::istringstream stream("one\n\nthree\n");
    LineReader lines(stream, 5);
    EXPECT_THAT(linesOf(lines), ElementsAre("one", "", "three"));
    EXPECT_EQ(lines.getNbOfBytes(), 11U);
    EXPECT_FALSE(lines.isTooLong() || lines.hasTornEnd());
}

TEST(LineReader, LeavesALastLineWithoutAnEnd)
{
    std::istringstream stream("one\ntw");
    LineReader lines(stream, 5);
    EXPECT_THAT(linesOf(lines), ElementsAre("one"));
    EXPECT_EQ(lines.getNbOfBytes(), 4U);
    EXPECT_TRUE(lines.hasTornEnd());
}

TEST(LineReader, StopsAtALineThatIsTooLong)
{
    std::istringstream stream("one\nfour..\nfive\n");
    LineReader lines(stream, 5);
    EXPECT_THAT(linesOf(lines), ElementsAre("one"));
    EXPECT_TRUE(lines.isTooLong());
    EXPECT_EQ(lines.getNumber(), 2U);
}

TEST(LineReader, ReadsLinesAcrossThePiecesThatItReads)
{
    const std::string strLong(100000, 'x');
    std::istringstream stream(strLong + "\n" + strLong + "\nend\n");
    LineReader lines(stream, strLong.size());
    EXPECT_THAT(linesOf(lines), ElementsAre(strLong, strLong, "end"));
    std::istringstream longer(strLong + "y\n");
    LineReader refused(longer, strLong.size());
    EXPECT_THAT(linesOf(refused), ElementsAre());
    EXPECT_TRUE(refused.isTooLong());
}

TEST(LineReader, GivesNothingForAnEmptyText)
{
    std::istringstream stream;
    LineReader lines(stream, 5);
    EXPECT_THAT(linesOf(lines), ElementsAre());
    EXPECT_FALSE(lines.hasTornEnd());
}

} // namespace
} // namespace Corvana::Tools
