// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathMeanFeature.h"
#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/MathSlidingWindowFeature.h"
#include "corvana/MathSpectrumPlan.h"
#include "corvana/TrieConfiguration.h"
#include "support/Signals.h"

#include <memory>
#include <sstream>

namespace Corvana::Test {
namespace {

using Audio::ArchiveFormat;
using Math::DoubleVector;
using Math::SignalFeature;

// An operation on a vector of three values.
AllocationScenario ofVector(const std::string& in_strName, const std::function<void(DoubleVector&)>& in_operation)
{
    return {in_strName,
            [=](const std::string&) {
                const auto pVector = std::make_shared<DoubleVector>(DoubleVector{1.0, 2.0, 3.0});
                return Attempt{[=] {
                                   in_operation(*pVector);
                                   return true;
                               },
                               [=] { return textOf(*pVector); }};
            },
            Afterwards::UNCHANGED};
}

std::vector<AllocationScenario> vectorScenarios()
{
    static const DoubleVector s_vOther(100, 0.5);
    return {
        ofVector("append a value", [](DoubleVector& inout_v) { inout_v.push_back(4.0); }),
        ofVector("insert a range",
                 [](DoubleVector& inout_v) { inout_v.insert(inout_v.begin() + 1, s_vOther.begin(), s_vOther.end()); }),
        ofVector("insert a part of the vector itself",
                 [](DoubleVector& inout_v) { inout_v.insert(inout_v.begin() + 1, inout_v.begin(), inout_v.end()); }),
        ofVector("assign a vector", [](DoubleVector& inout_v) { inout_v = s_vOther; }),
        ofVector("resize a vector",
                 [](DoubleVector& inout_v) {
                     inout_v.resize(50);
                     std::fill(inout_v.begin() + 3, inout_v.end(), 0.25);
                 }),
        ofVector("reserve", [](DoubleVector& inout_v) { inout_v.reserve(1000); }),
        ofVector("swap with a copy", [](DoubleVector& inout_v) {
            DoubleVector vCopy(s_vOther);
            inout_v.swap(vCopy);
        })};
}

Attempt fourierTransforms(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                DoubleVector vValues = noise(64);
                Math::discreteRealFastFourierTransform(vValues.data(), vValues.size(), 1.0);
                const Math::SpectrumPlan plan(DoubleVector(64, 0.5));
                Math::SpectrumScratch scratch;
                DoubleVector vBins(32);
                plan.compute(vValues.data(), vBins.data(), scratch);
                *pText = textOf(vValues) + textOf(vBins);
                return true;
            },
            [=] { return *pText; }};
}

Attempt pool(const std::string&)
{
    struct State
    {
        Math::SignalFeaturePool m_pool;
        std::unique_ptr<Math::SignalFeatureFactory> m_pFactory = std::make_unique<Audio::AudioFeatureFactory>();
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                if (pState->m_pFactory == nullptr)
                    return true;
                if (!pState->m_pool.addFactory(pState->m_pFactory.get()))
                    return false;
                static_cast<void>(pState->m_pFactory.release());
                return true;
            },
            [=] { return std::to_string(pState->m_pool.getNbOfFactories()); }};
}

Attempt factories(const std::string&)
{
    const auto pName = std::make_shared<std::string>();
    return {[=] {
                const std::unique_ptr<Math::SignalFeatureFactory> pMath(new Math::MathSignalFeatureFactory);
                const std::unique_ptr<Math::SignalFeatureFactory> pAudio(new Audio::AudioFeatureFactory);
                const std::unique_ptr<SignalFeature> pMean(pMath->getNewFeature("TemporalMean_Mean_Amplitude"));
                const std::unique_ptr<SignalFeature> pRange(pAudio->getNewFeature("SpectralRange( 1000 , 100 )"));
                *pName = pAudio->getFactoryName();
                return pMean != nullptr && pRange != nullptr && pAudio->getNewFeature("no such feature") == nullptr;
            },
            [=] { return *pName; }};
}

Attempt descriptions(const std::string&)
{
    struct State
    {
        std::string m_strName;
        std::vector<std::string> m_vParams;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                return Math::SignalFeatureFactory::splitParams(
                    "  a feature with a long name ( a parameter with a long name , 2, 3 ) ", pState->m_strName,
                    pState->m_vParams);
            },
            [=] {
                std::string strText = pState->m_strName;
                for (const std::string& strParam : pState->m_vParams)
                    strText += "," + strParam;
                return strText;
            }};
}

Attempt chains(const std::string&)
{
    struct State
    {
        Math::SignalFeaturePool m_pool;
        std::unique_ptr<SignalFeature> m_pChain;
    };
    const auto pState = std::make_shared<State>();
    pState->m_pool.addFactory(new Audio::AudioFeatureFactory);
    return {[=] {
                pState->m_pChain.reset(
                    pState->m_pool.getNewFeature("spectrum | MaxSpectralRanges(350, 440, 480, 620) | flatness"));
                return pState->m_pChain != nullptr;
            },
            [=] {
                DoubleVector vValues;
                if (pState->m_pChain != nullptr)
                    pState->m_pChain->compute(noise(128), vValues);
                return textOf(vValues);
            }};
}

Attempt slidingWindow(const std::string&)
{
    struct State
    {
        Math::SlidingWindowFeature m_feature{5};
        DoubleVector m_vValues;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_feature.reset();
                pState->m_vValues = DoubleVector();
                const std::unique_ptr<SignalFeature> pClone(pState->m_feature.clone());
                return pState->m_feature.compute(DoubleVector{1.0, 2.0, 3.0}, pState->m_vValues) &&
                       pState->m_feature.compute(DoubleVector{4.0, 5.0, 6.0}, pState->m_vValues) &&
                       pClone->compute(DoubleVector{7.0}, pState->m_vValues);
            },
            [=] { return textOf(pState->m_vValues); }};
}

Attempt composition(const std::string&)
{
    const auto pValues = std::make_shared<DoubleVector>();
    return {[=] {
                *pValues = DoubleVector();
                auto pWindow = std::make_unique<Math::SlidingWindowFeature>(7);
                auto pMean = std::make_unique<Math::MeanFeature>();
                // The memory for the composed feature comes before its parts lose their owners.
                void* const pRoom = operator new(sizeof(Math::SignalFeatureComposed));
                const std::unique_ptr<SignalFeature> pFeature(
                    new (pRoom) Math::SignalFeatureComposed(pWindow.release(), pMean.release()));
                const std::unique_ptr<SignalFeature> pClone(pFeature->clone());
                return pFeature->compute(DoubleVector{1.0, 2.0}, *pValues) && pClone->compute({3.0}, *pValues);
            },
            [=] { return textOf(*pValues); }};
}

// A computer with features that share stages, remember, and read each other.
struct Computer
{
    Audio::FeatureComputerWithInputsImpl m_computer;
    std::vector<DoubleVector> m_vWindows;
    std::vector<DoubleVector> m_vResults;
    std::string m_strText;

    Computer()
    {
        m_computer.addFeature("spectrum", "", "s");
        m_computer.addFeature("flatness", "s");
        m_computer.addFeature("spectrum|peaks");
        m_computer.addFeature("temporalamplitudedistribution");
        m_computer.addFeature("silenceratio", "tone");
        m_computer.setInput("tone", sine(440.0, 8000.0, 128));
        for (std::uint64_t uiSeed = 1; uiSeed <= 9; ++uiSeed)
            m_vWindows.push_back(noise(128, uiSeed));
        m_vResults.resize(m_vWindows.size());
    }

    std::string results() const
    {
        std::string strText;
        for (const DoubleVector& vResult : m_vResults)
            strText += textOf(vResult) + "\n";
        return strText;
    }

    std::string features() const
    {
        std::string strText;
        for (unsigned long uiIndex = 0; uiIndex < m_computer.getNbOfFeatures(); ++uiIndex)
            strText += m_computer.getDescription(uiIndex) + "," + m_computer.getInputName(uiIndex) + "," +
                       m_computer.getOutputName(uiIndex) + "\n";
        return strText;
    }
};

Attempt additionToComputer(const std::string&)
{
    const auto pState = std::make_shared<Computer>();
    return {[=] {
                // Of an input and stages for which lists have to grow.
                return pState->m_computer.addFeature("spectrum|MaxSpectralRanges(350, 440, 480, 620)|peaks|flatness",
                                                     "another", "a name that does not fit into a short text");
            },
            [=] { return pState->features(); }};
}

Attempt computation(const std::string&)
{
    const auto pState = std::make_shared<Computer>();
    return {[=] {
                pState->m_computer.reset();
                for (std::size_t uiWindow = 0; uiWindow < pState->m_vWindows.size(); ++uiWindow) {
                    pState->m_computer.setWindow(pState->m_vWindows[uiWindow]);
                    if (!pState->m_computer.computeFeatures(pState->m_vResults[uiWindow]))
                        return false;
                }
                return true;
            },
            [=] { return pState->results(); }};
}

Attempt severalComputations(const std::string&)
{
    const auto pState = std::make_shared<Computer>();
    return {[=] {
                pState->m_computer.reset();
                const unsigned long uiNbOfWindows = pState->m_vWindows.size();
                return pState->m_computer.computeSeveral(uiNbOfWindows, pState->m_vWindows.data(),
                                                         pState->m_vResults.data()) == uiNbOfWindows;
            },
            [=] { return pState->results(); }};
}

Attempt inputOfComputer(const std::string&)
{
    const auto pState = std::make_shared<Computer>();
    return {[=] {
                return pState->m_computer.setInput("a name that does not fit into a short text", noise(8)) &&
                       pState->m_computer.setInput("tone", sine(480.0, 8000.0, 256));
            },
            [=] {
                pState->m_computer.reset();
                pState->m_computer.setWindow(pState->m_vWindows[0]);
                pState->m_computer.computeFeatures(pState->m_vResults[0]);
                return pState->results();
            }};
}

Attempt configurationOfComputer(const std::string&)
{
    struct State
    {
        Audio::FeatureComputerImpl m_computer;
        TrieConfiguration m_config;
        DoubleVector m_vWindow = noise(128);
        DoubleVector m_vResult;

        static ParameterTrie trie()
        {
            ParameterTrie parameters;
            parameters.insert("signalfeature.SampleRate", ParameterValue("16000"));
            return parameters;
        }
        State()
            : m_config(trie())
        {
            m_computer.addFeature("zerocrossingrate");
            m_vWindow.back() = 0.0; // which the crossings of the next window begin with, as those of the first do
        }
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                pState->m_computer.setWindow(pState->m_vWindow);
                return pState->m_computer.configure(pState->m_config) &&
                       pState->m_computer.computeFeatures(pState->m_vResult);
            },
            [=] { return textOf(pState->m_vResult); }};
}

AllocationScenario saving(const std::string& in_strName, ArchiveFormat in_format)
{
    return {in_strName, [=](const std::string&) {
                const auto pState = std::make_shared<Computer>();
                return Attempt{[=] {
                                   std::ostringstream stream;
                                   const bool bSaved = saveFeatureComputer(stream, pState->m_computer, in_format);
                                   pState->m_strText = stream.str();
                                   return bSaved;
                               },
                               [=] { return pState->m_strText; }};
            }};
}

AllocationScenario loading(const std::string& in_strName, ArchiveFormat in_format)
{
    std::ostringstream archive;
    saveFeatureComputer(archive, Computer().m_computer, in_format);
    const std::string strArchive = archive.str();
    return {in_strName, [=](const std::string&) {
                struct State
                {
                    std::unique_ptr<Math::FeatureComputerImpl> m_pComputer;
                };
                const auto pState = std::make_shared<State>();
                return Attempt{[=] {
                                   std::istringstream stream(strArchive);
                                   pState->m_pComputer = Audio::loadFeatureComputer(stream, in_format);
                                   return pState->m_pComputer != nullptr;
                               },
                               [=] {
                                   std::string strText = pState->m_pComputer == nullptr ? "none" : "";
                                   for (unsigned long uiIndex = 0;
                                        strText != "none" && uiIndex < pState->m_pComputer->getNbOfFeatures();
                                        ++uiIndex)
                                       strText += pState->m_pComputer->getDescription(uiIndex) + "\n";
                                   return strText;
                               }};
            }};
}

} // namespace

std::vector<AllocationScenario> mathScenarios()
{
    std::vector<AllocationScenario> vScenarios = vectorScenarios();
    const std::vector<AllocationScenario> vOthers = {
        {"transform", fourierTransforms},
        {"add a factory to a pool", pool, Afterwards::UNCHANGED},
        {"make features by name", factories},
        {"split a description", descriptions},
        {"make a chain of features", chains, Afterwards::UNCHANGED},
        {"slide a window", slidingWindow},
        {"compose features", composition},
        {"add a feature to a computer", additionToComputer, Afterwards::UNCHANGED},
        {"compute window by window", computation},
        {"compute several windows", severalComputations},
        {"give a computer its input", inputOfComputer},
        {"configure a computer", configurationOfComputer},
        saving("save a computer as text", ArchiveFormat::TEXT),
        saving("save a computer as XML", ArchiveFormat::XML),
        saving("save a computer as binary", ArchiveFormat::BINARY),
        loading("load a computer from text", ArchiveFormat::TEXT),
        loading("load a computer from XML", ArchiveFormat::XML),
        loading("load a computer from binary", ArchiveFormat::BINARY)};
    vScenarios.insert(vScenarios.end(), vOthers.begin(), vOthers.end());
    return vScenarios;
}

} // namespace Corvana::Test
