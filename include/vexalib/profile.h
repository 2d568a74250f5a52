/// Profiles: pixels along lines, at listed points, and the sums of a window's columns and rows.
///
///     along a line, in steps   I_GetProfileType I_GetProfileTypeEx I_DupProfileType
///     at points                I_GetPixelsInList I_PutPixelsInList
///     pixel by pixel           I_GetLineFCoords I_GetLineProfile I_PutLineProfile; drawing.h has
///                              I_GetLineCoords
///     window sums              I_GetWindowProfiles xI_GetWindowProfiles
///
///     int32_t n = I_GetProfileType(10, 20, 90, 60, 0.5F, NULL, 0, im, PIX_FLOAT); // how many samples
///     float *line = malloc(n * sizeof *line);
///     if (I_GetProfileType(10, 20, 90, 60, 0.5F, line, n, im, PIX_FLOAT) > 0)
///         I_PlotArrayType(...);
///
/// Pixels between pixels are bilinear at steps of 1/32 pixel: with i, j the whole and fx, fy the 32nd parts
/// of a position, bytes and each byte of a colour give
///
///     ((p[j][i] * (32 - fx) + p[j][i + 1] * fx) * (32 - fy) +
///      (p[j + 1][i] * (32 - fx) + p[j + 1][i + 1] * fx) * fy) >> 10
///
/// PIX_FLOAT the same with weights in fractions, and all other types the nearest pixel. They are taken in the
/// image's own type (PIX_BGR15 and PIX_BGR16 as PIX_BGR24) and then converted, without a scale.
///
/// A failure is the result 0 with the error of the lookup, 20 or 24, or error 2 in the frame of malloctest
/// with the tag told. Images whose pixels have no address are copied whole for a call that needs pixels
/// between pixels: "Malloc failed: RotatePrep %.1f MBytes". The region of interest plays no part here.
#ifndef VEXALIB_PROFILE_H
#define VEXALIB_PROFILE_H

#include "vexalib/types.h"

/// @name Along a line
/// @{

/// Samples a line from (x0, y0) to (x1, y1) at even distances.
///
/// The line has n = trunc(length / |step| + 1) samples: 6 for a length of 10 and a step of 2 or -2, 1 for a
/// length of 0. Sample i lies at (x0, y0) + i * (x1 - x0, y1 - y0) / (n - 1), cut to 1/32 pixel: the last one
/// at (x1, y1), so that the distance may differ a little from the step.
///
///     position                      what happens
///     x or y below 0                the place in the buffer stays as it is; 0 where the pixels are converted
///     beyond the last column, row   the walk ends, and the sample before is lost too: i - 1 samples where
///                                   that is sample i
///
/// With a step of exactly 1, a vertical line is read as a block of 1 by n pixels where y0 is a whole number
/// of at least 0 and not above y1, a horizontal one as n by 1 where x0 is: from the smaller coordinate up,
/// the other one cut to a whole number and at least 0, n limited to what the image has from there.
///
/// @param step     distance of samples in pixels; its sign does not count, 0 gives no samples
/// @param buffer   room for maxCount pixels of pixelType; null asks for n
/// @param maxCount most samples; 0 asks for n, which does not look at the image
/// @return the number of samples, where the image ends early 0 or -1; 0 for a negative maxCount, outside the
///         image and on failure, "I_GetProfileType"
VEXA_API int32_t I_GetProfileType(float x0, float y0, float x1, float y1, float step, void *buffer,
                                  int32_t maxCount, int32_t im, int32_t pixelType);

/// The mean of lines side by side.
///
/// With L the truncated length, the lines lie at j * g * ((y1 - y0) / L, (x0 - x1) / L) from the given one, j
/// being 0, 0, 1, 1, 2, 2, ... and g the truncated step for an odd j, the truncated -step for an even one. A
/// width of 3 thus counts the centre line twice and one line at its side once, and a step below 1 counts the
/// centre line only.
///
/// Each line is I_GetProfileType with the step, as floats; samples that it does not have count as 0, those at
/// negative positions of a PIX_FLOAT image as the line before had them. The sums are divided by the number of
/// lines and converted to pixelType.
///
/// @param width number of lines, of either sign; -1 to 1 is I_GetProfileType. From 65535 on it counts as
///              65535
/// @return the number of samples of the last line; a question as for I_GetProfileType; 0 for a length below 1
///         and on failure, "I_GetProfileTypeEx"
VEXA_API int32_t I_GetProfileTypeEx(float x0, float y0, float x1, float y1, float step, int32_t width,
                                    void *buffer, int32_t maxCount, int32_t im, int32_t pixelType);

/// I_GetProfileType into a new block of Rnd(length / |step|) + 3 pixels of pixelType, zero where nothing is
/// read.
///
/// @param count may be null; receives the result of I_GetProfileType for up to Rnd(length / |step|) + 1
///              samples
/// @return the block, the caller's, to be freed with free or vexaFree, also where the count is 0; null with
///         error 2 and the tag "I_DupProfileType" without memory or for a step of 0, the count then 0
VEXA_API void *I_DupProfileType(float x0, float y0, float x1, float y1, float step, int32_t *count,
                                int32_t im, int32_t pixelType);
/// @}

/// @name At points
/// Positions are rounded to 1/32 pixel and limited to 0 to cols - 1 and rows - 1. One too large for 32 bits
/// in 1/32 pixel counts as 0.
/// @{

/// Reads the pixels at points.
///
/// @param points count points; null gives 0
/// @param buffer room for count pixels of pixelType; null reads nothing
/// @return count, also where nothing is read because it is below 1; 0 on failure, "I_GetPixelsInList"
VEXA_API int32_t I_GetPixelsInList(const VexaPointF *points, void *buffer, int32_t count, int32_t im,
                                   int32_t pixelType);

/// Writes pixels at points, one after the other.
///
///     image                        what a value changes
///     PIX_BYTE, colours above 12   the four pixels around, byte by byte: p becomes
///                                  (p * (1024 - w) + v * w) >> 10 with the weights w of
///                                  (32 - fx) * (32 - fy), fx * (32 - fy), (32 - fx) * fy and fx * fy
///     all others                   the nearest pixel
///     no addresses, PIX_BGR15,     nothing
///     PIX_BGR16
///
/// @param points count points; null gives 0
/// @param values count pixels of pixelType; null writes nothing
/// @return count, also where nothing is written because it is below 1; 0 on failure, "I_PutPixelsInList"
VEXA_API int32_t I_PutPixelsInList(const VexaPointF *points, const void *values, int32_t count, int32_t im,
                                   int32_t pixelType);
/// @}

/// @name Pixel by pixel
/// The pixels are those of I_GetLineCoords, the line limited to the image. Output arrays need room for the
/// larger of the two differences plus 1. The result is the number of pixels; 0 when nothing of the line lies
/// on the image, the image is not open or a pointer is null.
/// @{

/// The points of a line with the fraction of the coordinate across it, in units of 1/2048: from (0, 0) to (5,
/// 2) they are (0, 0.5) (1, 0.899...) up to (5, 2.499...), the half that rounds included.
/// @param im 0 limits nothing
VEXA_API int32_t I_GetLineFCoords(int32_t im, const VexaPointF *start, const VexaPointF *end,
                                  VexaPointF *out);

/// Reads the pixels of a line as I_GetPix gives them, cut to the low byte of the integer; colour by the
/// statistic processing mode, the processing mode then being put back.
VEXA_API int32_t I_GetLineProfile(int32_t im, const VexaPoint *start, const VexaPoint *end, uint8_t *bytes);

/// Writes the pixels of a line by I_PutPixByte.
VEXA_API int32_t I_PutLineProfile(int32_t im, const VexaPoint *start, const VexaPoint *end,
                                  const uint8_t *bytes);
/// @}

/// @name Window sums
/// @{

/// The sums of the columns and of the rows of a window, as bytes.
///
/// The window is limited to the image; sums of what lies outside are 0. An image of pixels of one byte is
/// read as it is, its top row first; others are read as PIX_BYTE.
///
/// @param columnSums,rowSums receive w and h sums, cleared first; each may be null
/// @return 1; 0 for a size below 1, for a position at or behind the last column or row, and on failure,
///         "I_GetWindowProfiles %d x %d"
VEXA_API int32_t I_GetWindowProfiles(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im,
                                     uint32_t *columnSums, uint32_t *rowSums);

/// The same for a window that lies in the image, each row read as PIX_BYTE.
/// @return 1; 0, the sums left as they are, where a part of the window lies outside; 0 on failure,
///         "I_GetWindowProfiles"
VEXA_API int32_t xI_GetWindowProfiles(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im,
                                      uint32_t *columnSums, uint32_t *rowSums);
/// @}

#endif
