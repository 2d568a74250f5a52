#include "vexalib/blobs.h"

#include <random>
#include <set>

#include "core/image_table.h"
#include "measure/blob_records.h"
#include "support/instruction_set.h"
#include "tests/measure/plain_labeller.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;

// An image from rows of text: blank or '.' is 0, a digit itself, anything else 255.
int32_t drawn(const std::vector<std::string>& rows)
{
    return byteImage(static_cast<int32_t>(rows.front().size()), static_cast<int32_t>(rows.size()),
                     [&](int32_t x, int32_t y) {
                         const char c = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
                         return c == '.' || c == ' ' ? 0 : c >= '0' && c <= '9' ? c - '0' : 255;
                     });
}

int32_t labelImage(int32_t imSrc, int32_t type)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, imSrc);
    return I_ImOpen(cols, rows, type);
}

std::vector<int32_t> boxOf(int32_t blob)
{
    std::vector<int32_t> box(4, -1);
    I_GetBlobBoundingBox(blob, &box[0], &box[1], &box[2], &box[3]);
    return box;
}

std::vector<int32_t> firstPixelOf(int32_t blob)
{
    VexaPoint first = {-1, -1};
    const int32_t pixels = I_GetBlobFirstPixel(blob, &first);
    return {first.x, first.y, pixels};
}

// Isolated pixels, each two columns and two rows from the next.
int32_t isolatedPixels(int32_t cols, int32_t rows)
{
    return byteImage(cols, rows, [](int32_t x, int32_t y) { return x % 2 == 0 && y % 2 == 0 ? 1 : 0; });
}

class Blobs : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetROIType(0);
        I_SetBlobTableSize(5000);
    }
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetBlobTableSize(5000);
        I_SetROIType(0);
        clearError();
    }
};
using LiteralBlobs = Blobs;
using BoundsBlobs = Blobs;
using FailuresBlobs = Blobs;

TEST_F(LiteralBlobs, BackgroundHasNoBlobs)
{
    const int32_t im = byteImage(9, 7);
    EXPECT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(0, I_GetBlobCount());
    // With an array from an earlier search the count is no longer a negative one.
    ASSERT_EQ(1, I_FindBlobs(nullptr, drawn({"#"}), 0));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(0, blobTable().count);
}

TEST_F(LiteralBlobs, RegionWithoutRunsSucceeds)
{
    const int32_t im = drawn({"###"});
    ASSERT_EQ(1, I_SetScanlistROI(nullptr, 0));
    EXPECT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(0, I_GetBlobCount());
}

TEST_F(LiteralBlobs, StrokesOfAVStayApartWhereTheyMeetInOnePixel)
{
    const int32_t im = drawn({"#...#", //
                              ".#.#.", //
                              "..#.."});
    const int32_t labels = labelImage(im, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(2, I_GetBlobCount());
    EXPECT_THAT(rowOf(labels, 0), ElementsAre(1, 0, 0, 0, 2));
    EXPECT_THAT(rowOf(labels, 1), ElementsAre(0, 1, 0, 2, 0));
    EXPECT_THAT(rowOf(labels, 2), ElementsAre(0, 0, 2, 0, 0)); // the upper right wins
    EXPECT_THAT(firstPixelOf(1), ElementsAre(4, 0, 3));
}

TEST_F(LiteralBlobs, PixelLeftOfTheMeetingPointMergesTheStrokes)
{
    const int32_t im = drawn({"#...#", //
                              ".#.#.", //
                              ".##.."});
    const int32_t labels = labelImage(im, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(rowOf(labels, 2), ElementsAre(0, 1, 1, 0, 0));
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 4, 2));
}

TEST_F(LiteralBlobs, JoinedUKeepsTheLowerNumberAndTheSmallestFirstCoordinates)
{
    // The right arm begins higher: the first pixel of the merged blob lies on neither arm.
    const int32_t im = drawn({"....#", //
                              "#...#", //
                              "#####"});
    const int32_t labels = labelImage(im, PIX_DWORD);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(firstPixelOf(0), ElementsAre(0, 0, 8));
    EXPECT_THAT(rowOf(labels, 1), ElementsAre(1, 0, 0, 0, 1));
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 4, 2));
}

TEST_F(LiteralBlobs, SumsCountPixelsIntensitiesAndCoordinates)
{
    const int32_t im = drawn({"....", //
                              ".12.", //
                              ".3.."});
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    const BlobRecord& record = blobTable().records[1];
    EXPECT_EQ(3U, record.pixelCount);
    EXPECT_EQ(6, record.sumIntensity);
    EXPECT_EQ(4, record.sumX);
    EXPECT_EQ(4, record.sumY);
    EXPECT_EQ(0, record.parent);
}

TEST_F(LiteralBlobs, LookUpTableChoosesTheForeground)
{
    const int32_t im = drawn({"0123456789"});
    uint8_t lut[256] = {};
    lut[3] = lut[4] = lut[9] = 7;
    ASSERT_EQ(1, I_FindBlobs(lut, im, 0));
    EXPECT_EQ(2, I_GetBlobCount());
    EXPECT_THAT(boxOf(0), ElementsAre(3, 0, 4, 0));
    EXPECT_THAT(boxOf(1), ElementsAre(9, 0, 9, 0));
}

TEST_F(LiteralBlobs, ThresholdsInFallingOrderSelectTheOuterRanges)
{
    const int32_t im = byteImage(256, 1, [](int32_t x, int32_t) { return x; });
    ASSERT_EQ(1, I_FindBlobs1(200, 100, im, 0));
    EXPECT_EQ(2, I_GetBlobCount());
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 100, 0));
    EXPECT_THAT(boxOf(1), ElementsAre(200, 0, 255, 0));
    ASSERT_EQ(1, I_FindBlobs2(100, 200, im, 0));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(boxOf(0), ElementsAre(100, 0, 200, 0));
    EXPECT_EQ(100.0F, blobTable().thresholdLow);
    EXPECT_EQ(200.0F, blobTable().thresholdHigh);
    ASSERT_EQ(1, I_FindBlobs1(99.9, -3.5, im, 0)); // truncated: 99 and, clamped, 0
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(boxOf(1), ElementsAre(99, 0, 255, 0));
    EXPECT_EQ(99.9F, blobTable().thresholdLow);
    EXPECT_EQ(-3.5F, blobTable().thresholdHigh);
}

TEST_F(LiteralBlobs, FloatsAreKeptInsideTheThresholdsAndClampedToBytes)
{
    const std::vector<double> values = {-2.0, 0.25, 0.99, 1.0, 3.99, 254.5, 255.0, 1000.0, 1000.5};
    const auto cols = static_cast<int32_t>(values.size());
    const int32_t im = floatImage(2 * cols, 1, [&](int32_t x, int32_t) {
        return x % 2 == 0 ? values[static_cast<std::size_t>(x / 2)] : -5.0;
    });
    ASSERT_EQ(1, I_FindBlobs1(-2.0, 1000.0, im, 0));
    ASSERT_EQ(8, I_GetBlobCount());
    std::vector<int64_t> sums;
    for (int32_t i = 1; i <= 8; ++i)
        sums.push_back(blobTable().records[i].sumIntensity);
    EXPECT_THAT(sums, ElementsAre(1, 1, 1, 1, 3, 254, 255, 255));
    ASSERT_EQ(1, I_FindBlobs1(1000.0, -2.0, im, 0)); // up to -2 and from 1000: columns 0, 1, 3 ... and 14, 16
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 1, 0));
    EXPECT_THAT(boxOf(I_GetBlobCount() - 1), ElementsAre(13, 0, 17, 0));
}

TEST_F(LiteralBlobs, ThresholdedSearchStaysInTheRegion)
{
    const int32_t im = wordImage(20, 10, [](int32_t, int32_t) { return 700; });
    I_SetWindowROI(3, 2, 8, 5);
    ASSERT_EQ(1, I_FindBlobs1(500.5, 900.0, im, 0));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(boxOf(0), ElementsAre(3, 2, 8, 5));
    EXPECT_EQ(24 * 255, blobTable().records[1].sumIntensity);
}

TEST_F(LiteralBlobs, LabelsCarryOverAGapInTheRowsOfTheRegion)
{
    const int32_t im = drawn({"##", "..", "..", "##"});
    const VexaPoint list[] = {{0, 0}, {1, 0}, {0, 3}, {1, 3}};
    ASSERT_EQ(1, I_SetScanlistROI(list, 4));
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 1, 3));
}

TEST_F(LiteralBlobs, DefaultLimitHolds5885Blobs)
{
    const int32_t im = isolatedPixels(200, 200);
    const int32_t labels = labelImage(im, PIX_DWORD);
    EXPECT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(5885, I_GetBlobCount());
    EXPECT_EQ(5886, blobTable().capacity);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    // 100 blobs a row: the 5886th would stand at column 170 of row 116, whose run was never put.
    EXPECT_EQ(5800, pixel(labels, 198, 114));
    EXPECT_EQ(0, pixel(labels, 0, 116));
}

TEST_F(LiteralBlobs, CapacityGrowsBy250OrTheFactor)
{
    const int32_t im = isolatedPixels(200, 200);
    I_SetBlobTableSize(2);
    for (const int32_t capacity : {250, 500, 750, 1057, 1490, 2100, 2961, 4175, 5886}) {
        I_SetBlobTableSize(capacity);
        ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
        EXPECT_EQ(capacity, blobTable().capacity);
        EXPECT_EQ(capacity - 1, I_GetBlobCount());
    }
}

TEST_F(LiteralBlobs, SetBlobTableSizeDropsTheTable)
{
    EXPECT_EQ(5000, I_SetBlobTableSize(700));
    ASSERT_EQ(1, I_FindBlobs(nullptr, drawn({"#.#"}), 0));
    EXPECT_EQ(2, I_GetBlobCount());
    EXPECT_EQ(700, I_SetBlobTableSize(1));
    EXPECT_EQ(0, I_GetBlobCount());
    EXPECT_EQ(nullptr, blobTable().records);
    EXPECT_EQ(0, blobTable().capacity);
    EXPECT_EQ(700, I_SetBlobTableSize(-4));
    EXPECT_EQ(700, I_SetBlobTableSize(2));
    EXPECT_EQ(2, I_SetBlobTableSize(5000));
}

TEST_F(LiteralBlobs, ByteLabelImageBecomesWordsOnceManyBlobsSurviveACondensation)
{
    // Us: two records each, one blob. 100 of them on rows 0 and 1, and so on.
    const int32_t im = byteImage(400, 12, [](int32_t x, int32_t y) {
        return y % 3 == 0 ? (x % 4 == 0 || x % 4 == 2) : y % 3 == 1 ? x % 4 != 3 : 0;
    });
    const int32_t labels = labelImage(im, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(400, I_GetBlobCount());
    EXPECT_EQ(PIX_WORD, I_ImGetType(labels));
    for (int32_t blob = 0; blob < 400; ++blob)
        ASSERT_EQ(blob + 1, pixel(labels, blob % 100 * 4 + 1, blob / 100 * 3 + 1)) << blob;
}

// Rows 0 and 1: pairs of records that join and single ones, 253 records in all. Row 3: new ones up to 253 again.
TEST_F(LiteralBlobs, SurvivorsOf192TurnTheLabelImageToWords)
{
    for (const int32_t survivors : {191, 192}) {
        const int32_t pairs = 253 - survivors;
        const int32_t im = byteImage(600, 4, [&](int32_t x, int32_t y) {
            const bool opens = x % 2 == 0 && x < 2 * 253;
            return y == 0 ? opens : y == 1 ? x % 4 != 3 && x < 4 * pairs : y == 3 && opens && x < 2 * pairs;
        });
        const int32_t labels = labelImage(im, PIX_BYTE);
        ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
        EXPECT_EQ(253, I_GetBlobCount());
        EXPECT_EQ(survivors, blobTable().condensedCount);
        EXPECT_EQ(survivors == 192 ? PIX_WORD : PIX_BYTE, I_ImGetType(labels));
    }
}

TEST_F(LiteralBlobs, ByteLabelImageStaysBytesWhileCondensationLeavesFew)
{
    // Combs: 130 teeth open 130 records, the back joins them all.
    const int32_t im =
        byteImage(260, 30, [](int32_t x, int32_t y) { return y % 3 == 0 ? x % 2 == 0 : y % 3 == 1; });
    const int32_t labels = labelImage(im, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(10, I_GetBlobCount());
    EXPECT_EQ(PIX_BYTE, I_ImGetType(labels));
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 260; ++x)
            ASSERT_EQ(pixel(im, x, y) != 0 ? y / 3 + 1 : 0, pixel(labels, x, y)) << x << ", " << y;
}

TEST_F(LiteralBlobs, LabelImageGetsTheRangeOfTheBlobsOnlyWhereSomeWereDropped)
{
    const int32_t apart = drawn({"#.#"}), joined = drawn({"#.#", "###"});
    const int32_t labels = I_ImOpen(3, 2, PIX_WORD);
    I_SetPixValueRange(5.0, 6.0, labels);
    double low = -1, high = -1;
    ASSERT_EQ(1, I_FindBlobs(nullptr, apart, labels));
    I_GetPixValueRange(&low, &high, labels);
    EXPECT_EQ(0.0, low);
    EXPECT_EQ(0.0, high);
    ASSERT_EQ(1, I_FindBlobs(nullptr, joined, labels));
    I_GetPixValueRange(&low, &high, labels);
    EXPECT_EQ(0.0, low);
    EXPECT_EQ(1.0, high);
}

TEST_F(LiteralBlobs, RenumberingALabelImageClearsTheColourBand)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT}) {
        for (const bool joined : {false, true}) {
            const int32_t im = joined ? drawn({"#.#", "###"}) : drawn({"#.#", "#.#"});
            const int32_t labels = labelImage(im, type);
            I_SetColorBand(1);
            ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
            EXPECT_EQ(joined ? -2 : 1, I_GetColorBand()) << type;
        }
    }
    I_SetColorBand(-2);
}

TEST_F(LiteralBlobs, ProgressTellsTheStage)
{
    char text[40] = {};
    ASSERT_EQ(1, I_FindBlobs(nullptr, drawn({"#.#"}), 0));
    I_GetProgress(text, 40);
    EXPECT_STREQ("find blobs", text);
    ASSERT_EQ(1, I_FindBlobs(nullptr, isolatedPixels(100, 100), 0));
    I_GetProgress(text, 40);
    EXPECT_STREQ("condense blobs", text);
}

TEST_F(LiteralBlobs, ColourIsReadWithTheStatisticsMode)
{
    const int32_t im = I_ImOpen(4, 1, PIX_BGR24);
    uint8_t row[] = {0, 0, 90, 0, 0, 0, 60, 60, 60, 0, 0, 0}; // one red, one grey pixel
    I_PutBlockType(0, 0, 4, 1, row, im, PIX_BGR24);
    I_SetStatsProcMode(0);
    I_ResetColorProcMode();
    I_SetColorProcMode(3);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(90, blobTable().records[1].sumIntensity);
    EXPECT_EQ(3, I_GetColorProcMode());
    I_SetStatsProcMode(-2);
    I_ResetColorProcMode();
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_EQ(30, blobTable().records[1].sumIntensity);
    EXPECT_EQ(3, I_GetColorProcMode());
}

TEST_F(LiteralBlobs, InvertedImageIsLabelledByStorageRow)
{
    const int32_t im = drawn({"#.", ".#", ".#"});
    findImageRecord(im, "")->inverted = 1;
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    EXPECT_THAT(firstPixelOf(0), ElementsAre(0, 0, 3));
}

TEST_F(BoundsBlobs, PolygonMayCountTheColumnRightOfTheImageWhereZeroIsForeground)
{
    const int32_t im = byteImage(8, 6);
    const VexaPoint right[] = {{20, 0}, {20, 5}, {0, 5}};
    ASSERT_EQ(1, I_SetPolygonROI(right, 3));
    int32_t points = 0;
    const VexaPoint* list = I_ROIScanlist(&points, im);
    ASSERT_EQ(8, list[points - 1].x) << "the last row reaches one pixel further";
    uint8_t all[256];
    std::fill(std::begin(all), std::end(all), uint8_t{1});
    ASSERT_EQ(1, I_FindBlobs(all, im, 0));
    ASSERT_EQ(1, I_GetBlobCount());
    EXPECT_EQ(8, boxOf(0)[2]);
}

TEST_F(BoundsBlobs, LabelsLeaveEverythingOutsideTheRunsAlone)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD}) {
        for (int32_t width = 1; width < 140; width += 3) {
            const int32_t im = byteImage(160, 3, [](int32_t, int32_t) { return 9; });
            const int32_t labels = image(160, 3, type, [](int32_t, int32_t) { return 77; });
            I_SetWindowROI(5, 1, 4 + width, 1);
            ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
            for (int32_t y = 0; y < 3; ++y)
                for (int32_t x = 0; x < 160; ++x)
                    ASSERT_EQ(y == 1 && x >= 5 && x < 5 + width ? 1 : 77, pixel(labels, x, y))
                        << x << ", " << y;
            closeImages({im, labels});
        }
    }
}

TEST_F(BoundsBlobs, SmallerLabelImageGetsWhatFits)
{
    const int32_t im = byteImage(20, 10, [](int32_t, int32_t) { return 1; });
    const int32_t labels = I_ImOpen(7, 4, PIX_BYTE);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(std::vector<uint8_t>(28, 1), bytesOf(labels));
}

TEST_F(BoundsBlobs, SourceMayBeItsOwnLabelImage)
{
    const int32_t im = drawn({"#.##", "...#", "#.##"});
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, im));
    EXPECT_THAT(bytesOf(im), ElementsAre(1, 0, 2, 2, 0, 0, 0, 2, 3, 0, 2, 2));
}

// Each row of labels overwrites the next rows of the source before they are read.
TEST_F(BoundsBlobs, LabelsMayOverwriteRowsThatAreStillToBeSearched)
{
    std::vector<uint16_t> block(32);
    const int32_t im = I_ImOpenPtr(8, 4, 8, PIX_BYTE, block.data());
    const int32_t labels = I_ImOpenPtr(8, 4, 16, PIX_WORD, block.data());
    I_ImClear(im, 7.0);
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    ASSERT_EQ(1, I_GetBlobCount());
    EXPECT_THAT(firstPixelOf(0), ElementsAre(0, 0, 8 + 4 + 2 + 2));
    EXPECT_THAT(rowOf(labels, 0), ElementsAre(1, 1, 1, 1, 1, 1, 1, 1));
    EXPECT_THAT(rowOf(labels, 1), ElementsAre(1, 0, 1, 0, 1, 0, 1, 0));
    EXPECT_THAT(rowOf(labels, 3), ElementsAre(1, 0, 0, 0, 1, 0, 0, 0));
}

TEST_F(BoundsBlobs, FullTableMapsOldLabelsThatItDidNotReach)
{
    // Three joined records, then more isolated pixels than 250 records hold: row 5 is not reached.
    const int32_t im = byteImage(300, 6, [](int32_t x, int32_t y) {
        return y == 0 ? x == 0 || x == 2 : y == 1 ? x < 3 : y > 2 && x % 2 == 0 && (y - 3) % 2 == 0;
    });
    I_SetBlobTableSize(2);
    for (const int32_t type : {PIX_WORD, PIX_DWORD}) {
        const int32_t labels = image(300, 6, type, [](int32_t, int32_t) { return 3; });
        ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
        EXPECT_EQ(248, I_GetBlobCount());
        EXPECT_EQ(1, pixel(labels, 2, 0));
        EXPECT_EQ(2, pixel(labels, 0, 3)); // record 3
        EXPECT_EQ(2, pixel(labels, 0, 5)); // what was 3 before the search
    }
}

TEST_F(BoundsBlobs, UnalignedImagesOfOthersMemoryAreLabelled)
{
    std::vector<uint8_t> block(4 * 9 * 5 + 1);
    const int32_t labels = I_ImOpenPtr(9, 5, 36, PIX_DWORD, block.data() + 1);
    const int32_t im = byteImage(9, 5, [](int32_t x, int32_t) { return x % 2; });
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(4, block[1 + 4 * 7]);
    EXPECT_EQ(4, I_GetBlobCount());
}

TEST_F(BoundsBlobs, RunsOutsideTheImageReadNothing)
{
    const int32_t im = drawn({"###", "###"});
    const VexaPoint list[] = {{-2, 0}, {40, 0}, {1, 1}, {2, 1}, {0, 5}, {0, 5}};
    ASSERT_EQ(1, I_SetScanlistROI(list, 6));
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, labelImage(im, PIX_BYTE)));
    ASSERT_EQ(1, I_GetBlobCount());
    // Row 5 is no row of the image: the value that row 0 left at column 0 stands there.
    EXPECT_THAT(boxOf(0), ElementsAre(0, 0, 2, 5));
    EXPECT_EQ(6U, blobTable().records[1].pixelCount);
}

TEST_F(BoundsBlobs, MoreThan65520BlobsAreReportedAndTheTableHolds)
{
    const int32_t im = isolatedPixels(700, 700); // 122500
    I_SetBlobTableSize(65300);                   // the capacity goes from 65206 to 91940 and no further
    const int32_t labels = labelImage(im, PIX_DWORD);
    EXPECT_EQ(1, I_FindBlobs(nullptr, im, labels));
    EXPECT_EQ(35, I_GetError(nullptr, 0));
    EXPECT_EQ("Too many blobs:#122500", errorText());
    EXPECT_EQ(91940, blobTable().capacity);
    EXPECT_EQ(91939, I_GetBlobCount());
    EXPECT_EQ(122500, pixel(labels, 698, 698));
}

TEST_F(BoundsBlobs, NumbersBeyondFifteenBitsAreCondensed)
{
    // Two pixels that the row below joins, then isolated ones: every other number falls by one.
    const int32_t im = byteImage(400, 400, [](int32_t x, int32_t y) {
        return y > 3 ? x % 2 == 0 && y % 2 == 0 : y == 0 ? x == 0 || x == 2 : y == 1 && x < 3;
    });
    I_SetBlobTableSize(65000);
    for (const int32_t type : {PIX_WORD, PIX_DWORD}) {
        const int32_t labels = labelImage(im, type);
        ASSERT_EQ(1, I_FindBlobs(nullptr, im, labels));
        EXPECT_EQ(39601, I_GetBlobCount());
        for (int32_t i = 0; i < 39600; ++i)
            ASSERT_EQ(i + 2, static_cast<int32_t>(pixel(labels, i % 200 * 2, i / 200 * 2 + 4)) & 65535) << i;
    }
}

TEST_F(FailuresBlobs, BadImagesGiveZeroAndKeepTheTable)
{
    ASSERT_EQ(1, I_FindBlobs(nullptr, drawn({"#.#"}), 0));
    for (const int32_t im : {0, 5, -299, -123456}) {
        clearError();
        EXPECT_EQ(0, I_FindBlobs(nullptr, im, 0)) << im;
        EXPECT_EQ(0, I_FindBlobs1(1.0, 2.0, im, 0)) << im;
        EXPECT_EQ(0, I_FindBlobs2(1, 2, im, 0)) << im;
        EXPECT_EQ(2, I_GetBlobCount());
    }
}

TEST_F(FailuresBlobs, BadLabelImageCountsAsNone)
{
    const int32_t im = drawn({"#.#"});
    for (const int32_t labels : {5, -299, -123456, 0}) {
        EXPECT_EQ(1, I_FindBlobs(nullptr, im, labels)) << labels;
        EXPECT_EQ(2, I_GetBlobCount());
    }
}

TEST_F(FailuresBlobs, NotANumberThresholdsSelectNothingSpecial)
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    const int32_t floats = floatImage(4, 4, [](int32_t, int32_t) { return 3.0; });
    EXPECT_EQ(1, I_FindBlobs1(none, none, floats, 0));
    EXPECT_EQ(0, I_GetBlobCount());
    EXPECT_EQ(1, I_FindBlobs1(none, none, drawn({"#."}), 0));
    EXPECT_EQ(1, I_GetBlobCount()); // both count as 0
    EXPECT_EQ(1, I_FindBlobs1(-1e300, 1e300, floats, 0));
    EXPECT_EQ(1, I_GetBlobCount());
}

TEST_F(FailuresBlobs, FindBlobsWithoutMemory)
{
    const int32_t im = drawn({"#.#.#", "###.#"});
    const int32_t labels = labelImage(im, PIX_WORD);
    forEachFailingAllocation([&] { return I_FindBlobs(nullptr, im, labels); },
                             [&](int64_t result) {
                                 if (result == 0) {
                                     EXPECT_EQ(2, I_GetError(nullptr, 0));
                                     return;
                                 }
                                 // What only makes the search faster was missing.
                                 EXPECT_EQ(0, I_GetError(nullptr, 0));
                                 EXPECT_THAT(rowOf(labels, 0), ElementsAre(1, 0, 1, 0, 2));
                                 EXPECT_THAT(rowOf(labels, 1), ElementsAre(1, 1, 1, 0, 2));
                             });
}

TEST_F(FailuresBlobs, FindBlobs1WithoutMemory)
{
    const int32_t im = floatImage(5, 5, [](int32_t x, int32_t) { return x; });
    const Messages messages;
    // The image that is thresholded into reports by a message when its pixels cannot be had, and tries again.
    int64_t succeeded = 0;
    forEachFailingAllocation(
        [&] {
            I_PostMessage("%s", "the message that is kept");
            return I_FindBlobs1(2.0, 3.0, im, 0);
        },
        [&](int64_t result) {
            succeeded += result;
            EXPECT_TRUE(result == 1 || I_GetError(nullptr, 0) == 2 || !messages.all().empty());
        });
    EXPECT_LE(succeeded, 2);
}

TEST_F(FailuresBlobs, TableThatCannotGrowStopsTheScanQuietly)
{
    const int32_t im = isolatedPixels(60, 60); // 900
    ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
    ASSERT_EQ(900, I_GetBlobCount());
    I_SetBlobTableSize(5000);
    forEachFailingAllocation(
        [&] {
            I_SetBlobTableSize(5000);
            const int64_t result = I_FindBlobs(nullptr, im, 0);
            const int64_t found = I_GetBlobCount();
            I_SetBlobTableSize(5000);
            return result * 10000 + found;
        },
        [&](int64_t result) {
            // A condensation that has no memory leaves the number of the record that could not be opened.
            const std::set<int64_t> counts = {0, 1, 250, 500, 750, 900, 10000, 10249, 10499, 10749, 10900};
            EXPECT_EQ(1U, counts.count(result)) << result;
        });
}

PlainRecord plain(const BlobRecord& r)
{
    return {r.parent,
            r.left,
            r.top,
            r.right,
            r.bottom,
            r.firstX,
            r.firstY,
            r.pixelCount,
            static_cast<double>(r.sumIntensity),
            static_cast<double>(r.sumX),
            static_cast<double>(r.sumY)};
}

// Random images of all densities against the described search, on every instruction set.
class AgainstReferenceBlobs : public testing::TestWithParam<InstructionSet>
{
protected:
    void SetUp() override { limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        limitInstructionSet(InstructionSet::avx512);
        I_ImCloseAll();
        I_SetBlobTableSize(5000);
        I_SetROIType(0);
        clearError();
    }

    int32_t number(int32_t low, int32_t high)
    {
        return std::uniform_int_distribution<int32_t>(low, high)(random_);
    }

    // What searches are made of: the sizes of the images, and how much foreground in how long pieces.
    struct Mix {
        int32_t minCols, maxCols;
        int32_t minRows, maxRows;
        int32_t minPercent, maxPercent;
        int32_t maxStretch;
        int32_t limit;
    };

    std::vector<uint8_t> randomPixels(int32_t cols, int32_t rows, const Mix& mix)
    {
        const double density = number(mix.minPercent, mix.maxPercent) / 100.0;
        const int32_t stretch = number(1, mix.maxStretch);
        std::vector<uint8_t> pixels(static_cast<std::size_t>(cols * rows));
        bool set = false;
        for (uint8_t& p : pixels) {
            if (number(1, stretch) == 1)
                set = number(0, 999) < 1000 * density;
            p = set ? static_cast<uint8_t>(number(1, 255)) : uint8_t{0};
        }
        return pixels;
    }

    std::vector<bool> randomForeground(std::vector<uint8_t>& lut)
    {
        lut.assign(256, 0);
        const int32_t low = number(0, 255), high = number(0, 255);
        switch (number(0, 3)) {
        case 0: // a range, or two outer ones
            for (int32_t i = 0; i < 256; ++i)
                lut[static_cast<std::size_t>(i)] =
                    low <= high ? i >= low && i <= high : i <= high || i >= low;
            break;
        case 1:
            for (uint8_t& entry : lut)
                entry = static_cast<uint8_t>(number(0, 2));
            break;
        default:
            for (int32_t i = 1; i < 256; ++i)
                lut[static_cast<std::size_t>(i)] = 1;
        }
        std::vector<bool> foreground(256);
        for (std::size_t i = 0; i < 256; ++i)
            foreground[i] = lut[i] != 0;
        return foreground;
    }

    void randomRegion(int32_t cols, int32_t rows)
    {
        I_SetROIType(0);
        std::vector<VexaPoint> points;
        switch (number(0, 6)) {
        case 0:
            I_SetWindowROI(number(0, cols), number(0, rows), number(0, cols), number(0, rows));
            return;
        case 1: // several runs on a row, some of them touching
        case 4:
            for (int32_t y = 0; y < rows; y += number(1, 2))
                for (int32_t x = number(0, 9); x < cols; x += number(1, 3)) {
                    const int32_t end = std::min(cols - 1, x + number(0, 12));
                    points.push_back({x, y});
                    points.push_back({end, y});
                    x = end;
                }
            break;
        case 2: // overlapping, falling back, outside of the image
            for (int32_t y = number(-2, 0); y < rows + 2; y += number(0, 2)) {
                const int32_t x = number(-3, cols);
                points.push_back({x, y});
                points.push_back({x + number(0, cols), y});
            }
            break;
        case 3: {
            for (int32_t i = number(3, 6); i > 0; --i)
                points.push_back({number(0, cols + 3), number(0, rows)});
            I_SetPolygonROI(points.data(), static_cast<int32_t>(points.size()));
            return;
        }
        default:
            return;
        }
        I_SetScanlistROI(points.data(), static_cast<int32_t>(points.size()));
    }

    static std::vector<VexaPoint> scanList(int32_t im)
    {
        int32_t count = 0;
        const VexaPoint* list = I_ROIScanlist(&count, im);
        return {list, list + count};
    }

    // What a row operator visits: the region's box, or its runs one by one.
    static std::vector<VexaBox> visited(int32_t im)
    {
        std::vector<VexaBox> boxes;
        int32_t x = 0, y = 0, width = 0, height = 0, first = 1;
        while (I_GetNextLines(&x, &y, &width, &height, im, &first, 0) != 0)
            boxes.push_back({std::max(x, 0), y, x + width - 1, y + height - 1});
        return boxes;
    }

    void compareTables(const PlainLabeller& plainTable)
    {
        ASSERT_EQ(plainTable.count, blobTable().count);
        ASSERT_EQ(plainTable.condensedCount, blobTable().condensedCount);
        ASSERT_EQ(plainTable.records.size(), static_cast<std::size_t>(blobTable().capacity));
        for (int32_t i = 0; i < blobTable().capacity; ++i)
            ASSERT_EQ(plainTable.records[static_cast<std::size_t>(i)], plain(blobTable().records[i]))
                << "record " << i;
    }

    void compareLabels(const PlainLabelImage& expected, int32_t labels)
    {
        ASSERT_EQ(expected.type, I_ImGetType(labels));
        for (int32_t y = 0; y < expected.rows; ++y) {
            const std::vector<double> row = rowOf(labels, y);
            for (int32_t x = 0; x < expected.cols; ++x) {
                const int64_t bits = expected.type == PIX_WORD ? 65535 : -1;
                ASSERT_EQ(expected.pixels[static_cast<std::size_t>(y * expected.cols + x)],
                          static_cast<int64_t>(row[static_cast<std::size_t>(x)]) & bits)
                    << "label at " << x << ", " << y;
            }
        }
    }

    void searchOnce(const Mix& mix, PlainLabeller& reference)
    {
        const int32_t cols = number(mix.minCols, mix.maxCols), rows = number(mix.minRows, mix.maxRows);
        const std::vector<uint8_t> pixels = randomPixels(cols, rows, mix);
        const int32_t sourceTypes[] = {PIX_BYTE, PIX_BYTE, PIX_BYTE, PIX_WORD};
        const int32_t im = image(cols, rows, sourceTypes[number(0, 3)], [&](int32_t x, int32_t y) {
            return pixels[static_cast<std::size_t>(y * cols + x)];
        });
        const int32_t labelTypes[] = {0,        PIX_WORD, PIX_DWORD, PIX_FLOAT,
                                      PIX_BYTE, PIX_BYTE, PIX_BYTE,  PIX_BYTE};
        PlainLabelImage expected;
        expected.type = labelTypes[number(0, 7)];
        int32_t labels = 0;
        if (expected.type != 0) {
            const bool sameSize = number(0, 4) != 0;
            const int32_t old = number(0, 90);
            expected.cols = sameSize ? cols : number(1, cols + 4);
            expected.rows = sameSize ? rows : number(1, rows + 4);
            expected.pixels.assign(static_cast<std::size_t>(expected.cols * expected.rows), old);
            labels = image(static_cast<int32_t>(expected.cols), static_cast<int32_t>(expected.rows),
                           expected.type, [&](int32_t, int32_t) { return old; });
        }
        randomRegion(cols, rows);
        std::vector<uint8_t> lut;
        const std::vector<bool> foreground = randomForeground(lut);
        const std::vector<VexaBox> remapped = labels != 0 ? visited(labels) : std::vector<VexaBox>();
        ASSERT_EQ(reference.find(pixels, cols, rows, foreground, scanList(im), expected, remapped),
                  I_FindBlobs(lut.data(), im, labels));
        compareTables(reference);
        if (labels != 0)
            compareLabels(expected, labels);
        closeImages({im});
        if (labels != 0)
            closeImages({labels});
    }

    void searchMany(int32_t searches, const Mix& mix)
    {
        PlainLabeller reference;
        for (int32_t i = 0; i < searches; ++i) {
            if (i % 40 == 0) { // in between the table of one search serves the next
                reference.limit = number(0, 1) != 0 ? mix.limit : 5000;
                reference.records.clear();
                I_SetBlobTableSize(static_cast<int32_t>(reference.limit));
            }
            SCOPED_TRACE("search " + std::to_string(i));
            searchOnce(mix, reference);
            if (HasFatalFailure())
                return;
        }
    }

    std::mt19937 random_{20240611};
};
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceBlobs, testing::ValuesIn(availableInstructionSets()));

TEST_P(AgainstReferenceBlobs, TinyImages)
{
    searchMany(3000, {1, 9, 1, 6, 0, 100, 3, 5000});
}

TEST_P(AgainstReferenceBlobs, ImagesOfAllDensities)
{
    searchMany(400, {1, 70, 1, 50, 0, 100, 6, 5000});
}

TEST_P(AgainstReferenceBlobs, WideImages)
{
    searchMany(120, {60, 400, 1, 12, 0, 100, 40, 5000});
}

// Enough records that tables of the smallest limit are full.
TEST_P(AgainstReferenceBlobs, SpecklesThatFillTheTable)
{
    searchMany(80, {50, 90, 40, 60, 8, 25, 1, 2});
}

// Enough records, most of them merging, that labels of bytes run out again and again.
TEST_P(AgainstReferenceBlobs, TanglesThatRunOutOfByteLabels)
{
    searchMany(160, {80, 150, 30, 50, 25, 60, 2, 600});
}

// Long runs, so that the sums of whole vectors and of rests meet.
TEST_P(AgainstReferenceBlobs, SolidImages)
{
    for (int32_t cols = 1; cols < 300; cols += 7) {
        const int32_t im =
            byteImage(cols, 3, [](int32_t x, int32_t y) { return 1 + (x * 7 + y * 31) % 255; });
        int64_t sum = 0;
        for (int32_t y = 0; y < 3; ++y)
            for (int32_t x = 0; x < cols; ++x)
                sum += 1 + (x * 7 + y * 31) % 255;
        ASSERT_EQ(1, I_FindBlobs(nullptr, im, 0));
        ASSERT_EQ(1, I_GetBlobCount());
        ASSERT_EQ(sum, blobTable().records[1].sumIntensity) << cols;
        closeImages({im});
    }
}

} // namespace
} // namespace vexa::test
