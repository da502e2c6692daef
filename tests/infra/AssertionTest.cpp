// SPDX-License-Identifier: Apache-2.0
#include "corvana/Assertion.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Corvana::Assertion;
using Corvana::SourcePosition;
using Corvana::Test::AssertionCapture;
using Corvana::Test::LogEvent;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Assertion, ReportsAFalseConditionAtErrorLevelWithItsTextFileAndLine)
{
    AssertionCapture assertions;

    Assertion(false, "vParams.size() == 2", "AudioFeatureFactory", 38);

    EXPECT_THAT(assertions.events(),
                ElementsAre(LogEvent{"kestrivon.assertion", 40000, "Assertion failed: vParams.size() == 2",
                                     "AudioFeatureFactory", 38}));
}

TEST(Assertion, IsSilentForATrueCondition)
{
    AssertionCapture assertions;

    Assertion(true, "1 == 1", "AudioFeatureFactory", 38);

    EXPECT_THAT(assertions.events(), IsEmpty());
}

TEST(AssertionMacro, YieldsTheCondition)
{
    AssertionCapture assertions;

    EXPECT_TRUE(CORVANA_ASSERT(1 + 1 == 2));
    EXPECT_FALSE(CORVANA_ASSERT(1 + 1 == 3));
}

TEST(AssertionMacro, ReportsTheSourceOfTheConditionAtTheLineWhereItStands)
{
    AssertionCapture assertions;
    const int iValue = 4;

    const int iLine = __LINE__ + 1;
    CORVANA_ASSERT(iValue < 3);

    EXPECT_THAT(assertions.events(), ElementsAre(LogEvent{"kestrivon.assertion", 40000, "Assertion failed: iValue < 3",
                                                          "AssertionTest", iLine}));
}

TEST(AssertionMacro, IsSilentForATrueCondition)
{
    AssertionCapture assertions;

    CORVANA_ASSERT(true);

    EXPECT_THAT(assertions.events(), IsEmpty());
}

TEST(AssertionMacro, TakesPointersAsConditions)
{
    AssertionCapture assertions;
    const int* pNull = nullptr;
    const int iValue = 1;

    EXPECT_FALSE(CORVANA_ASSERT(pNull));
    EXPECT_TRUE(CORVANA_ASSERT(&iValue));

    EXPECT_THAT(assertions.texts(), ElementsAre("pNull"));
}

TEST(AssertionMacro, EvaluatesTheConditionOnce)
{
    AssertionCapture assertions;
    int iNbOfEvaluations = 0;

    CORVANA_ASSERT(++iNbOfEvaluations > 5);

    EXPECT_EQ(1, iNbOfEvaluations);
}

TEST(AssertionMacroAt, ReportsTheGivenPositionAndText)
{
    AssertionCapture assertions;
    constexpr SourcePosition position{"AudioSignalWindow", 70};

    EXPECT_FALSE(CORVANA_ASSERT_AT(position, 1 > 2, "in_uiSampleIndex < m_uiWindowSize"));
    EXPECT_TRUE(CORVANA_ASSERT_AT(position, 2 > 1, "not reported"));

    EXPECT_THAT(assertions.events(),
                ElementsAre(LogEvent{"kestrivon.assertion", 40000,
                                     "Assertion failed: in_uiSampleIndex < m_uiWindowSize", "AudioSignalWindow", 70}));
}
