// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace Corvana::Tools {

/// Reads values from an object that anyone may have written. What is missing or of another type is a fault, and gives a
/// zero or an empty text; the first fault is kept.
class JsonFields
{
public:
    /// The object must stay where it is. One that is none is a fault.
    explicit JsonFields(const nlohmann::json& in_object);

    bool has(const char* in_szKey) const;
    /// Whether it is there, and null.
    bool isNull(const char* in_szKey) const;
    /// A whole number from 0 to the given one.
    std::uint64_t getNumber(const char* in_szKey, std::uint64_t in_uiMax);
    /// A number, not below 0.
    double getAmount(const char* in_szKey);
    bool getFlag(const char* in_szKey);
    /// As JsonWriter::putText() writes it.
    std::string getText(const std::string& in_strKey);
    /// A Checksum's value.
    std::uint64_t getChecksum(const char* in_szKey);
    const nlohmann::json& getArray(const char* in_szKey);
    const nlohmann::json& getObject(const char* in_szKey);

    void setFault(const std::string& in_strFault);
    /// What is wrong, such as "'rows' is no whole number from 0 to 9"; empty for nothing.
    const std::string& getFault() const { return m_strFault; }

private:
    const nlohmann::json* find(const std::string& in_strKey) const;

    const nlohmann::json& m_object;
    std::string m_strFault;
};

} // namespace Corvana::Tools
