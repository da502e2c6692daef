// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/ParameterTrie.h"
#include "corvana/ROConfiguration.h"

#include <string>

namespace Corvana {

/// A configuration that holds its values itself.
class CORVANA_API TrieConfiguration : public ROConfiguration
{
public:
    explicit TrieConfiguration(ParameterTrie in_trie = {});
    ~TrieConfiguration() override;

    bool hasKey(const char* in_szKey) const override;
    bool getValue(const char* in_szKey, std::int32_t& out_iValue) const override;
    bool getValue(const char* in_szKey, unsigned long& out_uiValue) const override;
    bool getValue(const char* in_szKey, double& out_dValue) const override;
    bool getValue(const char* in_szKey, std::string& out_strValue) const override;

private:
    template <class ValueT>
    bool convert(const char* in_szKey, ValueT& out_value) const;

    ParameterTrie m_trie;
};

/// A view of another configuration in which a key is looked for in this order: among the overrides, behind the prefix,
/// as it stands. The first place that has the key decides, whether its value converts or not.
class CORVANA_API PrefixedConfiguration : public ROConfiguration
{
public:
    /// in_base and in_overrides must outlive the view.
    PrefixedConfiguration(const ROConfiguration& in_base, std::string in_strPrefix, const ParameterTrie& in_overrides);
    ~PrefixedConfiguration() override;

    bool hasKey(const char* in_szKey) const override;
    bool getValue(const char* in_szKey, std::int32_t& out_iValue) const override;
    bool getValue(const char* in_szKey, unsigned long& out_uiValue) const override;
    bool getValue(const char* in_szKey, double& out_dValue) const override;
    bool getValue(const char* in_szKey, std::string& out_strValue) const override;

private:
    template <class ValueT>
    bool lookUp(const char* in_szKey, ValueT& out_value) const;

    const ROConfiguration& m_base;
    std::string m_strPrefix;
    const ParameterTrie& m_overrides;
};

} // namespace Corvana
