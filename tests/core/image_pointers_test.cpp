#include "tests/support/test_images.h"

#include "support/buffer.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

int32_t lastError()
{
    return I_GetError(nullptr, 0);
}

class ImagePointers : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }
};
using ImageConvert = ImagePointers;

double byteAt(void** table, int32_t row, int32_t col)
{
    return static_cast<const uint8_t*>(table[row])[col];
}

} // namespace

TEST_F(ImagePointers, LiteralPositionIsClampedToTheSpan)
{
    const int32_t im = I_ImOpen(10, 4, PIX_WORD); // stride 24, span 96
    auto* const first = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, im));
    int32_t left = 0;
    int32_t stride = 0;
    EXPECT_EQ(first + 2 * 24 + 6, I_ImGetPtr(3, 2, &left, &stride, im));
    EXPECT_EQ(96 - 54, left);
    EXPECT_EQ(24, stride);
    EXPECT_EQ(first, I_ImGetPtr(-1, 0, &left, nullptr, im));
    EXPECT_EQ(96, left);
    EXPECT_EQ(first, I_ImGetPtr(INT32_MIN, INT32_MIN, &left, nullptr, im));
    EXPECT_EQ(first + 22, I_ImGetPtr(-1, 1, nullptr, nullptr, im));
    EXPECT_EQ(first + 95, I_ImGetPtr(1000, 3, &left, nullptr, im));
    EXPECT_EQ(1, left);
    EXPECT_EQ(first + 95, I_ImGetPtr(INT32_MAX, 3, &left, nullptr, im));
    EXPECT_EQ(0, lastError());
}

TEST_F(ImagePointers, FailuresOfRowAndType)
{
    const int32_t im = I_ImOpen(10, 4, PIX_DWORD);
    int32_t stride = -7;
    EXPECT_EQ(nullptr, I_ImGetPtr(0, 4, nullptr, &stride, im));
    EXPECT_EQ(26, lastError());
    EXPECT_EQ("I_ImGetPtr", errorText());
    EXPECT_EQ(-7, stride);
    clearError();
    EXPECT_EQ(nullptr, I_ImGetPtrEx(0, 0, &stride, im, PIX_FLOAT)); // another type: no error
    EXPECT_EQ(0, lastError());
    EXPECT_NE(nullptr, I_ImGetPtrEx(0, 3, &stride, im, PIX_DWORD));
    EXPECT_EQ(40, stride);
    EXPECT_NE(nullptr, I_ImGetPtrEx(0, 0, nullptr, im, 0));
    EXPECT_EQ(nullptr, I_ImGetPtrEx(0, INT32_MAX, nullptr, im, 0));
    EXPECT_EQ(26, lastError());
}

TEST_F(ImagePointers, LiteralRowTableRepeatsItsEnds)
{
    const int32_t im = byteImage({{1}, {2}, {3}});
    int32_t cols = 0;
    int32_t rows = 0;
    void** const table = I_ImGet2DPtr(&cols, &rows, im, PIX_BYTE);
    ASSERT_NE(nullptr, table);
    EXPECT_EQ(1, cols);
    EXPECT_EQ(3, rows);
    for (const auto& [row, value] :
         std::vector<std::pair<int32_t, int32_t>>{{-2, 1}, {-1, 1}, {0, 1}, {1, 2}, {2, 3}, {3, 3}, {4, 3}})
        EXPECT_EQ(value, byteAt(table, row, 0)) << row;
    EXPECT_EQ(1, I_ImGet2DPtr(nullptr, nullptr, im, 0) == table);
}

TEST_F(ImagePointers, LiteralRowTableOfAnInvertedImageIsInLogicalOrder)
{
    const int32_t im = byteImage({{1}, {2}, {3}});
    void** table = I_ImGet2DPtr(nullptr, nullptr, im, 0);
    const int32_t one = 1;
    I_ImSetParam(&one, 0, 19, im);
    EXPECT_EQ(1.0, byteAt(table, 0, 0)); // not built anew yet
    int32_t inverted = 0;
    I_ImGetParam(&inverted, 0, 19, im); // reading the flag builds it anew
    table = I_ImGet2DPtr(nullptr, nullptr, im, 0);
    for (const auto& [row, value] :
         std::vector<std::pair<int32_t, int32_t>>{{-2, 3}, {-1, 3}, {0, 3}, {1, 2}, {2, 1}, {3, 1}, {4, 1}})
        EXPECT_EQ(value, byteAt(table, row, 0)) << row;
}

TEST_F(ImagePointers, LiteralRowTableComparesWidthsOnly)
{
    const int32_t im = I_ImOpen(3, 3, PIX_DWORD);
    EXPECT_NE(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_FLOAT));
    EXPECT_NE(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_BGR32));
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_WORD));
    EXPECT_EQ(0, lastError());
}

TEST_F(ImagePointers, FailuresOfMemoryGiveNoTable)
{
    const int32_t im = I_ImOpen(1, 3, PIX_WORD);
    vexa::failAllocation(1, false);
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, 0));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, lastError());
    EXPECT_NE(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, 0));
}

TEST_F(ImageConvert, LiteralKeepsTheNumberAndConvertsThePixels)
{
    const int32_t im = byteImage(5, 3, [](int32_t x, int32_t y) { return 10 * x + y; });
    EXPECT_EQ(1, I_ImConvertType(im, PIX_FLOAT));
    EXPECT_EQ(PIX_FLOAT, I_ImGetType(im));
    EXPECT_EQ(24, I_ImGetStride(im));
    int32_t bytes = 0;
    I_ImGetSize(nullptr, nullptr, &bytes, im);
    EXPECT_EQ(4, bytes);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(10 * x + y, pixel(im, x, y));
    EXPECT_EQ(1, I_ImConvertType(im, PIX_FLOAT));
    EXPECT_EQ(1, I_ImConvertType(im, PIX_BYTE));
    EXPECT_EQ(42.0, pixel(im, 4, 2));
    EXPECT_EQ(0, lastError());
}

TEST_F(ImageConvert, LiteralInvertedRowsEndUpTopFirst)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}, {5, 6}});
    const int32_t one = 1;
    I_ImSetParam(&one, 0, 19, im);
    EXPECT_EQ(1, I_ImConvertType(im, PIX_WORD));
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(5, 6));
    EXPECT_THAT(rowOf(im, 2), testing::ElementsAre(1, 2));
    int32_t inverted = 1;
    I_ImGetParam(&inverted, 0, 19, im);
    EXPECT_EQ(0, inverted);
}

TEST_F(ImageConvert, LiteralADibBecomesMemoryOfTheImagesOwn)
{
    void* const handle = vexaGlobalAlloc(16);
    auto* const bits = static_cast<uint8_t*>(vexaGlobalLock(handle));
    std::fill(bits, bits + 16, uint8_t{9});
    const int32_t im = I_ImOpenPtr(4, 4, 0, PIX_BYTE, bits);
    I_ImSetParam(&handle, 0, 10, im);
    EXPECT_EQ(1, I_ImConvertType(im, PIX_WORD));
    void* read = handle;
    I_ImGetParam(&read, 0, 10, im);
    EXPECT_EQ(nullptr, read);
    EXPECT_EQ(9.0, pixel(im, 3, 3));
}

TEST_F(ImageConvert, FailuresLeaveTheImageAsItWas)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    EXPECT_EQ(0, I_ImConvertType(im, PIX_PALETTE));
    EXPECT_EQ(1, lastError());
    EXPECT_EQ("I_ImConvert to Palette not supported", errorText());
    const std::string notOwned = "I_ImConvert: cannot change (realloc) non-memory or sub-image";
    uint8_t memory[4] = {};
    clearError();
    EXPECT_EQ(0, I_ImConvertType(I_ImOpenPtr(2, 2, 0, PIX_BYTE, memory), PIX_WORD));
    EXPECT_EQ(1, lastError());
    EXPECT_EQ(notOwned, errorText());
    clearError();
    const int32_t sub = I_ImOpenSubimage(0, 0, 1, 1, im);
    EXPECT_EQ(0, I_ImConvertType(sub, PIX_WORD));
    EXPECT_EQ(notOwned, errorText());
    clearError();
    EXPECT_EQ(0, I_ImConvertType(im, PIX_WORD)); // the subimage looks at these pixels
    EXPECT_EQ(notOwned, errorText());
    I_ImClose(sub);
    EXPECT_EQ(0, I_ImConvertType(im, 25));
    EXPECT_EQ(12, lastError());
    EXPECT_EQ(4.0, pixel(im, 1, 1));
}

TEST_F(ImageConvert, FailuresOfMemoryAreReported)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    vexa::failAllocation(1, true);
    EXPECT_EQ(0, I_ImConvertType(im, PIX_WORD));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, lastError());
    EXPECT_NE(std::string::npos, errorText().find("I_ImConvertType 2 x 2"));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(im));
    EXPECT_EQ(4.0, pixel(im, 1, 1));
}
