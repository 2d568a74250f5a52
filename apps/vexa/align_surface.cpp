#include "align_surface.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "vexalib/correlation.h"

namespace app
{
namespace
{

using Levels = std::array<uint8_t, 256>;

struct Brightness {
    double mean = 0.0, deviation = 0.0;
};

Brightness brightnessOf(const std::vector<Pixels>& parts)
{
    std::array<int64_t, 256> counts = {};
    for (const Pixels& part : parts)
        for (const uint8_t level : part.bytes)
            ++counts[level];
    double n = 0.0, sum = 0.0, squares = 0.0;
    for (int32_t level = 0; level < 256; ++level) {
        const auto count = static_cast<double>(counts[static_cast<std::size_t>(level)]);
        n += count;
        sum += count * level;
        squares += count * level * level;
    }
    n = std::max(n, 1.0);
    return {sum / n, std::sqrt(std::max(squares / n - sum / n * sum / n, 0.0))};
}

Levels matchingLevels(const Brightness& from, const Brightness& to)
{
    constexpr double kLeastDeviation = 1.0;
    const double gain = from.deviation < kLeastDeviation || to.deviation < kLeastDeviation
                            ? 1.0
                            : to.deviation / from.deviation;
    Levels levels;
    for (int32_t level = 0; level < 256; ++level)
        levels[static_cast<std::size_t>(level)] =
            static_cast<uint8_t>(std::lround(std::clamp(to.mean + (level - from.mean) * gain, 0.0, 255.0)));
    return levels;
}

class Surface
{
public:
    explicit Surface(const ShiftRange& range)
        : range_(range), scores_(std::size_t(range.cols()) * std::size_t(range.rows()))
    {
    }

    // The scores of one box, weighted by its contrast.
    void add(Pixels& pattern, const Pixels& area)
    {
        std::vector<float> scores(scores_.size());
        Corr2D(pattern.bytes.data(), pattern.cols, pattern.cols, pattern.rows, area.bytes.data(), area.cols,
               scores.data(), range_.cols(), range_.rows(), nullptr);
        const double weight = contrastSum(pattern);
        for (std::size_t i = 0; i < scores.size(); ++i)
            scores_[i] += weight * static_cast<double>(scores[i]);
        weights_ += weight;
    }

    std::vector<SurfacePeak> peaks() const
    {
        std::vector<SurfacePeak> found;
        for (int32_t dy = range_.top; dy <= range_.bottom; ++dy)
            for (int32_t dx = range_.left; dx <= range_.right; ++dx)
                if (isPeak(dx, dy))
                    found.push_back({dx, dy, interpolated(dx, dy) / std::max(weights_, 1.0)});
        std::sort(found.begin(), found.end(),
                  [](const SurfacePeak& a, const SurfacePeak& b) { return a.score > b.score; });
        return found;
    }

private:
    static double contrastSum(const Pixels& pattern)
    {
        double sum = 0.0, distance = 0.0;
        for (const uint8_t level : pattern.bytes)
            sum += level;
        const double mean = sum / static_cast<double>(pattern.bytes.size());
        for (const uint8_t level : pattern.bytes)
            distance += std::fabs(level - mean);
        return distance;
    }

    double at(int32_t dx, int32_t dy) const
    {
        const int32_t x = std::clamp(dx, range_.left, range_.right) - range_.left;
        const int32_t y = std::clamp(dy, range_.top, range_.bottom) - range_.top;
        return scores_[std::size_t(y) * std::size_t(range_.cols()) + std::size_t(x)];
    }

    // Beyond the border the surface goes on as it ends; of equal neighbours the first one counts.
    bool isPeak(int32_t dx, int32_t dy) const
    {
        const double here = at(dx, dy);
        for (int32_t j = -1; j <= 1; ++j)
            for (int32_t i = -1; i <= 1; ++i) {
                const bool isBefore = j < 0 || (j == 0 && i < 0);
                const bool isInside = dx + i >= range_.left && dx + i <= range_.right &&
                                      dy + j >= range_.top && dy + j <= range_.bottom;
                if (isInside && (i != 0 || j != 0) &&
                    (isBefore ? at(dx + i, dy + j) >= here : at(dx + i, dy + j) > here))
                    return false;
            }
        return true;
    }

    // The tip of the cone: differences grow in proportion to the shift on both sides.
    double interpolated(int32_t dx, int32_t dy) const
    {
        const double here = at(dx, dy);
        const double x = std::fabs(at(dx + 1, dy) - at(dx - 1, dy)) / 2.0;
        const double y = std::fabs(at(dx, dy + 1) - at(dx, dy - 1)) / 2.0;
        return here + x + y;
    }

    ShiftRange range_;
    std::vector<double> scores_;
    double weights_ = 0.0;
};

} // namespace

std::vector<SurfacePeak> findPeaks(const GreyRows& reference, const GreyRows& defect,
                                   const std::vector<VexaBox>& boxes, const ShiftRange& range)
{
    std::vector<Pixels> patterns, areas;
    for (const VexaBox& box : boxes) {
        patterns.push_back(cut(defect, box));
        areas.push_back(cut(reference, {box.left + range.left, box.top + range.top, box.right + range.right,
                                        box.bottom + range.bottom}));
    }
    const Levels levels = matchingLevels(brightnessOf(areas), brightnessOf(patterns));
    Surface surface(range);
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        for (uint8_t& level : areas[i].bytes)
            level = levels[level];
        surface.add(patterns[i], areas[i]);
    }
    return surface.peaks();
}

} // namespace app
