// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <exception>
#include <string>

namespace Corvana {

class Logger;
class ROConfiguration;

/// Reads the parameters of one configure() operation and reports, at error level through that object's logger, what
/// is missing or unusable, in the words that all features share:
/// "Could not find parameter " key " in configuration", "Invalid value in parameter " key, and
/// "Unexpected std::exception " text " caught in configure() with " key " in provided config".
/// No exception leaves it. A read that fails returns false and leaves the variable alone.
class CORVANA_API ConfigurationReader
{
public:
    /// A key is looked for as it stands and, when it is absent, behind the prefix; messages name the plain key.
    /// in_szMissingBefore and in_szMissingBehind replace the words around a missing key. All must outlive the reader.
    ConfigurationReader(const ROConfiguration& in_config, const Logger& in_logger, const char* in_szPrefix = "",
                        const char* in_szMissingBefore = "Could not find parameter ",
                        const char* in_szMissingBehind = " in configuration");

    bool read(const char* in_szKey, unsigned long& out_uiValue) const;
    bool read(const char* in_szKey, std::string& out_strValue) const;
    /// Zero counts as an invalid value.
    bool readPositive(const char* in_szKey, unsigned long& out_uiValue) const;
    /// A whole number from 1 to 2^31 - 1.
    bool readPositive32(const char* in_szKey, unsigned long& out_uiValue) const;

    /// Does what is left to do with the value of a key, and returns what it returns; false when it throws.
    template <class ActionT>
    bool guard(const char* in_szKey, ActionT in_action) const
    {
        try {
            return in_action();
        } catch (const std::exception& exception) {
            reportException(exception.what(), in_szKey);
        } catch (...) {
            reportException("of an unknown kind", in_szKey);
        }
        return false;
    }

private:
    void reportException(const char* in_szText, const char* in_szKey) const noexcept;
    template <class ValueT, class AcceptT>
    bool readIf(const char* in_szKey, ValueT& out_value, AcceptT in_accept) const;

    const ROConfiguration& m_config;
    const Logger& m_logger;
    const char* m_szPrefix;
    const char* m_szMissingBefore;
    const char* m_szMissingBehind;
};

} // namespace Corvana
