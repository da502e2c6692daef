// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionTextGrid.h"

#include "corvana/NumberText.h"

#include <algorithm>
#include <functional>
#include <queue>

namespace Corvana::Tools {
namespace {

/// Regions of which none touches another, in the order of their starts.
using Tier = std::vector<const LabeledRegion*>;

bool isPoint(const LabeledRegion& in_region)
{
    return !(in_region.m_dStop > in_region.m_dStart);
}

// Each region goes into the first tier that is free at its start. Heaps keep that fast when thousands overlap.
class TierSpread
{
public:
    void add(const LabeledRegion& in_region)
    {
        // Intervals may touch; two points of a tier may not have the same time.
        const auto isFreeFor = [&in_region](double in_dEnd) {
            return isPoint(in_region) ? in_dEnd < in_region.m_dStart : in_dEnd <= in_region.m_dStart;
        };
        while (!m_busy.empty() && isFreeFor(m_busy.top().first)) {
            m_free.push(m_busy.top().second);
            m_busy.pop();
        }
        const std::size_t uiTier = takeFreeTier();
        m_vTiers[uiTier].push_back(&in_region);
        m_busy.emplace(std::max(in_region.m_dStart, in_region.m_dStop), uiTier);
    }

    const std::vector<Tier>& tiers() const { return m_vTiers; }

private:
    std::size_t takeFreeTier()
    {
        if (m_free.empty()) {
            m_vTiers.emplace_back();
            return m_vTiers.size() - 1;
        }
        const std::size_t uiTier = m_free.top();
        m_free.pop();
        return uiTier;
    }

    template <class ValueT>
    using LeastFirst = std::priority_queue<ValueT, std::vector<ValueT>, std::greater<>>;

    std::vector<Tier> m_vTiers;
    LeastFirst<std::pair<double, std::size_t>> m_busy; // end and tier
    LeastFirst<std::size_t> m_free;
};

std::string inPraatQuotes(const std::string& in_strText)
{
    std::string strText = "\"";
    for (const char cLetter : in_strText) {
        if (cLetter == '"')
            strText += '"';
        strText += cLetter;
    }
    return strText + "\"";
}

class TextGridWriter
{
public:
    TextGridWriter(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions, double in_dDurationSeconds)
        : m_stream(out_stream)
        , m_dStop(in_dDurationSeconds)
    {
        for (const LabeledRegion& region : in_vRegions) {
            if (region.m_strLabel.empty())
                continue; // an interval without text is where no region is
            m_vSorted.push_back(&region);
            m_dStart = std::min(m_dStart, region.m_dStart);
            m_dStop = std::max({m_dStop, region.m_dStart, region.m_dStop});
        }
        if (!(m_dStop > m_dStart))
            m_dStop = m_dStart + 1.0; // a TextGrid cannot be empty
        std::stable_sort(m_vSorted.begin(), m_vSorted.end(),
                         [](const LabeledRegion* in_pLeft, const LabeledRegion* in_pRight) {
                             return in_pLeft->m_dStart < in_pRight->m_dStart;
                         });
    }

    void write()
    {
        TierSpread intervals;
        TierSpread points;
        for (const LabeledRegion* pRegion : m_vSorted)
            (isPoint(*pRegion) ? points : intervals).add(*pRegion);
        std::vector<Tier> vIntervalTiers = intervals.tiers();
        if (vIntervalTiers.empty() && points.tiers().empty())
            vIntervalTiers.emplace_back();

        m_stream << "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n";
        writeSpan("", m_dStart, m_dStop);
        m_stream << "tiers? <exists> \nsize = " << std::to_string(vIntervalTiers.size() + points.tiers().size())
                 << " \nitem []: \n";
        for (const Tier& tier : vIntervalTiers)
            writeIntervalTier(tier);
        for (const Tier& tier : points.tiers())
            writePointTier(tier);
    }

private:
    void writeSpan(const char* in_szIndent, double in_dStart, double in_dStop)
    {
        m_stream << in_szIndent << "xmin = " << toShortestText(in_dStart) << " \n"
                 << in_szIndent << "xmax = " << toShortestText(in_dStop) << " \n";
    }

    void beginTier(const char* in_szClass, const char* in_szItems, std::size_t in_uiNbOfItems)
    {
        ++m_uiTier;
        m_stream << "    item [" << std::to_string(m_uiTier) << "]:\n        class = \"" << in_szClass
                 << "\" \n        name = \"regions" << (m_uiTier == 1 ? "" : " " + std::to_string(m_uiTier)) << "\" \n";
        writeSpan("        ", m_dStart, m_dStop);
        m_stream << "        " << in_szItems << ": size = " << std::to_string(in_uiNbOfItems) << " \n";
    }

    void writeIntervalTier(const Tier& in_tier)
    {
        // Intervals cover the whole tier: those without text fill what the regions leave.
        std::vector<LabeledRegion> vIntervals;
        double dEnd = m_dStart;
        for (const LabeledRegion* pRegion : in_tier) {
            if (pRegion->m_dStart > dEnd)
                vIntervals.push_back({"", dEnd, pRegion->m_dStart});
            vIntervals.push_back(*pRegion);
            dEnd = pRegion->m_dStop;
        }
        if (m_dStop > dEnd)
            vIntervals.push_back({"", dEnd, m_dStop});

        beginTier("IntervalTier", "intervals", vIntervals.size());
        for (std::size_t uiIndex = 0; uiIndex < vIntervals.size(); ++uiIndex) {
            m_stream << "        intervals [" << std::to_string(uiIndex + 1) << "]:\n";
            writeSpan("            ", vIntervals[uiIndex].m_dStart, vIntervals[uiIndex].m_dStop);
            m_stream << "            text = " << inPraatQuotes(vIntervals[uiIndex].m_strLabel) << " \n";
        }
    }

    void writePointTier(const Tier& in_tier)
    {
        beginTier("TextTier", "points", in_tier.size());
        for (std::size_t uiIndex = 0; uiIndex < in_tier.size(); ++uiIndex)
            m_stream << "        points [" << std::to_string(uiIndex + 1)
                     << "]:\n            number = " << toShortestText(in_tier[uiIndex]->m_dStart)
                     << " \n            mark = " << inPraatQuotes(in_tier[uiIndex]->m_strLabel) << " \n";
    }

    std::ostream& m_stream;
    std::vector<const LabeledRegion*> m_vSorted;
    double m_dStart = 0.0;
    double m_dStop;
    std::size_t m_uiTier = 0;
};

/// Numbers, quoted texts and <flags> are what counts in the file, in a fixed order; all other words are for people.
/// This is why one reader understands the long and the short format.
class TextGridReader
{
public:
    TextGridReader(std::string_view in_strText, RegionCollector& inout_regions)
        : m_strText(in_strText)
        , m_regions(inout_regions)
    {
    }

    void read()
    {
        double dSpan = 0.0;
        unsigned long uiNbOfTiers = 0;
        std::string strFlag;
        if (!readHeader() || !takeTime("beginning", dSpan) || !takeTime("end", dSpan) || !takeFlag(strFlag))
            return;
        if (strFlag != "<exists>" || !takeCount("tiers", uiNbOfTiers))
            return;
        // Each tier and item takes tokens, so a count that is too high ends with the text.
        for (unsigned long uiTier = 0; uiTier < uiNbOfTiers; ++uiTier)
            if (!readTier())
                return;
    }

private:
    enum Kind
    {
        END,
        NUMBER,
        TEXT,
        FLAG,
        FAULT
    };

    struct Token
    {
        Kind m_kind = END;
        std::string m_strText;
        double m_dNumber = 0.0;
    };

    bool readHeader()
    {
        constexpr const char* szWanted = "no TextGrid: it begins with File type = \"ooTextFile\" and Object class = "
                                         "\"TextGrid\"; let Praat save it as a text file";
        Token token = next();
        if (token.m_kind == FAULT)
            return false;
        // An old short format has its name in the first line.
        if (token.m_kind != TEXT || (token.m_strText != "ooTextFile" && token.m_strText != "ooTextFile short"))
            return m_regions.fail(1, szWanted);
        token = next();
        if (token.m_kind == FAULT)
            return false;
        if (token.m_kind != TEXT || token.m_strText != "TextGrid")
            return m_regions.fail(m_uiTokenLine, szWanted);
        return true;
    }

    bool readTier()
    {
        std::string strClass;
        std::string strName;
        double dSpan = 0.0;
        unsigned long uiNbOfItems = 0;
        if (!takeText("class of a tier", strClass))
            return false;
        if (strClass != "IntervalTier" && strClass != "TextTier")
            return m_regions.fail(m_uiTokenLine, "a tier of class " + inShortQuotes(strClass) +
                                                     "; only IntervalTier and TextTier are known");
        if (!takeText("name of a tier", strName) || !takeTime("beginning of a tier", dSpan) ||
            !takeTime("end of a tier", dSpan) || !takeCount("intervals or points", uiNbOfItems))
            return false;
        for (unsigned long uiItem = 0; uiItem < uiNbOfItems; ++uiItem)
            if (!readItem(strClass == "TextTier"))
                return false;
        return true;
    }

    bool readItem(bool in_bPoint)
    {
        LabeledRegion region;
        if (!takeTime(in_bPoint ? "time of a point" : "start of an interval", region.m_dStart))
            return false;
        region.m_uiLine = m_uiTokenLine;
        region.m_dStop = region.m_dStart;
        if (!in_bPoint && !takeTime("stop of an interval", region.m_dStop))
            return false;
        if (!takeText(in_bPoint ? "mark of a point" : "text of an interval", region.m_strLabel))
            return false;
        return region.m_strLabel.empty() || m_regions.add(std::move(region));
    }

    bool takeTime(const char* in_szName, double& out_dSeconds)
    {
        const Token token = next();
        out_dSeconds = token.m_dNumber;
        return isWanted(token, NUMBER, in_szName, "a number");
    }

    bool takeCount(const char* in_szName, unsigned long& out_uiCount)
    {
        const Token token = next();
        if (!isWanted(token, NUMBER, (std::string("number of ") + in_szName).c_str(), "a number"))
            return false;
        if (!parseNumber(token.m_strText, out_uiCount))
            return m_regions.fail(m_uiTokenLine, std::string("the number of ") + in_szName + " is " +
                                                     inShortQuotes(token.m_strText) + ", no whole number");
        return true;
    }

    bool takeText(const char* in_szName, std::string& out_strText)
    {
        Token token = next();
        out_strText = std::move(token.m_strText);
        return isWanted(token, TEXT, in_szName, "a text between quotes");
    }

    bool takeFlag(std::string& out_strFlag)
    {
        const Token token = next();
        out_strFlag = token.m_strText;
        return isWanted(token, FLAG, "mark whether there are tiers", "<exists> or <absent>");
    }

    bool isWanted(const Token& in_token, Kind in_kind, const char* in_szName, const char* in_szWanted)
    {
        if (in_token.m_kind == in_kind)
            return true;
        if (in_token.m_kind == FAULT)
            return false;
        const char* szFound = in_token.m_kind == END ? "the end of the file" : "something else";
        return m_regions.fail(m_uiTokenLine, std::string("where the ") + in_szName + " belongs, as " + in_szWanted +
                                                 ", stands " + szFound + "; the file is cut off or damaged");
    }

    static bool isSpace(char in_cLetter) { return in_cLetter == ' ' || (in_cLetter >= '\t' && in_cLetter <= '\r'); }

    bool atEnd() const { return m_uiPos == m_strText.size(); }

    void step()
    {
        const char cLetter = m_strText[m_uiPos++];
        if (cLetter == '\n' || (cLetter == '\r' && m_strText.substr(m_uiPos, 1) != "\n"))
            ++m_uiLine;
    }

    void skipComment()
    {
        while (!atEnd() && m_strText[m_uiPos] != '\n' && m_strText[m_uiPos] != '\r')
            step();
    }

    Token next()
    {
        for (;;) {
            while (!atEnd() && isSpace(m_strText[m_uiPos]))
                step();
            m_uiTokenLine = m_uiLine;
            if (atEnd())
                return {};
            if (m_strText[m_uiPos] == '"')
                return takeQuoted();
            if (m_strText[m_uiPos] == '!') {
                skipComment();
                continue;
            }
            Token token = asToken(takeWord());
            if (token.m_kind != END)
                return token;
        }
    }

    Token takeQuoted()
    {
        Token token{TEXT, {}, 0.0};
        for (step(); !atEnd(); step()) {
            if (m_strText[m_uiPos] == '"') {
                if (m_strText.substr(m_uiPos + 1, 1) != "\"") {
                    step();
                    return token;
                }
                step();
            }
            token.m_strText += m_strText[m_uiPos];
        }
        m_regions.fail(m_uiTokenLine, "a quote is opened and never closed");
        return {FAULT, {}, 0.0};
    }

    std::string_view takeWord()
    {
        const std::size_t uiBegin = m_uiPos;
        while (!atEnd() && !isSpace(m_strText[m_uiPos]))
            ++m_uiPos;
        return m_strText.substr(uiBegin, m_uiPos - uiBegin);
    }

    // END for a word that is for people.
    Token asToken(std::string_view in_strWord)
    {
        if (in_strWord.front() == '<' && in_strWord.back() == '>')
            return {FLAG, std::string(in_strWord), 0.0};
        const std::size_t uiSign = in_strWord.find_first_not_of("+-");
        if (uiSign == std::string_view::npos || in_strWord[uiSign] < '0' || in_strWord[uiSign] > '9')
            return {};
        // Passing over a damaged number would give all that follow another meaning.
        Token token{NUMBER, std::string(in_strWord), 0.0};
        if (!m_regions.takeTime(m_uiTokenLine, "number", in_strWord, token.m_dNumber))
            token.m_kind = FAULT;
        return token;
    }

    std::string_view m_strText;
    RegionCollector& m_regions;
    std::size_t m_uiPos = 0;
    unsigned long m_uiLine = 1;
    unsigned long m_uiTokenLine = 1;
};

} // namespace

void writeTextGrid(std::ostream& out_stream, const std::vector<LabeledRegion>& in_vRegions, double in_dDurationSeconds)
{
    TextGridWriter(out_stream, in_vRegions, in_dDurationSeconds).write();
}

void readTextGrid(std::string_view in_strText, RegionCollector& inout_regions)
{
    TextGridReader(in_strText, inout_regions).read();
}

} // namespace Corvana::Tools
