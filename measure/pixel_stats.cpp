// Statistics of the pixels of images inside the region of interest.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/pixel_types.h"
#include "measure/byte_box.h"
#include "measure/byte_sums.h"
#include "measure/histogram_sums.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/frames.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Values in eight partial sums, by their place in the row.
struct FloatSums {
    static constexpr int32_t kLanes = 8;
    double sum[kLanes];
    double squares[kLanes];
    float low[kLanes];
    float high[kLanes];
};
using FloatRow = void (*)(const uint8_t* row, int32_t n, FloatSums& sums);

struct DifferenceSums {
    int64_t sum = 0;
    uint8_t largest = 0; // absolute
};
using DifferenceRow = void (*)(const uint8_t* a, const uint8_t* b, int32_t n, DifferenceSums& sums);

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "measure/statistics_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kBins = 256;
// Up to this many pixels no product of value and count leaves 32 bits, whatever the histogram.
constexpr int64_t kMostExactPixels = INT32_MAX / 255;

// The types whose statistics go through byte values. Required: a palette image is not one of them.
bool countsAsBytes(int32_t type)
{
    return type == PIX_BYTE || type > PIX_PALETTE;
}

// Always in this order.
double total(const double (&lanes)[FloatSums::kLanes])
{
    return ((lanes[0] + lanes[4]) + (lanes[2] + lanes[6])) + ((lanes[1] + lanes[5]) + (lanes[3] + lanes[7]));
}

struct DoubleOutputs {
    double* count;
    double* mean;
    double* deviation;
    double* minimum;
    double* maximum;
};

int32_t computeByteStats(const DoubleOutputs& out, int32_t im)
{
    const ByteSums bytes = sumImageBytes(im);
    const HistogramSums sums{static_cast<uint32_t>(bytes.count), static_cast<double>(bytes.sum),
                             static_cast<double>(bytes.squares)};
    storeOutput(out.deviation, 0.0);
    finishGetHistStats(sums, out.mean, out.deviation);
    storeOutput(out.count, bytes.count);
    storeOutput(out.minimum, bytes.count > 0 ? bytes.low : kBins);
    storeOutput(out.maximum, bytes.count > 0 ? bytes.high : 0);
    return saturateToInt32(bytes.count);
}

// The rows of an image as floats: in place where they lie in memory, else through a row buffer.
class FloatRows
{
public:
    FloatRows(int32_t im, int32_t cols)
        : im_(im), pixels_(static_cast<const uint8_t*>(I_ImGetPtrEx(0, 0, &stride_, im, PIX_FLOAT)))
    {
        if (!pixels_)
            buffer_ = Buffer<float>(cols);
    }

    bool failed() const { return !pixels_ && !buffer_; }
    const uint8_t* row(int32_t x, int32_t y, int32_t width)
    {
        if (pixels_)
            return pixels_ + int64_t{y} * stride_ + int64_t{x} * static_cast<int64_t>(sizeof(float));
        I_GetBlockType(x, y, width, 1, buffer_.data(), im_, PIX_FLOAT);
        return reinterpret_cast<const uint8_t*>(buffer_.data());
    }

private:
    int32_t im_;
    int32_t stride_ = 0;
    const uint8_t* pixels_;
    Buffer<float> buffer_;
};

void startExtremes(FloatSums& sums, const uint8_t* row)
{
    float first;
    std::memcpy(&first, row, sizeof first);
    std::fill_n(sums.low, FloatSums::kLanes, first);
    std::fill_n(sums.high, FloatSums::kLanes, first);
}

int32_t computeFloatStats(const DoubleOutputs& out, int32_t rowStep, int32_t im, int32_t cols)
{
    FloatRows rows(im, cols);
    if (malloctest(rows.failed() ? nullptr : &rows, "ComputePixelStats"))
        return 0;
    const FloatRow addRow = VEXA_ROWS(kSumFloats)[out.deviation ? 1 : 0];
    FloatSums sums{};
    int64_t count = 0;
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    for (int32_t first = 1; I_GetNextLine(&x, &y, &width, im, &first) != 0;) {
        if (rowStep > 1 && y % rowStep != 0)
            continue;
        // A scan list may begin in front of the image.
        const int32_t from = std::max(x, 0);
        width = std::min(cols, wrapAdd(x, width)) - from;
        if (width < 1)
            continue;
        const uint8_t* row = rows.row(from, y, width);
        if (count == 0)
            startExtremes(sums, row);
        addRow(row, width, sums);
        count += width;
    }
    meanstdv(static_cast<double>(count), total(sums.sum), total(sums.squares), out.mean, out.deviation);
    storeOutput(out.count, count);
    storeOutput(out.minimum, count > 0 ? *std::min_element(sums.low, sums.low + FloatSums::kLanes) : 1e64);
    storeOutput(out.maximum, count > 0 ? *std::max_element(sums.high, sums.high + FloatSums::kLanes) : -1e64);
    return saturateToInt32(count);
}

struct FloatOutputs {
    float* minimum;
    float* maximum;
    float* mean;
    float* deviation;
};

int32_t statsOfHistogram(const uint32_t* histogram, const FloatOutputs& out)
{
    int32_t lowest = 0;
    int32_t highest = 0;
    const int32_t total = I_HistStats(histogram, 0, kBins - 1, &lowest, &highest, out.mean, out.deviation);
    storeOutput(out.minimum, lowest);
    storeOutput(out.maximum, highest);
    return total;
}

int32_t pixelStatsByHistogram(int32_t im, const FloatOutputs& out)
{
    uint32_t histogram[kBins];
    const int32_t count = I_CalcHist(histogram, im);
    statsOfHistogram(histogram, out);
    return count;
}

// Statistics of byte values without a histogram, with the 32-bit sums of one. Where a product of value and
// count might have wrapped only the histogram tells.
int32_t pixelStatsOfBytes(int32_t im, const FloatOutputs& out)
{
    if (pixelsInBox(im) > kMostExactPixels)
        return pixelStatsByHistogram(im, out);
    const ByteSums bytes = sumImageBytes(im);
    if (bytes.count > kMostExactPixels) // a scan list may visit a pixel more than once
        return pixelStatsByHistogram(im, out);
    const auto wrappedSum = static_cast<int32_t>(static_cast<uint32_t>(bytes.sum));
    const HistogramSums sums{static_cast<uint32_t>(bytes.count), static_cast<double>(wrappedSum),
                             static_cast<double>(bytes.squares)};
    finishHistStats(sums, out.mean, out.deviation);
    storeOutput(out.minimum, bytes.count > 0 ? bytes.low : -1);
    storeOutput(out.maximum, bytes.count > 0 ? bytes.high : -1);
    return static_cast<int32_t>(bytes.count);
}

int32_t pixelStatsOfFloats(int32_t im, const FloatOutputs& out)
{
    double mean = 0.0;
    double deviation = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    double count = -1.0;
    const int32_t result =
        I_ComputePixelStats(0, &count, &mean, out.deviation ? &deviation : nullptr, &minimum, &maximum, im);
    if (count < 0.0)
        return result;
    storeOutput(out.mean, mean);
    storeOutput(out.deviation, deviation);
    storeOutput(out.minimum, minimum);
    storeOutput(out.maximum, maximum);
    return result;
}

} // namespace

void addBytes(const void* bytes, int32_t n, ByteSums& sums)
{
    VEXA_ROWS(kSumBytes)(bytes, n, &sums);
}

ByteSums sumImageBytes(int32_t im)
{
    ByteSums sums;
    I_DoStatsOpType(im, &sums, VEXA_ROWS(kSumBytes), PIX_BYTE);
    return sums;
}

int64_t pixelsInBox(int32_t im)
{
    VexaBox box{};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im))
        return 0;
    return (int64_t{box.right} - box.left + 1) * (int64_t{box.bottom} - box.top + 1);
}

} // namespace vexa

int32_t I_ComputePixelStats(int32_t rowStep, double* count, double* mean, double* deviation, double* minimum,
                            double* maximum, int32_t im)
{
    using namespace vexa;
    int32_t cols = 0;
    if (!I_ImGetSize(&cols, nullptr, nullptr, im))
        return 0;
    const DoubleOutputs out{count, mean, deviation, minimum, maximum};
    return countsAsBytes(I_ImGetType(im)) ? computeByteStats(out, im)
                                          : computeFloatStats(out, rowStep, im, cols);
}

int32_t I_PixelStats(int32_t im, float* minimum, float* maximum, float* mean, float* deviation)
{
    using namespace vexa;
    const int32_t type = I_ImGetType(im);
    if (type == 0)
        return 0;
    const FloatOutputs out{minimum, maximum, mean, deviation};
    return countsAsBytes(type) ? pixelStatsOfBytes(im, out) : pixelStatsOfFloats(im, out);
}

int32_t I_PixelStatsMasked(int32_t im, int32_t imMask, float* minimum, float* maximum, float* mean,
                           float* deviation, int32_t histogramFlag, uint8_t* table)
{
    using namespace vexa;
    const int32_t type = I_ImGetType(im);
    if (type == 0)
        return 0;
    const FloatOutputs out{minimum, maximum, mean, deviation};
    if (!countsAsBytes(type)) {
        if (imMask != 0)
            I_SetError(1, "Masked statistics not yet supported on non-byte images");
        return pixelStatsOfFloats(im, out);
    }
    if (histogramFlag == 0)
        return 0;
    if (imMask == 0)
        return pixelStatsOfBytes(im, out);
    uint8_t ownTable[kBins] = {};
    if (!table)
        table = ownTable;
    if (std::all_of(table, table + kBins, [](uint8_t entry) { return entry == 0; }))
        std::fill_n(table + 1, kBins - 1, uint8_t{255});
    uint32_t histogram[kBins];
    const int32_t count = I_CalcHistMasked(histogram, im, imMask, table);
    statsOfHistogram(histogram, out);
    return count;
}

int32_t I_DiffStats(int32_t imA, int32_t imB, float* largest, float* sum)
{
    using namespace vexa;
    VexaBox box{};
    if (!I_ROIBoundingBox2(&box.left, &box.top, &box.right, &box.bottom, imA, imB))
        return 0;
    const ByteBox a(imA, box);
    const ByteBox b(imB, box);
    if (!a || !b)
        return 0;
    DifferenceSums sums;
    const DifferenceRow addRow = VEXA_ROWS(kSumDifferences);
    for (int32_t y = 0; y < a.rows(); ++y)
        addRow(a.row(y), b.row(y), a.cols(), sums);
    storeOutput(largest, sums.largest);
    storeOutput(sum, sums.sum);
    return saturateToInt32(int64_t{a.cols()} * a.rows());
}
