// The working type of an operator from its operands, of which each may be 0.
#ifndef VEXA_OPERATORS_WORKING_TYPE_H
#define VEXA_OPERATORS_WORKING_TYPE_H

#include "vexalib/neighbourhood.h"

namespace vexa
{

// The selectors take this number for an image that is absent.
inline constexpr int32_t kNoImage = 4095;

inline int32_t orNoImage(int32_t im)
{
    return im != 0 ? im : kNoImage;
}

inline int32_t widestType(int32_t imA, int32_t imB, int32_t imDest)
{
    return WidestPixelType(orNoImage(imA), orNoImage(imB), orNoImage(imDest));
}
inline int32_t widestType(int32_t imSrc, int32_t imDest)
{
    return WidestPixelType(orNoImage(imSrc), orNoImage(imDest), kNoImage);
}

// Colour types keep their codes.
inline int32_t narrowestType(int32_t imSrc, int32_t imDest)
{
    return NarrowestPixelType(orNoImage(imSrc), orNoImage(imDest), kNoImage, 0);
}

} // namespace vexa

#endif
