// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace Corvana::Test {

/// How often operator new was called in this program and in the libraries it loaded: unchanged over a path that
/// allocates nothing. Only for programs that have AllocationCounter.cpp among their sources, which replaces it.
std::uint64_t nbOfAllocations();
/// The blocks of operator new that were not given back.
std::uint64_t nbOfLiveBlocks();

/// While it exists, memory runs out for the thread that made it: the allocation of that number, counted from 1, fails
/// as operator new does, alone or with all that follow. One at a time.
class AllocationFault
{
public:
    enum class Extent
    {
        ONCE,
        FROM_THEN_ON
    };

    AllocationFault(std::uint64_t in_uiNumber, Extent in_extent);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// How many allocations have failed so far: 0 when there were fewer than that number.
    std::uint64_t nbOfFailures() const;
};

/// The most bytes that the program has held at one time since this was made, beyond those that it held then. One at a
/// time.
class PeakMemory
{
public:
    PeakMemory();
    std::size_t bytes() const;

private:
    std::size_t m_uiBefore;
};

} // namespace Corvana::Test
