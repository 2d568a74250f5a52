/// Flood fill, descriptions of images, and the clipboard.
///
/// Filling        I_FloodFill I_FloodFillArray
/// Descriptions   I_DescribeImage DescribeImage DescribeImages ImageListBox1 ImageListBox2 ImageListBox
/// Clipboard      I_SetClipboardText I_SetClipboardImage I_GetClipboardImage I_SetClipboardArray
/// A pair         setdestoffset getdestoffset
///
///     I_SetWindowROI(100, 100, 299, 199);
///     I_FloodFill(5, 5, 255, im);            // from pixel (105, 105), within the window
///     puts(ImageListBox1());
///     I_SetClipboardImage(im);
///     int32_t pasted = I_GetClipboardImage();
///
/// The clipboard is the platform's (vexaSetPlatform); what is put there is a copy.
#ifndef VEXALIB_LISTING_H
#define VEXALIB_LISTING_H

#include "vexalib/types.h"

/// @name Filling
/// @{

/// Gives a value to all pixels that hang together with a start pixel and equal it, inside the box of the
/// region of interest. Pixels hang together through their four sides.
///
/// The box's rows are filled in place where the image's pixels are bytes in memory and the box begins at
/// column 0. Else the box is read as bytes, filled, and written back, with the conversions of I_GetBlockType
/// and I_PutBlockType: an image of another type is then filled as its byte picture, and all of the box comes
/// back from that.
///
/// @param x,y   start pixel, from the box's left and top (I_ROIBoundingBox)
/// @param value its low byte counts. The value that is there already changes nothing
/// @return 1; or 0 for a start outside the box, for image 0 and an image that is not open (its error is set),
///         and with error 2 without memory: "I_FloodFillArray" for the list of what is left to fill, which
///         leaves the fill unfinished, or that of the box. Areas of any size and shape are filled; there is
///         no recursion
VEXA_API int32_t I_FloodFill(int32_t x, int32_t y, int32_t value, int32_t im);

/// The same in an array of rows of bytes.
///
/// @param table the addresses of the rows, as Create2DArray and I_ImGet2DPtr give them
/// @param cols  bytes in each row that may be filled
/// @param rows  entries of the table
/// @return 1; or 0 for a null table, a size below 1, a start outside, and with error 2 "I_FloodFillArray"
VEXA_API int32_t I_FloodFillArray(int32_t x, int32_t y, int32_t value, void **table, int32_t cols,
                                  int32_t rows);
/// @}

/// @name Descriptions
/// @{

/// Describes an image in one line without a line end: "%3d\t%4dx%4dx%2d %-7s\t%.0f-%.0f\t%.0fMB %.50s\t%s".
///
/// The fields are the number, columns, rows, bytes per pixel, names of type and kind, range of values
/// (I_GetPixValueRange), size (columns * rows * bytes / 1048576), the comment's first 50 characters, and
/// "inverted" for rows that lie bottom-up.
///
///     " -1\t  40x  30x 1 byt    \t0-0\t0MB plate 7\t"
///
///     types  none for 0, byt wrd DWord float Dfloat cplx Dcplx Palette BGR-15bit BGR-16bit BGR-24bit RGB-24bit
///            BGR-32bit RGB-32bit PLANAR; all others user
///     kinds  none for memory, file (8), display (16), grabber (21); all others special
///
/// @param buffer receives at most size - 1 characters and a zero
/// @return 1; 0 for a number at or above 0, a null buffer or a size below 1; 0 with error 20 or 24 for an
///         image that is not open, lookup name "I_ImGetSize"
VEXA_API int32_t I_DescribeImage(int32_t im, char *buffer, int32_t size);

/// Shows an image's description in a box (as vexa_dprintf), with what I_ComputePixelStats finds:
/// "%s\nInside ROI: npix=%.0f mean=%.1f stdev=%.2f min=%.1f max=%.1f", or "Image %d is not open".
/// @return 1, or 0 for an image that is not open
VEXA_API int32_t DescribeImage(int32_t im);
/// Shows that of three images, "%s\n%s\n%s\n", and puts it on the clipboard.
/// @return the images of these that are open
VEXA_API int32_t DescribeImages(int32_t im1, int32_t im2, int32_t im3);

/// A listing of all images, one I_DescribeImage a line:
///
///     IMAGE LIST:
///     Im#\tSize         Type\tRange\tComment
///      -1\t  40x  30x 1 byt    \t0-0\t0MB plate 7\t
///
///     1 of 1 images listed
///
///     Total memory used = 0.001 MB; 7012.4 MB available.
///
///     ROI Type=FullFrame;  Window= 50 50 500 430
///
/// The memory is I_TotalBytesUsed and I_MemAvailable in units of 1048576 bytes; the ROI types are FullFrame,
/// Window, Polygon, Scanlist; the window is left, top, right, bottom as stored. Every line ends in "\n", and
/// each of the last three has one in front.
///
/// @return the library's text, good until the next call of any of the three; empty with error 2 "listimages"
///         without memory
VEXA_API const char *ImageListBox1(void);
/// Copies the listing.
/// @param buffer receives at most size - 1 characters and a zero; may be null
/// @return the number of open images
VEXA_API int32_t ImageListBox2(char *buffer, int32_t size);
/// Shows the listing in a box, and puts it on the clipboard.
/// @return the number of open images
VEXA_API int32_t ImageListBox(void);
/// @}

/// @name Clipboard
/// @{

/// Puts a text on the clipboard, in format 1.
/// @return 1; 0 if the clipboard cannot be had, and for null
VEXA_API int32_t I_SetClipboardText(const char *text);
/// Puts an image on the clipboard, as the DIB of I_CopyImageToDIB in format 8.
/// @return 1; 0 if the clipboard cannot be had, and with the errors of I_CopyImageToDIB
VEXA_API int32_t I_SetClipboardImage(int32_t im);
/// Makes an image of the DIB on the clipboard, by I_CopyDIBtoImage. The clipboard keeps its own.
/// @return an image; 0 if there is no DIB, and with the errors of I_CopyDIBtoImage
VEXA_API int32_t I_GetClipboardImage(void);
/// Puts an array of numbers on the clipboard as text: a row a line, tabs between, by I_FormatArrayEx.
///
/// @param array        rows without padding
/// @param elementBytes 1 to 8
/// @param rows         below 1 counts as 1
/// @param numberFormat printf format of a number
/// @return as I_SetClipboardText; 0 for a null array, cols or elementBytes below 1, and with error 2
///         "I_SetClipboardArray" without memory
VEXA_API int32_t I_SetClipboardArray(const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                                     const char *numberFormat);
/// @}

/// @name A pair
/// @{

/// Keeps a pair of numbers, at first (0, 0). Nothing in the library reads it.
VEXA_API void setdestoffset(int32_t x, int32_t y);
/// The pair; each pointer may be null.
VEXA_API void getdestoffset(int32_t *x, int32_t *y);
/// @}

#endif
