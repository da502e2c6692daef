// SPDX-License-Identifier: Apache-2.0
#include "tools/LogBridge.h"

#include "corvana/Logger.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <thread>

namespace Corvana::Tools {
namespace {

constexpr SourcePosition s_position{"SomeFile", 42};

class LogBridgeTest : public testing::Test
{
protected:
    void log(int in_iLevel, const char* in_szText) { CORVANA_LOG_AT(in_iLevel, s_position, m_logger, in_szText); }

    std::ostringstream m_stream;
    Messages m_messages{m_stream, false};
    Logger m_logger{"test.logbridge"};
};

TEST_F(LogBridgeTest, ShowsWarningsAndErrorsByDefault)
{
    LogBridge bridge(m_messages, LOG_WARN);
    log(LOG_INFO, "information");
    log(LOG_WARN, "careful");
    log(LOG_ERROR, "broken");
    EXPECT_EQ(m_stream.str(), "corvana: warning: careful\ncorvana: broken\n");
}

TEST_F(LogBridgeTest, ShowsLowerLevelsAsLinesOfTheLog)
{
    LogBridge bridge(m_messages, LOG_DEBUG);
    log(LOG_TRACE, "step");
    log(LOG_DEBUG, "detail");
    log(LOG_INFO, "information\nof two lines");
    EXPECT_EQ(m_stream.str(), "corvana: [debug] test.logbridge SomeFile:42 detail\n"
                              "corvana: [info] test.logbridge SomeFile:42 information\\nof two lines\n");
}

TEST_F(LogBridgeTest, ShowsNothingWhenOff)
{
    LogBridge bridge(m_messages, s_iLogOff);
    log(LOG_ERROR, "broken");
    EXPECT_EQ(m_stream.str(), "");
}

TEST_F(LogBridgeTest, ShortensWhatAFileMakesLong)
{
    const std::string strText = "the label " + std::string(30 << 20, 'x') + " is no type";
    const std::string strUmlauts = std::string(3000, '\xBC') + "!"; // as if letters never began
    std::string strLetters = "1";
    for (int iLetter = 0; iLetter < 1000; ++iLetter)
        strLetters += "\xC3\xBC";
    LogBridge bridge(m_messages, LOG_DEBUG);
    log(LOG_WARN, strText.c_str());
    log(LOG_DEBUG, strText.c_str());
    bridge.beginInput("a.wav");
    log(LOG_ERROR, strText.c_str());
    log(LOG_ERROR, strUmlauts.c_str());
    const std::string strErrors = bridge.takeErrors();
    EXPECT_LT(m_stream.str().size(), 2200U);
    EXPECT_EQ(m_stream.str().find("corvana: warning: the label xxx"), 0U);
    EXPECT_NE(m_stream.str().find("xxx...xxx"), std::string::npos);
    EXPECT_NE(m_stream.str().find("xxx is no type\n"), std::string::npos);
    EXPECT_LT(strErrors.size(), 5100U);
    bridge.beginInput("a.wav");
    log(LOG_ERROR, strLetters.c_str());
    // Letters stay whole.
    EXPECT_EQ(bridge.takeErrors(), strLetters.substr(0, 699) + "..." + strLetters.substr(strLetters.size() - 300));
}

TEST_F(LogBridgeTest, TellsOnceWhatIsDoneTwice)
{
    LogBridge bridge(m_messages, LOG_WARN);
    bridge.beginInput("a.wav");
    log(LOG_WARN, "careful");
    log(LOG_ERROR, "broken");
    bridge.beginAgain();
    log(LOG_WARN, "careful");
    log(LOG_ERROR, "broken");
    bridge.endInput();
    EXPECT_EQ(m_stream.str(), "corvana: a.wav: warning: careful\ncorvana: a.wav: warning: broken\n");
}

TEST_F(LogBridgeTest, LeavesWhatIsNotLong)
{
    LogBridge bridge(m_messages, LOG_WARN);
    log(LOG_ERROR, std::string(1000, 'x').c_str());
    EXPECT_EQ(m_stream.str(), "corvana: " + std::string(1000, 'x') + "\n");
}

TEST_F(LogBridgeTest, HoldsErrorsBackAsTheReasonOfAFailure)
{
    LogBridge bridge(m_messages, s_iLogOff);
    bridge.beginInput("a.wav");
    log(LOG_ERROR, "first");
    log(LOG_ERROR, "second");
    log(LOG_ERROR, "first");
    EXPECT_EQ(bridge.takeErrors(), "first; second");
    EXPECT_EQ(bridge.takeErrors(), "");
    EXPECT_EQ(m_stream.str(), "");
}

TEST_F(LogBridgeTest, TurnsErrorsThatMadeNothingFailIntoWarningsWithTheirNumber)
{
    LogBridge bridge(m_messages, LOG_WARN);
    bridge.beginInput("a.wav");
    log(LOG_ERROR, "odd");
    log(LOG_ERROR, "odd");
    log(LOG_ERROR, "strange");
    bridge.endInput();
    EXPECT_EQ(m_stream.str(), "corvana: a.wav: warning: odd (2 times)\ncorvana: a.wav: warning: strange\n");
}

TEST_F(LogBridgeTest, ShowsAWarningOnceForAnInput)
{
    LogBridge bridge(m_messages, LOG_WARN);
    for (const char* szInput : {"a.wav", "b.wav"}) {
        bridge.beginInput(szInput);
        log(LOG_WARN, "careful");
        log(LOG_WARN, "careful");
        bridge.endInput();
    }
    EXPECT_EQ(m_stream.str(), "corvana: a.wav: warning: careful\ncorvana: b.wav: warning: careful\n");
}

TEST_F(LogBridgeTest, PutsTheLogBackAsItWas)
{
    const int iFormerLevel = Logger::getRoot().getLogLevel();
    {
        LogBridge bridge(m_messages, LOG_TRACE);
        EXPECT_EQ(Logger::getRoot().getLogLevel(), LOG_TRACE);
    }
    EXPECT_EQ(Logger::getRoot().getLogLevel(), iFormerLevel);
    EXPECT_FALSE(m_logger.hasAppender());
}

TEST(LogLevel, IsReadByName)
{
    int iLevel = -7;
    EXPECT_TRUE(parseLogLevel("debug", iLevel));
    EXPECT_EQ(iLevel, LOG_DEBUG);
    EXPECT_TRUE(parseLogLevel("off", iLevel));
    EXPECT_EQ(iLevel, s_iLogOff);
    EXPECT_FALSE(parseLogLevel("loud", iLevel));
    EXPECT_FALSE(parseLogLevel("", iLevel));
    EXPECT_EQ(iLevel, s_iLogOff);
}

TEST_F(LogBridgeTest, LeavesWhatOtherThreadsLogToTheirOwnBridges)
{
    LogBridge bridge(m_messages, LOG_WARN);
    bridge.beginInput("here.wav");
    std::ostringstream otherStream;
    std::string strOtherErrors;
    std::thread([&] {
        Messages otherMessages(otherStream, false);
        LogBridge otherBridge(otherMessages, LOG_WARN);
        otherBridge.beginInput("there.wav");
        log(LOG_WARN, "careful");
        log(LOG_ERROR, "broken");
        strOtherErrors = otherBridge.takeErrors();
    }).join();
    EXPECT_EQ(bridge.takeErrors(), "");
    EXPECT_EQ(m_stream.str(), "");
    EXPECT_EQ(strOtherErrors, "broken");
    EXPECT_EQ(otherStream.str(), "corvana: there.wav: warning: careful\n");
}

TEST_F(LogBridgeTest, LeavesTheLevelAsItWasWhateverTheOrderOfBridgesEnds)
{
    const int iBefore = Logger::getRoot().getLogLevel();
    auto pCoarse = std::make_unique<LogBridge>(m_messages, LOG_ERROR);
    auto pFine = std::make_unique<LogBridge>(m_messages, LOG_DEBUG);
    EXPECT_EQ(Logger::getRoot().getLogLevel(), LOG_DEBUG);
    pCoarse.reset();
    EXPECT_EQ(Logger::getRoot().getLogLevel(), LOG_DEBUG);
    pFine.reset();
    EXPECT_EQ(Logger::getRoot().getLogLevel(), iBefore);
}

} // namespace
} // namespace Corvana::Tools
