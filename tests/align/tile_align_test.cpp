#include <random>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/tile_align.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;

class TileAlign : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetROIType(0);
        I_SetClipMode(3);
        clearError();
    }
    void TearDown() override
    {
        SetUp();
        I_SetClipMode(0);
    }
};
using LiteralTileAlign = TileAlign;
using BoundsTileAlign = TileAlign;
using FailuresTileAlign = TileAlign;

// Soft rectangles all over the field, moved by a shift.
int32_t plate(double dx, double dy, int32_t cols = 240, int32_t rows = 220)
{
    const auto step = [](double d) { return 1.0 / (1.0 + std::exp(-1.3 * d)); };
    std::mt19937 random(11);
    std::vector<double> values(static_cast<std::size_t>(cols * rows), 40.0);
    for (int32_t i = 0; i < 45; ++i) {
        const double left = random() % 260 - 20.0 + dx, top = random() % 240 - 20.0 + dy;
        const double right = left + 6 + random() % 30, bottom = top + 6 + random() % 30;
        std::vector<double> across;
        for (int32_t x = 0; x < cols; ++x)
            across.push_back(45 * step(x - left) * step(right - x));
        for (int32_t y = 0; y < rows; ++y) {
            const double down = step(y - top) * step(bottom - y);
            for (int32_t x = 0; x < cols; ++x)
                values[static_cast<std::size_t>(y * cols + x)] += down * across[static_cast<std::size_t>(x)];
        }
    }
    return byteImage(cols, rows, [&](int32_t x, int32_t y) {
        return std::min(std::floor(values[static_cast<std::size_t>(y * cols + x)]), 250.0);
    });
}

double largestDistanceFrom(int32_t im, double value, const VexaBox& box)
{
    double largest = 0;
    for (int32_t y = box.top; y <= box.bottom; ++y)
        for (int32_t x = box.left; x <= box.right; ++x)
            largest = std::max(largest, std::fabs(pixel(im, x, y) - value));
    return largest;
}

TEST_F(LiteralTileAlign, BorderShrinksToTheContent)
{
    const int32_t im = byteImage(60, 50, [](int32_t x, int32_t y) {
        return x >= 10 && x < 45 && y >= 12 && y < 41 ? (x * y) % 90 : 7;
    });
    VexaBox box = {0, 0, 0, 0};
    EXPECT_EQ(1, I_FindBorder(im, &box, 3));
    EXPECT_THAT(std::vector<int32_t>({box.left, box.top, box.right, box.bottom}),
                ElementsAre(10, 12, 44, 40));
    box = {1, 0, -3, -4};
    I_FindBorder(im, &box, 300); // nothing counts: every edge moves to the middle
    EXPECT_THAT(std::vector<int32_t>({box.left, box.top, box.right, box.bottom}),
                ElementsAre(28, 22, 28, 22));
    box = {1, 0, -3, -4};
    I_FindBorder(im, &box, -1); // everything counts
    EXPECT_THAT(std::vector<int32_t>({box.left, box.top, box.right, box.bottom}), ElementsAre(1, 0, 56, 45));
}

TEST_F(LiteralTileAlign, BlocksBeyondTheImageRepeatItsEdge)
{
    const int32_t im = byteImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    std::vector<uint8_t> block(25);
    EXPECT_NE(0, I_GetBigBlockType(-1, -1, 5, 5, block.data(), im, PIX_BYTE));
    EXPECT_THAT(block,
                ElementsAre(1, 1, 2, 3, 3, 1, 1, 2, 3, 3, 4, 4, 5, 6, 6, 7, 7, 8, 9, 9, 7, 7, 8, 9, 9));
    std::vector<uint8_t> inner(4);
    EXPECT_NE(0, I_GetBigBlockType(1, 1, 2, 2, inner.data(), im, PIX_BYTE));
    EXPECT_THAT(inner, ElementsAre(5, 6, 8, 9));
}

TEST_F(LiteralTileAlign, IdenticalImagesLeaveNothing)
{
    const int32_t im = plate(0, 0);
    const int32_t codes[][2] = {{0, 0}, {1, 0}, {2, 0}, {3, 128}, {4, 128}, {5, 0}, {6, 128}};
    for (const auto& [mode, nothing] : codes) {
        I_SetClipMode(mode);
        for (const int32_t tileSize : {0, 40, 64, 1000}) {
            const int32_t result = byteImage(240, 220, [](int32_t, int32_t) { return 77; });
            VexaPointF offset = {0, 0};
            EXPECT_EQ(0, I_AlignSubtract1(im, im, result, &offset, tileSize, 0));
            EXPECT_EQ(0.0, largestDistanceFrom(result, nothing, {0, 0, 230, 210})) << mode << " " << tileSize;
            EXPECT_EQ(0.0F, offset.x);
            EXPECT_EQ(0.0F, offset.y);
            I_ImClose(result);
        }
    }
}

TEST_F(LiteralTileAlign, ShiftsAreFoundToAFraction)
{
    const int32_t reference = plate(0, 0);
    for (const double shift : {0.4, 1.0, -2.3, 3.5}) {
        const int32_t moved = plate(shift, -shift);
        const int32_t result = byteImage(240, 220);
        VexaPointF offset = {static_cast<float>(std::lround(shift)), static_cast<float>(-std::lround(shift))};
        I_AlignSubtract1(moved, reference, result, &offset, 60, 0);
        EXPECT_NEAR(shift, offset.x, 0.25);
        EXPECT_NEAR(-shift, offset.y, 0.25);
        EXPECT_LT(largestDistanceFrom(result, 128, {20, 20, 220, 200}), 14) << shift;
        I_ImClose(moved);
        I_ImClose(result);
    }
}

TEST_F(LiteralTileAlign, NegativeTileSizeAlignsByItself)
{
    const int32_t reference = plate(0, 0), moved = plate(6.0, 4.0);
    const int32_t result = byteImage(240, 220);
    VexaPointF offset = {0, 0};
    EXPECT_EQ(1, I_AlignSubtract1(moved, reference, result, &offset, -1, 0));
    EXPECT_NEAR(6.0, offset.x, 0.3);
    EXPECT_NEAR(4.0, offset.y, 0.3);
    EXPECT_LT(largestDistanceFrom(result, 128, {20, 20, 220, 200}), 14);
}

TEST_F(LiteralTileAlign, ReferenceIsWarpedToFit)
{
    const int32_t reference = plate(0, 0), moved = plate(2.4, 1.3);
    I_AlignSubtract(moved, reference, 0, 2, 1, 60, -1);
    double largest = 0;
    for (int32_t y = 20; y < 200; ++y)
        for (int32_t x = 20; x < 220; ++x)
            largest = std::max(largest, std::fabs(pixel(moved, x, y) - pixel(reference, x, y)));
    EXPECT_LT(largest, 14);
    const int32_t filled = plate(0, 0);
    I_AlignSubtract(moved, filled, 0, 2, 1, 60, 33);
    EXPECT_EQ(33, pixel(filled, 0, 0)); // the first tile begins at the shift
}

TEST_F(LiteralTileAlign, StatisticsOfTheTilesStay)
{
    const int32_t im = plate(0, 0);
    VexaPointF offset = {0, 0};
    I_AlignSubtract1(im, im, 0, &offset, 60, 0);
    int32_t tilesX = 0;
    EXPECT_EQ(12, I_AlignStats(nullptr, 0, 0, &tilesX));
    EXPECT_EQ(4, tilesX);
    EXPECT_EQ(12, AlignStats());
}

TEST_F(LiteralTileAlign, AutoAlignBeginsAtACorner)
{
    const int32_t reference = plate(0, 0), moved = plate(3.0, -2.0);
    VexaPoint at = {-1, -1};
    float dx = 0, dy = 0;
    EXPECT_GT(I_AutoAlign(reference, moved, 0, 75, 80, &at, &dx, &dy), 80);
    EXPECT_NEAR(3.0, dx, 0.3);
    EXPECT_NEAR(-2.0, dy, 0.3);
    EXPECT_LT(at.x, 120);
    dx = dy = 0;
    I_AutoAlign(reference, moved, 3, 75, 80, &at, &dx, &dy);
    EXPECT_GT(at.x, 120);
    EXPECT_GT(at.y, 100);
}

TEST_F(FailuresTileAlign, AutoAlignOfWhatCannotBeAligned)
{
    const int32_t im = plate(0, 0), flat = byteImage(240, 220);
    VexaPoint at = {-1, -1};
    float dx = 1, dy = 1;
    EXPECT_EQ(0, I_AutoAlign(flat, flat, 0, 75, 80, &at, &dx, &dy));
    EXPECT_EQ(0, I_AutoAlign(im, im, 0, 300, 80, &at, &dx, &dy));
    EXPECT_EQ(-1, at.x);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    I_SetWindowROI(20, 20, 30, 90);
    EXPECT_EQ(0, I_AutoAlign(im, im, 0, 8, 80, &at, &dx, &dy));
    EXPECT_EQ("AutoAlign: x0y0=20 20; last=30 90; imSrc=240 x 220", errorText());
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    I_SetWindowROI(20, 20, 90, 90);
    EXPECT_EQ(0, I_AutoAlign(im, im, 0, 8, 80, &at, &dx, &dy));
    EXPECT_EQ("AutoAlign BoxSize must be >=10: imSrc=" + std::to_string(im) + " imRef=" + std::to_string(im) +
                  " Boxsize=8. ROI=20 20; 90 90",
              errorText());
    // Texture, but nothing alike in the other image; and texture without contrast in one direction.
    I_SetROIType(0);
    EXPECT_EQ(0, I_AutoAlign(im, flat, 0, 75, 80, &at, &dx, &dy));
    const int32_t stripes = byteImage(240, 220, [](int32_t x, int32_t) { return x % 20 < 9 ? 200 : 50; });
    dx = 7;
    EXPECT_EQ(-100, I_AutoAlign(stripes, stripes, 0, 75, 80, &at, &dx, &dy));
    EXPECT_EQ(0.0F, dx);
}

TEST_F(BoundsTileAlign, RegionStaysAsItWas)
{
    const int32_t im = plate(0, 0), other = plate(1, 1);
    const int32_t result = byteImage(240, 220, [](int32_t, int32_t) { return 99; });
    I_SetWindowROI(50, 60, 149, 139);
    VexaPointF offset = {1, 1};
    I_AlignSubtract1(other, im, result, &offset, 50, 0);
    int32_t left, top, right, bottom;
    I_GetWindowROI(&left, &top, &right, &bottom);
    EXPECT_EQ(50, left);
    EXPECT_EQ(139, bottom);
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(99, pixel(result, 49, 100));
    EXPECT_EQ(99, pixel(result, 100, 59));
    EXPECT_EQ(99, pixel(result, 150, 100));
    EXPECT_EQ(99, pixel(result, 100, 140));
    EXPECT_EQ(128, pixel(result, 100, 100));
}

TEST_F(FailuresTileAlign, NoImages)
{
    const int32_t im = plate(0, 0);
    VexaPointF offset = {3, 4};
    EXPECT_EQ(0, I_AlignSubtract1(0, im, im, &offset, 50, 0));
    EXPECT_EQ(0, I_AlignSubtract1(im, 0, im, &offset, 50, 0));
    EXPECT_EQ(3.0F, offset.x);
}

TEST_F(FailuresTileAlign, WithoutMemory)
{
    const int32_t im = plate(0, 0, 90, 80), other = plate(1, 0, 90, 80), result = byteImage(90, 80);
    forEachFailingAllocation(
        [&] {
            VexaPointF offset = {0, 0};
            I_AlignSubtract1(im, other, result, &offset, 40, 0);
            I_AlignStats(&offset, 0, 0, nullptr);
            return I_GetError(nullptr, 0);
        },
        [](int64_t error) { EXPECT_EQ(2, error); });
}

} // namespace
} // namespace vexa::test
