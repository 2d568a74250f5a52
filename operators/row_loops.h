// The loops of all row functions. Compiled once per instruction set, hence no include guard.

#include "operators/row_frames.h"

#if !defined(VEXA_INDEPENDENT)
#if defined(__clang__)
#define VEXA_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define VEXA_INDEPENDENT _Pragma("GCC ivdep")
#endif
#endif

namespace vexa::VEXA_TARGET
{

// A pixel wherever it stands: an image of an application's own memory need not be aligned.
template <typename Pixel>
struct [[gnu::packed, gnu::may_alias]] Placed
{
    Pixel value;
};

// True where no output pixel is an input of another one: dest is the source itself or lies clear of it.
template <typename Pixel>
bool independent(const Placed<Pixel>* dest, const Placed<Pixel>* source, int32_t n)
{
    return dest == source || std::less_equal<>{}(dest + n, source) || std::less_equal<>{}(source + n, dest);
}

// Copies past the cache, in whole lines where the destination has them. The frame orders the stores at its end.
inline void storePastCache(void* dest, const void* lines, int64_t bytes)
{
    auto* to = static_cast<uint8_t*>(dest);
    auto* from = static_cast<const uint8_t*>(lines);
#if VEXA_HAS_X86_SETS
    const int64_t front = std::min<int64_t>(bytes, -reinterpret_cast<uintptr_t>(to) & 63);
    std::memcpy(to, from, static_cast<std::size_t>(front));
    int64_t at = front;
    for (; at + 64 <= bytes; at += 64) {
#if VEXA_LEVEL >= 3
        _mm512_stream_si512(reinterpret_cast<__m512i*>(to + at), _mm512_loadu_si512(from + at));
#else
        for (int64_t part = at; part < at + 64; part += 16)
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + part),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + part)));
#endif
    }
    std::memcpy(to + at, from + at, static_cast<std::size_t>(bytes - at));
#else
    std::memcpy(to, from, static_cast<std::size_t>(bytes));
#endif
}

// out[i] = pixel(i) for all i in any order, a piece at a time through the first-level cache where the whole result does
// not stay in any. pixel must not read what it has written.
template <typename Pixel, typename Function>
[[gnu::always_inline]] inline void fillRow(Placed<Pixel>* out, int32_t n, Function pixel)
{
    constexpr int32_t kPiece = 4096 / sizeof(Pixel);
    if (!resultPassesCache() || n < kPiece / 8) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i].value = static_cast<Pixel>(pixel(i));
        return;
    }
    alignas(64) Pixel piece[kPiece];
    for (int32_t start = 0; start < n; start += kPiece) {
        const int32_t length = std::min(kPiece, n - start);
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < length; ++i)
            piece[i] = static_cast<Pixel>(pixel(start + i));
        storePastCache(out + start, piece, int64_t{length} * static_cast<int64_t>(sizeof(Pixel)));
    }
}

// dest[i] = pixel(source[i]) from left to right, vectorised where no output is a later input.
template <typename Pixel, typename Function>
[[gnu::always_inline]] inline void mapRow(const void* source, void* dest, int32_t n, Function pixel)
{
    const auto* in = static_cast<const Placed<Pixel>*>(source);
    auto* out = static_cast<Placed<Pixel>*>(dest);
    if (independent(out, in, n)) {
        fillRow(out, n, [=](int32_t i) { return pixel(in[i].value); });
    } else {
        for (int32_t i = 0; i < n; ++i)
            out[i].value = static_cast<Pixel>(pixel(in[i].value));
    }
}

// dest[i] = pixel(a[i], b[i]) from left to right. Images that share pixels at different places keep that order; all
// others take the loop that the compiler may vectorise without a check of its own.
template <typename Pixel, typename Function>
[[gnu::always_inline]] inline void mapRow(const void* a, const void* b, void* dest, int32_t n, Function pixel)
{
    const auto* pa = static_cast<const Placed<Pixel>*>(a);
    const auto* pb = static_cast<const Placed<Pixel>*>(b);
    auto* out = static_cast<Placed<Pixel>*>(dest);
    if (independent(out, pa, n) && independent(out, pb, n)) {
        fillRow(out, n, [=](int32_t i) { return pixel(pa[i].value, pb[i].value); });
    } else {
        for (int32_t i = 0; i < n; ++i)
            out[i].value = static_cast<Pixel>(pixel(pa[i].value, pb[i].value));
    }
}

} // namespace vexa::VEXA_TARGET
