// SPDX-License-Identifier: Apache-2.0
#include "MalformedCases.h"

#include "support/ChunkBuilder.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <numeric>
#include <utility>

namespace Corvana::Test {
namespace {

using Chunks = std::vector<std::string>;

std::string joined(const Chunks& in_vChunks)
{
    return std::accumulate(in_vChunks.begin(), in_vChunks.end(), std::string());
}

// What a form begins with, whatever size it says.
std::string form(const std::string& in_strChunks, std::uint32_t in_uiSize)
{
    return ChunkBuilder("RIFF").text("WAVE", "form type").add(in_strChunks).claim(in_uiSize).unpadded().bytes();
}

std::string withNumber(std::string in_strBytes, std::size_t in_uiOffset, std::uint32_t in_uiNumber)
{
    return in_strBytes.replace(in_uiOffset, 4, littleEndian32(in_uiNumber));
}

std::string zeros(std::size_t in_uiCount)
{
    return std::string(in_uiCount, '\0');
}

std::string record(std::uint32_t in_uiCueId, std::uint32_t in_uiLength, const std::string& in_strLabel)
{
    return ltxtChunk(in_uiCueId, in_uiLength) + lablChunk(in_uiCueId, in_strLabel);
}

std::string noteChunk(std::uint32_t in_uiCueId, const std::string& in_strText)
{
    return ChunkBuilder("note").u32(in_uiCueId, "cue identifier").text(in_strText + '\0', "text").bytes();
}

std::string foreignChunk()
{
    return ChunkBuilder("xtra").text("odd", "what another program stores").padding(0x55).bytes();
}

const std::string s_strNumbers = "0123456789abcdef";

// ---- Seeds: what a recorder and this library write; what other programs write; floating point in strange company.

struct Seed
{
    const char* m_szName;
    Chunks m_vChunks;
    std::string m_strBehind;

    std::string bytes() const { return riff(joined(m_vChunks)) + m_strBehind; }
};

Seed callSeed()
{
    return {"call",
            {fmtChunk(), dataChunk(audioBytes(48)), cueChunk({cuePoint(1, 2), cuePoint(2, 12)}),
             adtlChunk(record(1, 8, "VOICE") + record(2, 12, "CPA_HUMAN"))},
            ""};
}

Seed foreignSeed()
{
    const std::string strFormat = ChunkBuilder("fmt ")
                                      .u16(7, "format tag: mu-law")
                                      .u16(1, "channels")
                                      .u32(8000, "samples per second")
                                      .u32(8000, "bytes per second")
                                      .u16(1, "bytes per sample")
                                      .u16(8, "bits per sample")
                                      .u16(0, "bytes of extension")
                                      .bytes();
    const std::string strInfo = listChunk("INFO", ChunkBuilder("ISFT").text("maker", "software").bytes());
    const std::string strFact = ChunkBuilder("fact").u32(33, "samples").bytes();
    const std::string strList = adtlChunk(lablChunk(1, "beep") + ltxtChunk(1, 5) +
                                          ChunkBuilder("file").text("abc", "of another").bytes() + noteChunk(1, "hm"));
    return {
        "foreign",
        {strInfo, strFormat, strFact, dataChunk(audioBytes(33)), foreignChunk(), strList, cueChunk({cuePoint(1, 3)})},
        "TAGs"};
}

std::string floatFormat()
{
    std::string strFormat = fmtChunk(1, 8000, 32);
    strFormat[8] = 3; // floating point
    return strFormat;
}

Seed floatSeed()
{
    std::string strAudio;
    for (const std::uint32_t uiSample : {0x3F000000U, 0x7FC00000U, 0x7F800000U, 0xFF800000U, 0x7F800001U, 0x00000001U,
                                         0x7F7FFFFFU, 0xBF000000U, 0x80000000U})
        strAudio += littleEndian32(uiSample);
    return {"float",
            {floatFormat(), cueChunk({cuePoint(2, 4), cuePoint(1, 0)}), dataChunk(strAudio),
             adtlChunk(ltxtChunk(1, 2) + lablChunk(2, "SF_12")),
             adtlChunk(listChunk("deep", lablChunk(1, "NOISE")) + ltxtChunk(2, 3))},
            ""};
}

std::vector<Seed> seeds()
{
    return {callSeed(), foreignSeed(), floatSeed()};
}

// Where the audio of a seed is, behind the header of "data".
std::pair<std::size_t, std::size_t> audioOf(const Seed& in_seed)
{
    std::size_t uiOffset = 12;
    for (const std::string& strChunk : in_seed.m_vChunks) {
        if (strChunk.compare(0, 4, "data") == 0)
            return {uiOffset + 8, uiOffset + strChunk.size()};
        uiOffset += strChunk.size();
    }
    return {uiOffset, uiOffset};
}

// ---- Faults

class FaultCollector
{
public:
    MalformedCases take()
    {
        addZeroDivisors();
        addOverflows();
        addCounts();
        addDisagreements();
        addMissingTerminators();
        addShortRecords();
        addLongerThanParents();
        addEndlessLoops();
        addNesting();
        addDuplicates();
        addPadding();
        addNonFiniteSamples();
        addStreamedSizes();
        addOtherKinds();
        addBehindTheForm();
        addOddEnds();
        return std::move(m_vCases);
    }

private:
    void add(const std::string& in_strName, const std::string& in_strMaking, const std::string& in_strBytes)
    {
        m_vCases.push_back({in_strName, in_strMaking, in_strBytes});
    }

    // A recording with these chunks in place of the usual ones; the size of the form is right.
    static std::string call(const std::string& in_strFormat, const std::string& in_strData,
                            const std::string& in_strCue, const std::string& in_strList)
    {
        return riff(in_strFormat + in_strData + in_strCue + in_strList);
    }
    static std::string data() { return dataChunk(audioBytes(48)); }
    static std::string cue() { return cueChunk({cuePoint(1, 2), cuePoint(2, 12)}); }
    static std::string list() { return adtlChunk(record(1, 8, "VOICE") + record(2, 12, "CPA_HUMAN")); }
    static std::string withRegions(const std::string& in_strCue, const std::string& in_strRecords)
    {
        return call(fmtChunk(), data(), in_strCue, adtlChunk(in_strRecords));
    }

    void addZeroDivisors()
    {
        for (const std::uint32_t uiBits : {0U, 1U, 7U, 9U, 15U, 12U, 0xFFFFU})
            add("zero-divisor/bits-" + std::to_string(uiBits), "bits per sample set",
                call(fmtChunk(1, 8000, 16).replace(22, 2, littleEndian32(uiBits).substr(0, 2)), data(), cue(), list()));
        for (const std::uint32_t uiRate : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
            add("zero-divisor/rate-" + std::to_string(uiRate), "sample rate set",
                call(withNumber(fmtChunk(), 12, uiRate), data(), cue(), list()));
        for (const std::uint32_t uiChannels : {0U, 2U, 0xFFFFU})
            add("zero-divisor/channels-" + std::to_string(uiChannels), "channels set",
                call(fmtChunk(1).replace(10, 2, littleEndian32(uiChannels).substr(0, 2)), data(), cue(), list()));
        add("zero-divisor/block-0", "bytes per sample of all channels set to 0",
            call(fmtChunk().replace(20, 2, zeros(2)), data(), cue(), list()));
        add("zero-divisor/bytes-per-second-0", "", call(withNumber(fmtChunk(), 16, 0), data(), cue(), list()));
        add("zero-divisor/format-of-zeros", "all fields of the format 0",
            call(ChunkBuilder("fmt ").text(zeros(16), "all").bytes(), data(), cue(), list()));
        add("zero-divisor/no-audio", "no samples", call(fmtChunk(), dataChunk(""), cue(), list()));
        add("zero-divisor/part-of-a-sample", "a byte of audio", call(fmtChunk(), dataChunk("a"), cue(), list()));
    }

    void addOverflows()
    {
        const std::vector<std::pair<std::string, std::size_t>> vHeaders = {{"fmt", 12},   {"data", 36},  {"cue", 92},
                                                                           {"list", 152}, {"ltxt", 164}, {"labl", 192}};
        const std::string strCall = callSeed().bytes();
        for (const auto& [strName, uiOffset] : vHeaders)
            for (const std::uint32_t uiSize : {0x7FFFFFFFU, 0x80000000U, 0x80000001U, 0xFFFFFFF0U, 0xFFFFFFF7U,
                                               0xFFFFFFF8U, 0xFFFFFFFEU, 0xFFFFFFFFU, 0x00010000U})
                add("overflow/" + strName + "-size-" + std::to_string(uiSize), "size of a chunk set",
                    withNumber(strCall, uiOffset + 4, uiSize));
        // 24 times these counts is little in 32 bits.
        for (const std::uint32_t uiCount :
             {0x0AAAAAAAU, 0x0AAAAAABU, 0x15555555U, 0x15555556U, 0x80000000U, 0xAAAAAAABU, 0xFFFFFFFFU})
            add("overflow/cue-count-" + std::to_string(uiCount), "number of cue points set",
                withNumber(strCall, 100, uiCount));
        for (const std::uint32_t uiSample : {23U, 24U, 25U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            const std::string strSample = std::to_string(uiSample);
            add("overflow/start-" + strSample, "a start set",
                withRegions(cueChunk({cuePoint(1, uiSample)}), record(1, 4, "VOICE")));
            add("overflow/length-" + strSample, "a length set",
                withRegions(cueChunk({cuePoint(1, 2)}), record(1, uiSample, "VOICE")));
            add("overflow/both-" + strSample, "a start and a length set",
                withRegions(cueChunk({cuePoint(1, uiSample)}), record(1, uiSample, "VOICE")));
        }
        for (const std::uint32_t uiId : {1048576U, 1048577U, 0x7FFFFFFFU, 0xFFFFFFFFU})
            add("overflow/identifier-" + std::to_string(uiId), "a cue identifier set",
                withRegions(cueChunk({cuePoint(uiId, 2)}), record(uiId, 4, "VOICE")));
    }

    void addCounts()
    {
        for (const std::uint32_t uiCount : {0U, 1U, 3U, 4U})
            add("count/counts-" + std::to_string(uiCount) + "-of-2", "number of cue points set",
                withNumber(callSeed().bytes(), 100, uiCount));
        for (const std::uint32_t uiSize : {0U, 1U, 3U, 4U, 5U, 27U, 28U, 29U, 51U, 53U, 75U}) {
            std::string strData = (littleEndian32(2) + cuePoint(1, 2) + cuePoint(2, 12) + zeros(30)).substr(0, uiSize);
            add("count/cue-of-" + std::to_string(uiSize) + "-bytes", "data of the cue points cut or prolonged",
                call(fmtChunk(), data(), ChunkBuilder("cue ").text(strData, "points").bytes(), list()));
        }
        add("count/none-with-records", "no cue points, but their records", call(fmtChunk(), data(), "", list()));
        add("count/points-without-records", "cue points alone", call(fmtChunk(), data(), cue(), ""));
    }

    void addDisagreements()
    {
        add("disagreement/doubled-point", "two cue points of one identifier",
            withRegions(cueChunk({cuePoint(1, 2), cuePoint(1, 7)}), record(1, 8, "VOICE")));
        add("disagreement/doubled-records", "two lengths and two labels of one cue point",
            withRegions(cueChunk({cuePoint(1, 2)}), record(1, 8, "VOICE") + record(1, 3, "BEEP")));
        add("disagreement/label-of-no-point", "a label of an identifier behind all points",
            withRegions(cueChunk({cuePoint(1, 2)}), record(1, 8, "VOICE") + lablChunk(7, "BEEP")));
        add("disagreement/length-of-no-point", "a length of an identifier behind all points",
            withRegions(cueChunk({cuePoint(1, 2)}), record(1, 8, "VOICE") + ltxtChunk(7, 1)));
        add("disagreement/length-in-a-gap", "a length of an identifier that is skipped",
            withRegions(cueChunk({cuePoint(1, 2), cuePoint(3, 2)}),
                        record(1, 8, "VOICE") + record(3, 8, "VOICE") + ltxtChunk(2, 1)));
        add("disagreement/label-in-a-gap", "a label of an identifier that is skipped",
            withRegions(cueChunk({cuePoint(1, 2), cuePoint(3, 2)}),
                        record(1, 8, "VOICE") + record(3, 8, "VOICE") + lablChunk(2, "BEEP")));
        add("disagreement/wrong-label-in-a-gap", "a label that is no type, of an identifier that is skipped",
            withRegions(cueChunk({cuePoint(1, 2), cuePoint(3, 2)}),
                        record(1, 8, "VOICE") + record(3, 8, "VOICE") + lablChunk(2, "NOTHING")));
        add("disagreement/gap", "identifiers 1, 2 and 4",
            withRegions(cueChunk({cuePoint(1, 2), cuePoint(2, 3), cuePoint(4, 9)}),
                        record(1, 8, "VOICE") + record(2, 4, "BEEP") + record(4, 2, "VOICE")));
        add("disagreement/gap-in-front", "identifiers from 3 on",
            withRegions(cueChunk({cuePoint(3, 2)}), record(3, 8, "VOICE")));
        add("disagreement/from-0", "identifiers from 0 on",
            withRegions(cueChunk({cuePoint(0, 2), cuePoint(1, 3)}), record(0, 8, "VOICE") + record(1, 4, "BEEP")));
        add("disagreement/only-0", "identifier 0", withRegions(cueChunk({cuePoint(0, 2)}), record(0, 8, "VOICE")));
        add("disagreement/no-length", "a point without a length",
            withRegions(cueChunk({cuePoint(1, 2)}), lablChunk(1, "VOICE")));
        add("disagreement/no-label", "a point without a label",
            withRegions(cueChunk({cuePoint(1, 2)}), ltxtChunk(1, 5)));
        add("disagreement/no-type", "a label that is no type",
            withRegions(cueChunk({cuePoint(1, 2)}), record(1, 5, "UNHEARD_OF")));
        add("disagreement/no-type-beside-one", "a label that is no type behind one that is",
            withRegions(cueChunk({cuePoint(1, 2)}), record(1, 5, "VOICE") + lablChunk(1, "UNHEARD_OF")));
        for (const char* szLabel : {"SF_0", "SF_1", "SF_4000", "SF_4001", "SF_12abc", "SF_", "sf_1", "SF_-1",
                                    "SF_99999999999999999999", "SF_ 7", "SF_+7", "SF_007"})
            add("disagreement/label-" + std::string(szLabel), "a numbered type",
                withRegions(cueChunk({cuePoint(1, 2)}), record(1, 5, szLabel)));
        add("disagreement/unprintable-name-in-a-form-too-large",
            "a chunk of an unprintable name in a form whose size only its last chunk shows to be wrong",
            withNumber(
                riff(fmtChunk() + data() + ChunkBuilder("\x01\x02\x03\x04").text("ab", "").bytes() + cue() + list()), 4,
                1000));
        add("disagreement/unprintable-name-in-a-form-too-small", "the same with a form that ends within the list",
            withNumber(
                riff(fmtChunk() + data() + ChunkBuilder("\x01\x02\x03\x04").text("ab", "").bytes() + cue() + list()), 4,
                180));
    }

    void addMissingTerminators()
    {
        const auto label = [this](const std::string& in_strName, const std::string& in_strText) {
            add("terminator/" + in_strName, "the bytes of a label's text set",
                withRegions(cueChunk({cuePoint(1, 2)}),
                            ltxtChunk(1, 5) + ChunkBuilder("labl").u32(1, "cue").text(in_strText, "text").bytes()));
        };
        label("missing", "VOICE");
        label("missing-even", "BEEP");
        label("missing-of-number", "SF_12");
        label("empty", "");
        label("only", zeros(1));
        label("twice", "VOICE" + zeros(2));
        label("with-text-behind", "VOICE" + zeros(1) + "MUSIC");
        label("in-front", zeros(1) + "VOICE");
        label("long", std::string(5000, 'A'));
        label("long-number", "SF_12" + std::string(5000, 'A'));
        label("control-characters", "VOI\nCE\x1b[0m" + zeros(1));
    }

    void addShortRecords()
    {
        for (unsigned uiSize = 0; uiSize < 24; ++uiSize) {
            const std::string strSize = std::to_string(uiSize);
            if (uiSize != 16)
                add("short/fmt-of-" + strSize, "a format cut or prolonged",
                    call(ChunkBuilder("fmt ").text((fmtChunk().substr(8) + zeros(8)).substr(0, uiSize), "").bytes(),
                         data(), cue(), list()));
            if (uiSize < 20)
                add("short/ltxt-of-" + strSize, "a length cut",
                    withRegions(cueChunk({cuePoint(1, 2)}),
                                ChunkBuilder("ltxt").text(ltxtChunk(1, 5).substr(8, uiSize), "").bytes() +
                                    lablChunk(1, "VOICE")));
            if (uiSize < 10)
                add("short/labl-of-" + strSize, "a label cut",
                    withRegions(cueChunk({cuePoint(1, 2)}),
                                ltxtChunk(1, 5) +
                                    ChunkBuilder("labl").text(lablChunk(1, "VOICE").substr(8, uiSize), "").bytes()));
            if (uiSize < 6)
                add("short/note-of-" + strSize, "a note cut",
                    withRegions(cueChunk({cuePoint(1, 2)}),
                                record(1, 5, "VOICE") + ChunkBuilder("note").text(zeros(uiSize), "").bytes()));
        }
        add("short/fmt-before-a-whole-one", "a format of 10 bytes, then one of 16",
            call(ChunkBuilder("fmt ").text(zeros(10), "").bytes() + fmtChunk(), data(), cue(), list()));
    }

    void addLongerThanParents()
    {
        for (const std::uint32_t uiMore : {1U, 2U, 7U, 8U, 9U, 100U, 0x7FFFFFFFU}) {
            const std::string strMore = std::to_string(uiMore);
            const std::string strLabel = ChunkBuilder("labl").u32(1, "").text("VOICE", "").claim(9 + uiMore).bytes();
            add("parent/label-longer-by-" + strMore, "the last label of a list claims more",
                withRegions(cueChunk({cuePoint(1, 2)}), ltxtChunk(1, 5) + strLabel));
            add("parent/label-longer-before-foreign-by-" + strMore, "the same, and a foreign chunk behind the list",
                riff(fmtChunk() + data() + cueChunk({cuePoint(1, 2)}) + adtlChunk(ltxtChunk(1, 5) + strLabel) +
                     foreignChunk()));
            add("parent/list-longer-by-" + strMore, "the last list claims more than the form",
                withNumber(callSeed().bytes(), 156, 98 + uiMore));
            add("parent/form-shorter-by-" + strMore, "the form claims less than its chunks take",
                withNumber(callSeed().bytes(), 4, static_cast<std::uint32_t>(callSeed().bytes().size() - 8 - uiMore)));
            add("parent/foreign-longer-by-" + strMore, "the last foreign chunk of a list claims more",
                withRegions(cueChunk({cuePoint(1, 2)}),
                            record(1, 5, "VOICE") + ChunkBuilder("file").text("abc", "").claim(3 + uiMore).bytes()));
        }
        add("parent/last-claims-0xffffffff", "a foreign chunk at the end",
            riff(joined(callSeed().m_vChunks) + ChunkBuilder("xtra").text("abcde", "").claim(0xFFFFFFFFU).bytes()));
    }

    void addEndlessLoops()
    {
        const std::string strNothing = ChunkBuilder("none").bytes();
        std::string strMany;
        for (unsigned uiChunk = 0; uiChunk < 40; ++uiChunk)
            strMany += strNothing;
        add("loop/chunks-of-size-0", "40 foreign chunks without data in the form and in the list",
            riff(fmtChunk() + strMany + data() + cue() +
                 adtlChunk(strMany + record(1, 8, "VOICE") + record(2, 1, "BEEP"))));
        for (const char* szId : {"fmt ", "data", "cue ", "LIST", "RIFF", "labl", "ltxt", "note", "cuep"})
            for (const bool bFirst : {true, false}) {
                const std::string strChunk = ChunkBuilder(szId).bytes();
                add("loop/" + std::string(szId, szId[3] == ' ' ? 3 : 4) + "-of-size-0-" + (bFirst ? "first" : "last"),
                    "a chunk of size 0 in front of or behind the others",
                    riff(bFirst ? strChunk + joined(callSeed().m_vChunks) : joined(callSeed().m_vChunks) + strChunk));
            }
        // Sizes with which a place in 32 bits comes back to where it was.
        for (const std::uint32_t uiSize : {0xFFFFFFF8U, 0xFFFFFFF7U, 0xFFFFFFF9U, 0xFFFFFF80U, 0xFFFFFFF6U}) {
            const std::string strBack = ChunkBuilder("back").text("abcd", "").claim(uiSize).bytes();
            add("loop/wrap-in-form-" + std::to_string(uiSize), "a chunk whose end wraps around",
                riff(fmtChunk() + data() + strBack + cue() + list()));
            add("loop/wrap-in-list-" + std::to_string(uiSize), "the same in a list",
                riff(fmtChunk() + data() + cue() + adtlChunk(record(1, 8, "VOICE") + record(2, 3, "BEEP") + strBack)));
            // Where libsndfile goes round for ever.
            add("loop/wrap-first-in-list-" + std::to_string(uiSize), "the same, with nothing before it in the list",
                riff(fmtChunk() + data() + cue() + adtlChunk(strBack + record(1, 8, "VOICE"))));
        }
    }

    static std::string nested(const std::string& in_strInner, unsigned in_uiDepth, const char* in_szId = "LIST")
    {
        std::string strChunk = in_strInner;
        for (unsigned uiLevel = 0; uiLevel < in_uiDepth; ++uiLevel)
            strChunk = ChunkBuilder(in_szId).text("deep", "form type").add(strChunk).unpadded().bytes();
        return strChunk;
    }

    void addNesting()
    {
        // The form is the first level.
        for (const unsigned uiDepth : {1U, 2U, 3U, 61U, 62U, 63U, 64U, 65U, 66U, 400U}) {
            const std::string strDepth = std::to_string(uiDepth);
            add("nesting/regions-in-" + strDepth, "the list of regions within more lists",
                riff(fmtChunk() + data() + cue() + nested(list(), uiDepth)));
            add("nesting/foreign-in-" + strDepth, "a foreign chunk within lists",
                riff(fmtChunk() + data() + nested(foreignChunk(), uiDepth) + cue() + list()));
            add("nesting/cue-in-" + strDepth, "cue points within lists",
                riff(fmtChunk() + data() + nested(cue(), uiDepth) + list()));
        }
        add("nesting/everything-in-a-list", "format and audio within a list",
            riff(nested(fmtChunk() + data(), 1) + cue() + list()));
        add("nesting/form-in-form", "all within a second form", riff(nested(joined(callSeed().m_vChunks), 1, "RIFF")));
        add("nesting/records-alone-in-a-form", "the records are alone in a second form",
            riff(fmtChunk() + data() + cue() + nested(record(1, 8, "VOICE") + record(2, 12, "CPA_HUMAN"), 1, "RIFF")));
        add("nesting/records-in-the-form", "the records are in no list",
            riff(fmtChunk() + data() + cue() + record(1, 8, "VOICE") + record(2, 12, "CPA_HUMAN")));
        add("nesting/records-in-info", "the records are in a list of another kind",
            riff(fmtChunk() + data() + cue() + listChunk("INFO", record(1, 8, "VOICE") + record(2, 12, "BEEP"))));
        add("nesting/audio-in-a-list-first", "audio within a list in front of the audio",
            riff(fmtChunk() + nested(dataChunk("ab"), 1) + data() + cue() + list()));
    }

    void addDuplicates()
    {
        const Chunks vChunks = callSeed().m_vChunks;
        for (std::size_t uiChunk = 0; uiChunk < vChunks.size(); ++uiChunk) {
            const std::string strName = std::to_string(uiChunk);
            add("duplicate/at-the-end-" + strName, "a chunk again at the end",
                riff(joined(vChunks) + vChunks[uiChunk]));
            add("duplicate/in-front-" + strName, "a chunk again in front", riff(vChunks[uiChunk] + joined(vChunks)));
        }
        add("duplicate/all", "everything twice", riff(joined(vChunks) + joined(vChunks)));
        add("duplicate/other-format", "a stereo format behind the mono one",
            riff(fmtChunk() + fmtChunk(2) + data() + cue() + list()));
        add("duplicate/other-format-first", "a stereo format in front of the mono one",
            riff(fmtChunk(2) + fmtChunk() + data() + cue() + list()));
        add("duplicate/notes-in-another-list", "notes in a list of their own, in front of that of the regions",
            riff(fmtChunk() + data() + adtlChunk(noteChunk(1, "so")) + cue() + list()));
        add("duplicate/empty-list", "a list without chunks beside that of the regions",
            riff(fmtChunk() + data() + adtlChunk("") + cue() + list() + adtlChunk("")));
        add("duplicate/points-in-two-chunks", "each cue point in a chunk of its own",
            riff(fmtChunk() + data() + cueChunk({cuePoint(2, 9)}) + cueChunk({cuePoint(1, 4)}) + list()));
        for (const std::size_t uiMissing : {0U, 1U, 2U, 3U}) {
            Chunks vSome = vChunks;
            vSome.erase(vSome.begin() + static_cast<std::ptrdiff_t>(uiMissing));
            add("duplicate/without-" + std::to_string(uiMissing), "a chunk is missing", riff(joined(vSome)));
        }
        add("duplicate/no-chunks", "an empty form", riff(""));
    }

    void addPadding()
    {
        const std::string strOdd = audioBytes(33);
        const auto odd = [&](int in_iPadding) {
            ChunkBuilder chunk("data");
            chunk.text(strOdd, "audio");
            return in_iPadding < 0 ? chunk.unpadded().bytes()
                                   : chunk.padding(static_cast<std::uint8_t>(in_iPadding)).bytes();
        };
        const std::string strFormat = fmtChunk(1, 8000, 8);
        for (const int iPadding : {-1, 0, 1, 0x4C, 0xFF}) {
            const std::string strName = iPadding < 0 ? "missing" : std::to_string(iPadding);
            add("padding/data-last-" + strName, "audio of odd size at the end", riff(strFormat + odd(iPadding)));
            add("padding/data-before-regions-" + strName, "audio of odd size before the regions",
                riff(strFormat + odd(iPadding) + cueChunk({cuePoint(1, 2)}) + adtlChunk(record(1, 5, "VOICE"))));
            add("padding/data-before-foreign-" + strName, "audio of odd size before a foreign chunk",
                riff(strFormat + odd(iPadding) + foreignChunk() + cueChunk({cuePoint(1, 2)}) +
                     adtlChunk(record(1, 5, "VOICE"))));
            ChunkBuilder label("labl");
            label.u32(1, "cue").text("VOICE", "label without an end");
            const std::string strLabel =
                iPadding < 0 ? label.unpadded().bytes() : label.padding(static_cast<std::uint8_t>(iPadding)).bytes();
            add("padding/label-last-" + strName, "a label of odd size at the end of the list",
                withRegions(cueChunk({cuePoint(1, 2)}), ltxtChunk(1, 5) + strLabel));
            add("padding/label-first-" + strName, "a label of odd size before the length",
                withRegions(cueChunk({cuePoint(1, 2)}), strLabel + ltxtChunk(1, 5)));
            ChunkBuilder file("file");
            file.text("abc", "of another program");
            const std::string strFile =
                iPadding < 0 ? file.unpadded().bytes() : file.padding(static_cast<std::uint8_t>(iPadding)).bytes();
            add("padding/foreign-last-in-list-" + strName, "a foreign chunk of odd size at the end of the list",
                withRegions(cueChunk({cuePoint(1, 2)}), record(1, 5, "VOICE") + strFile));
        }
        const std::string strUncounted = riff(strFormat + odd(-1));
        add("padding/uncounted", "the last padding byte is there, but not counted", strUncounted + zeros(1));
        add("padding/uncounted-and-more", "the same, and bytes behind", strUncounted + zeros(1) + "more");
        add("padding/uncounted-other", "an odd form, and bytes behind", strUncounted + "more");
        add("padding/counted-but-missing", "the last padding byte is counted, but not there",
            withNumber(strUncounted, 4, static_cast<std::uint32_t>(strUncounted.size() - 8 + 1)));
        add("padding/odd-list", "a list of odd size, padded",
            riff(fmtChunk() + data() + ChunkBuilder("LIST").text("INFOx", "").bytes() + cue() + list()));
        add("padding/hidden-regions", "the list is hidden behind a label of odd size",
            riff(strFormat + odd(-1) + adtlChunk(record(1, 5, "VOICE")) + cueChunk({cuePoint(1, 2)})));
    }

    void addNonFiniteSamples()
    {
        const std::string strPoint = cueChunk({cuePoint(1, 1)});
        const std::string strList = adtlChunk(record(1, 1, "VOICE"));
        for (const std::uint32_t uiSample :
             {0x7FC00000U, 0xFFC00000U, 0x7F800001U, 0x7F800000U, 0xFF800000U, 0x7F7FFFFFU, 0x00000001U, 0x80000000U})
            add("non-finite/float-" + std::to_string(uiSample), "samples of 32 bits, all the same",
                riff(floatFormat() + dataChunk(littleEndian32(uiSample) + littleEndian32(uiSample)) + strPoint +
                     strList));
        std::string strDouble = fmtChunk(1, 8000, 64);
        strDouble[8] = 3;
        for (const std::uint32_t uiSample : {0x7FF80000U, 0x7FF00000U, 0xFFF00000U, 0x7FF00001U, 0x7FEFFFFFU})
            add("non-finite/double-" + std::to_string(uiSample), "samples of 64 bits, all the same",
                riff(strDouble + dataChunk(zeros(4) + littleEndian32(uiSample) + zeros(4) + littleEndian32(uiSample)) +
                     strPoint + strList));
        add("non-finite/seed", "many kinds", floatSeed().bytes());
    }

    void addStreamedSizes()
    {
        const std::string strAudio = audioBytes(48);
        const std::string strRegions = cue() + list();
        for (const std::uint32_t uiForm : {0U, 0xFFFFFFFFU, 0x7FFFFFFFU, 0x7FFFFFFEU, 0x80000023U, 0x7FFFF024U})
            for (const std::uint32_t uiData :
                 {0U, 0xFFFFFFFFU, 0x7FFFFFFFU, 0x7FFFFFDAU, 0x80000000U, 0x7FFFF000U, 48U}) {
                const std::string strName = std::to_string(uiForm) + "-" + std::to_string(uiData);
                const std::string strData = ChunkBuilder("data").text(strAudio, "audio").claim(uiData).bytes();
                add("streamed/audio-" + strName, "sizes of form and audio as a stream leaves them",
                    form(fmtChunk() + strData, uiForm));
                add("streamed/regions-in-front-" + strName, "the same, with regions before the audio",
                    form(fmtChunk() + strRegions + strData, uiForm));
                add("streamed/regions-behind-" + strName, "the same, with regions behind the audio",
                    form(fmtChunk() + strData + strRegions, uiForm));
            }
        for (const std::uint32_t uiData : {0U, 0xFFFFFFFFU, 0x7FFFFFFFU})
            add("streamed/odd-audio-" + std::to_string(uiData), "an odd number of bytes of audio",
                form(fmtChunk(1, 8000, 8) + ChunkBuilder("data").text("abc", "").unpadded().claim(uiData).bytes(), 0));
        add("streamed/nothing-yet-0", "headers alone", form(fmtChunk() + ChunkBuilder("data").bytes(), 0));
        add("streamed/nothing-yet-0xffffffff", "headers alone",
            form(fmtChunk() + ChunkBuilder("data").claim(0xFFFFFFFFU).bytes(), 0xFFFFFFFFU));
    }

    void addOtherKinds()
    {
        const std::string strCall = callSeed().bytes();
        for (const char* szId :
             {"RIFX", "RF64", "BW64", "riff", "FORM", "RIFF", "fLaC", "OggS", ".snd", "\xEF\xBB\xBFR"})
            add("kind/id-" + std::string(szId), "the first four bytes set", std::string(strCall).replace(0, 4, szId));
        for (const char* szForm : {"AVI ", "wave", "WAV ", "AIFF", "\0\0\0"})
            add("kind/form-" + hex(szForm), "the form set", std::string(strCall).replace(8, 4, std::string(szForm, 4)));
        const std::string strSizes =
            ChunkBuilder("ds64").u32(0, "").u32(0, "").u32(48, "").u32(0, "").u32(24, "").u32(0, "").u32(0, "").bytes();
        add("kind/rf64", "sizes of 64 bits",
            form(strSizes + fmtChunk() + ChunkBuilder("data").text(audioBytes(48), "").claim(0xFFFFFFFFU).bytes(),
                 0xFFFFFFFFU)
                .replace(0, 4, "RF64"));
    }

    void addBehindTheForm()
    {
        const std::string strCall = callSeed().bytes();
        for (std::size_t uiCount = 1; uiCount < 10; ++uiCount) {
            add("behind/zeros-" + std::to_string(uiCount), "zero bytes behind the form", strCall + zeros(uiCount));
            add("behind/text-" + std::to_string(uiCount), "text behind the form",
                strCall + s_strNumbers.substr(0, uiCount));
            add("behind/counted-zeros-" + std::to_string(uiCount), "zero bytes that the form counts",
                withNumber(strCall + zeros(uiCount), 4, static_cast<std::uint32_t>(strCall.size() - 8 + uiCount)));
            add("behind/counted-text-" + std::to_string(uiCount), "text that the form counts",
                withNumber(strCall + s_strNumbers.substr(0, uiCount), 4,
                           static_cast<std::uint32_t>(strCall.size() - 8 + uiCount)));
        }
        add("behind/chunk", "a chunk behind the form", strCall + foreignChunk());
        add("behind/chunk-counted-as-0", "the form has no size", withNumber(strCall + foreignChunk(), 4, 0));
        add("behind/second-file", "a file behind the file", strCall + strCall);
        add("behind/regions", "the regions are behind the form", riff(fmtChunk() + data()) + cue() + list());
    }

    void addOddEnds()
    {
        for (std::size_t uiCount = 1; uiCount < 8; ++uiCount) {
            const std::string strEnd = s_strNumbers.substr(0, uiCount);
            add("odd-end/list-" + std::to_string(uiCount), "bytes behind the last record of a list",
                withRegions(cueChunk({cuePoint(1, 2)}), record(1, 5, "VOICE") + strEnd));
            add("odd-end/foreign-list-" + std::to_string(uiCount), "bytes behind the last chunk of another list",
                riff(fmtChunk() + data() + listChunk("INFO", ChunkBuilder("ISFT").text("ab", "").bytes() + strEnd) +
                     cue() + list()));
            add("odd-end/list-unpadded-" + std::to_string(uiCount), "the same without the padding of the list",
                riff(fmtChunk() + data() + cueChunk({cuePoint(1, 2)}) +
                     ChunkBuilder("LIST").text("adtl", "").add(record(1, 5, "VOICE") + strEnd).unpadded().bytes()));
            add("odd-end/list-too-short-" + std::to_string(uiCount), "a list of few bytes",
                riff(fmtChunk() + data() + ChunkBuilder("LIST").text(strEnd, "").bytes() + cue() + list()));
        }
    }

    MalformedCases m_vCases;
};

void append(MalformedCases& inout_vCases, MalformedCases&& in_vMore)
{
    inout_vCases.insert(inout_vCases.end(), std::make_move_iterator(in_vMore.begin()),
                        std::make_move_iterator(in_vMore.end()));
}

void addOrders(const std::string& in_strName, const std::string& in_strMaking, const Chunks& in_vChunks,
               const std::function<std::string(const std::string&)>& in_file, MalformedCases& out_vCases)
{
    std::vector<std::size_t> vOrder(in_vChunks.size());
    std::iota(vOrder.begin(), vOrder.end(), std::size_t{0});
    do {
        std::string strOrder;
        std::string strChunks;
        for (const std::size_t uiChunk : vOrder) {
            strOrder += std::to_string(uiChunk);
            strChunks += in_vChunks[uiChunk];
        }
        out_vCases.push_back({"order/" + in_strName + "-" + strOrder, in_strMaking, in_file(strChunks)});
    } while (std::next_permutation(vOrder.begin(), vOrder.end()));
}

} // namespace

MalformedCases seedCases()
{
    MalformedCases vCases;
    for (const Seed& seed : seeds())
        vCases.push_back({"seed/" + std::string(seed.m_szName), "as it should be", seed.bytes()});
    return vCases;
}

MalformedCases prefixCases()
{
    MalformedCases vCases;
    for (const Seed& seed : seeds()) {
        const std::string strBytes = seed.bytes();
        for (std::size_t uiSize = 0; uiSize < strBytes.size(); ++uiSize)
            vCases.push_back({"prefix/" + std::string(seed.m_szName) + "-" + std::to_string(uiSize),
                              "the beginning of a seed", strBytes.substr(0, uiSize)});
    }
    return vCases;
}

MalformedCases byteCases()
{
    MalformedCases vCases;
    for (const Seed& seed : seeds()) {
        const std::string strBytes = seed.bytes();
        const auto [uiAudio, uiAudioEnd] = audioOf(seed);
        for (std::size_t uiOffset = 0; uiOffset < strBytes.size(); ++uiOffset) {
            if (uiOffset >= uiAudio && uiOffset < uiAudioEnd)
                continue;
            for (const char* szByte : {"00", "7f", "80", "ff"}) {
                std::string strChanged = strBytes;
                strChanged.replace(uiOffset, 1, unhex(szByte));
                if (strChanged != strBytes)
                    vCases.push_back(
                        {"byte/" + std::string(seed.m_szName) + "-" + std::to_string(uiOffset) + "-" + szByte,
                         "a byte of a seed set", std::move(strChanged)});
            }
        }
    }
    return vCases;
}

MalformedCases orderCases()
{
    MalformedCases vCases;
    const auto whole = [](const std::string& in_strChunks) { return riff(in_strChunks); };
    addOrders("call", "the chunks of a seed", callSeed().m_vChunks, whole, vCases);
    const Chunks vForeign = foreignSeed().m_vChunks;
    addOrders(
        "foreign", "five chunks of a seed", {vForeign.begin() + 1, vForeign.begin() + 6}, // without the points
        [&](const std::string& in_strChunks) { return riff(in_strChunks + vForeign[6]); }, vCases);
    addOrders("float", "the chunks of a seed", floatSeed().m_vChunks, whole, vCases);
    addOrders(
        "records", "the records of a list",
        {ltxtChunk(1, 8), lablChunk(1, "VOICE"), ltxtChunk(2, 12), lablChunk(2, "CPA_HUMAN")},
        [](const std::string& in_strRecords) {
            Chunks vChunks = callSeed().m_vChunks;
            vChunks.back() = adtlChunk(in_strRecords);
            return riff(joined(vChunks));
        },
        vCases);
    return vCases;
}

MalformedCases faultCases()
{
    return FaultCollector().take();
}

MalformedCases allMalformedCases()
{
    MalformedCases vCases = seedCases();
    append(vCases, prefixCases());
    append(vCases, byteCases());
    append(vCases, orderCases());
    append(vCases, faultCases());
    return vCases;
}

std::string donorBytes()
{
    return riff(fmtChunk() + dataChunk(audioBytes(64)) + cueChunk({cuePoint(1, 0), cuePoint(2, 16)}) +
                adtlChunk(record(1, 8, "VOICE") + record(2, 8, "BEEP")));
}

} // namespace Corvana::Test
