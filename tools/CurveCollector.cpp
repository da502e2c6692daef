// SPDX-License-Identifier: Apache-2.0
#include "tools/CurveCollector.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Corvana::Tools {
namespace {

constexpr std::size_t s_uiMaxNbOfRows = 256; // more than a strip has pixels

} // namespace

double Curve::Cell::getMean() const
{
    return m_uiCount == 0 ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(m_fSum) / m_uiCount;
}

Curve::Curve(const std::string& in_strName, std::size_t in_uiNbOfValues, std::size_t in_uiNbOfColumns)
    : m_strName(in_strName)
    , m_uiNbOfValues(in_uiNbOfValues)
    , m_uiNbOfRows(std::min(in_uiNbOfValues, s_uiMaxNbOfRows))
    , m_vCells(in_uiNbOfColumns * m_uiNbOfRows)
{
}

void Curve::add(std::size_t in_uiColumn, std::span<const double> in_values)
{
    for (std::size_t uiValue = 0; uiValue < in_values.size(); ++uiValue) {
        const auto fValue = static_cast<float>(in_values[uiValue]);
        if (!std::isfinite(fValue))
            continue;
        Cell& cell = m_vCells[in_uiColumn * m_uiNbOfRows + uiValue * m_uiNbOfRows / m_uiNbOfValues];
        cell.m_fMin = cell.m_uiCount == 0 ? fValue : std::min(cell.m_fMin, fValue);
        cell.m_fMax = cell.m_uiCount == 0 ? fValue : std::max(cell.m_fMax, fValue);
        cell.m_fSum += fValue;
        ++cell.m_uiCount;
    }
}

bool Curve::getRange(double& out_dMin, double& out_dMax) const
{
    bool bFound = false;
    for (const Cell& cell : m_vCells) {
        if (cell.m_uiCount == 0)
            continue;
        const double dLow = isStrip() ? cell.getMean() : static_cast<double>(cell.m_fMin);
        const double dHigh = isStrip() ? cell.getMean() : static_cast<double>(cell.m_fMax);
        out_dMin = bFound ? std::min(out_dMin, dLow) : dLow;
        out_dMax = bFound ? std::max(out_dMax, dHigh) : dHigh;
        bFound = true;
    }
    return bFound;
}

CurveCollector::CurveCollector(const PlotStretch& in_stretch, const WindowMiddles& in_middles,
                               const std::vector<std::string>& in_vNames,
                               const std::vector<std::size_t>& in_vNbOfValues, std::ostream& out_rows)
    : m_stretch(in_stretch)
    , m_middles(in_middles)
    , m_rows(out_rows)
    , m_vTimeSums(in_stretch.getNbOfColumns())
    , m_vCounts(in_stretch.getNbOfColumns())
{
    for (std::size_t uiCurve = 0; uiCurve < in_vNames.size(); ++uiCurve)
        m_vCurves.emplace_back(in_vNames[uiCurve], in_vNbOfValues[uiCurve], m_vCounts.size());
}

void CurveCollector::beginRow(double)
{
    const double dMiddle = m_middles.m_dFirst + static_cast<double>(m_uiNbOfRows++) * m_middles.m_dApart;
    const double dPlace = (dMiddle - m_stretch.getFrom()) / (m_stretch.getTo() - m_stretch.getFrom());
    m_bInside = dPlace >= 0.0 && dPlace < 1.0;
    if (dPlace >= 1.0)
        m_rows.setstate(std::ios_base::failbit);
    if (!m_bInside)
        return;
    m_uiColumn =
        std::min(static_cast<std::size_t>(dPlace * static_cast<double>(m_vCounts.size())), m_vCounts.size() - 1);
    m_vTimeSums[m_uiColumn] += dMiddle;
    ++m_vCounts[m_uiColumn];
}

void CurveCollector::addFeature(std::size_t in_uiFeature, std::span<const double> in_values)
{
    if (m_bInside)
        m_vCurves[in_uiFeature].add(m_uiColumn, in_values);
}

std::string_view CurveCollector::endRow()
{
    return {};
}

std::vector<double> CurveCollector::getTimes() const
{
    std::vector<double> vTimes(m_vCounts.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t uiColumn = 0; uiColumn < vTimes.size(); ++uiColumn)
        if (m_vCounts[uiColumn] > 0)
            vTimes[uiColumn] = m_vTimeSums[uiColumn] / m_vCounts[uiColumn];
    return vTimes;
}

} // namespace Corvana::Tools
