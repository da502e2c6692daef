// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathRangeFeature.h"

#include "corvana/ConfigurationReader.h"
#include "corvana/Logger.h"

#include <algorithm>
#include <cassert>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.math.RangeFeature")

namespace Corvana::Math {

RangeFeature::RangeFeature() = default;
RangeFeature::~RangeFeature() = default;
RangeFeature::RangeFeature(const RangeFeature&) = default;
RangeFeature& RangeFeature::operator=(const RangeFeature&) = default;

bool RangeFeature::configure(const ROConfiguration& in_config)
{
    const ConfigurationReader reader(in_config, fileScopeLogger());
    unsigned long uiStartIndex = 0;
    unsigned long uiLength = 0;
    if (!reader.read("range.startIndex", uiStartIndex) || !reader.read("range.length", uiLength))
        return false;
    m_uiStartIndex = uiStartIndex;
    m_uiLength = uiLength;
    return true;
}

bool RangeFeature::compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput)
{
    assert(&in_vInput != &out_vOutput);

    if (m_uiStartIndex > in_vInput.size() || m_uiLength > in_vInput.size() - m_uiStartIndex)
        return false;
    const unsigned long uiStart = out_vOutput.size();
    out_vOutput.resize(uiStart + m_uiLength);
    std::copy_n(in_vInput.begin() + m_uiStartIndex, m_uiLength, out_vOutput.begin() + uiStart);
    return true;
}

RangeFeature* RangeFeature::clone() const
{
    return new RangeFeature(*this);
}

} // namespace Corvana::Math
