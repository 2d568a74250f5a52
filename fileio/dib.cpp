#include "vexalib/dib.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "fileio/dib_parts.h"
#include "platform/platform.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int64_t kHeaderBytes = sizeof(BitmapInfoHeader);

void store(int32_t* out, int64_t value)
{
    if (out)
        *out = saturateToInt32(value);
}

bool allowedBits(int32_t bits)
{
    return bits == 1 || bits == 8 || bits == 24 || bits == 32;
}

// Where the pixels lie behind a header of so many bits.
int64_t pixelOffset(int32_t bits)
{
    return kHeaderBytes + int64_t{4} * paletteColors(bits);
}

// Tests what the header says against the library's rules, and then against the size of the block.
bool isGoodHeader(const BitmapInfoHeader& header, int64_t blockBytes)
{
    const int32_t bits = header.biBitCount;
    if (header.biPlanes != 1)
        return I_SetError(1, "Error: DIB has %d planes", header.biPlanes);
    if (!allowedBits(bits))
        return I_SetError(1, "Error: DIB has %d bit pixels. 8, 24, and 32 bits are allowed. Compression=%d.",
                          bits, static_cast<int32_t>(header.biCompression));
    if (header.biCompression != 0)
        return I_SetError(1, "Error: DIB has compression=%d", static_cast<int32_t>(header.biCompression));
    const int64_t stride = bitmapStride(header.biWidth, bits);
    const int64_t rows = std::abs(int64_t{header.biHeight});
    const int64_t room = blockBytes - pixelOffset(bits);
    if (header.biWidth < 1 || rows < 1 || rows > INT32_MAX || stride > INT32_MAX || room < 0 ||
        room / stride < rows)
        return I_SetError(1, "Corrupt DIB. %d x %d pixels of %d bits in %.0f bytes.", header.biWidth,
                          header.biHeight, bits, static_cast<double>(blockBytes));
    return true;
}

// The pixels of a block that is locked at `block`, or null with the error set. Outputs are written as soon as the header
// is known to be one.
void* findPixels(uint8_t* block, int64_t blockBytes, int32_t* cols, int32_t* rows, int32_t* stride,
                 int32_t* bits)
{
    BitmapInfoHeader header = {};
    std::memcpy(&header, block, static_cast<std::size_t>(std::min(blockBytes, kHeaderBytes)));
    if (header.biSize != kHeaderBytes || blockBytes < kHeaderBytes) {
        I_SetError(1, "Corrupt DIB. biSize = %ld, should be %d.", static_cast<long>(header.biSize),
                   static_cast<int32_t>(kHeaderBytes));
        return nullptr;
    }
    store(cols, header.biWidth);
    store(rows, header.biHeight);
    store(stride, bitmapStride(header.biWidth, header.biBitCount));
    store(bits, header.biBitCount);
    return isGoodHeader(header, blockBytes) ? block + pixelOffset(header.biBitCount) : nullptr;
}

// The colour of each index of a bitmap of 8 bits or fewer.
int32_t pixelIndex(const uint8_t* row, int32_t x, int32_t bits)
{
    return bits == 8 ? row[x] : row[x >> 3] >> (7 - (x & 7)) & 1;
}

void expandRow(const LockedDib& from, const uint8_t* row, uint8_t* to)
{
    const PaletteEntry* palette = from.palette();
    for (int32_t x = 0; x < from.cols(); ++x) {
        const PaletteEntry& color = palette[pixelIndex(row, x, from.bits())];
        *to++ = color.blue;
        *to++ = color.green;
        *to++ = color.red;
    }
}

int32_t greyOf(const PaletteEntry& color)
{
    return (color.red + color.green + color.blue) / 3;
}

// The greatest difference of red to green or blue among the entries that no overlay uses.
int32_t colorfulness(const PaletteEntry* palette, int32_t count)
{
    int32_t most = 0;
    for (int32_t i = 0; i < count; ++i) {
        most = std::max(most, std::abs(palette[i].red - palette[i].green));
        most = std::max(most, std::abs(palette[i].red - palette[i].blue));
    }
    return most;
}

constexpr int32_t kFirstOverlayEntry = 252;

void mapPixelsToGrey(const LockedDib& dib)
{
    PaletteEntry* palette = dib.palette();
    uint8_t grey[256];
    for (int32_t i = 0; i < 256; ++i)
        grey[i] = static_cast<uint8_t>(greyOf(palette[i]));
    uint8_t* pixels = dib.memoryRow(0);
    for (int64_t i = 0; i < dib.pixelBytes(); ++i)
        pixels[i] = grey[pixels[i]];
    // The top entries stay as overlay colours where they are colours.
    const bool allGrey = palette[253].red == palette[253].green;
    for (int32_t i = 0; i < (allGrey ? 256 : kFirstOverlayEntry); ++i) {
        const auto level = static_cast<uint8_t>(i);
        palette[i] = {level, level, level, palette[i].reserved};
    }
}

// Null where there is no memory, or the rows are longer than an image's can be.
void* allocateDib(int64_t rowBytes, int64_t rows, int64_t offset)
{
    if (rowBytes > INT32_MAX || rowBytes * rows > PTRDIFF_MAX - offset)
        return nullptr;
    return vexaGlobalAlloc(static_cast<size_t>(rowBytes * rows + offset));
}

// A 24-bit DIB of the same picture; null where there is no memory.
void* expandTo24(const LockedDib& from)
{
    int32_t stride = 0;
    void* pixels = nullptr;
    void* dib = CreateDIB2(from.cols(), from.rows(), 24, &stride, &pixels);
    if (!dib) {
        I_SetError(1, "ConvertDIBto24: stride=%d, pix24=%x", stride, shownAddress(pixels));
        return nullptr;
    }
    for (int32_t row = 0; row < from.rows(); ++row)
        expandRow(from, from.memoryRow(row), static_cast<uint8_t*>(pixels) + int64_t{row} * stride);
    setBottomUp(dib, from.bottomUp());
    return dib;
}

// Makes a DIB that is grey but for rounding exactly grey; false, with nothing changed, for one in colour.
bool makeGrey(const LockedDib& dib)
{
    constexpr int32_t kColorful = 5;
    PaletteEntry* palette = dib.palette();
    if (colorfulness(palette, std::min(dib.colors(), kFirstOverlayEntry)) >= kColorful)
        return false;
    if (dib.bits() == 8) {
        mapPixelsToGrey(dib);
        return true;
    }
    // Two colours cannot take their greys into the pixels.
    for (int32_t i = 0; i < dib.colors(); ++i) {
        const auto level = static_cast<uint8_t>(greyOf(palette[i]));
        palette[i] = {level, level, level, palette[i].reserved};
    }
    return true;
}

} // namespace

void fillGreyRamp(PaletteEntry* palette, int32_t bits)
{
    const int32_t colors = paletteColors(bits);
    for (int32_t i = 0; i < colors; ++i) {
        const auto level = static_cast<uint8_t>(i * (256 / colors));
        palette[i] = {level, level, level, 0};
    }
}

LockedDib::LockedDib(void* handle) : handle_(handle)
{
    pixels_ = static_cast<uint8_t*>(CheckDIB2(handle, &cols_, &rows_, &stride_, &bits_));
}

LockedDib::~LockedDib()
{
    if (pixels_ && unlock_)
        vexaGlobalUnlock(handle_);
}

PaletteEntry* LockedDib::palette() const
{
    return colors() == 0 ? nullptr : reinterpret_cast<PaletteEntry*>(pixels_ - int64_t{4} * colors());
}

unsigned shownAddress(const void* address)
{
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(address));
}

void setBottomUp(void* dib, bool bottomUp)
{
    auto* header = static_cast<BitmapInfoHeader*>(vexaGlobalLock(dib));
    if (!header)
        return;
    const int32_t rows = std::abs(header->biHeight);
    header->biHeight = bottomUp ? rows : -rows;
    vexaGlobalUnlock(dib);
}

} // namespace vexa

using namespace vexa;

void* CheckDIB2(void* dib, int32_t* cols, int32_t* rows, int32_t* stride, int32_t* bits)
{
    if (!dib)
        return nullptr;
    auto* block = static_cast<uint8_t*>(vexaGlobalLock(dib));
    if (!block)
        return nullptr;
    const auto bytes = static_cast<int64_t>(std::min<size_t>(vexaGlobalSize(dib), PTRDIFF_MAX));
    void* pixels = findPixels(block, bytes, cols, rows, stride, bits);
    if (!pixels)
        vexaGlobalUnlock(dib);
    return pixels;
}

void* CheckDIB(void* dib, int32_t* cols, int32_t* rows, int32_t* bits)
{
    return CheckDIB2(dib, cols, rows, nullptr, bits);
}

void* CreateDIB2(int32_t cols, int32_t rows, int32_t bits, int32_t* stride, void** pixels)
{
    if (cols < 1 || rows < 1 || bits < 1 || bits > 32) {
        vexa_dprintf("CreateDIB: Illegal size (%d x %d %d bits)", cols, rows, bits);
        return nullptr;
    }
    // Required: pixels of less than a byte get a byte each here.
    const int64_t rowBytes = (int64_t{(bits + 7) / 8} * cols + 3) & ~int64_t{3};
    const int64_t offset = pixelOffset(bits);
    void* dib = allocateDib(rowBytes, rows, offset);
    if (!dib) {
        char text[256] = {};
        const int32_t code = platform::lastError(text, sizeof text);
        const double bytes = static_cast<double>(rowBytes) * rows + static_cast<double>(offset);
        I_SetError(1,
                   "CreateDIB GlobalAlloc failed on (%.3f MBytes) %d cols x %d bits x %d rows. ErrNo=%d=%s",
                   bytes / 1000000.0, cols, bits, rows, code, text);
        return nullptr;
    }
    auto* block = static_cast<uint8_t*>(vexaGlobalLock(dib));
    if (!block) {
        char text[256] = {};
        I_SetError(1, "CreateDIB LockBitmap(%x) failed. Error %d", shownAddress(dib),
                   platform::lastError(text, sizeof text));
        vexaGlobalFree(dib);
        return nullptr;
    }
    BitmapInfoHeader header = {};
    header.biSize = kHeaderBytes;
    header.biWidth = cols;
    header.biHeight = rows;
    header.biPlanes = 1;
    header.biBitCount = static_cast<uint16_t>(bits);
    std::memcpy(block, &header, sizeof header);
    fillGreyRamp(reinterpret_cast<PaletteEntry*>(block + kHeaderBytes), bits);
    store(stride, rowBytes);
    if (pixels)
        *pixels = block + offset;
    return dib;
}

void* CreateDIB(int32_t cols, int32_t rows, int32_t bits, void** pixels)
{
    return CreateDIB2(cols, rows, bits, nullptr, pixels);
}

void* ConvertDIBto24(void* dib)
{
    void* converted = nullptr;
    {
        const LockedDib from(dib);
        if (!from)
            return nullptr;
        if (from.bits() > 8)
            return dib;
        if (from.colors() != 256)
            I_SetError(1, "ConvertDIBto24: ncolors=%d", from.colors());
        converted = expandTo24(from);
    }
    if (converted)
        vexaGlobalFree(dib);
    return converted;
}

void* I_MapDIBPalette(void* dib)
{
    {
        const LockedDib locked(dib);
        if (!locked || locked.bits() > 8 || makeGrey(locked))
            return dib;
    }
    return ConvertDIBto24(dib);
}

void* DeflickerDIB(void* dib, int32_t flag)
{
    const LockedDib locked(dib);
    if (!locked)
        return dib;
    const bool second = (flag != 0) != (locked.rows() % 2 != 0);
    const int32_t pairs = (locked.rows() - (second ? 1 : 0)) / 2;
    for (int64_t pair = 0; pair < pairs; ++pair) {
        uint8_t* first = locked.memoryRow(2 * pair);
        uint8_t* next = locked.memoryRow(2 * pair + 1);
        std::memcpy(second ? first : next, second ? next : first, static_cast<std::size_t>(locked.stride()));
    }
    return dib;
}

int32_t CopyDIB(void* dib, void* buffer, int32_t offset, int32_t length, int32_t direction)
{
    if (!dib || !buffer || offset < 0)
        return 0;
    auto* block = static_cast<uint8_t*>(vexaGlobalLock(dib));
    if (!block)
        return 0;
    const Guard unlock([dib] { vexaGlobalUnlock(dib); });
    const auto size = static_cast<int64_t>(std::min<size_t>(vexaGlobalSize(dib), PTRDIFF_MAX));
    const int64_t bytes = std::min<int64_t>(length, size - offset);
    if (bytes < 1)
        return 1;
    if (direction == 0)
        std::memcpy(block + offset, buffer, static_cast<std::size_t>(bytes));
    else
        std::memcpy(buffer, block + offset, static_cast<std::size_t>(bytes));
    return 1;
}
