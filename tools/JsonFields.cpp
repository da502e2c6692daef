// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonFields.h"

#include "tools/Checksum.h"

#include <string_view>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

constexpr std::string_view s_strDigits = "0123456789abcdef";

bool parseHex(const std::string& in_strHex, std::string& out_strBytes)
{
    if (in_strHex.size() % 2 != 0 || in_strHex.find_first_not_of(s_strDigits) != std::string::npos)
        return false;
    out_strBytes.clear();
    for (std::size_t uiByte = 0; uiByte < in_strHex.size(); uiByte += 2)
        out_strBytes +=
            static_cast<char>(s_strDigits.find(in_strHex[uiByte]) << 4U | s_strDigits.find(in_strHex[uiByte + 1]));
    return true;
}

const json& none()
{
    static const json s_none;
    return s_none;
}

} // namespace

JsonFields::JsonFields(const json& in_object)
    : m_object(in_object)
{
    if (!in_object.is_object())
        setFault("is no JSON object");
}

void JsonFields::setFault(const std::string& in_strFault)
{
    if (m_strFault.empty())
        m_strFault = in_strFault;
}

const json* JsonFields::find(const std::string& in_strKey) const
{
    if (!m_object.is_object())
        return nullptr;
    const auto itValue = m_object.find(in_strKey);
    return itValue == m_object.end() ? nullptr : &*itValue;
}

bool JsonFields::has(const char* in_szKey) const
{
    return find(in_szKey) != nullptr;
}

bool JsonFields::isNull(const char* in_szKey) const
{
    return has(in_szKey) && find(in_szKey)->is_null();
}

std::uint64_t JsonFields::getNumber(const char* in_szKey, std::uint64_t in_uiMax)
{
    const json* pValue = find(in_szKey);
    if (pValue != nullptr && pValue->is_number_unsigned() && pValue->get<std::uint64_t>() <= in_uiMax)
        return pValue->get<std::uint64_t>();
    setFault("'" + std::string(in_szKey) + "' is no whole number from 0 to " + std::to_string(in_uiMax));
    return 0;
}

double JsonFields::getAmount(const char* in_szKey)
{
    const json* pValue = find(in_szKey);
    const double dValue = pValue != nullptr && pValue->is_number() ? pValue->get<double>() : -1.0;
    if (dValue >= 0.0) // JSON has no infinities
        return dValue;
    setFault("'" + std::string(in_szKey) + "' is no number from 0 on");
    return 0.0;
}

bool JsonFields::getFlag(const char* in_szKey)
{
    const json* pValue = find(in_szKey);
    if (pValue != nullptr && pValue->is_boolean())
        return pValue->get<bool>();
    setFault("'" + std::string(in_szKey) + "' is neither true nor false");
    return false;
}

std::string JsonFields::getText(const std::string& in_strKey)
{
    const json* pText = find(in_strKey);
    if (pText == nullptr || !pText->is_string()) {
        setFault("'" + in_strKey + "' is no text");
        return {};
    }
    const json* pHex = find(in_strKey + "_hex");
    if (pHex == nullptr)
        return pText->get<std::string>();
    std::string strBytes;
    if (!pHex->is_string() || !parseHex(pHex->get<std::string>(), strBytes))
        setFault("'" + in_strKey + "_hex' is no text of hexadecimal digits");
    return strBytes;
}

std::uint64_t JsonFields::getChecksum(const char* in_szKey)
{
    const json* pText = find(in_szKey);
    std::uint64_t uiValue = 0;
    if (pText == nullptr || !pText->is_string() || !Checksum::parse(pText->get<std::string>(), uiValue))
        setFault("'" + std::string(in_szKey) + "' is no checksum of 8 hexadecimal digits");
    return uiValue;
}

const json& JsonFields::getArray(const char* in_szKey)
{
    const json* pValue = find(in_szKey);
    if (pValue != nullptr && pValue->is_array())
        return *pValue;
    setFault("'" + std::string(in_szKey) + "' is no array");
    return none();
}

const json& JsonFields::getObject(const char* in_szKey)
{
    const json* pValue = find(in_szKey);
    if (pValue != nullptr && pValue->is_object())
        return *pValue;
    setFault("'" + std::string(in_szKey) + "' is no object");
    return none();
}

} // namespace Corvana::Tools
