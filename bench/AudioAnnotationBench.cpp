// SPDX-License-Identifier: Apache-2.0
// Editing and listing the regions of a recording of 100 MB, beside `cp` of it followed by `sync`, and beside reading it
// whole. The files lie in the folder for temporary files (TMPDIR), so the figures are those of its disk.
#include "BenchSupport.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioAtomicFileEdit.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Corvana::Bench {
namespace {

using Audio::AnnotatedFile;
using Annotation = AnnotatedFile::Annotation;

constexpr std::size_t s_uiNbOfRegions = 100;

std::vector<Annotation> regions()
{
    std::vector<Annotation> vRegions;
    for (std::size_t uiRegion = 0; uiRegion < s_uiNbOfRegions; ++uiRegion)
        vRegions.emplace_back(Annotation::CPA_HUMAN, static_cast<double>(uiRegion),
                              static_cast<double>(uiRegion) + 0.5);
    return vRegions;
}

/// A recording with regions in a folder of its own.
class Recording
{
public:
    explicit Recording(std::size_t in_uiNbOfBytes)
        : m_strFolder(makeFolder())
        , m_strPath(m_strFolder + "/call.wav")
    {
        AnnotatedFile file;
        file.parser().root().m_children.push_back(format());
        IFF::Chunk& data = file.parser().root().m_children.emplace_back(IFF::Chunk::makeId("data"));
        data.m_vData.resize(in_uiNbOfBytes);
        for (std::size_t uiByte = 0; uiByte < in_uiNbOfBytes; ++uiByte)
            data.m_vData[uiByte] = static_cast<std::uint8_t>(uiByte * uiByte >> 8);
        file.annotations() = regions();
        std::ofstream stream(m_strPath, std::ios_base::binary);
        if (!file.writeToWAV(stream) || !stream.flush())
            throw std::runtime_error("cannot write " + m_strPath);
    }
    ~Recording() { std::filesystem::remove_all(m_strFolder); }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    const char* path() const { return m_strPath.c_str(); }

private:
    static std::string makeFolder()
    {
        std::string strFolder = std::filesystem::temp_directory_path() / "corvana-bench-XXXXXX";
        if (mkdtemp(strFolder.data()) == nullptr)
            throw std::runtime_error("cannot make " + strFolder);
        return strFolder;
    }

    static IFF::Chunk format()
    {
        constexpr std::array<std::uint8_t, 16> aucPcm8{1, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0};
        IFF::Chunk chunk(IFF::Chunk::makeId("fmt "));
        chunk.setData(aucPcm8.data(), aucPcm8.size());
        return chunk;
    }

    std::string m_strFolder;
    std::string m_strPath;
};

void require(benchmark::State& inout_state, bool in_bDone, const char* in_szWhat)
{
    if (!in_bDone)
        inout_state.SkipWithError(in_szWhat);
}

void copyAndSync(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    const std::string strCopy = std::string(recording.path()) + ".copy";
    const std::string strCommand = std::string("rm -f '") + strCopy + "' && cp '" + recording.path() + "' '" + strCopy +
                                   "' && sync '" + strCopy + "'";
    for (auto unused : inout_state)
        require(inout_state, std::system(strCommand.c_str()) == 0, "cp failed");
    countSamples(inout_state, sizeOf(inout_state));
}

// What the command does: all regions are written anew, the audio is copied and compared.
void editSafely(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    for (auto unused : inout_state) {
        Audio::AtomicFileEdit edit(recording.path());
        std::ifstream stream(edit.workingFileName(), std::ios_base::binary);
        AnnotatedFile file;
        file.readRegionsFromWAV(stream);
        file.annotations() = regions();
        require(inout_state, file.updateFile(edit.workingFileName()) && edit.commit(), "the edit failed");
    }
    countSamples(inout_state, sizeOf(inout_state));
}

// The operation in place, on a working copy: reads and writes the whole recording.
void editSafelyInPlace(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    for (auto unused : inout_state) {
        Audio::AtomicFileEdit edit(recording.path());
        require(inout_state, AnnotatedFile::clearAnnotations(edit.workingFileName(), "NONE") && edit.commit(),
                "the edit failed");
    }
    countSamples(inout_state, sizeOf(inout_state));
}

void editInPlaceAndSync(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    const std::string strSync = std::string("sync '") + recording.path() + "'";
    for (auto unused : inout_state)
        require(inout_state,
                AnnotatedFile::clearAnnotations(recording.path(), "NONE") && std::system(strSync.c_str()) == 0,
                "the edit failed");
    countSamples(inout_state, sizeOf(inout_state));
}

void readRegions(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    for (auto unused : inout_state) {
        std::ifstream stream(recording.path(), std::ios_base::binary);
        AnnotatedFile file;
        file.readRegionsFromWAV(stream);
        require(inout_state, file.annotations().size() == s_uiNbOfRegions, "regions are missing");
    }
    countSamples(inout_state, sizeOf(inout_state));
}

void readWhole(benchmark::State& inout_state)
{
    const Recording recording(sizeOf(inout_state));
    std::vector<char> vBytes(std::filesystem::file_size(recording.path())); // filling it with zeros is no reading
    for (auto unused : inout_state) {
        std::ifstream stream(recording.path(), std::ios_base::binary);
        require(inout_state, bool(stream.read(vBytes.data(), static_cast<std::streamsize>(vBytes.size()))),
                "the recording is cut off");
        benchmark::DoNotOptimize(vBytes.data());
    }
    countSamples(inout_state, sizeOf(inout_state));
}

void longRecording(benchmark::internal::Benchmark* inout_pBenchmark)
{
    inout_pBenchmark->Arg(100000000)->UseRealTime();
}

BENCHMARK(editSafely)->Name("EditRegions_Library")->Apply(longRecording);
BENCHMARK(editSafelyInPlace)->Name("EditRegions_WholeFile")->Apply(longRecording);
BENCHMARK(editInPlaceAndSync)->Name("EditRegions_InPlace")->Apply(longRecording);
BENCHMARK(copyAndSync)->Name("EditRegions_Copy")->Apply(longRecording);
BENCHMARK(readRegions)->Name("ListRegions_Library")->Apply(longRecording);
BENCHMARK(readWhole)->Name("ListRegions_Whole")->Apply(longRecording);

} // namespace
} // namespace Corvana::Bench
