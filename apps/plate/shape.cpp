#include "plate/shape.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace plate
{

double snapped(double pixels)
{
    return std::floor(pixels * kUnit + 0.5) / kUnit;
}

int32_t Random::between(int32_t low, int32_t high)
{
    return low + static_cast<int32_t>(next() % static_cast<uint64_t>(int64_t{high} - low + 1));
}

// A binomial number of 64 tosses, whose variance is 16, smoothed by a uniform one, whose variance is 1/12.
double Random::bell()
{
    static const double deviation = std::sqrt(16.0 + 1.0 / 12.0);
    const double tosses = std::popcount(next()) - 32;
    const double rest = static_cast<double>(next() >> 32U) / 4294967296.0 - 0.5;
    return (tosses + rest) / deviation;
}

void paint(std::vector<Stretch>& line, Stretch stretch, bool opaque)
{
    const auto first = std::lower_bound(line.begin(), line.end(), stretch.left,
                                        [](const Stretch& s, int32_t left) { return s.right < left; });
    const auto last = std::upper_bound(first, line.end(), stretch.right,
                                       [](int32_t right, const Stretch& s) { return right < s.left; });
    // What stands where all that the stretch touches stood.
    std::vector<Stretch> pieces;
    if (opaque) {
        if (first != last)
            stretch = {std::min(stretch.left, first->left), std::max(stretch.right, (last - 1)->right)};
        pieces.push_back(stretch);
    } else if (first != last) {
        if (first->left < stretch.left)
            pieces.push_back({first->left, stretch.left});
        if ((last - 1)->right > stretch.right)
            pieces.push_back({stretch.right, (last - 1)->right});
    }
    const auto at = line.erase(first, last);
    line.insert(at, pieces.begin(), pieces.end());
}

} // namespace plate
