// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/PlotCanvas.h"
#include "tools/PlotPanel.h"
#include "tools/PlotReader.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// A picture of one recording, or of several side by side in rows.
class PlotSheet
{
public:
    /// in_uiNbOfRecordings: how many there are to be, from 1; in_uiHeight: 0 for what the tracks need.
    PlotSheet(std::size_t in_uiNbOfRecordings, unsigned long in_uiWidth, unsigned long in_uiHeight);

    /// The columns of pixels that a recording is to be read into.
    unsigned long getNbOfColumns() const { return m_style.getNbOfColumns(); }
    /// The bytes of the picture's file; empty, and why in out_strFault: there is none.
    std::string draw(const std::vector<PlotRecording>& in_vRecordings, PictureFormat in_format,
                     std::string& out_strFault) const;

private:
    using Panels = std::vector<PlotPanel>;

    Panels makePanels(const std::vector<PlotRecording>& in_vRecordings, const PanelStyle& in_style,
                      const PlotCanvas& in_ruler) const;
    std::vector<double> rowHeights(const Panels& in_vPanels) const;
    double neededHeight(const Panels& in_vPanels) const;
    std::string fitHeight(const std::vector<PlotRecording>& in_vRecordings, double in_dNeeded,
                          PanelStyle& out_style) const;

    unsigned long m_uiWidth;
    unsigned long m_uiHeight;
    std::size_t m_uiNbAcross;
    PanelStyle m_style;
};

} // namespace Corvana::Tools
