// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandListFeatures.h"

#include "corvana/AudioFeatureDescription.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;

std::string output(bool in_bJson)
{
    std::ostringstream data;
    std::ostringstream messages;
    EXPECT_EQ(CommandListFeatures::run({in_bJson}, data, messages), EXIT_DONE);
    EXPECT_EQ(messages.str(), "");
    return data.str();
}

TEST(CommandListFeatures, ShowsEachFeatureOfTheTable)
{
    const std::string strText = output(false);
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions()) {
        EXPECT_THAT(strText, HasSubstr(std::string(description.m_szName) + description.m_szParameters + "\n    " +
                                       description.m_szMeaning + "\n"));
        EXPECT_THAT(strText,
                    HasSubstr(std::string(" -> ") + description.m_szNbOfValues + "  (" + description.m_szUnit));
    }
}

TEST(CommandListFeatures, TellsWhatASpectrumReads)
{
    EXPECT_THAT(output(false), HasSubstr("\n    window of a power of two samples -> n/2  (share of the power)\n"));
}

TEST(CommandListFeatures, WritesTheTableAsJson)
{
    const nlohmann::json json = nlohmann::json::parse(output(true));
    const auto descriptions = Audio::getFeatureDescriptions();
    ASSERT_EQ(json.size(), descriptions.size());
    for (std::size_t uiIndex = 0; uiIndex < json.size(); ++uiIndex) {
        EXPECT_EQ(json[uiIndex]["name"], descriptions[uiIndex].m_szName);
        EXPECT_EQ(json[uiIndex]["parameters"], descriptions[uiIndex].m_szParameters);
        EXPECT_EQ(json[uiIndex]["min_parameters"], descriptions[uiIndex].m_uiMinParameters);
        EXPECT_EQ(json[uiIndex]["max_parameters"], descriptions[uiIndex].m_uiMaxParameters);
        EXPECT_EQ(json[uiIndex]["example"], descriptions[uiIndex].m_szExample);
        EXPECT_EQ(json[uiIndex]["input"], descriptions[uiIndex].m_szInput);
        EXPECT_EQ(json[uiIndex]["values"], descriptions[uiIndex].m_szNbOfValues);
        EXPECT_EQ(json[uiIndex]["unit"], descriptions[uiIndex].m_szUnit);
        EXPECT_EQ(json[uiIndex]["meaning"], descriptions[uiIndex].m_szMeaning);
        EXPECT_EQ(json[uiIndex]["needs_power_of_two"], descriptions[uiIndex].m_bNeedsPowerOfTwo);
        EXPECT_EQ(json[uiIndex]["assumes_8000_hz"], descriptions[uiIndex].m_bAssumes8000Hz);
    }
}

} // namespace
} // namespace Corvana::Tools
