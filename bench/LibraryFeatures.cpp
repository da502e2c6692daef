// SPDX-License-Identifier: Apache-2.0
// What PlainFeatures computes, through the library: the reader, the windower and features made by name.
//
// corvana-library-features WINDOW_MS OVERLAP_MS FILE...: the rows of `corvana features --format csv` without its
// header.
#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/NumberText.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Corvana;
using Features = std::vector<std::unique_ptr<Math::SignalFeature>>;

// Made anew for each file: a spectrum serves one window length, and so one sample rate.
Features makeFeatures(const Math::SignalFeaturePool& in_pool)
{
    Features vFeatures;
    for (const char* szName : {"spectrum", "spectrum100hz", "spectrum200hz", "spectrum500hz", "spectrum|flatness"})
        vFeatures.emplace_back(in_pool.getNewFeature(szName));
    return vFeatures;
}

unsigned long sampleRateOf(const char* in_szPath)
{
    Audio::AudioFileReader reader;
    return reader.setSourceAudioFile(in_szPath) ? reader.getSampleRate() : 0;
}

bool printRow(const char* in_szPath, double in_dTime, const Math::DoubleVector& in_vWindow,
              const Features& in_vFeatures)
{
    Math::DoubleVector vValues = {in_dTime};
    for (const auto& pFeature : in_vFeatures)
        if (pFeature == nullptr || !pFeature->compute(in_vWindow, vValues))
            return false;
    std::string strRow = in_szPath;
    for (const double dValue : vValues) {
        strRow += ',';
        appendShortestText(strRow, dValue);
    }
    return std::puts(strRow.c_str()) >= 0;
}

bool printFeatures(const char* in_szPath, Audio::LinearAudioWindower::Config in_config,
                   const Math::SignalFeaturePool& in_pool)
{
    in_config.m_uiSampleRate = sampleRateOf(in_szPath);
    Audio::WindowedAudioFileReader reader;
    if (in_config.m_uiSampleRate == 0 || !reader.configure(in_config) || !reader.setSourceAudioFile(in_szPath))
        return false;
    const Features vFeatures = makeFeatures(in_pool);
    Math::DoubleVector vWindow;
    while (reader.getNextWindow(vWindow))
        if (!printRow(in_szPath, reader.getCurrentAudioTime(), vWindow, vFeatures))
            return false;
    return true;
}

} // namespace

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    if (in_iNbOfArguments < 4) {
        std::fputs("corvana-library-features WINDOW_MS OVERLAP_MS FILE...\n", stderr);
        return 2;
    }
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = std::strtoul(in_aszArguments[1], nullptr, 10);
    config.m_uiWindowOverlapMs = std::strtoul(in_aszArguments[2], nullptr, 10);
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    for (int iFile = 3; iFile < in_iNbOfArguments; ++iFile) {
        if (!printFeatures(in_aszArguments[iFile], config, pool)) {
            std::fprintf(stderr, "no features of %s\n", in_aszArguments[iFile]);
            return 1;
        }
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
