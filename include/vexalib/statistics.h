/// Histograms and pixel statistics, of images inside the region of interest and of plain arrays.
///
///     counting            I_CalcHist I_HistBuf I_CalcHistMasked I_CalcHistFloat
///     reading histograms  I_SumHist HistogramMinMax I_GetHistStats I_HistStats I_NormHist
///     images              I_PixelStats I_ComputePixelStats I_PixelStatsMasked I_DiffStats
///     arrays              I_ArrayStatsType I_ArrayStats I_ArraySumStats I_ArrayDiffStats
///     lengths             scaledDist
///
/// Example: mean and spread of a window.
///
///     float mean, deviation;
///     I_SetWindowROI(20, 20, 119, 119);
///     if (I_PixelStats(im, NULL, NULL, &mean, &deviation) == 10000)
///         printf("%.2f +- %.2f\n", mean, deviation);
///
/// A histogram is an array of 32-bit counts in memory of the caller; the usual one has 256 bins, one per
/// byte value. Byte and colour images are read as bytes: a colour image gives one byte per pixel, the one
/// that the colour processing mode or the selected band says (the mean of red, green and blue at first;
/// I_SetStatsProcMode changes it). All other types, the palette type among them, are read as floats.
///
/// Every output pointer may be null. Where nothing else is said, a null histogram or buffer, an image that
/// is not open (error 20 or 24) and missing memory (error 2) give 0 and leave the outputs alone. Two
/// statistics at a time, on two threads, disturb each other.
#ifndef VEXALIB_STATISTICS_H
#define VEXALIB_STATISTICS_H

#include "vexalib/types.h"

/// @name Counting
/// @{

/// Counts the byte values of an image inside the region of interest.
///
/// @param histogram 256 bins, cleared first, whatever happens then
/// @return the number of pixels counted; 0 with error 2 "I_DoStatsOpType" without memory for a conversion
///         row
VEXA_API int32_t I_CalcHist(uint32_t *histogram, int32_t im);

/// Counts the values of a byte buffer.
///
/// @param clear 0 adds to what the 256 bins hold
/// @return the length; 0 for a length below 1
VEXA_API int32_t I_HistBuf(const uint8_t *buffer, int32_t length, uint32_t *histogram, int32_t clear);

/// Counts the byte values of an image where a mask image lets them.
///
/// Works on the bounding box of the region on both images: a polygon or scan list counts as its box. Both
/// boxes are read as blocks of bytes (so an inverted image comes with its rows turned round, see
/// I_GetBlockType).
///
/// @param histogram 256 bins, cleared first
/// @param table     256 bytes: a pixel counts where the entry of its mask pixel is not 0; null stands for a
///                  table that is 0 at entry 0 alone
/// @return the sum of the bins; 0 with the error of I_GetBlockType if an image cannot be read
VEXA_API int32_t I_CalcHistMasked(uint32_t *histogram, int32_t im, int32_t imMask, const uint8_t *table);

/// Counts float values in bins of any width: bin = trunc((value - offset) * (1 / width)), below 0 and for
/// no number bin 0, above the last bin the last bin.
///
/// Where the offset is 0 or the width 0 or less, the range of the values is searched first. The search only
/// ever extends the range that earlier ones of this process found, and that begins as 0 to 0; an empty one
/// becomes 1 wide. A width of 0 or less then becomes (range / bins). The offset is not replaced.
///
/// @param bins     number of bins; a negative number adds to what the array of that many bins holds, a
///                 positive one clears it first; 0 returns 0 and changes nothing
/// @param offset   lower end of bin 0, read and written back; null stands for 0
/// @param binWidth read and written back as it was used; null stands for 0
/// @return the number of pixels counted; 0 too for a width that stays 0
VEXA_API int32_t I_CalcHistFloat(int32_t im, uint32_t *histogram, int32_t bins, double *offset,
                                 double *binWidth);
/// @}

/// @name Reading histograms
/// @{

/// The sum of the first bins, modulo 2 to the 32.
VEXA_API int32_t I_SumHist(const uint32_t *histogram, int32_t bins);

/// The lowest and the highest of 256 bins that hold anything; 256 and 0 if none does.
VEXA_API void HistogramMinMax(int32_t *lowest, int32_t *highest, const uint32_t *histogram);

/// Statistics of 256 bins in 64-bit floats. With N = sum of h[i], S = sum of i * h[i], Q = sum of i * i *
/// h[i]:
///
///     count = N;   N = max(N, 1);   mean = S / N;   deviation = sqrt((Q - S * S / N) / (max(N, 2) - 1))
///
/// @param deviation left as it was where the values do not vary
/// @return N as it was last used: at least 1, or at least 2 with a deviation pointer; an empty histogram
///         gives 1 or 2
VEXA_API int32_t I_GetHistStats(const uint32_t *histogram, double *count, double *mean, double *deviation);

/// Statistics of the bins from first to last, both inclusive; the same sums, but S and each product i *
/// h[i] are 32-bit and wrap. Mean and deviation are therefore wrong beyond a sum of values of 2 to the 31.
///
/// @param histogram indexed by the bin number, which may be negative
/// @param lowest,highest the lowest and highest bin in use; first - 1 if none is
/// @param mean      0 if no bin is in use
/// @param deviation 0 where the values do not vary
/// @return the sum of the bins: at least 1, or at least 2 with a deviation pointer
VEXA_API int32_t I_HistStats(const uint32_t *histogram, int32_t first, int32_t last, int32_t *lowest,
                             int32_t *highest, float *mean, float *deviation);

/// Cuts counts off both ends of 256 bins: low is the first bin from below at which the running sum exceeds
/// the low cut, high the first from above at which one exceeds the high cut.
///
///     perMille   cuts                                       whole range, 0 and 255, if
///     non-zero   |lowCut| * total / 1000, in 32-bit (wraps)  the total is below 1
///     0          |lowCut| and |highCut| counts               lowCut is below 1
///
/// I_NormHist(h, 10, 10, 1, &low, &high) cuts one per cent off each end. Where no sum exceeds its cut, low
/// is 256 and high -1.
VEXA_API void I_NormHist(const uint32_t *histogram, int32_t lowCut, int32_t highCut, int32_t perMille,
                         int32_t *low, int32_t *high);
/// @}

/// @name Images
/// @{

/// Statistics of an image inside the region, in 64-bit floats.
///
///     type                   read as  minimum, maximum of no pixel  mean, deviation
///     PIX_BYTE, colour       bytes    256, 0                        as I_GetHistStats of the histogram
///     others, PIX_PALETTE    floats   1e64, -1e64                   meanstdv
///
/// The deviation of values that do not vary is 0. Float values are summed in eight partial sums, by their
/// place in the row modulo 8: the same result on every machine. What is no number is neither minimum nor
/// maximum, unless it comes first.
///
/// @param rowStep above 1, only rows y of the image with y % rowStep == 0 count; not for bytes
/// @return the number of pixels; 0 with error 2 "ComputePixelStats" without memory for a row
VEXA_API int32_t I_ComputePixelStats(int32_t rowStep, double *count, double *mean, double *deviation,
                                     double *minimum, double *maximum, int32_t im);

/// The same in 32-bit floats, all rows.
///
/// Byte and colour images give what I_HistStats gives on their histogram, with its 32-bit sums: exact up to
/// a sum of values of 2 to the 31, about 8.4 million pixels of 255. Of no pixel minimum and maximum are -1.
///
/// @return the number of pixels; 0 for an image of no type
VEXA_API int32_t I_PixelStats(int32_t im, float *minimum, float *maximum, float *mean, float *deviation);

/// I_PixelStats on the histogram of I_CalcHistMasked.
///
/// @param imMask        0 measures without a mask. On types that are read as floats a mask leaves error 1
///                      "Masked statistics not yet supported on non-byte images", and the statistics are
///                      those without it
/// @param histogramFlag 0 returns 0 on types that are read as bytes
/// @param table         as for I_CalcHistMasked. A table of zeros is filled, in the caller's memory, with
///                      255 in all entries but entry 0
/// @return the number of pixels
VEXA_API int32_t I_PixelStatsMasked(int32_t im, int32_t imMask, float *minimum, float *maximum, float *mean,
                                    float *deviation, int32_t histogramFlag, uint8_t *table);

/// Compares two images in bytes, d = a - b, in the bounding box of the region on both (see I_CalcHistMasked).
///
/// @param largest the largest |d|
/// @param sum     the sum of d, exact, rounded to a float
/// @return the number of pixels compared; 0 with the error of I_GetBlockType if an image cannot be read
VEXA_API int32_t I_DiffStats(int32_t imA, int32_t imB, float *largest, float *sum);
/// @}

/// @name Arrays
/// @{

/// Statistics of an array of any pixel type, through meanstdv.
///
///     type         read as                 sum
///     PIX_BYTE     bytes                   exact
///     PIX_DWORD    signed 32-bit integers  a 32-bit float, from the first element to the last
///     any other    floats (I_ArrayConvert) the same
///
/// The sum of squares, where a deviation is asked for, is a 64-bit float in the same order.
///
/// @param buffer length elements, at any address
/// @return the length; 0, outputs left alone, for null, a length below 1 and without memory for the
///         conversion
VEXA_API int32_t I_ArrayStatsType(const void *buffer, int32_t length, int32_t type, double *mean,
                                  double *deviation, double *minimum, double *maximum);

/// I_HistStats of a byte buffer over bins 0 to 255.
///
/// @param type      PIX_BYTE. Any other shows "I_ArrayStats: buftype %d not yet supported" and returns 0
/// @param histogram 256 bins that receive the counts
/// @return the mean
VEXA_API float I_ArrayStats(const void *buffer, int32_t length, int32_t type, uint32_t *histogram,
                            int32_t *lowest, int32_t *highest, float *deviation);

/// I_HistStats of the sums a[i] + b[i] of two byte buffers over bins 0 to 511, and of their differences
/// a[i] - b[i] over bins -255 to 255: of no elements lowest and highest are -1, or -256.
///
/// @param type PIX_BYTE. Any other shows "I_ArrayStatsType: buftype %d not yet supported" and returns 0
/// @return the mean
VEXA_API float I_ArraySumStats(const void *a, const void *b, int32_t length, int32_t type, int32_t *lowest,
                               int32_t *highest, float *deviation);
VEXA_API float I_ArrayDiffStats(const void *a, const void *b, int32_t length, int32_t type, int32_t *lowest,
                                int32_t *highest, float *deviation);
/// @}

/// The length of the line from a to b in scaled units: sqrt(((a.x - b.x) * xScale)^2 + ((a.y - b.y) *
/// yScale)^2); 0 if a point is null.
VEXA_API double scaledDist(const VexaPoint *a, const VexaPoint *b, double xScale, double yScale);

#endif
