/// The region of interest and its scan lines.
///
/// The library has one current region, process-wide and attached to no image: it is laid on whichever image
/// an operator works on, at the moment it works. Operators take it as a bounding box or as a walk of runs or
/// bands. It starts as FullFrame, with a window of (50, 50, 500, 430) and a polygon of (132, 370), (132,
/// 110), (380, 110), (380, 370), (256, 420) waiting behind it.
///
///     type  name       shape
///     0     FullFrame  the whole image
///     1     Window     left, top, right, bottom, all inclusive
///     2     Polygon    1 to 99 points, the last one joined to the first
///     3     Scanlist   a list of runs
///
/// Type           I_GetROIType I_SetROIType
/// Shapes         I_SetWindowROI I_GetWindowROI I_SetRectROI I_SetPolygonROI I_GetPolygonROI I_SetScanlistROI
///                I_GetScanlistROI
/// Scan list      I_ROIScanlist
/// Bounding box   I_ROIBoundingBox I_ROIBoundingBox2 I_ROIBoundingBox3 I_ROIBoundingBoxN I_ImGetMinSize
/// Walks          I_GetNextLine I_GetNextLines I_SetCachingChunkMB
/// Measures       I_ROISize pPolygonArea
///
///     int32_t x, y, width, first = 1;
///     I_SetPolygonROI(corners, 6);
///     while (I_GetNextLine(&x, &y, &width, im, &first))
///         printf("row %d: columns %d to %d\n", y, x, x + width - 1);
///     I_SetROIType(0);
///
/// Wherever an image number is taken here, 0 stands for an image of 65535 by 65535 pixels, and sets no error.
/// Every output pointer may be null unless it says otherwise. None of this may be used from two threads at a
/// time.
#ifndef VEXALIB_ROI_H
#define VEXALIB_ROI_H

#include "vexalib/types.h"

/// The type of the current region, 0 to 3.
VEXA_API int32_t I_GetROIType(void);

/// Changes the type and nothing else: window, polygon and list keep what they hold, so going to 0 and back to
/// 1 brings the window back. The list is the exception: it is overwritten whenever a list is built for
/// another type.
///
/// @return the previous type; or 0 with error 12 "I_SetROIType=%d", the type unchanged, for one outside 0 to
///         3
VEXA_API int32_t I_SetROIType(int32_t type);

/// Makes a rectangle the region.
///
/// A negative left or top becomes 0. A right of at least 1 limits left to itself, and a bottom of at least 1
/// limits top. Right and bottom are stored as given; below 1 they are distances from the image's far edge
/// when the window is used:
///
///     stored right    bounding box                    scan list
///     -5              cols - 6                        cols - 6
///     0               0, swapped with left            cols - 1
///     5               5                               5
///
/// @return 1
VEXA_API int32_t I_SetWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom);

/// The window as it is stored, whatever the type of the region.
VEXA_API void I_GetWindowROI(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom);

/// I_SetWindowROI with the rectangle grown by a margin on each side.
///
/// @param rectangle not changed; null sets nothing
/// @param margin    in pixels; negative shrinks
/// @return 1, or 0 for null
VEXA_API int32_t I_SetRectROI(const VexaBox *rectangle, int32_t margin);

/// Makes a polygon the region. The points are copied.
///
/// @param count 1 to 99
/// @return 1; or 0 with error 12 "SetPolygonROI npts=%d", nothing changed, for another count or null points
VEXA_API int32_t I_SetPolygonROI(const VexaPoint *points, int32_t count);

/// Copies the polygon, whatever the type of the region.
///
/// @param points  room for as many points as maximum says
/// @param maximum 0 or below copies nothing
/// @return the number of points of the polygon
VEXA_API int32_t I_GetPolygonROI(VexaPoint *points, int32_t maximum);

/// Makes a list of runs the region. The points are copied to the list that I_ROIScanlist builds into.
///
/// Points 2i and 2i + 1 are one run, both ends inclusive: same y, the start's x not above the end's, and no y
/// below that of the run before. Several runs may share a row, in rising x. A run that breaks a rule posts
/// one of these messages, with its index, y and its two points, and ends the check:
///
///     "CHECKSCAN: #%d: X's out of order on line %d: %d,%d; %d,%d\n"
///     "CHECKSCAN: #%d Unpaired Y's on line %d: %d,%d; %d,%d\n"
///     "CHECKSCAN: #%d Y's out of sequential order on line %d: %d,%d; %d,%d\n"
///
/// @param count even, from 0 to the list's capacity: 50000, or more once an image of more than 25000 rows has
///              been used
/// @return 1; or 0, the region as it was: error 38 "SetScanList npts=%d, maxsize=%d" for a bad count or list,
///         error 2 "Mkscanlist" when there is no memory
VEXA_API int32_t I_SetScanlistROI(const VexaPoint *points, int32_t count);

/// Builds the list of the current region for the graphics image (I_SetGraphicsFrame) and copies it.
///
/// @param points  room for as many points as maximum says
/// @param maximum 0 copies nothing
/// @return the number of points of the list, which may exceed maximum; or 0 with error 12 "getscanlist" for
///         null points or a negative maximum
VEXA_API int32_t I_GetScanlistROI(VexaPoint *points, int32_t maximum);

/// Builds the runs of the current region on an image, from top to bottom, as pairs of points with both ends
/// inclusive.
///
/// A Scanlist region is the list already and is given back as it is. FullFrame and Window give a run per row;
/// a window outside the image gives its nearest column or row. A polygon that is monotone in y is walked in
/// fixed point with 9 fractional bits from (x + 0.5) of each vertex: each run lies in 0 to cols - 1, and that
/// on the polygon's last row in 0 to cols. Any other polygon is filled by the even-odd rule between the
/// pixels of its outline, limited to x up to cols; what of the outline lies behind the last cols points of
/// the list's capacity is left out.
///
/// @param count receives the number of points, two per run; 0 also when the image is not open (its error is
///              set) or there is no memory (error 2, "Mkscanlist" or "mkscanlist1")
/// @return the list, valid until the next list is built; null only when there never was memory for it
VEXA_API VexaPoint *I_ROIScanlist(int32_t *count, int32_t im);

/// The smallest rectangle that holds the region on an image.
///
///     type  before the limits
///     0     0, 0, cols - 1, rows - 1
///     1     the smaller stored x as left (0 if that is negative), the larger as right, and the same in y;
///           with right negative and left not: left, and the larger of left and right + cols - 1
///     2     the extremes of the points
///     3     the smallest start x, the y of the first run, the largest end x, the y of the last run
///
/// Then left is limited to 0 and the smaller of cols - 1 and right, and right to left and cols - 1; top and
/// bottom alike. A region outside the image therefore has a box of one pixel at the edge, and so has an empty
/// list, at (0, 0). With a window of (10, 10, 0, 0) an image of 100 by 100 gives (0, 0, 10, 10); with (10,
/// 10, -5, -5), (10, 10, 94, 94).
///
/// @return 1; or 0 for image 0 and for an image that is not open (its error is set), both of which set no
///         limit
VEXA_API int32_t I_ROIBoundingBox(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im);

/// I_ROIBoundingBox on the size that two images share.
VEXA_API int32_t I_ROIBoundingBox2(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im1,
                                   int32_t im2);

/// I_ROIBoundingBox on the size that three images share.
VEXA_API int32_t I_ROIBoundingBox3(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom, int32_t im1,
                                   int32_t im2, int32_t im3);

/// I_ROIBoundingBox on the size that any number of images share.
///
/// @return as I_ImGetMinSize
VEXA_API int32_t I_ROIBoundingBoxN(int32_t *left, int32_t *top, int32_t *right, int32_t *bottom,
                                   const int32_t *images, int32_t count);

/// The smallest number of columns and the smallest number of rows of some images, 65535 at most.
///
/// @param images 0 and images that are not open set no limit
/// @param count  0 or below, like null images, gives 65535 by 65535
/// @return the result of I_ImGetSize for the last image that is not 0; 0 if there is none
VEXA_API int32_t I_ImGetMinSize(int32_t *cols, int32_t *rows, const int32_t *images, int32_t count);

/// Area and outline of the region in the user's unit.
///
/// FullFrame and Window: the box on im, width times xScale by height times yScale, each rounded to a 32-bit
/// float; area is their product and perimeter twice their sum. Polygon and Scanlist: perimeter is the sum of
/// the scaled distances (scaledDist) between successive points, the last joined to the first; area is the
/// number of pixels of the region on the graphics image (I_SetGraphicsFrame) times both scales, from
/// I_CalcHist.
///
/// @param xScale,yScale size of a pixel
/// @return perimeter, the pointer
VEXA_API double *I_ROISize(int32_t im, double *area, double *perimeter, double xScale, double yScale);

/// The number of pixels inside a polygon, which is the current region afterwards. It is walked over with
/// image 0, so that what lies left of or above (0, 0) does not count.
///
/// @param points     pairs of 32-bit integers if pointBytes is 8, of 16-bit integers otherwise; any alignment
/// @param count      1 to 99
/// @param pointBytes bytes per point
/// @return the number of pixels, at most 2147483647; or 0 with the error of I_SetPolygonROI
VEXA_API int32_t pPolygonArea(const void *points, int32_t count, int32_t pointBytes);

/// Walks over the region run by run, from top to bottom.
///
/// The call with *first set builds the list (I_ROIScanlist). Each call delivers the next run with its end
/// limited to the image; runs above the image, below it or right of it are passed over. A run of a list may
/// begin left of column 0. At the end x and y are those of the first point of the list, width is 0, and
/// progress 1 of 1 with an empty text is reported; every 32nd point of the list reports how far the walk is.
///
/// @param width pixels
/// @param first set to 1 before the first call, cleared by it; other values than 0, 1 and -1 set error 1
///              "GetNextLine *first not initialized" and start a walk all the same; null walks nowhere
/// @return width; 0 at the end, at once for an image that is not open
///
/// Only one walk can be open: a new one ends it, and so does whatever else builds a list. A walk need not be
/// finished.
VEXA_API int32_t I_GetNextLine(int32_t *x, int32_t *y, int32_t *width, int32_t im, int32_t *first);

/// Walks over the region in bands of rows that fit the processor's cache.
///
/// Polygon and Scanlist: as I_GetNextLine, with a height of 1. FullFrame and Window: the bounding box in
/// min(200, trunc(3 * bytes / chunk) + 1) bands of equal height, cut off at the box's last row; bytes are
/// those of the box, and chunk is that of I_SetCachingChunkMB. A box of fewer rows than bands delivers
/// nothing.
///
/// @param first    as for I_GetNextLine, with error 1 "GetNextLines *first not initialized"
/// @param reserved not used
/// @return non-zero while a block is delivered; 0 at once for an image that is not open
///
/// Posts "GetNextLines: Block origin is negative: Box=(%d,%d,%d,%d) ROIType=%d" or "GetNextLines: rows is
/// negative: %d" when an image has no pixels.
VEXA_API int32_t I_GetNextLines(int32_t *x, int32_t *y, int32_t *width, int32_t *height, int32_t im,
                                int32_t *first, int32_t reserved);

/// Sets how many megabytes of cache a band of three images may take: the value minus 0.2, at least 0.4.
/// Starts at 1.8, as 2.0 sets it.
///
/// @param megabytes null, a value below 0.5 or no number changes nothing
/// @return the value before the call
VEXA_API float I_SetCachingChunkMB(const float *megabytes);

#endif
