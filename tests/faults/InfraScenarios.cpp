// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "corvana/Assertion.h"
#include "corvana/BoostRegex.h"
#include "corvana/CloneableObjPtr.h"
#include "corvana/ConfigurationReader.h"
#include "corvana/CountedObjPtr.h"
#include "corvana/Logger.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MemAllocator.h"
#include "corvana/NumberText.h"
#include "corvana/OS.h"
#include "corvana/TrieConfiguration.h"
#include "support/LogCapture.h"

#include <memory>

namespace Corvana::Test {
namespace {

constexpr const char* s_szLongKey = "a parameter whose name does not fit into a short text";
constexpr const char* s_szLongText = "a value whose text does not fit into a short text either";

ParameterTrie longTrie()
{
    ParameterTrie trie;
    trie.insert(s_szLongKey, ParameterValue(s_szLongText));
    trie.insert("number", ParameterValue(0.1));
    trie.insert("count", ParameterValue(12L));
    return trie;
}

Attempt insertion(const std::string&)
{
    const auto pTrie = std::make_shared<ParameterTrie>();
    return {[=] { return pTrie->insert(s_szLongKey, ParameterValue(s_szLongText)); },
            [=] {
                std::string strValue = "-";
                const ParameterValue* pValue = pTrie->find(s_szLongKey);
                return pValue != nullptr && pValue->convertTo(strValue) ? strValue : "none";
            }};
}

Attempt replacement(const std::string&)
{
    const auto pTrie = std::make_shared<ParameterTrie>(longTrie());
    return {[=] { return !pTrie->insert(s_szLongKey, ParameterValue("another value that does not fit either")); },
            [=] {
                std::string strValue = "-";
                return pTrie->find(s_szLongKey)->convertTo(strValue) ? strValue : "none";
            }};
}

Attempt configuration(const std::string&)
{
    struct State
    {
        std::unique_ptr<TrieConfiguration> m_pConfiguration;
        std::string m_strText;
        std::string m_strNumber;
        unsigned long m_uiCount = 0;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_pConfiguration = std::make_unique<TrieConfiguration>(longTrie());
                return pState->m_pConfiguration->getValue(s_szLongKey, pState->m_strText) &&
                       pState->m_pConfiguration->getValue("number", pState->m_strNumber) &&
                       pState->m_pConfiguration->getValue("count", pState->m_uiCount);
            },
            [=] { return pState->m_strText + pState->m_strNumber + std::to_string(pState->m_uiCount); }};
}

Attempt prefixedConfiguration(const std::string&)
{
    struct State
    {
        TrieConfiguration m_base{longTrie()};
        ParameterTrie m_overrides;
        std::string m_strText;
        double m_dNumber = 0.0;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                const PrefixedConfiguration view(pState->m_base, "a prefix that does not fit into a short text.",
                                                 pState->m_overrides);
                return view.hasKey("number") && view.getValue(s_szLongKey, pState->m_strText) &&
                       view.getValue("number", pState->m_dNumber);
            },
            [=] { return pState->m_strText + toShortestText(pState->m_dNumber); }};
}

Attempt configurationReader(const std::string&)
{
    struct State
    {
        LogCapture m_log;
        TrieConfiguration m_config{longTrie()};
        Logger m_logger{"kestrivon.test.faults"};
        std::string m_strText;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                const ConfigurationReader reader(pState->m_config, pState->m_logger);
                unsigned long uiCount = 0;
                // One that is there, one that is missing and reported, one that cannot be used.
                return reader.read(s_szLongKey, pState->m_strText) && !reader.read("none of these keys", uiCount) &&
                       !reader.readPositive("number", uiCount);
            },
            [=] { return pState->m_strText; }};
}

Attempt regex(const std::string&)
{
    const auto pMatches = std::make_shared<std::string>();
    return {[=] {
                pMatches->clear();
                const BoostRegex expression("(CPA_|DTMF_)([A-Z0-9]|[a-f]+x?)*_?(HUMAN|[[:digit:]]{1,4})",
                                            BoostRegex::s_uiIgnoreCase);
                for (const char* szText : {"cpa_AAAA_human", "DTMF_1234", "VOICE"})
                    pMatches->push_back(regex_match(szText, expression) ? 'y' : 'n');
                return true;
            },
            [=] { return *pMatches; }};
}

Attempt numberTexts(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                pText->clear();
                for (const double dValue : {-2.2250738585072014e-308, 0.1, 1e300})
                    appendShortestText(*pText, dValue);
                *pText += toShortestText(-1.2345678901234567e-89);
                return true;
            },
            [=] { return *pText; }};
}

Attempt paths(const std::string& in_strFolder)
{
    const auto pPath = std::make_shared<std::string>();
    const std::string strPath = in_strFolder + "/./not there yet/../nor this one";
    return {[=] { return OS::getCanonicalPath(strPath.c_str(), *pPath); }, [=] { return *pPath; }};
}

Attempt messages(const std::string&)
{
    struct State
    {
        LogCapture m_log;
        Logger m_logger{"kestrivon.test.faults.messages"};
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_log.clear();
                const Logger& logger = pState->m_logger;
                CORVANA_LOG_ERROR(logger, "a message that does not fit into a short text: " << 12 << ' ' << 0.5);
                return true;
            },
            [=] { return pState->m_log.texts().empty() ? "" : pState->m_log.texts()[0]; }};
}

Attempt tracing(const std::string&)
{
    struct State
    {
        LogCapture m_log{"kestrivon", LOG_TRACE};
        Logger m_logger{"kestrivon.test.faults.tracing"};
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                CORVANA_TRACE_SCOPE(pState->m_logger, "a method with a name too long for any short text");
                return true;
            },
            [] { return ""; }};
}

Attempt assertions(const std::string&)
{
    const auto pAssertions = std::make_shared<AssertionCapture>();
    return {[=] { return !CORVANA_ASSERT(pAssertions == nullptr); }, [=] { return ""; }};
}

Attempt loggers(const std::string&)
{
    const auto pLevel = std::make_shared<int>(0);
    return {[=] {
                const Logger logger("kestrivon.test.faults.a logger of its own");
                const Logger copy = logger;
                *pLevel = copy.isEnabledFor(LOG_ERROR) && !Logger::getRoot().wants(LOG_TRACE) ? 1 : 2;
                return true;
            },
            [=] { return std::to_string(*pLevel); }};
}

Attempt countedPointers(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                const CountedObjPtr<Math::SignalFeature> pFeature(new Math::MeanFeature);
                const TSHandle<Math::SignalFeature> hFeature(new Math::MeanFeature);
                const auto pMean = pFeature.cast<Math::MeanFeature>();
                *pText = !pMean.isNull() && !hFeature.cast<Math::MeanFeature>().isNull() ? "both" : "none";
                return true;
            },
            [=] { return *pText; }};
}

Attempt clonedPointers(const std::string&)
{
    struct State
    {
        CloneableObjPtr<Math::SignalFeature> m_pSource{new Math::MeanFeature};
        CloneableObjPtr<Math::SignalFeature> m_pTarget{new Math::MeanFeature};
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                const CloneableObjPtr<Math::SignalFeature> pCopy(pState->m_pSource);
                pState->m_pTarget = pCopy;
                return true;
            },
            [=] { return std::string(pState->m_pTarget.isNull() ? "null" : "a feature"); }};
}

Attempt taggedAllocators(const std::string&)
{
    return {[] {
                constexpr const char* szTag = "SignalFeatureFactory";
                DefaultStaticMemAllocator::deallocate(DefaultStaticMemAllocator::allocate(24, szTag), 24, szTag);
                NoSizeMemAllocator::deallocate(NoSizeMemAllocator::allocate(24, szTag), szTag);
                return true;
            },
            [] { return std::to_string(getMemAccount("SignalFeatureFactory").m_uiLiveBytes); }};
}

} // namespace

std::vector<AllocationScenario> infraScenarios()
{
    return {{"insert a parameter", insertion, Afterwards::UNCHANGED},
            {"replace a parameter", replacement, Afterwards::UNCHANGED},
            {"read a configuration", configuration},
            {"read a prefixed configuration", prefixedConfiguration},
            {"report missing parameters", configurationReader},
            {"match a regular expression", regex},
            {"write numbers", numberTexts},
            {"canonical path", paths, Afterwards::UNCHANGED},
            {"log a message", messages},
            {"trace a method", tracing},
            {"report an assertion", assertions},
            {"make loggers", loggers},
            {"share ownership", countedPointers},
            {"copy owned objects", clonedPointers, Afterwards::UNCHANGED},
            {"allocate with tags", taggedAllocators, Afterwards::UNCHANGED}};
}

} // namespace Corvana::Test
