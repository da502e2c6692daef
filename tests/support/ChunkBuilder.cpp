// SPDX-License-Identifier: Apache-2.0
#include "support/ChunkBuilder.h"

#include <numeric>

namespace Corvana::Test {
namespace {

constexpr char s_acDigits[] = "0123456789abcdef";

std::string littleEndian(std::uint32_t in_uiValue, unsigned in_uiNbOfBytes)
{
    std::string strBytes;
    for (unsigned uiByte = 0; uiByte < in_uiNbOfBytes; ++uiByte)
        strBytes.push_back(static_cast<char>((in_uiValue >> (8 * uiByte)) & 0xFF));
    return strBytes;
}

} // namespace

ChunkBuilder::ChunkBuilder(const std::string& in_strId)
    : m_strId(in_strId)
    , m_strPadding(1, '\0')
{
}

ChunkBuilder& ChunkBuilder::u16(std::uint16_t in_usValue, const char*)
{
    m_strData += littleEndian(in_usValue, 2);
    return *this;
}

ChunkBuilder& ChunkBuilder::u32(std::uint32_t in_uiValue, const char*)
{
    m_strData += littleEndian(in_uiValue, 4);
    return *this;
}

ChunkBuilder& ChunkBuilder::text(const std::string& in_strText, const char*)
{
    m_strData += in_strText;
    return *this;
}

ChunkBuilder& ChunkBuilder::add(const std::string& in_strBytes)
{
    m_strData += in_strBytes;
    return *this;
}

ChunkBuilder& ChunkBuilder::claim(std::uint32_t in_uiSize)
{
    m_uiClaimed = in_uiSize;
    m_bClaims = true;
    return *this;
}

ChunkBuilder& ChunkBuilder::padding(std::uint8_t in_ucPadding)
{
    m_strPadding.assign(1, static_cast<char>(in_ucPadding));
    return *this;
}

ChunkBuilder& ChunkBuilder::unpadded()
{
    m_strPadding.clear();
    return *this;
}

std::string ChunkBuilder::bytes() const
{
    const std::uint32_t uiSize = m_bClaims ? m_uiClaimed : static_cast<std::uint32_t>(m_strData.size());
    std::string strBytes = m_strId + littleEndian(uiSize, 4) + m_strData;
    if (m_strData.size() % 2 == 1)
        strBytes += m_strPadding;
    return strBytes;
}

std::string fmtChunk(std::uint16_t in_usNbOfChannels, std::uint32_t in_uiSampleRate, std::uint16_t in_usBitsPerSample)
{
    const auto usBlock = static_cast<std::uint16_t>(in_usNbOfChannels * in_usBitsPerSample / 8);
    return ChunkBuilder("fmt ")
        .u16(1, "format tag: linear samples")
        .u16(in_usNbOfChannels, "number of channels")
        .u32(in_uiSampleRate, "samples per second")
        .u32(in_uiSampleRate * usBlock, "bytes per second")
        .u16(usBlock, "bytes per sample of all channels")
        .u16(in_usBitsPerSample, "bits per sample")
        .bytes();
}

std::string dataChunk(const std::string& in_strAudio)
{
    return ChunkBuilder("data").text(in_strAudio, "audio").bytes();
}

std::string cuePoint(std::uint32_t in_uiCueId, std::uint32_t in_uiSample)
{
    return littleEndian(in_uiCueId, 4)     // cue identifier
           + littleEndian(in_uiSample, 4)  // position
           + "data"                        // chunk
           + littleEndian(0, 4)            // chunk start
           + littleEndian(0, 4)            // block start
           + littleEndian(in_uiSample, 4); // sample offset
}

std::string cueChunk(const std::vector<std::string>& in_vPoints)
{
    return ChunkBuilder("cue ")
        .u32(static_cast<std::uint32_t>(in_vPoints.size()), "number of cue points")
        .add(std::accumulate(in_vPoints.begin(), in_vPoints.end(), std::string()))
        .bytes();
}

std::string ltxtChunk(std::uint32_t in_uiCueId, std::uint32_t in_uiLength)
{
    return ChunkBuilder("ltxt")
        .u32(in_uiCueId, "cue identifier")
        .u32(in_uiLength, "length in samples")
        .text("rgn ", "purpose")
        .u16(0, "country")
        .u16(0, "language")
        .u16(0, "dialect")
        .u16(0, "code page")
        .bytes();
}

std::string lablChunk(std::uint32_t in_uiCueId, const std::string& in_strText)
{
    return ChunkBuilder("labl").u32(in_uiCueId, "cue identifier").text(in_strText + '\0', "label").bytes();
}

std::string adtlChunk(const std::string& in_strChunks)
{
    return listChunk("adtl", in_strChunks);
}

std::string listChunk(const std::string& in_strFormType, const std::string& in_strChunks)
{
    return ChunkBuilder("LIST").text(in_strFormType, "form type").add(in_strChunks).bytes();
}

std::string riff(const std::string& in_strChunks)
{
    return ChunkBuilder("RIFF").text("WAVE", "form type").add(in_strChunks).unpadded().bytes();
}

std::string audioBytes(std::size_t in_uiCount)
{
    std::string strBytes(in_uiCount, '\0');
    unsigned uiValue = 1;
    for (char& cByte : strBytes) {
        uiValue = (uiValue * 1103515245u + 12345u) & 0x7FFFFFFFu;
        cByte = static_cast<char>(uiValue >> 16);
    }
    return strBytes;
}

std::string littleEndian32(std::uint32_t in_uiValue)
{
    return littleEndian(in_uiValue, 4);
}

std::string hex(const std::string& in_strBytes)
{
    std::string strDigits;
    for (const char cByte : in_strBytes) {
        strDigits.push_back(s_acDigits[static_cast<unsigned char>(cByte) >> 4]);
        strDigits.push_back(s_acDigits[static_cast<unsigned char>(cByte) & 0xF]);
    }
    return strDigits;
}

std::string unhex(const std::string& in_strDigits)
{
    std::string strBytes;
    bool bLow = false;
    for (const char cDigit : in_strDigits) {
        const std::size_t uiValue = std::string(s_acDigits).find(cDigit);
        if (uiValue == std::string::npos)
            continue;
        if (bLow)
            strBytes.back() = static_cast<char>(static_cast<unsigned char>(strBytes.back()) | uiValue);
        else
            strBytes.push_back(static_cast<char>(uiValue << 4));
        bLow = !bLow;
    }
    return strBytes;
}

} // namespace Corvana::Test
