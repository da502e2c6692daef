// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsDiff.h"

#include "LabelledRecordings.h"

#include <nlohmann/json.hpp>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;

class CommandAnnotationsDiffTest : public LabelledRecordings
{
protected:
    int run(const Regions& in_vLeft, const Regions& in_vRight, int in_iRateOfRight = 8000)
    {
        m_options.m_vFiles = {recording("a.wav", in_vLeft), recording("b.wav", in_vRight, in_iRateOfRight)};
        return run();
    }

    int run() { return CommandAnnotationsDiff::run(m_options, m_data, m_messages); }

    CommandAnnotationsDiff::Options m_options;
};

TEST_F(CommandAnnotationsDiffTest, IsSilentAboutTheSameRegionsInAnyOrder)
{
    EXPECT_EQ(run({{Annotation::MALE, 0, 1}, {Annotation::BEEP, 1, 1.1}},
                  {{Annotation::BEEP, 1, 1.1}, {Annotation::MALE, 0, 1}}),
              CommandAnnotationsDiff::SAME);
    EXPECT_EQ(m_data.str(), "");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsDiffTest, TellsEachDifferenceByItsStart)
{
    EXPECT_EQ(run({{Annotation::BEEP, 1.9, 2.0},
                   {Annotation::MALE, 0.1, 1.4},
                   {Annotation::CPA_HUMAN, 0.2, 0.3},
                   {Annotation::CPA_FAX, 0.4, 0.6}},
                  {{Annotation::MALE, 0.1, 1.5},
                   {Annotation::CPA_MACHINE, 0.2, 0.3},
                   {Annotation::CPA_BUSY, 0.5, 0.6},
                   {Annotation::MUSIC, 0, 0.05}}),
              CommandAnnotationsDiff::DIFFERENT);
    EXPECT_EQ(m_data.str(), "> MUSIC 0 to 0.05 s\n"
                            "moved MALE 0.1 to 1.4 s -> 0.1 to 1.5 s\n"
                            "retyped CPA_HUMAN -> CPA_MACHINE 0.2 to 0.3 s\n"
                            "retyped CPA_FAX -> CPA_BUSY 0.4 to 0.6 s -> 0.5 to 0.6 s\n"
                            "< BEEP 1.9 to 2 s\n");
}

TEST_F(CommandAnnotationsDiffTest, SeesADifferenceOfOneSample)
{
    EXPECT_EQ(run({{Annotation::MALE, 0, 1}}, {{Annotation::MALE, 0, 1.000125}}), CommandAnnotationsDiff::DIFFERENT);
}

TEST_F(CommandAnnotationsDiffTest, PassesOverDifferencesWithinTheTolerance)
{
    m_options.m_dToleranceSeconds = 0.1;
    EXPECT_EQ(run({{Annotation::MALE, 1, 1.5}}, {{Annotation::MALE, 1.1, 1.5}}), CommandAnnotationsDiff::SAME);
    EXPECT_EQ(run({{Annotation::MALE, 1, 1.5}}, {{Annotation::MALE, 1.101, 1.5}}), CommandAnnotationsDiff::DIFFERENT);
}

TEST_F(CommandAnnotationsDiffTest, TakesTheNearestSamplesOfAnotherRateForTheSame)
{
    EXPECT_EQ(run({{Annotation::MALE, 0.3333, 1.0001}}, {{Annotation::MALE, 0.3333, 1.0001}}, 44100),
              CommandAnnotationsDiff::SAME);
}

TEST_F(CommandAnnotationsDiffTest, WritesJson)
{
    m_options.m_bJson = true;
    EXPECT_EQ(run({{Annotation::VOICE, 0, 2}, {Annotation::MALE, 0, 0.5}},
                  {{Annotation::VOICE, 0, 2}, {Annotation::BEEP, 1, 1.5}}),
              CommandAnnotationsDiff::DIFFERENT);
    const nlohmann::json json = nlohmann::json::parse(m_data.str());
    EXPECT_EQ(json["left"], m_dir.file("a.wav"));
    EXPECT_EQ(json["right"], m_dir.file("b.wav"));
    EXPECT_EQ(json["same"], 1);
    EXPECT_EQ(json["differences"], nlohmann::json::parse(R"([
        {"kind": "only_left", "left": {"index": 1, "type": "MALE", "start": 0, "stop": 0.5}, "right": null},
        {"kind": "only_right", "left": null, "right": {"index": 1, "type": "BEEP", "start": 1, "stop": 1.5}}])"));
}

TEST_F(CommandAnnotationsDiffTest, WritesJsonOfMovedAndRetypedRegions)
{
    m_options.m_bJson = true;
    EXPECT_EQ(run({{Annotation::VOICE, 0, 1}, {Annotation::MALE, 1.5, 2}},
                  {{Annotation::VOICE, 0, 0.5}, {Annotation::BEEP, 1.5, 2}}),
              CommandAnnotationsDiff::DIFFERENT);
    const nlohmann::json json = nlohmann::json::parse(m_data.str());
    EXPECT_EQ(json["differences"][0]["kind"], "moved");
    EXPECT_EQ(json["differences"][1]["kind"], "retyped");
}

TEST_F(CommandAnnotationsDiffTest, PassesOverIdentifiersThatAFileSkipsAndCountsThemInIndices)
{
    m_options.m_bJson = true;
    m_options.m_vFiles = {
        recordingWithAGap("a.wav", {{Annotation::MALE, 0, 1}, {Annotation::FEMALE, 0, 1}, {Annotation::BEEP, 1, 1.5}}),
        recording("b.wav", {{Annotation::MALE, 0, 1}, {Annotation::FEMALE, 0, 1}})};

    EXPECT_EQ(run(), CommandAnnotationsDiff::DIFFERENT);

    const nlohmann::json json = nlohmann::json::parse(m_data.str());
    EXPECT_EQ(json["same"], 2);
    EXPECT_EQ(json["differences"], nlohmann::json::parse(R"([{"kind": "only_left",
        "left": {"index": 3, "type": "BEEP", "start": 1, "stop": 1.5}, "right": null}])"));
}

TEST_F(CommandAnnotationsDiffTest, WritesJsonOfTheSameRegions)
{
    m_options.m_bJson = true;
    EXPECT_EQ(run({}, {}), CommandAnnotationsDiff::SAME);
    EXPECT_EQ(nlohmann::json::parse(m_data.str())["differences"], nlohmann::json::array());
}

TEST_F(CommandAnnotationsDiffTest, IsInTroubleWithARecordingThatCannotBeRead)
{
    m_options.m_vFiles = {recording("a.wav"), m_dir.file("none.wav")};
    EXPECT_EQ(run(), CommandAnnotationsDiff::TROUBLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("none.wav: failed to open, No such file or directory\n"));
    EXPECT_EQ(m_data.str(), "");
}

TEST_F(CommandAnnotationsDiffTest, IsInTroubleWithoutTwoRecordings)
{
    m_options.m_vFiles = {recording("a.wav")};
    EXPECT_EQ(run(), CommandAnnotationsDiff::TROUBLE);
    EXPECT_EQ(m_messages.str(), "corvana: wants two recordings to compare, not 1\n");
}

TEST_F(CommandAnnotationsDiffTest, IsInTroubleWhenTheStreamFails)
{
    m_data.setstate(std::ios::badbit);
    EXPECT_EQ(run({{Annotation::MALE, 0, 1}}, {}), CommandAnnotationsDiff::TROUBLE);
}

} // namespace
} // namespace Corvana::Tools
