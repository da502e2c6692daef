// SPDX-License-Identifier: Apache-2.0
#include "tools/FeatureSet.h"

#include "tools/Messages.h"

#include <gmock/gmock.h>

#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;

class FeatureSetTest : public testing::Test
{
protected:
    std::ostringstream m_said;
    Messages m_messages{m_said, false};
    FeatureSet m_features;
};

TEST_F(FeatureSetTest, HasTheUnitOfTheLastStageThatHasOneOfItsOwn)
{
    ASSERT_TRUE(m_features.configure({"spectrum|flatness", "spectrum|flatness|deltatoslidingmean", "deltatoslidingmean",
                                      "silenceratio|deltatoslidingmean"},
                                     {{"level", "mean(x * x)"}}, m_messages))
        << m_said.str();
    const std::vector<std::string> vUnits = m_features.getUnits();
    ASSERT_EQ(vUnits.size(), 5U);
    EXPECT_NE(vUnits[0], "");
    EXPECT_NE(vUnits[0], "share of the power");
    EXPECT_EQ(vUnits[1], vUnits[0]);
    EXPECT_EQ(vUnits[2], "as the input");
    EXPECT_NE(vUnits[3], "as the input");
    EXPECT_EQ(vUnits[4], "");
}

TEST_F(FeatureSetTest, NamesItsColumnsByFeaturesAndThenByFormulas)
{
    ASSERT_TRUE(m_features.configure({"silenceratio", "spectrum|flatness"}, {{"level", "mean(x * x)"}}, m_messages));
    EXPECT_THAT(m_features.getColumnNames(), ElementsAre("silenceratio", "spectrum|flatness", "level"));
    EXPECT_EQ(m_features.getFreshComputer()->getNbOfFeatures(), 2U);
}

} // namespace
} // namespace Corvana::Tools
