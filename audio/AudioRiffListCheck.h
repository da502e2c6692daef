// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace Corvana::Audio {

/// Looks for lists in a WAV file that libsndfile may never come to an end of: it adds what an entry of a list claims as
/// its length to a signed number of 32 bits, so that one of 2 GiB or more sends it back to where it has been. Each list
/// has to hold what it says, with entries that fill it, whatever chunk it seems to lie in: in a damaged file,
/// libsndfile looks for chunks where there are none.
class RiffListCheck
{
public:
    /// Reads so many bytes from a place; returns how many there were.
    using ReadAt = std::function<std::size_t(std::uint64_t, unsigned char*, std::size_t)>;

    explicit RiffListCheck(ReadAt in_readAt)
        : m_readAt(std::move(in_readAt))
    {
    }

    /// Reads the beginning of each chunk, and all that is no audio. What has too much of that, too many chunks, or too
    /// many entries counts as misleading.
    bool isMisleading()
    {
        unsigned char acForm[12];
        if (m_readAt(0, acForm, sizeof acForm) < sizeof acForm || nameAt(acForm + 8) != "WAVE")
            return false;
        const std::string_view strForm = nameAt(acForm);
        m_bBigEndian = strForm == "RIFX";
        return (m_bBigEndian || strForm == "RIFF" || strForm == "RF64") && chunksMislead(strForm == "RF64");
    }

private:
    static constexpr std::uint64_t s_uiEndOfFile = UINT64_MAX;
    static constexpr std::uint64_t s_uiBackwards = 0x7FFFFFFF; // with its padding the first that leads there

    static std::string_view nameAt(const unsigned char* in_pBytes)
    {
        return {reinterpret_cast<const char*>(in_pBytes), 4};
    }

    static bool isPrintable(std::string_view in_strName)
    {
        return std::all_of(in_strName.begin(), in_strName.end(), [](char in_c) { return in_c >= ' ' && in_c <= '~'; });
    }

    std::uint32_t numberAt(const unsigned char* in_pBytes) const
    {
        std::uint32_t uiNumber = 0;
        for (unsigned uiByte = 0; uiByte < 4; ++uiByte)
            uiNumber |= static_cast<std::uint32_t>(in_pBytes[uiByte]) << 8 * (m_bBigEndian ? 3 - uiByte : uiByte);
        return uiNumber;
    }

    bool chunksMislead(bool in_bLong)
    {
        constexpr unsigned uiMaxNbOfChunks = 10000;
        std::uint64_t uiLongDataSize = 0;
        std::uint64_t uiPosition = 12;
        for (unsigned uiChunk = 0; uiChunk < uiMaxNbOfChunks; ++uiChunk) {
            unsigned char acChunk[24]; // of "ds64" also the length of the data
            const std::size_t uiNbRead = m_readAt(uiPosition, acChunk, sizeof acChunk);
            if (uiNbRead < 8)
                return false;
            const std::string_view strName = nameAt(acChunk);
            std::uint64_t uiSize = numberAt(acChunk + 4);
            if (strName == "ds64" && uiNbRead == sizeof acChunk)
                uiLongDataSize = numberAt(acChunk + 16) | static_cast<std::uint64_t>(numberAt(acChunk + 20)) << 32U;
            const bool bData = strName == "data";
            if (bData && in_bLong && uiSize == UINT32_MAX)
                uiSize = std::min(uiLongDataSize, s_uiEndOfFile / 2);
            if (!isPrintable(strName) || (bData && uiSize == 0))
                return listsMislead(uiPosition, s_uiEndOfFile);
            if (!bData && listsMislead(uiPosition, uiPosition + 8 + uiSize))
                return true;
            uiPosition += 8 + uiSize + uiSize % 2;
        }
        return true;
    }

    bool listsMislead(std::uint64_t in_uiBegin, std::uint64_t in_uiEnd)
    {
        const std::uint64_t uiWanted = std::min<std::uint64_t>(in_uiEnd - in_uiBegin, m_uiNbOfBytesLeft + 1);
        m_vBytes.resize(static_cast<std::size_t>(uiWanted));
        m_vBytes.resize(m_readAt(in_uiBegin, m_vBytes.data(), m_vBytes.size()));
        if (m_vBytes.size() > m_uiNbOfBytesLeft)
            return true;
        m_uiNbOfBytesLeft -= m_vBytes.size();
        const std::string_view strBytes(reinterpret_cast<const char*>(m_vBytes.data()), m_vBytes.size());
        for (std::size_t uiList = strBytes.find("LIST"); uiList != std::string_view::npos;
             uiList = strBytes.find("LIST", uiList + 1))
            if (listMisleads(in_uiBegin + uiList))
                return true;
        return false;
    }

    // Goes through it as libsndfile does, also beyond its end when entries do not fill it.
    bool listMisleads(std::uint64_t in_uiPosition)
    {
        unsigned char acEntry[8];
        if (m_readAt(in_uiPosition, acEntry, sizeof acEntry) < sizeof acEntry)
            return false;
        const std::uint64_t uiSize = numberAt(acEntry + 4);
        std::uint64_t uiNext = 0;
        while (uiNext < uiSize) {
            if (m_uiNbOfEntriesLeft-- == 0)
                return true;
            if (m_readAt(in_uiPosition + 8 + uiNext, acEntry, sizeof acEntry) < sizeof acEntry)
                return false;
            const std::string_view strName = nameAt(acEntry);
            if (strName == "adtl" || strName == "INFO") { // kinds of lists, which libsndfile takes anywhere
                uiNext += 4;
                continue;
            }
            if (strName == "data" || strName == std::string_view("\0\0\0\0", 4))
                return false; // there, libsndfile leaves the list
            const std::uint64_t uiEntry = numberAt(acEntry + 4);
            if (uiEntry >= s_uiBackwards)
                return true;
            uiNext += 8 + uiEntry + uiEntry % 2;
        }
        return false;
    }

    ReadAt m_readAt;
    std::vector<unsigned char> m_vBytes;
    std::uint64_t m_uiNbOfBytesLeft = std::uint64_t{1} << 18U; // outside of the audio
    unsigned m_uiNbOfEntriesLeft = 100000;
    bool m_bBigEndian = false;
};

} // namespace Corvana::Audio
