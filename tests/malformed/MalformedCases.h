// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Corvana::Test {

/// A WAV file with something wrong in it, or with something that readers often get wrong.
struct MalformedCase
{
    std::string m_strName;   ///< such as "padding/data-unpadded"; may be a file's name when the slash is replaced
    std::string m_strMaking; ///< how the bytes came about, for people
    std::string m_strBytes;
};

using MalformedCases = std::vector<MalformedCase>;

/// The sound files that the others are made from.
MalformedCases seedCases();
/// Every beginning of each seed, from nothing to all.
MalformedCases prefixCases();
/// Every byte of each seed outside of the audio, set to 00, 7F, 80 and FF.
MalformedCases byteCases();
/// The seeds' chunks in every order, and the records of a list in every order.
MalformedCases orderCases();
/// What readers of RIFF files are known to stumble over, class by class.
MalformedCases faultCases();
/// All of them, with different names.
MalformedCases allMalformedCases();

/// A recording with two regions as it should be: VOICE in samples 0 to 8, BEEP in 16 to 24.
std::string donorBytes();

} // namespace Corvana::Test
