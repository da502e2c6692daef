// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/ChunkBuilder.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Tools {

/// Runs commands on small recordings in a folder of their own.
class RecordingsTest : public testing::Test
{
protected:
    struct Region
    {
        std::string m_strLabel;
        std::uint32_t m_uiStart;  // samples
        std::uint32_t m_uiLength; // samples
    };

    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }
    int annotations(std::vector<std::string> in_vArguments)
    {
        in_vArguments.insert(in_vArguments.begin(), "annotations");
        return run(in_vArguments);
    }

    /// 16 bits a sample; 8000 samples are a second.
    std::string makeFile(const std::string& in_strName, const std::vector<Region>& in_vRegions = {},
                         std::size_t in_uiNbOfSamples = 8000, std::uint32_t in_uiSampleRate = 8000) const
    {
        std::vector<std::string> vPoints;
        std::string strChunks;
        for (const Region& region : in_vRegions) {
            const auto uiCueId = static_cast<std::uint32_t>(vPoints.size() + 1);
            vPoints.push_back(Corvana::Test::cuePoint(uiCueId, region.m_uiStart));
            strChunks += Corvana::Test::ltxtChunk(uiCueId, region.m_uiLength) +
                         Corvana::Test::lablChunk(uiCueId, region.m_strLabel);
        }
        const std::string strRegions =
            vPoints.empty() ? std::string() : Corvana::Test::cueChunk(vPoints) + Corvana::Test::adtlChunk(strChunks);
        return m_dir.write(
            in_strName, Corvana::Test::riff(Corvana::Test::fmtChunk(1, in_uiSampleRate) +
                                            Corvana::Test::dataChunk(Corvana::Test::audioBytes(2 * in_uiNbOfSamples)) +
                                            strRegions));
    }

    /// What the file holds as CSV without its header, or the messages.
    std::string regionsOf(const std::string& in_strFile)
    {
        std::ostringstream data;
        std::ostringstream messages;
        runCommandLine({"annotations", "list", "--format", "csv", in_strFile}, {}, data, messages);
        const std::string strData = data.str();
        return messages.str() + strData.substr(strData.find('\n') + 1);
    }

    static std::string contentsOf(const std::string& in_strPath)
    {
        std::ostringstream text;
        text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
        return text.str();
    }

    std::vector<std::string> namesInFolder() const
    {
        std::vector<std::string> vNames;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            vNames.push_back(entry.path().filename());
        return vNames;
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

} // namespace Corvana::Tools
