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
    return height > 1;
}

struct SplitWeight {
    int32_t low;
    int32_t high;
};

SplitWeight splitWeight(int32_t weight)
{
    const auto low = static_cast<int8_t>(weight & 255);
    return {low, (weight - low) >> 8};
}

// The form of the grouped ones that holds every weight.
SumForm groupedForm(const int32_t* weights, int64_t count, SumForm grouped)
{
    const auto [least, most] = std::minmax_element(weights, weights + count);
    if (grouped == SumForm::words)
        return *least >= -32768 && *most <= 32767 ? SumForm::words : SumForm::plain;
    if (grouped == SumForm::bytes && *least >= -128 && *most <= 127)
        return SumForm::bytes;
    // High bytes reach from -128 to 127.
    if (grouped == SumForm::bytes && *least >= -32896 && *most <= 32639)
        return SumForm::splitBytes;
    return SumForm::plain;
}

GroupTap groupTap(const IntegerKernel& kernel, int32_t group, int32_t column, int32_t rows)
{
    const int32_t lanes = rowsPerGroup(kernel.form);
    const int32_t bits = 32 / lanes;
    uint32_t low = 0;
    uint32_t high = 0;
    for (int32_t lane = 0; lane < lanes && group * lanes + lane < rows; ++lane) {
        const int32_t weight = kernel.weights[int64_t{group * lanes + lane} * kernel.width + column];
        const SplitWeight split =
            kernel.form == SumForm::words ? SplitWeight{weight, 0} : splitWeight(weight);
        const uint32_t mask = (uint32_t{1} << bits) - 1;
        low |= (static_cast<uint32_t>(split.low) & mask) << (bits * lane);
        high |= (static_cast<uint32_t>(split.high) & mask) << (bits * lane);
    }
    return {group * kernel.stride + column, static_cast<int32_t>(low), static_cast<int32_t>(high)};
}

bool useGroups(IntegerKernel& kernel, SumForm form)
{
    kernel.form = form;
    kernel.folded = form == SumForm::words && rowsMirror(kernel.weights, kernel.width, kernel.height);
    const int32_t rows = kernel.folded ? (kernel.height + 1) / 2 : kernel.height;
    kernel.groups = (rows + rowsPerGroup(form) - 1) / rowsPerGroup(form);
    kernel.stride = (int64_t{kConvolveTile} + kernel.width + 15) & ~int64_t{15};
    const int64_t most = int64_t{kernel.groups} * kernel.width;
    const int64_t lanes = kernel.groups * kernel.stride;
    kernel.taps = Buffer<GroupTap>(most);
    kernel.strips = Buffer<uint32_t>(lanes);
    kernel.zeros = Buffer<uint8_t>(kernel.stride);
    const bool room = kernel.taps && kernel.strips && kernel.zeros;
    if (malloctest(
            room ? kernel.taps.data() : nullptr, "I_MxNConvolve: %d",
            saturateToInt32(most * static_cast<int64_t>(sizeof(GroupTap)) + lanes * 4 + kernel.stride)))
        return false;
    for (int32_t group = 0; group < kernel.groups; ++group) {
        for (int32_t column = 0; column < kernel.width; ++column) {
            const GroupTap tap = groupTap(kernel, group, column, rows);
            if (tap.low != 0 || tap.high != 0)
                kernel.taps[kernel.groupTaps++] = tap;
        }
    }
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
                   int32_t divisor, int32_t highestPixel, SumForms forms)
{
    prepared = {};
    prepared.weights = weights;
    prepared.width = width;
    prepared.height = height;
    const int64_t count = int64_t{width} * height;
    // Beyond this the sum of the magnitudes would leave 64 bits; no bound below is kept anyway.
    constexpr int64_t kMostSum = int64_t{1} << 40;
    const int64_t reach = highestPixel * std::min(magnitudeSum(weights, count), kMostSum);
    const bool bytes = highestPixel == 255;
    const bool narrow = bytes && forms.narrow && reach + std::abs(int64_t{divisor} / 2) <= kNarrowReach;
    prepared.quotient = quotientFor(divisor, reach, narrow);
    if (narrow) {
        useNarrow(prepared);
        return true;
    }
    const SumForm form = bytes ? groupedForm(weights, count, forms.grouped) : SumForm::plain;
    return form == SumForm::plain || useGroups(prepared, form);
}

} // namespace vexa
