// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/MessageOptions.h"
#include "tools/Messages.h"
#include "tools/RegionNotes.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// What all commands share that edit recordings.
struct AnnotationEditOptions
{
    std::vector<std::string> m_vFiles;
    std::vector<std::string> m_vLists; ///< files with one recording a line
    FolderOptions m_folders;
    bool m_bDryRun = false;     ///< tell what would be done, and change nothing
    bool m_bInterop = false;    ///< all names before all lengths
    bool m_bClip = false;       ///< cut regions at the end of the audio instead of refusing them
    std::string m_strSaveNotes; ///< a file for the notes that get lost; empty: none
    MessageOptions m_messages;
};

/// The one way in which commands change recordings: each as a whole or not at all, with its audio and all else but its
/// regions untouched, and only into what reads back as it was meant. Writes a line of result for each file, and a
/// message for each that failed, which is left as it was.
class AnnotationEdit
{
public:
    using Annotation = Audio::AnnotatedFile::Annotation;
    using Regions = std::vector<Annotation>;

    /// What a change made of the regions of one file.
    struct Outcome
    {
        std::string m_strDone;  ///< for the line of result, such as "1 added"
        std::string m_strFault; ///< why the file must be left alone; empty: nothing speaks against it
    };
    /// Changes the regions of a file, whose rate and length are those of in_file. Called for each file that could be
    /// read, and again before it is written, as another program may have changed the file.
    using Change = std::function<Outcome(const std::string& in_strPath, const Audio::AnnotatedFile& in_file,
                                         Regions& inout_vRegions)>;

    AnnotationEdit(const AnnotationEditOptions& in_options, std::ostream& out_data, std::ostream& out_messages);

    Messages& messages() { return m_messages; }
    LogBridge& log() { return m_log; }

    /// False, after an error: no file is named.
    bool hasFiles();
    /// The files, then those of the lists.
    std::vector<Input> collectFiles();
    /// Applies the change to each file, and returns the ExitCode of the run.
    int run(const std::vector<Input>& in_vFiles, const Change& in_change);

    /// For changes: appends regions, to the nearest sample. Those that reach beyond the end of the audio are at fault,
    /// or with --clip cut there and, when they begin behind it, left out. in_szDone is the word for the line of result:
    /// "added".
    Outcome append(const Audio::AnnotatedFile& in_file, const Regions& in_vAdded, const char* in_szDone,
                   Regions& inout_vRegions) const;

private:
    bool saveAllNotes(const std::vector<Input>& in_vFiles);
    void tellNotes(const std::string& in_strPath, const RegionNotes& in_vNotes);
    bool writeResult(const std::string& in_strPath, const std::string& in_strResult);

    std::string process(const std::string& in_strPath, const Change& in_change, std::string& out_strResult);
    std::string tryOut(const std::string& in_strPath, const Change& in_change, std::string& out_strResult);
    std::string edit(const std::string& in_strPath, const Change& in_change, std::string& out_strResult);
    bool needsNoEdit(const std::string& in_strPath, const Change& in_change, std::string& out_strResult,
                     std::string& out_strFault);
    std::string change(const std::string& in_strPath, const std::string& in_strFile, const Change& in_change,
                       Audio::AnnotatedFile& out_file, std::string& out_strResult, bool& out_bChanged);
    std::string apply(const std::string& in_strPath, const std::string& in_strFile, const Change& in_change,
                      Audio::AnnotatedFile& out_file, std::string& out_strResult, bool& out_bChanged);
    void cutAtEnd(const std::string& in_strPath, Audio::AnnotatedFile& inout_file);
    std::string checkNotes(const std::string& in_strPath, const RegionNotes& in_vNotes) const;
    /// Leaves nothing of the file in memory when it succeeds.
    std::string write(const std::string& in_strFile, Audio::AnnotatedFile& inout_file);
    std::string checkReadBack(const std::string& in_strFile, const Regions& in_vWanted);

    const AnnotationEditOptions& m_options;
    std::ostream& m_data;
    Messages m_messages;
    LogBridge m_log;
    NotesOfFiles m_savedNotes;
};

} // namespace Corvana::Tools
