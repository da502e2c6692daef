// SPDX-License-Identifier: Apache-2.0
#include "IFFFormWriter.h"

#include "IFFBytes.h"
#include "IFFChunkSize.h"

#include <algorithm>

namespace Corvana::IFF {
namespace {

constexpr std::size_t s_uiMaxPending = 1 << 16;

} // namespace

FormWriter::FormWriter(std::ostream& out_stream, const std::vector<std::uint64_t>& in_vContainerSizes)
    : m_stream(out_stream)
    , m_itContainerSize(in_vContainerSizes.begin())
{
    m_vPending.reserve(s_uiMaxPending);
}

void FormWriter::write(const Chunk& in_root, std::span<const std::uint8_t> in_trailing)
{
    writeChunk(in_root, false);
    put(in_trailing);
    flush();
}

void FormWriter::writeChunk(const Chunk& in_chunk, bool in_bAtEnd)
{
    if (!m_stream)
        return;
    const std::uint64_t uiSize = in_chunk.isContainer() ? *m_itContainerSize++ : ChunkSize::ofData(in_chunk);
    putNumber(in_chunk.m_uiId);
    putNumber(static_cast<std::uint32_t>(ChunkSize::inHeader(in_chunk, uiSize, in_bAtEnd)));
    writeContents(in_chunk);
    if (ChunkSize::isPadded(in_chunk, uiSize, in_bAtEnd))
        put({&in_chunk.m_ucPadding, 1});
}

void FormWriter::writeContents(const Chunk& in_chunk)
{
    if (in_chunk.isContainer() && in_chunk.m_uiId == Chunk::makeId("cue ")) {
        writeCuePoints(in_chunk);
    } else if (in_chunk.isContainer()) {
        putNumber(in_chunk.m_uiFormType);
        for (auto it = in_chunk.m_children.begin(); it != in_chunk.m_children.end(); ++it)
            writeChunk(*it, ChunkSize::isAtEndOf(in_chunk, it));
    }
    put(in_chunk.m_vData);
    if (in_chunk.m_uiSizeLeftInFile != 0) {
        flush();
        m_stream.seekp(in_chunk.m_uiSizeLeftInFile, std::ios_base::cur);
    }
}

void FormWriter::writeCuePoints(const Chunk& in_chunk)
{
    const auto isPoint = [](const Chunk& in_child) { return in_child.m_uiId == Chunk::makeId("cuep"); };
    const auto iCount = std::count_if(in_chunk.m_children.begin(), in_chunk.m_children.end(), isPoint);
    putNumber(static_cast<std::uint32_t>(iCount));
    for (const Chunk& child : in_chunk.m_children)
        if (isPoint(child))
            put(child.m_vData);
}

void FormWriter::putNumber(std::uint32_t in_uiNumber)
{
    if (m_vPending.size() + sizeof in_uiNumber > s_uiMaxPending)
        flush();
    appendLittleEndian(m_vPending, in_uiNumber);
}

void FormWriter::put(std::span<const std::uint8_t> in_bytes)
{
    if (m_vPending.size() + in_bytes.size() > s_uiMaxPending)
        flush();
    if (in_bytes.size() <= s_uiMaxPending)
        m_vPending.insert(m_vPending.end(), in_bytes.begin(), in_bytes.end());
    else
        m_stream.write(reinterpret_cast<const char*>(in_bytes.data()), static_cast<std::streamsize>(in_bytes.size()));
}

void FormWriter::flush()
{
    m_stream.write(reinterpret_cast<const char*>(m_vPending.data()), static_cast<std::streamsize>(m_vPending.size()));
    m_vPending.clear();
}

} // namespace Corvana::IFF
