/// Pyramid correlation: where a small pattern lies in a larger area, to a fraction of a pixel.
///
///     settings     I_SetLinearCorrelation I_SetCorrelationMode2 I_SetMultiAlignParams I_GetAlignPos
///     correlation  Corr2D I_Align2D
///
/// Example: the surface of scores of an 8 by 8 pattern in a 40 by 30 area.
///
///     float scores[33 * 23];
///     Corr2D(pattern, 8, 8, 8, area, 40, scores, 33, 23, "search");
///
/// The usual way to I_Align2D is I_WindowSearch (search.h), which makes the pyramids.
#ifndef VEXALIB_CORRELATION_H
#define VEXALIB_CORRELATION_H

#include "vexalib/types.h"

/// A picture in eight levels of bytes, each half as wide and high as the one before, packed without padding.
typedef struct PatternPyramid {
    int32_t recordSize;      ///< 184 in a complete record; I_Align2D refuses anything else
    uint8_t *data;           ///< the pixels of all levels
    int32_t levelOffset[8];  ///< byte offset of each level in data
    int32_t image;           ///< number of the image that it was learned from
    int32_t imageWidth;      ///< size of that image
    int32_t imageHeight;     ///
    int32_t box[4];          ///< left, top, right, bottom as given, zeros filled in
    int32_t cols;            ///< size of level 0; level k has cols >> k columns and rows >> k rows
    int32_t rows;            ///
    float levelMean[8];      ///< of a pattern, mean of each level
    float levelDeviation[8]; ///< standard deviation of each level
    float levelMeanDiff[8];  ///< mean absolute deviation of each level
    int32_t left;            ///< the box's corner inside the image
    int32_t top;             ///
    int32_t reserved;
} PatternPyramid;

/// @name Settings
/// @{

/// Chooses the score: 1, at the start, sums of absolute differences; 0 normalised correlation.
///
/// The one-dimensional correlation (align1d.h) reads it too.
/// @return the old value
VEXA_API int32_t I_SetLinearCorrelation(int32_t flag);
/// Keeps a value, 1 at the start, that no function reads.
/// @return the old value
VEXA_API int32_t I_SetCorrelationMode2(int32_t value);
/// How several candidates are followed, and whether pyramids are kept.
///
/// @param minPeak     a candidate below this score is not followed to finer levels; -0.2 at the start
/// @param stopLevel   with several candidates the descent ends after this level; 0 at the start
/// @param cacheEnable whether I_WindowSearch keeps its pyramids from call to call; 1 at the start
/// @return the old minPeak
VEXA_API float I_SetMultiAlignParams(float minPeak, int32_t stopLevel, int32_t cacheEnable);
/// Gives 0, 0: the place that it reports is never written.
///
/// @param x,y may be null
/// @return 0
VEXA_API float I_GetAlignPos(float *x, float *y);

/// @}
/// @name Correlation
/// @{

/// The score of a pattern at every position of an area.
///
///     linear       (A - S) / A       A the pattern's sum of |p - mean|, S the sum of |p - i|
///     normalised   T / s / D         T the sum of (i - mean) * p over pattern bytes with the mean taken off,
///                                    s the window's deviation, D = cols * rows * the pattern's deviation;
///                                    0 where s is below 0.1
///
/// A perfect match scores 1 in linear mode and about (n - 1) / n in normalised mode. In normalised mode the pattern's
/// bytes are replaced by their signed distance to the rounded mean, and stay so.
///
/// @param pattern      patCols x patRows bytes, packed; null or an empty pattern gives no scores
/// @param patStride    where it is not patCols, the debug trace says so and patCols is used
/// @param image        the window of the first score; the bytes of all windows are read. May be null if there are none
/// @param imageStride  bytes from row to row of image
/// @param out          outCols x outRows scores
/// @param progressText name under which the progress is told, row by row; may be null
/// @return patCols * patRows
VEXA_API double Corr2D(uint8_t *pattern, int32_t patStride, int32_t patCols, int32_t patRows,
                       const uint8_t *image, int32_t imageStride, float *out, int32_t outCols,
                       int32_t outRows, const char *progressText);

/// Finds a pattern in a search area: exhaustively on the coarsest level, then every candidate down the levels in
/// windows of 5 by 5 positions.
///
/// A level on which the pattern is flat, smaller than 6 pixels, or less than 6 pixels smaller than the area is left out.
/// Peaks inside a surface are interpolated by triangles, those on its border stand at whole pixels, corners never
/// count, and a flat top stands at its middle.
///
/// @param pattern,search records of I_WindowSearch's making
/// @param levels     1 to 8; below 1 is 1, above 7 is 8
/// @param x,y        receive maxPeaks positions of the pattern's corner in the area, in pixels of level 0
/// @param quality    receives maxPeaks scores, those of the last level that ran; a list without any peak begins
///                   with 0, 0 and -2
/// @param maxPeaks   candidates. With more than one the descent ends after MultiAlignStopLevel, and above level 0 and 1
///                   of a pattern with more than 1000 pixels there
/// @return maxPeaks, whatever was found; 0 for
///         - a missing or incomplete record: "Align2D 1: null pattern: pat->%d; srch->%d size=%d" is posted
///         - a record without pixels, or a pattern that is flat on every level that ran
///         - no positions, or 10,000,000 and more: error 1, "Align2D srch smaller than pat. CorrSize=%d,%d; Level=%d of
///           %d, PatCols=%d %d SrchCols=%d %d;  ScaledCols:%d %d; %d %d"
///         - no memory: error 2, "Align2D corrbuf0 size=%d = %x x %x"
VEXA_API int32_t I_Align2D(PatternPyramid *pattern, PatternPyramid *search, int32_t levels, float *x,
                           float *y, float *quality, int32_t maxPeaks);

/// @}

#endif
