// SPDX-License-Identifier: Apache-2.0
#include "corvana/CountedObjPtr.h"
#include "corvana/MemAllocator.h"
#include "corvana/Object.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <thread>
#include <utility>
#include <vector>

using Corvana::CountedBuiltInPtr;
using Corvana::CountedObjPtr;
using Corvana::getMemAccount;
using Corvana::Handle;
using Corvana::MemAccount;
using Corvana::TSHandle;

namespace {

class Base : public virtual Corvana::Object
{
public:
    explicit Base(int& inout_iNbAlive)
        : m_iNbAlive(inout_iNbAlive)
    {
        ++m_iNbAlive;
    }
    ~Base() override { --m_iNbAlive; }
    int m_iValue = 7;

private:
    int& m_iNbAlive;
};

class Derived : public Base
{
public:
    using Base::Base;
    int m_iMore = 8;
};

class Other : public Base
{
public:
    using Base::Base;
};

// A counter that there is no memory for.
struct FailingCount
{
    void increment() {}
    bool decrement() { return true; }
    static void* operator new(std::size_t) { throw std::bad_alloc(); }
    static void operator delete(void*) {}
};

std::uint64_t nbOfLiveCounts()
{
    return getMemAccount("ReferenceCount").m_uiLiveBlocks;
}

} // namespace

TEST(ReferenceCount, IsOneBlockOfFourBytesUnderItsOwnTag)
{
    int iNbAlive = 0;
    const MemAccount before = getMemAccount("ReferenceCount");

    const CountedObjPtr<Base> pObject(new Base(iNbAlive));

    const MemAccount after = getMemAccount("ReferenceCount");
    EXPECT_EQ(before.m_uiLiveBlocks + 1, after.m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes + 4, after.m_uiLiveBytes);
}

TEST(ReferenceCount, IsGivenBackWithTheLastOwner)
{
    int iNbAlive = 0;
    const MemAccount before = getMemAccount("ReferenceCount");

    {
        const CountedObjPtr<Base> pObject(new Base(iNbAlive));
        const CountedObjPtr<Base> pCopy(pObject);
    }

    const MemAccount after = getMemAccount("ReferenceCount");
    EXPECT_EQ(before.m_uiLiveBlocks, after.m_uiLiveBlocks);
    EXPECT_EQ(before.m_uiLiveBytes, after.m_uiLiveBytes);
    EXPECT_EQ(before.m_uiTotalBlocks + 1, after.m_uiTotalBlocks);
}

TEST(ReferenceCount, StartsAtOneOwnerAndTellsWhenTheLastLeaves)
{
    Corvana::ReferenceCount count;
    EXPECT_EQ(1u, count.getNbOfOwners());

    count.increment();

    EXPECT_EQ(2u, count.getNbOfOwners());
    EXPECT_FALSE(count.decrement());
    EXPECT_TRUE(count.decrement());
}

TEST(CountedObjPtr, IsNullByDefaultAndWithoutACounter)
{
    const MemAccount before = getMemAccount("ReferenceCount");

    const CountedObjPtr<Base> pDefault;
    const CountedObjPtr<Base> pNull(nullptr);

    EXPECT_TRUE(pDefault.isNull());
    EXPECT_TRUE(pNull.isNull());
    EXPECT_EQ(nullptr, pNull.get());
    EXPECT_EQ(before.m_uiTotalBlocks, getMemAccount("ReferenceCount").m_uiTotalBlocks);
}

TEST(CountedObjPtr, ReachesItsObject)
{
    int iNbAlive = 0;
    auto* pRaw = new Base(iNbAlive);

    const CountedObjPtr<Base> pObject(pRaw);

    EXPECT_FALSE(pObject.isNull());
    EXPECT_EQ(pRaw, pObject.get());
    EXPECT_EQ(pRaw, &*pObject);
    EXPECT_EQ(7, pObject->m_iValue);
}

TEST(CountedObjPtr, DeletesTheObjectWithItsLastOwnerOnly)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pFirst(new Base(iNbAlive));
    CountedObjPtr<Base> pSecond(pFirst);

    pFirst = CountedObjPtr<Base>();
    EXPECT_EQ(1, iNbAlive);
    pSecond = CountedObjPtr<Base>();
    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, CopiesShareTheObject)
{
    int iNbAlive = 0;
    const CountedObjPtr<Base> pFirst(new Base(iNbAlive));

    const CountedObjPtr<Base> pSecond(pFirst);

    EXPECT_EQ(pFirst.get(), pSecond.get());
    EXPECT_EQ(1, iNbAlive);
}

TEST(CountedObjPtr, MovingLeavesNullAndMakesNoOwner)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pFirst(new Base(iNbAlive));
    const Base* pRaw = pFirst.get();

    CountedObjPtr<Base> pSecond(std::move(pFirst));

    EXPECT_TRUE(pFirst.isNull()); // NOLINT(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(pRaw, pSecond.get());
    pSecond = CountedObjPtr<Base>();
    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, AssigningReleasesTheFormerObject)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pObject(new Base(iNbAlive));
    const CountedObjPtr<Base> pOther(new Base(iNbAlive));

    pObject = pOther;

    EXPECT_EQ(1, iNbAlive);
    EXPECT_EQ(pOther.get(), pObject.get());
}

TEST(CountedObjPtr, SurvivesSelfAssignment)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pObject(new Base(iNbAlive));
    const CountedObjPtr<Base>& pSelf = pObject;

    pObject = pSelf;

    EXPECT_EQ(1, iNbAlive);
    EXPECT_EQ(7, pObject->m_iValue);
}

TEST(CountedObjPtr, SurvivesMovingIntoItself)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pObject(new Base(iNbAlive));
    CountedObjPtr<Base>& pSelf = pObject;

    pObject = std::move(pSelf);

    EXPECT_EQ(1, iNbAlive);
    EXPECT_EQ(7, pObject->m_iValue);
}

TEST(CountedObjPtr, ConvertsFromDerivedToBaseSharingTheCounter)
{
    int iNbAlive = 0;
    CountedObjPtr<Derived> pDerived(new Derived(iNbAlive));
    const std::uint64_t uiNbOfCounts = nbOfLiveCounts();

    CountedObjPtr<Base> pBase(pDerived);

    EXPECT_EQ(uiNbOfCounts, nbOfLiveCounts());
    pDerived = CountedObjPtr<Derived>();
    EXPECT_EQ(1, iNbAlive);
    pBase = CountedObjPtr<Base>();
    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, DoesNotConvertFromBaseToDerived)
{
    EXPECT_TRUE((std::is_convertible_v<CountedObjPtr<Derived>, CountedObjPtr<Base>>));
    EXPECT_FALSE((std::is_constructible_v<CountedObjPtr<Derived>, CountedObjPtr<Base>>));
}

TEST(CountedObjPtr, CastsDownSharingTheCounter)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pBase(new Derived(iNbAlive));
    const std::uint64_t uiNbOfCounts = nbOfLiveCounts();

    CountedObjPtr<Derived> pDerived = pBase.cast<Derived>();

    ASSERT_FALSE(pDerived.isNull());
    EXPECT_EQ(8, pDerived->m_iMore);
    EXPECT_EQ(uiNbOfCounts, nbOfLiveCounts());
    pBase = CountedObjPtr<Base>();
    EXPECT_EQ(1, iNbAlive);
    pDerived = CountedObjPtr<Derived>();
    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, CastsToNullWhenTheObjectIsOfAnotherClass)
{
    int iNbAlive = 0;
    CountedObjPtr<Base> pBase(new Derived(iNbAlive));

    const CountedObjPtr<Other> pOther = pBase.cast<Other>();

    EXPECT_TRUE(pOther.isNull());
    pBase = CountedObjPtr<Base>();
    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, CastsNullToNull)
{
    EXPECT_TRUE(CountedObjPtr<Base>().cast<Derived>().isNull());
}

TEST(CountedObjPtr, DeletesTheObjectWhenThereIsNoMemoryForACounter)
{
    using FailingPtr = CountedBuiltInPtr<Base, FailingCount>;
    int iNbAlive = 0;

    EXPECT_THROW(FailingPtr(new Base(iNbAlive)), std::bad_alloc);

    EXPECT_EQ(0, iNbAlive);
}

TEST(CountedObjPtr, HoldsObjectsOfBuiltInTypesToo)
{
    const CountedBuiltInPtr<int> pFirst(new int(5));
    const CountedBuiltInPtr<int> pSecond(pFirst); // NOLINT(performance-unnecessary-copy-initialization)

    EXPECT_EQ(5, *pSecond);
}

TEST(Handle, IsTheCountedPointerUnderAnotherName)
{
    EXPECT_TRUE((std::is_same_v<Handle<Base>, CountedObjPtr<Base>>));
}

TEST(TSHandle, LosesNoOwnerWhenManyThreadsCopyAndRelease)
{
    int iNbAlive = 0;
    const std::uint64_t uiNbOfCounts = nbOfLiveCounts();
    {
        TSHandle<Base> hObject(new Base(iNbAlive));
        std::vector<std::thread> vThreads;
        for (int iThread = 0; iThread < 4; ++iThread)
            vThreads.emplace_back([hObject] {
                for (int iRound = 0; iRound < 20000; ++iRound) {
                    const TSHandle<Base> hCopy(hObject);
                    TSHandle<Base> hOther;
                    hOther = hCopy;
                }
            });
        hObject = TSHandle<Base>();
        for (std::thread& thread : vThreads)
            thread.join();
    }

    EXPECT_EQ(0, iNbAlive);
    EXPECT_EQ(uiNbOfCounts, nbOfLiveCounts());
}

TEST(TSHandle, TakesFourBytesForItsCounterToo)
{
    int iNbAlive = 0;
    const MemAccount before = getMemAccount("ReferenceCount");

    const TSHandle<Base> hObject(new Base(iNbAlive));

    EXPECT_EQ(before.m_uiLiveBytes + 4, getMemAccount("ReferenceCount").m_uiLiveBytes);
}

namespace {

// What a stray write leaves of a pointer: an object and no counter.
void destroyAPointerWithoutACounter()
{
    static Base* s_pObject = nullptr;
    static int s_iNbAlive = 0;
    s_pObject = new Base(s_iNbAlive);
    {
        CountedObjPtr<Base> pBroken;
        static_assert(sizeof pBroken == 2 * sizeof(void*));
        std::memcpy(static_cast<void*>(&pBroken), &s_pObject, sizeof s_pObject);
    }
}

} // namespace

TEST(CountedObjPtrDeathTest, StopsTheProgramWhenItHoldsAnObjectWithoutACounter)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(destroyAPointerWithoutACounter(), testing::KilledBySignal(SIGABRT),
                "Assertion .m_pObject == 0. failed");
}
