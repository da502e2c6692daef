// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// What users are told about a function of the expression language.
struct FunctionDescription
{
    std::string m_strName;
    std::vector<std::string> m_vArguments;  ///< "..." as the last one stands for any number more
    std::vector<std::string> m_vParameters; ///< full names
    std::string m_strMeaning;               ///< one line; empty for functions of the Registry
};

/// The functions of the Registry, then the language's own.
CORVANA_API std::vector<FunctionDescription> getFunctionDescriptions();

} // namespace Corvana::Math::Xpr
