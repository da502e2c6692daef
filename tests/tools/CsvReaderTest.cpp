// SPDX-License-Identifier: Apache-2.0
#include "tools/CsvReader.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;

using Rows = std::vector<std::vector<std::string>>;

Rows rowsOf(const std::string& in_strText, std::string& out_strFault)
{
    CsvReader reader(in_strText);
    Rows vRows;
    std::vector<std::string> vFields;
    while (reader.next(vFields))
        vRows.push_back(vFields);
    out_strFault = reader.getFault();
    return vRows;
}

Rows rowsOf(const std::string& in_strText)
{
    std::string strFault;
    Rows vRows = rowsOf(in_strText, strFault);
    EXPECT_EQ(strFault, "");
    return vRows;
}

std::string faultOf(const std::string& in_strText)
{
    std::string strFault;
    rowsOf(in_strText, strFault);
    return strFault;
}

TEST(CsvReader, TakesRowsWithEveryLineEnd)
{
    EXPECT_EQ(rowsOf("a,b\nc,d\r\ne,f\rg,h"), (Rows{{"a", "b"}, {"c", "d"}, {"e", "f"}, {"g", "h"}}));
}

TEST(CsvReader, KeepsEmptyFieldsAndBlanks)
{
    EXPECT_EQ(rowsOf(",\n a ,\n"), (Rows{{"", ""}, {" a ", ""}}));
}

TEST(CsvReader, PassesOverEmptyLines)
{
    EXPECT_EQ(rowsOf("\n\r\na\n\n\nb\n\n"), (Rows{{"a"}, {"b"}}));
}

TEST(CsvReader, RefusesARowOfSoManyColumnsThatItWouldTakeAllMemory)
{
    EXPECT_EQ(rowsOf(std::string(999, ',')).at(0).size(), 1000u);
    EXPECT_EQ(faultOf("a\n" + std::string(1000, ',')), "line 2: a row of more than 1000 columns");
}

TEST(CsvReader, HasNoRowsInAnEmptyText)
{
    EXPECT_EQ(rowsOf(""), Rows());
}

TEST(CsvReader, TakesQuotesThatEndWithTheText)
{
    EXPECT_EQ(rowsOf("a,\"b,c\""), (Rows{{"a", "b,c"}}));
}

TEST(CsvReader, TakesWhatStandsBetweenQuotes)
{
    EXPECT_EQ(rowsOf("\"a,b\",\"say \"\"no\"\"\",\"two\r\nlines\",\"\"\n"),
              (Rows{{"a,b", "say \"no\"", "two\r\nlines", ""}}));
}

TEST(CsvReader, TellsTheLineWhereARowBegins)
{
    CsvReader reader("a\n\"b\r\nb\nb\"\n\nc\n");
    std::vector<std::string> vFields;
    std::vector<unsigned long> vLines;
    while (reader.next(vFields))
        vLines.push_back(reader.getLine());
    EXPECT_THAT(vLines, ElementsAre(1, 2, 6));
}

TEST(CsvReader, CountsEachLineEndOnce)
{
    for (const char* szText : {"a\nb\nc\n", "a\r\nb\r\nc\r\n", "a\rb\rc\r"}) {
        CsvReader reader(szText);
        std::vector<std::string> vFields;
        std::vector<unsigned long> vLines;
        while (reader.next(vFields))
            vLines.push_back(reader.getLine());
        EXPECT_THAT(vLines, ElementsAre(1, 2, 3)) << szText;
    }
}

TEST(CsvReader, RefusesAQuoteInsideAPlainField)
{
    EXPECT_EQ(faultOf("a\nb\"c\n"), "line 2: a quote inside a field that does not begin with one; put the whole field "
                                    "between quotes and write the quote twice");
}

TEST(CsvReader, RefusesTextBehindAClosingQuote)
{
    EXPECT_EQ(faultOf("\"a\nb\"c\n"),
              "line 2: text behind the closing quote of a field; write quotes that belong to it twice");
}

TEST(CsvReader, TellsWhereAnUnclosedQuoteBegins)
{
    EXPECT_EQ(faultOf("a\n\"b\nc\nd"), "line 2: a field begins with a quote that is never closed");
}

TEST(CsvReader, GivesNoRowAfterAFault)
{
    CsvReader reader("a\"\nb\n");
    std::vector<std::string> vFields;
    EXPECT_FALSE(reader.next(vFields));
    EXPECT_FALSE(reader.next(vFields));
}

} // namespace
} // namespace Corvana::Tools
