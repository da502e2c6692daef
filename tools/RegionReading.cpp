// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionReading.h"

#include "corvana/IFFWavRecords.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>

namespace Corvana::Tools {
namespace {

// 0 when the file does not tell.
unsigned channelsOf(Audio::AnnotatedFile& inout_file)
{
    IFF::ChunkPos pos;
    IFF::WavFmtChunk format;
    if (!inout_file.parser().find(IFF::Chunk::makeId("fmt "), pos) ||
        !format.decode(pos.chunk().m_vData.data(), pos.chunk().getDataSize()))
        return 0;
    return format.m_usNbOfChannels;
}

} // namespace

std::string readRegionsOf(const std::string& in_strPath, Audio::AnnotatedFile& out_file, LogBridge& inout_log)
try {
    if (in_strPath == "-")
        return "regions are read from files only, not from standard input";
    errno = 0;
    std::ifstream stream(in_strPath, std::ios::binary);
    if (!stream)
        return std::string("failed to open, ") + std::strerror(errno);
    if (out_file.readRegionsFromWAV(stream))
        return {};
    const unsigned uiNbOfChannels = channelsOf(out_file);
    const std::string strReason = inout_log.takeErrors();
    if (uiNbOfChannels > 1)
        return "has " + std::to_string(uiNbOfChannels) + " channels; regions are kept in mono recordings only";
    return strReason.empty() ? "is no WAV file that regions can be read from" : strReason;
} catch (const std::bad_alloc&) {
    return "not enough memory for its regions";
}

double secondsOf(const Audio::AnnotatedFile& in_file)
{
    return static_cast<double>(in_file.getNbOfSamples()) / in_file.getSampleRate();
}

} // namespace Corvana::Tools
