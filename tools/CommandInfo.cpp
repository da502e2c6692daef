// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandInfo.h"

#include "corvana/AudioFileReader.h"
#include "corvana/NumberText.h"
#include "tools/ExitCode.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/Text.h"

#include <nlohmann/json.hpp>

#include <sstream>

namespace Corvana::Tools {
namespace {

struct RecordingInfo
{
    std::string m_strPath;
    std::string m_strFormat;
    unsigned long m_uiSampleRate;
    unsigned long m_uiNbOfFrames;
    double m_dClippingValue;

    // A stream that comes through a pipe does not tell its length.
    bool isLengthKnown() const { return m_uiNbOfFrames < (1UL << 62); }
    double seconds() const { return static_cast<double>(m_uiNbOfFrames) / static_cast<double>(m_uiSampleRate); }
};

RecordingInfo infoOf(Audio::AudioFileReader& inout_reader, const std::string& in_strPath)
{
    std::ostringstream format;
    format.exceptions(std::ios_base::badbit); // else memory that runs out cuts it, in silence
    inout_reader.getFileInfo(format);
    return {in_strPath, format.str(), inout_reader.getSampleRate(), inout_reader.getNbOfFrames(),
            inout_reader.getClippingValue()};
}

std::string durationLine(const RecordingInfo& in_info)
{
    if (!in_info.isLengthKnown())
        return "unknown";
    const std::string strExact = toShortestText(in_info.seconds()) + " s";
    return in_info.seconds() < 60.0 ? strExact : strExact + " (" + durationText(in_info.seconds()) + ")";
}

void writeText(const RecordingInfo& in_info, std::ostream& out_data)
{
    const std::string strFrames = in_info.isLengthKnown() ? std::to_string(in_info.m_uiNbOfFrames) : "unknown";
    out_data << printable(in_info.m_strPath) + "\n  format          " + in_info.m_strFormat + "\n  sample rate     " +
                    std::to_string(in_info.m_uiSampleRate) + " Hz\n  frames          " + strFrames +
                    "\n  duration        " + durationLine(in_info) + "\n  clipping level  " +
                    toShortestText(in_info.m_dClippingValue) + "\n";
}

nlohmann::ordered_json toJson(const RecordingInfo& in_info)
{
    nlohmann::ordered_json json = {
        {"file", in_info.m_strPath}, {"format", in_info.m_strFormat}, {"sample_rate", in_info.m_uiSampleRate},
        {"frames", nullptr},         {"duration", nullptr},           {"clipping_level", in_info.m_dClippingValue}};
    if (in_info.isLengthKnown()) {
        json["frames"] = in_info.m_uiNbOfFrames;
        json["duration"] = in_info.seconds();
    }
    return json;
}

// The reason why there is none, or an empty text.
std::string open(const Input& in_input, Audio::AudioFileReader& inout_reader, LogBridge& inout_log)
{
    if (!in_input.m_strFault.empty())
        return in_input.m_strFault;
    inout_log.beginInput(in_input.m_strPath);
    if (inout_reader.setSourceAudioFile(in_input.m_strPath.c_str())) {
        inout_log.endInput();
        return {};
    }
    return openingFault(in_input.m_strPath, inout_log);
}

} // namespace

int CommandInfo::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    Messages messages(out_messages, in_options.m_messages.m_bQuiet);
    LogBridge log(messages, in_options.m_messages.m_iLogLevel);
    if (in_options.m_vInputs.empty()) {
        messages.error("no recording given: name at least one");
        return EXIT_UNUSABLE;
    }
    Audio::AudioFileReader reader;
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    int iExitCode = EXIT_DONE;
    for (const Input& input : collectInputs(in_options.m_vInputs, {}, {}, log, messages)) {
        const std::string strFault = open(input, reader, log);
        if (!strFault.empty()) {
            messages.inputError(input.m_strPath, strFault);
            iExitCode = EXIT_SOME_FAILED;
        } else if (in_options.m_bJson) {
            json.push_back(toJson(infoOf(reader, input.m_strPath)));
        } else {
            writeText(infoOf(reader, input.m_strPath), out_data);
        }
    }
    if (in_options.m_bJson)
        out_data << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    return iExitCode;
}

} // namespace Corvana::Tools
