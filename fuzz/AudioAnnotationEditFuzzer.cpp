// SPDX-License-Identifier: Apache-2.0
// Any bytes as a WAV file, and each operation that changes its regions, in place and on a working copy that takes the
// file's name. The last bytes say which. An operation that fails leaves the file as it was; one that succeeds leaves
// audio and foreign chunks alone and gives exactly the regions that it promises; from the second write on, the bytes
// stay the same. libsndfile finds the same cue points.
#include "FuzzSupport.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioAtomicFileEdit.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Audio::AnnotatedFile;
using Annotation = AnnotatedFile::Annotation;
using Annotations = std::vector<Annotation>;
using IFF::Chunk;
using IFF::ChunkPos;

constexpr std::size_t s_uiControlBytes = 8;
constexpr std::size_t s_uiMaxAnnotations = 2000; // identifiers of an input may ask for a million
constexpr std::size_t s_uiOneInSo = 64;          // is read when it does
constexpr std::size_t s_uiMaxCuePoints = 100;

bool isType(int in_iType)
{
    return in_iType >= 1 && in_iType <= 4290 && in_iType != 4001;
}

bool isPlain(const Annotations& in_vAnnotations)
{
    return std::all_of(in_vAnnotations.begin(), in_vAnnotations.end(),
                       [](const Annotation& in_annotation) { return isType(in_annotation.m_type); });
}

bool read(const std::string& in_strBytes, AnnotatedFile& out_file)
{
    std::istringstream stream(in_strBytes);
    return out_file.readFromWAV(stream).good();
}

std::string contentsOf(const char* in_szPath)
{
    std::ifstream stream(in_szPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// ---- What has to stay

bool isRegion(const Chunk& in_chunk)
{
    static constexpr Chunk::ChunkId s_auiIds[] = {Chunk::makeId("cue "), Chunk::makeId("ltxt"), Chunk::makeId("labl"),
                                                  Chunk::makeId("note")};
    return std::find(std::begin(s_auiIds), std::end(s_auiIds), in_chunk.m_uiId) != std::end(s_auiIds);
}

void appendForeign(const Chunk& in_chunk, std::string& out_strBytes)
{
    if (isRegion(in_chunk))
        return;
    for (const Chunk& child : in_chunk.m_children)
        appendForeign(child, out_strBytes);
    if (in_chunk.isContainer())
        return;
    out_strBytes += std::to_string(in_chunk.m_uiId) + ":";
    out_strBytes.append(in_chunk.m_vData.begin(), in_chunk.m_vData.end());
    out_strBytes += ";";
}

// The audio, all other chunks that are no region's, and the bytes behind the form, in file order.
std::string foreignOf(AnnotatedFile& inout_file)
{
    std::string strBytes;
    appendForeign(inout_file.parser().root(), strBytes);
    const auto& vTrailing = inout_file.parser().getTrailingBytes();
    return strBytes.append(vTrailing.begin(), vTrailing.end());
}

// ---- What regions become

std::uint32_t toSamples(double in_dSamples)
{
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(in_dSamples));
}

// As the documents say how a time is written and cut; times here are far from what 64 bits cannot hold.
Annotation placed(const Annotation& in_annotation, const AnnotatedFile& in_file)
{
    const double dRate = in_file.getSampleRate();
    const std::uint32_t uiStart =
        std::min(toSamples(dRate * in_annotation.m_dStartTime + 0.5), in_file.getNbOfSamples());
    std::uint32_t uiLength = toSamples((in_annotation.m_dStopTime - in_annotation.m_dStartTime) * dRate + 0.5);
    if (uiStart + uiLength > in_file.getNbOfSamples())
        uiLength = in_file.getNbOfSamples() - uiStart;
    const double dStart = uiStart / dRate;
    return {in_annotation.m_type, dStart, uiLength / dRate + dStart};
}

bool same(const Annotation& in_left, const Annotation& in_right)
{
    return in_left.m_type == in_right.m_type && in_left.m_dStartTime == in_right.m_dStartTime &&
           in_left.m_dStopTime == in_right.m_dStopTime;
}

// ---- The operations

enum Operation
{
    ADD,
    ADD_ALL,
    COPY,
    CLEAR_MATCHING,
    CLEAR,
    UPDATE,
    NB_OF_OPERATIONS
};

struct Edit
{
    Operation m_operation = ADD;
    AnnotatedFile::LabelOrder m_order = AnnotatedFile::AS_PAIRS;
    bool m_bSafe = false;
    Annotation m_annotation;
};

const Annotations s_vOther = {Annotation(Annotation::VOICE, 0.0005, 0.001), Annotation(Annotation::SF_12, 0.0, 0.002)};

Edit takeEdit(ByteReader& inout_control)
{
    Edit edit;
    edit.m_operation = static_cast<Operation>(inout_control.takeByte() % NB_OF_OPERATIONS);
    const std::uint8_t uiFlags = inout_control.takeByte();
    edit.m_order = (uiFlags & 1U) != 0 ? AnnotatedFile::LABELS_FIRST : AnnotatedFile::AS_PAIRS;
    edit.m_bSafe = (uiFlags & 0xE0U) == 0xE0U; // on a disk, so seldom
    const int iType = 1 + static_cast<int>(inout_control.takeUpTo(4289));
    const double dStart = inout_control.takeByte() / 5000.0;
    const double dLength = (inout_control.takeByte() - 3) / 7000.0; // also a stop before its start
    edit.m_annotation =
        Annotation(static_cast<Annotation::AnnotationType>(isType(iType) ? iType : 1), dStart, dStart + dLength);
    return edit;
}

// A recording of 4 ms with two regions.
const std::string& otherRecording()
{
    static const std::string s_strBytes = [] {
        std::string strBytes =
            std::string("RIFF\x4c\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0\x80\x3e\0\0\2\0\x10\0", 36);
        strBytes += std::string("data\x28\0\0\0", 8) + std::string(40, '\x11');
        AnnotatedFile file;
        CORVANA_FUZZ_REQUIRE(read(strBytes, file));
        file.annotations() = s_vOther;
        std::ostringstream stream;
        CORVANA_FUZZ_REQUIRE(file.writeToWAV(stream).good());
        return stream.str();
    }();
    return s_strBytes;
}

bool update(const char* in_szFile, const Edit& in_edit)
{
    AnnotatedFile file;
    std::ifstream stream(in_szFile, std::ios::binary);
    if (!file.readRegionsFromWAV(stream).good())
        return false;
    stream.close();
    file.annotations().push_back(in_edit.m_annotation);
    file.setLabelOrder(in_edit.m_order);
    return file.updateFile(in_szFile);
}

bool apply(const char* in_szFile, const Edit& in_edit)
{
    switch (in_edit.m_operation) {
    case ADD:
        return AnnotatedFile::addAnnotation(in_szFile, in_edit.m_annotation, in_edit.m_order);
    case ADD_ALL:
        return AnnotatedFile::addAnnotations(MemoryFile(otherRecording()).path(), in_szFile, in_edit.m_order);
    case COPY:
        return AnnotatedFile::copyAnnotations(MemoryFile(otherRecording()).path(), in_szFile, in_edit.m_order);
    case CLEAR_MATCHING:
        return AnnotatedFile::clearAnnotations(in_szFile, "(sf_|m).*", in_edit.m_order);
    case CLEAR:
        return AnnotatedFile::clearAnnotations(in_szFile);
    case UPDATE:
    case NB_OF_OPERATIONS:
        break;
    }
    return update(in_szFile, in_edit);
}

bool isMatched(const Annotation& in_annotation)
{
    const std::string strText = Annotation::getAnnotationTypeString(in_annotation.m_type);
    return strText.starts_with("SF_") || strText.starts_with("M");
}

// The regions that the operation promises, before they are placed.
Annotations expected(const Annotations& in_vBefore, const Edit& in_edit)
{
    Annotations vAnnotations = in_vBefore;
    switch (in_edit.m_operation) {
    case ADD:
    case UPDATE:
    case NB_OF_OPERATIONS:
        vAnnotations.push_back(in_edit.m_annotation);
        break;
    case ADD_ALL:
        vAnnotations.insert(vAnnotations.end(), s_vOther.begin(), s_vOther.end());
        break;
    case COPY:
        vAnnotations = s_vOther;
        break;
    case CLEAR_MATCHING:
        std::erase_if(vAnnotations, isMatched);
        break;
    case CLEAR:
        vAnnotations.clear();
        break;
    }
    return vAnnotations;
}

// ---- What others find

// With at least so many bytes of data, where it has data of its own.
std::size_t countChunks(const Chunk& in_chunk, Chunk::ChunkId in_uiId, std::size_t in_uiMinSize = 0)
{
    std::size_t uiCount = in_chunk.m_uiId == in_uiId && in_chunk.m_vData.size() >= in_uiMinSize ? 1 : 0;
    for (const Chunk& child : in_chunk.m_children)
        uiCount += countChunks(child, in_uiId, in_uiMinSize);
    return uiCount;
}

struct CuePoints
{
    std::uint32_t m_uiCount = 0;
    std::map<std::uint32_t, std::uint32_t> m_positions; // by identifier; of several, the last counts
};

// As libsndfile finds them; none when it does not take the file.
CuePoints cuePointsOf(const std::string& in_strBytes)
{
    CuePoints points;
    const MemoryFile file(in_strBytes);
    SF_INFO info = {};
    SNDFILE* const pFile = sf_open(file.path(), SFM_READ, &info);
    if (pFile == nullptr)
        return points;
    SF_CUES_VAR(s_uiMaxCuePoints) cues = {};
    std::uint32_t uiCount = 0;
    if (sf_command(pFile, SFC_GET_CUE_COUNT, &uiCount, sizeof uiCount) != SF_FALSE && uiCount <= s_uiMaxCuePoints &&
        sf_command(pFile, SFC_GET_CUE, &cues, sizeof cues) != SF_FALSE)
        points.m_uiCount = uiCount;
    for (std::uint32_t uiPoint = 0; uiPoint < points.m_uiCount; ++uiPoint)
        points.m_positions[static_cast<std::uint32_t>(cues.cue_points[uiPoint].indx)] =
            cues.cue_points[uiPoint].sample_offset;
    sf_close(pFile);
    return points;
}

// Each region starts where libsndfile finds the cue point of its identifier.
void requireSameCuePoints(const std::string& in_strBytes, AnnotatedFile& inout_file)
{
    if (misleadsLibsndfile(in_strBytes))
        return;
    constexpr std::size_t uiSize = 24;
    // libsndfile keeps the last of several chunks, and fills a point that is cut off, while here all chunks are read
    // and no such point.
    const Chunk& root = inout_file.parser().root();
    const CuePoints points = cuePointsOf(in_strBytes);
    if (points.m_uiCount == 0 || countChunks(root, Chunk::makeId("cue ")) != 1 ||
        countChunks(root, Chunk::makeId("cuep"), uiSize) != points.m_uiCount)
        return;
    const std::uint32_t uiFirst = points.m_positions.contains(0) ? 0 : 1;
    for (const auto& [uiId, uiPosition] : points.m_positions) {
        CORVANA_FUZZ_REQUIRE(uiId - uiFirst < inout_file.annotations().size());
        const Annotation& annotation = inout_file.annotations()[uiId - uiFirst];
        CORVANA_FUZZ_REQUIRE(annotation.m_dStartTime == uiPosition / static_cast<double>(inout_file.getSampleRate()));
    }
}

// ---- Putting it together

std::string written(const std::string& in_strBytes, AnnotatedFile::LabelOrder in_order)
{
    AnnotatedFile file;
    CORVANA_FUZZ_REQUIRE(read(in_strBytes, file));
    file.setLabelOrder(in_order);
    std::ostringstream stream;
    CORVANA_FUZZ_REQUIRE(file.writeToWAV(stream).good());
    return stream.str();
}

void requireEdited(const std::string& in_strBytes, const std::string& in_strForeign, const Annotations& in_vBefore,
                   const Edit& in_edit)
{
    AnnotatedFile file;
    const Annotations vExpected = expected(in_vBefore, in_edit);
    const bool bReadable = read(in_strBytes, file);
    CORVANA_FUZZ_REQUIRE(bReadable == isPlain(vExpected)); // a gap in the identifiers cannot be written back
    CORVANA_FUZZ_REQUIRE(foreignOf(file) == in_strForeign);
    if (!bReadable)
        return;
    CORVANA_FUZZ_REQUIRE(file.annotations().size() == vExpected.size());
    for (std::size_t uiIndex = 0; uiIndex < vExpected.size(); ++uiIndex)
        CORVANA_FUZZ_REQUIRE(same(file.annotations()[uiIndex], placed(vExpected[uiIndex], file)));
    requireSameCuePoints(in_strBytes, file);

    const std::string strSecond = written(in_strBytes, in_edit.m_order);
    CORVANA_FUZZ_REQUIRE(written(strSecond, in_edit.m_order) == strSecond);
}

std::string applyInPlace(const std::string& in_strBytes, const Edit& in_edit, bool& out_bDone)
{
    const MemoryFile file(in_strBytes);
    out_bDone = apply(file.path(), in_edit);
    return contentsOf(file.path());
}

// On a working copy, which is committed when the operation has succeeded.
std::string applySafely(const std::string& in_strBytes, const Edit& in_edit, bool& out_bDone)
{
    const std::string strFile = scratchFolder().write("recording.wav", in_strBytes);
    Audio::AtomicFileEdit edit(strFile.c_str());
    CORVANA_FUZZ_REQUIRE(edit.isOpen());
    out_bDone = apply(edit.workingFileName(), in_edit);
    CORVANA_FUZZ_REQUIRE(contentsOf(strFile.c_str()) == in_strBytes);
    if (out_bDone)
        CORVANA_FUZZ_REQUIRE(edit.commit());
    return contentsOf(strFile.c_str());
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::size_t uiControl = std::min(in_uiSize, s_uiControlBytes);
    ByteReader control(in_pData + (in_uiSize - uiControl), uiControl);
    const Edit edit = takeEdit(control);
    const std::string strBytes(ByteReader(in_pData, in_uiSize - uiControl).rest());
    if (largestCueId(strBytes) > s_uiMaxAnnotations && in_uiSize % s_uiOneInSo != 0)
        return;

    std::string strForeign;
    Annotations vBefore;
    bool bReadable = false;
    {
        AnnotatedFile file;
        bReadable = read(strBytes, file);
        if (file.annotations().size() > s_uiMaxAnnotations)
            return;
        if (bReadable) {
            requireSameCuePoints(strBytes, file);
            strForeign = foreignOf(file);
        }
        vBefore = file.annotations();
    }
    bool bDone = false;
    const std::string strAfter =
        edit.m_bSafe ? applySafely(strBytes, edit, bDone) : applyInPlace(strBytes, edit, bDone);
    if (!bDone) {
        CORVANA_FUZZ_REQUIRE(strAfter == strBytes);
        return;
    }
    CORVANA_FUZZ_REQUIRE(bReadable);
    requireEdited(strAfter, strForeign, vBefore, edit);
}
