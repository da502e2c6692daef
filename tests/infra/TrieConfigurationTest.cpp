// SPDX-License-Identifier: Apache-2.0
#include "corvana/TrieConfiguration.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

using Corvana::ParameterTrie;
using Corvana::ParameterValue;
using Corvana::PrefixedConfiguration;
using Corvana::ROConfiguration;
using Corvana::TrieConfiguration;

namespace {

ParameterTrie trieWith(const char* in_szKey, const ParameterValue& in_value)
{
    ParameterTrie trie;
    trie.insert(in_szKey, in_value);
    return trie;
}

// The text of a key, or how the lookup ended.
std::string lookedUp(const ROConfiguration& in_config, const char* in_szKey)
{
    std::string strValue = "former";
    const bool bFound = in_config.getValue(in_szKey, strValue);
    EXPECT_EQ(bFound, strValue != "former");
    return bFound ? strValue : (in_config.hasKey(in_szKey) ? "invalid" : "absent");
}

} // namespace

TEST(TrieConfiguration, FindsNothingWhenEmpty)
{
    const TrieConfiguration config;
    std::int32_t iValue = 1;
    unsigned long uiValue = 2;
    double dValue = 3.0;
    std::string strValue = "former";

    EXPECT_FALSE(config.hasKey("signalfeature.SampleRate"));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", iValue));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", uiValue));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", dValue));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", strValue));

    EXPECT_EQ(1, iValue);
    EXPECT_EQ(2u, uiValue);
    EXPECT_EQ(3.0, dValue);
    EXPECT_EQ("former", strValue);
}

TEST(TrieConfiguration, LooksUpEveryType)
{
    const TrieConfiguration config(trieWith("signalfeature.SampleRate", ParameterValue("8000")));
    std::int32_t iValue = 0;
    unsigned long uiValue = 0;
    double dValue = 0.0;
    std::string strValue;

    EXPECT_TRUE(config.hasKey("signalfeature.SampleRate"));
    EXPECT_TRUE(config.getValue("signalfeature.SampleRate", iValue));
    EXPECT_TRUE(config.getValue("signalfeature.SampleRate", uiValue));
    EXPECT_TRUE(config.getValue("signalfeature.SampleRate", dValue));
    EXPECT_TRUE(config.getValue("signalfeature.SampleRate", strValue));

    EXPECT_EQ(8000, iValue);
    EXPECT_EQ(8000u, uiValue);
    EXPECT_EQ(8000.0, dValue);
    EXPECT_EQ("8000", strValue);
}

TEST(TrieConfiguration, HasAKeyWhoseValueDoesNotConvert)
{
    const TrieConfiguration config(trieWith("signalfeature.SampleRate", ParameterValue("fast")));
    std::int32_t iValue = 1;
    unsigned long uiValue = 2;
    double dValue = 3.0;

    EXPECT_TRUE(config.hasKey("signalfeature.SampleRate"));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", iValue));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", uiValue));
    EXPECT_FALSE(config.getValue("signalfeature.SampleRate", dValue));

    EXPECT_EQ(1, iValue);
    EXPECT_EQ(2u, uiValue);
    EXPECT_EQ(3.0, dValue);
}

TEST(TrieConfiguration, HasAKeyWithoutAValue)
{
    const TrieConfiguration config(trieWith("widthHz", ParameterValue()));

    EXPECT_EQ("invalid", lookedUp(config, "widthHz"));
}

TEST(TrieConfiguration, TellsSmallLettersFromCapitals)
{
    const TrieConfiguration config(trieWith("widthHz", ParameterValue("100")));

    EXPECT_EQ("absent", lookedUp(config, "widthhz"));
}

TEST(TrieConfiguration, HoldsItsOwnValues)
{
    ParameterTrie trie = trieWith("widthHz", ParameterValue("100"));
    const TrieConfiguration config(trie);

    trie.insert("widthHz", ParameterValue("200"));

    EXPECT_EQ("100", lookedUp(config, "widthHz"));
}

TEST(PrefixedConfiguration, LooksAmongTheOverridesThenBehindThePrefixThenForTheKeyItself)
{
    ParameterTrie trie = trieWith("widthHz", ParameterValue("plain"));
    const TrieConfiguration plain(trie);
    trie.insert("spectralrange.widthHz", ParameterValue("prefixed"));
    const TrieConfiguration both(trie);
    const ParameterTrie none;
    const ParameterTrie overrides = trieWith("widthHz", ParameterValue("override"));

    EXPECT_EQ("override", lookedUp(PrefixedConfiguration(both, "spectralrange.", overrides), "widthHz"));
    EXPECT_EQ("prefixed", lookedUp(PrefixedConfiguration(both, "spectralrange.", none), "widthHz"));
    EXPECT_EQ("plain", lookedUp(PrefixedConfiguration(plain, "spectralrange.", none), "widthHz"));
    EXPECT_EQ("absent", lookedUp(PrefixedConfiguration(both, "spectralrange.", none), "frequencyHz"));
}

TEST(PrefixedConfiguration, HasAKeyThatOnlyStandsBehindThePrefix)
{
    const TrieConfiguration base(trieWith("spectralrange.widthHz", ParameterValue("prefixed")));
    const ParameterTrie none;
    const PrefixedConfiguration config(base, "spectralrange.", none);

    EXPECT_TRUE(config.hasKey("widthHz"));
    EXPECT_FALSE(config.hasKey("frequencyHz"));
}

TEST(PrefixedConfiguration, HasAKeyThatOnlyTheOverridesHold)
{
    const TrieConfiguration base;
    const ParameterTrie overrides = trieWith("widthHz", ParameterValue("override"));

    EXPECT_TRUE(PrefixedConfiguration(base, "spectralrange.", overrides).hasKey("widthHz"));
}

TEST(PrefixedConfiguration, StopsAtTheFirstPlaceThatHasTheKeyAlsoWhenItsValueDoesNotConvert)
{
    ParameterTrie trie = trieWith("widthHz", ParameterValue(100L));
    trie.insert("spectralrange.widthHz", ParameterValue("wide"));
    const TrieConfiguration base(trie);
    const ParameterTrie none;
    const ParameterTrie overrides = trieWith("widthHz", ParameterValue("narrow"));
    unsigned long uiValue = 42;

    EXPECT_FALSE(PrefixedConfiguration(base, "spectralrange.", none).getValue("widthHz", uiValue));
    EXPECT_FALSE(PrefixedConfiguration(base, "", overrides).getValue("widthHz", uiValue));

    EXPECT_EQ(42u, uiValue);
}

TEST(PrefixedConfiguration, LooksUpEveryType)
{
    const TrieConfiguration base(trieWith("spectralrange.widthHz", ParameterValue(100L)));
    const ParameterTrie none;
    const PrefixedConfiguration config(base, "spectralrange.", none);
    std::int32_t iValue = 0;
    unsigned long uiValue = 0;
    double dValue = 0.0;

    EXPECT_TRUE(config.getValue("widthHz", iValue));
    EXPECT_TRUE(config.getValue("widthHz", uiValue));
    EXPECT_TRUE(config.getValue("widthHz", dValue));

    EXPECT_EQ(100, iValue);
    EXPECT_EQ(100u, uiValue);
    EXPECT_EQ(100.0, dValue);
    EXPECT_EQ("100", lookedUp(config, "widthHz"));
}

TEST(PrefixedConfiguration, CanStandOnAnother)
{
    const TrieConfiguration base(trieWith("outer.inner.widthHz", ParameterValue("deep")));
    const ParameterTrie none;
    const PrefixedConfiguration outer(base, "outer.", none);

    EXPECT_EQ("deep", lookedUp(PrefixedConfiguration(outer, "inner.", none), "widthHz"));
}
