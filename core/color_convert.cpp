#include "core/color_convert.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/palette_search.h"
#include "core/pixel_run.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kThird = 21846; // of 65536, exact enough for sums of three bytes

struct ColorRows {
    void (*takeByte[2])(const void* packed, uint8_t* plane, int32_t n, int32_t at); // of 3 and 4 bytes
    void (*putByte[2])(const uint8_t* plane, void* packed, int32_t n, int32_t at);
    void (*takeBits)(const void* packed, uint8_t* plane, int32_t n, int32_t lowestBit, int32_t bits);
    void (*putBits)(const uint8_t* plane, void* packed, int32_t n, int32_t lowestBit, int32_t bits);
    void (*meanOfPacked)(const void* packed, uint8_t* grey, int32_t n); // of 3 bytes
    void (*meanOfPlanes)(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                         int32_t n);
    void (*weightedPlanes)(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                           int32_t n);
};

constexpr uint8_t weightedGrey(int32_t red, int32_t green, int32_t blue)
{
    return static_cast<uint8_t>((35 * red + 50 * green + 15 * blue) / 100);
}

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "core/color_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kWeightedMode = -3;
constexpr int32_t kPiece = 1024;                // pixels unpacked at a time
constexpr int32_t kPiecesPerProgress = 64;      // between two progress calls
constexpr int32_t kLargeConversion = 1'000'000; // pixels from which on progress is told
constexpr const char* kNullPalette = "Null sPalette in ConvertColorType";

// Where a band lies in a pixel: its byte, or its lowest bit in a 16-bit pixel.
struct BandPlace {
    int32_t at;
    int32_t bits;
};

struct PackedLayout {
    int32_t type;
    int32_t bytes;
    BandPlace band[3]; // red, green, blue
};

constexpr PackedLayout kLayouts[] = {
    {PIX_BGR15, 2, {{10, 5}, {5, 5}, {0, 5}}}, {kTypeRGB15, 2, {{1, 5}, {6, 5}, {11, 5}}},
    {PIX_BGR16, 2, {{11, 5}, {5, 6}, {0, 5}}}, {PIX_BGR24, 3, {{2, 8}, {1, 8}, {0, 8}}},
    {PIX_RGB24, 3, {{0, 8}, {1, 8}, {2, 8}}},  {PIX_BGR32, 4, {{2, 8}, {1, 8}, {0, 8}}},
    {PIX_RGB32, 4, {{1, 8}, {2, 8}, {3, 8}}},
};

const PackedLayout* layoutOf(int32_t type)
{
    for (const PackedLayout& layout : kLayouts)
        if (layout.type == type)
            return &layout;
    return nullptr;
}

// Bytes and planes have no packed form, and raw pixels no form at all.
bool hasNoPackedForm(int32_t type)
{
    return type == PIX_BYTE || type == PIX_PLANAR || type == kTypeRaw;
}

int64_t colorBytes(int32_t type)
{
    const PackedLayout* layout = layoutOf(type);
    return layout ? layout->bytes : I_ImTypeBytes(type);
}

void takeBand(const PackedLayout& layout, int32_t band, const void* packed, uint8_t* plane, int32_t n)
{
    const ColorRows& rows = VEXA_ROWS(kColorRows);
    const BandPlace place = layout.band[band];
    if (layout.bytes == 2)
        rows.takeBits(packed, plane, n, place.at, place.bits);
    else
        rows.takeByte[layout.bytes - 3](packed, plane, n, place.at);
}

void putBand(const PackedLayout& layout, int32_t band, const uint8_t* plane, void* packed, int32_t n)
{
    const ColorRows& rows = VEXA_ROWS(kColorRows);
    const BandPlace place = layout.band[band];
    if (layout.bytes == 2)
        rows.putBits(plane, packed, n, place.at, place.bits);
    else
        rows.putByte[layout.bytes - 3](plane, packed, n, place.at);
}

struct Planes {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
};

// A piece of each plane, and the way to it from pixels of any colour type.
struct PlanePiece {
    uint8_t red[kPiece];
    uint8_t green[kPiece];
    uint8_t blue[kPiece];

    bool unpack(const void* source, int32_t type, const void* palette, int32_t n)
    {
        return PackedToPlanar(source, type, palette, red, green, blue, n) != 0;
    }
};

// One grey plane of three colour planes, as the selected band wants it.
void mixPlanes(const Planes& planes, int32_t band, uint8_t* grey, int32_t n)
{
    const ColorRows& rows = VEXA_ROWS(kColorRows);
    if (band >= 0)
        std::memcpy(grey,
                    band == 0   ? planes.red
                    : band == 1 ? planes.green
                                : planes.blue,
                    static_cast<std::size_t>(n));
    else if (band == kWeightedMode)
        rows.weightedPlanes(planes.red, planes.green, planes.blue, grey, n);
    else
        rows.meanOfPlanes(planes.red, planes.green, planes.blue, grey, n);
}

// One ConvertColorType call.
struct Conversion {
    const void* source;
    int32_t sourceType;
    const void* sourcePalette;
    void* dest;
    int32_t destType;
    const void* destPalette;
    int32_t n;

    const void* sourceAt(int64_t i) const { return at(source, i * colorBytes(sourceType)); }
    void* destAt(int64_t i) const { return at(dest, i * colorBytes(destType)); }

    // Calls work(first pixel, planes, count) for the source in pieces, until all is done or one cannot be unpacked.
    template <typename Work>
    int32_t forEachPiece(Work work) const
    {
        PlanePiece piece;
        for (int32_t i = 0; i < n;) {
            const int32_t count = std::min(n - i, kPiece);
            Planes planes = {piece.red, piece.green, piece.blue};
            if (sourceType == PIX_PLANAR)
                planes = {at(source, i), at(source, int64_t{n} + i), at(source, int64_t{2} * n + i)};
            else if (!piece.unpack(sourceAt(i), sourceType, sourcePalette, count))
                return 0;
            if (!work(i, planes, count))
                return 0;
            i += count;
            tellProgress(i);
        }
        return 1;
    }

    void tellProgress(int32_t done) const
    {
        if (n < kLargeConversion || (done != n && done % (kPiece * kPiecesPerProgress) != 0))
            return;
        I_TellProgressEx(static_cast<float>(done), static_cast<float>(n),
                         "ConvertColorType,%.3f Mpix. type %d to %d.", n / 1000000.0, sourceType, destType);
    }
};

// The grey of each entry of a palette, as the band wants it.
struct GreyTable {
    uint8_t grey[256];

    GreyTable(const void* palette, int32_t band)
    {
        uint8_t red[256];
        uint8_t green[256];
        uint8_t blue[256];
        takeBand(*layoutOf(PIX_BGR32), 0, palette, red, 256);
        takeBand(*layoutOf(PIX_BGR32), 1, palette, green, 256);
        takeBand(*layoutOf(PIX_BGR32), 2, palette, blue, 256);
        mixPlanes({red, green, blue}, band, grey, 256);
    }

    void map(const void* indices, uint8_t* dest, int32_t n) const
    {
        for (int32_t i = 0; i < n; ++i)
            dest[i] = grey[*at(indices, i)];
    }
};

int32_t paletteToNumbers(const Conversion& c)
{
    if (!c.sourcePalette)
        return I_SetError(1, "%s", kNullPalette);
    constexpr int32_t kMean = -2;
    const GreyTable table(c.sourcePalette, kMean);
    const int64_t bytes = I_ImTypeBytes(c.destType);
    uint8_t grey[kPiece];
    for (int32_t i = 0; i < c.n;) {
        const int32_t count = std::min(c.n - i, kPiece);
        table.map(at(c.source, i), grey, count);
        ConvertPixelType(grey, PIX_BYTE, at(c.dest, i * bytes), c.destType, count, nullptr);
        i += count;
    }
    return 1;
}

int32_t colorToByte(const Conversion& c)
{
    const int32_t band = I_GetColorBand();
    auto* grey = static_cast<uint8_t*>(c.dest);
    if (c.sourceType == PIX_PALETTE) {
        if (I_PaletteIsGrayscale(c.sourcePalette))
            std::memmove(c.dest, c.source, static_cast<std::size_t>(c.n));
        else
            GreyTable(c.sourcePalette, band).map(c.source, grey, c.n);
        return 1;
    }
    if ((c.sourceType == PIX_BGR24 || c.sourceType == PIX_RGB24) && band < 0 && band != kWeightedMode) {
        VEXA_ROWS(kColorRows).meanOfPacked(c.source, grey, c.n);
        return 1;
    }
    if (const PackedLayout* layout = layoutOf(c.sourceType); layout && band >= 0) {
        takeBand(*layout, band, c.source, grey, c.n);
        return 1;
    }
    return c.forEachPiece([&](int32_t i, const Planes& planes, int32_t count) {
        mixPlanes(planes, band, grey + i, count);
        return 1;
    });
}

int32_t byteToColor(const Conversion& c)
{
    if (c.destType == PIX_PALETTE) {
        std::memmove(c.dest, c.source, static_cast<std::size_t>(c.n));
        return 1;
    }
    const auto* grey = static_cast<const uint8_t*>(c.source);
    const int32_t band = I_GetColorBand();
    const uint8_t* planes[3];
    for (int32_t i = 0; i < 3; ++i)
        planes[i] = band < 0 || band == i ? grey : nullptr;
    if (c.destType != PIX_PLANAR)
        return PlanarToPacked(c.dest, c.destType, c.destPalette, planes[0], planes[1], planes[2], c.n);
    for (int64_t i = 0; i < 3; ++i)
        if (planes[i])
            std::memcpy(at(c.dest, i * c.n), grey, static_cast<std::size_t>(c.n));
    return 1;
}

int32_t colorToColor(const Conversion& c)
{
    return c.forEachPiece([&](int32_t i, const Planes& planes, int32_t count) {
        if (c.destType != PIX_PLANAR)
            return PlanarToPacked(c.destAt(i), c.destType, c.destPalette, planes.red, planes.green,
                                  planes.blue, count);
        std::memcpy(at(c.dest, i), planes.red, static_cast<std::size_t>(count));
        std::memcpy(at(c.dest, int64_t{c.n} + i), planes.green, static_cast<std::size_t>(count));
        std::memcpy(at(c.dest, int64_t{2} * c.n + i), planes.blue, static_cast<std::size_t>(count));
        return 1;
    });
}

bool isOtherNumeric(int32_t type)
{
    return !isColorType(type) && type != PIX_BYTE;
}

int32_t convert(const Conversion& c)
{
    if ((!isColorType(c.sourceType) && !isColorType(c.destType)) || c.sourceType == kTypeRaw) {
        vexa_dprintf("ConvertColorType: Illegal types: %d %d", c.sourceType, c.destType);
        return 0;
    }
    if (c.sourceType == PIX_PALETTE && isOtherNumeric(c.destType) && c.destType > 0)
        return paletteToNumbers(c);
    if (isOtherNumeric(c.sourceType) || isOtherNumeric(c.destType))
        return I_SetError(1, "ConvertColorType illegal non-byte types: %d to %d. %d pixels", c.sourceType,
                          c.destType, c.n);
    if (c.destType == PIX_BYTE)
        return colorToByte(c);
    if (c.sourceType == PIX_BYTE)
        return byteToColor(c);
    return colorToColor(c);
}

// A palette needs a search for each pixel; a band that is missing is the one that the pixel shows now.
int32_t planarToPalette(uint8_t* dest, const void* palette, Planes planes, int32_t n)
{
    if (!palette)
        return I_SetError(1, "%s", kNullPalette);
    PlanePiece now;
    for (int32_t i = 0; i < n;) {
        const int32_t count = std::min(n - i, kPiece);
        now.unpack(dest + i, PIX_PALETTE, palette, count);
        nearestEntries(palette, planes.red ? planes.red + i : now.red,
                       planes.green ? planes.green + i : now.green, planes.blue ? planes.blue + i : now.blue,
                       dest + i, count);
        i += count;
    }
    return 1;
}

void takePaletteByte(const void* indices, const void* palette, int32_t byte, uint8_t* plane, int32_t n)
{
    for (int32_t i = 0; i < n; ++i)
        plane[i] = *at(palette, 4 * *at(indices, i) + byte);
}

} // namespace

int32_t PackedToPlanar(const void* source, int32_t type, const void* palette, uint8_t* red, uint8_t* green,
                       uint8_t* blue, int32_t n)
{
    if (hasNoPackedForm(type) || n < 1)
        return 1;
    const PackedLayout* layout = layoutOf(type);
    if (!layout && type != PIX_PALETTE) {
        vexa_dprintf("PackedToPlanar: Illegal stype=%d.", type);
        return 0;
    }
    if (!layout && !palette)
        return I_SetError(1, "%s", kNullPalette);
    uint8_t* const planes[] = {red, green, blue};
    for (int32_t band = 0; band < 3; ++band) {
        if (planes[band] && layout)
            takeBand(*layout, band, source, planes[band], n);
        else if (planes[band])
            takePaletteByte(source, palette, 2 - band, planes[band], n);
    }
    return 1;
}

bool writesOneBand(int32_t sourceType, int32_t destType)
{
    const int32_t band = I_GetColorBand();
    return !isColorType(sourceType) && isColorType(destType) && band >= 0 && band < 3;
}

} // namespace vexa

using namespace vexa;

int32_t PlanarToPacked(void* dest, int32_t destType, const void* palette, const uint8_t* red,
                       const uint8_t* green, const uint8_t* blue, int32_t n)
{
    if (hasNoPackedForm(destType) || n < 1)
        return 1;
    if (!dest)
        return 0;
    if (destType == PIX_PALETTE)
        return planarToPalette(static_cast<uint8_t*>(dest), palette, {red, green, blue}, n);
    const PackedLayout* layout = layoutOf(destType);
    if (!layout) {
        vexa_dprintf("Illegal dtype=%d.", destType);
        return 0;
    }
    if (layout->bytes == 2 && red && green && blue)
        std::memset(dest, 0, static_cast<std::size_t>(n) * 2);
    const uint8_t* const planes[] = {red, green, blue};
    for (int32_t band = 0; band < 3; ++band)
        if (planes[band])
            putBand(*layout, band, planes[band], dest, n);
    return 1;
}

int32_t ConvertColorType(const void* source, int32_t sourceType, const void* sourcePalette, void* dest,
                         int32_t destType, const void* destPalette, int32_t n)
{
    if (sourceType == destType || n < 1)
        return 1;
    if (!source || !dest)
        return 0;
    Conversion conversion = {source, sourceType, sourcePalette, dest, destType, destPalette, n};
    const int64_t sourceBytes = n * colorBytes(sourceType);
    const int64_t destBytes = n * colorBytes(destType);
    const bool planes = sourceType == PIX_PLANAR || destType == PIX_PLANAR;
    Buffer<uint8_t> copy;
    if (overwritesSource(source, sourceBytes, dest, destBytes) || (planes && source == dest)) {
        copy = copyOfRun(source, sourceBytes);
        if (malloctest(copy.data(), "ConvertColorType Npix=%d", n))
            return 0;
        conversion.source = copy.data();
    }
    return convert(conversion);
}

void ConvertSpace(const uint8_t* red, const uint8_t* green, const uint8_t* blue, int32_t sourceSpace,
                  uint8_t* destRed, uint8_t* destGreen, uint8_t* destBlue, int32_t destSpace, int32_t n)
{
    if (sourceSpace != destSpace || n < 1)
        return;
    const uint8_t* const from[] = {red, green, blue};
    uint8_t* const to[] = {destRed, destGreen, destBlue};
    for (int32_t i = 0; i < 3; ++i)
        if (from[i] && to[i] && from[i] != to[i])
            std::memmove(to[i], from[i], static_cast<std::size_t>(n));
}
