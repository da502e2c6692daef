// SPDX-License-Identifier: Apache-2.0
// The nested command line `corvana annotations ...`.
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class CommandLineAnnotationsTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    void expectRefused(const std::vector<std::string>& in_vArguments, const std::string& in_strMessage)
    {
        EXPECT_EQ(run(in_vArguments), EXIT_UNUSABLE) << in_strMessage;
        EXPECT_EQ(m_data.str(), "") << in_strMessage;
        EXPECT_THAT(m_messages.str(), StartsWith(in_strMessage));
    }

    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandLineAnnotationsTest, ShowsShortHelpWithoutACommand)
{
    EXPECT_EQ(run({"annotations"}), EXIT_UNUSABLE);
    EXPECT_EQ(m_data.str(), "");
    EXPECT_THAT(m_messages.str(), AllOf(HasSubstr("Usage: corvana annotations"), HasSubstr("\n  types ")));
}

TEST_F(CommandLineAnnotationsTest, ShowsTheSameHelpInBothWays)
{
    EXPECT_EQ(run({"annotations", "--help"}), EXIT_DONE);
    const std::string strHelp = m_data.str();
    EXPECT_THAT(strHelp, AllOf(HasSubstr("Usage: corvana annotations"), HasSubstr("Examples:")));
    EXPECT_EQ(run({"help", "annotations"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strHelp);

    EXPECT_EQ(run({"annotations", "types", "--help"}), EXIT_DONE);
    const std::string strNestedHelp = m_data.str();
    EXPECT_THAT(strNestedHelp, HasSubstr("Usage: corvana annotations types"));
    EXPECT_EQ(run({"help", "annotations", "types"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strNestedHelp);
}

TEST_F(CommandLineAnnotationsTest, NamesTheNearestCommand)
{
    expectRefused({"annotations", "typs"},
                  "corvana: annotations: no command 'typs'; did you mean types?\nThe commands of annotations are ");
    expectRefused({"help", "annotations", "typs"}, "corvana: annotations: no command 'typs'; did you mean types?\n");
    expectRefused({"help", "info", "types"}, "corvana: help: 'info' has no commands such as 'types'\n");
}

TEST_F(CommandLineAnnotationsTest, NamesTheNearestOptionOfTheRightCommand)
{
    expectRefused({"annotations", "types", "--jsn"}, "corvana: annotations types: unknown option '--jsn'; did you mean "
                                                     "--json?\nTry 'corvana help annotations types'.\n");
    expectRefused({"annotations", "--json", "types"},
                  "corvana: annotations: unknown option '--json'\nTry 'corvana help annotations'.\n");
    expectRefused({"annotations", "types", "x"}, "corvana: annotations types: does not know what to do with 'x'\n");
}

// ---- types

TEST_F(CommandLineAnnotationsTest, ShowsAllTypesWithTheirValues)
{
    EXPECT_EQ(run({"annotations", "types"}), EXIT_DONE);

    EXPECT_THAT(m_data.str(), AllOf(StartsWith("What is heard:\n  4002  FEMALE\n  4003  MALE\n"),
                                    HasSubstr("\n  4024  DTMF_D\n\n"), HasSubstr(":\n  4025  CPA_HUMAN\n"),
                                    HasSubstr("\n  4107  CORVANA_SIT_RO\n"), HasSubstr("\n  4280  TEST5_DTMF_D\n\n"),
                                    HasSubstr("\n  4290  OTHER\n\n"), HasSubstr("\n  1 to 4000  SF_1 to SF_4000\n")));
}

TEST_F(CommandLineAnnotationsTest, WritesAllTypesAsJson)
{
    EXPECT_EQ(run({"annotations", "types", "--json"}), EXIT_DONE);

    const auto json = nlohmann::json::parse(m_data.str());
    ASSERT_EQ(json["named"].size(), 289U);
    EXPECT_EQ(json["named"][0], (nlohmann::json{{"type", "FEMALE"}, {"value", 4002}, {"group", "sound"}}));
    EXPECT_EQ(json["named"][23], (nlohmann::json{{"type", "CPA_HUMAN"}, {"value", 4025}, {"group", "outcome"}}));
    EXPECT_EQ(json["named"][288], (nlohmann::json{{"type", "OTHER"}, {"value", 4290}, {"group", "event"}}));
    std::set<std::string> names;
    for (const auto& type : json["named"])
        names.insert(type["type"]);
    EXPECT_EQ(names.size(), 289U);
    EXPECT_EQ(json["numbered"], (nlohmann::json{{"prefix", "SF_"}, {"first", 1}, {"last", 4000}}));
}

} // namespace
} // namespace Corvana::Tools
