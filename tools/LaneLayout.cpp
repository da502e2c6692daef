// SPDX-License-Identifier: Apache-2.0
#include "tools/LaneLayout.h"

#include <algorithm>

namespace Corvana::Tools {
namespace {

constexpr double s_dTolerance = 0.01; // pixels: boxes may touch each other
constexpr const char* s_szEllipsis = "\u2026";

bool isInsideCharacter(char in_cByte)
{
    return (static_cast<unsigned char>(in_cByte) & 0xC0U) == 0x80U;
}

// Where characters begin, and the end.
std::vector<std::size_t> characterStarts(const std::string& in_strText)
{
    std::vector<std::size_t> vStarts;
    for (std::size_t uiByte = 0; uiByte < in_strText.size(); ++uiByte)
        if (!isInsideCharacter(in_strText[uiByte]))
            vStarts.push_back(uiByte);
    vStarts.push_back(in_strText.size());
    return vStarts;
}

constexpr std::size_t s_uiLeastCharacters = 3;

} // namespace

std::string shortenedEnd(const std::string& in_strText, double in_dMaxWidth, const TextWidth& in_widthOf)
{
    if (in_widthOf(in_strText) <= in_dMaxWidth)
        return in_strText;
    const std::vector<std::size_t> vStarts = characterStarts(in_strText);
    const auto shortened = [&](std::size_t in_uiCount) {
        return in_strText.substr(0, vStarts[in_uiCount]) + s_szEllipsis;
    };
    // The longest beginning that fits, by bisection: texts from outside may be long.
    std::size_t uiFits = 0;
    std::size_t uiTooLong = vStarts.size() - 1;
    while (uiFits + 1 < uiTooLong) {
        const std::size_t uiMiddle = (uiFits + uiTooLong) / 2;
        (in_widthOf(shortened(uiMiddle)) <= in_dMaxWidth ? uiFits : uiTooLong) = uiMiddle;
    }
    return uiFits < s_uiLeastCharacters ? std::string() : shortened(uiFits);
}

std::string shortenedStart(const std::string& in_strText, double in_dMaxWidth, const TextWidth& in_widthOf)
{
    if (in_widthOf(in_strText) <= in_dMaxWidth)
        return in_strText;
    const std::vector<std::size_t> vStarts = characterStarts(in_strText);
    const std::size_t uiNbOfCharacters = vStarts.size() - 1;
    const auto shortened = [&](std::size_t in_uiCount) {
        return s_szEllipsis + in_strText.substr(vStarts[uiNbOfCharacters - in_uiCount]);
    };
    std::size_t uiFits = 0;
    std::size_t uiTooLong = uiNbOfCharacters;
    while (uiFits + 1 < uiTooLong) {
        const std::size_t uiMiddle = (uiFits + uiTooLong) / 2;
        (in_widthOf(shortened(uiMiddle)) <= in_dMaxWidth ? uiFits : uiTooLong) = uiMiddle;
    }
    return uiFits < s_uiLeastCharacters ? std::string() : shortened(uiFits);
}

LaneLayout::LaneLayout(const std::vector<LaneBox>& in_vBoxes, double in_dLeft, double in_dRight,
                       std::size_t in_uiMaxNbOfLanes, const TextWidth& in_widthOf)
    : m_dLeft(in_dLeft)
    , m_dRight(in_dRight)
    , m_uiMaxNbOfLanes(std::max(std::size_t{1}, in_uiMaxNbOfLanes))
    , m_widthOf(in_widthOf)
    , m_vBoxes(in_vBoxes)
    , m_vPlaced(in_vBoxes.size())
{
    for (std::size_t uiBox = 0; uiBox < in_vBoxes.size(); ++uiBox)
        place(uiBox);
    for (std::size_t uiBox = 0; uiBox < in_vBoxes.size(); ++uiBox)
        if (m_vPlaced[uiBox].m_strText.empty() && !in_vBoxes[uiBox].m_strText.empty())
            ++m_uiNbWithoutText;
}

void LaneLayout::place(std::size_t in_uiBox)
{
    const double dLeft = m_vBoxes[in_uiBox].m_dLeft;
    std::size_t uiLane = 0;
    if (findLane(dLeft, false, uiLane)) {
        put(in_uiBox, uiLane);
    } else if (m_vLanes.size() < m_uiMaxNbOfLanes) {
        m_vLanes.push_back({m_dLeft, m_dLeft, s_uiNone});
        put(in_uiBox, m_vLanes.size() - 1);
    } else if (findLane(dLeft, true, uiLane)) {
        keepTextInside(m_vLanes[uiLane].m_uiTextBehind);
        put(in_uiBox, uiLane);
    } else {
        putOver(in_uiBox);
    }
}

// The first lane with room from here on; in_bOverTexts: where only the text behind a box is in the way, the one in
// which least of it is lost.
bool LaneLayout::findLane(double in_dLeft, bool in_bOverTexts, std::size_t& out_uiLane)
{
    bool bFound = false;
    for (std::size_t uiLane = 0; uiLane < m_vLanes.size(); ++uiLane) {
        const Lane& lane = m_vLanes[uiLane];
        if ((in_bOverTexts ? lane.m_dBoxEnd : lane.m_dTextEnd) - s_dTolerance > in_dLeft)
            continue;
        if (!bFound || lane.m_dTextEnd < m_vLanes[out_uiLane].m_dTextEnd)
            out_uiLane = uiLane;
        bFound = true;
        if (!in_bOverTexts)
            break;
    }
    return bFound;
}

void LaneLayout::put(std::size_t in_uiBox, std::size_t in_uiLane)
{
    const LaneBox& box = m_vBoxes[in_uiBox];
    Placed& placed = m_vPlaced[in_uiBox];
    placed.m_uiLane = in_uiLane;
    const double dFreeFrom = m_vLanes[in_uiLane].m_dTextEnd;
    m_vLanes[in_uiLane] = {box.m_dRight, box.m_dRight, s_uiNone};
    if (box.m_strText.empty())
        return;
    const double dWidth = m_widthOf(box.m_strText);
    const double dInside = box.m_dRight - box.m_dLeft - 2.0 * s_dPadding;
    const double dBehind = box.m_dRight + s_dPadding;
    if (dWidth > dInside && dBehind + dWidth <= m_dRight) {
        placed.m_strText = box.m_strText;
        placed.m_dTextLeft = dBehind;
        m_vLanes[in_uiLane].m_dTextEnd = dBehind + dWidth + s_dPadding;
        m_vLanes[in_uiLane].m_uiTextBehind = in_uiBox;
    } else if (dWidth > dInside && box.m_dLeft - s_dPadding - dWidth >= dFreeFrom) {
        placed.m_strText = box.m_strText;
        placed.m_dTextLeft = box.m_dLeft - s_dPadding - dWidth;
    } else {
        keepTextInside(in_uiBox);
    }
}

void LaneLayout::keepTextInside(std::size_t in_uiBox)
{
    const LaneBox& box = m_vBoxes[in_uiBox];
    const double dInside = box.m_dRight - box.m_dLeft - 2.0 * s_dPadding;
    m_vPlaced[in_uiBox].m_strText = shortenedEnd(box.m_strText, dInside, m_widthOf);
    m_vPlaced[in_uiBox].m_dTextLeft = box.m_dLeft + s_dPadding;
}

// No lane is free: upon the box that ends first, without a text. What that one covers is not drawn, so that a million
// regions at one place are one box.
void LaneLayout::putOver(std::size_t in_uiBox)
{
    const LaneBox& box = m_vBoxes[in_uiBox];
    constexpr double dLeastSeen = 1.0;
    const auto itLane =
        std::min_element(m_vLanes.begin(), m_vLanes.end(), [](const Lane& in_left, const Lane& in_right) {
            return in_left.m_dBoxEnd < in_right.m_dBoxEnd;
        });
    Placed& placed = m_vPlaced[in_uiBox];
    placed.m_uiLane = static_cast<std::size_t>(itLane - m_vLanes.begin());
    placed.m_bDrawn = box.m_dRight >= itLane->m_dBoxEnd + dLeastSeen;
    if (!placed.m_bDrawn)
        return;
    if (itLane->m_uiTextBehind != s_uiNone)
        keepTextInside(itLane->m_uiTextBehind);
    *itLane = {box.m_dRight, box.m_dRight, s_uiNone};
}

} // namespace Corvana::Tools
