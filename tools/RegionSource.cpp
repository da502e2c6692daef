// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionSource.h"

#include <string_view>

namespace Corvana::Tools {
namespace {

struct Prefix
{
    std::string_view m_strPrefix;
    RegionSource m_source;
};

// Colours that colour-blind eyes tell apart (Okabe and Ito; Tol), the most frequent sources first.
constexpr Prefix s_aPrefixes[] = {
    {"CPA_", {1, "CPA", Colour::of(0xE69F00)}},           {"CORVANA_", {2, "CORVANA", Colour::of(0x009E73)}},
    {"DIALOGIC_", {3, "DIALOGIC", Colour::of(0xCC79A7)}}, {"EAMD_", {4, "EAMD", Colour::of(0x44AA99)}},
    {"TEST1_", {5, "TEST1", Colour::of(0xD55E00)}},       {"TEST2_", {6, "TEST2", Colour::of(0x56B4E9)}},
    {"TEST3_", {7, "TEST3", Colour::of(0x999933)}},       {"TEST4_", {8, "TEST4", Colour::of(0x882255)}},
    {"TEST5_", {9, "TEST5", Colour::of(0x332288)}},       {"SF_", {10, "classes", Colour::of(0x808080)}}};

constexpr RegionSource s_heard{0, "heard", Colour::of(0x0072B2)};

} // namespace

const RegionSource& regionSourceOf(const std::string& in_strLabel)
{
    for (const Prefix& prefix : s_aPrefixes)
        if (in_strLabel.starts_with(prefix.m_strPrefix))
            return prefix.m_source;
    return s_heard;
}

} // namespace Corvana::Tools
