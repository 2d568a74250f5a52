/// Look-up tables: mapping pixels through them, building them, and the display palette.
///
///     mapping           I_LUTMapROI I_RGBLUTMap I_MapLUTType
///     curves            I_MakeGammaLUT LogLUT I_StretchLUT I_StretchLUT1 I_InvertLUT I_NormLUT I_SteppedLUT
///     histograms        HistEqualizeLUT I_EqualizeLUT
///     thresholds        I_ThreshLUT I_DualThreshLUT I_DualLinThreshLUT
///     false colour      I_FalseColorLUT I_FalseColorToGray
///     display palette   I_SendLUT I_SetDisplayLUTs I_SetGraphicsPalette I_GetGraphicsPalette
///     display settings  I_GetColorMode I_SetColorMode I_GetGammaCRT I_SetGammaCRT
///     data files        setsearchpath getsearchpath
///
/// Example: show the grey levels from 40 to 180 over the full range.
///
///     uint8_t table[256];
///     I_StretchLUT(40, 180, table);
///     I_LUTMapROI(im, im, table);
///
/// A table is 256 bytes, one per pixel value, in memory of the caller. Where nothing else is said, a null
/// table changes nothing and gives 0, without an error.
///
/// The highest pixel value, named TOP below, is 255 or 251. It starts as 255. Making the display tables
/// under a colour mode other than 0 (the mode starts as 1) sets it to 251, for entries 252 to 255 are then
/// graphics colours; the tables are made by the first call that needs them: those under "display palette",
/// I_SetColorMode and I_SetGammaCRT. Without memory for them such a call leaves error 2 with "initluts()".
#ifndef VEXALIB_LUT_H
#define VEXALIB_LUT_H

#include "vexalib/types.h"

/// @name Mapping
/// @{

/// Maps each byte through a table: dest(x, y) = table[src(x, y)], inside the region of interest.
///
/// Images of other types are converted to bytes and back. A colour image changes in the selected band, or
/// in all bytes of its pixels, the spare one included, where the colour processing mode takes all bands
/// together.
///
/// @param imSrc  source
/// @param imDest receives the result; may be imSrc. Where the two share memory at different places, pixels
///               are read and written from left to right
/// @param table  256 bytes, not changed
/// @return 1; 0 for null, or as I_UnaryOpType: error 20 or 24 for an image that is not open, error 2
///         "I_UnaryOp %d bytes" without memory for the conversion rows
///
/// Ends with no colour band selected.
VEXA_API int32_t I_LUTMapROI(int32_t imSrc, int32_t imDest, const uint8_t *table);

/// Maps each colour of a pixel through a table of its own.
///
///     imDest's type                  works on      spare byte
///     below 12 (and imSrc below 13)  I_LUTMapROI with the green table alone
///     PIX_RGB32                      PIX_RGB32     copied from the source
///     any other                      PIX_BGR24     -
///
/// @return as I_LUTMapROI; 0 too if a table that is used is null
VEXA_API int32_t I_RGBLUTMap(int32_t imSrc, int32_t imDest, const uint8_t *red, const uint8_t *green,
                             const uint8_t *blue);

/// Maps pixels through a table of any type and length. The type of imSrc says how; n is the largest power
/// of two that is not above length (1 for a length below 2).
///
///     imSrc's type  dest
///     PIX_WORD      table[v & (n - 1)] in words; with n = 1 table[v], v from 0 to 65535
///     PIX_DWORD     table[v & (n - 1)] in 32-bit integers
///     any other     I_LUTMapROI with the first 256 entries as bytes
///
/// @param table     length entries of type tableType, converted as I_ArrayConvert does. Entries that an
///                  index reaches behind the table's end are 0
/// @param tableType pixel type of the entries
/// @return as I_LUTMapROI; 0 with error 2 "I_MapLUTType" without memory for the converted table
VEXA_API int32_t I_MapLUTType(int32_t imSrc, int32_t imDest, const void *table, int32_t tableType,
                              int32_t length);
/// @}

/// @name Curves
/// @{

/// table[i] = trunc(255 * (i / 255)^(1 / gamma)), whatever TOP is.
///
/// @param gamma counts as 1, which gives the identity, outside 0.1 to 10
VEXA_API void I_MakeGammaLUT(uint8_t *table, double gamma);

/// A logarithmic stretch. With scale = TOP / (ln(high) - ln(low)):
///
///     i up to low                0
///     i above low, below high    trunc(ln(i) * scale) - trunc(ln(low) * scale + 0.5), at least 0
///     i from high on             TOP
///
/// Low above high swaps the two. A low below 1 counts as 0, with 0 for its logarithm; high is at least low
/// + 1.
VEXA_API void LogLUT(int32_t low, int32_t high, uint8_t *table);

/// A linear stretch in 8.8 fixed point, slope = (TOP << 8) / (high - low) truncated toward zero.
///
///     low < high    i up to low 0;  below high ((i - low) * slope + 128) >> 8;  from high on TOP
///     low > high    i below high TOP;  below low (((i - high) * slope + 128) >> 8) + TOP;  from low on 0
///
/// Equal ends lower low by 1: I_StretchLUT(100, 100, table) is I_StretchLUT(99, 100, table).
VEXA_API void I_StretchLUT(int32_t low, int32_t high, uint8_t *table);

/// The same in doubles, slope = TOP / (high - low); entries are limited to 0 and TOP.
///
///     low < high    i up to trunc(min(low, TOP)) 0;  below high trunc((i - low) * slope + 0.5);  then TOP
///     low > high    i below high TOP;  below low trunc((i - high) * slope + 0.5 + TOP);  from low on 0
///
/// @return 256; 0 for null
VEXA_API int32_t I_StretchLUT1(double low, double high, uint8_t *table);

/// table[i] = TOP - i for i from 0 to TOP. Entries above TOP stay as they are.
/// @return the number of entries written, TOP + 1
VEXA_API int32_t I_InvertLUT(uint8_t *table);

/// The stretch that leaves a percentage of an image's pixels at either end: I_CalcHist, I_NormHist with ten
/// times the percentages per mille, I_StretchLUT between its results.
///
/// @param low,high per cent of the pixels inside the region of interest to cut off
/// @param unused   not read
/// @param im       an image that is not open stretches from 0 to 255, with the error of the lookup
VEXA_API void I_NormLUT(int32_t low, int32_t high, int32_t unused, uint8_t *table, int32_t im);

/// A staircase: from entry max(trunc(start), 0) on, entries up to trunc(level + step) get trunc(level),
/// where level begins as start and rises by step. No step begins at an entry of TOP or above; the last one
/// may reach beyond it. All other entries are 0, and so is entry 0; levels below 0 count as 0.
///
/// I_SteppedLUT(0, 10, table) gives 0 to entries 0 to 10, 10 to entries 11 to 20, and so on. A step that is
/// not above 0 gives a table of zeros.
VEXA_API void I_SteppedLUT(double start, double step, uint8_t *table);
/// @}

/// @name Histograms
/// @{

/// Equalises a histogram: dark and bright grey levels get room by how many pixels hold them.
///
/// Bins above TOP are cleared, and the others cut to total * max(limit, 1) / 100 + 2, so that one large
/// flat area does not take the whole scale. Then, with the new total T and the sum S of bins 0 to i:
///
///     table[i] = (TOP * S + T / 2) / T        for i up to TOP; table[i] = i above
///
/// The entry of the lowest bin in use becomes 0. An empty histogram gives zeros up to TOP.
///
/// @param limit     largest share of one grey level, in per cent
/// @param histogram 256 counts; cleared above TOP and cut, in place
VEXA_API void HistEqualizeLUT(int32_t limit, uint32_t *histogram, uint8_t *table);

/// HistEqualizeLUT on the histogram of the graphics image (I_SetGraphicsFrame) inside the region of interest.
/// Without such an image the histogram is empty, and the error is that of I_CalcHist.
VEXA_API void I_EqualizeLUT(int32_t limit, uint8_t *table);
/// @}

/// @name Thresholds
/// All write 0 and 255, whatever TOP is.
/// @{

/// 0 below min(threshold, 255), 255 from there on.
VEXA_API void I_ThreshLUT(int32_t threshold, uint8_t *table);

/// A band. Both ends are first limited to 0 to 255.
///
///     low <= high    255 from low to high, both inclusive; 0 outside
///     low > high     0 strictly between high and low; 255 elsewhere
///
/// I_DualThreshLUT(200, 100, table) has 255 at 100 and at 200, and 0 from 101 to 199.
VEXA_API void I_DualThreshLUT(int32_t low, int32_t high, uint8_t *table);

/// 0 below low, then i below high, 255 from high on.
VEXA_API void I_DualLinThreshLUT(int32_t low, int32_t high, uint8_t *table);
/// @}

/// @name False colour
/// @{

/// Three tables that show grey levels from low to high as colours: blue, cyan, green, yellow, red, magenta.
///
/// Entries below low are black. With range = max(high - low, 5):
///
///     smooth set    steps of range / 4, blended into the next one; a seventh would be the first again
///     smooth 0      five equal steps of the range without blending; magenta is not used
///
/// Above high the colours go on in turn if wrap is set, else they stay red. In a colour mode other than 0
/// entries 252 to 255 are red, green, blue, white (254 is cyan in the display palette).
///
/// @param low           at most 254 counts; must be below high
/// @param red,green,blue 256 bytes each
/// @return 5; 0 with error 12 "falsecolor", nothing written, for low not below high or a null table
VEXA_API int32_t I_FalseColorLUT(int32_t low, int32_t high, uint8_t *red, uint8_t *green, uint8_t *blue,
                                 int32_t wrap, int32_t smooth);

/// Turns the colours of I_FalseColorLUT(0, 256, ..., 0, 1) back into grey levels: each pixel becomes the
/// index of the nearest colour.
///
/// @param im a colour image; one of a type below 13 is only copied, as bytes
/// @return a new byte image; 0 with the error of the step that failed
VEXA_API int32_t I_FalseColorToGray(int32_t im);
/// @}

/// @name Display palette
/// @{

/// I_SetDisplayLUTs with one table in all three places; in a colour mode other than 0 its last four entries
/// become the blue ones, 0, 0, 255, 255.
VEXA_API int32_t I_SendLUT(uint8_t *table);

/// Sets the display palette and keeps the graphics colours in it.
///
/// In a colour mode other than 0 the last four entries are overwritten in the caller's tables, and TOP
/// becomes 251; in colour mode 0 TOP becomes 255.
///
///     entry  252          253          254            255
///     color  255, 0, 0    0, 255, 0    0, 255, 255    255, 255, 255
///
/// @return as I_SetGraphicsPalette
VEXA_API int32_t I_SetDisplayLUTs(uint8_t *red, uint8_t *green, uint8_t *blue);

/// Sets the display palette as it is given.
/// @return 1; 0 for null, or with error 2 without memory for the tables
VEXA_API int32_t I_SetGraphicsPalette(const uint8_t *red, const uint8_t *green, const uint8_t *blue);

/// Copies the display palette out. It starts as the identity in all three tables; without memory for the
/// tables that is what is delivered.
///
/// @param red,green,blue each may be null
/// @return 1
VEXA_API int32_t I_GetGraphicsPalette(uint8_t *red, uint8_t *green, uint8_t *blue);
/// @}

/// @name Display settings
/// @{

/// The colour mode, 1 at first.
VEXA_API int32_t I_GetColorMode(void);

/// Sets the colour mode and brings the display in line with it.
///
/// Mode 0 fills the palette from the old TOP on with the entry that stands there, so that grey goes on
/// level, and makes TOP 255; any other mode makes it 251. The inverse table becomes the identity, the gamma
/// table is rebuilt, and I_SetDisplayLUTs runs on the palette.
///
/// @param mode a negative one changes nothing
/// @return the previous mode
VEXA_API int32_t I_SetColorMode(int32_t mode);

/// The gamma of the display, 2.2 at first.
VEXA_API double I_GetGammaCRT(void);

/// Sets the gamma of the display and brings the display in line, as I_SetColorMode does with the mode in
/// force.
/// @return the previous gamma
VEXA_API double I_SetGammaCRT(double gamma);
/// @}

/// @name Data files
/// @{

/// Sets where the application's data files are looked for: a text that is put in front of their names, cut
/// to 64 characters; empty at first.
/// @return 1; 0 for null, which changes nothing
VEXA_API int32_t setsearchpath(const char *path);

/// The text of setsearchpath; valid, with changing contents, for the life of the process.
VEXA_API const char *getsearchpath(void);
/// @}

#endif
