#include "vexalib/kernels.h"

#include <cstdlib>

#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/convolution.h"
#include "vexalib/neighbourhood.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::FloatEq;
using testing::FloatNear;
using testing::Pointwise;

// The elements of an array of a record.
std::vector<float> elements(const float* array, const Kernel* kernel)
{
    return {array, array + kernel->cols * kernel->rows};
}

// Real and imaginary parts in turn.
std::vector<float> parts(const VexaPointF* array, int32_t count)
{
    std::vector<float> all;
    for (int32_t i = 0; i < count; ++i) {
        all.push_back(array[i].x);
        all.push_back(array[i].y);
    }
    return all;
}

const float kReal[] = {1.0F, -2.0F, 5.0F, 4.0F, 0.0F, 2.0F};                     // sum 10, sum of squares 50
const VexaPointF kComplex[] = {{1, 1}, {-2, 0}, {5, 0}, {4, 0}, {0, 3}, {4, 1}}; // sum 12 + 5 i

TEST(LiteralKernels, TheThreeFormsOfARecord)
{
    Kernel* kernel = I_MakeComplexKernel(nullptr, 3, 2, kReal, kComplex);
    ASSERT_NE(nullptr, kernel);
    EXPECT_EQ(3, kernel->cols);
    EXPECT_EQ(2, kernel->rows);
    EXPECT_THAT(elements(kernel->displayData, kernel), ElementsAre(200, -400, 1000, 800, 0, 400));
    EXPECT_THAT(elements(kernel->kernelData, kernel),
                Pointwise(FloatEq(), {0.1F, -0.2F, 0.5F, 0.4F, 0.0F, 0.2F}));
    // The sum 1.2 + 0.5 i has the magnitude 1.3.
    std::vector<float> expected;
    for (const VexaPointF& k : kComplex) {
        expected.push_back(k.x * 0.1F / 1.3F);
        expected.push_back(k.y * 0.1F / 1.3F);
    }
    EXPECT_THAT(parts(kernel->complexData, 6), Pointwise(FloatNear(1e-6F), expected));
    EXPECT_THAT(parts(kernel->spareArray, 6), testing::Each(0.0F));
    EXPECT_EQ(0, kernel->imLens);
    EXPECT_EQ(nullptr, kernel->projOTF);
    EXPECT_EQ(1, I_FreeKernel(kernel));
    EXPECT_EQ(0, I_FreeKernel(nullptr));
}

TEST(LiteralKernels, SumsNearZeroAreHeldAwayFromIt)
{
    const float real[] = {1.0F, -1.0F};
    const VexaPointF complex[] = {{1e-9F, 0.0F}, {0.0F, 0.0F}};
    Kernel* kernel = I_MakeComplexKernel(nullptr, 2, 1, real, complex);
    ASSERT_NE(nullptr, kernel);
    EXPECT_THAT(elements(kernel->kernelData, kernel), Pointwise(FloatEq(), {10000.0F, -10000.0F}));
    // 1e-9 * 10000 / 0.001
    EXPECT_THAT(parts(kernel->complexData, 2), Pointwise(FloatNear(1e-7F), {0.01F, 0.0F, 0.0F, 0.0F}));
    I_FreeKernel(kernel);
}

TEST(LiteralKernels, ANegativeSumScalesByItsMagnitude)
{
    const float real[] = {-3.0F, -1.0F};
    const VexaPointF complex[] = {{-3.0F, 0.0F}, {-1.0F, 0.0F}};
    Kernel* kernel = I_MakeComplexKernel(nullptr, 1, 2, real, complex);
    ASSERT_NE(nullptr, kernel);
    EXPECT_THAT(elements(kernel->displayData, kernel), Pointwise(FloatEq(), {-1000.0F, -333.33334F}));
    EXPECT_THAT(elements(kernel->kernelData, kernel), Pointwise(FloatEq(), {-0.75F, -0.25F}));
    EXPECT_THAT(parts(kernel->complexData, 2), Pointwise(FloatEq(), {-0.75F, 0.0F, -0.25F, 0.0F}));
    I_FreeKernel(kernel);
}

TEST(LiteralKernels, StronglyAnnularLensesAreScaledDown)
{
    // s / q / 1.5 with s = 10 and q = sqrt 50 is 0.942809; with equal elements it is above 1.
    const float even[] = {1, 1, 1, 1, 1, 1};
    struct {
        float isigma;
        const float* real;
        float first;
    } const cases[] = {{0.9F, kReal, 0.1F}, {0.91F, kReal, 0.0942809F}, {0.91F, even, 1.0F / 6.0F}};
    for (const auto& c : cases) {
        auto* record = static_cast<Kernel*>(std::calloc(1, sizeof(Kernel)));
        record->isigma = c.isigma;
        ASSERT_EQ(record, I_MakeComplexKernel(record, 3, 2, c.real, kComplex));
        EXPECT_NEAR(c.first, record->kernelData[0], 1e-6) << c.isigma;
        EXPECT_EQ(1, I_FreeKernel(record));
    }
}

TEST(LiteralKernels, ARecordIsFilledAnew)
{
    Kernel* kernel = I_MakeComplexKernel(nullptr, 3, 2, kReal, kComplex);
    ASSERT_NE(nullptr, kernel);
    kernel->sigma = 0.7F;
    ASSERT_EQ(kernel, I_MakeComplexKernel(kernel, 2, 1, kReal, kComplex));
    EXPECT_EQ(0.7F, kernel->sigma);
    EXPECT_THAT(elements(kernel->displayData, kernel), ElementsAre(500, -1000));
    ASSERT_EQ(kernel, I_MakeComplexKernel(kernel, 0, -4, kReal, kComplex));
    EXPECT_EQ(-4, kernel->rows);
    const int32_t im = floatImage(3, 3);
    EXPECT_EQ(0, I_Convolve(im, im, kernel, PIX_FLOAT));
    EXPECT_EQ("I_Convolve Kernel size=0 x -4", errorText());
    closeImages({im});
    clearError();
    I_FreeKernel(kernel);
}

TEST(LiteralKernels, FreeingClosesTheImages)
{
    auto* kernel = static_cast<Kernel*>(std::calloc(1, sizeof(Kernel)));
    kernel->imLens = floatImage(4, 4);
    kernel->imSpread = floatImage(4, 4);
    kernel->imIllum = byteImage(4, 4);
    kernel->imFurther[0] = byteImage(4, 4);
    kernel->imFurther[1] = byteImage(4, 4);
    kernel->furtherArray = std::malloc(8);
    kernel->projOTF = static_cast<float*>(std::malloc(8));
    kernel->srcOTF = static_cast<float*>(std::malloc(8));
    kernel->ratioOTF = static_cast<float*>(std::malloc(8));
    const int32_t images[] = {kernel->imLens, kernel->imSpread, kernel->imIllum, kernel->imFurther[0],
                              kernel->imFurther[1]};
    EXPECT_EQ(1, I_FreeKernel(kernel));
    for (const int32_t im : images)
        EXPECT_EQ(0, I_ImValid(im));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST(LiteralKernels, ARecordConvolves)
{
    const float real[] = {1, 2, 1};
    const VexaPointF complex[] = {{1, 0}, {2, 0}, {1, 0}};
    Kernel* kernel = I_MakeComplexKernel(nullptr, 3, 1, real, complex);
    const int32_t im = floatImage(5, 2, [](int32_t x, int32_t) { return x == 2 ? 8.0 : 0.0; });
    const int32_t dest = floatImage(5, 2);
    WidestPixelType(im, dest, 4095);
    EXPECT_EQ(1, I_Convolve(im, dest, kernel, PIX_FLOAT));
    EXPECT_THAT(rowOf(dest, 0), ElementsAre(0, 2, 4, 2, 0));
    I_SetClipMode(1);
    EXPECT_EQ(1, I_Convolve(im, dest, kernel, PIX_COMPLEX));
    EXPECT_THAT(rowOf(dest, 1), ElementsAre(0, 2, 4, 2, 0));
    closeImages({im, dest});
    I_FreeKernel(kernel);
}

struct BlurKernel {
    std::vector<int32_t> elements;
    int32_t sum = -7;
};

BlurKernel customKernel(int32_t M, int32_t N, const double* x, const double* y)
{
    BlurKernel result;
    int32_t* kernel = nullptr;
    I_CustomBlurKernel(M, N, x, y, &kernel, &result.sum);
    result.elements.assign(kernel, kernel + std::max(M, 1) * std::max(N, 1));
    std::free(kernel);
    return result;
}

TEST(LiteralKernels, ProfilesAreInterpolatedAroundTheCircle)
{
    const double x[] = {0.1, 0.5, 1.0, 0.7, 0.2};
    const double y[] = {0.3, 0.9, 0.4};
    const BlurKernel blur = customKernel(5, 3, x, y);
    // Row 1: distances 2, 1, 0, 1, 2 along x, where y has no weight; the centre halves both: (1 + 0.9) / 2.
    // Rows 0 and 2: column 2 is y[0] and y[2]. Columns 1 and 3 lie sqrt 2 away: the mean of x[trunc(2 - 1.41)] = x[0]
    // or x[3] with y[trunc(1 - 1.41)] = y[0] or y[2]. Columns 0 and 4 lie sqrt 5 away: two thirds of x[trunc(-0.24)] =
    // x[0] or of x[4], for the rows -1 and 3 are none.
    EXPECT_THAT(blur.elements, ElementsAre(66, 200, 300, 500, 133,  //
                                           100, 500, 950, 700, 200, //
                                           66, 250, 400, 550, 133));
    EXPECT_EQ(1199 + 2450 + 1399, blur.sum);
}

TEST(LiteralKernels, SizesBelowTwoCountAsOne)
{
    const double x[] = {0.25};
    const double y[] = {0.75};
    for (const int32_t size : {1, 0, -5}) {
        const BlurKernel blur = customKernel(size, size, x, y);
        EXPECT_THAT(blur.elements, ElementsAre(500));
        EXPECT_EQ(500, blur.sum);
    }
    EXPECT_THAT(customKernel(1, 1, nullptr, y).elements, ElementsAre(375));
    int32_t sum = 5;
    I_CustomBlurKernel(1, 1, x, y, nullptr, &sum);
    EXPECT_EQ(0, sum);
}

TEST(LiteralKernels, CustomSmoothConvolvesWithItsKernel)
{
    const double x[] = {0.2, 0.7, 1.0, 0.6, 0.2};
    const double y[] = {0.1, 0.4, 1.0, 0.5, 0.1};
    const int32_t im = noiseImage(30, 20, 3);
    const int32_t dest = byteImage(30, 20);
    const int32_t expected = byteImage(30, 20);
    BlurKernel blur = customKernel(5, 5, x, y);
    EXPECT_EQ(1, I_CustomSmooth(im, dest, 5, 5, x, y));
    EXPECT_EQ(1, I_MxNConvolve(5, 5, blur.elements.data(), blur.sum, im, expected));
    EXPECT_EQ(bytesOf(expected), bytesOf(dest));
    EXPECT_EQ(0, I_CustomSmooth(im, -60, 5, 5, x, y));
    clearError();
    closeImages({im, dest, expected});
}

TEST(FailuresKernels, WithoutMemory)
{
    forEachFailingAllocation(
        [] {
            Kernel* kernel = I_MakeComplexKernel(nullptr, 3, 2, kReal, kComplex);
            return int64_t{I_FreeKernel(kernel)};
        },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_MakeComplexKernel: 6"));
        });
    auto* kernel = static_cast<Kernel*>(std::calloc(1, sizeof(Kernel)));
    forEachFailingAllocation(
        [&] { return int64_t{I_MakeComplexKernel(kernel, 3, 2, kReal, kComplex) != nullptr}; },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(nullptr, kernel->kernelData);
            EXPECT_EQ(nullptr, kernel->complexData);
        });
    I_FreeKernel(kernel);
    const double profile[] = {0.5, 1.0, 0.5};
    int32_t* blur = nullptr;
    forEachFailingAllocation(
        [&] {
            I_CustomBlurKernel(3, 3, profile, profile, &blur, nullptr);
            return int64_t{blur != nullptr};
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_CustomBlurKernel: "));
        });
    std::free(blur);
    const int32_t im = noiseImage(9, 9, 1);
    forEachFailingAllocation([&] { return I_CustomSmooth(im, im, 3, 3, profile, profile); },
                             [](int64_t result) { EXPECT_EQ(0, result); });
    closeImages({im});
}

TEST(FailuresKernels, ArraysThatAreNull)
{
    EXPECT_EQ(nullptr, I_MakeComplexKernel(nullptr, 3, 2, nullptr, kComplex));
    EXPECT_EQ(nullptr, I_MakeComplexKernel(nullptr, 3, 2, kReal, nullptr));
}

} // namespace
