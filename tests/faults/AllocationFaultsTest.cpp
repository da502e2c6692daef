// SPDX-License-Identifier: Apache-2.0
// Too little memory, at every place where some is asked for: the standard exception or a refusal, nothing leaks,
// objects can be destroyed and used again, and files are whole. All places with CORVANA_ALL_FAULTS in the environment.
#include "AllocationScenario.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cctype>
#include <new>

namespace Corvana::Test {
namespace {

std::string nameOf(const testing::TestParamInfo<AllocationScenario>& in_info)
{
    std::string strName;
    bool bUpper = true;
    for (const char cLetter : in_info.param.m_strName) {
        if (std::isalnum(static_cast<unsigned char>(cLetter)) != 0)
            strName += static_cast<char>(bUpper ? std::toupper(cLetter) : cLetter);
        bUpper = std::isalnum(static_cast<unsigned char>(cLetter)) == 0;
    }
    return strName;
}

class WithoutMemory : public testing::TestWithParam<AllocationScenario>
{
};

TEST_P(WithoutMemory, StaysSound)
{
    expectSoundWithoutMemory(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Infra, WithoutMemory, testing::ValuesIn(infraScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Math, WithoutMemory, testing::ValuesIn(mathScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Feature, WithoutMemory, testing::ValuesIn(featureScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Expression, WithoutMemory, testing::ValuesIn(expressionScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Audio, WithoutMemory, testing::ValuesIn(audioScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Annotations, WithoutMemory, testing::ValuesIn(annotationScenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Command, WithoutMemory, testing::ValuesIn(commandScenarios()), nameOf);

// Whether the means are right.

TEST(AllocationFault, FailsTheAllocationOfThatNumberOnly)
{
    const AllocationFault fault(2, AllocationFault::Extent::ONCE);
    EXPECT_NO_THROW(delete new int);
    EXPECT_EQ(fault.nbOfFailures(), 0U);
    EXPECT_THROW(delete[] new int[4], std::bad_alloc);
    EXPECT_NO_THROW(delete new int);
    EXPECT_EQ(fault.nbOfFailures(), 1U);
}

TEST(AllocationFault, FailsAllThatFollow)
{
    struct alignas(64) Aligned
    {
        char m_acBytes[64];
    };
    const AllocationFault fault(1, AllocationFault::Extent::FROM_THEN_ON);
    EXPECT_EQ(operator new(8, std::nothrow), nullptr);
    EXPECT_EQ(operator new[](8, std::nothrow), nullptr);
    EXPECT_THROW(delete new Aligned, std::bad_alloc);
    EXPECT_THROW(delete[] new Aligned[2], std::bad_alloc);
    EXPECT_EQ(fault.nbOfFailures(), 4U);
}

TEST(AllocationFault, IsOverWithTheObject)
{
    {
        const AllocationFault fault(1, AllocationFault::Extent::FROM_THEN_ON);
    }
    EXPECT_NO_THROW(delete new int);
}

} // namespace
} // namespace Corvana::Test
