// SPDX-License-Identifier: Apache-2.0
#include "tools/PlotCanvas.h"

#include "Picture.h"

#include <gmock/gmock.h>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr Colour s_red = Colour::of(0xFF0000);

std::string bytesOf(PlotCanvas& inout_canvas)
{
    std::string strFault;
    std::string strBytes = inout_canvas.finish(strFault);
    EXPECT_EQ(strFault, "");
    return strBytes;
}

TEST(PlotCanvas, IsWhiteAtFirst)
{
    PlotCanvas canvas(PictureFormat::PNG, 30, 20);
    const Picture picture(bytesOf(canvas));
    EXPECT_EQ(picture.width(), 30);
    EXPECT_EQ(picture.height(), 20);
    EXPECT_EQ(picture.count(0xFFFFFF), 600);
}

TEST(PlotCanvas, FillsWholePixels)
{
    PlotCanvas canvas(PictureFormat::PNG, 30, 20);
    canvas.fill({5.0, 6.0, 4.0, 3.0}, s_red);
    const Picture picture(bytesOf(canvas));
    EXPECT_EQ(picture.count(0xFF0000), 12);
    EXPECT_EQ(picture.count(0xFF0000, 5, 6, 4, 3), 12);
}

TEST(PlotCanvas, FramesInside)
{
    PlotCanvas canvas(PictureFormat::PNG, 30, 20);
    canvas.frame({5.0, 6.0, 4.0, 3.0}, s_red);
    const Picture picture(bytesOf(canvas));
    EXPECT_EQ(picture.count(0xFF0000), 10);
    EXPECT_EQ(picture.at(6, 7), 0xFFFFFFU);
}

TEST(PlotCanvas, DrawsPixelsOfAnImageAsTheyAre)
{
    const std::uint32_t auiPixels[] = {0x010203, 0x040506, 0x070809, 0x0A0B0C, 0x0D0E0F, 0x101112};
    PlotCanvas canvas(PictureFormat::PNG, 30, 20);
    canvas.image({10.0, 5.0, 3.0, 2.0}, auiPixels);
    const Picture picture(bytesOf(canvas));
    EXPECT_EQ(picture.at(10, 5), 0x010203U);
    EXPECT_EQ(picture.at(12, 5), 0x070809U);
    EXPECT_EQ(picture.at(12, 6), 0x101112U);
    EXPECT_EQ(picture.count(0xFFFFFF), 594);
}

TEST(PlotCanvas, ClipsWhatIsDrawnOutside)
{
    PlotCanvas canvas(PictureFormat::PNG, 30, 20);
    {
        const PlotCanvas::Clip clip(canvas, {10.0, 10.0, 2.0, 2.0});
        canvas.fill({0.0, 0.0, 30.0, 20.0}, s_red);
    }
    canvas.fill({0.0, 0.0, 1.0, 1.0}, s_red);
    EXPECT_EQ(Picture(bytesOf(canvas)).count(0xFF0000), 5);
}

TEST(PlotCanvas, DrawsTextsWhereTheyAreAskedFor)
{
    const TextStyle style{11.0, Colour::of(0x000000), false};
    PlotCanvas canvas(PictureFormat::PNG, 200, 60);
    const double dWidth = canvas.widthOf("BEEP", style);
    EXPECT_GT(dWidth, 15.0);
    EXPECT_LT(dWidth, 50.0);
    canvas.text({100.0, 15.0}, TextPlace::LEFT, "BEEP", style);
    canvas.text({100.0, 35.0}, TextPlace::RIGHT, "BEEP", style);
    canvas.text({100.0, 55.0}, TextPlace::MIDDLE, "BEEP", style);
    const Picture picture(bytesOf(canvas));
    EXPECT_EQ(picture.count(0xFFFFFF, 0, 0, 100, 20), 2000);
    EXPECT_LT(picture.count(0xFFFFFF, 100, 0, 100, 20), 1950);
    EXPECT_LT(picture.count(0xFFFFFF, 0, 20, 100, 20), 1950);
    EXPECT_EQ(picture.count(0xFFFFFF, 101, 20, 99, 20), 1980);
    EXPECT_LT(picture.count(0xFFFFFF, 0, 40, 100, 20), 1980);
    EXPECT_LT(picture.count(0xFFFFFF, 100, 40, 100, 20), 1980);
}

TEST(PlotCanvas, DrawsTextsThatAreNoUtf8OrHoldControlCharacters)
{
    const TextStyle style;
    PlotCanvas canvas(PictureFormat::PNG, 200, 60);
    canvas.text({10.0, 15.0}, TextPlace::LEFT, "\xFF\xFE\n\x1b[31m\u96fb", style);
    EXPECT_NE(Picture(bytesOf(canvas)).count(0xFFFFFF), 200 * 60);
}

TEST(PlotCanvas, WritesTheFormatAskedFor)
{
    PlotCanvas png(PictureFormat::PNG, 3, 3);
    EXPECT_THAT(bytesOf(png), StartsWith("\x89PNG\r\n\x1a\n"));
    PlotCanvas svg(PictureFormat::SVG, 3, 3);
    EXPECT_THAT(bytesOf(svg), AllOf(StartsWith("<?xml"), HasSubstr("<svg"), HasSubstr("</svg>")));
    PlotCanvas pdf(PictureFormat::PDF, 3, 3);
    EXPECT_THAT(bytesOf(pdf), AllOf(StartsWith("%PDF-"), HasSubstr("%%EOF"), Not(HasSubstr("CreationDate"))));
}

TEST(PlotCanvas, SaysWhyThereIsNoPicture)
{
    PlotCanvas canvas(PictureFormat::PNG, 100000, 1);
    std::string strFault;
    EXPECT_EQ(canvas.finish(strFault), "");
    EXPECT_THAT(strFault, StartsWith("the picture could not be drawn: "));
}

} // namespace
} // namespace Corvana::Tools
