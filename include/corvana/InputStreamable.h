// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

#include <iosfwd>

namespace Corvana {

/// A class that can be read from a character stream.
class CORVANA_API InputStreamable : public virtual Object
{
public:
    ~InputStreamable() override;

    /// Replaces the contents with what the stream holds; a failure sets the stream's fail state. Returns the stream.
    virtual std::istream& read(std::istream& io_stream) = 0;
};

} // namespace Corvana
