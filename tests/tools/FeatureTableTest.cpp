// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeature.h"
#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/OS.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>

// The table of features tells users what the factory makes: both must say the same.

namespace Corvana::Tools {
namespace {

using Audio::AudioFeature;
using Audio::FeatureDescription;
using Audio::getFeatureDescriptions;

bool isMade(const std::string& in_strDescription)
{
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    return std::unique_ptr<Math::SignalFeature>(pool.getNewFeature(in_strDescription.c_str())) != nullptr;
}

std::string withParameters(const std::string& in_strName, unsigned in_uiCount)
{
    std::string strText = in_strName + "(";
    for (unsigned uiIndex = 0; uiIndex < in_uiCount; ++uiIndex)
        strText += uiIndex == 0 ? "1000" : ",1000";
    return strText + ")";
}

std::string lastStage(const std::string& in_strDescription)
{
    return in_strDescription.substr(in_strDescription.find_last_of('|') + 1);
}

TEST(FeatureTable, HoldsExamplesThatTheFactoryMakes)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        EXPECT_TRUE(isMade(description.m_szExample)) << description.m_szExample;
}

TEST(FeatureTable, HoldsExamplesOfTheFeatureItself)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        EXPECT_TRUE(lastStage(description.m_szExample).starts_with(description.m_szName)) << description.m_szExample;
}

TEST(FeatureTable, TellsHowManyParametersTheFactoryTakes)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        for (unsigned uiCount = 0; uiCount <= 5; ++uiCount)
            EXPECT_EQ(isMade(withParameters(description.m_szName, uiCount)),
                      uiCount >= description.m_uiMinParameters && uiCount <= description.m_uiMaxParameters)
                << withParameters(description.m_szName, uiCount);
}

TEST(FeatureTable, TakesManyParametersWhereItSaysSo)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        if (description.m_uiMaxParameters > 5) {
            EXPECT_TRUE(isMade(withParameters(description.m_szName, std::min(100U, description.m_uiMaxParameters))))
                << description.m_szName;
        }
}

TEST(FeatureTable, ShowsParametersWhereThereAreSome)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        EXPECT_EQ(std::string(description.m_szParameters).empty(), description.m_uiMaxParameters == 0)
            << description.m_szName;
}

TEST(FeatureTable, HoldsEveryTypeThatTheFactoryMakesAndNoOther)
{
    std::set<std::string> vDescribed;
    for (const FeatureDescription& description : getFeatureDescriptions())
        vDescribed.insert(description.m_szName);

    for (int iType = AudioFeature::ENERGYHISTOGRAM; iType <= AudioFeature::MYFEATURE; ++iType) {
        std::string strName = AudioFeature::getFeatureTypeString(static_cast<AudioFeature::FeatureType>(iType));
        strToLower(strName);
        bool bMade = false;
        for (unsigned uiCount = 0; uiCount <= 5; ++uiCount)
            bMade = isMade(withParameters(strName, uiCount)) || bMade;
        EXPECT_EQ(bMade, vDescribed.contains(strName)) << strName;
    }
}

TEST(FeatureTable, IsInTheOrderOfTheTypesWithoutDoubles)
{
    int iLastType = -1;
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const auto type = AudioFeature::parseFeatureType(description.m_szName);
        ASSERT_TRUE(type.isValid()) << description.m_szName;
        EXPECT_GT(type.getValue(), iLastType) << description.m_szName;
        iLastType = type.getValue();
    }
}

TEST(FeatureTable, NamesOnlyKnownInputs)
{
    const std::set<std::string> vInputs = {"window", "spectrum", "value"};
    for (const FeatureDescription& description : getFeatureDescriptions())
        EXPECT_TRUE(vInputs.contains(description.m_szInput)) << description.m_szName << ": " << description.m_szInput;
}

TEST(FeatureTable, TellsTheNumberOfValuesWhereItIsANumber)
{
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    for (const FeatureDescription& description : getFeatureDescriptions()) {
        const std::string strCount = description.m_szNbOfValues;
        if (!std::all_of(strCount.begin(), strCount.end(), [](char in_cLetter) { return std::isdigit(in_cLetter); }))
            continue;
        const std::unique_ptr<Math::SignalFeature> pFeature(pool.getNewFeature(description.m_szExample));
        ASSERT_NE(pFeature, nullptr) << description.m_szExample;
        EXPECT_EQ(std::to_string(Corvana::Test::valuesOf(*pFeature, Corvana::Test::noise(256)).size()), strCount)
            << description.m_szExample;
    }
}

TEST(FeatureTable, HasEveryTextOnOneLine)
{
    for (const FeatureDescription& description : getFeatureDescriptions())
        for (const char* szText : {description.m_szMeaning, description.m_szUnit, description.m_szNbOfValues}) {
            EXPECT_FALSE(std::string(szText).empty()) << description.m_szName;
            EXPECT_EQ(std::string(szText).find('\n'), std::string::npos) << description.m_szName;
        }
}

} // namespace
} // namespace Corvana::Tools
