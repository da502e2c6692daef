// SPDX-License-Identifier: Apache-2.0
#include "tools/InputList.h"

#include "corvana/AudioSetParser.h"
#include "tools/Text.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

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
        return {in_szFullPath, {}};
    Input input{inout_parser.getCurrentEntry(), inout_log.takeErrors()};
    if (input.m_strPath.ends_with('\r'))
        input.m_strFault += " (the list has Windows line ends: the carriage return counts as part of the name)";
    return input;
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
                                 LogBridge& inout_log, Messages& out_messages)
{
    std::vector<Input> vInputs;
    vInputs.reserve(in_vPaths.size());
    for (const std::string& strPath : in_vPaths)
        vInputs.push_back({strPath, isFolder(strPath) ? "is a folder, not a recording" : ""});
    for (const std::string& strList : in_vLists)
        appendList(strList, inout_log, out_messages, vInputs);
    return vInputs;
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
    if (in_strPath == "-" || access(in_strPath.c_str(), R_OK) == 0)
        return strText;
    return strText + " (" + std::strerror(errno) + ")";
}

} // namespace Corvana::Tools
