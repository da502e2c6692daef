// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>

namespace Corvana::Tools {

enum class ProgressMode
{
    AUTO,   ///< when standard error is a terminal that is not also showing the results
    ALWAYS, ///< also elsewhere, as lines, and at the end of short work
    NEVER,
    JSON ///< for programs: a JSON object a line, each second and at the end
};

/// Whom long work tells how far it has come.
class ProgressSink
{
public:
    ProgressSink() = default;
    virtual ~ProgressSink() = default;
    ProgressSink(const ProgressSink&) = delete;
    ProgressSink& operator=(const ProgressSink&) = delete;

    /// Whether anything will ever be shown: otherwise callers may save themselves the figures.
    virtual bool isShown() const = 0;
    /// in_dFraction: the part of all work done, 0 to 1, or negative when the end is not known;
    /// in_dAudioSeconds: the audio read so far, negative when none is read; in_strItem: what is being worked on.
    virtual void update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem) = 0;
};

/// Tells how far long work has come: the part done, the speed, the time left. Speaks up after the first second, on a
/// terminal five times a second in one line that it rewrites, elsewhere once a second in lines of their own.
class Progress : public ProgressSink
{
public:
    using Clock = std::function<double()>;

    /// in_clock tells seconds; an empty one stands for the system's steady clock.
    Progress(std::ostream& out_stream, ProgressMode in_mode, bool in_bTerminal, Clock in_clock = {});
    /// Wipes the line.
    ~Progress() override;

    bool isShown() const override { return m_mode != ProgressMode::NEVER; }
    void update(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem) override;
    /// Of work on several files: how many there are, are done, and have failed.
    void setFiles(std::size_t in_uiNbOfFiles, std::size_t in_uiNbDone, std::size_t in_uiNbOfFailures);
    /// The line for the end.
    void finish(double in_dAudioSeconds);
    /// Wipes the line from the terminal; the next update shows it again.
    void clear();

private:
    void show(const std::string& in_strText);
    std::string text(double in_dFraction, double in_dAudioSeconds, double in_dElapsed) const;
    std::string filesText() const;
    static std::string speedPart(double in_dAudioSeconds, double in_dElapsed);
    std::string json(double in_dFraction, double in_dAudioSeconds, const std::string& in_strItem,
                     bool in_bFinished) const;

    std::ostream& m_stream;
    ProgressMode m_mode;
    bool m_bTerminal;
    Clock m_clock;
    double m_dStart;
    double m_dNextUpdate;
    std::size_t m_uiNbOfFiles = 0;
    std::size_t m_uiNbDone = 0;
    std::size_t m_uiNbOfFailures = 0;
    bool m_bLineShown = false;
};

} // namespace Corvana::Tools
