// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AxisTicks.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// A box to be placed in a lane, in pixels, with its text.
struct LaneBox
{
    double m_dLeft = 0.0;
    double m_dRight = 0.0;
    std::string m_strText;
};

/// Puts boxes into as few lanes as let them stand side by side, their texts inside them or, when these are too narrow,
/// behind them (at the right edge before them). With too few lanes texts are shortened, then left out; boxes give way
/// to nothing but other boxes.
class LaneLayout
{
public:
    struct Placed
    {
        std::size_t m_uiLane = 0;
        std::string m_strText;    ///< maybe shortened; empty: left out
        double m_dTextLeft = 0.0; ///< pixels
        bool m_bDrawn = true;     ///< false: another box covers it
    };

    /// in_vBoxes: by their left edges, ascending; texts stay between in_dLeft and in_dRight. Needed no longer than this
    /// takes, as is in_widthOf.
    LaneLayout(const std::vector<LaneBox>& in_vBoxes, double in_dLeft, double in_dRight, std::size_t in_uiMaxNbOfLanes,
               const TextWidth& in_widthOf);

    /// One for each box, in order.
    const std::vector<Placed>& getPlaced() const { return m_vPlaced; }
    std::size_t getNbOfLanes() const { return m_vLanes.size(); }
    std::size_t getNbWithoutText() const { return m_uiNbWithoutText; }

    /// Pixels between a box and the text inside or behind it.
    static constexpr double s_dPadding = 3.0;

private:
    static constexpr std::size_t s_uiNone = ~std::size_t{0};

    struct Lane
    {
        double m_dBoxEnd;           // of the last box
        double m_dTextEnd;          // of the last box and its text
        std::size_t m_uiTextBehind; // the last box, when its text stands behind it; s_uiNone
    };

    void place(std::size_t in_uiBox);
    void put(std::size_t in_uiBox, std::size_t in_uiLane);
    void putOver(std::size_t in_uiBox);
    void keepTextInside(std::size_t in_uiBox);
    bool findLane(double in_dLeft, bool in_bOverTexts, std::size_t& out_uiLane);

    double m_dLeft;
    double m_dRight;
    std::size_t m_uiMaxNbOfLanes;
    const TextWidth& m_widthOf;
    const std::vector<LaneBox>& m_vBoxes;
    std::vector<Lane> m_vLanes;
    std::vector<Placed> m_vPlaced;
    std::size_t m_uiNbWithoutText = 0;
};

/// The text, or its beginning and "…" when it is wider than that; empty when not even a few letters fit. Characters of
/// several bytes stay whole.
std::string shortenedEnd(const std::string& in_strText, double in_dMaxWidth, const TextWidth& in_widthOf);
/// The same with the end of the text, for paths.
std::string shortenedStart(const std::string& in_strText, double in_dMaxWidth, const TextWidth& in_widthOf);

} // namespace Corvana::Tools
