// SPDX-License-Identifier: Apache-2.0
// Evaluates a formula without naming anything of the audio library. Ends with 0 when its functions are there.
#include "corvana/MathXprExpression.h"
#include "corvana/MathXprRegistry.h"

#include <cstdio>

int main()
{
    using namespace Corvana::Math;
    const std::size_t uiNbOfFunctions = Xpr::Registry::getInstance().getFunctionNames().size();
    if (uiNbOfFunctions != 8) {
        std::printf("%zu functions are registered, not 8\n", uiNbOfFunctions);
        return 1;
    }
    Xpr::Expression expression;
    Corvana::LimitedObjPtr<DoubleVector> pResult;
    const bool bEvaluated = expression.parse("sum(spectrum(x))") &&
                            expression.setVariable("x", DoubleVector{0.0, 1.0, 0.0, -1.0}) &&
                            expression.evaluate(pResult) && pResult->size() == 1;
    if (!bEvaluated)
        std::printf("the formula failed: %s\n", expression.getError().c_str());
    return bEvaluated ? 0 : 1;
}
