/// Images on the screen: one DIB, one image, two below each other, up to ten in a grid.
///
/// Settings     I_SetOverflowColor I_SetDisplayGamma
/// DIBs         DisplayDIB DisplayDIBStretch DisplayDIBWnd
/// One image    DisplayImage DisplayImageStretch DisplayImageWnd DisplayImageWndZoom
/// Two images   DisplayImage1 DisplayImage2 DisplayImageNorm
/// Profiles     DisplayProfiles DisplayProfiles1
/// Grids        DisplayImages Display2x5 DisplayImage2x3 DisplayImage2x5
///
///     DisplayImage(dc, im);                        // as it is, at the upper left corner of a window
///     DisplayImages(2.0f, imDef, imRef, 1, 0);     // two side by side, normalised, twice their size
///
/// The library owns no window. A device context is a drawing target of the platform (openDisplay of
/// VexaPlatform), null being the whole screen, which is opened and closed for each drawing. An image is made
/// a DIB by I_CopyBoxToDIB, and stretchBitmap of the platform puts that onto a rectangle of the target. Where
/// there is no display nothing is drawn.
///
/// No image is changed by being shown: what is drawn on it is drawn on a copy. The result of a drawing is
/// what stretchBitmap returns, the rows drawn; 0 where nothing was drawn.
///
/// For targets of palette indexes each drawing hands over the display palette: entries 0 to 63 are the greys
/// 4 * i; entry i from 64 on is red (2 * i - 128) & 192, green (8 * i) & 192, blue (32 * i) & 192.
///
/// To be called on the thread of the application's windows.
#ifndef VEXALIB_DISPLAY_H
#define VEXALIB_DISPLAY_H

#include "vexalib/types.h"

/// @name Settings
/// @{

/// Lets clipped pixels show in colour: black ones blue, white ones yellow, in the DIBs of I_CopyBoxToDIB and
/// SetDIBContrast.
/// @param flag non-zero: on; 0 at first
/// @return the old flag
VEXA_API int32_t I_SetOverflowColor(int32_t flag);

/// Sets the display gamma, 2.1 at first.
/// @param gamma 0 stands for 1.0, a negative value for 2.1
///
/// It is kept only: what is shown does not depend on it.
VEXA_API void I_SetDisplayGamma(double gamma);

/// @}
/// @name DIBs
/// @{

/// Draws a part of a DIB onto a rectangle of a target, and consumes the DIB.
///
/// A width below 1 is added to the DIB's width, a height below 1 to its height, for source and target alike:
/// 0 is all of it, -10 all but ten pixels.
///
/// @param dc  null: the whole screen
/// @param dib null gives 0
/// @param sourceX,sourceY,sourceWidth,sourceHeight the part, in pixels; handed over as it is, also where it
///        leaves the DIB
/// @param targetX,targetY,targetWidth,targetHeight the rectangle, in pixels of the target
/// @return the rows drawn; 0, the DIB being kept, with the errors of CheckDIB, or with error 2 "DisplayDIB:
///         Lock Bitmap (%x)" (the handle) where it cannot be locked
VEXA_API int32_t DisplayDIBStretch(void *dc, void *dib, int32_t sourceX, int32_t sourceY, int32_t sourceWidth,
                                   int32_t sourceHeight, int32_t targetX, int32_t targetY,
                                   int32_t targetWidth, int32_t targetHeight);
/// DisplayDIBStretch of the whole DIB, in its size, at (0, 0).
VEXA_API int32_t DisplayDIB(void *dc, void *dib);
/// DisplayDIB onto a window of the platform.
VEXA_API int32_t DisplayDIBWnd(void *window, void *dib);

/// @}
/// @name One image
/// @{

/// Draws a part of an image onto a rectangle of a target.
///
/// From the corner (0, 0), a part that is both wider and higher than the rectangle is reduced by
/// I_ScaleImage1, so that no rows of a large picture are dropped. In all other cases the part goes to the
/// target as it is, to be stretched there.
///
/// @param dc null: the whole screen
/// @param sourceX,sourceY negative counts as 0
/// @param sourceWidth,sourceHeight the part, in pixels; 0 is the image's size; otherwise as cols and rows of
///        I_CopyBoxToDIB
/// @param targetX,targetY,targetWidth,targetHeight the rectangle; a size below 1 is added to that of the part
/// @return the rows drawn; 0 for an image that is not open, with error 20 or 24 of "I_ImGetSize", and with
///         the errors of I_CopyBoxToDIB and I_ScaleImage1
VEXA_API int32_t DisplayImageStretch(void *dc, int32_t im, int32_t sourceX, int32_t sourceY,
                                     int32_t sourceWidth, int32_t sourceHeight, int32_t targetX,
                                     int32_t targetY, int32_t targetWidth, int32_t targetHeight);
/// DisplayImageStretch of the whole image, in its size, at (0, 0).
VEXA_API int32_t DisplayImage(void *dc, int32_t im);
/// DisplayImage onto a window of the platform.
VEXA_API int32_t DisplayImageWnd(void *window, int32_t im);
/// The whole image onto a window, at trunc(size * zoom), which counts as a target size of
/// DisplayImageStretch.
VEXA_API int32_t DisplayImageWndZoom(void *window, int32_t im, double zoom);

/// @}
/// @name Two images
/// @{

/// Draws two images below each other: A at (0, 25), B at (0, trunc(zoom * height of A + 25 + 1)), each at
/// trunc(size * zoom).
///
/// @param dc      null: the whole screen
/// @param imA,imB 0 is left out, as is an image that is not open, with error 20 or 24 of "I_ImGetSize"
/// @param zoom    0 and below: 1.0
/// @return the rows drawn of the last image; 0 if there was none
VEXA_API int32_t DisplayImage2(void *dc, int32_t imA, int32_t imB, float zoom);
/// Draws copies of two images on the screen by DisplayImage2, as PIX_BGR24 and in colour mode 1.
///
/// Where the colour mode was 0 the copies are scaled to 251/255, which leaves the top values of a byte to
/// overlays. The colour mode is set back.
/// @return as DisplayImage2; an image that cannot be copied is left out, with the errors of I_CloneImage
VEXA_API int32_t DisplayImage1(int32_t imA, int32_t imB, float zoom);
/// DisplayImage1 of two images normalised to 0 to 251 by I_NormalizeRange, each over the whole of it.
/// @param percent the largest gain
VEXA_API int32_t DisplayImageNorm(int32_t imA, int32_t imB, float zoom, float percent);

/// @}
/// @name Profiles
/// @{

/// Makes a copy of an image as PIX_BGR24, for its profiles and those of a second one.
///
/// This version has no plots to draw the curves with.
/// @param im2 0 for none
/// @return the new image, the caller's; 0 with the errors of I_CloneImage
VEXA_API int32_t DisplayProfiles1(int32_t im, int32_t im2);
/// Draws the image of DisplayProfiles1 on the screen by DisplayImage2, in colour mode 1.
/// @return 1; 0 where there is no such image
VEXA_API int32_t DisplayProfiles(int32_t im, int32_t im2, float zoom);

/// @}
/// @name Grids
/// @{

/// Draws up to ten images in five rows of two. Slot 0 is the left one of the first row, slot 1 the right one.
///
/// Each image is shown as a copy "DisplayNorm2x5": PIX_BGR24 for colour images and false colour, otherwise
/// PIX_BYTE. In this order, a copy is
///
///     normalised     if any flag is set: I_NormalizeRange(im, copy, 0, 251, 85, 1)
///     scaled         to 251/255, if no flag is set and the colour mode is 0
///     false coloured if asked for: I_RGBLUTMap with the tables of I_FalseColorLUT
///     put into       colour mode 1, unless flag 2 is set; the colour mode is set back at the end
///
/// The first row lies at y 35, each other one at trunc(height * zoom + y + 1) of the row before, whose height
/// is that of its higher image. The left image lies at x 0, the right one at trunc(width of the left one *
/// zoom + 1), which is 1 where there is none. Each is trunc(size * zoom) large.
///
/// @param dc         null: the whole screen
/// @param flags      1 normalise, 2 no outline of the region, 4 statistics of the region
/// @param falseColor 1: from 0 to 256; 2: from 0 to 128, and again from there on; any other: none
/// @param zoom       0 and below: 400 / (largest left width + largest right width)
/// @param im0,im1,im2,im3,im4,im5,im6,im7,im8,im9 numbers that are no open image, 0 among them, leave their
///        place empty
/// @return the rows drawn of the last image; 0 if there was none. An image that cannot be copied is left out,
///         with the errors of I_CloneImageEx
///
/// Outlines and statistics themselves come with plots and text, which this version does not have. Changes
/// what I_GetNormalizeRange returns.
VEXA_API int32_t Display2x5(void *dc, int32_t flags, int32_t falseColor, float zoom, int32_t im0, int32_t im1,
                            int32_t im2, int32_t im3, int32_t im4, int32_t im5, int32_t im6, int32_t im7,
                            int32_t im8, int32_t im9);
/// Display2x5 of six images, without flags and false colour.
VEXA_API int32_t DisplayImage2x3(void *dc, float zoom, int32_t im0, int32_t im1, int32_t im2, int32_t im3,
                                 int32_t im4, int32_t im5);
/// Display2x5 of ten images, without flags and false colour.
VEXA_API int32_t DisplayImage2x5(void *dc, float zoom, int32_t im0, int32_t im1, int32_t im2, int32_t im3,
                                 int32_t im4, int32_t im5, int32_t im6, int32_t im7, int32_t im8,
                                 int32_t im9);
/// Draws images on the screen by Display2x5, from a list of numbers that 0 ends.
///
///     negative  an image, for the next place of the grid
///     positive  options, all of the list together:
///               1  normalise                     8  no outline of the region
///               2  false colour from 0 to 256   16  statistics
///               4  false colour from 0 to 128   32  only the region: its bounding box, begun 5 pixels left
///                                                   of and above it and 6 pixels larger, as far as the image
///                                                   goes, fills the image's place
///
/// DisplayImages(0.5f, im, 1, 0) shows one image, normalised, at half its size.
///
/// @param zoom  as for Display2x5
/// @param first the first number. At most 12 are read, and at most 10 images shown; a number below -512 or above 63
///              ends the list too
/// @return as Display2x5
VEXA_API int32_t DisplayImages(float zoom, int32_t first, ...);

/// @}

#endif
