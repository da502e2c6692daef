// SPDX-License-Identifier: Apache-2.0
#include "tools/Progress.h"

#include "tools/Termination.h"
#include "tools/Text.h"

#include <algorithm>
#include <utility>

namespace Corvana::Tools {
namespace {

constexpr double s_dSilentSeconds = 1.0;
constexpr double s_dSecondsOnTerminal = 0.2;
constexpr double s_dSecondsElsewhere = 1.0;
constexpr std::size_t s_uiMaxItemLength = 30; // the line must fit into 80 columns, or it could not be rewritten

double steadySeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

ProgressMode effectiveMode(ProgressMode in_mode, bool in_bTerminal)
{
    return in_mode == ProgressMode::AUTO && !in_bTerminal ? ProgressMode::NEVER : in_mode;
}

std::string speedText(double in_dAudioSeconds, double in_dElapsed)
{
    const double dSpeed = in_dAudioSeconds / std::max(in_dElapsed, 1e-6);
    return fixedText(dSpeed, dSpeed < 10.0 ? 1 : 0) + " x real time";
}

// The end of a long name says more than its beginning; a character of several bytes is not cut.
std::string shortened(const std::string& in_strItem)
{
    const std::string strItem = printable(in_strItem);
    if (strItem.size() <= s_uiMaxItemLength)
        return strItem;
    std::size_t uiBegin = strItem.size() - (s_uiMaxItemLength - 3);
    while (uiBegin < strItem.size() && (static_cast<unsigned char>(strItem[uiBegin]) & 0xC0U) == 0x80U)
        ++uiBegin;
    return "..." + strItem.substr(uiBegin);
}

} // namespace

Progress::Progress(std::ostream& out_stream, ProgressMode in_mode, bool in_bTerminal, Clock in_clock)
    : m_stream(out_stream)
    , m_mode(effectiveMode(in_mode, in_bTerminal))
    , m_bTerminal(in_bTerminal)
    , m_clock(in_clock ? std::move(in_clock) : Clock(steadySeconds))
    , m_dStart(m_clock())
    , m_dNextUpdate(m_dStart + s_dSilentSeconds)
{
}

Progress::~Progress()
{
    clear();
}

std::string Progress::text(double in_dFraction, double in_dAudioSeconds, double in_dElapsed) const
{
    if (in_dFraction < 0.0)
        return durationText(in_dAudioSeconds) + " of audio, " + speedText(in_dAudioSeconds, in_dElapsed);
    const double dFraction = std::clamp(in_dFraction, 1e-9, 1.0);
    const double dLeft = in_dElapsed * (1.0 - dFraction) / dFraction;
    return fixedText(100.0 * dFraction, 0) + "%, " + speedText(in_dAudioSeconds, in_dElapsed) + ", " +
           durationText(static_cast<double>(static_cast<unsigned long>(std::min(dLeft, 1e9) + 0.5))) + " left";
}

void Progress::update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem)
{
    if (!isShown())
        return;
    const double dNow = m_clock();
    if (dNow < m_dNextUpdate)
        return;
    m_dNextUpdate = dNow + (m_bTerminal ? s_dSecondsOnTerminal : s_dSecondsElsewhere);
    show(text(in_dFraction, in_dAudioSeconds, dNow - m_dStart) + "  " + shortened(in_strItem));
}

void Progress::finish(double in_dAudioSeconds)
{
    clear();
    if (m_mode != ProgressMode::ALWAYS)
        return;
    const double dElapsed = m_clock() - m_dStart;
    m_stream << "corvana: " << durationText(in_dAudioSeconds) << " of audio in " << durationText(dElapsed) << ", "
             << speedText(in_dAudioSeconds, dElapsed) << '\n'
             << std::flush;
}

void Progress::show(const std::string& in_strText)
{
    if (!m_bTerminal) {
        m_stream << "corvana: " + in_strText + "\n" << std::flush;
        return;
    }
    Termination::setStatusLine(true);
    m_stream << "\r" + in_strText + "\033[K" << std::flush;
    m_bLineShown = true;
}

void Progress::clear()
{
    if (!m_bLineShown)
        return;
    m_stream << "\r\033[K" << std::flush;
    m_bLineShown = false;
    Termination::setStatusLine(false);
}

} // namespace Corvana::Tools
