// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioAnnotation.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

using Annotation = Corvana::Audio::AnnotatedFile::Annotation;
using Type = Annotation::AnnotationType;

namespace {

constexpr const char* s_szUnknown = "???AnnotatedFile_AnnotationType???";

// The texts of files as they stand, written out; the library puts them together from parts.
constexpr const char* s_aszSounds[] = {"FEMALE",      "MALE",   "VOICE",  "SILENCE", "NOISE",  "MUSIC",
                                       "BEEP",        "DTMF_1", "DTMF_2", "DTMF_3",  "DTMF_4", "DTMF_5",
                                       "DTMF_6",      "DTMF_7", "DTMF_8", "DTMF_9",  "DTMF_0", "DTMF_STAR",
                                       "DTMF_SQUARE", "DTMF_A", "DTMF_B", "DTMF_C",  "DTMF_D"};
constexpr const char* s_aszOutcomes[] = {
    "HUMAN",     "MACHINE", "FAX",       "BUSY",        "REORDER", "NUMBER_UNOBTAINABLE",
    "SIT",       "SIT_NC",  "SIT_IC",    "SIT_VC",      "SIT_RO",  "SIT_UNKNOWN",
    "NO_ANSWER", "UNKNOWN", "DROPPED",   "EOM",         "DTMF_1",  "DTMF_2",
    "DTMF_3",    "DTMF_4",  "DTMF_5",    "DTMF_6",      "DTMF_7",  "DTMF_8",
    "DTMF_9",    "DTMF_0",  "DTMF_STAR", "DTMF_SQUARE", "DTMF_A",  "DTMF_B",
    "DTMF_C",    "DTMF_D"};
constexpr int s_aiFirstOfOutcome[] = {4025, 4033, 4041, 4049, 4057, 4065, 4073, 4081, 4089, 4097, 4105,
                                      4113, 4121, 4129, 4137, 4145, 4153, 4161, 4169, 4177, 4185, 4193,
                                      4201, 4209, 4217, 4225, 4233, 4241, 4249, 4257, 4265, 4273};
constexpr const char* s_aszDetectors[] = {"CPA", "DIALOGIC", "CORVANA", "TEST1", "TEST2", "TEST3", "TEST4", "TEST5"};
constexpr const char* s_aszEvents[] = {"RINGBACK",
                                       "EAMD_BEEP",
                                       "EAMD_SILENCE",
                                       "DIALOGIC_CONNECTED",
                                       "DIALOGIC_EAMD_BEEP",
                                       "DIALOGIC_EAMD_SILENCE",
                                       "DIALOGIC_PSTN_HANGUP",
                                       "DIALOGIC_SIP_HANGUP",
                                       "CONNECTED",
                                       "OTHER"};

std::string text(int in_iType)
{
    return Annotation::getAnnotationTypeString(static_cast<Type>(in_iType));
}

// -1 for none.
int parsed(const char* in_szText)
{
    const auto type = Annotation::parseAnnotationType(in_szText);
    return type.isValid() ? static_cast<int>(type.getValue()) : -1;
}

struct ForeignNumbers : std::numpunct<char>
{
    char do_thousands_sep() const override { return '.'; }
    char do_decimal_point() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

// Elsewhere, with no using of anything: found by the types of the arguments alone.
namespace Somewhere {
std::string printed(Type in_type)
{
    std::ostringstream stream;
    stream << in_type << '|' << Annotation(in_type, 0.5, 1.0);
    return stream.str();
}
} // namespace Somewhere
namespace Corvana::Audio::Within {
std::string printed(Type in_type)
{
    std::ostringstream stream;
    stream << in_type;
    return stream.str();
}
} // namespace Corvana::Audio::Within
namespace Corvana::Elsewhere {
struct Own
{
};
std::ostream& operator<<(std::ostream& out_stream, Own); // hides those of the namespaces around
std::string printed(Type in_type)
{
    std::ostringstream stream;
    stream << in_type;
    return stream.str();
}
} // namespace Corvana::Elsewhere

TEST(AnnotationType, HasThirtyTwoBits)
{
    static_assert(sizeof(Type) == 4);
    EXPECT_TRUE((std::is_same_v<std::int32_t, std::underlying_type_t<Type>>));
}

TEST(AnnotationType, HasItsFixedValues)
{
    EXPECT_EQ(1, Annotation::SF_1);
    EXPECT_EQ(9, Annotation::SF_9);
    EXPECT_EQ(10, Annotation::SF_10);
    EXPECT_EQ(99, Annotation::SF_99);
    EXPECT_EQ(100, Annotation::SF_100);
    EXPECT_EQ(999, Annotation::SF_999);
    EXPECT_EQ(1000, Annotation::SF_1000);
    EXPECT_EQ(4000, Annotation::SF_4000);
    EXPECT_EQ(4002, Annotation::FEMALE);
    EXPECT_EQ(4008, Annotation::BEEP);
    EXPECT_EQ(4009, Annotation::DTMF_1);
    EXPECT_EQ(4018, Annotation::DTMF_0);
    EXPECT_EQ(4019, Annotation::DTMF_STAR);
    EXPECT_EQ(4024, Annotation::DTMF_D);
    EXPECT_EQ(4025, Annotation::CPA_HUMAN);
    EXPECT_EQ(4026, Annotation::DIALOGIC_HUMAN);
    EXPECT_EQ(4027, Annotation::CORVANA_HUMAN);
    EXPECT_EQ(4032, Annotation::TEST5_HUMAN);
    EXPECT_EQ(4033, Annotation::CPA_MACHINE);
    EXPECT_EQ(4107, Annotation::CORVANA_SIT_RO);
    EXPECT_EQ(4156, Annotation::TEST1_DTMF_1);
    EXPECT_EQ(4280, Annotation::TEST5_DTMF_D);
    EXPECT_EQ(4281, Annotation::RINGBACK);
    EXPECT_EQ(4290, Annotation::OTHER);
}

TEST(AnnotationType, HasTheTextsOfSounds)
{
    ASSERT_EQ(23u, std::size(s_aszSounds));
    for (int iSound = 0; iSound < 23; ++iSound) {
        EXPECT_EQ(s_aszSounds[iSound], text(4002 + iSound));
        EXPECT_EQ(4002 + iSound, parsed(s_aszSounds[iSound]));
    }
}

TEST(AnnotationType, HasTheTextsOfEveryOutcomeForEveryDetector)
{
    ASSERT_EQ(32u, std::size(s_aszOutcomes));
    ASSERT_EQ(32u, std::size(s_aiFirstOfOutcome));
    for (std::size_t uiOutcome = 0; uiOutcome < 32; ++uiOutcome) {
        for (int iDetector = 0; iDetector < 8; ++iDetector) {
            const std::string strText = std::string(s_aszDetectors[iDetector]) + "_" + s_aszOutcomes[uiOutcome];
            EXPECT_EQ(strText, text(s_aiFirstOfOutcome[uiOutcome] + iDetector));
            EXPECT_EQ(s_aiFirstOfOutcome[uiOutcome] + iDetector, parsed(strText.c_str()));
        }
    }
}

TEST(AnnotationType, HasTheTextsOfEvents)
{
    for (int iEvent = 0; iEvent < 10; ++iEvent) {
        EXPECT_EQ(s_aszEvents[iEvent], text(4281 + iEvent));
        EXPECT_EQ(4281 + iEvent, parsed(s_aszEvents[iEvent]));
    }
}

TEST(AnnotationType, HasTheTextsOfNumberedTypesWithoutPadding)
{
    EXPECT_EQ("SF_1", text(1));
    EXPECT_EQ("SF_42", text(42));
    EXPECT_EQ("SF_1000", text(1000));
    EXPECT_EQ("SF_4000", text(4000));
}

TEST(AnnotationType, PrintsEveryOtherValueAsUnknown)
{
    for (const int iType : {0, 4001, 4291, -1, -4002, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(s_szUnknown, text(iType)) << iType;
}

TEST(AnnotationType, CannotBeParsedFromTheUnknownText)
{
    EXPECT_EQ(-1, parsed(s_szUnknown));
}

TEST(AnnotationType, IsGivenBackByTheTextOfEveryType)
{
    for (int iType = 1; iType <= 4290; ++iType)
        EXPECT_EQ(iType == 4001 ? -1 : iType, parsed(text(iType).c_str()));
}

TEST(AnnotationType, IsNamedInUpperAndLowerCaseAlike)
{
    EXPECT_EQ(4290, parsed("OTHER"));
    EXPECT_EQ(4290, parsed("other"));
    EXPECT_EQ(4290, parsed("oThEr"));
    EXPECT_EQ(4002, parsed("female"));
    EXPECT_EQ(4002, parsed("Female"));
    EXPECT_EQ(4025, parsed("cpa_human"));
    EXPECT_EQ(4021, parsed("dtmf_a"));
}

TEST(AnnotationType, IsNamedByWholeTextsOnly)
{
    for (const char* szText :
         {"", "FEMAL", "FEMALES", " FEMALE", "FEMALE ", "CPA_", "HUMAN", "CPA HUMAN", "MALE\n", "DTMF"})
        EXPECT_EQ(-1, parsed(szText)) << szText;
    EXPECT_EQ(-1, parsed("\xc3\xa4"));
}

TEST(AnnotationType, IsNumberedFromOneToFourThousand)
{
    EXPECT_EQ(1, parsed("SF_1"));
    EXPECT_EQ(4000, parsed("SF_4000"));
    EXPECT_EQ(-1, parsed("SF_0"));
    EXPECT_EQ(-1, parsed("SF_4001"));
    EXPECT_EQ(-1, parsed("SF_4002"));
    EXPECT_EQ(-1, parsed("SF_-3"));
    EXPECT_EQ(-1, parsed("SF_"));
    EXPECT_EQ(-1, parsed("SF_x"));
    EXPECT_EQ(-1, parsed("SF_ "));
    EXPECT_EQ(-1, parsed("SF"));
    EXPECT_EQ(-1, parsed("S"));
}

TEST(AnnotationType, IsNumberedWithBlanksSignAndZerosInFront)
{
    EXPECT_EQ(7, parsed("SF_ 7"));
    EXPECT_EQ(7, parsed("SF_ \t\n7"));
    EXPECT_EQ(7, parsed("SF_007"));
    EXPECT_EQ("SF_7", text(7));
    EXPECT_EQ(7, parsed("SF_+7"));
    EXPECT_EQ(-1, parsed("SF_+ 7"));
    EXPECT_EQ(-1, parsed("SF_--7"));
}

TEST(AnnotationType, IsNumberedUpToTheFirstCharacterThatIsNoDigit)
{
    EXPECT_EQ(12, parsed("SF_12abc"));
    EXPECT_EQ(12, parsed("SF_12.9"));
    EXPECT_EQ(12, parsed("SF_12 13"));
    EXPECT_EQ(1, parsed("SF_1,000"));
    EXPECT_EQ(-1, parsed("SF_0x10")); // decimal digits only: 0
}

TEST(AnnotationType, IsNotNumberedByWhatDoesNotFit)
{
    EXPECT_EQ(-1, parsed("SF_2147483648"));
    EXPECT_EQ(-1, parsed("SF_4294967297")); // 1 in 32 bits
    EXPECT_EQ(-1, parsed("SF_18446744073709551617"));
    EXPECT_EQ(-1, parsed("SF_-4294967295"));
    EXPECT_EQ(-1, parsed(("SF_" + std::string(10000, '9')).c_str()));
    EXPECT_EQ(1, parsed(("SF_" + std::string(10000, '0') + "1").c_str()));
}

TEST(AnnotationType, IsNumberedInUpperCaseOnly)
{
    EXPECT_EQ(-1, parsed("sf_12"));
    EXPECT_EQ(-1, parsed("Sf_12"));
    EXPECT_EQ(-1, parsed(" SF_12"));
}

TEST(AnnotationType, IsNotNamedByNothing)
{
    EXPECT_EQ(-1, parsed(nullptr));
}

TEST(AnnotationType, IsParsedInSilence)
{
    Corvana::Test::LogCapture log("kestrivon", 0);

    parsed("no such type");
    parsed("SF_99999999999");

    EXPECT_TRUE(log.events().empty());
}

TEST(AnnotationType, SharesOneBufferAmongNumberedTypes)
{
    const char* szFive = Annotation::getAnnotationTypeString(Annotation::SF_5);
    EXPECT_STREQ("SF_5", szFive);

    const char* szSix = Annotation::getAnnotationTypeString(Annotation::SF_6);

    EXPECT_EQ(szFive, szSix);
    EXPECT_STREQ("SF_6", szFive);
    // Also from the shortest to the longest.
    EXPECT_EQ(szFive, Annotation::getAnnotationTypeString(Annotation::SF_4000));
    EXPECT_STREQ("SF_4000", szFive);
}

TEST(AnnotationType, HasConstantNamedTexts)
{
    const char* szBeep = Annotation::getAnnotationTypeString(Annotation::BEEP);
    Annotation::getAnnotationTypeString(Annotation::SF_6);
    Annotation::getAnnotationTypeString(Annotation::OTHER);

    EXPECT_STREQ("BEEP", szBeep);
    EXPECT_EQ(szBeep, Annotation::getAnnotationTypeString(Annotation::BEEP));
}

TEST(AnnotationType, IsPrintedFromEveryNamespace)
{
    EXPECT_EQ("CPA_HUMAN|CPA_HUMAN start=0.5s stop=1s", Somewhere::printed(Annotation::CPA_HUMAN));
    EXPECT_EQ("CPA_HUMAN", Corvana::Audio::Within::printed(Annotation::CPA_HUMAN));
    EXPECT_EQ("SF_12", Corvana::Elsewhere::printed(Annotation::SF_12));
    EXPECT_EQ(s_szUnknown, Somewhere::printed(Type{}).substr(0, 34));
}

TEST(AnnotationType, GivesBackTheStreamItIsPrintedTo)
{
    std::ostringstream stream;
    EXPECT_EQ(&stream, &(stream << Annotation::BEEP));
}

TEST(AnnotationType, IsNotChangedByTheHostsLocale)
{
    const std::locale former = std::locale::global(std::locale(std::locale(), new ForeignNumbers));
    const std::string strText = text(4000);
    const int iWithDot = parsed("SF_4.000");
    const int iPlain = parsed("SF_4000");
    std::locale::global(former);

    EXPECT_EQ("SF_4000", strText);
    EXPECT_EQ(4, iWithDot); // the dot ends the number, it does not group it
    EXPECT_EQ(4000, iPlain);
}

TEST(Annotation, HasNoTypeAndNoTimesByDefault)
{
    const Annotation annotation;

    EXPECT_EQ(0, annotation.m_type);
    EXPECT_EQ(0.0, annotation.m_dStartTime);
    EXPECT_EQ(0.0, annotation.m_dStopTime);
}

TEST(Annotation, IsCopiedMemberByMember)
{
    const Annotation annotation(Annotation::MUSIC, 1.5, 0.25);
    const Annotation copy(annotation);
    Annotation assigned;
    assigned = annotation;

    for (const Annotation& other : {copy, assigned}) {
        EXPECT_EQ(Annotation::MUSIC, other.m_type);
        EXPECT_EQ(1.5, other.m_dStartTime);
        EXPECT_EQ(0.25, other.m_dStopTime);
    }
}

TEST(Annotation, PrintsTypeAndTimes)
{
    std::ostringstream stream;

    EXPECT_EQ(&stream, &Annotation(Annotation::CPA_HUMAN, 1.5, 3.25).write(stream));

    EXPECT_EQ("CPA_HUMAN start=1.5s stop=3.25s", stream.str());
}

TEST(Annotation, PrintsInTheStreamsPresentFormat)
{
    std::ostringstream stream;
    stream.setf(std::ios_base::fixed);
    stream.precision(3);

    stream << Annotation(Annotation::SF_17, 1.5, 1000.0 / 3);

    EXPECT_EQ("SF_17 start=1.500s stop=333.333s", stream.str());
}

TEST(Annotation, PrintsNoTypeAsUnknown)
{
    std::ostringstream stream;
    stream << Annotation();

    EXPECT_EQ("???AnnotatedFile_AnnotationType??? start=0s stop=0s", stream.str());
}

TEST(Annotation, IsAnOutputStreamable)
{
    const Annotation annotation(Annotation::BEEP, 0, 1);
    const Corvana::OutputStreamable& streamable = annotation;
    std::ostringstream stream;

    stream << streamable;

    EXPECT_EQ("BEEP start=0s stop=1s", stream.str());
    EXPECT_NE(nullptr, dynamic_cast<const Corvana::Object*>(&streamable));
}

TEST(AnnotationType, IsNotMistakenForLettersBehindTheAlphabet)
{
    // '{' and '|' stand where upper case would make '[' and '\\' of them.
    EXPECT_EQ(-1, parsed("MAL{"));
    EXPECT_EQ(-1, parsed("{ALE"));
    EXPECT_EQ(text(Annotation::MALE), text(parsed("male")));
}
