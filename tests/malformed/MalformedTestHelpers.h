// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MalformedCases.h"
#include "PlainWav.h"
#include "support/AllocationCounter.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace Corvana::Test {

/// A part of the cases: one test each, so that they can run at the same time.
struct CaseGroup
{
    const char* m_szName;
    MalformedCases (*m_pCases)();
};

inline const CaseGroup s_aGroups[] = {{"Seeds", seedCases},
                                      {"Prefixes", prefixCases},
                                      {"Bytes", byteCases},
                                      {"Orders", orderCases},
                                      {"Faults", faultCases}};

inline std::string nameOfGroup(const testing::TestParamInfo<CaseGroup>& in_info)
{
    return in_info.param.m_szName;
}

std::string contentsOf(const std::string& in_strPath);
/// A file of the same audio that libsndfile comes to an end of: where a list leads it back to its beginning, a copy
/// beside it without that list; else itself.
std::string readablePath(const std::string& in_strPath);
/// Whether two texts are the same, and if not, where they begin to differ.
testing::AssertionResult isSame(const std::string& in_strActual, const std::string& in_strExpected);

/// A region in seconds, as programs see it.
struct TimedRegion
{
    std::string m_strType; ///< empty: an identifier that the file skips
    double m_dStart;
    double m_dStop;

    friend bool operator==(const TimedRegion&, const TimedRegion&) = default;
};
using TimedRegions = std::vector<TimedRegion>;
using PlainRegions = std::vector<PlainWav::Region>;

std::ostream& operator<<(std::ostream& out_stream, const TimedRegion& in_region);

TimedRegions timed(const PlainWav& in_file);
/// What the documented rule for times makes of regions in a file, when they are written; beyond the end they are cut,
/// where 32 bits can hold their stops.
PlainRegions placed(const TimedRegions& in_vRegions, const PlainWav& in_file);

/// A file that an operation is tried on, and how it was before.
class TriedFile
{
public:
    TriedFile(std::string in_strPath, const std::string& in_strBytes);

    const std::string& path() const { return m_strPath; }
    std::string bytes() const { return contentsOf(m_strPath); }
    /// Puts the first contents back, after an operation that may have changed them.
    void restore();

    /// Nothing has touched the file.
    void expectUntouched() const;
    /// The file is whole; all but its regions is what it was, and the regions are these.
    void expectRegions(const PlainWav& in_before, const PlainRegions& in_vRegions) const;

private:
    std::string m_strPath;
    std::string m_strBytes;
    struct stat m_status = {};
};

/// Fails the test when the program has held too much memory for a file since this was made. What a file skips becomes
/// regions, of which an edit holds those before and after it.
class BoundedMemory
{
public:
    explicit BoundedMemory(std::size_t in_uiFileSize, std::size_t in_uiNbOfRegions = 0)
        : m_uiMost((std::size_t{64} << 20) + 8 * in_uiFileSize + std::size_t{96} * in_uiNbOfRegions)
    {
    }
    ~BoundedMemory() { EXPECT_LE(m_peak.bytes(), m_uiMost); }
    BoundedMemory(const BoundedMemory&) = delete;
    BoundedMemory& operator=(const BoundedMemory&) = delete;

private:
    std::size_t m_uiMost;
    PeakMemory m_peak;
};

/// Calls in_try with each case and what it is by the rules. A fault in the code under test fails many cases alike: the
/// first few tell enough.
template <class TryT>
void tryCases(const MalformedCases& in_vCases, TryT in_try)
{
    constexpr int iMaxNbOfFailures = 5;
    int iNbOfFailures = 0;
    const auto nbOfFailedParts = [] {
        return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
    };
    for (const MalformedCase& malformed : in_vCases) {
        SCOPED_TRACE(malformed.m_strName + " (" + malformed.m_strMaking + ")");
        const int iBefore = nbOfFailedParts();
        {
            const PlainWav plain(malformed.m_strBytes);
            in_try(malformed, plain);
        }
        if (nbOfFailedParts() > iBefore && ++iNbOfFailures >= iMaxNbOfFailures)
            break;
    }
}

} // namespace Corvana::Test
