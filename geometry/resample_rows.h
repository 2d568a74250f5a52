// Resampling and blending of rows. Compiled once per instruction set, hence no include guard. Pixels may lie
// at any address.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{
namespace
{

template <typename Pixel>
void fillFrom(uint8_t* dest, int32_t k, int32_t count, Pixel pixel)
{
    for (; k < count; ++k)
        storePixel<Pixel>(dest, k, pixel);
}

// Elements outside the array are its nearest ones.
template <typename Pixel>
Pixel elementAt(const uint8_t* source, int32_t n, int64_t i)
{
    return loadPixel<Pixel>(source, std::clamp<int64_t>(i, 0, n - 1));
}

template <typename Pixel>
void nearestRow(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, const ResampleWalk& walk)
{
    int64_t position = walk.position;
    int32_t k = walk.first;
    for (const int32_t end = walk.reach(n, count); k < end; ++k, position += walk.step)
        storePixel<Pixel>(dest, k, loadPixel<Pixel>(source, position >> kPositionBits));
    for (; k < count; ++k, position += walk.step) {
        const int64_t i = position >> kPositionBits;
        if (i >= n) {
            fillFrom(dest, k, count, loadPixel<Pixel>(source, n - 1));
            return;
        }
        storePixel<Pixel>(dest, k, loadPixel<Pixel>(source, std::max<int64_t>(i, 0)));
    }
}

// The part of an element that lies in front of a position inside it.
inline int64_t partBefore(int64_t element, int64_t position)
{
    return (element * (position & kFractionMask)) >> kPositionBits;
}

template <typename Pixel>
int64_t sumBetween(const uint8_t* source, int32_t n, int64_t begin, int64_t end)
{
    // 32-bit sums of bytes are exact as far as a position reaches.
    using Sum = std::conditional_t<sizeof(Pixel) == 1, int32_t, int64_t>;
    Sum sum = 0;
    for (int64_t i = std::clamp<int64_t>(begin, 0, n); i < std::min<int64_t>(end, n); ++i)
        sum += loadPixel<Pixel>(source, i);
    return sum;
}

#if VEXA_LEVEL >= 3

// Cells of up to 8 bytes, 8 at a time, as far as whole cells can be read. Moves the walk on.
inline void areaCells(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, ResampleWalk& walk)
{
    constexpr int64_t kCells = 8;
    if (walk.step <= kFractionMask + 1 || walk.step >= 7 << kPositionBits || walk.position < 0)
        return;
    const __m512i zero = _mm512_setzero_si512();
    const __m512i byte = _mm512_set1_epi64(255);
    const __m512i fraction = _mm512_set1_epi64(kFractionMask);
    const __m512i one = _mm512_set1_epi64(1);
    const __m512i step = _mm512_set1_epi64(walk.step);
    // (sum << 16) / step: exact for sum * step below 2 to the 32.
    const __m512i reciprocal = _mm512_set1_epi64(((int64_t{1} << 48) + walk.step - 1) / walk.step);
    const __m512i lane = _mm512_setr_epi64(0, 1, 2, 3, 4, 5, 6, 7);
    __m512i position = _mm512_add_epi64(_mm512_set1_epi64(walk.position), _mm512_mullo_epi64(lane, step));
    const __m512i advance = _mm512_set1_epi64(kCells * walk.step);
    const int64_t reach = (kCells - 1) * walk.step;
    while (walk.first + kCells <= count && ((walk.position + reach) >> kPositionBits) + 8 <= n) {
        const __m512i i = _mm512_srli_epi64(position, kPositionBits);
        const __m512i next = _mm512_add_epi64(position, step);
        const __m512i shift =
            _mm512_slli_epi64(_mm512_sub_epi64(_mm512_srli_epi64(next, kPositionBits), i), 3);
        const __m512i bytes = _mm512_i64gather_epi64(i, source, 1);
        const __m512i first = _mm512_and_si512(bytes, byte);
        const __m512i before = _mm512_mul_epu32(first, _mm512_and_si512(position, fraction));
        const __m512i head = _mm512_sub_epi64(first, _mm512_srli_epi64(before, kPositionBits));
        const __m512i lower = _mm512_sub_epi64(_mm512_sllv_epi64(one, shift), one);
        const __m512i sum = _mm512_sad_epu8(_mm512_and_si512(bytes, _mm512_andnot_si512(byte, lower)), zero);
        const __m512i last = _mm512_and_si512(_mm512_srlv_epi64(bytes, shift), byte);
        const __m512i tail =
            _mm512_srli_epi64(_mm512_mul_epu32(last, _mm512_and_si512(next, fraction)), kPositionBits);
        const __m512i total = _mm512_add_epi64(_mm512_add_epi64(head, sum), tail);
        const __m512i mean = _mm512_srli_epi64(_mm512_mul_epu32(total, reciprocal), 32);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dest + walk.first), _mm512_cvtepi64_epi8(mean));
        position = _mm512_add_epi64(position, advance);
        walk.position += kCells * walk.step;
        walk.first += kCells;
    }
}

#elif VEXA_LEVEL >= 2

inline void areaCells(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, ResampleWalk& walk)
{
    constexpr int64_t kCells = 4;
    if (walk.step <= kFractionMask + 1 || walk.step >= 7 << kPositionBits || walk.position < 0)
        return;
    const __m256i zero = _mm256_setzero_si256();
    const __m256i byte = _mm256_set1_epi64x(255);
    const __m256i fraction = _mm256_set1_epi64x(kFractionMask);
    const __m256i one = _mm256_set1_epi64x(1);
    const __m256i step = _mm256_set1_epi64x(walk.step);
    const __m256i reciprocal = _mm256_set1_epi64x(((int64_t{1} << 48) + walk.step - 1) / walk.step);
    __m256i position = _mm256_setr_epi64x(walk.position, walk.position + walk.step,
                                          walk.position + 2 * walk.step, walk.position + 3 * walk.step);
    const __m256i advance = _mm256_set1_epi64x(kCells * walk.step);
    const __m256i firstBytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const int64_t reach = (kCells - 1) * walk.step;
    const auto* words = reinterpret_cast<const long long*>(source);
    while (walk.first + kCells <= count && ((walk.position + reach) >> kPositionBits) + 8 <= n) {
        const __m256i i = _mm256_srli_epi64(position, kPositionBits);
        const __m256i next = _mm256_add_epi64(position, step);
        const __m256i shift =
            _mm256_slli_epi64(_mm256_sub_epi64(_mm256_srli_epi64(next, kPositionBits), i), 3);
        const __m256i bytes = _mm256_i64gather_epi64(words, i, 1);
        const __m256i first = _mm256_and_si256(bytes, byte);
        const __m256i before = _mm256_mul_epu32(first, _mm256_and_si256(position, fraction));
        const __m256i head = _mm256_sub_epi64(first, _mm256_srli_epi64(before, kPositionBits));
        const __m256i lower = _mm256_sub_epi64(_mm256_sllv_epi64(one, shift), one);
        const __m256i sum = _mm256_sad_epu8(_mm256_and_si256(bytes, _mm256_andnot_si256(byte, lower)), zero);
        const __m256i last = _mm256_and_si256(_mm256_srlv_epi64(bytes, shift), byte);
        const __m256i tail =
            _mm256_srli_epi64(_mm256_mul_epu32(last, _mm256_and_si256(next, fraction)), kPositionBits);
        const __m256i total = _mm256_add_epi64(_mm256_add_epi64(head, sum), tail);
        const __m256i mean = _mm256_srli_epi64(_mm256_mul_epu32(total, reciprocal), 32);
        const __m256i pairs = _mm256_shuffle_epi8(mean, firstBytes);
        const auto low = static_cast<uint16_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(pairs)));
        const auto high = static_cast<uint16_t>(_mm_cvtsi128_si32(_mm256_extracti128_si256(pairs, 1)));
        storePixel<uint16_t>(dest + walk.first, 0, low);
        storePixel<uint16_t>(dest + walk.first, 1, high);
        position = _mm256_add_epi64(position, advance);
        walk.position += kCells * walk.step;
        walk.first += kCells;
    }
}

#else

inline void areaCells(const uint8_t*, int32_t, uint8_t*, int32_t, ResampleWalk&) {}

#endif

// (sum << 16) / step.
inline int64_t cellMean(int64_t sum, int64_t step, int64_t reciprocal)
{
    if (reciprocal != 0 && sum < 4096)
        return (sum * reciprocal) >> 32;
    return step == 0 ? 0 : (sum * (kFractionMask + 1)) / step;
}

template <typename Pixel>
void areaRow(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, const ResampleWalk& start)
{
    ResampleWalk walk = start;
    if constexpr (sizeof(Pixel) == 1)
        areaCells(source, n, dest, count, walk);
    // Bytes only: sums have no sign.
    const bool quick = sizeof(Pixel) == 1 && walk.step > 0 && walk.step < 1 << 20;
    const int64_t reciprocal = quick ? ((int64_t{1} << 48) + walk.step - 1) / walk.step : 0;
    int64_t position = walk.position;
    int64_t i = position >> kPositionBits;
    int64_t tail = partBefore(elementAt<Pixel>(source, n, i), position);
    for (int32_t k = walk.first; k < count; ++k) {
        const int64_t head = elementAt<Pixel>(source, n, i) - tail;
        const int64_t next = position + walk.step;
        const int64_t j = next >> kPositionBits;
        if (j >= n) {
            fillFrom(dest, k, count, loadPixel<Pixel>(source, n - 1));
            return;
        }
        tail = partBefore(elementAt<Pixel>(source, n, j), next);
        const int64_t sum = head + sumBetween<Pixel>(source, n, i + 1, j) + tail;
        storePixel<Pixel>(dest, k, static_cast<Pixel>(cellMean(sum, walk.step, reciprocal)));
        i = j;
        position = next;
    }
}

inline float fractionOf(int64_t position)
{
    return static_cast<float>(position & kFractionMask) * 1.52587890625e-5F;
}

inline void areaFloats(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count,
                       const ResampleWalk& walk)
{
    int64_t position = walk.position;
    int64_t i = position >> kPositionBits;
    float tail = elementAt<float>(source, n, i) * fractionOf(position);
    for (int32_t k = walk.first; k < count; ++k) {
        const float head = elementAt<float>(source, n, i) - tail;
        const int64_t next = position + walk.step;
        const int64_t j = next >> kPositionBits;
        if (j >= n) {
            fillFrom(dest, k, count, loadPixel<float>(source, n - 1));
            return;
        }
        float sum = head;
        for (int64_t m = std::max<int64_t>(i + 1, 0); m < j; ++m)
            sum += loadPixel<float>(source, m);
        tail = elementAt<float>(source, n, j) * fractionOf(next);
        storePixel<float>(dest, k, static_cast<float>((sum + tail) * walk.scale));
        i = j;
        position = next;
    }
}

#if VEXA_LEVEL >= 3

// Outputs between pixels that lie at most one apart, 32 at a time, as far as 33 elements can be read. Moves
// the walk on.
inline void linearCells(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, ResampleWalk& walk)
{
    constexpr int32_t kCells = 32;
    if (walk.step < 0 || walk.step > kFractionMask + 1 || walk.position < 0)
        return;
    alignas(64) uint16_t steps[2][kCells];
    for (int32_t k = 0; k < kCells; ++k) {
        steps[0][k] = static_cast<uint16_t>(k * walk.step);
        steps[1][k] = static_cast<uint16_t>((k * walk.step) >> kPositionBits);
    }
    const __m512i fractions = _mm512_load_si512(steps[0]);
    const __m512i places = _mm512_load_si512(steps[1]);
    const __m512i one = _mm512_set1_epi16(1);
    constexpr __mmask64 kLowBytes = 0x5555555555555555;
    while (walk.first + kCells <= count && (walk.position >> kPositionBits) + kCells + 1 <= n) {
        const uint8_t* const from = source + (walk.position >> kPositionBits);
        const __m512i start = _mm512_set1_epi16(static_cast<int16_t>(walk.position & kFractionMask));
        const __m512i f = _mm512_add_epi16(fractions, start);
        const __m512i place = _mm512_mask_add_epi16(places, _mm512_cmplt_epu16_mask(f, start), places, one);
        const __m512i here =
            _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
        const __m512i next =
            _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 1)));
        const __m512i a = _mm512_maskz_permutexvar_epi8(kLowBytes, place, here);
        const __m512i b = _mm512_maskz_permutexvar_epi8(kLowBytes, place, next);
        const __m512i d = _mm512_sub_epi16(b, a);
        // The upper half of d * f with f unsigned, rounded by the topmost bit of the lower half.
        const __m512i high = _mm512_mulhi_epi16(d, f);
        const __m512i unsignedHigh = _mm512_mask_add_epi16(high, _mm512_movepi16_mask(f), high, d);
        const __m512i round = _mm512_srli_epi16(_mm512_mullo_epi16(d, f), 15);
        const __m512i pixels = _mm512_add_epi16(_mm512_add_epi16(unsignedHigh, round), a);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + walk.first), _mm512_cvtepi16_epi8(pixels));
        walk.position += kCells * walk.step;
        walk.first += kCells;
    }
}

#elif VEXA_LEVEL >= 2

inline __m256i twoEights(const uint8_t* low, const uint8_t* high)
{
    return _mm256_set_m128i(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(high)),
                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(low)));
}

// The same, 16 at a time: each half of a register has 8 outputs and the 9 elements that they lie among.
inline void linearCells(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, ResampleWalk& walk)
{
    constexpr int32_t kCells = 16;
    constexpr int32_t kHalf = 8;
    if (walk.step < 0 || walk.step > kFractionMask + 1 || walk.position < 0)
        return;
    alignas(32) uint16_t steps[2][kCells];
    for (int32_t k = 0; k < kCells; ++k) {
        steps[0][k] = static_cast<uint16_t>(k % kHalf * walk.step);
        steps[1][k] = static_cast<uint16_t>((k % kHalf * walk.step) >> kPositionBits);
    }
    const __m256i fractions = _mm256_load_si256(reinterpret_cast<const __m256i*>(steps[0]));
    const __m256i places = _mm256_load_si256(reinterpret_cast<const __m256i*>(steps[1]));
    const __m256i onlyLow = _mm256_set1_epi16(static_cast<int16_t>(0x8001));
    while (walk.first + kCells <= count && (walk.position >> kPositionBits) + kCells + 1 <= n) {
        const int64_t halfway = walk.position + kHalf * walk.step;
        const uint8_t* const low = source + (walk.position >> kPositionBits);
        const uint8_t* const high = source + (halfway >> kPositionBits);
        const __m256i start =
            _mm256_set_m128i(_mm_set1_epi16(static_cast<int16_t>(halfway & kFractionMask)),
                             _mm_set1_epi16(static_cast<int16_t>(walk.position & kFractionMask)));
        const __m256i f = _mm256_add_epi16(fractions, start);
        const __m256i noCarry = _mm256_cmpeq_epi16(_mm256_subs_epu16(start, f), _mm256_setzero_si256());
        // One more than the place, with the upper byte marked, less one where nothing was carried.
        const __m256i place = _mm256_add_epi16(_mm256_add_epi16(places, onlyLow), noCarry);
        const __m256i a = _mm256_shuffle_epi8(twoEights(low, high), place);
        const __m256i b = _mm256_shuffle_epi8(twoEights(low + 1, high + 1), place);
        const __m256i d = _mm256_sub_epi16(b, a);
        const __m256i unsignedPart = _mm256_and_si256(_mm256_srai_epi16(f, 15), d);
        const __m256i round = _mm256_srli_epi16(_mm256_mullo_epi16(d, f), 15);
        const __m256i pixels = _mm256_add_epi16(_mm256_add_epi16(_mm256_mulhi_epi16(d, f), unsignedPart),
                                                _mm256_add_epi16(round, a));
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(pixels, pixels), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + walk.first), _mm256_castsi256_si128(packed));
        walk.position += kCells * walk.step;
        walk.first += kCells;
    }
}

#else

inline void linearCells(const uint8_t*, int32_t, uint8_t*, int32_t, ResampleWalk&) {}

#endif

// Between two elements by the fraction of a position.
template <typename Pixel>
Pixel mixed(Pixel a, Pixel b, int64_t position)
{
    if constexpr (std::is_floating_point_v<Pixel>) {
        return (b - a) * fractionOf(position) + a;
    } else {
        // Differences of bytes times a fraction fit 32 bits.
        using Product = std::conditional_t<sizeof(Pixel) == 1, int32_t, int64_t>;
        const auto fraction = static_cast<Product>(position & kFractionMask);
        return static_cast<Pixel>((((Product{b} - Product{a}) * fraction + 32768) >> kPositionBits) + a);
    }
}

template <typename Pixel>
void linearRow(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count, const ResampleWalk& start)
{
    ResampleWalk walk = start;
    if constexpr (sizeof(Pixel) == 1)
        linearCells(source, n, dest, count, walk);
    int64_t position = walk.position;
    int32_t k = walk.first;
    // As far as both neighbours exist.
    for (const int32_t end = walk.reach(n - 1, count); k < end; ++k, position += walk.step) {
        const uint8_t* const from =
            source + (position >> kPositionBits) * static_cast<int64_t>(sizeof(Pixel));
        storePixel<Pixel>(dest, k, mixed(loadPixel<Pixel>(from, 0), loadPixel<Pixel>(from, 1), position));
    }
    for (; k < count; ++k, position += walk.step) {
        const int64_t i = position >> kPositionBits;
        if (i >= n - 1) {
            fillFrom(dest, k, count, loadPixel<Pixel>(source, n - 1));
            return;
        }
        storePixel<Pixel>(
            dest, k, mixed(elementAt<Pixel>(source, n, i), elementAt<Pixel>(source, n, i + 1), position));
    }
}

template <typename Pixel, typename Product>
void blendNumbers(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, int32_t w)
{
    for (int64_t i = 0; i < n; ++i) {
        const Product low = loadPixel<Pixel>(b, i);
        const Product difference = Product{loadPixel<Pixel>(a, i)} - low;
        storePixel<Pixel>(dest, i, static_cast<Pixel>(((difference * w + 128) >> 8) + low));
    }
}

inline void blendBytes(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, int32_t w)
{
    if (w < 0 || w > 256) {
        blendNumbers<uint8_t, int64_t>(a, b, dest, n, w);
        return;
    }
    // a * w + b * (256 - w) + 128 fits 16 bits.
    const auto wa = static_cast<uint16_t>(w);
    const auto wb = static_cast<uint16_t>(256 - w);
    for (int64_t i = 0; i < n; ++i)
        dest[i] = static_cast<uint8_t>(static_cast<uint16_t>(a[i] * wa + b[i] * wb + 128) >> 8);
}

inline void blendFloats(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, double t)
{
    for (int64_t i = 0; i < n; ++i) {
        const double low = loadPixel<float>(b, i);
        storePixel<float>(dest, i, static_cast<float>((double{loadPixel<float>(a, i)} - low) * t + low));
    }
}

inline constexpr ResampleRows kResampleRows = {{nearestRow<uint8_t>, areaRow<uint8_t>, linearRow<uint8_t>},
                                               {nearestRow<int32_t>, areaRow<int32_t>, linearRow<int32_t>},
                                               {nearestRow<float>, areaFloats, linearRow<float>},
                                               blendBytes,
                                               blendNumbers<int16_t, int64_t>,
                                               blendNumbers<int32_t, int64_t>,
                                               blendFloats};

} // namespace
} // namespace vexa::VEXA_TARGET
