// Histograms of images and byte buffers, and what can be read off a histogram.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "measure/byte_box.h"
#include "measure/byte_sums.h"
#include "measure/histogram_sums.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/frames.h"
#include "vexalib/roi.h"
#include "vexalib/statistics.h"

namespace vexa
{
namespace
{

struct ByteTally {
    uint32_t bins[8][256];
    int64_t count;
};

// A way of counting bytes: rows go into a state of zero bytes, the end adds it to a histogram and tells the
// count.
struct CountingRows {
    StatsRowFilter row;
    int64_t (*finish)(const void* state, uint32_t* histogram);
    int64_t stateBytes;
};

// The bins of a float histogram: bin = (value - offset) * perWidth, what lies outside in the end bins.
struct FloatTally {
    uint32_t* bins;
    double highestBin;
    double offset;
    double perWidth;
    int64_t count;
};

struct State {
    double rangeMin = 0.0; // of all float range searches so far, never reset; contains 0
    double rangeMax = 0.0;
};
State state;

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "measure/histogram_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr std::size_t kBins = 256;
// Below these lengths a table, or the wider way of the best instruction set, costs more than it saves.
constexpr int32_t kShortBuffer = 1024;
constexpr int64_t kManyBytes = 65536;

// Counts the bytes that feed hands to a row function, about as many as told.
template <typename Feed>
int64_t countInto(uint32_t* histogram, int64_t about, Feed feed)
{
    if (about >= kManyBytes) {
        const CountingRows& rows = VEXA_ROWS(kCountMany);
        Buffer<uint8_t> tally(rows.stateBytes);
        if (tally) {
            feed(rows.row, tally.data());
            return rows.finish(tally.data(), histogram);
        }
    }
    const CountingRows& rows = VEXA_ROWS(kCountFew);
    ByteTally tally{};
    feed(rows.row, &tally);
    return rows.finish(&tally, histogram);
}

// Rows of an application's own memory need not be aligned.
double floatAt(const uint8_t* row, int32_t i)
{
    float value;
    std::memcpy(&value, row + sizeof value * static_cast<std::size_t>(i), sizeof value);
    return static_cast<double>(value);
}

void widenRange(const void* row, int32_t n, void*)
{
    const auto* values = static_cast<const uint8_t*>(row);
    double low = state.rangeMin;
    double high = state.rangeMax;
    for (int32_t i = 0; i < n; ++i) {
        const double value = floatAt(values, i);
        low = value < low ? value : low;
        high = value > high ? value : high;
    }
    state.rangeMin = low;
    state.rangeMax = high;
}

void countFloats(const void* row, int32_t n, void* parameter)
{
    auto& tally = *static_cast<FloatTally*>(parameter);
    const auto* values = static_cast<const uint8_t*>(row);
    for (int32_t i = 0; i < n; ++i) {
        const double bin = (floatAt(values, i) - tally.offset) * tally.perWidth;
        // What is no number belongs nowhere and goes to bin 0.
        const double limited = bin > tally.highestBin ? tally.highestBin : bin > 0.0 ? bin : 0.0;
        ++tally.bins[static_cast<int64_t>(limited)];
    }
    tally.count += n;
}

// Required: an offset that was 0 stays 0, whatever the search finds.
double chooseWidth(int32_t im, double offset, double width, double bins)
{
    if (offset != 0.0 && !(width <= 0.0))
        return width;
    I_DoStatsOpType(im, nullptr, widenRange, PIX_FLOAT);
    if (state.rangeMin == state.rangeMax)
        state.rangeMax = state.rangeMin + 1.0;
    return width <= 0.0 ? (state.rangeMax - state.rangeMin) / bins : width;
}

// The first bin from start on in steps whose running count exceeds the cut, or where the walk ends.
int32_t cutBin(const uint32_t* histogram, int32_t start, int32_t end, int32_t step, int32_t cut)
{
    int64_t sum = 0;
    for (int32_t bin = start; bin != end; bin += step) {
        sum += histogram[bin];
        if (sum > cut)
            return bin;
    }
    return end;
}

int32_t wrapAbs(int32_t x)
{
    return x < 0 ? wrapSubtract(0, x) : x;
}

} // namespace

int32_t finishGetHistStats(const HistogramSums& sums, double* mean, double* deviation)
{
    uint32_t n = std::max(sums.total, 1U);
    storeOutput(mean, sums.sum / n);
    if (deviation) {
        const double variation = sums.squares - sums.sum * sums.sum / n;
        n = std::max(n, 2U);
        if (variation > 0.0) // Required: otherwise the deviation is left as it was.
            *deviation = std::sqrt(variation / (n - 1));
    }
    return static_cast<int32_t>(n);
}

int32_t finishHistStats(const HistogramSums& sums, float* mean, float* deviation)
{
    uint32_t n = std::max(sums.total, 1U);
    storeOutput(mean, sums.sum / n);
    if (deviation) {
        const double variation = sums.squares - sums.sum * sums.sum / n;
        n = std::max(n, 2U);
        storeOutput(deviation, variation > 0.0 ? std::sqrt(variation / static_cast<float>(n - 1)) : 0.0);
    }
    return static_cast<int32_t>(n);
}

} // namespace vexa

int32_t I_CalcHist(uint32_t* histogram, int32_t im)
{
    using namespace vexa;
    if (!histogram)
        return 0;
    std::fill_n(histogram, kBins, 0U);
    const auto feed = [im](StatsRowFilter row, void* tally) { I_DoStatsOpType(im, tally, row, PIX_BYTE); };
    return saturateToInt32(countInto(histogram, pixelsInBox(im), feed));
}

int32_t I_HistBuf(const uint8_t* buffer, int32_t length, uint32_t* histogram, int32_t clear)
{
    using namespace vexa;
    if (!buffer || !histogram)
        return 0;
    if (clear != 0)
        std::fill_n(histogram, kBins, 0U);
    if (length < kShortBuffer) {
        for (int32_t i = 0; i < length; ++i)
            ++histogram[buffer[i]];
        return std::max(length, 0);
    }
    countInto(histogram, length, [=](StatsRowFilter row, void* tally) { row(buffer, length, tally); });
    return length;
}

int32_t I_CalcHistMasked(uint32_t* histogram, int32_t im, int32_t imMask, const uint8_t* table)
{
    using namespace vexa;
    if (!histogram)
        return 0;
    std::fill_n(histogram, kBins, 0U);
    VexaBox box{};
    if (!I_ROIBoundingBox2(&box.left, &box.top, &box.right, &box.bottom, im, imMask))
        return 0;
    const ByteBox pixels(im, box);
    const ByteBox mask(imMask, box);
    if (!pixels || !mask)
        return 0;
    for (int32_t y = 0; y < pixels.rows(); ++y) {
        const uint8_t* row = pixels.row(y);
        const uint8_t* maskRow = mask.row(y);
        for (int32_t x = 0; x < pixels.cols(); ++x)
            if (table ? table[maskRow[x]] != 0 : maskRow[x] != 0)
                ++histogram[row[x]];
    }
    return I_SumHist(histogram, kBins);
}

int32_t I_CalcHistFloat(int32_t im, uint32_t* histogram, int32_t bins, double* offset, double* binWidth)
{
    using namespace vexa;
    if (bins == 0 || !histogram)
        return 0;
    const int64_t used = std::abs(int64_t{bins});
    if (bins > 0)
        std::fill_n(histogram, used, 0U);
    const double o = offset ? *offset : 0.0;
    const double w = chooseWidth(im, o, binWidth ? *binWidth : 0.0, static_cast<double>(used));
    storeOutput(offset, o);
    storeOutput(binWidth, w);
    if (w == 0.0)
        return 0;
    FloatTally tally{histogram, static_cast<double>(used - 1), o, 1.0 / w, 0};
    I_DoStatsOpType(im, &tally, countFloats, PIX_FLOAT);
    return saturateToInt32(tally.count);
}

int32_t I_SumHist(const uint32_t* histogram, int32_t bins)
{
    uint32_t sum = 0;
    for (int32_t i = 0; histogram && i < bins; ++i)
        sum += histogram[i];
    return static_cast<int32_t>(sum);
}

void HistogramMinMax(int32_t* lowest, int32_t* highest, const uint32_t* histogram)
{
    using namespace vexa;
    if (!histogram)
        return;
    int32_t low = 0;
    while (low < 256 && histogram[low] == 0)
        ++low;
    int32_t high = 255;
    while (high > 0 && histogram[high] == 0)
        --high;
    storeOutput(lowest, low);
    storeOutput(highest, high);
}

int32_t I_GetHistStats(const uint32_t* histogram, double* count, double* mean, double* deviation)
{
    using namespace vexa;
    if (!histogram)
        return 0;
    HistogramSums sums;
    for (int32_t i = 0; i < 256; ++i) {
        const double product = static_cast<double>(i) * histogram[i];
        sums.total += histogram[i];
        sums.sum += product;
        sums.squares += product * i;
    }
    storeOutput(count, sums.total);
    return finishGetHistStats(sums, mean, deviation);
}

int32_t I_HistStats(const uint32_t* histogram, int32_t first, int32_t last, int32_t* lowest, int32_t* highest,
                    float* mean, float* deviation)
{
    using namespace vexa;
    if (!histogram)
        return 0;
    HistogramSums sums;
    int32_t sum = 0; // Required: the sum of values and each product are 32-bit and wrap.
    int32_t low = wrapSubtract(first, 1);
    int32_t high = low;
    bool found = false;
    for (int64_t i = first; i <= last; ++i) {
        const uint32_t bin = histogram[i];
        if (bin == 0)
            continue;
        const auto value = static_cast<int32_t>(i);
        if (!found)
            low = value;
        found = true;
        high = value;
        const int32_t product = wrapMultiply(value, static_cast<int32_t>(bin));
        sums.total += bin;
        sum = wrapAdd(sum, product);
        sums.squares += static_cast<double>(product) * value;
    }
    storeOutput(lowest, low);
    storeOutput(highest, high);
    sums.sum = sum;
    return finishHistStats(sums, mean, deviation);
}

void I_NormHist(const uint32_t* histogram, int32_t lowCut, int32_t highCut, int32_t perMille, int32_t* low,
                int32_t* high)
{
    using namespace vexa;
    if (!histogram)
        return;
    int32_t lowCount = wrapAbs(lowCut);
    int32_t highCount = wrapAbs(highCut);
    bool whole = lowCut < 1;
    if (perMille != 0) {
        const int32_t total = I_SumHist(histogram, kBins);
        lowCount = wrapMultiply(lowCount, total) / 1000;
        highCount = wrapMultiply(highCount, total) / 1000;
        whole = total < 1;
    }
    storeOutput(low, whole ? 0 : cutBin(histogram, 0, 256, 1, lowCount));
    storeOutput(high, whole ? 255 : cutBin(histogram, 255, -1, -1, highCount));
}
