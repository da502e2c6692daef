// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

using RegionTypeValue = Audio::AnnotatedFile::Annotation::AnnotationType;

/// The text of a type; of what is none, a text that is no type either.
std::string regionTypeText(RegionTypeValue in_type);
/// Whether there is such a type. A file that skips an identifier has regions without one.
bool isRegionType(RegionTypeValue in_type);
/// The texts of all types but the numbered ones, in the order of their values.
std::vector<std::string> namedRegionTypes();

/// The type that a user names, in upper or lower case; numbered ones are SF_ and digits. Returns why there is none,
/// with the nearest types; empty when there is one.
std::string parseRegionType(const std::string& in_strText, RegionTypeValue& out_type);
/// The same without the reason, which takes a comparison with every type.
bool readRegionType(const std::string& in_strText, RegionTypeValue& out_type);

} // namespace Corvana::Tools
