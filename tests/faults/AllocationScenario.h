// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"

#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Test {

/// One use of the library, with the objects that it is about.
struct Attempt
{
    std::function<bool()> m_run;         ///< what memory runs out in; false: refused
    std::function<std::string()> m_look; ///< what there is to see afterwards
};

/// What is promised when memory ran out.
enum class Afterwards
{
    DESTRUCTIBLE, ///< no leak, nothing else
    USABLE,       ///< the same again, with enough memory, gives what it gives at once
    UNCHANGED     ///< as before, and usable
};

/// Something to be done with too little memory, and what it may leave behind.
struct AllocationScenario
{
    std::string m_strName;
    /// Makes the objects, in a folder that holds the files.
    std::function<Attempt(const std::string& in_strFolder)> m_make;
    Afterwards m_afterwards = Afterwards::USABLE;
    /// By their names: what the folder holds in the beginning. Afterwards each is whole, the old one or the new one.
    std::map<std::string, std::string> m_files{};
    /// In the ordinary test run, every so many allocations fail behind the first ones.
    unsigned m_uiStride = 3;
    /// So many allocations at its beginning are tried by another scenario that begins alike: of them, one in a
    /// thousand.
    std::uint64_t m_uiNbOfCommon = 0;
    /// A table that a refusal may leave without some rows, with what stands beside it.
    std::string m_strTable{};
    /// By the ends of their names: files that a refusal may leave for another run. There it is, then, when the same is
    /// done again.
    std::vector<std::string> m_vOnlyForAnotherRun{};
};

std::ostream& operator<<(std::ostream& out_stream, const AllocationScenario& in_scenario);

/// Runs out of memory at each allocation of the scenario in turn, there alone and from there on, and fails the test
/// where something else happens than is promised.
void expectSoundWithoutMemory(const AllocationScenario& in_scenario);

std::string textOf(const Math::DoubleVector& in_vValues);
std::string contentsOf(const std::string& in_strPath);

/// @name All of them, by library
/// @{
std::vector<AllocationScenario> infraScenarios();
std::vector<AllocationScenario> mathScenarios();
std::vector<AllocationScenario> featureScenarios();
std::vector<AllocationScenario> expressionScenarios();
std::vector<AllocationScenario> audioScenarios();
std::vector<AllocationScenario> annotationScenarios();
std::vector<AllocationScenario> commandScenarios();
/// @}

} // namespace Corvana::Test
