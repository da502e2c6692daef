// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Test {

/// Whether a file belongs to a table: it is the table, or stands beside it.
bool belongsToTable(const std::string& in_strName, const std::string& in_strTable);

/// Whether what is left of a file of a table is right where some recordings failed: rows of the whole table in their
/// order, and nothing half; of a description, that it tells of each recording, and of all rows.
bool isLeftOfTable(const std::string& in_strName, const std::string& in_strLeft, const std::string& in_strWhole);

} // namespace Corvana::Test
