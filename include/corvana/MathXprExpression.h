// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/LimitedObjPtr.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/MathXprExpressionImpl.h"

#include <memory>
#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// A formula over vectors of doubles, such as "flatness(spectrum(x)) < 0.2".
///
/// Values are vectors. Arithmetic, comparisons (1 or 0) and the logical operators go value by value; a one-value
/// operand is repeated, other unequal sizes fail. From loose to tight: or; and; not; < <= > >= == != (which do not
/// chain); + -; * /; - in front; v[i]. Functions are those of the Registry and the language's own: min, max, mean, sum,
/// size, log, sqrt, abs, concat. A function's parameters are given by name behind its arguments:
/// "spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)". Names are case sensitive.
/// An expression that occurs twice is evaluated once.
/// At most 64 KiB of text, nested at most 256 deep.
///
/// Movable. One thread uses an expression at a time; other threads take copies.
class CORVANA_API Expression
{
public:
    Expression();
    ~Expression();
    Expression(Expression&&) noexcept;
    Expression& operator=(Expression&&) noexcept;

    /// Replaces the formula. False: getError() tells why, and the expression is empty.
    bool parse(const char* in_szFormula);
    /// What is wrong, what was expected, and where: "... at column 12"; columns are bytes, from 1. Empty when the last
    /// parse() was good.
    const std::string& getError() const;
    bool isEmpty() const;
    /// The formula as text that parses to the same expression.
    std::string getText() const;
    /// In the order in which they first occur.
    std::vector<std::string> getVariableNames() const;
    /// The full names of the parameters of the functions that occur, each once.
    std::vector<std::string> getParameterNames() const;

    /// Copies the value. False: the formula has no such variable.
    bool setVariable(const char* in_szName, const DoubleVector& in_vValue);
    /// The same without a copy, for windows that follow each other fast: the value is read where it lies, and must
    /// stay there until the variable gets another one.
    bool pointVariable(const char* in_szName, const DoubleVector& in_vValue);
    /// Gives functions their parameters; values written in the formula go first. False, after messages at error level:
    /// a parameter is missing or unusable. Without a call, the first evaluation configures with what the formula says.
    bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem = {});
    /// Points out_pResult at the value, which the next evaluation overwrites. Allocates nothing after the first time
    /// for values of the same sizes. False, with out_pResult as it was: a variable has no value, or sizes do not fit,
    /// after a message at error level that says so; or a function failed.
    bool evaluate(LimitedObjPtr<DoubleVector>& out_pResult);
    /// Makes the functions forget what earlier evaluations accumulated. False: the expression is empty.
    bool reset();

    /// An independent expression with variables of its own; configure it again.
    Expression copy() const;
    /// The node at the top, to look at; null when empty. Evaluating it directly may give former values of expressions
    /// that occur twice.
    Handle<ExpressionBaseImpl> getRoot() const;

private:
    struct Graph;

    VariableImpl* findVariable(const char* in_szName) const;

    std::unique_ptr<Graph> m_pGraph;
    std::string m_strError;
};

} // namespace Corvana::Math::Xpr
