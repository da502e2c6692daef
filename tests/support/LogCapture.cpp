// SPDX-License-Identifier: Apache-2.0
#include "support/LogCapture.h"

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <utility>

namespace Corvana::Test {
namespace {

class CapturingAppender : public log4cplus::Appender
{
public:
    explicit CapturingAppender(std::vector<LogEvent>& out_vEvents)
        : m_vEvents(out_vEvents)
    {
    }
    ~CapturingAppender() override { destructorImpl(); }
    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& in_event) override
    {
        m_vEvents.push_back({in_event.getLoggerName(), in_event.getLogLevel(), in_event.getMessage(),
                             in_event.getFile(), in_event.getLine()});
    }

private:
    std::vector<LogEvent>& m_vEvents;
};

} // namespace

struct LogCapture::Impl
{
    explicit Impl(const char* in_szLogger)
        : m_logger(log4cplus::Logger::getInstance(in_szLogger))
        , m_iFormerLevel(m_logger.getLogLevel())
        , m_pAppender(new CapturingAppender(m_vEvents))
    {
    }

    std::vector<LogEvent> m_vEvents;
    log4cplus::Logger m_logger;
    int m_iFormerLevel;
    log4cplus::SharedAppenderPtr m_pAppender;
};

LogCapture::LogCapture(const char* in_szLogger, int in_iLevel)
    : m_pImpl(std::make_unique<Impl>(in_szLogger))
{
    m_pImpl->m_logger.setLogLevel(in_iLevel);
    m_pImpl->m_logger.addAppender(m_pImpl->m_pAppender);
}

LogCapture::~LogCapture()
{
    m_pImpl->m_logger.removeAppender(m_pImpl->m_pAppender);
    m_pImpl->m_logger.setLogLevel(m_pImpl->m_iFormerLevel);
}

const std::vector<LogEvent>& LogCapture::events() const
{
    return m_pImpl->m_vEvents;
}

std::vector<std::string> LogCapture::texts() const
{
    std::vector<std::string> vTexts;
    for (const LogEvent& event : events())
        vTexts.push_back(event.m_strText);
    return vTexts;
}

void LogCapture::clear()
{
    m_pImpl->m_vEvents.clear();
}

AssertionCapture::AssertionCapture()
    : m_log("kestrivon.assertion")
{
}

std::vector<std::string> AssertionCapture::texts() const
{
    const std::string strPrefix = "Assertion failed: ";
    std::vector<std::string> vTexts = m_log.texts();
    for (std::string& strText : vTexts)
        strText.erase(0, strText.starts_with(strPrefix) ? strPrefix.size() : 0);
    return vTexts;
}

} // namespace Corvana::Test
