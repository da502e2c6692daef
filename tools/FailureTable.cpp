// SPDX-License-Identifier: Apache-2.0
#include "tools/FailureTable.h"

#include "tools/RowWriter.h"

namespace Corvana::Tools {

FailureTable::FailureTable()
    : m_nowhere(nullptr)
    , m_file(m_nowhere)
{
}

bool FailureTable::open(const std::string& in_strPath)
{
    m_bOpen = m_file.open(in_strPath);
    if (m_bOpen)
        m_file.stream() << "file,reason\n";
    return m_bOpen;
}

void FailureTable::add(const std::string& in_strFile, const std::string& in_strReason)
{
    if (m_bOpen)
        m_file.stream() << csvField(in_strFile) + "," + csvField(in_strReason) + "\n";
}

bool FailureTable::commit()
{
    return !m_bOpen || m_file.commit();
}

} // namespace Corvana::Tools
