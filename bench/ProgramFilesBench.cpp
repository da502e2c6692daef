// SPDX-License-Identifier: Apache-2.0
// What a file costs `corvana features` beside its audio: a whole process over many recordings of one window each, and
// the same recordings read with libsndfile, with the same features of the same windows, within this process and written
// nowhere. Both are processor time, user and system, of one thread. The recordings lie in memory where the system has a
// folder for that, each one a file of its own.
#include "BenchSupport.h"
#include "ProgramRun.h"

#include "corvana/AudioFeatureComputerImpl.h"

#include <sndfile.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t s_uiNbOfFiles = 20000;
constexpr std::size_t s_uiWindowSamples = 128;
const char* const s_aszFeatures[] = {"spectrum500hz", "spectrum|flatness"};

// The files, made once: no two of them are one file.
class Recordings
{
public:
    Recordings()
        : m_folder(fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path())
    {
        std::string strTemplate = (m_folder / "corvana-files-XXXXXX").string();
        if (mkdtemp(strTemplate.data()) == nullptr)
            throw std::runtime_error("cannot make a folder for the recordings");
        m_folder = strTemplate;
        std::ofstream(m_folder / "one") << (m_folder / "0.wav").string() << '\n';
        std::ofstream list(m_folder / "list");
        for (std::size_t uiFile = 0; uiFile < s_uiNbOfFiles; ++uiFile) {
            m_vPaths.push_back((m_folder / (std::to_string(uiFile) + ".wav")).string());
            write(m_vPaths.back());
            list << m_vPaths.back() << '\n';
        }
    }
    ~Recordings()
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Recordings(const Recordings&) = delete;
    Recordings& operator=(const Recordings&) = delete;

    std::string file(const char* in_szName) const { return (m_folder / in_szName).string(); }
    const std::vector<std::string>& getPaths() const { return m_vPaths; }

private:
    void write(const std::string& in_strPath) const
    {
        static const Math::DoubleVector vSamples = noise(s_uiWindowSamples);
        SF_INFO info = {};
        info.samplerate = 8000;
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_strPath.c_str(), SFM_WRITE, &info),
                                                                  sf_close);
        if (sf_write_double(pFile.get(), vSamples.data(), s_uiWindowSamples) != s_uiWindowSamples)
            throw std::runtime_error("cannot write " + in_strPath);
    }

    fs::path m_folder;
    std::vector<std::string> m_vPaths;
};

const Recordings& recordings()
{
    static const Recordings s_recordings;
    return s_recordings;
}

std::string table()
{
    return recordings().file("table");
}

// Negative when the command failed.
double runCommand(const char* in_szFormat, const char* in_szInputs, const std::string& in_strInputs)
{
    std::vector<std::string> vArguments = {
        CORVANA_BENCH_PROGRAM, "features", "--quiet", "--jobs",    "1",         "--format",
        in_szFormat,           "--output", table(),   in_szInputs, in_strInputs};
    for (const char* szFeature : s_aszFeatures)
        vArguments.insert(vArguments.end(), {"--feature", szFeature});
    return runProgram(std::move(vArguments));
}

double runAnew(const char* in_szFormat, const char* in_szInputs, const char* in_szName)
{
    // A table that is there already would be looked for among the recordings.
    for (const char* szEnd : {"", ".json", ".times.npy"})
        fs::remove(table() + szEnd);
    return runCommand(in_szFormat, in_szInputs, recordings().file(in_szName));
}

// What a run over one file takes is the start of the program, and no cost of a file.
void command(benchmark::State& inout_state, const char* in_szFormat, const char* in_szInputs, const char* in_szName)
{
    for (auto unused : inout_state) {
        const double dOne = runAnew(in_szFormat, "--list", "one");
        const double dAll = runAnew(in_szFormat, in_szInputs, in_szName);
        inout_state.SetIterationTime(dAll - dOne);
        if (dOne < 0.0 || dAll < 0.0)
            inout_state.SkipWithError("the command failed");
    }
    countSamples(inout_state, s_uiNbOfFiles - 1);
}

// The samples of a file, up to its end, in chunks as long as the command's; false when they are not those of a window.
bool readWindow(const std::string& in_strPath, std::vector<double>& inout_vChunk, Math::DoubleVector& out_vWindow)
{
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_strPath.c_str(), SFM_READ, &info), sf_close);
    const auto iChunk = static_cast<sf_count_t>(inout_vChunk.size());
    if (pFile == nullptr || sf_read_double(pFile.get(), inout_vChunk.data(), iChunk) != s_uiWindowSamples)
        return false;
    out_vWindow.clear();
    out_vWindow.insert(out_vWindow.end(), inout_vChunk.data(), inout_vChunk.data() + s_uiWindowSamples);
    return true;
}

void sndfile(benchmark::State& inout_state)
{
    Audio::FeatureComputerImpl computer;
    for (const char* szFeature : s_aszFeatures)
        if (!computer.addFeature(szFeature))
            return inout_state.SkipWithError("no such feature");
    std::vector<double> vChunk(16384);
    Math::DoubleVector vWindow;
    Math::DoubleVector vValues;
    for (auto unused : inout_state) {
        rusage before = {};
        rusage after = {};
        getrusage(RUSAGE_SELF, &before);
        for (const std::string& strPath : recordings().getPaths()) {
            if (!readWindow(strPath, vChunk, vWindow) || computer.computeSeveral(1, &vWindow, &vValues) != 1)
                return inout_state.SkipWithError("a recording is missing");
            benchmark::DoNotOptimize(vValues.data());
            benchmark::ClobberMemory();
        }
        getrusage(RUSAGE_SELF, &after);
        inout_state.SetIterationTime(seconds(after) - seconds(before));
    }
    countSamples(inout_state, s_uiNbOfFiles);
}

void inFiles(benchmark::internal::Benchmark* inout_pBenchmark)
{
    inout_pBenchmark->Arg(s_uiNbOfFiles)->UseManualTime();
}

BENCHMARK_CAPTURE(command, , "csv", "--recursive", "")->Name("ProgramFiles_Command")->Apply(inFiles);
BENCHMARK_CAPTURE(command, , "npy", "--recursive", "")->Name("ProgramFiles_CommandNpy")->Apply(inFiles);
BENCHMARK_CAPTURE(command, , "csv", "--list", "list")->Name("ProgramFiles_CommandList")->Apply(inFiles);
BENCHMARK(sndfile)->Name("ProgramFiles_Sndfile")->Apply(inFiles);

} // namespace
} // namespace Corvana::Bench
