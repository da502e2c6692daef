// SPDX-License-Identifier: Apache-2.0
#include "IFFFormReader.h"

#include "IFFBytes.h"
#include "IFFChunkSize.h"
#include "corvana/IFFParser.h"
#include "corvana/Logger.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <sstream>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.iff.IFFParser")

namespace Corvana::IFF {
namespace {

constexpr std::uint32_t s_uiUnknownSize = 0xFFFFFFFF; // what recorders write that do not know yet
constexpr std::uint64_t s_uiCuePointSize = 24;
constexpr std::uint64_t s_uiContainerHead = 4; // form type, or the count of cue points
constexpr unsigned s_uiMaxNbOfWarnings = 20;

bool isPrintable(Chunk::ChunkId in_uiId)
{
    for (unsigned uiByte = 0; uiByte < 4; ++uiByte) {
        const unsigned uiCharacter = (in_uiId >> (8 * uiByte)) & 0xFF;
        if (uiCharacter < 0x20 || uiCharacter > 0x7E)
            return false;
    }
    return true;
}

std::string nameOf(Chunk::ChunkId in_uiId)
{
    std::ostringstream text;
    text.exceptions(std::ios_base::badbit); // else memory that runs out cuts the text, in silence
    text.imbue(std::locale::classic());
    if (!isPrintable(in_uiId)) {
        text << "0x" << std::hex << in_uiId;
        return text.str();
    }
    for (unsigned uiByte = 0; uiByte < 4; ++uiByte)
        text << static_cast<char>((in_uiId >> (8 * uiByte)) & 0xFF);
    return text.str();
}

std::string placeOf(const Chunk& in_chunk)
{
    return "Chunk " + nameOf(in_chunk.m_uiId) + " at byte " + std::to_string(in_chunk.m_uiFileOffset);
}

// Chunks that recordings and their regions consist of.
bool isOfRecordings(Chunk::ChunkId in_uiId)
{
    constexpr Chunk::ChunkId auiIds[] = {Chunk::makeId("fmt "), Chunk::makeId("data"), Chunk::makeId("fact"),
                                         Chunk::makeId("cue "), Chunk::makeId("LIST"), Chunk::makeId("ltxt"),
                                         Chunk::makeId("labl"), Chunk::makeId("note")};
    return std::find(std::begin(auiIds), std::end(auiIds), in_uiId) != std::end(auiIds);
}

bool isForm(const Chunk& in_chunk)
{
    return in_chunk.m_uiId == Chunk::makeId("RIFF") || in_chunk.m_uiId == Chunk::makeId("LIST");
}

} // namespace

Chunk::ChunkId FormReader::Header::id() const
{
    return littleEndian<Chunk::ChunkId>(m_aucBytes);
}

std::uint32_t FormReader::Header::size() const
{
    return littleEndian<std::uint32_t>(m_aucBytes + 4);
}

FormReader::FormReader(std::istream& inout_stream, bool in_bWithAudio)
    : m_source(inout_stream)
    , m_bWithAudio(in_bWithAudio)
{
}

bool FormReader::read(Chunk& out_root, std::vector<std::uint8_t>& out_vTrailing)
{
    if (!readRootHeader(out_root))
        return false;
    readForm(out_root, out_vTrailing);
    if (m_bTooManyChunks)
        return refuse("more than " + std::to_string(IFFParser::s_uiMaxNbOfChunks) + " chunks");
    if (m_source.hasFailed())
        return refuse("it could not be read to its end");
    return true;
}

bool FormReader::refuse(const std::string& in_strReason)
{
    CORVANA_LOG_ERROR(fileScopeLogger(), "Invalid WAV file : " << in_strReason);
    return false;
}

// A file may hold as many oddities as it has bytes.
void FormReader::warn(const std::string& in_strOddity)
{
    ++m_uiNbOfWarnings;
    if (m_uiNbOfWarnings <= s_uiMaxNbOfWarnings)
        CORVANA_LOG_WARN(fileScopeLogger(), in_strOddity);
    else if (m_uiNbOfWarnings == s_uiMaxNbOfWarnings + 1)
        CORVANA_LOG_WARN(fileScopeLogger(), "Further oddities of this WAV file are not told.");
}

// A writer that leaves the padding byte out moves what follows to where no reader looks: the first letter of its name
// is taken for that byte.
void FormReader::warnOfHidden(const Chunk::List& in_list, const Header& in_header)
{
    if (in_list.empty())
        return;
    // With a padding byte as it should be, 0, this is no name.
    const Chunk::ChunkId uiId = in_list.back().m_ucPadding | (in_header.id() << 8);
    if (isOfRecordings(uiId))
        warn(placeOf(in_list.back()) + " has an odd size without its padding byte. Chunk " + nameOf(uiId) +
             " behind it is not found.");
}

FormReader::Header FormReader::takeHeader(std::uint64_t in_uiEnd)
{
    Header header;
    const std::uint64_t uiLeft = in_uiEnd - m_source.position();
    header.m_uiTaken = m_source.take(header.m_aucBytes, std::min<std::uint64_t>(uiLeft, sizeof header.m_aucBytes));
    return header;
}

bool FormReader::readRootHeader(Chunk& out_root)
{
    const Header header = takeHeader(ByteSource::s_uiUnknown);
    std::uint8_t aucFormType[4];
    const std::size_t uiTaken = m_source.take(aucFormType, sizeof aucFormType);
    if (m_source.hasFailed())
        return refuse("it could not be read");
    if (header.m_uiTaken == 0)
        return refuse("it is empty");
    if (header.m_uiTaken < 4)
        return refuse("it is no RIFF file");
    const bool bKin = header.id() == Chunk::makeId("RF64") || header.id() == Chunk::makeId("RIFX");
    if (header.id() != Chunk::makeId("RIFF"))
        return refuse(bKin ? "it is " + nameOf(header.id()) + ", of which only RIFF is supported"
                           : "it is no RIFF file");
    if (uiTaken < sizeof aucFormType)
        return refuse("it ends within its first 12 bytes");
    out_root = Chunk(header.id());
    out_root.m_uiFormType = littleEndian<Chunk::ChunkId>(aucFormType);
    m_uiFormSize = header.size();
    if (out_root.m_uiFormType != Chunk::makeId("WAVE"))
        return refuse("its RIFF form is " + nameOf(out_root.m_uiFormType) + ", not WAVE");
    return true;
}

// Reads on as long as the form's size may be right; where it turns out wrong, it is as if it had never been said.
void FormReader::readForm(Chunk& inout_root, std::vector<std::uint8_t>& out_vTrailing)
{
    m_uiFormEnd = ChunkSize::s_uiHeader + m_uiFormSize;
    m_bFormSizeBelieved = m_uiFormSize != 0 && m_uiFormSize != s_uiUnknownSize && m_uiFormEnd <= m_source.end();
    while (!isFormOver()) {
        const Header header = takeHeader(ByteSource::s_uiUnknown);
        if (header.isWhole())
            warnOfHidden(inout_root.m_children, header);
        if (endsForm(header)) {
            out_vTrailing.assign(header.m_aucBytes, header.m_aucBytes + header.m_uiTaken);
            break;
        }
        if (!addChunk(inout_root.m_children, header, ByteSource::s_uiUnknown, 2))
            return;
        takeFormPadding(inout_root.m_children.back());
    }
    if (!m_bFormSizeBelieved && m_uiFormSize != 0 && m_uiFormSize != s_uiUnknownSize)
        warn("The size of the RIFF form, " + std::to_string(m_uiFormSize) +
             ", does not end on a chunk's end. The form reaches as far as there are chunks.");
    m_source.appendTo(out_vTrailing, ByteSource::s_uiUnknown);
}

bool FormReader::isFormOver()
{
    if (m_source.hasFailed())
        return true;
    const std::uint64_t uiPadding = m_bFormPadded ? 1 : 0;
    return m_bFormSizeBelieved && m_source.position() == m_uiFormEnd + uiPadding;
}

// Whether chunks stop here: bytes that are too few, or, where nobody says how far the form reaches, are no name.
bool FormReader::endsForm(const Header& in_header)
{
    if (!in_header.isWhole()) {
        m_bFormSizeBelieved = false;
        return true;
    }
    const std::uint64_t uiChunkEnd = m_source.position() + in_header.size();
    m_bFormSizeBelieved = m_bFormSizeBelieved && uiChunkEnd <= m_uiFormEnd;
    return !m_bFormSizeBelieved && !isPrintable(in_header.id());
}

// Some writers do not count the last padding byte among the form's.
void FormReader::takeFormPadding(Chunk& inout_chunk)
{
    if (!inout_chunk.m_bPaddingMissing)
        return;
    const bool bAtEnd = m_bFormSizeBelieved && m_source.position() == m_uiFormEnd;
    if (bAtEnd && m_source.peek() != 0)
        return;
    inout_chunk.m_bPaddingMissing = m_source.take(&inout_chunk.m_ucPadding, 1) == 0;
    m_bFormPadded = bAtEnd;
}

bool FormReader::reachesToEndOfFile(const Header& in_header, unsigned in_uiDepth) const
{
    if (in_uiDepth != 2 || in_header.id() != Chunk::makeId("data"))
        return false;
    return in_header.size() == s_uiUnknownSize ||
           (in_header.size() == 0 && (m_uiFormSize == 0 || m_uiFormSize == s_uiUnknownSize));
}

bool FormReader::countChunk()
{
    m_bTooManyChunks = ++m_uiNbOfChunks > IFFParser::s_uiMaxNbOfChunks;
    return !m_bTooManyChunks;
}

bool FormReader::addChunk(Chunk::List& inout_list, const Header& in_header, std::uint64_t in_uiEnd, unsigned in_uiDepth)
{
    if (!countChunk())
        return false;
    Chunk& chunk = inout_list.emplace_back(in_header.id());
    chunk.m_uiFileOffset = m_source.position() - ChunkSize::s_uiHeader;
    if (reachesToEndOfFile(in_header, in_uiDepth)) {
        readContents(chunk, ByteSource::s_uiUnknown, in_uiDepth);
        warn(placeOf(chunk) + " does not tell its size. It reaches to the end of the file.");
    } else {
        readChunk(chunk, in_header.size(), in_uiEnd, in_uiDepth);
    }
    return !m_bTooManyChunks && !m_source.hasFailed();
}

void FormReader::readChunk(Chunk& inout_chunk, std::uint64_t in_uiSize, std::uint64_t in_uiEnd, unsigned in_uiDepth)
{
    const std::uint64_t uiStart = m_source.position();
    readContents(inout_chunk, std::min(in_uiSize, in_uiEnd - uiStart), in_uiDepth);
    const std::uint64_t uiTaken = m_source.position() - uiStart;
    if (uiTaken == in_uiSize) {
        if (in_uiSize % 2 == 1)
            takePadding(inout_chunk, in_uiEnd);
        return;
    }
    inout_chunk.m_uiClaimedSize = static_cast<std::uint32_t>(in_uiSize);
    if (!m_source.hasFailed() && !m_bTooManyChunks)
        warn(placeOf(inout_chunk) + " claims " + std::to_string(in_uiSize) + " bytes, of which " +
             std::to_string(uiTaken) + " are there. It is cut.");
}

void FormReader::takePadding(Chunk& inout_chunk, std::uint64_t in_uiEnd)
{
    // What follows the last chunk of the form is not known to be its padding.
    const bool bKnown = in_uiEnd != ByteSource::s_uiUnknown && m_source.position() < in_uiEnd;
    inout_chunk.m_bPaddingMissing = !bKnown || m_source.take(&inout_chunk.m_ucPadding, 1) == 0;
}

void FormReader::readContents(Chunk& inout_chunk, std::uint64_t in_uiSize, unsigned in_uiDepth)
{
    if (inout_chunk.isContainer() && in_uiDepth > IFFParser::s_uiMaxDepth) {
        inout_chunk.m_bOpaque = true;
        warn(placeOf(inout_chunk) + " lies deeper than " + std::to_string(IFFParser::s_uiMaxDepth) +
             " containers. It is kept as it is.");
    } else if (inout_chunk.isContainer() && in_uiSize < s_uiContainerHead) {
        inout_chunk.m_bOpaque = true;
    }
    if (!inout_chunk.isContainer())
        readPlain(inout_chunk, in_uiSize);
    else if (isForm(inout_chunk))
        readChildren(inout_chunk, m_source.position() + in_uiSize, in_uiDepth);
    else
        readCuePoints(inout_chunk, in_uiSize);
}

void FormReader::readPlain(Chunk& inout_chunk, std::uint64_t in_uiSize)
{
    if (m_bWithAudio || inout_chunk.m_uiId != Chunk::makeId("data")) {
        m_source.appendTo(inout_chunk.m_vData, in_uiSize);
        return;
    }
    constexpr std::uint64_t uiMax = std::numeric_limits<std::uint32_t>::max();
    inout_chunk.m_uiSizeLeftInFile = static_cast<std::uint32_t>(std::min(uiMax, m_source.skip(in_uiSize)));
}

// Takes what a container begins with, a form type or a count. Where the file ends within, its bytes stay as they are.
bool FormReader::takeHead(Chunk& inout_chunk, std::uint32_t& out_uiHead)
{
    std::uint8_t aucHead[s_uiContainerHead];
    const std::size_t uiTaken = m_source.take(aucHead, sizeof aucHead);
    if (uiTaken == sizeof aucHead) {
        out_uiHead = littleEndian<std::uint32_t>(aucHead);
        return true;
    }
    inout_chunk.m_bOpaque = true;
    inout_chunk.m_vData.assign(aucHead, aucHead + uiTaken);
    return false;
}

// Recursion ends at IFFParser::s_uiMaxDepth.
void FormReader::readChildren(Chunk& inout_chunk, std::uint64_t in_uiEnd, unsigned in_uiDepth)
{
    if (!takeHead(inout_chunk, inout_chunk.m_uiFormType))
        return;
    while (m_source.position() < in_uiEnd) {
        const Header header = takeHeader(in_uiEnd);
        if (!header.isWhole()) {
            inout_chunk.m_vData.assign(header.m_aucBytes, header.m_aucBytes + header.m_uiTaken);
            return;
        }
        warnOfHidden(inout_chunk.m_children, header);
        if (!addChunk(inout_chunk.m_children, header, in_uiEnd, in_uiDepth + 1))
            return;
    }
}

void FormReader::readCuePoints(Chunk& inout_chunk, std::uint64_t in_uiSize)
{
    const std::uint64_t uiEnd = m_source.position() + in_uiSize;
    std::uint32_t uiCount = 0;
    if (!takeHead(inout_chunk, uiCount))
        return;
    const std::uint64_t uiWhole = (uiEnd - std::min(uiEnd, m_source.position())) / s_uiCuePointSize;
    if (uiCount > uiWhole)
        warn(placeOf(inout_chunk) + " counts " + std::to_string(uiCount) + " cue points, of which " +
             std::to_string(uiWhole) + " are there.");
    for (std::uint64_t uiPoint = 0; uiPoint < std::min<std::uint64_t>(uiCount, uiWhole); ++uiPoint) {
        if (!countChunk())
            return;
        Chunk& point = inout_chunk.m_children.emplace_back(Chunk::makeId("cuep"));
        point.m_uiFileOffset = m_source.position();
        if (!m_source.appendTo(point.m_vData, s_uiCuePointSize)) {
            inout_chunk.m_vData.swap(point.m_vData);
            inout_chunk.m_children.pop_back();
            return;
        }
    }
    m_source.appendTo(inout_chunk.m_vData, uiEnd - std::min(uiEnd, m_source.position()));
}

} // namespace Corvana::IFF
