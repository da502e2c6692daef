// SPDX-License-Identifier: Apache-2.0
// Any arguments of the command, made of its own words, of names of files in a scratch folder and of any text. The exit
// code is one of the documented ones, and what is no success is told; messages hold no control characters; recordings
// keep their audio; nothing is left behind but what was asked for; the same arguments do the same again.
// No argument holds a slash, and the command runs inside the scratch folder, so that it can reach no other one.
#include "FuzzSupport.h"

#include "corvana/AudioAnnotation.h"
#include "tools/CommandLine.h"
#include "tools/LogBridge.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Arguments = std::vector<std::string>;
using Contents = std::map<std::string, std::string>; // of files, by their path in the scratch folder

constexpr std::size_t s_uiMaxArguments = 12;

constexpr const char* s_aszWords[] = {"features",
                                      "eval",
                                      "info",
                                      "list-features",
                                      "list-functions",
                                      "annotations",
                                      "help",
                                      "list",
                                      "add",
                                      "merge",
                                      "copy",
                                      "clear",
                                      "check",
                                      "export",
                                      "import",
                                      "stats",
                                      "diff",
                                      "types",
                                      "call.wav",
                                      "two.wav",
                                      "broken.wav",
                                      "list.txt",
                                      "labels.csv",
                                      "map.csv",
                                      "folder",
                                      "nothing.wav",
                                      "out.csv",
                                      "out.TextGrid",
                                      "-",
                                      "--",
                                      "",
                                      "call.wav",
                                      "-f",
                                      "--feature",
                                      "-o",
                                      "--output",
                                      "-n",
                                      "--dry-run",
                                      "-q",
                                      "-v",
                                      "--verbose",
                                      "--quiet",
                                      "-h",
                                      "--help",
                                      "--version",
                                      "--list",
                                      "--format",
                                      "--labels",
                                      "--progress",
                                      "--expr",
                                      "--config",
                                      "--save-config",
                                      "--json",
                                      "--window-ms",
                                      "--overlap-ms",
                                      "--suppress-dc",
                                      "--read-factor",
                                      "--sample-rate",
                                      "--log-level",
                                      "--match",
                                      "--interop",
                                      "--clip",
                                      "--save-notes",
                                      "--folder",
                                      "--append",
                                      "--map",
                                      "--tolerance",
                                      "--fix",
                                      "csv",
                                      "jsonl",
                                      "json",
                                      "table",
                                      "audacity",
                                      "textgrid",
                                      "file",
                                      "always",
                                      "never",
                                      "debug",
                                      "off",
                                      "spectrum",
                                      "spectrum|flatness",
                                      "silenceratio|deltatoslidingmean",
                                      "spectralrange(1000,100)",
                                      "flatness(spectrum(x)) < 0.2",
                                      "n=x[0]",
                                      "MALE",
                                      "cpa_human",
                                      "SF_12",
                                      ".*",
                                      "M|F",
                                      "0",
                                      "0.001",
                                      "0.004",
                                      "1",
                                      "2",
                                      "8",
                                      "16",
                                      "1000",
                                      "8000",
                                      "-1",
                                      "1e9",
                                      "nan",
                                      "conf.xml",
                                      "plot",
                                      "report",
                                      "doctor",
                                      "out.png",
                                      "out.svg",
                                      "out.pdf",
                                      "out.html",
                                      "png",
                                      "svg",
                                      "--from",
                                      "--to",
                                      "--width",
                                      "--height",
                                      "--no-audio",
                                      "400"};

// ---- The scratch folder

std::string recording(std::size_t in_uiNbOfSamples, const std::vector<Audio::AnnotatedFile::Annotation>& in_vRegions)
{
    const auto word = [](std::size_t in_uiValue) {
        std::string strBytes;
        for (unsigned uiShift = 0; uiShift < 32; uiShift += 8)
            strBytes += static_cast<char>(in_uiValue >> uiShift & 0xFFU);
        return strBytes;
    };
    std::string strData;
    for (std::size_t uiSample = 0; uiSample < in_uiNbOfSamples; ++uiSample)
        strData += word(static_cast<std::size_t>(uiSample * uiSample % 20011)).substr(0, 2);
    std::istringstream stream("RIFF" + word(36 + strData.size()) + "WAVEfmt " + word(16) + word(0x10001) + word(8000) +
                              word(16000) + word(0x100002) + "data" + word(strData.size()) + strData);
    Audio::AnnotatedFile file;
    CORVANA_FUZZ_REQUIRE(file.readFromWAV(stream).good());
    file.annotations() = in_vRegions;
    std::ostringstream bytes;
    CORVANA_FUZZ_REQUIRE(file.writeToWAV(bytes).good());
    return bytes.str();
}

const Contents& originals()
{
    using Annotation = Audio::AnnotatedFile::Annotation;
    static const Contents s_contents = {{"call.wav", recording(300, {Annotation(Annotation::MALE, 0.001, 0.01),
                                                                     Annotation(Annotation::BEEP, 0.02, 0.03)})},
                                        {"two.wav", recording(256, {Annotation(Annotation::SF_12, 0.0, 0.032)})},
                                        {"broken.wav", recording(100, {}).substr(0, 60)},
                                        {"list.txt", "call.wav\n# two\ntwo.wav\n"},
                                        {"labels.csv", "type,start,stop\nMALE,0.001,0.002\nlady,0.01,0.02\n"},
                                        {"map.csv", "label,type\nlady,FEMALE\ncough,\n"},
                                        {"folder/call.csv", "FEMALE,0.001,0.002\n"}};
    return s_contents;
}

std::string contentsOf(const std::string& in_strPath)
{
    std::ifstream stream(in_strPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Writes only what differs: the folder is on a disk.
void restore(const Contents& in_found)
{
    for (const auto& [strPath, strContents] : in_found)
        if (!originals().contains(strPath))
            std::filesystem::remove_all(strPath);
    std::filesystem::create_directory("folder");
    for (const auto& [strPath, strContents] : originals()) {
        const auto itFound = in_found.find(strPath);
        if (itFound != in_found.end() && itFound->second == strContents)
            continue;
        std::filesystem::remove_all(strPath);
        std::ofstream(strPath, std::ios::binary) << strContents;
    }
}

Contents found()
{
    Contents contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(".")) {
        const std::string strPath = entry.path().string().substr(2);
        if (entry.is_regular_file())
            contents.emplace(strPath, contentsOf(strPath));
        else if (strPath != "folder")
            contents.emplace(strPath, "");
    }
    return contents;
}

// Once in a process.
void enterScratchFolder()
{
    static const bool s_bEntered = [] {
        const std::string strInner = scratchFolder().file("inner");
        std::filesystem::create_directory(strInner);
        CORVANA_FUZZ_REQUIRE(chdir(strInner.c_str()) == 0);
        unsetenv("CORVANA_CPA_DATA");
        setenv("TMPDIR", ".", 1); // what `doctor` writes would be found, too
        const int iNothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        CORVANA_FUZZ_REQUIRE(iNothing >= 0 && dup2(iNothing, STDIN_FILENO) == STDIN_FILENO);
        Tools::limitLogThreads();
        restore({});
        return true;
    }();
    CORVANA_FUZZ_REQUIRE(s_bEntered);
}

// ---- Arguments

std::string takeArgument(ByteReader& inout_input)
{
    const std::uint8_t uiWhich = inout_input.takeByte();
    if (uiWhich < 220)
        return s_aszWords[uiWhich % std::size(s_aszWords)];
    std::string strText = inout_input.takeText();
    std::replace(strText.begin(), strText.end(), '/', '\\');
    std::erase(strText, '\0');
    return uiWhich < 245 ? strText : std::string("--") + s_aszWords[uiWhich % std::size(s_aszWords)] + "=" + strText;
}

Arguments takeArguments(ByteReader& inout_input)
{
    Arguments vArguments;
    while (!inout_input.empty() && vArguments.size() < s_uiMaxArguments)
        vArguments.push_back(takeArgument(inout_input));
    for (const std::string& strArgument : vArguments)
        CORVANA_FUZZ_REQUIRE(strArgument.find('/') == std::string::npos);
    return vArguments;
}

bool isAmong(const Arguments& in_vArguments, std::initializer_list<const char*> in_words)
{
    return std::any_of(in_vArguments.begin(), in_vArguments.end(), [&](const std::string& in_strArgument) {
        return std::any_of(in_words.begin(), in_words.end(),
                           [&](const char* in_szWord) { return in_strArgument.starts_with(in_szWord); });
    });
}

// ---- What the command does

// The drawing library numbers what it draws from the beginning of the program on, in names such as surface12.
std::string withoutNumbersInNames(const std::string& in_strPicture)
{
    std::string strResult;
    for (const char c : in_strPicture)
        if (!std::isdigit(static_cast<unsigned char>(c)) || strResult.empty() ||
            !std::isalpha(static_cast<unsigned char>(strResult.back())))
            strResult += c;
    return strResult;
}

bool areSame(const std::string& in_strLeft, const std::string& in_strRight)
{
    return in_strLeft == in_strRight || (in_strLeft.find("<svg") != std::string::npos &&
                                         withoutNumbersInNames(in_strLeft) == withoutNumbersInNames(in_strRight));
}

bool areSame(const Contents& in_left, const Contents& in_right)
{
    return std::equal(in_left.begin(), in_left.end(), in_right.begin(), in_right.end(),
                      [](const auto& in_one, const auto& in_other) {
                          return in_one.first == in_other.first && areSame(in_one.second, in_other.second);
                      });
}

struct Outcome
{
    int m_iExitCode = 0;
    std::string m_strData;
    std::string m_strMessages;
    Contents m_files;
};

Outcome outcomeOf(const Arguments& in_vArguments)
{
    std::ostringstream data;
    std::ostringstream messages;
    Outcome outcome;
    outcome.m_iExitCode = Tools::runCommandLine(in_vArguments, {}, data, messages);
    outcome.m_strData = data.str();
    outcome.m_strMessages = messages.str();
    outcome.m_files = found();
    restore(outcome.m_files);
    return outcome;
}

// The audio of a recording; "" when the file is none.
std::string audioOf(const std::string& in_strBytes)
{
    std::istringstream stream(in_strBytes);
    IFF::IFFParser parser;
    IFF::ChunkPos pos;
    if (!parser.read(stream).good() || !parser.find(IFF::Chunk::makeId("data"), pos))
        return "";
    return {pos.chunk().m_vData.begin(), pos.chunk().m_vData.end()};
}

// A file in a folder takes the name of its recording.
bool isNamed(const Arguments& in_vArguments, const std::string& in_strPath)
{
    return in_strPath.find('/') != std::string::npos ||
           std::any_of(in_vArguments.begin(), in_vArguments.end(), [&](const std::string& in_strArgument) {
               return in_strArgument.find(in_strPath) != std::string::npos;
           });
}

// An output that was asked for may take the place of a file that is not read.
void requireFiles(const Arguments& in_vArguments, const Contents& in_files)
{
    const bool bOutput = isAmong(in_vArguments, {"-o", "--o", "--save", "--folder"});
    for (const auto& [strPath, strContents] : originals()) {
        const auto itFile = in_files.find(strPath);
        CORVANA_FUZZ_REQUIRE(itFile != in_files.end());
        if (itFile->second != strContents && !(bOutput && !itFile->second.starts_with("RIFF")))
            CORVANA_FUZZ_REQUIRE(!audioOf(strContents).empty() && audioOf(itFile->second) == audioOf(strContents));
    }
    for (const auto& [strPath, strContents] : in_files) // no temporary file either
        CORVANA_FUZZ_REQUIRE(originals().contains(strPath) || (bOutput && isNamed(in_vArguments, strPath)));
}

bool isPrintable(const std::string& in_strText)
{
    return std::none_of(in_strText.begin(), in_strText.end(),
                        [](char in_c) { return static_cast<unsigned char>(in_c) < 0x20 && in_c != '\n'; });
}

void requireOutcome(const Arguments& in_vArguments, const Outcome& in_outcome)
{
    CORVANA_FUZZ_REQUIRE(in_outcome.m_iExitCode >= 0 && in_outcome.m_iExitCode <= 2);
    CORVANA_FUZZ_REQUIRE(isPrintable(in_outcome.m_strMessages));
    // The exit code 1 of a comparison or a check says that something was found, which is the data.
    if (in_outcome.m_iExitCode == 2 || (in_outcome.m_iExitCode == 1 && !isAmong(in_vArguments, {"diff", "check"})))
        CORVANA_FUZZ_REQUIRE(!in_outcome.m_strMessages.empty());
    requireFiles(in_vArguments, in_outcome.m_files);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    enterScratchFolder();
    ByteReader input(in_pData, in_uiSize);
    const Arguments vArguments = takeArguments(input);
    const Outcome outcome = outcomeOf(vArguments);
    requireOutcome(vArguments, outcome);

    const Outcome again = outcomeOf(vArguments);
    CORVANA_FUZZ_REQUIRE(again.m_iExitCode == outcome.m_iExitCode && areSame(again.m_strData, outcome.m_strData));
    CORVANA_FUZZ_REQUIRE(areSame(again.m_files, outcome.m_files));
    if (!isAmong(vArguments, {"--progress"})) // tells the speed
        CORVANA_FUZZ_REQUIRE(again.m_strMessages == outcome.m_strMessages);
}
