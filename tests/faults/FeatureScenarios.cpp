// SPDX-License-Identifier: Apache-2.0
#include "../audio/features/FeatureTestSupport.h"
#include "AllocationScenario.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathRangeFeature.h"
#include "corvana/MathSignalFeature.h"
#include "corvana/Resettable.h"

#include <memory>

namespace Corvana::Test {
namespace {

using Math::DoubleVector;
using Math::SignalFeature;

// With enough in it for every feature that reads one of them.
TrieConfiguration allParameters()
{
    return configurationOf({{"range.startIndex", "2"},
                            {"range.length", "3"},
                            {"signalfeature.SampleRate", "8000"},
                            {"frequencyHz", "1000"},
                            {"widthHz", "100"},
                            {"frequenciesList", "1000, 1700, 2300, 3100"}});
}

// Makes, configures, computes, copies and resets a feature.
Attempt lifeOf(const std::function<std::unique_ptr<SignalFeature>()>& in_make, const DoubleVector& in_vInput)
{
    struct State
    {
        TrieConfiguration m_config = allParameters();
        std::unique_ptr<SignalFeature> m_pFeature;
        DoubleVector m_vValues;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_vValues = DoubleVector();
                pState->m_pFeature = in_make();
                if (pState->m_pFeature == nullptr)
                    return false;
                if (auto* pWithParameters = dynamic_cast<Math::SignalFeatureWithParameters*>(pState->m_pFeature.get());
                    pWithParameters != nullptr && !pWithParameters->configure(pState->m_config))
                    return false;
                if (!pState->m_pFeature->compute(in_vInput, pState->m_vValues))
                    return false;
                const std::unique_ptr<SignalFeature> pClone(pState->m_pFeature->clone());
                auto* pResettable = dynamic_cast<Resettable*>(pState->m_pFeature.get());
                return pClone->compute(in_vInput, pState->m_vValues) &&
                       (pResettable == nullptr || pResettable->reset()) &&
                       pState->m_pFeature->compute(in_vInput, pState->m_vValues);
            },
            [=] { return textOf(pState->m_vValues); }};
}

Attempt addedRange(const std::string&)
{
    const auto pFeature = std::make_shared<Audio::MaxSpectralRangesFeature>();
    pFeature->addSpectralRange(1000, 100);
    return {[=] {
                pFeature->addSpectralRange(2000, 100);
                return true;
            },
            [=] {
                DoubleVector vValues;
                const bool bDone = pFeature->compute(toVector(randomSpectrum(64, 1)), vValues);
                return textOf(vValues) + (bDone ? "" : "refused");
            }};
}

Attempt range(const std::string&)
{
    struct State
    {
        TrieConfiguration m_config = allParameters();
        Math::RangeFeature m_feature;
        DoubleVector m_vValues;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_vValues = DoubleVector();
                if (!pState->m_feature.configure(pState->m_config))
                    return false;
                const std::unique_ptr<SignalFeature> pClone(pState->m_feature.clone());
                return pClone->compute(DoubleVector{0.5, 1.5, 2.5, 3.5, 4.5, 5.5}, pState->m_vValues);
            },
            [=] { return textOf(pState->m_vValues); }};
}

DoubleVector inputFor(const std::string& in_strKind)
{
    if (in_strKind == "value")
        return {0.5};
    return toVector(in_strKind == "spectrum" ? randomSpectrum(64, 1) : randomWindow(128, 1));
}

} // namespace

std::vector<AllocationScenario> featureScenarios()
{
    std::vector<AllocationScenario> vScenarios;
    for (const FeatureClass& feature : allFeatureClasses()) {
        if (feature.m_szName == std::string("Range") || feature.m_szName == std::string("Composed"))
            continue; // made here and among the chains, in steps that may fail
        vScenarios.push_back({std::string("class ") + feature.m_szName, [feature](const std::string&) {
                                  return lifeOf(feature.m_make, inputFor(feature.m_szInput));
                              }});
    }
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        vScenarios.push_back({std::string("description ") + description.m_szExample, [description](const std::string&) {
                                  const std::string strExample = description.m_szExample;
                                  return lifeOf([strExample] { return newFeature(strExample); },
                                                inputFor(description.m_szInput));
                              }});
    vScenarios.push_back({"class Range", range});
    vScenarios.push_back({"add a spectral range", addedRange});
    return vScenarios;
}

} // namespace Corvana::Test
