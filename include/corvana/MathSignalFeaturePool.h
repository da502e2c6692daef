// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/MathSignalFeatureFactory.h"

#include <memory>
#include <string_view>
#include <vector>

namespace Corvana::Math {

/// The factories that descriptions are looked up in.
class CORVANA_API SignalFeaturePool
{
public:
    SignalFeaturePool();
    ~SignalFeaturePool();
    SignalFeaturePool(const SignalFeaturePool&) = delete;
    SignalFeaturePool& operator=(const SignalFeaturePool&) = delete;

    /// Owns the factory when it returns true. False (null, or already there): nothing changes.
    bool addFactory(SignalFeatureFactory* in_pFactory);

    /// A new feature, owned by the caller. The factories are asked in the order of adding, and the first that makes
    /// the description wins. Descriptions joined by "|" are a chain, each stage reading the values of the one before:
    /// "spectrum|flatness". Null: a stage is empty or no factory makes it, or there are more than 256 of them.
    SignalFeature* getNewFeature(const char* in_szDescription) const;

    unsigned long getNbOfFactories() const;

private:
    SignalFeature* getNewStage(std::string_view in_strStage) const;

    std::vector<std::unique_ptr<SignalFeatureFactory>> m_vFactories;
};

} // namespace Corvana::Math
