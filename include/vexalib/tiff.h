/// TIFF files: uncompressed, 8 bits a sample, one strip.
///
/// Modes       I_SetTiffColorModes
/// Whole files I_WriteTiffFile I_ReadTiffFile
/// Headers     I_WriteTiffHeader I_ReadTiffHeader I_ReadStdTiffHeader
/// Open files  I_WriteTiffWindow I_ReadTiffWindow I_ReadTiffWindowScaled
/// Rows        convTIFFrow PutRowToRGB
///
///     int32_t cols, rows;
///     I_WriteTiffFile("part.tif", 10, 10, 100, 80, im); // a window of im
///     I_ReadTiffFile("part.tif", 0, 0, &cols, &rows, other);
///     if (cols > 100)
///         I_ShowError("part.tif");
///
/// The writer makes one fixed layout, always little-endian. Its header block has 182 bytes; base stands for
/// 182, or 188 with three samples a pixel:
///
///     tag  what                 value                                              written
///     254  kind of picture      1                                                  always
///     256  width                                                                   always
///     257  height                                                                  always
///     258  bits of a sample     8; three samples: 8, 8, 8 at 182                   always
///     259  compression          1                                                  always
///     262  photometric          three samples 2, palette 3, else 1                 always
///     270  comment              at base, which grows by the even length            if given
///     273  place of the pixels  base + 16, with a palette base + 3088              always
///     277  samples a pixel      1 or 3                                             always
///     278  rows of the strip    height                                             always
///     279  bytes of the strip   samples * width * height                           always
///     282  x resolution         width / trunc(pixel aspect * 1500), at base        always
///     283  y resolution         height / 1500, at base + 8                         always
///     284  samples together     1                                                  three samples
///     296  unit of resolution   2                                                  always
///     320  palette              256 red, green, blue words (byte << 8), base + 16  if given
///
/// Behind a palette 1536 bytes stay free. There is room for 14 entries: a comment goes neither with a palette
/// nor with three samples.
///
/// The reader takes either byte order and any header as long as the pixels lie in one plain run. It reads no
/// compression and one strip only: compressed bytes arrive as pixels, and behind the first strip it goes on
/// with whatever follows. Rows are the picture's from the top, also of images whose rows lie bottom-up.
#ifndef VEXALIB_TIFF_H
#define VEXALIB_TIFF_H

#include "vexalib/types.h"

/// A palette: three tables of 256 bytes. A null red pointer means no palette.
typedef struct VexaTiffPalette {
    uint8_t *red;
    uint8_t *green;
    uint8_t *blue;
} VexaTiffPalette;

/// @name Modes
/// @{

/// Sets the process-wide colour modes, all 0 at first.
///
/// @param writeRGB non-zero: three samples a pixel are written
/// @param readRGB  non-zero: files have three samples a pixel. The header readers set this by tag 262
/// @param closest  non-zero: colour that is read into one band becomes the index of ClosestRGB; 0: the mean
VEXA_API void I_SetTiffColorModes(int32_t writeRGB, int32_t readRGB, int32_t closest);
/// @}

/// @name Whole files
/// @{

/// Writes a window of an image to a file.
///
/// An image of one band (I_ImGetNBands) is written with one sample a pixel and a palette: its own
/// (parameter 13) for PIX_PALETTE, else the display's (I_GetGraphicsPalette). A palette whose red and green
/// tables are equal, with red 1 at 1 and 251 at 251, counts as grey and is left out. An image of three bands
/// is written with three samples. Numbers other than bytes become bytes as in I_GetBlockType.
///
/// An existing file is written into and not cut: what a longer one held behind the picture stays.
///
/// @param x,y       corner of the window; a negative one counts as 0
/// @param cols,rows its size; below 1 up to the image's edge, and no more than that
/// @return 1; or 0 with
///         16 "(NAME)": the file does not open;
///         19 "(NAME).": the header could not be written;
///         19 "disk full.": the rows could not be written;
///         46 "I_MakeRowBuffer(%d,%d,%u)" if nothing of the image lies in the window, or error 2 of
///         I_MakeRowBuffer;
///         20 or 24 (lookup name "I_ImGetSize"): no such image
///
/// Sets the colour modes: both to 1 for an image of three bands, else to 0. Leaves no colour band selected.
VEXA_API int32_t I_WriteTiffFile(const char *name, int32_t x, int32_t y, int32_t cols, int32_t rows,
                                 int32_t im);

/// Reads a file into an image, at (x, y) or as much further left and up as it takes to make it fit.
///
///     file                type of its pixels on the way (I_RectCopy)
///     with a palette      PIX_PALETTE with that palette
///     three samples       PIX_RGB24
///     all others          PIX_BYTE
///
/// Of a file larger than the image the upper left part is read. Pixels that the file ends before become 0 and
/// leave error 18, with a result of 1.
///
/// @param cols,rows receive the file's size, whatever comes of the pixels; each may be null
/// @return 1; or 0 with the errors of I_ReadTiffHeader, with 1 "Corrupt Tiff Image" for a width or height
///         below 1, and with those of I_ImOpenFile and I_ImCopyBlock
///
/// Sets the colour modes: writing by the image's bands, reading by the file's samples.
VEXA_API int32_t I_ReadTiffFile(const char *name, int32_t x, int32_t y, int32_t *cols, int32_t *rows,
                                int32_t im);
/// @}

/// @name Headers
/// @{

/// Writes the header of a file, with as many samples a pixel as the mode says, and leaves the file at the
/// place of the pixels.
///
/// @param width,height    are written as they are, in 16 bits where the layout has words
/// @param comment         null, or a commentLength below 1, means none
/// @param commentLength   bytes of the comment that are written, with or without a terminating zero
/// @param palette         null, or one with a null red pointer, means none
/// @return the open file, to be closed by the caller; or null with
///         36 "TIFF_TOO_MANY_IFDS": more than 14 entries; the file is not touched;
///         16 "(NAME)": the file opens neither for a change nor anew;
///         19 "(NAME).": the header could not be written
VEXA_API FILE *I_WriteTiffHeader(const char *name, int32_t width, int32_t height, const char *comment,
                                 int32_t commentLength, const VexaTiffPalette *palette);

/// Opens a file, reads its first directory and leaves the file at the place of the pixels.
///
/// Tags that are read; all others are passed over:
///
///     256, 257  width, height, as signed 16-bit numbers: 40000 reads as -25536
///     258       bits of a sample, the first of several: 8
///     262       photometric: inverted if 0, three samples (readRGB) if 2. A file without it leaves both as
///               they were
///     270       comment
///     273, 279  place and bytes of the first strip
///     277       samples a pixel, as a signed 16-bit number; 1 without the tag
///     278       the height if that is still 0
///     284       1
///     320       palette, if one is asked for: the high bytes of three tables of 256 words
///     36000     256 floats for the intensity calibration table (geticaltable)
///
/// A width that is still 0 becomes the bytes of the strip divided by the height. A directory that ends too
/// early counts as far as it goes.
///
/// @param width,height,bits,samples receive what the header says; each may be null; unchanged on failure
/// @param comment       receives the comment and a zero; the empty text if there is none; may be null
/// @param commentLength on entry the bytes in the buffer, afterwards the bytes of the comment in it; null
///                      counts as an empty buffer
/// @param palette       three tables of 256 bytes that receive the palette; red becomes null where the file
///                      has none; null or a null red asks for none. Nothing is written where a pointer is null
/// @return the open file, to be closed by the caller; or null with
///         16 "(NAME).": the file does not open;
///         37 "Empty file": it has fewer than 8 bytes;
///         37 "Not a TIFF file": it begins with neither II nor MM;
///         37 "Multiple offsets aren't supported": the second word is not 42;
///         37 "%d bits per pixel not supported";
///         37 "Planar configuration %d not supported";
///         37 "Bad header -- unknown image width": no width, and none from the strip;
///         18 "(NAME).": the pixels, or the palette or table of a tag, lie behind the end
VEXA_API FILE *I_ReadTiffHeader(const char *name, int32_t *width, int32_t *height, int32_t *bits,
                                char *comment, int32_t *commentLength, VexaTiffPalette *palette,
                                int32_t *samples);

/// I_ReadTiffHeader without the bits.
/// @param inverted receives 1 if the last file with a tag 262 said that low samples are bright, else 0; may
///                 be null; unchanged on failure
VEXA_API FILE *I_ReadStdTiffHeader(const char *name, int32_t *width, int32_t *height, char *comment,
                                   int32_t *commentLength, VexaTiffPalette *palette, int32_t *samples,
                                   int32_t *inverted);
/// @}

/// @name Open files
/// All take a null file for a failure without an error.
/// @{

/// Writes a window of an image, row after row, from where the file stands on.
///
///     mode      image        row
///     writeRGB  three bands  red, green, blue of each pixel
///     writeRGB  one band     the display palette's red, green, blue of each byte
///     else      any          bytes; of PIX_PALETTE the indices
///
/// What of the window lies outside the image is written as zeros.
///
/// @return 1; or 0 with 19 "disk full.", the errors of I_MakeRowBuffer (46 for a size below 1), or 20 or 24
///         (lookup name "I_ImGetType"). Leaves no colour band selected.
VEXA_API int32_t I_WriteTiffWindow(FILE *file, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);

/// Reads rows of cols pixels, of three samples if the mode readRGB is set, to the image at (x, y).
///
///     mode     image        pixel
///     readRGB  three bands  samples 0, 1, 2 to red, green, blue
///     readRGB  one band     (r + g + b) / 3, or the index of ClosestRGB if that mode is set
///     else     three bands, and the file read last has a palette: PutRowToRGB
///     else     any          bytes
///
/// What lies outside the image is read and dropped.
///
/// @return 1; or 0 with 18 "len=%u, should be %u" of the bytes that the last read gave and should have given,
///         the rows that arrived being there; with the errors of I_MakeRowBuffer; or 20 or 24 (lookup name
///         "I_ImGetType")
VEXA_API int32_t I_ReadTiffWindow(FILE *file, int32_t x, int32_t y, int32_t cols, int32_t rows, int32_t im);

/// Reads the rectangle srcLeft to srcRight by srcTop to srcBottom of a file into dstLeft to dstRight by dstTop
/// to dstBottom of the image, all inclusive, by the nearest pixel to the upper left. The file stands at its
/// first pixel.
///
///     step y = ((srcBottom - srcTop + 1) << 16) / (dstBottom - dstTop + 1)
///     step x = (min(srcRight - srcLeft + 1, fileCols) << 16) / (dstRight - dstLeft + 1)
///     dst(dstLeft + i, dstTop + j) = file(srcLeft + (i * step x >> 16), srcTop + (j * step y >> 16))
///
/// srcRight and srcBottom are first held to the file, srcLeft and srcTop to 0. Without any scaling, from
/// corner (0, 0), and if the target is as wide as the file, this is I_ReadTiffWindow. Pixels become what
/// I_ReadTiffWindow makes of them.
///
/// @param fileCols,fileRows size of the picture in the file
/// @return 1; or 0 if one of the rectangles is empty, with the errors of I_ReadTiffWindow, or with error 2
///         "I_ReadTiffWindowscaled" in the frame of malloctest
VEXA_API int32_t I_ReadTiffWindowScaled(FILE *file, int32_t fileCols, int32_t fileRows, int32_t srcLeft,
                                        int32_t srcTop, int32_t srcRight, int32_t srcBottom, int32_t dstLeft,
                                        int32_t dstTop, int32_t dstRight, int32_t dstBottom, int32_t im);
/// @}

/// @name Rows
/// @{

/// One band of a row of samples.
///
///     fileSamples  imageBands  target[i]
///     not 3        any         source[i]
///     3            3           source[3 * i + band]
///     3            any other   (r + g + b) / 3, or the index of ClosestRGB if that mode is set
///
/// @param band   0 red, 1 green, 2 blue
/// @param source pixels * fileSamples bytes, or pixels bytes where fileSamples is not 3
/// @param target pixels bytes; may be source
/// @return 1; 0 for a null pointer or a band that is none
VEXA_API int32_t convTIFFrow(int32_t fileSamples, int32_t imageBands, int32_t band, const uint8_t *source,
                             uint8_t *target, int32_t pixels);

/// Puts a row of bytes to the three bands of an image at (x, y), mapped through the red, green and blue table
/// of the display; unmapped, as I_PutBlockType does, if there is no memory for those tables.
/// @return 1; 0 for a null row or with the errors of I_PutBlockType. Leaves no colour band selected.
VEXA_API int32_t PutRowToRGB(int32_t x, int32_t y, const uint8_t *row, int32_t cols, int32_t im);
/// @}

#endif
