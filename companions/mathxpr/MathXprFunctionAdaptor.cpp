// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprFunctionAdaptor.h"

namespace Corvana::Math::Xpr {

FunctionAdaptor::~FunctionAdaptor() = default;

SingleVariableFunctionImpl::SingleVariableFunctionImpl(const char* in_szFunctionName, const char* in_szVariableName)
    : m_strFunctionName(in_szFunctionName)
    , m_strVariableName(in_szVariableName)
{
}

SingleVariableFunctionImpl::~SingleVariableFunctionImpl() = default;

SingleVariableFunctionImpl::SingleVariableFunctionImpl(const SingleVariableFunctionImpl& in_other)
    : Object(in_other)
    , Resettable(in_other)
    , FunctionAdaptor(in_other)
    , m_strFunctionName(in_other.m_strFunctionName)
    , m_strVariableName(in_other.m_strVariableName)
{
}

SingleVariableFunctionImpl& SingleVariableFunctionImpl::operator=(const SingleVariableFunctionImpl& in_other)
{
    m_strFunctionName = in_other.m_strFunctionName;
    m_strVariableName = in_other.m_strVariableName;
    return *this;
}

void SingleVariableFunctionImpl::getArgumentNames(std::vector<std::string>& out_vNames) const
{
    out_vNames.push_back(m_strVariableName);
}

const DoubleVector* SingleVariableFunctionImpl::findArgument(const Arguments& in_arguments) const
{
    // One after another: there is one as a rule, and find() would compare its name twice.
    for (const auto& [strName, pValue] : in_arguments)
        if (strName == m_strVariableName)
            return pValue.get();
    return nullptr;
}

NoParamFunctionImpl::~NoParamFunctionImpl() = default;

bool NoParamFunctionImpl::configure(const ROConfiguration&, const TSHandle<VirtualFileSystem>&)
{
    return true;
}

void NoParamFunctionImpl::getParameterNames(std::vector<std::string>&) const {}

NoMemoryFunctionImpl::~NoMemoryFunctionImpl() = default;

bool NoMemoryFunctionImpl::reset()
{
    return true;
}

SignalFeatureFunctionAdaptorImpl::SignalFeatureFunctionAdaptorImpl(const char* in_szFunctionName,
                                                                   const char* in_szVariableName)
    : SingleVariableFunctionImpl(in_szFunctionName, in_szVariableName)
{
}

SignalFeatureFunctionAdaptorImpl::~SignalFeatureFunctionAdaptorImpl() = default;
SignalFeatureFunctionAdaptorImpl::SignalFeatureFunctionAdaptorImpl(const SignalFeatureFunctionAdaptorImpl&) = default;
SignalFeatureFunctionAdaptorImpl&
SignalFeatureFunctionAdaptorImpl::operator=(const SignalFeatureFunctionAdaptorImpl&) = default;

bool SignalFeatureFunctionAdaptorImpl::calculate(Arguments& in_arguments, DoubleVector& out_vResult)
{
    const DoubleVector* pArgument = findArgument(in_arguments);
    return pArgument != nullptr && compute(*pArgument, out_vResult);
}

} // namespace Corvana::Math::Xpr
