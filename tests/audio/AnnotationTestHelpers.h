// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"
#include "support/ChunkBuilder.h"

#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Test {

using Annotation = Audio::AnnotatedFile::Annotation;

/// Whether the bytes were read as an annotated WAV file.
inline bool readFrom(const std::string& in_strBytes, Audio::AnnotatedFile& out_file)
{
    std::istringstream stream(in_strBytes);
    out_file.readFromWAV(stream);
    return stream.good();
}

/// What is written; empty when writing fails.
inline std::string written(Audio::AnnotatedFile& inout_file)
{
    std::ostringstream stream;
    inout_file.writeToWAV(stream);
    return stream.good() ? stream.str() : "";
}

/// Annotations in one line, such as "4003 0.5-1 4008 2-2.25".
inline std::string listed(const std::vector<Annotation>& in_vAnnotations)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    const char* szBetween = "";
    for (const Annotation& annotation : in_vAnnotations) {
        text << szBetween << static_cast<int>(annotation.m_type) << ' ' << annotation.m_dStartTime << '-'
             << annotation.m_dStopTime;
        szBetween = " ";
    }
    return text.str();
}

/// The annotations of a file's bytes in one line; "refused" when they cannot be read.
inline std::string listed(const std::string& in_strBytes)
{
    Audio::AnnotatedFile file;
    return readFrom(in_strBytes, file) ? listed(file.annotations()) : "refused";
}

inline std::string contentsOf(const std::string& in_strPath)
{
    std::ifstream stream(in_strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The records of one annotation as pairs: cue points, and "ltxt" with "labl".
inline std::string records(std::uint32_t in_uiCueId, std::uint32_t in_uiLength, const std::string& in_strLabel)
{
    return ltxtChunk(in_uiCueId, in_uiLength) + lablChunk(in_uiCueId, in_strLabel);
}

} // namespace Corvana::Test
