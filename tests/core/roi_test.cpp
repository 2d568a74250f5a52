#include "vexalib/roi.h"

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/image_table.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "tests/core/roi_lists.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using Box = std::vector<int32_t>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// What the process started with, taken before any test runs.
struct Initial {
    int32_t type = I_GetROIType();
    Box window = std::vector<int32_t>(4);
    Points polygon = Points(5);
    int32_t polygonCount = I_GetPolygonROI(polygon.data(), 5);
    float chunk = I_SetCachingChunkMB(nullptr);
    Initial() { I_GetWindowROI(&window[0], &window[1], &window[2], &window[3]); }
};
const Initial initial;

std::vector<Box> bands(int32_t im)
{
    std::vector<Box> all;
    Box band(4);
    for (int32_t first = 1; I_GetNextLines(&band[0], &band[1], &band[2], &band[3], im, &first, 0) != 0;)
        all.push_back(band);
    return all;
}

Box boundingBox(int32_t im)
{
    Box box(4, -99);
    I_ROIBoundingBox(&box[0], &box[1], &box[2], &box[3], im);
    return box;
}

class Roi : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetWindowROI(50, 50, 500, 430);
        I_SetROIType(0);
        const float two = 2.0F;
        I_SetCachingChunkMB(&two);
        clearError();
    }
    void TearDown() override { I_SetROIType(0); }
};
class LiteralRoi : public Roi
{
};
class BoundsRoi : public Roi
{
};
class FailuresRoi : public Roi
{
};

TEST_F(LiteralRoi, InitialState)
{
    EXPECT_EQ(0, initial.type);
    EXPECT_THAT(initial.window, ElementsAre(50, 50, 500, 430));
    EXPECT_EQ(5, initial.polygonCount);
    const Points expected = {{132, 370}, {132, 110}, {380, 110}, {380, 370}, {256, 420}};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(initial.polygon[i] == expected[i]) << i;
    EXPECT_FLOAT_EQ(1.8F, initial.chunk);
}

TEST_F(LiteralRoi, I_SetROITypeGivesThePreviousType)
{
    EXPECT_EQ(0, I_SetROIType(2));
    EXPECT_EQ(2, I_SetROIType(3));
    EXPECT_EQ(3, I_SetROIType(1));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(0, I_SetROIType(4));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(1, I_GetROIType());
    I_SetROIType(4);
    EXPECT_THAT(errorText(), HasSubstr("I_SetROIType=4"));
    EXPECT_EQ(0, I_SetROIType(-1));
    EXPECT_EQ(1, I_GetROIType());
}

TEST_F(LiteralRoi, ShapesOutliveAChangeOfType)
{
    I_SetWindowROI(1, 2, 3, 4);
    setPolygon({{0, 0}, {5, 0}, {5, 5}});
    I_SetROIType(0);
    I_SetROIType(1);
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(3, I_GetPolygonROI(nullptr, 0));
    I_GetWindowROI(nullptr, nullptr, nullptr, nullptr);
}

TEST_F(LiteralRoi, I_SetWindowROIOrdersItsSides)
{
    const struct {
        Box given, stored;
    } cases[] = {
        {{-5, -6, 10, 11}, {0, 0, 10, 11}},
        {{20, 30, 10, 5}, {10, 5, 10, 5}},
        {{7, 8, 0, -3}, {7, 8, 0, -3}},
        {{7, 8, 1, 1}, {1, 1, 1, 1}},
    };
    for (const auto& c : cases) {
        I_SetROIType(0);
        EXPECT_EQ(1, I_SetWindowROI(c.given[0], c.given[1], c.given[2], c.given[3]));
        EXPECT_EQ(1, I_GetROIType());
        EXPECT_EQ(c.stored, window());
    }
}

TEST_F(LiteralRoi, I_SetRectROIGrowsByTheMargin)
{
    const VexaBox box = {10, 20, 30, 40};
    EXPECT_EQ(1, I_SetRectROI(&box, 3));
    EXPECT_THAT(window(), ElementsAre(7, 17, 33, 43));
    EXPECT_EQ(1, I_SetRectROI(&box, -5));
    EXPECT_THAT(window(), ElementsAre(15, 25, 25, 35));
    EXPECT_EQ(0, I_SetRectROI(nullptr, 1));
}

TEST_F(LiteralRoi, PolygonTakesOneTo99Points)
{
    Points points(100, VexaPoint{3, 4});
    EXPECT_EQ(1, I_SetPolygonROI(points.data(), 99));
    EXPECT_EQ(2, I_GetROIType());
    I_SetROIType(0);
    EXPECT_EQ(0, I_SetPolygonROI(points.data(), 100));
    EXPECT_THAT(errorText(), HasSubstr("SetPolygonROI npts=100"));
    EXPECT_EQ(0, I_SetPolygonROI(points.data(), 0));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_SetPolygonROI(nullptr, 5));
    EXPECT_EQ(0, I_GetROIType());
    EXPECT_EQ(99, I_GetPolygonROI(nullptr, 5));
}

TEST_F(LiteralRoi, I_GetPolygonROICopiesTheSmallerCount)
{
    setPolygon({{1, 2}, {3, 4}, {5, 6}});
    Points out(4, VexaPoint{-1, -1});
    EXPECT_EQ(3, I_GetPolygonROI(out.data(), 2));
    EXPECT_EQ((VexaPoint{3, 4}), out[1]);
    EXPECT_EQ((VexaPoint{-1, -1}), out[2]);
    EXPECT_EQ(3, I_GetPolygonROI(out.data(), 4));
    EXPECT_EQ((VexaPoint{5, 6}), out[2]);
    EXPECT_EQ((VexaPoint{-1, -1}), out[3]);
}

TEST_F(LiteralRoi, FarSidesOfZeroMeanTheEdgeInTheListOnly)
{
    const int32_t im = byteImage(100, 100);
    I_SetWindowROI(10, 10, 0, 0);
    EXPECT_THAT(boundingBox(im), ElementsAre(0, 0, 10, 10));
    const Points list = scanlist(im);
    ASSERT_EQ(180U, list.size());
    for (int32_t i = 0; i < 90; ++i) {
        EXPECT_EQ((VexaPoint{10, 10 + i}), list[2 * i]);
        EXPECT_EQ((VexaPoint{99, 10 + i}), list[2 * i + 1]);
    }
    closeImages({im});
}

TEST_F(LiteralRoi, NegativeFarSidesCountFromTheEdge)
{
    const int32_t im = byteImage(100, 100);
    I_SetWindowROI(10, 10, -5, -5);
    EXPECT_THAT(boundingBox(im), ElementsAre(10, 10, 94, 94));
    const Points list = scanlist(im);
    ASSERT_EQ(170U, list.size());
    EXPECT_EQ((VexaPoint{10, 10}), list.front());
    EXPECT_EQ((VexaPoint{94, 94}), list.back());
    closeImages({im});
}

TEST_F(LiteralRoi, WindowOutsideBecomesTheLastPixel)
{
    const int32_t im = byteImage(100, 100);
    I_SetWindowROI(200, 200, 300, 300);
    EXPECT_THAT(boundingBox(im), ElementsAre(99, 99, 99, 99));
    const Points list = scanlist(im);
    ASSERT_EQ(2U, list.size());
    EXPECT_EQ((VexaPoint{99, 99}), list[0]);
    EXPECT_EQ((VexaPoint{99, 99}), list[1]);
    closeImages({im});
}

TEST_F(LiteralRoi, BoundingBoxByType)
{
    const int32_t im = byteImage(100, 80);
    EXPECT_THAT(boundingBox(im), ElementsAre(0, 0, 99, 79));
    setPolygon({{20, 30}, {150, 10}, {40, 60}});
    EXPECT_THAT(boundingBox(im), ElementsAre(20, 10, 99, 60));
    setPolygon({{-20, -30}, {-15, -10}, {-4, -6}});
    EXPECT_THAT(boundingBox(im), ElementsAre(0, 0, 0, 0));
    const Points runs = {{7, 3}, {9, 3}, {5, 4}, {6, 4}, {30, 4}, {31, 4}, {8, 9}, {8, 9}};
    ASSERT_EQ(1, I_SetScanlistROI(runs.data(), 8));
    EXPECT_THAT(boundingBox(im), ElementsAre(5, 3, 31, 9));
    ASSERT_EQ(1, I_SetScanlistROI(nullptr, 0));
    EXPECT_THAT(boundingBox(im), ElementsAre(0, 0, 0, 0));
    closeImages({im});
}

TEST_F(LiteralRoi, BoundingBoxOfSeveralImagesTakesTheSmallerSides)
{
    const int32_t a = byteImage(100, 20);
    const int32_t b = byteImage(30, 90);
    const int32_t c = byteImage(60, 10);
    Box box(4);
    EXPECT_EQ(1, I_ROIBoundingBox2(&box[0], &box[1], &box[2], &box[3], a, b));
    EXPECT_THAT(box, ElementsAre(0, 0, 29, 19));
    EXPECT_EQ(1, I_ROIBoundingBox3(&box[0], &box[1], &box[2], &box[3], a, b, c));
    EXPECT_THAT(box, ElementsAre(0, 0, 29, 9));
    EXPECT_EQ(1, I_ROIBoundingBox2(&box[0], &box[1], &box[2], &box[3], a, 0));
    EXPECT_THAT(box, ElementsAre(0, 0, 99, 19));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    const int32_t images[] = {a, -299};
    EXPECT_EQ(0, I_ROIBoundingBoxN(&box[0], &box[1], &box[2], &box[3], images, 2));
    EXPECT_THAT(box, ElementsAre(0, 0, 99, 19));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ROIBoundingBox(&box[0], &box[1], &box[2], &box[3], 0));
    EXPECT_THAT(box, ElementsAre(0, 0, 65534, 65534));
    int32_t cols = 0;
    int32_t rows = 0;
    const int32_t all[] = {a, b, c};
    EXPECT_EQ(1, I_ImGetMinSize(&cols, &rows, all, 3));
    EXPECT_EQ(30, cols);
    EXPECT_EQ(10, rows);
    EXPECT_EQ(0, I_ImGetMinSize(&cols, &rows, nullptr, 3));
    EXPECT_EQ(65535, cols);
    EXPECT_EQ(1, I_ImGetMinSize(nullptr, nullptr, all, 1));
    closeImages({a, b, c});
}

TEST_F(LiteralRoi, I_SetScanlistROIChecksTheRuns)
{
    const Messages messages;
    const Points odd = {{1, 1}, {2, 1}, {3, 1}};
    EXPECT_EQ(0, I_SetScanlistROI(odd.data(), 3));
    EXPECT_EQ(38, I_GetError(nullptr, 0));
    I_SetScanlistROI(odd.data(), 3);
    EXPECT_THAT(errorText(), HasSubstr("SetScanList npts=3, maxsize="));
    EXPECT_TRUE(messages.all().empty());
    const Points badX = {{1, 1}, {2, 1}, {5, 2}, {4, 2}};
    EXPECT_EQ(0, I_SetScanlistROI(badX.data(), 4));
    const Points badPair = {{1, 1}, {2, 3}};
    EXPECT_EQ(0, I_SetScanlistROI(badPair.data(), 2));
    const Points badOrder = {{1, 4}, {2, 4}, {1, 3}, {2, 3}, {9, 1}, {2, 1}};
    EXPECT_EQ(0, I_SetScanlistROI(badOrder.data(), 6));
    EXPECT_EQ(38, I_GetError(nullptr, 0));
    EXPECT_THAT(messages.all(),
                ElementsAre(HasSubstr("CHECKSCAN: #1: X's out of order on line 2: 5,2; 4,2\n"),
                            HasSubstr("CHECKSCAN: #0 Unpaired Y's on line 1: 1,1; 2,3\n"),
                            HasSubstr("CHECKSCAN: #1 Y's out of sequential order on line 3: 1,3; 2,3\n")));
    EXPECT_EQ(0, I_SetScanlistROI(nullptr, 2));
    EXPECT_EQ(0, I_SetScanlistROI(odd.data(), -2));
    EXPECT_EQ(0, I_GetROIType());
    const Points good = {{1, 1}, {2, 1}, {7, 1}, {7, 1}, {0, 3}, {4, 3}};
    EXPECT_EQ(1, I_SetScanlistROI(good.data(), 6));
    EXPECT_EQ(3, I_GetROIType());
    const int32_t im = byteImage(5, 5);
    EXPECT_THAT(lines(im), ElementsAre(Segment{1, 1, 2}, Segment{0, 3, 4 + 1}));
    closeImages({im});
}

TEST_F(LiteralRoi, I_GetScanlistROIUsesTheGraphicsImage)
{
    const int32_t im = byteImage(6, 3);
    I_SetGraphicsFrame(im);
    Points out(7, VexaPoint{-1, -1});
    EXPECT_EQ(6, I_GetScanlistROI(out.data(), 4));
    EXPECT_EQ((VexaPoint{5, 1}), out[3]);
    EXPECT_EQ((VexaPoint{-1, -1}), out[4]);
    EXPECT_EQ(6, I_GetScanlistROI(out.data(), 0));
    EXPECT_EQ(6, I_GetScanlistROI(out.data(), 100));
    EXPECT_EQ((VexaPoint{5, 2}), out[5]);
    EXPECT_EQ((VexaPoint{-1, -1}), out[6]);
    EXPECT_EQ(0, I_GetScanlistROI(nullptr, 4));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_GetScanlistROI(out.data(), -1));
    EXPECT_THAT(errorText(), HasSubstr("getscanlist"));
    closeImages({im});
}

TEST_F(LiteralRoi, TriangleWithAFlatTop)
{
    const int32_t im = byteImage(20, 20);
    setPolygon({{2, 3}, {10, 3}, {6, 7}});
    EXPECT_THAT(lines(im), ElementsAre(Segment{2, 3, 9}, Segment{3, 4, 7}, Segment{4, 5, 5}, Segment{5, 6, 3},
                                       Segment{6, 7, 1}));
    closeImages({im});
}

TEST_F(LiteralRoi, SquareHoldsItsCorners)
{
    const int32_t im = byteImage(20, 20);
    for (const Points& square :
         {Points{{2, 3}, {5, 3}, {5, 5}, {2, 5}}, Points{{2, 5}, {5, 5}, {5, 3}, {2, 3}}}) {
        setPolygon(square);
        EXPECT_THAT(lines(im), ElementsAre(Segment{2, 3, 4}, Segment{2, 4, 4}, Segment{2, 5, 4}));
    }
    closeImages({im});
}

TEST_F(LiteralRoi, LastRowOfAPolygonReachesOnePixelFurther)
{
    const int32_t im = byteImage(10, 10);
    setPolygon({{-4, 2}, {20, 2}, {20, 4}, {-4, 4}});
    const Points list = scanlist(im);
    ASSERT_EQ(6U, list.size());
    EXPECT_EQ((VexaPoint{0, 2}), list[0]);
    EXPECT_EQ((VexaPoint{9, 2}), list[1]);
    EXPECT_EQ((VexaPoint{0, 3}), list[2]);
    EXPECT_EQ((VexaPoint{9, 3}), list[3]);
    EXPECT_EQ((VexaPoint{0, 4}), list[4]);
    EXPECT_EQ((VexaPoint{10, 4}), list[5]);
    EXPECT_THAT(lines(im), ElementsAre(Segment{0, 2, 10}, Segment{0, 3, 10}, Segment{0, 4, 10}));
    closeImages({im});
}

TEST_F(LiteralRoi, FlatPolygonIsItsExtent)
{
    const int32_t im = byteImage(20, 10);
    setPolygon({{3, 4}, {12, 4}, {7, 4}});
    EXPECT_THAT(lines(im), ElementsAre(Segment{3, 4, 10}));
    setPolygon({{5, 6}});
    EXPECT_THAT(lines(im), ElementsAre(Segment{5, 6, 1}));
    closeImages({im});
}

// A W goes to the general fill, with two runs per row above its middle point.
TEST_F(LiteralRoi, NotchedPolygonHasTwoRunsPerRow)
{
    const int32_t im = byteImage(30, 30);
    setPolygon({{2, 2}, {12, 12}, {22, 2}, {22, 20}, {2, 20}});
    const std::vector<Segment> runs = lines(im);
    ASSERT_FALSE(runs.empty());
    EXPECT_EQ((Segment{2, 2, 1}), runs[0]);
    EXPECT_EQ((Segment{22, 2, 1}), runs[1]);
    EXPECT_EQ((Segment{2, 3, 2}), runs[2]);
    EXPECT_EQ((Segment{21, 3, 2}), runs[3]);
    EXPECT_EQ((Segment{2, 20, 21}), runs.back());
    closeImages({im});
}

TEST_F(LiteralRoi, I_GetNextLineTellsOfABadFirst)
{
    const int32_t im = byteImage(3, 2);
    int32_t x = 0, y = 0, width = 0, height = 0;
    for (const int32_t start : {1, -1}) {
        int32_t first = start;
        EXPECT_EQ(3, I_GetNextLine(&x, &y, &width, im, &first));
        EXPECT_EQ(0, first);
    }
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    int32_t first = 2;
    EXPECT_EQ(3, I_GetNextLine(&x, &y, &width, im, &first));
    EXPECT_EQ(0, first);
    EXPECT_THAT(errorText(), HasSubstr("GetNextLine *first not initialized"));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    first = 7;
    EXPECT_NE(0, I_GetNextLines(&x, &y, &width, &height, im, &first, 0));
    EXPECT_THAT(errorText(), HasSubstr("GetNextLines *first not initialized"));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    closeImages({im});
}

TEST_F(LiteralRoi, EndOfTheWalkGivesTheFirstPointAndFullProgress)
{
    static int32_t calls;
    static float last;
    calls = 0;
    I_SetProgressCallback([](float fraction, const char*) { ++calls, last = fraction; }, 1000000);
    const int32_t im = byteImage(9, 9);
    I_SetWindowROI(2, 3, 4, 4);
    int32_t x = 0, y = 0, width = 0, first = 1;
    EXPECT_EQ(3, I_GetNextLine(&x, &y, &width, im, &first));
    EXPECT_EQ(3, I_GetNextLine(&x, &y, &width, im, &first));
    EXPECT_EQ(4, y);
    EXPECT_EQ(0, calls);
    EXPECT_EQ(0, I_GetNextLine(&x, &y, &width, im, &first));
    EXPECT_EQ(2, x);
    EXPECT_EQ(3, y);
    EXPECT_EQ(0, width);
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1.0F, last);
    EXPECT_EQ(0, I_GetNextLine(&x, &y, &width, im, &first));
    I_SetProgressCallback(nullptr, 0);
    closeImages({im});
}

TEST_F(LiteralRoi, RunsOutsideTheImageArePassedOver)
{
    const int32_t im = byteImage(10, 5);
    const Points runs = {{1, -2}, {3, -2}, {4, 0}, {5, 0}, {10, 1}, {12, 1}, {8, 2},
                         {20, 2}, {-3, 3}, {2, 3}, {1, 5}, {2, 5},  {3, 6},  {4, 6}};
    ASSERT_EQ(1, I_SetScanlistROI(runs.data(), static_cast<int32_t>(runs.size())));
    EXPECT_THAT(lines(im), ElementsAre(Segment{4, 0, 2}, Segment{8, 2, 2}, Segment{-3, 3, 6}));
    closeImages({im});
}

TEST_F(LiteralRoi, BandsFitTheCachingChunk)
{
    // 12,000,000 bytes / (1.8 * 1024 * 1024) = 6.35: 7 bands of 142 rows, and 6 rows remain.
    const int32_t im = floatImage(1000, 1000);
    const std::vector<Box> all = bands(im);
    ASSERT_EQ(8U, all.size());
    EXPECT_THAT(all[0], ElementsAre(0, 0, 1000, 142));
    EXPECT_THAT(all[1], ElementsAre(0, 142, 1000, 142));
    EXPECT_THAT(all[7], ElementsAre(0, 994, 1000, 6));
    I_SetWindowROI(10, 20, 29, 39);
    EXPECT_THAT(bands(im), ElementsAre(ElementsAre(10, 20, 20, 20)));
    closeImages({im});
}

TEST_F(LiteralRoi, NeverMoreThan200Bands)
{
    const int32_t im = image(4000, 4000, PIX_DCOMPLEX);
    const float small = 0.5F; // 768,000,000 bytes of 0.4 MB each would be 1832 bands
    I_SetCachingChunkMB(&small);
    const std::vector<Box> all = bands(im);
    ASSERT_EQ(200U, all.size());
    EXPECT_THAT(all[199], ElementsAre(0, 3980, 4000, 20));
    closeImages({im});
}

TEST_F(LiteralRoi, BoxOfFewerRowsThanBandsDeliversNothing)
{
    const int32_t im = image(65535, 5, PIX_DCOMPLEX); // 9 bands
    EXPECT_TRUE(bands(im).empty());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(5U, lines(im).size());
    closeImages({im});
}

TEST_F(LiteralRoi, BandWalkOfOtherTypesIsTheLineWalk)
{
    const int32_t im = byteImage(20, 20);
    setPolygon({{2, 3}, {5, 3}, {5, 4}, {2, 4}});
    EXPECT_THAT(bands(im), ElementsAre(ElementsAre(2, 3, 4, 1), ElementsAre(2, 4, 4, 1)));
    closeImages({im});
}

TEST_F(LiteralRoi, ImageZeroStandsForAVeryLargeImage)
{
    EXPECT_EQ(131070U, scanlist(0).size());
    const std::vector<Box> all = bands(0);
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(65535, all[0][2]);
    EXPECT_EQ(65535, all.back()[1] + all.back()[3]);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(LiteralRoi, I_SetCachingChunkMBKeepsALittleBack)
{
    const float values[] = {0.4F, 0.5F, 3.0F, std::numeric_limits<float>::quiet_NaN(), 2.0F};
    EXPECT_FLOAT_EQ(1.8F, I_SetCachingChunkMB(&values[0]));
    EXPECT_FLOAT_EQ(1.8F, I_SetCachingChunkMB(&values[1]));
    EXPECT_FLOAT_EQ(0.4F, I_SetCachingChunkMB(&values[2]));
    EXPECT_FLOAT_EQ(2.8F, I_SetCachingChunkMB(&values[3]));
    EXPECT_FLOAT_EQ(2.8F, I_SetCachingChunkMB(&values[4]));
    EXPECT_EQ(1.8F, I_SetCachingChunkMB(nullptr));
}

TEST_F(LiteralRoi, PolygonAreaCountsPixels)
{
    const VexaPoint square[] = {{0, 0}, {9, 0}, {9, 9}, {0, 9}};
    EXPECT_EQ(100, pPolygonArea(square, 4, 8));
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_EQ(4, I_GetPolygonROI(nullptr, 0));
    const int16_t shorts[] = {-5, 0, 9, 0, 9, 9, -5, 9};
    EXPECT_EQ(100, pPolygonArea(shorts, 4, 4));
    EXPECT_EQ(100, pPolygonArea(shorts, 4, 0));
    uint8_t unaligned[33];
    std::memcpy(unaligned + 1, square, 32);
    EXPECT_EQ(100, pPolygonArea(unaligned + 1, 4, 8));
    const VexaPoint all[] = {{0, 0}, {kHighest, 0}, {kHighest, kHighest}, {0, kHighest}};
    EXPECT_EQ(kHighest, pPolygonArea(all, 4, 8));
    EXPECT_EQ(0, pPolygonArea(nullptr, 4, 8));
    EXPECT_EQ(0, pPolygonArea(square, 0, 8));
    EXPECT_EQ(0, pPolygonArea(square, 100, 8));
    EXPECT_THAT(errorText(), HasSubstr("SetPolygonROI npts=100"));
}

TEST_F(LiteralRoi, I_ROISizeOfRectangles)
{
    const int32_t im = byteImage(10, 20);
    double area = 0.0;
    double perimeter = 0.0;
    EXPECT_EQ(&perimeter, I_ROISize(im, &area, &perimeter, 0.5, 2.0));
    EXPECT_EQ(5.0 * 40.0, area);
    EXPECT_EQ(2.0 * 45.0, perimeter);
    I_SetWindowROI(1, 2, 3, 5);
    EXPECT_EQ(nullptr, I_ROISize(im, &area, nullptr, 1.0, 1.0));
    EXPECT_EQ(12.0, area);
    EXPECT_EQ(&perimeter, I_ROISize(im, nullptr, &perimeter, 1.0, 1.0));
    EXPECT_EQ(14.0, perimeter);
    closeImages({im});
}

TEST_F(LiteralRoi, I_ROISizeOfOtherShapes)
{
    const int32_t im = byteImage(40, 40);
    I_SetGraphicsFrame(im);
    setPolygon({{5, 5}, {8, 5}, {8, 9}, {5, 9}});
    double area = 0.0;
    double perimeter = 0.0;
    EXPECT_EQ(&perimeter, I_ROISize(0, &area, &perimeter, 2.0, 3.0));
    EXPECT_EQ(4 * 5 * 6.0, area);
    EXPECT_DOUBLE_EQ(2 * (3 * 2.0 + 4 * 3.0), perimeter);
    const Points runs = {{1, 1}, {4, 1}, {1, 4}, {1, 4}};
    ASSERT_EQ(1, I_SetScanlistROI(runs.data(), 4));
    I_ROISize(0, &area, &perimeter, 1.0, 1.0);
    EXPECT_EQ(5.0, area);
    EXPECT_DOUBLE_EQ(3.0 + std::sqrt(18.0) + 0.0 + 3.0, perimeter);
    closeImages({im});
}

TEST_F(BoundsRoi, ExtremeWindows)
{
    const int32_t values[] = {kLowest, kLowest + 1, -65536, -1, 0, 1, 65536, kHighest};
    const int32_t im = byteImage(7, 5);
    for (const int32_t left : values)
        for (const int32_t right : values) {
            I_SetWindowROI(left, left, right, right);
            for (const int32_t i : {im, 0}) {
                const int32_t limit = i == 0 ? 65534 : 6;
                const Box box = boundingBox(i);
                EXPECT_GE(box[0], 0);
                EXPECT_LE(box[0], box[2]);
                EXPECT_LE(box[2], limit);
                EXPECT_FALSE(lines(i).empty());
            }
        }
    const VexaBox box = {kLowest, kLowest, kHighest, kHighest};
    EXPECT_EQ(1, I_SetRectROI(&box, kHighest));
    EXPECT_EQ(1, I_SetRectROI(&box, kLowest));
    closeImages({im});
}

TEST_F(BoundsRoi, ExtremePolygons)
{
    const int32_t im = byteImage(7, 5);
    const int32_t one = byteImage(1, 1);
    std::mt19937 random(3);
    const int32_t values[] = {kLowest, kLowest + 1, -1, 0, 1, 3, kHighest - 1, kHighest};
    for (int32_t round = 0; round < 1000; ++round) {
        Points polygon(1 + random() % 6);
        for (VexaPoint& point : polygon)
            point = {values[random() % 8], values[random() % 8]};
        setPolygon(polygon);
        for (const int32_t i : {im, one}) {
            for (const Segment& run : lines(i)) {
                EXPECT_GE(run.y, 0);
                EXPECT_LT(run.y, 5);
                EXPECT_LE(int64_t{run.x} + run.width, 7);
            }
            boundingBox(i);
            bands(i);
        }
    }
    closeImages({im, one});
}

TEST_F(BoundsRoi, OutlineLongerThanTheListIsCutOff)
{
    dropList();
    const int32_t im = byteImage(1000, 1000);
    Points zigzag;
    for (int32_t i = 0; i < 98; ++i)
        zigzag.push_back({i * 10, i % 2 ? 999 : 0});
    setPolygon(zigzag); // 98,000 pixels of outline
    const Points list = scanlist(im);
    EXPECT_LE(list.size(), 50000U);
    EXPECT_GT(list.size(), 40000U);
    closeImages({im});
}

TEST_F(BoundsRoi, ListsThatBreakTheRulesAreWalkedSafely)
{
    const int32_t im = byteImage(5, 5);
    const Points odd = {{0, 0}, {3, 0}, {2, 1}};
    setroidata(3, 3, odd.data());
    EXPECT_THAT(lines(im), ElementsAre(Segment{0, 0, 4}));
    const Points wild = {{kHighest, 0}, {kHighest, 0}, {kLowest, 1},
                         {kHighest, 1}, {0, kLowest},  {0, kHighest}};
    setroidata(3, 6, wild.data());
    for (const Segment& run : lines(im))
        EXPECT_LE(int64_t{run.x} + run.width, 5);
    boundingBox(im);
    bands(im);
    setroidata(3, 0, nullptr);
    EXPECT_TRUE(lines(im).empty());
    EXPECT_TRUE(bands(im).empty());
    closeImages({im});
}

TEST_F(BoundsRoi, NullOutputs)
{
    const int32_t im = byteImage(5, 5);
    int32_t first = 1;
    EXPECT_EQ(5, I_GetNextLine(nullptr, nullptr, nullptr, im, &first));
    EXPECT_EQ(0, I_GetNextLine(nullptr, nullptr, nullptr, im, nullptr));
    first = 1;
    EXPECT_NE(0, I_GetNextLines(nullptr, nullptr, nullptr, nullptr, im, &first, 0));
    EXPECT_EQ(0, I_GetNextLines(nullptr, nullptr, nullptr, nullptr, im, nullptr, 0));
    EXPECT_EQ(1, I_ROIBoundingBox(nullptr, nullptr, nullptr, nullptr, im));
    EXPECT_NE(nullptr, I_ROIScanlist(nullptr, im));
    EXPECT_EQ(nullptr, I_ROISize(im, nullptr, nullptr, 1.0, 1.0));
    closeImages({im});
}

TEST_F(FailuresRoi, ImageThatIsNotOpenHasNoRuns)
{
    for (const int32_t im : {-7000, 5, -250}) {
        for (const int32_t type : {0, 1, 2}) {
            I_SetROIType(type);
            clearError();
            EXPECT_TRUE(lines(im).empty());
            EXPECT_NE(0, I_GetError(nullptr, 0));
            clearError();
            EXPECT_TRUE(bands(im).empty());
            EXPECT_NE(0, I_GetError(nullptr, 0));
            EXPECT_TRUE(scanlist(im).empty());
        }
        const Points runs = {{0, 0}, {3, 0}};
        I_SetScanlistROI(runs.data(), 2);
        EXPECT_TRUE(lines(im).empty());
        EXPECT_EQ(2U, scanlist(im).size());
    }
}

TEST_F(FailuresRoi, NoMemoryForTheList)
{
    dropList();
    const int32_t im = byteImage(5, 5);
    int32_t n = -1;
    failAllocation(1, true);
    EXPECT_EQ(nullptr, I_ROIScanlist(&n, im));
    EXPECT_EQ(0, n);
    EXPECT_THAT(errorText(), HasSubstr("Mkscanlist"));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_TRUE(lines(im).empty());
    const Points runs = {{0, 0}, {3, 0}};
    EXPECT_EQ(0, I_SetScanlistROI(runs.data(), 2));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    failAllocation(0, false);
    EXPECT_EQ(5U, lines(im).size());
    EXPECT_EQ(50000, roiState().list.capacity);
    const Points empty(50002);
    EXPECT_EQ(0, I_SetScanlistROI(empty.data(), 50002));
    EXPECT_THAT(errorText(), HasSubstr("SetScanList npts=50002, maxsize=50000"));
    EXPECT_EQ(1, I_SetScanlistROI(empty.data(), 50000));
    I_SetROIType(0);

    const int32_t tall = byteImage(1, 30000);
    failAllocation(1, true);
    I_ROIScanlist(&n, tall);
    EXPECT_EQ(0, n);
    EXPECT_THAT(errorText(), HasSubstr("mkscanlist1"));
    failAllocation(0, false);
    EXPECT_EQ(60000U, scanlist(tall).size());
    EXPECT_EQ(60004, roiState().list.capacity);
    closeImages({im, tall});
}

TEST_F(FailuresRoi, PostsAboutAnImageWithoutColumns)
{
    const Messages messages;
    const int32_t im = byteImage(5, 6);
    findImageRecord(im, "test")->cols = 0; // as a registered kind may tell
    EXPECT_TRUE(bands(im).empty());
    EXPECT_THAT(messages.all(),
                ElementsAre(HasSubstr("GetNextLines: Block origin is negative: Box=(-1,0,-1,5) ROIType=0")));
    EXPECT_TRUE(lines(im).empty());
    closeImages({im});
}

} // namespace
} // namespace vexa::test
