// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/InputList.h"

#include <cstddef>
#include <vector>

namespace Corvana::Tools {

/// How much of all work each recording is, for the progress. Bytes are as good as frames, and known without opening
/// anything.
class WorkShares
{
public:
    /// in_bWanted: otherwise no file is looked at, and no share is known.
    WorkShares(const std::vector<Input>& in_vInputs, bool in_bWanted);

    /// Negative: unknown, as for pipes.
    double share(std::size_t in_uiInput) const { return m_bKnown ? m_vSizes[in_uiInput] / m_dTotal : -1.0; }

private:
    std::vector<double> m_vSizes;
    double m_dTotal = 0.0;
    bool m_bKnown = true;
};

} // namespace Corvana::Tools
