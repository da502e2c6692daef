// SPDX-License-Identifier: Apache-2.0
#include "ReferenceTransform.h"

#include <cmath>

namespace Corvana::Test {
namespace {

// data(1) is the first value.
class OneBased
{
public:
    explicit OneBased(double* in_pData)
        : m_pData(in_pData)
    {
    }
    double& operator()(unsigned long in_uiIndex) const { return m_pData[in_uiIndex - 1]; }

private:
    double* m_pData;
};

void exchange(double& inout_dLeft, double& inout_dRight)
{
    const double dLeft = inout_dLeft;
    inout_dLeft = inout_dRight;
    inout_dRight = dLeft;
}

} // namespace

void referenceComplexTransform(double* inout_pData, unsigned long in_uiNn, double in_isign)
{
    const OneBased data(inout_pData);
    const unsigned long nn = in_uiNn;
    const unsigned long N = 2 * nn;

    unsigned long j = 1;
    for (unsigned long i = 1; i < N; i += 2) {
        if (j > i) {
            exchange(data(j), data(i));
            exchange(data(j + 1), data(i + 1));
        }
        unsigned long m = nn;
        while (m >= 2 && j > m) {
            j -= m;
            m /= 2;
        }
        j += m;
    }

    unsigned long mmax = 2;
    while (N > mmax) {
        const unsigned long istep = 2 * mmax;
        const double theta = in_isign * (6.28318530717959 / static_cast<double>(mmax));
        double wtemp = std::sin(0.5 * theta);
        const double wpr = -2.0 * wtemp * wtemp;
        const double wpi = std::sin(theta);
        double wr = 1.0;
        double wi = 0.0;
        for (unsigned long m = 1; m < mmax; m += 2) {
            for (unsigned long i = m; i <= N; i += istep) {
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
        mmax = istep;
    }
}

void referenceRealTransform(double* inout_pData, unsigned long in_uiN, double in_isign)
{
    const OneBased data(inout_pData);
    const unsigned long n = in_uiN;

    double theta = 3.141592653589793 / static_cast<double>(n / 2);
    const double c1 = 0.5;
    double c2 = 0.5;
    if (in_isign == 1.0) {
        c2 = -0.5;
        referenceComplexTransform(inout_pData, n / 2, 1.0);
    } else {
        theta = -theta;
    }

    double wtemp = std::sin(0.5 * theta);
    const double wpr = -2.0 * wtemp * wtemp;
    const double wpi = std::sin(theta);
    double wr = 1.0 + wpr;
    double wi = wpi;
    for (unsigned long i = 2; i <= n / 4; ++i) {
        const unsigned long i1 = 2 * i - 1;
        const unsigned long i2 = i1 + 1;
        const unsigned long i3 = n + 3 - i2;
        const unsigned long i4 = i3 + 1;
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
    if (in_isign == 1.0) {
        data(1) = h1r + data(2);
        data(2) = h1r - data(2);
    } else {
        data(1) = c1 * (h1r + data(2));
        data(2) = c1 * (h1r - data(2));
        referenceComplexTransform(inout_pData, n / 2, -1.0);
    }
}

} // namespace Corvana::Test
