// SPDX-License-Identifier: Apache-2.0
#include "tools/AnnotationEdit.h"

#include "corvana/AudioAtomicFileEdit.h"
#include "corvana/NumberText.h"
#include "tools/ExitCode.h"
#include "tools/OutputFile.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/Termination.h"
#include "tools/Text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace Corvana::Tools {
namespace {

using Audio::AnnotatedFile;
using Audio::AtomicFileEdit;
using Annotation = AnnotationEdit::Annotation;
using Regions = AnnotationEdit::Regions;

bool isSame(const Annotation& in_left, const Annotation& in_right)
{
    return in_left.m_type == in_right.m_type && in_left.m_dStartTime == in_right.m_dStartTime &&
           in_left.m_dStopTime == in_right.m_dStopTime;
}

bool isSame(const Regions& in_vLeft, const Regions& in_vRight)
{
    return std::equal(in_vLeft.begin(), in_vLeft.end(), in_vRight.begin(), in_vRight.end(),
                      [](const Annotation& in_left, const Annotation& in_right) { return isSame(in_left, in_right); });
}

// Why no reader would accept these regions.
std::string regionsFault(const Regions& in_vRegions)
{
    if (in_vRegions.size() > AnnotatedFile::s_uiMaxCueId)
        return "would have " + std::to_string(in_vRegions.size()) + " regions; " +
               std::to_string(AnnotatedFile::s_uiMaxCueId) + " are the most that readers accept";
    for (std::size_t uiIndex = 0; uiIndex < in_vRegions.size(); ++uiIndex)
        if (!isRegionType(in_vRegions[uiIndex].m_type))
            return "region " + std::to_string(uiIndex) + " has no type (the file skips cue point " +
                   std::to_string(uiIndex + 1) +
                   "), and no reader would accept what is written for it; 'corvana annotations check --fix' removes "
                   "such gaps";
    return {};
}

// The messages of the library end with the name of the file that it works on, which is the copy.
std::string withoutFileName(std::string in_strText, const std::string& in_strFile)
{
    const std::string strName = printable(in_strFile);
    for (const std::string& strEnd : {" : " + strName, ": " + strName})
        for (std::size_t uiPos = in_strText.find(strEnd); uiPos != std::string::npos; uiPos = in_strText.find(strEnd))
            in_strText.erase(uiPos, strEnd.size());
    return in_strText;
}

std::string faultOf(const AtomicFileEdit& in_edit, const std::string& in_strPath)
{
    std::string strFault = in_edit.getFault();
    if (strFault.ends_with(" : " + in_strPath))
        strFault.resize(strFault.size() - in_strPath.size() - 3);
    return printable(strFault);
}

// With the rights that writing would have; access() would ask for those of whoever started the program.
bool isAllowed(const std::string& in_strPath, int in_iMode)
{
    return faccessat(AT_FDCWD, in_strPath.c_str(), in_iMode, AT_EACCESS) == 0;
}

// What an edit would complain about, as far as it can be found out without one.
std::string writingFault(const std::string& in_strPath)
{
    std::error_code error;
    const std::string strTarget = std::filesystem::canonical(in_strPath, error);
    const std::string strFolder = std::filesystem::path(strTarget).parent_path();
    struct stat status = {};
    if (error || stat(strTarget.c_str(), &status) != 0 || !isAllowed(strTarget, W_OK))
        return std::string("could not be written, ") + (error ? error.message() : std::strerror(errno));
    if (!S_ISREG(status.st_mode))
        return "is no regular file";
    if (status.st_nlink > 1)
        return "has " + std::to_string(status.st_nlink) + " names (hard links), of which one would go on alone";
    if (!isAllowed(strFolder, W_OK | X_OK))
        return std::string("its folder could not be written, ") + std::strerror(errno);
    return {};
}

// Whether the file can be as large as its regions make it; if not, the log says so. Leaves chunks of the right sizes in
// it, at whatever places.
bool fitsFile(AnnotatedFile& inout_file)
{
    IFF::Chunk::List* pList = inout_file.clearAnnotations();
    IFF::Chunk list(IFF::Chunk::makeId("LIST"));
    IFF::Chunk cue(IFF::Chunk::makeId("cue "));
    IFF::Chunk::List& target = pList != nullptr ? *pList : list.m_children;
    std::uint32_t uiCueId = 0;
    for (const Annotation& region : inout_file.annotations()) {
        IFF::Chunk& point = cue.m_children.emplace_back(IFF::Chunk::makeId("cuep"));
        IFF::Chunk& text = target.emplace_back(IFF::Chunk::makeId("ltxt"));
        IFF::Chunk& label = target.emplace_back(IFF::Chunk::makeId("labl"));
        inout_file.createAnnotation(region, ++uiCueId, point, text, label);
    }
    IFF::Chunk::List& form = inout_file.parser().root().m_children;
    if (uiCueId > 0)
        form.push_back(std::move(cue));
    if (uiCueId > 0 && pList == nullptr)
        form.push_back(std::move(list));
    return inout_file.parser().fitsFile();
}

double sampleOf(double in_dSeconds, const AnnotatedFile& in_file)
{
    return std::floor(in_dSeconds * in_file.getSampleRate() + 0.5);
}

std::string endFault(const Annotation& in_region, const AnnotatedFile& in_file)
{
    return "the region " + regionTypeText(in_region.m_type) + " from " + toShortestText(in_region.m_dStartTime) +
           " to " + toShortestText(in_region.m_dStopTime) + " s reaches beyond the end of the audio at " +
           toShortestText(secondsOf(in_file)) + " s; --clip cuts it there";
}

bool isNear(double in_dWanted, double in_dFound, const AnnotatedFile& in_file)
{
    return std::fabs(std::min(in_dWanted, secondsOf(in_file)) - in_dFound) * in_file.getSampleRate() <= 1.0;
}

} // namespace

AnnotationEdit::AnnotationEdit(const AnnotationEditOptions& in_options, std::ostream& out_data,
                               std::ostream& out_messages)
    : m_options(in_options)
    , m_data(out_data)
    , m_messages(out_messages, in_options.m_messages.m_bQuiet)
    , m_log(m_messages, in_options.m_messages.m_iLogLevel)
{
}

bool AnnotationEdit::hasFiles()
{
    if (!m_options.m_vFiles.empty() || !m_options.m_vLists.empty())
        return true;
    m_messages.error("no recording given: name at least one, or a list of them with --list FILE");
    return false;
}

std::vector<Input> AnnotationEdit::collectFiles()
{
    return collectInputs(m_options.m_vFiles, m_options.m_vLists, m_options.m_folders, m_log, m_messages);
}

int AnnotationEdit::run(const std::vector<Input>& in_vFiles, const Change& in_change)
{
    if (!m_options.m_strSaveNotes.empty() && !saveAllNotes(in_vFiles))
        return EXIT_UNUSABLE;
    unsigned long uiNbOfFailures = 0;
    for (const Input& file : in_vFiles) {
        std::string strResult;
        const std::string strFault =
            file.m_strFault.empty() ? process(file.m_strPath, in_change, strResult) : file.m_strFault;
        if (!strFault.empty()) {
            m_messages.inputError(file.m_strPath, strFault);
            ++uiNbOfFailures;
        } else if (!writeResult(file.m_strPath, strResult)) {
            return EXIT_UNUSABLE; // nobody would learn what is done to the others
        }
    }
    if (uiNbOfFailures > 0 && in_vFiles.size() > 1)
        m_messages.note(std::to_string(uiNbOfFailures) + " of " + counted(in_vFiles.size(), "file") + " failed");
    return uiNbOfFailures == 0 ? EXIT_DONE : EXIT_SOME_FAILED;
}

// Each line is handed out at once: it tells what is done, whatever comes afterwards.
bool AnnotationEdit::writeResult(const std::string& in_strPath, const std::string& in_strResult)
{
    m_data << printable(in_strPath) + ": " + in_strResult + (m_options.m_bDryRun ? " (dry run)\n" : "\n") << std::flush;
    if (m_data.good())
        return true;
    const std::string strFault = OutputFile(m_data).getFault();
    if (!strFault.empty())
        m_messages.error("cannot write: " + strFault);
    return false;
}

AnnotationEdit::Outcome AnnotationEdit::append(const AnnotatedFile& in_file, const Regions& in_vAdded,
                                               const char* in_szDone, Regions& inout_vRegions) const
{
    const double dRate = in_file.getSampleRate();
    const double dEnd = in_file.getNbOfSamples();
    unsigned long uiNbOfAdded = 0;
    unsigned long uiNbOfCut = 0;
    for (const Annotation& region : in_vAdded) {
        const double dStart = sampleOf(region.m_dStartTime, in_file);
        const double dStop = sampleOf(region.m_dStopTime, in_file);
        if (dStop > dEnd && !m_options.m_bClip)
            return {{}, endFault(region, in_file)};
        if (dStop > dEnd && dStart >= dEnd)
            continue;
        inout_vRegions.emplace_back(region.m_type, dStart / dRate, std::min(dStop, dEnd) / dRate);
        uiNbOfCut += dStop > dEnd ? 1 : 0;
        ++uiNbOfAdded;
    }
    std::string strDone = std::to_string(uiNbOfAdded) + " " + in_szDone;
    if (uiNbOfCut > 0)
        strDone += ", " + std::to_string(uiNbOfCut) + " of them cut at the end";
    if (uiNbOfAdded < in_vAdded.size())
        strDone += ", " + std::to_string(in_vAdded.size() - uiNbOfAdded) + " beyond the end left out";
    return {strDone, {}};
}

// Before the first file is changed, so that no note is gone before it is kept.
bool AnnotationEdit::saveAllNotes(const std::vector<Input>& in_vFiles)
{
    std::vector<std::string> vRead = m_options.m_vLists;
    for (const Input& file : in_vFiles) {
        vRead.push_back(file.m_strPath);
        m_log.beginInput(file.m_strPath);
        AnnotatedFile recording;
        // What cannot be read will be told, and left alone, when its turn comes.
        if (file.m_strFault.empty() && readRegionsOf(file.m_strPath, recording, m_log).empty()) {
            RegionNotes vNotes = notesIn(recording);
            if (!vNotes.empty())
                m_savedNotes[file.m_strPath] = std::move(vNotes);
        }
        m_log.takeErrors();
    }
    if (m_savedNotes.empty() || m_options.m_bDryRun)
        return true;
    const std::string strFault = saveNotes(m_options.m_strSaveNotes, m_savedNotes, vRead);
    if (!strFault.empty())
        m_messages.error("cannot write: " + strFault);
    return strFault.empty();
}

void AnnotationEdit::tellNotes(const std::string& in_strPath, const RegionNotes& in_vNotes)
{
    constexpr std::size_t uiMaxNotes = 100;
    constexpr std::size_t uiMaxLength = 1000;
    if (!m_options.m_strSaveNotes.empty()) {
        if (!in_vNotes.empty())
            m_messages.note(printable(in_strPath) + ": " + counted(in_vNotes.size(), "note") +
                            (m_options.m_bDryRun ? " would move to " : " moved to ") +
                            printable(m_options.m_strSaveNotes));
        return;
    }
    const std::string strWhat = m_options.m_bDryRun ? "would lose the note " : "loses the note ";
    for (std::size_t uiNote = 0; uiNote < std::min(in_vNotes.size(), uiMaxNotes); ++uiNote) {
        const RegionNote& note = in_vNotes[uiNote];
        const bool bLong = note.m_strText.size() > uiMaxLength;
        const std::string strText = inQuotes(note.m_strText.substr(0, uiMaxLength)) + (bLong ? "..." : "");
        m_messages.inputWarning(in_strPath, strWhat + strText + " of cue point " + std::to_string(note.m_uiCueId) +
                                                "; --save-notes FILE keeps notes");
    }
    if (in_vNotes.size() > uiMaxNotes)
        m_messages.inputWarning(in_strPath,
                                strWhat + "texts of " + std::to_string(in_vNotes.size() - uiMaxNotes) + " more");
}

std::string AnnotationEdit::process(const std::string& in_strPath, const Change& in_change, std::string& out_strResult)
{
    m_log.beginInput(in_strPath);
    std::string strFault;
    try {
        strFault = m_options.m_bDryRun ? tryOut(in_strPath, in_change, out_strResult)
                                       : edit(in_strPath, in_change, out_strResult);
    } catch (const std::bad_alloc&) {
        strFault = "not enough memory to edit it";
    }
    if (strFault.empty())
        m_log.endInput();
    else
        m_log.takeErrors(); // the fault tells what matters
    return strFault;
}

std::string AnnotationEdit::tryOut(const std::string& in_strPath, const Change& in_change, std::string& out_strResult)
{
    AnnotatedFile file;
    bool bChanged = false;
    std::string strFault = apply(in_strPath, in_strPath, in_change, file, out_strResult, bChanged);
    if (!strFault.empty() || !bChanged)
        return strFault;
    strFault = writingFault(in_strPath);
    return strFault.empty() && !fitsFile(file) ? m_log.takeErrors() : strFault;
}

// Spares a copy of the whole recording. What has to be changed is looked at again once nobody else can change it.
bool AnnotationEdit::needsNoEdit(const std::string& in_strPath, const Change& in_change, std::string& out_strResult,
                                 std::string& out_strFault)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(in_strPath, error)) // nobody may ever write into a pipe
        return false;
    AnnotatedFile file;
    bool bChanged = false;
    out_strFault = change(in_strPath, in_strPath, in_change, file, out_strResult, bChanged);
    if (out_strFault.empty() && !bChanged)
        return true;
    m_log.beginAgain();
    return false;
}

std::string AnnotationEdit::edit(const std::string& in_strPath, const Change& in_change, std::string& out_strResult)
{
    if (in_strPath == "-")
        return "files can be edited, standard input cannot";
    std::string strFault;
    if (!m_options.m_bInterop && needsNoEdit(in_strPath, in_change, out_strResult, strFault))
        return {};
    AtomicFileEdit edit(in_strPath.c_str(), [](const char* in_szFile) { Termination::setTemporaryFile(in_szFile); });
    if (!edit.isOpen())
        return faultOf(edit, in_strPath);
    // A recording that could not be read once is not changed, even if it can be read the next time.
    if (!strFault.empty())
        return strFault;
    const std::string strCopy = edit.workingFileName();
    AnnotatedFile file;
    bool bChanged = false;
    strFault = apply(in_strPath, strCopy, in_change, file, out_strResult, bChanged);
    if (!strFault.empty() || !bChanged)
        return strFault;
    strFault = write(strCopy, file);
    if (!strFault.empty())
        return withoutFileName(strFault, strCopy);
    return edit.commit() ? std::string() : faultOf(edit, in_strPath);
}

// Reads the regions of in_strFile, which is the recording at in_strPath or its copy, and changes them in memory.
std::string AnnotationEdit::change(const std::string& in_strPath, const std::string& in_strFile,
                                   const Change& in_change, AnnotatedFile& out_file, std::string& out_strResult,
                                   bool& out_bChanged)
{
    const std::string strFault = readRegionsOf(in_strFile, out_file, m_log);
    if (!strFault.empty())
        return strFault;
    const Regions vFormer = out_file.annotations();
    const Outcome outcome = in_change(in_strPath, out_file, out_file.annotations());
    if (!outcome.m_strFault.empty())
        return outcome.m_strFault;
    out_strResult = counted(out_file.annotations().size(), "region") + ", " + outcome.m_strDone;
    out_bChanged = m_options.m_bInterop || !isSame(vFormer, out_file.annotations());
    return {};
}

// Changes the regions in memory, and makes them such that they can be written.
std::string AnnotationEdit::apply(const std::string& in_strPath, const std::string& in_strFile, const Change& in_change,
                                  AnnotatedFile& out_file, std::string& out_strResult, bool& out_bChanged)
{
    std::string strFault = change(in_strPath, in_strFile, in_change, out_file, out_strResult, out_bChanged);
    if (!strFault.empty() || !out_bChanged)
        return strFault; // and whatever is odd about an unchanged file stays as it is
    strFault = regionsFault(out_file.annotations());
    const RegionNotes vNotes = notesIn(out_file);
    if (strFault.empty())
        strFault = checkNotes(in_strPath, vNotes);
    if (!strFault.empty())
        return strFault;
    tellNotes(in_strPath, vNotes);
    const unsigned long uiNbOfShort = nbOfShortNotes(out_file);
    if (uiNbOfShort > 0)
        m_messages.inputWarning(in_strPath, (m_options.m_bDryRun ? "would lose " : "loses ") +
                                                counted(uiNbOfShort, "note") + " too short to name a cue point");
    cutAtEnd(in_strPath, out_file);
    return {};
}

// What a file holds may reach beyond its audio, up to where samples have no number. Written as it is, such a region
// would be another one.
void AnnotationEdit::cutAtEnd(const std::string& in_strPath, AnnotatedFile& inout_file)
{
    unsigned long uiNbOfCut = 0;
    for (Annotation& region : inout_file.annotations()) {
        const double dEnd = inout_file.getNbOfSamples();
        const bool bStart = sampleOf(region.m_dStartTime, inout_file) > dEnd;
        const bool bStop = sampleOf(region.m_dStopTime, inout_file) > dEnd;
        if (bStart)
            region.m_dStartTime = secondsOf(inout_file);
        if (bStop)
            region.m_dStopTime = secondsOf(inout_file);
        uiNbOfCut += bStart || bStop ? 1 : 0;
    }
    if (uiNbOfCut > 0)
        m_messages.inputWarning(in_strPath, counted(uiNbOfCut, "region") + (uiNbOfCut == 1 ? " reaches" : " reach") +
                                                " beyond the end of the audio at " +
                                                toShortestText(secondsOf(inout_file)) + " s; " +
                                                (m_options.m_bDryRun ? "would be cut there" : "cut there"));
}

std::string AnnotationEdit::checkNotes(const std::string& in_strPath, const RegionNotes& in_vNotes) const
{
    const auto itSaved = m_savedNotes.find(in_strPath);
    const bool bSaved = itSaved == m_savedNotes.end() ? in_vNotes.empty() : itSaved->second == in_vNotes;
    return m_options.m_strSaveNotes.empty() || bSaved ? "" : "another program changed its notes meanwhile";
}

std::string AnnotationEdit::write(const std::string& in_strFile, AnnotatedFile& inout_file)
{
    const Regions vWanted = inout_file.annotations();
    inout_file.setLabelOrder(m_options.m_bInterop ? AnnotatedFile::LABELS_FIRST : AnnotatedFile::AS_PAIRS);
    errno = 0;
    if (inout_file.updateFile(in_strFile.c_str())) {
        inout_file = AnnotatedFile(); // what is read back may be as large
        return checkReadBack(in_strFile, vWanted);
    }
    const int iError = errno;
    const std::string strReason = m_log.takeErrors();
    return iError == 0 ? strReason : strReason + " (" + std::strerror(iError) + ")";
}

// Nothing takes the place of a recording that would not be read the way it was meant.
std::string AnnotationEdit::checkReadBack(const std::string& in_strFile, const Regions& in_vWanted)
{
    AnnotatedFile found;
    const std::string strFault = readRegionsOf(in_strFile, found, m_log);
    if (!strFault.empty())
        return "what would be written could not be read again: " + strFault;
    const Regions& vFound = found.annotations();
    const auto isAsWanted = [&](const Annotation& in_wanted, const Annotation& in_found) {
        return in_wanted.m_type == in_found.m_type && isNear(in_wanted.m_dStartTime, in_found.m_dStartTime, found) &&
               isNear(in_wanted.m_dStopTime, in_found.m_dStopTime, found);
    };
    if (std::equal(in_vWanted.begin(), in_vWanted.end(), vFound.begin(), vFound.end(), isAsWanted))
        return {};
    return "what would be written reads as " + counted(vFound.size(), "region") + " unlike the " +
           std::to_string(in_vWanted.size()) + " that were meant";
}

} // namespace Corvana::Tools
