// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFWavRecords.h"

#include "IFFBytes.h"

#include <algorithm>

namespace Corvana::IFF {
namespace {

constexpr std::uint32_t s_uiFmtSize = 16;
constexpr std::uint32_t s_uiCuePointSize = 24;
constexpr std::uint32_t s_uiCueIdSize = 4;
constexpr std::uint32_t s_uiLabeledTextSize = 20;

} // namespace

ChunkDecoder::~ChunkDecoder() = default;

WavFmtChunk::WavFmtChunk() = default;
WavFmtChunk::~WavFmtChunk() = default;

bool WavFmtChunk::decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength)
{
    if (in_uiLength < s_uiFmtSize)
        return false;
    m_usFormatTag = littleEndian<std::uint16_t>(in_pData);
    m_usNbOfChannels = littleEndian<std::uint16_t>(in_pData + 2);
    m_uiSampleRate = littleEndian<std::uint32_t>(in_pData + 4);
    m_uiAvgBytesPerSecond = littleEndian<std::uint32_t>(in_pData + 8);
    m_usBlockAlign = littleEndian<std::uint16_t>(in_pData + 12);
    m_usBitsPerSample = littleEndian<std::uint16_t>(in_pData + 14);
    return true;
}

WavCuePointChunk::WavCuePointChunk() = default;
WavCuePointChunk::~WavCuePointChunk() = default;

bool WavCuePointChunk::decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength)
{
    if (in_uiLength < s_uiCuePointSize)
        return false;
    m_uiCueId = littleEndian<std::uint32_t>(in_pData);
    m_uiPosition = littleEndian<std::uint32_t>(in_pData + 4);
    m_uiChunkId = littleEndian<Chunk::ChunkId>(in_pData + 8);
    m_uiChunkStart = littleEndian<std::uint32_t>(in_pData + 12);
    m_uiBlockStart = littleEndian<std::uint32_t>(in_pData + 16);
    m_uiSampleOffset = littleEndian<std::uint32_t>(in_pData + 20);
    return true;
}

void WavCuePointChunk::encode(std::vector<std::uint8_t>& out_vData) const
{
    out_vData.clear();
    out_vData.reserve(s_uiCuePointSize);
    for (const std::uint32_t uiField :
         {m_uiCueId, m_uiPosition, m_uiChunkId, m_uiChunkStart, m_uiBlockStart, m_uiSampleOffset})
        appendLittleEndian(out_vData, uiField);
}

WavLabelChunk::WavLabelChunk() = default;
WavLabelChunk::~WavLabelChunk() = default;

bool WavLabelChunk::decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength)
{
    if (in_uiLength < s_uiCueIdSize)
        return false;
    m_uiCueId = littleEndian<std::uint32_t>(in_pData);
    const std::uint8_t* pText = in_pData + s_uiCueIdSize;
    m_strText.assign(pText, std::find(pText, in_pData + in_uiLength, std::uint8_t{0}));
    return true;
}

void WavLabelChunk::encode(std::vector<std::uint8_t>& out_vData) const
{
    out_vData.clear();
    out_vData.reserve(s_uiCueIdSize + m_strText.size() + 1);
    appendLittleEndian(out_vData, m_uiCueId);
    out_vData.insert(out_vData.end(), m_strText.begin(), m_strText.end());
    out_vData.push_back(0);
}

WavLabeledTextChunk::WavLabeledTextChunk() = default;
WavLabeledTextChunk::~WavLabeledTextChunk() = default;

bool WavLabeledTextChunk::decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength)
{
    if (in_uiLength < s_uiLabeledTextSize)
        return false;
    m_uiCueId = littleEndian<std::uint32_t>(in_pData);
    m_uiSampleLength = littleEndian<std::uint32_t>(in_pData + 4);
    m_uiPurpose = littleEndian<Chunk::ChunkId>(in_pData + 8);
    m_usCountry = littleEndian<std::uint16_t>(in_pData + 12);
    m_usLanguage = littleEndian<std::uint16_t>(in_pData + 14);
    m_usDialect = littleEndian<std::uint16_t>(in_pData + 16);
    m_usCodePage = littleEndian<std::uint16_t>(in_pData + 18);
    m_strText.assign(in_pData + s_uiLabeledTextSize, in_pData + in_uiLength);
    return true;
}

void WavLabeledTextChunk::encode(std::vector<std::uint8_t>& out_vData) const
{
    out_vData.clear();
    out_vData.reserve(s_uiLabeledTextSize + m_strText.size());
    for (const std::uint32_t uiField : {m_uiCueId, m_uiSampleLength, m_uiPurpose})
        appendLittleEndian(out_vData, uiField);
    for (const std::uint16_t usField : {m_usCountry, m_usLanguage, m_usDialect, m_usCodePage})
        appendLittleEndian(out_vData, usField);
    out_vData.insert(out_vData.end(), m_strText.begin(), m_strText.end());
}

} // namespace Corvana::IFF
