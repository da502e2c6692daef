// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Corvana {

/// The source file (no folders, no ending) and line that a diagnostic reports.
/// Operators' log rules match on both, so a position that they rely on is written out as a constant at the top of
/// its source file and stays when the code moves; all others are taken with CORVANA_HERE.
struct SourcePosition
{
    const char* m_szFile;
    int m_iLine;
};

/// The file name of a __FILE__ text, without its folders and its ending.
template <std::size_t N>
struct SourceFileName
{
    char m_acText[N] = {};

    constexpr explicit SourceFileName(const char (&in_acPath)[N])
    {
        std::size_t uiBegin = 0;
        std::size_t uiEnd = N - 1;
        for (std::size_t uiIndex = 0; uiIndex < N; ++uiIndex) {
            if (in_acPath[uiIndex] == '/') {
                uiBegin = uiIndex + 1;
                uiEnd = N - 1;
            } else if (in_acPath[uiIndex] == '.') {
                uiEnd = uiIndex;
            }
        }
        for (std::size_t uiIndex = uiBegin; uiIndex < uiEnd; ++uiIndex)
            m_acText[uiIndex - uiBegin] = in_acPath[uiIndex];
    }
};

} // namespace Corvana

/// The position of the line that it stands on.
#define CORVANA_HERE                                                                                                   \
    ([] {                                                                                                              \
        static constexpr ::Corvana::SourceFileName<sizeof(__FILE__)> s_szFile(__FILE__);                               \
        return ::Corvana::SourcePosition{s_szFile.m_acText, __LINE__};                                                 \
    }())
