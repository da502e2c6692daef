// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathRealFourierPlan.h"

#include "ReferenceTransform.h"
#include "TransformInputs.h"
#include "corvana/MathFourierTransform.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using Corvana::Math::discreteRealFastFourierTransform;
using Corvana::Math::RealFourierPlan;
using Corvana::Test::differenceOfBits;
using Corvana::Test::randomValues;
using Corvana::Test::referenceRealTransform;
using Corvana::Test::specialInputs;

namespace {

std::vector<double> planned(const RealFourierPlan& in_plan, std::vector<double> in_vValues)
{
    in_plan.transform(in_vValues.data());
    return in_vValues;
}

std::vector<double> reference(std::vector<double> in_vValues)
{
    referenceRealTransform(in_vValues.data(), in_vValues.size(), 1.0);
    return in_vValues;
}

std::vector<double> direct(std::vector<double> in_vValues)
{
    discreteRealFastFourierTransform(in_vValues.data(), static_cast<unsigned long>(in_vValues.size()), 1.0);
    return in_vValues;
}

class RealFourierPlanOfSize : public testing::TestWithParam<unsigned long>
{
protected:
    const RealFourierPlan m_plan{GetParam()};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(AllPowersOfTwo, RealFourierPlanOfSize,
                         testing::Values(2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 16384, 32768,
                                         65536),
                         [](const auto& in_info) { return "Size" + std::to_string(in_info.param); });

TEST_P(RealFourierPlanOfSize, KnowsItsSize)
{
    EXPECT_EQ(GetParam(), m_plan.getSize());
}

TEST_P(RealFourierPlanOfSize, GivesTheReferencesBits)
{
    for (unsigned uiSeed = 1; uiSeed <= 3; ++uiSeed) {
        const std::vector<double> vValues = randomValues(GetParam(), uiSeed);
        EXPECT_EQ("", differenceOfBits(reference(vValues), planned(m_plan, vValues)));
    }
}

TEST_P(RealFourierPlanOfSize, GivesTheReferencesBitsForSpecialValues)
{
    for (const auto& [szName, vValues] : specialInputs(GetParam()))
        EXPECT_EQ("", differenceOfBits(reference(vValues), planned(m_plan, vValues))) << szName;
}

TEST_P(RealFourierPlanOfSize, GivesTheBitsOfTheTransformWithoutAPlan)
{
    const std::vector<double> vValues = randomValues(GetParam(), 4);

    EXPECT_EQ("", differenceOfBits(direct(vValues), planned(m_plan, vValues)));
}

TEST_P(RealFourierPlanOfSize, GivesTheSameBitsEachTime)
{
    const std::vector<double> vValues = randomValues(GetParam(), 5);
    const std::vector<double> vFirst = planned(m_plan, vValues);

    planned(m_plan, randomValues(GetParam(), 6));

    EXPECT_EQ("", differenceOfBits(vFirst, planned(m_plan, vValues)));
}

TEST(RealFourierPlan, WorksForACopyAsWell)
{
    const std::vector<double> vValues = randomValues(256, 1);
    const RealFourierPlan plan(256);

    const RealFourierPlan copy(plan); // NOLINT(performance-unnecessary-copy-initialization)

    EXPECT_EQ(256u, copy.getSize());
    EXPECT_EQ("", differenceOfBits(planned(plan, vValues), planned(copy, vValues)));
}

TEST(RealFourierPlan, ServesManyThreadsAtOnce)
{
    const RealFourierPlan plan(1024);
    std::vector<std::string> vDifferences(4, "not run");
    std::vector<std::thread> vThreads;
    for (unsigned uiThread = 0; uiThread < 4; ++uiThread)
        vThreads.emplace_back([&plan, &vDifferences, uiThread] {
            std::string strDifference;
            for (unsigned uiRound = 0; uiRound < 20; ++uiRound) {
                const std::vector<double> vValues = randomValues(1024, 100 * uiThread + uiRound);
                strDifference += differenceOfBits(reference(vValues), planned(plan, vValues));
            }
            vDifferences[uiThread] = strDifference;
        });
    for (std::thread& thread : vThreads)
        thread.join();

    EXPECT_EQ(std::vector<std::string>(4), vDifferences);
}
