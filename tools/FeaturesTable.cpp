// SPDX-License-Identifier: Apache-2.0
#include "tools/FeaturesTable.h"

#include "tools/NpyFormat.h"
#include "tools/Text.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>

namespace Corvana::Tools {
namespace {

// By which a file that may not exist yet can be told from others.
std::filesystem::path placeOf(const std::string& in_strPath)
{
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(OutputFile::targetOf(in_strPath), error);
    return std::filesystem::weakly_canonical(absolute, error);
}

} // namespace

FeaturesTable::Buffer::int_type FeaturesTable::Buffer::overflow(int_type in_iLetter)
{
    if (traits_type::eq_int_type(in_iLetter, traits_type::eof()))
        return traits_type::not_eof(in_iLetter);
    const char cLetter = traits_type::to_char_type(in_iLetter);
    return xsputn(&cLetter, 1) == 1 ? in_iLetter : traits_type::eof();
}

std::streamsize FeaturesTable::Buffer::xsputn(const char* in_pBegin, std::streamsize in_iLength)
try {
    m_table.write({in_pBegin, static_cast<std::size_t>(in_iLength)});
    return m_table.isGood() ? in_iLength : 0;
} catch (const std::bad_alloc&) {
    m_bOutOfMemory = true; // a stream would keep the exception to itself
    return 0;
}

int FeaturesTable::Buffer::sync()
{
    m_table.flush();
    return m_table.isGood() ? 0 : -1;
}

FeaturesTable::FeaturesTable(const Options& in_options, std::ostream& out_stream)
    : m_options(in_options)
    , m_journal(in_options.m_uiMsBetweenSyncs)
    , m_pTable(TableFile::make(in_options.m_format, out_stream))
    , m_buffer(*m_pTable)
    , m_stream(&m_buffer)
    , m_nowhere(nullptr)
    , m_description(m_nowhere)
{
    if (needsSettings())
        m_pTable->wantChecksums();
}

bool FeaturesTable::open(const TableSettings& in_settings, const std::vector<std::string>& in_vRead)
{
    m_settings = in_settings;
    if (!openTable(in_vRead))
        return false;
    if (m_options.m_bDescription && !m_options.m_bResume && !m_pTable->isNamedAtLast()) {
        m_strFault = printable(m_options.m_strPath) + ": is no file, beside which a description could stand";
        return false;
    }
    return !m_options.m_bDescription || m_description.open(descriptionPathOf(m_options.m_strPath));
}

// What gets its name at last, of the table alone.
std::vector<std::string> FeaturesTable::getTargets() const
{
    std::vector<std::string> vTargets = {m_options.m_strPath};
    if (m_options.m_format == RowFormat::NPY)
        vTargets.push_back(npyTimesPathOf(m_options.m_strPath));
    return vTargets;
}

bool FeaturesTable::writesTo(const std::string& in_strPath) const
{
    if (m_options.m_strPath.empty() || m_options.m_strPath == "-")
        return false;
    std::vector<std::string> vFiles = getTargets();
    if (m_options.m_bResume) {
        for (const std::string& strTarget : getTargets())
            vFiles.push_back(PartialFile::nameFor(OutputFile::targetOf(strTarget)));
        vFiles.push_back(RunJournal::nameFor(OutputFile::targetOf(m_options.m_strPath)));
    }
    if (m_options.m_bDescription)
        vFiles.push_back(descriptionPathOf(m_options.m_strPath));
    const std::filesystem::path place = placeOf(in_strPath);
    std::error_code error;
    if (std::filesystem::exists(place, error) && !std::filesystem::is_regular_file(place, error))
        return false; // such as a terminal, which takes both
    return std::any_of(vFiles.begin(), vFiles.end(),
                       [&place](const std::string& in_strFile) { return placeOf(in_strFile) == place; });
}

// What a run that begins anew empties.
std::string FeaturesTable::findPartialAmong(const std::vector<std::string>& in_vRead) const
{
    for (const std::string& strTarget : getTargets()) {
        const std::string strPartial = PartialFile::nameFor(OutputFile::targetOf(strTarget));
        std::error_code error;
        if (!std::filesystem::exists(strPartial, error))
            continue;
        for (const std::string& strRead : in_vRead)
            if (std::filesystem::equivalent(strRead, strPartial, error))
                return strRead;
    }
    return {};
}

bool FeaturesTable::openTable(const std::vector<std::string>& in_vRead)
{
    if (!m_options.m_bResume)
        return m_options.m_strPath.empty() || m_pTable->open(m_options.m_strPath);
    if (!m_pTable->canBeResumed(m_options.m_strPath) ||
        !m_journal.open(OutputFile::targetOf(m_options.m_strPath), m_settings))
        return false;
    const bool bAnew = getFormer().m_position.m_uiNbOfBytes == 0;
    if (const std::string strRead = bAnew ? findPartialAmong(in_vRead) : std::string(); !strRead.empty()) {
        m_strFault = printable(strRead) + ": is read, and rows are to be kept in it; write to another file";
        return false;
    }
    m_outcomes = getFormer().m_outcomes;
    m_described.m_uiSampleRate = getFormer().m_uiSampleRate;
    return getFormer().m_bComplete ? m_pTable->openToFinish(m_options.m_strPath, getFormer().m_position)
                                   : m_pTable->openToResume(m_options.m_strPath, getFormer().m_position);
}

std::string FeaturesTable::findAmong(const std::vector<std::string>& in_vPaths) const
{
    const std::string strFound = m_pTable->findAmong(in_vPaths);
    return strFound.empty() ? m_description.findAmong(in_vPaths) : strFound;
}

void FeaturesTable::begin(const std::string& in_strHeader, const std::vector<TableColumn>& in_vColumns,
                          std::uint64_t in_uiSampleRate)
{
    if (m_options.m_bResume && m_described.m_uiSampleRate == 0)
        m_journal.settle(in_uiSampleRate);
    m_described.m_uiSampleRate = in_uiSampleRate;
    m_described.m_vColumns = in_vColumns;
    m_pTable->begin(in_strHeader, in_vColumns.size());
}

bool FeaturesTable::end(const InputOutcome& in_outcome)
{
    if (!isGood())
        return false;
    m_pTable->endRows(in_outcome.m_uiNbOfRows);
    if (needsSettings())
        m_outcomes.add(in_outcome.m_uiNbOfRows, in_outcome.m_strFault);
    if (!m_options.m_bResume)
        return true;
    m_journal.add(in_outcome, m_pTable->getPosition());
    return !m_journal.isSyncDue() || keep();
}

// What the journal tells must never be more than the disk has.
bool FeaturesTable::keep()
{
    return !m_options.m_bResume || (m_pTable->sync() && m_journal.sync());
}

void FeaturesTable::abandon()
{
    m_pTable->removePartial();
    m_journal.remove();
}

void FeaturesTable::abandonUnlessBegun()
{
    if (getFormer().m_outcomes.size() == 0 && !getFormer().m_bComplete)
        abandon();
}

void FeaturesTable::describe(const PathOf& in_pathOf)
{
    m_described.m_settings = m_settings;
    m_described.m_size = m_pTable->getPosition();
    TableDescriptionWriter writer(m_description.stream(), m_described);
    for (std::size_t uiInput = 0; uiInput < m_outcomes.size(); ++uiInput)
        writer.add({in_pathOf(m_settings.getFirstInput() + uiInput), m_outcomes.getNbOfRows(uiInput), 0.0,
                    m_outcomes.getFault(uiInput)});
    writer.finish();
}

bool FeaturesTable::commit(const PathOf& in_pathOf)
{
    if (m_options.m_format != RowFormat::NPY && !needsSettings())
        return m_pTable->commit();
    if (m_options.m_bDescription)
        describe(in_pathOf);
    // Before the first name is given all of it is on the disk, so that no name is given to half of it.
    if (!m_pTable->prepare() || (m_options.m_bDescription && !m_description.sync()))
        return false;
    if (m_options.m_bResume && !getFormer().m_bComplete && !m_journal.complete(m_pTable->getPosition()))
        return false;
    if (!m_pTable->commit() || (m_options.m_bDescription && !m_description.commit()))
        return false;
    return !m_options.m_bResume || m_journal.remove();
}

std::string FeaturesTable::getFault() const
{
    std::string strFault = m_strFault;
    if (strFault.empty())
        strFault = m_buffer.isOutOfMemory() ? "not enough memory for a row" : m_journal.getFault();
    if (strFault.empty() && !m_pTable->getFault().empty())
        strFault = m_pTable->getFault();
    return strFault.empty() && m_options.m_bDescription ? m_description.getFault() : strFault;
}

} // namespace Corvana::Tools
