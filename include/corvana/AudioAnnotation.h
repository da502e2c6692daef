// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotationTypes.h"
#include "corvana/Export.h"
#include "corvana/Fallible.h"
#include "corvana/IFFParser.h"
#include "corvana/OutputStreamable.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace Corvana::IFF {
class WavFmtChunk;
} // namespace Corvana::IFF

namespace Corvana::Audio {

/// A mono WAV file in memory with its labelled regions, the annotations. They are stored in the file itself: each as
/// a cue point (where it starts), a labelled text (how long it lasts) and a label (its type); docs/wav-annotations.md
/// shows the bytes. Everything else in the file stays as it is, byte for byte.
/// Failures are logged by "kestrivon.audio.annotation". Used by one thread at a time.
class CORVANA_API AnnotatedFile
{
public:
    /// One labelled region of a recording.
    class CORVANA_API Annotation : public OutputStreamable
    {
    public:
        /// What a region stands for. The values are fixed: data sets store them.
        enum AnnotationType : std::int32_t
        {
        // clang-format off
#define CORVANA_ANNOTATION_ENUMERATOR(name) name,
#define CORVANA_ANNOTATION_ENUMERATORS(outcome) CORVANA_ANNOTATION_DETECTORS(CORVANA_ANNOTATION_ENUMERATOR, outcome)
            SF_1 = 1, SF_2, SF_3, SF_4, SF_5, SF_6, SF_7, SF_8, SF_9,
            CORVANA_ANNOTATION_TWO_DIGITS(CORVANA_ANNOTATION_ENUMERATOR)
            CORVANA_ANNOTATION_THREE_DIGITS(CORVANA_ANNOTATION_ENUMERATOR)
            CORVANA_ANNOTATION_FOUR_DIGITS(CORVANA_ANNOTATION_ENUMERATOR)
            NUMBERED_TYPES_END, ///< 4001, which is no type
            CORVANA_ANNOTATION_SOUNDS(CORVANA_ANNOTATION_ENUMERATOR)
            CORVANA_ANNOTATION_OUTCOMES(CORVANA_ANNOTATION_ENUMERATORS)
            CORVANA_ANNOTATION_EVENTS(CORVANA_ANNOTATION_ENUMERATOR)
#undef CORVANA_ANNOTATION_ENUMERATORS
#undef CORVANA_ANNOTATION_ENUMERATOR
            // clang-format on
        };

        static constexpr AnnotationType s_firstNumbered = SF_1;
        static constexpr AnnotationType s_lastNumbered = SF_4000;
        static constexpr AnnotationType s_firstNamed = FEMALE;
        static constexpr AnnotationType s_lastNamed = OTHER;

        /// Type 0, which is none, and both times 0.
        Annotation();
        Annotation(AnnotationType in_type, double in_dStartSeconds, double in_dStopSeconds);
        ~Annotation() override;
        Annotation(const Annotation&);
        Annotation& operator=(const Annotation&);

        /// The text of a type, as files hold it: "CPA_HUMAN", "SF_12"; "???AnnotatedFile_AnnotationType???" for a value
        /// that is no type. The texts of all numbered types share one buffer: copy such a text before the next call,
        /// and do not ask for one from two threads.
        static const char* getAnnotationTypeString(AnnotationType in_type);
        /// The type of a text; invalid, in silence, when it names none. Named types are found in upper and lower case;
        /// "SF_", in upper case, is followed by a number from 1 to 4000 and by anything.
        static Fallible<AnnotationType> parseAnnotationType(const char* in_szText);

        /// Such as "CPA_HUMAN start=1.5s stop=3.25s", the times in the stream's format.
        std::ostream& write(std::ostream& out_stream) const override;

        AnnotationType m_type{};
        double m_dStartTime = 0.0; ///< seconds from the beginning of the audio
        double m_dStopTime = 0.0;  ///< seconds from the beginning of the audio
    };

    /// How labels and labelled texts follow each other in the file.
    enum LabelOrder
    {
        AS_PAIRS,    ///< "ltxt", "labl", "ltxt", "labl", ...
        LABELS_FIRST ///< all "labl", then all "ltxt", behind "cue ": for readers that stop at the first "ltxt"
    };

    /// Cue identifiers above this are refused: each one below may cost an entry in the array.
    static constexpr std::uint32_t s_uiMaxCueId = 1048576;

    AnnotatedFile();
    ~AnnotatedFile();
    AnnotatedFile(const AnnotatedFile&);
    AnnotatedFile& operator=(const AnnotatedFile&);

    /// Index i is cue identifier i + 1 in a file written by this class. An identifier that a file skips is an
    /// annotation of type 0.
    std::vector<Annotation>& annotations()
    {
        return m_vAnnotations;
    }
    const std::vector<Annotation>& annotations() const
    {
        return m_vAnnotations;
    }
    /// The file's chunks.
    IFF::IFFParser& parser()
    {
        return m_parser;
    }
    /// Samples per second, once readWavProperties() succeeded.
    std::uint32_t getSampleRate() const
    {
        return m_uiSampleRate;
    }
    std::uint32_t getNbOfSamples() const
    {
        return m_uiNbOfSamples;
    }
    void setLabelOrder(LabelOrder in_order)
    {
        m_labelOrder = in_order;
    }

    /// Replaces everything by what a WAV file holds. On failure the stream's fail state is set and there are no
    /// annotations: no WAV file, a region without start, stop or label, an identifier above s_uiMaxCueId.
    std::istream& readFromWAV(std::istream& io_stream);
    /// The same without the audio, which is passed over: for looking only, such a file cannot be written.
    std::istream& readRegionsFromWAV(std::istream& io_stream);
    /// Writes the file with the present annotations, whatever regions it held before; "note" chunks go too. Regions
    /// beyond the end of the audio are cut there, with a warning. On failure the stream's fail state is set, and
    /// nothing is written unless the stream itself failed.
    std::ostream& writeToWAV(std::ostream& out_stream);

    /// Puts the present annotations into the file that readRegionsFromWAV() read, from its beginning. The audio stays
    /// where it is and is not even read, unless chunks of regions stood before it. False, logged: it failed, and the
    /// file may be half changed. Meant for the working copy of an AtomicFileEdit.
    bool updateFile(const char* in_szFile);

    /// Takes sample rate and number of samples from the chunks; false when they are missing or unusable, or when the
    /// file is not mono.
    bool readWavProperties();
    /// Encodes one annotation into three chunks, against the sample rate and number of samples. Times become samples in
    /// 64 bits, of which the lower 32 are kept; a time that is not a number counts as 0, and what 64 bits cannot hold
    /// as the nearest that they can.
    void createAnnotation(const Annotation& in_annotation, std::uint32_t in_uiCueId, IFF::Chunk& out_cuePoint,
                          IFF::Chunk& out_labeledText, IFF::Chunk& out_label) const;
    /// Removes every "cue ", "ltxt", "labl" and "note" from the chunks, and returns the list that held the last of the
    /// latter three; null when there was none. The annotations stay.
    IFF::Chunk::List* clearAnnotations();

    /// @name Operations on files
    /// Each reads its files, changes the annotations and writes the target in place: a failure while writing leaves it
    /// cut off. AtomicFileEdit gives them a copy to work on. What fails is logged, with the file's name last, before
    /// they return false. Until the target is opened for writing, it stays as it was. Not for two operations on one
    /// file at once.
    /// @{

    /// Appends one annotation.
    static bool addAnnotation(const char* in_szFile, const Annotation& in_annotation, LabelOrder in_order = AS_PAIRS);
    /// Appends all annotations of one file to those of another.
    static bool addAnnotations(const char* in_szInputFile, const char* in_szOutputFile, LabelOrder in_order = AS_PAIRS);
    /// Replaces the target's annotations by the source's.
    static bool copyAnnotations(const char* in_szSourceFile, const char* in_szTargetFile,
                                LabelOrder in_order = AS_PAIRS);
    /// Removes the annotations whose whole type text matches a regular expression in Perl syntax, in upper or lower
    /// case.
    static bool clearAnnotations(const char* in_szFile, const char* in_szPattern, LabelOrder in_order = AS_PAIRS);
    /// Removes all annotations.
    static bool clearAnnotations(const char* in_szFile);
    /// @}

private:
    std::istream& takeAnnotations(std::istream& io_stream);
    bool prepareToWrite();
    bool readFormat(IFF::WavFmtChunk& out_record);
    bool removeEmptyList(const IFF::Chunk::List& in_list);
    void appendAnnotations(IFF::Chunk::List* in_pList);
    bool updateInPlace(const char* in_szFile) const;
    bool writeToFile(const char* in_szFile, const char* in_szOpeningFault);

    std::vector<Annotation> m_vAnnotations;
    IFF::IFFParser m_parser;
    std::uint32_t m_uiSampleRate = 0;
    std::uint32_t m_uiNbOfSamples = 0;
    LabelOrder m_labelOrder = AS_PAIRS;
};

} // namespace Corvana::Audio

namespace Corvana {

/// Writes the text of a type.
CORVANA_API std::ostream& operator<<(std::ostream& out_stream,
                                     Audio::AnnotatedFile::Annotation::AnnotationType in_type);

namespace Audio {
using Corvana::operator<<;
} // namespace Audio

} // namespace Corvana
