// Queries of the blob table against their windows and walks, step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

int32_t plainEdgeCount(int32_t blob, int32_t im)
{
    int32_t left, top, right, bottom;
    if (!I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom))
        I_ROIBoundingBox(&left, &top, &right, &bottom, im);
    int32_t cols = right - left + 1, stride = cols + 1;
    const int32_t rows = bottom - top + 1;
    std::vector<uint8_t> buffer(static_cast<std::size_t>((rows + 3) * stride));
    if (left > 0) {
        --left;
    } else {
        --cols;
        --stride;
    }
    I_GetBlockTypeEx(left, top, stride, rows, &buffer[static_cast<std::size_t>(stride)], im, PIX_BYTE, 0);
    const auto at = [&](int32_t row, int32_t col) -> uint8_t& {
        return buffer[static_cast<std::size_t>(row * stride + col)];
    };
    if (blob >= 0)
        for (int32_t i = 0; i < (rows + 2) * stride; ++i)
            at(0, i) = at(0, i) == static_cast<uint8_t>(blob + 1);
    int32_t count = 0;
    for (int32_t row = 2; row < 2 + rows; ++row) {
        at(row, stride - 1) = 0;
        for (int32_t col = 0; col < cols; ++col)
            if (at(row, col) &&
                (!at(row, col - 1) || !at(row, col + 1) || !at(row - 1, col) || !at(row + 1, col)))
                ++count;
    }
    return count;
}

std::vector<VexaPoint> plainList(int32_t blob, int32_t im, int32_t capacity)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    int32_t left = 0, top = 0, right = cols - 1, bottom = rows - 1;
    I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom);
    std::vector<VexaPoint> points;
    bool inside = false;
    const auto full = [&](int32_t least) { return static_cast<int32_t>(points.size()) >= least; };
    for (int32_t y = top; y <= bottom && !full(capacity); ++y) {
        std::vector<uint32_t> row(static_cast<std::size_t>(cols));
        I_GetBlockType(0, y, cols, 1, row.data(), im, PIX_DWORD);
        for (int32_t x = left; x <= right && !full(capacity - 2); ++x)
            if ((row[static_cast<std::size_t>(x)] == static_cast<uint32_t>(blob + 1)) != inside) {
                points.push_back({inside ? x - 1 : x, y});
                inside = !inside;
            }
        if (inside || points.size() % 2) {
            points.push_back({right, y});
            inside = false;
        }
    }
    return points;
}

TEST(IndependentBlobTable, WindowsAndRunsOfRandomBlobs)
{
    Random random(101);
    for (int32_t round = 0; round < 250; ++round) {
        const int32_t cols = between(random, 2, 40), rows = between(random, 2, 14),
                      density = between(random, 3, 9);
        const int32_t src = byteImage(cols, rows, [&](int32_t, int32_t) {
            return between(random, 0, 9) < density ? between(random, 1, 255) : 0;
        });
        const int32_t labels = I_ImOpen(cols, rows, between(random, 0, 1) ? PIX_BYTE : PIX_WORD);
        if (between(random, 0, 1))
            I_SetROIType(0);
        else
            I_SetWindowROI(between(random, 0, cols / 2), between(random, 0, rows / 2), cols - 2, rows - 1);
        int32_t box[4];
        I_ROIBoundingBox(&box[0], &box[1], &box[2], &box[3], src);
        ASSERT_EQ(1, I_FindBlobs1(1, 255, src, labels));
        const int32_t count = I_GetBlobCount();
        I_SetROIType(0);
        for (int32_t b = -1; b < count; ++b) {
            SCOPED_TRACE(std::to_string(cols) + "x" + std::to_string(rows) + " blob " + std::to_string(b) +
                         " round " + std::to_string(round));
            const int32_t edges = plainEdgeCount(b, labels);
            EXPECT_EQ(edges, I_GetBlobEdgeCount(b, labels));
            if (b < 0)
                continue;
            int32_t l, t, r, m, mask = -1;
            I_GetBlobBoundingBox(b, &l, &t, &r, &m);
            const int32_t wanted =
                (l <= box[0]) | (t <= box[1]) << 1 | (r >= box[2]) << 2 | (m >= box[3]) << 3;
            EXPECT_EQ((wanted & 1) + (wanted >> 1 & 1) + (wanted >> 2 & 1) + (wanted >> 3),
                      I_BlobTouchesROIEdge(b, &mask));
            EXPECT_EQ(wanted, mask);
            const int32_t capacity = between(random, 0, 2) ? 600 : between(random, 4, 20);
            const auto list = plainList(b, labels, capacity);
            std::vector<VexaPoint> got(610, VexaPoint{-9, -9});
            int32_t n = -1;
            EXPECT_EQ(1, I_GetBlobScanList(b, labels, got.data(), &n, capacity));
            ASSERT_EQ(static_cast<int32_t>(list.size()) & ~1, n) << "capacity " << capacity;
            for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i)
                ASSERT_TRUE(list[i].x == got[i].x && list[i].y == got[i].y) << i;
            // as a region, and its grey moments under the thresholds of the search
            const int32_t points = I_MakeBlobROI(b, labels);
            EXPECT_EQ(static_cast<int32_t>(plainList(b, labels, 10 * rows).size()) & ~1, points);
            EXPECT_EQ(points > 0 ? 3 : 0, I_GetROIType());
            VexaPointF centroid[2] = {{-1, -1}, {-1, -1}};
            double v[2][3], area, mass;
            I_GrayMoments(&area, &mass, &centroid[0], &v[0][0], &v[0][1], &v[0][2], 1, 1, 1, 1, src);
            I_SetROIType(0);
            EXPECT_EQ(1, I_GetBlobMoments2(b, labels, src, &centroid[1], &v[1][0], &v[1][1], &v[1][2]));
            EXPECT_EQ(0, I_GetROIType());
            if (points > 0) {
                EXPECT_EQ(centroid[0].x, centroid[1].x);
                EXPECT_EQ(centroid[0].y, centroid[1].y);
                EXPECT_EQ(v[0][0], v[1][0]);
                EXPECT_EQ(v[0][2], v[1][2]);
            }
        }
        closeImages({src, labels});
        if (HasFailure())
            return;
    }
}

TEST(IndependentBlobTable, BadNumbersAnswerEachInTheirWay)
{
    I_SetROIType(0);
    const int32_t labels = byteImage(3, 3), src = byteImage({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}});
    ASSERT_EQ(1, I_FindBlobs1(1, 255, src, labels));
    ASSERT_EQ(1, I_GetBlobCount());
    int32_t mask = -1;
    EXPECT_EQ(4, I_BlobTouchesROIEdge(0, &mask));
    EXPECT_EQ(15, mask);
    for (const int32_t bad : {1, -1, 1000000, INT32_MIN}) {
        const std::string number = "#" + std::to_string(bad) + " of 1";
        clearError();
        EXPECT_EQ(0, I_GetBlobFirstPixel(bad, nullptr));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        int32_t sums[4] = {7, 7, 7, 7};
        EXPECT_EQ(1, I_GetBlobMoments1(bad, &sums[0], &sums[1], &sums[2], &sums[3]));
        EXPECT_THAT(sums, testing::Each(0));
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        EXPECT_EQ("GetBlobMoments:" + number, errorText());
        EXPECT_EQ(0, I_GetBlobBoundingBox(bad, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ("GetBlobBoundingBox:" + number, errorText());
        mask = 77;
        EXPECT_EQ(-1, I_BlobTouchesROIEdge(bad, &mask));
        EXPECT_EQ(77, mask);
        EXPECT_EQ("GetBlobTouchesROI:" + number, errorText());
        clearError();
        EXPECT_EQ(0, I_GetBlobMoments2(bad, labels, src, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ("GetBlobMoments:" + number, errorText());
    }
    I_SetBlobTableSize(5000);
    int32_t one = 7;
    EXPECT_EQ(0, I_GetBlobMoments1(0, &one, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, I_GetBlobCount());
}

} // namespace
