// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

namespace Corvana::Tools {

/// Works on numbered items, several at a time, and takes the results in the items' order. Only a few items for each
/// thread are ahead of the one whose result is taken next, so that memory does not grow with their number.
class InOrder
{
public:
    /// What becomes of an item.
    struct Result
    {
        Result() = default;
        virtual ~Result() = default;
        Result(const Result&) = delete;
        Result& operator=(const Result&) = delete;
    };

    /// What one thread works with. Made in that thread, destroyed in that of the caller.
    class Worker
    {
    public:
        Worker() = default;
        virtual ~Worker() = default;
        Worker(const Worker&) = delete;
        Worker& operator=(const Worker&) = delete;

        virtual std::unique_ptr<Result> work(std::size_t in_uiItem) = 0;
    };

    using MakeWorker = std::function<std::unique_ptr<Worker>()>;
    /// Called for one item at a time, in order, by any thread. False: nothing more is to be done.
    using Take = std::function<bool(std::size_t in_uiItem, Result& inout_result)>;

    /// 0: one for each processor that this process may use.
    explicit InOrder(unsigned long in_uiNbOfThreads);

    /// How many items are worked on, or wait to be taken, at most.
    std::size_t getMaxNbInFlight() const;
    /// Whether results are no longer taken: who works on an item may leave it.
    const std::atomic<bool>& isStopped() const { return m_bStopped; }

    /// Works on the items from in_uiBegin to in_uiEnd; in the caller's thread alone when one thread is enough. An
    /// exception of a worker or of in_take ends it, and reaches the caller.
    void run(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker, const Take& in_take);

private:
    void runInThisThread(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker,
                         const Take& in_take);
    void runInThreads(std::size_t in_uiBegin, std::size_t in_uiEnd, const MakeWorker& in_makeWorker,
                      const Take& in_take);

    unsigned long m_uiNbOfThreads;
    std::atomic<bool> m_bStopped = false;
};

} // namespace Corvana::Tools
