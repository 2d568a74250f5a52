// The pixels of a line, one per step along its longer axis; the other coordinate is in fixed point.
#ifndef VEXA_SUPPORT_LINE_STEPS_H
#define VEXA_SUPPORT_LINE_STEPS_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "support/numbers.h"

namespace vexa
{

// Step k of count() is the pixel (x(k), y(k)); both ends are steps. Each step costs a multiplication and can
// be had without the ones before it. Ends outside the range of int32_t count as the nearest number in it.
class LineSteps
{
public:
    static constexpr int32_t kFractionBits = 11;

    LineSteps(double x0, double y0, double x1, double y1)
    {
        x0 = bounded(x0), y0 = bounded(y0), x1 = bounded(x1), y1 = bounded(y1);
        const double dx = x1 - x0;
        const double dy = y1 - y0;
        alongX_ = std::fabs(dx) >= std::fabs(dy);
        const double from = alongX_ ? x0 : y0;
        const double length = std::fabs(alongX_ ? dx : dy);
        start_ = static_cast<int64_t>(from);
        // The nearest pixel, so that an end at an integer is a step on either side of zero.
        const auto last = static_cast<int64_t>(std::floor((alongX_ ? x1 : y1) + 0.5));
        direction_ = last < start_ || (last == start_ && (alongX_ ? dx : dy) < 0.0) ? -1 : 1;
        count_ = (last - start_) * direction_ + 1;
        minor_ = static_cast<int64_t>((alongX_ ? y0 : x0) * kOne) + kOne / 2;
        slope_ = length > 0.0 ? static_cast<int64_t>((alongX_ ? dy : dx) * kOne / length) : 0;
    }

    int64_t count() const { return count_; }
    bool alongX() const { return alongX_; }
    int64_t major(int64_t k) const { return start_ + k * direction_; }
    // The other coordinate with its fraction.
    int64_t minorFixed(int64_t k) const { return minor_ + k * slope_; }
    int64_t minor(int64_t k) const { return minorFixed(k) >> kFractionBits; }
    int64_t x(int64_t k) const { return alongX_ ? major(k) : minor(k); }
    int64_t y(int64_t k) const { return alongX_ ? minor(k) : major(k); }

    // Steps from first up to but not including last.
    struct Range {
        int64_t first;
        int64_t last;
    };

    // The steps whose y lies from low to high, both inclusive.
    Range stepsWithinRows(int64_t low, int64_t high) const
    {
        if (y(0) <= y(count_ - 1))
            return {firstStep([&](int64_t k) { return y(k) >= low; }),
                    firstStep([&](int64_t k) { return y(k) > high; })};
        return {firstStep([&](int64_t k) { return y(k) <= high; }),
                firstStep([&](int64_t k) { return y(k) < low; })};
    }

    // The last step on the row of step k.
    int64_t lastStepOnRow(int64_t k) const
    {
        const int64_t row = y(k);
        return firstStep([&](int64_t step) { return step > k && y(step) != row; }) - 1;
    }

private:
    static constexpr int64_t kOne = int64_t{1} << kFractionBits;

    static double bounded(double v) { return v >= -2147483648.0 ? std::min(v, 2147483647.0) : -2147483648.0; }

    // The first step from which on the condition holds, count() if there is none.
    template <typename Condition>
    int64_t firstStep(Condition holds) const
    {
        int64_t low = 0;
        int64_t high = count_;
        while (low < high) {
            const int64_t middle = low + (high - low) / 2;
            if (holds(middle))
                high = middle;
            else
                low = middle + 1;
        }
        return low;
    }

    bool alongX_;
    int64_t start_;
    int64_t direction_;
    int64_t count_;
    int64_t minor_;
    int64_t slope_;
};

} // namespace vexa

#endif
