// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeature.h"

namespace Corvana::Test {

/// A feature that counts its own kind, to show leaks and early deaths.
class AliveCount
{
public:
    AliveCount() { ++s_iNbAlive; }
    AliveCount(const AliveCount&) { ++s_iNbAlive; }
    AliveCount& operator=(const AliveCount&) = default;
    ~AliveCount() { --s_iNbAlive; }
    static inline int s_iNbAlive = 0;
};

/// Appends each value times a factor. Stateless.
class ScaleFeature : public virtual Math::SignalFeature, private AliveCount
{
public:
    explicit ScaleFeature(double in_dFactor)
        : m_dFactor(in_dFactor)
    {
    }
    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override
    {
        for (const double dValue : in_vInput)
            out_vOutput.push_back(m_dFactor * dValue);
        return true;
    }
    ScaleFeature* clone() const override { return new ScaleFeature(*this); }

private:
    double m_dFactor;
};

/// Appends the sum of all values that it was ever given.
class TotalFeature : public virtual Math::SignalFeatureWithMemory, private AliveCount
{
public:
    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override
    {
        for (const double dValue : in_vInput)
            m_dTotal += dValue;
        out_vOutput.push_back(m_dTotal);
        return true;
    }
    bool reset() override
    {
        m_dTotal = 0.0;
        return m_bResets;
    }
    TotalFeature* clone() const override { return new TotalFeature(*this); }

    bool m_bResets = true;

private:
    double m_dTotal = 0.0;
};

/// Refuses every input.
class FailingFeature : public virtual Math::SignalFeature, private AliveCount
{
public:
    bool compute(const Math::DoubleVector&, Math::DoubleVector&) override { return false; }
    FailingFeature* clone() const override { return new FailingFeature(*this); }
};

} // namespace Corvana::Test
