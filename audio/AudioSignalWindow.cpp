// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSignalWindow.h"

#include "corvana/Assertion.h"
#include "corvana/Logger.h"

#include <cmath>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.signal")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition sampleIndex{"AudioSignalWindow", 70};
} // namespace at

constexpr double s_dTwoPi = 6.283185307179586;

} // namespace

SignalWindow::~SignalWindow() = default;

SignalWindowImpl::SignalWindowImpl(unsigned long in_uiSize)
    : m_uiWindowSize(in_uiSize)
    , m_vCoefficients(in_uiSize, 1.0)
{
}

SignalWindowImpl::~SignalWindowImpl() = default;

SignalWindowImpl* SignalWindowImpl::clone() const
{
    return new SignalWindowImpl(*this);
}

const Math::DoubleVector& SignalWindowImpl::getWindow() const
{
    return m_vCoefficients;
}

double SignalWindowImpl::getValue(unsigned long in_uiSampleIndex) const
{
    if (!CORVANA_ASSERT_AT(at::sampleIndex, in_uiSampleIndex < m_uiWindowSize, "in_uiSampleIndex < m_uiWindowSize"))
        return 1.0;
    return m_vCoefficients[in_uiSampleIndex];
}

double SignalWindowImpl::getSize() const
{
    return static_cast<double>(m_uiWindowSize);
}

HannWindow::HannWindow(unsigned long in_uiSize)
    : SignalWindowImpl(in_uiSize)
{
    // The product comes before the quotient: the order decides the last bit.
    for (unsigned long uiIndex = 0; uiIndex < m_uiWindowSize; ++uiIndex) {
        const double dAngle = static_cast<double>(uiIndex) * s_dTwoPi / static_cast<double>(m_uiWindowSize - 1);
        m_vCoefficients[uiIndex] = (1.0 - std::cos(dAngle)) * 0.5;
    }
}

HannWindow::~HannWindow() = default;

HannWindow* HannWindow::clone() const
{
    return new HannWindow(*this);
}

} // namespace Corvana::Audio
