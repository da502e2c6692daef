// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/OutputFile.h"

#include <ostream>
#include <string>

namespace Corvana::Tools {

/// The inputs that failed, as comma-separated values: file, reason. Complete or not there at all.
class FailureTable
{
public:
    FailureTable();

    /// False, with the reason in getFault(): it cannot be written.
    bool open(const std::string& in_strPath);
    bool isOpen() const { return m_bOpen; }
    /// As OutputFile::findAmong().
    std::string findAmong(const std::vector<std::string>& in_vPaths) const { return m_file.findAmong(in_vPaths); }

    /// Does nothing when no table is wanted.
    void add(const std::string& in_strFile, const std::string& in_strReason);
    /// True, too, when no table is wanted.
    bool commit();
    std::string getFault() const { return m_file.getFault(); }

private:
    std::ostream m_nowhere;
    OutputFile m_file;
    bool m_bOpen = false;
};

} // namespace Corvana::Tools
