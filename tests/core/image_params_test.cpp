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

int32_t parameter(int32_t code, int32_t im)
{
    int32_t value = -12345;
    EXPECT_EQ(1, I_ImGetParam(&value, 0, code, im)) << "code " << code;
    return value;
}

std::string comment(int32_t im)
{
    char text[300] = {};
    I_ImGetComment(text, sizeof text, im);
    return text;
}

class ImageParams : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }
};
using ImageComments = ImageParams;

} // namespace

TEST_F(ImageParams, LiteralEveryCodeOfGet)
{
    const int32_t im = I_ImOpen(5, 7, PIX_BGR24);
    EXPECT_EQ(1, parameter(0, im));
    EXPECT_EQ(PIX_BGR24, parameter(1, im));
    EXPECT_EQ(5, parameter(3, im));
    EXPECT_EQ(7, parameter(4, im));
    EXPECT_EQ(5 * 65536 + 7, parameter(5, im));
    EXPECT_EQ(16, parameter(6, im));
    EXPECT_EQ(8, parameter(7, im));
    EXPECT_EQ(3, parameter(8, im));
    void* data = nullptr;
    EXPECT_EQ(1, I_ImGetParam(&data, 0, 9, im));
    EXPECT_EQ(I_ImGetPtr(0, 0, nullptr, nullptr, im), data);
    void* handle = &data;
    EXPECT_EQ(1, I_ImGetParam(&handle, 0, 10, im));
    EXPECT_EQ(nullptr, handle);
    double value = 5.0;
    EXPECT_EQ(1, I_ImGetParam(&value, 0, 11, im));
    EXPECT_EQ(0.0, value);
    EXPECT_EQ(0, parameter(19, im));
    uint8_t out[1024];
    for (const int32_t code : {13, 16, 17, 18, 20, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(0, I_ImGetParam(out, sizeof out, code, im)) << code;
    EXPECT_EQ(0, I_ImGetParam(nullptr, 4, 1, im));
    EXPECT_EQ(0, I_ImGetParam(out, 4, 1, 0));
    EXPECT_EQ(0, lastError());
}

TEST_F(ImageParams, LiteralEveryCodeOfSet)
{
    const int32_t im = I_ImOpen(5, 7, PIX_DWORD);
    int32_t value = 77;
    for (const int32_t code : {0, 2, 3, 4, 5, 8, 9, 16, 17, 18, 20, -1})
        EXPECT_EQ(0, I_ImSetParam(&value, 4, code, im)) << code;
    EXPECT_EQ(0, I_ImSetParam(nullptr, 4, 1, im));
    EXPECT_EQ(0, I_ImSetParam(&value, 4, 1, 0));
    EXPECT_EQ(0, lastError());

    value = PIX_FLOAT;
    EXPECT_EQ(1, I_ImSetParam(&value, 0, 1, im));
    EXPECT_EQ(PIX_FLOAT, I_ImGetType(im));
    value = PIX_WORD; // another width: the result is 1, and nothing changes
    EXPECT_EQ(1, I_ImSetParam(&value, 0, 1, im));
    EXPECT_EQ(PIX_FLOAT, I_ImGetType(im));

    value = 20;
    EXPECT_EQ(1, I_ImSetParam(&value, 0, 6, im));
    EXPECT_EQ(20, I_ImGetStride(im));
    value = 3;
    EXPECT_EQ(1, I_ImSetParam(&value, 0, 19, im));
    EXPECT_EQ(3, parameter(19, im));
    const double limit = 2.5;
    EXPECT_EQ(1, I_ImSetParam(&limit, 0, 12, im));
    double high = 0.0;
    EXPECT_EQ(1, I_GetPixValueRange(nullptr, &high, im));
    EXPECT_EQ(2.5, high);
}

TEST_F(ImageParams, BoundsAStrideThatLeavesTheOwnMemoryIsRefused)
{
    const int32_t im = I_ImOpen(5, 7, PIX_BYTE);
    for (const int32_t stride : {-8, 1000, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(0, I_ImSetParam(&stride, 0, 6, im)) << stride;
        EXPECT_EQ(8, I_ImGetStride(im));
    }
    uint8_t memory[200] = {};
    const int32_t external = I_ImOpenPtr(5, 7, 0, PIX_BYTE, memory);
    const int32_t wide = 25;
    EXPECT_EQ(1, I_ImSetParam(&wide, 0, 6, external));
    memory[6 * 25 + 4] = 9;
    EXPECT_EQ(9, I_GetPixByte(4, 6, external));
}

TEST_F(ImageParams, LiteralStrideAlignmentIsOneForAllImages)
{
    const int32_t im = I_ImOpen(5, 7, PIX_BYTE);
    const auto strideWith = [im](int32_t alignment) {
        EXPECT_EQ(1, I_ImSetParam(&alignment, 0, 7, im));
        EXPECT_EQ(alignment, parameter(7, im));
        const int32_t made = I_ImOpen(21, 3, PIX_BYTE);
        const int32_t stride = I_ImGetStride(made);
        EXPECT_EQ(1, I_ImClose(made));
        return stride;
    };
    EXPECT_EQ(32, strideWith(32));
    EXPECT_EQ(64, strideWith(64));
    EXPECT_EQ(21, strideWith(1));
    EXPECT_EQ(21, strideWith(0));
    EXPECT_EQ(21, strideWith(-8));
    EXPECT_EQ(24, strideWith(8));
}

TEST_F(ImageParams, LiteralDibHandleIsOwnedFromThenOn)
{
    void* const handle = vexaGlobalAlloc(100);
    const int64_t with = vexa::allocationState().liveBytes;
    const int32_t im = I_ImOpenPtr(5, 5, 0, PIX_WORD, vexaGlobalLock(handle));
    EXPECT_EQ(1, I_ImSetParam(&handle, 0, 10, im));
    void* read = nullptr;
    I_ImGetParam(&read, 0, 10, im);
    EXPECT_EQ(handle, read);
    vexaGlobalUnlock(handle);
    I_ImClose(im);
    EXPECT_GT(with, vexa::allocationState().liveBytes);
}

TEST_F(ImageParams, LiteralBandsOfAColourImage)
{
    const int32_t color = I_ImOpen(2, 2, PIX_BGR24);
    const int32_t grey = I_ImOpen(2, 2, PIX_DCOMPLEX);
    EXPECT_EQ(3, I_ImGetNBands(color));
    EXPECT_EQ(1, I_ImGetNBands(grey));
    I_SetColorBand(1);
    EXPECT_EQ(1, I_ImGetNBands(color));
    I_SetColorBand(-2);
    I_SetColorProcMode(2);
    EXPECT_EQ(1, I_ImGetNBands(color));
    I_SetColorProcMode(3);
    int32_t bands = 0;
    EXPECT_EQ(0, I_ImIsFloat(color, &bands));
    EXPECT_EQ(3, bands);
    EXPECT_EQ(1, I_ImIsFloat(grey, &bands));
    EXPECT_EQ(1, bands);
    EXPECT_EQ(0, I_ImGetNBands(0));
}

TEST_F(ImageParams, LiteralBytesAndFloatnessOfEveryType)
{
    const int32_t bytes[] = {1, 1, 2, 4, 4, 8, 8, 16, 1, 1, 1, 1, 1, 2,
                             1, 2, 3, 3, 4, 4, 3, 2,  3, 3, 1, 1, 1, 1};
    for (int32_t type = 0; type < 28; ++type)
        EXPECT_EQ(bytes[type], I_ImTypeBytes(type)) << type;
    EXPECT_EQ(1, I_ImTypeBytes(-4));
    EXPECT_EQ(1, I_ImTypeBytes(INT32_MAX));
    for (int32_t type = 1; type < 24; ++type)
        EXPECT_EQ(type >= 4 && type <= 11, I_ImIsFloat(I_ImOpen(1, 1, type), nullptr)) << type;
}

TEST_F(ImageParams, LiteralPaletteIsCopiedInAndOut)
{
    const int32_t im = I_ImOpen(2, 2, PIX_WORD);
    uint8_t palette[1024];
    for (int32_t i = 0; i < 1024; ++i)
        palette[i] = static_cast<uint8_t>(i * 7);
    EXPECT_EQ(1, I_ImSetParam(palette, 0, 13, im));
    uint8_t read[1024] = {};
    EXPECT_EQ(1, I_ImGetParam(read, 0, 13, im));
    EXPECT_EQ(0, std::memcmp(palette, read, 1024));
    const int32_t other = I_ImOpen(2, 2, PIX_WORD);
    vexa::failAllocation(1, false);
    EXPECT_EQ(1, I_ImSetParam(palette, 0, 13, other)); // the result is 1 all the same
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, lastError());
    EXPECT_NE(std::string::npos, errorText().find("imsetparam:Palette"));
    EXPECT_EQ(0, I_ImGetParam(read, 0, 13, other));
}

TEST_F(ImageComments, LiteralUnderscoreAppends)
{
    const int32_t im = I_ImOpenEx(1, 1, PIX_BYTE, "abc");
    EXPECT_EQ(1, I_ImSetComment("_def", im));
    EXPECT_EQ("abc; def", comment(im));
    EXPECT_EQ(1, I_ImSetComment("new", im));
    EXPECT_EQ("new", comment(im));
    const int32_t first = I_ImOpenEx(1, 1, PIX_BYTE, "_def");
    EXPECT_EQ("def", comment(first));
    EXPECT_EQ(1, I_ImSetComment("_", first));
    EXPECT_EQ("def; ", comment(first));
    EXPECT_EQ(0, I_ImSetComment(nullptr, first));
    EXPECT_NE(0, I_ImOpenEx(1, 1, PIX_BYTE, nullptr));
}

TEST_F(ImageComments, LiteralBufferSizes)
{
    const int32_t im = I_ImOpenEx(1, 1, PIX_BYTE, "abcde");
    const auto read = [im](int32_t size) {
        std::string buffer(8, '#');
        EXPECT_EQ(1, I_ImGetComment(buffer.data(), size, im));
        return buffer;
    };
    EXPECT_EQ(std::string("abcde\0##", 8), read(7));
    EXPECT_EQ("abcde###", read(6)); // not shorter than size - 1: no terminator
    EXPECT_EQ("abcd####", read(5));
    EXPECT_EQ("a#######", read(2));
    EXPECT_EQ("########", read(1));
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(0, I_ImGetComment(buffer, 0, im));
    EXPECT_EQ(0, I_ImGetComment(buffer, -5, im));
    EXPECT_EQ('#', buffer[0]);
    const int32_t without = I_ImOpen(1, 1, PIX_BYTE);
    EXPECT_EQ(1, I_ImGetComment(buffer, 1, without));
    EXPECT_EQ('\0', buffer[0]);
    EXPECT_EQ('#', buffer[1]);
}

TEST_F(ImageComments, LiteralRoiTextIsReplaced)
{
    const int32_t im = I_ImOpen(1, 1, PIX_BYTE);
    char text[20] = "old";
    EXPECT_EQ(1, I_ImGetParam(text, sizeof text, 15, im));
    EXPECT_STREQ("", text);
    EXPECT_EQ(1, I_ImSetParam("1 2", 0, 15, im));
    EXPECT_EQ(1, I_ImSetParam("_3 4", 0, 15, im));
    EXPECT_EQ(1, I_ImGetParam(text, sizeof text, 15, im));
    EXPECT_STREQ("_3 4", text);
}

TEST_F(ImageComments, FailuresKeepTheOldText)
{
    const int32_t im = I_ImOpenEx(1, 1, PIX_BYTE, "abc");
    for (const char* text : {"new", "_more"}) {
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, I_ImSetComment(text, im));
        vexa::failAllocation(0, false);
        EXPECT_EQ(2, lastError());
        EXPECT_EQ("abc", comment(im));
    }
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_ImFind("b"));
    vexa::failAllocation(0, false);
    EXPECT_EQ(im, I_ImFind("b"));
}

TEST_F(ImageParams, LiteralCopyParamsTakesCommentPaletteAndRange)
{
    const std::string longComment(250, 'c');
    const int32_t from = I_ImOpenEx(2, 2, PIX_BYTE, longComment.c_str());
    uint8_t palette[1024] = {1, 2, 3};
    I_ImSetParam(palette, 0, 13, from);
    EXPECT_EQ(1, I_SetPixValueRange(-3.5, 8.25, from));
    const int32_t to = I_ImOpen(9, 9, PIX_WORD);
    EXPECT_EQ(1, I_ImCopyParams(from, to));
    EXPECT_EQ(longComment.substr(0, 200), comment(to));
    uint8_t read[1024];
    EXPECT_EQ(1, I_ImGetParam(read, 0, 13, to));
    EXPECT_EQ(0, std::memcmp(palette, read, 1024));
    double low = 0.0;
    double high = 0.0;
    I_GetPixValueRange(&low, &high, to);
    EXPECT_EQ(-3.5, low);
    EXPECT_EQ(8.25, high);
    // An absent comment copies as empty, an absent palette leaves the one that is there.
    const int32_t bare = I_ImOpen(2, 2, PIX_FLOAT);
    EXPECT_EQ(1, I_ImCopyParams(bare, to));
    EXPECT_EQ("", comment(to));
    EXPECT_EQ(1, I_ImGetParam(read, 0, 13, to));
    EXPECT_EQ(2, read[1]);
    EXPECT_EQ(0, I_ImCopyParams(from, 0));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_ImCopyParams(from, 9));
    EXPECT_EQ(24, lastError());
}

TEST_F(ImageParams, LiteralComplexModeIsLimited)
{
    EXPECT_EQ(0, I_SetComplexMode(2));
    EXPECT_EQ(2, I_SetComplexMode(-7));
    EXPECT_EQ(0, I_SetComplexMode(9));
    EXPECT_EQ(3, I_SetComplexMode(0));
}

TEST_F(ImageParams, LiteralValueRangeOfABadImage)
{
    double low = 5.0;
    EXPECT_EQ(0, I_GetPixValueRange(&low, nullptr, 0));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_SetPixValueRange(1.0, 2.0, 8));
    EXPECT_EQ(24, lastError());
    EXPECT_EQ(5.0, low);
    EXPECT_EQ(1, I_GetPixValueRange(nullptr, nullptr, I_ImOpen(1, 1, PIX_BYTE)));
}
