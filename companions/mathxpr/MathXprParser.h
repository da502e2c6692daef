// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MathXprNodes.h"
#include "corvana/ParameterTrie.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Corvana::Math::Xpr {

/// What a formula says, as a table of nodes in which each comes behind those it reads; equal ones stand there once.
struct Syntax
{
    enum class Kind
    {
        NUMBER,
        VARIABLE,
        NEGATE,
        NOT,
        CHAIN,
        ELEMENT,
        OWN_FUNCTION,
        FUNCTION
    };
    struct Node
    {
        Kind m_kind = Kind::NUMBER;
        std::string m_strName; ///< of a variable or function
        double m_dNumber = 0.0;
        std::vector<Operator> m_vOperators;
        std::vector<std::size_t> m_vChildren;
        std::vector<std::pair<std::string, ParameterValue>> m_vParameters; ///< as written in the call
        unsigned m_uiDepth = 0; ///< how many nodes stand below each other; none below a number or a variable
    };

    std::vector<Node> m_vNodes; ///< the last one is the formula
};

/// Reads formula text by recursive descent; how deep it descends is bounded, whatever the text.
class Parser
{
public:
    static constexpr std::size_t s_uiMaxLength = std::size_t{64} * 1024;
    static constexpr unsigned s_uiMaxDepth = 256;

    /// False: getError() tells why.
    bool parse(std::string_view in_strFormula, Syntax& out_syntax);
    const std::string& getError() const { return m_strError; }

private:
    struct Token
    {
        enum class Kind
        {
            NUMBER,
            NAME,
            TEXT,
            SYMBOL,
            END,
            INVALID
        };
        Kind m_kind = Kind::END;
        std::string_view m_strText; // of a TEXT, without the quotes
        std::size_t m_uiColumn = 1;
        double m_dNumber = 0.0;
        const char* m_szFault = nullptr; // what makes it INVALID, when the text does not show it
    };
    // The place of a node in the table; none after an error, which has been noted.
    struct Result
    {
        bool m_bValid = false;
        std::size_t m_uiNode = 0;
    };
    class Nesting;

    void advance();
    void readNumber();
    void readText();
    bool isSymbol(std::string_view in_strText) const;
    bool isWord(std::string_view in_strText) const;
    bool skipSymbol(std::string_view in_strText);
    Result fail(const std::string& in_strWhat, std::size_t in_uiColumn);
    Result failExpected(const std::string& in_strExpected);
    Result failTooDeep(std::size_t in_uiColumn);
    std::string describeToken() const;

    Result parseOr();
    Result parseAnd();
    Result parseNot();
    Result parseComparison();
    Result parseSum();
    Result parseProduct();
    Result parseUnary();
    Result parsePostfix();
    Result parsePrimary();
    Result parseParentheses();
    Result parseCall(const Token& in_name);
    bool parseArguments(Syntax::Node& inout_call, const Token& in_name);
    bool parseParameter(Syntax::Node& inout_call, const Token& in_name);
    bool checkCall(const Syntax::Node& in_call, const Token& in_name);
    Result parseUnaryOperator(Syntax::Kind in_kind, Result (Parser::*in_pOperand)());
    template <class OperatorsT>
    Result parseChain(Result (Parser::*in_pOperand)(), const OperatorsT& in_operators);

    Result add(Syntax::Node in_node, std::size_t in_uiColumn);
    std::string keyOf(const Syntax::Node& in_node) const;

    std::string_view m_strFormula;
    std::size_t m_uiNext = 0;
    Token m_token;
    unsigned m_uiDepth = 0;
    Syntax m_syntax;
    std::map<std::string, std::size_t> m_places;
    std::string m_strError;
};

} // namespace Corvana::Math::Xpr
