// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/CountedObjPtr.h"
#include "corvana/LimitedObjPtr.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/MathXprVirtualFileSystem.h"
#include "corvana/OutputStreamable.h"

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace Corvana {
class ROConfiguration;
}

namespace Corvana::Math::Xpr {

class ExpressionBaseImpl;

/// Copies a graph of nodes; one copier for one copy. A node that is reached twice is copied once.
class CORVANA_API ExpressionImplCopier
{
public:
    /// The copy of a node; null gives null.
    Handle<ExpressionBaseImpl> copyOf(const Handle<ExpressionBaseImpl>& in_hSource);

private:
    std::map<const ExpressionBaseImpl*, Handle<ExpressionBaseImpl>> m_copies;
};

/// A node of an expression: a number, a variable, an operator, a function.
/// A node keeps mutable state, so one thread uses a graph at a time; copies are independent.
class CORVANA_API ExpressionBaseImpl : public OutputStreamable
{
public:
    explicit ExpressionBaseImpl(const char* in_szName);
    ~ExpressionBaseImpl() override;
    ExpressionBaseImpl(const ExpressionBaseImpl&) = delete;
    ExpressionBaseImpl& operator=(const ExpressionBaseImpl&) = delete;

    const std::string& getName() const { return m_strName; }
    void setName(const char* in_szName);

    /// Configures the children, then this node. False: one of them failed; all were tried.
    virtual bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem);
    /// Points out_pResult at the node's value, which the next evaluation overwrites. False, with out_pResult as it was:
    /// a variable has no value, or a function failed.
    virtual bool evaluate(LimitedObjPtr<DoubleVector>& out_pResult);
    /// Makes the children, then this node, forget what earlier evaluations accumulated.
    virtual bool reset();
    /// Puts a node in the place of another one, wherever it stands below this node. False: it does not, or a node that
    /// holds it is sealed. A function that was evaluated goes on reading the variables that it found then.
    virtual bool replace(const Handle<ExpressionBaseImpl>& in_hOld, const Handle<ExpressionBaseImpl>& in_hNew);
    /// Writes one line for each node, indented by its depth.
    virtual void dump(std::ostream& out_stream, unsigned in_uiIndent = 0) const;

    /// Whether a node stands below this one.
    bool isDependantOf(const Handle<ExpressionBaseImpl>& in_hOther) const;
    /// No replace() from now on, in this node and below.
    void seal();

    long getNbOfChildren() const { return static_cast<long>(m_vChildren.size()); }
    /// A null handle when out of range.
    Handle<ExpressionBaseImpl> getChildAt(long in_iIndex) const;

    /// Writes the node as formula text.
    std::ostream& write(std::ostream& out_stream) const override;
    /// How tightly the text holds together: 1 for "or" up to s_uiTightest for what no operator can pull apart.
    virtual unsigned getPrecedence() const;
    bool isOperator() const { return getPrecedence() < s_uiTightest; }

protected:
    static constexpr unsigned s_uiTightest = 8;

    virtual bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) = 0;
    virtual bool reset_i() = 0;
    virtual Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const = 0;
    virtual bool isDependantOf_i(const Handle<ExpressionBaseImpl>& in_hOther) const = 0;
    virtual bool configure_i(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) = 0;
    virtual void seal_i();
    /// False: sealed, out of range, a null handle, or a node that this one stands below: a circle would never end.
    virtual bool replaceChild_i(long in_iIndex, const Handle<ExpressionBaseImpl>& in_hNew);

    /// Returns the child's index.
    long addChild(const Handle<ExpressionBaseImpl>& in_hChild);
    void copyChildren(const ExpressionBaseImpl& in_source, ExpressionImplCopier& io_copier);
    /// Writes a child, in parentheses unless it holds together as tightly as in_uiPrecedence.
    void writeOperand(std::ostream& out_stream, long in_iIndex, unsigned in_uiPrecedence) const;
    /// Whether the other node is the node itself, or stands below it.
    static bool holds(const ExpressionBaseImpl& in_node, const ExpressionBaseImpl& in_other);

private:
    friend class ExpressionImplCopier;

    std::string m_strName;
    std::vector<Handle<ExpressionBaseImpl>> m_vChildren;
    bool m_bSealed = false;
};

/// A named input of an expression; or, once bound, a hidden stand-in for an inner expression.
class CORVANA_API VariableImpl : public ExpressionBaseImpl
{
public:
    explicit VariableImpl(const char* in_szName);
    ~VariableImpl() override;

    /// Copies the value. Before the first call, evaluating fails.
    void setValue(const DoubleVector& in_vValue);
    /// Reads the value where it lies; it must stay there until the variable gets another one. A copy of the variable
    /// holds a copy of the value.
    void pointAt(const DoubleVector& in_vValue);
    /// Evaluating and writing are the expression's from now on. A null handle, or an expression that reads this
    /// variable, changes nothing.
    void bind(const Handle<ExpressionBaseImpl>& in_hExpression);
    bool isBound() const { return getNbOfChildren() > 0; }

    std::ostream& write(std::ostream& out_stream) const override;
    unsigned getPrecedence() const override;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult) override;
    bool reset_i() override;
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override;
    bool isDependantOf_i(const Handle<ExpressionBaseImpl>& in_hOther) const override;
    bool configure_i(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) override;

private:
    DoubleVector m_vValue;
    // The value: m_vValue or somebody else's; null: none yet. Evaluators read it only.
    DoubleVector* m_pValue = nullptr;
};

} // namespace Corvana::Math::Xpr
