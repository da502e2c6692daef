// SPDX-License-Identifier: Apache-2.0
#include "tools/RowWriter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <limits>

namespace Corvana::Tools {
namespace {

constexpr double s_dInfinity = std::numeric_limits<double>::infinity();
constexpr double s_dNaN = std::numeric_limits<double>::quiet_NaN();

std::string rowOf(RowWriter& inout_writer, const std::string& in_strFile)
{
    inout_writer.beginFile(in_strFile);
    inout_writer.beginRow(0.016);
    inout_writer.addFeature(0, std::array{0.1, -s_dInfinity});
    inout_writer.addFeature(1, std::array{s_dNaN});
    return std::string(inout_writer.endRow());
}

TEST(CsvRowWriter, NamesColumnsByDescriptionAndIndex)
{
    const auto pWriter = RowWriter::make(RowFormat::CSV, {"spectrum500hz", "spectrum|flatness"}, {3, 1});

    EXPECT_EQ(pWriter->getHeader(), "file,time,spectrum500hz[0],spectrum500hz[1],spectrum500hz[2],spectrum|flatness\n");
}

TEST(CsvRowWriter, QuotesDescriptionsWithParameters)
{
    const auto pWriter = RowWriter::make(RowFormat::CSV, {"a(1,2)", "b(1,2)"}, {1, 2});

    EXPECT_EQ(pWriter->getHeader(), "file,time,\"a(1,2)\",\"b(1,2)[0]\",\"b(1,2)[1]\"\n");
}

TEST(CsvRowWriter, WritesShortestNumbers)
{
    const auto pWriter = RowWriter::make(RowFormat::CSV, {"a", "b"}, {2, 1});

    EXPECT_EQ(rowOf(*pWriter, "x.wav"), "x.wav,0.016,0.1,-inf,nan\n");
    EXPECT_EQ(rowOf(*pWriter, "y.wav"), "y.wav,0.016,0.1,-inf,nan\n");
}

TEST(CsvRowWriter, PutsLabelsBehindTheTime)
{
    const auto pWriter = RowWriter::make(RowFormat::CSV, {"a", "b"}, {2, 1}, true);

    EXPECT_EQ(pWriter->getHeader(), "file,time,labels,a[0],a[1],b\n");
    EXPECT_EQ(rowOf(*pWriter, "x.wav"), "x.wav,0.016,,0.1,-inf,nan\n");
    pWriter->setLabels({"VOICE", "NOISE"});
    pWriter->beginRow(0.032);
    EXPECT_EQ(pWriter->endRow(), "x.wav,0.032,VOICE;NOISE\n");
    EXPECT_EQ(rowOf(*pWriter, "y.wav"), "y.wav,0.016,,0.1,-inf,nan\n");
}

TEST(JsonRowWriter, PutsLabelsIntoAnArray)
{
    const auto pWriter = RowWriter::make(RowFormat::JSONL, {"a", "b"}, {2, 1}, true);

    EXPECT_EQ(rowOf(*pWriter, "x"), "{\"file\":\"x\",\"time\":0.016,\"labels\":[],\"a\":[0.1,-1e999],\"b\":null}\n");
    pWriter->setLabels({"VOICE", "NOISE"});
    pWriter->beginRow(0.032);
    EXPECT_EQ(pWriter->endRow(), "{\"file\":\"x\",\"time\":0.032,\"labels\":[\"VOICE\",\"NOISE\"]}\n");
}

TEST(CsvRowWriter, QuotesFieldsThatNeedIt)
{
    EXPECT_EQ(csvField("a b.wav"), "a b.wav");
    EXPECT_EQ(csvField("a,b"), "\"a,b\"");
    EXPECT_EQ(csvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(csvField("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(csvField("return\r"), "\"return\r\"");
    EXPECT_EQ(csvField(""), "");
}

TEST(CsvRowWriter, GivesNoColumnToAFeatureWithoutValues)
{
    EXPECT_EQ(RowWriter::make(RowFormat::CSV, {"none", "one"}, {0, 1})->getHeader(), "file,time,one\n");
}

TEST(JsonRowWriter, WritesAnObjectARow)
{
    const auto pWriter = RowWriter::make(RowFormat::JSONL, {"a", "b"}, {2, 1});

    EXPECT_EQ(pWriter->getHeader(), "");
    EXPECT_EQ(rowOf(*pWriter, "x \"1\".wav"),
              "{\"file\":\"x \\\"1\\\".wav\",\"time\":0.016,\"a\":[0.1,-1e999],\"b\":null}\n");
}

TEST(JsonRowWriter, WritesOneValueAsANumberAndNoneAsAnEmptyArray)
{
    const auto pWriter = RowWriter::make(RowFormat::JSONL, {"one", "none"}, {1, 0});
    pWriter->beginFile("x");
    pWriter->beginRow(1.0);
    pWriter->addFeature(0, std::array{2.5});
    pWriter->addFeature(1, {});

    EXPECT_EQ(pWriter->endRow(), "{\"file\":\"x\",\"time\":1,\"one\":2.5,\"none\":[]}\n");
}

TEST(JsonRowWriter, ReplacesBytesThatAreNoText)
{
    EXPECT_EQ(jsonString("a\xff.wav"), "\"a\xEF\xBF\xBD.wav\"");
    EXPECT_EQ(jsonString("tab\t"), "\"tab\\t\"");
}

TEST(JsonRowWriter, WritesNumbersThatReadBackToTheSameDouble)
{
    for (const double dValue : {0.1, 1e-9, 1e22, -0.0, 5e-324, 1.7976931348623157e308}) {
        std::string strText;
        appendJsonNumber(strText, dValue);
        EXPECT_EQ(nlohmann::json::parse(strText).get<double>(), dValue) << strText;
    }
}

TEST(JsonRowWriter, WritesInfinitiesThatReadBackAsInfinities)
{
    std::string strText;
    appendJsonNumber(strText, s_dInfinity);

    EXPECT_EQ(strText, "1e999");
    EXPECT_TRUE(std::isinf(std::strtod(strText.c_str(), nullptr)));
}

} // namespace
} // namespace Corvana::Tools
