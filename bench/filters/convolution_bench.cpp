#include <array>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/convolution.h"

namespace vexa::bench
{
namespace
{

// Weights of both signs, n by n, whose sum divides them; the centre keeps the sum positive.
std::vector<int32_t> weightsOf(int32_t n, int32_t most)
{
    cv::RNG random(n);
    std::vector<int32_t> weights;
    int32_t sum = 0;
    for (int32_t i = 0; i < n * n; ++i) {
        weights.push_back(random.uniform(-most / 2, most + 1));
        sum += weights.back();
    }
    weights[static_cast<std::size_t>(n * n / 2)] += sum < n * n ? n * n - sum : 0;
    return weights;
}

cv::Mat peerKernel(const std::vector<int32_t>& weights, int32_t n)
{
    cv::Mat kernel(n, n, CV_32F);
    double sum = 0;
    for (const int32_t weight : weights)
        sum += weight;
    for (int32_t i = 0; i < n * n; ++i)
        kernel.at<float>(i / n, i % n) = static_cast<float>(weights[static_cast<std::size_t>(i)] / sum);
    return kernel;
}

Case convolveCase(const std::string& name, int32_t n, int32_t most, double target, int32_t type)
{
    const std::vector<int32_t> weights = weightsOf(n, most);
    const cv::Mat kernel = peerKernel(weights, n);
    return {.name = name,
            .sourceType = type,
            .destType = type,
            .bytesMoved = type == PIX_FLOAT ? 8.0 : 2.0,
            .target = target,
            .peerName = "opencv filter2D",
            .ours =
                [=](Scene& s) {
                    std::vector<int32_t> own = weights;
                    I_MxNConvolve(n, n, own.data(), 0, s.a, s.dest);
                },
            .peer = [=](Scene& s) { cv::filter2D(s.peerA, s.peerDest, -1, kernel); }};
}

// Elements up to 6 of 3 by 3 keep the sums in 16 bits; up to 100 they are signed bytes; up to 1000 they are split.
const bool k3 = add(convolveCase("convolve 3x3, integer", 3, 6, 0.4, PIX_BYTE));
const bool k3Bytes = add(convolveCase("convolve 3x3, integer, to 100", 3, 100, 0.4, PIX_BYTE));
const bool k3Words = add(convolveCase("convolve 3x3, integer, to 1000", 3, 1000, 0.4, PIX_BYTE));
const bool k5 = add(convolveCase("convolve 5x5, integer", 5, 6, 0.4, PIX_BYTE));
const bool k5Bytes = add(convolveCase("convolve 5x5, integer, to 100", 5, 100, 0.4, PIX_BYTE));
const bool k5Words = add(convolveCase("convolve 5x5, integer, to 1000", 5, 1000, 0.4, PIX_BYTE));
const bool k15Bytes = add(convolveCase("convolve 15x15, integer, to 100", 15, 100, 0.25, PIX_BYTE));
const bool k15Words = add(convolveCase("convolve 15x15, integer, to 1000", 15, 1000, 0.25, PIX_BYTE));
const bool k15Wide = add(convolveCase("convolve 15x15, integer, to 100000", 15, 100000, 0, PIX_BYTE));
const bool k7Float = add(convolveCase("convolve 7x7, float", 7, 100, 0.6, PIX_FLOAT));

Case gaussianCase(int32_t n, double blur, double target)
{
    return {.name = "Gaussian " + std::to_string(n) + "x" + std::to_string(n),
            .target = target,
            .peerName = "opencv GaussianBlur",
            .ours = [=](Scene& s) { I_GaussianSmooth(s.a, s.dest, blur); },
            // exp(-4 r^2 / blur^2) is a Gaussian with a deviation of blur / sqrt(8).
            .peer = [=](Scene& s) { cv::GaussianBlur(s.peerA, s.peerDest, cv::Size(n, n), blur / 2.828); }};
}

const bool kGaussian7 = add(gaussianCase(7, 1.8, 1.2));
const bool kGaussian15 = add(gaussianCase(15, 4.0, 1.3));

} // namespace
} // namespace vexa::bench
