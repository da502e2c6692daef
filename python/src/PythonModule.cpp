// SPDX-License-Identifier: Apache-2.0
// The part of the Python module that is written in C++: classes and functions over arrays. What people import is
// python/corvana/__init__.py.
#include "PythonModule.h"

#include "PythonLog.h"
#include "corvana/MathSimd.h"
#include "corvana/Version.h"
#include "tools/Text.h"

namespace py = pybind11;

namespace Corvana::Python {

CollectedMessages::CollectedMessages()
    : Messages(m_unused, false)
{
}

void CollectedMessages::addLine(std::string& inout_strText, const std::string& in_strLine)
{
    inout_strText += (inout_strText.empty() ? "" : "\n") + in_strLine;
}

void CollectedMessages::inputError(const std::string& in_strInput, const std::string& in_strReason)
{
    error(Tools::printable(in_strInput) + ": " + in_strReason);
}

void CollectedMessages::inputWarning(const std::string& in_strInput, const std::string& in_strText)
{
    warning(Tools::printable(in_strInput) + ": " + in_strText);
}

void CollectedMessages::showWarnings()
{
    std::vector<std::string> vWarnings;
    vWarnings.swap(m_vWarnings);
    for (const std::string& strText : vWarnings) {
        constexpr py::ssize_t iCaller = 3; // behind the module's own function in Python
        if (PyErr_WarnEx(PyExc_UserWarning, strText.c_str(), iCaller) != 0)
            throw py::error_already_set();
    }
}

} // namespace Corvana::Python

PYBIND11_MODULE(_corvana, out_module)
{
    namespace Python = Corvana::Python;
    out_module.doc() = "What the corvana package is made of. Import corvana instead.";
    Python::startLogging();
    py::register_exception<Python::Error>(out_module, "Error", PyExc_RuntimeError).attr("__doc__") =
        "What the library refuses or cannot do, with its own message.";
    out_module.attr("__version__") = Corvana::getVersion();
    out_module.def(
        "simd", [] { return Corvana::Math::getSimdName(); },
        "The instruction set that spectra are computed with, such as \"avx2\".");
    out_module.def(
        "set_log_level", &Python::setLogLevel, py::arg("level"),
        "From which level of the logging module on messages of the library are handed over; WARNING at first. "
        "Finer levels slow the library down.");
    Python::addFeatures(out_module);
    Python::addAudio(out_module);
    Python::addExpressions(out_module);
    Python::addAnnotations(out_module);
}
