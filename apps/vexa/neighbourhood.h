// Squares of pixels: local extremes of a picture, and masks that shrink and grow.
#ifndef VEXA_APPS_NEIGHBOURHOOD_H
#define VEXA_APPS_NEIGHBOURHOOD_H

#include <cstdint>

#include "image.h"

namespace app
{

enum class Extreme { smallest, largest };

// Each pixel becomes the extreme of the square of 2 * radius + 1 pixels around it; pixels outside do not count.
Pixels localExtreme(const Pixels& pixels, int32_t radius, Extreme extreme);

// 1 where a difference around 128 reaches the threshold on one side: sign 1 for brighter, -1 for darker.
Pixels passing(const Pixels& difference, int32_t sign, int32_t threshold);

// Whether a mask holds a full square of side by side pixels.
bool holdsSquare(const Pixels& mask, int32_t side);

// Keeps of a mask the pixels that belong to a full square of side by side pixels.
Pixels opened(const Pixels& mask, int32_t side);

// Grows a mask within another one by steps to the eight neighbours.
Pixels grown(const Pixels& seed, const Pixels& within, int32_t steps);

} // namespace app

#endif
