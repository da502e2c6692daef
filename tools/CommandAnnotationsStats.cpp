// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsStats.h"

#include "corvana/NumberText.h"
#include "tools/ExitCode.h"
#include "tools/FilesInOrder.h"
#include "tools/InputList.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/RowWriter.h"
#include "tools/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>

namespace Corvana::Tools {
namespace {

/// A sum of durations. Samples are counted, for each rate on its own, so that it depends neither on the order of the
/// files nor on the rounding of each addition.
class SampleSum
{
public:
    void add(std::uint32_t in_uiRate, double in_dSeconds)
    {
        m_samples[in_uiRate] += static_cast<std::uint64_t>(std::llround(in_dSeconds * in_uiRate));
    }

    double seconds() const
    {
        double dSeconds = 0.0;
        for (const auto& [uiRate, uiSamples] : m_samples)
            dSeconds += static_cast<double>(uiSamples) / uiRate;
        return dSeconds;
    }

private:
    std::map<std::uint32_t, std::uint64_t> m_samples;
};

struct Statistic
{
    unsigned long m_uiNbOfRegions = 0;
    unsigned long m_uiNbOfFiles = 0;
    std::size_t m_uiLastFile = 0; // from 1: the file that was counted last
    SampleSum m_duration;
};

class Statistics
{
public:
    void addFile(const Audio::AnnotatedFile& in_file)
    {
        ++m_uiNbOfFiles;
        m_audio.add(in_file.getSampleRate(), secondsOf(in_file));
        for (const auto& region : in_file.annotations()) {
            if (!isRegionType(region.m_type))
                continue; // an identifier that the file skips
            count(m_types[region.m_type], in_file.getSampleRate(), region);
            count(m_total, in_file.getSampleRate(), region);
        }
    }

    void writeTable(std::ostream& out_data) const
    {
        std::vector<std::vector<std::string>> vRows = {{"type", "regions", "seconds", "files"}};
        for (const auto& [type, statistic] : m_types)
            vRows.push_back(row(regionTypeText(type), statistic));
        vRows.push_back(row("total", m_total));
        std::vector<std::size_t> vWidths(vRows[0].size());
        for (const auto& vRow : vRows)
            for (std::size_t uiColumn = 0; uiColumn < vRow.size(); ++uiColumn)
                vWidths[uiColumn] = std::max(vWidths[uiColumn], vRow[uiColumn].size());
        for (const auto& vRow : vRows)
            out_data << aligned(vRow, vWidths);
        out_data << "\n" + counted(m_uiNbOfFiles, "recording") + ", " + durationText(m_audio.seconds()) + "; " +
                        std::to_string(m_uiNbOfFiles - m_total.m_uiNbOfFiles) + " without regions\n";
    }

    void writeCsv(std::ostream& out_data) const
    {
        out_data << "type,regions,seconds,files\n";
        for (const auto& [type, statistic] : m_types)
            out_data << csvField(regionTypeText(type)) + "," + std::to_string(statistic.m_uiNbOfRegions) + "," +
                            toShortestText(statistic.m_duration.seconds()) + "," +
                            std::to_string(statistic.m_uiNbOfFiles) + "\n";
    }

    void writeJson(std::ostream& out_data) const
    {
        std::string strText = "{\n  \"types\": [";
        const char* szBetween = "\n    ";
        for (const auto& [type, statistic] : m_types) {
            strText += szBetween + ("{\"type\":" + jsonString(regionTypeText(type))) + "," + members(statistic) + "}";
            szBetween = ",\n    ";
        }
        strText += (m_types.empty() ? "],\n" : "\n  ],\n");
        strText += "  \"total\": {" + members(m_total) + "},\n  \"recordings\": " + std::to_string(m_uiNbOfFiles) +
                   ",\n  \"audio_seconds\": ";
        appendJsonNumber(strText, m_audio.seconds());
        out_data << strText << "\n}\n";
    }

private:
    void count(Statistic& inout_statistic, std::uint32_t in_uiRate,
               const Audio::AnnotatedFile::Annotation& in_region) const
    {
        ++inout_statistic.m_uiNbOfRegions;
        inout_statistic.m_uiNbOfFiles += inout_statistic.m_uiLastFile == m_uiNbOfFiles ? 0 : 1;
        inout_statistic.m_uiLastFile = m_uiNbOfFiles;
        inout_statistic.m_duration.add(in_uiRate, in_region.m_dStopTime - in_region.m_dStartTime);
    }

    static std::vector<std::string> row(const std::string& in_strName, const Statistic& in_statistic)
    {
        return {in_strName, std::to_string(in_statistic.m_uiNbOfRegions),
                fixedText(in_statistic.m_duration.seconds(), 3), std::to_string(in_statistic.m_uiNbOfFiles)};
    }

    // Names to the left, numbers to the right.
    static std::string aligned(const std::vector<std::string>& in_vRow, const std::vector<std::size_t>& in_vWidths)
    {
        std::string strLine = in_vRow[0] + std::string(in_vWidths[0] - in_vRow[0].size(), ' ');
        for (std::size_t uiColumn = 1; uiColumn < in_vRow.size(); ++uiColumn)
            strLine += "  " + std::string(in_vWidths[uiColumn] - in_vRow[uiColumn].size(), ' ') + in_vRow[uiColumn];
        return strLine + "\n";
    }

    static std::string members(const Statistic& in_statistic)
    {
        std::string strText = "\"regions\":" + std::to_string(in_statistic.m_uiNbOfRegions) + ",\"seconds\":";
        appendJsonNumber(strText, in_statistic.m_duration.seconds());
        return strText + ",\"files\":" + std::to_string(in_statistic.m_uiNbOfFiles);
    }

    std::map<RegionTypeValue, Statistic> m_types;
    Statistic m_total;
    std::size_t m_uiNbOfFiles = 0;
    SampleSum m_audio;
};

// The regions of a recording, or why there are none.
struct Found
{
    Audio::AnnotatedFile m_file;
    std::string m_strFault;
};

Found examine(const Input& in_input, LogBridge& inout_log)
{
    Found found;
    found.m_strFault =
        in_input.m_strFault.empty() ? readRegionsOf(in_input.m_strPath, found.m_file, inout_log) : in_input.m_strFault;
    inout_log.endInput();
    return found;
}

} // namespace

int CommandAnnotationsStats::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Messages messages(out_messages, in_options.m_messages.m_bQuiet);
    if (in_options.m_vFiles.empty() && in_options.m_vLists.empty()) {
        messages.error("no recording given: name at least one, or a list of them with --list FILE");
        return EXIT_UNUSABLE;
    }
    const std::vector<Input> vInputs =
        collectInputs(in_options.m_vFiles, in_options.m_vLists, in_options.m_folders, in_options.m_messages, messages);
    FileRun fileRun(in_options.m_messages, in_options.m_run, vInputs, in_options.m_vLists, messages, out_messages);
    if (!fileRun.isUsable())
        return EXIT_UNUSABLE;
    Statistics statistics;
    FilesInOrder<Found>(in_options.m_messages, in_options.m_run.m_uiNbOfJobs, messages)
        .run(vInputs, fileRun, examine, [&](const Input&, const Found& in_found) {
            statistics.addFile(in_found.m_file);
            return true;
        });
    const int iExitCode = fileRun.finish(EXIT_DONE);
    if (fileRun.isGivenUp())
        return iExitCode;
    if (in_options.m_format == Format::CSV)
        statistics.writeCsv(out_data);
    else if (in_options.m_format == Format::JSON)
        statistics.writeJson(out_data);
    else
        statistics.writeTable(out_data);
    return iExitCode;
}

} // namespace Corvana::Tools
