// SPDX-License-Identifier: Apache-2.0
#include "AllocationScenario.h"
#include "corvana/AudioFileReader.h"
#include "corvana/AudioLinearWindower.h"
#include "corvana/AudioSampleQueue.h"
#include "corvana/AudioSetParser.h"
#include "corvana/AudioSignalWindow.h"
#include "corvana/AudioWindowedFileReader.h"
#include "support/ChunkBuilder.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/TempDir.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>

#include <memory>
#include <sstream>

namespace Corvana::Test {
namespace {

using namespace Audio;
using Math::DoubleVector;

std::string recording()
{
    return riff(fmtChunk() + dataChunk(audioBytes(2 * 3000)));
}

const std::map<std::string, std::string>& oneRecording()
{
    static const std::map<std::string, std::string> s_files{{"call.wav", recording()}};
    return s_files;
}

LinearAudioWindower::Config overlapping()
{
    LinearAudioWindower::Config config;
    config.m_uiWindowOverlapMs = 8;
    config.m_bSuppressDCOffset = true;
    return config;
}

struct Reading
{
    WindowedAudioFileReader m_reader;
    DoubleVector m_vChunk;
    DoubleVector m_vValues;
    std::string m_strText;
};

Attempt chunks(const std::string& in_strFolder)
{
    const auto pState = std::make_shared<Reading>();
    const std::string strFile = in_strFolder + "/call.wav";
    return {[=] {
                AudioFileReader reader;
                pState->m_vValues.clear();
                reader.setNbOfFramesToRead(256);
                if (!reader.setSourceAudioFile(strFile.c_str()))
                    return false;
                while (reader.getNextLinearFrames(pState->m_vChunk))
                    pState->m_vValues.insert(pState->m_vValues.end(), pState->m_vChunk.begin(), pState->m_vChunk.end());
                std::ostringstream info;
                reader.getFileInfo(info);
                pState->m_strText = info.str();
                return info.good();
            },
            [=] { return textOf(pState->m_vValues) + pState->m_strText; }};
}

Attempt wholeFile(const std::string& in_strFolder)
{
    const auto pState = std::make_shared<Reading>();
    const std::string strFile = in_strFolder + "/call.wav";
    return {[=] {
                AudioFileReader& reader = pState->m_reader;
                pState->m_vValues = DoubleVector();
                return reader.setSourceAudioFile(strFile.c_str()) && reader.gotoAudioTime(0.1) &&
                       reader.getAllLinearFrames(pState->m_vValues);
            },
            [=] { return textOf(pState->m_vValues); }};
}

Attempt missingFile(const std::string& in_strFolder)
{
    const std::string strFile = in_strFolder + "/a recording that is not there.wav";
    const auto pLog = std::make_shared<LogCapture>();
    return {[=] {
                pLog->clear();
                AudioFileReader reader;
                return !reader.setSourceAudioFile(strFile.c_str()) && reader.getSampleRate() == 0;
            },
            [=] { return std::to_string(pLog->texts().size()); }};
}

Attempt windows(const std::string& in_strFolder)
{
    const auto pState = std::make_shared<Reading>();
    const std::string strFile = in_strFolder + "/call.wav";
    return {[=] {
                WindowedAudioFileReader& reader = pState->m_reader;
                pState->m_vValues = DoubleVector();
                reader.setChunkReadFactor(3);
                if (!reader.configure(overlapping()) || !reader.setSourceAudioFile(strFile.c_str()))
                    return false;
                while (reader.getNextWindow(pState->m_vChunk))
                    pState->m_vValues.insert(pState->m_vValues.end(), pState->m_vChunk.begin(), pState->m_vChunk.end());
                return true;
            },
            [=] { return textOf(pState->m_vValues) + std::to_string(pState->m_reader.getCurrentAudioTime()); }};
}

Attempt windower(const std::string&)
{
    struct State
    {
        LinearAudioWindower m_windower;
        DoubleVector m_vSamples = noise(700);
        DoubleVector m_vWindow;
        DoubleVector m_vValues;
    };
    const auto pState = std::make_shared<State>();
    return {[=] {
                LinearAudioWindower& windower = pState->m_windower;
                pState->m_vValues = DoubleVector();
                if (!windower.configure(overlapping()) || !windower.reset())
                    return false;
                for (std::size_t uiBegin = 0; uiBegin < 700; uiBegin += 70) {
                    const double* pBegin = pState->m_vSamples.data() + uiBegin;
                    if (!windower.pushLinearAudio(pBegin, pBegin + 70))
                        return false;
                    while (windower.popWindow(pState->m_vWindow))
                        pState->m_vValues.insert(pState->m_vValues.end(), pState->m_vWindow.begin(),
                                                 pState->m_vWindow.end());
                }
                return true;
            },
            [=] { return textOf(pState->m_vValues) + std::to_string(pState->m_windower.getCurrentAudioTime()); }};
}

Attempt copiedWindower(const std::string&)
{
    struct State
    {
        LinearAudioWindower m_windower;
        DoubleVector m_vWindow;
    };
    const auto pState = std::make_shared<State>();
    const DoubleVector vSamples = noise(130);
    pState->m_windower.configure(overlapping());
    pState->m_windower.reset();
    pState->m_windower.pushLinearAudio(vSamples.begin(), vSamples.end());
    return {[=] {
                LinearAudioWindower copy(pState->m_windower);
                return copy.popWindow(pState->m_vWindow);
            },
            [=] { return textOf(pState->m_vWindow); }};
}

// Boost has its own exception for a stream that has no more memory.
Attempt savedWindows(const std::string&)
{
    const auto pText = std::make_shared<std::string>();
    const auto saveAndLoad = [=] {
        const LinearAudioWindower::Config config = overlapping();
        std::ostringstream saved;
        {
            boost::archive::polymorphic_text_oarchive archive(saved);
            static_cast<boost::archive::polymorphic_oarchive&>(archive)
                << boost::serialization::make_nvp("Windows", config);
        }
        if (!saved)
            return false;
        std::istringstream stream(saved.str());
        boost::archive::polymorphic_text_iarchive archive(stream);
        LinearAudioWindower::Config loaded;
        static_cast<boost::archive::polymorphic_iarchive&>(archive) >>
            boost::serialization::make_nvp("Windows", loaded);
        *pText = saved.str() + std::to_string(loaded.m_uiWindowOverlapMs);
        return true;
    };
    return {[=] {
                try {
                    return saveAndLoad();
                } catch (const boost::archive::archive_exception&) {
                    return false;
                }
            },
            [=] { return *pText; }};
}

Attempt sampleQueue(const std::string&)
{
    const auto pQueue = std::make_shared<SampleQueue>();
    const DoubleVector vSamples = noise(100);
    pQueue->push(vSamples.begin(), vSamples.begin() + 3);
    return {[=] { return pQueue->push(vSamples.begin(), vSamples.end()), true; },
            [=] {
                return textOf([&] {
                    DoubleVector vWaiting;
                    vWaiting.insert(vWaiting.end(), pQueue->begin(), pQueue->begin() + pQueue->size());
                    return vWaiting;
                }());
            }};
}

Attempt sets(const std::string& in_strFolder)
{
    const auto pText = std::make_shared<std::string>();
    const std::string strList = in_strFolder + "/recordings of the set.txt";
    return {[=] {
                pText->clear();
                AudioSetParser parser;
                if (!parser.setAudioSetFilename(strList.c_str()) || !parser.gotoFirstAudioFile())
                    return false;
                while (const char* szPath = parser.getNextAudioFile())
                    *pText += parser.getCurrentEntry() + (*szPath == '\0' ? " is missing, " : " is there, ");
                return true;
            },
            [=] { return *pText; }};
}

} // namespace

std::vector<AllocationScenario> audioScenarios()
{
    const std::map<std::string, std::string> set{
        {"recordings of the set.txt",
         "# the calls of a day\ncall.wav\n\na recording that is not there.wav\n./call.wav\n"},
        {"call.wav", recording()}};
    return {{"read a recording in chunks", chunks, Afterwards::USABLE, oneRecording()},
            {"read a whole recording", wholeFile, Afterwards::USABLE, oneRecording()},
            {"refuse a missing recording", missingFile},
            {"read windows", windows, Afterwards::USABLE, oneRecording()},
            {"push and pop windows", windower},
            {"copy a windower", copiedWindower},
            {"save and load a windower", savedWindows},
            {"queue samples", sampleQueue, Afterwards::UNCHANGED},
            {"walk a list of recordings", sets, Afterwards::USABLE, set}};
}

} // namespace Corvana::Test
