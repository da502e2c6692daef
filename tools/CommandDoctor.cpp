// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandDoctor.h"

#include "corvana/Logger.h"
#include "corvana/MathSimd.h"
#include "corvana/Version.h"
#include "tools/ExitCode.h"
#include "tools/LogBridge.h"
#include "tools/Messages.h"
#include "tools/SelfTest.h"

#include <CLI/Version.hpp>
#include <boost/version.hpp>
#include <cairo.h>
#include <gnu/libc-version.h>
#include <log4cplus/version.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>
#include <sys/utsname.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Tools {
namespace {

using Facts = std::vector<std::pair<std::string, std::string>>;

struct Group
{
    const char* m_szKey;
    const char* m_szHeading;
    Facts m_facts;
};

std::string boostVersion()
{
    return std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000) + "." +
           std::to_string(BOOST_VERSION % 100);
}

std::string sndfileVersion()
{
    const std::string strVersion = sf_version_string(); // "libsndfile-1.2.0"
    return strVersion.substr(strVersion.find('-') + 1);
}

std::string kernelName()
{
    utsname name{};
    return uname(&name) == 0 ? std::string(name.sysname) + " " + name.release + ", " + name.machine : "unknown";
}

std::string compilerName()
{
#ifdef __clang__
    return std::string("clang ") + __clang_version__;
#else
    return std::string("g++ ") + __VERSION__;
#endif
}

std::string environment(const char* in_szName)
{
    const char* const szValue = std::getenv(in_szName);
    return szValue == nullptr ? "not set" : szValue;
}

Facts versions()
{
    return {{"corvana", getVersion()},
            {"libsndfile", sndfileVersion()},
            {"log4cplus", log4cplus::versionStr},
            {"Boost", boostVersion()},
            {"Cairo", cairo_version_string()},
            {"CLI11", CLI11_VERSION},
            {"C library", gnu_get_libc_version()},
            {"compiler", compilerName()},
            {"system", kernelName()}};
}

Facts computing()
{
    std::string strSupported;
    for (const Math::Simd simd : supportedSimd())
        strSupported += (strSupported.empty() ? "" : ", ") + std::string(Math::getSimdName(simd));
    return {{"in use", Math::getSimdName()}, {"possible", strSupported}, {"CORVANA_SIMD", environment("CORVANA_SIMD")}};
}

std::string nameOfLevel(int in_iLevel)
{
    for (const char* const szName : {"trace", "debug", "info", "warn", "error", "off"}) {
        int iLevel = 0;
        if (parseLogLevel(szName, iLevel) && iLevel >= in_iLevel)
            return szName;
    }
    return "off";
}

Facts logging()
{
    return {{"level",
             nameOfLevel(Logger::getRoot().getChainedLogLevel()) + " (--log-level, --verbose or --quiet change it)"},
            {"goes to", "standard error, as messages of this program"},
            {"loggers", "below 'kestrivon'"}};
}

std::vector<Group> findOut()
{
    return {{"versions", "Versions", versions()},
            {"instruction_sets", "Instruction sets for spectra", computing()},
            {"log", "Log of the libraries", logging()},
            {"environment",
             "Environment",
             {{"CORVANA_CPA_DATA", environment("CORVANA_CPA_DATA")}, {"temporary files", temporaryFolder()}}}};
}

void writeText(const std::vector<Group>& in_vGroups, const std::vector<TestResult>& in_vResults, std::ostream& out_data)
{
    for (const Group& group : in_vGroups) {
        out_data << group.m_szHeading << '\n';
        for (const auto& [strName, strValue] : group.m_facts)
            out_data << "  " << strName << std::string(18 - std::min<std::size_t>(17, strName.size()), ' ') << strValue
                     << '\n';
    }
    out_data << "Self test\n";
    for (const TestResult& result : in_vResults)
        out_data << (result.m_strFault.empty() ? "  ok     " : "  WRONG  ") + result.m_strName +
                        (result.m_strFault.empty() ? "" : ": " + result.m_strFault) + "\n";
}

void writeJson(const std::vector<Group>& in_vGroups, const std::vector<TestResult>& in_vResults, std::ostream& out_data)
{
    nlohmann::ordered_json json;
    for (const Group& group : in_vGroups)
        for (const auto& [strName, strValue] : group.m_facts)
            json[group.m_szKey][strName] = strValue;
    for (const TestResult& result : in_vResults)
        json["tests"].push_back(
            {{"name", result.m_strName}, {"ok", result.m_strFault.empty()}, {"fault", result.m_strFault}});
    out_data << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

} // namespace

int CommandDoctor::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Messages messages(out_messages, false);
    LogBridge log(messages, LOG_WARN);
    const std::vector<Group> vGroups = findOut();
    const std::vector<TestResult> vResults = selfTest(log);
    (in_options.m_bJson ? writeJson : writeText)(vGroups, vResults, out_data);
    for (const TestResult& result : vResults)
        if (!result.m_strFault.empty())
            return EXIT_SOME_FAILED;
    return EXIT_DONE;
}

} // namespace Corvana::Tools
