#include "plate/edge_spread.h"

#include <algorithm>
#include <cmath>

namespace plate
{
namespace
{

constexpr double kDeviations = 4.5; // where the Gaussian is cut

// A Gaussian at distances 0 to count units. Each value is the last one times a factor that itself falls by a constant
// factor; both begin with the exponential of a number so small that four terms of its series are exact.
std::vector<double> gaussian(double sigma, int32_t count)
{
    const double x = -0.5 / (sigma * kUnit * sigma * kUnit);
    double factor = 1.0 + x * (1.0 + x / 2.0 * (1.0 + x / 3.0));
    const double fall = factor * factor;
    std::vector<double> values = {1.0};
    while (static_cast<int32_t>(values.size()) <= count) {
        values.push_back(values.back() * factor);
        factor *= fall;
    }
    return values;
}

// Sums of the trapezoids below a curve; the first is 0.
std::vector<double> integral(const std::vector<double>& curve)
{
    std::vector<double> sums(curve.size());
    for (std::size_t i = 1; i < curve.size(); ++i)
        sums[i] = sums[i - 1] + 0.5 * (curve[i - 1] + curve[i]);
    return sums;
}

int32_t dividedUp(int32_t value, int32_t divisor)
{
    return value > 0 ? (value - 1) / divisor + 1 : -(-value / divisor);
}

} // namespace

EdgeSpread::EdgeSpread(double sigma, int32_t step) : step_(step)
{
    const auto cut = static_cast<int32_t>(std::ceil(kDeviations * sigma * kUnit));
    reach_ = dividedUp(cut + kUnit / 2, step) * step;
    length_ = 2 * reach_ / step;
    // The density from -reach - half a pixel to reach + half a pixel, its integral, and the integral of that.
    const int32_t half = reach_ + kUnit / 2;
    const std::vector<double> bell = gaussian(sigma, cut);
    std::vector<double> density(static_cast<std::size_t>(2 * half + 1));
    for (int32_t i = -cut; i <= cut; ++i)
        density[static_cast<std::size_t>(half + i)] = bell[static_cast<std::size_t>(std::abs(i))];
    const std::vector<double> edge = integral(density);
    const std::vector<double> mean = integral(edge);
    const double whole = edge.back() * kUnit;
    table_.resize(static_cast<std::size_t>(2 * reach_));
    for (int32_t i = 0; i < 2 * reach_; ++i) {
        const auto low = static_cast<std::size_t>(i);
        const double share = (mean[low + kUnit] - mean[low]) / whole;
        table_[static_cast<std::size_t>(i % step * length_ + i / step)] = static_cast<float>(share);
    }
}

EdgeSpread::Edge EdgeSpread::edge(int32_t at, const Places& places) const
{
    const int32_t first = dividedUp(at - reach_ - places.first, step_);
    const int32_t phase = places.first + first * step_ - (at - reach_);
    return {first, &table_[static_cast<std::size_t>(phase * length_)]};
}

void EdgeSpread::add(const Stretch& stretch, const Places& places, float* shares) const
{
    const Edge rise = edge(stretch.left, places);
    const Edge fall = edge(stretch.right, places);
    const auto inside = [&](int32_t i) { return std::clamp(i, 0, places.count); };
    for (int32_t i = inside(rise.first); i < inside(rise.first + length_); ++i)
        shares[i] += rise.shares[i - rise.first];
    for (int32_t i = inside(rise.first + length_); i < inside(fall.first + length_); ++i)
        shares[i] += 1.0F;
    for (int32_t i = inside(fall.first); i < inside(fall.first + length_); ++i)
        shares[i] -= fall.shares[i - fall.first];
}

} // namespace plate
