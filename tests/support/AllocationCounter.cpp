// SPDX-License-Identifier: Apache-2.0
#include "support/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> s_uiAllocated{0};
std::atomic<std::uint64_t> s_uiFreed{0};

} // namespace

// The sanitizers have array forms of their own, so these are replaced as well.
void* operator new(std::size_t in_uiSize)
{
    void* const pBlock = std::malloc(in_uiSize == 0 ? 1 : in_uiSize);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    ++s_uiAllocated;
    return pBlock;
}

void* operator new[](std::size_t in_uiSize)
{
    return operator new(in_uiSize);
}

void operator delete(void* in_pBlock) noexcept
{
    if (in_pBlock == nullptr)
        return;
    ++s_uiFreed;
    std::free(in_pBlock);
}

void operator delete[](void* in_pBlock) noexcept
{
    operator delete(in_pBlock);
}

void operator delete(void* in_pBlock, std::size_t) noexcept
{
    operator delete(in_pBlock);
}

void operator delete[](void* in_pBlock, std::size_t) noexcept
{
    operator delete(in_pBlock);
}

namespace Corvana::Test {

std::uint64_t nbOfAllocations()
{
    return s_uiAllocated;
}

std::uint64_t nbOfLiveBlocks()
{
    return s_uiAllocated - s_uiFreed;
}

} // namespace Corvana::Test
