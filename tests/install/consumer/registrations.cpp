// SPDX-License-Identifier: Apache-2.0
// Names no class of the audio library, which registers itself when it is loaded and must be there all the same.
#include <corvana/Version.h>

#include <boost/serialization/extended_type_info.hpp>

#include <iostream>

int main()
{
    if (boost::serialization::extended_type_info::find("LinearAudioWindowerConfig") == nullptr) {
        std::cerr << "the audio library's classes are not registered\n";
        return 1;
    }
    std::cout << "registered, version " << Corvana::getVersion() << '\n';
    return 0;
}
