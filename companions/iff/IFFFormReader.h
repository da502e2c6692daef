// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "IFFByteSource.h"
#include "corvana/IFFChunk.h"

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

namespace Corvana::IFF {

/// Reads one RIFF form "WAVE" and what stands behind it from a stream, and says in the log what is odd about it.
class FormReader
{
public:
    FormReader(std::istream& inout_stream, bool in_bWithAudio);

    /// False, with an error in the log: it is none, cannot be read, or has too many chunks.
    bool read(Chunk& out_root, std::vector<std::uint8_t>& out_vTrailing);

private:
    struct Header
    {
        std::uint8_t m_aucBytes[8];
        std::size_t m_uiTaken = 0;

        bool isWhole() const { return m_uiTaken == sizeof m_aucBytes; }
        Chunk::ChunkId id() const;
        std::uint32_t size() const;
    };

    Header takeHeader(std::uint64_t in_uiEnd);
    bool readRootHeader(Chunk& out_root);
    void readForm(Chunk& inout_root, std::vector<std::uint8_t>& out_vTrailing);
    bool isFormOver();
    bool endsForm(const Header& in_header);
    void takeFormPadding(Chunk& inout_chunk);

    bool addChunk(Chunk::List& inout_list, const Header& in_header, std::uint64_t in_uiEnd, unsigned in_uiDepth);
    void readChunk(Chunk& inout_chunk, std::uint64_t in_uiSize, std::uint64_t in_uiEnd, unsigned in_uiDepth);
    void readContents(Chunk& inout_chunk, std::uint64_t in_uiSize, unsigned in_uiDepth);
    bool takeHead(Chunk& inout_chunk, std::uint32_t& out_uiHead);
    void readChildren(Chunk& inout_chunk, std::uint64_t in_uiEnd, unsigned in_uiDepth);
    void readCuePoints(Chunk& inout_chunk, std::uint64_t in_uiSize);
    void readPlain(Chunk& inout_chunk, std::uint64_t in_uiSize);
    void takePadding(Chunk& inout_chunk, std::uint64_t in_uiEnd);
    bool reachesToEndOfFile(const Header& in_header, unsigned in_uiDepth) const;
    bool countChunk();

    bool refuse(const std::string& in_strReason);
    void warn(const std::string& in_strOddity);
    void warnOfHidden(const Chunk::List& in_list, const Header& in_header);

    ByteSource m_source;
    bool m_bWithAudio;
    std::uint32_t m_uiFormSize = 0;
    std::uint64_t m_uiFormEnd = 0;
    bool m_bFormSizeBelieved = false;
    bool m_bFormPadded = false;
    bool m_bTooManyChunks = false;
    unsigned long m_uiNbOfChunks = 0;
    unsigned m_uiNbOfWarnings = 0;
};

} // namespace Corvana::IFF
