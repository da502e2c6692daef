// SPDX-License-Identifier: Apache-2.0
#include "tools/TableSettings.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <functional>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

TableSettings sampleSettings()
{
    TableSettings settings;
    settings.m_strVersion = "1.2.3";
    settings.m_format = RowFormat::JSONL;
    settings.m_uiWindowMs = 16;
    settings.m_uiOverlapMs = 8;
    settings.m_bSuppressDC = true;
    settings.m_uiSampleRate = 8000;
    settings.m_vFeatures = {"spectrum500hz", "spectrum|flatness"};
    settings.m_vFormulas = {{"level\xff", "mean(x*x)"}};
    settings.m_uiShard = 2;
    settings.m_uiNbOfShards = 7;
    settings.m_uiNbOfInputs = 1000;
    settings.m_uiInputsDigest = 0xabc;
    return settings;
}

json jsonOf(const TableSettings& in_settings)
{
    JsonWriter object;
    in_settings.put(object);
    return json::parse(object.getLine());
}

std::string faultOf(const json& in_object)
{
    JsonFields fields(in_object);
    TableSettings::read(fields);
    return fields.getFault();
}

TEST(TableSettings, AreWrittenAsTheDocumentsTell)
{
    JsonWriter object;
    sampleSettings().put(object);
    EXPECT_EQ(object.getLine(),
              "{\"version\":\"1.2.3\",\"format\":\"jsonl\",\"configuration\":{\"window_ms\":16,\"overlap_ms\":8,"
              "\"suppress_dc\":true,\"sample_rate\":8000,\"labels\":false,\"features\":[\"spectrum500hz\","
              "\"spectrum|flatness\"],\"formulas\":[{\"name\":\"level\xEF\xBF\xBD\",\"name_hex\":\"6c6576656cff\","
              "\"formula\":\"mean(x*x)\"}]},\"shard\":{\"index\":2,\"of\":7},\"inputs_total\":1000,"
              "\"inputs_before\":142,\"inputs_digest\":\"00000abc\"}");
}

TEST(TableSettings, AreReadBackAsTheyWere)
{
    TableSettings whole = sampleSettings();
    whole.m_uiShard = whole.m_uiNbOfShards = 0;
    whole.m_uiSampleRate = 0;
    for (const TableSettings& settings : {sampleSettings(), whole}) {
        const json object = jsonOf(settings);
        JsonFields fields(object);
        EXPECT_EQ(differenceOf(settings, TableSettings::read(fields)), "");
        EXPECT_EQ(fields.getFault(), "");
    }
}

TEST(TableSettings, TellTheFirstDifferenceInTheWordsOfTheCommand)
{
    const auto changed = [](const std::function<void(TableSettings&)>& in_change) {
        TableSettings settings = sampleSettings();
        in_change(settings);
        return differenceOf(sampleSettings(), settings);
    };
    EXPECT_EQ(changed([](TableSettings&) {}), "");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_strVersion = "1.3"; }),
              "the version of corvana was 1.2.3 and is 1.3");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_format = RowFormat::NPY; }),
              "--format was jsonl and is npy");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiWindowMs = 32; }),
              "--window-ms was 16 and is 32");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiOverlapMs = 0; }),
              "--overlap-ms was 8 and is 0");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_bSuppressDC = false; }),
              "--suppress-dc was given and is not given");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiSampleRate = 0; }),
              "--sample-rate was 8000 and is file");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_bLabels = true; }),
              "--labels was not given and is given");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_vFeatures[1] = "silenceratio"; }),
              "--feature number 2 was 'spectrum|flatness' and is 'silenceratio'");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_vFeatures.pop_back(); }),
              "--feature number 2 was 'spectrum|flatness' and is not given");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_vFormulas = {}; }),
              "--expr was 'level\xff=mean(x*x)' and is not given");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiShard = 3; }), "--shard was 2/7 and is 3/7");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiNbOfShards = 0; }),
              "--shard was 2/7 and is not given");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiNbOfInputs = 1001; }),
              "the number of inputs was 1000 and is 1001");
    EXPECT_EQ(changed([](TableSettings& out_settings) { out_settings.m_uiInputsDigest = 0xabd; }),
              "the list of inputs (the checksum of their names) was 00000abc and is 00000abd");
    EXPECT_EQ(changed([](TableSettings& out_settings) {
                  out_settings.m_uiNbOfInputs = 1;
                  out_settings.m_uiWindowMs = 1;
              }),
              "--window-ms was 16 and is 1");
}

RC_GTEST_PROP(TableSettings, SharesAllInputsAmongTheShards, ())
{
    TableSettings settings;
    settings.m_uiNbOfInputs = *rc::gen::inRange<std::uint64_t>(0, 3000);
    settings.m_uiNbOfShards = *rc::gen::inRange<std::uint64_t>(1, 2000);
    std::uint64_t uiEnd = 0;
    for (settings.m_uiShard = 1; settings.m_uiShard <= settings.m_uiNbOfShards; ++settings.m_uiShard) {
        RC_ASSERT(settings.getFirstInput() == uiEnd);
        uiEnd = settings.getEndOfInputs();
        const std::uint64_t uiLeast = settings.m_uiNbOfInputs / settings.m_uiNbOfShards;
        RC_ASSERT(uiEnd - settings.getFirstInput() == uiLeast || uiEnd - settings.getFirstInput() == uiLeast + 1);
    }
    RC_ASSERT(uiEnd == settings.m_uiNbOfInputs);
}

TEST(TableSettings, ShareTheMostInputsWithoutOverflow)
{
    TableSettings settings;
    settings.m_uiNbOfInputs = s_uiMaxNbOfInputs;
    settings.m_uiShard = settings.m_uiNbOfShards = s_uiMaxNbOfShards;
    EXPECT_EQ(settings.getEndOfInputs(), s_uiMaxNbOfInputs);
    EXPECT_EQ(settings.getFirstInput(), s_uiMaxNbOfInputs - s_uiMaxNbOfInputs / s_uiMaxNbOfShards);
}

TEST(TableSettings, AreRefusedWithEachFieldDamaged)
{
    const json good = jsonOf(sampleSettings());
    const auto with = [&good](const char* in_szPointer, const json& in_value) {
        json object = good;
        object[json::json_pointer(in_szPointer)] = in_value;
        return faultOf(object);
    };
    EXPECT_EQ(faultOf(good), "");
    EXPECT_EQ(with("/version", 1), "'version' is no text");
    EXPECT_EQ(with("/format", "xml"), "'format' is none of csv, jsonl and npy");
    EXPECT_EQ(with("/configuration", json::array()), "'configuration' is no object");
    EXPECT_EQ(with("/configuration/window_ms", -16), "'window_ms' is no whole number from 0 to 600000");
    EXPECT_EQ(with("/configuration/overlap_ms", 1e9), "'overlap_ms' is no whole number from 0 to 600000");
    EXPECT_EQ(with("/configuration/suppress_dc", 0), "'suppress_dc' is neither true nor false");
    EXPECT_EQ(with("/configuration/sample_rate", "file"), "'sample_rate' is no whole number from 0 to 10000000");
    EXPECT_EQ(with("/configuration/features", "spectrum"), "'features' is no array");
    EXPECT_EQ(with("/configuration/features/0", 1), "one of 'features' is no text");
    EXPECT_EQ(with("/configuration/formulas/0", 1), "is no JSON object");
    EXPECT_EQ(with("/configuration/formulas/0/formula", 1), "'formula' is no text");
    EXPECT_EQ(with("/shard", 1), "'shard' is no object");
    EXPECT_EQ(with("/shard/index", 8U), "'index' is no whole number from 0 to 7");
    EXPECT_EQ(with("/shard/index", 0U), "'index' of 'shard' is 0");
    EXPECT_EQ(with("/shard/of", 1000000001U), "'of' is no whole number from 0 to 1000000000");
    EXPECT_EQ(with("/shard/of", 0U), "'index' is no whole number from 0 to 0");
    EXPECT_EQ(with("/inputs_total", -1), "'inputs_total' is no whole number from 0 to 1000000000000");
    EXPECT_EQ(with("/inputs_before", 143U), "'inputs_before' is not where the inputs of the shard begin");
    EXPECT_EQ(with("/inputs_digest", "abc"), "'inputs_digest' is no checksum of 8 hexadecimal digits");
}

} // namespace
} // namespace Corvana::Tools
