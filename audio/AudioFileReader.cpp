// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFileReader.h"

#include "AudioMaskedFile.h"
#include "corvana/Assertion.h"

#include <sndfile.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <ostream>
#include <shared_mutex>
#include <string_view>
#include <sys/stat.h>
#include <utility>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.AudioFileReader")

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition openFailed{"AudioFileReader", 99};
constexpr SourcePosition formatCode{"AudioFileReader", 106};
constexpr SourcePosition notMono{"AudioFileReader", 110};
constexpr SourcePosition rewindByReopening{"AudioFileReader", 147};
constexpr SourcePosition seekFailed{"AudioFileReader", 177};
constexpr SourcePosition lastChunk{"AudioFileReader", 202};
constexpr SourcePosition endOfFile{"AudioFileReader", 214};
constexpr SourcePosition gotoStartFailed{"AudioFileReader", 244};
} // namespace at

// Full scale, less the rounding of the encoding: from here on a sample counts as clipped.
constexpr double s_dClippingUlaw = 0.980347;
constexpr double s_dClippingAlaw = 0.984375;
constexpr double s_dClippingLinear = 0.999969;

constexpr std::size_t s_uiMaxErrorLength = 2048;

// What a reader holds of a file.
struct OpenFile
{
    OpenFile() = default;
    ~OpenFile() { sf_close(m_pSoundFile); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    std::unique_ptr<MaskedFile> m_pMasked; // what libsndfile reads, when that is not the file itself
    SNDFILE* m_pSoundFile = nullptr;
};

OpenFile* toOpenFile(void* in_pFile)
{
    return static_cast<OpenFile*>(in_pFile);
}

SNDFILE* toSoundFile(void* in_pFile)
{
    return in_pFile == nullptr ? nullptr : toOpenFile(in_pFile)->m_pSoundFile;
}

// Why the system could not read since the last call; empty: it could.
std::string takeSystemError(OpenFile& inout_file)
{
    if (sf_error(inout_file.m_pSoundFile) == SF_ERR_SYSTEM)
        return sf_strerror(inout_file.m_pSoundFile);
    const int iError = inout_file.m_pMasked == nullptr ? 0 : inout_file.m_pMasked->takeError();
    return iError == 0 ? "" : std::strerror(iError);
}

std::string lastOpenError()
{
    char acError[s_uiMaxErrorLength] = {};
    sf_error_str(nullptr, acError, sizeof acError);
    return acError;
}

// libsndfile keeps the reason of a failed opening in one place for all threads, and each opening clears it: nothing may
// be opened between a failure and the question for its reason.
std::shared_timed_mutex& openings()
{
    static std::shared_timed_mutex s_openings;
    return s_openings;
}

std::unique_ptr<OpenFile> openToRead(const char* in_szFileName, SF_INFO& out_info, std::string& out_strError)
{
    out_info = {};
    auto pFile = std::make_unique<OpenFile>();
    pFile->m_pMasked = MaskedFile::openWhereNeeded(in_szFileName);
    pFile->m_pSoundFile =
        pFile->m_pMasked == nullptr ? sf_open(in_szFileName, SFM_READ, &out_info) : pFile->m_pMasked->open(out_info);
    if (pFile->m_pSoundFile != nullptr)
        return pFile;
    out_strError = lastOpenError();
    return nullptr;
}

bool isRegularFile(const char* in_szFileName)
{
    struct stat status = {};
    return stat(in_szFileName, &status) != 0 || S_ISREG(status.st_mode);
}

// Many files at a time, and one that fails once more, alone. What can be read only once is not opened again; its
// reason, and that of a file while another thread waits for a pipe's writer, may be another's.
std::unique_ptr<OpenFile> openAmongOthers(const char* in_szFileName, SF_INFO& out_info, std::string& out_strError)
{
    constexpr std::chrono::seconds patience(1);
    {
        const std::shared_lock<std::shared_timed_mutex> lock(openings());
        std::unique_ptr<OpenFile> pFile = openToRead(in_szFileName, out_info, out_strError);
        if (pFile != nullptr || in_szFileName == std::string_view("-"))
            return pFile;
    }
    if (!isRegularFile(in_szFileName))
        return nullptr;
    const std::unique_lock<std::shared_timed_mutex> lock(openings(), patience);
    return lock.owns_lock() ? openToRead(in_szFileName, out_info, out_strError) : nullptr;
}

// What libsndfile says ends with a full stop.
std::string withoutFullStop(std::string in_strText)
{
    if (in_strText.ends_with('.'))
        in_strText.pop_back();
    return in_strText;
}

// The frame nearest to a time; false when no file can have it (negative, not a number, beyond 63 bits).
bool toFrame(double in_dSeconds, unsigned long in_uiSampleRate, unsigned long& out_uiFrame)
{
    const double dFrame = in_dSeconds * static_cast<double>(in_uiSampleRate) + 0.5;
    if (!(in_dSeconds >= 0.0 && dFrame < 0x1p63))
        return false;
    out_uiFrame = static_cast<unsigned long>(dFrame);
    return true;
}

const char* formatName(SNDFILE* in_pFile, int in_iFormat, SF_FORMAT_INFO& out_info)
{
    out_info = {};
    out_info.format = in_iFormat;
    sf_command(in_pFile, SFC_GET_FORMAT_INFO, &out_info, sizeof out_info);
    return out_info.name == nullptr ? "" : out_info.name;
}

unsigned long nbOfFrames(sf_count_t in_iNbRead)
{
    return in_iNbRead > 0 ? static_cast<unsigned long>(in_iNbRead) : 0;
}

// Whether the file holds samples as this processor has them, or with their bytes swapped. libsndfile reads these
// straight to where they are wanted, and would convert them in small portions otherwise.
bool isInShorts(int in_iFormat)
{
    const int iContainer = in_iFormat & SF_FORMAT_TYPEMASK;
    return (in_iFormat & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_16 &&
           (iContainer == SF_FORMAT_WAV || iContainer == SF_FORMAT_WAVEX || iContainer == SF_FORMAT_AIFF ||
            iContainer == SF_FORMAT_AU);
}

// Sets a value back when a scope is left in any way.
template <class T>
class Restorer
{
public:
    explicit Restorer(T& inout_value)
        : m_value(inout_value)
        , m_saved(inout_value)
    {
    }
    ~Restorer() { m_value = m_saved; }
    Restorer(const Restorer&) = delete;
    Restorer& operator=(const Restorer&) = delete;

private:
    T& m_value;
    T m_saved;
};

} // namespace

void AudioFileReader::SoundFileCloser::operator()(void* in_pFile) const
{
    delete toOpenFile(in_pFile);
}

AudioFileReader::AudioFileReader()
{
    setLogger(fileScopeLogger());
    CORVANA_TRACE_SCOPE(getLogger(), "AudioFileReader ctor");
}

AudioFileReader::~AudioFileReader() = default;

bool AudioFileReader::setNbOfFramesToRead(unsigned long in_uiNbOfFrames)
{
    CORVANA_TRACE_SCOPE(getLogger(), "AudioFileReader::setNbOfFramesToRead");

    m_uiNbOfFramesToRead = in_uiNbOfFrames;
    return true;
}

void AudioFileReader::startAt(unsigned long in_uiFrame)
{
    m_bAtEnd = false;
    m_bReadError = false;
    // Not filled: no more of it is handed out than has been read.
    m_vReadBuffer.resize(m_uiNbOfFramesToRead);
    m_uiFramePosition = in_uiFrame;
    m_dCurrentTime = static_cast<double>(in_uiFrame) * m_dSecondsPerFrame;
}

bool AudioFileReader::setSourceAudioFile(const char* in_szFileName)
{
    CORVANA_TRACE_SCOPE(getLogger(), "AudioFileReader::setSourceAudioFile");

    m_pFile.reset();
    m_bAtEnd = false;
    m_bReadError = false;
    if (in_szFileName == nullptr) {
        CORVANA_LOG_ERROR_AT(at::openFailed, getLogger(), "failed to open , no file name given");
        return false;
    }

    SF_INFO info = {};
    // Becomes ours at the end, so that neither a failure nor an exception leaves a file open.
    std::string strError;
    std::unique_ptr<void, SoundFileCloser> pFile(openAmongOthers(in_szFileName, info, strError).release());
    if (pFile == nullptr) {
        CORVANA_LOG_ERROR_AT(at::openFailed, getLogger(), "failed to open " << in_szFileName << ", " << strError);
        return false;
    }
    // Where the system fails in the middle of a header, libsndfile goes on with zeros.
    strError = takeSystemError(*toOpenFile(pFile.get()));
    if (!strError.empty()) {
        CORVANA_LOG_ERROR_AT(at::openFailed, getLogger(), "failed to open " << in_szFileName << ", " << strError);
        return false;
    }
    m_iFormat = info.format;
    m_bInShorts = isInShorts(info.format);
    CORVANA_LOG_DEBUG_AT(at::formatCode, getLogger(),
                         in_szFileName << " : sfInfo.format=0x" << std::hex << info.format);
    if (info.channels != 1) {
        CORVANA_LOG_ERROR_AT(at::notMono, getLogger(), "Audio file is not mono (more than 1 channel)");
        return false;
    }
    m_strFileName = in_szFileName;
    m_uiSampleRate = static_cast<unsigned long>(info.samplerate);
    m_uiNbOfFrames = static_cast<unsigned long>(info.frames);
    m_dSecondsPerFrame = 1.0 / static_cast<double>(m_uiSampleRate);
    startAt(0);
    m_pFile = std::move(pFile);
    return true;
}

bool AudioFileReader::getNextLinearFrames(Math::DoubleVector& out_vFrames)
{
    CORVANA_TRACE_SCOPE(getLogger(), "AudioFileReader::getNextLinearFrames");

    out_vFrames.clear();
    if (m_bAtEnd) {
        CORVANA_LOG_DEBUG_AT(at::endOfFile, getLogger(), "End of file reached");
        return false;
    }
    m_vReadBuffer.resize(m_uiNbOfFramesToRead);
    out_vFrames.reserve(m_uiNbOfFramesToRead); // becomes the read buffer
    const unsigned long uiNbRead = read();
    checkRead();
    if (uiNbRead == 0 || uiNbRead < m_uiNbOfFramesToRead) {
        CORVANA_LOG_DEBUG_AT(at::lastChunk, getLogger(), "Last chunk of audio read, end of file reached");
        m_bAtEnd = true;
        m_vReadBuffer.resize(uiNbRead);
    }
    m_uiFramePosition += uiNbRead;
    m_dCurrentTime += static_cast<double>(uiNbRead) * m_dSecondsPerFrame;
    out_vFrames.swap(m_vReadBuffer);
    return true;
}

unsigned long AudioFileReader::read()
{
    const auto iNbOfFrames = static_cast<sf_count_t>(m_uiNbOfFramesToRead);
    if (!m_bInShorts)
        return nbOfFrames(sf_read_double(toSoundFile(m_pFile.get()), m_vReadBuffer.data(), iNbOfFrames));
    return readShorts();
}

// A piece at a time: a chunk may be long, and its shorts need not lie anywhere as a whole.
unsigned long AudioFileReader::readShorts()
{
    constexpr unsigned long uiMaxPiece = 16384;
    constexpr double dFullScale = 0x1p-15; // a power of two: the products are exact
    m_vShorts.resize(std::min(m_uiNbOfFramesToRead, uiMaxPiece));
    unsigned long uiNbRead = 0;
    for (bool bMore = true; bMore && uiNbRead < m_uiNbOfFramesToRead;) {
        const unsigned long uiWanted = std::min(m_uiNbOfFramesToRead - uiNbRead, uiMaxPiece);
        const unsigned long uiPiece =
            nbOfFrames(sf_read_short(toSoundFile(m_pFile.get()), m_vShorts.data(), static_cast<sf_count_t>(uiWanted)));
        for (unsigned long uiFrame = 0; uiFrame < uiPiece; ++uiFrame)
            m_vReadBuffer[uiNbRead + uiFrame] = static_cast<double>(m_vShorts[uiFrame]) * dFullScale;
        uiNbRead += uiPiece;
        bMore = uiPiece == uiWanted;
    }
    return uiNbRead;
}

// libsndfile hands out what it has, as at the end of a file, and forgets the error with the next call. One that it
// remembers from elsewhere is no concern of a reader without a file.
void AudioFileReader::checkRead()
{
    if (m_bReadError || m_pFile == nullptr)
        return;
    const std::string strError = takeSystemError(*toOpenFile(m_pFile.get()));
    if (strError.empty())
        return;
    m_bReadError = true;
    CORVANA_LOG_ERROR(getLogger(), "Could not read on, " << withoutFullStop(strError) << " : " << m_strFileName);
}

bool AudioFileReader::gotoStart()
{
    if (sf_seek(toSoundFile(m_pFile.get()), 0, SEEK_SET) == -1) {
        CORVANA_LOG_WARN_AT(at::rewindByReopening, getLogger(),
                            "Audio file is not seekable, will need to close and then open the file to rewind it");
        const std::string strFileName = m_strFileName; // opening assigns the member
        return setSourceAudioFile(strFileName.c_str());
    }
    startAt(0);
    return true;
}

bool AudioFileReader::gotoAudioTime(double in_dSeconds)
{
    unsigned long uiFrame = 0;
    if (!toFrame(in_dSeconds, m_uiSampleRate, uiFrame) ||
        sf_seek(toSoundFile(m_pFile.get()), static_cast<sf_count_t>(uiFrame), SEEK_SET) == -1) {
        CORVANA_LOG_ERROR_AT(at::seekFailed, getLogger(),
                             "Audio file is not seekable, gotoAudioTime() is not supported");
        return false;
    }
    startAt(uiFrame);
    return true;
}

bool AudioFileReader::getAllLinearFrames(Math::DoubleVector& out_vFrames)
{
    CORVANA_TRACE_SCOPE(getLogger(), "AudioFileReader::getAllLinearFrames");

    const Restorer<unsigned long> restoreNbOfFrames(m_uiNbOfFramesToRead);
    m_uiNbOfFramesToRead = 1024;
    // Not the virtual one: a derived class's own state is not concerned.
    if (!CORVANA_ASSERT_AT(at::gotoStartFailed, AudioFileReader::gotoStart(), "AudioFileReader::gotoStart()"))
        return false;
    Math::DoubleVector vChunk;
    while (getNextLinearFrames(vChunk))
        out_vFrames.insert(out_vFrames.end(), vChunk.begin(), vChunk.end());
    return !out_vFrames.empty();
}

double AudioFileReader::getCurrentAudioTime() const
{
    return m_dCurrentTime;
}

double AudioFileReader::getClippingValue() const
{
    switch (m_iFormat & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_ULAW:
        return s_dClippingUlaw;
    case SF_FORMAT_ALAW:
        return s_dClippingAlaw;
    default:
        return s_dClippingLinear;
    }
}

unsigned long AudioFileReader::getSampleRate() const
{
    return m_pFile == nullptr ? 0 : m_uiSampleRate;
}

unsigned long AudioFileReader::getNbOfFrames() const
{
    return m_pFile == nullptr ? 0 : m_uiNbOfFrames;
}

std::ostream& AudioFileReader::getFileInfo(std::ostream& out_stream)
{
    if (m_pFile == nullptr)
        return out_stream;
    SF_FORMAT_INFO info;
    out_stream << formatName(toSoundFile(m_pFile.get()), m_iFormat, info);
    out_stream << " (." << (info.extension == nullptr ? "" : info.extension) << ") ";
    return out_stream << formatName(toSoundFile(m_pFile.get()), m_iFormat & SF_FORMAT_SUBMASK, info);
}

} // namespace Corvana::Audio
