/// Blob labelling: the connected components of an image inside the region of interest.
///
///     search   I_FindBlobs I_FindBlobs1 I_FindBlobs2
///     table    I_SetBlobTableSize
///
/// A search goes once over the runs of the region and leaves two things: the one blob table of the process, which
/// the functions of blob_table.h read and the next search replaces, and, if it was given a label image, in each
/// pixel of the region the number of its blob plus 1, or 0 for background.
///
///     int32_t labels = I_ImOpen(cols, rows, PIX_WORD);
///     if (I_FindBlobs1(128, 255, im, labels))
///         for (int32_t blob = 0; blob < I_GetBlobCount(); ++blob)
///             I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom);
///
/// How pixels join
///
/// Foreground pixels are visited in the order of the scan list. Each takes the label of the pixel above it; if that
/// is background, the label to the upper right, else to the upper left; if all three are, the label to its left; and
/// if that is background too it opens a new blob. A pixel with both a label from the row above and another one to
/// its left merges the two. So neighbours touch by sides and by corners, with one exception: a pixel above which two
/// blobs stand to the upper left and upper right does not merge them. With 1 and 2 the labels before a merge:
///
///     1 . . . 2        1 . . . 2
///     . 1 . 2 .        . 1 . 2 .
///     . . 2 . .        . 1 1 . .
///     two blobs        one blob: the pixel left of the tip carries 1 and merges 2 into it
///
/// A merge looks one step of earlier merges back, not all of them; the search gathers everything at its end and
/// numbers the blobs without gaps in the order in which they appeared. A blob's first pixel is (smallest x, smallest
/// y) of the first pixels of all that merged into it, and need not lie on it. A gap in the rows of the region goes
/// unnoticed: rows 3 and 7 touch if the region has none between them.
///
/// Pixels are read as PIX_BYTE with the colour mode that was last given to I_SetStatsProcMode, row by row as they
/// are stored: an inverted image is searched from its stored top. A polygon may count the column right of the image
/// on its last row; its value is 0 there.
///
/// The table
///
/// Records are opened as pixels need them, and there are more of them than blobs until the search ends. The table
/// starts empty and grows by 250 records or by the factor 1.41, whichever is more, as long as it has fewer than the
/// limit: 250, 500, 750, 1057, 1490, 2100, 2961, 4175, 5886. With the limit of 5000 that the library starts with it
/// holds 5885 records. A search that needs more stops at that pixel and succeeds with what it has found so far; the
/// run in hand is not put to the label image.
///
/// From record 65521 on, which only a limit above 65206 lets come about, each new one sets error 35
/// "Too many blobs:#%d", its number; the search goes on, and what has no room in the table is in the label image
/// only.
#ifndef VEXALIB_BLOBS_H
#define VEXALIB_BLOBS_H

#include "vexalib/types.h"

/// @name Search
/// @{

/// Finds the blobs of an image: a pixel is foreground where lut[value] is not 0.
///
/// The label image gets the labels of each run of the region as PIX_DWORD, unscaled, that is their low bits in an
/// image of bytes or words. When the search has joined records the image is renumbered inside the region as
/// I_MapLUTType does it, and its value range becomes 0 to the number of blobs; until then it is (0, 0).
///
/// An image of bytes is kept within its range for as long as possible: above 252 records the table is condensed
/// after each run. Once a condensation that joined records leaves 192 or more, the next run that ends above 252 makes
/// the label image one of PIX_WORD (I_ImConvertType), and it stays so.
///
/// @param lut     256 bytes; null stands for 0 at value 0 and 1 elsewhere
/// @param imSrc   the image to search; may be imLabel
/// @param imLabel receives the labels; a number that is no open image stands for none, as 0 does
/// @return 1, also without any blob or any run; or 0: imSrc is not open, error 20 "I_ImGetSize(, im=N)  im. not open"
///         or 24 "I_ImGetSize(, im=N) im. not open"; or there is no memory, error 2 with the tag "I_FindBlobs" (the
///         table keeps what it had) or "condensebtable" (its records are not joined). A number for imLabel that is no
///         image, other than 0, sets 20 or 24 in the name I_ImGetType and changes nothing else.
///
/// Reads the region of interest, the statistics colour mode and the table limit. Leaves no colour band selected
/// where the label image was renumbered. Reports progress under "find blobs" and "condense blobs".
VEXA_API int32_t I_FindBlobs(const uint8_t *lut, int32_t imSrc, int32_t imLabel);

/// Finds the blobs between two thresholds, both included; or, with lowThreshold above highThreshold, those of the two
/// outer ranges. I_FindBlobs1(200, 100, ...) selects 0 to 100 and 200 to 255.
///
/// Images of bytes and of colour are compared as bytes: I_DualThreshLUT with the thresholds truncated, then
/// I_FindBlobs. Every other type is compared as 32-bit floats, without truncation, in an image of its own; the sums
/// of intensity then hold the value truncated and limited to 1 to 255.
///
///     value          -2.0   0.25   3.99   254.5   255.0   1000.0
///     counted as        1      1      3     254     255      255
///
/// Both thresholds are kept, as 32-bit floats, for I_GetBlobMoments2.
///
/// @return as I_FindBlobs; also 0 without memory for the thresholded image, or with error 2 and the tag "findblobs1"
///         for its rows
VEXA_API int32_t I_FindBlobs1(double lowThreshold, double highThreshold, int32_t imSrc, int32_t imLabel);

/// I_FindBlobs1 with whole thresholds.
VEXA_API int32_t I_FindBlobs2(int32_t lowThreshold, int32_t highThreshold, int32_t imSrc, int32_t imLabel);
/// @}

/// @name Table
/// @{

/// Sets how many records the blob table may have before it stops growing, and releases the table: the results of
/// the last search are gone.
///
/// @param limit 2 or more; a lower one leaves the limit as it is, and releases the table all the same
/// @return the limit before
VEXA_API int32_t I_SetBlobTableSize(int32_t limit);
/// @}

#endif
