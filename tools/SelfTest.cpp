// SPDX-License-Identifier: Apache-2.0
#include "tools/SelfTest.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioAtomicFileEdit.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathSpectrumPlan.h"
#include "corvana/NumberText.h"
#include "tools/WindowSource.h"

#include <sndfile.h>

#include <bit>
#include <cerrno>
#include <cfenv>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

constexpr unsigned long s_uiRate = 8000;
constexpr unsigned long s_uiNbOfSamples = 8000;

// Noise that is the same everywhere: the upper bits of Knuth's linear congruential generator, from -0.5 to 0.5.
Math::DoubleVector noise(unsigned long in_uiNumber)
{
    Math::DoubleVector vValues(in_uiNumber, 0.0);
    std::uint64_t uiState = 1;
    for (double& dValue : vValues) {
        uiState = uiState * 6364136223846793005U + 1442695040888963407U;
        dValue = static_cast<double>(uiState >> 48U) / 65536.0 - 0.5;
    }
    return vValues;
}

bool haveSameBits(const Math::DoubleVector& in_vOne, const Math::DoubleVector& in_vOther)
{
    return in_vOne.size() == in_vOther.size() &&
           std::memcmp(in_vOne.data(), in_vOther.data(), in_vOne.size() * sizeof(double)) == 0;
}

// ---- Arithmetic

// Values that no compiler knows in advance.
std::string testArithmetic()
{
    volatile double dSmallest = DBL_MIN;
    volatile double dOne = 1.0;
    volatile double dHalfUlp = DBL_EPSILON / 2.0;
    volatile double dFactor = 1.0 + DBL_EPSILON;
    if (std::fegetround() != FE_TONEAREST || dOne + dHalfUlp != 1.0 || dFactor + dHalfUlp != 1.0 + 2.0 * DBL_EPSILON)
        return "results are not rounded to the nearest, ties to even";
    if (dSmallest / 2.0 == 0.0)
        return "numbers below 2.2e-308 become 0";
    const double dProduct = dFactor * dFactor;
    if (dFactor * dFactor - dProduct != 0.0)
        return "a product is not rounded before it is added to";
    return {};
}

// ---- Spectra

// The plain algorithm: taper, transform, powers, each divided by their sum.
Math::DoubleVector plainSpectrum(const Math::DoubleVector& in_vWindow, const Math::DoubleVector& in_vTaper)
{
    Math::DoubleVector vValues(in_vWindow);
    for (std::size_t uiIndex = 0; uiIndex < vValues.size(); ++uiIndex)
        vValues[uiIndex] = vValues[uiIndex] * in_vTaper[uiIndex];
    Math::discreteRealFastFourierTransform(vValues.data(), vValues.size(), 1.0);
    Math::DoubleVector vBins(vValues.size() / 2, 0.0);
    vBins[0] = vValues[0] * vValues[0];
    double dTotal = vBins[0];
    for (std::size_t uiBin = 1; uiBin < vBins.size(); ++uiBin) {
        vBins[uiBin] = vValues[2 * uiBin] * vValues[2 * uiBin] + vValues[2 * uiBin + 1] * vValues[2 * uiBin + 1];
        dTotal += vBins[uiBin];
    }
    if (dTotal != 0.0)
        for (double& dBin : vBins)
            dBin = dBin * (1.0 / dTotal);
    return vBins;
}

std::string testSpectra(Math::Simd in_simd)
{
    constexpr unsigned long uiMaxSize = 4096;
    const Math::DoubleVector vSamples = noise(uiMaxSize);
    for (unsigned long uiSize = 2; uiSize <= uiMaxSize; uiSize *= 2) {
        Math::DoubleVector vWindow;
        Math::DoubleVector vTaper;
        vWindow.insert(vWindow.end(), vSamples.begin(), vSamples.begin() + uiSize);
        vTaper.insert(vTaper.end(), vSamples.end() - uiSize, vSamples.end());
        const Math::SpectrumPlan plan(vTaper, in_simd);
        Math::SpectrumScratch scratch;
        Math::DoubleVector vBins(plan.getNbOfBins(), 0.0);
        plan.compute(vWindow.data(), vBins.data(), scratch);
        if (!haveSameBits(vBins, plainSpectrum(vWindow, vTaper)))
            return "windows of " + std::to_string(uiSize) + " samples give other values than the plain algorithm";
    }
    return {};
}

// ---- A recording

// A folder of its own, removed at the end.
class ScratchFolder
{
public:
    ScratchFolder()
        : m_strPath(temporaryFolder() + "/corvana-doctor-XXXXXX")
    {
        if (mkdtemp(m_strPath.data()) == nullptr)
            m_iError = errno;
        m_strRecording = m_strPath + "/recording.wav";
    }
    ~ScratchFolder() { remove(); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string getFault() const
    {
        return m_iError == 0 ? "" : "cannot make a folder in " + temporaryFolder() + ": " + std::strerror(m_iError);
    }
    const std::string& getRecording() const { return m_strRecording; }

    // Returns why it is still there. Needs no memory, which may be what is missing, unless an edit left something.
    std::string remove()
    {
        if (m_iError != 0 || ((unlink(m_strRecording.c_str()) == 0 || errno == ENOENT) &&
                              (rmdir(m_strPath.c_str()) == 0 || errno == ENOENT)))
            return {};
        std::error_code error;
        std::filesystem::remove_all(m_strPath, error);
        return error ? "cannot remove " + m_strRecording + " and its folder: " + error.message() : "";
    }

private:
    std::string m_strPath;
    std::string m_strRecording;
    int m_iError = 0;
};

std::string writeRecording(const std::string& in_strPath)
{
    SF_INFO info = {};
    info.samplerate = static_cast<int>(s_uiRate);
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const Math::DoubleVector vSamples = noise(s_uiNbOfSamples);
    const auto iNumber = static_cast<sf_count_t>(vSamples.size());
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_strPath.c_str(), SFM_WRITE, &info), sf_close);
    if (pFile == nullptr || sf_write_double(pFile.get(), vSamples.data(), iNumber) != iNumber)
        return std::string("cannot write ") + in_strPath + ": " + sf_strerror(pFile.get());
    return {};
}

Math::DoubleVector readSamples(const std::string& in_strPath)
{
    Math::DoubleVector vSamples(s_uiNbOfSamples, 0.0);
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_strPath.c_str(), SFM_READ, &info), sf_close);
    const sf_count_t iNumber =
        pFile == nullptr ? 0 : sf_read_double(pFile.get(), vSamples.data(), static_cast<sf_count_t>(vSamples.size()));
    vSamples.resize(static_cast<std::size_t>(std::max<sf_count_t>(0, iNumber)));
    return vSamples;
}

Math::DoubleVector valuesOf(WindowSource& inout_source)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiSampleRate = s_uiRate;
    config.m_uiWindowSizeMs = 32;
    config.m_uiWindowOverlapMs = 16;
    Audio::FeatureComputerImpl computer;
    Math::DoubleVector vAll;
    if (!inout_source.configureWindows(config) || !computer.addFeature("spectrum") ||
        !computer.addFeature("zerocrossingrate"))
        return vAll;
    Math::DoubleVector vValues;
    for (Math::DoubleVector vWindow; inout_source.getWindow(vWindow);) {
        if (computer.computeSeveral(1, &vWindow, &vValues) != 1)
            return {};
        vAll.insert(vAll.end(), vValues.begin(), vValues.end());
    }
    return vAll;
}

// The features of the file's windows are those of its samples in memory.
std::string testReading(const std::string& in_strPath)
{
    const Math::DoubleVector vSamples = readSamples(in_strPath);
    FileWindowSource file;
    if (vSamples.size() != s_uiNbOfSamples || !file.open(in_strPath.c_str()))
        return "cannot read " + in_strPath + ", which was just written";
    MemoryWindowSource memory;
    memory.open({vSamples.data(), vSamples.size()}, s_uiRate);
    const Math::DoubleVector vValues = valuesOf(memory);
    if (vValues.empty() || !haveSameBits(valuesOf(file), vValues))
        return "the windows of " + in_strPath + " give other features than its samples do";
    return {};
}

// A region is there after it was added, and the samples are what they were.
std::string testLabelling(const std::string& in_strPath)
{
    using Annotation = Audio::AnnotatedFile::Annotation;
    const Math::DoubleVector vSamples = readSamples(in_strPath);
    Audio::AtomicFileEdit edit(in_strPath.c_str());
    if (!edit.isOpen() || !Audio::AnnotatedFile::addAnnotation(edit.workingFileName(), {Annotation::BEEP, 0.25, 0.5}) ||
        !edit.commit())
        return "cannot add a region to " + in_strPath + (edit.getFault().empty() ? "" : ": " + edit.getFault());
    Audio::AnnotatedFile file;
    std::ifstream stream(in_strPath, std::ios::binary);
    if (!file.readRegionsFromWAV(stream) || file.annotations().size() != 1 ||
        file.annotations()[0].m_type != Annotation::BEEP || file.annotations()[0].m_dStartTime != 0.25 ||
        file.annotations()[0].m_dStopTime != 0.5)
        return "a region that was added to " + in_strPath + " is not there";
    return haveSameBits(readSamples(in_strPath), vSamples) ? "" : "adding a region changed samples of " + in_strPath;
}

/// Collects results; what a test makes the libraries log belongs to its fault.
class Tests
{
public:
    explicit Tests(LogBridge& inout_log)
        : m_log(inout_log)
    {
    }

    template <class TestT>
    bool add(const std::string& in_strName, TestT in_test)
    {
        m_log.beginInput("self test");
        std::string strFault;
        try {
            strFault = in_test();
        } catch (const std::exception& exception) {
            strFault = exception.what();
        }
        const std::string strReason = m_log.takeErrors();
        if (!strFault.empty() && !strReason.empty())
            strFault += ": " + strReason;
        m_vResults.push_back({in_strName, strFault});
        return strFault.empty();
    }

    const std::vector<TestResult>& getResults() const { return m_vResults; }

private:
    LogBridge& m_log;
    std::vector<TestResult> m_vResults;
};

} // namespace

std::vector<Math::Simd> supportedSimd()
{
    std::vector<Math::Simd> vSupported;
    for (const Math::Simd simd : {Math::Simd::PORTABLE, Math::Simd::BASELINE, Math::Simd::AVX2, Math::Simd::AVX512})
        if (Math::isSimdSupported(simd))
            vSupported.push_back(simd);
    return vSupported;
}

std::string temporaryFolder()
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    return error ? std::string("/tmp") : folder.string();
}

std::vector<TestResult> selfTest(LogBridge& inout_log)
{
    Tests tests(inout_log);
    tests.add("arithmetic is that of IEEE doubles", testArithmetic);
    for (const Math::Simd simd : supportedSimd())
        tests.add(std::string("spectra, ") + Math::getSimdName(simd) + ": the bits of the plain algorithm",
                  [=] { return testSpectra(simd); });
    ScratchFolder folder;
    const std::string strPath = folder.getRecording();
    const bool bWritten = tests.add("a small recording can be written", [&] {
        return folder.getFault().empty() ? writeRecording(strPath) : folder.getFault();
    });
    if (bWritten) {
        tests.add("features of a recording are those of its samples", [&] { return testReading(strPath); });
        tests.add("a region can be added, and changes no sample", [&] { return testLabelling(strPath); });
    }
    if (const std::string strLeft = folder.remove(); !strLeft.empty())
        tests.add("what was written can be removed", [&] { return strLeft; });
    return tests.getResults();
}

} // namespace Corvana::Tools
