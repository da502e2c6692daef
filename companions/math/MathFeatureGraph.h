// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"
#include "corvana/MathSignalFeaturePool.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana {
class ROConfiguration;
}

namespace Corvana::Math {

/// The stages behind a feature computer: each reads an input or the values of an earlier stage, and equal stages that
/// read the same are one stage.
class FeatureGraph
{
public:
    /// A feature as it was added, and as it is saved.
    struct Entry
    {
        std::string m_strDescription;
        std::string m_strInput;
        std::string m_strOutput;
    };

    /// More features than anybody adds: a larger number in an archive is damage.
    static constexpr unsigned long s_uiMaxNbOfFeatures = 65536;

    FeatureGraph();
    ~FeatureGraph();

    /// False, with nothing changed: a stage is unknown, or the output name is in use.
    bool addFeature(const SignalFeaturePool& in_pool, const Entry& in_entry);
    /// Keeps an entry that addFeature() refuses, so that it is not lost when the computer is saved again.
    void addUnknownFeature(const Entry& in_entry);
    void clear();

    /// False: the name is that of an output.
    bool setInput(const std::string& in_strName, const DoubleVector& in_vValue);
    bool configure(const ROConfiguration& in_config);
    bool compute(DoubleVector& out_vFeatures);
    /// Windows one after another, up to the first one that fails; returns how many were computed.
    unsigned long computeSeveral(unsigned long in_uiNbOfWindows, const DoubleVector* in_pWindows,
                                 DoubleVector* out_pFeatures);
    bool reset();

    unsigned long getNbOfFeatures() const { return m_vFeatures.size(); }
    const Entry& getEntry(unsigned long in_uiIndex) const { return m_vFeatures[in_uiIndex].m_entry; }

private:
    struct Source;
    struct Input;
    struct Stage;
    class Several;
    struct Feature
    {
        Entry m_entry;
        const Stage* m_pLastStage; // null: unknown

        // Features with an output name are read by others only.
        bool isHandedOut() const { return m_entry.m_strOutput.empty(); }
    };

    const Feature* findOutput(const std::string& in_strName) const;
    Input* findInput(const std::string& in_strName) const;
    Input& findOrMakeInput(const std::string& in_strName);
    static std::unique_ptr<Input> newInput(const std::string& in_strName);
    // The last stage of a chain, with those that are not there yet in out_vNewStages; null: one is unknown.
    const Stage* makeStages(const SignalFeaturePool& in_pool, std::string_view in_strStages, const Input* in_pInput,
                            const Source* in_pSource, std::vector<std::unique_ptr<Stage>>& out_vNewStages) const;
    Stage* findSharedStage(std::string_view in_strText, const Source* in_pSource) const;
    bool isInputMissing(const Feature& in_feature) const;
    bool isComplete();
    bool computeStages();

    std::vector<std::unique_ptr<Input>> m_vInputs; // the unnamed one is the window
    std::vector<std::unique_ptr<Stage>> m_vStages; // in the order of computing
    std::vector<Feature> m_vFeatures;
    bool m_bComplete = false; // all features known and all inputs set, which stays so until a feature is added
};

} // namespace Corvana::Math
