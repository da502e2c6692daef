// SPDX-License-Identifier: Apache-2.0
#include "PlainWav.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>

namespace Corvana::Test {
namespace {

constexpr std::uint32_t s_uiUnknown = 0xFFFFFFFF;
constexpr std::uint32_t s_uiMaxCueId = 1048576;
constexpr unsigned s_uiMaxDepth = 64;
constexpr std::size_t s_uiHeader = 8;

bool isPrintable(const std::string& in_strId)
{
    return std::all_of(in_strId.begin(), in_strId.end(), [](char in_c) { return in_c >= 0x20 && in_c <= 0x7E; });
}

bool isRegionChunk(const std::string& in_strId)
{
    return in_strId == "cue " || in_strId == "ltxt" || in_strId == "labl" || in_strId == "note";
}

std::set<std::string> allNamedTypes()
{
    std::set<std::string> types = {"FEMALE",
                                   "MALE",
                                   "VOICE",
                                   "SILENCE",
                                   "NOISE",
                                   "MUSIC",
                                   "BEEP",
                                   "RINGBACK",
                                   "OTHER",
                                   "EAMD_BEEP",
                                   "EAMD_SILENCE",
                                   "DIALOGIC_CONNECTED",
                                   "DIALOGIC_EAMD_BEEP",
                                   "DIALOGIC_EAMD_SILENCE",
                                   "DIALOGIC_PSTN_HANGUP",
                                   "DIALOGIC_SIP_HANGUP",
                                   "CONNECTED"};
    std::vector<std::string> vOutcomes = {"HUMAN", "MACHINE", "FAX",     "BUSY",     "REORDER", "NUMBER_UNOBTAINABLE",
                                          "SIT",   "SIT_NC",  "SIT_IC",  "SIT_VC",   "SIT_RO",  "SIT_UNKNOWN",
                                          "EOM",   "UNKNOWN", "DROPPED", "NO_ANSWER"};
    for (const char* szKey : {"1", "2", "3", "4", "5", "6", "7", "8", "9", "0", "STAR", "SQUARE", "A", "B", "C", "D"}) {
        types.insert("DTMF_" + std::string(szKey));
        vOutcomes.push_back("DTMF_" + std::string(szKey));
    }
    for (const char* szDetector : {"CPA_", "DIALOGIC_", "CORVANA_", "TEST1_", "TEST2_", "TEST3_", "TEST4_", "TEST5_"})
        for (const std::string& strOutcome : vOutcomes)
            types.insert(szDetector + strOutcome);
    return types;
}

} // namespace

std::string plainType(const std::string& in_strLabel)
{
    static const std::set<std::string> s_types = allNamedTypes();
    std::string strUpper = in_strLabel;
    std::transform(strUpper.begin(), strUpper.end(), strUpper.begin(), [](unsigned char in_uc) {
        return in_uc >= 'a' && in_uc <= 'z' ? static_cast<char>(in_uc - 'a' + 'A') : static_cast<char>(in_uc);
    });
    if (s_types.count(strUpper) > 0)
        return strUpper;
    if (in_strLabel.compare(0, 3, "SF_") != 0)
        return {};
    const long iNumber = std::strtol(in_strLabel.c_str() + 3, nullptr, 10);
    return iNumber >= 1 && iNumber <= 4000 ? "SF_" + std::to_string(iNumber) : "";
}

PlainWav::PlainWav(const std::string& in_strBytes)
    : m_strBytes(in_strBytes)
{
    if (!readBeginning())
        return;
    const bool bTrue = isFormSizeTrue();
    readForm(bTrue);
    if (!bTrue)
        m_mendable.insert("size of the form");
    findHidden(m_vChunks);
    findHolder();
    if (readFormat() && readRegions())
        judgeRegions();
}

bool PlainWav::refuse(const std::string& in_strReason)
{
    m_strRefusal = in_strReason;
    m_vRegions.clear();
    return false;
}

std::string PlainWav::bytes(std::size_t in_uiBegin, std::size_t in_uiEnd) const
{
    return m_strBytes.substr(in_uiBegin, in_uiEnd - in_uiBegin);
}

std::uint32_t PlainWav::number(std::size_t in_uiOffset, unsigned in_uiNbOfBytes) const
{
    std::uint32_t uiNumber = 0;
    for (unsigned uiByte = 0; uiByte < in_uiNbOfBytes; ++uiByte)
        uiNumber |= std::uint32_t{static_cast<unsigned char>(m_strBytes[in_uiOffset + uiByte])} << (8 * uiByte);
    return uiNumber;
}

std::uint32_t PlainWav::field(const PlainChunk& in_chunk, std::size_t in_uiOffset, unsigned in_uiNbOfBytes) const
{
    return number(in_chunk.m_uiBegin + in_uiOffset, in_uiNbOfBytes);
}

bool PlainWav::readBeginning()
{
    const std::string strId = m_strBytes.substr(0, 4);
    if (strId.empty())
        return refuse("it is empty");
    if (strId == "RF64" || strId == "RIFX")
        return refuse("it is " + strId);
    if (strId != "RIFF")
        return refuse("it is no RIFF file");
    if (m_strBytes.size() < 12)
        return refuse("it ends within its first 12 bytes");
    if (m_strBytes.compare(8, 4, "WAVE") != 0)
        return refuse("its RIFF form is ");
    m_uiFormSize = number(4);
    return true;
}

// Whether chunks, each behind the other, fill the form to its last byte, all inside the file. The last padding byte may
// be outside.
bool PlainWav::isFormSizeTrue()
{
    m_uiDoubted = 12;
    const std::size_t uiFormEnd = s_uiHeader + m_uiFormSize;
    if (m_uiFormSize == 0 || m_uiFormSize == s_uiUnknown || uiFormEnd > m_strBytes.size())
        return false;
    std::size_t uiOffset = 12;
    while (uiOffset < uiFormEnd) {
        if (uiOffset + s_uiHeader > m_strBytes.size())
            return false;
        const std::size_t uiEnd = uiOffset + s_uiHeader + number(uiOffset + 4);
        if (uiEnd > uiFormEnd)
            return false;
        m_uiDoubted = uiEnd;
        uiOffset = uiEnd == uiFormEnd ? uiEnd : uiEnd + uiEnd % 2;
    }
    return uiOffset == uiFormEnd;
}

void PlainWav::readForm(bool in_bBelieved)
{
    const std::size_t uiFormEnd = in_bBelieved ? s_uiHeader + m_uiFormSize : m_strBytes.size();
    std::size_t uiOffset = 12;
    while (uiOffset < uiFormEnd) {
        if (uiOffset + s_uiHeader > m_strBytes.size())
            break;
        if (!in_bBelieved && uiOffset >= m_uiDoubted && !isPrintable(m_strBytes.substr(uiOffset, 4)))
            break;
        m_vChunks.push_back(readChunk(uiOffset, m_strBytes.size(), 2));
        PlainChunk& chunk = m_vChunks.back();
        uiOffset = chunk.m_uiEnd;
        const bool bOdd = (chunk.m_uiEnd - chunk.m_uiBegin) % 2 == 1 && !chunk.m_bCut;
        if (!bOdd)
            continue;
        // Where the form ends with the data, only a zero byte can be their padding.
        chunk.m_bUnpadded =
            uiOffset >= m_strBytes.size() || (in_bBelieved && uiOffset == uiFormEnd && m_strBytes[uiOffset] != 0);
        m_bPaddingUncounted = in_bBelieved && uiOffset == uiFormEnd && !chunk.m_bUnpadded;
        if (!chunk.m_bUnpadded)
            chunk.m_cPadding = m_strBytes[uiOffset++];
        else
            m_mendable.insert("missing padding");
    }
    m_strBehind = m_strBytes.substr(std::min(uiOffset, m_strBytes.size()));
}

PlainWav::PlainChunk PlainWav::readChunk(std::size_t in_uiOffset, std::size_t in_uiContainerEnd, unsigned in_uiDepth)
{
    PlainChunk chunk;
    chunk.m_strId = m_strBytes.substr(in_uiOffset, 4);
    chunk.m_uiOffset = in_uiOffset;
    chunk.m_uiBegin = in_uiOffset + s_uiHeader;
    const std::uint32_t uiSize = number(in_uiOffset + 4);
    const std::size_t uiLeft = in_uiContainerEnd - chunk.m_uiBegin;
    const bool bFormUnknown = m_uiFormSize == 0 || m_uiFormSize == s_uiUnknown;
    const bool bToEnd =
        in_uiDepth == 2 && chunk.m_strId == "data" && (uiSize == s_uiUnknown || (uiSize == 0 && bFormUnknown));
    chunk.m_uiEnd = chunk.m_uiBegin + (bToEnd ? uiLeft : std::min<std::size_t>(uiSize, uiLeft));
    chunk.m_bCut = !bToEnd && uiSize > uiLeft;
    if (chunk.m_bCut && in_uiDepth > 2 && !isRegionChunk(chunk.m_strId))
        m_lasting.insert("size of a chunk in a list");
    else if (chunk.m_bCut || (bToEnd && uiLeft > 0))
        m_mendable.insert("size of a chunk");
    if (chunk.m_strId == "RIFF" || chunk.m_strId == "LIST" || chunk.m_strId == "cue ")
        readContainer(chunk, in_uiDepth);
    return chunk;
}

void PlainWav::readContainer(PlainChunk& inout_chunk, unsigned in_uiDepth)
{
    if (in_uiDepth > s_uiMaxDepth || inout_chunk.m_uiEnd < inout_chunk.m_uiBegin + 4) {
        inout_chunk.m_bUnreadable = true;
        m_lasting.insert("container that is not read");
        return;
    }
    inout_chunk.m_bContainer = true;
    if (inout_chunk.m_strId == "cue ")
        return; // whose points have no headers
    inout_chunk.m_strFormType = m_strBytes.substr(inout_chunk.m_uiBegin, 4);
    std::size_t uiOffset = inout_chunk.m_uiBegin + 4;
    while (uiOffset + s_uiHeader <= inout_chunk.m_uiEnd) {
        PlainChunk child = readChunk(uiOffset, inout_chunk.m_uiEnd, in_uiDepth + 1);
        uiOffset = child.m_uiEnd;
        if ((child.m_uiEnd - child.m_uiBegin) % 2 == 1 && !child.m_bCut) {
            child.m_bUnpadded = uiOffset >= inout_chunk.m_uiEnd;
            if (!child.m_bUnpadded)
                child.m_cPadding = m_strBytes[uiOffset++];
            else
                m_lasting.insert("missing padding in a list");
        }
        inout_chunk.m_vChildren.push_back(std::move(child));
    }
    inout_chunk.m_strRest = bytes(uiOffset, std::max(uiOffset, inout_chunk.m_uiEnd));
    if (!inout_chunk.m_strRest.empty())
        m_lasting.insert("odd end of a list");
}

// Behind an odd size, a name that begins where the padding byte should be.
void PlainWav::findHidden(const std::vector<PlainChunk>& in_vChunks)
{
    static const std::set<std::string> s_names = {"fmt ", "data", "fact", "cue ", "LIST", "ltxt", "labl", "note"};
    for (const PlainChunk& chunk : in_vChunks) {
        if (chunk.m_cPadding != 0 && s_names.count(m_strBytes.substr(chunk.m_uiEnd, 4)) > 0)
            m_bHidesChunks = true;
        findHidden(chunk.m_vChildren);
    }
}

void PlainWav::collect(const std::vector<PlainChunk>& in_vChunks, const std::string& in_strId,
                       std::vector<const PlainChunk*>& out_vFound) const
{
    for (const PlainChunk& chunk : in_vChunks) {
        if (chunk.m_strId == in_strId)
            out_vFound.push_back(&chunk);
        collect(chunk.m_vChildren, in_strId, out_vFound);
    }
}

std::vector<const PlainWav::PlainChunk*> PlainWav::find(const std::string& in_strId) const
{
    std::vector<const PlainChunk*> vFound;
    collect(m_vChunks, in_strId, vFound);
    return vFound;
}

const PlainWav::PlainChunk* PlainWav::holderOf(const std::vector<PlainChunk>& in_vChunks, const PlainChunk* in_pChunk,
                                               const PlainChunk* in_pHolder) const
{
    for (const PlainChunk& chunk : in_vChunks) {
        if (&chunk == in_pChunk)
            return in_pHolder;
        const PlainChunk* pHolder = holderOf(chunk.m_vChildren, in_pChunk, &chunk);
        if (pHolder != nullptr)
            return pHolder;
    }
    return nullptr;
}

// The records go kind by kind, and the last one's list is asked whether it goes as well.
void PlainWav::findHolder()
{
    const PlainChunk* pLast = nullptr;
    for (const char* szId : {"ltxt", "labl", "note"}) {
        const auto vFound = find(szId);
        pLast = vFound.empty() ? pLast : vFound.back();
        m_uiNbOfNotes = static_cast<unsigned>(vFound.size()); // the notes come last
    }
    m_bHasHolder = pLast != nullptr;
    const PlainChunk* pHolder = m_bHasHolder ? holderOf(m_vChunks, pLast, nullptr) : nullptr;
    if (pHolder == nullptr) // or the form itself
        return;
    const bool bAlone = std::all_of(pHolder->m_vChildren.begin(), pHolder->m_vChildren.end(),
                                    [](const PlainChunk& in_chunk) { return isRegionChunk(in_chunk.m_strId); });
    m_bHolderGoes = bAlone && pHolder->m_strId == "LIST" && pHolder->m_strRest.empty();
    m_bHolderCannotGo = bAlone && pHolder->m_strId != "LIST";
}

bool PlainWav::readFormat()
{
    const PlainChunk* pFormat = nullptr;
    for (const PlainChunk* pChunk : find("fmt ")) {
        if (pChunk->m_uiEnd - pChunk->m_uiBegin >= 16) {
            pFormat = pChunk;
            break;
        }
        m_lasting.insert("short format");
    }
    if (pFormat == nullptr)
        return refuse("no chunk fmt");
    m_uiSampleRate = field(*pFormat, 4);
    const std::uint32_t uiBytesPerSample = field(*pFormat, 14, 2) / 8;
    const auto vAudio = find("data");
    if (vAudio.size() > 1)
        m_lasting.insert("second audio");
    if (field(*pFormat, 2, 2) != 1)
        return refuse("channels");
    if (vAudio.empty())
        return refuse("no chunk data");
    if (uiBytesPerSample == 0)
        return refuse("bits per sample below 8");
    if (m_uiSampleRate == 0)
        return refuse("sample rate is 0");
    const auto uiSize = static_cast<std::uint32_t>(vAudio.front()->m_uiEnd - vAudio.front()->m_uiBegin);
    m_uiNbOfSamples = uiSize / uiBytesPerSample;
    if (uiSize % uiBytesPerSample != 0)
        m_lasting.insert("part of a sample");
    if (uiSize == 0 && !m_strBehind.empty())
        m_lasting.insert("bytes that may be audio");
    return true;
}

bool PlainWav::readRegions()
{
    struct Point
    {
        std::uint32_t m_uiStart = 0;
        bool m_bHasLength = false;
        std::uint32_t m_uiLength = 0;
        bool m_bHasLabel = false;
        std::string m_strType;
    };
    std::map<std::uint32_t, Point> points;
    for (const PlainChunk* pCue : find("cue ")) {
        if (!pCue->m_bContainer)
            continue;
        const std::size_t uiSize = pCue->m_uiEnd - pCue->m_uiBegin;
        const std::size_t uiCount = std::min<std::size_t>(field(*pCue, 0), (uiSize - 4) / 24);
        if (uiCount != field(*pCue, 0) || uiSize != 4 + 24 * uiCount)
            m_mendable.insert("number of cue points");
        for (std::size_t uiPoint = 0; uiPoint < uiCount; ++uiPoint) {
            const std::uint32_t uiId = field(*pCue, 4 + 24 * uiPoint);
            if (uiId > s_uiMaxCueId)
                return refuse("cue point identifier is too large : " + std::to_string(uiId));
            if (points.count(uiId) > 0)
                m_mendable.insert("doubled cue point");
            points[uiId].m_uiStart = field(*pCue, 4 + 24 * uiPoint + 20);
        }
    }
    const std::uint32_t uiEndOfIds = points.empty() ? 0 : points.rbegin()->first + 1;
    bool bLengthInGap = false;
    bool bLabelInGap = false;
    for (const PlainChunk* pText : find("ltxt")) {
        if (pText->m_uiEnd - pText->m_uiBegin < 20) {
            m_mendable.insert("short record");
            continue;
        }
        const auto it = points.find(field(*pText, 0));
        if (it == points.end()) {
            m_mendable.insert("record of no cue point");
            bLengthInGap = bLengthInGap || field(*pText, 0) < uiEndOfIds;
            continue;
        }
        if (it->second.m_bHasLength)
            m_mendable.insert("doubled record");
        it->second.m_bHasLength = true;
        it->second.m_uiLength = field(*pText, 4);
    }
    for (const PlainChunk* pLabel : find("labl")) {
        if (pLabel->m_uiEnd - pLabel->m_uiBegin < 4) {
            m_mendable.insert("short record");
            continue;
        }
        const std::string strText = bytes(pLabel->m_uiBegin + 4, pLabel->m_uiEnd);
        const std::string strType = plainType(strText.c_str());
        const auto it = points.find(field(*pLabel, 0));
        if (it == points.end()) {
            m_mendable.insert("record of no cue point");
            bLabelInGap = bLabelInGap || (!strType.empty() && field(*pLabel, 0) < uiEndOfIds);
            continue;
        }
        if (it->second.m_bHasLabel)
            m_mendable.insert("doubled record");
        if (strText.find('\0') == std::string::npos)
            m_mendable.insert("label without an end");
        if (strType.empty())
            m_lasting.insert("label that is no type");
        it->second.m_bHasLabel = true;
        if (!strType.empty())
            it->second.m_strType = strType;
    }
    const auto missing = [&points](auto in_isMissing) {
        return std::any_of(points.begin(), points.end(),
                           [&](const auto& in_pair) { return in_isMissing(in_pair.second); });
    };
    if (bLengthInGap || missing([](const Point& in_point) { return !in_point.m_bHasLength; }))
        return refuse("at least a start time is missing");
    if (bLabelInGap || missing([](const Point& in_point) { return in_point.m_strType.empty(); }))
        return refuse("at least a label is missing");
    // Identifiers begin at 1, or at 0.
    const std::uint32_t uiFirst = points.count(0) > 0 ? 0 : 1;
    m_vRegions.resize(points.empty() ? 0 : uiEndOfIds - uiFirst);
    for (const auto& [uiId, point] : points)
        m_vRegions[uiId - uiFirst] = {point.m_strType, point.m_uiStart, point.m_uiLength};
    return true;
}

void PlainWav::judgeRegions()
{
    for (const Region& region : m_vRegions) {
        if (region.m_strType.empty())
            m_mendable.insert("skipped identifier");
        else if (std::uint64_t{region.m_uiStart} + region.m_uiLength > m_uiNbOfSamples)
            m_mendable.insert("region beyond the end");
    }
}

bool PlainWav::hasSkipped() const
{
    return std::any_of(m_vRegions.begin(), m_vRegions.end(),
                       [](const Region& in_region) { return in_region.m_strType.empty(); });
}

std::string PlainWav::audio() const
{
    std::string strAudio;
    for (const PlainChunk* pChunk : find("data"))
        strAudio +=
            std::to_string(pChunk->m_uiEnd - pChunk->m_uiBegin) + ":" + bytes(pChunk->m_uiBegin, pChunk->m_uiEnd);
    return strAudio;
}

std::string PlainWav::foreign() const
{
    return foreign(m_vChunks) + "behind:" + m_strBehind;
}

std::string PlainWav::foreign(const std::vector<PlainChunk>& in_vChunks) const
{
    std::string strText;
    for (const PlainChunk& chunk : in_vChunks) {
        if (isRegionChunk(chunk.m_strId))
            continue;
        const std::string strContents =
            chunk.m_bContainer ? foreign(chunk.m_vChildren) + chunk.m_strRest : bytes(chunk.m_uiBegin, chunk.m_uiEnd);
        if (chunk.m_bContainer && strContents.empty())
            continue;
        strText += chunk.m_strId + chunk.m_strFormType + "(" + std::to_string(strContents.size()) + ":" + strContents +
                   ")" + (chunk.m_bContainer ? '\0' : chunk.m_cPadding); // regions make containers odd and even
    }
    return strText;
}

} // namespace Corvana::Test
