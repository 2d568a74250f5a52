/// Arithmetic, logic, copies and masks: two images, or an image and a constant, pixel by pixel.
///
///     sums, differences   I_Add I_Subtract I_SubtractEx I_Subtract1Ex
///     where they differ   I_SubtractMax I_SubtractNMax
///     products, ratios    I_Multiply I_Divide I_FlatField I_Sqrt
///     mixtures            I_Blend I_BlendByPixel
///     logic, extremes     I_And I_Or I_Xor I_Min I_Max I_MaxRGB
///     with a constant     I_ConstAdd I_ConstSubAbs I_ConstMult I_ConstOR I_ConstXOR I_ConstAnd
///                         I_ScaleIntensityROI I_ScaleIntensityROIAbs
///     copies              I_CopyROI I_ROICopy I_CopyBand
///     overlays, masks     I_OverlayROI I_MaskedCopy I_MaskFromColor
///
/// Example: the absolute difference of a defect image and its reference, and where it is largest.
///
///     VexaPoint worst;
///     I_SubtractEx(imDef, imRef, imDiff, 0, 0, 2);
///     double height = I_SubtractMax(imDef, imRef, 0, 0, 0, &worst);
///
/// What holds for all operators that do not say otherwise:
///
/// **Region and size.** They work inside the region of interest, laid on imDest, on the area that their
/// images share. Images of different sizes are no error.
///
/// **Working type.** The highest type code of the images, a colour or palette image counting as bytes. Each
/// operator names the types that it has a form for; every other working type runs as 32-bit floats. Images of
/// another type than the working type are converted on their way in and out. On bytes a colour image runs on
/// all its bytes, or on the selected band (see frames.h, "Colour").
///
/// **Range.** TOP is the highest pixel value, 255 or 251. "high", "low" and "both" are the slots of
/// I_SetClipMode, which say what becomes of a result outside the range of its type. The operators that use
/// one, and they only, depend on the clip mode. Whole arithmetic is 32-bit and wraps; whole quotients are
/// truncated toward zero.
///
/// **Operands.** imDest may be a source. Images that share memory at different places are worked on from left
/// to right, row by row. A source of 0 reads as zeros where two are asked for (not together with imDest 0), a
/// destination of 0 stores nothing.
///
/// **Result.** 1; or 0 with the last error set:
///
///     20 "I_ImGetSize(, im=N)  im. not open"   imDest, the first of two sources, or the only one is no image
///     24 "I_ImGetSize(, im=N) im. not open"    that is open
///     2  "I_BinaryOperatorType N bytes"        no memory to convert rows in, needed where an image is not in
///     2  "I_UnaryOp N bytes"                   memory in the working type: with two sources, and with one
///
/// A second source that is not open leaves its error too, but reads as zeros.
///
/// **State.** They leave no colour band selected. The operators with a working type set the float range, see
/// I_SetClipMode.
#ifndef VEXALIB_ARITHMETIC_H
#define VEXALIB_ARITHMETIC_H

#include "vexalib/types.h"

/// @name Sums and differences
/// @{

/// Adds two images: dest = high(a + b).
///
/// On bytes 200 + 100 gives
///
///     clip mode   0    1    2    3    4    5    6    7
///     result     44  255  255  255   22  127  127  255
///
/// with 251 for 255 once display tables with reserved colours exist. Has a form for bytes; floats are not
/// clipped. Tells the progress text "Add".
VEXA_API int32_t I_Add(int32_t imA, int32_t imB, int32_t imDest);

/// Subtracts one image from another: dest(x, y) = low(a(x, y) - b(x + dx, y + dy)).
///
/// On bytes 10 - 20 gives
///
///     clip mode   0    1    2    3    4    5    6    7
///     result    246    0   10  118  123  246  251  100
///
/// Has forms for bytes and for words, which are unsigned here. Tells the progress text "Subtract".
///
/// @param imA    minuend
/// @param imB    subtrahend
/// @param imDest receives the differences
/// @param dx,dy  offset in pixels at which imB is read, any value; where imB ends, imDest keeps what it had
/// @see I_SubtractEx to give the clip mode with the call, I_Subtract1Ex for a histogram of the result
VEXA_API int32_t I_Subtract(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy);

/// I_Subtract under a clip mode of its own; the mode of before holds again afterwards.
///
/// @param clipMode as for I_SetClipMode; one that does not exist leaves error 12 "I_SetClipMode", and the
///                 clipping is that of before
VEXA_API int32_t I_SubtractEx(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                              int32_t clipMode);

/// I_SubtractEx with an optional destination and a histogram of the result.
///
/// @param imDest    receives the differences; 0: an image like imB, closed at the end, so that the histogram
///                  is all that remains
/// @param dx,dy     offset of imB in pixels. Unless both are whole numbers, imB is first moved by I_ShiftSharpen
///                  into a copy of it; where that has no source the copy is as imB
/// @param clipMode  as in I_SubtractEx
/// @param sharpness as for I_ShiftSharpen
/// @param histogram 256 counts of the result inside the region, or null
/// @return 1 or 0 as I_Subtract; 0 too where imB has to be cloned and cannot be
///
/// Presents a pending error at each stage through I_ShowError, which clears it:
///
///     "S1E-3"                     before anything is done
///     "S1E-4  Images: A B DEST"   before the subtraction, B being the moved copy where there is one
///     "S1E-5"                     after it
///     "S1E-6"                     after the histogram
VEXA_API int32_t I_Subtract1Ex(int32_t imA, int32_t imB, int32_t imDest, float dx, float dy, int32_t clipMode,
                               float sharpness, uint32_t *histogram);

/// @}
/// @name Where images differ
/// @{

/// Subtracts on bytes, as I_Subtract does, and finds the largest |a - b|.
///
/// @param imDest receives the differences through the low slot; 0 stores nothing
/// @param dx,dy  offset in pixels at which imB is read
/// @param point  receives the place of the largest difference in imA, the first one met row by row, (0, 0) if
///               there is none; may be null. In packed colour every three bytes of a row count as one pixel,
///               in types of four bytes as well
/// @return the largest absolute difference; 0.0 for equal images, and where the subtraction fails
///
/// Tells the progress text "SubtractMax".
VEXA_API double I_SubtractMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                              VexaPoint *point);

/// Subtracts on bytes, as I_Subtract does, and finds the largest |a - b| that lie apart.
///
/// Two places lie together if they differ by at most `separation` in x and in y. Of those the stronger one is
/// kept. The list is built row by row: a difference that lies with a stronger entry is passed over; any other
/// one takes its place in the list, and the weaker entries that lie with it are removed, but for an entry in
/// the list's last place.
///
/// @param imDest     receives the differences through the low slot; not 0
/// @param points     receives n places in falling order of their differences, (0, 0) where there are no more;
///                   may be null
/// @param values     receives n differences, 0.0 where there are no more; may be null
/// @param n          entries in the list, from 1
/// @param separation in pixels
/// @param threshold  differences up to its whole part do not count
/// @return the number of places found: 1 plus the last index whose difference is positive and whose place is
///         in another column and in another row than the place before it. 0 if an image is 0 or n is below 1,
///         and with error 2 "I_SubtractNMax: N" without memory for the list
///
/// Tells the progress text "SubtractNMax". Positions in colour images as in I_SubtractMax.
VEXA_API int32_t I_SubtractNMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                                VexaPoint *points, double *values, int32_t n, int32_t separation,
                                double threshold);

/// @}
/// @name Logic and extremes
/// @{

/// dest = a & b on bytes, whatever the types are: 0x3C and 0x0F give 0x0C.
VEXA_API int32_t I_And(int32_t imA, int32_t imB, int32_t imDest);
/// dest = a | b on bytes, whatever the types are: 0x3C and 0x0F give 0x3F.
VEXA_API int32_t I_Or(int32_t imA, int32_t imB, int32_t imDest);
/// dest = a ^ b on bytes, whatever the types are: 0x3C and 0x0F give 0x33.
VEXA_API int32_t I_Xor(int32_t imA, int32_t imB, int32_t imDest);

/// The smaller of two pixels; of equal ones, and where one is no number, that of b.
///
/// Has forms for bytes and for words, which are unsigned here. Tells the progress text "Max".
VEXA_API int32_t I_Min(int32_t imA, int32_t imB, int32_t imDest);
/// The larger of two pixels; otherwise as I_Min.
VEXA_API int32_t I_Max(int32_t imA, int32_t imB, int32_t imDest);

/// Gives all bands of a pixel the largest of its bands.
///
/// In clip modes 3 and 4, where 128 stands for 0, they get the one farthest from 128, the first of equals in
/// the order of storage: (118, 138, 120) becomes 118 there, and 138 in all other modes.
///
/// @param imSrc  a PIX_RGB24 image is worked on as such, any other from PIX_BGR15 up as PIX_BGR24; one below
///               PIX_BGR15 is copied by I_ROICopy, or left alone if it is imDest
/// @param imDest receives the result
VEXA_API int32_t I_MaxRGB(int32_t imSrc, int32_t imDest);

/// @}
/// @name Products and ratios
/// @{

/// Multiplies two images and divides by a number.
///
///     bytes      high((a * b) / k), k the divisor rounded (plus 0.5, truncated), and 1 instead of 0
///     floats     a * b / divisor
///     complex    a * b * divisor, the complex product (multiplied, not divided)
///
/// @param divisor 0.0 counts as 1.0. With 255.0 bytes multiply as fractions of white: 200 by 100 gives 78
VEXA_API int32_t I_Multiply(int32_t imA, int32_t imB, int32_t imDest, double divisor);

/// Divides one image by another, with a gain.
///
///     bytes      high((a * g + b / 2) / b), TOP where b is 0        g the gain truncated
///     words      (a * g) / b, cut to 16 bits, g where b is 0        unsigned pixels
///     floats     a * gain / b, 0.0 where b is 0
///     complex    a / b * gain, with |b|^2 not below 1e-38
///
/// @param gain 0.0 counts as 1.0. With 128.0 equal bytes give 128
VEXA_API int32_t I_Divide(int32_t imA, int32_t imB, int32_t imDest, double gain);

/// Flat-field correction in bytes: dest = both((max(src - dark, 0) * gain + flat / 2) / flat), 0 where flat
/// is 0.
///
/// Works run by run on the region laid on imSrc, on the area that the three sources share, and needs memory
/// for four rows. Colour images in all-bands mode are corrected band by band.
///
/// @param imDark dark image; 0: none, and the size of imFlat is not looked at
/// @param imFlat the evenly lit field; not 0 beside a dark image
/// @param gain   what a pixel as bright as the field becomes
/// @return 1; 0 if an image is not open (20 or 24 as above), or with error 2 "dopolyflatfield()"
///
/// Clears the selected band only after a colour image.
VEXA_API int32_t I_FlatField(int32_t imSrc, int32_t imDark, int32_t imFlat, int32_t imDest, int32_t gain);

/// The square root.
///
/// A float image (I_ImIsFloat) runs as floats; what is below 0 gives no number. Any other runs as bytes, dest
/// being the truncated root of the byte that the pixel reads as over the range of all pixels of imSrc
/// (I_ComputePixelRange): roots of 0 to 255 are 0 to 15. imSrc keeps its value range.
VEXA_API int32_t I_Sqrt(int32_t imSrc, int32_t imDest);

/// @}
/// @name Mixtures
/// @{

/// Mixes two images: dest = b + (a - b) * factor.
///
/// On bytes in 128ths, k = factor * 128 truncated: b + (((a - b) * k + 64) >> 7), modulo 256. 200 and 100
/// with 0.5 give 150. Factors outside 0 to 1 extrapolate, and bytes wrap.
///
/// @param factor part of imA. Above 15.0 it is taken for a percentage: the message "I_Blend() change: Factor
///               =50.0. Should be fraction, not percent" is posted, and it is divided by 100
VEXA_API int32_t I_Blend(int32_t imA, int32_t imB, int32_t imDest, float factor);

/// Mixes two images by a third: dest = a + ((weight * (b - a)) >> 8), in bytes.
///
/// Works on the bounding box of the region on the four images, not on its runs, through four buffers of the
/// box's size. A weight of 0 gives a; 255 gives nearly b.
///
/// @return 1; 0 if an image is not open or the box is empty; 0 with error 2 "I_BlendByPixel: N", N being the
///         pixels of the box
///
/// Leaves the selected band alone.
VEXA_API int32_t I_BlendByPixel(int32_t imA, int32_t imB, int32_t imWeights, int32_t imDest);

/// @}
/// @name With a constant
/// @{

/// Adds a number. On bytes the number truncated toward zero, the sum clamped to 0 to 255: -10.5 adds -10.
VEXA_API int32_t I_ConstAdd(int32_t imSrc, int32_t imDest, double value);
/// The distance from a number. On bytes from the number truncated toward zero, capped at 255.
VEXA_API int32_t I_ConstSubAbs(int32_t imSrc, int32_t imDest, double value);
/// Multiplies by a number. On bytes rounded (plus 0.5, truncated) and clamped to 0 to 255; complex pixels in
/// both parts.
VEXA_API int32_t I_ConstMult(int32_t imSrc, int32_t imDest, double value);

/// dest = src | value on bytes, whatever the types are; the low byte of value counts.
VEXA_API int32_t I_ConstOR(int32_t imSrc, int32_t imDest, int32_t value);
/// dest = src ^ value on bytes, whatever the types are; the low byte of value counts.
VEXA_API int32_t I_ConstXOR(int32_t imSrc, int32_t imDest, int32_t value);
/// dest = src & value on bytes, whatever the types are; the low byte of value counts.
VEXA_API int32_t I_ConstAnd(int32_t imSrc, int32_t imDest, int32_t value);

/// Shifts and stretches: dest = (src + offset) * scale.
///
///     bytes      (src + offset) * scale + 0.5, clamped to 0.0 to 255.0 and truncated
///     floats     (src + offset) * scale
///     complex    the same on both parts
///
/// @param scale  exactly 1.0 makes it I_ConstAdd(imSrc, imDest, offset), where a fraction of the offset is
///               cut off on bytes
/// @param offset exactly 0.0 makes it, otherwise, I_ConstMult(imSrc, imDest, scale)
VEXA_API int32_t I_ScaleIntensityROI(int32_t imSrc, int32_t imDest, double offset, double scale);

/// The absolute value of what I_ScaleIntensityROI computes, without its two short cuts.
///
///     bytes      |(src + offset) * scale + 0.5|, capped at 255.0 and truncated
///     floats     |(src + offset) * scale|
///     complex    (src + offset) * scale on both parts, signs and all
///
/// Tells the progress text "ScaleIntensity".
VEXA_API int32_t I_ScaleIntensityROIAbs(int32_t imSrc, int32_t imDest, double offset, double scale);

/// @}
/// @name Copies
/// @{

/// Copies the region. The working type is the lowest type code of the two images, colour keeping its code.
VEXA_API int32_t I_CopyROI(int32_t imSrc, int32_t imDest);

/// Copies the region of imDest from the place in imSrc that lies (dx, dy) away: dest(x, y) = src(x + dx, y +
/// dy).
///
/// A full frame or a window is copied as one box (I_ImCopyBlock), as if from a copy of the source, and the
/// selected band stays; a polygon or a scan list goes run by run, in the lowest type code of the two images.
///
/// @return 1; 0 if an image is 0 or not open, or if nothing lies in both
VEXA_API int32_t I_ROICopy(int32_t imSrc, int32_t imDest, int32_t dx, int32_t dy);

/// Copies one colour band to the same band, or between grey and a band.
///
/// Between colour images the band is taken out of imSrc into a byte image (I_CloneImage), which goes into
/// that band of imDest; all others are copied by I_ROICopy with the band selected.
///
/// @param band      a text that begins with r, g or b, in either case; any other, and null, means no band:
///                  the mean of the three, to all three
/// @param ignoreROI non-zero: the whole image
/// @return as I_ROICopy; 0 too if the byte image cannot be made
///
/// Ends with colour processing mode 3, no band selected, and the region as it was.
VEXA_API int32_t I_CopyBand(int32_t imSrc, int32_t imDest, const char *band, int32_t ignoreROI);

/// @}
/// @name Overlays and masks
/// @{

/// Lays one image over another: dest = b where b is not 0, a elsewhere.
///
/// The smaller of the bytes per pixel of imA and imDest says how: 2 as words, 3 as PIX_BGR24, 4 as 32-bit
/// integers, all others as bytes. In PIX_BGR24 a pixel of b counts by its middle byte alone: a pure red or
/// blue one is not seen.
VEXA_API int32_t I_OverlayROI(int32_t imA, int32_t imB, int32_t imDest);

/// Copies where a mask says so, in bytes: dest = src where table[mask] is not 0.
///
/// Elsewhere imDest keeps what it had, if its rows can be addressed as bytes; a destination that has to be
/// converted is not fetched, and should not be given.
///
/// @param imMask the mask; 0 reads as zeros
/// @param table  256 bytes; null takes every value of the mask but 0
///
/// If imDest is a colour image and imSrc or imMask is not, both are converted in place to imDest's type
/// (I_ImConvertType), and the message "I_MaskedCopy: imSrc or imMask were Byte: converted to BGR" is posted.
/// In colour each byte of the mask counts for its own byte.
VEXA_API int32_t I_MaskedCopy(int32_t imSrc, int32_t imDest, int32_t imMask, const uint8_t *table);

/// Marks the pixels that are near a colour, and counts them.
///
/// A pixel is near if its three absolute differences from the colour add up to at most `tolerance`. Such a
/// pixel becomes `value`, every other one 0.
///
/// @param imSrc     a PIX_RGB24 image is looked at as such, any other as PIX_BGR24
/// @param imDest    receives the marks
/// @param color     three bytes in the order of storage, the first one in the low byte
/// @param tolerance in grey levels; below 0 nothing is near
/// @param value     three bytes, as color
/// @return the number of pixels that are near; 0 too on failure
VEXA_API int32_t I_MaskFromColor(int32_t imSrc, int32_t imDest, int32_t color, int32_t tolerance,
                                 int32_t value);

/// @}

#endif
