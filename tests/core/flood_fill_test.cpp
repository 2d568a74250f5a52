#include <cstring>
#include <random>

#include <gmock/gmock.h>

#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/listing.h"

using namespace vexa::test;

namespace
{

// Grows the filled area by one step in the four directions until nothing changes.
std::vector<uint8_t> reference(std::vector<uint8_t> pixels, int32_t cols, int32_t rows, int32_t x, int32_t y,
                               uint8_t value)
{
    const auto at = [&](int32_t col, int32_t row) { return static_cast<std::size_t>(row * cols + col); };
    std::vector<char> inside(pixels.size());
    const uint8_t old = pixels[at(x, y)];
    inside[at(x, y)] = 1;
    for (bool grows = true; grows;) {
        grows = false;
        for (int32_t row = 0; row < rows; ++row)
            for (int32_t col = 0; col < cols; ++col) {
                const bool joined =
                    (col > 0 && inside[at(col - 1, row)]) || (col + 1 < cols && inside[at(col + 1, row)]) ||
                    (row > 0 && inside[at(col, row - 1)]) || (row + 1 < rows && inside[at(col, row + 1)]);
                if (joined && !inside[at(col, row)] && pixels[at(col, row)] == old) {
                    inside[at(col, row)] = 1;
                    grows = true;
                }
            }
    }
    for (std::size_t i = 0; i < pixels.size(); ++i)
        if (inside[i])
            pixels[i] = value;
    return pixels;
}

std::vector<void*> tableOf(std::vector<uint8_t>& pixels, int32_t cols, int32_t rows)
{
    std::vector<void*> table;
    for (int32_t y = 0; y < rows; ++y)
        table.push_back(pixels.data() + y * cols);
    return table;
}

class FloodFill : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
        clearError();
    }
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
    }
};

} // namespace

TEST_F(FloodFill, AgainstReferenceRandomPictures)
{
    std::mt19937 random(5);
    for (int32_t round = 0; round < 120; ++round) {
        const int32_t cols = 1 + static_cast<int32_t>(random() % 24);
        const int32_t rows = 1 + static_cast<int32_t>(random() % 24);
        std::vector<uint8_t> pixels(static_cast<std::size_t>(cols * rows));
        for (uint8_t& pixel : pixels)
            pixel = random() % 5 < 3 ? 7 : 8;
        const auto x = static_cast<int32_t>(random() % static_cast<uint32_t>(cols));
        const auto y = static_cast<int32_t>(random() % static_cast<uint32_t>(rows));
        const std::vector<uint8_t> expected = reference(pixels, cols, rows, x, y, 99);
        std::vector<void*> table = tableOf(pixels, cols, rows);
        ASSERT_EQ(1, I_FloodFillArray(x, y, 99, table.data(), cols, rows));
        ASSERT_EQ(expected, pixels) << "round " << round;
    }
}

TEST_F(FloodFill, LiteralCornersDoNotJoin)
{
    const int32_t im = byteImage({{1, 0, 1}, {0, 1, 1}, {1, 0, 0}});
    EXPECT_EQ(1, I_FloodFill(2, 2, 9, im));
    EXPECT_THAT(bytesOf(im), testing::ElementsAre(1, 0, 1, 0, 1, 1, 1, 9, 9));
    EXPECT_EQ(1, I_FloodFill(1, 1, 256 + 5, im)) << "the low byte counts";
    EXPECT_THAT(bytesOf(im), testing::ElementsAre(1, 0, 5, 0, 5, 5, 1, 9, 9));
}

TEST_F(FloodFill, LiteralTheValueThatIsThereChangesNothing)
{
    const int32_t im = byteImage({{1, 1}, {1, 2}});
    EXPECT_EQ(1, I_FloodFill(0, 0, 1, im));
    EXPECT_EQ(1, I_FloodFill(0, 0, 257, im));
    EXPECT_THAT(bytesOf(im), testing::ElementsAre(1, 1, 1, 2));
}

TEST_F(FloodFill, LiteralTheRegionsBoxIsTheWorld)
{
    const int32_t im = byteImage(6, 5);
    I_SetWindowROI(0, 1, 3, 2); // in place
    EXPECT_EQ(1, I_FloodFill(3, 1, 5, im));
    I_SetWindowROI(2, 3, 4, 4); // through a block
    EXPECT_EQ(1, I_FloodFill(0, 0, 6, im));
    EXPECT_THAT(bytesOf(im), testing::ElementsAre(0, 0, 0, 0, 0, 0, //
                                                  5, 5, 5, 5, 0, 0, //
                                                  5, 5, 5, 5, 0, 0, //
                                                  0, 0, 6, 6, 6, 0, //
                                                  0, 0, 6, 6, 6, 0));
    for (const auto& [x, y] : {std::pair{3, 0}, {0, 2}, {-1, 0}, {0, -1}, {INT32_MIN, 0}, {0, INT32_MAX}})
        EXPECT_EQ(0, I_FloodFill(x, y, 7, im));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(FloodFill, LiteralOtherTypesAndStores)
{
    const int32_t words = wordImage(5, 4, [](int32_t x, int32_t) { return x == 2 ? 100 : 50; });
    EXPECT_EQ(1, I_FloodFill(0, 0, 60, words));
    std::vector<uint8_t> bytes(20);
    I_GetBlockType(0, 0, 5, 4, bytes.data(), words, PIX_BYTE);
    EXPECT_EQ(60, bytes[0]);
    EXPECT_EQ(100, bytes[2]);
    EXPECT_EQ(50, bytes[3]);
    const int32_t upside = byteImage({{1, 1}, {2, 1}, {2, 2}});
    I_ImInvertRows(upside);
    EXPECT_EQ(1, I_FloodFill(0, 0, 9, upside));
    EXPECT_EQ(1, I_ImInvertRows(upside));
    EXPECT_THAT(bytesOf(upside), testing::ElementsAre(9, 9, 2, 9, 2, 2));
    // No row table: pixels in a file.
    const int32_t before = I_ImSetMemType(8);
    const int32_t stored = I_ImOpen(6, 6, PIX_BYTE);
    I_ImSetMemType(before);
    I_ImClear(stored, 3.0);
    I_ClearRect(3, 0, 3, 5, 8, stored);
    EXPECT_EQ(1, I_FloodFill(5, 5, 77, stored));
    EXPECT_EQ(77.0F, I_GetPix(4, 0, stored));
    EXPECT_EQ(3.0F, I_GetPix(2, 5, stored));
}

TEST_F(FloodFill, BoundsAreasThatNoRecursionWouldHold)
{
    Messages messages;
    const int32_t tall = byteImage(3, 30000);
    EXPECT_EQ(1, I_FloodFill(1, 29999, 200, tall));
    const int32_t wide = byteImage(2000, 2000);
    EXPECT_EQ(1, I_FloodFill(1000, 1000, 200, wide));
    // A comb of winding corridors, one pixel wide.
    const int32_t maze = byteImage(
        400, 401, [](int32_t x, int32_t y) { return y % 2 == 1 && x != (y % 4 == 1 ? 399 : 0) ? 255 : 0; });
    EXPECT_EQ(1, I_FloodFill(0, 0, 200, maze));
    EXPECT_EQ(200.0, pixel(maze, 0, 400));
    for (const auto& [im, pixels] : {std::pair{tall, 90000U}, {wide, 4000000U}}) {
        uint32_t histogram[256] = {};
        I_CalcHist(histogram, im);
        EXPECT_EQ(pixels, histogram[200]);
    }
    EXPECT_TRUE(messages.all().empty());
}

TEST_F(FloodFill, FailuresOfArguments)
{
    std::vector<uint8_t> pixels(4);
    std::vector<void*> table = tableOf(pixels, 2, 2);
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 5, nullptr, 2, 2));
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 5, table.data(), 0, 2));
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 5, table.data(), 2, -1));
    for (const auto& [x, y] : {std::pair{-1, 0}, {0, -1}, {2, 0}, {0, 2}})
        EXPECT_EQ(0, I_FloodFillArray(x, y, 5, table.data(), 2, 2));
    EXPECT_THAT(pixels, testing::Each(0));
    EXPECT_EQ(0, I_FloodFill(0, 0, 5, 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_FloodFill(0, 0, 5, 3));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
}

TEST_F(FloodFill, FailuresOfMemory)
{
    const int32_t im =
        byteImage(200, 200, [](int32_t x, int32_t y) { return y % 2 == 0 && x % 2 == 1 ? 9 : 0; });
    int32_t value = 0;
    I_SetWindowROI(1, 0, 199, 199);
    forEachFailingAllocation(
        [&] {
            value = value == 1 ? 2 : 1;
            return I_FloodFill(1, 1, value, im);
        },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
    std::vector<uint8_t> pixels(10000);
    std::vector<void*> table = tableOf(pixels, 100, 100);
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_FloodFillArray(0, 0, 5, table.data(), 100, 100));
    vexa::failAllocation(0, false);
    EXPECT_THAT(errorText(), testing::HasSubstr("I_FloodFillArray"));
}
