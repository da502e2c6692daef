// SPDX-License-Identifier: Apache-2.0
#include "tools/RecordingAnalysis.h"

#include "corvana/Logger.h"
#include "corvana/NumberText.h"
#include "tools/InputList.h"
#include "tools/Text.h"
#include "tools/WindowAdvice.h"

#include <algorithm>
#include <memory>
#include <new>
#include <numeric>
#include <span>

namespace Corvana::Tools {
namespace {

// The status line is asked about this often: often enough for the slowest features, and not worth measuring.
constexpr unsigned long s_uiRowsPerUpdate = 64;

// Then the messages of reading and computing are to come in their order.
bool isMoreThanWarningsShown()
{
    return Logger::getRoot().isEnabledFor(LOG_INFO);
}

} // namespace

std::string faultOf(const WindowOptions& in_options)
{
    if (in_options.m_uiOverlapMs < in_options.m_uiWindowMs)
        return {};
    return "the overlap (--overlap-ms " + std::to_string(in_options.m_uiOverlapMs) +
           ") must be shorter than the window (--window-ms " + std::to_string(in_options.m_uiWindowMs) + ")";
}

RecordingAnalysis::RecordingAnalysis(const WindowOptions& in_options, FeatureSet& inout_features, LogBridge& inout_log,
                                     Messages& out_messages, ProgressSink& out_progress)
    : m_options(in_options)
    , m_features(inout_features)
    , m_log(inout_log)
    , m_messages(out_messages)
    , m_progress(out_progress)
{
    m_file.setChunkReadFactor(std::max(1UL, m_options.m_uiReadFactor));
}

unsigned long RecordingAnalysis::getWindowRate() const
{
    return m_options.m_uiSampleRate == 0 ? m_pSource->getRate() : m_options.m_uiSampleRate;
}

std::string RecordingAnalysis::outOfMemory() const
{
    return "not enough memory for windows of " + std::to_string(m_options.m_uiWindowMs) + " ms, " +
           std::to_string(std::max(1UL, m_options.m_uiReadFactor)) + " read at a time";
}

std::string RecordingAnalysis::open(const std::string& in_strPath, bool in_bIsFile)
try {
    m_dSecondsOfFormerFiles += secondsRead();
    m_uiNbOfRows = 0;
    m_strPath = in_strPath;
    m_bLengthKnown = in_bIsFile || isRegularFile(in_strPath);
    m_pSource = &m_file;
    m_log.beginInput(in_strPath);
    if (!m_file.open(in_strPath.c_str()))
        return openingFault(in_strPath, m_log);
    m_log.endInput();
    const std::string strFault = settle();
    m_file.setChunkReadFactor(readFactor());
    return strFault;
} catch (const std::bad_alloc&) {
    return outOfMemory();
}

std::string RecordingAnalysis::openSamples(std::span<const double> in_samples, unsigned long in_uiSampleRate,
                                           const std::string& in_strName)
try {
    m_dSecondsOfFormerFiles += secondsRead();
    m_uiNbOfRows = 0;
    m_strPath = in_strName;
    m_bLengthKnown = true;
    m_memory.open(in_samples, in_uiSampleRate);
    m_pSource = &m_memory;
    return settle();
} catch (const std::bad_alloc&) {
    return outOfMemory();
}

std::string RecordingAnalysis::settle()
{
    const std::string strFault = configureSource();
    if (!strFault.empty())
        return strFault;
    m_pLayout = &m_features.getLayout(getWindowRate(), m_options.m_uiWindowMs, m_log);
    return m_pLayout->m_strFault;
}

// Nothing has been read yet, so this is as good as configuring before opening, and a pipe is opened only once.
std::string RecordingAnalysis::configureSource()
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiSampleRate = getWindowRate();
    config.m_uiWindowSizeMs = m_options.m_uiWindowMs;
    config.m_uiWindowOverlapMs = m_options.m_uiOverlapMs;
    config.m_bSuppressDCOffset = m_options.m_bSuppressDC;
    if (m_pSource->configureWindows(config))
        return {};
    return "at " + std::to_string(config.m_uiSampleRate) + " Hz, an overlap of " +
           std::to_string(m_options.m_uiOverlapMs) + " ms is as many samples as a window of " +
           std::to_string(m_options.m_uiWindowMs) + " ms; it must be shorter";
}

// The given one. Who asked for nothing gets larger chunks, which take less time, unless they would have to be waited
// for, as those of a pipe. No row depends on it.
unsigned long RecordingAnalysis::readFactor() const
{
    constexpr unsigned long uiFramesOfChunk = 16384;
    const unsigned long uiWindowSize = windowSamples(getWindowRate(), m_options.m_uiWindowMs);
    if (m_options.m_uiReadFactor != 0)
        return m_options.m_uiReadFactor;
    if (!m_bLengthKnown || isMoreThanWarningsShown())
        return 1;
    return std::max(1UL, uiFramesOfChunk / uiWindowSize);
}

// Several where nobody can tell: each row is to be seen at once otherwise, formulas may have something to report, as
// may all other parts when more than warnings is shown, and long windows would need much memory.
unsigned long RecordingAnalysis::windowsAtOnce(bool in_bFlushRows) const
{
    constexpr unsigned long uiAtOnce = 8;
    constexpr unsigned long uiMaxNbOfSamples = 65536;
    const bool bOneByOne = in_bFlushRows || !m_bLengthKnown || m_features.getFormulas().size() > 0 ||
                           isMoreThanWarningsShown() ||
                           windowSamples(getWindowRate(), m_options.m_uiWindowMs) > uiMaxNbOfSamples;
    return bOneByOne ? 1 : uiAtOnce;
}

void RecordingAnalysis::warnAboutRate()
{
    constexpr unsigned long uiAssumedRate = 8000;
    const unsigned long uiRate = m_pSource->getRate();
    const std::vector<std::string> vNames =
        uiRate == uiAssumedRate ? std::vector<std::string>() : m_features.getNamesAssuming8000Hz();
    if (!vNames.empty()) {
        const double dFactor = static_cast<double>(uiRate) / static_cast<double>(uiAssumedRate);
        m_messages.inputWarning(m_strPath, "recorded at " + std::to_string(uiRate) + " Hz, but " + joined(vNames) +
                                               (vNames.size() == 1 ? " assumes" : " assume") +
                                               " 8000 Hz, a spectrum from 0 to 4000 Hz; here it reaches " +
                                               toShortestText(static_cast<double>(uiRate) / 2.0) +
                                               " Hz, so each frequency and width in Hz stands for " +
                                               toShortestText(dFactor) + " times as much");
    }
    if (getWindowRate() != uiRate)
        m_messages.inputWarning(
            m_strPath, "recorded at " + std::to_string(uiRate) + " Hz, but windows are cut as for " +
                           std::to_string(getWindowRate()) +
                           " Hz (--sample-rate): " + std::to_string(m_options.m_uiWindowMs) + " ms of 'time' are " +
                           toShortestText(static_cast<double>(m_options.m_uiWindowMs) *
                                          static_cast<double>(getWindowRate()) / static_cast<double>(uiRate)) +
                           " ms of the recording");
}

// A recording whose regions are damaged has no labels, which is worth a warning. Where the system does not let them be
// read, rows without labels would say what is not true.
std::string RecordingAnalysis::readLabels()
{
    m_log.beginInput(m_strPath);
    bool bSystemFailed = false;
    const std::string strFault = m_labels.read(m_strPath, m_log, bSystemFailed);
    if (strFault.empty()) {
        m_log.endInput();
        return {};
    }
    m_log.takeErrors();
    const std::string strWithout = "no labels, since its regions cannot be read: " + strFault;
    if (bSystemFailed)
        return strWithout;
    m_messages.inputWarning(m_strPath, strWithout);
    return {};
}

// Where the window's samples really lie: its time moves on by whole milliseconds, which at some rates are no whole
// number of samples, and is that of another rate when windows are cut for one.
double RecordingAnalysis::middleOfWindow(unsigned long in_uiWindow, unsigned long in_uiNbOfSamples) const
{
    const unsigned long uiOverlap = m_options.m_uiOverlapMs * getWindowRate() / 1000;
    const unsigned long uiHop = in_uiNbOfSamples - uiOverlap;
    const double dMiddle = static_cast<double>(in_uiWindow * uiHop) + static_cast<double>(in_uiNbOfSamples) / 2.0;
    return dMiddle / static_cast<double>(m_pSource->getRate());
}

std::string RecordingAnalysis::writeRows(RowWriter& inout_writer, std::ostream& out_stream, bool in_bFlushRows,
                                         double in_dDone, double in_dShare)
try {
    warnAboutRate();
    if (const std::string strFault = m_bLabels ? readLabels() : std::string(); !strFault.empty())
        return strFault;
    m_log.beginInput(m_strPath);
    inout_writer.beginFile(m_strPath);
    Math::FeatureComputerImpl& computer = getComputer();
    std::vector<Math::Xpr::Expression> vExpressions = m_features.getFormulas().getFreshExpressions();
    Block& block = blockOf(windowsAtOnce(in_bFlushRows));
    while (readBlock(block)) {
        block.m_uiNbComputed =
            computer.computeSeveral(block.m_uiNbOfWindows, block.m_vWindows.data(), block.m_vValues.data());
        for (unsigned long uiWindow = 0; uiWindow < block.m_uiNbOfWindows; ++uiWindow) {
            const std::string strFault = writeRow(inout_writer, block, uiWindow, vExpressions, m_uiNbOfRows);
            if (!strFault.empty())
                return strFault;
            const std::string_view strRow = inout_writer.endRow();
            if (!out_stream.write(strRow.data(), static_cast<std::streamsize>(strRow.size())))
                return {};
            if (in_bFlushRows)
                out_stream.flush();
            if (++m_uiNbOfRows % s_uiRowsPerUpdate == 0 && m_progress.isShown())
                m_progress.update(in_dShare < 0.0 ? -1.0 : in_dDone + in_dShare * fractionRead(), getAudioSeconds(),
                                  m_strPath);
        }
    }
    const std::string strFault = checkEnd();
    m_log.endInput();
    if (strFault.empty() && m_uiNbOfRows == 0)
        m_messages.inputWarning(m_strPath, "shorter than one window of " + std::to_string(m_options.m_uiWindowMs) +
                                               " ms: no rows");
    return strFault;
} catch (const std::bad_alloc&) {
    m_pComputer.reset(); // who knows how far it came
    return outOfMemory();
}

// What features have prepared for the length of their windows serves all recordings of one rate. For a recording of a
// few windows it would cost more than these.
Math::FeatureComputerImpl& RecordingAnalysis::getComputer()
{
    const unsigned long uiWindowSize = windowSamples(getWindowRate(), m_options.m_uiWindowMs);
    if (m_pComputer == nullptr || m_uiWindowSizeOfComputer != uiWindowSize || !m_features.isWithoutMemory())
        m_pComputer = m_features.getFreshComputer();
    m_uiWindowSizeOfComputer = uiWindowSize;
    return *m_pComputer;
}

// One serves all recordings: its buffers are large enough after the first one.
RecordingAnalysis::Block& RecordingAnalysis::blockOf(unsigned long in_uiNbOfWindows)
{
    if (m_block.m_vWindows.size() != in_uiNbOfWindows)
        m_block = Block(in_uiNbOfWindows);
    return m_block;
}

// False: there are no more windows.
bool RecordingAnalysis::readBlock(Block& inout_block)
{
    inout_block.m_uiNbOfWindows = 0;
    for (Math::DoubleVector& vWindow : inout_block.m_vWindows) {
        if (!m_pSource->getWindow(vWindow))
            break;
        inout_block.m_vEndTimes[inout_block.m_uiNbOfWindows++] = m_pSource->getEndOfWindow();
    }
    return inout_block.m_uiNbOfWindows > 0;
}

// Returns a fault; the row is complete only without one.
std::string RecordingAnalysis::writeRow(RowWriter& inout_writer, const Block& in_block, unsigned long in_uiWindow,
                                        std::vector<Math::Xpr::Expression>& inout_vExpressions, unsigned long in_uiRow)
{
    const bool bComputed = in_uiWindow < in_block.m_uiNbComputed;
    const Math::DoubleVector& vWindow = in_block.m_vWindows[in_uiWindow];
    const Math::DoubleVector& vValues = in_block.m_vValues[in_uiWindow];
    const double dEndTime = in_block.m_vEndTimes[in_uiWindow];
    const std::size_t uiNbOfFeatures = getNbOfValues().size() - inout_vExpressions.size();
    const auto itFormulas = getNbOfValues().begin() + static_cast<long>(uiNbOfFeatures);
    if (!bComputed || vValues.size() != std::accumulate(getNbOfValues().begin(), itFormulas, std::size_t{0}))
        return rowFault(bComputed, vValues.size(), dEndTime);
    if (m_bLabels && m_labels.advanceTo(middleOfWindow(in_uiRow, vWindow.size())))
        inout_writer.setLabels(m_labels.get());
    inout_writer.beginRow(dEndTime);
    std::span<const double> values(vValues.data(), vValues.size());
    for (std::size_t uiFeature = 0; uiFeature < uiNbOfFeatures; ++uiFeature) {
        inout_writer.addFeature(uiFeature, values.first(getNbOfValues()[uiFeature]));
        values = values.subspan(getNbOfValues()[uiFeature]);
    }
    return addFormulas(inout_writer, vWindow, dEndTime, inout_vExpressions);
}

std::string RecordingAnalysis::addFormulas(RowWriter& inout_writer, const Math::DoubleVector& in_vWindow,
                                           double in_dEndTime, std::vector<Math::Xpr::Expression>& inout_vExpressions)
{
    const std::size_t uiNbOfFeatures = getNbOfValues().size() - inout_vExpressions.size();
    for (std::size_t uiFormula = 0; uiFormula < inout_vExpressions.size(); ++uiFormula) {
        Math::Xpr::Expression& expression = inout_vExpressions[uiFormula];
        expression.pointVariable("x", in_vWindow);
        LimitedObjPtr<Math::DoubleVector> pValues;
        const bool bEvaluated = expression.evaluate(pValues);
        if (!bEvaluated || pValues->size() != getNbOfValues()[uiNbOfFeatures + uiFormula])
            return rowFault(bEvaluated, bEvaluated ? pValues->size() : 0, in_dEndTime);
        inout_writer.addFeature(uiNbOfFeatures + uiFormula, {pValues->data(), pValues->size()});
    }
    return {};
}

std::string RecordingAnalysis::rowFault(bool in_bComputed, std::size_t in_uiNbOfValues, double in_dEndTime)
{
    const std::string strReason = m_log.takeErrors();
    const std::string strWhere =
        (in_bComputed ? "the features gave another number of values (" + std::to_string(in_uiNbOfValues) + ")"
                      : std::string("the features failed")) +
        " for the window that ends at " + toShortestText(in_dEndTime) + " s";
    return strReason.empty() ? strWhere : strWhere + ": " + strReason;
}

// Where the length is known, missing frames betray also a file that was cut; a pipe has only its errors.
std::string RecordingAnalysis::checkEnd()
{
    const bool bCut = m_bLengthKnown && m_pSource->getNbOfSamplesRead() < m_pSource->getNbOfSamples();
    if (!bCut && !m_pSource->hasReadError())
        return {};
    const std::string strReason = m_pSource->hasReadError() ? m_log.takeErrors() : std::string();
    return "breaks off: " + std::to_string(m_pSource->getNbOfSamplesRead()) +
           (m_bLengthKnown ? " of " + std::to_string(m_pSource->getNbOfSamples()) : std::string()) +
           " frames could be read" + (strReason.empty() ? std::string() : ": " + strReason);
}

double RecordingAnalysis::fractionRead() const
{
    return static_cast<double>(m_pSource->getNbOfSamplesRead()) /
           static_cast<double>(std::max(1UL, m_pSource->getNbOfSamples()));
}

double RecordingAnalysis::secondsRead() const
{
    return static_cast<double>(m_pSource->getNbOfSamplesRead()) /
           static_cast<double>(std::max(1UL, m_pSource->getRate()));
}

double RecordingAnalysis::getAudioSeconds() const
{
    return m_dSecondsOfFormerFiles + secondsRead();
}

} // namespace Corvana::Tools
