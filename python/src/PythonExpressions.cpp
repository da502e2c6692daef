// SPDX-License-Identifier: Apache-2.0
// Formulas over arrays.
#include "PythonArrays.h"
#include "PythonLog.h"
#include "PythonModule.h"
#include "corvana/MathXprExpression.h"
#include "corvana/ParameterTrie.h"
#include "corvana/TrieConfiguration.h"

#include <pybind11/stl.h>

#include <map>
#include <variant>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

// In this order: a whole number is no text, and a bool is refused rather than taken for a number.
using Parameter = std::variant<long, double, std::string>;
using Parameters = std::map<std::string, Parameter>;

ParameterValue toValue(const Parameter& in_parameter)
{
    if (const long* pWhole = std::get_if<long>(&in_parameter))
        return ParameterValue(*pWhole);
    if (const double* pNumber = std::get_if<double>(&in_parameter))
        return ParameterValue(*pNumber);
    return ParameterValue(std::get<std::string>(in_parameter).c_str());
}

class Expression
{
public:
    Expression(const std::string& in_strFormula, const Parameters& in_vParameters)
        : m_vParameters(in_vParameters)
    {
        const LogScope log;
        if (in_strFormula.find('\0') != std::string::npos)
            throw Error("the formula contains a null character");
        if (!m_expression.parse(in_strFormula.c_str()))
            throw Error(m_expression.getError());
        if (m_vParameters.empty())
            return;
        ParameterTrie trie;
        for (const auto& [strName, value] : m_vParameters)
            if (!trie.insert(strName.c_str(), toValue(value)))
                throw Error("'" + strName + "' is no name of a parameter");
        if (!m_expression.configure(TrieConfiguration(std::move(trie))))
            throw Error(log.errors());
    }

    Array evaluate(const py::kwargs& in_variables)
    {
        const LogScope log;
        for (const auto& [name, value] : in_variables) {
            const auto strName = name.cast<std::string>();
            if (!m_expression.setVariable(strName.c_str(), toVector(toValues(value))))
                throw Error("the formula has no variable '" + strName + "'");
        }
        LimitedObjPtr<Math::DoubleVector> pResult;
        bool bEvaluated = false;
        {
            const py::gil_scoped_release leavesPython;
            bEvaluated = m_expression.evaluate(pResult);
        }
        const std::string strReason = log.errors();
        if (!strReason.empty()) // also without a failure: some features say only there that their values mean nothing
            throw Error(strReason);
        if (!bEvaluated)
            throw Error("the formula cannot be evaluated for these values");
        return toArray(Math::DoubleVector(*pResult));
    }

    void reset() { m_expression.reset(); }
    std::string getText() const { return m_expression.getText(); }
    std::vector<std::string> getVariables() const { return m_expression.getVariableNames(); }
    std::vector<std::string> getParameterNames() const { return m_expression.getParameterNames(); }
    const Parameters& getParameters() const { return m_vParameters; }

private:
    // Numbers are vectors of one value.
    static Array toValues(const py::handle& in_value)
    {
        if (PyFloat_Check(in_value.ptr()) || PyLong_Check(in_value.ptr())) {
            Math::DoubleVector vOne{in_value.cast<double>()};
            return toArray(std::move(vOne));
        }
        const auto values = Array::ensure(in_value);
        if (!values)
            throw py::error_already_set();
        return values;
    }

    Math::Xpr::Expression m_expression;
    Parameters m_vParameters;
};

} // namespace

void addExpressions(py::module_& inout_module)
{
    py::class_<Expression>(inout_module, "Expression",
                           R"(A formula over arrays, such as Expression("flatness(spectrum(x)) < 0.2").

parameters: what functions are configured with, such as {"frequencyHz": 1000}, where the formula does not say it itself.
Values are arrays of one dimension; numbers count as one value. Functions may remember what they saw: reset() makes them
forget. One thread uses an expression at a time. Pickled by its text and parameters.
Errors: Error, which tells what is wrong with a formula, what was expected, and where.)")
        .def(py::init<const std::string&, const Parameters&>(), py::arg("formula"),
             py::arg("parameters") = Parameters())
        .def("__call__", &Expression::evaluate, "The formula's value (array) for variables given by name: e(x=window).")
        .def("evaluate", &Expression::evaluate, "The same as calling it.")
        .def("reset", &Expression::reset, "Makes the functions forget what they saw.")
        .def_property_readonly("text", &Expression::getText, "The formula as text that means the same.")
        .def_property_readonly("variables", &Expression::getVariables, "In the order in which they first occur.")
        .def_property_readonly("parameter_names", &Expression::getParameterNames,
                               "What the functions that occur are configured by.")
        .def("__str__", &Expression::getText)
        .def("__repr__",
             [](const Expression& in_expression) {
                 return "corvana.Expression(" + py::repr(py::str(in_expression.getText())).cast<std::string>() + ")";
             })
        .def(py::pickle(
            [](const Expression& in_expression) {
                return py::make_tuple(in_expression.getText(), in_expression.getParameters());
            },
            [](const py::tuple& in_state) {
                return Expression(in_state[0].cast<std::string>(), in_state[1].cast<Parameters>());
            }));
}

} // namespace Corvana::Python
