/// Stored regions of interest: slots, a stack, combination, text files, copies of a rectangle with its
/// region.
///
/// There are 20 slots, numbered 0 to 19, each with a region's type and points; an unset one holds FullFrame.
/// The stack and some functions here use them too, so an application that keeps regions of its own takes the
/// low numbers:
///
///     slot      used by
///     16 to 0   levels 1 to 17 of the stack
///     17        result of I_ReverseROI, I_CombineRectROIs, I_ClearOutsideROI
///     18        I_CombineRectROIs, I_ReverseROI, I_ClearOutsideROI, windowdup, I_ROIDup, windowpaste
///     19        I_CombineRectROIs, I_ReverseROI; the region kept with an image (windowdup, I_ROIDup,
///               windowpaste)
///
/// Slots         I_SaveROI I_RecallROI getroidata setroidata
/// Stack         I_PushROI I_PushWindowROI I_PopROI
/// Combination   I_CombineROIs I_CombineRectROIs I_ReverseROI
/// Clearing      I_ClearROI I_ClearOutsideROI
/// Files         readroifile writeroifile
/// Copies        I_ROIDup windowdup windowpaste polygonpaste roipaste
/// Circles       I_MakePolyCircle I_MakeCircleList
///
///     I_PushROI();
///     I_SetWindowROI(100, 100, 199, 199);
///     I_ReverseROI(im);          // all but the window
///     I_ClearROI(0, im);
///     I_PopROI();
///
/// Every output pointer may be null. A slot is never freed. None of this may be used from two threads at a
/// time.
#ifndef VEXALIB_ROI_STORE_H
#define VEXALIB_ROI_STORE_H

#include "vexalib/types.h"

/// Copies the current region into a slot.
///
/// A window is saved as its stored corners, a polygon and a list as their points, FullFrame as no points.
///
/// @param slot 0 to 19
/// @return 1; or 0: error 12 "I_SaveROI n=%d" for another slot; error 2 "I_SaveROI()" or "Mkscanlist" without
///         memory, the slot then holding the type alone in the first case
VEXA_API int32_t I_SaveROI(int32_t slot);

/// Makes the region in a slot the current one: its type, and its points as the window, the polygon or the
/// list. The shapes of the other types stay as they are; FullFrame changes the type only.
///
/// @param slot 0 to 19
/// @return 1; or 0 with error 12 "I_RecallROI n=%d" for another slot
VEXA_API int32_t I_RecallROI(int32_t slot);

/// The points of the current region.
///
/// @param type  receives 0 to 3
/// @param count receives the number of points: 0 for FullFrame, 2 for a window
/// @return the points, valid until the region changes (those of a window until the next call); null for
///         FullFrame
VEXA_API VexaPoint *getroidata(int32_t *type, int32_t *count);

/// Sets type and points of the current region together, without the tests of the functions of its type.
///
/// @param type   0 to 3
/// @param count  points read: 2 for a window, at most 99 for a polygon, at most the list's capacity for a
///               list
/// @param points null or a count too small leaves a window or a polygon as it is, and makes a list empty
/// @return the previous type; or 0 with error 12 "I_SetROIType=%d", nothing changed, for another type
VEXA_API int32_t setroidata(int32_t type, int32_t count, const VexaPoint *points);

/// Saves the current region on the stack: at a depth of d in slot 17 - d.
///
/// At a depth of 17 the top entry is overwritten, the depth stays, and error 1 "PushROI overflow. Index=%d"
/// is set with that depth.
///
/// @return the new depth, 1 to 17
VEXA_API int32_t I_PushROI(void);

/// I_PushROI, then I_SetWindowROI; FullFrame if all four arguments are 0.
///
/// @return the new depth
VEXA_API int32_t I_PushWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom);

/// Takes the region saved last from the stack.
///
/// On an empty stack slot 17 is recalled all the same, the depth stays 0, and error 1 "PopROI underflow.
/// Index=%d" is set with that depth.
///
/// @return the new depth
VEXA_API int32_t I_PopROI(void);

/// The exclusive-or of two regions as sets of pixels on an image: the pixels that exactly one of them holds.
///
/// The result becomes the current region, of type Scanlist, and goes into a slot. A region with itself gives
/// the empty list; a region with FullFrame its complement. Linear in the number of runs.
///
/// @param slotA,slotB the regions
/// @param slotResult  may be one of them
/// @param im          the image on which the regions have their runs; 0 stands for 65535 by 65535 pixels
///
/// Errors: those of I_RecallROI, I_ROIScanlist and I_SaveROI; 2 "CombineROIs1", "CombineROIs2" or
/// "CombineROIs3" without memory, with the region recalled last as the current one.
VEXA_API void I_CombineROIs(int32_t slotA, int32_t slotB, int32_t slotResult, int32_t im);

/// I_CombineROIs of two rectangles, by way of slots 19 and 18 into 17.
///
/// @param a,b a right or bottom of 0 is replaced, in the caller's record, by the last column or row of the
///            image
/// @return 1; or 0 when a pointer is null, the image is not open or there is no memory
VEXA_API int32_t I_CombineRectROIs(VexaBox *a, VexaBox *b, int32_t im);

/// The complement of the current region on an image becomes the current region, by way of slots 19 and 18
/// into 17. The window is that of the whole image afterwards.
///
/// @param im 0 stands for 65535 by 65535 pixels
/// @return 1; or 0 when the image is not open or there is no memory
VEXA_API int32_t I_ReverseROI(int32_t im);

/// Sets the pixels of the region.
///
/// @param value low byte is written as PIX_BYTE, so that an image of another type or a selected colour band
///              takes it by conversion
/// @return 1; or 0: the image is not open, or error 2 "I_ClearROI" without memory
VEXA_API int32_t I_ClearROI(int32_t value, int32_t im);

/// I_ClearROI of all pixels outside the region. The region stays, by way of slots 17 and 18.
///
/// @return as I_ClearROI; 0, with nothing cleared, also when there is no memory for the complement
VEXA_API int32_t I_ClearOutsideROI(int32_t value, int32_t im);

/// Reads slots from a text file. The current region stays.
///
/// One slot per line of up to 16000 characters: slot, type, number of points, then x and y of each, set off
/// by blanks or commas. Empty lines and lines that begin with ";" are passed over, and so are slots outside 0
/// to 19 and counts below 1. "5 2 3 10 10 20 10 15 20" puts a triangle into slot 5. Where a line ends early
/// the slot keeps its type and count while its points are lost, and error 1 "ROI string error, ROI#%d" is
/// set; reading goes on.
///
/// @return 1; or 0: error 16 with the file name as message, or error 2 "readroifile" without memory. Error 2
///         "readroifile()" for the points of one line leaves the result 1
VEXA_API int32_t readroifile(const char *name);

/// Writes the slots that have points into a text file; FullFrame slots are lost.
///
///     ;ROI DEFINITIONS
///     ;number type size points
///      5 2  3 10 10 20 10 15 20
///
/// @return 1; or 0: error 16 with the file name as message, or error 2 "getroistring" without memory
VEXA_API int32_t writeroifile(const char *name);

/// A new image of the region's bounding box on an image, with the region kept in it as text (parameter 15).
///
/// @return the image; 0 when im is not open or there is no memory
VEXA_API int32_t I_ROIDup(int32_t im);

/// A copy of a rectangle of an image, with the rectangle kept in it as a Window region (parameter 15). The
/// current region stays; the stored window, unless it is the region, becomes the rectangle.
///
/// @param left,top,right,bottom inclusive
/// @param imReuse an image that takes the copy if it has the rectangle's size and the type of im, and is
///                closed if not; 0 or one that is not open makes a new image
/// @return the image; 0 when it could not be made
VEXA_API int32_t windowdup(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t im,
                           int32_t imReuse);

/// Copies the image made by windowdup back to where it came from, moved by (dx, dy): a rectangle of the size
/// of the window kept with imSrc, from (0, 0). The current region stays; the stored window, unless it is the
/// region, becomes that of imSrc.
///
/// @return 1; 0 when an image is not open or there is no memory
VEXA_API int32_t windowpaste(int32_t dx, int32_t dy, int32_t imDest, int32_t imSrc);

/// I_ROICopy from imSrc into imDest, moved by left and top of the region's bounding box on the graphics
/// image.
///
/// @return 1; 0 when an image is not open
VEXA_API int32_t polygonpaste(int32_t unused1, int32_t unused2, int32_t imDest, int32_t imSrc);

/// polygonpaste into the graphics image.
VEXA_API int32_t roipaste(int32_t unused1, int32_t unused2, int32_t imSrc);

/// Makes a polygon in the shape of a circle or an upright ellipse the region.
///
/// Point i is (trunc(cos(a) * aspect * radius + centerX), trunc(sin(a) * radius + centerY)), a = i * 2 pi /
/// points, with aspect multiplied by the pixel aspect ratio of the display settings (initially 1.0).
///
/// @param points 1 or more; more than 99 give 99
/// @return 1; or 0, nothing changed, for points below 1
VEXA_API int32_t I_MakePolyCircle(double centerX, double centerY, double radius, double aspect,
                                  int32_t points);

/// The points of a circle at a distance of one pixel: n = trunc(2 pi radius + 0.5) of them, and the first one
/// again.
///
/// Point i is (sin(a) * radius * aspect + centerX, cos(a) * radius + centerY), a = i times the step, in
/// 32-bit floats.
///
/// @param aspect 0 or below counts as 1
/// @param count  receives n, without the closing point; 0 on failure
/// @return n + 1 points, the caller's to free; null for a negative radius or, with error 2
///         "I_MakeCircleList", without memory
VEXA_API VexaPointF *I_MakeCircleList(float centerX, float centerY, float radius, float aspect,
                                      int32_t *count);

#endif
