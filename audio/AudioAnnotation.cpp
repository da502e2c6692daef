// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAnnotation.h"

#include "corvana/Assertion.h"
#include "corvana/BoostRegex.h"
#include "corvana/IFFWavRecords.h"
#include "corvana/Logger.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.annotation")

namespace Corvana::Audio {
namespace {

using Annotation = AnnotatedFile::Annotation;
using Annotations = std::vector<Annotation>;
using IFF::Chunk;
using IFF::ChunkPos;
using IFF::IFFParser;

constexpr Chunk::ChunkId s_uiFmt = Chunk::makeId("fmt ");
constexpr Chunk::ChunkId s_uiData = Chunk::makeId("data");
constexpr Chunk::ChunkId s_uiCue = Chunk::makeId("cue ");
constexpr Chunk::ChunkId s_uiCuePoint = Chunk::makeId("cuep");
constexpr Chunk::ChunkId s_uiLabel = Chunk::makeId("labl");
constexpr Chunk::ChunkId s_uiLabeledText = Chunk::makeId("ltxt");
constexpr Chunk::ChunkId s_uiNote = Chunk::makeId("note");
constexpr Chunk::ChunkId s_uiList = Chunk::makeId("LIST");
constexpr Chunk::ChunkId s_uiAssociatedData = Chunk::makeId("adtl");
constexpr Chunk::ChunkId s_uiRegion = Chunk::makeId("rgn ");

// Rounds a number of samples, which has 0.5 on top already, towards zero. Times come from callers, and a double that
// no integer holds must not reach the conversion: NaN counts as 0, the rest as the nearest 64-bit integer. Of that,
// files keep the lower 32 bits.
std::uint32_t toSamples(double in_dSamples)
{
    constexpr double dEnd = 9223372036854775808.0; // 2^63
    std::int64_t iSamples = 0;
    if (in_dSamples >= dEnd)
        iSamples = std::numeric_limits<std::int64_t>::max();
    else if (in_dSamples <= -dEnd)
        iSamples = std::numeric_limits<std::int64_t>::min();
    else if (!std::isnan(in_dSamples))
        iSamples = static_cast<std::int64_t>(in_dSamples);
    return static_cast<std::uint32_t>(iSamples);
}

template <class RecordT>
bool decode(const Chunk& in_chunk, RecordT& out_record, const char* in_szChunk)
{
    if (out_record.decode(in_chunk.m_vData.data(), in_chunk.getDataSize()))
        return true;
    CORVANA_LOG_WARN(fileScopeLogger(), "Chunk " << in_szChunk << " at byte " << in_chunk.m_uiFileOffset
                                                 << " is too short for its fields. Skipping it...");
    return false;
}

template <class RecordT>
void encode(const RecordT& in_record, Chunk& out_chunk)
{
    std::vector<std::uint8_t> vData;
    in_record.encode(vData);
    out_chunk.setData(vData.data(), static_cast<std::uint32_t>(vData.size()));
}

/// Puts the records of a file together, by their cue identifiers.
class AnnotationCollector
{
public:
    AnnotationCollector(IFFParser& inout_parser, double in_dSampleRate, Annotations& out_vAnnotations)
        : m_parser(inout_parser)
        , m_dSampleRate(in_dSampleRate)
        , m_vAnnotations(out_vAnnotations)
    {
    }

    /// False, with an error: they do not make annotations.
    bool collect()
    {
        if (!takeCuePoints())
            return false;
        takeLabeledTexts();
        takeLabels();
        if (m_vHasStop != m_vHasStart)
            return refuse("Error, at least a start time is missing in the annotations");
        if (m_vHasLabel != m_vHasStart)
            return refuse("Error, at least a label is missing in the annotations");
        closeUp();
        return true;
    }

private:
    static bool refuse(const char* in_szReason)
    {
        CORVANA_LOG_ERROR(fileScopeLogger(), in_szReason);
        return false;
    }

    bool takeCuePoints()
    {
        ChunkPos pos;
        for (bool bFound = m_parser.find(s_uiCue, pos); bFound; bFound = m_parser.findNext(pos))
            for (const Chunk& child : pos.chunk().m_children)
                if (!takeCuePoint(child))
                    return false;
        return true;
    }

    bool takeCuePoint(const Chunk& in_chunk)
    {
        IFF::WavCuePointChunk point;
        point.decode(in_chunk.m_vData.data(), in_chunk.getDataSize()); // the reader makes points of whole records only
        const std::size_t uiIndex = point.m_uiCueId;
        if (uiIndex > AnnotatedFile::s_uiMaxCueId) {
            CORVANA_LOG_ERROR(fileScopeLogger(), "Error, cue point identifier is too large : " << uiIndex);
            return false;
        }
        if (uiIndex >= m_vAnnotations.size()) {
            m_vAnnotations.resize(uiIndex + 1);
            m_vHasStart.resize(uiIndex + 1);
        }
        m_vAnnotations[uiIndex].m_dStartTime = point.m_uiSampleOffset / m_dSampleRate;
        m_vHasStart[uiIndex] = true;
        return true;
    }

    // Calls in_take for every chunk with this identifier whose cue point is there.
    template <class RecordT, class Take>
    void takeRecords(Chunk::ChunkId in_uiId, const char* in_szChunk, Take in_take)
    {
        ChunkPos pos;
        for (bool bFound = m_parser.find(in_uiId, pos); bFound; bFound = m_parser.findNext(pos)) {
            RecordT record;
            if (!decode(pos.chunk(), record, in_szChunk))
                continue;
            if (record.m_uiCueId < m_vAnnotations.size())
                in_take(record);
            else // of labels, too: the text is what log rules know
                refuse("Error, cue point ID in ltxt chunk has no associated cue. Skipping it...");
        }
    }

    void takeLabeledTexts()
    {
        m_vHasStop.resize(m_vHasStart.size());
        takeRecords<IFF::WavLabeledTextChunk>(s_uiLabeledText, "ltxt", [this](const auto& in_record) {
            Annotation& annotation = m_vAnnotations[in_record.m_uiCueId];
            annotation.m_dStopTime = in_record.m_uiSampleLength / m_dSampleRate + annotation.m_dStartTime;
            m_vHasStop[in_record.m_uiCueId] = true;
        });
    }

    void takeLabels()
    {
        m_vHasLabel.resize(m_vHasStart.size());
        takeRecords<IFF::WavLabelChunk>(s_uiLabel, "labl", [this](const auto& in_record) {
            const auto type = Annotation::parseAnnotationType(in_record.m_strText.c_str());
            if (!type.isValid()) {
                CORVANA_LOG_ERROR(fileScopeLogger(), "Error, label " << in_record.m_strText
                                                                     << " in WAV file does not match any annotation");
                return;
            }
            m_vAnnotations[in_record.m_uiCueId].m_type = type.getValue();
            m_vHasLabel[in_record.m_uiCueId] = true;
        });
    }

    // Identifiers begin at 1, indices at 0.
    void closeUp()
    {
        if (!m_vAnnotations.empty() && !m_vHasStart.front()) {
            m_vAnnotations.erase(m_vAnnotations.begin());
            m_vHasStart.erase(m_vHasStart.begin());
        }
        if (std::find(m_vHasStart.begin(), m_vHasStart.end(), false) != m_vHasStart.end())
            CORVANA_LOG_WARN(fileScopeLogger(), "Annotation indexes are not contiguous. This would lead to empty "
                                                "annotations, which should not be a problem.");
    }

    IFFParser& m_parser;
    double m_dSampleRate;
    Annotations& m_vAnnotations;
    std::vector<bool> m_vHasStart;
    std::vector<bool> m_vHasStop;
    std::vector<bool> m_vHasLabel;
};

} // namespace

AnnotatedFile::AnnotatedFile() = default;
AnnotatedFile::~AnnotatedFile() = default;
AnnotatedFile::AnnotatedFile(const AnnotatedFile&) = default;
AnnotatedFile& AnnotatedFile::operator=(const AnnotatedFile&) = default;

std::istream& AnnotatedFile::readFromWAV(std::istream& io_stream)
{
    m_vAnnotations.clear();
    m_parser.read(io_stream);
    return takeAnnotations(io_stream);
}

std::istream& AnnotatedFile::readRegionsFromWAV(std::istream& io_stream)
{
    m_vAnnotations.clear();
    m_parser.readWithoutAudio(io_stream);
    return takeAnnotations(io_stream);
}

std::istream& AnnotatedFile::takeAnnotations(std::istream& io_stream)
{
    if (m_parser.isEmpty())
        return io_stream;
    if (readWavProperties() && AnnotationCollector(m_parser, m_uiSampleRate, m_vAnnotations).collect())
        return io_stream;
    m_vAnnotations.clear();
    io_stream.setstate(std::ios_base::failbit);
    return io_stream;
}

bool AnnotatedFile::readWavProperties()
{
    IFF::WavFmtChunk chunkFmt;
    if (!readFormat(chunkFmt))
        return false;
    m_uiSampleRate = chunkFmt.m_uiSampleRate;
    CORVANA_LOG_DEBUG(fileScopeLogger(), "Sample rate of WAV file : " << m_uiSampleRate);
    if (!CORVANA_ASSERT(chunkFmt.m_usNbOfChannels == 1))
        return false;
    ChunkPos pos;
    if (!m_parser.find(s_uiData, pos)) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Invalid WAV file : no chunk data");
        return false;
    }
    const std::uint32_t uiBytesPerSample = chunkFmt.m_usBitsPerSample >> 3;
    if (uiBytesPerSample == 0) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Invalid WAV file : bits per sample below 8");
        return false;
    }
    if (m_uiSampleRate == 0) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Invalid WAV file : sample rate is 0");
        return false;
    }
    m_uiNbOfSamples = pos.chunk().getDataSize() / uiBytesPerSample;
    CORVANA_LOG_DEBUG(fileScopeLogger(), "Number of samples in WAV file : " << m_uiNbOfSamples);
    return true;
}

bool AnnotatedFile::readFormat(IFF::WavFmtChunk& out_record)
{
    ChunkPos pos;
    for (bool bFound = m_parser.find(s_uiFmt, pos); bFound; bFound = m_parser.findNext(pos))
        if (decode(pos.chunk(), out_record, "fmt "))
            return true;
    CORVANA_LOG_ERROR(fileScopeLogger(), "Invalid WAV file : no chunk fmt");
    return false;
}

void AnnotatedFile::createAnnotation(const Annotation& in_annotation, std::uint32_t in_uiCueId, Chunk& out_cuePoint,
                                     Chunk& out_labeledText, Chunk& out_label) const
{
    // Rate by time here, time by rate below: products are the same bits either way, and stay as they are written.
    std::uint32_t uiStart = toSamples(m_uiSampleRate * in_annotation.m_dStartTime + 0.5);
    if (uiStart > m_uiNbOfSamples) {
        CORVANA_LOG_WARN(fileScopeLogger(), "Start time for one of the annotations "
                                                << uiStart << " is greater than the end of this audio file "
                                                << m_uiNbOfSamples << " Annotation: " << in_annotation
                                                << ". Shrinking it...");
        uiStart = m_uiNbOfSamples;
    }
    std::uint32_t uiLength = toSamples((in_annotation.m_dStopTime - in_annotation.m_dStartTime) * m_uiSampleRate + 0.5);
    if (uiStart + uiLength > m_uiNbOfSamples) {
        CORVANA_LOG_WARN(fileScopeLogger(), "Stop time for one of the annotations is greater than the end of this "
                                            "audio file. Shrinking it...");
        uiLength = m_uiNbOfSamples - uiStart;
    }

    IFF::WavCuePointChunk point;
    point.m_uiCueId = in_uiCueId;
    point.m_uiPosition = uiStart;
    point.m_uiChunkId = s_uiData;
    point.m_uiSampleOffset = uiStart;
    encode(point, out_cuePoint);

    IFF::WavLabelChunk label;
    label.m_uiCueId = in_uiCueId;
    label.m_strText = Annotation::getAnnotationTypeString(in_annotation.m_type);
    encode(label, out_label);

    IFF::WavLabeledTextChunk text;
    text.m_uiCueId = in_uiCueId;
    text.m_uiSampleLength = uiLength;
    text.m_uiPurpose = s_uiRegion;
    encode(text, out_labeledText);
}

Chunk::List* AnnotatedFile::clearAnnotations()
{
    Chunk::List* pList = nullptr;
    for (const Chunk::ChunkId uiId : {s_uiCue, s_uiLabeledText, s_uiLabel, s_uiNote}) {
        ChunkPos pos;
        for (bool bFound = m_parser.find(uiId, pos); bFound; bFound = m_parser.findNext(pos)) {
            if (uiId != s_uiCue)
                pList = &pos.list();
            m_parser.unlink(pos);
        }
    }
    return pList;
}

std::ostream& AnnotatedFile::writeToWAV(std::ostream& out_stream)
{
    if (prepareToWrite())
        return m_parser.write(out_stream);
    out_stream.setstate(std::ios_base::failbit);
    return out_stream;
}

// Makes the chunks those of the annotations.
bool AnnotatedFile::prepareToWrite()
{
    Chunk::List* pList = clearAnnotations();
    if (!readWavProperties())
        return false;
    if (!m_vAnnotations.empty())
        appendAnnotations(pList);
    else if (pList != nullptr && pList->empty() && !removeEmptyList(*pList))
        return false;
    return m_parser.fitsFile();
}

bool AnnotatedFile::removeEmptyList(const Chunk::List& in_list)
{
    ChunkPos pos;
    for (bool bFound = m_parser.find(s_uiList, pos); bFound; bFound = m_parser.findNext(pos))
        if (&pos.chunk().m_children == &in_list) {
            if (pos.chunk().m_vData.empty()) // else it has an odd end, which is somebody else's
                m_parser.unlink(pos);
            return true;
        }
    CORVANA_LOG_ERROR(fileScopeLogger(), "Not able to delete empty LIST chunk");
    return false;
}

namespace {

bool holds(const Chunk& in_chunk, const Chunk::List* in_pChildren)
{
    return &in_chunk.m_children == in_pChildren ||
           std::any_of(in_chunk.m_children.begin(), in_chunk.m_children.end(),
                       [in_pChildren](const Chunk& in_child) { return holds(in_child, in_pChildren); });
}

// The form's chunk that holds these children, at any depth; the form's end when there is none.
Chunk::List::iterator findHolder(Chunk::List& inout_form, const Chunk::List* in_pChildren)
{
    return std::find_if(inout_form.begin(), inout_form.end(),
                        [in_pChildren](const Chunk& in_chunk) { return holds(in_chunk, in_pChildren); });
}

} // namespace

// in_pList: the children of the associated-data list that is there already; null for none.
void AnnotatedFile::appendAnnotations(Chunk::List* in_pList)
{
    Chunk list(s_uiList);
    list.m_uiFormType = s_uiAssociatedData;
    Chunk::List& target = in_pList != nullptr ? *in_pList : list.m_children;
    const auto uiNbOfOthers = static_cast<Chunk::List::difference_type>(target.size());
    Chunk cue(s_uiCue);
    Chunk::List behind; // what comes after all labels
    for (std::size_t uiIndex = 0; uiIndex < m_vAnnotations.size(); ++uiIndex) {
        Chunk& point = cue.m_children.emplace_back(s_uiCuePoint);
        Chunk& text = (m_labelOrder == AS_PAIRS ? target : behind).emplace_back(s_uiLabeledText);
        Chunk& label = target.emplace_back(s_uiLabel);
        createAnnotation(m_vAnnotations[uiIndex], static_cast<std::uint32_t>(uiIndex + 1), point, text, label);
    }
    target.splice(target.end(), behind);
    Chunk::List& form = m_parser.root().m_children;
    // Readers that take labels only to cue points they have seen find none in a list that comes before them.
    auto itCue = form.end();
    if (m_labelOrder == LABELS_FIRST)
        itCue = in_pList == &form ? std::next(form.begin(), uiNbOfOthers) : findHolder(form, in_pList);
    form.insert(itCue, std::move(cue));
    if (in_pList == nullptr)
        form.push_back(std::move(list));
}

namespace {

// What an operation says when a step fails; the file's name follows.
struct ReadFaults
{
    const char* m_szOpening;
    const char* m_szParsing;
};

constexpr const char* s_szWritingFault = "Error writing WAV file : ";

const char* nameOf(const char* in_szFile)
{
    return in_szFile == nullptr ? "" : in_szFile;
}

bool reportFault(const char* in_szFault, const char* in_szFile)
{
    CORVANA_LOG_ERROR(fileScopeLogger(), in_szFault << in_szFile);
    return false;
}

// in_read: with or without the audio.
bool readFile(const char* in_szFile, const ReadFaults& in_faults,
              std::istream& (AnnotatedFile::*in_read)(std::istream&), AnnotatedFile& out_file)
{
    std::ifstream stream(in_szFile, std::ios_base::in | std::ios_base::binary);
    if (!stream)
        return reportFault(in_faults.m_szOpening, in_szFile);
    if (!(out_file.*in_read)(stream))
        return reportFault(in_faults.m_szParsing, in_szFile);
    stream.close();
    return true;
}

bool readTarget(const char* in_szFile, const ReadFaults& in_faults, AnnotatedFile& out_file)
{
    return readFile(in_szFile, in_faults, &AnnotatedFile::readFromWAV, out_file);
}

constexpr ReadFaults s_inputFaults{"Could not open input file : ", "Error parsing input WAV file : "};
constexpr ReadFaults s_outputFaults{"Could not open output file for reading: ", "Error parsing output WAV file : "};
constexpr ReadFaults s_clearFaults{"Could not open ile for reading: ", "Error parsing WAV file : "};
constexpr const char* s_szOutputWriteFault = "Could not open output file for writing: ";
constexpr const char* s_szClearWriteFault = "Could not file for writing: ";

// Reads both, and takes nothing but the annotations of the input.
bool readPair(const char* in_szInput, const char* in_szOutput, Annotations& out_vInput, AnnotatedFile& out_output)
{
    AnnotatedFile input;
    if (!readFile(in_szInput, s_inputFaults, &AnnotatedFile::readRegionsFromWAV, input))
        return false;
    out_vInput.swap(input.annotations());
    return readTarget(in_szOutput, s_outputFaults, out_output);
}

// Compiles the pattern when the first text comes: without annotations, a malformed one is as good as any.
class TypePattern
{
public:
    explicit TypePattern(const char* in_szPattern)
        : m_strPattern(in_szPattern)
    {
    }

    bool matches(const Annotation& in_annotation)
    {
        if (m_pRegex == nullptr)
            m_pRegex = std::make_unique<BoostRegex>(m_strPattern, BoostRegex::s_uiIgnoreCase);
        return regex_match(Annotation::getAnnotationTypeString(in_annotation.m_type), *m_pRegex);
    }

private:
    std::string m_strPattern;
    std::unique_ptr<const BoostRegex> m_pRegex;
};

bool eraseMatching(const char* in_szPattern, Annotations& inout_vAnnotations, std::size_t& out_uiCount)
{
    try {
        TypePattern pattern(in_szPattern);
        out_uiCount = std::erase_if(
            inout_vAnnotations, [&pattern](const Annotation& in_annotation) { return pattern.matches(in_annotation); });
        return true;
    } catch (const std::runtime_error&) {
        CORVANA_LOG_ERROR(fileScopeLogger(),
                          "Unexpected std::runtime exception caught in clearAnnotations with regex: \"" << in_szPattern
                                                                                                        << '"');
        return false;
    }
}

/// Opens a file, which empties it, when the first bytes come: not before there is the memory to write all of them.
class LateFile : public std::streambuf
{
public:
    explicit LateFile(const char* in_szFile)
        : m_szFile(in_szFile)
    {
        m_file.pubsetbuf(m_acBuffer, sizeof m_acBuffer); // else it would ask for one when the file is empty already
    }

    bool couldNotOpen() const { return m_bCouldNotOpen; }
    bool close() { return m_file.close() != nullptr; }

protected:
    std::streamsize xsputn(const char* in_pBytes, std::streamsize in_iNbOfBytes) override
    {
        if (!m_file.is_open())
            m_bCouldNotOpen = m_file.open(m_szFile, std::ios_base::out | std::ios_base::binary) == nullptr;
        return m_file.sputn(in_pBytes, in_iNbOfBytes); // takes nothing where it is not open
    }
    int sync() override { return m_file.pubsync(); }

private:
    const char* m_szFile;
    bool m_bCouldNotOpen = false;
    char m_acBuffer[1 << 13];
    std::filebuf m_file; // behind its buffer
};

} // namespace

// Everything that can fail before the target is opened comes before: opening it empties it.
bool AnnotatedFile::writeToFile(const char* in_szFile, const char* in_szOpeningFault)
{
    if (!prepareToWrite())
        return reportFault(s_szWritingFault, in_szFile);
    LateFile file(in_szFile);
    std::ostream stream(&file);
    m_parser.write(stream);
    if (file.couldNotOpen())
        return reportFault(in_szOpeningFault, in_szFile);
    stream.flush();
    const bool bClosed = file.close();
    return (stream.good() && bClosed) || reportFault(s_szWritingFault, in_szFile);
}

bool AnnotatedFile::updateFile(const char* in_szFile)
{
    const char* szFile = nameOf(in_szFile);
    const Annotations vAnnotations = m_vAnnotations;
    if (!prepareToWrite())
        return reportFault(s_szWritingFault, szFile);
    if (m_parser.canBeUpdated())
        return updateInPlace(szFile) || reportFault(s_szWritingFault, szFile);
    if (!readTarget(szFile, s_outputFaults, *this))
        return false;
    m_vAnnotations = vAnnotations;
    return writeToFile(szFile, s_szOutputWriteFault);
}

bool AnnotatedFile::updateInPlace(const char* in_szFile) const
{
    std::fstream stream(in_szFile, std::ios_base::in | std::ios_base::out | std::ios_base::binary);
    m_parser.update(stream);
    const std::streamoff iEnd = stream.tellp();
    stream.close();
    std::error_code error;
    if (stream.good())
        std::filesystem::resize_file(in_szFile, static_cast<std::uintmax_t>(iEnd), error);
    return stream.good() && !error;
}

bool AnnotatedFile::addAnnotation(const char* in_szFile, const Annotation& in_annotation, LabelOrder in_order)
{
    const char* szFile = nameOf(in_szFile);
    AnnotatedFile file;
    if (!readTarget(szFile, {"Could not open file : ", "Error parsing WAV file : "}, file))
        return false;
    file.annotations().push_back(in_annotation);
    file.setLabelOrder(in_order);
    return file.writeToFile(szFile, s_szOutputWriteFault);
}

bool AnnotatedFile::addAnnotations(const char* in_szInputFile, const char* in_szOutputFile, LabelOrder in_order)
{
    const char* szOutput = nameOf(in_szOutputFile);
    AnnotatedFile output;
    Annotations vInput;
    if (!readPair(nameOf(in_szInputFile), szOutput, vInput, output))
        return false;
    output.annotations().insert(output.annotations().end(), vInput.begin(), vInput.end());
    output.setLabelOrder(in_order);
    return output.writeToFile(szOutput, s_szOutputWriteFault);
}

bool AnnotatedFile::copyAnnotations(const char* in_szSourceFile, const char* in_szTargetFile, LabelOrder in_order)
{
    const char* szTarget = nameOf(in_szTargetFile);
    AnnotatedFile target;
    Annotations vSource;
    if (!readPair(nameOf(in_szSourceFile), szTarget, vSource, target))
        return false;
    target.annotations() = vSource;
    target.setLabelOrder(in_order);
    return target.writeToFile(szTarget, "Could not open out_file for writing: ");
}

bool AnnotatedFile::clearAnnotations(const char* in_szFile, const char* in_szPattern, LabelOrder in_order)
{
    const char* szFile = nameOf(in_szFile);
    AnnotatedFile file;
    std::size_t uiCount = 0;
    if (!readTarget(szFile, s_clearFaults, file) || !eraseMatching(nameOf(in_szPattern), file.annotations(), uiCount))
        return false;
    CORVANA_LOG_INFO(fileScopeLogger(), "Number of annotations cleared in file " << szFile << " : " << uiCount);
    file.setLabelOrder(in_order);
    return file.writeToFile(szFile, s_szClearWriteFault);
}

bool AnnotatedFile::clearAnnotations(const char* in_szFile)
{
    const char* szFile = nameOf(in_szFile);
    AnnotatedFile file;
    if (!readTarget(szFile, s_clearFaults, file))
        return false;
    file.annotations().clear();
    return file.writeToFile(szFile, s_szClearWriteFault);
}

} // namespace Corvana::Audio
