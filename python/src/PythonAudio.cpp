// SPDX-License-Identifier: Apache-2.0
// Recordings as chunks and as windows.
#include "PythonArrays.h"
#include "PythonLog.h"
#include "PythonModule.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/MathMeanFeature.h"
#include "tools/RecordingAnalysis.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <sstream>
#include <utility>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

void openOrThrow(Audio::AudioFileReader& inout_reader, const std::string& in_strPath)
{
    const LogScope log;
    bool bOpened = false;
    {
        const py::gil_scoped_release leavesPython;
        bOpened = inout_reader.setSourceAudioFile(in_strPath.c_str());
    }
    if (!bOpened)
        throw Error(in_strPath + ": " + log.errors());
}

// Frames that came are handed out first.
void checkReading(const Audio::AudioFileReader& in_reader, const std::string& in_strPath)
{
    if (in_reader.hasReadError())
        throw Error(in_strPath + ": could not be read to its end");
}

class Reader
{
public:
    Reader(const std::string& in_strPath, unsigned long in_uiNbOfFrames)
        : m_strPath(in_strPath)
    {
        if (in_uiNbOfFrames == 0)
            throw py::value_error("chunk_frames must be at least 1");
        m_reader.setNbOfFramesToRead(in_uiNbOfFrames);
        openOrThrow(m_reader, in_strPath);
    }

    Array next()
    {
        const LogScope log;
        Math::DoubleVector vFrames;
        {
            const py::gil_scoped_release leavesPython;
            m_reader.getNextLinearFrames(vFrames);
        }
        if (vFrames.empty()) {
            checkReading(m_reader, m_strPath);
            throw py::stop_iteration();
        }
        return toArray(std::move(vFrames));
    }

    Array readAll()
    {
        const LogScope log;
        Math::DoubleVector vFrames;
        {
            const py::gil_scoped_release leavesPython;
            m_reader.getAllLinearFrames(vFrames);
        }
        checkReading(m_reader, m_strPath);
        return toArray(std::move(vFrames));
    }

    void seek(double in_dSeconds)
    {
        const LogScope log;
        if (!m_reader.gotoAudioTime(in_dSeconds))
            throw Error(log.errors());
    }

    std::string format()
    {
        std::ostringstream stream;
        m_reader.getFileInfo(stream);
        return stream.str();
    }

    const Audio::AudioFileReader& get() const { return m_reader; }

private:
    const std::string m_strPath;
    Audio::AudioFileReader m_reader;
};

class WindowReader
{
public:
    WindowReader(const std::string& in_strPath, unsigned long in_uiWindowMs, unsigned long in_uiOverlapMs,
                 bool in_bSuppressDC)
        : m_strPath(in_strPath)
    {
        constexpr unsigned long uiFramesOfChunk = 16384;
        openOrThrow(m_reader, in_strPath);
        const LogScope log;
        Audio::LinearAudioWindower::Config config;
        config.m_uiSampleRate = m_reader.getSampleRate();
        config.m_uiWindowSizeMs = in_uiWindowMs;
        config.m_uiWindowOverlapMs = in_uiOverlapMs;
        config.m_bSuppressDCOffset = in_bSuppressDC;
        if (in_uiWindowMs > Tools::s_uiMaxWindowMs || !m_reader.configure(config))
            throw py::value_error("at " + std::to_string(config.m_uiSampleRate) + " Hz, an overlap of " +
                                  std::to_string(in_uiOverlapMs) + " ms is as many samples as a window of " +
                                  std::to_string(in_uiWindowMs) + " ms, or the window is too long");
        const unsigned long uiWindowSize = in_uiWindowMs * m_reader.getSampleRate() / 1000;
        m_reader.setChunkReadFactor(std::max(1UL, uiFramesOfChunk / std::max(1UL, uiWindowSize)));
    }

    Array next()
    {
        const LogScope log;
        Math::DoubleVector vWindow;
        bool bMore = false;
        {
            const py::gil_scoped_release leavesPython;
            bMore = m_reader.getNextWindow(vWindow);
        }
        if (!bMore) {
            checkReading(m_reader, m_strPath);
            throw py::stop_iteration();
        }
        return toArray(std::move(vWindow));
    }

    double getTime() const { return m_reader.getCurrentAudioTime(); }
    unsigned long getSampleRate() const { return m_reader.getSampleRate(); }

private:
    const std::string m_strPath;
    Audio::WindowedAudioFileReader m_reader;
};

// As the windower does it.
Array withoutMean(const Array& in_window)
{
    Math::DoubleVector vWindow = toVector(in_window);
    Math::DoubleVector vMean;
    Math::MeanFeature().compute(vWindow, vMean);
    for (double& dSample : vWindow)
        dSample -= vMean[0];
    return toArray(std::move(vWindow));
}

} // namespace

void addAudio(py::module_& inout_module)
{
    py::class_<Reader>(inout_module, "Reader",
                       R"(A mono recording of any format that libsndfile opens, as chunks of samples in -1..1.

An iterator over arrays (float64, one dimension); the last one may be shorter. Errors: Error, with the library's reason.)")
        .def(py::init<const std::string&, unsigned long>(), py::arg("path"), py::arg("chunk_frames") = 16384)
        .def("__iter__", [](py::object in_self) { return in_self; })
        .def("__next__", &Reader::next)
        .def("read", &Reader::readAll, "All samples of the recording, from its start, as one array.")
        .def("seek", &Reader::seek, py::arg("seconds"), "Goes on at the frame nearest to a time.")
        .def_property_readonly(
            "sample_rate", [](const Reader& in_reader) { return in_reader.get().getSampleRate(); },
            "Samples per second.")
        .def_property_readonly(
            "frames", [](const Reader& in_reader) { return in_reader.get().getNbOfFrames(); },
            "Samples in the recording, as its header tells.")
        .def_property_readonly(
            "position", [](const Reader& in_reader) { return in_reader.get().getFramePosition(); },
            "Samples from the start of the recording to the next one read.")
        .def_property_readonly(
            "clipping_level", [](const Reader& in_reader) { return in_reader.get().getClippingValue(); },
            "The amplitude from which a sample counts as clipped.")
        .def_property_readonly("format", &Reader::format, R"(Such as "WAV (Microsoft) (.wav) U-Law".)");

    inout_module.def("without_mean", &withoutMean);
    py::class_<WindowReader>(inout_module, "WindowReader")
        .def(py::init<const std::string&, unsigned long, unsigned long, bool>())
        .def("__iter__", [](py::object in_self) { return in_self; })
        .def("__next__", &WindowReader::next)
        .def_property_readonly("time", &WindowReader::getTime, "The end of the last window, in seconds.")
        .def_property_readonly("sample_rate", &WindowReader::getSampleRate, "Samples per second.");
}

} // namespace Corvana::Python
