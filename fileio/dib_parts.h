// The records of a device-independent bitmap, and the parts of one that is locked.
#ifndef VEXA_FILEIO_DIB_PARTS_H
#define VEXA_FILEIO_DIB_PARTS_H

#include <cstdint>

namespace vexa
{

// The published 40-byte header, at the start of the block.
struct BitmapInfoHeader {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight; // positive: the first row in memory is the bottom one
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};
static_assert(sizeof(BitmapInfoHeader) == 40);

struct PaletteEntry {
    uint8_t blue;
    uint8_t green;
    uint8_t red;
    uint8_t reserved;
};

// Entries of the palette of a bitmap; 0 above 8 bits.
constexpr int32_t paletteColors(int32_t bits)
{
    return bits >= 1 && bits <= 8 ? 1 << bits : 0;
}

// Bytes from one row of a bitmap to the next, in a DIB as in a file.
constexpr int64_t bitmapStride(int64_t cols, int64_t bits)
{
    return ((bits * cols + 7) / 8 + 3) & ~int64_t{3};
}

// Fills the palette of a bitmap of so many bits with a grey ramp.
void fillGreyRamp(PaletteEntry* palette, int32_t bits);

// A DIB that was found good. It is locked until this goes out of scope.
class [[nodiscard]] LockedDib
{
public:
    explicit LockedDib(void* handle);
    ~LockedDib();
    LockedDib(const LockedDib&) = delete;
    LockedDib& operator=(const LockedDib&) = delete;

    // False: no handle, no lock, or a bad header; for the last the error is set.
    explicit operator bool() const { return pixels_ != nullptr; }
    int32_t cols() const { return cols_; }
    int32_t rows() const { return rows_ < 0 ? -rows_ : rows_; }
    bool bottomUp() const { return rows_ > 0; }
    int32_t stride() const { return stride_; }
    int32_t bits() const { return bits_; }
    int64_t pixelBytes() const { return int64_t{stride_} * rows(); }
    int32_t colors() const { return paletteColors(bits_); }
    PaletteEntry* palette() const;
    uint8_t* memoryRow(int64_t row) const { return pixels_ + row * stride_; }
    // A view on the pixels needs the lock for as long as it is open.
    void keepLocked() { unlock_ = false; }

private:
    void* handle_;
    bool unlock_ = true;
    uint8_t* pixels_ = nullptr;
    int32_t cols_ = 0;
    int32_t rows_ = 0;
    int32_t stride_ = 0;
    int32_t bits_ = 0;
};

// A handle or an address as the messages show it.
unsigned shownAddress(const void* address);

// Turns a bitmap just made into one whose first row in memory is the top one, or the reverse.
void setBottomUp(void* dib, bool bottomUp);

} // namespace vexa

#endif
