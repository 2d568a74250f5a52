// Between images and DIBs.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/display_state.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "fileio/dib_parts.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "vexalib/block.h"
#include "vexalib/dib.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kPaletteParam = 13;
constexpr int32_t kDibHandleParam = 10;
constexpr int32_t kInvertedParam = 19;
constexpr int32_t kPaletteBytes = 1024;
constexpr int64_t kMostCopiedBytes = 60'000'000; // a larger DIB is taken over instead

struct State {
    int32_t shrink = 1;
};
State state;

// The mean of the red bytes of a block of a 1-bit DIB; picture row 0 is the top one.
uint8_t meanRed(const LockedDib& dib, int32_t x, int32_t y, int32_t size)
{
    int32_t sum = 0;
    for (int32_t row = y; row < y + size; ++row) {
        const uint8_t* bits = dib.memoryRow(dib.bottomUp() ? dib.rows() - 1 - row : row);
        for (int32_t col = x; col < x + size; ++col)
            sum += dib.palette()[bits[col >> 3] >> (7 - (col & 7)) & 1].red;
    }
    return static_cast<uint8_t>(sum / (size * size));
}

// A byte image of a 1-bit DIB, reduced by the shrink factor from the bottom row up.
int32_t imageOfBits(const LockedDib& dib)
{
    const int32_t size = state.shrink;
    const int32_t cols = dib.cols() / size;
    const int32_t rows = dib.rows() / size;
    ImageGuard image(I_ImOpen(cols, rows, PIX_BYTE));
    Buffer<uint8_t> line(std::max(cols, 1));
    if (image.get() == 0 || malloctest(line.data(), "CreateDIBImage %d cols", cols))
        return 0;
    for (int32_t up = 0; up < rows; ++up) {
        if (up % 256 == 0)
            I_TellProgress(static_cast<float>(up), static_cast<float>(rows), "1-bit shrink");
        for (int32_t x = 0; x < cols; ++x)
            line[x] = meanRed(dib, x * size, dib.rows() - (up + 1) * size, size);
        I_PutBlockType(0, rows - 1 - up, cols, 1, line.data(), image.get(), PIX_BYTE);
    }
    return image.release();
}

// A grey ramp rises; entries at either end may be overlay colours.
bool isRisingGrey(const PaletteEntry* palette)
{
    for (int32_t i = 18; i <= 229; ++i)
        if (palette[i].green == 0 || palette[i].green < palette[i - 1].red)
            return false;
    return true;
}

int32_t viewType(const LockedDib& dib)
{
    if (dib.bits() == 8)
        return isRisingGrey(dib.palette()) ? PIX_BYTE : PIX_PALETTE;
    return dib.bits() == 24 ? PIX_BGR24 : PIX_BGR32;
}

void setPalette(const void* palette, int32_t im)
{
    I_ImSetParam(palette, kPaletteBytes, kPaletteParam, im);
}

// A plain image of what the view shows, top row first.
int32_t copyOfView(int32_t view, int32_t cols, int32_t rows)
{
    const int32_t type = I_ImGetType(view);
    const int32_t image = I_ImOpen(cols, rows, type == PIX_PALETTE ? PIX_BYTE : type);
    void** dest = I_ImGet2DPtr(nullptr, nullptr, image, 0);
    void** source = I_ImGet2DPtr(nullptr, nullptr, view, 0);
    if (dest && source) {
        const int64_t bytes = int64_t{cols} * I_ImTypeBytes(type);
        for (int32_t row = 0; row < rows; ++row)
            std::memcpy(dest[row], source[row], static_cast<std::size_t>(bytes));
    } else {
        I_SetError(1, "I_CopyDIBtoImageEx dptr=%x, sptr=%x type=%d imDest=%d imDIB=%d", shownAddress(dest),
                   shownAddress(source), type, image, view);
        I_ImageCopy(view, image);
    }
    return image;
}

// A plain image in place of the view; the view is closed.
int32_t replaceByCopy(const LockedDib& dib, int32_t view)
{
    const ImageGuard close(view);
    const int32_t image = copyOfView(view, dib.cols(), dib.rows());
    if (image != 0 && dib.bits() == 8)
        setPalette(dib.palette(), image);
    return image;
}

// The view becomes the owner of its DIB.
void takeOver(void* dib, const LockedDib& locked, int32_t view)
{
    I_ImSetParam(&dib, sizeof dib, kDibHandleParam, view);
    if (locked.bottomUp() && !I_ImInvertRows(view))
        I_PostMessage("CopyDIBtoImage: Invert Failed");
}

// The display's colours for a byte image, in the palette of its DIB.
void setDisplayPalette(PaletteEntry* palette)
{
    uint8_t red[256];
    uint8_t green[256];
    uint8_t blue[256];
    if (!I_GetGraphicsPalette(red, green, blue))
        return;
    if (displayState().overflowColor) {
        if (blue[0] == 0)
            blue[0] = blue[1] = 100;
        if (blue[255] > 254)
            blue[254] = blue[255] = 50;
    }
    for (int32_t i = 0; i < 256; ++i)
        palette[i] = {blue[i], green[i], red[i], 0};
}

// A start and a length within what an image has: below 1 the length counts from the far edge.
struct Span {
    int32_t start;
    int32_t length;

    Span(int32_t first, int32_t count, int32_t size) : start(std::max(first, 0))
    {
        const int64_t left = int64_t{size} - start;
        int64_t wanted = count < 1 ? count + left : count;
        if (wanted < 1)
            wanted = left;
        length = static_cast<int32_t>(std::min(wanted, left));
    }
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t CreateDIBImage(void* dib)
{
    LockedDib locked(dib);
    if (!locked)
        return 0;
    if (locked.bits() == 1)
        return imageOfBits(locked);
    const int32_t type = viewType(locked);
    const int32_t view =
        I_ImOpenPtr(locked.cols(), locked.rows(), locked.stride(), type, locked.memoryRow(0));
    if (view == 0)
        return 0;
    const int32_t bottomUp = locked.bottomUp();
    I_ImSetParam(&bottomUp, sizeof bottomUp, kInvertedParam, view);
    if (type == PIX_PALETTE)
        setPalette(locked.palette(), view);
    locked.keepLocked();
    return view;
}

int32_t I_CopyDIBtoImageEx(void* dib, const char* comment)
{
    int32_t image = CreateDIBImage(dib);
    if (image == 0)
        return 0;
    {
        LockedDib locked(dib);
        if (I_ImGetPtr(0, 0, nullptr, nullptr, image) == locked.memoryRow(0)) {
            if (locked.pixelBytes() > kMostCopiedBytes) {
                locked.keepLocked();
                takeOver(dib, locked, image);
                I_ImSetComment(comment, image);
                return image;
            }
            image = replaceByCopy(locked, image);
            I_ImSetComment(comment, image);
        }
    }
    vexaGlobalFree(dib);
    return image;
}

int32_t I_CopyDIBtoImage(void* dib)
{
    return I_CopyDIBtoImageEx(dib, "");
}

int32_t I_CopyDIBtoImageShrink(void* dib, int32_t factor, const char* comment)
{
    const Guard restore([] { state.shrink = 1; });
    state.shrink = std::clamp(factor, 1, 256);
    return I_CopyDIBtoImageEx(dib, comment);
}

void* I_CopyBoxToDIB(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    int32_t imageCols = 0;
    int32_t imageRows = 0;
    if (im == 0 || !I_ImGetSize(&imageCols, &imageRows, nullptr, im))
        return nullptr;
    const Span across(x, cols, imageCols);
    const Span down(y, rows, imageRows);
    const int32_t imageType = I_ImGetType(im);
    const bool inBytes = imageType < PIX_BGR15;
    int32_t stride = 0;
    void* pixels = nullptr;
    void* dib = CreateDIB2(across.length, down.length, inBytes ? 8 : 24, &stride, &pixels);
    if (!dib)
        return nullptr;
    auto* palette = reinterpret_cast<PaletteEntry*>(static_cast<uint8_t*>(pixels) - kPaletteBytes);
    if (imageType == PIX_BYTE)
        setDisplayPalette(palette);
    else if (imageType == PIX_PALETTE)
        I_ImGetParam(palette, kPaletteBytes, kPaletteParam, im);
    const int32_t viewType = !inBytes ? PIX_BGR24 : imageType == PIX_PALETTE ? PIX_PALETTE : PIX_BYTE;
    const ImageGuard view(I_ImOpenPtr(across.length, down.length, stride, viewType, pixels));
    if (view.get() == 0) {
        vexa_dprintf("I_CopyBoxToDIB: I_ImOpenPtr failed(%d %d %d %lx)", across.length, down.length, stride,
                     static_cast<unsigned long>(reinterpret_cast<uintptr_t>(pixels)));
        vexaGlobalFree(dib);
        return nullptr;
    }
    const int32_t bottomUp = 1;
    I_ImSetParam(&bottomUp, sizeof bottomUp, kInvertedParam, view.get());
    I_ImCopyBlock(across.length, down.length, across.start, down.start, im, 0, 0, view.get());
    return dib;
}

void* GetWindowBitmap(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    return I_CopyBoxToDIB(x, y, cols, rows, im);
}

void* I_CopyImageToDIB(int32_t im, int32_t close)
{
    void* dib = I_CopyBoxToDIB(0, 0, 0, 0, im);
    if (close)
        I_ImClose(im);
    return dib;
}

int32_t SetWindowBitmap(int32_t x, int32_t y, int32_t im, void* dib)
{
    if (x < 0 || y < 0) {
        vexa_dprintf("SetWindowBitmap(): Illegal parameters: %d %d %d", x, y, im);
        return 0;
    }
    const ImageGuard view(CreateDIBImage(dib));
    if (view.get() == 0)
        return 0;
    return I_ImCopyBlock(-1, -1, 0, 0, view.get(), x, y, im) > 0;
}
