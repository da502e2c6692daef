// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsDiff.h"

#include "corvana/NumberText.h"
#include "tools/RegionComparison.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/RowWriter.h"
#include "tools/Text.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

namespace Corvana::Tools {
namespace {

using Pair = RegionComparison::Pair;
using Annotation = RegionComparison::Annotation;

/// One of the two recordings.
struct Side
{
    std::string m_strPath;
    Audio::AnnotatedFile m_file;
    RegionComparison::Regions m_vRegions; // without the identifiers that the file skips
    std::vector<std::size_t> m_vIndices;  // what 'list' calls them
};

bool isDifference(const Pair& in_pair, const Side& in_left, const Side& in_right)
{
    return !in_pair.m_uiLeft || !in_pair.m_uiRight || !in_pair.m_bSameTimes ||
           in_left.m_vRegions[*in_pair.m_uiLeft].m_type != in_right.m_vRegions[*in_pair.m_uiRight].m_type;
}

std::string typeOf(const Annotation& in_region)
{
    return regionTypeText(in_region.m_type);
}

// A stop is a start and a length added up, which may end in a digit that nobody wants to see.
std::string timeOf(double in_dSeconds, const Side& in_side)
{
    const double dRate = in_side.m_file.getSampleRate();
    return toShortestText(std::round(in_dSeconds * dRate) / dRate);
}

std::string timesOf(const Side& in_side, std::size_t in_uiRegion)
{
    const Annotation& region = in_side.m_vRegions[in_uiRegion];
    return timeOf(region.m_dStartTime, in_side) + " to " + timeOf(region.m_dStopTime, in_side) + " s";
}

std::string lineOf(const Pair& in_pair, const Side& in_left, const Side& in_right)
{
    if (!in_pair.m_uiRight)
        return "< " + typeOf(in_left.m_vRegions[*in_pair.m_uiLeft]) + " " + timesOf(in_left, *in_pair.m_uiLeft) + "\n";
    if (!in_pair.m_uiLeft)
        return "> " + typeOf(in_right.m_vRegions[*in_pair.m_uiRight]) + " " + timesOf(in_right, *in_pair.m_uiRight) +
               "\n";
    const Annotation& left = in_left.m_vRegions[*in_pair.m_uiLeft];
    const Annotation& right = in_right.m_vRegions[*in_pair.m_uiRight];
    return (left.m_type == right.m_type ? std::string("moved ") : "retyped " + typeOf(left) + " -> ") + typeOf(right) +
           " " + timesOf(in_left, *in_pair.m_uiLeft) +
           (in_pair.m_bSameTimes ? "" : " -> " + timesOf(in_right, *in_pair.m_uiRight)) + "\n";
}

const char* kindOf(const Pair& in_pair, const Side& in_left, const Side& in_right)
{
    if (!in_pair.m_uiRight)
        return "only_left";
    if (!in_pair.m_uiLeft)
        return "only_right";
    const bool bRetyped =
        in_left.m_vRegions[*in_pair.m_uiLeft].m_type != in_right.m_vRegions[*in_pair.m_uiRight].m_type;
    return bRetyped ? "retyped" : "moved";
}

std::string jsonOf(const Side& in_side, std::optional<std::size_t> in_uiRegion)
{
    if (!in_uiRegion)
        return "null";
    const Annotation& region = in_side.m_vRegions[*in_uiRegion];
    std::string strText = "{\"index\":" + std::to_string(in_side.m_vIndices[*in_uiRegion]) +
                          ",\"type\":" + jsonString(typeOf(region)) + ",\"start\":";
    appendJsonNumber(strText, region.m_dStartTime);
    strText += ",\"stop\":";
    appendJsonNumber(strText, region.m_dStopTime);
    return strText + "}";
}

class Diff
{
public:
    Diff(const CommandAnnotationsDiff::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_data(out_data)
        , m_messages(out_messages, in_options.m_messages.m_bQuiet)
        , m_log(m_messages, in_options.m_messages.m_iLogLevel)
    {
    }

    int run()
    {
        if (m_options.m_vFiles.size() != 2) {
            m_messages.error("wants two recordings to compare, not " + std::to_string(m_options.m_vFiles.size()));
            return CommandAnnotationsDiff::TROUBLE;
        }
        const bool bLeft = read(m_options.m_vFiles[0], m_left);
        const bool bRight = read(m_options.m_vFiles[1], m_right);
        if (!bLeft || !bRight)
            return CommandAnnotationsDiff::TROUBLE;
        RegionComparison comparison(m_left.m_vRegions, m_right.m_vRegions,
                                    m_options.m_dToleranceSeconds + resolution());
        if (!comparison.compare()) {
            m_messages.error("too many regions overlap to be compared");
            return CommandAnnotationsDiff::TROUBLE;
        }
        return write(comparison.pairs());
    }

private:
    bool read(const std::string& in_strPath, Side& out_side)
    {
        m_log.beginInput(in_strPath);
        const std::string strFault = readRegionsOf(in_strPath, out_side.m_file, m_log);
        m_log.endInput();
        if (!strFault.empty()) {
            m_messages.inputError(in_strPath, strFault);
            return false;
        }
        out_side.m_strPath = in_strPath;
        for (std::size_t uiIndex = 0; uiIndex < out_side.m_file.annotations().size(); ++uiIndex) {
            if (!isRegionType(out_side.m_file.annotations()[uiIndex].m_type))
                continue;
            out_side.m_vRegions.push_back(out_side.m_file.annotations()[uiIndex]);
            out_side.m_vIndices.push_back(uiIndex);
        }
        return true;
    }

    // How far apart times are that mean the same, in seconds. At one rate these are those of the same sample. At two,
    // start and length were each rounded to a sample of either.
    double resolution() const
    {
        const double dLeft = m_left.m_file.getSampleRate();
        const double dRight = m_right.m_file.getSampleRate();
        return dLeft == dRight ? 0.5 / dLeft : 1.0 / dLeft + 1.0 / dRight;
    }

    int write(const std::vector<Pair>& in_vPairs)
    {
        std::vector<Pair> vDifferences;
        std::copy_if(in_vPairs.begin(), in_vPairs.end(), std::back_inserter(vDifferences),
                     [this](const Pair& in_pair) { return isDifference(in_pair, m_left, m_right); });
        if (m_options.m_bJson)
            writeJson(vDifferences, in_vPairs.size() - vDifferences.size());
        else
            for (const Pair& pair : vDifferences)
                m_data << lineOf(pair, m_left, m_right);
        if (!m_data.flush())
            return CommandAnnotationsDiff::TROUBLE;
        return vDifferences.empty() ? CommandAnnotationsDiff::SAME : CommandAnnotationsDiff::DIFFERENT;
    }

    void writeJson(const std::vector<Pair>& in_vDifferences, std::size_t in_uiNbOfSame)
    {
        m_data << "{\n  \"left\": " + jsonString(m_left.m_strPath) +
                      ",\n  \"right\": " + jsonString(m_right.m_strPath) +
                      ",\n  \"same\": " + std::to_string(in_uiNbOfSame) + ",\n  \"differences\": [";
        const char* szBetween = "\n    ";
        for (const Pair& pair : in_vDifferences) {
            m_data << szBetween << "{\"kind\":\"" << kindOf(pair, m_left, m_right)
                   << "\",\"left\":" << jsonOf(m_left, pair.m_uiLeft)
                   << ",\"right\":" << jsonOf(m_right, pair.m_uiRight) << '}';
            szBetween = ",\n    ";
        }
        m_data << (in_vDifferences.empty() ? "]\n}\n" : "\n  ]\n}\n");
    }

    const CommandAnnotationsDiff::Options& m_options;
    std::ostream& m_data;
    Messages m_messages;
    LogBridge m_log;
    Side m_left;
    Side m_right;
};

} // namespace

int CommandAnnotationsDiff::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Diff(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
