#include "synth.h"

#include <algorithm>
#include <array>
#include <bit>
#include <nlohmann/json.hpp>
#include <utility>

#include "failure.h"
#include "synth_pattern.h"

namespace app
{
namespace
{

constexpr int32_t kClear = 196; // grey levels
constexpr int32_t kOpaque = 48;
constexpr int32_t kShading = 6; // from the top left to the bottom right corner
constexpr int32_t kApart = 44;  // pixels between two defects
constexpr int32_t kFrame = 10;  // pixels at the border without a defect

constexpr std::array kKinds = {"pin dot", "pin hole", "extension",    "intrusion",
                               "bridge",  "break",    "width change", "contact size"};

// The blur of the optics: binomial weights, with a standard deviation of 1.4 pixels.
constexpr std::array<int64_t, 9> kBlur = {1, 8, 28, 56, 70, 56, 28, 8, 1};
constexpr int64_t kBlurSum = 256;

// 1 where the plate is opaque, in quarters of a pixel, with a clear frame of one pixel.
class Raster
{
public:
    explicit Raster(int32_t size)
        : side_(size * kFine), stride_(side_ + 2 * kFine), cells_(std::size_t(stride_) * std::size_t(stride_))
    {
    }

    void paint(const Shape& shape)
    {
        for (int32_t y = std::max(0, shape.top); y < std::min(side_, shape.bottom); ++y)
            for (int32_t x = std::max(0, shape.left); x < std::min(side_, shape.right); ++x)
                if (!shape.round || insideEllipse(shape, x, y))
                    cells_[at(x, y)] = shape.opaque;
    }

    // Opaque cells of a pixel, 0 to 16, with the plate moved by up to a pixel.
    int32_t coverage(int32_t pixelX, int32_t pixelY, int32_t moveX, int32_t moveY) const
    {
        int32_t sum = 0;
        for (int32_t y = 0; y < kFine; ++y) {
            const uint8_t* row = &cells_[at(pixelX * kFine - moveX, pixelY * kFine - moveY + y)];
            for (int32_t x = 0; x < kFine; ++x)
                sum += row[x];
        }
        return sum;
    }

private:
    // Cell centres against the ellipse in the rectangle, in doubled units.
    static bool insideEllipse(const Shape& shape, int32_t x, int32_t y)
    {
        const int64_t dx = 2 * int64_t{x} + 1 - shape.left - shape.right;
        const int64_t dy = 2 * int64_t{y} + 1 - shape.top - shape.bottom;
        const int64_t width = shape.right - shape.left;
        const int64_t height = shape.bottom - shape.top;
        return dx * dx * height * height + dy * dy * width * width <= width * width * height * height;
    }

    std::size_t at(int32_t x, int32_t y) const
    {
        return std::size_t(y + kFine) * std::size_t(stride_) + std::size_t(x + kFine);
    }

    int32_t side_;
    int32_t stride_;
    std::vector<uint8_t> cells_;
};

using Plane = std::vector<int64_t>;

// One direction of the blur; the border repeats.
Plane blurred(const Plane& plane, int32_t size, int32_t stepAlong, int32_t stepAcross)
{
    Plane result(plane.size());
    for (int32_t across = 0; across < size; ++across)
        for (int32_t along = 0; along < size; ++along) {
            int64_t sum = 0;
            for (int32_t k = 0; k < 9; ++k) {
                const int32_t at = std::clamp(along + k - 4, 0, size - 1);
                sum += kBlur[static_cast<std::size_t>(k)] *
                       plane[static_cast<std::size_t>(at * stepAlong + across * stepAcross)];
            }
            result[static_cast<std::size_t>(along * stepAlong + across * stepAcross)] = sum;
        }
    return result;
}

// What the camera sees of a plate: its transmission behind the optics, shading, and noise of 2.4 grey levels.
Pixels photograph(const Raster& raster, int32_t size, Random& random, int32_t moveX, int32_t moveY,
                  int32_t lamp)
{
    Plane plane(std::size_t(size) * std::size_t(size));
    for (int32_t y = 0; y < size; ++y)
        for (int32_t x = 0; x < size; ++x)
            plane[static_cast<std::size_t>(y * size + x)] = raster.coverage(x, y, moveX, moveY);
    plane = blurred(blurred(plane, size, 1, size), size, size, 1);
    constexpr int64_t kFull = kFine * kFine * kBlurSum * kBlurSum;
    Pixels pixels(size, size, 1);
    for (int32_t y = 0; y < size; ++y)
        for (int32_t x = 0; x < size; ++x) {
            const int64_t opaque = plane[static_cast<std::size_t>(y * size + x)];
            const int64_t light =
                kClear - (kClear - kOpaque) * opaque / kFull - kShading * (x + y) / (2 * size);
            const int32_t noise = std::popcount(random.next() & 0xFFFFFFU) - 12;
            pixels.row(y)[x] = static_cast<uint8_t>(std::clamp<int64_t>(light + lamp + noise, 0, 255));
        }
    return pixels;
}

VexaBox boxOf(const Site& site)
{
    VexaBox box = {INT32_MAX, INT32_MAX, 0, 0};
    for (const Shape& shape : site.paint) {
        box.left = std::min(box.left, shape.left / kFine);
        box.top = std::min(box.top, shape.top / kFine);
        box.right = std::max(box.right, (shape.right - 1) / kFine);
        box.bottom = std::max(box.bottom, (shape.bottom - 1) / kFine);
    }
    return box;
}

bool isFree(const VexaBox& box, const std::vector<Planted>& planted, int32_t size)
{
    if (box.left < kFrame || box.top < kFrame || box.right >= size - kFrame || box.bottom >= size - kFrame)
        return false;
    return std::none_of(planted.begin(), planted.end(), [&box](const Planted& other) {
        return box.left - other.box.right < kApart && other.box.left - box.right < kApart &&
               box.top - other.box.bottom < kApart && other.box.top - box.bottom < kApart;
    });
}

void shuffle(std::vector<Site>& sites, Random& random)
{
    for (std::size_t i = sites.size(); i > 1; --i)
        std::swap(sites[i - 1],
                  sites[static_cast<std::size_t>(random.between(0, static_cast<int32_t>(i) - 1))]);
}

// One kind after the other, until there are enough or a whole round finds no free place.
std::vector<Planted> plant(Raster& raster, Pattern& pattern, Random& random, int32_t size, int32_t defects)
{
    shuffle(pattern.sites, random);
    std::vector<Planted> planted;
    std::size_t failures = 0;
    for (std::size_t turn = 0; planted.size() < static_cast<std::size_t>(defects) && failures < kKinds.size();
         ++turn) {
        const std::string kind = kKinds[turn % kKinds.size()];
        const auto site =
            std::find_if(pattern.sites.begin(), pattern.sites.end(), [&](const Site& candidate) {
                return candidate.kind == kind && isFree(boxOf(candidate), planted, size);
            });
        if (site == pattern.sites.end()) {
            ++failures;
            continue;
        }
        failures = 0;
        planted.push_back({kind, boxOf(*site), site->size});
        for (const Shape& shape : site->paint)
            raster.paint(shape);
    }
    return planted;
}

} // namespace

Plate makePlate(uint64_t seed, int32_t size, int32_t defects)
{
    Random random(seed);
    Pattern pattern = makePattern(random, size);
    Raster raster(size);
    for (const Shape& shape : pattern.shapes)
        raster.paint(shape);
    Plate plate;
    plate.reference = photograph(raster, size, random, 0, 0, 0);
    plate.planted = plant(raster, pattern, random, size, defects);
    // The stage does not come back to quite the same place, nor the lamp to the same light.
    const int32_t moveX = random.between(-2, 2);
    const int32_t moveY = random.between(-2, 2);
    plate.shiftX = static_cast<double>(moveX) / kFine;
    plate.shiftY = static_cast<double>(moveY) / kFine;
    plate.defect = photograph(raster, size, random, moveX, moveY, random.between(-2, 2));
    return plate;
}

std::string truthJson(const Plate& plate, uint64_t seed)
{
    using Json = nlohmann::ordered_json;
    Json defects = Json::array();
    for (const Planted& planted : plate.planted)
        defects.push_back({{"kind", planted.kind},
                           {"box",
                            {{"left", planted.box.left},
                             {"top", planted.box.top},
                             {"right", planted.box.right},
                             {"bottom", planted.box.bottom}}},
                           {"size", planted.size}});
    const Json document = {{"format", "vexa-synth"},
                           {"version", 1},
                           {"seed", seed},
                           {"width", plate.reference.cols},
                           {"height", plate.reference.rows},
                           {"shift", {{"x", plate.shiftX}, {"y", plate.shiftY}}},
                           {"defects", defects}};
    return document.dump(2) + "\n";
}

} // namespace app
