// SPDX-License-Identifier: Apache-2.0
#include "IFFChunkSize.h"

#include <iterator>

namespace Corvana::IFF {

bool ChunkSize::isAtEndOf(const Chunk& in_container, Chunk::List::const_iterator in_itChild)
{
    const bool bForm = in_container.m_uiId == Chunk::makeId("RIFF") && in_container.m_uiFileOffset == 0;
    return !bForm && in_container.m_vData.empty() && std::next(in_itChild) == in_container.m_children.end();
}

std::uint64_t ChunkSize::ofData(const Chunk& in_chunk, std::vector<std::uint64_t>* out_pContainers)
{
    if (in_chunk.isContainer())
        return ofContainer(in_chunk, out_pContainers);
    return in_chunk.m_vData.size() + std::uint64_t{in_chunk.m_uiSizeLeftInFile};
}

std::uint64_t ChunkSize::ofContainer(const Chunk& in_chunk, std::vector<std::uint64_t>* out_pContainers)
{
    std::size_t uiIndex = 0;
    if (out_pContainers != nullptr) {
        uiIndex = out_pContainers->size();
        out_pContainers->push_back(0); // its place is before those within
    }
    std::uint64_t uiSize = 4 + in_chunk.m_vData.size(); // form type, or the count of cue points
    for (auto it = in_chunk.m_children.begin(); it != in_chunk.m_children.end(); ++it) {
        if (in_chunk.m_uiId == Chunk::makeId("cue ")) {
            uiSize += it->m_uiId == Chunk::makeId("cuep") ? it->m_vData.size() : 0;
            continue;
        }
        const std::uint64_t uiData = ofData(*it, out_pContainers);
        uiSize += s_uiHeader + uiData + (isPadded(*it, uiData, isAtEndOf(in_chunk, it)) ? 1 : 0);
    }
    if (out_pContainers != nullptr)
        (*out_pContainers)[uiIndex] = uiSize;
    return uiSize;
}

std::uint64_t ChunkSize::inHeader(const Chunk& in_chunk, std::uint64_t in_uiDataSize, bool in_bAtEnd)
{
    return in_bAtEnd && in_chunk.m_uiClaimedSize > in_uiDataSize ? in_chunk.m_uiClaimedSize : in_uiDataSize;
}

bool ChunkSize::isPadded(const Chunk& in_chunk, std::uint64_t in_uiDataSize, bool in_bAtEnd)
{
    const bool bCut = inHeader(in_chunk, in_uiDataSize, in_bAtEnd) != in_uiDataSize;
    return in_uiDataSize % 2 == 1 && !(in_bAtEnd && (in_chunk.m_bPaddingMissing || bCut));
}

bool ChunkSize::isDataInPlace(const Chunk& in_chunk, std::uint64_t in_uiFileOffset)
{
    if (!in_chunk.isContainer())
        return in_chunk.m_uiSizeLeftInFile == 0 || in_chunk.m_uiFileOffset == in_uiFileOffset;
    std::uint64_t uiOffset = in_uiFileOffset + s_uiHeader + sizeof in_chunk.m_uiFormType;
    for (auto it = in_chunk.m_children.begin(); it != in_chunk.m_children.end(); ++it) {
        if (!isDataInPlace(*it, uiOffset))
            return false;
        const std::uint64_t uiData = ofData(*it);
        uiOffset += s_uiHeader + uiData + (isPadded(*it, uiData, isAtEndOf(in_chunk, it)) ? 1 : 0);
    }
    return true;
}

} // namespace Corvana::IFF
