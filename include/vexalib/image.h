/// The image table: opening and closing images, subimages, parameters, comments, palettes.
///
/// An application knows an image by its number alone. The number of an open image is negative, minus its slot
/// in the table: the first image is -1. 0 means no image, and functions that take an optional image accept it
/// without an error. Full images take slots 1 to 298, subimages 1 to 299.
///
/// Opening        I_ImOpen I_ImOpenEx I_ImOpenSpecial I_ImOpenStride I_ImOpenPtr I_ImOpenFile
///                I_ImOpenSubimage
/// Settings       I_ImSetMemType I_SetImAutoClear
/// Changing       I_ImResize I_ImConvertType
/// Closing        I_ImClose I_ImClose3 I_ImCloseAll
/// The table      I_ImValid I_ImFind I_ImCount I_ImageCount I_TotalBytesUsed
/// Description    I_ImGetSize I_ImGetType I_ImGetStride I_ImIsFloat I_ImGetNBands I_ImTypeBytes
/// Parameters     I_ImGetParam I_ImSetParam I_ImSetComment I_ImGetComment I_ImCopyParams I_SetPixValueRange
///                I_GetPixValueRange I_PaletteIsGrayscale I_SetComplexMode
/// Addresses      I_ImGetPtr I_ImGetPtrEx I_ImGet2DPtr
///
///     int32_t im = I_ImOpenEx(640, 480, PIX_BYTE, "reference");
///     int32_t part = I_ImOpenSubimage(100, 100, 64, 64, im); // shares the pixels of im
///     I_ImClear(part, 255.0);
///     I_ImClose(part);
///     I_ImClose(im);
///
/// Errors of every lookup: a number without an image gives code 20 "NAME(, im=%d)  im. not open", a number
/// outside the table, or any number before the first open, code 24 "NAME(, im=%d) im. not open". NAME is told
/// with each function below; the function then changes nothing and returns 0 or null.
///
/// The table and all settings are process-wide, and are used by one thread at a time.
#ifndef VEXALIB_IMAGE_H
#define VEXALIB_IMAGE_H

#include "vexalib/types.h"

/// @name Opening
/// @{

/// Opens an image of a pixel type, zeroed, where the memory type says (I_ImSetMemType; at first in memory).
///
/// @param cols,rows size in pixels; below 1 counts as 1
/// @param type      a PIX_ code; others are kept as the application's own types, with the bytes that
///                  I_ImTypeBytes gives
/// @return the image number; or 0 with
///         21 "NO_AVAIL_IMAGE_HANDLES": 298 images are open;
///         2 "I_ImOpenSpecial()": no memory for the description;
///         25 "I_ImOpen (%d)": no such kind is registered; the kind's own error where it fails;
///         no code, but a posted message, where there is no memory for the pixels: "I_ImOpen: calloc (%.3f MB
///         (%d x %d) failed. %.0f MB in use; %.0f avail. Sum=%.0f."; the library tries a second time, and
///         posts "I_ImOpen: calloc (%.3f MB) worked on 2nd try!" if that helped;
///         nothing at all, where a mask of memory types finds no room in memory and allows no file.
///
/// Rows lie at a multiple of 8 bytes (parameter 7) under memory types 0 and 1, close together under all
/// others. Images in memory have two rows and two pixels of zeros in front of the first pixel and behind the
/// last. PIX_BYTE and PIX_PALETTE images get a palette of greys.
VEXA_API int32_t I_ImOpen(int32_t cols, int32_t rows, int32_t type);
/// I_ImOpen, then parameter 14 with the comment; a null comment sets none.
VEXA_API int32_t I_ImOpenEx(int32_t cols, int32_t rows, int32_t type, const char *comment);
/// I_ImOpen with a width of storage of its own, for types of the application.
///
/// @param bytes bytes per pixel, 1 to 16
/// @param a,b   used in the error message only
/// @return as I_ImOpen; or 0 with error 12 "I_ImOpenSpecial(%d, %d, %d %d, %x %x)" of all arguments for other
///         bytes
VEXA_API int32_t I_ImOpenSpecial(int32_t cols, int32_t rows, int32_t bytes, int32_t type, int32_t a,
                                 int32_t b);
/// I_ImOpen with a distance of rows in bytes in place of the usual one; below 1 leaves the usual one.
VEXA_API int32_t I_ImOpenStride(int32_t cols, int32_t rows, int32_t stride, int32_t type);
/// An image on pixels that the application owns. Always in memory, whatever the memory type.
///
/// @param stride bytes from row to row; below 1 means close together: I_ImOpenPtr(3, 2, 0, PIX_BYTE, p) has 3
/// @param pixels address of pixel (0, 0), aligned or not; must outlive the image; never freed by the library
/// @return as I_ImOpen; 0 without an error for a null address
VEXA_API int32_t I_ImOpenPtr(int32_t cols, int32_t rows, int32_t stride, int32_t type, void *pixels);
/// An image on a file, whatever the memory type: its first pixel is where the stream stands.
///
/// @param stride bytes from row to row; below 1 means close together
/// @param file   closed with the image, left open where none comes about; null makes a temporary file that
///               goes with it
/// @return as I_ImOpen; or 0 with error 11 where no file can be had
VEXA_API int32_t I_ImOpenFile(int32_t cols, int32_t rows, int32_t stride, int32_t type, FILE *file);
/// A window on the pixels of an image, as an image of its own; windows on windows are allowed.
///
/// The width is limited to the parent's columns less x, the height to its rows less y: (10, 10, 1000, 1000)
/// on 100 by 100 pixels gives 90 by 90. x and y themselves are not tested: a window may begin left of column
/// 0 if its first byte still lies in the parent, and may come out with no columns at all. It has the
/// parent's stride, type, kind, inversion and value range, no palette, and if the parent has a comment, the
/// comment "Subimage of %d (%s) at %d %d" of the parent, its comment, x and y.
///
/// The parent cannot be closed while it has windows.
/// @return the image number; or 0 with error 13 "I_ImOpenSubimage(%d %d %d %d %d), offset=%ld, NewEnd=%ld,
///         ParEnd=%ld, stride=%d" where the window begins before the parent or ends behind it, 21 where all
///         slots are taken, 2 without memory; lookup name "subimage"
VEXA_API int32_t I_ImOpenSubimage(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t parent);
/// @}

/// @name Settings
/// @{

/// Says where images opened from now on keep their pixels.
///
///     0            in memory (the setting at first)
///     1, 8, 9      a mask: 1 memory, if more is available than the image and 65536 bytes; else 8 a temporary
///                  file; 9 whichever of the two fits
///     16 to 31     on a kind registered with addimagetype, which also gives the size
///
/// @return the previous setting
VEXA_API int32_t I_ImSetMemType(int32_t kindMask);
/// With a flag other than 0 each image opened is cleared by I_ImClearBlockType(0, 0, -1, -1, ...), but for
/// images on given memory or a given file. @return the flag
VEXA_API int32_t I_SetImAutoClear(int32_t flag);
/// @}

/// @name Changing
/// @{

/// Gives an image another size and type under its number; the contents are lost.
///
/// An image that has the size already, and as many bytes per pixel as the type code says, stays as it is: so
/// PIX_BYTE and PIX_WORD images are kept, a PIX_DWORD image asked for PIX_FLOAT is kept too, and asked for
/// PIX_DWORD is made anew.
///
/// @param im the image; 0 opens a new one; a slot that is free is filled
/// @return im, or the new image for 0; or 0 as of I_ImOpen, with error 24 for a number outside the table, and
///         with error 1 where I_ImClose refuses since the image has windows; the image then stays as it was
VEXA_API int32_t I_ImResize(int32_t cols, int32_t rows, int32_t type, int32_t im);
/// Converts an image in place to another pixel type, by I_GetBlockTypeEx over the whole image. Afterwards the
/// rows lie top first, also if they did not before.
///
/// @return 1 if the image has the type now; or 0 with error 1 "I_ImConvert to Palette not supported" for
///         PIX_PALETTE; 1 "I_ImConvert: cannot change (realloc) non-memory or sub-image" unless the image
///         owns its pixels (its memory, or parameter 10) and has no windows; 12 for type 25; 2
///         "I_ImConvertType %d x %d" without memory. Lookup name "ImConvertType".
VEXA_API int32_t I_ImConvertType(int32_t im, int32_t type);
/// @}

/// @name Closing
/// @{

/// Closes an image and frees what it owns: pixels, comment, palette, temporary file, DIB handle.
/// @return 1; 0 without an error for image 0; or 0 with error 1 "I_ImClose: Cannot close image %d: it has %d
///         open subimage(s)", the image staying open. Lookup names "I_ImClose", and "imclose2" for a window's
///         parent.
VEXA_API int32_t I_ImClose(int32_t im);
/// Closes three images; 0 is none. @return 1 if any was closed
VEXA_API int32_t I_ImClose3(int32_t im1, int32_t im2, int32_t im3);
/// Closes all images, windows or not, and the table: every number is unknown until the next open. A window
/// that outlives its parent in this leaves error 20.
VEXA_API void I_ImCloseAll(void);
/// @}

/// @name The table
/// @{

/// 1 if the image is open, else 0. Sets no error.
VEXA_API int32_t I_ImValid(int32_t im);
/// The next image whose comment contains a text.
///
/// @param text a text starts a search at slot 1; null or "" goes on behind the last hit
/// @return the image; 0 at the end, after which null starts again with the same text
VEXA_API int32_t I_ImFind(const char *text);
/// Open images, windows included. Two names of one function.
VEXA_API int32_t I_ImCount(void);
VEXA_API int32_t I_ImageCount(void);
/// A generous estimate of the bytes in use: stride times rows times bytes per pixel, summed over images and
/// windows, though the stride counts the bytes per pixel already. Before the first open it creates the table
/// and leaves error 1.
VEXA_API double I_TotalBytesUsed(void);
/// @}

/// @name Description
/// @{

/// Size and bytes per pixel. An image of a registered kind is first asked for its present size.
/// @param cols,rows,bytes each may be null; 0 where there is no image
/// @return 1; 0 if there is no such image, 0 included (lookup name "I_ImGetSize")
VEXA_API int32_t I_ImGetSize(int32_t *cols, int32_t *rows, int32_t *bytes, int32_t im);
/// The pixel type; 0 for image 0, without an error, and for a bad number (lookup name "I_ImGetType").
VEXA_API int32_t I_ImGetType(int32_t im);
/// Bytes from row to row; 0 as I_ImGetType, with the same lookup name.
VEXA_API int32_t I_ImGetStride(int32_t im);
/// 1 for types 4 to 11, complex ones included.
/// @param bands may be null; receives parameter 2, or 0 where there is no image. Errors as I_ImGetType.
VEXA_API int32_t I_ImIsFloat(int32_t im, int32_t *bands);
/// Parameter 2; 0 where there is no image.
VEXA_API int32_t I_ImGetNBands(int32_t im);
/// Bytes of a pixel of a type.
///
///     2, 13, 15, 21           2
///     16, 17, 20, 22, 23      3
///     3, 4, 18, 19            4
///     5, 6                    8
///     7                       16
///     every other number      1
VEXA_API int32_t I_ImTypeBytes(int32_t type);
/// @}

/// @name Parameters
/// @{

/// Reads one parameter of an image.
///
///     code  value                                     read                         written by I_ImSetParam
///     0     kind: 1 memory, 8 file, 16 to 31          int32_t                      no
///     1     type                                      int32_t                      if as wide; 1 anyhow
///     2     bands                                     int32_t, see below           no
///     3, 4  cols, rows                                int32_t                      no
///     5     cols shifted left by 16, plus rows        int32_t                      no
///     6     stride                                    int32_t                      yes, see there
///     7     alignment of rows, for all images         int32_t, 8 at first          yes, a power of two
///     8     bytes per pixel                           int32_t                      no
///     9     address of pixel (0, 0), or null          pointer                      no
///     10    DIB handle, freed with the image          pointer                      yes
///     11,12 lower, upper end of the value range       double                       yes
///     13    palette: blue, green, red, spare          1024 bytes; 0 if none        1024 bytes
///     14    comment                                   text, see below              text, see there
///     15    region of interest as text                text, see below              text
///     19    inverted: the rows lie bottom-up          int32_t; rebuilds the rows   yes
///
/// Bands: 3 for types from 12 on if I_GetColorProcMode() is 3 or more and I_GetColorBand() negative, else 1.
/// Texts: at most size - 1 characters, with a terminator only if fewer than size - 1 are copied; an absent
/// text reads as "".
///
/// @param value receives the parameter, at any address; null gives 0
/// @param size  room in bytes, looked at for codes 14 and 15 only: below 1 gives 0
/// @return 1; 0 without an error for image 0 and for other codes; lookup name "I_ImGetParam"
VEXA_API int32_t I_ImGetParam(void *value, int32_t size, int32_t code, int32_t im);
/// Stores one parameter of an image: the table stands at I_ImGetParam.
///
/// A comment that begins with "_" is added to the one there is, as "; " and the text without its "_";
/// otherwise it replaces it: "abc", then "_def" reads "abc; def". A stride by which an image would leave its
/// own memory is refused. The row table of I_ImGet2DPtr keeps its order when code 19 is stored.
///
/// @param value points to the new value, or is the text; null gives 0
/// @param size  not looked at
/// @return 1 if stored, and where the table says so; 0 without an error for image 0 and for other codes; 0
///         with error 2 without memory for a text, the old one staying. For a palette error 2
///         "imsetparam:Palette" comes with a result of 1. Lookup name "imsetparam".
VEXA_API int32_t I_ImSetParam(const void *value, int32_t size, int32_t code, int32_t im);
/// Parameter 14.
VEXA_API int32_t I_ImSetComment(const char *text, int32_t im);
VEXA_API int32_t I_ImGetComment(char *buffer, int32_t size, int32_t im);
/// Copies the comment (its first 200 characters; none as ""), the palette if there is one, the value range.
/// @return 1; 0 without an error if either image is 0
VEXA_API int32_t I_ImCopyParams(int32_t imSrc, int32_t imDest);
/// Parameters 11 and 12: which pixel values show as 0 and 255 where an image that holds no bytes is read or
/// written as bytes. Both 0, as after opening: no scaling. @return 1; 0 where there is no such image
VEXA_API int32_t I_SetPixValueRange(double minValue, double maxValue, int32_t im);
/// @param minValue,maxValue each may be null, and stays as it is where there is no such image
VEXA_API int32_t I_GetPixValueRange(double *minValue, double *maxValue, int32_t im);
/// 1 for null and for a palette whose entry i is (i, i, i, anything).
VEXA_API int32_t I_PaletteIsGrayscale(const void *palette);
/// What a complex pixel gives in a real type: 0 magnitude (at first), 1 real part, 2 imaginary part, 3 power.
/// @param mode limited to 0 to 3
/// @return the previous mode
VEXA_API int32_t I_SetComplexMode(int32_t mode);
/// @}

/// @name Addresses
/// @{

/// The address of a pixel, clamped to the bytes that the image spans: stride times rows from pixel (0, 0).
///
/// @param bytesLeft may be null; bytes from the address to the end of the span, at most INT32_MAX
/// @param stride    may be null; bytes from row to row. Both stay as they are where the result is null.
/// @return null with error 26 "I_ImGetPtr" for y at or behind the last row; null without an error where
///         pixels have no address, as in files; lookup name "I_ImGetPtr"
VEXA_API void *I_ImGetPtr(int32_t x, int32_t y, int32_t *bytesLeft, int32_t *stride, int32_t im);
/// The same if the image has the given type; null without an error if it has another. Type 0 takes any.
VEXA_API void *I_ImGetPtrEx(int32_t x, int32_t y, int32_t *stride, int32_t im, int32_t type);
/// The addresses of all rows, top row of the picture first, also where the rows lie bottom-up. Entries -1 and
/// -2 repeat the first row, entries rows and rows + 1 the last, for operators that look beyond the edge.
///
/// @param cols,rows may be null
/// @param type      0, or a type of the same width as the image's: PIX_FLOAT passes on a PIX_DWORD image
/// @return the image's own table, good until the next call for this image, a change of its pixels, or its
///         close; null without an error where the width differs or pixels have no address, null with error 2
///         without memory; lookup name "I_ImGetPtr"
VEXA_API void **I_ImGet2DPtr(int32_t *cols, int32_t *rows, int32_t im, int32_t type);
/// @}

#endif
