#include "vexalib/blob_table.h"

#include "tests/support/recording_display.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;
using testing::HasSubstr;

namespace
{

// Two blobs: a plus of 5 pixels round (3, 3), a bar of 4 pixels at the right edge of a 12 x 8 image.
class BlobTable : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetROIType(0);
        grey_ = byteImage(12, 8);
        for (const VexaPoint p : {VexaPoint{3, 2}, {2, 3}, {3, 3}, {4, 3}, {3, 4}})
            I_PutPixByte(p.x, p.y, 100 + p.x, grey_);
        for (int32_t y = 1; y < 5; ++y)
            I_PutPixByte(11, y, 200, grey_);
        label_ = I_ImOpen(12, 8, PIX_BYTE);
        ASSERT_EQ(1, I_FindBlobs(nullptr, grey_, label_));
        ASSERT_EQ(2, I_GetBlobCount());
        // The bar's first pixel is one row above the plus.
        bar_ = 0;
        plus_ = 1;
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }

    int32_t grey_ = 0;
    int32_t label_ = 0;
    int32_t bar_ = 0;
    int32_t plus_ = 0;
};
using LiteralBlobTable = BlobTable;
using FailuresBlobTable = BlobTable;

TEST_F(LiteralBlobTable, FirstPixelBoxAndSums)
{
    VexaPoint first = {};
    EXPECT_EQ(5, I_GetBlobFirstPixel(plus_, &first));
    // The plus opens a record at (3, 2), another at (2, 3) is merged: the smaller x and the smaller y, each on its own.
    EXPECT_EQ(2, first.y);
    EXPECT_LE(first.x, 3);
    EXPECT_EQ(4, I_GetBlobFirstPixel(bar_, &first));
    EXPECT_EQ(11, first.x);
    EXPECT_EQ(1, first.y);
    EXPECT_EQ(4, I_GetBlobFirstPixel(bar_, nullptr));

    int32_t left = 0, top = 0, right = 0, bottom = 0;
    EXPECT_EQ(1, I_GetBlobBoundingBox(plus_, &left, &top, &right, &bottom));
    EXPECT_THAT((std::vector<int32_t>{left, top, right, bottom}), testing::ElementsAre(2, 2, 4, 4));
    EXPECT_EQ(1, I_GetBlobBoundingBox(bar_, nullptr, nullptr, nullptr, nullptr));

    int32_t count = 0, sum = 0, sumX = 0, sumY = 0;
    EXPECT_EQ(1, I_GetBlobMoments1(plus_, &count, &sum, &sumX, &sumY));
    EXPECT_EQ(5, count);
    EXPECT_EQ(103 + 102 + 103 + 104 + 103, sum);
    EXPECT_EQ(15, sumX);
    EXPECT_EQ(15, sumY);
    EXPECT_EQ(1, I_GetBlobMoments1(plus_, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(LiteralBlobTable, EdgesOfTheRegion)
{
    int32_t mask = -1;
    EXPECT_EQ(1, I_BlobTouchesROIEdge(bar_, &mask));
    EXPECT_EQ(4, mask);
    EXPECT_EQ(0, I_BlobTouchesROIEdge(plus_, &mask));
    EXPECT_EQ(0, mask);
    const int32_t full = byteImage(5, 4, [](int32_t, int32_t) { return 9; });
    ASSERT_EQ(1, I_FindBlobs(nullptr, full, 0));
    EXPECT_EQ(4, I_BlobTouchesROIEdge(0, &mask));
    EXPECT_EQ(15, mask);
    EXPECT_EQ(4, I_BlobTouchesROIEdge(0, nullptr));
}

// The described window in plain loops: one column to the left of the box where there is one, the top row not counted,
// the last column read blanked row by row before the row is examined.
int32_t plainEdgeCount(int32_t im, int32_t blob, VexaBox box)
{
    int32_t cols = box.right - box.left + 1;
    const int32_t rows = box.bottom - box.top + 1;
    int32_t stride = cols + 1;
    if (box.left > 0) {
        --box.left;
    } else {
        --cols;
        --stride;
    }
    std::vector<uint8_t> buffer(static_cast<std::size_t>((rows + 3) * stride), 0);
    const auto at = [&](int32_t row, int32_t x) -> uint8_t& {
        return buffer[static_cast<std::size_t>(row * stride + x)];
    };
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < stride; ++x)
            at(y + 1, x) = static_cast<uint8_t>(pixel(im, box.left + x, box.top + y));
    for (int32_t i = 0; blob >= 0 && i < (rows + 2) * stride; ++i)
        at(0, i) = at(0, i) == blob + 1;
    int32_t count = 0;
    for (int32_t row = 2; row < rows + 2; ++row) {
        at(row, stride - 1) = 0;
        for (int32_t x = 0; x < cols; ++x) {
            const int32_t i = row * stride + x;
            if (buffer[static_cast<std::size_t>(i)] &&
                (!buffer[static_cast<std::size_t>(i - 1)] || !buffer[static_cast<std::size_t>(i + 1)] ||
                 !buffer[static_cast<std::size_t>(i - stride)] ||
                 !buffer[static_cast<std::size_t>(i + stride)]))
                ++count;
        }
    }
    return count;
}

TEST_F(LiteralBlobTable, EdgeCountsAgainstThePlainWindow)
{
    const int32_t single = byteImage(5, 5);
    I_PutPixByte(2, 2, 50, single);
    const int32_t label = I_ImOpen(5, 5, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, single, label));
    EXPECT_EQ(0, I_GetBlobEdgeCount(0, label));

    for (uint32_t seed = 1; seed < 60; ++seed) {
        const int32_t noise = noiseImage(17, 13, seed);
        const int32_t labels = I_ImOpen(17, 13, PIX_BYTE);
        ASSERT_EQ(1, I_FindBlobs1(90 + seed, 255, noise, labels));
        for (int32_t blob = 0; blob < I_GetBlobCount(); ++blob) {
            VexaBox box = {};
            ASSERT_EQ(1, I_GetBlobBoundingBox(blob, &box.left, &box.top, &box.right, &box.bottom));
            ASSERT_EQ(plainEdgeCount(labels, blob, box), I_GetBlobEdgeCount(blob, labels))
                << seed << ", blob " << blob;
        }
        clearError();
        ASSERT_EQ(plainEdgeCount(labels, -1, {0, 0, 16, 12}), I_GetBlobEdgeCount(-1, labels)) << seed;
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        closeImages({noise, labels});
    }
}

TEST_F(LiteralBlobTable, ScanListsHoldExactlyTheBlob)
{
    for (uint32_t seed = 1; seed < 40; ++seed) {
        const int32_t noise = noiseImage(23, 11, seed);
        const int32_t labels = I_ImOpen(23, 11, PIX_DWORD);
        ASSERT_EQ(1, I_FindBlobs1(140, 255, noise, labels));
        for (int32_t blob = 0; blob < I_GetBlobCount(); ++blob) {
            VexaPoint list[600];
            int32_t count = -1;
            ASSERT_EQ(1, I_GetBlobScanList(blob, labels, list, &count, 600));
            ASSERT_EQ(0, count % 2);
            std::vector<VexaPoint> pixels;
            for (int32_t i = 0; i < count; i += 2) {
                ASSERT_EQ(list[i].y, list[i + 1].y);
                for (int32_t x = list[i].x; x <= list[i + 1].x; ++x)
                    pixels.push_back({x, list[i].y});
            }
            std::size_t next = 0;
            for (int32_t y = 0; y < 11; ++y)
                for (int32_t x = 0; x < 23; ++x)
                    if (pixel(labels, x, y) == blob + 1) {
                        ASSERT_LT(next, pixels.size());
                        ASSERT_EQ(x, pixels[next].x);
                        ASSERT_EQ(y, pixels[next++].y);
                    }
            ASSERT_EQ(next, pixels.size());
        }
        closeImages({noise, labels});
    }
}

TEST_F(LiteralBlobTable, ScanListIsCutAtItsCapacity)
{
    const int32_t comb = byteImage(21, 1, [](int32_t x, int32_t) { return x % 2 ? 0 : 3; });
    // One blob number for all teeth, so that its row has eleven runs.
    const int32_t labels = byteImage(21, 1, [](int32_t x, int32_t) { return x % 2 ? 0 : 1; });
    I_SetROIType(0);
    ASSERT_EQ(1, I_FindBlobs(nullptr, comb, 0));
    VexaPoint list[64] = {};
    int32_t count = -1;
    // The box of blob 0 is its one pixel, so a number beyond the table walks the whole row: 22 points.
    ASSERT_EQ(1, I_GetBlobScanList(0, labels, list, &count, 64));
    EXPECT_EQ(2, count);
    const int32_t all = byteImage(21, 1, [](int32_t, int32_t) { return 1; });
    ASSERT_EQ(1, I_FindBlobs(nullptr, all, 0));
    ASSERT_EQ(1, I_GetBlobScanList(0, labels, list, &count, 64));
    EXPECT_EQ(22, count);
    ASSERT_EQ(1, I_GetBlobScanList(0, labels, list, &count, 10));
    EXPECT_EQ(8, count) << "the walk stops at capacity - 2";
}

TEST_F(LiteralBlobTable, BlobRegionAndItsMoments)
{
    EXPECT_EQ(6, I_MakeBlobROI(plus_, label_));
    EXPECT_EQ(3, I_GetROIType());
    int32_t n = 0;
    const VexaPoint* list = I_ROIScanlist(&n, label_);
    ASSERT_EQ(6, n);
    EXPECT_EQ(3, list[0].x);
    EXPECT_EQ(2, list[2].x);
    EXPECT_EQ(4, list[3].x);

    I_SetROIType(0);
    ASSERT_EQ(1, I_FindBlobs1(50, 255, grey_, label_));
    VexaPointF centroid = {};
    double longAxis = 0, shortAxis = 0, angle = 0;
    EXPECT_EQ(1, I_GetBlobMoments2(plus_, label_, grey_, &centroid, &longAxis, &shortAxis, &angle));
    EXPECT_EQ(0, I_GetROIType()) << "the region is as it was";
    // Weights p - 50 + 1, as for grey moments above a threshold of 50.
    const double weights[] = {53, 54, 54, 54, 55}; // (2,3) (3,2) (3,3) (3,4) (4,3), by 100 + x
    const double mass = 53 + 54 + 54 + 54 + 55;
    EXPECT_NEAR((2 * weights[0] + 3 * 3 * weights[1] + 4 * weights[4]) / mass, centroid.x, 1e-5);
    EXPECT_NEAR(3.0, centroid.y, 1e-5);
    EXPECT_GT(longAxis, 0.0);
    EXPECT_GE(longAxis, shortAxis);
}

TEST_F(FailuresBlobTable, ThreeAnswersToABadNumber)
{
    for (const int32_t bad : {2, 3, -1, INT32_MAX, INT32_MIN}) {
        const std::string tail = std::to_string(bad) + " of 2";
        VexaPoint first = {7, 7};
        clearError();
        EXPECT_EQ(0, I_GetBlobFirstPixel(bad, &first));
        EXPECT_EQ(0, I_GetError(nullptr, 0)) << "silent";

        int32_t out[4] = {1, 2, 3, 4};
        EXPECT_EQ(1, I_GetBlobMoments1(bad, out, out + 1, out + 2, out + 3));
        EXPECT_THAT(out, testing::ElementsAre(0, 0, 0, 0));
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        EXPECT_EQ("GetBlobMoments:#" + tail, errorText());

        clearError();
        EXPECT_EQ(0, I_GetBlobMoments2(bad, label_, grey_, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ("GetBlobMoments:#" + tail, errorText());

        clearError();
        EXPECT_EQ(0, I_GetBlobBoundingBox(bad, out, out + 1, out + 2, out + 3));
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        EXPECT_EQ("GetBlobBoundingBox:#" + tail, errorText());

        clearError();
        int32_t mask = 77;
        EXPECT_EQ(-1, I_BlobTouchesROIEdge(bad, &mask));
        EXPECT_EQ(77, mask);
        EXPECT_EQ("GetBlobTouchesROI:#" + tail, errorText());
    }
}

TEST_F(FailuresBlobTable, NoTable)
{
    I_SetBlobTableSize(5000);
    EXPECT_EQ(0, I_GetBlobCount());
    EXPECT_EQ(0, I_GetBlobMoments1(0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, I_GetBlobMoments2(0, label_, grey_, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, I_GetBlobFirstPixel(0, nullptr));
}

TEST_F(FailuresBlobTable, NothingFoundLeavesTheRegion)
{
    const int32_t empty = byteImage(12, 8);
    I_SetWindowROI(1, 2, 3, 4);
    EXPECT_EQ(0, I_MakeBlobROI(0, empty));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(0, I_MakeBlobROI(0, 0));
}

TEST_F(FailuresBlobTable, NoMemory)
{
    VexaPoint list[64];
    int32_t count = 0;
    forEachFailingAllocation([&] { return I_GetBlobScanList(plus_, label_, list, &count, 64); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_THAT(errorText(), HasSubstr("GetBlobScanList"));
                             });
    forEachFailingAllocation([&] { return I_GetBlobEdgeCount(plus_, label_); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), HasSubstr("I_GetBlobEdgeCount"));
                             });
}

std::string shown;

int32_t catchBox(const char* text, const char*, int32_t, int32_t answer)
{
    shown = text;
    return answer;
}

TEST_F(LiteralBlobTable, ListingOfTheTable)
{
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = catchBox;
    vexaSetPlatform(&platform);
    EXPECT_EQ(2, I_DisplayBlobTable(0, 0));
    EXPECT_EQ(
        "Blob Table Summary: 2 blobs\n# \t#pix \tmeanI \tmeanX \tmeanY \tXwtd\tYwtd \txDiff \tyDiff \tBox \n"
        "0: \t4 \t200.0 \t11.0 \t2.5 \t11.0 \t2.5 \t0.0 \t0.0 \t11 1 11 4\n"
        "1: \t5 \t103.0 \t3.0 \t3.0 \t3.0 \t3.0 \t0.0 \t0.0 \t2 2 4 4\n",
        shown);

    const int32_t many = byteImage(200, 1, [](int32_t x, int32_t) { return x % 2 ? 0 : 9; });
    ASSERT_EQ(1, I_FindBlobs(nullptr, many, 0));
    EXPECT_EQ(100, I_DisplayBlobTable(0, 0));
    EXPECT_THAT(shown, HasSubstr("Blob Table Summary: 100 blobs\n"));
    EXPECT_EQ(2 + 50, std::count(shown.begin(), shown.end(), '\n'));
    vexaSetPlatform(nullptr);
}

TEST_F(LiteralBlobTable, ListingShowsTheLabels)
{
    RecordingDisplay display;
    const std::vector<uint8_t> before = bytesOf(label_);
    const int32_t images = I_ImCount();
    I_SetWindowROI(5, 5, 6, 6);
    EXPECT_EQ(2, I_DisplayBlobTable(0, grey_));
    EXPECT_TRUE(display.drawings.empty()) << "no label image, no picture";
    EXPECT_EQ(2, I_DisplayBlobTable(label_, 0));
    EXPECT_EQ(before, bytesOf(label_));
    EXPECT_EQ(images, I_ImCount());
    EXPECT_EQ(1, I_GetROIType());
    int32_t left = 0;
    I_GetWindowROI(&left, nullptr, nullptr, nullptr);
    EXPECT_EQ(5, left);
    ASSERT_EQ(1U, display.drawings.size());
    const Drawing& d = display.drawings[0];
    EXPECT_EQ(24, d.bits);
    EXPECT_EQ(36, d.stretch.targetWidth);
    EXPECT_EQ(24, d.stretch.targetHeight);
    EXPECT_EQ(25, d.stretch.targetY);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 12; ++x) {
            const bool inPlus = std::abs(x - 3) + std::abs(y - 3) <= 1;
            // Label 2 under the largest gain, 85; the bar stands on the outermost pixels.
            const int32_t value = inPlus ? 170 : 0;
            EXPECT_TRUE(d.hasColor(x, y, value, value, value)) << x << " " << y;
        }
}

TEST_F(FailuresBlobTable, ListingPresentsErrorsAroundThePicture)
{
    RecordingDisplay display;
    Messages messages;
    I_SetError(12, "left over by something else");
    I_DisplayBlobTable(label_, 0);
    ASSERT_LE(1U, messages.all().size());
    EXPECT_EQ("DisplayBlobTable 2 <ILLEGAL PARAMETER> left over by something else", messages.all()[0]);
    messages.clear();
    EXPECT_EQ(2, I_DisplayBlobTable(-99, 0));
    ASSERT_LE(1U, messages.all().size());
    EXPECT_THAT(messages.all()[0], HasSubstr("DisplayBlobTable 2"));
    EXPECT_EQ(1U, display.drawings.size());
    const int32_t images = I_ImCount();
    forEachFailingAllocation([&] { return I_DisplayBlobTable(label_, grey_); },
                             [](int64_t result) { EXPECT_EQ(2, result); });
    EXPECT_EQ(images, I_ImCount());
    EXPECT_EQ(0, display.openTargets);
}

} // namespace
