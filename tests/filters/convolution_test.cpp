#include "vexalib/convolution.h"

#include "core/error.h"
#include "support/guard.h"
#include "tests/filters/convolution_reference.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;

class LiteralConvolution : public ConvolutionSuite
{
};
class AgainstReferenceConvolution : public ConvolutionSuite
{
};
class BoundsConvolution : public ConvolutionSuite
{
};
class FailuresConvolution : public ConvolutionSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralConvolution, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceConvolution, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, BoundsConvolution, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresConvolution, everySet(), setName);

TEST_P(LiteralConvolution, SmoothingAcrossAnEdge)
{
    const int32_t im = byteImage({{0, 0, 0, 160, 160}, {0, 0, 0, 160, 160}, {0, 0, 0, 160, 160}});
    const int32_t dest = byteImage(5, 3);
    int32_t weights[] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, weights, 0, im, dest));
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_THAT(rowOf(dest, y), ElementsAre(0, 0, 40, 120, 160));
}

TEST_P(LiteralConvolution, TheKernelIsNotTurnedAround)
{
    const int32_t im = byteImage({{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 100, 0, 0}, {0, 0, 0, 0, 0}});
    const int32_t dest = byteImage(5, 4);
    int32_t weights[] = {1, 2, 3, 4, 5, 6}; // 3 columns, 2 rows
    EXPECT_EQ(1, I_MxNConvolve(3, 2, weights, 100, im, dest));
    EXPECT_THAT(rowOf(dest, 1), ElementsAre(0, 0, 0, 0, 0));
    EXPECT_THAT(rowOf(dest, 2), ElementsAre(0, 6, 5, 4, 0));
    EXPECT_THAT(rowOf(dest, 3), ElementsAre(0, 3, 2, 1, 0));
}

TEST_P(LiteralConvolution, QuotientsAreRoundedByHalfAndTruncated)
{
    const int32_t im = byteImage({{10, 10}, {10, 10}});
    const int32_t dest = byteImage(2, 2);
    struct {
        int32_t weight, divisor, mode, expected;
    } const cases[] = {
        {1, 4, 0, 3},    // 12 / 4
        {1, 20, 0, 1},   // 20 / 20
        {1, 21, 0, 0},   // 20 / 21 below 1
        {-1, 4, 0, 254}, // -8 / 4 = -2
        {1, -4, 0, 254}, // 8 / -4 = -2
        {-1, -4, 0, 3},  // -12 / -4
        {-1, 3, 0, 253}, // -9 / 3
        {-1, 4, 1, 0},
        {-1, 4, 2, 2},
        {-1, 4, 3, 126},
        {-1, 4, 4, 127},
        {-1, 4, 5, 254},
        {-1, 4, 6, 255},
        {-1, 4, 7, 4},
        {100, 1, 1, 255},
        {100, 1, 0, 232},
        {-100, -1, 0, 232},
        {1000000, 40000, 1, 250},
    };
    for (const auto& c : cases) {
        I_SetClipMode(c.mode);
        int32_t weight = c.weight;
        ASSERT_EQ(1, I_MxNConvolve(1, 1, &weight, c.divisor, im, dest));
        EXPECT_EQ(c.expected, pixel(dest, 1, 1)) << c.weight << " / " << c.divisor << ", mode " << c.mode;
    }
}

TEST_P(LiteralConvolution, ADivisorOfZeroIsTheMagnitudeOfTheSum)
{
    const int32_t im = noiseImage(20, 10, 5);
    const int32_t dest = byteImage(20, 10);
    int32_t minus[] = {0, 0, 0, 0, -7, 0, 0, 0, 0};
    I_SetClipMode(2);
    EXPECT_EQ(1, I_MxNConvolve(3, 3, minus, 0, im, dest));
    // (-7 p + 3) / 7 is truncated toward zero: half of a positive divisor is added whatever the sign of the sum.
    const std::vector<uint8_t> in = bytesOf(im);
    EXPECT_EQ(expectedBytes(20, 10,
                            [&](int32_t x, int32_t y) {
                                return std::max(in[static_cast<std::size_t>(y * 20 + x)] - 1, 0);
                            }),
              bytesOf(dest));
    EXPECT_THAT(minus, ElementsAre(0, 0, 0, 0, -7, 0, 0, 0, 0));
}

TEST_P(LiteralConvolution, AZeroSumKernelIsChangedInPlace)
{
    const int32_t im = noiseImage(20, 10, 5);
    const int32_t dest = byteImage(20, 10);
    std::vector<int32_t> zeros(15, 0);
    EXPECT_EQ(1, I_MxNConvolve(5, 3, zeros.data(), 0, im, dest));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_THAT(zeros, ElementsAre(0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
    std::vector<int32_t> even(8, 0);
    EXPECT_EQ(1, I_MxNConvolve(4, 2, even.data(), 0, im, dest));
    EXPECT_THAT(even, ElementsAre(0, 0, 0, 0, 1, 0, 0, 0));
    int32_t gradient[] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, gradient, 0, im, dest));
    EXPECT_EQ(1, gradient[4]);
    // The change is made before the rows are counted.
    std::vector<int32_t> tall(1025, 0);
    EXPECT_EQ(0, I_MxNConvolve(1, 1025, tall.data(), 0, im, dest));
    EXPECT_EQ(1, tall[512]);
}

TEST_P(LiteralConvolution, TellsItsProgress)
{
    static std::vector<std::string> texts;
    texts.clear();
    I_SetProgressCallback([](float, const char* text) { texts.emplace_back(text); }, 1000000);
    const vexa::Guard restore([] { I_SetProgressCallback(nullptr, 0); });
    const int32_t im = noiseImage(9, 9, 1);
    int32_t weight = 1;
    EXPECT_EQ(1, I_MxNConvolve(1, 1, &weight, 1, im, im));
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ("Convolve", texts.back());
}

TEST_P(AgainstReferenceConvolution, EverySizeOnBytes)
{
    std::mt19937 random(1);
    const int32_t im = noiseImage(70, 50, 2);
    for (int32_t M = 1; M <= 9; ++M)
        for (int32_t N = 1; N <= 9; ++N)
            compareBytes(randomWeights(random, M, N, kReaches[(M * 9 + N) % 11]), im);
    for (const int64_t reach : kReaches) {
        compareBytes(randomWeights(random, 3, 3, reach), im);
        compareBytes(randomWeights(random, 15, 15, reach), im);
        compareBytes(randomWeights(random, 2, 33, reach, 77), im);
        compareBytes(randomWeights(random, 41, 2, reach, -13), im);
    }
}

TEST_P(AgainstReferenceConvolution, EveryImageSizeAndBorder)
{
    std::mt19937 random(3);
    const uint16_t word = 300; // no byte: its low byte counts
    for (const int32_t border : {-1, -2, -9, 0, 200}) {
        I_SetBorderMode(border, border == 200 ? nullptr : &word, border == 200 ? 0 : PIX_WORD);
        for (const int32_t cols : {1, 2, 3, 5, 15, 16, 17, 31, 32, 33, 63, 64, 65, 70}) {
            const int32_t rows = cols == 1 ? 2 : 1 + static_cast<int32_t>(random() % 50);
            const int32_t im = noiseImage(cols, rows, static_cast<uint32_t>(cols));
            const auto M = static_cast<int32_t>(1 + random() % 9);
            const auto N = static_cast<int32_t>(1 + random() % 9);
            for (const int64_t reach : {int64_t{1}, int64_t{100}, int64_t{1000}, int64_t{1} << 31})
                compareBytes(randomWeights(random, M, N, reach), im);
            I_ImClose(im);
        }
    }
}

// The same numbers without the frame: every pixel from the image itself.
TEST_P(AgainstReferenceConvolution, PixelByPixelWithEveryBorder)
{
    std::mt19937 random(8);
    const int32_t cols = 29;
    const int32_t rows = 13;
    const int32_t im = noiseImage(cols, rows, 4);
    const int32_t dest = byteImage(cols, rows);
    const std::vector<uint8_t> in = bytesOf(im);
    for (const int32_t border : {-1, 77}) {
        I_SetBorderMode(border, nullptr, 0);
        for (const int64_t reach : {int64_t{1}, int64_t{100}, int64_t{9000}}) {
            Weights w = randomWeights(random, 5, 4, reach, 31);
            EXPECT_EQ(1, I_MxNConvolve(5, 4, w.k.data(), 31, im, dest));
            const auto at = [&](int32_t x, int32_t y) -> int64_t {
                if (border >= 0 && (x < 0 || x >= cols || y < 0 || y >= rows))
                    return border;
                x = std::clamp(x, 0, cols - 1);
                y = std::clamp(y, 0, rows - 1);
                return in[static_cast<std::size_t>(y * cols + x)];
            };
            EXPECT_EQ(expectedBytes(cols, rows,
                                    [&](int32_t x, int32_t y) {
                                        int64_t sum = 0;
                                        for (int32_t r = 0; r < 4; ++r)
                                            for (int32_t c = 0; c < 5; ++c)
                                                sum += w.at(r, c) * at(x + c - 2, y + r - 2);
                                        return std::clamp<int64_t>(wholeQuotient(sum, 31), 0, 255);
                                    }),
                      bytesOf(dest))
                << "border " << border << ", elements up to " << reach;
        }
    }
}

TEST_P(AgainstReferenceConvolution, EveryClipMode)
{
    std::mt19937 random(5);
    const int32_t im = noiseImage(67, 20, 6);
    for (int32_t mode = 0; mode < 8; ++mode) {
        for (const int32_t highest : {255, 251}) {
            vexa::displayState().highestPixel = highest;
            I_SetClipMode(mode);
            compareBytes(randomWeights(random, 3, 3, 10, 3), im);
            compareBytes(randomWeights(random, 3, 3, 10, -2), im);
            compareBytes(randomWeights(random, 5, 5, 120, 1), im);
            compareBytes(randomWeights(random, 4, 3, 2000, 90), im);
            compareBytes(randomWeights(random, 3, 2, 100000, -700), im);
        }
    }
}

// Quotients at their turning points: every sum from the narrow form's range, and divisors of every size.
TEST_P(AgainstReferenceConvolution, EveryDivisor)
{
    I_SetClipMode(0);
    const int32_t im = byteImage(256, 4, [](int32_t x, int32_t) { return x; });
    std::mt19937 random(6);
    std::vector<int32_t> divisors = {
        1,      -1,      2,       -2,      3,          5,         7,         127,          128,
        129,    255,     -256,    32638,   32767,      32768,     32769,     65535,        65536,
        -65537, 1 << 23, 1 << 24, 1 << 30, -(1 << 30), INT32_MAX, INT32_MIN, INT32_MIN + 1};
    for (int32_t i = 0; i < 60; ++i)
        divisors.push_back(static_cast<int32_t>(1 + random() % (i < 30 ? 300 : 60000)));
    for (const int32_t divisor : divisors)
        for (const int32_t weight :
             {1, 2, -3, 50, 100, -127, 128, 1000, -20000, 70000, 8421504, INT32_MAX, INT32_MIN})
            compareBytes({2, 1, {weight, weight / 3}, divisor}, im);
}

TEST_P(AgainstReferenceConvolution, KernelsWhoseRowsMirror)
{
    std::mt19937 random(7);
    const int32_t im = noiseImage(70, 40, 9);
    for (int32_t N = 2; N <= 12; ++N) {
        for (const int64_t reach : {int64_t{20}, int64_t{1000}, int64_t{32000}}) {
            Weights w = randomWeights(random, 7, N, reach);
            for (int32_t r = 0; r < N / 2; ++r)
                std::copy_n(w.k.begin() + r * 7, 7, w.k.begin() + (N - 1 - r) * 7);
            compareBytes(w, im);
            w.k.back() += 1; // and one that almost does
            compareBytes(w, im);
        }
    }
}

TEST_P(AgainstReferenceConvolution, KernelsWhoseColumnsMirror)
{
    std::mt19937 random(27);
    const int32_t im = noiseImage(70, 30, 9);
    const int32_t white = byteImage(70, 30, [](int32_t, int32_t) { return 255; });
    for (int32_t M = 1; M <= 19; ++M) {
        for (const int32_t N : {1, 4, 7, 8}) {
            Weights w = randomWeights(random, M, N, 32767);
            for (int32_t r = 0; r < N; ++r)
                for (int32_t c = 0; c < M / 2; ++c)
                    w.k[static_cast<std::size_t>(r * M + M - 1 - c)] =
                        w.k[static_cast<std::size_t>(r * M + c)];
            compareBytes(w, im);
            compareBytes(w, white);
            w.k[0] = 32767; // one row that does not mirror
            compareBytes(w, im);
        }
    }
}

TEST_P(AgainstReferenceConvolution, SparseAndExtremeKernels)
{
    const int32_t im = noiseImage(90, 30, 10);
    const int32_t white = byteImage(90, 30, [](int32_t, int32_t) { return 255; });
    for (const int32_t value :
         {127, -127, 128, -128, 32639, 32640, 32767, -32768, -32896, -32897, INT32_MIN}) {
        for (const int32_t place : {0, 3, 12, 24}) {
            Weights w = {5, 5, std::vector<int32_t>(25, 0), 3};
            w.k[static_cast<std::size_t>(place)] = value;
            compareBytes(w, im);
            compareBytes(w, white);
        }
        compareBytes({5, 5, std::vector<int32_t>(25, value), 3}, white);
        compareBytes({31, 31, std::vector<int32_t>(961, value), 0}, white);
    }
    compareBytes({11, 11, std::vector<int32_t>(121, 1), 0}, white);
    compareBytes({11, 11, std::vector<int32_t>(121, -1), 121}, white);
    compareBytes({127, 1, std::vector<int32_t>(127, 1), 1}, white);
    compareBytes({128, 1, std::vector<int32_t>(128, 1), 1}, white);
}

TEST_P(AgainstReferenceConvolution, Words)
{
    std::mt19937 random(11);
    const int32_t im =
        wordImage(70, 21, [&](int32_t, int32_t) { return static_cast<double>(random() & 65535); });
    for (int32_t mode = 0; mode < 8; ++mode) {
        I_SetClipMode(mode);
        for (const int64_t reach : {int64_t{1}, int64_t{30}, int64_t{500}, int64_t{1} << 31}) {
            compare(randomWeights(random, 3, 3, reach), im, PIX_WORD, PIX_WORD, wordRow);
            compare(randomWeights(random, 6, 5, reach, -9), im, PIX_WORD, PIX_WORD, wordRow);
        }
    }
    const int32_t bytes = noiseImage(70, 21, 3);
    I_SetClipMode(1);
    compare(randomWeights(random, 4, 4, 9), bytes, PIX_WORD, PIX_WORD, wordRow);
    compare(randomWeights(random, 4, 4, 9), im, PIX_BYTE, PIX_WORD, wordRow);
}

TEST_P(AgainstReferenceConvolution, ColorImagesBandByBandAndASelectedOne)
{
    std::mt19937 random(15);
    for (const int32_t type : {PIX_BGR24, PIX_RGB32, PIX_BGR16, PIX_PALETTE}) {
        const int32_t im = I_ImOpen(31, 12, type);
        for (int32_t y = 0; y < 12; ++y) {
            std::vector<uint8_t> row(static_cast<std::size_t>(31 * I_ImTypeBytes(type)));
            for (uint8_t& byte : row)
                byte = static_cast<uint8_t>(random());
            std::memcpy(I_ImGetPtr(0, y, nullptr, nullptr, im), row.data(), row.size());
        }
        for (const int32_t band : {-1, 0, 2}) {
            for (const int64_t reach : {int64_t{2}, int64_t{100}, int64_t{3000}}) {
                const Weights w = randomWeights(random, 3, 4, reach);
                Weights after = settled(w);
                const int32_t dest = I_CloneImage(im, 0, 1);
                const int32_t expected = I_CloneImage(im, 0, 1);
                std::vector<int32_t> kernel = w.k;
                I_SetColorBand(band);
                I_MxNConvolve(3, 4, kernel.data(), w.divisor, im, dest);
                I_SetColorBand(band);
                I_MxNOperator(im, expected, 3, 4, &after, byteRow);
                I_SetColorBand(-1);
                ASSERT_EQ(bytesOf(expected), bytesOf(dest)) << "type " << type << ", band " << band;
                closeImages({dest, expected});
            }
        }
        I_ImClose(im);
    }
}

// Windows at each border and corner, runs side by side, lines left out.
void forEachRegion(const std::function<void()>& run)
{
    const VexaBox windows[] = {{0, 0, 20, 15},   {50, 0, 69, 12}, {0, 30, 9, 49},  {55, 37, 69, 49},
                               {10, 10, 60, 40}, {0, 20, 69, 22}, {30, 0, 33, 49}, {-5, -5, 80, 10}};
    for (const VexaBox& w : windows) {
        I_SetWindowROI(w.left, w.top, w.right, w.bottom);
        run();
    }
    const VexaPoint star[] = {{5, 5}, {60, 8}, {20, 40}, {35, 2}, {66, 45}, {2, 30}};
    I_SetPolygonROI(star, 6);
    run();
    const VexaPoint runs[] = {{3, 2},  {9, 2},  {20, 2}, {40, 2}, {1, 3},  {60, 3},  {10, 9},  {11, 9},
                              {13, 9}, {13, 9}, {30, 9}, {69, 9}, {0, 17}, {69, 17}, {40, 44}, {50, 44}};
    I_SetScanlistROI(runs, 16);
    run();
    I_SetROIType(0);
}

TEST_P(BoundsConvolution, EveryRegion)
{
    std::mt19937 random(16);
    const int32_t bytes = noiseImage(70, 50, 17);
    const int32_t floats =
        floatImage(70, 50, [&](int32_t, int32_t) { return static_cast<double>(random() % 300); });
    for (const int32_t border : {-1, -2, 99}) {
        I_SetBorderMode(border, nullptr, 0);
        forEachRegion([&] {
            compareBytes(randomWeights(random, 3, 3, 2), bytes);
            compareBytes(randomWeights(random, 5, 6, 100), bytes);
            compareBytes(randomWeights(random, 4, 3, 3000), bytes);
            compare(randomWeights(random, 5, 3, 30), floats, PIX_FLOAT, PIX_FLOAT, floatRow);
            compare(randomWeights(random, 3, 3, 30), floats, PIX_FLOAT, PIX_FLOAT, wholeFloatRow);
        });
    }
}

TEST_P(BoundsConvolution, SubimagesAndInvertedImages)
{
    std::mt19937 random(18);
    const int32_t parent = noiseImage(80, 60, 19);
    const int32_t sub = I_ImOpenSubimage(7, 9, 51, 33, parent);
    ASSERT_NE(0, sub);
    const std::vector<uint8_t> before = bytesOf(parent);
    compareBytes(randomWeights(random, 3, 3, 2), sub);
    compareBytes(randomWeights(random, 5, 5, 99), sub);
    EXPECT_EQ(before, bytesOf(parent));
    int32_t ones[] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, ones, 0, sub, sub));
    const std::vector<uint8_t> after = bytesOf(parent);
    for (int32_t y = 0; y < 60; ++y) {
        for (int32_t x = 0; x < 80; ++x) {
            if (x < 7 || x >= 58 || y < 9 || y >= 42) {
                ASSERT_EQ(before[static_cast<std::size_t>(y * 80 + x)],
                          after[static_cast<std::size_t>(y * 80 + x)]);
            }
        }
    }
    I_ImClose(sub);
    I_ImInvertRows(parent);
    compareBytes(randomWeights(random, 3, 4, 5), parent);
    compareBytes(randomWeights(random, 6, 3, 99), parent);
}

TEST_P(BoundsConvolution, NothingIsWrittenBesideTheImage)
{
    // An application's own memory with a margin on each side.
    for (const int32_t cols : {2, 15, 16, 17, 33, 63, 64, 65, 511, 512, 513, 1100}) {
        std::vector<uint8_t> memory(static_cast<std::size_t>((cols + 6) * 5), 0xA5);
        const int32_t own = I_ImOpenPtr(cols, 3, cols + 6, PIX_BYTE, memory.data() + cols + 6 + 3);
        ASSERT_NE(0, own);
        const int32_t im = noiseImage(cols, 3, 20);
        for (const int32_t weight : {1, 100, 5000}) {
            int32_t kernel[] = {weight, weight, weight, weight, weight};
            ASSERT_EQ(1, I_MxNConvolve(5, 1, kernel, 0, im, own));
            for (std::size_t i = 0; i < memory.size(); ++i) {
                const auto x = static_cast<int32_t>(i) % (cols + 6);
                const auto y = static_cast<int32_t>(i) / (cols + 6);
                if (x < 3 || x >= cols + 3 || y < 1 || y > 3) {
                    ASSERT_EQ(0xA5, memory[i]) << x << ' ' << y;
                }
            }
        }
        closeImages({own, im});
    }
}

TEST_P(BoundsConvolution, LargerThanAnyInternalBlock)
{
    std::mt19937 random(21);
    const int32_t im = noiseImage(1700, 12, 22);
    for (const int64_t reach : kReaches)
        compareBytes(randomWeights(random, 9, 5, reach), im);
    const int32_t floats =
        floatImage(1700, 6, [&](int32_t, int32_t) { return static_cast<double>(random() % 256); });
    compare(randomWeights(random, 7, 5, 9), floats, PIX_FLOAT, PIX_FLOAT, floatRow);
}

TEST_P(FailuresConvolution, SizesThatAreTooLargeOrTooSmall)
{
    const int32_t im = noiseImage(12, 8, 1);
    const int32_t dest = byteImage(12, 8);
    std::vector<int32_t> tall(1025, 1);
    EXPECT_EQ(0, I_MxNConvolve(1, 1025, tall.data(), 0, im, dest));
    EXPECT_EQ("mxnconv ksize=1,1025", errorText());
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(1, I_MxNConvolve(1, 1024, tall.data(), 0, im, dest));
    clearError();
    int32_t weight = 5;
    EXPECT_EQ(1, I_MxNConvolve(0, 0, &weight, 0, im, dest));
    EXPECT_EQ("MxNOperator: Kernel size less than 1: 0x0. Continuing.", errorText());
    EXPECT_EQ(27, I_GetError(nullptr, 0));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(1, I_MxNConvolve(-3, 3, &weight, 0, im, dest));
    EXPECT_EQ("MxNOperator: Kernel size less than 1: -3x3. Continuing.", errorText());
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(5, weight);
    clearError();
    EXPECT_EQ(0, I_MxNConvolve(0, 1025, &weight, 0, im, dest));
    EXPECT_EQ("mxnconv ksize=0,1025", errorText());
}

TEST_P(FailuresConvolution, ImagesThatAreNotOpen)
{
    const int32_t im = noiseImage(12, 8, 1);
    std::vector<int32_t> weights(16, 1);
    for (const int32_t size : {3, 4}) {
        EXPECT_EQ(0, I_MxNConvolve(size, size, weights.data(), 0, im, -60));
        EXPECT_EQ("I_ImGetSize(, im=-60)  im. not open", errorText());
        EXPECT_EQ(0, I_MxNConvolve(size, size, weights.data(), 0, 0, 0));
    }
    EXPECT_EQ(0, I_MxNConvolve(3, 3, nullptr, 0, im, im));
    clearError();
}

TEST_P(FailuresConvolution, KernelRecords)
{
    const int32_t im = floatImage(4, 4);
    Kernel kernel = {};
    kernel.cols = 3;
    EXPECT_EQ(0, I_Convolve(im, im, &kernel, PIX_FLOAT));
    EXPECT_EQ("I_Convolve Kernel size=3 x 0", errorText());
    EXPECT_EQ(27, I_GetError(nullptr, 0));
    clearError();
    kernel.rows = 1;
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, I_Convolve(im, im, &kernel, PIX_BYTE));
    EXPECT_EQ("I_Convolve: illegal type=1\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_Convolve(im, im, &kernel, PIX_FLOAT));
    EXPECT_EQ(0, I_Convolve(im, im, &kernel, PIX_COMPLEX));
    EXPECT_EQ(0, I_Convolve(im, im, nullptr, PIX_FLOAT));
    float k[] = {1, 1, 1};
    kernel.kernelData = k;
    EXPECT_EQ(0, I_Convolve(im, -60, &kernel, PIX_FLOAT));
    EXPECT_EQ("I_ImGetSize(, im=-60)  im. not open", errorText());
    clearError();
}

TEST_P(FailuresConvolution, WithoutMemory)
{
    const int32_t bytes = noiseImage(20, 10, 1);
    const int32_t words = wordImage(20, 10);
    const int32_t floats = floatImage(20, 10);
    const int32_t complex = I_ImOpen(20, 10, PIX_COMPLEX);
    for (const int32_t im : {bytes, words, floats, complex}) {
        for (const int32_t weight : {1, 100, 3000, 100000}) {
            std::vector<int32_t> weights(15, weight);
            forEachFailingAllocation([&] { return I_MxNConvolve(5, 3, weights.data(), 0, im, im); },
                                     [&](int64_t result) {
                                         EXPECT_EQ(0, result);
                                         EXPECT_EQ(2, I_GetError(nullptr, 0));
                                     });
        }
    }
    int32_t none = 0;
    forEachFailingAllocation([&] { return I_MxNConvolve(0, 3, &none, 0, bytes, bytes); },
                             [&](int64_t result) { EXPECT_EQ(0, result); });
    clearError();
}

TEST_P(FailuresConvolution, ABreakKeepsWhatIsDone)
{
    static int32_t calls;
    calls = 0;
    vexa::setUserBreakHook([](int32_t) -> int32_t { return ++calls == 2; });
    const vexa::Guard restore([] { vexa::setUserBreakHook(nullptr); });
    const int32_t im = byteImage(10, 100, [](int32_t, int32_t) { return 50; });
    const int32_t dest = byteImage(10, 100);
    int32_t weight = 2;
    EXPECT_EQ(0, I_MxNConvolve(1, 1, &weight, 1, im, dest));
    EXPECT_EQ(6, I_GetError(nullptr, 0));
    EXPECT_EQ(100, pixel(dest, 9, 63));
    EXPECT_EQ(0, pixel(dest, 0, 64));
}

} // namespace
