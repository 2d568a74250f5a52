/// One-dimensional alignment: two boxes are compared by their column sums and row sums.
///
///     arrays       I_CrossCorrelateArray I_AutoCorrelate1DType AutoCorrelate1D
///     boxes        I_ImageAlign1D I_GetAlign1DParams I_GetAlign1DRepeat
///     settings     I_SetStrict1DConvolve Setup1DCorrelate
///
/// Example: how far a box of 80 by 60 pixels has moved, at most 12 pixels each way.
///
///     float dx = 0, dy = 0, qualityX, qualityY;
///     if (I_ImageAlign1D(imDef, imRef, 100, 100, 80, 60, 12, 12, &dx, &dy, &qualityX, &qualityY) && qualityX > 0.5f)
///         printf("%.2f\n", dx); // imDef at (x, y) looks like imRef at (x + dx, y + dy)
#ifndef VEXALIB_ALIGN1D_H
#define VEXALIB_ALIGN1D_H

#include "vexalib/types.h"

/// @name Arrays
/// @{

/// The offset at which one array is most like another, by correlation at every whole offset and a fit to the best
/// peak.
///
///     linear mode       1 - mean |a[i] - b[i + k]| / mean |a|, b brought to the mean distance of a
///     normalised mode   mean of a[i] * b[i + k], both brought to a deviation of 1 (in steps of 1/1000)
///
/// The mode is that of I_SetLinearCorrelation. Of near-equal peaks (within 5 %) the one nearer to 0 wins, if it is so
/// by a third; of flat tops the middle. The ends of the range are never peaks.
///
/// @param a,b     32-bit integers, overwritten; may be null
/// @param range   the largest offset, at most the shorter length less 2
/// @param quality receives the height of the peak, 1 for a perfect match in linear mode; may be null
/// @return the amount by which b must be read further on to match a, between -range - 0.5 and range + 0.5; 0, with
///         quality 0, for fewer than 3 elements, an array with a span of 2 or less or a deviation below 0.1, a range
///         below 1, and without memory: error 2, "I_CrossCorrelateArray 2 noffsets=%d"
///
/// Reads the strict flag. With the debug flag on the arrays and the curve are traced.
VEXA_API float I_CrossCorrelateArray(int32_t *a, int32_t lenA, int32_t *b, int32_t lenB, int32_t range,
                                     float *quality);

/// The distance at which an array repeats, from the first strong peak of its autocorrelation.
///
/// A later peak takes over where it is higher by more than 5 %.
///
/// @param array      length elements of pixelType; may be null
/// @param workBuffer min(maxLag, (length + 1) / 2) + 1 floats (3 where that leaves less than 4), receiving the
///                   autocorrelation over lags, 1 at lag 0; may be null
/// @param maxLag     the largest distance looked at
/// @param quality    receives the height of the peak; may be null
/// @return the distance to a fraction of an element; 0, with quality 0, for none, a length below 4, a maxLag below 2,
///         a flat array, and without memory: error 2, "AutoCorrelate1DType slen=%d" for the conversion
VEXA_API float I_AutoCorrelate1DType(const void *array, int32_t length, int32_t pixelType, float *workBuffer,
                                     int32_t maxLag, float *quality);

/// The autocorrelation of bytes in integers, and the lag of its first interior maximum.
///
///     out[lag] = sum((x[i] - m) * (x[i + lag] - m)) / ((length - lag) / 8),   lag from 0 to min(maxLag, length - 1) - 1
///
/// with m the mean cut to an integer; a divisor of 0 counts as 1, and results that do not fit are cut to 32 bits.
/// @return the first lag higher than both neighbours, or the last one that has two; 1 for fewer than 3 lags or null
VEXA_API int32_t AutoCorrelate1D(const uint8_t *bytes, int32_t *out, int32_t length, int32_t maxLag);

/// @}
/// @name Boxes
/// @{

/// Aligns a box of one image with another image, by the column sums and row sums of both.
///
/// An offset found between half a pixel and the range is refined by a second pass around it.
///
/// @param imDef,imRef   the images, read as bytes
/// @param x,y,cols,rows the box in imDef; cols or rows of 0 or less count from the far side. It is cut to both images
/// @param xRange,yRange the largest change of dx and dy; below 1 leaves that axis as it is
/// @param dx,dy         the starting offset, and the result: imDef at (x, y) corresponds to imRef at (x + dx, y + dy).
///                      An axis with a quality of 0.2 or less keeps its start
/// @param qualX,qualY   receive the qualities of I_CrossCorrelateArray; may be null
/// @return 1, also where nothing was found; 0 with
///         - a starting offset above 100000: error 1, "ImageAlign1D unintialized initial offset: %.1f %.1f", posted too
///         - a box of less than 3 by 3 inside both images: error 1, "ImageAlign1D: box too small after cropping=%d x %d.
///           xy=%d,%d; imSize=%d,%d"
///         - nothing left of the box, or an offset that nearly passes imRef: no error of its own
///         - no memory: error 2, "ImageAlign1D cols=%d rows=%d"
///
/// Keeps the box's properties for I_GetAlign1DParams.
VEXA_API int32_t I_ImageAlign1D(int32_t imDef, int32_t imRef, int32_t x, int32_t y, int32_t cols,
                                int32_t rows, int32_t xRange, int32_t yRange, float *dx, float *dy,
                                float *qualX, float *qualY);

/// What the last I_ImageAlign1D found out about its box in imDef. Any may be null.
///
/// @param repeatX,repeatY               repeat distances of its pattern in pixels, 0 for none
/// @param repeatQualityX,repeatQualityY heights of the peaks that tell them
/// @param contrastX,contrastY           span of the profile, as a part of 255
/// @param stepX,stepY                   largest step from one column or row to the next, likewise
/// @return 1
VEXA_API float I_GetAlign1DParams(float *repeatX, float *repeatY, float *repeatQualityX,
                                  float *repeatQualityY, float *contrastX, float *contrastY, float *stepX,
                                  float *stepY);
/// The first two of I_GetAlign1DParams.
VEXA_API float I_GetAlign1DRepeat(float *repeatX, float *repeatY);

/// @}
/// @name Settings
/// @{

/// Decides whether every offset of a correlation uses the same samples, those that all offsets have; 0 at the start.
/// @return the flag
VEXA_API int32_t I_SetStrict1DConvolve(int32_t flag);

/// A small switch of settings on which nothing else depends.
///
///     selector 0      keeps value as the flag that buffers stay from call to call; the result is value
///     selector 4, 5   keep value; the result is the old one
///     selector 6, 7   the result is the value kept by 4 and by 5
///     above 7         the result is value
///     others          the result is 0
VEXA_API int32_t Setup1DCorrelate(int32_t selector, int32_t value);

/// @}

#endif
