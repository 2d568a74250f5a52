// Convolution and its kernels against their descriptions followed step by step.
#include <numeric>

#include "filters/lens_profile.h"
#include "tests/filters/plain_neighbourhood.h"
#include "vexalib/convolution.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Weights = std::vector<int32_t>;

int16_t wordBoth(int32_t x)
{
    switch (I_GetClipMode()) {
    case 2:
        return static_cast<int16_t>(x < 0 ? 0u - static_cast<uint32_t>(x) : static_cast<uint32_t>(x));
    case 4:
        return static_cast<int16_t>(x / 2 + 128);
    case 7:
        return static_cast<int16_t>(static_cast<uint32_t>(x) * static_cast<uint32_t>(x));
    default:
        return static_cast<int16_t>(x);
    }
}

template <typename T, typename Clip>
Filter whole(const Weights& kernel, int32_t divisor, Clip clip)
{
    return each<T>([=](const Call& c, int32_t i) {
        uint32_t sum = static_cast<uint32_t>(divisor / 2); // wraps
        for (int32_t r = 0; r < c.N; ++r)
            for (int32_t k = 0; k < c.M; ++k)
                sum += static_cast<uint32_t>(kernel[static_cast<std::size_t>(r * c.M + k)]) *
                       c.pixel<T>(r, i + k);
        return clip(static_cast<int32_t>(sum) / divisor);
    });
}

Filter single(const std::vector<float>& kernel, int32_t dst)
{
    return each<float>([=](const Call& c, int32_t i) {
        float sum = 0;
        for (int32_t r = 0; r < c.N; ++r)
            for (int32_t k = 0; k < c.M; ++k)
                sum += kernel[static_cast<std::size_t>(r * c.M + k)] * c.pixel<float>(r, i + k);
        return floatBoth(sum, dst);
    });
}

int32_t convolve(int32_t M, int32_t N_, Weights& kernel, int32_t divisor, int32_t src, int32_t dst)
{
    if (divisor == 0) {
        divisor = std::abs(std::accumulate(kernel.begin(), kernel.end(), 0));
        if (divisor == 0)
            kernel[static_cast<std::size_t>(M * N_ / 2)] = divisor = 1;
    }
    const int32_t type = widest(src, dst);
    if (type == 1)
        return frame(src, dst, M, N_, 1, whole<uint8_t>(kernel, divisor, byteBoth));
    if (type == 2)
        return frame(src, dst, M, N_, 2, whole<uint16_t>(kernel, divisor, wordBoth));
    if (M == 3 && N_ == 3)
        return frame(src, dst, 3, 3, 4, each<float>([=](const Call& c, int32_t i) {
                         int32_t sum = 0;
                         for (int32_t k = 0; k < 9; ++k)
                             sum = static_cast<int32_t>(
                                 static_cast<float>(sum) +
                                 static_cast<float>(kernel[static_cast<std::size_t>(k)]) *
                                     c.pixel<float>(k / 3, i + k % 3));
                         return byteBoth(sum / divisor);
                     }));
    std::vector<float> copy;
    for (const int32_t v : kernel)
        copy.push_back(static_cast<float>(v) / static_cast<float>(divisor));
    return frame(src, dst, M, N_, 4, single(copy, dst));
}

TEST(IndependentConvolution, WeighsByWholeNumbers)
{
    Options options;
    options.tries = 900;
    options.types = {PIX_BYTE,  PIX_BYTE,  PIX_BYTE,   PIX_WORD,  PIX_WORD,
                     PIX_FLOAT, PIX_DWORD, PIX_DFLOAT, PIX_BGR24, PIX_RGB32};
    options.clips = true;
    compare(options, [](Random& random, std::string& told) {
        const bool threes = between(random, 0, 2) == 0;
        const int32_t M = threes ? 3 : between(random, 1, 9), N_ = threes ? 3 : between(random, 1, 9);
        const int32_t high = std::vector<int32_t>{1,   9,    40,    127,   128,   200,    255,
                                                  256, 1000, 32767, 32768, 40000, 3000000}[random() % 13],
                      low = between(random, 0, 1) ? -high : 0;
        Weights kernel;
        const int32_t shape = between(random, 0, 2); // any, separable, the same everywhere
        for (int32_t i = 0; i < M * N_; ++i)
            kernel.push_back(shape == 0   ? between(random, low, high)
                             : shape == 1 ? (1 + std::min(i % M, M - 1 - i % M)) *
                                                (1 + std::min(i / M, N_ - 1 - i / M))
                                          : high);
        int32_t divisor = between(random, 0, 1) ? 0 : between(random, -3, 300);
        // Clip mode 3 of words is told with a limit that is never set.
        if (I_GetClipMode() == 3)
            I_SetClipMode(1);
        told = std::to_string(M) + "x" + std::to_string(N_) + " divisor " + std::to_string(divisor) +
               " high " + std::to_string(high) + " shape " + std::to_string(shape);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) {
                Weights own = kernel, want = kernel;
                const int32_t sum = std::abs(std::accumulate(kernel.begin(), kernel.end(), 0));
                if (divisor == 0 && sum == 0)
                    want[static_cast<std::size_t>(M * N_ / 2)] = 1;
                const int32_t result = I_MxNConvolve(M, N_, own.data(), divisor, src, dst);
                EXPECT_EQ(own, want);
                return result;
            },
            [=](int32_t src, int32_t dst) {
                Weights own = kernel;
                return convolve(M, N_, own, divisor, src, dst);
            });
    });
}

TEST(IndependentConvolution, WeighsByFloats)
{
    Options options;
    options.types = {PIX_FLOAT, PIX_BYTE, PIX_WORD, PIX_BGR24};
    options.clips = true;
    compare(options, [](Random& random, std::string& told) {
        const int32_t M = between(random, 1, 9), N_ = between(random, 1, 9);
        std::vector<float> weights;
        for (int32_t i = 0; i < M * N_; ++i)
            weights.push_back(static_cast<float>(between(random, -100, 300)) / 771.0f);
        told = std::to_string(M) + "x" + std::to_string(N_);
        // The range is that of the operator before: one whose destination is dst.
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) {
                std::vector<float> own = weights;
                Kernel kernel = {};
                kernel.cols = M, kernel.rows = N_, kernel.kernelData = own.data();
                NarrowestPixelType(src, dst, 4095, 1);
                return I_Convolve(src, dst, &kernel, PIX_FLOAT);
            },
            [=](int32_t src, int32_t dst) {
                return frame(src, dst, M, N_, PIX_FLOAT, single(weights, dst));
            });
    });
}

TEST(IndependentConvolution, WeighsByComplexNumbers)
{
    Options options;
    options.types = {PIX_COMPLEX, PIX_COMPLEX, PIX_FLOAT, PIX_BYTE};
    options.clips = true;
    options.tolerance = 1e-4;
    compare(options, [](Random& random, std::string& told) {
        const int32_t M = between(random, 1, 6), N_ = between(random, 1, 6), kind = between(random, 0, 2);
        std::vector<VexaPointF> weights;
        for (int32_t i = 0; i < M * N_; ++i) {
            const auto re = static_cast<float>(between(random, 1, 40) * 20);
            // At a twentieth of the real part the kernel still counts as real.
            const float im = kind == 0                      ? re / 20
                             : kind == 1 && i == M * N_ - 1 ? re / 20 + 0.0625f
                             : kind == 1                    ? 0
                                                            : re * 0.5f;
            weights.push_back({re, between(random, 0, 1) ? im : -im});
        }
        const bool real = kind == 0;
        told = std::to_string(M) + "x" + std::to_string(N_) + " kind " + std::to_string(kind);
        const Filter filter = [=](const Call& c) {
            for (int32_t i = 0; i < c.count; ++i) {
                float re = 0, im = 0;
                for (int32_t k = 0; k < M * N_; ++k) {
                    const auto p = c.pixel<VexaPointF>(k / M, i + k % M),
                               w = weights[static_cast<std::size_t>(k)];
                    re += real ? w.x * p.x : p.x * w.x - p.y * w.y;
                    im += real ? w.x * p.y : p.x * w.y + p.y * w.x;
                }
                const int32_t mode = I_GetClipMode();
                if (mode == 2)
                    re = std::hypot(re, im), im = 0;
                else if (mode == 7)
                    re = re * re + im * im, im = 0;
                put<VexaPointF>(c.out, i, {re, im});
            }
        };
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) {
                std::vector<VexaPointF> own = weights;
                Kernel kernel = {};
                kernel.cols = M, kernel.rows = N_, kernel.complexData = own.data();
                return I_Convolve(src, dst, &kernel, PIX_COMPLEX);
            },
            [=](int32_t src, int32_t dst) { return frame(src, dst, M, N_, PIX_COMPLEX, filter); });
    });
}

float profile(float radius, float mixed)
{
    if (radius == 0)
        return 1;
    const auto r = static_cast<double>(radius), mix = static_cast<double>(mixed);
    const double z = r * 3.14159265358979323846,
                 a = 2 * static_cast<double>(bessj1(static_cast<float>(z))) / z;
    if (vexa::lensProfileMode() == 7)
        return static_cast<float>(std::exp(-1 * r * r) * (mix * mix) + (1 - mix * mix) * a);
    const double v = std::exp(-2 * r * r) * mix + (1 - mix) * a * a;
    return static_cast<float>(v * v);
}

int32_t makeGaussian(int32_t cols, int32_t rows, double blur, double mix, Weights& kernel)
{
    kernel.clear();
    blur = blur <= 0.0001 ? 0.0001 : blur;
    for (int32_t j = 0; j < rows; ++j)
        for (int32_t i = 0; i < cols; ++i)
            kernel.push_back(Rnd(static_cast<float>(
                static_cast<double>(profile(static_cast<float>(std::hypot(cols / 2 - i, rows / 2 - j) / blur),
                                            static_cast<float>(mix))) *
                1000.0)));
    return std::accumulate(kernel.begin(), kernel.end(), 0);
}

TEST(IndependentConvolution, MakesGaussianKernels)
{
    Random random(31);
    for (int32_t k = 0; k < 400; ++k) {
        const int32_t cols = between(random, 1, 60), rows = between(random, 1, 40);
        const double blur = between(random, -1, 900) / 40.0, mix = between(random, -4, 12) / 8.0;
        Weights want;
        const int32_t form = vexa::setLensProfileMode(between(random, 0, 2) == 0 ? 7 : 1);
        const int32_t wanted = makeGaussian(cols, rows, blur, mix, want);
        int32_t *kernel = nullptr, sum = -1;
        const int32_t got = I_MakeGaussianKernel(cols, rows, blur, mix, &kernel, &sum);
        vexa::setLensProfileMode(form);
        ASSERT_NE(kernel, nullptr);
        const Weights own(kernel, kernel + cols * rows);
        vexaFree(kernel);
        EXPECT_EQ(got, sum);
        ASSERT_EQ(own, want) << cols << "x" << rows << " blur " << blur << " mix " << mix;
        EXPECT_EQ(got, wanted);
    }
    int32_t *kernel = nullptr, sum = -1;
    Messages messages;
    I_MakeGaussianKernel(120, 1, 5.0, 1.0, &kernel, &sum);
    EXPECT_TRUE(messages.all().empty());
    EXPECT_GT(I_MakeGaussianKernel(121, 1, 5.04, 1.0, &kernel, &sum), 1000);
    EXPECT_THAT(messages.all(), testing::ElementsAre("I_MakeGaussianKernel: Blur=5.0 kcols=121"));
    EXPECT_EQ(I_MakeGaussianKernel(3, 0, 5.0, 1.0, &kernel, &sum), 0);
    EXPECT_EQ(sum, 0);
    EXPECT_EQ(I_MakeGaussianKernel(3, 1, 0.0, 1.0, &kernel, &sum), 1000);
    EXPECT_THAT(Weights(kernel, kernel + 3), testing::ElementsAre(0, 1000, 0));
    vexaFree(kernel);
}

TEST(IndependentConvolution, SmoothsByGaussiansAndDiscs)
{
    compare({{PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_BGR24}, 200}, [](Random& random,
                                                                            std::string& told) {
        const bool disc = between(random, 0, 1) == 0, plainGauss = between(random, 0, 1) == 0;
        const double size = !disc && between(random, 0, 19) == 0 ? between(random, 1, 3) * 10.0
                                                                 : between(random, disc ? 0 : -3, 90) / 20.0,
                     mix = plainGauss ? 1.0 : between(random, 0, 4) / 4.0;
        told = (disc ? "disc " : "gauss ") + std::to_string(size) + " mix " + std::to_string(mix);
        return std::pair<Operation, Operation>(
            [=](int32_t src, int32_t dst) {
                return disc         ? I_CircleSmooth(src, dst, size)
                       : plainGauss ? I_GaussianSmooth(src, dst, size)
                                    : I_GaussianSmooth2(src, dst, size, mix);
            },
            [=](int32_t src, int32_t dst) {
                Weights kernel;
                if (!disc && size <= 0)
                    return I_ImageCopy(src, dst);
                int32_t n = 0, sum = 0;
                if (disc) {
                    const double D = size + 1.0;
                    n = static_cast<int32_t>(std::ceil(D)) | 1;
                    const auto h = static_cast<int32_t>(n * 0.5);
                    for (int32_t y = h; y > h - n; --y)
                        for (int32_t x = h; x > h - n; --x) {
                            const double e = (0.5 + 0.5 * D) - std::sqrt(x * x + y * y);
                            kernel.push_back(e <= 0 ? 0 : e >= 1 ? 200 : static_cast<int32_t>(e * 200.0));
                        }
                    sum = std::accumulate(kernel.begin(), kernel.end(), 0);
                } else {
                    n = std::clamp(static_cast<int32_t>(std::ceil(size * static_cast<double>(3.7f))) | 1, 1,
                                   101);
                    sum = makeGaussian(n, n, size, mix, kernel);
                }
                return convolve(n, n, kernel, sum, src, dst);
            });
    });
}

TEST(IndependentConvolution, PaintsDiscs)
{
    Random random(33);
    for (int32_t k = 0; k < 300; ++k) {
        const Shape shape{between(random, 1, 40),
                          between(random, 1, 30),
                          std::vector<int32_t>{1, 2, 3, 4, 5, 16}[random() % 6],
                          between(random, 0, 2) == 0,
                          false,
                          between(random, 0, 5) == 0,
                          static_cast<uint32_t>(random())};
        const auto x = static_cast<float>(between(random, -80, 400)) / 8,
                   y = static_cast<float>(between(random, -80, 300)) / 8;
        const auto value = static_cast<float>(between(random, 0, 255)),
                   diameter = static_cast<float>(between(random, -8, 200)) / 8;
        const Picture a = shape.open(), b = shape.open();
        const int32_t got = I_FillCircle(a.im, x, y, value, diameter);
        const float r = diameter * 0.5f;
        const auto x0 = static_cast<int32_t>(std::floor(x - r + 0.5f)),
                   y0 = static_cast<int32_t>(std::floor(y - r + 0.5f));
        const auto size = static_cast<int32_t>(std::ceil(diameter + 0.5f));
        if (size > 0) {
            EXPECT_EQ(got, 1);
            std::vector<float> block(static_cast<std::size_t>(size * size));
            I_GetBlockType(x0, y0, size, size, block.data(), b.im, PIX_FLOAT);
            for (int32_t j = 0; j < size; ++j)
                for (int32_t i = 0; i < size; ++i) {
                    float& p = block[static_cast<std::size_t>(j * size + i)];
                    const float dx = static_cast<float>(i) - (x - static_cast<float>(x0)),
                                dy = static_cast<float>(j) - (y - static_cast<float>(y0));
                    const float e = std::sqrt(dx * dx + dy * dy) - r + 0.5f;
                    p = e >= 1 ? p : e <= 0 ? value : (1 - e) * value + p * e;
                }
            I_PutBlockType(x0, y0, size, size, block.data(), b.im, PIX_FLOAT);
        }
        ASSERT_TRUE(close(a, b, 1e-4)) << x << " " << y << " " << diameter << " " << tell(shape);
        a.close();
        b.close();
    }
    const int32_t im = byteImage(510, 510);
    clearError();
    EXPECT_EQ(I_FillCircle(im, 255, 255, 9, 500.5f), 0);
    EXPECT_EQ(I_GetPixByte(255, 255, im), 0);
    EXPECT_EQ(I_FillCircle(im, 255, 255, 9, 500), 1);
    EXPECT_EQ(I_GetPixByte(255, 6, im), 9);
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    I_ImClose(im);
}

TEST(IndependentConvolution, KnowsTheListedCases)
{
    const int32_t im = noiseImage(12, 9, 1), out = byteImage(12, 9);
    Weights zeros(15);
    EXPECT_EQ(I_MxNConvolve(5, 3, zeros.data(), 0, im, out), 1);
    EXPECT_EQ(bytesOf(out), bytesOf(im));
    EXPECT_EQ(zeros[7], 1);
    Weights tall(1025, 1);
    clearError();
    EXPECT_EQ(I_MxNConvolve(1, 1025, tall.data(), 0, im, out), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 12);
    EXPECT_EQ(errorText(), "mxnconv ksize=1,1025");
    std::fill(tall.begin(), tall.end(), 0); // its sum is looked at first
    EXPECT_EQ(I_MxNConvolve(1, 1025, tall.data(), 0, im, out), 0);
    EXPECT_EQ(tall[512], 1);
    EXPECT_EQ(I_MxNConvolve(1, 1024, tall.data(), 0, im, out), 1);
    EXPECT_EQ(I_CircleSmooth(im, out, 0), 1);
    EXPECT_EQ(bytesOf(out), bytesOf(im));
    clearError();
    EXPECT_EQ(I_CircleSmooth(im, out, 255.01), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 12);
    EXPECT_EQ(errorText(), "I_CircleSmooth Dia=256.0");
    EXPECT_EQ(I_CircleSmooth(im, out, 254.0), 1);         // 255 columns
    EXPECT_EQ(I_GaussianSmooth2(im, out, -1, 1), 12 * 9); // a copy, as it tells its pixels
    vexa::setLensProfileMode(7);
    I_ImClear(out, 0);
    EXPECT_EQ(I_GaussianSmooth2(im, out, -1, 1), 1); // one element
    EXPECT_EQ(bytesOf(out), bytesOf(im));
    vexa::setLensProfileMode(1);
    EXPECT_EQ(I_SetGaussianKernelSize(0.5f), 3.7f);
    EXPECT_EQ(I_SetGaussianKernelSize(2.0f), 3.7f);
    EXPECT_EQ(I_SetGaussianKernelSize(3.7f), 2.0f);
    Kernel kernel = {};
    kernel.cols = -3, kernel.rows = 5;
    clearError();
    EXPECT_EQ(I_Convolve(im, out, &kernel, 4), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 27);
    EXPECT_EQ(errorText(), "I_Convolve Kernel size=-3 x 5");
    float one[1] = {1};
    kernel.cols = kernel.rows = 1, kernel.kernelData = one;
    clearError();
    testing::internal::CaptureStderr();
    EXPECT_EQ(I_Convolve(im, out, &kernel, 1), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("I_Convolve: illegal type=1"), std::string::npos);
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    std::vector<float> long_(1100, 1.0f / 1100);
    kernel.rows = 1100, kernel.kernelData = long_.data(); // no limit of its own
    setBorder(-1);
    EXPECT_EQ(I_Convolve(im, out, &kernel, 4), 1);
    EXPECT_NEAR(I_GetPixByte(0, 4, out), (I_GetPixByte(0, 0, im) + I_GetPixByte(0, 8, im)) / 2, 2);
    const int32_t complex = image(12, 9, PIX_COMPLEX);
    Weights cross = {0, 1, 0, 1, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    I_SetComplexMode(2);
    EXPECT_EQ(I_MxNConvolve(3, 3, cross.data(), 0, complex, complex), 1);
    EXPECT_EQ(I_GetError(nullptr, 0), -1);
    EXPECT_EQ(errorText(), "I_MxNConvolve does not support complex images yet");
    EXPECT_EQ(I_SetComplexMode(0), 2);
    closeImages({im, out, complex});
}

TEST(IndependentConvolution, ClipsByTheTableNotByTheWord)
{
    const int32_t im = image(2, 2, PIX_COMPLEX), out = image(2, 2, PIX_COMPLEX);
    const VexaPointF p = {3, -4};
    VexaPointF q = {};
    for (int32_t k = 0; k < 4; ++k)
        I_PutBlockType(k % 2, k / 2, 1, 1, &p, im, PIX_COMPLEX);
    VexaPointF one[] = {{1, 0}};
    Kernel kernel = {};
    kernel.cols = kernel.rows = 1, kernel.complexData = one;
    I_SetROIType(0);
    const bool fresh = testing::UnitTest::GetInstance()->test_to_run_count() == 1;
    I_Convolve(im, out, &kernel, PIX_COMPLEX);
    I_GetBlockType(1, 1, 1, 1, &q, out, PIX_COMPLEX);
    EXPECT_EQ(q.x, fresh ? 5.0f : 3.0f); // the magnitude before any mode was set
    I_SetClipMode(1);
    I_Convolve(im, out, &kernel, PIX_COMPLEX);
    I_GetBlockType(1, 1, 1, 1, &q, out, PIX_COMPLEX);
    EXPECT_EQ(q.x, 3.0f);
    EXPECT_EQ(q.y, -4.0f);
    // Floats are held in the range that the operator before has set: that of bytes.
    const int32_t steep = floatImage(2, 2, [](int32_t x, int32_t y) { return 900 * x - 100 * y; }),
                  held = floatImage(2, 2);
    float unit[] = {1};
    kernel.kernelData = unit;
    const int32_t byte = byteImage(2, 2);
    NarrowestPixelType(steep, byte, 4095, 0);
    I_Convolve(steep, held, &kernel, PIX_FLOAT);
    EXPECT_THAT(rowOf(held, 1), testing::ElementsAre(0, 255));
    NarrowestPixelType(steep, held, 4095, 0);
    I_Convolve(steep, held, &kernel, PIX_FLOAT);
    EXPECT_THAT(rowOf(held, 1), testing::ElementsAre(-100, 800));
    closeImages({steep, held, byte});
    // A mode that does not exist leaves the table of the one before.
    const int32_t bytes = noiseImage(9, 7, 1),
                  floats = floatImage(9, 7, [](int32_t x, int32_t y) { return x * y % 7; });
    const int32_t a = byteImage(9, 7), b = byteImage(9, 7), c = floatImage(9, 7), d = floatImage(9, 7);
    for (int32_t mode = 0; mode < 8; ++mode) {
        const auto run = [&](int32_t asBytes, int32_t asFloats) {
            int32_t edge[] = {-1, -1, -1, 0, 0, 0, 1, 1, 1}, wide[] = {-3, 0, 1, 1, 3};
            I_Sharpen(bytes, asBytes, 40, 1, 1);
            I_MxNConvolve(5, 1, wide, 1, asBytes, asBytes);
            I_MxNConvolve(3, 3, edge, 2, asBytes, asBytes);
            I_Sharpen(floats, asFloats, 40, 1, 1);
            I_MxNConvolve(5, 1, wide, 1, asFloats, asFloats);
        };
        I_SetClipMode(mode);
        run(a, c);
        EXPECT_EQ(I_SetClipMode(8), mode);
        run(b, d);
        EXPECT_EQ(bytesOf(a), bytesOf(b)) << mode;
        EXPECT_EQ(bytesOf(c), bytesOf(d)) << mode;
    }
    I_SetClipMode(1);
    clearError();
    closeImages({im, out, bytes, floats, a, b, c, d});
}

} // namespace
