// SPDX-License-Identifier: Apache-2.0
#include "tools/ReportPage.h"

#include "tools/Base64.h"
#include "tools/ColourScale.h"
#include "tools/InputList.h"
#include "tools/PlotCanvas.h"
#include "tools/PlotPanel.h"
#include "tools/RegionSource.h"
#include "tools/ReportTexts.h"
#include "tools/Text.h"
#include "tools/ValidText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>

namespace Corvana::Tools {
namespace {

using Json = nlohmann::ordered_json;

// Nothing but what stands in the page itself; blobs are the sound.
constexpr const char* s_szPolicy = "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
                                   "img-src data:; media-src blob:; base-uri 'none'; form-action 'none'";

std::string text(const std::string& in_strText)
{
    return validText(printable(in_strText));
}

std::string htmlText(const std::string& in_strText)
{
    std::string strHtml;
    for (const char cLetter : text(in_strText))
        switch (cLetter) {
        case '<':
            strHtml += "&lt;";
            break;
        case '>':
            strHtml += "&gt;";
            break;
        case '&':
            strHtml += "&amp;";
            break;
        default:
            strHtml += cLetter;
        }
    return strHtml;
}

// JSON that cannot end the element that it stands in.
std::string scriptText(const Json& in_json)
{
    std::string strText;
    for (const char cLetter : in_json.dump(-1, ' ', false, Json::error_handler_t::replace))
        if (cLetter == '<')
            strText += "\\u003c";
        else
            strText += cLetter;
    return strText;
}

std::string cssColour(std::uint32_t in_uiRgb)
{
    char acText[8];
    std::snprintf(acText, sizeof acText, "#%06x", static_cast<unsigned>(in_uiRgb & 0xFFFFFFU));
    return acText;
}

std::uint32_t rgbOf(const Colour& in_colour)
{
    const auto part = [](double in_dPart) { return static_cast<std::uint32_t>(std::lround(in_dPart * 255.0)); };
    return part(in_colour.m_dRed) << 16U | part(in_colour.m_dGreen) << 8U | part(in_colour.m_dBlue);
}

std::int16_t sampleOf(double in_dValue)
{
    constexpr double dScale = 32768.0;
    return static_cast<std::int16_t>(
        std::lround(std::clamp(std::isfinite(in_dValue) ? in_dValue * dScale : 0.0, -dScale, dScale - 1.0)));
}

void appendSample(std::string& inout_strBytes, double in_dValue)
{
    const auto uiSample = static_cast<std::uint16_t>(sampleOf(in_dValue));
    inout_strBytes += {static_cast<char>(uiSample & 0xFFU), static_cast<char>(uiSample >> 8U)};
}

std::string waveformText(const Waveform& in_waveform)
{
    std::string strBytes;
    for (const Waveform::Column& column : in_waveform.getColumns())
        for (const float fValue : {column.m_fMin, column.m_fMax, column.getRms()})
            appendSample(strBytes, static_cast<double>(fValue));
    return toBase64(strBytes);
}

// Pictures side by side, none of them larger than browsers take. in_colourOf: of a column and of a row from above.
Json tilesOf(std::size_t in_uiNbOfColumns, std::size_t in_uiNbOfRows,
             const std::function<std::uint32_t(std::size_t, std::size_t)>& in_colourOf, std::string& out_strFault)
{
    constexpr std::size_t uiMaxWidth = 4096;
    Json tiles = Json::array();
    for (std::size_t uiFirst = 0; uiFirst < in_uiNbOfColumns; uiFirst += uiMaxWidth) {
        const std::size_t uiWidth = std::min(uiMaxWidth, in_uiNbOfColumns - uiFirst);
        std::vector<std::uint32_t> vPixels;
        vPixels.reserve(uiWidth * in_uiNbOfRows);
        for (std::size_t uiRow = 0; uiRow < in_uiNbOfRows; ++uiRow)
            for (std::size_t uiColumn = uiFirst; uiColumn < uiFirst + uiWidth; ++uiColumn)
                vPixels.push_back(in_colourOf(uiColumn, uiRow));
        PlotCanvas canvas(PictureFormat::PNG, uiWidth, in_uiNbOfRows);
        canvas.image({0.0, 0.0, static_cast<double>(uiWidth), static_cast<double>(in_uiNbOfRows)}, vPixels);
        tiles.push_back(toBase64(canvas.finish(out_strFault)));
    }
    return tiles;
}

Json spectrogramJson(const Spectrogram& in_spectrogram, std::string& out_strFault)
{
    const LevelRange levels = LevelRange::below(in_spectrogram.getHighestLevel());
    const std::size_t uiNbOfRows = in_spectrogram.getNbOfRows();
    const auto colourOf = [&](std::size_t in_uiColumn, std::size_t in_uiRow) {
        const double dLevel = in_spectrogram.getLevel(in_uiColumn, uiNbOfRows - 1 - in_uiRow);
        return ColourScale::magma().at((dLevel - levels.m_dLowest) / (levels.m_dHighest - levels.m_dLowest));
    };
    Json scale = Json::array();
    constexpr int iSteps = 32;
    for (int iStep = 0; iStep < iSteps; ++iStep)
        scale.push_back(cssColour(ColourScale::magma().at((iStep + 0.5) / iSteps)));
    return {{"columns", in_spectrogram.getNbOfColumns()},
            {"low", levels.m_dLowest},
            {"high", levels.m_dHighest},
            {"shift", 1.0 / static_cast<double>(in_spectrogram.getWindowSize())}, // half a bin, of all
            {"scale", scale},
            {"tiles", tilesOf(in_spectrogram.getNbOfColumns(), uiNbOfRows, colourOf, out_strFault)}};
}

Json regionsJson(const std::vector<LabeledRegion>& in_vRegions)
{
    Json regions = Json::array();
    for (const LabeledRegion& region : in_vRegions) {
        const RegionSource& source = regionSourceOf(region.m_strLabel);
        regions.push_back({{"label", text(region.m_strLabel)},
                           {"start", region.m_dStart},
                           {"stop", std::max(region.m_dStart, region.m_dStop)},
                           {"source", source.m_szName},
                           {"rank", source.m_uiRank},
                           {"colour", cssColour(rgbOf(source.m_colour))}});
    }
    return regions;
}

// A number for each column: the mean, not a number where no window has its middle, infinity for a gap in the line.
std::string lineText(const Curve& in_curve, std::size_t in_uiRow, const std::vector<double>& in_vTimes)
{
    std::string strBytes;
    for (std::size_t uiColumn = 0; uiColumn < in_vTimes.size(); ++uiColumn) {
        const Curve::Cell& cell = in_curve.getCell(uiColumn, in_uiRow);
        const float fValue = std::isnan(in_vTimes[uiColumn]) ? std::numeric_limits<float>::quiet_NaN()
                             : cell.m_uiCount == 0           ? std::numeric_limits<float>::infinity()
                                                             : static_cast<float>(cell.getMean());
        char acBytes[sizeof fValue];
        std::memcpy(acBytes, &fValue, sizeof fValue);
        strBytes.append(acBytes, sizeof acBytes);
    }
    return toBase64(strBytes);
}

Json stripJson(const Curve& in_curve, const std::vector<double>& in_vTimes, double in_dMin, double in_dMax,
               std::string& out_strFault)
{
    // Columns without a window show the last one before them, and those before the first window that one.
    std::vector<std::size_t> vShown(in_vTimes.size());
    const auto isThere = [](double in_dTime) { return !std::isnan(in_dTime); };
    const auto itFirst = std::find_if(in_vTimes.begin(), in_vTimes.end(), isThere);
    auto uiShown = static_cast<std::size_t>(itFirst - in_vTimes.begin());
    for (std::size_t uiColumn = 0; uiColumn < vShown.size(); ++uiColumn) {
        uiShown = isThere(in_vTimes[uiColumn]) ? uiColumn : uiShown;
        vShown[uiColumn] = uiShown;
    }
    const double dSpan = in_dMax > in_dMin ? in_dMax - in_dMin : 1.0;
    return tilesOf(
        vShown.size(), in_curve.getNbOfRows(),
        [&](std::size_t in_uiColumn, std::size_t in_uiRow) {
            const Curve::Cell& cell = in_curve.getCell(vShown[in_uiColumn], in_curve.getNbOfRows() - 1 - in_uiRow);
            return ColourScale::viridis().at((cell.getMean() - in_dMin) / dSpan);
        },
        out_strFault);
}

Json curveJson(const Curve& in_curve, const std::vector<double>& in_vTimes, std::string& out_strFault)
{
    double dMin = 0.0;
    double dMax = 0.0;
    const bool bAny = in_curve.getRange(dMin, dMax);
    Json json = {{"name", text(in_curve.getName())},
                 {"values", in_curve.getNbOfValues()},
                 {"columns", in_vTimes.size()},
                 {"min", dMin},
                 {"max", dMax}};
    if (in_curve.isStrip() && bAny)
        json["tiles"] = stripJson(in_curve, in_vTimes, dMin, dMax, out_strFault);
    for (std::size_t uiRow = 0; !in_curve.isStrip() && uiRow < in_curve.getNbOfRows(); ++uiRow)
        json["lines"].push_back(lineText(in_curve, uiRow, in_vTimes));
    return json;
}

} // namespace

ReportPage::ReportPage(std::ostream& out_stream)
    : m_stream(out_stream)
{
}

void ReportPage::begin(const std::string& in_strTitle)
{
    m_stream << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
             << "<meta http-equiv=\"Content-Security-Policy\" content=\"" << s_szPolicy << "\">\n"
             << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
             << "<title>" << htmlText(in_strTitle) << "</title>\n<style>\n"
             << s_szReportStyle << "</style>\n</head>\n<body>\n"
             << s_szReportBody;
}

std::string ReportPage::addRecording(const PlotRecording& in_recording)
{
    std::string strFault;
    Json json = {{"name", text(in_recording.m_strName)},
                 {"rate", in_recording.m_stretch.m_uiSampleRate},
                 {"seconds", in_recording.m_dSeconds},
                 {"range", in_recording.m_waveform.getPeak()},
                 {"clip", in_recording.m_waveform.getClippingLevel()},
                 {"clipped", in_recording.m_waveform.getNbOfClipped()},
                 {"waveform", waveformText(in_recording.m_waveform)},
                 {"spectrogram", spectrogramJson(*in_recording.m_pSpectrogram, strFault)},
                 {"regions", regionsJson(in_recording.m_vRegions)},
                 {"curves", Json::array()}};
    for (const Curve& curve : in_recording.m_vCurves)
        json["curves"].push_back(curveJson(curve, in_recording.m_vCurveTimes, strFault));
    if (!strFault.empty())
        return strFault;
    m_stream << "<script type=\"application/json\" class=\"recording\">" << scriptText(json) << "</script>\n";
    ++m_uiNbOfRecordings;
    return {};
}

std::string ReportPage::addAudio(const std::string& in_strPath, LogBridge& inout_log, bool& out_bTooLong)
{
    // Bytes in threes, so that each piece is base64 of its own; pieces because browsers limit the length of a text.
    constexpr unsigned long uiFramesOfPiece = 3UL << 18U;
    Audio::AudioFileReader reader;
    reader.setNbOfFramesToRead(uiFramesOfPiece);
    inout_log.beginInput(in_strPath);
    out_bTooLong = false;
    if (!reader.setSourceAudioFile(in_strPath.c_str()))
        return openingFault(in_strPath, inout_log);
    inout_log.endInput();
    out_bTooLong = reader.getNbOfFrames() > s_uiMaxAudioBytes / 2;
    if (out_bTooLong)
        return "its sound is left out: it would be more than " + std::to_string(s_uiMaxAudioBytes >> 20U) +
               " megabytes";
    Math::DoubleVector vFrames;
    std::string strBytes;
    while (m_stream.good() && reader.getNextLinearFrames(vFrames) && !vFrames.empty()) {
        strBytes.clear();
        for (const double dSample : vFrames)
            appendSample(strBytes, dSample);
        m_stream << "<script type=\"text/plain\" class=\"audio\" data-recording=\"" << m_uiNbOfRecordings - 1 << "\">"
                 << toBase64(strBytes) << "</script>\n";
    }
    if (!m_stream.good() || reader.getFramePosition() >= reader.getNbOfFrames())
        return {};
    return "its sound breaks off: " + std::to_string(reader.getFramePosition()) + " of " +
           std::to_string(reader.getNbOfFrames()) + " frames could be read";
}

void ReportPage::end()
{
    m_stream << "<script>\n" << s_szReportScript << "</script>\n</body>\n</html>\n";
}

} // namespace Corvana::Tools
