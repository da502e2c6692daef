// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandFeatures.h"
#include "tools/FeatureSet.h"
#include "tools/InOrder.h"
#include "tools/InputOutcome.h"
#include "tools/LogBridge.h"
#include "tools/Messages.h"
#include "tools/RecordingAnalysis.h"
#include "tools/RowBuffer.h"
#include "tools/RowWriter.h"
#include "tools/RunProgress.h"

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// What all rows of a run have in common. The first recording that can be opened settles it.
struct RowColumns
{
    std::vector<std::size_t> m_vNbOfValues; ///< of each feature, then of each formula, in order
    unsigned long m_uiSampleRate = 0;       ///< that windows are cut for; 0: not settled
};

/// What a thread needs to turn recordings of a run into rows: a reader, features and buffers of its own.
class RecordingRows
{
public:
    RecordingRows(const CommandFeatures::Options& in_options, const std::vector<Input>& in_vInputs,
                  Messages& out_messages, RunProgress& out_progress);

    /// Opens an input and finds out what its rows look like; empty, or why it cannot be analysed.
    std::string open(std::size_t in_uiInput);
    /// Of the open recording.
    RowColumns getColumns() const { return {m_analysis.getNbOfValues(), m_analysis.getWindowRate()}; }
    /// Writes the rows of the open recording. A recording whose columns are others fails.
    std::string write(const RowColumns& in_columns, std::ostream& out_stream, bool in_bFlushRows);
    /// After open() and, when that succeeded, write(), with what they returned.
    InputOutcome end(const std::string& in_strFault);

private:
    static std::string checkColumns(const RowColumns& in_wanted, const RowColumns& in_found);

    const CommandFeatures::Options& m_options;
    const std::vector<Input>& m_vInputs;
    RunProgress::Part m_progress;
    LogBridge m_log;
    FeatureSet m_features;
    RecordingAnalysis m_analysis;
    std::unique_ptr<RowWriter> m_pWriter;
    std::size_t m_uiInput = 0;
    double m_dSecondsBefore = 0.0; // of audio, when the recording at hand began
};

/// Makes the rows of recordings while others are being made, and keeps them and all messages until it is their turn.
class RowsWorker : public InOrder::Worker
{
public:
    /// Where rows are kept that wait for their turn.
    struct Store
    {
        std::size_t m_uiMaxInMemory; ///< bytes a recording; beyond it in a file
        std::string m_strFolder;     ///< of such files
        RowMemory& m_memory;
        const std::atomic<bool>& m_bStopped;
    };

    struct Result : public InOrder::Result
    {
        explicit Result(const Store& in_store)
            : m_rows(in_store.m_uiMaxInMemory, in_store.m_strFolder, in_store.m_memory, in_store.m_bStopped)
        {
        }

        std::string m_strMessages;
        InputOutcome m_outcome;
        RowBuffer m_rows;
    };

    RowsWorker(const CommandFeatures::Options& in_options, const std::vector<Input>& in_vInputs,
               const RowColumns& in_columns, Store in_store, RunProgress& out_progress);

    std::unique_ptr<InOrder::Result> work(std::size_t in_uiInput) override;

private:
    const RowColumns& m_columns;
    const Store m_store;
    std::ostringstream m_text;
    Messages m_messages;
    RecordingRows m_rows;
};

} // namespace Corvana::Tools
