// The literal numbers, messages and failures of the arithmetic family.
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/smoothing.h"

using namespace vexa::test;

namespace
{

TEST(IndependentArithmeticLiteral, NumbersOfTheDescription)
{
    const auto one = [](int32_t v) { return byteImage({{v}}); };
    const int32_t dest = one(7);
    const auto value = [&] { return pixel(dest, 0, 0); };
    I_SetClipMode(1);
    I_Add(one(200), one(100), dest);
    EXPECT_EQ(255, value());
    I_SetClipMode(0);
    I_Add(one(200), one(100), dest);
    EXPECT_EQ(44, value());
    const double minus10[] = {246, 0, 10, 118, 123, 246, 251, 100};
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        I_Subtract(one(10), one(20), dest, 0, 0);
        EXPECT_EQ(minus10[mode], value()) << mode;
    }
    I_SetClipMode(1);
    I_Divide(one(9), one(0), dest, 3.0);
    EXPECT_EQ(255, value());
    const int32_t f = floatImage(1, 1);
    I_Divide(floatImage(1, 1, [](int32_t, int32_t) { return 9; }), floatImage(1, 1), f, 3.0);
    EXPECT_EQ(0.0, pixel(f, 0, 0));
    I_ConstAdd(one(100), dest, -10.5);
    EXPECT_EQ(90, value());
    I_ScaleIntensityROI(one(100), dest, 10.7, 1.0);
    EXPECT_EQ(110, value());
    I_ScaleIntensityROI(one(100), dest, 10.7, 1.0001);
    EXPECT_EQ(111, value());
    // word-low keeps the high byte of a negative sum in mode 3
    I_SetClipMode(3);
    const int32_t word = wordImage(1, 1);
    I_Subtract(wordImage(1, 1, [](int32_t, int32_t) { return 10; }),
               wordImage(1, 1, [](int32_t, int32_t) { return 1000; }), word, 0, 0);
    EXPECT_EQ(static_cast<int16_t>((10 - 1000 + 128) & ~0xFF), pixel(word, 0, 0));
    VexaPoint p{5, 5};
    EXPECT_EQ(0.0, I_SubtractMax(one(3), one(3), 0, 0, 0, &p));
    EXPECT_EQ(0, p.x);
    EXPECT_EQ(0, p.y);
    EXPECT_EQ(0, I_SubtractNMax(one(3), 0, dest, 0, 0, nullptr, nullptr, 1, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(one(3), one(1), dest, 0, 0, nullptr, nullptr, 0, 1, 0.0));
    EXPECT_EQ(1, I_SubtractNMax(one(3), one(1), dest, 0, 0, nullptr, nullptr, 1, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(one(3), one(1), dest, 0, 0, nullptr, nullptr, 1, 1, 2.9));
}

TEST(IndependentArithmeticLiteral, BlendTakesPercentagesAboveFifteen)
{
    Messages messages;
    const int32_t a = byteImage({{200}}), b = byteImage({{100}}), dest = byteImage({{0}});
    I_Blend(a, b, dest, 50.0F);
    EXPECT_EQ(150, pixel(dest, 0, 0));
    EXPECT_THAT(messages.all(),
                testing::ElementsAre("I_Blend() change: Factor =50.0. Should be fraction, not percent"));
    messages.clear();
    I_Blend(a, b, dest, 15.0F);
    EXPECT_TRUE(messages.all().empty());
    EXPECT_EQ((100 + ((100 * 1920 + 64) >> 7)) & 255, pixel(dest, 0, 0));
}

TEST(IndependentArithmeticLiteral, ExtremesGiveTheSecondOfEqualFloats)
{
    const auto f = [](double v) { return floatImage(1, 1, [v](int32_t, int32_t) { return v; }); };
    const int32_t dest = f(9);
    I_Min(f(0.0), f(-0.0), dest);
    EXPECT_TRUE(std::signbit(pixel(dest, 0, 0)));
    I_Max(f(-0.0), f(0.0), dest);
    EXPECT_FALSE(std::signbit(pixel(dest, 0, 0)));
    I_Max(f(-3.0), f(2.5), dest);
    EXPECT_EQ(2.5, pixel(dest, 0, 0));
    I_Min(f(-3.0), f(2.5), dest);
    EXPECT_EQ(-3.0, pixel(dest, 0, 0));
    char text[20] = {};
    I_GetProgress(text, sizeof text);
    EXPECT_STREQ("Max", text);
}

TEST(IndependentArithmeticLiteral, RootsGoThroughTheRangeOfAllPixels)
{
    const int32_t words = wordImage(3, 1, [](int32_t x, int32_t) { return x * 1000; }),
                  dest = byteImage(3, 1);
    I_SetPixValueRange(3.0, 9.0, words);
    I_Sqrt(words, dest);
    // 0 to 2000: trunc(1999 / 255) + 1 = 7 has three bits less one, so that the shift is 3
    EXPECT_THAT(rowOf(dest, 0),
                testing::ElementsAre(0, std::floor(std::sqrt(125.0)), std::floor(std::sqrt(250.0))));
    double low, high;
    I_GetPixValueRange(&low, &high, words);
    EXPECT_EQ(3.0, low);
    EXPECT_EQ(9.0, high);
    const int32_t f = floatImage(2, 1, [](int32_t x, int32_t) { return x * 2; });
    I_Sqrt(f, f);
    EXPECT_THAT(rowOf(f, 0), testing::ElementsAre(0.0, std::sqrt(2.0F)));
}

TEST(IndependentArithmeticLiteral, MaskedCopyReadsTheTable)
{
    const int32_t src = byteImage({{1, 2, 3, 4}}), mask = byteImage({{0, 1, 255, 7}}),
                  dest = byteImage({{9, 9, 9, 9}});
    I_MaskedCopy(src, dest, mask, nullptr);
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(9, 2, 3, 4));
    uint8_t table[256] = {1};
    table[7] = 2;
    const int32_t other = byteImage({{9, 9, 9, 9}});
    I_MaskedCopy(src, other, mask, table);
    EXPECT_THAT(rowOf(other, 0), testing::ElementsAre(1, 9, 9, 4));

    Messages messages;
    const int32_t color = image(4, 1, PIX_BGR24, [](int32_t, int32_t) { return 9; });
    I_MaskedCopy(src, color, mask, nullptr);
    EXPECT_THAT(messages.all(),
                testing::ElementsAre("I_MaskedCopy: imSrc or imMask were Byte: converted to BGR"));
    EXPECT_THAT(bytesOf(color), testing::ElementsAre(9, 9, 9, 2, 2, 2, 3, 3, 3, 4, 4, 4));
    EXPECT_EQ(PIX_BGR24, I_ImGetType(src));
    EXPECT_EQ(PIX_BGR24, I_ImGetType(mask));
}

TEST(IndependentArithmeticLiteral, CopyBandTakesTheBandByItsLetter)
{
    const int32_t src = I_ImOpen(1, 1, PIX_BGR24), dest = I_ImOpen(2, 1, PIX_RGB24);
    const uint8_t bgr[3] = {10, 20, 30};
    I_PutBlockType(0, 0, 1, 1, bgr, src, PIX_BGR24);
    I_SetWindowROI(0, 0, 0, 5);
    for (const char* band : {"Red", "g", "BLUE"}) {
        const uint8_t nine[3] = {9, 9, 9};
        I_PutBlockType(0, 0, 1, 1, nine, dest, PIX_RGB24);
        EXPECT_NE(0, I_CopyBand(src, dest, band, 1)) << band;
        EXPECT_EQ(3, I_GetColorProcMode());
        EXPECT_EQ(-2, I_GetColorBand());
        EXPECT_EQ(1, I_GetROIType());
        const bool r = band[0] == 'R', g = band[0] == 'g';
        const uint8_t red = r ? 30 : 9, green = g ? 20 : 9, blue = r || g ? 9 : 10;
        EXPECT_THAT(bytesOf(dest), testing::ElementsAre(red, green, blue, 0, 0, 0)) << band;
    }
}

TEST(IndependentArithmeticLiteral, SubtractInStagesShowsThePendingError)
{
    Messages messages;
    const int32_t a = byteImage({{10}}), b = byteImage({{20}});
    uint32_t histogram[256];
    I_SetClipMode(1);
    I_SetError(1, "a pending error");
    const int32_t open = I_ImCount();
    EXPECT_EQ(1, I_Subtract1Ex(a, b, 0, 0.0F, 0.0F, 2, 0.0F, histogram));
    EXPECT_THAT(messages.all(), testing::ElementsAre("S1E-3 <Error> a pending error"));
    EXPECT_EQ(1U, histogram[10]);
    EXPECT_EQ(1, I_GetClipMode());
    EXPECT_EQ(open, I_ImCount());
}

TEST(IndependentArithmeticLiteral, FractionsOfAPixelShiftACloneFirst)
{
    I_SetROIType(0);
    const int32_t a = noiseImage(33, 20, 1), b = noiseImage(33, 20, 2), dest = byteImage(33, 20),
                  plain = byteImage(33, 20);
    for (const float dy : {0.0F, -1.25F}) {
        uint32_t got[256], wanted[256];
        const int32_t open = I_ImCount();
        I_SetClipMode(4);
        EXPECT_EQ(1, I_Subtract1Ex(a, b, dest, 0.5F, dy, 2, 0.3F, got));
        EXPECT_EQ(4, I_GetClipMode());
        EXPECT_EQ(open, I_ImCount());
        const int32_t clone = I_CloneImage(b, 0, 1);
        I_ShiftSharpen(b, clone, 0.5F, dy, 0.3F);
        I_SetClipMode(2);
        I_Subtract(a, clone, plain, 0, 0);
        I_CalcHist(wanted, plain);
        EXPECT_EQ(bytesOf(plain), bytesOf(dest));
        EXPECT_EQ(0, std::memcmp(wanted, got, sizeof got));
        I_ImClose(clone);
    }
    I_SetClipMode(1);
}

TEST(IndependentArithmeticLiteral, FailuresCarryTheDescribedTexts)
{
    I_SetROIType(0);
    const int32_t a = floatImage(5, 4), b = byteImage(5, 4), dest = byteImage(5, 4);
    const auto prefix = [](const char* tag) {
        return testing::StartsWith(std::string("Memory allocation failed: ") + tag);
    };
    forEachFailingAllocation([&] { return I_Subtract(a, b, dest, 0, 0); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_THAT(errorText(), prefix("I_BinaryOperatorType "));
                             });
    forEachFailingAllocation([&] { return I_ConstMult(a, dest, 3.0); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), prefix("I_UnaryOp "));
                             });
    forEachFailingAllocation([&] { return I_FlatField(b, b, b, dest, 1); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), prefix("dopolyflatfield():"));
                             });
    forEachFailingAllocation([&] { return I_BlendByPixel(b, b, b, dest); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), prefix("I_BlendByPixel: 20:"));
                             });
    forEachFailingAllocation([&] { return I_SubtractNMax(b, b, dest, 0, 0, nullptr, nullptr, 3, 1, 1.0); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), prefix("I_SubtractNMax: 3:"));
                             });
}

} // namespace
