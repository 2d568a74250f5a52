// The builders of the usual tables of 256 bytes.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "core/display_state.h"
#include "support/numbers.h"
#include "vexalib/drawing.h"
#include "vexalib/lut.h"
#include "vexalib/statistics.h"

namespace vexa
{
namespace
{

int32_t highestPixel()
{
    return displayState().highestPixel;
}

// A table entry for a computed value: nothing below black, nothing above the highest pixel value.
uint8_t entryOf(int64_t value)
{
    return static_cast<uint8_t>(std::clamp<int64_t>(value, 0, highestPixel()));
}

// table[i] = value(i) for all 256 entries.
template <typename Function>
void fill(uint8_t* table, Function value)
{
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(value(i));
}

// Cuts each bin to the percentage of the total, so that a large flat area does not take the whole scale.
void limitBins(uint32_t* histogram, int32_t bins, int32_t percentage)
{
    const uint64_t total = std::accumulate(histogram, histogram + bins, uint64_t{0});
    const uint64_t level = total * static_cast<uint64_t>(std::max(percentage, 1)) / 100 + 2;
    for (int32_t i = 0; i < bins; ++i)
        if (histogram[i] > level)
            histogram[i] = static_cast<uint32_t>(level);
}

} // namespace
} // namespace vexa

using vexa::entryOf;
using vexa::fill;
using vexa::highestPixel;

void I_MakeGammaLUT(uint8_t* table, double gamma)
{
    if (!table)
        return;
    const bool usable = gamma >= 0.1 && gamma <= 10.0;
    const double exponent = 1.0 / (usable ? gamma : 1.0);
    fill(table, [exponent](int32_t i) { return vexa::truncToInt32(255 * std::pow(i / 255.0, exponent)); });
}

void LogLUT(int32_t low, int32_t high, uint8_t* table)
{
    if (!table)
        return;
    if (low > high)
        std::swap(low, high);
    double logLow = 0.0;
    if (low < 1)
        low = 0;
    else
        logLow = std::log(low);
    const int64_t top = std::max<int64_t>(high, int64_t{low} + 1);
    const double scale = highestPixel() / (std::log(static_cast<double>(top)) - logLow);
    const int32_t zero = vexa::truncToInt32(logLow * scale + 0.5);
    fill(table, [=](int32_t i) -> uint8_t {
        if (i <= low)
            return 0;
        if (i >= top)
            return entryOf(highestPixel());
        return entryOf(int64_t{vexa::truncToInt32(std::log(i) * scale)} - zero);
    });
}

void I_StretchLUT(int32_t low, int32_t high, uint8_t* table)
{
    if (!table)
        return;
    const int64_t from = low == high ? int64_t{low} - 1 : low;
    const int64_t to = high;
    const int32_t top = highestPixel();
    const int64_t slope = (top << 8) / (to - from);
    if (from < to)
        fill(table, [=](int32_t i) {
            return i <= from ? 0 : i < to ? entryOf(((i - from) * slope + 128) >> 8) : entryOf(top);
        });
    else
        fill(table, [=](int32_t i) {
            return i < to ? entryOf(top) : i < from ? entryOf((((i - to) * slope + 128) >> 8) + top) : 0;
        });
}

int32_t I_StretchLUT1(double low, double high, uint8_t* table)
{
    if (!table)
        return 0;
    if (low == high)
        low -= 1.0;
    const int32_t top = highestPixel();
    const double slope = top / (high - low);
    if (low < high) {
        const int32_t lastZero = vexa::truncToInt32(std::min<double>(low, top));
        fill(table, [=](int32_t i) {
            if (i <= lastZero)
                return uint8_t{0};
            return entryOf(i < high ? vexa::truncToInt32((i - low) * slope + 0.5) : top);
        });
    } else {
        fill(table, [=](int32_t i) {
            if (i < high)
                return entryOf(top);
            return i < low ? entryOf(vexa::truncToInt32((i - high) * slope + 0.5 + top)) : uint8_t{0};
        });
    }
    return 256;
}

void HistEqualizeLUT(int32_t limit, uint32_t* histogram, uint8_t* table)
{
    if (!histogram || !table)
        return;
    const int32_t top = highestPixel();
    std::fill(histogram + top + 1, histogram + 256, 0U);
    vexa::limitBins(histogram, top + 1, limit);
    const uint64_t total = std::max<uint64_t>(std::accumulate(histogram, histogram + 256, uint64_t{0}), 1);
    uint64_t sum = 0;
    fill(table, [&](int32_t i) {
        sum += histogram[i];
        return i <= top ? (static_cast<uint64_t>(top) * sum + total / 2) / total : static_cast<uint64_t>(i);
    });
    int32_t lowest = 0;
    HistogramMinMax(&lowest, nullptr, histogram);
    if (lowest < 256)
        table[lowest] = 0;
}

void I_EqualizeLUT(int32_t limit, uint8_t* table)
{
    uint32_t histogram[256] = {};
    I_CalcHist(histogram, I_GetGraphicsFrame());
    HistEqualizeLUT(limit, histogram, table);
}

int32_t I_InvertLUT(uint8_t* table)
{
    if (!table)
        return 0;
    const int32_t top = highestPixel();
    for (int32_t i = 0; i <= top; ++i)
        table[i] = static_cast<uint8_t>(top - i);
    return top + 1;
}

void I_NormLUT(int32_t low, int32_t high, int32_t, uint8_t* table, int32_t im)
{
    uint32_t histogram[256] = {};
    I_CalcHist(histogram, im);
    int32_t lowest = 0;
    int32_t highest = 0;
    I_NormHist(histogram, vexa::wrapMultiply(low, 10), vexa::wrapMultiply(high, 10), 1, &lowest, &highest);
    I_StretchLUT(lowest, highest, table);
}

void I_SteppedLUT(double start, double step, uint8_t* table)
{
    if (!table)
        return;
    std::memset(table, 0, 256);
    // A step that does not rise would never end, and one that hardly rises gives the same table as 1/1024.
    if (!(step > 0.0) || !(start < 256.0))
        return;
    step = std::max(step, 1.0 / 1024);
    int32_t i = std::max(vexa::truncToInt32(start), 0);
    // Levels below black leave the cleared entries as they are: begin with the last of them.
    double level = start < 0.0 ? start - step * std::ceil(start / step) : start;
    if (!(level + step > level))
        return;
    for (; i < highestPixel(); level += step) {
        const double end = std::min(std::trunc(level + step), 255.0);
        for (; i <= end; ++i)
            table[i] = static_cast<uint8_t>(std::max(std::trunc(level), 0.0));
    }
    table[0] = 0;
}

void I_ThreshLUT(int32_t threshold, uint8_t* table)
{
    if (!table)
        return;
    const int32_t first = std::min(threshold, 255);
    fill(table, [first](int32_t i) { return i < first ? 0 : 255; });
}

void I_DualThreshLUT(int32_t low, int32_t high, uint8_t* table)
{
    if (!table)
        return;
    low = std::clamp(low, 0, 255);
    high = std::clamp(high, 0, 255);
    if (low <= high)
        fill(table, [=](int32_t i) { return i >= low && i <= high ? 255 : 0; });
    else
        fill(table, [=](int32_t i) { return i > high && i < low ? 0 : 255; });
}

void I_DualLinThreshLUT(int32_t low, int32_t high, uint8_t* table)
{
    if (!table)
        return;
    fill(table, [=](int32_t i) { return i < low ? 0 : i < high ? i : 255; });
}
