// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandMerge.h"

#include "tools/ExitCode.h"
#include "tools/InputList.h"
#include "tools/Messages.h"
#include "tools/NpyFormat.h"
#include "tools/TableFile.h"
#include "tools/TablePart.h"
#include "tools/Text.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <utility>

namespace Corvana::Tools {
namespace {

class MergeRun
{
public:
    MergeRun(const CommandMerge::Options& in_options, std::ostream& out_messages)
        : m_options(in_options)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_rows(m_unused)
        , m_times(m_unused)
        , m_inputs(m_unused)
    {
    }

    int run()
    {
        if (!openParts() || !checkShards() || !openOutputs())
            return EXIT_UNUSABLE;
        describe();
        if (!copyTable() || !copyInputs() || !commit())
            return EXIT_UNUSABLE;
        m_messages.note(printable(m_options.m_strOutput) + ": " + counted(m_vParts.size(), "part") + ", " +
                        counted(m_whole.m_settings.m_uiNbOfInputs, "input") + ", " +
                        counted(m_whole.m_size.m_uiNbOfRows, "row"));
        return EXIT_DONE;
    }

private:
    bool refuse(const std::string& in_strText)
    {
        m_messages.error(in_strText);
        return false;
    }

    bool isNpy() const { return m_whole.m_settings.m_format == RowFormat::NPY; }

    // Whoever forgets to name the output would lose a part.
    bool isOutputAPart() const
    {
        TableDescriptionReader reader;
        return reader.open(descriptionPathOf(m_options.m_strOutput)) && reader.get().m_settings.m_uiNbOfShards > 0 &&
               std::filesystem::exists(m_options.m_strOutput);
    }

    bool openParts()
    {
        if (isOutputAPart())
            return refuse(printable(m_options.m_strOutput) +
                          ": is itself a part of a table; name the file to be written before the parts");
        for (const std::string& strPath : m_options.m_vParts) {
            m_vParts.emplace_back(strPath);
            TableDescription description;
            const std::string strFault = m_vParts.back().open(description);
            if (!strFault.empty())
                return refuse(strFault);
            if (m_vParts.size() == 1)
                m_whole = std::move(description);
            else if (!isOfTheRun(description))
                return false;
        }
        return true;
    }

    // The first part tells what the run is.
    bool isOfTheRun(const TableDescription& in_description)
    {
        const std::string& strFirst = m_vParts.front().getPath();
        const std::string& strOther = m_vParts.back().getPath();
        TableSettings settings = in_description.m_settings;
        settings.m_uiShard = m_whole.m_settings.m_uiShard;
        SettingsDifference difference = findDifference(m_whole.m_settings, settings);
        if (difference.m_strWhat == "--shard") // of which only the number of parts can differ
            difference = {"the number of parts", std::to_string(m_whole.m_settings.m_uiNbOfShards),
                          std::to_string(settings.m_uiNbOfShards)};
        if (!difference.m_strWhat.empty())
            return refuse("the parts are not of one run: " + difference.m_strWhat + " is " + difference.m_strFormer +
                          " for " + printable(strFirst) + " and " + difference.m_strNow + " for " +
                          printable(strOther));
        return hasSameColumns(m_whole, in_description) ||
               refuse("the parts are not of one run: the columns of " + printable(strFirst) + ", settled at " +
                      std::to_string(m_whole.m_uiSampleRate) + " Hz, are not those of " + printable(strOther) +
                      ", settled at " + std::to_string(in_description.m_uiSampleRate) + " Hz");
    }

    static bool hasSameColumns(const TableDescription& in_left, const TableDescription& in_right)
    {
        return in_left.m_uiSampleRate == in_right.m_uiSampleRate &&
               std::equal(in_left.m_vColumns.begin(), in_left.m_vColumns.end(), in_right.m_vColumns.begin(),
                          in_right.m_vColumns.end(), [](const TableColumn& in_one, const TableColumn& in_other) {
                              return in_one.m_strName == in_other.m_strName && in_one.m_strUnit == in_other.m_strUnit;
                          });
    }

    bool checkShards()
    {
        std::stable_sort(m_vParts.begin(), m_vParts.end(), [](const TablePart& in_left, const TablePart& in_right) {
            return in_left.getShard() < in_right.getShard();
        });
        const std::uint64_t uiNbOfShards = m_whole.m_settings.m_uiNbOfShards;
        constexpr std::size_t uiMaxShown = 10;
        std::vector<std::string> vMissing;
        std::uint64_t uiNext = 1;
        for (std::size_t uiPart = 0; uiPart <= m_vParts.size(); ++uiPart) {
            const std::uint64_t uiShard = uiPart < m_vParts.size() ? m_vParts[uiPart].getShard() : uiNbOfShards + 1;
            if (uiShard < uiNext)
                return refuse(printable(m_vParts[uiPart - 1].getPath()) + " and " +
                              printable(m_vParts[uiPart].getPath()) + " are both part " +
                              shardText(uiShard, uiNbOfShards) + "; name one of them");
            for (; uiNext < uiShard && vMissing.size() < uiMaxShown; ++uiNext)
                vMissing.push_back(shardText(uiNext, uiNbOfShards));
            uiNext = uiShard + 1;
        }
        const std::uint64_t uiNbMissing = uiNbOfShards - m_vParts.size();
        if (uiNbMissing > vMissing.size())
            vMissing.emplace_back("...");
        return uiNbMissing == 0 || refuse(counted(uiNbMissing, "part") + " of " + std::to_string(uiNbOfShards) +
                                          (uiNbMissing == 1 ? " is missing: " : " are missing: ") + joined(vMissing));
    }

    static std::string shardText(std::uint64_t in_uiShard, std::uint64_t in_uiNbOfShards)
    {
        return std::to_string(in_uiShard) + "/" + std::to_string(in_uiNbOfShards);
    }

    bool openOutputs()
    {
        if (!open(m_rows, m_options.m_strOutput) || !open(m_inputs, descriptionPathOf(m_options.m_strOutput)) ||
            (isNpy() && !open(m_times, npyTimesPathOf(m_options.m_strOutput))))
            return false;
        std::vector<std::string> vRead;
        for (const TablePart& part : m_vParts)
            for (const std::string& strFile : part.getFiles())
                vRead.push_back(strFile);
        for (const OutputFile* pFile : {&m_rows, &m_inputs, &m_times}) {
            const std::string strBoth = pFile->findAmong(vRead);
            if (!strBoth.empty())
                return refuse(readAndWritten(strBoth));
        }
        return true;
    }

    bool open(OutputFile& inout_file, const std::string& in_strPath)
    {
        if (!inout_file.open(in_strPath))
            return refuse("cannot write: " + inout_file.getFault());
        return inout_file.isNamedAtLast() || refuse("cannot write: " + printable(in_strPath) +
                                                    ": is no file, beside which a description could stand");
    }

    // What a run over all inputs tells, but for what only copying tells.
    void describe()
    {
        m_whole.m_settings.m_uiShard = m_whole.m_settings.m_uiNbOfShards = 0;
        m_whole.m_size = TablePosition();
        for (const TablePart& part : m_vParts)
            m_whole.m_size.m_uiNbOfRows += part.getNbOfRows();
    }

    bool copyTable()
    {
        m_rows.stream() << startOfTable(m_whole);
        if (isNpy())
            m_times.stream() << npyHeaderOfTimes(m_whole.m_size.m_uiNbOfRows);
        Checksum rows;
        Checksum times;
        std::uint64_t uiNbOfBytes = startOfTable(m_whole).size();
        for (const TablePart& part : m_vParts) {
            std::string strFault = part.copyRows(m_rows, rows);
            if (strFault.empty() && isNpy())
                strFault = part.copyTimes(m_times, times);
            if (!strFault.empty())
                return refuse(strFault);
            if (const std::string strWritingFault = faultOfOutputs(); !strWritingFault.empty())
                return refuse("cannot write: " + strWritingFault);
            uiNbOfBytes += part.getNbOfRowBytes();
        }
        m_whole.m_size.m_uiNbOfBytes = uiNbOfBytes;
        m_whole.m_size.m_uiChecksum = rows.getValue();
        m_whole.m_size.m_uiTimesChecksum = times.getValue();
        return true;
    }

    bool copyInputs()
    {
        TableDescriptionWriter writer(m_inputs.stream(), m_whole);
        for (const TablePart& part : m_vParts) {
            const std::string strFault = part.copyInputs(writer);
            if (!strFault.empty())
                return refuse(strFault);
        }
        writer.finish();
        return true;
    }

    // All of it is on the disk before the first name is given, and the table has its name before it is described.
    bool commit()
    {
        const bool bDone = m_times.sync() && m_rows.sync() && m_inputs.sync() && (!isNpy() || m_times.commit()) &&
                           m_rows.commit() && m_inputs.commit();
        return bDone || refuse("cannot write: " + faultOfOutputs());
    }

    std::string faultOfOutputs() const
    {
        for (const OutputFile* pFile : {&m_rows, &m_times})
            if (!pFile->isGood())
                return pFile->getFault();
        return m_inputs.getFault();
    }

    const CommandMerge::Options& m_options;
    Messages m_messages;
    std::vector<TablePart> m_vParts; // in the order of the inputs
    TableDescription m_whole;        // at first the first part given
    std::ostringstream m_unused;
    OutputFile m_rows;
    OutputFile m_times;
    OutputFile m_inputs; // and all that describes the table
};

} // namespace

int CommandMerge::run(const Options& in_options, std::ostream& out_messages)
{
    return MergeRun(in_options, out_messages).run();
}

} // namespace Corvana::Tools
