// The row functions of the smoothing family that other filters of this library run, too.
#ifndef VEXA_FILTERS_SMOOTHING_FILTERS_H
#define VEXA_FILTERS_SMOOTHING_FILTERS_H

#include <cstdint>

#include "filters/frame.h"

namespace vexa
{

// The user record of the sharpening filter.
struct SharpenParams {
    int32_t strength; // in units of 1/128
    int32_t noCentre; // non-zero: the high-pass term alone
};

// The mean of nine points; no user data. For PIX_BYTE, or PIX_FLOAT for any other type.
FrameFilter meanFilter(int32_t type);
// Sharpening with the clip mode in force; the user data are SharpenParams. Types as for the mean.
FrameFilter sharpenFilter(int32_t type);

} // namespace vexa

#endif
