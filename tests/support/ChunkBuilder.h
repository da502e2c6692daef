// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Corvana::Test {

/// Puts the bytes of one chunk together, one field a line, each with its meaning. Knows nothing of the library that
/// it tests. Numbers are little-endian.
class ChunkBuilder
{
public:
    explicit ChunkBuilder(const std::string& in_strId);

    ChunkBuilder& u16(std::uint16_t in_usValue, const char* in_szMeaning);
    ChunkBuilder& u32(std::uint32_t in_uiValue, const char* in_szMeaning);
    /// Characters as they are, without a zero byte at the end.
    ChunkBuilder& text(const std::string& in_strText, const char* in_szMeaning);
    /// A whole chunk, or any other bytes.
    ChunkBuilder& add(const std::string& in_strBytes);

    /// The header claims this size whatever is there.
    ChunkBuilder& claim(std::uint32_t in_uiSize);
    /// The byte behind data of odd size; 0 when it is not said.
    ChunkBuilder& padding(std::uint8_t in_ucPadding);
    /// No byte behind data of odd size.
    ChunkBuilder& unpadded();

    std::string bytes() const;

private:
    std::string m_strId;
    std::string m_strData;
    std::string m_strPadding;
    std::uint32_t m_uiClaimed = 0;
    bool m_bClaims = false;
};

/// @name Chunks as they should be
/// @{
std::string fmtChunk(std::uint16_t in_usNbOfChannels = 1, std::uint32_t in_uiSampleRate = 8000,
                     std::uint16_t in_usBitsPerSample = 16);
std::string dataChunk(const std::string& in_strAudio);
/// The 24 bytes of a cue point, which have no header.
std::string cuePoint(std::uint32_t in_uiCueId, std::uint32_t in_uiSample);
std::string cueChunk(const std::vector<std::string>& in_vPoints);
std::string ltxtChunk(std::uint32_t in_uiCueId, std::uint32_t in_uiLength);
/// With a zero byte behind the text.
std::string lablChunk(std::uint32_t in_uiCueId, const std::string& in_strText);
std::string adtlChunk(const std::string& in_strChunks);
std::string listChunk(const std::string& in_strFormType, const std::string& in_strChunks);
/// A whole file, which ends where its last chunk ends.
std::string riff(const std::string& in_strChunks);
/// @}

/// Repeatable bytes in which every value occurs, so that a byte out of place is seen.
std::string audioBytes(std::size_t in_uiCount);
/// Four bytes.
std::string littleEndian32(std::uint32_t in_uiValue);
/// Bytes as two hexadecimal digits each, for messages and expectations that can be read.
std::string hex(const std::string& in_strBytes);
/// The bytes that such digits mean; blanks are skipped.
std::string unhex(const std::string& in_strDigits);

} // namespace Corvana::Test
