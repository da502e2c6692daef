// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstddef>
#include <cstdint>

namespace Corvana {

/// What the tagged allocators know about one tag. Sizes are the bytes that were asked for.
struct MemAccount
{
    std::uint64_t m_uiLiveBlocks = 0;  ///< blocks allocated and not given back
    std::uint64_t m_uiLiveBytes = 0;   ///< their bytes
    std::uint64_t m_uiTotalBlocks = 0; ///< blocks ever allocated: unchanged over a code path that does not allocate
    std::uint64_t m_uiTotalBytes = 0;  ///< their bytes
};

/// The account of a tag, for tests and support; all zero for a tag never used. Any thread may ask.
/// Tags beyond the first 63 different ones, and tags longer than 47 characters, are counted together under "(other)";
/// by their own names they are unknown.
CORVANA_API MemAccount getMemAccount(const char* in_szTag);

/// Allocation whose owner remembers the size. Blocks are aligned as operator new aligns.
class CORVANA_API DefaultStaticMemAllocator
{
public:
    /// Throws std::bad_alloc. The tag names what the block is for.
    static void* allocate(std::size_t in_uiSize, const char* in_szTag);
    /// Takes what allocate() returned, with the same size and tag; null is ignored.
    static void deallocate(void* in_pBlock, std::size_t in_uiSize, const char* in_szTag) noexcept;
};

/// Allocation whose owner does not remember the size (class-level operators); costs 16 bytes a block.
class CORVANA_API NoSizeMemAllocator
{
public:
    /// Throws std::bad_alloc. The tag names what the block is for.
    static void* allocate(std::size_t in_uiSize, const char* in_szTag);
    /// Takes what allocate() returned, with the same tag; null is ignored.
    static void deallocate(void* in_pBlock, const char* in_szTag) noexcept;
};

} // namespace Corvana
