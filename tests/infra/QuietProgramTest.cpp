// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

TEST(QuietProgram, WritesNothingAtAllWhenNoLoggingIsConfigured)
{
    std::FILE* pOutput = popen("'" CORVANA_QUIET_PROGRAM "' 2>&1", "r");
    ASSERT_NE(nullptr, pOutput);

    std::string strOutput;
    for (int iCharacter = std::fgetc(pOutput); iCharacter != EOF; iCharacter = std::fgetc(pOutput))
        strOutput += static_cast<char>(iCharacter);
    const int iStatus = pclose(pOutput);

    EXPECT_EQ("", strOutput);
    EXPECT_EQ(0, iStatus);
}
