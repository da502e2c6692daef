// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// One labelled region of a recording in the texts that people and other programs exchange. The label is any text.
struct LabeledRegion
{
    std::string m_strLabel;
    double m_dStart = 0.0;      ///< seconds from the beginning of the recording
    double m_dStop = 0.0;       ///< seconds from the beginning of the recording
    unsigned long m_uiLine = 0; ///< where readRegions() found it, from 1
    /// What writeRegions() calls it; none: its place among the others, from 0. Not read.
    std::optional<std::size_t> m_uiIndex{};
};

enum class RegionFormat
{
    CSV,      ///< a header, then index,type,start,stop
    JSON,     ///< an array of objects with the same four keys
    AUDACITY, ///< a label track: start, stop and label between tabs
    TEXTGRID  ///< Praat's TextGrid, the long text format
};

/// Regions above this number are refused by readRegions(): a recording holds no more.
inline constexpr std::size_t s_uiMaxRegions = 1048576;
/// Texts above this size are refused by readRegions().
inline constexpr std::size_t s_uiMaxRegionBytes = std::size_t{256} << 20U;

/// Writes all regions, numbers with as few digits as read back to the same double. What a format cannot hold:
///   JSON      bytes that are no UTF-8 become U+FFFD;
///   AUDACITY  a tab or a line end within a label becomes a blank;
///   TEXTGRID  regions without a label are left out. Intervals of a tier do not overlap, so overlapping regions go into
///             as many tiers as that takes, and regions of length 0 are points in tiers of their own.
/// The duration in seconds is the end of a TextGrid, unless a region ends later; the others do not need it.
void writeRegions(std::ostream& out_stream, RegionFormat in_format, const std::vector<LabeledRegion>& in_vRegions,
                  double in_dDurationSeconds);

/// Replaces out by the regions of a text in UTF-8, or in UTF-16 with its byte order mark, in the order of the text;
/// those of a TextGrid in the order of their starts. Returns the first fault with its line and what to do about it, or
/// an empty text; with a fault, out is empty. Times are finite and no stop lies before its start; whether they fit a
/// recording is not looked at. Takes time in proportion to the text's size, and memory to that and the regions.
std::string readRegions(const std::string& in_strText, RegionFormat in_format,
                        std::vector<LabeledRegion>& out_vRegions);

/// "csv", "json", "audacity" or "textgrid".
const char* nameOf(RegionFormat in_format);
/// The ending of files of that format: ".csv", ".json", ".txt" or ".TextGrid".
const char* endingOf(RegionFormat in_format);
/// The format of a file by its name's ending, in upper or lower case. False: the ending tells none, out is untouched.
bool findFormatOfFile(const std::string& in_strPath, RegionFormat& out_format);

} // namespace Corvana::Tools
