/// Lines, rectangles and cursors drawn into images; clipping of lines to a box.
///
/// All drawing goes through the block access, so it works on images of every kind and type. A colour of 0 or
/// more is the raw pixel that GetRawColor gives for it; a negative colour inverts what is there. Functions
/// that take no image draw into the graphics frame, and do nothing while there is none. Coordinates may lie
/// anywhere.
///
/// Target        I_SetGraphicsFrame I_GetGraphicsFrame vexaSetDrawColor
/// Pixels        graphputpix graphgetpix
/// Lines         hline vline I_DrawLine fdrawline I_GetLineCoords
/// Rectangles    I_DrawRect I_DrawRect1
/// Cursor        I_DrawCursor I_CursorUp I_CursorDown
/// Clipping      I_ClipLine I_ClipLineInt limitbox
/// Charts        drawgammacal drawgrayramp
///
///     I_SetGraphicsFrame(im);
///     I_DrawRect(10, 10, 89, 89, 255);
///     void *cross = I_CursorUp(50, 50, 21, 21, 252);
///     ...                                       // look at it
///     I_CursorDown(cross);                      // and the image is as it was
///
/// None of this may be used from two threads at a time.
#ifndef VEXALIB_DRAWING_H
#define VEXALIB_DRAWING_H

#include "vexalib/types.h"

/// Makes an image the graphics frame, the target of drawing and the image of some measurements.
///
/// @param im an image that is not open leaves the frame; if the frame then is not open either, there is none
/// @return the former frame, 0 for none
VEXA_API int32_t I_SetGraphicsFrame(int32_t im);

/// The graphics frame; 0 if there is none or it is no longer open.
VEXA_API int32_t I_GetGraphicsFrame(void);

/// Sets DrawColor, the colour of hline and vline, initially 252.
///
/// @param color negative inverts
/// @return the colour before
VEXA_API int32_t vexaSetDrawColor(int32_t color);

/// I_PutPixByte on the graphics frame; 0 if there is none.
VEXA_API int32_t graphputpix(int32_t x, int32_t y, int32_t value);

/// I_GetPixByte on the graphics frame; 0 if there is none.
VEXA_API int32_t graphgetpix(int32_t x, int32_t y);

/// Draws a horizontal line in DrawColor.
///
/// @param x1,x2 both drawn, in either order, moved to the image's edge where they lie outside
/// @param y     moved to the image's edge, so that a line above the image is drawn on its first row
///
/// Errors: that of the lookup; 2 "hline(%d cols, %d bytes, im %d)" without memory. Nothing is drawn then.
VEXA_API void hline(int32_t x1, int32_t y, int32_t x2, int32_t im);

/// Draws a vertical line in DrawColor, with the limits of hline. Error 2 is "vline(%d cols, %d bytes im %d)".
VEXA_API void vline(int32_t x, int32_t y1, int32_t y2, int32_t im);

/// Draws a line into an image.
///
///     line        drawn by            result
///     y1 == y2    hline, DrawColor    x1 - x2
///     x1 == x2    vline, DrawColor    y1 - y2
///     sloped      pixels in color     the number of pixels drawn
///
/// The part of a sloped line outside the image is cut off. From (5, 5) to (5, 5) one pixel is drawn, in
/// DrawColor.
///
/// @param color used on sloped lines only; negative inverts. It stays the line colour
/// @return see above; 0 for a sloped line outside the image
VEXA_API int32_t I_DrawLine(int32_t im, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t color);

/// Draws a line between points in fractions of a pixel into the graphics frame, in the given colour whatever
/// its slope.
///
/// @return the number of pixels drawn; 0 without a frame, for null and for a line outside it
VEXA_API int32_t fdrawline(const VexaPointF *end, const VexaPointF *start, int32_t color);

/// The pixels of a line from a to b, both included.
///
/// The longer axis, x where both are equal, steps by 1 from trunc(start) to the pixel nearest to the end. The
/// other coordinate runs in fixed point with 11 fractional bits: it starts at start * 2048 + 1024, rises by
/// trunc(difference * 2048 / length) per step and is shifted right by 11. From (0, 0) to (5, 2):
///
///     (0, 0) (1, 0) (2, 1) (3, 1) (4, 2) (5, 2)
///
/// @param im  the line is limited to this image first, as by I_ClipLine; 0 limits nothing
/// @param out room for the larger of the two differences plus 1
/// @return the number of points; 0 when nothing of the line lies on the image, the image is not open or a
///         pointer is null
VEXA_API int32_t I_GetLineCoords(int32_t im, const VexaPoint *a, const VexaPoint *b, VexaPoint *out);

/// I_DrawRect1 on the graphics frame; 0 if there is none.
VEXA_API int32_t I_DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color);

/// Draws the outline of a rectangle.
///
/// All four sides are limited to the image. The left and the top side are drawn only if they are given as 0
/// or more, the right and the bottom side only if they are given as less than the image's size.
///
/// @param color negative inverts; the corners, drawn twice, are then as they were
/// @return 1; or 0 with the error of the lookup
VEXA_API int32_t I_DrawRect1(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color,
                             int32_t im);

/// Draws the cross-hair of I_CursorUp for good.
///
/// @return 1; or 0 where I_CursorUp gives null
VEXA_API int32_t I_DrawCursor(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color);

/// Draws a cross-hair into the graphics frame and keeps what was under it.
///
/// A horizontal stroke of width pixels and a vertical one of height pixels, centred on (x, y), each limited
/// to the image by limitbox. A stroke whose row or column lies outside the image is not drawn.
///
/// @param color its low byte fills every byte of the pixels
/// @return a block for I_CursorDown, the caller's until then; null without a frame, when nothing of either
///         stroke is left and, with error 2 "I_CursorUp", without memory. It begins with eight 32-bit words:
///         length of the horizontal and of the vertical stroke, x, y, first column of the horizontal and
///         first row of the vertical stroke, bytes per pixel, image. The pixels that were under the two
///         strokes follow.
VEXA_API void *I_CursorUp(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color);

/// Takes a cross-hair off again: puts back what was under it and releases the block. Its image is the
/// graphics frame afterwards. An image that is no longer open, or has pixels of another size now, is left
/// alone.
///
/// @param block from I_CursorUp; null does nothing
VEXA_API void I_CursorDown(void *block);

/// Limits a line to a box, by the method of Liang and Barsky ("A new concept and method for line clipping",
/// 1984).
///
/// A line with both ends in the box stays as it is. Otherwise its ends move along the line to the sides of
/// the box, and each coordinate is limited to the box at last, also when nothing of the line lies in it.
///
/// @param lo,hi the lowest and the highest x and y of the box, inclusive
/// @param p1,p2 the ends, in and out
/// @return 1 if a part of the line is left; 0 if not and for null
VEXA_API int32_t I_ClipLine(const VexaPoint *lo, const VexaPoint *hi, VexaPointF *p1, VexaPointF *p2);

/// I_ClipLine on integer points; the ends are rounded by Rnd.
VEXA_API int32_t I_ClipLineInt(const VexaPoint *lo, const VexaPoint *hi, VexaPoint *p1, VexaPoint *p2);

/// The part of a stretch around a centre that lies in 0 to size - 1.
///
/// start = center - length / 2, limited to 0 and size - 1. kept = the smallest of length, of what remains of
/// the stretch from start on (center - start - length / 2 + length) and of size - start; 0 if that is
/// negative.
///
/// @param start,kept receive the two; may be null
/// @return kept
VEXA_API int32_t limitbox(int32_t center, int32_t length, int32_t size, int32_t *start, int32_t *kept);

/// Paints a chart for setting a display's gamma into the graphics frame.
///
/// Each row is the ramp 128 - column * 129 / width. In rows 20 to 29 of each 30 it is mixed from black and
/// twice the ramp: in stripes of columns in the first half of each 60 rows, in stripes of rows in the second.
/// At the right gamma mixed and plain rows look alike. Every other 60 rows, from row 80 on, are inverted.
///
/// @param left,top,right,bottom inclusive; what lies outside the frame is not painted
///
/// Error 2 "drawgammacal" without memory.
VEXA_API void drawgammacal(int32_t left, int32_t top, int32_t right, int32_t bottom);

/// Paints a grey ramp, black on the left to white on the right, and its outline into the graphics frame.
///
/// @param left,top,right,bottom inclusive; what lies outside the frame is not painted
/// @param low,high   the values at the ends of the scale
/// @param steps      bars of equal width, at most 256; 1 or below paints 256
/// @param textColor  of the outline
/// @param fieldWidth,decimals,unit how the values of the scale are written
///
/// Error 2 "drawgrayramp" without memory.
VEXA_API void drawgrayramp(int32_t left, int32_t top, int32_t right, int32_t bottom, double low, double high,
                           int32_t steps, int32_t textColor, int32_t fieldWidth, int32_t decimals,
                           const char *unit);

#endif
