// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathDoubleVector.h"
#include "corvana/MemAllocator.h"
#include "infra/ExhaustibleMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <forward_list>
#include <iterator>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

using Corvana::getMemAccount;
using Corvana::MemAccount;
using Corvana::Math::DoubleVector;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t s_uiTooLarge = std::numeric_limits<std::size_t>::max() / sizeof(double);

MemAccount account()
{
    return getMemAccount("\"DoubleVector\"");
}

// Bytes in use since the test began; every test gives back what it took.
class DoubleVectorTest : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(m_atStart.m_uiLiveBlocks, account().m_uiLiveBlocks);
        EXPECT_EQ(m_atStart.m_uiLiveBytes, account().m_uiLiveBytes);
    }
    std::uint64_t liveBytes() const { return account().m_uiLiveBytes - m_atStart.m_uiLiveBytes; }
    std::uint64_t liveBlocks() const { return account().m_uiLiveBlocks - m_atStart.m_uiLiveBlocks; }
    std::uint64_t totalBlocks() const { return account().m_uiTotalBlocks - m_atStart.m_uiTotalBlocks; }

private:
    MemAccount m_atStart = account();
};

DoubleVector counting(std::size_t in_uiSize)
{
    DoubleVector vValues(in_uiSize);
    for (std::size_t uiIndex = 0; uiIndex < in_uiSize; ++uiIndex)
        vValues[uiIndex] = static_cast<double>(uiIndex);
    return vValues;
}

} // namespace

// ---- Storage

TEST_F(DoubleVectorTest, HoldsThreePointers)
{
    EXPECT_EQ(3 * sizeof(void*), sizeof(DoubleVector));
}

TEST_F(DoubleVectorTest, HasNoStorageByDefault)
{
    const DoubleVector vValues;

    EXPECT_EQ(0u, vValues.size());
    EXPECT_EQ(0u, vValues.capacity());
    EXPECT_TRUE(vValues.empty());
    EXPECT_EQ(nullptr, vValues.data());
    EXPECT_EQ(vValues.begin(), vValues.end());
    EXPECT_EQ(0u, totalBlocks());
}

TEST_F(DoubleVectorTest, TakesEightBytesAValueAndSeventeenMore)
{
    for (const std::size_t uiSize : {1u, 2u, 3u, 7u, 128u, 1000u}) {
        const DoubleVector vValues(uiSize);
        EXPECT_EQ(uiSize * 8 + 17, liveBytes());
        EXPECT_EQ(1u, liveBlocks());
    }
    EXPECT_EQ(0u, liveBytes());
}

TEST_F(DoubleVectorTest, TakesNoStorageForNoValues)
{
    const DoubleVector vSized(0);
    const DoubleVector vListed(std::initializer_list<double>{});
    const DoubleVector vCopied(vSized); // NOLINT(performance-unnecessary-copy-initialization)

    EXPECT_EQ(0u, totalBlocks());
}

TEST_F(DoubleVectorTest, StartsAtAMultipleOfSixteenBytesForEverySize)
{
    for (std::size_t uiSize = 1; uiSize < 300; ++uiSize) {
        const DoubleVector vValues(uiSize);
        ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(vValues.data()) % 16) << uiSize;
    }
}

TEST_F(DoubleVectorTest, KeepsTheDistanceToTheRawBlockInTheByteBeforeItsData)
{
    for (std::size_t uiSize = 1; uiSize < 300; ++uiSize) {
        const DoubleVector vValues(uiSize);
        const auto* pData = reinterpret_cast<const unsigned char*>(vValues.data());
        const unsigned uiOffset = pData[-1];
        const std::uintptr_t uiRaw = reinterpret_cast<std::uintptr_t>(pData) - uiOffset;
        ASSERT_EQ(17 - (uiRaw + 1) % 16, uiOffset) << uiSize;
    }
}

TEST_F(DoubleVectorTest, GivesItsStorageBack)
{
    {
        DoubleVector vValues;
        for (int iValue = 0; iValue < 1000; ++iValue)
            vValues.push_back(iValue);
    }
    EXPECT_EQ(0u, liveBlocks());
    EXPECT_LT(0u, totalBlocks());
}

// ---- Growth

TEST_F(DoubleVectorTest, GrowsByItsSizeForOneValue)
{
    std::vector<std::size_t> vCapacities;
    DoubleVector vValues;
    for (int iValue = 0; iValue < 9; ++iValue) {
        vValues.push_back(iValue);
        vCapacities.push_back(vValues.capacity());
    }

    EXPECT_THAT(vCapacities, ElementsAre(1, 2, 4, 4, 8, 8, 8, 8, 16));
}

TEST_F(DoubleVectorTest, GrowsByTheInsertedNumberWhenThatIsLarger)
{
    const DoubleVector vMany(100, 1.0);
    DoubleVector vValues{1.0, 2.0, 3.0};

    vValues.insert(vValues.end(), vMany.begin(), vMany.end());

    EXPECT_EQ(103u, vValues.capacity());
}

TEST_F(DoubleVectorTest, GrowsFromItsSizeAndNotFromItsCapacity)
{
    DoubleVector vValues;
    vValues.reserve(10);
    vValues.resize(4);

    vValues.resize(11);

    EXPECT_EQ(11u, vValues.capacity()); // 4 + max(4, 7)
}

TEST_F(DoubleVectorTest, GrowsByItsSizeWhenResizedBeyondItsCapacity)
{
    DoubleVector vValues(8);

    vValues.resize(9);

    EXPECT_EQ(16u, vValues.capacity());
    EXPECT_EQ(16u * 8 + 17, liveBytes());
}

TEST_F(DoubleVectorTest, GrowsByConvertedRangesTheSameWay)
{
    const std::deque<double> vMany(5, 1.0);
    DoubleVector vValues(8);

    vValues.insert(vValues.begin(), vMany.begin(), vMany.end());

    EXPECT_EQ(16u, vValues.capacity());
}

TEST_F(DoubleVectorTest, DoesNotGrowWhileThereIsRoom)
{
    const DoubleVector vMany(6, 1.0);
    DoubleVector vValues;
    vValues.reserve(10);
    const double* pData = vValues.data();
    const std::uint64_t uiTotalBlocks = totalBlocks();

    vValues.resize(4);
    vValues.insert(vValues.begin(), vMany.begin(), vMany.end());

    EXPECT_EQ(10u, vValues.size());
    EXPECT_EQ(pData, vValues.data());
    EXPECT_EQ(uiTotalBlocks, totalBlocks());
}

TEST_F(DoubleVectorTest, ReservesExactlyWhatIsAskedFor)
{
    DoubleVector vValues{1.0, 2.0};

    vValues.reserve(100);

    EXPECT_EQ(100u, vValues.capacity());
    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
    vValues.reserve(50);
    EXPECT_EQ(100u, vValues.capacity());
}

// ---- Construction, copying, moving

TEST_F(DoubleVectorTest, HoldsTheListedValues)
{
    EXPECT_THAT(DoubleVector({1.0, 2.0, 3.0}), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(DoubleVectorTest, HoldsCopiesOfOneValue)
{
    EXPECT_THAT(DoubleVector(3, 0.5), ElementsAre(0.5, 0.5, 0.5));
    EXPECT_THAT(DoubleVector(2), ElementsAre(0.0, 0.0));
}

TEST_F(DoubleVectorTest, CopiesValuesAndNoSpareRoom)
{
    DoubleVector vValues{1.0, 2.0};
    vValues.reserve(100);

    DoubleVector vCopy(vValues);
    vValues[0] = 5.0;

    EXPECT_THAT(vCopy, ElementsAre(1.0, 2.0));
    EXPECT_EQ(2u, vCopy.capacity());
}

TEST_F(DoubleVectorTest, MovesItsStorage)
{
    DoubleVector vValues{1.0, 2.0};
    const double* pData = vValues.data();

    const DoubleVector vMoved(std::move(vValues));

    EXPECT_EQ(pData, vMoved.data());
    EXPECT_TRUE(vValues.empty()); // NOLINT(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(1u, totalBlocks());
}

TEST_F(DoubleVectorTest, AssignsIntoStorageThatIsLargeEnough)
{
    const DoubleVector vSource{1.0, 2.0};
    DoubleVector vValues(5, 9.0);
    const double* pData = vValues.data();
    const std::uint64_t uiTotalBlocks = totalBlocks();

    vValues = vSource;

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
    EXPECT_EQ(pData, vValues.data());
    EXPECT_EQ(5u, vValues.capacity());
    EXPECT_EQ(uiTotalBlocks, totalBlocks());
}

TEST_F(DoubleVectorTest, AssignsIntoNewStorageWhenItsOwnIsTooSmall)
{
    const DoubleVector vSource = counting(10);
    DoubleVector vValues{1.0};

    vValues = vSource;

    EXPECT_EQ(vSource, vValues);
    EXPECT_EQ(10u, vValues.capacity());
    EXPECT_EQ(2u, liveBlocks());
}

TEST_F(DoubleVectorTest, SurvivesSelfAssignment)
{
    DoubleVector vValues{1.0, 2.0};
    const DoubleVector& vSelf = vValues;

    vValues = vSelf;

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
}

TEST_F(DoubleVectorTest, SurvivesMovingIntoItself)
{
    DoubleVector vValues{1.0, 2.0};
    DoubleVector& vSelf = vValues;

    vValues = std::move(vSelf);

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
}

TEST_F(DoubleVectorTest, MoveAssignsStorage)
{
    DoubleVector vSource{1.0, 2.0};
    DoubleVector vValues{3.0};
    const double* pData = vSource.data();

    vValues = std::move(vSource);

    EXPECT_EQ(pData, vValues.data());
    EXPECT_EQ(2u, totalBlocks());
}

TEST_F(DoubleVectorTest, AssignsAnEmptyVectorKeepingItsStorage)
{
    DoubleVector vValues(5);

    vValues = DoubleVector();
    const DoubleVector vEmpty;
    DoubleVector vOther(5);
    vOther = vEmpty;

    EXPECT_TRUE(vValues.empty());
    EXPECT_TRUE(vOther.empty());
    EXPECT_EQ(5u, vOther.capacity());
}

TEST_F(DoubleVectorTest, SwapsStorage)
{
    DoubleVector vLeft{1.0};
    DoubleVector vRight{2.0, 3.0};

    swap(vLeft, vRight);
    EXPECT_THAT(vLeft, ElementsAre(2.0, 3.0));
    EXPECT_THAT(vRight, ElementsAre(1.0));

    vLeft.swap(vRight);
    EXPECT_THAT(vLeft, ElementsAre(1.0));
}

// ---- Access and size

TEST_F(DoubleVectorTest, GivesAccessToItsValues)
{
    DoubleVector vValues{1.0, 2.0, 3.0};
    const DoubleVector& vConst = vValues;

    vValues[1] = 5.0;
    vValues.front() = 4.0;
    vValues.back() = 6.0;

    EXPECT_EQ(4.0, vConst.front());
    EXPECT_EQ(5.0, vConst[1]);
    EXPECT_EQ(6.0, vConst.back());
    EXPECT_EQ(3, vConst.end() - vConst.begin());
    EXPECT_EQ(vConst.begin(), vConst.data());
}

TEST_F(DoubleVectorTest, KeepsItsStorageWhenCleared)
{
    DoubleVector vValues(10);
    const double* pData = vValues.data();

    vValues.clear();

    EXPECT_TRUE(vValues.empty());
    EXPECT_EQ(10u, vValues.capacity());
    EXPECT_EQ(pData, vValues.data());
    EXPECT_EQ(10u * 8 + 17, liveBytes());
}

TEST_F(DoubleVectorTest, KeepsValuesAndStorageWhenShrunk)
{
    DoubleVector vValues{1.0, 2.0, 3.0};

    vValues.resize(2);
    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));

    vValues.resize(3); // moves the end only: the former value is there again
    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0, 3.0));
    EXPECT_EQ(1u, totalBlocks());
}

TEST_F(DoubleVectorTest, KeepsItsValuesWhenResizedBeyondItsCapacity)
{
    DoubleVector vValues{1.0, 2.0};

    vValues.resize(100);

    EXPECT_EQ(100u, vValues.size());
    EXPECT_EQ(1.0, vValues[0]);
    EXPECT_EQ(2.0, vValues[1]);
}

TEST_F(DoubleVectorTest, ResizesAnEmptyVectorToNothing)
{
    DoubleVector vValues;

    vValues.resize(0);

    EXPECT_TRUE(vValues.empty());
    EXPECT_EQ(0u, totalBlocks());
}

TEST_F(DoubleVectorTest, PushesAndPops)
{
    DoubleVector vValues;

    vValues.push_back(1.0);
    vValues.push_back(2.0);
    vValues.push_back(3.0);
    vValues.pop_back();

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
}

TEST_F(DoubleVectorTest, PushesAValueOfItsOwnWhileGrowing)
{
    DoubleVector vValues{1.0, 2.0};

    vValues.push_back(vValues[0]);

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0, 1.0));
}

// ---- Insertion and erasure

TEST_F(DoubleVectorTest, InsertsARangeAnywhereAndTellsWhere)
{
    const double adRange[] = {7.0, 8.0};
    for (std::size_t uiPosition = 0; uiPosition <= 3; ++uiPosition)
        for (const std::size_t uiSpareRoom : {0u, 1u, 2u, 10u}) {
            DoubleVector vValues{1.0, 2.0, 3.0};
            vValues.reserve(3 + uiSpareRoom);
            std::vector<double> vExpected{1.0, 2.0, 3.0};
            vExpected.insert(vExpected.begin() + static_cast<std::ptrdiff_t>(uiPosition), adRange, adRange + 2);

            const double* pInserted = vValues.insert(vValues.begin() + uiPosition, adRange, adRange + 2);

            ASSERT_THAT(vValues, ElementsAreArray(vExpected)) << uiPosition << ' ' << uiSpareRoom;
            ASSERT_EQ(vValues.begin() + uiPosition, pInserted);
        }
}

TEST_F(DoubleVectorTest, InsertsIntoAVectorWithoutStorage)
{
    const double adRange[] = {7.0, 8.0};
    DoubleVector vValues;

    const double* pInserted = vValues.insert(vValues.end(), adRange, adRange + 2);

    EXPECT_THAT(vValues, ElementsAre(7.0, 8.0));
    EXPECT_EQ(vValues.begin(), pInserted);
}

TEST_F(DoubleVectorTest, InsertsEmptyRangesWithoutEffect)
{
    const double adRange[] = {7.0};
    const double* pNull = nullptr;
    DoubleVector vValues{1.0, 2.0};
    DoubleVector vEmpty;
    const std::uint64_t uiTotalBlocks = totalBlocks();

    EXPECT_EQ(vValues.begin() + 1, vValues.insert(vValues.begin() + 1, adRange, adRange));
    EXPECT_EQ(vValues.end(), vValues.insert(vValues.end(), pNull, pNull));
    EXPECT_EQ(vValues.end(), vValues.insert(vValues.end(), vValues.begin(), vValues.begin()));
    EXPECT_EQ(vValues.begin(), vValues.insert(vValues.begin(), vValues.end(), vValues.end()));
    EXPECT_EQ(vEmpty.begin(), vEmpty.insert(vEmpty.begin(), pNull, pNull));
    EXPECT_EQ(vEmpty.begin(), vEmpty.insert(vEmpty.begin(), vEmpty.begin(), vEmpty.end()));

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
    EXPECT_TRUE(vEmpty.empty());
    EXPECT_EQ(uiTotalBlocks, totalBlocks());
}

TEST_F(DoubleVectorTest, InsertsFromADeque)
{
    // Long enough to lie in several of the deque's blocks.
    std::deque<double> vRange;
    for (int iValue = 0; iValue < 1000; ++iValue) {
        vRange.push_back(iValue);
        vRange.push_front(-iValue);
    }
    DoubleVector vValues{0.25, 0.5};

    vValues.insert<std::deque<double>::iterator>(vValues.begin() + 1, vRange.begin(), vRange.end());

    ASSERT_EQ(2002u, vValues.size());
    EXPECT_EQ(0.25, vValues[0]);
    EXPECT_TRUE(std::equal(vRange.begin(), vRange.end(), vValues.begin() + 1));
    EXPECT_EQ(0.5, vValues[2001]);
}

TEST_F(DoubleVectorTest, InsertsFromMutablePointers)
{
    double adRange[] = {7.0, 8.0};
    DoubleVector vValues{1.0};

    vValues.insert<double*>(vValues.begin(), adRange, adRange + 2);

    EXPECT_THAT(vValues, ElementsAre(7.0, 8.0, 1.0));
}

TEST_F(DoubleVectorTest, ConvertsUnsignedNumbersThatItInserts)
{
    unsigned long auiRange[] = {0, 300, 9007199254740993UL, std::numeric_limits<unsigned long>::max()};
    DoubleVector vValues{1.0};

    vValues.insert<unsigned long*>(vValues.end(), auiRange, auiRange + 4);

    // Beyond 2^53 the nearest double is taken.
    EXPECT_THAT(vValues, ElementsAre(1.0, 0.0, 300.0, 9007199254740992.0, 18446744073709551616.0));
}

TEST_F(DoubleVectorTest, InsertsFromForwardIterators)
{
    const std::forward_list<float> vRange{0.5F, 1.5F};
    DoubleVector vValues{1.0};

    vValues.insert(vValues.begin(), vRange.begin(), vRange.end());

    EXPECT_THAT(vValues, ElementsAre(0.5, 1.5, 1.0));
}

TEST_F(DoubleVectorTest, InsertsItselfAtItsEnd)
{
    DoubleVector vValues{1.0, 2.0, 3.0};

    vValues.insert(vValues.end(), vValues.begin(), vValues.end());

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0, 3.0, 1.0, 2.0, 3.0));
}

TEST_F(DoubleVectorTest, InsertsEveryRangeOfItselfEverywhere)
{
    constexpr std::size_t uiSize = 6;
    for (const bool bSpareRoom : {false, true})
        for (std::size_t uiPosition = 0; uiPosition <= uiSize; ++uiPosition)
            for (std::size_t uiFirst = 0; uiFirst <= uiSize; ++uiFirst)
                for (std::size_t uiLast = uiFirst; uiLast <= uiSize; ++uiLast) {
                    DoubleVector vValues = counting(uiSize);
                    if (bSpareRoom)
                        vValues.reserve(2 * uiSize);
                    const std::vector<double> vRange(vValues.begin() + uiFirst, vValues.begin() + uiLast);
                    std::vector<double> vExpected(vValues.begin(), vValues.end());
                    vExpected.insert(vExpected.begin() + static_cast<std::ptrdiff_t>(uiPosition), vRange.begin(),
                                     vRange.end());

                    const double* pInserted = vValues.insert(vValues.begin() + uiPosition, vValues.begin() + uiFirst,
                                                             vValues.begin() + uiLast);

                    ASSERT_THAT(vValues, ElementsAreArray(vExpected))
                        << uiFirst << " to " << uiLast << " at " << uiPosition << (bSpareRoom ? ", room" : "");
                    ASSERT_EQ(vValues.begin() + uiPosition, pInserted);
                }
}

TEST_F(DoubleVectorTest, ErasesARangeAnywhere)
{
    constexpr std::size_t uiSize = 5;
    for (std::size_t uiFirst = 0; uiFirst <= uiSize; ++uiFirst)
        for (std::size_t uiLast = uiFirst; uiLast <= uiSize; ++uiLast) {
            DoubleVector vValues = counting(uiSize);
            std::vector<double> vExpected(vValues.begin(), vValues.end());
            vExpected.erase(vExpected.begin() + static_cast<std::ptrdiff_t>(uiFirst),
                            vExpected.begin() + static_cast<std::ptrdiff_t>(uiLast));

            const double* pBehind = vValues.erase(vValues.begin() + uiFirst, vValues.begin() + uiLast);

            ASSERT_THAT(vValues, ElementsAreArray(vExpected));
            ASSERT_EQ(vValues.begin() + uiFirst, pBehind);
            ASSERT_EQ(uiSize, vValues.capacity());
        }
}

TEST_F(DoubleVectorTest, ErasesNothingFromAnEmptyVector)
{
    DoubleVector vValues;

    EXPECT_EQ(vValues.end(), vValues.erase(vValues.begin(), vValues.end()));
}

// ---- Against the standard vector

namespace {

// One vector under the same operations as a standard one.
class Twins
{
public:
    explicit Twins(std::uint64_t in_uiSeed)
        : m_random(in_uiSeed)
    {
    }

    void doSomething()
    {
        switch (below(13)) {
        case 0:
        case 1:
            m_vOurs.push_back(m_dNext);
            m_vTheirs.push_back(m_dNext++);
            break;
        case 2:
            if (!m_vTheirs.empty()) {
                m_vOurs.pop_back();
                m_vTheirs.pop_back();
            }
            break;
        case 3:
            insertNew();
            break;
        case 4:
            insertOwn();
            break;
        case 5:
        case 6:
            erase();
            break;
        case 7:
            resize();
            break;
        case 8:
            m_vOurs.reserve(below(100));
            break;
        case 9:
            if (below(5) == 0) {
                m_vOurs.clear();
                m_vTheirs.clear();
            }
            break;
        case 10:
            copyOrMove();
            break;
        case 11:
            insertConverted();
            break;
        default:
            insertFromDeque();
        }
    }

    const DoubleVector& ours() const { return m_vOurs; }
    const std::vector<double>& theirs() const { return m_vTheirs; }

private:
    std::size_t below(std::size_t in_uiBound) { return static_cast<std::size_t>(m_random() % in_uiBound); }
    static std::ptrdiff_t at(std::size_t in_uiIndex) { return static_cast<std::ptrdiff_t>(in_uiIndex); }

    void insertNew()
    {
        std::vector<double> vRange(below(8));
        for (double& dValue : vRange)
            dValue = m_dNext++;
        const std::size_t uiPosition = below(m_vTheirs.size() + 1);
        m_vOurs.insert(m_vOurs.begin() + uiPosition, vRange.data(), vRange.data() + vRange.size());
        m_vTheirs.insert(m_vTheirs.begin() + at(uiPosition), vRange.begin(), vRange.end());
    }
    void insertOwn()
    {
        if (m_vTheirs.size() > 200)
            return;
        const std::size_t uiPosition = below(m_vTheirs.size() + 1);
        const std::size_t uiFirst = below(m_vTheirs.size() + 1);
        const std::size_t uiLast = uiFirst + below(m_vTheirs.size() - uiFirst + 1);
        const std::vector<double> vRange(m_vTheirs.begin() + at(uiFirst), m_vTheirs.begin() + at(uiLast));
        m_vOurs.insert(m_vOurs.begin() + uiPosition, m_vOurs.begin() + uiFirst, m_vOurs.begin() + uiLast);
        m_vTheirs.insert(m_vTheirs.begin() + at(uiPosition), vRange.begin(), vRange.end());
    }
    void insertConverted()
    {
        unsigned long auiRange[] = {m_random(), m_random(), 3};
        const std::size_t uiPosition = below(m_vTheirs.size() + 1);
        m_vOurs.insert(m_vOurs.begin() + uiPosition, auiRange, auiRange + 3);
        const double adRange[] = {static_cast<double>(auiRange[0]), static_cast<double>(auiRange[1]), 3.0};
        m_vTheirs.insert(m_vTheirs.begin() + at(uiPosition), adRange, adRange + 3);
    }
    void insertFromDeque()
    {
        std::deque<double> vRange(below(5), m_dNext++);
        const std::size_t uiPosition = below(m_vTheirs.size() + 1);
        m_vOurs.insert(m_vOurs.begin() + uiPosition, vRange.begin(), vRange.end());
        m_vTheirs.insert(m_vTheirs.begin() + at(uiPosition), vRange.begin(), vRange.end());
    }
    void erase()
    {
        const std::size_t uiFirst = below(m_vTheirs.size() + 1);
        const std::size_t uiLast = uiFirst + below(m_vTheirs.size() - uiFirst + 1);
        m_vOurs.erase(m_vOurs.begin() + uiFirst, m_vOurs.begin() + uiLast);
        m_vTheirs.erase(m_vTheirs.begin() + at(uiFirst), m_vTheirs.begin() + at(uiLast));
    }
    void resize()
    {
        const std::size_t uiFormerSize = m_vTheirs.size();
        const std::size_t uiSize = below(64);
        m_vOurs.resize(uiSize);
        m_vTheirs.resize(uiSize);
        for (std::size_t uiIndex = uiFormerSize; uiIndex < uiSize; ++uiIndex)
            m_vOurs[uiIndex] = 0.0; // new values are the caller's to write
    }
    void copyOrMove()
    {
        DoubleVector vOther(below(64), 5.0);
        if (below(2) == 0)
            vOther = m_vOurs;
        else
            vOther = std::move(m_vOurs);
        if (below(2) == 0)
            m_vOurs = vOther;
        else
            m_vOurs.swap(vOther);
    }

    std::mt19937_64 m_random;
    double m_dNext = 1.0;
    DoubleVector m_vOurs;
    std::vector<double> m_vTheirs;
};

} // namespace

TEST_F(DoubleVectorTest, DoesWhatTheStandardVectorDoesUnderRandomOperations)
{
    for (std::uint64_t uiSeed = 1; uiSeed <= 8; ++uiSeed) {
        Twins twins(uiSeed);
        for (int iStep = 0; iStep < 2500; ++iStep) {
            twins.doSomething();
            ASSERT_EQ(twins.theirs().empty(), twins.ours().empty());
            ASSERT_EQ(twins.theirs(), std::vector<double>(twins.ours().begin(), twins.ours().end()))
                << "seed " << uiSeed << ", step " << iStep;
            ASSERT_LE(twins.ours().size(), twins.ours().capacity());
            ASSERT_EQ(twins.ours().capacity() == 0 ? 0u : twins.ours().capacity() * 8 + 17, liveBytes());
        }
    }
}

// ---- Sizes that do not fit

TEST_F(DoubleVectorTest, ThrowsForASizeWhoseBytesCannotBeCounted)
{
    DoubleVector vValues{1.0, 2.0};

    EXPECT_THROW(static_cast<void>(DoubleVector(s_uiTooLarge)), std::bad_alloc);
    EXPECT_THROW(DoubleVector(std::numeric_limits<std::size_t>::max(), 1.0), std::bad_alloc);
    EXPECT_THROW(vValues.reserve(s_uiTooLarge), std::bad_alloc);
    EXPECT_THROW(vValues.resize(s_uiTooLarge), std::bad_alloc);
    EXPECT_THROW(vValues.resize(std::numeric_limits<std::size_t>::max()), std::bad_alloc);

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
    EXPECT_EQ(2u, vValues.capacity());
}

#if CORVANA_TEST_EXHAUSTIBLE_MEMORY
TEST_F(DoubleVectorTest, ThrowsForASizeThatMemoryDoesNotHold)
{
    DoubleVector vValues{1.0, 2.0};

    EXPECT_THROW(vValues.reserve(s_uiTooLarge / 4), std::bad_alloc);
    EXPECT_THROW(vValues.resize(s_uiTooLarge / 4), std::bad_alloc);

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
}
#endif

namespace {

// Announces more values than any memory holds.
class EndlessRange
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = double;
    using difference_type = std::ptrdiff_t;
    using pointer = const double*;
    using reference = double;

    explicit EndlessRange(std::ptrdiff_t in_iPosition)
        : m_iPosition(in_iPosition)
    {
    }
    double operator*() const { return 1.0; }
    EndlessRange& operator++()
    {
        ++m_iPosition;
        return *this;
    }
    std::ptrdiff_t operator-(const EndlessRange& in_other) const { return m_iPosition - in_other.m_iPosition; }
    bool operator==(const EndlessRange&) const = default;

private:
    std::ptrdiff_t m_iPosition;
};

// Yields two values and throws for the third.
class BreakingRange
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = double;
    using difference_type = std::ptrdiff_t;
    using pointer = const double*;
    using reference = double;

    explicit BreakingRange(int in_iPosition)
        : m_iPosition(in_iPosition)
    {
    }
    double operator*() const
    {
        if (m_iPosition == 2)
            throw std::runtime_error("unreadable");
        return m_iPosition;
    }
    BreakingRange& operator++()
    {
        ++m_iPosition;
        return *this;
    }
    bool operator==(const BreakingRange&) const = default;

private:
    int m_iPosition;
};

} // namespace

TEST_F(DoubleVectorTest, ThrowsForARangeThatIsTooLongAndStaysAsItWas)
{
    DoubleVector vValues{1.0, 2.0};

    EXPECT_THROW(
        vValues.insert(vValues.begin(), EndlessRange(0), EndlessRange(std::numeric_limits<std::ptrdiff_t>::max())),
        std::bad_alloc);

    EXPECT_THAT(vValues, ElementsAre(1.0, 2.0));
}

TEST_F(DoubleVectorTest, StaysUsableWhenReadingARangeThrows)
{
    DoubleVector vValues{1.0, 2.0};

    EXPECT_THROW(vValues.insert(vValues.begin(), BreakingRange(0), BreakingRange(5)), std::runtime_error);

    EXPECT_LE(vValues.size(), vValues.capacity());
    vValues.clear();
    vValues.push_back(3.0);
    EXPECT_THAT(vValues, ElementsAre(3.0));
}

// ---- Values

TEST_F(DoubleVectorTest, TakesAbsoluteValues)
{
    DoubleVector vValues{-1.5, 0.0, -0.0, 2.0, -s_dInfinity, -s_dNaN};

    vValues.absoluteValue();

    EXPECT_EQ(1.5, vValues[0]);
    EXPECT_EQ(2.0, vValues[3]);
    EXPECT_EQ(s_dInfinity, vValues[4]);
    EXPECT_TRUE(std::isnan(vValues[5]));
    for (const double dValue : vValues)
        EXPECT_FALSE(std::signbit(dValue));
}

TEST_F(DoubleVectorTest, TakesAbsoluteValuesOfNothing)
{
    DoubleVector vValues;

    vValues.absoluteValue();

    EXPECT_TRUE(vValues.empty());
}

TEST_F(DoubleVectorTest, FindsTheFirstLargestValue)
{
    const DoubleVector vValues{1.0, 3.0, -5.0, 3.0};

    EXPECT_EQ(vValues.begin() + 1, vValues.max_element());
}

TEST_F(DoubleVectorTest, FindsTheFirstSmallestAndTheFirstLargestValue)
{
    const DoubleVector vValues{1.0, 3.0, -5.0, 3.0, -5.0, 0.0};
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(vValues.begin() + 2, pMin);
    EXPECT_EQ(vValues.begin() + 1, pMax);
}

TEST_F(DoubleVectorTest, FindsTheOnlyValueAsSmallestAndLargest)
{
    const DoubleVector vValues{1.0};
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(vValues.begin(), pMin);
    EXPECT_EQ(vValues.begin(), pMax);
    EXPECT_EQ(vValues.begin(), vValues.max_element());
}

TEST_F(DoubleVectorTest, FindsItsEndWhenEmpty)
{
    DoubleVector vValues(3);
    vValues.clear();
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(std::as_const(vValues).end(), pMin);
    EXPECT_EQ(std::as_const(vValues).end(), pMax);
    EXPECT_EQ(std::as_const(vValues).end(), vValues.max_element());
}

TEST_F(DoubleVectorTest, TakesZerosOfBothSignsForEqual)
{
    const DoubleVector vValues{-0.0, 0.0};
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(vValues.begin(), pMin);
    EXPECT_EQ(vValues.begin(), pMax);
}

TEST_F(DoubleVectorTest, PassesOverNaNsBehindTheFirstValue)
{
    const DoubleVector vValues{1.0, s_dNaN, 3.0, s_dNaN, -2.0};
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(vValues.begin() + 4, pMin);
    EXPECT_EQ(vValues.begin() + 2, pMax);
    EXPECT_EQ(vValues.begin() + 2, vValues.max_element());
}

TEST_F(DoubleVectorTest, StaysAtANaNThatComesFirst)
{
    // Nothing is larger than a NaN, and nothing smaller.
    const DoubleVector vValues{s_dNaN, 1.0, 3.0};
    const double* pMin = nullptr;
    const double* pMax = nullptr;

    vValues.minmax_element(pMin, pMax);

    EXPECT_EQ(vValues.begin(), pMin);
    EXPECT_EQ(vValues.begin(), pMax);
    EXPECT_EQ(vValues.begin(), vValues.max_element());
}

TEST_F(DoubleVectorTest, ComparesValuesAsDoubles)
{
    EXPECT_TRUE(DoubleVector({1.0, 2.0}) == DoubleVector({1.0, 2.0}));
    EXPECT_TRUE(DoubleVector() == DoubleVector());
    EXPECT_TRUE(DoubleVector({0.0}) == DoubleVector({-0.0}));
    EXPECT_FALSE(DoubleVector({1.0, 2.0}) == DoubleVector({1.0}));
    EXPECT_FALSE(DoubleVector({1.0}) == DoubleVector({1.0, 2.0}));
    EXPECT_TRUE(DoubleVector({1.0, 2.0}) != DoubleVector({1.0, 3.0}));
    EXPECT_FALSE(DoubleVector({s_dNaN}) == DoubleVector({s_dNaN}));
}

TEST_F(DoubleVectorTest, ComparesValuesAndNotSpareRoom)
{
    DoubleVector vRoomy{1.0};
    vRoomy.reserve(50);

    EXPECT_TRUE(DoubleVector({1.0}) == vRoomy);
}
