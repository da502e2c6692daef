// SPDX-License-Identifier: Apache-2.0
#include "tools/LaneLayout.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

namespace Corvana::Tools {
namespace {

// Ten pixels a character, however many bytes it has.
double widthOf(const std::string& in_strText)
{
    return 10.0 * static_cast<double>(std::count_if(in_strText.begin(), in_strText.end(), [](char in_cByte) {
               return (static_cast<unsigned char>(in_cByte) & 0xC0U) != 0x80U;
           }));
}

const TextWidth s_widthOf = widthOf;

LaneLayout layOut(const std::vector<LaneBox>& in_vBoxes, std::size_t in_uiMaxNbOfLanes = 10)
{
    return LaneLayout(in_vBoxes, 0.0, 1000.0, in_uiMaxNbOfLanes, s_widthOf);
}

TEST(LaneLayout, PutsATextIntoABoxThatHoldsIt)
{
    const LaneLayout layout = layOut({{100.0, 200.0, "BEEP"}});
    EXPECT_EQ(layout.getNbOfLanes(), 1U);
    EXPECT_EQ(layout.getPlaced()[0].m_strText, "BEEP");
    EXPECT_EQ(layout.getPlaced()[0].m_dTextLeft, 103.0);
}

TEST(LaneLayout, PutsATextBehindABoxThatIsTooNarrow)
{
    const LaneLayout layout = layOut({{100.0, 110.0, "BEEP"}});
    EXPECT_EQ(layout.getPlaced()[0].m_strText, "BEEP");
    EXPECT_EQ(layout.getPlaced()[0].m_dTextLeft, 113.0);
}

TEST(LaneLayout, PutsATextBeforeABoxAtTheRightEdge)
{
    const LaneLayout layout = layOut({{990.0, 1000.0, "BEEP"}});
    EXPECT_EQ(layout.getPlaced()[0].m_strText, "BEEP");
    EXPECT_EQ(layout.getPlaced()[0].m_dTextLeft, 947.0);
}

// 40 pixels of text, 3 on each side.
TEST(LaneLayout, TakesRoomThatJustSuffices)
{
    EXPECT_EQ(layOut({{100.0, 146.0, "BEEP"}}).getPlaced()[0].m_dTextLeft, 103.0);
    EXPECT_EQ(layOut({{100.0, 145.0, "BEEP"}}).getPlaced()[0].m_dTextLeft, 148.0);
    EXPECT_EQ(layOut({{954.0, 1000.0, "BEEP"}}).getPlaced()[0].m_dTextLeft, 957.0);
    EXPECT_EQ(layOut({{950.0, 957.0, "BEEP"}}).getPlaced()[0].m_dTextLeft, 960.0);
    EXPECT_EQ(layOut({{951.0, 958.0, "BEEP"}}).getPlaced()[0].m_dTextLeft, 908.0);
    const auto textLeftBehindABoxTo = [](double in_dRight) {
        return layOut({{0.0, in_dRight, ""}, {990.0, 1000.0, "BEEP"}}, 1).getPlaced()[1].m_dTextLeft;
    };
    EXPECT_EQ(textLeftBehindABoxTo(947.0), 947.0);
    EXPECT_EQ(textLeftBehindABoxTo(948.0), 993.0);
}

TEST(LaneLayout, KeepsBoxesThatTouchInOneLane)
{
    const LaneLayout layout = layOut({{0.0, 100.0, "A"}, {100.0, 200.0, "B"}, {150.0, 300.0, "C"}});
    EXPECT_EQ(layout.getNbOfLanes(), 2U);
    EXPECT_EQ(layout.getPlaced()[1].m_uiLane, 0U);
    EXPECT_EQ(layout.getPlaced()[2].m_uiLane, 1U);
}

TEST(LaneLayout, TakesAnotherLaneRatherThanATextsRoom)
{
    const LaneLayout layout = layOut({{0.0, 10.0, "RINGBACK"}, {50.0, 60.0, "BEEP"}, {100.0, 110.0, "BEEP"}});
    EXPECT_EQ(layout.getNbOfLanes(), 2U);
    EXPECT_EQ(layout.getPlaced()[1].m_uiLane, 1U);
    EXPECT_EQ(layout.getPlaced()[2].m_uiLane, 0U);
    EXPECT_EQ(layout.getNbWithoutText(), 0U);
}

TEST(LaneLayout, TakesTheFirstLaneWithRoomNotTheOneFreeLongest)
{
    const LaneLayout layout = layOut({{0.0, 200.0, "A"}, {50.0, 100.0, "B"}, {300.0, 400.0, "C"}});
    EXPECT_EQ(layout.getPlaced()[1].m_uiLane, 1U);
    EXPECT_EQ(layout.getPlaced()[2].m_uiLane, 0U);
}

TEST(LaneLayout, LeavesATextOutBeforeItOverlaps)
{
    const LaneLayout layout = layOut({{0.0, 10.0, "RINGBACK"}, {50.0, 60.0, "BEEP"}}, 1);
    EXPECT_EQ(layout.getPlaced()[0].m_strText, "");
    EXPECT_EQ(layout.getPlaced()[1].m_strText, "BEEP");
    EXPECT_EQ(layout.getNbWithoutText(), 1U);
}

TEST(LaneLayout, ShortensATextThatLosesItsRoomBehindTheBox)
{
    const LaneLayout layout = layOut({{0.0, 46.0, "RINGBACK"}, {50.0, 60.0, "BEEP"}}, 1);
    EXPECT_EQ(layout.getPlaced()[0].m_strText, "RIN\u2026");
    EXPECT_EQ(layout.getPlaced()[0].m_dTextLeft, 3.0);
    EXPECT_EQ(layout.getNbWithoutText(), 0U);
}

TEST(LaneLayout, PutsABoxWithoutRoomOverTheOneThatEndsFirst)
{
    const LaneLayout layout = layOut({{0.0, 500.0, "A"}, {10.0, 400.0, "B"}, {20.0, 600.0, "C"}}, 2);
    EXPECT_TRUE(layout.getPlaced()[2].m_bDrawn);
    EXPECT_EQ(layout.getPlaced()[2].m_uiLane, 1U);
    EXPECT_EQ(layout.getPlaced()[2].m_strText, "");

    const LaneLayout both = layOut({{0.0, 500.0, "A"}, {10.0, 500.0, "B"}, {20.0, 600.0, "C"}}, 2);
    EXPECT_EQ(both.getPlaced()[2].m_uiLane, 0U);
}

TEST(LaneLayout, DrawsNoBoxThatAnotherOneCovers)
{
    const LaneLayout layout = layOut({{0.0, 500.0, "A"}, {10.0, 400.0, "B"}, {20.0, 600.0, "C"}}, 1);
    EXPECT_TRUE(layout.getPlaced()[0].m_bDrawn);
    EXPECT_FALSE(layout.getPlaced()[1].m_bDrawn);
    EXPECT_TRUE(layout.getPlaced()[2].m_bDrawn);
    EXPECT_EQ(layout.getNbWithoutText(), 2U);
}

TEST(LaneLayout, CountsNoBoxWithoutATextAsLost)
{
    EXPECT_EQ(layOut({{0.0, 1.0, ""}}).getNbWithoutText(), 0U);
}

RC_GTEST_PROP(LaneLayout, NeverLetsTextsOverlap, ())
{
    std::vector<LaneBox> vBoxes;
    for (int iCount = *rc::gen::inRange(0, 300); iCount > 0; --iCount) {
        const double dLeft = *rc::gen::inRange(0, 998);
        const double dRight = std::min(1000.0, dLeft + 2.0 + *rc::gen::inRange(0, 200));
        vBoxes.push_back({dLeft, dRight, std::string(*rc::gen::inRange<std::size_t>(0, 20), 'x')});
    }
    std::stable_sort(vBoxes.begin(), vBoxes.end(), [](const LaneBox& in_left, const LaneBox& in_right) {
        return in_left.m_dLeft < in_right.m_dLeft;
    });
    const auto uiMax = *rc::gen::inRange<std::size_t>(1, 12);

    const LaneLayout layout = layOut(vBoxes, uiMax);

    RC_ASSERT(layout.getNbOfLanes() <= uiMax);
    std::size_t uiLost = 0;
    std::vector<double> vEnds(uiMax, 0.0);
    std::vector<std::vector<std::pair<double, double>>> vTexts(uiMax);
    for (std::size_t uiBox = 0; uiBox < vBoxes.size(); ++uiBox) {
        const LaneLayout::Placed& placed = layout.getPlaced()[uiBox];
        uiLost += placed.m_strText.empty() && !vBoxes[uiBox].m_strText.empty() ? 1 : 0;
        RC_ASSERT(placed.m_strText.empty() || placed.m_bDrawn);
        if (!placed.m_strText.empty())
            vTexts[placed.m_uiLane].emplace_back(placed.m_dTextLeft, placed.m_dTextLeft + widthOf(placed.m_strText));
    }
    RC_ASSERT(layout.getNbWithoutText() == uiLost);
    for (auto& vLane : vTexts) {
        std::sort(vLane.begin(), vLane.end());
        for (std::size_t uiText = 0; uiText < vLane.size(); ++uiText) {
            RC_ASSERT(vLane[uiText].first >= 0.0);
            RC_ASSERT(vLane[uiText].second <= 1000.0);
            if (uiText > 0)
                RC_ASSERT(vLane[uiText - 1].second < vLane[uiText].first);
        }
    }
}

// Boxes share a lane only where there is none that is free.
RC_GTEST_PROP(LaneLayout, NeverLetsBoxesOverlapWhileThereAreLanes, ())
{
    std::vector<LaneBox> vBoxes;
    for (int iCount = *rc::gen::inRange(0, 60); iCount > 0; --iCount) {
        const double dLeft = *rc::gen::inRange(0, 990);
        vBoxes.push_back({dLeft, std::min(1000.0, dLeft + 2.0 + *rc::gen::inRange(0, 100)), "text"});
    }
    std::stable_sort(vBoxes.begin(), vBoxes.end(), [](const LaneBox& in_left, const LaneBox& in_right) {
        return in_left.m_dLeft < in_right.m_dLeft;
    });

    const LaneLayout layout = layOut(vBoxes, 100);

    std::vector<double> vEnds(layout.getNbOfLanes(), 0.0);
    for (std::size_t uiBox = 0; uiBox < vBoxes.size(); ++uiBox) {
        double& dEnd = vEnds[layout.getPlaced()[uiBox].m_uiLane];
        RC_ASSERT(layout.getPlaced()[uiBox].m_bDrawn);
        RC_ASSERT(vBoxes[uiBox].m_dLeft >= dEnd - 0.01);
        dEnd = vBoxes[uiBox].m_dRight;
    }
}

TEST(ShortenedTexts, StayWholeWhereTheyFit)
{
    EXPECT_EQ(shortenedEnd("CPA_HUMAN", 90.0, s_widthOf), "CPA_HUMAN");
    EXPECT_EQ(shortenedStart("call.wav", 80.0, s_widthOf), "call.wav");
}

TEST(ShortenedTexts, KeepTheirBeginningOrEnd)
{
    EXPECT_EQ(shortenedEnd("CPA_HUMAN", 80.0, s_widthOf), "CPA_HUM\u2026");
    EXPECT_EQ(shortenedStart("calls/call.wav", 90.0, s_widthOf), "\u2026call.wav");
}

TEST(ShortenedTexts, AreEmptyBelowAFewLetters)
{
    EXPECT_EQ(shortenedEnd("CPA_HUMAN", 40.0, s_widthOf), "CPA\u2026");
    EXPECT_EQ(shortenedEnd("CPA_HUMAN", 39.0, s_widthOf), "");
    EXPECT_EQ(shortenedStart("CPA_HUMAN", 39.0, s_widthOf), "");
    EXPECT_EQ(shortenedEnd("", 0.0, s_widthOf), "");
}

TEST(ShortenedTexts, DivideNoCharacter)
{
    EXPECT_EQ(shortenedEnd("\u96fb\u8a71\u96fb\u8a71\u96fb", 40.0, s_widthOf), "\u96fb\u8a71\u96fb\u2026");
    EXPECT_EQ(shortenedStart("\u96fb\u8a71\u96fb\u8a71\u96fb", 40.0, s_widthOf), "\u2026\u96fb\u8a71\u96fb");
}

} // namespace
} // namespace Corvana::Tools
