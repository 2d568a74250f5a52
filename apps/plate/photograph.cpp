#include "plate/photograph.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "plate/edge_spread.h"

namespace plate
{
namespace
{

constexpr int32_t kStrip = 64; // rows that are worked out together

// Opaque shares of the light at the places of a grid, row by row.
struct Grid {
    Places x, y;
    std::vector<float> shares;

    Grid(const Places& xs, const Places& ys)
        : x(xs), y(ys), shares(static_cast<std::size_t>(xs.count) * static_cast<std::size_t>(ys.count))
    {
    }
    float* row(int32_t i) { return &shares[static_cast<std::size_t>(i) * static_cast<std::size_t>(x.count)]; }
    const float* row(int32_t i) const
    {
        return &shares[static_cast<std::size_t>(i) * static_cast<std::size_t>(x.count)];
    }
};

// The y at which a horizontal line may begin to cross the shapes in another way; ellipses are stacks of flat boxes.
std::vector<int32_t> levels(const std::vector<Shape>& shapes)
{
    constexpr int32_t kFlat = kUnit / 16;
    std::vector<int32_t> ys;
    for (const Shape& shape : shapes) {
        ys.push_back(shape.top);
        ys.push_back(shape.bottom);
        if (shape.round)
            for (int32_t y = shape.top + kFlat; y < shape.bottom; y += kFlat)
                ys.push_back(y);
    }
    std::sort(ys.begin(), ys.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    return ys;
}

// Where a shape is crossed by the band between two levels.
Stretch crossed(const Shape& shape, int32_t top, int32_t bottom)
{
    if (!shape.round)
        return {shape.left, shape.right};
    const double height = shape.bottom - shape.top;
    const double off = (static_cast<double>(top) + bottom - shape.top - shape.bottom) / height;
    const double half = 0.5 * (shape.right - shape.left) * std::sqrt(std::max(0.0, 1.0 - off * off));
    const double middle = 0.5 * (static_cast<double>(shape.left) + shape.right);
    return {static_cast<int32_t>(std::floor(middle - half + 0.5)),
            static_cast<int32_t>(std::floor(middle + half + 0.5))};
}

std::vector<Stretch> opaqueStretches(const std::vector<Shape>& shapes, int32_t top, int32_t bottom)
{
    std::vector<Stretch> line;
    for (const Shape& shape : shapes)
        if (shape.top <= top && shape.bottom >= bottom) {
            const Stretch stretch = crossed(shape, top, bottom);
            if (stretch.left < stretch.right)
                paint(line, stretch, shape.opaque);
        }
    return line;
}

// Between two levels the plate is the same at every y, so what a place sees of it is the product of what a column and
// what a row sees: no more is needed to add up the exact integral over the plate.
Grid exposed(const std::vector<Shape>& shapes, const EdgeSpread& spread, const Places& x, const Places& y)
{
    Grid grid(x, y);
    const int32_t top = y.first - spread.reach();
    const int32_t bottom = y.first + (y.count - 1) * y.step + spread.reach();
    std::vector<Shape> near;
    std::copy_if(shapes.begin(), shapes.end(), std::back_inserter(near),
                 [&](const Shape& shape) { return shape.top < bottom && shape.bottom > top; });
    const std::vector<int32_t> ys = levels(near);
    std::vector<float> columns(static_cast<std::size_t>(x.count));
    std::vector<float> rows(static_cast<std::size_t>(y.count));
    for (std::size_t i = 1; i < ys.size(); ++i) {
        if (ys[i] <= top || ys[i - 1] >= bottom)
            continue;
        const std::vector<Stretch> line = opaqueStretches(near, ys[i - 1], ys[i]);
        if (line.empty())
            continue;
        std::fill(columns.begin(), columns.end(), 0.0F);
        for (const Stretch& stretch : line)
            spread.add(stretch, x, columns.data());
        std::fill(rows.begin(), rows.end(), 0.0F);
        spread.add({ys[i - 1], ys[i]}, y, rows.data());
        for (int32_t r = 0; r < y.count; ++r) {
            const float share = rows[static_cast<std::size_t>(r)];
            if (share == 0.0F)
                continue;
            float* const out = grid.row(r);
            for (int32_t c = 0; c < x.count; ++c)
                out[c] += share * columns[static_cast<std::size_t>(c)];
        }
    }
    return grid;
}

// Sine and cosine of a small angle, by their series.
Place turned(double degrees)
{
    const double a = degrees * (3.14159265358979323846 / 180.0);
    const double q = a * a;
    return {1.0 - q / 2.0 * (1.0 - q / 12.0 * (1.0 - q / 30.0)),
            a * (1.0 - q / 6.0 * (1.0 - q / 20.0 * (1.0 - q / 42.0)))};
}

double bend(double t)
{
    static const double scale = 1.5 * std::sqrt(3.0);
    return scale * t * (1.0 - t * t);
}

bool isBent(const Camera& camera)
{
    return camera.rotation != 0.0 || camera.distortion != 0.0;
}

// Weights of six neighbours for a place between the third and the fourth (Lagrange), tabulated by the way between them.
class Interpolation
{
public:
    static constexpr int32_t kParts = 1024;
    static constexpr int32_t kBefore = 2; // neighbours before the nearest one on the left
    static constexpr int32_t kPoints = 6;

    Interpolation()
    {
        for (int32_t part = 0; part <= kParts; ++part) {
            const double t = static_cast<double>(part) / kParts;
            for (int32_t k = 0; k < kPoints; ++k) {
                double weight = 1.0;
                for (int32_t m = 0; m < kPoints; ++m)
                    if (m != k)
                        weight *= (t - (m - kBefore)) / (k - m);
                weights_[static_cast<std::size_t>(part * kPoints + k)] = static_cast<float>(weight);
            }
        }
    }

    // A place in steps of the grid.
    float at(const Grid& grid, double x, double y) const
    {
        const Axis h(x);
        const Axis v(y);
        const float* const wx = &weights_[static_cast<std::size_t>(h.part * kPoints)];
        const float* const wy = &weights_[static_cast<std::size_t>(v.part * kPoints)];
        float sum = 0.0F;
        for (int32_t j = 0; j < kPoints; ++j) {
            const float* const row = grid.row(v.first + j) + h.first;
            float line = 0.0F;
            for (int32_t i = 0; i < kPoints; ++i)
                line += wx[i] * row[i];
            sum += wy[j] * line;
        }
        return sum;
    }

private:
    struct Axis {
        int32_t first, part;
        explicit Axis(double place)
        {
            const double whole = std::floor(place);
            first = static_cast<int32_t>(whole) - kBefore;
            part = static_cast<int32_t>((place - whole) * kParts + 0.5);
        }
    };
    std::array<float, (kParts + 1) * kPoints> weights_;
};

// Rows of opaque shares, where the camera sees straight along the plate's axes.
Grid straightRows(const std::vector<Shape>& shapes, const EdgeSpread& spread, int32_t size, int32_t from,
                  int32_t count, const Camera& camera)
{
    const auto first = [](int32_t pixel, double shift) {
        return units(pixel) + kUnit / 2 + static_cast<int32_t>(std::floor(shift * kUnit + 0.5));
    };
    return exposed(shapes, spread, {first(0, camera.shiftX), kUnit, size},
                   {first(from, camera.shiftY), kUnit, count});
}

// The same with rotation and distortion: read from a finer grid between its places.
Grid bentRows(const std::vector<Shape>& shapes, const EdgeSpread& spread, int32_t step, int32_t size,
              int32_t from, int32_t count, const Camera& camera)
{
    static const Interpolation interpolation;
    const int32_t fine = kUnit / step;
    const double away = std::fabs(turned(camera.rotation).y) * size + std::fabs(camera.distortion);
    const auto margin = static_cast<int32_t>(std::ceil(away)) + 4;
    const auto places = [&](int32_t pixel, int32_t pixels, double shift) {
        const auto whole = static_cast<int32_t>(std::floor(shift));
        return Places{units(pixel + whole - margin), step, (pixels + 2 * margin) * fine};
    };
    const Grid grid =
        exposed(shapes, spread, places(0, size, camera.shiftX), places(from, count, camera.shiftY));
    const auto steps = [&](double pixels, const Places& axis) {
        return (pixels * kUnit - axis.first) / step;
    };
    Grid rows({0, kUnit, size}, {0, kUnit, count});
    for (int32_t y = 0; y < count; ++y)
        for (int32_t x = 0; x < size; ++x) {
            const Place place = seen({x + 0.5, from + y + 0.5}, size, camera);
            rows.row(y)[x] = interpolation.at(grid, steps(place.x, grid.x), steps(place.y, grid.y));
        }
    return rows;
}

} // namespace

Place seen(Place inPicture, int32_t size, const Camera& camera)
{
    const double middle = 0.5 * size;
    const double x = inPicture.x - middle;
    const double y = inPicture.y - middle;
    const Place turn = turned(camera.rotation);
    return {middle + turn.x * x - turn.y * y + snapped(camera.shiftX) + camera.distortion * bend(y / middle),
            middle + turn.y * x + turn.x * y + snapped(camera.shiftY) + camera.distortion * bend(x / middle)};
}

// The two differ little and slowly: a few corrections find the place.
Place shown(Place onPlate, int32_t size, const Camera& camera)
{
    Place place = onPlate;
    for (int32_t round = 0; round < 12; ++round) {
        const Place there = seen(place, size, camera);
        place = {place.x + onPlate.x - there.x, place.y + onPlate.y - there.y};
    }
    return place;
}

std::vector<float> light(const std::vector<Shape>& shapes, int32_t size, const Camera& camera)
{
    // A sharper picture needs a finer grid to be read between its places.
    const int32_t step = !isBent(camera) ? kUnit : camera.focus < 1.0 ? kUnit / 4 : kUnit / 2;
    const EdgeSpread spread(camera.focus, step);
    std::vector<float> levels(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
    const auto clear = static_cast<float>(camera.clear * camera.gain);
    const auto contrast = static_cast<float>((camera.clear - camera.opaque) * camera.gain);
    const auto fall = static_cast<float>(camera.gradient / camera.clear / (2.0 * size));
    for (int32_t from = 0; from < size; from += kStrip) {
        const int32_t count = std::min(kStrip, size - from);
        const Grid rows = isBent(camera) ? bentRows(shapes, spread, step, size, from, count, camera)
                                         : straightRows(shapes, spread, size, from, count, camera);
        for (int32_t y = 0; y < count; ++y) {
            float* const out = &levels[static_cast<std::size_t>(from + y) * static_cast<std::size_t>(size)];
            const float* const opaque = rows.row(y);
            for (int32_t x = 0; x < size; ++x) {
                const float lamp = 1.0F - fall * static_cast<float>(x + from + y + 1);
                out[x] = (clear - contrast * opaque[x]) * lamp + static_cast<float>(camera.offset);
            }
        }
    }
    return levels;
}

Picture photograph(const std::vector<Shape>& shapes, int32_t size, const Camera& camera)
{
    const std::vector<float> levels = light(shapes, size, camera);
    Picture picture{size, std::vector<uint8_t>(levels.size())};
    Random random(camera.noiseSeed);
    const double fixed = camera.noise * camera.noise;
    const double shot = camera.shotNoise * camera.shotNoise / camera.clear;
    const bool noisy = fixed > 0.0 || shot > 0.0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        double level = static_cast<double>(levels[i]);
        if (noisy)
            level += std::sqrt(fixed + shot * std::max(level, 0.0)) * random.bell();
        picture.bytes[i] = static_cast<uint8_t>(std::clamp(std::floor(level + 0.5), 0.0, 255.0));
    }
    return picture;
}

} // namespace plate
