// SPDX-License-Identifier: Apache-2.0
#include "corvana/CountedObjPtr.h"

// The assertion has to stop release builds too.
#undef NDEBUG
#include <cassert>
#include <cstdlib>

namespace Corvana {

// The argument bears the member's name, because the assertion's text is what operators look for.
void abortOnObjectWithoutCount(const void* m_pObject)
{
    assert(m_pObject == 0); // NOLINT(modernize-use-nullptr): part of that text
    std::abort();
}

} // namespace Corvana
