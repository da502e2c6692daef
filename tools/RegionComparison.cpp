// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionComparison.h"

#include <algorithm>
#include <cmath>

namespace Corvana::Tools {
namespace {

using Annotation = RegionComparison::Annotation;

// Some tenths of a second of work; regions that people or detectors put into a recording need a thousandth of it.
constexpr unsigned long s_uiMaxLooks = 20000000;

// What two regions share, in seconds; none when they only touch.
std::optional<double> overlap(const Annotation& in_left, const Annotation& in_right)
{
    const double dStart = std::max(in_left.m_dStartTime, in_right.m_dStartTime);
    const double dStop = std::min(in_left.m_dStopTime, in_right.m_dStopTime);
    const bool bPoint = in_left.m_dStartTime == in_left.m_dStopTime || in_right.m_dStartTime == in_right.m_dStopTime;
    if (dStop > dStart || (bPoint && dStop == dStart))
        return dStop - dStart;
    return {};
}

double distance(const Annotation& in_left, const Annotation& in_right)
{
    return std::max(std::fabs(in_left.m_dStartTime - in_right.m_dStartTime),
                    std::fabs(in_left.m_dStopTime - in_right.m_dStopTime));
}

} // namespace

RegionComparison::RegionComparison(const Regions& in_vLeft, const Regions& in_vRight, double in_dToleranceSeconds)
    : m_vLeft(in_vLeft)
    , m_vRight(in_vRight)
    , m_dTolerance(in_dToleranceSeconds)
    , m_vLeftDone(in_vLeft.size())
    , m_vRightDone(in_vRight.size())
{
}

bool RegionComparison::compare()
{
    for (const Stage stage : {SAME, MOVED, RETYPED, RETYPED_AND_MOVED})
        if (!pairOff(stage))
            return false;
    for (std::size_t uiLeft = 0; uiLeft < m_vLeft.size(); ++uiLeft)
        if (!m_vLeftDone[uiLeft])
            m_vPairs.push_back({uiLeft, {}, false});
    for (std::size_t uiRight = 0; uiRight < m_vRight.size(); ++uiRight)
        if (!m_vRightDone[uiRight])
            m_vPairs.push_back({{}, uiRight, false});
    sortPairs();
    return true;
}

bool RegionComparison::pairOff(Stage in_stage)
{
    m_vRightOrder.clear();
    double dLongest = 0.0;
    for (std::size_t uiRight = 0; uiRight < m_vRight.size(); ++uiRight) {
        if (m_vRightDone[uiRight])
            continue;
        m_vRightOrder.push_back(uiRight);
        dLongest = std::max(dLongest, m_vRight[uiRight].m_dStopTime - m_vRight[uiRight].m_dStartTime);
    }
    std::stable_sort(m_vRightOrder.begin(), m_vRightOrder.end(), [this](std::size_t in_uiOne, std::size_t in_uiOther) {
        return m_vRight[in_uiOne].m_dStartTime < m_vRight[in_uiOther].m_dStartTime;
    });
    for (std::size_t uiLeft = 0; uiLeft < m_vLeft.size(); ++uiLeft)
        if (!m_vLeftDone[uiLeft] && !pairOff(in_stage, uiLeft, dLongest))
            return false;
    return true;
}

bool RegionComparison::pairOff(Stage in_stage, std::size_t in_uiLeft, double in_dLongest)
{
    const Annotation& left = m_vLeft[in_uiLeft];
    const bool bTimes = in_stage == SAME || in_stage == RETYPED;
    // Outside of these starts nothing can be like it.
    const double dFirst = left.m_dStartTime - (bTimes ? m_dTolerance : in_dLongest);
    const double dLast = bTimes ? left.m_dStartTime + m_dTolerance : left.m_dStopTime;
    auto itRight = std::lower_bound(
        m_vRightOrder.begin(), m_vRightOrder.end(), dFirst,
        [this](std::size_t in_uiRight, double in_dStart) { return m_vRight[in_uiRight].m_dStartTime < in_dStart; });
    std::optional<std::size_t> uiBest;
    double dBest = 0.0;
    for (; itRight != m_vRightOrder.end() && m_vRight[*itRight].m_dStartTime <= dLast; ++itRight) {
        if (++m_uiNbOfLooks > s_uiMaxLooks)
            return false;
        const std::optional<double> dLikeness =
            m_vRightDone[*itRight] ? std::nullopt : likeness(in_stage, left, m_vRight[*itRight]);
        if (!dLikeness || (uiBest && *dLikeness <= dBest))
            continue;
        uiBest = *itRight;
        dBest = *dLikeness;
    }
    if (uiBest) {
        m_vLeftDone[in_uiLeft] = m_vRightDone[*uiBest] = true;
        m_vPairs.push_back({in_uiLeft, *uiBest, bTimes});
    }
    return true;
}

// Greater is better; none: they cannot be a pair at this stage.
std::optional<double> RegionComparison::likeness(Stage in_stage, const Annotation& in_left,
                                                 const Annotation& in_right) const
{
    if ((in_stage == SAME || in_stage == MOVED) && in_left.m_type != in_right.m_type)
        return {};
    if (in_stage == MOVED || in_stage == RETYPED_AND_MOVED)
        return overlap(in_left, in_right);
    const double dDistance = distance(in_left, in_right);
    return dDistance <= m_dTolerance ? std::optional(-dDistance) : std::nullopt;
}

void RegionComparison::sortPairs()
{
    const auto startOf = [this](const Pair& in_pair) {
        return in_pair.m_uiLeft ? m_vLeft[*in_pair.m_uiLeft].m_dStartTime : m_vRight[*in_pair.m_uiRight].m_dStartTime;
    };
    std::stable_sort(m_vPairs.begin(), m_vPairs.end(),
                     [&](const Pair& in_one, const Pair& in_other) { return startOf(in_one) < startOf(in_other); });
}

} // namespace Corvana::Tools
