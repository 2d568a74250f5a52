#include "align/window_stats.h"

#include <cmath>

#include "align/correlation_rows.h"
#include "vexalib/numeric.h"

namespace vexa
{

void WindowStats::measure(const uint8_t* window, int32_t stride, int32_t width, int32_t height,
                          WindowMoments& moments)
{
    constexpr int32_t kLongestRow = 32767; // squares of a longer one pass 32 bits
    const bool isOneRow = height <= 1;
    if (isOneRow && width >= kLongestRow) {
        height = static_cast<int32_t>(std::sqrt(static_cast<double>(width)));
        width /= height;
        stride = width;
    }
    if (width < 1) {
        last_ = nullptr;
        return;
    }
    if (!isOneRow && last_ && window == last_ + 1)
        slide(window, stride, width, height);
    else
        addRows(window, stride, width, height);
    last_ = window;
    meanstdv(static_cast<double>(width) * height, sum_, squares_, &moments.mean, &moments.deviation);
}

void WindowStats::addRows(const uint8_t* window, int32_t stride, int32_t width, int32_t height)
{
    const CorrelationRows& rows = correlationRows();
    sum_ = squares_ = 0.0F;
    for (int32_t y = 0; y < height; ++y) {
        const RowSums sums = rows.sums(window + int64_t{y} * stride, width);
        sum_ += static_cast<float>(sums.sum);
        squares_ += static_cast<float>(sums.squares);
    }
}

void WindowStats::slide(const uint8_t* window, int32_t stride, int32_t width, int32_t height)
{
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = window + int64_t{y} * stride;
        const int32_t in = row[width - 1];
        const int32_t out = row[-1];
        sum_ += static_cast<float>(in - out);
        squares_ += static_cast<float>(in * in - out * out);
    }
}

} // namespace vexa
