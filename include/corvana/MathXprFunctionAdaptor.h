// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/CountedObjPtr.h"
#include "corvana/LimitedObjPtr.h"
#include "corvana/MathSignalFeature.h"
#include "corvana/MathXprVirtualFileSystem.h"

#include <map>
#include <string>
#include <vector>

namespace Corvana::Math::Xpr {

/// The function behind a function name of the expression language: named argument vectors in, one vector out.
class CORVANA_API FunctionAdaptor : public virtual Resettable
{
public:
    using Arguments = std::map<std::string, LimitedObjPtr<DoubleVector>>;

    ~FunctionAdaptor() override;

    /// False when a parameter is missing or unusable.
    virtual bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) = 0;
    /// Appends the full names of the configuration parameters.
    virtual void getParameterNames(std::vector<std::string>& out_vNames) const = 0;
    /// Appends to the result, as a feature's compute() does. False: an argument is missing, or the function failed.
    virtual bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) = 0;
};

/// A function of one variable: it knows its own name and the variable's.
class CORVANA_API SingleVariableFunctionImpl : public virtual FunctionAdaptor
{
public:
    SingleVariableFunctionImpl(const char* in_szFunctionName, const char* in_szVariableName);
    ~SingleVariableFunctionImpl() override;
    SingleVariableFunctionImpl(const SingleVariableFunctionImpl&);
    /// Copies the names.
    SingleVariableFunctionImpl& operator=(const SingleVariableFunctionImpl& in_other);

    const std::string& getFunctionName() const { return m_strFunctionName; }
    const std::string& getVariableName() const { return m_strVariableName; }
    /// Appends the variable's name.
    void getArgumentNames(std::vector<std::string>& out_vNames) const;

protected:
    /// The variable's vector; null when the arguments do not hold it.
    const DoubleVector* findArgument(const Arguments& in_arguments) const;

private:
    std::string m_strFunctionName;
    std::string m_strVariableName;
};

/// A function without parameters.
class CORVANA_API NoParamFunctionImpl : public virtual FunctionAdaptor
{
public:
    ~NoParamFunctionImpl() override;
    bool configure(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>& in_hFileSystem) override;
    void getParameterNames(std::vector<std::string>& out_vNames) const override;
};

/// A function that remembers nothing from call to call.
class CORVANA_API NoMemoryFunctionImpl : public virtual FunctionAdaptor
{
public:
    ~NoMemoryFunctionImpl() override;
    bool reset() override;
};

/// A feature that is itself a function: calculate() is the feature's own compute() of the argument.
class CORVANA_API SignalFeatureFunctionAdaptorImpl : public SingleVariableFunctionImpl,
                                                     public NoParamFunctionImpl,
                                                     public NoMemoryFunctionImpl,
                                                     public virtual SignalFeature
{
public:
    SignalFeatureFunctionAdaptorImpl(const char* in_szFunctionName, const char* in_szVariableName);
    ~SignalFeatureFunctionAdaptorImpl() override;
    SignalFeatureFunctionAdaptorImpl(const SignalFeatureFunctionAdaptorImpl&);
    SignalFeatureFunctionAdaptorImpl& operator=(const SignalFeatureFunctionAdaptorImpl&);

    bool calculate(Arguments& in_arguments, DoubleVector& out_vResult) override;
    SignalFeatureFunctionAdaptorImpl* clone() const override = 0;
};

} // namespace Corvana::Math::Xpr
