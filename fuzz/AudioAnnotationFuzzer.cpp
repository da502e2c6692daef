// SPDX-License-Identifier: Apache-2.0
// Any bytes as an annotated WAV file, and as the text of a type. What was read is written and read again as the same
// regions, unless one of them has no type; audio and foreign chunks stay as they were, in both orders of labels.
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

bool isType(int in_iType)
{
    return in_iType >= 1 && in_iType <= 4290 && in_iType != 4001;
}

void requireTypeText(const std::string& in_strText)
{
    const auto type = Annotation::parseAnnotationType(in_strText.c_str());
    if (!type.isValid())
        return;
    CORVANA_FUZZ_REQUIRE(isType(type.getValue()));
    const std::string strCanonical = Annotation::getAnnotationTypeString(type.getValue());
    const auto again = Annotation::parseAnnotationType(strCanonical.c_str());
    CORVANA_FUZZ_REQUIRE(again.isValid() && again.getValue() == type.getValue());
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

// Where a region that was read is put when it is written: cut at the end of the audio.
bool isPlaced(const Annotation& in_before, const Annotation& in_after, const AnnotatedFile& in_file)
{
    const double dEnd = static_cast<double>(in_file.getNbOfSamples()) / in_file.getSampleRate();
    const bool bInside = in_before.m_dStartTime <= dEnd && in_before.m_dStopTime <= dEnd;
    if (!bInside)
        return in_after.m_dStartTime <= std::max(dEnd, in_before.m_dStartTime);
    const double dSample = 1.0 / in_file.getSampleRate();
    return std::fabs(in_before.m_dStartTime - in_after.m_dStartTime) <= 0.01 * dSample &&
           std::fabs(in_before.m_dStopTime - in_after.m_dStopTime) <= 0.01 * dSample;
}

void requireWritten(const AnnotatedFile& in_file, AnnotatedFile::LabelOrder in_order, const std::string& in_strForeign)
{
    AnnotatedFile file(in_file);
    file.setLabelOrder(in_order);
    std::ostringstream stream;
    file.writeToWAV(stream);
    if (!stream.good()) { // the only list to delete was none
        CORVANA_FUZZ_REQUIRE(stream.str().empty() && file.annotations().empty());
        return;
    }
    AnnotatedFile again;
    const auto& vBefore = in_file.annotations();
    const bool bTypes = std::all_of(vBefore.begin(), vBefore.end(),
                                    [](const Annotation& in_annotation) { return isType(in_annotation.m_type); });
    CORVANA_FUZZ_REQUIRE(read(stream.str(), again) == bTypes);
    CORVANA_FUZZ_REQUIRE(foreign(again) == in_strForeign);
    if (!bTypes)
        return;
    CORVANA_FUZZ_REQUIRE(again.annotations().size() == vBefore.size());
    for (std::size_t uiIndex = 0; uiIndex < vBefore.size(); ++uiIndex) {
        CORVANA_FUZZ_REQUIRE(again.annotations()[uiIndex].m_type == vBefore[uiIndex].m_type);
        CORVANA_FUZZ_REQUIRE(isPlaced(vBefore[uiIndex], again.annotations()[uiIndex], in_file));
    }
    again.setLabelOrder(in_order);
    std::ostringstream second;
    again.writeToWAV(second);
    CORVANA_FUZZ_REQUIRE(second.good());
    AnnotatedFile third;
    CORVANA_FUZZ_REQUIRE(read(second.str(), third));
    third.setLabelOrder(in_order);
    std::ostringstream stable; // the first time, "cue " may go behind the list; from then on nothing moves
    third.writeToWAV(stable);
    CORVANA_FUZZ_REQUIRE(stable.str() == second.str());
}

} // namespace
} // namespace Corvana::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    using namespace Corvana::Fuzz;
    const std::string strBytes(ByteReader(in_pData, in_uiSize).rest());
    requireTypeText(strBytes);

    AnnotatedFile file;
    if (!read(strBytes, file))
        return 0;
    AnnotatedFile looked;
    std::istringstream stream(strBytes);
    looked.readRegionsFromWAV(stream);
    CORVANA_FUZZ_REQUIRE(stream.good() && looked.annotations().size() == file.annotations().size());
    CORVANA_FUZZ_REQUIRE(looked.getNbOfSamples() == file.getNbOfSamples());

    for (const auto& annotation : file.annotations())
        requireTypeText(Annotation::getAnnotationTypeString(annotation.m_type));
    if (file.annotations().size() > s_uiMaxAnnotations)
        return 0;
    const std::string strForeign = foreign(file);
    requireWritten(file, AnnotatedFile::AS_PAIRS, strForeign);
    requireWritten(file, AnnotatedFile::LABELS_FIRST, strForeign);
    return 0;
}
