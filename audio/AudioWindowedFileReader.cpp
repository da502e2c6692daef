// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioWindowedFileReader.h"

#include <limits>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.WindowedAudioFileReader")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition newDataNotEnough{"AudioWindowedFileReader", 133};
constexpr SourcePosition endOfFile{"AudioWindowedFileReader", 134};
} // namespace at

// A product too large for any buffer stays too large: wrapping around would make chunks shorter than a window.
unsigned long saturatedProduct(unsigned long in_uiLeft, unsigned long in_uiRight)
{
    unsigned long uiProduct = 0;
    return __builtin_mul_overflow(in_uiLeft, in_uiRight, &uiProduct) ? std::numeric_limits<unsigned long>::max()
                                                                     : uiProduct;
}

} // namespace

WindowedAudioFileReader::WindowedAudioFileReader()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader ctor");
}

WindowedAudioFileReader::~WindowedAudioFileReader()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader dtor");
}

bool WindowedAudioFileReader::setChunkReadFactor(unsigned long in_uiFactor)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::setChunkReadFactor");

    m_uiChunkReadFactor = in_uiFactor;
    return setNbOfFramesToRead(saturatedProduct(in_uiFactor, m_windower.getWindowSize()));
}

bool WindowedAudioFileReader::configure(const LinearAudioWindower::Config& in_config)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::configure");

    return m_windower.configure(in_config) && setChunkReadFactor(m_uiChunkReadFactor);
}

bool WindowedAudioFileReader::setSourceAudioFile(const char* in_szFileName)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::setSourceAudioFile");

    return AudioFileReader::setSourceAudioFile(in_szFileName) && m_windower.reset();
}

bool WindowedAudioFileReader::gotoStart()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::gotoStart");

    return AudioFileReader::gotoStart() && m_windower.reset();
}

bool WindowedAudioFileReader::gotoAudioTime(double in_dSeconds)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::gotoAudioTime");

    return AudioFileReader::gotoAudioTime(in_dSeconds) && m_windower.reset();
}

bool WindowedAudioFileReader::getNextWindow(Math::DoubleVector& out_vWindow)
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::getNextWindow");

    if (m_windower.popWindow(out_vWindow))
        return true;
    if (!getNextLinearFrames(m_vChunk))
        return false;
    m_windower.pushLinearAudio(m_vChunk.begin(), m_vChunk.end());
    if (m_windower.popWindow(out_vWindow))
        return true;
    CORVANA_LOG_DEBUG_AT(at::newDataNotEnough, fileScopeLogger(), "New data not enough to make a new window");
    CORVANA_LOG_DEBUG_AT(at::endOfFile, fileScopeLogger(), "End of file reached");
    return false;
}

double WindowedAudioFileReader::getCurrentAudioTime() const
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "WindowedAudioFileReader::getCurrentAudioTime");

    return m_windower.getCurrentAudioTime();
}

} // namespace Corvana::Audio
