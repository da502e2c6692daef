// SPDX-License-Identifier: Apache-2.0
#include "tools/RecordingMender.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioAtomicFileEdit.h"
#include "tools/AnnotationChecker.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/Termination.h"
#include "tools/Text.h"

#include <algorithm>
#include <cmath>
#include <fstream>

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;
using Regions = std::vector<Annotation>;

// What the file will be read as.
void mend(Regions& inout_vRegions, double in_dEnd)
{
    const auto isGap = [](const Annotation& in_region) { return !isRegionType(in_region.m_type); };
    inout_vRegions.erase(std::remove_if(inout_vRegions.begin(), inout_vRegions.end(), isGap), inout_vRegions.end());
    for (Annotation& region : inout_vRegions) {
        region.m_dStartTime = std::min(region.m_dStartTime, in_dEnd);
        region.m_dStopTime = std::min(region.m_dStopTime, in_dEnd);
    }
}

bool read(const std::string& in_strFile, Audio::AnnotatedFile& out_file)
{
    std::ifstream stream(in_strFile, std::ios::binary);
    return bool(out_file.readRegionsFromWAV(stream));
}

// To the sample: a stop comes back as a start and a length added up, which need not be the double that was meant.
bool isSame(const Annotation& in_left, const Annotation& in_right, double in_dSampleRate)
{
    const auto isSameTime = [in_dSampleRate](double in_dLeft, double in_dRight) {
        return std::fabs(in_dLeft - in_dRight) * in_dSampleRate < 0.5;
    };
    return in_left.m_type == in_right.m_type && isSameTime(in_left.m_dStartTime, in_right.m_dStartTime) &&
           isSameTime(in_left.m_dStopTime, in_right.m_dStopTime);
}

// Reads back what was written.
std::string checkMended(const std::string& in_strFile, const Regions& in_vWanted)
{
    AnnotationChecker checker;
    Audio::AnnotatedFile file;
    if (!checker.check(in_strFile).empty() || !read(in_strFile, file))
        return "what would be written could not be read again";
    const Regions& vFound = file.annotations();
    const auto isAsWanted = [&file](const Annotation& in_wanted, const Annotation& in_found) {
        return isSame(in_wanted, in_found, file.getSampleRate());
    };
    if (checker.isMendable() ||
        !std::equal(in_vWanted.begin(), in_vWanted.end(), vFound.begin(), vFound.end(), isAsWanted))
        return "what would be written is not what was meant";
    return {};
}

std::string mendCopy(const std::string& in_strCopy)
{
    Audio::AnnotatedFile file;
    if (!read(in_strCopy, file))
        return "its regions cannot be read";
    IFF::ChunkPos pos;
    if (file.parser().find(IFF::Chunk::makeId("note"), pos))
        return "has notes, which would get lost";
    mend(file.annotations(), secondsOf(file));
    const Regions vWanted = file.annotations();
    return file.updateFile(in_strCopy.c_str()) ? checkMended(in_strCopy, vWanted) : "could not be written";
}

} // namespace

std::string mendRecording(const std::string& in_strPath)
{
    Audio::AtomicFileEdit edit(in_strPath.c_str(),
                               [](const char* in_szFile) { Termination::setTemporaryFile(in_szFile); });
    const std::string strFault = edit.isOpen() ? mendCopy(edit.workingFileName()) : std::string();
    if (!strFault.empty() || (edit.isOpen() && edit.commit()))
        return strFault;
    const std::string strName = " : " + in_strPath;
    const std::string& strText = edit.getFault();
    return printable(strText.ends_with(strName) ? strText.substr(0, strText.size() - strName.size()) : strText);
}

} // namespace Corvana::Tools
