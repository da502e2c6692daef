// SPDX-License-Identifier: Apache-2.0
#include "tools/RegionType.h"

#include "tools/Text.h"

#include <algorithm>

namespace Corvana::Tools {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;

// For a text that begins with "SF_".
bool hasANumber(const std::string& in_strText)
{
    return in_strText.size() > 3 && std::all_of(in_strText.begin() + 3, in_strText.end(),
                                                [](char in_cLetter) { return in_cLetter >= '0' && in_cLetter <= '9'; });
}

bool beginsAsNumbered(const std::string& in_strText)
{
    return in_strText.size() >= 2 && (in_strText[0] == 'S' || in_strText[0] == 's') &&
           (in_strText[1] == 'F' || in_strText[1] == 'f');
}

bool isANumber(const std::string& in_strText)
{
    return !in_strText.empty() && in_strText.find_first_not_of("0123456789") == std::string::npos;
}

std::string hint(const std::string& in_strText)
{
    if (beginsAsNumbered(in_strText))
        return "; numbered types are SF_1 to SF_4000, in capitals";
    if (isANumber(in_strText))
        return "; numbered types are written SF_1 to SF_4000";
    return didYouMean(nearestNames(in_strText, namedRegionTypes()));
}

} // namespace

std::string regionTypeText(RegionTypeValue in_type)
{
    return Annotation::getAnnotationTypeString(in_type);
}

bool isRegionType(RegionTypeValue in_type)
{
    return (in_type >= Annotation::s_firstNumbered && in_type <= Annotation::s_lastNumbered) ||
           (in_type >= Annotation::s_firstNamed && in_type <= Annotation::s_lastNamed);
}

std::vector<std::string> namedRegionTypes()
{
    std::vector<std::string> vTypes;
    for (int iType = Annotation::s_firstNamed; iType <= Annotation::s_lastNamed; ++iType)
        vTypes.push_back(regionTypeText(static_cast<RegionTypeValue>(iType)));
    return vTypes;
}

std::string parseRegionType(const std::string& in_strText, RegionTypeValue& out_type)
{
    if (readRegionType(in_strText, out_type))
        return {};
    return inQuotes(in_strText) + " is no type of a region" + hint(in_strText);
}

bool readRegionType(const std::string& in_strText, RegionTypeValue& out_type)
{
    // A library that reads files takes "SF_12abc" for SF_12; from somebody's fingers it is a slip.
    const bool bPlain = !in_strText.starts_with("SF_") || hasANumber(in_strText);
    const auto type = Annotation::parseAnnotationType(in_strText.c_str());
    if (!bPlain || !type.isValid() || in_strText.find('\0') != std::string::npos)
        return false;
    out_type = type.getValue();
    return true;
}

} // namespace Corvana::Tools
