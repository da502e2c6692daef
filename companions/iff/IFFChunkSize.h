// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/IFFChunk.h"

#include <cstdint>
#include <vector>

namespace Corvana::IFF {

/// What chunks take in a file. 64 bits: a tree in memory may be larger than a file can be.
class ChunkSize
{
public:
    /// The bytes of a chunk's header.
    static constexpr std::uint64_t s_uiHeader = 8;

    /// Whether nothing comes behind the child in its container, so that the container's end is the child's as well. The
    /// oddities with which such a child was read are written again: nothing else in the file depends on them. Never in
    /// the form itself, which grows at its end.
    static bool isAtEndOf(const Chunk& in_container, Chunk::List::const_iterator in_itChild);

    /// The data, or all that is within a container. Appends, when told where, the sizes of all containers within and of
    /// the chunk itself, in the order in which their headers are written.
    static std::uint64_t ofData(const Chunk& in_chunk, std::vector<std::uint64_t>* out_pContainers = nullptr);

    /// The size that goes into the header.
    static std::uint64_t inHeader(const Chunk& in_chunk, std::uint64_t in_uiDataSize, bool in_bAtEnd);
    static bool isPadded(const Chunk& in_chunk, std::uint64_t in_uiDataSize, bool in_bAtEnd);

    /// Whether all data that was left in the file would stand there again, with the chunk's header at this offset.
    static bool isDataInPlace(const Chunk& in_chunk, std::uint64_t in_uiFileOffset);

private:
    static std::uint64_t ofContainer(const Chunk& in_chunk, std::vector<std::uint64_t>* out_pContainers);
};

} // namespace Corvana::IFF
