// SPDX-License-Identifier: Apache-2.0
// Copies a recording, labels a region of the copy, and prints all of its regions: label-regions call.wav copy.wav
#include <corvana/Corvana.h>

#include <filesystem>
#include <fstream>
#include <iostream>

int main(int in_iNbOfArguments, char** in_aszArguments)
{
    using Corvana::Audio::AnnotatedFile;
    using Corvana::Audio::AtomicFileEdit;
    using Annotation = AnnotatedFile::Annotation;

    if (in_iNbOfArguments != 3)
        return 1;
    const char* szCopy = in_aszArguments[2];
    std::filesystem::copy_file(in_aszArguments[1], szCopy, std::filesystem::copy_options::overwrite_existing);

    // Until commit() the recording is the old one, whatever happens; then it is the new one.
    AtomicFileEdit edit(szCopy);
    if (!AnnotatedFile::addAnnotation(edit.workingFileName(), Annotation(Annotation::VOICE, 3.5, 4.25)) ||
        !edit.commit()) {
        std::cerr << "nothing was changed " << edit.getFault() << '\n';
        return 1;
    }

    AnnotatedFile file;
    std::ifstream stream(szCopy, std::ios_base::binary);
    if (!file.readRegionsFromWAV(stream))
        return 1;
    for (const Annotation& annotation : file.annotations())
        std::cout << annotation << '\n';
}
