// SPDX-License-Identifier: Apache-2.0
// Formulas in the command: eval, list-functions, and columns of features.
#include "support/Signals.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"
#include "tools/FormulaSet.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <set>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandEvalTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    // The rows without the header, whose names differ.
    std::string rowsOf(const std::vector<std::string>& in_vArguments)
    {
        EXPECT_EQ(EXIT_DONE, run(in_vArguments)) << m_messages.str();
        return m_data.str().substr(m_data.str().find('\n') + 1);
    }

    std::string noiseFile(const std::string& in_strName = "a.wav", int in_iSampleRate = 8000)
    {
        return Corvana::Test::writeSoundFile(m_dir.file(in_strName), Corvana::Test::noise(2000), in_iSampleRate);
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

} // namespace

// ---- eval

TEST_F(CommandEvalTest, GivesTheBitsOfTheMatchingChains)
{
    const std::string strCall = CORVANA_SOURCE_DIR "/examples/data/sample-call.wav";
    const std::vector<std::pair<std::string, std::string>> vPairs = {
        {"spectrum(x)", "spectrum"},
        {"flatness(spectrum(x))", "spectrum|flatness"},
        {"harmonicProduct(spectrum(x))", "spectrum|harmonicproduct"},
        {"silenceRatio(x)", "silenceratio"},
        {"peaks(spectrum(x))", "spectrum|peaks"},
        {"spectralRange(spectrum(x), frequencyHz=1000, widthHz=100)", "spectrum|spectralrange(1000,100)"},
        {"maxSpectralRanges(spectrum(x), frequenciesList=\"440, 480\")", "spectrum|maxspectralranges(440,480)"},
        {"lowFreqEnergyRatios(spectrum(x))", "spectrum|lowfreqenergyratios"}};
    for (const auto& [strFormula, strChain] : vPairs) {
        const std::string strRows = rowsOf({"eval", strFormula, strCall, "--window-ms=32", "--overlap-ms=16"});
        EXPECT_EQ(rowsOf({"features", "-f", strChain, strCall, "--window-ms=32", "--overlap-ms=16"}), strRows)
            << strFormula;
        EXPECT_FALSE(strRows.empty());
    }
}

TEST_F(CommandEvalTest, NamesItsColumnAfterTheFormula)
{
    const std::string strCall = noiseFile();
    EXPECT_EQ(EXIT_DONE, run({"eval", "size(x)", strCall}));
    EXPECT_THAT(m_data.str(), StartsWith("file,time,size(x)\n" + strCall + ",0.016,128\n"));
    EXPECT_EQ(EXIT_DONE, run({"eval", "concat(1,2)", strCall}));
    EXPECT_THAT(m_data.str(), StartsWith("file,time,\"concat(1,2)[0]\",\"concat(1,2)[1]\"\n"));
}

TEST_F(CommandEvalTest, WritesJsonLines)
{
    EXPECT_EQ(EXIT_DONE, run({"eval", "size(x)", "--format", "jsonl", noiseFile()}));

    const auto row = nlohmann::json::parse(m_data.str().substr(0, m_data.str().find('\n')));
    EXPECT_EQ(128, row["size(x)"]);
}

TEST_F(CommandEvalTest, PointsAtAFaultBeforeAnyFileIsOpened)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval", "1 + flatnes(x)", "missing.wav"}));
    EXPECT_EQ("corvana: in the formula, unknown function \"flatnes\", did you mean \"flatness\"? at column 5\n"
              "  1 + flatnes(x)\n"
              "      ^\n"
              "'corvana list-functions' shows all functions\n",
              m_messages.str());
    EXPECT_EQ("", m_data.str());
}

TEST_F(CommandEvalTest, KnowsNoVariableButTheWindow)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval", "x + y", "missing.wav"}));
    EXPECT_THAT(m_messages.str(), HasSubstr("unknown variable 'y'; the only one is x, the window"));
}

TEST_F(CommandEvalTest, FailsARecordingThatAFormulaCannotWorkOn)
{
    const std::string strCall = noiseFile();
    EXPECT_EQ(EXIT_SOME_FAILED, run({"eval", "x + spectrum(x)", strCall}));
    EXPECT_THAT(m_messages.str(), HasSubstr("the operands of + have 128 and 64 values"));
    EXPECT_EQ(EXIT_SOME_FAILED, run({"eval", "spectralRange(spectrum(x))", strCall}));
    EXPECT_THAT(m_messages.str(), HasSubstr("Parameter frequencyHz is not set for spectral range feature"));
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval", "x + spectrum(x)", "--sample-rate=8000", strCall}));
}

TEST_F(CommandEvalTest, ProposesLengthsForASpectrum)
{
    EXPECT_EQ(EXIT_SOME_FAILED, run({"eval", "spectrum(x)", "--window-ms=20", noiseFile()}));

    EXPECT_THAT(m_messages.str(), HasSubstr("a spectrum needs a power of two; at 8000 Hz these --window-ms give one: "
                                            "8 ms (64), 16 ms (128), 32 ms (256)"));
}

TEST_F(CommandEvalTest, WarnsOnceAFileWhereFrequenciesMeanSomethingElse)
{
    const std::string strCall = noiseFile("a.wav", 16000);
    EXPECT_EQ(EXIT_DONE, run({"eval", "sum(lowFreqEnergyRatios(spectrum(x)))", strCall}));
    EXPECT_THAT(m_messages.str(), HasSubstr("lowFreqEnergyRatios assumes 8000 Hz"));
    EXPECT_EQ(EXIT_DONE, run({"eval", "flatness(spectrum(x))", strCall}));
    EXPECT_EQ("", m_messages.str());
}

TEST_F(CommandEvalTest, TellsWhatIsWrongEvenWhenAListHoldsNothing)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval", "spectrum(x)", "--window-ms=20", "-q", "--list", m_dir.write("l.txt", "")}));

    EXPECT_THAT(m_messages.str(), HasSubstr("a spectrum needs a power of two"));
}

TEST_F(CommandEvalTest, WantsAFormulaAndARecording)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval"}));
    EXPECT_EQ(EXIT_UNUSABLE, run({"eval", "size(x)"}));
    EXPECT_THAT(m_messages.str(), HasSubstr("no recording given"));
}

// ---- Formulas beside features

TEST_F(CommandEvalTest, StandsBehindTheFeaturesAsAColumn)
{
    const std::string strCall = noiseFile();
    EXPECT_EQ(EXIT_DONE, run({"features", "-f", "silenceratio", "--expr", "n=size(x)", "--expr", "same=silenceRatio(x)",
                              strCall}));

    std::istringstream rows(m_data.str());
    std::string strRow;
    std::getline(rows, strRow);
    EXPECT_EQ("file,time,silenceratio,n,same", strRow);
    while (std::getline(rows, strRow)) {
        const std::size_t uiSame = strRow.rfind(',');
        EXPECT_THAT(strRow, HasSubstr("," + strRow.substr(uiSame + 1) + ",128,"));
    }
}

TEST_F(CommandEvalTest, RefusesNamesThatAreMissingOrTaken)
{
    const std::string strCall = noiseFile();
    for (const char* szExpression : {"size(x)", "=size(x)", "n="}) {
        EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--expr", szExpression, strCall})) << szExpression;
        EXPECT_THAT(m_messages.str(), HasSubstr("--expr wants NAME=FORMULA")) << szExpression;
    }
    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "-f", "silenceratio", "--expr", "silenceratio=size(x)", strCall}));
    EXPECT_THAT(m_messages.str(), HasSubstr("the name 'silenceratio' would be that of two columns"));
    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--expr", "n=1", "--expr", "n=2", strCall}));
}

TEST_F(CommandEvalTest, IsNotKeptInASavedConfiguration)
{
    EXPECT_EQ(EXIT_UNUSABLE, run({"features", "--expr", "n=size(x)", "--save-config", m_dir.file("c.xml")}));

    EXPECT_FALSE(std::filesystem::exists(m_dir.file("c.xml")));
}

TEST(ParseNamedFormula, SplitsAtTheFirstEqualSign)
{
    NamedFormula formula;
    EXPECT_TRUE(parseNamedFormula("quiet=max(x) == 0", formula));
    EXPECT_EQ("quiet", formula.m_strName);
    EXPECT_EQ("max(x) == 0", formula.m_strFormula);
}

// ---- list-functions

TEST_F(CommandEvalTest, ListsEachFunctionWithAMeaning)
{
    EXPECT_EQ(EXIT_DONE, run({"list-functions", "--json"}));

    std::set<std::string> names;
    for (const auto& function : nlohmann::json::parse(m_data.str())) {
        names.insert(function["name"]);
        EXPECT_NE("", function["meaning"]) << function["name"];
        EXPECT_FALSE(function["arguments"].empty()) << function["name"];
    }
    for (const char* szName :
         {"spectrum", "flatness", "harmonicProduct", "silenceRatio", "peaks", "spectralRange", "maxSpectralRanges",
          "lowFreqEnergyRatios", "min", "max", "mean", "sum", "size", "log", "sqrt", "abs", "concat"})
        EXPECT_EQ(1u, names.count(szName)) << szName;
}

TEST_F(CommandEvalTest, ListsFunctionsAsTheyAreCalled)
{
    EXPECT_EQ(EXIT_DONE, run({"list-functions"}));

    EXPECT_THAT(m_data.str(), HasSubstr("\nspectralRange(x, frequencyHz=..., widthHz=...)\n"));
    EXPECT_THAT(m_data.str(), HasSubstr("\nconcat(v, ...)\n"));
}

} // namespace Corvana::Tools
