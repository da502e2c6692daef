// SPDX-License-Identifier: Apache-2.0
#include "FeatureTestSupport.h"

#include "corvana/MathRangeFeature.h"

#include <gmock/gmock.h>

#include <memory>

namespace Corvana::Math {
namespace {

using namespace Test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* s_szLogger = "kestrivon.math.RangeFeature";

RangeFeature rangeOf(const char* in_szStart, const char* in_szLength)
{
    RangeFeature feature;
    EXPECT_TRUE(feature.configure(configurationOf({{"range.startIndex", in_szStart}, {"range.length", in_szLength}})));
    return feature;
}

void expectError(const LogCapture& in_log, const std::string& in_strText)
{
    ASSERT_THAT(in_log.texts(), ElementsAre(in_strText));
    EXPECT_EQ(40000, in_log.events().front().m_iLevel);
    EXPECT_EQ(s_szLogger, in_log.events().front().m_strLogger);
}

TEST(RangeFeature, AppendsTheConfiguredNumberOfValuesFromTheConfiguredIndexOn)
{
    RangeFeature feature = rangeOf("2", "3");

    EXPECT_EQ(succeeds({12, 13, 14}), outcomeOf(feature, {10, 11, 12, 13, 14, 15}));
}

TEST(RangeFeature, MayEndWithItsInput)
{
    RangeFeature feature = rangeOf("1", "2");

    EXPECT_EQ(succeeds({11, 12}), outcomeOf(feature, {10, 11, 12}));
}

TEST(RangeFeature, AppendsNothingWhenItPassesTheEndOfItsInput)
{
    const LogCapture log;
    RangeFeature feature = rangeOf("1", "3");

    EXPECT_EQ(refuses(), outcomeOf(feature, {10, 11, 12}));
    EXPECT_EQ(refuses(), outcomeOf(feature, {10}));
    EXPECT_EQ(refuses(), outcomeOf(feature, {}));

    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RangeFeature, RefusesToBeginBehindItsInputEvenWithoutALength)
{
    RangeFeature feature = rangeOf("3", "0");

    EXPECT_EQ(succeeds({}), outcomeOf(feature, {10, 11, 12}));
    EXPECT_EQ(refuses(), outcomeOf(feature, {10, 11}));
}

TEST(RangeFeature, IsNotFooledByIndexesThatOverflow)
{
    RangeFeature feature = rangeOf("2", "18446744073709551615");
    RangeFeature behind = rangeOf("18446744073709551615", "2");

    EXPECT_EQ(refuses(), outcomeOf(feature, {10, 11, 12}));
    EXPECT_EQ(refuses(), outcomeOf(behind, {10, 11, 12}));
}

TEST(RangeFeature, AppendsNothingBeforeItIsConfigured)
{
    RangeFeature feature;

    EXPECT_EQ(succeeds({}), outcomeOf(feature, {10, 11, 12}));
    EXPECT_EQ(succeeds({}), outcomeOf(feature, {}));
}

TEST(RangeFeature, LeavesWhatIsInTheOutputInFront)
{
    RangeFeature feature = rangeOf("0", "1");
    DoubleVector vOut = {7.0};

    EXPECT_TRUE(feature.compute({10.0, 11.0}, vOut));

    EXPECT_EQ(DoubleVector({7.0, 10.0}), vOut);
}

TEST(RangeFeature, ClonesWithItsRange)
{
    RangeFeature feature = rangeOf("1", "1");
    const std::unique_ptr<RangeFeature> pClone(feature.clone());
    ASSERT_TRUE(feature.configure(configurationOf({{"range.startIndex", "0"}, {"range.length", "2"}})));

    EXPECT_EQ(succeeds({11}), outcomeOf(*pClone, {10, 11, 12}));
    EXPECT_EQ(succeeds({10, 11}), outcomeOf(feature, {10, 11, 12}));
}

TEST(RangeFeature, ReportsAMissingKeyAndKeepsItsRange)
{
    for (const auto& [szPresent, szMissing] :
         {std::pair{"range.startIndex", "range.length"}, std::pair{"range.length", "range.startIndex"}}) {
        RangeFeature feature = rangeOf("1", "1");
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{szPresent, "0"}})));

        expectError(log, std::string("Could not find parameter ") + szMissing + " in configuration");
        EXPECT_EQ(succeeds({11}), outcomeOf(feature, {10, 11, 12}));
    }
}

TEST(RangeFeature, RefusesWhatIsNoIndexAndKeepsItsRange)
{
    for (const char* szValue : {"-1", "1.5", "", "one", "18446744073709551616"}) {
        RangeFeature feature = rangeOf("1", "1");
        const LogCapture log(s_szLogger);

        EXPECT_FALSE(feature.configure(configurationOf({{"range.startIndex", "0"}, {"range.length", szValue}})));

        expectError(log, "Invalid value in parameter range.length");
        EXPECT_EQ(succeeds({11}), outcomeOf(feature, {10, 11, 12}));
    }
}

TEST(RangeFeature, LetsNoExceptionOutOfConfigure)
{
    RangeFeature feature;
    const LogCapture log(s_szLogger);

    EXPECT_FALSE(feature.configure(ThrowingConfiguration(ThrowingConfiguration::At::HAS_KEY)));

    expectError(log, "Unexpected std::exception no such table caught in configure() with range.startIndex in provided "
                     "config");
}

} // namespace
} // namespace Corvana::Math
