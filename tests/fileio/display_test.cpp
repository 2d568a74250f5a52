#include "vexalib/display.h"

#include <random>

#include "core/display_state.h"
#include "support/buffer.h"
#include "tests/support/recording_display.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;

int32_t window;  // stands for a window
int32_t context; // stands for a device context

class Display : public testing::Test
{
protected:
    Display()
    {
        I_SetROIType(0);
        I_SetColorMode(1);
        clearError();
    }

    // Where a drawing lies on its target, and how large.
    static std::vector<int32_t> targetOf(const Drawing& d)
    {
        return {d.stretch.targetX, d.stretch.targetY, d.stretch.targetWidth, d.stretch.targetHeight};
    }
    static std::vector<int32_t> sourceOf(const Drawing& d)
    {
        return {d.stretch.sourceX, d.stretch.sourceY, d.stretch.sourceWidth, d.stretch.sourceHeight};
    }

    RecordingDisplay display;
    Messages messages;
};
class LiteralDisplay : public Display
{
};
class BoundsDisplay : public Display
{
};
class FailuresDisplay : public Display
{
};

void* ramp(int32_t cols, int32_t rows)
{
    const int32_t im = byteImage(cols, rows, [](int32_t x, int32_t y) { return x + 10 * y; });
    return I_CopyImageToDIB(im, 1);
}

// --- settings

TEST_F(LiteralDisplay, OverflowColorShowsClippedPixels)
{
    EXPECT_EQ(0, I_SetOverflowColor(1));
    const int32_t im = byteImage(4, 3);
    I_SetColorMode(0);
    uint8_t table[256];
    makeIdentity(table);
    I_SetGraphicsPalette(table, table, table);
    DisplayImage(&context, im);
    EXPECT_EQ(1, I_SetOverflowColor(-7));
    EXPECT_EQ(-7, I_SetOverflowColor(0));
    DisplayImage(&context, im);
    const auto blue = [&](std::size_t drawing, std::size_t entry) {
        return display.drawings.at(drawing).palette.at(4 * entry);
    };
    EXPECT_EQ(100, blue(0, 0));
    EXPECT_EQ(100, blue(0, 1));
    EXPECT_EQ(2, blue(0, 2));
    EXPECT_EQ(253, blue(0, 253));
    EXPECT_EQ(50, blue(0, 254));
    EXPECT_EQ(50, blue(0, 255));
    EXPECT_EQ(0, blue(1, 0));
    EXPECT_EQ(255, blue(1, 255));
}

TEST_F(LiteralDisplay, GammaIsKeptAndChangesNothing)
{
    EXPECT_EQ(2.1, displayState().displayGamma);
    I_SetDisplayGamma(0.0);
    EXPECT_EQ(1.0, displayState().displayGamma);
    I_SetDisplayGamma(-1.0);
    EXPECT_EQ(2.1, displayState().displayGamma);
    DisplayDIB(&context, ramp(20, 5));
    I_SetDisplayGamma(3.5);
    EXPECT_EQ(3.5, displayState().displayGamma);
    DisplayDIB(&context, ramp(20, 5));
    I_SetDisplayGamma(-1.0);
    EXPECT_EQ(display.drawings.at(0).bytes, display.drawings.at(1).bytes);
    EXPECT_EQ(display.drawings.at(0).palette, display.drawings.at(1).palette);
}

// --- DIBs

TEST_F(LiteralDisplay, DibStretchHandsOverTheBitmapAndConsumesIt)
{
    void* dib = ramp(20, 10);
    EXPECT_EQ(33, DisplayDIBStretch(&context, dib, 1, 2, 3, 4, 5, 6, 7, 33));
    EXPECT_EQ(0U, vexaGlobalSize(dib));
    EXPECT_TRUE(display.opened.empty());
    const Drawing& d = display.drawings.at(0);
    EXPECT_EQ(&context, d.target);
    EXPECT_THAT(sourceOf(d), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(targetOf(d), ElementsAre(5, 6, 7, 33));
    EXPECT_EQ(20, d.cols);
    EXPECT_EQ(10, d.rows);
    EXPECT_EQ(8, d.bits);
    EXPECT_EQ(37, d.at(7, 3));
}

TEST_F(LiteralDisplay, DibSizesBelowOneCountFromTheWhole)
{
    DisplayDIBStretch(&context, ramp(20, 10), 1, 1, 0, -4, 2, 2, -5, 0);
    EXPECT_THAT(sourceOf(display.drawings.at(0)), ElementsAre(1, 1, 20, 6));
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(2, 2, 15, 10));
    EXPECT_EQ(10, DisplayDIB(&context, ramp(20, 10)));
    EXPECT_THAT(sourceOf(display.drawings.at(1)), ElementsAre(0, 0, 20, 10));
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 0, 20, 10));
}

TEST_F(LiteralDisplay, ATopDownDibCountsByItsAbsoluteHeight)
{
    void* dib = ramp(6, 4);
    const int32_t height = -4;
    CopyDIB(dib, const_cast<int32_t*>(&height), 8, 4, 0);
    EXPECT_EQ(4, DisplayDIB(&context, dib));
    EXPECT_EQ(30, display.drawings.at(0).at(0, 0)) << "the bottom row is now the top one";
}

TEST_F(LiteralDisplay, TheDisplayPaletteComesWithEachDrawing)
{
    DisplayDIB(&context, ramp(4, 4));
    const std::vector<uint8_t>& palette = display.drawings.at(0).targetPalette;
    ASSERT_EQ(1024U, palette.size());
    for (int32_t i = 0; i < 256; ++i) {
        const int32_t red = i < 64 ? 4 * i : ((2 * i - 128) & 192);
        const int32_t green = i < 64 ? 4 * i : ((8 * i) & 192);
        const int32_t blue = i < 64 ? 4 * i : ((32 * i) & 192);
        const auto at = static_cast<std::size_t>(4 * i);
        ASSERT_THAT((std::vector<int32_t>{palette[at], palette[at + 1], palette[at + 2], palette[at + 3]}),
                    ElementsAre(red, green, blue, 0))
            << i;
    }
    EXPECT_EQ(252, palette[4 * 63]);
    EXPECT_THAT((std::vector<int32_t>{palette[4 * 255], palette[4 * 255 + 1], palette[4 * 255 + 2]}),
                ElementsAre(64, 192, 192));
}

TEST_F(LiteralDisplay, WithoutContextTheScreenIsOpenedAndClosed)
{
    EXPECT_EQ(4, DisplayDIB(nullptr, ramp(4, 4)));
    EXPECT_THAT(display.opened, ElementsAre(nullptr));
    EXPECT_EQ(0, display.openTargets);
    EXPECT_EQ(display.targetOf(nullptr), display.drawings.at(0).target);
}

TEST_F(LiteralDisplay, WindowsAreOpenedAndClosed)
{
    const int32_t im = byteImage(7, 5, [](int32_t x, int32_t) { return x; });
    EXPECT_EQ(4, DisplayDIBWnd(&window, ramp(3, 4)));
    EXPECT_EQ(5, DisplayImageWnd(&window, im));
    EXPECT_EQ(7, DisplayImageWndZoom(&window, im, 1.5));
    EXPECT_THAT(display.opened, ElementsAre(&window, &window, &window));
    EXPECT_EQ(0, display.openTargets);
    for (const Drawing& d : display.drawings)
        EXPECT_EQ(&window, d.target);
    EXPECT_THAT(targetOf(display.drawings.at(2)), ElementsAre(0, 0, 10, 7)) << "10.5 and 7.5, truncated";
}

TEST_F(LiteralDisplay, WithoutADisplayNothingIsDrawnAndTheDibIsConsumed)
{
    display.refuses = true;
    void* dib = ramp(4, 4);
    EXPECT_EQ(0, DisplayDIB(nullptr, dib));
    EXPECT_EQ(0U, vexaGlobalSize(dib));
    vexaSetPlatform(nullptr);
    dib = ramp(4, 4);
    EXPECT_EQ(0, DisplayDIB(&context, dib));
    EXPECT_EQ(0U, vexaGlobalSize(dib));
    EXPECT_TRUE(display.drawings.empty());
}

// --- one image

TEST_F(LiteralDisplay, ImageStaysAsItIsAndItsDibIsFreed)
{
    const int32_t im = noiseImage(31, 17, 5);
    const std::vector<uint8_t> before = bytesOf(im);
    DisplayImage(&context, im);
    const int64_t live = allocationState().liveBytes;
    EXPECT_EQ(17, DisplayImage(&context, im));
    EXPECT_EQ(live, allocationState().liveBytes);
    EXPECT_EQ(before, bytesOf(im));
    EXPECT_EQ(before, display.drawings.at(1).bytes);
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 0, 31, 17));
}

TEST_F(LiteralDisplay, LargeImageIsReducedFirst)
{
    const int32_t im = byteImage(2000, 40, [](int32_t x, int32_t y) { return (x / 4 + 3 * (y / 4)) % 251; });
    EXPECT_EQ(10, DisplayImageStretch(&context, im, 0, 0, 0, 0, 3, 4, 500, 10));
    const Drawing& d = display.drawings.at(0);
    ASSERT_EQ(500, d.cols);
    ASSERT_EQ(10, d.rows);
    EXPECT_THAT(sourceOf(d), ElementsAre(0, 0, 500, 10));
    EXPECT_THAT(targetOf(d), ElementsAre(3, 4, 500, 10));
    for (int32_t x = 0; x < 490; ++x)
        ASSERT_NEAR(x % 251, d.at(x, 0), (x % 251) < 3 ? 251 : 3) << x;
}

TEST_F(LiteralDisplay, OffTheCornerThePlatformStretches)
{
    const int32_t im = byteImage(200, 40, [](int32_t x, int32_t) { return x; });
    DisplayImageStretch(&context, im, 1, 0, 0, 0, 0, 0, 50, 10);
    EXPECT_EQ(199, display.drawings.at(0).cols) << "limited to what is left";
    EXPECT_EQ(40, display.drawings.at(0).rows);
    EXPECT_EQ(1, display.drawings.at(0).at(0, 0));
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(0, 0, 50, 10));
    // Wider but not higher than the target.
    DisplayImageStretch(&context, im, 0, 0, 0, 0, 0, 0, 50, 40);
    EXPECT_EQ(200, display.drawings.at(1).cols);
}

TEST_F(LiteralDisplay, APartFromTheCornerIsReducedToTheTarget)
{
    const int32_t im = byteImage(200, 100, [](int32_t x, int32_t) { return x; });
    DisplayImageStretch(&context, im, 0, 0, 100, 50, 0, 0, 50, 25);
    const Drawing& d = display.drawings.at(0);
    ASSERT_EQ(50, d.cols);
    ASSERT_EQ(25, d.rows);
    // Two by two pixels each, rounded.
    for (int32_t x = 0; x < 50; ++x)
        ASSERT_EQ((2 * x + 2 * x + 1 + 1) / 2, d.at(x, 7)) << x;
}

TEST_F(LiteralDisplay, SizesOfTheTargetBelowOneCountFromTheImage)
{
    const int32_t im = byteImage(100, 60, [](int32_t x, int32_t) { return x; });
    DisplayImageStretch(&context, im, 0, 0, 0, 0, 0, 0, -50, -30);
    EXPECT_EQ(50, display.drawings.at(0).cols) << "reduced to what the target takes";
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(0, 0, 50, 30));
    DisplayImageStretch(&context, im, 0, 0, -90, 0, 0, 0, 0, 0);
    EXPECT_EQ(10, display.drawings.at(1).cols);
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 0, 10, 60));
}

// The DIB of a part: a copy of what is left of it, or the whole image reduced and cut to the target.
TEST_F(LiteralDisplay, PartsAreCopiedOrReducedAsDescribed)
{
    const int32_t im = noiseImage(70, 50, 11);
    std::mt19937 random(3);
    const auto between = [&random](int32_t low, int32_t high) {
        return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
    };
    int32_t reduced = 0;
    for (int32_t round = 0; round < 400; ++round) {
        const bool atCorner = round % 3 != 0;
        const int32_t x = atCorner ? 0 : between(-3, 60), y = atCorner ? 0 : between(-3, 40);
        const int32_t width = between(0, 70), height = between(0, 50);
        const int32_t targetWidth = between(1, 90), targetHeight = between(1, 70);
        display.drawings.clear();
        DisplayImageStretch(&context, im, x, y, width, height, 1, 2, targetWidth, targetHeight);
        ASSERT_EQ(1U, display.drawings.size());
        const Drawing& d = display.drawings[0];
        EXPECT_THAT(targetOf(d), ElementsAre(1, 2, targetWidth, targetHeight));
        EXPECT_THAT(sourceOf(d), ElementsAre(0, 0, d.cols, d.rows));
        const int32_t cols = width == 0 ? 70 : width, rows = height == 0 ? 50 : height;
        if (x == 0 && y == 0 && cols > targetWidth && rows > targetHeight) {
            ++reduced;
            const auto wide = static_cast<int32_t>(std::floor(69.0 * targetWidth / cols + 0.5));
            const auto high = static_cast<int32_t>(std::floor(49.0 * targetHeight / rows + 0.5));
            EXPECT_EQ(std::clamp(wide, 1, targetWidth), d.cols) << round;
            EXPECT_EQ(std::clamp(high, 1, targetHeight), d.rows) << round;
            continue;
        }
        const int32_t left = std::max(x, 0), top = std::max(y, 0);
        ASSERT_EQ(std::min(cols, 70 - left), d.cols) << round;
        ASSERT_EQ(std::min(rows, 50 - top), d.rows) << round;
        for (int32_t row = 0; row < d.rows; ++row)
            for (int32_t col = 0; col < d.cols; ++col)
                ASSERT_EQ(pixel(im, left + col, top + row), d.at(col, row)) << round;
    }
    EXPECT_GT(reduced, 20);
}

// --- two images

TEST_F(LiteralDisplay, Image2ShowsOneBelowTheOther)
{
    const int32_t a = byteImage(30, 20), b = byteImage(11, 7);
    EXPECT_EQ(10, DisplayImage2(&context, a, b, 1.5F));
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(0, 25, 45, 30));
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 56, 16, 10));
    EXPECT_EQ(7, DisplayImage2(&context, a, b, 0.0F));
    EXPECT_THAT(targetOf(display.drawings.at(2)), ElementsAre(0, 25, 30, 20));
    EXPECT_THAT(targetOf(display.drawings.at(3)), ElementsAre(0, 46, 11, 7));
    EXPECT_EQ(7, DisplayImage2(&context, 0, b, -2.0F));
    EXPECT_THAT(targetOf(display.drawings.at(4)), ElementsAre(0, 26, 11, 7));
    clearError();
    EXPECT_EQ(20, DisplayImage2(&context, a, 0, 1.0F));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "no image is no fault";
    EXPECT_EQ(6U, display.drawings.size());
}

TEST_F(LiteralDisplay, Image2LeavesOutWhatIsNotOpen)
{
    const int32_t a = byteImage(30, 20);
    EXPECT_EQ(20, DisplayImage2(&context, a, -77, 1.0F));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImGetSize(, im=-77)  im. not open", errorText());
    EXPECT_EQ(1U, display.drawings.size());
}

TEST_F(LiteralDisplay, Image1ShowsCopiesInColor)
{
    const int32_t a = byteImage(8, 6, [](int32_t x, int32_t) { return 30 * x; });
    const int32_t b = floatImage(5, 4, [](int32_t, int32_t y) { return y; });
    const std::vector<uint8_t> before = bytesOf(a);
    const int32_t count = I_ImCount();
    EXPECT_EQ(8, DisplayImage1(a, b, 2.0F));
    EXPECT_EQ(count, I_ImCount());
    EXPECT_EQ(before, bytesOf(a));
    ASSERT_EQ(2U, display.drawings.size());
    EXPECT_THAT(display.opened, ElementsAre(nullptr, nullptr));
    const Drawing& d = display.drawings.at(0);
    EXPECT_EQ(24, d.bits);
    for (int32_t x = 0; x < 8; ++x)
        EXPECT_TRUE(d.hasColor(x, 3, 30 * x, 30 * x, 30 * x)) << x;
    EXPECT_EQ(24, display.drawings.at(1).bits);
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 38, 10, 8));
    EXPECT_EQ(1, I_GetColorMode());
}

TEST_F(LiteralDisplay, Image1LeavesRoomForOverlayWithoutColorMode)
{
    const int32_t a = byteImage(256, 2, [](int32_t x, int32_t) { return x; });
    I_SetColorMode(0);
    I_SetWindowROI(3, 0, 5, 1);
    EXPECT_EQ(2, DisplayImage1(a, 0, 1.0F));
    EXPECT_EQ(0, I_GetColorMode());
    EXPECT_EQ(1, I_GetROIType()) << "the region is as it was";
    const Drawing& d = display.drawings.at(0);
    EXPECT_EQ(251, d.at(255, 0));
    for (int32_t x = 0; x < 256; ++x)
        EXPECT_NEAR(x * 251 / 255.0, d.at(x, 1, 1), 1.0) << x;
}

TEST_F(LiteralDisplay, ImageNormStretchesTheWholeImage)
{
    const int32_t a = wordImage(11, 3, [](int32_t x, int32_t) { return 1000 + 10 * x; });
    const int32_t b = byteImage(11, 3, [](int32_t x, int32_t) { return 50 + x; });
    const std::vector<uint8_t> before = bytesOf(a);
    EXPECT_EQ(3, DisplayImageNorm(a, b, 1.0F, 4.0F));
    EXPECT_EQ(before, bytesOf(a));
    for (int32_t x = 0; x < 11; ++x) {
        EXPECT_NEAR(25.1 * x, display.drawings.at(0).at(x, 1), 1.0) << x;
        EXPECT_NEAR(4.0 * x, display.drawings.at(1).at(x, 1), 1.0) << "a gain of 4 at most, " << x;
    }
}

// --- profiles

TEST_F(LiteralDisplay, Profiles1IsAColorCopy)
{
    const int32_t a = byteImage(8, 6, [](int32_t x, int32_t y) { return 20 * x + y; });
    const int32_t copy = DisplayProfiles1(a, 0);
    EXPECT_EQ(PIX_BGR24, I_ImGetType(copy));
    EXPECT_EQ(62.0F, I_GetPix(3, 2, copy));
    I_ImClose(copy);
    const int32_t count = I_ImCount();
    I_SetColorMode(0);
    EXPECT_EQ(1, DisplayProfiles(a, a, 3.0F));
    EXPECT_EQ(0, I_GetColorMode());
    EXPECT_EQ(count, I_ImCount());
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(0, 25, 24, 18));
    EXPECT_EQ(1U, display.drawings.size());
}

// --- grids

TEST_F(LiteralDisplay, SecondSlotStandsAtTheRightOfTheFirstRow)
{
    const int32_t a = byteImage(30, 20), b = byteImage(11, 7);
    EXPECT_EQ(7, Display2x5(&context, 0, 0, 1.0F, 0, a, b, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(targetOf(display.drawings.at(0)), ElementsAre(1, 35, 30, 20));
    EXPECT_THAT(targetOf(display.drawings.at(1)), ElementsAre(0, 56, 11, 7));
}

TEST_F(LiteralDisplay, GridsAreLaidOutAsDescribed)
{
    std::mt19937 random(7);
    for (int32_t round = 0; round < 30; ++round) {
        display.drawings.clear();
        int32_t im[10] = {}, cols[10] = {}, rows[10] = {};
        for (int32_t i = 0; i < 10; ++i) {
            if (random() % 4 == 0)
                continue;
            cols[i] = 5 + static_cast<int32_t>(random() % 60);
            rows[i] = 5 + static_cast<int32_t>(random() % 60);
            im[i] = byteImage(cols[i], rows[i]);
        }
        float zoom = static_cast<float>(random() % 5) * 0.625F;
        const int32_t last = DisplayImage2x5(&context, zoom, im[0], im[1], im[2], im[3], im[4], im[5], im[6],
                                             im[7], im[8], im[9]);
        int32_t left = 0, right = 0;
        for (int32_t i = 0; i < 10; i += 2) {
            left = std::max(left, cols[i]);
            right = std::max(right, cols[i + 1]);
        }
        if (zoom == 0.0F && left + right > 0)
            zoom = 400.0F / static_cast<float>(left + right);
        std::size_t shown = 0;
        int32_t y = 35, height = 0;
        for (int32_t i = 0; i < 10; ++i) {
            if (im[i] != 0) {
                const auto x =
                    static_cast<int32_t>(i % 2 == 0 ? 0.0F : static_cast<float>(cols[i - 1]) * zoom + 1.0F);
                height = static_cast<int32_t>(static_cast<float>(rows[i]) * zoom);
                ASSERT_LT(shown, display.drawings.size());
                EXPECT_THAT(
                    targetOf(display.drawings[shown]),
                    ElementsAre(x, y, static_cast<int32_t>(static_cast<float>(cols[i]) * zoom), height))
                    << "round " << round << " slot " << i;
                ++shown;
            }
            if (i % 2 == 1)
                y = static_cast<int32_t>(static_cast<float>(std::max(rows[i - 1], rows[i])) * zoom +
                                         static_cast<float>(y) + 1.0F);
        }
        EXPECT_EQ(shown, display.drawings.size());
        EXPECT_EQ(height, last);
        for (const int32_t image : im)
            if (image != 0)
                I_ImClose(image);
    }
}

TEST_F(LiteralDisplay, Image2x3ShowsSixAsTheyAre)
{
    const int32_t a = byteImage(10, 10, [](int32_t x, int32_t) { return 100 + x; });
    EXPECT_EQ(10, DisplayImage2x3(nullptr, 1.0F, a, a, a, a, a, a));
    ASSERT_EQ(6U, display.drawings.size());
    EXPECT_THAT(targetOf(display.drawings.at(5)), ElementsAre(11, 57, 10, 10));
    for (const Drawing& d : display.drawings) {
        EXPECT_EQ(8, d.bits);
        EXPECT_EQ(bytesOf(a), d.bytes);
    }
    EXPECT_EQ(6U, display.opened.size());
    EXPECT_EQ(0, display.openTargets);
}

TEST_F(LiteralDisplay, ImagesNormalisesOneAtHalfSize)
{
    const int32_t im = byteImage(40, 20, [](int32_t x, int32_t) { return 100 + x; });
    EXPECT_EQ(10, DisplayImages(0.5F, im, 1, 0));
    ASSERT_EQ(1U, display.drawings.size());
    const Drawing& d = display.drawings.at(0);
    EXPECT_THAT(targetOf(d), ElementsAre(0, 35, 20, 10));
    EXPECT_EQ(8, d.bits);
    for (int32_t x = 0; x < 19; ++x)
        EXPECT_NEAR((2 * x + 0.5) * 251 / 39, d.at(x, 5), 2.0) << x;
}

TEST_F(LiteralDisplay, AnyFlagNormalises)
{
    const int32_t im = byteImage(4, 1, [](int32_t x, int32_t) { return 100 + 10 * x; });
    for (const int32_t flags : {0, 1, 2, 4, 8}) {
        display.drawings.clear();
        Display2x5(&context, flags, 0, 1.0F, im, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        EXPECT_EQ(flags == 0 ? 130 : 251, display.drawings.at(0).at(3, 0)) << flags;
    }
    float low = 0.0F, high = 0.0F;
    EXPECT_EQ(30.0F, I_GetNormalizeRange(&low, &high, nullptr, nullptr));
    EXPECT_EQ(100.0F, low);
}

TEST_F(LiteralDisplay, NormalisingMeasuresTheRegionAndMapsTheWhole)
{
    const int32_t im = byteImage(8, 2, [](int32_t x, int32_t) { return 20 * x; });
    I_SetWindowROI(2, 0, 4, 1);
    Display2x5(&context, 1, 0, 1.0F, im, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    const Drawing& d = display.drawings.at(0);
    EXPECT_EQ(0, d.at(0, 0));
    EXPECT_EQ(0, d.at(2, 0));
    EXPECT_NEAR(125.5, d.at(3, 0), 1.0);
    EXPECT_EQ(251, d.at(4, 0));
    EXPECT_GE(d.at(7, 0), 251);
}

TEST_F(LiteralDisplay, ColorModeIsOnForOutlinesOnly)
{
    const int32_t im = byteImage(256, 1, [](int32_t x, int32_t) { return x; });
    I_SetColorMode(0);
    uint8_t table[256];
    makeIdentity(table);
    I_SetGraphicsPalette(table, table, table);
    Display2x5(&context, 2, 0, 1.0F, im, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    const auto green = [&](std::size_t i) { return display.drawings.at(i).palette.at(4 * 253 + 1); };
    EXPECT_EQ(253, green(0)) << "grey without outlines";
    EXPECT_EQ(253, table[253]);
    Display2x5(&context, 0, 0, 1.0F, im, im, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(255, green(1)) << "entry 253 is green under the outlines";
    EXPECT_EQ(0, display.drawings.at(1).palette.at(4 * 253));
    for (const std::size_t drawing : {std::size_t{1}, std::size_t{2}}) {
        EXPECT_EQ(251, display.drawings.at(drawing).at(255, 0)) << "both leave room for overlays";
        EXPECT_NEAR(128 * 251 / 255.0, display.drawings.at(drawing).at(128, 0), 1.0);
    }
    EXPECT_EQ(0, I_GetColorMode());
}

TEST_F(LiteralDisplay, FalseColorsComeFromTheirTables)
{
    const int32_t im = byteImage(256, 2, [](int32_t x, int32_t) { return x; });
    for (const int32_t choice : {1, 2}) {
        display.drawings.clear();
        uint8_t red[256], green[256], blue[256];
        ASSERT_EQ(5, I_FalseColorLUT(0, choice == 1 ? 256 : 128, red, green, blue, 1, 1));
        I_SetWindowROI(10, 0, 20, 1); // does not limit the colours
        Display2x5(&context, 0, choice, 1.0F, im, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        const Drawing& d = display.drawings.at(0);
        ASSERT_EQ(24, d.bits);
        for (int32_t x = 0; x < 256; ++x)
            ASSERT_TRUE(d.hasColor(x, 1, red[x], green[x], blue[x])) << choice << " " << x;
    }
    display.drawings.clear();
    Display2x5(&context, 0, 3, 1.0F, im, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(8, display.drawings.at(0).bits) << "no other choice";
}

TEST_F(LiteralDisplay, ColorImagesAreShownInColor)
{
    const int32_t im = image(3, 2, PIX_BGR32);
    const uint8_t bytes[] = {10, 20, 30, 0};
    I_PutBlockType(1, 1, 1, 1, bytes, im, PIX_BGR32);
    DisplayImages(1.0F, im, 0);
    EXPECT_EQ(24, display.drawings.at(0).bits);
    EXPECT_TRUE(display.drawings.at(0).hasColor(1, 1, 30, 20, 10));
}

TEST_F(LiteralDisplay, ListOptionsAreThoseOfTheGrid)
{
    const int32_t im = byteImage(16, 2, [](int32_t x, int32_t) { return 100 + x; });
    struct Case {
        int32_t option, bits, last;
    };
    for (const Case& c : {Case{1, 8, 251}, Case{8, 8, 251}, Case{16, 8, 251}, Case{32, 8, 115}}) {
        display.drawings.clear();
        DisplayImages(1.0F, c.option, im, 0);
        EXPECT_EQ(c.bits, display.drawings.at(0).bits) << c.option;
        EXPECT_EQ(c.last, display.drawings.at(0).at(15, 0)) << c.option;
    }
    uint8_t red[256], green[256], blue[256];
    for (const int32_t option : {2, 4}) {
        display.drawings.clear();
        I_FalseColorLUT(0, option == 2 ? 256 : 128, red, green, blue, 1, 1);
        DisplayImages(1.0F, im, option, 0);
        EXPECT_TRUE(display.drawings.at(0).hasColor(3, 0, red[103], green[103], blue[103])) << option;
    }
}

TEST_F(LiteralDisplay, RegionOnlyShowsItsBoxAndAMargin)
{
    const int32_t im = byteImage(60, 40, [](int32_t x, int32_t y) { return x + 4 * y; });
    I_SetWindowROI(20, 10, 29, 15);
    DisplayImages(2.0F, im, 32, 0);
    const Drawing& d = display.drawings.at(0);
    EXPECT_EQ(16, d.cols);
    EXPECT_EQ(12, d.rows);
    EXPECT_EQ(15 + 4 * 5, d.at(0, 0));
    EXPECT_THAT(targetOf(d), ElementsAre(0, 35, 120, 80));
    I_SetWindowROI(2, 3, 9, 8);
    DisplayImages(1.0F, im, 32, 0);
    EXPECT_EQ(14, display.drawings.at(1).cols);
    EXPECT_EQ(12, display.drawings.at(1).rows);
    EXPECT_EQ(0, display.drawings.at(1).at(0, 0));
    DisplayImages(1.0F, im, 0);
    EXPECT_EQ(60, display.drawings.at(2).cols) << "for that call only";
}

TEST_F(BoundsDisplay, ListsEndAndAreLimited)
{
    const int32_t im = byteImage(4, 4);
    const auto shown = [&] {
        const auto count = display.drawings.size();
        display.drawings.clear();
        return count;
    };
    DisplayImages(1.0F, 0, im, im);
    EXPECT_EQ(0U, shown());
    DisplayImages(1.0F, im, 64, im, 0);
    EXPECT_EQ(1U, shown());
    DisplayImages(1.0F, im, -513, im, 0);
    EXPECT_EQ(1U, shown());
    DisplayImages(1.0F, im, -512, im, 0);
    EXPECT_EQ(2U, shown()) << "-512 is a place that stays empty";
    DisplayImages(1.0F, im, im, im, im, im, im, im, im, im, im, im, im);
    EXPECT_EQ(10U, shown());
    DisplayImages(1.0F, im, im, im, im, im, im, im, im, im, im, 2, 64);
    EXPECT_EQ(24, display.drawings.at(9).bits) << "options behind ten images";
    EXPECT_EQ(10U, shown());
    DisplayImages(1.0F, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, im);
    EXPECT_EQ(0U, shown()) << "twelve numbers are read";
}

TEST_F(BoundsDisplay, ZoomsOutOfRange)
{
    const int32_t im = byteImage(40, 20);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(200, DisplayImages(nan, im, 0));
    EXPECT_EQ(200, DisplayImages(-1.0F, im, 0)) << "400 pixels wide";
    EXPECT_EQ(20, DisplayImage2(&context, im, 0, nan));
    EXPECT_EQ(20, DisplayImages(1e-9F, im, 0)) << "a size of 0 is the whole size";
    for (const float zoom : {1e9F, 1e30F, std::numeric_limits<float>::infinity()}) {
        DisplayImages(zoom, im, im, im, 0);
        DisplayImage2(&context, im, im, zoom);
        DisplayImageWndZoom(&window, im, static_cast<double>(zoom));
    }
    SUCCEED() << "the sanitizers judge";
}

// --- failures

TEST_F(FailuresDisplay, BadDibsAreKept)
{
    EXPECT_EQ(0, DisplayDIB(&context, nullptr));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    void* block = vexaGlobalAlloc(100);
    EXPECT_EQ(0, DisplayDIB(nullptr, block));
    EXPECT_EQ("Corrupt DIB. biSize = 0, should be 40.", errorText());
    EXPECT_EQ(0, display.openTargets);
    EXPECT_EQ(100U, vexaGlobalSize(block));
    vexaGlobalFree(block);
    EXPECT_EQ(0, DisplayDIB(&context, &window)) << "no handle at all";
    EXPECT_TRUE(display.drawings.empty());
}

// Movable memory of an application that lets a block be locked a limited number of times.
struct CountedLocks {
    static inline std::vector<uint8_t> block;
    static inline int32_t left = 0;
    static inline int32_t freed = 0;
};

TEST_F(FailuresDisplay, ADibThatCannotBeLockedIsKept)
{
    VexaPlatform mine = {};
    mine.size = sizeof mine;
    mine.globalAlloc = [](size_t bytes) -> void* {
        CountedLocks::block.assign(bytes, 0);
        return &CountedLocks::block;
    };
    mine.globalLock = [](void*) -> void* {
        return CountedLocks::left-- > 0 ? CountedLocks::block.data() : nullptr;
    };
    mine.globalUnlock = [](void*) { return 0; };
    mine.globalSize = [](void*) { return CountedLocks::block.size(); };
    mine.globalFree = [](void*) -> void* {
        ++CountedLocks::freed;
        return nullptr;
    };
    vexaSetPlatform(&mine);
    CountedLocks::left = 100;
    void* dib = CreateDIB(4, 4, 8, nullptr);
    CountedLocks::left = 1; // for the test of its header
    EXPECT_EQ(0, DisplayDIB(&context, dib));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    char expected[100];
    std::snprintf(expected, sizeof expected, "DisplayDIB: Lock Bitmap (%x)",
                  static_cast<unsigned>(reinterpret_cast<uintptr_t>(dib)));
    EXPECT_NE(std::string::npos, errorText().find(expected)) << errorText();
    EXPECT_EQ(0, CountedLocks::freed);
    const int32_t im = byteImage(4, 4);
    CountedLocks::left = 2; // for its making and the test of its header
    EXPECT_EQ(0, DisplayImage(&context, im));
    EXPECT_EQ(1, CountedLocks::freed) << "a DIB of the library's own is freed";
    vexaSetPlatform(nullptr);
}

TEST_F(FailuresDisplay, BadImages)
{
    const int32_t im = byteImage(4, 4);
    I_ImClose(im);
    const auto expectNotOpen = [&](int32_t result, const char* name) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(20, I_GetError(nullptr, 0));
        EXPECT_EQ(std::string(name) + "(, im=" + std::to_string(im) + ")  im. not open", errorText());
        clearError();
    };
    expectNotOpen(DisplayImageStretch(&context, im, 0, 0, 0, 0, 0, 0, 0, 0), "I_ImGetSize");
    expectNotOpen(DisplayImage(&context, im), "I_ImGetSize");
    expectNotOpen(DisplayImageWnd(&window, im), "I_ImGetSize");
    expectNotOpen(DisplayImageWndZoom(&window, im, 2.0), "I_ImGetSize");
    expectNotOpen(DisplayImage2(&context, im, 0, 1.0F), "I_ImGetSize");
    EXPECT_EQ(0, DisplayImage1(im, im, 1.0F));
    EXPECT_EQ(0, DisplayImageNorm(im, 0, 1.0F, 1.0F));
    EXPECT_EQ(0, DisplayProfiles1(im, im));
    EXPECT_EQ(0, DisplayProfiles(im, im, 1.0F));
    clearError();
    EXPECT_EQ(0, Display2x5(&context, 1, 1, 0.0F, im, 5, 0, -400, 99, im, im, im, im, im));
    EXPECT_EQ(0, DisplayImages(0.0F, im, 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "places stay empty";
    EXPECT_TRUE(display.drawings.empty());
    EXPECT_EQ(0, display.openTargets);
}

TEST_F(FailuresDisplay, WithoutMemoryNothingIsLost)
{
    const int32_t a = byteImage(60, 40, [](int32_t x, int32_t y) { return x + y; });
    const int32_t b = image(40, 30, PIX_BGR24, {});
    const auto check = [&](int64_t) {
        EXPECT_NE(0, I_GetError(nullptr, 0) + static_cast<int32_t>(messages.all().size()));
        EXPECT_EQ(0, display.openTargets);
        EXPECT_EQ(1, I_GetColorMode());
        display.drawings.clear();
    };
    const int32_t count = I_ImCount();
    forEachFailingAllocation([&] { return DisplayDIB(&context, I_CopyImageToDIB(a, 0)); }, check);
    forEachFailingAllocation([&] { return DisplayImageStretch(&context, a, 0, 0, 0, 0, 0, 0, 7, 5); }, check);
    forEachFailingAllocation([&] { return DisplayImageWndZoom(&window, a, 2.0); }, check);
    forEachFailingAllocation([&] { return DisplayImage1(a, b, 0.5F); }, check);
    forEachFailingAllocation([&] { return DisplayImageNorm(a, b, 0.5F, 3.0F); }, check);
    forEachFailingAllocation([&] { return DisplayProfiles(a, b, 1.0F); }, check);
    forEachFailingAllocation([&] { return DisplayImages(0.5F, a, b, 1, 2, 0); }, check);
    EXPECT_EQ(count, I_ImCount());
}

} // namespace
} // namespace vexa::test
