// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvana::Tools {

/// The fixed parts of a report, from the files in tools/report.
extern const char* const s_szReportStyle;
extern const char* const s_szReportBody;
extern const char* const s_szReportScript;

} // namespace Corvana::Tools
