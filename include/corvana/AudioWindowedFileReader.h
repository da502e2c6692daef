// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFileReader.h"
#include "corvana/AudioLinearWindower.h"

namespace Corvana::Audio {

/// A file reader that hands out analysis windows. Its clock is the windower's: it starts from 0 at every open, rewind
/// and seek, and tells the time of the end of the last window.
/// Order of calls: configure(), setSourceAudioFile(), then getNextWindow() until it returns false.
class CORVANA_API WindowedAudioFileReader : public AudioFileReader
{
public:
    WindowedAudioFileReader();
    ~WindowedAudioFileReader() override;

    /// Reads chunks of this many windows, 1 at first; the windows do not depend on it. Always true.
    bool setChunkReadFactor(unsigned long in_uiFactor);
    /// False, with the chunk unchanged: the overlap is not shorter than the window.
    bool configure(const LinearAudioWindower::Config& in_config);
    const LinearAudioWindower::Config& getConfig() const { return m_windower.getConfig(); }

    bool setSourceAudioFile(const char* in_szFileName) override;
    bool gotoStart() override;
    bool gotoAudioTime(double in_dSeconds) override;

    /// Replaces out_vWindow by the next window; reads at most one chunk. False at the end of the file, where samples
    /// that do not fill a window are dropped.
    virtual bool getNextWindow(Math::DoubleVector& out_vWindow);
    double getCurrentAudioTime() const override;

private:
    unsigned long m_uiChunkReadFactor = 1;
    LinearAudioWindower m_windower;
    Math::DoubleVector m_vChunk; // read from here to the windower; callers' vectors stay as small as windows
};

} // namespace Corvana::Audio
