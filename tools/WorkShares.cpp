// SPDX-License-Identifier: Apache-2.0
#include "tools/WorkShares.h"

#include <cstdint>
#include <filesystem>

namespace Corvana::Tools {

WorkShares::WorkShares(const std::vector<Input>& in_vInputs, std::size_t in_uiBegin, std::size_t in_uiEnd,
                       bool in_bWanted)
    : m_uiBegin(in_uiBegin)
{
    constexpr std::size_t uiMaxLookedAt = 10000;
    if (in_bWanted && in_uiEnd - in_uiBegin > uiMaxLookedAt) {
        m_dTotal = static_cast<double>(in_uiEnd - in_uiBegin);
        return;
    }
    for (std::size_t uiIndex = in_uiBegin; in_bWanted && uiIndex < in_uiEnd; ++uiIndex) {
        std::error_code error;
        const std::uintmax_t uiSize = std::filesystem::file_size(in_vInputs[uiIndex].m_strPath, error);
        m_bKnown = m_bKnown && (!error || !in_vInputs[uiIndex].m_strFault.empty());
        m_vSizes.push_back(error ? 0.0 : static_cast<double>(uiSize));
        m_dTotal += m_vSizes.back();
    }
    m_bKnown = m_bKnown && m_dTotal > 0.0;
}

double WorkShares::share(std::size_t in_uiInput) const
{
    if (!m_bKnown)
        return -1.0;
    return (m_vSizes.empty() ? 1.0 : m_vSizes[in_uiInput - m_uiBegin]) / m_dTotal;
}

} // namespace Corvana::Tools
