// The clip table as text: a function per slot, a branch per mode. Compiled once per instruction set, hence no include
// guard.
//
// x is the result before the clip, and the caller cuts what comes back to the width of the pixel. Whole results are
// int32_t and wrap; those of bytes may be int16_t where the caller knows that they and their sum with 128 fit, which
// gives the same in half the room.

namespace vexa::VEXA_TARGET
{

inline int32_t offset(int32_t x)
{
    return wrapAdd(x, 128);
}
inline int16_t offset(int16_t x)
{
    return static_cast<int16_t>(x + 128);
}

template <typename Int>
Int half(Int x)
{
    return static_cast<Int>(x / 2);
}

inline int32_t absolute(int32_t x)
{
    return x < 0 ? wrapSubtract(0, x) : x;
}
inline int16_t absolute(int16_t x)
{
    return static_cast<int16_t>(x < 0 ? -x : x);
}

template <typename Int>
Int clipHigh(Int x, ClipLimits limits)
{
    return std::min<Int>(x, limits.highestPixel);
}

template <typename Int>
Int clipRange(Int x, ClipLimits limits)
{
    // Required: what lies below 0 keeps its bits above the low byte, which shows in words.
    return x < 0 ? static_cast<Int>(x & ~255) : clipHigh(x, limits);
}

template <typename Int>
Int clipSigned(Int x)
{
    constexpr Int lowest = -128;
    constexpr Int highest = 127;
    return x < lowest ? lowest : x > highest ? highest : x;
}

inline int32_t clipSquare(int32_t x, ClipLimits limits)
{
    return clipHigh(wrapMultiply(x, x), limits);
}
inline int16_t clipSquare(int16_t x, ClipLimits limits)
{
    constexpr int16_t rootPastBytes = 16;
    const int16_t root = std::min(absolute(x), rootPastBytes);
    return clipHigh(static_cast<int16_t>(root * root), limits);
}

// A result that can leave the range of bytes at either end.
template <int32_t Mode, typename Int>
Int both(uint8_t, Int x, ClipLimits limits)
{
    if constexpr (Mode == 1)
        return clipRange(x, limits);
    else if constexpr (Mode == 2)
        return clipHigh(absolute(x), limits);
    else if constexpr (Mode == 3)
        return clipRange(offset(x), limits);
    else if constexpr (Mode == 4)
        return offset(half(x));
    else if constexpr (Mode == 5)
        return clipSigned(x);
    else if constexpr (Mode == 6)
        return clipSigned(half(x));
    else if constexpr (Mode == 7)
        return clipSquare(x, limits);
    else
        return x;
}

// A result that can only overflow a byte.
template <int32_t Mode, typename Int>
Int high(uint8_t, Int x, ClipLimits limits)
{
    if constexpr (Mode == 1 || Mode == 2)
        return clipHigh(x, limits);
    else
        return both<Mode>(uint8_t{}, x, limits);
}

// A result that can only underflow a byte.
template <int32_t Mode, typename Int>
Int low(uint8_t, Int x, ClipLimits limits)
{
    if constexpr (Mode == 1)
        return x < 1 ? Int{0} : x;
    else if constexpr (Mode == 2)
        return absolute(x);
    else
        return both<Mode>(uint8_t{}, x, limits);
}

// Words have limits of their own, which are never set: they overflow freely.
template <int32_t Mode>
int32_t both(uint16_t, int32_t x, ClipLimits)
{
    if constexpr (Mode == 2)
        return absolute(x);
    else if constexpr (Mode == 3)
        return offset(x);
    else if constexpr (Mode == 4)
        return offset(half(x));
    else if constexpr (Mode == 7)
        return wrapMultiply(x, x);
    else
        return x;
}

template <int32_t Mode>
int32_t high(uint16_t, int32_t x, ClipLimits limits)
{
    if constexpr (Mode == 2)
        return x;
    else if constexpr (Mode == 3)
        return clipRange(offset(x),
                         limits); // Required: this slot and the next clip their offset as bytes do.
    else
        return both<Mode>(uint16_t{}, x, limits);
}

template <int32_t Mode>
int32_t low(uint16_t, int32_t x, ClipLimits limits)
{
    if constexpr (Mode == 1)
        return x < 1 ? 0 : x;
    else if constexpr (Mode == 2)
        return absolute(x);
    else
        return high<Mode>(uint16_t{}, x, limits);
}

inline float clipFloat(float x, ClipLimits limits)
{
    const float capped = limits.high != 0.0F && x >= limits.high ? limits.high : x;
    return x < limits.low ? limits.low : capped;
}

template <int32_t Mode>
float both(float, float x, ClipLimits limits)
{
    if constexpr (Mode == 1)
        return clipFloat(x, limits);
    else if constexpr (Mode == 2)
        return std::fabs(x);
    else if constexpr (Mode == 3)
        return clipFloat(x + 128.0F, limits);
    else if constexpr (Mode == 4)
        return clipFloat(x * 0.5F + 128.0F, limits);
    else if constexpr (Mode == 7)
        return x * x;
    else
        return x;
}

template <int32_t Mode>
float high(float, float x, ClipLimits limits)
{
    if constexpr (Mode == 1)
        return x;
    else
        return both<Mode>(float{}, x, limits);
}

template <int32_t Mode>
float low(float, float x, ClipLimits limits)
{
    return both<Mode>(float{}, x, limits);
}

// The complex slot.
template <ComplexClip Clip>
ComplexPixel clipComplex(ComplexPixel x)
{
    if constexpr (Clip == ComplexClip::magnitude)
        return {std::hypot(x.re, x.im), 0.0F};
    else if constexpr (Clip == ComplexClip::power)
        return {x.re * x.re + x.im * x.im, 0.0F};
    else
        return x;
}

} // namespace vexa::VEXA_TARGET
