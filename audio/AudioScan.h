// SPDX-License-Identifier: Apache-2.0
#pragma once

// Looking through samples and spectra for what is largest, or for how many meet a condition. Nothing is calculated with
// the values, so they may be looked at in any order: two at a time, in the compilers' vector types, which every
// processor has in some form. Values that are NaN compare as they do alone.

#include "corvana/MathDoubleVector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace Corvana::Audio {

using PairOfValues = double __attribute__((vector_size(2 * sizeof(double))));
/// Of a comparison: all bits of a lane are set, which makes it -1, or none.
using PairOfTruths = long __attribute__((vector_size(2 * sizeof(double))));

inline PairOfValues load(const double* in_pValues)
{
    PairOfValues values;
    std::memcpy(&values, in_pValues, sizeof values);
    return values;
}

inline PairOfValues bothOf(double in_dValue)
{
    return PairOfValues{in_dValue, in_dValue};
}

inline PairOfValues absolute(PairOfValues in_values)
{
    PairOfTruths bits;
    std::memcpy(&bits, &in_values, sizeof bits);
    bits &= 0x7FFFFFFFFFFFFFFFL;
    std::memcpy(&in_values, &bits, sizeof bits);
    return in_values;
}

/// Several side by side: one alone waits for each of its comparisons.
constexpr std::size_t s_uiPairsAtOnce = 4;

/// How many values meet a condition, which makes truths of a pair.
template <class ConditionT>
unsigned long countWhere(const Math::DoubleVector& in_vValues, ConditionT in_condition)
{
    std::array<PairOfTruths, s_uiPairsAtOnce> aCounts{};
    const double* pValue = in_vValues.begin();
    for (; in_vValues.end() - pValue >= 2 * static_cast<long>(s_uiPairsAtOnce); pValue += 2 * s_uiPairsAtOnce)
        for (std::size_t uiPair = 0; uiPair < s_uiPairsAtOnce; ++uiPair) {
            aCounts[uiPair] -= in_condition(load(pValue + 2 * uiPair));
        }
    for (; pValue < in_vValues.end(); ++pValue)
        aCounts[0][0] -= in_condition(bothOf(*pValue))[0];
    const PairOfTruths counts = aCounts[0] + aCounts[1] + aCounts[2] + aCounts[3];
    return static_cast<unsigned long>(counts[0] + counts[1]);
}

/// How many values are farther from 0 than each of some thresholds, looked at once for all of them.
template <std::size_t uiNbOfThresholds>
std::array<unsigned long, uiNbOfThresholds> countBeyond(const Math::DoubleVector& in_vValues,
                                                        const std::array<double, uiNbOfThresholds>& in_adThresholds)
{
    std::array<PairOfTruths, uiNbOfThresholds> aCounts{};
    const double* pValue = in_vValues.begin();
    for (; in_vValues.end() - pValue >= 2; pValue += 2) {
        const PairOfValues values = absolute(load(pValue));
        for (std::size_t uiIndex = 0; uiIndex < uiNbOfThresholds; ++uiIndex)
            aCounts[uiIndex] -= values > bothOf(in_adThresholds[uiIndex]);
    }
    std::array<unsigned long, uiNbOfThresholds> auiCounts{};
    for (std::size_t uiIndex = 0; uiIndex < uiNbOfThresholds; ++uiIndex) {
        const bool bLast = pValue < in_vValues.end() && std::fabs(*pValue) > in_adThresholds[uiIndex];
        auiCounts[uiIndex] = static_cast<unsigned long>(aCounts[uiIndex][0] + aCounts[uiIndex][1]) + (bLast ? 1 : 0);
    }
    return auiCounts;
}

/// The largest of what in_function makes of the values, or in_dFirst where nothing is larger. A NaN never is, and
/// nothing is larger than a NaN.
template <class FunctionT>
double largestOf(const Math::DoubleVector& in_vValues, double in_dFirst, FunctionT in_function)
{
    std::array<PairOfValues, s_uiPairsAtOnce> aLargest;
    aLargest.fill(bothOf(in_dFirst));
    const double* pValue = in_vValues.begin();
    for (; in_vValues.end() - pValue >= 2 * static_cast<long>(s_uiPairsAtOnce); pValue += 2 * s_uiPairsAtOnce)
        for (std::size_t uiPair = 0; uiPair < s_uiPairsAtOnce; ++uiPair) {
            const PairOfValues values = in_function(load(pValue + 2 * uiPair));
            aLargest[uiPair] = values > aLargest[uiPair] ? values : aLargest[uiPair];
        }
    for (; pValue < in_vValues.end(); ++pValue) {
        const PairOfValues values = in_function(bothOf(*pValue));
        aLargest[0] = values > aLargest[0] ? values : aLargest[0];
    }
    double dLargest = in_dFirst;
    for (const PairOfValues& largest : aLargest)
        dLargest = std::max({dLargest, largest[0], largest[1]});
    return dLargest;
}

/// What max_element() finds: the first largest value, but the very first one when it is NaN. There is one at least.
inline const double* findLargest(const Math::DoubleVector& in_vValues)
{
    const double dFirst = in_vValues.front();
    if (std::isnan(dFirst))
        return in_vValues.begin();
    const double dLargest = largestOf(in_vValues, dFirst, [](PairOfValues in_values) { return in_values; });
    const double* pBlock = in_vValues.begin();
    constexpr long iBlock = 2 * static_cast<long>(s_uiPairsAtOnce);
    for (; in_vValues.end() - pBlock >= iBlock; pBlock += iBlock) {
        PairOfTruths found{};
        for (std::size_t uiPair = 0; uiPair < s_uiPairsAtOnce; ++uiPair) {
            found |= load(pBlock + 2 * uiPair) == bothOf(dLargest);
        }
        if ((found[0] | found[1]) != 0)
            break;
    }
    return std::find(pBlock, in_vValues.end(), dLargest);
}

/// The largest absolute value; NaN where the first value is; 0 for no values.
inline double peakOf(const Math::DoubleVector& in_vWindow)
{
    if (in_vWindow.empty())
        return 0.0;
    return largestOf(in_vWindow, std::fabs(in_vWindow.front()), absolute);
}

} // namespace Corvana::Audio
