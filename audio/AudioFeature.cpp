// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeature.h"

#include "corvana/Logger.h"

#include <iterator>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFeature")

namespace Corvana::Audio {
namespace {

// Indexed by type. The spellings are interface, "NEIGHBOURHOODOFMAX" included.
constexpr const char* s_aszTypeNames[] = {"ENERGYHISTOGRAM",
                                          "CLIPPINGRATE",
                                          "ZEROCROSSINGRATE",
                                          "SPECTRUM",
                                          "SPECTRUM100HZ",
                                          "SPECTRUM200HZ",
                                          "SPECTRUM500HZ",
                                          "FLATNESS",
                                          "SPECTRALRANGE",
                                          "MAXSPECTRALRANGES",
                                          "OLDHARMONICPRODUCT",
                                          "HARMONICPRODUCT",
                                          "ROBUSTHARMONICPRODUCT",
                                          "ANTIHARMONICPRODUCT",
                                          "SPECTRALSLOPE",
                                          "SPECTRALWEIGHTEDAREA",
                                          "SILENCERATIO",
                                          "NOISERATIO",
                                          "AMPLITUDEDISTRIBUTION",
                                          "TEMPORALAMPLITUDEDISTRIBUTION",
                                          "PEAKS",
                                          "NEIGHBOURHOODOFMAX",
                                          "LOWFREQENERGYRATIO",
                                          "LOWFREQENERGYRATIOS",
                                          "DELTATOSLIDINGMEAN",
                                          "MYFEATURE"};
static_assert(std::size(s_aszTypeNames) == AudioFeature::MYFEATURE + 1);

constexpr char toUpper(char in_cLetter)
{
    return in_cLetter >= 'a' && in_cLetter <= 'z' ? static_cast<char>(in_cLetter - 'a' + 'A') : in_cLetter;
}

bool equalsIgnoringCase(const char* in_szUpper, const char* in_szText)
{
    while (*in_szUpper != '\0' && *in_szUpper == toUpper(*in_szText)) {
        ++in_szUpper;
        ++in_szText;
    }
    return *in_szUpper == '\0' && *in_szText == '\0';
}

} // namespace

AudioFeature::~AudioFeature() = default;

const char* AudioFeature::getFeatureTypeString(FeatureType in_type)
{
    const auto uiType = static_cast<unsigned>(in_type);
    return uiType < std::size(s_aszTypeNames) ? s_aszTypeNames[uiType] : "???Feature_FeatureType???";
}

Fallible<AudioFeature::FeatureType> AudioFeature::parseFeatureType(const char* in_szName)
{
    for (unsigned uiType = 0; in_szName != nullptr && uiType < std::size(s_aszTypeNames); ++uiType)
        if (equalsIgnoringCase(s_aszTypeNames[uiType], in_szName))
            return static_cast<FeatureType>(uiType);
    return {};
}

} // namespace Corvana::Audio
