// SPDX-License-Identifier: Apache-2.0
// Any bytes as an audio-set list: the entries come out in order, exactly as written, and each resolves to nothing or
// to a file that is there.
#include "FuzzSupport.h"

#include "corvana/AudioSetParser.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <vector>

namespace Corvana::Fuzz {
namespace {

// Looking for files is what takes the time, a look or two for each folder of a path. So while fuzzing most lists are
// read only, one in 8 has its first entry looked for, and one in 64 is walked to the end if it is short, of longer ones
// one in 1024. Any property of the list that does not keep to a pattern may choose.
constexpr std::size_t s_uiMaxWalked = 1000;
constexpr std::size_t s_uiShort = 16;

std::size_t nbOfSteps(std::string_view in_strList, std::size_t in_uiNbOfEntries)
{
    const std::size_t uiChoice = g_iMaxSeconds == 0 ? 0 : std::hash<std::string_view>()(in_strList);
    if (uiChoice % 1024 == 0 ? in_uiNbOfEntries <= s_uiMaxWalked : uiChoice % 64 == 0 && in_uiNbOfEntries <= s_uiShort)
        return in_uiNbOfEntries;
    return uiChoice % 8 == 0 ? std::min<std::size_t>(in_uiNbOfEntries, 1) : 0;
}

// One file for all inputs, beside which relative entries are looked for.
const char* write(std::string_view in_strList)
{
    static const std::string s_strPath = scratchFolder().write("list", "");
    static const int s_iDescriptor = open(s_strPath.c_str(), O_WRONLY | O_CLOEXEC);
    CORVANA_FUZZ_REQUIRE(s_iDescriptor >= 0);
    CORVANA_FUZZ_REQUIRE(ftruncate(s_iDescriptor, 0) == 0);
    CORVANA_FUZZ_REQUIRE(pwrite(s_iDescriptor, in_strList.data(), in_strList.size(), 0) ==
                         static_cast<ssize_t>(in_strList.size()));
    return s_strPath.c_str();
}

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

void requireWalk(Audio::AudioSetParser& inout_parser, const std::vector<std::string>& in_vEntries, std::size_t in_uiEnd)
{
    for (std::size_t uiEntry = 0; uiEntry < in_uiEnd; ++uiEntry) {
        requireResolved(inout_parser.getNextAudioFile(), in_vEntries[uiEntry]);
        CORVANA_FUZZ_REQUIRE(inout_parser.getCurrentEntry() == in_vEntries[uiEntry]);
        CORVANA_FUZZ_REQUIRE(inout_parser.atEnd() == (uiEntry + 1 == in_vEntries.size()));
    }
    if (in_uiEnd < in_vEntries.size())
        return;
    CORVANA_FUZZ_REQUIRE(inout_parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(inout_parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(inout_parser.atEnd());
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const std::string_view strList = ByteReader(in_pData, in_uiSize).rest();
    const char* szList = write(strList);
    std::vector<std::string> vEntries = entriesOf(strList);

    Audio::AudioSetParser parser;
    CORVANA_FUZZ_REQUIRE(parser.getNextAudioFile() == nullptr);
    CORVANA_FUZZ_REQUIRE(parser.setAudioSetFilename(szList));
    CORVANA_FUZZ_REQUIRE(parser.gotoFirstAudioFile() == !vEntries.empty());
    const std::size_t uiNbOfSteps = nbOfSteps(strList, vEntries.size());
    requireWalk(parser, vEntries, uiNbOfSteps);
    if (uiNbOfSteps < vEntries.size())
        return;

    // The same list once more behind itself: the walk goes on with it, and from the start sees both.
    CORVANA_FUZZ_REQUIRE(parser.setAudioSetFilename(szList));
    const std::vector<std::string> vOnce = vEntries;
    vEntries.insert(vEntries.end(), vOnce.begin(), vOnce.end());
    CORVANA_FUZZ_REQUIRE(parser.gotoFirstAudioFile() == !vEntries.empty());
    requireWalk(parser, vEntries, vEntries.size());
}
