// SPDX-License-Identifier: Apache-2.0
// Feature computers and settings of runs that are saved and loaded. The first byte says how:
// - any features with any names come back as they were in every form of archive, compute the same, and are saved again
//   as the same bytes;
// - an archive that ends anywhere before its end is refused;
// - a text or XML archive with any bytes changed is refused, or gives a computer that can be used.
// Archives are trusted input. What is left out is what Boost trusts: binary archives that were changed, and lengths
// of texts that would take all memory.
#include "FuzzSupport.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "tools/RunSettings.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

// Boost compares an XML tag with the name that it expects over the length of the tag, which may be longer than the
// name; the comparison ends at the first difference. A length that no memory holds has to throw as it does elsewhere.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:strict_memcmp=0";
}

namespace Corvana::Fuzz {
namespace {

using Audio::ArchiveFormat;
using Computer = Math::FeatureComputerImpl;
using ComputerPtr = std::unique_ptr<Computer>;

constexpr ArchiveFormat s_aFormats[] = {ArchiveFormat::TEXT, ArchiveFormat::XML, ArchiveFormat::BINARY};
constexpr unsigned s_uiMaxDigits = 6;

std::string saved(const Computer& in_computer, ArchiveFormat in_format)
{
    std::ostringstream stream;
    CORVANA_FUZZ_REQUIRE(Audio::saveFeatureComputer(stream, in_computer, in_format));
    return stream.str();
}

ComputerPtr loaded(const std::string& in_strArchive, ArchiveFormat in_format)
{
    std::istringstream stream(in_strArchive);
    return Audio::loadFeatureComputer(stream, in_format);
}

// Examples that work, and any texts at all, which are refused or kept.
ComputerPtr takeComputer(ByteReader& inout_input)
{
    static constexpr const char* s_aszDescriptions[] = {"spectrum",
                                                        "spectrum|flatness",
                                                        "silenceratio|deltatoslidingmean",
                                                        "spectralrange(1000,100)",
                                                        "spectrum|maxspectralranges(440,480)|peaks",
                                                        "zerocrossingrate",
                                                        "temporalamplitudedistribution"};
    const std::uint8_t uiKind = inout_input.takeByte();
    ComputerPtr pComputer;
    if (uiKind % 2 == 0)
        pComputer = std::make_unique<Audio::FeatureComputerImpl>();
    else
        pComputer = std::make_unique<Audio::FeatureComputerWithInputsImpl>();
    for (unsigned uiFeature = 0; uiFeature < uiKind / 2U % 6U; ++uiFeature) {
        const std::uint8_t uiWhich = inout_input.takeByte();
        const std::string strDescription =
            uiWhich % 8 == 7 ? inout_input.takeText() : s_aszDescriptions[uiWhich % std::size(s_aszDescriptions)];
        const std::string strInput = uiWhich < 128 ? "" : inout_input.takeText();
        const std::string strOutput = uiWhich % 64 < 32 ? "" : inout_input.takeText();
        pComputer->addFeature(strDescription.c_str(), strInput.c_str(), strOutput.c_str());
    }
    return pComputer;
}

bool sameFeatures(const Computer& in_left, const Computer& in_right)
{
    if (in_left.getNbOfFeatures() != in_right.getNbOfFeatures())
        return false;
    for (unsigned long uiFeature = 0; uiFeature < in_left.getNbOfFeatures(); ++uiFeature)
        if (in_left.getDescription(uiFeature) != in_right.getDescription(uiFeature) ||
            in_left.getInputName(uiFeature) != in_right.getInputName(uiFeature) ||
            in_left.getOutputName(uiFeature) != in_right.getOutputName(uiFeature))
            return false;
    return true;
}

bool compute(Computer& inout_computer, Math::DoubleVector& out_vFeatures)
{
    Math::DoubleVector vWindow(64);
    for (std::size_t uiIndex = 0; uiIndex < vWindow.size(); ++uiIndex)
        vWindow[uiIndex] = static_cast<double>(uiIndex * 37 % 101) / 101.0 - 0.5;
    inout_computer.setWindow(vWindow);
    if (auto* pWithInputs = dynamic_cast<Math::FeatureComputerWithInputs*>(&inout_computer))
        pWithInputs->setInput("tone", vWindow);
    return inout_computer.computeFeatures(out_vFeatures);
}

void requireComesBack(Computer& inout_computer, ArchiveFormat in_format)
{
    const std::string strArchive = saved(inout_computer, in_format);
    const ComputerPtr pLoaded = loaded(strArchive, in_format);
    CORVANA_FUZZ_REQUIRE(pLoaded != nullptr);
    CORVANA_FUZZ_REQUIRE(sameFeatures(inout_computer, *pLoaded));
    CORVANA_FUZZ_REQUIRE((dynamic_cast<Math::FeatureComputerWithInputs*>(&inout_computer) == nullptr) ==
                         (dynamic_cast<Math::FeatureComputerWithInputs*>(pLoaded.get()) == nullptr));
    CORVANA_FUZZ_REQUIRE(saved(*pLoaded, in_format) == strArchive);

    inout_computer.reset();
    pLoaded->reset();
    Math::DoubleVector vFeatures;
    Math::DoubleVector vLoadedFeatures;
    CORVANA_FUZZ_REQUIRE(compute(inout_computer, vFeatures) == compute(*pLoaded, vLoadedFeatures));
    CORVANA_FUZZ_REQUIRE(sameValues(vFeatures, vLoadedFeatures));
}

// Behind the contents stand blanks that a reader need not see.
std::size_t contentLength(const std::string& in_strArchive, ArchiveFormat in_format)
{
    return in_format == ArchiveFormat::BINARY ? in_strArchive.size() : in_strArchive.find_last_not_of(" \n") + 1;
}

void requireRefusedWhenCut(const Computer& in_computer, ArchiveFormat in_format, unsigned long in_uiWhere)
{
    const std::string strArchive = saved(in_computer, in_format);
    const std::string strCut = strArchive.substr(0, in_uiWhere % contentLength(strArchive, in_format));
    CORVANA_FUZZ_REQUIRE(loaded(strCut, in_format) == nullptr);
}

bool hasHugeNumber(const std::string& in_strText)
{
    std::size_t uiDigits = 0;
    for (const char c : in_strText) {
        uiDigits = c >= '0' && c <= '9' ? uiDigits + 1 : 0;
        if (uiDigits > s_uiMaxDigits)
            return true;
    }
    return false;
}

void requireRefusedOrUsable(const std::string& in_strArchive, ArchiveFormat in_format)
{
    if (hasHugeNumber(in_strArchive))
        return;
    const ComputerPtr pComputer = loaded(in_strArchive, in_format);
    if (pComputer == nullptr)
        return;
    Math::DoubleVector vFeatures;
    pComputer->reset();
    compute(*pComputer, vFeatures);
    CORVANA_FUZZ_REQUIRE(sameFeatures(*loaded(saved(*pComputer, in_format), in_format), *pComputer));
}

// Bytes replaced, taken out and put in, at any place.
std::string changed(std::string in_strText, ByteReader& inout_input)
{
    while (!inout_input.empty() && !in_strText.empty()) {
        const std::uint8_t uiKind = inout_input.takeByte();
        const std::size_t uiPlace = inout_input.takeUpTo(in_strText.size() - 1);
        if (uiKind % 4 == 0)
            in_strText.erase(uiPlace, 1 + uiKind / 32U);
        else if (uiKind % 4 == 1)
            in_strText.insert(uiPlace, inout_input.takeText().substr(0, 16));
        else
            in_strText[uiPlace] = static_cast<char>(inout_input.takeByte());
    }
    return in_strText;
}

void requireSettingsComeBack(ByteReader& inout_input)
{
    Tools::RunSettings settings;
    settings.m_windows.m_uiWindowMs = 1 + inout_input.takeUpTo(999);
    settings.m_windows.m_uiOverlapMs = inout_input.takeUpTo(999);
    settings.m_windows.m_uiSampleRate = inout_input.takeUpTo(96000);
    settings.m_windows.m_bSuppressDC = inout_input.takeByte() % 2 == 1;
    settings.m_vFeatures = {"spectrum|flatness", "silenceratio"};
    const MemoryFile file("");
    CORVANA_FUZZ_REQUIRE(Tools::RunSettings::save(file.path(), settings).empty());
    Tools::RunSettings loaded;
    CORVANA_FUZZ_REQUIRE(Tools::RunSettings::load(file.path(), loaded).empty());
    CORVANA_FUZZ_REQUIRE(loaded.m_vFeatures == settings.m_vFeatures);
    CORVANA_FUZZ_REQUIRE(loaded.m_windows.m_uiWindowMs == settings.m_windows.m_uiWindowMs);
    CORVANA_FUZZ_REQUIRE(loaded.m_windows.m_uiOverlapMs == settings.m_windows.m_uiOverlapMs);
    CORVANA_FUZZ_REQUIRE(loaded.m_windows.m_uiSampleRate == settings.m_windows.m_uiSampleRate);
    CORVANA_FUZZ_REQUIRE(loaded.m_windows.m_bSuppressDC == settings.m_windows.m_bSuppressDC);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    const LeakCheck leakCheck;
    ByteReader input(in_pData, in_uiSize);
    const std::uint8_t uiKind = input.takeByte();
    const ArchiveFormat format = s_aFormats[uiKind / 8U % std::size(s_aFormats)];
    const ArchiveFormat textFormat = uiKind < 128 ? ArchiveFormat::TEXT : ArchiveFormat::XML;
    switch (uiKind % 8U) {
    case 0:
    case 1:
        requireComesBack(*takeComputer(input), format);
        break;
    case 2: {
        const unsigned long uiWhere = input.takeUpTo(65535);
        requireRefusedWhenCut(*takeComputer(input), format, uiWhere);
        break;
    }
    case 3:
        if (uiKind % 64 == 3) // reads large pieces, so seldom
            requireSettingsComeBack(input);
        break;
    case 4:
    case 5: {
        const ComputerPtr pComputer = takeComputer(input);
        requireRefusedOrUsable(changed(saved(*pComputer, textFormat), input), textFormat);
        break;
    }
    default:
        requireRefusedOrUsable(std::string(input.rest()), textFormat);
    }
}
