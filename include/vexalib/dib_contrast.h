/// How a DIB looks: contrast, gamma, false colour, equalising, field order.
///
/// A DIB with a palette changes by its palette alone, its pixels stay as they are. A DIB of 24 or 32 bits has
/// none: its pixels go through the same tables, by way of a view (CreateDIBImage).
///
/// Palettes   GetDIBPalette SetDIBPalette ModifyDIBPalette
/// Tables     I_GammaCorrectDIB SetDIBContrast I_SetDIBFalseColor
/// Automatic  I_NormalizeDIBLimited NormalizeDIBContrast EqualizeDIBContrast
/// Fields     InterlaceDIB
///
///     void *dib = I_CopyImageToDIB(im, 0);
///     SetDIBContrast(dib, 40, 180);          // 40 shows black, 180 white
///     I_WriteDIBtoBMP("bright.bmp", dib);
///
/// All but GetDIBPalette return the handle they are given and leave the DIB to the caller. A null or bad
/// handle changes nothing and comes back as it is; a bad one leaves an error of CheckDIB2 (dib.h).
#ifndef VEXALIB_DIB_CONTRAST_H
#define VEXALIB_DIB_CONTRAST_H

#include "vexalib/types.h"

/// @name Palettes
/// @{

/// Reads the palette into three tables of 256 words, entry by entry.
///
/// @param red,green,blue a DIB of 1 bit fills the first two words; each may be null
/// @return 1; 0 if the DIB is bad or has no palette: all 256 words are then (255 * i) >> 8
VEXA_API int32_t GetDIBPalette(void *dib, int16_t *red, int16_t *green, int16_t *blue);

/// Sets the palette from three tables of 256 words, of which the low bytes count.
///
/// More than 8 bits: the pixels inside the region of interest are mapped by I_RGBLUTMap. A region of type 1
/// is turned upside down for this, top and bottom becoming rows - bottom - 1 and rows - top - 1, and is put
/// back afterwards; others are taken as they are.
///
/// @param red,green,blue if any is null, all three count as the identity
VEXA_API void *SetDIBPalette(void *dib, const int16_t *red, const int16_t *green, const int16_t *blue);

/// Sends each colour of the palette through a table, or, above 8 bits, the pixels inside the region of
/// interest by I_LUTMapROI, the region being taken as it is.
/// @param table 256 bytes; null changes nothing
VEXA_API void *ModifyDIBPalette(void *dib, const uint8_t *table);
/// @}

/// @name Tables
/// @{

/// ModifyDIBPalette with the table of I_MakeGammaLUT.
VEXA_API void *I_GammaCorrectDIB(void *dib, double gamma);

/// A ramp of greys from low to high, in 8.8 fixed point, for all three colours (SetDIBPalette).
///
///     step = 65280 / (high - low), high being 1 higher if the two are equal
///     entry i = (i - low) * step >> 8, 0 below 0, 253 from 256 on; entries 254 and 255 are 254 and 255
///
/// SetDIBContrast(dib, 100, 100) gives 0 up to 100, 255 at 101, then 253. SetDIBContrast(dib, 0, 255) gives
/// the identity. With the overflow colour on (I_SetOverflowColor) entries 0 and 1 of blue are raised by 50,
/// and entries 254 and 255 of blue are 50.
VEXA_API void *SetDIBContrast(void *dib, int32_t low, int32_t high);

/// The colours of I_FalseColorLUT(low, high, ..., 1, 1) (SetDIBPalette).
///
///     low equal to high    the identity
///     high below 2         the range 0 to 255
///
/// With low above high I_FalseColorLUT fails with error 12, and the DIB stays as it is.
VEXA_API void *I_SetDIBFalseColor(void *dib, int32_t low, int32_t high);
/// @}

/// @name Automatic
/// @{

/// SetDIBContrast between the grey levels that leave 2 per mille of the pixels at either end. DIBs of other
/// than 8 bits stay as they are.
///
/// Counted are the pixels in the bounding box of the region; where that is empty, or comes nearer than 2
/// pixels to the right or lower edge, those of the whole picture.
///
/// @param limit largest gain; above 0 a range below trunc(255 / limit) grows to that: by half of the
///              difference downward, but not below 0. With a limit of 4, levels 100 to 120 show as 79 to 142.
///
/// With the debug word set (I_SetDebug) shows "histrange=%d %d (%d)" of the levels and their distance.
VEXA_API void *I_NormalizeDIBLimited(void *dib, float limit);
/// I_NormalizeDIBLimited with a limit of 0: none.
VEXA_API void *NormalizeDIBContrast(void *dib);

/// Equalises the histogram of the picture's central half, by HistEqualizeLUT.
///
///     bands of its view (I_ImGetNBands)    changes
///     1                                    its palette, to the same table in all three colours
///     3: 24 bits, 32 bits, 8 bits with     all its pixels, by I_LUTMapROI
///     a palette of colours (PIX_PALETTE)
///
/// @param levels the limit of HistEqualizeLUT, in per cent; 0 or below sets the identity (SetDIBPalette)
///
/// With levels above 0 the region of interest is the whole image afterwards (type 0), its window being the
/// central half: cols / 4, rows / 4, 3 * cols / 4, 3 * rows / 4.
VEXA_API void *EqualizeDIBContrast(void *dib, int32_t levels);
/// @}

/// @name Fields
/// @{

/// Puts the rows of two fields that arrived one after the other in alternating order.
///
/// Rows are counted in memory. With a second of 0 or above, all rows are first taken out and the DIB is
/// cleared; then, for i = 0, 2, 4, ... below rows - 1, with r = rows - i / 2,
///
///     row r - first - 1 goes to row rows - 1 - i, and row r - second - 1 to row rows - 2 - i,
///
/// each if there is such a row. With a negative second, rows 3, 5, 7, ... move to rows 1, 3, 5, ... up to
/// rows - 3. Leaves error 2 "InterlaceDIB" in the frame of malloctest, and the DIB as it is, without memory.
VEXA_API void *InterlaceDIB(void *dib, int32_t first, int32_t second);
/// @}

#endif
