// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsStats.h"

#include "LabelledRecordings.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandAnnotationsStatsTest : public LabelledRecordings
{
protected:
    using Format = CommandAnnotationsStats::Format;

    int run(Format in_format = Format::TABLE)
    {
        m_options.m_format = in_format;
        return CommandAnnotationsStats::run(m_options, m_data, m_messages);
    }

    CommandAnnotationsStats::Options m_options;
};

TEST_F(CommandAnnotationsStatsTest, ShowsATableInTheOrderOfTheTypes)
{
    m_options.m_vFiles = {
        recording("a.wav", {{Annotation::CPA_HUMAN, 0, 1.5}, {Annotation::BEEP, 1, 1.25}, {Annotation::BEEP, 1, 1}}),
        recording("b.wav", {{Annotation::BEEP, 0, 2}}), recording("c.wav")};

    EXPECT_EQ(run(), EXIT_DONE);

    EXPECT_EQ(m_data.str(), "type       regions  seconds  files\n"
                            "BEEP             3    2.250      2\n"
                            "CPA_HUMAN        1    1.500      1\n"
                            "total            4    3.750      2\n"
                            "\n"
                            "3 recordings, 6 s; 1 without regions\n");
    EXPECT_EQ(m_messages.str(), "");
}

TEST_F(CommandAnnotationsStatsTest, CountsTimeForEachOfOverlappingRegions)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0, 2}, {Annotation::MALE, 0, 2}})};
    EXPECT_EQ(run(Format::CSV), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,2,4,1\n");
}

TEST_F(CommandAnnotationsStatsTest, AddsUpExactly)
{
    // Ten times 0.1 s added up as doubles is not 1 s.
    m_options.m_vFiles = {recording("a.wav", Regions(10, Annotation(Annotation::MALE, 0.0, 0.1)))};
    EXPECT_EQ(run(Format::CSV), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,10,1,1\n");
}

TEST_F(CommandAnnotationsStatsTest, AddsUpRecordingsOfDifferentRates)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0, 0.5}}, 8000),
                          recording("b.wav", {{Annotation::MALE, 0, 0.25}}, 16000)};
    EXPECT_EQ(run(Format::CSV), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,2,0.75,2\n");
}

TEST_F(CommandAnnotationsStatsTest, WritesJson)
{
    m_options.m_vFiles = {recording("a.wav", {{Annotation::MALE, 0, 0.5}, {Annotation::BEEP, 0, 1}}),
                          recording("b.wav")};

    EXPECT_EQ(run(Format::JSON), EXIT_DONE);

    EXPECT_EQ(nlohmann::json::parse(m_data.str()), nlohmann::json::parse(R"({
        "types": [{"type": "MALE", "regions": 1, "seconds": 0.5, "files": 1},
                  {"type": "BEEP", "regions": 1, "seconds": 1, "files": 1}],
        "total": {"regions": 2, "seconds": 1.5, "files": 1}, "recordings": 2, "audio_seconds": 4})"));
}

TEST_F(CommandAnnotationsStatsTest, DoesNotCountIdentifiersThatTheFileSkips)
{
    m_options.m_vFiles = {
        recordingWithAGap("a.wav", {{Annotation::MALE, 0, 1}, {Annotation::MALE, 0, 1}, {Annotation::MALE, 1, 1.5}})};
    EXPECT_EQ(run(Format::CSV), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,3,2.5,1\n");
}

TEST_F(CommandAnnotationsStatsTest, CountsNothingWithoutRegions)
{
    m_options.m_vFiles = {recording("a.wav")};
    EXPECT_EQ(run(Format::JSON), EXIT_DONE);
    EXPECT_EQ(nlohmann::json::parse(m_data.str())["types"], nlohmann::json::array());
    m_data.str("");
    EXPECT_EQ(run(Format::TABLE), EXIT_DONE);
    EXPECT_THAT(m_data.str(), HasSubstr("1 recording, 2 s; 1 without regions\n"));
}

TEST_F(CommandAnnotationsStatsTest, TakesRecordingsOfListsAndNamesWhatItCannotRead)
{
    recording("a.wav", {{Annotation::MALE, 0, 0.5}});
    m_dir.write("text.wav", "no recording");
    m_options.m_vLists = {m_dir.write("list", "a.wav\ntext.wav\nnone.wav\n")};

    EXPECT_EQ(run(Format::CSV), EXIT_SOME_FAILED);

    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,1,0.5,1\n");
    EXPECT_THAT(m_messages.str(), HasSubstr("text.wav: "));
    EXPECT_THAT(m_messages.str(), HasSubstr("none.wav: "));
}

TEST_F(CommandAnnotationsStatsTest, RefusesToRunWithoutRecordings)
{
    EXPECT_EQ(run(), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: no recording given"));
    EXPECT_EQ(m_data.str(), "");
}

} // namespace
} // namespace Corvana::Tools
