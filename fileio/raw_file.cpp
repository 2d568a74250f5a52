#include "vexalib/raw_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/error.h"
#include "core/image_memory.h"
#include "core/image_table.h"
#include "fileio/row_buffer.h"
#include "fileio/stream.h"
#include "fileio/tiff_parts.h"
#include "support/buffer.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/status.h"
#include "vexalib/tiff.h"

namespace vexa
{
namespace
{

constexpr std::size_t kHeaderBytes = 52;
constexpr std::size_t kCommentBytes = 32;
constexpr int32_t kMostTypeCode = 100;
constexpr int32_t kMostPixelBytes = 32;
constexpr int64_t kMostRowBuffer = 0x2000000;
constexpr int64_t kSmallPicture = 1 << 20;
constexpr int32_t kTypeParam = 1;
constexpr int32_t kPaletteParam = 13;

const char* shown(const char* name)
{
    return name ? name : "";
}

int32_t reportOpen(const char* name)
{
    return I_SetError(16, "(%s): %s", shown(name), std::strerror(errno));
}

// The picture of a file that was opened: what its header says, and the stream at its first pixel.
struct PictureFile {
    Stream stream;
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t stride = 0;
    int32_t type = 0;
    char comment[1024] = {};
    TiffTables tables;
    bool hasPalette = false;
};

int32_t typeOfSamples(int32_t samples)
{
    return samples == 3 ? PIX_RGB24 : samples == 2 ? PIX_WORD : PIX_BYTE;
}

// Bytes that the rows take in the file. The last one may end with its pixels.
int64_t bytesOfRows(const PictureFile& file)
{
    const int64_t rowBytes = int64_t{file.cols} * I_ImTypeBytes(file.type);
    return int64_t{file.stride} * (int64_t{file.rows} - 1) + std::min<int64_t>(file.stride, rowBytes);
}

// A header is believed only as far as the file's length bears it out: of what it promises, no more may lack than there
// is, but for small pictures.
bool isBorneOut(const PictureFile& file, int64_t available)
{
    const int64_t tolerated = std::max<int64_t>(available, kSmallPicture);
    const int64_t rowBytes = int64_t{file.cols} * I_ImTypeBytes(file.type);
    return file.stride - rowBytes <= tolerated && bytesOfRows(file) - available <= tolerated;
}

int32_t reportShort(int64_t got, int64_t wanted)
{
    return I_SetError(18, "len=%u, should be %u", static_cast<uint32_t>(got), static_cast<uint32_t>(wanted));
}

// A stride of fewer bytes than there are pixels stands for packed rows. False if that is no stride.
bool repairStride(PictureFile& file)
{
    // Required: bytes are held against pixels.
    if (file.stride >= file.cols)
        return true;
    const int64_t packed = int64_t{file.cols} * I_ImTypeBytes(file.type);
    file.stride = static_cast<int32_t>(std::min<int64_t>(packed, INT32_MAX));
    return packed <= INT32_MAX;
}

bool openTiff(const char* name, PictureFile& file)
{
    VexaTiffPalette palette = file.tables.palette();
    int32_t length = sizeof file.comment;
    int32_t samples = 0;
    file.stream.reset(I_ReadStdTiffHeader(name, &file.cols, &file.rows, file.comment, &length, &palette,
                                          &samples, nullptr));
    if (!file.stream)
        return false;
    file.hasPalette = palette.red != nullptr;
    file.type = typeOfSamples(samples);
    return true;
}

bool checkTiff(PictureFile& file)
{
    if (file.cols < 1 || file.rows < 1)
        return I_SetError(1, "Corrupt Tiff Image");
    const bool strideFits = repairStride(file);
    const int64_t available = bytesLeft(file.stream.get());
    const int64_t wanted = int64_t{file.cols} * file.rows * I_ImTypeBytes(file.type);
    return (strideFits && isBorneOut(file, available)) || reportShort(available, wanted);
}

bool openRaw(const char* name, PictureFile& file)
{
    int32_t pixBytes = 0;
    file.stream.reset(
        readrawheader(name, &file.cols, &file.rows, &file.stride, &pixBytes, &file.type, file.comment));
    if (!file.stream)
        return false;
    const int32_t stride = file.stride;
    const bool legal = file.cols >= 1 && file.rows >= 1 && pixBytes >= 1 && pixBytes <= kMostPixelBytes &&
                       file.type >= 0 && file.type <= kMostTypeCode;
    if (file.type == 0)
        file.type = typeOfSamples(pixBytes);
    if (legal && repairStride(file) && isBorneOut(file, bytesLeft(file.stream.get())))
        return true;
    return I_SetError(32, "Illegal raw file header in %s (%d x %d x %d stride=%d)", shown(name), file.cols,
                      file.rows, pixBytes, stride);
}

bool openPicture(const char* name, PictureFile& file)
{
    if (openTiff(name, file))
        return checkTiff(file);
    setErrorCode(0);
    return openRaw(name, file);
}

// Moves the pixels by way of an image on the file, which closes it.
bool copyFromFile(PictureFile& file, int32_t im)
{
    const ImageGuard source(I_ImOpenFile(file.cols, file.rows, file.stride, file.type, file.stream.get()));
    if (source.get() == 0)
        return false;
    file.stream.release();
    if (!I_ImageCopy(source.get(), im))
        return false;
    if (file.hasPalette) {
        const int32_t type = PIX_PALETTE;
        uint8_t entries[kPaletteBytes];
        file.tables.toEntries(entries);
        I_ImSetParam(&type, sizeof type, kTypeParam, im);
        I_ImSetParam(entries, sizeof entries, kPaletteParam, im);
    }
    return true;
}

// What the file has not got reads as zeros.
void readDirect(const PictureFile& file, const ImageRecord& image)
{
    auto* const pixels = static_cast<uint8_t*>(image.data);
    const auto bytes = static_cast<std::size_t>(int64_t{file.stride} * file.rows);
    const std::size_t got = std::fread(pixels, 1, bytes, file.stream.get());
    std::memset(pixels + got, 0, static_cast<std::size_t>(pixelSpan(image)) - got);
    if (static_cast<int64_t>(got) < bytesOfRows(file))
        reportShort(static_cast<int64_t>(got), bytesOfRows(file));
}

// An image whose rows lie as in the file.
bool takesRows(const ImageRecord& image, const PictureFile& file)
{
    return directPixels(image) && image.stride == file.stride && image.rows == file.rows && !image.ops;
}

const uint8_t* storageRow(const ImageRecord& image, int64_t row)
{
    const int64_t stored = image.inverted ? image.rows - 1 - row : row;
    return static_cast<const uint8_t*>(image.data) + stored * image.stride;
}

bool writeBytes(std::FILE* file, const void* bytes, int64_t count)
{
    const auto size = static_cast<std::size_t>(count);
    return std::fwrite(bytes, 1, size, file) == size;
}

// The row that lies last in memory. Only the library's own blocks are known to go on behind its pixels.
bool writeLastStored(std::FILE* file, const ImageRecord& image, const uint8_t* row)
{
    const auto* end = pixelSpanEnd(image);
    const int64_t pixels = std::min<int64_t>(int64_t{image.cols} * image.bytes, image.stride);
    int64_t known = image.stride;
    if (!image.block)
        known = image.parent != 0 ? std::clamp<int64_t>(end - row, pixels, image.stride) : pixels;
    if (!writeBytes(file, row, known))
        return false;
    for (; known < image.stride; ++known)
        if (std::putc(0, file) == EOF)
            return false;
    return true;
}

bool writeDirectRows(std::FILE* file, const ImageRecord& image)
{
    const int64_t before = int64_t{image.rows} - 1;
    if (!image.inverted)
        return writeBytes(file, image.data, before * image.stride) &&
               writeLastStored(file, image, storageRow(image, before));
    for (int64_t row = 0; row < image.rows; ++row) {
        const uint8_t* const stored = storageRow(image, row);
        if (row == 0 ? !writeLastStored(file, image, stored) : !writeBytes(file, stored, image.stride))
            return false;
    }
    return true;
}

// Rows without an address, packed.
bool writePackedRows(std::FILE* file, const ImageRecord& image, int32_t im, bool* outOfMemory)
{
    const int64_t rowBytes = int64_t{image.cols} * image.bytes;
    const int32_t count = rowsAtOnce(rowBytes, image.rows);
    Buffer<uint8_t> rows(rowBytes * count);
    *outOfMemory = malloctest(rows.data(), "I_WriteRawFile (%d x %d)", image.cols, count) != 0;
    if (*outOfMemory)
        return false;
    const int32_t total = image.rows;
    for (int32_t y = 0; y < total; y += count) {
        const int32_t height = std::min(count, total - y);
        I_GetBlockType(0, y, image.cols, height, rows.data(), im, image.type);
        if (!writeBytes(file, rows.data(), rowBytes * height))
            return false;
    }
    return true;
}

int32_t diskFull()
{
    return I_SetError(19, "Disk full?");
}

// The picture in an open file, as an image of its own; 0 for a type of no bytes.
int32_t openWindow(std::FILE* file, int32_t type, int32_t cols, int32_t rows, int32_t im)
{
    return I_ImOpenFile(cols, rows, 0, type < 0 ? I_ImGetType(im) : type, file);
}

} // namespace

int64_t rowsInRowBuffer(int64_t rowBytes, int64_t rows)
{
    if (rowBytes < 1 || rows < 1)
        return 0;
    const int64_t budget = std::min<int64_t>(coreleft(), kMostRowBuffer);
    return rowBytes * rows <= budget ? rows : std::max<int64_t>(budget / rowBytes, 1);
}

} // namespace vexa

using namespace vexa;

FILE* writerawheader(const char* name, int32_t cols, int32_t rows, int32_t stride, int32_t pixBytes,
                     int32_t type, const char* comment)
{
    errno = 0;
    Stream file = openStream(name, "wb");
    if (!file) {
        reportOpen(name);
        return nullptr;
    }
    uint8_t header[kHeaderBytes] = {};
    const int32_t numbers[] = {cols, rows, stride, pixBytes == 0 ? I_ImTypeBytes(type) : pixBytes, type};
    for (std::size_t i = 0; i < std::size(numbers); ++i)
        putLittleEndian32(header + 4 * i, static_cast<uint32_t>(numbers[i]));
    for (std::size_t i = 0; comment && i < kCommentBytes - 1 && comment[i] != '\0'; ++i)
        header[20 + i] = static_cast<uint8_t>(comment[i]);
    errno = 0;
    // A full disk shows when the buffer is written out.
    if (!writeBytes(file.get(), header, sizeof header) || std::fflush(file.get()) != 0) {
        I_SetError(19, "(%s): %s", shown(name), errno ? std::strerror(errno) : "Disk Full");
        return nullptr;
    }
    return file.release();
}

FILE* readrawheader(const char* name, int32_t* cols, int32_t* rows, int32_t* stride, int32_t* pixBytes,
                    int32_t* type, char* comment)
{
    errno = 0;
    Stream file = openStream(name, "rb");
    if (!file) {
        reportOpen(name);
        return nullptr;
    }
    uint8_t header[kHeaderBytes];
    if (!readExactly(file.get(), header, sizeof header)) {
        I_SetError(18, "readrawheader: Bad raw header");
        return nullptr;
    }
    int32_t* const outputs[] = {cols, rows, stride, pixBytes, type};
    for (std::size_t i = 0; i < std::size(outputs); ++i)
        if (outputs[i])
            *outputs[i] = static_cast<int32_t>(littleEndian32(header + 4 * i));
    if (comment) {
        std::memcpy(comment, header + 20, kCommentBytes);
        comment[kCommentBytes - 1] = '\0';
    }
    return file.release();
}

int32_t I_WriteRawFile(const char* name, int32_t im)
{
    const ImageRecord* const image = im == 0 ? nullptr : findImageRecord(im, "I_ImGetType");
    if (!image)
        return 0;
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    I_ImGetSize(&cols, &rows, &bytes, im);
    char comment[kCommentBytes + 1] = {};
    I_ImGetComment(comment, sizeof comment, im);
    Stream file(writerawheader(name, cols, rows, image->stride, bytes, image->type, comment));
    if (!file)
        return 0;
    bool outOfMemory = false;
    bool written = true;
    if (rows > 0 && cols > 0) {
        const bool direct = directPixels(*image) && !image->ops && image->stride > 0;
        written = direct ? writeDirectRows(file.get(), *image)
                         : writePackedRows(file.get(), *image, im, &outOfMemory);
    }
    if (std::fclose(file.release()) != 0)
        written = false;
    return written ? 1 : outOfMemory ? 0 : diskFull();
}

int32_t I_ReadImageFile(const char* name)
{
    PictureFile file;
    if (!openPicture(name, file))
        return 0;
    ImageGuard image(openUnclearedImage(file.cols, file.rows, file.stride, file.type));
    const ImageRecord* const record = imageRecordOrNull(image.get());
    if (!record)
        return 0;
    I_ImSetComment(file.comment, image.get());
    if (takesRows(*record, file) && !file.hasPalette) {
        readDirect(file, *record);
        return image.release();
    }
    if (directPixels(*record))
        std::memset(record->data, 0, static_cast<std::size_t>(pixelSpan(*record)));
    if (!copyFromFile(file, image.get()))
        return 0;
    I_ImSetComment(shown(name), image.get());
    if (file.type >= PIX_WORD && file.type < PIX_PALETTE)
        I_ComputePixelRange(file.rows / 50, image.get());
    return image.release();
}

int32_t fwritewindow(FILE* file, int32_t type, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    if (!file)
        return 0;
    const ImageGuard window(openWindow(file, type, cols, rows, im));
    return window.get() != 0 && I_RectCopy(0, 0, x, y, cols, rows, im, window.get()) != 0;
}

int32_t freadwindow(FILE* file, int32_t type, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im)
{
    if (!file)
        return 0;
    const ImageGuard window(openWindow(file, type, cols, rows, im));
    return window.get() != 0 && I_RectCopy(0, 0, x, y, cols, rows, window.get(), im) != 0;
}

void* I_MakeRowBuffer(int32_t rowBytes, int32_t rows, int32_t* bufferBytes)
{
    if (bufferBytes)
        *bufferBytes = 0;
    const int64_t size = rowBytes * rowsInRowBuffer(rowBytes, rows);
    if (size < 1) {
        I_SetError(46, "I_MakeRowBuffer(%d,%d,%u)", rowBytes, rows, 0U);
        return nullptr;
    }
    void* const buffer = allocateForCaller(size);
    if (malloctest(buffer, "I_MakeRowBuffer(%dx%d)", rowBytes, rows))
        return nullptr;
    if (bufferBytes)
        *bufferBytes = static_cast<int32_t>(size);
    return buffer;
}

int32_t I_DisableIPL(int32_t)
{
    return 1;
}
