#include "vexalib/scale.h"

#include <limits>
#include <type_traits>

#include "support/instruction_set.h"
#include "tests/geometry/plain_resampler.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

template <typename T>
std::vector<T> noise(std::size_t n, uint32_t seed)
{
    std::mt19937 random(seed);
    std::vector<T> values(n);
    for (T& value : values)
        value = static_cast<T>(std::is_same_v<T, uint8_t> ? static_cast<int64_t>(random() % 256)
                                                          : static_cast<int64_t>(random() % 200001) - 100000);
    return values;
}

constexpr double kOffsets[] = {0.0, 0.5, 3.25, -0.4, -2.0, -3.7, 11.99, 500.0};
constexpr double kScales[] = {0.01, 0.1,    0.14, 0.15, 0.25, 0.3, 0.5,  0.7,  0.9999,
                              1.0,  1.0001, 1.3,  1.5,  2.0,  3.7, 16.0, 100.0};
constexpr std::size_t kCounts[] = {1, 2, 7, 8, 15, 16, 17, 33, 34, 63, 64, 65, 130};

class Resample : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Resample, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(Resample, AgainstReferenceBytes)
{
    for (const std::size_t n : kCounts)
        for (const std::size_t count : kCounts)
            for (const double scale : kScales)
                for (const double offset : kOffsets)
                    for (const bool interp : {false, true}) {
                        const std::vector<uint8_t> src = noise<uint8_t>(n, static_cast<uint32_t>(n));
                        std::vector<uint8_t> dst(count, 77);
                        const std::vector<uint8_t> expected = resampled(src, dst, offset, scale, interp);
                        I_ResampleArrayByte(src.data(), static_cast<int32_t>(n), dst.data(),
                                            static_cast<int32_t>(count), offset, scale, interp);
                        ASSERT_EQ(expected, dst) << n << " to " << count << " at " << scale << " from "
                                                 << offset << (interp ? " interpolated" : "");
                    }
}

TEST_P(Resample, AgainstReferenceExtremeBytesInLongRows)
{
    for (const double scale : {0.143, 0.2, 0.3, 0.77, 1.1, 1.5, 1.99})
        for (const int32_t kind : {0, 1, 2}) {
            std::vector<uint8_t> src(700);
            for (std::size_t i = 0; i < src.size(); ++i)
                src[i] = static_cast<uint8_t>(kind == 0   ? 255
                                              : kind == 1 ? (i % 2) * 255
                                                          : (i / 3 % 2) * 255);
            std::vector<uint8_t> dst(1500, 1);
            const std::vector<uint8_t> expected = resampled(src, dst, 0.37, scale, true);
            I_ResampleArrayByte(src.data(), 700, dst.data(), 1500, 0.37, scale, 1);
            ASSERT_EQ(expected, dst) << scale << " " << kind;
        }
}

TEST_P(Resample, AgainstReferenceLongs)
{
    for (const std::size_t n : {std::size_t{1}, std::size_t{9}, std::size_t{64}})
        for (const double scale : kScales)
            for (const double offset : kOffsets)
                for (const bool interp : {false, true}) {
                    const std::vector<int32_t> src = noise<int32_t>(n, 5);
                    std::vector<int32_t> dst(50, 77);
                    const std::vector<int32_t> expected = resampled(src, dst, offset, scale, interp);
                    I_ResampleArrayLong(src.data(), static_cast<int32_t>(n), dst.data(), 50, offset, scale,
                                        interp);
                    ASSERT_EQ(expected, dst) << n << " at " << scale << " from " << offset << " " << interp;
                }
}

TEST_P(Resample, AgainstReferenceFloats)
{
    for (const std::size_t n : {std::size_t{1}, std::size_t{9}, std::size_t{64}})
        for (const double scale : kScales)
            for (const double offset : kOffsets)
                for (const bool interp : {false, true}) {
                    const std::vector<float> src = noise<float>(n, 6);
                    std::vector<float> dst(50, 77);
                    const std::vector<float> expected = resampled(src, dst, offset, scale, interp);
                    I_ResampleArrayFloat(src.data(), static_cast<int32_t>(n), dst.data(), 50, offset, scale,
                                         interp);
                    for (std::size_t k = 0; k < 50; ++k)
                        ASSERT_NEAR(expected[k], dst[k], interp && scale < 1 ? 0.2 : 0.0)
                            << n << " at " << scale << " from " << offset << " " << interp << ", element "
                            << k;
                }
}

TEST(ResampleLiteral, Bytes)
{
    const uint8_t src[] = {10, 20, 30, 40};
    uint8_t dst[8] = {};
    I_ResampleArrayByte(src, 4, dst, 8, 0.0, 2.0, 1);
    EXPECT_THAT(dst, testing::ElementsAre(10, 15, 20, 25, 30, 35, 40, 40)) << "the last element goes on";
    I_ResampleArrayByte(src, 4, dst, 2, 0.0, 0.5, 1);
    EXPECT_EQ(15, dst[0]);
    EXPECT_EQ(40, dst[1]) << "a cell that ends with the array is its last element";
    I_ResampleArrayByte(src, 4, dst, 4, 0.0, 0.5, 0);
    EXPECT_EQ(10, dst[0]);
    EXPECT_EQ(30, dst[1]);
    EXPECT_EQ(40, dst[2]) << "the rest is the last element, not one behind it";
    uint8_t copy[6] = {9, 9, 9, 9, 9, 9};
    I_ResampleArrayByte(src, 4, copy, 6, 0.0, 1.0, 1);
    EXPECT_THAT(copy, testing::ElementsAre(10, 20, 30, 40, 9, 9)) << "a copy fills nothing";
    const float reals[] = {1, 2};
    float out[4] = {9, 9, 9, 9};
    I_ResampleArrayFloat(reals, 2, out, 4, 0.0, 1.0, 1);
    EXPECT_THAT(out, testing::ElementsAre(1, 2, 2, 2)) << "floats are not copied but resampled";
}

TEST(ResampleLiteral, NegativeOffsetLeavesWhatItStepsOver)
{
    const uint8_t src[] = {10, 20, 30, 40};
    uint8_t dst[5] = {1, 2, 3, 4, 5};
    I_ResampleArrayByte(src, 4, dst, 5, -2.0, 1.0, 0);
    EXPECT_THAT(dst, testing::ElementsAre(1, 2, 10, 20, 30));
    uint8_t linear[5] = {1, 2, 3, 4, 5};
    I_ResampleArrayByte(src, 4, linear, 5, -2.0, 1.0, 1);
    EXPECT_THAT(linear, testing::ElementsAre(1, 10, 10, 20, 30))
        << "the last of them takes the first element";
    uint8_t area[3] = {1, 2, 3};
    I_ResampleArrayByte(src, 4, area, 3, -2.0, 0.5, 1);
    EXPECT_THAT(area, testing::ElementsAre(1, 15, 40));
}

TEST(ResampleFailures, CountsAndNulls)
{
    uint8_t bytes[4] = {1, 2, 3, 4};
    int32_t longs[4] = {1, 2, 3, 4};
    float reals[4] = {1, 2, 3, 4};
    const auto error = [](const char* text) {
        EXPECT_EQ(14, I_GetError(nullptr, 0));
        EXPECT_EQ(text, errorText());
        clearError();
    };
    clearError();
    I_ResampleArrayByte(bytes, 0, bytes, 4, 0, 2, 1);
    error("I_ResampleArrayByte");
    I_ResampleArrayByte(bytes, 4, bytes, -1, 0, 2, 1);
    error("I_ResampleArrayByte");
    I_ResampleArrayLong(longs, 0, longs, 4, 0, 2, 1);
    error("I_ResampleArraylong");
    I_ResampleArrayFloat(reals, -1, reals, 4, 0, 2, 1);
    error("I_ResampleArrayFloat");
    I_ResampleArrayFloat(reals, 0, reals, 4, 0, 2, 1);
    I_ResampleArrayFloat(reals, 4, nullptr, 4, 0, 2, 1);
    I_ResampleArrayType(nullptr, 4, bytes, 4, 0, 2, 1, PIX_BYTE);
    I_BlendRowsType(bytes, bytes, nullptr, 4, 0.5, PIX_BYTE);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(reals, testing::ElementsAre(1, 2, 3, 4));
}

TEST(ResampleFailures, NumbersThatLeadAnywhereStayInTheArrays)
{
    const double numbers[] = {0.0,
                              1.0,
                              -1.0,
                              0.5,
                              -0.3,
                              1e-9,
                              1e9,
                              -1e9,
                              1e300,
                              -1e300,
                              70000.0,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};
    for (const int32_t type : {1, 2, 3, 4, 5, 6, 7, 12, 13, 16, 18, 23, 99, -5})
        for (const double offset : numbers)
            for (const double scale : numbers)
                for (const int32_t interp : {0, 1}) {
                    const auto bytes = static_cast<std::size_t>(I_ImTypeBytes(type));
                    const std::vector<uint8_t> src(5 * bytes, 3);
                    std::vector<uint8_t> dst(40 * bytes, 7);
                    I_ResampleArrayType(src.data(), 5, dst.data(), 40, offset, scale, interp, type);
                    if (type == PIX_BYTE)
                        I_ResampleArrayByte(src.data(), 5, dst.data(), 40, offset, scale, interp);
                    if (type == PIX_FLOAT) {
                        const float reals[5] = {1, 2, 3, 4, 5};
                        float out[40];
                        I_ResampleArrayFloat(reals, 5, out, 40, offset, scale, interp);
                    }
                }
}

TEST(ResampleType, LiteralDoesNothing)
{
    const uint8_t src[] = {10, 20, 30, 40};
    uint8_t dst[4] = {1, 2, 3, 4};
    I_ResampleArrayType(src, 4, dst, 1, 0.0, 2.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 0, dst, 4, 0.0, 2.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 4, dst, 4, 0.0, 0.0, 1, PIX_BYTE);
    I_ResampleArrayType(src, 4, dst, 4, 0.0, -1.0, 1, PIX_BYTE);
    EXPECT_THAT(dst, testing::ElementsAre(1, 2, 3, 4));
    I_ResampleArrayType(src, 3, dst, 4, 0.0, 1.0, 1, PIX_BYTE);
    EXPECT_THAT(dst, testing::ElementsAre(10, 20, 30, 4));
}

TEST(ResampleType, LiteralPlanesWhereBothAreGiven)
{
    uint8_t red[] = {10, 20};
    uint8_t blue[] = {50, 70};
    uint8_t redOut[4] = {1, 1, 1, 1};
    uint8_t greenOut[4] = {1, 1, 1, 1};
    uint8_t blueOut[4] = {1, 1, 1, 1};
    void* const src[] = {red, nullptr, blue};
    void* const dst[] = {redOut, greenOut, blueOut};
    I_ResampleArrayType(src, 2, const_cast<void**>(dst), 4, 0.0, 2.0, 1, 25);
    EXPECT_THAT(redOut, testing::ElementsAre(10, 15, 20, 20));
    EXPECT_THAT(greenOut, testing::ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(blueOut, testing::ElementsAre(50, 60, 70, 70));
}

TEST(ResampleType, LiteralWordsGoByWayOfFloats)
{
    const int16_t src[] = {100, 201, -300};
    int16_t dst[6] = {};
    I_ResampleArrayType(src, 3, dst, 6, 0.0, 2.0, 1, PIX_WORD);
    EXPECT_THAT(dst, testing::ElementsAre(100, 150, 201, -49, -300, -300));
    const double reals[] = {1.0, 2.0};
    double out[3] = {};
    I_ResampleArrayType(reals, 2, out, 3, 0.0, 2.0, 1, PIX_DFLOAT);
    EXPECT_THAT(out, testing::ElementsAre(1.0, 1.5, 2.0));
}

TEST(ResampleType, LiteralCopiesHaveAnEnd)
{
    const int16_t src[] = {100, 201, -300};
    int16_t dst[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    I_ResampleArrayType(src, 3, dst, 8, 0.0, 2.0, 0, PIX_WORD);
    EXPECT_THAT(dst, testing::ElementsAre(100, 100, 201, 201, -300, -300, 7, 7))
        << "no half element, no fill";
    // (3 - 0.5) * 2 elements.
    int16_t later[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    I_ResampleArrayType(src, 3, later, 8, 0.5, 2.0, 0, PIX_WORD);
    EXPECT_THAT(later, testing::ElementsAre(100, 201, 201, -300, -300, 7, 7, 7));
    int16_t before[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    I_ResampleArrayType(src, 3, before, 8, -1.0, 1.0, 0, PIX_WORD);
    EXPECT_THAT(before, testing::ElementsAre(7, 100, 201, -300, 7, 7, 7, 7));
    const uint8_t color[] = {1, 2, 3, 4, 5, 6};
    uint8_t wide[12] = {};
    I_ResampleArrayType(color, 2, wide, 4, 0.0, 2.0, 1, PIX_BGR24);
    EXPECT_THAT(wide, testing::ElementsAre(1, 2, 3, 1, 2, 3, 4, 5, 6, 4, 5, 6)) << "three bytes are copied";
}

TEST(ResampleType, LiteralPlanarPixelsAreOneArrayOfBytes)
{
    const std::vector<uint8_t> src = noise<uint8_t>(3 * 20, 8);
    std::vector<uint8_t> dst(3 * 30, 7);
    const std::vector<uint8_t> expected = resampled(src, dst, 0.0, 1.5, true);
    I_ResampleArrayType(src.data(), 20, dst.data(), 30, 0.0, 1.5, 1, PIX_PLANAR);
    EXPECT_EQ(expected, dst);
}

TEST(ResampleType, FailuresOfAllocation)
{
    const int16_t src[4] = {1, 2, 3, 4};
    int16_t dst[8] = {7, 7, 7, 7, 7, 7, 7, 7};
    forEachFailingAllocation(
        [&] {
            std::fill(std::begin(dst), std::end(dst), int16_t{7});
            I_ResampleArrayType(src, 4, dst, 8, 0.0, 2.0, 1, PIX_WORD);
            return 0;
        },
        [&](int64_t) {
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_ResampleArrayType: "));
            EXPECT_EQ(7, dst[0]);
        });
    forEachFailingAllocation(
        [&] {
            I_BlendRowsType(src, src, dst, 4, 0.5, PIX_BGR15);
            return 0;
        },
        [&](int64_t) {
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: "));
        });
}

TEST_P(Resample, AgainstReferenceBlendsOfEveryPairOfBytes)
{
    std::vector<uint8_t> a(65536);
    std::vector<uint8_t> b(65536);
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<uint8_t>(i);
        b[i] = static_cast<uint8_t>(i / 256);
    }
    for (const double t : {0.0, 0.001, 0.25, 0.5, 0.7, 0.999, 1.0, 1.5, -0.3, 1e9}) {
        std::vector<uint8_t> out(a.size());
        I_BlendRowsType(a.data(), b.data(), out.data(), 65536, t, PIX_BYTE);
        const int64_t w = truncated(t * 256);
        for (std::size_t i = 0; i < a.size(); ++i) {
            const int64_t mixed = t == 1.0   ? a[i]
                                  : t == 0.0 ? b[i]
                                             : ((((int64_t{a[i]} - b[i]) * w + 128) >> 8) + b[i]);
            ASSERT_EQ(static_cast<uint8_t>(mixed), out[i]) << t << " " << i;
        }
    }
}

TEST_P(Resample, LiteralBlendsOfOtherTypes)
{
    const int16_t wordsA[] = {-300, 32767, -32768};
    const int16_t wordsB[] = {500, -32768, 32767};
    int16_t words[3];
    I_BlendRowsType(wordsA, wordsB, words, 3, 0.25, PIX_WORD);
    EXPECT_THAT(words, testing::ElementsAre(300, -16384, 16383));
    const int32_t longsA[] = {2000000000, -7};
    const int32_t longsB[] = {-2000000000, 8};
    int32_t longs[2];
    I_BlendRowsType(longsA, longsB, longs, 2, 0.5, PIX_DWORD);
    EXPECT_THAT(longs, testing::ElementsAre(0, 1)) << "halves upward";
    const float realsA[] = {1.0F, 10.0F};
    const float realsB[] = {3.0F, -10.0F};
    float reals[2];
    I_BlendRowsType(realsA, realsB, reals, 2, 0.1, PIX_FLOAT);
    EXPECT_EQ(static_cast<float>((1.0 - 3.0) * 0.1F + 3.0), reals[0]);
    EXPECT_EQ(static_cast<float>(20.0 * 0.1F - 10.0), reals[1]);
    const double doublesA[] = {4.0};
    const double doublesB[] = {8.0};
    double doubles[1];
    I_BlendRowsType(doublesA, doublesB, doubles, 1, 0.25, PIX_DFLOAT);
    EXPECT_EQ(7.0, doubles[0]);
    const uint8_t colorA[] = {0, 100, 200, 255};
    const uint8_t colorB[] = {100, 0, 100, 0};
    uint8_t color[4];
    I_BlendRowsType(colorA, colorB, color, 1, 0.5, PIX_BGR32);
    EXPECT_THAT(color, testing::ElementsAre(50, 50, 150, 128));
    uint8_t three[4] = {9, 9, 9, 9};
    I_BlendRowsType(colorA, colorB, three, 1, 0.5, PIX_RGB24);
    EXPECT_THAT(three, testing::ElementsAre(50, 50, 150, 9));
    const void* planesA[] = {colorA, nullptr, colorA};
    const void* planesB[] = {colorB, colorB, colorB};
    uint8_t out[3][2] = {{9, 9}, {9, 9}, {9, 9}};
    void* planes[] = {out[0], out[1], out[2]};
    I_BlendRowsType(planesA, planesB, planes, 2, 1.0, 25);
    EXPECT_THAT(out[0], testing::ElementsAre(0, 100));
    EXPECT_THAT(out[1], testing::ElementsAre(9, 9));
    EXPECT_THAT(out[2], testing::ElementsAre(0, 100));
}

} // namespace
