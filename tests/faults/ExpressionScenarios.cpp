// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathXprExpression.h"
#include "corvana/MathXprRegistry.h"
#include "corvana/MathXprUserFunction.h"
#include "corvana/TrieConfiguration.h"
#include "support/Signals.h"

#include <memory>
#include <sstream>

namespace Corvana::Test {
namespace {

using Math::DoubleVector;
using namespace Math::Xpr;

constexpr const char* s_szFormula =
    "a_variable_with_a_name_too_long_for_a_short_text[2] + max(spectralRange(spectrum(x), frequencyHz=1000, "
    "widthHz=100))"
    " * -sum(spectrum(x)) < 0.2 and not (size(concat(x, 1, 2.5e-3)) >= 3 or peaks(spectrum(x))[0] != log(mean(x*x)))";

std::string joined(const std::vector<std::string>& in_vTexts)
{
    std::string strAll;
    for (const std::string& strText : in_vTexts)
        strAll += strText + "\n";
    return strAll;
}

// Functions whose parameters come from a file that the configuration names.
class OneFile : public VirtualFileSystem
{
public:
    bool readFile(const char* in_szPath, std::string& out_strContents) const override
    {
        out_strContents = std::string("the contents, which are longer than a short text, of ") + in_szPath;
        return true;
    }
};

class CountingFunction : public SingleVariableFunctionImpl, public NoMemoryFunctionImpl
{
public:
    CountingFunction()
        : SingleVariableFunctionImpl("counted", "a variable whose name is too long for a short text")
    {
    }
    bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) override
    {
        std::string strPath;
        return in_config.getValue("path", strPath) && !in_hFileSystem.isNull() &&
               in_hFileSystem->readFile(strPath.c_str(), m_strContents);
    }
    void getParameterNames(std::vector<std::string>& out_vNames) const override
    {
        out_vNames.push_back("a prefix that is too long for a short text.path");
    }
    bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) override
    {
        const DoubleVector* pArgument = findArgument(in_arguments);
        if (pArgument == nullptr)
            return false;
        out_vResult.insert(out_vResult.end(), pArgument->begin(), pArgument->end());
        out_vResult.push_back(static_cast<double>(m_strContents.size()));
        return true;
    }

private:
    std::string m_strContents;
};

Attempt parsing(const std::string&)
{
    const auto pExpression = std::make_shared<Expression>();
    return {[=] { return pExpression->parse(s_szFormula); },
            [=] {
                return pExpression->getText() + "\n" + joined(pExpression->getVariableNames()) +
                       joined(pExpression->getParameterNames());
            }};
}

Attempt replacedFormula(const std::string&)
{
    const auto pExpression = std::make_shared<Expression>();
    pExpression->parse("flatness(spectrum(x))");
    return {[=] { return pExpression->parse(s_szFormula); }, [=] { return pExpression->getText(); }};
}

Attempt wrongFormula(const std::string&)
{
    const auto pExpression = std::make_shared<Expression>();
    return {[=] { return !pExpression->parse("max(spectralRange(spectrum(x), frequencyHz=1000, widthHertz=100))"); },
            [=] { return pExpression->getError() + pExpression->getText(); }};
}

struct Evaluation
{
    Expression m_expression;
    DoubleVector m_vWindow = noise(128);
    std::string m_strText;

    explicit Evaluation(const char* in_szFormula)
    {
        m_expression.parse(in_szFormula);
        m_expression.setVariable("a_variable_with_a_name_too_long_for_a_short_text", DoubleVector{1.0, 2.0, 3.0});
        m_expression.setVariable("x", m_vWindow);
    }

    bool evaluate()
    {
        LimitedObjPtr<DoubleVector> pResult;
        if (!m_expression.evaluate(pResult))
            return false;
        m_strText = textOf(*pResult);
        return true;
    }
};

Attempt evaluation(const std::string&)
{
    const auto pState = std::make_shared<Evaluation>(s_szFormula);
    return {[=] { return pState->evaluate(); }, [=] { return pState->m_strText; }};
}

Attempt variables(const std::string&)
{
    const auto pState = std::make_shared<Evaluation>(s_szFormula);
    return {[=] {
                return pState->m_expression.setVariable("x", noise(128, 7)) && pState->evaluate() &&
                       pState->m_expression.pointVariable("x", pState->m_vWindow) && pState->evaluate() &&
                       pState->m_expression.reset();
            },
            [=] { return pState->m_strText; }};
}

Attempt configuration(const std::string&)
{
    struct State : Evaluation
    {
        State()
            : Evaluation("maxSpectralRanges(spectrum(x)) + spectralRange(spectrum(x), widthHz=20)")
            , m_config(trie())
        {
        }
        static ParameterTrie trie()
        {
            ParameterTrie parameters;
            parameters.insert("frequenciesList", ParameterValue("1000, 1700, 2300, 3100"));
            parameters.insert("spectralrange.frequencyHz", ParameterValue(1000L));
            return parameters;
        }
        TrieConfiguration m_config;
    };
    const auto pState = std::make_shared<State>();
    return {[=] { return pState->m_expression.configure(pState->m_config); },
            [=] {
                pState->evaluate();
                return pState->m_strText;
            }};
}

Attempt copies(const std::string&)
{
    struct State : Evaluation
    {
        State()
            : Evaluation(s_szFormula)
        {
        }
        Expression m_copy;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_copy = pState->m_expression.copy();
                return true;
            },
            [=] { return pState->m_copy.isEmpty() ? "empty" : pState->m_copy.getText(); }};
}

Attempt functions(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                pText->clear();
                for (const std::string& strName : Registry::getInstance().getFunctionNames()) {
                    const Handle<FunctionBaseImpl> hFunction = Registry::getInstance().newFunction(strName.c_str());
                    *pText += hFunction->getName() + std::to_string(hFunction->getNbOfParameters()) + ",";
                }
                return Registry::getInstance().newFunction("unknown").isNull();
            },
            [=] { return *pText; }};
}

// A name that is taken: what the registry refuses stays the caller's.
Attempt registration(const std::string&)
{
    using Allocator = Registry::ExpressionAllocatorT<UserFunctionImpl<CountingFunction>>;
    return {[] {
                const auto pAllocator = std::make_unique<Allocator>();
                return !Registry::getInstance().registerFunction("spectrum", pAllocator.get()) &&
                       !pAllocator->newExpression().isNull();
            },
            [] { return ""; }};
}

Attempt userFunction(const std::string&)
{
    struct State
    {
        TSHandle<VirtualFileSystem> m_hFiles{new OneFile};
        ParameterTrie m_trie;
        DoubleVector m_vResult;
        std::string m_strText;
    };
    const auto pState = std::make_shared<State>();
    pState->m_trie.insert("path", ParameterValue("a path that is too long for a short text"));
    return {[=] {
                const Handle<UserFunctionImpl<CountingFunction>> hNode(new UserFunctionImpl<CountingFunction>(false));
                const Handle<VariableImpl> hVariable(new VariableImpl("x"));
                hVariable->setValue(noise(16));
                if (!hNode->bindArgument(0, hVariable) ||
                    !hNode->configure(TrieConfiguration(pState->m_trie), pState->m_hFiles))
                    return false;
                ExpressionImplCopier copier;
                const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hNode);
                LimitedObjPtr<DoubleVector> pResult;
                if (!hNode->evaluate(pResult) || hCopy.isNull())
                    return false;
                pState->m_vResult = *pResult;
                return true;
            },
            [=] { return textOf(pState->m_vResult); }};
}

Attempt listing(const std::string&)
{
    struct State : Evaluation
    {
        State()
            : Evaluation(s_szFormula)
        {
        }
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                std::ostringstream stream;
                pState->m_expression.getRoot()->dump(stream);
                pState->m_strText = stream.str() + pState->m_expression.getText();
                return stream.good();
            },
            [=] { return pState->m_strText; }};
}

} // namespace

std::vector<AllocationScenario> expressionScenarios()
{
    return {{"parse a formula", parsing},
            {"replace a formula", replacedFormula},
            {"explain a wrong formula", wrongFormula},
            {"evaluate a formula", evaluation},
            {"set variables", variables},
            {"configure a formula", configuration},
            {"copy a formula", copies, Afterwards::UNCHANGED},
            {"make registered functions", functions},
            {"register a taken name", registration, Afterwards::UNCHANGED},
            {"use a function of the program", userFunction},
            {"dump a formula", listing}};
}

} // namespace Corvana::Test
