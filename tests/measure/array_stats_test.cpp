#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include <limits>

using namespace vexa::test;

namespace
{

struct Doubles {
    double mean = 9;
    double deviation = 9;
    double minimum = 9;
    double maximum = 9;
};

int32_t stats(const void* buffer, int32_t length, int32_t type, Doubles& out)
{
    return I_ArrayStatsType(buffer, length, type, &out.mean, &out.deviation, &out.minimum, &out.maximum);
}

class ArrayStats : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override { vexa::limitInstructionSet(vexa::InstructionSet::avx512); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, ArrayStats, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(ArrayStats, AgainstReferenceBytesOfManyLengths)
{
    std::mt19937 random(5);
    for (const int32_t length : {1, 2, 31, 32, 33, 63, 64, 65, 500, 4097, 1000000}) {
        std::vector<uint8_t> values(static_cast<std::size_t>(length));
        int64_t sum = 0;
        int64_t squares = 0;
        uint8_t low = 255;
        uint8_t high = 0;
        for (uint8_t& v : values) {
            v = static_cast<uint8_t>(length > 60000 ? 255 - random() % 3 : 3 + random() % 240);
            sum += v;
            squares += int64_t{v} * v;
            low = std::min(low, v);
            high = std::max(high, v);
        }
        double mean = 0;
        double deviation = 0;
        meanstdv(length, static_cast<double>(sum), static_cast<double>(squares), &mean, &deviation);
        Doubles d;
        EXPECT_EQ(length, stats(values.data(), length, PIX_BYTE, d));
        EXPECT_EQ(mean, d.mean);
        EXPECT_EQ(deviation, d.deviation);
        EXPECT_EQ(low, d.minimum);
        EXPECT_EQ(high, d.maximum);
    }
}

TEST_P(ArrayStats, LiteralTypes)
{
    const int16_t words[] = {-10, 0, 10};
    const int32_t dwords[] = {-10, 0, 10};
    const float floats[] = {-10, 0, 10};
    const double doubles[] = {-10, 0, 10};
    const struct {
        int32_t type;
        const void* values;
    } cases[] = {{PIX_WORD, words}, {PIX_DWORD, dwords}, {PIX_FLOAT, floats}, {PIX_DFLOAT, doubles}};
    for (const auto& c : cases) {
        Doubles d;
        EXPECT_EQ(3, stats(c.values, 3, c.type, d));
        EXPECT_EQ(0.0, d.mean) << c.type;
        EXPECT_EQ(10.0, d.deviation);
        EXPECT_EQ(-10.0, d.minimum);
        EXPECT_EQ(10.0, d.maximum);
    }
    const float complex[] = {3, 4, 0, 5};
    Doubles d;
    EXPECT_EQ(2, stats(complex, 2, PIX_COMPLEX, d));
    EXPECT_EQ(5.0, d.mean) << "by the complex mode: the magnitude";
}

// The sum is kept in 32 bits, one element after another: 2 to the 24 takes no more ones.
TEST_P(ArrayStats, LiteralSumOfFloatsAndIntegersIsInThirtyTwoBits)
{
    std::vector<float> floats(1001, 1.0F);
    floats[0] = 16777216.0F;
    Doubles d;
    stats(floats.data(), 1001, PIX_FLOAT, d);
    EXPECT_EQ(16777216.0 / 1001, d.mean);
    std::vector<int32_t> dwords(1001, 1);
    dwords[0] = 16777216;
    stats(dwords.data(), 1001, PIX_DWORD, d);
    EXPECT_EQ(16777216.0 / 1001, d.mean);
    EXPECT_EQ(1.0, d.minimum);
    std::reverse(dwords.begin(), dwords.end());
    stats(dwords.data(), 1001, PIX_DWORD, d);
    EXPECT_EQ(16778216.0 / 1001, d.mean) << "the ones first";
}

TEST_P(ArrayStats, LiteralOneElementNullsAndExtremesOfIntegers)
{
    const uint8_t one = 77;
    Doubles d;
    EXPECT_EQ(1, stats(&one, 1, PIX_BYTE, d));
    EXPECT_EQ(77.0, d.mean);
    EXPECT_EQ(0.0, d.deviation);
    const int32_t ends[] = {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()};
    EXPECT_EQ(2, stats(ends, 2, PIX_DWORD, d));
    EXPECT_EQ(-2147483648.0, d.minimum);
    EXPECT_EQ(2147483647.0, d.maximum);
    EXPECT_EQ(2, I_ArrayStatsType(ends, 2, PIX_DWORD, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(ArrayStats, BoundsNothingAroundAnUnalignedArrayIsRead)
{
    std::vector<uint8_t> memory(4 * 9 + 1, 0xFF);
    const float value = 2.0F;
    for (std::size_t i = 0; i < 9; ++i)
        std::memcpy(memory.data() + 1 + 4 * i, &value, sizeof value);
    Doubles d;
    EXPECT_EQ(9, stats(memory.data() + 1, 9, PIX_FLOAT, d));
    EXPECT_EQ(2.0, d.mean);
    EXPECT_EQ(2.0, d.maximum);
}

TEST_P(ArrayStats, FailuresOfArguments)
{
    const uint8_t one = 77;
    Doubles d;
    EXPECT_EQ(0, stats(nullptr, 5, PIX_BYTE, d));
    EXPECT_EQ(0, stats(&one, 0, PIX_BYTE, d));
    EXPECT_EQ(0, stats(&one, -1, PIX_FLOAT, d));
    EXPECT_EQ(9.0, d.mean);
    const std::vector<int16_t> words(100, 3);
    forEachFailingAllocation([&] { return stats(words.data(), 100, PIX_WORD, d); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
}

TEST_P(ArrayStats, LiteralArrayStatsGivesItsHistogram)
{
    const uint8_t values[] = {10, 14, 14, 14};
    uint32_t histogram[256];
    int32_t low = 0;
    int32_t high = 0;
    float deviation = 0;
    EXPECT_EQ(13.0F, I_ArrayStats(values, 4, PIX_BYTE, histogram, &low, &high, &deviation));
    EXPECT_EQ(1U, histogram[10]);
    EXPECT_EQ(3U, histogram[14]);
    EXPECT_EQ(0U, histogram[15]);
    EXPECT_EQ(10, low);
    EXPECT_EQ(14, high);
    EXPECT_EQ(2.0F, deviation);
    EXPECT_EQ(13.0F, I_ArrayStats(values, 4, PIX_BYTE, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0.0F, I_ArrayStats(values, 0, PIX_BYTE, nullptr, &low, &high, &deviation));
    EXPECT_EQ(-1, low);
    EXPECT_EQ(-1, high);
    EXPECT_EQ(0.0F, deviation);
}

TEST_P(ArrayStats, LiteralSumsAndDifferences)
{
    const uint8_t a[] = {0, 255, 100, 10};
    const uint8_t b[] = {255, 255, 0, 10};
    int32_t low = 0;
    int32_t high = 0;
    float deviation = 0;
    EXPECT_EQ(221.25F, I_ArraySumStats(a, b, 4, PIX_BYTE, &low, &high, &deviation)); // 255, 510, 100, 20
    EXPECT_EQ(20, low);
    EXPECT_EQ(510, high);
    EXPECT_FLOAT_EQ(static_cast<float>(std::sqrt(139718.75 / 3)), deviation);
    EXPECT_EQ(-38.75F, I_ArrayDiffStats(a, b, 4, PIX_BYTE, &low, &high, &deviation)); // -255, 0, 100, 0
    EXPECT_EQ(-255, low);
    EXPECT_EQ(100, high);
    EXPECT_FLOAT_EQ(static_cast<float>(std::sqrt(69018.75 / 3)), deviation);
    EXPECT_EQ(0.0F, I_ArrayDiffStats(a, b, 0, PIX_BYTE, &low, &high, &deviation));
    EXPECT_EQ(-256, low);
    EXPECT_EQ(-256, high);
    EXPECT_EQ(0.0F, I_ArraySumStats(a, b, -5, PIX_BYTE, &low, &high, nullptr));
    EXPECT_EQ(-1, low);
    EXPECT_EQ(255.0F, I_ArrayDiffStats(b, a, 1, PIX_BYTE, nullptr, nullptr, nullptr));
}

TEST_P(ArrayStats, FailuresOfOtherTypesAreTold)
{
    const float values[] = {1, 2};
    int32_t low = 9;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0.0F, I_ArrayStats(values, 2, PIX_FLOAT, nullptr, &low, nullptr, nullptr));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("I_ArrayStats: buftype 4 not yet supported"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0.0F, I_ArraySumStats(values, values, 2, PIX_WORD, &low, nullptr, nullptr));
    EXPECT_EQ(0.0F, I_ArrayDiffStats(values, values, 2, PIX_DWORD, &low, nullptr, nullptr));
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_THAT(told, testing::HasSubstr("I_ArrayStatsType: buftype 2 not yet supported"));
    EXPECT_THAT(told, testing::HasSubstr("I_ArrayStatsType: buftype 3 not yet supported"));
    EXPECT_EQ(9, low);
    EXPECT_EQ(0.0F, I_ArrayStats(nullptr, 2, PIX_BYTE, nullptr, &low, nullptr, nullptr));
    EXPECT_EQ(0.0F, I_ArraySumStats(values, nullptr, 2, PIX_BYTE, &low, nullptr, nullptr));
    EXPECT_EQ(0.0F, I_ArrayDiffStats(nullptr, values, 2, PIX_BYTE, &low, nullptr, nullptr));
    EXPECT_EQ(9, low);
}

TEST(ScaledDist, LiteralScalesEachAxis)
{
    const VexaPoint a = {1, 2};
    const VexaPoint b = {4, 6};
    EXPECT_EQ(5.0, scaledDist(&a, &b, 1.0, 1.0));
    EXPECT_EQ(10.0, scaledDist(&b, &a, 2.0, 2.0));
    EXPECT_EQ(6.0, scaledDist(&a, &b, 2.0, 0.0));
    EXPECT_EQ(0.0, scaledDist(&a, &a, 3.0, 4.0));
    const VexaPoint far1 = {std::numeric_limits<int32_t>::min(), 0};
    const VexaPoint far2 = {std::numeric_limits<int32_t>::max(), 0};
    EXPECT_EQ(4294967295.0, scaledDist(&far1, &far2, 1.0, 1.0));
    EXPECT_EQ(0.0, scaledDist(nullptr, &b, 1.0, 1.0));
    EXPECT_EQ(0.0, scaledDist(&a, nullptr, 1.0, 1.0));
}

} // namespace
