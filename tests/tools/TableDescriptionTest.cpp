// SPDX-License-Identifier: Apache-2.0
#include "tools/TableDescription.h"

#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <rapidcheck/gtest.h>

#include <filesystem>
#include <sstream>

namespace Corvana::Tools {
namespace {

using nlohmann::json;
using testing::StartsWith;

TableDescription sampleDescription()
{
    TableDescription description;
    description.m_settings.m_strVersion = "1.2.3";
    description.m_settings.m_uiWindowMs = 16;
    description.m_settings.m_vFeatures = {"silenceratio"};
    description.m_settings.m_uiNbOfInputs = 2;
    description.m_uiSampleRate = 8000;
    description.m_vColumns = {{"silenceratio", "share"}, {"level", ""}};
    description.m_size = {10, 400, 1, 2};
    return description;
}

std::string textOf(const TableDescription& in_description, const std::vector<InputOutcome>& in_vOutcomes)
{
    std::ostringstream stream;
    TableDescriptionWriter writer(stream, in_description);
    for (const InputOutcome& outcome : in_vOutcomes)
        writer.add(outcome);
    writer.finish();
    return stream.str();
}

std::vector<InputOutcome> sampleOutcomes()
{
    return {{"a\xff.wav", 10, 1.5, ""}, {"b.wav", 0, 0.0, "is a folder, not a recording"}};
}

class TableDescriptionTest : public testing::Test
{
protected:
    // Reads all of it; the fault.
    std::string read(const std::string& in_strText)
    {
        TableDescriptionReader reader;
        m_vOutcomes.clear();
        if (reader.open(m_dir.write("t.json", in_strText)))
            for (InputOutcome outcome; reader.next(outcome);)
                m_vOutcomes.push_back(outcome);
        m_description = reader.get();
        return reader.getFault();
    }

    Corvana::Test::TempDir m_dir;
    TableDescription m_description;
    std::vector<InputOutcome> m_vOutcomes;
};

TEST_F(TableDescriptionTest, IsWrittenAsTheDocumentsTell)
{
    EXPECT_EQ(textOf(sampleDescription(), sampleOutcomes()),
              "{\"corvana_table\":1,\"version\":\"1.2.3\",\"format\":\"csv\",\"configuration\":{\"window_ms\":16,"
              "\"overlap_ms\":0,\"suppress_dc\":false,\"sample_rate\":null,\"labels\":false,\"features\":["
              "\"silenceratio\"],\"formulas\":[]},\"inputs_total\":2,\"inputs_before\":0,\"inputs_digest\":"
              "\"00000000\",\"sample_rate\":8000,\"rows\":10,\"bytes\":400,\"checksum\":\"00000001\","
              "\"columns\":[{\"name\":\"silenceratio\",\"unit\":\"share\"},{\"name\":\"level\",\"unit\":null}],"
              "\"inputs\":[\n"
              "{\"file\":\"a\xEF\xBF\xBD.wav\",\"file_hex\":\"61ff2e776176\",\"rows\":10},\n"
              "{\"file\":\"b.wav\",\"rows\":0,\"fault\":\"is a folder, not a recording\"}\n"
              "]}\n");
}

TEST_F(TableDescriptionTest, IsOneJsonObjectForOtherPrograms)
{
    const json object = json::parse(textOf(sampleDescription(), sampleOutcomes()));
    EXPECT_EQ(object["inputs"][1]["fault"], "is a folder, not a recording");
    EXPECT_EQ(object["columns"][0]["unit"], "share");
    EXPECT_EQ(json::parse(textOf(sampleDescription(), {}))["inputs"], json::array());
}

TEST_F(TableDescriptionTest, IsReadBackAsItWas)
{
    EXPECT_EQ(read(textOf(sampleDescription(), sampleOutcomes())), "");
    EXPECT_EQ(textOf(m_description, m_vOutcomes), textOf(sampleDescription(), sampleOutcomes()));

    TableDescription npy = sampleDescription();
    npy.m_settings.m_format = RowFormat::NPY;
    npy.m_settings.m_uiShard = npy.m_settings.m_uiNbOfShards = 3; // none of the two inputs of the first shard
    npy.m_settings.m_uiShard = 1;
    npy.m_size.m_uiNbOfRows = 0;
    EXPECT_EQ(read(textOf(npy, {})), "");
    EXPECT_EQ(textOf(m_description, m_vOutcomes), textOf(npy, {}));
}

RC_GTEST_FIXTURE_PROP(TableDescriptionTest, KeepsEveryNameAndReason, (const std::vector<std::string>& in_vTexts))
{
    TableDescription description = sampleDescription();
    std::vector<InputOutcome> vOutcomes;
    for (const std::string& strText : in_vTexts)
        vOutcomes.push_back({strText, strText.size(), 0.0, strText});
    description.m_settings.m_uiNbOfInputs = vOutcomes.size();
    description.m_size.m_uiNbOfRows = 0;
    for (const InputOutcome& outcome : vOutcomes)
        description.m_size.m_uiNbOfRows += outcome.m_uiNbOfRows;
    RC_ASSERT(read(textOf(description, vOutcomes)) == "");
    RC_ASSERT(m_vOutcomes.size() == vOutcomes.size());
    for (std::size_t uiInput = 0; uiInput < vOutcomes.size(); ++uiInput) {
        RC_ASSERT(m_vOutcomes[uiInput].m_strPath == in_vTexts[uiInput]);
        RC_ASSERT(m_vOutcomes[uiInput].m_strFault == in_vTexts[uiInput]);
    }
}

TEST_F(TableDescriptionTest, RefusesWhatIsNotThere)
{
    TableDescriptionReader missing;
    EXPECT_FALSE(missing.open(m_dir.file("none")));
    EXPECT_EQ(missing.getFault(), "cannot be opened, No such file or directory");
    TableDescriptionReader folder;
    EXPECT_FALSE(folder.open(m_dir.path()));
    EXPECT_EQ(folder.getFault(), "is no file");
    TableDescriptionReader device;
    EXPECT_FALSE(device.open("/dev/zero"));
    EXPECT_EQ(device.getFault(), "is no file");
}

TEST_F(TableDescriptionTest, RefusesEveryCutText)
{
    const std::string strText = textOf(sampleDescription(), sampleOutcomes());
    for (std::size_t uiSize = 0; uiSize < strText.size(); ++uiSize)
        EXPECT_NE(read(strText.substr(0, uiSize)), "") << uiSize;
    EXPECT_EQ(read(strText.substr(0, strText.size() - 1)), "breaks off");
    EXPECT_EQ(read(strText + "\n"), "does not end with its last input");
    EXPECT_EQ(read(strText + "x"), "does not end with its last input");
}

TEST_F(TableDescriptionTest, RefusesTextsOfOthers)
{
    const std::string strOther = "is no description of a table as 'corvana features' writes it";
    for (const char* szText : {"", "{}", "[]\n", "{\"corvana_table\":1}\n", "file,time\na.wav,1\n"})
        EXPECT_EQ(read(szText), strOther) << szText;
    EXPECT_EQ(read("{\"corvana_table\",\"inputs\":[\n]}\n"), "line 1: is no JSON");
    EXPECT_EQ(read("[1,\"inputs\":[\n]}\n"), "line 1: is no JSON");
    EXPECT_EQ(read("{\"corvana_table\":2,\"inputs\":[\n]}\n"),
              "line 1: 'corvana_table' is not 1, so it was written by another version of corvana");
    EXPECT_THAT(read("{\"corvana_table\":1,\"inputs\":[\n]}\n"), StartsWith("line 1: "));
}

TEST_F(TableDescriptionTest, RefusesEachFieldWithAnotherType)
{
    const std::string strText = textOf(sampleDescription(), sampleOutcomes());
    const auto with = [&](const std::string& in_strOld, const std::string& in_strNew) {
        std::string strChanged = strText;
        strChanged.replace(strChanged.find(in_strOld), in_strOld.size(), in_strNew);
        return read(strChanged);
    };
    const std::string strMost = std::to_string(std::uint64_t{1} << 62U);
    EXPECT_EQ(with("\"rows\":10", "\"rows\":-10"), "line 1: 'rows' is no whole number from 0 to " + strMost);
    EXPECT_EQ(with("\"bytes\":400", "\"bytes\":1e400"), "line 1: is no JSON");
    EXPECT_EQ(with("\"bytes\":400", "\"bytes\":99999999999999999999"),
              "line 1: 'bytes' is no whole number from 0 to " + strMost);
    EXPECT_EQ(with("\"sample_rate\":8000", "\"sample_rate\":null"),
              "line 1: 'sample_rate' is no whole number from 0 to " + strMost);
    EXPECT_EQ(with("\"checksum\":\"", "\"checksum\":\"x"), "line 1: 'checksum' is no checksum of 8 hexadecimal digits");
    EXPECT_EQ(with("{\"name\":\"level\"", "{\"name\":7"), "line 1: 'name' is no text");
    EXPECT_EQ(with("\"unit\":null", "\"unit\":[]"), "line 1: 'unit' is no text");
    EXPECT_EQ(with("\"columns\":[{\"name\":\"silenceratio\"", "\"columns\":[1,{\"name\":\"s\""),
              "line 1: is no JSON object");
    EXPECT_EQ(with("\"rows\":0", "\"rows\":\"0\""),
              "line 3: 'rows' is no whole number from 0 to " + std::to_string((std::uint64_t{1} << 62U) - 10));
    EXPECT_EQ(with("\"fault\":\"is", "\"fault\":3,\"x\":\"is"), "line 3: 'fault' is no text");
    EXPECT_EQ(with("\"file\":\"b.wav\"", "\"f\":\"b.wav\""), "line 3: 'file' is no text");
    EXPECT_EQ(with("{\"file\":\"b.wav\"", "[{\"file\":\"b.wav\""), "line 3: is no JSON");
    EXPECT_EQ(with("10},\n", "10}\n"), "line 3: stands behind the last input");
    EXPECT_EQ(with("recording\"}\n", "recording\"},\n"), "does not end with its last input");
    EXPECT_EQ(with("\"inputs_total\":2", "\"inputs_total\":3"), "holds 2 inputs instead of 3");
    EXPECT_EQ(with("\"rows\":10,", "\"rows\":11,"), "gives its inputs 10 rows and the table 11");
}

TEST_F(TableDescriptionTest, GivesNoInputsOfADamagedOne)
{
    const std::string strText = textOf(sampleDescription(), sampleOutcomes());
    TableDescriptionReader reader;
    InputOutcome outcome;
    EXPECT_FALSE(reader.read(std::make_unique<std::istringstream>("{" + strText)));
    EXPECT_FALSE(reader.next(outcome));
    EXPECT_EQ(reader.getFault(), "line 1: is no JSON");
}

// As deep as a line may be long: neither the stack nor time grows with it.
TEST_F(TableDescriptionTest, RefusesNestingAndLongLinesInBoundedMemory)
{
    const std::string strDeep(200000, '[');
    const std::string strTooDeep = "is nested deeper than anything that corvana writes";
    EXPECT_EQ(read("{\"corvana_table\":" + strDeep + ",\"inputs\":[\n]}\n"), "line 1: " + strTooDeep);
    const std::string strText = textOf(sampleDescription(), {});
    EXPECT_EQ(read(strText.substr(0, strText.find("\n")) + "\n" + strDeep + "\n"), "line 2: " + strTooDeep);
    EXPECT_EQ(read(strText.substr(0, strText.find("\n")) + "\n" + std::string((16U << 20U) + 1, ' ')),
              "line 2: is longer than any that corvana writes");
}

} // namespace
} // namespace Corvana::Tools
