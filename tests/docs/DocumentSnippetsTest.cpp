// SPDX-License-Identifier: Apache-2.0
// The pieces of C++ that the documents show, as they stand there; run-snippets looks for them in here.
#include <corvana/AudioFeatureComputerImpl.h>
#include <corvana/Corvana.h>

#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>
#include <boost/serialization/nvp.hpp>

#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Corvana::Math::DoubleVector;

// A folder with the sample call as call.wav is the current one, as the snippets name files without folders.
class DocumentSnippets : public ::testing::Test
{
protected:
    DocumentSnippets()
    {
        std::filesystem::copy_file(CORVANA_SOURCE_DIR "/examples/data/sample-call.wav", m_folder.file("call.wav"));
        std::filesystem::current_path(m_folder.path());
    }
    ~DocumentSnippets() override { std::filesystem::current_path(m_former); }

private:
    std::filesystem::path m_former = std::filesystem::current_path();
    Corvana::Test::TempDir m_folder;
};

DoubleVector firstWindow()
{
    Corvana::Audio::WindowedAudioFileReader reader;
    DoubleVector vWindow;
    EXPECT_TRUE(reader.configure({}) && reader.setSourceAudioFile("call.wav") && reader.getNextWindow(vWindow));
    return vWindow;
}

std::string contentsOf(const std::string& in_strFile)
{
    std::ifstream file(in_strFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The first block of a kind in a document.
std::string blockOf(const std::string& in_strDocument, const std::string& in_strKind)
{
    const std::string strText = contentsOf(CORVANA_SOURCE_DIR "/docs/" + in_strDocument);
    const std::string strOpening = "\n```" + in_strKind + "\n";
    const std::size_t uiOpening = strText.find(strOpening);
    if (uiOpening == std::string::npos)
        return "no such block";
    const std::size_t uiBegin = uiOpening + strOpening.size();
    return strText.substr(uiBegin, strText.find("```\n", uiBegin) - uiBegin);
}

std::vector<double> valuesOf(Corvana::Math::FeatureComputerImpl& inout_computer)
{
    DoubleVector vValues;
    inout_computer.setWindow(firstWindow());
    EXPECT_TRUE(inout_computer.computeFeatures(vValues));
    return {vValues.begin(), vValues.end()};
}

TEST_F(DocumentSnippets, SaveAComputerAndLoadIt)
{
    Corvana::Audio::FeatureComputerImpl computer;
    computer.addFeature("spectrum", "", "s");
    computer.addFeature("flatness", "s");
    std::ofstream out("features.xml", std::ios::binary);
    bool bSaved = Corvana::Audio::saveFeatureComputer(out, computer, Corvana::Audio::ArchiveFormat::XML);
    out.close();

    std::ifstream in("features.xml", std::ios::binary);
    auto pComputer = Corvana::Audio::loadFeatureComputer(in, Corvana::Audio::ArchiveFormat::XML); // null: see the log

    ASSERT_TRUE(bSaved);
    ASSERT_NE(nullptr, pComputer);
    EXPECT_EQ(valuesOf(computer), valuesOf(*pComputer));
    EXPECT_THAT(contentsOf("features.xml"), ::testing::HasSubstr(blockOf("saved-computers.md", "xml")));
}

TEST_F(DocumentSnippets, PutAComputerIntoAnArchiveOfOnesOwn)
{
    Corvana::Audio::FeatureComputerImpl computer;
    computer.addFeature("silenceratio");
    std::stringstream stream;
    {
        boost::archive::polymorphic_xml_oarchive xml(stream);
        boost::archive::polymorphic_oarchive& archive = xml;
        const Corvana::Math::FeatureComputerImpl* pSaved = &computer;
        archive << boost::serialization::make_nvp("Features", pSaved);
    }
    boost::archive::polymorphic_xml_iarchive xml(stream);
    boost::archive::polymorphic_iarchive& archive = xml;
    Corvana::Math::FeatureComputerImpl* pLoaded = nullptr;
    archive >> boost::serialization::make_nvp("Features", pLoaded);
    const std::unique_ptr<Corvana::Math::FeatureComputerImpl> pOwner(pLoaded);

    EXPECT_EQ(valuesOf(computer), valuesOf(*pOwner));
}

TEST_F(DocumentSnippets, EditAFileInOneStep)
{
    Corvana::Audio::AtomicFileEdit edit("call.wav");
    using Annotation = Corvana::Audio::AnnotatedFile::Annotation;
    bool bDone =
        edit.isOpen() &&
        Corvana::Audio::AnnotatedFile::addAnnotation(edit.workingFileName(), Annotation(Annotation::BEEP, 0.5, 0.7)) &&
        edit.commit(); // or edit.getFault() says why not

    EXPECT_TRUE(bDone) << edit.getFault();
    Corvana::Audio::AnnotatedFile file;
    std::ifstream stream("call.wav", std::ios::binary);
    ASSERT_TRUE(file.readRegionsFromWAV(stream));
    EXPECT_EQ(7u, file.annotations().size());
}

TEST_F(DocumentSnippets, MakeAFeatureByName)
{
    const DoubleVector vWindow = firstWindow();
    DoubleVector vValues;

    Corvana::Math::SignalFeaturePool pool;
    pool.addFactory(new Corvana::Audio::AudioFeatureFactory); // the pool owns it
    std::unique_ptr<Corvana::Math::SignalFeature> pRange(pool.getNewFeature("spectrum|spectralrange(440,0)"));
    if (pRange == nullptr)
        return;      // no such feature
    vValues.clear(); // features append
    bool bDone = pRange->compute(vWindow, vValues);

    EXPECT_TRUE(bDone);
    EXPECT_EQ(2u, vValues.size());
}

TEST_F(DocumentSnippets, ComputeSeveralFeaturesOfEachWindow)
{
    Corvana::Audio::WindowedAudioFileReader reader;
    Corvana::Audio::LinearAudioWindower::Config config;
    std::vector<DoubleVector> vTable;

    config.m_uiWindowSizeMs = 32;
    config.m_uiWindowOverlapMs = 16;
    if (!reader.configure(config) || !reader.setSourceAudioFile("call.wav"))
        return;

    Corvana::Audio::FeatureComputerImpl computer;
    computer.addFeature("spectrum|flatness"); // 1 value
    computer.addFeature("spectrum|peaks");    // 6; the spectrum is computed once for both
    computer.addFeature("silenceratio");      // 1

    DoubleVector vWindow;
    DoubleVector vValues;
    while (reader.getNextWindow(vWindow)) {
        computer.setWindow(vWindow);
        if (computer.computeFeatures(vValues)) // replaces the values, in the order of adding
            vTable.push_back(vValues);
    }

    ASSERT_EQ(1186u, vTable.size());
    EXPECT_EQ(8u, vTable.front().size());
}

TEST_F(DocumentSnippets, EvaluateAFormula)
{
    const DoubleVector vWindow = firstWindow();

    Corvana::Math::Xpr::Expression tone;
    if (!tone.parse("flatness(spectrum(x)) < 0.001"))
        std::cerr << tone.getError() << '\n';
    Corvana::LimitedObjPtr<DoubleVector> pResult; // points into the expression
    tone.setVariable("x", vWindow);
    bool bTone = tone.evaluate(pResult) && pResult->front() != 0.0;

    EXPECT_TRUE(bTone);
}

// The share of a recording's windows that are tones.
double shareOfTones(const std::string& in_strFile, Corvana::Math::Xpr::Expression in_tone)
{
    Corvana::Audio::WindowedAudioFileReader reader;
    if (!reader.configure({}) || !reader.setSourceAudioFile(in_strFile.c_str()))
        return 0.0;
    double dTones = 0.0;
    double dWindows = 0.0;
    DoubleVector vWindow;
    Corvana::LimitedObjPtr<DoubleVector> pResult;
    for (; reader.getNextWindow(vWindow); ++dWindows) {
        in_tone.setVariable("x", vWindow);
        if (in_tone.evaluate(pResult))
            dTones += pResult->front();
    }
    return dWindows > 0.0 ? dTones / dWindows : 0.0;
}

TEST_F(DocumentSnippets, AnalyseSeveralRecordingsInThreads)
{
    std::filesystem::copy_file("call.wav", "other.wav");
    const std::vector<std::string> vFiles = {"call.wav", "other.wav"};
    Corvana::Math::Xpr::Expression tone;
    ASSERT_TRUE(tone.parse("flatness(spectrum(x)) < 0.001"));

    std::vector<std::future<double>> vShares;
    for (const std::string& strFile : vFiles)
        vShares.push_back(std::async(std::launch::async, shareOfTones, strFile, tone.copy()));

    const double dShare = vShares[0].get();
    EXPECT_GT(dShare, 0.1);
    EXPECT_LT(dShare, 0.5);
    EXPECT_EQ(dShare, vShares[1].get());
}

} // namespace
