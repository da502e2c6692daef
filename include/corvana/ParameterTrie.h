// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <variant>

namespace Corvana {

/// The value of a configuration parameter: a text, a number, or nothing. A value type.
class CORVANA_API ParameterValue
{
public:
    ParameterValue() = default;
    ~ParameterValue() = default;
    ParameterValue(const ParameterValue& in_other);
    ParameterValue(ParameterValue&&) noexcept = default;
    ParameterValue& operator=(const ParameterValue& in_other);
    ParameterValue& operator=(ParameterValue&&) noexcept = default;
    explicit ParameterValue(long in_iValue);
    explicit ParameterValue(double in_dValue);
    /// Copies the text; null gives an empty value.
    explicit ParameterValue(const char* in_szValue);

    bool isString() const;
    bool isNumber() const;

    /// Gives the text's memory back; a text is then nothing, a number stays.
    void deallocateString();

    /// Typed reading by the rules of ROConfiguration: false, with out untouched, when the value does not convert.
    bool convertTo(std::int32_t& out_iValue) const;
    bool convertTo(unsigned long& out_uiValue) const;
    bool convertTo(double& out_dValue) const;
    bool convertTo(std::string& out_strValue) const;

private:
    std::variant<std::monostate, std::string, long, double> m_value;
};

/// Named parameter values, ordered by name.
class CORVANA_API ParameterTrie
{
public:
    /// False: the name was already there and its value is replaced.
    bool insert(const char* in_szName, const ParameterValue& in_value);
    /// Null: absent. The pointer holds until the name is inserted again or the trie is destroyed.
    const ParameterValue* find(const char* in_szName) const;

private:
    std::map<std::string, ParameterValue, std::less<>> m_values;
};

} // namespace Corvana
