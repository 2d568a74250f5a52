/// Edges and gradients: differences to neighbours, contour lines, strong edges and their direction.
///
///     images        I_Edge I_Sobel I_Contour
///     statistics    I_Gradient I_Gradient2 I_PeakGradient
///
/// Two more, the halves of the Sobel magnitude, are codes 8 and 9 of I_MxN9ptFilt (rank.h).
///
/// Example: the direction of the lines in a region.
///
///     int32_t strong;
///     I_SetWindowROI(100, 100, 200, 200);
///     float degrees = I_PeakGradient(imSrc, 0, 1, 20.0f, NULL, &strong);
///
/// The three that make images run in the frame of I_MxNOperatorType, which tells what holds for regions,
/// image sizes, colour, borders, and working in place. imSrc 0 reads as zeros, imDest 0 stores nothing.
/// Their result is 1, also where the region has no runs; 0 without an error for a region of one column or
/// one line; or 0 with an error of the frame:
///
///     20 "I_ImGetSize(, im=N)  im. not open"   no such image
///     24 "I_ImGetSize(, im=N) im. not open"
///     2  "mxnoperator"                         no memory
///     6  "USER_BREAK"                          stopped by the user; lines that were stored stay
///
/// NW N NE / W CTR E / SW S SE are a pixel and its eight neighbours.
#ifndef VEXALIB_EDGES_H
#define VEXALIB_EDGES_H

#include "vexalib/types.h"

/// @name Images of edges
/// @{

/// The largest absolute difference of a pixel to others around it. Works on bytes.
///
///     width and height from 3     CTR to the corners and the midpoints of the sides of the neighbourhood
///     otherwise                   the point at (width / 2, height / 2) to those in the same row, in the same
///                                 column and on the diagonal, in row 0 and column 0
///
/// With 5 by 5 these are the eight points at a distance of 2. With 2 by 2, imDest(x, y) tells how much pixel
/// (x + 1, y) differs from (x, y), (x, y - 1) and (x + 1, y - 1).
///
/// @param width,height of the neighbourhood; below 2 counts as 2
VEXA_API int32_t I_Edge(int32_t imSrc, int32_t imDest, int32_t width, int32_t height);

/// The Sobel magnitude |gx| + |gy|.
///
///     gx = 2 W - 2 E + NW + SW - NE - SE
///     gy = 2 N - 2 S + NE + NW - SE - SW
///
///     widest type   magnitude
///     PIX_BYTE      at most 255
///     others        gx and gy truncated to whole numbers, at most the top of the float range
///                   (I_SetClipMode): 255 for a destination of bytes, 65535 for words. For a destination
///                   of floats that top is 0, and so are all magnitudes
///
/// The widest type is that of WidestPixelType, colour being bytes. Sets the float range.
VEXA_API int32_t I_Sobel(int32_t imSrc, int32_t imDest);

/// Draws contour lines where the grey value passes a multiple of a spacing. Works on bytes.
///
/// Let high be the largest of N, W, E and S. A pixel is on a contour where CTR is below high, and CTR modulo
/// spacing is not below high modulo spacing. With a spacing of 32, 31 beside 33 is on it; 33 beside 31 is
/// not, nor is 30 beside 31. All other pixels keep their values.
///
/// @param spacing its sign has no meaning; 0: result 0, nothing done, no error
/// @param mark    the value of contour pixels, its low byte; negative: they become CTR xor 128
VEXA_API int32_t I_Contour(int32_t imSrc, int32_t imDest, int32_t spacing, int32_t mark);

/// @}
/// @name Statistics of gradients
/// These read the bounding box of the region on imSrc as a whole. A pixel's magnitude comes from its
/// differences a and b to the pixels STEP rows below and STEP columns to the right; the last STEP rows and
/// columns have none. T is Rnd(threshold).
/// @{

/// The mean magnitude of strong edges, and what remains without them.
///
///     imSrc        magnitude m                 strong if           result
///     PIX_BYTE     isqrt(a * a + b * b)        m >= T              sqrt(sum of m / number of strong pixels)
///     others       sqrt(a * a + b * b)         m > |threshold|     sqrt(sum of m * m / number)
///
/// Of bytes, imDest receives m where a pixel is not strong and 0 where it is; where there is no magnitude,
/// the source's pixels (0 for a threshold of 255 and above). Of others it receives zeros.
///
/// @param imDest    receives the box of results, as bytes or PIX_FLOAT; may be imSrc; 0 for none
/// @param step      in pixels; below 1 counts as 1
/// @param threshold in grey values
/// @param histogram 256 counts, cleared first: of the grey values of the pixels that are not strong, floats
///                  truncated and limited to 0 and 255; may be null
/// @param count     receives the number of strong pixels; may be null
/// @return 0.0 where no pixel is strong. 0.0 with count and imDest as they were if imSrc is not open (its
///         error is set), if (width of the box - step) * (height of the box - step) is below 1, and with
///         error 2 "I_Gradient2" without memory, then with the histogram cleared
VEXA_API float I_Gradient(int32_t imSrc, int32_t imDest, int32_t step, float threshold, uint32_t *histogram,
                          int32_t *count);

/// I_Gradient with directions on bytes; on other types it is I_Gradient.
///
/// The directions are bins over half a turn, 0 for grey that changes along y and the middle one for grey that
/// changes along x, linear in the slope within each octant. Two more rows at the bottom have no magnitude.
/// imDest receives bin * 180 / angleCount + 70, its low byte, where m is above the threshold, 0 elsewhere.
///
/// @param angles     angleCount sums, of m by direction, of the pixels with m above the threshold. They are
///                   added to what is there; may be null
/// @param angleCount from 1. A bin beyond it (any, for less than 1) is told in a line to the standard error
///                   stream, "a=%d of %d", and ends the process with exit code 1
/// @see I_Gradient for all else
VEXA_API float I_Gradient2(int32_t imSrc, int32_t imDest, int32_t step, float threshold, uint32_t *histogram,
                           int32_t *count, uint32_t *angles, int32_t angleCount);

/// The direction in which the strongest edges change, in degrees from 0 to 180.
///
/// I_Gradient2 with 90 directions; their sums smoothed over three (I_SmoothArrayLong); the largest, of equal
/// ones the last, refined by a parabola through its neighbours, and the bin turned into an angle by two steps
/// of Newton's method. Grey that changes along x (vertical stripes) gives about 90, along y about 0 or 180.
/// Where all strength is in one bin, smoothing makes three equal, and the last of them counts: vertical
/// stripes give 93.
///
/// Presents a pending error through I_ShowError("I_PeakGradient: 2"), which clears it.
///
/// @return 0.0 where I_Gradient2 fails, and with error 2 "I_PeakGradient" without memory. An image of other
///         pixels than bytes, or without any edge, has its peak in the last bin, which gives 356.0
/// @see I_Gradient2 for the arguments
VEXA_API float I_PeakGradient(int32_t imSrc, int32_t imDest, int32_t step, float threshold,
                              uint32_t *histogram, int32_t *count);

/// @}

#endif
