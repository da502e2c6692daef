// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstdint>
#include <list>
#include <vector>

namespace Corvana::IFF {

/// One chunk of a RIFF file: an identifier, and either data bytes or child chunks. A value type.
/// "RIFF" and "LIST" are containers with a form type; "cue " is one whose children, "cuep", are its records of 24
/// bytes.
class CORVANA_API Chunk
{
public:
    /// Four characters as a number whose little-endian bytes they are.
    using ChunkId = std::uint32_t;
    using List = std::list<Chunk>;

    /// makeId("cue ") is 0x20657563.
    static constexpr ChunkId makeId(const char (&in_acId)[5])
    {
        ChunkId uiId = 0;
        for (unsigned uiIndex = 0; uiIndex < 4; ++uiIndex)
            uiId |= ChunkId{static_cast<unsigned char>(in_acId[uiIndex])} << (8 * uiIndex);
        return uiId;
    }

    Chunk();
    explicit Chunk(ChunkId in_uiId);
    ~Chunk();
    Chunk(const Chunk&);
    Chunk(Chunk&&) noexcept;
    Chunk& operator=(const Chunk&);
    Chunk& operator=(Chunk&&) noexcept;

    /// Replaces the data bytes with a copy. False, with nothing changed: the chunk is a container.
    bool setData(const std::uint8_t* in_pData, std::uint32_t in_uiLength);

    /// Bytes behind the eight of the header, without the padding byte: of a container, all that it holds. Never more
    /// than 0xFFFFFFFF: what is larger cannot be written. Takes time for each chunk within a container.
    std::uint32_t getDataSize() const;

    /// Whether it holds chunks: "RIFF", "LIST", "cue ", unless it is kept as plain bytes.
    bool isContainer() const;

    ChunkId m_uiId = 0;
    ChunkId m_uiFormType = 0; ///< of "RIFF" and "LIST" only
    /// The data; in a container, the bytes behind its last child that are too few to be one more.
    std::vector<std::uint8_t> m_vData;
    List m_children; ///< of a container, in file order; places stay when others come and go

    /// Where the header, or a cue point's record, stood, counted from where reading began.
    std::uint64_t m_uiFileOffset = 0;
    /// The size in the header that was read, when its container ended before; 0 for all others.
    std::uint32_t m_uiClaimedSize = 0;
    /// Bytes of data that were left in the file, because reading was told to pass over them; m_vData is empty then.
    std::uint32_t m_uiSizeLeftInFile = 0;
    std::uint8_t m_ucPadding = 0;   ///< the byte behind data of odd size
    bool m_bPaddingMissing = false; ///< its container, or the file, ended without that byte
    bool m_bOpaque = false;         ///< a container by its identifier whose bytes are kept as plain data
};

} // namespace Corvana::IFF
