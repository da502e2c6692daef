// SPDX-License-Identifier: Apache-2.0
#include "tools/DescriptionChecker.h"

#include "corvana/AudioFeatureFactory.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

#include <memory>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class DescriptionCheckerTest : public testing::Test
{
protected:
    DescriptionCheckerTest() { m_pool.addFactory(new Audio::AudioFeatureFactory); }

    std::vector<DescriptionStage> check(std::string_view in_strDescription)
    {
        return DescriptionChecker(m_pool).check(in_strDescription, m_fault);
    }

    // What is wrong with a description, and the faulty part of it.
    void expectFault(std::string_view in_strDescription, const std::string& in_strText, std::size_t in_uiBegin,
                     std::string_view in_strPart)
    {
        EXPECT_THAT(check(in_strDescription), IsEmpty()) << in_strDescription;
        EXPECT_THAT(m_fault.m_strText, StartsWith(in_strText)) << in_strDescription;
        EXPECT_EQ(m_fault.m_uiBegin, in_uiBegin) << in_strDescription;
        EXPECT_EQ(in_strDescription.substr(m_fault.m_uiBegin, m_fault.m_uiEnd - m_fault.m_uiBegin), in_strPart)
            << in_strDescription;
    }

    Math::SignalFeaturePool m_pool;
    DescriptionFault m_fault;
};

TEST_F(DescriptionCheckerTest, CutsAChainIntoStages)
{
    const std::vector<DescriptionStage> vStages = check(" Spectrum | FLATNESS() ");

    ASSERT_EQ(vStages.size(), 2U);
    EXPECT_EQ(vStages[0].m_strText, "Spectrum");
    EXPECT_STREQ(vStages[0].m_pDescription->m_szName, "spectrum");
    EXPECT_EQ(vStages[1].m_strText, "FLATNESS()");
    EXPECT_STREQ(vStages[1].m_pDescription->m_szName, "flatness");
    EXPECT_EQ(m_fault.m_strText, "");
}

TEST_F(DescriptionCheckerTest, AcceptsEveryExampleOfTheTable)
{
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions()) {
        check(description.m_szExample);
        EXPECT_EQ(m_fault.m_strText, "") << description.m_szExample;
    }
}

TEST_F(DescriptionCheckerTest, NamesTheNearestFeatures)
{
    expectFault("spectrm|flatness", "unknown feature 'spectrm'; did you mean spectrum?", 0, "spectrm");
    expectFault("spectrum | flattness", "unknown feature 'flattness'; did you mean flatness?", 11, "flattness");
    expectFault("xyzzy", "unknown feature 'xyzzy'", 0, "xyzzy");
    EXPECT_EQ(m_fault.m_strText, "unknown feature 'xyzzy'");
}

TEST_F(DescriptionCheckerTest, TellsThatAKnownTypeCannotBeMade)
{
    expectFault("energyhistogram", "the feature 'energyhistogram' exists, but cannot be made from a description", 0,
                "energyhistogram");
}

TEST_F(DescriptionCheckerTest, FindsEmptyParts)
{
    expectFault("", "the description is empty", 0, "");
    expectFault("  ", "the description is empty", 0, "");
    expectFault("spectrum|", "a stage of the chain is empty", 9, "");
    expectFault("|spectrum", "a stage of the chain is empty", 0, "");
    expectFault("spectrum||flatness", "a stage of the chain is empty", 9, "");
    expectFault("(1)", "a feature's name is missing before '('", 0, "(");
}

TEST_F(DescriptionCheckerTest, FindsUnbalancedParentheses)
{
    expectFault("spectrum(", "'(' is never closed", 8, "(");
    expectFault("spectrum)", "a ')' without its '('", 8, ")");
    expectFault("spectrum)ab", "a ')' without its '('", 8, ")");
    expectFault("(440)", "a feature's name is missing before '('", 0, "(");
    expectFault("peaks(ab", "'(' is never closed", 5, "(");
    expectFault("peaks(a(bc)", "a '(' inside parentheses", 7, "(");
    expectFault("spectrum((1))", "a '(' inside parentheses", 9, "(");
    expectFault("spectrum() x", "nothing may follow ')' but '|' and another feature", 11, "x");
    expectFault("spectrum()(", "nothing may follow ')' but '|' and another feature", 10, "(");
    expectFault("spectrum(|flatness)", "'(' is never closed", 8, "(");
}

TEST_F(DescriptionCheckerTest, FindsEmptyParameters)
{
    expectFault("spectralrange(1000,)", "a parameter is empty", 19, "");
    expectFault("spectralrange(,100)", "a parameter is empty", 14, "");
    expectFault("spectralrange(1000, ,3)", "a parameter is empty", 19, " ");
}

TEST_F(DescriptionCheckerTest, ShowsHowAFeatureWithTheWrongNumberOfParametersIsWritten)
{
    expectFault("spectrum(1)", "spectrum takes no parameters, not 1; it is written spectrum, as in 'spectrum'", 8,
                "(1)");
    expectFault("spectrum|flatness(1,2)",
                "flatness takes no parameters, not 2; it is written flatness, as in 'spectrum|flatness'", 17, "(1,2)");
}

TEST_F(DescriptionCheckerTest, ExplainsEveryWrongNumberOfParameters)
{
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions()) {
        if (description.m_uiMinParameters > 0) {
            expectFault(description.m_szName, std::string(description.m_szName) + " takes ", 0, description.m_szName);
            EXPECT_THAT(m_fault.m_strText, HasSubstr(writtenForm(description))) << description.m_szName;
        }
    }
}

TEST_F(DescriptionCheckerTest, FindsTheUnreadableParameter)
{
    // With as many parameters as the feature needs, all but the last one good.
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions()) {
        if (description.m_uiMaxParameters == 0)
            continue;
        std::string strText = std::string(description.m_szName) + "(";
        for (unsigned uiIndex = 1; uiIndex < description.m_uiMinParameters; ++uiIndex)
            strText += "1000, ";
        expectFault(strText + "abc )", "the parameter 'abc' is no whole number; it is written ", strText.size(), "abc");
    }
}

TEST_F(DescriptionCheckerTest, RefusesANullCharacter)
{
    expectFault(std::string_view("spectrum\0x", 10), "a null character", 8, std::string_view("\0", 1));
}

TEST_F(DescriptionCheckerTest, RefusesAChainThatIsTooLongForThePool)
{
    std::string strChain = "flatness";
    while (std::unique_ptr<Math::SignalFeature>(m_pool.getNewFeature(strChain.c_str())) != nullptr) {
        EXPECT_FALSE(check(strChain).empty());
        strChain += "|flatness";
        ASSERT_LT(strChain.size(), 100000U);
    }
    expectFault(strChain, "a chain of 257 stages is too long", 0, strChain);
}

TEST_F(DescriptionCheckerTest, AgreesWithThePoolAboutEveryShortText)
{
    // All texts of up to four pieces; what the checker accepts, and nothing else, must be made.
    const std::vector<std::string> vPieces = {"spectrum", "flatness", "nosuch", "(", ")", ",", "|", " ", "1000"};
    std::vector<std::string> vTexts = {""};
    for (std::size_t uiBegin = 0, uiRound = 0; uiRound < 4; ++uiRound) {
        const std::size_t uiEnd = vTexts.size();
        for (; uiBegin < uiEnd; ++uiBegin)
            for (const std::string& strPiece : vPieces)
                vTexts.push_back(vTexts[uiBegin] + strPiece);
    }
    for (const std::string& strText : vTexts) {
        const bool bMade = std::unique_ptr<Math::SignalFeature>(m_pool.getNewFeature(strText.c_str())) != nullptr;
        EXPECT_EQ(!check(strText).empty(), bMade) << "'" << strText << "'";
        EXPECT_EQ(m_fault.m_strText.empty(), bMade) << "'" << strText << "'";
        EXPECT_LE(m_fault.m_uiBegin, m_fault.m_uiEnd) << "'" << strText << "'";
        EXPECT_LE(m_fault.m_uiEnd, strText.size()) << "'" << strText << "'";
    }
}

TEST_F(DescriptionCheckerTest, MakesNoAssertionFail)
{
    const Corvana::Test::AssertionCapture assertions;

    for (const char* szText : {"spectrum(", "spectrum(1)", "spectralrange(1)", "", "||", "a(,)", "spectrum"})
        check(szText);

    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TEST(DescriptionFault, PointsAtThePlace)
{
    EXPECT_EQ(faultText("spectrum|flat", {"unknown", 9, 13}), "unknown\n  spectrum|flat\n           ^~~~");
    EXPECT_EQ(faultText("spectrum|", {"empty", 9, 9}), "empty\n  spectrum|\n           ^");
}

TEST(DescriptionFault, CountsCharactersNotBytes)
{
    EXPECT_EQ(faultText("gr\xC3\xBC\xC3\x9F|x", {"unknown", 7, 8}), "unknown\n  gr\xC3\xBC\xC3\x9F|x\n       ^");
}

TEST(ParameterCount, IsToldInWords)
{
    Audio::FeatureDescription description{};
    const auto text = [&description](unsigned in_uiMin, unsigned in_uiMax) {
        description.m_uiMinParameters = in_uiMin;
        description.m_uiMaxParameters = in_uiMax;
        return parameterCountText(description);
    };

    EXPECT_EQ(text(0, 0), "no parameters");
    EXPECT_EQ(text(1, 1), "1 parameter");
    EXPECT_EQ(text(2, 2), "2 parameters");
    EXPECT_EQ(text(0, 1), "0 or 1 parameter");
    EXPECT_EQ(text(2, 4), "2 to 4 parameters");
    EXPECT_EQ(text(1, 4294967295U), "1 or more parameters");
}

} // namespace
} // namespace Corvana::Tools
