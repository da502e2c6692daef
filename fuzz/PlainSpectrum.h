// SPDX-License-Identifier: Apache-2.0
#pragma once

// The spectrum features written out step by step, with the indices of the published transform (element i is data[i-1]),
// without tables, plans or shared code: what the library's features are held against.

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace Corvana::Plain {

inline void complexTransform(std::vector<double>& inout_vData, std::size_t in_uiNbOfPoints, double in_dSign)
{
    const auto data = [&](std::size_t in_uiIndex) -> double& { return inout_vData[in_uiIndex - 1]; };
    const std::size_t n = 2 * in_uiNbOfPoints;
    std::size_t j = 1;
    for (std::size_t i = 1; i < n; i += 2) {
        if (j > i) {
            std::swap(data(j), data(i));
            std::swap(data(j + 1), data(i + 1));
        }
        std::size_t m = in_uiNbOfPoints;
        while (m >= 2 && j > m) {
            j -= m;
            m /= 2;
        }
        j += m;
    }
    for (std::size_t mmax = 2; n > mmax; mmax *= 2) {
        const std::size_t istep = 2 * mmax;
        const double theta = in_dSign * (6.28318530717959 / static_cast<double>(mmax));
        double wtemp = std::sin(0.5 * theta);
        const double wpr = -2.0 * wtemp * wtemp;
        const double wpi = std::sin(theta);
        double wr = 1.0;
        double wi = 0.0;
        for (std::size_t m = 1; m <= mmax - 1; m += 2) {
            for (std::size_t i = m; i <= n; i += istep) {
                j = i + mmax;
                const double tempr = wr * data(j) - wi * data(j + 1);
                const double tempi = wr * data(j + 1) + wi * data(j);
                data(j) = data(i) - tempr;
                data(j + 1) = data(i + 1) - tempi;
                data(i) += tempr;
                data(i + 1) += tempi;
            }
            wtemp = wr;
            wr = wtemp * wpr - wi * wpi + wr;
            wi = wi * wpr + wtemp * wpi + wi;
        }
    }
}

/// Forward; the size is a power of two.
inline void realTransform(std::vector<double>& inout_vData)
{
    const auto data = [&](std::size_t in_uiIndex) -> double& { return inout_vData[in_uiIndex - 1]; };
    const std::size_t n = inout_vData.size();
    const double theta = 3.141592653589793 / static_cast<double>(n / 2);
    const double c1 = 0.5;
    const double c2 = -0.5;
    complexTransform(inout_vData, n / 2, 1.0);
    double wtemp = std::sin(0.5 * theta);
    const double wpr = -2.0 * wtemp * wtemp;
    const double wpi = std::sin(theta);
    double wr = 1.0 + wpr;
    double wi = wpi;
    for (std::size_t i = 2; i <= n / 4; ++i) {
        const std::size_t i1 = 2 * i - 1;
        const std::size_t i2 = i1 + 1;
        const std::size_t i3 = n + 3 - i2;
        const std::size_t i4 = i3 + 1;
        const double h1r = c1 * (data(i1) + data(i3));
        const double h1i = c1 * (data(i2) - data(i4));
        const double h2r = -c2 * (data(i2) + data(i4));
        const double h2i = c2 * (data(i1) - data(i3));
        data(i1) = h1r + wr * h2r - wi * h2i;
        data(i2) = h1i + wr * h2i + wi * h2r;
        data(i3) = h1r - wr * h2r + wi * h2i;
        data(i4) = -h1i + wr * h2i + wi * h2r;
        wtemp = wr;
        wr = wtemp * wpr - wi * wpi + wr;
        wi = wi * wpr + wtemp * wpi + wi;
    }
    const double h1r = data(1);
    data(1) = h1r + data(2);
    data(2) = h1r - data(2);
}

inline std::vector<double> hannTable(std::size_t in_uiSize)
{
    std::vector<double> vTaper(in_uiSize);
    for (std::size_t i = 0; i < in_uiSize; ++i)
        vTaper[i] =
            (1.0 - std::cos((static_cast<double>(i) * 6.283185307179586) / static_cast<double>(in_uiSize - 1))) * 0.5;
    return vTaper;
}

/// The size is a power of two of at least 2.
inline std::vector<double> spectrum(std::vector<double> in_vWindow, const std::vector<double>& in_vTaper)
{
    const std::size_t n = in_vWindow.size();
    for (std::size_t i = 0; i < n; ++i)
        in_vWindow[i] *= in_vTaper[i];
    realTransform(in_vWindow);
    std::vector<double> vPowers(n / 2);
    vPowers[0] = in_vWindow[0] * in_vWindow[0];
    for (std::size_t k = 1; k < n / 2; ++k)
        vPowers[k] = in_vWindow[2 * k] * in_vWindow[2 * k] + in_vWindow[2 * k + 1] * in_vWindow[2 * k + 1];
    double dTotal = 0.0;
    for (const double dPower : vPowers)
        dTotal += dPower;
    if (dTotal != 0.0)
        for (double& dPower : vPowers)
            dPower *= 1.0 / dTotal;
    return vPowers;
}

inline std::vector<double> reducedSpectrum(std::vector<double> in_vSpectrum, std::size_t in_uiNbOfBands)
{
    std::vector<double> vBins = std::move(in_vSpectrum);
    const std::size_t L = vBins.size();
    if (L % in_uiNbOfBands >= L)
        return vBins;
    const std::size_t g = L / in_uiNbOfBands;
    double acc = 0.0;
    for (std::size_t i = 0; i < L; ++i) {
        if (i != 0 && i % g == 0) {
            vBins[(i - 1) / g] = acc;
            acc = 0.0;
        }
        acc += vBins[i];
    }
    vBins.resize(in_uiNbOfBands);
    vBins[in_uiNbOfBands - 1] += acc;
    return vBins;
}

inline double flatness(const std::vector<double>& in_vSpectrum)
{
    const double N = static_cast<double>(in_vSpectrum.size());
    double p = 1.0;
    double gm = 1.0;
    int count = 0;
    for (const double x : in_vSpectrum) {
        if (x != 0.0)
            p *= x;
        count += 1;
        if (count > 20) {
            p = std::pow(p, 1.0 / N);
            gm = p * gm;
            p = 1.0;
            count = 0;
        }
    }
    gm = std::pow(p, 1.0 / N) * gm;
    if (gm != 1.0)
        gm *= N;
    return gm;
}

} // namespace Corvana::Plain
