// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFileReader.h"
#include "tools/CurveCollector.h"
#include "tools/FeatureSet.h"
#include "tools/LogBridge.h"
#include "tools/Messages.h"
#include "tools/PlotStretch.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"
#include "tools/RegionFormat.h"
#include "tools/Spectrogram.h"
#include "tools/Waveform.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// What is drawn of a recording.
struct PlotRecording
{
    std::string m_strName;   ///< as the user gave it
    double m_dSeconds = 0.0; ///< of the whole recording
    PlotStretch m_stretch;
    Waveform m_waveform;
    std::unique_ptr<Spectrogram> m_pSpectrogram;
    std::vector<LabeledRegion> m_vRegions; ///< all of the recording
    std::vector<Curve> m_vCurves;
    std::vector<double> m_vCurveTimes; ///< of the curves' columns; see CurveCollector
};

/// Reads what is drawn of recordings. Memory depends on the picture's size, not on a recording's length.
class PlotReader
{
public:
    struct Options
    {
        std::optional<double> m_from; ///< seconds; none: the beginning
        std::optional<double> m_to;   ///< seconds; none: the end
        unsigned long m_uiNbOfColumns = 1;
        unsigned long m_uiMaxNbOfRows = 512; ///< of the spectrogram
        WindowOptions m_windows;             ///< for the curves
    };

    /// inout_features: the curves; maybe none.
    PlotReader(const Options& in_options, FeatureSet& inout_features, LogBridge& inout_log, Messages& out_messages,
               Progress& out_progress);

    /// in_dDone and in_dShare tell the progress which part of all work lies behind and in this recording, negative when
    /// that is not known. Returns why something failed, empty when all is there; out_bDrawable tells whether there is
    /// something to draw all the same, as of a recording that breaks off.
    std::string read(const std::string& in_strPath, double in_dDone, double in_dShare, PlotRecording& out_recording,
                     bool& out_bDrawable);

    /// Seconds of all recordings read so far.
    double getAudioSeconds() const { return m_dSecondsRead; }

private:
    struct Share
    {
        double m_dDone;
        double m_dShare;
    };

    std::string open(const std::string& in_strPath);
    std::string findStretch(PlotRecording& inout_recording) const;
    std::string readSignal(PlotRecording& inout_recording, const Share& in_share);
    void pass(unsigned long in_uiBegin, unsigned long in_uiEnd, PlotRecording& inout_recording, const Share& in_share);
    std::string readRegions(PlotRecording& inout_recording);
    WindowMiddles windowMiddles(unsigned long in_uiSampleRate) const;
    std::string readCurves(PlotRecording& inout_recording, const Share& in_share);

    Options m_options;
    FeatureSet& m_features;
    LogBridge& m_log;
    Messages& m_messages;
    Progress& m_progress;
    Audio::AudioFileReader m_reader;
    RecordingAnalysis m_analysis;
    double m_dSecondsRead = 0.0;
};

} // namespace Corvana::Tools
