/// The colour model: which band of a colour image operators see, conversion between colour types, raw
/// colours.
///
/// A colour image has a type of 12 or more. Operators on numbers meet it through two settings. The processing
/// mode says whether they work on one band (0 red, 1 green, 2 blue), on a grey (-2 mean, -3 weighted) or,
/// from 3 on, on all bands together; in that last case a band may be selected for the next operator alone.
///
/// Settings    I_SetColorProcMode I_GetColorProcMode I_ResetColorProcMode I_SetStatsProcMode I_SetColorBand
///             I_GetColorBand I_SetBgrndColor I_GetBgrndColor
/// Conversion  ConvertColorType PlanarToPacked ConvertSpace
/// Palettes    ClosestRGB make332colorluts I_ApplyPalette
/// Raw pixels  GetRawColor GetRawColorRGB InvertRawLine
///
///     I_SetColorBand(1);                                     // green
///     I_GetBlockType(0, 0, 64, 64, bytes, im, PIX_BYTE);     // the green bytes of a colour image
///     blur(bytes, 64, 64);
///     I_PutBlockType(0, 0, 64, 64, bytes, im, PIX_BYTE);     // red and blue stay
///     I_SetColorBand(-2);
///
/// All settings are process-wide. Palettes are 256 entries of blue, green, red and spare bytes.
#ifndef VEXALIB_COLOR_H
#define VEXALIB_COLOR_H

#include "vexalib/types.h"

/// @name Settings
/// @{

/// Sets the colour processing mode, 3 at first. Any number is taken as it is.
VEXA_API void I_SetColorProcMode(int32_t mode);
VEXA_API int32_t I_GetColorProcMode(void);
/// Restores the processing mode that the last I_SetStatsProcMode found; 3 if there was none.
VEXA_API void I_ResetColorProcMode(void);
/// Sets the processing mode for a statistic over colour images: mode for -3, -2, 0 and 2, and 1 for all
/// others. The mode before is kept for I_ResetColorProcMode. Statistics that set the mode themselves use the
/// last number given here, -2 at first.
VEXA_API void I_SetStatsProcMode(int32_t mode);
/// Selects a band for the next operator: every frame that writes ends by clearing the selection.
///
///     band       0, 252   1, 253   2, 254   any other
///     selected     red    green     blue    none (-2)
VEXA_API void I_SetColorBand(int32_t band);
/// @return the processing mode if it is below 3, else the selected band or -2
VEXA_API int32_t I_GetColorBand(void);
/// Sets the background colour, 0x00RRGGBB, 0 at first.
/// @param color -2 and below change nothing
/// @return the colour before
VEXA_API int32_t I_SetBgrndColor(int32_t color);
VEXA_API int32_t I_GetBgrndColor(void);
/// @}

/// @name Conversion
/// @{

/// Converts n pixels where one side at least is a colour.
///
///     type         red               green             blue              stored in
///     PIX_PALETTE  entry's byte 2    byte 1            byte 0            1 byte, the index
///     PIX_BGR15    bits 10 to 14     bits 5 to 9       bits 0 to 4       2 bytes
///     14           bits 1 to 5       bits 6 to 10      bits 11 to 15     2 bytes
///     PIX_BGR16    bits 11 to 15     bits 5 to 10      bits 0 to 4       2 bytes
///     PIX_BGR24    byte 2            byte 1            byte 0            3 bytes
///     PIX_RGB24    byte 0            byte 1            byte 2            3 bytes
///     PIX_BGR32    byte 2            byte 1            byte 0            4 bytes, byte 3 stays as it was
///     PIX_RGB32    byte 1            byte 2            byte 3            4 bytes, byte 0 stays as it was
///     PIX_PLANAR   first n bytes     next n            last n            3 planes
///
/// Fewer than 8 bits of a component are its high bits, the rest being 0.
///
/// To PIX_BYTE, by I_GetColorBand: 0 to 2 that component; -3 (35 r + 50 g + 15 b) / 100; any other (r + g +
/// b) / 3, both truncated. PIX_PALETTE is copied as it is if the palette is grey (I_PaletteIsGrayscale). From
/// PIX_BYTE: into the selected component, the others staying as they are, or into all three if none is
/// selected; into PIX_PALETTE as it is. PIX_PALETTE to another number is the mean (r + g + b) / 3 of its
/// entry.
///
/// A colour becomes the index of the palette entry with the same upper six bits of each component, the last
/// of several; without one, the entry with the smallest sum of differences, or the first with a sum below 4.
/// The colour that is met first decides for all with its upper six bits, until a conversion uses another
/// palette.
///
/// @param source,dest n pixels each, as stored above; overlapping runs come out as if the source had been
///        copied first
/// @param sourcePalette needed where the source is PIX_PALETTE; for PIX_BYTE null counts as grey
/// @param destPalette   needed where another colour becomes PIX_PALETTE
/// @return 1, also for equal types and for n below 1, when nothing is done; 0, dest staying as it was, for a
///         null pointer without an error, and with one of
///         1 "ConvertColorType illegal non-byte types: %d to %d. %d pixels": a colour and non-bytes;
///         1 "Null sPalette in ConvertColorType": a palette is missing, whichever it is;
///         2 "ConvertColorType Npix=%d" in the frame of malloctest: overlapping runs, no memory for a copy;
///         the box "ConvertColorType: Illegal types: %d %d": no colour at all;
///         the box "PackedToPlanar: Illegal stype=%d." or "Illegal dtype=%d.": a number that is no type.
///
/// From 1000000 pixels on, conversions pixel by pixel tell progress: "ConvertColorType,%.3f Mpix. type %d to
/// %d.".
VEXA_API int32_t ConvertColorType(const void *source, int32_t sourceType, const void *sourcePalette,
                                  void *dest, int32_t destType, const void *destPalette, int32_t n);
/// Packs three planes of bytes into n pixels of a colour type, as the table of ConvertColorType tells.
///
/// @param palette needed for PIX_PALETTE
/// @param red,green,blue n bytes each; a component whose plane is null stays as it is in dest
/// @return 1; for PIX_BYTE, PIX_PLANAR and 25, which have no packed form, with nothing done. 0 with error 1
///         "Null sPalette in ConvertColorType", with the box "Illegal dtype=%d.", or for a null dest.
VEXA_API int32_t PlanarToPacked(void *dest, int32_t destType, const void *palette, const uint8_t *red,
                                const uint8_t *green, const uint8_t *blue, int32_t n);
/// Copies three planes of n bytes, each where its pointers differ, if the two colour spaces are the same
/// number; otherwise nothing is done.
VEXA_API void ConvertSpace(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t sourceSpace,
                           uint8_t *destRed, uint8_t *destGreen, uint8_t *destBlue, int32_t destSpace,
                           int32_t n);
/// @}

/// @name Palettes
/// @{

/// The entry of a palette of 3, 3 and 2 bits for a colour, and what is left over, for error diffusion.
///
/// Red and green are held to 0 to 247, blue to 0 to 243; with each looked up in the display's gamma table the
/// entry is (g & 224) + ((r >> 3) & 28) + (b >> 6).
///
/// @param redError,greenError,blueError receive the held components less the display palette's at that entry;
///        each may be null
VEXA_API int32_t ClosestRGB(int32_t red, int32_t green, int32_t blue, int32_t *redError, int32_t *greenError,
                            int32_t *blueError);
/// Makes the display palette one of 3, 3 and 2 bits: entry i of the red table is i & 224, of the green table
/// (i & 28) * 8, of the blue table (i & 3) << 6, each through I_MakeGammaLUT with 1 / I_GetGammaCRT. No entry
/// is reserved for graphics colours, so that the highest pixel value becomes 255; the colour mode itself
/// stays.
/// @return as I_SetDisplayLUTs
VEXA_API int32_t make332colorluts(void);
/// Makes a byte image one of palette indices and gives it three tables of 256 bytes as its palette.
/// @return 1; 0 for an image of 0, a type other than PIX_BYTE and PIX_PALETTE or a null table without an
///         error, for a bad image with error 20 or 24 under the name "ApplyPalette"
VEXA_API int32_t I_ApplyPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue, int32_t im);
/// @}

/// @name Raw pixels
/// @{

/// The bytes that a pixel of an image holds for a colour number, for drawing.
///
///     color          bytes
///     below 0        of the background colour (I_SetBgrndColor)
///     PIX_BYTE       the low byte of the number
///     other types    of the display palette's entry (low byte of the number); a grey of it without a palette
///
/// @return I_ImTypeBytes bytes, good until the next call; null for an image of 0 or a bad one (error 20 or
///        24)
///
/// The same number for the same image as before gives the same bytes, even if the display palette has changed
/// since.
VEXA_API uint8_t *GetRawColor(int32_t color, int32_t im);
/// The bytes that a pixel of an image holds for a colour 0x00RRGGBB: the low byte for PIX_BYTE, the packed
/// components for colour types, and for all others what becomes of the colour when it is written to pixel (0,
/// 0) as PIX_BGR24. That pixel is put back.
/// @return as GetRawColor, good until the next call of this function
VEXA_API uint8_t *GetRawColorRGB(int32_t rgb, int32_t im);
/// Inverts n raw pixels so that a drawing shows on any ground, and disappears when drawn twice: pixels of 1,
/// 3 and 4 bytes by XOR of each byte with 128, pixels of 2 bytes by XOR with the raw pixel for 0x808080 in
/// the image. Other sizes stay as they are.
/// @param bytes size of a pixel; 0 takes the image's
VEXA_API void InvertRawLine(void *buffer, int32_t n, int32_t bytes, int32_t im);
/// @}

#endif
