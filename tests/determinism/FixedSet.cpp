// SPDX-License-Identifier: Apache-2.0
#include "FixedSet.h"

#include "corvana/AudioFeatureDescription.h"
#include "support/Signals.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace Corvana::Test {
namespace {

using Math::DoubleVector;

constexpr unsigned long s_uiNbOfSamples = 8000; // a second
constexpr std::int64_t s_iUnit = 1 << 20;

// A resonator in whole numbers: each value is the one before times 2 cos(2 pi f / rate), less the one before that.
class Resonator
{
public:
    Resonator(std::int64_t in_iTwoCosines, std::int64_t in_iFirst)
        : m_iTwoCosines(in_iTwoCosines)
        , m_iCurrent(in_iFirst)
    {
    }

    std::int64_t next()
    {
        const std::int64_t iNext = m_iTwoCosines * m_iCurrent / s_iUnit - m_iBefore;
        m_iBefore = m_iCurrent;
        m_iCurrent = iNext;
        return m_iBefore;
    }

private:
    std::int64_t m_iTwoCosines;
    std::int64_t m_iBefore = 0;
    std::int64_t m_iCurrent;
};

// About 770 and 1336 Hz, as of the key 5.
DoubleVector tones()
{
    Resonator low(1725186, 200000);
    Resonator high(1044953, 300000);
    DoubleVector vSamples(s_uiNbOfSamples);
    for (double& dSample : vSamples)
        dSample = static_cast<double>(low.next() + high.next()) * 0x1p-20;
    return vSamples;
}

DoubleVector scaled(DoubleVector in_vSamples, double in_dFactor)
{
    for (double& dSample : in_vSamples)
        dSample *= in_dFactor;
    return in_vSamples;
}

DoubleVector clipped()
{
    DoubleVector vSamples = noise(s_uiNbOfSamples, 2);
    for (double& dSample : vSamples)
        dSample = std::clamp(4.0 * dSample, -1.0, 1.0);
    return vSamples;
}

// Powers of the first half are subnormal, and samples of the second.
DoubleVector tiny()
{
    DoubleVector vSamples = noise(s_uiNbOfSamples, 3);
    for (unsigned long uiIndex = 0; uiIndex < vSamples.size(); ++uiIndex)
        vSamples[uiIndex] *= uiIndex < vSamples.size() / 2 ? 0x1p-515 : 0x1p-1060;
    return vSamples;
}

const std::vector<std::string> s_vOfSpectra = {
    "spectralrange(1000,100)", "maxspectralranges(440,480)", "lowfreqenergyratio",
    "lowfreqenergyratios",     "spectralweightedarea",       "harmonicproduct",
    "robustharmonicproduct",   "antiharmonicproduct",        "oldharmonicproduct"};

// A window serves these as a spectrum, too: any values do.
Family makeExact()
{
    Family family{"exact",
                  {"zerocrossingrate", "ZeroCrossingRate(5)", "silenceratio", "noiseratio", "amplitudedistribution",
                   "temporalamplitudedistribution", "neighbourhoodofmax", "silenceratio|deltatoslidingmean"},
                  {"x * 0.5 + 1 / (3 + x)", "mean(x) - sum(x) / size(x)", "sqrt(max(abs(x)))",
                   "spectralRange(x, frequencyHz=1500, widthHz=60)",
                   "maxSpectralRanges(x, frequenciesList=\"500, 1200\")", "harmonicProduct(x)", "silenceRatio(x)",
                   "lowFreqEnergyRatios(x)", "concat(x[0], min(x)) < x[3] or not (x[1] >= -x[2])"}};
    family.m_vDescriptions.insert(family.m_vDescriptions.end(), s_vOfSpectra.begin(), s_vOfSpectra.end());
    return family;
}

Family makeSine()
{
    Family family{"sine",
                  {"spectrum", "spectrum100hz", "spectrum200hz", "spectrum500hz"},
                  {"spectrum(x) / max(spectrum(x))", "spectralRange(spectrum(x), frequencyHz=480, widthHz=0)[0] > 0.12",
                   "harmonicProduct(spectrum(x)) + 1"}};
    for (const std::string& strName : s_vOfSpectra)
        family.m_vDescriptions.push_back("spectrum|" + strName);
    return family;
}

} // namespace

const std::vector<Family>& getFamilies()
{
    static const std::vector<Family> vFamilies = {
        makeExact(),
        makeSine(),
        {"power", {"flatness", "spectrum|flatness", "spectrum500hz|flatness"}, {"flatness(spectrum(x)) * 2 < 0.2"}},
        {"logarithm", {"peaks", "spectrum|peaks"}, {"peaks(spectrum(x))", "log(abs(x) + 0.001)"}}};
    return vFamilies;
}

std::vector<std::string> getForgottenFeatures()
{
    std::vector<std::string> vForgotten;
    for (const Audio::FeatureDescription& feature : Audio::getFeatureDescriptions()) {
        const std::string strName = feature.m_szName;
        const auto isOfFeature = [&strName](const std::string& in_strDescription) {
            const std::string strLast = in_strDescription.substr(in_strDescription.rfind('|') + 1);
            return strLast.substr(0, strLast.find('(')) == strName;
        };
        if (!std::any_of(getFamilies().begin(), getFamilies().end(), [&isOfFeature](const Family& in_family) {
                return std::any_of(in_family.m_vDescriptions.begin(), in_family.m_vDescriptions.end(), isOfFeature);
            }))
            vForgotten.push_back(strName);
    }
    return vForgotten;
}

std::vector<std::string> writeRecordings(const std::string& in_strFolder)
{
    const auto write = [&in_strFolder](const char* in_szName, const DoubleVector& in_vSamples,
                                       int in_iFormat = WAV_DOUBLE) {
        return writeSoundFile(in_strFolder + "/" + in_szName, in_vSamples, 8000, in_iFormat);
    };
    return {write("tones.wav", tones()),
            write("noise.wav", scaled(noise(s_uiNbOfSamples, 1), 0.25)),
            write("clipped.wav", clipped(), WAV_PCM16),
            write("silence.wav", DoubleVector(s_uiNbOfSamples / 4)),
            write("tiny.wav", tiny()),
            CORVANA_SOURCE_DIR "/examples/data/sample-call.wav"};
}

const std::vector<Cut>& getCuts()
{
    static const std::vector<Cut> vCuts = {{16, 0, false}, {32, 16, true}};
    return vCuts;
}

} // namespace Corvana::Test
