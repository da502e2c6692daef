// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSignalFeatureFactory.h"

namespace Corvana::Audio {

/// Makes audio features from descriptions such as "spectrum" or "SpectralRange(1000,100)". Names are matched without
/// regard to case; getFeatureDescriptions() lists them. A parameter is read as a whole number from its beginning, and
/// what follows the number is not examined ("300Hz" is 300).
/// Null: an unknown name or an unreadable parameter, in silence; a malformed description or a wrong number of
/// parameters, after an assertion.
class CORVANA_API AudioFeatureFactory : public Math::SignalFeatureFactory
{
public:
    ~AudioFeatureFactory() override;
    const char* getFactoryName() const override;

protected:
    Math::SignalFeature* getNewBaseFeature(const char* in_szFeatureName) override;
};

} // namespace Corvana::Audio
