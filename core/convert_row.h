// The loop of all conversions of pixel rows. Compiled once per instruction set, hence no include guard. Pixels may lie
// at any address, so they are loaded and stored by memcpy.

#if !defined(VEXA_INDEPENDENT)
#if defined(__clang__)
#define VEXA_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define VEXA_INDEPENDENT _Pragma("GCC ivdep")
#endif
#endif

namespace vexa::VEXA_TARGET
{

inline constexpr int32_t kPrefetchBytes = 4096; // how far ahead lines are fetched

template <typename Pixel>
inline Pixel loadPixel(const uint8_t* row, int64_t i)
{
    Pixel pixel;
    std::memcpy(&pixel, row + i * static_cast<int64_t>(sizeof pixel), sizeof pixel);
    return pixel;
}

template <typename Pixel>
inline void storePixel(uint8_t* row, int64_t i, Pixel pixel)
{
    std::memcpy(row + i * static_cast<int64_t>(sizeof pixel), &pixel, sizeof pixel);
}

inline bool lieApart(const uint8_t* a, int64_t aBytes, const uint8_t* b, int64_t bBytes)
{
    return std::less_equal<>{}(a + aBytes, b) || std::less_equal<>{}(b + bBytes, a);
}

// dest[i] = convert(source[i]) from left to right; vector code where the two lie apart.
template <typename From, typename To, typename Function>
inline void convertRow(const void* source, void* dest, int32_t n, Function convert)
{
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    if (lieApart(in, int64_t{n} * static_cast<int64_t>(sizeof(From)), out,
                 int64_t{n} * static_cast<int64_t>(sizeof(To)))) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            storePixel<To>(out, i, static_cast<To>(convert(loadPixel<From>(in, i))));
    } else {
        for (int32_t i = 0; i < n; ++i)
            storePixel<To>(out, i, static_cast<To>(convert(loadPixel<From>(in, i))));
    }
}

// The same for what takes memory's time and not the processor's: lines are fetched, across the page that the processor's
// own prefetcher stops at, before they are read or written.
template <typename From, typename To, typename Function>
inline void convertLongRow(const void* source, void* dest, int32_t n, Function convert)
{
    constexpr int32_t kBlock = 64; // pixels: as many lines as a pixel has bytes
    const auto* in = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    int32_t i = 0;
    for (; i <= n - kBlock; i += kBlock, in += kBlock * sizeof(From), out += kBlock * sizeof(To)) {
        for (std::size_t line = 0; line < sizeof(From); ++line)
            __builtin_prefetch(in + kPrefetchBytes + kBlock * line, 0);
        for (std::size_t line = 0; line < sizeof(To); ++line)
            __builtin_prefetch(out + kPrefetchBytes + kBlock * line, 1);
        convertRow<From, To>(in, out, kBlock, convert);
    }
    convertRow<From, To>(in, out, n - i, convert);
}

} // namespace vexa::VEXA_TARGET
