#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>

#include "failure.h"
#include "picture_formats.h"

namespace app
{
namespace
{

std::string lastFault;

void keepFault(const char*, const char* format, va_list arguments)
{
    char text[300];
    std::vsnprintf(text, sizeof text, format, arguments);
    lastFault = text;
}

// A file in memory, as the library asks for it.
struct Memory {
    std::span<const uint8_t> file;
    std::vector<uint8_t> written;
    std::size_t position = 0;
};

tmsize_t readMemory(thandle_t handle, void* out, tmsize_t count)
{
    auto* memory = static_cast<Memory*>(handle);
    const std::size_t left = memory->file.size() - std::min(memory->position, memory->file.size());
    const std::size_t bytes = std::min(left, static_cast<std::size_t>(count));
    std::memcpy(out, memory->file.data() + memory->position, bytes);
    memory->position += bytes;
    return static_cast<tmsize_t>(bytes);
}

tmsize_t writeMemory(thandle_t handle, void* bytes, tmsize_t count)
{
    auto* memory = static_cast<Memory*>(handle);
    const std::size_t end = memory->position + static_cast<std::size_t>(count);
    memory->written.resize(std::max(memory->written.size(), end));
    std::memcpy(memory->written.data() + memory->position, bytes, static_cast<std::size_t>(count));
    memory->position = end;
    memory->file = memory->written;
    return count;
}

toff_t seekMemory(thandle_t handle, toff_t offset, int whence)
{
    auto* memory = static_cast<Memory*>(handle);
    const std::size_t base = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? memory->position
                                                  : memory->file.size();
    memory->position = base + static_cast<std::size_t>(offset);
    return memory->position;
}

toff_t sizeOfMemory(thandle_t handle)
{
    return static_cast<Memory*>(handle)->file.size();
}

int closeMemory(thandle_t)
{
    return 0;
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

Tiff openMemory(Memory& memory, const char* mode)
{
    lastFault.clear();
    TIFFSetErrorHandler(keepFault);
    TIFFSetWarningHandler(nullptr);
    return {TIFFClientOpen("picture", mode, &memory, readMemory, writeMemory, seekMemory, closeMemory,
                           sizeOfMemory, nullptr, nullptr),
            TIFFClose};
}

[[noreturn]] void fail()
{
    throw Failure("damaged or unusual TIFF" + (lastFault.empty() ? std::string() : ": " + lastFault));
}

struct Layout {
    uint32_t cols = 0;
    uint32_t rows = 0;
    uint16_t bits = 1;
    uint16_t samples = 1;
    uint16_t format = SAMPLEFORMAT_UINT;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
};

Layout layoutOf(TIFF* tiff)
{
    Layout layout;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.cols);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.rows);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &layout.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &layout.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &layout.format);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.photometric);
    return layout;
}

bool isGrey(const Layout& layout)
{
    return layout.photometric == PHOTOMETRIC_MINISBLACK || layout.photometric == PHOTOMETRIC_MINISWHITE;
}

// Signed, floating-point and wide grey samples, which the library's own conversion to colour bytes does not take.
bool isNumeric(const Layout& layout)
{
    const bool plainBytes = layout.format == SAMPLEFORMAT_UINT && layout.bits <= 8;
    const bool wholeBytes = layout.bits == 8 || layout.bits == 16 || layout.bits == 32 || layout.bits == 64;
    return isGrey(layout) && layout.samples == 1 && !plainBytes && wholeBytes;
}

template <typename Sample>
double sampleAt(const uint8_t* row, std::size_t x)
{
    Sample sample;
    std::memcpy(&sample, row + x * sizeof sample, sizeof sample);
    return static_cast<double>(sample);
}

using SampleReader = double (*)(const uint8_t*, std::size_t);

SampleReader sampleReader(const Layout& layout)
{
    const bool isSigned = layout.format == SAMPLEFORMAT_INT;
    if (layout.format == SAMPLEFORMAT_IEEEFP)
        return layout.bits == 32 ? sampleAt<float> : layout.bits == 64 ? sampleAt<double> : nullptr;
    switch (layout.bits) {
    case 8:
        return isSigned ? sampleAt<int8_t> : sampleAt<uint8_t>;
    case 16:
        return isSigned ? sampleAt<int16_t> : sampleAt<uint16_t>;
    case 32:
        return isSigned ? sampleAt<int32_t> : sampleAt<uint32_t>;
    default:
        return isSigned ? sampleAt<int64_t> : sampleAt<uint64_t>;
    }
}

// All samples of a striped or tiled picture, from the top left on.
std::vector<double> readSamples(TIFF* tiff, const Layout& layout)
{
    const SampleReader sample = sampleReader(layout);
    if (!sample)
        throw Failure("a TIFF of " + std::to_string(layout.bits) + "-bit floating-point samples is not read");
    std::vector<double> values(std::size_t(layout.cols) * layout.rows);
    if (!TIFFIsTiled(tiff)) {
        std::vector<uint8_t> line(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
        for (uint32_t y = 0; y < layout.rows; ++y) {
            if (TIFFReadScanline(tiff, line.data(), y, 0) < 0)
                fail();
            for (std::size_t x = 0; x < layout.cols; ++x)
                values[std::size_t(y) * layout.cols + x] = sample(line.data(), x);
        }
        return values;
    }
    uint32_t tileCols = 0;
    uint32_t tileRows = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileCols);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileRows);
    std::vector<uint8_t> tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
    for (uint32_t top = 0; top < layout.rows; top += tileRows)
        for (uint32_t left = 0; left < layout.cols; left += tileCols) {
            if (TIFFReadTile(tiff, tile.data(), left, top, 0, 0) < 0)
                fail();
            for (uint32_t y = top; y < std::min(layout.rows, top + tileRows); ++y)
                for (uint32_t x = left; x < std::min(layout.cols, left + tileCols); ++x)
                    values[std::size_t(y) * layout.cols + x] =
                        sample(tile.data() + std::size_t(y - top) * tileCols * (layout.bits / 8U), x - left);
        }
    return values;
}

// Unsigned 16-bit samples keep their scale; all others are stretched from their smallest to their largest value.
Pixels greyFromSamples(const std::vector<double>& values, const Layout& layout)
{
    Pixels pixels(static_cast<int32_t>(layout.cols), static_cast<int32_t>(layout.rows), 1);
    double low = 0.0;
    double high = 65535.0;
    if (layout.format != SAMPLEFORMAT_UINT || layout.bits != 16) {
        low = std::numeric_limits<double>::infinity();
        high = -low;
        for (const double value : values)
            if (std::isfinite(value)) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
    }
    const double scale = high > low ? 255.0 / (high - low) : 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double grey =
            std::isfinite(values[i]) ? std::clamp((values[i] - low) * scale, 0.0, 255.0) : 0.0;
        const auto byte = static_cast<uint8_t>(grey + 0.5);
        pixels.bytes[i] =
            layout.photometric == PHOTOMETRIC_MINISWHITE ? static_cast<uint8_t>(255 - byte) : byte;
    }
    return pixels;
}

// Everything else, through the library's conversion to bytes of red, green, blue.
Pixels readColors(TIFF* tiff, const Layout& layout, bool color)
{
    char reason[1024] = "";
    if (!TIFFRGBAImageOK(tiff, reason))
        throw Failure(std::string("this kind of TIFF is not read: ") + reason);
    std::vector<uint32_t> raster(std::size_t(layout.cols) * layout.rows);
    if (!TIFFReadRGBAImageOriented(tiff, layout.cols, layout.rows, raster.data(), ORIENTATION_TOPLEFT, 1))
        fail();
    Pixels pixels(static_cast<int32_t>(layout.cols), static_cast<int32_t>(layout.rows), color ? 3 : 1);
    for (std::size_t i = 0; i < raster.size(); ++i) {
        if (!color) {
            pixels.bytes[i] = static_cast<uint8_t>(TIFFGetG(raster[i]));
            continue;
        }
        pixels.bytes[3 * i] = static_cast<uint8_t>(TIFFGetB(raster[i]));
        pixels.bytes[3 * i + 1] = static_cast<uint8_t>(TIFFGetG(raster[i]));
        pixels.bytes[3 * i + 2] = static_cast<uint8_t>(TIFFGetR(raster[i]));
    }
    return pixels;
}

} // namespace

Decoded decodeTiff(std::span<const uint8_t> file)
{
    Memory memory{file, {}, 0};
    const Tiff tiff = openMemory(memory, "rm");
    if (!tiff)
        fail();
    const Layout layout = layoutOf(tiff.get());
    checkSize(layout.cols, layout.rows);
    const bool color = !isGrey(layout);
    Decoded result;
    result.facts = {"TIFF", layout.bits, layout.samples, color, layout.format == SAMPLEFORMAT_IEEEFP};
    result.pixels = isNumeric(layout) ? greyFromSamples(readSamples(tiff.get(), layout), layout)
                                      : readColors(tiff.get(), layout, color);
    return result;
}

std::vector<uint8_t> encodeTiff(const Pixels& pixels)
{
    Memory memory;
    {
        const Tiff tiff = openMemory(memory, "wm");
        if (!tiff)
            throw Failure("cannot make a TIFF: " + lastFault);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, pixels.cols);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, pixels.rows);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, pixels.channels);
        TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC,
                     pixels.channels == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, pixels.rows);
        std::vector<uint8_t> line(std::size_t(pixels.cols) * std::size_t(pixels.channels));
        for (int32_t y = 0; y < pixels.rows; ++y) {
            std::copy_n(pixels.row(y), line.size(), line.begin());
            for (std::size_t i = 0; pixels.channels == 3 && i < line.size(); i += 3)
                std::swap(line[i], line[i + 2]);
            if (TIFFWriteScanline(tiff.get(), line.data(), static_cast<uint32_t>(y), 0) < 0)
                throw Failure("cannot make a TIFF: " + lastFault);
        }
    }
    return std::move(memory.written);
}

} // namespace app
