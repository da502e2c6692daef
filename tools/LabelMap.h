// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/RegionFormat.h"
#include "tools/RegionType.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Which types the labels of other people stand for. Blanks around labels do not count.
class LabelMap
{
public:
    /// Maps are longer than this only by mistake.
    static constexpr std::size_t s_uiMaxBytes = std::size_t{16} << 20U;

    /// Takes comma-separated values: a label and its type in each row, or no type for labels whose regions are to be
    /// dropped; a header label,type may come first. Returns the first fault with its line, or an empty text.
    std::string read(const std::string& in_strText);

    /// The type of each region: what the map says, else the type of that name. Regions that the map drops are left
    /// out. Returns the labels that stand for no type, each with its lines and the nearest types, as lines of text;
    /// empty when there is none.
    std::string apply(const std::vector<LabeledRegion>& in_vRegions,
                      std::vector<Audio::AnnotatedFile::Annotation>& out_vRegions) const;

private:
    std::map<std::string, std::optional<RegionTypeValue>, std::less<>> m_types; // none: dropped
};

} // namespace Corvana::Tools
