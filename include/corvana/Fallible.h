// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/SourcePosition.h"

#include <utility>

namespace Corvana {

/// The validity flag of a Fallible.
class CORVANA_API FallibleBase
{
public:
    bool isValid() const { return m_bValid; }

    /// Reports, as the non-fatal assertion "isValid()", that a value was read which is not there.
    static void assertUsedInInvalidStateErr(const char* in_szFile, int in_iLine);

protected:
    explicit FallibleBase(bool in_bValid)
        : m_bValid(in_bValid)
    {
    }

    /// Where the misuse is reported: operators' log rules rely on it.
    static constexpr SourcePosition s_usedInInvalidState{"Fallible", 94};

private:
    bool m_bValid;
};

/// A value or nothing, as the parsers of names return it. Test isValid() before reading: an invalid one yields a
/// default value after reporting the misuse.
template <class T>
class Fallible : public FallibleBase
{
public:
    Fallible()
        : FallibleBase(false)
    {
    }
    Fallible(T in_value) // NOLINT(google-explicit-constructor): a value is a result
        : FallibleBase(true)
        , m_value(std::move(in_value))
    {
    }

    const T& getValue() const
    {
        if (!isValid())
            assertUsedInInvalidStateErr(s_usedInInvalidState.m_szFile, s_usedInInvalidState.m_iLine);
        return m_value;
    }

private:
    T m_value{};
};

} // namespace Corvana
