// SPDX-License-Identifier: Apache-2.0
// Prints when a busy tone of 480 and 620 Hz is heard: busy-tone call.wav
#include <corvana/Corvana.h>

#include <iostream>

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    Corvana::Audio::WindowedAudioFileReader reader;
    Corvana::Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = 32;
    if (!reader.configure(config) || in_iNbOfArguments != 2 || !reader.setSourceAudioFile(in_aszArguments[1]))
        return 1;

    Corvana::Math::Xpr::Expression busy;
    if (!busy.parse("spectralRange(spectrum(x), frequencyHz=480, widthHz=0)[0] > 0.12 and "
                    "spectralRange(spectrum(x), frequencyHz=620, widthHz=0)[0] > 0.12")) {
        std::cerr << busy.getError() << '\n';
        return 1;
    }

    Corvana::Math::DoubleVector vWindow;
    Corvana::LimitedObjPtr<Corvana::Math::DoubleVector> pResult; // points into the expression
    while (reader.getNextWindow(vWindow)) {
        busy.setVariable("x", vWindow);
        if (busy.evaluate(pResult) && pResult->front() != 0.0)
            std::cout << reader.getCurrentAudioTime() << " s\n";
    }
}
