// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Corvana::Tools {

/// Bytes as letters (RFC 4648), padded with "=".
std::string toBase64(std::string_view in_strBytes);

} // namespace Corvana::Tools
