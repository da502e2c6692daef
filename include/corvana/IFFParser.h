// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/IFFChunk.h"
#include "corvana/InputStreamable.h"
#include "corvana/OutputStreamable.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace Corvana::IFF {

/// The place of a chunk in a tree: the list that contains it, and where in it. Holds while the chunk and those around
/// it stay where they are; other chunks may come and go.
class CORVANA_API ChunkPos
{
public:
    /// Names no chunk: nothing was found, or the chunk was unlinked.
    bool isNull() const { return m_vPath.empty() || m_bUnlinked; }
    /// Only when not null.
    Chunk& chunk() const { return *m_vPath.back().m_it; }
    /// The list that holds the chunk. Only when not null.
    Chunk::List& list() const { return *m_vPath.back().m_pList; }

private:
    friend class IFFParser;
    struct Step
    {
        Chunk::List* m_pList;
        Chunk::List::iterator m_it;
    };

    bool toNext();
    bool toNextOf(Chunk::ChunkId in_uiId);

    std::vector<Step> m_vPath; // from the root; the last step is the chunk
    Chunk::ChunkId m_uiSearched = 0;
    bool m_bUnlinked = false; // the last step is already what comes behind the chunk that was here
};

/// A RIFF file of form "WAVE" as a tree of chunks. What is read and written again unchanged keeps every byte, but for
/// what is mended below.
///
/// Files that recorders leave behind are read as far as they go, each oddity with a warning of the logger
/// "kestrivon.iff.IFFParser":
/// - A size of the form that does not end on a chunk's end inside the file is not believed; the form then reaches to
///   the end of the file, or to the first bytes that cannot be a chunk's header.
/// - A chunk that claims more than is left of its container is cut there.
/// - "data" of size 0xFFFFFFFF, or of size 0 in a form of size 0 or 0xFFFFFFFF, reaches to the end of the file.
/// - A missing padding byte is no fault; behind the form's last chunk it is written.
/// - "cue " has as many points as both its count and its data allow; the count becomes theirs.
/// - Containers nested deeper than s_uiMaxDepth stay plain bytes.
/// Bytes behind the form are kept. Refused, with an error: what is no RIFF form "WAVE" (also RIFX and RF64), a read
/// error, and more than s_uiMaxNbOfChunks chunks. Memory: the file's size, and 160 bytes for each chunk.
class CORVANA_API IFFParser : public InputStreamable, public OutputStreamable
{
public:
    static constexpr unsigned s_uiMaxDepth = 64;
    static constexpr unsigned long s_uiMaxNbOfChunks = 4000000;

    IFFParser();
    ~IFFParser() override;
    IFFParser(const IFFParser&);
    IFFParser(IFFParser&&) noexcept;
    IFFParser& operator=(const IFFParser&);
    IFFParser& operator=(IFFParser&&) noexcept;

    /// Replaces the tree with that of a file, from the stream's position to its end. On success the stream is good,
    /// although its end was reached; on failure its fail state is set and the tree is empty.
    std::istream& read(std::istream& io_stream) override;
    /// The same, but the bytes of "data" chunks are passed over: it takes hardly any time and memory. Such a tree
    /// cannot be written. Wants a stream that can seek; another is read through.
    std::istream& readWithoutAudio(std::istream& io_stream);
    /// Writes the file, with the size of every container as it is now. The fail state is set, with an error and
    /// before anything is written, when a size passes 32 bits, when data was left in the file, or when there is no
    /// tree.
    std::ostream& write(std::ostream& out_stream) const override;

    /// Whether write() would be able to: the same checks, with the same errors.
    bool canBeWritten() const;
    /// Whether there is a tree, of which no size passes 32 bits; otherwise with the same errors.
    bool fitsFile() const;

    /// Whether update() can be used: all data left in the file would stay where it was read, and no size passes 32
    /// bits. Logs nothing.
    bool canBeUpdated() const;
    /// Writes into the file that readWithoutAudio() read, from where reading began: everything but the data that was
    /// left there, which is passed over. The file's former end may lie behind the position reached; the caller cuts it
    /// off. Wants a stream that can seek; the fail state is set when canBeUpdated() is false.
    std::ostream& update(std::ostream& out_stream) const;

    /// There is no tree.
    bool isEmpty() const { return m_form.empty(); }
    /// The "RIFF" chunk; when there is none, an empty form "WAVE" is made.
    Chunk& root();
    /// The bytes behind the form.
    const std::vector<std::uint8_t>& getTrailingBytes() const { return m_vTrailing; }

    /// The first chunk with this identifier, depth first and in file order, the root included. False, with a null
    /// position: there is none.
    bool find(Chunk::ChunkId in_uiId, ChunkPos& out_pos);
    /// Goes on from the position to the next chunk with the identifier that was searched. False, with a null position:
    /// there is no more. A whole walk takes time in proportion to the number of chunks.
    bool findNext(ChunkPos& io_pos) const;
    /// Takes the chunk out of its list and destroys it. The position is null then, but findNext() goes on behind it.
    /// False: it was null.
    bool unlink(ChunkPos& io_pos);

private:
    std::istream& readForm(std::istream& io_stream, bool in_bWithAudio);
    std::ostream& writeForm(std::ostream& out_stream) const;
    ChunkPos start();

    Chunk::List m_form; // the root chunk, or nothing
    std::vector<std::uint8_t> m_vTrailing;
};

} // namespace Corvana::IFF
