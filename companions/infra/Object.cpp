// SPDX-License-Identifier: Apache-2.0
// The bases live in one file: each has nothing but its destructor, which anchors its type description.
#include "corvana/Object.h"
#include "corvana/Cloneable.h"
#include "corvana/InputStreamable.h"
#include "corvana/OutputStreamable.h"
#include "corvana/Resettable.h"

#include <ostream>

namespace Corvana {

Object::~Object() = default;
Cloneable::~Cloneable() = default;
Resettable::~Resettable() = default;
InputStreamable::~InputStreamable() = default;
OutputStreamable::~OutputStreamable() = default;

std::ostream& operator<<(std::ostream& out_stream, const OutputStreamable& in_object)
{
    in_object.write(out_stream);
    return out_stream;
}

} // namespace Corvana
