// Runs of rotated pixels. Compiled once per instruction set, hence no include guard. All positions of a run
// lie inside the source.

namespace vexa::VEXA_TARGET
{
namespace
{

template <std::size_t Bytes>
void rotateNearest(const SamplerContext& context, const FixedPath& path, int32_t n, uint8_t* out)
{
    const std::size_t bytes = Bytes ? Bytes : static_cast<std::size_t>(context.pixelBytes);
    int32_t px = path.x;
    int32_t py = path.y;
    for (int32_t k = 0; k < n; ++k, out += bytes) {
        const auto i = static_cast<std::size_t>(((px >> 11) + kSteps / 2) >> kStepBits);
        const auto* row = static_cast<const uint8_t*>(context.rows[((py >> 11) + kSteps / 2) >> kStepBits]);
        std::memcpy(out, row + i * bytes, bytes);
        px = wrapAdd(px, path.dx);
        py = wrapAdd(py, path.dy);
    }
}

template <int32_t Channels>
void rotateBytes(const SamplerContext& context, const FixedPath& path, int32_t n, uint8_t* out)
{
    int32_t px = path.x;
    int32_t py = path.y;
    const int32_t lastColumn = context.cols - 1;
    for (int32_t k = 0; k < n; ++k, out += Channels) {
        const int32_t i = px >> 16;
        const int32_t j = py >> 16;
        const int32_t fx = (px >> 11) & (kSteps - 1);
        const int32_t fy = (py >> 11) & (kSteps - 1);
        const auto* r0 = static_cast<const uint8_t*>(context.rows[j]) + int64_t{i} * Channels;
        const auto* r1 = static_cast<const uint8_t*>(context.rows[j + 1]) + int64_t{i} * Channels;
        const int32_t next = i < lastColumn ? Channels : 0;
        for (int32_t c = 0; c < Channels; ++c) {
            const int32_t upper = r0[c] * (kSteps - fx) + r0[c + next] * fx;
            const int32_t lower = r1[c] * (kSteps - fx) + r1[c + next] * fx;
            out[c] = static_cast<uint8_t>((upper * (kSteps - fy) + lower * fy) >> (2 * kStepBits));
        }
        px = wrapAdd(px, path.dx);
        py = wrapAdd(py, path.dy);
    }
}

#if VEXA_LEVEL >= 2

// Where the pixels of an upright or inverted image lie, for gathers of four bytes by 32-bit offsets.
struct GatherPlan {
    const uint8_t* base;
    int32_t step;    // from row to row
    int32_t highest; // offset of the last four bytes
};

// True where a run comes so close to an end of the pixels that four bytes might reach beyond it.
inline bool nearAnEnd(const SamplerContext& context, const GatherPlan& plan, const FixedPath& path, int32_t n)
{
    if (plan.step > -4 && plan.step < 4)
        return true;
    const int32_t first = path.y >> 16;
    const int32_t last = path.from(n - 1).y >> 16;
    return std::min(first, last) < 4 || std::max(first, last) >= context.rowCount - 5;
}

// False where offsets do not fit, or the image has no four bytes.
inline bool planGather(const SamplerContext& context, GatherPlan& plan)
{
    const auto* first = static_cast<const uint8_t*>(context.rows[0]);
    const auto* last = static_cast<const uint8_t*>(context.rows[context.rowCount - 1]);
    const int64_t step = context.rowCount > 1 ? static_cast<const uint8_t*>(context.rows[1]) - first : 0;
    const int64_t span = (step < 0 ? -step : step) * (context.rowCount - 1) + context.cols;
    if (span < 4 || span > INT32_MAX / 2)
        return false;
    plan.base = first;
    plan.step = static_cast<int32_t>(step);
    plan.highest = static_cast<int32_t>((last > first ? last - first : 0) + context.cols - 4);
    return true;
}

#endif

#if VEXA_LEVEL >= 3

// Both neighbours of 16 positions in a row, as pairs of 16-bit numbers.
template <bool NearEnd>
inline __m512i gatherPairs(const GatherPlan& plan, __m512i offset)
{
    const __m512i pairs =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1));
    if constexpr (!NearEnd)
        return _mm512_shuffle_epi8(_mm512_i32gather_epi32(offset, plan.base, 1), pairs);
    const __m512i held = _mm512_min_epi32(offset, _mm512_set1_epi32(plan.highest));
    const __m512i shift = _mm512_slli_epi32(_mm512_sub_epi32(offset, held), 3);
    const __m512i bytes = _mm512_srlv_epi32(_mm512_i32gather_epi32(held, plan.base, 1), shift);
    return _mm512_shuffle_epi8(bytes, pairs);
}

// (steps - f, f) as a pair of 16-bit numbers.
inline __m512i pairOfWeights(__m512i f)
{
    return _mm512_add_epi32(_mm512_sub_epi32(_mm512_set1_epi32(kSteps), f), _mm512_slli_epi32(f, 16));
}

template <bool NearEnd>
int32_t rotateVectors(const SamplerContext& context, const GatherPlan& plan, const FixedPath& path, int32_t n,
                      uint8_t* out)
{
    const __m512i lane = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    const __m512i mask = _mm512_set1_epi32(kSteps - 1);
    const __m512i step = _mm512_set1_epi32(plan.step);
    const __m512i lastRow = _mm512_set1_epi32(context.rowCount - 1);
    __m512i px =
        _mm512_add_epi32(_mm512_set1_epi32(path.x), _mm512_mullo_epi32(lane, _mm512_set1_epi32(path.dx)));
    __m512i py =
        _mm512_add_epi32(_mm512_set1_epi32(path.y), _mm512_mullo_epi32(lane, _mm512_set1_epi32(path.dy)));
    const __m512i advanceX = _mm512_set1_epi32(wrapMultiply(path.dx, 16));
    const __m512i advanceY = _mm512_set1_epi32(wrapMultiply(path.dy, 16));
    int32_t k = 0;
    for (; k + 16 <= n; k += 16) {
        const __m512i j = _mm512_srai_epi32(py, 16);
        const __m512i upper = _mm512_add_epi32(_mm512_mullo_epi32(j, step), _mm512_srai_epi32(px, 16));
        const __mmask16 hasNext = _mm512_cmplt_epi32_mask(j, lastRow);
        const __m512i lower = _mm512_mask_add_epi32(upper, hasNext, upper, step);
        const __m512i wx = pairOfWeights(_mm512_and_si512(_mm512_srai_epi32(px, 11), mask));
        const __m512i wy = pairOfWeights(_mm512_and_si512(_mm512_srai_epi32(py, 11), mask));
        const __m512i h0 = _mm512_madd_epi16(gatherPairs<NearEnd>(plan, upper), wx);
        const __m512i h1 = _mm512_madd_epi16(gatherPairs<NearEnd>(plan, lower), wx);
        const __m512i both = _mm512_or_si512(h0, _mm512_slli_epi32(h1, 16));
        const __m512i pixels = _mm512_srli_epi32(_mm512_madd_epi16(both, wy), 2 * kStepBits);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k), _mm512_cvtepi32_epi8(pixels));
        px = _mm512_add_epi32(px, advanceX);
        py = _mm512_add_epi32(py, advanceY);
    }
    return k;
}

#elif VEXA_LEVEL >= 2

template <bool NearEnd>
inline __m256i gatherPairs(const GatherPlan& plan, __m256i offset)
{
    const auto* base = reinterpret_cast<const int*>(plan.base);
    const __m256i pairs =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1));
    if constexpr (!NearEnd)
        return _mm256_shuffle_epi8(_mm256_i32gather_epi32(base, offset, 1), pairs);
    const __m256i held = _mm256_min_epi32(offset, _mm256_set1_epi32(plan.highest));
    const __m256i shift = _mm256_slli_epi32(_mm256_sub_epi32(offset, held), 3);
    const __m256i bytes = _mm256_srlv_epi32(_mm256_i32gather_epi32(base, held, 1), shift);
    return _mm256_shuffle_epi8(bytes, pairs);
}

inline __m256i pairOfWeights(__m256i f)
{
    return _mm256_add_epi32(_mm256_sub_epi32(_mm256_set1_epi32(kSteps), f), _mm256_slli_epi32(f, 16));
}

template <bool NearEnd>
int32_t rotateVectors(const SamplerContext& context, const GatherPlan& plan, const FixedPath& path, int32_t n,
                      uint8_t* out)
{
    const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i mask = _mm256_set1_epi32(kSteps - 1);
    const __m256i step = _mm256_set1_epi32(plan.step);
    const __m256i lastRow = _mm256_set1_epi32(context.rowCount - 1);
    const __m256i packed = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    __m256i px =
        _mm256_add_epi32(_mm256_set1_epi32(path.x), _mm256_mullo_epi32(lane, _mm256_set1_epi32(path.dx)));
    __m256i py =
        _mm256_add_epi32(_mm256_set1_epi32(path.y), _mm256_mullo_epi32(lane, _mm256_set1_epi32(path.dy)));
    const __m256i advanceX = _mm256_set1_epi32(wrapMultiply(path.dx, 8));
    const __m256i advanceY = _mm256_set1_epi32(wrapMultiply(path.dy, 8));
    int32_t k = 0;
    for (; k + 8 <= n; k += 8) {
        const __m256i j = _mm256_srai_epi32(py, 16);
        const __m256i upper = _mm256_add_epi32(_mm256_mullo_epi32(j, step), _mm256_srai_epi32(px, 16));
        const __m256i hasNext = _mm256_cmpgt_epi32(lastRow, j);
        const __m256i lower = _mm256_add_epi32(upper, _mm256_and_si256(hasNext, step));
        const __m256i wx = pairOfWeights(_mm256_and_si256(_mm256_srai_epi32(px, 11), mask));
        const __m256i wy = pairOfWeights(_mm256_and_si256(_mm256_srai_epi32(py, 11), mask));
        const __m256i h0 = _mm256_madd_epi16(gatherPairs<NearEnd>(plan, upper), wx);
        const __m256i h1 = _mm256_madd_epi16(gatherPairs<NearEnd>(plan, lower), wx);
        const __m256i both = _mm256_or_si256(h0, _mm256_slli_epi32(h1, 16));
        const __m256i pixels = _mm256_srli_epi32(_mm256_madd_epi16(both, wy), 2 * kStepBits);
        const __m256i fours = _mm256_shuffle_epi8(pixels, packed);
        const int32_t parts[] = {_mm_cvtsi128_si32(_mm256_castsi256_si128(fours)),
                                 _mm_cvtsi128_si32(_mm256_extracti128_si256(fours, 1))};
        std::memcpy(out + k, parts, sizeof parts);
        px = _mm256_add_epi32(px, advanceX);
        py = _mm256_add_epi32(py, advanceY);
    }
    return k;
}

#endif

inline void rotateGrey(const SamplerContext& context, const FixedPath& path, int32_t n, uint8_t* out)
{
#if VEXA_LEVEL >= 2
    GatherPlan plan;
    int32_t done = 0;
    if (planGather(context, plan))
        done = nearAnEnd(context, plan, path, n) ? rotateVectors<true>(context, plan, path, n, out)
                                                 : rotateVectors<false>(context, plan, path, n, out);
#else
    const int32_t done = 0;
#endif
    rotateBytes<1>(context, path.from(done), n - done, out + done);
}

inline float pixelAt(const void* row, int64_t i)
{
    float pixel;
    std::memcpy(&pixel, static_cast<const uint8_t*>(row) + i * static_cast<int64_t>(sizeof pixel),
                sizeof pixel);
    return pixel;
}

inline void rotateFloat(const SamplerContext& context, const FixedPath& path, int32_t n, uint8_t* out)
{
    int32_t px = path.x;
    int32_t py = path.y;
    for (int32_t k = 0; k < n; ++k, out += sizeof(float)) {
        const int32_t i = px >> 16;
        const float u = static_cast<float>((px >> 11) & (kSteps - 1)) * 0.03125F;
        const float v = static_cast<float>((py >> 11) & (kSteps - 1)) * 0.03125F;
        const void* const r0 = context.rows[py >> 16];
        const void* const r1 = context.rows[(py >> 16) + 1];
        const bool inside = i + 1 < context.cols;
        const float next0 = inside ? pixelAt(r0, i + 1) : 0.0F;
        const float next1 = inside ? pixelAt(r1, i + 1) : 0.0F;
        const float pixel = (pixelAt(r0, i) * (1.0F - u) + next0 * u) * (1.0F - v) +
                            v * ((1.0F - u) * pixelAt(r1, i) + u * next1);
        std::memcpy(out, &pixel, sizeof pixel);
        px = wrapAdd(px, path.dx);
        py = wrapAdd(py, path.dy);
    }
}

inline constexpr RotateRows kRotateRows = {
    {rotateNearest<0>, rotateNearest<1>, rotateNearest<2>, rotateNearest<3>, rotateNearest<4>},
    {nullptr, rotateGrey, nullptr, rotateBytes<3>, rotateBytes<4>},
    rotateFloat};

} // namespace
} // namespace vexa::VEXA_TARGET
