// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Messages.h"

#include <pybind11/pybind11.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Corvana::Python {

/// Becomes corvana.Error.
class Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What the command would tell people, kept to become exceptions and warnings.
class CollectedMessages : public Tools::Messages
{
public:
    CollectedMessages();

    void error(const std::string& in_strText) override { addLine(m_strErrors, in_strText); }
    void inputError(const std::string& in_strInput, const std::string& in_strReason) override;
    void warning(const std::string& in_strText) override { m_vWarnings.push_back(in_strText); }
    void inputWarning(const std::string& in_strInput, const std::string& in_strText) override;
    void note(const std::string&) override {}
    void plain(const std::string&) override {}

    const std::string& getErrors() const { return m_strErrors; }
    /// As warnings of Python, which filters may turn into exceptions. With Python held.
    void showWarnings();

private:
    static void addLine(std::string& inout_strText, const std::string& in_strLine);

    std::ostringstream m_unused;
    std::string m_strErrors;
    std::vector<std::string> m_vWarnings;
};

void addFeatures(pybind11::module_& inout_module);
void addAudio(pybind11::module_& inout_module);
void addExpressions(pybind11::module_& inout_module);
void addAnnotations(pybind11::module_& inout_module);

} // namespace Corvana::Python
