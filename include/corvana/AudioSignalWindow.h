// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Cloneable.h"
#include "corvana/MathDoubleVector.h"

namespace Corvana::Audio {

/// A fixed table of tapering coefficients, one for each sample of an analysis window.
class CORVANA_API SignalWindow : public virtual Cloneable
{
public:
    ~SignalWindow() override;

    SignalWindow* clone() const override = 0;
    /// All coefficients; the reference holds as long as the window.
    virtual const Math::DoubleVector& getWindow() const = 0;
    /// One coefficient. An index that is not below the size raises the assertion
    /// "in_uiSampleIndex < m_uiWindowSize" and yields 1.0.
    virtual double getValue(unsigned long in_uiSampleIndex) const = 0;
    /// The number of coefficients, as a double.
    virtual double getSize() const = 0;

protected:
    SignalWindow() = default;
    SignalWindow(const SignalWindow&) = default;
    SignalWindow& operator=(const SignalWindow&) = default;
};

/// The rectangular window: every coefficient is 1.
class CORVANA_API SignalWindowImpl : public virtual SignalWindow
{
public:
    explicit SignalWindowImpl(unsigned long in_uiSize);
    ~SignalWindowImpl() override;

    SignalWindowImpl* clone() const override;
    const Math::DoubleVector& getWindow() const override;
    double getValue(unsigned long in_uiSampleIndex) const override;
    double getSize() const override;

protected:
    unsigned long m_uiWindowSize;
    Math::DoubleVector m_vCoefficients;
};

/// The symmetric Hann window: w[i] = (1 - cos(i * 2 pi / (N - 1))) * 0.5, so that both ends are 0 (Blackman and Tukey,
/// The Measurement of Power Spectra, 1958). The single coefficient of a window of one sample is not a number.
class CORVANA_API HannWindow : public virtual SignalWindow, private SignalWindowImpl
{
public:
    explicit HannWindow(unsigned long in_uiSize);
    ~HannWindow() override;

    HannWindow* clone() const override;
    using SignalWindowImpl::getSize;
    using SignalWindowImpl::getValue;
    using SignalWindowImpl::getWindow;
};

} // namespace Corvana::Audio
