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
    // A row of one feature; windows are 0.1 s long.
    void addRow(CurveCollector& inout_collector, double in_dEnd, const std::vector<double>& in_vValues)
    {
        inout_collector.beginRow(in_dEnd);
        inout_collector.addFeature(0, in_vValues);
        EXPECT_EQ(inout_collector.endRow(), "");
    }

    std::ostringstream m_rows;
};

TEST_F(CurveCollectorTest, GathersTheValuesOfAColumn)
{
    CurveCollector collector({0, 8000, 8000, 2}, 0.1, {"f"}, {1}, m_rows);
    addRow(collector, 0.1, {1.0});
    addRow(collector, 0.2, {5.0});
    addRow(collector, 0.3, {3.0});
    addRow(collector, 0.9, {-2.0});
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
    CurveCollector collector({0, 8000, 8000, 10}, 0.1, {"f"}, {1}, m_rows);
    addRow(collector, 0.3, {1.0});
    EXPECT_DOUBLE_EQ(collector.getTimes().at(2), 0.25);
    EXPECT_EQ(collector.getCurves()[0].getCell(2, 0).m_uiCount, 1U);
    EXPECT_TRUE(std::isnan(collector.getTimes().at(3)));
}

TEST_F(CurveCollectorTest, LeavesOutWindowsOutsideTheStretchAndStopsBehindIt)
{
    CurveCollector collector({4000, 6000, 8000, 10}, 0.1, {"f"}, {1}, m_rows);
    addRow(collector, 0.5, {9.0}); // its middle is 0.45 s
    addRow(collector, 0.6, {1.0});
    EXPECT_TRUE(m_rows.good());
    addRow(collector, 0.9, {9.0});
    EXPECT_FALSE(m_rows.good());
    double dMin = 0.0;
    double dMax = 0.0;
    ASSERT_TRUE(collector.getCurves()[0].getRange(dMin, dMax));
    EXPECT_EQ(dMax, 1.0);
}

TEST_F(CurveCollectorTest, LeavesGapsForWhatIsNotFinite)
{
    CurveCollector collector({0, 8000, 8000, 10}, 0.1, {"f"}, {3}, m_rows);
    addRow(collector, 0.17, {std::nan(""), s_dInfinity, 1e300});
    for (std::size_t uiRow = 0; uiRow < 3; ++uiRow)
        EXPECT_TRUE(std::isnan(collector.getCurves()[0].getCell(1, uiRow).getMean()));
    double dMin = 0.0;
    double dMax = 0.0;
    EXPECT_FALSE(collector.getCurves()[0].getRange(dMin, dMax));
    EXPECT_FALSE(std::isnan(collector.getTimes()[1]));
}

TEST_F(CurveCollectorTest, MakesLinesOfUpToSixValuesAndAStripOfMore)
{
    CurveCollector collector({0, 8000, 8000, 10}, 0.1, {"a", "b"}, {6, 7}, m_rows);
    EXPECT_FALSE(collector.getCurves()[0].isStrip());
    EXPECT_TRUE(collector.getCurves()[1].isStrip());
}

TEST_F(CurveCollectorTest, PutsManyValuesIntoGroups)
{
    CurveCollector collector({0, 8000, 8000, 1}, 0.1, {"f"}, {1024}, m_rows);
    std::vector<double> vValues(1024, 0.0);
    vValues[1023] = 4.0;
    addRow(collector, 0.5, vValues);
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
