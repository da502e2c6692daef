// SPDX-License-Identifier: Apache-2.0
#include "MalformedTestHelpers.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <ostream>

namespace Corvana::Test {
namespace {

struct stat statusOf(const std::string& in_strPath)
{
    struct stat status = {};
    EXPECT_EQ(stat(in_strPath.c_str(), &status), 0) << in_strPath;
    return status;
}

// The lower 32 bits of the nearest integer; of what 64 bits cannot hold, those of the nearest that they can.
std::uint32_t sampleOf(double in_dSamples)
{
    const double dRounded = std::trunc(in_dSamples + 0.5);
    if (std::isnan(dRounded))
        return 0;
    if (dRounded >= 0x1p63)
        return std::numeric_limits<std::uint32_t>::max();
    return dRounded < -0x1p63 ? 0 : static_cast<std::uint32_t>(static_cast<std::int64_t>(dRounded));
}

} // namespace

std::string contentsOf(const std::string& in_strPath)
{
    std::ifstream stream(in_strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string readablePath(const std::string& in_strPath)
{
    std::string strBytes = contentsOf(in_strPath);
    if (strBytes.find("adtlback") == std::string::npos)
        return in_strPath;
    strBytes.replace(strBytes.find("LIST"), 4, "junk");
    std::ofstream(in_strPath + ".readable", std::ios::binary) << strBytes;
    return in_strPath + ".readable";
}

testing::AssertionResult isSame(const std::string& in_strActual, const std::string& in_strExpected)
{
    if (in_strActual == in_strExpected)
        return testing::AssertionSuccess();
    const auto [it, itExpected] =
        std::mismatch(in_strActual.begin(), in_strActual.end(), in_strExpected.begin(), in_strExpected.end());
    const auto uiPlace = static_cast<std::size_t>(it - in_strActual.begin());
    const std::size_t uiFrom = uiPlace - std::min<std::size_t>(uiPlace, 16);
    return testing::AssertionFailure() << in_strActual.size() << " bytes for " << in_strExpected.size()
                                       << ", from byte " << uiFrom << " on "
                                       << testing::PrintToString(in_strActual.substr(uiFrom, 40)) << " for "
                                       << testing::PrintToString(in_strExpected.substr(uiFrom, 40));
}

std::ostream& operator<<(std::ostream& out_stream, const TimedRegion& in_region)
{
    return out_stream << (in_region.m_strType.empty() ? "skipped" : in_region.m_strType) << ' ' << in_region.m_dStart
                      << '-' << in_region.m_dStop;
}

TimedRegions timed(const PlainWav& in_file)
{
    TimedRegions vRegions;
    for (const PlainWav::Region& region : in_file.m_vRegions) {
        const double dStart = region.m_uiStart / static_cast<double>(in_file.m_uiSampleRate);
        vRegions.push_back(
            {region.m_strType, dStart, region.m_uiLength / static_cast<double>(in_file.m_uiSampleRate) + dStart});
    }
    return vRegions;
}

PlainRegions placed(const TimedRegions& in_vRegions, const PlainWav& in_file)
{
    PlainRegions vRegions;
    const std::uint32_t uiEnd = in_file.m_uiNbOfSamples;
    for (const TimedRegion& region : in_vRegions) {
        const std::uint32_t uiStart = std::min(uiEnd, sampleOf(region.m_dStart * in_file.m_uiSampleRate));
        std::uint32_t uiLength = sampleOf((region.m_dStop - region.m_dStart) * in_file.m_uiSampleRate);
        if (uiStart + uiLength > uiEnd)
            uiLength = uiEnd - uiStart;
        vRegions.push_back({region.m_strType, uiStart, uiLength});
    }
    return vRegions;
}

TriedFile::TriedFile(std::string in_strPath, const std::string& in_strBytes)
    : m_strPath(std::move(in_strPath))
    , m_strBytes(in_strBytes)
{
    restore();
}

void TriedFile::restore()
{
    std::ofstream(m_strPath, std::ios::binary | std::ios::trunc) << m_strBytes;
    m_status = statusOf(m_strPath);
}

void TriedFile::expectUntouched() const
{
    const struct stat status = statusOf(m_strPath);
    EXPECT_TRUE(bytes() == m_strBytes);
    EXPECT_EQ(status.st_ino, m_status.st_ino);
    EXPECT_EQ(status.st_mtim.tv_sec, m_status.st_mtim.tv_sec);
    EXPECT_EQ(status.st_mtim.tv_nsec, m_status.st_mtim.tv_nsec);
}

void TriedFile::expectRegions(const PlainWav& in_before, const PlainRegions& in_vRegions) const
{
    const PlainWav after(bytes());
    EXPECT_TRUE(isSame(after.audio(), in_before.audio()));
    EXPECT_TRUE(isSame(after.foreign(), in_before.foreign()));
    EXPECT_EQ(after.count("cue "), in_vRegions.empty() ? 0U : 1U);
    EXPECT_EQ(after.count("ltxt"), in_vRegions.size());
    EXPECT_EQ(after.count("labl"), in_vRegions.size());
    EXPECT_EQ(after.count("note"), 0U);
    const bool bOneMore = !in_vRegions.empty() && !in_before.m_bHasHolder;
    const bool bOneLess = in_vRegions.empty() && in_before.m_bHolderGoes;
    EXPECT_EQ(after.count("LIST") + (bOneLess ? 1 : 0), in_before.count("LIST") + (bOneMore ? 1 : 0));
    const bool bReadable = std::all_of(in_vRegions.begin(), in_vRegions.end(),
                                       [](const PlainWav::Region& in_region) { return !in_region.m_strType.empty(); });
    EXPECT_EQ(after.m_strRefusal, bReadable ? "" : "at least a label is missing"); // of a region without a type
    if (bReadable) {
        EXPECT_THAT(after.m_mendable,
                    testing::AnyOf(testing::IsEmpty(), testing::ElementsAre("region beyond the end")));
        EXPECT_TRUE(after.m_vRegions == in_vRegions)
            << testing::PrintToString(timed(after)) << " of " << in_vRegions.size();
    }
}

} // namespace Corvana::Test
