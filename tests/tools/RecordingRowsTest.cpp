// SPDX-License-Identifier: Apache-2.0
#include "tools/RecordingRows.h"

#include "support/Signals.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <optional>
#include <sstream>
#include <thread>

namespace Corvana::Tools {
namespace {

// Recordings of which some fail, and the columns that they have in common.
class RecordingRowsTest : public testing::Test
{
protected:
    RecordingRowsTest()
    {
        for (unsigned uiFile = 0; uiFile < 40; ++uiFile) {
            const std::string strName = std::to_string(uiFile) + ".wav";
            const std::string strPath =
                uiFile % 10 == 7
                    ? m_dir.write(strName, "no recording")
                    : Corvana::Test::writeSoundFile(m_dir.file(strName), Corvana::Test::noise(2000 + 100 * uiFile));
            m_vInputs.push_back({strPath, {}});
        }
        m_options.m_vFeatures = {"spectrum500hz", "spectrum|flatness"};
        m_options.m_vFormulas = {{"tonal", "flatness(spectrum(x)) < 0.2"}};
        m_options.m_windows.m_uiOverlapMs = 8;
        m_run.emplace(m_progress, m_vInputs, 0, m_vInputs.size());
    }

    // What a worker says about an input: rows, messages, outcome.
    std::string workOn(RowsWorker& inout_worker, std::size_t in_uiInput)
    {
        const std::unique_ptr<InOrder::Result> pResult = inout_worker.work(in_uiInput);
        auto& result = static_cast<RowsWorker::Result&>(*pResult);
        std::ostringstream text;
        EXPECT_TRUE(result.m_rows.copyTo(text));
        text << result.m_strMessages << result.m_outcome.m_uiNbOfRows << result.m_outcome.m_strFault;
        m_run->take(!result.m_outcome.m_strFault.empty());
        return text.str();
    }

    RowsWorker makeWorker() { return {m_options, m_vInputs, m_columns, {10000, "/tmp", m_memory, m_bStopped}, *m_run}; }

    Corvana::Test::TempDir m_dir;
    std::vector<Input> m_vInputs;
    CommandFeatures::Options m_options;
    const RowColumns m_columns{{8, 1, 1}, 8000};
    RowMemory m_memory;
    std::atomic<bool> m_bStopped = false;
    std::ostringstream m_shown;
    Progress m_progress{m_shown, ProgressMode::JSON, false};
    std::optional<RunProgress> m_run; // needs the inputs
};

TEST_F(RecordingRowsTest, GiveTheSameInThreads)
{
    std::vector<std::string> vExpected;
    {
        RowsWorker worker = makeWorker();
        for (std::size_t uiInput = 0; uiInput < m_vInputs.size(); ++uiInput)
            vExpected.push_back(workOn(worker, uiInput));
    }
    ASSERT_THAT(vExpected[7], testing::HasSubstr("failed to open"));
    std::vector<std::string> vFound(m_vInputs.size());
    {
        std::vector<std::jthread> vThreads;
        for (std::size_t uiThread = 0; uiThread < 4; ++uiThread)
            vThreads.emplace_back([&, uiThread] {
                RowsWorker worker = makeWorker();
                for (std::size_t uiInput = uiThread; uiInput < vFound.size(); uiInput += 4)
                    vFound[uiInput] = workOn(worker, uiInput);
            });
    }
    EXPECT_EQ(vFound, vExpected);
}

} // namespace
} // namespace Corvana::Tools
