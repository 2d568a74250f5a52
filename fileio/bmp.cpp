// BMP files: a DIB behind a 14-byte file header.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/image_table.h"
#include "fileio/dib_parts.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/dib.h"
#include "vexalib/image.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kFileHeaderBytes = 14;
constexpr int32_t kHeadersBytes = kFileHeaderBytes + static_cast<int32_t>(sizeof(BitmapInfoHeader));
constexpr int64_t kChunkBytes = 256 * 1024; // stays in the second cache between the read and the rows

struct State {
    int32_t pixelsPerMeter = 0; // of the BMP opened last
};
State state;

// A file that is closed on every way out.
class File
{
public:
    File(const char* name, const char* mode) : file_(name ? std::fopen(name, mode) : nullptr)
    {
        if (!file_)
            I_SetError(16, "(%s)", name ? name : "");
    }
    ~File()
    {
        if (file_)
            std::fclose(file_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    explicit operator bool() const { return file_ != nullptr; }
    bool read(void* buffer, int64_t bytes)
    {
        return std::fread(buffer, 1, static_cast<std::size_t>(bytes), file_) ==
               static_cast<std::size_t>(bytes);
    }
    bool seek(int64_t position)
    {
        return position <= std::numeric_limits<long>::max() &&
               std::fseek(file_, static_cast<long>(position), SEEK_SET) == 0;
    }
    // -1 for what has no length.
    int64_t length() { return std::fseek(file_, 0, SEEK_END) == 0 ? std::ftell(file_) : -1; }
    // What is written and read comes in large pieces; a buffer in between would only copy.
    void setUnbuffered() { std::setvbuf(file_, nullptr, _IONBF, 0); }
    int64_t writeRecords(const void* records, int64_t bytes, int64_t count)
    {
        return static_cast<int64_t>(
            std::fwrite(records, static_cast<std::size_t>(bytes), static_cast<std::size_t>(count), file_));
    }

private:
    std::FILE* file_;
};

uint32_t littleEndian(const uint8_t* bytes)
{
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | uint32_t{bytes[3]} << 24;
}

void putLittleEndian(uint8_t* bytes, uint32_t value)
{
    for (int32_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> 8 * i);
}

// What the headers of a BMP file say, and its palette.
struct OpenBmp {
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bits = 0;
    bool bottomUp = false;
    int64_t stride = 0;
    int64_t pixelStart = 0;
    int64_t fileBytes = 0;
    PaletteEntry palette[256] = {};
};

bool invalid()
{
    I_SetError(1, "Invalid BMP file.");
    return false;
}

// Entries for which there is no room in front of the pixels stay black.
void readPalette(File& file, OpenBmp& bmp)
{
    const int64_t room = std::min(bmp.pixelStart, bmp.fileBytes) - kHeadersBytes;
    file.read(bmp.palette, std::clamp<int64_t>(room, 0, int64_t{4} * paletteColors(bmp.bits)));
}

bool openBmp(File& file, OpenBmp& bmp)
{
    uint8_t fileHeader[kFileHeaderBytes];
    BitmapInfoHeader header;
    bmp.fileBytes = file.length();
    if (bmp.fileBytes < kHeadersBytes || !file.seek(0) || !file.read(fileHeader, sizeof fileHeader) ||
        !file.read(&header, sizeof header))
        return invalid();
    if (fileHeader[0] != 'B' || fileHeader[1] != 'M' || header.biSize != sizeof header ||
        header.biPlanes != 1 || header.biCompression != 0)
        return invalid();
    // Required: one resolution serves for both axes.
    state.pixelsPerMeter = header.biXPelsPerMeter;
    bmp.cols = header.biWidth;
    bmp.rows = saturateToInt32(std::abs(int64_t{header.biHeight}));
    bmp.bits = header.biBitCount;
    bmp.bottomUp = header.biHeight > 0;
    bmp.stride = bitmapStride(bmp.cols, bmp.bits);
    bmp.pixelStart = littleEndian(fileHeader + 10);
    readPalette(file, bmp);
    return true;
}

// The file is long enough for the rows that its header promises; it then stands at the first of them.
bool seekPixels(File& file, const OpenBmp& bmp)
{
    const bool enough = bmp.cols > 0 && bmp.rows > 0 && bmp.stride <= std::numeric_limits<int32_t>::max() &&
                        (bmp.fileBytes - bmp.pixelStart) / bmp.stride >= bmp.rows;
    return (enough && file.seek(bmp.pixelStart)) || invalid();
}

// Reads the rows into the image, the picture's top row first.
bool readRows(File& file, const OpenBmp& bmp, int32_t im)
{
    const int64_t rowsAtOnce = std::clamp<int64_t>(kChunkBytes / bmp.stride, 1, bmp.rows);
    Buffer<uint8_t> chunk(rowsAtOnce * bmp.stride);
    if (malloctest(chunk.data(), "I_ReadBMP %d cols", bmp.cols))
        return false;
    const int32_t type = I_ImGetType(im);
    for (int64_t first = 0; first < bmp.rows;) {
        const int64_t count = std::min(rowsAtOnce, bmp.rows - first);
        if (!file.read(chunk.data(), count * bmp.stride))
            return invalid();
        for (int64_t i = 0; i < count; ++i) {
            const int64_t row = bmp.bottomUp ? bmp.rows - 1 - (first + i) : first + i;
            I_PutBlockType(0, static_cast<int32_t>(row), bmp.cols, 1, chunk.data() + i * bmp.stride, im,
                           type);
        }
        first += count;
    }
    return true;
}

// Writes the headers and the palette; a negative height says that the top row comes first.
bool createBmp(File& file, int32_t cols, int32_t rows, int32_t bits, const PaletteEntry* palette)
{
    const int32_t colors = paletteColors(bits);
    uint8_t bytes[kHeadersBytes + 1024] = {};
    const int32_t pixelStart = kHeadersBytes + 4 * colors;
    BitmapInfoHeader header = {};
    header.biSize = sizeof header;
    header.biWidth = cols;
    header.biHeight = rows;
    header.biPlanes = 1;
    header.biBitCount = static_cast<uint16_t>(bits);
    header.biSizeImage = static_cast<uint32_t>(bitmapStride(cols, bits) * std::abs(int64_t{rows}));
    bytes[0] = 'B';
    bytes[1] = 'M';
    putLittleEndian(bytes + 2, static_cast<uint32_t>(pixelStart) + header.biSizeImage);
    putLittleEndian(bytes + 10, static_cast<uint32_t>(pixelStart));
    std::memcpy(bytes + kFileHeaderBytes, &header, sizeof header);
    PaletteEntry entries[256];
    if (!palette)
        fillGreyRamp(entries, bits);
    if (colors > 0)
        std::memcpy(bytes + kHeadersBytes, palette ? palette : entries,
                    std::size_t{4} * static_cast<std::size_t>(colors));
    file.setUnbuffered();
    return file.writeRecords(bytes, pixelStart, 1) == 1 || I_SetError(1, "BMP file header didn't write");
}

int32_t writeDib(const char* name, const LockedDib& dib)
{
    File file(name, "wb");
    const int32_t rows = dib.bottomUp() ? dib.rows() : -dib.rows();
    if (!file || !createBmp(file, dib.cols(), rows, dib.bits(), dib.palette()))
        return 0;
    return static_cast<int32_t>(file.writeRecords(dib.memoryRow(0), dib.stride(), dib.rows()));
}

int32_t fileBits(int32_t type)
{
    return type == PIX_BYTE ? 8 : 24;
}

// True where the rows in memory are rows of a BMP file as they are.
bool hasFileRows(const ImageRecord& image)
{
    // Required: a whole number of words in pixels, not in bytes; a colour image of more than one column takes the way
    // of the DIB.
    return image.data && (image.type == PIX_BYTE || image.type == PIX_BGR24) &&
           image.stride == ((int64_t{image.cols} + 3) & ~int64_t{3}) &&
           image.stride == bitmapStride(image.cols, fileBits(image.type));
}

// The last row of a window on another image may end where the memory does: what fills it up is not read.
bool writeLastRow(File& file, const ImageRecord& image)
{
    const uint8_t padding[4] = {};
    const int64_t rowBytes = int64_t{image.cols} * image.bytes;
    const uint8_t* row = static_cast<const uint8_t*>(image.data) + (int64_t{image.rows} - 1) * image.stride;
    const int64_t rest = image.stride - rowBytes;
    return file.writeRecords(row, rowBytes, 1) == 1 &&
           (rest == 0 || file.writeRecords(padding, rest, 1) == 1);
}

int32_t writeImage(const char* name, const ImageRecord& image)
{
    File file(name, "wb");
    // Rows that lie bottom-up in memory are told as such.
    const int32_t rows = image.inverted ? image.rows : -image.rows;
    if (!file || !createBmp(file, image.cols, rows, fileBits(image.type), nullptr))
        return 0;
    const auto written = static_cast<int32_t>(file.writeRecords(image.data, image.stride, image.rows - 1));
    return written == image.rows - 1 && writeLastRow(file, image) ? image.rows : written;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ReadBMP(const char* name)
{
    File file(name, "rb");
    OpenBmp bmp;
    if (!file || !openBmp(file, bmp))
        return 0;
    if (bmp.bits != 8 && bmp.bits != 24 && bmp.bits != 32)
        return I_SetError(1, "Error: %s has %d bit pixels. 8, 24, and 32 bits are allowed.", name, bmp.bits);
    const int32_t type = bmp.bits == 8 ? PIX_BYTE : bmp.bits == 24 ? PIX_BGR24 : PIX_BGR32;
    if (!seekPixels(file, bmp))
        return 0;
    ImageGuard image(I_ImOpenStride(bmp.cols, bmp.rows, static_cast<int32_t>(bmp.stride), type));
    if (image.get() == 0 || !readRows(file, bmp, image.get()))
        return 0;
    return image.release();
}

void* I_ReadBMPtoDIB(const char* name)
{
    File file(name, "rb");
    OpenBmp bmp;
    if (!file || !openBmp(file, bmp))
        return nullptr;
    // CreateDIB says so where there is nothing to read.
    const bool pixelsPromised = bmp.cols > 0 && bmp.rows > 0 && bmp.bits > 0 && bmp.bits <= 32;
    if (pixelsPromised && !seekPixels(file, bmp))
        return nullptr;
    void* pixels = nullptr;
    void* dib = CreateDIB(bmp.cols, bmp.rows, bmp.bits, &pixels);
    if (!dib)
        return nullptr;
    const auto paletteBytes = std::size_t{4} * static_cast<std::size_t>(paletteColors(bmp.bits));
    std::memcpy(static_cast<uint8_t*>(pixels) - paletteBytes, bmp.palette, paletteBytes);
    setBottomUp(dib, bmp.bottomUp);
    if (!file.read(pixels, bmp.stride * bmp.rows)) {
        invalid();
        vexaGlobalFree(dib);
        return nullptr;
    }
    return dib;
}

int32_t I_WriteDIBtoBMP(const char* name, void* dib)
{
    int32_t written = 0;
    {
        const LockedDib locked(dib);
        if (locked)
            written = writeDib(name, locked);
    }
    if (dib)
        vexaGlobalFree(dib);
    return written;
}

int32_t I_WriteBMP(const char* name, int32_t im)
{
    const ImageRecord* image = im == 0 ? nullptr : findImageRecord(im, "I_ImGetPtr");
    if (!image)
        return 0;
    return hasFileRows(*image) ? writeImage(name, *image) : I_WriteDIBtoBMP(name, I_CopyImageToDIB(im, 0));
}

int32_t I_GetBMPPixPerMeter(int32_t* x, int32_t* y)
{
    if (x)
        *x = state.pixelsPerMeter;
    if (y)
        *y = state.pixelsPerMeter;
    return state.pixelsPerMeter;
}
