#include "tests/support/test_images.h"

#include <array>

#include "support/buffer.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

int32_t lastError()
{
    return I_GetError(nullptr, 0);
}

void setInverted(int32_t im, int32_t inverted)
{
    I_ImSetParam(&inverted, 0, 19, im);
}

std::string comment(int32_t im)
{
    char text[300] = {};
    I_ImGetComment(text, sizeof text, im);
    return text;
}

class BlockCopy : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    void TearDown() override
    {
        I_SetColorBand(-2);
        I_ImCloseAll();
    }
};
using BlockArrays = BlockCopy;
using BlockClones = BlockCopy;

// A position and a size in an array of 7 by 5 pixels.
struct Place {
    int32_t x, y, width, height;
};
constexpr int32_t kCols = 7;
constexpr int32_t kRows = 5;

// Follows the description pixel by pixel: each pixel of the source rectangle goes to the same place in the destination
// rectangle, if it lies in both rectangles and both arrays. Flips turn the common part around inside its rectangle.
std::vector<uint8_t> expectedCopy(const std::vector<uint8_t>& source, const Place& from,
                                  std::vector<uint8_t> dest, const Place& to)
{
    const auto extent = [](int32_t size, int32_t position, int32_t edge) {
        return size < 0 ? edge - position : size;
    };
    const int32_t width = std::min(extent(from.width, from.x, kCols), extent(to.width, to.x, kCols));
    const int32_t height = std::min(extent(from.height, from.y, kRows), extent(to.height, to.y, kRows));
    const auto inside = [](int32_t x, int32_t y) { return x >= 0 && x < kCols && y >= 0 && y < kRows; };
    for (int32_t j = 0; j < height; ++j)
        for (int32_t i = 0; i < width; ++i)
            if (inside(from.x + i, from.y + j) && inside(to.x + i, to.y + j))
                dest[static_cast<std::size_t>((to.y + j) * kCols + to.x + i)] =
                    source[static_cast<std::size_t>((from.y + j) * kCols + from.x + i)];
    return dest;
}

std::vector<uint8_t> ramp(uint8_t first)
{
    std::vector<uint8_t> values(kCols * kRows);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<uint8_t>(first + i);
    return values;
}

int32_t copyType(const void* source, const Place& from, void* dest, const Place& to,
                 int32_t destType = PIX_BYTE, const ScaleRecord* scale = nullptr)
{
    return I_CopyBlockType(source, 0, kCols, kRows, PIX_BYTE, from.x, from.y, from.width, from.height, dest,
                           0, kCols, kRows, destType, to.x, to.y, to.width, to.height, scale);
}

} // namespace

TEST_F(BlockArrays, BoundsEveryClippingOfTwoRectangles)
{
    const std::vector<Place> places = {{0, 0, -1, -1}, {0, 0, 7, 5},  {2, 1, 3, 2},   {-2, -1, 5, 4},
                                       {5, 4, 9, 9},   {6, 0, -1, 2}, {-9, 0, 30, 3}, {7, 0, -1, 1},
                                       {0, 5, 1, 1},   {3, -7, 2, 9}, {-3, 2, -1, -1}};
    const std::vector<uint8_t> source = ramp(1);
    for (const Place& from : places)
        for (const Place& to : places) {
            std::vector<uint8_t> dest = ramp(101);
            const std::vector<uint8_t> expected = expectedCopy(source, from, dest, to);
            const auto changed = [&](const std::vector<uint8_t>& now) {
                return static_cast<int32_t>(
                    std::count_if(now.begin(), now.end(), [](uint8_t value) { return value < 101; }));
            };
            ASSERT_EQ(changed(expected), copyType(source.data(), from, dest.data(), to));
            ASSERT_EQ(expected, dest);
            std::vector<float> floats(kCols * kRows);
            std::copy_n(ramp(101).begin(), floats.size(), floats.begin());
            ASSERT_EQ(changed(expected) > 0, copyType(source.data(), from, floats.data(), to, PIX_FLOAT));
            ASSERT_TRUE(std::equal(floats.begin(), floats.end(), expected.begin()));
        }
}

TEST_F(BlockArrays, BoundsOneArrayGivesWhatACopyOfItWould)
{
    const std::vector<Place> places = {{0, 0, 5, 4}, {1, 1, 5, 4},  {2, 0, 5, 4},
                                       {0, 1, 5, 4}, {-1, 1, 6, 4}, {1, 0, 6, 5}};
    for (const Place& from : places)
        for (const Place& to : places) {
            std::vector<uint8_t> array = ramp(1);
            const std::vector<uint8_t> expected = expectedCopy(array, from, array, to);
            copyType(array.data(), from, array.data(), to);
            ASSERT_EQ(expected, array);
        }
}

TEST_F(BlockArrays, LiteralFlipsTurnTheRows)
{
    const std::vector<uint8_t> source = {1, 2, 3, 4, 5};
    ScaleRecord scale = {};
    scale.gain = 1.0;
    const auto copy = [&](int32_t sourceY, int32_t height, int32_t destY) {
        std::vector<uint8_t> dest(5, 0);
        EXPECT_EQ(height, I_CopyBlockType(source.data(), 0, 1, 5, PIX_BYTE, 0, sourceY, 1, 5 - sourceY,
                                          dest.data(), 0, 1, 5, PIX_BYTE, 0, destY, 1, height, &scale));
        return dest;
    };
    EXPECT_THAT(copy(0, 5, 0), testing::ElementsAre(1, 2, 3, 4, 5));
    scale.destFlip = 1;
    EXPECT_THAT(copy(0, 5, 0), testing::ElementsAre(5, 4, 3, 2, 1));
    EXPECT_THAT(copy(1, 3, 0), testing::ElementsAre(4, 3, 2, 0, 0));
    scale.sourceFlip = 1;
    EXPECT_THAT(copy(0, 3, 0), testing::ElementsAre(3, 4, 5, 0, 0)); // 5 - 3 - 0: the last three, in order
    scale.destFlip = 0;
    EXPECT_THAT(copy(0, 3, 0), testing::ElementsAre(5, 4, 3, 0, 0));
    // With a conversion, and in one array.
    std::vector<float> floats(5);
    EXPECT_EQ(1, I_CopyBlockType(source.data(), 0, 1, 5, PIX_BYTE, 0, 0, 1, 5, floats.data(), 0, 1, 5,
                                 PIX_FLOAT, 0, 0, 1, 5, &scale));
    EXPECT_THAT(floats, testing::ElementsAre(5, 4, 3, 2, 1));
    std::vector<uint8_t> own = source;
    EXPECT_EQ(5, I_CopyBlockType(own.data(), 0, 1, 5, PIX_BYTE, 0, 0, 1, 5, own.data(), 0, 1, 5, PIX_BYTE, 0,
                                 0, 1, 5, &scale));
    EXPECT_THAT(own, testing::ElementsAre(5, 4, 3, 2, 1));
}

TEST_F(BlockArrays, BoundsFlipsOutsideTheArrayStayInside)
{
    ScaleRecord scale = {};
    scale.gain = 1.0;
    std::vector<uint8_t> source = ramp(1);
    for (scale.sourceFlip = 0; scale.sourceFlip < 2; ++scale.sourceFlip)
        for (scale.destFlip = 0; scale.destFlip < 2; ++scale.destFlip)
            for (int32_t y = -3; y < 8; ++y)
                for (const int32_t height : {-1, 1, 2, 30}) {
                    std::vector<uint8_t> dest = ramp(101);
                    copyType(source.data(), {0, y, 7, height}, dest.data(), {0, 2, 7, 100}, PIX_BYTE, &scale);
                    copyType(source.data(), {0, 1, 7, 100}, dest.data(), {0, y, 7, height}, PIX_BYTE, &scale);
                    ASSERT_EQ(ramp(1), source);
                }
}

TEST_F(BlockArrays, LiteralABandInOneArrayKeepsTheOthers)
{
    // Bytes at the head of an array become the blue band of the colour pixels in it.
    std::vector<uint8_t> array(12, 7);
    array[0] = 50;
    array[1] = 60;
    I_SetColorBand(2);
    EXPECT_EQ(2, I_CopyBlockType(array.data(), 12, 12, 1, PIX_BYTE, 0, 0, 2, 1, array.data(), 12, 4, 1,
                                 PIX_BGR24, 2, 0, 2, 1, nullptr));
    EXPECT_THAT(array, testing::ElementsAre(50, 60, 7, 7, 7, 7, 50, 7, 7, 60, 7, 7));
}

TEST_F(BlockArrays, LiteralCopyBlockCountsPixels)
{
    const std::vector<uint8_t> source = {1, 2, 3, 4,  5,  6,
                                         7, 8, 9, 10, 11, 12}; // two rows of two 3-byte pixels
    std::vector<uint8_t> dest(12, 0);
    EXPECT_EQ(2, I_CopyBlock(source.data(), 6, 2, 1, 0, -1, -1, dest.data(), 6, 2, 0, 0, -1, -1, 3));
    EXPECT_THAT(dest, testing::ElementsAre(4, 5, 6, 0, 0, 0, 10, 11, 12, 0, 0, 0));
    EXPECT_EQ(0, I_CopyBlock(source.data(), 6, 2, 2, 0, 1, 1, dest.data(), 6, 2, 0, 0, 1, 1, 3));
    EXPECT_EQ(0, I_CopyBlock(source.data(), 6, 2, 0, 0, 1, 1, dest.data(), 6, 2, 0, 0, 1, 1, 0));
    EXPECT_EQ(0, I_CopyBlock(nullptr, 6, 2, 0, 0, 1, 1, dest.data(), 6, 2, 0, 0, 1, 1, 1));
    EXPECT_EQ(1, I_CopyBlock(source.data(), 6, 2, -1, -1, 2, 2, dest.data(), 6, 2, 0, 0, 2, 2, 3));
    EXPECT_EQ(1, dest[9]);
}

TEST_F(BlockArrays, LiteralByteRows)
{
    const std::vector<uint8_t> source = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<uint8_t> dest(10, 0);
    EXPECT_EQ(6, CopyBlock1(3, 2, source.data(), 4, dest.data(), 5));
    EXPECT_THAT(dest, testing::ElementsAre(1, 2, 3, 0, 0, 5, 6, 7, 0, 0));
    EXPECT_EQ(6, CopyBlockRev(3, 2, source.data(), 4, dest.data(), 5));
    EXPECT_THAT(dest, testing::ElementsAre(5, 6, 7, 0, 0, 1, 2, 3, 0, 0));
    for (const auto& [bytes, rows] :
         std::vector<std::pair<int32_t, int32_t>>{{0, 2}, {3, 0}, {-1, 2}, {3, -1}}) {
        EXPECT_EQ(0, CopyBlock1(bytes, rows, source.data(), 4, dest.data(), 5));
        EXPECT_EQ(0, CopyBlockRev(bytes, rows, source.data(), 4, dest.data(), 5));
    }
    EXPECT_EQ(0, CopyBlock1(3, 2, nullptr, 4, dest.data(), 5));
    EXPECT_EQ(1, I_CopySubArray(source.data(), 4, 99, dest.data(), 2, 2, 1, 0));
    EXPECT_THAT(std::vector<uint8_t>(dest.begin(), dest.begin() + 4), testing::ElementsAre(2, 3, 6, 7));
    EXPECT_EQ(1, I_CopySubArray(source.data(), 4, 99, dest.data(), 2, 1, 2, 1));
    EXPECT_EQ(7, dest[0]);
}

TEST_F(BlockArrays, FailuresOfMemoryInOneArray)
{
    std::vector<uint8_t> array(100, 1);
    forEachFailingAllocation(
        [&] {
            return copyType(array.data(), {0, 0, 5, 4}, array.data(), {1, 1, 5, 4}, PIX_WORD);
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, lastError());
            EXPECT_NE(std::string::npos, errorText().find("I_CopyBlockType t"));
        });
    vexa::failAllocation(1, false);
    copyType(array.data(), {0, 0, 5, 4}, array.data(), {1, 1, 5, 4});
    EXPECT_NE(std::string::npos, errorText().find("I_CopyBlockType tsptr (5 x 4)"));
    vexa::failAllocation(2, false);
    copyType(array.data(), {0, 0, 5, 4}, array.data(), {1, 1, 5, 4}, PIX_WORD);
    vexa::failAllocation(0, false);
    EXPECT_NE(std::string::npos, errorText().find("I_CopyBlockType tdptr (5 x 4)"));
}

TEST_F(BlockCopy, LiteralCopiesOnlyWhatFits)
{
    const int32_t src = byteImage(8, 8, [](int32_t x, int32_t y) { return 1 + x + 8 * y; });
    const int32_t dst = byteImage(9, 7);
    EXPECT_EQ(4 * 2, I_ImCopyBlock(-1, -1, 0, 0, src, 5, 5, dst));
    EXPECT_EQ(1.0, pixel(dst, 5, 5));
    EXPECT_EQ(12.0, pixel(dst, 8, 6));
    EXPECT_EQ(0.0, pixel(dst, 4, 5));
    EXPECT_EQ(6, I_RectCopy(6, 5, 0, 0, 5, 5, src, dst)); // 2 by 3 remain of the source
    EXPECT_EQ(64.0, pixel(dst, 1, 2));
    EXPECT_EQ(0.0, pixel(dst, 2, 0));
    EXPECT_EQ(0, I_ImCopyBlock(0, 1, 0, 0, src, 0, 0, dst));
    EXPECT_EQ(0, I_ImCopyBlock(1, 1, 8, 0, src, 0, 0, dst));
    EXPECT_EQ(0, I_ImCopyBlock(1, 1, 0, 0, src, 0, 7, dst));
    EXPECT_EQ(0, lastError());
}

TEST_F(BlockCopy, LiteralOverlapInOneImageGivesWhatACopyWould)
{
    for (const auto& [sx, sy, dx, dy] : std::vector<std::array<int32_t, 4>>{
             {0, 0, 3, 2}, {3, 2, 0, 0}, {0, 3, 2, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}}) {
        const int32_t im = noiseImage(30, 20, 7);
        const int32_t copy = I_CloneImage(im, 0, 1);
        const int32_t expected = I_CloneImage(im, 0, 1);
        EXPECT_EQ(25 * 15, I_ImCopyBlock(25, 15, sx, sy, copy, dx, dy, expected));
        EXPECT_EQ(25 * 15, I_ImCopyBlock(25, 15, sx, sy, im, dx, dy, im));
        EXPECT_EQ(bytesOf(expected), bytesOf(im));
    }
}

TEST_F(BlockCopy, LiteralConvertsBetweenTypes)
{
    const int32_t bytes = byteImage(5, 3, [](int32_t x, int32_t y) { return 10 * x + y; });
    const int32_t floats = floatImage(5, 3);
    EXPECT_EQ(1, I_ImCopyBlock(-1, -1, 0, 0, bytes, 0, 0, floats)); // a direct conversion gives 1
    EXPECT_EQ(42.0, pixel(floats, 4, 2));
    I_SetPixValueRange(0.0, 50.0, floats);
    EXPECT_EQ(1, I_ImageCopy(floats, bytes)); // read as bytes, the range is scaled to 0 to 255
    EXPECT_EQ(214.0, pixel(bytes, 4, 2));
    const int32_t words = wordImage(5, 3);
    EXPECT_EQ(1, I_ImCopyBlock(-1, -1, 0, 0, floats, 0, 0, words));
    EXPECT_EQ(42.0, pixel(words, 4, 2));
}

TEST_F(BlockCopy, LiteralReversesIfOneImageIsInverted)
{
    const int32_t src = byteImage({{1}, {2}, {3}});
    const int32_t dst = byteImage({{0}, {0}, {0}});
    setInverted(src, 1);
    EXPECT_EQ(3, I_ImCopyBlock(-1, -1, 0, 0, src, 0, 0, dst));
    EXPECT_THAT(bytesOf(dst), testing::ElementsAre(3, 2, 1));
    setInverted(dst, 1);
    EXPECT_EQ(3, I_ImCopyBlock(-1, -1, 0, 0, src, 0, 0, dst));
    EXPECT_THAT(bytesOf(dst), testing::ElementsAre(1, 2, 3));
    setInverted(src, 0);
    EXPECT_EQ(3, I_ImCopyBlock(-1, -1, 0, 0, src, 0, 0, dst));
    EXPECT_THAT(bytesOf(dst), testing::ElementsAre(3, 2, 1));
    // Part of the rows: storage rows from the given one on, turned.
    setInverted(dst, 0);
    setInverted(src, 1);
    EXPECT_EQ(2, I_ImCopyBlock(1, 2, 0, 1, src, 0, 0, dst));
    EXPECT_THAT(bytesOf(dst), testing::ElementsAre(3, 2, 1));
}

TEST_F(BlockCopy, LiteralImageCopyTakesTheCommonAreaAndTheParameters)
{
    const int32_t src = byteImage(6, 4, [](int32_t x, int32_t y) { return 1 + x + 6 * y; });
    I_ImSetComment("from", src);
    I_SetPixValueRange(1.0, 2.0, src);
    const int32_t dst = byteImage(4, 6);
    EXPECT_EQ(16, I_ImageCopy(src, dst));
    EXPECT_EQ(22.0, pixel(dst, 3, 3));
    EXPECT_EQ(0.0, pixel(dst, 0, 4));
    EXPECT_EQ("from", comment(dst));
    double high = 0.0;
    I_GetPixValueRange(nullptr, &high, dst);
    EXPECT_EQ(2.0, high);
    EXPECT_EQ(0, I_ImageCopy(0, dst));
    EXPECT_EQ(0, I_ImageCopy(src, 0));
    EXPECT_EQ(0, lastError());
}

TEST_F(BlockClones, LiteralCloneTakesSizeTypeAndContents)
{
    const int32_t im = byteImage(6, 4, [](int32_t x, int32_t y) { return x + 6 * y; });
    uint8_t palette[1024] = {9, 8, 7};
    I_ImSetParam(palette, 0, 13, im);
    I_ImSetComment("model", im);
    const int32_t empty = I_CloneImage(im, 0, 0);
    EXPECT_THAT(bytesOf(empty), testing::Each(0));
    EXPECT_EQ(24U, bytesOf(empty).size());
    EXPECT_EQ(PIX_BYTE, I_ImGetType(empty));
    uint8_t read[1024] = {};
    I_ImGetParam(read, 0, 13, empty);
    EXPECT_EQ(9, read[0]);
    EXPECT_EQ("", comment(empty));
    const int32_t full = I_CloneImage(im, -5, 1);
    EXPECT_EQ(bytesOf(im), bytesOf(full));
    EXPECT_EQ("model", comment(full));
    const int32_t floats = I_CloneImageEx(im, PIX_FLOAT, 1, "mine");
    EXPECT_EQ(PIX_FLOAT, I_ImGetType(floats));
    EXPECT_EQ(23.0, pixel(floats, 5, 3));
    EXPECT_EQ("mine", comment(floats));
    EXPECT_EQ("model; too", comment(I_CloneImageEx(im, 0, 1, "_too")));
    EXPECT_EQ(0, I_CloneImage(I_ImOpenSubimage(6, 0, 1, 1, im), 0, 1)); // a size below 1
    EXPECT_EQ(0, I_CloneImage(0, 0, 1));
    EXPECT_EQ(0, I_CloneImageEx(4, 0, 1, "x"));
    EXPECT_EQ(24, lastError());
}

TEST_F(BlockClones, LiteralRectDupIsLimitedToTheImage)
{
    const int32_t im = byteImage(10, 8, [](int32_t x, int32_t y) { return x + 10 * y; });
    I_ImSetComment("model", im);
    I_SetPixValueRange(4.0, 5.0, im);
    const auto size = [](int32_t dup) {
        int32_t cols = 0;
        int32_t rows = 0;
        I_ImGetSize(&cols, &rows, nullptr, dup);
        return std::pair(cols, rows);
    };
    const int32_t dup = I_RectDup(3, 2, 4, 5, im);
    EXPECT_EQ(std::pair(4, 5), size(dup));
    EXPECT_EQ(23.0, pixel(dup, 0, 0));
    EXPECT_EQ(66.0, pixel(dup, 3, 4));
    EXPECT_EQ("", comment(dup));
    double low = 0.0;
    I_GetPixValueRange(&low, nullptr, dup);
    EXPECT_EQ(4.0, low);
    EXPECT_EQ(std::pair(4, 5), size(I_RectDup(-7, -9, 4, 5, im))); // negative positions are 0, nothing is cut
    EXPECT_EQ(std::pair(8, 7), size(I_RectDup(2, 1, 0, 0, im)));
    EXPECT_EQ(std::pair(7, 5), size(I_RectDup(2, 1, -1, -2, im)));
    EXPECT_EQ(std::pair(2, 1), size(I_RectDup(8, 7, 50, 50, im)));
    EXPECT_EQ(0, I_RectDup(10, 0, 1, 1, im));
    EXPECT_EQ(0, I_RectDup(0, 0, -10, 0, im));
    EXPECT_EQ(0, I_RectDup(0, 0, 1, 1, 0));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_RectDup(0, 0, 1, 1, 1));
    EXPECT_EQ(24, lastError());
}

TEST_F(BlockClones, LiteralCloneRectTakesInclusiveCorners)
{
    const int32_t im = byteImage(10, 8, [](int32_t x, int32_t y) { return x + 10 * y; });
    const int32_t clone = I_CloneRect(im, PIX_WORD, 2, 3, 4, 4);
    EXPECT_EQ(PIX_WORD, I_ImGetType(clone));
    EXPECT_THAT(rowOf(clone, 0), testing::ElementsAre(32, 33, 34));
    EXPECT_THAT(rowOf(clone, 1), testing::ElementsAre(42, 43, 44));
    // What lies outside the image stays zero.
    EXPECT_THAT(rowOf(I_CloneRect(im, 0, 8, 7, 11, 7), 0), testing::ElementsAre(78, 79, 0, 0));
    EXPECT_THAT(rowOf(I_CloneRect(im, 0, -2, 0, 1, 0), 0), testing::ElementsAre(0, 0, 0, 1));
    EXPECT_THAT(rowOf(I_CloneRect(im, 0, 20, 0, 21, 0), 0), testing::ElementsAre(0, 0));
    EXPECT_EQ(0, I_CloneRect(4, 0, 0, 0, 1, 1));
    EXPECT_EQ(24, lastError());
}

TEST_F(BlockClones, LiteralDupBlockIsTheCallersToFree)
{
    const int32_t im = byteImage(5, 4, [](int32_t x, int32_t y) { return 1 + x + 5 * y; });
    auto* const block = static_cast<uint16_t*>(I_DupBlockType(3, 2, 4, 2, im, PIX_WORD));
    ASSERT_NE(nullptr, block);
    EXPECT_THAT(std::vector<uint16_t>(block, block + 8), testing::ElementsAre(14, 15, 0, 0, 19, 20, 0, 0));
    std::free(block);
    void* const outside = I_DupBlockType(50, 2, 4, 2, im, PIX_WORD);
    ASSERT_NE(nullptr, outside); // reading outside an image is no failure
    EXPECT_EQ(0, *static_cast<uint8_t*>(outside));
    vexaFree(outside);
    EXPECT_EQ(nullptr, I_DupBlockType(0, 0, 0, 2, im, PIX_WORD));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(nullptr, I_DupBlockType(0, 0, 1, 2, 9, PIX_WORD));
    EXPECT_EQ(24, lastError());
    EXPECT_EQ(nullptr, I_DupBlockType(0, 0, INT32_MAX, INT32_MAX, im, PIX_DCOMPLEX));
    EXPECT_EQ(2, lastError());
}

TEST_F(BlockClones, LiteralDup2DHasSpareRowsAndGoesBack)
{
    const int32_t im = byteImage(5, 4, [](int32_t x, int32_t y) { return 1 + x + 5 * y; });
    void** const array = I_Dup2DBlockType(1, 1, 3, 2, im, PIX_FLOAT);
    ASSERT_NE(nullptr, array);
    const auto at = [&](int32_t row, int32_t col) -> float& { return static_cast<float*>(array[row])[col]; };
    EXPECT_EQ(7.0F, at(0, 0));
    EXPECT_EQ(14.0F, at(1, 2));
    EXPECT_EQ(0.0F, at(2, 0)); // the spare half
    EXPECT_EQ(0.0F, at(3, 2));
    at(1, 2) = 99.0F;
    EXPECT_EQ(1, I_Put2DBlockType(1, 1, 3, 2, array, im, PIX_FLOAT));
    EXPECT_EQ(99.0, pixel(im, 3, 2));
    at(0, 0) = 50.0F;
    EXPECT_EQ(1, I_Put2DBlockType(0, 0, 1, 1, array, im, PIX_FLOAT));
    EXPECT_EQ(50.0, pixel(im, 0, 0));
    EXPECT_EQ(0, I_Put2DBlockType(0, 0, 1, 1, nullptr, im, PIX_FLOAT));
    EXPECT_EQ(0, I_Put2DBlockType(0, 0, 1, 1, array, 0, PIX_FLOAT));
    EXPECT_EQ(0, lastError());
    Free2DArray(array);
    EXPECT_EQ(nullptr, I_Dup2DBlockType(0, 0, 1, 0, im, PIX_FLOAT));
    EXPECT_EQ(nullptr, I_Dup2DBlockType(0, 0, 1, 1, 7, PIX_FLOAT));
    EXPECT_EQ(24, lastError());
}

TEST_F(BlockClones, FailuresOfMemory)
{
    const int32_t im = wordImage(20, 10);
    const std::vector<std::function<int64_t()>> calls = {
        [&] {
            void* const block = I_DupBlockType(0, 0, 9, 9, im, PIX_FLOAT);
            vexaFree(block);
            return static_cast<int64_t>(block != nullptr);
        },
        [&] {
            void** const array = I_Dup2DBlockType(0, 0, 9, 9, im, PIX_FLOAT);
            Free2DArray(array);
            return static_cast<int64_t>(array != nullptr);
        },
    };
    for (const auto& call : calls)
        forEachFailingAllocation(call, [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, lastError());
        });
    const std::vector<std::function<int32_t()>> openers = {
        [&] { return I_CloneImage(im, 0, 1); },
        [&] { return I_CloneImageEx(im, PIX_BYTE, 1, "x"); },
        [&] { return I_RectDup(0, 0, 5, 5, im); },
        [&] { return I_CloneRect(im, PIX_BYTE, 0, 0, 5, 5); },
    };
    for (const auto& open : openers) {
        const int32_t before = I_ImCount();
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, open());
        vexa::failAllocation(0, false);
        EXPECT_EQ(2, lastError());
        EXPECT_EQ(before, I_ImCount());
    }
}
