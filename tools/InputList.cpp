// SPDX-License-Identifier: Apache-2.0
#include "tools/InputList.h"

#include "corvana/AudioSetParser.h"
#include "tools/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <filesystem>
#include <fnmatch.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Corvana::Tools {
namespace {

bool isFolder(const std::string& in_strPath)
{
    std::error_code error;
    return std::filesystem::is_directory(in_strPath, error);
}

Input resolved(Audio::AudioSetParser& inout_parser, const char* in_szFullPath, LogBridge& inout_log)
{
    if (*in_szFullPath != '\0')
        return {in_szFullPath, {}, true};
    Input input{inout_parser.getCurrentEntry(), inout_log.takeErrors()};
    if (input.m_strPath.ends_with('\r'))
        input.m_strFault += " (the list has Windows line ends: the carriage return counts as part of the name)";
    return input;
}

bool matches(const char* in_szName, const std::vector<std::string>& in_vPatterns)
{
    if (in_vPatterns.empty())
        return fnmatch("*.wav", in_szName, FNM_PERIOD | FNM_CASEFOLD) == 0;
    return std::any_of(in_vPatterns.begin(), in_vPatterns.end(), [in_szName](const std::string& in_strPattern) {
        return fnmatch(in_strPattern.c_str(), in_szName, FNM_PERIOD) == 0;
    });
}

// What is in a folder, and in those that are still to be looked at.
class FolderSearch
{
public:
    FolderSearch(const FolderOptions& in_options, std::vector<Input>& inout_vFound)
        : m_options(in_options)
        , m_vFound(inout_vFound)
    {
    }

    void run(const std::string& in_strFolder)
    {
        m_vFolders.push_back(in_strFolder);
        while (!m_vFolders.empty()) {
            const std::string strFolder = std::exchange(m_vFolders.back(), {});
            m_vFolders.pop_back();
            look(strFolder);
        }
    }

private:
    void look(const std::string& in_strFolder)
    {
        const std::unique_ptr<DIR, int (*)(DIR*)> pFolder(opendir(in_strFolder.c_str()), closedir);
        errno = pFolder == nullptr ? errno : 0;
        while (pFolder != nullptr) {
            errno = 0;
            const dirent* pEntry = readdir(pFolder.get());
            if (pEntry == nullptr)
                break;
            if (pEntry->d_name[0] != '.')
                take(in_strFolder + (in_strFolder.ends_with('/') ? "" : "/") + pEntry->d_name, *pEntry);
        }
        if (errno != 0)
            m_vFound.push_back({in_strFolder, std::string("the folder cannot be read: ") + std::strerror(errno)});
    }

    // File systems that do not tell what an entry is have to be asked.
    void take(std::string in_strPath, const dirent& in_entry)
    {
        struct stat status = {};
        const bool bTold = in_entry.d_type != DT_UNKNOWN;
        if (bTold ? in_entry.d_type == DT_DIR : lstat(in_strPath.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            m_vFolders.push_back(std::move(in_strPath));
            return;
        }
        if (matches(in_entry.d_name, m_options.m_vPatterns) && mayBeRecording(in_strPath, in_entry))
            m_vFound.push_back({std::move(in_strPath), {}, in_entry.d_type == DT_REG});
    }

    // No link to a folder; and no pipe, which nobody named, and which might be waited for without end. A link that
    // leads nowhere is told when it is opened.
    static bool mayBeRecording(const std::string& in_strPath, const dirent& in_entry)
    {
        struct stat status = {};
        return in_entry.d_type == DT_REG || stat(in_strPath.c_str(), &status) != 0 || S_ISREG(status.st_mode);
    }

    const FolderOptions& m_options;
    std::vector<Input>& m_vFound;
    std::vector<std::string> m_vFolders;
};

void appendFolder(const std::string& in_strFolder, const FolderOptions& in_options, Messages& out_messages,
                  std::vector<Input>& inout_vInputs)
{
    if (!in_options.m_bRecursive) {
        inout_vInputs.push_back({in_strFolder, "is a folder, not a recording; --recursive takes the recordings in it"});
        return;
    }
    const auto iBegin = static_cast<std::ptrdiff_t>(inout_vInputs.size());
    FolderSearch(in_options, inout_vInputs).run(in_strFolder);
    if (inout_vInputs.begin() + iBegin == inout_vInputs.end())
        out_messages.inputWarning(
            in_strFolder, "the folder has no recordings whose names match " +
                              (in_options.m_vPatterns.empty() ? std::string("*.wav") : joined(in_options.m_vPatterns)));
    std::sort(inout_vInputs.begin() + iBegin, inout_vInputs.end(),
              [](const Input& in_left, const Input& in_right) { return in_left.m_strPath < in_right.m_strPath; });
}

void append(Input in_input, const FolderOptions& in_folders, Messages& out_messages, std::vector<Input>& inout_vInputs)
{
    if (in_input.m_strFault.empty() && isFolder(in_input.m_strPath))
        appendFolder(in_input.m_strPath, in_folders, out_messages, inout_vInputs);
    else
        inout_vInputs.push_back(std::move(in_input));
}

void appendList(const std::string& in_strList, LogBridge& inout_log, Messages& out_messages,
                std::vector<Input>& inout_vInputs)
{
    inout_log.beginInput(in_strList);
    Audio::AudioSetParser parser;
    if (isFolder(in_strList)) {
        inout_vInputs.push_back({in_strList, "is a folder, not a list of recordings"});
    } else if (!parser.setAudioSetFilename(in_strList.c_str())) {
        inout_vInputs.push_back({in_strList, inout_log.takeErrors()});
    } else if (!parser.gotoFirstAudioFile()) {
        out_messages.inputWarning(in_strList, "the list names no recordings");
    } else {
        while (const char* szFullPath = parser.getNextAudioFile()) {
            inout_vInputs.push_back(resolved(parser, szFullPath, inout_log));
            inout_log.beginInput(in_strList);
        }
    }
    inout_log.endInput();
}

} // namespace

std::vector<Input> collectInputs(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists,
                                 const FolderOptions& in_folders, LogBridge& inout_log, Messages& out_messages)
{
    std::vector<Input> vInputs;
    vInputs.reserve(in_vPaths.size());
    for (const std::string& strPath : in_vPaths)
        append({strPath, {}}, in_folders, out_messages, vInputs);
    for (const std::string& strList : in_vLists)
        appendList(strList, inout_log, out_messages, vInputs);
    return vInputs;
}

std::vector<Input> collectInputs(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists,
                                 const FolderOptions& in_folders, const MessageOptions& in_options,
                                 Messages& out_messages)
{
    LogBridge log(out_messages, in_options.m_iLogLevel);
    return collectInputs(in_vPaths, in_vLists, in_folders, log, out_messages);
}

std::vector<std::string> filesRead(const std::vector<std::string>& in_vLists, const std::vector<Input>& in_vInputs)
{
    std::vector<std::string> vRead = in_vLists;
    for (const Input& input : in_vInputs)
        if (input.m_strFault.empty())
            vRead.push_back(input.m_strPath);
    return vRead;
}

std::string readAndWritten(const std::string& in_strPath)
{
    return printable(in_strPath) + ": is both read and written; write to another file";
}

bool isRegularFile(const std::string& in_strPath)
{
    std::error_code error;
    return std::filesystem::is_regular_file(in_strPath, error);
}

std::string openingFault(const std::string& in_strPath, LogBridge& inout_log)
{
    const std::string strReason = inout_log.takeErrors();
    const std::string strText = strReason.empty() ? "cannot be opened" : strReason;
    if (in_strPath == "-")
        return strText;
    if (access(in_strPath.c_str(), R_OK) != 0)
        return strText + " (" + std::strerror(errno) + ")";
    // What libsndfile says of some files that it takes for MPEG audio.
    if (strText.find("File does not exist") != std::string::npos && isRegularFile(in_strPath))
        return strText + " (it does exist; it is damaged, or of a format that libsndfile does not read)";
    return strText;
}

} // namespace Corvana::Tools
