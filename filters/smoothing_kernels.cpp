// Kernels that are made from a formula, and the smoothing with them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>

#include "filters/lens_profile.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/convolution.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

struct State {
    float gaussianKernelSize = 3.7F; // width of the kernel as a multiple of the blur
    int32_t lensProfileMode = 1;
};
State state;

constexpr int32_t kMostGaussianColumns = 101;
constexpr int32_t kMostCircleColumns = 255;
constexpr double kLargestFilledCircle = 500.0;

// trunc(ceil(x)) with its lowest bit set.
int32_t oddSize(double x)
{
    return vexa::truncToInt32(std::ceil(x)) | 1;
}

// A square kernel of anti-aliased disc weights, 200 inside, and its sum.
int32_t fillDisc(int32_t* kernel, int32_t n, double diameter)
{
    const int32_t half = n / 2;
    int32_t sum = 0;
    for (int32_t y = half; y > half - n; --y) {
        for (int32_t x = half; x > half - n; --x) {
            const double inside = 0.5 + 0.5 * diameter - std::sqrt(static_cast<double>(x * x + y * y));
            const double weight = inside <= 0.0 ? 0.0 : inside >= 1.0 ? 200.0 : inside * 200.0;
            *kernel = static_cast<int32_t>(weight);
            sum += *kernel++;
        }
    }
    return sum;
}

struct Disc {
    double x; // centre within the block
    double y;
    double radius;
    float value;
};

void blendDisc(float* block, int32_t size, const Disc& disc)
{
    for (int32_t j = 0; j < size; ++j) {
        for (int32_t i = 0; i < size; ++i, ++block) {
            const double dx = i - disc.x;
            const double dy = j - disc.y;
            const double e = std::sqrt(dx * dx + dy * dy) - disc.radius + 0.5;
            if (e <= 0.0)
                *block = disc.value;
            else if (e < 1.0)
                *block = static_cast<float>((1.0 - e) * static_cast<double>(disc.value) +
                                            static_cast<double>(*block) * e);
        }
    }
}

} // namespace

namespace vexa
{

int32_t lensProfileMode()
{
    return state.lensProfileMode;
}

int32_t setLensProfileMode(int32_t mode)
{
    return std::exchange(state.lensProfileMode, mode);
}

float lensBlurProfile(float r, float mix)
{
    if (r == 0.0F)
        return 1.0F;
    const double z = static_cast<double>(r) * std::numbers::pi;
    const double airy = 2.0 * static_cast<double>(bessj1(static_cast<float>(z))) / z;
    const double square = static_cast<double>(r) * static_cast<double>(r);
    const double m = static_cast<double>(mix);
    if (state.lensProfileMode == kSecondLensProfile)
        return static_cast<float>(std::exp(-square) * m * m + (1.0 - m * m) * airy);
    const double v = std::exp(-2.0 * square) * m + (1.0 - m) * airy * airy;
    return static_cast<float>(v * v);
}

} // namespace vexa

int32_t I_MakeGaussianKernel(int32_t kcols, int32_t krows, double blur, double mix, int32_t** kernel,
                             int32_t* sum)
{
    if (sum)
        *sum = 0;
    if (!kernel)
        return 0;
    if (kcols > 120)
        I_PostMessage("I_MakeGaussianKernel: Blur=%.1f kcols=%d", blur, kcols);
    std::free(*kernel);
    const int64_t count = int64_t{kcols} * krows;
    const bool possible = count <= INT32_MAX;
    *kernel = static_cast<int32_t*>(vexa::allocateForCaller(possible ? std::max<int64_t>(count, 1) : -1, 4));
    if (malloctest(*kernel, "I_MakeGaussianKernel: %d",
                   vexa::saturateToInt32(4 * int64_t{vexa::saturateToInt32(count)})))
        return 0;
    const double width = blur <= 0.0001 ? 0.0001 : blur;
    int32_t total = 0;
    int32_t* element = *kernel;
    for (int32_t y = krows / 2; y > krows / 2 - krows; --y) {
        for (int32_t x = kcols / 2; x > kcols / 2 - kcols; --x) {
            const auto r = static_cast<float>(std::hypot(x, y) / width);
            const float weight = vexa::lensBlurProfile(r, static_cast<float>(mix));
            *element = Rnd(static_cast<float>(static_cast<double>(weight) * 1000.0));
            total = vexa::wrapAdd(total, *element++);
        }
    }
    if (sum)
        *sum = total;
    return total;
}

int32_t I_GaussianSmooth2(int32_t imSrc, int32_t imDest, double blur, double mix)
{
    if (blur <= 0.0 && state.lensProfileMode != vexa::kSecondLensProfile)
        return I_ImageCopy(imSrc, imDest);
    const int32_t k =
        std::clamp(oddSize(blur * static_cast<double>(state.gaussianKernelSize)), 1, kMostGaussianColumns);
    int32_t* kernel = nullptr;
    int32_t sum = 0;
    I_MakeGaussianKernel(k, k, blur, mix, &kernel, &sum);
    const int32_t status = I_MxNConvolve(k, k, kernel, sum, imSrc, imDest);
    std::free(kernel);
    return status;
}

int32_t I_GaussianSmooth(int32_t imSrc, int32_t imDest, double blur)
{
    return I_GaussianSmooth2(imSrc, imDest, blur, 1.0);
}

float I_SetGaussianKernelSize(float size)
{
    return size > 0.5F ? std::exchange(state.gaussianKernelSize, size) : state.gaussianKernelSize;
}

int32_t I_CircleSmooth(int32_t imSrc, int32_t imDest, double diameter)
{
    const double width = diameter + 1.0;
    const int32_t n = oddSize(width);
    if (n > kMostCircleColumns) {
        I_SetError(12, "I_CircleSmooth Dia=%.1f", width);
        return 0;
    }
    const int32_t columns = std::max(n, 0); // a diameter far below 0 leaves a kernel without elements
    vexa::Buffer<int32_t> kernel(std::max(columns * columns, 1));
    if (malloctest(kernel.data(), "I_CircleSmooth: %d", columns * columns * 4))
        return 0;
    const int32_t sum = fillDisc(kernel.data(), columns, width);
    I_TellProgress(0.0F, 0.0F, "Smooth");
    return I_MxNConvolve(n, n, kernel.data(), sum, imSrc, imDest);
}

int32_t I_FillCircle(int32_t image, float x, float y, float value, float diameter)
{
    const double width = static_cast<double>(diameter);
    const double radius = width * 0.5;
    const double left = std::floor(static_cast<double>(x) - radius + 0.5);
    const double top = std::floor(static_cast<double>(y) - radius + 0.5);
    // Required: a diameter of 500 is painted, though its block has 501 columns.
    if (width > kLargestFilledCircle)
        return 0;
    const int32_t size = std::max(vexa::truncToInt32(std::ceil(width + 0.5)), 0);
    vexa::Buffer<float> block(std::max(size * size, 1));
    if (malloctest(block.data(), "I_FillCircle: %d", size * size * 4))
        return 0;
    const int32_t x0 = vexa::truncToInt32(left);
    const int32_t y0 = vexa::truncToInt32(top);
    if (!I_GetBlockType(x0, y0, size, size, block.data(), image, PIX_FLOAT) && !I_ImValid(image))
        return 0;
    blendDisc(block.data(), size,
              {static_cast<double>(x) - left, static_cast<double>(y) - top, radius, value});
    I_PutBlockType(x0, y0, size, size, block.data(), image, PIX_FLOAT);
    return 1;
}
