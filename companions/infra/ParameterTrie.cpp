// SPDX-License-Identifier: Apache-2.0
#include "corvana/ParameterTrie.h"

#include "corvana/NumberText.h"

#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

namespace Corvana {
namespace {

// A double that holds a whole number of the target type's range; the bounds are exact powers of two.
bool toWhole(double in_dValue, std::int32_t& out_iValue)
{
    if (!(in_dValue >= -0x1p31 && in_dValue < 0x1p31) || in_dValue != std::trunc(in_dValue))
        return false;
    out_iValue = static_cast<std::int32_t>(in_dValue);
    return true;
}

bool toWhole(double in_dValue, unsigned long& out_uiValue)
{
    if (!(in_dValue >= 0.0 && in_dValue < 0x1p64) || std::signbit(in_dValue) || in_dValue != std::trunc(in_dValue))
        return false;
    out_uiValue = static_cast<unsigned long>(in_dValue);
    return true;
}

} // namespace

// Texts are copied before the variant is touched: libstdc++ 12 takes a variant whose copying throws for one that holds
// something.
ParameterValue::ParameterValue(const ParameterValue& in_other)
{
    if (const auto* pText = std::get_if<std::string>(&in_other.m_value))
        m_value = std::string(*pText);
    else if (const auto* pWhole = std::get_if<long>(&in_other.m_value))
        m_value = *pWhole;
    else if (const auto* pReal = std::get_if<double>(&in_other.m_value))
        m_value = *pReal;
}

ParameterValue& ParameterValue::operator=(const ParameterValue& in_other)
{
    ParameterValue copy(in_other);
    *this = std::move(copy);
    return *this;
}

ParameterValue::ParameterValue(long in_iValue)
    : m_value(in_iValue)
{
}

ParameterValue::ParameterValue(double in_dValue)
    : m_value(in_dValue)
{
}

ParameterValue::ParameterValue(const char* in_szValue)
{
    if (in_szValue != nullptr)
        m_value = std::string(in_szValue);
}

bool ParameterValue::isString() const
{
    return std::holds_alternative<std::string>(m_value);
}

bool ParameterValue::isNumber() const
{
    return std::holds_alternative<long>(m_value) || std::holds_alternative<double>(m_value);
}

void ParameterValue::deallocateString()
{
    if (isString())
        m_value = std::monostate();
}

bool ParameterValue::convertTo(std::int32_t& out_iValue) const
{
    long iValue = 0;
    if (const auto* pText = std::get_if<std::string>(&m_value)) {
        if (!parseNumber(*pText, iValue))
            return false;
    } else if (const auto* pWhole = std::get_if<long>(&m_value)) {
        iValue = *pWhole;
    } else if (const auto* pReal = std::get_if<double>(&m_value)) {
        return toWhole(*pReal, out_iValue);
    } else {
        return false;
    }
    if (iValue < std::numeric_limits<std::int32_t>::min() || iValue > std::numeric_limits<std::int32_t>::max())
        return false;
    out_iValue = static_cast<std::int32_t>(iValue);
    return true;
}

bool ParameterValue::convertTo(unsigned long& out_uiValue) const
{
    if (const auto* pText = std::get_if<std::string>(&m_value))
        return parseNumber(*pText, out_uiValue);
    if (const auto* pReal = std::get_if<double>(&m_value))
        return toWhole(*pReal, out_uiValue);
    const auto* pWhole = std::get_if<long>(&m_value);
    if (pWhole == nullptr || *pWhole < 0)
        return false;
    out_uiValue = static_cast<unsigned long>(*pWhole);
    return true;
}

bool ParameterValue::convertTo(double& out_dValue) const
{
    if (const auto* pText = std::get_if<std::string>(&m_value))
        return parseNumber(*pText, out_dValue);
    if (const auto* pWhole = std::get_if<long>(&m_value))
        out_dValue = static_cast<double>(*pWhole);
    else if (const auto* pReal = std::get_if<double>(&m_value))
        out_dValue = *pReal;
    else
        return false;
    return true;
}

bool ParameterValue::convertTo(std::string& out_strValue) const
{
    if (const auto* pText = std::get_if<std::string>(&m_value))
        out_strValue = *pText;
    else if (const auto* pWhole = std::get_if<long>(&m_value))
        out_strValue = std::to_string(*pWhole);
    else if (const auto* pReal = std::get_if<double>(&m_value))
        out_strValue = toShortestText(*pReal);
    else
        return false;
    return true;
}

bool ParameterTrie::insert(const char* in_szName, const ParameterValue& in_value)
{
    return m_values.insert_or_assign(in_szName, in_value).second;
}

const ParameterValue* ParameterTrie::find(const char* in_szName) const
{
    const auto it = m_values.find(std::string_view(in_szName));
    return it == m_values.end() ? nullptr : &it->second;
}

} // namespace Corvana
