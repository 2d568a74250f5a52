/// Convolution with kernels of whole numbers, floats and complex numbers, and smoothing with made kernels.
///
///     convolution   I_MxNConvolve I_Convolve
///     Gaussian      I_GaussianSmooth I_GaussianSmooth2 I_MakeGaussianKernel I_SetGaussianKernelSize
///     discs         I_CircleSmooth I_FillCircle
///
/// Example: a smoothing by 3 by 3 weights whose sum divides, then a wider one.
///
///     int32_t weights[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
///     I_MxNConvolve(3, 3, weights, 0, imSrc, imDest);
///     I_GaussianSmooth(imDest, imDest, 2.5);
///
/// What holds for all convolutions:
///
/// **Orientation.** Element (row r, column c) of a kernel of M columns and N rows weighs the pixel at (x + c -
/// (M - 1) / 2, y + r - N / 2): the kernel is not turned around.
///
/// **Region, border, colour.** They run through I_MxNOperatorType, inside the region of interest, with what
/// I_SetBorderMode says beyond the image, band by band. imDest may be imSrc. A region of one column or of one
/// row returns 0 without a word.
///
/// **Range.** "both" is the slot of I_SetClipMode that says what becomes of a result outside the range of its
/// type; the mode in force at the call holds for all of it.
///
/// **Result.** 1; or 0 with the last error set: those of I_MxNOperatorType, among them 27 "MxNOperator: Kernel
/// size less than 1: MxN. Continuing.", which does not end the operation, and 2 "I_MxNConvolve: BYTES" without
/// memory for the prepared kernel.
#ifndef VEXALIB_CONVOLUTION_H
#define VEXALIB_CONVOLUTION_H

#include "vexalib/kernels.h"
#include "vexalib/types.h"

/// @name Convolution
/// @{

/// Convolves an image with a kernel of whole numbers.
///
///     working type   sizes    result
///     PIX_BYTE       any      both((sum of k * p + divisor / 2) / divisor)
///     PIX_WORD       any      the same; words are unsigned here, and the both slot that of words
///     all others     3 by 3   both(sum / divisor) on bytes: a whole number from 0 to 255, see below
///                    other    both(sum of (k / divisor) * p) in single precision, in the order of the elements
///     PIX_COMPLEX    any      error -1 "I_MxNConvolve does not support complex images yet"; the operation runs on
///
/// The working type is WidestPixelType of the images. Whole sums are 32-bit and wrap, quotients are truncated
/// toward zero. With 3 by 3 weights on floats the sum is truncated to a whole number after each addition and
/// the quotient is not rounded: 9.9 under {0,0,0, 0,1,0, 0,0,0} gives 9.
///
///     kernel                  divisor 0 becomes
///     1 2 1 2 4 2 1 2 1       16
///     0 -1 0 -1 1 -1 0 -1 0   3, the magnitude of the sum
///     -1 0 1 -2 0 2 -1 0 1    1, and element (M * N) / 2 of the caller's kernel becomes 1
///
/// @param M,N     columns and rows. Where one is below 1 there are no elements, and the image passes unchanged
/// @param kernel  M * N elements, row by row; null returns 0. On complex images its bits are taken for pairs of
///                floats, which makes no sensible picture
/// @param divisor 0: the magnitude of the sum of the elements
/// @return as told above; 0 too with error 12 "mxnconv ksize=M,N" for more than 1024 rows
///
/// Sets the float range from the images' types. Tells the progress text "Convolve".
VEXA_API int32_t I_MxNConvolve(int32_t M, int32_t N, int32_t *kernel, int32_t divisor, int32_t imSrc,
                               int32_t imDest);

/// Convolves an image with a kernel record: real kernels on floats, complex ones on complex numbers.
///
///     PIX_FLOAT     both(sum of kernelData * p) in single precision
///     PIX_COMPLEX   sum of complexData * p through the complex slot. If |re| reaches 20 |im| in all elements,
///                   the kernel counts as real and its imaginary parts are left out
///
/// @param kernel    its cols, rows and the array of the type are used; null, or a null array, returns 0
/// @param pixelType PIX_FLOAT or PIX_COMPLEX: the type in which the images are read and written
/// @return as told above; 0 too with error 27 "I_Convolve Kernel size=COLS x ROWS" where one is not positive,
///         and for another type, with the debug trace "I_Convolve: illegal type=TYPE"
///
/// Reads the float range as the last operator left it: it sets none itself.
VEXA_API int32_t I_Convolve(int32_t imSrc, int32_t imDest, const Kernel *kernel, int32_t pixelType);

/// @}
/// @name Gaussian
/// @{

/// Smooths with a Gaussian: I_GaussianSmooth2 with a mix of 1.
///
/// The weights fall to exp(-4) = 0.018 at a distance of `blur` pixels from the centre.
VEXA_API int32_t I_GaussianSmooth(int32_t imSrc, int32_t imDest, double blur);

/// Smooths with a kernel of I_MakeGaussianKernel, divided by its sum.
///
/// The kernel has k by k elements, k = ceil(blur * size) with its lowest bit set, between 1 and 101, where size
/// is that of I_SetGaussianKernelSize:
///
///     blur     1    1.8    4    30
///     k        5      7   15   101
///
/// @param blur in pixels; 0 or below copies the image with I_ImageCopy
/// @param mix  1: Gaussian, 0: Airy spot, between: a mixture
/// @return as I_MxNConvolve, or as I_ImageCopy; 0 without memory for the kernel
VEXA_API int32_t I_GaussianSmooth2(int32_t imSrc, int32_t imDest, double blur, double mix);

/// Makes the kernel of a lens blur, 1000 at the centre.
///
/// With r = hypot(x, y) / blur, the distance from element (kcols / 2, krows / 2) in units of the blur:
///
///     element = Rnd(1000 v^2)     v = mix exp(-2 r^2) + (1 - mix) a^2,  a = 2 J1(pi r) / (pi r)
///
/// @param kcols,krows size; below 1 there are no elements and the sum is 0. Above 120 columns the message
///                    "I_MakeGaussianKernel: Blur=BLUR kcols=KCOLS" is posted
/// @param blur        in pixels; at most 0.0001 counts as 0.0001
/// @param kernel      in: a block of an earlier call, which is freed, or null; out: kcols * krows elements, row
///                    by row, to be freed with free or vexaFree; null after a failure. Null returns 0
/// @param sum         receives the sum of the elements; may be null
/// @return the sum; 0 without memory, with error 2 "I_MakeGaussianKernel: BYTES"
///
/// The profile is the amplitude 2 J1(z) / z of the diffraction at a circular aperture (G. B. Airy, 1835),
/// squared to an intensity.
VEXA_API int32_t I_MakeGaussianKernel(int32_t kcols, int32_t krows, double blur, double mix, int32_t **kernel,
                                      int32_t *sum);

/// Sets the width of Gaussian kernels as a multiple of the blur, 3.7 at first.
/// @param size above 0.5; any other value changes nothing
/// @return the value of before
VEXA_API float I_SetGaussianKernelSize(float size);

/// @}
/// @name Discs
/// @{

/// Smooths with a disc whose edge is anti-aliased over one pixel.
///
/// With D = diameter + 1 the kernel has n by n elements, n = ceil(D) with its lowest bit set, and
///
///     e = 0.5 + 0.5 D - distance from the centre     element = 0 | trunc(200 e) | 200
///                                                    for e     <= 0 | between | >= 1
///
/// @param diameter in pixels; 0 passes the image unchanged
/// @return as I_MxNConvolve; 0 too with error 12 "I_CircleSmooth Dia=D" from 256 columns on, and without memory:
///         error 2 "I_CircleSmooth: BYTES"
///
/// Tells the progress text "Smooth" before that of I_MxNConvolve.
VEXA_API int32_t I_CircleSmooth(int32_t imSrc, int32_t imDest, double diameter);

/// Paints a disc whose edge is anti-aliased over one pixel.
///
/// With e = distance from (x, y) - diameter / 2 + 0.5 a pixel becomes
///
///     e <= 0     value
///     e < 1      (1 - e) * value + e * pixel
///     otherwise  stays
///
/// Only the block of ceil(diameter + 0.5) pixels a side from (floor(x - diameter / 2 + 0.5), floor(y - diameter /
/// 2 + 0.5)) is painted, which may cut the soft edge off on its far sides.
///
/// @param image    of any type: the block around the disc is read and written as PIX_FLOAT. The region of
///                 interest plays no part; what lies outside the image is left out
/// @param x,y      centre, in fractions of a pixel; pixel (0, 0) has its centre at (0, 0)
/// @param value    as the image holds it
/// @param diameter in pixels; above 500 returns 0 without a word
/// @return 1; 0 if the image is not open, lookup name "I_GetBlockType", and without memory: error 2
///         "I_FillCircle: BYTES"
VEXA_API int32_t I_FillCircle(int32_t image, float x, float y, float value, float diameter);

/// @}

#endif
