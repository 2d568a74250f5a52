// Row functions of the operators on three sources, which come through buffers of their own. Compiled once per
// instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/quotients.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// a + ((weight * (b - a)) >> 8), cut to the low byte, which needs the low 16 bits of the product only.
inline void blendByWeight(const uint8_t* a, const uint8_t* b, const uint8_t* weights, uint8_t* dest,
                          int64_t n)
{
    VEXA_INDEPENDENT
    for (int64_t i = 0; i < n; ++i) {
        const auto difference = static_cast<uint16_t>(b[i] - a[i]);
        const auto product = static_cast<uint16_t>(uint32_t{difference} * weights[i]);
        dest[i] = static_cast<uint8_t>(a[i] + (product >> 8));
    }
}

template <int32_t Mode, typename Real>
void correctField(const FieldRows& rows, int32_t n, int32_t gain, ClipLimits limits)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        const int32_t light = std::max(rows.source[i] - rows.dark[i], 0);
        const int32_t flat = rows.flat[i];
        const int32_t quotient = quotientOrAny<Real>(wrapAdd(wrapMultiply(light, gain), flat / 2), flat);
        rows.dest[i] = flat == 0 ? uint8_t{0} : static_cast<uint8_t>(both<Mode>(uint8_t{}, quotient, limits));
    }
}

// (max(source - dark, 0) * gain + flat / 2) / flat through the slot for both ends; 0 where flat is 0.
template <int32_t Mode>
void flatFieldRow(const FieldRows& rows, int32_t n, int32_t gain)
{
    constexpr int32_t kMostFloatGain = kMostInFloat / 255 - 1;
    if (gain >= -kMostFloatGain && gain <= kMostFloatGain)
        correctField<Mode, float>(rows, n, gain, clipLimits());
    else
        correctField<Mode, double>(rows, n, gain, clipLimits());
}

template <int32_t... Mode>
constexpr std::array<FlatFieldRow, kClipRows> flatFieldRows(std::integer_sequence<int32_t, Mode...>)
{
    return {flatFieldRow<Mode>...};
}
inline constexpr auto kFlatFieldRows = flatFieldRows(std::make_integer_sequence<int32_t, kClipRows>{});

} // namespace
} // namespace vexa::VEXA_TARGET
