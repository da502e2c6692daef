// SPDX-License-Identifier: Apache-2.0
// Any text as a list of regions in each format: a fault says its line and leaves nothing; regions are well-formed, and
// what is written of them reads back, in every format as far as it can hold them.
#include "FuzzSupport.h"

#include "tools/RegionFormat.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace Corvana::Fuzz {
namespace {

using Tools::LabeledRegion;
using Tools::RegionFormat;
using Regions = std::vector<LabeledRegion>;

constexpr RegionFormat s_aFormats[] = {RegionFormat::CSV, RegionFormat::JSON, RegionFormat::AUDACITY,
                                       RegionFormat::TEXTGRID};
constexpr std::size_t s_uiMaxWritten = 10000; // many copies of more would not be what the library takes

bool sameRegions(const Regions& in_vLeft, const Regions& in_vRight)
{
    return std::equal(in_vLeft.begin(), in_vLeft.end(), in_vRight.begin(), in_vRight.end(),
                      [](const LabeledRegion& in_left, const LabeledRegion& in_right) {
                          return in_left.m_strLabel == in_right.m_strLabel && in_left.m_dStart == in_right.m_dStart &&
                                 in_left.m_dStop == in_right.m_dStop;
                      });
}

Regions backAndForth(const Regions& in_vRegions, RegionFormat in_format)
{
    std::ostringstream stream;
    Tools::writeRegions(stream, in_format, in_vRegions, 1.0);
    Regions vRegions;
    CORVANA_FUZZ_REQUIRE(Tools::readRegions(stream.str(), in_format, vRegions).empty());
    return vRegions;
}

void requireWellFormed(const Regions& in_vRegions)
{
    for (const LabeledRegion& region : in_vRegions) {
        CORVANA_FUZZ_REQUIRE(std::isfinite(region.m_dStart) && std::isfinite(region.m_dStop));
        CORVANA_FUZZ_REQUIRE(region.m_dStart <= region.m_dStop);
        CORVANA_FUZZ_REQUIRE(region.m_uiLine > 0);
    }
}

// A format may change what it cannot hold, but only once.
void requireSettles(const Regions& in_vRegions, RegionFormat in_format)
{
    const Regions vOnce = backAndForth(in_vRegions, in_format);
    CORVANA_FUZZ_REQUIRE(sameRegions(vOnce, backAndForth(vOnce, in_format)));
    if (in_format == RegionFormat::CSV)
        CORVANA_FUZZ_REQUIRE(sameRegions(in_vRegions, vOnce));
    const auto uiUnlabelled = std::count_if(in_vRegions.begin(), in_vRegions.end(), [](const LabeledRegion& in_region) {
        return in_region.m_strLabel.empty();
    });
    const std::size_t uiLost = in_format == RegionFormat::TEXTGRID ? static_cast<std::size_t>(uiUnlabelled) : 0;
    CORVANA_FUZZ_REQUIRE(vOnce.size() + uiLost == in_vRegions.size());
}

void requireRead(const std::string& in_strText, RegionFormat in_format)
{
    Regions vRegions(1);
    const std::string strFault = Tools::readRegions(in_strText, in_format, vRegions);
    if (!strFault.empty()) {
        CORVANA_FUZZ_REQUIRE(vRegions.empty());
        CORVANA_FUZZ_REQUIRE(strFault.starts_with("line "));
        return;
    }
    requireWellFormed(vRegions);
    if (vRegions.size() > s_uiMaxWritten)
        return;
    // Into one format for an input: the next one may take another.
    requireSettles(vRegions, s_aFormats[in_strText.size() % std::size(s_aFormats)]);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::string strText(reinterpret_cast<const char*>(in_pData), in_uiSize);
    for (const Corvana::Tools::RegionFormat format : s_aFormats)
        requireRead(strText, format);
}
