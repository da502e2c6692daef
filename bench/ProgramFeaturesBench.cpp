// SPDX-License-Identifier: Apache-2.0
// `corvana features` as a whole process, from its start to the last byte of the CSV file, beside the same features of
// the same recording computed within this process and written nowhere. Both are processor time, user and system. The
// recording, an hour at 8 kHz, and the CSV file lie in memory.
#include "BenchSupport.h"
#include "ProgramRun.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioWindowedFileReader.h"

#include <sndfile.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Bench {
namespace {

constexpr sf_count_t s_iNbOfFrames = 3600L * 8000L;
// What the command chooses by itself, so that its share is what it does beside the features.
constexpr unsigned long s_uiFramesOfChunk = 16384;
constexpr unsigned long s_uiAtOnce = 8;

struct Analysis
{
    unsigned long m_uiWindowMs;
    unsigned long m_uiOverlapMs;
    std::vector<std::string> m_vFeatures;
    unsigned long m_uiNbOfRows;
};

// What the command does by itself, with nine values a row; and two values of longer windows.
const Analysis s_default{16, 0, {"spectrum500hz", "spectrum|flatness"}, 225000};
const Analysis s_twoValues{32, 16, {"spectrum|flatness", "zerocrossingrate"}, 224999};

std::string pathOf(int in_iDescriptor)
{
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(in_iDescriptor);
}

// A tone in noise that swells and fades, made once.
const std::string& recording()
{
    static const std::string s_strPath = [] {
        const std::string strPath = pathOf(memfd_create("hour", MFD_CLOEXEC));
        SF_INFO info = {};
        info.samplerate = 8000;
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        Math::DoubleVector vFrames = noise(s_iNbOfFrames);
        double dFrame = 0.0;
        for (double& dSample : vFrames) {
            dSample = 0.2 * std::sin(0.3 * dFrame) + 0.1 * dSample * (1.0 + std::sin(0.0001 * dFrame));
            dFrame += 1.0;
        }
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(strPath.c_str(), SFM_WRITE, &info), sf_close);
        if (sf_write_double(pFile.get(), vFrames.data(), s_iNbOfFrames) != s_iNbOfFrames)
            throw std::runtime_error("cannot write the recording");
        return strPath;
    }();
    return s_strPath;
}

// Negative when the command failed.
double runCommand(const Analysis& in_analysis, const std::string& in_strTable)
{
    std::vector<std::string> vArguments = {CORVANA_BENCH_PROGRAM,
                                           "features",
                                           "--quiet",
                                           "--output",
                                           in_strTable,
                                           "--window-ms",
                                           std::to_string(in_analysis.m_uiWindowMs),
                                           "--overlap-ms",
                                           std::to_string(in_analysis.m_uiOverlapMs),
                                           recording()};
    for (const std::string& strFeature : in_analysis.m_vFeatures)
        vArguments.insert(vArguments.end(), {"--feature", strFeature});
    return runProgram(std::move(vArguments));
}

void command(benchmark::State& inout_state, const Analysis& in_analysis)
{
    const int iTable = memfd_create("table", MFD_CLOEXEC);
    for (auto unused : inout_state) {
        if (ftruncate(iTable, 0) != 0)
            inout_state.SkipWithError("cannot empty the table");
        const double dSeconds = runCommand(in_analysis, pathOf(iTable));
        inout_state.SetIterationTime(dSeconds);
        if (dSeconds < 0.0)
            inout_state.SkipWithError("the command failed");
    }
    close(iTable);
    countSamples(inout_state, s_iNbOfFrames);
}

void own(benchmark::State& inout_state, const Analysis& in_analysis)
{
    Audio::FeatureComputerImpl computer;
    for (const std::string& strFeature : in_analysis.m_vFeatures)
        if (!computer.addFeature(strFeature.c_str()))
            return inout_state.SkipWithError("no such feature");
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = in_analysis.m_uiWindowMs;
    config.m_uiWindowOverlapMs = in_analysis.m_uiOverlapMs;
    Audio::WindowedAudioFileReader reader;
    reader.configure(config);
    reader.setChunkReadFactor(s_uiFramesOfChunk / (8 * in_analysis.m_uiWindowMs));
    const std::string& strRecording = recording();
    std::vector<Math::DoubleVector> vWindows(s_uiAtOnce);
    std::vector<Math::DoubleVector> vValues(s_uiAtOnce);
    for (auto unused : inout_state) {
        rusage before = {};
        rusage after = {};
        getrusage(RUSAGE_SELF, &before);
        unsigned long uiNbOfRows = 0;
        for (bool bMore = reader.setSourceAudioFile(strRecording.c_str()); bMore;) {
            unsigned long uiNbAtHand = 0;
            while (uiNbAtHand < s_uiAtOnce && (bMore = reader.getNextWindow(vWindows[uiNbAtHand])))
                ++uiNbAtHand;
            uiNbOfRows += computer.computeSeveral(uiNbAtHand, vWindows.data(), vValues.data());
            benchmark::DoNotOptimize(vValues.data());
            benchmark::ClobberMemory();
        }
        getrusage(RUSAGE_SELF, &after);
        inout_state.SetIterationTime(seconds(after) - seconds(before));
        if (uiNbOfRows != in_analysis.m_uiNbOfRows)
            inout_state.SkipWithError("rows are missing");
    }
    countSamples(inout_state, s_iNbOfFrames);
}

void anHour(benchmark::internal::Benchmark* inout_pBenchmark)
{
    inout_pBenchmark->Arg(s_iNbOfFrames)->UseManualTime();
}

BENCHMARK_CAPTURE(command, , s_default)->Name("ProgramFeatures_Command")->Apply(anHour);
BENCHMARK_CAPTURE(own, , s_default)->Name("ProgramFeatures_Own")->Apply(anHour);
BENCHMARK_CAPTURE(command, , s_twoValues)->Name("ProgramTwoValues_Command")->Apply(anHour);
BENCHMARK_CAPTURE(own, , s_twoValues)->Name("ProgramTwoValues_Own")->Apply(anHour);

} // namespace
} // namespace Corvana::Bench
