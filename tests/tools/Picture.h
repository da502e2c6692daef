// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cairo.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace Corvana::Tools {

/// A PNG file in memory, read by Cairo.
class Picture
{
public:
    explicit Picture(const std::string& in_strBytes)
    {
        std::string strRest = in_strBytes;
        m_pSurface.reset(cairo_image_surface_create_from_png_stream(read, &strRest));
        EXPECT_EQ(cairo_surface_status(m_pSurface.get()), CAIRO_STATUS_SUCCESS);
    }

    int width() const { return cairo_image_surface_get_width(m_pSurface.get()); }
    int height() const { return cairo_image_surface_get_height(m_pSurface.get()); }
    /// 0xRRGGBB
    std::uint32_t at(int in_iX, int in_iY) const
    {
        std::uint32_t uiPixel = 0;
        const int iStride = cairo_image_surface_get_stride(m_pSurface.get());
        std::memcpy(&uiPixel, cairo_image_surface_get_data(m_pSurface.get()) + in_iY * iStride + in_iX * 4, 4);
        return uiPixel & 0xFFFFFFU;
    }
    /// Of the pixels in a box, those of one colour.
    int count(std::uint32_t in_uiColour, int in_iLeft, int in_iTop, int in_iWidth, int in_iHeight) const
    {
        int iCount = 0;
        for (int iY = in_iTop; iY < in_iTop + in_iHeight; ++iY)
            for (int iX = in_iLeft; iX < in_iLeft + in_iWidth; ++iX)
                iCount += at(iX, iY) == in_uiColour ? 1 : 0;
        return iCount;
    }
    int count(std::uint32_t in_uiColour) const { return count(in_uiColour, 0, 0, width(), height()); }
    /// How light a pixel is, from 0 to 765.
    int brightness(int in_iX, int in_iY) const
    {
        const std::uint32_t uiPixel = at(in_iX, in_iY);
        return static_cast<int>((uiPixel >> 16U & 0xFFU) + (uiPixel >> 8U & 0xFFU) + (uiPixel & 0xFFU));
    }

private:
    struct Destroyer
    {
        void operator()(cairo_surface_t* in_pSurface) const { cairo_surface_destroy(in_pSurface); }
    };

    static cairo_status_t read(void* inout_pText, unsigned char* out_pBytes, unsigned in_uiSize)
    {
        auto& strRest = *static_cast<std::string*>(inout_pText);
        if (strRest.size() < in_uiSize)
            return CAIRO_STATUS_READ_ERROR;
        std::memcpy(out_pBytes, strRest.data(), in_uiSize);
        strRest.erase(0, in_uiSize);
        return CAIRO_STATUS_SUCCESS;
    }

    std::unique_ptr<cairo_surface_t, Destroyer> m_pSurface;
};

} // namespace Corvana::Tools
