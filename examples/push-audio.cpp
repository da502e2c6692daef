// SPDX-License-Identifier: Apache-2.0
// Feeds audio that comes in packets, as from a telephone line, through the windower by hand. A generated tone of
// 440 Hz stands for the line; the program prints the strongest frequency of each window.
#include <corvana/Corvana.h>

#include <cmath>
#include <iostream>
#include <numbers>

using Corvana::Audio::LinearAudioWindower;
using Corvana::Math::DoubleVector;

namespace {

// One packet of 20 ms from the line.
DoubleVector nextPacket(unsigned long in_uiPacket, unsigned long in_uiSampleRate)
{
    DoubleVector vPacket(in_uiSampleRate / 50);
    for (unsigned long uiIndex = 0; uiIndex < vPacket.size(); ++uiIndex) {
        const double dSample = static_cast<double>(in_uiPacket * vPacket.size() + uiIndex);
        vPacket[uiIndex] = 0.5 * std::sin(2.0 * std::numbers::pi * 440.0 * dSample / 8000.0);
    }
    return vPacket;
}

} // namespace

int main()
{
    LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = 32;    // 256 samples: spectra need a power of two
    config.m_uiWindowOverlapMs = 16; // a window every 16 ms
    LinearAudioWindower windower;
    if (!windower.configure(config) || !windower.reset())
        return 1;

    Corvana::Audio::SpectrumFeature spectrum;
    DoubleVector vWindow;
    DoubleVector vSpectrum;
    for (unsigned long uiPacket = 0; uiPacket < 5; ++uiPacket) {
        const DoubleVector vPacket = nextPacket(uiPacket, config.m_uiSampleRate);
        windower.pushLinearAudio(vPacket.begin(), vPacket.end());
        while (windower.popWindow(vWindow)) { // none, one or several are ready
            vSpectrum.clear();
            if (!spectrum.compute(vWindow, vSpectrum))
                return 1;
            const auto iBin = vSpectrum.max_element() - vSpectrum.begin();
            const double dBinHz = static_cast<double>(config.m_uiSampleRate) / static_cast<double>(vWindow.size());
            std::cout << windower.getCurrentAudioTime() << " s: " << static_cast<double>(iBin) * dBinHz << " Hz\n";
        }
    }
}
