// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSetParser.h"

#include "corvana/Logger.h"
#include "corvana/OS.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioSetParser")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition besideListInvalid{"AudioSetParser", 167};
constexpr SourcePosition besideListTried{"AudioSetParser", 171};
constexpr SourcePosition noDataFolder{"AudioSetParser", 187};
constexpr SourcePosition dataFolderInvalid{"AudioSetParser", 198};
constexpr SourcePosition dataFolderTried{"AudioSetParser", 202};
constexpr SourcePosition relativeNotFound{"AudioSetParser", 208};
constexpr SourcePosition absoluteNotFound{"AudioSetParser", 224};
} // namespace at

constexpr const char* s_szDataFolderVariable = "CORVANA_CPA_DATA";

bool canonicalise(const std::string& in_strCandidate, const std::string& in_strEntry, SourcePosition in_invalid,
                  SourcePosition in_tried, std::string& out_strPath)
{
    if (!OS::getCanonicalPath(in_strCandidate.c_str(), out_strPath)) {
        CORVANA_LOG_ERROR_AT(in_invalid, fileScopeLogger(),
                             "Error in filename " << in_strEntry << ". File will be skipped.");
        return false;
    }
    CORVANA_LOG_DEBUG_AT(in_tried, fileScopeLogger(), "Trying absolute path: " << out_strPath);
    return true;
}

void reportRelativeNotFound(SourcePosition in_position, const std::string& in_strEntry)
{
    CORVANA_LOG_ERROR_AT(in_position, fileScopeLogger(),
                         "Could not open  file " << in_strEntry << " (relative path detected). File will be skipped.");
}

} // namespace

bool AudioSetParser::setAudioSetFilename(const char* in_szFileName)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "AudioSetParser::setAudioSetFilename");

    const std::string strFileName = in_szFileName == nullptr ? "" : in_szFileName;
    std::ifstream stream(strFileName);
    std::error_code error;
    // A folder can be opened, but not read: it must not pass for an empty list.
    if (!stream || std::filesystem::is_directory(strFileName, error)) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not open file " << strFileName << " containing file set to parse");
        return false;
    }
    std::vector<std::string> vEntries = m_vEntries;
    std::string strLine;
    while (std::getline(stream, strLine))
        if (!strLine.empty() && strLine.front() != '#')
            vEntries.push_back(strLine);
    // A part of a list must not pass for the whole.
    if (stream.bad()) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not read file " << strFileName << " containing file set to parse");
        return false;
    }
    m_strListFileName = strFileName;
    m_vEntries.swap(vEntries);
    return true;
}

bool AudioSetParser::gotoFirstAudioFile()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "AudioSetParser::gotoFirstAudioFile");

    m_uiCurrentEntry = 0;
    if (m_vEntries.empty())
        return false;
    m_bFirst = true;
    return true;
}

const char* AudioSetParser::getNextAudioFile()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "AudioSetParser::getNextAudioFile");

    if (m_uiCurrentEntry >= m_vEntries.size())
        return nullptr;
    if (m_bFirst)
        m_bFirst = false;
    else
        ++m_uiCurrentEntry;
    if (m_uiCurrentEntry == m_vEntries.size()) {
        m_bFirst = true; // should another list be appended, its first entry is the next one
        return nullptr;
    }
    return getFullFilename(m_vEntries[m_uiCurrentEntry].c_str());
}

bool AudioSetParser::atEnd() const
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "AudioSetParser::atEnd");

    return m_uiCurrentEntry >= m_vEntries.size() || m_uiCurrentEntry + 1 == m_vEntries.size();
}

std::string AudioSetParser::getCurrentEntry() const
{
    return m_uiCurrentEntry < m_vEntries.size() && !m_bFirst ? m_vEntries[m_uiCurrentEntry] : std::string();
}

const char* AudioSetParser::getFullFilename(const char* in_szEntry)
{
    const std::string strEntry =
        in_szEntry == nullptr ? "" : in_szEntry; // which may be the text that was returned before
    m_strFullFileName.clear();
    if (OS::isPathRelative(strEntry.c_str()))
        resolveRelative(strEntry);
    else if (doesFileExist(strEntry.c_str()))
        m_strFullFileName = strEntry;
    else
        CORVANA_LOG_ERROR_AT(at::absoluteNotFound, fileScopeLogger(),
                             "Could not open  file " << strEntry << " (absolute path detected). File will be skipped.");
    return m_strFullFileName.c_str();
}

std::string AudioSetParser::besideList(const std::string& in_strEntry) const
{
    const std::size_t uiSeparator = m_strListFileName.find_last_of("/\\:");
    // A separator in the first place does not count: a list in the root folder has entries relative to the process.
    if (uiSeparator == std::string::npos || uiSeparator == 0)
        return in_strEntry;
    return m_strListFileName.substr(0, uiSeparator + 1) + in_strEntry;
}

void AudioSetParser::resolveRelative(const std::string& in_strEntry)
{
    std::string strPath;
    if (!canonicalise(besideList(in_strEntry), in_strEntry, at::besideListInvalid, at::besideListTried, strPath))
        return;
    if (!doesFileExist(strPath.c_str())) {
        const char* szDataFolder = std::getenv(s_szDataFolderVariable);
        if (szDataFolder == nullptr)
            return reportRelativeNotFound(at::noDataFolder, in_strEntry);
        const std::string strCandidate = std::string(szDataFolder) + "/" + in_strEntry;
        if (!canonicalise(strCandidate, in_strEntry, at::dataFolderInvalid, at::dataFolderTried, strPath))
            return;
        if (!doesFileExist(strPath.c_str()))
            return reportRelativeNotFound(at::relativeNotFound, in_strEntry);
    }
    m_strFullFileName = strPath;
}

bool AudioSetParser::doesFileExist(const char* in_szPath) const
{
    // A list may have a million entries: what everybody may read need not be asked for.
    constexpr mode_t uiReadableByAll = S_IRUSR | S_IRGRP | S_IROTH;
    struct stat status = {};
    return stat(in_szPath, &status) == 0 && S_ISREG(status.st_mode) &&
           ((status.st_mode & uiReadableByAll) == uiReadableByAll || access(in_szPath, R_OK) == 0);
}

} // namespace Corvana::Audio
