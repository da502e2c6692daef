// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsImport.h"

#include "corvana/NumberText.h"
#include "tools/ExitCode.h"
#include "tools/LabelMap.h"
#include "tools/RegionReading.h"
#include "tools/Text.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

namespace Corvana::Tools {
namespace {

using Regions = AnnotationEdit::Regions;

/// The label files of a folder by their base names.
class LabelFolder
{
public:
    // Returns why it cannot be read.
    std::string read(const std::string& in_strFolder, std::optional<RegionFormat> in_format)
    {
        m_strFolder = in_strFolder;
        std::error_code error;
        std::filesystem::directory_iterator itEntry(in_strFolder, error);
        for (; !error && itEntry != std::filesystem::directory_iterator(); itEntry.increment(error)) {
            const std::string strPath = itEntry->path();
            RegionFormat format{};
            if (findFormatOfFile(strPath, format) && format == in_format.value_or(format))
                m_files[itEntry->path().stem()].push_back(strPath);
        }
        return error ? error.message() : std::string();
    }

    // Returns why a recording has none.
    std::string find(const std::string& in_strRecording, std::string& out_strLabels) const
    {
        const std::string strName = std::filesystem::path(in_strRecording).stem();
        const auto itFiles = m_files.find(strName);
        if (itFiles == m_files.end())
            return "has no label file " + inQuotes(strName + ".*") + " in " + inQuotes(m_strFolder) +
                   " (.csv, .json, .txt or .TextGrid)";
        std::vector<std::string> vFiles = itFiles->second;
        std::sort(vFiles.begin(), vFiles.end());
        if (vFiles.size() > 1)
            return "has several label files, " + printable(joined(vFiles)) + "; choose with --format";
        out_strLabels = vFiles[0];
        return {};
    }

private:
    std::string m_strFolder;
    std::map<std::string, std::vector<std::string>> m_files;
};

class Import
{
public:
    Import(const CommandAnnotationsImport::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_edit(in_options.m_edit, out_data, out_messages)
    {
    }

    int run()
    {
        if (!m_edit.hasFiles() || !readMap())
            return EXIT_UNUSABLE;
        std::vector<Input> vRecordings = m_edit.collectFiles();
        if (m_options.m_strFolder.empty() ? !takeLabelFile(vRecordings) : !takeLabelFolder(vRecordings))
            return EXIT_UNUSABLE;
        return m_edit.run(vRecordings, [this](const std::string& in_strPath, const Audio::AnnotatedFile& in_file,
                                              Regions& inout_vRegions) {
            return change(m_labels.at(in_strPath), in_file, inout_vRegions);
        });
    }

private:
    bool refuse(const std::string& in_strText)
    {
        m_edit.messages().error(in_strText);
        return false;
    }

    bool readMap()
    {
        if (m_options.m_strMap.empty())
            return true;
        std::string strText;
        std::string strFault = readTextFile(m_options.m_strMap, LabelMap::s_uiMaxBytes, strText);
        if (strFault.empty())
            strFault = m_map.read(strText);
        if (!strFault.empty())
            m_edit.messages().inputError(m_options.m_strMap, strFault);
        return strFault.empty();
    }

    bool takeLabelFile(std::vector<Input>& inout_vRecordings)
    {
        if (inout_vRecordings.size() > 1)
            return refuse("a label file is imported into one recording; for several, --folder DIR names the folder "
                          "with a label file for each");
        if (!inout_vRecordings.empty())
            takeLabels(m_options.m_strLabels, inout_vRecordings[0]);
        return true;
    }

    bool takeLabelFolder(std::vector<Input>& inout_vRecordings)
    {
        std::map<std::string, std::string> recordings; // by their base names
        for (const Input& recording : inout_vRecordings) {
            const std::string strName = std::filesystem::path(recording.m_strPath).stem();
            const auto [itRecording, bNew] = recordings.emplace(strName, recording.m_strPath);
            if (!bNew)
                return refuse(inQuotes(itRecording->second) + " and " + inQuotes(recording.m_strPath) +
                              " would both take the label file of " + inQuotes(strName) +
                              "; import them from different folders");
        }
        LabelFolder folder;
        const std::string strFault = folder.read(m_options.m_strFolder, m_options.m_format);
        if (!strFault.empty())
            return refuse(printable(m_options.m_strFolder) + ": cannot be read, " + strFault);
        for (Input& recording : inout_vRecordings) {
            std::string strLabels;
            if (recording.m_strFault.empty())
                recording.m_strFault = folder.find(recording.m_strPath, strLabels);
            if (recording.m_strFault.empty())
                takeLabels(strLabels, recording);
        }
        return true;
    }

    // What is wrong with the labels becomes the recording's fault, so that it is told in its turn.
    void takeLabels(const std::string& in_strLabels, Input& inout_recording)
    {
        if (!inout_recording.m_strFault.empty())
            return;
        const std::string strFault = readLabels(in_strLabels, m_labels[inout_recording.m_strPath]);
        if (!strFault.empty())
            inout_recording.m_strFault = "not changed: " + printable(in_strLabels) + ": " + strFault;
    }

    std::string readLabels(const std::string& in_strLabels, Regions& out_vRegions) const
    {
        RegionFormat format = m_options.m_format.value_or(RegionFormat::CSV);
        if (!m_options.m_format && !findFormatOfFile(in_strLabels, format))
            return "its name does not tell a format by .csv, .json, .txt or .TextGrid; say it with --format (the "
                   "label file comes first, then the recording)";
        std::string strText;
        std::string strFault = readTextFile(in_strLabels, s_uiMaxRegionBytes, strText);
        if (!strFault.empty())
            return strFault;
        std::vector<LabeledRegion> vLabels;
        strFault = readRegions(strText, format, vLabels);
        if (!strFault.empty())
            return strFault + " (read as " + nameOf(format) +
                   (m_options.m_format ? ")" : "; if it is something else, say so with --format)");
        strFault = m_map.apply(vLabels, out_vRegions);
        if (!strFault.empty())
            strFault += m_options.m_strMap.empty() ? "\n--map FILE says what labels stand for." : "";
        return strFault;
    }

    AnnotationEdit::Outcome change(Regions in_vAdded, const Audio::AnnotatedFile& in_file, Regions& inout_vRegions)
    {
        std::string strDone;
        const std::string strFault = cutBeginning(in_file, in_vAdded, strDone);
        if (!strFault.empty())
            return {{}, strFault};
        const std::size_t uiNbOfFormer = inout_vRegions.size();
        if (!m_options.m_bAppend)
            inout_vRegions.clear();
        AnnotationEdit::Outcome outcome = m_edit.append(in_file, in_vAdded, "imported", inout_vRegions);
        outcome.m_strDone += strDone;
        if (!m_options.m_bAppend && uiNbOfFormer > 0)
            outcome.m_strDone += ", " + std::to_string(uiNbOfFormer) + " former removed";
        return outcome;
    }

    // The recording begins at 0; its end is looked at when the regions are appended. What is done is added to
    // out_strDone.
    std::string cutBeginning(const Audio::AnnotatedFile& in_file, Regions& inout_vRegions,
                             std::string& out_strDone) const
    {
        // Programs that compute times may be off by less than a sample.
        const auto isBefore = [&in_file](double in_dSeconds) {
            return std::floor(in_dSeconds * in_file.getSampleRate() + 0.5) < 0.0;
        };
        unsigned long uiNbOfCut = 0;
        Regions vLeft;
        for (const AnnotationEdit::Annotation& region : inout_vRegions) {
            const bool bBefore = isBefore(region.m_dStartTime);
            if (bBefore && !m_options.m_edit.m_bClip)
                return "the region " + regionTypeText(region.m_type) + " from " + toShortestText(region.m_dStartTime) +
                       " to " + toShortestText(region.m_dStopTime) + " s begins before the audio; --clip cuts it there";
            if (bBefore && !(region.m_dStopTime > 0.0))
                continue;
            vLeft.push_back(region);
            if (bBefore)
                vLeft.back().m_dStartTime = 0.0;
            uiNbOfCut += bBefore ? 1 : 0;
        }
        if (uiNbOfCut > 0)
            out_strDone += ", " + std::to_string(uiNbOfCut) + " cut at the beginning";
        if (vLeft.size() < inout_vRegions.size())
            out_strDone += ", " + std::to_string(inout_vRegions.size() - vLeft.size()) + " before it left out";
        inout_vRegions = std::move(vLeft);
        return {};
    }

    const CommandAnnotationsImport::Options& m_options;
    AnnotationEdit m_edit;
    LabelMap m_map;
    std::map<std::string, Regions> m_labels; // by the paths of the recordings
};

} // namespace

int CommandAnnotationsImport::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Import(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
