// SPDX-License-Identifier: Apache-2.0
// Reading a minute of 8 kHz audio in chunks of 128 to 1024 frames, beside libsndfile alone with the same chunks. The
// file lies in memory, so no disk is measured.
#include "BenchSupport.h"

#include "corvana/AudioWindowedFileReader.h"

#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiNbOfFrames = 60UL * 8000UL;

class SoundInMemory
{
public:
    explicit SoundInMemory(int in_iFormat)
        : m_iDescriptor(memfd_create("sound", MFD_CLOEXEC))
        , m_strPath("/proc/self/fd/" + std::to_string(m_iDescriptor))
    {
        SF_INFO info = {};
        info.samplerate = 8000;
        info.channels = 1;
        info.format = in_iFormat;
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(m_strPath.c_str(), SFM_WRITE, &info),
                                                                  sf_close);
        const Math::DoubleVector vFrames = noise(s_uiNbOfFrames);
        if (sf_write_double(pFile.get(), vFrames.data(), s_uiNbOfFrames) != s_uiNbOfFrames)
            throw std::runtime_error("cannot write the sound");
    }
    ~SoundInMemory() { close(m_iDescriptor); }
    SoundInMemory(const SoundInMemory&) = delete;
    SoundInMemory& operator=(const SoundInMemory&) = delete;

    const char* path() const { return m_strPath.c_str(); }

private:
    int m_iDescriptor;
    std::string m_strPath;
};

void readChunks(benchmark::State& inout_state, int in_iFormat)
{
    const SoundInMemory sound(in_iFormat);
    Audio::AudioFileReader reader;
    reader.setNbOfFramesToRead(sizeOf(inout_state));
    Math::DoubleVector vChunk;
    for (auto unused : inout_state) {
        std::size_t uiNbRead = 0;
        if (!reader.setSourceAudioFile(sound.path()))
            inout_state.SkipWithError("cannot open");
        while (reader.getNextLinearFrames(vChunk))
            uiNbRead += vChunk.size();
        if (uiNbRead != s_uiNbOfFrames)
            inout_state.SkipWithError("frames are missing");
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

void readWindows(benchmark::State& inout_state, int in_iFormat)
{
    const SoundInMemory sound(in_iFormat);
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = sizeOf(inout_state) / 8;
    Audio::WindowedAudioFileReader reader;
    reader.configure(config);
    Math::DoubleVector vWindow;
    for (auto unused : inout_state) {
        std::size_t uiNbRead = 0;
        if (!reader.setSourceAudioFile(sound.path()))
            inout_state.SkipWithError("cannot open");
        while (reader.getNextWindow(vWindow))
            uiNbRead += vWindow.size();
        if (uiNbRead + vWindow.size() < s_uiNbOfFrames - sizeOf(inout_state))
            inout_state.SkipWithError("windows are missing");
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

void readPlainly(benchmark::State& inout_state, int in_iFormat)
{
    const SoundInMemory sound(in_iFormat);
    std::vector<double> vChunk(sizeOf(inout_state));
    for (auto unused : inout_state) {
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(sound.path(), SFM_READ, &info), sf_close);
        const auto iChunk = static_cast<sf_count_t>(vChunk.size());
        sf_count_t iNbRead = 0;
        sf_count_t iTotal = 0;
        do {
            iNbRead = sf_read_double(pFile.get(), vChunk.data(), iChunk);
            iTotal += iNbRead;
            benchmark::DoNotOptimize(vChunk.data());
            benchmark::ClobberMemory();
        } while (iNbRead == iChunk);
        if (iTotal != s_uiNbOfFrames)
            inout_state.SkipWithError("frames are missing");
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

constexpr int s_iUlaw = SF_FORMAT_WAV | SF_FORMAT_ULAW;
constexpr int s_iPcm16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

void ReadUlaw_Chunks(benchmark::State& inout_state)
{
    readChunks(inout_state, s_iUlaw);
}

void ReadUlaw_Sndfile(benchmark::State& inout_state)
{
    readPlainly(inout_state, s_iUlaw);
}

void ReadPcm16_Chunks(benchmark::State& inout_state)
{
    readChunks(inout_state, s_iPcm16);
}

void ReadPcm16_Sndfile(benchmark::State& inout_state)
{
    readPlainly(inout_state, s_iPcm16);
}

void ReadWindowsOfUlaw_Windows(benchmark::State& inout_state)
{
    readWindows(inout_state, s_iUlaw);
}

void ReadWindowsOfUlaw_Sndfile(benchmark::State& inout_state)
{
    readPlainly(inout_state, s_iUlaw);
}

BENCHMARK(ReadUlaw_Chunks)->Apply(windowSizes);
BENCHMARK(ReadUlaw_Sndfile)->Apply(windowSizes);
BENCHMARK(ReadPcm16_Chunks)->Apply(windowSizes);
BENCHMARK(ReadPcm16_Sndfile)->Apply(windowSizes);
BENCHMARK(ReadWindowsOfUlaw_Windows)->Apply(windowSizes);
BENCHMARK(ReadWindowsOfUlaw_Sndfile)->Apply(windowSizes);

} // namespace
} // namespace Corvana::Bench
