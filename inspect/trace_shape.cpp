#include "inspect/trace_shape.h"

#include <algorithm>
#include <cmath>

#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// The direction from b to a.
double angleOf(VexaPointF a, VexaPointF b)
{
    return std::atan2(static_cast<double>(a.y - b.y), static_cast<double>(a.x - b.x));
}

// Between two directions.
double turnBetween(double a, double b)
{
    const double turn = std::fabs(a - b);
    return turn > kPi ? std::fabs(2.0 * kPi - turn) : turn;
}

double wholeCircle(double angle)
{
    return angle < 0.0 ? angle + 2.0 * kPi : angle;
}

} // namespace

double distance(VexaPointF a, VexaPointF b)
{
    return std::hypot(static_cast<double>(a.x) - static_cast<double>(b.x),
                      static_cast<double>(a.y) - static_cast<double>(b.y));
}

Buffer<VexaPointF> circlePoints(double x, double y, double radius, double spacing)
{
    const int32_t n = truncToInt32(std::ceil(radius * (2.0 * kPi) / std::max(spacing, 0.1)));
    if (n < 1)
        return {};
    Buffer<VexaPointF> points(int64_t{n} + 1);
    if (malloctest(points.data(), "I_EdgeShape"))
        return {};
    const auto step = static_cast<float>(2.0 * kPi / n);
    float angle = 0.0F;
    for (int32_t i = 0; i < n; ++i) {
        const auto a = static_cast<double>(angle);
        // Required: only x is cut to a whole number.
        points[i] = {static_cast<float>(truncToInt32(std::sin(a) * radius + x)),
                     static_cast<float>(std::cos(a) * radius + y)};
        angle += step;
    }
    points[n] = points[0];
    return points;
}

float sharpestTurn(const VexaPointF* points, int32_t n)
{
    float sharpest = 0.0F;
    for (int32_t i = 1; i < n - 2; ++i) {
        const auto before = static_cast<float>(angleOf(points[i - 1], points[i]));
        const auto behind = static_cast<float>(angleOf(points[i], points[i + 1]));
        const auto turn =
            static_cast<float>(turnBetween(static_cast<double>(before), static_cast<double>(behind)));
        sharpest = turn > sharpest ? turn : sharpest;
    }
    return sharpest;
}

double traceDirection(const VexaPointF* points, int32_t n, int32_t from, bool backward)
{
    constexpr double kStraight = 8.0 / kDegrees;
    if (n < 4)
        return 0.0;
    const int32_t step = backward ? -1 : 1;
    const int32_t end = backward ? 0 : n - 1;
    double previousTurn = kPi;
    double onward = 0.0;
    int32_t k = from + step;
    k = k < 1 ? 1 : std::min(k, n - 2);
    for (bool first = true; k != end; first = false, k += step) {
        const double turned = backward ? kPi : 0.0;
        const double before = angleOf(points[k - step], points[k]) - turned;
        const double behind = angleOf(points[k], points[k + step]) - turned;
        const double turn = turnBetween(before, behind);
        onward = wholeCircle(behind);
        if (!first && turn < kStraight && previousTurn < kStraight && previousTurn < turn)
            return wholeCircle(before);
        previousTurn = turn;
    }
    return onward;
}

} // namespace vexa
