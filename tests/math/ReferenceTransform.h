// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvana::Test {

// The transforms in their plain published form: one-based indexes, no tables, no short cuts. They share nothing with
// the library, are the measure of its results bit for bit, and are never made faster. Sizes must be powers of two.

/// In place, in_uiNn complex points, interleaved.
void referenceComplexTransform(double* inout_pData, unsigned long in_uiNn, double in_isign);
/// In place, in_uiN real values, packed; in_isign 1.0 is forward, any other value is the inverse times in_uiN/2.
/// in_uiN is at least 2.
void referenceRealTransform(double* inout_pData, unsigned long in_uiN, double in_isign);

} // namespace Corvana::Test
