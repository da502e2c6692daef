// SPDX-License-Identifier: Apache-2.0
// Loads the audio library named on the command line. Ends with 0 when its functions appear by that, and only by that.
#include "corvana/MathXprExpression.h"
#include "corvana/MathXprRegistry.h"

#include <dlfcn.h>

#include <cstdio>

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    using namespace Corvana::Math;
    Xpr::Expression expression;
    if (in_iNbOfArguments != 2 || !Xpr::Registry::getInstance().getFunctionNames().empty() ||
        expression.parse("peaks(x)")) {
        std::puts("functions are there before the library is loaded");
        return 1;
    }
    if (dlopen(in_aszArguments[1], RTLD_NOW | RTLD_LOCAL) == nullptr) {
        std::puts(dlerror());
        return 1;
    }
    const std::size_t uiNbOfFunctions = Xpr::Registry::getInstance().getFunctionNames().size();
    const bool bParsed = expression.parse("peaks(spectrum(x))");
    std::printf("%zu functions; %s\n", uiNbOfFunctions, expression.getError().c_str());
    return uiNbOfFunctions == 8 && bParsed ? 0 : 1;
}
