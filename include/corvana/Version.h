// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

namespace Corvana {

/// The version of the libraries that the program runs with, such as "1.2.3".
CORVANA_API const char* getVersion();

} // namespace Corvana
