// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace Corvana::Test {

/// What the documented rules (docs/wav-annotations.md, "What reading does with odd files") make of the bytes of a WAV
/// file: a second reading, written for clearness alone and without the library, which tests compare the library's
/// with. Needs the whole file in memory.
struct PlainWav
{
    struct PlainChunk
    {
        std::string m_strId;
        std::string m_strFormType; ///< of "RIFF" and "LIST"
        std::size_t m_uiOffset = 0;
        std::size_t m_uiBegin = 0; ///< of the data
        std::size_t m_uiEnd = 0;   ///< of the data that are there
        bool m_bContainer = false;
        bool m_bUnreadable = false; ///< a container by its name, of which the bytes are kept as they are
        bool m_bCut = false;        ///< claims more than is left
        bool m_bUnpadded = false;   ///< of odd size, without the byte behind it
        char m_cPadding = 0;
        std::string m_strRest; ///< of a container: bytes behind the last child, too few for one more
        std::vector<PlainChunk> m_vChildren;
    };

    /// In samples, as files hold it.
    struct Region
    {
        std::string m_strType; ///< in capitals; empty: an identifier that the file skips
        std::uint32_t m_uiStart = 0;
        std::uint32_t m_uiLength = 0;

        friend bool operator==(const Region&, const Region&) = default;
    };

    explicit PlainWav(const std::string& in_strBytes);

    /// Part of the message with which the library refuses the file; empty: its regions can be read.
    std::string m_strRefusal;
    std::vector<PlainChunk> m_vChunks;
    std::string m_strBehind; ///< bytes behind the form
    std::uint32_t m_uiSampleRate = 0;
    std::uint32_t m_uiNbOfSamples = 0;
    std::vector<Region> m_vRegions; ///< only when nothing is refused

    /// What is odd, by words of this class's own. A change of the regions mends the former; the latter stay.
    std::set<std::string> m_mendable;
    std::set<std::string> m_lasting;
    unsigned m_uiNbOfNotes = 0;
    bool m_bHidesChunks = false;      ///< behind an odd size whose padding byte is missing
    bool m_bPaddingUncounted = false; ///< the form's size leaves the last padding byte out
    bool m_bHasHolder = false;        ///< some container holds the records of regions
    bool m_bHolderGoes = false;       ///< it is a "LIST" that has nothing else
    /// Regions cannot be cleared: they are alone in a container that is no "LIST".
    bool m_bHolderCannotGo = false;

    std::size_t size() const { return m_strBytes.size(); }
    bool hasSkipped() const;
    /// How many chunks of this name there are, at any depth.
    std::size_t count(const std::string& in_strId) const { return find(in_strId).size(); }
    /// The bytes of all chunks "data".
    std::string audio() const;
    /// Everything but the regions and lists that are empty without them, in words that can be compared.
    std::string foreign() const;

private:
    bool refuse(const std::string& in_strReason);
    std::string bytes(std::size_t in_uiBegin, std::size_t in_uiEnd) const;
    std::uint32_t number(std::size_t in_uiOffset, unsigned in_uiNbOfBytes = 4) const;
    std::uint32_t field(const PlainChunk& in_chunk, std::size_t in_uiOffset, unsigned in_uiNbOfBytes = 4) const;

    bool readBeginning();
    bool isFormSizeTrue();
    void readForm(bool in_bBelieved);
    PlainChunk readChunk(std::size_t in_uiOffset, std::size_t in_uiContainerEnd, unsigned in_uiDepth);
    void readContainer(PlainChunk& inout_chunk, unsigned in_uiDepth);
    void findHidden(const std::vector<PlainChunk>& in_vChunks);
    void collect(const std::vector<PlainChunk>& in_vChunks, const std::string& in_strId,
                 std::vector<const PlainChunk*>& out_vFound) const;
    std::vector<const PlainChunk*> find(const std::string& in_strId) const;
    const PlainChunk* holderOf(const std::vector<PlainChunk>& in_vChunks, const PlainChunk* in_pChunk,
                               const PlainChunk* in_pHolder) const;

    bool readFormat();
    bool readRegions();
    void judgeRegions();
    void findHolder();
    std::string foreign(const std::vector<PlainChunk>& in_vChunks) const;

    std::string m_strBytes;
    std::size_t m_uiFormSize = 0;
    std::size_t m_uiDoubted = 0; // from here on, what the form's size says does not count
};

/// The type that a label stands for, in capitals; empty when it is none.
std::string plainType(const std::string& in_strLabel);

} // namespace Corvana::Test
