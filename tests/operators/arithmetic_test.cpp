#include "vexalib/arithmetic.h"

#include "support/buffer.h"
#include "support/guard.h"
#include "tests/operators/arithmetic_reference.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::StartsWith;

class LiteralArithmetic : public ArithmeticSuite
{
};
class AgainstReferenceArithmetic : public ArithmeticSuite
{
};
class BoundsArithmetic : public ArithmeticSuite
{
};
class FailuresArithmetic : public ArithmeticSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralArithmetic, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceArithmetic, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, BoundsArithmetic, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresArithmetic, everySet(), setName);

// One pixel of each operand through an operator.
template <typename Operator>
int32_t onBytes(int32_t a, int32_t b, Operator run)
{
    const int32_t imA = byteImage({{a}});
    const int32_t imB = byteImage({{b}});
    const int32_t dest = byteImage({{0}});
    EXPECT_EQ(1, run(imA, imB, dest));
    const auto result = static_cast<int32_t>(pixel(dest, 0, 0));
    closeImages({imA, imB, dest});
    return result;
}
template <typename Operator>
float onFloats(float a, float b, Operator run)
{
    const int32_t imA = floatsImage(1, 1, {a});
    const int32_t imB = floatsImage(1, 1, {b});
    const int32_t dest = floatsImage(1, 1, {0});
    EXPECT_EQ(1, run(imA, imB, dest));
    const float result = floatsOf(dest)[0];
    closeImages({imA, imB, dest});
    return result;
}

TEST_P(LiteralArithmetic, AddTwoHundredAndOneHundredByClipMode)
{
    const int32_t expected[] = {44, 255, 255, 255, 22, 127, 127, 255};
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        EXPECT_EQ(expected[mode], onBytes(200, 100, I_Add)) << "mode " << mode;
    }
    vexa::displayState().highestPixel = 251;
    I_SetClipMode(1);
    EXPECT_EQ(251, onBytes(200, 100, I_Add));
}

TEST_P(LiteralArithmetic, SubtractTenMinusTwentyByClipMode)
{
    const int32_t expected[] = {246, 0, 10, 118, 123, 246, 251, 100};
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        EXPECT_EQ(
            expected[mode],
            onBytes(10, 20, [](int32_t a, int32_t b, int32_t dest) { return I_Subtract(a, b, dest, 0, 0); }))
            << "mode " << mode;
    }
}

TEST_P(LiteralArithmetic, SubtractOfMixedTypesRunsInFloats)
{
    const int32_t bytes = byteImage({{10, 10, 10}});
    const int32_t floats = floatsImage(3, 1, {0.25F, 20.0F, -3.5F});
    const int32_t dest = floatsImage(3, 1, {7, 7, 7});
    EXPECT_EQ(1, I_Subtract(bytes, floats, dest, 0, 0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(9.75F, -10.0F, 13.5F));
    // The float range is that of the result's type.
    EXPECT_EQ(1, I_Subtract(bytes, floats, bytes, 0, 0));
    EXPECT_THAT(rowOf(bytes, 0), ElementsAre(10, 0, 14));
}

TEST_P(LiteralArithmetic, SubtractOfWordsByClipMode)
{
    // 5 - 300: the offset of the low slot clips as for bytes, and leaves the high byte of what is below 0.
    const uint16_t expected[] = {65241, 0, 295, 65280, 65517, 65241, 65241, 21489};
    for (int32_t mode = 0; mode < 8; ++mode) {
        const int32_t a = wordImage(1, 1, [](int32_t, int32_t) { return 5; });
        const int32_t b = wordImage(1, 1, [](int32_t, int32_t) { return 300; });
        I_SetClipMode(mode);
        EXPECT_EQ(1, I_Subtract(a, b, a, 0, 0));
        EXPECT_EQ(expected[mode], wordsOf(a)[0]) << "mode " << mode;
    }
}

TEST_P(LiteralArithmetic, ColourRunsOnAllBytesOrOnTheBandSelected)
{
    const int32_t a = image(3, 2, PIX_RGB32, [](int32_t, int32_t) { return 200; });
    const int32_t b = image(3, 2, PIX_RGB32, [](int32_t, int32_t) { return 100; });
    I_SetClipMode(0);
    EXPECT_EQ(1, I_Add(a, b, a));
    EXPECT_THAT(bytesOf(a), testing::Each(44));
    const int32_t bgr = image(2, 1, PIX_BGR24, [](int32_t, int32_t) { return 200; });
    I_SetColorBand(0);
    EXPECT_EQ(1, I_Add(bgr, bgr, bgr));
    EXPECT_THAT(bytesOf(bgr), ElementsAre(200, 200, 144, 200, 200, 144));
}

TEST_P(LiteralArithmetic, MinAndMaxTakeTheSecondOfEquals)
{
    EXPECT_TRUE(std::signbit(onFloats(0.0F, -0.0F, I_Min)));
    EXPECT_FALSE(std::signbit(onFloats(-0.0F, 0.0F, I_Min)));
    EXPECT_TRUE(std::signbit(onFloats(0.0F, -0.0F, I_Max)));
    EXPECT_EQ(3.0F, onFloats(NAN, 3.0F, I_Max));
    EXPECT_TRUE(std::isnan(onFloats(3.0F, NAN, I_Max)));
    EXPECT_EQ(3, onBytes(3, 7, I_Min));
    EXPECT_EQ(7, onBytes(3, 7, I_Max));
}

TEST_P(LiteralArithmetic, MultiplyAndItsDivisor)
{
    const auto by = [](double divisor) {
        return [=](int32_t a, int32_t b, int32_t dest) { return I_Multiply(a, b, dest, divisor); };
    };
    EXPECT_EQ(78, onBytes(200, 100, by(255.0)));
    EXPECT_EQ(255, onBytes(200, 100, by(1.0)));
    EXPECT_EQ(255, onBytes(200, 100, by(0.0)));
    EXPECT_EQ(200, onBytes(200, 1, by(0.0)));
    EXPECT_EQ(66, onBytes(200, 1, by(2.6)));
    EXPECT_EQ(100, onBytes(200, 1, by(2.4)));
    EXPECT_EQ(256 - 100, onBytes(200, 1, by(-2.6)));
    EXPECT_EQ(6.0F, onFloats(2.0F, 3.0F, by(0.0)));
    EXPECT_EQ(6.0F, onFloats(2.0F, 3.0F, by(1.0)));
    EXPECT_EQ(1.5F, onFloats(2.0F, 3.0F, by(4.0)));
    EXPECT_EQ(12.0F, onFloats(2.0F, 3.0F, by(0.5)));
}

TEST_P(LiteralArithmetic, DivideAndItsGain)
{
    const auto by = [](double gain) {
        return [=](int32_t a, int32_t b, int32_t dest) { return I_Divide(a, b, dest, gain); };
    };
    EXPECT_EQ(255, onBytes(10, 0, by(1.0)));
    vexa::displayState().highestPixel = 251;
    EXPECT_EQ(251, onBytes(10, 0, by(1.0)));
    vexa::displayState().highestPixel = 255;
    EXPECT_EQ(4, onBytes(10, 3, by(1.9)) + 1); // (10 + 1) / 3
    EXPECT_EQ(64, onBytes(100, 200, by(128.0)));
    EXPECT_EQ(1, onBytes(100, 200, by(0.0)));
    EXPECT_EQ(0.0F, onFloats(10.0F, 0.0F, by(1.0)));
    EXPECT_EQ(5.0F, onFloats(10.0F, 4.0F, by(2.0)));
    EXPECT_EQ(2.5F, onFloats(10.0F, 4.0F, by(0.0)));
}

TEST_P(LiteralArithmetic, DivideWords)
{
    const auto words = [](int32_t value) { return wordImage(1, 1, [=](int32_t, int32_t) { return value; }); };
    const int32_t dest = words(0);
    EXPECT_EQ(1, I_Divide(words(1000), words(7), dest, 3.7));
    EXPECT_EQ(428, wordsOf(dest)[0]);
    EXPECT_EQ(1, I_Divide(words(1000), words(0), dest, 70000.0));
    EXPECT_EQ(70000 - 65536, wordsOf(dest)[0]);
    // The product wraps in 32 bits.
    EXPECT_EQ(1, I_Divide(words(60000), words(1), dest, 100000.0));
    EXPECT_EQ(static_cast<uint16_t>(wrap32(6000000000)), wordsOf(dest)[0]);
}

TEST_P(LiteralArithmetic, ComplexProductAndQuotient)
{
    const int32_t a = floatsImage(2, 1, {1, 2, 3, -4}, PIX_COMPLEX);
    const int32_t b = floatsImage(2, 1, {5, 6, 0, 0}, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(2, 1, PIX_COMPLEX);
    EXPECT_EQ(1, I_Multiply(a, b, dest, 0.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(-7, 16, 0, 0));
    EXPECT_EQ(1, I_Multiply(a, b, dest, 2.0)); // multiplied, not divided
    EXPECT_THAT(floatsOf(dest), ElementsAre(-14, 32, 0, 0));
    EXPECT_EQ(1, I_Divide(dest, b, dest, 0.5));
    EXPECT_THAT(floatsOf(dest), ElementsAre(1, 2, 0, 0));
    EXPECT_EQ(1, I_Divide(a, b, dest, 1.0));
    EXPECT_FLOAT_EQ(17.0F / 61.0F, floatsOf(dest)[0]);
    EXPECT_FLOAT_EQ(4.0F / 61.0F, floatsOf(dest)[1]);
    EXPECT_EQ(0.0F, floatsOf(dest)[2]);
}

TEST_P(LiteralArithmetic, BlendAndItsFactor)
{
    const auto by = [](float factor) {
        return [=](int32_t a, int32_t b, int32_t dest) { return I_Blend(a, b, dest, factor); };
    };
    const Messages messages;
    EXPECT_EQ(150, onBytes(200, 100, by(0.5F)));
    EXPECT_EQ(100, onBytes(200, 100, by(0.0F)));
    EXPECT_EQ(200, onBytes(200, 100, by(1.0F)));
    EXPECT_EQ((100 + (100 * 1920 + 64) / 128) % 256, onBytes(200, 100, by(15.0F)));
    EXPECT_EQ(125.0F, onFloats(200.0F, 100.0F, by(0.25F)));
    EXPECT_TRUE(messages.all().empty());
    EXPECT_EQ(150, onBytes(200, 100, by(50.0F)));
    EXPECT_THAT(messages.all(),
                ElementsAre("I_Blend() change: Factor =50.0. Should be fraction, not percent"));
}

TEST_P(LiteralArithmetic, LogicIsOnBytesWhateverTheType)
{
    EXPECT_EQ(0x0C, onBytes(0x3C, 0x0F, I_And));
    EXPECT_EQ(0x3F, onBytes(0x3C, 0x0F, I_Or));
    EXPECT_EQ(0x33, onBytes(0x3C, 0x0F, I_Xor));
    EXPECT_EQ(12.0F, onFloats(60.2F, 15.4F, I_And));
}

TEST_P(LiteralArithmetic, ProgressTells)
{
    static std::vector<std::string> texts;
    I_SetProgressCallback([](float, const char* text) { texts.emplace_back(text); }, 1000000);
    const vexa::Guard restore([] { I_SetProgressCallback(nullptr, 0); });
    const int32_t im = byteImage(3, 3);
    const auto textOf = [](auto run) {
        texts.clear();
        run();
        return texts.empty() ? "none" : texts.back();
    };
    EXPECT_EQ("Add", textOf([&] { I_Add(im, im, im); }));
    EXPECT_EQ("Subtract", textOf([&] { I_Subtract(im, im, im, 0, 0); }));
    EXPECT_EQ("Max", textOf([&] { I_Min(im, im, im); }));
    EXPECT_EQ("SubtractMax", textOf([&] { I_SubtractMax(im, im, im, 0, 0, nullptr); }));
    EXPECT_EQ("Max", textOf([&] { I_Max(im, im, im); }));
}

TEST_P(AgainstReferenceArithmetic, AddAndSubtractEveryPairOfBytesInEveryMode)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    for (const int32_t highest : {255, 251}) {
        vexa::displayState().highestPixel = highest;
        for (int32_t mode = 0; mode < 8; ++mode) {
            I_SetClipMode(mode);
            ASSERT_EQ(1, I_Add(a, b, dest));
            ASSERT_EQ(expectedBytes(256, 256,
                                    [=](int32_t x, int32_t y) {
                                        return clippedByte(Slot::high, mode, x + y, highest);
                                    }),
                      bytesOf(dest))
                << "sum, mode " << mode;
            ASSERT_EQ(1, I_Subtract(a, b, dest, 0, 0));
            ASSERT_EQ(expectedBytes(
                          256, 256,
                          [=](int32_t x, int32_t y) { return clippedByte(Slot::low, mode, x - y, highest); }),
                      bytesOf(dest))
                << "difference, mode " << mode;
        }
    }
}

TEST_P(AgainstReferenceArithmetic, MultiplyEveryPairOfBytes)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    const auto check = [&](double divisor, int32_t mode) {
        const double wanted = std::trunc((divisor == 0.0 ? 1.0 : divisor) + 0.5);
        const int64_t k = wanted == 0                                     ? 1
                          : std::isnan(wanted) || std::fabs(wanted) > 2e9 ? INT32_MIN
                                                                          : int64_t(wanted);
        I_SetClipMode(mode);
        ASSERT_EQ(1, I_Multiply(a, b, dest, divisor));
        ASSERT_EQ(
            expectedBytes(256, 256,
                          [=](int32_t x, int32_t y) { return clippedByte(Slot::high, mode, x * y / k); }),
            bytesOf(dest))
            << "divisor " << divisor << ", mode " << mode;
    };
    for (const double divisor : {0.0,
                                 0.3,
                                 1.0,
                                 2.0,
                                 3.0,
                                 5.0,
                                 7.0,
                                 10.0,
                                 11.0,
                                 15.0,
                                 16.0,
                                 25.0,
                                 60.0,
                                 100.0,
                                 127.0,
                                 128.0,
                                 129.0,
                                 200.4,
                                 254.0,
                                 255.0,
                                 255.6,
                                 257.0,
                                 641.0,
                                 1000.0,
                                 4096.0,
                                 32767.0,
                                 32769.0,
                                 65024.0,
                                 65025.0,
                                 65026.0,
                                 65535.0,
                                 65536.0,
                                 1e6,
                                 1e12,
                                 -0.7,
                                 -1.0,
                                 -2.0,
                                 -3.0,
                                 -255.0,
                                 -1e9,
                                 1e300,
                                 -1e300,
                                 static_cast<double>(NAN)})
        check(divisor, 1);
    for (int32_t mode = 0; mode < 8; ++mode)
        for (const double divisor : {1.0, 3.0, 255.0, -2.0, -77.0})
            check(divisor, mode);
}

TEST_P(AgainstReferenceArithmetic, DivideEveryPairOfBytes)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    const auto check = [&](double gain, int32_t mode, int32_t highest) {
        const int64_t g = gain == 0.0                                   ? 1
                          : std::isnan(gain) || std::fabs(gain) > 2.2e9 ? INT32_MIN
                                                                        : int64_t(gain);
        I_SetClipMode(mode);
        vexa::displayState().highestPixel = highest;
        ASSERT_EQ(1, I_Divide(a, b, dest, gain));
        ASSERT_EQ(expectedBytes(256, 256,
                                [=](int32_t x, int32_t y) -> int64_t {
                                    if (y == 0)
                                        return highest;
                                    const int64_t numerator = wrap32(wrap32(x * g) + y / 2);
                                    return clippedByte(Slot::high, mode, numerator / y, highest);
                                }),
                  bytesOf(dest))
            << "gain " << gain << ", mode " << mode;
    };
    for (const double gain :
         {0.0,     0.6,   1.0,       2.0,        3.9,           5.0,
          64.0,    100.0, 127.0,     128.0,      200.0,         255.0,
          256.0,   257.0, 1000.0,    65791.0,    65792.0,       65793.0,
          66000.0, 1e6,   8421504.0, 16777216.0, 2e9,           2147483647.0,
          1e12,    -1.0,  -128.0,    -66000.0,   -2147483648.0, static_cast<double>(NAN)}) {
        check(gain, 1, 255);
        check(gain, 1, 251);
    }
    for (int32_t mode = 0; mode < 8; ++mode)
        for (const double gain : {1.0, 128.0, 300.0, 100000.0, -5.0})
            check(gain, mode, 251);
}

TEST_P(AgainstReferenceArithmetic, BlendEveryPairOfBytes)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    for (const float factor :
         {0.0F, 0.3F, 0.5F, 0.999F, 1.0F, 1.5F, 7.7F, 15.0F, -0.25F, -3.0F, -100.0F, -1e20F}) {
        const double weight = static_cast<double>(factor) * 128.0;
        const int64_t k = weight < -2147483648.0 ? INT32_MIN : static_cast<int64_t>(weight);
        ASSERT_EQ(1, I_Blend(a, b, dest, factor));
        ASSERT_EQ(expectedBytes(256, 256,
                                [=](int32_t x, int32_t y) {
                                    const int64_t product = wrap32(wrap32((x - y) * k) + 64);
                                    return y + (product >> 7);
                                }),
                  bytesOf(dest))
            << "factor " << factor;
    }
}

TEST_P(AgainstReferenceArithmetic, MinMaxAndLogicOfEveryPairOfBytes)
{
    const int32_t a = columns();
    const int32_t b = lines();
    const int32_t dest = byteImage(256, 256);
    const auto expect = [&](int32_t (*run)(int32_t, int32_t, int32_t), auto function) {
        ASSERT_EQ(1, run(a, b, dest));
        ASSERT_EQ(expectedBytes(256, 256, function), bytesOf(dest));
    };
    expect(I_Min, [](int32_t x, int32_t y) { return x < y ? x : y; });
    expect(I_Max, [](int32_t x, int32_t y) { return x > y ? x : y; });
    expect(I_And, [](int32_t x, int32_t y) { return x & y; });
    expect(I_Or, [](int32_t x, int32_t y) { return x | y; });
    expect(I_Xor, [](int32_t x, int32_t y) { return x ^ y; });
}

TEST_P(AgainstReferenceArithmetic, WordsInEveryMode)
{
    const std::vector<int32_t> values = {0,     1,     2,     100,   127,   128,  129,   255,
                                         256,   257,   300,   999,   4095,  5000, 20000, 32767,
                                         32768, 40000, 65278, 65534, 65535, 77};
    const auto n = static_cast<int32_t>(values.size());
    const int32_t a =
        wordImage(n, n, [&](int32_t x, int32_t) { return values[static_cast<std::size_t>(x)]; });
    const int32_t b =
        wordImage(n, n, [&](int32_t, int32_t y) { return values[static_cast<std::size_t>(y)]; });
    const int32_t dest = wordImage(n, n);
    const auto expected = [&](auto function) {
        std::vector<uint16_t> all;
        for (const int64_t y : values)
            for (const int64_t x : values)
                all.push_back(static_cast<uint16_t>(function(x, y)));
        return all;
    };
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        ASSERT_EQ(1, I_Subtract(a, b, dest, 0, 0));
        ASSERT_EQ(expected([=](int64_t x, int64_t y) { return clippedWord(mode, x - y); }), wordsOf(dest))
            << mode;
    }
    for (const int64_t gain : {1, 7, 1000, 40000, 70000, -3, 2147483647}) {
        ASSERT_EQ(1, I_Divide(a, b, dest, static_cast<double>(gain)));
        ASSERT_EQ(expected([=](int64_t x, int64_t y) { return y == 0 ? gain : wrap32(x * gain) / y; }),
                  wordsOf(dest))
            << gain;
    }
    ASSERT_EQ(1, I_Min(a, b, dest));
    ASSERT_EQ(expected([](int64_t x, int64_t y) { return std::min(x, y); }), wordsOf(dest));
    ASSERT_EQ(1, I_Max(a, b, dest));
    ASSERT_EQ(expected([](int64_t x, int64_t y) { return std::max(x, y); }), wordsOf(dest));
}

TEST_P(AgainstReferenceArithmetic, FloatsInEveryMode)
{
    const std::vector<float> values = trickyFloats();
    const auto n = static_cast<int32_t>(values.size());
    std::vector<float> allA;
    std::vector<float> allB;
    for (const float y : values)
        for (const float x : values) {
            allA.push_back(x);
            allB.push_back(y);
        }
    const int32_t a = floatsImage(n, n, allA);
    const int32_t b = floatsImage(n, n, allB);
    const int32_t dest = floatImage(n, n);
    const auto expected = [&](auto function) {
        std::vector<float> all;
        for (std::size_t i = 0; i < allA.size(); ++i)
            all.push_back(function(allA[i], allB[i]));
        return all;
    };
    const auto expect = [&](auto run, auto function) {
        ASSERT_EQ(1, run(a, b, dest));
        ASSERT_THAT(floatsOf(dest), SameFloats(expected(function)));
    };
    for (int32_t mode = 0; mode < 8; ++mode) {
        SCOPED_TRACE(mode);
        I_SetClipMode(mode);
        expect([](int32_t p, int32_t q, int32_t r) { return I_Subtract(p, q, r, 0, 0); },
               [=](float x, float y) { return clippedFloatLow(mode, x - y, -3e38F, 0.0F); });
        expect(I_Add, [](float x, float y) { return x + y; });
    }
    expect(I_Min, [](float x, float y) { return x < y ? x : y; });
    expect(I_Max, [](float x, float y) { return x > y ? x : y; });
    expect([](int32_t p, int32_t q, int32_t r) { return I_Multiply(p, q, r, 1.0); },
           [](float x, float y) { return x * y; });
    expect([](int32_t p, int32_t q, int32_t r) { return I_Multiply(p, q, r, 3.0); },
           [](float x, float y) { return x * y / 3.0F; });
    expect([](int32_t p, int32_t q, int32_t r) { return I_Divide(p, q, r, 3.0); },
           [](float x, float y) { return y == 0.0F ? 0.0F : x * 3.0F / y; });
    expect([](int32_t p, int32_t q, int32_t r) { return I_Blend(p, q, r, 0.3F); },
           [](float x, float y) {
               const float part = (x - y) * 0.3F;
               return part + y;
           });
}

TEST_P(AgainstReferenceArithmetic, FloatDifferencesIntoOtherTypesKeepTheirRange)
{
    struct {
        int32_t type;
        float low, high;
    } const cases[] = {{PIX_BYTE, 0, 255}, {PIX_WORD, 0, 65535}, {PIX_DWORD, 1, 4294967296}};
    const int32_t a = floatsImage(5, 1, {-10, 0.25F, 100, 300, 20000});
    const int32_t zero = floatImage(5, 1);
    for (const auto& c : cases) {
        const int32_t dest = image(5, 1, c.type);
        EXPECT_EQ(1, I_Subtract(a, zero, dest, 0, 0));
        std::vector<double> expected;
        for (const float x : {-10.0F, 0.25F, 100.0F, 300.0F, 20000.0F})
            expected.push_back(std::trunc(clippedFloatLow(1, x, c.low, c.high)));
        EXPECT_THAT(rowOf(dest, 0), ElementsAreArray(expected)) << c.type;
    }
}

TEST_P(BoundsArithmetic, WidthsAroundTheVectors)
{
    const int32_t source = noiseImage(300, 3, 1);
    const int32_t other = noiseImage(300, 3, 2);
    const auto sourceBytes = bytesOf(source);
    const auto otherBytes = bytesOf(other);
    const auto run = [](int32_t op, int32_t a, int32_t b, int32_t dest) {
        switch (op) {
        case 0:
            return I_Add(a, b, dest);
        case 1:
            return I_Subtract(a, b, dest, 0, 0);
        case 2:
            return I_Multiply(a, b, dest, 255.0);
        case 3:
            return I_Divide(a, b, dest, 128.0);
        default:
            return I_Blend(a, b, dest, 0.3F);
        }
    };
    const auto expected = [](int32_t op, int32_t x, int32_t y) {
        switch (op) {
        case 0:
            return std::min(x + y, 255);
        case 1:
            return std::max(x - y, 0);
        case 2:
            return x * y / 255;
        case 3:
            return y == 0 ? 255 : std::min((x * 128 + y / 2) / y, 255);
        default:
            return y + (((x - y) * 38 + 64) >> 7);
        }
    };
    for (int32_t cols = 1; cols < 200; cols += cols < 70 ? 1 : 13)
        for (int32_t op = 0; op < 5; ++op) {
            // A window at an odd place, in images whose other pixels must stay.
            const int32_t dest = byteImage(300, 3, [](int32_t, int32_t) { return 77; });
            I_SetWindowROI(5, 1, 5 + cols - 1, 1);
            ASSERT_EQ(1, run(op, source, other, dest));
            const auto result = bytesOf(dest);
            for (std::size_t i = 0; i < result.size(); ++i) {
                const bool inside = i >= 305 && i < 305 + static_cast<std::size_t>(cols);
                ASSERT_EQ(inside ? expected(op, sourceBytes[i], otherBytes[i]) : 77, result[i])
                    << "operator " << op << ", " << cols << " columns, " << i;
            }
            I_ImClose(dest);
        }
}

TEST_P(BoundsArithmetic, InPlaceWithEitherSource)
{
    const int32_t a = noiseImage(97, 5, 1);
    const int32_t b = noiseImage(97, 5, 2);
    const int32_t expected = byteImage(97, 5);
    ASSERT_EQ(1, I_Divide(a, b, expected, 100.0));
    const int32_t inA = I_CloneImage(a, 0, 1);
    const int32_t inB = I_CloneImage(b, 0, 1);
    EXPECT_EQ(1, I_Divide(inA, b, inA, 100.0));
    EXPECT_EQ(1, I_Divide(a, inB, inB, 100.0));
    EXPECT_EQ(bytesOf(expected), bytesOf(inA));
    EXPECT_EQ(bytesOf(expected), bytesOf(inB));
    EXPECT_EQ(1, I_Subtract(a, a, a, 0, 0));
    EXPECT_THAT(bytesOf(a), testing::Each(0));
}

TEST_P(BoundsArithmetic, OverlappingSubimagesGoFromLeftToRight)
{
    for (const int32_t shift : {1, 3, 17, 64, -1, -3, -17}) {
        const int32_t parent = noiseImage(500, 2, 3);
        const int32_t ones = byteImage(300, 2, [](int32_t, int32_t) { return 1; });
        const int32_t source = I_ImOpenSubimage(100, 0, 300, 2, parent);
        const int32_t dest = I_ImOpenSubimage(100 + shift, 0, 300, 2, parent);
        auto expected = bytesOf(parent);
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < 300; ++x) {
                uint8_t* row = &expected[static_cast<std::size_t>(y * 500 + 100)];
                row[x + shift] = static_cast<uint8_t>(std::min(row[x] + 1, 255));
            }
        EXPECT_EQ(1, I_Add(source, ones, dest));
        EXPECT_EQ(expected, bytesOf(parent)) << shift;
        closeImages({source, dest, parent, ones});
    }
}

TEST_P(BoundsArithmetic, ResultsThatPassTheCache)
{
    const int32_t a = byteImage(3001, 2900);
    const int32_t b = byteImage(3001, 2900);
    const int32_t dest = byteImage(3001, 2900);
    I_ImClear(b, 9.0);
    for (int32_t y = 0; y < 2900; ++y) {
        auto* row = static_cast<uint8_t*>(I_ImGetPtr(0, y, nullptr, nullptr, a));
        for (int32_t x = 0; x < 3001; ++x)
            row[x] = static_cast<uint8_t>(x * 7 + y);
    }
    I_SetWindowROI(3, 1, 2999, 2898);
    ASSERT_EQ(1, I_Add(a, b, dest));
    for (int32_t y = 0; y < 2900; y += y < 3 ? 1 : 41) {
        const auto* row = static_cast<const uint8_t*>(I_ImGetPtr(0, y, nullptr, nullptr, dest));
        for (int32_t x = 0; x < 3001; ++x) {
            const bool inside = x >= 3 && x <= 2999 && y >= 1 && y <= 2898;
            ASSERT_EQ(inside ? std::min(static_cast<uint8_t>(x * 7 + y) + 9, 255) : 0, row[x])
                << x << ' ' << y;
        }
    }
}

TEST_P(FailuresArithmetic, ImagesThatAreNotOpen)
{
    const int32_t im = byteImage(4, 4, [](int32_t, int32_t) { return 5; });
    const auto refused = [](int32_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(20, I_GetError(nullptr, 0));
        EXPECT_EQ("I_ImGetSize(, im=-90)  im. not open", errorText());
        clearError();
    };
    refused(I_Add(-90, im, im));
    refused(I_Add(im, im, -90));
    refused(I_Subtract(-90, im, im, 0, 0));
    refused(I_And(im, im, -90));
    refused(I_Or(-90, im, im));
    refused(I_Xor(im, im, -90));
    refused(I_Min(-90, im, im));
    refused(I_Max(im, im, -90));
    refused(I_Multiply(-90, im, im, 1.0));
    refused(I_Divide(im, im, -90, 1.0));
    refused(I_Blend(-90, im, im, 0.5F));
    EXPECT_EQ(0, I_Add(0, im, 0));
    EXPECT_THAT(bytesOf(im), testing::Each(5));
}

TEST_P(FailuresArithmetic, NoMemoryForTheConversion)
{
    const int32_t bytes = byteImage(10, 4);
    const int32_t floats = floatImage(10, 4);
    const auto run = [&](const std::function<int64_t()>& call) {
        forEachFailingAllocation(call, [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, call());
        vexa::failAllocation(0, false);
        EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: I_BinaryOperatorType 480 bytes: "));
    };
    run([&] { return I_Add(bytes, floats, bytes); });
    run([&] { return I_Subtract(bytes, floats, bytes, 0, 0); });
    run([&] { return I_Min(bytes, floats, bytes); });
    run([&] { return I_Max(bytes, floats, bytes); });
    run([&] { return I_Multiply(bytes, floats, bytes, 2.0); });
    run([&] { return I_Divide(bytes, floats, bytes, 2.0); });
    run([&] { return I_Blend(bytes, floats, bytes, 0.5F); });
}

} // namespace
