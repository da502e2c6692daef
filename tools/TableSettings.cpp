// SPDX-License-Identifier: Apache-2.0
#include "tools/TableSettings.h"

#include "tools/Checksum.h"
#include "tools/RecordingAnalysis.h"
#include "tools/Text.h"

#include <algorithm>
#include <utility>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

constexpr RowFormat s_aFormats[] = {RowFormat::CSV, RowFormat::JSONL, RowFormat::NPY};

// The first input of a shard, counted from 0; of the one behind the last, all inputs.
std::uint64_t beginOfShard(std::uint64_t in_uiShard, std::uint64_t in_uiNbOfShards, std::uint64_t in_uiNbOfInputs)
{
    return in_uiShard * (in_uiNbOfInputs / in_uiNbOfShards) +
           in_uiShard * (in_uiNbOfInputs % in_uiNbOfShards) / in_uiNbOfShards;
}

void putConfiguration(JsonWriter& inout_object, const TableSettings& in_settings)
{
    inout_object.beginObject("configuration");
    inout_object.putNumber("window_ms", in_settings.m_uiWindowMs);
    inout_object.putNumber("overlap_ms", in_settings.m_uiOverlapMs);
    inout_object.putFlag("suppress_dc", in_settings.m_bSuppressDC);
    if (in_settings.m_uiSampleRate == 0)
        inout_object.putNull("sample_rate");
    else
        inout_object.putNumber("sample_rate", in_settings.m_uiSampleRate);
    inout_object.putFlag("labels", in_settings.m_bLabels);
    inout_object.beginArray("features");
    for (const std::string& strFeature : in_settings.m_vFeatures)
        inout_object.putItem(strFeature); // which has been understood, so it is ASCII
    inout_object.end();
    inout_object.beginArray("formulas");
    for (const NamedFormula& formula : in_settings.m_vFormulas) {
        inout_object.beginItem();
        inout_object.putText("name", formula.m_strName);
        inout_object.putText("formula", formula.m_strFormula);
        inout_object.end();
    }
    inout_object.end();
    inout_object.end();
}

RowFormat readFormat(JsonFields& inout_fields)
{
    const std::string strName = inout_fields.getText("format");
    for (const RowFormat format : s_aFormats)
        if (strName == nameOf(format))
            return format;
    inout_fields.setFault("'format' is none of csv, jsonl and npy");
    return RowFormat::CSV;
}

void readConfiguration(JsonFields& inout_configuration, TableSettings& out_settings)
{
    out_settings.m_uiWindowMs = inout_configuration.getNumber("window_ms", s_uiMaxWindowMs);
    out_settings.m_uiOverlapMs = inout_configuration.getNumber("overlap_ms", s_uiMaxWindowMs);
    out_settings.m_bSuppressDC = inout_configuration.getFlag("suppress_dc");
    if (!inout_configuration.isNull("sample_rate"))
        out_settings.m_uiSampleRate = inout_configuration.getNumber("sample_rate", s_uiMaxSampleRate);
    out_settings.m_bLabels = inout_configuration.getFlag("labels");
    for (const json& feature : inout_configuration.getArray("features")) {
        if (!feature.is_string())
            return inout_configuration.setFault("one of 'features' is no text");
        out_settings.m_vFeatures.push_back(feature.get<std::string>());
    }
    for (const json& item : inout_configuration.getArray("formulas")) {
        JsonFields formula(item);
        std::string strName = formula.getText("name");
        out_settings.m_vFormulas.push_back({std::move(strName), formula.getText("formula")});
        inout_configuration.setFault(formula.getFault());
    }
}

void readShard(JsonFields& inout_fields, TableSettings& out_settings)
{
    if (!inout_fields.has("shard"))
        return;
    JsonFields shard(inout_fields.getObject("shard"));
    out_settings.m_uiNbOfShards = shard.getNumber("of", s_uiMaxNbOfShards);
    out_settings.m_uiShard = shard.getNumber("index", out_settings.m_uiNbOfShards);
    if (out_settings.m_uiShard == 0)
        shard.setFault("'index' of 'shard' is 0");
    inout_fields.setFault(shard.getFault());
}

std::string asText(std::uint64_t in_uiNumber)
{
    return std::to_string(in_uiNumber);
}

std::string asText(bool in_bGiven)
{
    return in_bGiven ? "given" : "not given";
}

std::string rateText(std::uint64_t in_uiSampleRate)
{
    return in_uiSampleRate == 0 ? "file" : asText(in_uiSampleRate);
}

std::string shardText(const TableSettings& in_settings)
{
    return in_settings.m_uiNbOfShards == 0 ? "not given"
                                           : asText(in_settings.m_uiShard) + "/" + asText(in_settings.m_uiNbOfShards);
}

std::string textOf(const std::string& in_strFeature)
{
    return inQuotes(in_strFeature);
}

std::string textOf(const NamedFormula& in_formula)
{
    return inQuotes(in_formula.m_strName + "=" + in_formula.m_strFormula);
}

template <class ItemT>
std::string textAt(const std::vector<ItemT>& in_vItems, std::size_t in_uiItem)
{
    return in_uiItem < in_vItems.size() ? textOf(in_vItems[in_uiItem]) : "not given";
}

/// Keeps the first difference that it is told of.
class Comparison
{
public:
    void add(const std::string& in_strWhat, const std::string& in_strFormer, const std::string& in_strNow)
    {
        if (m_difference.m_strWhat.empty() && in_strFormer != in_strNow)
            m_difference = {in_strWhat, in_strFormer, in_strNow};
    }

    template <class ItemT>
    void addEach(const std::string& in_strWhat, const std::vector<ItemT>& in_vFormer, const std::vector<ItemT>& in_vNow)
    {
        const std::size_t uiNbOfItems = std::max(in_vFormer.size(), in_vNow.size());
        for (std::size_t uiItem = 0; uiItem < uiNbOfItems; ++uiItem)
            add(in_strWhat + (uiNbOfItems == 1 ? "" : " number " + asText(uiItem + 1)), textAt(in_vFormer, uiItem),
                textAt(in_vNow, uiItem));
    }

    const SettingsDifference& get() const { return m_difference; }

private:
    SettingsDifference m_difference;
};

} // namespace

const char* nameOf(RowFormat in_format)
{
    constexpr const char* aszNames[] = {"csv", "jsonl", "npy"};
    return aszNames[static_cast<std::size_t>(in_format)];
}

std::uint64_t TableSettings::getFirstInput() const
{
    return m_uiNbOfShards == 0 ? 0 : beginOfShard(m_uiShard - 1, m_uiNbOfShards, m_uiNbOfInputs);
}

std::uint64_t TableSettings::getEndOfInputs() const
{
    return m_uiNbOfShards == 0 ? m_uiNbOfInputs : beginOfShard(m_uiShard, m_uiNbOfShards, m_uiNbOfInputs);
}

void TableSettings::put(JsonWriter& inout_object) const
{
    inout_object.putText("version", m_strVersion);
    inout_object.putText("format", nameOf(m_format));
    putConfiguration(inout_object, *this);
    if (m_uiNbOfShards > 0) {
        inout_object.beginObject("shard");
        inout_object.putNumber("index", m_uiShard);
        inout_object.putNumber("of", m_uiNbOfShards);
        inout_object.end();
    }
    inout_object.putNumber("inputs_total", m_uiNbOfInputs);
    inout_object.putNumber("inputs_before", getFirstInput());
    inout_object.putText("inputs_digest", Checksum(m_uiInputsDigest).getText());
}

TableSettings TableSettings::read(JsonFields& inout_fields)
{
    TableSettings settings;
    settings.m_strVersion = inout_fields.getText("version");
    settings.m_format = readFormat(inout_fields);
    JsonFields configuration(inout_fields.getObject("configuration"));
    readConfiguration(configuration, settings);
    inout_fields.setFault(configuration.getFault());
    readShard(inout_fields, settings);
    settings.m_uiNbOfInputs = inout_fields.getNumber("inputs_total", s_uiMaxNbOfInputs);
    settings.m_uiInputsDigest = inout_fields.getChecksum("inputs_digest");
    if (inout_fields.getFault().empty() &&
        inout_fields.getNumber("inputs_before", s_uiMaxNbOfInputs) != settings.getFirstInput())
        inout_fields.setFault("'inputs_before' is not where the inputs of the shard begin");
    return settings;
}

SettingsDifference findDifference(const TableSettings& in_former, const TableSettings& in_now)
{
    Comparison comparison;
    comparison.add("the version of corvana", in_former.m_strVersion, in_now.m_strVersion);
    comparison.add("--format", nameOf(in_former.m_format), nameOf(in_now.m_format));
    comparison.add("--window-ms", asText(in_former.m_uiWindowMs), asText(in_now.m_uiWindowMs));
    comparison.add("--overlap-ms", asText(in_former.m_uiOverlapMs), asText(in_now.m_uiOverlapMs));
    comparison.add("--suppress-dc", asText(in_former.m_bSuppressDC), asText(in_now.m_bSuppressDC));
    comparison.add("--sample-rate", rateText(in_former.m_uiSampleRate), rateText(in_now.m_uiSampleRate));
    comparison.add("--labels", asText(in_former.m_bLabels), asText(in_now.m_bLabels));
    comparison.addEach("--feature", in_former.m_vFeatures, in_now.m_vFeatures);
    comparison.addEach("--expr", in_former.m_vFormulas, in_now.m_vFormulas);
    comparison.add("--shard", shardText(in_former), shardText(in_now));
    comparison.add("the number of inputs", asText(in_former.m_uiNbOfInputs), asText(in_now.m_uiNbOfInputs));
    comparison.add("the list of inputs (the checksum of their names)", Checksum(in_former.m_uiInputsDigest).getText(),
                   Checksum(in_now.m_uiInputsDigest).getText());
    return comparison.get();
}

std::string differenceOf(const TableSettings& in_former, const TableSettings& in_now)
{
    const SettingsDifference difference = findDifference(in_former, in_now);
    return difference.m_strWhat.empty()
               ? std::string()
               : difference.m_strWhat + " was " + difference.m_strFormer + " and is " + difference.m_strNow;
}

} // namespace Corvana::Tools
