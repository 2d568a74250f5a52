#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/trace.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

using Points = std::vector<std::pair<int32_t, int32_t>>;

Points perimeter(int32_t im, int32_t low, int32_t high, int32_t most = 5000)
{
    std::vector<VexaPoint> points(static_cast<std::size_t>(most) + 1, {-77, -77});
    const int32_t n = I_GetPerimeterPts(points.data(), most, low, high, im);
    EXPECT_LE(n, most);
    EXPECT_EQ(-77, points.back().x);
    Points result;
    for (int32_t i = 0; i < n; ++i)
        result.emplace_back(points[static_cast<std::size_t>(i)].x, points[static_cast<std::size_t>(i)].y);
    return result;
}

// The description in plain loops. inside(x, y) also answers for places outside of the image.
template <typename Inside>
Points plainPerimeter(const VexaBox& box, VexaPoint start, int32_t most, Inside inside)
{
    static const int32_t rx[] = {-1, 0, 1, 1, 1, 0, -1, -1}, ry[] = {-1, -1, -1, 0, 1, 1, 1, 0};
    Points points;
    int32_t x = start.x, y = start.y, dx = 0, dy = 0;
    for (;;) {
        x += dx;
        y += dy;
        for (std::size_t i = 1; i < points.size(); ++i)
            if (points[i] == std::pair(x, y) && points[i - 1] == points.back()) {
                points.pop_back();
                return points;
            }
        if (x < std::max(box.left, 1) || x > box.right || y < box.top || y > box.bottom ||
            static_cast<int32_t>(points.size()) == most)
            return points;
        points.emplace_back(x, y);
        int32_t r = 0;
        for (int32_t i = 0; i < 8 && (dx != 0 || dy != 0); ++i)
            if (rx[i] == -dx && ry[i] == -dy)
                r = i;
        const std::vector<int32_t> offsets =
            r % 2 == 0 ? std::vector<int32_t>{3, 2, 5, 4, 7, 6} : std::vector<int32_t>{2, 4, 3, 6, 5};
        int32_t chosen = r;
        for (const int32_t offset : offsets) {
            const int32_t i = (r + offset) % 8;
            if (inside(x + rx[i], y + ry[i])) {
                chosen = i;
                break;
            }
        }
        dx = rx[chosen];
        dy = ry[chosen];
    }
}

class Perimeter : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
};
using LiteralPerimeter = Perimeter;
using AgainstReferencePerimeter = Perimeter;
using BoundsPerimeter = Perimeter;
using FailuresPerimeter = Perimeter;

TEST_F(LiteralPerimeter, Square)
{
    const int32_t im =
        byteImage(9, 9, [](int32_t x, int32_t y) { return x >= 3 && x <= 5 && y >= 2 && y <= 4 ? 50 : 0; });
    const Points expected = {{3, 2}, {4, 2}, {5, 2}, {5, 3}, {5, 4}, {4, 4}, {3, 4}, {3, 3}};
    const Points found = perimeter(im, 50, 60);
    EXPECT_EQ(expected, found);
}

TEST_F(LiteralPerimeter, OnePixelGivesItAndItsUpperLeftNeighbour)
{
    const int32_t im = byteImage(9, 9, [](int32_t x, int32_t y) { return x == 4 && y == 5 ? 50 : 0; });
    EXPECT_EQ((Points{{4, 5}, {3, 4}}), perimeter(im, 50, 60));
    // In a region that begins with it the walk would leave the box.
    I_SetWindowROI(4, 5, 8, 8);
    EXPECT_EQ((Points{{4, 5}}), perimeter(im, 50, 60));
}

TEST_F(LiteralPerimeter, NothingInside)
{
    const int32_t im = byteImage(9, 9, [](int32_t, int32_t) { return 10; });
    EXPECT_TRUE(perimeter(im, 50, 60).empty());
    // All inside: the walk begins in column 0, left of where it may be.
    EXPECT_TRUE(perimeter(im, 5, 60).empty());
}

TEST_F(LiteralPerimeter, ArrayThatIsTooShort)
{
    const int32_t im =
        byteImage(9, 9, [](int32_t x, int32_t y) { return x >= 3 && x <= 5 && y >= 2 && y <= 4 ? 50 : 0; });
    for (int32_t most = 0; most < 8; ++most)
        EXPECT_EQ(static_cast<std::size_t>(most), perimeter(im, 50, 60, most).size());
    VexaPoint point;
    EXPECT_EQ(0, I_GetPerimeterPts(&point, -5, 50, 60, im));
    EXPECT_EQ(0, I_GetPerimeterPts(nullptr, 5, 50, 60, im));
}

TEST_F(LiteralPerimeter, BlobOutline)
{
    const int32_t im = byteImage(40, 30, [](int32_t x, int32_t y) {
        return (x >= 5 && x <= 9 && y >= 4 && y <= 8) || (x >= 20 && x <= 22 && y >= 10 && y <= 12) ? 200 : 0;
    });
    const int32_t labels = byteImage(40, 30);
    ASSERT_EQ(1, I_FindBlobs1(100, 256, im, labels));
    ASSERT_EQ(2, I_GetBlobCount());
    VexaPoint points[100];
    I_SetWindowROI(1, 2, 38, 28);
    EXPECT_EQ(16, I_GetBlobOutline(points, 100, labels, 0));
    EXPECT_EQ(8, I_GetBlobOutline(points, 100, labels, 1));
    EXPECT_EQ(20, points[0].x);
    EXPECT_EQ(10, points[0].y);
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    I_GetWindowROI(&left, &top, &right, &bottom);
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(38, right);
    // A bad number works on 640 x 440 pixels, and on its label values.
    clearError();
    EXPECT_EQ(0, I_GetBlobOutline(points, 100, labels, 7));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("GetBlobBoundingBox:#7 of 2", errorText());
    EXPECT_EQ(0, I_GetBlobOutline(points, 100, labels, -1))
        << "labels 0 and 1: the first pixel lies in column 0";
}

TEST_F(AgainstReferencePerimeter, RandomBlobsOfEveryKind)
{
    std::mt19937 random(23);
    for (int32_t round = 0; round < 600; ++round) {
        const int32_t cols = 1 + static_cast<int32_t>(random() % 24),
                      rows = 1 + static_cast<int32_t>(random() % 20);
        std::vector<int32_t> values(static_cast<std::size_t>(cols * rows));
        const uint32_t share = 1 + random() % 9;
        for (int32_t& value : values)
            value = random() % 10 < share ? 100 : 20;
        const auto valueAt = [&](int32_t x, int32_t y) {
            return values[static_cast<std::size_t>(y * cols + x)];
        };
        const int32_t im = image(cols, rows, round % 5 == 0 ? PIX_WORD : PIX_BYTE, valueAt);
        VexaBox box = {0, 0, cols - 1, rows - 1};
        if (random() % 2 != 0) {
            box.left = static_cast<int32_t>(random()) & 3;
            box.left = std::min(box.left, cols - 1);
            box.top = std::min(static_cast<int32_t>(random() & 3), rows - 1);
            I_SetWindowROI(box.left, box.top, cols - 1, rows - 1);
            if (cols == 1 || rows == 1)
                I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im);
        } else {
            I_SetROIType(0);
        }
        const bool inverse = random() % 4 == 0;
        const int32_t low = inverse ? 110 : 90, high = inverse ? 30 : 110;
        const auto isInside = [&](int32_t value) {
            return inverse ? value >= low || value <= high : value >= low && value <= high;
        };
        Points expected;
        bool started = false;
        const int32_t most = random() % 3 == 0 ? static_cast<int32_t>(random() % 30) : 5000;
        for (int32_t y = box.top; y <= box.bottom && !started; ++y)
            for (int32_t x = box.left; x <= box.right && !started; ++x)
                if (isInside(valueAt(x, y))) {
                    started = true;
                    expected = plainPerimeter(box, {x, y}, most, [&](int32_t px, int32_t py) {
                        return isInside(px >= 0 && py >= 0 && px < cols && py < rows ? valueAt(px, py) : 0);
                    });
                }
        ASSERT_EQ(expected, perimeter(im, low, high, most)) << round;
        closeImages({im});
    }
}

TEST_F(AgainstReferencePerimeter, BandsOfEveryKindOnWideRows)
{
    // One inside pixel in a wide row, at every place around the pieces that are looked at together.
    for (const auto& [low, high] :
         {std::pair{100, 100}, {200, 100}, {0, 0}, {255, 255}, {-5, 300}, {300, -5}}) {
        uint8_t table[256];
        I_DualThreshLUT(low, high, table);
        for (int32_t at = 60; at < 132; ++at)
            for (const int32_t value : {0, 99, 100, 101, 199, 200, 255}) {
                const int32_t background = table[150] == 0 ? 150 : table[50] == 0 ? 50 : -1;
                if (background < 0)
                    continue;
                const int32_t im = byteImage(
                    140, 3, [&](int32_t x, int32_t y) { return x == at && y == 1 ? value : background; });
                const Points found = perimeter(im, low, high);
                EXPECT_EQ(table[value] != 0, !found.empty())
                    << low << " " << high << " " << value << " " << at;
                EXPECT_TRUE(found.empty() || found[0].first == at);
                closeImages({im});
            }
    }
}

TEST_F(BoundsPerimeter, PolygonRegion)
{
    const int32_t im = byteImage(60, 60, [](int32_t x, int32_t y) { return x + y < 20 || x > 28 ? 100 : 0; });
    const VexaPoint triangle[] = {{25, 20}, {45, 40}, {25, 50}};
    I_SetPolygonROI(triangle, 3);
    const Points found = perimeter(im, 50, 255);
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(29, found[0].first);
    for (const auto& [x, y] : found) {
        EXPECT_TRUE(x >= 25 && x <= 45);
        EXPECT_TRUE(y >= 20 && y <= 50);
    }
}

TEST_F(FailuresPerimeter, BadImageAndMissingMemory)
{
    VexaPoint points[200];
    EXPECT_EQ(0, I_GetPerimeterPts(points, 200, 1, 255, -250));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    const int32_t im = byteImage(
        20, 20, [](int32_t x, int32_t y) { return x >= 3 && x <= 15 && y >= 2 && y <= 14 ? 50 : 0; });
    forEachFailingAllocation([&] { return I_GetPerimeterPts(points, 200, 50, 60, im); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_NE(std::string::npos, errorText().find(": GetPerimeterPts:"));
                             });
}

} // namespace
