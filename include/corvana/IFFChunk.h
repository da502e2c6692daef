// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstdint>
#include <list>
#include <vector>

namespace Corvana::IFF {

/// One chunk of a RIFF file: an identifier, and either data bytes or child chunks. A value type.
/// "RIFF" and "LIST" are containers with a form type; "cue " is one whose children are its cue-point records.
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

    bool isContainer() const;

    ChunkId m_uiId = 0;
    ChunkId m_uiFormType = 0;          ///< of "RIFF" and "LIST" only
    std::vector<std::uint8_t> m_vData; ///< empty in a container
    List m_children;                   ///< of a container, in file order; places stay when others come and go
};

} // namespace Corvana::IFF
