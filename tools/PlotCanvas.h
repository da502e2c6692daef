// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Colour.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace Corvana::Tools {

enum class PictureFormat
{
    PNG,
    SVG,
    PDF
};

struct PlotPoint
{
    double m_dX = 0.0;
    double m_dY = 0.0;
};

struct PlotBox
{
    double m_dLeft = 0.0;
    double m_dTop = 0.0;
    double m_dWidth = 0.0;
    double m_dHeight = 0.0;

    double getRight() const { return m_dLeft + m_dWidth; }
    double getBottom() const { return m_dTop + m_dHeight; }
};

enum class TextPlace
{
    LEFT,   ///< the point is the text's left end
    MIDDLE, ///< its middle
    RIGHT   ///< its right end
};

struct TextStyle
{
    double m_dSize = 11.0; ///< pixels
    Colour m_colour;
    bool m_bBold = false;
};

/// A white sheet to draw on, x to the right and y downwards in pixels; of vector formats, a pixel is a point. The same
/// calls give the same bytes, at any time. Texts are UTF-8; what is not becomes U+FFFD, and control characters are
/// written out.
class PlotCanvas
{
public:
    /// Pictures are at most so wide and high.
    static constexpr unsigned long s_uiMaxSize = 32000;

    PlotCanvas(PictureFormat in_format, unsigned long in_uiWidth, unsigned long in_uiHeight);
    ~PlotCanvas();
    PlotCanvas(const PlotCanvas&) = delete;
    PlotCanvas& operator=(const PlotCanvas&) = delete;

    /// On any canvas; a sheet of 1 by 1 is as good for measuring.
    double widthOf(const std::string& in_strText, const TextStyle& in_style) const;

    void text(PlotPoint in_point, TextPlace in_place, const std::string& in_strText, const TextStyle& in_style);
    /// From below to above, its middle at the point.
    void textUpwards(PlotPoint in_point, const std::string& in_strText, const TextStyle& in_style);
    void fill(const PlotBox& in_box, const Colour& in_colour);
    /// A line of one pixel along the inner edge.
    void frame(const PlotBox& in_box, const Colour& in_colour);
    void line(std::span<const PlotPoint> in_points, const Colour& in_colour, double in_dWidth);
    void polygon(std::span<const PlotPoint> in_points, const Colour& in_colour);
    /// Pixels row by row from the top, 0xRRGGBB, as wide and high as the box in whole pixels.
    void image(const PlotBox& in_box, std::span<const std::uint32_t> in_pixels);

    /// What is drawn while it exists stays within the box.
    class Clip
    {
    public:
        Clip(PlotCanvas& inout_canvas, const PlotBox& in_box);
        ~Clip();
        Clip(const Clip&) = delete;
        Clip& operator=(const Clip&) = delete;

    private:
        PlotCanvas& m_canvas;
    };

    /// Ends the picture; the bytes of its file. Empty, and why in out_strFault: it could not be made.
    std::string finish(std::string& out_strFault);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Corvana::Tools
