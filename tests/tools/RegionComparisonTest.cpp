// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionComparison.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using Annotation = RegionComparison::Annotation;
using Regions = RegionComparison::Regions;

// Such as "0=1" for the same times, "0~1" for others, "0<" and ">1" for one without a counterpart.
std::vector<std::string> pairsOf(const Regions& in_vLeft, const Regions& in_vRight, double in_dToleranceSeconds = 1e-6)
{
    RegionComparison comparison(in_vLeft, in_vRight, in_dToleranceSeconds);
    EXPECT_TRUE(comparison.compare());
    std::vector<std::string> vTexts;
    for (const RegionComparison::Pair& pair : comparison.pairs()) {
        const std::string strLeft = pair.m_uiLeft ? std::to_string(*pair.m_uiLeft) : "";
        const std::string strRight = pair.m_uiRight ? std::to_string(*pair.m_uiRight) : "";
        vTexts.push_back(strLeft +
                         (strRight.empty()    ? "<"
                          : strLeft.empty()   ? ">"
                          : pair.m_bSameTimes ? "="
                                              : "~") +
                         strRight);
        EXPECT_FALSE(pair.m_bSameTimes && (strLeft.empty() || strRight.empty())) << vTexts.back();
    }
    return vTexts;
}

TEST(RegionComparison, FindsNothingInEmptyLists)
{
    EXPECT_THAT(pairsOf({}, {}), ElementsAre());
}

TEST(RegionComparison, FindsTheSameRegionsInAnyOrder)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 0, 1}, {Annotation::BEEP, 1, 2}},
                        {{Annotation::BEEP, 1, 2}, {Annotation::MALE, 0, 1}}),
                ElementsAre("0=1", "1=0"));
}

TEST(RegionComparison, PairsEachRegionOnce)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 0, 1}, {Annotation::MALE, 0, 1}, {Annotation::MALE, 0, 1}},
                        {{Annotation::MALE, 0, 1}, {Annotation::MALE, 0, 1}}),
                ElementsAre("0=0", "1=1", "2<"));
}

TEST(RegionComparison, FindsRegionsOfOneSideOnly)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 3, 4}}, {{Annotation::MALE, 1, 2}}), ElementsAre(">0", "0<"));
}

TEST(RegionComparison, TakesTimesWithinTheToleranceForTheSame)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 1, 2}}, {{Annotation::MALE, 1.25, 1.75}}, 0.25), ElementsAre("0=0"));
    EXPECT_THAT(pairsOf({{Annotation::MALE, 1, 2}}, {{Annotation::MALE, 1.25, 1.5}}, 0.25), ElementsAre("0~0"));
    EXPECT_THAT(pairsOf({{Annotation::MALE, 1, 2}}, {{Annotation::MALE, 0.5, 2}}, 0.25), ElementsAre("0~0"));
}

TEST(RegionComparison, TakesTheNearestOfSeveralWithinTheTolerance)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 1, 2}}, {{Annotation::MALE, 0.9, 2}, {Annotation::MALE, 1.05, 2}}, 0.25),
                ElementsAre(">0", "0=1"));
}

TEST(RegionComparison, TakesTheRegionOfTheSameTypeThatOverlapsMostForTheMovedOne)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 1, 3}}, {{Annotation::MALE, 0, 2}, {Annotation::MALE, 1.5, 3}}),
                ElementsAre(">0", "0~1"));
}

TEST(RegionComparison, FindsAnOverlapWithALongRegionThatBeganLongBefore)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 50, 51}},
                        {{Annotation::MALE, 0, 100}, {Annotation::BEEP, 40, 41}, {Annotation::BEEP, 45, 46}}),
                ElementsAre(">1", ">2", "0~0"));
}

TEST(RegionComparison, DoesNotTakeTouchingForOverlapping)
{
    EXPECT_THAT(pairsOf({{Annotation::MALE, 0, 1}}, {{Annotation::MALE, 1, 2}}), ElementsAre("0<", ">0"));
}

TEST(RegionComparison, TakesAPointForOverlappingWhatItLiesIn)
{
    EXPECT_THAT(pairsOf({{Annotation::BEEP, 1, 1}}, {{Annotation::BEEP, 0, 1}}), ElementsAre("0~0"));
    EXPECT_THAT(pairsOf({{Annotation::BEEP, 1, 1}}, {{Annotation::BEEP, 1, 1}}), ElementsAre("0=0"));
    EXPECT_THAT(pairsOf({{Annotation::BEEP, 1, 1}}, {{Annotation::BEEP, 1.5, 2}}), ElementsAre("0<", ">0"));
}

TEST(RegionComparison, PrefersTheTypeToTheTimes)
{
    // The BEEP moved, although the MALE stands where it was.
    EXPECT_THAT(pairsOf({{Annotation::BEEP, 1, 2}}, {{Annotation::MALE, 1, 2}, {Annotation::BEEP, 1.5, 2}}),
                ElementsAre("0~1", ">0"));
}

TEST(RegionComparison, FindsRetypedRegionsByTheirTimesFirst)
{
    EXPECT_THAT(pairsOf({{Annotation::CPA_HUMAN, 1, 3}}, {{Annotation::VOICE, 0, 9}, {Annotation::CPA_MACHINE, 1, 3}}),
                ElementsAre(">0", "0=1"));
    EXPECT_THAT(pairsOf({{Annotation::CPA_HUMAN, 1, 3}}, {{Annotation::CPA_MACHINE, 2, 4}}), ElementsAre("0~0"));
}

TEST(RegionComparison, GivesUpWhereTooManyRegionsOverlap)
{
    const Regions vLeft(5000, Annotation(Annotation::MALE, 0, 1));
    const Regions vRight(5000, Annotation(Annotation::BEEP, 0, 2));
    EXPECT_FALSE(RegionComparison(vLeft, vRight, 0.0).compare());
}

TEST(RegionComparison, TakesManyRegionsInARow)
{
    Regions vRegions;
    for (unsigned uiRegion = 0; uiRegion < 200000; ++uiRegion)
        vRegions.emplace_back(Annotation::MALE, uiRegion, uiRegion + 1.0);
    RegionComparison comparison(vRegions, vRegions, 0.001);
    EXPECT_TRUE(comparison.compare());
    EXPECT_EQ(comparison.pairs().size(), vRegions.size());
}

} // namespace
} // namespace Corvana::Tools
