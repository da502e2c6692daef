// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FormulaSet.h"
#include "tools/JsonFields.h"
#include "tools/JsonWriter.h"
#include "tools/RowWriter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Within this, positions of inputs are computed without overflow.
constexpr std::uint64_t s_uiMaxNbOfShards = 1000000000;
constexpr std::uint64_t s_uiMaxNbOfInputs = 1000000000000;

/// What settles each byte of a table of features, but for the recordings themselves: a run goes on with a table, and
/// parts are joined, only where all of it is equal.
struct TableSettings
{
    std::string m_strVersion; ///< of the program
    RowFormat m_format = RowFormat::CSV;
    std::uint64_t m_uiWindowMs = 0;
    std::uint64_t m_uiOverlapMs = 0;
    bool m_bSuppressDC = false;
    std::uint64_t m_uiSampleRate = 0; ///< 0: each recording's own
    bool m_bLabels = false;
    std::vector<std::string> m_vFeatures;
    std::vector<NamedFormula> m_vFormulas;
    std::uint64_t m_uiShard = 0;        ///< from 1 on; 0 for a whole table
    std::uint64_t m_uiNbOfShards = 0;   ///< 0 for a whole table
    std::uint64_t m_uiNbOfInputs = 0;   ///< of the whole table, those of all shards
    std::uint64_t m_uiInputsDigest = 0; ///< Checksum of the names of all of them, each with a zero byte behind it

    /// The inputs of the shard, or of the whole table: from the first to before the end.
    std::uint64_t getFirstInput() const;
    std::uint64_t getEndOfInputs() const;

    /// Adds the settings to an object, as every table's description and journal has them.
    void put(JsonWriter& inout_object) const;
    /// Reads them back; what is wrong is the fields' fault.
    static TableSettings read(JsonFields& inout_fields);
};

/// "csv", "jsonl", "npy".
const char* nameOf(RowFormat in_format);

/// A setting that is not the same in two tables.
struct SettingsDifference
{
    std::string m_strWhat; ///< as users name it, such as "--window-ms"; empty: there is no difference
    std::string m_strFormer;
    std::string m_strNow;
};

/// The first difference.
SettingsDifference findDifference(const TableSettings& in_former, const TableSettings& in_now);

/// The same for people: "--window-ms was 16 and is 32"; empty when there is none.
std::string differenceOf(const TableSettings& in_former, const TableSettings& in_now);

} // namespace Corvana::Tools
