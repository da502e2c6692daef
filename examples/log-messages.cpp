// SPDX-License-Identifier: Apache-2.0
// Shows on the console what the library has to say about recordings: log-messages call.wav ...
#include <corvana/Corvana.h>

#include <log4cplus/configurator.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    const log4cplus::Initializer initializer;
    log4cplus::BasicConfigurator::doConfigure(); // a real program reads its own configuration here
    log4cplus::Logger::getInstance("kestrivon").setLogLevel(log4cplus::WARN_LOG_LEVEL);

    Corvana::Audio::AudioFileReader reader;
    for (int iIndex = 1; iIndex < in_iNbOfArguments; ++iIndex)
        reader.setSourceAudioFile(in_aszArguments[iIndex]); // false, and a message at error level
}
