// SPDX-License-Identifier: Apache-2.0
#include "tools/FileDescriptorBuf.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <ostream>
#include <sstream>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

TEST(FileDescriptorBuf, WritesWhatItIsGivenInPiecesOfAnySize)
{
    const Corvana::Test::TempDir dir;
    for (const std::size_t uiPiece : {1UL, 7UL, 65535UL, 65536UL, 65537UL, 200000UL}) {
        const int iDescriptor = open(dir.file("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        std::string strExpected;
        {
            FileDescriptorBuf buffer(iDescriptor);
            std::ostream stream(&buffer);
            for (char cLetter = 'a'; strExpected.size() < 200000;
                 cLetter = static_cast<char>(cLetter == 'z' ? 'a' : cLetter + 1)) {
                stream << std::string(uiPiece, cLetter);
                strExpected += std::string(uiPiece, cLetter);
            }
            stream.put('!').flush();
            EXPECT_TRUE(stream.good());
        }
        close(iDescriptor);
        EXPECT_TRUE(contentsOf(dir.file("out")) == strExpected + "!") << uiPiece;
    }
}

TEST(FileDescriptorBuf, TakesNothingFromNowhere)
{
    const Corvana::Test::TempDir dir;
    const int iDescriptor = open(dir.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
    FileDescriptorBuf buffer(iDescriptor);
    // As a stream does whose own buffer is not there; the sanitizer of undefined behaviour looks on.
    EXPECT_EQ(buffer.sputn(nullptr, 0), 0);
    EXPECT_EQ(buffer.pubsync(), 0);
    close(iDescriptor);
    EXPECT_EQ(contentsOf(dir.file("out")), "");
}

TEST(FileDescriptorBuf, WritesTheRestWhenItEnds)
{
    const Corvana::Test::TempDir dir;
    const int iDescriptor = open(dir.file("out").c_str(), O_WRONLY | O_CREAT, 0600);
    {
        FileDescriptorBuf buffer(iDescriptor);
        std::ostream(&buffer) << "rest";
    }
    close(iDescriptor);
    EXPECT_EQ(contentsOf(dir.file("out")), "rest");
}

TEST(FileDescriptorBuf, RemembersWhyAWriteFailed)
{
    const int iDescriptor = open("/dev/full", O_WRONLY);
    FileDescriptorBuf buffer(iDescriptor);
    std::ostream stream(&buffer);

    stream << "text" << std::flush;

    EXPECT_FALSE(stream.good());
    EXPECT_EQ(buffer.getError(), ENOSPC);
    close(iDescriptor);
}

TEST(FileDescriptorBuf, FailsWhenTheBufferOverflowsToo)
{
    const int iDescriptor = open("/dev/full", O_WRONLY);
    FileDescriptorBuf buffer(iDescriptor);
    std::ostream stream(&buffer);

    for (int iIndex = 0; iIndex < 200000; ++iIndex)
        stream.put('x');

    EXPECT_FALSE(stream.good());
    EXPECT_EQ(buffer.getError(), ENOSPC);
    close(iDescriptor);
}

TEST(FileDescriptorBuf, KeepsTheFirstError)
{
    FileDescriptorBuf buffer(-1);
    std::ostream stream(&buffer);
    stream << "text" << std::flush;
    stream.clear();

    stream << "more" << std::flush;

    EXPECT_FALSE(stream.good());
    EXPECT_EQ(buffer.getError(), EBADF);
}

} // namespace
} // namespace Corvana::Tools
