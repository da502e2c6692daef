// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

#include <cstdint>
#include <string>

namespace Corvana {

/// Read-only, typed key/value configuration. Keys are case sensitive.
/// A lookup returns true and sets the variable when the key is present and its value converts; otherwise false, with
/// the variable as it was. hasKey() tells an absent key from a value that does not convert.
/// A text converts when all of it does (blanks around it are skipped); a number becomes the shortest text that
/// reads back to it. An unsigned number refuses any sign, fraction and overflow.
class CORVANA_API ROConfiguration : public virtual Object
{
public:
    ~ROConfiguration() override;

    virtual bool hasKey(const char* in_szKey) const = 0;
    virtual bool getValue(const char* in_szKey, std::int32_t& out_iValue) const = 0;
    virtual bool getValue(const char* in_szKey, unsigned long& out_uiValue) const = 0;
    virtual bool getValue(const char* in_szKey, double& out_dValue) const = 0;
    virtual bool getValue(const char* in_szKey, std::string& out_strValue) const = 0;
};

} // namespace Corvana
