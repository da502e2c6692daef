// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <string>

namespace Corvana {

/// Replaces the letters A to Z by small ones, whatever the locale.
CORVANA_API void strToLower(std::string& inout_strText);

namespace OS {

/// False for a path that begins with "/"; true for every other, the empty one included.
CORVANA_API bool isPathRelative(const char* in_szPath);

/// Makes a path absolute and normal: symbolic links are followed in the part that exists, "." and ".." are resolved,
/// so a file that does not exist yet has a canonical path too.
/// False, with out untouched: an empty path, or one that cannot be resolved (a loop of links, a name too long).
CORVANA_API bool getCanonicalPath(const char* in_szPath, std::string& out_strPath);

/// Makes sure that the names in a folder are on the disk as they are now. True also where that cannot be asked for: a
/// file system without such a thing, or a folder that may be written but not read. False: errno tells why.
CORVANA_API bool syncFolder(const char* in_szFolder);

} // namespace OS
} // namespace Corvana
