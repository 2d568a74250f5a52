// Images on the screen in five rows of two.
#include <algorithm>
#include <array>
#include <cstdarg>

#include "core/display_state.h"
#include "core/image_table.h"
#include "core/roi.h"
#include "fileio/display_parts.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/display.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

constexpr int32_t kSlots = 10;
constexpr int32_t kTop = 35;
constexpr float kUsualWidth = 400.0F; // of both columns together
constexpr float kMostGain = 85.0F;
constexpr int32_t kNoOutline = 2; // flag of Display2x5

using Images = std::array<int32_t, kSlots>;

struct Slot {
    int32_t im = 0;
    int32_t cols = 0;
    int32_t rows = 0;
};
using Slots = std::array<Slot, kSlots>;

struct FalseColors {
    bool used = false;
    uint8_t red[256] = {};
    uint8_t green[256] = {};
    uint8_t blue[256] = {};

    explicit FalseColors(int32_t choice) : used(choice == 1 || choice == 2)
    {
        if (used)
            I_FalseColorLUT(0, choice == 1 ? 256 : 128, red, green, blue, 1, 1);
    }
};

// How images are prepared and shown.
struct Manner {
    int32_t flags;
    FalseColors colors;
    bool regionOnly;
    int32_t colorMode; // at entry
};

Slots readSlots(const Images& images)
{
    Slots slots;
    for (int32_t i = 0; i < kSlots; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const int32_t valid = I_ImValid(images[at]);
        Slot slot = {images[at]};
        if (!valid)
            continue;
        if (I_ImGetSize(&slot.cols, &slot.rows, nullptr, slot.im))
            slots[at] = slot;
        else
            I_ShowError("DisplayImage2x5 i=%d ImValid=%d", i, valid);
    }
    return slots;
}

// The largest width of the left or the right column.
int32_t widest(const Slots& slots, std::size_t column)
{
    int32_t most = 0;
    for (std::size_t i = column; i < slots.size(); i += 2)
        most = std::max(most, slots[i].cols);
    return most;
}

// A copy of an image as it is shown; 0 with the error where there is none.
int32_t preparedCopy(int32_t im, const Manner& manner)
{
    const bool inColor = manner.colors.used || I_ImGetType(im) >= PIX_PALETTE;
    const int32_t copy = I_CloneImageEx(im, inColor ? PIX_BGR24 : PIX_BYTE, 1, "DisplayNorm2x5");
    if (copy == 0)
        return 0;
    if (manner.flags != 0)
        I_NormalizeRange(im, copy, 0.0F, kHighestUnderColors, kMostGain, 1);
    else if (manner.colorMode == 0)
        leaveRoomForOverlay(copy);
    if (manner.colors.used) {
        const RoiTypeGuard whole(kRoiFullFrame);
        I_RGBLUTMap(copy, copy, manner.colors.red, manner.colors.green, manner.colors.blue);
    }
    if (!(manner.flags & kNoOutline))
        I_SetColorMode(1);
    return copy;
}

// The region's box and a margin around it, as far as the image goes.
Rectangle regionOf(int32_t im)
{
    constexpr int32_t kMargin = 5;
    constexpr int32_t kGrowth = 6;
    int32_t cols = 0;
    int32_t rows = 0;
    VexaBox box = {};
    if (!I_ImGetSize(&cols, &rows, nullptr, im) ||
        !I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im))
        return {};
    const int32_t x = std::max(box.left - kMargin, 0);
    const int32_t y = std::max(box.top - kMargin, 0);
    return {x, y, std::min(box.right - box.left + 1 + kGrowth, cols - x),
            std::min(box.bottom - box.top + 1 + kGrowth, rows - y)};
}

// Both images of a row; `drawn` stays where neither is shown.
void showRow(void* dc, const Slot& left, const Slot& right, int32_t y, float zoom, const Manner& manner,
             int32_t& drawn)
{
    int32_t x = 0;
    for (const Slot& slot : {left, right}) {
        if (slot.im != 0) {
            const ImageGuard copy(preparedCopy(slot.im, manner));
            if (copy.get() != 0)
                drawn = showImage(dc, copy.get(), manner.regionOnly ? regionOf(copy.get()) : Rectangle{},
                                  {x, y, scaledSize(slot.cols, zoom), scaledSize(slot.rows, zoom)});
        }
        x = truncToInt32(static_cast<float>(left.cols) * zoom + 1.0F);
    }
}

int32_t showGrid(void* dc, const Images& images, float zoom, const Manner& manner)
{
    const Slots slots = readSlots(images);
    const int64_t width = int64_t{widest(slots, 0)} + widest(slots, 1);
    if (width == 0)
        return 0;
    const float scale = zoom > 0.0F ? zoom : kUsualWidth / static_cast<float>(width);
    const Guard restore([&manner] {
        if (I_GetColorMode() != manner.colorMode)
            I_SetColorMode(manner.colorMode);
    });
    int32_t drawn = 0;
    int32_t y = kTop;
    for (std::size_t i = 0; i < slots.size(); i += 2) {
        showRow(dc, slots[i], slots[i + 1], y, scale, manner, drawn);
        const int32_t height = std::max(slots[i].rows, slots[i + 1].rows);
        y = truncToInt32(static_cast<float>(height) * scale + static_cast<float>(y) + 1.0F);
    }
    return drawn;
}

// What a list of numbers asks for.
struct Request {
    Images images = {};
    int32_t count = 0;
    int32_t options = 0;

    // False: the list ends here.
    bool take(int32_t number)
    {
        if (number == 0 || number < -512 || number > 63)
            return false;
        if (number > 0)
            options |= number;
        else if (count < kSlots)
            images[static_cast<std::size_t>(count++)] = number;
        return true;
    }

    Manner manner() const
    {
        const auto flag = [this](int32_t option, int32_t value) { return options & option ? value : 0; };
        return {flag(1, 1) | flag(8, 2) | flag(16, 4), FalseColors(options & 4 ? 2 : flag(2, 1)),
                (options & 32) != 0, I_GetColorMode()};
    }
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t Display2x5(void* dc, int32_t flags, int32_t falseColor, float zoom, int32_t im0, int32_t im1,
                   int32_t im2, int32_t im3, int32_t im4, int32_t im5, int32_t im6, int32_t im7, int32_t im8,
                   int32_t im9)
{
    return showGrid(dc, {im0, im1, im2, im3, im4, im5, im6, im7, im8, im9}, zoom,
                    {flags, FalseColors(falseColor), false, I_GetColorMode()});
}

int32_t DisplayImage2x3(void* dc, float zoom, int32_t im0, int32_t im1, int32_t im2, int32_t im3, int32_t im4,
                        int32_t im5)
{
    return Display2x5(dc, 0, 0, zoom, im0, im1, im2, im3, im4, im5, 0, 0, 0, 0);
}

int32_t DisplayImage2x5(void* dc, float zoom, int32_t im0, int32_t im1, int32_t im2, int32_t im3, int32_t im4,
                        int32_t im5, int32_t im6, int32_t im7, int32_t im8, int32_t im9)
{
    return Display2x5(dc, 0, 0, zoom, im0, im1, im2, im3, im4, im5, im6, im7, im8, im9);
}

int32_t DisplayImages(float zoom, int32_t first, ...)
{
    constexpr int32_t kMostNumbers = 12;
    Request request;
    std::va_list list;
    va_start(list, first);
    int32_t number = first;
    for (int32_t read = 1; request.take(number) && read < kMostNumbers; ++read)
        number = va_arg(list, int32_t);
    va_end(list);
    return showGrid(nullptr, request.images, zoom, request.manner());
}
