// SPDX-License-Identifier: Apache-2.0
// Any bytes as an audio-set list: the entries come out in order, exactly as written, and each resolves to nothing or
// to a file that is there.
#include "FuzzSupport.h"

#include "corvana/AudioSetParser.h"

#include <filesystem>
#include <vector>

namespace Corvana::Fuzz {
namespace {

std::vector<std::string> entriesOf(std::string_view in_strList)
{
    std::vector<std::string> vEntries;
    std::string strLine;
    for (std::size_t uiIndex = 0; uiIndex <= in_strList.size(); ++uiIndex) {
        if (uiIndex < in_strList.size() && in_strList[uiIndex] != '\n') {
            strLine += in_strList[uiIndex];
            continue;
        }
        if (!strLine.empty() && strLine[0] != '#')
            vEntries.push_back(strLine);
        strLine.clear();
    }
    return vEntries;
}

void requireResolved(const char* in_szPath, const std::string& in_strEntry)
{
    CORVANA_FUZZ_REQUIRE(in_szPath != nullptr);
    if (*in_szPath == '\0')
        return;
    CORVANA_FUZZ_REQUIRE(*in_szPath == '/');
    CORVANA_FUZZ_REQUIRE(std::filesystem::is_regular_file(in_szPath));
    if (in_strEntry[0] == '/') // an absolute entry stays as written; a path ends at a zero byte
        CORVANA_FUZZ_REQUIRE(std::string_view(in_szPath) == in_strEntry.c_str());
}

void requireWalk(Audio::AudioSetParser& inout_parser, const std::vector<std::string>& in_vEntries)
{
    for (std::size_t uiEntry = 0; uiEntry < in_vEntries.size(); ++uiEntry) {
        requireResolved(inout_parser.getNextAudioFile(), in_vEntries[uiEntry]);
        CORVANA_FUZZ_REQUIRE(inout_parser.getCurrentEntry() == in_vEntries[uiEntry]);
        CORVANA_FUZZ_REQUIRE(inout_parser.atEnd() == (uiEntry + 1 == in_vEntries.size()));
    }
    CORVANA_FUZZ_REQUIRE(inout_parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(inout_parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(inout_parser.atEnd());
}

} // namespace
} // namespace Corvana::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    using namespace Corvana::Fuzz;
    const std::string_view strList = ByteReader(in_pData, in_uiSize).rest();
    const MemoryFile list(strList);
    std::vector<std::string> vEntries = entriesOf(strList);

    Corvana::Audio::AudioSetParser parser;
    CORVANA_FUZZ_REQUIRE(parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(parser.setAudioSetFilename(list.path()));
    CORVANA_FUZZ_REQUIRE(parser.gotoFirstAudioFile() == !vEntries.empty());
    requireWalk(parser, vEntries);

    // The same list once more behind itself: the walk goes on with it, and from the start sees both.
    CORVANA_FUZZ_REQUIRE(parser.setAudioSetFilename(list.path()));
    const std::vector<std::string> vOnce = vEntries;
    vEntries.insert(vEntries.end(), vOnce.begin(), vOnce.end());
    CORVANA_FUZZ_REQUIRE(parser.gotoFirstAudioFile() == !vEntries.empty());
    requireWalk(parser, vEntries);
    return 0;
}
