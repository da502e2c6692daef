// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprExpression.h"

#include "MathXprParser.h"
#include "corvana/MathXprRegistry.h"
#include "corvana/TrieConfiguration.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

namespace Corvana::Math::Xpr {

struct Expression::Graph
{
    Handle<ExpressionBaseImpl> m_hRoot;
    std::vector<Handle<VariableImpl>> m_vVariables; // the free ones, in the order in which they occur
    std::vector<Handle<SharedNode>> m_vShared;
    std::vector<std::string> m_vParameterNames;
    bool m_bConfigured = false;
};

namespace {

// Makes the nodes of a formula, in the order of the table: each behind those it reads.
class GraphBuilder
{
public:
    explicit GraphBuilder(const Syntax& in_syntax)
        : m_syntax(in_syntax)
        , m_vUses(in_syntax.m_vNodes.size())
    {
        for (const Syntax::Node& node : in_syntax.m_vNodes)
            for (const std::size_t uiChild : node.m_vChildren)
                ++m_vUses[uiChild];
    }

    template <class GraphT>
    void build(GraphT& out_graph)
    {
        for (std::size_t uiIndex = 0; uiIndex < m_syntax.m_vNodes.size(); ++uiIndex) {
            const Syntax::Node& node = m_syntax.m_vNodes[uiIndex];
            Handle<ExpressionBaseImpl> hNode = makeNode(node, out_graph);
            const bool bLeaf = node.m_vChildren.empty();
            if (m_vUses[uiIndex] > 1 && !bLeaf) {
                const Handle<SharedNode> hShared(new SharedNode);
                hShared->addChild(hNode);
                out_graph.m_vShared.push_back(hShared);
                hNode = hShared;
            }
            m_vHandles.push_back(hNode);
        }
        out_graph.m_hRoot = m_vHandles.back();
    }

private:
    template <class GraphT>
    Handle<ExpressionBaseImpl> makeNode(const Syntax::Node& in_node, GraphT& out_graph)
    {
        switch (in_node.m_kind) {
        case Syntax::Kind::NUMBER:
            return Handle<ExpressionBaseImpl>(new NumberNode(in_node.m_dNumber));
        case Syntax::Kind::VARIABLE:
            out_graph.m_vVariables.push_back(Handle<VariableImpl>(new VariableImpl(in_node.m_strName.c_str())));
            return out_graph.m_vVariables.back();
        case Syntax::Kind::NEGATE:
            return withChildren(Handle<UnaryNode>(new UnaryNode(UnaryNode::Kind::NEGATE)), in_node);
        case Syntax::Kind::NOT:
            return withChildren(Handle<UnaryNode>(new UnaryNode(UnaryNode::Kind::NOT)), in_node);
        case Syntax::Kind::CHAIN:
            return withChildren(Handle<ChainNode>(new ChainNode(in_node.m_vOperators)), in_node);
        case Syntax::Kind::ELEMENT:
            return withChildren(Handle<ElementNode>(new ElementNode), in_node);
        case Syntax::Kind::OWN_FUNCTION:
            return withChildren(Handle<OwnFunctionNode>(new OwnFunctionNode(*findOwnFunction(in_node.m_strName))),
                                in_node);
        case Syntax::Kind::FUNCTION:
            return makeFunction(in_node, out_graph);
        }
        return {};
    }

    template <class NodeT>
    Handle<ExpressionBaseImpl> withChildren(const Handle<NodeT>& in_hNode, const Syntax::Node& in_node)
    {
        for (const std::size_t uiChild : in_node.m_vChildren)
            in_hNode->addChild(m_vHandles[uiChild]);
        return in_hNode;
    }

    template <class GraphT>
    Handle<ExpressionBaseImpl> makeFunction(const Syntax::Node& in_node, GraphT& out_graph)
    {
        const Handle<FunctionBaseImpl> hFunction = Registry::getInstance().newFunction(in_node.m_strName.c_str());
        for (std::size_t uiIndex = 0; uiIndex < in_node.m_vChildren.size(); ++uiIndex) {
            const auto iIndex = static_cast<long>(uiIndex);
            const Handle<ExpressionBaseImpl>& hArgument = m_vHandles[in_node.m_vChildren[uiIndex]];
            Handle<VariableImpl> hVariable = hArgument.cast<VariableImpl>();
            if (hVariable.isNull()) { // functions read variables only
                hVariable = Handle<VariableImpl>(new VariableImpl(hFunction->getArgument(iIndex).m_strName.c_str()));
                hVariable->bind(hArgument);
            }
            hFunction->bindArgument(iIndex, hVariable);
        }
        for (const auto& [strName, value] : in_node.m_vParameters)
            hFunction->setParameterValue(strName.c_str(), value);
        for (long iIndex = 0; iIndex < hFunction->getNbOfParameters(); ++iIndex) {
            const std::string& strName = hFunction->getParameter(iIndex);
            if (std::find(out_graph.m_vParameterNames.begin(), out_graph.m_vParameterNames.end(), strName) ==
                out_graph.m_vParameterNames.end())
                out_graph.m_vParameterNames.push_back(strName);
        }
        return hFunction;
    }

    const Syntax& m_syntax;
    std::vector<unsigned long> m_vUses;
    std::vector<Handle<ExpressionBaseImpl>> m_vHandles;
};

bool isInName(char in_c)
{
    return (in_c >= 'a' && in_c <= 'z') || (in_c >= 'A' && in_c <= 'Z') || (in_c >= '0' && in_c <= '9') || in_c == '_';
}

// Leaves out the blanks that only please the eye: those that neither part two words nor stand in a quoted text.
std::string withoutNeedlessBlanks(const std::string& in_strText)
{
    std::string strShort;
    bool bQuoted = false;
    for (std::size_t uiIndex = 0; uiIndex < in_strText.size(); ++uiIndex) {
        const char c = in_strText[uiIndex];
        bQuoted = bQuoted != (c == '"');
        // What is written neither begins nor ends with a blank, so both neighbours exist.
        if (c != ' ' || bQuoted || (isInName(strShort.back()) && isInName(in_strText[uiIndex + 1])))
            strShort += c;
    }
    return strShort;
}

} // namespace

Expression::Expression() = default;
Expression::~Expression() = default;
Expression::Expression(Expression&&) noexcept = default;
Expression& Expression::operator=(Expression&&) noexcept = default;

bool Expression::parse(const char* in_szFormula)
{
    m_pGraph.reset();
    m_strError.clear();
    Parser parser;
    Syntax syntax;
    if (!parser.parse(in_szFormula == nullptr ? "" : in_szFormula, syntax)) {
        m_strError = parser.getError();
        return false;
    }
    auto pGraph = std::make_unique<Graph>();
    GraphBuilder(syntax).build(*pGraph);
    m_pGraph = std::move(pGraph);
    if (getText().size() <= Parser::s_uiMaxLength)
        return true;
    // The text has to parse again, and "1e4" is written as "10000".
    m_pGraph.reset();
    m_strError = "the formula is longer than " + std::to_string(Parser::s_uiMaxLength) +
                 " bytes with its numbers written out at column 1";
    return false;
}

const std::string& Expression::getError() const
{
    return m_strError;
}

bool Expression::isEmpty() const
{
    return m_pGraph == nullptr;
}

std::string Expression::getText() const
{
    std::ostringstream stream;
    stream.exceptions(std::ios_base::badbit); // else memory that runs out cuts the text, in silence
    if (!isEmpty())
        m_pGraph->m_hRoot->write(stream);
    const std::string strText = stream.str();
    return strText.size() <= Parser::s_uiMaxLength ? strText : withoutNeedlessBlanks(strText);
}

std::vector<std::string> Expression::getVariableNames() const
{
    std::vector<std::string> vNames;
    if (!isEmpty())
        for (const auto& hVariable : m_pGraph->m_vVariables)
            vNames.push_back(hVariable->getName());
    return vNames;
}

std::vector<std::string> Expression::getParameterNames() const
{
    return isEmpty() ? std::vector<std::string>() : m_pGraph->m_vParameterNames;
}

bool Expression::setVariable(const char* in_szName, const DoubleVector& in_vValue)
{
    VariableImpl* pVariable = findVariable(in_szName);
    if (pVariable != nullptr)
        pVariable->setValue(in_vValue);
    return pVariable != nullptr;
}

bool Expression::pointVariable(const char* in_szName, const DoubleVector& in_vValue)
{
    VariableImpl* pVariable = findVariable(in_szName);
    if (pVariable != nullptr)
        pVariable->pointAt(in_vValue);
    return pVariable != nullptr;
}

VariableImpl* Expression::findVariable(const char* in_szName) const
{
    if (m_pGraph == nullptr || in_szName == nullptr)
        return nullptr;
    for (const auto& hVariable : m_pGraph->m_vVariables)
        if (std::strcmp(hVariable->getName().c_str(), in_szName) == 0)
            return hVariable.get();
    return nullptr;
}

bool Expression::configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem)
{
    if (isEmpty())
        return false;
    const bool bDone = m_pGraph->m_hRoot->configure(in_config, in_hFileSystem);
    m_pGraph->m_bConfigured = true; // not when memory ran out: the first evaluation still has to configure then
    return bDone;
}

bool Expression::evaluate(LimitedObjPtr<DoubleVector>& out_pResult)
{
    Graph* const pGraph = m_pGraph.get();
    if (pGraph == nullptr)
        return false;
    if (!pGraph->m_bConfigured && !configure(TrieConfiguration())) {
        pGraph->m_bConfigured = false;
        return false;
    }
    for (const auto& hShared : pGraph->m_vShared)
        hShared->forgetValue();
    return pGraph->m_hRoot->evaluate(out_pResult);
}

bool Expression::reset()
{
    return !isEmpty() && m_pGraph->m_hRoot->reset();
}

Expression Expression::copy() const
{
    Expression expression;
    expression.m_strError = m_strError;
    if (isEmpty())
        return expression;
    ExpressionImplCopier copier;
    auto pGraph = std::make_unique<Graph>();
    pGraph->m_hRoot = copier.copyOf(m_pGraph->m_hRoot);
    for (const auto& hVariable : m_pGraph->m_vVariables)
        pGraph->m_vVariables.push_back(copier.copyOf(hVariable).cast<VariableImpl>());
    for (const auto& hShared : m_pGraph->m_vShared)
        pGraph->m_vShared.push_back(copier.copyOf(hShared).cast<SharedNode>());
    pGraph->m_vParameterNames = m_pGraph->m_vParameterNames;
    expression.m_pGraph = std::move(pGraph);
    return expression;
}

Handle<ExpressionBaseImpl> Expression::getRoot() const
{
    return isEmpty() ? Handle<ExpressionBaseImpl>() : m_pGraph->m_hRoot;
}

} // namespace Corvana::Math::Xpr
