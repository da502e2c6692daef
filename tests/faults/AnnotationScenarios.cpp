// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "corvana/AudioAnnotation.h"
#include "corvana/AudioAtomicFileEdit.h"
#include "corvana/IFFParser.h"
#include "corvana/IFFWavRecords.h"
#include "corvana/NumberText.h"
#include "support/ChunkBuilder.h"
#include "tools/LabelMap.h"
#include "tools/RegionFormat.h"

#include <fstream>
#include <memory>
#include <sstream>

namespace Corvana::Test {
namespace {

using Audio::AnnotatedFile;
using Audio::AtomicFileEdit;
using Annotation = AnnotatedFile::Annotation;
using Files = std::map<std::string, std::string>;

// With a chunk that is nobody's, and a list that holds one more.
std::string recording(const std::vector<std::string>& in_vLabels)
{
    std::vector<std::string> vPoints;
    std::string strChunks;
    for (const std::string& strLabel : in_vLabels) {
        const auto uiCueId = static_cast<std::uint32_t>(vPoints.size() + 1);
        vPoints.push_back(cuePoint(uiCueId, 100 * uiCueId));
        strChunks += ltxtChunk(uiCueId, 50) + lablChunk(uiCueId, strLabel);
    }
    strChunks += ChunkBuilder("file").text("a chunk that is not ours, of odd size", "text").bytes();
    return riff(fmtChunk() + ChunkBuilder("bext").text("somebody else's text of odd size", "text").bytes() +
                dataChunk(audioBytes(2 * 1000)) + (vPoints.empty() ? "" : cueChunk(vPoints)) + adtlChunk(strChunks));
}

const Files& twoRecordings()
{
    static const Files s_files{{"a.wav", recording({"CPA_HUMAN", "SF_12", "DTMF_1"})}, {"b.wav", recording({"VOICE"})}};
    return s_files;
}

std::string textOf(const std::vector<Annotation>& in_vAnnotations)
{
    std::string strText;
    for (const Annotation& annotation : in_vAnnotations)
        strText += std::string(Annotation::getAnnotationTypeString(annotation.m_type)) + " " +
                   toShortestText(annotation.m_dStartTime) + " " + toShortestText(annotation.m_dStopTime) + "\n";
    return strText;
}

Attempt reading(const std::string&)
{
    const auto pFile = std::make_shared<AnnotatedFile>();
    const std::string strBytes = twoRecordings().at("a.wav");
    return {[=] {
                std::istringstream stream(strBytes);
                return pFile->readFromWAV(stream).good();
            },
            [=] { return textOf(pFile->annotations()); }};
}

Attempt readingRegions(const std::string& in_strFolder)
{
    const auto pFile = std::make_shared<AnnotatedFile>();
    return {[=] {
                std::ifstream stream(in_strFolder + "/a.wav", std::ios::binary);
                return pFile->readRegionsFromWAV(stream).good();
            },
            [=] { return textOf(pFile->annotations()); }};
}

Attempt readingRubbish(const std::string&)
{
    const auto pFile = std::make_shared<AnnotatedFile>();
    const std::string strBytes = recording({"no type at all, and longer than a short text"});
    return {[=] {
                std::istringstream stream(strBytes);
                return pFile->readFromWAV(stream).fail() && pFile->annotations().empty();
            },
            [] { return ""; }};
}

struct Written
{
    AnnotatedFile m_file;
    std::string m_strBytes;

    Written()
    {
        std::istringstream stream(twoRecordings().at("a.wav"));
        m_file.readFromWAV(stream);
        m_file.annotations().emplace_back(Annotation::CPA_NUMBER_UNOBTAINABLE, 0.05, 0.1);
    }
};

Attempt writing(const std::string&)
{
    const auto pState = std::make_shared<Written>();
    return {[=] {
                std::ostringstream stream;
                if (!pState->m_file.writeToWAV(stream).good())
                    return false;
                pState->m_strBytes = stream.str();
                return true;
            },
            // A failed write may leave its marks among the chunks in memory: not the bytes count, but what they say.
            [=] {
                std::istringstream stream(pState->m_strBytes);
                AnnotatedFile file;
                file.readFromWAV(stream);
                IFF::ChunkPos pos;
                const bool bAudio = file.parser().find(IFF::Chunk::makeId("data"), pos);
                return textOf(file.annotations()) +
                       (bAudio ? std::string(pos.chunk().m_vData.begin(), pos.chunk().m_vData.end()) : "none");
            }};
}

Attempt copying(const std::string&)
{
    struct State : Written
    {
        AnnotatedFile m_copy;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                const AnnotatedFile copy(pState->m_file);
                pState->m_copy = copy;
                return true;
            },
            [=] { return textOf(pState->m_copy.annotations()); }};
}

Attempt types(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                std::ostringstream stream;
                stream << Annotation(Annotation::CPA_NUMBER_UNOBTAINABLE, 0.05, 0.1) << Annotation::SF_3999;
                if (!stream.good() || !Annotation::parseAnnotationType("corvana_number_unobtainable").isValid())
                    return false;
                *pText = stream.str();
                return true;
            },
            [=] { return *pText; }};
}

// An operation on the files a.wav and b.wav, in place.
AllocationScenario inPlace(const std::string& in_strName,
                           const std::function<bool(const char* in_szA, const char* in_szB)>& in_operation)
{
    return {in_strName,
            [=](const std::string& in_strFolder) {
                const std::string strA = in_strFolder + "/a.wav";
                const std::string strB = in_strFolder + "/b.wav";
                return Attempt{[=] { return in_operation(strA.c_str(), strB.c_str()); }, [] { return ""; }};
            },
            Afterwards::USABLE, twoRecordings(), 3};
}

bool editSafely(const char* in_szFile)
{
    AtomicFileEdit edit(in_szFile, [](const char*) {});
    return edit.isOpen() &&
           AnnotatedFile::addAnnotation(edit.workingFileName(), Annotation(Annotation::BEEP, 0.05, 0.1)) &&
           edit.commit();
}

bool updateSafely(const char* in_szFile)
{
    AtomicFileEdit edit(in_szFile);
    AnnotatedFile file;
    std::ifstream stream(edit.workingFileName(), std::ios::binary);
    if (!file.readRegionsFromWAV(stream))
        return false;
    file.annotations().emplace_back(Annotation::BEEP, 0.05, 0.1);
    return file.updateFile(edit.workingFileName()) && edit.commit();
}

bool refuseSafely(const char* in_szFile)
{
    const AtomicFileEdit edit((std::string(in_szFile) + " that is not there").c_str());
    return !edit.isOpen() && !edit.getFault().empty();
}

std::vector<AllocationScenario> fileScenarios()
{
    const Annotation beep(Annotation::BEEP, 0.05, 0.1);
    std::vector<AllocationScenario> vScenarios = {
        inPlace("add a region",
                [=](const char* in_szA, const char*) { return AnnotatedFile::addAnnotation(in_szA, beep); }),
        inPlace("merge regions",
                [](const char* in_szA, const char* in_szB) { return AnnotatedFile::addAnnotations(in_szA, in_szB); }),
        inPlace("copy regions",
                [](const char* in_szA, const char* in_szB) { return AnnotatedFile::copyAnnotations(in_szA, in_szB); }),
        inPlace(
            "clear regions that match",
            [](const char* in_szA, const char*) { return AnnotatedFile::clearAnnotations(in_szA, "(cpa|dtmf)_.*"); }),
        inPlace("clear all regions",
                [](const char* in_szA, const char*) { return AnnotatedFile::clearAnnotations(in_szA); }),
        inPlace("edit safely", [](const char* in_szA, const char*) { return editSafely(in_szA); }),
        inPlace("update safely", [](const char* in_szA, const char*) { return updateSafely(in_szA); }),
        inPlace("refuse to edit", [](const char* in_szA, const char*) { return refuseSafely(in_szA); })};
    return vScenarios;
}

Attempt parser(const std::string&)
{
    const auto pParser = std::make_shared<IFF::IFFParser>();
    const std::string strBytes = twoRecordings().at("a.wav");
    return {[=] {
                std::istringstream stream(strBytes);
                return pParser->read(stream).good();
            },
            [=] {
                std::ostringstream stream;
                pParser->write(stream);
                return stream.str();
            }};
}

Attempt chunkTree(const std::string&)
{
    struct State
    {
        IFF::IFFParser m_parser;
        std::string m_strBytes;
    };
    const auto pState = std::make_shared<State>();
    std::istringstream bytes(twoRecordings().at("a.wav"));
    pState->m_parser.read(bytes);
    return {[=] {
                IFF::IFFParser copy(pState->m_parser);
                IFF::ChunkPos pos;
                for (bool bFound = copy.find(IFF::Chunk::makeId("labl"), pos); bFound; bFound = copy.findNext(pos))
                    copy.unlink(pos);
                IFF::Chunk added(IFF::Chunk::makeId("note"));
                const std::uint8_t aucData[] = {1, 0, 0, 0, 'x'};
                if (!added.setData(aucData, sizeof aucData))
                    return false;
                copy.root().m_children.push_back(added);
                std::ostringstream stream;
                if (!copy.canBeWritten() || !copy.write(stream).good())
                    return false;
                pState->m_strBytes = stream.str();
                return true;
            },
            [=] { return pState->m_strBytes; }};
}

Attempt update(const std::string& in_strFolder)
{
    const std::string strFile = in_strFolder + "/a.wav";
    return {[=] {
                IFF::IFFParser parser;
                std::fstream stream(strFile, std::ios::binary | std::ios::in | std::ios::out);
                if (!parser.readWithoutAudio(stream).good() || !parser.canBeUpdated())
                    return false;
                stream.seekp(0);
                return parser.update(stream).good();
            },
            [] { return ""; }};
}

Attempt records(const std::string&)
{
    const auto pBytes = std::make_shared<std::vector<std::uint8_t>>();
    return {[=] {
                IFF::WavLabelChunk label;
                label.m_strText = "a text that is longer than a short text";
                label.encode(*pBytes);
                IFF::WavLabeledTextChunk text;
                if (!text.decode(pBytes->data(), static_cast<std::uint32_t>(pBytes->size())) ||
                    !label.decode(pBytes->data(), static_cast<std::uint32_t>(pBytes->size())))
                    return false;
                text.encode(*pBytes);
                return true;
            },
            [=] { return std::string(pBytes->begin(), pBytes->end()); }};
}

AllocationScenario exchange(Tools::RegionFormat in_format)
{
    return {std::string("exchange as ") + Tools::nameOf(in_format), [=](const std::string&) {
                struct State
                {
                    std::vector<Tools::LabeledRegion> m_vRegions{{"CPA_HUMAN", 0.5, 1.25},
                                                                 {"a label that is longer than a short text", 1.0, 2.0},
                                                                 {"with \"quotes\", a comma and \xc3\xa4", 1.5, 1.5}};
                    std::string m_strText;
                    std::string m_strRead;
                };
                const auto pState = std::make_shared<State>();
                return Attempt{[=] {
                                   std::ostringstream stream;
                                   writeRegions(stream, in_format, pState->m_vRegions, 3.0);
                                   if (!stream.good())
                                       return false;
                                   pState->m_strText = stream.str();
                                   std::vector<Tools::LabeledRegion> vRegions;
                                   if (!readRegions(pState->m_strText, in_format, vRegions).empty())
                                       return false;
                                   pState->m_strRead.clear();
                                   for (const Tools::LabeledRegion& region : vRegions)
                                       pState->m_strRead += region.m_strLabel + " " + toShortestText(region.m_dStart) +
                                                            " " + toShortestText(region.m_dStop) + "\n";
                                   return true;
                               },
                               [=] { return pState->m_strText + pState->m_strRead; }};
            }};
}

Attempt labelMap(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    return {[=] {
                Tools::LabelMap map;
                if (!map.read("label,type\n\"a label, longer than a short text\",CPA_HUMAN\ndropped,\n").empty())
                    return false;
                std::vector<Annotation> vRegions;
                *pText = map.apply(
                    {{"a label, longer than a short text", 0.5, 1.0}, {"dropped", 1.0, 2.0}, {"BEEP", 2.0, 2.5}},
                    vRegions);
                *pText += textOf(vRegions);
                *pText += map.apply({{"an unknown label, longer than a short text", 0.5, 1.0}}, vRegions);
                return true;
            },
            [=] { return *pText; }};
}

} // namespace

std::vector<AllocationScenario> annotationScenarios()
{
    std::vector<AllocationScenario> vScenarios = {
        {"read regions with the audio", reading},
        {"read regions alone", readingRegions, Afterwards::USABLE, twoRecordings()},
        {"refuse an unknown label", readingRubbish},
        {"write regions", writing},
        {"copy an annotated file", copying},
        {"write and parse types", types},
        {"parse chunks", parser},
        {"change chunks", chunkTree},
        {"update chunks", update, Afterwards::USABLE, twoRecordings()},
        {"encode records", records},
        exchange(Tools::RegionFormat::CSV),
        exchange(Tools::RegionFormat::JSON),
        exchange(Tools::RegionFormat::AUDACITY),
        exchange(Tools::RegionFormat::TEXTGRID),
        {"map labels", labelMap, Afterwards::USABLE, {}, 200}};
    const std::vector<AllocationScenario> vFiles = fileScenarios();
    vScenarios.insert(vScenarios.end(), vFiles.begin(), vFiles.end());
    return vScenarios;
}

} // namespace Corvana::Test
