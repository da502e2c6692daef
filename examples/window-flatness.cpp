// SPDX-License-Identifier: Apache-2.0
// Cuts a recording into windows of 16 ms and prints how tone-like each one is: window-flatness call.wav
#include <corvana/Corvana.h>

#include <iostream>
#include <memory>

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    Corvana::Audio::WindowedAudioFileReader reader;
    if (!reader.configure({}) || in_iNbOfArguments != 2 || !reader.setSourceAudioFile(in_aszArguments[1]))
        return 1;

    Corvana::Math::SignalFeaturePool pool;
    pool.addFactory(new Corvana::Audio::AudioFeatureFactory);
    const std::unique_ptr<Corvana::Math::SignalFeature> pFlatness(pool.getNewFeature("spectrum|flatness"));

    Corvana::Math::DoubleVector vWindow;
    Corvana::Math::DoubleVector vValues;
    while (reader.getNextWindow(vWindow)) {
        vValues.clear(); // features append
        if (pFlatness->compute(vWindow, vValues))
            std::cout << reader.getCurrentAudioTime() << " s: " << vValues.front() << '\n';
    }
}
