#include "vexalib/threshold.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/display_state.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/statistics.h"

namespace vexa
{
namespace
{

constexpr float kMostGain = 85.0F; // keeps a nearly flat image from being blown up to noise

struct State {
    double minimum = 0.0; // of the last normalisation
    double maximum = 0.0;
    double mean = 0.0;
    double deviation = 0.0;
};
State state;

struct Mapping {
    double gain = 1.0;
    double target = 0.0; // what the minimum becomes
};

// The mapping of the last normalisation's range to low and high; a limit of 0 or below is none.
Mapping chooseMapping(double low, double high, double maxGain)
{
    const double range = state.maximum - state.minimum;
    if (std::abs(range) <= 0.0001)
        return {1.0, (low + high) * 0.5};
    double gain = (high - low) / range;
    if (maxGain > 0.0 && gain > maxGain)
        gain = maxGain;
    return {gain == 0.0 ? 1.0 : gain, low};
}

// A bare array of rows whose pixels outside a rectangle are replaced by its edge.
struct BorderedArray {
    uint8_t* pixels;
    int64_t bytes; // per pixel
    int64_t stride;
    int64_t cols;
    int64_t rows;

    uint8_t* row(int64_t y) const { return pixels + y * stride; }

    bool holds(const VexaBox& inner) const
    {
        return inner.top < rows && inner.bottom > std::max(inner.top, 0) && inner.left < cols &&
               inner.right > std::max(inner.left, 0);
    }
    void copyRow(int64_t from, int64_t to) const
    {
        std::memmove(row(to), row(from), static_cast<std::size_t>(cols * bytes));
    }
    // Fills columns first to last of all rows with the column at from.
    void spreadColumn(int64_t from, int64_t first, int64_t last) const
    {
        for (int64_t y = 0; y < rows; ++y) {
            const uint8_t* source = row(y) + from * bytes;
            for (int64_t x = first; x <= last; ++x)
                std::memcpy(row(y) + x * bytes, source, static_cast<std::size_t>(bytes));
        }
    }
};

int32_t copyBorder(const BorderedArray& array, const VexaBox& inner)
{
    if (array.cols < 1 || array.rows < 1 || !array.holds(inner))
        return 0;
    for (int64_t y = int64_t{inner.top} - 1; y >= 0; --y)
        array.copyRow(inner.top, y);
    for (int64_t y = int64_t{inner.bottom} + 1; y < array.rows; ++y)
        array.copyRow(inner.bottom, y);
    if (inner.left > 0)
        array.spreadColumn(inner.left, 0, int64_t{inner.left} - 1);
    if (inner.right < array.cols - 1)
        array.spreadColumn(inner.right, int64_t{inner.right} + 1, array.cols - 1);
    return 1;
}

} // namespace
} // namespace vexa

int32_t I_Threshold(int32_t imSrc, int32_t imDest, float low, float high)
{
    uint8_t table[256];
    I_DualThreshLUT(Rnd(low), Rnd(high), table);
    return I_LUTMapROI(imSrc, imDest, table);
}

int32_t I_GammaMap(int32_t imSrc, int32_t imDest, float gamma)
{
    uint8_t table[256];
    I_MakeGammaLUT(table, gamma);
    return I_LUTMapROI(imSrc, imDest, table);
}

int32_t I_NormalizeRange(int32_t imSrc, int32_t imDest, float low, float high, float maxGain,
                         int32_t wholeImage)
{
    using vexa::state;
    if (imSrc == 0 || imDest == 0)
        return 0;
    const int32_t result =
        I_ComputePixelStats(1, nullptr, &state.mean, &state.deviation, &state.minimum, &state.maximum, imSrc);
    I_PushROI();
    const vexa::Guard restoreRoi([] { I_PopROI(); });
    if (result == 0) // nothing was measured, so no mapping follows from it
        return 0;
    if (wholeImage != 0)
        I_SetROIType(0);
    const double limit = I_ImIsFloat(imSrc, nullptr) ? 0.0 : static_cast<double>(maxGain);
    const vexa::Mapping mapping = vexa::chooseMapping(low, high, limit);
    I_ScaleIntensityROI(imSrc, imDest, mapping.target / mapping.gain - state.minimum, mapping.gain);
    return result;
}

int32_t I_NormalizeROIEx(int32_t imSrc, int32_t imDest, int32_t wholeImage)
{
    const float top = I_GetColorMode() != 0 ? static_cast<float>(vexa::kHighestUnderColors)
                                            : static_cast<float>(vexa::kHighestOfAll);
    return I_NormalizeRange(imSrc, imDest, 0.0F, top, vexa::kMostGain, wholeImage);
}

int32_t I_NormalizeROI(int32_t imSrc, int32_t imDest)
{
    return I_NormalizeROIEx(imSrc, imDest, 0);
}

int32_t I_NormalizeLimited(int32_t imSrc, int32_t imDest, float maxGain)
{
    uint32_t histogram[256] = {};
    I_CalcHist(histogram, imSrc);
    int32_t low = 0;
    int32_t high = 0;
    HistogramMinMax(&low, &high, histogram);
    if (maxGain > 0.0F) {
        const int64_t width = vexa::truncToInt32(255.0 / static_cast<double>(maxGain));
        if (high - low < width) {
            low = vexa::saturateToInt32(std::max<int64_t>(low - (width - (high - low)) / 2, 0));
            high = vexa::saturateToInt32(low + width);
        }
    }
    uint8_t table[256];
    I_StretchLUT(low, high, table);
    I_LUTMapROI(imSrc, imDest, table);
    return high - low;
}

float I_GetNormalizeRange(float* minimum, float* maximum, float* mean, float* deviation)
{
    using vexa::state;
    if (minimum)
        *minimum = static_cast<float>(state.minimum);
    if (maximum)
        *maximum = static_cast<float>(state.maximum);
    if (mean)
        *mean = static_cast<float>(state.mean);
    if (deviation)
        *deviation = static_cast<float>(state.deviation);
    return static_cast<float>(state.maximum - state.minimum);
}

int32_t I_CopyBorder(void* pixels, int32_t bytes, int32_t stride, int32_t rows, int32_t left, int32_t top,
                     int32_t right, int32_t bottom)
{
    if (!pixels)
        return 0;
    bytes = std::max(bytes, 1);
    return vexa::copyBorder({static_cast<uint8_t*>(pixels), bytes, stride, stride / bytes, rows},
                            {left, top, right, bottom});
}

int32_t I_ImCopyBorder(int32_t im, int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    int32_t stride = 0;
    if (!I_ImGetSize(&cols, &rows, &bytes, im))
        return 0;
    auto* pixels = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    if (!pixels)
        return 0;
    if (right < 1)
        right = vexa::wrapAdd(right, cols - 1);
    if (bottom < 1)
        bottom = vexa::wrapAdd(bottom, rows - 1);
    // The image's own columns, not those of its stride: what follows them may be another image's pixels.
    return vexa::copyBorder({pixels, bytes, stride, cols, rows}, {left, top, right, bottom});
}
