// SPDX-License-Identifier: Apache-2.0
#include "tools/InOrder.h"

#include "tools/Termination.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>
#include <tbb/task_scheduler_observer.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace Corvana::Tools {
namespace {

// Enough to keep all threads busy while the item in front takes its time.
constexpr std::size_t s_uiInFlightPerThread = 4;

// Signals are for the thread that made the arena, which is the one that delays them where a file must not be left.
class SignalShield : public tbb::task_scheduler_observer
{
public:
    explicit SignalShield(tbb::task_arena& inout_arena)
        : task_scheduler_observer(inout_arena)
    {
        observe(true);
    }
    ~SignalShield() override { observe(false); }
    SignalShield(const SignalShield&) = delete;
    SignalShield& operator=(const SignalShield&) = delete;

    void on_scheduler_entry(bool in_bWorker) override
    {
        if (in_bWorker)
            Termination::leaveSignalsToOthers();
    }
};

struct Numbered
{
    std::size_t m_uiItem = 0;
    std::unique_ptr<InOrder::Result> m_pResult;
};

} // namespace

InOrder::InOrder(unsigned long in_uiNbOfThreads)
    : m_uiNbOfThreads(in_uiNbOfThreads == 0 ? static_cast<unsigned long>(std::max(1, tbb::info::default_concurrency()))
                                            : in_uiNbOfThreads)
{
}

std::size_t InOrder::getMaxNbInFlight() const
{
    return m_uiNbOfThreads <= 1 ? 1 : s_uiInFlightPerThread * m_uiNbOfThreads;
}

void InOrder::run(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker, const Take& in_take)
{
    m_bStopped = false;
    if (in_uiBegin >= in_uiEnd)
        return;
    if (m_uiNbOfThreads <= 1 || in_uiEnd - in_uiBegin == 1)
        runInThisThread(in_uiBegin, in_uiEnd, in_makeWorker, in_take);
    else
        runInThreads(in_uiBegin, in_uiEnd, in_makeWorker, in_take);
}

void InOrder::runInThisThread(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker,
                              const Take& in_take)
{
    const std::unique_ptr<Worker> pWorker = in_makeWorker();
    for (std::size_t uiItem = in_uiBegin; uiItem < in_uiEnd && !m_bStopped; ++uiItem) {
        const std::unique_ptr<Result> pResult = pWorker->work(uiItem);
        m_bStopped = !in_take(uiItem, *pResult);
    }
}

void InOrder::runInThreads(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker,
                           const Take& in_take)
{
    // Without this nobody gets more threads than there are processors.
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, m_uiNbOfThreads);
    tbb::task_arena arena(static_cast<int>(m_uiNbOfThreads));
    arena.initialize(); // else the observer does, which cannot be destroyed when there was no memory for that
    const SignalShield shield(arena);
    tbb::enumerable_thread_specific<std::unique_ptr<Worker>> workers;
    std::size_t uiNext = in_uiBegin;

    const auto next = [&](tbb::flow_control& inout_control) {
        if (uiNext >= in_uiEnd || m_bStopped) {
            inout_control.stop();
            return in_uiEnd;
        }
        return uiNext++;
    };
    // Items in flight are consecutive, so each has a place to itself. Results do not travel through the pipeline, which
    // would lose them when an exception ends it.
    std::vector<std::unique_ptr<Result>> vResults(getMaxNbInFlight());
    const auto resultOf = [&](std::size_t in_uiItem) -> std::unique_ptr<Result>& {
        return vResults[in_uiItem % vResults.size()];
    };
    const auto work = [&](std::size_t in_uiItem) {
        if (m_bStopped)
            return in_uiItem;
        std::unique_ptr<Worker>& pWorker = workers.local();
        if (pWorker == nullptr)
            pWorker = in_makeWorker();
        resultOf(in_uiItem) = pWorker->work(in_uiItem);
        return in_uiItem;
    };
    const auto take = [&](std::size_t in_uiItem) {
        const std::unique_ptr<Result> pResult = std::move(resultOf(in_uiItem));
        if (!m_bStopped && !in_take(in_uiItem, *pResult))
            m_bStopped = true;
    };
    arena.execute([&] {
        tbb::parallel_pipeline(getMaxNbInFlight(),
                               tbb::make_filter<void, std::size_t>(tbb::filter_mode::serial_in_order, next) &
                                   tbb::make_filter<std::size_t, std::size_t>(tbb::filter_mode::parallel, work) &
                                   tbb::make_filter<std::size_t, void>(tbb::filter_mode::serial_in_order, take));
    });
}

} // namespace Corvana::Tools
