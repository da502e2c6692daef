// SPDX-License-Identifier: Apache-2.0
#include "audio/computers/AllocationCount.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<unsigned long> s_uiNbOfAllocations{0};

} // namespace

void* operator new(std::size_t in_uiSize)
{
    ++s_uiNbOfAllocations;
    if (void* pBlock = std::malloc(in_uiSize == 0 ? 1 : in_uiSize))
        return pBlock;
    throw std::bad_alloc();
}

void* operator new[](std::size_t in_uiSize)
{
    return operator new(in_uiSize);
}

void operator delete(void* in_pBlock) noexcept
{
    std::free(in_pBlock);
}

void operator delete[](void* in_pBlock) noexcept
{
    std::free(in_pBlock);
}

void operator delete(void* in_pBlock, std::size_t) noexcept
{
    std::free(in_pBlock);
}

void operator delete[](void* in_pBlock, std::size_t) noexcept
{
    std::free(in_pBlock);
}

namespace Corvana::Test {

unsigned long nbOfAllocations()
{
    return s_uiNbOfAllocations;
}

} // namespace Corvana::Test
