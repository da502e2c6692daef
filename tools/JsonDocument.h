// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace Corvana::Tools {

/// JSON that anyone may have written. Unlike the library's own values, which take memory to be destroyed and end the
/// program when there is none, it can be destroyed without.
class JsonDocument
{
public:
    JsonDocument() = default;
    ~JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    /// Once. False, with the fault: it is no JSON, or nested deeper than anything that corvana writes.
    bool parse(std::string_view in_strText);
    const nlohmann::json& get() const { return m_root; }
    /// Such as "is no JSON".
    const char* getFault() const { return m_szFault; }

private:
    nlohmann::json m_root;
    const char* m_szFault = "";
};

} // namespace Corvana::Tools
