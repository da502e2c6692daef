// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

namespace Corvana {

/// Root of every polymorphic class. It is always a virtual base, so that a class which reaches it by several
/// paths holds one Object.
class CORVANA_API Object
{
public:
    virtual ~Object();

protected:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
};

} // namespace Corvana
