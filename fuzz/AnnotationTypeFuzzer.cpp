// SPDX-License-Identifier: Apache-2.0
// Any text as the type of an annotation: it agrees with a second reader, which looks through all types one by one, and
// the text of a type names that type, in upper and lower case. What is no type has a text that names none.
#include "FuzzSupport.h"

#include "corvana/AudioAnnotation.h"

#include <strings.h>

#include <cstdlib>
#include <limits>
#include <optional>

namespace Corvana::Fuzz {
namespace {

using Annotation = Audio::AnnotatedFile::Annotation;
using Type = Annotation::AnnotationType;

constexpr const char* s_szNoType = "???AnnotatedFile_AnnotationType???";

bool isType(long in_iType)
{
    return (in_iType >= 1 && in_iType <= 4000) || (in_iType >= 4002 && in_iType <= 4290);
}

// The number behind "SF_" as the C library reads it; what follows the number does not count.
std::optional<long> numberOf(const std::string& in_strText)
{
    if (in_strText.compare(0, 3, "SF_") != 0)
        return {};
    const long iNumber = std::strtol(in_strText.c_str() + 3, nullptr, 10);
    return iNumber >= 1 && iNumber <= 4000 ? std::optional(iNumber) : std::nullopt;
}

const std::vector<std::string>& namesFrom4002()
{
    static const std::vector<std::string> s_vNames = [] {
        std::vector<std::string> vNames;
        for (int iType = Annotation::s_firstNamed; iType <= Annotation::s_lastNamed; ++iType)
            vNames.emplace_back(Annotation::getAnnotationTypeString(static_cast<Type>(iType)));
        return vNames;
    }();
    return s_vNames;
}

std::optional<long> typeOf(const std::string& in_strText)
{
    const auto& vNames = namesFrom4002();
    for (std::size_t uiName = 0; uiName < vNames.size(); ++uiName)
        if (strcasecmp(vNames[uiName].c_str(), in_strText.c_str()) == 0)
            return Annotation::s_firstNamed + static_cast<long>(uiName);
    return numberOf(in_strText);
}

void requireText(const std::string& in_strText)
{
    const auto type = Annotation::parseAnnotationType(in_strText.c_str());
    const std::optional<long> expected = typeOf(in_strText);
    CORVANA_FUZZ_REQUIRE(type.isValid() == expected.has_value());
    if (!type.isValid())
        return;
    CORVANA_FUZZ_REQUIRE(type.getValue() == *expected && isType(type.getValue()));
    const std::string strCanonical = Annotation::getAnnotationTypeString(type.getValue());
    const auto again = Annotation::parseAnnotationType(strCanonical.c_str());
    CORVANA_FUZZ_REQUIRE(again.isValid() && again.getValue() == type.getValue());
    if (type.getValue() >= Annotation::s_firstNamed)
        CORVANA_FUZZ_REQUIRE(strcasecmp(strCanonical.c_str(), in_strText.c_str()) == 0);
}

void requireNumber(int in_iType)
{
    const std::string strText = Annotation::getAnnotationTypeString(static_cast<Type>(in_iType));
    CORVANA_FUZZ_REQUIRE((strText == s_szNoType) == !isType(in_iType));
    const auto type = Annotation::parseAnnotationType(strText.c_str());
    CORVANA_FUZZ_REQUIRE(type.isValid() == isType(in_iType));
    CORVANA_FUZZ_REQUIRE(!type.isValid() || type.getValue() == in_iType);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    // A text ends at a zero byte, as every text here does.
    requireText(std::string(ByteReader(in_pData, in_uiSize).rest()).c_str());
    ByteReader number(in_pData, in_uiSize);
    const auto uiNumber = static_cast<std::uint32_t>(number.takeUpTo(std::numeric_limits<std::uint32_t>::max()));
    requireNumber(static_cast<int>(uiNumber));
    requireNumber(static_cast<int>(uiNumber % 4400));
}
