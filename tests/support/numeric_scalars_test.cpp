// Rounding, choice, functions, swaps.
#include <limits>

#include "tests/support/test_failures.h"
#include "vexalib/numeric.h"

extern "C" {
int32_t min(int32_t a, int32_t b);
int32_t max(int32_t a, int32_t b);
int32_t clip(int32_t value, int32_t low, int32_t high);
}

namespace
{

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(LiteralNumeric, RndTakesHalvesUpward)
{
    EXPECT_EQ(0, Rnd(-0.5F));
    EXPECT_EQ(3, Rnd(2.5F));
    EXPECT_EQ(-1, Rnd(-0.75F));
    EXPECT_EQ(-1, Rnd(-1.5F));
    EXPECT_EQ(0, Rnd(0.49999997F));
    EXPECT_EQ(16777215, Rnd(16777215.0F));
}

TEST(BoundsNumeric, RndOfWhatDoesNotFit)
{
    EXPECT_EQ(kLowest, Rnd(kNan));
    EXPECT_EQ(kLowest, Rnd(kInfinity));
    EXPECT_EQ(kLowest, Rnd(-kInfinity));
    EXPECT_EQ(kLowest, Rnd(2147483648.0F));
    EXPECT_EQ(2147483520, Rnd(2147483520.0F));
    EXPECT_EQ(kLowest, Rnd(-2147483648.0F));
}

TEST(LiteralNumeric, Ilog2RoundsDown)
{
    for (const int32_t below : {kLowest, -1, 0, 1})
        EXPECT_EQ(0, ilog2(below));
    for (int32_t bit = 1; bit < 31; ++bit) {
        EXPECT_EQ(bit, ilog2(1 << bit));
        EXPECT_EQ(bit, llog2((1 << bit) + ((1 << bit) - 1)));
    }
}

TEST(LiteralNumeric, ChoicesUnderBothNames)
{
    EXPECT_EQ(-3, min(4, -3));
    EXPECT_EQ(4, max(4, -3));
    EXPECT_EQ(10, clip(3, 10, 20));
    EXPECT_EQ(20, clip(30, 10, 20));
    EXPECT_EQ(15, clip(15, 10, 20));
    EXPECT_EQ(kLowest, vexa_min(kLowest, kHighest));
    EXPECT_EQ(kHighest, vexa_max(kLowest, kHighest));
    EXPECT_EQ(20, vexa_clip(5, 20, 10)) << "low goes first";
    EXPECT_EQ(10, vexa_clip(25, 20, 10));
}

TEST(LiteralNumeric, AbsoluteChoicesKeepTheSign)
{
    EXPECT_EQ(-2, minabs(-2, 5));
    EXPECT_EQ(-2, minabs(5, -2));
    EXPECT_EQ(-7, maxabs(-7, 5));
    EXPECT_EQ(5, minabs(kLowest, 5));
    EXPECT_EQ(kLowest, maxabs(kHighest, kLowest));
    EXPECT_EQ(-0.25, fminabs(-0.25, 0.5));
    EXPECT_EQ(-8.5, fmaxabs(8.25, -8.5));
}

TEST(LiteralNumeric, IsqrtOfSmallValuesIsTheNearestRoot)
{
    EXPECT_EQ(12, isqrt(144));
    EXPECT_EQ(12, isqrt(-144));
    for (int32_t value = 0; value < 65536; ++value) {
        const auto nearest = static_cast<int32_t>(std::floor(std::sqrt(value) + 0.5));
        ASSERT_EQ(std::min(nearest, 255), isqrt(value)) << value;
    }
}

TEST(BoundsNumeric, IsqrtOfLargeValuesIsSomePerCentOff)
{
    for (double value = 65536; value < 2147483648.0; value *= 1.0007) {
        const auto integer = static_cast<int32_t>(value);
        const double root = std::sqrt(integer);
        ASSERT_NEAR(root, isqrt(integer), 0.05 * root) << integer;
        ASSERT_EQ(isqrt(integer), isqrt(-integer));
    }
    EXPECT_EQ(23 * 11, isqrt(65536)) << "table[65536 / 128] * table[128]";
    EXPECT_NEAR(46341, isqrt(kLowest), 500);
}

TEST(LiteralNumeric, ErfDependsOnTheMagnitudeOnly)
{
    for (double x = 0.0; x < 5.0; x += 0.0625) {
        EXPECT_NEAR(std::erf(x), vexa_erf(x), 2.5e-7);
        EXPECT_EQ(vexa_erf(x), vexa_erf(-x));
        EXPECT_EQ(1.0 - vexa_erf(x), vexa_erfc(x));
    }
    EXPECT_EQ(1.0 + vexa_erf(0.5), vexa_erfc(-0.5));
    EXPECT_TRUE(std::isnan(vexa_erf(kNan)));
    EXPECT_EQ(1.0, vexa_erf(kInfinity));
}

// J1 by its integral, (1 / pi) * the integral from 0 to pi of cos(t - x sin t).
double besselByIntegral(double x)
{
    constexpr int32_t kSteps = 20000;
    const double pi = std::acos(-1.0);
    double sum = 0.0;
    for (int32_t i = 0; i < kSteps; ++i) {
        const double t = pi * (i + 0.5) / kSteps;
        sum += std::cos(t - x * std::sin(t));
    }
    return sum / kSteps;
}

TEST(AgainstReferenceNumeric, BesselFunctionOfOrderOne)
{
    for (const float x : {0.0F, 0.001F, 0.5F, 1.0F, 1.8411838F, 3.8317F, 7.99F, 8.0F, 8.01F, 20.0F, 100.0F}) {
        EXPECT_NEAR(besselByIntegral(x), bessj1(x), 3e-8) << x;
        EXPECT_EQ(-bessj1(x), bessj1(-x)) << x;
    }
    EXPECT_TRUE(std::isnan(bessj1(kNan)));
}

TEST(LiteralNumeric, FdistAndRotatevect)
{
    const VexaPoint a = {1, 2};
    const VexaPoint b = {4, -2};
    EXPECT_EQ(5.0, fdist(&a, &b));
    const VexaPoint far = {kHighest, 0};
    const VexaPoint near = {kLowest, 0};
    EXPECT_EQ(4294967295.0, fdist(&near, &far));
    VexaPoint turned = {10, 0};
    EXPECT_EQ(10, rotatevect(&turned, &turned, std::acos(-1.0) / 2));
    EXPECT_EQ(0, turned.x);
    EXPECT_EQ(10, turned.y);
    EXPECT_EQ(7, rotatevect(&turned, nullptr, std::acos(-1.0) / 4));
    EXPECT_EQ(0.0, fdist(nullptr, &a));
    EXPECT_EQ(0, rotatevect(nullptr, &turned, 1.0));
}

template <typename T, typename Swap>
void expectSwap(T a, T b, Swap swap)
{
    T first = a;
    T second = b;
    swap(&first, &second);
    EXPECT_EQ(b, first);
    EXPECT_EQ(a, second);
    swap(nullptr, &second);
    swap(&first, nullptr);
    EXPECT_EQ(b, first);
    EXPECT_EQ(a, second);
}

TEST(LiteralNumeric, SwapsExchangeValues)
{
    expectSwap<char>('a', 'b', swapchar);
    expectSwap<int16_t>(-1, 300, swapshort);
    expectSwap<int32_t>(-1, 70000, swapint);
    expectSwap<int32_t>(-1, 70000, swaplong);
    expectSwap<float>(1.5F, -2.5F, swapfloat);
    expectSwap<double>(1.5, -2.5, swapdouble);
    int32_t target[2] = {};
    expectSwap<void*>(&target[0], &target[1], swapptr);
    VexaPoint a = {1, 2};
    VexaPoint b = {3, 4};
    swapcoord(&a, &b);
    EXPECT_EQ(3, a.x);
    EXPECT_EQ(2, b.y);
}

TEST(LiteralNumeric, SwapLongReversesTheBytes)
{
    const uint8_t bytes[] = {99, 1, 2, 3, 4};
    EXPECT_EQ(0x01020304, I_SwapLong(bytes + 1));
    EXPECT_EQ(1, bytes[1]);
    EXPECT_EQ(0, I_SwapLong(nullptr));
}

} // namespace
