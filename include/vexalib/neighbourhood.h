/// Neighbourhood operators: running a row function over M by N neighbourhoods, and what all of them share.
///
///     running    I_MxNOperatorType I_MxNOperator
///     border     I_SetBorderMode
///     lattice    set3x3pointers w_set3x3pointers f_set3x3pointers
///     sizes      I_GetMinSize2 I_GetMinSize3
///     types      NarrowestPixelType WidestPixelType
///
/// Example: the largest of five pixels in a row, inside the region, whatever the type and kind of the images.
///
///     static int32_t largest(int32_t x0, int32_t y, int32_t width, int32_t height, void **rows, void *out,
///                            void *prevOut, int32_t count, void *user)
///     {
///         const uint8_t *row = (const uint8_t *)rows[0];
///         for (int32_t i = 0; i < count; ++i) {
///             uint8_t high = row[i];
///             for (int32_t k = 1; k < width; ++k)
///                 high = row[i + k] > high ? row[i + k] : high;
///             ((uint8_t *)out)[i] = high;
///         }
///         return 1;
///     }
///     I_MxNOperator(imSrc, imDest, 5, 1, NULL, largest);
#ifndef VEXALIB_NEIGHBOURHOOD_H
#define VEXALIB_NEIGHBOURHOOD_H

#include "vexalib/types.h"

/// @name Running a row function
/// @{

/// Computes the pixels of a line from their neighbourhoods.
///
/// Let left be the left edge of the region's bounding box. Index 0 of out is column left, and index 0 of each
/// of the rows is column left - (width - 1) / 2, so that out[i] is computed from indices i to i + width - 1
/// of all rows; no index needs a test.
///
/// @param x0      column where the run of the region starts
/// @param y       line being computed
/// @param width   columns of the neighbourhood; an even one reaches one pixel further to the right
/// @param height  rows of the neighbourhood; an even one reaches one row further up
/// @param rows    height rows of count + width - 1 pixels, the top row first
/// @param out     receives count pixels. What it does not write keeps what stood there two calls ago
/// @param prevOut what out was in the previous call, for recursive filters; zeros before the first
/// @param count   columns of the bounding box. The frame stores those of them that the run covers
/// @param user    as given to the frame
/// @return ignored
typedef int32_t (*MxNRowFilter)(int32_t x0, int32_t y, int32_t width, int32_t height, void **rows, void *out,
                                void *prevOut, int32_t count, void *user);

/// Runs a row function over the neighbourhoods of an image, inside the region of interest.
///
/// The function is called once for each run of the region's scan list on imSrc, from top to bottom: a line
/// with several runs costs several calls, each for the whole width of the box and on the same rows. It sees
/// pixels of one type; images of other types are converted on the way in and out.
///
/// **Rows.** They stand in a ring: where the next run lies on another line, the rows move up by one and one
/// row enters at the bottom, also where the region skips lines. The rows above the skipped line are then
/// those that the ring still holds. Lines outside the images are passed over without a change of the ring.
/// What lies outside the images is made by the border mode, see I_SetBorderMode.
///
/// **In place.** imSrc and imDest may be one image: each row is read before a line that depends on it is
/// stored. Where a reflecting border reads the rows near the bottom again, it reads them as they then stand.
///
/// **Colour.** Where both images have several bands (I_ImGetNBands: colour, and no band selected), the region
/// is walked once per band with that band selected. Such a walk loads its first height - 1 rows in the order
/// in which the ring of the band before ended, so that the first lines of a later band see these rows rotated
/// where the number of lines is no multiple of height.
///
/// **Output.** For types of one byte, the byte behind the run in out becomes that of the middle row, which a
/// recursive filter meets in prevOut.
///
/// @param imSrc     source; 0 reads as zeros
/// @param imDest    destination; may be imSrc; 0 stores nothing. Only the size that both share is processed
/// @param width,height of the neighbourhood. Below 1: error 27 "MxNOperator: Kernel size less than 1: %dx%d.
///                  Continuing.", and 1 is used
/// @param user      handed to each call
/// @param rowFilter the function; null: result 0
/// @param type      pixel type of the rows, PIX_BYTE, PIX_FLOAT or any other
/// @return 1, also for a region without runs; 0 without an error for a region of one column or one line; or 0
///         with the last error set:
///         20 "I_ImGetSize(, im=N)  im. not open" or 24 "I_ImGetSize(, im=N) im. not open": no such image;
///         2 "mxnoperator": no memory, or rows of more than 2 GiB in all;
///         6 "USER_BREAK": I_UserBreak, asked at every 64th run, wants to stop. Lines that were stored stay,
///         and the remaining bands are walked.
///
/// Reads the region, the border mode and the colour band; leaves no band selected after a walk of several.
/// Reports progress at every 128th line. The zeroed memory in front of the rows and behind them is a guard:
/// where the function wrote to it, one of these lines goes to the standard error stream (row, byte):
///
///     FiltOp 3: corrupted buffer y=%d x=%d        in front of the rows
///     FiltOp 4: corrupted buffer y=%d x=%d        behind them
VEXA_API int32_t I_MxNOperatorType(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void *user,
                                   MxNRowFilter rowFilter, int32_t type);

/// I_MxNOperatorType on bytes.
VEXA_API int32_t I_MxNOperator(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void *user,
                               MxNRowFilter rowFilter);

/// @}
/// @name Border
/// @{

/// Says what neighbourhood operators read outside an image. Process-wide, initially -1.
///
///     mode          pixels 3 4 5 ... 7 8 9 are continued as
///     0 and above   c c c | 3 4 5 ... 7 8 9 | c c c      the constant
///     -1            3 3 3 | 3 4 5 ... 7 8 9 | 9 9 9      the nearest pixel
///     below -1      6 5 4 | 3 4 5 ... 7 8 9 | 9 8 7      reflected; the last column is repeated once
///
/// Rows alike, but the reflection at the bottom leaves the last row out as that at the top leaves out the
/// first: rows 0 1 2 are continued as 2 1 | 0 1 2 | 1 0. What is still missing is the farthest pixel or row.
/// In the reflecting mode, the rows above the first line of the region are continued to the left and to the
/// right by the nearest pixel, and those of them that lie below the image are its last row.
///
/// @param mode  below 0: value and type are not looked at, and the constant stays as it was
/// @param value for a mode from 0 on, one pixel of the given type; null stands for a pixel of zero bytes
/// @param type  pixel type of the constant, converted for each operator; below 1 the mode itself is the
///              constant: I_SetBorderMode(128, NULL, 0) gives a border of value 128
/// @return the previous mode. A function with a border of its own puts it back with
///         I_SetBorderMode(previous, NULL, PIX_FLOAT), which leaves a constant of 0
VEXA_API int32_t I_SetBorderMode(int32_t mode, const void *value, int32_t type);

/// @}
/// @name Lattice
/// @{

/// Points at nine pixels of a neighbourhood for a row function: in rows 0, height / 2 and height - 1, the
/// columns 0, width / 2 and width - 1. A 3 by 3 filter that is run on a larger neighbourhood samples a
/// stretched lattice in this way.
///
/// @param rows         the rows of the row function
/// @param width,height of the neighbourhood; below 1 counts as 1
/// @param p00,p01,p02,p10,p11,p12,p20,p21,p22 receive the pointers, row by row; each may be null
VEXA_API void set3x3pointers(void **rows, int32_t width, int32_t height, uint8_t **p00, uint8_t **p01,
                             uint8_t **p02, uint8_t **p10, uint8_t **p11, uint8_t **p12, uint8_t **p20,
                             uint8_t **p21, uint8_t **p22);
/// The same for pixels of two bytes.
VEXA_API void w_set3x3pointers(void **rows, int32_t width, int32_t height, int16_t **p00, int16_t **p01,
                               int16_t **p02, int16_t **p10, int16_t **p11, int16_t **p12, int16_t **p20,
                               int16_t **p21, int16_t **p22);
/// The same for pixels of four bytes.
VEXA_API void f_set3x3pointers(void **rows, int32_t width, int32_t height, float **p00, float **p01,
                               float **p02, float **p10, float **p11, float **p12, float **p20, float **p21,
                               float **p22);

/// @}
/// @name Sizes
/// @{

/// The smaller width and the smaller height of two images.
///
/// @param width,height   receive the sizes in pixels, 0 if an image is not open; may be null
/// @param bytes1,bytes2  receive the bytes per pixel of each image; may be null. Where both are given, that
///                       of an absent image is 1; otherwise it stays unwritten
/// @param im1,im2        the images; 0 stands for none, and the other one's size is the result
/// @return 1; 0 if an image is not open, or both are 0: error 20 "I_ImGetSize(, im=N)  im. not open" or 24
///         "I_ImGetSize(, im=N) im. not open"
VEXA_API int32_t I_GetMinSize2(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2, int32_t im1,
                               int32_t im2);

/// The same for three images.
///
///     im2 is 0          I_GetMinSize2 of im1 and im2; im3 is not looked at
///     im3 is 0          0, sizes of 0, error 24: only the second image is tested for absence
///     otherwise         the smallest of all that are given
VEXA_API int32_t I_GetMinSize3(int32_t *width, int32_t *height, int32_t *bytes1, int32_t *bytes2,
                               int32_t *bytes3, int32_t im1, int32_t im2, int32_t im3);

/// @}
/// @name Types
/// @{

/// The smallest type code among the images.
///
///     images                  flag 0        flag 1
///     PIX_BYTE, PIX_WORD      PIX_BYTE      PIX_BYTE
///     PIX_WORD, PIX_BGR24     PIX_WORD      PIX_BYTE
///     PIX_BGR24, PIX_BGR32    PIX_BGR24     PIX_BYTE
///
/// @param im1,im2,im3  images, the destination last; 4095 for each that is absent. An image that is not open
///                     has code 0, and leaves error 20 or 24 of I_ImGetType
/// @param colorAsBytes non-zero: each code of 12 or more counts as PIX_BYTE
/// @return the code; 0 without any image
///
/// Sets the float range (I_SetClipMode) from the type of im3, or of im2 where im3 is 4095.
VEXA_API int32_t NarrowestPixelType(int32_t im1, int32_t im2, int32_t im3, int32_t colorAsBytes);

/// The largest type code among the images, each code of 12 or more counting as PIX_BYTE.
///
///     PIX_BYTE, PIX_BGR24          PIX_BYTE
///     PIX_BGR24, PIX_FLOAT         PIX_FLOAT
///     PIX_FLOAT, PIX_DCOMPLEX      PIX_DFLOAT: a result above PIX_COMPLEX becomes PIX_DFLOAT
///
/// Arguments, result and float range as for NarrowestPixelType.
VEXA_API int32_t WidestPixelType(int32_t im1, int32_t im2, int32_t im3);

/// @}

#endif
