// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/PlotStretch.h"
#include "tools/RowWriter.h"

#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// The values of a feature or formula over a stretch, gathered in columns.
class Curve
{
public:
    /// What the windows whose middles lie in a column gave.
    struct Cell
    {
        float m_fMin = 0.0F;
        float m_fMax = 0.0F;
        float m_fSum = 0.0F;
        std::uint32_t m_uiCount = 0; ///< of finite values

        /// Not a number where there is none.
        double getMean() const;
    };

    /// With more values than this, a curve is a strip of colours; fewer are lines.
    static constexpr std::size_t s_uiMaxNbOfLines = 6;

    Curve(const std::string& in_strName, std::size_t in_uiNbOfValues, std::size_t in_uiNbOfColumns);

    /// Values that are not finite leave a gap.
    void add(std::size_t in_uiColumn, std::span<const double> in_values);

    const std::string& getName() const { return m_strName; }
    std::size_t getNbOfValues() const { return m_uiNbOfValues; }
    bool isStrip() const { return m_uiNbOfValues > s_uiMaxNbOfLines; }
    /// The values, or, of very many, groups of neighbours.
    std::size_t getNbOfRows() const { return m_uiNbOfRows; }
    const Cell& getCell(std::size_t in_uiColumn, std::size_t in_uiRow) const
    {
        return m_vCells[in_uiColumn * m_uiNbOfRows + in_uiRow];
    }
    /// The least and the greatest value that is drawn: of a line all values, of a strip the means. False: there is
    /// none.
    bool getRange(double& out_dMin, double& out_dMax) const;

private:
    std::string m_strName;
    std::size_t m_uiNbOfValues;
    std::size_t m_uiNbOfRows;
    std::vector<Cell> m_vCells;
};

/// Where the middles of windows lie, one after the other, in seconds of the recording. Their rows tell other times
/// where a window is no whole number of milliseconds, or is cut for another rate.
struct WindowMiddles
{
    double m_dFirst = 0.0;
    double m_dApart = 0.0;
};

/// Takes the rows of one recording and makes curves of them. A window's values stand at its middle.
class CurveCollector : public RowWriter
{
public:
    /// out_rows is made to fail when the stretch is over, so that nobody computes rows that are not drawn.
    CurveCollector(const PlotStretch& in_stretch, const WindowMiddles& in_middles,
                   const std::vector<std::string>& in_vNames, const std::vector<std::size_t>& in_vNbOfValues,
                   std::ostream& out_rows);

    std::string getHeader() const override { return {}; }
    void beginFile(const std::string&) override {}
    void beginRow(double) override;
    void setLabels(const std::vector<std::string>&) override {}
    void addFeature(std::size_t in_uiFeature, std::span<const double> in_values) override;
    std::string_view endRow() override;

    const std::vector<Curve>& getCurves() const { return m_vCurves; }
    /// The mean time of the windows in each column, in seconds; not a number where there are none.
    std::vector<double> getTimes() const;

private:
    PlotStretch m_stretch;
    WindowMiddles m_middles;
    std::ostream& m_rows;
    std::vector<Curve> m_vCurves;
    std::vector<double> m_vTimeSums;
    std::vector<std::uint32_t> m_vCounts;
    unsigned long m_uiNbOfRows = 0;
    bool m_bInside = false;
    std::size_t m_uiColumn = 0;
};

} // namespace Corvana::Tools
