// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace Corvana::Tools {

/// Reads a whole file; "-" is standard input. Returns why it failed, empty when it did not: it cannot be read, or it is
/// longer than that many bytes.
std::string readTextFile(const std::string& in_strPath, std::size_t in_uiMaxBytes, std::string& out_strText);

} // namespace Corvana::Tools
