// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSampleQueue.h"

namespace Corvana::Audio {

void SampleQueue::push(const double* in_pBegin, const double* in_pEnd)
{
    const std::size_t uiNbOfNew = static_cast<std::size_t>(in_pEnd - in_pBegin);
    const bool bFull = uiNbOfNew > m_vSamples.capacity() - m_vSamples.size();
    if (bFull && m_uiTaken >= m_vSamples.size() - m_uiTaken) {
        m_vSamples.erase(m_vSamples.begin(), m_vSamples.begin() + m_uiTaken);
        m_uiTaken = 0;
    }
    m_vSamples.insert(m_vSamples.end(), in_pBegin, in_pEnd);
}

void SampleQueue::pop(std::size_t in_uiNbOfSamples)
{
    m_uiTaken += in_uiNbOfSamples;
    if (m_uiTaken == m_vSamples.size())
        clear();
}

void SampleQueue::clear()
{
    m_vSamples.clear();
    m_uiTaken = 0;
}

} // namespace Corvana::Audio
