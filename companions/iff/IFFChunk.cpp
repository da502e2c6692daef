// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFChunk.h"

#include "IFFChunkSize.h"

#include <algorithm>
#include <limits>

namespace Corvana::IFF {

Chunk::Chunk() = default;
Chunk::Chunk(ChunkId in_uiId)
    : m_uiId(in_uiId)
{
}
Chunk::~Chunk() = default;
Chunk::Chunk(const Chunk&) = default;
Chunk::Chunk(Chunk&&) noexcept = default;
Chunk& Chunk::operator=(const Chunk&) = default;
Chunk& Chunk::operator=(Chunk&&) noexcept = default;

bool Chunk::setData(const std::uint8_t* in_pData, std::uint32_t in_uiLength)
{
    if (isContainer())
        return false;
    std::vector<std::uint8_t> vData(in_pData, in_pData + in_uiLength); // which may be the chunk's own bytes
    m_vData.swap(vData);
    m_uiClaimedSize = 0;
    m_uiSizeLeftInFile = 0;
    return true;
}

std::uint32_t Chunk::getDataSize() const
{
    constexpr std::uint64_t uiMax = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(uiMax, ChunkSize::ofData(*this)));
}

bool Chunk::isContainer() const
{
    return !m_bOpaque && (m_uiId == makeId("RIFF") || m_uiId == makeId("LIST") || m_uiId == makeId("cue "));
}

} // namespace Corvana::IFF
