// The forms of convolution that come of what the vectors of an instruction set do. Compiled once per instruction set, hence
// no include guard.

#include "filters/set_vectors.h"

namespace vexa::VEXA_TARGET
{
namespace
{

#if VEXA_HAS_X86_SETS

// Outputs of a block: a vector of bytes, which becomes four vectors of 32-bit sums.
inline constexpr int32_t kBlock = sizeof(Set::Vector);
inline constexpr int32_t kBlockLanes = kBlock / 4;

inline Set::Vector spreadByte(uint8_t x)
{
    return Set::spread(static_cast<int32_t>(x * 0x01010101U));
}

// Stores a block, or what is left of a line.
[[gnu::always_inline]] inline void storePixels(uint8_t* out, const uint8_t* pixels, int32_t left)
{
    if (left >= kBlock)
        std::memcpy(out, pixels, kBlock);
    else
        std::memcpy(out, pixels, static_cast<std::size_t>(left));
}

inline constexpr SumForms kSumForms = {VEXA_LEVEL >= 2, VEXA_LEVEL >= 3, true};

#else

inline constexpr SumForms kSumForms = {false, false, false};

#endif

} // namespace
} // namespace vexa::VEXA_TARGET
