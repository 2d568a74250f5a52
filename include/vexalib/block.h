/// Blocks of pixels: reading, writing, copying, clearing, in any pixel type, whatever an image's own type is.
///
/// A block is a rectangle of an image; the region of interest plays no part here. A buffer holds its rows one
/// after another, with no gaps unless a pitch (bytes from row to row) is given. Pixels are converted on the
/// way where the types differ, by SetupScale and ConvertPixelType. What lies outside an image is left out
/// without an error.
///
/// Buffers        I_GetBlockType I_GetBlockTypeEx I_PutBlockType I_PutBlockTypeEx I_DupBlockType
///                I_Dup2DBlockType I_Put2DBlockType
/// Pixels         I_GetPix I_PutPix I_GetPixByte I_PutPixByte I_GetPixBGR
/// Between images I_ImCopyBlock I_RectCopy I_ImageCopy
/// New images     I_CloneImage I_CloneImageEx I_CloneRect I_RectDup
/// Whole images   I_ImClear I_ImClearType I_ImClearBlockType I_ClearRect I_ImInvertRows I_ImGetRange
///                I_ComputePixelRange
/// Plain arrays   I_CopyBlockType I_CopyBlock CopyBlock1 CopyBlockRev I_CopySubArray
///
///     float tile[64 * 64];
///     I_GetBlockType(100, 200, 64, 64, tile, im, PIX_FLOAT); // any image, as floats
///     sharpen(tile, 64, 64);
///     I_PutBlockType(100, 200, 64, 64, tile, im, PIX_FLOAT); // and back in the image's own type
///     printf("%d pixels copied\n", I_ImageCopy(im, result));
///
/// Errors of the lookups are those of image.h; NAME is told with each function. Memory that lacks gives error
/// 2 with the text told here in the frame of malloctest, and 0 or null. Results that count pixels stop at
/// INT32_MAX.
///
/// Images whose rows lie bottom-up (parameter 19): a block of n rows at y is storage rows y to y + n - 1,
/// delivered in reverse order, so that a whole image comes top first and a single row is plain storage row y.
/// Only where pixels have no address is y itself mirrored, to rows - y - n.
#ifndef VEXALIB_BLOCK_H
#define VEXALIB_BLOCK_H

#include "vexalib/types.h"

/// @name Buffers
/// @{

/// Reads a block into a buffer. The quickest way to a row: one lookup and one copy where height is 1, x and y
/// are not negative, and the type is the image's own.
///
/// A position outside the image leaves a gap at that place in the buffer: with x of -1 the first pixel read
/// goes behind the first pixel of the buffer, which stays as it was.
///
/// @param width,height size of the block in pixels; below 1 reads nothing
/// @param buffer room for width * height pixels of the type; null reads nothing
/// @param type   type of the pixels in the buffer; 25 asks for the image's own pixels as they are, by the
///               operations of its kind
/// @return pixels copied where the types are equal, 1 after a conversion or by a kind's operations; 0 if
///         nothing of the block lies in the image, and on failure: "I_GetBlockType-3", "I_GetBlockType-4"
///         (rows and pixels on their way from a kind without addresses); lookup name "I_GetBlockType"
VEXA_API int32_t I_GetBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer, int32_t im,
                                int32_t type);
/// The same with a pitch of the buffer in bytes; below 1 means no gaps. Where pixels have no address the
/// pitch holds for inverted images only.
VEXA_API int32_t I_GetBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer,
                                  int32_t im, int32_t type, int32_t pitch);
/// Writes a block from a buffer: the way back of I_GetBlockType, with the same arguments and limits.
///
/// Bytes and numbers written into a colour image while a band is selected (I_SetColorBand) change that band
/// alone.
/// @return pixels copied where the types are equal, 1 after a conversion, width * height by a kind's
///         operations; 0 if nothing of the block lies in the image, and on failure: "I_PutBlockType-3",
///         "I_PutBlockType-4"; lookup name "I_PutBlockType"
VEXA_API int32_t I_PutBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void *buffer,
                                int32_t im, int32_t type);
VEXA_API int32_t I_PutBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, const void *buffer,
                                  int32_t im, int32_t type, int32_t pitch);
/// A block in a new buffer of the caller's, to be freed with free or vexaFree. Pixels outside the image are
/// 0.
/// @return null for a size below 1, without an error; null on failure, "I_DupBlockType (%d x %d)"
VEXA_API void *I_DupBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im, int32_t type);
/// A block as an array of rows of Create2DArray, freed with Free2DArray. There are twice as many rows as
/// asked for: the second half is zeroed room for the caller.
VEXA_API void **I_Dup2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im,
                                 int32_t type);
/// Writes a block from an array of rows that lie at equal distances.
/// @return as I_PutBlockTypeEx; 0 without an error if the array or the image is 0
VEXA_API int32_t I_Put2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void **array,
                                  int32_t im, int32_t type);
/// @}

/// @name Pixels
/// @{

/// A pixel as a float; 0 outside the image.
VEXA_API float I_GetPix(int32_t x, int32_t y, int32_t im);
/// Stores a float in a pixel, as I_PutBlockType of one pixel. @return non-zero; 0 outside the image
VEXA_API int32_t I_PutPix(int32_t x, int32_t y, float value, int32_t im);
/// A pixel as a byte; 0 outside the image.
VEXA_API int32_t I_GetPixByte(int32_t x, int32_t y, int32_t im);
/// Draws a pixel: a value of 0 or more in the image's own form of that colour number (GetRawColor), a
/// negative one by inverting what is there (InvertRawLine). @return non-zero; 0 outside the image
VEXA_API int32_t I_PutPixByte(int32_t x, int32_t y, int32_t value, int32_t im);
/// A pixel as blue + 256 * green + 65536 * red, by way of PIX_BGR32; 0 outside the image.
VEXA_API int32_t I_GetPixBGR(int32_t x, int32_t y, int32_t im);
/// @}

/// @name Between images
/// @{

/// Copies a block from one image to another, or inside one; overlapping blocks of one image come out as if
/// the source had been copied first.
///
/// @param width,height limited to what both images have from their positions on; a negative one takes the
///                     destination's columns or rows from its position on
/// @return pixels copied; 1 after a conversion between images with addresses; 0 if nothing is left, and on
///         failure: "I_CopyBlockType tsptr (%d x %d)", "I_CopyBlockType tdptr (%d x %d)" inside one image,
///         "CopyBlock (%d x %d)" where pixels have no address; lookup name "CopyBlock"
///
/// The rows are reversed if exactly one of the images is inverted. A destination of bytes or colour gets the
/// source's value range scaled to 0 to 255.
VEXA_API int32_t I_ImCopyBlock(int32_t width, int32_t height, int32_t sourceX, int32_t sourceY, int32_t imSrc,
                               int32_t destX, int32_t destY, int32_t imDest);
/// The same with its arguments in another order.
VEXA_API int32_t I_RectCopy(int32_t sourceX, int32_t sourceY, int32_t destX, int32_t destY, int32_t width,
                            int32_t height, int32_t imSrc, int32_t imDest);
/// Copies the area that two images share, from their corners (0, 0), then comment, palette and value range as
/// I_ImCopyParams. @return as I_ImCopyBlock; 0 without an error if either is 0
VEXA_API int32_t I_ImageCopy(int32_t imSrc, int32_t imDest);
/// @}

/// @name New images
/// @{

/// A new image of the same size.
/// @param type         its pixel type; below 1 the source's
/// @param copyContents non-zero: pixels and parameters as I_ImageCopy; 0: the palette alone
/// @return the image; 0 on failure, and for an image with a size below 1
VEXA_API int32_t I_CloneImage(int32_t imSrc, int32_t type, int32_t copyContents);
/// The same, then parameter 14 with the comment: one that begins with "_" is added to the source's.
VEXA_API int32_t I_CloneImageEx(int32_t imSrc, int32_t type, int32_t copyContents, const char *comment);
/// A new image of x2 - x1 + 1 by y2 - y1 + 1 pixels, holding the block at (x1, y1) as I_ImCopyBlock leaves
/// it.
/// @param type its pixel type; 0 the source's
VEXA_API int32_t I_CloneRect(int32_t im, int32_t type, int32_t x1, int32_t y1, int32_t x2, int32_t y2);
/// A new image holding a block, with the source's type, palette and value range, and no comment.
/// @param x,y          a negative position counts as 0
/// @param width,height below 1 relative to the far edge: 0 up to it, -1 one short of it
/// @param im           0 stands for the frame grabber's current image
/// @return the image; 0 if nothing is left of the block; lookup name "I_ImGetSize"
VEXA_API int32_t I_RectDup(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im);
/// @}

/// @name Whole images
/// @{

/// Fills an image with a value: I_ImClearBlockType over all of it.
VEXA_API int32_t I_ImClear(int32_t im, double value);
VEXA_API int32_t I_ImClearType(int32_t im, const void *value, int32_t valueType);
/// Fills a block with one value, written in pieces of about 4 KiB.
///
/// @param width,height below 1 relative to the far edge: 0 up to it, -1 one short of it. Negative positions
///                     are cut away from the size.
/// @param value        one pixel of valueType, converted to the image's type; null, or a type below 1, fills
///                     with zeros
/// @return 1; 0 if nothing is left, and on failure: "I_ImClearBlockType(im=%d, cols=%d %d, bufrows=%d
///         buflen=%d"; lookup name "I_ImClearBlockType"
///
/// Inverted images are filled by storage rows.
VEXA_API int32_t I_ImClearBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void *value,
                                    int32_t im, int32_t valueType);
/// Fills a rectangle with a byte value. Corners in any order, both inclusive.
/// @param value its low byte is taken, as PIX_BYTE
VEXA_API int32_t I_ClearRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t value, int32_t im);
/// Turns the rows of the storage around and notes it in parameter 19, so that the picture stays the same.
/// @return 1; 0 with error 1 "I_ImInvertRows Failed: imSrc=%d buf = %x img=%x ptr=%x" where pixels have no
///         address or memory lacks; lookup name "I_ImInvertRows"
VEXA_API int32_t I_ImInvertRows(int32_t im);
/// The lowest and highest pixel value, which also become the image's value range (parameters 11 and 12).
///
///     PIX_BYTE and colours of 3 bytes   over all bytes, the bands together
///     PIX_WORD, PIX_DWORD               unsigned
///     PIX_FLOAT                         by comparison with what was met so far, from the first pixel on:
///                                       what is no number is passed over, unless it comes first
///     others, and images without        as PIX_FLOAT, after a conversion
///     addresses
///
/// @param minValue,maxValue each may be null; unchanged on failure
/// @return cols * rows; 0 without an error for image 0; 0 on failure, "I_DupBlockType (%d x %d)"; lookup name
///         "I_ImGetRange"
VEXA_API int32_t I_ImGetRange(double *minValue, double *maxValue, int32_t im);
/// I_ImGetRange for its effect on the value range.
VEXA_API int32_t I_ComputePixelRange(int32_t ignored, int32_t im);
/// @}

/// @name Plain arrays
/// @{

/// Copies a rectangle between two arrays of pixels, with conversion where the types differ.
///
/// Each array is told by its address, pitch (below 1: no gaps), size and type, each rectangle by its position
/// and size (negative: up to the array's far edge). The smaller of the two sizes counts; what lies outside
/// either array is cut away on both sides. With a flip flag of the scale record set, the position y becomes
/// size - height - y, where size is that side's height before the clipping, unless that leads out of the
/// array. Flags that differ reverse the rows. One address for both arrays is one array: the rectangles may
/// overlap, and all is read before anything is written.
///
/// @param scale null for no scaling and no flips
/// @return pixels copied; 1 after a conversion between two arrays; 0 if nothing lies in both, if an address
///         is null, and without memory inside one array: "I_CopyBlockType tsptr (%d x %d)",
///         "I_CopyBlockType tdptr (%d x %d)"
VEXA_API int32_t I_CopyBlockType(const void *source, int32_t sourcePitch, int32_t sourceCols,
                                 int32_t sourceRows, int32_t sourceType, int32_t sourceX, int32_t sourceY,
                                 int32_t sourceWidth, int32_t sourceHeight, void *dest, int32_t destPitch,
                                 int32_t destCols, int32_t destRows, int32_t destType, int32_t destX,
                                 int32_t destY, int32_t destWidth, int32_t destHeight,
                                 const ScaleRecord *scale);
/// The same for pixels of so many bytes each, without conversion. An array has pitch / bytes columns; a pitch
/// or bytes below 1 copies nothing.
/// @return pixels copied
VEXA_API int32_t I_CopyBlock(const void *source, int32_t sourcePitch, int32_t sourceRows, int32_t sourceX,
                             int32_t sourceY, int32_t sourceWidth, int32_t sourceHeight, void *dest,
                             int32_t destPitch, int32_t destRows, int32_t destX, int32_t destY,
                             int32_t destWidth, int32_t destHeight, int32_t bytes);
/// Copies rows of bytes, from the first to the last. @return bytes copied; 0 for a size below 1
VEXA_API int32_t CopyBlock1(int32_t rowBytes, int32_t rows, const void *source, int32_t sourcePitch,
                            void *dest, int32_t destPitch);
/// The same, the rows landing in reverse order.
VEXA_API int32_t CopyBlockRev(int32_t rowBytes, int32_t rows, const void *source, int32_t sourcePitch,
                              void *dest, int32_t destPitch);
/// Copies rows from source + yOffset * sourcePitch + xOffset to a destination without gaps.
/// @param unused   not looked at
/// @param xOffset  in bytes
/// @param yOffset  in rows
/// @return 1; 0 for a null address
VEXA_API int32_t I_CopySubArray(const void *source, int32_t sourcePitch, int32_t unused, void *dest,
                                int32_t rowBytes, int32_t rows, int32_t xOffset, int32_t yOffset);
/// @}

#endif
