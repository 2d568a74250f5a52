#include <random>

#include "tests/filters/convolution_reference.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;

class LiteralFloatConvolution : public ConvolutionSuite
{
};
class AgainstReferenceFloatConvolution : public ConvolutionSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralFloatConvolution, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceFloatConvolution, everySet(), setName);

TEST_P(LiteralFloatConvolution, ThreeByThreeOnFloatsGivesWholeNumbersOfBytes)
{
    const int32_t im = floatImage(4, 4, [](int32_t, int32_t) { return 9.9F; });
    const int32_t dest = floatImage(4, 4);
    int32_t identity[] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, identity, 1, im, dest));
    EXPECT_EQ(9.0, pixel(dest, 1, 1));
    // Truncated after each addition: 9, 18, 27 ... 81, and 81 / 4 is not rounded. Nine times 9.9 would give 22.
    int32_t ones[] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, ones, 4, im, dest));
    EXPECT_EQ(20.0, pixel(dest, 1, 1));
    int32_t minus[] = {0, 0, 0, 0, -1, 0, 0, 0, 0};
    EXPECT_EQ(1, I_MxNConvolve(3, 3, minus, 1, im, dest));
    EXPECT_EQ(0.0, pixel(dest, 1, 1));
    I_SetClipMode(0);
    EXPECT_EQ(1, I_MxNConvolve(3, 3, minus, 1, im, dest));
    EXPECT_EQ(247.0, pixel(dest, 1, 1));
    int32_t many[] = {0, 0, 0, 0, 100, 0, 0, 0, 0};
    I_SetClipMode(1);
    EXPECT_EQ(1, I_MxNConvolve(3, 3, many, 1, im, dest));
    EXPECT_EQ(255.0, pixel(dest, 1, 1));
}

TEST_P(LiteralFloatConvolution, OtherSizesOnFloatsStayFloats)
{
    const int32_t im = floatImage(6, 6, [](int32_t x, int32_t) { return x * 0.5; });
    const int32_t dest = floatImage(6, 6);
    int32_t weights[] = {1, 1, 1, 1, 1};
    EXPECT_EQ(1, I_MxNConvolve(5, 1, weights, 2, im, dest));
    EXPECT_EQ(2.5, pixel(dest, 2, 3)); // (0 + 0.5 + 1 + 1.5 + 2) / 2
    EXPECT_EQ(1, I_MxNConvolve(1, 5, weights, -1, im, dest));
    EXPECT_EQ(-7.5, pixel(dest, 3, 3));
}

TEST_P(LiteralFloatConvolution, ComplexImagesRunOnAfterAnError)
{
    const int32_t im = I_ImOpen(8, 6, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(8, 6, PIX_COMPLEX);
    I_SetComplexMode(2);
    int32_t weights[] = {1, 1};
    clearError();
    EXPECT_EQ(1, I_MxNConvolve(2, 1, weights, 0, im, dest));
    EXPECT_EQ("I_MxNConvolve does not support complex images yet", errorText());
    EXPECT_EQ(-1, I_GetError(nullptr, 0));
    EXPECT_EQ(2, I_SetComplexMode(0));
}

TEST_P(LiteralFloatConvolution, ComplexImagesTakeTheBitsOfTheKernelForFloats)
{
    I_SetClipMode(1); // the complex slot keeps both parts
    const int32_t im = floatsImage(
        3, 3, std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(3, 3, PIX_COMPLEX);
    int32_t weights[2];
    const float parts[] = {0.5F, 2.0F};
    std::memcpy(weights, parts, sizeof weights);
    // Two rows of one column: the first is 0.5 + 2 i, the second starts at the last element and ends in a zero.
    EXPECT_EQ(1, I_MxNConvolve(1, 2, weights, 1, im, dest));
    const std::vector<float> out = floatsOf(dest);
    // Row 1, column 1: (3 + 4 i) (0.5 + 2 i) + 2 (9 + 10 i)
    EXPECT_EQ(-6.5F + 18.0F, out[8]);
    EXPECT_EQ(8.0F + 20.0F, out[9]);
}

TEST_P(AgainstReferenceFloatConvolution, Floats)
{
    std::mt19937 random(12);
    std::uniform_real_distribution<double> value(-300, 600);
    for (const int32_t cols : {2, 5, 16, 17, 63, 64, 65, 127, 128, 129, 150}) {
        const int32_t im = floatImage(cols, 9, [&](int32_t, int32_t) { return value(random); });
        for (int32_t mode = 0; mode < 8; ++mode) {
            I_SetClipMode(mode);
            compare(randomWeights(random, 1 + cols % 7, 4, 20), im, PIX_FLOAT, PIX_FLOAT, floatRow);
            compare(randomWeights(random, 3, 3, 20), im, PIX_FLOAT, PIX_FLOAT, wholeFloatRow);
        }
        I_ImClose(im);
    }
}

TEST_P(AgainstReferenceFloatConvolution, FloatsThatAreHard)
{
    std::mt19937 random(13);
    const std::vector<float> tricky = trickyFloats();
    std::vector<float> pixels(40 * 12);
    for (float& p : pixels)
        p = random() % 3 ? static_cast<float>(random() % 200) : tricky[random() % tricky.size()];
    const int32_t im = floatsImage(40, 12, pixels);
    for (const int32_t mode : {0, 1, 2}) {
        I_SetClipMode(mode);
        for (const int32_t divisor : {1, -1, 7}) {
            Weights w = randomWeights(random, 3, 3, 3, divisor);
            const int32_t dest = floatImage(40, 12);
            const int32_t expected = floatImage(40, 12);
            I_MxNConvolve(3, 3, w.k.data(), divisor, im, dest);
            I_MxNOperatorType(im, expected, 3, 3, &w, wholeFloatRow, PIX_FLOAT);
            EXPECT_THAT(floatsOf(dest), SameFloats(floatsOf(expected)));
            Weights wide = randomWeights(random, 5, 2, 3, divisor);
            I_MxNConvolve(5, 2, wide.k.data(), divisor, im, dest);
            I_MxNOperatorType(im, expected, 5, 2, &wide, floatRow, PIX_FLOAT);
            EXPECT_THAT(floatsOf(dest), SameFloats(floatsOf(expected)));
            closeImages({dest, expected});
        }
    }
}

TEST_P(AgainstReferenceFloatConvolution, OtherTypesRunAsFloats)
{
    std::mt19937 random(14);
    const int32_t longs =
        image(33, 11, PIX_DWORD, [&](int32_t, int32_t) { return static_cast<double>(random() % 90000); });
    floatRange = {1.0F, 4294967296.0F};
    compare(randomWeights(random, 5, 3, 9), longs, PIX_DWORD, PIX_FLOAT, floatRow);
    compare(randomWeights(random, 3, 3, 9), longs, PIX_DWORD, PIX_FLOAT, wholeFloatRow);
    floatRange = {-3e38F, 0.0F};
    const int32_t doubles = image(33, 11, PIX_DFLOAT, [](int32_t x, int32_t y) { return x * 1.25 - y; });
    compare(randomWeights(random, 4, 5, 9), doubles, PIX_DFLOAT, PIX_FLOAT, floatRow);
    // The destination's type sets the range.
    const int32_t floats = floatImage(33, 11, [](int32_t x, int32_t y) { return x * 20.0 - y * 3; });
    floatRange = {0.0F, 255.0F};
    compare(randomWeights(random, 4, 5, 9), floats, PIX_BYTE, PIX_FLOAT, floatRow);
    floatRange = {-3e38F, 0.0F};
}

struct Complex {
    float re;
    float im;
};

// Real and imaginary parts in turn.
std::vector<float> randomParts(std::mt19937& random, int32_t count)
{
    std::uniform_real_distribution<float> part(-3.0F, 3.0F);
    std::vector<float> parts(static_cast<std::size_t>(2 * count));
    for (float& p : parts)
        p = part(random);
    return parts;
}

struct ComplexWeights {
    const Kernel* kernel;
    bool real;
};

int32_t complexRow(int32_t, int32_t, int32_t M, int32_t N, void** rows, void* out, void*, int32_t count,
                   void* user)
{
    const auto& w = *static_cast<const ComplexWeights*>(user);
    for (int32_t i = 0; i < count; ++i) {
        Complex sum = {0, 0};
        for (int32_t r = 0; r < N; ++r) {
            for (int32_t c = 0; c < M; ++c) {
                const VexaPointF k = w.kernel->complexData[r * M + c];
                const Complex p = static_cast<const Complex*>(rows[r])[i + c];
                const float rr = k.x * p.re;
                const float ii = p.im * k.y;
                const float ri = p.re * k.y;
                const float ir = p.im * k.x;
                sum.re += w.real ? rr : rr - ii;
                sum.im += w.real ? ir : ri + ir;
            }
        }
        Complex clipped = sum;
        if (I_GetClipMode() == 2)
            clipped = {std::hypot(sum.re, sum.im), 0};
        if (I_GetClipMode() == 7)
            clipped = {sum.re * sum.re + sum.im * sum.im, 0};
        static_cast<Complex*>(out)[i] = clipped;
    }
    return 0;
}

TEST_P(AgainstReferenceFloatConvolution, KernelRecordsOnComplexImages)
{
    std::mt19937 random(23);
    for (const int32_t cols : {2, 31, 127, 128, 129, 200}) {
        const int32_t im = floatsImage(cols, 5, randomParts(random, cols * 5), PIX_COMPLEX);
        for (const bool real : {false, true}) {
            std::vector<float> parts = randomParts(random, 12);
            for (std::size_t i = 0; real && i < 12; ++i)
                parts[2 * i + 1] = parts[2 * i] / 20.0F * (i % 2 ? 0.99F : -0.5F);
            Kernel kernel = {};
            kernel.cols = 4;
            kernel.rows = 3;
            kernel.complexData = reinterpret_cast<VexaPointF*>(parts.data());
            ComplexWeights w = {&kernel, real};
            for (const int32_t mode : {0, 1, 2, 7}) {
                I_SetClipMode(mode);
                const int32_t dest = I_ImOpen(cols, 5, PIX_COMPLEX);
                const int32_t expected = I_ImOpen(cols, 5, PIX_COMPLEX);
                EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_COMPLEX));
                EXPECT_EQ(1, I_MxNOperatorType(im, expected, 4, 3, &w, complexRow, PIX_COMPLEX));
                EXPECT_THAT(floatsOf(dest), SameFloats(floatsOf(expected))) << mode << real;
                closeImages({dest, expected});
            }
        }
        I_ImClose(im);
    }
}

TEST_P(LiteralFloatConvolution, OneElementThatIsNotRealMakesTheKernelComplex)
{
    I_SetClipMode(1);
    const int32_t im = floatsImage(2, 2, {2, 3, 2, 3, 2, 3, 2, 3}, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(2, 2, PIX_COMPLEX);
    VexaPointF k = {20.0F, 1.0F}; // |re| is not below 20 |im|
    Kernel kernel = {};
    kernel.cols = kernel.rows = 1;
    kernel.complexData = &k;
    EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_COMPLEX));
    EXPECT_THAT(floatsOf(dest), ElementsAre(40, 60, 40, 60, 40, 60, 40, 60));
    k.x = 19.0F;
    EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_COMPLEX));
    EXPECT_THAT(floatsOf(dest), ElementsAre(35, 59, 35, 59, 35, 59, 35, 59));
}

// Before any I_SetClipMode the complex slot gives the magnitude. A test of its own process sees that state.
TEST(LiteralFloatConvolutionAtStart, TheComplexSlotGivesTheMagnitude)
{
    const int32_t im = floatsImage(2, 2, {3, 4, 3, 4, 3, 4, 3, 4}, PIX_COMPLEX);
    const int32_t dest = I_ImOpen(2, 2, PIX_COMPLEX);
    VexaPointF k = {1.0F, 0.0F};
    Kernel kernel = {};
    kernel.cols = kernel.rows = 1;
    kernel.complexData = &k;
    EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_COMPLEX));
    EXPECT_THAT(floatsOf(dest), ElementsAre(5, 0, 5, 0, 5, 0, 5, 0));
    closeImages({im, dest});
}

TEST_P(LiteralFloatConvolution, KernelRecordsOnFloatsKeepTheRangeThatWasSet)
{
    const int32_t im = floatImage(4, 4, [](int32_t, int32_t) { return 100.0; });
    const int32_t dest = floatImage(4, 4);
    float k[] = {1.5F, 2.0F};
    Kernel kernel = {};
    kernel.cols = 2;
    kernel.rows = 1;
    kernel.kernelData = k;
    const int32_t bytes = byteImage(2, 2);
    WidestPixelType(im, dest, 4095);
    EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_FLOAT));
    EXPECT_EQ(350.0, pixel(dest, 1, 1));
    // Required: the range is that of the operator before.
    WidestPixelType(bytes, bytes, 4095);
    EXPECT_EQ(1, I_Convolve(im, dest, &kernel, PIX_FLOAT));
    EXPECT_EQ(255.0, pixel(dest, 1, 1));
}

} // namespace
