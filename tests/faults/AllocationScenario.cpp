// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"

#include "TableLeft.h"
#include "corvana/MemAllocator.h"
#include "corvana/NumberText.h"
#include "support/AllocationCounter.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <unistd.h>

namespace Corvana::Test {
namespace {

using Extent = AllocationFault::Extent;
using Files = std::map<std::string, std::string>;

// The first allocations are made by what the call does itself; whatever the stride, they all fail once.
constexpr std::uint64_t s_uiAlwaysFailed = 24;

bool isThorough()
{
    const char* szAll = std::getenv("CORVANA_ALL_FAULTS");
    return szAll != nullptr && *szAll != '\0';
}

/// What an object that goes has to give back.
struct Holdings
{
    std::uint64_t m_uiBlocks = nbOfLiveBlocks();
    std::uint64_t m_uiVectors = getMemAccount("\"DoubleVector\"").m_uiLiveBlocks;
    std::uint64_t m_uiFactories = getMemAccount("SignalFeatureFactory").m_uiLiveBlocks;
    std::uint64_t m_uiNodes = getMemAccount("UserFunctionImpl").m_uiLiveBlocks;
    std::uint64_t m_uiCounters = getMemAccount("ReferenceCount").m_uiLiveBlocks;
    unsigned m_uiOpenFiles = nbOfOpenFiles();

    friend bool operator==(const Holdings&, const Holdings&) = default;
    friend std::ostream& operator<<(std::ostream& out_stream, const Holdings& in_holdings)
    {
        return out_stream << in_holdings.m_uiBlocks << " blocks, of vectors " << in_holdings.m_uiVectors
                          << ", factories " << in_holdings.m_uiFactories << ", nodes " << in_holdings.m_uiNodes
                          << ", counters " << in_holdings.m_uiCounters << "; open files " << in_holdings.m_uiOpenFiles;
    }

private:
    static unsigned nbOfOpenFiles()
    {
        constexpr int iMaxDescriptor = 64;
        unsigned uiNbOfOpenFiles = 0;
        for (int iDescriptor = 0; iDescriptor < iMaxDescriptor; ++iDescriptor)
            uiNbOfOpenFiles += fcntl(iDescriptor, F_GETFD) == -1 ? 0 : 1;
        return uiNbOfOpenFiles;
    }
};

enum class Outcome
{
    DONE,
    REFUSED,
    THROWN,
    WRONG
};

// For the last words of a program that an exception ends.
const char* s_szScenario = "";
std::uint64_t s_uiNumber = 0;
std::terminate_handler s_formerHandler = nullptr;

void tellWhere()
{
    std::fprintf(stderr, "ended by an exception: %s, allocation %llu\n", s_szScenario,
                 static_cast<unsigned long long>(s_uiNumber));
    s_formerHandler();
}

class Driver
{
public:
    explicit Driver(const AllocationScenario& in_scenario)
        : m_scenario(in_scenario)
    {
        s_szScenario = m_scenario.m_strName.c_str();
        if (s_formerHandler == nullptr)
            s_formerHandler = std::set_terminate(tellWhere);
    }

    void run()
    {
        // The second time, for what is made once in a program.
        for (int iRound = 0; iRound < 2; ++iRound)
            ASSERT_TRUE(learn()) << m_scenario.m_strName;
        failAll(Extent::ONCE);
        failAll(Extent::FROM_THEN_ON);
        EXPECT_GT(m_uiNbOfFailed, 0U) << "allocates nothing";
        if (isThorough())
            std::printf("| %s | %llu | %llu | %llu | %llu | %llu |\n", m_scenario.m_strName.c_str(),
                        static_cast<unsigned long long>(m_uiNbOfAllocations),
                        static_cast<unsigned long long>(m_uiNbOfFailed), count(Outcome::THROWN),
                        count(Outcome::REFUSED), count(Outcome::DONE));
    }

private:
    // What happens with enough memory.
    bool learn()
    {
        restoreFiles();
        const Attempt attempt = m_scenario.m_make(m_dir.path());
        if (!attempt.m_run())
            return false;
        m_strExpected = attempt.m_look();
        m_expectedFiles = files();
        return true;
    }

    void failAll(Extent in_extent)
    {
        std::uint64_t uiNumber = 1;
        while (failOne(uiNumber, in_extent)) {
            ++m_uiNbOfFailed;
            if (testing::Test::HasFailure())
                return; // the first tells enough
            m_uiNbOfAllocations = std::max(m_uiNbOfAllocations, uiNumber);
            uiNumber += strideBehind(uiNumber);
        }
    }

    std::uint64_t strideBehind(std::uint64_t in_uiNumber) const
    {
        constexpr std::uint64_t uiCommonStride = 1000;
        if (in_uiNumber < s_uiAlwaysFailed)
            return 1;
        if (in_uiNumber >= m_scenario.m_uiNbOfCommon)
            return isThorough() ? 1 : m_scenario.m_uiStride;
        return std::min(uiCommonStride, m_scenario.m_uiNbOfCommon - in_uiNumber);
    }

    // False: there are fewer allocations.
    bool failOne(std::uint64_t in_uiNumber, Extent in_extent)
    {
        s_uiNumber = in_uiNumber;
        SCOPED_TRACE(m_scenario.m_strName + ", allocation " + std::to_string(in_uiNumber) +
                     (in_extent == Extent::ONCE ? " alone" : " and all that follow"));
        // What is made once in a program does not stay a second time.
        constexpr int iMaxRounds = 3;
        for (int iRound = 1;; ++iRound) {
            restoreFiles();
            const Holdings before;
            if (!attempt(in_uiNumber, in_extent))
                return false;
            const Holdings after;
            if (after == before)
                return true;
            if (iRound == iMaxRounds) {
                ADD_FAILURE() << "leaks: before " << before << ", afterwards " << after;
                return true;
            }
        }
    }

    bool attempt(std::uint64_t in_uiNumber, Extent in_extent)
    {
        const Attempt attempt = m_scenario.m_make(m_dir.path());
        const std::string strBefore =
            m_scenario.m_afterwards == Afterwards::UNCHANGED ? attempt.m_look() : std::string();
        bool bFailed = false;
        const Outcome outcome = runWithFault(attempt, in_uiNumber, in_extent, bFailed);
        if (!bFailed)
            return false;
        ++m_anCounts[static_cast<int>(outcome)];
        check(attempt, outcome, strBefore);
        return true;
    }

    static Outcome runWithFault(const Attempt& in_attempt, std::uint64_t in_uiNumber, Extent in_extent,
                                bool& out_bFailed)
    {
        const AllocationFault fault(in_uiNumber, in_extent);
        Outcome outcome = Outcome::WRONG;
        try {
            outcome = in_attempt.m_run() ? Outcome::DONE : Outcome::REFUSED;
        } catch (const std::bad_alloc&) {
            outcome = Outcome::THROWN;
        } catch (...) {
            // told below, with enough memory
        }
        out_bFailed = fault.nbOfFailures() > 0;
        return outcome;
    }

    void check(const Attempt& in_attempt, Outcome in_outcome, const std::string& in_strBefore)
    {
        EXPECT_NE(in_outcome, Outcome::WRONG) << "throws something else";
        if (in_outcome == Outcome::DONE) {
            EXPECT_EQ(in_attempt.m_look(), m_strExpected) << "although it is done";
            EXPECT_TRUE(files() == m_expectedFiles) << "files, although it is done: " << differences();
            return;
        }
        expectWholeFiles();
        if (m_scenario.m_afterwards == Afterwards::DESTRUCTIBLE)
            return;
        if (m_scenario.m_afterwards == Afterwards::UNCHANGED) {
            EXPECT_EQ(in_attempt.m_look(), in_strBefore) << "changed";
        }
        if (m_scenario.m_vOnlyForAnotherRun.empty())
            restoreFiles();
        EXPECT_TRUE(in_attempt.m_run()) << "again, with enough memory";
        EXPECT_EQ(in_attempt.m_look(), m_strExpected) << "again, with enough memory";
        EXPECT_TRUE(files() == m_expectedFiles) << "again, with enough memory: " << differences();
    }

    void expectWholeFiles() const
    {
        for (const auto& [strName, strBytes] : files()) {
            const auto itOld = m_scenario.m_files.find(strName);
            const auto itNew = m_expectedFiles.find(strName);
            EXPECT_TRUE((itOld != m_scenario.m_files.end() && strBytes == itOld->second) ||
                        (itNew != m_expectedFiles.end() && strBytes == itNew->second) ||
                        (belongsToTable(strName, m_scenario.m_strTable) && itNew != m_expectedFiles.end() &&
                         isLeftOfTable(strName, strBytes, itNew->second)) ||
                        isOnlyForAnotherRun(strName))
                << strName << " with " << strBytes.size() << " bytes is neither old nor new";
        }
        for (const auto& [strName, strBytes] : m_scenario.m_files)
            EXPECT_TRUE(std::filesystem::exists(m_dir.file(strName))) << strName << " is gone";
    }

    bool isOnlyForAnotherRun(const std::string& in_strName) const
    {
        return std::any_of(m_scenario.m_vOnlyForAnotherRun.begin(), m_scenario.m_vOnlyForAnotherRun.end(),
                           [&](const std::string& in_strEnd) { return in_strName.ends_with(in_strEnd); });
    }

    Files files() const
    {
        Files found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir.path()))
            if (entry.is_regular_file())
                found[std::filesystem::relative(entry.path(), m_dir.path())] = contentsOf(entry.path());
        return found;
    }

    std::string differences() const
    {
        std::ostringstream text;
        for (const auto& [strName, strBytes] : files())
            text << strName << ' ' << strBytes.size() << " bytes; ";
        return text.str();
    }

    void restoreFiles() const
    {
        if (files() == m_scenario.m_files)
            return;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.path()))
            std::filesystem::remove_all(entry.path());
        for (const auto& [strName, strBytes] : m_scenario.m_files)
            m_dir.write(strName, strBytes);
    }

    unsigned long long count(Outcome in_outcome) const { return m_anCounts[static_cast<int>(in_outcome)]; }

    // In memory where there is such a file system: edits wait for the disk, thousands of times.
    static const char* folderInMemory() { return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR"); }

    const AllocationScenario& m_scenario;
    const ScopedEnvironment m_environment{"TMPDIR", folderInMemory()};
    const TempDir m_dir;
    std::string m_strExpected;
    Files m_expectedFiles;
    std::uint64_t m_uiNbOfAllocations = 0;
    std::uint64_t m_uiNbOfFailed = 0;
    unsigned long long m_anCounts[4] = {};
};

} // namespace

std::ostream& operator<<(std::ostream& out_stream, const AllocationScenario& in_scenario)
{
    return out_stream << in_scenario.m_strName;
}

void expectSoundWithoutMemory(const AllocationScenario& in_scenario)
{
    Driver(in_scenario).run();
}

std::string textOf(const Math::DoubleVector& in_vValues)
{
    std::string strText;
    for (const double dValue : in_vValues)
        strText += toShortestText(dValue) + " ";
    return strText;
}

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace Corvana::Test
