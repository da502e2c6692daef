// SPDX-License-Identifier: Apache-2.0
#include "corvana/MemAllocator.h"

#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>

namespace Corvana {
namespace {

constexpr std::size_t s_uiMaxTagLength = 47;
constexpr std::size_t s_uiMaxNbOfTags = 64;

struct Account
{
    // Written once, under the registration mutex, before the number of accounts makes it visible.
    char m_acTag[s_uiMaxTagLength + 1] = {};
    std::atomic<std::uint64_t> m_uiLiveBlocks{0};
    std::atomic<std::uint64_t> m_uiLiveBytes{0};
    std::atomic<std::uint64_t> m_uiTotalBlocks{0};
    std::atomic<std::uint64_t> m_uiTotalBytes{0};
};

// Constant-initialised and trivially destroyed: vectors with static storage may allocate before and after
// any constructor or destructor of this file could run.
constinit std::array<Account, s_uiMaxNbOfTags> s_vAccounts{};
constinit std::atomic<std::size_t> s_uiNbOfAccounts{1}; // account 0 is "(other)"
constinit std::mutex s_mutexRegistration;

Account* findAccount(const char* in_szTag, std::size_t in_uiNbOfAccounts)
{
    for (std::size_t uiIndex = 1; uiIndex < in_uiNbOfAccounts; ++uiIndex)
        if (std::strcmp(s_vAccounts[uiIndex].m_acTag, in_szTag) == 0)
            return &s_vAccounts[uiIndex];
    return nullptr;
}

constexpr const char* s_szOther = "(other)";

Account& accountOf(const char* in_szTag)
{
    if (Account* pAccount = findAccount(in_szTag, s_uiNbOfAccounts.load(std::memory_order_acquire)))
        return *pAccount;

    const std::lock_guard<std::mutex> lock(s_mutexRegistration);
    const std::size_t uiNbOfAccounts = s_uiNbOfAccounts.load(std::memory_order_relaxed);
    if (Account* pAccount = findAccount(in_szTag, uiNbOfAccounts))
        return *pAccount;

    const std::size_t uiLength = std::strlen(in_szTag);
    if (uiNbOfAccounts == s_uiMaxNbOfTags || uiLength > s_uiMaxTagLength || std::strcmp(in_szTag, s_szOther) == 0)
        return s_vAccounts[0];
    // The text is copied: a tag may lie in a library that is unloaded later.
    std::memcpy(s_vAccounts[uiNbOfAccounts].m_acTag, in_szTag, uiLength + 1);
    s_uiNbOfAccounts.store(uiNbOfAccounts + 1, std::memory_order_release);
    return s_vAccounts[uiNbOfAccounts];
}

void enter(const char* in_szTag, std::size_t in_uiSize)
{
    Account& account = accountOf(in_szTag);
    account.m_uiLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    account.m_uiLiveBytes.fetch_add(in_uiSize, std::memory_order_relaxed);
    account.m_uiTotalBlocks.fetch_add(1, std::memory_order_relaxed);
    account.m_uiTotalBytes.fetch_add(in_uiSize, std::memory_order_relaxed);
}

void leave(const char* in_szTag, std::size_t in_uiSize) noexcept
{
    Account& account = accountOf(in_szTag);
    account.m_uiLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
    account.m_uiLiveBytes.fetch_sub(in_uiSize, std::memory_order_relaxed);
}

// Room for the size in front of a block, wide enough to keep the block's alignment.
constexpr std::size_t s_uiSizeHeader = 16;
static_assert(s_uiSizeHeader >= alignof(std::max_align_t) && s_uiSizeHeader >= sizeof(std::size_t));

} // namespace

MemAccount getMemAccount(const char* in_szTag)
{
    const bool bOther = std::strcmp(in_szTag, s_szOther) == 0;
    const Account* pAccount =
        bOther ? s_vAccounts.data() : findAccount(in_szTag, s_uiNbOfAccounts.load(std::memory_order_acquire));
    MemAccount account;
    if (pAccount == nullptr)
        return account;
    account.m_uiLiveBlocks = pAccount->m_uiLiveBlocks.load(std::memory_order_relaxed);
    account.m_uiLiveBytes = pAccount->m_uiLiveBytes.load(std::memory_order_relaxed);
    account.m_uiTotalBlocks = pAccount->m_uiTotalBlocks.load(std::memory_order_relaxed);
    account.m_uiTotalBytes = pAccount->m_uiTotalBytes.load(std::memory_order_relaxed);
    return account;
}

void* DefaultStaticMemAllocator::allocate(std::size_t in_uiSize, const char* in_szTag)
{
    void* pBlock = ::operator new(in_uiSize);
    enter(in_szTag, in_uiSize);
    return pBlock;
}

void DefaultStaticMemAllocator::deallocate(void* in_pBlock, std::size_t in_uiSize, const char* in_szTag) noexcept
{
    if (in_pBlock == nullptr)
        return;
    leave(in_szTag, in_uiSize);
    ::operator delete(in_pBlock);
}

void* NoSizeMemAllocator::allocate(std::size_t in_uiSize, const char* in_szTag)
{
    if (in_uiSize > std::numeric_limits<std::size_t>::max() - s_uiSizeHeader)
        throw std::bad_alloc();
    char* pRaw = static_cast<char*>(::operator new(in_uiSize + s_uiSizeHeader));
    std::memcpy(pRaw, &in_uiSize, sizeof in_uiSize);
    enter(in_szTag, in_uiSize);
    return pRaw + s_uiSizeHeader;
}

void NoSizeMemAllocator::deallocate(void* in_pBlock, const char* in_szTag) noexcept
{
    if (in_pBlock == nullptr)
        return;
    char* pRaw = static_cast<char*>(in_pBlock) - s_uiSizeHeader;
    std::size_t uiSize = 0;
    std::memcpy(&uiSize, pRaw, sizeof uiSize);
    leave(in_szTag, uiSize);
    ::operator delete(pRaw);
}

} // namespace Corvana
