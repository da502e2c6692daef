// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/IFFChunk.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Corvana::IFF {

/// A record that is the data of a chunk in a WAV file. Numbers are little-endian.
class CORVANA_API ChunkDecoder
{
public:
    virtual ~ChunkDecoder();

    /// Takes the fields from bytes; bytes behind the last field are ignored. False, with nothing changed: too short.
    virtual bool decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength) = 0;

protected:
    ChunkDecoder() = default;
    ChunkDecoder(const ChunkDecoder&) = default;
    ChunkDecoder& operator=(const ChunkDecoder&) = default;
};

/// The record of "fmt ": how samples are stored.
class CORVANA_API WavFmtChunk : public ChunkDecoder
{
public:
    WavFmtChunk();
    ~WavFmtChunk() override;

    /// Wants 16 bytes.
    bool decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength) override;

    std::uint16_t m_usFormatTag = 0;
    std::uint16_t m_usNbOfChannels = 0;
    std::uint32_t m_uiSampleRate = 0;
    std::uint32_t m_uiAvgBytesPerSecond = 0;
    std::uint16_t m_usBlockAlign = 0;
    std::uint16_t m_usBitsPerSample = 0;
};

/// The record of a cue point: a place in the audio.
class CORVANA_API WavCuePointChunk : public ChunkDecoder
{
public:
    WavCuePointChunk();
    ~WavCuePointChunk() override;

    /// Wants 24 bytes.
    bool decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength) override;
    /// Replaces the vector's contents with 24 bytes.
    void encode(std::vector<std::uint8_t>& out_vData) const;

    std::uint32_t m_uiCueId = 0;
    std::uint32_t m_uiPosition = 0;
    Chunk::ChunkId m_uiChunkId = 0;
    std::uint32_t m_uiChunkStart = 0;
    std::uint32_t m_uiBlockStart = 0;
    std::uint32_t m_uiSampleOffset = 0;
};

/// The record of "labl": the text of a cue point.
class CORVANA_API WavLabelChunk : public ChunkDecoder
{
public:
    WavLabelChunk();
    ~WavLabelChunk() override;

    /// Wants 4 bytes. The text ends at its first zero byte, or with the chunk.
    bool decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength) override;
    /// Replaces the vector's contents with the identifier, the text and a zero byte.
    void encode(std::vector<std::uint8_t>& out_vData) const;

    std::uint32_t m_uiCueId = 0;
    std::string m_strText;
};

/// The record of "ltxt": how far the region that begins at a cue point reaches.
class CORVANA_API WavLabeledTextChunk : public ChunkDecoder
{
public:
    WavLabeledTextChunk();
    ~WavLabeledTextChunk() override;

    /// Wants 20 bytes; the text is all that follows.
    bool decode(const std::uint8_t* in_pData, std::uint32_t in_uiLength) override;
    /// Replaces the vector's contents with 20 bytes and the text.
    void encode(std::vector<std::uint8_t>& out_vData) const;

    std::uint32_t m_uiCueId = 0;
    std::uint32_t m_uiSampleLength = 0;
    Chunk::ChunkId m_uiPurpose = 0;
    std::uint16_t m_usCountry = 0;
    std::uint16_t m_usLanguage = 0;
    std::uint16_t m_usDialect = 0;
    std::uint16_t m_usCodePage = 0;
    std::string m_strText; ///< bytes as they are, zeros included
};

} // namespace Corvana::IFF
