// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>

namespace Corvana::Tools {

enum class ProgressMode
{
    AUTO,   ///< when standard error is a terminal that is not also showing the results
    ALWAYS, ///< also elsewhere, as lines, and at the end of short work
    NEVER
};

/// Tells how far long work has come: the part done, the speed, the time left. Speaks up after the first second, on a
/// terminal five times a second in one line that it rewrites, elsewhere once a second in lines of their own.
class Progress
{
public:
    using Clock = std::function<double()>;

    /// in_clock tells seconds; an empty one stands for the system's steady clock.
    Progress(std::ostream& out_stream, ProgressMode in_mode, bool in_bTerminal, Clock in_clock = {});
    /// Wipes the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Whether anything will ever be shown: otherwise callers may save themselves the figures.
    bool isShown() const { return m_mode != ProgressMode::NEVER; }
    /// in_dFraction: the part of all work done, 0 to 1, or negative when the end is not known;
    /// in_dAudioSeconds: the audio read so far; in_strItem: what is being worked on.
    void update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem);
    /// The line for the end.
    void finish(double in_dAudioSeconds);
    /// Wipes the line from the terminal; the next update shows it again.
    void clear();

private:
    void show(const std::string& in_strText);
    std::string text(double in_dFraction, double in_dAudioSeconds, double in_dElapsed) const;

    std::ostream& m_stream;
    ProgressMode m_mode;
    bool m_bTerminal;
    Clock m_clock;
    double m_dStart;
    double m_dNextUpdate;
    bool m_bLineShown = false;
};

} // namespace Corvana::Tools
