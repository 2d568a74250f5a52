#include <limits>

#include "support/buffer.h"
#include "support/guard.h"
#include "tests/operators/arithmetic_reference.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::StartsWith;

class LiteralConstant : public ArithmeticSuite
{
};
class AgainstReferenceConstant : public ArithmeticSuite
{
};
class FailuresConstant : public ArithmeticSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralConstant, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceConstant, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresConstant, everySet(), setName);

// All 256 bytes through an operator, against a function of each.
template <typename Operator, typename Function>
void expectBytes(Operator run, Function function)
{
    const int32_t src = columns(256, 1);
    const int32_t dest = byteImage(256, 1);
    EXPECT_EQ(1, run(src, dest));
    EXPECT_EQ(expectedBytes(256, 1, [&](int32_t x, int32_t) { return function(x); }), bytesOf(dest));
    closeImages({src, dest});
}
template <typename Operator, typename Function>
void expectFloats(Operator run, Function function)
{
    const std::vector<float> values = trickyFloats();
    const auto n = static_cast<int32_t>(values.size());
    const int32_t src = floatsImage(n, 1, values);
    const int32_t dest = floatImage(n, 1);
    EXPECT_EQ(1, run(src, dest));
    std::vector<float> expected;
    for (const float x : values)
        expected.push_back(function(x));
    EXPECT_THAT(floatsOf(dest), SameFloats(expected));
    closeImages({src, dest});
}

int32_t clamped(double x)
{
    return static_cast<int32_t>(std::clamp(x, 0.0, 255.0));
}

TEST_P(LiteralConstant, AddTruncatesTowardZeroOnBytes)
{
    for (const double value : {-10.5, 10.9, 0.0, 0.99, -0.99, 255.0, -255.0, 300.0, -1e9})
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstAdd(src, dest, value); },
                    [=](int32_t i) { return clamped(i + std::trunc(value)); });
    expectFloats([](int32_t src, int32_t dest) { return I_ConstAdd(src, dest, -10.5); },
                 [](float x) { return x + -10.5F; });
}

TEST_P(LiteralConstant, AValueThatIsNoIntegerIsTheLowestOne)
{
    for (const double value : {1e10, -1e10, static_cast<double>(NAN), 1e300})
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstAdd(src, dest, value); },
                    [](int32_t) { return 0; });
    expectBytes([](int32_t src, int32_t dest) { return I_ConstSubAbs(src, dest, 1e10); },
                [](int32_t i) { return i == 0 ? 0 : 255; });
    expectBytes([](int32_t src, int32_t dest) { return I_ConstMult(src, dest, 1e9); },
                [](int32_t i) { return i == 0   ? 0
                                       : i <= 2 ? 255
                                                : 0; });
}

TEST_P(LiteralConstant, SubAbs)
{
    for (const double value : {0.0, 100.9, -3.7, 255.0, 256.0, -1000.0})
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstSubAbs(src, dest, value); },
                    [=](int32_t i) { return clamped(std::fabs(i - std::trunc(value))); });
    expectFloats([](int32_t src, int32_t dest) { return I_ConstSubAbs(src, dest, 100.9); },
                 [](float x) { return std::fabs(x - 100.9F); });
}

TEST_P(LiteralConstant, MultRoundsOnBytes)
{
    for (const double value : {0.0, 0.5, 1.0, 1.3, 2.0, -1.0, 100.0})
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstMult(src, dest, value); },
                    [=](int32_t i) { return clamped(std::trunc(i * value + 0.5)); });
    expectFloats([](int32_t src, int32_t dest) { return I_ConstMult(src, dest, 1.3); },
                 [](float x) { return x * 1.3F; });
}

TEST_P(LiteralConstant, LogicTakesTheLowByte)
{
    for (const int32_t value : {0, 1, 0x55, 0xF0, 255, 0x1234, -1}) {
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstOR(src, dest, value); },
                    [=](int32_t i) { return i | value; });
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstXOR(src, dest, value); },
                    [=](int32_t i) { return i ^ value; });
        expectBytes([=](int32_t src, int32_t dest) { return I_ConstAnd(src, dest, value); },
                    [=](int32_t i) { return i & value; });
    }
}

TEST_P(LiteralConstant, LogicRunsFloatImagesAsBytes)
{
    const int32_t src = floatsImage(3, 1, {1.2F, 7.9F, 300.0F});
    const int32_t dest = floatImage(3, 1);
    EXPECT_EQ(1, I_ConstAnd(src, dest, 0x06));
    EXPECT_THAT(floatsOf(dest), ElementsAre(0.0F, 0.0F, 6.0F)); // 7.9 is the byte 8
}

TEST_P(LiteralConstant, ScaleOfOneIsAdditionAndOffsetOfZeroIsMultiplication)
{
    // The fraction of the offset is cut off by the addition, and rounds with any other scale.
    expectBytes([](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, 0.9, 1.0); },
                [](int32_t i) { return i; });
    expectBytes([](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, 0.9, 1.0001); },
                [](int32_t i) { return clamped((i + 0.9) * 1.0001 + 0.5); });
    expectBytes([](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, 0.0, -1.0); },
                [](int32_t) { return 0; });
    expectFloats([](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, 0.9, 1.0); },
                 [](float x) { return x + 0.9F; });
}

TEST_P(AgainstReferenceConstant, Scale)
{
    for (const double offset : {-20.0, 0.5, 100.0, -300.0, 1e12})
        for (const double scale : {1.3, 0.25, -1.0, 85.0, 0.0}) {
            expectBytes(
                [=](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, offset, scale); },
                [=](int32_t i) { return clamped((i + offset) * scale + 0.5); });
            expectFloats(
                [=](int32_t src, int32_t dest) { return I_ScaleIntensityROI(src, dest, offset, scale); },
                [=](float x) { return (x + static_cast<float>(offset)) * static_cast<float>(scale); });
        }
}

TEST_P(AgainstReferenceConstant, ScaleAbsolute)
{
    for (const double offset : {-20.0, 0.0, 100.0, -300.0, 1e12})
        for (const double scale : {1.0, 0.25, -1.0, 85.0, 0.0}) {
            expectBytes(
                [=](int32_t src, int32_t dest) { return I_ScaleIntensityROIAbs(src, dest, offset, scale); },
                [=](int32_t i) { return clamped(std::fabs((i + offset) * scale + 0.5)); });
            expectFloats(
                [=](int32_t src, int32_t dest) { return I_ScaleIntensityROIAbs(src, dest, offset, scale); },
                [=](float x) {
                    return std::fabs((x + static_cast<float>(offset)) * static_cast<float>(scale));
                });
        }
}

TEST_P(LiteralConstant, ComplexPixels)
{
    const int32_t src = floatsImage(2, 1, {1, -2, 3, 4}, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(2, 1, PIX_COMPLEX);
    EXPECT_EQ(1, I_ConstMult(src, dest, -2.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(-2, 4, -6, -8));
    EXPECT_EQ(1, I_ScaleIntensityROI(src, dest, 1.0, 2.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(4, -2, 8, 10));
    EXPECT_EQ(1, I_ScaleIntensityROIAbs(src, dest, 1.0, 2.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(4, -2, 8, 10));
    EXPECT_EQ(1, I_ScaleIntensityROIAbs(src, dest, 1.0, 1.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(2, -1, 4, 5));
    // Addition has no complex row: the magnitudes are added to, and stored as real parts.
    EXPECT_EQ(1, I_ConstAdd(src, dest, 1.0));
    EXPECT_THAT(floatsOf(dest), ElementsAre(testing::FloatEq(1.0F + std::sqrt(5.0F)), 0, 6, 0));
}

TEST_P(LiteralConstant, ScaleAbsoluteTellsItsText)
{
    static std::string told;
    I_SetProgressCallback([](float, const char* text) { told = text; }, 1000000);
    const vexa::Guard restore([] { I_SetProgressCallback(nullptr, 0); });
    const int32_t im = floatImage(3, 3);
    EXPECT_EQ(1, I_ScaleIntensityROIAbs(im, im, 1.0, 2.0));
    char text[40] = {};
    I_GetProgress(text, sizeof text);
    EXPECT_STREQ("ScaleIntensity", text);
}

TEST_P(LiteralConstant, SquareRoot)
{
    expectBytes(I_Sqrt, [](int32_t i) {
        int32_t root = 0;
        while ((root + 1) * (root + 1) <= i)
            ++root;
        return root;
    });
    expectFloats(I_Sqrt, [](float x) { return std::sqrt(x); });
}

TEST_P(LiteralConstant, SquareRootOfWordsRunsThroughTheirRange)
{
    const int32_t src = wordImage(3, 1, [](int32_t x, int32_t) { return x * 2000; });
    const int32_t dest = byteImage(3, 1);
    I_SetPixValueRange(3.0, 7.0, src);
    EXPECT_EQ(1, I_Sqrt(src, dest));
    // 0 to 4000 is read with a shift of 4: 0, 125 and 250.
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(0, 11, 15));
    double low = 0;
    double high = 0;
    I_GetPixValueRange(&low, &high, src);
    EXPECT_EQ(3.0, low);
    EXPECT_EQ(7.0, high);
}

TEST_P(FailuresConstant, ImagesThatAreNotOpen)
{
    const int32_t im = byteImage(4, 4, [](int32_t, int32_t) { return 5; });
    for (const int32_t bad : {0, -90, 12}) {
        EXPECT_EQ(0, I_ConstAdd(bad, im, 1.0));
        EXPECT_EQ(0, I_ConstSubAbs(bad, im, 1.0));
        EXPECT_EQ(0, I_ConstMult(bad, im, 2.0));
        EXPECT_EQ(0, I_ConstOR(bad, im, 1));
        EXPECT_EQ(0, I_ConstXOR(bad, im, 1));
        EXPECT_EQ(0, I_ConstAnd(bad, im, 1));
        EXPECT_EQ(0, I_ScaleIntensityROI(bad, im, 1.0, 2.0));
        EXPECT_EQ(0, I_ScaleIntensityROIAbs(bad, im, 1.0, 2.0));
        EXPECT_EQ(0, I_Sqrt(bad, im));
        EXPECT_NE(0, I_GetError(nullptr, 0));
        clearError();
    }
    EXPECT_EQ(0, I_ConstAdd(im, -90, 1.0));
    EXPECT_THAT(bytesOf(im), testing::Each(5));
}

TEST_P(FailuresConstant, NoMemoryForTheConversion)
{
    const int32_t bytes = byteImage(10, 4);
    const int32_t floats = floatImage(10, 4);
    const auto run = [&](const std::function<int64_t()>& call) {
        forEachFailingAllocation(call, [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, call());
        vexa::failAllocation(0, false);
        EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: I_UnaryOp 320 bytes: "));
    };
    run([&] { return I_ConstAdd(bytes, floats, 1.0); });
    run([&] { return I_ConstSubAbs(bytes, floats, 1.0); });
    run([&] { return I_ConstMult(bytes, floats, 2.0); });
    run([&] { return I_ScaleIntensityROI(bytes, floats, 1.0, 2.0); });
    run([&] { return I_ScaleIntensityROIAbs(bytes, floats, 1.0, 2.0); });
}

} // namespace
