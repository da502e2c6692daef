// SPDX-License-Identifier: Apache-2.0
#include "ReferenceSpectrum.h"

#include "ReferenceTransform.h"

#include <cmath>

namespace Corvana::Test {

std::vector<double> referenceHannWindow(unsigned long in_uiSize)
{
    const double dTwoPi = 6.283185307179586;
    std::vector<double> w(in_uiSize);
    for (unsigned long i = 0; i < in_uiSize; ++i) {
        const double dProduct = static_cast<double>(i) * dTwoPi;
        w[i] = (1.0 - std::cos(dProduct / static_cast<double>(in_uiSize - 1))) * 0.5;
    }
    return w;
}

std::vector<double> referencePowerSpectrum(const std::vector<double>& in_vWindow)
{
    const unsigned long n = in_vWindow.size();
    const std::vector<double> w = referenceHannWindow(n);
    std::vector<double> data(n);
    for (unsigned long i = 0; i < n; ++i)
        data[i] = in_vWindow[i] * w[i];

    referenceRealTransform(data.data(), n, 1.0);

    // data[1] belongs to the Nyquist frequency: neither put out nor counted.
    std::vector<double> power(n / 2);
    power[0] = data[0] * data[0];
    for (unsigned long k = 1; k < n / 2; ++k)
        power[k] = data[2 * k] * data[2 * k] + data[2 * k + 1] * data[2 * k + 1];

    double total = 0.0;
    for (unsigned long k = 0; k < n / 2; ++k)
        total += power[k];
    if (total != 0.0) {
        const double reciprocal = 1.0 / total;
        for (unsigned long k = 0; k < n / 2; ++k)
            power[k] *= reciprocal;
    }
    return power;
}

std::vector<double> referenceReducedSpectrum(const std::vector<double>& in_vSpectrum, unsigned long in_uiNbOfBands)
{
    const unsigned long B = in_uiNbOfBands;
    std::vector<double> out = in_vSpectrum;
    const unsigned long L = out.size();
    const unsigned long g = L / B;
    if (L % B >= L)
        return out;

    double acc = 0.0;
    for (unsigned long i = 0; i < L; ++i) {
        if (i != 0 && i % g == 0) {
            out[(i - 1) / g] = acc;
            acc = 0.0;
        }
        acc += out[i];
    }
    out.resize(B);
    out[B - 1] += acc;
    return out;
}

double referenceFlatness(const std::vector<double>& in_vSpectrum)
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

} // namespace Corvana::Test
