// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Cloneable.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/Resettable.h"

namespace Corvana {
class ROConfiguration;
}

namespace Corvana::Math {

/// Turns one vector of doubles (a window of samples, a spectrum, another feature's values) into a few more.
/// One thread uses a feature at a time: computing writes into its scratch state. Threads that analyse separate
/// signals each take their own clone().
class CORVANA_API SignalFeature : public virtual Object, public virtual Cloneable
{
public:
    ~SignalFeature() override;

    /// Appends the feature's values to out_vOutput, which is never cleared, so that several features can write one
    /// after another. False: the input breaks the feature's precondition, which was reported by an assertion.
    /// Input and output are different vectors (checked by the standard assertion in debug builds).
    virtual bool compute(const DoubleVector& in_vInput, DoubleVector& out_vOutput) = 0;

    /// A deep copy of the same class, with configuration and memory; the caller owns it.
    SignalFeature* clone() const override = 0;

protected:
    SignalFeature() = default;
    SignalFeature(const SignalFeature&) = default;
    SignalFeature& operator=(const SignalFeature&) = default;
};

/// What a feature has beside compute() when several inputs at hand can be computed faster than one after another.
class CORVANA_API SeveralInputs
{
public:
    virtual ~SeveralInputs();

    /// Appends to each of the outputs what compute() appends for its input, bit for bit. False, with nothing done: it
    /// would not be the same, since a call fails, has something to report, or changes what later calls give. Then
    /// compute() has to be called for each.
    virtual bool computeSeveral(unsigned long in_uiNbOfInputs, const DoubleVector* in_pInputs,
                                DoubleVector* out_pOutputs) = 0;
};

/// A feature that accumulates over calls: reset() at the start of each new signal.
class CORVANA_API SignalFeatureWithMemory : public virtual SignalFeature, public virtual Resettable
{
public:
    ~SignalFeatureWithMemory() override;
    SignalFeatureWithMemory* clone() const override = 0;
};

/// A feature that reads parameters from a configuration before its first compute().
class CORVANA_API SignalFeatureWithParameters : public virtual SignalFeature
{
public:
    ~SignalFeatureWithParameters() override;

    /// False, after a message at error level, when a parameter is missing or unusable. Throws nothing.
    virtual bool configure(const ROConfiguration& in_config) = 0;
    SignalFeatureWithParameters* clone() const override = 0;
};

} // namespace Corvana::Math
