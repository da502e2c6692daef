// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

namespace Corvana {

/// A class that can be deep-copied through a base pointer.
/// Every class overrides clone() with its own return type, in its source file: a forgotten override slices.
class CORVANA_API Cloneable : public virtual Object
{
public:
    ~Cloneable() override;

    /// A new object of the same dynamic type; the caller owns it.
    virtual Cloneable* clone() const = 0;
};

} // namespace Corvana
