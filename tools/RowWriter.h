// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

enum class RowFormat
{
    CSV,
    JSONL,
    NPY ///< each row a record of numbers, see NpyFormat.h
};

/// Puts rows into text or records, in a buffer that is used again for each row.
/// Order of calls: getHeader(), then for each recording setFileIndex(), beginFile() and for each window beginRow(),
/// addFeature() for every feature in order, endRow(). With a column of labels, setLabels() comes before the rows that
/// have them.
class RowWriter
{
public:
    /// in_bLabels: whether there is a column of labels, behind the time.
    static std::unique_ptr<RowWriter> make(RowFormat in_format, const std::vector<std::string>& in_vDescriptions,
                                           const std::vector<std::size_t>& in_vNbOfValues, bool in_bLabels = false);
    virtual ~RowWriter() = default;

    /// The text before the first row.
    virtual std::string getHeader() const = 0;
    /// The position of the next recording among all inputs, for rows that tell it in place of the name.
    virtual void setFileIndex(std::uint64_t) {}
    virtual void beginFile(const std::string& in_strFile) = 0;
    virtual void beginRow(double in_dTime) = 0;
    /// The labels of all rows from here to the end of the file, or the next call; rows have none before. CSV: one
    /// field, with ";" between them; JSON: an array.
    virtual void setLabels(const std::vector<std::string>& in_vLabels) = 0;
    virtual void addFeature(std::size_t in_uiFeature, std::span<const double> in_values) = 0;
    /// The whole row with its line end; holds until the next one begins.
    virtual std::string_view endRow() = 0;
};

/// The name of each column of values: a feature's own where it gives one value, else "name[0]", "name[1]" and so on.
std::vector<std::string> columnNames(const std::vector<std::string>& in_vFeatures,
                                     const std::vector<std::size_t>& in_vNbOfValues);

/// A text as a field of comma-separated values: between quotes, with its own quotes doubled, when it contains a
/// comma, a quote or a line end (RFC 4180).
std::string csvField(const std::string& in_strText);

/// A text as a JSON string; bytes that are no UTF-8 become U+FFFD.
std::string jsonString(const std::string& in_strText);

/// Appends a number as JSON: NaN as null, the infinities as 1e999 and -1e999, which every reader takes for them.
void appendJsonNumber(std::string& inout_strText, double in_dValue);

} // namespace Corvana::Tools
