#include "vexalib/tiff.h"

#include <algorithm>
#include <cstring>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "fileio/row_buffer.h"
#include "fileio/stream.h"
#include "fileio/tiff_parts.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/raw_file.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kPaletteParam = 13;

// A palette that shows bytes as greys from 1 to 251 at least.
bool isGreyRamp(const TiffTables& tables)
{
    return std::memcmp(tables.red, tables.green, sizeof tables.red) == 0 && tables.red[1] == 1 &&
           tables.red[251] == 251;
}

TiffTables paletteOf(int32_t im)
{
    TiffTables tables;
    uint8_t entries[kPaletteBytes];
    if (I_ImGetType(im) != PIX_PALETTE)
        I_GetGraphicsPalette(tables.red, tables.green, tables.blue);
    else if (I_ImGetParam(entries, sizeof entries, kPaletteParam, im))
        tables.fromEntries(entries);
    return tables;
}

// Below 1 up to the edge, and no more than that.
int32_t sizeToEdge(int32_t size, int32_t position, int32_t edge)
{
    const int64_t left = int64_t{edge} - position;
    return saturateToInt32(size < 1 ? left : std::min<int64_t>(size, left));
}

// A picture in an open file: where its pixels begin, and what they are.
struct OpenTiff {
    Stream stream;
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t type = PIX_BYTE;
    TiffTables tables;
};

bool openTiff(const char* name, OpenTiff& tiff, int32_t* samples)
{
    char comment[80];
    int32_t length = sizeof comment;
    VexaTiffPalette palette = tiff.tables.palette();
    tiff.stream.reset(
        I_ReadTiffHeader(name, &tiff.cols, &tiff.rows, nullptr, comment, &length, &palette, samples));
    if (!tiff.stream)
        return false;
    tiff.type = palette.red ? PIX_PALETTE : *samples == 3 ? PIX_RGB24 : PIX_BYTE;
    return true;
}

// Moves the picture by way of an image on the file, which closes it.
int32_t copyFromFile(OpenTiff& tiff, int32_t x, int32_t y, int32_t im)
{
    const ImageGuard source(I_ImOpenFile(tiff.cols, tiff.rows, 0, tiff.type, tiff.stream.get()));
    if (source.get() == 0)
        return 0;
    tiff.stream.release();
    if (tiff.type == PIX_PALETTE) {
        uint8_t entries[kPaletteBytes];
        tiff.tables.toEntries(entries);
        I_ImSetParam(entries, sizeof entries, kPaletteParam, source.get());
    }
    return I_RectCopy(0, 0, x, y, tiff.cols, tiff.rows, source.get(), im) != 0;
}

bool skip(std::FILE* file, int64_t bytes)
{
    return bytes == 0 || std::fseek(file, static_cast<long>(bytes), SEEK_CUR) == 0;
}

// Reads rows straight to where they belong, the short cut of copyFromFile for an image of the file's own type that is
// addressable. False where it does not hold, or where a pixel lacks.
bool readDirect(const OpenTiff& tiff, int32_t x, int32_t y, const ImageRecord& image)
{
    uint8_t* const pixels = directPixels(image);
    if (!pixels || image.type != tiff.type || image.stride < 1 || image.inverted)
        return false;
    const int64_t fileRow = int64_t{tiff.cols} * image.bytes;
    const int64_t rowBytes = std::min<int64_t>(tiff.cols, int64_t{image.cols} - x) * image.bytes;
    const int64_t rows = std::min<int64_t>(tiff.rows, int64_t{image.rows} - y);
    if (rowBytes < 1 || rows < 1 || bytesLeft(tiff.stream.get()) < fileRow * rows)
        return false;
    uint8_t* const first = pixels + int64_t{x} * image.bytes;
    if (rowBytes == fileRow && image.stride == fileRow)
        return readExactly(tiff.stream.get(), first + y * fileRow, static_cast<std::size_t>(fileRow * rows));
    for (int64_t row = 0; row < rows; ++row) {
        auto* const to = first + (y + row) * image.stride;
        if (!readExactly(tiff.stream.get(), to, static_cast<std::size_t>(rowBytes)) ||
            !skip(tiff.stream.get(), fileRow - rowBytes))
            return false;
    }
    return true;
}

// The corner nearest to the one asked for at which the picture fits.
int32_t pulledBack(int32_t position, int32_t size, int32_t edge)
{
    return saturateToInt32(std::max<int64_t>(0, std::min<int64_t>(position, int64_t{edge} - size)));
}

} // namespace
} // namespace vexa

using namespace vexa;

void I_SetTiffColorModes(int32_t writeRGB, int32_t readRGB, int32_t closest)
{
    tiffState().writeRGB = writeRGB;
    tiffState().readRGB = readRGB;
    tiffState().closestColor = closest;
}

int32_t I_WriteTiffFile(const char* name, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    int32_t imageCols = 0;
    int32_t imageRows = 0;
    if (!I_ImGetSize(&imageCols, &imageRows, nullptr, im))
        return 0;
    const int32_t bands = I_ImGetNBands(im);
    TiffTables tables;
    VexaTiffPalette palette = {};
    if (bands == 1) {
        tables = paletteOf(im);
        if (!isGreyRamp(tables))
            palette = tables.palette();
    }
    I_SetTiffColorModes(bands == 3, bands == 3, 0);
    x = std::max(x, 0);
    y = std::max(y, 0);
    const int32_t width = sizeToEdge(cols, x, imageCols);
    const int32_t height = sizeToEdge(rows, y, imageRows);
    if (width < 1 || height < 1)
        return I_SetError(46, "I_MakeRowBuffer(%d,%d,%u)", width, height, 0U);
    Stream file(I_WriteTiffHeader(name, width, height, nullptr, 0, &palette));
    if (!file)
        return 0;
    const int32_t written = I_WriteTiffWindow(file.get(), x, y, width, height, im);
    if (std::fclose(file.release()) != 0 && written)
        return I_SetError(19, "disk full.");
    return written;
}

int32_t I_ReadTiffFile(const char* name, int32_t x, int32_t y, int32_t* cols, int32_t* rows, int32_t im)
{
    OpenTiff tiff;
    int32_t samples = 1;
    if (!openTiff(name, tiff, &samples))
        return 0;
    if (cols)
        *cols = tiff.cols;
    if (rows)
        *rows = tiff.rows;
    if (tiff.cols < 1 || tiff.rows < 1)
        return I_SetError(1, "Corrupt Tiff Image");
    I_SetTiffColorModes(I_ImGetNBands(im) == 3, samples == 3, 0);
    int32_t imageCols = 0;
    int32_t imageRows = 0;
    if (!I_ImGetSize(&imageCols, &imageRows, nullptr, im))
        return 0;
    const ImageRecord* const image = imageRecordOrNull(im);
    const int32_t left = pulledBack(x, tiff.cols, imageCols);
    const int32_t top = pulledBack(y, tiff.rows, imageRows);
    const long start = std::ftell(tiff.stream.get());
    if (image && readDirect(tiff, left, top, *image))
        return 1;
    return seekTo(tiff.stream.get(), start) && copyFromFile(tiff, left, top, im);
}
