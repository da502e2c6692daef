// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "support/AllocationCounter.h"
#include "support/ChunkBuilder.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"

#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace Corvana::Test {
namespace {

std::string recording(const std::string& in_strLabel)
{
    return riff(fmtChunk() + dataChunk(audioBytes(2 * 1000)) + cueChunk({cuePoint(1, 100), cuePoint(2, 200)}) +
                adtlChunk(ltxtChunk(1, 50) + lablChunk(1, in_strLabel) + ltxtChunk(2, 60) + lablChunk(2, "SF_12")));
}

// What a command asks for before it begins: its options, and those of all others.
std::uint64_t nbOfAllocationsForOptions()
{
    static const std::uint64_t s_uiNbOfAllocations = [] {
        std::ostringstream unused;
        const std::uint64_t uiBefore = nbOfAllocations();
        Tools::runCommandLine({"--version"}, {}, unused, unused);
        return nbOfAllocations() - uiBefore;
    }();
    return s_uiNbOfAllocations;
}

std::string savedSettings()
{
    const TempDir dir;
    std::ostringstream unused;
    Tools::runCommandLine({"features", "-f", "spectrum|peaks", "-f", "silenceratio", "--save-config", dir.file("a")},
                          {}, unused, unused);
    return contentsOf(dir.file("a"));
}

std::map<std::string, std::string> recordingsAndLists()
{
    return {{"a.wav", recording("CPA_HUMAN")},
            {"b.wav", recording("VOICE")},
            {"list.txt", "a.wav\n# no more\nb.wav\n"},
            {"labels.csv", "index,type,start,stop\n0,speech,0.01,0.02\n1,BEEP,0.03,0.04\n"},
            {"map.csv", "label,type\nspeech,CPA_HUMAN\n"},
            {"settings.xml", savedSettings()},
            {"former.csv", "what was there before\n"}};
}

// Two parts of a table of numbers.
std::map<std::string, std::string> parts()
{
    const TempDir dir;
    const std::string strRecording = dir.write("a.wav", recording("CPA_HUMAN"));
    std::map<std::string, std::string> files;
    std::ostringstream unused;
    for (const std::string strShard : {"1", "2"}) {
        Tools::runCommandLine({"features", "--jobs", "1", "--format", "npy", "--shard", strShard + "/2", "-o",
                               dir.file(strShard + ".npy"), strRecording, strRecording},
                              {}, unused, unused);
        for (const char* szEnd : {".npy", ".times.npy", ".npy.json"})
            files[strShard + szEnd] = contentsOf(dir.file(strShard + szEnd));
    }
    return files;
}

std::vector<std::string> inFolder(std::vector<std::string> in_vArguments, const std::string& in_strFolder)
{
    for (std::string& strArgument : in_vArguments)
        for (std::size_t uiPos = strArgument.find('@'); uiPos != std::string::npos; uiPos = strArgument.find('@'))
            strArgument.replace(uiPos, 1, in_strFolder);
    return in_vArguments;
}

// A command in a folder with two recordings, a list of them, label files and a map. "@" stands for the folder.
AllocationScenario command(const std::string& in_strName, const std::vector<std::string>& in_vArguments,
                           const std::string& in_strTable = "")
{
    return {in_strName,
            [=](const std::string& in_strFolder) {
                struct State
                {
                    std::vector<std::string> m_vArguments;
                    std::string m_strData;
                };
                const auto pState = std::make_shared<State>();
                pState->m_vArguments = inFolder(in_vArguments, in_strFolder);
                return Attempt{[=] {
                                   std::ostringstream data;
                                   std::ostringstream messages;
                                   if (Tools::runCommandLine(pState->m_vArguments, {}, data, messages) != 0 ||
                                       !data.good())
                                       return false;
                                   pState->m_strData = data.str();
                                   return true;
                               },
                               [=] { return pState->m_strData; }};
            },
            Afterwards::USABLE,
            recordingsAndLists(),
            61,
            nbOfAllocationsForOptions(),
            in_strTable};
}

// A table that another run can go on with.
AllocationScenario resumable(const std::string& in_strName, const std::string& in_strTable,
                             std::vector<std::string> in_vOptions)
{
    in_vOptions.insert(in_vOptions.begin(), {"features", "--jobs", "1", "--resume"});
    in_vOptions.insert(in_vOptions.end(), {"-o", "@/" + in_strTable, "@/a.wav", "@/b.wav"});
    AllocationScenario scenario = command(in_strName, in_vOptions, in_strTable);
    scenario.m_vOnlyForAnotherRun = {".partial", ".journal"};
    return scenario;
}

// The same, where a former run has finished the first recording only.
AllocationScenario resumed(const std::string& in_strName, const std::string& in_strTable,
                           const std::vector<std::string>& in_vOptions)
{
    AllocationScenario scenario = resumable(in_strName, in_strTable, in_vOptions);
    scenario.m_make = [=, make = scenario.m_make](const std::string& in_strFolder) {
        std::vector<std::string> vFormer = in_vOptions;
        vFormer.insert(vFormer.begin(), {"features", "--jobs", "1", "--resume", "--fail-fast"});
        vFormer.insert(vFormer.end(), {"-o", "@/" + in_strTable, "@/a.wav", "@/b.wav"});
        std::ostringstream unused;
        std::filesystem::rename(in_strFolder + "/b.wav", in_strFolder + "/away");
        Tools::runCommandLine(inFolder(vFormer, in_strFolder), {}, unused, unused);
        std::filesystem::rename(in_strFolder + "/away", in_strFolder + "/b.wav");
        if (!std::filesystem::exists(in_strFolder + "/" + in_strTable + ".journal"))
            throw std::logic_error("there is nothing to go on with");
        return make(in_strFolder);
    };
    return scenario;
}

AllocationScenario merging()
{
    AllocationScenario scenario = command("merge", {"merge", "@/all.npy", "@/2.npy", "@/1.npy"});
    scenario.m_files = parts();
    return scenario;
}

} // namespace

// One job each where there are several recordings: which allocation is which must not depend on threads, and what
// oneTBB sets up once in a program is no leak.
std::vector<AllocationScenario> commandScenarios()
{
    std::vector<AllocationScenario> vScenarios = {
        command("features into a new file",
                {"features", "--jobs", "1", "-f", "spectrum|flatness", "-o", "@/new.csv", "@/a.wav", "@/b.wav"},
                "new.csv"),
        command("features over a former file", {"features", "--format", "jsonl", "-o", "@/former.csv", "@/a.wav"},
                "former.csv"),
        command("features of a list with labels", {"features", "--jobs", "1", "--labels", "--list", "@/list.txt"}),
        command("features with saved settings", {"features", "--save-config", "@/new.xml", "@/a.wav"}),
        command("features by saved settings", {"features", "--config", "@/settings.xml", "@/a.wav"}),
        command("evaluate", {"eval", "max(spectralRange(spectrum(x), frequencyHz=1000, widthHz=100))", "@/a.wav"}),
        command("info", {"info", "@/a.wav", "@/b.wav"}),
        command("list features", {"list-features"}),
        command("list functions", {"list-functions"}),
        command("list regions", {"annotations", "list", "--jobs", "1", "--format", "json", "@/a.wav", "@/b.wav"}),
        command("annotations add", {"annotations", "add", "@/a.wav", "@/b.wav", "VOICE", "0.01", "0.02"}),
        command("annotations merge", {"annotations", "merge", "@/a.wav", "@/b.wav"}),
        command("annotations copy", {"annotations", "copy", "--interop", "@/a.wav", "@/b.wav"}),
        command("annotations clear", {"annotations", "clear", "--match", "sf_.*", "--list", "@/list.txt"}),
        command("annotations export", {"annotations", "export", "-o", "@/new.TextGrid", "@/a.wav"}),
        command("annotations export into a folder",
                {"annotations", "export", "--format", "audacity", "--folder", "@/exported", "@/a.wav", "@/b.wav"}),
        command("annotations import", {"annotations", "import", "--map", "@/map.csv", "@/labels.csv", "@/a.wav"}),
        command("annotations stats", {"annotations", "stats", "--jobs", "1", "@/a.wav", "@/b.wav"}),
        command("annotations diff", {"annotations", "diff", "@/a.wav", "@/a.wav"}),
        command("annotations check", {"annotations", "check", "--jobs", "1", "@/a.wav", "@/b.wav"}),
        command("annotations types", {"annotations", "types"}),
        command("features with a formula", {"features", "--expr", "tonal=flatness(spectrum(x)) < 0.2", "@/a.wav"}),
        command("features as numbers",
                {"features", "--jobs", "1", "--format", "npy", "-o", "@/new.npy", "@/a.wav", "@/b.wav"}, "new.npy"),
        resumable("features that can be gone on with", "new.csv", {"--sidecar"}),
        resumed("features that are gone on with", "new.npy", {"--format", "npy"}),
        merging()};
    vScenarios.front().m_uiNbOfCommon = 0; // for all of them
    vScenarios.front().m_uiStride = 211;
    return vScenarios;
}

} // namespace Corvana::Test
