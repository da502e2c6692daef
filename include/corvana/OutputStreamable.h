// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

#include <iosfwd>

namespace Corvana {

/// A class that can be written to a character stream.
class CORVANA_API OutputStreamable : public virtual Object
{
public:
    ~OutputStreamable() override;

    /// Writes the object in the stream's current format and returns the stream.
    virtual std::ostream& write(std::ostream& out_stream) const = 0;
};

/// Calls in_object.write(out_stream).
CORVANA_API std::ostream& operator<<(std::ostream& out_stream, const OutputStreamable& in_object);

} // namespace Corvana
