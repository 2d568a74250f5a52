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

class ImageTable : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }
};
using ImageOpen = ImageTable;

} // namespace

TEST_F(ImageTable, LiteralNumbersAreMinusTheFirstFreeSlot)
{
    EXPECT_EQ(-1, I_ImOpen(4, 4, PIX_BYTE));
    EXPECT_EQ(-2, I_ImOpen(4, 4, PIX_WORD));
    EXPECT_EQ(-3, I_ImOpen(4, 4, PIX_FLOAT));
    EXPECT_EQ(1, I_ImClose(-2));
    EXPECT_EQ(0, I_ImValid(-2));
    EXPECT_EQ(-2, I_ImOpen(4, 4, PIX_WORD));
    EXPECT_EQ(3, I_ImCount());
    EXPECT_EQ(3, I_ImageCount());
}

TEST_F(ImageTable, LiteralLookupReportsEachKindOfBadNumber)
{
    EXPECT_EQ(0, I_ImGetType(-5));
    EXPECT_EQ(24, lastError()); // no table yet
    EXPECT_EQ("I_ImGetType(, im=-5) im. not open", errorText());
    const int32_t im = I_ImOpen(4, 4, PIX_BYTE);
    EXPECT_EQ(0, I_ImGetType(-5));
    EXPECT_EQ(20, lastError());
    EXPECT_EQ("I_ImGetType(, im=-5)  im. not open", errorText());
    EXPECT_EQ(0, I_ImGetType(-299));
    EXPECT_EQ(20, lastError());
    for (const int32_t bad : {5, -300, INT32_MIN, INT32_MAX}) {
        clearError();
        EXPECT_EQ(0, I_ImGetType(bad));
        EXPECT_EQ(24, lastError());
        EXPECT_EQ("I_ImGetType(, im=" + std::to_string(bad) + ") im. not open", errorText());
        EXPECT_EQ(0, I_ImValid(bad));
    }
    clearError();
    EXPECT_EQ(0, I_ImGetType(0));
    EXPECT_EQ(0, I_ImGetStride(0));
    int32_t bands = 7;
    EXPECT_EQ(0, I_ImIsFloat(0, &bands));
    EXPECT_EQ(0, bands);
    EXPECT_EQ(0, I_ImClose(0));
    EXPECT_EQ(0, I_ImValid(0));
    EXPECT_EQ(0, I_ImCopyParams(0, im));
    EXPECT_EQ(0, lastError());
}

TEST_F(ImageTable, FailuresNameTheLookupThatMetThem)
{
    I_ImOpen(4, 4, PIX_BYTE);
    uint8_t pixel[16] = {};
    double value = 0.0;
    const std::vector<std::pair<std::string, std::function<int64_t(int32_t)>>> calls = {
        {"subimage", [](int32_t im) { return I_ImOpenSubimage(0, 0, 1, 1, im); }},
        {"I_ImClose", [](int32_t im) { return I_ImClose(im); }},
        {"I_ImGetType", [](int32_t im) { return I_ImGetStride(im); }},
        {"I_ImGetType", [](int32_t im) { return I_ImIsFloat(im, nullptr); }},
        {"I_ImGetParam", [&](int32_t im) { return I_ImGetParam(&value, 0, 11, im); }},
        {"I_ImGetParam", [](int32_t im) { return I_ImGetNBands(im); }},
        {"imsetparam", [&](int32_t im) { return I_ImSetParam(&value, 0, 11, im); }},
        {"imsetparam", [](int32_t im) { return I_ImSetComment("x", im); }},
        {"I_ImGetPtr", [](int32_t im) { return I_ImGetPtr(0, 0, nullptr, nullptr, im) != nullptr; }},
        {"I_ImGetPtr", [](int32_t im) { return I_ImGetPtrEx(0, 0, nullptr, im, 0) != nullptr; }},
        {"I_ImGetPtr", [](int32_t im) { return I_ImGet2DPtr(nullptr, nullptr, im, 0) != nullptr; }},
        {"I_ImGetSize", [](int32_t im) { return I_ImGetSize(nullptr, nullptr, nullptr, im); }},
        {"I_ImInvertRows", [](int32_t im) { return I_ImInvertRows(im); }},
        {"ImConvertType", [](int32_t im) { return I_ImConvertType(im, PIX_WORD); }},
        {"I_GetBlockType", [&](int32_t im) { return I_GetBlockType(0, 0, 1, 1, pixel, im, PIX_BYTE); }},
        {"I_GetBlockType", [&](int32_t im) { return I_GetBlockTypeEx(0, 0, 1, 2, pixel, im, PIX_BYTE, 0); }},
        {"I_PutBlockType", [&](int32_t im) { return I_PutBlockType(0, 0, 1, 1, pixel, im, PIX_BYTE); }},
        {"I_PutBlockType", [&](int32_t im) { return I_PutBlockTypeEx(0, 0, 1, 2, pixel, im, PIX_BYTE, 0); }},
        {"CopyBlock", [](int32_t im) { return I_ImCopyBlock(1, 1, 0, 0, im, 0, 0, -1); }},
        {"CopyBlock", [](int32_t im) { return I_ImCopyBlock(1, 1, 0, 0, -1, 0, 0, im); }},
        {"CopyBlock", [](int32_t im) { return I_ImageCopy(im, -1); }},
        {"I_ImClearBlockType", [](int32_t im) { return I_ImClear(im, 1.0); }},
        {"I_ImClearBlockType", [](int32_t im) { return I_ClearRect(0, 0, 1, 1, 1, im); }},
        {"I_ImGetRange", [](int32_t im) { return I_ImGetRange(nullptr, nullptr, im); }},
    };
    for (const auto& [name, call] : calls) {
        clearError();
        EXPECT_EQ(0, call(-7)) << name;
        EXPECT_EQ(20, lastError()) << name;
        EXPECT_EQ(name + "(, im=-7)  im. not open", errorText());
        EXPECT_EQ(0, call(7)) << name;
        EXPECT_EQ(24, lastError()) << name;
        EXPECT_EQ(name + "(, im=7) im. not open", errorText());
    }
}

TEST_F(ImageTable, LiteralFullImagesTake298SlotsAndASubimageTheLast)
{
    for (int32_t i = 1; i <= 298; ++i)
        ASSERT_EQ(-i, I_ImOpen(1, 1, PIX_BYTE));
    EXPECT_EQ(0, I_ImOpen(1, 1, PIX_BYTE));
    EXPECT_EQ(21, lastError());
    EXPECT_EQ("NO_AVAIL_IMAGE_HANDLES", errorText());
    EXPECT_EQ(-299, I_ImOpenSubimage(0, 0, 1, 1, -1));
    clearError();
    EXPECT_EQ(0, I_ImOpenSubimage(0, 0, 1, 1, -1));
    EXPECT_EQ(21, lastError());
    EXPECT_EQ("NO_AVAIL_IMAGE_HANDLES", errorText());
    EXPECT_EQ(299, I_ImCount());
    EXPECT_EQ(1, I_ImClose(-200));
    EXPECT_EQ(-200, I_ImOpenSubimage(0, 0, 1, 1, -1));
}

TEST_F(ImageTable, LiteralCloseOfAParentFailsUntilItsSubimagesAreClosed)
{
    const int32_t im = byteImage(10, 10, [](int32_t x, int32_t) { return x; });
    const int32_t sub = I_ImOpenSubimage(2, 2, 3, 3, im);
    const int32_t second = I_ImOpenSubimage(0, 0, 3, 3, im);
    EXPECT_EQ(0, I_ImClose(im));
    EXPECT_EQ(1, lastError());
    EXPECT_EQ("I_ImClose: Cannot close image -1: it has 2 open subimage(s)", errorText());
    EXPECT_EQ(7.0, pixel(im, 7, 0));
    EXPECT_EQ(1, I_ImClose3(sub, 0, second));
    EXPECT_EQ(1, I_ImClose(im));
    EXPECT_EQ(0, I_ImClose3(0, 0, 0));
    EXPECT_EQ(0, I_ImClose(im));
}

TEST_F(ImageTable, LiteralCloseAllOverridesSubimagesAndStartsAnew)
{
    const int64_t before = vexa::allocationState().liveBytes;
    const int32_t im = I_ImOpenEx(10, 10, PIX_BYTE, "parent");
    I_ImOpenSubimage(2, 2, 3, 3, im);
    I_ImOpenSubimage(0, 0, 2, 2, -2);
    I_ImCloseAll();
    EXPECT_EQ(20, lastError()); // a subimage outlived its parent in the walk
    EXPECT_EQ("imclose2(, im=-2)  im. not open", errorText());
    EXPECT_EQ(0, I_ImCount());
    EXPECT_EQ(before, vexa::allocationState().liveBytes);
    I_ImGetType(-1);
    EXPECT_EQ(24, lastError()); // the table is gone
    EXPECT_EQ(-1, I_ImOpen(1, 1, PIX_BYTE));
}

TEST_F(ImageTable, LiteralFindWalksTheSlotsAndStopsOnce)
{
    EXPECT_EQ(0, I_ImFind("x"));
    I_ImOpenEx(1, 1, PIX_BYTE, "ax");
    I_ImOpen(1, 1, PIX_BYTE);
    I_ImOpenEx(1, 1, PIX_BYTE, "xb");
    EXPECT_EQ(-1, I_ImFind("x"));
    EXPECT_EQ(-3, I_ImFind(nullptr));
    EXPECT_EQ(0, I_ImFind(""));
    EXPECT_EQ(-1, I_ImFind(nullptr)); // the position starts again, the text stays
    EXPECT_EQ(-1, I_ImFind("x"));
    EXPECT_EQ(-1, I_ImFind("x")); // a text restarts
    EXPECT_EQ(-3, I_ImFind("xb"));
    EXPECT_EQ(0, I_ImFind("xbc"));
}

TEST_F(ImageTable, LiteralTotalBytesCountsBytesPerPixelTwice)
{
    I_ImOpen(10, 5, PIX_WORD); // stride 24
    EXPECT_EQ(24.0 * 5 * 2, I_TotalBytesUsed());
    I_ImOpenSubimage(0, 0, 4, 2, -1);
    EXPECT_EQ(24.0 * 5 * 2 + 24.0 * 2 * 2, I_TotalBytesUsed());
}

TEST_F(ImageTable, LiteralTotalBytesMakesAMissingTableAndReports)
{
    EXPECT_EQ(0.0, I_TotalBytesUsed());
    EXPECT_NE(0, lastError());
    clearError();
    EXPECT_EQ(0.0, I_TotalBytesUsed());
    EXPECT_EQ(0, lastError());
    I_ImGetType(-1);
    EXPECT_EQ(20, lastError()); // the table exists
}

TEST_F(ImageOpen, LiteralSizesAreRaisedToOne)
{
    const int32_t im = I_ImOpen(0, -5, PIX_BYTE);
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    EXPECT_EQ(1, I_ImGetSize(&cols, &rows, &bytes, im));
    EXPECT_EQ(1, cols);
    EXPECT_EQ(1, rows);
    EXPECT_EQ(1, bytes);
    EXPECT_EQ(8, I_ImGetStride(im));
    EXPECT_EQ(0, I_ImGetSize(&cols, &rows, &bytes, 0));
    EXPECT_EQ(0, cols + rows + bytes);
}

TEST_F(ImageOpen, LiteralStrides)
{
    uint8_t memory[64] = {};
    EXPECT_EQ(8, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE)));
    EXPECT_EQ(16, I_ImGetStride(I_ImOpen(3, 2, PIX_FLOAT)));
    EXPECT_EQ(8, I_ImGetStride(I_ImOpen(8, 2, PIX_BYTE)));
    EXPECT_EQ(16, I_ImGetStride(I_ImOpen(3, 2, PIX_BGR24)));
    EXPECT_EQ(3, I_ImGetStride(I_ImOpenPtr(3, 2, 0, PIX_BYTE, memory)));
    EXPECT_EQ(11, I_ImGetStride(I_ImOpenPtr(3, 2, 11, PIX_BYTE, memory)));
    EXPECT_EQ(13, I_ImGetStride(I_ImOpenStride(3, 2, 13, PIX_BYTE)));
    EXPECT_EQ(8, I_ImGetStride(I_ImOpenStride(3, 2, 0, PIX_BYTE)));
    EXPECT_EQ(8, I_ImGetStride(I_ImOpenStride(3, 2, -4, PIX_BYTE)));
    EXPECT_EQ(0, I_ImOpenPtr(3, 2, 0, PIX_BYTE, nullptr));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(8, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE))); // the forms leave nothing behind
}

TEST_F(ImageOpen, LiteralSpecialTakesOneToSixteenBytesPerPixel)
{
    EXPECT_EQ(0, I_ImOpenSpecial(0, 7, 17, PIX_WORD, 255, -1));
    EXPECT_EQ(12, lastError());
    EXPECT_EQ("I_ImOpenSpecial(1, 7, 17 2, ff ffffffff)", errorText());
    EXPECT_EQ(0, I_ImOpenSpecial(5, 7, 0, PIX_WORD, 0, 0));
    EXPECT_EQ("I_ImOpenSpecial(5, 7, 0 2, 0 0)", errorText());
    const int32_t im = I_ImOpenSpecial(5, 7, 16, 30, 0, 0);
    EXPECT_EQ(80, I_ImGetStride(im));
    EXPECT_EQ(30, I_ImGetType(im));
}

TEST_F(ImageOpen, LiteralByteAndPaletteImagesHaveAGreyRamp)
{
    for (const int32_t type : {PIX_BYTE, PIX_PALETTE}) {
        uint8_t palette[1024] = {};
        const int32_t im = I_ImOpen(2, 2, type);
        ASSERT_EQ(1, I_ImGetParam(palette, 0, 13, im));
        EXPECT_EQ(1, I_PaletteIsGrayscale(palette));
        EXPECT_EQ(0, palette[4 * 200 + 3]);
        palette[4 * 200 + 1] = 199;
        EXPECT_EQ(0, I_PaletteIsGrayscale(palette));
    }
    uint8_t palette[1024] = {};
    EXPECT_EQ(0, I_ImGetParam(palette, 0, 13, I_ImOpen(2, 2, PIX_WORD)));
    EXPECT_EQ(1, I_PaletteIsGrayscale(nullptr));
}

TEST_F(ImageOpen, LiteralPixelsAndGuardSpaceAreZero)
{
    const int32_t im = I_ImOpen(5, 3, PIX_FLOAT);
    int32_t stride = 0;
    const auto* pixels = static_cast<const uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    const int64_t guard = 2 * (int64_t{stride} + 4);
    for (int64_t i = -guard; i < 3 * stride + guard; ++i)
        ASSERT_EQ(0, pixels[i]) << i;
}

TEST_F(ImageOpen, BoundsAStrideBelowTheWidthStaysInsideItsBlock)
{
    const int32_t im = I_ImOpenStride(100, 3, 1, PIX_BYTE);
    std::vector<uint8_t> row(100, 9);
    EXPECT_EQ(100, I_PutBlockType(0, 2, 100, 1, row.data(), im, PIX_BYTE));
    EXPECT_EQ(300, I_GetBlockType(0, 0, 100, 3, std::vector<uint8_t>(300).data(), im, PIX_BYTE));
    // A type wider than the bytes per pixel likewise.
    const int32_t narrow = I_ImOpenSpecial(50, 4, 1, PIX_DCOMPLEX, 0, 0);
    std::vector<uint8_t> wide(50 * 16 * 4, 9);
    EXPECT_EQ(200, I_PutBlockType(0, 0, 50, 4, wide.data(), narrow, PIX_DCOMPLEX));
}

TEST_F(ImageOpen, LiteralExternalMemoryIsUsedAndNeverOwned)
{
    const int64_t before = vexa::allocationState().liveBytes;
    std::vector<float> storage(20, 3.5F);
    // An address that no float has.
    auto* const odd = reinterpret_cast<uint8_t*>(storage.data()) + 1;
    const float value = 6.25F;
    std::memcpy(odd + 3 * 4, &value, sizeof value);
    const int32_t im = I_ImOpenPtr(4, 4, 0, PIX_FLOAT, odd);
    EXPECT_EQ(6.25F, I_GetPix(3, 0, im));
    EXPECT_EQ(1, I_PutPix(1, 3, -2.0F, im));
    float stored = 0.0F;
    std::memcpy(&stored, odd + 13 * 4, sizeof stored);
    EXPECT_EQ(-2.0F, stored);
    double low = 0.0;
    EXPECT_EQ(16, I_ImGetRange(&low, nullptr, im));
    I_ImClose(im);
    EXPECT_EQ(before, vexa::allocationState().liveBytes);
}

TEST_F(ImageOpen, LiteralAutoClearLeavesAnOpenImageZero)
{
    EXPECT_EQ(1, I_SetImAutoClear(1));
    const int32_t im = I_ImOpen(4, 4, PIX_BYTE);
    EXPECT_THAT(bytesOf(im), testing::Each(0));
    uint8_t memory[16];
    std::fill(std::begin(memory), std::end(memory), uint8_t{5});
    EXPECT_THAT(bytesOf(I_ImOpenPtr(4, 4, 0, PIX_BYTE, memory)), testing::Each(5));
    EXPECT_EQ(0, I_SetImAutoClear(0));
}

TEST_F(ImageOpen, FailuresOfMemoryPostAMessageAndTryTwice)
{
    Messages messages;
    vexa::failAllocation(1, false); // the record
    EXPECT_EQ(0, I_ImOpen(1000, 1000, PIX_FLOAT));
    EXPECT_EQ(2, lastError());
    EXPECT_EQ(0U, errorText().find("Memory allocation failed: I_ImOpenSpecial(): "));
    EXPECT_TRUE(messages.all().empty());
    clearError();
    vexa::failAllocation(2, true); // the pixels, and whatever is tried again
    EXPECT_EQ(0, I_ImOpen(1000, 1000, PIX_FLOAT));
    vexa::failAllocation(0, false);
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_ImCount());
    ASSERT_EQ(1U, messages.all().size());
    const std::string first = "I_ImOpen: calloc (4.000 MB (1000 x 1000) failed. 16 MB in use; ";
    EXPECT_EQ(0U, messages.all()[0].find(first));
    messages.clear();
    vexa::failAllocation(2, false);
    EXPECT_EQ(-1, I_ImOpen(1000, 1000, PIX_FLOAT));
    vexa::failAllocation(0, false);
    ASSERT_EQ(2U, messages.all().size());
    EXPECT_EQ(0U, messages.all()[0].find(first));
    EXPECT_EQ("I_ImOpen: calloc (4.000 MB) worked on 2nd try!", messages.all()[1]);
    EXPECT_EQ(0, lastError());
}

TEST_F(ImageOpen, FailuresOfImpossibleSizesAreFailuresOfMemory)
{
    Messages messages;
    EXPECT_EQ(0, I_ImOpen(INT32_MAX, INT32_MAX, PIX_DCOMPLEX));
    EXPECT_EQ(0, I_ImOpen(INT32_MAX, 1, PIX_BYTE)); // the stride would be 2 to the 31
    EXPECT_EQ(2U, messages.all().size());
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_ImCount());
    uint8_t memory[16] = {};
    EXPECT_EQ(0, I_ImOpenPtr(INT32_MAX, 2, 0, PIX_WORD, memory));
    EXPECT_EQ(12, lastError());
}

TEST_F(ImageOpen, FailuresOfThePaletteCloseTheImage)
{
    const int64_t before = vexa::allocationState().liveBytes;
    vexa::failAllocation(3, false);
    EXPECT_EQ(0, I_ImOpen(8, 8, PIX_BYTE));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, lastError());
    EXPECT_EQ(0, I_ImCount());
    EXPECT_EQ(before, vexa::allocationState().liveBytes);
}
