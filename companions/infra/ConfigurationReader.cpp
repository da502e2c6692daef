// SPDX-License-Identifier: Apache-2.0
#include "corvana/ConfigurationReader.h"

#include "corvana/Logger.h"
#include "corvana/ROConfiguration.h"

#include <cstdint>
#include <utility>

namespace Corvana {

ConfigurationReader::ConfigurationReader(const ROConfiguration& in_config, const Logger& in_logger,
                                         const char* in_szPrefix, const char* in_szMissingBefore,
                                         const char* in_szMissingBehind)
    : m_config(in_config)
    , m_logger(in_logger)
    , m_szPrefix(in_szPrefix)
    , m_szMissingBefore(in_szMissingBefore)
    , m_szMissingBehind(in_szMissingBehind)
{
}

void ConfigurationReader::reportException(const char* in_szText, const char* in_szKey) const noexcept
try {
    CORVANA_LOG_ERROR(m_logger, "Unexpected std::exception " << in_szText << " caught in configure() with " << in_szKey
                                                             << " in provided config");
} catch (...) {
    // Without the memory for a message, the false result has to do.
}

template <class ValueT, class AcceptT>
bool ConfigurationReader::readIf(const char* in_szKey, ValueT& out_value, AcceptT in_accept) const
{
    return guard(in_szKey, [&] {
        std::string strKey = in_szKey;
        if (!m_config.hasKey(strKey.c_str()))
            strKey.insert(0, m_szPrefix);
        if (!m_config.hasKey(strKey.c_str())) {
            CORVANA_LOG_ERROR(m_logger, m_szMissingBefore << in_szKey << m_szMissingBehind);
            return false;
        }
        ValueT value{};
        if (!m_config.getValue(strKey.c_str(), value) || !in_accept(value)) {
            CORVANA_LOG_ERROR(m_logger, "Invalid value in parameter " << in_szKey);
            return false;
        }
        out_value = std::move(value);
        return true;
    });
}

bool ConfigurationReader::read(const char* in_szKey, unsigned long& out_uiValue) const
{
    return readIf(in_szKey, out_uiValue, [](unsigned long) { return true; });
}

bool ConfigurationReader::read(const char* in_szKey, std::string& out_strValue) const
{
    return readIf(in_szKey, out_strValue, [](const std::string&) { return true; });
}

bool ConfigurationReader::readPositive(const char* in_szKey, unsigned long& out_uiValue) const
{
    return readIf(in_szKey, out_uiValue, [](unsigned long in_uiValue) { return in_uiValue > 0; });
}

bool ConfigurationReader::readPositive32(const char* in_szKey, unsigned long& out_uiValue) const
{
    std::int32_t iValue = 0;
    if (!readIf(in_szKey, iValue, [](std::int32_t in_iValue) { return in_iValue > 0; }))
        return false;
    out_uiValue = static_cast<unsigned long>(iValue);
    return true;
}

} // namespace Corvana
