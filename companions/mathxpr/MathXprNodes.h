// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathXprExpressionImpl.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The nodes of the language itself: numbers, operators, its own functions. What they compute is told by
// MathXprExpression.h.
namespace Corvana::Math::Xpr {

/// A node without memory and parameters of its own.
class PlainNode : public ExpressionBaseImpl
{
public:
    using ExpressionBaseImpl::addChild;
    using ExpressionBaseImpl::ExpressionBaseImpl;

protected:
    bool reset_i() override { return true; }
    bool isDependantOf_i(const Handle<ExpressionBaseImpl>&) const override { return false; }
    bool configure_i(const ROConfiguration&, const TSHandle<VirtualFileSystem>&) override { return true; }

    /// Evaluates a child; null when it fails.
    const DoubleVector* evaluateChild(long in_iIndex) const;
    /// Makes the value just computed the result, and the former one's storage the next evaluation's spare: both are
    /// large enough from the first evaluation on, so that the second one allocates nothing.
    static void keepResult(DoubleVector& inout_vResult, DoubleVector& inout_vSpare);
    /// Logs why this node could not be evaluated.
    void reportError(const std::string& in_strReason) const;
};

class NumberNode : public PlainNode
{
public:
    explicit NumberNode(double in_dValue);

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    DoubleVector m_vValue;
};

enum class Operator
{
    ADD,
    SUBTRACT,
    MULTIPLY,
    DIVIDE,
    LESS,
    LESS_EQUAL,
    GREATER,
    GREATER_EQUAL,
    EQUAL,
    UNEQUAL,
    AND,
    OR
};
const char* toText(Operator in_operator);
unsigned precedenceOf(Operator in_operator);

/// Operands joined by operators of one strength, evaluated from left to right. One node for the whole chain, so that
/// a long sum is not a deep tree.
class ChainNode : public PlainNode
{
public:
    explicit ChainNode(std::vector<Operator> in_vOperators);

    std::ostream& write(std::ostream& out_stream) const override;
    unsigned getPrecedence() const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    bool combine(Operator in_operator, const DoubleVector& in_vRight);

    std::vector<Operator> m_vOperators;
    DoubleVector m_vSpare;
    DoubleVector m_vResult;
};

/// "-v", which changes each sign (0 - v would not change that of a zero), and "not v".
class UnaryNode : public PlainNode
{
public:
    enum class Kind
    {
        NEGATE,
        NOT
    };
    explicit UnaryNode(Kind in_kind);

    std::ostream& write(std::ostream& out_stream) const override;
    unsigned getPrecedence() const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    Kind m_kind;
    DoubleVector m_vResult;
};

/// "v[i]", counted from 0.
class ElementNode : public PlainNode
{
public:
    ElementNode();
    std::ostream& write(std::ostream& out_stream) const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    DoubleVector m_vResult;
};

/// A function of the language itself.
struct OwnFunction
{
    const char* m_szName;
    std::size_t m_uiMinArguments;
    std::size_t m_uiMaxArguments;
    const char* m_szMeaning;
    /// Appends the function of one more argument to the result; false: it has none.
    bool (*m_pCompute)(const DoubleVector& in_vArgument, DoubleVector& out_vResult);
};
const std::vector<OwnFunction>& getOwnFunctions();
const OwnFunction* findOwnFunction(std::string_view in_strName);

class OwnFunctionNode : public PlainNode
{
public:
    explicit OwnFunctionNode(const OwnFunction& in_function);
    std::ostream& write(std::ostream& out_stream) const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    const OwnFunction& m_function;
    DoubleVector m_vSpare;
    DoubleVector m_vResult;
};

/// Stands for an expression that occurs more than once: evaluates it once, until its value is declared stale.
class SharedNode : public PlainNode
{
public:
    SharedNode();

    void forgetValue() { m_bEvaluated = false; }
    std::ostream& write(std::ostream& out_stream) const override;
    unsigned getPrecedence() const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;

private:
    bool m_bEvaluated = false;
    LimitedObjPtr<DoubleVector> m_pValue;
};

} // namespace Corvana::Math::Xpr
