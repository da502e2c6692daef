// SPDX-License-Identifier: Apache-2.0
#include "tools/RunJournal.h"

#include "corvana/OS.h"
#include "tools/JsonDocument.h"
#include "tools/LineReader.h"
#include "tools/LockedFile.h"
#include "tools/Text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string_view>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

constexpr std::uint64_t s_uiVersion = 1;
constexpr unsigned s_uiMode = 0666; // without what the user's mask takes away
constexpr std::size_t s_uiMaxLine = std::size_t{16} << 20U;
constexpr std::uint64_t s_uiMaxNumber = std::uint64_t{1} << 62U;
// That the disk is asked for at once.
constexpr std::uint64_t s_uiBytesBetweenSyncs = std::uint64_t{64} << 20U;
constexpr std::string_view s_strCheck = ",\"check\":\"";
constexpr std::size_t s_uiCheckLength = s_strCheck.size() + 8 + 2;

// A checksum at the end tells a line that was damaged from one that was written.
std::string checkedLine(const JsonWriter& in_object)
{
    std::string strLine = in_object.getOpenLine();
    Checksum checksum;
    checksum.add(strLine);
    return strLine.append(s_strCheck).append(checksum.getText()).append("\"}\n");
}

bool isChecked(const std::string& in_strLine)
{
    if (in_strLine.size() < s_uiCheckLength)
        return false;
    const std::size_t uiEnd = in_strLine.size() - s_uiCheckLength;
    Checksum checksum;
    checksum.add(std::string_view(in_strLine).substr(0, uiEnd));
    return in_strLine.substr(uiEnd) == std::string(s_strCheck) + checksum.getText() + "\"}";
}

void putPosition(JsonWriter& inout_object, const TablePosition& in_position)
{
    inout_object.putNumber("bytes", in_position.m_uiNbOfBytes);
    inout_object.putText("checksum", Checksum(in_position.m_uiChecksum).getText());
    inout_object.putText("times_checksum", Checksum(in_position.m_uiTimesChecksum).getText());
}

} // namespace

std::string RunJournal::nameFor(const std::string& in_strTable)
{
    return in_strTable + ".journal";
}

// Always false.
bool RunJournal::refuse(const std::string& in_strFault)
{
    if (m_strFault.empty())
        m_strFault = printable(m_strName) + ": " + in_strFault;
    return false;
}

bool RunJournal::refuse(int in_iError)
{
    return refuse(std::string(std::strerror(in_iError)));
}

bool RunJournal::open(const std::string& in_strTable, const TableSettings& in_settings)
{
    m_strName = nameFor(in_strTable);
    m_uiNextInput = in_settings.getFirstInput();
    m_iDescriptor = openLocked(m_strName, s_uiMode);
    if (m_iDescriptor < 0)
        return errno == EWOULDBLOCK ? refuse("another run is writing " + printable(in_strTable) + "; wait for its end")
                                    : refuse(errno);
    m_lastSync = std::chrono::steady_clock::now();
    if (load(in_settings))
        return true;
    close();
    return false;
}

bool RunJournal::load(const TableSettings& in_settings)
{
    std::ifstream stream(m_strName, std::ios::binary);
    if (!stream)
        return refuse(errno);
    LineReader lines(stream, s_uiMaxLine);
    std::string strLine;
    while (lines.next(strLine)) {
        std::string strRefusal;
        const std::string strDamage = readLine(strLine, lines.getNumber() == 1, in_settings, strRefusal);
        if (!strRefusal.empty())
            return refuse(strRefusal);
        if (!strDamage.empty())
            return refuse("line " + std::to_string(lines.getNumber()) + " is damaged (" + strDamage +
                          "); to begin anew, remove this file");
    }
    if (lines.isTooLong())
        return refuse("line " + std::to_string(lines.getNumber()) +
                      " is longer than any that corvana writes; to begin anew, remove this file");
    if (stream.bad())
        return refuse(EIO);
    const auto iSize = static_cast<off_t>(lines.getNbOfBytes());
    if (ftruncate(m_iDescriptor, iSize) != 0 || lseek(m_iDescriptor, iSize, SEEK_SET) != iSize)
        return refuse(errno);
    m_uiSyncedBytes = m_uiPendingBytes = m_former.m_position.m_uiNbOfBytes;
    return iSize > 0 || begin(in_settings);
}

bool RunJournal::begin(const TableSettings& in_settings)
{
    JsonWriter head;
    head.putNumber("corvana_journal", s_uiVersion);
    in_settings.put(head);
    if (!write(checkedLine(head)))
        return false;
    return OS::syncFolder(folderOf(m_strName).c_str()) || refuse(errno);
}

// Returns what is damaged; out_strRefusal, why an undamaged one cannot be used.
std::string RunJournal::readLine(const std::string& in_strLine, bool in_bHead, const TableSettings& in_settings,
                                 std::string& out_strRefusal)
{
    if (!isChecked(in_strLine))
        return "its checksum is not that of its text";
    JsonDocument object;
    if (!object.parse(in_strLine))
        return std::string("it ") + object.getFault();
    JsonFields fields(object.get());
    if (!in_bHead)
        return takeEntry(fields, in_settings);
    if (fields.getNumber("corvana_journal", s_uiMaxNumber) != s_uiVersion)
        fields.setFault("'corvana_journal' is not " + std::to_string(s_uiVersion));
    const TableSettings former = TableSettings::read(fields);
    const std::string strDifference = differenceOf(former, in_settings);
    if (fields.getFault().empty() && !strDifference.empty())
        out_strRefusal = "the run to go on with was another one: " + strDifference +
                         "; give the same options and inputs, or, to begin anew, remove this file";
    return fields.getFault();
}

std::string RunJournal::takeEntry(JsonFields& inout_fields, const TableSettings& in_settings)
{
    if (m_former.m_bComplete)
        return "it stands behind the last one";
    if (inout_fields.has("input"))
        return takeOutcome(inout_fields, in_settings);
    if (inout_fields.has("settled")) {
        m_former.m_uiSampleRate = inout_fields.getNumber("settled", s_uiMaxNumber);
    } else {
        m_former.m_bComplete = inout_fields.getFlag("complete");
        takePosition(inout_fields, 0);
    }
    return inout_fields.getFault();
}

void RunJournal::takePosition(JsonFields& inout_fields, std::uint64_t in_uiNbOfRows)
{
    TablePosition& position = m_former.m_position;
    const std::uint64_t uiNbOfBytes = inout_fields.getNumber("bytes", s_uiMaxNumber);
    if (uiNbOfBytes < position.m_uiNbOfBytes)
        inout_fields.setFault("'bytes' is less than before");
    position = {position.m_uiNbOfRows + in_uiNbOfRows, uiNbOfBytes, inout_fields.getChecksum("checksum"),
                inout_fields.getChecksum("times_checksum")};
}

std::string RunJournal::takeOutcome(JsonFields& inout_fields, const TableSettings& in_settings)
{
    if (inout_fields.getNumber("input", s_uiMaxNumber) != m_uiNextInput ||
        m_uiNextInput >= in_settings.getEndOfInputs())
        inout_fields.setFault("'input' is not the next one");
    const std::uint64_t uiNbOfRows = inout_fields.getNumber("rows", s_uiMaxNumber - m_former.m_position.m_uiNbOfRows);
    takePosition(inout_fields, uiNbOfRows);
    m_former.m_dSeconds += inout_fields.getAmount("seconds");
    m_former.m_outcomes.add(uiNbOfRows, inout_fields.has("fault") ? inout_fields.getText("fault") : std::string());
    ++m_uiNextInput;
    return inout_fields.getFault();
}

void RunJournal::settle(std::uint64_t in_uiSampleRate)
{
    JsonWriter object;
    object.putNumber("settled", in_uiSampleRate);
    m_strPending += checkedLine(object);
}

void RunJournal::add(const InputOutcome& in_outcome, const TablePosition& in_position)
{
    JsonWriter object;
    object.putNumber("input", m_uiNextInput++);
    object.putText("file", in_outcome.m_strPath);
    object.putNumber("rows", in_outcome.m_uiNbOfRows);
    object.putAmount("seconds", in_outcome.m_dSeconds);
    putPosition(object, in_position);
    if (!in_outcome.m_strFault.empty())
        object.putText("fault", in_outcome.m_strFault);
    m_strPending += checkedLine(object);
    m_uiPendingBytes = in_position.m_uiNbOfBytes;
}

bool RunJournal::isSyncDue() const
{
    return m_uiPendingBytes - m_uiSyncedBytes >= s_uiBytesBetweenSyncs ||
           std::chrono::steady_clock::now() - m_lastSync >= m_timeBetweenSyncs;
}

bool RunJournal::sync()
{
    m_lastSync = std::chrono::steady_clock::now();
    m_uiSyncedBytes = m_uiPendingBytes;
    if (m_strPending.empty())
        return true;
    const bool bWritten = write(m_strPending);
    m_strPending.clear();
    return bWritten;
}

bool RunJournal::write(const std::string& in_strLines)
{
    std::string_view strRest = in_strLines;
    while (!strRest.empty()) {
        errno = EIO; // for a file that takes nothing and does not tell why
        const ssize_t iWritten = ::write(m_iDescriptor, strRest.data(), strRest.size());
        if (iWritten > 0)
            strRest.remove_prefix(static_cast<std::size_t>(iWritten));
        else if (errno != EINTR)
            return refuse(errno);
    }
    return fdatasync(m_iDescriptor) == 0 || refuse(errno);
}

bool RunJournal::complete(const TablePosition& in_position)
{
    JsonWriter object;
    object.putFlag("complete", true);
    putPosition(object, in_position);
    m_strPending += checkedLine(object);
    return sync();
}

bool RunJournal::remove()
{
    if (m_iDescriptor < 0)
        return true;
    const bool bRemoved = unlink(m_strName.c_str()) == 0;
    const int iError = errno;
    close();
    return bRemoved || refuse(iError);
}

void RunJournal::close()
{
    if (m_iDescriptor >= 0)
        ::close(m_iDescriptor);
    m_iDescriptor = -1;
}

} // namespace Corvana::Tools
