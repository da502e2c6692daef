// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/IFFChunk.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <vector>

namespace Corvana::IFF {

/// Writes a tree of chunks as a file. Data that was left in the file is passed over.
class FormWriter
{
public:
    /// The sizes of the containers, as ChunkSize::ofData() gives them.
    FormWriter(std::ostream& out_stream, const std::vector<std::uint64_t>& in_vContainerSizes);

    /// Stops when the stream fails.
    void write(const Chunk& in_root, std::span<const std::uint8_t> in_trailing);

private:
    void writeChunk(const Chunk& in_chunk, bool in_bAtEnd);
    void writeContents(const Chunk& in_chunk);
    void writeCuePoints(const Chunk& in_chunk);
    void put(std::span<const std::uint8_t> in_bytes);
    void putNumber(std::uint32_t in_uiNumber);
    void flush();

    std::ostream& m_stream;
    std::vector<std::uint64_t>::const_iterator m_itContainerSize;
    std::vector<std::uint8_t> m_vPending; // what is small goes out together
};

} // namespace Corvana::IFF
