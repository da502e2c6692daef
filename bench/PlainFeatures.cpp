// SPDX-License-Identifier: Apache-2.0
// The numbers that `corvana features` must print, by a program that shares nothing with the library: it reads with
// libsndfile alone, cuts the windows by index and computes every feature from its definition, with double arithmetic in
// the order in which the definitions state it. scripts/check-exactness builds it with several compilers and
// optimisation levels and compares bit for bit.
//
// plain-features WINDOW_MS OVERLAP_MS FILE...: the rows of `corvana features --format csv` without its header.
#include <sndfile.h>

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Values = std::vector<double>;

bool readSound(const char* in_szPath, Values& out_vSamples, int& out_iRate)
{
    SF_INFO info;
    std::memset(&info, 0, sizeof info);
    SNDFILE* pFile = sf_open(in_szPath, SFM_READ, &info);
    if (pFile == nullptr || info.channels != 1)
        return false;
    out_vSamples.resize(static_cast<std::size_t>(info.frames));
    const sf_count_t iRead = sf_read_double(pFile, out_vSamples.data(), info.frames);
    sf_close(pFile);
    out_iRate = info.samplerate;
    return iRead == info.frames;
}

// Complex radix-2 transform, decimation in time. Element i of the published text is d[i - 1] here, so d points one
// place in front of the data and the indices stay those of the text.
void four1(double* data, unsigned long nn, double isign)
{
    double* d = data - 1;
    const unsigned long n = 2 * nn;
    unsigned long j = 1;
    for (unsigned long i = 1; i < n; i += 2) {
        if (j > i) {
            std::swap(d[j], d[i]);
            std::swap(d[j + 1], d[i + 1]);
        }
        unsigned long m = nn;
        while (m >= 2 && j > m) {
            j -= m;
            m /= 2;
        }
        j += m;
    }
    for (unsigned long mmax = 2; n > mmax; mmax = 2 * mmax) {
        const unsigned long istep = 2 * mmax;
        const double theta = isign * (6.28318530717959 / static_cast<double>(mmax));
        double wtemp = std::sin(0.5 * theta);
        const double wpr = -2.0 * wtemp * wtemp;
        const double wpi = std::sin(theta);
        double wr = 1.0;
        double wi = 0.0;
        for (unsigned long m = 1; m < mmax; m += 2) {
            for (unsigned long i = m; i <= n; i += istep) {
                j = i + mmax;
                const double tempr = wr * d[j] - wi * d[j + 1];
                const double tempi = wr * d[j + 1] + wi * d[j];
                d[j] = d[i] - tempr;
                d[j + 1] = d[i + 1] - tempi;
                d[i] += tempr;
                d[i + 1] += tempi;
            }
            wtemp = wr;
            wr = wtemp * wpr - wi * wpi + wr;
            wi = wi * wpr + wtemp * wpi + wi;
        }
    }
}

// Forward transform of n real values, packed: value at 0, value at n/2, then real and imaginary parts.
void realft(double* data, unsigned long n)
{
    double* d = data - 1;
    const double theta = 3.141592653589793 / static_cast<double>(n / 2);
    const double c1 = 0.5;
    const double c2 = -0.5;
    four1(data, n / 2, 1.0);
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
        const double h1r = c1 * (d[i1] + d[i3]);
        const double h1i = c1 * (d[i2] - d[i4]);
        const double h2r = -c2 * (d[i2] + d[i4]);
        const double h2i = c2 * (d[i1] - d[i3]);
        d[i1] = h1r + wr * h2r - wi * h2i;
        d[i2] = h1i + wr * h2i + wi * h2r;
        d[i3] = h1r - wr * h2r + wi * h2i;
        d[i4] = -h1i + wr * h2i + wi * h2r;
        wtemp = wr;
        wr = wtemp * wpr - wi * wpi + wr;
        wi = wi * wpr + wtemp * wpi + wi;
    }
    const double h1r = d[1];
    d[1] = h1r + d[2];
    d[2] = h1r - d[2];
}

Values spectrum(const double* in_pWindow, std::size_t n)
{
    Values v(in_pWindow, in_pWindow + n);
    for (std::size_t i = 0; i < n; ++i) {
        const double w =
            (1.0 - std::cos((static_cast<double>(i) * 6.283185307179586) / static_cast<double>(n - 1))) * 0.5;
        v[i] = v[i] * w;
    }
    realft(v.data(), n);
    Values bins(n / 2);
    bins[0] = v[0] * v[0];
    for (std::size_t k = 1; k < n / 2; ++k)
        bins[k] = v[2 * k] * v[2 * k] + v[2 * k + 1] * v[2 * k + 1];
    double total = 0.0;
    for (std::size_t k = 0; k < n / 2; ++k)
        total += bins[k];
    if (total != 0.0) {
        const double reciprocal = 1.0 / total;
        for (std::size_t k = 0; k < n / 2; ++k)
            bins[k] = bins[k] * reciprocal;
    }
    return bins;
}

Values reduced(Values bins, std::size_t B)
{
    const std::size_t L = bins.size();
    const std::size_t g = L / B;
    if (L % B >= L)
        return bins;
    double acc = 0.0;
    for (std::size_t i = 0; i < L; ++i) {
        if (i != 0 && i % g == 0) {
            bins[(i - 1) / g] = acc;
            acc = 0.0;
        }
        acc += bins[i];
    }
    bins.resize(B);
    bins[B - 1] += acc;
    return bins;
}

double flatness(const Values& in_vBins)
{
    const double N = static_cast<double>(in_vBins.size());
    double p = 1.0;
    double gm = 1.0;
    int count = 0;
    for (const double x : in_vBins) {
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

void append(std::string& inout_strRow, const Values& in_vValues)
{
    for (const double dValue : in_vValues) {
        char acText[40];
        const auto end = std::to_chars(acText, acText + sizeof acText, dValue).ptr;
        inout_strRow += ',';
        inout_strRow += std::isnan(dValue) ? std::string("nan") : std::string(acText, end);
    }
}

std::string quoted(const std::string& in_strField)
{
    if (in_strField.find_first_of(",\"\r\n") == std::string::npos)
        return in_strField;
    std::string strField = "\"";
    for (const char c : in_strField)
        strField += c == '"' ? std::string("\"\"") : std::string(1, c);
    return strField + '"';
}

bool printFeatures(const char* in_szPath, unsigned long in_uiWindowMs, unsigned long in_uiOverlapMs)
{
    Values vSamples;
    int iRate = 0;
    if (!readSound(in_szPath, vSamples, iRate))
        return false;
    const auto uiRate = static_cast<unsigned long>(iRate);
    const std::size_t uiWindow = in_uiWindowMs * uiRate / 1000;
    const std::size_t uiHop = uiWindow - in_uiOverlapMs * uiRate / 1000;
    const double dHopSeconds = (static_cast<double>(in_uiWindowMs) - static_cast<double>(in_uiOverlapMs)) / 1000.0;
    double dTime = 0.0;
    for (std::size_t uiStart = 0; uiStart + uiWindow <= vSamples.size(); uiStart += uiHop) {
        dTime += uiStart == 0 ? static_cast<double>(in_uiWindowMs) / 1000.0 : dHopSeconds;
        const Values vSpectrum = spectrum(vSamples.data() + uiStart, uiWindow);
        std::string strRow = quoted(in_szPath);
        append(strRow, {dTime});
        append(strRow, vSpectrum);
        append(strRow, reduced(vSpectrum, 40));
        append(strRow, reduced(vSpectrum, 20));
        append(strRow, reduced(vSpectrum, 8));
        append(strRow, {flatness(vSpectrum)});
        std::puts(strRow.c_str());
    }
    return true;
}

} // namespace

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    if (in_iNbOfArguments < 4) {
        std::fputs("plain-features WINDOW_MS OVERLAP_MS FILE...\n", stderr);
        return 2;
    }
    for (int iFile = 3; iFile < in_iNbOfArguments; ++iFile) {
        if (!printFeatures(in_aszArguments[iFile], std::strtoul(in_aszArguments[1], nullptr, 10),
                           std::strtoul(in_aszArguments[2], nullptr, 10))) {
            std::fprintf(stderr, "cannot read %s\n", in_aszArguments[iFile]);
            return 1;
        }
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
