// SPDX-License-Identifier: Apache-2.0
#include "corvana/Fallible.h"

#include "corvana/Assertion.h"

namespace Corvana {

void FallibleBase::assertUsedInInvalidStateErr(const char* in_szFile, int in_iLine)
{
    Assertion(false, "isValid()", in_szFile, in_iLine);
}

} // namespace Corvana
