// SPDX-License-Identifier: Apache-2.0
// The tests, or with "--write-files FOLDER" all cases as files, and a list that tells how each was made.
#include "MalformedCases.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <unistd.h>

namespace {

int writeFiles(const std::string& in_strFolder)
{
    std::error_code error;
    std::filesystem::create_directories(in_strFolder, error);
    std::ofstream list(in_strFolder + "/cases.txt");
    unsigned long uiNbOfFiles = 0;
    for (const Corvana::Test::MalformedCase& malformed : Corvana::Test::allMalformedCases()) {
        std::string strName = malformed.m_strName + ".wav";
        std::replace_if(
            strName.begin(), strName.end(), [](char in_c) { return in_c == '/' || in_c < 0x21; }, '-');
        std::ofstream file(in_strFolder + "/" + strName, std::ios::binary);
        file << malformed.m_strBytes;
        list << strName << '\t' << malformed.m_strMaking << '\n';
        if (!file.flush() || !list.flush()) {
            std::cerr << "cannot write to " << in_strFolder << '\n';
            return 1;
        }
        ++uiNbOfFiles;
    }
    std::cout << uiNbOfFiles << " files\n";
    return 0;
}

} // namespace

int main(int in_iNbOfArguments, char* in_aszArguments[])
{
    testing::InitGoogleMock(&in_iNbOfArguments, in_aszArguments);
    if (in_iNbOfArguments == 3 && std::string(in_aszArguments[1]) == "--write-files")
        return writeFiles(in_aszArguments[2]);
    // Thousands of edits, each brought to the disk, need none.
    if (access("/dev/shm", W_OK | X_OK) == 0)
        setenv("TMPDIR", "/dev/shm", 0);
    return RUN_ALL_TESTS();
}
