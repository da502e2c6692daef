// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// How wide a text is drawn, in pixels.
using TextWidth = std::function<double(const std::string&)>;

/// A place on an axis, and what is written there.
struct AxisTick
{
    double m_dValue = 0.0;
    std::string m_strText;
};

/// The round values from in_dMin to in_dMax, 1, 2 or 5 times a power of ten apart and at most so many (but for a
/// maximum of less than 2, for which one may be given). The smallest step that allows it. None for bounds that are not
/// finite or not in order.
std::vector<AxisTick> valueTicks(double in_dMin, double in_dMax, unsigned in_uiMaxNbOfTicks);

/// A stretch of time over a stretch of pixels.
class TimeAxis
{
public:
    TimeAxis(double in_dFromSeconds, double in_dToSeconds, double in_dLeft, double in_dWidth);

    double getLeft() const { return m_dLeft; }
    double getWidth() const { return m_dWidth; }
    double getRight() const { return m_dLeft + m_dWidth; }
    double getFrom() const { return m_dFrom; }
    double getTo() const { return m_dTo; }
    /// Where a moment is, also outside the stretch.
    double placeOf(double in_dSeconds) const;

    /// Moments that people find round, such as every 5 s, 15 s or 10 min, as many as fit side by side with some room
    /// between their texts.
    std::vector<AxisTick> getTicks(const TextWidth& in_widthOf) const;
    /// How the texts of the ticks are to be read: "seconds", "min:s" or "h:min:s".
    std::string getUnit() const;

private:
    std::string textOf(double in_dSeconds, int in_iNbOfDigits) const;
    std::vector<AxisTick> ticksAt(double in_dStep, int in_iNbOfDigits) const;
    bool fits(const std::vector<AxisTick>& in_vTicks, const TextWidth& in_widthOf) const;

    double m_dFrom;
    double m_dTo;
    double m_dLeft;
    double m_dWidth;
};

} // namespace Corvana::Tools
