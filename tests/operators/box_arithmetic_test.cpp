#include "support/buffer.h"
#include "tests/operators/arithmetic_reference.h"

namespace
{

using namespace vexa::test;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

class LiteralBoxArithmetic : public ArithmeticSuite
{
};
class AgainstReferenceBoxArithmetic : public ArithmeticSuite
{
};
class FailuresBoxArithmetic : public ArithmeticSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralBoxArithmetic, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceBoxArithmetic, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresBoxArithmetic, everySet(), setName);

TEST_P(AgainstReferenceBoxArithmetic, BlendByPixelOfEveryPairAndWeight)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    for (int32_t w = 0; w < 256; w += 15) {
        const int32_t weights = byteImage(256, 256, [=](int32_t, int32_t) { return w; });
        ASSERT_EQ(1, I_BlendByPixel(a, b, weights, dest));
        ASSERT_EQ(expectedBytes(256, 256, [=](int32_t x, int32_t y) { return x + ((w * (y - x)) >> 8); }),
                  bytesOf(dest))
            << w;
        I_ImClose(weights);
    }
}

TEST_P(LiteralBoxArithmetic, BlendByPixelWorksOnTheBox)
{
    const int32_t a = byteImage(9, 9, [](int32_t, int32_t) { return 10; });
    const int32_t b = byteImage(7, 9, [](int32_t, int32_t) { return 200; });
    const int32_t weights = byteImage(9, 9, [](int32_t, int32_t) { return 128; });
    const int32_t dest = byteImage(9, 6, [](int32_t, int32_t) { return 77; });
    const VexaPoint diamond[] = {{4, 1}, {8, 5}, {4, 8}, {2, 5}};
    ASSERT_EQ(1, I_SetPolygonROI(diamond, 4));
    EXPECT_EQ(1, I_BlendByPixel(a, b, weights, dest));
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(x >= 2 && x < 7 && y >= 1 ? 105 : 77, pixel(dest, x, y)) << x << ' ' << y;
}

TEST_P(AgainstReferenceBoxArithmetic, FlatFieldInEveryMode)
{
    const int32_t src = columns();
    const int32_t flat = lines();
    const int32_t dark = byteImage(256, 256, [](int32_t, int32_t) { return 20; });
    const int32_t dest = byteImage(256, 256);
    const auto check = [&](int32_t gain, int32_t mode, int32_t highest) {
        I_SetClipMode(mode);
        vexa::displayState().highestPixel = highest;
        ASSERT_EQ(1, I_FlatField(src, dark, flat, dest, gain));
        ASSERT_EQ(expectedBytes(256, 256,
                                [=](int32_t x, int32_t y) -> int64_t {
                                    if (y == 0)
                                        return 0;
                                    const int64_t light = wrap32(std::max(x - 20, 0) * int64_t{gain});
                                    const int64_t numerator = wrap32(light + y / 2);
                                    return clippedByte(Slot::both, mode, numerator / y, highest);
                                }),
                  bytesOf(dest))
            << gain << ' ' << mode;
    };
    for (int32_t mode = 0; mode < 8; ++mode)
        for (const int32_t gain : {200, -3, 100000})
            check(gain, mode, 251);
    for (const int32_t gain : {0, 1, 255, 65791, 65793, 16777216, INT32_MAX, INT32_MIN, -70000})
        check(gain, 1, 255);
}

TEST_P(LiteralBoxArithmetic, FlatFieldWalksTheRunsOfTheSource)
{
    const int32_t src = byteImage(10, 4, [](int32_t, int32_t) { return 120; });
    const int32_t flat = byteImage(8, 4, [](int32_t, int32_t) { return 60; });
    const int32_t dest = byteImage(10, 4, [](int32_t, int32_t) { return 77; });
    const VexaPoint runs[] = {{-3, 0}, {1, 0}, {4, 1}, {5, 1}, {7, 1}, {9, 1}, {0, 9}, {3, 9}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 8));
    const int32_t dark = byteImage(10, 4, [](int32_t, int32_t) { return 20; });
    EXPECT_EQ(1, I_FlatField(src, dark, flat, dest, 100));
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(167, 167, 77, 77, 77, 77, 77, 77, 77, 77));
    EXPECT_THAT(rowOf(dest, 1), ElementsAre(77, 77, 77, 77, 167, 167, 77, 167, 77, 77));
    EXPECT_THAT(rowOf(dest, 2), Each(77));
    // Without a dark image nothing is taken away.
    EXPECT_EQ(1, I_FlatField(src, 0, flat, dest, 100));
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(200, 200, 77, 77, 77, 77, 77, 77, 77, 77));
}

TEST_P(LiteralBoxArithmetic, FlatFieldOfColourGoesBandByBand)
{
    const int32_t src = image(2, 1, PIX_RGB24);
    const int32_t flat = image(2, 1, PIX_RGB24);
    const int32_t dark = image(2, 1, PIX_RGB24);
    const uint8_t from[] = {100, 80, 60, 40, 20, 10};
    const uint8_t by[] = {10, 20, 30, 40, 0, 60};
    std::copy_n(from, 6, static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, src)));
    std::copy_n(by, 6, static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, nullptr, flat)));
    EXPECT_EQ(1, I_FlatField(src, dark, flat, src, 10));
    EXPECT_THAT(bytesOf(src), ElementsAre(100, 40, 20, 10, 0, 2));
    EXPECT_EQ(-2, I_GetColorBand());
}

TEST_P(FailuresBoxArithmetic, ImagesThatAreNotOpen)
{
    const int32_t im = byteImage(4, 4, [](int32_t, int32_t) { return 5; });
    for (const int32_t bad : {0, -90, 12}) {
        EXPECT_EQ(0, I_BlendByPixel(bad, im, im, im));
        EXPECT_EQ(0, I_BlendByPixel(im, im, bad, im));
        EXPECT_EQ(0, I_BlendByPixel(im, im, im, bad));
        EXPECT_EQ(0, I_FlatField(im, im, im, bad, 1));
        EXPECT_EQ(0, I_FlatField(im, im, bad, im, 1));
        EXPECT_NE(0, I_GetError(nullptr, 0));
        clearError();
    }
    EXPECT_EQ(0, I_FlatField(-90, im, im, im, 1));
    EXPECT_EQ(0, I_FlatField(im, -90, im, im, 1));
    EXPECT_THAT(bytesOf(im), Each(5));
}

TEST_P(FailuresBoxArithmetic, NoMemory)
{
    const int32_t im = byteImage(6, 5);
    forEachFailingAllocation([&] { return I_BlendByPixel(im, im, im, im); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(),
                                             StartsWith("Memory allocation failed: I_BlendByPixel: 30: "));
                             });
    forEachFailingAllocation([&] { return I_FlatField(im, im, im, im, 1); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(),
                                             StartsWith("Memory allocation failed: dopolyflatfield(): "));
                             });
}

} // namespace
