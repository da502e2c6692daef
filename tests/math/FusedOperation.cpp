// SPDX-License-Identifier: Apache-2.0
// Compiled into a fused multiplication and addition, for the check that looks for them.

double fusedOperation(double in_dFactor, double in_dOther, double in_dSummand);

double fusedOperation(double in_dFactor, double in_dOther, double in_dSummand)
{
    return in_dFactor * in_dOther + in_dSummand;
}
