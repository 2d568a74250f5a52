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

std::string comment(int32_t im)
{
    char text[300] = {};
    I_ImGetComment(text, sizeof text, im);
    return text;
}

class ImageSubimage : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }
};
using ImageResize = ImageSubimage;

} // namespace

TEST_F(ImageSubimage, LiteralWindowIsClippedToItsParent)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t y) { return x + 2 * y; });
    const int32_t sub = I_ImOpenSubimage(10, 10, 1000, 1000, im);
    int32_t cols = 0;
    int32_t rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, sub);
    EXPECT_EQ(90, cols);
    EXPECT_EQ(90, rows);
    EXPECT_EQ(30.0, pixel(sub, 0, 0));
    EXPECT_EQ(104, I_ImGetStride(sub));
    EXPECT_EQ(1, I_ImClearBlockType(0, 0, 1, 1, nullptr, sub, 0));
    EXPECT_EQ(0.0, pixel(im, 10, 10));
    // A subimage of a subimage keeps its immediate parent.
    const int32_t inner = I_ImOpenSubimage(5, 6, 3, 3, sub);
    EXPECT_EQ(15 + 2 * 16, pixel(inner, 0, 0));
    EXPECT_EQ(0, I_ImClose(sub));
    EXPECT_EQ(1, I_ImClose(inner));
    EXPECT_EQ(1, I_ImClose(sub));
}

TEST_F(ImageSubimage, LiteralTakesOverTheParentsDescriptionButNothingOwned)
{
    const int32_t im = I_ImOpenEx(20, 20, PIX_BYTE, "wafer");
    I_SetPixValueRange(3.0, 9.0, im);
    const int32_t one = 1;
    I_ImSetParam(&one, 0, 19, im);
    const int32_t sub = I_ImOpenSubimage(3, 4, 5, 6, im);
    EXPECT_EQ("Subimage of -1 (wafer) at 3 4", comment(sub));
    double low = 0.0;
    double high = 0.0;
    EXPECT_EQ(1, I_GetPixValueRange(&low, &high, sub));
    EXPECT_EQ(3.0, low);
    EXPECT_EQ(9.0, high);
    int32_t inverted = 0;
    I_ImGetParam(&inverted, 0, 19, sub);
    EXPECT_EQ(1, inverted);
    uint8_t palette[1024];
    EXPECT_EQ(0, I_ImGetParam(palette, 0, 13, sub));
    EXPECT_EQ("", comment(I_ImOpenSubimage(0, 0, 1, 1, I_ImOpen(2, 2, PIX_BYTE))));
}

TEST_F(ImageSubimage, LiteralOutsideTheParentSetsTheDescribedError)
{
    const int32_t im = I_ImOpen(100, 50, PIX_BYTE); // stride 104
    EXPECT_EQ(0, I_ImOpenSubimage(-1, 0, 10, 10, im));
    EXPECT_EQ(13, lastError());
    EXPECT_EQ("I_ImOpenSubimage(-1 0 10 10 -1), offset=-1, NewEnd=1040, ParEnd=5200, stride=104",
              errorText());
    EXPECT_EQ(0, I_ImOpenSubimage(0, -1, 10, 10, im));
    EXPECT_EQ(13, lastError());
    // A negative x on a later row starts at the end of the row before.
    EXPECT_NE(0, I_ImOpenSubimage(-1, 1, 10, 10, im));
    // x is not tested: this window has no columns.
    const int32_t empty = I_ImOpenSubimage(100, 0, 10, 10, im);
    EXPECT_NE(0, empty);
    int32_t cols = 9;
    I_ImGetSize(&cols, nullptr, nullptr, empty);
    EXPECT_EQ(0, cols);
    for (const int32_t far : {INT32_MAX, INT32_MIN, 1000000}) {
        clearError();
        EXPECT_EQ(0, I_ImOpenSubimage(far, 0, 10, 10, im));
        EXPECT_EQ(13, lastError());
        EXPECT_EQ(0, I_ImOpenSubimage(0, far, INT32_MAX, INT32_MAX, im));
        EXPECT_EQ(13, lastError());
    }
}

TEST_F(ImageSubimage, BoundsEmptyAndShiftedWindowsAreSafeToUse)
{
    const int32_t im = byteImage(100, 50, [](int32_t x, int32_t) { return x; });
    std::vector<uint8_t> block(5000);
    for (const int32_t x : {-100, -1, 0, 50, 99, 100, 104, 1000, 5200}) {
        for (const int32_t y : {-1, 0, 1, 49, 50, 51}) {
            for (const int32_t size : {-3, 0, 1, 200}) {
                const int32_t sub = I_ImOpenSubimage(x, y, size, size, im);
                if (sub == 0)
                    continue;
                I_ImClear(sub, 3.0);
                for (const int32_t type : {1, 25})
                    I_GetBlockType(-2, 0, 50, 100, block.data(), sub, type);
                I_ImGet2DPtr(nullptr, nullptr, sub, 0);
                I_ImGetPtr(200, 0, nullptr, nullptr, sub);
                I_ImGetRange(nullptr, nullptr, sub);
                I_ImInvertRows(sub);
                I_ImCopyBlock(-1, -1, 0, 0, sub, 0, 0, im);
                I_CloneImage(sub, 0, 1);
                EXPECT_EQ(1, I_ImClose(sub));
                if (I_ImCount() > 100)
                    for (int32_t number = -2; number > -290; --number)
                        I_ImClose(number);
            }
        }
    }
    EXPECT_NE(0, I_ImValid(im));
}

TEST_F(ImageSubimage, FailuresOfMemoryLeaveTheParentClosable)
{
    const int32_t im = I_ImOpenEx(20, 20, PIX_BYTE, "wafer");
    forEachFailingAllocation(
        [&] {
            const int32_t sub = I_ImOpenSubimage(0, 0, 5, 5, im);
            I_ImClose(sub);
            return sub;
        },
        [&](int64_t) { EXPECT_EQ(2, lastError()); });
    EXPECT_EQ(1, I_ImClose(im));
}

TEST_F(ImageResize, LiteralSameSizeAndBytesKeepsTheImage)
{
    const int32_t im = byteImage(8, 8, [](int32_t, int32_t) { return 5; });
    EXPECT_EQ(im, I_ImResize(8, 8, PIX_BYTE, im));
    EXPECT_EQ(5.0, pixel(im, 3, 3));
    const int32_t words = wordImage(8, 8, [](int32_t, int32_t) { return 6; });
    EXPECT_EQ(words, I_ImResize(8, 8, PIX_WORD, words));
    EXPECT_EQ(6.0, pixel(words, 3, 3));
    // The third value is the bytes per pixel: 4 is also the code of floats.
    const int32_t dwords = image(8, 8, PIX_DWORD, [](int32_t, int32_t) { return 7; });
    EXPECT_EQ(dwords, I_ImResize(8, 8, PIX_FLOAT, dwords));
    EXPECT_EQ(PIX_DWORD, I_ImGetType(dwords));
    EXPECT_EQ(dwords, I_ImResize(8, 8, PIX_DWORD, dwords));
    EXPECT_EQ(0.0, pixel(dwords, 3, 3)); // made anew
    EXPECT_EQ(0, lastError());
}

TEST_F(ImageResize, LiteralKeepsTheNumber)
{
    const int32_t other = I_ImOpen(1, 1, PIX_BYTE);
    const int32_t im = I_ImOpenEx(8, 8, PIX_BYTE, "old");
    EXPECT_EQ(im, I_ImResize(30, 20, PIX_FLOAT, im));
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    I_ImGetSize(&cols, &rows, &bytes, im);
    EXPECT_EQ(30, cols);
    EXPECT_EQ(20, rows);
    EXPECT_EQ(4, bytes);
    EXPECT_EQ("", comment(im));
    EXPECT_EQ(2, I_ImCount());
    EXPECT_EQ(1, I_ImValid(other));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(-3, I_ImResize(5, 5, PIX_BYTE, 0)); // image 0: a plain open
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(-100, I_ImResize(5, 5, PIX_BYTE, -100)); // an empty slot is filled
    EXPECT_EQ(-4, I_ImResize(5, 5, PIX_BYTE, -4));
    EXPECT_EQ(5, I_ImCount());
}

TEST_F(ImageResize, FailuresChangeNothing)
{
    const int32_t im = I_ImOpen(8, 8, PIX_WORD);
    EXPECT_EQ(0, I_ImResize(5, 5, PIX_BYTE, 3));
    EXPECT_EQ(24, lastError());
    EXPECT_EQ(0, I_ImResize(5, 5, PIX_BYTE, -300));
    EXPECT_EQ(1, I_ImCount());
    const int32_t sub = I_ImOpenSubimage(0, 0, 2, 2, im);
    EXPECT_EQ(0, I_ImResize(5, 5, PIX_BYTE, im));
    EXPECT_EQ(1, lastError());
    EXPECT_EQ(PIX_WORD, I_ImGetType(im));
    EXPECT_EQ(2, I_ImCount());
    EXPECT_EQ(1, I_ImClose(sub));
    const int64_t before = vexa::allocationState().liveBytes;
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_ImResize(500, 5, PIX_WORD, im));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, lastError());
    EXPECT_EQ(before, vexa::allocationState().liveBytes);
    EXPECT_EQ(im, I_ImResize(8, 8, PIX_WORD, im));
}
