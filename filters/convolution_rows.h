// Row functions of the convolutions. Compiled once per instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Sums are formed a tile at a time, then divided, clipped and stored.
template <typename Sum>
struct alignas(64) SumTile {
    Sum at[kConvolveTile];
};

template <typename Pixel>
const Pixel* rowFrom(const FrameLine& line, int32_t row, int32_t start)
{
    return static_cast<const Pixel*>(line.rows[row]) + start;
}

// The described sum, a weight at a time.
template <typename Pixel>
[[gnu::noinline]] void sumPlain(const IntegerKernel& kernel, const FrameLine& line, int32_t start, int32_t n,
                                int32_t* sums)
{
    auto* wrapped = reinterpret_cast<uint32_t*>(sums);
    std::fill_n(wrapped, n, 0U);
    const int32_t* weight = kernel.weights;
    for (int32_t row = 0; row < kernel.height; ++row) {
        const Pixel* pixels = rowFrom<Pixel>(line, row, start);
        for (int32_t column = 0; column < kernel.width; ++column) {
            const auto k = static_cast<uint32_t>(*weight++);
            if (k == 0)
                continue;
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < n; ++i)
                wrapped[i] += k * pixels[column + i];
        }
    }
}

#if VEXA_LEVEL >= 2

#if VEXA_LEVEL >= 3
struct Bytes {
    using Vector = __m512i;
    static Vector load(const void* from) { return _mm512_loadu_si512(from); }
    static void store(void* to, Vector v) { _mm512_store_si512(to, v); }
    static Vector zero() { return _mm512_setzero_si512(); }
    static Vector spread(int32_t weights) { return _mm512_set1_epi32(weights); }
    static Vector add(Vector a, Vector b) { return _mm512_add_epi16(a, b); }
    static Vector pairsLow(Vector a, Vector b) { return _mm512_unpacklo_epi8(a, b); }
    static Vector pairsHigh(Vector a, Vector b) { return _mm512_unpackhi_epi8(a, b); }
    static Vector multiplyAdd(Vector pixels, Vector weights) { return _mm512_maddubs_epi16(pixels, weights); }
    // Sums of pixels 0 to 7 of each 128 bits, and of 8 to 15, in the order of the pixels.
    static void storeInOrder(int16_t* to, Vector low, Vector high)
    {
        const Vector first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
        const Vector second = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
        store(to, _mm512_permutex2var_epi64(low, first, high));
        store(to + 32, _mm512_permutex2var_epi64(low, second, high));
    }
};
#else
struct Bytes {
    using Vector = __m256i;
    static Vector load(const void* from) { return _mm256_loadu_si256(static_cast<const Vector*>(from)); }
    static void store(void* to, Vector v) { _mm256_store_si256(static_cast<Vector*>(to), v); }
    static Vector zero() { return _mm256_setzero_si256(); }
    static Vector spread(int32_t weights) { return _mm256_set1_epi32(weights); }
    static Vector add(Vector a, Vector b) { return _mm256_add_epi16(a, b); }
    static Vector pairsLow(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector pairsHigh(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector multiplyAdd(Vector pixels, Vector weights) { return _mm256_maddubs_epi16(pixels, weights); }
    static void storeInOrder(int16_t* to, Vector low, Vector high)
    {
        store(to, _mm256_permute2x128_si256(low, high, 0x20));
        store(to + 16, _mm256_permute2x128_si256(low, high, 0x31));
    }
};
#endif

// 16-bit sums of the narrow form; reads and sums up to 64 pixels more than n.
[[gnu::noinline]] inline void sumNarrow(const IntegerKernel& kernel, const FrameLine& line, int32_t start,
                                        int32_t n, int16_t* sums)
{
    using Vector = Bytes::Vector;
    constexpr int32_t kStep = sizeof(Vector);
    const uint8_t* first[kMostNarrowPairs];
    const uint8_t* second[kMostNarrowPairs];
    const auto pairs = static_cast<std::size_t>(kernel.narrowPairs);
    for (std::size_t p = 0; p < pairs; ++p) {
        const NarrowPair& pair = kernel.narrow[p];
        first[p] = rowFrom<uint8_t>(line, pair.row[0], start) + pair.column[0];
        second[p] = rowFrom<uint8_t>(line, pair.row[1], start) + pair.column[1];
    }
    for (int32_t i = 0; i < n; i += kStep) {
        Vector low = Bytes::zero();
        Vector high = Bytes::zero();
        for (std::size_t p = 0; p < pairs; ++p) {
            const Vector a = Bytes::load(first[p] + i);
            const Vector b = Bytes::load(second[p] + i);
            const Vector weights = Bytes::spread(kernel.narrow[p].weights);
            low = Bytes::add(low, Bytes::multiplyAdd(Bytes::pairsLow(a, b), weights));
            high = Bytes::add(high, Bytes::multiplyAdd(Bytes::pairsHigh(a, b), weights));
        }
        Bytes::storeInOrder(sums + i, low, high);
    }
}

#endif

#if VEXA_HAS_X86_SETS

// Lanes of 32 bits that hold several rows' pixels of one column each.
#if VEXA_LEVEL >= 3
struct Lanes {
    using Vector = __m512i;
    static Vector load(const uint32_t* from) { return _mm512_loadu_si512(from); }
    static void store(int32_t* to, Vector v) { _mm512_store_si512(to, v); }
    static Vector zero() { return _mm512_setzero_si512(); }
    static Vector spread(int32_t weights) { return _mm512_set1_epi32(weights); }
    static Vector addProducts(Vector sum, Vector pixels, Vector weights)
    {
        return _mm512_dpbusd_epi32(sum, pixels, weights);
    }
    static Vector join(Vector high, Vector low) { return _mm512_add_epi32(_mm512_slli_epi32(high, 8), low); }
};
#elif VEXA_LEVEL >= 2
struct Lanes {
    using Vector = __m256i;
    static Vector load(const uint32_t* from)
    {
        return _mm256_loadu_si256(reinterpret_cast<const Vector*>(from));
    }
    static void store(int32_t* to, Vector v) { _mm256_store_si256(reinterpret_cast<Vector*>(to), v); }
    static Vector zero() { return _mm256_setzero_si256(); }
    static Vector spread(int32_t weights) { return _mm256_set1_epi32(weights); }
    static Vector addProducts(Vector sum, Vector pixels, Vector weights)
    {
        return _mm256_add_epi32(sum, _mm256_madd_epi16(pixels, weights));
    }
    static Vector join(Vector high, Vector low) { return _mm256_add_epi32(_mm256_slli_epi32(high, 8), low); }
};
#else
struct Lanes {
    using Vector = __m128i;
    static Vector load(const uint32_t* from)
    {
        return _mm_loadu_si128(reinterpret_cast<const Vector*>(from));
    }
    static void store(int32_t* to, Vector v) { _mm_store_si128(reinterpret_cast<Vector*>(to), v); }
    static Vector zero() { return _mm_setzero_si128(); }
    static Vector spread(int32_t weights) { return _mm_set1_epi32(weights); }
    static Vector addProducts(Vector sum, Vector pixels, Vector weights)
    {
        return _mm_add_epi32(sum, _mm_madd_epi16(pixels, weights));
    }
    static Vector join(Vector high, Vector low) { return _mm_add_epi32(_mm_slli_epi32(high, 8), low); }
};
#endif

// Sums of `taps` lane by lane, 4 vectors at a time.
template <bool Split>
void sumLanes(const IntegerKernel& kernel, int32_t n, int32_t* sums)
{
    using Vector = Lanes::Vector;
    constexpr int32_t kLanes = sizeof(Vector) / 4;
    const GroupTap* const end = kernel.taps.data() + kernel.groupTaps;
    for (int32_t i = 0; i < n; i += 4 * kLanes) {
        const uint32_t* const strips = kernel.strips.data() + i;
        Vector low[4] = {Lanes::zero(), Lanes::zero(), Lanes::zero(), Lanes::zero()};
        [[maybe_unused]] Vector high[4] = {Lanes::zero(), Lanes::zero(), Lanes::zero(), Lanes::zero()};
        for (const GroupTap* tap = kernel.taps.data(); tap != end; ++tap) {
            const Vector weights = Lanes::spread(tap->low);
            [[maybe_unused]] const Vector highWeights = Lanes::spread(tap->high);
            for (int32_t v = 0; v < 4; ++v) {
                const Vector pixels = Lanes::load(strips + tap->lane + v * kLanes);
                low[v] = Lanes::addProducts(low[v], pixels, weights);
                if constexpr (Split)
                    high[v] = Lanes::addProducts(high[v], pixels, highWeights);
            }
        }
        for (int32_t v = 0; v < 4; ++v) {
            if constexpr (Split)
                low[v] = Lanes::join(high[v], low[v]);
            Lanes::store(sums + i + v * kLanes, low[v]);
        }
    }
}

// The row of the image that a lane of the groups holds, and the one folded onto it.
inline const uint8_t* laneRow(const IntegerKernel& kernel, const FrameLine& line, int32_t start, int32_t row)
{
    const int32_t rows = kernel.folded ? (kernel.height + 1) / 2 : kernel.height;
    return row < rows ? rowFrom<uint8_t>(line, row, start) : kernel.zeros.data();
}
inline const uint8_t* foldedRow(const IntegerKernel& kernel, const FrameLine& line, int32_t start,
                                int32_t row)
{
    return row < kernel.height / 2 ? rowFrom<uint8_t>(line, kernel.height - 1 - row, start)
                                   : kernel.zeros.data();
}

// Lays the rows side by side for n outputs.
[[gnu::noinline]] inline void fillStrips(IntegerKernel& kernel, const FrameLine& line, int32_t start,
                                         int32_t n)
{
    const int64_t lanes = int64_t{n} + kernel.width - 1;
    for (int32_t group = 0; group < kernel.groups; ++group) {
        uint32_t* strip = kernel.strips.data() + group * kernel.stride;
        const int32_t row = group * rowsPerGroup(kernel.form);
        const uint8_t* a = laneRow(kernel, line, start, row);
        const uint8_t* b = laneRow(kernel, line, start, row + 1);
        if (kernel.folded) {
            const uint8_t* c = foldedRow(kernel, line, start, row);
            const uint8_t* d = foldedRow(kernel, line, start, row + 1);
            VEXA_INDEPENDENT
            for (int64_t i = 0; i < lanes; ++i)
                strip[i] = (uint32_t{a[i]} + c[i]) | (uint32_t{b[i]} + d[i]) << 16;
        } else if (kernel.form == SumForm::words) {
            VEXA_INDEPENDENT
            for (int64_t i = 0; i < lanes; ++i)
                strip[i] = uint32_t{a[i]} | uint32_t{b[i]} << 16;
        } else {
            const uint8_t* c = laneRow(kernel, line, start, row + 2);
            const uint8_t* d = laneRow(kernel, line, start, row + 3);
            VEXA_INDEPENDENT
            for (int64_t i = 0; i < lanes; ++i)
                strip[i] = uint32_t{a[i]} | uint32_t{b[i]} << 8 | uint32_t{c[i]} << 16 | uint32_t{d[i]} << 24;
        }
    }
}

// 32-bit sums of the grouped forms; sums up to 63 outputs more than n.
[[gnu::noinline]] inline void sumGroups(IntegerKernel& kernel, const FrameLine& line, int32_t start,
                                        int32_t n, int32_t* sums)
{
    fillStrips(kernel, line, start, n);
#if VEXA_LEVEL >= 3
    if (kernel.form == SumForm::splitBytes)
        sumLanes<true>(kernel, n, sums);
    else
#endif
        sumLanes<false>(kernel, n, sums);
}

inline constexpr SumForms kSumForms = {VEXA_LEVEL >= 2, VEXA_LEVEL >= 3 ? SumForm::bytes : SumForm::words};

#else

inline constexpr SumForms kSumForms = {false, SumForm::plain};

#endif

template <int32_t Mode, typename Pixel, typename Int>
Pixel clipPixel(Int x, ClipLimits limits)
{
    // The same low byte as clipRange.
    if constexpr (Mode == 1 && sizeof(Pixel) == 1)
        return static_cast<Pixel>(std::clamp<Int>(x, 0, limits.highestPixel));
    else
        return static_cast<Pixel>(both<Mode>(Pixel{}, x, limits));
}

template <int32_t Mode>
void storeNarrow(const Quotient& quotient, const int16_t* sums, int32_t n, uint8_t* out, ClipLimits limits)
{
    const auto half = static_cast<int16_t>(quotient.half);
    const uint16_t factor = quotient.factor;
    const uint16_t shift = quotient.shift;
    const uint16_t sign = quotient.sign;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        const auto sum = static_cast<int16_t>(sums[i] + half);
        const auto negative = static_cast<uint16_t>((sum < 0 ? 0xFFFF : 0) ^ sign);
        const auto magnitude = static_cast<uint16_t>(2 * absolute(sum));
        const auto scaled = static_cast<uint16_t>((uint32_t{magnitude} * factor) >> 16);
        const auto whole = static_cast<uint16_t>(scaled >> shift);
        const auto signedWhole = static_cast<int16_t>((whole ^ negative) - negative);
        out[i] = clipPixel<Mode, uint8_t>(signedWhole, limits);
    }
}

// Divides by `quotient(sum)`, clips and stores.
template <int32_t Mode, typename Pixel, typename Divide>
[[gnu::always_inline]] inline void storeQuotients(const int32_t* sums, int32_t n, Placed<Pixel>* out,
                                                  ClipLimits limits, Divide divide)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        out[i].value = clipPixel<Mode, Pixel>(divide(sums[i]), limits);
}

template <int32_t Mode, typename Pixel>
void storeWide(const Quotient& quotient, const int32_t* sums, int32_t n, Placed<Pixel>* out,
               ClipLimits limits)
{
    const int32_t half = quotient.half;
    const float single = quotient.single;
    const double whole = quotient.whole;
    if (quotient.form == QuotientForm::single)
        storeQuotients<Mode>(sums, n, out, limits, [=](int32_t sum) {
            return static_cast<int32_t>(static_cast<float>(sum + half) * single);
        });
    else if (quotient.form == QuotientForm::negated)
        storeQuotients<Mode>(sums, n, out, limits, [](int32_t sum) { return wrapSubtract(0, sum); });
    else
        storeQuotients<Mode>(sums, n, out, limits, [=](int32_t sum) {
            return static_cast<int32_t>(static_cast<double>(wrapAdd(sum, half)) * whole);
        });
}

template <typename Pixel>
void sumWide([[maybe_unused]] IntegerKernel& kernel, const FrameLine& line, int32_t start, int32_t n,
             int32_t* sums)
{
#if VEXA_HAS_X86_SETS
    if (kernel.form != SumForm::plain)
        return sumGroups(kernel, line, start, n, sums);
#endif
    sumPlain<Pixel>(kernel, line, start, n, sums);
}

// (sum of k * p + divisor / 2) / divisor with the both slot.
template <typename Pixel, int32_t Mode>
struct IntegerRow {
    static void run(const FrameLine& line, void* user)
    {
        auto& kernel = *static_cast<IntegerKernel*>(user);
        const ClipLimits limits = clipLimits();
        auto* out = static_cast<Placed<Pixel>*>(line.out);
        for (int32_t start = 0; start < line.count; start += kConvolveTile) {
            const int32_t n = std::min(kConvolveTile, line.count - start);
#if VEXA_LEVEL >= 2
            if (sizeof(Pixel) == 1 && kernel.form == SumForm::narrow) {
                SumTile<int16_t> sums;
                sumNarrow(kernel, line, start, n, sums.at);
                storeNarrow<Mode>(kernel.quotient, sums.at, n, static_cast<uint8_t*>(line.out) + start,
                                  limits);
                continue;
            }
#endif
            SumTile<int32_t> sums;
            sumWide<Pixel>(kernel, line, start, n, sums.at);
            storeWide<Mode>(kernel.quotient, sums.at, n, out + start, limits);
        }
    }
};

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
                VEXA_INDEPENDENT
                for (int32_t i = 0; i < n; ++i) {
                    const ComplexPixel p = pixels[column + i];
                    sums[i].re += Real ? k.re * p.re : p.re * k.re - p.im * k.im;
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

inline constexpr auto kIntegerRows = rowsByClipMode<IntegerRow, uint8_t, uint16_t>();
inline constexpr auto kFloatRows = rowsByClipMode<FloatRow, float>();
inline constexpr auto kWholeFloatRows = rowsByClipMode<WholeFloatRow, float>();
inline constexpr auto kComplexRows = complexRows<false>();
inline constexpr auto kRealKernelRows = complexRows<true>();

} // namespace
} // namespace vexa::VEXA_TARGET
