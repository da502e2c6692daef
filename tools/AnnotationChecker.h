// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/IFFParser.h"
#include "corvana/IFFWavRecords.h"

#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Something about a recording that its owner may want to know or to mend.
struct Finding
{
    enum Severity
    {
        ERROR,   ///< the regions cannot be read, or never be changed
        WARNING, ///< they can, although something is wrong
        REMARK   ///< nothing is wrong, but a change of the regions would bring a surprise
    };

    Severity m_severity;
    std::uint64_t m_uiOffset; ///< of the byte in the file that this is about
    std::string m_strRecord;  ///< what stands there, such as "cue point 3"
    std::string m_strFault;
    std::string m_strRemedy;
    bool m_bMendable; ///< writing the file anew mends it
};

/// Looks for all that is wrong with the chunks and the regions of a WAV file, instead of stopping at the first fault as
/// reading does. Its errors are those for which AnnotatedFile refuses a file, regions that reading passes over because
/// a byte before them is missing, and a form that is too large to be written. The audio is passed over.
class AnnotationChecker
{
public:
    /// More findings in a file are only counted: it may hold as many as it has bytes.
    static constexpr std::size_t s_uiMaxNbOfFindings = 1000;

    /// Replaces what was found before. Returns why the file cannot be opened or read; empty when it could.
    std::string check(const std::string& in_strPath);

    /// By severity, then in the order of the file.
    const std::vector<Finding>& findings() const { return m_vFindings; }
    unsigned long getNbOf(Finding::Severity in_severity) const { return m_auiCounts[in_severity]; }
    bool isMendable() const { return m_bMendable; }
    /// Whether the regions can be read. Those of a form that is too large can, although that is an error.
    bool isReadable() const { return getNbOf(Finding::ERROR) == (m_bTooLarge ? 1U : 0U); }
    /// Regions that can be read; 0 when none can.
    unsigned long getNbOfRegions() const { return isReadable() ? m_points.size() : 0; }

private:
    using Chunk = IFF::Chunk;

    /// What belongs to a cue identifier.
    struct Point
    {
        std::uint64_t m_uiOffset = 0;
        std::uint32_t m_uiStart = 0;
        bool m_bHasLength = false;
        bool m_bHasLabel = false;
        bool m_bHasType = false;
    };

    /// Findings are only counted by now: working out their texts would be in vain.
    bool isFull() const { return m_vFindings.size() >= s_uiMaxNbOfFindings; }
    void add(Finding in_finding);
    bool hasSystemFailed();
    std::string getSystemFault() const;
    bool checkBeginning();
    void checkForm();
    void checkLargeness();
    void checkHidden(const Chunk& in_container);
    void checkFormSize();
    void checkTrailingBytes();
    void checkChunks(const Chunk& in_container);
    void checkChunk(const Chunk& in_chunk);
    void checkCut(const Chunk& in_chunk, bool in_bInForm);
    void checkContainer(const Chunk& in_chunk);
    void checkFormat();
    void checkFormatFields(const Chunk& in_chunk, const IFF::WavFmtChunk& in_format);
    void checkAudio();
    void checkRegions();
    void checkCuePoints(const Chunk& in_chunk);
    void checkCuePoint(const Chunk& in_chunk);
    void checkLength(const Chunk& in_chunk);
    void takeType(const Chunk& in_chunk);
    void checkLabel(const Chunk& in_chunk);
    void checkLabelText(const Chunk& in_chunk, const IFF::WavLabelChunk& in_label);
    Point* pointOf(const Chunk& in_chunk, std::uint32_t in_uiCueId, const std::string& in_strRecord);
    void checkWholeness();
    void checkGaps();
    void checkReading();
    bool readNumber(std::uint64_t in_uiOffset, std::uint32_t& out_uiNumber);

    std::ifstream m_stream;
    std::uint64_t m_uiFileSize = 0;
    int m_iSystemError = 0; ///< why the file could not be read to where it had to be
    IFF::IFFParser m_parser;
    std::uint32_t m_uiNbOfSamples = 0;
    std::map<std::uint32_t, Point> m_points;
    unsigned m_uiNbOfLists = 0;
    bool m_bTooLarge = false;
    bool m_bRewritable = true; ///< writing the file anew mends what is mendable

    std::vector<Finding> m_vFindings;
    unsigned long m_auiCounts[3] = {};
    bool m_bMendable = false;
};

} // namespace Corvana::Tools
