// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotPanel.h"

#include "corvana/NumberText.h"
#include "tools/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace Corvana::Tools {
namespace {

constexpr Colour s_ink = Colour::of(0x202020);
constexpr Colour s_paleInk = Colour::of(0x5A5A5A);
constexpr Colour s_frame = Colour::of(0x9A9A9A);
constexpr Colour s_grid = Colour::of(0xE4E4E4);
constexpr Colour s_wave = Colour::of(0x8DB4D9);
constexpr Colour s_loudness = Colour::of(0x24598C);
constexpr Colour s_clipped = Colour::of(0xE3000F);

constexpr double s_dGap = 7.0;         // between tracks
constexpr double s_dTickLength = 4.0;  // outside the frame
constexpr double s_dScaleWidth = 10.0; // of a scale of colours
constexpr double s_dScaleGap = 8.0;    // between a track and its scale of colours

// Colours that colour-blind eyes tell apart (Okabe and Ito).
constexpr std::array<Colour, Curve::s_uiMaxNbOfLines> s_aLines = {Colour::of(0x0072B2), Colour::of(0xD55E00),
                                                                  Colour::of(0x009E73), Colour::of(0xCC79A7),
                                                                  Colour::of(0xE69F00), Colour::of(0x56B4E9)};

Colour withAlpha(const Colour& in_colour, double in_dAlpha)
{
    return {in_colour.m_dRed, in_colour.m_dGreen, in_colour.m_dBlue, in_dAlpha};
}

// In proportion of the range, upwards.
double heightOf(const PlotBox& in_box, double in_dValue, double in_dMin, double in_dMax)
{
    return in_box.getBottom() - (in_dValue - in_dMin) / (in_dMax - in_dMin) * in_box.m_dHeight;
}

// The least of 1, 0.5, 0.2, 0.1 and so on, down to 0.00001, that holds the peak.
double amplitudeRange(double in_dPeak)
{
    double dRange = 1.0;
    if (in_dPeak == 0.0)
        return dRange; // digital silence: nothing to look at more closely
    while (dRange < in_dPeak)
        dRange *= 2.0; // files of floating-point samples may reach beyond 1
    for (int iPower = 0; iPower > -5; --iPower)
        for (const int iDigit : {5, 2, 1}) {
            const double dSmaller = iDigit / std::pow(10.0, 1 - iPower);
            if (dSmaller >= in_dPeak)
                dRange = std::min(dRange, dSmaller);
        }
    return dRange;
}

// So many digits that count, such as 0.123, 12.3 or 1.23e-05 for three.
std::string roundedText(double in_dValue, int in_iNbOfDigits)
{
    if (in_dValue == 0.0)
        return "0";
    const int iExponent = static_cast<int>(std::floor(std::log10(std::fabs(in_dValue)))) - in_iNbOfDigits + 1;
    const double dPower = std::pow(10.0, std::abs(iExponent));
    return toShortestText(iExponent < 0 ? std::round(in_dValue * dPower) / dPower
                                        : std::round(in_dValue / dPower) * dPower);
}

// Up to three digits, as many as there is room for: a number that is cut would be another one.
std::string fittingText(double in_dValue, double in_dMaxWidth, const TextWidth& in_widthOf)
{
    constexpr int iMaxDigits = 3;
    for (int iNbOfDigits = iMaxDigits; iNbOfDigits > 1; --iNbOfDigits) {
        const std::string strText = roundedText(in_dValue, iNbOfDigits);
        if (in_widthOf(strText) <= in_dMaxWidth)
            return strText;
    }
    return roundedText(in_dValue, 1);
}

std::string millisecondsText(double in_dSeconds)
{
    return toShortestText(std::round(in_dSeconds * 1000.0) / 1000.0);
}

std::string lengthText(double in_dSeconds)
{
    constexpr double dMinute = 60.0;
    constexpr double dVeryShort = 0.01;
    return in_dSeconds >= dMinute      ? durationText(in_dSeconds)
           : in_dSeconds >= dVeryShort ? millisecondsText(in_dSeconds) + " s"
                                       : roundedText(in_dSeconds, 3) + " s";
}

struct Bar
{
    double m_dLeft;
    double m_dRight;
    double m_dTop;
    double m_dBottom;
};

// Side by side they are one shape, without seams between them.
void fillBars(PlotCanvas& out_canvas, const std::vector<Bar>& in_vBars, const Colour& in_colour)
{
    constexpr double dSideBySide = 0.01;
    std::vector<PlotPoint> vPoints;
    for (std::size_t uiFirst = 0; uiFirst < in_vBars.size();) {
        std::size_t uiEnd = uiFirst + 1;
        while (uiEnd < in_vBars.size() && in_vBars[uiEnd].m_dLeft - in_vBars[uiEnd - 1].m_dRight < dSideBySide)
            ++uiEnd;
        vPoints.clear();
        for (std::size_t uiBar = uiFirst; uiBar < uiEnd; ++uiBar) {
            vPoints.push_back({in_vBars[uiBar].m_dLeft, in_vBars[uiBar].m_dTop});
            vPoints.push_back({in_vBars[uiBar].m_dRight, in_vBars[uiBar].m_dTop});
        }
        for (std::size_t uiBar = uiEnd; uiBar-- > uiFirst;) {
            vPoints.push_back({in_vBars[uiBar].m_dRight, in_vBars[uiBar].m_dBottom});
            vPoints.push_back({in_vBars[uiBar].m_dLeft, in_vBars[uiBar].m_dBottom});
        }
        out_canvas.polygon(vPoints, in_colour);
        uiFirst = uiEnd;
    }
}

} // namespace

PanelStyle PanelStyle::large(double in_dWidth)
{
    constexpr double dNarrow = 640.0;
    constexpr double dUsualWidth = 1200.0;
    PanelStyle style;
    style.m_dWidth = in_dWidth;
    style.stretch(std::clamp(std::sqrt(in_dWidth / dUsualWidth), 0.75, 2.0)); // neither towers nor ribbons
    if (in_dWidth < dNarrow) {
        style.m_dLeftMargin = 64.0;
        style.m_dRightMargin = 58.0;
        style.m_dTextSize = 10.0;
        style.m_dLaneHeight = 15.0;
    }
    return style;
}

PanelStyle PanelStyle::small(double in_dWidth)
{
    PanelStyle style;
    style.m_dWidth = in_dWidth;
    style.m_dLeftMargin = 58.0;
    style.m_dRightMargin = 52.0;
    style.m_dWaveformHeight = 54.0;
    style.m_dSpectrogramHeight = 110.0;
    style.m_dCurveHeight = 44.0;
    style.m_dLaneHeight = 14.0;
    style.m_uiMaxNbOfLanes = 8;
    style.m_dTextSize = 9.0;
    style.m_dTitleSize = 11.0;
    return style;
}

unsigned long PanelStyle::getNbOfColumns() const
{
    return static_cast<unsigned long>(std::max(1.0, m_dWidth - m_dLeftMargin - m_dRightMargin));
}

double PanelStyle::getFlexibleHeight(std::size_t in_uiNbOfCurves) const
{
    return m_dWaveformHeight + m_dSpectrogramHeight + static_cast<double>(in_uiNbOfCurves) * m_dCurveHeight;
}

void PanelStyle::stretch(double in_dFactor)
{
    for (double* pHeight : {&m_dWaveformHeight, &m_dSpectrogramHeight, &m_dCurveHeight})
        *pHeight = std::floor(*pHeight * in_dFactor);
}

LevelRange LevelRange::below(double in_dHighestLevel)
{
    constexpr double dRange = 70.0;
    constexpr double dStep = 10.0;
    constexpr double dSilence = -150.0; // below the least step of 24 bits
    const double dHighest =
        in_dHighestLevel > dSilence ? std::ceil(in_dHighestLevel / dStep) * dStep + 0.0 : 0.0; // no minus zero
    return {dHighest - dRange, dHighest};
}

PlotPanel::PlotPanel(const PlotRecording& in_recording, const PanelStyle& in_style, const PlotCanvas& in_ruler)
    : m_recording(in_recording)
    , m_style(in_style)
    , m_ruler(in_ruler)
{
    layOutRegions();
}

TextStyle PlotPanel::textStyle() const
{
    return {m_style.m_dTextSize, s_ink, false};
}

TextWidth PlotPanel::widthOf(const TextStyle& in_style) const
{
    return [this, in_style](const std::string& in_strText) { return m_ruler.widthOf(in_strText, in_style); };
}

void PlotPanel::layOutRegions()
{
    const PlotStretch& stretch = m_recording.m_stretch;
    const auto dWidth = static_cast<double>(m_style.getNbOfColumns());
    const TimeAxis axis(stretch.getFrom(), stretch.getTo(), 0.0, dWidth);
    constexpr double dLeastWidth = 2.0;
    std::map<std::size_t, SourceLanes> sources;
    for (const LabeledRegion& region : m_recording.m_vRegions) {
        // One that ends where the picture begins is outside, unless it has no length.
        if (region.m_dStart >= axis.getTo() || (region.m_dStart < axis.getFrom() && region.m_dStop <= axis.getFrom()))
            continue;
        const double dLeft = std::clamp(axis.placeOf(region.m_dStart), 0.0, dWidth - dLeastWidth);
        const double dRight = std::clamp(axis.placeOf(region.m_dStop), dLeft + dLeastWidth, dWidth);
        const RegionSource& source = regionSourceOf(region.m_strLabel);
        SourceLanes& lanes = sources.emplace(source.m_uiRank, SourceLanes{&source, {}, {}, 0, 0}).first->second;
        lanes.m_vBoxes.push_back({dLeft, dRight, region.m_strLabel});
        ++m_uiNbOfRegions;
    }
    for (auto& [uiRank, lanes] : sources) {
        std::stable_sort(
            lanes.m_vBoxes.begin(), lanes.m_vBoxes.end(),
            [](const LaneBox& in_left, const LaneBox& in_right) { return in_left.m_dLeft < in_right.m_dLeft; });
        m_vSources.push_back(std::move(lanes));
    }
    shareLanes();
}

// Each source gets the lanes that it wants while there are enough; else those that want most give way first.
void PlotPanel::shareLanes()
{
    constexpr std::size_t uiLeast = 2;
    std::size_t uiSum = 0;
    for (SourceLanes& lanes : m_vSources) {
        layOut(lanes, m_style.m_uiMaxNbOfLanes);
        uiSum += lanes.m_uiNbOfLanes;
    }
    for (; uiSum > m_style.m_uiMaxNbOfLanes; --uiSum) {
        const auto itMost = std::max_element(m_vSources.begin(), m_vSources.end(),
                                             [](const SourceLanes& in_left, const SourceLanes& in_right) {
                                                 return in_left.m_uiNbOfLanes < in_right.m_uiNbOfLanes;
                                             });
        if (itMost->m_uiNbOfLanes <= uiLeast)
            break;
        --itMost->m_uiNbOfLanes;
    }
    for (SourceLanes& lanes : m_vSources) {
        layOut(lanes, lanes.m_uiNbOfLanes);
        m_uiNbWithoutText += lanes.m_uiNbWithoutText;
    }
}

void PlotPanel::layOut(SourceLanes& inout_lanes, std::size_t in_uiMaxNbOfLanes) const
{
    const LaneLayout layout(inout_lanes.m_vBoxes, 0.0, static_cast<double>(m_style.getNbOfColumns()), in_uiMaxNbOfLanes,
                            widthOf(textStyle()));
    inout_lanes.m_vPlaced = layout.getPlaced();
    inout_lanes.m_uiNbOfLanes = layout.getNbOfLanes();
    inout_lanes.m_uiNbWithoutText = layout.getNbWithoutText();
}

double PlotPanel::getTitleHeight() const
{
    return std::ceil(m_style.m_dTitleSize * 1.35 + m_style.m_dTextSize * 1.5);
}

double PlotPanel::getRegionsHeight() const
{
    if (m_vSources.empty())
        return 0.0;
    double dHeight = s_dGap + (m_uiNbWithoutText > 0 ? std::ceil(m_style.m_dTextSize * 1.4) : 0.0);
    for (const SourceLanes& lanes : m_vSources)
        dHeight += static_cast<double>(lanes.m_uiNbOfLanes) * m_style.m_dLaneHeight;
    return dHeight;
}

double PlotPanel::getAxisHeight() const
{
    return std::ceil(s_dTickLength + m_style.m_dTextSize * 2.9);
}

double PlotPanel::getHeight() const
{
    const auto dNbOfCurves = static_cast<double>(m_recording.m_vCurves.size());
    return getTitleHeight() + m_style.m_dWaveformHeight + s_dGap + m_style.m_dSpectrogramHeight + getRegionsHeight() +
           dNbOfCurves * (m_style.m_dCurveHeight + std::ceil(m_style.m_dTextSize * 1.6) + s_dGap) + getAxisHeight();
}

void PlotPanel::draw(PlotCanvas& out_canvas, double in_dLeft, double in_dTop, const LevelRange& in_levels) const
{
    const PlotStretch& stretch = m_recording.m_stretch;
    const TimeAxis axis(stretch.getFrom(), stretch.getTo(), in_dLeft + m_style.m_dLeftMargin,
                        static_cast<double>(m_style.getNbOfColumns()));
    Cursor cursor{out_canvas, axis, axis.getTicks(widthOf(textStyle())), in_dTop};
    drawTitle(cursor);
    drawWaveform(cursor);
    cursor.m_dTop += s_dGap;
    drawSpectrogram(cursor, in_levels);
    drawRegions(cursor);
    for (const Curve& curve : m_recording.m_vCurves) {
        cursor.m_dTop += s_dGap;
        drawCurve(cursor, curve);
    }
    drawTimeAxis(cursor);
}

PlotBox PlotPanel::takeBox(Cursor& inout_cursor, double in_dHeight) const
{
    const PlotBox box{inout_cursor.m_axis.getLeft(), inout_cursor.m_dTop, inout_cursor.m_axis.getWidth(), in_dHeight};
    inout_cursor.m_dTop += in_dHeight;
    return box;
}

unsigned PlotPanel::ticksWithin(double in_dHeight) const
{
    return static_cast<unsigned>(std::max(1.0, in_dHeight / (m_style.m_dTextSize * 2.2)));
}

std::string PlotPanel::infoText() const
{
    const PlotStretch& stretch = m_recording.m_stretch;
    std::string strText = std::to_string(stretch.m_uiSampleRate) + " Hz, " + lengthText(m_recording.m_dSeconds);
    const auto dNbOfFrames = std::round(m_recording.m_dSeconds * static_cast<double>(stretch.m_uiSampleRate));
    if (static_cast<double>(stretch.getNbOfSamples()) < dNbOfFrames)
        strText +=
            ", " + millisecondsText(stretch.getFrom()) + " s to " + millisecondsText(stretch.getTo()) + " s shown";
    if (m_uiNbOfRegions > 0)
        strText += ", " + counted(m_uiNbOfRegions, "region");
    return strText;
}

void PlotPanel::drawTitle(Cursor& inout_cursor) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const TextStyle title{m_style.m_dTitleSize, s_ink, true};
    const TextStyle info{m_style.m_dTextSize, s_paleInk, false};
    const TextStyle clipped{m_style.m_dTextSize, s_clipped, true};
    const double dLeft = inout_cursor.m_axis.getLeft();
    const double dWidth = inout_cursor.m_axis.getWidth() + m_style.m_dRightMargin - s_dGap;
    const std::string strName = shortenedStart(printable(m_recording.m_strName), dWidth, widthOf(title));
    canvas.text({dLeft, inout_cursor.m_dTop + m_style.m_dTitleSize}, TextPlace::LEFT, strName, title);
    const double dBaseline = inout_cursor.m_dTop + m_style.m_dTitleSize * 1.35 + m_style.m_dTextSize;
    const std::string strInfo = shortenedEnd(infoText(), dWidth, widthOf(info));
    canvas.text({dLeft, dBaseline}, TextPlace::LEFT, strInfo, info);
    if (m_recording.m_waveform.getNbOfClipped() > 0) {
        const double dUsed = canvas.widthOf(strInfo, info) + m_style.m_dTextSize;
        const std::string strClipped = shortenedEnd(counted(m_recording.m_waveform.getNbOfClipped(), "clipped sample"),
                                                    dWidth - dUsed, widthOf(clipped));
        canvas.text({dLeft + dUsed, dBaseline}, TextPlace::LEFT, strClipped, clipped);
    }
    inout_cursor.m_dTop += getTitleHeight();
}

void PlotPanel::drawGrid(const Cursor& in_cursor, const PlotBox& in_box) const
{
    for (const AxisTick& tick : in_cursor.m_vTimeTicks) {
        const double dX = std::floor(in_cursor.m_axis.placeOf(tick.m_dValue));
        if (dX < in_box.getRight())
            in_cursor.m_canvas.fill({dX, in_box.m_dTop, 1.0, in_box.m_dHeight}, s_grid);
    }
}

// Of a text beside a tick. At the edges it stays beside the box: another track is near.
double PlotPanel::baselineOf(const PlotBox& in_box, double in_dY) const
{
    constexpr double dHeightOfDigits = 0.74; // in proportion of the size
    const double dHeight = m_style.m_dTextSize * dHeightOfDigits;
    return std::clamp(in_dY + dHeight / 2.0, in_box.m_dTop + dHeight, in_box.getBottom());
}

void PlotPanel::drawValueTicks(PlotCanvas& out_canvas, const PlotBox& in_box, double in_dMin, double in_dMax,
                               const std::vector<AxisTick>& in_vTicks, bool in_bLines) const
{
    const TextStyle style = textStyle();
    for (const AxisTick& tick : in_vTicks) {
        const double dY = std::clamp(std::floor(heightOf(in_box, tick.m_dValue, in_dMin, in_dMax)), in_box.m_dTop,
                                     in_box.getBottom() - 1.0);
        out_canvas.fill({in_box.m_dLeft - s_dTickLength, dY, s_dTickLength, 1.0}, s_frame);
        if (in_bLines)
            out_canvas.fill({in_box.m_dLeft, dY, in_box.m_dWidth, 1.0}, s_grid);
        const double dRoom = m_style.m_dLeftMargin - s_dTickLength - 4.0;
        if (out_canvas.widthOf(tick.m_strText, style) > dRoom)
            continue; // a number that is cut would be another one
        out_canvas.text({in_box.m_dLeft - s_dTickLength - 3.0, baselineOf(in_box, dY)}, TextPlace::RIGHT,
                        tick.m_strText, style);
    }
}

void PlotPanel::drawWaveform(Cursor& inout_cursor) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const PlotBox box = takeBox(inout_cursor, m_style.m_dWaveformHeight);
    constexpr double dHeadroom = 1.06; // so that peaks do not lie on the frame
    const double dRange = dHeadroom * amplitudeRange(m_recording.m_waveform.getPeak());
    drawGrid(inout_cursor, box);
    const std::vector<AxisTick> vTicks = valueTicks(-dRange, dRange, std::clamp(ticksWithin(box.m_dHeight), 3U, 5U));
    drawValueTicks(canvas, box, -dRange, dRange, vTicks, true);
    {
        const PlotCanvas::Clip clip(canvas, box);
        drawColumns(canvas, box, dRange);
        drawClipped(canvas, box);
    }
    canvas.frame(box, s_frame);
}

// Single samples are joined by a line; more of them are bars.
void PlotPanel::drawColumns(PlotCanvas& out_canvas, const PlotBox& in_box, double in_dTopValue) const
{
    const std::vector<Waveform::Column>& vColumns = m_recording.m_waveform.getColumns();
    const double dWidth = in_box.m_dWidth / static_cast<double>(vColumns.size());
    const auto yOf = [&](double in_dValue) { return heightOf(in_box, in_dValue, -in_dTopValue, in_dTopValue); };
    if (m_recording.m_stretch.getNbOfSamples() > vColumns.size()) {
        drawBars(out_canvas, in_box, yOf);
        return;
    }
    std::vector<PlotPoint> vPoints;
    for (std::size_t uiColumn = 0; uiColumn < vColumns.size(); ++uiColumn)
        if (vColumns[uiColumn].m_uiNbOfSamples > 0)
            vPoints.push_back({in_box.m_dLeft + (static_cast<double>(uiColumn) + 0.5) * dWidth,
                               yOf(static_cast<double>(vColumns[uiColumn].m_fMin))});
    if (vPoints.size() == 1)
        vPoints = {{vPoints[0].m_dX - dWidth / 2.0, vPoints[0].m_dY},
                   {vPoints[0].m_dX + dWidth / 2.0, vPoints[0].m_dY}};
    out_canvas.line(vPoints, s_loudness, 1.2);
}

void PlotPanel::drawBars(PlotCanvas& out_canvas, const PlotBox& in_box,
                         const std::function<double(double)>& in_yOf) const
{
    const std::vector<Waveform::Column>& vColumns = m_recording.m_waveform.getColumns();
    const double dWidth = in_box.m_dWidth / static_cast<double>(vColumns.size());
    std::vector<Bar> vWave;
    std::vector<Bar> vLoudness;
    std::vector<Bar> vClipped;
    const Waveform::Column* pLast = nullptr;
    for (std::size_t uiColumn = 0; uiColumn < vColumns.size(); ++uiColumn) {
        const Waveform::Column& column = vColumns[uiColumn];
        if (column.m_uiNbOfSamples == 0)
            continue;
        const double dLeft = in_box.m_dLeft + static_cast<double>(uiColumn) * dWidth;
        // They reach to their neighbours, as the signal does.
        const float fMin = pLast == nullptr ? column.m_fMin : std::min(column.m_fMin, pLast->m_fMax);
        const float fMax = pLast == nullptr ? column.m_fMax : std::max(column.m_fMax, pLast->m_fMin);
        pLast = &column;
        const bool bClipped = column.m_bClippedAbove || column.m_bClippedBelow;
        (bClipped ? vClipped : vWave)
            .push_back({dLeft, dLeft + dWidth, in_yOf(static_cast<double>(fMax)) - 0.5,
                        in_yOf(static_cast<double>(fMin)) + 0.5});
        const float fHigh = std::min(column.getRms(), column.m_fMax);
        const float fLow = std::max(-column.getRms(), column.m_fMin);
        if (!bClipped && fLow < fHigh)
            vLoudness.push_back(
                {dLeft, dLeft + dWidth, in_yOf(static_cast<double>(fHigh)), in_yOf(static_cast<double>(fLow))});
    }
    fillBars(out_canvas, vWave, s_wave);
    fillBars(out_canvas, vLoudness, s_loudness);
    fillBars(out_canvas, vClipped, s_clipped);
}

// At the edge on whose side samples are clipped, wide enough to be seen in a thousand columns.
void PlotPanel::drawClipped(PlotCanvas& out_canvas, const PlotBox& in_box) const
{
    constexpr double dMarkWidth = 3.0;
    constexpr double dMarkHeight = 5.0;
    const std::vector<Waveform::Column>& vColumns = m_recording.m_waveform.getColumns();
    const double dWidth = in_box.m_dWidth / static_cast<double>(vColumns.size());
    for (std::size_t uiColumn = 0; uiColumn < vColumns.size(); ++uiColumn) {
        const double dMiddle = in_box.m_dLeft + (static_cast<double>(uiColumn) + 0.5) * dWidth;
        const double dLeft = std::floor(dMiddle) - std::floor(dMarkWidth / 2.0);
        if (vColumns[uiColumn].m_bClippedAbove)
            out_canvas.fill({dLeft, in_box.m_dTop + 1.0, dMarkWidth, dMarkHeight}, s_clipped);
        if (vColumns[uiColumn].m_bClippedBelow)
            out_canvas.fill({dLeft, in_box.getBottom() - dMarkHeight - 1.0, dMarkWidth, dMarkHeight}, s_clipped);
    }
}

void PlotPanel::drawSpectrogram(Cursor& inout_cursor, const LevelRange& in_levels) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const PlotBox box = takeBox(inout_cursor, m_style.m_dSpectrogramHeight);
    const auto uiWidth = static_cast<std::size_t>(box.m_dWidth);
    const auto uiHeight = static_cast<std::size_t>(box.m_dHeight);
    std::vector<std::uint32_t> vPixels;
    vPixels.reserve(uiWidth * uiHeight);
    for (std::size_t uiY = 0; uiY < uiHeight; ++uiY) {
        const double dLower = static_cast<double>(uiHeight - 1 - uiY) / box.m_dHeight;
        const double dUpper = static_cast<double>(uiHeight - uiY) / box.m_dHeight;
        for (std::size_t uiX = 0; uiX < uiWidth; ++uiX) {
            const double dColumn = (static_cast<double>(uiX) + 0.5) / box.m_dWidth;
            const double dLevel = m_recording.m_pSpectrogram->getLevelAt(dColumn, dLower, dUpper);
            const double dShare = (dLevel - in_levels.m_dLowest) / (in_levels.m_dHighest - in_levels.m_dLowest);
            vPixels.push_back(ColourScale::magma().at(dShare));
        }
    }
    canvas.image(box, vPixels);
    drawFrequencyAxis(canvas, box);
    std::vector<AxisTick> vTicks =
        valueTicks(in_levels.m_dLowest, in_levels.m_dHighest, std::min(9U, ticksWithin(box.m_dHeight)));
    vTicks.back().m_strText += " dB";
    drawColourScale(canvas, box, ColourScale::magma(), in_levels.m_dLowest, in_levels.m_dHighest, vTicks);
    canvas.frame(box, s_frame);
}

void PlotPanel::drawFrequencyAxis(PlotCanvas& out_canvas, const PlotBox& in_box) const
{
    constexpr double dMuchHz = 100000.0;
    const double dTopHz = m_recording.m_pSpectrogram->getTopHz();
    const double dUnit = dTopHz >= dMuchHz ? 1000.0 : 1.0;
    std::vector<AxisTick> vTicks = valueTicks(0.0, dTopHz / dUnit, ticksWithin(in_box.m_dHeight));
    if (!vTicks.empty())
        vTicks.back().m_strText += dUnit > 1.0 ? " kHz" : " Hz";
    drawValueTicks(out_canvas, in_box, 0.0, dTopHz / dUnit, vTicks, false);
}

void PlotPanel::drawColourScale(PlotCanvas& out_canvas, const PlotBox& in_box, const ColourScale& in_scale,
                                double in_dMin, double in_dMax, const std::vector<AxisTick>& in_vTicks) const
{
    const TextStyle style = textStyle();
    const PlotBox scale{in_box.getRight() + s_dScaleGap, in_box.m_dTop, s_dScaleWidth, in_box.m_dHeight};
    const auto uiHeight = static_cast<std::size_t>(scale.m_dHeight);
    std::vector<std::uint32_t> vPixels;
    for (std::size_t uiY = 0; uiY < uiHeight; ++uiY)
        vPixels.insert(vPixels.end(), static_cast<std::size_t>(scale.m_dWidth),
                       in_scale.at(1.0 - (static_cast<double>(uiY) + 0.5) / scale.m_dHeight));
    out_canvas.image(scale, vPixels);
    out_canvas.frame(scale, s_frame);
    for (const AxisTick& tick : in_vTicks) {
        const double dY = std::clamp(std::floor(heightOf(scale, tick.m_dValue, in_dMin, in_dMax)), scale.m_dTop,
                                     scale.getBottom() - 1.0);
        out_canvas.fill({scale.getRight(), dY, 3.0, 1.0}, s_frame);
        out_canvas.text({scale.getRight() + 5.0, baselineOf(scale, dY)}, TextPlace::LEFT, tick.m_strText, style);
    }
}

double PlotPanel::scaleTextRoom() const
{
    return m_style.m_dRightMargin - s_dScaleGap - s_dScaleWidth - 6.0;
}

std::string PlotPanel::lostTextsNote() const
{
    return std::to_string(m_uiNbWithoutText) + " of " + counted(m_uiNbOfRegions, "region") +
           " without a text: too little room";
}

void PlotPanel::drawRegions(Cursor& inout_cursor) const
{
    if (m_vSources.empty())
        return;
    inout_cursor.m_dTop += s_dGap;
    for (const SourceLanes& lanes : m_vSources)
        drawSource(inout_cursor, lanes);
    if (m_uiNbWithoutText == 0)
        return;
    const TextStyle style{m_style.m_dTextSize, s_paleInk, false};
    inout_cursor.m_canvas.text({inout_cursor.m_axis.getRight(), inout_cursor.m_dTop + m_style.m_dTextSize},
                               TextPlace::RIGHT,
                               shortenedEnd(lostTextsNote(), inout_cursor.m_axis.getWidth(), widthOf(style)), style);
    inout_cursor.m_dTop += std::ceil(m_style.m_dTextSize * 1.4);
}

// All boxes first: none of them may lie over a text.
void PlotPanel::drawSource(Cursor& inout_cursor, const SourceLanes& in_lanes) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const Colour& colour = in_lanes.m_pSource->m_colour;
    const double dLeft = inout_cursor.m_axis.getLeft();
    const double dHeight = m_style.m_dLaneHeight - 2.0;
    const auto topOf = [&](std::size_t in_uiLane) {
        return inout_cursor.m_dTop + static_cast<double>(in_uiLane) * m_style.m_dLaneHeight + 1.0;
    };
    for (std::size_t uiBox = 0; uiBox < in_lanes.m_vBoxes.size(); ++uiBox) {
        const LaneBox& laneBox = in_lanes.m_vBoxes[uiBox];
        if (!in_lanes.m_vPlaced[uiBox].m_bDrawn)
            continue;
        const PlotBox box{dLeft + laneBox.m_dLeft, topOf(in_lanes.m_vPlaced[uiBox].m_uiLane),
                          laneBox.m_dRight - laneBox.m_dLeft, dHeight};
        canvas.fill(box, withAlpha(colour, 0.4));
        canvas.fill({box.m_dLeft, box.m_dTop, std::min(2.0, box.m_dWidth), box.m_dHeight}, colour);
    }
    const double dBaseline = dHeight / 2.0 + m_style.m_dTextSize * 0.37;
    for (const LaneLayout::Placed& placed : in_lanes.m_vPlaced)
        if (!placed.m_strText.empty())
            canvas.text({dLeft + placed.m_dTextLeft, topOf(placed.m_uiLane) + dBaseline}, TextPlace::LEFT,
                        placed.m_strText, textStyle());
    const TextStyle name{m_style.m_dTextSize, s_paleInk, false};
    canvas.text({dLeft - 10.0, topOf(0) + dBaseline}, TextPlace::RIGHT,
                shortenedEnd(in_lanes.m_pSource->m_szName, m_style.m_dLeftMargin - 12.0, widthOf(name)), name);
    const double dLanesHeight = static_cast<double>(in_lanes.m_uiNbOfLanes) * m_style.m_dLaneHeight;
    canvas.fill({dLeft - 7.0, inout_cursor.m_dTop + 1.0, 3.0, dLanesHeight - 2.0}, colour);
    inout_cursor.m_dTop += dLanesHeight;
}

void PlotPanel::drawCurve(Cursor& inout_cursor, const Curve& in_curve) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    drawCurveTitle(inout_cursor, in_curve);
    const PlotBox box = takeBox(inout_cursor, m_style.m_dCurveHeight);
    double dMin = 0.0;
    double dMax = 0.0;
    if (!in_curve.getRange(dMin, dMax)) {
        const TextStyle style{m_style.m_dTextSize, s_paleInk, false};
        canvas.text({box.m_dLeft + box.m_dWidth / 2.0, box.m_dTop + box.m_dHeight / 2.0}, TextPlace::MIDDLE,
                    "no values", style);
    } else if (in_curve.isStrip()) {
        drawStrip(canvas, box, in_curve);
    } else {
        drawLines(inout_cursor, box, in_curve);
    }
    canvas.frame(box, s_frame);
}

void PlotPanel::drawCurveTitle(Cursor& inout_cursor, const Curve& in_curve) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const TextStyle title{m_style.m_dTextSize, s_ink, true};
    const double dBaseline = inout_cursor.m_dTop + m_style.m_dTextSize * 1.15;
    const std::size_t uiNbOfValues = in_curve.getNbOfValues();
    std::string strLegend;
    for (std::size_t uiValue = 0; !in_curve.isStrip() && uiNbOfValues > 1 && uiValue < uiNbOfValues; ++uiValue)
        strLegend += "  [" + std::to_string(uiValue) + "]";
    const std::string strCount = in_curve.isStrip() ? ", " + std::to_string(uiNbOfValues) + " values" : "";
    const double dRoom = inout_cursor.m_axis.getWidth() - canvas.widthOf(strLegend + strCount, title);
    const std::string strName = shortenedEnd(printable(in_curve.getName()), dRoom, widthOf(title)) + strCount;
    double dX = inout_cursor.m_axis.getLeft();
    canvas.text({dX, dBaseline}, TextPlace::LEFT, strName, title);
    dX += canvas.widthOf(strName, title);
    for (std::size_t uiValue = 0; !strLegend.empty() && uiValue < uiNbOfValues; ++uiValue) {
        const std::string strEntry = "  [" + std::to_string(uiValue) + "]";
        canvas.text({dX, dBaseline}, TextPlace::LEFT, strEntry, {m_style.m_dTextSize, s_aLines[uiValue], true});
        dX += canvas.widthOf(strEntry, title);
    }
    inout_cursor.m_dTop += std::ceil(m_style.m_dTextSize * 1.6);
}

void PlotPanel::drawLines(const Cursor& in_cursor, const PlotBox& in_box, const Curve& in_curve) const
{
    constexpr double dMargin = 0.06; // so that lines do not lie on the frame
    double dMin = 0.0;
    double dMax = 0.0;
    in_curve.getRange(dMin, dMax);
    const double dRoom = dMax > dMin ? (dMax - dMin) * dMargin : dMax == 0.0 ? 1.0 : std::fabs(dMax) / 2.0;
    dMin -= dRoom;
    dMax += dRoom;
    drawGrid(in_cursor, in_box);
    const unsigned uiNbOfTicks = std::clamp(ticksWithin(in_box.m_dHeight), 2U, 5U);
    drawValueTicks(in_cursor.m_canvas, in_box, dMin, dMax, valueTicks(dMin, dMax, uiNbOfTicks), true);
    const PlotCanvas::Clip clip(in_cursor.m_canvas, in_box);
    for (std::size_t uiRow = in_curve.getNbOfRows(); uiRow-- > 0;) // the first one on top
        drawLine(in_cursor, in_box, in_curve, uiRow, dMin, dMax);
}

// The means of the columns as a line, over a band from the least to the greatest value. Where windows gave no finite
// value, both have a gap.
void PlotPanel::drawLine(const Cursor& in_cursor, const PlotBox& in_box, const Curve& in_curve, std::size_t in_uiRow,
                         double in_dMin, double in_dMax) const
{
    std::vector<PlotPoint> vMeans;
    std::vector<PlotPoint> vBand;      // the upper edge
    std::vector<PlotPoint> vLowerBand; // the lower edge
    const Colour& colour = s_aLines[in_uiRow];
    const auto yOf = [&](double in_dValue) { return heightOf(in_box, in_dValue, in_dMin, in_dMax); };
    const auto drawRun = [&] {
        vBand.insert(vBand.end(), vLowerBand.rbegin(), vLowerBand.rend());
        in_cursor.m_canvas.polygon(vBand, withAlpha(colour, 0.25));
        if (vMeans.size() == 1) // a single value would be a line without length
            vMeans = {{vMeans[0].m_dX - 1.0, vMeans[0].m_dY}, {vMeans[0].m_dX + 1.0, vMeans[0].m_dY}};
        in_cursor.m_canvas.line(vMeans, colour, 1.3);
        vMeans.clear();
        vBand.clear();
        vLowerBand.clear();
    };
    for (std::size_t uiColumn = 0; uiColumn < m_recording.m_vCurveTimes.size(); ++uiColumn) {
        if (std::isnan(m_recording.m_vCurveTimes[uiColumn]))
            continue; // no window has its middle here
        const Curve::Cell& cell = in_curve.getCell(uiColumn, in_uiRow);
        if (cell.m_uiCount == 0) {
            drawRun();
            continue;
        }
        const double dX = in_cursor.m_axis.placeOf(m_recording.m_vCurveTimes[uiColumn]);
        vMeans.push_back({dX, yOf(cell.getMean())});
        vBand.push_back({dX, yOf(static_cast<double>(cell.m_fMax))});
        vLowerBand.push_back({dX, yOf(static_cast<double>(cell.m_fMin))});
    }
    drawRun();
}

void PlotPanel::drawStrip(PlotCanvas& out_canvas, const PlotBox& in_box, const Curve& in_curve) const
{
    double dMin = 0.0;
    double dMax = 0.0;
    in_curve.getRange(dMin, dMax);
    const double dSpan = dMax > dMin ? dMax - dMin : 1.0;
    const std::vector<double>& vTimes = m_recording.m_vCurveTimes;
    const auto uiWidth = static_cast<std::size_t>(in_box.m_dWidth);
    const auto uiHeight = static_cast<std::size_t>(in_box.m_dHeight);
    std::vector<std::uint32_t> vPixels(uiWidth * uiHeight);
    // Columns without a window show the last one before them, and those before the first window that one.
    const auto isThere = [](double in_dTime) { return !std::isnan(in_dTime); };
    auto uiShown = static_cast<std::size_t>(std::find_if(vTimes.begin(), vTimes.end(), isThere) - vTimes.begin());
    for (std::size_t uiX = 0; uiX < uiWidth; ++uiX) {
        const std::size_t uiColumn = uiX * vTimes.size() / uiWidth;
        if (isThere(vTimes[uiColumn]))
            uiShown = uiColumn;
        for (std::size_t uiY = 0; uiY < uiHeight; ++uiY) {
            const std::size_t uiRow = (uiHeight - 1 - uiY) * in_curve.getNbOfRows() / uiHeight;
            const double dShare = (in_curve.getCell(uiShown, uiRow).getMean() - dMin) / dSpan;
            vPixels[uiY * uiWidth + uiX] = ColourScale::viridis().at(dShare);
        }
    }
    out_canvas.image(in_box, vPixels);
    const double dLast = static_cast<double>(in_curve.getNbOfValues());
    std::vector<AxisTick> vTicks = valueTicks(0.0, dLast - 1.0, std::clamp(ticksWithin(in_box.m_dHeight), 2U, 5U));
    for (AxisTick& tick : vTicks)
        tick.m_strText = "[" + tick.m_strText + "]";
    drawValueTicks(out_canvas, in_box, -0.5, dLast - 0.5, vTicks, false);
    const auto textOf = [&](double in_dValue) { return fittingText(in_dValue, scaleTextRoom(), widthOf(textStyle())); };
    drawColourScale(out_canvas, in_box, ColourScale::viridis(), dMin, dMin + dSpan,
                    {{dMin, textOf(dMin)}, {dMin + dSpan, textOf(dMin + dSpan)}});
}

void PlotPanel::drawTimeAxis(Cursor& inout_cursor) const
{
    PlotCanvas& canvas = inout_cursor.m_canvas;
    const TextStyle style = textStyle();
    const double dBaseline = inout_cursor.m_dTop + s_dTickLength + m_style.m_dTextSize * 1.1;
    for (const AxisTick& tick : inout_cursor.m_vTimeTicks) {
        const double dX = inout_cursor.m_axis.placeOf(tick.m_dValue);
        canvas.fill(
            {std::min(std::floor(dX), inout_cursor.m_axis.getRight() - 1.0), inout_cursor.m_dTop, 1.0, s_dTickLength},
            s_frame);
        canvas.text({dX, dBaseline}, TextPlace::MIDDLE, tick.m_strText, style);
    }
    const TextStyle unit{m_style.m_dTextSize, s_paleInk, false};
    canvas.text(
        {inout_cursor.m_axis.getLeft() + inout_cursor.m_axis.getWidth() / 2.0, dBaseline + m_style.m_dTextSize * 1.35},
        TextPlace::MIDDLE, "time (" + inout_cursor.m_axis.getUnit() + ")", unit);
    inout_cursor.m_dTop += getAxisHeight();
}

} // namespace Corvana::Tools
