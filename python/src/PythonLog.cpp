// SPDX-License-Identifier: Apache-2.0
#include "PythonLog.h"

#include "corvana/Logger.h"
#include "tools/LogBridge.h"

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <pybind11/pybind11.h>

#include <algorithm>
#include <chrono>

namespace py = pybind11;

namespace Corvana::Python {
namespace {

// A recording whose every window is complained about must not fill the memory.
constexpr std::size_t s_uiMaxRecords = 1000;

// Python's DEBUG is 10, and log4cplus's 10000; what is finer than that has no name in Python.
constexpr int s_iLevelsOfOne = 1000;
constexpr int s_iPythonTrace = 5;

thread_local LogScope* s_pScope = nullptr;

int pythonLevel(int in_iLevel)
{
    return std::max(in_iLevel / s_iLevelsOfOne, s_iPythonTrace);
}

class ScopeAppender : public log4cplus::Appender
{
public:
    ~ScopeAppender() override { destructorImpl(); }
    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& in_event) override
    {
        if (s_pScope == nullptr)
            return;
        const std::chrono::duration<double> sinceEpoch = in_event.getTimestamp().time_since_epoch();
        s_pScope->keep({in_event.getLoggerName(), in_event.getLogLevel(), in_event.getMessage(), in_event.getFile(),
                        in_event.getLine(), sinceEpoch.count()});
    }
};

log4cplus::Logger libraryLogger()
{
    return log4cplus::Logger::getInstance("kestrivon");
}

void handOver(const LogRecord& in_record)
{
    const py::object logger = py::module_::import("logging").attr("getLogger")(in_record.m_strLogger);
    const int iLevel = pythonLevel(in_record.m_iLevel);
    if (!logger.attr("isEnabledFor")(iLevel).cast<bool>())
        return;
    // The texts may quote file names in any encoding.
    const py::object text = py::reinterpret_steal<py::object>(PyUnicode_DecodeUTF8(
        in_record.m_strText.data(), static_cast<py::ssize_t>(in_record.m_strText.size()), "backslashreplace"));
    const py::object record = logger.attr("makeRecord")(in_record.m_strLogger, iLevel, in_record.m_strFile,
                                                        in_record.m_iLine, text, py::tuple(), py::none());
    record.attr("created") = in_record.m_dTime;
    logger.attr("handle")(record);
}

} // namespace

LogScope::LogScope()
    : m_pOuter(s_pScope)
{
    s_pScope = this;
}

LogScope::~LogScope()
{
    s_pScope = m_pOuter;
    py::error_scope keepsRaised; // an exception may be on its way
    try {
        for (const LogRecord& record : m_vRecords)
            handOver(record);
        if (m_uiNbDropped > 0)
            handOver({"kestrivon", LOG_WARN,
                      std::to_string(m_uiNbDropped) + " further messages of this call are left out", "", 0,
                      m_vRecords.back().m_dTime});
    } catch (py::error_already_set& error) {
        error.discard_as_unraisable("corvana: handing over log messages");
    }
}

void LogScope::keep(LogRecord&& inout_record)
{
    if (m_vRecords.size() < s_uiMaxRecords)
        m_vRecords.push_back(std::move(inout_record));
    else
        ++m_uiNbDropped;
}

std::string LogScope::errors() const
{
    std::vector<std::string> vTexts;
    for (const LogRecord& record : m_vRecords)
        if (record.m_iLevel >= LOG_ERROR && std::find(vTexts.begin(), vTexts.end(), record.m_strText) == vTexts.end())
            vTexts.push_back(record.m_strText);
    std::string strAll;
    for (const std::string& strText : vTexts)
        strAll += (strAll.empty() ? "" : "; ") + strText;
    return strAll;
}

void startLogging()
{
    Tools::limitLogThreads();
    log4cplus::Logger logger = libraryLogger();
    logger.addAppender(log4cplus::SharedAppenderPtr(new ScopeAppender));
    setLogLevel(pythonLevel(LOG_WARN));
}

void setLogLevel(int in_iPythonLevel)
{
    const int iLevel =
        in_iPythonLevel <= s_iPythonTrace ? static_cast<int>(LOG_TRACE) : in_iPythonLevel * s_iLevelsOfOne;
    libraryLogger().setLogLevel(std::min<int>(iLevel, LOG_ERROR)); // errors are the reasons of exceptions
}

} // namespace Corvana::Python
