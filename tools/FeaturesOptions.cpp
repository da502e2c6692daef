// SPDX-License-Identifier: Apache-2.0
#include "tools/FeaturesOptions.h"

#include <algorithm>

namespace Corvana::Tools {
namespace {

using Options = CommandFeatures::Options;

bool readsStandardInput(const Options& in_options)
{
    return std::find(in_options.m_vInputs.begin(), in_options.m_vInputs.end(), "-") != in_options.m_vInputs.end();
}

std::string faultOfLabels(const Options& in_options)
{
    if (readsStandardInput(in_options))
        return "--labels reads regions from files, which standard input is not";
    for (const NamedFormula& formula : in_options.m_vFormulas)
        if (formula.m_strName == "labels")
            return "the name 'labels' would be that of two columns";
    return "";
}

std::string faultOfShard(const Options& in_options)
{
    if (readsStandardInput(in_options))
        return "--shard shares files among several runs, which standard input is not";
    return isToNamedFile(in_options) ? "" : "--shard makes a part of a table, which needs a file: name it with -o FILE";
}

std::string faultOfTable(const Options& in_options)
{
    const bool bNpy = in_options.m_format == RowFormat::NPY;
    if (bNpy && in_options.m_bLabels)
        return "--labels gives words, and --format npy holds numbers: write csv or jsonl, or leave one out";
    if (in_options.m_bResume && readsStandardInput(in_options))
        return "--resume goes on with files, which standard input is not";
    if (isToNamedFile(in_options) || !hasInputs(in_options))
        return "";
    if (bNpy)
        return "--format npy writes more than one file: name the first with -o FILE.npy";
    if (in_options.m_bResume)
        return "--resume goes on with a file: name it with -o FILE";
    return in_options.m_bDescription ? "--sidecar stands beside a file: name that with -o FILE" : "";
}

std::string faultOfFailures(const Options& in_options)
{
    const std::string& strFile = in_options.m_strFailures;
    return strFile == "-" || strFile == "/dev/stdout"
               ? "--failures writes a table of its own, which needs a file: name it with --failures FILE"
               : "";
}

} // namespace

bool hasInputs(const Options& in_options)
{
    return !in_options.m_vInputs.empty() || !in_options.m_vLists.empty();
}

bool isSharded(const Options& in_options)
{
    return in_options.m_shard.m_bGiven || in_options.m_shard.m_uiNbOfShards > 1;
}

bool isToNamedFile(const Options& in_options)
{
    return !in_options.m_strOutput.empty() && in_options.m_strOutput != "-";
}

std::string faultOf(const Options& in_options)
{
    if (!hasInputs(in_options) && in_options.m_strSaveConfig.empty())
        return "no recording given: name at least one, or a list of them with --list FILE";
    std::string strFault = faultOf(in_options.m_windows);
    if (strFault.empty() && in_options.m_bLabels)
        strFault = faultOfLabels(in_options);
    if (strFault.empty() && isSharded(in_options))
        strFault = faultOfShard(in_options);
    if (strFault.empty())
        strFault = faultOfTable(in_options);
    return strFault.empty() ? faultOfFailures(in_options) : strFault;
}

} // namespace Corvana::Tools
