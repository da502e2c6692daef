// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonDocument.h"

#include <gtest/gtest.h>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

// What was read, or why it was not.
std::string read(const std::string& in_strText)
{
    JsonDocument document;
    return document.parse(in_strText) ? document.get().dump() : document.getFault();
}

std::string nested(std::size_t in_uiDepth, char in_cOpening, char in_cClosing)
{
    return std::string(in_uiDepth, in_cOpening) + std::string(in_uiDepth, in_cClosing);
}

TEST(JsonDocument, ReadsEveryKindOfValue)
{
    for (const char* szText : {"null", "true", "false", "7", "-7", "1.5", "18446744073709551615", "\"a\\\"b\"", "[]",
                               "{}", "[1,[2,[]],{\"a\":[{}]},\"x\"]", "{\"a\":{\"b\":[null,true]},\"c\":-1}"})
        EXPECT_EQ(read(szText), szText);
}

TEST(JsonDocument, KeepsTheKindsOfNumbersApart)
{
    JsonDocument document;
    ASSERT_TRUE(document.parse("[7,-7,7.0]"));
    EXPECT_TRUE(document.get()[0].is_number_unsigned());
    EXPECT_FALSE(document.get()[1].is_number_unsigned());
    EXPECT_TRUE(document.get()[2].is_number_float());
}

TEST(JsonDocument, TakesTheLastOfTheValuesOfAKey)
{
    EXPECT_EQ(read("{\"a\":{\"b\":[1]},\"c\":1,\"a\":2}"), "{\"a\":2,\"c\":1}");
    EXPECT_EQ(read("{\"a\":2,\"a\":{\"b\":1},\"a\":{\"c\":1}}"), "{\"a\":{\"c\":1}}");
}

TEST(JsonDocument, RefusesWhatIsNoJson)
{
    for (const char* szText : {"", "{", "[1,2", "[1,]", "{\"a\"}", "{\"a\":}", "1 2", "1e400", "\"\xff\"", "nul", "]"})
        EXPECT_EQ(read(szText), "is no JSON") << szText;
}

// A stack that any depth had to fit in could be exhausted.
TEST(JsonDocument, RefusesWhatIsNestedDeeperThanAnythingThatIsWritten)
{
    const std::string strFault = "is nested deeper than anything that corvana writes";
    EXPECT_EQ(read(nested(16, '[', ']')), nested(16, '[', ']'));
    EXPECT_EQ(read(nested(17, '[', ']')), strFault);
    EXPECT_EQ(read(std::string(16U << 20U, '[')), strFault);
    EXPECT_EQ(read("{\"a\":" + nested(15, '[', ']') + "}"), "{\"a\":" + nested(15, '[', ']') + "}");
    EXPECT_EQ(read("{\"a\":" + nested(16, '[', ']') + "}"), strFault);
    EXPECT_EQ(read(nested(15, '[', ']').insert(15, "{}")), nested(15, '[', ']').insert(15, "{}"));
    EXPECT_EQ(read(nested(16, '[', ']').insert(16, "{}")), strFault);
}

} // namespace
} // namespace Corvana::Tools
