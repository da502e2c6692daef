// SPDX-License-Identifier: Apache-2.0
#include "corvana/Logger.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <locale>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

CORVANA_FILE_SCOPE_LOGGER("test.fileScope")

using Corvana::AceCleanupLogger;
using Corvana::CachedLLLogger;
using Corvana::LOG_DEBUG;
using Corvana::LOG_ERROR;
using Corvana::LOG_INFO;
using Corvana::LOG_TRACE;
using Corvana::LOG_WARN;
using Corvana::Logger;
using Corvana::SourcePosition;
using Corvana::Test::LogCapture;
using Corvana::Test::LogEvent;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr SourcePosition s_position{"SomeFile", 99};

// An appender at a log4cplus logger for as long as the test wants it.
class ScopedAppender
{
public:
    explicit ScopedAppender(const log4cplus::Logger& in_logger)
        : m_logger(in_logger)
        , m_pAppender(new log4cplus::NullAppender)
    {
        m_logger.addAppender(m_pAppender);
    }
    ~ScopedAppender() { m_logger.removeAppender(m_pAppender); }
    ScopedAppender(const ScopedAppender&) = delete;
    ScopedAppender& operator=(const ScopedAppender&) = delete;

private:
    log4cplus::Logger m_logger;
    log4cplus::SharedAppenderPtr m_pAppender;
};

log4cplus::Logger underlying(const char* in_szName)
{
    return log4cplus::Logger::getInstance(in_szName);
}

} // namespace

// ---- Levels

TEST(Logger, HasLog4cplussLevels)
{
    EXPECT_EQ(0, LOG_TRACE);
    EXPECT_EQ(10000, LOG_DEBUG);
    EXPECT_EQ(20000, LOG_INFO);
    EXPECT_EQ(30000, LOG_WARN);
    EXPECT_EQ(40000, LOG_ERROR);
}

TEST(Logger, HasNoLevelOfItsOwnUntilOneIsSet)
{
    const Logger logger("test.level.own");
    EXPECT_EQ(-1, logger.getLogLevel());

    underlying("test.level.own").setLogLevel(LOG_WARN);

    EXPECT_EQ(LOG_WARN, logger.getLogLevel());
}

TEST(Logger, TakesTheNearestAncestorsLevelWhenItHasNone)
{
    underlying("test.level.chain").setLogLevel(LOG_ERROR);
    const Logger logger("test.level.chain.middle.leaf");

    EXPECT_EQ(-1, logger.getLogLevel());
    EXPECT_EQ(LOG_ERROR, logger.getChainedLogLevel());

    underlying("test.level.chain.middle").setLogLevel(LOG_INFO);
    EXPECT_EQ(LOG_INFO, logger.getChainedLogLevel());

    underlying("test.level.chain.middle.leaf").setLogLevel(LOG_TRACE);
    EXPECT_EQ(LOG_TRACE, logger.getChainedLogLevel());
}

TEST(Logger, IsEnabledFromItsEffectiveLevelOn)
{
    underlying("test.enabled").setLogLevel(LOG_WARN);
    const Logger logger("test.enabled.leaf");

    EXPECT_FALSE(logger.isEnabledFor(LOG_INFO));
    EXPECT_TRUE(logger.isEnabledFor(LOG_WARN));
    EXPECT_TRUE(logger.isEnabledFor(LOG_ERROR));
}

TEST(Logger, KnowsItsOwnLevelOnly)
{
    underlying("test.known").setLogLevel(LOG_WARN);

    EXPECT_EQ(LOG_WARN, Logger("test.known").getKnownLogLevel());
    EXPECT_EQ(-1, Logger("test.known.leaf").getKnownLogLevel());
}

TEST(Logger, OfOneNameExistsOnceInTheProcess)
{
    const Logger first("test.once");
    const Logger second("test.once");
    Logger copy(Logger("test.another"));
    copy = first;

    underlying("test.once").setLogLevel(LOG_INFO);

    EXPECT_EQ(LOG_INFO, first.getLogLevel());
    EXPECT_EQ(LOG_INFO, second.getLogLevel());
    EXPECT_EQ(LOG_INFO, copy.getLogLevel());
}

TEST(Logger, OfTheRootIsTheAncestorOfAll)
{
    EXPECT_EQ(log4cplus::Logger::getRoot().getLogLevel(), Logger::getRoot().getLogLevel());
    EXPECT_EQ(Logger::getRoot().getLogLevel(), Logger("testWithoutAnyLevel").getChainedLogLevel());
    EXPECT_EQ(&Logger::getRoot(), &Logger::getRoot());
}

// ---- Somewhere to write

TEST(Logger, HasNoAppenderWhenNobodyConfiguredOne)
{
    EXPECT_FALSE(Logger("test.appender.none.leaf").hasAppender());
    EXPECT_FALSE(Logger::getRoot().hasAppender());
}

TEST(Logger, HasTheAppenderOfItsOwn)
{
    const ScopedAppender appender(underlying("test.appender.own"));

    EXPECT_TRUE(Logger("test.appender.own").hasAppender());
}

TEST(Logger, HasTheAppendersOfItsAncestors)
{
    const ScopedAppender appender(underlying("test.appender.up"));

    EXPECT_TRUE(Logger("test.appender.up.middle.leaf").hasAppender());
}

TEST(Logger, HasTheAppenderOfTheRoot)
{
    const ScopedAppender appender(log4cplus::Logger::getRoot());

    EXPECT_TRUE(Logger("test.appender.root.leaf").hasAppender());
    EXPECT_TRUE(Logger::getRoot().hasAppender());
}

TEST(Logger, FindsTheAppenderOfALoggerThatIsOnlyCalledRoot)
{
    const LogCapture log("root");

    EXPECT_TRUE(Logger("root").hasAppender());
    EXPECT_FALSE(Logger::getRoot().hasAppender());
}

TEST(Logger, HasNoAppenderOfAnAncestorThatItPassesNothingTo)
{
    const ScopedAppender appender(underlying("test.additivity"));
    underlying("test.additivity.closed").setAdditivity(false);

    EXPECT_FALSE(Logger("test.additivity.closed").hasAppender());
    EXPECT_FALSE(Logger("test.additivity.closed.leaf").hasAppender());
    EXPECT_TRUE(Logger("test.additivity.open").hasAppender());
}

TEST(Logger, HasItsOwnAppenderAlsoWhenItPassesNothingOn)
{
    const ScopedAppender appender(underlying("test.additivity.own"));
    underlying("test.additivity.own").setAdditivity(false);

    EXPECT_TRUE(Logger("test.additivity.own").hasAppender());
    EXPECT_TRUE(Logger("test.additivity.own.leaf").hasAppender());
}

TEST(Logger, WantsWhatIsEnabledAndHasSomewhereToGo)
{
    underlying("test.wants").setLogLevel(LOG_WARN);
    const Logger logger("test.wants");
    const Logger leaf("test.wants.leaf");
    EXPECT_FALSE(logger.wants(LOG_ERROR));

    const ScopedAppender appender(underlying("test.wants"));

    EXPECT_TRUE(logger.wants(LOG_ERROR));
    EXPECT_TRUE(logger.wants(LOG_WARN));
    EXPECT_FALSE(logger.wants(LOG_INFO));
    EXPECT_TRUE(leaf.wants(LOG_WARN));
    EXPECT_FALSE(leaf.wants(LOG_INFO));
}

TEST(Logger, AsksLog4cplusWhenItHasNoLevelOfItsOwn)
{
    const LogCapture log("test.asks", LOG_DEBUG);
    const Logger leaf("test.asks.leaf");
    ASSERT_TRUE(leaf.wants(LOG_INFO));

    underlying("test.asks").getHierarchy().disable(LOG_INFO);
    const bool bWantedWhileDisabled = leaf.wants(LOG_INFO);
    underlying("test.asks").getHierarchy().enableAll();

    EXPECT_FALSE(bWantedWhileDisabled);
}

// ---- Messages

TEST(Logger, WritesAForcedMessageWhateverItsLevel)
{
    const LogCapture log("test.forced", LOG_ERROR);

    Logger("test.forced.leaf").forcedLog(LOG_DEBUG, "text", s_position);

    EXPECT_THAT(log.events(), ElementsAre(LogEvent{"test.forced.leaf", 10000, "text", "SomeFile", 99}));
}

TEST(LogMacro, ComposesTheTextAndCarriesLevelLoggerFileAndLine)
{
    const LogCapture log("test.macro");
    const Logger logger("test.macro");

    CORVANA_LOG_ERROR_AT(s_position, logger,
                         "failed to open "
                             << "call.wav"
                             << ", " << 12 << ' ' << 0.5);

    EXPECT_THAT(log.events(),
                ElementsAre(LogEvent{"test.macro", 40000, "failed to open call.wav, 12 0.5", "SomeFile", 99}));
}

TEST(LogMacro, HasAFormForEachLevel)
{
    const LogCapture log("test.macro", LOG_TRACE);
    const Logger logger("test.macro");

    CORVANA_LOG_TRACE_AT(s_position, logger, "trace");
    CORVANA_LOG_DEBUG_AT(s_position, logger, "debug");
    CORVANA_LOG_AT(LOG_INFO, s_position, logger, "info");
    CORVANA_LOG_WARN_AT(s_position, logger, "warning");
    CORVANA_LOG_ERROR_AT(s_position, logger, "error");

    EXPECT_THAT(log.events(), ElementsAre(LogEvent{"test.macro", 0, "trace", "SomeFile", 99},
                                          LogEvent{"test.macro", 10000, "debug", "SomeFile", 99},
                                          LogEvent{"test.macro", 20000, "info", "SomeFile", 99},
                                          LogEvent{"test.macro", 30000, "warning", "SomeFile", 99},
                                          LogEvent{"test.macro", 40000, "error", "SomeFile", 99}));
}

TEST(LogMacro, WithoutAPositionReportsWhereItStands)
{
    const LogCapture log("test.macro", LOG_DEBUG);
    const Logger logger("test.macro");

    const int iLine = __LINE__;
    CORVANA_LOG_DEBUG(logger, "debug");
    CORVANA_LOG_INFO(logger, "info");
    CORVANA_LOG_WARN(logger, "warning");
    CORVANA_LOG_ERROR(logger, "error");

    EXPECT_THAT(log.events(), ElementsAre(LogEvent{"test.macro", 10000, "debug", "LoggerTest", iLine + 1},
                                          LogEvent{"test.macro", 20000, "info", "LoggerTest", iLine + 2},
                                          LogEvent{"test.macro", 30000, "warning", "LoggerTest", iLine + 3},
                                          LogEvent{"test.macro", 40000, "error", "LoggerTest", iLine + 4}));
}

TEST(LogMacro, ComposesNothingBelowTheLevel)
{
    const LogCapture log("test.lazy.level", LOG_WARN);
    const Logger logger("test.lazy.level");
    int iNbOfCompositions = 0;

    CORVANA_LOG_INFO(logger, "info " << ++iNbOfCompositions);
    EXPECT_EQ(0, iNbOfCompositions);
    CORVANA_LOG_WARN(logger, "warning " << ++iNbOfCompositions);
    EXPECT_EQ(1, iNbOfCompositions);

    EXPECT_THAT(log.texts(), ElementsAre("warning 1"));
}

TEST(LogMacro, ComposesNothingWithoutAnAppender)
{
    underlying("test.lazy.appender").setLogLevel(LOG_TRACE);
    const Logger logger("test.lazy.appender");
    int iNbOfCompositions = 0;

    CORVANA_LOG_ERROR(logger, "error " << ++iNbOfCompositions);

    EXPECT_EQ(0, iNbOfCompositions);
}

TEST(LogMacro, IsOneStatement)
{
    const LogCapture log("test.statement");
    const Logger logger("test.statement");
    const bool bFailed = false;

    if (bFailed)
        CORVANA_LOG_ERROR(logger, "failed");
    else
        CORVANA_LOG_ERROR(logger, "went well");

    EXPECT_THAT(log.texts(), ElementsAre("went well"));
}

namespace {

// How some countries write numbers: 1.234.567,5.
class ForeignNumbers : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST(LogMacro, WritesNumbersTheSameUnderEveryLocale)
{
    const LogCapture log("test.locale");
    const Logger logger("test.locale");
    const std::locale former = std::locale::global(std::locale(std::locale::classic(), new ForeignNumbers));

    CORVANA_LOG_ERROR(logger, "of " << 1234567 << " and " << 0.5);
    std::locale::global(former);

    EXPECT_THAT(log.texts(), ElementsAre("of 1234567 and 0.5"));
}

// ---- CachedLLLogger

TEST(CachedLLLogger, KnowsNoLevelAtFirstAndAsksForEachMessage)
{
    const LogCapture log("test.cached.asks", LOG_WARN);
    const CachedLLLogger logger(Logger("test.cached.asks.leaf"));

    EXPECT_EQ(-1, logger.getKnownLogLevel());
    EXPECT_FALSE(logger.wants(LOG_INFO));

    underlying("test.cached.asks").setLogLevel(LOG_INFO);
    EXPECT_TRUE(logger.wants(LOG_INFO));
}

TEST(CachedLLLogger, CachesTheChainedLevel)
{
    const LogCapture log("test.cached.chain", LOG_WARN);
    CachedLLLogger logger(Logger("test.cached.chain.leaf"));

    logger.cacheLogLevel();

    EXPECT_EQ(LOG_WARN, logger.getKnownLogLevel());
    EXPECT_EQ(-1, logger.getLogLevel());
    EXPECT_TRUE(logger.wants(LOG_WARN));
    EXPECT_FALSE(logger.wants(LOG_INFO));
}

TEST(CachedLLLogger, HoldsMessagesAgainstTheCachedLevelUntilItCachesAgain)
{
    const LogCapture log("test.cached.stale", LOG_WARN);
    CachedLLLogger logger(Logger("test.cached.stale"));
    logger.cacheLogLevel();

    underlying("test.cached.stale").setLogLevel(LOG_DEBUG);
    CORVANA_LOG_DEBUG(logger, "too early");
    logger.cacheLogLevel();
    CORVANA_LOG_DEBUG(logger, "in time");
    underlying("test.cached.stale").setLogLevel(LOG_ERROR);
    CORVANA_LOG_DEBUG(logger, "still in time");

    EXPECT_THAT(log.texts(), ElementsAre("in time", "still in time"));
}

TEST(CachedLLLogger, WantsNothingWithoutAnAppenderWhateverItCached)
{
    underlying("test.cached.silent").setLogLevel(LOG_TRACE);
    CachedLLLogger logger(Logger("test.cached.silent"));

    logger.cacheLogLevel();

    EXPECT_FALSE(logger.wants(LOG_ERROR));
}

TEST(CachedLLLogger, CopiesItsCachedLevel)
{
    underlying("test.cached.copy").setLogLevel(LOG_INFO);
    CachedLLLogger logger(Logger("test.cached.copy"));
    logger.cacheLogLevel();

    const CachedLLLogger copy(logger);

    EXPECT_EQ(LOG_INFO, copy.getKnownLogLevel());
}

// ---- File-scope loggers

TEST(FileScopeLogger, IsOneObjectForAllThreads)
{
    const AceCleanupLogger* pLogger = &fileScopeLogger();
    std::vector<const AceCleanupLogger*> vSeen(4, nullptr);
    std::vector<std::thread> vThreads;
    for (const AceCleanupLogger*& pSeen : vSeen)
        vThreads.emplace_back([&pSeen] { pSeen = &fileScopeLogger(); });
    for (std::thread& thread : vThreads)
        thread.join();

    EXPECT_THAT(vSeen, testing::Each(pLogger));
}

TEST(FileScopeLogger, HasTheGivenName)
{
    const LogCapture log("test.fileScope");

    CORVANA_LOG_ERROR(fileScopeLogger(), "text");

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ("test.fileScope", log.events()[0].m_strLogger);
}

// ---- ObjectWithLogger

namespace {

class LoggingObject : public Corvana::ObjectWithLogger<CachedLLLogger>
{
public:
    LoggingObject() { setLogger(Logger("test.object")); }
    void complain() const { CORVANA_LOG_ERROR(getLogger(), "complaint"); }
    int cache()
    {
        getLogger().cacheLogLevel();
        return getLogger().getKnownLogLevel();
    }
};

class DerivedLoggingObject : public virtual LoggingObject
{
};

class SilentObject : public Corvana::ObjectWithLogger<CachedLLLogger>
{
public:
    void complain() const { CORVANA_LOG_ERROR(getLogger(), "complaint"); }
};

} // namespace

TEST(ObjectWithLogger, LogsThroughTheLoggerThatItsClassStates)
{
    const LogCapture log("test.object");

    LoggingObject().complain();

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ("test.object", log.events()[0].m_strLogger);
}

TEST(ObjectWithLogger, NeedsNoStatementInDerivedClasses)
{
    const LogCapture log("test.object");

    DerivedLoggingObject().complain();

    EXPECT_THAT(log.texts(), ElementsAre("complaint"));
}

TEST(ObjectWithLogger, LogsThroughTheRootUntilALoggerIsStated)
{
    const LogCapture log(""); // log4cplus's root

    SilentObject().complain();

    ASSERT_EQ(1u, log.events().size());
    EXPECT_EQ("root", log.events()[0].m_strLogger);
}

TEST(ObjectWithLogger, CachesTheLevelOfItsLogger)
{
    underlying("test.object").setLogLevel(LOG_WARN);

    const int iCached = LoggingObject().cache();
    underlying("test.object").setLogLevel(log4cplus::NOT_SET_LOG_LEVEL);

    EXPECT_EQ(LOG_WARN, iCached);
}

// ---- TraceScope

namespace {

int returnsEarlyFor(const Logger& in_logger, int in_iValue)
{
    CORVANA_TRACE_SCOPE(in_logger, "Reader::read");
    if (in_iValue == 1)
        return 1;
    if (in_iValue == 2)
        throw std::runtime_error("no");
    return 0;
}

} // namespace

TEST(TraceScope, LogsEntryAndExitAtTraceLevel)
{
    const LogCapture log("test.trace", LOG_TRACE);
    const Logger logger("test.trace");

    const int iLine = __LINE__ + 2;
    {
        CORVANA_TRACE_SCOPE(logger, "LinearAudioWindower::configure");
    }

    EXPECT_THAT(log.events(),
                ElementsAre(LogEvent{"test.trace", 0, "ENTER : LinearAudioWindower::configure", "LoggerTest", iLine},
                            LogEvent{"test.trace", 0, "EXIT : LinearAudioWindower::configure", "LoggerTest", iLine}));
}

TEST(TraceScope, LogsTheExitOnEveryReturnPath)
{
    const Logger logger("test.trace.paths");
    for (const int iValue : {0, 1}) {
        const LogCapture log("test.trace.paths", LOG_TRACE);

        EXPECT_EQ(iValue, returnsEarlyFor(logger, iValue));

        EXPECT_THAT(log.texts(), ElementsAre("ENTER : Reader::read", "EXIT : Reader::read"));
    }
}

TEST(TraceScope, LogsTheExitWhenAnExceptionPasses)
{
    const LogCapture log("test.trace.throw", LOG_TRACE);

    EXPECT_THROW(returnsEarlyFor(Logger("test.trace.throw"), 2), std::runtime_error);

    EXPECT_THAT(log.texts(), ElementsAre("ENTER : Reader::read", "EXIT : Reader::read"));
}

TEST(TraceScope, IsSilentAboveTraceLevel)
{
    const LogCapture log("test.trace.silent", LOG_DEBUG);

    returnsEarlyFor(Logger("test.trace.silent"), 0);

    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(TraceScope, TakesTheChainedLevelWhenTheLoggerHasNone)
{
    const LogCapture log("test.trace.chain", LOG_TRACE);

    returnsEarlyFor(Logger("test.trace.chain.leaf"), 0);

    EXPECT_THAT(log.texts(), ElementsAre("ENTER : Reader::read", "EXIT : Reader::read"));
}

TEST(TraceScope, GoesByTheCachedLevelWhenThereIsOne)
{
    const LogCapture log("test.trace.cached", LOG_TRACE);
    CachedLLLogger logger(Logger("test.trace.cached"));
    logger.cacheLogLevel();
    underlying("test.trace.cached").setLogLevel(LOG_ERROR);

    returnsEarlyFor(logger, 0);

    EXPECT_THAT(log.texts(), ElementsAre("ENTER : Reader::read", "EXIT : Reader::read"));
}

TEST(TraceScope, LogsTheExitThatBelongsToALoggedEntryAlsoWhenTheLevelChangesBetween)
{
    const LogCapture log("test.trace.change", LOG_TRACE);
    const Logger logger("test.trace.change");
    {
        CORVANA_TRACE_SCOPE(logger, "configure");
        underlying("test.trace.change").setLogLevel(LOG_ERROR);
    }

    EXPECT_THAT(log.texts(), ElementsAre("ENTER : configure", "EXIT : configure"));
}

TEST(TraceScope, IsSilentWithoutAnAppender)
{
    underlying("test.trace.nowhere").setLogLevel(LOG_TRACE);
    testing::internal::CaptureStderr();

    returnsEarlyFor(Logger("test.trace.nowhere"), 0);

    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}
