// Row functions of the operators on two images. Compiled once per instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

inline uint8_t addSaturating(uint8_t x, uint8_t y)
{
    const auto room = static_cast<uint8_t>(255 - y);
    return static_cast<uint8_t>(std::min(x, room) + y);
}

// a + b can only overflow: the high slot on bytes. Floats are not clipped.
template <typename Pixel, int32_t Mode>
struct AddRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void*)
    {
        mapRow<Pixel>(a, b, dest, n, [](Pixel x, Pixel y) { return x + y; });
    }
};
template <int32_t Mode>
struct AddRow<uint8_t, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void*)
    {
        const ClipLimits limits = clipLimits(); // once per row, so that the loop holds them in registers
        mapRow<uint8_t>(a, b, dest, n, [=](uint8_t x, uint8_t y) {
            if constexpr (Mode == 1 || Mode == 2)
                return clipHigh(addSaturating(x, y), limits); // the same, without leaving bytes
            else
                return high<Mode>(uint8_t{}, static_cast<int16_t>(x + y), limits);
        });
    }
};

// What holds every difference of two pixels.
template <typename Pixel>
using Difference = std::conditional_t<sizeof(Pixel) == 1, int16_t, Wide<Pixel>>;

// a - b can only underflow: the low slot.
template <typename Pixel, int32_t Mode>
struct SubtractRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void*)
    {
        constexpr bool bytes = sizeof(Pixel) == 1;
        [[maybe_unused]] const ClipLimits limits = clipLimits();
        mapRow<Pixel>(a, b, dest, n, [=](Pixel x, Pixel y) {
            if constexpr (Mode == 1 && bytes)
                return std::max(x, y) - y; // the same, without leaving bytes
            else if constexpr (Mode == 2 && bytes)
                return std::max(x, y) - std::min(x, y);
            else
                return low<Mode>(Pixel{}, static_cast<Difference<Pixel>>(x - y), limits);
        });
    }
};

// a * b / k, the quotient truncated, with the high slot.
template <typename Pixel, int32_t Mode>
struct MultiplyRow;
template <int32_t Mode>
struct MultiplyRow<uint8_t, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const ByteProductDivisor k = static_cast<const MultiplyParameter*>(parameter)->byteDivisor;
        const ClipLimits limits = clipLimits();
        // A quotient below 0 is under every limit.
        const auto sign = static_cast<uint16_t>(k.negative ? 0xFFFF : 0);
        const auto highest = static_cast<uint16_t>(k.negative ? 0xFFFF : limits.highestPixel);
        mapRow<uint8_t>(a, b, dest, n, [=](uint8_t x, uint8_t y) {
            const auto product = static_cast<uint16_t>(x * y + k.add);
            const auto scaled = static_cast<uint16_t>((uint32_t{product} * k.factor) >> 16);
            const auto quotient = static_cast<uint16_t>(scaled >> k.shift);
            if constexpr (Mode == 1 || Mode == 2)
                return (std::min(quotient, highest) ^ sign) - sign;
            else
                return high<Mode>(uint8_t{}, k.negative ? -int32_t{quotient} : int32_t{quotient}, limits);
        });
    }
};
template <int32_t Mode>
struct MultiplyRow<float, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const auto& by = *static_cast<const MultiplyParameter*>(parameter);
        const float divisor = by.divisor;
        if (by.isOne)
            mapRow<float>(a, b, dest, n, [](float x, float y) { return x * y; });
        else
            mapRow<float>(a, b, dest, n, [=](float x, float y) { return x * y / divisor; });
    }
};
template <int32_t Mode>
struct MultiplyRow<ComplexPixel, Mode> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const auto& by = *static_cast<const MultiplyParameter*>(parameter);
        const float factor = by.isOne ? 1.0F : by.divisor;
        mapRow<ComplexPixel>(a, b, dest, n, [=](ComplexPixel x, ComplexPixel y) {
            // A difference of products g++ 12 would round only once.
            return ComplexPixel{(x.re * y.re + x.im * -y.im) * factor, (x.re * y.im + x.im * y.re) * factor};
        });
    }
};

// b + (a - b) * weight, on bytes in 128ths. What is cut to the low byte needs the low 16 bits of the product only.
template <typename Pixel>
struct BlendRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const float factor = static_cast<const BlendParameter*>(parameter)->factor;
        mapRow<float>(a, b, dest, n, [=](float x, float y) { return (x - y) * factor + y; });
    }
};
template <>
struct BlendRow<uint8_t> {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        const auto weight = static_cast<uint16_t>(static_cast<const BlendParameter*>(parameter)->weight);
        mapRow<uint8_t>(a, b, dest, n, [=](uint8_t x, uint8_t y) {
            const auto difference = static_cast<uint16_t>(x - y);
            const auto product = static_cast<uint16_t>(uint32_t{difference} * weight + 64);
            return static_cast<uint8_t>(y + (product >> 7));
        });
    }
};

// A tie gives b, and so does a comparison with no number.
template <typename Pixel>
struct MinRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void*)
    {
        mapRow<Pixel>(a, b, dest, n, [](Pixel x, Pixel y) { return x < y ? x : y; });
    }
};
template <typename Pixel>
struct MaxRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void*)
    {
        mapRow<Pixel>(a, b, dest, n, [](Pixel x, Pixel y) { return x > y ? x : y; });
    }
};

inline void andRow(const void* a, const void* b, void* dest, int32_t n, void*)
{
    mapRow<uint8_t>(a, b, dest, n, [](uint8_t x, uint8_t y) { return x & y; });
}
inline void orRow(const void* a, const void* b, void* dest, int32_t n, void*)
{
    mapRow<uint8_t>(a, b, dest, n, [](uint8_t x, uint8_t y) { return x | y; });
}
inline void xorRow(const void* a, const void* b, void* dest, int32_t n, void*)
{
    mapRow<uint8_t>(a, b, dest, n, [](uint8_t x, uint8_t y) { return x ^ y; });
}

inline constexpr auto kAddRows = rowsByClipMode<AddRow, uint8_t, float>();
inline constexpr auto kSubtractRows = rowsByClipMode<SubtractRow, uint8_t, uint16_t, float>();
inline constexpr auto kMultiplyRows = rowsByClipMode<MultiplyRow, uint8_t, ComplexPixel, float>();
inline constexpr auto kBlendRows = rowsByType<BlendRow, uint8_t, float>();
inline constexpr auto kMinRows = rowsByType<MinRow, uint8_t, uint16_t, float>();
inline constexpr auto kMaxRows = rowsByType<MaxRow, uint8_t, uint16_t, float>();

} // namespace
} // namespace vexa::VEXA_TARGET
