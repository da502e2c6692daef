// SPDX-License-Identifier: Apache-2.0
#include "tools/RunProgress.h"

#include <algorithm>

namespace Corvana::Tools {

RunProgress::RunProgress(Progress& out_progress, const std::vector<Input>& in_vInputs, std::size_t in_uiBegin,
                         std::size_t in_uiEnd)
    : m_progress(out_progress)
    , m_shares(in_vInputs, in_uiBegin, in_uiEnd, out_progress.isShown())
    , m_uiNbOfInputs(in_uiEnd - in_uiBegin)
{
    m_progress.setFiles(m_uiNbOfInputs, 0, 0);
}

void RunProgress::add(Part& inout_part, double in_dFraction, double in_dAudioSeconds)
{
    m_bKnown = m_bKnown && inout_part.m_dShare >= 0.0;
    m_dFraction += inout_part.m_dShare * (in_dFraction - inout_part.m_dFraction);
    m_dAudioSeconds += in_dAudioSeconds - inout_part.m_dAudioSeconds;
    inout_part.m_dFraction = in_dFraction;
    inout_part.m_dAudioSeconds = in_dAudioSeconds;
}

void RunProgress::Part::begin(std::size_t in_uiInput)
{
    m_dShare = m_run.m_shares.share(in_uiInput);
    m_dFraction = 0.0;
}

void RunProgress::Part::update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem)
{
    const std::lock_guard<std::mutex> lock(m_run.m_mutex);
    m_run.add(*this, std::clamp(in_dFraction, 0.0, 1.0), in_dAudioSeconds);
    m_run.m_progress.update(m_run.m_bKnown ? m_run.m_dFraction : -1.0, m_run.m_dAudioSeconds, in_strItem);
}

void RunProgress::Part::end(double in_dAudioSeconds)
{
    const std::lock_guard<std::mutex> lock(m_run.m_mutex);
    m_run.add(*this, 1.0, in_dAudioSeconds);
}

void RunProgress::take(bool in_bFailed)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_uiNbDone;
    m_uiNbOfFailures += in_bFailed ? 1 : 0;
    m_progress.setFiles(m_uiNbOfInputs, m_uiNbDone, m_uiNbOfFailures);
}

void RunProgress::finish()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_progress.finish(m_dAudioSeconds);
}

} // namespace Corvana::Tools
