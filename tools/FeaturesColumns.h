// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandFeatures.h"
#include "tools/FeatureSet.h"
#include "tools/FeaturesTable.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/RecordingRows.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// Which columns the table of a run has. They depend on the sampling rate that windows are cut for, which may be that
/// of the first recording; once they are settled, the table begins.
class FeaturesColumns
{
public:
    /// All outlive it; in_features is configured later.
    FeaturesColumns(const CommandFeatures::Options& in_options, FeatureSet& inout_features, FeaturesTable& out_table);
    FeaturesColumns(const FeaturesColumns&) = delete;
    FeaturesColumns& operator=(const FeaturesColumns&) = delete;

    bool isSettled() const { return m_columns.m_uiSampleRate != 0; }
    /// Those that are settled.
    const RowColumns& get() const { return m_columns; }

    void settle(const RowColumns& in_columns);
    /// For windows at that rate. Returns why the features cannot have them, empty when they can.
    std::string settleForRate(unsigned long in_uiSampleRate, LogBridge& inout_log);
    /// The first recording of all that can be opened settles the columns, also when another shard has it, or another
    /// thread will come to it later. What can be read only once is left alone.
    void settleByOpening(const std::vector<Input>& in_vInputs);

private:
    std::vector<TableColumn> describe() const;

    const CommandFeatures::Options& m_options;
    FeatureSet& m_features;
    FeaturesTable& m_table;
    RowColumns m_columns;
};

} // namespace Corvana::Tools
