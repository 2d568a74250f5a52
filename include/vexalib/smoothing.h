/// Smoothing and sharpening: means, box windows of fractional size, shifts by fractions of a pixel.
///
///     images     I_Smooth I_MxNSmooth I_Sharpen I_UnsharpMask I_ShiftSharpen
///     arrays     I_SmoothArrayFloat I_SmoothArrayLong I_SmoothArrayShort I_SmoothArrayByte
///                I_ShiftSharpenArray
///
/// Example: smooth an image by a window of 4.5 by 4.5 pixels, then move it by a quarter of a pixel.
///
///     I_SetBorderMode(-1, NULL, 0);
///     I_MxNSmooth(im, im, 4.5f, 4.5f);
///     I_ShiftSharpen(im, imMoved, 0.25f, 0.0f, 1.0f);
///
/// I_Smooth, I_MxNSmooth, I_Sharpen and I_UnsharpMask run through I_MxNOperatorType: the region, the border
/// mode, colour bands, images of different sizes and work in place are as told there, and so are its errors.
/// Byte images are computed in integers, all others as 32-bit floats with sums in double precision.
#ifndef VEXALIB_SMOOTHING_H
#define VEXALIB_SMOOTHING_H

#include "vexalib/types.h"

/// @name Images
/// @{

/// The mean of each pixel and its eight neighbours: (sum + 4) / 9 on bytes, sum / 9 otherwise.
///
/// It works on bytes where either image has them, colour counting as bytes.
///
/// @return as I_MxNOperatorType
///
/// Sets the float range from the type of imDest. Reports progress under the text "Smooth".
VEXA_API int32_t I_Smooth(int32_t imSrc, int32_t imDest);

/// A moving average with a window of width by height pixels, which need not be whole numbers.
///
///     size    weights of the samples        divided by
///     1.5     0.25  1  0.25                 1.5
///     2.0     0.5   1  0.5                  2
///     3.0     1     1  1                    3
///     4.2     0.6   1  1  1  0.6            4.2
///
/// A first pass goes along the columns from imSrc to imDest, a second one along the rows of imDest. Each
/// works on bytes where either of its images has them, and rounds its result:
///
///     bytes     (sum * s + 512) >> 10, the low byte of it, with s = Rnd(1024 / size)
///               sum of the weight-1 samples, and of the two ends ((a + b) * e) >> 10, e = trunc(1024 * weight).
///               If e is 0 the ends count in full. A window of 13 makes 256, and so 0, of white
///     others    sum * (1 / size), in doubles
///
/// The time per pixel grows with the binary digits of the window only, not with its size.
///
/// @param width,height of the window in pixels. No pass along an axis of 1 or less; with a height of 1 or
///                     less, imDest first becomes a copy by I_ROICopy(imSrc, imDest, 0, 0)
/// @return 1, also after a failure, which leaves its error
///
/// The first pass works on the bounding box of the region, its left side moved to trunc(left - width / 2) and
/// its right side to trunc(right + width / 2), as far as the image has columns; what it writes beside the box is put back at the end, what it
/// writes in the box outside a polygon or a scan list stays. Uses one place of the region's stack. Reports
/// progress under the text "MxNSmooth".
VEXA_API int32_t I_MxNSmooth(int32_t imSrc, int32_t imDest, float width, float height);

/// Sharpens: pixel + (8 * pixel - sum of eight neighbours) * strength / 128, through the clip slot for both
/// ends (I_SetClipMode).
///
/// A strength of 16 adds the difference between a pixel and the mean of its neighbours. On bytes the
/// quotient is truncated toward zero.
///
/// @param strength in units of 1/128; negative blurs
/// @param width    distance of the neighbours in pixels; 1 or more. The eight neighbours lie in horizontal,
///                 vertical and diagonal direction, and nothing in between is read
/// @param noCentre non-zero leaves the pixel itself out: a high-pass filter
/// @return as I_MxNOperatorType; 0 with error 1 "I_Sharpen: width=%d" for a width below 1
///
/// Works on bytes if both images have them, colour counting as bytes, otherwise on floats. Reads the clip
/// mode. Sets the float range from the type of imDest.
VEXA_API int32_t I_Sharpen(int32_t imSrc, int32_t imDest, int32_t strength, int32_t width, int32_t noCentre);

/// Takes out slow changes of brightness: gain * (pixel - smoothed pixel) + mean of the smoothed pixels.
///
/// Smoothed is I_MxNSmooth with a reflecting border into a float image of its own.
///
/// @param width,height of the smoothing window in pixels
/// @param gain         0.1 or less counts as 1
/// @return 1; 0 with an error set, imDest unchanged, if the float image cannot be made
///
/// The mean is that of the region (I_PixelStats). Writes imDest by I_ScaleIntensityROI. Leaves the border
/// mode as it was, but a constant of it as 0 (I_SetBorderMode).
VEXA_API int32_t I_UnsharpMask(int32_t imSrc, int32_t imDest, float width, float height, float gain);

/// Moves an image by a fraction of a pixel: dest(x, y) = src(x + dx, y + dy), by a filter of four taps in
/// each direction, inside the bounding box of the region.
///
///     sharpness 0   linear interpolation
///     sharpness 1   a cubic that sharpens what linear interpolation blurs
///
/// For a fraction t of the offset, a = t * s and q = t * t * s, the weights of the samples at -1, 0, 1, 2 are
///
///     t up to 0.5   (q - a) / 2, a - 1.5 q - t + 1, t + 1.5 q - a / 2, -q / 2
///     above         a - q / 2 - s / 2, s + 1.5 q - 2.5 a - t + 1, t + 2 a - 1.5 q - s / 2, (q - a) / 2
///
/// The narrower type of the two images is worked in: bytes and palette images as bytes, numbers as floats,
/// packed colour as PIX_BGR24 (PIX_RGB24 and PIX_BGR32 as bytes).
///
/// @param imSrc,imDest images; may be one; 0 returns 0
/// @param dx,dy        in pixels, of either sign. A fraction below 0.01 or above 0.99 counts as whole; with
///                     both whole the result is that of I_ROICopy by dx and dy truncated: an offset of 2.995
///                     copies by 2
/// @param sharpness    0 to 1; other numbers extrapolate
/// @return 1; or 0: no pixel of the box has a source (no error), an image is not open (error 20 or 24), or
///         error 2 "I_ShiftSharpen %d bytes"
///
/// Pixels of the box whose source lies outside imSrc keep what they had; where one of four taps does, the
/// nearest pixel stands for it.
VEXA_API int32_t I_ShiftSharpen(int32_t imSrc, int32_t imDest, float dx, float dy, float sharpness);

/// @}
/// @name Arrays
/// @{

/// Smooths an array of floats in place by a moving average, the ends being repeated.
///
/// The window of element i runs from i - width / 2 to i + width - width / 2 - 1. The sum is carried along in
/// a 32-bit float. A width of 2 is a filter of weights 1, 2, 1 (1, 1 at the ends).
///
/// @param array null returns 0
/// @param count elements; below 1 nothing happens
/// @param width limited to count / 2 - 1. If that leaves less than 1 the array stays as it is
/// @return 1; 0 with error 2 "arraysmooth" and the array unchanged if there is no memory
VEXA_API int32_t I_SmoothArrayFloat(float *array, int32_t count, int32_t width);

/// The same in 32-bit integers, with two differences: what rounding cuts off is carried to the next element,
/// so that the total stays near; and the reach is that of the width as given, while the divisor is the
/// limited width.
///
/// With the width given as w, h = w / 2: out[i] = (carry + sum + h) / width, carry += sum - out[i] * width. A
/// limited width of 2 gives (3 * a[0] + a[1]) / 4 at the ends and ((a[i-1] + a[i+1] + 1) / 2 + a[i] + 1) / 2
/// between them. All quotients are truncated, sums wrap.
VEXA_API int32_t I_SmoothArrayLong(int32_t *array, int32_t count, int32_t width);
/// I_SmoothArrayLong on signed 16-bit elements, with the reach of the limited width. The error's tag is
/// empty where the 32-bit copy cannot be made.
VEXA_API int32_t I_SmoothArrayShort(int16_t *array, int32_t count, int32_t width);
/// I_SmoothArrayLong on bytes, with the reach of the width as given; error as I_SmoothArrayShort.
VEXA_API int32_t I_SmoothArrayByte(uint8_t *array, int32_t count, int32_t width);

/// The filter of I_ShiftSharpen on a block of pixels: out(x, y) = in(x + dx, y + dy), the ends repeated.
///
/// First along the rows, then along the columns; on bytes with weights of 11 fractional bits, truncated, and
/// each pass rounded and limited to 0 to 255, otherwise in floats with sums in doubles. An axis whose offset
/// is 0 (on bytes at most 0.005), or which has one pixel only, is not touched.
///
/// @param in,out    width * height pixels each; may be one block. Null: result 0
/// @param width,height in pixels; below 1 nothing happens
/// @param dx,dy     0 to 1; of larger ones the fraction counts. A negative dx is taken for a single row: its
///                  whole part n = floor(dx) moves the result, out[-n] being the first pixel written, with a
///                  copy of in[0] in front of it
/// @param sharpness as for I_ShiftSharpen
/// @param type      pixel type of both blocks; above 12 the bytes of the pixels are filtered one by one
/// @return 1; 0 with "I_ShiftSharpenArray: Negative shift not supported. dx=%.1f dy=%.1f" posted for a
///         negative dy, or a negative dx of more than one row; 0 with error 2 "I_ShiftSharpenArray %d bytes"
VEXA_API int32_t I_ShiftSharpenArray(const void *in, void *out, int32_t width, int32_t height, float dx,
                                     float dy, float sharpness, int32_t type);

/// @}

#endif
