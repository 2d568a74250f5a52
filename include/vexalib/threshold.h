/// Thresholds, gamma, stretches to a range, borders.
///
///     thresholds and gamma   I_Threshold I_GammaMap
///     normalisation          I_NormalizeROI I_NormalizeROIEx I_NormalizeRange I_NormalizeLimited
///                            I_GetNormalizeRange
///     borders                I_CopyBorder I_ImCopyBorder
///
/// Example: stretch what the region holds to the full range, then keep the bright half.
///
///     I_SetWindowROI(10, 10, -10, -10);
///     I_NormalizeROI(im, im);
///     I_Threshold(im, im, 128.0f, 255.0f);
#ifndef VEXALIB_THRESHOLD_H
#define VEXALIB_THRESHOLD_H

#include "vexalib/types.h"

/// White inside a band of values, black outside: I_DualThreshLUT of both values, rounded by Rnd, through
/// I_LUTMapROI.
///
///     I_Threshold(src, dest, 100, 200)    255 from 100 to 200
///     I_Threshold(src, dest, 200, 100)    0 from 101 to 199, 255 elsewhere
///     I_Threshold(src, dest, 100, 99)     255 everywhere: nothing lies strictly between
///
/// @return as I_LUTMapROI
VEXA_API int32_t I_Threshold(int32_t imSrc, int32_t imDest, float low, float high);

/// I_MakeGammaLUT through I_LUTMapROI.
/// @return as I_LUTMapROI
VEXA_API int32_t I_GammaMap(int32_t imSrc, int32_t imDest, float gamma);

/// Stretches an image linearly, so that the least value inside the region goes to low and the largest to
/// high.
///
/// With minimum and maximum from I_ComputePixelStats and range = maximum - minimum:
///
///     |range| <= 0.0001    gain = 1, the minimum goes to (low + high) / 2
///     otherwise            gain = (high - low) / range, but at most maxGain; a gain of 0 becomes 1;
///                          the minimum goes to low
///
/// and the mapping is I_ScaleIntensityROI(imSrc, imDest, target / gain - minimum, gain), with what it does to
/// fractions at a gain of 1: a constant 100 between 0 and 255 becomes 100 + trunc(127.5 - 100).
///
/// @param imSrc,imDest may be the same; 0 for either returns 0 without an error
/// @param maxGain      limit of the gain; none at 0 or below, and none on float images
/// @param wholeImage   non-zero: measured inside the region, mapped over the whole image
/// @return the number of pixels measured; where there is none, 0 and nothing mapped, with the error of
///         I_ComputePixelStats if it set one
///
/// Keeps minimum, maximum, mean and deviation for I_GetNormalizeRange. The region is pushed and popped.
VEXA_API int32_t I_NormalizeRange(int32_t imSrc, int32_t imDest, float low, float high, float maxGain,
                                  int32_t wholeImage);

/// I_NormalizeRange from 0 to 251 (255 in colour mode 0) with a gain of at most 85, so that a nearly flat
/// image is not blown up to noise: bytes of 100, 101, 102 become 0, 85, 170.
VEXA_API int32_t I_NormalizeROIEx(int32_t imSrc, int32_t imDest, int32_t wholeImage);

/// I_NormalizeROIEx inside the region only.
VEXA_API int32_t I_NormalizeROI(int32_t imSrc, int32_t imDest);

/// Stretches the range of bytes in use, but none narrower than 255 / maxGain, through I_StretchLUT.
///
/// A range low to high that is narrower than width = trunc(255 / maxGain) is widened around its centre: low
/// becomes low - (width - (high - low)) / 2, but not below 0, and high becomes low + width. 100 to 110 with
/// a gain of 4 is stretched from 74 to 137.
///
/// @param maxGain none at 0 or below
/// @return the width of the range used, 63 in the example; -256, before any widening, where no pixel counts
VEXA_API int32_t I_NormalizeLimited(int32_t imSrc, int32_t imDest, float maxGain);

/// What the last I_NormalizeRange measured; zeros before the first.
///
/// @param minimum,maximum,mean,deviation each may be null
/// @return maximum - minimum
VEXA_API float I_GetNormalizeRange(float *minimum, float *maximum, float *mean, float *deviation);

/// Fills the border of a bare array from the edge of an inner rectangle.
///
/// First the rows above top get row top and those below bottom get row bottom; then, in all rows, the
/// columns left of left get column left and those right of right get column right. Right and bottom may lie
/// beyond the array.
///
/// @param pixels the array; null returns 0
/// @param bytes  per pixel, at least 1 counts
/// @param stride bytes from row to row; the array has stride / bytes columns
/// @return 1; 0, nothing changed, if top is at or beyond rows, left at or beyond the columns, bottom not
///         beyond max(top, 0), or right not beyond max(left, 0)
VEXA_API int32_t I_CopyBorder(void *pixels, int32_t bytes, int32_t stride, int32_t rows, int32_t left,
                              int32_t top, int32_t right, int32_t bottom);

/// I_CopyBorder on an image in memory, by its storage rows and its own columns: what pads the rows, and
/// what lies beside a subimage, is left alone.
///
/// @param right,bottom below 1 they count from the far edge: 0 is the last column or row
/// @return as I_CopyBorder; 0 too for an image that has no address, and with error 20 or 24 for one that is
///         not open
VEXA_API int32_t I_ImCopyBorder(int32_t im, int32_t left, int32_t top, int32_t right, int32_t bottom);

#endif
