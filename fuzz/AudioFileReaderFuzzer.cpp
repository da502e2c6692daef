// SPDX-License-Identifier: Apache-2.0
// Any bytes as a sound file. The last six say how it is read: two chunk lengths, a time to seek to, a window's overlap.
// What the reader delivers is what libsndfile delivers in one piece, whatever the chunks.
#include "FuzzSupport.h"

#include "corvana/AudioWindowedFileReader.h"

#include <sndfile.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace Corvana::Fuzz {
namespace {

constexpr std::size_t s_uiMaxChunk = 2048;
constexpr std::size_t s_uiControlBytes = 6;
// A few bytes of a compressed format can stand for hours of silence.
constexpr std::size_t s_uiMaxFrames = 1U << 15U;

// What libsndfile alone delivers in one piece, from the open or from a seek on.
struct Sound
{
    SF_INFO m_info = {};
    std::size_t m_uiFirst = 0;
    std::vector<double> m_vFrames;
};

constexpr sf_count_t s_iNoSeek = -1;

// Seeking is part of it: with a damaged header, even a seek to the start can lead elsewhere than opening did.
bool readInOnePiece(const char* in_szPath, sf_count_t in_iSeekTo, Sound& out_sound)
{
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_szPath, SFM_READ, &out_sound.m_info),
                                                              sf_close);
    if (pFile == nullptr || out_sound.m_info.channels != 1)
        return false;
    if (in_iSeekTo != s_iNoSeek) {
        if (sf_seek(pFile.get(), in_iSeekTo, SEEK_SET) == -1)
            return false;
        out_sound.m_uiFirst = static_cast<std::size_t>(in_iSeekTo);
    }
    out_sound.m_vFrames.resize(s_uiMaxFrames);
    const sf_count_t iNbRead = sf_read_double(pFile.get(), out_sound.m_vFrames.data(), s_uiMaxFrames);
    out_sound.m_vFrames.resize(static_cast<std::size_t>(std::max<sf_count_t>(iNbRead, 0)));
    return true;
}

std::span<const double> framesFrom(const Sound& in_sound, std::size_t in_uiFirst, std::size_t in_uiCount)
{
    const std::span<const double> vFrames(in_sound.m_vFrames);
    const std::size_t uiFirst = std::min(in_uiFirst, vFrames.size());
    return vFrames.subspan(uiFirst, std::min(in_uiCount, vFrames.size() - uiFirst));
}

// Reads to the end and holds sizes, samples and clock against the sound.
void requireChunks(Audio::AudioFileReader& inout_reader, const Sound& in_sound)
{
    const std::size_t uiChunk = inout_reader.getNbOfFramesToRead();
    const double dSecondsPerFrame = 1.0 / static_cast<double>(in_sound.m_info.samplerate);
    double dTime = static_cast<double>(in_sound.m_uiFirst) * dSecondsPerFrame;
    std::size_t uiPosition = 0;
    Math::DoubleVector vChunk = {7.0};
    while (uiPosition + uiChunk <= s_uiMaxFrames) {
        CORVANA_FUZZ_REQUIRE(sameValue(inout_reader.getCurrentAudioTime(), dTime));
        if (!inout_reader.getNextLinearFrames(vChunk))
            break;
        const auto vExpected = framesFrom(in_sound, uiPosition, uiChunk);
        CORVANA_FUZZ_REQUIRE(sameValues(vChunk, vExpected));
        CORVANA_FUZZ_REQUIRE(inout_reader.atEnd() == (vExpected.size() < uiChunk));
        uiPosition += vExpected.size();
        dTime += static_cast<double>(vExpected.size()) * dSecondsPerFrame;
        CORVANA_FUZZ_REQUIRE(vChunk.capacity() <= 2 * s_uiMaxChunk + 1); // a larger chunk's memory may be handed on
    }
    if (uiPosition + uiChunk > s_uiMaxFrames)
        return;
    CORVANA_FUZZ_REQUIRE(inout_reader.atEnd() && vChunk.empty());
    CORVANA_FUZZ_REQUIRE(uiPosition == in_sound.m_vFrames.size());
}

void requireSeek(Audio::AudioFileReader& inout_reader, const char* in_szPath, double in_dSeconds)
{
    const auto dRate = static_cast<double>(inout_reader.getSampleRate());
    Sound sound;
    const bool bSeeks = readInOnePiece(in_szPath, static_cast<sf_count_t>(in_dSeconds * dRate + 0.5), sound);
    CORVANA_FUZZ_REQUIRE(inout_reader.gotoAudioTime(in_dSeconds) == bSeeks);
    if (bSeeks)
        requireChunks(inout_reader, sound);
}

void requireWholeFile(Audio::AudioFileReader& inout_reader, const Sound& in_sound)
{
    if (in_sound.m_vFrames.size() == s_uiMaxFrames)
        return;
    const unsigned long uiChunk = inout_reader.getNbOfFramesToRead();
    Math::DoubleVector vAll;
    const bool bAny = inout_reader.getAllLinearFrames(vAll);
    CORVANA_FUZZ_REQUIRE(inout_reader.getNbOfFramesToRead() == uiChunk);
    CORVANA_FUZZ_REQUIRE(bAny == !in_sound.m_vFrames.empty());
    CORVANA_FUZZ_REQUIRE(sameValues(vAll, in_sound.m_vFrames));
}

// All windows of the file just opened; one sample is one millisecond.
void requireAllWindows(Audio::WindowedAudioFileReader& inout_reader, const Sound& in_sound, unsigned long in_uiFactor)
{
    const std::size_t uiWindow = inout_reader.getConfig().m_uiWindowSizeMs;
    const std::size_t uiHop = uiWindow - inout_reader.getConfig().m_uiWindowOverlapMs;
    const std::size_t uiMaxFrames = s_uiMaxFrames - uiWindow * in_uiFactor;
    std::size_t uiPosition = 0;
    double dTime = 0.0;
    Math::DoubleVector vWindow;
    while (uiPosition + uiWindow <= uiMaxFrames && inout_reader.getNextWindow(vWindow)) {
        CORVANA_FUZZ_REQUIRE(vWindow.size() == uiWindow);
        CORVANA_FUZZ_REQUIRE(sameValues(vWindow, framesFrom(in_sound, uiPosition, uiWindow)));
        dTime += static_cast<double>(uiPosition == 0 ? uiWindow : uiHop) / 1000.0;
        CORVANA_FUZZ_REQUIRE(sameValue(inout_reader.getCurrentAudioTime(), dTime));
        uiPosition += uiHop;
    }
    CORVANA_FUZZ_REQUIRE(uiPosition + uiWindow > std::min(in_sound.m_vFrames.size(), uiMaxFrames));
}

void requireWindows(const char* in_szPath, const Sound& in_sound, unsigned long in_uiFactor, unsigned long in_uiOverlap)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiSampleRate = 1000; // whatever the file says
    config.m_uiWindowOverlapMs = in_uiOverlap;
    Audio::WindowedAudioFileReader reader;
    CORVANA_FUZZ_REQUIRE(reader.setChunkReadFactor(in_uiFactor) && reader.configure(config));
    CORVANA_FUZZ_REQUIRE(reader.setSourceAudioFile(in_szPath));
    requireAllWindows(reader, in_sound, in_uiFactor);
    CORVANA_FUZZ_REQUIRE(reader.setSourceAudioFile(in_szPath)); // what was left over is forgotten
    requireAllWindows(reader, in_sound, in_uiFactor);
}

void requireNoFile(Audio::AudioFileReader& inout_reader)
{
    CORVANA_FUZZ_REQUIRE(inout_reader.getSampleRate() == 0);
    CORVANA_FUZZ_REQUIRE(inout_reader.getNbOfFrames() == 0);
    Math::DoubleVector vChunk = {7.0};
    CORVANA_FUZZ_REQUIRE(inout_reader.getNextLinearFrames(vChunk) && vChunk.empty());
    CORVANA_FUZZ_REQUIRE(!inout_reader.getNextLinearFrames(vChunk));
    // Seeking without a file is libsndfile's to answer; reading stays empty whatever it says.
    inout_reader.gotoAudioTime(0.0);
    inout_reader.getNextLinearFrames(vChunk);
    CORVANA_FUZZ_REQUIRE(vChunk.empty());
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::size_t uiControl = std::min(in_uiSize, s_uiControlBytes);
    ByteReader control(in_pData + (in_uiSize - uiControl), uiControl);
    const std::size_t uiChunk = 1 + control.takeUpTo(s_uiMaxChunk - 1);
    const std::size_t uiOtherChunk = 1 + control.takeByte();
    const double dSeekShare = static_cast<double>(control.takeUpTo(255)) / 200.0; // also behind the end
    const unsigned long uiOverlap = control.takeUpTo(15);
    const unsigned long uiFactor = 1 + control.takeUpTo(3);

    const LeakCheck leakCheck;
    const auto strBytes = ByteReader(in_pData, in_uiSize - uiControl).rest();
    const MemoryFile file(strBytes);
    if (misleadsLibsndfile(strBytes)) { // the reader is not misled
        Audio::AudioFileReader reader;
        Math::DoubleVector vFrames;
        if (reader.setSourceAudioFile(file.path()) && reader.getNbOfFrames() <= s_uiMaxFrames)
            reader.getAllLinearFrames(vFrames);
        return;
    }
    Sound sound;
    const bool bReadable = readInOnePiece(file.path(), s_iNoSeek, sound);

    Audio::AudioFileReader reader;
    reader.setNbOfFramesToRead(uiChunk);
    CORVANA_FUZZ_REQUIRE(reader.setSourceAudioFile(file.path()) == bReadable);
    if (!bReadable) {
        requireNoFile(reader);
        return;
    }
    CORVANA_FUZZ_REQUIRE(reader.getSampleRate() == static_cast<unsigned long>(sound.m_info.samplerate));
    requireChunks(reader, sound);

    reader.setNbOfFramesToRead(uiOtherChunk);
    Sound rewound;
    CORVANA_FUZZ_REQUIRE(reader.gotoStart());
    const Sound& fromStart = readInOnePiece(file.path(), 0, rewound) ? rewound : sound; // else opened again
    requireChunks(reader, fromStart);
    reader.setNbOfFramesToRead(uiChunk); // while reading
    requireSeek(reader, file.path(),
                dSeekShare * static_cast<double>(sound.m_vFrames.size()) /
                    static_cast<double>(sound.m_info.samplerate));
    requireWholeFile(reader, fromStart);
    requireWindows(file.path(), sound, uiFactor, uiOverlap);
}
