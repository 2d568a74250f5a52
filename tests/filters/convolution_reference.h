// The row functions of the convolutions as they are described, a pixel at a time, and the comparison of the library with
// them through the same frame.
#ifndef VEXA_TESTS_FILTERS_CONVOLUTION_REFERENCE_H
#define VEXA_TESTS_FILTERS_CONVOLUTION_REFERENCE_H

#include <random>

#include "tests/operators/arithmetic_reference.h"
#include "vexalib/convolution.h"
#include "vexalib/neighbourhood.h"

namespace vexa::test
{

class ConvolutionSuite : public ArithmeticSuite
{
protected:
    void SetUp() override
    {
        ArithmeticSuite::SetUp();
        I_SetBorderMode(-1, nullptr, PIX_BYTE);
    }
};

// A kernel and the described row functions with it, a pixel at a time.
struct Weights {
    int32_t M;
    int32_t N;
    std::vector<int32_t> k;
    int32_t divisor = 0; // as it stands after the call's own choice

    int64_t at(int32_t r, int32_t c) const { return k[static_cast<std::size_t>(r * M + c)]; }
};

template <typename Pixel>
int64_t wholeSum(const Weights& w, void** rows, int32_t i)
{
    int64_t sum = 0;
    for (int32_t r = 0; r < w.N; ++r)
        for (int32_t c = 0; c < w.M; ++c)
            sum = wrap32(sum + wrap32(w.at(r, c) * static_cast<const Pixel*>(rows[r])[i + c]));
    return sum;
}

inline int64_t wholeQuotient(int64_t sum, int32_t divisor)
{
    return wrap32(wrap32(sum + divisor / 2) / divisor);
}

inline uint16_t clippedWordBoth(int32_t mode, int64_t x)
{
    const int64_t byMode[] = {x, x, absOf(x), x + 128, x / 2 + 128, x, x, x * x};
    return static_cast<uint16_t>(byMode[mode]);
}

inline int32_t byteRow(int32_t, int32_t, int32_t, int32_t, void** rows, void* out, void*, int32_t count,
                       void* user)
{
    const auto& w = *static_cast<const Weights*>(user);
    for (int32_t i = 0; i < count; ++i)
        static_cast<uint8_t*>(out)[i] =
            clippedByte(Slot::both, I_GetClipMode(), wholeQuotient(wholeSum<uint8_t>(w, rows, i), w.divisor),
                        vexa::displayState().highestPixel);
    return 0;
}

inline int32_t wordRow(int32_t, int32_t, int32_t, int32_t, void** rows, void* out, void*, int32_t count,
                       void* user)
{
    const auto& w = *static_cast<const Weights*>(user);
    for (int32_t i = 0; i < count; ++i)
        static_cast<uint16_t*>(out)[i] =
            clippedWordBoth(I_GetClipMode(), wholeQuotient(wholeSum<uint16_t>(w, rows, i), w.divisor));
    return 0;
}

inline float pixelOf(void** rows, int32_t r, int32_t column)
{
    return static_cast<const float*>(rows[r])[column];
}

// The range that the destination's type sets.
struct FloatRange {
    float low;
    float high;
};
inline FloatRange floatRange = {-3e38F, 0.0F};

inline int32_t floatRow(int32_t, int32_t, int32_t, int32_t, void** rows, void* out, void*, int32_t count,
                        void* user)
{
    const auto& w = *static_cast<const Weights*>(user);
    for (int32_t i = 0; i < count; ++i) {
        float sum = 0.0F;
        for (int32_t r = 0; r < w.N; ++r) {
            for (int32_t c = 0; c < w.M; ++c) {
                const float k = static_cast<float>(w.at(r, c)) / static_cast<float>(w.divisor);
                const float product = k * pixelOf(rows, r, i + c);
                sum += product;
            }
        }
        static_cast<float*>(out)[i] = clippedFloatLow(I_GetClipMode(), sum, floatRange.low, floatRange.high);
    }
    return 0;
}

inline int64_t truncated(float x)
{
    return x >= -2147483648.0F && x < 2147483648.0F ? static_cast<int64_t>(x) : INT32_MIN;
}

inline int32_t wholeFloatRow(int32_t, int32_t, int32_t, int32_t, void** rows, void* out, void*, int32_t count,
                             void* user)
{
    const auto& w = *static_cast<const Weights*>(user);
    for (int32_t i = 0; i < count; ++i) {
        int64_t sum = 0;
        for (int32_t r = 0; r < 3; ++r) {
            for (int32_t c = 0; c < 3; ++c) {
                const float product = static_cast<float>(w.at(r, c)) * pixelOf(rows, r, i + c);
                sum = truncated(static_cast<float>(sum) + product);
            }
        }
        static_cast<float*>(out)[i] = clippedByte(Slot::both, I_GetClipMode(), wrap32(sum / w.divisor),
                                                  vexa::displayState().highestPixel);
    }
    return 0;
}

inline int32_t divisorOf(const Weights& w)
{
    int64_t sum = 0;
    for (const int32_t k : w.k)
        sum = wrap32(sum + k);
    return static_cast<int32_t>(absOf(sum));
}

// The kernel as the call leaves it, and the divisor that it works with.
inline Weights settled(Weights w)
{
    if (w.divisor == 0)
        w.divisor = divisorOf(w);
    if (w.divisor == 0) {
        w.k[static_cast<std::size_t>(w.M * w.N / 2)] = 1;
        w.divisor = 1;
    }
    return w;
}

// Runs the library and the plain row through the same frame, on the same image and in place; both must agree in every
// byte of the destination and in the result.
inline void compare(Weights w, int32_t im, int32_t destType, int32_t workingType, MxNRowFilter plain)
{
    Weights after = settled(w);
    const int32_t expected = I_CloneImage(im, destType, 1);
    const int32_t dest = I_CloneImage(im, destType, 1);
    std::vector<int32_t> kernel = w.k;
    const int32_t status = I_MxNConvolve(w.M, w.N, kernel.data(), w.divisor, im, dest);
    EXPECT_EQ(after.k, kernel);
    const int32_t expectedStatus = I_MxNOperatorType(im, expected, w.M, w.N, &after, plain, workingType);
    ASSERT_EQ(expectedStatus, status);
    ASSERT_EQ(bytesOf(expected), bytesOf(dest)) << w.M << " by " << w.N << ", divisor " << after.divisor;
    if (destType == I_ImGetType(im)) {
        const int32_t inPlace = I_CloneImage(im, destType, 1);
        I_MxNConvolve(w.M, w.N, kernel.data(), after.divisor, inPlace, inPlace);
        const int32_t expectedInPlace = I_CloneImage(im, destType, 1);
        I_MxNOperatorType(expectedInPlace, expectedInPlace, w.M, w.N, &after, plain, workingType);
        ASSERT_EQ(bytesOf(expectedInPlace), bytesOf(inPlace)) << "in place, " << w.M << " by " << w.N;
        closeImages({inPlace, expectedInPlace});
    }
    closeImages({expected, dest});
}

inline void compareBytes(const Weights& w, int32_t im)
{
    compare(w, im, I_ImGetType(im), PIX_BYTE, byteRow);
}

// Elements of magnitude up to `most`.
inline Weights randomWeights(std::mt19937& random, int32_t M, int32_t N, int64_t most, int32_t divisor = 0)
{
    Weights w = {M, N, {}, divisor};
    std::uniform_int_distribution<int64_t> element(-most, most);
    for (int32_t i = 0; i < M * N; ++i)
        w.k.push_back(static_cast<int32_t>(std::max<int64_t>(element(random), INT32_MIN)));
    return w;
}

// Every form of arithmetic has its own reach of elements.
inline constexpr int64_t kReaches[] = {1, 3, 14, 120, 127, 128, 1000, 32000, 32639, 40000, 2147483648};

} // namespace vexa::test

#endif
