// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionReading.h"

#include "corvana/IFFWavRecords.h"
#include "tools/RegionType.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>

namespace Corvana::Tools {
namespace {

// Why a file with this number of channels is refused; empty when that is not the reason.
std::string channelFault(Audio::AnnotatedFile& inout_file)
{
    IFF::ChunkPos pos;
    IFF::WavFmtChunk format;
    bool bFound = inout_file.parser().find(IFF::Chunk::makeId("fmt "), pos);
    // The first that is long enough counts.
    while (bFound && !format.decode(pos.chunk().m_vData.data(), pos.chunk().getDataSize()))
        bFound = inout_file.parser().findNext(pos);
    if (!bFound || format.m_usNbOfChannels == 1)
        return {};
    if (format.m_usNbOfChannels == 0)
        return "says that it has 0 channels; write 1 into its format if it is mono";
    return "has " + std::to_string(format.m_usNbOfChannels) +
           " channels; regions are kept in mono recordings only, such as 'sox IN OUT remix 1' makes of the first "
           "channel";
}

} // namespace

std::string readRegionsOf(const std::string& in_strPath, Audio::AnnotatedFile& out_file, LogBridge& inout_log)
{
    bool bSystemFailed = false;
    return readRegionsOf(in_strPath, out_file, inout_log, bSystemFailed);
}

std::string readRegionsOf(const std::string& in_strPath, Audio::AnnotatedFile& out_file, LogBridge& inout_log,
                          bool& out_bSystemFailed)
try {
    out_bSystemFailed = false;
    if (in_strPath == "-")
        return "regions are read from files only, not from standard input";
    errno = 0;
    std::ifstream stream(in_strPath, std::ios::binary);
    out_bSystemFailed = !stream;
    if (!stream)
        return std::string("failed to open, ") + std::strerror(errno);
    if (out_file.readRegionsFromWAV(stream))
        return {};
    out_bSystemFailed = errno != 0;
    const std::string strReason = inout_log.takeErrors();
    const std::string strChannelFault = channelFault(out_file);
    if (!strChannelFault.empty())
        return strChannelFault;
    return strReason.empty() ? "is no WAV file that regions can be read from" : strReason;
} catch (const std::bad_alloc&) {
    out_bSystemFailed = true;
    return "not enough memory for its regions";
}

std::vector<LabeledRegion> labeledRegionsOf(const Audio::AnnotatedFile& in_file)
{
    std::vector<LabeledRegion> vRegions;
    for (std::size_t uiIndex = 0; uiIndex < in_file.annotations().size(); ++uiIndex) {
        const Audio::AnnotatedFile::Annotation& region = in_file.annotations()[uiIndex];
        if (!isRegionType(region.m_type))
            continue;
        vRegions.push_back({regionTypeText(region.m_type), region.m_dStartTime, region.m_dStopTime});
        vRegions.back().m_uiIndex = uiIndex;
    }
    return vRegions;
}

double secondsOf(const Audio::AnnotatedFile& in_file)
{
    return static_cast<double>(in_file.getNbOfSamples()) / in_file.getSampleRate();
}

} // namespace Corvana::Tools
