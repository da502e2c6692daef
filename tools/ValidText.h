// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Corvana::Tools {

/// The text with U+FFFD in place of each byte that is no UTF-8, and of control characters outside ASCII and the ends of
/// lines and paragraphs (U+0080 to U+009F, U+2028, U+2029).
std::string validText(std::string_view in_strText);

} // namespace Corvana::Tools
