#include "vexalib/image.h"

#include <algorithm>
#include <cstring>

#include "core/image_kinds.h"
#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "vexalib/color.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// The codes of I_ImGetParam and I_ImSetParam.
enum Parameter : int32_t {
    kKind = 0,
    kType = 1,
    kBands = 2,
    kCols = 3,
    kRows = 4,
    kColsAndRows = 5,
    kStride = 6,
    kAlignment = 7,
    kBytes = 8,
    kData = 9,
    kDibHandle = 10,
    kMinValue = 11,
    kMaxValue = 12,
    kPalette = 13,
    kComment = 14,
    kRoiText = 15,
    kInverted = 19
};

constinit int32_t complexMode = 0;

// Values cross the interface as bytes of unknown alignment.
template <typename T>
int32_t give(void* to, T value)
{
    std::memcpy(to, &value, sizeof value);
    return 1;
}

template <typename T>
int32_t take(T& field, const void* from)
{
    std::memcpy(&field, from, sizeof field);
    return 1;
}

// Required: a text that fills the buffer, or all but its last byte, has no terminator.
int32_t giveText(char* to, int32_t size, const char* text)
{
    if (size < 1)
        return 0;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = text ? std::strlen(text) : 0;
    if (text)
        std::memcpy(to, text, std::min(length, room));
    if (!text || length < room)
        to[length] = '\0';
    return 1;
}

int32_t replaceText(char*& owned, char* text, const char* tag)
{
    if (malloctest(text, "%s", tag))
        return 0;
    releaseBlock(owned);
    owned = text;
    return 1;
}

// The old text, "; " and the addition; null without memory.
char* joinedTexts(const char* old, const char* addition)
{
    const std::size_t oldLength = std::strlen(old);
    const std::size_t length = std::strlen(addition);
    auto* const joined = static_cast<char*>(allocateBlock(static_cast<int64_t>(oldLength + length) + 3));
    if (joined) {
        std::memcpy(joined, old, oldLength);
        std::memcpy(joined + oldLength, "; ", 2);
        std::memcpy(joined + oldLength + 2, addition, length);
    }
    return joined;
}

// A leading "_" asks for an addition to the comment that is there.
int32_t setComment(ImageRecord& record, const char* text)
{
    const bool append = text[0] == '_';
    const char* const words = append ? text + 1 : text;
    char* const made = append && record.comment ? joinedTexts(record.comment, words) : duplicateText(words);
    return replaceText(record.comment, made, "imsetparam:Comment");
}

int32_t setPalette(ImageRecord& record, const void* palette)
{
    if (!record.palette)
        record.palette = static_cast<uint8_t*>(allocateBlock(kPaletteBytes));
    // Required: without memory for it the result is 1 all the same.
    if (!malloctest(record.palette, "imsetparam:Palette"))
        std::memmove(record.palette, palette, kPaletteBytes);
    return 1;
}

int32_t setType(ImageRecord& record, const void* value)
{
    int32_t type = 0;
    take(type, value);
    // Required: a type of another width is not stored, yet the result is 1.
    if (I_ImTypeBytes(type) == record.bytes)
        record.type = type;
    return 1;
}

// Beyond the description: a stride that would lead out of the image's own memory is refused.
int32_t setStride(ImageRecord& record, const void* value)
{
    int32_t stride = 0;
    take(stride, value);
    if (!strideFits(record, stride))
        return 0;
    record.stride = stride;
    return 1;
}

int32_t bandsOf(const ImageRecord& record)
{
    return isColorType(record.type) && I_GetColorProcMode() >= 3 && I_GetColorBand() < 0 ? 3 : 1;
}

int32_t colsAndRows(const ImageRecord& record)
{
    return static_cast<int32_t>((static_cast<uint32_t>(record.cols) << 16) +
                                static_cast<uint32_t>(record.rows));
}

int32_t givePalette(void* out, const ImageRecord& record)
{
    if (!record.palette)
        return 0;
    std::memcpy(out, record.palette, kPaletteBytes);
    return 1;
}

int32_t giveInverted(void* out, ImageRecord& record)
{
    rebuildRowTable(record);
    return give(out, record.inverted);
}

// The record of an image that has a type; image 0 is no error.
const ImageRecord* recordForType(int32_t im)
{
    return im == 0 ? nullptr : findImageRecord(im, "I_ImGetType");
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ImGetParam(void* value, int32_t size, int32_t code, int32_t im)
{
    if (!value || im == 0 || code < kKind || code > kInverted)
        return 0;
    ImageRecord* const record = findImageRecord(im, "I_ImGetParam");
    if (!record)
        return 0;
    switch (code) {
    case kKind:
        return give(value, record->kind);
    case kType:
        return give(value, record->type);
    case kBands:
        return give(value, bandsOf(*record));
    case kCols:
        return give(value, record->cols);
    case kRows:
        return give(value, record->rows);
    case kColsAndRows:
        return give(value, colsAndRows(*record));
    case kStride:
        return give(value, record->stride);
    case kAlignment:
        return give(value, strideAlignment());
    case kBytes:
        return give(value, record->bytes);
    case kData:
        return give(value, record->data);
    case kDibHandle:
        return give(value, record->dibHandle);
    case kMinValue:
        return give(value, record->minValue);
    case kMaxValue:
        return give(value, record->maxValue);
    case kPalette:
        return givePalette(value, *record);
    case kComment:
        return giveText(static_cast<char*>(value), size, record->comment);
    case kRoiText:
        return giveText(static_cast<char*>(value), size, record->roiText);
    case kInverted:
        return giveInverted(value, *record);
    default:
        return 0;
    }
}

int32_t I_ImSetParam(const void* value, int32_t, int32_t code, int32_t im)
{
    if (!value || im == 0 || code < kType || code > kInverted)
        return 0;
    ImageRecord* const record = findImageRecord(im, "imsetparam");
    if (!record)
        return 0;
    switch (code) {
    case kType:
        return setType(*record, value);
    case kStride:
        return setStride(*record, value);
    case kAlignment:
        return take(strideAlignment(), value);
    case kDibHandle:
        return take(record->dibHandle, value);
    case kMinValue:
        return take(record->minValue, value);
    case kMaxValue:
        return take(record->maxValue, value);
    case kPalette:
        return setPalette(*record, value);
    case kComment:
        return setComment(*record, static_cast<const char*>(value));
    case kRoiText:
        return replaceText(record->roiText, duplicateText(static_cast<const char*>(value)), "imsetparam:ROI");
    case kInverted:
        // Required: the row table keeps its order until it is built anew.
        return take(record->inverted, value);
    default:
        return 0;
    }
}

int32_t I_ImSetComment(const char* text, int32_t im)
{
    return I_ImSetParam(text, 0, kComment, im);
}

int32_t I_ImGetComment(char* buffer, int32_t size, int32_t im)
{
    return I_ImGetParam(buffer, size, kComment, im);
}

int32_t I_ImGetSize(int32_t* cols, int32_t* rows, int32_t* bytes, int32_t im)
{
    ImageRecord* const record = findImageRecord(im, "I_ImGetSize");
    if (record && record->ops && imageKindHooks().refresh)
        imageKindHooks().refresh(*record);
    if (cols)
        *cols = record ? record->cols : 0;
    if (rows)
        *rows = record ? record->rows : 0;
    if (bytes)
        *bytes = record ? record->bytes : 0;
    return record != nullptr;
}

int32_t I_ImGetType(int32_t im)
{
    const ImageRecord* const record = recordForType(im);
    return record ? record->type : 0;
}

int32_t I_ImGetStride(int32_t im)
{
    const ImageRecord* const record = recordForType(im);
    return record ? record->stride : 0;
}

int32_t I_ImIsFloat(int32_t im, int32_t* bands)
{
    const ImageRecord* const record = recordForType(im);
    if (bands)
        *bands = record ? bandsOf(*record) : 0;
    return record && isFloatType(record->type);
}

int32_t I_ImGetNBands(int32_t im)
{
    int32_t bands = 0;
    I_ImGetParam(&bands, sizeof bands, kBands, im);
    return bands;
}

int32_t I_ImTypeBytes(int32_t type)
{
    switch (type) {
    case PIX_WORD:
    case PIX_BGR15:
    case PIX_BGR16:
    case 21:
        return 2;
    case PIX_BGR24:
    case PIX_RGB24:
    case 20:
    case 22:
    case PIX_PLANAR:
        return 3;
    case PIX_DWORD:
    case PIX_FLOAT:
    case PIX_BGR32:
    case PIX_RGB32:
        return 4;
    case PIX_DFLOAT:
    case PIX_COMPLEX:
        return 8;
    case PIX_DCOMPLEX:
        return 16;
    default:
        return 1;
    }
}

int32_t I_SetComplexMode(int32_t mode)
{
    const int32_t old = complexMode;
    complexMode = std::clamp(mode, 0, 3);
    return old;
}

int32_t I_ImCopyParams(int32_t imSrc, int32_t imDest)
{
    if (imSrc == 0 || imDest == 0)
        return 0;
    constexpr std::size_t kMostCharacters = 200;
    const ImageRecord* const from = findImageRecord(imSrc, "I_ImGetParam");
    ImageRecord* const to = from ? findImageRecord(imDest, "imsetparam") : nullptr;
    if (!to)
        return 0;
    char comment[kMostCharacters + 1] = {};
    if (from->comment)
        std::strncpy(comment, from->comment, kMostCharacters);
    const int32_t copied = replaceText(to->comment, duplicateText(comment), "imsetparam:Comment");
    if (from->palette)
        setPalette(*to, from->palette);
    to->minValue = from->minValue;
    to->maxValue = from->maxValue;
    return copied;
}

int32_t I_SetPixValueRange(double minValue, double maxValue, int32_t im)
{
    return I_ImSetParam(&minValue, 0, kMinValue, im) && I_ImSetParam(&maxValue, 0, kMaxValue, im);
}

int32_t I_GetPixValueRange(double* minValue, double* maxValue, int32_t im)
{
    double low = 0.0;
    double high = 0.0;
    if (!I_ImGetParam(&low, 0, kMinValue, im) || !I_ImGetParam(&high, 0, kMaxValue, im))
        return 0;
    if (minValue)
        *minValue = low;
    if (maxValue)
        *maxValue = high;
    return 1;
}

int32_t I_PaletteIsGrayscale(const void* palette)
{
    const auto* const entries = static_cast<const uint8_t*>(palette);
    for (int32_t i = 0; entries && i < kPaletteBytes; ++i)
        if (i % 4 != 3 && entries[i] != i / 4)
            return 0;
    return 1;
}
