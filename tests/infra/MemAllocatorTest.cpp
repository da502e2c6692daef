// SPDX-License-Identifier: Apache-2.0
#include "corvana/MemAllocator.h"

#include "infra/ExhaustibleMemory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <thread>
#include <vector>

using Corvana::DefaultStaticMemAllocator;
using Corvana::getMemAccount;
using Corvana::MemAccount;
using Corvana::NoSizeMemAllocator;

TEST(MemAccount, IsAllZeroForATagNeverUsed)
{
    const MemAccount account = getMemAccount("a tag that nobody uses");

    EXPECT_EQ(0u, account.m_uiLiveBlocks);
    EXPECT_EQ(0u, account.m_uiLiveBytes);
    EXPECT_EQ(0u, account.m_uiTotalBlocks);
    EXPECT_EQ(0u, account.m_uiTotalBytes);
}

TEST(MemAccount, GoesByTheTagsTextAndNotItsPlace)
{
    const std::string strTag = "test place";
    void* pBlock = DefaultStaticMemAllocator::allocate(24, strTag.c_str());

    EXPECT_EQ(24u, getMemAccount("test place").m_uiLiveBytes);

    DefaultStaticMemAllocator::deallocate(pBlock, 24, "test place");
    EXPECT_EQ(0u, getMemAccount(strTag.c_str()).m_uiLiveBytes);
}

TEST(MemAccount, IsKeptForEachTagApart)
{
    void* pFirst = DefaultStaticMemAllocator::allocate(24, "test apart 1");
    void* pSecond = NoSizeMemAllocator::allocate(100, "test apart 2");

    EXPECT_EQ(24u, getMemAccount("test apart 1").m_uiLiveBytes);
    EXPECT_EQ(100u, getMemAccount("test apart 2").m_uiLiveBytes);

    DefaultStaticMemAllocator::deallocate(pFirst, 24, "test apart 1");
    NoSizeMemAllocator::deallocate(pSecond, "test apart 2");
}

TEST(DefaultStaticMemAllocator, AccountsBlocksAndBytesUntilTheyAreGivenBack)
{
    void* pFirst = DefaultStaticMemAllocator::allocate(10, "test default");
    void* pSecond = DefaultStaticMemAllocator::allocate(20, "test default");
    MemAccount account = getMemAccount("test default");
    EXPECT_EQ(2u, account.m_uiLiveBlocks);
    EXPECT_EQ(30u, account.m_uiLiveBytes);

    DefaultStaticMemAllocator::deallocate(pFirst, 10, "test default");
    account = getMemAccount("test default");
    EXPECT_EQ(1u, account.m_uiLiveBlocks);
    EXPECT_EQ(20u, account.m_uiLiveBytes);

    DefaultStaticMemAllocator::deallocate(pSecond, 20, "test default");
    account = getMemAccount("test default");
    EXPECT_EQ(0u, account.m_uiLiveBlocks);
    EXPECT_EQ(0u, account.m_uiLiveBytes);
    EXPECT_EQ(2u, account.m_uiTotalBlocks);
    EXPECT_EQ(30u, account.m_uiTotalBytes);
}

TEST(DefaultStaticMemAllocator, GivesMemoryThatCanBeWritten)
{
    void* pBlock = DefaultStaticMemAllocator::allocate(1000, "test written");

    std::memset(pBlock, 0x5a, 1000);

    EXPECT_EQ(0x5a, static_cast<unsigned char*>(pBlock)[999]);
    DefaultStaticMemAllocator::deallocate(pBlock, 1000, "test written");
}

TEST(DefaultStaticMemAllocator, GivesABlockForZeroBytes)
{
    void* pBlock = DefaultStaticMemAllocator::allocate(0, "test zero");

    EXPECT_NE(nullptr, pBlock);
    EXPECT_EQ(1u, getMemAccount("test zero").m_uiLiveBlocks);

    DefaultStaticMemAllocator::deallocate(pBlock, 0, "test zero");
    EXPECT_EQ(0u, getMemAccount("test zero").m_uiLiveBlocks);
}

TEST(DefaultStaticMemAllocator, IgnoresNull)
{
    DefaultStaticMemAllocator::deallocate(nullptr, 10, "test null default");

    EXPECT_EQ(0u, getMemAccount("test null default").m_uiLiveBlocks);
    EXPECT_EQ(0u, getMemAccount("test null default").m_uiLiveBytes);
}

#if CORVANA_TEST_EXHAUSTIBLE_MEMORY
TEST(DefaultStaticMemAllocator, ReportsExhaustionAsBadAllocAndAccountsNothing)
{
    EXPECT_THROW(DefaultStaticMemAllocator::allocate(std::numeric_limits<std::size_t>::max() / 2, "test exhausted"),
                 std::bad_alloc);

    EXPECT_EQ(0u, getMemAccount("test exhausted").m_uiTotalBlocks);
}
#endif

TEST(NoSizeMemAllocator, AccountsTheBytesThatWereAskedFor)
{
    void* pFirst = NoSizeMemAllocator::allocate(10, "test no size");
    void* pSecond = NoSizeMemAllocator::allocate(20, "test no size");
    MemAccount account = getMemAccount("test no size");
    EXPECT_EQ(2u, account.m_uiLiveBlocks);
    EXPECT_EQ(30u, account.m_uiLiveBytes);

    NoSizeMemAllocator::deallocate(pSecond, "test no size");
    account = getMemAccount("test no size");
    EXPECT_EQ(1u, account.m_uiLiveBlocks);
    EXPECT_EQ(10u, account.m_uiLiveBytes);

    NoSizeMemAllocator::deallocate(pFirst, "test no size");
    account = getMemAccount("test no size");
    EXPECT_EQ(0u, account.m_uiLiveBlocks);
    EXPECT_EQ(0u, account.m_uiLiveBytes);
    EXPECT_EQ(2u, account.m_uiTotalBlocks);
    EXPECT_EQ(30u, account.m_uiTotalBytes);
}

TEST(NoSizeMemAllocator, AlignsItsBlocksForEveryType)
{
    void* pBlock = NoSizeMemAllocator::allocate(64, "test aligned");

    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(pBlock) % alignof(std::max_align_t));
    std::memset(pBlock, 0, 64);

    NoSizeMemAllocator::deallocate(pBlock, "test aligned");
}

TEST(NoSizeMemAllocator, IgnoresNull)
{
    NoSizeMemAllocator::deallocate(nullptr, "test null no size");

    EXPECT_EQ(0u, getMemAccount("test null no size").m_uiLiveBlocks);
}

TEST(NoSizeMemAllocator, RefusesASizeThatLeavesNoRoomForItsHeader)
{
    EXPECT_THROW(NoSizeMemAllocator::allocate(std::numeric_limits<std::size_t>::max(), "test no room"), std::bad_alloc);
    EXPECT_THROW(NoSizeMemAllocator::allocate(std::numeric_limits<std::size_t>::max() - 15, "test no room"),
                 std::bad_alloc);

    EXPECT_EQ(0u, getMemAccount("test no room").m_uiTotalBlocks);
}

TEST(MemAccount, LosesNothingWhenManyThreadsAllocateUnderOneNewTag)
{
    std::vector<std::thread> vThreads;
    for (int iThread = 0; iThread < 4; ++iThread)
        vThreads.emplace_back([] {
            for (int iRound = 0; iRound < 5000; ++iRound) {
                void* pBlock = DefaultStaticMemAllocator::allocate(8, "test threads");
                NoSizeMemAllocator::deallocate(NoSizeMemAllocator::allocate(16, "test threads"), "test threads");
                DefaultStaticMemAllocator::deallocate(pBlock, 8, "test threads");
            }
        });
    for (std::thread& thread : vThreads)
        thread.join();

    const MemAccount account = getMemAccount("test threads");
    EXPECT_EQ(0u, account.m_uiLiveBlocks);
    EXPECT_EQ(0u, account.m_uiLiveBytes);
    EXPECT_EQ(40000u, account.m_uiTotalBlocks);
    EXPECT_EQ(4u * 5000u * 24u, account.m_uiTotalBytes);
}

TEST(MemAccount, OfTagsTooLongIsSharedAsOther)
{
    const std::string strTooLong(48, 'x');
    const MemAccount before = getMemAccount("(other)");

    void* pBlock = DefaultStaticMemAllocator::allocate(24, strTooLong.c_str());

    EXPECT_EQ(before.m_uiLiveBlocks + 1, getMemAccount("(other)").m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes + 24, getMemAccount("(other)").m_uiLiveBytes);
    DefaultStaticMemAllocator::deallocate(pBlock, 24, strTooLong.c_str());
    EXPECT_EQ(before.m_uiLiveBytes, getMemAccount("(other)").m_uiLiveBytes);
}

TEST(MemAccount, OfTheLongestTagIsItsOwn)
{
    const std::string strLongest(47, 'y');

    void* pBlock = DefaultStaticMemAllocator::allocate(24, strLongest.c_str());

    EXPECT_EQ(24u, getMemAccount(strLongest.c_str()).m_uiLiveBytes);
    DefaultStaticMemAllocator::deallocate(pBlock, 24, strLongest.c_str());
}

namespace {

// Uses up all accounts, so it runs in a process of its own. Exits with 0 when all blocks are accounted for.
[[noreturn]] void allocateUnderManyTags()
{
    constexpr std::size_t uiNbOfTags = 200;
    const MemAccount before = getMemAccount("(other)");
    std::vector<std::string> vTags;
    std::vector<void*> vBlocks;
    for (std::size_t uiTag = 0; uiTag < uiNbOfTags; ++uiTag) {
        vTags.push_back("test many " + std::to_string(uiTag));
        vBlocks.push_back(DefaultStaticMemAllocator::allocate(8, vTags.back().c_str()));
    }
    std::uint64_t uiLiveBlocks = getMemAccount("(other)").m_uiLiveBlocks - before.m_uiLiveBlocks;
    const bool bOverflowed = uiLiveBlocks >= uiNbOfTags - 63 && uiLiveBlocks < uiNbOfTags;
    for (const std::string& strTag : vTags)
        uiLiveBlocks += getMemAccount(strTag.c_str()).m_uiLiveBlocks;
    const bool bAllThere = uiLiveBlocks == uiNbOfTags;

    for (std::size_t uiTag = 0; uiTag < uiNbOfTags; ++uiTag)
        DefaultStaticMemAllocator::deallocate(vBlocks[uiTag], 8, vTags[uiTag].c_str());
    std::uint64_t uiLeft = getMemAccount("(other)").m_uiLiveBlocks - before.m_uiLiveBlocks;
    for (const std::string& strTag : vTags)
        uiLeft += getMemAccount(strTag.c_str()).m_uiLiveBlocks;
    std::_Exit(bOverflowed && bAllThere && uiLeft == 0 ? 0 : 1);
}

} // namespace

TEST(MemAccountDeathTest, OfTagsBeyondTheTableIsSharedAsOther)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(allocateUnderManyTags(), testing::ExitedWithCode(0), "");
}
