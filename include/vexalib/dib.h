/// Device-independent bitmaps (DIBs) and BMP files.
///
/// A DIB is a movable memory block (vexaGlobalAlloc), passed by its handle: a 40-byte header, the palette of
/// 8 bits or fewer, the rows. It is how images reach the screen, the clipboard and BMP files. An image can be
/// a view on the pixels of a DIB, so that every operator works on a DIB.
///
/// Blocks   CreateDIB CreateDIB2 CheckDIB CheckDIB2 CopyDIB
/// Views    CreateDIBImage SetWindowBitmap
/// To image I_CopyDIBtoImage I_CopyDIBtoImageEx I_CopyDIBtoImageShrink
/// To DIB   I_CopyBoxToDIB GetWindowBitmap I_CopyImageToDIB
/// In place ConvertDIBto24 I_MapDIBPalette DeflickerDIB
/// Files    I_ReadBMP I_ReadBMPtoDIB I_WriteBMP I_WriteDIBtoBMP I_GetBMPPixPerMeter
///
///     void *dib = I_CopyImageToDIB(im, 0);
///     int32_t view = CreateDIBImage(dib);
///     I_Invert(view, view);                       // changes the DIB
///     I_ImClose(view);                            // before the DIB is freed
///     I_WriteDIBtoBMP("negative.bmp", dib);       // consumes the DIB
///
/// Header: biSize 40, biPlanes 1, biCompression 0, biBitCount 1, 8, 24 or 32. Palette: 1 << bits entries of
/// blue, green, red and spare bytes, whatever biClrUsed says. Rows: (((bits * cols + 7) / 8) + 3) & ~3 bytes
/// each; a positive biHeight says that the bottom row is the first in memory, a negative one that the top row
/// is.
///
/// Consumed, freed by the call: the DIBs of I_CopyDIBtoImage, I_CopyDIBtoImageEx, I_CopyDIBtoImageShrink
/// (unless no image comes about at all), ConvertDIBto24 when it converts, I_WriteDIBtoBMP. Every other call
/// leaves its DIB to the caller, who frees it with vexaGlobalFree.
///
/// A null handle, or one of no block, gives 0 without an error.
#ifndef VEXALIB_DIB_H
#define VEXALIB_DIB_H

#include "vexalib/types.h"

/// @name Blocks
/// @{

/// Tests a DIB and tells where its pixels are.
///
/// The tests are made in this order, each leaving error 1 and its text:
///
///     biSize is 40                   "Corrupt DIB. biSize = %ld, should be %d."
///     (the outputs are written)
///     biPlanes is 1                  "Error: DIB has %d planes"
///     biBitCount is 1, 8, 24 or 32   "Error: DIB has %d bit pixels. 8, 24, and 32 bits are allowed. "
///                                    "Compression=%d."
///     biCompression is 0             "Error: DIB has compression=%d"
///     the block holds all its rows   "Corrupt DIB. %d x %d pixels of %d bits in %.0f bytes."
///
/// @param cols,rows,stride,bits receive the header's width, height (negative for a top-down DIB), the bytes
///        from row to row, the bits per pixel; each may be null
/// @return the first row in memory; null on a fault. The block stays locked on success.
VEXA_API void *CheckDIB2(void *dib, int32_t *cols, int32_t *rows, int32_t *stride, int32_t *bits);
/// CheckDIB2 without the stride.
VEXA_API void *CheckDIB(void *dib, int32_t *cols, int32_t *rows, int32_t *bits);
/// Makes a DIB: bottom-up, pixels zero, a grey ramp for a palette (entry i is i * (256 / colours) in all
/// three colours).
///
/// The block has room for rows of (((bits + 7) / 8) * cols + 3) & ~3 bytes, a byte per pixel even for 1 and 4
/// bits, and stays locked.
///
/// @param cols,rows at least 1
/// @param bits      1 to 32; 8 or fewer come with a palette
/// @param stride    receives the bytes of a row told here; may be null
/// @param pixels    receives the address of the first row in memory; may be null
/// @return a handle; null after the box "CreateDIB: Illegal size (%d x %d %d bits)", or with error 1
///         "CreateDIB GlobalAlloc failed on (%.3f MBytes) %d cols x %d bits x %d rows. ErrNo=%d=%s" or
///         "CreateDIB LockBitmap(%x) failed. Error %d"
VEXA_API void *CreateDIB2(int32_t cols, int32_t rows, int32_t bits, int32_t *stride, void **pixels);
/// CreateDIB2 without the stride.
VEXA_API void *CreateDIB(int32_t cols, int32_t rows, int32_t bits, void **pixels);
/// Copies bytes of the block, from its header on.
/// @param buffer    length bytes; null gives 0
/// @param offset    where in the block, in bytes; a negative one gives 0
/// @param length    at most what the block has from there on is copied
/// @param direction 0 from the buffer into the block, otherwise out of the block
/// @return 1, even where nothing was left to copy; 0 if the block cannot be locked
VEXA_API int32_t CopyDIB(void *dib, void *buffer, int32_t offset, int32_t length, int32_t direction);
/// @}

/// @name Views
/// @{

/// Opens an image on the pixels of a DIB. Close it before the DIB is freed.
///
///     bits  type                                          inverted (parameter 19)
///     8     PIX_BYTE, or PIX_PALETTE with the palette     biHeight > 0
///     24    PIX_BGR24                                     biHeight > 0
///     32    PIX_BGR32                                     biHeight > 0
///     1     PIX_BYTE, not a view: pixels of its own       no
///
/// 8 bits are PIX_BYTE if the palette rises: no entry from 18 to 229 has a green of 0, or one below the red
/// of the entry before. For 1 bit each pixel is the red of its palette entry; within I_CopyDIBtoImageShrink
/// the mean red, truncated, of factor * factor pixels, counted from the lower left corner. Tells progress as
/// "1-bit shrink".
/// @return an image; 0 with the errors of CheckDIB2 or of opening an image
VEXA_API int32_t CreateDIBImage(void *dib);
/// Copies a DIB onto an image at (x, y). The DIB is kept.
/// @return 1; 0 if nothing of it lies in the image, with the errors of CreateDIBImage or I_ImCopyBlock, or
///         after the box "SetWindowBitmap(): Illegal parameters: %d %d %d" (x, y, im) for a negative x or y
VEXA_API int32_t SetWindowBitmap(int32_t x, int32_t y, int32_t im, void *dib);
/// @}

/// @name To image
/// @{

/// Makes an image of a DIB, top row first, and consumes the DIB.
///
/// Images of 8 bits are PIX_BYTE, with the DIB's palette as parameter 13; the indices are copied as they are.
/// A DIB of more than 60000000 bytes of pixels is not copied: its view becomes the image, owns the DIB
/// (parameter 10) and keeps its type; rows that are bottom-up are turned over in place.
///
/// @param comment given to the image; an image of a 1-bit DIB gets none
/// @return an image; 0 if there is no view (the DIB is then still the caller's) or no memory for the copy.
///         Rows that have no address are copied all the same, and leave error 1 "I_CopyDIBtoImageEx dptr=%x,
///         sptr=%x type=%d imDest=%d imDIB=%d". Posts "CopyDIBtoImage: Invert Failed" where rows could not be
///         turned over.
VEXA_API int32_t I_CopyDIBtoImageEx(void *dib, const char *comment);
/// I_CopyDIBtoImageEx with an empty comment.
VEXA_API int32_t I_CopyDIBtoImage(void *dib);
/// I_CopyDIBtoImageEx with a 1-bit DIB reduced to grey: by 4, a picture a quarter of the size.
/// @param factor held to 1 to 256
VEXA_API int32_t I_CopyDIBtoImageShrink(void *dib, int32_t factor, const char *comment);
/// @}

/// @name To DIB
/// @{

/// Makes a bottom-up DIB of a box of an image: 8 bits for types below PIX_BGR15, 24 bits for the others.
/// Numbers become bytes as I_ImCopyBlock scales them.
///
/// The palette is the display's (I_GetGraphicsPalette) for PIX_BYTE, the image's own for PIX_PALETTE, a grey
/// ramp for all other types. With the overflow colour on (I_SetOverflowColor), blue 0 in entry 0 makes
/// entries 0 and 1 blue (100), and blue 255 in entry 255 makes entries 254 and 255 yellow (blue 50), so that
/// clipped pixels show.
///
/// @param x,y       negative counts as 0
/// @param cols,rows below 1: added to what is left from x or y (0 is all of it, -10 all but ten), and all of
///        it where that is still below 1; held to what is left
/// @return a handle; null for an image of 0 without an error, for a bad one with error 20 or 24, and with the
///         errors of CreateDIB2 or the box "I_CopyBoxToDIB: I_ImOpenPtr failed(%d %d %d %lx)" (cols, rows,
///         stride, address)
VEXA_API void *I_CopyBoxToDIB(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);
/// The same under another name.
VEXA_API void *GetWindowBitmap(int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);
/// I_CopyBoxToDIB of the whole image.
/// @param close non-zero closes the image, whatever comes of it
VEXA_API void *I_CopyImageToDIB(int32_t im, int32_t close);
/// @}

/// @name In place
/// @{

/// Makes a DIB of 24 bits of one with a palette, and consumes it.
///
/// A palette of other than 256 colours leaves error 1 "ConvertDIBto24: ncolors=%d" and is converted all the
/// same.
/// @return the new handle, rows in the same order; dib itself if it has more than 8 bits. Null, the DIB being
///         kept, with the errors of CheckDIB2, or with error 1 "ConvertDIBto24: stride=%d, pix24=%x" where
///         there is no memory.
VEXA_API void *ConvertDIBto24(void *dib);
/// Makes a DIB whose palette is almost grey exactly grey, for operators that see its pixels as grey values.
///
/// The colour of a palette is the greatest |r - g| or |r - b| of its first 252 entries. Below 5, each pixel
/// becomes the grey (r + g + b) / 3 of its entry, and entry i becomes (i, i, i): all 256 if red and green of
/// entry 253 are equal, else the first 252, the others staying as overlay colours. (A 1-bit palette gets its
/// greys itself.) From 5 on, the DIB is converted by ConvertDIBto24.
/// @return dib, also for more than 8 bits and for a bad DIB; or the result of ConvertDIBto24
VEXA_API void *I_MapDIBPalette(void *dib);
/// Makes the rows of each pair equal, as rows in memory: 2k becomes 2k + 1 with the flag set, 2k + 1 becomes
/// 2k without.
///
///     rows   0 1 2 3      0 1 2 3 4
///     flag 0 0 0 2 2      1 1 3 3 4
///     flag 1 1 1 2 3      0 0 2 2 4
///
/// An odd number of rows turns the flag over. With the flag set, pairs are counted from row 1, so that of an
/// even number of rows the last pair stays as it is.
/// @return dib
VEXA_API void *DeflickerDIB(void *dib, int32_t flag);
/// @}

/// @name Files
/// @{

/// Reads a BMP file of 8, 24 or 32 bits into a new image of PIX_BYTE, PIX_BGR24 or PIX_BGR32, top row first,
/// rows as far apart as in the file. The palette is ignored.
///
/// @return an image; 0, with nothing left behind, with one of
///         16 "(%s)": the file does not open;
///         1 "Invalid BMP file.": it does not begin with BM and a header of biSize 40, biPlanes 1,
///         biCompression 0, or is too short for its rows, which is found out before memory is asked for;
///         1 "Error: %s has %d bit pixels. 8, 24, and 32 bits are allowed.";
///         2 "I_ReadBMP %d cols" in the frame of malloctest, or the errors of opening an image
VEXA_API int32_t I_ReadBMP(const char *name);
/// Reads a BMP file of up to 32 bits, whatever their number, into a new DIB of the same row order. Entries of
/// the palette for which the file has no room in front of its pixels are black.
/// @return a handle; null with the errors of I_ReadBMP for a file, or those of CreateDIB2
VEXA_API void *I_ReadBMPtoDIB(const char *name);
/// Writes a DIB to a BMP file, with its own palette, and consumes it, whether it could be written or not.
/// @return the rows written; 0 with 16 "(%s)", 1 "BMP file header didn't write", or the errors of CheckDIB2
VEXA_API int32_t I_WriteDIBtoBMP(const char *name, void *dib);
/// Writes an image to a BMP file.
///
/// PIX_BYTE and PIX_BGR24 with an address and a stride of (cols + 3) & ~3 are written as they lie in memory:
/// under a negative biHeight, or a positive one if the image is inverted, with a grey ramp for a palette. All
/// others, and so nearly every colour image, go by way of I_CopyImageToDIB.
/// @return the rows written; 0 with the errors of I_WriteDIBtoBMP, 20 or 24 for a bad image
VEXA_API int32_t I_WriteBMP(const char *name, int32_t im);
/// The horizontal resolution of the BMP file read last, in pixels per metre, 0 before the first.
/// @param x,y both receive it; each may be null
/// @return the same
VEXA_API int32_t I_GetBMPPixPerMeter(int32_t *x, int32_t *y);
/// @}

#endif
