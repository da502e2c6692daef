// SPDX-License-Identifier: Apache-2.0
#include "tools/Termination.h"

#include "tools/ExitCode.h"

#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <new>
#include <stdexcept>

namespace Corvana::Tools {
namespace {

// Ends as a library does that meets the fault where no exception may come from.
template <class ExceptionT>
void fail(const ExceptionT& in_exception) noexcept
{
    Termination::install();
    std::rethrow_exception(std::make_exception_ptr(in_exception));
}

TEST(TerminationDeathTest, SaysThatThereIsNoRoomForAThread)
{
    const std::runtime_error refused("pthread_create has failed: Resource temporarily unavailable");
    EXPECT_EXIT(fail(refused), testing::ExitedWithCode(EXIT_UNUSABLE),
                "^corvana: the system has no room for so many threads; give a smaller number with --jobs");
}

TEST(TerminationDeathTest, SaysThatThereIsNoMemory)
{
    EXPECT_EXIT(fail(std::bad_alloc()), testing::ExitedWithCode(EXIT_UNUSABLE), "^corvana: out of memory");
}

TEST(TerminationDeathTest, LeavesMistakesOfTheProgramToTheDebugger)
{
    EXPECT_EXIT(fail(std::logic_error("a mistake")), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(fail(std::runtime_error("a mistake")), testing::KilledBySignal(SIGABRT), "");
}

} // namespace
} // namespace Corvana::Tools
