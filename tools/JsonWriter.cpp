// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

std::string hexOf(const std::string& in_strBytes)
{
    constexpr std::string_view strDigits = "0123456789abcdef";
    std::string strHex;
    strHex.reserve(2 * in_strBytes.size());
    for (const char cByte : in_strBytes) {
        strHex += strDigits[static_cast<unsigned char>(cByte) >> 4U];
        strHex += strDigits[static_cast<unsigned char>(cByte) & 0xFU];
    }
    return strHex;
}

// Of a number or a text, which go without memory.
std::string inJson(const json& in_value)
{
    return in_value.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace

void JsonWriter::separate()
{
    if (m_strText.back() != '{' && m_strText.back() != '[')
        m_strText += ',';
}

void JsonWriter::putKey(const std::string& in_strKey)
{
    separate();
    m_strText.append("\"").append(in_strKey).append("\":");
}

void JsonWriter::putNumber(const char* in_szKey, std::uint64_t in_uiValue)
{
    putKey(in_szKey);
    m_strText += std::to_string(in_uiValue);
}

void JsonWriter::putAmount(const char* in_szKey, double in_dValue)
{
    putKey(in_szKey);
    m_strText += inJson(in_dValue);
}

void JsonWriter::putFlag(const char* in_szKey, bool in_bValue)
{
    putKey(in_szKey);
    m_strText += in_bValue ? "true" : "false";
}

void JsonWriter::putNull(const char* in_szKey)
{
    putKey(in_szKey);
    m_strText += "null";
}

void JsonWriter::putText(const std::string& in_strKey, const std::string& in_strText)
{
    const std::string strInJson = inJson(in_strText);
    putKey(in_strKey);
    m_strText += strInJson;
    // Most texts have nothing that could stand for another byte.
    if (strInJson.find("\uFFFD") != std::string::npos && json::parse(strInJson).get<std::string>() != in_strText) {
        putKey(in_strKey + "_hex");
        m_strText.append("\"").append(hexOf(in_strText)).append("\"");
    }
}

void JsonWriter::begin(char in_cOpening, char in_cClosing)
{
    m_strEnds += in_cClosing;
    m_strText += in_cOpening;
}

void JsonWriter::beginObject(const char* in_szKey)
{
    putKey(in_szKey);
    begin('{', '}');
}

void JsonWriter::beginArray(const char* in_szKey)
{
    putKey(in_szKey);
    begin('[', ']');
}

void JsonWriter::beginItem()
{
    separate();
    begin('{', '}');
}

void JsonWriter::end()
{
    m_strText += m_strEnds.back();
    m_strEnds.pop_back();
}

void JsonWriter::putItem(const std::string& in_strText)
{
    separate();
    m_strText += inJson(in_strText);
}

} // namespace Corvana::Tools
