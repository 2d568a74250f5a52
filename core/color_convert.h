// What of the colour model is shared and not exported.
#ifndef VEXA_CORE_COLOR_CONVERT_H
#define VEXA_CORE_COLOR_CONVERT_H

#include <cstdint>

namespace vexa
{

// Unpacks n pixels of a colour type into one plane of bytes per band; a null plane is skipped. Nothing is done for
// PIX_BYTE, PIX_PLANAR and raw pixels. 0 for a type that has no such form, after a message, or a missing palette.
int32_t PackedToPlanar(const void* source, int32_t type, const void* palette, uint8_t* red, uint8_t* green,
                       uint8_t* blue, int32_t n);

// True where pixels of sourceType written into an image of destType change the selected band only.
bool writesOneBand(int32_t sourceType, int32_t destType);

// The last value given to I_SetStatsProcMode: what a statistic over a colour image hands to it while it reads.
int32_t statsProcMode();

} // namespace vexa

#endif
