// SPDX-License-Identifier: Apache-2.0
#include "support/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

std::atomic<std::uint64_t> s_uiAllocated{0};
std::atomic<std::uint64_t> s_uiFreed{0};
std::atomic<std::size_t> s_uiLiveBytes{0};
std::atomic<std::size_t> s_uiPeakBytes{0};

// Of one thread alone: others, such as those of the logging library, have nothing to do with what is tested.
struct Fault
{
    bool m_bArmed = false;
    bool m_bFromThenOn = false;
    std::uint64_t m_uiLeft = 0; // allocations before the first that fails
    std::uint64_t m_uiNbOfFailures = 0;
};
thread_local constinit Fault s_fault;

bool hasToFail()
{
    if (!s_fault.m_bArmed)
        return false;
    if (s_fault.m_uiLeft > 0) {
        --s_fault.m_uiLeft;
        return false;
    }
    if (s_fault.m_uiNbOfFailures > 0 && !s_fault.m_bFromThenOn)
        return false;
    ++s_fault.m_uiNbOfFailures;
    return true;
}

void countBlock(void* in_pBlock)
{
    ++s_uiAllocated;
    const std::size_t uiLive = s_uiLiveBytes += malloc_usable_size(in_pBlock);
    for (std::size_t uiPeak = s_uiPeakBytes; uiLive > uiPeak && !s_uiPeakBytes.compare_exchange_weak(uiPeak, uiLive);) {
    }
}

} // namespace

// The sanitizers have array forms of their own, so these are replaced as well.
void* operator new(std::size_t in_uiSize)
{
    void* const pBlock = hasToFail() ? nullptr : std::malloc(in_uiSize == 0 ? 1 : in_uiSize);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    countBlock(pBlock);
    return pBlock;
}

void* operator new(std::size_t in_uiSize, std::align_val_t in_alignment)
{
    const auto uiAlignment = static_cast<std::size_t>(in_alignment);
    const std::size_t uiSize = (in_uiSize + uiAlignment - 1) / uiAlignment * uiAlignment;
    void* const pBlock = hasToFail() ? nullptr : std::aligned_alloc(uiAlignment, uiSize == 0 ? uiAlignment : uiSize);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    countBlock(pBlock);
    return pBlock;
}

void* operator new[](std::size_t in_uiSize, std::align_val_t in_alignment)
{
    return operator new(in_uiSize, in_alignment);
}

void* operator new[](std::size_t in_uiSize)
{
    return operator new(in_uiSize);
}

// std::stable_sort asks for its buffer like this, and gives it back to the operators below.
void* operator new(std::size_t in_uiSize, const std::nothrow_t&) noexcept
{
    try {
        return operator new(in_uiSize);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](std::size_t in_uiSize, const std::nothrow_t&) noexcept
{
    return operator new(in_uiSize, std::nothrow);
}

void operator delete(void* in_pBlock) noexcept
{
    if (in_pBlock == nullptr)
        return;
    ++s_uiFreed;
    s_uiLiveBytes -= malloc_usable_size(in_pBlock);
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

void operator delete(void* in_pBlock, std::align_val_t) noexcept
{
    operator delete(in_pBlock);
}

void operator delete[](void* in_pBlock, std::align_val_t) noexcept
{
    operator delete(in_pBlock);
}

void operator delete(void* in_pBlock, std::size_t, std::align_val_t) noexcept
{
    operator delete(in_pBlock);
}

void operator delete[](void* in_pBlock, std::size_t, std::align_val_t) noexcept
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

AllocationFault::AllocationFault(std::uint64_t in_uiNumber, Extent in_extent)
{
    s_fault = {true, in_extent == Extent::FROM_THEN_ON, in_uiNumber - 1, 0};
}

AllocationFault::~AllocationFault()
{
    s_fault = {};
}

std::uint64_t AllocationFault::nbOfFailures() const
{
    return s_fault.m_uiNbOfFailures;
}

PeakMemory::PeakMemory()
    : m_uiBefore(s_uiLiveBytes)
{
    s_uiPeakBytes = m_uiBefore;
}

std::size_t PeakMemory::bytes() const
{
    return s_uiPeakBytes - m_uiBefore;
}

} // namespace Corvana::Test
