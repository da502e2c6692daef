// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotCanvas.h"

#include "tools/Text.h"
#include "tools/ValidText.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstring>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szFont = "DejaVu Sans";

struct SurfaceDestroyer
{
    void operator()(cairo_surface_t* in_pSurface) const { cairo_surface_destroy(in_pSurface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDestroyer>;

struct ContextDestroyer
{
    void operator()(cairo_t* in_pContext) const { cairo_destroy(in_pContext); }
};
using Context = std::unique_ptr<cairo_t, ContextDestroyer>;

struct OptionsDestroyer
{
    void operator()(cairo_font_options_t* in_pOptions) const { cairo_font_options_destroy(in_pOptions); }
};

cairo_status_t appendBytes(void* inout_pText, const unsigned char* in_pBytes, unsigned in_uiSize)
try {
    static_cast<std::string*>(inout_pText)->append(reinterpret_cast<const char*>(in_pBytes), in_uiSize);
    return CAIRO_STATUS_SUCCESS;
} catch (const std::bad_alloc&) {
    return CAIRO_STATUS_NO_MEMORY;
}

Surface makeSurface(PictureFormat in_format, unsigned long in_uiWidth, unsigned long in_uiHeight,
                    std::string& out_strBytes)
{
    const auto dWidth = static_cast<double>(in_uiWidth);
    const auto dHeight = static_cast<double>(in_uiHeight);
    if (in_format == PictureFormat::SVG)
        return Surface(cairo_svg_surface_create_for_stream(appendBytes, &out_strBytes, dWidth, dHeight));
    if (in_format == PictureFormat::PDF) {
        Surface pSurface(cairo_pdf_surface_create_for_stream(appendBytes, &out_strBytes, dWidth, dHeight));
        // The time of drawing would make every file another one.
        cairo_pdf_surface_set_metadata(pSurface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
        return pSurface;
    }
    return Surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(in_uiWidth), static_cast<int>(in_uiHeight)));
}

// The fonts that were looked up are kept for the next texts, until the program ends.
struct FontKeeper
{
    ~FontKeeper()
    {
        cairo_debug_reset_static_data();
        FcFini();
    }
};

void keepFonts()
{
    static const FontKeeper keeper;
}

std::string drawable(const std::string& in_strText)
{
    return validText(printable(in_strText));
}

} // namespace

struct PlotCanvas::Impl
{
    Impl(PictureFormat in_format, unsigned long in_uiWidth, unsigned long in_uiHeight)
        : m_format(in_format)
        , m_pSurface(makeSurface(in_format, in_uiWidth, in_uiHeight, m_strBytes))
        , m_pContext(cairo_create(m_pSurface.get()))
    {
        keepFonts();
        // Letters take the same room in all formats and at all places.
        const std::unique_ptr<cairo_font_options_t, OptionsDestroyer> pOptions(cairo_font_options_create());
        cairo_font_options_set_hint_metrics(pOptions.get(), CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_hint_style(pOptions.get(), CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_antialias(pOptions.get(), CAIRO_ANTIALIAS_GRAY);
        cairo_set_font_options(m_pContext.get(), pOptions.get());
        cairo_set_source_rgb(m_pContext.get(), 1.0, 1.0, 1.0);
        cairo_paint(m_pContext.get());
    }

    cairo_t* use(const Colour& in_colour)
    {
        cairo_set_source_rgba(m_pContext.get(), in_colour.m_dRed, in_colour.m_dGreen, in_colour.m_dBlue,
                              in_colour.m_dAlpha);
        return m_pContext.get();
    }

    cairo_t* use(const TextStyle& in_style)
    {
        cairo_select_font_face(m_pContext.get(), s_szFont, CAIRO_FONT_SLANT_NORMAL,
                               in_style.m_bBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(m_pContext.get(), in_style.m_dSize);
        return use(in_style.m_colour);
    }

    void path(std::span<const PlotPoint> in_points)
    {
        cairo_new_path(m_pContext.get());
        for (const PlotPoint& point : in_points)
            cairo_line_to(m_pContext.get(), point.m_dX, point.m_dY);
    }

    PictureFormat m_format;
    std::string m_strBytes; // of vector formats while they are drawn
    Surface m_pSurface;
    Context m_pContext;
};

PlotCanvas::PlotCanvas(PictureFormat in_format, unsigned long in_uiWidth, unsigned long in_uiHeight)
    : m_pImpl(std::make_unique<Impl>(in_format, in_uiWidth, in_uiHeight))
{
}

PlotCanvas::~PlotCanvas() = default;

double PlotCanvas::widthOf(const std::string& in_strText, const TextStyle& in_style) const
{
    cairo_text_extents_t extents;
    cairo_text_extents(m_pImpl->use(in_style), drawable(in_strText).c_str(), &extents);
    return extents.x_advance;
}

void PlotCanvas::text(PlotPoint in_point, TextPlace in_place, const std::string& in_strText, const TextStyle& in_style)
{
    const double dShare = in_place == TextPlace::LEFT ? 0.0 : in_place == TextPlace::MIDDLE ? 0.5 : 1.0;
    const double dLeft = in_point.m_dX - dShare * widthOf(in_strText, in_style);
    cairo_t* pContext = m_pImpl->use(in_style);
    cairo_move_to(pContext, dLeft, in_point.m_dY);
    cairo_show_text(pContext, drawable(in_strText).c_str());
}

void PlotCanvas::textUpwards(PlotPoint in_point, const std::string& in_strText, const TextStyle& in_style)
{
    constexpr double dRightAngle = 1.5707963267948966;
    const double dWidth = widthOf(in_strText, in_style);
    cairo_t* pContext = m_pImpl->use(in_style);
    cairo_save(pContext);
    cairo_translate(pContext, in_point.m_dX, in_point.m_dY);
    cairo_rotate(pContext, -dRightAngle);
    cairo_move_to(pContext, -dWidth / 2.0, 0.0);
    cairo_show_text(pContext, drawable(in_strText).c_str());
    cairo_restore(pContext);
}

void PlotCanvas::fill(const PlotBox& in_box, const Colour& in_colour)
{
    cairo_t* pContext = m_pImpl->use(in_colour);
    cairo_rectangle(pContext, in_box.m_dLeft, in_box.m_dTop, in_box.m_dWidth, in_box.m_dHeight);
    cairo_fill(pContext);
}

void PlotCanvas::frame(const PlotBox& in_box, const Colour& in_colour)
{
    cairo_t* pContext = m_pImpl->use(in_colour);
    cairo_set_line_width(pContext, 1.0);
    cairo_set_line_join(pContext, CAIRO_LINE_JOIN_MITER);
    cairo_rectangle(pContext, in_box.m_dLeft + 0.5, in_box.m_dTop + 0.5, std::max(0.0, in_box.m_dWidth - 1.0),
                    std::max(0.0, in_box.m_dHeight - 1.0));
    cairo_stroke(pContext);
}

void PlotCanvas::line(std::span<const PlotPoint> in_points, const Colour& in_colour, double in_dWidth)
{
    cairo_t* pContext = m_pImpl->use(in_colour);
    cairo_set_line_width(pContext, in_dWidth);
    cairo_set_line_join(pContext, CAIRO_LINE_JOIN_ROUND);
    m_pImpl->path(in_points);
    cairo_stroke(pContext);
}

void PlotCanvas::polygon(std::span<const PlotPoint> in_points, const Colour& in_colour)
{
    cairo_t* pContext = m_pImpl->use(in_colour);
    m_pImpl->path(in_points);
    cairo_close_path(pContext);
    cairo_fill(pContext);
}

void PlotCanvas::image(const PlotBox& in_box, std::span<const std::uint32_t> in_pixels)
{
    const auto uiWidth = static_cast<std::size_t>(in_box.m_dWidth);
    const auto uiHeight = static_cast<std::size_t>(in_box.m_dHeight);
    const Surface pImage(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(uiWidth), static_cast<int>(uiHeight)));
    cairo_surface_flush(pImage.get());
    unsigned char* pRows = cairo_image_surface_get_data(pImage.get());
    if (pRows == nullptr) {
        // Keeps the fault for finish(), as every other call does by itself.
        cairo_set_source_surface(m_pImpl->m_pContext.get(), pImage.get(), 0.0, 0.0);
        return;
    }
    const auto uiStride = static_cast<std::size_t>(cairo_image_surface_get_stride(pImage.get()));
    for (std::size_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        std::memcpy(pRows + uiRow * uiStride, in_pixels.data() + uiRow * uiWidth, uiWidth * sizeof(std::uint32_t));
    cairo_surface_mark_dirty(pImage.get());
    cairo_t* pContext = m_pImpl->m_pContext.get();
    cairo_set_source_surface(pContext, pImage.get(), in_box.m_dLeft, in_box.m_dTop);
    cairo_pattern_set_filter(cairo_get_source(pContext), CAIRO_FILTER_NEAREST);
    cairo_rectangle(pContext, in_box.m_dLeft, in_box.m_dTop, in_box.m_dWidth, in_box.m_dHeight);
    cairo_fill(pContext);
}

PlotCanvas::Clip::Clip(PlotCanvas& inout_canvas, const PlotBox& in_box)
    : m_canvas(inout_canvas)
{
    cairo_t* pContext = m_canvas.m_pImpl->m_pContext.get();
    cairo_save(pContext);
    cairo_rectangle(pContext, in_box.m_dLeft, in_box.m_dTop, in_box.m_dWidth, in_box.m_dHeight);
    cairo_clip(pContext);
}

PlotCanvas::Clip::~Clip()
{
    cairo_restore(m_canvas.m_pImpl->m_pContext.get());
}

std::string PlotCanvas::finish(std::string& out_strFault)
{
    Impl& impl = *m_pImpl;
    cairo_status_t status = cairo_status(impl.m_pContext.get());
    if (status == CAIRO_STATUS_SUCCESS && impl.m_format == PictureFormat::PNG)
        status = cairo_surface_write_to_png_stream(impl.m_pSurface.get(), appendBytes, &impl.m_strBytes);
    cairo_surface_finish(impl.m_pSurface.get());
    if (status == CAIRO_STATUS_SUCCESS)
        status = cairo_surface_status(impl.m_pSurface.get());
    if (status == CAIRO_STATUS_SUCCESS)
        return std::move(impl.m_strBytes);
    out_strFault = std::string("the picture could not be drawn: ") + cairo_status_to_string(status);
    return {};
}

} // namespace Corvana::Tools
