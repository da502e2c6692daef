// SPDX-License-Identifier: Apache-2.0
#include "tools/AxisTicks.h"

#include "corvana/NumberText.h"
#include "tools/Text.h"

#include <algorithm>
#include <cmath>

namespace Corvana::Tools {
namespace {

constexpr double s_dSecondsOfMinute = 60.0;
constexpr double s_dSecondsOfHour = 3600.0;

// A step of 1, 2 or 5 times a power of ten.
struct RoundStep
{
    int m_iDigit = 1;
    int m_iExponent = 0;

    double value() const
    {
        // Dividing by a power of ten is exact where multiplying by a negative one is not: 0.3, not 0.30000000000000004.
        const double dPower = std::pow(10.0, std::abs(m_iExponent));
        return m_iExponent < 0 ? m_iDigit / dPower : m_iDigit * dPower;
    }
    RoundStep next() const
    {
        return m_iDigit == 5 ? RoundStep{1, m_iExponent + 1} : RoundStep{m_iDigit == 1 ? 2 : 5, m_iExponent};
    }
};

// Multiples of the step from one bound to the other; rounding must not lose one that lies on a bound.
double firstMultiple(double in_dMin, double in_dStep)
{
    return std::ceil(in_dMin / in_dStep - 1e-9) + 0.0; // no minus zero
}

double lastMultiple(double in_dMax, double in_dStep)
{
    return std::floor(in_dMax / in_dStep + 1e-9);
}

std::string tickText(double in_dMultiple, const RoundStep& in_step)
{
    constexpr int iFewDigits = 4;
    constexpr double dManyDigits = 1e6;
    const double dValue = in_step.m_iExponent < 0
                              ? in_dMultiple * in_step.m_iDigit / std::pow(10.0, -in_step.m_iExponent)
                              : in_dMultiple * in_step.value();
    if (dValue == 0.0)
        return "0";
    if (in_step.m_iExponent < -iFewDigits || std::abs(dValue) >= dManyDigits)
        return toShortestText(dValue);
    return fixedText(dValue, std::max(0, -in_step.m_iExponent));
}

std::string paddedTo2(const std::string& in_strSeconds)
{
    const bool bOneDigit = in_strSeconds.size() < 2 || in_strSeconds[1] == '.';
    return (bOneDigit ? "0" : "") + in_strSeconds;
}

} // namespace

std::vector<AxisTick> valueTicks(double in_dMin, double in_dMax, unsigned in_uiMaxNbOfTicks)
{
    if (!std::isfinite(in_dMin) || !std::isfinite(in_dMax) || !(in_dMin < in_dMax) || in_uiMaxNbOfTicks == 0 ||
        !std::isfinite(in_dMax - in_dMin))
        return {};
    RoundStep step{1, static_cast<int>(std::floor(std::log10((in_dMax - in_dMin) / in_uiMaxNbOfTicks))) - 1};
    const auto count = [&] { return lastMultiple(in_dMax, step.value()) - firstMultiple(in_dMin, step.value()) + 1.0; };
    while (count() > in_uiMaxNbOfTicks)
        step = step.next();
    std::vector<AxisTick> vTicks;
    const double dFirst = firstMultiple(in_dMin, step.value());
    for (double dOffset = 0.0; dOffset < count(); dOffset += 1.0) {
        const double dMultiple = dFirst + dOffset;
        vTicks.push_back({dMultiple * step.value(), tickText(dMultiple, step)});
    }
    return vTicks;
}

TimeAxis::TimeAxis(double in_dFromSeconds, double in_dToSeconds, double in_dLeft, double in_dWidth)
    : m_dFrom(in_dFromSeconds)
    , m_dTo(in_dToSeconds)
    , m_dLeft(in_dLeft)
    , m_dWidth(in_dWidth)
{
}

double TimeAxis::placeOf(double in_dSeconds) const
{
    return m_dLeft + (in_dSeconds - m_dFrom) / (m_dTo - m_dFrom) * m_dWidth;
}

std::string TimeAxis::getUnit() const
{
    return m_dTo > s_dSecondsOfHour ? "h:min:s" : m_dTo > s_dSecondsOfMinute ? "min:s" : "seconds";
}

std::string TimeAxis::textOf(double in_dSeconds, int in_iNbOfDigits) const
{
    if (m_dTo <= s_dSecondsOfMinute)
        return fixedText(in_dSeconds, in_iNbOfDigits);
    // In the smallest unit shown first, so that 59.9999 becomes 1:00 and not 0:60.
    const double dUnit = std::pow(10.0, in_iNbOfDigits);
    const double dRounded = std::round(in_dSeconds * dUnit) / dUnit;
    const double dMinutes = std::floor(dRounded / s_dSecondsOfMinute);
    const std::string strSeconds = paddedTo2(fixedText(dRounded - dMinutes * s_dSecondsOfMinute, in_iNbOfDigits));
    if (m_dTo <= s_dSecondsOfHour)
        return fixedText(dMinutes, 0) + ":" + strSeconds;
    const double dHours = std::floor(dMinutes / 60.0);
    return fixedText(dHours, 0) + ":" + paddedTo2(fixedText(dMinutes - dHours * 60.0, 0)) + ":" + strSeconds;
}

std::vector<AxisTick> TimeAxis::ticksAt(double in_dStep, int in_iNbOfDigits) const
{
    std::vector<AxisTick> vTicks;
    const double dLast = lastMultiple(m_dTo, in_dStep);
    for (double dMultiple = firstMultiple(m_dFrom, in_dStep); dMultiple <= dLast; dMultiple += 1.0)
        vTicks.push_back({dMultiple * in_dStep, textOf(dMultiple * in_dStep, in_iNbOfDigits)});
    return vTicks;
}

bool TimeAxis::fits(const std::vector<AxisTick>& in_vTicks, const TextWidth& in_widthOf) const
{
    constexpr double dGap = 14.0;
    for (std::size_t uiTick = 1; uiTick < in_vTicks.size(); ++uiTick) {
        const double dApart = placeOf(in_vTicks[uiTick].m_dValue) - placeOf(in_vTicks[uiTick - 1].m_dValue);
        const double dHalves =
            (in_widthOf(in_vTicks[uiTick].m_strText) + in_widthOf(in_vTicks[uiTick - 1].m_strText)) / 2.0;
        if (dApart < dHalves + dGap)
            return false;
    }
    return true;
}

std::vector<AxisTick> TimeAxis::getTicks(const TextWidth& in_widthOf) const
{
    constexpr double dLeastApart = 20.0; // pixels: no text is narrower
    const double dLeastStep = (m_dTo - m_dFrom) * dLeastApart / m_dWidth;
    if (!(dLeastStep > 0.0) || !std::isfinite(dLeastStep))
        return {};
    std::vector<AxisTick> vTicks;
    for (RoundStep step{1, -9}; step.value() < 20.0; step = step.next()) {
        if (step.value() < dLeastStep)
            continue;
        vTicks = ticksAt(step.value(), std::max(0, -step.m_iExponent));
        if (step.value() <= 10.0 && fits(vTicks, in_widthOf))
            return vTicks;
    }
    for (const double dStep :
         {15.0, 20.0, 30.0, 60.0, 120.0, 300.0, 600.0, 900.0, 1800.0, 3600.0, 7200.0, 10800.0, 21600.0, 43200.0}) {
        if (dStep < dLeastStep)
            continue;
        vTicks = ticksAt(dStep, 0);
        if (fits(vTicks, in_widthOf))
            return vTicks;
    }
    double dStep = 86400.0;
    while (dStep < dLeastStep)
        dStep *= 2.0;
    for (vTicks = ticksAt(dStep, 0); !fits(vTicks, in_widthOf); vTicks = ticksAt(dStep, 0))
        dStep *= 2.0;
    return vTicks;
}

} // namespace Corvana::Tools
