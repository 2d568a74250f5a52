#include "tests/support/test_images.h"

#include <numeric>

using namespace vexa::test;

TEST(BlockCopy, LiteralWholeImageKeepsEveryPixel)
{
    const int32_t a = noiseImage(37, 11, 1);
    const int32_t b = byteImage(37, 11);
    EXPECT_EQ(37 * 11, I_ImCopyBlock(-1, -1, 0, 0, a, 0, 0, b));
    EXPECT_EQ(bytesOf(a), bytesOf(b));
    closeImages({a, b});
}

TEST(BlockAccess, LiteralNegativeXShiftsIntoTheBuffer)
{
    const int32_t im = byteImage(20, 3, [](int32_t x, int32_t y) { return 1 + x + 20 * y; });
    std::vector<uint8_t> row(10, 77);
    EXPECT_EQ(9, I_GetBlockType(-1, 0, 10, 1, row.data(), im, PIX_BYTE));
    EXPECT_THAT(row, testing::ElementsAre(77, 1, 2, 3, 4, 5, 6, 7, 8, 9));
    closeImages({im});
}

TEST(BlockRange, LiteralBytes)
{
    const int32_t im = byteImage(100, 3, [](int32_t x, int32_t y) { return x + y + 5; });
    double low = 0.0;
    double high = 0.0;
    EXPECT_EQ(300, I_ImGetRange(&low, &high, im));
    EXPECT_EQ(5.0, low);
    EXPECT_EQ(106.0, high);
    closeImages({im});
}
