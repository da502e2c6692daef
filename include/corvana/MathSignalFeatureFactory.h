// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeature.h"
#include "corvana/Object.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Corvana::Math {

/// Makes features from descriptions: a name, or a name with parameters, such as "spectralrange(1000,100)".
class CORVANA_API SignalFeatureFactory : public virtual Object
{
public:
    SignalFeatureFactory();
    ~SignalFeatureFactory() override;
    SignalFeatureFactory(const SignalFeatureFactory&) = delete;
    SignalFeatureFactory& operator=(const SignalFeatureFactory&) = delete;

    /// A new feature, owned by the caller; null when this factory does not make the description or it is null.
    SignalFeature* getNewFeature(const char* in_szFeatureName);
    virtual const char* getFactoryName() const = 0;

    /// Cuts "name(p1, p2)" into "name" and the texts "p1", "p2"; blanks around each are dropped. "name" and "name()"
    /// have no parameters. False, with both outputs empty: null, an empty name, an empty parameter, text behind the
    /// closing parenthesis, or parentheses that are not one pair.
    static bool splitParams(const char* in_szFeatureName, std::string& out_strFeature,
                            std::vector<std::string>& out_vParams);

    /// All factories are accounted under the tag "SignalFeatureFactory".
    static void* operator new(std::size_t in_uiSize);
    static void operator delete(void* in_pFactory) noexcept;

protected:
    virtual SignalFeature* getNewBaseFeature(const char* in_szFeatureName) = 0;
};

/// Makes "TemporalMean_Mean_Amplitude", in exactly this spelling: a MeanFeature that can also be reset, which has no
/// effect and returns true.
class CORVANA_API MathSignalFeatureFactory : public SignalFeatureFactory
{
public:
    ~MathSignalFeatureFactory() override;
    const char* getFactoryName() const override;

protected:
    SignalFeature* getNewBaseFeature(const char* in_szFeatureName) override;
};

} // namespace Corvana::Math
