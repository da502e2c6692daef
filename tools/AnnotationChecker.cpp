// SPDX-License-Identifier: Apache-2.0
#include "tools/AnnotationChecker.h"

#include "corvana/AudioAnnotation.h"
#include "tools/RegionType.h"
#include "tools/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;
using IFF::Chunk;

constexpr std::uint64_t s_uiHeaderSize = 8;
constexpr std::uint32_t s_uiUnknownSize = 0xFFFFFFFF;
constexpr const char* s_szRewrite = "any change of the regions writes it right, as does --fix";

std::string nameOf(Chunk::ChunkId in_uiId)
{
    std::string strName;
    for (unsigned uiShift = 0; uiShift < 32; uiShift += 8)
        strName += static_cast<char>((in_uiId >> uiShift) & 0xFFU);
    return "\"" + printable(strName) + "\"";
}

bool isId(const Chunk& in_chunk, const char (&in_acId)[5])
{
    return in_chunk.m_uiId == Chunk::makeId(in_acId);
}

// What any change of the regions takes away, or makes anew.
bool isRegionChunk(Chunk::ChunkId in_uiId)
{
    return in_uiId == Chunk::makeId("cue ") || in_uiId == Chunk::makeId("ltxt") || in_uiId == Chunk::makeId("labl") ||
           in_uiId == Chunk::makeId("note");
}

// Chunks that recordings and their regions consist of.
bool isKnown(Chunk::ChunkId in_uiId)
{
    constexpr Chunk::ChunkId auiIds[] = {Chunk::makeId("fmt "), Chunk::makeId("data"), Chunk::makeId("fact"),
                                         Chunk::makeId("cue "), Chunk::makeId("LIST"), Chunk::makeId("ltxt"),
                                         Chunk::makeId("labl"), Chunk::makeId("note")};
    return std::find(std::begin(auiIds), std::end(auiIds), in_uiId) != std::end(auiIds);
}

template <class RecordT>
bool decode(const Chunk& in_chunk, RecordT& out_record)
{
    return out_record.decode(in_chunk.m_vData.data(), static_cast<std::uint32_t>(in_chunk.m_vData.size()));
}

std::string recordName(const char* in_szKind, std::uint32_t in_uiCueId)
{
    return std::string(in_szKind) + " of cue point " + std::to_string(in_uiCueId);
}

// Behind the padding.
std::uint64_t endOf(const Chunk& in_chunk)
{
    const std::uint32_t uiSize = in_chunk.getDataSize();
    return in_chunk.m_uiFileOffset + s_uiHeaderSize + uiSize + (uiSize % 2 == 1 && !in_chunk.m_bPaddingMissing ? 1 : 0);
}

Finding tooShort(const Chunk& in_chunk, unsigned in_uiWanted)
{
    return {Finding::WARNING,
            in_chunk.m_uiFileOffset,
            nameOf(in_chunk.m_uiId),
            "has " + counted(in_chunk.m_vData.size(), "byte") + ", too few for its fields, which take " +
                std::to_string(in_uiWanted) + "; it counts as if it were not there",
            isId(in_chunk, "fmt ") ? "remove it" : "any change of the regions removes it, as does --fix",
            !isId(in_chunk, "fmt ")};
}

// The label as a user can read it: a file may hold anything of any length.
std::string shown(const std::string& in_strLabel)
{
    constexpr std::size_t uiMax = 60;
    return in_strLabel.size() <= uiMax ? inQuotes(in_strLabel) : inQuotes(in_strLabel.substr(0, uiMax)) + "...";
}

std::string suggestion(const std::string& in_strLabel)
{
    static const std::vector<std::string> s_vNames = namedRegionTypes();
    const std::vector<std::string> vNearest = nearestNames(in_strLabel, s_vNames);
    return vNearest.empty() ? "give it a type ('corvana annotations types' shows them) in the program that labelled it"
                            : (vNearest.size() == 1 ? "the nearest type is " : "the nearest types are ") +
                                  joined(vNearest) + "; correct it in the program that wrote it";
}

} // namespace

void AnnotationChecker::add(Finding in_finding)
{
    ++m_auiCounts[in_finding.m_severity];
    if (in_finding.m_bMendable && !m_bRewritable) {
        in_finding.m_bMendable = false;
        in_finding.m_strRemedy = "mend the errors first; until then, no change of the regions mends this";
    }
    m_bMendable = m_bMendable || in_finding.m_bMendable;
    if (!isFull())
        m_vFindings.push_back(std::move(in_finding));
}

std::string AnnotationChecker::check(const std::string& in_strPath)
{
    *this = AnnotationChecker();
    std::error_code error;
    if (std::filesystem::is_directory(in_strPath, error))
        return std::strerror(EISDIR);
    m_stream.open(in_strPath, std::ios::binary);
    if (!m_stream || !m_stream.seekg(0, std::ios::end))
        return std::strerror(errno);
    m_uiFileSize = static_cast<std::uint64_t>(m_stream.tellg());
    errno = 0;
    m_stream.seekg(0);
    if (!checkBeginning())
        return getSystemFault();
    m_stream.seekg(0);
    if (!m_parser.readWithoutAudio(m_stream)) {
        if (hasSystemFailed())
            return getSystemFault();
        // It begins as it should, so there is one reason left.
        add({Finding::ERROR, 0, "chunks",
             "are more than " + std::to_string(IFF::IFFParser::s_uiMaxNbOfChunks) + ", which no recording needs",
             "restore the file, or have the program write it again that made it", false});
        return {};
    }
    checkForm();
    checkFormat();
    checkAudio();
    checkRegions();
    checkReading();
    std::stable_sort(m_vFindings.begin(), m_vFindings.end(), [](const Finding& in_left, const Finding& in_right) {
        return in_left.m_severity != in_right.m_severity ? in_left.m_severity < in_right.m_severity
                                                         : in_left.m_uiOffset < in_right.m_uiOffset;
    });
    return getSystemFault();
}

// After something that failed and before which errno was 0: whether the reason is not in the file. What was found then
// does not count, however it looks.
bool AnnotationChecker::hasSystemFailed()
{
    m_iSystemError = std::max(m_iSystemError, errno); // any of them tells enough
    return m_iSystemError != 0;
}

std::string AnnotationChecker::getSystemFault() const
{
    return m_iSystemError == 0 ? "" : std::strerror(m_iSystemError);
}

// False, with an error, for what is another kind of file.
bool AnnotationChecker::checkBeginning()
{
    char acBytes[12] = {};
    if (!m_stream.read(acBytes, sizeof acBytes) && hasSystemFailed())
        return false;
    m_stream.clear();
    const std::string strId(acBytes, 4);
    const std::string strForm(acBytes + 8, 4);
    const auto refuse = [this](std::uint64_t in_uiOffset, const std::string& in_strFault, const char* in_szRemedy) {
        add({Finding::ERROR, in_uiOffset, "beginning", in_strFault, in_szRemedy, false});
        return false;
    };
    constexpr const char* szConvert = "convert it to a RIFF WAV file, which can hold up to 4 GiB";
    if (m_uiFileSize == 0)
        return refuse(0, "the file is empty", "record it again, or restore it");
    if (strId == "RIFX")
        return refuse(0, "is RIFX, whose numbers are big-endian", szConvert);
    if (strId == "RF64" || strId == "BW64")
        return refuse(0, "is " + strId + ", whose sizes have 64 bits", szConvert);
    if (strId != "RIFF")
        return refuse(0, "is no RIFF file", szConvert);
    if (m_uiFileSize < sizeof acBytes)
        return refuse(m_uiFileSize, "the file ends within its first 12 bytes", "record it again, or restore it");
    if (strForm != "WAVE")
        return refuse(8, "its RIFF form is \"" + printable(strForm) + "\", not \"WAVE\"", szConvert);
    return true;
}

bool AnnotationChecker::readNumber(std::uint64_t in_uiOffset, std::uint32_t& out_uiNumber)
{
    char acBytes[4] = {};
    m_stream.clear();
    errno = 0;
    m_stream.seekg(static_cast<std::streamoff>(in_uiOffset));
    if (!m_stream.read(acBytes, sizeof acBytes)) {
        hasSystemFailed();
        return false;
    }
    out_uiNumber = 0;
    for (unsigned uiByte = 0; uiByte < sizeof acBytes; ++uiByte)
        out_uiNumber |= std::uint32_t{static_cast<unsigned char>(acBytes[uiByte])} << (8 * uiByte);
    return true;
}

void AnnotationChecker::checkForm()
{
    checkLargeness();
    checkHidden(m_parser.root());
    m_bRewritable = getNbOf(Finding::ERROR) == 0;
    checkFormSize();
    checkChunks(m_parser.root());
    checkTrailingBytes();
}

// Some recorders go on behind what sizes can tell.
void AnnotationChecker::checkLargeness()
{
    m_bTooLarge = !m_parser.fitsFile();
    if (m_bTooLarge)
        add({Finding::ERROR, 4, "RIFF size",
             "has 32 bits, which cannot tell how large the chunks are together; the regions can be read, but not "
             "changed",
             "divide the recording", false});
}

// A writer that leaves the padding byte out moves what follows to where no reader looks: the first letter of its name
// is taken for that byte.
void AnnotationChecker::checkHidden(const Chunk& in_container)
{
    for (const Chunk& chunk : in_container.m_children) {
        checkHidden(chunk);
        if (chunk.m_ucPadding == 0 || chunk.m_bPaddingMissing) // of nearly all
            continue;
        const std::uint64_t uiPadding = endOf(chunk) - 1;
        std::uint32_t uiId = 0;
        if (chunk.getDataSize() % 2 == 0 || !readNumber(uiPadding, uiId) || !isKnown(uiId))
            continue;
        const bool bInForm = &in_container == &m_parser.root();
        add({Finding::ERROR, uiPadding, nameOf(uiId),
             "is not found by readers: the padding byte is missing that belongs behind the odd size of " +
                 nameOf(chunk.m_uiId) + " at byte " + std::to_string(chunk.m_uiFileOffset),
             "insert a zero byte in front of byte " + std::to_string(uiPadding) +
                 (bInForm ? ""
                          : ", and make the size of " + nameOf(in_container.m_uiId) + " at byte " +
                                std::to_string(in_container.m_uiFileOffset) + " larger by 1") +
                 "; then --fix writes the RIFF size right. Any change of the regions before that loses what is hidden",
             false});
    }
}

void AnnotationChecker::checkFormSize()
{
    std::uint32_t uiSize = 0;
    if (!readNumber(4, uiSize))
        return;
    const Chunk::List& chunks = m_parser.root().m_children;
    const std::uint64_t uiEnd = chunks.empty() ? s_uiHeaderSize + 4 : endOf(chunks.back());
    const std::uint64_t uiClaimed = s_uiHeaderSize + uiSize;
    // Some writers do not count the last padding byte.
    const bool bUncounted = !chunks.empty() && chunks.back().getDataSize() % 2 == 1 && uiClaimed == uiEnd - 1;
    if (uiClaimed == uiEnd || bUncounted)
        return;
    const bool bUnknown = uiSize == 0 || uiSize == s_uiUnknownSize;
    add({Finding::WARNING, 4, "RIFF size",
         "is " + std::to_string(uiSize) + (bUnknown ? ", as recorders leave it that were stopped" : "") +
             ", but the chunks take " + std::to_string(uiEnd - s_uiHeaderSize) + " bytes",
         s_szRewrite, true});
}

void AnnotationChecker::checkTrailingBytes()
{
    const std::size_t uiTrailing = m_parser.getTrailingBytes().size();
    IFF::ChunkPos pos;
    if (uiTrailing == 0 || !m_parser.find(Chunk::makeId("data"), pos) || pos.chunk().getDataSize() > 0)
        return;
    add({Finding::WARNING, pos.chunk().m_uiFileOffset, "\"data\"",
         "is empty, but " + counted(uiTrailing, "byte") + " from byte " + std::to_string(m_uiFileSize - uiTrailing) +
             " on belong to no chunk; they may be the audio of a recorder that was stopped",
         "if so, write 0 over the four bytes from byte 4 on and over those from byte " +
             std::to_string(pos.chunk().m_uiFileOffset + 4) + " on",
         false});
}

// As deep as the parser goes, which is not far.
void AnnotationChecker::checkChunks(const Chunk& in_container)
{
    for (const Chunk& chunk : in_container.m_children) {
        checkChunk(chunk);
        checkCut(chunk, &in_container == &m_parser.root());
        if (!isId(chunk, "cue "))
            checkChunks(chunk);
    }
}

void AnnotationChecker::checkChunk(const Chunk& in_chunk)
{
    checkContainer(in_chunk);
    const bool bLast = !m_parser.root().m_children.empty() && &in_chunk == &m_parser.root().m_children.back();
    if (in_chunk.m_bPaddingMissing && in_chunk.m_uiClaimedSize == 0)
        add({Finding::WARNING, in_chunk.m_uiFileOffset + s_uiHeaderSize + in_chunk.getDataSize(),
             nameOf(in_chunk.m_uiId), "has an odd size, but no padding byte behind it",
             bLast ? s_szRewrite : "nothing reads it wrongly; the program that wrote it should write the byte", bLast});
    if (isId(in_chunk, "note"))
        add({Finding::REMARK, in_chunk.m_uiFileOffset, "\"note\"",
             "is a comment, which every change of the regions removes", "keep its text with --save-notes FILE", false});
    else if (isId(in_chunk, "LIST") && in_chunk.m_uiFormType == Chunk::makeId("adtl") && ++m_uiNbOfLists > 1)
        add({Finding::REMARK, in_chunk.m_uiFileOffset, "\"LIST\" of associated data",
             "is not the only one; changes write all regions into one of them", "nothing needs to be done", false});
}

void AnnotationChecker::checkCut(const Chunk& in_chunk, bool in_bInForm)
{
    if (in_chunk.m_uiClaimedSize != 0) {
        // At the end of a list, somebody else's chunk is kept with all that it says.
        const bool bKept = !in_bInForm && !isRegionChunk(in_chunk.m_uiId);
        add({Finding::WARNING, in_chunk.m_uiFileOffset + 4, nameOf(in_chunk.m_uiId),
             "claims " + counted(in_chunk.m_uiClaimedSize, "byte") + ", of which " +
                 std::to_string(in_chunk.getDataSize()) + " are there",
             std::string("if bytes were lost, restore the file; otherwise ") +
                 (bKept ? "nothing reads it wrongly, and changes keep it as it is" : s_szRewrite),
             !bKept});
        return;
    }
    std::uint32_t uiSize = 0;
    if (in_chunk.m_uiSizeLeftInFile != 0 && readNumber(in_chunk.m_uiFileOffset + 4, uiSize) &&
        uiSize != in_chunk.m_uiSizeLeftInFile)
        add({Finding::WARNING, in_chunk.m_uiFileOffset + 4, nameOf(in_chunk.m_uiId),
             "says " + std::to_string(uiSize) + " for its size, as recorders leave it that were stopped; it has " +
                 counted(in_chunk.m_uiSizeLeftInFile, "byte"),
             s_szRewrite, true});
}

void AnnotationChecker::checkContainer(const Chunk& in_chunk)
{
    if (in_chunk.m_bOpaque)
        add({Finding::WARNING, in_chunk.m_uiFileOffset, nameOf(in_chunk.m_uiId),
             in_chunk.m_vData.size() < 4
                 ? (isId(in_chunk, "cue ") ? "is too short for the number of its points" : "is too short for its form")
                 : "lies deeper than " + std::to_string(IFF::IFFParser::s_uiMaxDepth) + " containers",
             "no region in it is found, and changes keep it as it is", false});
    else if (in_chunk.isContainer() && !isId(in_chunk, "cue ") && !in_chunk.m_vData.empty())
        add({Finding::WARNING,
             in_chunk.m_uiFileOffset + s_uiHeaderSize + in_chunk.getDataSize() - in_chunk.m_vData.size(),
             nameOf(in_chunk.m_uiId),
             "has " + counted(in_chunk.m_vData.size(), "byte") +
                 " behind its last chunk, too few to be one; a size before may be wrong",
             "changes keep them as they are", false});
}

void AnnotationChecker::checkFormat()
{
    IFF::WavFmtChunk format;
    IFF::ChunkPos pos;
    for (bool bFound = m_parser.find(Chunk::makeId("fmt "), pos); bFound; bFound = m_parser.findNext(pos)) {
        if (decode(pos.chunk(), format)) {
            checkFormatFields(pos.chunk(), format);
            return;
        }
        add(tooShort(pos.chunk(), 16));
    }
    add({Finding::ERROR, m_uiFileSize, "\"fmt \"", "is missing; nobody knows how the samples are stored",
         "restore the file, or put the chunk in", false});
}

void AnnotationChecker::checkFormatFields(const Chunk& in_chunk, const IFF::WavFmtChunk& in_format)
{
    const auto refuse = [&](unsigned in_uiField, const std::string& in_strFault, const char* in_szRemedy) {
        add({Finding::ERROR, in_chunk.m_uiFileOffset + s_uiHeaderSize + in_uiField, "\"fmt \"", in_strFault,
             in_szRemedy, false});
    };
    if (in_format.m_usNbOfChannels != 1)
        refuse(2, "has " + counted(in_format.m_usNbOfChannels, "channel") + "; regions are for mono recordings",
               in_format.m_usNbOfChannels == 0
                   ? "write 1 there if it is mono"
                   : "write each channel to a file of its own, as 'sox IN OUT remix 1' does with the first");
    if (in_format.m_uiSampleRate == 0)
        refuse(4, "says that the sample rate is 0", "write the true rate there");
    const unsigned uiBytesPerSample = in_format.m_usBitsPerSample / 8U;
    if (uiBytesPerSample == 0)
        refuse(14, "says that a sample has " + counted(in_format.m_usBitsPerSample, "bit") + ", fewer than 8",
               "convert it to a form with 8 bits or more, such as PCM of 16 bits");
    IFF::ChunkPos pos;
    if (uiBytesPerSample == 0 || !m_parser.find(Chunk::makeId("data"), pos))
        return;
    m_uiNbOfSamples = pos.chunk().getDataSize() / uiBytesPerSample;
    if (pos.chunk().getDataSize() % uiBytesPerSample != 0)
        add({Finding::WARNING, endOf(pos.chunk()), "\"data\"", "ends within a sample",
             "nothing reads it wrongly; the program that wrote it should write whole samples", false});
}

void AnnotationChecker::checkAudio()
{
    IFF::ChunkPos pos;
    if (!m_parser.find(Chunk::makeId("data"), pos)) {
        add({Finding::ERROR, m_uiFileSize, "\"data\"", "is missing; there is no audio",
             "restore the file, or record it again", false});
        return;
    }
    while (m_parser.findNext(pos))
        add({Finding::WARNING, pos.chunk().m_uiFileOffset, "\"data\"",
             "is not the only one; only the first counts as the audio", "remove it, or join their samples", false});
}

void AnnotationChecker::checkRegions()
{
    const auto forEach = [this](const char(&in_acId)[5], void (AnnotationChecker::*in_check)(const Chunk&)) {
        IFF::ChunkPos pos;
        for (bool bFound = m_parser.find(Chunk::makeId(in_acId), pos); bFound; bFound = m_parser.findNext(pos))
            (this->*in_check)(pos.chunk());
    };
    forEach("cue ", &AnnotationChecker::checkCuePoints);
    forEach("ltxt", &AnnotationChecker::checkLength);
    forEach("labl", &AnnotationChecker::takeType);
    forEach("labl", &AnnotationChecker::checkLabel);
    checkWholeness();
    checkGaps();
}

void AnnotationChecker::checkCuePoints(const Chunk& in_chunk)
{
    if (in_chunk.m_bOpaque)
        return;
    std::uint32_t uiCount = 0;
    const std::size_t uiThere = in_chunk.m_children.size();
    if (readNumber(in_chunk.m_uiFileOffset + s_uiHeaderSize, uiCount) &&
        (uiCount != uiThere || !in_chunk.m_vData.empty()))
        add({Finding::WARNING, in_chunk.m_uiFileOffset + s_uiHeaderSize, "\"cue \"",
             "counts " + counted(uiCount, "cue point") + ", but its data have " +
                 counted(4 + 24 * uiThere + in_chunk.m_vData.size(), "byte") + ", not " +
                 std::to_string(4 + 24 * std::uint64_t{uiCount}) + "; " + std::to_string(uiThere) + " are read",
             std::string("if points were lost, restore the file; otherwise ") + s_szRewrite, true});
    for (const Chunk& child : in_chunk.m_children)
        checkCuePoint(child);
}

void AnnotationChecker::checkCuePoint(const Chunk& in_chunk)
{
    IFF::WavCuePointChunk record;
    if (!decode(in_chunk, record))
        return;
    const std::string strRecord = "cue point " + std::to_string(record.m_uiCueId);
    if (record.m_uiCueId > Audio::AnnotatedFile::s_uiMaxCueId) {
        add({Finding::ERROR, in_chunk.m_uiFileOffset, strRecord,
             "has an identifier above " + std::to_string(Audio::AnnotatedFile::s_uiMaxCueId),
             "number the points from 1 on in the program that wrote them", false});
        return;
    }
    const auto [it, bNew] = m_points.try_emplace(record.m_uiCueId);
    if (!bNew)
        add({Finding::WARNING, in_chunk.m_uiFileOffset, strRecord,
             "stands a second time, the first at byte " + std::to_string(it->second.m_uiOffset) + "; the last counts",
             "give each point a number of its own; any change of the regions keeps the last, as does --fix", true});
    it->second.m_uiOffset = in_chunk.m_uiFileOffset;
    it->second.m_uiStart = record.m_uiSampleOffset;
    if (record.m_uiSampleOffset > m_uiNbOfSamples)
        add({Finding::WARNING, in_chunk.m_uiFileOffset + 20, strRecord,
             "starts at sample " + std::to_string(record.m_uiSampleOffset) +
                 ", behind the end of the audio at sample " + std::to_string(m_uiNbOfSamples),
             "any change of the regions moves it to the end, as does --fix", true});
}

// The cue point that a record names; null, with a finding, when there is none.
AnnotationChecker::Point* AnnotationChecker::pointOf(const Chunk& in_chunk, std::uint32_t in_uiCueId,
                                                     const std::string& in_strRecord)
{
    const auto it = m_points.find(in_uiCueId);
    if (it != m_points.end())
        return &it->second;
    const bool bInGap = !m_points.empty() && in_uiCueId < m_points.rbegin()->first;
    add({bInGap ? Finding::ERROR : Finding::WARNING, in_chunk.m_uiFileOffset, in_strRecord,
         bInGap ? "has no cue point, although there are points of higher numbers; where its region starts is unknown"
                : "has no cue point; it is left out",
         bInGap ? "remove it, or put its cue point in, in the program that wrote it"
                : "any change of the regions removes it, as does --fix",
         !bInGap});
    return nullptr;
}

void AnnotationChecker::checkLength(const Chunk& in_chunk)
{
    IFF::WavLabeledTextChunk record;
    if (!decode(in_chunk, record)) {
        add(tooShort(in_chunk, 20));
        return;
    }
    const std::string strRecord = recordName("\"ltxt\"", record.m_uiCueId);
    Point* pPoint = pointOf(in_chunk, record.m_uiCueId, strRecord);
    if (pPoint == nullptr)
        return;
    if (pPoint->m_bHasLength)
        add({Finding::WARNING, in_chunk.m_uiFileOffset, strRecord, "is not the only one; the last counts",
             "any change of the regions keeps the last, as does --fix", true});
    pPoint->m_bHasLength = true;
    const std::uint64_t uiStop = std::uint64_t{pPoint->m_uiStart} + record.m_uiSampleLength;
    if (pPoint->m_uiStart <= m_uiNbOfSamples && uiStop > m_uiNbOfSamples)
        add({Finding::WARNING, in_chunk.m_uiFileOffset + s_uiHeaderSize + 4, strRecord,
             "ends at sample " + std::to_string(uiStop) + ", behind the end of the audio at sample " +
                 std::to_string(m_uiNbOfSamples),
             "any change of the regions cuts it there, as does --fix", true});
}

// Before labels are found fault with, for one that is no type does no harm beside one that is.
void AnnotationChecker::takeType(const Chunk& in_chunk)
{
    IFF::WavLabelChunk record;
    const bool bIsType =
        decode(in_chunk, record) && Annotation::parseAnnotationType(record.m_strText.c_str()).isValid();
    const auto it = m_points.find(record.m_uiCueId);
    if (bIsType && it != m_points.end())
        it->second.m_bHasType = true;
}

void AnnotationChecker::checkLabel(const Chunk& in_chunk)
{
    IFF::WavLabelChunk record;
    if (!decode(in_chunk, record)) {
        add(tooShort(in_chunk, 4));
        return;
    }
    const std::string strRecord = recordName("\"labl\"", record.m_uiCueId);
    // A text that is no type does nothing where there is no point.
    const bool bIsType = Annotation::parseAnnotationType(record.m_strText.c_str()).isValid();
    Point* pPoint = nullptr;
    if (!bIsType && m_points.count(record.m_uiCueId) == 0)
        add({Finding::WARNING, in_chunk.m_uiFileOffset, strRecord, "has no cue point; it is left out",
             "any change of the regions removes it, as does --fix", true});
    else
        pPoint = pointOf(in_chunk, record.m_uiCueId, strRecord);
    if (pPoint == nullptr)
        return;
    if (pPoint->m_bHasLabel)
        add({Finding::WARNING, in_chunk.m_uiFileOffset, strRecord,
             "is not the only one; the last that is a type counts",
             "any change of the regions keeps that one, as does --fix", true});
    pPoint->m_bHasLabel = true;
    checkLabelText(in_chunk, record);
}

void AnnotationChecker::checkLabelText(const Chunk& in_chunk, const IFF::WavLabelChunk& in_label)
{
    const std::string strRecord = recordName("\"labl\"", in_label.m_uiCueId);
    if (std::find(in_chunk.m_vData.begin() + 4, in_chunk.m_vData.end(), 0) == in_chunk.m_vData.end())
        add({Finding::WARNING, in_chunk.m_uiFileOffset + s_uiHeaderSize + in_chunk.m_vData.size(), strRecord,
             "has no zero byte at its end", s_szRewrite, true});
    if (Annotation::parseAnnotationType(in_label.m_strText.c_str()).isValid())
        return;
    // Whether the regions can be read depends on what other labels the point has.
    add({m_points[in_label.m_uiCueId].m_bHasType ? Finding::WARNING : Finding::ERROR,
         in_chunk.m_uiFileOffset + s_uiHeaderSize + 4, strRecord,
         "says " + shown(in_label.m_strText) + ", which is no type of a region",
         isFull() ? std::string() : suggestion(in_label.m_strText), false});
}

// Whether every point has become a region. What a label says that is no type was found already.
void AnnotationChecker::checkWholeness()
{
    for (const auto& [uiCueId, point] : m_points) {
        const std::string strRecord = "cue point " + std::to_string(uiCueId);
        if (!point.m_bHasLength)
            add({Finding::ERROR, point.m_uiOffset, strRecord,
                 "has no \"ltxt\", which would tell how long the region is",
                 "make it a region, or remove it, in the program that wrote it", false});
        if (!point.m_bHasLabel)
            add({Finding::ERROR, point.m_uiOffset, strRecord,
                 "has no \"labl\", which would tell the type of the region",
                 "label it, or remove it, in the program that wrote it", false});
    }
}

// Identifiers begin at 1, or at 0.
void AnnotationChecker::checkGaps()
{
    std::uint32_t uiExpected = 1;
    for (const auto& [uiCueId, point] : m_points) {
        if (uiCueId > uiExpected)
            add({Finding::WARNING, point.m_uiOffset, "cue point " + std::to_string(uiCueId),
                 counted(uiCueId - uiExpected, "identifier") +
                     " before it skipped; each reads as a region without a type, which cannot be written again",
                 "--fix removes these regions", true});
        uiExpected = uiCueId + 1;
    }
}

// What all this is about, in case the reader knows of something more. After errors, it would only fail as well.
void AnnotationChecker::checkReading()
{
    if (getNbOf(Finding::ERROR) > 0)
        return;
    m_stream.clear();
    errno = 0;
    m_stream.seekg(0);
    Audio::AnnotatedFile file;
    if (!file.readRegionsFromWAV(m_stream) && !hasSystemFailed())
        add({Finding::ERROR, 0, "regions", "cannot be read", "--log-level debug shows what the library says", false});
}

} // namespace Corvana::Tools
