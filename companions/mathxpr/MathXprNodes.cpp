// SPDX-License-Identifier: Apache-2.0
#include "MathXprNodes.h"

#include "corvana/Logger.h"
#include "corvana/NumberText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <ostream>
#include <sstream>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.mathxpr.Expression")

namespace Corvana::Math::Xpr {

const DoubleVector* PlainNode::evaluateChild(long in_iIndex) const
{
    LimitedObjPtr<DoubleVector> pValue;
    return getChildAt(in_iIndex)->evaluate(pValue) ? pValue.get() : nullptr;
}

void PlainNode::keepResult(DoubleVector& inout_vResult, DoubleVector& inout_vSpare)
{
    inout_vResult.swap(inout_vSpare);
    if (inout_vSpare.capacity() < inout_vResult.size())
        inout_vSpare.reserve(inout_vResult.capacity());
}

void PlainNode::reportError(const std::string& in_strReason) const
{
    constexpr std::size_t uiMaxLength = 200;
    std::ostringstream stream;
    stream.exceptions(std::ios_base::badbit); // else memory that runs out cuts the text, in silence
    write(stream);
    std::string strText = stream.str();
    if (strText.size() > uiMaxLength)
        strText.replace(uiMaxLength, std::string::npos, "...");
    CORVANA_LOG_ERROR(fileScopeLogger(), "Cannot evaluate " << strText << " : " << in_strReason);
}

// ---- NumberNode

NumberNode::NumberNode(double in_dValue)
    : PlainNode(toShortestText(in_dValue).c_str())
    , m_vValue{in_dValue}
{
}

bool NumberNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    out_pResult.pointAt(m_vValue);
    return true;
}

Handle<ExpressionBaseImpl> NumberNode::copy_i(ExpressionImplCopier&) const
{
    return Handle<ExpressionBaseImpl>(new NumberNode(m_vValue[0]));
}

// ---- ChainNode

const char* toText(Operator in_operator)
{
    static constexpr const char* s_aszTexts[] = {"+", "-", "*", "/", "<", "<=", ">", ">=", "==", "!=", "and", "or"};
    return s_aszTexts[static_cast<std::size_t>(in_operator)];
}

unsigned precedenceOf(Operator in_operator)
{
    switch (in_operator) {
    case Operator::OR:
        return 1;
    case Operator::AND:
        return 2;
    case Operator::ADD:
    case Operator::SUBTRACT:
        return 5;
    case Operator::MULTIPLY:
    case Operator::DIVIDE:
        return 6;
    default:
        return 4; // the comparisons; "not" is looser, with 3
    }
}

namespace {

double truth(bool in_bTrue)
{
    return in_bTrue ? 1.0 : 0.0;
}

template <class FunctionT>
void combineWith(DoubleVector& inout_vLeft, const DoubleVector& in_vRight, FunctionT in_function)
{
    const bool bRepeat = in_vRight.size() == 1;
    for (std::size_t uiIndex = 0; uiIndex < inout_vLeft.size(); ++uiIndex)
        inout_vLeft[uiIndex] = in_function(inout_vLeft[uiIndex], in_vRight[bRepeat ? 0 : uiIndex]);
}

void apply(Operator in_operator, DoubleVector& inout_vLeft, const DoubleVector& in_vRight)
{
    switch (in_operator) {
    case Operator::ADD:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return a + b; });
    case Operator::SUBTRACT:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return a - b; });
    case Operator::MULTIPLY:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return a * b; });
    case Operator::DIVIDE:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return a / b; });
    case Operator::LESS:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a < b); });
    case Operator::LESS_EQUAL:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a <= b); });
    case Operator::GREATER:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a > b); });
    case Operator::GREATER_EQUAL:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a >= b); });
    case Operator::EQUAL:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a == b); });
    case Operator::UNEQUAL:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a != b); });
    case Operator::AND:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a != 0.0 && b != 0.0); });
    case Operator::OR:
        return combineWith(inout_vLeft, in_vRight, [](double a, double b) { return truth(a != 0.0 || b != 0.0); });
    }
}

} // namespace

ChainNode::ChainNode(std::vector<Operator> in_vOperators)
    : PlainNode(toText(in_vOperators.front()))
    , m_vOperators(std::move(in_vOperators))
{
}

bool ChainNode::combine(Operator in_operator, const DoubleVector& in_vRight)
{
    if (m_vSpare.size() == 1 && in_vRight.size() != 1) {
        const double dLeft = m_vSpare[0];
        m_vSpare.resize(in_vRight.size());
        std::fill(m_vSpare.begin(), m_vSpare.end(), dLeft);
    } else if (in_vRight.size() != 1 && in_vRight.size() != m_vSpare.size()) {
        reportError("the operands of " + std::string(toText(in_operator)) + " have " + std::to_string(m_vSpare.size()) +
                    " and " + std::to_string(in_vRight.size()) + " values");
        return false;
    }
    apply(in_operator, m_vSpare, in_vRight);
    return true;
}

bool ChainNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    const DoubleVector* pOperand = evaluateChild(0);
    if (pOperand == nullptr)
        return false;
    m_vSpare = *pOperand;
    for (std::size_t uiIndex = 0; uiIndex < m_vOperators.size(); ++uiIndex) {
        pOperand = evaluateChild(static_cast<long>(uiIndex) + 1);
        if (pOperand == nullptr || !combine(m_vOperators[uiIndex], *pOperand))
            return false;
    }
    keepResult(m_vResult, m_vSpare);
    out_pResult.pointAt(m_vResult);
    return true;
}

unsigned ChainNode::getPrecedence() const
{
    return precedenceOf(m_vOperators.front());
}

std::ostream& ChainNode::write(std::ostream& out_stream) const
{
    // Operands that are chains of the same strength were in parentheses, else they would belong to this chain.
    const unsigned uiOperand = getPrecedence() + 1;
    writeOperand(out_stream, 0, uiOperand);
    for (std::size_t uiIndex = 0; uiIndex < m_vOperators.size(); ++uiIndex) {
        out_stream << ' ' << toText(m_vOperators[uiIndex]) << ' ';
        writeOperand(out_stream, static_cast<long>(uiIndex) + 1, uiOperand);
    }
    return out_stream;
}

Handle<ExpressionBaseImpl> ChainNode::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<ChainNode> hCopy(new ChainNode(m_vOperators));
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

// ---- UnaryNode

UnaryNode::UnaryNode(Kind in_kind)
    : PlainNode(in_kind == Kind::NEGATE ? "-" : "not")
    , m_kind(in_kind)
{
}

bool UnaryNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    const DoubleVector* pOperand = evaluateChild(0);
    if (pOperand == nullptr)
        return false;
    m_vResult = *pOperand;
    for (double& dValue : m_vResult)
        dValue = m_kind == Kind::NEGATE ? -dValue : truth(dValue == 0.0);
    out_pResult.pointAt(m_vResult);
    return true;
}

unsigned UnaryNode::getPrecedence() const
{
    return m_kind == Kind::NEGATE ? 7 : 3;
}

std::ostream& UnaryNode::write(std::ostream& out_stream) const
{
    out_stream << (m_kind == Kind::NEGATE ? "-" : "not ");
    writeOperand(out_stream, 0, getPrecedence());
    return out_stream;
}

Handle<ExpressionBaseImpl> UnaryNode::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<UnaryNode> hCopy(new UnaryNode(m_kind));
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

// ---- ElementNode

ElementNode::ElementNode()
    : PlainNode("[]")
{
}

bool ElementNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    const DoubleVector* pVector = evaluateChild(0);
    const DoubleVector* pIndex = pVector == nullptr ? nullptr : evaluateChild(1);
    if (pIndex == nullptr)
        return false;
    if (pIndex->size() != 1) {
        reportError("the index has " + std::to_string(pIndex->size()) + " values, not 1");
        return false;
    }
    const double dIndex = (*pIndex)[0];
    if (!(dIndex >= 0.0 && dIndex < static_cast<double>(pVector->size())) || dIndex != std::trunc(dIndex)) {
        reportError("index " + toShortestText(dIndex) + " of " + std::to_string(pVector->size()) + " values");
        return false;
    }
    const double dElement = (*pVector)[static_cast<std::size_t>(dIndex)];
    m_vResult.clear();
    m_vResult.push_back(dElement);
    out_pResult.pointAt(m_vResult);
    return true;
}

std::ostream& ElementNode::write(std::ostream& out_stream) const
{
    writeOperand(out_stream, 0, s_uiTightest);
    return getChildAt(1)->write(out_stream << '[') << ']';
}

Handle<ExpressionBaseImpl> ElementNode::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<ElementNode> hCopy(new ElementNode);
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

// ---- OwnFunctionNode

namespace {

bool appendMin(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    if (in_vArgument.empty())
        return false;
    out_vResult.push_back(*std::min_element(in_vArgument.begin(), in_vArgument.end()));
    return true;
}

bool appendMax(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    if (in_vArgument.empty())
        return false;
    out_vResult.push_back(*in_vArgument.max_element());
    return true;
}

double sumOf(const DoubleVector& in_vArgument)
{
    return std::accumulate(in_vArgument.begin(), in_vArgument.end(), 0.0); // in index order
}

bool appendMean(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    out_vResult.push_back(in_vArgument.empty() ? 0.0 : sumOf(in_vArgument) / static_cast<double>(in_vArgument.size()));
    return true;
}

bool appendSum(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    out_vResult.push_back(sumOf(in_vArgument));
    return true;
}

bool appendSize(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    out_vResult.push_back(static_cast<double>(in_vArgument.size()));
    return true;
}

template <double (*function)(double)>
bool appendEach(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    for (const double dValue : in_vArgument)
        out_vResult.push_back(function(dValue));
    return true;
}

bool appendAll(const DoubleVector& in_vArgument, DoubleVector& out_vResult)
{
    out_vResult.insert(out_vResult.end(), in_vArgument.begin(), in_vArgument.end());
    return true;
}

} // namespace

const std::vector<OwnFunction>& getOwnFunctions()
{
    constexpr std::size_t uiAnyNumber = std::numeric_limits<std::size_t>::max();
    static const std::vector<OwnFunction> s_vFunctions = {
        {"min", 1, 1, "the smallest value", appendMin},
        {"max", 1, 1, "the largest value", appendMax},
        {"mean", 1, 1, "the arithmetic mean; 0 of no values", appendMean},
        {"sum", 1, 1, "the sum in index order", appendSum},
        {"size", 1, 1, "the number of values", appendSize},
        {"log", 1, 1, "the natural logarithm of each value", appendEach<std::log>},
        {"sqrt", 1, 1, "the square root of each value", appendEach<std::sqrt>},
        {"abs", 1, 1, "the absolute value of each value", appendEach<std::fabs>},
        {"concat", 1, uiAnyNumber, "all values of all arguments, one after another", appendAll},
    };
    return s_vFunctions;
}

const OwnFunction* findOwnFunction(std::string_view in_strName)
{
    for (const OwnFunction& function : getOwnFunctions())
        if (in_strName == function.m_szName)
            return &function;
    return nullptr;
}

OwnFunctionNode::OwnFunctionNode(const OwnFunction& in_function)
    : PlainNode(in_function.m_szName)
    , m_function(in_function)
{
}

bool OwnFunctionNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    m_vSpare.clear();
    for (long iIndex = 0; iIndex < getNbOfChildren(); ++iIndex) {
        const DoubleVector* pArgument = evaluateChild(iIndex);
        if (pArgument == nullptr)
            return false;
        if (!m_function.m_pCompute(*pArgument, m_vSpare)) {
            reportError("no values");
            return false;
        }
    }
    keepResult(m_vResult, m_vSpare);
    out_pResult.pointAt(m_vResult);
    return true;
}

std::ostream& OwnFunctionNode::write(std::ostream& out_stream) const
{
    out_stream << getName();
    for (long iIndex = 0; iIndex < getNbOfChildren(); ++iIndex)
        getChildAt(iIndex)->write(out_stream << (iIndex == 0 ? "(" : ", "));
    return out_stream << ')';
}

Handle<ExpressionBaseImpl> OwnFunctionNode::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<OwnFunctionNode> hCopy(new OwnFunctionNode(m_function));
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

// ---- SharedNode

SharedNode::SharedNode()
    : PlainNode("shared")
{
}

bool SharedNode::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    if (!m_bEvaluated && !getChildAt(0)->evaluate(m_pValue))
        return false;
    m_bEvaluated = true;
    out_pResult = m_pValue;
    return true;
}

std::ostream& SharedNode::write(std::ostream& out_stream) const
{
    return getChildAt(0)->write(out_stream);
}

unsigned SharedNode::getPrecedence() const
{
    return getChildAt(0)->getPrecedence();
}

Handle<ExpressionBaseImpl> SharedNode::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<SharedNode> hCopy(new SharedNode);
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

} // namespace Corvana::Math::Xpr
