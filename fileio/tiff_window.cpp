// Windows of an image to and from the open file of a TIFF.
#include <algorithm>
#include <limits>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "fileio/row_buffer.h"
#include "fileio/stream.h"
#include "fileio/tiff_parts.h"
#include "fileio/tiff_rows.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/raw_file.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int64_t kOneFixed = 0x10000; // 1 in 16.16
constexpr int64_t kMostRowBytes = std::numeric_limits<int32_t>::max();

int32_t diskFull()
{
    return I_SetError(19, "disk full.");
}

// A buffer for some of the rows; null with the error of I_MakeRowBuffer, also for a size below 1 or beyond 32 bits.
void* makeBuffer(int64_t rowBytes, int64_t rows)
{
    return I_MakeRowBuffer(rowBytes > kMostRowBytes ? 0 : saturateToInt32(rowBytes), saturateToInt32(rows),
                           nullptr);
}

// Rows of an image that lie in memory just as they lie in the file; null if they do not.
const uint8_t* packedRows(const ImageRecord& image, int32_t x, int32_t y, int32_t cols, int32_t rows)
{
    const bool asInFile = !tiffState().writeRGB && directPixels(image) && !image.ops && !image.inverted &&
                          (image.type == PIX_BYTE || image.type == PIX_PALETTE) && image.stride == cols &&
                          image.cols == cols && x == 0 && y >= 0 && int64_t{y} + rows <= image.rows;
    return asInFile ? static_cast<const uint8_t*>(image.data) + int64_t{y} * image.stride : nullptr;
}

// Gathers rows and writes them a buffer at a time.
int32_t writeRows(std::FILE* file, TiffRowSource& source, int32_t cols, int32_t rows)
{
    const int64_t rowBytes = int64_t{cols} * source.samples();
    const int32_t atOnce = rowsAtOnce(rowBytes, rows);
    const CallerBuffer buffer(makeBuffer(rowBytes, std::min(rows, atOnce)));
    if (!buffer)
        return 0;
    for (int32_t row = 0; row < rows;) {
        const int32_t count = std::min(atOnce, rows - row);
        for (int32_t i = 0; i < count; ++i)
            source.fetch(row + i, buffer.bytes() + i * rowBytes);
        const auto bytes = static_cast<std::size_t>(rowBytes * count);
        if (std::fwrite(buffer.bytes(), 1, bytes, file) != bytes)
            return diskFull();
        row += count;
    }
    return 1;
}

int32_t shortRead(int64_t got, int64_t wanted)
{
    return I_SetError(18, "len=%u, should be %u", static_cast<uint32_t>(got), static_cast<uint32_t>(wanted));
}

// A run of rows that counts as one read: told as such where it comes out short, moved in pieces.
struct RowReader {
    std::FILE* file;
    TiffRowSink& sink;
    int64_t rowBytes;
    int32_t atOnce;
    uint8_t* buffer;

    bool read(int64_t firstRow, int64_t rows)
    {
        int64_t got = 0;
        for (int64_t done = 0; done < rows;) {
            const int64_t count = std::min<int64_t>(atOnce, rows - done);
            const auto bytes = static_cast<std::size_t>(rowBytes * count);
            const auto arrived = static_cast<int64_t>(std::fread(buffer, 1, bytes, file));
            got += arrived;
            for (int64_t i = 0; i < arrived / rowBytes; ++i)
                sink.put(firstRow + done + i, buffer + i * rowBytes);
            if (arrived < rowBytes * count)
                return shortRead(got, rowBytes * rows);
            done += count;
        }
        return true;
    }
};

int32_t readRows(std::FILE* file, TiffRowSink& sink, int32_t cols, int32_t rows)
{
    const int64_t rowBytes = int64_t{cols} * TiffRowSink::samples();
    if (rowBytes < 1 || rows < 1 || rowBytes > kMostRowBytes) {
        const CallerBuffer refused(makeBuffer(rowBytes, rows));
        return 0;
    }
    const int64_t rowsOfRead = rowsInRowBuffer(rowBytes, rows);
    const int64_t available = bytesLeft(file);
    // No memory for rows that the file has not got.
    if (available < rowBytes) {
        std::fseek(file, 0, SEEK_END);
        return shortRead(available, rowBytes * rowsOfRead);
    }
    const int32_t atOnce = rowsAtOnce(rowBytes, rows);
    const CallerBuffer buffer(makeBuffer(rowBytes, std::min(rows, atOnce)));
    if (!buffer)
        return 0;
    RowReader reader = {file, sink, rowBytes, atOnce, buffer.bytes()};
    for (int64_t row = 0; row < rows; row += rowsOfRead)
        if (!reader.read(row, std::min(rowsOfRead, rows - row)))
            return 0;
    return 1;
}

// What a scaled read takes from where: positions in 16.16.
struct Scaling {
    int64_t stepX;
    int64_t stepY;
    int64_t sourceCols;
    int64_t targetCols;
    int64_t targetRows;
};

// Reads one row of a rectangle of the file, where it is not the row that was read last.
struct ScaledRow {
    std::FILE* file;
    int64_t start; // of the first pixel of the file
    int64_t fileRowBytes;
    int64_t left; // of the rectangle, in bytes
    int64_t available;
    Buffer<uint8_t>& row;
    int64_t held = -1;

    bool hold(int64_t sourceRow)
    {
        if (sourceRow <= held)
            return true;
        held = sourceRow;
        if (sourceRow > available / fileRowBytes || !seekTo(file, start + sourceRow * fileRowBytes + left))
            return shortRead(0, row.size());
        const auto wanted = static_cast<std::size_t>(row.size());
        const std::size_t got = std::fread(row.data(), 1, wanted, file);
        return got == wanted || shortRead(static_cast<int64_t>(got), row.size());
    }
};

// target[i] = row[(i * step) >> 16], pixel by pixel, from pixel first on.
void scaleRow(const uint8_t* row, int64_t step, int32_t samples, int64_t first, int64_t count,
              uint8_t* target)
{
    for (int64_t i = first; i < first + count; ++i) {
        const uint8_t* const pixel = row + (i * step >> 16) * samples;
        for (int32_t s = 0; s < samples; ++s)
            *target++ = pixel[s];
    }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_WriteTiffWindow(FILE* file, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    const ImageRecord* const image = file ? findImageRecord(im, "I_ImGetType") : nullptr;
    if (!image)
        return 0;
    if (cols > 0 && rows > 0)
        if (const uint8_t* const pixels = packedRows(*image, x, y, cols, rows)) {
            const auto bytes = static_cast<std::size_t>(int64_t{cols} * rows);
            return std::fwrite(pixels, 1, bytes, file) == bytes ? 1 : diskFull();
        }
    TiffRowSource source(*image, im, x, y, cols);
    return source ? writeRows(file, source, cols, rows) : 0;
}

int32_t I_ReadTiffWindow(FILE* file, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    const ImageRecord* const image = file ? findImageRecord(im, "I_ImGetType") : nullptr;
    if (!image)
        return 0;
    TiffRowSink sink(*image, im, x, y, cols);
    return sink ? readRows(file, sink, cols, rows) : 0;
}

int32_t I_ReadTiffWindowScaled(FILE* file, int32_t fileCols, int32_t fileRows, int32_t srcLeft,
                               int32_t srcTop, int32_t srcRight, int32_t srcBottom, int32_t dstLeft,
                               int32_t dstTop, int32_t dstRight, int32_t dstBottom, int32_t im)
{
    const ImageRecord* const image = file ? findImageRecord(im, "I_ImGetType") : nullptr;
    if (!image)
        return 0;
    const int64_t left = std::max(srcLeft, 0);
    const int64_t top = std::max(srcTop, 0);
    const int64_t sourceRows = std::min<int64_t>(srcBottom, int64_t{fileRows} - 1) - top + 1;
    Scaling scaling = {};
    scaling.sourceCols = std::min<int64_t>(srcRight, int64_t{fileCols} - 1) - left + 1;
    scaling.targetCols = int64_t{dstRight} - dstLeft + 1;
    scaling.targetRows = int64_t{dstBottom} - dstTop + 1;
    if (scaling.sourceCols < 1 || sourceRows < 1 || scaling.targetCols < 1 || scaling.targetRows < 1)
        return 0;
    scaling.stepX = (scaling.sourceCols << 16) / scaling.targetCols;
    scaling.stepY = (sourceRows << 16) / scaling.targetRows;
    if (scaling.stepX == kOneFixed && scaling.stepY == kOneFixed && left == 0 && top == 0 &&
        scaling.targetCols == fileCols)
        return I_ReadTiffWindow(file, dstLeft, dstTop, fileCols, saturateToInt32(scaling.targetRows), im);

    // Only what the image shows is made.
    const int64_t firstCol = std::max<int64_t>(0, -int64_t{dstLeft});
    const int64_t cols = std::min<int64_t>(scaling.targetCols, int64_t{image->cols} - dstLeft) - firstCol;
    const int64_t firstRow = std::max<int64_t>(0, -int64_t{dstTop});
    const int64_t endRow = std::min<int64_t>(scaling.targetRows, int64_t{image->rows} - dstTop);
    if (cols < 1)
        return 1;
    const int32_t samples = TiffRowSink::samples();
    const int64_t rowBytes = scaling.sourceCols * samples;
    const int64_t available = bytesLeft(file);
    if (available < rowBytes)
        return shortRead(available, rowBytes);
    TiffRowSink sink(*image, im, saturateToInt32(dstLeft + firstCol), dstTop, saturateToInt32(cols));
    Buffer<uint8_t> row(rowBytes);
    Buffer<uint8_t> target(cols * samples);
    if (!sink || malloctest(row.data(), "I_ReadTiffWindowscaled") ||
        malloctest(target.data(), "I_ReadTiffWindowscaled"))
        return 0;
    ScaledRow source = {file, std::ftell(file), int64_t{fileCols} * samples, left * samples, available, row};
    for (int64_t y = firstRow; y < endRow; ++y) {
        if (!source.hold(top + (y * scaling.stepY >> 16)))
            return 0;
        scaleRow(row.data(), scaling.stepX, samples, firstCol, cols, target.data());
        sink.put(y, target.data());
    }
    return 1;
}
