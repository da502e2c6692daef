// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprExpressionImpl.h"

#include "corvana/Logger.h"

#include <algorithm>
#include <ostream>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.mathxpr.ExpressionImpl")

namespace Corvana::Math::Xpr {

Handle<ExpressionBaseImpl> ExpressionImplCopier::copyOf(const Handle<ExpressionBaseImpl>& in_hSource)
{
    if (in_hSource.isNull())
        return {};
    const auto it = m_copies.find(in_hSource.get());
    if (it != m_copies.end())
        return it->second;
    const Handle<ExpressionBaseImpl> hCopy = in_hSource->copy_i(*this);
    m_copies.emplace(in_hSource.get(), hCopy);
    return hCopy;
}

ExpressionBaseImpl::ExpressionBaseImpl(const char* in_szName)
    : m_strName(in_szName)
{
}

ExpressionBaseImpl::~ExpressionBaseImpl() = default;

void ExpressionBaseImpl::setName(const char* in_szName)
{
    m_strName = in_szName;
}

bool ExpressionBaseImpl::configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem)
{
    bool bDone = true;
    for (const auto& hChild : m_vChildren)
        bDone = hChild->configure(in_config, in_hFileSystem) && bDone;
    return configure_i(in_config, in_hFileSystem) && bDone;
}

bool ExpressionBaseImpl::evaluate(LimitedObjPtr<DoubleVector>& out_pResult)
{
    return evaluate_i(out_pResult);
}

bool ExpressionBaseImpl::reset()
{
    bool bDone = true;
    for (const auto& hChild : m_vChildren)
        bDone = hChild->reset() && bDone;
    return reset_i() && bDone;
}

bool ExpressionBaseImpl::replace(const Handle<ExpressionBaseImpl>& in_hOld, const Handle<ExpressionBaseImpl>& in_hNew)
{
    bool bReplaced = false;
    for (long iIndex = 0; iIndex < getNbOfChildren(); ++iIndex) {
        const Handle<ExpressionBaseImpl> hChild = getChildAt(iIndex);
        const bool bHere = hChild.get() == in_hOld.get();
        bReplaced = (bHere ? replaceChild_i(iIndex, in_hNew) : hChild->replace(in_hOld, in_hNew)) || bReplaced;
    }
    return bReplaced;
}

void ExpressionBaseImpl::dump(std::ostream& out_stream, unsigned in_uiIndent) const
{
    out_stream << std::string(2 * std::size_t{in_uiIndent}, ' ') << m_strName << '\n';
    for (const auto& hChild : m_vChildren)
        hChild->dump(out_stream, in_uiIndent + 1);
}

bool ExpressionBaseImpl::isDependantOf(const Handle<ExpressionBaseImpl>& in_hOther) const
{
    return isDependantOf_i(in_hOther) ||
           std::any_of(m_vChildren.begin(), m_vChildren.end(), [&](const auto& in_hChild) {
               return in_hChild.get() == in_hOther.get() || in_hChild->isDependantOf(in_hOther);
           });
}

void ExpressionBaseImpl::seal()
{
    m_bSealed = true;
    for (const auto& hChild : m_vChildren)
        hChild->seal();
    seal_i();
}

void ExpressionBaseImpl::seal_i() {}

Handle<ExpressionBaseImpl> ExpressionBaseImpl::getChildAt(long in_iIndex) const
{
    if (in_iIndex < 0 || in_iIndex >= getNbOfChildren())
        return {};
    return m_vChildren[static_cast<std::size_t>(in_iIndex)];
}

std::ostream& ExpressionBaseImpl::write(std::ostream& out_stream) const
{
    return out_stream << m_strName;
}

unsigned ExpressionBaseImpl::getPrecedence() const
{
    return s_uiTightest;
}

bool ExpressionBaseImpl::holds(const ExpressionBaseImpl& in_node, const ExpressionBaseImpl& in_other)
{
    return &in_node == &in_other || std::any_of(in_node.m_vChildren.begin(), in_node.m_vChildren.end(),
                                                [&](const auto& in_hChild) { return holds(*in_hChild, in_other); });
}

bool ExpressionBaseImpl::replaceChild_i(long in_iIndex, const Handle<ExpressionBaseImpl>& in_hNew)
{
    if (m_bSealed || in_iIndex < 0 || in_iIndex >= getNbOfChildren() || in_hNew.isNull() || holds(*in_hNew, *this))
        return false;
    m_vChildren[static_cast<std::size_t>(in_iIndex)] = in_hNew;
    return true;
}

long ExpressionBaseImpl::addChild(const Handle<ExpressionBaseImpl>& in_hChild)
{
    m_vChildren.push_back(in_hChild);
    return getNbOfChildren() - 1;
}

void ExpressionBaseImpl::copyChildren(const ExpressionBaseImpl& in_source, ExpressionImplCopier& io_copier)
{
    for (const auto& hChild : in_source.m_vChildren)
        m_vChildren.push_back(io_copier.copyOf(hChild));
}

void ExpressionBaseImpl::writeOperand(std::ostream& out_stream, long in_iIndex, unsigned in_uiPrecedence) const
{
    const Handle<ExpressionBaseImpl> hChild = getChildAt(in_iIndex);
    if (hChild->getPrecedence() < in_uiPrecedence)
        hChild->write(out_stream << '(') << ')';
    else
        hChild->write(out_stream);
}

VariableImpl::VariableImpl(const char* in_szName)
    : ExpressionBaseImpl(in_szName)
{
}

VariableImpl::~VariableImpl() = default;

void VariableImpl::setValue(const DoubleVector& in_vValue)
{
    m_vValue = in_vValue;
    m_pValue = &m_vValue;
}

void VariableImpl::pointAt(const DoubleVector& in_vValue)
{
    m_pValue = const_cast<DoubleVector*>(&in_vValue); // which the pointer of results cannot tell to be constant
}

void VariableImpl::bind(const Handle<ExpressionBaseImpl>& in_hExpression)
{
    if (in_hExpression.isNull() || holds(*in_hExpression, *this))
        return;
    if (isBound())
        replaceChild_i(0, in_hExpression);
    else
        addChild(in_hExpression);
}

std::ostream& VariableImpl::write(std::ostream& out_stream) const
{
    return isBound() ? getChildAt(0)->write(out_stream) : ExpressionBaseImpl::write(out_stream);
}

unsigned VariableImpl::getPrecedence() const
{
    return isBound() ? getChildAt(0)->getPrecedence() : s_uiTightest;
}

bool VariableImpl::evaluate_i(LimitedObjPtr<DoubleVector>& out_pResult)
{
    if (isBound())
        return getChildAt(0)->evaluate(out_pResult);
    if (m_pValue != nullptr)
        out_pResult.pointAt(*m_pValue);
    else
        CORVANA_LOG_ERROR(fileScopeLogger(), "Variable without a value : " << getName());
    return m_pValue != nullptr;
}

bool VariableImpl::reset_i()
{
    return true;
}

Handle<ExpressionBaseImpl> VariableImpl::copy_i(ExpressionImplCopier& io_copier) const
{
    const Handle<VariableImpl> hCopy(new VariableImpl(getName().c_str()));
    if (m_pValue != nullptr)
        hCopy->setValue(*m_pValue);
    hCopy->copyChildren(*this, io_copier);
    return hCopy;
}

bool VariableImpl::isDependantOf_i(const Handle<ExpressionBaseImpl>&) const
{
    return false;
}

bool VariableImpl::configure_i(const ROConfiguration&, const TSHandle<VirtualFileSystem>&)
{
    return true;
}

} // namespace Corvana::Math::Xpr
