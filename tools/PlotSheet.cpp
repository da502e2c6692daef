// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotSheet.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace Corvana::Tools {
namespace {

constexpr double s_dMargin = 6.0;       // around everything
constexpr double s_dRowGap = 14.0;      // between rows of panels
constexpr double s_dLeastPanel = 330.0; // narrower ones show too little

// About as many across as below, as far as they fit; a little more or less where that leaves fewer places empty.
std::size_t nbAcross(std::size_t in_uiNbOfRecordings, double in_dWidth)
{
    const std::size_t uiFit = std::max(std::size_t{1}, static_cast<std::size_t>(in_dWidth / s_dLeastPanel));
    const auto uiSquare = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(in_uiNbOfRecordings))));
    const auto emptyPlaces = [&](std::size_t in_uiAcross) {
        return (in_uiAcross - in_uiNbOfRecordings % in_uiAcross) % in_uiAcross;
    };
    std::size_t uiBest = std::min(uiFit, uiSquare);
    for (const std::size_t uiAcross : {uiSquare + 1, uiSquare - 1})
        if (uiAcross >= 1 && uiAcross <= uiFit && emptyPlaces(uiAcross) < emptyPlaces(uiBest))
            uiBest = uiAcross;
    return uiBest;
}

} // namespace

PlotSheet::PlotSheet(std::size_t in_uiNbOfRecordings, unsigned long in_uiWidth, unsigned long in_uiHeight)
    : m_uiWidth(in_uiWidth)
    , m_uiHeight(in_uiHeight)
    , m_uiNbAcross(nbAcross(std::max(std::size_t{1}, in_uiNbOfRecordings), static_cast<double>(in_uiWidth)))
{
    const double dPanel = std::floor(static_cast<double>(in_uiWidth) / static_cast<double>(m_uiNbAcross));
    m_style = in_uiNbOfRecordings > 1 ? PanelStyle::small(dPanel) : PanelStyle::large(dPanel);
}

PlotSheet::Panels PlotSheet::makePanels(const std::vector<PlotRecording>& in_vRecordings, const PanelStyle& in_style,
                                        const PlotCanvas& in_ruler) const
{
    Panels vPanels;
    vPanels.reserve(in_vRecordings.size());
    for (const PlotRecording& recording : in_vRecordings)
        vPanels.emplace_back(recording, in_style, in_ruler);
    return vPanels;
}

std::vector<double> PlotSheet::rowHeights(const Panels& in_vPanels) const
{
    std::vector<double> vHeights((in_vPanels.size() + m_uiNbAcross - 1) / m_uiNbAcross);
    for (std::size_t uiPanel = 0; uiPanel < in_vPanels.size(); ++uiPanel) {
        double& dHeight = vHeights[uiPanel / m_uiNbAcross];
        dHeight = std::max(dHeight, in_vPanels[uiPanel].getHeight());
    }
    return vHeights;
}

double PlotSheet::neededHeight(const Panels& in_vPanels) const
{
    const std::vector<double> vHeights = rowHeights(in_vPanels);
    return std::accumulate(vHeights.begin(), vHeights.end(), 0.0) +
           static_cast<double>(vHeights.size() - 1) * s_dRowGap + 2.0 * s_dMargin;
}

// What stretches takes up the difference: waveforms, spectrograms and curves, as many as there are rows.
std::string PlotSheet::fitHeight(const std::vector<PlotRecording>& in_vRecordings, double in_dNeeded,
                                 PanelStyle& out_style) const
{
    constexpr double dLeastFactor = 0.35;
    const std::size_t uiNbOfRows = (in_vRecordings.size() + m_uiNbAcross - 1) / m_uiNbAcross;
    const auto dNbOfRows = static_cast<double>(uiNbOfRows);
    std::size_t uiNbOfCurves = 0;
    for (const PlotRecording& recording : in_vRecordings)
        uiNbOfCurves = std::max(uiNbOfCurves, recording.m_vCurves.size());
    const double dFlexible = out_style.getFlexibleHeight(uiNbOfCurves) * dNbOfRows;
    const double dFactor = 1.0 + (static_cast<double>(m_uiHeight) - in_dNeeded) / dFlexible;
    if (dFactor < dLeastFactor) {
        const double dLeast = std::ceil(in_dNeeded - (1.0 - dLeastFactor) * dFlexible);
        return "a --height of " + std::to_string(m_uiHeight) + " is too little for what is to be drawn: at least " +
               std::to_string(static_cast<unsigned long>(dLeast));
    }
    out_style.stretch(dFactor);
    return {};
}

std::string PlotSheet::draw(const std::vector<PlotRecording>& in_vRecordings, PictureFormat in_format,
                            std::string& out_strFault) const
{
    const PlotCanvas ruler(PictureFormat::PNG, 1, 1);
    PanelStyle style = m_style;
    Panels vPanels = makePanels(in_vRecordings, style, ruler);
    if (m_uiHeight > 0) {
        out_strFault = fitHeight(in_vRecordings, neededHeight(vPanels), style);
        vPanels = makePanels(in_vRecordings, style, ruler);
    }
    const auto uiNeeded = static_cast<unsigned long>(std::ceil(neededHeight(vPanels)));
    if (out_strFault.empty() && uiNeeded > PlotCanvas::s_uiMaxSize)
        out_strFault = "the picture would be " + std::to_string(uiNeeded) + " pixels high, more than " +
                       std::to_string(PlotCanvas::s_uiMaxSize) + "; draw fewer recordings, or with a larger --width";
    if (!out_strFault.empty())
        return {};

    double dHighest = -1000.0;
    for (const PlotRecording& recording : in_vRecordings)
        dHighest = std::max(dHighest, recording.m_pSpectrogram->getHighestLevel());
    const LevelRange levels = LevelRange::below(dHighest);
    PlotCanvas canvas(in_format, m_uiWidth, m_uiHeight > 0 ? std::max(m_uiHeight, uiNeeded) : uiNeeded);
    const std::vector<double> vHeights = rowHeights(vPanels);
    double dTop = s_dMargin;
    for (std::size_t uiPanel = 0; uiPanel < vPanels.size(); ++uiPanel) {
        vPanels[uiPanel].draw(canvas, static_cast<double>(uiPanel % m_uiNbAcross) * m_style.m_dWidth, dTop, levels);
        if ((uiPanel + 1) % m_uiNbAcross == 0)
            dTop += vHeights[uiPanel / m_uiNbAcross] + s_dRowGap;
    }
    return canvas.finish(out_strFault);
}

} // namespace Corvana::Tools
