#include "vexalib/conversion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/pixel_run.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct ComplexFloat {
    float real;
    float imaginary;
};
struct ComplexDouble {
    double real;
    double imaginary;
};

// n pixels from one type to another; what of the scale record counts is the row function's affair.
using ConversionRow = void (*)(const void* source, void* dest, int32_t n, const ScaleRecord& scale);

struct ConversionRows {
    ConversionRow wordToByte;
    ConversionRow dwordToByte;
    ConversionRow floatToByte;
    ConversionRow doubleToByte;
    ConversionRow magnitudeToByte;
    ConversionRow powerToByte;
    ConversionRow byteToWord;
    ConversionRow floatToDouble;
    ConversionRow doubleToFloat;
    ConversionRow byteToFloat;
    ConversionRow signedByteToFloat;
    ConversionRow wordToFloat;
    ConversionRow dwordToFloat;
    ConversionRow complexToFloat[4]; // by complex mode
    ConversionRow doubleComplexToFloat;
    ConversionRow scaleFloat;
    ConversionRow floatToByteLow;
    ConversionRow floatToWord;
    ConversionRow floatToDword;
    ConversionRow floatToReal;
    ConversionRow floatToImaginary;
    ConversionRow floatToDoubleReal;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "core/conversion_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kPowerMode = 3;
constexpr int32_t kImaginaryMode = 2;
constexpr int32_t kPieceFloats = 2048; // 8 KiB: stays in the first cache between its filling and its emptying

// The mode has no reader, but its setter tells the mode before.
int32_t complexMode()
{
    const int32_t mode = I_SetComplexMode(0);
    I_SetComplexMode(mode);
    return std::clamp(mode, 0, kPowerMode);
}

int64_t typeBytes(int32_t type)
{
    return I_ImTypeBytes(type);
}

constexpr ScaleRecord kNoScale = {0, 0, 0, 0, 0, 0, 1.0, 0.0, nullptr, nullptr};

// The row function of a pair that needs no floats in between; null for all other pairs.
ConversionRow straightRow(const ConversionRows& rows, int32_t sourceType, int32_t destType)
{
    if (destType == PIX_BYTE) {
        switch (sourceType) {
        case PIX_WORD:
            return rows.wordToByte;
        case PIX_DWORD:
            return rows.dwordToByte;
        case PIX_FLOAT:
            return rows.floatToByte;
        case PIX_DFLOAT:
            return rows.doubleToByte;
        case PIX_COMPLEX:
            // Required: the modes of the single parts give the magnitude here.
            return complexMode() == kPowerMode ? rows.powerToByte : rows.magnitudeToByte;
        default:
            return nullptr;
        }
    }
    if (sourceType == PIX_FLOAT && destType == PIX_DFLOAT)
        return rows.floatToDouble;
    if (sourceType == PIX_DFLOAT && destType == PIX_FLOAT)
        return rows.doubleToFloat;
    if (sourceType == PIX_BYTE && destType == PIX_WORD)
        return rows.byteToWord;
    return nullptr;
}

// Null for floats, which need no row function.
ConversionRow rowToFloat(const ConversionRows& rows, int32_t sourceType)
{
    switch (sourceType) {
    case PIX_WORD:
        return rows.wordToFloat;
    case PIX_DWORD:
        return rows.dwordToFloat;
    case PIX_FLOAT:
        return nullptr;
    case PIX_DFLOAT:
        return rows.doubleToFloat;
    case PIX_COMPLEX:
        return rows.complexToFloat[complexMode()];
    case PIX_DCOMPLEX:
        return rows.doubleComplexToFloat;
    case kTypeSByte:
        return rows.signedByteToFloat;
    default:
        return rows.byteToFloat;
    }
}

// Null for floats, which need no row function.
ConversionRow rowFromFloat(const ConversionRows& rows, int32_t destType)
{
    switch (destType) {
    case PIX_WORD:
        return rows.floatToWord;
    case PIX_DWORD:
        return rows.floatToDword;
    case PIX_FLOAT:
        return nullptr;
    case PIX_DFLOAT:
        return rows.floatToDouble;
    case PIX_COMPLEX:
        return complexMode() == kImaginaryMode ? rows.floatToImaginary : rows.floatToReal;
    case PIX_DCOMPLEX:
        return rows.floatToDoubleReal;
    default:
        return rows.floatToByteLow;
    }
}

// A conversion by way of floats, a piece at a time.
struct FloatRoute {
    ConversionRow toFloat;   // null: the source is floats
    ConversionRow scale;     // null: no scaling
    ConversionRow fromFloat; // null: the destination is floats

    void run(const void* source, void* dest, int32_t n, const ScaleRecord& record) const
    {
        float piece[kPieceFloats];
        void* floats = fromFloat ? piece : dest;
        const void* filled = source;
        if (toFloat) {
            toFloat(source, floats, n, record);
            filled = floats;
        }
        if (scale) {
            scale(filled, floats, n, record);
            filled = floats;
        }
        if (fromFloat)
            fromFloat(filled, dest, n, record);
    }
};

void convertThroughFloat(const ConversionRows& rows, const void* source, int32_t sourceType, void* dest,
                         int32_t destType, int32_t n, const ScaleRecord& record)
{
    const FloatRoute route = {rowToFloat(rows, sourceType), record.mode != 0 ? rows.scaleFloat : nullptr,
                              rowFromFloat(rows, destType)};
    const int64_t sourceBytes = typeBytes(sourceType);
    const int64_t destBytes = typeBytes(destType);
    // Pieces must not overwrite source pixels still to come: then the whole source is taken first.
    Buffer<uint8_t> copy;
    if (overwritesSource(source, n * sourceBytes, dest, n * destBytes)) {
        copy = copyOfRun(source, n * sourceBytes);
        if (malloctest(copy.data(), "ConvertPixelType Npix=%d", n))
            return;
        source = copy.data();
    }
    for (int32_t i = 0; i < n;) {
        const int32_t piece = std::min(n - i, kPieceFloats);
        route.run(at(source, i * sourceBytes), at(dest, i * destBytes), piece, record);
        i += piece;
    }
}

// Colour meets a numeric type by way of bytes; the scale record holds between those and the numbers.
void convertColor(const void* source, int32_t sourceType, void* dest, int32_t destType, int32_t n,
                  const ScaleRecord* scale)
{
    const void* sourcePalette = scale ? scale->sourcePalette : nullptr;
    const void* destPalette = scale ? scale->destPalette : nullptr;
    const bool fromNumbers = sourceType < PIX_PALETTE && sourceType != PIX_BYTE;
    const bool toNumbers = destType < PIX_PALETTE && destType != PIX_BYTE;
    if (!fromNumbers && !toNumbers) {
        ConvertColorType(source, sourceType, sourcePalette, dest, destType, destPalette, n);
        return;
    }
    Buffer<uint8_t> bytes(n);
    if (malloctest(bytes.data(), "ConvertPixelType Npix=%d", n))
        return;
    if (fromNumbers) {
        ConvertPixelType(source, sourceType, bytes.data(), PIX_BYTE, n, scale);
        ConvertColorType(bytes.data(), PIX_BYTE, sourcePalette, dest, destType, destPalette, n);
    } else if (ConvertColorType(source, sourceType, sourcePalette, bytes.data(), PIX_BYTE, destPalette, n)) {
        ConvertPixelType(bytes.data(), PIX_BYTE, dest, destType, n, scale);
    }
}

// For scaling every colour counts as bytes; a palette index counts as a type of its own.
int32_t scaledType(int32_t type)
{
    return type >= PIX_BGR15 ? PIX_BYTE : type;
}

// How far integers of a range are shifted to become bytes.
int32_t rangeShift(double low, double high)
{
    const int32_t quotient = truncToInt32((high - low - 1.0) / 256.0);
    return quotient < 1 ? 0 : std::bit_width(static_cast<uint32_t>(quotient));
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t SetupScale(const ImageRecord* record, int32_t otherType, ScaleRecord* scale,
                   const void* sourcePalette, const void* destPalette, int32_t sourceFlip, int32_t destFlip,
                   int32_t readDirection)
{
    if (!scale)
        return 0;
    *scale = {};
    scale->sourceFlip = sourceFlip;
    scale->destFlip = destFlip;
    if (!record || otherType == record->type)
        return 0;
    scale->gain = 1.0;
    scale->sourcePalette = sourcePalette;
    scale->destPalette = destPalette;
    const int32_t imageType = scaledType(record->type);
    const double low = record->minValue;
    const double high = record->maxValue;
    if (scaledType(otherType) != PIX_BYTE || imageType == PIX_BYTE || low == high ||
        (low == 0.0 && high == 255.0))
        return 0;

    const double gain = 255.0 / (high - low);
    if (imageType >= PIX_FLOAT && imageType <= PIX_DCOMPLEX) {
        scale->mode = 4;
        scale->gain = readDirection ? gain : 1.0 / gain;
        scale->offset = readDirection ? low : -(low * gain);
        return 1;
    }
    if (gain > 0.996 && gain < 2.0)
        return 0;
    scale->mode = readDirection ? 2 : 1;
    scale->shift = rangeShift(low, high);
    scale->low = truncToInt32(low);
    scale->gain = readDirection ? gain : 1.0 / gain;
    return 1;
}

void ConvertPixelType(const void* source, int32_t sourceType, void* dest, int32_t destType, int32_t n,
                      const ScaleRecord* scale)
{
    if (n < 1 || sourceType < 1 || destType < 1 || !source || !dest)
        return;
    if (sourceType == destType) {
        if (source != dest)
            std::memmove(dest, source, static_cast<std::size_t>(n * typeBytes(sourceType)));
        return;
    }
    if (isColorType(sourceType) || isColorType(destType)) {
        convertColor(source, sourceType, dest, destType, n, scale);
        return;
    }
    const ConversionRows& rows = VEXA_ROWS(kConversionRows);
    const ScaleRecord& record = scale ? *scale : kNoScale;
    if (const ConversionRow row = straightRow(rows, sourceType, destType))
        row(source, dest, n, record);
    else
        convertThroughFloat(rows, source, sourceType, dest, destType, n, record);
}

void* I_ArrayConvert(const void* source, int32_t sourceType, void* dest, int32_t destType, int32_t n)
{
    if (!dest) {
        // The 15-bit layout counts as one byte in the table of types and is written as two.
        const int64_t bytes = destType == kTypeRGB15 ? 2 : typeBytes(destType);
        dest = allocateForCaller(std::max(n, 0), bytes);
        if (malloctest(dest, "I_ArrayConvert Npix=%d", n))
            return nullptr;
    }
    ConvertPixelType(source, sourceType, dest, destType, n, nullptr);
    return dest;
}

void* I_DupArrayType(const void* source, int32_t sourceType, int32_t destType, int32_t n)
{
    return I_ArrayConvert(source, sourceType, nullptr, destType, n);
}
