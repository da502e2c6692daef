// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionFormat.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>

namespace Corvana::Tools {

// Where a region was read is no part of what it is.
bool operator==(const LabeledRegion& in_left, const LabeledRegion& in_right)
{
    return in_left.m_strLabel == in_right.m_strLabel && in_left.m_dStart == in_right.m_dStart &&
           in_left.m_dStop == in_right.m_dStop;
}

std::ostream& operator<<(std::ostream& out_stream, const LabeledRegion& in_region)
{
    return out_stream << testing::PrintToString(in_region.m_strLabel) << ' ' << in_region.m_dStart << ' '
                      << in_region.m_dStop;
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Regions = std::vector<LabeledRegion>;

constexpr RegionFormat s_aAllFormats[] = {RegionFormat::CSV, RegionFormat::JSON, RegionFormat::AUDACITY,
                                          RegionFormat::TEXTGRID};

std::string written(RegionFormat in_format, const Regions& in_vRegions, double in_dDurationSeconds = 0.0)
{
    std::ostringstream stream;
    writeRegions(stream, in_format, in_vRegions, in_dDurationSeconds);
    return stream.str();
}

Regions regionsOf(RegionFormat in_format, const std::string& in_strText)
{
    Regions vRegions;
    EXPECT_EQ(readRegions(in_strText, in_format, vRegions), "");
    return vRegions;
}

std::string faultOf(RegionFormat in_format, const std::string& in_strText)
{
    Regions vRegions{{"former", 1.0, 2.0}};
    std::string strFault = readRegions(in_strText, in_format, vRegions);
    EXPECT_THAT(vRegions, IsEmpty());
    return strFault;
}

Regions backAndForth(RegionFormat in_format, const Regions& in_vRegions, double in_dDurationSeconds = 0.0)
{
    return regionsOf(in_format, written(in_format, in_vRegions, in_dDurationSeconds));
}

std::string asUtf16(const std::u16string& in_strText, bool in_bBigEndian)
{
    std::string strBytes;
    for (const char16_t cUnit : u"\uFEFF" + in_strText) {
        const char cHigh = static_cast<char>(static_cast<unsigned char>(cUnit >> 8));
        const char cLow = static_cast<char>(static_cast<unsigned char>(cUnit & 0xFF));
        strBytes += {in_bBigEndian ? cHigh : cLow, in_bBigEndian ? cLow : cHigh};
    }
    return strBytes;
}

// ---- all formats

TEST(RegionFormat, IsFoundByTheEndingInUpperAndLowerCase)
{
    RegionFormat format = RegionFormat::CSV;
    EXPECT_TRUE(findFormatOfFile("a.json", format) && format == RegionFormat::JSON);
    EXPECT_TRUE(findFormatOfFile("a.CSV", format) && format == RegionFormat::CSV);
    EXPECT_TRUE(findFormatOfFile("dir.csv/a.txt", format) && format == RegionFormat::AUDACITY);
    EXPECT_TRUE(findFormatOfFile("a.textgrid", format) && format == RegionFormat::TEXTGRID);
    EXPECT_FALSE(findFormatOfFile("a.wav", format));
    EXPECT_FALSE(findFormatOfFile("csv", format));
    EXPECT_EQ(format, RegionFormat::TEXTGRID);
}

TEST(RegionFormat, HasANameAndAnEndingThatLeadsBackToIt)
{
    for (const RegionFormat format : s_aAllFormats) {
        RegionFormat found = format == RegionFormat::CSV ? RegionFormat::JSON : RegionFormat::CSV;
        EXPECT_TRUE(findFormatOfFile(std::string("call") + endingOf(format), found));
        EXPECT_EQ(found, format);
    }
    EXPECT_STREQ(nameOf(RegionFormat::TEXTGRID), "textgrid");
}

TEST(RegionFormat, KeepsTimesToTheLastBitInEveryFormat)
{
    const Regions vRegions = {{"A", 0.1, 1.0 / 3.0},
                              {"B", 1e-9, 2.2250738585072014e-308 + 1.0},
                              {"C", 536870.911875, 536870.912},
                              {"D", 536870.912, 1e22}};
    Regions vSorted = vRegions;
    std::swap(vSorted[0], vSorted[1]);
    EXPECT_EQ(backAndForth(RegionFormat::CSV, vRegions), vRegions);
    EXPECT_EQ(backAndForth(RegionFormat::JSON, vRegions), vRegions);
    EXPECT_EQ(backAndForth(RegionFormat::AUDACITY, vRegions), vRegions);
    EXPECT_EQ(backAndForth(RegionFormat::TEXTGRID, vRegions), vSorted);
}

TEST(RegionFormat, KeepsNoRegionsInEveryFormat)
{
    for (const RegionFormat format : s_aAllFormats)
        EXPECT_EQ(backAndForth(format, {}, 5.0), Regions()) << nameOf(format);
}

TEST(RegionFormat, TakesAByteOrderMarkInEveryFormat)
{
    for (const RegionFormat format : s_aAllFormats) {
        const std::string strText = written(format, {{"MALE", 1.0, 2.0}});
        EXPECT_EQ(regionsOf(format, "\xEF\xBB\xBF" + strText), (Regions{{"MALE", 1.0, 2.0}})) << nameOf(format);
    }
}

TEST(RegionFormat, TakesUtf16OfBothByteOrdersInEveryFormat)
{
    for (const RegionFormat format : s_aAllFormats) {
        const std::string strAscii = written(format, {{"??", 1.0, 2.0}});
        std::u16string strText(strAscii.begin(), strAscii.end());
        strText.replace(strText.find(u"??"), 2, u"\u00e9\u20ac\U0001F600");
        const Regions vWanted = {{"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 1.0, 2.0}};
        EXPECT_EQ(regionsOf(format, asUtf16(strText, false)), vWanted) << nameOf(format);
        EXPECT_EQ(regionsOf(format, asUtf16(strText, true)), vWanted) << nameOf(format);
    }
}

TEST(RegionFormat, TakesTheFirstAndTheLastCharacterOfEachLengthInUtf8)
{
    const std::u16string strText = u"1\t2\t\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFD\U00010000\U0001F3B5\U0010FFFF";
    const Regions vWanted = {{"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD\xF0\x90\x80\x80"
                              "\xF0\x9F\x8E\xB5\xF4\x8F\xBF\xBF",
                              1.0, 2.0}};
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, asUtf16(strText, false)), vWanted);
}

TEST(RegionFormat, TakesHalfAPairOfUtf16AsTheReplacementCharacter)
{
    const std::u16string strText = {u'1', u'\t', u'2', u'\t', 0xD83D, u'x', 0xDE00, u'y', 0xD83D};
    const Regions vWanted = {{"\xEF\xBF\xBDx\xEF\xBF\xBDy\xEF\xBF\xBD", 1.0, 2.0}};
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, asUtf16(strText, false)), vWanted);
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, asUtf16(strText, true) + "\x20"), vWanted);
}

TEST(RegionFormat, TellsTheLineOfEachRegion)
{
    const Regions vRegions = {{"A", 0.0, 1.0}, {"B", 2.0, 2.0}};
    const auto linesOf = [&](RegionFormat in_format) {
        std::vector<unsigned long> vLines;
        for (const LabeledRegion& region : backAndForth(in_format, vRegions))
            vLines.push_back(region.m_uiLine);
        return vLines;
    };
    EXPECT_THAT(linesOf(RegionFormat::CSV), ElementsAre(2, 3));
    EXPECT_THAT(linesOf(RegionFormat::JSON), ElementsAre(2, 3));
    EXPECT_THAT(linesOf(RegionFormat::AUDACITY), ElementsAre(1, 2));
    EXPECT_THAT(linesOf(RegionFormat::TEXTGRID), ElementsAre(16, 30));
}

TEST(RegionFormat, RefusesAStopBeforeItsStartInEveryFormat)
{
    const std::string strReason = ": the stop 1 lies before the start 2; exchange them";
    EXPECT_EQ(faultOf(RegionFormat::CSV, "MALE,2,1\n"), "line 1" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[\n{\"type\":\"MALE\",\"start\":2,\"stop\":1}]"), "line 2" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "2\t1\tMALE"), "line 1" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID,
                      "\"ooTextFile\" \"TextGrid\" 0 9 <exists> 1\n\"IntervalTier\" \"\" 0 9 1\n"
                      "2 1 \"MALE\""),
              "line 3" + strReason);
}

TEST(RegionFormat, RefusesMoreRegionsThanARecordingHolds)
{
    std::string strText;
    for (std::size_t uiRegion = 0; uiRegion < s_uiMaxRegions; ++uiRegion)
        strText += "1\t2\tA\n";
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, strText).size(), 1048576u);
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, strText + "1\t2\tA\n"),
              "line 1048577: more than 1048576 regions; divide the file");
}

TEST(RegionFormat, RefusesATextThatIsFarTooLong)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, std::string(s_uiMaxRegionBytes + 1, '\n')),
              "more than 256 MiB; this is no list of regions");
}

TEST(RegionFormat, ShowsOnlyTheBeginningOfALongTextInAFault)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "MALE," + std::string(100000, 'x') + ",2\n"),
              "line 1: the start is '" + std::string(60, 'x') + "...'; write it in seconds, such as 12.5");
}

TEST(RegionFormat, MakesControlCharactersInAFaultPrintable)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "MALE,\x1b[2J,2\n"),
              "line 1: the start is '\\x1b[2J'; write it in seconds, such as 12.5");
}

// ---- CSV

TEST(RegionCsv, IsAHeaderAndARowForEachRegion)
{
    EXPECT_EQ(written(RegionFormat::CSV, {{"FEMALE", 0.5, 1.0}, {"a,\"b\"\nc", 2.25, 1e-9}}),
              "index,type,start,stop\n"
              "0,FEMALE,0.5,1\n"
              "1,\"a,\"\"b\"\"\nc\",2.25,1e-09\n");
}

TEST(RegionCsv, IsReadByTheNamesOfItsColumns)
{
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "stop, Start ,note,TYPE\r\n2,1,\"x,y\",MALE\r\n"),
              (Regions{{"MALE", 1.0, 2.0}}));
}

TEST(RegionCsv, MayNameItsColumnsLabelAndEnd)
{
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "start,end,label\n1,2,MALE\n"), (Regions{{"MALE", 1.0, 2.0}}));
}

TEST(RegionCsv, IsReadWithoutAHeader)
{
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "7,MALE,1,2\nx,FEMALE,3,4"),
              (Regions{{"MALE", 1.0, 2.0}, {"FEMALE", 3.0, 4.0}}));
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "MALE,1,2\n"), (Regions{{"MALE", 1.0, 2.0}}));
}

TEST(RegionCsv, TakesALabelThatIsANumber)
{
    EXPECT_EQ(backAndForth(RegionFormat::CSV, {{"12", 1.0, 2.0}}), (Regions{{"12", 1.0, 2.0}}));
}

TEST(RegionCsv, TakesNoRegionsFromAHeaderAlone)
{
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "type,start,stop"), Regions());
}

TEST(RegionCsv, RefusesAHeaderThatLacksAColumn)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "\ntype,begin,stop\nMALE,1,2\n"),
              "line 2: neither a region nor a header with the columns type, start and stop, with commas between them");
    for (const char* szHeader : {"start,stop", "type,stop", "type,start"})
        EXPECT_THAT(faultOf(RegionFormat::CSV, szHeader), StartsWith("line 1: neither a region nor a header"));
}

TEST(RegionCsv, RefusesAHeaderWithAColumnTwice)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "type,start,end,stop\n"),
              "line 1: several columns for the stop; rename all but one");
}

TEST(RegionCsv, RefusesTooFewOrTooManyColumnsWithoutAHeader)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "1,2\n"),
              "line 1: 2 columns and no header; wanted are type,start,stop or index,type,start,stop");
    EXPECT_THAT(faultOf(RegionFormat::CSV, "0,MALE,1,2,3\n"), StartsWith("line 1: 5 columns and no header;"));
}

TEST(RegionCsv, RefusesARowOfAnotherLength)
{
    EXPECT_EQ(faultOf(RegionFormat::CSV, "type,start,stop\nMALE,1,2\nMALE,or,1,2\n"),
              "line 3: 4 columns instead of 3; put a label that contains a comma between quotes");
}

TEST(RegionCsv, RefusesTimesThatAreNoFiniteNumbers)
{
    const std::string strHeader = "type,start,stop\n";
    EXPECT_EQ(faultOf(RegionFormat::CSV, strHeader + "MALE,nan,2\n"),
              "line 2: the start is 'nan'; write it in seconds, such as 12.5");
    EXPECT_EQ(faultOf(RegionFormat::CSV, strHeader + "MALE,1,inf\n"),
              "line 2: the stop is 'inf'; write it in seconds, such as 12.5");
    EXPECT_EQ(faultOf(RegionFormat::CSV, strHeader + "MALE,1,\n"),
              "line 2: the stop is ''; write it in seconds, such as 12.5");
    EXPECT_EQ(faultOf(RegionFormat::CSV, strHeader + "MALE,1:30,2\n"),
              "line 2: the start is '1:30'; write it in seconds, such as 12.5");
}

TEST(RegionCsv, RefusesTheRegionsOfSeveralRecordings)
{
    EXPECT_EQ(regionsOf(RegionFormat::CSV, "file,type,start,stop\na.wav,MALE,1,2\na.wav,MALE,3,4\n").size(), 2u);
    EXPECT_EQ(faultOf(RegionFormat::CSV, "file,type,start,stop\na.wav,MALE,1,2\nb.wav,MALE,1,2\n"),
              "line 3: a region of 'b.wav' among those of 'a.wav'; make a file for each recording");
}

TEST(RegionCsv, PassesOnTheFaultOfARow)
{
    EXPECT_THAT(faultOf(RegionFormat::CSV, "MALE,1,2\n\"MALE,1,2\n"),
                StartsWith("line 2: a field begins with a quote that is never closed"));
}

// ---- JSON

TEST(RegionJson, IsAnArrayWithALineForEachRegion)
{
    EXPECT_EQ(written(RegionFormat::JSON, {{"FEMALE", 0.5, 1.0}, {"a\"\n", 2.25, 3.0}}),
              "[\n"
              "  {\"index\":0,\"type\":\"FEMALE\",\"start\":0.5,\"stop\":1},\n"
              "  {\"index\":1,\"type\":\"a\\\"\\n\",\"start\":2.25,\"stop\":3}\n"
              "]\n");
    EXPECT_EQ(written(RegionFormat::JSON, {}), "[]\n");
}

TEST(RegionJson, WritesBytesThatAreNoUtf8AsTheReplacementCharacter)
{
    EXPECT_EQ(backAndForth(RegionFormat::JSON, {{"caf\xE9", 1.0, 2.0}}), (Regions{{"caf\xEF\xBF\xBD", 1.0, 2.0}}));
}

TEST(RegionJson, PassesOverKeysItDoesNotKnow)
{
    EXPECT_EQ(regionsOf(RegionFormat::JSON, R"([{"index":null,"x":{"start":["y",[{"type":1}]]},"stop":2,"z":true,)"
                                            R"("type":"MALE","start":-1e0,"w":"stop"}])"),
              (Regions{{"MALE", -1.0, 2.0}}));
}

TEST(RegionJson, SaysHowToImportTheListOfSeveralRecordings)
{
    const std::string strHint =
        "line 1: the regions of several recordings; 'corvana annotations export --format json --folder DIR "
        "RECORDING...' makes a file for each, which 'import --folder DIR' reads";
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"file":"a.wav","regions":[{"type":"A","start":1,"stop":2}]}])"),
              strHint);
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"file":"a.wav","regions":[]}, {"file":"b.wav","regions":[]}])"),
              strHint);
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"regions":[],"file":"a.wav"}])"), strHint);
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"regions":[]}, {"type":"A","start":1}])"), strHint);
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"type":"A","start":1,"regions":1}])"),
                StartsWith("line 1: a region without \"stop\""));
}

TEST(RegionJson, RefusesTimesThatAreNoNumbers)
{
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[{\"type\":\"A\",\n\"start\":\"1\",\"stop\":2}]"),
              "line 2: \"start\" is a text; write it as a number of seconds, such as 12.5");
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"type":"A","start":1,"stop":null}])"),
                StartsWith("line 1: \"stop\" is null;"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"start":[1],"type":"A"}])"),
                StartsWith("line 1: \"start\" is an array;"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"start":{},"type":"A"}])"),
                StartsWith("line 1: \"start\" is an object;"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"start":true,"type":"A"}])"),
                StartsWith("line 1: \"start\" is true or false;"));
}

TEST(RegionJson, RefusesNumbersThatJsonDoesNotHave)
{
    EXPECT_THAT(faultOf(RegionFormat::JSON, R"([{"start":NaN}])"), StartsWith("line 1: no JSON: syntax error"));
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"start":1e999}])"),
              "line 1: no JSON: a number is too large, or the text is damaged");
}

TEST(RegionJson, RefusesATypeThatIsNoText)
{
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"type":5}])"), "line 1: \"type\" is a number; write it between quotes");
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"type":["A"]}])"),
              "line 1: \"type\" is an array; write it between quotes");
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"type":{}}])"),
              "line 1: \"type\" is an object; write it between quotes");
}

TEST(RegionJson, RefusesARegionThatLacksAKey)
{
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[\n{\"type\":\"A\",\n\"start\":1}]"),
              "line 2: a region without \"stop\"; it wants \"type\", \"start\" and \"stop\"");
}

TEST(RegionJson, RefusesAKeyTwice)
{
    EXPECT_EQ(faultOf(RegionFormat::JSON, R"([{"type":"A","start":1,"start":2,"stop":3}])"),
              "line 1: \"start\" stands twice in one region; remove one");
}

TEST(RegionJson, RefusesWhatIsNoArrayOfObjects)
{
    const std::string strReason = "line 1: an array of regions is wanted, each an object, but here is ";
    EXPECT_EQ(faultOf(RegionFormat::JSON, "{}"), strReason + "an object");
    EXPECT_EQ(faultOf(RegionFormat::JSON, "5"), strReason + "a number");
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[[]]"), strReason + "an array");
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[null]"), strReason + "null");
    EXPECT_EQ(faultOf(RegionFormat::JSON, "[\"start\"]"), strReason + "a text");
}

TEST(RegionJson, RefusesDamagedText)
{
    EXPECT_THAT(faultOf(RegionFormat::JSON, ""), StartsWith("line 1: no JSON: syntax error"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, "[\n{\n"), StartsWith("line 3: no JSON: syntax error"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, "[] x"), StartsWith("line 1: no JSON: syntax error"));
    EXPECT_THAT(faultOf(RegionFormat::JSON, "[\"\xFF\"]"), HasSubstr("invalid"));
}

TEST(RegionJson, EndsAtDeepNestingWithoutRecursion)
{
    EXPECT_THAT(faultOf(RegionFormat::JSON, "[{\"x\":" + std::string(2000000, '[')),
                StartsWith("line 1: no JSON: syntax error"));
}

// ---- label tracks

TEST(RegionAudacity, IsALineForEachRegion)
{
    EXPECT_EQ(written(RegionFormat::AUDACITY, {{"FEMALE", 0.5, 1.0}, {"say \"no\"", 2.25, 3.0}}),
              "0.5\t1\tFEMALE\n"
              "2.25\t3\tsay \"no\"\n");
}

TEST(RegionAudacity, WritesBlanksForTabsAndLineEndsInALabel)
{
    EXPECT_EQ(written(RegionFormat::AUDACITY, {{"a\tb\nc\rd", 0.0, 1.0}}), "0\t1\ta b c d\n");
}

TEST(RegionAudacity, IsReadWithEveryLineEnd)
{
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, "0.5\t1\tA\r\n2\t3\tB\r4\t5\tC\n\n6\t7\tD"),
              (Regions{{"A", 0.5, 1.0}, {"B", 2.0, 3.0}, {"C", 4.0, 5.0}, {"D", 6.0, 7.0}}));
}

TEST(RegionAudacity, PassesOverSpectralSelections)
{
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, "1.000000\t2.000000\tA\n\\\t300.000000\t3400.000000\n3\t4\tB\n"),
              (Regions{{"A", 1.0, 2.0}, {"B", 3.0, 4.0}}));
}

TEST(RegionAudacity, TakesACommaAsDecimalSign)
{
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, "0,500000\t1,250000\tA\n2\t3\tB\n"),
              (Regions{{"A", 0.5, 1.25}, {"B", 2.0, 3.0}}));
}

TEST(RegionAudacity, RefusesCommasWherePointsAreDecimalSigns)
{
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "0.5\t1\tA\n1,234\t2000\tB\n"),
              "line 2: the start '1,234' has another decimal sign than line 1; use the point everywhere");
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "0,5\t1\tA\n1\t2.5\tB\n"),
              "line 2: the stop '2.5' has another decimal sign than line 1; use the point everywhere");
}

TEST(RegionAudacity, RefusesNumbersWithSeveralSigns)
{
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "1,234.5\t2\tA\n"),
              "line 1: the start is '1,234.5'; write it in seconds, such as 12.5");
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "1,234,567\t2\tA\n"),
              "line 1: the start is '1,234,567'; write it in seconds, such as 12.5");
}

TEST(RegionAudacity, RefusesALineWithoutALabel)
{
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "0\t1\tA\n2\t3\n"),
              "line 2: no start, stop and label with tabs between them: '2\\t3'");
    EXPECT_EQ(faultOf(RegionFormat::AUDACITY, "0 1 A\n"),
              "line 1: no start, stop and label with tabs between them: '0 1 A'");
}

TEST(RegionAudacity, KeepsALabelThatIsEmptyOrHasTabs)
{
    EXPECT_EQ(regionsOf(RegionFormat::AUDACITY, "0\t1\t\n1\t2\ta\tb\n"), (Regions{{"", 0.0, 1.0}, {"a\tb", 1.0, 2.0}}));
}

// ---- TextGrid

TEST(RegionTextGrid, FillsWhatRegionsLeaveWithEmptyIntervals)
{
    EXPECT_EQ(written(RegionFormat::TEXTGRID, {{"say \"no\"", 0.5, 1.0}, {"MALE", 1.0, 1.5}}, 2.0),
              "File type = \"ooTextFile\"\n"
              "Object class = \"TextGrid\"\n"
              "\n"
              "xmin = 0 \n"
              "xmax = 2 \n"
              "tiers? <exists> \n"
              "size = 1 \n"
              "item []: \n"
              "    item [1]:\n"
              "        class = \"IntervalTier\" \n"
              "        name = \"regions\" \n"
              "        xmin = 0 \n"
              "        xmax = 2 \n"
              "        intervals: size = 4 \n"
              "        intervals [1]:\n"
              "            xmin = 0 \n"
              "            xmax = 0.5 \n"
              "            text = \"\" \n"
              "        intervals [2]:\n"
              "            xmin = 0.5 \n"
              "            xmax = 1 \n"
              "            text = \"say \"\"no\"\"\" \n"
              "        intervals [3]:\n"
              "            xmin = 1 \n"
              "            xmax = 1.5 \n"
              "            text = \"MALE\" \n"
              "        intervals [4]:\n"
              "            xmin = 1.5 \n"
              "            xmax = 2 \n"
              "            text = \"\" \n");
}

TEST(RegionTextGrid, WritesPointsIntoATierOfTheirOwn)
{
    EXPECT_THAT(written(RegionFormat::TEXTGRID, {{"BEEP", 0.5, 0.5}, {"MALE", 0.0, 2.0}}, 2.0),
                HasSubstr("        text = \"MALE\" \n"
                          "    item [2]:\n"
                          "        class = \"TextTier\" \n"
                          "        name = \"regions 2\" \n"
                          "        xmin = 0 \n"
                          "        xmax = 2 \n"
                          "        points: size = 1 \n"
                          "        points [1]:\n"
                          "            number = 0.5 \n"
                          "            mark = \"BEEP\" \n"));
}

TEST(RegionTextGrid, HasOneEmptyTierForNoRegions)
{
    EXPECT_THAT(written(RegionFormat::TEXTGRID, {}, 2.0), HasSubstr("size = 1 \nitem []: \n"));
    EXPECT_THAT(written(RegionFormat::TEXTGRID, {}, 2.0),
                HasSubstr("            xmax = 2 \n            text = \"\" \n"));
    EXPECT_THAT(written(RegionFormat::TEXTGRID, {}, 0.0), HasSubstr("xmin = 0 \nxmax = 1 \n"));
}

TEST(RegionTextGrid, ReachesToTheLastRegionsStop)
{
    EXPECT_THAT(written(RegionFormat::TEXTGRID, {{"A", 1.0, 9.0}}, 2.0), HasSubstr("xmin = 0 \nxmax = 9 \ntiers?"));
}

std::size_t nbOfTiers(const Regions& in_vRegions)
{
    const std::string strText = written(RegionFormat::TEXTGRID, in_vRegions, 10.0);
    std::size_t uiCount = 0;
    for (std::size_t uiPos = 0; (uiPos = strText.find("class = \"", uiPos)) != std::string::npos; ++uiPos)
        ++uiCount;
    return uiCount - 1; // the first is the object's
}

TEST(RegionTextGrid, TakesOnlyAsManyTiersAsOverlapsNeed)
{
    EXPECT_EQ(nbOfTiers({{"A", 0.0, 2.0}, {"B", 2.0, 4.0}, {"C", 4.0, 5.0}}), 1u);
    EXPECT_EQ(nbOfTiers({{"A", 0.0, 2.0}, {"B", 1.0, 3.0}, {"C", 2.0, 4.0}, {"D", 3.0, 5.0}}), 2u);
    EXPECT_EQ(nbOfTiers({{"A", 0.0, 9.0}, {"B", 0.0, 9.0}, {"C", 0.0, 9.0}}), 3u);
    EXPECT_EQ(nbOfTiers({{"A", 1.0, 1.0}, {"B", 2.0, 2.0}, {"C", 1.0, 1.0}}), 2u);
}

TEST(RegionTextGrid, GivesOverlappingRegionsBackInTheOrderOfTheirStarts)
{
    EXPECT_EQ(backAndForth(RegionFormat::TEXTGRID,
                           {{"D", 3.0, 9.0}, {"A", 0.0, 5.0}, {"B", 1.0, 2.0}, {"P", 1.5, 1.5}, {"C", 1.0, 4.0}}, 9.0),
              (Regions{{"A", 0.0, 5.0}, {"B", 1.0, 2.0}, {"C", 1.0, 4.0}, {"P", 1.5, 1.5}, {"D", 3.0, 9.0}}));
}

TEST(RegionTextGrid, LeavesOutRegionsWithoutALabel)
{
    EXPECT_EQ(backAndForth(RegionFormat::TEXTGRID, {{"", 0.0, 5.0}, {"B", 1.0, 2.0}}), (Regions{{"B", 1.0, 2.0}}));
}

TEST(RegionTextGrid, SpreadsManyOverlappingRegionsQuickly)
{
    Regions vRegions;
    for (unsigned uiRegion = 0; uiRegion < 20000; ++uiRegion)
        vRegions.push_back({"A", uiRegion * 1e-3, 100.0});
    EXPECT_EQ(backAndForth(RegionFormat::TEXTGRID, vRegions), vRegions);
}

TEST(RegionTextGrid, IsReadInTheShortFormat)
{
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID,
                        "File type = \"ooTextFile\"\r\nObject class = \"TextGrid\"\r\n\r\n0\r\n3\r\n"
                        "<exists>\r\n2\r\n\"IntervalTier\"\r\n\"a\"\r\n0\r\n3\r\n2\r\n0\r\n1.5\r\n"
                        "\"\"\r\n1.5\r\n3\r\n\"MALE\"\r\n\"TextTier\"\r\n\"b\"\r\n0\r\n3\r\n1\r\n2\r\n"
                        "\"BEEP\"\r\n"),
              (Regions{{"MALE", 1.5, 3.0}, {"BEEP", 2.0, 2.0}}));
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, "File type = \"ooTextFile short\"\n\"TextGrid\"\n0 3 <exists> 1 "
                                                "\"IntervalTier\" \"a\" 0 3 1 0 3 \"MALE\""),
              (Regions{{"MALE", 0.0, 3.0}}));
}

TEST(RegionTextGrid, PassesOverCommentsAndWords)
{
    EXPECT_EQ(
        regionsOf(
            RegionFormat::TEXTGRID,
            "\"ooTextFile\" ! not \"this\" 5\n\"TextGrid\" from 0 to 3 <exists> tiers : + 1\n\"IntervalTier\" called "
            "\"a\" 0 3 with 1 interval[s2]\n0 3 \"a ! b <exists>\"\n"),
        (Regions{{"a ! b <exists>", 0.0, 3.0}}));
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, "\"ooTextFile\" ! until here\r\"TextGrid\" 0 - ... 3 +.x <absent>"),
              Regions());
}

TEST(RegionTextGrid, PartsWordsAtBlanksOnly)
{
    const std::string strBlanks = "\"ooTextFile\"\t\"TextGrid\"\v0\f3\r<exists>\n0 ";
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, strBlanks), Regions());
    const std::string strOthers = "\"ooTextFile\" \"TextGrid\" a\x08"
                                  "7 b\x0E"
                                  "7 c\x1F"
                                  "7 d\x21"
                                  "7 0 3 <exists> 0";
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, strOthers), Regions());
}

TEST(RegionTextGrid, HasNoRegionsWithoutTiers)
{
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <absent>"), Regions());
}

TEST(RegionTextGrid, RefusesAnotherKindOfFile)
{
    const std::string strReason = ": no TextGrid: it begins with File type = \"ooTextFile\" and Object class = "
                                  "\"TextGrid\"; let Praat save it as a text file";
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, ""), "line 1" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "ooBinaryFile\x08TextGrid"), "line 1" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooBinaryFile\"\n\"TextGrid\"\n"), "line 1" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\"\n\"Pitch 1\"\n"), "line 2" + strReason);
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\"\n! and no more"), "line 2" + strReason);
}

TEST(RegionTextGrid, RefusesAnUnknownClassOfTier)
{
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 1\n\"PitchTier\""),
              "line 2: a tier of class 'PitchTier'; only IntervalTier and TextTier are known");
}

TEST(RegionTextGrid, RefusesATextThatIsCutOffAnywhere)
{
    const std::string strText = "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 2 \"IntervalTier\" \"a\" 0 3 1 0 3 \"MALE\" "
                                "\"TextTier\" \"b\" 0 3 1 1 \"B\"";
    EXPECT_EQ(regionsOf(RegionFormat::TEXTGRID, strText).size(), 2u);
    for (std::size_t uiSize = 0; uiSize < strText.size(); ++uiSize)
        EXPECT_THAT(faultOf(RegionFormat::TEXTGRID, strText.substr(0, uiSize)), StartsWith("line 1: "));
}

TEST(RegionTextGrid, SaysWhatIsMissingWhere)
{
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID,
                      "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 1 \"IntervalTier\" \"a\" 0 3 1\n0 \"A\""),
              "line 2: where the stop of an interval belongs, as a number, stands something else; the file is cut off "
              "or damaged");
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 1 \"TextTier\" \"a\" 0 3 1\n0"),
              "line 2: where the mark of a point belongs, as a text between quotes, stands the end of the file; the "
              "file is cut off or damaged");
}

TEST(RegionTextGrid, EndsWithTheTextWhereACountIsTooHigh)
{
    EXPECT_THAT(faultOf(RegionFormat::TEXTGRID,
                        "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 18446744073709551615 \"IntervalTier\" \"a\" 0 3 0"),
                HasSubstr("stands the end of the file"));
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 99999999999999999999"),
              "line 1: the number of tiers is '99999999999999999999', no whole number");
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <exists> -1"),
              "line 1: the number of tiers is '-1', no whole number");
}

TEST(RegionTextGrid, RefusesADamagedNumber)
{
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\"\n0 3,5 <exists> 0"),
              "line 2: the number is '3,5'; write it in seconds, such as 12.5");
}

TEST(RegionTextGrid, RefusesAQuoteThatIsNeverClosed)
{
    EXPECT_EQ(faultOf(RegionFormat::TEXTGRID, "\"ooTextFile\" \"TextGrid\" 0 3 <exists> 1\n\n\"Interval\nTier"),
              "line 3: a quote is opened and never closed");
}

// ---- what is written reads back, whatever it is

Regions anyRegions()
{
    const auto anyTime = [] {
        return *rc::gen::oneOf(rc::gen::cast<double>(rc::gen::inRange(0, 12)),
                               rc::gen::map(rc::gen::arbitrary<double>(), [](double in_dValue) {
                                   return std::isfinite(in_dValue) ? in_dValue : 0.5;
                               }));
    };
    Regions vRegions(*rc::gen::inRange<std::size_t>(0, 12));
    for (LabeledRegion& region : vRegions) {
        region.m_strLabel = *rc::gen::oneOf(
            rc::gen::container<std::string>(rc::gen::element('"', ',', '\t', '\n', '\r', '\\', 'a', ' ', '!', '\0')),
            rc::gen::arbitrary<std::string>());
        const auto [dStart, dStop] = std::minmax({anyTime(), anyTime()});
        region.m_dStart = dStart;
        region.m_dStop = dStop;
    }
    return vRegions;
}

RC_GTEST_PROP(RegionCsv, ReadsBackWhatItWrote, ())
{
    const Regions vRegions = anyRegions();
    RC_ASSERT(backAndForth(RegionFormat::CSV, vRegions) == vRegions);
}

RC_GTEST_PROP(RegionJson, ReadsBackWhatItWroteInAscii, ())
{
    Regions vRegions = anyRegions();
    for (LabeledRegion& region : vRegions)
        for (char& cLetter : region.m_strLabel)
            cLetter = static_cast<char>(cLetter & 0x7F);
    RC_ASSERT(backAndForth(RegionFormat::JSON, vRegions) == vRegions);
}

RC_GTEST_PROP(RegionAudacity, ReadsBackWhatItWroteWithBlanksForTabsAndLineEnds, ())
{
    const Regions vRegions = anyRegions();
    Regions vWanted = vRegions;
    for (LabeledRegion& region : vWanted)
        for (char& cLetter : region.m_strLabel)
            cLetter = std::string("\t\n\r").find(cLetter) == std::string::npos ? cLetter : ' ';
    RC_ASSERT(backAndForth(RegionFormat::AUDACITY, vRegions) == vWanted);
}

RC_GTEST_PROP(RegionTextGrid, ReadsBackWhatItWroteInTheOrderOfStarts, ())
{
    const Regions vRegions = anyRegions();
    Regions vWanted = vRegions;
    std::erase_if(vWanted, [](const LabeledRegion& in_region) { return in_region.m_strLabel.empty(); });
    std::stable_sort(vWanted.begin(), vWanted.end(), [](const LabeledRegion& in_left, const LabeledRegion& in_right) {
        // Points stand behind the intervals that start with them.
        return std::pair(in_left.m_dStart, in_left.m_dStop == in_left.m_dStart) <
               std::pair(in_right.m_dStart, in_right.m_dStop == in_right.m_dStart);
    });
    RC_ASSERT(backAndForth(RegionFormat::TEXTGRID, vRegions, *rc::gen::element(0.0, 7.25)) == vWanted);
}

} // namespace
} // namespace Corvana::Tools
