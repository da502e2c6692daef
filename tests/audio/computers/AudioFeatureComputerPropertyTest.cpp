// SPDX-License-Identifier: Apache-2.0
// Properties of saved computers that hold for whatever features they have.
#include "audio/computers/ComputerTestHelpers.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "support/Signals.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <vector>

namespace Corvana::Audio {
namespace {

using Math::DoubleVector;
using Test::allExamples;
using Test::computed;
using Test::loaded;
using Test::makeWindows;
using Test::sameBits;
using Test::saved;

// A feature that reads the window, or the output of an earlier one, and may have an output itself.
struct Entry
{
    std::string m_strDescription;
    std::string m_strInput;
    std::string m_strOutput;
};

std::vector<std::string> vocabulary()
{
    std::vector<std::string> vDescriptions = allExamples();
    for (const char* szDescription :
         {"zerocrossingrate(3)", "SPECTRUM|Peaks", "peaks", "flatness", "lowfreqenergyratios", "harmonicproduct|peaks",
          "spectrum|spectralrange(300,50)|neighbourhoodofmax", "spectrum100hz|spectralweightedarea",
          "neighbourhoodofmax|amplitudedistribution"})
        vDescriptions.emplace_back(szDescription);
    return vDescriptions;
}

std::vector<Entry> anyEntries()
{
    const std::vector<std::string> vVocabulary = vocabulary();
    const auto vDescriptions = *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(vVocabulary));
    std::vector<Entry> vEntries;
    std::vector<std::string> vNames{"", ""};
    for (const std::string& strDescription : vDescriptions) {
        Entry entry{strDescription, *rc::gen::elementOf(vNames), ""};
        if (*rc::gen::inRange(0, 3) == 0) {
            entry.m_strOutput = "out" + std::to_string(vEntries.size());
            vNames.push_back(entry.m_strOutput);
        }
        vEntries.push_back(entry);
    }
    return vEntries;
}

void addEntries(Math::FeatureComputerImpl& inout_computer, const std::vector<Entry>& in_vEntries)
{
    for (const Entry& entry : in_vEntries)
        RC_ASSERT(inout_computer.addFeature(entry.m_strDescription.c_str(), entry.m_strInput.c_str(),
                                            entry.m_strOutput.c_str()));
}

// Some features do not take what they read here: then both computers have to fail.
void assertSameValues(Math::FeatureComputerImpl& inout_left, Math::FeatureComputerImpl& inout_right)
{
    for (const DoubleVector& vWindow : makeWindows(4)) {
        DoubleVector vLeft;
        DoubleVector vRight;
        inout_left.setWindow(vWindow);
        inout_right.setWindow(vWindow);
        RC_ASSERT(inout_left.computeFeatures(vLeft) == inout_right.computeFeatures(vRight));
        RC_ASSERT(sameBits(vLeft, vRight));
    }
}

RC_GTEST_PROP(SavedComputerProperty, AnyFeaturesSurviveSavingAndLoading, ())
{
    const ArchiveFormat format =
        *rc::gen::elementOf(std::vector<ArchiveFormat>{ArchiveFormat::TEXT, ArchiveFormat::XML, ArchiveFormat::BINARY});
    FeatureComputerImpl computer;
    addEntries(computer, anyEntries());
    const std::string strArchive = saved(computer, format);

    const auto pLoaded = loaded(strArchive, format);

    RC_ASSERT(pLoaded != nullptr);
    RC_ASSERT(pLoaded->getNbOfFeatures() == computer.getNbOfFeatures());
    RC_ASSERT(saved(*pLoaded, format) == strArchive);
    assertSameValues(computer, *pLoaded);
}

RC_GTEST_PROP(SavedComputerProperty, AnyInputNameSurvivesSavingAndLoading, ())
{
    const ArchiveFormat format =
        *rc::gen::elementOf(std::vector<ArchiveFormat>{ArchiveFormat::TEXT, ArchiveFormat::XML, ArchiveFormat::BINARY});
    const auto strName = *rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::nonZero<char>()));
    FeatureComputerWithInputsImpl computer;
    RC_ASSERT(computer.addFeature("silenceratio", strName.c_str()));

    const auto pLoaded = loaded(saved(computer, format), format);

    auto* pWithInputs = dynamic_cast<Math::FeatureComputerWithInputs*>(pLoaded.get());
    RC_ASSERT(pWithInputs != nullptr);
    RC_ASSERT(pWithInputs->setInput(strName.c_str(), DoubleVector{0.0, 1.0}));
    RC_ASSERT(computed(*pWithInputs) == DoubleVector{0.5});
}

RC_GTEST_PROP(FeatureComputerProperty, OneComputerGivesWhatOneForEachFeatureGives, ())
{
    const std::vector<std::string> vExamples = allExamples();
    const auto vDescriptions = *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(vExamples));
    FeatureComputerImpl together;
    std::vector<std::unique_ptr<FeatureComputerImpl>> vAlone;
    for (const std::string& strDescription : vDescriptions) {
        RC_ASSERT(together.addFeature(strDescription.c_str()));
        vAlone.push_back(std::make_unique<FeatureComputerImpl>());
        RC_ASSERT(vAlone.back()->addFeature(strDescription.c_str()));
    }

    for (const DoubleVector& vWindow : makeWindows(4)) {
        DoubleVector vExpected;
        for (const auto& pAlone : vAlone) {
            const DoubleVector vValues = computed(*pAlone, vWindow);
            vExpected.insert(vExpected.end(), vValues.begin(), vValues.end());
        }
        RC_ASSERT(sameBits(vExpected, computed(together, vWindow)));
    }
}

} // namespace
} // namespace Corvana::Audio
