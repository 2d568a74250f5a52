// Row functions of the convolutions of floats and complex numbers. Compiled once per instruction set, hence no include
// guard.

namespace vexa::VEXA_TARGET
{
namespace
{

// Four-byte lanes of the set's width, a vector extension of the compilers.
#if VEXA_LEVEL >= 3
using Floats = float __attribute__((vector_size(64)));
#elif VEXA_LEVEL >= 2
using Floats = float __attribute__((vector_size(32)));
#else
using Floats = float __attribute__((vector_size(16)));
#endif

// Sums of Vectors vectors of outputs, in registers over the whole kernel, each in the order of the kernel's elements.
template <int32_t Vectors>
[[gnu::always_inline]] inline void sumFloats(const FloatKernel& kernel, const FrameLine& line, int32_t start,
                                             float* sums)
{
    constexpr int32_t kLanes = sizeof(Floats) / sizeof(float);
    Floats sum[Vectors] = {};
    for (int32_t row = 0; row < line.height; ++row) {
        const float* pixels = rowFrom<float>(line, row, start);
        const float* weights = kernel.weights + int64_t{row} * line.width;
        for (int32_t column = 0; column < line.width; ++column) {
            for (int32_t v = 0; v < Vectors; ++v) {
                Floats p;
                std::memcpy(&p, pixels + column + v * kLanes, sizeof p);
                sum[v] += weights[column] * p;
            }
        }
    }
    std::memcpy(sums, sum, sizeof sum);
}

template <int32_t Mode, int32_t Vectors>
[[gnu::noinline]] int32_t floatRuns(const FloatKernel& kernel, const FrameLine& line, int32_t start,
                                    ClipLimits limits)
{
    constexpr int32_t kRun = Vectors * static_cast<int32_t>(sizeof(Floats) / sizeof(float));
    auto* out = static_cast<Placed<float>*>(line.out);
    // The last run of single vectors may reach past the row, by less than a vector.
    for (; Vectors == 1 ? start < line.count : start + kRun <= line.count; start += kRun) {
        alignas(64) float sums[kRun];
        sumFloats<Vectors>(kernel, line, start, sums);
        const int32_t n = std::min(kRun, line.count - start);
        for (int32_t i = 0; i < n; ++i)
            out[start + i].value = both<Mode>(float{}, sums[i], limits);
    }
    return start;
}

// The single-precision sum of k * p with the both slot.
template <typename Pixel, int32_t Mode>
struct FloatRow {
    static void run(const FrameLine& line, void* user)
    {
        const auto& kernel = *static_cast<const FloatKernel*>(user);
        const ClipLimits limits = clipLimits();
        constexpr int32_t kManyVectors = VEXA_LEVEL >= 3 ? 8 : 4;
        const int32_t start = floatRuns<Mode, kManyVectors>(kernel, line, 0, limits);
        floatRuns<Mode, 1>(kernel, line, start, limits);
    }
};

// Required: an integer kernel of 3 by 3 keeps whole numbers on float pixels too, cut to bytes.
template <typename Pixel, int32_t Mode>
struct WholeFloatRow {
    static void run(const FrameLine& line, void* user)
    {
        const auto& kernel = *static_cast<const IntegerKernel*>(user);
        const ClipLimits limits = clipLimits();
        const bool negated = kernel.quotient.form == QuotientForm::negated;
        const double whole = kernel.quotient.whole;
        auto* out = static_cast<Placed<float>*>(line.out);
        const float* rows[3];
        float weights[9];
        for (int32_t row = 0; row < 3; ++row)
            rows[row] = rowFrom<float>(line, row, 0);
        for (int32_t k = 0; k < 9; ++k)
            weights[k] = static_cast<float>(kernel.weights[k]);
        for (int32_t i = 0; i < line.count; ++i) {
            int32_t sum = 0;
            for (int32_t k = 0; k < 9; ++k)
                sum = truncToInt32(static_cast<float>(sum) + weights[k] * rows[k / 3][i + k % 3]);
            const int32_t quotient = negated ? wrapSubtract(0, sum) : static_cast<int32_t>(sum * whole);
            out[i].value = static_cast<float>(both<Mode>(uint8_t{}, quotient, limits) & 255);
        }
    }
};

// Sums of complex products through the complex slot. A real kernel leaves the parts of the pixels apart.
template <ComplexClip Clip, bool Real>
void complexRow(const FrameLine& line, void* user)
{
    const auto& kernel = *static_cast<const ComplexKernel*>(user);
    auto* out = static_cast<Placed<ComplexPixel>*>(line.out);
    constexpr int32_t kTile = 128;
    for (int32_t start = 0; start < line.count; start += kTile) {
        const int32_t n = std::min(kTile, line.count - start);
        ComplexPixel sums[kTile] = {};
        const ComplexPixel* weight = kernel.weights;
        for (int32_t row = 0; row < line.height; ++row) {
            const ComplexPixel* pixels = rowFrom<ComplexPixel>(line, row, start);
            for (int32_t column = 0; column < line.width; ++column, ++weight) {
                const ComplexPixel k = *weight;
                const float minusIm = -k.im; // of a difference g++ 12 would round only once
                VEXA_INDEPENDENT
                for (int32_t i = 0; i < n; ++i) {
                    const ComplexPixel p = pixels[column + i];
                    sums[i].re += Real ? k.re * p.re : p.re * k.re + p.im * minusIm;
                    sums[i].im += Real ? k.re * p.im : p.re * k.im + p.im * k.re;
                }
            }
        }
        for (int32_t i = 0; i < n; ++i)
            out[start + i].value = clipComplex<Clip>(sums[i]);
    }
}

template <bool Real>
constexpr std::array<FrameFilter, 3> complexRows()
{
    return {complexRow<ComplexClip::keep, Real>, complexRow<ComplexClip::magnitude, Real>,
            complexRow<ComplexClip::power, Real>};
}

inline constexpr auto kFloatRows = rowsByClipMode<FloatRow, float>();
inline constexpr auto kWholeFloatRows = rowsByClipMode<WholeFloatRow, float>();
inline constexpr auto kComplexRows = complexRows<false>();
inline constexpr auto kRealKernelRows = complexRows<true>();

} // namespace
} // namespace vexa::VEXA_TARGET
