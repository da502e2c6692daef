// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/MemAllocator.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Corvana {

/// The number of owners of a shared object, allocated on its own. Starts at one owner.
/// CounterT is std::uint32_t for owners in one thread, std::atomic<std::uint32_t> for owners in several.
template <class CounterT>
class BasicReferenceCount
{
public:
    void increment() { ++m_uiNbOfOwners; }
    /// True when the last owner left.
    bool decrement() { return --m_uiNbOfOwners == 0; }
    std::uint32_t getNbOfOwners() const { return m_uiNbOfOwners; }

    static void* operator new(std::size_t in_uiSize)
    {
        return DefaultStaticMemAllocator::allocate(in_uiSize, "ReferenceCount");
    }
    static void operator delete(void* in_pCount, std::size_t in_uiSize) noexcept
    {
        DefaultStaticMemAllocator::deallocate(in_pCount, in_uiSize, "ReferenceCount");
    }

private:
    CounterT m_uiNbOfOwners{1};
};

using ReferenceCount = BasicReferenceCount<std::uint32_t>;
using AtomicReferenceCount = BasicReferenceCount<std::atomic<std::uint32_t>>;
static_assert(sizeof(ReferenceCount) == 4 && sizeof(AtomicReferenceCount) == 4);

} // namespace Corvana
