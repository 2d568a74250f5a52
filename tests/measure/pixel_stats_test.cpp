#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include <limits>

using namespace vexa::test;

namespace
{

struct Doubles {
    double count = 9;
    double mean = 9;
    double deviation = 9;
    double minimum = 9;
    double maximum = 9;
};
struct Floats {
    float minimum = 9;
    float maximum = 9;
    float mean = 9;
    float deviation = 9;
};

int32_t compute(int32_t im, Doubles& out, int32_t rowStep = 1)
{
    return I_ComputePixelStats(rowStep, &out.count, &out.mean, &out.deviation, &out.minimum, &out.maximum,
                               im);
}
int32_t stats(int32_t im, Floats& out)
{
    return I_PixelStats(im, &out.minimum, &out.maximum, &out.mean, &out.deviation);
}
int32_t maskedStats(int32_t im, int32_t mask, Floats& out, int32_t flag = 1, uint8_t* table = nullptr)
{
    return I_PixelStatsMasked(im, mask, &out.minimum, &out.maximum, &out.mean, &out.deviation, flag, table);
}

// Count, mean and so on of plain values, in long doubles.
Doubles expectedOf(const std::vector<double>& values)
{
    long double sum = 0;
    long double squares = 0;
    for (const double v : values) {
        sum += v;
        squares += static_cast<long double>(v) * v;
    }
    const auto n = static_cast<long double>(values.size());
    const long double variation = std::max<long double>(squares - sum * sum / n, 0);
    return {static_cast<double>(n), static_cast<double>(sum / n),
            n > 1 ? static_cast<double>(std::sqrt(variation / (n - 1))) : 0.0,
            *std::min_element(values.begin(), values.end()), *std::max_element(values.begin(), values.end())};
}

std::vector<double> pixelsOf(int32_t im)
{
    int32_t rows = 0;
    I_ImGetSize(nullptr, &rows, nullptr, im);
    std::vector<double> all;
    for (int32_t y = 0; y < rows; ++y)
        for (const double v : rowOf(im, y))
            all.push_back(v);
    return all;
}

class PixelStats : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        I_SetROIType(0);
        I_SetColorProcMode(3);
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, PixelStats, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(PixelStats, AgainstReferenceBytesOfManyWidths)
{
    for (const int32_t cols : {1, 2, 31, 32, 33, 63, 64, 65, 127, 129, 300, 1000}) {
        const int32_t im =
            byteImage(cols, 3, [](int32_t x, int32_t y) { return 20 + (x * 31 + y * 17) % 200; });
        const Doubles expected = expectedOf(pixelsOf(im));
        Doubles d;
        EXPECT_EQ(3 * cols, compute(im, d));
        EXPECT_EQ(expected.count, d.count);
        EXPECT_DOUBLE_EQ(expected.mean, d.mean);
        EXPECT_NEAR(expected.deviation, d.deviation, 1e-9) << cols;
        EXPECT_EQ(expected.minimum, d.minimum);
        EXPECT_EQ(expected.maximum, d.maximum);
        Floats f;
        EXPECT_EQ(3 * cols, stats(im, f));
        EXPECT_EQ(static_cast<float>(expected.minimum), f.minimum);
        EXPECT_EQ(static_cast<float>(expected.maximum), f.maximum);
        EXPECT_FLOAT_EQ(static_cast<float>(expected.mean), f.mean);
        EXPECT_NEAR(expected.deviation, f.deviation, 1e-4);
        closeImages({im});
    }
}

// The pass without a histogram gives what a histogram gives, to the last bit.
TEST_P(PixelStats, LiteralBytesEqualTheHistogramsStatistics)
{
    for (const int32_t cols : {5, 64, 500, 3000}) {
        const int32_t im = noiseImage(cols, 40, static_cast<uint32_t>(cols));
        uint32_t histogram[256];
        const int32_t count = I_CalcHist(histogram, im);
        Floats f;
        Floats h;
        int32_t low = 0;
        int32_t high = 0;
        EXPECT_EQ(count, stats(im, f));
        I_HistStats(histogram, 0, 255, &low, &high, &h.mean, &h.deviation);
        EXPECT_EQ(static_cast<float>(low), f.minimum);
        EXPECT_EQ(static_cast<float>(high), f.maximum);
        EXPECT_EQ(h.mean, f.mean);
        EXPECT_EQ(h.deviation, f.deviation);
        Doubles d;
        Doubles g;
        EXPECT_EQ(count, compute(im, d));
        I_GetHistStats(histogram, nullptr, &g.mean, &g.deviation);
        EXPECT_EQ(g.mean, d.mean);
        EXPECT_EQ(g.deviation, d.deviation);
        closeImages({im});
    }
}

// More than 2 to the 31 in all: I_PixelStats keeps its sum of values in 32 bits, I_ComputePixelStats does
// not.
TEST_P(PixelStats, LiteralSumsOfValuesWrapInThirtyTwoBits)
{
    const int32_t im = byteImage(3000, 3000);
    I_ImClear(im, 250.0);
    Floats f;
    EXPECT_EQ(9000000, stats(im, f));
    EXPECT_EQ(static_cast<float>((2250000000.0 - 4294967296.0) / 9e6), f.mean);
    EXPECT_EQ(0.0F, f.deviation);
    Doubles d;
    EXPECT_EQ(9000000, compute(im, d));
    EXPECT_EQ(250.0, d.mean);
    EXPECT_EQ(0.0, d.deviation);
    closeImages({im});
}

// A scan list may visit a small image often enough for a product of value and count to wrap.
TEST_P(PixelStats, LiteralProductsWrapWhereAScanListVisitsPixelsOften)
{
    constexpr int32_t cols = 1000;
    const int32_t im = byteImage(cols, 1);
    I_ImClear(im, 255.0);
    std::vector<VexaPoint> runs;
    for (int32_t i = 0; i < 9000; ++i) {
        runs.push_back({0, 0});
        runs.push_back({cols - 1, 0});
    }
    ASSERT_EQ(1, I_SetScanlistROI(runs.data(), static_cast<int32_t>(runs.size())));
    uint32_t histogram[256];
    ASSERT_EQ(9000000, I_CalcHist(histogram, im));
    Floats h;
    I_HistStats(histogram, 0, 255, nullptr, nullptr, &h.mean, &h.deviation);
    Floats f;
    EXPECT_EQ(9000000, stats(im, f));
    EXPECT_EQ(h.mean, f.mean);
    EXPECT_EQ(h.deviation, f.deviation);
    closeImages({im});
}

TEST_P(PixelStats, LiteralConstantImagesAndOnePixel)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT})
        for (const int32_t size : {1, 7}) {
            const int32_t im = image(size, size, type, [](int32_t, int32_t) { return 100; });
            Doubles d;
            EXPECT_EQ(size * size, compute(im, d));
            EXPECT_EQ(100.0, d.mean);
            EXPECT_EQ(0.0, d.deviation) << type;
            EXPECT_EQ(100.0, d.minimum);
            EXPECT_EQ(100.0, d.maximum);
            Floats f;
            EXPECT_EQ(size * size, stats(im, f));
            EXPECT_EQ(100.0F, f.mean);
            EXPECT_EQ(0.0F, f.deviation);
            EXPECT_EQ(100.0F, f.minimum);
            EXPECT_EQ(100.0F, f.maximum);
            closeImages({im});
        }
}

TEST_P(PixelStats, AgainstReferenceFloatsOfManyWidths)
{
    for (const int32_t cols : {1, 7, 8, 9, 15, 16, 17, 100, 513}) {
        const int32_t im =
            floatImage(cols, 5, [](int32_t x, int32_t y) { return std::sin(x * 0.7 + y) * 1000.0 - 300.0; });
        const Doubles expected = expectedOf(pixelsOf(im));
        Doubles d;
        EXPECT_EQ(5 * cols, compute(im, d));
        EXPECT_NEAR(expected.mean, d.mean, 1e-9);
        EXPECT_NEAR(expected.deviation, d.deviation, 1e-7);
        EXPECT_EQ(expected.minimum, d.minimum);
        EXPECT_EQ(expected.maximum, d.maximum);
        closeImages({im});
    }
}

// Element i of a row goes to partial sum i modulo 8; large values in one of them show it.
TEST_P(PixelStats, LiteralFloatSumsAreTheSameOnEverySet)
{
    const int32_t im = floatImage(1003, 17, [](int32_t x, int32_t y) {
        return std::ldexp(1.0 + 0.37 * ((x * 7 + y * 13) % 11), (x * 31 + y * 5) % 60 - 20);
    });
    double lanes[8] = {};
    double squares[8] = {};
    for (int32_t y = 0; y < 17; ++y) {
        const std::vector<double> row = rowOf(im, y);
        for (std::size_t x = 0; x < row.size(); ++x) {
            lanes[x % 8] += row[x];
            squares[x % 8] += row[x] * row[x];
        }
    }
    const auto fold = [](const double* l) {
        return ((l[0] + l[4]) + (l[2] + l[6])) + ((l[1] + l[5]) + (l[3] + l[7]));
    };
    double mean = 0;
    double deviation = 0;
    meanstdv(1003 * 17, fold(lanes), fold(squares), &mean, &deviation);
    Doubles d;
    compute(im, d);
    EXPECT_EQ(mean, d.mean);
    EXPECT_EQ(deviation, d.deviation);
    closeImages({im});
}

TEST_P(PixelStats, LiteralRowStepCountsTheImagesOwnRows)
{
    const int32_t im = floatImage(3, 12, [](int32_t, int32_t y) { return y; });
    Doubles d;
    EXPECT_EQ(9, compute(im, d, 4));
    EXPECT_EQ(4.0, d.mean); // rows 0, 4, 8
    I_SetWindowROI(0, 5, 2, 11);
    EXPECT_EQ(3, compute(im, d, 4));
    EXPECT_EQ(8.0, d.minimum);
    EXPECT_EQ(8.0, d.maximum);
    for (const int32_t all : {1, 0, -4})
        EXPECT_EQ(21, compute(im, d, all));
    const int32_t bytes = byteImage(3, 12);
    EXPECT_EQ(21, compute(bytes, d, 4)) << "the histogram knows no step";
    closeImages({im, bytes});
}

TEST_P(PixelStats, LiteralRegions)
{
    const int32_t floats = floatImage(20, 20, [](int32_t x, int32_t y) { return x + 20 * y; });
    const int32_t words = wordImage(20, 20, [](int32_t x, int32_t y) { return x + 20 * y; });
    const VexaPoint runs[] = {{-5, 1}, {2, 1}, {18, 3}, {40, 3}};
    I_SetScanlistROI(runs, 4);
    for (const int32_t im : {floats, words}) {
        Doubles d;
        EXPECT_EQ(5, compute(im, d)) << "pixels outside the image count for nothing";
        EXPECT_EQ(20.0, d.minimum);
        EXPECT_EQ(79.0, d.maximum);
        EXPECT_EQ((20 + 21 + 22 + 78 + 79) / 5.0, d.mean);
    }
    closeImages({floats, words});
}

TEST_P(PixelStats, LiteralEmptyRegion)
{
    const int32_t bytes = byteImage(4, 4);
    const int32_t floats = floatImage(4, 4);
    const VexaPoint below[] = {{0, 50}, {3, 50}};
    I_SetScanlistROI(below, 2);
    Doubles d;
    EXPECT_EQ(0, compute(bytes, d));
    EXPECT_EQ(0.0, d.count);
    EXPECT_EQ(0.0, d.mean);
    EXPECT_EQ(0.0, d.deviation);
    EXPECT_EQ(256.0, d.minimum);
    EXPECT_EQ(0.0, d.maximum);
    EXPECT_EQ(0, compute(floats, d));
    EXPECT_EQ(0.0, d.count);
    EXPECT_EQ(0.0, d.mean);
    EXPECT_EQ(0.0, d.deviation);
    EXPECT_EQ(1e64, d.minimum);
    EXPECT_EQ(-1e64, d.maximum);
    Floats f;
    EXPECT_EQ(0, stats(bytes, f));
    EXPECT_EQ(-1.0F, f.minimum);
    EXPECT_EQ(-1.0F, f.maximum);
    EXPECT_EQ(0.0F, f.mean);
    EXPECT_EQ(0.0F, f.deviation);
    closeImages({bytes, floats});
}

TEST_P(PixelStats, LiteralNotANumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const int32_t im = I_ImOpen(20, 2, PIX_FLOAT);
    std::vector<float> values(20, 5.0F);
    values[3] = nan;
    values[19] = -7.0F;
    I_PutBlockType(0, 0, 20, 1, values.data(), im, PIX_FLOAT);
    Doubles d;
    EXPECT_EQ(40, compute(im, d));
    EXPECT_EQ(-7.0, d.minimum) << "what is no number is neither the least nor the most";
    EXPECT_EQ(5.0, d.maximum);
    EXPECT_TRUE(std::isnan(d.mean));
    I_PutBlockType(0, 0, 1, 1, &nan, im, PIX_FLOAT);
    compute(im, d);
    EXPECT_TRUE(std::isnan(d.minimum)) << "unless it comes first";
    EXPECT_TRUE(std::isnan(d.maximum));
    closeImages({im});
}

TEST_P(PixelStats, LiteralPaletteIsReadAsFloats)
{
    const int32_t im = I_ImOpen(3, 2, PIX_PALETTE);
    const uint8_t indices[] = {10, 20, 60};
    I_PutBlockType(0, 0, 3, 1, indices, im, PIX_PALETTE);
    I_PutBlockType(0, 1, 3, 1, indices, im, PIX_PALETTE);
    const VexaPoint below[] = {{0, 50}, {3, 50}};
    Doubles d;
    EXPECT_EQ(6, compute(im, d));
    EXPECT_EQ(30.0, d.mean);
    I_SetScanlistROI(below, 2);
    compute(im, d);
    EXPECT_EQ(1e64, d.minimum) << "the float route";
    closeImages({im});
}

TEST_P(PixelStats, LiteralColorGoesThroughBytes)
{
    const int32_t im = I_ImOpen(2, 1, PIX_RGB24);
    const uint8_t rgb[] = {60, 20, 10, 0, 0, 0};
    I_PutBlockType(0, 0, 2, 1, rgb, im, PIX_RGB24);
    Floats f;
    EXPECT_EQ(2, stats(im, f));
    EXPECT_EQ(30.0F, f.maximum);
    EXPECT_EQ(15.0F, f.mean);
    Doubles d;
    EXPECT_EQ(2, compute(im, d));
    EXPECT_EQ(30.0, d.maximum);
    closeImages({im});
}

TEST_P(PixelStats, LiteralOutputsMayBeNull)
{
    for (const int32_t type : {PIX_BYTE, PIX_FLOAT}) {
        const int32_t im = image(5, 5, type, [](int32_t x, int32_t) { return x; });
        EXPECT_EQ(25, I_ComputePixelStats(1, nullptr, nullptr, nullptr, nullptr, nullptr, im));
        EXPECT_EQ(25, I_PixelStats(im, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(25, I_PixelStatsMasked(im, 0, nullptr, nullptr, nullptr, nullptr, 1, nullptr));
        closeImages({im});
    }
}

TEST_P(PixelStats, FailuresLeaveTheOutputsAlone)
{
    Doubles d;
    Floats f;
    const int32_t im = wordImage(40, 30);
    clearError();
    EXPECT_EQ(0, compute(-290, d));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, stats(0, f));
    EXPECT_EQ(0, stats(-290, f));
    EXPECT_EQ(0, maskedStats(-290, 0, f));
    EXPECT_EQ(9.0, d.mean);
    EXPECT_EQ(9.0F, f.mean);
    const auto check = [&](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: ComputePixelStats: "));
    };
    const auto untouched = [&] {
        d = {};
        const int32_t result = compute(im, d);
        EXPECT_TRUE(result != 0 || (d.count == 9.0 && d.mean == 9.0));
        return result;
    };
    forEachFailingAllocation(untouched, check);
    forEachFailingAllocation([&] { return stats(im, f); }, check);
    closeImages({im});
}

class MaskedStats : public PixelStats
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, MaskedStats, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(MaskedStats, LiteralTables)
{
    const int32_t im = byteImage({{10, 20, 30, 40}});
    const int32_t mask = byteImage({{0, 1, 2, 2}});
    Floats f;
    EXPECT_EQ(3, maskedStats(im, mask, f));
    EXPECT_EQ(20.0F, f.minimum);
    EXPECT_EQ(40.0F, f.maximum);
    EXPECT_EQ(30.0F, f.mean);
    EXPECT_EQ(10.0F, f.deviation);
    uint8_t table[256] = {};
    table[2] = 1;
    EXPECT_EQ(2, maskedStats(im, mask, f, 1, table));
    EXPECT_EQ(35.0F, f.mean);
    EXPECT_EQ(0, table[1]);
    std::fill(std::begin(table), std::end(table), uint8_t{0});
    EXPECT_EQ(3, maskedStats(im, mask, f, 1, table));
    EXPECT_EQ(0, table[0]) << "an empty table is filled for the caller";
    EXPECT_EQ(255, table[1]);
    EXPECT_EQ(255, table[255]);
    closeImages({im, mask});
}

TEST_P(MaskedStats, LiteralWithoutMask)
{
    const int32_t im = byteImage({{10, 20, 30, 40}});
    I_SetWindowROI(0, 0, 1, 0);
    Floats f;
    EXPECT_EQ(2, maskedStats(im, 0, f));
    EXPECT_EQ(15.0F, f.mean);
    EXPECT_EQ(10.0F, f.minimum);
    EXPECT_EQ(20.0F, f.maximum);
    closeImages({im});
}

TEST_P(MaskedStats, LiteralOtherTypesAreNotMasked)
{
    const int32_t mask = byteImage({{0, 0, 1}});
    for (const int32_t type : {PIX_WORD, PIX_FLOAT, PIX_PALETTE}) {
        const int32_t im = image(3, 1, type, [](int32_t x, int32_t) { return 10 * x; });
        Floats f;
        clearError();
        EXPECT_EQ(3, maskedStats(im, mask, f));
        EXPECT_EQ(1, I_GetError(nullptr, 0));
        EXPECT_EQ("Masked statistics not yet supported on non-byte images", errorText());
        EXPECT_EQ(10.0F, f.mean) << type;
        clearError();
        EXPECT_EQ(3, maskedStats(im, 0, f));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        closeImages({im});
    }
    closeImages({mask});
}

TEST_P(MaskedStats, FailuresOfTheHistogramFlag)
{
    const int32_t im = byteImage({{10, 20}});
    Floats f;
    EXPECT_EQ(0, maskedStats(im, im, f, 0));
    EXPECT_EQ(0, maskedStats(im, 0, f, 0));
    EXPECT_EQ(9.0F, f.mean);
    EXPECT_EQ(0, maskedStats(im, -290, f)) << "no such mask";
    closeImages({im});
}

class DiffStats : public PixelStats
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, DiffStats, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(DiffStats, AgainstReferenceManyWidths)
{
    for (const int32_t cols : {1, 31, 32, 33, 63, 64, 65, 129, 700}) {
        const int32_t a = noiseImage(cols, 6, 1);
        const int32_t b = noiseImage(cols, 6, 2);
        const std::vector<uint8_t> va = bytesOf(a);
        const std::vector<uint8_t> vb = bytesOf(b);
        int32_t sum = 0;
        int32_t largest = 0;
        for (std::size_t i = 0; i < va.size(); ++i) {
            sum += va[i] - vb[i];
            largest = std::max(largest, std::abs(va[i] - vb[i]));
        }
        float l = 0;
        float s = 0;
        EXPECT_EQ(cols * 6, I_DiffStats(a, b, &l, &s));
        EXPECT_EQ(static_cast<float>(largest), l);
        EXPECT_EQ(static_cast<float>(sum), s);
        closeImages({a, b});
    }
}

TEST_P(DiffStats, LiteralBothSigns)
{
    const int32_t a = byteImage({{10, 20, 30}});
    const int32_t b = byteImage({{15, 20, 10}});
    float largest = 0;
    float sum = 0;
    EXPECT_EQ(3, I_DiffStats(a, b, &largest, &sum));
    EXPECT_EQ(20.0F, largest);
    EXPECT_EQ(15.0F, sum);
    EXPECT_EQ(3, I_DiffStats(b, a, &largest, &sum));
    EXPECT_EQ(20.0F, largest);
    EXPECT_EQ(-15.0F, sum);
    EXPECT_EQ(3, I_DiffStats(a, a, &largest, nullptr));
    EXPECT_EQ(0.0F, largest);
    EXPECT_EQ(3, I_DiffStats(a, a, nullptr, &sum));
    EXPECT_EQ(0.0F, sum);
    closeImages({a, b});
}

TEST_P(DiffStats, LiteralBoxOfTheRegionAndOfTheSmallerImage)
{
    const int32_t a = byteImage(100, 20, [](int32_t x, int32_t) { return x; });
    const int32_t b = floatImage(90, 30, [](int32_t, int32_t y) { return y; });
    I_SetWindowROI(80, 10, 200, 11);
    float largest = 0;
    float sum = 0;
    EXPECT_EQ(20, I_DiffStats(a, b, &largest, &sum));
    EXPECT_EQ(79.0F, largest); // 89 - 10
    EXPECT_EQ(static_cast<float>(2 * 845 - 10 * 21), sum);
    const VexaPoint triangle[] = {{10, 0}, {19, 0}, {10, 9}};
    I_SetPolygonROI(triangle, 3);
    EXPECT_EQ(100, I_DiffStats(a, b, &largest, &sum)) << "a polygon counts as its box";
    closeImages({a, b});
}

TEST_P(DiffStats, LiteralInvertedImageIsReadAsABlock)
{
    const int32_t a = byteImage({{1}, {2}, {50}});
    const int32_t b = byteImage({{50}, {2}, {1}});
    float largest = 9;
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, sizeof inverted, 19, a);
    EXPECT_EQ(3, I_DiffStats(a, b, &largest, nullptr));
    EXPECT_EQ(0.0F, largest);
    I_SetWindowROI(0, 1, 0, 1);
    EXPECT_EQ(1, I_DiffStats(a, b, &largest, nullptr));
    EXPECT_EQ(0.0F, largest) << "one row is the storage row";
    closeImages({a, b});
}

TEST_P(DiffStats, FailuresOfImagesAndMemory)
{
    const int32_t im = byteImage(40, 30);
    const int32_t words = wordImage(40, 30);
    float largest = 9;
    clearError();
    EXPECT_EQ(0, I_DiffStats(im, -290, &largest, nullptr));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_DiffStats(-290, im, &largest, nullptr));
    EXPECT_EQ(0, I_DiffStats(0, 0, &largest, nullptr));
    EXPECT_EQ(9.0F, largest);
    forEachFailingAllocation([&] { return I_DiffStats(im, words, &largest, nullptr); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    closeImages({im, words});
}

} // namespace
