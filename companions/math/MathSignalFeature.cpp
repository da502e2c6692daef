// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeature.h"

namespace Corvana::Math {

SignalFeature::~SignalFeature() = default;
SeveralInputs::~SeveralInputs() = default;
SignalFeatureWithMemory::~SignalFeatureWithMemory() = default;
SignalFeatureWithParameters::~SignalFeatureWithParameters() = default;

} // namespace Corvana::Math
