// SPDX-License-Identifier: Apache-2.0
// Labelled regions of recordings. A region is (label, start, stop) here, with times in seconds.
#include "PythonLog.h"
#include "PythonModule.h"
#include "tools/AnnotationEdit.h"
#include "tools/ExitCode.h"
#include "tools/RegionFormat.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/Text.h"

#include <pybind11/stl.h>

#include <mutex>
#include <tuple>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

using Region = std::tuple<std::string, double, double>;
using Regions = std::vector<Region>;

// The library hands out the texts of numbered types in one buffer, so one thread at a time works on annotations.
std::mutex& annotationsMutex()
{
    static std::mutex s_mutex;
    return s_mutex;
}

std::vector<Tools::LabeledRegion> readFile(const std::string& in_strPath, double& out_dSeconds)
{
    CollectedMessages messages;
    Tools::LogBridge log(messages, LOG_WARN);
    log.beginInput(in_strPath);
    Audio::AnnotatedFile file;
    const std::string strFault = Tools::readRegionsOf(in_strPath, file, log);
    if (!strFault.empty())
        throw Error(Tools::printable(in_strPath) + ": " + strFault);
    log.endInput();
    out_dSeconds = Tools::secondsOf(file);
    return Tools::labeledRegionsOf(file);
}

Regions toRegions(const std::vector<Tools::LabeledRegion>& in_vRegions)
{
    Regions vRegions;
    for (const Tools::LabeledRegion& region : in_vRegions)
        vRegions.emplace_back(region.m_strLabel, region.m_dStart, region.m_dStop);
    return vRegions;
}

// The regions, and the length of the audio in seconds.
std::pair<Regions, double> readRegions(const std::string& in_strPath)
{
    const LogScope log;
    const py::gil_scoped_release leavesPython;
    const std::lock_guard<std::mutex> lock(annotationsMutex());
    double dSeconds = 0.0;
    Regions vRegions = toRegions(readFile(in_strPath, dSeconds));
    return {std::move(vRegions), dSeconds};
}

Tools::AnnotationEdit::Regions toAnnotations(const Regions& in_vRegions)
{
    Tools::AnnotationEdit::Regions vAnnotations;
    for (const auto& [strLabel, dStart, dStop] : in_vRegions) {
        Tools::RegionTypeValue type{};
        const std::string strFault = Tools::parseRegionType(strLabel, type);
        if (!strFault.empty())
            throw Error(strFault);
        if (!(dStart >= 0.0 && dStop >= dStart))
            throw Error(strLabel + " from " + py::repr(py::float_(dStart)).cast<std::string>() + " to " +
                        py::repr(py::float_(dStop)).cast<std::string>() +
                        " s: a region starts at 0 or later and does not end before it starts");
        vAnnotations.emplace_back(type, dStart, dStop);
    }
    return vAnnotations;
}

// What the command would say, without its name in front of each line.
std::string withoutProgram(const std::string& in_strText)
{
    constexpr std::string_view strProgram = "corvana: ";
    std::istringstream lines(in_strText);
    std::string strAll;
    for (std::string strLine; std::getline(lines, strLine);) {
        if (strLine.starts_with(strProgram))
            strLine.erase(0, strProgram.size());
        strAll += (strAll.empty() ? "" : "\n") + strLine;
    }
    return strAll;
}

// Replaces the regions that were expected by others; refuses where the file holds none of these any more.
void replaceRegions(const std::string& in_strPath, const Regions& in_vExpected, const Regions& in_vRegions,
                    bool in_bClip, bool in_bInterop)
{
    const LogScope log;
    const std::unique_lock<std::mutex> typesLock = [] {
        const py::gil_scoped_release leavesPython;
        return std::unique_lock<std::mutex>(annotationsMutex());
    }();
    const Tools::AnnotationEdit::Regions vNew = toAnnotations(in_vRegions);
    const py::gil_scoped_release leavesPython;
    Tools::AnnotationEditOptions options;
    options.m_vFiles = {in_strPath};
    options.m_bClip = in_bClip;
    options.m_bInterop = in_bInterop;
    std::ostringstream results;
    std::ostringstream texts;
    Tools::AnnotationEdit edit(options, results, texts);
    const auto change = [&](const std::string&, const Audio::AnnotatedFile& in_file,
                            Tools::AnnotationEdit::Regions& inout_vRegions) -> Tools::AnnotationEdit::Outcome {
        if (toRegions(Tools::labeledRegionsOf(in_file)) != in_vExpected)
            return {"", "its regions were changed by another program in the meantime; read them again"};
        inout_vRegions.clear();
        return edit.append(in_file, vNew, "written", inout_vRegions);
    };
    const int iExitCode = edit.run(edit.collectFiles(), change);
    if (iExitCode != Tools::EXIT_DONE)
        throw Error(withoutProgram(texts.str()));
    if (texts.str().empty())
        return;
    const py::gil_scoped_acquire holdsPython;
    constexpr py::ssize_t iCaller = 3;
    if (PyErr_WarnEx(PyExc_UserWarning, withoutProgram(texts.str()).c_str(), iCaller) != 0)
        throw py::error_already_set();
}

Tools::RegionFormat formatOf(const std::string& in_strName)
{
    for (const Tools::RegionFormat format : {Tools::RegionFormat::CSV, Tools::RegionFormat::JSON,
                                             Tools::RegionFormat::AUDACITY, Tools::RegionFormat::TEXTGRID})
        if (in_strName == Tools::nameOf(format))
            return format;
    throw py::value_error("'" + in_strName + "' is no format; there are csv, json, audacity and textgrid");
}

std::string formatOfFile(const std::string& in_strPath)
{
    Tools::RegionFormat format{};
    if (!Tools::findFormatOfFile(in_strPath, format))
        throw py::value_error("'" + in_strPath + "' does not end with .csv, .json, .txt or .TextGrid; name the format");
    return Tools::nameOf(format);
}

Regions parseRegions(const std::string& in_strText, const std::string& in_strFormat)
{
    const Tools::RegionFormat format = formatOf(in_strFormat);
    const py::gil_scoped_release leavesPython;
    std::vector<Tools::LabeledRegion> vRegions;
    const std::string strFault = Tools::readRegions(in_strText, format, vRegions);
    if (!strFault.empty())
        throw Error(strFault);
    return toRegions(vRegions);
}

std::string formatRegions(const Regions& in_vRegions, const std::string& in_strFormat, double in_dSeconds)
{
    std::vector<Tools::LabeledRegion> vRegions;
    for (const auto& [strLabel, dStart, dStop] : in_vRegions)
        vRegions.push_back({strLabel, dStart, dStop});
    std::ostringstream stream;
    Tools::writeRegions(stream, formatOf(in_strFormat), vRegions, in_dSeconds);
    return stream.str();
}

std::string canonicalType(const std::string& in_strText)
{
    const std::lock_guard<std::mutex> lock(annotationsMutex());
    Tools::RegionTypeValue type{};
    const std::string strFault = Tools::parseRegionType(in_strText, type);
    if (!strFault.empty())
        throw Error(strFault);
    return Tools::regionTypeText(type);
}

} // namespace

void addAnnotations(py::module_& inout_module)
{
    inout_module.def("read_regions", &readRegions);
    inout_module.def("replace_regions", &replaceRegions);
    inout_module.def("parse_regions", &parseRegions);
    inout_module.def("format_regions", &formatRegions);
    inout_module.def("format_of_file", &formatOfFile);
    inout_module.def("region_types", &Tools::namedRegionTypes);
    inout_module.def("canonical_type", &canonicalType, py::call_guard<py::gil_scoped_release>());
}

} // namespace Corvana::Python
