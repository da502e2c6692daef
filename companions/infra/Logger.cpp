// SPDX-License-Identifier: Apache-2.0
#include "corvana/Logger.h"

#include <log4cplus/logger.h>

#include <utility>

namespace Corvana {

static_assert(LOG_TRACE == log4cplus::TRACE_LOG_LEVEL && LOG_DEBUG == log4cplus::DEBUG_LOG_LEVEL &&
              LOG_INFO == log4cplus::INFO_LOG_LEVEL && LOG_WARN == log4cplus::WARN_LOG_LEVEL &&
              LOG_ERROR == log4cplus::ERROR_LOG_LEVEL);
static_assert(Logger::s_iUnknownLevel == log4cplus::NOT_SET_LOG_LEVEL);

struct Logger::Handle
{
    explicit Handle(const log4cplus::Logger& in_logger)
        : m_logger(in_logger)
    {
    }

    log4cplus::Logger m_logger;
};

Logger::Logger(const char* in_szName)
    : Logger(std::make_shared<const Handle>(log4cplus::Logger::getInstance(in_szName)))
{
}

Logger::Logger(std::shared_ptr<const Handle> in_pHandle)
    : m_pHandle(std::move(in_pHandle))
{
}

const Logger& Logger::getRoot()
{
    static const Logger* const s_pRoot = new Logger(std::make_shared<const Handle>(log4cplus::Logger::getRoot()));
    return *s_pRoot;
}

Logger::~Logger() = default;
Logger::Logger(const Logger&) = default;
Logger& Logger::operator=(const Logger&) = default;

int Logger::getLogLevel() const
{
    return m_pHandle->m_logger.getLogLevel();
}

int Logger::getChainedLogLevel() const
{
    return m_pHandle->m_logger.getChainedLogLevel();
}

bool Logger::isEnabledFor(int in_iLevel) const
{
    return m_pHandle->m_logger.isEnabledFor(in_iLevel);
}

int Logger::getKnownLogLevel() const
{
    return getLogLevel();
}

bool Logger::hasAppender() const
{
    log4cplus::Logger logger = m_pHandle->m_logger;
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    for (;;) {
        if (!logger.getAllAppenders().empty())
            return true;
        if (!logger.getAdditivity())
            return false;
        // The root is met by name: asking it for its parent would make log4cplus complain.
        if (logger.getName() == root.getName())
            break;
        logger = logger.getParent();
    }
    return !root.getAllAppenders().empty();
}

bool Logger::wants(int in_iLevel) const
{
    const int iKnownLevel = getKnownLogLevel();
    const bool bEnabled = iKnownLevel == s_iUnknownLevel ? isEnabledFor(in_iLevel) : iKnownLevel <= in_iLevel;
    return bEnabled && hasAppender();
}

void Logger::forcedLog(int in_iLevel, const std::string& in_strText, SourcePosition in_position) const
{
    m_pHandle->m_logger.forcedLog(in_iLevel, in_strText, in_position.m_szFile, in_position.m_iLine);
}

CachedLLLogger::CachedLLLogger(const Logger& in_logger)
    : Logger(in_logger)
{
}

CachedLLLogger::~CachedLLLogger() = default;

int CachedLLLogger::getKnownLogLevel() const
{
    return m_iCachedLevel;
}

void CachedLLLogger::cacheLogLevel()
{
    m_iCachedLevel = getChainedLogLevel();
}

template <class LoggerT>
ObjectWithLogger<LoggerT>::ObjectWithLogger()
    : m_logger(Logger::getRoot())
{
}

template <class LoggerT>
ObjectWithLogger<LoggerT>::~ObjectWithLogger() = default;
template <class LoggerT>
ObjectWithLogger<LoggerT>::ObjectWithLogger(const ObjectWithLogger&) = default;
template <class LoggerT>
ObjectWithLogger<LoggerT>& ObjectWithLogger<LoggerT>::operator=(const ObjectWithLogger&) = default;

template class ObjectWithLogger<CachedLLLogger>;

AceCleanupLogger::AceCleanupLogger(const char* in_szName)
    : Logger(in_szName)
{
}

AceCleanupLogger::~AceCleanupLogger() = default;

namespace {

bool isTraced(const Logger& in_logger)
{
    const int iKnownLevel = in_logger.getKnownLogLevel();
    const int iLevel = iKnownLevel == Logger::s_iUnknownLevel ? in_logger.getChainedLogLevel() : iKnownLevel;
    return iLevel <= LOG_TRACE && in_logger.hasAppender();
}

} // namespace

TraceScope::TraceScope(const Logger& in_logger, const char* in_szMethod, SourcePosition in_position)
    : m_logger(in_logger)
    , m_szMethod(in_szMethod)
    , m_position(in_position)
    , m_bTraced(isTraced(in_logger))
{
    if (m_bTraced)
        ctorLog();
}

TraceScope::~TraceScope()
{
    if (!m_bTraced)
        return;
    try {
        dtorLog();
    } catch (...) {
        // A lost trace line must not turn an exception that is under way into the end of the program.
    }
}

void TraceScope::ctorLog() const
{
    m_logger.forcedLog(LOG_TRACE, std::string("ENTER : ") + m_szMethod, m_position);
}

void TraceScope::dtorLog() const
{
    m_logger.forcedLog(LOG_TRACE, std::string("EXIT : ") + m_szMethod, m_position);
}

} // namespace Corvana
