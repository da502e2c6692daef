// SPDX-License-Identifier: Apache-2.0
// The whole road: an hour of 8 kHz audio, 16-bit PCM, from the file to the spectrum, its flatness, the zero crossings
// and four bands of each window of 256 samples that overlaps the next one by half. Beside it the same road written
// out without the library, and libsndfile's reading alone. The file lies in memory, so no disk is measured.
#include "BenchSupport.h"
#include "PlainSpectrum.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioWindowedFileReader.h"

#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Corvana::Bench {
namespace {

constexpr std::size_t s_uiSampleRate = 8000;
constexpr std::size_t s_uiNbOfFrames = 3600UL * s_uiSampleRate;
constexpr std::size_t s_uiWindow = 256;
constexpr std::size_t s_uiHop = 128;
constexpr std::size_t s_uiNbOfWindows = (s_uiNbOfFrames - s_uiWindow) / s_uiHop + 1;
constexpr std::size_t s_uiPlainBlock = 1024;

struct Band
{
    unsigned long m_uiCenterHz;
    unsigned long m_uiHalfWidthHz;
};

// Where telephones' tones lie.
constexpr std::array<Band, 4> s_aBands = {{{425, 50}, {950, 100}, {1400, 100}, {2100, 150}}};

// A tone that comes and goes, and noise: values of every size, as calls have them. It is made once for all.
class Hour
{
public:
    static const Hour& get()
    {
        static const Hour s_hour;
        return s_hour;
    }
    Hour(const Hour&) = delete;
    Hour& operator=(const Hour&) = delete;

    const char* path() const { return m_strPath.c_str(); }

private:
    Hour()
        : m_iDescriptor(memfd_create("hour", MFD_CLOEXEC))
        , m_strPath("/proc/self/fd/" + std::to_string(m_iDescriptor))
    {
        SF_INFO info = {};
        info.samplerate = static_cast<int>(s_uiSampleRate);
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(m_strPath.c_str(), SFM_WRITE, &info),
                                                                  sf_close);
        const Math::DoubleVector vNoise = noise(s_uiSampleRate);
        Math::DoubleVector vSecond(s_uiSampleRate);
        for (std::size_t uiSecond = 0; uiSecond < s_uiNbOfFrames / s_uiSampleRate; ++uiSecond) {
            const double dTone = uiSecond % 3 == 0 ? 0.4 : 0.0;
            for (std::size_t uiSample = 0; uiSample < s_uiSampleRate; ++uiSample)
                vSecond[uiSample] = dTone * std::sin(0.33 * static_cast<double>(uiSample)) +
                                    0.01 * static_cast<double>(uiSecond % 7) * vNoise[uiSample];
            if (sf_write_double(pFile.get(), vSecond.data(), s_uiSampleRate) != s_uiSampleRate)
                throw std::runtime_error("cannot write the sound");
        }
    }
    ~Hour() { close(m_iDescriptor); }

    int m_iDescriptor;
    std::string m_strPath;
};

// ---- The library's road

void addFeatures(Audio::FeatureComputerImpl& inout_computer)
{
    inout_computer.addFeature("spectrum");
    inout_computer.addFeature("spectrum|flatness");
    inout_computer.addFeature("zerocrossingrate");
    for (const Band& band : s_aBands)
        inout_computer.addFeature(("spectrum|spectralrange(" + std::to_string(band.m_uiCenterHz) + "," +
                                   std::to_string(band.m_uiHalfWidthHz) + ")")
                                      .c_str());
}

void configure(Audio::WindowedAudioFileReader& inout_reader)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiSampleRate = s_uiSampleRate;
    config.m_uiWindowSizeMs = 32;
    config.m_uiWindowOverlapMs = 16;
    inout_reader.configure(config);
    inout_reader.setChunkReadFactor(64);
}

void checkNumber(benchmark::State& inout_state, std::size_t in_uiNbOfWindows)
{
    if (in_uiNbOfWindows != s_uiNbOfWindows)
        inout_state.SkipWithError("windows are missing");
}

// Each window by itself, as a live engine has them.
void Road_OneByOne(benchmark::State& inout_state)
{
    const Hour& hour = Hour::get();
    Audio::WindowedAudioFileReader reader;
    configure(reader);
    Math::DoubleVector vWindow;
    Math::DoubleVector vValues;
    for (auto unused : inout_state) {
        Audio::FeatureComputerImpl computer;
        addFeatures(computer);
        std::size_t uiNbOfWindows = 0;
        reader.setSourceAudioFile(hour.path());
        while (reader.getNextWindow(vWindow)) {
            computer.setWindow(vWindow);
            if (computer.computeFeatures(vValues))
                ++uiNbOfWindows;
            benchmark::DoNotOptimize(vValues.data());
            benchmark::ClobberMemory();
        }
        checkNumber(inout_state, uiNbOfWindows);
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

// Eight windows at a time, as a program has them that works through recordings.
void Road_EightAtOnce(benchmark::State& inout_state)
{
    constexpr unsigned long uiAtOnce = 8;
    const Hour& hour = Hour::get();
    Audio::WindowedAudioFileReader reader;
    configure(reader);
    std::vector<Math::DoubleVector> vWindows(uiAtOnce);
    std::vector<Math::DoubleVector> vValues(uiAtOnce);
    for (auto unused : inout_state) {
        Audio::FeatureComputerImpl computer;
        addFeatures(computer);
        std::size_t uiNbOfWindows = 0;
        reader.setSourceAudioFile(hour.path());
        for (bool bMore = true; bMore;) {
            unsigned long uiNbAtHand = 0;
            while (uiNbAtHand < uiAtOnce && (bMore = reader.getNextWindow(vWindows[uiNbAtHand])))
                ++uiNbAtHand;
            uiNbOfWindows += computer.computeSeveral(uiNbAtHand, vWindows.data(), vValues.data());
            benchmark::DoNotOptimize(vValues.data());
            benchmark::ClobberMemory();
        }
        checkNumber(inout_state, uiNbOfWindows);
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

// ---- The plain road

// What a program keeps between windows.
struct PlainState
{
    const std::vector<double> m_vTaper = Plain::hannTable(s_uiWindow);
    double m_dPreviousSample = 0.0;
    std::vector<double> m_vValues;
};

double zeroCrossings(const std::vector<double>& in_vWindow, double& inout_dPrevious)
{
    std::size_t uiNbOfCrossings = 0;
    for (const double dSample : in_vWindow) {
        if (inout_dPrevious * dSample < 0.0)
            ++uiNbOfCrossings;
        else if (dSample == 0.0 && inout_dPrevious != 0.0)
            ++uiNbOfCrossings;
        inout_dPrevious = dSample;
    }
    return static_cast<double>(uiNbOfCrossings) / static_cast<double>(in_vWindow.size());
}

void appendBand(const std::vector<double>& in_vSpectrum, const Band& in_band, std::vector<double>& out_vValues)
{
    const double dBinHz = 4000.0 / static_cast<double>(in_vSpectrum.size());
    const double dCenter = static_cast<double>(in_band.m_uiCenterHz);
    const auto uiCenter = static_cast<std::size_t>(dCenter / dBinHz + 0.5);
    const auto uiHalf = static_cast<std::size_t>(std::ceil(static_cast<double>(in_band.m_uiHalfWidthHz) / dBinHz));
    for (std::size_t uiBin = uiCenter - uiHalf; uiBin <= uiCenter + uiHalf; ++uiBin)
        out_vValues.push_back(in_vSpectrum[uiBin]);
    out_vValues.push_back((dCenter - static_cast<double>(uiCenter) * dBinHz) / dBinHz);
}

void computePlainly(const std::vector<double>& in_vWindow, PlainState& inout_state)
{
    inout_state.m_vValues = Plain::spectrum(in_vWindow, inout_state.m_vTaper);
    const std::vector<double> vSpectrum = inout_state.m_vValues;
    inout_state.m_vValues.push_back(Plain::flatness(vSpectrum));
    inout_state.m_vValues.push_back(zeroCrossings(in_vWindow, inout_state.m_dPreviousSample));
    for (const Band& band : s_aBands)
        appendBand(vSpectrum, band, inout_state.m_vValues);
}

// Samples wait in a double-ended queue, as one writes it down: what is pushed at the back is taken from the front.
void Road_Literal(benchmark::State& inout_state)
{
    const Hour& hour = Hour::get();
    std::vector<double> vBlock(s_uiPlainBlock);
    std::vector<double> vWindow;
    for (auto unused : inout_state) {
        PlainState state;
        std::deque<double> queue;
        std::size_t uiNbOfWindows = 0;
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(hour.path(), SFM_READ, &info), sf_close);
        sf_count_t iNbRead = 0;
        while ((iNbRead = sf_read_double(pFile.get(), vBlock.data(), s_uiPlainBlock)) > 0) {
            queue.insert(queue.end(), vBlock.begin(), vBlock.begin() + iNbRead);
            while (queue.size() >= s_uiWindow) {
                vWindow.assign(queue.begin(), queue.begin() + s_uiWindow);
                queue.erase(queue.begin(), queue.begin() + s_uiHop);
                computePlainly(vWindow, state);
                ++uiNbOfWindows;
                benchmark::DoNotOptimize(state.m_vValues.data());
                benchmark::ClobberMemory();
            }
        }
        checkNumber(inout_state, uiNbOfWindows);
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

// ---- Reading alone

void Road_Reading(benchmark::State& inout_state)
{
    const Hour& hour = Hour::get();
    std::vector<double> vBlock(s_uiPlainBlock);
    for (auto unused : inout_state) {
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(hour.path(), SFM_READ, &info), sf_close);
        std::size_t uiNbOfFrames = 0;
        sf_count_t iNbRead = 0;
        while ((iNbRead = sf_read_double(pFile.get(), vBlock.data(), s_uiPlainBlock)) > 0) {
            uiNbOfFrames += static_cast<std::size_t>(iNbRead);
            benchmark::DoNotOptimize(vBlock.data());
            benchmark::ClobberMemory();
        }
        if (uiNbOfFrames != s_uiNbOfFrames)
            inout_state.SkipWithError("frames are missing");
    }
    countSamples(inout_state, s_uiNbOfFrames);
}

BENCHMARK(Road_EightAtOnce)->Arg(s_uiWindow)->Unit(benchmark::kMillisecond);
BENCHMARK(Road_OneByOne)->Arg(s_uiWindow)->Unit(benchmark::kMillisecond);
BENCHMARK(Road_Literal)->Arg(s_uiWindow)->Unit(benchmark::kMillisecond);
BENCHMARK(Road_Reading)->Arg(s_uiWindow)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Corvana::Bench
