// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsExport.h"

#include "tools/ExitCode.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/OutputFile.h"
#include "tools/RegionReading.h"
#include "tools/Text.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace Corvana::Tools {
namespace {

class Export
{
public:
    Export(const CommandAnnotationsExport::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_data(out_data)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_log(m_messages, in_options.m_messages.m_iLogLevel)
    {
    }

    int run()
    {
        if (m_options.m_vFiles.empty() && m_options.m_vLists.empty())
            return refuse("no recording given: name at least one, or a list of them with --list FILE");
        if (!m_options.m_strFolder.empty() && !m_options.m_strOutput.empty())
            return refuse("--output and --folder cannot stand together");
        if (!settleFormat())
            return EXIT_UNUSABLE;
        const std::vector<Input> vInputs =
            collectInputs(m_options.m_vFiles, m_options.m_vLists, m_options.m_folders, m_log, m_messages);
        for (const Input& input : vInputs)
            rememberRead(input.m_strPath);
        for (const std::string& strList : m_options.m_vLists)
            rememberRead(strList);
        if (!m_options.m_strFolder.empty())
            return exportAll(vInputs);
        if (vInputs.size() > 1)
            return refuse("several recordings are exported into a folder: --folder DIR; 'corvana annotations list' "
                          "writes one table of all");
        return vInputs.empty() ? static_cast<int>(EXIT_DONE) : exportOne(vInputs[0], m_options.m_strOutput);
    }

private:
    int refuse(const std::string& in_strText)
    {
        m_messages.error(in_strText);
        return EXIT_UNUSABLE;
    }

    // Not by their names: links lead to the same file.
    using FileIdentity = std::pair<dev_t, ino_t>;

    static bool identify(const std::string& in_strPath, FileIdentity& out_identity)
    {
        struct stat status = {};
        if (stat(in_strPath.c_str(), &status) != 0)
            return false;
        out_identity = {status.st_dev, status.st_ino};
        return true;
    }

    void rememberRead(const std::string& in_strPath)
    {
        FileIdentity identity;
        if (identify(in_strPath, identity))
            m_read.insert(identity);
    }

    bool isRead(const std::string& in_strPath) const
    {
        FileIdentity identity;
        return identify(in_strPath, identity) && m_read.contains(identity);
    }

    bool settleFormat()
    {
        if (m_options.m_format)
            m_format = *m_options.m_format;
        const std::string& strOutput = m_options.m_strOutput;
        if (m_options.m_format || strOutput.empty() || strOutput == "-" || findFormatOfFile(strOutput, m_format))
            return true;
        refuse("the name " + inQuotes(strOutput) +
               " does not tell a format by .csv, .json, .txt or .TextGrid; say "
               "it with --format");
        return false;
    }

    std::string outputFor(const std::string& in_strPath) const
    {
        const std::filesystem::path folder = m_options.m_strFolder;
        return folder / (std::filesystem::path(in_strPath).stem().string() + endingOf(m_format));
    }

    int exportAll(const std::vector<Input>& in_vInputs)
    {
        std::map<std::string, std::string> recordings; // by the files that they are exported to
        for (const Input& input : in_vInputs) {
            const auto [itRecording, bNew] = recordings.emplace(outputFor(input.m_strPath), input.m_strPath);
            if (!bNew)
                return refuse(inQuotes(itRecording->second) + " and " + inQuotes(input.m_strPath) +
                              " would both be exported to " + inQuotes(itRecording->first) +
                              "; export them into different folders");
        }
        std::error_code error;
        std::filesystem::create_directories(m_options.m_strFolder, error);
        if (error)
            return refuse("cannot write: " + printable(m_options.m_strFolder) + ": " + error.message());
        int iExitCode = EXIT_DONE;
        for (const Input& input : in_vInputs) {
            const int iResult = exportOne(input, outputFor(input.m_strPath));
            if (iResult == EXIT_UNUSABLE)
                return iResult; // the next would not be written either
            iExitCode = std::max(iExitCode, iResult);
        }
        return iExitCode;
    }

    int exportOne(const Input& in_input, const std::string& in_strOutput)
    {
        Audio::AnnotatedFile file;
        m_log.beginInput(in_input.m_strPath);
        const std::string strFault =
            in_input.m_strFault.empty() ? readRegionsOf(in_input.m_strPath, file, m_log) : in_input.m_strFault;
        m_log.endInput();
        if (!strFault.empty()) {
            m_messages.inputError(in_input.m_strPath, strFault);
            return EXIT_SOME_FAILED;
        }
        const std::vector<LabeledRegion> vRegions = regionsOf(in_input.m_strPath, file);
        if (!write(vRegions, secondsOf(file), in_strOutput))
            return EXIT_UNUSABLE;
        return writeResult(in_input, vRegions.size(), in_strOutput) ? EXIT_DONE : EXIT_UNUSABLE;
    }

    bool writeResult(const Input& in_input, std::size_t in_uiNbOfRegions, const std::string& in_strOutput)
    {
        if (!m_options.m_strFolder.empty())
            m_data << printable(in_input.m_strPath) + ": " + counted(in_uiNbOfRegions, "region") + " to " +
                          printable(in_strOutput) + "\n"
                   << std::flush;
        if (m_data.good())
            return true;
        const std::string strFault = OutputFile(m_data).getFault();
        if (!strFault.empty())
            refuse("cannot write: " + strFault);
        return false;
    }

    // Cue identifiers that the file skips are no regions, and nobody could import them again.
    std::vector<LabeledRegion> regionsOf(const std::string& in_strPath, const Audio::AnnotatedFile& in_file)
    {
        std::vector<LabeledRegion> vRegions = labeledRegionsOf(in_file);
        const std::size_t uiGaps = in_file.annotations().size() - vRegions.size();
        if (uiGaps > 0)
            m_messages.inputWarning(in_strPath, counted(uiGaps, "gap") + " between its regions left out");
        return vRegions;
    }

    bool write(const std::vector<LabeledRegion>& in_vRegions, double in_dDurationSeconds,
               const std::string& in_strOutput)
    {
        if (isRead(in_strOutput)) {
            refuse(inQuotes(in_strOutput) + " is read and cannot be the output too");
            return false;
        }
        OutputFile output(m_data);
        if (!in_strOutput.empty() && !output.open(in_strOutput)) {
            refuse("cannot write: " + output.getFault());
            return false;
        }
        writeRegions(output.stream(), m_format, in_vRegions, in_dDurationSeconds);
        if (output.stream().good() && output.commit())
            return true;
        const std::string strFault = output.getFault();
        if (!strFault.empty())
            refuse("cannot write: " + strFault);
        return false;
    }

    const CommandAnnotationsExport::Options& m_options;
    std::ostream& m_data;
    Messages m_messages;
    LogBridge m_log;
    RegionFormat m_format = RegionFormat::CSV;
    std::set<FileIdentity> m_read;
};

} // namespace

int CommandAnnotationsExport::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Export(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
