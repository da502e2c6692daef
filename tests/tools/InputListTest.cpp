// SPDX-License-Identifier: Apache-2.0
#include "tools/InputList.h"

#include "corvana/Logger.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class InputListTest : public testing::Test
{
protected:
    std::vector<Input> collect(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists)
    {
        LogBridge log(m_messages, LOG_WARN);
        return collectInputs(in_vPaths, in_vLists, m_folders, log, m_messages);
    }

    // The paths found, behind that of the folder.
    std::vector<std::string> found()
    {
        m_folders.m_bRecursive = true;
        std::vector<std::string> vPaths;
        for (const Input& input : collect({m_dir.path()}, {}))
            vPaths.push_back(input.m_strPath.substr(m_dir.path().size() + 1) + input.m_strFault);
        return vPaths;
    }

    Corvana::Test::ScopedEnvironment m_noDataFolder{"CORVANA_CPA_DATA", nullptr};
    Corvana::Test::TempDir m_dir;
    std::ostringstream m_stream;
    Messages m_messages{m_stream, false};
    FolderOptions m_folders;
};

TEST_F(InputListTest, TakesTheRecordingsOfFoldersSortedByPath)
{
    std::filesystem::create_directories(m_dir.file("b/inner"));
    for (const char* szName : {"c.wav", "b/z.wav", "b/a.WAV", "b/inner/y.wav", "a.wav", "b/notes.txt"})
        m_dir.write(szName, "x");

    EXPECT_THAT(found(), ElementsAre("a.wav", "b/a.WAV", "b/inner/y.wav", "b/z.wav", "c.wav"));
    EXPECT_EQ(m_stream.str(), "");
}

TEST_F(InputListTest, TakesTheNamesThatMatchAPattern)
{
    for (const char* szName : {"a.wav", "b.au", "c.gsm", "d.AU"})
        m_dir.write(szName, "x");
    m_folders.m_vPatterns = {"*.au", "c.*"};

    EXPECT_THAT(found(), ElementsAre("b.au", "c.gsm"));
}

// The length of a pipe cannot be known, and what a name or a link leads to is looked at when it is opened.
TEST_F(InputListTest, KnowsFilesOfFoldersAndListsFromPipes)
{
    m_dir.write("a.wav", "x");
    std::filesystem::create_symlink(m_dir.file("a.wav"), m_dir.file("link.wav"));
    ASSERT_EQ(mkfifo(m_dir.file("pipe.wav").c_str(), 0600), 0);
    m_dir.write("list.txt", "a.wav\npipe.wav\n");
    m_folders.m_bRecursive = true;

    std::vector<bool> vKnown;
    for (const Input& input : collect({m_dir.path(), m_dir.file("a.wav")}, {m_dir.file("list.txt")}))
        vKnown.push_back(input.m_bIsFile);

    // Those of the folder in their order, without the pipe; the one that was named; the list's, where the pipe is a
    // fault.
    EXPECT_THAT(vKnown, ElementsAre(true, false, false, true, false));
}

TEST_F(InputListTest, LeavesHiddenRecordingsAndLinksToFoldersOut)
{
    std::filesystem::create_directory(m_dir.file(".hidden"));
    std::filesystem::create_directory(m_dir.file("folder.wav"));
    for (const char* szName : {".hidden/a.wav", "._b.wav", "folder.wav/c.wav", "d.wav"})
        m_dir.write(szName, "x");
    std::filesystem::create_directory_symlink(m_dir.path(), m_dir.file("loop.wav"));
    std::filesystem::create_symlink(m_dir.file("d.wav"), m_dir.file("e.wav"));

    EXPECT_THAT(found(), ElementsAre("d.wav", "e.wav", "folder.wav/c.wav"));
}

// Opening the pipe would wait for somebody who writes to it.
TEST_F(InputListTest, LeavesPipesAndDevicesInAFolderOut)
{
    m_dir.write("a.wav", "x");
    ASSERT_EQ(mkfifo(m_dir.file("pipe.wav").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe.wav", m_dir.file("link.wav"));
    std::filesystem::create_symlink("/dev/zero", m_dir.file("device.wav"));
    std::filesystem::create_symlink("nowhere", m_dir.file("nowhere.wav"));

    EXPECT_THAT(found(), ElementsAre("a.wav", "nowhere.wav"));
}

TEST_F(InputListTest, TellsThatAFolderHasNoRecordings)
{
    EXPECT_THAT(found(), ElementsAre());
    EXPECT_THAT(m_stream.str(), HasSubstr("the folder has no recordings whose names match *.wav"));
}

TEST_F(InputListTest, KeepsAFolderThatCannotBeReadAsAFailedInput)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root may read every folder";
    m_dir.write("a.wav", "x");
    std::filesystem::create_directory(m_dir.file("closed"));
    std::filesystem::permissions(m_dir.file("closed"), std::filesystem::perms::none);

    EXPECT_THAT(found(), ElementsAre("a.wav", "closedthe folder cannot be read: Permission denied"));
    std::filesystem::permissions(m_dir.file("closed"), std::filesystem::perms::owner_all);
}

TEST_F(InputListTest, TellsHowTheRecordingsOfAFolderAreTaken)
{
    const std::vector<Input> vInputs = collect({m_dir.path()}, {});

    ASSERT_EQ(vInputs.size(), 1U);
    EXPECT_EQ(vInputs[0].m_strFault, "is a folder, not a recording; --recursive takes the recordings in it");
}

TEST_F(InputListTest, TakesPathsAsGivenAndThenTheListsEntries)
{
    m_dir.write("a.wav", "x");
    const std::string strFirst = m_dir.write("first.txt", "a.wav\n\n# not this\n");
    const std::string strSecond = m_dir.write("second.txt", "a.wav\na.wav\n");

    const std::vector<Input> vInputs = collect({"./x.wav"}, {strFirst, strSecond});

    ASSERT_EQ(vInputs.size(), 4U);
    EXPECT_EQ(vInputs[0].m_strPath, "./x.wav");
    EXPECT_EQ(vInputs[0].m_strFault, "");
    for (std::size_t uiIndex = 1; uiIndex < 4; ++uiIndex) {
        EXPECT_EQ(vInputs[uiIndex].m_strPath, m_dir.file("a.wav"));
        EXPECT_EQ(vInputs[uiIndex].m_strFault, "");
    }
    EXPECT_EQ(m_stream.str(), "");
}

TEST_F(InputListTest, KeepsAnEntryThatIsNotFoundWithTheLibrarysReason)
{
    const std::vector<Input> vInputs = collect({}, {m_dir.write("list.txt", "none.wav\n/none/b.wav\n")});

    ASSERT_EQ(vInputs.size(), 2U);
    EXPECT_EQ(vInputs[0].m_strPath, "none.wav");
    EXPECT_EQ(vInputs[0].m_strFault, "Could not open  file none.wav (relative path detected). File will be skipped.");
    EXPECT_EQ(vInputs[1].m_strPath, "/none/b.wav");
    EXPECT_EQ(vInputs[1].m_strFault,
              "Could not open  file /none/b.wav (absolute path detected). File will be skipped.");
}

TEST_F(InputListTest, PointsOutWindowsLineEnds)
{
    m_dir.write("a.wav", "x");

    const std::vector<Input> vInputs = collect({}, {m_dir.write("list.txt", "a.wav\r\n")});

    ASSERT_EQ(vInputs.size(), 1U);
    EXPECT_THAT(vInputs[0].m_strFault, HasSubstr("the list has Windows line ends"));
}

TEST_F(InputListTest, KeepsAListThatCannotBeReadAsAFailedInput)
{
    const std::vector<Input> vInputs = collect({}, {m_dir.file("none.txt"), m_dir.path()});

    ASSERT_EQ(vInputs.size(), 2U);
    EXPECT_EQ(vInputs[0].m_strFault, "Could not open file " + m_dir.file("none.txt") + " containing file set to parse");
    EXPECT_EQ(vInputs[1].m_strFault, "is a folder, not a list of recordings");
}

TEST_F(InputListTest, WarnsAboutAnEmptyList)
{
    EXPECT_TRUE(collect({}, {m_dir.write("list.txt", "# nothing\n")}).empty());
    EXPECT_EQ(m_stream.str(), "corvana: " + m_dir.file("list.txt") + ": warning: the list names no recordings\n");
}

TEST_F(InputListTest, RefusesAFolder)
{
    const std::vector<Input> vInputs = collect({m_dir.path()}, {});

    ASSERT_EQ(vInputs.size(), 1U);
    EXPECT_THAT(vInputs[0].m_strFault, StartsWith("is a folder, not a recording"));
}

TEST_F(InputListTest, ContradictsTheFaultThatAFileDoesNotExistWhenItDoes)
{
    constexpr SourcePosition position{"SomeFile", 1};
    const Logger logger("test.inputlist");
    const auto faultOf = [&](const std::string& in_strPath) {
        LogBridge log(m_messages, LOG_WARN);
        log.beginInput(in_strPath);
        CORVANA_LOG_AT(LOG_ERROR, position, logger, "File does not exist or is not a regular file.");
        return openingFault(in_strPath, log);
    };
    m_dir.write("a.mp3", "ID3");
    EXPECT_EQ(faultOf(m_dir.file("a.mp3")), "File does not exist or is not a regular file. (it does exist; it is "
                                            "damaged, or of a format that libsndfile does not read)");
    EXPECT_EQ(faultOf(m_dir.file("b.mp3")),
              "File does not exist or is not a regular file. (No such file or directory)");
    EXPECT_EQ(faultOf(m_dir.path()), "File does not exist or is not a regular file.");
}

} // namespace
} // namespace Corvana::Tools
