// SPDX-License-Identifier: Apache-2.0
#include "tools/LogBridge.h"

#include "corvana/Logger.h"
#include "tools/Text.h"

#include <log4cplus/appender.h>
#include <log4cplus/config.hxx>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace Corvana::Tools {
namespace {

struct NamedLevel
{
    const char* m_szName;
    int m_iLevel;
};

constexpr NamedLevel s_aLevels[] = {{"trace", LOG_TRACE}, {"debug", LOG_DEBUG}, {"info", LOG_INFO},
                                    {"warn", LOG_WARN},   {"error", LOG_ERROR}, {"off", s_iLogOff}};

// A feature that complains about every window must not fill the memory.
constexpr std::size_t s_uiMaxTexts = 32;

const char* levelName(int in_iLevel)
{
    const char* szName = "trace";
    for (const NamedLevel& level : s_aLevels)
        if (level.m_iLevel <= in_iLevel)
            szName = level.m_szName;
    return szName;
}

// A message may quote a file, whose texts have any length. What it says about them stands before and behind.
std::string textOf(const std::string& in_strMessage)
{
    constexpr std::size_t uiMaxSize = 1000;
    constexpr std::size_t uiEnd = 300;
    const auto isWithinLetter = [&](std::size_t in_uiPos) {
        return (static_cast<unsigned char>(in_strMessage[in_uiPos]) & 0xC0U) == 0x80U; // of UTF-8
    };
    if (in_strMessage.size() <= uiMaxSize)
        return printable(in_strMessage);
    std::size_t uiFront = uiMaxSize - uiEnd;
    std::size_t uiBehind = in_strMessage.size() - uiEnd;
    for (unsigned uiByte = 0; uiByte < 3 && isWithinLetter(uiFront); ++uiByte)
        --uiFront;
    for (unsigned uiByte = 0; uiByte < 3 && isWithinLetter(uiBehind); ++uiByte)
        ++uiBehind;
    return printable(in_strMessage.substr(0, uiFront)) + "..." + printable(in_strMessage.substr(uiBehind));
}

struct HeldError
{
    std::string m_strText;
    unsigned long m_uiCount;
};

} // namespace

bool parseLogLevel(std::string_view in_strName, int& out_iLevel)
{
    const auto* pLevel =
        std::find_if(std::begin(s_aLevels), std::end(s_aLevels),
                     [in_strName](const NamedLevel& in_level) { return in_level.m_szName == in_strName; });
    if (pLevel == std::end(s_aLevels))
        return false;
    out_iLevel = pLevel->m_iLevel;
    return true;
}

void limitLogThreads()
{
    log4cplus::setThreadPoolSize(1);
}

class LogBridge::Appender : public log4cplus::Appender
{
public:
    ~Appender() override { destructorImpl(); }

    void begin(Messages& out_messages, int in_iLevel)
    {
        m_owner = std::this_thread::get_id();
        m_pMessages = &out_messages;
        m_iLevel = in_iLevel;
    }

    // Nothing is left of what it was used for.
    void end()
    {
        m_pMessages = nullptr;
        m_bHolding = false;
        m_strInput.clear();
        m_vHeld.clear();
        m_vWarned.clear();
    }

    void close() override { closed = true; }

    void beginInput(const std::string& in_strInput)
    {
        m_strInput = in_strInput;
        m_bHolding = true;
        m_vHeld.clear();
        m_vWarned.clear();
    }

    void beginAgain()
    {
        m_bHolding = true;
        m_vHeld.clear();
    }

    std::string takeErrors()
    {
        std::vector<std::string> vTexts;
        for (const HeldError& error : m_vHeld)
            vTexts.push_back(error.m_strText);
        m_vHeld.clear();
        m_bHolding = false;
        std::string strText;
        for (const std::string& strPart : vTexts)
            strText += (strText.empty() ? "" : "; ") + strPart;
        return strText;
    }

    void endInput()
    {
        if (m_iLevel <= LOG_ERROR)
            for (const HeldError& error : m_vHeld)
                m_pMessages->inputWarning(m_strInput,
                                          error.m_strText + (error.m_uiCount == 1
                                                                 ? std::string()
                                                                 : " (" + counted(error.m_uiCount, "time") + ")"));
        m_vHeld.clear();
        m_bHolding = false;
        m_strInput.clear();
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& in_event) override
    {
        if (std::this_thread::get_id() != m_owner)
            return; // another thread's work, which has a bridge of its own
        const int iEventLevel = in_event.getLogLevel();
        if (iEventLevel >= LOG_ERROR && m_bHolding)
            hold(textOf(in_event.getMessage()));
        else if (iEventLevel < m_iLevel)
            return;
        else if (iEventLevel >= LOG_WARN)
            tell(iEventLevel, textOf(in_event.getMessage()));
        else
            m_pMessages->plain(line(in_event));
    }

private:
    void hold(std::string in_strText)
    {
        const auto isSame = [&](const HeldError& in_error) { return in_error.m_strText == in_strText; };
        const auto error = std::find_if(m_vHeld.begin(), m_vHeld.end(), isSame);
        if (error != m_vHeld.end())
            ++error->m_uiCount;
        else if (m_vHeld.size() < s_uiMaxTexts)
            m_vHeld.push_back({std::move(in_strText), 1});
    }

    void tell(int in_iEventLevel, const std::string& in_strText)
    {
        if (m_vWarned.size() >= s_uiMaxTexts || !m_vWarned.insert(in_strText).second)
            return;
        if (in_iEventLevel >= LOG_ERROR)
            m_pMessages->error(in_strText);
        else if (m_strInput.empty())
            m_pMessages->warning(in_strText);
        else
            m_pMessages->inputWarning(m_strInput, in_strText);
    }

    static std::string line(const log4cplus::spi::InternalLoggingEvent& in_event)
    {
        return std::string("corvana: [") + levelName(in_event.getLogLevel()) + "] " + in_event.getLoggerName() + " " +
               in_event.getFile() + ":" + std::to_string(in_event.getLine()) + " " + textOf(in_event.getMessage()) +
               "\n";
    }

    std::thread::id m_owner;
    Messages* m_pMessages = nullptr;
    int m_iLevel = LOG_ERROR;
    bool m_bHolding = false;
    std::string m_strInput;
    std::vector<HeldError> m_vHeld;
    std::set<std::string> m_vWarned;
};

namespace {

// Bridges of all threads share the root logger's level: the finest that one of them wants, and the former one behind
// the last. Asks for no memory.
class RootLevel
{
public:
    static RootLevel& get()
    {
        static RootLevel s_level;
        return s_level;
    }

    void want(int in_iLevel)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (findFinest() == m_auiWanted.end())
            m_iFormer = root().getLogLevel();
        ++m_auiWanted[indexOf(in_iLevel)];
        apply();
    }

    void release(int in_iLevel)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_auiWanted[indexOf(in_iLevel)];
        apply();
    }

private:
    static constexpr int s_iLevelsApart = LOG_INFO - LOG_DEBUG;
    using Counts = std::array<unsigned, LOG_ERROR / s_iLevelsApart + 1>; // of each level from LOG_TRACE on

    static log4cplus::Logger root() { return log4cplus::Logger::getRoot(); }
    static std::size_t indexOf(int in_iLevel) { return static_cast<std::size_t>(in_iLevel / s_iLevelsApart); }

    Counts::const_iterator findFinest() const
    {
        return std::find_if(m_auiWanted.begin(), m_auiWanted.end(), [](unsigned in_uiNb) { return in_uiNb > 0; });
    }

    void apply()
    {
        const auto itFinest = findFinest();
        const auto iIndex = static_cast<int>(std::distance(m_auiWanted.cbegin(), itFinest));
        root().setLogLevel(itFinest == m_auiWanted.end() ? m_iFormer : iIndex * s_iLevelsApart);
    }

    std::mutex m_mutex;
    Counts m_auiWanted{};
    int m_iFormer = 0;
};

// One appender is kept for the next bridge, until the program's end: log4cplus needs memory to destroy an appender, and
// without it ends the program.
class SpareAppender
{
public:
    static log4cplus::SharedAppenderPtr take()
    {
        const std::lock_guard<std::mutex> lock(mutex());
        return std::exchange(spare(), log4cplus::SharedAppenderPtr());
    }

    static void keep(const log4cplus::SharedAppenderPtr& in_pAppender)
    {
        const std::lock_guard<std::mutex> lock(mutex());
        if (!spare())
            spare() = in_pAppender;
    }

private:
    static std::mutex& mutex()
    {
        static std::mutex s_mutex;
        return s_mutex;
    }

    static log4cplus::SharedAppenderPtr& spare()
    {
        static auto* const s_pSpare = new log4cplus::SharedAppenderPtr;
        return *s_pSpare;
    }
};

} // namespace

struct LogBridge::Impl
{
    Impl(Messages& out_messages, int in_iLevel)
        // Errors are wanted whatever is shown: they are the reasons of failures.
        : m_iWanted(std::min<int>(in_iLevel, LOG_ERROR))
        , m_pShared(SpareAppender::take())
    {
        if (!m_pShared)
            m_pShared = log4cplus::SharedAppenderPtr(new Appender);
        appender().begin(out_messages, in_iLevel);
    }
    ~Impl()
    {
        appender().end();
        SpareAppender::keep(m_pShared);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    Appender& appender() const { return static_cast<Appender&>(*m_pShared); }

    int m_iWanted;
    log4cplus::SharedAppenderPtr m_pShared;
};

LogBridge::LogBridge(Messages& out_messages, int in_iLevel)
    : m_pImpl(std::make_unique<Impl>(out_messages, in_iLevel))
{
    log4cplus::Logger::getRoot().addAppender(m_pImpl->m_pShared);
    RootLevel::get().want(m_pImpl->m_iWanted);
}

LogBridge::~LogBridge()
{
    log4cplus::Logger::getRoot().removeAppender(m_pImpl->m_pShared);
    RootLevel::get().release(m_pImpl->m_iWanted);
}

void LogBridge::beginInput(const std::string& in_strInput)
{
    m_pImpl->appender().beginInput(in_strInput);
}

void LogBridge::beginAgain()
{
    m_pImpl->appender().beginAgain();
}

std::string LogBridge::takeErrors()
{
    return m_pImpl->appender().takeErrors();
}

void LogBridge::endInput()
{
    m_pImpl->appender().endInput();
}

} // namespace Corvana::Tools
