// SPDX-License-Identifier: Apache-2.0
#include "PlainFeatures.h"

#include "ReferenceSpectrum.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace Corvana::Test {
namespace {

using Index = unsigned long;

double asDouble(Index n)
{
    return static_cast<double>(n);
}

PlainResult done(Values out)
{
    return {true, std::move(out)};
}

PlainResult refused()
{
    return {false, {}};
}

double smallestOf(const Values& in)
{
    double smallest = in[0];
    for (const double x : in)
        if (x < smallest)
            smallest = x;
    return smallest;
}

double largestOf(const Values& in)
{
    double largest = in[0];
    for (const double x : in)
        if (x > largest)
            largest = x;
    return largest;
}

double peakOf(const Values& in)
{
    if (in.empty())
        return 0.0;
    const double low = std::fabs(smallestOf(in));
    const double high = std::fabs(largestOf(in));
    return low > high ? low : high;
}

} // namespace

// ---- Temporal features

PlainResult PlainZeroCrossingRate::operator()(const Values& in)
{
    Index count = 0;
    for (const double x : in) {
        if (previous * x < 0.0)
            count += 1;
        else if (x == 0.0 && previous != 0.0)
            count += 1;
        previous = x;
    }
    if (in.empty())
        return done({0.0});
    return done({asDouble(count) / asDouble(in.size())});
}

PlainResult PlainClippingRate::operator()(const Values& in) const
{
    Index count = 0;
    for (const double x : in)
        if (x >= high || x <= low)
            count += 1;
    return done({asDouble(count) / asDouble(in.size())});
}

PlainResult PlainSilenceRatio::operator()(const Values& in) const
{
    const double threshold = peakOf(in) / ratio;
    Index count = 0;
    for (const double x : in)
        if (std::fabs(x) < threshold)
            count += 1;
    return done({asDouble(count) / asDouble(in.size())});
}

PlainResult PlainMeanEnergyAboveThresh::operator()(const Values& in)
{
    for (const double x : in)
        if (x * x > threshold) {
            sum += x * x;
            count += 1;
        }
    if (count == 0)
        return done({0.0});
    return done({sum / asDouble(count)});
}

PlainResult PlainEnergyHistogram::operator()(const Values& in) const
{
    if (bins == 0)
        return refused();
    if (!(maximum > 0))
        return refused();
    std::vector<Index> counters(bins, 0);
    for (const double x : in) {
        double bin = asDouble(bins);
        bin = bin * x;
        bin = bin * x;
        bin = bin / maximum;
        Index k = 0;
        if (bin > asDouble(bins - 1))
            k = bins - 1;
        else if (bin > 0.0)
            k = static_cast<Index>(bin);
        counters[k] += 1;
    }
    Values out;
    for (const Index counter : counters)
        out.push_back(asDouble(counter));
    return done(out);
}

PlainResult PlainMaxNeighbourhood::operator()(const Values& in) const
{
    const Index N = in.size();
    if (N < 4)
        return refused();
    Index m = 0;
    for (Index i = 0; i < N; ++i)
        if (in[i] > in[m])
            m = i;
    Index start = 0;
    if (m == 0)
        start = m;
    else if (m == N - 1)
        start = m - 2;
    else
        start = m - 1;
    return done({in[start], in[start + 1], in[start + 2]});
}

PlainResult PlainRatios::operator()(const Values& in)
{
    double peak = peakOf(in);
    if (temporal) {
        if (runningPeak > peak)
            peak = runningPeak;
        runningPeak = peak;
    }
    Index loud = 0;
    Index medium = 0;
    Index quiet = 0;
    Index nearSilent = 0;
    for (const double x : in) {
        const double a = std::fabs(x);
        if (a > peak / 5)
            loud += 1;
        else if (a > peak / 10)
            medium += 1;
        else if (a > peak / 50)
            quiet += 1;
        else
            nearSilent += 1;
    }
    const double N = asDouble(in.size());
    return done({asDouble(loud) / N, asDouble(medium) / N, asDouble(quiet) / N, asDouble(nearSilent) / N});
}

PlainResult PlainMeanMax::operator()(const Values& in)
{
    for (const double x : in) {
        const double a = std::fabs(x);
        elapsed = elapsed + step;
        if (elapsed <= 0.5) {
            if (a > blockMaximum)
                blockMaximum = a;
            continue;
        }
        const double m = blockMaximum;
        const double mean = sum / asDouble(count);
        if (count == 0 || m - baseline > 2 * (mean - baseline)) {
            sum = m;
            largest = m;
            count = 1;
        } else if (m - baseline >= 0.5 * (mean - baseline)) {
            sum = sum + m;
            count = count + 1;
            if (m > largest)
                largest = m;
        }
        elapsed = 0;
        blockMaximum = a;
    }
    if (count > 0)
        return done({sum / asDouble(count), largest});
    return done({blockMaximum, blockMaximum});
}

PlainResult PlainDeltaToSlidingMean::operator()(const Values& in)
{
    if (in.size() != 1)
        return refused();
    last.push_back(in[0]);
    if (last.size() > 5)
        last.pop_front();
    double sum = 0.0;
    for (const double x : last)
        sum = sum + x;
    const double mean = sum / asDouble(last.size());
    return done({in[0] - mean});
}

// ---- Spectral range features

PlainResult PlainSpectralRange::operator()(const Values& in)
{
    const Index L = in.size();
    if (!established) {
        if (centerHz == 0)
            return refused();
        const double binHz = 4000.0 / asDouble(L);
        const double x = asDouble(centerHz) / binHz;
        const double rounded = x > 0 ? std::trunc(x + 0.5) : std::trunc(x - 0.5);
        const double width = std::ceil(asDouble(halfWidthHz) / binHz);
        if (!(rounded > width))
            return refused();
        start = static_cast<Index>(rounded) - static_cast<Index>(width);
        length = 2 * static_cast<Index>(width) + 1;
        established = true;
        relativePosition = (asDouble(centerHz) - rounded * binHz) / binHz;
    }
    if (start + length > L)
        return {false, {relativePosition}};
    Values out;
    for (Index i = 0; i < length; ++i)
        out.push_back(in[start + i]);
    out.push_back(relativePosition);
    return done(out);
}

PlainResult PlainMaxSpectralRanges::operator()(const Values& in)
{
    if (ranges.empty())
        return refused();
    Values bestResult;
    double best = -1.7976931348623157e308;
    for (PlainSpectralRange& range : ranges) {
        PlainResult scratch = range(in);
        if (!scratch.m_bDone || scratch.m_vValues.empty())
            return refused();
        const double position = scratch.m_vValues.back();
        scratch.m_vValues.pop_back();
        // A first bin that is no number counts as the largest one: no other compares as larger.
        double m = -1.7976931348623157e308;
        if (!scratch.m_vValues.empty())
            m = *std::max_element(scratch.m_vValues.begin(), scratch.m_vValues.end());
        if (m > best) {
            best = m;
            bestResult = scratch.m_vValues;
            bestResult.push_back(position);
        }
    }
    return done(bestResult);
}

PlainResult PlainLowFreqEnergyRatio::operator()(const Values& in) const
{
    const Index k = static_cast<Index>(1000.0 / (4000.0 / asDouble(in.size())));
    double sum = 0.0;
    for (Index i = 0; i < k; ++i)
        sum += in[i];
    return done({sum});
}

PlainResult PlainLowFreqEnergyRatios::operator()(const Values& in) const
{
    const Index k100 = static_cast<Index>(100.0 / (4000.0 / asDouble(in.size())));
    const Index k1000 = static_cast<Index>(1000.0 / (4000.0 / asDouble(in.size())));
    double below100 = 0.0;
    for (Index i = 0; i < k100; ++i)
        below100 += in[i];
    double below1000 = 0.0;
    for (Index i = k100; i < k1000; ++i)
        below1000 += in[i];
    return done({below100, below1000});
}

PlainResult PlainSpectralWeightedArea::operator()(const Values& in)
{
    const Index L = in.size();
    const double rate = 8000;
    const double low = 500;
    const double high = 1500;
    if (indexMin == 0 && indexMax == 0) {
        const double lower = asDouble(L) * (2 * low / rate) - 0.5;
        if (lower > 0)
            indexMin = static_cast<Index>(lower);
        else
            indexMin = 0;
        indexMax = static_cast<Index>(asDouble(L) * (2 * high / rate) + 0.5);
    }
    if (!(indexMin < indexMax) || !(indexMax < L))
        return refused();
    const Index binHz = 8000 / (2 * L);
    double area = 0.0;
    for (Index k = indexMin; k <= indexMax; ++k)
        area += asDouble(k) * in[k] * asDouble(binHz);
    return done({area});
}

// ---- Harmonic and peak features

namespace {

Index nbOfCandidates(Index L)
{
    return L == 0 ? 0 : (L - 1) / 5 + 1;
}

Index binsBelow100Hz(Index L)
{
    return static_cast<Index>(100.0 / (4000.0 / asDouble(L)));
}

} // namespace

PlainResult PlainHarmonicProduct::operator()(const Values& in) const
{
    const Index L = in.size();
    const Index M = nbOfCandidates(L);
    Values scratch(M, 0.0);
    for (Index i = 1; i < M; ++i)
        scratch[i] = asDouble(M) * in[i];
    for (Index h = 2; h <= 5; ++h)
        for (Index i = 1; i < M; ++i)
            scratch[i] = (scratch[i] * asDouble(M)) * in[h * i];
    for (Index i = 0; i < binsBelow100Hz(L); ++i)
        scratch[i] = 0.0;
    return done(scratch);
}

PlainResult PlainRobustHarmonicProduct::operator()(const Values& in) const
{
    const Index L = in.size();
    const Index M = nbOfCandidates(L);
    Values scratch(M, 0.0);
    for (Index i = 1; i < M; ++i)
        scratch[i] = asDouble(M) * in[i];
    for (Index h = 2; h <= 5; ++h)
        for (Index i = 1; i < M; ++i) {
            if (h * i + h < L)
                scratch[i] = (scratch[i] * asDouble(M)) * in[h * (i + 1)];
            else
                scratch[i] = (scratch[i] * asDouble(M)) * in[h * i];
        }
    for (Index i = 0; i < binsBelow100Hz(L); ++i)
        scratch[i] = 0.0;
    return done(scratch);
}

PlainResult PlainAntiHarmonicProduct::operator()(const Values& in) const
{
    const Index M = nbOfCandidates(in.size());
    Values scratch(M, 1.0);
    if (M < 3)
        return refused();
    if (largestOf(in) != 0.0)
        for (Index h = 1; h <= 5; ++h)
            for (Index i = 2; i < M; ++i)
                scratch[i] = ((scratch[i] * asDouble(M)) * in[h * i - i / 2]) * asDouble(M);
    Values out;
    for (Index i = 2; i < M; ++i)
        out.push_back(scratch[i]);
    return done(out);
}

PlainResult PlainOldHarmonicProduct::operator()(const Values& in) const
{
    const Index L = in.size();
    Values scratch(L, 0.0);
    const Index Q = L / 4;
    if (L >= 4) {
        for (Index i = 0; i < Q; ++i)
            scratch[i] = asDouble(L) * in[i];
        for (Index h = 2; h <= 4; ++h)
            for (Index i = 0; i < Q; ++i)
                scratch[i] = (scratch[i] * asDouble(L)) * in[h * (i + 1) - 1];
    }
    return done(scratch);
}

PlainResult PlainPeaks::operator()(const Values& in) const
{
    if (in.empty())
        return refused();
    const Index N = in.size();
    Values work;
    for (const double x : in)
        work.push_back(std::fabs(x));
    Values peaks(3, 0.0);
    std::vector<Index> positions(3, 0);
    for (Index n = 0; n < 3; ++n) {
        Index p = 0;
        for (Index i = 0; i < N; ++i)
            if (work[i] > work[p])
                p = i;
        const double peak = work[p];
        peaks[n] = peak;
        positions[n] = p;
        work[p] = 0.0;
        double before = peak;
        for (Index i = p + 1; i < N; ++i) {
            if (!(work[i] < before))
                break;
            before = work[i];
            work[i] = 0.0;
        }
        before = peak;
        for (Index i = p; i-- > 0;) {
            if (!(work[i] < before))
                break;
            before = work[i];
            work[i] = 0.0;
        }
    }
    Values out = peaks;
    for (const Index position : positions) {
        const double p = asDouble(position);
        out.push_back(p > 1e-6 ? std::log(p) : std::log(1e-6));
    }
    return done(out);
}

// ---- By name

namespace {

PlainResult plainSpectrum(const Values& in)
{
    return in.size() < 2 ? refused() : done(referencePowerSpectrum(in));
}

PlainFeature plainReducedSpectrum(Index bands)
{
    return [bands](const Values& in) {
        return in.size() < 2 ? refused() : done(referenceReducedSpectrum(referencePowerSpectrum(in), bands));
    };
}

PlainResult plainFlatness(const Values& in)
{
    return done({referenceFlatness(in)});
}

const std::vector<std::pair<std::string, PlainFeature>>& plainTable()
{
    static const std::vector<std::pair<std::string, PlainFeature>> table = {
        {"zerocrossingrate", PlainZeroCrossingRate{}},
        {"spectrum", plainSpectrum},
        {"spectrum100hz", plainReducedSpectrum(40)},
        {"spectrum200hz", plainReducedSpectrum(20)},
        {"spectrum500hz", plainReducedSpectrum(8)},
        {"flatness", plainFlatness},
        {"spectralrange(1010,100)", PlainSpectralRange{1010, 100}},
        {"maxspectralranges(440,480,1000)", PlainMaxSpectralRanges{{{440, 20}, {480, 20}, {1000, 20}}}},
        {"oldharmonicproduct", PlainOldHarmonicProduct{}},
        {"harmonicproduct", PlainHarmonicProduct{}},
        {"robustharmonicproduct", PlainRobustHarmonicProduct{}},
        {"antiharmonicproduct", PlainAntiHarmonicProduct{}},
        {"spectralweightedarea", PlainSpectralWeightedArea{}},
        {"silenceratio", PlainSilenceRatio{50}},
        {"noiseratio", PlainSilenceRatio{10}},
        {"amplitudedistribution", PlainRatios{false}},
        {"temporalamplitudedistribution", PlainRatios{true}},
        {"peaks", PlainPeaks{}},
        {"neighbourhoodofmax", PlainMaxNeighbourhood{}},
        {"lowfreqenergyratio", PlainLowFreqEnergyRatio{}},
        {"lowfreqenergyratios", PlainLowFreqEnergyRatios{}},
        {"deltatoslidingmean", PlainDeltaToSlidingMean{}},
    };
    return table;
}

PlainFeature plainStage(const std::string& in_strDescription)
{
    for (const auto& [strDescription, feature] : plainTable())
        if (strDescription == in_strDescription)
            return feature;
    throw std::invalid_argument("no plain feature " + in_strDescription);
}

} // namespace

PlainFeature plainFeature(const std::string& in_strDescription)
{
    const std::string::size_type uiBar = in_strDescription.rfind('|');
    if (uiBar == std::string::npos)
        return plainStage(in_strDescription);
    PlainFeature inner = plainFeature(in_strDescription.substr(0, uiBar));
    PlainFeature outer = plainStage(in_strDescription.substr(uiBar + 1));
    return [inner, outer](const Values& in) mutable {
        const PlainResult between = inner(in);
        return between.m_bDone ? outer(between.m_vValues) : refused();
    };
}

std::vector<std::string> plainDescriptions()
{
    std::vector<std::string> vDescriptions;
    for (const auto& [strDescription, feature] : plainTable())
        vDescriptions.push_back(strDescription);
    return vDescriptions;
}

} // namespace Corvana::Test
