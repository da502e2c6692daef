// SPDX-License-Identifier: Apache-2.0
#include "tools/WindowLabels.h"

#include "tools/RegionReading.h"
#include "tools/RegionType.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <system_error>

namespace Corvana::Tools {

std::string WindowLabels::read(const std::string& in_strPath, LogBridge& inout_log, bool& out_bSystemFailed)
{
    *this = WindowLabels();
    std::error_code error;
    const bool bRegular = std::filesystem::is_regular_file(in_strPath, error);
    out_bSystemFailed = static_cast<bool>(error);
    if (out_bSystemFailed)
        return error.message();
    if (!bRegular)
        return "is no regular file";
    Audio::AnnotatedFile file;
    const std::string strFault = readRegionsOf(in_strPath, file, inout_log, out_bSystemFailed);
    if (!strFault.empty())
        return strFault;
    for (const Audio::AnnotatedFile::Annotation& region : file.annotations())
        if (isRegionType(region.m_type))
            m_vRegions.push_back(region);
    m_vByStart.resize(m_vRegions.size());
    std::iota(m_vByStart.begin(), m_vByStart.end(), std::size_t{0});
    std::stable_sort(m_vByStart.begin(), m_vByStart.end(), [this](std::size_t in_uiLeft, std::size_t in_uiRight) {
        return m_vRegions[in_uiLeft].m_dStartTime < m_vRegions[in_uiRight].m_dStartTime;
    });
    return {};
}

bool WindowLabels::advanceTo(double in_dSeconds)
{
    const std::size_t uiEnded = std::erase_if(
        m_vCurrent, [&](std::size_t in_uiRegion) { return m_vRegions[in_uiRegion].m_dStopTime <= in_dSeconds; });
    bool bChanged = uiEnded > 0;
    for (; m_uiNext < m_vByStart.size(); ++m_uiNext) {
        const std::size_t uiRegion = m_vByStart[m_uiNext];
        if (m_vRegions[uiRegion].m_dStartTime > in_dSeconds)
            break;
        if (m_vRegions[uiRegion].m_dStopTime <= in_dSeconds)
            continue; // came and went between two moments
        m_vCurrent.push_back(uiRegion);
        bChanged = true;
    }
    if (bChanged)
        refresh();
    return bChanged;
}

void WindowLabels::refresh()
{
    std::sort(m_vCurrent.begin(), m_vCurrent.end());
    m_vLabels.clear();
    for (const std::size_t uiRegion : m_vCurrent)
        m_vLabels.push_back(regionTypeText(m_vRegions[uiRegion].m_type));
}

} // namespace Corvana::Tools
