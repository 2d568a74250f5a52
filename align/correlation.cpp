#include "vexalib/correlation.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "align/correlation_rows.h"
#include "align/correlation_settings.h"
#include "align/window_stats.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr double kFlat = 0.1; // least deviation of a window that can match

// What the scores of one pattern have in common.
struct Scoring {
    CorrelationPattern pattern;
    float absoluteSum = 0.0F; // of |p - mean|
    float divisor = 0.0F;
    int32_t signedSum = 0; // of the pattern's signed bytes
};

Scoring prepare(uint8_t* pixels, int32_t cols, int32_t rows, bool isLinear, WindowStats& stats)
{
    Scoring scoring{{pixels, cols, rows}};
    WindowMoments moments;
    stats.measure(pixels, cols, cols, rows, moments);
    const int32_t rounded = Rnd(static_cast<float>(moments.mean));
    const int64_t count = int64_t{std::max(cols, 0)} * std::max(rows, 0);
    for (int64_t i = 0; i < count; ++i) {
        scoring.absoluteSum += static_cast<float>(std::fabs(pixels[i] - moments.mean));
        if (isLinear)
            continue;
        // Required: the pattern itself is changed, again by every call that it is given to.
        pixels[i] = static_cast<uint8_t>(pixels[i] - rounded);
        scoring.signedSum = wrapAdd(scoring.signedSum, static_cast<int8_t>(pixels[i]));
    }
    scoring.divisor = isLinear ? scoring.absoluteSum
                               : static_cast<float>(static_cast<double>(cols) * rows * moments.deviation);
    return scoring;
}

float normalisedScore(const Scoring& scoring, const uint8_t* window, int32_t stride, WindowStats& stats)
{
    const CorrelationPattern& pattern = scoring.pattern;
    WindowMoments moments;
    stats.measure(window, stride, pattern.cols, pattern.rows, moments);
    if (moments.deviation < kFlat)
        return 0.0F / scoring.divisor;
    const int32_t products = correlationRows().product(pattern, window, stride);
    const int32_t mean = truncToInt32(moments.mean);
    const int32_t centred = wrapSubtract(products, wrapMultiply(mean, scoring.signedSum));
    return static_cast<float>(centred / moments.deviation) / scoring.divisor;
}

} // namespace

CorrelationSettings& correlationSettings()
{
    static CorrelationSettings settings;
    return settings;
}

} // namespace vexa

using namespace vexa;

int32_t I_SetLinearCorrelation(int32_t flag)
{
    return std::exchange(correlationSettings().linear, flag);
}

int32_t I_SetCorrelationMode2(int32_t value)
{
    return std::exchange(correlationSettings().mode2, value);
}

float I_SetMultiAlignParams(float minPeak, int32_t stopLevel, int32_t cacheEnable)
{
    correlationSettings().stopLevel = stopLevel;
    correlationSettings().cacheEnable = cacheEnable;
    return std::exchange(correlationSettings().minPeak, minPeak);
}

float I_GetAlignPos(float* x, float* y)
{
    if (x)
        *x = 0.0F;
    if (y)
        *y = 0.0F;
    return 0.0F;
}

double Corr2D(uint8_t* pattern, int32_t patStride, int32_t patCols, int32_t patRows, const uint8_t* image,
              int32_t imageStride, float* out, int32_t outCols, int32_t outRows, const char* progressText)
{
    if (patStride != patCols)
        vexa_dprintf("Cor2D: pstride=%d", patStride);
    const double pixels = static_cast<double>(patCols) * patRows;
    if (!pattern || patCols < 1 || patRows < 1)
        return pixels;
    const bool isLinear = correlationSettings().linear != 0;
    WindowStats stats;
    const Scoring scoring = prepare(pattern, patCols, patRows, isLinear, stats);
    if (!image || !out || outCols < 1 || outRows < 1)
        return pixels;
    Buffer<int32_t> differences(isLinear ? int64_t{outCols} * kScoreRows : 0);
    if (malloctest(differences.data(), "Corr2D"))
        return pixels;
    for (int32_t y = 0; y < outRows; ++y) {
        I_TellProgress(static_cast<float>(y), static_cast<float>(outRows), progressText);
        const uint8_t* windows = image + int64_t{y} * imageStride;
        float* scores = out + int64_t{y} * outCols;
        if (!isLinear) {
            for (int32_t x = 0; x < outCols; ++x)
                scores[x] = normalisedScore(scoring, windows + x, imageStride, stats);
            continue;
        }
        const int32_t inStep = y % kScoreRows;
        if (inStep == 0)
            correlationRows().differences(scoring.pattern, windows, imageStride, outCols,
                                          std::min(kScoreRows, outRows - y), differences.data());
        const int32_t* row = differences.data() + int64_t{inStep} * outCols;
        for (int32_t x = 0; x < outCols; ++x)
            scores[x] = static_cast<float>(double{scoring.absoluteSum} - row[x]) / scoring.divisor;
    }
    return pixels;
}
