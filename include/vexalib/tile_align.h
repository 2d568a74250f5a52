/// Tiled alignment: subtracting images that do not register the same way everywhere.
///
///     first shift      I_FindBorder I_AutoAlign
///     subtraction      I_AlignSubtract1 I_AlignSubtract
///     what was found   I_AlignStats AlignStats
///     reading          I_GetBigBlockType
///
/// Example: a difference image in tiles of 64 pixels, beginning with the shift that the corner tells.
///
///     VexaPointF shift = {0, 0};
///     VexaPoint place;
///     I_AutoAlign(imRef, imDef, 1, 200, 80, &place, &shift.x, &shift.y);
///     I_SetClipMode(3);
///     I_AlignSubtract1(imDef, imRef, imDiff, &shift, 64, 0);
#ifndef VEXALIB_TILE_ALIGN_H
#define VEXALIB_TILE_ALIGN_H

#include "vexalib/types.h"

/// @name First shift
/// @{

/// Narrows a box to where the image has content: each edge moves inward, at most to the middle, while its row or
/// column spans no more than minRange grey levels.
///
/// @param box left, top, right, bottom. With a left or right of 0 it becomes the whole image; a negative right or bottom
///            counts from the far edge, -1 being the last but one. It is cut to the image
/// @return 1; 0 without memory: error 2, "I_FindBorder"
VEXA_API int32_t I_FindBorder(int32_t im, VexaBox *box, int32_t minRange);

/// Finds the shift between two images in a textured box near a corner of the region, by I_ImageAlign1D along
/// diagonals from that corner.
///
/// @param cornerFlags       bit 1: from the right side; bit 2: from the bottom
/// @param boxSize           side of the boxes, at most that of the region; below 5 it is 75
/// @param minQualityPercent a quality above this ends the search; below 1 it is 80
/// @param xy                receives the corner of the best box; may be null
/// @param dx,dy             the starting shift, rounded; receive the best: imSrc at (x, y) corresponds to imRef at
///                          (x + dx, y + dy). May be null
/// @return the best quality in per cent, cut to an integer: -100, with a shift of 0, if no box would do; 0, outputs left
///         alone, for a region smaller than boxSize, a span of the region below 15 grey levels, and with error 1,
///         "AutoAlign: x0y0=%d %d; last=%d %d; imSrc=%d x %d" or "AutoAlign BoxSize must be >=10: imSrc=%d imRef=%d
///         Boxsize=%d. ROI=%d %d; %d %d"
VEXA_API int32_t I_AutoAlign(int32_t imSrc, int32_t imRef, int32_t cornerFlags, int32_t boxSize,
                             int32_t minQualityPercent, VexaPoint *xy, float *dx, float *dy);

/// @}
/// @name Subtraction
/// @{

/// Subtracts imB from imA tile by tile, each at its own shift to a fraction of a pixel.
///
/// A tile starts from the shifts of its neighbours. Where tiles without structure lay between, it is aligned anew. From
/// the differences at the place and a pixel to each side it takes the place of the least deviation, moves there if that
/// is two thirds of a pixel away or more, and blends the five differences for the rest. The difference is coded by the
/// clip mode:
///
///     0, 5     d, as a signed byte
///     1        max(d, 0)
///     2        |d|
///     4        d / 2 + 128
///     others   d + 128
///
/// @param imResult receives the difference; 0: none is wanted
/// @param offset   the starting shift, imB at (x, y) corresponding to imA at (x + dx, y + dy); receives the mean over all
///                 tiles. May be null
/// @param tileSize side of the tiles; 0: one tile; negative: one tile at the shift that I_AutoAlign finds, not refined
/// @param warpFill not 0: imB is replaced by itself, warped to fit imA; what no tile reaches keeps its pixels with a
///                 negative value and becomes warpFill with a positive one
/// @return 1 if a first alignment scored above 80; 0 otherwise, and on failure: error 2, "AlignSubtract Tiles" or
///         "AlignSubtract. Bufs=%x %x %x; sizes=%d %d %d"
VEXA_API int32_t I_AlignSubtract1(int32_t imA, int32_t imB, int32_t imResult, VexaPointF *offset,
                                  int32_t tileSize, int32_t warpFill);
/// I_AlignSubtract1 with a starting shift in whole pixels.
VEXA_API int32_t I_AlignSubtract(int32_t imA, int32_t imB, int32_t imResult, int32_t dx, int32_t dy,
                                 int32_t tileSize, int32_t warpFill);

/// @}
/// @name What was found
/// @{

/// The mean shift over all tiles of the last subtraction.
///
/// @param offset receives it; may be null
/// @param tilesX receives the tiles in a row; may be null
/// @return the number of tiles
VEXA_API int32_t I_AlignStats(VexaPointF *offset, int32_t reserved1, int32_t reserved2, int32_t *tilesX);
/// Traces the tiles of the last subtraction: places (on the clipboard too), spans, deviations, deviations of the
/// difference, shifts.
/// @return the number of tiles
VEXA_API int32_t AlignStats(void);

/// @}
/// @name Reading
/// @{

/// I_GetBlockType of a block that may reach outside the image: what lies there repeats the edge.
///
/// @return as I_GetBlockType
VEXA_API int32_t I_GetBigBlockType(int32_t x, int32_t y, int32_t cols, int32_t rows, void *buffer, int32_t im,
                                   int32_t type);
/// @}

#endif
