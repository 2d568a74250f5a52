// Kernel records and measured profiles against their descriptions followed step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/convolution.h"
#include "vexalib/kernels.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

TEST(IndependentKernels, NormalisesRawKernels)
{
    Random random(41);
    Kernel* kernel = nullptr;
    for (int32_t k = 0; k < 200; ++k) {
        const int32_t cols = between(random, 1, 9), rows = between(random, 1, 9), n = cols * rows;
        std::vector<float> real(static_cast<std::size_t>(n));
        std::vector<VexaPointF> pairs(real.size());
        const int32_t low = between(random, 0, 1) ? -1000 : 0;
        for (std::size_t i = 0; i < real.size(); ++i) {
            real[i] = static_cast<float>(between(random, low, 1000)) / 64;
            pairs[i] = {static_cast<float>(between(random, -50, 900)) / 64,
                        static_cast<float>(between(random, -90, 90)) / 64};
        }
        if (between(random, 0, 9) == 0) // no net sum
            for (std::size_t i = 0; i < real.size(); ++i)
                real[i] = i % 2 == 0 && i + 1 < real.size() ? 2.0f : i % 2 ? -2.0f : 0.0f;
        const float isigma = between(random, 0, 1) ? 0.95f : 0.9f;
        if (kernel != nullptr)
            kernel->isigma = isigma;
        const float used = kernel == nullptr ? 0 : isigma;
        Kernel* result = I_MakeComplexKernel(kernel, cols, rows, real.data(), pairs.data());
        ASSERT_NE(result, nullptr);
        if (kernel != nullptr) {
            EXPECT_EQ(result, kernel);
        }
        kernel = result;
        EXPECT_EQ(kernel->cols, cols);
        EXPECT_EQ(kernel->rows, rows);
        double m = 0, s = 0, squares = 0;
        for (const float v : real) {
            m = std::max(m, std::fabs(static_cast<double>(v)));
            s += static_cast<double>(v);
            squares += static_cast<double>(v) * static_cast<double>(v);
        }
        double scale = 1 / std::max(std::fabs(s), 0.0001);
        if (used > 0.9f) {
            const double t = s / std::sqrt(squares) / 1.5;
            scale *= t <= 1 ? t : 1;
        }
        double sr = 0, si = 0;
        for (const VexaPointF& p : pairs) {
            sr += static_cast<double>(p.x) * scale;
            si += static_cast<double>(p.y) * scale;
        }
        const double h = std::max(std::hypot(sr, si), 0.001);
        for (std::size_t i = 0; i < real.size() && m > 0; ++i) {
            const auto near = [&](float got, double want) {
                EXPECT_NEAR(got, want, 1e-4 * std::max(1.0, std::fabs(want))) << "try " << k;
            };
            near(kernel->displayData[i], static_cast<double>(real[i]) * 1000.0 / m);
            near(kernel->kernelData[i], static_cast<double>(real[i]) * scale);
            near(kernel->complexData[i].x, static_cast<double>(pairs[i].x) * scale / h);
            near(kernel->complexData[i].y, static_cast<double>(pairs[i].y) * scale / h);
            EXPECT_EQ(kernel->spareArray[i].x, 0.0f);
        }
        if (HasFailure())
            break;
    }
    EXPECT_EQ(I_FreeKernel(kernel), 1);
    EXPECT_EQ(I_FreeKernel(nullptr), 0);
}

TEST(IndependentKernels, ClosesTheImagesOfARecord)
{
    const float real[] = {1};
    const VexaPointF pairs[] = {{1, 0}};
    Kernel* kernel = I_MakeComplexKernel(nullptr, 1, 1, real, pairs);
    ASSERT_NE(kernel, nullptr);
    int32_t* const slots[] = {&kernel->imLens, &kernel->imSpread, &kernel->imIllum, &kernel->imFurther[0],
                              &kernel->imFurther[1]};
    std::vector<int32_t> images;
    for (int32_t* slot : slots)
        images.push_back(*slot = byteImage(2, 2));
    EXPECT_EQ(I_FreeKernel(kernel), 1);
    for (const int32_t im : images)
        EXPECT_EQ(I_ImValid(im), 0);
    clearError();
}

std::vector<int32_t> custom(int32_t M, int32_t N, const std::vector<double>& xs,
                            const std::vector<double>& ys)
{
    std::vector<int32_t> kernel;
    const int32_t c = M / 2, r = N / 2;
    const auto at2 = [](const std::vector<double>& v, double place) {
        const auto i = static_cast<int32_t>(place);
        return i < 0 || i >= static_cast<int32_t>(v.size()) ? 0.0 : v[static_cast<std::size_t>(i)];
    };
    for (int32_t j = 0; j < N; ++j)
        for (int32_t i = 0; i < M; ++i) {
            const int32_t dx = std::abs(i - c), dy = std::abs(j - r);
            const double d = std::hypot(dx, dy), w = dx + dy == 0 ? 0.5 : static_cast<double>(dx) / (dx + dy);
            const double x = at2(xs, i < c ? c - d : c + d), y = at2(ys, j < r ? r - d : r + d);
            kernel.push_back(static_cast<int32_t>(((1 - w) * y + w * x) * 1000.0));
        }
    return kernel;
}

TEST(IndependentKernels, InterpolatesProfilesAroundTheCircle)
{
    Random random(42);
    int32_t* kernel = nullptr;
    const int32_t im = noiseImage(20, 15, 5), out = byteImage(20, 15), want = byteImage(20, 15);
    for (int32_t k = 0; k < 300; ++k) {
        const int32_t M = between(random, 1, 12), N = between(random, 1, 12);
        std::vector<double> xs(static_cast<std::size_t>(M)), ys(static_cast<std::size_t>(N));
        for (double& v : xs)
            v = between(random, 0, 1000) / 1000.0;
        for (double& v : ys)
            v = between(random, 0, 1000) / 777.0;
        std::vector<int32_t> wanted = custom(M, N, xs, ys);
        int32_t sum = -1, total = 0;
        I_CustomBlurKernel(M, N, xs.data(), ys.data(), &kernel, &sum);
        ASSERT_NE(kernel, nullptr);
        ASSERT_EQ(std::vector<int32_t>(kernel, kernel + M * N), wanted) << M << "x" << N;
        for (const int32_t v : wanted)
            total += v;
        EXPECT_EQ(sum, total);
        EXPECT_EQ(I_CustomSmooth(im, out, M, N, xs.data(), ys.data()),
                  I_MxNConvolve(M, N, wanted.data(), total, im, want));
        ASSERT_EQ(bytesOf(out), bytesOf(want));
    }
    const double one[] = {0.7004};
    int32_t sum = 0;
    I_CustomBlurKernel(-2, 0, one, one, &kernel, &sum); // counts as 1 by 1
    EXPECT_EQ(sum, 700);
    EXPECT_EQ(kernel[0], 700);
    vexaFree(kernel);
    closeImages({im, out, want});
}

} // namespace
