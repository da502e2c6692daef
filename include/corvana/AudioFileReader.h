// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioTimeSource.h"
#include "corvana/Logger.h"
#include "corvana/MathDoubleVector.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace Corvana::Audio {

/// Reads a mono sound file of any format that libsndfile opens, chunk by chunk, as samples normalised to -1..1, and
/// keeps a clock of the audio read so far. All failures are results and log messages.
/// Order of calls: setNbOfFramesToRead(), setSourceAudioFile(), then getNextLinearFrames() until it returns false.
class CORVANA_API AudioFileReader : public virtual TimeSource, public ObjectWithLogger<CachedLLLogger>
{
public:
    AudioFileReader();
    ~AudioFileReader() override;
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    /// Length of a chunk, 1024 at first; any number, also while reading. Always true.
    bool setNbOfFramesToRead(unsigned long in_uiNbOfFrames);
    unsigned long getNbOfFramesToRead() const { return m_uiNbOfFramesToRead; }

    /// Opens a file, after closing the one that was open. False, with no file open: it cannot be opened, or it is not
    /// mono; the reason is logged at error level. A chunk too large for memory throws std::bad_alloc.
    virtual bool setSourceAudioFile(const char* in_szFileName);
    /// True from the read that met the end of the file, or could not go on, until the next seek.
    bool atEnd() const { return m_bAtEnd; }
    /// True from the read that the system failed, which also logged the reason at error level, until the next seek or
    /// open: then the recording breaks off at its end, or frames in between may be missing. What was read before is
    /// right.
    bool hasReadError() const { return m_bReadError; }
    /// Back to the first frame; a file that cannot seek is closed and opened again.
    virtual bool gotoStart();
    /// To the frame nearest to a time in seconds. False: the file cannot seek, or the time lies outside it. Without an
    /// open file it depends on libsndfile, as every operation does.
    virtual bool gotoAudioTime(double in_dSeconds);

    /// Replaces out_vFrames by the next chunk, with its storage too: a vector that is handed in again and again is read
    /// into without copies or allocations. The last chunk may be short, and is empty when the file's length is a
    /// multiple of the chunk's; only the call after it returns false.
    virtual bool getNextLinearFrames(Math::DoubleVector& out_vFrames);
    /// Appends the whole file, from its start. False: it could not be rewound, or out_vFrames is still empty.
    bool getAllLinearFrames(Math::DoubleVector& out_vFrames);

    /// Seconds of audio read so far.
    double getCurrentAudioTime() const override;
    /// Frames from the start of the file to the next one read.
    unsigned long getFramePosition() const { return m_uiFramePosition; }
    /// The amplitude from which a sample counts as clipped: 0.980347 for mu-law, 0.984375 for A-law, else 0.999969.
    double getClippingValue() const;
    /// Samples per second of the open file; 0 when none is open.
    unsigned long getSampleRate() const;
    /// Frames in the open file, as its header tells; 0 when none is open.
    unsigned long getNbOfFrames() const;
    /// Writes the open file's format, such as "WAV (Microsoft) (.wav) U-Law"; nothing when none is open.
    std::ostream& getFileInfo(std::ostream& out_stream);

private:
    struct SoundFileCloser
    {
        void operator()(void* in_pFile) const;
    };

    void startAt(unsigned long in_uiFrame);
    // Into the read buffer; returns how many frames.
    unsigned long read();
    unsigned long readShorts();
    void checkRead();

    Math::DoubleVector m_vReadBuffer; // handed out with each chunk, against the caller's last one
    unsigned long m_uiFramePosition = 0;
    double m_dCurrentTime = 0.0;
    std::string m_strFileName;
    unsigned long m_uiNbOfFramesToRead = 1024;
    unsigned long m_uiSampleRate = 0;
    double m_dSecondsPerFrame = 0.0;
    std::unique_ptr<void, SoundFileCloser> m_pFile; // libsndfile's handle
    unsigned long m_uiNbOfFrames = 0;
    int m_iFormat = 0;
    bool m_bAtEnd = false;
    bool m_bReadError = false;
    bool m_bInShorts = false;
    std::vector<short> m_vShorts;
};

} // namespace Corvana::Audio
