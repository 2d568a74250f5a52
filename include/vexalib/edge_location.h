/// Where a profile or an image crosses a level, and how wide a peak is.
///
///     profiles   I_FindEdgeType I_GetFWHM
///     images     I_FindEdge I_SubtractRowAverage
///
/// A position on a profile is a float in sample units, sample i at position i; a negative position means that
/// nothing was found.
///
///     float line[100];
///     if (I_GetProfileType(10, 20, 109, 20, 1, line, 100, im, PIX_FLOAT) == 100)
///         printf("the edge is at %.2f\n", 10 + I_FindEdgeType(line, 100, 0, 1, 127.5F, PIX_FLOAT));
///
/// None of these but the last sets an error of its own; where one reads an image, an image that is not open
/// leaves the error of the block calls, 20 or 24.
#ifndef VEXALIB_EDGE_LOCATION_H
#define VEXALIB_EDGE_LOCATION_H

#include "vexalib/types.h"

/// The first crossing of a level on a profile, walking from a sample in steps.
///
/// The walk stops between samples i and i + step where the product of their differences from the level is 0
/// or less. With p and q the two differences, the position is i + step * p / (p - q), the fraction 0 where p
/// equals q; the fraction and the position are rounded to 32-bit floats. A sample exactly at the level is
/// thus returned at its own position, from whichever side it is reached. How a difference is held depends on
/// the type:
///
///     pixelType    difference                                  10, 19, 30 at level 19.5, start 0, step 1
///     PIX_BYTE     truncated to a 32-bit integer; the product  -9, 0: position 1.0
///     PIX_DWORD    of two wraps                                the same
///     PIX_FLOAT    rounded to a 32-bit float                   -0.5, 10.5 from 1 on: 1.047619
///     others       as PIX_FLOAT, after a conversion of the     the same
///                  n samples
///
/// A sample of bytes or integers less than 1 away from the level counts as exactly on it. A product that is
/// no number does not stop the walk.
///
/// @param data  n samples of pixelType; null gives 0.0, before any other test
/// @param start for a step above 0: 0 <= start < n - 1 - step; below 0: -step <= start < n - 1. The highest
///              sample from which the walk could still step is refused as a start
/// @param step  as a rule 1 or -1; 0 finds nothing
/// @return the position; -1.0 without a crossing, for a start outside, and without memory for the conversion
VEXA_API float I_FindEdgeType(const void *data, int32_t n, int32_t start, int32_t step, float level,
                              int32_t pixelType);

/// Walks over an image until most pixels of a line across the walk are beyond a level.
///
/// At step k a line of 2 * halfWidth + 1 pixels is read, from (x + k * dx, y + k * dy) itself on in steps of
/// (dy, -dx): to one side of the walk only. The walk ends where more than halfWidth of them count. Pixels
/// outside the image read as 0.
///
/// @param dx,dy     step of the walk, in pixels
/// @param above     non-zero: pixels above the level count; 0: pixels below it
/// @param maxSteps  most positions to look at; 0 or less looks at none
/// @param outX,outY receive the position where the walk ended, or, where the steps ran out, the one behind
///                  the last, (x + maxSteps * dx, y + maxSteps * dy). Each may be null
/// @param halfWidth below 0 reads no pixel and ends at the first position
/// @return k; 0 without a find, so that a find at the first position shows in outX and outY alone
VEXA_API int32_t I_FindEdge(int32_t x, int32_t y, int32_t dx, int32_t dy, int32_t level, int32_t above,
                            int32_t maxSteps, int32_t *outX, int32_t *outY, int32_t halfWidth, int32_t im);

/// The width of a peak or a dip at a fraction of its height, full width at half maximum for 0.5.
///
///     profile                      level                       measured from
///     first sample is the highest  hi * fraction               sample 0, and doubled: half a peak
///     first below the middle one   lo + (hi - lo) * fraction   sample n / 2, a peak
///     otherwise                    hi - (hi - lo) * fraction   sample n / 2, a dip
///
/// With e1, e2, e3 of I_GetEdges for a width of 1: e2 - e1 where both are above 0, else e3 - e2 where e3 is
/// above 0, else e2.
///
/// @param data     n samples; null gives 0.0
/// @param fraction 0 or less counts as 0.5
/// @return the width in samples; 0.0 for n below 5; -1.0 without a crossing, and -2.0 where that is doubled,
///         as on a constant profile
VEXA_API float I_GetFWHM(const float *data, int32_t n, float fraction);

/// Takes off each row of an image the offset that a dark band of columns at its left shows.
///
/// 1. On row 8, where there is one, the band ends at the first column i from 1 on for which the pixel at
///    i + 2 exceeds that at 0 by more than 2.
/// 2. The mean of each row over the band. Where one exceeds 30, or the band has fewer than 2 columns, nothing
///    happens.
/// 3. The means from row 4 on are smoothed by I_SmoothArrayFloat with a width of 23.
/// 4. From each row y from 4 on, with a = trunc(mean + 0.125) and f = trunc((mean - a) * 4), the low byte of
///    a - 2 is subtracted, plus 1 in columns of the parity of y where f is not 0 and f | y is odd, plus 1 in
///    columns of the parity of 1 - (y / 2) % 2 where f is above 1. So quarters of a grey level are spread
///    over columns and rows, and 2 grey levels of the offset stay. Pixels wrap.
///
/// Pixels of one byte are worked on as PIX_BYTE. All others are read as PIX_WORD, taken as unsigned; the
/// words that come out are written as PIX_BYTE, so that the image receives the bytes of the first half of
/// them as its pixels.
///
/// @param columns width of the band, limited to the image's
///
/// An image of fewer than 5 rows stays as it is. Error 2 with the tag "I_SubtractRowAverage" without memory.
VEXA_API void I_SubtractRowAverage(int32_t im, int32_t columns);

#endif
