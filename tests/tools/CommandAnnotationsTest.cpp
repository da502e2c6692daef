// SPDX-License-Identifier: Apache-2.0
// What each of the commands list, add, merge, copy and clear does.
#include "RecordingsTest.h"
#include "corvana/AudioAnnotation.h"
#include "tools/CommandAnnotationsClear.h"
#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

namespace Corvana::Tools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class CommandAnnotationsTest : public RecordingsTest
{
protected:
    // Wrong usage: told before any file is touched.
    void expectRefused(const std::vector<std::string>& in_vArguments, const std::string& in_strMessage)
    {
        EXPECT_EQ(annotations(in_vArguments), EXIT_UNUSABLE) << in_strMessage;
        EXPECT_EQ(m_data.str(), "") << in_strMessage;
        EXPECT_THAT(m_messages.str(), StartsWith("corvana: " + in_strMessage));
    }
};

// ---- list

TEST_F(CommandAnnotationsTest, ListsATableForPeople)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 4000, 2001}, {"CPA_NUMBER_UNOBTAINABLE", 0, 8000}});

    EXPECT_EQ(annotations({"list", strFile}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strFile + ": 2 regions\n"
                                      "  index  type                            start          stop      duration\n"
                                      "      0  VOICE                        0.500000      0.750125      0.250125\n"
                                      "      1  CPA_NUMBER_UNOBTAINABLE      0.000000      1.000000      1.000000\n");
    EXPECT_EQ(annotations({"list", "--format", "table", makeFile("b.wav")}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), m_dir.file("b.wav") + ": 0 regions\n");
}

TEST_F(CommandAnnotationsTest, ListsInEachFormat)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 4000, 2000}});
    const std::vector<std::pair<std::string, std::string>> vFormats = {
        {"csv", "index,type,start,stop\n0,VOICE,0.5,0.75\n"},
        {"json", "[\n  {\"index\":0,\"type\":\"VOICE\",\"start\":0.5,\"stop\":0.75}\n]\n"},
        {"audacity", "0.5\t0.75\tVOICE\n"}};
    for (const auto& [strFormat, strText] : vFormats) {
        EXPECT_EQ(annotations({"list", "--format", strFormat, strFile}), EXIT_DONE);
        EXPECT_EQ(m_data.str(), strText);
    }
    EXPECT_EQ(annotations({"list", "--format", "textgrid", strFile}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), AllOf(StartsWith("File type = \"ooTextFile\"\n"), HasSubstr("xmax = 1 \n")));
    EXPECT_EQ(annotations({"list", "--format", "xml", strFile}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("is one of table, csv, json, audacity, textgrid, not 'xml'"));
}

TEST_F(CommandAnnotationsTest, ListsTheFileWithEachRegionOfSeveral)
{
    const std::string strFirst = makeFile("a,1.wav", {{"VOICE", 4000, 2000}});
    const std::string strNone = makeFile("b.wav");
    const std::string strLast = makeFile("c.wav", {{"SF_3", 0, 8000}, {"NOISE", 0, 1}});

    EXPECT_EQ(annotations({"list", "--format", "csv", strFirst, strNone, m_dir.file("none.wav"), strLast}),
              EXIT_SOME_FAILED);
    EXPECT_EQ(m_data.str(), "file,index,type,start,stop\n\"" + strFirst + "\",0,VOICE,0.5,0.75\n" + strLast +
                                ",0,SF_3,0,1\n" + strLast + ",1,NOISE,0,0.000125\n");
    EXPECT_EQ(m_messages.str(), "corvana: " + m_dir.file("none.wav") +
                                    ": failed to open, No such file or directory\ncorvana: 1 of 4 files failed\n");

    EXPECT_EQ(annotations({"list", "--format", "json", strNone, m_dir.file("none.wav"), strLast}), EXIT_SOME_FAILED);
    const auto json = nlohmann::json::parse(m_data.str());
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0], (nlohmann::json{{"file", strNone}, {"regions", nlohmann::json::array()}}));
    EXPECT_EQ(json[1]["file"], strLast);
    EXPECT_EQ(json[1]["regions"][1]["type"], "NOISE");

    EXPECT_EQ(annotations({"list", "--format", "json", m_dir.file("none.wav"), m_dir.file("none2.wav")}),
              EXIT_SOME_FAILED);
    EXPECT_EQ(nlohmann::json::parse(m_data.str()), nlohmann::json::array());
    EXPECT_EQ(annotations({"list", "--format", "csv", "--list", m_dir.write("list.txt", "b.wav\n")}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), "file,index,type,start,stop\n");
    EXPECT_EQ(annotations({"list", "--format", "csv", strLast, "--list", m_dir.file("list.txt")}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), StartsWith("file,index,type,start,stop\n" + strLast + ",0,SF_3,"));
    EXPECT_EQ(annotations({"list", strNone, strLast}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), StartsWith(strNone + ": 0 regions\n" + strLast + ": 2 regions\n"));
}

TEST_F(CommandAnnotationsTest, ListsOneFileWhereAFormatHoldsOne)
{
    for (const char* szFormat : {"audacity", "textgrid"})
        expectRefused({"list", "--format", szFormat, makeFile("a.wav"), makeFile("b.wav")},
                      std::string("--format ") + szFormat +
                          " holds the regions of one file; 'corvana annotations export' makes one for each\n");
}

TEST_F(CommandAnnotationsTest, ListsNoGapsAndCountsThem)
{
    const std::string strFile = m_dir.write(
        "a.wav", Corvana::Test::riff(
                     Corvana::Test::fmtChunk() + Corvana::Test::dataChunk("abcd") +
                     Corvana::Test::cueChunk({Corvana::Test::cuePoint(1, 0), Corvana::Test::cuePoint(3, 1)}) +
                     Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(1, 1) + Corvana::Test::lablChunk(1, "VOICE") +
                                              Corvana::Test::ltxtChunk(3, 1) + Corvana::Test::lablChunk(3, "NOISE"))));

    EXPECT_EQ(annotations({"list", "--format", "csv", strFile}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), "index,type,start,stop\n0,VOICE,0,0.000125\n2,NOISE,0.000125,0.00025\n");
    EXPECT_THAT(m_messages.str(), HasSubstr("warning: Annotation indexes are not contiguous."));
}

TEST_F(CommandAnnotationsTest, ListsNothingFromStandardInput)
{
    EXPECT_EQ(annotations({"list", "-"}), EXIT_SOME_FAILED);
    EXPECT_EQ(m_messages.str(), "corvana: -: regions are read from files only, not from standard input\n");
    EXPECT_EQ(annotations({"list"}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("no recording given"));
}

// ---- add

TEST_F(CommandAnnotationsTest, AddsARegionBehindTheOthers)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 4000, 2000}});

    EXPECT_EQ(annotations({"add", strFile, "dtmf_star", "0.125", "0.25"}), EXIT_DONE);
    EXPECT_EQ(annotations({"add", strFile, "SF_4000", "0", "1"}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strFile + ": 3 regions, 1 added\n");
    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0.5,0.75\n1,DTMF_STAR,0.125,0.25\n2,SF_4000,0,1\n");
}

TEST_F(CommandAnnotationsTest, AddsToTheNearestSample)
{
    const std::string strFile = makeFile("a.wav");

    EXPECT_EQ(annotations({"add", strFile, "BEEP", "0.00006", "0.0000625"}), EXIT_DONE);

    EXPECT_EQ(regionsOf(strFile), "0,BEEP,0,0.000125\n"); // halves go up
}

TEST_F(CommandAnnotationsTest, NamesTheNearestTypes)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strBefore = contentsOf(strFile);
    const std::string strHint =
        "\nThe last three arguments are TYPE START STOP; 'corvana annotations types' shows all types\n";
    expectRefused({"add", strFile, "VIOCE", "0", "1"}, "'VIOCE' is no type of a region; did you mean VOICE?" + strHint);
    expectRefused({"add", strFile, "CPA_HUMANS", "0", "1"}, "'CPA_HUMANS' is no type of a region; did you mean "
                                                            "CPA_HUMAN");
    expectRefused({"add", strFile, "xyzzy", "0", "1"}, "'xyzzy' is no type of a region" + strHint);
    expectRefused({"add", strFile, "", "0", "1"}, "'' is no type of a region");
    for (const char* szType : {"sf_12", "SF_0", "SF_4001", "SF_12abc", "SF_ 7", "SF_", "SF_-3"})
        expectRefused({"add", strFile, szType, "0", "1"},
                      "'" + std::string(szType) +
                          "' is no type of a region; numbered types are SF_1 to SF_4000, in capitals" + strHint);
    expectRefused({"add", "VOICE", "0", "1", strFile},
                  "'0' is no type of a region; numbered types are written SF_1 to SF_4000" + strHint);
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(CommandAnnotationsTest, RefusesTimesThatAreNone)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strBefore = contentsOf(strFile);
    for (const char* szTime : {"-1", "-0", "-1e-9", "nan", "inf", "1e999"}) {
        expectRefused({"add", strFile, "VOICE", szTime, "1"}, "START is a time in seconds, 0 or more, ");
        expectRefused({"add", strFile, "VOICE", "0", szTime}, "STOP is a time in seconds, 0 or more, ");
    }
    for (const char* szTime : {"", "one", "0,5", "1s", "0:30"})
        expectRefused({"add", strFile, "VOICE", szTime, "1"},
                      std::string("START is a time in seconds, 0 or more, such as 1.25, not '") + szTime + "'\n");
    expectRefused({"add", strFile, "VOICE", "0.5", "0.25"},
                  "the region would stop, at 0.25 s, before it starts, at 0.5 s\n");
    expectRefused({"add", strFile, "VOICE", "-.5", "1"},
                  "annotations add: does not know what to do with the negative number '-.5'\n");
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(CommandAnnotationsTest, WantsAllPartsOfARegion)
{
    const std::string strWanted = "wants FILE... TYPE START STOP, such as: corvana annotations add call.wav VOICE 1.5 "
                                  "3.25\n";
    expectRefused({"add"}, strWanted);
    expectRefused({"add", "VOICE", "1"}, strWanted);
    expectRefused({"add", "VOICE", "0", "1"}, "no recording given");
}

TEST_F(CommandAnnotationsTest, RefusesARegionBeyondTheEndOfTheAudio)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strBefore = contentsOf(strFile);

    EXPECT_EQ(annotations({"add", strFile, "VOICE", "0.5", "1.001"}), EXIT_SOME_FAILED);

    EXPECT_EQ(m_messages.str(), "corvana: " + strFile +
                                    ": the region VOICE from 0.5 to 1.001 s reaches beyond the end "
                                    "of the audio at 1 s; --clip cuts it there\n");
    EXPECT_EQ(annotations({"add", strFile, "VOICE", "1e300", "1e300"}), EXIT_SOME_FAILED);
    EXPECT_EQ(annotations({"add", strFile, "VOICE", "536870.912", "536870.913"}), EXIT_SOME_FAILED); // 2^32 samples
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(CommandAnnotationsTest, TakesTheEndOfTheAudioForAStop)
{
    // A seventh of a second ends between samples at this rate, and nothing is cut.
    const std::string strFile = makeFile("a.wav", {}, 1575, 11025);

    EXPECT_EQ(annotations({"add", strFile, "VOICE", "0.00003", "0.14285714285714285"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 1 added\n");
    EXPECT_EQ(annotations({"add", strFile, "BEEP", "0.14285714285714285", "0.14285714285714285"}), EXIT_DONE);

    EXPECT_EQ(m_messages.str(), "");
    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0,0.14285714285714285\n1,BEEP,0.14285714285714285,0.14285714285714285\n");
}

TEST_F(CommandAnnotationsTest, CutsARegionAtTheEndWhenTold)
{
    const std::string strFile = makeFile("a.wav");

    EXPECT_EQ(annotations({"add", "--clip", strFile, "VOICE", "0.5", "1e300"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 1 added, 1 of them cut at the end\n");
    EXPECT_EQ(annotations({"add", "--clip", strFile, "VOICE", "1", "1.5"}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 0 added, 1 beyond the end left out\n");

    EXPECT_EQ(regionsOf(strFile), "0,VOICE,0.5,1\n");
}

// ---- merge, copy

TEST_F(CommandAnnotationsTest, MergesRegionsBehindThoseThatAreThere)
{
    const std::string strFrom = makeFile("from.wav", {{"VOICE", 4000, 2000}, {"SF_9", 0, 800}});
    const std::string strInto = makeFile("into.wav", {{"NOISE", 0, 160}}, 16000, 16000);
    const std::string strOther = makeFile("other.wav");
    const std::string strBefore = contentsOf(strFrom);

    EXPECT_EQ(annotations({"merge", strFrom, strInto, strOther}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strInto + ": 3 regions, 2 added\n" + strOther + ": 2 regions, 2 added\n");
    EXPECT_EQ(regionsOf(strInto), "0,NOISE,0,0.01\n1,VOICE,0.5,0.75\n2,SF_9,0,0.1\n");
    EXPECT_EQ(regionsOf(strOther), "0,VOICE,0.5,0.75\n1,SF_9,0,0.1\n");
    EXPECT_EQ(contentsOf(strFrom), strBefore);
}

TEST_F(CommandAnnotationsTest, CopiesRegionsInPlaceOfThoseThatAreThere)
{
    const std::string strFrom = makeFile("from.wav", {{"VOICE", 4000, 2000}, {"SF_9", 0, 800}});
    const std::string strTo = makeFile("to.wav", {{"NOISE", 0, 80}, {"BEEP", 0, 80}, {"MALE", 0, 80}});

    EXPECT_EQ(annotations({"copy", strFrom, strTo}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strTo + ": 2 regions, 2 copied, 3 removed\n");
    EXPECT_EQ(regionsOf(strTo), "0,VOICE,0.5,0.75\n1,SF_9,0,0.1\n");

    EXPECT_EQ(annotations({"copy", makeFile("none.wav"), strTo}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strTo + ": 0 regions, 0 copied, 2 removed\n");
    EXPECT_EQ(regionsOf(strTo), "");
}

TEST_F(CommandAnnotationsTest, RefusesAShorterTargetUnlessTold)
{
    const std::string strFrom =
        makeFile("from.wav", {{"VOICE", 0, 800}, {"NOISE", 3200, 1600}, {"BEEP", 4000, 80}, {"MALE", 6400, 80}});
    const std::string strTo = makeFile("to.wav", {}, 4000);
    const std::string strBefore = contentsOf(strTo);

    EXPECT_EQ(annotations({"merge", strFrom, strTo}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("the region NOISE from 0.4 to 0.6"));
    EXPECT_EQ(contentsOf(strTo), strBefore);
    EXPECT_EQ(annotations({"merge", "--clip", strFrom, strTo}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strTo + ": 2 regions, 2 added, 1 of them cut at the end, 2 beyond the end left out\n");
    EXPECT_EQ(regionsOf(strTo), "0,VOICE,0,0.1\n1,NOISE,0.4,0.5\n");
}

TEST_F(CommandAnnotationsTest, RefusesASourceThatIsAlsoATarget)
{
    const std::string strFrom = makeFile("from.wav", {{"VOICE", 0, 800}});
    const std::string strTo = makeFile("to.wav");
    const std::string strBefore = contentsOf(strTo);
    std::filesystem::create_symlink("from.wav", m_dir.file("link.wav"));
    std::filesystem::create_hard_link(strFrom, m_dir.file("hard.wav"));
    const std::string strOtherSpelling = m_dir.path() + "/./from.wav";
    for (const char* szCommand : {"merge", "copy"})
        for (const std::string& strTarget :
             {strFrom, strOtherSpelling, m_dir.file("link.wav"), m_dir.file("hard.wav")}) {
            expectRefused({szCommand, strFrom, strTo, strTarget}, strTarget + ": is the file that the regions come "
                                                                              "from\n");
            EXPECT_EQ(contentsOf(strTo), strBefore);
        }
    expectRefused({"copy", m_dir.file("none.wav"), m_dir.file("none.wav")}, m_dir.file("none.wav") + ": is the file");
}

TEST_F(CommandAnnotationsTest, EditsNothingWhenTheSourceCannotBeRead)
{
    const std::string strTo = makeFile("to.wav", {{"VOICE", 0, 800}});
    const std::string strBefore = contentsOf(strTo);
    expectRefused({"copy", m_dir.file("none.wav"), strTo},
                  m_dir.file("none.wav") + ": failed to open, No such file or directory\n");
    expectRefused({"copy", m_dir.write("text.wav", "text"), strTo}, m_dir.file("text.wav") + ": ");
    expectRefused({"copy", strTo}, "no target given: name the file whose regions are wanted, then those they go to\n");
    expectRefused({"copy"}, "annotations copy: FROM is required\n");
    EXPECT_EQ(contentsOf(strTo), strBefore);
}

TEST_F(CommandAnnotationsTest, BringsNoGapsAlong)
{
    const std::string strFrom = m_dir.write(
        "a.wav", Corvana::Test::riff(
                     Corvana::Test::fmtChunk() + Corvana::Test::dataChunk(Corvana::Test::audioBytes(400)) +
                     Corvana::Test::cueChunk({Corvana::Test::cuePoint(3, 1)}) +
                     Corvana::Test::adtlChunk(Corvana::Test::ltxtChunk(3, 1) + Corvana::Test::lablChunk(3, "NOISE"))));
    const std::string strInto = makeFile("b.wav");

    EXPECT_EQ(annotations({"merge", "-q", strFrom, strInto}), EXIT_DONE);

    EXPECT_EQ(m_data.str(), strInto + ": 1 region, 1 added\n");
}

// ---- clear

TEST_F(CommandAnnotationsTest, ClearsAllRegionsOrThoseThatMatch)
{
    const std::vector<Region> vRegions = {
        {"CPA_DTMF_1", 0, 80}, {"DTMF_1", 80, 80}, {"CPA_HUMAN", 160, 80}, {"DTMF_A", 240, 80}, {"DTMF_0", 320, 80}};
    const std::string strFile = makeFile("a.wav", vRegions);

    EXPECT_EQ(annotations({"clear", "--match", "dtmf_[0-9]", strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 3 regions, 2 removed\n");
    EXPECT_EQ(regionsOf(strFile), "0,CPA_DTMF_1,0,0.01\n1,CPA_HUMAN,0.02,0.03\n2,DTMF_A,0.03,0.04\n");
    EXPECT_EQ(annotations({"clear", "--match", "cpa_.*", strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 2 removed\n");
    EXPECT_EQ(annotations({"clear", strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 0 regions, 1 removed\n");
    EXPECT_EQ(regionsOf(strFile), "");
}

TEST_F(CommandAnnotationsTest, ExplainsAMalformedPatternBeforeAnyFileIsTouched)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 80}});
    const std::string strBefore = contentsOf(strFile);
    for (const char* szPattern : {"(", "[a", "*", "\\"})
        expectRefused({"clear", "--match", szPattern, strFile},
                      std::string("--match: the pattern '") + szPattern + "' is no regular expression: ");
    expectRefused({"clear", "--match", "(", m_dir.file("none.wav")}, "--match: the pattern '('");
    EXPECT_EQ(contentsOf(strFile), strBefore);
}

TEST_F(CommandAnnotationsTest, RefusesALongPattern)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 80}});
    const std::string strLongest = "VOICE|" + std::string(CommandAnnotationsClear::s_uiMaxPatternSize - 6, 'x');
    expectRefused({"clear", "--match", strLongest + "x", strFile},
                  "--match: the pattern has 4097 bytes; 4096 are the most\n");
    EXPECT_EQ(annotations({"clear", "--match", strLongest, strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 0 regions, 1 removed\n");
}

TEST_F(CommandAnnotationsTest, WarnsAboutAPatternThatMatchesNoType)
{
    const std::string strFile = makeFile("a.wav", {{"CPA_HUMAN", 0, 80}});
    EXPECT_EQ(annotations({"clear", "--match", "HUMAN", strFile}), EXIT_DONE);
    EXPECT_EQ(m_data.str(), strFile + ": 1 region, 0 removed\n");
    EXPECT_EQ(m_messages.str(), "corvana: warning: --match: the pattern 'HUMAN' matches no type; it has to match the "
                                "whole of it, as .*HUMAN matches CPA_HUMAN\n");
    for (const char* szPattern : {"SF_4000", "other", "sf_1", ".*HUMAN"}) {
        EXPECT_EQ(annotations({"clear", "--match", szPattern, makeFile("b.wav")}), EXIT_DONE);
        EXPECT_EQ(m_messages.str(), "") << szPattern;
    }
}

TEST_F(CommandAnnotationsTest, RefusesAPatternThatTakesTooLong)
{
    const std::string strFile = makeFile("a.wav", {{"VOICE", 0, 80}});
    expectRefused({"clear", "--match", "(.*)*(.*)*b", strFile},
                  "--match: the pattern '(.*)*(.*)*b' takes too long to match; say the same without repetitions of "
                  "repetitions\n");
}

} // namespace
} // namespace Corvana::Tools
