// SPDX-License-Identifier: Apache-2.0
#include "tools/RecordingRows.h"

#include <utility>

namespace Corvana::Tools {

RecordingRows::RecordingRows(const CommandFeatures::Options& in_options, const std::vector<Input>& in_vInputs,
                             Messages& out_messages, RunProgress& out_progress)
    : m_options(in_options)
    , m_vInputs(in_vInputs)
    , m_progress(out_progress)
    , m_log(out_messages, in_options.m_messages.m_iLogLevel)
    , m_analysis(in_options.m_windows, m_features, m_log, out_messages, m_progress)
{
    std::ostream nowhere(nullptr);
    Messages toldBefore(nowhere, true);
    m_features.configure(in_options.m_vFeatures, in_options.m_vFormulas, toldBefore);
    if (in_options.m_bLabels)
        m_analysis.enableLabels();
}

std::string RecordingRows::open(std::size_t in_uiInput)
{
    m_uiInput = in_uiInput;
    m_dSecondsBefore = m_analysis.getAudioSeconds();
    m_progress.begin(in_uiInput);
    const Input& input = m_vInputs[in_uiInput];
    return input.m_strFault.empty() ? m_analysis.open(input.m_strPath, input.m_bIsFile) : input.m_strFault;
}

std::string RecordingRows::write(const RowColumns& in_columns, std::ostream& out_stream, bool in_bFlushRows)
{
    const std::string strFault = checkColumns(in_columns, getColumns());
    if (!strFault.empty())
        return strFault;
    if (m_pWriter == nullptr)
        m_pWriter = RowWriter::make(m_options.m_format, m_features.getColumnNames(), in_columns.m_vNbOfValues,
                                    m_options.m_bLabels);
    m_pWriter->setFileIndex(m_uiInput);
    return m_analysis.writeRows(*m_pWriter, out_stream, in_bFlushRows, 0.0, 1.0);
}

InputOutcome RecordingRows::end(const std::string& in_strFault)
{
    const double dSeconds = m_analysis.getAudioSeconds();
    m_progress.end(dSeconds);
    const Input& input = m_vInputs[m_uiInput];
    // What was never opened has not even the rows of the recording before it.
    const unsigned long uiNbOfRows = input.m_strFault.empty() ? m_analysis.getNbOfRows() : 0;
    return {input.m_strPath, uiNbOfRows, dSeconds - m_dSecondsBefore, in_strFault};
}

std::string RecordingRows::checkColumns(const RowColumns& in_wanted, const RowColumns& in_found)
{
    if (in_found.m_vNbOfValues == in_wanted.m_vNbOfValues)
        return {};
    const std::string strRate = std::to_string(in_wanted.m_uiSampleRate);
    return "its " + std::to_string(in_found.m_uiSampleRate) +
           " Hz give other columns than the recordings before it at " + strRate +
           " Hz; analyse it in a run of its own, convert it with 'sox IN -r " + strRate +
           " OUT', or cut all windows alike with --sample-rate " + strRate;
}

RowsWorker::RowsWorker(const CommandFeatures::Options& in_options, const std::vector<Input>& in_vInputs,
                       const RowColumns& in_columns, Store in_store, RunProgress& out_progress)
    : m_columns(in_columns)
    , m_store(std::move(in_store))
    , m_messages(m_text, in_options.m_messages.m_bQuiet)
    , m_rows(in_options, in_vInputs, m_messages, out_progress)
{
    m_text.exceptions(std::ios_base::badbit); // else memory that runs out would cut messages in silence
}

std::unique_ptr<InOrder::Result> RowsWorker::work(std::size_t in_uiInput)
{
    auto pResult = std::make_unique<Result>(m_store);
    std::ostream stream(&pResult->m_rows);
    std::string strFault = m_rows.open(in_uiInput);
    if (strFault.empty())
        strFault = m_rows.write(m_columns, stream, false);
    pResult->m_outcome = m_rows.end(strFault);
    pResult->m_strMessages = m_text.str();
    m_text.str({});
    return pResult;
}

} // namespace Corvana::Tools
