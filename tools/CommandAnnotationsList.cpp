// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsList.h"

#include "tools/ExitCode.h"
#include "tools/FilesInOrder.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/RegionReading.h"
#include "tools/RowWriter.h"
#include "tools/Text.h"

#include <algorithm>
#include <sstream>

namespace Corvana::Tools {
namespace {

constexpr int s_iTableDigits = 6; // microseconds: finer than samples

std::string padded(const std::string& in_strText, std::size_t in_uiWidth)
{
    return std::string(in_strText.size() < in_uiWidth ? in_uiWidth - in_strText.size() : 0, ' ') + in_strText;
}

std::string paddedBehind(const std::string& in_strText, std::size_t in_uiWidth)
{
    return in_strText + std::string(in_strText.size() < in_uiWidth ? in_uiWidth - in_strText.size() : 0, ' ');
}

class Listing
{
public:
    Listing(const CommandAnnotationsList::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_data(out_data)
        , m_messageStream(out_messages)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
    {
    }

    int run()
    {
        if (m_options.m_vFiles.empty() && m_options.m_vLists.empty()) {
            m_messages.error("no recording given: name at least one, or a list of them with --list FILE");
            return EXIT_UNUSABLE;
        }
        const std::vector<Input> vInputs = collectInputs(m_options.m_vFiles, m_options.m_vLists, m_options.m_folders,
                                                         m_options.m_messages, m_messages);
        m_bSeveral = m_options.m_vFiles.size() != 1 || !m_options.m_vLists.empty() || m_options.m_folders.m_bRecursive;
        if (m_bSeveral && m_options.m_format && isOneFileFormat(*m_options.m_format)) {
            m_messages.error(std::string("--format ") + nameOf(*m_options.m_format) +
                             " holds the regions of one file; 'corvana annotations export' makes one for each");
            return EXIT_UNUSABLE;
        }
        FileRun fileRun(m_options.m_messages, m_options.m_run, vInputs, m_options.m_vLists, m_messages,
                        m_messageStream);
        if (!fileRun.isUsable())
            return EXIT_UNUSABLE;
        begin();
        listAll(vInputs, fileRun);
        end();
        if (fileRun.getNbOfFailures() > 0 && !fileRun.isGivenUp() && vInputs.size() > 1)
            m_messages.note(std::to_string(fileRun.getNbOfFailures()) + " of " + counted(vInputs.size(), "file") +
                            " failed");
        return fileRun.finish(EXIT_DONE);
    }

private:
    static bool isOneFileFormat(RegionFormat in_format)
    {
        return in_format == RegionFormat::AUDACITY || in_format == RegionFormat::TEXTGRID;
    }

    // The regions of a recording, or why there are none.
    struct Found
    {
        Audio::AnnotatedFile m_file;
        std::string m_strFault;
    };

    static Found examine(const Input& in_input, LogBridge& inout_log)
    {
        Found found;
        found.m_strFault = in_input.m_strFault.empty() ? readRegionsOf(in_input.m_strPath, found.m_file, inout_log)
                                                       : in_input.m_strFault;
        if (found.m_strFault.empty())
            inout_log.endInput();
        else
            inout_log.takeErrors();
        return found;
    }

    void listAll(const std::vector<Input>& in_vInputs, FileRun& inout_run)
    {
        FilesInOrder<Found>(m_options.m_messages, m_options.m_run.m_uiNbOfJobs, m_messages)
            .run(in_vInputs, inout_run, examine, [this](const Input& in_input, const Found& in_found) {
                write(in_input.m_strPath, in_found.m_file);
                return m_data.good();
            });
    }

    void write(const std::string& in_strPath, const Audio::AnnotatedFile& in_file)
    {
        const std::vector<LabeledRegion> vRegions = labeledRegionsOf(in_file); // the library has warned about gaps
        if (!m_options.m_format)
            writeTable(in_strPath, vRegions);
        else if (!m_bSeveral)
            writeRegions(m_data, *m_options.m_format, vRegions, secondsOf(in_file));
        else if (*m_options.m_format == RegionFormat::CSV)
            writeRowsWithFile(in_strPath, vRegions);
        else
            writeObject(in_strPath, vRegions);
        ++m_uiNbOfWritten;
    }

    // Before the first file: the header belongs to a table without rows as well.
    void begin()
    {
        if (m_bSeveral && m_options.m_format == RegionFormat::CSV)
            m_data << "file,index,type,start,stop\n";
        if (m_bSeveral && m_options.m_format == RegionFormat::JSON)
            m_data << "[";
    }

    void end()
    {
        if (m_bSeveral && m_options.m_format == RegionFormat::JSON)
            m_data << (m_uiNbOfWritten == 0 ? "]\n" : "\n]\n");
    }

    static std::string textOf(RegionFormat in_format, const std::vector<LabeledRegion>& in_vRegions)
    {
        std::ostringstream text;
        text.exceptions(std::ios_base::badbit); // else memory that runs out cuts it, in silence
        writeRegions(text, in_format, in_vRegions, 0.0);
        return text.str();
    }

    // Types hold no line ends, so each line is a row.
    void writeRowsWithFile(const std::string& in_strPath, const std::vector<LabeledRegion>& in_vRegions)
    {
        const std::string strStart = csvField(in_strPath) + ",";
        std::istringstream rows(textOf(RegionFormat::CSV, in_vRegions));
        rows.exceptions(std::ios_base::badbit);
        std::string strRow;
        std::getline(rows, strRow);
        while (std::getline(rows, strRow))
            m_data << strStart + strRow + "\n";
    }

    void writeObject(const std::string& in_strPath, const std::vector<LabeledRegion>& in_vRegions)
    {
        std::string strArray = textOf(RegionFormat::JSON, in_vRegions);
        strArray.pop_back(); // the line end
        m_data << (m_uiNbOfWritten == 0 ? "\n" : ",\n") + ("{\"file\":" + jsonString(in_strPath)) +
                      ",\"regions\":" + strArray + "}";
    }

    void writeTable(const std::string& in_strPath, const std::vector<LabeledRegion>& in_vRegions)
    {
        m_data << printable(in_strPath) + ": " + counted(in_vRegions.size(), "region") + "\n";
        if (in_vRegions.empty())
            return;
        std::size_t uiWidth = 4;
        for (const LabeledRegion& region : in_vRegions)
            uiWidth = std::max(uiWidth, region.m_strLabel.size());
        m_data << "  index  " + paddedBehind("type", uiWidth) + "         start          stop      duration\n";
        for (const LabeledRegion& region : in_vRegions) {
            m_data << padded(std::to_string(region.m_uiIndex.value_or(0)), 7) + "  " +
                          paddedBehind(region.m_strLabel, uiWidth) + seconds(region.m_dStart) +
                          seconds(region.m_dStop) + seconds(region.m_dStop - region.m_dStart) + "\n";
        }
    }

    static std::string seconds(double in_dSeconds) { return padded(fixedText(in_dSeconds, s_iTableDigits), 14); }

    const CommandAnnotationsList::Options& m_options;
    std::ostream& m_data;
    std::ostream& m_messageStream;
    Messages m_messages;
    bool m_bSeveral = false;
    std::size_t m_uiNbOfWritten = 0;
};

} // namespace

int CommandAnnotationsList::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Listing(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
