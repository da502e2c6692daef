// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace Corvana::Test {

// The features in their plain form: every step as it is defined, on standard vectors, with no regard to speed. They
// share nothing with the library, are the measure of its results bit for bit, and are never made faster.
// An object with memory is copied with it.

using Values = std::vector<double>;

/// What a feature's compute() yields: its result, and what it appended to an empty output.
struct PlainResult
{
    bool m_bDone = false;
    Values m_vValues;
};
using PlainFeature = std::function<PlainResult(const Values&)>;

// ---- Temporal features

struct PlainZeroCrossingRate
{
    double previous = 0.0;
    PlainResult operator()(const Values& in);
};

struct PlainClippingRate
{
    double low;
    double high;
    PlainResult operator()(const Values& in) const;
};

struct PlainSilenceRatio
{
    double ratio;
    PlainResult operator()(const Values& in) const;
};

struct PlainMeanEnergyAboveThresh
{
    double threshold;
    unsigned long count = 0;
    double sum = 0.0;
    PlainResult operator()(const Values& in);
};

struct PlainEnergyHistogram
{
    double maximum;
    unsigned long bins;
    PlainResult operator()(const Values& in) const;
};

struct PlainMaxNeighbourhood
{
    PlainResult operator()(const Values& in) const;
};

struct PlainRatios
{
    bool temporal;
    double runningPeak = 0.0;
    PlainResult operator()(const Values& in);
};

struct PlainMeanMax
{
    double step;
    double baseline;
    unsigned long count = 0;
    double sum = 0.0;
    double largest = 1.0;
    double elapsed = 0.0;
    double blockMaximum = -1.0;
    PlainResult operator()(const Values& in);
};

struct PlainDeltaToSlidingMean
{
    std::deque<double> last;
    PlainResult operator()(const Values& in);
};

// ---- Spectral range features

struct PlainSpectralRange
{
    unsigned long centerHz;
    unsigned long halfWidthHz;
    bool established = false;
    unsigned long start = 0;
    unsigned long length = 0;
    double relativePosition = 0.0;
    PlainResult operator()(const Values& in);
};

struct PlainMaxSpectralRanges
{
    std::vector<PlainSpectralRange> ranges;
    PlainResult operator()(const Values& in);
};

struct PlainLowFreqEnergyRatio
{
    PlainResult operator()(const Values& in) const;
};

struct PlainLowFreqEnergyRatios
{
    PlainResult operator()(const Values& in) const;
};

struct PlainSpectralWeightedArea
{
    unsigned long indexMin = 0;
    unsigned long indexMax = 0;
    PlainResult operator()(const Values& in);
};

// ---- Harmonic and peak features

struct PlainHarmonicProduct
{
    PlainResult operator()(const Values& in) const;
};

struct PlainRobustHarmonicProduct
{
    PlainResult operator()(const Values& in) const;
};

struct PlainAntiHarmonicProduct
{
    PlainResult operator()(const Values& in) const;
};

struct PlainOldHarmonicProduct
{
    PlainResult operator()(const Values& in) const;
};

struct PlainPeaks
{
    PlainResult operator()(const Values& in) const;
};

// ---- By name

/// A feature that a description of the table below names, or a chain of them; the test program ends when the table
/// does not have it.
PlainFeature plainFeature(const std::string& in_strDescription);
/// One description for every kind that can be made by name, in the order of the kinds.
std::vector<std::string> plainDescriptions();

} // namespace Corvana::Test
