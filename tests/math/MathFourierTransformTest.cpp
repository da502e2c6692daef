// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathFourierTransform.h"

#include "ReferenceTransform.h"
#include "TransformInputs.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

using Corvana::Math::discreteFastFourierTransform;
using Corvana::Math::discreteRealFastFourierTransform;
using Corvana::Math::isPowerOfTwo;
using Corvana::Test::AssertionCapture;
using Corvana::Test::differenceOfBits;
using Corvana::Test::randomValues;
using Corvana::Test::referenceComplexTransform;
using Corvana::Test::referenceRealTransform;
using Corvana::Test::specialInputs;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<double> complexTransform(std::vector<double> in_vValues, double in_isign)
{
    discreteFastFourierTransform(in_vValues.data(), in_vValues.size() / 2, in_isign);
    return in_vValues;
}

std::vector<double> realTransform(std::vector<double> in_vValues, double in_isign)
{
    discreteRealFastFourierTransform(in_vValues.data(), static_cast<unsigned long>(in_vValues.size()), in_isign);
    return in_vValues;
}

std::vector<double> referenceComplex(std::vector<double> in_vValues, double in_isign)
{
    referenceComplexTransform(in_vValues.data(), in_vValues.size() / 2, in_isign);
    return in_vValues;
}

std::vector<double> referenceReal(std::vector<double> in_vValues, double in_isign)
{
    referenceRealTransform(in_vValues.data(), in_vValues.size(), in_isign);
    return in_vValues;
}

constexpr double s_dTwoPi = 6.283185307179586;

// The sum that the transform stands for, in O(n^2): an algorithm of another kind, to hold the reference itself against.
std::vector<double> slowComplex(const std::vector<double>& in_vValues, double in_isign)
{
    const std::size_t uiNbOfPoints = in_vValues.size() / 2;
    std::vector<double> vResult(in_vValues.size(), 0.0);
    for (std::size_t k = 0; k < uiNbOfPoints; ++k)
        for (std::size_t j = 0; j < uiNbOfPoints; ++j) {
            const double dAngle =
                in_isign * s_dTwoPi * static_cast<double>(j * k % uiNbOfPoints) / static_cast<double>(uiNbOfPoints);
            vResult[2 * k] += in_vValues[2 * j] * std::cos(dAngle) - in_vValues[2 * j + 1] * std::sin(dAngle);
            vResult[2 * k + 1] += in_vValues[2 * j] * std::sin(dAngle) + in_vValues[2 * j + 1] * std::cos(dAngle);
        }
    return vResult;
}

} // namespace

// ---- isPowerOfTwo

TEST(IsPowerOfTwo, IsTrueForAllPowersFromOneOn)
{
    for (unsigned uiExponent = 0; uiExponent < 64; ++uiExponent)
        EXPECT_TRUE(isPowerOfTwo(1UL << uiExponent)) << uiExponent;
}

TEST(IsPowerOfTwo, IsFalseForZeroAndAllOthers)
{
    EXPECT_FALSE(isPowerOfTwo(0));
    for (unsigned uiExponent = 2; uiExponent < 64; ++uiExponent) {
        EXPECT_FALSE(isPowerOfTwo((1UL << uiExponent) - 1)) << uiExponent;
        EXPECT_FALSE(isPowerOfTwo((1UL << uiExponent) + 1)) << uiExponent;
    }
    EXPECT_FALSE(isPowerOfTwo(~0UL));
}

// ---- The reference itself

TEST(ReferenceTransform, IsTheFourierSumWithTheGivenSignOfTheExponent)
{
    for (const double isign : {1.0, -1.0}) {
        const std::vector<double> vValues = randomValues(2 * 64, 3);
        const std::vector<double> vExpected = slowComplex(vValues, isign);
        const std::vector<double> vResult = referenceComplex(vValues, isign);
        for (std::size_t uiIndex = 0; uiIndex < vResult.size(); ++uiIndex)
            EXPECT_NEAR(vExpected[uiIndex], vResult[uiIndex], 1e-12); // 64 sums of terms below 2, some ulps each
    }
}

// ---- Bit for bit

class AllPowersOfTwo : public testing::TestWithParam<unsigned long>
{
};

INSTANTIATE_TEST_SUITE_P(FourierTransform, AllPowersOfTwo,
                         testing::Values(2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 16384, 32768,
                                         65536),
                         [](const auto& in_info) { return "Size" + std::to_string(in_info.param); });

TEST_P(AllPowersOfTwo, GiveTheReferencesBitsInTheComplexTransform)
{
    for (const double isign : {1.0, -1.0})
        for (unsigned uiSeed = 1; uiSeed <= 3; ++uiSeed) {
            const std::vector<double> vValues = randomValues(2 * GetParam(), uiSeed);
            EXPECT_EQ("", differenceOfBits(referenceComplex(vValues, isign), complexTransform(vValues, isign)));
        }
}

TEST_P(AllPowersOfTwo, GiveTheReferencesBitsInTheForwardRealTransform)
{
    for (unsigned uiSeed = 1; uiSeed <= 3; ++uiSeed) {
        const std::vector<double> vValues = randomValues(GetParam(), uiSeed);
        EXPECT_EQ("", differenceOfBits(referenceReal(vValues, 1.0), realTransform(vValues, 1.0)));
    }
}

TEST_P(AllPowersOfTwo, GiveTheReferencesBitsInTheInverseRealTransform)
{
    for (unsigned uiSeed = 1; uiSeed <= 3; ++uiSeed) {
        const std::vector<double> vValues = randomValues(GetParam(), uiSeed);
        EXPECT_EQ("", differenceOfBits(referenceReal(vValues, -1.0), realTransform(vValues, -1.0)));
    }
}

TEST_P(AllPowersOfTwo, GiveTheReferencesBitsForSpecialValues)
{
    for (const auto& [szName, vValues] : specialInputs(GetParam())) {
        EXPECT_EQ("", differenceOfBits(referenceReal(vValues, 1.0), realTransform(vValues, 1.0))) << szName;
        EXPECT_EQ("", differenceOfBits(referenceReal(vValues, -1.0), realTransform(vValues, -1.0))) << szName;
        EXPECT_EQ("", differenceOfBits(referenceComplex(vValues, 1.0), complexTransform(vValues, 1.0))) << szName;
        EXPECT_EQ("", differenceOfBits(referenceComplex(vValues, -1.0), complexTransform(vValues, -1.0))) << szName;
    }
}

TEST_P(AllPowersOfTwo, ReturnTheValuesTimesHalfTheSizeAfterForwardAndInverse)
{
    const std::vector<double> vValues = randomValues(GetParam(), 5);

    const std::vector<double> vBack = realTransform(realTransform(vValues, 1.0), -1.0);

    const double dHalf = static_cast<double>(GetParam() / 2);
    for (std::size_t uiIndex = 0; uiIndex < vValues.size(); ++uiIndex) // the recurrences lose some digits
        ASSERT_NEAR(vValues[uiIndex], vBack[uiIndex] / dHalf, 1e-10);
}

TEST_P(AllPowersOfTwo, RaiseNoAssertion)
{
    AssertionCapture assertions;

    realTransform(randomValues(GetParam(), 1), 1.0);
    realTransform(randomValues(GetParam(), 1), -1.0);

    EXPECT_THAT(assertions.texts(), IsEmpty());
}

// ---- The complex transform in closed form

TEST(DiscreteFastFourierTransform, LeavesASinglePointAlone)
{
    EXPECT_THAT(complexTransform({3.0, -4.0}, 1.0), ElementsAre(3.0, -4.0));
}

TEST(DiscreteFastFourierTransform, OfTwoPointsIsTheirSumAndDifference)
{
    EXPECT_THAT(complexTransform({1.0, 2.0, 10.0, 20.0}, 1.0), ElementsAre(11.0, 22.0, -9.0, -18.0));
}

TEST(DiscreteFastFourierTransform, OfAnImpulseIsFlat)
{
    std::vector<double> vValues(2 * 16, 0.0);
    vValues[0] = 1.0;

    const std::vector<double> vResult = complexTransform(vValues, 1.0);

    for (std::size_t uiPoint = 0; uiPoint < 16; ++uiPoint) {
        EXPECT_EQ(1.0, vResult[2 * uiPoint]);
        EXPECT_EQ(0.0, vResult[2 * uiPoint + 1]);
    }
}

TEST(DiscreteFastFourierTransform, TurnsADelayIntoAPositiveExponent)
{
    // x = delta(j - 1): F(k) = exp(+2 pi i k / 8).
    std::vector<double> vValues(2 * 8, 0.0);
    vValues[2] = 1.0;

    const std::vector<double> vForward = complexTransform(vValues, 1.0);
    const std::vector<double> vInverse = complexTransform(vValues, -1.0);

    for (std::size_t k = 0; k < 8; ++k) {
        const double dAngle = s_dTwoPi * static_cast<double>(k) / 8.0;
        EXPECT_NEAR(std::cos(dAngle), vForward[2 * k], 1e-14);
        EXPECT_NEAR(std::sin(dAngle), vForward[2 * k + 1], 1e-14);
        EXPECT_NEAR(-std::sin(dAngle), vInverse[2 * k + 1], 1e-14);
    }
}

// ---- The real transform in closed form

TEST(DiscreteRealFastFourierTransform, OfTwoValuesIsTheirSumAndDifference)
{
    EXPECT_THAT(realTransform({1.0, 10.0}, 1.0), ElementsAre(11.0, -9.0));
    EXPECT_THAT(realTransform({11.0, -9.0}, -1.0), ElementsAre(1.0, 10.0)); // times n/2, which is 1
}

TEST(DiscreteRealFastFourierTransform, OfFourValuesIsAsComputedByHand)
{
    // F(0) = 1+2+4+8, F(2) = 1-2+4-8, F(1) = (1-4) + i(2-8) with the positive exponent.
    EXPECT_THAT(realTransform({1.0, 2.0, 4.0, 8.0}, 1.0), ElementsAre(15.0, -5.0, -3.0, -6.0));
}

TEST(DiscreteRealFastFourierTransform, OfAnImpulseIsFlat)
{
    std::vector<double> vValues(16, 0.0);
    vValues[0] = 1.0;

    const std::vector<double> vResult = realTransform(vValues, 1.0);

    EXPECT_EQ(1.0, vResult[0]);
    EXPECT_EQ(1.0, vResult[1]);
    for (std::size_t k = 1; k < 8; ++k) {
        EXPECT_EQ(1.0, vResult[2 * k]) << k;
        EXPECT_EQ(0.0, vResult[2 * k + 1]) << k;
    }
}

TEST(DiscreteRealFastFourierTransform, OfAConstantIsAllAtFrequencyZero)
{
    const std::vector<double> vResult = realTransform(std::vector<double>(32, 0.5), 1.0);

    EXPECT_EQ(16.0, vResult[0]);
    for (std::size_t uiIndex = 1; uiIndex < 32; ++uiIndex)
        EXPECT_EQ(0.0, vResult[uiIndex]) << uiIndex;
}

TEST(DiscreteRealFastFourierTransform, OfAnAlternatingSignIsAllAtTheNyquistFrequency)
{
    std::vector<double> vValues(32);
    for (std::size_t uiIndex = 0; uiIndex < 32; ++uiIndex)
        vValues[uiIndex] = uiIndex % 2 == 0 ? 0.5 : -0.5;

    const std::vector<double> vResult = realTransform(vValues, 1.0);

    for (std::size_t uiIndex = 0; uiIndex < 32; ++uiIndex)
        EXPECT_EQ(uiIndex == 1 ? 16.0 : 0.0, vResult[uiIndex]) << uiIndex;
}

TEST(DiscreteRealFastFourierTransform, OfATurningPhaseIsAllInItsBin)
{
    // a cos(2 pi 5 j / n) + b sin(2 pi 5 j / n): bin 5 is n/2 (a + i b) with the positive exponent.
    constexpr std::size_t uiSize = 64;
    std::vector<double> vValues(uiSize);
    for (std::size_t j = 0; j < uiSize; ++j) {
        const double dAngle = s_dTwoPi * 5.0 * static_cast<double>(j) / static_cast<double>(uiSize);
        vValues[j] = 0.75 * std::cos(dAngle) + 0.25 * std::sin(dAngle);
    }

    const std::vector<double> vResult = realTransform(vValues, 1.0);

    for (std::size_t uiIndex = 0; uiIndex < uiSize; ++uiIndex) {
        const double dExpected = uiIndex == 10 ? 24.0 : uiIndex == 11 ? 8.0 : 0.0;
        EXPECT_NEAR(dExpected, vResult[uiIndex], 1e-12) << uiIndex; // 64 values, some ulps each
    }
}

TEST(DiscreteRealFastFourierTransform, TakesEverySignButExactlyOneForTheInverse)
{
    const std::vector<double> vValues = randomValues(64, 9);
    const std::vector<double> vInverse = realTransform(vValues, -1.0);

    for (const double isign : {0.0, 2.0, -2.0, 1.0000000000000002, std::nan("")})
        EXPECT_EQ("", differenceOfBits(vInverse, realTransform(vValues, isign))) << isign;
}

// ---- Sizes that are no power of two

namespace {

// The values live in a block of exactly their size, so that the sanitizers see every step beside it.
std::unique_ptr<double[]> exactBlock(unsigned long in_uiNbOfValues)
{
    auto pValues = std::make_unique<double[]>(in_uiNbOfValues);
    for (unsigned long uiIndex = 0; uiIndex < in_uiNbOfValues; ++uiIndex)
        pValues[uiIndex] = 0.25 + static_cast<double>(uiIndex);
    return pValues;
}

std::vector<std::string> assertionsOfReal(unsigned long in_uiSize, double in_isign)
{
    AssertionCapture assertions;
    const std::unique_ptr<double[]> pValues = exactBlock(in_uiSize);
    discreteRealFastFourierTransform(pValues.get(), in_uiSize, in_isign);
    return assertions.texts();
}

std::vector<std::string> assertionsOfComplex(unsigned long in_uiSize, double in_isign)
{
    AssertionCapture assertions;
    const std::unique_ptr<double[]> pValues = exactBlock(2 * in_uiSize);
    discreteFastFourierTransform(pValues.get(), in_uiSize, in_isign);
    return assertions.texts();
}

} // namespace

TEST(DiscreteFastFourierTransform, ReportsASizeThatIsNoPowerOfTwoAndStaysInsideItsData)
{
    for (const unsigned long uiSize : {0UL, 3UL, 5UL, 6UL, 7UL, 9UL, 12UL, 100UL, 1000UL})
        for (const double isign : {1.0, -1.0})
            EXPECT_THAT(assertionsOfComplex(uiSize, isign), ElementsAre("isPowerOfTwo(nn)")) << uiSize;
}

TEST(DiscreteRealFastFourierTransform, ReportsASizeThatIsNoPowerOfTwoInBothTransforms)
{
    for (const unsigned long uiSize : {6UL, 7UL, 12UL, 100UL, 1000UL})
        for (const double isign : {1.0, -1.0})
            EXPECT_THAT(assertionsOfReal(uiSize, isign), ElementsAre("isPowerOfTwo(n)", "isPowerOfTwo(nn)")) << uiSize;
}

TEST(DiscreteRealFastFourierTransform, ReportsOnceWhenTheHalvedSizeIsAPowerOfTwo)
{
    for (const unsigned long uiSize : {3UL, 5UL, 9UL, 17UL})
        for (const double isign : {1.0, -1.0})
            EXPECT_THAT(assertionsOfReal(uiSize, isign), ElementsAre("isPowerOfTwo(n)")) << uiSize;
}

TEST(DiscreteRealFastFourierTransform, StaysInsideItsDataForEverySize)
{
    AssertionCapture assertions;
    for (unsigned long uiSize = 0; uiSize <= 300; ++uiSize)
        for (const double isign : {1.0, -1.0}) {
            const std::unique_ptr<double[]> pReal = exactBlock(uiSize + 1);
            const std::unique_ptr<double[]> pComplex = exactBlock(2 * uiSize + 1);
            discreteRealFastFourierTransform(pReal.get(), uiSize, isign);
            discreteFastFourierTransform(pComplex.get(), uiSize, isign);
            // The value behind the last one; what lies further off is the sanitizers' part, above.
            ASSERT_EQ(0.25 + static_cast<double>(uiSize), pReal[uiSize]) << uiSize;
            ASSERT_EQ(0.25 + static_cast<double>(2 * uiSize), pComplex[2 * uiSize]) << uiSize;
        }
}

TEST(DiscreteRealFastFourierTransform, LeavesFewerThanTwoValuesAlone)
{
    AssertionCapture assertions;
    double dValue = 5.0;

    discreteRealFastFourierTransform(&dValue, 1, 1.0);
    EXPECT_THAT(assertions.texts(), IsEmpty());
    discreteRealFastFourierTransform(&dValue, 0, 1.0);

    EXPECT_THAT(assertions.texts(), ElementsAre("isPowerOfTwo(n)"));
    EXPECT_EQ(5.0, dValue);
}
