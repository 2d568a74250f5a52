/// Working types and common sizes of several images.
///
///     sizes    I_GetMinSize2 I_GetMinSize3
///     types    NarrowestPixelType WidestPixelType
///
/// Example: the area that two images share, and a type that holds the pixels of both.
///
///     int32_t width, height;
///     if (!I_GetMinSize2(&width, &height, NULL, NULL, imSrc, imDest))
///         return 0;
///     int32_t type = WidestPixelType(imSrc, imDest, 4095);
#ifndef VEXALIB_NEIGHBOURHOOD_H
#define VEXALIB_NEIGHBOURHOOD_H

#include "vexalib/types.h"

/// @name Sizes
/// @{

/// The smaller width and the smaller height of two images.
///
/// @param width,height   receive the sizes in pixels, 0 if an image is not open; may be null
/// @param bytes1,bytes2  receive the bytes per pixel of each image; may be null. Where both are given, that
///                       of an absent image is 1; otherwise it stays unwritten
/// @param im1,im2        the images; 0 stands for none, and the other one's size is the result
/// @return 1; 0 if an image is not open, or both are 0: error 20 "I_ImGetSize(, im=N)  im. not open" or 24
///         "I_ImGetSize(, im=N) im. not open"
VEXA_API int32_t I_GetMinSize2(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2, int32_t im1,
                               int32_t im2);

/// The same for three images.
///
///     im2 is 0          I_GetMinSize2 of im1 and im2; im3 is not looked at
///     im3 is 0          0, sizes of 0, error 24: only the second image is tested for absence
///     otherwise         the smallest of all that are given
VEXA_API int32_t I_GetMinSize3(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2,
                               int32_t *bytes3, int32_t im1, int32_t im2, int32_t im3);

/// @}
/// @name Types
/// @{

/// The smallest type code among the images.
///
///     images                  flag 0        flag 1
///     PIX_BYTE, PIX_WORD      PIX_BYTE      PIX_BYTE
///     PIX_WORD, PIX_BGR24     PIX_WORD      PIX_BYTE
///     PIX_BGR24, PIX_BGR32    PIX_BGR24     PIX_BYTE
///
/// @param im1,im2,im3  images, the destination last; 4095 for each that is absent. An image that is not open
///                     has code 0, and leaves error 20 or 24 of I_ImGetType
/// @param colorAsBytes non-zero: each code of 12 or more counts as PIX_BYTE
/// @return the code; 0 without any image
///
/// Sets the float range (I_SetClipMode) from the type of im3, or of im2 where im3 is 4095.
VEXA_API int32_t NarrowestPixelType(int32_t im1, int32_t im2, int32_t im3, int32_t colorAsBytes);

/// The largest type code among the images, each code of 12 or more counting as PIX_BYTE.
///
///     PIX_BYTE, PIX_BGR24          PIX_BYTE
///     PIX_BGR24, PIX_FLOAT         PIX_FLOAT
///     PIX_FLOAT, PIX_DCOMPLEX      PIX_DFLOAT: a result above PIX_COMPLEX becomes PIX_DFLOAT
///
/// Arguments, result and float range as for NarrowestPixelType.
VEXA_API int32_t WidestPixelType(int32_t im1, int32_t im2, int32_t im3);

/// @}

#endif
