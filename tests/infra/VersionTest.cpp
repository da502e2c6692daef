// SPDX-License-Identifier: Apache-2.0
#include "corvana/Version.h"

#include <gtest/gtest.h>

TEST(Version, IsTheProjectsVersion)
{
    EXPECT_STREQ(CORVANA_PROJECT_VERSION, Corvana::getVersion());
}
