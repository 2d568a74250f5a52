/// Conversion of runs of pixels between pixel types.
///
/// Every block that is read or written in another type than its image's goes through ConvertPixelType. What a
/// number becomes as a byte is steered by a ScaleRecord; SetupScale makes one from the value range of an
/// image (I_SetPixValueRange), so that a float or 12-bit image shows its whole range in bytes.
///
/// Arrays I_ArrayConvert I_DupArrayType ConvertPixelType
/// Scale  SetupScale
///
///     float *floats = I_DupArrayType(words, PIX_WORD, PIX_FLOAT, 1000); // words are signed: 65535 is -1.0
///     smooth(floats, 1000);
///     I_ArrayConvert(floats, PIX_FLOAT, bytes, PIX_BYTE, 1000);         // rounded, held to 0 to 255
///     vexaFree(floats);
///
/// The numbers are the same on every instruction set, compiler and word size.
#ifndef VEXALIB_CONVERSION_H
#define VEXALIB_CONVERSION_H

#include "vexalib/types.h"

/// @name Scale
/// @{

/// Fills a scale record for a conversion between an image and a buffer of another type.
///
/// Only bytes on the buffer's side and anything but bytes on the image's are scaled; colour types from
/// PIX_BGR15 on count as bytes, PIX_PALETTE does not. With the image's range low to high and
/// g = 255 / (high - low):
///
///     image                    mode  read (image to bytes)            write (bytes to image)
///     PIX_FLOAT..PIX_DCOMPLEX   4    gain g, offset low               gain 1/g, offset -(low * g)
///     others                   2, 1  mode 2, gain g, shift, low       mode 1, gain 1/g, shift, low
///
/// shift is the number of bits of trunc((high - low - 1) / 256), low the truncated low end. A range of 0 to
/// 4095 gives shift 4, one of -100 to 923 shift 2 and low -100.
///
/// Nothing is scaled where low equals high (so in every image just opened), where the range is 0 to 255, and
/// in an integer image whose g lies above 0.996 and below 2.0: 0 to 200 is near enough.
///
/// @param record      the image; null counts as an image of the buffer's type
/// @param otherType   type of the buffer
/// @param scale       receives the record; null makes the call return 0
/// @param sourcePalette,destPalette stored for the colour conversion; may be null
/// @param sourceFlip,destFlip       stored: rows of the source, of the destination, lie bottom-up
/// @param readDirection non-zero from the image to the buffer, 0 from the buffer to the image
/// @return 1 if there is something to scale. Otherwise 0 and a record of mode 0, gain 1.0 and the palettes;
///         or, where the types are equal, one of zeros but for the flips.
VEXA_API int32_t SetupScale(const ImageRecord *record, int32_t otherType, ScaleRecord *scale,
                            const void *sourcePalette, const void *destPalette, int32_t sourceFlip,
                            int32_t destFlip, int32_t readDirection);
/// @}

/// @name Arrays
/// @{

/// Converts n pixels.
///
/// To bytes:
///
///     from         x                               becomes
///     PIX_WORD     signed 16 bits                  (x - low) >> shift, low byte
///     PIX_DWORD    signed 32 bits                  (x - low) >> shift, low byte
///     PIX_FLOAT    (value - offset) * gain         0 up to 0, 255 from 254.5 on, else trunc(x + 0.5)
///     PIX_DFLOAT   (value - offset) * gain         trunc(x + 0.5), low byte: 300.0 gives 44
///     PIX_COMPLEX  (magnitude - offset) * gain     as PIX_FLOAT; the power in complex mode 3
///
/// From bytes to PIX_WORD: (value << shift) + low. Between PIX_FLOAT and PIX_DFLOAT: the same number,
/// rounded. These pairs take no memory. All others go by way of 32-bit floats, (x - offset) * gain where the
/// record's mode is not 0, so that integers above 16777216 lose their last digits:
///
///     to float     PIX_COMPLEX by the complex mode: 0 magnitude, 1 real part, 2 imaginary part, 3 sum of
///                  the squares, (3, 4) giving 5, 3, 4, 25; PIX_DCOMPLEX magnitude; type 8 signed bytes;
///                  any other type unsigned bytes
///     from float   integers truncated, the bits that fit; PIX_COMPLEX into the imaginary part in complex
///                  mode 2, else into the real part, the other part 0; PIX_DCOMPLEX real part
///
/// What does not fit 32 bits, or is no number, truncates to INT32_MIN. Sums are formed in doubles.
///
/// A type of 12 or above is converted by ConvertColorType with the record's palettes, other numbers than
/// bytes by way of bytes, which the record scales.
///
/// @param source,dest n pixels each, at any address. In place, or overlapping, the pairs by way of floats and
///                    of colour come out as if the source had been copied first; the pairs without memory run
///                    from left to right, which is safe in place where pixels do not grow.
/// @param scale       null: gain 1.0 and nothing else
///
/// Nothing happens for n below 1 (the pointers are not looked at), a type below 1, or a null pointer. Equal
/// types are copied. Failures leave dest as it was: error 2 "ConvertPixelType Npix=%d" in the frame of
/// malloctest (a copy of an overlapping source, or the bytes between numbers and colours) and those of
/// ConvertColorType. Reads the complex mode (I_SetComplexMode) and the colour band.
VEXA_API void ConvertPixelType(const void *source, int32_t sourceType, void *dest, int32_t destType,
                               int32_t n, const ScaleRecord *scale);
/// Converts n pixels without a scale.
///
/// @param dest n pixels; null has them allocated, zeroed and the caller's, to be freed with free or vexaFree
/// @return dest, or the new block; null if there is no memory for it, with error 2 "I_ArrayConvert Npix=%d"
///         in the frame of malloctest. A conversion that fails leaves the error told above, and the pixels as
///         they were.
VEXA_API void *I_ArrayConvert(const void *source, int32_t sourceType, void *dest, int32_t destType,
                              int32_t n);
/// I_ArrayConvert into a new block.
VEXA_API void *I_DupArrayType(const void *source, int32_t sourceType, int32_t destType, int32_t n);
/// @}

#endif
