// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioLinearWindower.h"
#include "corvana/AudioWindowedFileReader.h"

#include <span>

namespace Corvana::Tools {

/// Where the windows of an analysis come from.
class WindowSource
{
public:
    WindowSource() = default;
    virtual ~WindowSource() = default;
    WindowSource(const WindowSource&) = delete;
    WindowSource& operator=(const WindowSource&) = delete;

    /// False: the overlap is as many samples as the window.
    virtual bool configureWindows(const Audio::LinearAudioWindower::Config& in_config) = 0;
    /// False: there are no more.
    virtual bool getWindow(Math::DoubleVector& out_vWindow) = 0;
    /// The end of the last window, in seconds.
    virtual double getEndOfWindow() const = 0;
    virtual unsigned long getRate() const = 0;
    /// As the source says, and as were really there.
    virtual unsigned long getNbOfSamples() const = 0;
    virtual unsigned long getNbOfSamplesRead() const = 0;
    /// Whether reading failed, so that samples are missing, after a message of the library.
    virtual bool hasReadError() const = 0;
};

/// A recording. Counts what really came, for files that break off.
class FileWindowSource : public WindowSource, private Audio::WindowedAudioFileReader
{
public:
    /// False, after a message of the library: it cannot be opened.
    bool open(const char* in_szFileName);
    using WindowedAudioFileReader::setChunkReadFactor;

    bool configureWindows(const Audio::LinearAudioWindower::Config& in_config) override;
    bool getWindow(Math::DoubleVector& out_vWindow) override { return getNextWindow(out_vWindow); }
    double getEndOfWindow() const override { return getCurrentAudioTime(); }
    unsigned long getRate() const override { return getSampleRate(); }
    unsigned long getNbOfSamples() const override { return getNbOfFrames(); }
    unsigned long getNbOfSamplesRead() const override { return m_uiNbOfFramesRead; }
    bool hasReadError() const override { return WindowedAudioFileReader::hasReadError(); }

private:
    bool getNextLinearFrames(Math::DoubleVector& out_vFrames) override;

    unsigned long m_uiNbOfFramesRead = 0;
};

/// Samples in memory, which must outlive it.
class MemoryWindowSource : public WindowSource
{
public:
    void open(std::span<const double> in_samples, unsigned long in_uiSampleRate);

    bool configureWindows(const Audio::LinearAudioWindower::Config& in_config) override;
    bool getWindow(Math::DoubleVector& out_vWindow) override;
    double getEndOfWindow() const override { return m_windower.getCurrentAudioTime(); }
    unsigned long getRate() const override { return m_uiSampleRate; }
    unsigned long getNbOfSamples() const override { return m_samples.size(); }
    unsigned long getNbOfSamplesRead() const override { return m_uiNbOfSamplesRead; }
    bool hasReadError() const override { return false; }

private:
    std::span<const double> m_samples;
    unsigned long m_uiSampleRate = 0;
    unsigned long m_uiNbOfSamplesRead = 0;
    Audio::LinearAudioWindower m_windower;
};

} // namespace Corvana::Tools
