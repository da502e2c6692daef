// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FeatureSet.h"
#include "tools/Progress.h"
#include "tools/RowWriter.h"
#include "tools/WindowLabels.h"
#include "tools/WindowSource.h"

#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Beyond these nobody means what he says; within them no product of the two overflows.
constexpr unsigned long s_uiMaxWindowMs = 600000;
constexpr unsigned long s_uiMaxSampleRate = 10000000;

/// How recordings are cut into windows.
struct WindowOptions
{
    unsigned long m_uiWindowMs = 16;
    unsigned long m_uiOverlapMs = 0;
    bool m_bSuppressDC = false;
    unsigned long m_uiReadFactor = 0; ///< windows read at a time; 0: as many as are read well
    unsigned long m_uiSampleRate = 0; ///< 0: the rate of each recording
};

/// What is wrong with them, for people; empty when nothing is.
std::string faultOf(const WindowOptions& in_options);

/// Reads recordings one after another and writes a row for each window. Memory stays the same however long they are.
/// Order of calls: open() or openSamples(), then writeRows() when it succeeded.
class RecordingAnalysis
{
public:
    RecordingAnalysis(const WindowOptions& in_options, FeatureSet& inout_features, LogBridge& inout_log,
                      Messages& out_messages, ProgressSink& out_progress);

    /// From now on each row tells the labels of the regions that cover the window's middle; a recording without any
    /// that can be read gets a warning.
    void enableLabels() { m_bLabels = true; }

    /// Opens a recording and finds out what its rows look like; empty, or why it cannot be analysed. What is not known
    /// to be a file is looked at, as the length of a pipe cannot be known.
    std::string open(const std::string& in_strPath, bool in_bIsFile = false);
    /// The same for samples in memory, which must stay there until the rows are written. The name is for messages.
    std::string openSamples(std::span<const double> in_samples, unsigned long in_uiSampleRate,
                            const std::string& in_strName);
    /// The layout of the rows of the open recording.
    const std::vector<std::size_t>& getNbOfValues() const { return m_pLayout->m_vNbOfValues; }
    /// The rate that windows of the open recording are cut for.
    unsigned long getWindowRate() const;
    /// Writes all rows; empty, or why the recording failed in its middle. Stops when the stream fails; whole rows are
    /// written until then. Each row is flushed when in_bFlushRows is set.
    /// in_dDone and in_dShare tell the progress which part of all work lies behind and in this recording.
    std::string writeRows(RowWriter& inout_writer, std::ostream& out_stream, bool in_bFlushRows, double in_dDone,
                          double in_dShare);

    /// Rows written of the open recording.
    unsigned long getNbOfRows() const { return m_uiNbOfRows; }
    /// Seconds of all recordings read so far.
    double getAudioSeconds() const;

private:
    // Windows that are computed at once, with what they become.
    struct Block
    {
        explicit Block(unsigned long in_uiMaxNbOfWindows)
            : m_vWindows(in_uiMaxNbOfWindows)
            , m_vEndTimes(in_uiMaxNbOfWindows)
            , m_vValues(in_uiMaxNbOfWindows)
        {
        }

        std::vector<Math::DoubleVector> m_vWindows;
        std::vector<double> m_vEndTimes;
        std::vector<Math::DoubleVector> m_vValues;
        unsigned long m_uiNbOfWindows = 0;
        unsigned long m_uiNbComputed = 0;
    };

    std::string configureSource();
    std::string settle();
    unsigned long readFactor() const;
    unsigned long windowsAtOnce(bool in_bFlushRows) const;
    void warnAboutRate();
    std::string readLabels();
    double middleOfWindow(unsigned long in_uiWindow, unsigned long in_uiNbOfSamples) const;
    Math::FeatureComputerImpl& getComputer();
    Block& blockOf(unsigned long in_uiNbOfWindows);
    bool readBlock(Block& inout_block);
    std::string writeRow(RowWriter& inout_writer, const Block& in_block, unsigned long in_uiWindow,
                         std::vector<Math::Xpr::Expression>& inout_vExpressions, unsigned long in_uiRow);
    std::string addFormulas(RowWriter& inout_writer, const Math::DoubleVector& in_vWindow, double in_dEndTime,
                            std::vector<Math::Xpr::Expression>& inout_vExpressions);
    std::string rowFault(bool in_bComputed, std::size_t in_uiNbOfValues, double in_dEndTime);
    std::string checkEnd();
    std::string outOfMemory() const;
    double fractionRead() const;
    double secondsRead() const;

    WindowOptions m_options;
    FeatureSet& m_features;
    LogBridge& m_log;
    Messages& m_messages;
    ProgressSink& m_progress;
    FileWindowSource m_file;
    MemoryWindowSource m_memory;
    WindowSource* m_pSource = &m_file;
    std::string m_strPath;
    bool m_bLengthKnown = false;
    const FeatureSet::Layout* m_pLayout = nullptr;
    unsigned long m_uiNbOfRows = 0;
    std::unique_ptr<Math::FeatureComputerImpl> m_pComputer;
    unsigned long m_uiWindowSizeOfComputer = 0;
    Block m_block = Block(0);
    double m_dSecondsOfFormerFiles = 0.0;
    bool m_bLabels = false;
    WindowLabels m_labels;
};

} // namespace Corvana::Tools
