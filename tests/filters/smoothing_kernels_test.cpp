#include <random>

#include "filters/lens_profile.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "tests/operators/arithmetic_reference.h"
#include "vexalib/convolution.h"
#include "vexalib/neighbourhood.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::ElementsAreArray;

class SmoothingKernels : public testing::Test
{
protected:
    void TearDown() override
    {
        std::free(kernel_);
        vexa::setLensProfileMode(1);
        I_SetGaussianKernelSize(3.7F);
        I_SetBorderMode(-1, nullptr, PIX_BYTE);
        I_SetROIType(0);
        I_SetClipMode(1);
        I_ImCloseAll();
        clearError();
    }

    std::vector<int32_t> gaussian(int32_t cols, int32_t rows, double blur, double mix)
    {
        sum_ = -7;
        returned_ = I_MakeGaussianKernel(cols, rows, blur, mix, &kernel_, &sum_);
        return {kernel_, kernel_ + std::max(cols, 0) * std::max(rows, 0)};
    }

    int32_t* kernel_ = nullptr;
    int32_t sum_ = 0;
    int32_t returned_ = 0;
};
class LiteralSmoothingKernels : public SmoothingKernels
{
};
class AgainstReferenceSmoothingKernels : public SmoothingKernels
{
};
class BoundsSmoothingKernels : public SmoothingKernels
{
};
class FailuresSmoothingKernels : public SmoothingKernels
{
};

// The values of elements at distances 0, 1, sqrt 2, 2, sqrt 5 and sqrt 8 pixels, blur 2.
std::vector<int32_t> fiveByFive(int32_t d0, int32_t d1, int32_t d2, int32_t d4, int32_t d5, int32_t d8)
{
    return {d8, d5, d4, d5, d8, d5, d2, d1, d2, d5, d4, d1, d0,
            d1, d4, d5, d2, d1, d2, d5, d8, d5, d4, d5, d8};
}

TEST_F(LiteralSmoothingKernels, ProfilesOfALensBlur)
{
    EXPECT_THAT(gaussian(5, 5, 2.0, 1.0), ElementsAreArray(fiveByFive(1000, 368, 135, 18, 7, 0)));
    EXPECT_EQ(1000 + 4 * (368 + 135 + 18) + 8 * 7, sum_);
    EXPECT_EQ(sum_, returned_);
    EXPECT_THAT(gaussian(5, 5, 2.0, 0.0), ElementsAreArray(fiveByFive(1000, 271, 61, 1, 0, 0)));
    EXPECT_THAT(gaussian(5, 5, 2.0, 0.5), ElementsAreArray(fiveByFive(1000, 318, 95, 7, 2, 0)));
    EXPECT_EQ(1, vexa::setLensProfileMode(7));
    EXPECT_THAT(gaussian(5, 5, 2.0, 1.0), ElementsAreArray(fiveByFive(1000, 779, 607, 368, 287, 135)));
    EXPECT_THAT(gaussian(5, 5, 2.0, 0.0), ElementsAreArray(fiveByFive(1000, 722, 498, 181, 75, -97)));
    EXPECT_EQ(1000 + 4 * (722 + 498 + 181 - 97) + 8 * 75, sum_);
    EXPECT_THAT(gaussian(5, 5, 2.0, 0.5), ElementsAreArray(fiveByFive(1000, 736, 525, 228, 128, -39)));
    // Every other mode has the first form.
    vexa::setLensProfileMode(3);
    EXPECT_THAT(gaussian(5, 5, 2.0, 1.0), ElementsAreArray(fiveByFive(1000, 368, 135, 18, 7, 0)));
}

TEST_F(LiteralSmoothingKernels, TheCentreOfEvenSizesLiesPastTheMiddle)
{
    EXPECT_THAT(gaussian(4, 2, 2.0, 1.0), ElementsAre(7, 135, 368, 135, 18, 368, 1000, 368));
    EXPECT_THAT(gaussian(1, 1, 2.0, 1.0), ElementsAre(1000));
    EXPECT_THAT(gaussian(3, 1, 1.0, 1.0), ElementsAre(18, 1000, 18));
    EXPECT_EQ(1036, sum_);
}

TEST_F(LiteralSmoothingKernels, ABlurOfNothingIsAPoint)
{
    for (const double blur : {0.0001, 0.0, -3.0})
        EXPECT_THAT(gaussian(3, 3, blur, 1.0), ElementsAre(0, 0, 0, 0, 1000, 0, 0, 0, 0)) << blur;
}

TEST_F(LiteralSmoothingKernels, WithoutRowsOrColumnsTheSumIsZero)
{
    gaussian(3, 0, 1.0, 1.0);
    EXPECT_EQ(0, sum_);
    EXPECT_EQ(0, returned_);
    gaussian(-3, -3, 1.0, 1.0);
    EXPECT_EQ(0, sum_);
    EXPECT_NE(nullptr, kernel_);
    EXPECT_EQ(1036, I_MakeGaussianKernel(3, 1, 1.0, 1.0, &kernel_, nullptr));
    EXPECT_EQ(0, I_MakeGaussianKernel(3, 1, 1.0, 1.0, nullptr, &sum_));
}

TEST_F(LiteralSmoothingKernels, WideKernelsAreTold)
{
    Messages messages;
    gaussian(120, 1, 30.0, 1.0);
    EXPECT_THAT(messages.all(), ElementsAre());
    EXPECT_EQ(121U, gaussian(121, 1, 30.04, 1.0).size());
    EXPECT_THAT(messages.all(), ElementsAre("I_MakeGaussianKernel: Blur=30.0 kcols=121"));
}

TEST_F(LiteralSmoothingKernels, TheSizeIsAMultipleOfTheBlur)
{
    EXPECT_EQ(3.7F, I_SetGaussianKernelSize(0.5F));
    EXPECT_EQ(3.7F, I_SetGaussianKernelSize(-1.0F));
    EXPECT_EQ(3.7F, I_SetGaussianKernelSize(NAN));
    EXPECT_EQ(3.7F, I_SetGaussianKernelSize(0.51F));
    EXPECT_EQ(0.51F, I_SetGaussianKernelSize(3.7F));
}

// The columns that a line spreads to. Words keep what is small beside the sum of a wide kernel.
int32_t reachOf(double blur)
{
    const int32_t im = wordImage(211, 3, [](int32_t x, int32_t) { return x == 105 ? 65535.0 : 0.0; });
    EXPECT_EQ(1, I_GaussianSmooth(im, im, blur));
    const std::vector<double> row = rowOf(im, 1);
    I_ImClose(im);
    return static_cast<int32_t>(std::count_if(row.begin(), row.end(), [](double v) { return v != 0.0; }));
}

// Outer elements round to 0 in the first form of the profile; in the second one they are seen.
TEST_F(LiteralSmoothingKernels, KernelsAreOddAndAtMost101Wide)
{
    vexa::setLensProfileMode(7);
    struct {
        double blur;
        float size;
        int32_t columns;
    } const cases[] = {
        {1.0, 3.7F, 5}, // ceil(3.7) = 4
        {1.0, 3.0F, 3},   {1.0, 3.1F, 5}, {2.0, 2.0F, 5},
        {4.0, 3.7F, 15},  {1.8, 3.7F, 7}, {30.0, 3.7F, 101}, // 111
        {30.0, 3.3F, 99}, {0.1, 3.7F, 1},
    };
    for (const auto& c : cases) {
        I_SetGaussianKernelSize(c.size);
        EXPECT_EQ(c.columns, reachOf(c.blur)) << c.blur << " by " << static_cast<double>(c.size);
    }
}

TEST_F(LiteralSmoothingKernels, GaussianSmoothConvolvesWithTheMadeKernel)
{
    const int32_t im = noiseImage(40, 30, 1);
    const int32_t dest = byteImage(40, 30);
    const int32_t expected = byteImage(40, 30);
    for (const double blur : {0.3, 1.0, 1.8, 4.0, 9.5}) {
        for (const double mix : {1.0, 0.4}) {
            const auto k = static_cast<int32_t>(std::ceil(blur * static_cast<double>(3.7F))) | 1;
            std::vector<int32_t> kernel = gaussian(k, k, blur, mix);
            EXPECT_EQ(1, I_GaussianSmooth2(im, dest, blur, mix));
            EXPECT_EQ(1, I_MxNConvolve(k, k, kernel.data(), sum_, im, expected));
            EXPECT_EQ(bytesOf(expected), bytesOf(dest)) << blur;
            if (mix == 1.0) {
                EXPECT_EQ(1, I_GaussianSmooth(im, dest, blur));
                EXPECT_EQ(bytesOf(expected), bytesOf(dest)) << blur;
            }
        }
    }
}

TEST_F(LiteralSmoothingKernels, ABlurOfZeroCopiesTheImage)
{
    const int32_t im = noiseImage(20, 10, 2);
    const int32_t dest = byteImage(20, 10);
    I_SetWindowROI(2, 2, 5, 5); // the copy does not look at the region
    EXPECT_EQ(200, I_GaussianSmooth(im, dest, 0.0));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(200, I_GaussianSmooth2(im, dest, -2.0, 0.5));
    // In the second form the point kernel runs.
    vexa::setLensProfileMode(7);
    const int32_t inside = byteImage(20, 10);
    EXPECT_EQ(1, I_GaussianSmooth(im, inside, 0.0));
    EXPECT_EQ(0, pixel(inside, 1, 1));
    EXPECT_EQ(pixel(im, 3, 3), pixel(inside, 3, 3));
}

TEST_F(LiteralSmoothingKernels, BlursThatAreNoNumbersOrTooLarge)
{
    const int32_t im = noiseImage(20, 10, 2);
    for (const double blur : {1e12, static_cast<double>(INFINITY)}) {
        // A size that does not fit becomes the smallest kernel, a point.
        const int32_t dest = byteImage(20, 10);
        EXPECT_EQ(1, I_GaussianSmooth(im, dest, blur));
        EXPECT_EQ(bytesOf(im), bytesOf(dest)) << blur;
    }
    I_GaussianSmooth(im, im, NAN);
}

// What a point of 255 spreads to around it.
std::vector<std::vector<double>> spreadOf(double diameter, int32_t reach)
{
    const int32_t im = byteImage(21, 21, [](int32_t x, int32_t y) { return x == 10 && y == 10 ? 255 : 0; });
    EXPECT_EQ(1, I_CircleSmooth(im, im, diameter));
    std::vector<std::vector<double>> rows;
    for (int32_t y = 10 - reach; y <= 10 + reach; ++y) {
        const std::vector<double> row = rowOf(im, y);
        rows.emplace_back(row.begin() + 10 - reach, row.begin() + 11 + reach);
    }
    I_ImClose(im);
    return rows;
}

TEST_F(LiteralSmoothingKernels, DiscsOfACircle)
{
    EXPECT_THAT(spreadOf(0.0, 1),
                ElementsAre(ElementsAre(0, 0, 0), ElementsAre(0, 255, 0), ElementsAre(0, 0, 0)));
    // Elements 200, 200 and trunc(200 (2 - sqrt 2)) = 117, sum 1468: 255 * 200 / 1468 = 34.7, 255 * 117 / 1468 = 20.3.
    EXPECT_THAT(spreadOf(2.0, 2), ElementsAre(ElementsAre(0, 0, 0, 0, 0), ElementsAre(0, 20, 35, 20, 0),
                                              ElementsAre(0, 35, 35, 35, 0), ElementsAre(0, 20, 35, 20, 0),
                                              ElementsAre(0, 0, 0, 0, 0)));
    // e = 1.75 - distance: elements 200, 150 and trunc(67.16), sum 1068.
    EXPECT_THAT(spreadOf(1.5, 1),
                ElementsAre(ElementsAre(16, 36, 16), ElementsAre(36, 48, 36), ElementsAre(16, 36, 16)));
}

TEST_F(LiteralSmoothingKernels, ACircleOfNothingPassesTheImage)
{
    const int32_t im = noiseImage(30, 20, 4);
    const int32_t dest = byteImage(30, 20);
    EXPECT_EQ(1, I_CircleSmooth(im, dest, 0.0));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(1, I_CircleSmooth(im, dest, -1.0)); // one element of 100
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ(1, I_CircleSmooth(im, dest, -5.0));
    EXPECT_EQ(bytesOf(im), bytesOf(dest));
    EXPECT_EQ("MxNOperator: Kernel size less than 1: -3x-3. Continuing.", errorText());
}

TEST_F(LiteralSmoothingKernels, CirclesTellTheirProgress)
{
    static std::vector<std::string> texts;
    texts.clear();
    I_SetProgressCallback([](float, const char* text) { texts.emplace_back(text); }, 1000000);
    const vexa::Guard restore([] { I_SetProgressCallback(nullptr, 0); });
    const int32_t im = noiseImage(9, 9, 1);
    EXPECT_EQ(0, I_CircleSmooth(im, -60, 2.0));
    char text[40] = {};
    I_GetProgress(text, sizeof text);
    EXPECT_STREQ("Convolve", text);
    EXPECT_EQ(1, I_CircleSmooth(im, im, 2.0));
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ("Convolve", texts.back());
}

TEST_F(AgainstReferenceSmoothingKernels, CircleKernels)
{
    const int32_t im = noiseImage(50, 40, 7);
    const int32_t dest = byteImage(50, 40);
    const int32_t expected = byteImage(50, 40);
    for (const double diameter : {0.4, 1.0, 3.3, 6.0, 6.01, 17.7, 40.0, 254.0}) {
        const double D = diameter + 1.0;
        const auto n = static_cast<int32_t>(std::ceil(D)) | 1;
        const int32_t h = n / 2;
        std::vector<int32_t> kernel;
        int32_t sum = 0;
        for (int32_t j = 0; j < n; ++j) {
            for (int32_t i = 0; i < n; ++i) {
                const double x = h - i;
                const double y = h - j;
                const double e = (0.5 + 0.5 * D) - std::sqrt(x * x + y * y);
                kernel.push_back(e <= 0 ? 0 : e >= 1 ? 200 : static_cast<int32_t>(e * 200.0));
                sum += kernel.back();
            }
        }
        EXPECT_EQ(1, I_CircleSmooth(im, dest, diameter));
        EXPECT_EQ(1, I_MxNConvolve(n, n, kernel.data(), sum, im, expected));
        EXPECT_EQ(bytesOf(expected), bytesOf(dest)) << diameter;
    }
}

TEST_F(LiteralSmoothingKernels, AFilledCircleHasASoftEdge)
{
    const int32_t im = byteImage(9, 9, [](int32_t x, int32_t) { return x < 5 ? 0 : 100; });
    I_SetWindowROI(0, 0, 2, 2); // plays no part
    EXPECT_EQ(1, I_FillCircle(im, 4.0F, 4.0F, 200.0F, 3.0F));
    // e = distance - 1: 0.414 on the diagonal, so 0.586 * 200 + 0.414 * what was there; bytes are rounded.
    EXPECT_THAT(rowOf(im, 2), ElementsAre(0, 0, 0, 0, 0, 100, 100, 100, 100));
    EXPECT_THAT(rowOf(im, 3), ElementsAre(0, 0, 0, 117, 200, 159, 100, 100, 100));
    EXPECT_THAT(rowOf(im, 4), ElementsAre(0, 0, 0, 200, 200, 200, 100, 100, 100));
    EXPECT_THAT(rowOf(im, 5), ElementsAre(0, 0, 0, 117, 200, 159, 100, 100, 100));
    EXPECT_THAT(rowOf(im, 6), ElementsAre(0, 0, 0, 0, 0, 100, 100, 100, 100));
}

TEST_F(LiteralSmoothingKernels, TheLargestCircleThatIsFilled)
{
    const int32_t im = byteImage(600, 600);
    EXPECT_EQ(0, I_FillCircle(im, 300.0F, 300.0F, 9.0F, 500.5F));
    EXPECT_EQ(0, I_FillCircle(im, 300.0F, 300.0F, 9.0F, 501.0F));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, pixel(im, 300, 300));
    EXPECT_EQ(1, I_FillCircle(im, 300.0F, 300.0F, 9.0F, 500.0F));
    EXPECT_EQ(9, pixel(im, 300, 300));
    EXPECT_EQ(9, pixel(im, 51, 300));
    EXPECT_EQ(9, pixel(im, 549, 300));
    EXPECT_EQ(5, pixel(im, 550, 300)); // e = 0.5
    EXPECT_EQ(0, pixel(im, 551, 300));
    EXPECT_EQ(9, pixel(im, 300, 549));
}

TEST_F(AgainstReferenceSmoothingKernels, FilledCircles)
{
    std::mt19937 random(9);
    std::uniform_real_distribution<double> place(-8.0, 48.0);
    for (const int32_t type : {PIX_FLOAT, PIX_BYTE, PIX_WORD}) {
        for (int32_t round = 0; round < 40; ++round) {
            const int32_t im = image(40, 30, type, [](int32_t x, int32_t y) { return 3 * x + y; });
            const auto x = static_cast<float>(place(random));
            const auto y = static_cast<float>(place(random));
            const auto diameter = static_cast<float>(round * 0.37);
            EXPECT_EQ(1, I_FillCircle(im, x, y, 211.5F, diameter));
            const double r = static_cast<double>(diameter) * 0.5;
            const double x0 = std::floor(static_cast<double>(x) - r + 0.5);
            const double y0 = std::floor(static_cast<double>(y) - r + 0.5);
            const double size = std::ceil(static_cast<double>(diameter) + 0.5);
            for (int32_t j = 0; j < 30; ++j) {
                for (int32_t i = 0; i < 40; ++i) {
                    const double e =
                        std::hypot(i - static_cast<double>(x), j - static_cast<double>(y)) - r + 0.5;
                    const double before = 3 * i + j;
                    // The block that is painted may end before the soft edge does.
                    const bool inside = i >= x0 && i < x0 + size && j >= y0 && j < y0 + size;
                    const double after = e >= 1 || !inside ? before
                                         : e <= 0          ? 211.5
                                                           : (1 - e) * 211.5 + before * e;
                    const double stored = type == PIX_FLOAT  ? after
                                          : type == PIX_WORD ? std::trunc(after)
                                                             : std::floor(after + 0.5);
                    ASSERT_NEAR(stored, pixel(im, i, j),
                                type == PIX_FLOAT ? 1e-3
                                : e > 0 && e < 1  ? 1
                                                  : 0)
                        << i << ' ' << j << ' ' << x << ' ' << y;
                }
            }
            I_ImClose(im);
        }
    }
}

TEST_F(BoundsSmoothingKernels, CirclesOutsideTheImage)
{
    const int32_t im = noiseImage(20, 10, 1);
    const std::vector<uint8_t> before = bytesOf(im);
    for (const float at : {-100.0F, 100.0F, 1e9F, -1e30F, INFINITY, NAN}) {
        EXPECT_EQ(1, I_FillCircle(im, at, 5.0F, 99.0F, 10.0F));
        EXPECT_EQ(1, I_FillCircle(im, 5.0F, at, 99.0F, 10.0F));
    }
    EXPECT_EQ(1, I_FillCircle(im, 5.0F, 5.0F, 99.0F, -3.0F));
    EXPECT_EQ(1, I_FillCircle(im, 5.0F, 5.0F, 99.0F, -0.5F));
    EXPECT_EQ(1, I_FillCircle(im, 5.0F, 5.0F, 99.0F, NAN));
    EXPECT_EQ(before, bytesOf(im));
    EXPECT_EQ(1, I_FillCircle(im, 0.0F, 0.0F, 99.0F, 10.0F));
    EXPECT_EQ(99, pixel(im, 0, 0));
    EXPECT_EQ(99, pixel(im, 4, 0));
}

TEST_F(FailuresSmoothingKernels, CirclesThatAreTooLarge)
{
    const int32_t im = noiseImage(20, 10, 1);
    EXPECT_EQ(0, I_CircleSmooth(im, im, 255.0));
    EXPECT_EQ("I_CircleSmooth Dia=256.0", errorText());
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_CircleSmooth(im, im, 254.55));
    EXPECT_EQ("I_CircleSmooth Dia=255.6", errorText());
    clearError();
    EXPECT_EQ(1, I_CircleSmooth(im, im, 254.0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(FailuresSmoothingKernels, ImagesThatAreNotOpen)
{
    const int32_t im = noiseImage(20, 10, 1);
    EXPECT_EQ(0, I_GaussianSmooth(im, -60, 1.0));
    EXPECT_EQ("I_ImGetSize(, im=-60)  im. not open", errorText());
    EXPECT_EQ(0, I_GaussianSmooth(im, -60, 0.0));
    EXPECT_EQ(0, I_CircleSmooth(-60, im, 3.0));
    clearError();
    EXPECT_EQ(0, I_FillCircle(-60, 1.0F, 1.0F, 1.0F, 3.0F));
    EXPECT_EQ("I_GetBlockType(, im=-60)  im. not open", errorText());
}

TEST_F(FailuresSmoothingKernels, WithoutMemory)
{
    const int32_t im = noiseImage(20, 10, 1);
    const auto failed = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
    };
    forEachFailingAllocation([&] { return I_GaussianSmooth(im, im, 1.0); }, failed);
    forEachFailingAllocation([&] { return I_CircleSmooth(im, im, 3.0); }, failed);
    forEachFailingAllocation([&] { return I_FillCircle(im, 4.0F, 4.0F, 1.0F, 4.0F); }, failed);
    forEachFailingAllocation(
        [&] {
            int32_t* kernel = nullptr;
            int32_t sum = 0;
            const int32_t result = I_MakeGaussianKernel(5, 5, 1.0, 1.0, &kernel, &sum);
            EXPECT_EQ(result, sum);
            std::free(kernel);
            return result;
        },
        failed);
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_CircleSmooth(im, im, 3.0));
    EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_CircleSmooth: 100"));
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_FillCircle(im, 4.0F, 4.0F, 1.0F, 4.0F));
    EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_FillCircle: 100"));
    vexa::failAllocation(0, false);
}

} // namespace
