// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/IFFParser.h"

#include <sstream>
#include <string>

namespace Corvana::Test {

inline std::string name(IFF::Chunk::ChunkId in_uiId)
{
    std::string strName;
    for (unsigned uiByte = 0; uiByte < 4; ++uiByte)
        strName.push_back(static_cast<char>((in_uiId >> (8 * uiByte)) & 0xFF));
    return strName;
}

/// A tree in one line, such as "RIFF:WAVE(fmt [16] data[4] LIST:adtl(labl[9] +3))": sizes of data in brackets, the
/// bytes behind the last child of a container with a plus.
inline std::string outline(const IFF::Chunk& in_chunk)
{
    std::string strText = name(in_chunk.m_uiId);
    if (!in_chunk.isContainer())
        return strText + "[" + std::to_string(in_chunk.m_vData.size()) + "]";
    strText += in_chunk.m_uiFormType == 0 ? "(" : ":" + name(in_chunk.m_uiFormType) + "(";
    std::string strBetween;
    for (const IFF::Chunk& child : in_chunk.m_children) {
        strText += strBetween + outline(child);
        strBetween = " ";
    }
    if (!in_chunk.m_vData.empty())
        strText += strBetween + "+" + std::to_string(in_chunk.m_vData.size());
    return strText + ")";
}

inline std::string outline(IFF::IFFParser& inout_parser)
{
    return inout_parser.isEmpty() ? "" : outline(inout_parser.root());
}

/// Whether the bytes were read as a WAV file.
inline bool readFrom(const std::string& in_strBytes, IFF::IFFParser& out_parser)
{
    std::istringstream stream(in_strBytes);
    out_parser.read(stream);
    return stream.good();
}

/// The outline of the tree that is read from these bytes; empty when they are refused.
inline std::string outlineOf(const std::string& in_strBytes)
{
    IFF::IFFParser parser;
    return readFrom(in_strBytes, parser) ? outline(parser) : "";
}

/// What is written; empty when writing fails.
inline std::string written(const IFF::IFFParser& in_parser)
{
    std::ostringstream stream;
    in_parser.write(stream);
    return stream.good() ? stream.str() : "";
}

/// What is written after these bytes were read.
inline std::string rewritten(const std::string& in_strBytes)
{
    IFF::IFFParser parser;
    return readFrom(in_strBytes, parser) ? written(parser) : "";
}

inline std::string trailing(const IFF::IFFParser& in_parser)
{
    return {in_parser.getTrailingBytes().begin(), in_parser.getTrailingBytes().end()};
}

/// All positions of an identifier that a search gives, as the chunks' data.
inline std::string found(IFF::IFFParser& inout_parser, IFF::Chunk::ChunkId in_uiId)
{
    std::string strFound;
    IFF::ChunkPos pos;
    for (bool bFound = inout_parser.find(in_uiId, pos); bFound; bFound = inout_parser.findNext(pos))
        strFound += "<" + std::string(pos.chunk().m_vData.begin(), pos.chunk().m_vData.end()) + ">";
    return strFound;
}

} // namespace Corvana::Test
