// SPDX-License-Identifier: Apache-2.0
#include "corvana/TrieConfiguration.h"

#include <utility>

namespace Corvana {

ROConfiguration::~ROConfiguration() = default;

TrieConfiguration::TrieConfiguration(ParameterTrie in_trie)
    : m_trie(std::move(in_trie))
{
}

TrieConfiguration::~TrieConfiguration() = default;

template <class ValueT>
bool TrieConfiguration::convert(const char* in_szKey, ValueT& out_value) const
{
    const ParameterValue* pValue = m_trie.find(in_szKey);
    return pValue != nullptr && pValue->convertTo(out_value);
}

bool TrieConfiguration::hasKey(const char* in_szKey) const
{
    return m_trie.find(in_szKey) != nullptr;
}

bool TrieConfiguration::getValue(const char* in_szKey, std::int32_t& out_iValue) const
{
    return convert(in_szKey, out_iValue);
}

bool TrieConfiguration::getValue(const char* in_szKey, unsigned long& out_uiValue) const
{
    return convert(in_szKey, out_uiValue);
}

bool TrieConfiguration::getValue(const char* in_szKey, double& out_dValue) const
{
    return convert(in_szKey, out_dValue);
}

bool TrieConfiguration::getValue(const char* in_szKey, std::string& out_strValue) const
{
    return convert(in_szKey, out_strValue);
}

PrefixedConfiguration::PrefixedConfiguration(const ROConfiguration& in_base, std::string in_strPrefix,
                                             const ParameterTrie& in_overrides)
    : m_base(in_base)
    , m_strPrefix(std::move(in_strPrefix))
    , m_overrides(in_overrides)
{
}

PrefixedConfiguration::~PrefixedConfiguration() = default;

template <class ValueT>
bool PrefixedConfiguration::lookUp(const char* in_szKey, ValueT& out_value) const
{
    if (const ParameterValue* pValue = m_overrides.find(in_szKey))
        return pValue->convertTo(out_value);
    const std::string strPrefixedKey = m_strPrefix + in_szKey;
    if (m_base.hasKey(strPrefixedKey.c_str()))
        return m_base.getValue(strPrefixedKey.c_str(), out_value);
    return m_base.getValue(in_szKey, out_value);
}

bool PrefixedConfiguration::hasKey(const char* in_szKey) const
{
    return m_overrides.find(in_szKey) != nullptr || m_base.hasKey((m_strPrefix + in_szKey).c_str()) ||
           m_base.hasKey(in_szKey);
}

bool PrefixedConfiguration::getValue(const char* in_szKey, std::int32_t& out_iValue) const
{
    return lookUp(in_szKey, out_iValue);
}

bool PrefixedConfiguration::getValue(const char* in_szKey, unsigned long& out_uiValue) const
{
    return lookUp(in_szKey, out_uiValue);
}

bool PrefixedConfiguration::getValue(const char* in_szKey, double& out_dValue) const
{
    return lookUp(in_szKey, out_dValue);
}

bool PrefixedConfiguration::getValue(const char* in_szKey, std::string& out_strValue) const
{
    return lookUp(in_szKey, out_strValue);
}

} // namespace Corvana
