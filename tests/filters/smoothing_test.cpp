#include "vexalib/smoothing.h"

#include <cmath>
#include <numeric>

#include "core/error.h"
#include "operators/clip_table.h"
#include "support/buffer.h"
#include "tests/filters/filter_settings.h"
#include "tests/operators/arithmetic_reference.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/roi_store.h"
#include "vexalib/statistics.h"

namespace
{

using namespace vexa::test;

class LiteralSmoothing : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        I_SetBorderMode(-1, nullptr, 0);
        I_SetROIType(0);
        I_SetClipMode(1);
        I_ImCloseAll();
        clearError();
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralSmoothing, testing::ValuesIn(vexa::availableInstructionSets()));

using Row = std::vector<double>;

TEST_P(LiteralSmoothing, I_SmoothRoundsByFourNinths)
{
    const int32_t src = byteImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 100}});
    const int32_t dest = byteImage(3, 3);
    EXPECT_EQ(1, I_Smooth(src, dest));
    EXPECT_EQ((Row{2, 3, 4}), rowOf(dest, 0));   // 21, 27 and 33 with the edge repeated
    EXPECT_EQ((Row{4, 15, 26}), rowOf(dest, 1)); // 39 + 4, 136 + 4, 233 + 4 by 9
    const int32_t floats =
        floatImage(3, 3, [](int32_t x, int32_t y) { return x == 1 && y == 1 ? 9.0 : 0.0; });
    EXPECT_EQ(1, I_Smooth(floats, floats));
    EXPECT_EQ((Row{1, 1, 1}), rowOf(floats, 0));
}

TEST_P(LiteralSmoothing, I_SharpenAddsTheDifferenceToTheMean)
{
    const int32_t src = byteImage(5, 5, [](int32_t x, int32_t y) { return x == 2 && y == 2 ? 108 : 100; });
    const int32_t dest = byteImage(5, 5);
    EXPECT_EQ(1, I_Sharpen(src, dest, 16, 1, 0));
    EXPECT_EQ((Row{100, 99, 116, 99, 100}), rowOf(dest, 2)); // 8 * 16 / 128 = 1 either way, 64 * 16 / 128 = 8
    EXPECT_EQ(1, I_Sharpen(src, dest, 16, 2, 0));
    EXPECT_EQ((Row{99, 100, 116, 100, 99}), rowOf(dest, 2));
    I_SetClipMode(0);
    EXPECT_EQ(1, I_Sharpen(src, dest, 15, 1, 1));
    EXPECT_EQ((Row{0, 0, 7, 0, 0}), rowOf(dest, 2)); // -120 / 128 truncates to 0, 960 / 128 to 7
    EXPECT_EQ(0, I_Sharpen(src, dest, 16, 0, 0));
    EXPECT_EQ("I_Sharpen: width=0", errorText());
}

TEST_P(LiteralSmoothing, I_MxNSmoothWeighsTheEnds)
{
    const int32_t src = floatImage(7, 2, [](int32_t x, int32_t) { return x == 3 ? 60.0 : 0.0; });
    const int32_t dest = floatImage(7, 2);
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 3.0F, 1.0F));
    EXPECT_EQ((Row{0, 0, 20, 20, 20, 0, 0}), rowOf(dest, 0));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 2.0F, 0.5F));
    EXPECT_EQ((Row{0, 0, 15, 30, 15, 0, 0}), rowOf(dest, 0));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 1.5F, 1.0F));
    EXPECT_EQ((Row{0, 0, 10, 40, 10, 0, 0}), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 1.0F, 1.0F));
    EXPECT_EQ((Row{0, 0, 0, 60, 0, 0, 0}), rowOf(dest, 1));
}

TEST_P(LiteralSmoothing, I_MxNSmoothOfWhiteByThirteenIsBlack)
{
    const int32_t white = byteImage(40, 3, [](int32_t, int32_t) { return 255; });
    const int32_t dest = byteImage(40, 3);
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 13.0F, 1.0F)); // (13 * 255 * 79 + 512) >> 10 = 256
    EXPECT_EQ(Row(40, 0.0), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 1.0F, 13.0F));
    EXPECT_EQ(Row(40, 0.0), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 15.0F, 1.0F)); // (15 * 255 * 68 + 512) >> 10 = 254
    EXPECT_EQ(Row(40, 254.0), rowOf(dest, 1));
}

TEST_P(LiteralSmoothing, I_ShiftSharpenByAlmostNothingCopies)
{
    const int32_t src = byteImage({{10, 20, 30, 40}, {50, 60, 70, 80}});
    const int32_t dest = byteImage(4, 2);
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.005F, 0.0F, 1.0F));
    EXPECT_EQ((Row{10, 20, 30, 40}), rowOf(dest, 0));
    I_ImClear(dest, 0.0);
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.995F, 0.0F, 1.0F));
    EXPECT_EQ((Row{10, 20, 30, 40}), rowOf(dest, 0));
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.5F, 0.0F, 0.0F));
    EXPECT_EQ((Row{15, 25, 35, 40}), rowOf(dest, 0)); // the last column has no source and keeps what it had
}

int32_t plainMean(int32_t src, int32_t dst)
{
    if (narrowest(src, dst) < 2)
        return runNineBytes(src, dst, 3, 3, [](const Nine<uint8_t>& nine) {
            return static_cast<uint8_t>((std::accumulate(nine.begin(), nine.end(), 0) + 4) / 9);
        });
    return runNine<float>(src, dst, 3, 3, PIX_FLOAT, [](const Nine<float>& nine) {
        return static_cast<float>(std::accumulate(nine.begin(), nine.end(), 0.0) / 9.0);
    });
}

TEST(AgainstReferenceSmoothing, I_Smooth)
{
    expectSame(I_Smooth, plainMean);
}

int32_t plainSharpen(int32_t src, int32_t dst, int32_t strength, int32_t width, bool keep, int32_t mode)
{
    const int32_t size = 2 * width + 1;
    if (widest(src, dst) == PIX_BYTE)
        return runNineBytes(src, dst, size, size, [=](const Nine<uint8_t>& nine) {
            const int32_t around = std::accumulate(nine.begin(), nine.end(), 0) - nine[4];
            const int64_t t = wrap32(int64_t{8 * nine[4] - around} * strength);
            return clippedByte(Slot::both, mode, t / 128 + (keep ? nine[4] : 0));
        });
    const vexa::ClipLimits limits = vexa::clipLimits();
    return runNine<float>(src, dst, size, size, PIX_FLOAT, [=](const Nine<float>& nine) {
        double around = 0.0;
        for (const std::size_t k : {0U, 1U, 2U, 3U, 5U, 6U, 7U, 8U})
            around += nine[k];
        const double t = (8.0 * nine[4] - around) * strength * 0.0078125;
        const auto x = static_cast<float>(keep ? t + nine[4] : t);
        const auto clip = [=](float y) {
            return y < limits.low ? limits.low : limits.high != 0.0F && y >= limits.high ? limits.high : y;
        };
        switch (mode) {
        case 1:
            return clip(x);
        case 2:
            return std::fabs(x);
        case 3:
            return clip(x + 128.0F);
        case 4:
            return clip(x * 0.5F + 128.0F);
        case 7:
            return x * x;
        default:
            return x;
        }
    });
}

TEST(AgainstReferenceSmoothing, I_SharpenInEveryClipMode)
{
    const int32_t strengths[] = {16, 40, -25, 2000, -2000, 2001, 0, 1, 123456789, INT32_MIN};
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        for (const int32_t strength : strengths) {
            const int32_t width = 1 + (strength & 3);
            const bool keep = (strength / 4) % 3 != 0;
            expectSame(
                [=](int32_t src, int32_t dst) { return I_Sharpen(src, dst, strength, width, !keep); },
                [=](int32_t src, int32_t dst) { return plainSharpen(src, dst, strength, width, keep, mode); },
                kAllTypes, 5);
        }
    }
    I_SetClipMode(1);
}

// A lattice wider than what shares its column sums.
TEST(AgainstReferenceSmoothing, I_SharpenFarOff)
{
    expectSame([](int32_t src, int32_t dst) { return I_Sharpen(src, dst, 33, 150, 0); },
               [](int32_t src, int32_t dst) { return plainSharpen(src, dst, 33, 150, true, 1); }, kAllTypes,
               12);
}

// A pass of the moving average through the public frame.
struct PlainWindow {
    int32_t samples;
    float edge;
    float area;
};

PlainWindow plainWindow(float size)
{
    const int32_t samples = static_cast<int32_t>(std::ceil(size)) | 1;
    return {samples,
            static_cast<float>(samples) == size ? 0.0F : (size - static_cast<float>(samples - 2)) * 0.5F,
            size};
}

// The samples of output i in their order: along the row, or down the rows.
template <typename Pixel>
std::vector<Pixel> samplesAt(void** rows, int32_t width, int32_t height, int32_t i)
{
    std::vector<Pixel> samples;
    for (int32_t k = 0; k < height; ++k)
        for (int32_t j = 0; j < width; ++j)
            samples.push_back(static_cast<const Pixel*>(rows[k])[i + j]);
    return samples;
}

int32_t plainByteRow(int32_t, int32_t, int32_t width, int32_t height, void** rows, void* out, void*,
                     int32_t n, void* user)
{
    const auto& window = *static_cast<const PlainWindow*>(user);
    const auto scale = static_cast<int64_t>(std::floor(static_cast<float>(1024.0 / window.area) + 0.5F));
    const auto e = static_cast<int64_t>(window.edge * 1024.0F);
    for (int32_t i = 0; i < n; ++i) {
        const std::vector<uint8_t> p = samplesAt<uint8_t>(rows, width, height, i);
        int64_t sum = std::accumulate(p.begin(), p.end(), int64_t{0});
        if (e != 0)
            sum += ((int64_t{p.front()} + p.back()) * e >> 10) - p.front() - p.back();
        static_cast<uint8_t*>(out)[i] = static_cast<uint8_t>((sum * scale + 512) >> 10);
    }
    return 0;
}

int32_t plainFloatRow(int32_t, int32_t, int32_t width, int32_t height, void** rows, void* out, void*,
                      int32_t n, void* user)
{
    const auto& window = *static_cast<const PlainWindow*>(user);
    for (int32_t i = 0; i < n; ++i) {
        const std::vector<float> p = samplesAt<float>(rows, width, height, i);
        double sum = 0.0;
        for (std::size_t k = 0; k < p.size(); ++k)
            sum += p[k] * (window.edge != 0.0F && (k == 0 || k + 1 == p.size()) ? double{window.edge} : 1.0);
        static_cast<float*>(out)[i] = static_cast<float>(sum * (1.0 / window.area));
    }
    return 0;
}

void plainPass(int32_t src, int32_t dst, float size, bool rows)
{
    PlainWindow window = plainWindow(size);
    const bool bytes = narrowest(src, dst) == PIX_BYTE;
    I_MxNOperatorType(src, dst, rows ? window.samples : 1, rows ? 1 : window.samples, &window,
                      bytes ? plainByteRow : plainFloatRow, bytes ? PIX_BYTE : PIX_FLOAT);
}

int32_t plainBox(int32_t src, int32_t dst, float width, float height)
{
    int32_t cols = 0;
    I_ImGetSize(&cols, nullptr, nullptr, dst);
    VexaBox box = {};
    I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, dst);
    const std::vector<uint8_t> before = [&] {
        std::vector<uint8_t> all(static_cast<std::size_t>(cols * (box.bottom - box.top + 1)) * 16);
        I_GetBlockType(0, box.top, cols, box.bottom - box.top + 1, all.data(), dst, I_ImGetType(dst));
        return all;
    }();
    const int32_t left = static_cast<int32_t>(std::max(0.0F, static_cast<float>(box.left) - width * 0.5F));
    const int32_t right = static_cast<int32_t>(
        std::min(static_cast<float>(cols - 1), static_cast<float>(box.right) + width * 0.5F));
    const bool widened = left < box.left || right > box.right;
    if (height > 1.0F) {
        if (widened)
            I_PushWindowROI(left, box.top, right, box.bottom);
        plainPass(src, dst, height, false);
        if (widened)
            I_PopROI();
    } else {
        I_ROICopy(src, dst, 0, 0);
    }
    if (width > 1.0F)
        plainPass(dst, dst, width, true);
    // The columns beside the box hold what they held.
    if (height > 1.0F && widened) {
        const int32_t bytes = I_ImTypeBytes(I_ImGetType(dst));
        const int32_t rows = box.bottom - box.top + 1;
        for (int32_t x = left; x <= right; ++x) {
            if (x >= box.left && x <= box.right)
                continue;
            std::vector<uint8_t> column;
            for (int32_t k = 0; k < rows; ++k)
                column.insert(column.end(), before.begin() + (k * cols + x) * bytes,
                              before.begin() + (k * cols + x + 1) * bytes);
            I_PutBlockType(x, box.top, 1, rows, column.data(), dst, I_ImGetType(dst));
        }
    }
    return 1;
}

TEST(AgainstReferenceSmoothing, I_MxNSmooth)
{
    const float sizes[][2] = {
        {3, 3},   {1, 3},     {3, 1},        {2, 2},     {1.5F, 4.25F}, {5, 5},           {13, 2.0005F},
        {1, 1},   {4.2F, 7},  {15, 9},       {31, 1},    {1, 31},       {9, 8.5F},        {100.5F, 1.25F},
        {257, 3}, {259, 257}, {258.5F, 260}, {600, 515}, {3000, 2500},  {1.001F, 1.001F}, {0.5F, 6}};
    for (const auto& [width, height] : sizes)
        expectSame([w = width, h = height](int32_t src, int32_t dst) { return I_MxNSmooth(src, dst, w, h); },
                   [w = width, h = height](int32_t src, int32_t dst) { return plainBox(src, dst, w, h); },
                   kAllTypes, width * height > 2000 ? 8 : 14);
}

// NaN and infinity, and numbers beside which others vanish, leave no trace outside their windows.
TEST(AgainstReferenceSmoothing, I_MxNSmoothForgetsWhatLeavesTheWindow)
{
    constexpr int32_t kSize = 90;
    const float windows[][2] = {{11.0F, 13.0F}, {7.0F, 5.0F}, {16.5F, 9.0F}, {29.0F, 31.0F}};
    for (const double wild : {static_cast<double>(NAN), static_cast<double>(INFINITY), 1e30}) {
        const int32_t src = floatImage(
            kSize, kSize, [=](int32_t x, int32_t y) { return x == 40 && y == 40 ? wild : 0.25 * (x + y); });
        for (const auto& [width, height] : windows) {
            const int32_t reachX = static_cast<int32_t>(std::ceil(width)) / 2;
            const int32_t reachY = static_cast<int32_t>(std::ceil(height)) / 2;
            for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
                vexa::limitInstructionSet(set);
                const int32_t dst = floatImage(kSize, kSize);
                EXPECT_EQ(1, I_MxNSmooth(src, dst, width, height));
                EXPECT_FALSE(std::fabs(pixel(dst, 40 + reachX - 1, 40 + reachY - 1)) < 1e20);
                for (int32_t y = reachY; y < kSize - reachY; ++y)
                    for (int32_t x = reachX; x < kSize - reachX; ++x)
                        if (std::abs(x - 40) > reachX || std::abs(y - 40) > reachY) {
                            ASSERT_NEAR(0.25 * (x + y), pixel(dst, x, y), 1e-5)
                                << x << ' ' << y << ' ' << width;
                        }
                I_ImClose(dst);
            }
        }
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        I_ImClose(src);
    }
    I_ImCloseAll();
}

// Floats of so many magnitudes that their sums are not exact: as near as doubles come, and alike on every set.
TEST(AgainstReferenceSmoothing, I_MxNSmoothOfManyMagnitudes)
{
    constexpr int32_t kCols = 700;
    std::mt19937 random(11);
    const int32_t src = floatImage(kCols, 3, [&](int32_t, int32_t) {
        const auto exponent = -static_cast<int32_t>(random() % 60);
        return std::ldexp(1.0 + static_cast<double>(random() % 8388608) / 8388608, exponent);
    });
    for (const float width :
         {3.0F, 6.5F, 7.0F, 9.0F, 15.0F, 16.0F, 17.0F, 31.0F, 64.5F, 101.0F, 259.0F, 801.0F}) {
        std::vector<uint8_t> first;
        for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
            vexa::limitInstructionSet(set);
            const int32_t dst = floatImage(kCols, 3);
            EXPECT_EQ(1, I_MxNSmooth(src, dst, width, 1.0F));
            if (first.empty())
                first = bytesOf(dst);
            EXPECT_EQ(first, bytesOf(dst)) << width;
            I_ImClose(dst);
        }
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        const int32_t expected = I_CloneImage(src, 0, 1);
        plainPass(expected, expected, width, true);
        const int32_t found = I_CloneImage(src, 0, 0);
        I_MxNSmooth(src, found, width, 1.0F);
        for (int32_t x = 0; x < kCols; ++x) {
            const double value = pixel(expected, x, 1);
            ASSERT_NEAR(value, pixel(found, x, 1), value * 1.2e-7) << x << ' ' << width;
        }
        I_ImClose3(expected, found, 0);
    }
    I_ImCloseAll();
}

int32_t plainUnsharp(int32_t src, int32_t dst, float width, float height, float gain)
{
    const int32_t low = I_CloneImage(src, PIX_FLOAT, 0);
    const int32_t previous = I_SetBorderMode(-2, nullptr, PIX_FLOAT);
    plainBox(src, low, width, height);
    I_SetBorderMode(previous, nullptr, PIX_FLOAT);
    float mean = 0.0F;
    I_PixelStats(low, nullptr, nullptr, &mean, nullptr);
    I_Subtract(src, low, low, 0, 0);
    const float factor = gain <= 0.1F ? 1.0F : gain;
    I_ScaleIntensityROI(low, dst, double{mean} / factor, factor);
    I_ImClose(low);
    return 1;
}

TEST(AgainstReferenceSmoothing, I_UnsharpMask)
{
    for (const float gain : {0.0F, 1.0F, 2.5F})
        expectSame([=](int32_t src, int32_t dst) { return I_UnsharpMask(src, dst, 7.0F, 5.5F, gain); },
                   [=](int32_t src, int32_t dst) { return plainUnsharp(src, dst, 7.0F, 5.5F, gain); },
                   {PIX_BYTE, PIX_WORD, PIX_FLOAT}, 20);
}

class FailuresSmoothing : public NeighbourhoodFilters
{
protected:
    int32_t src = noiseImage(30, 20, 1);
    int32_t dst = noiseImage(30, 20, 2);
};

TEST_F(FailuresSmoothing, UnsharpMaskLeavesTheBorderModeAndNoImage)
{
    I_SetBorderMode(-5, nullptr, 0);
    EXPECT_EQ(1, I_UnsharpMask(src, dst, 5.0F, 5.0F, 1.0F));
    EXPECT_EQ(2, I_ImCount());
    EXPECT_EQ(-5, I_SetBorderMode(-1, nullptr, 0));
    EXPECT_EQ(0, I_UnsharpMask(-90, dst, 5.0F, 5.0F, 1.0F));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
}

TEST_F(FailuresSmoothing, TheRegionAndTheStripsBesideItAreAsBefore)
{
    const std::vector<uint8_t> before = bytesOf(dst);
    I_SetWindowROI(10, 5, 19, 14);
    EXPECT_EQ(1, I_MxNSmooth(src, dst, 9.0F, 7.0F));
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    I_GetWindowROI(&left, &top, &right, &bottom);
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_THAT((std::vector{left, top, right, bottom}), testing::ElementsAre(10, 5, 19, 14));
    const std::vector<uint8_t> after = bytesOf(dst);
    for (std::size_t i = 0; i < before.size(); ++i) {
        const std::size_t x = i % 30;
        const std::size_t y = i / 30;
        if (x < 10 || x > 19 || y < 5 || y > 14) {
            ASSERT_EQ(before[i], after[i]) << x << ' ' << y;
        }
    }
    EXPECT_NE(before, after);
}

TEST_F(FailuresSmoothing, ImagesThatAreNotOpen)
{
    EXPECT_EQ(0, I_Smooth(-90, dst));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_Sharpen(src, -90, 16, 1, 0));
    EXPECT_EQ(1, I_MxNSmooth(-90, dst, 3.0F, 3.0F));
    EXPECT_EQ(1, I_MxNSmooth(src, -90, 3.0F, 3.0F));
    EXPECT_EQ(0, I_Sharpen(src, dst, 16, -7, 0));
    EXPECT_EQ("I_Sharpen: width=-7", errorText());
    EXPECT_EQ(0, I_Sharpen(src, dst, 16, INT32_MAX, 0));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
}

TEST_F(FailuresSmoothing, WithoutMemory)
{
    const auto failed = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
    };
    forEachFailingAllocation([&] { return I_Smooth(src, dst); }, failed);
    forEachFailingAllocation([&] { return I_Sharpen(src, dst, 16, 1, 0); }, failed);
    // Sums that find no memory cost time only; all else leaves an error.
    const auto one = [](int64_t result) { EXPECT_EQ(1, result); };
    I_SetWindowROI(10, 5, 19, 14);
    forEachFailingAllocation([&] { return I_MxNSmooth(src, dst, 9.0F, 7.0F); }, one);
    EXPECT_EQ(1, I_GetROIType());
    const Messages messages;
    forEachFailingAllocation([&] { return I_UnsharpMask(src, dst, 5.0F, 5.0F, 1.0F); }, [](int64_t) {});
    EXPECT_EQ(2, I_ImCount());
}

// What finds no memory for its sums computes the same.
TEST_F(FailuresSmoothing, WithoutMemoryForSumsTheResultIsTheSame)
{
    const int32_t floats = I_CloneImage(src, PIX_FLOAT, 1);
    // Beside this number others vanish, in whatever order they are added.
    const int32_t huge = I_CloneImage(floats, 0, 1);
    const float number = 1e30F;
    I_PutBlockType(20, 10, 1, 1, &number, huge, PIX_FLOAT);
    const float sizes[][2] = {{1, 3}, {1, 9}, {1, 12.5F}, {1, 300}, {17, 1}, {30.5F, 1}};
    for (const int32_t im : {src, floats, huge}) {
        for (const auto& [width, height] : sizes) {
            if (im == src && width > 1) // bytes keep no sums along a row
                continue;
            const int32_t expected = I_CloneImage(im, 0, 0);
            const int32_t found = I_CloneImage(im, 0, 0);
            EXPECT_EQ(1, I_MxNSmooth(im, expected, width, height));
            bool same = false;
            // The sums are one of the first allocations.
            for (int64_t n = 1; n < 8 && !same; ++n) {
                I_ImClear(found, 0.0);
                clearError();
                vexa::failAllocation(n, false);
                I_MxNSmooth(im, found, width, height);
                const bool met = vexa::allocationState().failed > 0;
                vexa::failAllocation(0, false);
                same = met && I_GetError(nullptr, 0) == 0 && bytesOf(expected) == bytesOf(found);
            }
            EXPECT_TRUE(same) << width << ' ' << height;
            I_ImClose3(expected, found, 0);
        }
    }
}

int32_t smoothBreakCount = 0;

TEST_F(FailuresSmoothing, BreakEndsAPass)
{
    smoothBreakCount = 0;
    vexa::setUserBreakHook([](int32_t) { return static_cast<int32_t>(++smoothBreakCount == 1); });
    const std::vector<uint8_t> before = bytesOf(dst);
    EXPECT_EQ(0, I_Smooth(src, dst));
    EXPECT_EQ(6, I_GetError(nullptr, 0));
    EXPECT_EQ(before, bytesOf(dst));
    vexa::setUserBreakHook(nullptr);
}

} // namespace
