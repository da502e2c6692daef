// SPDX-License-Identifier: Apache-2.0
// Any bytes as an annotated WAV file. What was read is written and read again as the same regions, unless one of them
// has no type; audio and foreign chunks stay as they were, in both orders of labels.
#include "FuzzSupport.h"

#include "corvana/AudioAnnotation.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Audio::AnnotatedFile;
using Annotation = AnnotatedFile::Annotation;
using IFF::Chunk;

constexpr std::size_t s_uiMaxAnnotations = 4096; // identifiers of an input may ask for a million
constexpr std::size_t s_uiOneInSo = 64;          // is read when it does

bool isType(int in_iType)
{
    return in_iType >= 1 && in_iType <= 4290 && in_iType != 4001;
}

bool read(const std::string& in_strBytes, AnnotatedFile& out_file)
{
    std::istringstream stream(in_strBytes);
    out_file.readFromWAV(stream);
    CORVANA_FUZZ_REQUIRE(stream.good() || (stream.fail() && out_file.annotations().empty()));
    return stream.good();
}

bool isRegion(const Chunk& in_chunk)
{
    for (const Chunk::ChunkId uiId :
         {Chunk::makeId("cue "), Chunk::makeId("ltxt"), Chunk::makeId("labl"), Chunk::makeId("note")})
        if (in_chunk.m_uiId == uiId)
            return true;
    return false;
}

// All data that are no region's, in file order.
void appendForeign(const Chunk& in_chunk, std::string& out_strBytes)
{
    if (isRegion(in_chunk))
        return;
    if (in_chunk.isContainer()) {
        for (const Chunk& child : in_chunk.m_children)
            appendForeign(child, out_strBytes);
        return;
    }
    out_strBytes += std::to_string(in_chunk.m_uiId) + ":";
    out_strBytes.append(in_chunk.m_vData.begin(), in_chunk.m_vData.end());
    out_strBytes += ";";
}

std::string foreign(AnnotatedFile& inout_file)
{
    std::string strBytes;
    appendForeign(inout_file.parser().root(), strBytes);
    const auto& vTrailing = inout_file.parser().getTrailingBytes();
    return strBytes.append(vTrailing.begin(), vTrailing.end());
}

// What was read; one tree of chunks at a time is in memory, since a chunk takes more than its bytes.
struct Found
{
    std::vector<Annotation> m_vAnnotations;
    std::string m_strForeign;
    double m_dRate = 0.0;
    double m_dEnd = 0.0; // of the audio, in seconds
};

bool find(const std::string& in_strBytes, Found& out_found)
{
    AnnotatedFile file;
    if (!read(in_strBytes, file))
        return false;
    out_found.m_vAnnotations = file.annotations();
    out_found.m_strForeign = foreign(file);
    out_found.m_dRate = file.getSampleRate();
    out_found.m_dEnd = static_cast<double>(file.getNbOfSamples()) / out_found.m_dRate;
    return true;
}

// Where a region that was read is put when it is written: cut at the end of the audio.
bool isPlaced(const Annotation& in_before, const Annotation& in_after, const Found& in_file)
{
    const bool bInside = in_before.m_dStartTime <= in_file.m_dEnd && in_before.m_dStopTime <= in_file.m_dEnd;
    if (!bInside)
        return in_after.m_dStartTime <= std::max(in_file.m_dEnd, in_before.m_dStartTime);
    const double dSample = 1.0 / in_file.m_dRate;
    return std::fabs(in_before.m_dStartTime - in_after.m_dStartTime) <= 0.01 * dSample &&
           std::fabs(in_before.m_dStopTime - in_after.m_dStopTime) <= 0.01 * dSample;
}

// Reads and writes; "" when the only list to delete was none.
std::string written(const std::string& in_strBytes, AnnotatedFile::LabelOrder in_order)
{
    AnnotatedFile file;
    CORVANA_FUZZ_REQUIRE(read(in_strBytes, file));
    file.setLabelOrder(in_order);
    std::ostringstream stream;
    file.writeToWAV(stream);
    CORVANA_FUZZ_REQUIRE(stream.good() || (stream.str().empty() && file.annotations().empty()));
    return stream.str();
}

void requireWritten(const std::string& in_strBytes, const Found& in_before, AnnotatedFile::LabelOrder in_order)
{
    const std::string strOnce = written(in_strBytes, in_order);
    if (strOnce.empty())
        return;
    Found after;
    const auto& vBefore = in_before.m_vAnnotations;
    const bool bTypes = std::all_of(vBefore.begin(), vBefore.end(),
                                    [](const Annotation& in_annotation) { return isType(in_annotation.m_type); });
    CORVANA_FUZZ_REQUIRE(find(strOnce, after) == bTypes); // a gap in the identifiers cannot be written back
    if (!bTypes)
        return;
    CORVANA_FUZZ_REQUIRE(after.m_strForeign == in_before.m_strForeign);
    CORVANA_FUZZ_REQUIRE(after.m_vAnnotations.size() == vBefore.size());
    for (std::size_t uiIndex = 0; uiIndex < vBefore.size(); ++uiIndex) {
        CORVANA_FUZZ_REQUIRE(after.m_vAnnotations[uiIndex].m_type == vBefore[uiIndex].m_type);
        CORVANA_FUZZ_REQUIRE(isPlaced(vBefore[uiIndex], after.m_vAnnotations[uiIndex], in_before));
    }
    // The first time, "cue " may go behind the list; from then on nothing moves.
    const std::string strSecond = written(strOnce, in_order);
    CORVANA_FUZZ_REQUIRE(!strSecond.empty() && written(strSecond, in_order) == strSecond);
}

// Another such reading, through a stream that passes over the audio.
void requireSameWithoutAudio(const std::string& in_strBytes, const Found& in_found)
{
    AnnotatedFile file;
    std::istringstream stream(in_strBytes);
    file.readRegionsFromWAV(stream);
    CORVANA_FUZZ_REQUIRE(stream.good() && file.annotations().size() == in_found.m_vAnnotations.size());
    CORVANA_FUZZ_REQUIRE(file.getNbOfSamples() / in_found.m_dRate == in_found.m_dEnd);
    for (std::size_t uiIndex = 0; uiIndex < file.annotations().size(); ++uiIndex) {
        CORVANA_FUZZ_REQUIRE(file.annotations()[uiIndex].m_type == in_found.m_vAnnotations[uiIndex].m_type);
        CORVANA_FUZZ_REQUIRE(file.annotations()[uiIndex].m_dStopTime == in_found.m_vAnnotations[uiIndex].m_dStopTime);
    }
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::string strBytes(ByteReader(in_pData, in_uiSize).rest());
    if (largestCueId(strBytes) > s_uiMaxAnnotations && in_uiSize % s_uiOneInSo != 0)
        return;
    Found found;
    if (!find(strBytes, found))
        return;
    requireSameWithoutAudio(strBytes, found);
    if (found.m_vAnnotations.size() > s_uiMaxAnnotations)
        return;
    // One order for an input: both would take twice the time, and the next input may take the other.
    requireWritten(strBytes, found, in_uiSize % 2 == 0 ? AnnotatedFile::AS_PAIRS : AnnotatedFile::LABELS_FIRST);
}
