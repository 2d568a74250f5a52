/// Rotation by affine maps, and the exact symmetries of the square.
///
///     affine maps   I_Rotate I_RotateShift I_RotateShift1 CalcMatrix I_Match2Points I_SetRotateSmooth
///     symmetries    I_Rotate90 I_Rotate90Ex I_HorizMirror I_DiagMirror I_VertMirror
///
/// Example: turn a picture by 10 degrees about its middle, and another one by exactly 90 degrees.
///
///     I_SetRotateSmooth(1);
///     I_RotateShift(cols / 2, rows / 2, 10.0, 0.0, 0.0, 1.0, 1.0, imSrc, imDest);
///     int32_t upright = I_Rotate90Ex(imScan, 90, 0);
///     if (!upright)
///         I_ShowError("Rotate");
///
/// An affine map is six floats m that lead from destination to source: with the centre (cx, cy), the
/// destination's pixel (x, y) reads the source at
///
///     sx = m[0] * (x - cx) + m[1] * (y - cy) + m[2] + cx
///     sy = m[3] * (x - cx) + m[4] * (y - cy) + m[5] + cy
///
/// All functions work inside the region of interest, laid on the destination, and read and write their images
/// by blocks (block.h): other types than the working type are converted on the way.
#ifndef VEXALIB_ROTATE_H
#define VEXALIB_ROTATE_H

#include "vexalib/types.h"

/// @name Affine maps
/// @{

/// Fills the region of an image with another image under an affine map.
///
/// The map becomes 16.16 fixed point (each number times 65536, rounded as Rnd does: one that does not fit is
/// INT32_MIN), positions wrap modulo 2 to the 32, and lose all but 5 fractional bits. Pixels whose position
/// lies outside the source, (0, 0) to (cols - 1, rows - 1), keep what they had.
///
///     smooth     working type                   pixel
///     not 0      PIX_BYTE, PIX_FLOAT, colours   bilinear, weights in 1/32: truncated for bytes, each channel
///                of 3 and 4 bytes               for itself
///     not 0      colours of 2 bytes             as PIX_BGR24
///     not 0      all others, PIX_PALETTE        nearest
///     0          all                            nearest: (position + 16/32) truncated
///
/// The working type is the lower of the two images' type codes. A source of that width in memory is sampled
/// as it stands; any other is converted as a whole first.
///
/// @param cx,cy  centre, in pixels
/// @param m      six floats, not changed; {1, 0, 0, 0, 1, 0} copies the region. Null: 0
/// @param imDest may be imSrc
/// @return 1; 0 with error 20 or 24 "I_ImGetSize(, im=N)..." for an image that is not open; 0 with error 2
///         "Malloc failed: RotatePrep %.1f MBytes" (the converted source) or "I_Rotate %.1f MBytes" (the
///         destination's pixels), in megabytes of 1000000 bytes, in the frame of malloctest
///
/// Reports progress under the text "Rotate&Scale".
VEXA_API int32_t I_Rotate(int32_t cx, int32_t cy, const float *m, int32_t imSrc, int32_t imDest);

/// Turns, scales and shifts about a centre. With s and c the sine and cosine of the angle, I_Rotate with
///
///     m = {c / sx, -(s / sy) * A, -dx, (s / sx) / A, c / sy, -dy}
///
/// where A is the pixel aspect ratio of the display settings, at first 1.0.
///
/// @param angle in degrees; the picture turns counter-clockwise
/// @param dx,dy in pixels of the source: the picture moves by them before it is turned
/// @param sx,sy destination pixels per source pixel; 0 gives the result 0, without an error
/// @return as I_Rotate
VEXA_API int32_t I_RotateShift(int32_t cx, int32_t cy, double angle, double dx, double dy, double sx,
                               double sy, int32_t imSrc, int32_t imDest);
/// I_RotateShift with a shift that may be told in pixels of the destination.
///
/// @param rotateShift other than 0: dx and dy (as 32-bit floats, as is the angle in radians) are first turned
///                    and scaled: ((dx * c - dy * s) / sx, (s * dx + c * dy) / sy)
VEXA_API int32_t I_RotateShift1(int32_t cx, int32_t cy, double angle, double dx, double dy, double sx,
                                double sy, int32_t imSrc, int32_t imDest, int32_t rotateShift);

/// A matrix from shift, angle and scales: {c * sx, s * sy, x, -(sx * s), c * sy, y}.
///
/// @param angle in radians
/// @param sx,sy 0 counts as 1
/// @param m     receives six floats; may be null
/// @return 1
VEXA_API int32_t CalcMatrix(double x, double y, double angle, double sx, double sy, float *m);

/// I_Rotate by the map that carries two points of the destination onto two points of the source.
///
/// With k the quotient of the distances a0 to a1 and b0 to b1 (at least 0.01), and t = atan2(x, y) of a1 - a0
/// less that of b1 - b0, the centre is b0, truncated, and m = {k cos t, k sin t, a0.x - b0.x, -k sin t, k cos
/// t, a0.y - b0.y}.
///
/// @param a0,a1 points of the source; a1 becomes a1 - a0
/// @param b0,b1 points of the destination; b1 becomes b1 - b0
/// @return as I_Rotate; 0 for a null pointer
VEXA_API int32_t I_Match2Points(int32_t imSrc, int32_t imDest, const VexaPointF *a0, VexaPointF *a1,
                                const VexaPointF *b0, VexaPointF *b1);

/// Says whether rotations sample between pixels (at first 1) or take the nearest (0).
VEXA_API void I_SetRotateSmooth(int32_t flag);

/// @}
/// @name Symmetries
/// @{

/// Turns or mirrors an image exactly. W and H are the source's size, the result's pixel is (c, r):
///
///     iRot                code   result                                               source pixel
///     0, 360, -360               as I_ROICopy(imSrc, imDest, 0, 0)                    c, r
///     1                   1      mirrored along the anti-diagonal                     W-1-r, H-1-c
///     2, 90, -270         2      a quarter turn counter-clockwise                     W-1-r, c
///     3, 270, -90         3      a quarter turn clockwise                             r, H-1-c
///     4, 180, -180        4      half a turn                                          W-1-c, H-1-r
///     5, -1               5      mirrored left to right                               W-1-c, r
///     6, -2               6      mirrored top to bottom                               c, H-1-r
///     7, -3               7      mirrored along the main diagonal                     r, c
///
/// That holds for the whole image. Of a smaller region its bounding box on imDest is filled, and the source
/// is read from the box's left and top on; W - left and H - top limit the box's height and width for codes 1
/// to 3, and its width and height for all others, code 7 among them. The mirroring is that of the limited
/// box.
///
/// The box is filled by tiles of T by T pixels from its upper left corner on: for a box of w by h pixels,
/// with s = 255, s becomes w if w < max(65280 / h, s), else 65280 / h if that is larger; then T = min(h,
/// 65280 / s, s). (65280 is lower where hardly any memory is free.) What follows from it:
///
///     no tile starts on the box's last row or column: a remainder of one row or column keeps what it had,
///     and so does a box one pixel wide or high. 256 by 256 pixels leave the last row and column alone;
///     code 7 is exact in square tiles; the last tiles of other boxes come out skewed.
///
/// A polygon region keeps its shape (of its runs on the source); a scan list fills its box. The working type
/// is the lower type code. Between colour images of different types each band goes as bytes, by way of
/// I_SetColorBand, and none is selected at the end.
///
/// @param imDest may be imSrc: code 5 then works in place, all others on a copy of the source
/// @return 1; 0 with error 12 "iRot=%d" for another iRot; 0 with error 20 or 24 "I_ImGetType(, im=N)..." for
///         an image that is not open; 0 with error 2 "rotate90" without memory
VEXA_API int32_t I_Rotate90(int32_t imSrc, int32_t imDest, int32_t iRot);

/// I_Rotate90 into an image of the right size.
///
///     iRot                                     the result is
///     0                                        imSrc with replace, else a clone
///     1, 2, 3, 7, 90, 270, -3, -90, -270       a new image with the sides exchanged
///     all others                               imSrc with replace, else a clone
///
/// From -3 to 359 and below -89 I_Rotate90 fills it, and its error stays: the result is an image all the
/// same. All others copy the region by I_ROICopy. Then a new image gets comment, palette and range
/// (I_ImCopyParams).
///
/// @param replace other than 0: a new image takes the place of imSrc, which is closed
/// @return the image; 0 with an error where imSrc is not open or no image can be made
VEXA_API int32_t I_Rotate90Ex(int32_t imSrc, int32_t iRot, int32_t replace);

/// I_Rotate90 with code 5.
VEXA_API int32_t I_HorizMirror(int32_t imSrc, int32_t imDest);
/// I_Rotate90 with code 7.
VEXA_API int32_t I_DiagMirror(int32_t imSrc, int32_t imDest);

/// Mirrors the region top to bottom in its bounding box, keeping its shape: each pixel (x, y) of the region
/// takes the source's pixel (x, top + bottom - y), also where that lies outside the region.
///
/// Region and box are laid on imDest. Rows are read and written one by one, in the lower type code: those of
/// images that lie bottom-up in storage order. Where the source has no such row the row read last stands.
///
/// @param imDest may be imSrc
/// @return 1; 0 with error 20 or 24 "I_ImGetType(, im=N)..." for an image that is not open; 0 with error 2
///         "I_VertMirror" without memory
VEXA_API int32_t I_VertMirror(int32_t imSrc, int32_t imDest);

/// @}

#endif
