/// Histograms and pixel statistics, of images inside the region of interest and of plain arrays.
#ifndef VEXALIB_STATISTICS_H
#define VEXALIB_STATISTICS_H

#include "vexalib/types.h"

VEXA_API int32_t I_CalcHist(uint32_t *histogram, int32_t im);
VEXA_API int32_t I_HistBuf(const uint8_t *buffer, int32_t length, uint32_t *histogram, int32_t clear);
VEXA_API int32_t I_CalcHistMasked(uint32_t *histogram, int32_t im, int32_t imMask, const uint8_t *table);
VEXA_API int32_t I_CalcHistFloat(int32_t im, uint32_t *histogram, int32_t bins, double *offset, double *binWidth);
VEXA_API int32_t I_SumHist(const uint32_t *histogram, int32_t bins);
VEXA_API void HistogramMinMax(int32_t *lowest, int32_t *highest, const uint32_t *histogram);
VEXA_API int32_t I_GetHistStats(const uint32_t *histogram, double *count, double *mean, double *deviation);
VEXA_API int32_t I_HistStats(const uint32_t *histogram, int32_t first, int32_t last, int32_t *lowest,
                             int32_t *highest, float *mean, float *deviation);
VEXA_API void I_NormHist(const uint32_t *histogram, int32_t lowCut, int32_t highCut, int32_t perMille, int32_t *low,
                         int32_t *high);
VEXA_API int32_t I_ComputePixelStats(int32_t rowStep, double *count, double *mean, double *deviation,
                                     double *minimum, double *maximum, int32_t im);
VEXA_API int32_t I_PixelStats(int32_t im, float *minimum, float *maximum, float *mean, float *deviation);
VEXA_API int32_t I_PixelStatsMasked(int32_t im, int32_t imMask, float *minimum, float *maximum, float *mean,
                                    float *deviation, int32_t histogramFlag, uint8_t *table);
VEXA_API int32_t I_ArrayStatsType(const void *buffer, int32_t length, int32_t type, double *mean, double *deviation,
                                  double *minimum, double *maximum);
VEXA_API float I_ArrayStats(const void *buffer, int32_t length, int32_t type, uint32_t *histogram, int32_t *lowest,
                            int32_t *highest, float *deviation);
VEXA_API float I_ArraySumStats(const void *a, const void *b, int32_t length, int32_t type, int32_t *lowest,
                               int32_t *highest, float *deviation);
VEXA_API float I_ArrayDiffStats(const void *a, const void *b, int32_t length, int32_t type, int32_t *lowest,
                                int32_t *highest, float *deviation);
VEXA_API int32_t I_DiffStats(int32_t imA, int32_t imB, float *largest, float *sum);
VEXA_API double scaledDist(const VexaPoint *a, const VexaPoint *b, double xScale, double yScale);

#endif
