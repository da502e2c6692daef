// SPDX-License-Identifier: Apache-2.0
#include "tools/AxisTicks.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> textsOf(const std::vector<AxisTick>& in_vTicks)
{
    std::vector<std::string> vTexts;
    for (const AxisTick& tick : in_vTicks)
        vTexts.push_back(tick.m_strText);
    return vTexts;
}

double sevenPixelsALetter(const std::string& in_strText)
{
    return 7.0 * static_cast<double>(in_strText.size());
}

std::vector<std::string> timesOf(double in_dFrom, double in_dTo, double in_dWidth)
{
    return textsOf(TimeAxis(in_dFrom, in_dTo, 0.0, in_dWidth).getTicks(sevenPixelsALetter));
}

TEST(ValueTicks, AreRoundNumbers)
{
    EXPECT_THAT(textsOf(valueTicks(0.0, 4000.0, 5)), ElementsAre("0", "1000", "2000", "3000", "4000"));
    EXPECT_THAT(textsOf(valueTicks(-1.06, 1.06, 5)), ElementsAre("-1.0", "-0.5", "0", "0.5", "1.0"));
    EXPECT_THAT(textsOf(valueTicks(0.0, 0.3, 4)), ElementsAre("0", "0.1", "0.2", "0.3"));
    EXPECT_THAT(textsOf(valueTicks(-80.0, -10.0, 4)), ElementsAre("-80", "-60", "-40", "-20"));
    EXPECT_THAT(textsOf(valueTicks(0.0, 3e-7, 4)), ElementsAre("0", "1e-07", "2e-07", "3e-07"));
    EXPECT_THAT(textsOf(valueTicks(0.0, 3e7, 4)), ElementsAre("0", "1e+07", "2e+07", "3e+07"));
}

TEST(ValueTicks, AreNoneForWhatIsNoRange)
{
    const double dInfinity = std::numeric_limits<double>::infinity();
    EXPECT_THAT(valueTicks(1.0, 1.0, 5), IsEmpty());
    EXPECT_THAT(valueTicks(2.0, 1.0, 5), IsEmpty());
    EXPECT_THAT(valueTicks(0.0, dInfinity, 5), IsEmpty());
    EXPECT_THAT(valueTicks(std::nan(""), 1.0, 5), IsEmpty());
    EXPECT_THAT(valueTicks(-1e308, 1e308, 5), IsEmpty());
    EXPECT_THAT(valueTicks(0.0, 1.0, 0), IsEmpty());
}

RC_GTEST_PROP(ValueTicks, StayWithinTheRangeAndTheNumber, ())
{
    const double dMin = *rc::gen::inRange(-100000, 100000) / 1000.0;
    const double dSpan = *rc::gen::inRange(1, 1000000) / std::pow(10.0, *rc::gen::inRange(-6, 12));
    const auto uiMax = *rc::gen::inRange(2U, 20U);

    const std::vector<AxisTick> vTicks = valueTicks(dMin, dMin + dSpan, uiMax);

    RC_ASSERT(vTicks.size() <= uiMax);
    for (const AxisTick& tick : vTicks) {
        RC_ASSERT(tick.m_dValue >= dMin - dSpan * 1e-6);
        RC_ASSERT(tick.m_dValue <= dMin + dSpan * (1.0 + 1e-6));
    }
}

TEST(TimeAxis, PlacesMoments)
{
    const TimeAxis axis(10.0, 20.0, 100.0, 500.0);
    EXPECT_EQ(axis.placeOf(10.0), 100.0);
    EXPECT_EQ(axis.placeOf(15.0), 350.0);
    EXPECT_EQ(axis.placeOf(20.0), 600.0);
    EXPECT_EQ(axis.placeOf(9.0), 50.0);
}

TEST(TimeAxis, TellsSecondsMinutesAndHours)
{
    EXPECT_THAT(timesOf(0.0, 0.05, 300.0), ElementsAre("0.00", "0.01", "0.02", "0.03", "0.04", "0.05"));
    EXPECT_THAT(timesOf(0.0, 60.0, 300.0), ElementsAre("0", "10", "20", "30", "40", "50", "60"));
    EXPECT_THAT(timesOf(0.0, 120.0, 300.0), ElementsAre("0:00", "0:20", "0:40", "1:00", "1:20", "1:40", "2:00"));
    EXPECT_THAT(timesOf(0.0, 7200.0, 300.0), ElementsAre("0:00:00", "0:30:00", "1:00:00", "1:30:00", "2:00:00"));
    EXPECT_THAT(timesOf(0.0, 864000.0, 400.0),
                ElementsAre("0:00:00", "48:00:00", "96:00:00", "144:00:00", "192:00:00", "240:00:00"));
    EXPECT_THAT(timesOf(119.0, 121.0, 300.0), ElementsAre("1:59.0", "1:59.5", "2:00.0", "2:00.5", "2:01.0"));
    EXPECT_EQ(TimeAxis(0.0, 60.0, 0.0, 1.0).getUnit(), "seconds");
    EXPECT_EQ(TimeAxis(0.0, 61.0, 0.0, 1.0).getUnit(), "min:s");
    EXPECT_EQ(TimeAxis(0.0, 3601.0, 0.0, 1.0).getUnit(), "h:min:s");
}

// With just the room for the texts of that step, which the next smaller one does not have.
TEST(TimeAxis, StepsByWhatPeopleCountIn)
{
    for (const double dStep : {15.0, 20.0, 30.0, 60.0, 120.0, 300.0, 600.0, 900.0, 1800.0, 3600.0, 7200.0, 10800.0,
                               21600.0, 43200.0, 86400.0, 172800.0}) {
        const double dTo = 5.0 * dStep;
        const double dPixelsForAText = dTo > 3600.0 ? 79.0 : 50.0;
        const std::vector<AxisTick> vTicks =
            TimeAxis(0.0, dTo, 0.0, 5.0 * dPixelsForAText).getTicks(sevenPixelsALetter);
        ASSERT_EQ(vTicks.size(), 6U) << dStep;
        EXPECT_EQ(vTicks[1].m_dValue, dStep);
    }
}

TEST(TimeAxis, HasNoTicksWithoutTime)
{
    EXPECT_THAT(timesOf(1.0, 1.0, 300.0), IsEmpty());
}

// Whatever is shown, and however wide: texts side by side, in the stretch, and some at all where there is room for
// them.
RC_GTEST_PROP(TimeAxis, HasTicksThatNeverTouch, ())
{
    const double dFrom = *rc::gen::inRange(0, 100000000) / 1000.0;
    const double dSpan = *rc::gen::inRange(1, 1000) / 1000.0 * std::pow(10.0, *rc::gen::inRange(-3, 6));
    const double dWidth = *rc::gen::inRange(100, 3000);
    const TimeAxis axis(dFrom, dFrom + dSpan, 50.0, dWidth);

    const std::vector<AxisTick> vTicks = axis.getTicks(sevenPixelsALetter);

    double dEnd = -1e9;
    for (const AxisTick& tick : vTicks) {
        const double dMiddle = axis.placeOf(tick.m_dValue);
        const double dHalf = sevenPixelsALetter(tick.m_strText) / 2.0;
        RC_ASSERT(dMiddle > 49.9);
        RC_ASSERT(dMiddle < 50.1 + dWidth);
        RC_ASSERT(dMiddle - dHalf > dEnd + 10.0);
        dEnd = dMiddle + dHalf;
    }
    if (dWidth >= 500.0)
        RC_ASSERT(vTicks.size() >= 2U);
}

} // namespace
} // namespace Corvana::Tools
