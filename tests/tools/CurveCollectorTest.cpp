// SPDX-License-Identifier: Apache-2.0
#include "tools/CurveCollector.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace Corvana::Tools {
namespace {

constexpr double s_dInfinity = std::numeric_limits<double>::infinity();

class CurveCollectorTest : public testing::Test
{
protected:
    // A row of one feature. The time is not what places it.
    void addRow(CurveCollector& inout_collector, const std::vector<double>& in_vValues)
    {
        inout_collector.beginRow(1000.0);
        inout_collector.addFeature(0, in_vValues);
        EXPECT_EQ(inout_collector.endRow(), "");
    }

    // Windows of 0.1 s, side by side.
    static constexpr WindowMiddles s_sideBySide{0.05, 0.1};

    std::ostringstream m_rows;
};

TEST_F(CurveCollectorTest, GathersTheValuesOfAColumn)
{
    CurveCollector collector({0, 8000, 8000, 2}, s_sideBySide, {"f"}, {1}, m_rows);
    for (const double dValue : {1.0, 5.0, 3.0, 3.0, 3.0, -2.0})
        addRow(collector, {dValue});
    const Curve& curve = collector.getCurves().at(0);
    EXPECT_EQ(curve.getName(), "f");
    EXPECT_EQ(curve.getCell(0, 0).m_fMin, 1.0F);
    EXPECT_EQ(curve.getCell(0, 0).m_fMax, 5.0F);
    EXPECT_EQ(curve.getCell(0, 0).getMean(), 3.0);
    EXPECT_EQ(curve.getCell(1, 0).getMean(), -2.0);
    double dMin = 0.0;
    double dMax = 0.0;
    ASSERT_TRUE(curve.getRange(dMin, dMax));
    EXPECT_EQ(dMin, -2.0);
    EXPECT_EQ(dMax, 5.0);
}

TEST_F(CurveCollectorTest, PlacesAWindowAtItsMiddle)
{
    CurveCollector collector({0, 8000, 8000, 10}, s_sideBySide, {"f"}, {1}, m_rows);
    for (const double dValue : {1.0, 2.0, 3.0})
        addRow(collector, {dValue});
    EXPECT_DOUBLE_EQ(collector.getTimes().at(2), 0.25);
    EXPECT_EQ(collector.getCurves()[0].getCell(2, 0).m_uiCount, 1U);
    EXPECT_EQ(collector.getCurves()[0].getCell(2, 0).getMean(), 3.0);
    EXPECT_TRUE(std::isnan(collector.getTimes().at(3)));
}

TEST_F(CurveCollectorTest, LeavesOutWindowsOutsideTheStretchAndStopsBehindIt)
{
    CurveCollector collector({4000, 6000, 8000, 10}, s_sideBySide, {"f"}, {1}, m_rows);
    for (int iRow = 0; iRow < 5; ++iRow)
        addRow(collector, {9.0}); // the middle of the last one is 0.45 s
    for (int iRow = 0; iRow < 2; ++iRow)
        addRow(collector, {1.0});
    EXPECT_TRUE(m_rows.good());
    addRow(collector, {9.0}); // 0.75 s
    EXPECT_FALSE(m_rows.good());
    double dMin = 0.0;
    double dMax = 0.0;
    ASSERT_TRUE(collector.getCurves()[0].getRange(dMin, dMax));
    EXPECT_EQ(dMax, 1.0);
}

TEST_F(CurveCollectorTest, LeavesGapsForWhatIsNotFinite)
{
    CurveCollector collector({0, 8000, 8000, 10}, s_sideBySide, {"f"}, {3}, m_rows);
    addRow(collector, {0.0, 0.0, 0.0});
    addRow(collector, {std::nan(""), s_dInfinity, 1e300});
    for (std::size_t uiRow = 0; uiRow < 3; ++uiRow)
        EXPECT_TRUE(std::isnan(collector.getCurves()[0].getCell(1, uiRow).getMean()));
    double dMin = 0.0;
    double dMax = 0.0;
    ASSERT_TRUE(collector.getCurves()[0].getRange(dMin, dMax));
    EXPECT_EQ(dMax, 0.0);
    EXPECT_FALSE(std::isnan(collector.getTimes()[1]));
}

TEST_F(CurveCollectorTest, HasNoRangeWithoutValues)
{
    CurveCollector collector({0, 8000, 8000, 10}, s_sideBySide, {"f"}, {1}, m_rows);
    addRow(collector, {std::nan("")});
    double dMin = 0.0;
    double dMax = 0.0;
    EXPECT_FALSE(collector.getCurves()[0].getRange(dMin, dMax));
}

TEST_F(CurveCollectorTest, MakesLinesOfUpToSixValuesAndAStripOfMore)
{
    CurveCollector collector({0, 8000, 8000, 10}, s_sideBySide, {"a", "b"}, {6, 7}, m_rows);
    EXPECT_FALSE(collector.getCurves()[0].isStrip());
    EXPECT_TRUE(collector.getCurves()[1].isStrip());
}

TEST_F(CurveCollectorTest, PutsManyValuesIntoGroups)
{
    CurveCollector collector({0, 8000, 8000, 1}, s_sideBySide, {"f"}, {1024}, m_rows);
    std::vector<double> vValues(1024, 0.0);
    vValues[1023] = 4.0;
    addRow(collector, vValues);
    const Curve& curve = collector.getCurves()[0];
    EXPECT_EQ(curve.getNbOfValues(), 1024U);
    ASSERT_EQ(curve.getNbOfRows(), 256U);
    EXPECT_EQ(curve.getCell(0, 255).m_uiCount, 4U);
    EXPECT_EQ(curve.getCell(0, 255).getMean(), 1.0);
    double dMin = 0.0;
    double dMax = 0.0;
    ASSERT_TRUE(curve.getRange(dMin, dMax));
    EXPECT_EQ(dMax, 1.0) << "of a strip, means are drawn";
}

} // namespace
} // namespace Corvana::Tools
