// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonWriter.h"

#include "tools/JsonDocument.h"
#include "tools/JsonFields.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>

namespace Corvana::Tools {
namespace {

std::string put(const std::string& in_strText)
{
    JsonWriter object;
    object.putText("file", in_strText);
    return object.getLine();
}

TEST(JsonWriter, WritesEveryKindOfValueInTheOrderInWhichItIsGiven)
{
    JsonWriter object;
    object.putNumber("z", std::numeric_limits<std::uint64_t>::max());
    object.putAmount("y", 0.1);
    object.putAmount("x", 2.0);
    object.putFlag("w", true);
    object.putFlag("v", false);
    object.putNull("u");
    object.putText("t", "a \"text\"\n");
    EXPECT_EQ(object.getLine(), "{\"z\":18446744073709551615,\"y\":0.1,\"x\":2.0,\"w\":true,\"v\":false,\"u\":null,"
                                "\"t\":\"a \\\"text\\\"\\n\"}");
}

TEST(JsonWriter, NestsObjectsAndArrays)
{
    JsonWriter object;
    object.beginObject("empty");
    object.end();
    object.beginArray("none");
    object.end();
    object.beginArray("texts");
    object.putItem("a");
    object.putItem("b\\");
    object.end();
    object.beginArray("objects");
    for (std::uint64_t uiItem = 1; uiItem <= 2; ++uiItem) {
        object.beginItem();
        object.putNumber("n", uiItem);
        object.beginObject("inner");
        object.putNull("m");
        object.end();
        object.end();
    }
    object.end();
    object.putNumber("last", 0);
    EXPECT_EQ(object.getLine(), "{\"empty\":{},\"none\":[],\"texts\":[\"a\",\"b\\\\\"],\"objects\":[{\"n\":1,\"inner\":"
                                "{\"m\":null}},{\"n\":2,\"inner\":{\"m\":null}}],\"last\":0}");
}

TEST(JsonWriter, CanBeLeftOpenForMore)
{
    JsonWriter object;
    EXPECT_EQ(object.getLine(), "{}");
    object.putNumber("n", 1);
    EXPECT_EQ(object.getOpenLine(), "{\"n\":1");
}

TEST(JsonWriter, KeepsBytesThatAreNoUtf8BesideTheText)
{
    EXPECT_EQ(put("caf\xc3\xa9.wav"), "{\"file\":\"caf\xc3\xa9.wav\"}");
    EXPECT_EQ(put("caf\xe9.wav"), "{\"file\":\"caf\xEF\xBF\xBD.wav\",\"file_hex\":\"636166e92e776176\"}");
    EXPECT_EQ(put("\xEF\xBF\xBD"), "{\"file\":\"\xEF\xBF\xBD\"}");
}

RC_GTEST_PROP(JsonWriter, WritesEveryTextSoThatItCanBeRead, (const std::string& in_strText))
{
    JsonDocument document;
    RC_ASSERT(document.parse(put(in_strText)));
    JsonFields fields(document.get());
    RC_ASSERT(fields.getText("file") == in_strText);
    RC_ASSERT(fields.getFault().empty());
}

} // namespace
} // namespace Corvana::Tools
