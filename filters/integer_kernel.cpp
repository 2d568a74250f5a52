#include "filters/integer_kernel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int64_t kNarrowReach = 32767 - 128;

int64_t magnitudeSum(const int32_t* weights, int64_t count)
{
    int64_t sum = 0;
    for (int64_t i = 0; i < count; ++i)
        sum += std::abs(int64_t{weights[i]});
    return sum;
}

// 1 / d, rounded up in magnitude.
template <typename Float>
Float reciprocalAbove(double d)
{
    const auto nearest = static_cast<Float>(1.0 / d);
    const bool below = std::fma(static_cast<double>(nearest), d, -1.0) < 0.0;
    return below ? std::nextafter(nearest, static_cast<Float>(d < 0.0 ? -2.0 : 2.0)) : nearest;
}

void useNarrow(IntegerKernel& kernel)
{
    kernel.form = SumForm::narrow;
    int32_t taps = 0;
    for (int32_t row = 0; row < kernel.height; ++row) {
        for (int32_t column = 0; column < kernel.width; ++column) {
            const int32_t weight = kernel.weights[int64_t{row} * kernel.width + column];
            if (weight == 0)
                continue;
            const int32_t place = taps++ % 2;
            if (place == 0)
                kernel.narrow[static_cast<std::size_t>(kernel.narrowPairs++)] = {
                    {row, row}, {column, column}, (weight & 255) * 0x00010001};
            NarrowPair& pair = kernel.narrow[static_cast<std::size_t>(kernel.narrowPairs - 1)];
            pair.row[place] = row;
            pair.column[place] = column;
            if (place == 1)
                pair.weights |= static_cast<int32_t>(static_cast<uint32_t>(weight & 255) * 0x01000100U);
        }
    }
}

bool rowsMirror(const int32_t* weights, int32_t width, int32_t height)
{
    for (int32_t row = 0; row < height / 2; ++row)
        if (!std::equal(weights + int64_t{row} * width, weights + int64_t{row + 1} * width,
                        weights + int64_t{height - 1 - row} * width))
            return false;
    return true;
}

bool columnsMirror(const int32_t* weights, int32_t width, int32_t height)
{
    for (int32_t row = 0; row < height; ++row)
        for (int32_t column = 0; column < width / 2; ++column)
            if (weights[int64_t{row} * width + column] != weights[int64_t{row + 1} * width - 1 - column])
                return false;
    return true;
}

// The form that holds every weight.
SumForm wideForm(const int32_t* weights, int64_t count, SumForms forms)
{
    const auto [least, most] = std::minmax_element(weights, weights + count);
    if (forms.bytes && *least >= -128 && *most <= 127)
        return SumForm::bytes;
    return forms.words && *least >= -32768 && *most <= 32767 ? SumForm::words : SumForm::plain;
}

// The weights of a row that one lane holds, the first one lowest.
int32_t laneOf(const IntegerKernel& kernel, int32_t row, int32_t group, int32_t columns)
{
    const int32_t perLane = kernel.form == SumForm::words ? 2 : 4;
    const int32_t bits = 32 / perLane;
    const uint32_t mask = (uint32_t{1} << bits) - 1;
    uint32_t lane = 0;
    for (int32_t i = 0; i < perLane && group * perLane + i < columns; ++i) {
        const int32_t weight = kernel.weights[int64_t{row} * kernel.width + group * perLane + i];
        lane |= (static_cast<uint32_t>(weight) & mask) << (bits * i);
    }
    return static_cast<int32_t>(lane);
}

bool useLines(IntegerKernel& kernel, SumForm form, int32_t columns)
{
    constexpr int64_t kBlock = 64; // outputs, at most, that are summed at once
    kernel.form = form;
    kernel.foldedColumns =
        form == SumForm::words && columnsMirror(kernel.weights, kernel.width, kernel.height);
    kernel.mirroredRows = rowsMirror(kernel.weights, kernel.width, kernel.height);
    const int32_t weightsPerRow = kernel.foldedColumns ? (kernel.width + 1) / 2 : kernel.width;
    const int32_t perLane = form == SumForm::words ? 2 : 4;
    kernel.groups = (weightsPerRow + perLane - 1) / perLane;
    kernel.columns = (columns + kBlock - 1) / kBlock * kBlock;
    const int64_t lanes = int64_t{kernel.groups} * kernel.height;
    const int64_t sums = kernel.columns * kernel.height;
    kernel.lanes = Buffer<int32_t>(lanes);
    kernel.lines = Buffer<int32_t>(sums);
    kernel.strips = Buffer<uint8_t>(kernel.groups * kBlock * 4);
    kernel.products = Buffer<uint8_t>(2 * kernel.height * kBlock * 4);
    const bool room = kernel.lanes && kernel.lines && kernel.strips && kernel.products;
    if (malloctest(room ? kernel.lines.data() : nullptr, "I_MxNConvolve: %d",
                   saturateToInt32(4 * (lanes + sums))))
        return false;
    for (int32_t row = 0; row < kernel.height; ++row)
        for (int32_t group = 0; group < kernel.groups; ++group)
            kernel.lanes[int64_t{row} * kernel.groups + group] = laneOf(kernel, row, group, weightsPerRow);
    return true;
}

} // namespace

Quotient quotientFor(int32_t divisor, int64_t reach, bool narrow)
{
    Quotient q = {};
    const int64_t magnitude = std::abs(int64_t{divisor});
    q.half = divisor / 2;
    q.single = reciprocalAbove<float>(divisor);
    q.whole = reciprocalAbove<double>(divisor);
    q.sign = static_cast<uint16_t>(divisor < 0 ? 0xFFFF : 0);
    const auto d = static_cast<uint32_t>(std::min<int64_t>(magnitude, 32768)); // no narrow sum gets there
    q.shift = static_cast<uint16_t>(std::bit_width(d - 1));
    q.factor = static_cast<uint16_t>(((uint32_t{1} << (15 + q.shift)) + d - 1) / d);
    const bool single = 3 * (reach + magnitude / 2) + magnitude < int64_t{1} << 24;
    q.form = narrow          ? QuotientForm::narrow
             : divisor == -1 ? QuotientForm::negated
             : single        ? QuotientForm::single
                             : QuotientForm::whole;
    return q;
}

bool prepareKernel(IntegerKernel& prepared, const int32_t* weights, int32_t width, int32_t height,
                   int32_t divisor, int32_t highestPixel, int32_t columns, SumForms forms)
{
    prepared = {};
    prepared.weights = weights;
    prepared.width = width;
    prepared.height = height;
    const int64_t count = int64_t{width} * height;
    // Past this limit no bound below is kept anyway.
    constexpr int64_t kMostSum = int64_t{1} << 40;
    const int64_t reach = highestPixel * std::min(magnitudeSum(weights, count), kMostSum);
    const bool bytes = highestPixel == 255;
    const bool narrow = bytes && forms.narrow && reach + std::abs(int64_t{divisor} / 2) <= kNarrowReach;
    prepared.quotient = quotientFor(divisor, reach, narrow);
    if (narrow) {
        useNarrow(prepared);
        return true;
    }
    const SumForm form = bytes && columns > 0 ? wideForm(weights, count, forms) : SumForm::plain;
    return form == SumForm::plain || useLines(prepared, form, columns);
}

} // namespace vexa
