// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AxisTicks.h"
#include "tools/ColourScale.h"
#include "tools/LaneLayout.h"
#include "tools/PlotCanvas.h"
#include "tools/PlotReader.h"
#include "tools/RegionSource.h"

#include <functional>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// The measures of a panel, in pixels.
struct PanelStyle
{
    double m_dWidth = 1200.0;
    double m_dLeftMargin = 72.0;  ///< room for the texts of axes
    double m_dRightMargin = 66.0; ///< room for the scales of colours
    double m_dWaveformHeight = 130.0;
    double m_dSpectrogramHeight = 240.0;
    double m_dCurveHeight = 80.0;
    double m_dLaneHeight = 17.0;
    std::size_t m_uiMaxNbOfLanes = 24;
    double m_dTextSize = 11.0;
    double m_dTitleSize = 13.0;

    /// Of a single recording, or for one of several, with less room. The width is that of a panel.
    static PanelStyle large(double in_dWidth);
    static PanelStyle small(double in_dWidth);

    /// The width of what is drawn along the time axis, in whole pixels.
    unsigned long getNbOfColumns() const;
    /// Heights that may grow and shrink, with so many curves.
    double getFlexibleHeight(std::size_t in_uiNbOfCurves) const;
    void stretch(double in_dFactor);
};

/// The levels between which a spectrogram's colours change, in dB.
struct LevelRange
{
    double m_dLowest = -70.0;
    double m_dHighest = 0.0;

    /// 70 dB below the level, which is rounded up to whole tens; of silence, those of a full-scale tone.
    static LevelRange below(double in_dHighestLevel);
};

/// One recording: title, waveform, spectrogram, regions, curves, and the time axis that is theirs all.
class PlotPanel
{
public:
    /// in_ruler: measures texts. The recording and the ruler must stay as long as the panel.
    PlotPanel(const PlotRecording& in_recording, const PanelStyle& in_style, const PlotCanvas& in_ruler);

    double getHeight() const;
    void draw(PlotCanvas& out_canvas, double in_dLeft, double in_dTop, const LevelRange& in_levels) const;

private:
    // The regions of one source.
    struct SourceLanes
    {
        const RegionSource* m_pSource;
        std::vector<LaneBox> m_vBoxes;
        std::vector<LaneLayout::Placed> m_vPlaced;
        std::size_t m_uiNbOfLanes;
        std::size_t m_uiNbWithoutText;
    };
    // What is drawn next: where, and how the panel's time lies on the sheet.
    struct Cursor
    {
        PlotCanvas& m_canvas;
        TimeAxis m_axis;
        std::vector<AxisTick> m_vTimeTicks;
        double m_dTop;
    };

    void layOutRegions();
    void shareLanes();
    void layOut(SourceLanes& inout_lanes, std::size_t in_uiMaxNbOfLanes) const;
    double getTitleHeight() const;
    double getRegionsHeight() const;
    double getAxisHeight() const;
    std::string infoText() const;
    std::string lostTextsNote() const;
    TextStyle textStyle() const;
    TextWidth widthOf(const TextStyle& in_style) const;

    void drawTitle(Cursor& inout_cursor) const;
    void drawWaveform(Cursor& inout_cursor) const;
    void drawColumns(PlotCanvas& out_canvas, const PlotBox& in_box, double in_dTopValue) const;
    void drawBars(PlotCanvas& out_canvas, const PlotBox& in_box, const std::function<double(double)>& in_yOf) const;
    void drawClipped(PlotCanvas& out_canvas, const PlotBox& in_box) const;
    void drawSpectrogram(Cursor& inout_cursor, const LevelRange& in_levels) const;
    void drawFrequencyAxis(PlotCanvas& out_canvas, const PlotBox& in_box) const;
    void drawRegions(Cursor& inout_cursor) const;
    void drawSource(Cursor& inout_cursor, const SourceLanes& in_lanes) const;
    void drawCurve(Cursor& inout_cursor, const Curve& in_curve) const;
    void drawCurveTitle(Cursor& inout_cursor, const Curve& in_curve) const;
    void drawLines(const Cursor& in_cursor, const PlotBox& in_box, const Curve& in_curve) const;
    void drawLine(const Cursor& in_cursor, const PlotBox& in_box, const Curve& in_curve, std::size_t in_uiRow,
                  double in_dMin, double in_dMax) const;
    void drawStrip(PlotCanvas& out_canvas, const PlotBox& in_box, const Curve& in_curve) const;
    void drawTimeAxis(Cursor& inout_cursor) const;
    void drawGrid(const Cursor& in_cursor, const PlotBox& in_box) const;
    void drawValueTicks(PlotCanvas& out_canvas, const PlotBox& in_box, double in_dMin, double in_dMax,
                        const std::vector<AxisTick>& in_vTicks, bool in_bLines) const;
    void drawColourScale(PlotCanvas& out_canvas, const PlotBox& in_box, const ColourScale& in_scale, double in_dMin,
                         double in_dMax, const std::vector<AxisTick>& in_vTicks) const;
    double scaleTextRoom() const;
    double baselineOf(const PlotBox& in_box, double in_dY) const;
    PlotBox takeBox(Cursor& inout_cursor, double in_dHeight) const;
    unsigned ticksWithin(double in_dHeight) const;

    const PlotRecording& m_recording;
    PanelStyle m_style;
    const PlotCanvas& m_ruler;
    std::vector<SourceLanes> m_vSources;
    std::size_t m_uiNbOfRegions = 0;
    std::size_t m_uiNbWithoutText = 0;
};

} // namespace Corvana::Tools
