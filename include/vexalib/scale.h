/// Scaling of images, and the resampling of rows that it is made of.
///
///     images   I_ScaleImage I_ScaleImage1 I_ScaleImage1Ex I_ScaleImageROI
///     rows     I_ResampleArrayByte I_ResampleArrayLong I_ResampleArrayFloat I_ResampleArrayType
///              I_BlendRowsType
///
/// Example: a picture at half its size, each pixel the rounded mean of four, and a quarter of it enlarged.
///
///     int32_t small = I_ScaleImage1(im, 0.0, 0.0, 0.5, 0.5, 1);
///     int32_t large = I_ScaleImage1(im, 0.0, 0.0, 2.5, 2.5, 1);
///     int32_t origin[2] = {0, 0}, size[2] = {200, 200};
///     I_ScaleImage(im, dest, origin, size, 10.5, 20.0, 3.0, 3.0, 0); // 200 by 200 pixels from (10.5, 20) on
///
/// A scale is destination elements per source element; an offset is the place in the source at which the
/// first destination element lies. Positions are 16.16 fixed point: position = trunc(offset * 65536), step =
/// trunc(65536 / scale), either INT32_MIN where it does not fit. Where a position leads out of an array, and
/// nothing else is said, its nearest element is read.
#ifndef VEXALIB_SCALE_H
#define VEXALIB_SCALE_H

#include "vexalib/types.h"

/// @name Rows
/// @{

/// Resamples an array of bytes.
///
/// With scale 1.0 and offset 0, min(srcCount, dstCount) elements are copied, and that is all. Otherwise
/// elements of dst whose position is negative stay as they are, position += step for each. Then, with i =
/// position >> 16 and f = position & 65535:
///
///     interp  scale      element                                              up to
///     0       any        src[i], from half an element further on              i < srcCount
///     not 0   below 1.0  the mean of src from position to position + step,    the cell's end < srcCount
///                        parts of elements truncated, then the mean
///     not 0   from 1.0   (((src[i + 1] - src[i]) * f + 32768) >> 16) + src[i] i < srcCount - 1
///
/// and the last element of src from there on. In the third form the last element that a negative offset
/// passed over takes src[i] of the first position that is not.
///
/// @param src      srcCount elements; null, as dst, does nothing
/// @param dst      dstCount elements, apart from src
/// @param srcCount,dstCount at least 1; else error 14 "I_ResampleArrayByte", and nothing is written
VEXA_API void I_ResampleArrayByte(const uint8_t *src, int32_t srcCount, uint8_t *dst, int32_t dstCount,
                                  double offset, double scale, int32_t interp);
/// The same for 32-bit integers, with products and sums of 64 bits. Error 14 "I_ResampleArraylong".
VEXA_API void I_ResampleArrayLong(const int32_t *src, int32_t srcCount, int32_t *dst, int32_t dstCount,
                                  double offset, double scale, int32_t interp);
/// The same for 32-bit floats, with f / 65536 as a float. A mean is the sum times scale; nearest elements
/// start at trunc(position + scale * step * 0.5). Nothing is copied at scale 1.0 and offset 0. Error 14
/// "I_ResampleArrayFloat" for a negative count; a count of 0 does nothing.
VEXA_API void I_ResampleArrayFloat(const float *src, int32_t srcCount, float *dst, int32_t dstCount,
                                   double offset, double scale, int32_t interp);
/// Resamples pixels of any type. Nothing happens for srcCount below 1, dstCount below 2, or a scale of 0 or
/// less.
///
///     any but 25, scale 1.0, offset 0     min(srcCount, dstCount) pixels are copied
///     25                                  src and dst are tables of three byte planes, each resampled as
///                                         bytes where both pointers are given
///     PIX_BYTE, PIX_PALETTE, PIX_PLANAR   as bytes: both counts times the bytes of a pixel
///     PIX_DWORD, PIX_FLOAT                as 32-bit integers, as floats
///     others of 2, 4, 8 bytes, interp     by way of floats
///     all others                          by copying src[i] of position trunc(offset * 65536 + 0.5), up to
///                                         element trunc(min((srcCount - offset) * scale, dstCount)); from
///                                         there on they stay as they are
///
/// Error 2 "I_ResampleArrayType" without memory for the floats.
VEXA_API void I_ResampleArrayType(const void *src, int32_t srcCount, void *dst, int32_t dstCount,
                                  double offset, double scale, int32_t interp, int32_t pixelType);

/// Mixes two rows: out = b + (a - b) * t. A t of 1.0 copies a, one of 0.0 copies b.
///
///     0, PIX_BYTE, PIX_PALETTE,    each byte: (((a - b) * w + 128) >> 8) + b, w = trunc(t * 256)
///     PIX_BGR32, PIX_RGB32, all
///     of 3 bytes
///     PIX_WORD (signed),           the same
///     PIX_DWORD
///     PIX_FLOAT                    (a - b) * t + b in doubles, t as a 32-bit float
///     25                           tables of three byte planes, where all three pointers are given
///     all others                   by way of floats; error 2 "I_BlendRowsType" without memory
///
/// @param a,b,out count pixels; out may be a or b; null, or a count below 1, does nothing
VEXA_API void I_BlendRowsType(const void *a, const void *b, void *out, int32_t count, double t,
                              int32_t pixelType);

/// @}
/// @name Images
/// @{

/// Scales a part of an image into a block of another one.
///
/// The block is the destination from origin on, as wide and high as size says, and not beyond the source. A
/// negative xoff first moves the block's left edge by n = ceil(-(xoff * sx)) columns, and xoff by n / sx:
/// those columns keep what they had; yoff likewise.
///
///     interp  sx, sy                what happens
///     0       both 1.0              a copy (I_ImCopyBlock) from (Rnd(xoff), Rnd(yoff))
///     not 0   both 1.0, and whole   the same
///             offsets
///     not 0   both 0.5, and whole   bytes: (a + b + c + d + 2) >> 2 of two by two pixels; an odd last row
///             offsets               or column is dropped
///     0       any                   the nearest column of row floor(yoff + 0.5 + y / sy)
///     not 0   sy below 1.0          the mean, in floats, of the rows from yoff + (y - 0.5) / sy + 0.5 on, 1
///                                   / sy long
///     not 0   sy from 1.0           rows floor(p) - 1 and floor(p), blended by p - floor(p), for p of
///                                   yoff + 1 + y / sy
///
/// Rows are resampled by I_ResampleArrayType with sx, so each direction goes by its own scale. Rows above the
/// first and below the last are the first and the last.
///
/// The working type is that of both images, or else PIX_BYTE, and PIX_BYTE into a PIX_PALETTE image. Colour
/// images are scaled band by band where both have three bands. A block one column wide is not resampled, and
/// becomes 0 (see I_ResampleArrayType), unless it is copied or halved.
///
/// @param origin  x and y of the block's upper left corner; null, and numbers below 1, mean 0
/// @param size    its width and height; null, and numbers below 1, set no limit
/// @param imDest  may be imSrc: it is then scaled from a copy
/// @return 1 (of I_ImCopyBlock its result); 0 for an empty block, or an offset or scale that is no number,
///         without an error; 0 with error 20 or 24 "I_ImGetSize(, im=N)..." for an image that is not open; 0
///         with error 1 "I_ScaleImage: Bad image size: sCols=%d dCols=%d pixbytes=%d nbands=%d" (pixels read
///         of a row, the block's width) where nothing can be read; 0 with error 2 "I_ScaleImage sbuf1",
///         "sbuf2", "sblend", "dbuf" or "sum" (each behind the name) without memory
///
/// Reports progress under the text "ScaleImage". Leaves no colour band selected where it went by bands.
VEXA_API int32_t I_ScaleImage(int32_t imSrc, int32_t imDest, const int32_t *origin, const int32_t *size,
                              double xoff, double yoff, double sx, double sy, int32_t interp);
/// I_ScaleImage into a new image of the source's type, with its comment, palette and range.
///
/// It has Rnd((cols - b) * sx) by Rnd((rows - b) * sy) pixels, at least 1 by 1, where b is 0 for both scales
/// 1.0 and both offsets 0, else 1 with interp and 0.5 without: 100 by 100 pixels at 0.5 make 50 by 50.
///
/// @return the image, whatever I_ScaleImage says; 0 where imSrc is not open or no image can be made
VEXA_API int32_t I_ScaleImage1(int32_t imSrc, double xoff, double yoff, double sx, double sy, int32_t interp);
/// The same, then I_ImSetComment with the comment.
VEXA_API int32_t I_ScaleImage1Ex(int32_t imSrc, double xoff, double yoff, double sx, double sy,
                                 int32_t interp, const char *comment);
/// I_ScaleImage into the bounding box of the region on imDest.
///
/// The box is (left, top, right, bottom); a left below -xoff becomes trunc(-xoff), a top below -yoff
/// trunc(-yoff). Its corner is the origin, its size the size, and the offsets are xoff + left and yoff + top:
/// they move by the corner as if the scale were 1.
VEXA_API int32_t I_ScaleImageROI(int32_t imSrc, int32_t imDest, double xoff, double yoff, double sx,
                                 double sy, int32_t interp);

/// @}

#endif
