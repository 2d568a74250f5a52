/// Window search: finds a box of one image in a box of another.
///
///     I_WindowSearch WindowSearch
///
/// Example: how far a detail has moved between two images, at most 20 pixels each way.
///
///     VexaBox detail = {100, 100, 163, 163}, around = {80, 80, 183, 183};
///     float x, y, quality;
///     if (I_WindowSearch(&detail, imBefore, &around, imAfter, 3, &x, &y, &quality, 1) && quality > 0.5f)
///         printf("moved by %.2f, %.2f\n", x, y);
#ifndef VEXALIB_SEARCH_H
#define VEXALIB_SEARCH_H

#include "vexalib/types.h"

/// Finds the pattern box of one image in the search box of another, by I_Align2D on pyramids of both.
///
/// The pyramids of the last call are kept while the cache is on (I_SetMultiAlignParams). A kept one is used again for the
/// same box, of at least 129 by 129 pixels and not beginning outside, of the same image at the same size, if the
/// upper half of the box still holds the same bytes: a change in its lower half is not seen.
///
/// @param patBox,srchBox     left, top, right, bottom, sides included; a right or bottom of 0 becomes the image's last
///                           column or row, in the caller's box too. Null is the whole image
/// @param patImage,srchImage the images; read as bytes
/// @param levels,maxPeaks    as for I_Align2D
/// @param x,y                receive maxPeaks shifts, in pixels: 0 where the pattern lies at its own coordinates. May
///                           be null
/// @param quality            receives maxPeaks scores, the first one 0 where nothing was searched; may be null
/// @return what I_Align2D returns; 0 for
///         - an image number of 0: error 1, "I_WindowSearch: Null image: imPattern=%d imSearch=%d"
///         - a box of fewer than 3 columns or rows: error 12, "LearnPattern: size= %d x %d box=%d %d %d %d; imSize=%d %d"
///         - no memory: error 2, "LearnPattern"
///
/// Progress is told under "Search: pattern", "Search: target" and "Search: corr.".
///
/// With I_SetDebug on, DisplayImage2x3 shows both images with their boxes (253), what was found (252), and, from two
/// levels on, pattern and search of the level on which it began, at the size of level 0, normalised.
VEXA_API int32_t I_WindowSearch(VexaBox *patBox, int32_t patImage, VexaBox *srchBox, int32_t srchImage,
                                int32_t levels, float *x, float *y, float *quality, int32_t maxPeaks);

/// I_WindowSearch with shifts rounded to whole pixels.
///
/// @param xy       receives the shifts; may be null
/// @param maxPeaks more than 8 count as 8
VEXA_API int32_t WindowSearch(VexaBox *patBox, int32_t patImage, VexaBox *srchBox, int32_t srchImage,
                              int32_t levels, VexaPoint *xy, float *quality, int32_t maxPeaks);

#endif
