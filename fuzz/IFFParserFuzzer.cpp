// SPDX-License-Identifier: Apache-2.0
// Any bytes as a WAV file. The last four say what is done to its tree: which of the identifiers in it is searched, and
// which of the chunks found are taken out. A tree that was read is written and read again as the same tree, and written
// again as the same bytes; what is taken out is what is missing then, and nothing else.
#include "FuzzSupport.h"

#include "corvana/IFFParser.h"

#include <algorithm>
#include <list>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using IFF::Chunk;
using IFF::ChunkPos;
using IFF::IFFParser;

constexpr std::size_t s_uiControlBytes = 4;
constexpr std::size_t s_uiChunkMemory = 256; // a chunk with its place in a list

bool read(const std::string& in_strBytes, IFFParser& out_parser)
{
    std::istringstream stream(in_strBytes);
    out_parser.read(stream);
    CORVANA_FUZZ_REQUIRE(stream.fail() == out_parser.isEmpty());
    CORVANA_FUZZ_REQUIRE(stream.fail() || stream.good());
    return stream.good();
}

std::string written(const IFFParser& in_parser)
{
    std::ostringstream stream;
    in_parser.write(stream);
    CORVANA_FUZZ_REQUIRE(stream.good());
    return stream.str();
}

// Where the form stood, and what was odd about how the file said so, may change; all that is in it may not.
bool sameTree(const Chunk& in_left, const Chunk& in_right)
{
    return in_left.m_uiId == in_right.m_uiId && in_left.m_uiFormType == in_right.m_uiFormType &&
           in_left.m_vData == in_right.m_vData && in_left.isContainer() == in_right.isContainer() &&
           std::equal(in_left.m_children.begin(), in_left.m_children.end(), in_right.m_children.begin(),
                      in_right.m_children.end(), sameTree);
}

std::size_t countChunks(const Chunk& in_chunk)
{
    std::size_t uiCount = 1;
    for (const Chunk& child : in_chunk.m_children)
        uiCount += countChunks(child);
    return uiCount;
}

std::size_t countBytes(const Chunk& in_chunk)
{
    std::size_t uiBytes = in_chunk.m_vData.capacity();
    for (const Chunk& child : in_chunk.m_children)
        uiBytes += countBytes(child);
    return uiBytes;
}

// Depth first and in file order, as a search is to go.
void listAll(Chunk::List& in_list, std::vector<std::pair<Chunk::List*, Chunk*>>& out_vAll)
{
    for (Chunk& chunk : in_list) {
        out_vAll.emplace_back(&in_list, &chunk);
        if (chunk.isContainer())
            listAll(chunk.m_children, out_vAll);
    }
}

void requireSearch(IFFParser& inout_parser, Chunk::ChunkId in_uiId)
{
    std::vector<std::pair<Chunk::List*, Chunk*>> vAll;
    vAll.emplace_back(nullptr, &inout_parser.root());
    listAll(inout_parser.root().m_children, vAll);
    ChunkPos pos;
    bool bFound = inout_parser.find(in_uiId, pos);
    for (const auto& [pList, pChunk] : vAll) {
        if (pChunk->m_uiId != in_uiId)
            continue;
        CORVANA_FUZZ_REQUIRE(bFound && !pos.isNull() && &pos.chunk() == pChunk);
        CORVANA_FUZZ_REQUIRE(pList == nullptr || &pos.list() == pList);
        bFound = inout_parser.findNext(pos);
    }
    CORVANA_FUZZ_REQUIRE(!bFound && pos.isNull());
}

// Takes out those of the chunks found whose bit is set; a chunk goes with all that is in it.
void requireUnlink(IFFParser& inout_parser, Chunk::ChunkId in_uiId, unsigned in_uiBits)
{
    ChunkPos pos;
    std::size_t uiLeft = countChunks(inout_parser.root());
    unsigned uiIndex = 0;
    for (bool bFound = inout_parser.find(in_uiId, pos); bFound; bFound = inout_parser.findNext(pos)) {
        if ((in_uiBits >> (uiIndex++ % 8) & 1) == 0)
            continue;
        uiLeft -= countChunks(pos.chunk());
        CORVANA_FUZZ_REQUIRE(inout_parser.unlink(pos) && pos.isNull() && !inout_parser.unlink(pos));
    }
    CORVANA_FUZZ_REQUIRE(inout_parser.isEmpty() ? uiLeft == 0 : countChunks(inout_parser.root()) == uiLeft);
}

// Another such reading, through a stream that passes over the audio.
void requireSameWithoutAudio(const std::string& in_strBytes, IFFParser& in_whole)
{
    IFFParser parser;
    std::istringstream stream(in_strBytes);
    parser.readWithoutAudio(stream);
    CORVANA_FUZZ_REQUIRE(stream.good());
    CORVANA_FUZZ_REQUIRE(parser.root().getDataSize() == in_whole.root().getDataSize());
    CORVANA_FUZZ_REQUIRE(parser.getTrailingBytes() == in_whole.getTrailingBytes());
    CORVANA_FUZZ_REQUIRE(countChunks(parser.root()) == countChunks(in_whole.root()));
    if (!parser.canBeUpdated())
        return;
    std::stringstream file(in_strBytes);
    parser.update(file);
    CORVANA_FUZZ_REQUIRE(file.good());
    const auto uiEnd = static_cast<std::size_t>(file.tellp());
    CORVANA_FUZZ_REQUIRE(file.str().substr(0, uiEnd) == written(in_whole));
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::size_t uiControl = std::min(in_uiSize, s_uiControlBytes);
    ByteReader control(in_pData + (in_uiSize - uiControl), uiControl);
    const unsigned uiWhich = control.takeByte();
    const unsigned uiBits = control.takeByte();
    const std::string strFile(ByteReader(in_pData, in_uiSize - uiControl).rest());

    IFFParser parser;
    if (!read(strFile, parser))
        return;
    CORVANA_FUZZ_REQUIRE(countBytes(parser.root()) <= 2 * strFile.size() + 16);
    CORVANA_FUZZ_REQUIRE(countChunks(parser.root()) * 8 <= strFile.size());
    static_assert(sizeof(Chunk) + 2 * sizeof(void*) <= s_uiChunkMemory);

    const std::string strOnce = written(parser);
    IFFParser again;
    CORVANA_FUZZ_REQUIRE(read(strOnce, again));
    CORVANA_FUZZ_REQUIRE(sameTree(parser.root(), again.root()));
    CORVANA_FUZZ_REQUIRE(parser.getTrailingBytes() == again.getTrailingBytes());
    CORVANA_FUZZ_REQUIRE(written(again) == strOnce);
    CORVANA_FUZZ_REQUIRE(strOnce.size() <= strFile.size() + 8); // never more than a padding byte and a form type
    requireSameWithoutAudio(strFile, parser);

    std::vector<std::pair<Chunk::List*, Chunk*>> vAll;
    listAll(parser.root().m_children, vAll);
    const Chunk::ChunkId uiId = vAll.empty() ? Chunk::makeId("RIFF") : vAll[uiWhich % vAll.size()].second->m_uiId;
    requireSearch(parser, uiId);
    requireUnlink(parser, uiId, uiBits);
    if (parser.isEmpty())
        return;
    requireSearch(parser, uiId);
    const std::string strLess = written(parser);
    IFFParser less;
    CORVANA_FUZZ_REQUIRE(read(strLess, less));
    CORVANA_FUZZ_REQUIRE(written(less) == strLess);
}
