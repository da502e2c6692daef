// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

namespace Corvana::Math {

/// The trigonometric recurrence w(k+1) = w(k) * exp(i * theta), whose rounding is part of the transform's definition.
struct FourierRecurrence
{
    explicit FourierRecurrence(double in_dTheta)
        : m_dWpi(std::sin(in_dTheta))
    {
        const double dHalfSine = std::sin(0.5 * in_dTheta);
        m_dWpr = -2.0 * dHalfSine * dHalfSine;
    }

    /// The recurrence of the transform's stage that combines parts of in_uiSpan points; it starts at 1.
    static FourierRecurrence ofStage(unsigned long in_uiSpan)
    {
        return FourierRecurrence(6.28318530717959 / static_cast<double>(2 * in_uiSpan));
    }

    /// The recurrence that separates the bins of in_uiSize real values; it starts at (1 + m_dWpr, m_dWpi).
    static FourierRecurrence ofRealPart(unsigned long in_uiSize)
    {
        // Of an even number. NOLINTNEXTLINE(bugprone-integer-division)
        return FourierRecurrence(3.141592653589793 / static_cast<double>(in_uiSize / 2));
    }

    void advance(double& inout_dReal, double& inout_dImaginary) const
    {
        const double dFormerReal = inout_dReal;
        inout_dReal = dFormerReal * m_dWpr - inout_dImaginary * m_dWpi + inout_dReal;
        inout_dImaginary = inout_dImaginary * m_dWpr + dFormerReal * m_dWpi + inout_dImaginary;
    }

    double m_dWpr;
    double m_dWpi;
};

} // namespace Corvana::Math
