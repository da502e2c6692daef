// SPDX-License-Identifier: Apache-2.0
#pragma once

// The names of annotation types, in the order of their values: the one place that knows them. AudioAnnotation.h makes
// the enumeration of them, the library the table of their texts.
// clang-format off

/// 4002 to 4024: what is heard.
#define CORVANA_ANNOTATION_SOUNDS(name)                                                                                \
    name(FEMALE) name(MALE) name(VOICE) name(SILENCE) name(NOISE) name(MUSIC) name(BEEP)                               \
    CORVANA_ANNOTATION_KEYS(name)

/// The keys of a telephone: digit 0 comes after 9.
#define CORVANA_ANNOTATION_KEYS(name)                                                                                  \
    name(DTMF_1) name(DTMF_2) name(DTMF_3) name(DTMF_4) name(DTMF_5) name(DTMF_6) name(DTMF_7) name(DTMF_8)            \
    name(DTMF_9) name(DTMF_0) name(DTMF_STAR) name(DTMF_SQUARE) name(DTMF_A) name(DTMF_B) name(DTMF_C) name(DTMF_D)

/// 4025 to 4280: each outcome of a call, once for each detector that may have judged it.
#define CORVANA_ANNOTATION_OUTCOMES(name)                                                                              \
    name(HUMAN) name(MACHINE) name(FAX) name(BUSY) name(REORDER) name(NUMBER_UNOBTAINABLE) name(SIT) name(SIT_NC)      \
    name(SIT_IC) name(SIT_VC) name(SIT_RO) name(SIT_UNKNOWN) name(NO_ANSWER) name(UNKNOWN) name(DROPPED) name(EOM)     \
    CORVANA_ANNOTATION_KEYS(name)

/// The detectors' types of one outcome, the fastest-varying part of the value.
#define CORVANA_ANNOTATION_DETECTORS(name, outcome)                                                                    \
    name(CPA_##outcome) name(DIALOGIC_##outcome) name(CORVANA_##outcome) name(TEST1_##outcome) name(TEST2_##outcome)   \
    name(TEST3_##outcome) name(TEST4_##outcome) name(TEST5_##outcome)

/// 4281 to 4290: what engines report besides.
#define CORVANA_ANNOTATION_EVENTS(name)                                                                                \
    name(RINGBACK) name(EAMD_BEEP) name(EAMD_SILENCE) name(DIALOGIC_CONNECTED) name(DIALOGIC_EAMD_BEEP)                \
    name(DIALOGIC_EAMD_SILENCE) name(DIALOGIC_PSTN_HANGUP) name(DIALOGIC_SIP_HANGUP) name(CONNECTED) name(OTHER)

/// 1 to 4000: class numbers that other tools assign; the names from 10 on, put together digit by digit.
#define CORVANA_ANNOTATION_DIGITS(name, prefix)                                                                        \
    name(prefix##0) name(prefix##1) name(prefix##2) name(prefix##3) name(prefix##4) name(prefix##5) name(prefix##6)    \
    name(prefix##7) name(prefix##8) name(prefix##9)
#define CORVANA_ANNOTATION_TENS(name, prefix)                                                                          \
    CORVANA_ANNOTATION_DIGITS(name, prefix##0) CORVANA_ANNOTATION_DIGITS(name, prefix##1)                              \
    CORVANA_ANNOTATION_DIGITS(name, prefix##2) CORVANA_ANNOTATION_DIGITS(name, prefix##3)                              \
    CORVANA_ANNOTATION_DIGITS(name, prefix##4) CORVANA_ANNOTATION_DIGITS(name, prefix##5)                              \
    CORVANA_ANNOTATION_DIGITS(name, prefix##6) CORVANA_ANNOTATION_DIGITS(name, prefix##7)                              \
    CORVANA_ANNOTATION_DIGITS(name, prefix##8) CORVANA_ANNOTATION_DIGITS(name, prefix##9)
#define CORVANA_ANNOTATION_HUNDREDS(name, prefix)                                                                      \
    CORVANA_ANNOTATION_TENS(name, prefix##0) CORVANA_ANNOTATION_TENS(name, prefix##1)                                  \
    CORVANA_ANNOTATION_TENS(name, prefix##2) CORVANA_ANNOTATION_TENS(name, prefix##3)                                  \
    CORVANA_ANNOTATION_TENS(name, prefix##4) CORVANA_ANNOTATION_TENS(name, prefix##5)                                  \
    CORVANA_ANNOTATION_TENS(name, prefix##6) CORVANA_ANNOTATION_TENS(name, prefix##7)                                  \
    CORVANA_ANNOTATION_TENS(name, prefix##8) CORVANA_ANNOTATION_TENS(name, prefix##9)
#define CORVANA_ANNOTATION_TWO_DIGITS(name)                                                                            \
    CORVANA_ANNOTATION_DIGITS(name, SF_1) CORVANA_ANNOTATION_DIGITS(name, SF_2) CORVANA_ANNOTATION_DIGITS(name, SF_3)  \
    CORVANA_ANNOTATION_DIGITS(name, SF_4) CORVANA_ANNOTATION_DIGITS(name, SF_5) CORVANA_ANNOTATION_DIGITS(name, SF_6)  \
    CORVANA_ANNOTATION_DIGITS(name, SF_7) CORVANA_ANNOTATION_DIGITS(name, SF_8) CORVANA_ANNOTATION_DIGITS(name, SF_9)
#define CORVANA_ANNOTATION_THREE_DIGITS(name)                                                                          \
    CORVANA_ANNOTATION_TENS(name, SF_1) CORVANA_ANNOTATION_TENS(name, SF_2) CORVANA_ANNOTATION_TENS(name, SF_3)        \
    CORVANA_ANNOTATION_TENS(name, SF_4) CORVANA_ANNOTATION_TENS(name, SF_5) CORVANA_ANNOTATION_TENS(name, SF_6)        \
    CORVANA_ANNOTATION_TENS(name, SF_7) CORVANA_ANNOTATION_TENS(name, SF_8) CORVANA_ANNOTATION_TENS(name, SF_9)
#define CORVANA_ANNOTATION_FOUR_DIGITS(name)                                                                           \
    CORVANA_ANNOTATION_HUNDREDS(name, SF_1) CORVANA_ANNOTATION_HUNDREDS(name, SF_2)                                    \
    CORVANA_ANNOTATION_HUNDREDS(name, SF_3) name(SF_4000)
// clang-format on
