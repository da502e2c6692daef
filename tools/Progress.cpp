// SPDX-License-Identifier: Apache-2.0
#include "tools/Progress.h"

#include "tools/Termination.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Corvana::Tools {
namespace {

constexpr double s_dSilentSeconds = 1.0;
constexpr double s_dSecondsOnTerminal = 0.2;
constexpr double s_dSecondsElsewhere = 1.0;
constexpr std::size_t s_uiMaxLineLength = 79; // beyond the terminal's width a line could not be rewritten
constexpr std::size_t s_uiMaxItemLength = 30;
constexpr std::size_t s_uiMinItemLength = 10;

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
std::string shortened(const std::string& in_strItem, std::size_t in_uiMaxLength)
{
    const std::string strItem = printable(in_strItem);
    if (strItem.size() <= in_uiMaxLength)
        return strItem;
    std::size_t uiBegin = strItem.size() - (in_uiMaxLength - 3);
    while (uiBegin < strItem.size() && (static_cast<unsigned char>(strItem[uiBegin]) & 0xC0U) == 0x80U)
        ++uiBegin;
    return "..." + strItem.substr(uiBegin);
}

double secondsLeft(double in_dFraction, double in_dElapsed)
{
    const double dFraction = std::clamp(in_dFraction, 1e-9, 1.0);
    return std::min(in_dElapsed * (1.0 - dFraction) / dFraction, 1e9);
}

// Milliseconds are enough for anyone who reads these lines.
double rounded(double in_dValue)
{
    return std::round(in_dValue * 1000.0) / 1000.0;
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
        return durationText(in_dAudioSeconds) + " of audio" + filesText() + ", " +
               speedText(in_dAudioSeconds, in_dElapsed);
    const double dLeft = secondsLeft(in_dFraction, in_dElapsed);
    return fixedText(100.0 * std::clamp(in_dFraction, 0.0, 1.0), 0) + "%" + filesText() +
           speedPart(in_dAudioSeconds, in_dElapsed) + ", " +
           durationText(static_cast<double>(static_cast<unsigned long>(dLeft + 0.5))) + " left";
}

std::string Progress::speedPart(double in_dAudioSeconds, double in_dElapsed)
{
    return in_dAudioSeconds < 0.0 ? std::string() : ", " + speedText(in_dAudioSeconds, in_dElapsed);
}

std::string Progress::filesText() const
{
    if (m_uiNbOfFiles <= 1)
        return {};
    return ", " + std::to_string(m_uiNbDone) + "/" + std::to_string(m_uiNbOfFiles) + " files" +
           (m_uiNbOfFailures == 0 ? std::string() : ", " + std::to_string(m_uiNbOfFailures) + " failed");
}

// One object a line. What is not known is null.
std::string Progress::json(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem,
                           bool in_bFinished) const
{
    using Json = nlohmann::ordered_json;
    const double dElapsed = m_clock() - m_dStart;
    const bool bKnown = in_dFraction >= 0.0;
    const Json json = {{"files", m_uiNbOfFiles},
                       {"files_done", m_uiNbDone},
                       {"files_failed", m_uiNbOfFailures},
                       {"fraction", bKnown ? Json(rounded(std::min(in_dFraction, 1.0))) : Json()},
                       {"audio_seconds", in_dAudioSeconds < 0.0 ? Json() : Json(rounded(in_dAudioSeconds))},
                       {"elapsed_seconds", rounded(dElapsed)},
                       {"seconds_left", bKnown ? Json(rounded(secondsLeft(in_dFraction, dElapsed))) : Json()},
                       {"file", in_strItem.empty() ? Json() : Json(in_strItem)},
                       {"finished", in_bFinished}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

void Progress::setFiles(std::size_t in_uiNbOfFiles, std::size_t in_uiNbDone, std::size_t in_uiNbOfFailures)
{
    m_uiNbOfFiles = in_uiNbOfFiles;
    m_uiNbDone = in_uiNbDone;
    m_uiNbOfFailures = in_uiNbOfFailures;
}

void Progress::update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem)
{
    if (!isShown())
        return;
    const double dNow = m_clock();
    if (dNow < m_dNextUpdate)
        return;
    const bool bRewritten = m_bTerminal && m_mode != ProgressMode::JSON;
    m_dNextUpdate = dNow + (bRewritten ? s_dSecondsOnTerminal : s_dSecondsElsewhere);
    if (m_mode == ProgressMode::JSON) {
        m_stream << json(in_dFraction, in_dAudioSeconds, in_strItem, false) << std::flush;
        return;
    }
    const std::string strText = text(in_dFraction, in_dAudioSeconds, dNow - m_dStart) + "  ";
    const std::size_t uiRoom = s_uiMaxLineLength - std::min(strText.size(), s_uiMaxLineLength);
    show(strText + shortened(in_strItem, std::clamp(uiRoom, s_uiMinItemLength, s_uiMaxItemLength)));
}

void Progress::finish(double in_dAudioSeconds)
{
    clear();
    if (m_mode == ProgressMode::JSON) // of work that was stopped nobody knows the rest
        m_stream << json(m_uiNbDone < m_uiNbOfFiles ? -1.0 : 1.0, in_dAudioSeconds, {}, true) << std::flush;
    if (m_mode != ProgressMode::ALWAYS)
        return;
    const double dElapsed = m_clock() - m_dStart;
    const std::string strWhat = in_dAudioSeconds < 0.0
                                    ? std::to_string(m_uiNbDone) + "/" + std::to_string(m_uiNbOfFiles) + " files"
                                    : durationText(in_dAudioSeconds) + " of audio" + filesText();
    m_stream << "corvana: " << strWhat << " in " << durationText(dElapsed) << speedPart(in_dAudioSeconds, dElapsed)
             << '\n'
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
