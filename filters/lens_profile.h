// The profile of a lens blur and the mode that selects its form.
#ifndef VEXA_FILTERS_LENS_PROFILE_H
#define VEXA_FILTERS_LENS_PROFILE_H

#include <cstdint>

namespace vexa
{

// 7 selects the second form, and sums of squares where a lens kernel is cut; every other value the first form.
inline constexpr int32_t kSecondLensProfile = 7;
int32_t lensProfileMode();
// For tests: no exported function sets the mode. Returns the previous one.
int32_t setLensProfileMode(int32_t mode);

// The relative intensity at radius r, normalised by the blur. mix 1 gives a Gaussian, 0 an Airy spot.
//
//     first form     (g mix + (1 - mix) a^2)^2      g = exp(-2 r^2)
//     second form    g mix^2 + (1 - mix^2) a        g = exp(-r^2)
//
// with a = 2 J1(z) / z and z = pi r, and 1 at the centre.
float lensBlurProfile(float r, float mix);

} // namespace vexa

#endif
