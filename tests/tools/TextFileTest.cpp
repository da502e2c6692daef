// SPDX-License-Identifier: Apache-2.0
#include "tools/TextFile.h"

#include "support/TempDir.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

TEST(TextFile, IsReadWhole)
{
    const Corvana::Test::TempDir dir;
    const std::string strContents(200000, 'x');
    std::string strText = "former";
    EXPECT_EQ(readTextFile(dir.write("a", strContents + "\0y"), 300000, strText), "");
    EXPECT_EQ(strText, strContents + "\0y");
    EXPECT_EQ(readTextFile(dir.write("b", ""), 0, strText), "");
    EXPECT_EQ(strText, "");
}

TEST(TextFile, IsRefusedWhenItIsTooLong)
{
    const Corvana::Test::TempDir dir;
    std::string strText;
    EXPECT_EQ(readTextFile(dir.write("a", "12345"), 5, strText), "");
    EXPECT_EQ(readTextFile(dir.write("a", "123456"), 5, strText), "is longer than 5 bytes");
    EXPECT_EQ(readTextFile("/dev/zero", 100000, strText), "is longer than 100000 bytes");
}

TEST(TextFile, SaysWhyItCannotBeRead)
{
    const Corvana::Test::TempDir dir;
    std::string strText;
    EXPECT_EQ(readTextFile(dir.file("none"), 5, strText), "cannot be read, No such file or directory");
    EXPECT_EQ(readTextFile(dir.path(), 5, strText), "is a folder");
}

} // namespace
} // namespace Corvana::Tools
