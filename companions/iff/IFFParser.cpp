// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFParser.h"

#include "IFFChunkSize.h"
#include "IFFFormReader.h"
#include "IFFFormWriter.h"
#include "corvana/Logger.h"

#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.iff.IFFParser")

namespace Corvana::IFF {
namespace {

constexpr std::uint64_t s_uiMaxSize = std::numeric_limits<std::uint32_t>::max();

bool hasDataLeftInFile(const Chunk& in_chunk)
{
    return in_chunk.m_uiSizeLeftInFile != 0 ||
           std::any_of(in_chunk.m_children.begin(), in_chunk.m_children.end(), hasDataLeftInFile);
}

} // namespace

// To the next chunk of the whole tree, depth first: within, behind, or behind one of those around.
bool ChunkPos::toNext()
{
    if (m_vPath.empty())
        return false;
    if (m_bUnlinked) {
        m_bUnlinked = false; // the step is already where the next chunk is, if there is one
    } else if (chunk().isContainer() && !chunk().m_children.empty()) {
        Chunk::List& children = chunk().m_children;
        m_vPath.push_back({&children, children.begin()});
        return true;
    } else {
        ++m_vPath.back().m_it;
    }
    while (m_vPath.back().m_it == m_vPath.back().m_pList->end()) {
        m_vPath.pop_back();
        if (m_vPath.empty())
            return false;
        ++m_vPath.back().m_it;
    }
    return true;
}

bool ChunkPos::toNextOf(Chunk::ChunkId in_uiId)
{
    while (toNext())
        if (chunk().m_uiId == in_uiId)
            return true;
    return false;
}

IFFParser::IFFParser() = default;
IFFParser::~IFFParser() = default;
IFFParser::IFFParser(const IFFParser&) = default;
IFFParser::IFFParser(IFFParser&&) noexcept = default;
IFFParser& IFFParser::operator=(const IFFParser&) = default;
IFFParser& IFFParser::operator=(IFFParser&&) noexcept = default;

std::istream& IFFParser::read(std::istream& io_stream)
{
    return readForm(io_stream, true);
}

std::istream& IFFParser::readWithoutAudio(std::istream& io_stream)
{
    return readForm(io_stream, false);
}

std::istream& IFFParser::readForm(std::istream& io_stream, bool in_bWithAudio)
{
    m_form.clear();
    m_vTrailing.clear();
    const std::istream::sentry ready(io_stream, true);
    if (!ready)
        return io_stream; // which has the reason in its state
    Chunk::List form(1);  // becomes the tree when it is whole, so that memory that runs out leaves none
    std::vector<std::uint8_t> vTrailing;
    if (!FormReader(io_stream, in_bWithAudio).read(form.back(), vTrailing)) {
        io_stream.setstate(std::ios_base::failbit);
        return io_stream;
    }
    m_form.swap(form);
    m_vTrailing.swap(vTrailing);
    return io_stream;
}

bool IFFParser::fitsFile() const
{
    if (m_form.empty()) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "No WAV file to write");
        return false;
    }
    const std::uint64_t uiSize = ChunkSize::ofData(m_form.front());
    if (uiSize > s_uiMaxSize) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "A WAV file cannot have " << uiSize << " bytes: its sizes have 32 bits");
        return false;
    }
    return true;
}

bool IFFParser::canBeWritten() const
{
    if (!fitsFile())
        return false;
    if (hasDataLeftInFile(m_form.front())) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "A WAV file that was read without its audio cannot be written");
        return false;
    }
    return true;
}

bool IFFParser::canBeUpdated() const
{
    return !m_form.empty() && ChunkSize::ofData(m_form.front()) <= s_uiMaxSize &&
           ChunkSize::isDataInPlace(m_form.front(), 0);
}

std::ostream& IFFParser::write(std::ostream& out_stream) const
{
    if (canBeWritten())
        return writeForm(out_stream);
    out_stream.setstate(std::ios_base::failbit);
    return out_stream;
}

std::ostream& IFFParser::update(std::ostream& out_stream) const
{
    if (canBeUpdated())
        return writeForm(out_stream);
    out_stream.setstate(std::ios_base::failbit);
    return out_stream;
}

std::ostream& IFFParser::writeForm(std::ostream& out_stream) const
{
    std::vector<std::uint64_t> vSizes;
    ChunkSize::ofData(m_form.front(), &vSizes);
    FormWriter(out_stream, vSizes).write(m_form.front(), m_vTrailing);
    return out_stream;
}

Chunk& IFFParser::root()
{
    if (m_form.empty())
        m_form.emplace_back(Chunk::makeId("RIFF")).m_uiFormType = Chunk::makeId("WAVE");
    return m_form.front();
}

// The root; only when there is one.
ChunkPos IFFParser::start()
{
    ChunkPos pos;
    pos.m_vPath.push_back({&m_form, m_form.begin()});
    return pos;
}

bool IFFParser::find(Chunk::ChunkId in_uiId, ChunkPos& out_pos)
{
    out_pos = ChunkPos();
    if (m_form.empty())
        return false;
    out_pos = start();
    out_pos.m_uiSearched = in_uiId;
    return out_pos.chunk().m_uiId == in_uiId || out_pos.toNextOf(in_uiId);
}

bool IFFParser::findNext(ChunkPos& io_pos) const
{
    return io_pos.toNextOf(io_pos.m_uiSearched);
}

bool IFFParser::unlink(ChunkPos& io_pos)
{
    if (io_pos.isNull())
        return false;
    ChunkPos::Step& step = io_pos.m_vPath.back();
    step.m_it = step.m_pList->erase(step.m_it);
    io_pos.m_bUnlinked = true;
    return true;
}

} // namespace Corvana::IFF
