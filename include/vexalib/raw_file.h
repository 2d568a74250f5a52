/// The library's own picture file, and the reader that opens it or a TIFF.
///
/// A raw file is a header of 52 bytes and the rows, top row first. All numbers are 32-bit little-endian:
///
///     offset  field     meaning
///     0       cols      width in pixels
///     4       rows      height in pixels
///     8       stride    bytes from one row to the next in the file
///     12      pixBytes  bytes per pixel
///     16      type      pixel type code; 0 in old files
///     20      comment   at most 31 characters, then zeros
///     52      pixels
///
/// Whole pictures  I_WriteRawFile I_ReadImageFile
/// Headers         writerawheader readrawheader
/// Open files      fwritewindow freadwindow
/// Helpers         I_MakeRowBuffer I_DisableIPL
///
///     int32_t im = I_ReadImageFile("plate.tif");
///     if (im == 0)
///         I_ShowError("plate");
///     I_WriteRawFile("plate.raw", im);
///     I_ImClose(im);
///
/// SYSTEM in a message stands for the system's own text for the failure, "No such file or directory" say. A
/// null name is the name of no file.
#ifndef VEXALIB_RAW_FILE_H
#define VEXALIB_RAW_FILE_H

#include "vexalib/types.h"

/// @name Whole pictures
/// @{

/// Writes an image to a raw file: the rows as they lie in memory, what pads them included, top row first.
///
/// Rows that have no address (a picture kept in a file, on a registered kind) are written packed, whatever
/// stride the header says: that of the image. Of the comment (parameter 14) the first 31 characters are kept.
/// Behind the pixels of the last row of an image on the application's memory come zeros, since nothing says
/// that the memory goes on there.
///
/// @return 1; or 0 with
///         16 "(NAME): SYSTEM": the file does not open;
///         19 "(NAME): SYSTEM", with "Disk Full" where the system gives no reason: no room for the header;
///         19 "Disk full?": no room for the rows;
///         2 "I_WriteRawFile (%d x %d)" in the frame of malloctest: no memory for rows without an address;
///         20 or 24 (lookup name "I_ImGetType"): no such image. Image 0 gives 0 without an error.
VEXA_API int32_t I_WriteRawFile(const char *name, int32_t im);

/// Opens a TIFF (tiff.h) or a raw file as a new image.
///
///     file                          type of the image
///     TIFF, 3 samples a pixel       PIX_RGB24
///     TIFF, 2 samples               PIX_WORD
///     TIFF, any other number        PIX_BYTE; PIX_PALETTE with the file's palette as parameter 13
///     raw, type from 1 on           that type, whatever pixBytes says
///     raw, type 0                   by pixBytes as by samples: 1 PIX_BYTE, 2 PIX_WORD, 3 PIX_RGB24
///
/// The TIFF reader is tried first. A stride below cols (bytes against pixels, so not every stride too short
/// for its rows is caught) counts as packed rows. The image is made where I_ImSetMemType says. In memory and
/// without a palette it gets the file's comment; otherwise its comment is the file's name, and types 2 to 11
/// get the range of their pixels as value range.
///
/// Pixels that the file ends before are 0 and leave error 18, "len=%u, should be %u" of the bytes there and
/// those promised, with the image as the result. Where more bytes lack than the file has, and more than 1
/// MiB, the header is not believed, and no memory is asked for.
///
/// @return the image; or 0, with nothing left behind, with
///         16 "(NAME): SYSTEM": the file does not open;
///         18 "readrawheader: Bad raw header": neither a TIFF nor 52 bytes long;
///         32 "Illegal raw file header in NAME (%d x %d x %d stride=%d)" of cols, rows, pixBytes and stride:
///         cols or rows below 1, pixBytes outside 1 to 32, type outside 0 to 100, or a header of a raw file
///         that is not believed;
///         1 "Corrupt Tiff Image": a TIFF of a width or height below 1;
///         18 "len=%u, should be %u": the header of a TIFF that is not believed;
///         the errors of opening an image
///
/// The errors of the TIFF reader are cleared before the raw file is tried.
VEXA_API int32_t I_ReadImageFile(const char *name);
/// @}

/// @name Headers
/// @{

/// Creates a raw file and writes its header; whatever a file of that name held is gone.
///
/// @param pixBytes 0 writes I_ImTypeBytes(type)
/// @param comment  its first 31 characters are written; null writes none
/// @return the open file, at the place of the first pixel, to be closed by the caller; or null with error 16
///         or 19 as of I_WriteRawFile
VEXA_API FILE *writerawheader(const char *name, int32_t cols, int32_t rows, int32_t stride, int32_t pixBytes,
                              int32_t type, const char *comment);

/// Opens a raw file and reads its header as it stands, without a test of the numbers.
///
/// @param cols,rows,stride,pixBytes,type each may be null; unchanged on failure
/// @param comment receives 32 bytes, the last of which is always 0; may be null
/// @return the open file at offset 52, to be closed by the caller; or null with error 16 "(NAME): SYSTEM", or
///         18 "readrawheader: Bad raw header" for a file of fewer than 52 bytes
VEXA_API FILE *readrawheader(const char *name, int32_t *cols, int32_t *rows, int32_t *stride,
                             int32_t *pixBytes, int32_t *type, char *comment);
/// @}

/// @name Open files
/// Both take the place where the stream stands for the first pixel of a picture of cols by rows packed pixels
/// (I_ImOpenFile), move a rectangle with I_RectCopy, and close the file with that picture.
/// @{

/// Copies from the image's corner (0, 0) to (x, y) of the picture in the file, as much as both have.
/// @param type pixel type of the file; negative means the image's own
/// @return 1; or 0 if nothing was to be copied, or with the errors of I_ImOpenFile, which leaves the file
///         open, and of I_ImCopyBlock. A null file gives 0 without an error.
VEXA_API int32_t fwritewindow(FILE *file, int32_t type, int32_t x, int32_t y, int32_t cols, int32_t rows,
                              int32_t im);
/// Copies from the file's corner (0, 0) to (x, y) of the image; results as fwritewindow.
VEXA_API int32_t freadwindow(FILE *file, int32_t type, int32_t x, int32_t y, int32_t cols, int32_t rows,
                             int32_t im);
/// @}

/// @name Helpers
/// @{

/// Allocates room for as many whole rows as the memory that is available allows, at most 32 MiB (0x2000000
/// bytes), and at least one row.
///
/// @param rowBytes    bytes of a row
/// @param rows        rows that are wanted at most
/// @param bufferBytes receives the size of the buffer, 0 on failure; may be null
/// @return the buffer, zeroed, to be freed with free or vexaFree; or null with error 46
///         "I_MakeRowBuffer(%d,%d,%u)" of rowBytes, rows and 0 where either is below 1, or error 2
///         "I_MakeRowBuffer(%dx%d)" in the frame of malloctest
VEXA_API void *I_MakeRowBuffer(int32_t rowBytes, int32_t rows, int32_t *bufferBytes);

/// Does nothing. @return 1
VEXA_API int32_t I_DisableIPL(int32_t flag);
/// @}

#endif
