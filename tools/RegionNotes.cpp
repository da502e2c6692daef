// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionNotes.h"

#include "corvana/IFFWavRecords.h"
#include "tools/OutputFile.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace Corvana::Tools {
namespace {

using IFF::Chunk;
using Json = nlohmann::ordered_json;

std::map<std::uint32_t, double> startsByCue(Audio::AnnotatedFile& inout_file)
{
    std::map<std::uint32_t, double> starts;
    IFF::ChunkPos pos;
    constexpr Chunk::ChunkId uiCuePoint = Chunk::makeId("cuep");
    for (bool bFound = inout_file.parser().find(uiCuePoint, pos); bFound; bFound = inout_file.parser().findNext(pos)) {
        IFF::WavCuePointChunk point;
        if (point.decode(pos.chunk().m_vData.data(), pos.chunk().getDataSize()))
            starts[point.m_uiCueId] =
                point.m_uiSampleOffset / static_cast<double>(std::max(1U, inout_file.getSampleRate()));
    }
    return starts;
}

std::string hexOf(const std::string& in_strText)
{
    constexpr char acDigits[] = "0123456789abcdef";
    std::string strHex;
    for (const char cLetter : in_strText) {
        const auto ucLetter = static_cast<unsigned char>(cLetter);
        strHex += {acDigits[ucLetter >> 4U], acDigits[ucLetter & 0xFU]};
    }
    return strHex;
}

// The text as JSON holds it.
std::string validText(const std::string& in_strText)
{
    return Json::parse(Json(in_strText).dump(-1, ' ', false, Json::error_handler_t::replace)).get<std::string>();
}

Json toJson(const std::string& in_strFile, const RegionNote& in_note)
{
    const std::string strText = validText(in_note.m_strText);
    Json json = {{"file", validText(in_strFile)}, {"cue", in_note.m_uiCueId}, {"start", nullptr}, {"text", strText}};
    if (in_note.m_dStart >= 0.0)
        json["start"] = in_note.m_dStart;
    if (strText != in_note.m_strText)
        json["hex"] = hexOf(in_note.m_strText);
    return json;
}

// False: there is something else in the file.
bool readSavedNotes(const std::string& in_strPath, Json& out_json)
{
    std::error_code error;
    out_json = Json::array();
    if (!std::filesystem::exists(in_strPath, error) || std::filesystem::file_size(in_strPath, error) == 0)
        return true;
    if (error)
        return false;
    std::ifstream stream(in_strPath, std::ios::binary);
    out_json = Json::parse(stream, nullptr, false);
    return out_json.is_array() && std::all_of(out_json.begin(), out_json.end(), [](const Json& in_note) {
               return in_note.is_object() && in_note.contains("file") && in_note.contains("text");
           });
}

void append(const NotesOfFiles& in_notes, Json& inout_json)
{
    std::set<Json> known(inout_json.begin(), inout_json.end()); // files hold as many notes as they have room for
    for (const auto& [strFile, vNotes] : in_notes)
        for (const RegionNote& note : vNotes) {
            Json json = toJson(strFile, note);
            if (known.insert(json).second)
                inout_json.push_back(std::move(json));
        }
}

} // namespace

RegionNotes notesIn(Audio::AnnotatedFile& inout_file)
{
    const std::map<std::uint32_t, double> starts = startsByCue(inout_file);
    RegionNotes vNotes;
    IFF::ChunkPos pos;
    constexpr Chunk::ChunkId uiNote = Chunk::makeId("note");
    for (bool bFound = inout_file.parser().find(uiNote, pos); bFound; bFound = inout_file.parser().findNext(pos)) {
        // A note has the layout of a label: an identifier and a text.
        IFF::WavLabelChunk note;
        if (!note.decode(pos.chunk().m_vData.data(), pos.chunk().getDataSize()))
            continue;
        const auto itStart = starts.find(note.m_uiCueId);
        vNotes.push_back({note.m_uiCueId, itStart == starts.end() ? -1.0 : itStart->second, note.m_strText});
    }
    return vNotes;
}

unsigned long nbOfShortNotes(Audio::AnnotatedFile& inout_file)
{
    unsigned long uiCount = 0;
    IFF::ChunkPos pos;
    constexpr Chunk::ChunkId uiNote = Chunk::makeId("note");
    for (bool bFound = inout_file.parser().find(uiNote, pos); bFound; bFound = inout_file.parser().findNext(pos)) {
        IFF::WavLabelChunk note;
        uiCount += note.decode(pos.chunk().m_vData.data(), pos.chunk().getDataSize()) ? 0 : 1;
    }
    return uiCount;
}

std::string saveNotes(const std::string& in_strPath, const NotesOfFiles& in_notes,
                      const std::vector<std::string>& in_vRead)
{
    Json json;
    if (!readSavedNotes(in_strPath, json))
        return printable(in_strPath) + ": holds something else than saved notes; name another file";
    std::ostringstream unused;
    OutputFile output(unused);
    if (!output.open(in_strPath))
        return output.getFault();
    const std::string strBoth = output.findAmong(in_vRead);
    if (!strBoth.empty())
        return printable(strBoth) + ": is both read and written; name another file";
    append(in_notes, json);
    output.stream() << json.dump(2) << '\n';
    return output.commit() ? std::string() : output.getFault();
}

} // namespace Corvana::Tools
