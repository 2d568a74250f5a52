// The loops of all row functions. Compiled once per instruction set, hence no include guard.

#if !defined(VEXA_INDEPENDENT)
#if defined(__clang__)
#define VEXA_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define VEXA_INDEPENDENT _Pragma("GCC ivdep")
#endif
#endif

namespace vexa::VEXA_TARGET
{

// True where no output pixel is an input of another one: dest is the source itself or lies clear of it.
template <typename Pixel>
bool independent(const Pixel* dest, const Pixel* source, int32_t n)
{
    return dest == source || std::less_equal<>{}(dest + n, source) || std::less_equal<>{}(source + n, dest);
}

// dest[i] = pixel(source[i]) from left to right, vectorised where no output is a later input.
template <typename Pixel, typename Function>
void mapRow(const void* source, void* dest, int32_t n, Function pixel)
{
    const auto* in = static_cast<const Pixel*>(source);
    auto* out = static_cast<Pixel*>(dest);
    if (independent(out, in, n)) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i] = static_cast<Pixel>(pixel(Wide<Pixel>{in[i]}));
    } else {
        for (int32_t i = 0; i < n; ++i)
            out[i] = static_cast<Pixel>(pixel(Wide<Pixel>{in[i]}));
    }
}

// dest[i] = pixel(a[i], b[i]) from left to right. Images that share pixels at different places keep that order; all
// others take the loop that the compiler may vectorise without a check of its own.
template <typename Pixel, typename Function>
void mapRow(const void* a, const void* b, void* dest, int32_t n, Function pixel)
{
    const auto* pa = static_cast<const Pixel*>(a);
    const auto* pb = static_cast<const Pixel*>(b);
    auto* out = static_cast<Pixel*>(dest);
    if (independent(out, pa, n) && independent(out, pb, n)) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i] = static_cast<Pixel>(pixel(Wide<Pixel>{pa[i]}, Wide<Pixel>{pb[i]}));
    } else {
        for (int32_t i = 0; i < n; ++i)
            out[i] = static_cast<Pixel>(pixel(Wide<Pixel>{pa[i]}, Wide<Pixel>{pb[i]}));
    }
}

} // namespace vexa::VEXA_TARGET
