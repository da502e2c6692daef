// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandPlot.h"

#include "Picture.h"
#include "RecordingsTest.h"
#include "support/Signals.h"
#include "tools/ColourScale.h"
#include "tools/ExitCode.h"
#include "tools/PlotPanel.h"

#include <cstdlib>
#include <sys/wait.h>

namespace Corvana::Tools {
namespace {

using Corvana::Test::noise;
using Corvana::Test::sine;
using Corvana::Test::writeSoundFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::uint32_t s_uiClipped = 0xE3000F;

class CommandPlotTest : public RecordingsTest
{
protected:
    // Where the tracks of a single picture lie; the margins stand in PlotSheet.cpp and PlotPanel.cpp.
    struct Tracks
    {
        explicit Tracks(double in_dWidth)
        {
            const PanelStyle style = PanelStyle::large(in_dWidth);
            m_iLeft = static_cast<int>(style.m_dLeftMargin);
            m_iWidth = static_cast<int>(style.getNbOfColumns());
            m_iWaveform = 6 + static_cast<int>(std::ceil(style.m_dTitleSize * 1.35 + style.m_dTextSize * 1.5));
            m_iSpectrogram = m_iWaveform + static_cast<int>(style.m_dWaveformHeight) + 7;
            m_iSpectrogramHeight = static_cast<int>(style.m_dSpectrogramHeight);
            m_iLanes = m_iSpectrogram + m_iSpectrogramHeight + 7;
        }

        int m_iLeft;
        int m_iWidth;
        int m_iWaveform;
        int m_iSpectrogram;
        int m_iSpectrogramHeight;
        int m_iLanes;
    };

    int plot(std::vector<std::string> in_vArguments)
    {
        in_vArguments.insert(in_vArguments.begin(), "plot");
        return run(in_vArguments);
    }

    Picture pictureOf(std::vector<std::string> in_vArguments)
    {
        in_vArguments.insert(in_vArguments.end(), {"-o", m_dir.file("out.png")});
        EXPECT_EQ(plot(in_vArguments), EXIT_DONE) << m_messages.str();
        EXPECT_EQ(m_messages.str(), "");
        return Picture(contentsOf(m_dir.file("out.png")));
    }

    std::string toneFile(const std::string& in_strName = "tone.wav", double in_dHz = 1000.0) const
    {
        return writeSoundFile(m_dir.file(in_strName), sine(in_dHz, 8000.0, 16000, 0.5), 8000, Corvana::Test::WAV_PCM16);
    }

    // Runs the program as a process of its own, in the folder.
    int runProgram(const std::string& in_strArguments)
    {
        const std::string strCommand =
            "cd '" + m_dir.path() + "' && '" CORVANA_PROGRAM "' plot " + in_strArguments + " 2>errors";
        const int iStatus = std::system(strCommand.c_str());
        return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
    }

    void expectRefused(const std::vector<std::string>& in_vArguments, const std::string& in_strMessage)
    {
        EXPECT_EQ(plot(in_vArguments), EXIT_UNUSABLE) << in_strMessage;
        EXPECT_EQ(m_messages.str(), in_strMessage);
        EXPECT_EQ(m_data.str(), "");
    }
};

TEST_F(CommandPlotTest, ShowsAToneAtItsFrequency)
{
    const Picture picture = pictureOf({toneFile()});
    const Tracks tracks(1200);
    EXPECT_EQ(picture.width(), 1200);
    for (const int iColumn : {100, 500, 900}) {
        int iBrightest = 1;
        for (int iRow = 1; iRow + 1 < tracks.m_iSpectrogramHeight; ++iRow)
            if (picture.brightness(tracks.m_iLeft + iColumn, tracks.m_iSpectrogram + iRow) >
                picture.brightness(tracks.m_iLeft + iColumn, tracks.m_iSpectrogram + iBrightest))
                iBrightest = iRow;
        // 1000 of 4000 Hz, from below.
        EXPECT_NEAR(iBrightest + 0.5, 0.75 * tracks.m_iSpectrogramHeight, 2.0) << iColumn;
        EXPECT_EQ(picture.at(tracks.m_iLeft + iColumn, tracks.m_iSpectrogram + 20), ColourScale::magma().at(0.0));
    }
}

TEST_F(CommandPlotTest, ShowsTheSignalWhereItIs)
{
    // A tone in the second half.
    Math::DoubleVector vSamples(8000, 0.0);
    for (const double dSample : sine(1000.0, 8000.0, 8000, 0.9))
        vSamples.push_back(dSample);
    const std::string strFile = writeSoundFile(m_dir.file("half.wav"), vSamples, 8000, Corvana::Test::WAV_PCM16);
    const Picture picture = pictureOf({strFile});
    const Tracks tracks(1200);
    const int iY = tracks.m_iWaveform + 20;
    const int iMiddle = tracks.m_iLeft + tracks.m_iWidth / 2;
    const int iBefore = picture.count(0x8DB4D9, tracks.m_iLeft, iY, tracks.m_iWidth / 2 - 5, 1);
    const int iBehind = picture.count(0x8DB4D9, iMiddle + 5, iY, tracks.m_iWidth / 2 - 10, 1);
    EXPECT_EQ(iBefore, 0);
    EXPECT_GT(iBehind, 400);
}

TEST_F(CommandPlotTest, MarksClippedSamplesInTheirColumn)
{
    Math::DoubleVector vSamples(16000, 0.1);
    vSamples[4000] = 1.0;
    const std::string strFile = writeSoundFile(m_dir.file("clipped.wav"), vSamples, 8000, Corvana::Test::WAV_PCM16);
    const Tracks tracks(1200);
    const Picture picture = pictureOf({strFile});
    const int iX = tracks.m_iLeft + tracks.m_iWidth / 4;
    EXPECT_EQ(picture.at(iX, tracks.m_iWaveform + 3), s_uiClipped);
    EXPECT_EQ(picture.count(s_uiClipped, tracks.m_iLeft, tracks.m_iWaveform + 3, tracks.m_iWidth, 1), 3);
    EXPECT_EQ(picture.count(s_uiClipped, tracks.m_iLeft, tracks.m_iWaveform + 120, tracks.m_iWidth, 1), 0)
        << "none below";
    EXPECT_GT(picture.count(s_uiClipped, tracks.m_iLeft, 0, tracks.m_iWidth, tracks.m_iWaveform), 0) << "the count";
}

TEST_F(CommandPlotTest, DrawsRegionsAtTheirTimesInTheColourOfTheirSource)
{
    const std::string strFile = makeFile("a.wav", {{"BEEP", 2000, 4000}, {"CPA_HUMAN", 4000, 3000}});
    const Picture picture = pictureOf({strFile});
    const Tracks tracks(1200);
    // The left edges have the plain colour.
    const int iHeard = tracks.m_iLanes + 4;
    const int iDetected = iHeard + 17;
    const auto isAtLeftEdge = [&](std::uint32_t in_uiColour, int in_iY) {
        int iX = tracks.m_iLeft;
        while (iX < picture.width() && picture.at(iX, in_iY) != in_uiColour)
            ++iX;
        return (iX - tracks.m_iLeft) / static_cast<double>(tracks.m_iWidth);
    };
    EXPECT_NEAR(isAtLeftEdge(0x0072B2, iHeard), 0.25, 0.002);
    EXPECT_NEAR(isAtLeftEdge(0xE69F00, iDetected), 0.5, 0.002);
    const std::uint32_t uiPale = picture.at(tracks.m_iLeft + tracks.m_iWidth * 5 / 8, iHeard);
    EXPECT_NE(uiPale, 0xFFFFFFU);
    const int iPale = picture.count(uiPale, tracks.m_iLeft, iHeard, tracks.m_iWidth, 1);
    EXPECT_LE(iPale, tracks.m_iWidth / 2);
    EXPECT_GT(iPale, tracks.m_iWidth / 2 - 40) << "but for the text";
}

TEST_F(CommandPlotTest, HasNoLanesWithoutRegions)
{
    const std::string strWith = makeFile("a.wav", {{"BEEP", 2000, 4000}});
    const std::string strWithout = makeFile("b.wav");
    EXPECT_GT(pictureOf({strWith}).height(), pictureOf({strWithout}).height());
}

TEST_F(CommandPlotTest, ShowsOnlyThePartAskedFor)
{
    // Regions outside are not there, and one that reaches in is.
    const std::string strFile =
        makeFile("a.wav", {{"BEEP", 0, 1000}, {"BEEP", 3000, 3000}, {"BEEP", 7000, 1000}}, 8000);
    const Picture picture = pictureOf({"--from", "0.5", "--to", "0.75", strFile});
    const Tracks tracks(1200);
    const int iY = tracks.m_iLanes + 4;
    EXPECT_EQ(picture.count(0x0072B2, tracks.m_iLeft, iY, tracks.m_iWidth, 1), 2) << "one left edge";
    EXPECT_NE(picture.at(tracks.m_iLeft + tracks.m_iWidth - 3, iY), 0xFFFFFFU);
}

TEST_F(CommandPlotTest, LeavesOutARegionThatEndsWhereThePartBegins)
{
    const std::string strFile = makeFile("a.wav", {{"SILENCE", 0, 4000}, {"BEEP", 4000, 3000}, {"DTMF_5", 4000, 0}});
    const Picture picture = pictureOf({"--from", "0.5", strFile});
    const Tracks tracks(1200);
    // Two lanes with a left edge each: the beep, and the key that has no length.
    const int iLanes = picture.count(0x0072B2, tracks.m_iLeft, tracks.m_iLanes + 1, 1, 60);
    EXPECT_EQ(iLanes, 2 * 15);
}

TEST_F(CommandPlotTest, DrawsACurveForEachFeatureAndFormula)
{
    const std::string strFile = toneFile();
    const int iPlain = pictureOf({strFile}).height();
    const Picture one = pictureOf({"-f", "spectrum|flatness", strFile});
    const Picture three = pictureOf(
        {"-f", "spectrum|flatness", "-f", "spectrum500hz", "--expr", "level=mean(x*x)", "--window-ms", "32", strFile});
    EXPECT_GT(one.height(), iPlain + 80);
    EXPECT_GT(three.height(), one.height() + 160);
    // The strip shows all power in one band, and none in the others.
    EXPECT_GT(three.count(ColourScale::viridis().at(1.0)), 1000);
    EXPECT_GT(three.count(ColourScale::viridis().at(0.0)), 1000);
}

TEST_F(CommandPlotTest, DrawsALineAtTheHeightOfItsValues)
{
    // 0 in the first half, 1 in the second.
    Math::DoubleVector vSamples(8000, 0.0);
    for (int iSample = 0; iSample < 8000; ++iSample)
        vSamples.push_back(0.5);
    const std::string strFile = writeSoundFile(m_dir.file("step.wav"), vSamples, 8000, Corvana::Test::WAV_PCM16);
    const Picture picture = pictureOf({"--expr", "loud=mean(x) > 0.1", strFile});
    const Tracks tracks(1200);
    const int iTop = tracks.m_iLanes + 18;
    const auto isAt = [&](int in_iX) {
        for (int iY = iTop; iY < picture.height(); ++iY)
            if (picture.brightness(in_iX, iY) < 450) // the frame and the grid are lighter
                return iY;
        return 0;
    };
    const int iLow = isAt(tracks.m_iLeft + 200);
    const int iHigh = isAt(tracks.m_iLeft + 900);
    EXPECT_GT(iHigh, iTop);
    EXPECT_NEAR(iLow - iHigh, 80.0 / 1.12, 3.0);
}

// Windows of 16 ms are 176.4 samples there, of which 176 are taken: the times of rows drift, and the curve may not.
TEST_F(CommandPlotTest, DrawsACurveWhereItsWindowsAreAtAnyRate)
{
    Math::DoubleVector vSamples(10 * 11025 * 9 / 10, 0.0);
    for (int iSample = 0; iSample < 11025; ++iSample)
        vSamples.push_back(0.5);
    const std::string strFile = writeSoundFile(m_dir.file("step.wav"), vSamples, 11025, Corvana::Test::WAV_PCM16);
    for (const char* szRate : {"file", "8000"}) {
        EXPECT_EQ(plot({"--expr", "loud=mean(x) > 0.4", "--sample-rate", szRate, "--from", "8.9", "--to", "9.1", "-q",
                        strFile, "-o", m_dir.file("out.png")}),
                  EXIT_DONE);
        const Picture picture(contentsOf(m_dir.file("out.png")));
        const Tracks tracks(1200);
        // The line is low until the middle of the last window that is loud for less than 80 %. That is at most 0.3
        // windows behind the step at 9 s and at least 0.7 before it; windows of 16 ms are 85 pixels.
        const int iY = tracks.m_iLanes + 18 + 80 - 5;
        int iStep = 0;
        for (int iX = 1; iX < tracks.m_iWidth; ++iX)
            for (int iRow = iY - 2; iRow <= iY + 2; ++iRow)
                if (picture.brightness(tracks.m_iLeft + iX, iRow) < 450)
                    iStep = iX;
        EXPECT_LE(iStep, tracks.m_iWidth / 2 + 28) << szRate;
        EXPECT_GE(iStep, tracks.m_iWidth / 2 - 62) << szRate;
    }
}

TEST_F(CommandPlotTest, HasTheSizeAskedFor)
{
    const std::string strFile = makeFile("a.wav", {{"BEEP", 2000, 4000}});
    const Picture small = pictureOf({"--width", "400", strFile});
    EXPECT_EQ(small.width(), 400);
    const Picture exact = pictureOf({"--width", "800", "--height", "600", strFile});
    EXPECT_EQ(exact.width(), 800);
    EXPECT_EQ(exact.height(), 600);
}

TEST_F(CommandPlotTest, RefusesAHeightThatIsTooLittle)
{
    EXPECT_EQ(plot({"--height", "160", makeFile("a.wav"), "-o", m_dir.file("out.png")}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: a --height of 160 is too little for what is to be drawn: at "
                                             "least "));
    EXPECT_FALSE(std::filesystem::exists(m_dir.file("out.png")));
}

TEST_F(CommandPlotTest, DrawsSeveralRecordingsAsASheet)
{
    const std::string strFile = makeFile("a.wav", {{"BEEP", 2000, 4000}});
    const Picture one = pictureOf({"--width", "1200", strFile});
    const Picture four = pictureOf({"--width", "1200", strFile, strFile, strFile, strFile});
    EXPECT_EQ(four.width(), 1200);
    // The same in each quarter.
    for (int iY = 0; iY < four.height() / 2; iY += 7)
        for (int iX = 0; iX < 600; iX += 7)
            ASSERT_EQ(four.at(iX, iY), four.at(iX + 600, iY));
}

TEST_F(CommandPlotTest, PutsRecordingsSideBySideWithoutGapsWhereTheyFit)
{
    const std::string strFile = makeFile("a.wav", {}, 800);
    const int iRow = pictureOf({"--width", "1200", strFile, strFile}).height();
    EXPECT_EQ(pictureOf({"--width", "1200", strFile, strFile, strFile}).height(), iRow) << "three in a row";
    EXPECT_GT(pictureOf({"--width", "660", strFile, strFile, strFile}).height(), iRow + 100) << "two, then one";
    EXPECT_GT(pictureOf({"--width", "659", strFile, strFile}).height(), iRow + 100) << "one below the other";
}

TEST_F(CommandPlotTest, RefusesASheetThatNoFormatHolds)
{
    std::vector<std::string> vArguments(140, makeFile("a.wav"));
    vArguments.insert(vArguments.end(), {"--width", "240", "-o", m_dir.file("out.png")});
    EXPECT_EQ(plot(vArguments), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), AllOf(HasSubstr(" pixels high, more than 32000; draw fewer recordings, or with a "
                                                  "larger --width\n")));
}

TEST_F(CommandPlotTest, WritesTheFormatOfTheNamesEnding)
{
    const std::string strFile = toneFile();
    const std::pair<const char*, const char*> aFormats[] = {
        {"out.png", "\x89PNG"}, {"out.SVG", "<?xml"}, {"out.pdf", "%PDF-"}};
    for (const auto& [szName, szMagic] : aFormats) {
        EXPECT_EQ(plot({strFile, "-o", m_dir.file(szName)}), EXIT_DONE);
        EXPECT_THAT(contentsOf(m_dir.file(szName)), StartsWith(szMagic));
    }
}

TEST_F(CommandPlotTest, WritesTheFormatAskedForAlsoToStandardOutput)
{
    const std::string strFile = toneFile();
    EXPECT_EQ(plot({strFile, "--format", "svg", "-o", "-"}), EXIT_DONE);
    EXPECT_THAT(m_data.str(), StartsWith("<?xml"));
    EXPECT_EQ(plot({strFile, "--format", "pdf", "-o", m_dir.file("out.png")}), EXIT_DONE);
    EXPECT_THAT(contentsOf(m_dir.file("out.png")), StartsWith("%PDF-"));
}

TEST_F(CommandPlotTest, WritesTheSameBytesEachTime)
{
    makeFile("a.wav", {{"BEEP", 2000, 4000}});
    for (const std::string strFormat : {"png", "svg", "pdf"}) {
        for (const std::string strName : {"first", "second"})
            EXPECT_EQ(runProgram("a.wav --format " + strFormat + " -f 'spectrum|flatness' -o " + strName), 0)
                << contentsOf(m_dir.file("errors"));
        EXPECT_EQ(contentsOf(m_dir.file("first")), contentsOf(m_dir.file("second"))) << strFormat;
        EXPECT_GT(contentsOf(m_dir.file("first")).size(), 1000U);
    }
}

TEST_F(CommandPlotTest, LeavesTheFormerPictureWhenTheNewOneCannotBeWritten)
{
    writeSoundFile(m_dir.file("a.wav"), noise(16000), 8000, Corvana::Test::WAV_PCM16);
    m_dir.write("out.png", "former");
    const std::string strCommand =
        "cd '" + m_dir.path() + "' && ulimit -f 8 && '" CORVANA_PROGRAM "' plot a.wav -o out.png 2>errors";
    EXPECT_EQ(WEXITSTATUS(std::system(strCommand.c_str())), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(m_dir.file("errors")), "corvana: cannot write: out.png: File too large\n");
    EXPECT_EQ(contentsOf(m_dir.file("out.png")), "former");
    EXPECT_THAT(namesInFolder(), testing::UnorderedElementsAre("a.wav", "errors", "out.png"));
}

TEST_F(CommandPlotTest, TellsAFullDisk)
{
    makeFile("a.wav");
    EXPECT_EQ(runProgram("a.wav --format png -o /dev/full"), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(m_dir.file("errors")), "corvana: cannot write: /dev/full: No space left on device\n");
    EXPECT_EQ(runProgram("a.wav --format png -o - >/dev/full"), EXIT_UNUSABLE);
    EXPECT_EQ(contentsOf(m_dir.file("errors")), "corvana: cannot write: standard output: No space left on device\n");
}

TEST_F(CommandPlotTest, DrawsOthersWhenARecordingFails)
{
    const std::string strFile = toneFile();
    EXPECT_EQ(plot({strFile, m_dir.file("none.wav"), "-o", m_dir.file("out.png")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), AllOf(StartsWith("corvana: " + m_dir.file("none.wav") + ": failed to open "),
                                        HasSubstr("corvana: 1 of 2 inputs failed\n")));
    EXPECT_TRUE(std::filesystem::exists(m_dir.file("out.png")));
}

TEST_F(CommandPlotTest, WritesNothingWhenNoRecordingCanBeDrawn)
{
    EXPECT_EQ(plot({m_dir.file("none.wav"), "-o", m_dir.file("out.png")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("corvana: nothing is written: no recording could be drawn\n"));
    EXPECT_THAT(namesInFolder(), testing::IsEmpty());
}

TEST_F(CommandPlotTest, TellsWhenThereIsNothingToDraw)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strOut = m_dir.file("out.png");
    EXPECT_EQ(plot({strFile, "--from", "1", "-o", strOut}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(),
                StartsWith("corvana: " + strFile + ": nothing to draw: it ends at 1 s, before --from 1\n"));
    EXPECT_EQ(plot({strFile, "--from", "0.5", "--to", "0.50001", "-o", strOut}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(),
                HasSubstr("nothing to draw: there is no sample between --from and --to at 8000 Hz\n"));
    const std::string strEmpty = makeFile("empty.wav", {}, 0);
    EXPECT_EQ(plot({strEmpty, "-o", strOut}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), HasSubstr("nothing to draw: it has no samples\n"));
}

TEST_F(CommandPlotTest, DrawsSingleSamplesAndSilence)
{
    EXPECT_EQ(pictureOf({makeFile("one.wav", {}, 1)}).width(), 1200);
    EXPECT_EQ(pictureOf({writeSoundFile(m_dir.file("silence.wav"), Math::DoubleVector(800, 0.0), 8000,
                                        Corvana::Test::WAV_PCM16)})
                  .width(),
              1200);
}

TEST_F(CommandPlotTest, DrawsWhatIsThereOfARecordingThatBreaksOff)
{
    // Of a compressed file, the header tells the length even when the rest is not there.
    constexpr int iFlac = 0x170002;
    const std::string strWhole = writeSoundFile(m_dir.file("whole.flac"), noise(80000), 8000, iFlac);
    const std::string strBytes = contentsOf(strWhole);
    const std::string strFile = m_dir.write("a.flac", strBytes.substr(0, strBytes.size() / 2));

    EXPECT_EQ(plot({strFile, "--expr", "level=mean(x*x)", "-o", m_dir.file("out.png")}), EXIT_SOME_FAILED);

    EXPECT_THAT(m_messages.str(), AllOf(StartsWith("corvana: " + strFile + ": breaks off: "),
                                        EndsWith(" of 80000 frames could be read\n")));
    const Picture picture(contentsOf(m_dir.file("out.png")));
    const Tracks tracks(1200);
    const int iThird = tracks.m_iWidth / 3;
    const int iY = tracks.m_iWaveform + 20;
    EXPECT_GT(picture.count(0x8DB4D9, tracks.m_iLeft, iY, iThird, 1), iThird / 2);
    EXPECT_EQ(picture.count(0x8DB4D9, tracks.m_iLeft + 2 * iThird, iY, iThird, 1), 0);
    EXPECT_EQ(picture.count(ColourScale::magma().at(0.0), tracks.m_iLeft + 2 * iThird, tracks.m_iSpectrogram + 50,
                            iThird - 1, 1),
              iThird - 1);
}

TEST_F(CommandPlotTest, WarnsAboutRegionsThatCannotBeRead)
{
    std::string strBytes = contentsOf(makeFile("a.wav", {{"BEEP", 2000, 4000}}));
    strBytes.replace(strBytes.find("BEEP"), 4, "BEAP");
    const std::string strFile = m_dir.write("bad.wav", strBytes);
    EXPECT_EQ(plot({strFile, "-o", m_dir.file("out.png")}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(),
                StartsWith("corvana: " + strFile + ": warning: no regions are drawn, since they cannot be read: "));
}

TEST_F(CommandPlotTest, ReadsFormatsWithoutRegionsInSilence)
{
    EXPECT_EQ(pictureOf({writeSoundFile(m_dir.file("a.au"), noise(800), 8000, Corvana::Test::AU_PCM16)}).width(), 1200);
}

TEST_F(CommandPlotTest, DrawsNothingForAListOfNoRecordings)
{
    const std::string strList = m_dir.write("list.txt", "# none\n");
    expectRefused({"--list", strList, "-o", m_dir.file("out.png")}, "corvana: " + strList +
                                                                        ": warning: the list names no recordings\n" +
                                                                        "corvana: nothing to draw: no recordings\n");
}

TEST_F(CommandPlotTest, RefusesWrongUsage)
{
    const std::string strFile = makeFile("a.wav");
    const std::string strTry = "\nTry 'corvana help plot'.\n";
    expectRefused({"-o", "out.png"},
                  "corvana: no recording given: name at least one, or a list of them with --list FILE\n");
    expectRefused({strFile}, "corvana: no file to draw into given: name it with -o FILE.png, FILE.svg or FILE.pdf\n");
    expectRefused({strFile, "-o", "out.gif"},
                  "corvana: out.gif: its ending tells no format; end it in .png, .svg or .pdf, or give --format\n");
    expectRefused({strFile, "-o", "-"},
                  "corvana: -: its ending tells no format; end it in .png, .svg or .pdf, or give --format\n");
    expectRefused({strFile, "-o", "out.png", "--from", "2", "--to", "1.5"},
                  "corvana: --from 2 is not before --to 1.5\n");
    expectRefused({strFile, "-o", "out.png", "--from", "1", "--to", "1"}, "corvana: --from 1 is not before --to 1\n");
    expectRefused({strFile, "-o", "out.png", "--from", "soon"},
                  "corvana: plot: --from: wants seconds from the beginning, such as 12.5, not 'soon'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--to", "-1"},
                  "corvana: plot: --to: wants seconds from the beginning, such as 12.5, not '-1'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--to", "nan"},
                  "corvana: plot: --to: wants seconds from the beginning, such as 12.5, not 'nan'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--width", "10"},
                  "corvana: plot: --width: wants a whole number from 240 to 16000, not '10'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--format", "gif"},
                  "corvana: plot: --format: is one of png, svg, pdf, not 'gif'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--expr", "x"},
                  "corvana: plot: --expr wants NAME=FORMULA, not 'x'" + strTry);
    expectRefused({strFile, "-o", "out.png", "--window-ms", "16", "--overlap-ms", "16"},
                  "corvana: the overlap (--overlap-ms 16) must be shorter than the window (--window-ms 16)\n");
    expectRefused({strFile, "-o", strFile, "--format", "png"},
                  "corvana: " + strFile + ": is both read and written; write to another file\n");
    EXPECT_EQ(plot({strFile, "-o", m_dir.file("out.png"), "-f", "spectrm"}), EXIT_UNUSABLE);
    EXPECT_THAT(m_messages.str(), HasSubstr("unknown feature 'spectrm'; did you mean spectrum?"));
    EXPECT_EQ(plot({strFile, "-o", "/nonexistent/out.png"}), EXIT_UNUSABLE);
    EXPECT_EQ(m_messages.str(), "corvana: cannot write: /nonexistent/out.png: No such file or directory\n");
    EXPECT_THAT(namesInFolder(), ElementsAre("a.wav"));
}

TEST_F(CommandPlotTest, RefusesToWriteAPictureToATerminal)
{
    std::ostringstream data;
    std::ostringstream messages;
    EXPECT_EQ(runCommandLine({"plot", makeFile("a.wav"), "--format", "png", "-o", "-"}, {true, true}, data, messages),
              EXIT_UNUSABLE);
    EXPECT_EQ(messages.str(),
              "corvana: a picture is nothing for a terminal: name a file with -o, or redirect the output\n");
}

TEST_F(CommandPlotTest, DrawsTheOthersWhenTheSystemRefusesAName)
{
    const std::string strTooLong = m_dir.file(std::string(300, 'a') + ".wav");
    const std::string strPicture = m_dir.file("out.png");
    EXPECT_EQ(plot({strTooLong, makeFile("a.wav"), "-o", strPicture}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: " + strTooLong + ": failed to open "));
    EXPECT_TRUE(std::filesystem::exists(strPicture));
}

TEST_F(CommandPlotTest, RefusesWhatIsNoFile)
{
    EXPECT_EQ(plot({"-", "-o", m_dir.file("out.png")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: -: can only be drawn from a file, which is read more than "
                                             "once; write what comes from a pipe to one\n"));
}

TEST_F(CommandPlotTest, TellsWhenCurvesCannotBeComputed)
{
    const std::string strFile = toneFile();
    EXPECT_EQ(plot({strFile, "-f", "spectrum", "--window-ms", "10", "-o", m_dir.file("out.png")}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: " + strFile + ": no curves: spectrum needs windows of a power"));
    EXPECT_EQ(Picture(contentsOf(m_dir.file("out.png"))).width(), 1200);
}

TEST_F(CommandPlotTest, TellsItsProgressWhenAsked)
{
    EXPECT_EQ(plot({toneFile(), "--progress", "always", "-o", m_dir.file("out.png")}), EXIT_DONE);
    EXPECT_THAT(m_messages.str(), StartsWith("corvana: 2 s of audio in "));
}

TEST_F(CommandPlotTest, DrawsHundredsOfRegionsInAFewLanes)
{
    std::vector<Region> vRegions;
    for (std::uint32_t uiRegion = 0; uiRegion < 200; ++uiRegion)
        vRegions.push_back({uiRegion % 2 == 0 ? "DIALOGIC_NUMBER_UNOBTAINABLE" : "BEEP", uiRegion * 37, 400});
    const int iOne = pictureOf({makeFile("one.wav", {vRegions[0]})}).height();
    const Picture many = pictureOf({makeFile("many.wav", vRegions)});
    EXPECT_LE(many.height(), iOne + 23 * 17 + 16);
}

} // namespace
} // namespace Corvana::Tools
