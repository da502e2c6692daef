// SPDX-License-Identifier: Apache-2.0
#include "tools/WindowAdvice.h"

#include <bit>
#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(WindowAdvice, CountsSamplesAsTheWindowerDoes)
{
    EXPECT_EQ(windowSamples(8000, 16), 128U);
    EXPECT_EQ(windowSamples(11025, 20), 220U);
    EXPECT_EQ(windowSamples(100, 1), 1U);
}

TEST(WindowAdvice, FindsAllLengthsAt8000Hz)
{
    EXPECT_THAT(powerOfTwoWindowsMs(8000), ElementsAre(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192));
}

TEST(WindowAdvice, ProposesOnlyPowersOfTwoAtEveryRate)
{
    for (unsigned long uiRate = 1; uiRate <= 50000; uiRate += 37)
        for (const unsigned long uiMs : powerOfTwoWindowsMs(uiRate))
            EXPECT_TRUE(std::has_single_bit(windowSamples(uiRate, uiMs))) << uiRate << " Hz, " << uiMs << " ms";
}

TEST(WindowAdvice, MissesNoLengthBelowASecond)
{
    for (const unsigned long uiRate : {6000UL, 8000UL, 11025UL, 16000UL, 22050UL, 44100UL, 48000UL}) {
        const std::vector<unsigned long> vFound = powerOfTwoWindowsMs(uiRate);
        std::vector<unsigned long> vSizesFound;
        for (const unsigned long uiMs : vFound)
            vSizesFound.push_back(windowSamples(uiRate, uiMs));
        for (unsigned long uiMs = 1; uiMs < 1000; ++uiMs) {
            const unsigned long uiSize = windowSamples(uiRate, uiMs);
            if (uiSize >= 2 && std::has_single_bit(uiSize)) {
                EXPECT_THAT(vSizesFound, testing::Contains(uiSize)) << uiRate << " Hz, " << uiMs << " ms";
            }
        }
    }
}

TEST(WindowAdvice, NamesTheNearestLengths)
{
    EXPECT_EQ(powerOfTwoAdvice(8000, 20), "at 8000 Hz these --window-ms give one: 8 ms (64), 16 ms (128), 32 ms (256)");
}

TEST(WindowAdvice, ProposesOtherWaysAtARateWithoutSuchALength)
{
    ASSERT_THAT(powerOfTwoWindowsMs(11025), IsEmpty());

    EXPECT_EQ(powerOfTwoAdvice(11025, 20),
              "no length in whole milliseconds gives one at 11025 Hz: convert the recording with "
              "'sox IN -r 8000 OUT', or cut windows as for 8000 Hz with --sample-rate 8000");
}

TEST(WindowAdvice, KnowsNoLengthForARateOfZero)
{
    EXPECT_THAT(powerOfTwoWindowsMs(0), IsEmpty());
}

} // namespace
} // namespace Corvana::Tools
