#include "vexalib/neighbourhood.h"

#include "operators/clip_table.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;

constexpr int32_t kNone = 4095;

struct Sizes {
    int32_t width = -7;
    int32_t height = -7;
    int32_t bytes1 = -7;
    int32_t bytes2 = -7;
    int32_t bytes3 = -7;
    bool operator==(const Sizes&) const = default;
};

TEST(LiteralCommonSize, OfTwoImages)
{
    const int32_t a = image(10, 20, PIX_WORD);
    const int32_t b = image(15, 8, PIX_BGR24);
    Sizes s;
    EXPECT_EQ(1, I_GetMinSize2(&s.width, &s.height, &s.bytes1, &s.bytes2, a, b));
    EXPECT_EQ((Sizes{10, 8, 2, 3, -7}), s);
    EXPECT_EQ(1, I_GetMinSize2(&s.width, &s.height, &s.bytes1, &s.bytes2, 0, b));
    EXPECT_EQ((Sizes{15, 8, 1, 3, -7}), s);
    EXPECT_EQ(1, I_GetMinSize2(&s.width, &s.height, &s.bytes1, &s.bytes2, a, 0));
    EXPECT_EQ((Sizes{10, 20, 2, 1, -7}), s);
    EXPECT_EQ(1, I_GetMinSize2(nullptr, nullptr, nullptr, nullptr, a, b));
    EXPECT_EQ(1, I_GetMinSize2(&s.width, nullptr, &s.bytes1, nullptr, a, b));
    closeImages({a, b});
}

TEST(LiteralCommonSize, OneByteOutputAloneIsNotPreset)
{
    const int32_t b = image(15, 8, PIX_BGR24);
    Sizes s;
    EXPECT_EQ(1, I_GetMinSize2(&s.width, &s.height, &s.bytes1, nullptr, 0, b));
    EXPECT_EQ(-7, s.bytes1);
    closeImages({b});
}

TEST(LiteralCommonSize, OfThreeImages)
{
    const int32_t a = image(10, 20, PIX_WORD);
    const int32_t b = image(15, 8, PIX_BGR24);
    const int32_t c = image(5, 9, PIX_FLOAT);
    Sizes s;
    EXPECT_EQ(1, I_GetMinSize3(&s.width, &s.height, &s.bytes1, &s.bytes2, &s.bytes3, a, b, c));
    EXPECT_EQ((Sizes{5, 8, 2, 3, 4}), s);
    s = {};
    EXPECT_EQ(1, I_GetMinSize3(&s.width, &s.height, &s.bytes1, &s.bytes2, &s.bytes3, 0, b, c));
    EXPECT_EQ((Sizes{5, 8, 1, 3, 4}), s);
    // Without a second image the third is not asked.
    s = {};
    EXPECT_EQ(1, I_GetMinSize3(&s.width, &s.height, &s.bytes1, &s.bytes2, &s.bytes3, a, 0, c));
    EXPECT_EQ((Sizes{10, 20, 2, 1, -7}), s);
    closeImages({a, b, c});
}

TEST(FailuresCommonSize, ImagesThatAreNotOpen)
{
    const int32_t a = image(10, 20, PIX_WORD);
    Sizes s;
    EXPECT_EQ(0, I_GetMinSize2(&s.width, &s.height, nullptr, nullptr, a, -60));
    EXPECT_EQ(0, s.width);
    EXPECT_EQ(0, s.height);
    EXPECT_EQ("I_ImGetSize(, im=-60)  im. not open", errorText());
    s = {};
    EXPECT_EQ(0, I_GetMinSize2(&s.width, &s.height, nullptr, nullptr, 7, a));
    EXPECT_EQ(0, s.width);
    EXPECT_EQ(0, I_GetMinSize2(&s.width, &s.height, nullptr, nullptr, 0, 0));
    // A third image of 0 is one that is not open.
    s = {};
    EXPECT_EQ(0, I_GetMinSize3(&s.width, &s.height, nullptr, nullptr, nullptr, a, a, 0));
    EXPECT_EQ(0, s.width);
    EXPECT_EQ(0, I_GetMinSize3(nullptr, nullptr, nullptr, nullptr, nullptr, a, a, -60));
    closeImages({a});
    clearError();
}

TEST(LiteralWorkingType, WidestAndNarrowest)
{
    struct {
        int32_t first, second, third, widest, narrowest, narrowestColorAsBytes;
    } const cases[] = {
        {PIX_BYTE, PIX_BYTE, 0, 1, 1, 1},           {PIX_BYTE, PIX_WORD, PIX_FLOAT, 4, 1, 1},
        {PIX_FLOAT, PIX_DFLOAT, PIX_WORD, 5, 2, 2}, {PIX_COMPLEX, PIX_FLOAT, 0, 6, 4, 4},
        {PIX_DCOMPLEX, PIX_BYTE, 0, 5, 1, 1},       {PIX_DCOMPLEX, PIX_COMPLEX, 0, 5, 6, 6},
        {PIX_BGR24, PIX_BGR24, 0, 1, 16, 1},        {PIX_BGR24, PIX_BYTE, 0, 1, 1, 1},
        {PIX_PALETTE, PIX_RGB32, 0, 1, 12, 1},      {PIX_BGR24, PIX_WORD, 0, 2, 2, 1},
        {PIX_RGB24, PIX_FLOAT, PIX_BGR24, 4, 4, 1}, {PIX_DWORD, PIX_WORD, PIX_DWORD, 3, 2, 2},
    };
    for (const auto& c : cases) {
        const int32_t a = image(2, 2, c.first);
        const int32_t b = image(2, 2, c.second);
        const int32_t third = c.third != 0 ? image(2, 2, c.third) : kNone;
        EXPECT_EQ(c.widest, WidestPixelType(a, b, third)) << c.first << ' ' << c.second << ' ' << c.third;
        EXPECT_EQ(c.narrowest, NarrowestPixelType(a, b, third, 0)) << c.first << ' ' << c.second;
        EXPECT_EQ(c.narrowestColorAsBytes, NarrowestPixelType(a, b, third, 1)) << c.first << ' ' << c.second;
        I_ImCloseAll();
    }
    EXPECT_EQ(0, WidestPixelType(kNone, kNone, kNone));
    EXPECT_EQ(0, NarrowestPixelType(kNone, kNone, kNone, 1));
}

TEST(LiteralWorkingType, TheLastImageThatIsGivenSetsTheFloatRange)
{
    const int32_t bytes = image(2, 2, PIX_BYTE);
    const int32_t words = image(2, 2, PIX_WORD);
    const int32_t dwords = image(2, 2, PIX_DWORD);
    WidestPixelType(bytes, bytes, words);
    EXPECT_EQ(65535.0F, vexa::clipLimits().high);
    NarrowestPixelType(words, bytes, kNone, 0);
    EXPECT_EQ(255.0F, vexa::clipLimits().high);
    WidestPixelType(bytes, dwords, kNone);
    EXPECT_EQ(4294967296.0F, vexa::clipLimits().high);
    EXPECT_EQ(1.0F, vexa::clipLimits().low);
    closeImages({bytes, words, dwords});
}

} // namespace
