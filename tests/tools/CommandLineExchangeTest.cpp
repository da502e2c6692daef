// SPDX-License-Identifier: Apache-2.0
// The command lines of `corvana annotations` export, import, stats and diff.
#include "LabelledRecordings.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandLineExchangeTest : public LabelledRecordings
{
protected:
    int run(std::vector<std::string> in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        in_vArguments.insert(in_vArguments.begin(), "annotations");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    void expectRefused(const std::vector<std::string>& in_vArguments, const std::string& in_strMessage)
    {
        EXPECT_EQ(run(in_vArguments), EXIT_UNUSABLE) << in_strMessage;
        EXPECT_EQ(m_data.str(), "");
        EXPECT_THAT(m_messages.str(), StartsWith(in_strMessage));
    }
};

TEST_F(CommandLineExchangeTest, ExportsAsTheOptionsSay)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0.5, 1}});
    EXPECT_EQ(run({"export", strFile, "--format", "audacity"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "0.5\t1\tMALE\n");

    EXPECT_EQ(run({"export", "--folder", m_dir.file("out"), "--format", "textgrid", "--list",
                   m_dir.write("list", "a.wav\n")}),
              EXIT_DONE);
    EXPECT_THAT(contentsOf(m_dir.file("out/a.TextGrid")), StartsWith("File type = \"ooTextFile\"\n"));

    EXPECT_EQ(run({"export", "-o", m_dir.file("x.json"), strFile}), EXIT_DONE);
    EXPECT_THAT(contentsOf(m_dir.file("x.json")), StartsWith("[\n"));
}

TEST_F(CommandLineExchangeTest, ImportsALabelFile)
{
    const std::string strFile = recording("a.wav", {{Annotation::MALE, 0.5, 1}});
    const std::string strLabels = m_dir.write("labels", "0\t3\tlady\n");
    EXPECT_EQ(run({"import", "--append", "--clip", "--format", "audacity", "--map", m_dir.write("map", "lady,FEMALE\n"),
                   strLabels, strFile}),
              EXIT_DONE)
        << m_messages.str();
    EXPECT_EQ(regionsOf(strFile), "MALE 0.5 1, FEMALE 0 2");
}

TEST_F(CommandLineExchangeTest, ImportsTheLabelFilesOfAFolder)
{
    const std::string strFile = recording("a.wav");
    m_dir.write("a.csv", "MALE,0,1\n");
    EXPECT_EQ(run({"import", "--folder", m_dir.path(), "--dry-run", strFile}), EXIT_DONE);
    EXPECT_EQ(regionsOf(strFile), "");
    EXPECT_EQ(run({"import", "--folder", m_dir.path(), strFile}), EXIT_DONE);
    EXPECT_EQ(regionsOf(strFile), "MALE 0 1");
}

TEST_F(CommandLineExchangeTest, CountsAsTheOptionsSay)
{
    recording("a.wav", {{Annotation::MALE, 0.5, 1}});
    EXPECT_EQ(run({"stats", "--format", "csv", "--list", m_dir.write("list", "a.wav\n")}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "type,regions,seconds,files\nMALE,1,0.5,1\n");
    EXPECT_EQ(run({"stats", m_dir.file("a.wav")}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), StartsWith("type "));
}

TEST_F(CommandLineExchangeTest, ComparesAsTheOptionsSay)
{
    const std::string strA = recording("a.wav", {{Annotation::MALE, 0.5, 1}});
    const std::string strB = recording("b.wav", {{Annotation::MALE, 0.6, 1}});
    EXPECT_EQ(run({"diff", strA, strB}), 1);
    EXPECT_EQ(m_data.str(), "moved MALE 0.5 to 1 s -> 0.6 to 1 s\n");
    EXPECT_EQ(run({"diff", "--tolerance", "0.1", "--json", strA, strB}), 0);
    EXPECT_THAT(m_data.str(), HasSubstr("\"same\": 1"));
}

TEST_F(CommandLineExchangeTest, RefusesValuesThatMakeNoSense)
{
    expectRefused({"export", "--format", "xml", "a.wav"},
                  "corvana: annotations export: --format: is one of csv, json, audacity, textgrid, not 'xml'");
    expectRefused({"export", "--folder", "", "a.wav"},
                  "corvana: annotations export: --folder: wants the name of a folder");
    expectRefused({"stats", "--format", "audacity", "a.wav"},
                  "corvana: annotations stats: --format: is one of table, csv, json, not 'audacity'");
    for (const char* szTolerance : {"-1", "nan", "inf", "1ms"})
        expectRefused({"diff", "--tolerance", szTolerance, "a.wav", "b.wav"},
                      "corvana: annotations diff: --tolerance: wants seconds, 0 or more, such as 0.02, not '");
}

TEST_F(CommandLineExchangeTest, RefusesTooFewFiles)
{
    expectRefused({"import"},
                  "corvana: annotations import: wants a label file and a recording, or --folder DIR and recordings\n"
                  "Try 'corvana help annotations import'.");
    expectRefused({"import", "labels.csv"}, "corvana: no recording given");
    expectRefused({"import", "--folder", m_dir.path()}, "corvana: no recording given");
    expectRefused({"export"}, "corvana: no recording given");
    expectRefused({"stats"}, "corvana: no recording given");
    expectRefused({"diff", "a.wav"}, "corvana: wants two recordings to compare, not 1");
}

TEST_F(CommandLineExchangeTest, ShowsHelpWithExamples)
{
    for (const char* szCommand : {"export", "import", "stats", "diff"}) {
        EXPECT_EQ(run({szCommand, "--help"}), EXIT_DONE);
        EXPECT_THAT(m_data.str(), HasSubstr(std::string("\nExamples:\n  corvana annotations ") + szCommand));
        EXPECT_THAT(m_data.str(), HasSubstr("\nExit codes"));
    }
}

} // namespace
} // namespace Corvana::Tools
