// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotReader.h"

#include "corvana/NumberText.h"
#include "tools/InputList.h"
#include "tools/RegionReading.h"
#include "tools/Text.h"
#include "tools/WindowAdvice.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <new>

namespace Corvana::Tools {
namespace {

constexpr unsigned long s_uiFramesOfChunk = 16384;

// Other formats have no regions, which needs no warning.
// Also when the system does not let it find out.
bool mayBeWav(const std::string& in_strPath)
{
    char acHeader[12] = {};
    std::ifstream stream(in_strPath, std::ios::binary);
    stream.read(acHeader, sizeof acHeader);
    return !stream.is_open() || stream.bad() ||
           (std::string_view(acHeader, 4) == "RIFF" && std::string_view(acHeader + 8, 4) == "WAVE");
}

std::string secondsText(double in_dSeconds)
{
    return toShortestText(in_dSeconds) + " s";
}

// Swallows the rows of curves that are gathered on the way.
class NoBuf : public std::streambuf
{
protected:
    int_type overflow(int_type in_iLetter) override { return traits_type::not_eof(in_iLetter); }
    std::streamsize xsputn(const char*, std::streamsize in_iSize) override { return in_iSize; }
};

} // namespace

PlotReader::PlotReader(const Options& in_options, FeatureSet& inout_features, LogBridge& inout_log,
                       Messages& out_messages, Progress& out_progress)
    : m_options(in_options)
    , m_features(inout_features)
    , m_log(inout_log)
    , m_messages(out_messages)
    , m_progress(out_progress)
    , m_analysis(in_options.m_windows, inout_features, inout_log, out_messages, out_progress)
{
    m_reader.setNbOfFramesToRead(s_uiFramesOfChunk);
}

std::string PlotReader::read(const std::string& in_strPath, double in_dDone, double in_dShare,
                             PlotRecording& out_recording, bool& out_bDrawable)
try {
    out_bDrawable = false;
    out_recording.m_strName = in_strPath;
    std::string strFault = open(in_strPath);
    if (strFault.empty())
        strFault = findStretch(out_recording);
    if (!strFault.empty())
        return strFault;
    const bool bCurves = !m_features.getColumnNames().empty();
    const double dSignalShare = bCurves && in_dShare > 0.0 ? in_dShare / 2.0 : in_dShare;
    strFault = readSignal(out_recording, {in_dDone, dSignalShare});
    for (const std::string& strOther :
         {readRegions(out_recording),
          bCurves ? readCurves(out_recording, {in_dDone + dSignalShare, dSignalShare}) : std::string()})
        if (strFault.empty())
            strFault = strOther;
    out_bDrawable = true;
    return strFault;
} catch (const std::bad_alloc&) {
    out_bDrawable = false;
    return "not enough memory to draw it; a smaller --width needs less";
}

std::string PlotReader::open(const std::string& in_strPath)
{
    std::error_code error; // of a folder that may not be entered, say: opening tells it
    if (in_strPath == "-" || (std::filesystem::exists(in_strPath, error) && !isRegularFile(in_strPath)))
        return "can only be drawn from a file, which is read more than once; write what comes from a pipe to one";
    m_log.beginInput(in_strPath);
    if (!m_reader.setSourceAudioFile(in_strPath.c_str()))
        return openingFault(in_strPath, m_log);
    m_log.endInput();
    return {};
}

std::string PlotReader::findStretch(PlotRecording& inout_recording) const
{
    const unsigned long uiRate = m_reader.getSampleRate();
    const unsigned long uiNbOfFrames = m_reader.getNbOfFrames();
    if (uiNbOfFrames == 0)
        return "nothing to draw: it has no samples";
    if (uiNbOfFrames >= 1UL << 62U)
        return "does not tell its length; convert it with 'sox IN OUT'";
    const auto dRate = static_cast<double>(uiRate);
    inout_recording.m_dSeconds = static_cast<double>(uiNbOfFrames) / dRate;
    const auto frameAt = [&](double in_dSeconds) {
        return static_cast<unsigned long>(std::lround(std::min(in_dSeconds, inout_recording.m_dSeconds) * dRate));
    };
    PlotStretch& stretch = inout_recording.m_stretch;
    stretch = {0, uiNbOfFrames, uiRate, m_options.m_uiNbOfColumns};
    if (m_options.m_from.has_value())
        stretch.m_uiBegin = frameAt(*m_options.m_from);
    if (m_options.m_to.has_value())
        stretch.m_uiEnd = frameAt(*m_options.m_to);
    if (stretch.m_uiBegin >= uiNbOfFrames)
        return "nothing to draw: it ends at " + secondsText(inout_recording.m_dSeconds) + ", before --from " +
               toShortestText(*m_options.m_from);
    if (stretch.m_uiBegin >= stretch.m_uiEnd)
        return "nothing to draw: there is no sample between --from and --to at " + std::to_string(uiRate) + " Hz";
    return {};
}

std::string PlotReader::readSignal(PlotRecording& inout_recording, const Share& in_share)
{
    const PlotStretch& stretch = inout_recording.m_stretch;
    inout_recording.m_waveform = Waveform(stretch, m_reader.getClippingValue());
    inout_recording.m_pSpectrogram = std::make_unique<Spectrogram>(stretch, m_options.m_uiMaxNbOfRows);
    const Spectrogram& spectrogram = *inout_recording.m_pSpectrogram;
    const unsigned long uiBegin = std::min(spectrogram.getFirstWanted(), stretch.m_uiBegin);
    const unsigned long uiEnd =
        std::min(std::max(spectrogram.getEndWanted(), stretch.m_uiEnd), m_reader.getNbOfFrames());
    m_log.beginInput(inout_recording.m_strName);
    pass(uiBegin, uiEnd, inout_recording, in_share);
    inout_recording.m_pSpectrogram->finish();
    m_log.endInput();
    const unsigned long uiRead = m_reader.getFramePosition();
    if (uiRead >= uiEnd)
        return {};
    return "breaks off: " + std::to_string(uiRead) + " of " + std::to_string(m_reader.getNbOfFrames()) +
           " frames could be read";
}

void PlotReader::pass(unsigned long in_uiBegin, unsigned long in_uiEnd, PlotRecording& inout_recording,
                      const Share& in_share)
{
    const auto dRate = static_cast<double>(m_reader.getSampleRate());
    // Where it cannot seek, what lies before is read and passed over.
    if (in_uiBegin > 0)
        m_reader.gotoAudioTime(static_cast<double>(in_uiBegin) / dRate);
    const double dFormerSeconds = m_dSecondsRead;
    Math::DoubleVector vFrames;
    for (unsigned long uiFirst = m_reader.getFramePosition();
         uiFirst < in_uiEnd && m_reader.getNextLinearFrames(vFrames) && !vFrames.empty();
         uiFirst = m_reader.getFramePosition()) {
        inout_recording.m_waveform.push(uiFirst, vFrames);
        inout_recording.m_pSpectrogram->push(uiFirst, vFrames);
        m_dSecondsRead = dFormerSeconds + static_cast<double>(m_reader.getFramePosition() - in_uiBegin) / dRate;
        const double dPart = static_cast<double>(std::min(m_reader.getFramePosition(), in_uiEnd) - in_uiBegin) /
                             static_cast<double>(in_uiEnd - in_uiBegin);
        m_progress.update(in_share.m_dShare < 0.0 ? -1.0 : in_share.m_dDone + in_share.m_dShare * dPart, m_dSecondsRead,
                          inout_recording.m_strName);
    }
}

// A recording whose regions are damaged is drawn without them, which is worth a warning; one that the system does not
// let read is not what was asked for.
std::string PlotReader::readRegions(PlotRecording& inout_recording)
{
    if (!mayBeWav(inout_recording.m_strName))
        return {};
    m_log.beginInput(inout_recording.m_strName);
    Audio::AnnotatedFile file;
    bool bSystemFailed = false;
    const std::string strFault = readRegionsOf(inout_recording.m_strName, file, m_log, bSystemFailed);
    if (strFault.empty()) {
        m_log.endInput();
        inout_recording.m_vRegions = labeledRegionsOf(file);
        return {};
    }
    m_log.takeErrors();
    const std::string strWithout = "no regions are drawn, since they cannot be read: " + strFault;
    if (bSystemFailed)
        return strWithout;
    m_messages.inputWarning(inout_recording.m_strName, strWithout);
    return {};
}

// Windows are whole numbers of samples, and lie where these are in the recording.
WindowMiddles PlotReader::windowMiddles(unsigned long in_uiSampleRate) const
{
    const unsigned long uiSize = windowSamples(m_analysis.getWindowRate(), m_options.m_windows.m_uiWindowMs);
    const unsigned long uiOverlap = m_options.m_windows.m_uiOverlapMs * m_analysis.getWindowRate() / 1000;
    const auto dRate = static_cast<double>(in_uiSampleRate);
    return {static_cast<double>(uiSize) / 2.0 / dRate, static_cast<double>(uiSize - uiOverlap) / dRate};
}

std::string PlotReader::readCurves(PlotRecording& inout_recording, const Share& in_share)
{
    const std::string strFault = m_analysis.open(inout_recording.m_strName);
    if (!strFault.empty())
        return "no curves: " + strFault;
    NoBuf buffer;
    std::ostream rows(&buffer);
    CurveCollector collector(inout_recording.m_stretch, windowMiddles(inout_recording.m_stretch.m_uiSampleRate),
                             m_features.getColumnNames(), m_analysis.getNbOfValues(), rows);
    const std::string strRowFault = m_analysis.writeRows(collector, rows, false, in_share.m_dDone, in_share.m_dShare);
    inout_recording.m_vCurves = collector.getCurves();
    inout_recording.m_vCurveTimes = collector.getTimes();
    return strRowFault.empty() ? std::string() : "its curves are incomplete: " + strRowFault;
}

} // namespace Corvana::Tools
