// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputList.h"

#include <cstddef>
#include <vector>

namespace Corvana::Tools {

/// How much of all work each recording is, for the progress. Bytes are as good as frames, and known without opening
/// anything. Where there are very many recordings each counts the same, as asking for their sizes takes long.
class WorkShares
{
public:
    /// in_bWanted: otherwise no file is looked at, and no share is known.
    WorkShares(const std::vector<Input>& in_vInputs, bool in_bWanted)
        : WorkShares(in_vInputs, 0, in_vInputs.size(), in_bWanted)
    {
    }
    /// Only those from in_uiBegin to in_uiEnd are worked on.
    WorkShares(const std::vector<Input>& in_vInputs, std::size_t in_uiBegin, std::size_t in_uiEnd, bool in_bWanted);

    /// Of one that is worked on. Negative: unknown, as for pipes.
    double share(std::size_t in_uiInput) const;

private:
    std::size_t m_uiBegin;
    std::vector<double> m_vSizes;
    double m_dTotal = 0.0;
    bool m_bKnown = true;
};

} // namespace Corvana::Tools
