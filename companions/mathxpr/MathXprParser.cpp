// SPDX-License-Identifier: Apache-2.0
#include "MathXprParser.h"

#include "corvana/MathXprRegistry.h"
#include "corvana/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>

namespace Corvana::Math::Xpr {
namespace {

// The classic character classes, whatever the locale.
bool isDigit(char in_c)
{
    return in_c >= '0' && in_c <= '9';
}

bool isNameStart(char in_c)
{
    return (in_c >= 'a' && in_c <= 'z') || (in_c >= 'A' && in_c <= 'Z') || in_c == '_';
}

bool isBlank(char in_c)
{
    return in_c == ' ' || in_c == '\t' || in_c == '\n' || in_c == '\r';
}

// For messages: shortened, and without bytes that are no visible ASCII, which would spoil the message or the terminal.
std::string quoted(std::string_view in_strText)
{
    constexpr std::size_t uiMaxLength = 40;
    std::string strVisible;
    for (const char c : in_strText.substr(0, uiMaxLength))
        strVisible += c >= ' ' && c <= '~' ? c : '?';
    return '"' + strVisible + (in_strText.size() > uiMaxLength ? "...\"" : "\"");
}

// Levenshtein's distance between two short texts.
std::size_t distanceOf(std::string_view in_strLeft, std::string_view in_strRight)
{
    std::vector<std::size_t> vRow(in_strRight.size() + 1);
    std::iota(vRow.begin(), vRow.end(), std::size_t{0});
    for (std::size_t uiLeft = 0; uiLeft < in_strLeft.size(); ++uiLeft) {
        std::size_t uiDiagonal = vRow[0];
        vRow[0] = uiLeft + 1;
        for (std::size_t uiRight = 0; uiRight < in_strRight.size(); ++uiRight) {
            const std::size_t uiReplaced = uiDiagonal + (in_strLeft[uiLeft] == in_strRight[uiRight] ? 0 : 1);
            uiDiagonal = vRow[uiRight + 1];
            vRow[uiRight + 1] = std::min({uiReplaced, vRow[uiRight] + 1, uiDiagonal + 1});
        }
    }
    return vRow.back();
}

// ", did you mean ...?" when a known name is near; else which there are.
std::string suggestion(std::string_view in_strName, const std::vector<std::string>& in_vKnown)
{
    constexpr std::size_t uiMaxLength = 64;
    const std::string* pNearest = nullptr;
    std::size_t uiNearest = std::max<std::size_t>(2, in_strName.size() / 3) + 1;
    for (const std::string& strKnown : in_vKnown) {
        const std::size_t uiDistance = in_strName.size() > uiMaxLength ? uiNearest : distanceOf(in_strName, strKnown);
        if (uiDistance < uiNearest) {
            uiNearest = uiDistance;
            pNearest = &strKnown;
        }
    }
    if (pNearest != nullptr)
        return ", did you mean " + quoted(*pNearest) + "?";
    std::string strList = in_vKnown.empty() ? ", it has none" : ", known are";
    for (const std::string& strKnown : in_vKnown)
        strList += (&strKnown == in_vKnown.data() ? " " : ", ") + strKnown;
    return strList;
}

std::vector<std::string> knownFunctionNames()
{
    std::vector<std::string> vNames = Registry::getInstance().getFunctionNames();
    for (const OwnFunction& function : getOwnFunctions())
        vNames.emplace_back(function.m_szName);
    return vNames;
}

std::vector<std::string> parameterNamesOf(const FunctionBaseImpl& in_function)
{
    std::vector<std::string> vNames;
    for (long iIndex = 0; iIndex < in_function.getNbOfParameters(); ++iIndex) {
        const std::string& strName = in_function.getParameter(iIndex);
        vNames.push_back(strName.substr(strName.rfind('.') + 1));
    }
    return vNames;
}

constexpr std::array<std::pair<std::string_view, Operator>, 2> s_aSums = {
    {{"+", Operator::ADD}, {"-", Operator::SUBTRACT}}};
constexpr std::array<std::pair<std::string_view, Operator>, 2> s_aProducts = {
    {{"*", Operator::MULTIPLY}, {"/", Operator::DIVIDE}}};
constexpr std::array<std::pair<std::string_view, Operator>, 1> s_aAnd = {{{"and", Operator::AND}}};
constexpr std::array<std::pair<std::string_view, Operator>, 1> s_aOr = {{{"or", Operator::OR}}};
constexpr std::array<std::pair<std::string_view, Operator>, 6> s_aComparisons = {{{"<", Operator::LESS},
                                                                                  {"<=", Operator::LESS_EQUAL},
                                                                                  {">", Operator::GREATER},
                                                                                  {">=", Operator::GREATER_EQUAL},
                                                                                  {"==", Operator::EQUAL},
                                                                                  {"!=", Operator::UNEQUAL}}};

} // namespace

// Counts how deep the parser has descended.
class Parser::Nesting
{
public:
    explicit Nesting(Parser& inout_parser)
        : m_uiDepth(inout_parser.m_uiDepth)
    {
        ++m_uiDepth;
    }
    ~Nesting() { --m_uiDepth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

    bool isTooDeep() const { return m_uiDepth > s_uiMaxDepth; }

private:
    unsigned& m_uiDepth;
};

// ---- Words of the formula

void Parser::readNumber()
{
    const char* const pBegin = m_strFormula.data() + m_uiNext;
    const char* const pEnd = m_strFormula.data() + m_strFormula.size();
    const std::from_chars_result result = std::from_chars(pBegin, pEnd, m_token.m_dNumber);
    // "1e" leaves a rest that no rule takes; a number beyond all doubles is none.
    m_token.m_kind = result.ec == std::errc() ? Token::Kind::NUMBER : Token::Kind::INVALID;
    m_token.m_strText = m_strFormula.substr(m_uiNext, static_cast<std::size_t>(result.ptr - pBegin));
    if (m_token.m_kind == Token::Kind::INVALID)
        m_token.m_szFault = "a number too large or too small for a double";
    m_uiNext += m_token.m_strText.size();
}

void Parser::readText()
{
    const std::size_t uiEnd = m_strFormula.find('"', m_uiNext + 1);
    if (uiEnd == std::string_view::npos) {
        m_token.m_kind = Token::Kind::INVALID;
        m_token.m_szFault = "a text without its closing quote"; // no rule takes it, or reads on behind it
        return;
    }
    m_token.m_kind = Token::Kind::TEXT;
    m_token.m_strText = m_strFormula.substr(m_uiNext + 1, uiEnd - m_uiNext - 1);
    m_uiNext = uiEnd + 1;
}

void Parser::advance()
{
    while (m_uiNext < m_strFormula.size() && isBlank(m_strFormula[m_uiNext]))
        ++m_uiNext;
    m_token = Token();
    m_token.m_uiColumn = m_uiNext + 1;
    if (m_uiNext == m_strFormula.size())
        return;

    const char cFirst = m_strFormula[m_uiNext];
    const char cSecond = m_uiNext + 1 < m_strFormula.size() ? m_strFormula[m_uiNext + 1] : '\0';
    if (isDigit(cFirst) || (cFirst == '.' && isDigit(cSecond)))
        return readNumber();
    if (cFirst == '"')
        return readText();

    std::size_t uiLength = 1;
    if (isNameStart(cFirst)) {
        m_token.m_kind = Token::Kind::NAME;
        const auto isInName = [](char in_c) { return isNameStart(in_c) || isDigit(in_c); };
        while (m_uiNext + uiLength < m_strFormula.size() && isInName(m_strFormula[m_uiNext + uiLength]))
            ++uiLength;
    } else {
        const auto isOneOf = [cFirst](std::string_view in_strLetters) {
            return in_strLetters.find(cFirst) != std::string_view::npos;
        };
        m_token.m_kind = isOneOf("()[],=<>!+-*/") ? Token::Kind::SYMBOL : Token::Kind::INVALID;
        uiLength = cSecond == '=' && isOneOf("=<>!") ? 2 : 1;
    }
    m_token.m_strText = m_strFormula.substr(m_uiNext, uiLength);
    m_uiNext += uiLength;
}

bool Parser::isSymbol(std::string_view in_strText) const
{
    return m_token.m_kind == Token::Kind::SYMBOL && m_token.m_strText == in_strText;
}

bool Parser::isWord(std::string_view in_strText) const
{
    return (m_token.m_kind == Token::Kind::SYMBOL || m_token.m_kind == Token::Kind::NAME) &&
           m_token.m_strText == in_strText;
}

bool Parser::skipSymbol(std::string_view in_strText)
{
    if (!isSymbol(in_strText))
        return false;
    advance();
    return true;
}

std::string Parser::describeToken() const
{
    if (m_token.m_szFault != nullptr)
        return m_token.m_szFault;
    return m_token.m_kind == Token::Kind::END ? "the end" : quoted(m_token.m_strText);
}

Parser::Result Parser::fail(const std::string& in_strWhat, std::size_t in_uiColumn)
{
    m_strError = in_strWhat + " at column " + std::to_string(in_uiColumn);
    return {};
}

Parser::Result Parser::failExpected(const std::string& in_strExpected)
{
    return fail("expected " + in_strExpected + ", found " + describeToken(), m_token.m_uiColumn);
}

Parser::Result Parser::failTooDeep(std::size_t in_uiColumn)
{
    return fail("nested deeper than " + std::to_string(s_uiMaxDepth), in_uiColumn);
}

// ---- The table of nodes

std::string Parser::keyOf(const Syntax::Node& in_node) const
{
    // Lengths in front of texts, so that different nodes cannot read alike.
    std::string strKey = std::to_string(static_cast<int>(in_node.m_kind)) + ' ';
    const auto append = [&strKey](std::string_view in_strText) {
        strKey += std::to_string(in_strText.size()) + ':';
        strKey += in_strText;
    };
    append(in_node.m_strName);
    append(toShortestText(in_node.m_dNumber));
    for (const Operator op : in_node.m_vOperators)
        append(toText(op));
    for (const std::size_t uiChild : in_node.m_vChildren)
        append(std::to_string(uiChild));
    for (const auto& [strName, value] : in_node.m_vParameters) {
        std::string strValue;
        value.convertTo(strValue);
        append(strName);
        append((value.isString() ? "t" : "n") + strValue);
    }
    return strKey;
}

Parser::Result Parser::add(Syntax::Node in_node, std::size_t in_uiColumn)
{
    for (const std::size_t uiChild : in_node.m_vChildren)
        in_node.m_uiDepth = std::max(in_node.m_uiDepth, m_syntax.m_vNodes[uiChild].m_uiDepth + 1);
    if (in_node.m_uiDepth > s_uiMaxDepth)
        return failTooDeep(in_uiColumn);
    const auto [it, bNew] = m_places.try_emplace(keyOf(in_node), m_syntax.m_vNodes.size());
    if (bNew)
        m_syntax.m_vNodes.push_back(std::move(in_node));
    return {true, it->second};
}

// ---- The rules of the language, from loose to tight

bool Parser::parse(std::string_view in_strFormula, Syntax& out_syntax)
{
    m_strFormula = in_strFormula;
    if (in_strFormula.size() > s_uiMaxLength) {
        fail("the formula is longer than " + std::to_string(s_uiMaxLength) + " bytes", s_uiMaxLength + 1);
        return false;
    }
    advance();
    const Result result = parseOr();
    if (!result.m_bValid)
        return false;
    if (m_token.m_kind != Token::Kind::END) {
        failExpected("an operator or the end");
        return false;
    }
    // Everything read belongs to the formula, which was added last, unless it is equal to a part of itself: never.
    out_syntax = std::move(m_syntax);
    return true;
}

template <class OperatorsT>
Parser::Result Parser::parseChain(Result (Parser::*in_pOperand)(), const OperatorsT& in_operators)
{
    const std::size_t uiColumn = m_token.m_uiColumn;
    const Result first = (this->*in_pOperand)();
    if (!first.m_bValid)
        return first;
    Syntax::Node chain;
    chain.m_kind = Syntax::Kind::CHAIN;
    chain.m_vChildren.push_back(first.m_uiNode);
    for (;;) {
        const auto it = std::find_if(in_operators.begin(), in_operators.end(),
                                     [this](const auto& in_operator) { return isWord(in_operator.first); });
        if (it == in_operators.end())
            return chain.m_vOperators.empty() ? first : add(std::move(chain), uiColumn);
        advance();
        const Result operand = (this->*in_pOperand)();
        if (!operand.m_bValid)
            return operand;
        chain.m_vOperators.push_back(it->second);
        chain.m_vChildren.push_back(operand.m_uiNode);
    }
}

Parser::Result Parser::parseOr()
{
    return parseChain(&Parser::parseAnd, s_aOr);
}

Parser::Result Parser::parseAnd()
{
    return parseChain(&Parser::parseNot, s_aAnd);
}

Parser::Result Parser::parseUnaryOperator(Syntax::Kind in_kind, Result (Parser::*in_pOperand)())
{
    const Nesting nesting(*this);
    const std::size_t uiColumn = m_token.m_uiColumn;
    if (nesting.isTooDeep())
        return failTooDeep(uiColumn);
    advance();
    const Result operand = (this->*in_pOperand)();
    if (!operand.m_bValid)
        return operand;
    Syntax::Node node;
    node.m_kind = in_kind;
    node.m_vChildren.push_back(operand.m_uiNode);
    return add(std::move(node), uiColumn);
}

Parser::Result Parser::parseNot()
{
    return isWord("not") ? parseUnaryOperator(Syntax::Kind::NOT, &Parser::parseNot) : parseComparison();
}

Parser::Result Parser::parseComparison()
{
    const std::size_t uiFirstColumn = m_token.m_uiColumn;
    const Result left = parseSum();
    const auto findOperator = [this] {
        return std::find_if(s_aComparisons.begin(), s_aComparisons.end(),
                            [this](const auto& in_operator) { return isWord(in_operator.first); });
    };
    const auto it = left.m_bValid ? findOperator() : s_aComparisons.end();
    if (it == s_aComparisons.end())
        return left;
    advance();
    const Result right = parseSum();
    if (!right.m_bValid)
        return right;
    if (findOperator() != s_aComparisons.end())
        return fail("comparisons do not chain, join them with \"and\"", m_token.m_uiColumn);
    Syntax::Node node;
    node.m_kind = Syntax::Kind::CHAIN;
    node.m_vOperators.push_back(it->second);
    node.m_vChildren = {left.m_uiNode, right.m_uiNode};
    return add(std::move(node), uiFirstColumn);
}

Parser::Result Parser::parseSum()
{
    return parseChain(&Parser::parseProduct, s_aSums);
}

Parser::Result Parser::parseProduct()
{
    return parseChain(&Parser::parseUnary, s_aProducts);
}

Parser::Result Parser::parseUnary()
{
    return isSymbol("-") ? parseUnaryOperator(Syntax::Kind::NEGATE, &Parser::parseUnary) : parsePostfix();
}

Parser::Result Parser::parsePostfix()
{
    Result vector = parsePrimary();
    while (vector.m_bValid && isSymbol("[")) {
        const Nesting nesting(*this);
        const std::size_t uiColumn = m_token.m_uiColumn;
        if (nesting.isTooDeep())
            return failTooDeep(uiColumn);
        advance();
        const Result index = parseOr();
        if (!index.m_bValid)
            return index;
        if (!skipSymbol("]"))
            return failExpected("\"]\"");
        Syntax::Node node;
        node.m_kind = Syntax::Kind::ELEMENT;
        node.m_vChildren = {vector.m_uiNode, index.m_uiNode};
        vector = add(std::move(node), uiColumn);
    }
    return vector;
}

Parser::Result Parser::parsePrimary()
{
    if (isSymbol("("))
        return parseParentheses();
    const Token token = m_token;
    Syntax::Node node;
    if (token.m_kind == Token::Kind::NUMBER) {
        node.m_dNumber = token.m_dNumber;
        advance();
        return add(std::move(node), token.m_uiColumn);
    }
    const bool bReserved = isWord("and") || isWord("or") || isWord("not");
    if (token.m_kind != Token::Kind::NAME || bReserved)
        return failExpected("a number, a name or \"(\"");
    advance();
    if (isSymbol("("))
        return parseCall(token);
    node.m_kind = Syntax::Kind::VARIABLE;
    node.m_strName = token.m_strText;
    return add(std::move(node), token.m_uiColumn);
}

Parser::Result Parser::parseParentheses()
{
    const Nesting nesting(*this);
    if (nesting.isTooDeep())
        return failTooDeep(m_token.m_uiColumn);
    advance();
    const Result inner = parseOr();
    if (inner.m_bValid && !skipSymbol(")"))
        return failExpected("\")\"");
    return inner;
}

Parser::Result Parser::parseCall(const Token& in_name)
{
    const Nesting nesting(*this);
    if (nesting.isTooDeep())
        return failTooDeep(in_name.m_uiColumn);
    Syntax::Node call;
    call.m_strName = in_name.m_strText;
    const bool bOwn = findOwnFunction(in_name.m_strText) != nullptr;
    call.m_kind = bOwn ? Syntax::Kind::OWN_FUNCTION : Syntax::Kind::FUNCTION;
    if (!bOwn && Registry::getInstance().newFunction(call.m_strName.c_str()).isNull())
        return fail("unknown function " + quoted(in_name.m_strText) +
                        suggestion(in_name.m_strText, knownFunctionNames()),
                    in_name.m_uiColumn);
    advance();
    if (!skipSymbol(")") && !parseArguments(call, in_name))
        return {};
    if (!checkCall(call, in_name))
        return {};
    return add(std::move(call), in_name.m_uiColumn);
}

bool Parser::parseArguments(Syntax::Node& inout_call, const Token& in_name)
{
    for (;;) {
        // A name with "=" behind it is a parameter; the word behind has to be looked at to tell.
        const std::size_t uiNext = m_uiNext;
        const Token token = m_token;
        bool bParameter = false;
        if (token.m_kind == Token::Kind::NAME) {
            advance();
            bParameter = isSymbol("=");
            m_uiNext = uiNext;
            m_token = token;
        }
        if (bParameter) {
            if (!parseParameter(inout_call, in_name))
                return false;
        } else {
            const Result argument = parseOr();
            if (!argument.m_bValid)
                return false;
            inout_call.m_vChildren.push_back(argument.m_uiNode);
        }
        if (skipSymbol(")"))
            return true;
        if (!skipSymbol(",")) {
            failExpected("\",\" or \")\"");
            return false;
        }
    }
}

bool Parser::parseParameter(Syntax::Node& inout_call, const Token& in_name)
{
    const Token parameter = m_token;
    advance();
    advance(); // "="

    std::vector<std::string> vKnown;
    if (inout_call.m_kind == Syntax::Kind::FUNCTION)
        vKnown = parameterNamesOf(*Registry::getInstance().newFunction(inout_call.m_strName.c_str()));
    const std::string strName(parameter.m_strText);
    if (std::find(vKnown.begin(), vKnown.end(), strName) == vKnown.end())
        return fail(quoted(in_name.m_strText) + " has no parameter " + quoted(strName) + suggestion(strName, vKnown),
                    parameter.m_uiColumn)
            .m_bValid;
    const auto isSame = [&](const auto& in_pair) { return in_pair.first == strName; };
    if (std::any_of(inout_call.m_vParameters.begin(), inout_call.m_vParameters.end(), isSame))
        return fail("parameter " + quoted(strName) + " is given twice", parameter.m_uiColumn).m_bValid;

    const bool bNegative = skipSymbol("-");
    ParameterValue value;
    if (m_token.m_kind == Token::Kind::NUMBER) {
        const double dNumber = bNegative ? -m_token.m_dNumber : m_token.m_dNumber;
        const bool bWhole = dNumber == std::trunc(dNumber) && std::fabs(dNumber) <= 0x1p53;
        value = bWhole ? ParameterValue(static_cast<long>(dNumber)) : ParameterValue(dNumber);
    } else if (m_token.m_kind == Token::Kind::TEXT && !bNegative) {
        value = ParameterValue(std::string(m_token.m_strText).c_str());
    } else {
        return failExpected(bNegative ? "a number" : "a number or a text in double quotes").m_bValid;
    }
    advance();
    inout_call.m_vParameters.emplace_back(strName, value);
    return true;
}

bool Parser::checkCall(const Syntax::Node& in_call, const Token& in_name)
{
    const std::size_t uiGiven = in_call.m_vChildren.size();
    std::size_t uiMin = 0;
    std::size_t uiMax = 0;
    if (const OwnFunction* pFunction = findOwnFunction(in_call.m_strName)) {
        uiMin = pFunction->m_uiMinArguments;
        uiMax = pFunction->m_uiMaxArguments;
    } else {
        const Handle<FunctionBaseImpl> hFunction = Registry::getInstance().newFunction(in_call.m_strName.c_str());
        uiMin = uiMax = static_cast<std::size_t>(hFunction->getNbOfArguments());
    }
    if (uiGiven >= uiMin && uiGiven <= uiMax)
        return true;
    const std::string strWanted =
        (uiMin == uiMax ? "" : "at least ") + std::to_string(uiMin) + (uiMin == 1 ? " argument" : " arguments");
    fail(quoted(in_call.m_strName) + " takes " + strWanted + ", found " + std::to_string(uiGiven), in_name.m_uiColumn);
    return false;
}

} // namespace Corvana::Math::Xpr
