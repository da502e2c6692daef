// SPDX-License-Identifier: Apache-2.0
#include "tools/RunSettings.h"

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/AudioLinearWindower.h"
#include "tools/OutputFile.h"
#include "tools/Text.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>

#include <exception>
#include <fstream>
#include <locale>
#include <memory>
#include <new>
#include <sstream>
#include <string_view>

namespace Corvana::Tools {
namespace {

using Audio::LinearAudioWindower;

// Names and order are the saved format.
constexpr const char* s_szWindowsItem = "Windows";
constexpr const char* s_szComputerItem = "Computer";

void write(std::ostream& out_stream, const LinearAudioWindower::Config& in_config,
           const Math::FeatureComputerImpl* in_pComputer)
{
    // Not straight into the file: the archive's destructor writes too, and must not meet a full disk.
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    try {
        boost::archive::polymorphic_xml_oarchive archive(stream);
        boost::archive::polymorphic_oarchive& interface = archive;
        interface << boost::serialization::make_nvp(s_szWindowsItem, in_config);
        interface << boost::serialization::make_nvp(s_szComputerItem, in_pComputer);
    } catch (const boost::archive::archive_exception&) {
        throw std::bad_alloc(); // a text in memory fails for no other reason
    }
    if (!stream) // a part of an archive must not pass for the whole
        throw std::bad_alloc();
    out_stream << stream.str();
}

// The whole file, or nothing when it is no complete archive: Boost would end the program over a missing closing tag.
std::string contentsOf(const std::string& in_strPath)
{
    constexpr std::string_view strClosingTag = "</boost_serialization>";
    constexpr std::size_t uiMaxSize = 16UL << 20;
    std::ifstream stream(in_strPath, std::ios::binary);
    std::string strContents(uiMaxSize, '\0');
    stream.read(strContents.data(), static_cast<std::streamsize>(strContents.size()));
    strContents.resize(static_cast<std::size_t>(stream.gcount()));
    strContents.resize(strContents.find_last_not_of(" \t\r\n") + 1);
    return strContents.ends_with(strClosingTag) ? strContents : std::string();
}

std::unique_ptr<Math::FeatureComputerImpl> read(const std::string& in_strContents,
                                                LinearAudioWindower::Config& out_config)
{
    std::istringstream stream(in_strContents);
    stream.imbue(std::locale::classic());
    boost::archive::polymorphic_xml_iarchive archive(stream);
    boost::archive::polymorphic_iarchive& interface = archive;
    // Where it is noted is asked for before there is anything to lose: that needs memory, too.
    Math::FeatureComputerImpl* const& pNoted = Math::computerUnderLoad(interface);
    Math::FeatureComputerImpl* pComputer = nullptr;
    try {
        interface >> boost::serialization::make_nvp(s_szWindowsItem, out_config);
        interface >> boost::serialization::make_nvp(s_szComputerItem, pComputer);
    } catch (...) {
        if (pNoted != nullptr)
            delete pNoted;
        else
            ::operator delete(static_cast<void*>(pComputer)); // what Boost had allocated for it
        throw;
    }
    // The archive's destructor reads the closing tag, and must not throw: of any name, so short that it needs no
    // memory.
    stream.str("</x>");
    return std::unique_ptr<Math::FeatureComputerImpl>(pComputer);
}

} // namespace

std::string RunSettings::save(const std::string& in_strPath, const RunSettings& in_settings,
                              const std::vector<std::string>& in_vRead)
{
    LinearAudioWindower::Config config;
    config.m_uiSampleRate = in_settings.m_windows.m_uiSampleRate;
    config.m_uiWindowSizeMs = in_settings.m_windows.m_uiWindowMs;
    config.m_uiWindowOverlapMs = in_settings.m_windows.m_uiOverlapMs;
    config.m_bSuppressDCOffset = in_settings.m_windows.m_bSuppressDC;
    Audio::FeatureComputerImpl computer;
    for (const std::string& strFeature : in_settings.m_vFeatures)
        computer.addFeature(strFeature.c_str());

    std::ostringstream unused;
    OutputFile file(unused);
    if (!file.open(in_strPath))
        return file.getFault();
    const std::string strBoth = file.findAmong(in_vRead);
    if (!strBoth.empty())
        return printable(strBoth) + " is also read by the run";
    write(file.stream(), config, &computer);
    return file.commit() ? std::string() : file.getFault();
}

std::string RunSettings::load(const std::string& in_strPath, RunSettings& out_settings)
try {
    if (!std::ifstream(in_strPath))
        return "cannot be opened";
    const std::string strContents = contentsOf(in_strPath);
    if (strContents.empty())
        return "is no saved configuration, or not all of one";
    LinearAudioWindower::Config config;
    const std::unique_ptr<Math::FeatureComputerImpl> pComputer = read(strContents, config);
    if (pComputer == nullptr || pComputer->getNbOfFeatures() == 0)
        return "holds no features";

    if (config.m_uiWindowSizeMs < 1 || config.m_uiWindowSizeMs > s_uiMaxWindowMs ||
        config.m_uiWindowOverlapMs > s_uiMaxWindowMs || config.m_uiSampleRate > s_uiMaxSampleRate)
        return "has a window of " + std::to_string(config.m_uiWindowSizeMs) + " ms, an overlap of " +
               std::to_string(config.m_uiWindowOverlapMs) + " ms at " + std::to_string(config.m_uiSampleRate) +
               " Hz; at most " + std::to_string(s_uiMaxWindowMs) + " ms and " + std::to_string(s_uiMaxSampleRate) +
               " Hz can be run";
    out_settings.m_windows.m_uiSampleRate = config.m_uiSampleRate;
    out_settings.m_windows.m_uiWindowMs = config.m_uiWindowSizeMs;
    out_settings.m_windows.m_uiOverlapMs = config.m_uiWindowOverlapMs;
    out_settings.m_windows.m_bSuppressDC = config.m_bSuppressDCOffset;
    out_settings.m_vFeatures.clear();
    for (unsigned long uiIndex = 0; uiIndex < pComputer->getNbOfFeatures(); ++uiIndex) {
        if (!pComputer->getInputName(uiIndex).empty() || !pComputer->getOutputName(uiIndex).empty())
            return "has features with named inputs or outputs, which only programs can run";
        out_settings.m_vFeatures.push_back(pComputer->getDescription(uiIndex));
    }
    return {};
} catch (const std::exception& exception) {
    return std::string("is no saved configuration (") + exception.what() + ")";
}

} // namespace Corvana::Tools
