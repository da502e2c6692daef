// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Tools {

/// How an input of a table came out.
struct InputOutcome
{
    std::string m_strPath;
    std::uint64_t m_uiNbOfRows = 0; ///< may be some also where the input failed in its middle
    double m_dSeconds = 0.0;        ///< of sound that was read
    std::string m_strFault;         ///< why it failed; empty: it did not
};

/// How the inputs of a table came out, in their order, without their names: a few bytes each, and the reasons of those
/// that failed.
class InputOutcomes
{
public:
    void add(std::uint64_t in_uiNbOfRows, const std::string& in_strFault)
    {
        if (!in_strFault.empty())
            m_vFaults.emplace(m_vNbOfRows.size(), in_strFault);
        m_vNbOfRows.push_back(in_uiNbOfRows);
    }

    std::size_t size() const { return m_vNbOfRows.size(); }
    std::size_t getNbOfFailures() const { return m_vFaults.size(); }
    std::uint64_t getNbOfRows(std::size_t in_uiInput) const { return m_vNbOfRows[in_uiInput]; }
    /// By the input's position.
    const std::map<std::size_t, std::string>& getFaults() const { return m_vFaults; }

    std::string getFault(std::size_t in_uiInput) const
    {
        const auto itFault = m_vFaults.find(in_uiInput);
        return itFault == m_vFaults.end() ? std::string() : itFault->second;
    }

private:
    std::vector<std::uint64_t> m_vNbOfRows;
    std::map<std::size_t, std::string> m_vFaults;
};

} // namespace Corvana::Tools
