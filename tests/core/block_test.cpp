#include "tests/support/test_images.h"

#include "core/image_table.h"
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

class BlockAccess : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    void TearDown() override
    {
        I_SetColorBand(-2);
        I_ImCloseAll();
    }
};
using BlockInverted = BlockAccess;
using BlockPixels = BlockAccess;

// What a block read gives by its description: every pixel that lies in the image, by storage row; the others stay.
std::vector<uint8_t> expectedBlock(int32_t x, int32_t y, int32_t width, int32_t height, int32_t cols,
                                   int32_t rows, const std::function<uint8_t(int32_t, int32_t)>& pixel,
                                   uint8_t untouched)
{
    std::vector<uint8_t> block;
    for (int64_t row = 0; row < height; ++row)
        for (int64_t col = 0; col < width; ++col) {
            const bool inside = x + col >= 0 && x + col < cols && y + row >= 0 && y + row < rows;
            block.push_back(inside ? pixel(static_cast<int32_t>(x + col), static_cast<int32_t>(y + row))
                                   : untouched);
        }
    return block;
}

} // namespace

TEST_F(BlockAccess, LiteralNegativeXGoesBehindTheFirstPixelOfTheBuffer)
{
    const int32_t im = byteImage(20, 3, [](int32_t x, int32_t) { return 1 + x; });
    std::vector<uint8_t> row(10, 77);
    EXPECT_EQ(9, I_GetBlockType(-1, 0, 10, 1, row.data(), im, PIX_BYTE));
    EXPECT_THAT(row, testing::ElementsAre(77, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(BlockAccess, LiteralRowPathClipsAndCounts)
{
    const int32_t im = byteImage(20, 3, [](int32_t x, int32_t y) { return x + 50 * y; });
    std::vector<uint8_t> row(30, 77);
    EXPECT_EQ(5, I_GetBlockType(15, 2, 30, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(115, row[0]);
    EXPECT_EQ(119, row[4]);
    EXPECT_EQ(77, row[5]);
    EXPECT_EQ(0, I_GetBlockType(20, 0, 1, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(INT32_MAX, 0, 1, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(0, 3, 1, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(0, 0, 0, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(0, 0, -4, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(0, 0, 4, 1, nullptr, im, PIX_BYTE));
    EXPECT_EQ(0, I_PutBlockType(0, 0, 4, 1, nullptr, im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockTypeEx(0, 0, 4, 0, row.data(), im, PIX_BYTE, 0));
    EXPECT_EQ(0, lastError());
    row.assign(30, 200);
    EXPECT_EQ(5, I_PutBlockType(15, 1, 30, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(64.0, pixel(im, 14, 1));
    EXPECT_EQ(200.0, pixel(im, 15, 1));
    EXPECT_EQ(100.0, pixel(im, 0, 2)); // nothing ran over the end of the row
    EXPECT_EQ(1, I_GetBlockType(0, 0, 3, 1, std::vector<float>(3).data(), im, PIX_FLOAT)); // a conversion: 1
    EXPECT_EQ(6, I_GetBlockType(0, 0, 3, 2, row.data(), im, PIX_BYTE));
}

TEST_F(BlockAccess, BoundsReadsAtEveryBorder)
{
    const auto value = [](int32_t x, int32_t y) { return static_cast<uint8_t>(1 + x + 20 * y); };
    const int32_t im = byteImage(9, 5, value);
    for (const int32_t x : {-30, -9, -2, 0, 1, 8, 9, 30})
        for (const int32_t y : {-30, -5, -1, 0, 2, 4, 5, 30})
            for (const int32_t width : {1, 2, 9, 12, 40})
                for (const int32_t height : {1, 2, 5, 7, 40}) {
                    std::vector<uint8_t> block(static_cast<std::size_t>(width * height) + 8, 0);
                    I_GetBlockType(x, y, width, height, block.data(), im, PIX_BYTE);
                    std::vector<uint8_t> expected = expectedBlock(x, y, width, height, 9, 5, value, 0);
                    expected.resize(expected.size() + 8);
                    ASSERT_EQ(expected, block) << x << " " << y << " " << width << " " << height;
                    // A conversion reaches the same pixels.
                    std::vector<float> floats(block.size(), 0.0F);
                    I_GetBlockType(x, y, width, height, floats.data(), im, PIX_FLOAT);
                    ASSERT_TRUE(std::equal(floats.begin(), floats.end(), expected.begin()));
                }
}

TEST_F(BlockAccess, BoundsWritesAtEveryBorder)
{
    for (const int32_t x : {-30, -2, 0, 8, 9})
        for (const int32_t y : {-30, -1, 0, 4, 5})
            for (const int32_t width : {1, 2, 12})
                for (const int32_t height : {1, 2, 7}) {
                    const int32_t im = byteImage(9, 5, [](int32_t, int32_t) { return 7; });
                    std::vector<uint8_t> block(static_cast<std::size_t>(width * height));
                    for (std::size_t i = 0; i < block.size(); ++i)
                        block[i] = static_cast<uint8_t>(100 + i);
                    I_PutBlockType(x, y, width, height, block.data(), im, PIX_BYTE);
                    for (int32_t row = 0; row < 5; ++row)
                        for (int32_t col = 0; col < 9; ++col) {
                            const bool inside = col >= x && col < x + width && row >= y && row < y + height;
                            ASSERT_EQ(inside ? 100 + (row - y) * width + col - x : 7, pixel(im, col, row));
                        }
                    I_ImClose(im);
                }
}

TEST_F(BlockAccess, BoundsExtremeCoordinates)
{
    const int32_t im = byteImage(9, 5);
    std::vector<uint8_t> block(16);
    const std::vector<int32_t> extremes = {INT32_MIN, INT32_MIN + 1, -1, 0, INT32_MAX - 1, INT32_MAX};
    for (const int32_t x : extremes)
        for (const int32_t y : extremes) {
            for (const int32_t type : {1, 4, 16, 25}) {
                I_GetBlockType(x, y, 1, 1, block.data(), im, type);
                I_PutBlockType(x, y, 1, 1, block.data(), im, type);
                I_GetBlockTypeEx(x, y, 1, 1, block.data(), im, type, INT32_MAX);
                I_PutBlockTypeEx(x, y, 1, 1, block.data(), im, type, INT32_MIN);
            }
            I_GetPix(x, y, im);
            I_PutPixByte(x, y, 3, im);
            I_ImClearBlockType(x, y, INT32_MIN, INT32_MAX, nullptr, im, 0);
            I_ClearRect(x, y, y, x, 1, im);
            I_ImCopyBlock(INT32_MAX, INT32_MAX, x, y, im, y, x, im);
            I_RectDup(x, y, INT32_MIN, INT32_MAX, im);
            I_DupBlockType(x, y, 0, -1, im, PIX_BYTE);
        }
    EXPECT_NE(0, I_ImValid(im));
}

TEST_F(BlockAccess, LiteralPitchOfTheBuffer)
{
    const int32_t im = byteImage({{1, 2, 3}, {4, 5, 6}});
    std::vector<uint8_t> block(10, 0);
    EXPECT_EQ(6, I_GetBlockTypeEx(0, 0, 3, 2, block.data(), im, PIX_BYTE, 5));
    EXPECT_THAT(block, testing::ElementsAre(1, 2, 3, 0, 0, 4, 5, 6, 0, 0));
    const int32_t to = byteImage(3, 2);
    EXPECT_EQ(6, I_PutBlockTypeEx(0, 0, 3, 2, block.data(), to, PIX_BYTE, 5));
    EXPECT_EQ(bytesOf(im), bytesOf(to));
    EXPECT_EQ(6, I_PutBlockTypeEx(0, 0, 3, 2, block.data(), to, PIX_BYTE, -5));
    EXPECT_THAT(rowOf(to, 1), testing::ElementsAre(0, 0, 4));
}

TEST_F(BlockAccess, LiteralABandIsWrittenInPlace)
{
    const int32_t im = image(3, 2, PIX_BGR24, [](int32_t, int32_t) { return 7; });
    const std::vector<uint8_t> green(6, 99);
    I_SetColorBand(1);
    EXPECT_EQ(1, I_PutBlockType(0, 0, 3, 2, green.data(), im, PIX_BYTE));
    I_SetColorBand(-2);
    const std::vector<uint8_t> bytes = bytesOf(im);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(i % 3 == 1 ? 99 : 7, bytes[i]) << i;
}

TEST_F(BlockAccess, LiteralAFloatRangeScalesBytes)
{
    const int32_t im = floatImage(3, 1, [](int32_t x, int32_t) { return x * 40.0; });
    I_SetPixValueRange(0.0, 80.0, im);
    std::vector<uint8_t> row(3);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 3, 1, row.data(), im, PIX_BYTE));
    EXPECT_THAT(row, testing::ElementsAre(0, 128, 255));
    EXPECT_EQ(1, I_PutBlockType(0, 0, 3, 1, row.data(), im, PIX_BYTE));
    EXPECT_FLOAT_EQ(80.0F, I_GetPix(2, 0, im));
}

TEST_F(BlockAccess, LiteralRawRequestsTakeTheImagesOwnPixels)
{
    const int32_t im = floatImage(4, 2, [](int32_t x, int32_t y) { return x - 2.5 * y; });
    I_SetPixValueRange(0.0, 100.0, im);
    std::vector<float> block(4, -1.0F);
    EXPECT_EQ(1, I_GetBlockType(1, 0, 2, 2, block.data(), im, 25));
    EXPECT_THAT(block, testing::ElementsAre(1.0F, 2.0F, -1.5F, -0.5F));
    EXPECT_EQ(4, I_PutBlockType(2, 0, 2, 2, block.data(), im, 25));
    EXPECT_EQ(-0.5, pixel(im, 3, 1));
}

TEST_F(BlockAccess, BoundsRawRequestsNeverLeaveThePixels)
{
    std::vector<uint8_t> memory(30, 5);
    const int32_t im = I_ImOpenPtr(10, 3, 0, PIX_BYTE, memory.data());
    const int32_t sub = I_ImOpenSubimage(4, 1, 6, 2, im);
    std::vector<uint8_t> block(4000);
    for (const int32_t from : {im, sub})
        for (const int32_t x : {-50, -1, 0, 3, 9, 10, 50, INT32_MAX, INT32_MIN})
            for (const int32_t y : {-5, 0, 2, 3, 10, INT32_MAX, INT32_MIN})
                for (const int32_t width : {1, 7, 40, 400})
                    for (const int32_t height : {1, 3, 10}) {
                        I_GetBlockTypeEx(x, y, width, height, block.data(), from, 25, 0);
                        I_PutBlockTypeEx(x, y, width, height, block.data(), from, 25, 0);
                    }
    EXPECT_NE(0, I_ImValid(sub)); // what matters is that nothing else was touched: the sanitizers watch
}

TEST_F(BlockInverted, LiteralBlocksComeTopFirstAndSingleRowsByStorage)
{
    const int32_t im = byteImage({{1, 1}, {2, 2}, {3, 3}, {4, 4}});
    setInverted(im, 1);
    std::vector<uint8_t> block(8);
    EXPECT_EQ(8, I_GetBlockType(0, 0, 2, 4, block.data(), im, PIX_BYTE));
    EXPECT_THAT(block, testing::ElementsAre(4, 4, 3, 3, 2, 2, 1, 1));
    // Storage rows 1 and 2, in reverse order.
    EXPECT_EQ(4, I_GetBlockType(0, 1, 2, 2, block.data(), im, PIX_BYTE));
    EXPECT_THAT(std::vector<uint8_t>(block.begin(), block.begin() + 4), testing::ElementsAre(3, 3, 2, 2));
    EXPECT_EQ(2, I_GetBlockType(0, 0, 2, 1, block.data(), im, PIX_BYTE));
    EXPECT_EQ(1, block[0]);
    EXPECT_EQ(2, I_GetBlockTypeEx(0, 0, 2, 1, block.data(), im, PIX_BYTE, 0));
    EXPECT_EQ(1, block[0]);
    std::vector<float> floats(8);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 2, 4, floats.data(), im, PIX_FLOAT));
    EXPECT_EQ(4.0F, floats[0]);
    EXPECT_EQ(1.0F, floats[7]);
}

TEST_F(BlockInverted, LiteralPutUndoesGet)
{
    const int32_t im = byteImage(5, 4, [](int32_t x, int32_t y) { return x + 10 * y; });
    setInverted(im, 1);
    const std::vector<uint8_t> before = bytesOf(im);
    for (const int32_t type : {PIX_BYTE + 0, PIX_WORD + 0, PIX_FLOAT + 0, 25}) {
        std::vector<uint8_t> block(20 * 4);
        EXPECT_NE(0, I_GetBlockType(0, 0, 5, 4, block.data(), im, type));
        I_ImClear(im, 0.0);
        EXPECT_NE(0, I_PutBlockType(0, 0, 5, 4, block.data(), im, type));
        EXPECT_EQ(before, bytesOf(im)) << "type " << type;
    }
}

TEST_F(BlockInverted, LiteralABlockAboveTheImageKeepsItsPlaceInTheBuffer)
{
    const int32_t im = byteImage({{1}, {2}, {3}});
    setInverted(im, 1);
    std::vector<uint8_t> block(3, 77);
    // Storage rows 0 and 1 are there; they move by the mirrored offset.
    EXPECT_EQ(2, I_GetBlockType(0, -1, 1, 3, block.data(), im, PIX_BYTE));
    EXPECT_THAT(block, testing::ElementsAre(2, 1, 77));
}

TEST_F(BlockPixels, LiteralGetAndPut)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    EXPECT_EQ(4.0F, I_GetPix(1, 1, im));
    EXPECT_EQ(3, I_GetPixByte(0, 1, im));
    for (const auto& [x, y] : std::vector<std::pair<int32_t, int32_t>>{{2, 0}, {0, 2}, {-1, 0}, {0, -1}}) {
        EXPECT_EQ(0.0F, I_GetPix(x, y, im));
        EXPECT_EQ(0, I_GetPixByte(x, y, im));
        EXPECT_EQ(0, I_GetPixBGR(x, y, im));
        EXPECT_EQ(0, I_PutPix(x, y, 9.0F, im));
    }
    EXPECT_EQ(1, I_PutPix(0, 0, 200.7F, im));
    EXPECT_EQ(201.0, pixel(im, 0, 0));
    EXPECT_EQ(1, I_PutPixByte(1, 0, 77, im));
    EXPECT_EQ(77.0, pixel(im, 1, 0));
    EXPECT_EQ(1, I_PutPixByte(1, 0, -1, im)); // inverts
    EXPECT_EQ(77 ^ 128, pixel(im, 1, 0));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_PutPixByte(5, 0, -1, im));
    EXPECT_EQ(0, I_PutPixByte(0, 0, 1, 3));
    EXPECT_EQ(24, lastError());
    EXPECT_EQ(0.0F, I_GetPix(-1, 0, 3));
    EXPECT_EQ("I_GetBlockType(, im=3) im. not open", errorText());
}

TEST_F(BlockPixels, LiteralColoursHaveBlueInTheLowByte)
{
    const int32_t im = I_ImOpen(2, 1, PIX_RGB24);
    const uint8_t rgb[6] = {10, 20, 30, 40, 50, 60};
    I_PutBlockType(0, 0, 2, 1, rgb, im, PIX_RGB24);
    EXPECT_EQ(10 << 16 | 20 << 8 | 30, I_GetPixBGR(0, 0, im) & 0xFFFFFF);
    EXPECT_EQ(40 << 16 | 50 << 8 | 60, I_GetPixBGR(1, 0, im) & 0xFFFFFF);
    const int32_t grey = byteImage({{9}});
    EXPECT_EQ(9 << 16 | 9 << 8 | 9, I_GetPixBGR(0, 0, grey) & 0xFFFFFF);
}

TEST_F(BlockAccess, LiteralTheRowPathAllocatesNothing)
{
    const int32_t im = byteImage(512, 2);
    std::vector<uint8_t> row(1024);
    vexa::failAllocation(0, false);
    I_GetBlockType(0, 1, 512, 1, row.data(), im, PIX_BYTE);
    I_PutBlockType(0, 1, 512, 1, row.data(), im, PIX_BYTE);
    I_GetBlockType(0, 0, 512, 2, row.data(), im, PIX_BYTE);
    I_PutBlockType(0, 0, 512, 2, row.data(), im, PIX_BYTE);
    EXPECT_EQ(0, vexa::allocationState().attempts);
}
