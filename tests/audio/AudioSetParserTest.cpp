// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioSetParser.h"

#include "audio/AudioTestHelpers.h"
#include "support/LogCapture.h"
#include "support/OtherUser.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Corvana::Audio {
namespace {

using Test::LogCapture;
using Test::LogEvent;
using Test::OtherUser;
using Test::ScopedEnvironment;
using Test::TempDir;
using Test::textsAtLevel;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

constexpr const char* s_szDataFolder = "CORVANA_CPA_DATA";

LogEvent error(const std::string& in_strText, int in_iLine)
{
    return {"kestrivon.audio.AudioSetParser", 40000, in_strText, "AudioSetParser", in_iLine};
}

LogEvent tried(const std::string& in_strPath, int in_iLine)
{
    return {"kestrivon.audio.AudioSetParser", 10000, "Trying absolute path: " + in_strPath, "AudioSetParser", in_iLine};
}

LogEvent relativeNotFound(const std::string& in_strEntry, int in_iLine)
{
    return error("Could not open  file " + in_strEntry + " (relative path detected). File will be skipped.", in_iLine);
}

LogEvent absoluteNotFound(const std::string& in_strEntry)
{
    return error("Could not open  file " + in_strEntry + " (absolute path detected). File will be skipped.", 224);
}

LogEvent errorInFileName(const std::string& in_strEntry, int in_iLine)
{
    return error("Error in filename " + in_strEntry + ". File will be skipped.", in_iLine);
}

// Changes the working directory and goes back at the end.
class ScopedWorkingDirectory
{
public:
    explicit ScopedWorkingDirectory(const std::string& in_strPath)
        : m_pathFormer(std::filesystem::current_path())
    {
        std::filesystem::current_path(in_strPath);
    }
    ~ScopedWorkingDirectory()
    {
        std::error_code error;
        std::filesystem::current_path(m_pathFormer, error);
    }
    ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
    ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

private:
    std::filesystem::path m_pathFormer;
};

class AudioSetParserTest : public testing::Test
{
protected:
    // A list in the folder "sets" of the test's own folder.
    void readList(const std::string& in_strLines, const std::string& in_strName = "list.txt")
    {
        std::filesystem::create_directories(m_dir.file("sets"));
        EXPECT_TRUE(m_parser.setAudioSetFilename(m_dir.write("sets/" + in_strName, in_strLines).c_str()));
    }

    std::string touch(const std::string& in_strName)
    {
        std::filesystem::create_directories(std::filesystem::path(m_dir.file(in_strName)).parent_path());
        return m_dir.write(in_strName, "audio");
    }

    // What getNextAudioFile() hands out until it returns null.
    std::vector<std::string> allFiles()
    {
        std::vector<std::string> vFiles;
        while (const char* szFile = m_parser.getNextAudioFile())
            vFiles.emplace_back(szFile);
        return vFiles;
    }

    // The entries as the list spells them.
    std::vector<std::string> allEntries()
    {
        std::vector<std::string> vEntries;
        m_parser.gotoFirstAudioFile();
        while (m_parser.getNextAudioFile() != nullptr)
            vEntries.push_back(m_parser.getCurrentEntry());
        return vEntries;
    }

    std::string resolve(const std::string& in_strEntry) { return m_parser.getFullFilename(in_strEntry.c_str()); }

    ScopedEnvironment m_noDataFolder{s_szDataFolder, nullptr};
    TempDir m_dir;
    AudioSetParser m_parser;
};

// ---- reading lists

TEST_F(AudioSetParserTest, IgnoresEmptyLinesAndComments)
{
    readList("a.wav\n\n# a comment\nb.wav\n");

    EXPECT_THAT(allEntries(), ElementsAre("a.wav", "b.wav"));
}

TEST_F(AudioSetParserTest, IgnoresCommentsWithoutABlank)
{
    readList("#a.wav\n#\n");

    EXPECT_THAT(allEntries(), IsEmpty());
}

TEST_F(AudioSetParserTest, TakesALineForAnEntryThatHasItsHashSignLater)
{
    readList(" # no comment\na#b.wav\n");

    EXPECT_THAT(allEntries(), ElementsAre(" # no comment", "a#b.wav"));
}

TEST_F(AudioSetParserTest, ReadsALastLineWithoutANewline)
{
    readList("a.wav\nb.wav");

    EXPECT_THAT(allEntries(), ElementsAre("a.wav", "b.wav"));
}

TEST_F(AudioSetParserTest, KeepsBlanksAndCarriageReturns)
{
    readList("  a b.wav \nc.wav\r\n\r\n\t\n");

    EXPECT_THAT(allEntries(), ElementsAre("  a b.wav ", "c.wav\r", "\r", "\t"));
}

TEST_F(AudioSetParserTest, HasNoEntriesInAnEmptyList)
{
    readList("");

    EXPECT_FALSE(m_parser.gotoFirstAudioFile());
    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, ReadsALongList)
{
    std::string strLines;
    std::vector<std::string> vExpected;
    for (int iEntry = 0; iEntry < 5000; ++iEntry) {
        vExpected.push_back("/missing/" + std::to_string(iEntry));
        strLines += vExpected.back() + "\n";
    }

    readList(strLines);

    EXPECT_EQ(vExpected, allEntries());
}

TEST_F(AudioSetParserTest, RefusesAListThatIsMissing)
{
    LogCapture log;
    const std::string strPath = m_dir.file("missing.txt");

    EXPECT_FALSE(m_parser.setAudioSetFilename(strPath.c_str()));

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ("Could not open file " + strPath + " containing file set to parse", log.events()[0].m_strText);
    EXPECT_EQ("kestrivon.audio.AudioSetParser", log.events()[0].m_strLogger);
    EXPECT_EQ(40000, log.events()[0].m_iLevel);
    EXPECT_EQ("AudioSetParser", log.events()[0].m_strFile);
}

TEST_F(AudioSetParserTest, KeepsItsListWhenTheNextOneIsMissing)
{
    touch("sets/a.wav");
    readList("a.wav\n");

    EXPECT_FALSE(m_parser.setAudioSetFilename("/no/such/list.txt"));

    m_parser.gotoFirstAudioFile();
    EXPECT_THAT(allFiles(), ElementsAre(m_dir.file("sets/a.wav")));
}

// Reading the memory of this program at address 0 is an error of reading, which no ordinary file gives.
TEST_F(AudioSetParserTest, RefusesAListThatCannotBeReadToItsEnd)
{
    touch("sets/a.wav");
    readList("a.wav\n");
    const LogCapture log("kestrivon.audio.AudioSetParser", 40000);

    EXPECT_FALSE(m_parser.setAudioSetFilename("/proc/self/mem"));

    EXPECT_THAT(log.texts(), ElementsAre("Could not read file /proc/self/mem containing file set to parse"));
    EXPECT_TRUE(m_parser.gotoFirstAudioFile());
    EXPECT_THAT(allFiles(), ElementsAre(m_dir.file("sets/a.wav")));
}

TEST_F(AudioSetParserTest, AppendsASecondList)
{
    readList("/missing/a.wav\n", "first.txt");
    readList("/missing/b.wav\n/missing/c.wav\n", "second.txt");

    EXPECT_THAT(allEntries(), ElementsAre("/missing/a.wav", "/missing/b.wav", "/missing/c.wav"));
}

TEST_F(AudioSetParserTest, ResolvesAllEntriesBesideTheListReadLast)
{
    const std::string strSound = touch("other/a.wav");
    readList("a.wav\n");
    ASSERT_TRUE(m_parser.setAudioSetFilename(m_dir.write("other/list.txt", "").c_str()));

    m_parser.gotoFirstAudioFile();

    EXPECT_THAT(allFiles(), ElementsAre(strSound));
}

TEST_F(AudioSetParserTest, GoesOnWithAListAppendedOnTheWay)
{
    readList("/missing/a.wav\n/missing/b.wav\n", "first.txt");
    m_parser.gotoFirstAudioFile();
    m_parser.getNextAudioFile();

    readList("/missing/c.wav\n", "second.txt");

    m_parser.getNextAudioFile();
    EXPECT_EQ("/missing/b.wav", m_parser.getCurrentEntry());
    m_parser.getNextAudioFile();
    EXPECT_EQ("/missing/c.wav", m_parser.getCurrentEntry());
    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, GoesOnWithAListAppendedAfterTheEnd)
{
    readList("/missing/a.wav\n", "first.txt");
    allEntries();

    readList("/missing/b.wav\n/missing/c.wav\n", "second.txt");

    ASSERT_NE(nullptr, m_parser.getNextAudioFile());
    EXPECT_EQ("/missing/b.wav", m_parser.getCurrentEntry());
    ASSERT_NE(nullptr, m_parser.getNextAudioFile());
    EXPECT_EQ("/missing/c.wav", m_parser.getCurrentEntry());
}

// ---- walking

TEST_F(AudioSetParserTest, IsPastTheEndUntilItGoesToTheFirstFile)
{
    readList("/missing/a.wav\n");

    EXPECT_TRUE(m_parser.atEnd());
    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
    EXPECT_EQ("", m_parser.getCurrentEntry());
}

TEST_F(AudioSetParserTest, HandsOutTheFirstFileFirst)
{
    const std::string strFirst = touch("sets/a.wav");
    const std::string strSecond = touch("sets/b.wav");
    readList("a.wav\nb.wav\n");

    EXPECT_TRUE(m_parser.gotoFirstAudioFile());

    EXPECT_STREQ(strFirst.c_str(), m_parser.getNextAudioFile());
    EXPECT_STREQ(strSecond.c_str(), m_parser.getNextAudioFile());
    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, ReturnsNullAgainBehindTheLastFile)
{
    readList("/missing/a.wav\n");
    m_parser.gotoFirstAudioFile();
    allFiles();

    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
    EXPECT_EQ(nullptr, m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, StartsAgainAtTheFirstFile)
{
    readList("/missing/a.wav\n/missing/b.wav\n");

    EXPECT_EQ(allEntries(), allEntries());
}

TEST_F(AudioSetParserTest, StartsAgainInMidList)
{
    readList("/missing/a.wav\n/missing/b.wav\n/missing/c.wav\n");
    m_parser.gotoFirstAudioFile();
    m_parser.getNextAudioFile();
    m_parser.getNextAudioFile();

    m_parser.gotoFirstAudioFile();
    m_parser.getNextAudioFile();

    EXPECT_EQ("/missing/a.wav", m_parser.getCurrentEntry());
}

TEST_F(AudioSetParserTest, IsAtTheEndOfAListOfOneFromTheStart)
{
    const std::string strFile = touch("sets/a.wav");
    readList("a.wav\n");

    m_parser.gotoFirstAudioFile();

    EXPECT_TRUE(m_parser.atEnd());
    EXPECT_STREQ(strFile.c_str(), m_parser.getNextAudioFile());
    EXPECT_TRUE(m_parser.atEnd());
}

TEST_F(AudioSetParserTest, IsAtTheEndWhenTheLastFileWasHandedOut)
{
    readList("/missing/a.wav\n/missing/b.wav\n");
    m_parser.gotoFirstAudioFile();

    EXPECT_FALSE(m_parser.atEnd());
    m_parser.getNextAudioFile();
    EXPECT_FALSE(m_parser.atEnd());
    m_parser.getNextAudioFile();
    EXPECT_TRUE(m_parser.atEnd());
    m_parser.getNextAudioFile();
    EXPECT_TRUE(m_parser.atEnd());
}

TEST_F(AudioSetParserTest, IsAtTheEndOfAnEmptyList)
{
    readList("");
    m_parser.gotoFirstAudioFile();

    EXPECT_TRUE(m_parser.atEnd());
}

TEST_F(AudioSetParserTest, HandsOutARejectedEntryAsAnEmptyText)
{
    const std::string strFile = touch("sets/b.wav");
    readList("/missing/a.wav\nb.wav\n");
    LogCapture log;

    m_parser.gotoFirstAudioFile();

    EXPECT_STREQ("", m_parser.getNextAudioFile());
    EXPECT_THAT(log.events(), ElementsAre(absoluteNotFound("/missing/a.wav")));
    EXPECT_STREQ(strFile.c_str(), m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, NamesTheEntryLastHandedOut)
{
    touch("sets/b.wav");
    readList("x/../b.wav\n");
    m_parser.gotoFirstAudioFile();
    EXPECT_EQ("", m_parser.getCurrentEntry());

    m_parser.getNextAudioFile();
    EXPECT_EQ("x/../b.wav", m_parser.getCurrentEntry());

    m_parser.getNextAudioFile();
    EXPECT_EQ("", m_parser.getCurrentEntry());
}

// ---- resolving absolute entries

TEST_F(AudioSetParserTest, KeepsAnAbsoluteEntryAsWritten)
{
    touch("sounds/a.wav");
    const std::string strEntry = m_dir.path() + "/./sounds/../sounds//a.wav";
    LogCapture log;

    EXPECT_EQ(strEntry, resolve(strEntry));
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(AudioSetParserTest, RejectsAMissingAbsoluteEntry)
{
    LogCapture log;

    EXPECT_EQ("", resolve("/missing/a.wav"));

    EXPECT_THAT(log.events(), ElementsAre(absoluteNotFound("/missing/a.wav")));
}

TEST_F(AudioSetParserTest, FindsNothingForNull)
{
    EXPECT_STREQ("", m_parser.getFullFilename(nullptr));
}

TEST_F(AudioSetParserTest, DoesNotTakeAFolderOrNullForAList)
{
    const LogCapture log("kestrivon.audio.AudioSetParser");

    EXPECT_FALSE(m_parser.setAudioSetFilename(m_dir.path().c_str()));
    EXPECT_FALSE(m_parser.setAudioSetFilename(nullptr));

    EXPECT_THAT(log.texts(), ElementsAre("Could not open file " + m_dir.path() + " containing file set to parse",
                                         "Could not open file  containing file set to parse"));
}

TEST_F(AudioSetParserTest, DoesNotLookForAnAbsoluteEntryInTheDataFolder)
{
    touch("data/missing/a.wav");
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());

    EXPECT_EQ("", resolve("/missing/a.wav"));
}

// ---- resolving relative entries

TEST_F(AudioSetParserTest, ResolvesARelativeEntryBesideTheList)
{
    const std::string strFile = touch("sets/x/y.wav");
    readList("");
    LogCapture log;

    EXPECT_EQ(strFile, resolve("x/y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(tried(strFile, 171)));
}

TEST_F(AudioSetParserTest, ResolvesStepsToTheParentFolder)
{
    const std::string strFile = touch("sounds/y.wav");
    readList("");

    EXPECT_EQ(strFile, resolve("../sounds/./y.wav"));
}

TEST_F(AudioSetParserTest, FollowsSymbolicLinks)
{
    const std::string strFile = touch("sounds/y.wav");
    readList("");
    std::filesystem::create_symlink(m_dir.file("sounds"), m_dir.file("sets/link"));

    EXPECT_EQ(strFile, resolve("link/y.wav"));
}

TEST_F(AudioSetParserTest, ResolvesBesideAListNamedByARelativePath)
{
    const std::string strFile = touch("sets/y.wav");
    m_dir.write("sets/list.txt", "");
    const ScopedWorkingDirectory directory(m_dir.path());
    m_parser.setAudioSetFilename("sets/list.txt");

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, ResolvesAgainstTheWorkingDirectoryForAListWithoutAFolder)
{
    const std::string strFile = touch("sets/y.wav");
    m_dir.write("sets/list.txt", "");
    const ScopedWorkingDirectory directory(m_dir.file("sets"));
    m_parser.setAudioSetFilename("list.txt");
    LogCapture log;

    EXPECT_EQ(strFile, resolve("y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(tried(strFile, 171)));
}

TEST_F(AudioSetParserTest, ResolvesAgainstTheWorkingDirectoryWithoutAnyList)
{
    const std::string strFile = touch("y.wav");
    const ScopedWorkingDirectory directory(m_dir.path());

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, ResolvesAgainstTheWorkingDirectoryForAListWhoseNameBeginsWithItsOnlySeparator)
{
    touch(":y.wav");
    const std::string strFile = touch("y.wav");
    const ScopedWorkingDirectory directory(m_dir.path());
    // As for a list in the root folder, where a test cannot write.
    for (const char* szList : {":list.txt", "\\list.txt"}) {
        m_dir.write(szList, "");
        ASSERT_TRUE(m_parser.setAudioSetFilename(szList));
        EXPECT_EQ(strFile, resolve("y.wav")) << szList;
    }
}

TEST_F(AudioSetParserTest, ResolvesBesideAListWhoseNameHasASeparatorInTheSecondPlace)
{
    const std::string strFile = touch("c:y.wav");
    touch("y.wav");
    m_dir.write("c:list.txt", "");
    const ScopedWorkingDirectory directory(m_dir.path());
    ASSERT_TRUE(m_parser.setAudioSetFilename("c:list.txt"));

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, TakesABackslashInTheListsNameForASeparator)
{
    const std::string strFile = touch("sets\\y.wav");
    m_dir.write("sets\\list.txt", "");
    const ScopedWorkingDirectory directory(m_dir.path());
    m_parser.setAudioSetFilename("sets\\list.txt");

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, TakesTheLastOfDifferentSeparators)
{
    const std::string strFile = touch("sets/c:y.wav");
    m_dir.write("sets/c:list.txt", "");
    m_parser.setAudioSetFilename(m_dir.file("sets/c:list.txt").c_str());

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, RejectsAMissingRelativeEntryWithoutADataFolder)
{
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve("y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(tried(m_dir.file("sets/y.wav"), 171), relativeNotFound("y.wav", 187)));
}

TEST_F(AudioSetParserTest, LooksForAMissingRelativeEntryInTheDataFolder)
{
    const std::string strFile = touch("data/x/y.wav");
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());
    readList("");
    LogCapture log;

    EXPECT_EQ(strFile, resolve("x/y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(tried(m_dir.file("sets/x/y.wav"), 171), tried(strFile, 202)));
}

TEST_F(AudioSetParserTest, PrefersTheFileBesideTheList)
{
    touch("data/y.wav");
    const std::string strFile = touch("sets/y.wav");
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());
    readList("");

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, RejectsAnEntryThatTheDataFolderLacksToo)
{
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve("y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(tried(m_dir.file("sets/y.wav"), 171), tried(m_dir.file("data/y.wav"), 202),
                                          relativeNotFound("y.wav", 208)));
}

TEST_F(AudioSetParserTest, MakesTheDataFoldersPathCanonical)
{
    const std::string strFile = touch("data/y.wav");
    const ScopedEnvironment environment(s_szDataFolder, (m_dir.file("sets") + "/../data/").c_str());
    readList("");

    EXPECT_EQ(strFile, resolve("y.wav"));
}

TEST_F(AudioSetParserTest, TakesAnEmptyDataFolderForTheRootFolder)
{
    const ScopedEnvironment environment(s_szDataFolder, "");
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve("no-such-entry.wav"));

    EXPECT_THAT(log.events(),
                ElementsAre(tried(m_dir.file("sets/no-such-entry.wav"), 171), tried("/no-such-entry.wav", 202),
                            relativeNotFound("no-such-entry.wav", 208)));
}

TEST_F(AudioSetParserTest, RejectsAnEntryWhosePathCannotBeResolved)
{
    readList("");
    std::filesystem::create_symlink("loop", m_dir.file("sets/loop"));
    LogCapture log;

    EXPECT_EQ("", resolve("loop/y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(errorInFileName("loop/y.wav", 167)));
}

TEST_F(AudioSetParserTest, DoesNotTryTheDataFolderForAPathThatCannotBeResolved)
{
    touch("data/loop/y.wav");
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());
    readList("");
    std::filesystem::create_symlink("loop", m_dir.file("sets/loop"));

    EXPECT_EQ("", resolve("loop/y.wav"));
}

TEST_F(AudioSetParserTest, RejectsAnEntryWhosePathInTheDataFolderCannotBeResolved)
{
    std::filesystem::create_directories(m_dir.file("data"));
    std::filesystem::create_symlink("loop", m_dir.file("data/loop"));
    const ScopedEnvironment environment(s_szDataFolder, m_dir.file("data").c_str());
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve("loop/y.wav"));

    EXPECT_THAT(log.events(),
                ElementsAre(tried(m_dir.file("sets/loop/y.wav"), 171), errorInFileName("loop/y.wav", 198)));
}

TEST_F(AudioSetParserTest, RejectsAnEntryWithATooLongName)
{
    const std::string strEntry(5000, 'x');
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve(strEntry));

    EXPECT_THAT(log.events(), ElementsAre(errorInFileName(strEntry, 167)));
}

TEST_F(AudioSetParserTest, RejectsAnEntryWhenTheWorkingDirectoryIsGone)
{
    std::filesystem::create_directories(m_dir.file("gone"));
    const ScopedWorkingDirectory directory(m_dir.file("gone"));
    std::filesystem::remove(m_dir.file("gone"));
    LogCapture log;

    EXPECT_EQ("", resolve("y.wav"));

    EXPECT_THAT(log.events(), ElementsAre(errorInFileName("y.wav", 167)));
}

TEST_F(AudioSetParserTest, ResolvesTheTextThatItReturnedBefore)
{
    const std::string strFile = touch("sets/a.wav");
    readList("");

    EXPECT_STREQ(strFile.c_str(), m_parser.getFullFilename(m_parser.getFullFilename("a.wav")));
}

TEST_F(AudioSetParserTest, RejectsAnEmptyEntryWithoutAList)
{
    LogCapture log;

    EXPECT_EQ("", resolve(""));

    EXPECT_THAT(log.events(), ElementsAre(errorInFileName("", 167)));
}

TEST_F(AudioSetParserTest, RejectsAnEntryWithACarriageReturn)
{
    touch("sets/a.wav");
    readList("a.wav\r\n");
    m_parser.gotoFirstAudioFile();

    EXPECT_STREQ("", m_parser.getNextAudioFile());
}

TEST_F(AudioSetParserTest, ForgetsTheFormerFileWhenAnEntryIsRejected)
{
    const std::string strFile = touch("sets/a.wav");
    readList("");
    ASSERT_EQ(strFile, resolve("a.wav"));

    EXPECT_EQ("", resolve("b.wav"));
}

TEST_F(AudioSetParserTest, ResolvesNamesWithBlanksAndLettersOutsideAscii)
{
    const std::string strFile = touch("sets/Gespräch no 1.wav");
    readList("");

    EXPECT_EQ(strFile, resolve("Gespräch no 1.wav"));
}

// ---- existence

TEST_F(AudioSetParserTest, FindsARegularFile)
{
    EXPECT_TRUE(m_parser.doesFileExist(touch("a.wav").c_str()));
}

TEST_F(AudioSetParserTest, FindsAFileBehindALink)
{
    std::filesystem::create_symlink(touch("a.wav"), m_dir.file("link"));

    EXPECT_TRUE(m_parser.doesFileExist(m_dir.file("link").c_str()));
}

TEST_F(AudioSetParserTest, DoesNotFindAMissingFile)
{
    EXPECT_FALSE(m_parser.doesFileExist(m_dir.file("a.wav").c_str()));
}

TEST_F(AudioSetParserTest, DoesNotTakeAFolderForAFile)
{
    EXPECT_FALSE(m_parser.doesFileExist(m_dir.path().c_str()));
}

TEST_F(AudioSetParserTest, DoesNotTakeAPipeForAFileAndDoesNotWaitForIt)
{
    ASSERT_EQ(0, mkfifo(m_dir.file("fifo").c_str(), 0600));

    EXPECT_FALSE(m_parser.doesFileExist(m_dir.file("fifo").c_str()));
}

TEST_F(AudioSetParserTest, DoesNotTakeADeviceForAFile)
{
    EXPECT_FALSE(m_parser.doesFileExist("/dev/null"));
}

TEST_F(AudioSetParserTest, FindsAFileThatOnlyItsOwnerMayRead)
{
    const std::string strFile = touch("own.wav");
    std::filesystem::permissions(strFile, std::filesystem::perms::owner_read);

    EXPECT_TRUE(m_parser.doesFileExist(strFile.c_str()));
}

TEST_F(AudioSetParserTest, DoesNotFindAFileThatItCannotRead)
{
    const std::string strFile = touch("secret.wav");
    std::filesystem::permissions(strFile, std::filesystem::perms::none);
    std::filesystem::permissions(m_dir.path(), std::filesystem::perms::all);
    const OtherUser user;

    EXPECT_FALSE(m_parser.doesFileExist(strFile.c_str()));
}

TEST_F(AudioSetParserTest, RejectsAFolderAsAnEntry)
{
    std::filesystem::create_directories(m_dir.file("sets/folder"));
    readList("");
    LogCapture log;

    EXPECT_EQ("", resolve("folder"));

    EXPECT_THAT(log.events(), ElementsAre(tried(m_dir.file("sets/folder"), 171), relativeNotFound("folder", 187)));
}

// ---- tracing

TEST_F(AudioSetParserTest, TracesItsOperations)
{
    const std::string strList = m_dir.write("list.txt", "/missing/a.wav\n");
    LogCapture log("kestrivon", 0);

    m_parser.setAudioSetFilename(strList.c_str());
    m_parser.gotoFirstAudioFile();
    m_parser.getNextAudioFile();
    m_parser.atEnd();
    m_parser.getNextAudioFile();

    EXPECT_THAT(textsAtLevel(log, 0),
                ElementsAre("ENTER : AudioSetParser::setAudioSetFilename", "EXIT : AudioSetParser::setAudioSetFilename",
                            "ENTER : AudioSetParser::gotoFirstAudioFile", "EXIT : AudioSetParser::gotoFirstAudioFile",
                            "ENTER : AudioSetParser::getNextAudioFile", "EXIT : AudioSetParser::getNextAudioFile",
                            "ENTER : AudioSetParser::atEnd", "EXIT : AudioSetParser::atEnd",
                            "ENTER : AudioSetParser::getNextAudioFile", "EXIT : AudioSetParser::getNextAudioFile"));
    EXPECT_THAT(log.events(), Each(AllOf(Field(&LogEvent::m_strLogger, "kestrivon.audio.AudioSetParser"),
                                         Field(&LogEvent::m_strFile, "AudioSetParser"))));
}

TEST_F(AudioSetParserTest, TracesAFailedReading)
{
    LogCapture log("kestrivon", 0);

    m_parser.setAudioSetFilename("/no/such/list.txt");

    EXPECT_THAT(textsAtLevel(log, 0), ElementsAre("ENTER : AudioSetParser::setAudioSetFilename",
                                                  "EXIT : AudioSetParser::setAudioSetFilename"));
}

} // namespace
} // namespace Corvana::Audio
