// SPDX-License-Identifier: Apache-2.0
#include "tools/InOrder.h"

#include "infra/ExhaustibleMemory.h"
#include "tools/ExitCode.h"
#include "tools/Termination.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <mutex>
#include <numeric>
#include <pthread.h>
#include <set>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Corvana::Tools {
namespace {

struct Square : public InOrder::Result
{
    std::size_t m_uiSquare = 0;
};

// Squares numbers, the lower ones taking longer, and looks at how it is used.
class Observer
{
public:
    class Worker : public InOrder::Worker
    {
    public:
        explicit Worker(Observer& inout_observer)
            : m_observer(inout_observer)
        {
        }

        std::unique_ptr<InOrder::Result> work(std::size_t in_uiItem) override
        {
            EXPECT_EQ(std::this_thread::get_id(), m_owner);
            m_observer.begin(in_uiItem);
            if (in_uiItem % 7 == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (in_uiItem == m_observer.m_uiThrowAt)
                throw std::runtime_error("no square");
            auto pResult = std::make_unique<Square>();
            pResult->m_uiSquare = in_uiItem * in_uiItem;
            return pResult;
        }

    private:
        Observer& m_observer;
        std::thread::id m_owner = std::this_thread::get_id();
    };

    InOrder::MakeWorker makeWorker()
    {
        return [this] { return std::make_unique<Worker>(*this); };
    }

    InOrder::Take takeUpTo(std::size_t in_uiLast)
    {
        return [this, in_uiLast](std::size_t in_uiItem, InOrder::Result& inout_result) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            EXPECT_EQ(static_cast<Square&>(inout_result).m_uiSquare, in_uiItem * in_uiItem);
            m_vTaken.push_back(in_uiItem);
            return in_uiItem < in_uiLast;
        };
    }

    std::vector<std::size_t> m_vTaken;
    std::size_t m_uiMaxAhead = 0;
    std::set<std::thread::id> m_threads;
    unsigned m_uiNbWithSignals = 0; // threads besides the test's that would get a signal
    std::size_t m_uiThrowAt = SIZE_MAX;

private:
    void begin(std::size_t in_uiItem)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_uiMaxAhead = std::max(m_uiMaxAhead, in_uiItem - std::min(in_uiItem, m_vTaken.size()) + 1);
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        if (m_threads.insert(std::this_thread::get_id()).second && std::this_thread::get_id() != m_callersThread)
            m_uiNbWithSignals += sigismember(&mask, SIGTERM) == 1 ? 0 : 1;
    }

    const std::thread::id m_callersThread = std::this_thread::get_id();
    std::mutex m_mutex;
};

std::vector<std::size_t> numbers(std::size_t in_uiBegin, std::size_t in_uiEnd)
{
    std::vector<std::size_t> vNumbers(in_uiEnd - in_uiBegin);
    std::iota(vNumbers.begin(), vNumbers.end(), in_uiBegin);
    return vNumbers;
}

class InOrderTest : public testing::TestWithParam<unsigned long>
{
};

TEST_P(InOrderTest, TakesAllResultsInOrder)
{
    Observer observer;

    InOrder(GetParam()).run(3, 500, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));

    EXPECT_EQ(observer.m_vTaken, numbers(3, 500));
    EXPECT_LE(observer.m_threads.size(), GetParam());
}

TEST_P(InOrderTest, IsNeverFarAheadOfTheResultTakenNext)
{
    Observer observer;
    InOrder inOrder(GetParam());

    inOrder.run(0, 1000, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));

    EXPECT_LE(observer.m_uiMaxAhead, inOrder.getMaxNbInFlight());
}

TEST_P(InOrderTest, TakesNothingMoreOnceTold)
{
    Observer observer;
    InOrder inOrder(GetParam());

    inOrder.run(0, 1000, observer.makeWorker(), observer.takeUpTo(100));

    EXPECT_EQ(observer.m_vTaken, numbers(0, 101));
    EXPECT_TRUE(inOrder.isStopped());
}

TEST_P(InOrderTest, HandsAnExceptionToTheCaller)
{
    Observer observer;
    observer.m_uiThrowAt = 50;

    EXPECT_THROW(InOrder(GetParam()).run(0, 1000, observer.makeWorker(), observer.takeUpTo(SIZE_MAX)),
                 std::runtime_error);

    EXPECT_LE(observer.m_vTaken.size(), 50U);
    EXPECT_EQ(observer.m_vTaken, numbers(0, observer.m_vTaken.size()));
}

TEST_P(InOrderTest, DoesNothingForNoItems)
{
    Observer observer;

    InOrder(GetParam()).run(5, 5, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));

    EXPECT_TRUE(observer.m_threads.empty());
}

INSTANTIATE_TEST_SUITE_P(Jobs, InOrderTest, testing::Values(1, 2, 3, 8));

TEST(InOrderAloneTest, UsesMoreJobsThanThereAreProcessorsWhenTold)
{
    Observer observer;

    InOrder(8).run(0, 2000, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));

    EXPECT_GT(observer.m_threads.size(), 1U);
}

TEST(InOrderAloneTest, LeavesSignalsToItsCaller)
{
    Observer observer;

    InOrder(4).run(0, 500, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));

    EXPECT_EQ(observer.m_uiNbWithSignals, 0U);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGTERM), 0);
}

TEST(InOrderAloneTest, WorksForItsCallerAloneWhereOneIsEnough)
{
    for (const std::size_t uiEnd : {1U, 100U}) {
        Observer observer;
        InOrder(uiEnd == 1 ? 8 : 1).run(0, uiEnd, observer.makeWorker(), observer.takeUpTo(SIZE_MAX));
        EXPECT_EQ(observer.m_threads, std::set{std::this_thread::get_id()});
    }
}

struct EchoWorker : public InOrder::Worker
{
    std::unique_ptr<InOrder::Result> work(std::size_t) override { return std::make_unique<Square>(); }
};

// A process that has so many bytes more than now.
void runWithRoomFor(std::size_t in_uiNbOfBytes)
{
    std::size_t uiPages = 0;
    std::ifstream("/proc/self/statm") >> uiPages;
    const rlim_t uiLimit = uiPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + in_uiNbOfBytes;
    const rlimit limit{uiLimit, uiLimit};
    setrlimit(RLIMIT_AS, &limit);
    Termination::install();
    try {
        InOrder(1024).run(
            0, 8, [] { return std::make_unique<EchoWorker>(); }, [](std::size_t, InOrder::Result&) { return true; });
    } catch (const std::exception&) {
        _exit(EXIT_UNUSABLE);
    }
    _exit(EXIT_DONE);
}

TEST(InOrderMemoryDeathTest, EndsInGoodOrderWhereverMemoryRunsOut)
{
#if !CORVANA_TEST_EXHAUSTIBLE_MEMORY || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more memory than anyone may be refused";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // threads of other tests are none of this one's
    constexpr std::size_t uiStep = std::size_t{32} << 10U;
    for (std::size_t uiRoom = 0; uiRoom < 24 * uiStep; uiRoom += uiStep)
        EXPECT_EXIT(
            runWithRoomFor(uiRoom), [](int in_iStatus) { return WIFEXITED(in_iStatus); }, "")
            << uiRoom;
}

} // namespace
} // namespace Corvana::Tools
