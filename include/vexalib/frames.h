/// Row operator frames and the clip mode: running a row function over the region of interest.
///
///     running     I_UnaryOpType I_BinaryOperatorType I_BinaryOperator I_DoStatsOpType
///     position    GetImageXY
///     clip mode   I_SetClipMode I_GetClipMode
///
/// Example: invert an image inside the region, whatever its kind and type.
///
///     static void invert(const void* source, void* dest, int32_t n, void* parameter)
///     {
///         for (int32_t i = 0; i < n; ++i)
///             ((uint8_t*)dest)[i] = (uint8_t)(255 - ((const uint8_t*)source)[i]);
///     }
///     I_UnaryOpType(im, im, NULL, invert, PIX_BYTE);
///
/// A row function is a plain loop over arrays. It never sees an image, a region or a border: the frame walks
/// the region, points the function at the rows where they stand, or moves them through a buffer and converts
/// them.
///
/// **Rows in place.** An image in memory of the processing type costs no copy: the function works on its
/// rows. They need not be aligned where the application owns them, and they lie in the order of storage, also
/// in an image whose rows are bottom-up. All others (another type, no address) are fetched and stored in
/// bands of rows, which share one buffer for the whole run. A result that goes through the buffer is not
/// fetched first: a row function has to write every element.
///
/// **Region.** A full frame or a window comes in bands of whole rows (I_GetNextLines on the destination, see
/// I_SetCachingChunkMB), a polygon or a scan list run by run. Pixels outside are not touched. Only what lies
/// in all images is processed; images of different sizes are no error.
///
/// **Colour.** Let T be the type asked for. As long as no image shows several bands (I_ImGetNBands below 2:
/// no colour image, or one with a band selected, or a colour processing mode below 3), rows are handed over
/// in T. Otherwise
///
///     T          imDest's type           rows are handed over as            n per pixel
///     PIX_BYTE   PIX_BGR24, PIX_RGB24    that type                          3
///     PIX_BYTE   PIX_BGR32, PIX_RGB32    that type, spare byte included     4
///     PIX_BYTE   any other, or none      PIX_BGR24                          3
///     others     any                     T                                  1
///
/// so that a function on bytes treats all bands alike. I_DoStatsOpType hands over T always, one element per
/// pixel.
///
/// **State.** The unary and the binary frame leave no colour band selected: a band holds for one operator.
/// All frames start the walk of the region anew, so that a row function must not walk it itself;
/// I_UnaryOpType and I_DoStatsOpType may run inside a row function of another frame once the outer walk has
/// no block to come. A frame uses the row function and the clip mode that it was called with, whatever a
/// callback sets meanwhile.
#ifndef VEXALIB_FRAMES_H
#define VEXALIB_FRAMES_H

#include "vexalib/types.h"

/// @name Running a row function
/// @{

/// Runs a function from the rows of one image to those of another, inside the region of interest.
///
/// @param imSrc     source; not 0
/// @param imDest    destination; may be imSrc, the function then gets one address twice; 0 has it write to a
///                  scratch row that is stored nowhere
/// @param parameter handed to each call
/// @param function  called as function(source row, destination row, n, parameter), once per row or run; must
///                  not be null (0, no error)
/// @param type      pixel type in which the function wants its rows, see "Colour" above
/// @return 1; or 0 with the last error set:
///         20 "I_ImGetSize(, im=N)  im. not open" or 24 "I_ImGetSize(, im=N) im. not open": no such image;
///         2 "I_UnaryOp N bytes": no memory for the buffer; what was stored before stays, and so does the
///         band
///
/// GetImageXY tells the position during a call; afterwards it tells what it told before.
VEXA_API int32_t I_UnaryOpType(int32_t imSrc, int32_t imDest, void *parameter, UnaryRowFilter function,
                               int32_t type);

/// Runs a function from the rows of two images to those of a third: dest(x, y) from a(x, y) and b(x + dx, y +
/// dy).
///
/// Where the moved b ends, imDest keeps what it had: with dx = -3 its first three columns are left alone. A
/// first image of 10 by 10 and a second of 5 by 5 at offset 0, 0 change the upper left 5 by 5 pixels.
///
/// @param imA       first source; 0 reads as zeros (not together with imDest 0)
/// @param imB       second source; 0, or an image that is not open, reads as zeros and limits nothing
/// @param imDest    destination; may be either source; 0 has the function write to a scratch row that is
///                  stored nowhere, the way to gather statistics over two images
/// @param dx,dy     offset of the second source in pixels, any value
/// @param parameter handed to each call
/// @param function  called as function(a, b, destination, n, parameter), once per row or run; must not be
///                  null (0, no error)
/// @param type      pixel type in which the function wants its rows, see "Colour" above
/// @return as I_UnaryOpType, with "I_BinaryOperatorType N bytes"
///
/// Reports progress: a start, and an end at fraction 1. GetImageXY keeps the position of the last row.
VEXA_API int32_t I_BinaryOperatorType(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                                      void *parameter, BinaryRowFilter function, int32_t type);

/// I_BinaryOperatorType on bytes.
VEXA_API int32_t I_BinaryOperator(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                                  void *parameter, BinaryRowFilter function);

/// Shows the rows of an image to a function that only reads, inside the region of interest.
///
/// @param im        the image; not 0
/// @param parameter handed to each call
/// @param function  called as function(row, n, parameter) with n pixels, once per row or run; must not be
///                  null (0, no error)
/// @param type      pixel type in which the function wants its rows; a colour image comes as that type, too
/// @return as I_UnaryOpType, with "I_DoStatsOpType"
///
/// Leaves the selected band alone, and GetImageXY as it was.
VEXA_API int32_t I_DoStatsOpType(int32_t im, void *parameter, StatsRowFilter function, int32_t type);

/// @}
/// @name Position
/// @{

/// Tells a row function where an element of its row lies in the image.
///
///     x = index % width + x of the row's first pixel        y = index / width + y of the row
///
/// with the width of the block of which the row is part. In a block 5 wide from (10, 20), on row 20, index 7
/// is (12, 21). A width of 0, before any frame has run, becomes 100.
///
/// @param index index of a pixel; of packed colour rows, the index of an element divided by n per pixel
/// @param x,y   receive the position; may be null
/// @return y
VEXA_API int32_t GetImageXY(int32_t index, int32_t *x, int32_t *y);

/// @}
/// @name Clip mode
/// @{

/// Says what becomes of results that leave the range of their type. Initially 1.
///
/// A result goes through one of three slots: "high" if it can only overflow (sums, products, quotients),
/// "low" if it can only underflow (differences), "both" if it can do either. TOP is the highest pixel value,
/// 255, or 251 once display tables with reserved colours exist (I_SetColorMode). Then a byte is
///
///     mode   high                        low                         both
///     0      x                           x                           x
///     1      min(x, TOP)                 max(x, 0)                   x between 0 and TOP
///     2      min(x, TOP)                 |x|                         min(|x|, TOP)
///     3      x + 128 between 0 and TOP, in all three
///     4      x / 2 + 128 in all three
///     5      x between -128 and 127, as a signed byte, in all three
///     6      x / 2 between -128 and 127, as a signed byte, in all three
///     7      min(x * x, TOP) in all three
///
/// cut to its low byte. Halves are truncated toward zero. A 16-bit result is cut to 16 bits:
///
///     1      x                           max(x, 0)                   x
///     2      x                           |x|                         |x|
///     3      as for bytes, but below 0 with the low byte of x + 128 cleared; both: x + 128
///     4      x / 2 + 128 in all three
///     7      x * x in all three
///     others x in all three
///
/// A float result has the range LOW to HIGH of the type of the image it goes to: bytes and colour 0 to 255,
/// words 0 to 65535, 32-bit integers 1 to 4294967296, all others from -3e38 without an upper end.
///
///     1      x                           x in the range              x in the range
///     2      |x| in all three
///     3      x + 128 in the range, in all three
///     4      x / 2 + 128 in the range, in all three
///     7      x * x in all three
///     others x in all three
///
/// A complex result becomes its magnitude in mode 2 and its squared magnitude in mode 7, with an imaginary
/// part of 0, and stays as it is in all others (but is its magnitude until the first call of this function).
///
/// @param mode 0 to 7. Any other sets error 12 "I_SetClipMode" and is what I_GetClipMode tells from then on,
///             while the clipping stays as it was
/// @return the previous mode
VEXA_API int32_t I_SetClipMode(int32_t mode);

/// The mode last given to I_SetClipMode, 1 at first.
VEXA_API int32_t I_GetClipMode(void);

/// @}

#endif
