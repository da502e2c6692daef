// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FixedSet.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Corvana::Test {

/// FNV-1a, 64 bits, over the bits of doubles. All NaNs count as one: which of them comes out, compilers may choose.
class BitHash
{
public:
    void add(double in_dValue);
    void add(const Math::DoubleVector& in_vValues);
    std::uint64_t get() const { return m_uiHash; }
    unsigned long getNbOfValues() const { return m_uiNbOfValues; }

private:
    std::uint64_t m_uiHash = 14695981039346656037U;
    unsigned long m_uiNbOfValues = 0;
};

/// One way from recordings to values: for each recording, each window's end time and then its values of a family.
struct Road
{
    std::string m_strName;
    /// Throws std::runtime_error where the library or the command fails.
    BitHash (*m_pHash)(const Road& in_road, const Family& in_family, const std::vector<std::string>& in_vPaths);
    std::string m_strOptions; ///< of the command
    std::string m_strProgram; ///< the command, as words of a shell
};

/// The roads through the library; those through the program of this path, if there is one; and those through what these
/// words of a shell start in its place, if there are any: python-road.py.
std::vector<Road> getRoads(const std::string& in_strProgram, const std::string& in_strPython);

/// The features that have no name, and so can be reached from a program only: by windows from a file and pushed ones.
std::vector<BitHash> hashUnnamedFeatures(const std::vector<std::string>& in_vPaths);

/// The C library's sin, cos, pow and log themselves, of arguments such as the features have.
BitHash hashMathLibrary();

} // namespace Corvana::Test
