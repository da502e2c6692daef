// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"
#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Makes recordings with regions, and reads them.
class LabelledRecordings : public testing::Test
{
protected:
    using Annotation = Audio::AnnotatedFile::Annotation;
    using Regions = std::vector<Annotation>;

    /// Two seconds of noise at 8000 Hz.
    std::string recording(const std::string& in_strName, const Regions& in_vRegions = {}, int in_iSampleRate = 8000)
    {
        const std::string strFile = Corvana::Test::writeSoundFile(
            m_dir.file(in_strName), Corvana::Test::noise(2UL * static_cast<unsigned long>(in_iSampleRate)),
            in_iSampleRate, Corvana::Test::WAV_PCM16);
        for (const Annotation& region : in_vRegions)
            EXPECT_TRUE(Audio::AnnotatedFile::addAnnotation(strFile.c_str(), region));
        return strFile;
    }

    /// The same with three regions, of which the file calls the last one 4: it skips identifier 3.
    std::string recordingWithAGap(const std::string& in_strName, const Regions& in_vRegions)
    {
        const std::string strFile = recording(in_strName, in_vRegions);
        std::string strBytes = contentsOf(strFile);
        strBytes.at(strBytes.find("cue ") + 12 + std::size_t{2} * 24) = 4;
        strBytes.at(strBytes.rfind("ltxt") + 8) = 4;
        strBytes.at(strBytes.rfind("labl") + 8) = 4;
        return m_dir.write(in_strName, strBytes);
    }

    /// Such as "MALE 0.5 1, BEEP 1 1".
    static std::string regionsOf(const std::string& in_strFile)
    {
        Audio::AnnotatedFile file;
        std::ifstream stream(in_strFile, std::ios::binary);
        EXPECT_TRUE(file.readFromWAV(stream)) << in_strFile;
        std::ostringstream text;
        for (const Annotation& region : file.annotations())
            text << (text.str().empty() ? "" : ", ") << Annotation::getAnnotationTypeString(region.m_type) << ' '
                 << region.m_dStartTime << ' ' << region.m_dStopTime;
        return text.str();
    }

    static std::string contentsOf(const std::string& in_strFile)
    {
        std::ifstream stream(in_strFile, std::ios::binary);
        EXPECT_TRUE(stream) << in_strFile;
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

} // namespace Corvana::Tools
