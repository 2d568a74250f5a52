/// Rank and shape: median, erosion and dilation, peaks, growth of labels, thinning, fields.
///
///     by code     I_MxN9ptFilt
///     rank        I_Median I_Erode I_Dilate I_MinPeak
///     shape       I_BinaryDilate I_Skeleton
///     fields      I_Deflicker
///
/// Example: takes single-pixel noise away, then opens by one and a half pixels.
///
///     I_Median(imSrc, imDest);
///     I_Erode(imDest, imDest, 1.5f);
///     I_Dilate(imDest, imDest, 1.5f);
///
/// What holds for all of them:
///
/// **Samples.** NW N NE / W CTR E / SW S SE are the pixel and its eight neighbours. Functions that take a
/// width and a height look at nine points of that neighbourhood only: rows 0, height / 2 and height - 1 of
/// columns 0, width / 2 and width - 1. What lies outside the image is made by the border mode
/// (I_SetBorderMode).
///
/// **Region, images.** They run in the frame of I_MxNOperatorType, which tells what holds for regions, image
/// sizes, colour, and working in place. imSrc 0 reads as zeros, imDest 0 stores nothing.
///
/// **Working type.** "Bytes" means that every image is worked on as bytes, converted on the way in and out.
///
/// **Result.** 1, also where the region has no runs; 0 without an error for a region of one column or one
/// line; or 0 with an error of the frame, which NAME leaves where nothing else is said:
///
///     20 "I_ImGetSize(, im=N)  im. not open"   no such image
///     24 "I_ImGetSize(, im=N) im. not open"
///     2  "mxnoperator"                         no memory
///     6  "USER_BREAK"                          stopped by the user; lines that were stored stay
///
/// **State.** They read the region, the border mode and the colour band. Those with a working type set the
/// float range from the destination (I_SetClipMode).
#ifndef VEXALIB_RANK_H
#define VEXALIB_RANK_H

#include "vexalib/types.h"

/// @name By code
/// @{

/// Runs one of the filters on nine points.
///
///     op   filter                                              floats   param
///     0    sharpening, as I_Sharpen                            yes      strength, or 2.5
///     1    mean of nine, as I_Smooth                           yes
///     3    |gx| + |gy| at most 255, as I_Sobel                 no
///     4    contour lines, as I_Contour                         no       spacing and mark, or 32 and 0
///     5    smallest of nine                                    yes
///     6    largest of nine                                     yes
///     7    median of nine, as I_Median                         yes
///     8    |2 (N - S) + NW + NE - SW - SE|, low byte           no
///     9    |2 (W - E) + NW + SW - NE - SE|, low byte           no
///     10   sharpening without the centre                       yes      strength, or 1
///     11   erosion of labels, as I_BinaryDilate                no
///     12   growth of labels, as I_BinaryDilate                 no
///
/// Where the table says yes, images whose widest type (WidestPixelType) is not PIX_BYTE are worked on as
/// floats; all else as bytes.
///
/// @param width,height of the neighbourhood, whose nine points are looked at; below 1 counts as 1, with error
///               27 of the frame
/// @param op     2 and what is not in the table: result 0, nothing done, no error
/// @param param  values for the codes that have some. Null or a first value of 0 takes those behind "or". A
///               strength counts in steps of 1/16, trunc(param[0] * 16 + 0.5) of them. For code 4 two
///               values, truncated; 1 and -1 as the first one count as 0 does, and one that truncates to 0
///               gives result 0, nothing done
/// @return as told at the top
VEXA_API int32_t I_MxN9ptFilt(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, int32_t op,
                              const float *param);

/// @}
/// @name Rank
/// @{

/// The median of the nine pixels around each: code 7 of I_MxN9ptFilt, on bytes or floats.
///
/// The fifth in the order of an insertion sort, from NW row by row to SE, in which a sample goes in before
/// the first larger one: samples that are no number count as larger than what follows them.
///
/// @return as told at the top. A line for which there is no memory leaves error 2 "I_Median: 36" and does not
///         end the function. It keeps what it had; where the destination's pixels are converted, or have no
///         address, it becomes 0 or the line two above it
VEXA_API int32_t I_Median(int32_t imSrc, int32_t imDest);

/// Erodes: each pixel becomes the smallest of the nine around it, once per step.
///
/// The rest of a step that is no whole one is a partial pass, blended toward the centre:
///
///     bytes     CTR + (((smallest - CTR) * trunc(step * 128) + 64) >> 7)
///     floats    CTR + (smallest - CTR) * step; a whole step gives the smallest itself
///
/// With 2.5 steps there are three passes, the last one of half a step. With 0 there is one pass that leaves
/// the pixels as they are in imSrc. Passes behind the first one read imDest.
///
/// @param steps  negative: I_Dilate of -steps. Passes that would change nothing any more may be
///               left out, so that every number ends; no number counts as 1
/// @return the status of the last pass; a pass that fails ends the function
///
/// Bytes if the narrowest type is PIX_BYTE or a colour (NarrowestPixelType), floats otherwise.
VEXA_API int32_t I_Erode(int32_t imSrc, int32_t imDest, float steps);

/// Dilates: I_Erode with the largest of nine in place of the smallest; negative steps erode.
VEXA_API int32_t I_Dilate(int32_t imSrc, int32_t imDest, float steps);

/// The height of peaks, or the depth of pits, among the four neighbours N, W, E and S. Bytes.
///
///     peaks 0         the smallest of the four - CTR where that is above 0, otherwise 0
///     peaks not 0     CTR - the largest of the four where that is above 0, otherwise 0
///
/// @param width,height of the neighbourhood: the four stand in the middle of its sides, at a distance of
///               width / 2 and height / 2 in an odd one
VEXA_API int32_t I_MinPeak(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, int32_t peaks);

/// @}
/// @name Shape
/// @{

/// Grows or shrinks regions of pixels that are not 0, which keep their values. Bytes.
///
///     growing      a pixel of 0 takes the first of N W E S NW NE SW SE that is not 0
///     shrinking    a pixel with a 0 among these eight becomes 0
///
/// Regions that touch keep their labels; the order decides who gets a pixel that both could.
///
/// @param steps  passes of growing, negative ones of shrinking; 0 counts as 1. Passes that would change
///               nothing any more may be left out
/// @return the status of the last pass; a pass that fails ends the function
VEXA_API int32_t I_BinaryDilate(int32_t imSrc, int32_t imDest, int32_t steps);

/// Thins the regions of pixels that are not 0 to lines. Bytes.
///
/// Up to 11 passes from top to bottom, the first one from imSrc, the others on imDest, until one removes
/// fewer than 4 pixels. A pass removes a pixel by n, the number of the eight neighbours in the source that
/// are not 0, and by a ring of eight: a1 a2 a3 above it and a8 to the left, as they are thinned already, a4
/// E, a5 SE, a6 S and a7 SW from the source. Let t be the number of steps a1 to a2, ... a7 to a8, a8 to a1
/// that fall.
///
///     n from 3 to 5, t below 2
///     n below 5, t = 2, and either a1 = 0, a2 and a8 not 0, or a3 = 0, a2 and a4 not 0
///
/// The line above the region counts as 0, and so does what is left of it. To the right of it, a3 is the pixel
/// of the line above itself, where the region ends before the image does.
///
/// @return 1 always, with the frame's error where a pass failed
VEXA_API int32_t I_Skeleton(int32_t imSrc, int32_t imDest);

/// @}
/// @name Fields
/// @{

/// Takes the difference of the two fields out of an interlaced picture.
///
///     mode      line y becomes
///     0         line y - 1 where y is even
///     1         line y - 1 where y is odd
///     -1        the mean of lines y - 1 and y: (a + b) >> 1 on bytes, (a + b) * 0.5 on floats
///     others    itself
///
/// The line above the first is made by the border mode. Bytes if the narrowest type is PIX_BYTE or a colour
/// (NarrowestPixelType), floats otherwise.
VEXA_API int32_t I_Deflicker(int32_t imSrc, int32_t imDest, int32_t mode);

/// @}

#endif
