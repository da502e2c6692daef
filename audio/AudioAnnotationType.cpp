// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAnnotation.h"

#include <algorithm>
#include <iterator>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

namespace Corvana::Audio {
namespace {

using Annotation = AnnotatedFile::Annotation;

// From Annotation::s_firstNamed on.
constexpr const char* s_aszTexts[] = {
// clang-format off
#define CORVANA_ANNOTATION_TEXT(name) #name,
#define CORVANA_ANNOTATION_TEXTS(outcome) CORVANA_ANNOTATION_DETECTORS(CORVANA_ANNOTATION_TEXT, outcome)
    CORVANA_ANNOTATION_SOUNDS(CORVANA_ANNOTATION_TEXT)
    CORVANA_ANNOTATION_OUTCOMES(CORVANA_ANNOTATION_TEXTS)
    CORVANA_ANNOTATION_EVENTS(CORVANA_ANNOTATION_TEXT)
#undef CORVANA_ANNOTATION_TEXTS
#undef CORVANA_ANNOTATION_TEXT
    // clang-format on
};
static_assert(std::size(s_aszTexts) == Annotation::s_lastNamed - Annotation::s_firstNamed + 1);

constexpr const char* s_szUnknown = "???AnnotatedFile_AnnotationType???";
constexpr std::string_view s_strNumbered = "SF_";

bool isNumbered(int in_iType)
{
    return in_iType >= Annotation::s_firstNumbered && in_iType <= Annotation::s_lastNumbered;
}

// Of ASCII letters only: what a file means must not depend on the host's locale.
char toUpper(char in_cLetter)
{
    return in_cLetter >= 'a' && in_cLetter <= 'z' ? static_cast<char>(in_cLetter - 'a' + 'A') : in_cLetter;
}

bool isSameWord(std::string_view in_strLeft, std::string_view in_strRight)
{
    return std::equal(in_strLeft.begin(), in_strLeft.end(), in_strRight.begin(), in_strRight.end(),
                      [](char in_cLeft, char in_cRight) { return toUpper(in_cLeft) == toUpper(in_cRight); });
}

Fallible<Annotation::AnnotationType> parseNumbered(std::string_view in_strText)
{
    if (!in_strText.starts_with(s_strNumbered))
        return {};
    std::istringstream digits{std::string(in_strText.substr(s_strNumbered.size()))};
    digits.imbue(std::locale::classic());
    std::int32_t iValue = 0;
    if (!(digits >> iValue) || !isNumbered(iValue))
        return {};
    return static_cast<Annotation::AnnotationType>(iValue);
}

} // namespace

AnnotatedFile::Annotation::Annotation() = default;
AnnotatedFile::Annotation::Annotation(AnnotationType in_type, double in_dStartSeconds, double in_dStopSeconds)
    : m_type(in_type)
    , m_dStartTime(in_dStartSeconds)
    , m_dStopTime(in_dStopSeconds)
{
}
AnnotatedFile::Annotation::~Annotation() = default;
AnnotatedFile::Annotation::Annotation(const Annotation&) = default;
AnnotatedFile::Annotation& AnnotatedFile::Annotation::operator=(const Annotation&) = default;

const char* AnnotatedFile::Annotation::getAnnotationTypeString(AnnotationType in_type)
{
    if (isNumbered(in_type)) {
        static std::string s_strText; // one for all: its address is the same in every call
        s_strText.assign(s_strNumbered);
        s_strText += std::to_string(static_cast<int>(in_type));
        return s_strText.c_str();
    }
    if (in_type >= s_firstNamed && in_type <= s_lastNamed)
        return s_aszTexts[in_type - s_firstNamed];
    return s_szUnknown;
}

Fallible<AnnotatedFile::Annotation::AnnotationType>
AnnotatedFile::Annotation::parseAnnotationType(const char* in_szText)
{
    if (in_szText == nullptr)
        return {};
    const auto itText = std::find_if(std::begin(s_aszTexts), std::end(s_aszTexts),
                                     [in_szText](const char* in_szName) { return isSameWord(in_szText, in_szName); });
    if (itText != std::end(s_aszTexts))
        return static_cast<AnnotationType>(s_firstNamed + std::distance(std::begin(s_aszTexts), itText));
    return parseNumbered(in_szText);
}

std::ostream& AnnotatedFile::Annotation::write(std::ostream& out_stream) const
{
    return out_stream << getAnnotationTypeString(m_type) << " start=" << m_dStartTime << "s stop=" << m_dStopTime
                      << "s";
}

} // namespace Corvana::Audio

namespace Corvana {

std::ostream& operator<<(std::ostream& out_stream, Audio::AnnotatedFile::Annotation::AnnotationType in_type)
{
    return out_stream << Audio::AnnotatedFile::Annotation::getAnnotationTypeString(in_type);
}

} // namespace Corvana
