// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/ConfigurationReader.h"
#include "corvana/Logger.h"

#include <gmock/gmock.h>

#include <stdexcept>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.test.reader")

namespace Corvana {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

// The variable keeps this value when a read fails.
constexpr unsigned long s_uiBefore = 77;

void expectError(const LogCapture& in_log, const std::string& in_strText)
{
    ASSERT_THAT(in_log.texts(), ElementsAre(in_strText));
    EXPECT_EQ(40000, in_log.events().front().m_iLevel);
    EXPECT_EQ("kestrivon.test.reader", in_log.events().front().m_strLogger);
    EXPECT_EQ("ConfigurationReader", in_log.events().front().m_strFile);
}

TEST(ConfigurationReader, ReadsAWholeNumberInSilence)
{
    const TrieConfiguration config = configurationOf({{"size", "128"}, {"none", "0"}});
    const LogCapture log("kestrivon", 0);
    unsigned long uiValue = s_uiBefore;

    EXPECT_TRUE(ConfigurationReader(config, fileScopeLogger()).read("size", uiValue));
    EXPECT_EQ(128u, uiValue);
    EXPECT_TRUE(ConfigurationReader(config, fileScopeLogger()).read("none", uiValue));
    EXPECT_EQ(0u, uiValue);

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ConfigurationReader, GuardsWhatIsDoneWithAValue)
{
    const TrieConfiguration config = configurationOf({});
    const ConfigurationReader reader(config, fileScopeLogger());
    const LogCapture log("kestrivon.test");

    EXPECT_TRUE(reader.guard("list", [] { return true; }));
    EXPECT_FALSE(reader.guard("list", [] { return false; }));
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_FALSE(reader.guard("list", []() -> bool { throw std::length_error("too long"); }));

    expectError(log, "Unexpected std::exception too long caught in configure() with list in provided config");
}

TEST(ConfigurationReader, ReadsAText)
{
    const TrieConfiguration config = configurationOf({{"list", "440, 480"}, {"nothing", ""}});
    const ConfigurationReader reader(config, fileScopeLogger());
    std::string strValue = "before";

    EXPECT_TRUE(reader.read("list", strValue));
    EXPECT_EQ("440, 480", strValue);
    EXPECT_TRUE(reader.read("nothing", strValue));
    EXPECT_EQ("", strValue);
}

TEST(ConfigurationReader, ReportsAMissingKeyAndLeavesTheVariableAlone)
{
    const TrieConfiguration config = configurationOf({{"Size", "128"}});
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger()).read("size", uiValue));

    expectError(log, "Could not find parameter size in configuration");
    EXPECT_EQ(s_uiBefore, uiValue);
}

TEST(ConfigurationReader, ReportsAMissingKeyInOtherWordsWhenTold)
{
    const TrieConfiguration config;
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger(), "window.", "No ", " was given").read("size", uiValue));

    expectError(log, "No size was given");
}

TEST(ConfigurationReader, ReportsAnUnusableValueAndLeavesTheVariableAlone)
{
    for (const char* szValue : {"", "x", "-1", "+1", "1.0", "1 2", "18446744073709551616"}) {
        const TrieConfiguration config = configurationOf({{"size", szValue}});
        const LogCapture log("kestrivon.test");
        unsigned long uiValue = s_uiBefore;

        EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger()).read("size", uiValue)) << szValue;

        expectError(log, "Invalid value in parameter size");
        EXPECT_EQ(s_uiBefore, uiValue) << szValue;
    }
}

TEST(ConfigurationReader, TakesZeroForUnusableWhereANumberMustBePositive)
{
    const TrieConfiguration config = configurationOf({{"size", "0"}, {"one", "1"}});
    const ConfigurationReader reader(config, fileScopeLogger());
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(reader.readPositive("size", uiValue));

    expectError(log, "Invalid value in parameter size");
    EXPECT_EQ(s_uiBefore, uiValue);
    EXPECT_TRUE(reader.readPositive("one", uiValue));
    EXPECT_EQ(1u, uiValue);
}

TEST(ConfigurationReader, KeepsPositiveNumbersOf32BitsWithinTheirRange)
{
    const TrieConfiguration config = configurationOf(
        {{"least", "1"}, {"largest", "2147483647"}, {"zero", "0"}, {"negative", "-1"}, {"beyond", "2147483648"}});
    const ConfigurationReader reader(config, fileScopeLogger());
    unsigned long uiValue = s_uiBefore;

    for (const char* szKey : {"zero", "negative", "beyond"}) {
        const LogCapture log("kestrivon.test");

        EXPECT_FALSE(reader.readPositive32(szKey, uiValue)) << szKey;

        expectError(log, std::string("Invalid value in parameter ") + szKey);
        EXPECT_EQ(s_uiBefore, uiValue);
    }
    EXPECT_TRUE(reader.readPositive32("least", uiValue));
    EXPECT_EQ(1u, uiValue);
    EXPECT_TRUE(reader.readPositive32("largest", uiValue));
    EXPECT_EQ(2147483647u, uiValue);
}

TEST(ConfigurationReader, LooksBehindThePrefixForAnAbsentKey)
{
    const TrieConfiguration config = configurationOf({{"window.size", "128"}});
    unsigned long uiValue = s_uiBefore;

    EXPECT_TRUE(ConfigurationReader(config, fileScopeLogger(), "window.").read("size", uiValue));

    EXPECT_EQ(128u, uiValue);
}

TEST(ConfigurationReader, PrefersTheKeyAsItStands)
{
    const TrieConfiguration config = configurationOf({{"window.size", "128"}, {"size", "64"}});
    unsigned long uiValue = s_uiBefore;

    EXPECT_TRUE(ConfigurationReader(config, fileScopeLogger(), "window.").read("size", uiValue));

    EXPECT_EQ(64u, uiValue);
}

TEST(ConfigurationReader, NamesThePlainKeyOfAnUnusableValueBehindThePrefix)
{
    const TrieConfiguration config = configurationOf({{"window.size", "x"}});
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger(), "window.").read("size", uiValue));

    expectError(log, "Invalid value in parameter size");
}

TEST(ConfigurationReader, ReportsAnExceptionWithItsTextAndTheKey)
{
    const ThrowingConfiguration config(ThrowingConfiguration::At::GET_VALUE);
    const ConfigurationReader reader(config, fileScopeLogger());
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;
    std::string strValue = "before";

    EXPECT_FALSE(reader.read("size", uiValue));
    EXPECT_FALSE(reader.readPositive("size", uiValue));
    EXPECT_FALSE(reader.readPositive32("size", uiValue));
    EXPECT_FALSE(reader.read("size", strValue));

    const std::string strText =
        "Unexpected std::exception the table is gone caught in configure() with size in provided config";
    EXPECT_THAT(log.texts(), ElementsAre(strText, strText, strText, strText));
    EXPECT_EQ(s_uiBefore, uiValue);
    EXPECT_EQ("before", strValue);
}

TEST(ConfigurationReader, ReportsAnExceptionFromTheSearchForTheKey)
{
    const ThrowingConfiguration config(ThrowingConfiguration::At::HAS_KEY);
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger()).read("size", uiValue));

    expectError(log, "Unexpected std::exception no such table caught in configure() with size in provided config");
}

class ForeignThrowingConfiguration : public TrieConfiguration
{
public:
    bool hasKey(const char*) const override { throw 42; }
};

TEST(ConfigurationReader, LetsNothingOutThatIsNoStandardException)
{
    const ForeignThrowingConfiguration config;
    const LogCapture log("kestrivon.test");
    unsigned long uiValue = s_uiBefore;

    EXPECT_FALSE(ConfigurationReader(config, fileScopeLogger()).read("size", uiValue));

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ(40000, log.events().front().m_iLevel);
}

TEST(ConfigurationReader, ReadsThroughAPrefixedView)
{
    const TrieConfiguration base = configurationOf({{"spectralrange.frequencyHz", "1000"}, {"frequencyHz", "2000"}});
    const ParameterTrie overrides;
    const PrefixedConfiguration view(base, "spectralrange.", overrides);
    unsigned long uiValue = s_uiBefore;

    EXPECT_TRUE(ConfigurationReader(view, fileScopeLogger()).read("frequencyHz", uiValue));

    EXPECT_EQ(1000u, uiValue);
}

} // namespace
} // namespace Corvana
