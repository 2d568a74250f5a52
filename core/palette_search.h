// The entry of a palette that is nearest to a colour.
#ifndef VEXA_CORE_PALETTE_SEARCH_H
#define VEXA_CORE_PALETTE_SEARCH_H

#include <cstdint>

namespace vexa
{

// The entries of a palette (256 times blue, green, red, spare) nearest to n colours.
void nearestEntries(const void* palette, const uint8_t* red, const uint8_t* green, const uint8_t* blue,
                    uint8_t* entries, int32_t n);

} // namespace vexa

#endif
