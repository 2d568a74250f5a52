#include "vexalib/edges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "filters/edge_angles.h"
#include "filters/nine_point.h"
#include "operators/clip_table.h"
#include "operators/working_type.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "support/trace.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"

#define VEXA_ROWS_FILE "filters/edges_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{

NinePointFilter sobelFilter()
{
    return VEXA_ROWS(kSobel);
}

NinePointFilter contourFilter()
{
    return {VEXA_ROWS(contourRow), nullptr};
}

NinePointFilter verticalGradientFilter()
{
    return {VEXA_ROWS(verticalGradientRow), nullptr};
}

NinePointFilter horizontalGradientFilter()
{
    return {VEXA_ROWS(horizontalGradientRow), nullptr};
}

namespace
{

constexpr int32_t kDirections = 90;

// What the gradient functions are asked for.
struct GradientRequest {
    int32_t step;
    float threshold;
    uint32_t* histogram; // of the gentle pixels, may be null
    uint32_t* angles;    // strength by direction, may be null
    int32_t angleCount;
    bool directions; // the form with directions
};

// Of the strong pixels.
struct GradientSums {
    double total = 0.0;
    int32_t count = 0;
};

// The region's box of an image, and what becomes of it.
template <typename Pixel>
struct GradientBox {
    const Pixel* pixels;
    Pixel* out; // may be null
    int32_t width;
    int32_t height;
    int32_t* sizes; // room for the magnitudes of a row
};

// Adds a row of magnitudes, those below the threshold to the histogram.
void addRow(const uint8_t* row, const int32_t* sizes, int32_t n, const GradientRequest& request,
            GradientSums& sums)
{
    const int32_t strong = Rnd(request.threshold);
    int64_t total = 0;
    VEXA_ROWS(addStrongRow)(sizes, n, strong, &total, &sums.count);
    sums.total += static_cast<double>(total);
    for (int32_t x = 0; request.histogram && x < n; ++x)
        if (sizes[x] < strong)
            ++request.histogram[row[x]];
}

// Bytes: gentle slopes remain in the output, strong pixels are 0.
GradientSums sumMagnitudes(const GradientBox<uint8_t>& box, const GradientRequest& request)
{
    const auto& magnitudes = VEXA_ROWS(magnitudesRow);
    const auto& storeGentle = VEXA_ROWS(storeGentleRow);
    const int32_t n = box.width - request.step;
    GradientSums sums;
    for (int32_t y = 0; y < int64_t{box.height} - request.step; ++y) {
        const uint8_t* const row = box.pixels + int64_t{y} * box.width;
        magnitudes(row, row + int64_t{request.step} * box.width, request.step, n, box.sizes);
        addRow(row, box.sizes, n, request, sums);
        if (box.out)
            storeGentle(box.sizes, n, Rnd(request.threshold), box.out + int64_t{y} * box.width);
    }
    return sums;
}

// A direction's bin. What no bin holds ends the process, as a failed assertion would.
int32_t directionOf(int32_t dx, int32_t dy, int32_t count)
{
    const int32_t bin = quickAngle(dx, dy, count);
    if (bin < 0 || bin >= count) {
        debugTrace("a=%d of %d", bin, count);
        std::exit(1); // Required.
    }
    return bin;
}

// Adds the directions of a row's pixels above the threshold, and tells them in the output.
void addDirections(const uint8_t* row, const uint8_t* below, const int32_t* sizes, int32_t n,
                   const GradientRequest& request, uint8_t* out)
{
    // No product in quickAngle wraps, so that every bin is one: those of pixels that do not count need no
    // look.
    const bool everyBinHolds = request.angleCount > 0 && request.angleCount <= 1 << 20;
    for (int32_t x = 0; x < n; ++x) {
        const bool counts = !(request.threshold >= static_cast<float>(sizes[x]));
        if (!counts && everyBinHolds)
            continue;
        const int32_t bin =
            directionOf(row[x] - row[x + request.step], row[x] - below[x], request.angleCount);
        if (counts && request.angles)
            request.angles[bin] += static_cast<uint32_t>(sizes[x]);
        if (counts && out)
            out[x] = static_cast<uint8_t>(wrapMultiply(bin, 180) / request.angleCount + 70);
    }
}

// Bytes, with directions.
GradientSums sumDirections(const GradientBox<uint8_t>& box, const GradientRequest& request)
{
    const auto& magnitudes = VEXA_ROWS(magnitudesRow);
    const int32_t n = box.width - request.step;
    GradientSums sums;
    // Required: two rows fewer than without directions.
    for (int32_t y = 0; y < int64_t{box.height} - request.step - 2; ++y) {
        const uint8_t* const row = box.pixels + int64_t{y} * box.width;
        const uint8_t* const below = row + int64_t{request.step} * box.width;
        magnitudes(row, below, request.step, n, box.sizes);
        addDirections(row, below, box.sizes, n, request,
                      box.out ? box.out + int64_t{y} * box.width : nullptr);
        addRow(row, box.sizes, n, request, sums);
    }
    return sums;
}

// Floats, in both functions: squares are summed, the output stays 0.
GradientSums sumSquares(const GradientBox<float>& box, const GradientRequest& request)
{
    const double strong = static_cast<double>(request.threshold) * static_cast<double>(request.threshold);
    const int64_t width = box.width;
    GradientSums sums;
    for (int32_t y = 0; y < int64_t{box.height} - request.step; ++y) {
        const float* const row = box.pixels + y * width;
        const float* const below = row + request.step * width;
        for (int32_t x = 0; x < width - request.step; ++x) {
            const double a = static_cast<double>(row[x]) - static_cast<double>(below[x]);
            const double b = static_cast<double>(row[x]) - static_cast<double>(row[x + request.step]);
            const double square = a * a + b * b;
            if (square > strong) {
                sums.total += square;
                ++sums.count;
            } else if (request.histogram) {
                ++request.histogram[std::clamp(truncToInt32(row[x]), 0, 255)];
            }
        }
    }
    return sums;
}

// Reads the box, sums, and stores the output block; false without memory.
template <typename Pixel, typename Sum>
bool runGradient(int32_t imSrc, int32_t imDest, const VexaBox& box, int32_t type, bool startsAsCopy, Sum sum,
                 GradientSums* sums)
{
    const int32_t width = box.right - box.left + 1;
    const int32_t height = box.bottom - box.top + 1;
    const int64_t pixels = int64_t{width} * height;
    Buffer<Pixel> in(pixels);
    Buffer<Pixel> out(imDest != 0 ? pixels : 0);
    Buffer<int32_t> sizes(width);
    if (malloctest(in && out && sizes ? in.data() : nullptr, "I_Gradient2"))
        return false;
    I_GetBlockType(box.left, box.top, width, height, in.data(), imSrc, type);
    if (startsAsCopy && imDest != 0)
        std::copy_n(in.data(), pixels, out.data());
    *sums =
        sum(GradientBox<Pixel>{in.data(), imDest != 0 ? out.data() : nullptr, width, height, sizes.data()});
    if (imDest != 0)
        I_PutBlockType(box.left, box.top, width, height, out.data(), imDest, type);
    return true;
}

// The root of the mean over the strong pixels; false where there is no region, it is smaller than the step,
// or there is no memory.
bool gradient(int32_t imSrc, int32_t imDest, GradientRequest request, int32_t* count, float* result)
{
    *result = 0.0F;
    const int32_t type = I_ImGetType(imSrc);
    VexaBox box = {};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imSrc))
        return false;
    request.step = std::max(request.step, 1);
    const int64_t cols = int64_t{box.right} - box.left + 1 - request.step;
    const int64_t rows = int64_t{box.bottom} - box.top + 1 - request.step;
    if (cols * rows < 1)
        return false;
    if (request.histogram)
        std::fill_n(request.histogram, 256, 0U);
    GradientSums sums;
    bool worked = false;
    if (type != PIX_BYTE) {
        const auto sum = [&](const GradientBox<float>& floats) { return sumSquares(floats, request); };
        worked = runGradient<float>(imSrc, imDest, box, PIX_FLOAT, false, sum, &sums);
    } else if (request.directions) {
        const auto sum = [&](const GradientBox<uint8_t>& bytes) { return sumDirections(bytes, request); };
        worked = runGradient<uint8_t>(imSrc, imDest, box, PIX_BYTE, false, sum, &sums);
    } else {
        const auto sum = [&](const GradientBox<uint8_t>& bytes) { return sumMagnitudes(bytes, request); };
        worked = runGradient<uint8_t>(imSrc, imDest, box, PIX_BYTE, request.threshold < 255.0F, sum, &sums);
    }
    if (!worked)
        return false;
    if (count)
        *count = sums.count;
    *result = static_cast<float>(std::sqrt(sums.total / std::max(sums.count, 1)));
    return true;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_Edge(int32_t imSrc, int32_t imDest, int32_t width, int32_t height)
{
    const int32_t cols = std::max(width, 2);
    const int32_t rows = std::max(height, 2);
    const FrameFilter row = std::min(cols, rows) < 3 ? VEXA_ROWS(smallEdgeRow) : VEXA_ROWS(edgeRow);
    return runFrame(imSrc, imDest, cols, rows, nullptr, row, PIX_BYTE, FrameOutput::straight);
}

int32_t I_Sobel(int32_t imSrc, int32_t imDest)
{
    const NinePointFilter sobel = sobelFilter();
    if (widestType(imSrc, imDest) < 2)
        return runFrame(imSrc, imDest, 3, 3, nullptr, sobel.bytes, PIX_BYTE, FrameOutput::straight);
    return runFrame(imSrc, imDest, 3, 3, nullptr, sobel.floats, PIX_FLOAT, FrameOutput::straight);
}

int32_t I_Contour(int32_t imSrc, int32_t imDest, int32_t spacing, int32_t mark)
{
    if (spacing == 0)
        return 0;
    ContourParameter parameter = {spacing, mark};
    return runFrame(imSrc, imDest, 3, 3, &parameter, contourFilter().bytes, PIX_BYTE, FrameOutput::straight);
}

float I_Gradient(int32_t imSrc, int32_t imDest, int32_t step, float threshold, uint32_t* histogram,
                 int32_t* count)
{
    float result = 0.0F;
    (void)gradient(imSrc, imDest, {step, threshold, histogram, nullptr, 0, false}, count, &result);
    return result;
}

float I_Gradient2(int32_t imSrc, int32_t imDest, int32_t step, float threshold, uint32_t* histogram,
                  int32_t* count, uint32_t* angles, int32_t angleCount)
{
    float result = 0.0F;
    (void)gradient(imSrc, imDest, {step, threshold, histogram, angles, angleCount, true}, count, &result);
    return result;
}

float I_PeakGradient(int32_t imSrc, int32_t imDest, int32_t step, float threshold, uint32_t* histogram,
                     int32_t* count)
{
    Buffer<int32_t> strengths(kDirections);
    if (malloctest(strengths.data(), "I_PeakGradient"))
        return 0.0F;
    float unused = 0.0F;
    auto* const angles = reinterpret_cast<uint32_t*>(strengths.data());
    const GradientRequest request = {step, threshold, histogram, angles, kDirections, true};
    const bool worked = gradient(imSrc, imDest, request, count, &unused);
    I_SmoothArrayLong(strengths.data(), kDirections, 3);
    // Of equal ones the last.
    int32_t top = 0;
    for (int32_t i = 1; i < kDirections; ++i)
        if (strengths[i] >= strengths[top])
            top = i;
    const auto strength = [&](int32_t i) {
        return static_cast<double>(strengths[(i + kDirections) % kDirections]);
    };
    double position = 0.0;
    I_ParabolicPeak(strength(top - 1), strength(top), strength(top + 1), &position, nullptr);
    I_ShowError("I_PeakGradient: 2");
    const auto bin = static_cast<float>(top - 1 + position);
    return worked ? angleFromBin(bin, kDirections) : 0.0F;
}
