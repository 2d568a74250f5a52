#include <cmath>
#include <cstring>
#include <functional>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/instruction_set.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"

namespace vexa
{

// The row functions, one build of each per instruction set.
struct RangeRows {
    void (*bytes)(const uint8_t* row, int64_t n, uint8_t& low, uint8_t& high);
    void (*words)(const uint8_t* row, int64_t n, uint16_t& low, uint16_t& high);
    void (*dwords)(const uint8_t* row, int64_t n, uint32_t& low, uint32_t& high);
    void (*floats)(const uint8_t* row, int64_t n, float& low, float& high);
};

} // namespace vexa

#define VEXA_ROWS_FILE "core/block_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

struct Range {
    double low;
    double high;
};

// Rows of numbers in the order of the picture, top first.
struct NumberRows {
    const uint8_t* top;
    int64_t pitch; // below 0 where the rows lie bottom-up
    int64_t cols;
    int64_t rows;
};

template <typename Pixel>
Pixel pixelAt(const NumberRows& numbers, int64_t row, int64_t col)
{
    Pixel pixel;
    std::memcpy(&pixel, numbers.top + row * numbers.pitch + col * static_cast<int64_t>(sizeof pixel),
                sizeof pixel);
    return pixel;
}

// Extends a range by all rows, as one long row if there is nothing between them.
template <typename Pixel>
void extendByRows(const NumberRows& numbers, void (*extend)(const uint8_t*, int64_t, Pixel&, Pixel&),
                  Pixel& low, Pixel& high)
{
    if (numbers.pitch == numbers.cols * static_cast<int64_t>(sizeof(Pixel))) {
        extend(numbers.top, numbers.cols * numbers.rows, low, high);
        return;
    }
    for (int64_t row = 0; row < numbers.rows; ++row)
        extend(numbers.top + row * numbers.pitch, numbers.cols, low, high);
}

template <typename Pixel>
Range integerRange(const NumberRows& numbers, void (*extend)(const uint8_t*, int64_t, Pixel&, Pixel&))
{
    auto low = pixelAt<Pixel>(numbers, 0, 0);
    Pixel high = low;
    extendByRows(numbers, extend, low, high);
    return {static_cast<double>(low), static_cast<double>(high)};
}

// Zeros of either sign are equal, so the first one stands.
float firstZero(const NumberRows& numbers)
{
    for (int64_t row = 0; row < numbers.rows; ++row)
        for (int64_t col = 0; col < numbers.cols; ++col)
            if (const auto pixel = pixelAt<float>(numbers, row, col); pixel == 0.0F)
                return pixel;
    return 0.0F;
}

Range floatRange(const NumberRows& numbers)
{
    auto low = pixelAt<float>(numbers, 0, 0);
    float high = low;
    // No comparison with a first pixel that is no number ever holds.
    if (std::isnan(low))
        return {low, high};
    extendByRows(numbers, VEXA_ROWS(kRangeRows).floats, low, high);
    if (low == 0.0F)
        low = firstZero(numbers);
    if (high == 0.0F)
        high = firstZero(numbers);
    return {low, high};
}

NumberRows rowsOfImage(const ImageRecord& record, const uint8_t* pixels, int64_t cols)
{
    const int64_t lastRow = (int64_t{record.rows} - 1) * record.stride;
    if (record.inverted)
        return {pixels + lastRow, -int64_t{record.stride}, cols, record.rows};
    return {pixels, record.stride, cols, record.rows};
}

// Types without a scan of their own, and images that are not addressable. False if the pixels cannot be read.
bool convertedRange(const ImageRecord& record, int32_t im, Range& range)
{
    const int32_t cols = record.cols; // reading may change the size of a kind's image
    const int32_t rows = record.rows;
    void* const block = I_DupBlockType(0, 0, cols, rows, im, PIX_FLOAT);
    if (!block)
        return false;
    const int64_t pitch = int64_t{cols} * static_cast<int64_t>(sizeof(float));
    range = floatRange({static_cast<const uint8_t*>(block), pitch, cols, rows});
    vexaFree(block);
    return true;
}

bool imageRange(const ImageRecord& record, int32_t im, Range& range)
{
    const uint8_t* const pixels = directPixels(record);
    if (!pixels)
        return convertedRange(record, im, range);
    const RangeRows& rows = VEXA_ROWS(kRangeRows);
    if (isColorType(record.type) && record.bytes == 3) {
        // The bands together, as bytes.
        range = integerRange<uint8_t>(rowsOfImage(record, pixels, int64_t{record.cols} * 3), rows.bytes);
        return true;
    }
    const NumberRows numbers = rowsOfImage(record, pixels, record.cols);
    switch (record.type) {
    case PIX_BYTE:
        range = integerRange<uint8_t>(numbers, rows.bytes);
        return true;
    case PIX_WORD:
        // Required: unsigned here, signed in conversions.
        range = integerRange<uint16_t>(numbers, rows.words);
        return true;
    case PIX_DWORD:
        range = integerRange<uint32_t>(numbers, rows.dwords);
        return true;
    case PIX_FLOAT:
        range = floatRange(numbers);
        return true;
    default:
        return convertedRange(record, im, range);
    }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ImGetRange(double* minValue, double* maxValue, int32_t im)
{
    ImageRecord* const record = im == 0 ? nullptr : findImageRecord(im, "I_ImGetRange");
    Range range = {};
    if (!record || record->cols < 1 || record->rows < 1 || !imageRange(*record, im, range))
        return 0;
    record->minValue = range.low;
    record->maxValue = range.high;
    if (minValue)
        *minValue = range.low;
    if (maxValue)
        *maxValue = range.high;
    return saturateToInt32(int64_t{record->cols} * record->rows);
}

int32_t I_ComputePixelRange(int32_t, int32_t im)
{
    return I_ImGetRange(nullptr, nullptr, im);
}
