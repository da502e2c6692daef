// SPDX-License-Identifier: Apache-2.0
#include "tools/Progress.h"
#include "tools/Messages.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Corvana::Tools {
namespace {

class ProgressTest : public testing::Test
{
protected:
    Progress make(ProgressMode in_mode, bool in_bTerminal)
    {
        return Progress(m_stream, in_mode, in_bTerminal, [this] { return m_dNow; });
    }

    std::string taken()
    {
        std::string strText = m_stream.str();
        m_stream.str("");
        return strText;
    }

    double m_dNow = 100.0;
    std::ostringstream m_stream;
};

TEST_F(ProgressTest, IsSilentForTheFirstSecond)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 100.9;
    progress.update(0.5, 10.0, "a.wav");
    EXPECT_EQ(taken(), "");
}

TEST_F(ProgressTest, TellsPartSpeedAndTimeLeft)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 102.0;
    progress.update(0.25, 200.0, "a.wav");
    EXPECT_EQ(taken(), "\r25%, 100 x real time, 6 s left  a.wav\033[K");
}

TEST_F(ProgressTest, RewritesFiveTimesASecond)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 101.0;
    progress.update(0.1, 1.0, "a");
    EXPECT_NE(taken(), "");
    m_dNow = 101.1;
    progress.update(0.2, 1.0, "a");
    EXPECT_EQ(taken(), "");
    m_dNow = 101.25;
    progress.update(0.3, 1.0, "a");
    EXPECT_NE(taken(), "");
}

TEST_F(ProgressTest, TellsNoTimeLeftWhenTheEndIsUnknown)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 102.0;
    progress.update(-1.0, 3.0, "-");
    EXPECT_EQ(taken(), "\r3 s of audio, 1.5 x real time  -\033[K");
}

TEST_F(ProgressTest, TellsNoSpeedWhereNoAudioIsRead)
{
    Progress progress = make(ProgressMode::ALWAYS, false);
    progress.setFiles(4, 1, 0);
    m_dNow += 2.0;

    progress.update(0.25, -1.0, "a.wav");
    m_dNow += 6.0;
    progress.setFiles(4, 4, 1);
    progress.finish(-1.0);

    EXPECT_EQ(m_stream.str(), "corvana: 25%, 1/4 files, 6 s left  a.wav\ncorvana: 4/4 files in 8 s\n");
}

TEST_F(ProgressTest, StaysAwayFromOtherThanTerminals)
{
    Progress progress = make(ProgressMode::AUTO, false);
    EXPECT_FALSE(progress.isShown());
    m_dNow = 200.0;
    progress.update(0.5, 10.0, "a.wav");
    progress.finish(10.0);
    EXPECT_EQ(taken(), "");
}

TEST_F(ProgressTest, WritesLinesElsewhereWhenAlwaysWanted)
{
    Progress progress = make(ProgressMode::ALWAYS, false);
    m_dNow = 102.0;
    progress.update(0.5, 200.0, "a.wav");
    m_dNow = 102.5;
    progress.update(0.6, 250.0, "a.wav");
    m_dNow = 104.0;
    progress.finish(400.0);
    EXPECT_EQ(taken(), "corvana: 50%, 100 x real time, 2 s left  a.wav\n"
                       "corvana: 6 min 40 s of audio in 4 s, 100 x real time\n");
}

TEST_F(ProgressTest, SaysNothingWhenNeverWanted)
{
    Progress progress = make(ProgressMode::NEVER, true);
    m_dNow = 200.0;
    progress.update(0.5, 10.0, "a.wav");
    progress.finish(10.0);
    EXPECT_EQ(taken(), "");
}

TEST_F(ProgressTest, IsWipedBeforeAMessage)
{
    Progress progress = make(ProgressMode::AUTO, true);
    Messages messages(m_stream, false);
    messages.setProgress(&progress);
    m_dNow = 102.0;
    progress.update(0.5, 10.0, "a.wav");
    taken();

    messages.error("something");
    messages.error("more");

    EXPECT_EQ(taken(), "\r\033[Kcorvana: something\ncorvana: more\n");
}

TEST_F(ProgressTest, IsWipedAtTheEnd)
{
    {
        Progress progress = make(ProgressMode::AUTO, true);
        m_dNow = 102.0;
        progress.update(0.5, 10.0, "a.wav");
        taken();
    }
    EXPECT_EQ(taken(), "\r\033[K");
}

TEST_F(ProgressTest, ShowsTheEndOfALongName)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 102.0;
    progress.update(1.0, 2.0, "/a/very/long/folder/name/with/much/in/it/call-0001.wav");
    EXPECT_EQ(taken(), "\r100%, 1.0 x real time, 0 s left  ...th/much/in/it/call-0001.wav\033[K");
}

TEST_F(ProgressTest, KeepsControlCharactersOffTheTerminal)
{
    Progress progress = make(ProgressMode::AUTO, true);
    m_dNow = 102.0;
    progress.update(1.0, 2.0, "a\n\033.wav");
    EXPECT_EQ(taken(), "\r100%, 1.0 x real time, 0 s left  a\\n\\x1b.wav\033[K");
}

} // namespace
} // namespace Corvana::Tools
