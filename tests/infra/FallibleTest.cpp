// SPDX-License-Identifier: Apache-2.0
#include "corvana/Fallible.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using Corvana::Fallible;
using Corvana::Test::AssertionCapture;
using Corvana::Test::LogEvent;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Fallible, IsInvalidByDefault)
{
    EXPECT_FALSE(Fallible<int>().isValid());
}

TEST(Fallible, YieldsTheValueThatItHoldsWithoutAReport)
{
    AssertionCapture assertions;
    const Fallible<std::string> value(std::string("busy"));

    EXPECT_TRUE(value.isValid());
    EXPECT_EQ("busy", value.getValue());
    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TEST(Fallible, CopiesItsValidity)
{
    const Fallible<int> valid(0);
    const Fallible<int> invalid;
    Fallible<int> assigned(5);
    assigned = invalid;

    EXPECT_TRUE(Fallible<int>(valid).isValid());
    EXPECT_FALSE(Fallible<int>(invalid).isValid());
    EXPECT_FALSE(assigned.isValid());
}

TEST(Fallible, ReportsTheReadingOfAMissingValueAtAFixedPositionAndYieldsADefaultOne)
{
    AssertionCapture assertions;
    const Fallible<int> value;

    EXPECT_EQ(0, value.getValue());

    EXPECT_THAT(assertions.events(),
                ElementsAre(LogEvent{"kestrivon.assertion", 40000, "Assertion failed: isValid()", "Fallible", 94}));
}

TEST(Fallible, ReportsAMisuseAtTheGivenPosition)
{
    AssertionCapture assertions;

    Corvana::FallibleBase::assertUsedInInvalidStateErr("SomeFile", 12);

    ASSERT_EQ(1u, assertions.events().size());
    EXPECT_EQ("SomeFile", assertions.events()[0].m_strFile);
    EXPECT_EQ(12, assertions.events()[0].m_iLine);
}
