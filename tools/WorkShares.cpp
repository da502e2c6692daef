// SPDX-License-Identifier: Apache-2.0
#include "tools/WorkShares.h"

#include <cstdint>
#include <filesystem>

namespace Corvana::Tools {

WorkShares::WorkShares(const std::vector<Input>& in_vInputs, bool in_bWanted)
{
    for (std::size_t uiIndex = 0; in_bWanted && uiIndex < in_vInputs.size(); ++uiIndex) {
        std::error_code error;
        const std::uintmax_t uiSize = std::filesystem::file_size(in_vInputs[uiIndex].m_strPath, error);
        m_bKnown = m_bKnown && (!error || !in_vInputs[uiIndex].m_strFault.empty());
        m_vSizes.push_back(error ? 0.0 : static_cast<double>(uiSize));
        m_dTotal += m_vSizes.back();
    }
    m_bKnown = m_bKnown && m_dTotal > 0.0;
}

} // namespace Corvana::Tools
