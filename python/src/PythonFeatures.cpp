// SPDX-License-Identifier: Apache-2.0
// Features of whole recordings, and of one window after another.
#include "PythonArrays.h"
#include "PythonLog.h"
#include "PythonModule.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/MathXprFunctionDescription.h"
#include "tools/DescriptionChecker.h"
#include "tools/FeatureSet.h"
#include "tools/Progress.h"
#include "tools/RecordingAnalysis.h"

#include <pybind11/stl.h>

#include <memory>
#include <utility>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

// Keeps rows as numbers, in place of the text that the command writes.
class RowCollector : public Tools::RowWriter
{
public:
    std::string getHeader() const override { return {}; }
    void beginFile(const std::string&) override {}
    void beginRow(double in_dTime) override
    {
        m_vTimes.push_back(in_dTime);
        m_vLabelSetOfRow.push_back(m_vLabelSets.size() - 1);
    }
    void setLabels(const std::vector<std::string>& in_vLabels) override { m_vLabelSets.push_back(in_vLabels); }
    void addFeature(std::size_t, std::span<const double> in_values) override
    {
        m_vValues.insert(m_vValues.end(), in_values.begin(), in_values.end());
    }
    // Lets people interrupt long work.
    std::string_view endRow() override
    {
        constexpr std::size_t uiRowsPerLook = 4096;
        if (m_vTimes.size() % uiRowsPerLook == 0) {
            const py::gil_scoped_acquire holdsPython;
            if (PyErr_CheckSignals() != 0)
                throw py::error_already_set();
        }
        return {};
    }

    py::list labelsOfRows() const
    {
        std::vector<py::tuple> vSets;
        for (const std::vector<std::string>& vLabels : m_vLabelSets)
            vSets.emplace_back(py::cast(vLabels));
        py::list rows;
        for (const std::size_t uiSet : m_vLabelSetOfRow)
            rows.append(vSets[uiSet]);
        return rows;
    }

    std::vector<double> m_vTimes;
    std::vector<double> m_vValues;

private:
    std::vector<std::vector<std::string>> m_vLabelSets{{}};
    std::vector<std::size_t> m_vLabelSetOfRow;
};

std::ostream& nowhere()
{
    thread_local std::ostringstream s_stream;
    return s_stream;
}

using NamedFormulas = std::vector<std::pair<std::string, std::string>>;

// A run of the command's own analysis over one recording.
class Analysis
{
public:
    Analysis(const std::vector<std::string>& in_vFeatures, const NamedFormulas& in_vFormulas,
             const Tools::WindowOptions& in_options, bool in_bLabels)
        : m_options(in_options)
        , m_log(m_messages, LOG_WARN)
        , m_progress(nowhere(), Tools::ProgressMode::NEVER, false)
        , m_analysis(m_options, m_features, m_log, m_messages, m_progress)
        , m_bLabels(in_bLabels)
    {
        std::vector<Tools::NamedFormula> vFormulas;
        for (const auto& [strName, strFormula] : in_vFormulas)
            vFormulas.push_back({strName, strFormula});
        if (!m_features.configure(in_vFeatures, vFormulas, m_messages))
            throw Error(m_messages.getErrors());
        if (m_bLabels)
            m_analysis.enableLabels();
    }

    void runFile(const std::string& in_strPath) { run(in_strPath, m_analysis.open(in_strPath)); }
    void runSamples(std::span<const double> in_samples, unsigned long in_uiSampleRate)
    {
        const std::string strName = "samples";
        run(strName, m_analysis.openSamples(in_samples, in_uiSampleRate, strName));
    }

    py::dict result()
    {
        const std::vector<std::string> vColumns =
            Tools::columnNames(m_features.getColumnNames(), m_analysis.getNbOfValues());
        py::dict result;
        const std::size_t uiNbOfRows = m_rows.m_vTimes.size();
        result["features"] = m_features.getColumnNames();
        result["counts"] = m_analysis.getNbOfValues();
        result["columns"] = vColumns;
        result["labels"] = m_bLabels ? py::object(m_rows.labelsOfRows()) : py::object(py::none());
        result["sample_rate"] = m_analysis.getWindowRate();
        result["times"] = toArray(std::move(m_rows.m_vTimes));
        result["values"] = toTable(std::move(m_rows.m_vValues), uiNbOfRows, vColumns.size());
        m_messages.showWarnings();
        return result;
    }

private:
    void run(const std::string& in_strName, std::string&& inout_strFault)
    {
        if (inout_strFault.empty())
            inout_strFault = m_analysis.writeRows(m_rows, nowhere(), false, 0.0, -1.0);
        if (inout_strFault.empty())
            return;
        m_messages.inputError(in_strName, inout_strFault);
        throw Error(m_messages.getErrors());
    }

    const Tools::WindowOptions m_options;
    CollectedMessages m_messages;
    Tools::FeatureSet m_features;
    Tools::LogBridge m_log;
    Tools::Progress m_progress;
    Tools::RecordingAnalysis m_analysis;
    const bool m_bLabels;
    RowCollector m_rows;
};

Tools::WindowOptions windowOptions(unsigned long in_uiWindowMs, unsigned long in_uiOverlapMs, bool in_bSuppressDC,
                                   unsigned long in_uiSampleRate)
{
    if (in_uiWindowMs < 1 || in_uiWindowMs > Tools::s_uiMaxWindowMs)
        throw py::value_error("window_ms must be 1 to " + std::to_string(Tools::s_uiMaxWindowMs));
    if (in_uiOverlapMs >= in_uiWindowMs)
        throw py::value_error("the overlap (overlap_ms=" + std::to_string(in_uiOverlapMs) +
                              ") must be shorter than the window (window_ms=" + std::to_string(in_uiWindowMs) + ")");
    if (in_uiSampleRate > Tools::s_uiMaxSampleRate)
        throw py::value_error("sample_rate must be at most " + std::to_string(Tools::s_uiMaxSampleRate));
    return {in_uiWindowMs, in_uiOverlapMs, in_bSuppressDC, 1, in_uiSampleRate};
}

py::dict featuresOfFile(const std::string& in_strPath, const std::vector<std::string>& in_vFeatures,
                        const NamedFormulas& in_vFormulas, unsigned long in_uiWindowMs, unsigned long in_uiOverlapMs,
                        bool in_bSuppressDC, unsigned long in_uiSampleRate, bool in_bLabels)
{
    const LogScope log;
    const Tools::WindowOptions options = windowOptions(in_uiWindowMs, in_uiOverlapMs, in_bSuppressDC, in_uiSampleRate);
    py::gil_scoped_release leavesPython;
    Analysis analysis(in_vFeatures, in_vFormulas, options, in_bLabels);
    analysis.runFile(in_strPath);
    const py::gil_scoped_acquire holdsPython;
    return analysis.result();
}

py::dict featuresOfSamples(const Array& in_samples, unsigned long in_uiSampleRate,
                           const std::vector<std::string>& in_vFeatures, const NamedFormulas& in_vFormulas,
                           unsigned long in_uiWindowMs, unsigned long in_uiOverlapMs, bool in_bSuppressDC)
{
    const LogScope log;
    const Tools::WindowOptions options = windowOptions(in_uiWindowMs, in_uiOverlapMs, in_bSuppressDC, in_uiSampleRate);
    const std::span<const double> samples = valuesOf(in_samples);
    py::gil_scoped_release leavesPython;
    Analysis analysis(in_vFeatures, in_vFormulas, options, false);
    analysis.runSamples(samples, in_uiSampleRate);
    const py::gil_scoped_acquire holdsPython;
    return analysis.result();
}

// ---- One window after another

class FeatureComputer
{
public:
    explicit FeatureComputer(const std::vector<std::string>& in_vDescriptions)
    {
        for (const std::string& strDescription : in_vDescriptions)
            add(strDescription, "", "");
    }

    void add(const std::string& in_strDescription, const std::string& in_strInput, const std::string& in_strOutput)
    {
        Tools::DescriptionFault fault;
        if (Tools::DescriptionChecker(m_computer.getFeaturePool()).check(in_strDescription, fault).empty())
            throw Error(Tools::faultText(in_strDescription, fault));
        if (!m_computer.addFeature(in_strDescription.c_str(), in_strInput.c_str(), in_strOutput.c_str()))
            throw Error("'" + in_strDescription + "' cannot be added: the output name '" + in_strOutput +
                        "' is in use, or its input cannot be read");
    }

    void setInput(const std::string& in_strName, const Array& in_values)
    {
        if (!m_computer.setInput(in_strName.c_str(), toVector(in_values)))
            throw Error("'" + in_strName + "' is no name of an input");
    }

    Array compute(const Array& in_window)
    {
        const LogScope log;
        m_computer.setWindow(toVector(in_window));
        Math::DoubleVector vValues;
        const bool bComputed = m_computer.computeFeatures(vValues);
        const std::string strReason = log.errors();
        if (!bComputed || !strReason.empty()) // some features say only there that their values mean nothing
            throw Error(strReason);
        return toArray(std::move(vValues));
    }

    void reset() { m_computer.reset(); }

    using Entry = std::tuple<std::string, std::string, std::string>;
    std::vector<Entry> entries() const
    {
        std::vector<Entry> vEntries;
        for (unsigned long uiIndex = 0; uiIndex < m_computer.getNbOfFeatures(); ++uiIndex)
            vEntries.emplace_back(m_computer.getDescription(uiIndex), m_computer.getInputName(uiIndex),
                                  m_computer.getOutputName(uiIndex));
        return vEntries;
    }

private:
    Audio::FeatureComputerWithInputsImpl m_computer;
};

std::unique_ptr<FeatureComputer> computerFrom(const std::vector<FeatureComputer::Entry>& in_vEntries)
{
    auto pComputer = std::make_unique<FeatureComputer>(std::vector<std::string>{});
    for (const auto& [strDescription, strInput, strOutput] : in_vEntries)
        pComputer->add(strDescription, strInput, strOutput);
    return pComputer;
}

// ---- What there is

py::list describeFeatures()
{
    py::list all;
    for (const Audio::FeatureDescription& feature : Audio::getFeatureDescriptions()) {
        py::dict one;
        one["name"] = feature.m_szName;
        one["written"] = Tools::writtenForm(feature);
        one["parameters"] = Tools::parameterCountText(feature);
        one["example"] = feature.m_szExample;
        one["input"] = feature.m_szInput;
        one["number_of_values"] = feature.m_szNbOfValues;
        one["unit"] = feature.m_szUnit;
        one["meaning"] = feature.m_szMeaning;
        one["needs_power_of_two"] = feature.m_bNeedsPowerOfTwo;
        one["assumes_8000_hz"] = feature.m_bAssumes8000Hz;
        all.append(one);
    }
    return all;
}

py::list describeFunctions()
{
    py::list all;
    for (const Math::Xpr::FunctionDescription& function : Math::Xpr::getFunctionDescriptions()) {
        py::dict one;
        one["name"] = function.m_strName;
        one["arguments"] = py::tuple(py::cast(function.m_vArguments));
        one["parameters"] = py::tuple(py::cast(function.m_vParameters));
        one["meaning"] = function.m_strMeaning;
        all.append(one);
    }
    return all;
}

} // namespace

void addFeatures(py::module_& inout_module)
{
    inout_module.def("features_of_file", &featuresOfFile);
    inout_module.def("features_of_samples", &featuresOfSamples);
    inout_module.def("default_features", &Tools::defaultFeatures);
    inout_module.def("describe_features", &describeFeatures);
    inout_module.def("describe_functions", &describeFunctions);
    py::class_<FeatureComputer>(inout_module, "FeatureComputer",
                                R"(Computes features of one window after another, as a live engine has them.

Features that remember go on from window to window; reset() makes them forget. One thread uses a computer at a time. Pickled by its descriptions: what features remember and the inputs are not kept.)")
        .def(py::init<const std::vector<std::string>&>(), py::arg("descriptions") = std::vector<std::string>{})
        .def("add", &FeatureComputer::add, py::arg("description"), py::arg("input") = "", py::arg("output") = "",
             R"doc(Adds a feature, such as "spectralrange(1000,100)" or stages joined by "|".

input: what its first stage reads: "" the window, else an input, or the output name of a feature added before.
output: "" to have its values in the result, else a name under which later features read them.)doc")
        .def("set_input", &FeatureComputer::setInput, py::arg("name"), py::arg("values"),
             "Copies what features read that were added with this input's name.")
        .def("compute", &FeatureComputer::compute, py::arg("window"),
             "The values of all features for a window (array of one dimension), in the order of adding.")
        .def("reset", &FeatureComputer::reset, "Forgets what was computed so far: for a new signal.")
        .def_property_readonly("entries", &FeatureComputer::entries,
                               "(description, input, output) of each feature, in the order of adding.")
        .def(py::pickle([](const FeatureComputer& in_computer) { return py::make_tuple(in_computer.entries()); },
                        [](const py::tuple& in_state) {
                            return computerFrom(in_state[0].cast<std::vector<FeatureComputer::Entry>>());
                        }));
}

} // namespace Corvana::Python
