// SPDX-License-Identifier: Apache-2.0
#include "tools/FeaturesColumns.h"

#include "tools/FeaturesOptions.h"
#include "tools/Messages.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"
#include "tools/RowWriter.h"

#include <memory>
#include <ostream>

namespace Corvana::Tools {

FeaturesColumns::FeaturesColumns(const CommandFeatures::Options& in_options, FeatureSet& inout_features,
                                 FeaturesTable& out_table)
    : m_options(in_options)
    , m_features(inout_features)
    , m_table(out_table)
{
}

void FeaturesColumns::settle(const RowColumns& in_columns)
{
    m_columns = in_columns;
    const std::unique_ptr<RowWriter> pWriter =
        RowWriter::make(m_options.m_format, m_features.getColumnNames(), in_columns.m_vNbOfValues, m_options.m_bLabels);
    m_table.begin(pWriter->getHeader(), describe(), in_columns.m_uiSampleRate);
    if (m_options.m_bFlushRows)
        m_table.stream().flush();
}

std::string FeaturesColumns::settleForRate(unsigned long in_uiSampleRate, LogBridge& inout_log)
{
    const FeatureSet::Layout& layout =
        m_features.getLayout(in_uiSampleRate, m_options.m_windows.m_uiWindowMs, inout_log);
    if (layout.m_strFault.empty())
        settle({layout.m_vNbOfValues, in_uiSampleRate});
    return layout.m_strFault;
}

void FeaturesColumns::settleByOpening(const std::vector<Input>& in_vInputs)
{
    std::ostream nowhere(nullptr);
    Messages toldLater(nowhere, true);
    Progress progress(nowhere, ProgressMode::NEVER, false);
    LogBridge log(toldLater, m_options.m_messages.m_iLogLevel);
    RecordingAnalysis analysis(m_options.m_windows, m_features, log, toldLater, progress);
    for (const Input& input : in_vInputs) {
        if (!input.m_strFault.empty())
            continue;
        const bool bIsFile = isRegularFile(input.m_strPath);
        if (!bIsFile && !isSharded(m_options))
            return;
        if (bIsFile && analysis.open(input.m_strPath).empty()) {
            settle({analysis.getNbOfValues(), analysis.getWindowRate()});
            return;
        }
    }
}

std::vector<TableColumn> FeaturesColumns::describe() const
{
    const std::vector<std::string> vNames = columnNames(m_features.getColumnNames(), m_columns.m_vNbOfValues);
    const std::vector<std::string> vUnits = m_features.getUnits();
    std::vector<TableColumn> vColumns;
    for (std::size_t uiFeature = 0; uiFeature < vUnits.size(); ++uiFeature)
        for (std::size_t uiValue = 0; uiValue < m_columns.m_vNbOfValues[uiFeature]; ++uiValue)
            vColumns.push_back({vNames[vColumns.size()], vUnits[uiFeature]});
    return vColumns;
}

} // namespace Corvana::Tools
