// SPDX-License-Identifier: Apache-2.0
#include "corvana/SourcePosition.h"

#include <gtest/gtest.h>

using Corvana::SourceFileName;
using Corvana::SourcePosition;

TEST(SourcePosition, HereIsTheFileWithoutFoldersAndEndingAndTheLine)
{
    const int iLine = __LINE__ + 1;
    const SourcePosition position = CORVANA_HERE;

    EXPECT_STREQ("SourcePositionTest", position.m_szFile);
    EXPECT_EQ(iLine, position.m_iLine);
}

TEST(SourceFileName, DropsFoldersAndEnding)
{
    EXPECT_STREQ("AudioFileReader", SourceFileName("audio/AudioFileReader.cpp").m_acText);
    EXPECT_STREQ("AudioFileReader", SourceFileName("/home/build.7/audio/AudioFileReader.cpp").m_acText);
    EXPECT_STREQ("AudioFileReader", SourceFileName("AudioFileReader.h").m_acText);
}

TEST(SourceFileName, KeepsANameWithoutFoldersAndEnding)
{
    EXPECT_STREQ("AudioFileReader", SourceFileName("AudioFileReader").m_acText);
}

TEST(SourceFileName, OfAFolderIsEmpty)
{
    EXPECT_STREQ("", SourceFileName("audio/").m_acText);
    EXPECT_STREQ("", SourceFileName("").m_acText);
}

TEST(SourceFileName, IsKnownToTheCompiler)
{
    constexpr SourceFileName szName("a/b.cpp");
    static_assert(szName.m_acText[0] == 'b' && szName.m_acText[1] == '\0');
}
