// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonFields.h"

#include <gtest/gtest.h>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

std::string faultOf(const json& in_object, void (*in_read)(JsonFields&))
{
    JsonFields fields(in_object);
    in_read(fields);
    return fields.getFault();
}

TEST(JsonFields, ReadsNumbersWithinTheirBounds)
{
    const json object = {{"a", 7U}, {"b", 1.5}, {"c", true}, {"d", nullptr}};
    JsonFields fields(object);
    EXPECT_EQ(fields.getNumber("a", 7), 7U);
    EXPECT_EQ(fields.getAmount("b"), 1.5);
    EXPECT_EQ(fields.getAmount("a"), 7.0);
    EXPECT_TRUE(fields.getFlag("c"));
    EXPECT_TRUE(fields.isNull("d"));
    EXPECT_FALSE(fields.isNull("a") || fields.isNull("none") || fields.has("none"));
    EXPECT_EQ(fields.getFault(), "");
}

TEST(JsonFields, RefusesNumbersThatAreNone)
{
    const auto read = [](JsonFields& inout_fields) { inout_fields.getNumber("n", 9); };
    for (const char* szValue :
         {"10", "-1", "1.5", "1e300", "18446744073709551616", "\"1\"", "null", "[]", "{}", "true"})
        EXPECT_EQ(faultOf({{"n", json::parse(szValue)}}, read), "'n' is no whole number from 0 to 9") << szValue;
    EXPECT_EQ(faultOf(json::object(), read), "'n' is no whole number from 0 to 9");
    for (const char* szValue : {"-0.5", "\"1\"", "null"})
        EXPECT_EQ(faultOf({{"n", json::parse(szValue)}}, [](JsonFields& inout_fields) { inout_fields.getAmount("n"); }),
                  "'n' is no number from 0 on");
    EXPECT_EQ(faultOf(json::object(), [](JsonFields& inout_fields) { inout_fields.getAmount("n"); }),
              "'n' is no number from 0 on");
}

TEST(JsonFields, RefusesWhatIsOfAnotherType)
{
    const json object = {{"n", 1}};
    EXPECT_EQ(faultOf(object, [](JsonFields& inout_fields) { inout_fields.getText("n"); }), "'n' is no text");
    EXPECT_EQ(faultOf(object, [](JsonFields& inout_fields) { inout_fields.getFlag("n"); }),
              "'n' is neither true nor false");
    EXPECT_EQ(faultOf(object, [](JsonFields& inout_fields) { inout_fields.getArray("n"); }), "'n' is no array");
    EXPECT_EQ(faultOf(object, [](JsonFields& inout_fields) { inout_fields.getObject("n"); }), "'n' is no object");
    EXPECT_EQ(faultOf(object, [](JsonFields& inout_fields) { inout_fields.getChecksum("n"); }),
              "'n' is no checksum of 8 hexadecimal digits");
    EXPECT_EQ(faultOf(json::array(), [](JsonFields& inout_fields) { inout_fields.getText("n"); }), "is no JSON object");
    for (const json& hex : {json("7"), json("7g"), json("7A"), json(7)})
        EXPECT_EQ(faultOf({{"n", "x"}, {"n_hex", hex}}, [](JsonFields& inout_fields) { inout_fields.getText("n"); }),
                  "'n_hex' is no text of hexadecimal digits");
}

TEST(JsonFields, KeepsTheFirstFault)
{
    const json object = json::object();
    JsonFields fields(object);
    fields.getText("a");
    fields.getText("b");
    EXPECT_EQ(fields.getFault(), "'a' is no text");
}

} // namespace
} // namespace Corvana::Tools
