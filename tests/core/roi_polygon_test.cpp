// The runs of polygons against plain references.
#include <cstdint>
#include <random>
#include <vector>

#include "core/roi_state.h"
#include "tests/core/roi_lists.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

class AgainstReferenceRoi : public testing::Test
{
protected:
    void TearDown() override { I_SetROIType(0); }
};

// The walker of monotone polygons, row by row in wide arithmetic; false: not monotone.
bool referenceConvex(const Points& p, int32_t cols, int32_t rows, Points* runs)
{
    const auto n = static_cast<int64_t>(p.size());
    int64_t top = 0;
    int64_t bottom = p[0].y;
    for (int64_t i = 1; i < n; ++i) {
        if (p[i].y <= p[top].y)
            top = i;
        bottom = std::max<int64_t>(bottom, p[i].y);
    }
    int64_t at[2] = {top, top};
    int64_t x[2] = {0, 0};
    int64_t slope[2] = {0, 0};
    const int64_t step[2] = {-1, 1};
    runs->clear();
    const auto emit = [&](int64_t y, int64_t highest) {
        const int64_t a = std::clamp<int64_t>(x[0] >> 9, 0, highest);
        const int64_t b = std::clamp<int64_t>(x[1] >> 9, 0, highest);
        runs->push_back({static_cast<int32_t>(std::min(a, b)), static_cast<int32_t>(y)});
        runs->push_back({static_cast<int32_t>(std::max(a, b)), static_cast<int32_t>(y)});
    };
    for (int64_t y = p[top].y; y < bottom; ++y) {
        for (int c = 0; c < 2; ++c) {
            for (int64_t k = 0; k <= n && p[at[c]].y == y; ++k) {
                const VexaPoint here = p[at[c]];
                at[c] = (at[c] + step[c] + n) % n;
                const VexaPoint next = p[at[c]];
                x[c] = (int64_t{here.x} * 512) | 256;
                if (next.y != here.y)
                    slope[c] = (int64_t{next.x} - here.x) * 512 / (int64_t{next.y} - here.y);
            }
            if (p[at[c]].y < y)
                return false;
        }
        if (y >= 0 && y < rows)
            emit(y, cols - 1);
        x[0] += slope[0];
        x[1] += slope[1];
    }
    for (int64_t i = at[0];; i = (i - 1 + n) % n) {
        if (p[i].y < bottom)
            return false;
        if (i == at[1])
            break;
    }
    if (bottom >= 0 && bottom < rows)
        emit(bottom, cols);
    return true;
}

// A line pixel by pixel.
void referenceLine(VexaPoint a, VexaPoint b, Points* out)
{
    const int64_t dx = int64_t{b.x} - a.x;
    const int64_t dy = int64_t{b.y} - a.y;
    const int64_t length = std::max(std::abs(dx), std::abs(dy));
    const bool alongX = std::abs(dx) >= std::abs(dy);
    const int64_t slope = length == 0 ? 0 : (alongX ? dy : dx) * 2048 / length;
    int64_t minor = int64_t{alongX ? a.y : a.x} * 2048 + 1024;
    for (int64_t k = 0; k <= length; ++k, minor += slope) {
        const int64_t major = (alongX ? a.x : a.y) + ((alongX ? dx : dy) < 0 ? -k : k);
        const auto m = static_cast<int32_t>(major);
        const auto s = static_cast<int32_t>(minor >> 11);
        out->push_back(alongX ? VexaPoint{m, s} : VexaPoint{s, m});
    }
}

int32_t direction(int64_t from, int64_t to)
{
    return (to > from) - (to < from);
}

// The fill of all other polygons, with the three passes one pixel at a time on a list that really shrinks and grows.
Points referenceFill(const Points& p, int32_t cols, int32_t rows)
{
    Points list;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const VexaPoint a = p[i];
        const VexaPoint b = p[(i + 1) % p.size()];
        if (!(a == b) || i + 1 == p.size())
            referenceLine(a, b, &list);
    }
    const auto y = [&](std::size_t i) { return int64_t{list[i % list.size()].y}; };
    for (std::size_t i = 0; i < list.size() && list.size() > 2;) {
        const std::size_t n = list.size();
        if (y(i + n - 1) == y(i) && y(i) == y(i + 1))
            list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
        else
            ++i;
    }
    for (std::size_t i = 0; i < list.size() && list.size() > 2; ++i) {
        const std::size_t n = list.size();
        const int32_t in = direction(y(i + n - 1), y(i));
        if (y(i) == y(i + 1) && in != 0 && in == direction(y(i + 1), y(i + 2)))
            list.erase(list.begin() + static_cast<std::ptrdiff_t>((i + 1) % n));
    }
    Points doubled;
    for (std::size_t i = 0; i < list.size(); ++i) {
        doubled.push_back(list[i]);
        if (direction(y(i + list.size() - 1), y(i)) * direction(y(i), y(i + 1)) < 0)
            doubled.push_back(list[i]);
    }
    std::sort(doubled.begin(), doubled.end(),
              [](VexaPoint a, VexaPoint b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    while (!doubled.empty() && doubled.back().y >= rows)
        doubled.pop_back();
    for (VexaPoint& point : doubled)
        point.x = std::min(point.x, cols);
    return doubled;
}

Points referenceList(const Points& polygon, int32_t cols, int32_t rows)
{
    Points runs;
    if (referenceConvex(polygon, cols, rows, &runs) && !runs.empty())
        return runs;
    return referenceFill(polygon, cols, rows);
}

bool isFlat(const Points& p)
{
    return std::all_of(p.begin(), p.end(), [&](VexaPoint point) { return point.y == p[0].y; });
}

TEST_F(AgainstReferenceRoi, RandomPolygonsOfManySizes)
{
    std::mt19937 random(1);
    int32_t convex = 0;
    for (int32_t round = 0; round < 2000; ++round) {
        const int32_t cols = 1 + static_cast<int32_t>(random() % 60);
        const int32_t rows = 1 + static_cast<int32_t>(random() % 60);
        const std::size_t n = 2 + random() % (round % 2 ? 3 : 9);
        const auto reach = static_cast<uint32_t>(round % 3 == 0 ? 20 : 120);
        Points polygon(n);
        for (VexaPoint& point : polygon)
            point = {static_cast<int32_t>(random() % reach) - static_cast<int32_t>(reach / 4),
                     static_cast<int32_t>(random() % reach) - static_cast<int32_t>(reach / 4)};
        if (isFlat(polygon))
            continue;
        const int32_t im = byteImage(cols, rows);
        setPolygon(polygon);
        const Points expected = referenceList(polygon, cols, rows);
        const Points actual = scanlist(im);
        ASSERT_EQ(expected, actual) << "round " << round;
        Points runs;
        convex += referenceConvex(polygon, cols, rows, &runs);
        closeImages({im});
    }
    EXPECT_GT(convex, 250);
    EXPECT_LT(convex, 1750);
}

double distanceToEdge(VexaPoint a, VexaPoint b, double x, double y)
{
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double square = dx * dx + dy * dy;
    const double t = square > 0.0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0, 1.0) : 0.0;
    return std::hypot(x - a.x - t * dx, y - a.y - t * dy);
}

bool insideByEvenOdd(const Points& p, double x, double y)
{
    bool inside = false;
    for (std::size_t i = 0, j = p.size() - 1; i < p.size(); j = i++)
        if ((p[i].y > y) != (p[j].y > y) && x < (static_cast<double>(p[j].x) - p[i].x) * (y - p[i].y) /
                                                        (static_cast<double>(p[j].y) - p[i].y) +
                                                    p[i].x)
            inside = !inside;
    return inside;
}

// Two pixels and more from the outline, the region is what geometry says.
TEST_F(AgainstReferenceRoi, RegionIsTheInsideOfThePolygon)
{
    std::mt19937 random(2);
    const int32_t im = byteImage(80, 70);
    for (int32_t round = 0; round < 120; ++round) {
        Points polygon(3 + random() % 5);
        for (VexaPoint& point : polygon)
            point = {static_cast<int32_t>(random() % 140) - 30, static_cast<int32_t>(random() % 130) - 30};
        if (isFlat(polygon))
            continue;
        setPolygon(polygon);
        std::vector<uint8_t> mask(80 * 70);
        for (const Segment& run : lines(im))
            for (int32_t x = std::max(run.x, 0); x < run.x + run.width; ++x)
                mask[static_cast<std::size_t>(run.y * 80 + x)] = 1;
        for (int32_t y = 0; y < 70; ++y)
            for (int32_t x = 0; x < 80; ++x) {
                double nearest = 1e9;
                for (std::size_t i = 0; i < polygon.size(); ++i)
                    nearest = std::min(nearest,
                                       distanceToEdge(polygon[i], polygon[(i + 1) % polygon.size()], x, y));
                // Outside on the left or right, runs are moved to the image's edge.
                if (nearest <= 2.0 || x == 0 || x == 79)
                    continue;
                ASSERT_EQ(insideByEvenOdd(polygon, x, y), mask[static_cast<std::size_t>(y * 80 + x)] != 0)
                    << "round " << round << " at " << x << ", " << y;
            }
    }
    closeImages({im});
}

// Edges with more pixels than the list holds leave the rows of the image as they would be in a longer list.
TEST_F(AgainstReferenceRoi, VertexFarOutside)
{
    dropList();
    ASSERT_TRUE(ensureScanList());
    roiState().list.capacity = 1000; // the reference takes long for lists of 50000
    const int32_t im = byteImage(100, 100);
    for (const Points& polygon :
         {Points{{10, 90}, {10, -1500}, {50, 50}, {90, -1500}, {90, 90}}, // a notch from above
          Points{{90, 10}, {1400, 30}, {50, 50}, {-1400, 31}, {5, 5}, {40, 70}},
          Points{{0, 2500}, {30, 20}, {60, 2500}, {90, -2500}}}) {
        setPolygon(polygon);
        Points expected = referenceFill(polygon, 100, 100);
        Points actual = scanlist(im);
        const auto above = [](VexaPoint p) { return p.y < 0; };
        expected.erase(std::remove_if(expected.begin(), expected.end(), above), expected.end());
        actual.erase(std::remove_if(actual.begin(), actual.end(), above), actual.end());
        EXPECT_GT(expected.size(), 100U);
        EXPECT_EQ(expected, actual);
    }
    dropList();
    closeImages({im});
}

} // namespace
} // namespace vexa::test
