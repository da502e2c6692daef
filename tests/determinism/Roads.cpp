// SPDX-License-Identifier: Apache-2.0
#include "Roads.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioWindowedFileReader.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/MathXprExpression.h"
#include "support/Signals.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace Corvana::Test {
namespace {

using Math::DoubleVector;
using Paths = std::vector<std::string>;
using FeaturePtr = std::unique_ptr<Math::SignalFeature>;

void require(bool in_bDone, const std::string& in_strWhat)
{
    if (!in_bDone)
        throw std::runtime_error("failed: " + in_strWhat);
}

struct Window
{
    double m_dEndTime = 0.0;
    DoubleVector m_vSamples;
};
using Windows = std::vector<Window>;

Audio::LinearAudioWindower::Config makeConfig(const Cut& in_cut)
{
    Audio::LinearAudioWindower::Config config;
    config.m_uiWindowSizeMs = in_cut.m_uiWindowMs;
    config.m_uiWindowOverlapMs = in_cut.m_uiOverlapMs;
    config.m_bSuppressDCOffset = in_cut.m_bSuppressOffset;
    return config;
}

Windows readWindows(const std::string& in_strPath, const Cut& in_cut, unsigned long in_uiReadFactor)
{
    Audio::WindowedAudioFileReader reader;
    require(reader.configure(makeConfig(in_cut)) && reader.setChunkReadFactor(in_uiReadFactor) &&
                reader.setSourceAudioFile(in_strPath.c_str()),
            "reading " + in_strPath);
    Windows vWindows;
    Window window;
    while (reader.getNextWindow(window.m_vSamples)) {
        window.m_dEndTime = reader.getCurrentAudioTime();
        vWindows.push_back(window);
    }
    return vWindows;
}

DoubleVector readSamples(const std::string& in_strPath)
{
    Audio::AudioFileReader reader;
    reader.setNbOfFramesToRead(1000);
    require(reader.setSourceAudioFile(in_strPath.c_str()), "reading " + in_strPath);
    DoubleVector vSamples;
    DoubleVector vChunk;
    while (reader.getNextLinearFrames(vChunk))
        vSamples.insert(vSamples.end(), vChunk.begin(), vChunk.end());
    return vSamples;
}

Windows pushWindows(const std::string& in_strPath, const Cut& in_cut)
{
    const DoubleVector vSamples = readSamples(in_strPath);
    Audio::LinearAudioWindower windower;
    require(windower.configure(makeConfig(in_cut)) && windower.reset(), "configuring the windower");
    Windows vWindows;
    Window window;
    constexpr unsigned long auiChunkSizes[] = {1, 7, 160, 331, 0, 4099, 3};
    unsigned long uiChunk = 0;
    for (const double* pBegin = vSamples.begin(); pBegin != vSamples.end(); ++uiChunk) {
        const auto uiLeft = static_cast<unsigned long>(vSamples.end() - pBegin);
        const double* const pEnd = pBegin + std::min(uiLeft, auiChunkSizes[uiChunk % std::size(auiChunkSizes)]);
        require(windower.pushLinearAudio(pBegin, pEnd), "pushing");
        while (windower.popWindow(window.m_vSamples)) {
            window.m_dEndTime = windower.getCurrentAudioTime();
            vWindows.push_back(window);
        }
        pBegin = pEnd;
    }
    return vWindows;
}

// ---- Formulas

class Formulas
{
public:
    explicit Formulas(const std::vector<std::string>& in_vTexts)
    {
        for (const std::string& strText : in_vTexts) {
            m_vExpressions.emplace_back();
            require(m_vExpressions.back().parse(strText.c_str()), strText + ": " + m_vExpressions.back().getError());
        }
    }

    void copyAll()
    {
        for (Math::Xpr::Expression& expression : m_vExpressions)
            expression = expression.copy();
    }

    void append(const DoubleVector& in_vWindow, DoubleVector& out_vValues)
    {
        for (Math::Xpr::Expression& expression : m_vExpressions) {
            LimitedObjPtr<DoubleVector> pResult;
            require(expression.setVariable("x", in_vWindow) && expression.evaluate(pResult), expression.getText());
            out_vValues.insert(out_vValues.end(), pResult->begin(), pResult->end());
        }
    }

private:
    std::vector<Math::Xpr::Expression> m_vExpressions;
};

// ---- Features one by one

std::vector<FeaturePtr> makeFeatures(const std::vector<std::string>& in_vDescriptions)
{
    Math::SignalFeaturePool pool;
    pool.addFactory(new Audio::AudioFeatureFactory);
    std::vector<FeaturePtr> vFeatures;
    for (const std::string& strDescription : in_vDescriptions) {
        vFeatures.emplace_back(pool.getNewFeature(strDescription.c_str()));
        require(vFeatures.back() != nullptr, strDescription);
    }
    return vFeatures;
}

void hashOneByOne(const std::vector<FeaturePtr>& in_vFeatures, Formulas& inout_formulas, const Windows& in_vWindows,
                  BitHash& inout_hash)
{
    DoubleVector vValues;
    for (const Window& window : in_vWindows) {
        vValues = {window.m_dEndTime};
        for (const FeaturePtr& pFeature : in_vFeatures)
            require(pFeature->compute(window.m_vSamples, vValues), "computing a feature");
        inout_formulas.append(window.m_vSamples, vValues);
        inout_hash.add(vValues);
    }
}

// Features serve one length of window, and may remember windows: new ones for each recording and cut.
BitHash hashFiles(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    BitHash hash;
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths) {
            Formulas formulas(in_family.m_vFormulas);
            hashOneByOne(makeFeatures(in_family.m_vDescriptions), formulas, readWindows(strPath, cut, 1), hash);
        }
    return hash;
}

BitHash hashPushes(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    BitHash hash;
    const std::vector<FeaturePtr> vModels = makeFeatures(in_family.m_vDescriptions);
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths) {
            std::vector<FeaturePtr> vClones;
            for (const FeaturePtr& pModel : vModels)
                vClones.emplace_back(pModel->clone());
            Formulas formulas(in_family.m_vFormulas);
            formulas.copyAll();
            hashOneByOne(vClones, formulas, pushWindows(strPath, cut), hash);
        }
    return hash;
}

// ---- Computers

using ComputerPtr = std::unique_ptr<Math::FeatureComputerImpl>;

ComputerPtr makeComputer(const Family& in_family)
{
    auto pComputer = std::make_unique<Audio::FeatureComputerImpl>();
    for (const std::string& strDescription : in_family.m_vDescriptions)
        require(pComputer->addFeature(strDescription.c_str()), strDescription);
    return pComputer;
}

ComputerPtr makeSavedComputer(const Family& in_family)
{
    std::stringstream stream;
    require(Audio::saveFeatureComputer(stream, *makeComputer(in_family), Audio::ArchiveFormat::XML), "saving");
    ComputerPtr pComputer = Audio::loadFeatureComputer(stream, Audio::ArchiveFormat::XML);
    require(pComputer != nullptr, "loading");
    return pComputer;
}

using ComputeAll = std::function<void(Math::FeatureComputerImpl&, const Windows&, std::vector<DoubleVector>&)>;

BitHash hashComputers(const Family& in_family, const Paths& in_vPaths, ComputerPtr (*in_pMake)(const Family&),
                      const ComputeAll& in_computeAll)
{
    BitHash hash;
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths) {
            const Windows vWindows = readWindows(strPath, cut, 5);
            std::vector<DoubleVector> vRows(vWindows.size());
            in_computeAll(*in_pMake(in_family), vWindows, vRows);
            Formulas formulas(in_family.m_vFormulas);
            for (unsigned long uiWindow = 0; uiWindow < vWindows.size(); ++uiWindow) {
                hash.add(vWindows[uiWindow].m_dEndTime);
                formulas.append(vWindows[uiWindow].m_vSamples, vRows[uiWindow]);
                hash.add(vRows[uiWindow]);
            }
        }
    return hash;
}

void computeSingly(Math::FeatureComputerImpl& inout_computer, const Windows& in_vWindows,
                   std::vector<DoubleVector>& out_vRows)
{
    for (unsigned long uiWindow = 0; uiWindow < in_vWindows.size(); ++uiWindow) {
        inout_computer.setWindow(in_vWindows[uiWindow].m_vSamples);
        require(inout_computer.computeFeatures(out_vRows[uiWindow]), "computeFeatures()");
    }
}

void computeSeveral(Math::FeatureComputerImpl& inout_computer, const Windows& in_vWindows,
                    std::vector<DoubleVector>& out_vRows)
{
    std::vector<DoubleVector> vSamples;
    for (const Window& window : in_vWindows)
        vSamples.push_back(window.m_vSamples);
    constexpr unsigned long auiNumbers[] = {1, 8, 13, 2, 64, 5};
    unsigned long uiNext = 0;
    for (unsigned long uiFirst = 0, uiAtOnce = 0; uiFirst < vSamples.size(); uiFirst += uiAtOnce, ++uiNext) {
        uiAtOnce = std::min<unsigned long>(vSamples.size() - uiFirst, auiNumbers[uiNext % std::size(auiNumbers)]);
        require(inout_computer.computeSeveral(uiAtOnce, &vSamples[uiFirst], &out_vRows[uiFirst]) == uiAtOnce,
                "computeSeveral()");
    }
}

BitHash hashComputer(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    return hashComputers(in_family, in_vPaths, makeComputer, computeSingly);
}

BitHash hashSavedComputer(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    return hashComputers(in_family, in_vPaths, makeSavedComputer, computeSingly);
}

BitHash hashComputerOfSeveral(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    return hashComputers(in_family, in_vPaths, makeComputer, computeSeveral);
}

// ---- Threads

DoubleVector computeAlone(const Family& in_family, const std::string& in_strPath, const Cut& in_cut)
{
    const ComputerPtr pComputer = makeComputer(in_family);
    Formulas formulas(in_family.m_vFormulas);
    DoubleVector vAll;
    for (const Window& window : readWindows(in_strPath, in_cut, 2)) {
        DoubleVector vRow;
        pComputer->setWindow(window.m_vSamples);
        require(pComputer->computeFeatures(vRow), "computeFeatures()");
        formulas.append(window.m_vSamples, vRow);
        vAll.push_back(window.m_dEndTime);
        vAll.insert(vAll.end(), vRow.begin(), vRow.end());
    }
    return vAll;
}

// Each recording and cut in a thread of its own, all at once.
BitHash hashThreads(const Road&, const Family& in_family, const Paths& in_vPaths)
{
    std::vector<std::future<DoubleVector>> vThreads;
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths)
            vThreads.push_back(std::async(
                std::launch::async, [&in_family, &strPath, &cut] { return computeAlone(in_family, strPath, cut); }));
    BitHash hash;
    for (std::future<DoubleVector>& thread : vThreads)
        hash.add(thread.get());
    return hash;
}

// ---- The command, and what takes its options

std::string quoted(const std::string& in_strText)
{
    return "'" + in_strText + "'"; // nothing here has quotes of that kind
}

std::string outputOf(const std::string& in_strCommand)
{
    std::FILE* const pPipe = popen(in_strCommand.c_str(), "r");
    require(pPipe != nullptr, in_strCommand);
    std::string strOutput;
    char acBuffer[65536];
    for (std::size_t uiSize = 0; (uiSize = std::fread(acBuffer, 1, sizeof acBuffer, pPipe)) > 0;)
        strOutput.append(acBuffer, uiSize);
    require(pclose(pPipe) == 0, in_strCommand);
    return strOutput;
}

double readNumber(std::string_view in_strText)
{
    double dValue = 0.0;
    const std::from_chars_result result =
        std::from_chars(in_strText.data(), in_strText.data() + in_strText.size(), dValue);
    require(result.ec == std::errc() && result.ptr == in_strText.data() + in_strText.size(),
            "reading " + std::string(in_strText));
    return dValue;
}

// The rows behind the header: a path without commas, then numbers.
void hashTable(std::string_view in_strTable, BitHash& inout_hash)
{
    in_strTable.remove_prefix(in_strTable.find('\n') + 1);
    while (!in_strTable.empty()) {
        std::string_view strRow = in_strTable.substr(0, in_strTable.find('\n'));
        in_strTable.remove_prefix(strRow.size() + 1);
        while (strRow.find(',') != std::string_view::npos) {
            strRow.remove_prefix(strRow.find(',') + 1);
            inout_hash.add(readNumber(strRow.substr(0, strRow.find(','))));
        }
    }
}

std::string makeCommand(const Road& in_road, const Cut& in_cut)
{
    return in_road.m_strProgram + " features -q --window-ms " + std::to_string(in_cut.m_uiWindowMs) + " --overlap-ms " +
           std::to_string(in_cut.m_uiOverlapMs) + (in_cut.m_bSuppressOffset ? " --suppress-dc" : "") +
           in_road.m_strOptions;
}

std::string makeCommand(const Road& in_road, const Cut& in_cut, const Family& in_family)
{
    std::string strCommand = makeCommand(in_road, in_cut);
    for (const std::string& strDescription : in_family.m_vDescriptions)
        strCommand += " -f " + quoted(strDescription);
    for (unsigned long uiFormula = 0; uiFormula < in_family.m_vFormulas.size(); ++uiFormula)
        strCommand +=
            " --expr " + quoted("formula" + std::to_string(uiFormula) + "=" + in_family.m_vFormulas[uiFormula]);
    return strCommand;
}

BitHash hashCommand(const Road& in_road, const Family& in_family, const Paths& in_vPaths)
{
    BitHash hash;
    for (const Cut& cut : getCuts()) {
        std::string strCommand = makeCommand(in_road, cut, in_family);
        for (const std::string& strPath : in_vPaths)
            strCommand += " " + quoted(strPath);
        hashTable(outputOf(strCommand), hash);
    }
    return hash;
}

BitHash hashCommandSingly(const Road& in_road, const Family& in_family, const Paths& in_vPaths)
{
    BitHash hash;
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths)
            hashTable(outputOf(makeCommand(in_road, cut, in_family) + " " + quoted(strPath)), hash);
    return hash;
}

} // namespace

void BitHash::add(double in_dValue)
{
    constexpr std::uint64_t uiAnyNaN = 0x7ff8000000000000U;
    const std::uint64_t uiBits = std::isnan(in_dValue) ? uiAnyNaN : std::bit_cast<std::uint64_t>(in_dValue);
    for (unsigned uiShift = 0; uiShift < 64; uiShift += 8)
        m_uiHash = (m_uiHash ^ ((uiBits >> uiShift) & 0xff)) * 1099511628211U;
    ++m_uiNbOfValues;
}

void BitHash::add(const Math::DoubleVector& in_vValues)
{
    for (const double dValue : in_vValues)
        add(dValue);
}

std::vector<Road> getRoads(const std::string& in_strProgram, const std::string& in_strPython)
{
    std::vector<Road> vRoads = {{"file", hashFiles, {}, {}},
                                {"push", hashPushes, {}, {}},
                                {"computer", hashComputer, {}, {}},
                                {"saved-computer", hashSavedComputer, {}, {}},
                                {"computer-of-several", hashComputerOfSeveral, {}, {}},
                                {"threads", hashThreads, {}, {}}};
    if (!in_strProgram.empty()) {
        vRoads.push_back({"command", hashCommand, " --jobs 1", quoted(in_strProgram)});
        vRoads.push_back({"command-in-8-jobs", hashCommand, " --jobs 8", quoted(in_strProgram)});
        vRoads.push_back({"command-on-each", hashCommandSingly, {}, quoted(in_strProgram)});
        vRoads.push_back({"command-by-windows", hashCommand, " --jobs 2 --read-factor 1", quoted(in_strProgram)});
    }
    if (!in_strPython.empty()) {
        vRoads.push_back({"python", hashCommand, {}, in_strPython});
        vRoads.push_back({"python-samples", hashCommand, " --samples", in_strPython});
    }
    return vRoads;
}

std::vector<BitHash> hashUnnamedFeatures(const std::vector<std::string>& in_vPaths)
{
    std::vector<BitHash> vHashes(2);
    Formulas none({});
    for (const Cut& cut : getCuts())
        for (const std::string& strPath : in_vPaths) {
            std::vector<FeaturePtr> vFeatures;
            vFeatures.emplace_back(new Audio::ClippingRateFeature);
            vFeatures.emplace_back(new Audio::EnergyHistogramFeature);
            vFeatures.emplace_back(new Audio::MeanEnergyAboveThreshFeature(0.001));
            vFeatures.emplace_back(new Audio::MeanMaxFeature(1.0 / 8000.0, 0.01));
            vFeatures.emplace_back(new Audio::SpectralSlopeFeature);
            vFeatures.emplace_back(new Audio::MyFeature);
            std::vector<FeaturePtr> vClones;
            for (const FeaturePtr& pFeature : vFeatures)
                vClones.emplace_back(pFeature->clone());
            hashOneByOne(vFeatures, none, readWindows(strPath, cut, 3), vHashes[0]);
            hashOneByOne(vClones, none, pushWindows(strPath, cut), vHashes[1]);
        }
    return vHashes;
}

BitHash hashMathLibrary()
{
    BitHash hash;
    constexpr double dTwoPi = 6.283185307179586;
    for (unsigned uiBits = 1; uiBits <= 20; ++uiBits)
        for (const double dAngle : {std::ldexp(dTwoPi, -static_cast<int>(uiBits))}) {
            hash.add(std::sin(dAngle));
            hash.add(std::sin(-0.5 * dAngle));
        }
    for (const unsigned uiSize : {64U, 128U, 256U, 512U, 1024U})
        for (unsigned uiIndex = 0; uiIndex < uiSize; ++uiIndex)
            hash.add(std::cos(static_cast<double>(uiIndex) * dTwoPi / static_cast<double>(uiSize - 1)));
    for (unsigned uiIndex = 1; uiIndex <= 1024; ++uiIndex)
        hash.add(std::log(static_cast<double>(uiIndex)));
    for (const double dNoise : noise(20000, 4)) {
        hash.add(std::log(std::fabs(dNoise) + 0.001));
        for (const int iNbOfBins : {8, 64, 128, 256})
            hash.add(std::pow(std::fabs(dNoise) * 0x1p-100, 1.0 / iNbOfBins));
    }
    return hash;
}

} // namespace Corvana::Test
