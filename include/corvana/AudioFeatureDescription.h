// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"

#include <span>

namespace Corvana::Audio {

/// What users are told about a feature that AudioFeatureFactory makes: the one table that the command, the bindings,
/// the documents and the tests read.
struct FeatureDescription
{
    const char* m_szName;       ///< as written in descriptions; case does not matter
    const char* m_szParameters; ///< as written behind the name, such as "(centreHz,halfWidthHz)"; "" for none
    unsigned m_uiMinParameters; ///< how many the factory takes, at least
    unsigned m_uiMaxParameters; ///< and at most; the largest unsigned number: any number
    const char* m_szExample;    ///< a description that works
    const char* m_szInput;      ///< "window", "spectrum" (any normalised spectrum) or "value" (exactly one)
    const char* m_szNbOfValues; ///< for an input of n values: a number, or a formula such as "n/2"
    const char* m_szUnit;       ///< of the values
    const char* m_szMeaning;    ///< one line
    bool m_bNeedsPowerOfTwo;    ///< the input's length must be a power of two
    bool m_bAssumes8000Hz;      ///< the values mean what they say only for 8000 samples per second
};

/// The features in the order of AudioFeature::FeatureType. Lives as long as the program.
CORVANA_API std::span<const FeatureDescription> getFeatureDescriptions();

} // namespace Corvana::Audio
