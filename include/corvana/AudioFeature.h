// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Fallible.h"
#include "corvana/MathSignalFeature.h"

namespace Corvana::Audio {

/// Base of all audio features, and the vocabulary of their names.
class CORVANA_API AudioFeature : public virtual Math::SignalFeature
{
public:
    /// The values are fixed: programs store them.
    enum FeatureType
    {
        ENERGYHISTOGRAM = 0,
        CLIPPINGRATE = 1,
        ZEROCROSSINGRATE = 2,
        SPECTRUM = 3,
        SPECTRUM100HZ = 4,
        SPECTRUM200HZ = 5,
        SPECTRUM500HZ = 6,
        FLATNESS = 7,
        SPECTRALRANGE = 8,
        MAXSPECTRALRANGES = 9,
        OLDHARMONICPRODUCT = 10,
        HARMONICPRODUCT = 11,
        ROBUSTHARMONICPRODUCT = 12,
        ANTIHARMONICPRODUCT = 13,
        SPECTRALSLOPE = 14,
        SPECTRALWEIGHTEDAREA = 15,
        SILENCERATIO = 16,
        NOISERATIO = 17,
        AMPLITUDEDISTRIBUTION = 18,
        TEMPORALAMPLITUDEDISTRIBUTION = 19,
        PEAKS = 20,
        NEIGHBOURHOODOFMAX = 21,
        LOWFREQENERGYRATIO = 22,
        LOWFREQENERGYRATIOS = 23,
        DELTATOSLIDINGMEAN = 24,
        MYFEATURE = 25
    };

    ~AudioFeature() override;
    AudioFeature* clone() const override = 0;

    /// The name in capitals; "???Feature_FeatureType???" for a value that is no type.
    static const char* getFeatureTypeString(FeatureType in_type);
    /// The type that a whole name stands for, without regard to case; not valid for any other text.
    static Fallible<FeatureType> parseFeatureType(const char* in_szName);
};

} // namespace Corvana::Audio
