// SPDX-License-Identifier: Apache-2.0
#include "FuzzSupport.h"

#include "audio/AudioRiffListCheck.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Corvana::Fuzz {

void failRequirement(const char* in_szCondition, const char* in_szFile, int in_iLine)
{
    std::fprintf(stderr, "%s:%d: not true: %s\n", in_szFile, in_iLine, in_szCondition);
    std::abort();
}

std::uint8_t ByteReader::takeByte()
{
    if (m_vRest.empty())
        return 0;
    const std::uint8_t uiByte = m_vRest.front();
    m_vRest = m_vRest.subspan(1);
    return uiByte;
}

unsigned long ByteReader::takeUpTo(unsigned long in_uiMax)
{
    unsigned long uiValue = 0;
    for (unsigned long uiRange = in_uiMax; uiRange != 0; uiRange >>= 8U)
        uiValue = uiValue << 8U | takeByte();
    return in_uiMax == ~0UL ? uiValue : uiValue % (in_uiMax + 1);
}

double ByteReader::takeDouble()
{
    return std::bit_cast<double>(takeUpTo(~0UL));
}

std::string ByteReader::takeText()
{
    const std::size_t uiLength = std::min<std::size_t>(takeByte(), m_vRest.size());
    const std::string strText(rest().substr(0, uiLength));
    m_vRest = m_vRest.subspan(uiLength);
    return strText;
}

MemoryFile::MemoryFile(std::string_view in_strContents)
    : m_iDescriptor(memfd_create("fuzz-input", MFD_CLOEXEC))
    , m_strPath("/proc/self/fd/" + std::to_string(m_iDescriptor))
{
    const ssize_t iNbWritten = write(m_iDescriptor, in_strContents.data(), in_strContents.size());
    CORVANA_FUZZ_REQUIRE(iNbWritten == static_cast<ssize_t>(in_strContents.size()));
}

MemoryFile::~MemoryFile()
{
    close(m_iDescriptor);
}

std::uint32_t largestCueId(std::string_view in_strBytes)
{
    constexpr std::size_t uiHead = 12; // "cue ", its size, the number of points
    constexpr std::size_t uiPoint = 24;
    std::uint32_t uiLargest = 0;
    std::size_t uiEnd = 0;
    const auto isInside = [&](std::size_t in_uiCue) { // also when there is none
        return in_strBytes.size() >= uiHead && in_uiCue <= in_strBytes.size() - uiHead;
    };
    for (std::size_t uiCue = in_strBytes.find("cue "); isInside(uiCue);
         uiCue = in_strBytes.find("cue ", std::max(uiEnd, uiCue + 1))) {
        std::uint32_t uiSize = 0;
        std::memcpy(&uiSize, in_strBytes.data() + uiCue + 4, sizeof uiSize);
        uiEnd = std::min(uiCue + 8 + uiSize, in_strBytes.size());
        for (std::size_t uiPlace = uiCue + uiHead; uiPlace + sizeof(std::uint32_t) <= uiEnd; uiPlace += uiPoint) {
            std::uint32_t uiId = 0;
            std::memcpy(&uiId, in_strBytes.data() + uiPlace, sizeof uiId);
            uiLargest = std::max(uiLargest, uiId);
        }
    }
    return uiLargest;
}

bool misleadsLibsndfile(std::string_view in_strBytes)
{
    const auto readAt = [=](std::uint64_t in_uiPosition, unsigned char* out_pBytes, std::size_t in_uiCount) {
        return in_uiPosition >= in_strBytes.size() ? 0
                                                   : in_strBytes.copy(reinterpret_cast<char*>(out_pBytes), in_uiCount,
                                                                      static_cast<std::size_t>(in_uiPosition));
    };
    return Audio::RiffListCheck(readAt).isMisleading();
}

const Test::TempDir& scratchFolder()
{
    static const bool s_bInMemory = access("/dev/shm", W_OK) == 0 && setenv("TMPDIR", "/dev/shm", 0) == 0;
    static const Test::TempDir s_folder;
    static_cast<void>(s_bInMemory); // where it is not, the folder is where temporary files usually are
    return s_folder;
}

LeakCheck::LeakCheck()
{
    std::transform(std::begin(s_aszTags), std::end(s_aszTags), m_aBefore, getMemAccount);
}

LeakCheck::~LeakCheck()
{
    for (std::size_t uiTag = 0; uiTag < std::size(s_aszTags); ++uiTag) {
        const MemAccount after = getMemAccount(s_aszTags[uiTag]);
        CORVANA_FUZZ_REQUIRE(after.m_uiLiveBlocks == m_aBefore[uiTag].m_uiLiveBlocks);
        CORVANA_FUZZ_REQUIRE(after.m_uiLiveBytes == m_aBefore[uiTag].m_uiLiveBytes);
    }
}

bool sameValue(double in_dLeft, double in_dRight)
{
    return std::memcmp(&in_dLeft, &in_dRight, sizeof in_dLeft) == 0 || (std::isnan(in_dLeft) && std::isnan(in_dRight));
}

bool sameValues(std::span<const double> in_vLeft, std::span<const double> in_vRight)
{
    return std::equal(in_vLeft.begin(), in_vLeft.end(), in_vRight.begin(), in_vRight.end(), sameValue);
}

} // namespace Corvana::Fuzz
