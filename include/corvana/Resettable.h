// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

namespace Corvana {

/// A class that accumulates something from call to call and can forget it.
class CORVANA_API Resettable : public virtual Object
{
public:
    ~Resettable() override;

    /// Forgets what was accumulated; true on success.
    virtual bool reset() = 0;
};

} // namespace Corvana
