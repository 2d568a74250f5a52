// Row functions of the subtractions that report where images differ. Compiled once per instruction set, hence no
// include guard.

#include "operators/clip_slots.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

inline uint8_t distance(uint8_t x, uint8_t y)
{
    return static_cast<uint8_t>(std::max(x, y) - std::min(x, y));
}

inline uint8_t largestDistance(const uint8_t* a, const uint8_t* b, int32_t n)
{
    uint8_t largest = 0;
    for (int32_t i = 0; i < n; ++i)
        largest = std::max(largest, distance(a[i], b[i]));
    return largest;
}

// a - b through the low slot, as subtraction does it. Each element whose distance is above the bound of the finder goes
// to it with its index, from left to right.
template <typename Finder, int32_t Mode>
struct SubtractFindRow {
    static void run(const void* a, const void* b, void* dest, int32_t n, void* parameter)
    {
        auto& finder = *static_cast<Finder*>(parameter);
        const auto* pa = static_cast<const uint8_t*>(a);
        const auto* pb = static_cast<const uint8_t*>(b);
        if (!clear(dest, a, n) || !clear(dest, b, n)) {
            for (int32_t i = 0; i < n; ++i) {
                offer(finder, pa, pb, i);
                subtract(pa + i, pb + i, static_cast<uint8_t*>(dest) + i, 1);
            }
            return;
        }
        if (largestDistance(pa, pb, n) > finder.bound())
            for (int32_t i = 0; i < n; ++i)
                offer(finder, pa, pb, i);
        subtract(a, b, dest, n);
    }

    static void offer(Finder& finder, const uint8_t* a, const uint8_t* b, int32_t i)
    {
        const int32_t found = distance(a[i], b[i]);
        if (found > finder.bound())
            finder.take(found, i);
    }
    static void subtract(const void* a, const void* b, void* dest, int32_t n)
    {
        const ClipLimits limits = clipLimits();
        mapRow<uint8_t>(a, b, dest, n, [=](uint8_t x, uint8_t y) {
            return low<Mode>(uint8_t{}, static_cast<int16_t>(x - y), limits);
        });
    }
    static bool clear(const void* dest, const void* source, int32_t n)
    {
        return independent(static_cast<const Placed<uint8_t>*>(dest),
                           static_cast<const Placed<uint8_t>*>(source), n);
    }
};

template <typename Finder, int32_t... Mode>
constexpr std::array<BinaryRowFilter, kClipRows> findRows(std::integer_sequence<int32_t, Mode...>)
{
    return {SubtractFindRow<Finder, Mode>::run...};
}

inline constexpr auto kMaximumRows =
    findRows<MaximumFinder>(std::make_integer_sequence<int32_t, kClipRows>{});
inline constexpr auto kPeakRows = findRows<PeakFinder>(std::make_integer_sequence<int32_t, kClipRows>{});

} // namespace
} // namespace vexa::VEXA_TARGET
