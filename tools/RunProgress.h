// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Progress.h"
#include "tools/WorkShares.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Sums up how far several threads have come with the recordings of one run.
class RunProgress
{
public:
    /// in_uiBegin and in_uiEnd: which of the inputs are worked on.
    RunProgress(Progress& out_progress, const std::vector<Input>& in_vInputs, std::size_t in_uiBegin,
                std::size_t in_uiEnd);

    /// What one thread reports to, from 0 to 1 for each recording.
    class Part : public ProgressSink
    {
    public:
        explicit Part(RunProgress& inout_run)
            : m_run(inout_run)
        {
        }

        bool isShown() const override { return m_run.m_progress.isShown(); }
        void update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem) override;
        /// From here on, updates are about this input.
        void begin(std::size_t in_uiInput);
        /// The recording is done; in_dAudioSeconds as in update().
        void end(double in_dAudioSeconds);

    private:
        friend class RunProgress;
        RunProgress& m_run;
        double m_dShare = 0.0;
        double m_dFraction = 0.0;     // of the recording at hand, as last told
        double m_dAudioSeconds = 0.0; // of all recordings of this part, as last told
    };

    /// A recording's rows are where they belong.
    void take(bool in_bFailed);
    /// While it is held, no thread shows anything: for messages.
    std::unique_lock<std::mutex> pause() const { return std::unique_lock<std::mutex>(m_mutex); }
    /// The line for the end.
    void finish();

private:
    void add(Part& inout_part, double in_dFraction, double in_dAudioSeconds);

    mutable std::mutex m_mutex; // of all below
    Progress& m_progress;
    const WorkShares m_shares;
    const std::size_t m_uiNbOfInputs;
    std::size_t m_uiNbDone = 0;
    std::size_t m_uiNbOfFailures = 0;
    double m_dFraction = 0.0;
    double m_dAudioSeconds = 0.0;
    bool m_bKnown = true;
};

} // namespace Corvana::Tools
