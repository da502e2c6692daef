// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/Object.h"
#include "corvana/SourcePosition.h"

#include <locale>
#include <memory>
#include <sstream>
#include <string>

namespace Corvana {

/// Severities, with the values that log4cplus gives them.
enum LogLevel : int
{
    LOG_TRACE = 0,
    LOG_DEBUG = 10000,
    LOG_INFO = 20000,
    LOG_WARN = 30000,
    LOG_ERROR = 40000
};

/// A log4cplus logger of a given name. Copies are cheap and name the same logger. Any thread may use it.
class CORVANA_API Logger
{
public:
    /// The level is not known and has to be asked for.
    static constexpr int s_iUnknownLevel = -1;

    explicit Logger(const char* in_szName);
    /// The ancestor of all loggers.
    static const Logger& getRoot();
    virtual ~Logger();
    Logger(const Logger&);
    Logger& operator=(const Logger&);

    /// The logger's own level; s_iUnknownLevel when it has none.
    int getLogLevel() const;
    /// The effective level: the own one or, when unset, the nearest ancestor's.
    int getChainedLogLevel() const;
    bool isEnabledFor(int in_iLevel) const;

    /// The level that messages are held against; s_iUnknownLevel: log4cplus is asked for each message.
    virtual int getKnownLogLevel() const;
    /// Whether a message would be written anywhere: the logger or an ancestor that it passes messages to has an
    /// appender. A program that configured no logging must not even see log4cplus complain about that.
    virtual bool hasAppender() const;

    /// Enabled and with somewhere to write: only then is a message worth composing.
    bool wants(int in_iLevel) const;
    /// Writes without asking for the level.
    void forcedLog(int in_iLevel, const std::string& in_strText, SourcePosition in_position) const;

private:
    struct Handle;
    explicit Logger(std::shared_ptr<const Handle> in_pHandle);

    std::shared_ptr<const Handle> m_pHandle;
};

/// A logger that remembers its effective level, so that a hot path need not walk up the logger tree.
class CORVANA_API CachedLLLogger : public Logger
{
public:
    explicit CachedLLLogger(const Logger& in_logger);
    ~CachedLLLogger() override;

    int getKnownLogLevel() const override;
    /// Remembers the effective level from now on.
    void cacheLogLevel();

private:
    int m_iCachedLevel = s_iUnknownLevel;
};

/// The logger of one source file, made by CORVANA_FILE_SCOPE_LOGGER on the heap and never destroyed, so that objects
/// with static storage can still log when the program ends.
class CORVANA_API AceCleanupLogger : public Logger
{
public:
    explicit AceCleanupLogger(const char* in_szName);
    ~AceCleanupLogger() override;
};

/// Gives an object its own logger. A class states its logger once, in the body of its constructor; classes derived
/// from it need not repeat it, although a virtual base is constructed by the most derived class. Until then, it is
/// the root logger.
template <class LoggerT>
class CORVANA_API ObjectWithLogger : public virtual Object
{
public:
    ~ObjectWithLogger() override;

protected:
    ObjectWithLogger();
    ObjectWithLogger(const ObjectWithLogger&);
    ObjectWithLogger& operator=(const ObjectWithLogger&);
    void setLogger(const Logger& in_logger) { m_logger = LoggerT(in_logger); }

    const LoggerT& getLogger() const { return m_logger; }
    LoggerT& getLogger() { return m_logger; }

private:
    LoggerT m_logger;
};

extern template class ObjectWithLogger<CachedLLLogger>;

/// Logs "ENTER : " and "EXIT : " with a method's name at trace level, around every return path.
class CORVANA_API TraceScope
{
public:
    /// The logger and the texts must outlive the scope.
    TraceScope(const Logger& in_logger, const char* in_szMethod, SourcePosition in_position);
    ~TraceScope();
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

private:
    void ctorLog() const;
    void dtorLog() const;

    const Logger& m_logger;
    const char* m_szMethod;
    SourcePosition m_position;
    bool m_bTraced;
};

} // namespace Corvana

/// Defines fileScopeLogger(), the logger of this source file. Stands once, at global scope. The logger is made under
/// a one-time guard on first use, and fetched once when the library is loaded.
#define CORVANA_FILE_SCOPE_LOGGER(name)                                                                                \
    namespace {                                                                                                        \
    ::Corvana::AceCleanupLogger& fileScopeLogger()                                                                     \
    {                                                                                                                  \
        static ::Corvana::AceCleanupLogger* const s_pLogger = new ::Corvana::AceCleanupLogger(name);                   \
        return *s_pLogger;                                                                                             \
    }                                                                                                                  \
    [[maybe_unused]] ::Corvana::AceCleanupLogger& s_loggerFetchedAtLoad = fileScopeLogger();                           \
    }

/// Logs at a level and a fixed source position. The message is a chain of << texts and numbers, composed only when
/// the logger wants it, and with the classic locale: log rules must not depend on the host's settings.
#define CORVANA_LOG_AT(level, position, logger, message)                                                               \
    do {                                                                                                               \
        const ::Corvana::Logger& corvanaLogger_ = (logger);                                                            \
        if (corvanaLogger_.wants(level)) {                                                                             \
            std::ostringstream corvanaText_;                                                                           \
            corvanaText_.exceptions(std::ios_base::badbit); /* else memory that runs out cuts the text, in silence */  \
            corvanaText_.imbue(std::locale::classic());                                                                \
            corvanaText_ << message; /* NOLINT(bugprone-macro-parentheses): a chain of << */                           \
            corvanaLogger_.forcedLog((level), corvanaText_.str(), (position));                                         \
        }                                                                                                              \
    } while (false)

#define CORVANA_LOG_TRACE_AT(position, logger, message) CORVANA_LOG_AT(::Corvana::LOG_TRACE, position, logger, message)
#define CORVANA_LOG_DEBUG_AT(position, logger, message) CORVANA_LOG_AT(::Corvana::LOG_DEBUG, position, logger, message)
#define CORVANA_LOG_WARN_AT(position, logger, message) CORVANA_LOG_AT(::Corvana::LOG_WARN, position, logger, message)
#define CORVANA_LOG_ERROR_AT(position, logger, message) CORVANA_LOG_AT(::Corvana::LOG_ERROR, position, logger, message)

#define CORVANA_LOG_DEBUG(logger, message) CORVANA_LOG_DEBUG_AT(CORVANA_HERE, logger, message)
#define CORVANA_LOG_INFO(logger, message) CORVANA_LOG_AT(::Corvana::LOG_INFO, CORVANA_HERE, logger, message)
#define CORVANA_LOG_WARN(logger, message) CORVANA_LOG_WARN_AT(CORVANA_HERE, logger, message)
#define CORVANA_LOG_ERROR(logger, message) CORVANA_LOG_ERROR_AT(CORVANA_HERE, logger, message)

/// Traces the rest of the enclosing block as the method of that name.
#define CORVANA_TRACE_SCOPE(logger, method)                                                                            \
    const ::Corvana::TraceScope corvanaTraceScope_((logger), (method), CORVANA_HERE)
