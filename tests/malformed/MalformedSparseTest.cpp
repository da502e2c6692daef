// SPDX-License-Identifier: Apache-2.0
// Recordings whose sizes are at the edges of 31 and 32 bits, as sparse files: only what is labelled may be read of
// them. Editing one copies it, which takes its time and its room: with CORVANA_MALFORMED_FULL=1 only.
#include "MalformedTestHelpers.h"

#include "corvana/AudioAnnotation.h"
#include "corvana/AudioFileReader.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "tools/CommandLine.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include <unistd.h>

namespace Corvana::Test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::uint64_t s_uiGiga = std::uint64_t{1} << 30;
constexpr std::uint64_t s_uiMaxForm = 0xFFFFFFFE; // one more means that nobody knows
constexpr std::uint64_t s_uiHeads = 4 + 24 + 8;   // form type, format and the header of the audio

const std::string s_strRegions = cueChunk({cuePoint(1, 800)}) + adtlChunk(ltxtChunk(1, 4000) + lablChunk(1, "VOICE"));
constexpr const char* s_szRegions = "index,type,start,stop\n0,VOICE,0.1,0.6\n";

/// How many bytes this process has asked the system for so far; none where that is not told.
std::optional<std::uint64_t> nbOfBytesRead()
{
    std::ifstream stream("/proc/self/io");
    std::string strName;
    std::uint64_t uiBytes = 0;
    while (stream >> strName >> uiBytes)
        if (strName == "rchar:")
            return uiBytes;
    return {};
}

/// Fails the test when more than a few blocks of files have been read since this was made, or kept in memory.
class LittleRead
{
public:
    ~LittleRead()
    {
        if (m_uiBefore.has_value()) {
            EXPECT_LE(*nbOfBytesRead() - *m_uiBefore, 1U << 20);
        }
    }
    LittleRead() = default;
    LittleRead(const LittleRead&) = delete;
    LittleRead& operator=(const LittleRead&) = delete;

private:
    std::optional<std::uint64_t> m_uiBefore = nbOfBytesRead();
    BoundedMemory m_memory{0};
};

class MalformedSparseTest : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::string strFile = make(0, 0, "", 5 * s_uiGiga, "");
        struct stat status = {};
        if (stat(strFile.c_str(), &status) != 0 || status.st_size != static_cast<off_t>(36 + 8 + 5 * s_uiGiga) ||
            status.st_blocks > 2048)
            GTEST_SKIP() << "the file system has no sparse files of 5 GiB";
    }

    // Sizes as the headers say them, then what is there: chunks, audio of zeros, chunks.
    std::string make(std::uint64_t in_uiForm, std::uint64_t in_uiData, const std::string& in_strInFront,
                     std::uint64_t in_uiAudio, const std::string& in_strBehind) const
    {
        const std::string strHead = ChunkBuilder("RIFF")
                                        .text("WAVE", "form type")
                                        .add(fmtChunk() + in_strInFront +
                                             ChunkBuilder("data").claim(static_cast<std::uint32_t>(in_uiData)).bytes())
                                        .claim(static_cast<std::uint32_t>(in_uiForm))
                                        .bytes();
        const std::string strFile = m_dir.write("a.wav", strHead);
        const std::uint64_t uiEnd = strHead.size() + in_uiAudio;
        if (truncate(strFile.c_str(), static_cast<off_t>(uiEnd)) == 0) {
            std::fstream stream(strFile, std::ios::in | std::ios::out | std::ios::binary);
            stream.seekp(static_cast<std::streamoff>(uiEnd));
            stream << in_strBehind;
        }
        return strFile;
    }
    // With all sizes true and the regions behind the audio.
    std::string makeTrue(std::uint64_t in_uiAudio) const
    {
        return make(s_uiHeads + in_uiAudio + s_strRegions.size(), in_uiAudio, "", in_uiAudio, s_strRegions);
    }

    int annotations(const std::vector<std::string>& in_vArguments)
    {
        std::vector<std::string> vArguments = {"annotations"};
        vArguments.insert(vArguments.end(), in_vArguments.begin(), in_vArguments.end());
        std::ostringstream data;
        std::ostringstream messages;
        const int iExitCode = Tools::runCommandLine(vArguments, {}, data, messages);
        m_strData = data.str();
        m_strMessages = messages.str();
        return iExitCode;
    }

    void expectRegions(const std::string& in_strFile, std::uint32_t in_uiNbOfSamples)
    {
        const LogCapture log;
        const LittleRead little;
        std::ifstream stream(in_strFile, std::ios::binary);
        Audio::AnnotatedFile file;
        EXPECT_TRUE(file.readRegionsFromWAV(stream)) << testing::PrintToString(log.texts());
        EXPECT_EQ(file.getNbOfSamples(), in_uiNbOfSamples);
        EXPECT_EQ(annotations({"list", "--format", "csv", in_strFile}), 0) << m_strMessages;
        EXPECT_EQ(m_strData, s_szRegions);
    }

    // What stands at the end of the audio, as libsndfile reads it.
    void expectReaderAgrees(const std::string& in_strFile)
    {
        const LogCapture log;
        const LittleRead little;
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> pFile(sf_open(in_strFile.c_str(), SFM_READ, &info), sf_close);
        Audio::AudioFileReader reader;
        ASSERT_EQ(reader.setSourceAudioFile(in_strFile.c_str()), pFile != nullptr);
        if (pFile == nullptr)
            return;
        EXPECT_EQ(reader.getNbOfFrames(), static_cast<unsigned long>(info.frames));
        const sf_count_t iPlace = std::max<sf_count_t>(100, info.frames) - 100; // a stopped recorder's may be 0
        ASSERT_EQ(sf_seek(pFile.get(), iPlace, SEEK_SET), iPlace);
        double adFrames[1024];
        const sf_count_t iRead = sf_readf_double(pFile.get(), adFrames, 1024);
        ASSERT_TRUE(reader.gotoAudioTime(static_cast<double>(iPlace) / info.samplerate));
        Math::DoubleVector vFrames;
        EXPECT_TRUE(reader.getNextLinearFrames(vFrames));
        EXPECT_EQ(vFrames.size(), static_cast<std::size_t>(iRead));
    }

    TempDir m_dir;
    std::string m_strData;
    std::string m_strMessages;
};

TEST_F(MalformedSparseTest, HasRegionsBehindTheEdgesOf31Bits)
{
    for (const std::uint64_t uiAudio : {0x7FFFFFFEULL, 0x80000000ULL, 0x80000002ULL, 0xC0000000ULL}) {
        SCOPED_TRACE(uiAudio);
        const std::string strFile = makeTrue(uiAudio);
        expectRegions(strFile, static_cast<std::uint32_t>(uiAudio / 2));
        expectReaderAgrees(strFile);
        const LittleRead little;
        EXPECT_EQ(annotations({"check", strFile}), 0) << m_strData << m_strMessages;
        EXPECT_EQ(m_strData, strFile + ": 1 region, no faults\n");
    }
}

TEST_F(MalformedSparseTest, MayBeAsLargeAsItsSizesCanTellButNoLarger)
{
    const std::uint64_t uiAudio = s_uiMaxForm - s_uiHeads - s_strRegions.size();
    const std::string strFile = makeTrue(uiAudio);
    expectRegions(strFile, static_cast<std::uint32_t>(uiAudio / 2));
    expectReaderAgrees(strFile);

    const LittleRead little;
    EXPECT_EQ(annotations({"check", strFile}), 0) << m_strData << m_strMessages;
    EXPECT_EQ(annotations({"add", "--dry-run", strFile, "BEEP", "0", "1"}), 1);
    EXPECT_THAT(m_strMessages, AllOf(StartsWith("corvana: " + strFile + ": A WAV file cannot have "),
                                     EndsWith(" bytes: its sizes have 32 bits\n")));
    EXPECT_EQ(annotations({"clear", "--dry-run", strFile}), 0) << m_strMessages;
}

TEST_F(MalformedSparseTest, ReachesBeyondAFormThatClaimsToHaveNoSize)
{
    for (const std::uint64_t uiSize : {std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}}) {
        SCOPED_TRACE(uiSize);
        const std::string strFile = make(uiSize, uiSize, s_strRegions, 5 * s_uiGiga, "");
        expectRegions(strFile, 0xFFFFFFFF / 2); // of which sizes can tell no more
        expectReaderAgrees(strFile);
        const LittleRead little;
        EXPECT_EQ(annotations({"check", strFile}), 1);
        EXPECT_THAT(m_strData, HasSubstr(": error at byte 4, RIFF size: has 32 bits, which cannot tell"));
        EXPECT_THAT(m_strData, HasSubstr(strFile + ": 1 region, 1 error"));
        EXPECT_EQ(annotations({"clear", "--dry-run", strFile}), 1);
        EXPECT_THAT(m_strMessages, HasSubstr("corvana: " + strFile + ": A WAV file cannot have "));
    }
}

// What a recorder writes that counts in 32 bits and went on: sizes from which 4 GiB are missing.
TEST_F(MalformedSparseTest, IsReadWithAFormSizeThatWentAround)
{
    const std::uint64_t uiAudio = 0xFFFFFFF0;
    const std::string strFile = makeTrue(uiAudio);
    expectRegions(strFile, static_cast<std::uint32_t>(uiAudio / 2));
    const LittleRead little;
    EXPECT_EQ(annotations({"check", strFile}), 1);
    EXPECT_THAT(m_strData, HasSubstr(": error at byte 4, RIFF size: has 32 bits, which cannot tell"));
    EXPECT_EQ(annotations({"add", "--dry-run", strFile, "BEEP", "0", "1"}), 1);
    EXPECT_THAT(m_strMessages, HasSubstr("corvana: " + strFile + ": A WAV file cannot have "));
}

TEST_F(MalformedSparseTest, IsCutWhereTheFileEnds)
{
    const std::string strFile = make(0xFFFFFFF0, 0xFFFFFF00, s_strRegions, 3 * s_uiGiga, "");
    expectRegions(strFile, static_cast<std::uint32_t>(3 * s_uiGiga / 2));
    expectReaderAgrees(strFile);
    const LittleRead little;
    EXPECT_EQ(annotations({"check", strFile}), 1);
    EXPECT_THAT(m_strData, HasSubstr("\"data\": claims 4294967040 bytes, of which 3221225472 are there"));
}

TEST_F(MalformedSparseTest, IsEditedBehindTheEdgeOf31Bits)
{
    if (std::getenv("CORVANA_MALFORMED_FULL") == nullptr)
        GTEST_SKIP() << "only with CORVANA_MALFORMED_FULL=1: it writes a copy of 2 GiB";
    const std::string strFile = makeTrue(0x80000002ULL);
    const BoundedMemory memory(0);
    EXPECT_EQ(annotations({"add", strFile, "BEEP", "134217", "134217.5"}), 0) << m_strMessages;
    EXPECT_EQ(annotations({"list", "--format", "csv", strFile}), 0) << m_strMessages;
    EXPECT_EQ(m_strData, s_szRegions + std::string("1,BEEP,134217,134217.5\n"));
    EXPECT_EQ(annotations({"check", strFile}), 0) << m_strData << m_strMessages;
}

} // namespace
} // namespace Corvana::Test
