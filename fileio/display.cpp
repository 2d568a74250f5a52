// DIBs and single images on the screen.
#include "vexalib/display.h"

#include <array>

#include "core/display_state.h"
#include "core/image_table.h"
#include "core/roi.h"
#include "fileio/dib_parts.h"
#include "fileio/display_parts.h"
#include "platform/platform.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/dib.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/platform.h"
#include "vexalib/scale.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

// The platform's target on a window, or on the screen for null; none where there is no display.
class DisplayTarget
{
public:
    explicit DisplayTarget(void* window) : window_(window), target_(platform::openDisplay(window)) {}
    ~DisplayTarget()
    {
        if (target_)
            platform::closeDisplay(window_, target_);
    }
    DisplayTarget(const DisplayTarget&) = delete;
    DisplayTarget& operator=(const DisplayTarget&) = delete;

    void* get() const { return target_; }

private:
    void* window_;
    void* target_;
};

using DisplayPalette = std::array<uint8_t, 256 * 4>;

// A grey scale of 64 steps and a colour cube share the palette of a screen.
constexpr DisplayPalette makeDisplayPalette()
{
    constexpr int32_t kGreys = 64;
    DisplayPalette palette = {};
    for (int32_t i = 0; i < 256; ++i) {
        uint8_t* const entry = &palette[static_cast<std::size_t>(4 * i)];
        entry[0] = static_cast<uint8_t>(i < kGreys ? 4 * i : (2 * i - 128) & 192);
        entry[1] = static_cast<uint8_t>(i < kGreys ? 4 * i : (8 * i) & 192);
        entry[2] = static_cast<uint8_t>(i < kGreys ? 4 * i : (32 * i) & 192);
    }
    return palette;
}

constexpr DisplayPalette kDisplayPalette = makeDisplayPalette();

// A size below 1 counts from the full size.
int32_t fullSize(int32_t size, int32_t full)
{
    return size < 1 ? size + full : size;
}

VexaStretch stretchOf(const LockedDib& dib, const Rectangle& source, const Rectangle& target)
{
    VexaStretch stretch = {};
    stretch.targetX = target.x;
    stretch.targetY = target.y;
    stretch.targetWidth = fullSize(target.width, dib.cols());
    stretch.targetHeight = fullSize(target.height, dib.rows());
    stretch.sourceX = source.x;
    stretch.sourceY = source.y;
    stretch.sourceWidth = fullSize(source.width, dib.cols());
    stretch.sourceHeight = fullSize(source.height, dib.rows());
    stretch.pixels = dib.memoryRow(0);
    stretch.palette = kDisplayPalette.data();
    return stretch;
}

// Draws a DIB that is good, without consuming it. False: it cannot be read, and the error is set.
// Required: the display gamma does not change what is drawn.
bool draw(void* dc, void* dib, const Rectangle& source, const Rectangle& target, int32_t& rows)
{
    const LockedDib locked(dib);
    if (!locked)
        return false;
    void* const block = vexaGlobalLock(dib);
    if (malloctest(block, "DisplayDIB: Lock Bitmap (%x)", shownAddress(dib)))
        return false;
    const Guard unlock([dib] { vexaGlobalUnlock(dib); });
    VexaStretch stretch = stretchOf(locked, source, target);
    stretch.header = block;
    rows = dc ? platform::stretchBitmap(dc, stretch) : 0;
    return true;
}

// Draws on the screen where no target is given, and frees the DIB if it could be read.
bool drawAndFree(void* dc, void* dib, const Rectangle& source, const Rectangle& target, int32_t& rows)
{
    if (!dib)
        return false;
    const auto drawOn = [&](void* on) { return draw(on, dib, source, target, rows); };
    const bool drawn = dc ? drawOn(dc) : drawOn(DisplayTarget(nullptr).get());
    if (drawn)
        vexaGlobalFree(dib);
    return drawn;
}

// Whether a part is larger than its target in both directions; the target's full size is then told.
bool isReduced(const Rectangle& source, Rectangle& target)
{
    if (source.x != 0 || source.y != 0 || source.width < 1 || source.height < 1)
        return false;
    const int32_t width = fullSize(target.width, source.width);
    const int32_t height = fullSize(target.height, source.height);
    if (width < 1 || height < 1 || source.width <= width || source.height <= height)
        return false;
    target.width = width;
    target.height = height;
    return true;
}

// A whole image, reduced so that a part of it becomes as large as the target; then the DIB of that part.
void* reducedDib(int32_t im, const Rectangle& source, const Rectangle& target)
{
    const ImageGuard reduced(I_ScaleImage1(im, 0.0, 0.0, static_cast<double>(target.width) / source.width,
                                           static_cast<double>(target.height) / source.height, 1));
    return I_CopyBoxToDIB(0, 0, target.width, target.height, reduced.get());
}

// A copy of an image for drawing on; 0 for no image.
int32_t colorCopy(int32_t im)
{
    return im == 0 ? 0 : I_CloneImage(im, PIX_BGR24, 1);
}

int32_t normalizedCopy(int32_t im, float maxGain)
{
    if (im == 0)
        return 0;
    const int32_t copy = I_CloneImage(im, 0, 1);
    I_NormalizeRange(im, copy, 0.0F, kHighestUnderColors, maxGain, 1);
    return copy;
}

} // namespace

void leaveRoomForOverlay(int32_t im)
{
    constexpr double kPart = 0.984313725490196; // 251/255
    const RoiTypeGuard whole(kRoiFullFrame);
    I_ScaleIntensityROI(im, im, 0.0, kPart);
}

int32_t scaledSize(int32_t size, float zoom)
{
    return truncToInt32(static_cast<float>(size) * zoom);
}

int32_t showImage(void* dc, int32_t im, Rectangle source, Rectangle target)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im))
        return 0;
    if (source.width == 0)
        source.width = cols;
    if (source.height == 0)
        source.height = rows;
    void* const dib = isReduced(source, target)
                          ? reducedDib(im, source, target)
                          : I_CopyBoxToDIB(source.x, source.y, source.width, source.height, im);
    int32_t drawn = 0;
    if (dib && !drawAndFree(dc, dib, {}, target, drawn))
        vexaGlobalFree(dib);
    return drawn;
}

} // namespace vexa

using namespace vexa;

int32_t I_SetOverflowColor(int32_t flag)
{
    const int32_t previous = displayState().overflowColor;
    displayState().overflowColor = flag;
    return previous;
}

void I_SetDisplayGamma(double gamma)
{
    displayState().displayGamma = gamma == 0.0 ? 1.0 : gamma < 0.0 ? 2.1 : gamma;
}

int32_t DisplayDIBStretch(void* dc, void* dib, int32_t sourceX, int32_t sourceY, int32_t sourceWidth,
                          int32_t sourceHeight, int32_t targetX, int32_t targetY, int32_t targetWidth,
                          int32_t targetHeight)
{
    int32_t rows = 0;
    drawAndFree(dc, dib, {sourceX, sourceY, sourceWidth, sourceHeight},
                {targetX, targetY, targetWidth, targetHeight}, rows);
    return rows;
}

int32_t DisplayDIB(void* dc, void* dib)
{
    return DisplayDIBStretch(dc, dib, 0, 0, 0, 0, 0, 0, 0, 0);
}

int32_t DisplayDIBWnd(void* window, void* dib)
{
    const DisplayTarget target(window);
    return DisplayDIB(target.get(), dib);
}

int32_t DisplayImageStretch(void* dc, int32_t im, int32_t sourceX, int32_t sourceY, int32_t sourceWidth,
                            int32_t sourceHeight, int32_t targetX, int32_t targetY, int32_t targetWidth,
                            int32_t targetHeight)
{
    return showImage(dc, im, {sourceX, sourceY, sourceWidth, sourceHeight},
                     {targetX, targetY, targetWidth, targetHeight});
}

int32_t DisplayImage(void* dc, int32_t im)
{
    return showImage(dc, im, {}, {});
}

int32_t DisplayImageWnd(void* window, int32_t im)
{
    const DisplayTarget target(window);
    return DisplayImage(target.get(), im);
}

int32_t DisplayImageWndZoom(void* window, int32_t im, double zoom)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im))
        return 0;
    const DisplayTarget target(window);
    return showImage(target.get(), im, {}, {0, 0, truncToInt32(cols * zoom), truncToInt32(rows * zoom)});
}

int32_t DisplayImage2(void* dc, int32_t imA, int32_t imB, float zoom)
{
    constexpr int32_t kTop = 25;
    const float scale = zoom > 0.0F ? zoom : 1.0F;
    int32_t y = kTop;
    int32_t drawn = 0;
    for (const int32_t im : {imA, imB}) {
        int32_t cols = 0;
        int32_t rows = 0;
        if (im != 0 && I_ImGetSize(&cols, &rows, nullptr, im))
            drawn = showImage(dc, im, {}, {0, y, scaledSize(cols, scale), scaledSize(rows, scale)});
        y = truncToInt32(scale * static_cast<float>(rows) + kTop + 1.0F);
    }
    return drawn;
}

int32_t DisplayImage1(int32_t imA, int32_t imB, float zoom)
{
    const ImageGuard a(colorCopy(imA));
    const ImageGuard b(colorCopy(imB));
    const int32_t mode = I_SetColorMode(1);
    const Guard restore([mode] { I_SetColorMode(mode); });
    for (const int32_t copy : {a.get(), b.get()})
        if (copy != 0 && mode == 0)
            leaveRoomForOverlay(copy);
    return DisplayImage2(nullptr, a.get(), b.get(), zoom);
}

int32_t DisplayImageNorm(int32_t imA, int32_t imB, float zoom, float percent)
{
    const ImageGuard a(normalizedCopy(imA, percent));
    const ImageGuard b(normalizedCopy(imB, percent));
    return DisplayImage1(a.get(), b.get(), zoom);
}

int32_t DisplayProfiles1(int32_t im, int32_t)
{
    return I_CloneImage(im, PIX_BGR24, 1);
}

int32_t DisplayProfiles(int32_t im, int32_t im2, float zoom)
{
    const ImageGuard profiles(DisplayProfiles1(im, im2));
    if (profiles.get() == 0)
        return 0;
    const int32_t mode = I_SetColorMode(1);
    const Guard restore([mode] { I_SetColorMode(mode); });
    DisplayImage2(nullptr, profiles.get(), 0, zoom);
    return 1;
}
