// Made plates and their photographs, against what calculus says and against plain rasters.
#include <cmath>
#include <set>

#include <gmock/gmock.h>

#include "plate/plate.h"

using namespace plate;

namespace
{

constexpr double kPi = 3.14159265358979323846;

// A camera without noise: 200 on clear places, 10 on opaque ones.
Camera plainCamera(double shiftX = 0.0, double shiftY = 0.0)
{
    Camera camera;
    camera.shiftX = shiftX;
    camera.shiftY = shiftY;
    camera.clear = 200.0;
    camera.opaque = 10.0;
    return camera;
}

Shape pixelShape(double left, double top, double right, double bottom, bool opaque = true, bool round = false)
{
    const auto at = [](double pixels) { return static_cast<int32_t>(std::lround(pixels * kUnit)); };
    return {at(left), at(top), at(right), at(bottom), opaque, round};
}

// What a pixel sees of a place's right side, where an edge lies at that distance to the left of its middle.
double beyondEdge(double distance, double sigma)
{
    const auto integral = [sigma](double t) {
        const double cdf = 0.5 * std::erfc(-t / sigma / std::sqrt(2.0));
        return t * cdf + sigma * std::exp(-t * t / (2.0 * sigma * sigma)) / std::sqrt(2.0 * kPi);
    };
    return integral(distance + 0.5) - integral(distance - 0.5);
}

double at(const std::vector<float>& picture, int32_t size, int32_t x, int32_t y)
{
    return static_cast<double>(
        picture[static_cast<std::size_t>(y) * static_cast<std::size_t>(size) + static_cast<std::size_t>(x)]);
}

struct Mass {
    double sum = 0.0, x = 0.0, y = 0.0;
};
// Darkness and its centroid.
Mass massOf(const std::vector<float>& picture, int32_t size, double clear)
{
    Mass mass;
    for (int32_t y = 0; y < size; ++y)
        for (int32_t x = 0; x < size; ++x) {
            const double dark = clear - at(picture, size, x, y);
            mass.sum += dark;
            mass.x += dark * (x + 0.5);
            mass.y += dark * (y + 0.5);
        }
    mass.x /= mass.sum;
    mass.y /= mass.sum;
    return mass;
}

TEST(PlatePhotograph, AStraightEdgeIsSeenAsCalculusSays)
{
    constexpr int32_t kSize = 64;
    for (const double focus : {0.5, 1.0, 1.4, 3.0})
        for (const double shift : {0.0, 0.125, 3.3, -7.71, 11.999}) {
            Camera camera = plainCamera(shift);
            camera.focus = focus;
            const auto picture = light({pixelShape(30.25, -200, 300, 300)}, kSize, camera);
            const auto upright = light({pixelShape(-200, 30.25, 300, 300)}, kSize, [&] {
                Camera other = camera;
                std::swap(other.shiftX, other.shiftY);
                return other;
            }());
            for (int32_t x = 0; x < kSize; ++x) {
                const double place = x + 0.5 + snapped(shift);
                const double level = 200.0 - 190.0 * beyondEdge(place - 30.25, focus);
                // The bell is cut at 4.5 deviations: 0.003 grey levels.
                ASSERT_NEAR(level, at(picture, kSize, x, 20), 0.005) << focus << " " << shift << " " << x;
                ASSERT_NEAR(level, at(upright, kSize, 20, x), 0.005) << focus << " " << shift << " " << x;
            }
        }
}

TEST(PlatePhotograph, AnIsolatedSquareMovesByTheShift)
{
    constexpr int32_t kSize = 96;
    const std::vector<Shape> square = {pixelShape(40.5, 42.125, 52.25, 55.0)};
    for (const Place shift : {Place{0.0, 0.0}, {0.1, -0.9}, {12.0, -12.0}, {-3.333, 7.777}, {0.5, 0.25}}) {
        const auto picture = light(square, kSize, plainCamera(shift.x, shift.y));
        const Mass mass = massOf(picture, kSize, 200.0);
        EXPECT_NEAR(46.375 - shift.x, mass.x, 0.001);
        EXPECT_NEAR(48.5625 - shift.y, mass.y, 0.001);
        EXPECT_NEAR(190.0 * 11.75 * 12.875, mass.sum, 1.0);
    }
}

// The formula of the camera's place, written down again.
TEST(PlatePhotograph, RotationAndDistortionPutEdgesWhereTheFormulaSays)
{
    constexpr int32_t kSize = 200;
    const auto bend = [](double t) { return 1.5 * std::sqrt(3.0) * t * (1.0 - t * t); };
    for (const double focus : {0.7, 1.0, 2.0})
        for (const double degrees : {0.2, -0.13})
            for (const double distortion : {0.0, 0.6}) {
                Camera camera = plainCamera(2.25, -3.5);
                camera.focus = focus;
                camera.rotation = degrees;
                camera.distortion = distortion;
                const auto vertical = light({pixelShape(107.25, -300, 500, 500)}, kSize, camera);
                const auto horizontal = light({pixelShape(-300, 31.5, 500, 500)}, kSize, camera);
                const double a = degrees * kPi / 180.0;
                double worst = 0.0;
                for (int32_t y = 0; y < kSize; ++y)
                    for (int32_t x = 0; x < kSize; ++x) {
                        const double u = (x + 0.5 - 100.0) / 100.0;
                        const double v = (y + 0.5 - 100.0) / 100.0;
                        const double px =
                            100.0 * (1.0 + u * std::cos(a) - v * std::sin(a)) + 2.25 + distortion * bend(v);
                        const double py =
                            100.0 * (1.0 + u * std::sin(a) + v * std::cos(a)) - 3.5 + distortion * bend(u);
                        const double seenX = 200.0 - 190.0 * beyondEdge(px - 107.25, focus);
                        const double seenY = 200.0 - 190.0 * beyondEdge(py - 31.5, focus);
                        worst = std::max({worst, std::fabs(seenX - at(vertical, kSize, x, y)),
                                          std::fabs(seenY - at(horizontal, kSize, x, y))});
                    }
                // A pixel's width of edge is 190 * 0.4 / focus grey levels: this is 0.001 pixel.
                EXPECT_LT(worst, 0.076 / focus) << focus << " " << degrees << " " << distortion;
            }
}

TEST(PlatePhotograph, WithoutRotationBothWaysOfReadingAgree)
{
    PlateSettings settings;
    settings.pattern.size = 128;
    const Plate made = makePlate(settings);
    Camera camera = plainCamera(1.3, -0.4);
    const auto straight = light(made.withDefects(), 128, camera);
    camera.distortion = 1e-9;
    const auto bent = light(made.withDefects(), 128, camera);
    for (std::size_t i = 0; i < straight.size(); ++i)
        ASSERT_NEAR(straight[i], bent[i], 0.05F) << i;
}

TEST(PlatePhotograph, NewContentEntersAtTheBorder)
{
    for (const PatternKind kind : {PatternKind::fields, PatternKind::contacts, PatternKind::lines}) {
        PlateSettings settings;
        settings.pattern.kind = kind;
        settings.pattern.size = 128;
        settings.defects = 0;
        const std::vector<Shape> shapes = makePlate(settings).shapes;
        const auto small = light(shapes, 128, plainCamera(12.0, 9.0));
        const auto large = light(shapes, 160, plainCamera());
        std::set<float> entered;
        for (int32_t y = 0; y < 128; ++y)
            for (int32_t x = 0; x < 128; ++x) {
                ASSERT_NEAR(at(small, 128, x, y), at(large, 160, x + 12, y + 9), 0.001) << x << " " << y;
                if (x >= 116)
                    entered.insert(static_cast<float>(std::floor(at(small, 128, x, y))));
            }
        EXPECT_GT(entered.size(), 10U) << "the strip that came in shows edges";
        const auto before = light(shapes, 128, plainCamera(-40.0, -40.0));
        EXPECT_LT(*std::min_element(before.begin(), before.begin() + 30 * 128), 15.0F) << "pattern there too";
    }
}

TEST(PlatePhotograph, ShapesCoverEachOtherInTheirOrder)
{
    constexpr int32_t kSize = 64;
    Random random(5);
    std::vector<Shape> shapes;
    std::vector<double> plain(static_cast<std::size_t>(kSize * kSize));
    for (int32_t i = 0; i < 60; ++i) {
        const int32_t left = random.between(0, 50);
        const int32_t top = random.between(0, 50);
        const Shape shape = {left, top, left + random.between(1, 13), top + random.between(1, 13),
                             random.between(0, 2) > 0};
        for (int32_t y = shape.top; y < shape.bottom; ++y)
            for (int32_t x = shape.left; x < shape.right; ++x)
                plain[static_cast<std::size_t>(y * kSize + x)] = shape.opaque;
        shapes.push_back(
            {units(shape.left), units(shape.top), units(shape.right), units(shape.bottom), shape.opaque});
    }
    // The blur of whole pixels: a weight for each distance.
    const auto weight = [](int32_t distance) {
        return beyondEdge(distance + 0.5, 1.4) - beyondEdge(distance - 0.5, 1.4);
    };
    const auto picture = light(shapes, kSize, plainCamera());
    for (int32_t y = 10; y < kSize - 10; y += 3)
        for (int32_t x = 10; x < kSize - 10; ++x) {
            double opaque = 0.0;
            for (int32_t j = y - 9; j <= y + 9; ++j)
                for (int32_t i = x - 9; i <= x + 9; ++i)
                    opaque += weight(i - x) * weight(j - y) * plain[static_cast<std::size_t>(j * kSize + i)];
            ASSERT_NEAR(200.0 - 190.0 * opaque, at(picture, kSize, x, y), 0.01) << x << " " << y;
        }
}

TEST(PlatePhotograph, ADiscHasItsArea)
{
    for (const double diameter : {1.0, 3.7, 9.0}) {
        const double left = 20.3;
        const double top = 23.6;
        const auto picture = light({pixelShape(left, top, left + diameter, top + diameter, true, true)}, 64,
                                   plainCamera(0.25, 0.5));
        const Mass mass = massOf(picture, 64, 200.0);
        EXPECT_NEAR(190.0 * kPi * diameter * diameter / 4.0, mass.sum, 0.01 * mass.sum);
        EXPECT_NEAR(left + diameter / 2.0 - 0.25, mass.x, 0.002);
        EXPECT_NEAR(top + diameter / 2.0 - 0.5, mass.y, 0.002);
    }
}

TEST(PlatePhotograph, LampGainAndOffset)
{
    Camera camera = plainCamera();
    camera.gradient = 40.0;
    camera.gain = 1.1;
    camera.offset = -3.0;
    const auto clear = light({}, 100, camera);
    const auto opaque = light({pixelShape(-100, -100, 200, 200)}, 100, camera);
    for (const int32_t i : {0, 37, 99})
        for (const int32_t j : {0, 50, 99}) {
            const double lamp = 1.1 * (1.0 - 0.2 * (i + j + 1) / 200.0);
            EXPECT_NEAR(200.0 * lamp - 3.0, at(clear, 100, i, j), 0.001);
            EXPECT_NEAR(10.0 * lamp - 3.0, at(opaque, 100, i, j), 0.001);
        }
}

TEST(PlatePhotograph, NoiseHasItsDeviation)
{
    const auto measure = [](double opaqueTo, const Camera& camera) {
        const Picture picture = photograph({pixelShape(-100, -100, opaqueTo, 400)}, 256, camera);
        double sum = 0.0;
        double squares = 0.0;
        for (const uint8_t byte : picture.bytes) {
            sum += byte;
            squares += byte * byte;
        }
        const double n = 256.0 * 256.0;
        return std::pair(sum / n, std::sqrt(squares / n - sum / n * (sum / n)));
    };
    Camera camera = plainCamera();
    camera.clear = 144.0;
    camera.opaque = 100.0;
    camera.noise = 10.0;
    EXPECT_NEAR(144.0, measure(-50, camera).first, 0.2);
    EXPECT_NEAR(10.0, measure(-50, camera).second, 0.1);
    // Rounding adds a twelfth to the variance; of 100 grey levels the shot noise is 12 * sqrt(100 / 144).
    camera.noise = 0.0;
    camera.shotNoise = 12.0;
    EXPECT_NEAR(12.0, measure(-50, camera).second, 0.12);
    EXPECT_NEAR(10.0, measure(400, camera).second, 0.12);
    camera.noise = 5.0;
    EXPECT_NEAR(13.0, measure(-50, camera).second, 0.13);
}

TEST(PlatePhotograph, NoiseOfTwoPicturesIsTheirOwn)
{
    Camera camera = plainCamera();
    camera.clear = 128.0;
    camera.noise = 8.0;
    const Picture a = photograph({}, 200, camera);
    EXPECT_EQ(a.bytes, photograph({}, 200, camera).bytes);
    camera.noiseSeed = 1;
    const Picture b = photograph({}, 200, camera);
    double product = 0.0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i)
        product += (a.bytes[i] - 128.0) * (b.bytes[i] - 128.0);
    EXPECT_NEAR(0.0, product / 40000.0 / 64.0, 0.025);
}

TEST(PlatePlaces, ShownUndoesSeen)
{
    Camera camera = plainCamera(4.7, -2.1);
    camera.rotation = 0.2;
    camera.distortion = 1.0;
    for (const double x : {0.0, 100.0, 256.0, 511.5})
        for (const double y : {0.5, 300.0, 512.0}) {
            const Place there = seen({x, y}, 512, camera);
            EXPECT_GT(std::hypot(there.x - x, there.y - y), 2.0);
            const Place back = shown(there, 512, camera);
            EXPECT_NEAR(x, back.x, 1e-6);
            EXPECT_NEAR(y, back.y, 1e-6);
        }
    const Box box = shown({100.0, 120.0, 140.0, 130.0}, 512, plainCamera(5.25, -2.5));
    EXPECT_DOUBLE_EQ(94.75, box.left);
    EXPECT_DOUBLE_EQ(122.5, box.top);
    EXPECT_DOUBLE_EQ(134.75, box.right);
    EXPECT_DOUBLE_EQ(132.5, box.bottom);
}

TEST(PlatePaint, StretchesAreAsOnABoardOfCells)
{
    Random random(9);
    for (int32_t round = 0; round < 200; ++round) {
        std::vector<Stretch> line;
        std::vector<bool> cells(40);
        for (int32_t step = 0; step < 12; ++step) {
            const int32_t left = random.between(0, 38);
            const int32_t right = random.between(left + 1, 40);
            const bool opaque = random.between(0, 1) == 1;
            paint(line, {left, right}, opaque);
            std::fill(cells.begin() + left, cells.begin() + right, opaque);
            std::vector<bool> painted(40);
            int32_t end = -1;
            for (const Stretch& s : line) {
                ASSERT_GT(s.left, end) << "sorted and apart";
                ASSERT_GT(s.right, s.left);
                std::fill(painted.begin() + s.left, painted.begin() + s.right, true);
                end = s.right;
            }
            ASSERT_EQ(cells, painted);
        }
    }
}

TEST(PlatePattern, ArraysHaveTheirPitchAndDuty)
{
    PlateSettings settings;
    settings.pattern.size = 200;
    settings.pattern.pitch = 20.0;
    settings.pattern.duty = 0.3;
    settings.defects = 0;
    for (const bool upright : {false, true}) {
        settings.pattern.kind = PatternKind::lines;
        settings.pattern.upright = upright;
        const auto lines = light(makePlate(settings).shapes, 200, plainCamera());
        double sum = 0.0;
        for (int32_t y = 0; y < 160; ++y)
            for (int32_t x = 0; x < 160; ++x) {
                sum += at(lines, 200, x, y);
                ASSERT_NEAR(at(lines, 200, x, y), at(lines, 200, x + 20, y + 20), 0.001);
                ASSERT_NEAR(at(lines, 200, x, y),
                            upright ? at(lines, 200, x, y + 11) : at(lines, 200, x + 11, y), 0.001);
            }
        EXPECT_NEAR(200.0 - 190.0 * 0.3, sum / 25600.0, 0.1);
    }
    settings.pattern.kind = PatternKind::contacts;
    const auto contacts = light(makePlate(settings).shapes, 200, plainCamera());
    double sum = 0.0;
    for (int32_t y = 0; y < 160; ++y)
        for (int32_t x = 0; x < 160; ++x) {
            sum += at(contacts, 200, x, y);
            ASSERT_NEAR(at(contacts, 200, x, y), at(contacts, 200, x + 20, y + 20), 0.001);
        }
    EXPECT_NEAR(10.0 + 190.0 * 0.09, sum / 25600.0, 0.1);
}

TEST(PlatePattern, EverySizeHasStructureBothWays)
{
    for (const int32_t size : {64, 100, 128, 255, 256})
        for (uint64_t seed = 1; seed <= 10; ++seed) {
            PlateSettings settings;
            settings.seed = seed;
            settings.pattern.size = size;
            const auto picture = light(makePlate(settings).shapes, size, plainCamera());
            double alongX = 0.0;
            double alongY = 0.0;
            for (int32_t y = 1; y < size; ++y)
                for (int32_t x = 1; x < size; ++x) {
                    alongX += std::fabs(at(picture, size, x, y) - at(picture, size, x - 1, y));
                    alongY += std::fabs(at(picture, size, x, y) - at(picture, size, x, y - 1));
                }
            // An edge over a quarter of the picture counts so much.
            EXPECT_GT(alongX, 190.0 * size / 4.0) << size << " " << seed;
            EXPECT_GT(alongY, 190.0 * size / 4.0) << size << " " << seed;
        }
}

TEST(PlateDefects, AreOfTheSizeAskedForApartAndInTheFrame)
{
    for (const PatternKind kind : {PatternKind::fields, PatternKind::contacts, PatternKind::lines}) {
        PlateSettings settings;
        settings.seed = 4;
        settings.pattern.kind = kind;
        settings.pattern.size = 512;
        settings.pattern.defectSize = PatternSettings::Range{2.5, 6.0};
        settings.defects = 12;
        settings.frame = 20.0;
        const Plate made = makePlate(settings);
        ASSERT_EQ(12U, made.planted.size());
        for (const Planted& planted : made.planted) {
            EXPECT_GE(std::fabs(planted.size), 2.5);
            EXPECT_LE(std::fabs(planted.size), 6.0);
            EXPECT_GE(planted.box.left, 20.0);
            EXPECT_LE(planted.box.bottom, 492.0);
            for (const Planted& other : made.planted)
                if (&other != &planted) {
                    const double gapX =
                        std::max(other.box.left - planted.box.right, planted.box.left - other.box.right);
                    const double gapY =
                        std::max(other.box.top - planted.box.bottom, planted.box.top - other.box.bottom);
                    EXPECT_GE(std::max(gapX, gapY), 44.0);
                }
        }
    }
}

} // namespace
