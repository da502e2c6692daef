// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSimd.h"

#include "corvana/Logger.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using Corvana::LOG_WARN;
using Corvana::Math::chooseSimd;
using Corvana::Math::getSimd;
using Corvana::Math::getSimdName;
using Corvana::Math::isSimdSupported;
using Corvana::Math::Simd;
using Corvana::Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Simd bestSupported()
{
    for (const Simd simd : {Simd::AVX512, Simd::AVX2, Simd::BASELINE})
        if (isSimdSupported(simd))
            return simd;
    return Simd::PORTABLE;
}

} // namespace

TEST(Simd, AlwaysHasPortableKernels)
{
    EXPECT_TRUE(isSimdSupported(Simd::PORTABLE));
}

#if defined(__x86_64__)
TEST(Simd, HasBaselineKernelsOnEveryX86Processor)
{
    EXPECT_TRUE(isSimdSupported(Simd::BASELINE));
}
#endif

TEST(Simd, IsChosenByItsName)
{
    const LogCapture log;
    for (const Simd simd : {Simd::PORTABLE, Simd::BASELINE, Simd::AVX2, Simd::AVX512}) {
        if (!isSimdSupported(simd))
            continue;
        EXPECT_EQ(simd, chooseSimd(getSimdName(simd)));
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Simd, HasTheNamesThatUsersGive)
{
    EXPECT_STREQ("portable", getSimdName(Simd::PORTABLE));
    EXPECT_STREQ("baseline", getSimdName(Simd::BASELINE));
    EXPECT_STREQ("avx2", getSimdName(Simd::AVX2));
    EXPECT_STREQ("avx512", getSimdName(Simd::AVX512));
}

TEST(Simd, IsTheBestOneWithoutAName)
{
    const LogCapture log;

    EXPECT_EQ(bestSupported(), chooseSimd(nullptr));
    EXPECT_EQ(bestSupported(), chooseSimd(""));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Simd, IsTheBestOneAfterAWarningForAnUnknownName)
{
    const LogCapture log;

    EXPECT_EQ(bestSupported(), chooseSimd("AVX2"));
    ASSERT_THAT(log.texts(), ElementsAre(std::string("CORVANA_SIMD is none of avx512, avx2, baseline and portable, ") +
                                         getSimdName(bestSupported()) + " is used instead of: AVX2"));
    EXPECT_EQ(LOG_WARN, log.events()[0].m_iLevel);
    EXPECT_EQ("kestrivon.math.Simd", log.events()[0].m_strLogger);
}

TEST(Simd, IsTheBestOneAfterAWarningForAProcessorThatLacksIt)
{
    if (isSimdSupported(Simd::AVX512))
        GTEST_SKIP() << "this processor lacks nothing";
    const LogCapture log;

    EXPECT_EQ(bestSupported(), chooseSimd("avx512"));
    EXPECT_THAT(log.texts(),
                ElementsAre(std::string("CORVANA_SIMD names an instruction set that this processor lacks, ") +
                            getSimdName(bestSupported()) + " is used instead of: avx512"));
}

// Run once more with each name in the environment.
TEST(Simd, OfTheProcessIsTheEnvironmentsAndReadOnce)
{
    const char* const szForced = std::getenv("CORVANA_SIMD");
    const Simd expected = chooseSimd(szForced);
    const LogCapture log;

    EXPECT_EQ(expected, getSimd());
    EXPECT_STREQ(getSimdName(expected), getSimdName());
    const std::size_t uiNbOfWarnings = log.texts().size();
    EXPECT_EQ(expected, getSimd());
    EXPECT_EQ(uiNbOfWarnings, log.texts().size());
}
